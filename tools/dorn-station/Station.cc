#include "tools/dorn-station/Station.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "station/Commands.h"

using dorn::tools::Line;
using dorn::tools::SteadyMs;

namespace {

bool Contains(const std::string& message, const std::string& text) {
  return message.find(text) != std::string::npos;
}

std::string Written(double seconds) {
  char text[32];
  static_cast<void>(std::snprintf(text, sizeof text, "%g s", seconds));
  return text;
}

}  // namespace

Station::Station(Options options, Output& output)
    : mOptions(std::move(options)), mOutput(output), mFraming(*this) {}

bool Station::Connect(const std::string& host, int port) {
  // As long as the system itself tries.
  constexpr Line::Ms kLimitMs = 130'000;
  mLine.Open(host, port, kLimitMs, SteadyMs());
  while (mLine.GetState() == Line::State::kConnecting) static_cast<void>(Poll(-1));
  return IsOpen();
}

// Waits until everything is on its way, receiving meanwhile: a host may stop reading while nobody
// reads what it sends.
bool Station::Send(const std::string& text) {
  mOutput.Sent(text);
  mLine.Send(dorn::station::Framed(text));
  const auto deadline = After(mOptions.timeout);
  bool isInTime = true;
  while (!mIsInHook && IsOpen() && mLine.Unsent() > 0 && isInTime) {
    isInTime = ReceiveUntil(deadline);
  }
  if (!isInTime && IsOpen() && mLine.Unsent() > 0) {
    mOutput.Trouble("the server did not take everything within " + Written(mOptions.timeout));
    mLine.Close();
  }
  return IsOpen();
}

bool Station::Expect(const std::string& text, double seconds) {
  const auto deadline = After(seconds);
  mKept.ForgetPassed();
  for (bool isInTime = true;; isInTime = ReceiveUntil(deadline)) {
    if (mKept.PassUntil(text)) return true;
    if (!IsOpen()) {
      mOutput.Trouble("the server closed before it sent: " + text);
      return false;
    }
    if (!isInTime) {
      mOutput.Trouble("nothing within " + Written(seconds) + " contained: " + text);
      return false;
    }
  }
}

bool Station::Absent(const std::string& text) {
  if (!mKept.Contain(text)) return true;
  mOutput.Trouble("a message contained what must be absent: " + text);
  return false;
}

void Station::Listen(double seconds) {
  const auto deadline = seconds < 0 ? Clock::time_point::max() : After(seconds);
  while (IsOpen() && ReceiveUntil(deadline)) {
  }
}

bool Station::WaitForEither(int otherFd, int timeoutMs) {
  pollfd watched[2] = {{mLine.Descriptor(), mLine.Events(), 0}, {otherFd, POLLIN, 0}};
  const int wanted = mLine.PollTimeout(SteadyMs());
  const bool isShorter = timeoutMs >= 0 && (wanted < 0 || timeoutMs < wanted);
  if (poll(watched, 2, isShorter ? timeoutMs : wanted) < 0) return false;
  mLine.Ready(watched[0].revents, SteadyMs());
  return watched[1].revents != 0;
}

void Station::OnText(std::string_view received) {
  const std::string text(received);
  mOutput.Received(text, mFraming);
  mKept.Add(text);
  if (Contains(text, "PUTFILE")) NameFile(mFraming.Read().mJson);
  if (mOptions.answerKeepalive && Contains(text, "KEEPALIVE") &&
      mFraming.Read().mJson.TextOf("Command") == "KEEPALIVE") {
    Send(dorn::station::KeepaliveText());
  }
}

// Whether its bytes come is known with the first of them alone.
void Station::NameFile(const dorn::station::Json& command) {
  if (command.TextOf("Command") != "PUTFILE") return;
  mFileName = command.TextOf("File");
  mFileBytes = 0;
  mSaved.reset();
}

void Station::OnPayload(std::string_view piece, bool last) {
  if (!mSaved && !mOptions.saveDirectory.empty()) {
    mSaved = std::make_unique<SavedFile>(mOptions.saveDirectory, mFileName);
  }
  mFileBytes += piece.size();
  mOutput.FilePiece(piece);
  if (mSaved) mSaved->Write(piece);
  if (!last) return;
  if (mSaved) mSaved->Finish();
  EndFile(mFileBytes);
}

void Station::OnNoPayload() { EndFile(std::nullopt); }

void Station::OnTooLong() { mOutput.Trouble("dropped a message that is too long"); }

void Station::EndFile(std::optional<size_t> bytes) {
  mSaved.reset();
  mOutput.FileEnd(mFileName, bytes);
  mKept.Add(FileNote(mFileName, bytes));
}

Station::Clock::time_point Station::After(double seconds) {
  return Clock::now() +
         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// Receives once even when it is late, and is late however much a server sends.
bool Station::ReceiveUntil(Clock::time_point deadline) {
  int timeoutMs = -1;
  if (deadline != Clock::time_point::max()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    timeoutMs = static_cast<int>(std::clamp<decltype(left)>(left, 0, 1'000'000));
  }
  const bool isSound = Poll(timeoutMs) >= 0 || errno == EINTR;
  return isSound && Clock::now() < deadline;
}

int Station::Poll(int timeoutMs) {
  const int wanted = mLine.PollTimeout(SteadyMs());
  const bool isWantedFirst = wanted >= 0 && (timeoutMs < 0 || wanted < timeoutMs);
  pollfd watched{mLine.Descriptor(), mLine.Events(), 0};
  const int ready = poll(&watched, 1, isWantedFirst ? wanted : timeoutMs);
  mLine.Ready(ready > 0 ? watched.revents : short{0}, SteadyMs());
  return ready;
}

void Station::OnReceive(std::string_view bytes) {
  mIsInHook = true;
  const bool isSound = mFraming.Feed(bytes);
  mIsInHook = false;
  if (isSound) return;
  mOutput.Trouble("the server announced a file that is too long");
  mLine.Close();
}

void Station::OnEnd(Line::End end, const std::string& why) {
  if (end == Line::End::kNoSuchHost || end == Line::End::kCannotConnect) {
    const char* hint = end == Line::End::kCannotConnect ? ". Is the server running there?" : "";
    return mOutput.Trouble(why + hint);
  }
  if (end == Line::End::kNotTaken) return mOutput.Trouble(why);
  if (!mFraming.IsAtRest()) mOutput.Trouble("closed in the middle of a message");
  mOutput.ClosedByServer();
  mKept.Add("[closed by the server]");
}
