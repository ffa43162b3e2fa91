// The gateway's log: one line for each event, on standard error.
#ifndef TOOLS_DORN_GATEWAY_LOG_H_
#define TOOLS_DORN_GATEWAY_LOG_H_

#include <cstdio>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace dorn::gateway {

class Log {
 public:
  using Field = std::pair<std::string_view, std::string_view>;

  // `file` must outlive it.
  explicit Log(bool isJson, std::FILE* file = stderr) : mIsJson(isJson), mFile(file) {}

  void Info(std::string_view message, std::initializer_list<Field> fields = {}) {
    Write("info", message, fields);
  }
  void Warn(std::string_view message, std::initializer_list<Field> fields = {}) {
    Write("warning", message, fields);
  }
  void Error(std::string_view message, std::initializer_list<Field> fields = {}) {
    Write("error", message, fields);
  }

 private:
  void Write(std::string_view level, std::string_view message, std::initializer_list<Field> fields);

  const bool mIsJson;
  std::FILE* const mFile;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_LOG_H_
