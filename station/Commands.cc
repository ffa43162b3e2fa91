#include "station/Commands.h"

#include <charconv>

#include "station/Escapes.h"

namespace dorn::station {

namespace {

constexpr std::string_view kFence = "?f";

// An object's text, member by member, in the order in which they are added.
class ObjectText {
 public:
  explicit ObjectText(std::string_view command) { Add("Command", command); }
  ObjectText() = default;

  ObjectText& Add(std::string_view key, std::string_view text) { return AddRaw(key, Quoted(text)); }

  ObjectText& AddRaw(std::string_view key, std::string_view json) {
    mText += mText.empty() ? '{' : ',';
    AppendQuoted(mText, key);
    mText += ':';
    mText += json;
    return *this;
  }

  std::string End() { return (mText.empty() ? "{" : std::move(mText)) + "}"; }

 private:
  std::string mText;
};

// A typographic quote opens at the beginning of a word and closes elsewhere.
bool OpensAt(std::string_view text, std::size_t at) {
  return at == 0 || std::string_view(" \n\t([{").find(text[at - 1]) != std::string_view::npos;
}

std::string ReplacedValue(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '"') {
      out += OpensAt(text, at) ? "\u201C" : "\u201D";
    } else if (c == '\\') {
      out += "\uFF3C";
    } else if (c == '\n') {
      out += "\u2028";
    } else {
      out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return out;
}

ObjectText Hello(const LogIn& logIn) {
  ObjectText hello;
  hello.Add("Type", logIn.mType);
  hello.AddRaw("ResolutionH", std::to_string(logIn.mWidth));
  hello.AddRaw("ResolutionV", std::to_string(logIn.mHeight));
  return hello;
}

std::string WithoutBrace(std::string text) { return text.erase(0, 1); }

}  // namespace

bool IsSendable(std::string_view text) {
  return text.find_first_of(std::string_view("\x00\x02\x03", 3)) == std::string_view::npos;
}

std::string StoredText(std::string_view text, Quotes quotes) {
  if (quotes == Quotes::kEscape) return EscapedValue(text);
  return quotes == Quotes::kReplace ? ReplacedValue(text) : std::string(text);
}

std::string FenceFile(unsigned long fence) { return std::string(kFence) + std::to_string(fence); }

std::optional<unsigned long> FenceOf(std::string_view file) {
  if (file.substr(0, kFence.size()) != kFence) return std::nullopt;
  unsigned long fence = 0;
  const char* end = file.data() + file.size();
  const auto [stop, error] = std::from_chars(file.data() + kFence.size(), end, fence);
  if (error != std::errc() || stop != end) return std::nullopt;
  return fence;
}

std::string HelloText(const LogIn& logIn) {
  ObjectText hello("HELLO");
  hello.Add("Id", logIn.mId).Add("Pass", logIn.mPass);
  std::string text = hello.End();
  text.back() = ',';
  return text + WithoutBrace(Hello(logIn).End());
}

std::string HelloAgainText(std::string_view session, const LogIn& logIn) {
  ObjectText hello("HELLO");
  hello.Add("SessionId", session);
  std::string text = hello.End();
  text.back() = ',';
  return text + WithoutBrace(Hello(logIn).End());
}

std::string KeepaliveText() { return ObjectText("KEEPALIVE").End(); }

std::string ChangeText(std::string_view dialog) {
  return ObjectText("CHANGE").Add("DialogName", dialog).End();
}

std::string FenceText(unsigned long fence) { return GetFileText(FenceFile(fence)); }

std::string GetFileText(std::string_view file, std::string_view date) {
  ObjectText command("GETFILE");
  command.Add("File", file);
  if (!date.empty()) command.Add("Date", date);
  return command.End();
}

std::string CommandsText(const std::vector<std::string>& commands) {
  std::string text = "{\"Commands\":[";
  for (const std::string& command : commands) {
    if (text.back() != '[') text += ',';
    text += command;
  }
  return text + "]}";
}

std::string FileOfDialog(std::string_view dialog) {
  std::string file(dialog);
  for (char& c : file) {
    if (c == '@') c = '/';
  }
  return file + ".json";
}

std::string DialogOfFile(std::string_view file) {
  constexpr std::string_view kExtension = ".json";
  if (file.size() >= kExtension.size() &&
      file.substr(file.size() - kExtension.size()) == kExtension) {
    file.remove_suffix(kExtension.size());
  }
  std::string dialog(file);
  for (char& c : dialog) {
    if (c == '/') c = '@';
  }
  return dialog;
}

std::string EnterText(unsigned long fence, std::string_view dialog) {
  return CommandsText({FenceText(fence), ChangeText(dialog), GetFileText(FileOfDialog(dialog))});
}

std::string EnterAgainText(std::string_view session, std::string_view dialog) {
  const std::string change =
      ObjectText("CHANGE").Add("SessionId", session).Add("DialogName", dialog).End();
  return CommandsText({change, GetFileText(FileOfDialog(dialog))});
}

std::string ActText(unsigned long before, std::string_view condition, unsigned long after) {
  return CommandsText({FenceText(before), std::string(condition), FenceText(after)});
}

}  // namespace dorn::station
