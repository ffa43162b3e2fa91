// A log sink that keeps what it is given. Header only: whoever includes it links the base layer.
#ifndef TESTS_SUPPORT_RECORDINGSTREAM_H_
#define TESTS_SUPPORT_RECORDINGSTREAM_H_

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "dorn/base/KZLog.h"

// A log calls Output() twice for each message: with the time stamp, then with the message.
class RecordingStream : public KZStream {
 public:
  // As a sink that writes everything: returns the number of bytes.
  int Output(char* text) override {
    mCalls.emplace_back(text);
    return static_cast<int>(std::strlen(text));
  }

  // The messages alone, without the time stamps.
  std::vector<std::string> Messages() const {
    std::vector<std::string> messages;
    for (size_t i = 1; i < mCalls.size(); i += 2) messages.push_back(mCalls[i]);
    return messages;
  }

  // How many messages are exactly `message`.
  int Count(const std::string& message) const {
    const std::vector<std::string> all = Messages();
    return static_cast<int>(std::count(all.begin(), all.end(), message));
  }

  bool Has(const std::string& message) const { return Count(message) > 0; }
  void Clear() { mCalls.clear(); }

  // Every call of Output(), in order.
  std::vector<std::string> mCalls;
};

#endif  // TESTS_SUPPORT_RECORDINGSTREAM_H_
