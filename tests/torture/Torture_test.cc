// A host whose system calls fail one after the other serves on, or says in one line why it cannot.
// It never crashes and never hangs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "tests/e2e/HostProcess.h"
#include "tests/support/Deadline.h"
#include "tests/support/TestStation.h"

namespace {

using testing::AnyOf;
using testing::HasSubstr;

constexpr int kStationPort = 5000;
constexpr int kAttempts = 3;

// How long a station waits for the next byte. The first attempt, which the failed call usually
// spoils, is not given much; the last ones decide.
int SilenceMs(int attempt) {
  return static_cast<int>(TestTimeout().count()) / (attempt == 0 ? 40 : 8);
}

constexpr char kTree[] =
    R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"b1","Value":"OFF"}]})";

std::string File() {
  std::string text;
  for (int line = 0; line < 20000; ++line) text += "line " + std::to_string(line) + "\n";
  return text;
}

void WriteResources() {
  HostProcess::WriteResource("top.json", kTree);
  HostProcess::WriteResource("torture.txt", File());
}

// Two stations that work with the host. A step is over when what it expects is there, or when it is
// clear that it will not come.
class Session {
 public:
  explicit Session(int attempt) : mUser(std::to_string(attempt)), mSilenceMs(SilenceMs(attempt)) {}

  // Whether every byte came that should.
  bool Run() {
    return LogIn(mFirst, "a" + mUser) && LogIn(mSecond, "b" + mUser) && ShareAChange() &&
           FetchAFile() && BeRefused();
  }

 private:
  bool LogIn(TestStation& station, const std::string& user) {
    return station.Connect(kStationPort) &&
           Ask(station, R"({"Command":"HELLO","Id":")" + user + R"(","Pass":"p"})",
               R"({"Command":"OPEN","File":"Top.json","FileSource":"STATION","SessionId":"S-)" +
                   user + "\"}") &&
           Ask(station, R"({"Command":"CHANGE","DialogName":"top"})",
               R"({ "Command":"UPDATE", "Objects":[{"Name":"b1","Value":")");
  }

  bool ShareAChange() {
    const std::string value = "v" + mUser;
    mFirst.SendText(R"({"Command":"CONDITION","Objects":[{"Name":"b1","Value":")" + value +
                    "\"}]}");
    return Ask(mFirst, R"({"Command":"GETFILE","File":"done"})", R"("File":"done")") &&
           WaitFor(mSecond, R"({ "Command":"UPDATE", "Objects":[{"Value":")" + value +
                                "\",\"Name\":\"b1\"}]}\n");
  }

  bool FetchAFile() {
    const std::string file = File();
    if (!Ask(mFirst, R"({"Command":"GETFILE","File":"torture.txt"})",
             R"("File":"torture.txt","Length":)" + std::to_string(file.size()) + "}")) {
      return false;
    }
    return WaitUntil(mFirst, [&] { return mFirst.Received().find(file) != std::string::npos; });
  }

  bool BeRefused() {
    return Ask(mSecond, R"({"Command":"GETFILE","File":"../x"})",
               R"({"Command":"PUTFILE","File":"../x","Info":"FILE NOT FOUND","Status":"ERROR"})");
  }

  bool Ask(TestStation& station, const std::string& text, const std::string& answer) {
    return station.SendText(text) && WaitFor(station, answer);
  }

  // The answer to a request behind it shows that the expected one is lost.
  bool WaitFor(TestStation& station, const std::string& answer) {
    station.SendText(R"({"Command":"GETFILE","File":"later"})");
    return WaitUntil(station, [&] { return station.HasMessage(answer); });
  }

  template <typename Condition>
  bool WaitUntil(TestStation& station, const Condition& isDone) {
    const size_t before = CountOfLater(station);
    for (const Deadline deadline; !deadline.IsOver();) {
      if (isDone()) return true;
      if (station.IsClosed() || CountOfLater(station) > before + 1) return isDone();
      pollfd entry{station.Fd(), POLLIN, 0};
      if (poll(&entry, 1, mSilenceMs) == 0) return isDone();
    }
    return false;
  }

  static size_t CountOfLater(TestStation& station) {
    size_t count = 0;
    for (const std::string& message : station.Messages()) {
      count += message.find(R"("File":"later")") != std::string::npos ? 1 : 0;
    }
    return count;
  }

  const std::string mUser;
  const int mSilenceMs;
  TestStation mFirst;
  TestStation mSecond;
};

void FailIn(const std::string& plan) {
  setenv("LD_PRELOAD", DORN_TORTURE_SHIM, 1);
  setenv("TORTURE_FAIL", plan.c_str(), 1);
}

enum class Outcome { kServed, kRefused, kNeverFailed };

// One host in which one call fails.
class TorturedHost {
 public:
  explicit TorturedHost(const std::string& plan) : mHost({}, [&] { FailIn(plan); }) {
    static_cast<void>(mHost.Errors());  // It may complain.
  }

  Outcome Run() {
    if (!WaitForStart()) return ExpectClearEnd();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const bool isServed = Session(attempt).Run();
      if (mHost.HasEnded()) return ExpectClearEnd();
      if (IsDeaf() || HasNoTree()) return Outcome::kRefused;
      if (isServed) return HasFailed() ? Outcome::kServed : Outcome::kNeverFailed;
    }
    ADD_FAILURE() << "serves nobody\n" << mHost.Console() << mHost.Errors();
    return Outcome::kRefused;
  }

 private:
  bool WaitForStart() {
    for (const Deadline deadline; !deadline.IsOver(); poll(nullptr, 0, 1)) {
      if (mHost.Console().find("READY\n") != std::string::npos) return true;
      if (mHost.HasEnded()) return false;
    }
    ADD_FAILURE() << "neither starts nor ends\n" << mHost.Console();
    return false;
  }

  // It must have ended by itself, with a line that says why.
  Outcome ExpectClearEnd() {
    EXPECT_GT(mHost.WaitForExit(), 0) << mHost.Console() << mHost.Errors();
    const std::string said = mHost.Console() + mHost.Errors();
    EXPECT_THAT(said, AnyOf(HasSubstr("dorn: "), HasSubstr("パイプがオープンできませんでした")));
    return Outcome::kRefused;
  }

  bool HasFailed() { return mHost.Errors().find("torture: ") != std::string::npos; }

  bool IsDeaf() const {
    return mHost.Console().find("The station port is closed: ") != std::string::npos;
  }

  bool HasNoTree() const { return mHost.Console().find("/top.json is non\n") != std::string::npos; }

  HostProcess mHost;
};

struct Fault {
  const char* mCall;
  int mError;
  const char* mErrorName;
  int mMost;  // The first so many calls fail, each in a host of its own, if there are so many.
};

class TortureTest : public testing::TestWithParam<Fault> {
 protected:
  static void SetUpTestSuite() { WriteResources(); }
};

TEST_P(TortureTest, TheHostServesOnOrSaysWhyNot) {
  const Fault& fault = GetParam();
  for (int number = 1; number <= fault.mMost; ++number) {
    const std::string plan = std::string(fault.mCall) + ":" + std::to_string(number) + ":" +
                             std::to_string(fault.mError);
    SCOPED_TRACE(plan);
    const Outcome outcome = TorturedHost(plan).Run();
    if (HasFailure()) break;
    if (outcome != Outcome::kNeverFailed) continue;
    EXPECT_GT(number, 1) << "The host makes no such call.";
    break;
  }
}

TEST_P(TortureTest, ACallThatFailsFromSomeTimeOnNeitherCrashesNorHangsTheHost) {
  const Fault& fault = GetParam();
  for (const int number : {1, 2, 4}) {
    const std::string plan = std::string(fault.mCall) + ":" + std::to_string(number) +
                             "+:" + std::to_string(fault.mError);
    SCOPED_TRACE(plan);
    HostProcess host({}, [&] { FailIn(plan); });
    static_cast<void>(host.Errors());
    const Deadline deadline;
    while (host.Console().find("READY\n") == std::string::npos && !host.HasEnded()) {
      ASSERT_FALSE(deadline.IsOver());
      poll(nullptr, 0, 1);
    }
    // Whatever becomes of the session, it does not take the host along.
    if (!host.HasEnded()) static_cast<void>(Session(0).Run());
    if (host.HasEnded()) {
      EXPECT_GT(host.WaitForExit(), 0) << host.Console() << host.Errors();
    } else {
      EXPECT_LT(host.CpuMs(), TestTimeout().count() / 2);
    }
  }
}

constexpr Fault kFaults[] = {
    {"socket", EMFILE, "EMFILE", 2},        {"accept", EMFILE, "EMFILE", 3},
    {"accept", ENOBUFS, "ENOBUFS", 3},      {"accept", ECONNABORTED, "ECONNABORTED", 3},
    {"accept", EINTR, "EINTR", 3},          {"accept", EAGAIN, "EAGAIN", 3},
    {"accept", EINVAL, "EINVAL", 3},        {"recv", ECONNRESET, "ECONNRESET", 8},
    {"recv", EAGAIN, "EAGAIN", 4},          {"recv", EINTR, "EINTR", 4},
    {"recv", ENOMEM, "ENOMEM", 4},          {"write", EPIPE, "EPIPE", 12},
    {"write", EAGAIN, "EAGAIN", 12},        {"write", EINTR, "EINTR", 12},
    {"write", ECONNRESET, "ECONNRESET", 6}, {"wake", EIO, "EIO", 4},
    {"pipe", EMFILE, "EMFILE", 2},          {"open", EMFILE, "EMFILE", 8},
    {"open", EACCES, "EACCES", 8},          {"open", EINTR, "EINTR", 8},
    {"epoll", ENOMEM, "ENOMEM", 4},
};

INSTANTIATE_TEST_SUITE_P(Faults, TortureTest, testing::ValuesIn(kFaults), [](const auto& test) {
  return std::string(test.param.mCall) + "_" + test.param.mErrorName;
});

// Short reads and writes

TEST(ShortCallsTest, AWholeSessionIsServedByteForByte) {
  WriteResources();
  for (const char* most : {"1", "2", "7", "1000"}) {
    SCOPED_TRACE(most);
    HostProcess host({}, [&] {
      setenv("LD_PRELOAD", DORN_TORTURE_SHIM, 1);
      setenv("TORTURE_READ_MAX", "1", 1);
      setenv("TORTURE_WRITE_MAX", most, 1);
    });
    ASSERT_TRUE(host.WaitForConsole("READY\n"));
    EXPECT_TRUE(Session(1).Run()) << host.Console();
  }
}

}  // namespace
