#include "dorn/server/ResourceReport.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/json/JsonValue.h"
#include "dorn/json/MemberSearch.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/ResourceFile.h"
#include "dorn/server/VQApplication.h"

namespace dorn {

namespace {

// How much of a line is quoted.
constexpr std::size_t kQuoted = 40;

ResourceReport& Last() {
  static ResourceReport last;
  return last;
}

// False for an empty file, a directory, a read error.
bool ReadText(int file, std::string& text) {
  char block[4096];
  for (;;) {
    const ssize_t got = read(file, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    errno = 0;
    if (got == 0) return !text.empty();
    const void* zero = std::memchr(block, 0, static_cast<std::size_t>(got));
    if (zero != nullptr) {
      text.append(block, static_cast<std::size_t>(static_cast<const char*>(zero) - block));
      return true;
    }
    text.append(block, static_cast<std::size_t>(got));
  }
}

bool IsDialogCommand(const value& entry) {
  if (!entry.is<value::object>()) return false;
  const value* word = FindMember(entry.get<value::object>(), kKeyCommand);
  return word != nullptr && word->is<std::string>() && word->get<std::string>() == kCommandDialog;
}

// As VQJsonParser::ParseDialog() looks for it.
bool HoldsDialog(const value& root) {
  if (!root.is<value::object>()) return false;
  const value* commands = FindMember(root.get<value::object>(), kKeyCommands);
  if (commands == nullptr || !commands->is<value::array>()) return IsDialogCommand(root);
  const value::array& list = commands->get<value::array>();
  if (list.empty()) return IsDialogCommand(root);
  return std::any_of(list.begin(), list.end(), IsDialogCommand);
}

// Every step of the reader that fails has just read, or read and pushed back, what it cannot take.
void LocateError(const input& in, std::string_view text, ResourceReport& report) {
  const bool isAtEnd = in.lastc() == -1;
  const auto read = static_cast<std::size_t>(in.cur() - text.data());
  const std::size_t place = isAtEnd || read == 0 ? read : read - 1;
  const std::string_view before = text.substr(0, place);
  const std::size_t lineStart = before.rfind('\n') + 1;  // No line feed: 0.
  report.line = static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1;
  report.column = static_cast<int>(place - lineStart) + 1;
  if (isAtEnd) {
    report.reason = "the text ends too early";
    return;
  }
  const std::string_view rest = text.substr(place, kQuoted);
  report.reason = "syntax error at: " + std::string(rest.substr(0, rest.find_first_of("\r\n")));
}

}  // namespace

KZString ResourceReport::Text() const {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line) + ":" + std::to_string(column);
  text += ": ";
  text += isUsable ? "usable" : reason.c_str();
  return KZString(std::move(text));
}

ResourceState ReadResource(const KZString& path, std::string& text, ResourceReport& report) {
  report = ResourceReport();
  report.file = path;
  const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) {
    report.reason = std::string("cannot be opened: ") + std::strerror(errno);
    return ResourceState::kMissing;
  }
  const bool isRead = ReadText(file, text);
  const int error = errno;
  close(file);
  if (isRead) return ResourceState::kRead;
  report.reason =
      error != 0 ? std::string("cannot be read: ") + std::strerror(error) : std::string("is empty");
  return ResourceState::kUnreadable;
}

void DiagnoseResource(const std::string& text, ResourceReport& report) {
  value root;
  input in(text.data(), text.data() + text.size());
  if (!value::_parse(root, in)) {
    LocateError(in, text, report);
  } else if (!HoldsDialog(root)) {
    report.reason = "holds no \"Command\":\"DIALOG\"";
  } else {
    report.isUsable = true;
  }
}

void RememberResource(ResourceReport report) { Last() = std::move(report); }

ResourceReport CheckResource(const KZString& file) {
  KZString name = file;
  name.Replace("@", "/");
  KZString path;
  path.Format("%s/resources/%s", App().GetModuleDirectory(), static_cast<const char*>(name));
  ResourceReport report;
  std::string text;
  if (ReadResource(path, text, report) == ResourceState::kRead) DiagnoseResource(text, report);
  return report;
}

const ResourceReport& LastResource() { return Last(); }

}  // namespace dorn
