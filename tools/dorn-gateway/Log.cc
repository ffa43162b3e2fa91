#include "tools/dorn-gateway/Log.h"

#include <chrono>
#include <ctime>
#include <string>

#include "station/Json.h"
#include "station/Utf8.h"

namespace dorn::gateway {

namespace {

std::string Now() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string JsonLine(std::string_view level, std::string_view message,
                     std::initializer_list<Log::Field> fields) {
  std::string line = "{\"time\":\"" + Now() + "\",\"level\":";
  station::AppendQuoted(line, level);
  line += ",\"message\":";
  station::AppendQuoted(line, station::ValidUtf8(message));
  for (const auto& [key, value] : fields) {
    line += ',';
    station::AppendQuoted(line, key);
    line += ':';
    station::AppendQuoted(line, station::ValidUtf8(value));
  }
  return line + "}\n";
}

// Values come from outside: in quotes and with escapes, none makes a line that looks like another.
std::string TextLine(std::string_view level, std::string_view message,
                     std::initializer_list<Log::Field> fields) {
  std::string line = Now() + " ";
  line += level;
  line += ' ';
  line += message;
  for (const auto& [key, value] : fields) {
    line += ' ';
    line += key;
    line += '=';
    station::AppendQuoted(line, station::ValidUtf8(value));
  }
  return line + '\n';
}

}  // namespace

void Log::Write(std::string_view level, std::string_view message,
                std::initializer_list<Field> fields) {
  const std::string line =
      mIsJson ? JsonLine(level, message, fields) : TextLine(level, message, fields);
  std::fwrite(line.data(), 1, line.size(), mFile);
  std::fflush(mFile);
}

}  // namespace dorn::gateway
