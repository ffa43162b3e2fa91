// The page's own words.

import type { Condition } from "./vocabulary";
import type { Refusal } from "./values";

export interface Texts {
  readonly states: Readonly<Record<Condition, string>>;
  readonly refusals: Readonly<Record<Refusal, (limit: string) => string>>;
  readonly notSent: string;
  readonly unsent: string;
  readonly user: string;
  readonly password: string;
  readonly logIn: string;
  readonly loggingIn: string;
  readonly logOut: string;
  readonly wrongPassword: string;
  readonly cannotConnect: string;
  readonly refused: string;
  readonly sessionEnded: string;
  readonly idle: string;
  readonly lineLost: string;
  readonly hostLost: string;
  readonly noAnswer: string;
  readonly since: (age: string) => string;
  readonly endsSoon: string;
  readonly nothing: string;
  readonly entering: string;
  readonly menu: string;
  readonly language: string;
  readonly theme: string;
  readonly themes: Readonly<Record<"auto" | "light" | "dark" | "contrast", string>>;
  readonly stay: string;
  readonly refresh: string;
  readonly unreadable: (count: number) => string;
  readonly quality: (ms: number) => string;
  readonly alarms: string;
  readonly noAlarms: string;
  readonly moreAlarms: (count: number) => string;
  readonly ack: string;
  readonly sound: string;
  readonly yes: string;
  readonly no: string;
  readonly pad: string;
  readonly keyboard: string;
  readonly cancel: string;
  readonly ok: string;
  readonly erase: string;
  readonly sign: string;
  readonly space: string;
  readonly shift: string;
  readonly enter: string;
  readonly trend: string;
  readonly missing: string;
  readonly show: string;
  readonly hide: string;
  readonly tablePart: (rows: string, columns: string) => string;
  readonly screenPart: (shown: number) => string;
}

const english: Texts = {
  states: {
    NORMAL: "",
    INFO: "Info",
    WARN: "Warning",
    ALARM: "Alarm",
    BAD: "Bad",
    OFF: "Off",
  },
  refusals: {
    noNumber: () => "Not a number",
    tooLow: (limit) => `Not below ${limit}`,
    tooHigh: (limit) => `Not above ${limit}`,
    tooLong: (limit) => `At most ${limit} characters`,
    notSendable: () => "Holds characters that cannot be sent",
  },
  notSent: "Not sent",
  unsent: "Not sent yet",
  user: "User",
  password: "Password",
  logIn: "Log in",
  loggingIn: "Logging in …",
  logOut: "Log out",
  wrongPassword: "Wrong user or password",
  cannotConnect: "The host cannot be reached",
  refused: "Not accepted",
  sessionEnded: "The session has ended; please log in again",
  idle: "Logged out: nothing was touched for a while",
  lineLost: "Connection to the gateway lost; trying again",
  hostLost: "Connection to the host lost; trying again",
  noAnswer: "The host does not answer",
  since: (age) => `for ${age}`,
  endsSoon: "The session ends soon unless you touch something",
  nothing: "No such dialog, or nothing to show",
  entering: "One moment …",
  menu: "Dialogs",
  language: "Language",
  theme: "Theme",
  themes: { auto: "Automatic", light: "Light", dark: "Dark", contrast: "High contrast" },
  stay: "Stay logged in",
  refresh: "Refresh",
  unreadable: (count) => `${count} unreadable`,
  quality: (ms) => `answers in ${ms} ms`,
  alarms: "Alarms",
  noAlarms: "No open alarms",
  moreAlarms: (count) => `${count} open`,
  ack: "Ack",
  sound: "Sound",
  yes: "Yes",
  no: "No",
  pad: "Number pad",
  keyboard: "Keyboard",
  cancel: "Cancel",
  ok: "OK",
  erase: "Erase",
  sign: "Sign",
  space: "Space",
  shift: "Shift",
  enter: "Enter",
  trend: "Trend",
  missing: "Not there",
  show: "Show all",
  hide: "Show less",
  tablePart: (rows, columns) => `Shown: rows ${rows}, columns ${columns}`,
  screenPart: (shown) => `Too large: only the first ${shown} objects are shown`,
};

const japanese: Texts = {
  states: { NORMAL: "", INFO: "情報", WARN: "注意", ALARM: "警報", BAD: "異常", OFF: "停止" },
  refusals: {
    noNumber: () => "数値ではありません",
    tooLow: (limit) => `${limit} 以上で入力してください`,
    tooHigh: (limit) => `${limit} 以下で入力してください`,
    tooLong: (limit) => `${limit} 文字以内で入力してください`,
    notSendable: () => "送信できない文字が含まれています",
  },
  notSent: "送信できませんでした",
  unsent: "未送信",
  user: "ユーザー",
  password: "パスワード",
  logIn: "ログイン",
  loggingIn: "ログイン中…",
  logOut: "ログアウト",
  wrongPassword: "ユーザー名またはパスワードが違います",
  cannotConnect: "ホストに接続できません",
  refused: "受け付けられませんでした",
  sessionEnded: "セッションが終了しました。もう一度ログインしてください",
  idle: "操作がなかったためログアウトしました",
  lineLost: "ゲートウェイとの接続が切れました。再接続しています",
  hostLost: "ホストとの接続が切れました。再接続しています",
  noAnswer: "ホストが応答しません",
  since: (age) => `${age}経過`,
  endsSoon: "操作がないとまもなくセッションが終了します",
  nothing: "画面がないか、表示するものがありません",
  entering: "お待ちください…",
  menu: "画面",
  language: "言語",
  theme: "配色",
  themes: { auto: "自動", light: "明るい", dark: "暗い", contrast: "高コントラスト" },
  stay: "ログインを維持",
  refresh: "更新",
  unreadable: (count) => `読めない電文 ${count} 件`,
  quality: (ms) => `応答 ${ms} ms`,
  alarms: "警報",
  noAlarms: "未確認の警報なし",
  moreAlarms: (count) => `未確認 ${count} 件`,
  ack: "確認",
  sound: "音",
  yes: "はい",
  no: "いいえ",
  pad: "数字パッド",
  keyboard: "キーボード",
  cancel: "取消",
  ok: "決定",
  erase: "消去",
  sign: "符号",
  space: "空白",
  shift: "シフト",
  enter: "入力",
  trend: "推移",
  missing: "ありません",
  show: "すべて表示",
  hide: "閉じる",
  tablePart: (rows, columns) => `表示: 行 ${rows}、列 ${columns}`,
  screenPart: (shown) => `大きすぎるため、最初の ${shown} 個だけを表示しています`,
};

export const textsIn = (language: string): Texts => (language === "ja" ? japanese : english);

/** "12 s", "3 min", "2 h". */
export function durationText(ms: number, language: string): string {
  const seconds = Math.max(0, Math.round(ms / 1000));
  const [second, minute, hour] = language === "ja" ? ["秒", "分", "時間"] : [" s", " min", " h"];
  if (seconds < 120) return `${seconds}${second}`;
  if (seconds < 7200) return `${Math.floor(seconds / 60)}${minute}`;
  return `${Math.floor(seconds / 3600)}${hour}`;
}
