// Many stations at a host for a long time: most of them read, some come and go, a few never read, a
// few send garbage, and the host's clock is set forward once. See Usage().
#include <fcntl.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/soak/Figures.h"
#include "tests/soak/SoakStation.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/TcpPeer.h"

namespace {

using dorn::load::InMs;
using dorn::load::SteadyUs;

constexpr int kStationPort = 5000;
constexpr long long kSecondUs = 1000000;
constexpr double kChurnPerMinute = 0.05;
constexpr int kStationsPerBadOne = 100;  // So many for each silent one, and for each garbage one.
constexpr int kEnteringAtOnce = 50;
constexpr int kMisdeedsPerSecond = 10;
constexpr long long kStalledUs = 10 * kSecondUs;
constexpr long long kSettlingUs = 3 * kSecondUs;
constexpr long long kReportUs = 60 * kSecondUs;
constexpr double kGrowthMiB = 16;  // And a tenth of what there was.
constexpr int kGrowthDescriptors = 4;
constexpr rlim_t kDescriptors = 4096;
constexpr size_t kBulk = 40000;  // Of the tree that the silent stations ask for.

struct Options {
  int mSeconds = 600;
  int mStations = 900;
  int mRate = 10;
};

int Usage() {
  std::fputs(
      "usage: dorn_soak [--seconds N] [--stations N] [--rate N]\n"
      "Runs the soak host and so many stations (900) for so long (600 s); the host sends each of\n"
      "them so many updates a second (10). Exit 0: nothing grew, nothing was missed.\n",
      stderr);
  return 2;
}

bool Parse(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string name = argv[i];
    int* const value = name == "--seconds"    ? &options->mSeconds
                       : name == "--stations" ? &options->mStations
                       : name == "--rate"     ? &options->mRate
                                              : nullptr;
    if (value == nullptr || i + 1 == argc || (*value = std::atoi(argv[i + 1])) <= 0) return false;
  }
  return true;
}

// The host as a process of its own; what it prints goes to the null device, since it prints every
// message.
class SoakHost {
 public:
  explicit SoakHost(int periodMs) {
    const std::string period = std::to_string(periodMs);
    mPid = fork();
    if (mPid < 0) std::perror("dorn_soak: fork");
    if (mPid != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    execl(DORN_SOAK_HOST, DORN_SOAK_HOST, period.c_str(), nullptr);
    _exit(127);
  }
  ~SoakHost() {
    if (mPid <= 0) return;
    kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
  }
  SoakHost(const SoakHost&) = delete;
  SoakHost& operator=(const SoakHost&) = delete;

  bool IsAlive() {
    if (mPid > 0 && waitpid(mPid, &mStatus, WNOHANG) == mPid) mPid = -1;
    return mPid > 0;
  }
  int Status() const { return mStatus; }
  Holdings What() const { return Holdings::Of(mPid); }
  // Never with a pid of -1, which means every process there is.
  void Tell(int signal) const {
    if (mPid > 0) kill(mPid, signal);
  }

 private:
  pid_t mPid = -1;
  int mStatus = 0;
};

void WriteTree() {
  const std::string program = DORN_SOAK_HOST;
  std::ofstream(program.substr(0, program.rfind('/')) + "/resources/soak.json")
      << R"({"Command":"DIALOG","Name":"soak","Objects":[{"Name":"count","Value":""},)"
      << R"({"Name":"bulk","Text":")" << std::string(kBulk, 'x') << "\"}]}";
}

class Soak {
 public:
  explicit Soak(const Options& options) : mOptions(options), mHost(1000 / options.mRate) {
    mRun.mEpoll = epoll_create1(EPOLL_CLOEXEC);
    const int bad = std::max(options.mStations / kStationsPerBadOne, 1);
    for (int i = 0; i < options.mStations; ++i) {
      const auto kind = i < bad       ? SoakStation::Kind::kSilent
                        : i < 2 * bad ? SoakStation::Kind::kGarbage
                                      : SoakStation::Kind::kReader;
      mStations.push_back(std::make_unique<SoakStation>(&mRun, kind, i));
    }
  }
  ~Soak() {
    mStations.clear();
    close(mRun.mEpoll);
  }

  int Run() {
    const long long total = mOptions.mSeconds * kSecondUs;
    if (!EnterAll()) return 1;
    // The first part lets the memory reach its level; what counts is what happens to it later.
    const long long warmUp = std::min(total / 4, 120 * kSecondUs);
    Work(warmUp);
    const Settled start = Settle();
    std::printf("start: %s\n", start.Text().c_str());
    std::fflush(stdout);
    mRun.mIsMeasuring = true;
    Work((total - warmUp) / 2);
    if (mHasEnded) return 1;
    mHost.Tell(SIGUSR1);
    std::puts("the host's clock was set forward by an hour");
    std::fflush(stdout);
    Work((total - warmUp) / 2);
    mRun.mIsMeasuring = false;
    const Settled end = Settle();
    std::printf("end:   %s\n", end.Text().c_str());
    Judge(start, end);
    return mRun.mFailures == 0 ? 0 : 1;
  }

 private:
  // Lets some stations in at a time: a listener's queue is short.
  bool EnterAll() {
    const long long deadline = SteadyUs() + 60 * kSecondUs;
    for (TcpPeer peer; !peer.Connect(kStationPort); usleep(5000)) {
      if (mHost.IsAlive() && SteadyUs() < deadline) continue;
      mRun.Fail("the host does not listen");
      return false;
    }
    size_t entered = 0;
    size_t in = 0;
    while (in < mStations.size()) {
      while (entered < mStations.size() && entered < in + kEnteringAtOnce) {
        mStations[entered++]->Enter(false);
      }
      Poll(20);
      in = 0;
      for (size_t i = 0; i < entered; ++i) in += mStations[i]->IsIn() ? 1 : 0;
      if (!mHost.IsAlive() || mRun.mFailures > 0 || SteadyUs() > deadline) {
        std::fprintf(stderr, "FAILED: only %zu stations got in\n", in);
        return false;
      }
    }
    std::printf("%zu stations are in\n", in);
    return true;
  }

  // Lives through so much time.
  void Work(long long us) {
    const long long start = SteadyUs();
    mRun.mLastUpdateUs = start;
    for (long long now = start; now < start + us && IsGoingOn(now); now = SteadyUs()) {
      Poll(5);
      Churn(now);
      Misbehave(now);
      Report(now);
    }
  }

  void Report(long long now) {
    if (mNextReportUs == 0) mNextReportUs = now + kReportUs;
    if (now < mNextReportUs) return;
    mNextReportUs += kReportUs;
    std::printf("       %s\n", mHost.What().Text().c_str());
    std::fflush(stdout);
  }

  // The figures of the host without those who hold its memory for as long as they do not read: with
  // and without what the allocator keeps for later.
  struct Settled {
    std::string Text() const { return mHeld.Text() + "; with freed memory " + mKept.Text(); }

    Holdings mKept;
    Holdings mHeld;
  };

  Settled Settle() {
    for (const auto& station : mStations) {
      if (station->What() != SoakStation::Kind::kReader) station->Leave(true);
    }
    Wait(kSettlingUs);
    Settled settled;
    settled.mKept = mHost.What();
    mHost.Tell(SIGUSR2);
    Wait(kSettlingUs);
    settled.mHeld = mHost.What();
    return settled;
  }

  void Wait(long long us) {
    const long long end = SteadyUs() + us;
    while (SteadyUs() < end && IsGoingOn(SteadyUs())) Poll(5);
  }

  bool IsGoingOn(long long now) {
    if (mHasEnded) return false;
    if (!mHost.IsAlive()) {
      mRun.Fail("the host has ended with status " + std::to_string(mHost.Status()));
      mHasEnded = true;
    } else if (now - mRun.mLastUpdateUs > kStalledUs) {
      mRun.Fail("no station has received anything for ten seconds");
      mHasEnded = true;
    }
    return !mHasEnded;
  }

  void Poll(int timeoutMs) {
    epoll_event events[256];
    const int count = epoll_wait(mRun.mEpoll, events, 256, timeoutMs);
    for (int i = 0; i < count; ++i) {
      static_cast<SoakStation*>(events[i].data.ptr)->OnEvents(events[i].events);
    }
  }

  // One reader after the other leaves, in an orderly way or not, and comes back at once, with its
  // old session or a new log-in.
  void Churn(long long now) {
    const double perSecond = mOptions.mStations * kChurnPerMinute / 60;
    const auto interval = static_cast<long long>(kSecondUs / perSecond);
    if (mNextChurnUs == 0) mNextChurnUs = now;
    if (now < mNextChurnUs) return;
    mNextChurnUs += interval;
    SoakStation& station = *mStations[mRun.mRandom() % mStations.size()];
    if (station.What() != SoakStation::Kind::kReader || !station.IsIn()) return;
    station.Leave(mRun.mRandom() % 2 == 0);
    station.Enter(mRun.mRandom() % 2 == 0);
    ++mChurned;
  }

  void Misbehave(long long now) {
    if (now < mNextMisdeedUs) return;
    mNextMisdeedUs = now + kSecondUs / kMisdeedsPerSecond;
    for (const auto& station : mStations) {
      if (station->What() != SoakStation::Kind::kReader) station->Misbehave();
    }
  }

  static bool HasGrown(const Holdings& start, const Holdings& end) {
    return end.mMiB > start.mMiB + start.mMiB / 10 + kGrowthMiB;
  }

  void Judge(const Settled& start, const Settled& end) {
    const dorn::load::Histogram& latencies = mRun.mLatencies;
    std::printf("%lld updates; latency p50 %.2f ms, p99 %.2f ms, worst %.2f ms\n", mRun.mUpdates,
                InMs(latencies.Quantile(0.5)), InMs(latencies.Quantile(0.99)),
                InMs(latencies.Worst()));
    std::printf(
        "%ld connections, %ld of stations that left and came back, %ld of silent or\n"
        "garbage stations closed by the host; %ld KEEPALIVE answered\n",
        mRun.mConnects, mChurned, mRun.mTurnedAway, mRun.mKeepalives);
    if (HasGrown(start.mHeld, end.mHeld)) mRun.Fail("the memory grew");
    if (HasGrown(start.mKept, end.mKept)) mRun.Fail("the memory grew that was freed");
    if (end.mHeld.mDescriptors > start.mHeld.mDescriptors + kGrowthDescriptors) {
      mRun.Fail("the descriptors grew");
    }
    for (const auto& station : mStations) {
      if (station->What() == SoakStation::Kind::kReader && !station->IsIn()) {
        mRun.Fail("a reader is not in at the end");
      }
    }
    // The step makes every connection's idle timer fire.
    if (mRun.mKeepalives < mOptions.mStations / 2) mRun.Fail("the step asked nobody for an answer");
    if (mChurned == 0) mRun.Fail("nobody left and came back");
    if (latencies.Count() == 0) mRun.Fail("nothing was measured");
    std::printf("%s: %d failures\n", mRun.mFailures == 0 ? "passed" : "FAILED", mRun.mFailures);
  }

  const Options mOptions;
  SoakHost mHost;
  SoakRun mRun;
  std::vector<std::unique_ptr<SoakStation>> mStations;
  long long mNextChurnUs = 0;
  long long mNextMisdeedUs = 0;
  long long mNextReportUs = 0;
  long mChurned = 0;
  bool mHasEnded = false;
};

void RaiseDescriptorLimit() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(kDescriptors, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!Parse(argc, argv, &options)) return Usage();
  RaiseDescriptorLimit();
  if (!EnterOwnNetwork()) std::puts("no network of its own; TCP port 5000 must be free");
  WriteTree();
  std::printf("%d stations, %d updates a second each, %d s\n", options.mStations, options.mRate,
              options.mSeconds);
  std::fflush(stdout);
  return Soak(options).Run();
}
