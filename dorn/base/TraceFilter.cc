#include "dorn/base/TraceFilter.h"

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace dorn {

namespace {

std::atomic<Trace> gTrace{Trace::kAll};

constexpr std::string_view kPass = "\"Pass\":";
constexpr std::string_view kSessionId = "\"SessionId\":";
constexpr std::size_t kShownCharacters = 8;

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

std::string_view FirstCharacters(std::string_view text) {
  auto end = text.begin();
  for (std::size_t left = kShownCharacters; left > 0 && end != text.end(); --left) {
    end = std::find_if_not(end + 1, text.end(), IsContinuation);
  }
  return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

// Where the value that `text` begins with ends. A string does at its closing quote; its opening one
// is gone.
std::size_t ValueEnd(std::string_view text, bool isString) {
  if (!isString) return std::min(text.find_first_of(",}]"), text.size());
  std::size_t quote = text.find('"');
  while (quote != std::string_view::npos && quote + 1 < text.size()) {
    const char next = text[quote + 1];
    if (next == ',' || next == '}' || next == ']') break;
    quote = text.find('"', quote + 1);
  }
  return std::min(quote, text.size());
}

}  // namespace

void SetTraceLevel(Trace trace) { gTrace.store(trace, std::memory_order_relaxed); }

Trace GetTraceLevel() { return gTrace.load(std::memory_order_relaxed); }

std::string_view Shown(std::string_view sessionId) {
  return ShowsSecrets() ? sessionId : FirstCharacters(sessionId);
}

std::string_view ShownText(std::string_view text, std::string& storage) {
  if (ShowsSecrets()) return text;
  storage.clear();
  for (;;) {
    const std::size_t pass = text.find(kPass);
    const std::size_t sessionId = text.find(kSessionId);
    const std::size_t found = std::min(pass, sessionId);
    if (found == std::string_view::npos) break;
    const bool isPass = found == pass;
    std::size_t start = found + (isPass ? kPass : kSessionId).size();
    const bool isString = start < text.size() && text[start] == '"';
    if (isString) ++start;
    storage.append(text.substr(0, start));
    text.remove_prefix(start);
    const std::size_t length = ValueEnd(text, isString);
    storage.append(isPass ? "***" : FirstCharacters(text.substr(0, length)));
    text.remove_prefix(length);
  }
  storage.append(text);
  return storage;
}

}  // namespace dorn
