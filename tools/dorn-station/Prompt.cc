#include "tools/dorn-station/Prompt.h"

#include <algorithm>
#include <utility>

#include "station/Utf8.h"

namespace {

using dorn::terminal::Key;
using dorn::terminal::KeyCode;

constexpr std::size_t kKept = 1000;  // Lines.
constexpr std::size_t kLongestSequence = 32;
constexpr char kEscape = '\x1B';

}  // namespace

std::optional<Prompt::Event> Prompt::Next() {
  while (!mBytes.empty()) {
    const auto byte = static_cast<unsigned char>(mBytes[0]);
    if (mBytes[0] == kEscape) {
      if (!TakeSequence()) return std::nullopt;
    } else if (byte < 0x20 || byte == 0x7F) {
      mBytes.erase(0, 1);
      if (const auto event = Control(byte); event) return event;
    } else if (!TakeText()) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<Prompt::Event> Prompt::Control(unsigned char byte) {
  const auto ctrl = [](char letter) { return static_cast<unsigned char>(letter - '@'); };
  if (byte == '\r' || byte == '\n') return Event::kLine;
  if (byte == '\t') return Event::kComplete;
  if (byte == ctrl('L')) return Event::kClear;
  if (byte == ctrl('D') && mEditor.Text().empty()) return Event::kEnd;
  if (byte == ctrl('D')) Press(KeyCode::kDelete);
  if (byte == ctrl('H') || byte == 0x7F) Press(KeyCode::kBackspace);
  if (byte == ctrl('A')) Press(KeyCode::kHome);
  if (byte == ctrl('E')) Press(KeyCode::kEnd);
  if (byte == ctrl('B')) Press(KeyCode::kLeft);
  if (byte == ctrl('F')) Press(KeyCode::kRight);
  if (byte == ctrl('K')) mEditor.SetText(BeforeCaret());
  if (byte == ctrl('U') || byte == ctrl('C')) mEditor.SetText("");
  if (byte == ctrl('W')) EraseWord();
  if (byte == ctrl('P')) Recall(true);
  if (byte == ctrl('N')) Recall(false);
  return std::nullopt;
}

//   ESC [ parameters final     ESC O final     ESC key, which means nothing here
bool Prompt::TakeSequence() {
  if (mBytes.size() < 2) return false;
  if (mBytes[1] != '[' && mBytes[1] != 'O') {
    mBytes.erase(0, mBytes[1] == kEscape ? 1 : 2);
    return true;
  }
  const auto isFinal = [](char c) { return c >= 0x40 && c <= 0x7E; };
  const auto end = std::find_if(mBytes.begin() + 2, mBytes.end(), isFinal);
  if (end == mBytes.end()) {
    if (mBytes.size() <= kLongestSequence) return false;
    mBytes.clear();  // Nothing that a key sends.
    return true;
  }
  const std::string parameters(mBytes.begin() + 2, end);
  const char final = *end;
  mBytes.erase(mBytes.begin(), end + 1);
  OnSequence(parameters, final);
  return true;
}

void Prompt::OnSequence(std::string_view parameters, char final) {
  if (final == 'A') Recall(true);
  if (final == 'B') Recall(false);
  if (final == 'C') Press(KeyCode::kRight);
  if (final == 'D') Press(KeyCode::kLeft);
  if (final == 'H') Press(KeyCode::kHome);
  if (final == 'F') Press(KeyCode::kEnd);
  if (final != '~') return;
  if (parameters == "1" || parameters == "7") Press(KeyCode::kHome);
  if (parameters == "4" || parameters == "8") Press(KeyCode::kEnd);
  if (parameters == "3") Press(KeyCode::kDelete);
}

// False while the rest of a character is missing.
bool Prompt::TakeText() {
  const auto lead = static_cast<unsigned char>(mBytes[0]);
  const std::size_t wanted = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  const auto isNext = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  const auto last = std::find_if_not(mBytes.begin() + 1, mBytes.end(), isNext);
  const auto length =
      std::min<std::size_t>(wanted, static_cast<std::size_t>(last - mBytes.begin()));
  if (length < wanted && last == mBytes.end()) return false;
  const std::string character = mBytes.substr(0, length);
  mBytes.erase(0, length);
  const bool isControl = character.size() == 2 && lead == 0xC2 && character[1] < '\xA0';
  if (dorn::station::IsValidUtf8(character) && !isControl) Insert(character);
  return true;
}

void Prompt::Press(KeyCode code) { static_cast<void>(mEditor.OnKey(Key::Of(code))); }

void Prompt::Insert(const std::string& text) { static_cast<void>(mEditor.OnKey(Key::Text(text))); }

void Prompt::EraseWord() {
  const auto isBehind = [this](bool isBlank) {
    return mEditor.Caret() > 0 && (mEditor.Text()[mEditor.Caret() - 1] == ' ') == isBlank;
  };
  while (isBehind(true)) Press(KeyCode::kBackspace);
  while (isBehind(false)) Press(KeyCode::kBackspace);
}

void Prompt::Recall(bool isOlder) {
  if (isOlder ? mAt == 0 : mAt == mHistory.size()) return;
  if (mAt == mHistory.size()) mNew = mEditor.Text();
  mAt = isOlder ? mAt - 1 : mAt + 1;
  mEditor.SetText(mAt == mHistory.size() ? mNew : mHistory[mAt]);
}

std::string Prompt::TakeLine() {
  std::string line = mEditor.Text();
  mEditor.SetText("");
  Remember(line);
  return line;
}

void Prompt::Remember(const std::string& line) {
  const bool isNew = mHistory.empty() || mHistory.back() != line;
  if (isNew && line.find_first_not_of(' ') != std::string::npos &&
      line.find("\"Pass\"") == std::string::npos) {
    mHistory.push_back(line);
    if (mHistory.size() > kKept) mHistory.erase(mHistory.begin());
  }
  mAt = mHistory.size();
  mNew.clear();
}

std::string Prompt::Drawn(const std::string& label, int labelWidth, int columns) const {
  const int room = std::max(1, columns - labelWidth - 1);
  const auto view = mEditor.Shown(room, 1, false);
  const int caret = labelWidth + view.mCaretX;
  std::string drawn = "\r" + label + (view.mLines.empty() ? "" : view.mLines[0]) + "\x1B[K\r";
  if (caret > 0) drawn += "\x1B[" + std::to_string(caret) + "C";
  return drawn;
}
