#include "tools/dorn-terminal/Texts.h"

#include <algorithm>

#include "station/Numbers.h"

namespace dorn::terminal {

namespace {

const Texts& English() {
  static const Texts texts{
      "Not sent",
      "Not sent yet",
      "User",
      "Password",
      "Log in",
      "Logging in …",
      "Log out",
      "Wrong user or password",
      "The host cannot be reached",
      "The session has ended; please log in again",
      "Logged out: nothing was touched for a while",
      "Connection to the host lost; trying again",
      "The host does not answer",
      "for %s",
      "The session ends in %s unless you touch something",
      "No such dialog, or nothing to show",
      "One moment …",
      "Dialogs",
      "Language",
      "Stay logged in",
      "Refresh",
      "%s unreadable",
      "answers in %s ms",
      "Alarms",
      "No open alarms",
      "%s open",
      "Ack",
      "Sound",
      "Yes",
      "No",
      "Not a number",
      "Not below %s",
      "Not above %s",
      "At most %s characters",
      "Holds characters that cannot be sent",
      "Help",
      "Find",
      "Quit",
      "%s found",
      "online",
      "Terminal too small",
      "step %s",
      "picture",
      "Send",
      {"Tab, Shift-Tab, arrows  go from object to object",
       "Space, Enter            act: touch, switch, choose, send",
       "PgUp, PgDn              scroll; a step up or down in a number",
       "Left, Right             move a slider",
       "Escape                  take back what was typed; leave the object",
       "Alt-Enter, F9           send a text of several lines",
       "/ or F3                 find an object by its name or caption",
       "F2                      dialogs",
       "F4                      open alarms: Enter acknowledges, s turns the sound",
       "F5                      fetch everything anew", "F6                      language",
       "F7                      stay logged in", "F8                      log out",
       "q or F10                quit (q where no text is edited)", "",
       "Marks: i info, ! warning, !! alarm, ?? bad, - off, … sent and not",
       "confirmed, + typed and not sent yet. Dim: stale or not operable."}};
  return texts;
}

const Texts& Japanese() {
  static const Texts texts{
      "送信できませんでした",
      "未送信",
      "ユーザー",
      "パスワード",
      "ログイン",
      "ログイン中…",
      "ログアウト",
      "ユーザー名またはパスワードが違います",
      "ホストに接続できません",
      "セッションが終了しました。もう一度ログインしてください",
      "操作がなかったためログアウトしました",
      "ホストとの接続が切れました。再接続しています",
      "ホストが応答しません",
      "%s経過",
      "操作がないと %s後にセッションが終了します",
      "画面がないか、表示するものがありません",
      "お待ちください…",
      "画面",
      "言語",
      "ログインを維持",
      "更新",
      "読めない電文 %s 件",
      "応答 %s ms",
      "警報",
      "未確認の警報なし",
      "未確認 %s 件",
      "確認",
      "音",
      "はい",
      "いいえ",
      "数値ではありません",
      "%s 以上で入力してください",
      "%s 以下で入力してください",
      "%s 文字以内で入力してください",
      "送信できない文字が含まれています",
      "ヘルプ",
      "検索",
      "終了",
      "%s 件",
      "接続中",
      "端末が小さすぎます",
      "刻み %s",
      "画像",
      "送信",
      {"Tab, Shift-Tab, 矢印  次や前の項目へ",
       "空白, Enter           押す、切り替える、選ぶ、送信する",
       "PgUp, PgDn            画面を送る。数値では刻みだけ増減",
       "左, 右                スライダーを動かす",
       "Escape                入力を取り消す。項目から離れる",
       "Alt-Enter, F9         複数行の文を送信", "/ または F3           名前や見出しで項目を検索",
       "F2                    画面の一覧",
       "F4                    未確認の警報: Enter で確認、s で音を切り替え",
       "F5                    すべて取り直す", "F6                    言語",
       "F7                    ログインを維持", "F8                    ログアウト",
       "q または F10          終了 (q は文字の入力中を除く)", "",
       "印: i 情報, ! 注意, !! 警報, ?? 異常, - 停止, … 送信済みで",
       "未確定, + 未送信。薄い表示は古い値か操作できない項目。"}};
  return texts;
}

}  // namespace

const Texts& TextsIn(std::string_view language) {
  return language == "ja" ? Japanese() : English();
}

std::string Filled(const char* format, std::string_view text) {
  std::string filled = format;
  const std::size_t at = filled.find("%s");
  if (at != std::string::npos) filled.replace(at, 2, text);
  return filled;
}

std::string DurationText(std::int64_t ms, std::string_view language) {
  const bool isJapanese = language == "ja";
  const std::int64_t seconds = std::max<std::int64_t>(0, (ms + 500) / 1000);
  if (seconds < 120) return std::to_string(seconds) + (isJapanese ? "秒" : " s");
  if (seconds < 7200) return std::to_string(seconds / 60) + (isJapanese ? "分" : " min");
  return std::to_string(seconds / 3600) + (isJapanese ? "時間" : " h");
}

std::string CauseText(station::Session::Cause cause, const Texts& texts) {
  using Cause = station::Session::Cause;
  switch (cause) {
    case Cause::kNone:
      return {};
    case Cause::kWrongPassword:
      return texts.wrongPassword;
    case Cause::kCannotConnect:
      return texts.cannotConnect;
    case Cause::kSessionEnded:
      return texts.sessionEnded;
    case Cause::kIdle:
      return texts.idle;
    case Cause::kLineLost:
      return texts.hostLost;
    case Cause::kNoAnswer:
      return texts.noAnswer;
  }
  return {};
}

std::string LimitText(const station::Item& item, long long limit) {
  return station::WrittenDecimal({limit, 0}, item.mScale, item.mScale > 1 ? item.mDecimals : 0);
}

std::string RefusalText(station::Typed::Refusal refusal, const station::Item& item,
                        const Texts& texts) {
  using Refusal = station::Typed::Refusal;
  switch (refusal) {
    case Refusal::kNone:
      return {};
    case Refusal::kNoNumber:
      return texts.noNumber;
    case Refusal::kTooLow:
      return Filled(texts.tooLow, LimitText(item, item.mMin.value_or(0)));
    case Refusal::kTooHigh:
      return Filled(texts.tooHigh, LimitText(item, item.mMax.value_or(0)));
    case Refusal::kTooLong:
      return Filled(texts.tooLong, std::to_string(item.mMaxLength));
    case Refusal::kNotSendable:
      return texts.notSendable;
  }
  return {};
}

}  // namespace dorn::terminal
