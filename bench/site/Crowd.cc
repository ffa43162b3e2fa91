#include "bench/site/Crowd.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench/site/Process.h"
#include "bench/support/Loopback.h"
#include "station/Commands.h"
#include "station/Framing.h"

namespace {

using dorn::station::Framed;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kEvents = 256;
constexpr char kEndOfText = 0x03;
constexpr milliseconds kTick(20);
constexpr seconds kPatience(60);

// Less than a host lets wait for the log.
constexpr long kPacedWindow = 50;

std::string ChangeText(std::size_t object, long number) {
  char text[128];
  std::snprintf(text, sizeof text,
                R"({"Command":"CONDITION","Objects":[{"Name":"o%zu","Value":"c%zu:%07ld"}]})",
                object, object, number);
  return Framed(text);
}

timespec SpanUntil(Clock::time_point until) {
  const auto left = std::max(until - Clock::now(), Clock::duration::zero());
  const auto whole = std::chrono::duration_cast<seconds>(left);
  const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(left - whole);
  return {whole.count(), rest.count()};
}

}  // namespace

Crowd::Crowd() : mEpoll(epoll_create1(EPOLL_CLOEXEC)) {}

Crowd::~Crowd() {
  for (const Station& station : mStations) close(station.fd);
  close(mEpoll);
}

// A site that begins lets nobody in for some seconds.
int Crowd::Enter(int port, bool isWatching) {
  const int number = static_cast<int>(mStations.size());
  const auto end = Clock::now() + kPatience;
  Station station;
  station.isWatching = isWatching;
  while (!TryToEnter(station, port, number)) {
    if (Clock::now() > end) Fail("no host lets a station in");
    usleep(50000);
  }
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u32 = static_cast<std::uint32_t>(number);
  epoll_ctl(mEpoll, EPOLL_CTL_ADD, station.fd, &event);
  mStations.push_back(std::move(station));
  return number;
}

bool Crowd::TryToEnter(Station& station, int port, int number) {
  station.begun.clear();
  station.fd = ConnectTo(port);
  if (station.fd < 0) return false;
  Write(station, Framed(R"({"Command":"HELLO","Id":"station)" + std::to_string(number) +
                        R"(","Pass":"p","Type":"PC"})"));
  if (ReadText(station)) {
    Write(station, Framed(dorn::station::ChangeText("panel")));
    if (ReadText(station)) return true;
  }
  close(station.fd);
  return false;
}

// Waits for one text and looks at it; what follows it stays.
bool Crowd::ReadText(Station& station) {
  std::size_t end = 0;
  while ((end = station.begun.find(kEndOfText)) == std::string::npos) {
    char bytes[4096];
    const ssize_t got = recv(station.fd, bytes, sizeof bytes, 0);
    if (got <= 0) return false;
    station.begun.append(bytes, static_cast<std::size_t>(got));
  }
  const std::string text = station.begun.substr(0, end);
  station.begun.erase(0, end + 1);
  if (station.isWatching) Look(station, text);
  return text.find("\"ERROR\"") == std::string::npos;
}

void Crowd::AddChanger(int station, int home) {
  mChangers.push_back({station, home});
  for (Station& each : mStations) each.seen.resize(mChangers.size());
}

double Crowd::Rush(long each, long window) {
  const auto begin = Clock::now();
  NoteProgress();
  for (Changer& changer : mChangers) changer.target = changer.sent + each;
  const auto isDone = [](const Changer& changer) { return changer.sent == changer.target; };
  while (!std::all_of(mChangers.begin(), mChangers.end(), isDone)) {
    for (Changer& changer : mChangers) {
      std::string bytes;
      while (!isDone(changer) && IsRoomFor(changer, window)) SendNext(changer, bytes);
      if (!bytes.empty()) Write(mStations[static_cast<std::size_t>(changer.station)], bytes);
    }
    Take(Clock::now() + kTick);
    CheckProgress();
  }
  AwaitAll();
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

std::vector<double> Crowd::Pace(double perSecond, long changes, int watcher) {
  mTimedWatcher = watcher;
  mDelays.clear();
  for (Changer& changer : mChangers) {
    changer.timedBehind = changer.sent;
    changer.timed.clear();
  }
  NoteProgress();
  const auto begin = Clock::now();
  for (long i = 0; i < changes; ++i) {
    const std::chrono::duration<double> after(static_cast<double>(i) / perSecond);
    const auto due = begin + std::chrono::duration_cast<Clock::duration>(after);
    const std::size_t number = static_cast<std::size_t>(i) % mChangers.size();
    Changer& changer = mChangers[number];
    while (Clock::now() < due) Take(due);
    while (!IsRoomFor(changer, kPacedWindow)) {
      Take(Clock::now() + kTick);
      CheckProgress();
    }
    NoteProgress();  // It may be long until the next is due.
    std::string bytes;
    changer.timed.push_back({due, ToBeShown(number)});
    SendNext(changer, bytes);
    Write(mStations[static_cast<std::size_t>(changer.station)], bytes);
  }
  AwaitAll();
  for (Changer& changer : mChangers) changer.timed.clear();
  return mDelays;
}

// By how many watchers a change is to be seen until its time is known.
int Crowd::ToBeShown(std::size_t changer) const {
  if (mTimedWatcher != kLastOfAll) return 1;
  return static_cast<int>(
      std::count_if(mStations.begin(), mStations.end(), [&](const Station& station) {
        return station.isWatching && !IsChangersOwn(station, changer);
      }));
}

void Crowd::NoteTime(const Station& station, Changer& changer, long seen, long number) {
  const auto at = static_cast<std::size_t>(mTimedWatcher);
  if (mTimedWatcher != kLastOfAll && &station != &mStations[at]) return;
  for (long i = std::max(seen, changer.timedBehind); i < number; ++i) {
    Timed& timed = changer.timed[static_cast<std::size_t>(i - changer.timedBehind)];
    if (--timed.missing > 0) continue;
    const std::chrono::duration<double, std::milli> delay = mProgressAt - timed.due;
    mDelays.push_back(delay.count());
  }
}

void Crowd::SendNext(Changer& changer, std::string& bytes) {
  bytes += ChangeText(static_cast<std::size_t>(&changer - mChangers.data()), ++changer.sent);
}

bool Crowd::IsRoomFor(const Changer& changer, long window) const {
  const auto number = static_cast<std::size_t>(&changer - mChangers.data());
  return changer.sent - mStations[static_cast<std::size_t>(changer.home)].seen[number] < window;
}

void Crowd::AwaitAll() {
  const auto isShownAll = [this](const Station& station) {
    if (!station.isWatching) return true;
    for (std::size_t i = 0; i < mChangers.size(); ++i) {
      if (station.seen[i] < mChangers[i].sent && !IsChangersOwn(station, i)) return false;
    }
    return true;
  };
  for (const Station& station : mStations) {
    while (!isShownAll(station)) {
      Take(Clock::now() + kTick);
      CheckProgress();
    }
  }
}

long Crowd::Counted(int station) {
  Station& asking = mStations[static_cast<std::size_t>(station)];
  Write(asking, Framed(R"({"Command":"CONDITION","ActionName":"count","ActionType":"CLICK",)"
                       R"("Objects":[]})"));
  NoteProgress();
  while (asking.counted <= mLastCount) {  // An answer to somebody else may still be on its way.
    Take(Clock::now() + kTick);
    CheckProgress();
  }
  mLastCount = asking.counted;
  return mLastCount - ++mQuestions;  // Each question is a change, too.
}

void Crowd::CheckProgress() const {
  if (Clock::now() - mProgressAt > kPatience) Fail("changes do not go through");
}

// One reading of all that has come, or waiting until something comes.
void Crowd::Take(Clock::time_point until) {
  epoll_event events[kEvents];
  const timespec span = SpanUntil(until);
  const int count = epoll_pwait2(mEpoll, events, kEvents, &span, nullptr);
  for (int i = 0; i < count; ++i) Read(mStations[events[i].data.u32]);
}

void Crowd::Read(Station& station) {
  static char bytes[65536];
  const ssize_t got = recv(station.fd, bytes, sizeof bytes, MSG_DONTWAIT);
  if (got == 0) Fail("a host closed a connection");
  if (got < 0 || !station.isWatching) return;
  std::string_view rest(bytes, static_cast<std::size_t>(got));
  for (std::size_t end = 0; (end = rest.find(kEndOfText)) != std::string_view::npos;
       rest.remove_prefix(end + 1)) {
    if (station.begun.empty()) {
      Look(station, rest.substr(0, end));
    } else {
      station.begun += rest.substr(0, end);
      Look(station, station.begun);
      station.begun.clear();
    }
  }
  station.begun += rest;
}

// Values are "cCHANGER:NUMBER", and "n:COUNT" is that of all.
void Crowd::Look(Station& station, std::string_view text) {
  constexpr std::string_view kValue = "\"Value\":\"";
  constexpr std::string_view kError = "\"Error\":\"";
  ++station.texts;
  const std::string whole(text);  // Ends with a zero, for reading numbers.
  for (std::size_t at = 0; (at = whole.find(kValue, at)) != std::string::npos;) {
    at += kValue.size();
    char* end = nullptr;
    const long first = std::strtol(whole.c_str() + at + 1, &end, 10);
    if (whole[at] == 'n') station.counted = std::atol(whole.c_str() + at + 2);
    if (whole[at] != 'c') continue;
    const long number = std::atol(end + 1);
    station.highest = std::max(station.highest, number);
    See(station, static_cast<std::size_t>(first), number);
  }
  for (std::size_t at = 0; (at = whole.find(kError, at)) != std::string::npos;) {
    at += kError.size();
    if (whole[at] != '"') ++mErrors;
  }
  if (whole.find("\"KEEPALIVE\"") != std::string::npos) {
    Write(station, Framed(R"({"Command":"KEEPALIVE"})"));
  }
}

void Crowd::See(Station& station, std::size_t changer, long number) {
  if (changer >= mChangers.size() || station.seen.size() <= changer) return;
  long& seen = station.seen[changer];
  if (number <= seen) return;
  ++mShown;
  NoteProgress();
  if (!mChangers[changer].timed.empty()) NoteTime(station, mChangers[changer], seen, number);
  seen = number;
}

bool Crowd::IsChangersOwn(const Station& station, std::size_t changer) const {
  return &station == &mStations[static_cast<std::size_t>(mChangers[changer].station)];
}

void Crowd::Write(const Station& station, const std::string& bytes) {
  if (send(station.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(bytes.size())) {
    Fail("a host does not take a change");
  }
}
