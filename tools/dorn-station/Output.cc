#include "tools/dorn-station/Output.h"

#include <unistd.h>

#include <cstdio>

#include "station/Json.h"
#include "station/Utf8.h"
#include "tools/dorn-station/Passwords.h"
#include "tools/line/Line.h"

namespace {

using dorn::station::Quoted;
using dorn::station::Reading;

// Written JSON has control characters within strings alone, and those escaped that a terminal does
// not obey by itself: the others get the same form. So do those that some take for line ends.
std::string InOneLine(const std::string& json) {
  const std::string printable = dorn::station::Printable(json);
  std::string line;
  line.reserve(printable.size());
  for (std::size_t at = 0; at < printable.size(); ++at) {
    const auto character = std::string_view(printable).substr(at, 3);
    if (character == "\u2028" || character == "\u2029") {
      line += character == "\u2028" ? "\\u2028" : "\\u2029";
      at += 2;
    } else {
      line += printable[at];
    }
  }
  return line;
}

}  // namespace

std::string FileNote(const std::string& name, std::optional<std::size_t> bytes) {
  const std::string what = bytes ? std::to_string(*bytes) + " bytes" : "nothing came";
  return "[file " + name + ": " + what + "]";
}

void Output::Trouble(const std::string& text) {
  std::fprintf(stderr, "dorn-station: %s\n", text.c_str());
}

void PlainOutput::FileEnd(const std::string& name, std::optional<std::size_t> bytes) {
  Print("<-", FileNote(name, bytes));
}

void PlainOutput::Said(const std::string& text) {
  std::puts(text.c_str());
  std::fflush(stdout);
}

void PlainOutput::Print(const char* direction, const std::string& text) const {
  if (mIsQuiet) return;
  const std::string shown = isatty(STDOUT_FILENO) != 0 ? dorn::station::PrintableLines(text) : text;
  std::printf("%s ", direction);
  std::fwrite(shown.data(), 1, shown.size(), stdout);
  if (shown.empty() || shown.back() != '\n') std::putchar('\n');
  std::fflush(stdout);
}

JsonOutput::JsonOutput() : mBegan(dorn::tools::SteadyMs()) {}

void JsonOutput::FileEnd(const std::string& name, std::optional<std::size_t> bytes) {
  Print(R"("direction":"in","file":)" + Quoted(dorn::station::ValidUtf8(name)) +
        ",\"bytes\":" + (bytes ? std::to_string(*bytes) : "null"));
}

void JsonOutput::Said(const std::string& text) {
  Print("\"said\":" + Quoted(dorn::station::ValidUtf8(text)));
}

void JsonOutput::PrintMessage(const char* direction, const std::string& text,
                              dorn::station::ReadText& read) const {
  std::string what = "\"direction\":\"" + std::string(direction) + "\",";
  if (read.mReading == Reading::kUnreadable) {
    what += "\"unreadable\":" + Quoted(dorn::station::ValidUtf8(text));
  } else {
    HidePasswords(read.mJson);
    what += "\"message\":" + read.mJson.Written();
  }
  Print(what);
}

void JsonOutput::Print(const std::string& members) const {
  const auto at = static_cast<long long>(dorn::tools::SteadyMs() - mBegan);
  std::printf("{\"at\":%lld,%s}\n", at, InOneLine(members).c_str());
  std::fflush(stdout);
}
