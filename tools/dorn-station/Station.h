// One connection to a dialog server: sends, prints what arrives, waits for what is expected.
#ifndef TOOLS_DORN_STATION_STATION_H_
#define TOOLS_DORN_STATION_STATION_H_

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "station/Framing.h"
#include "tools/dorn-station/KeptMessages.h"
#include "tools/dorn-station/Output.h"
#include "tools/dorn-station/SavedFile.h"
#include "tools/line/Line.h"

class Station : private dorn::station::Framing::Sink, private dorn::tools::Line::Hooks {
 public:
  struct Options {
    bool answerKeepalive = true;  // Sends KEEPALIVE when the server asks.
    double timeout = 5;           // Seconds that the server may take to receive what is sent.
    std::string saveDirectory;    // Files received are written here; empty: only counted.
  };

  // `output` outlives the station.
  Station(Options options, Output& output);
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;

  // Connects; on failure prints the reason on standard error and returns false.
  bool Connect(const std::string& host, int port);

  // Sends one command; false when the connection is gone. A server that does not take it in time
  // is left, with a line on standard error.
  bool Send(const std::string& text);

  // Waits until a message contains `text`. Earlier messages are passed over. On time-out or when
  // the server closes, says so on standard error and returns false.
  bool Expect(const std::string& text, double seconds);

  // False, with a line on standard error, if a message that the last Expect passed over or
  // matched, or one that came after it, contains `text`.
  bool Absent(const std::string& text);

  // Prints what arrives for `seconds`, or until the server closes; below 0 means without end.
  void Listen(double seconds);

  // Waits until the server has sent something or `otherFd` (negative: none) is readable, at most
  // `timeoutMs`; below 0 means without end. Returns whether `otherFd` is.
  bool WaitForEither(int otherFd, int timeoutMs = -1);

  bool IsOpen() const { return mLine.GetState() == dorn::tools::Line::State::kOpen; }

 private:
  using Clock = std::chrono::steady_clock;

  void OnText(std::string_view text) override;
  void OnPayload(std::string_view piece, bool last) override;
  void OnNoPayload() override;
  void OnTooLong() override;
  void OnReceive(std::string_view bytes) override;
  void OnEnd(dorn::tools::Line::End end, const std::string& why) override;
  void EndFile(std::optional<size_t> bytes);
  void NameFile(const dorn::station::Json& command);
  static Clock::time_point After(double seconds);
  // False when the deadline has passed.
  bool ReceiveUntil(Clock::time_point deadline);
  int Poll(int timeoutMs);

  Options mOptions;
  Output& mOutput;
  dorn::tools::Line mLine{*this};
  bool mIsInHook = false;  // The line is already being looked after.
  dorn::station::Framing mFraming;
  KeptMessages mKept;  // What the last Expect passed over or matched, and what came after it.
  std::string mFileName;
  size_t mFileBytes = 0;
  std::unique_ptr<SavedFile> mSaved;  // The file whose bytes come now.
};

#endif  // TOOLS_DORN_STATION_STATION_H_
