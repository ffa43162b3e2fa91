// Many stations at several ports, played by one thread: some change the panel, some watch what
// becomes of it, and the rest only takes what it is sent.
#ifndef BENCH_SITE_CROWD_H_
#define BENCH_SITE_CROWD_H_

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

using Clock = std::chrono::steady_clock;

class Crowd {
 public:
  Crowd();
  ~Crowd();

  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  // Logs a station in, waiting until somebody lets it in, and lets it enter the panel. Gives its
  // number.
  int Enter(int port, bool isWatching);

  // Lets a station change an object of its own. `home` watches; its sight of a change tells that
  // the next one may be sent. At most as many as the panel has objects.
  void AddChanger(int station, int home);

  // Each changer makes so many changes, at most `window` of them on their way. Returns when all
  // watchers have been shown all, with the seconds that it took.
  double Rush(long each, long window);

  // Makes changes at a steady rate, the changers in turn. Returns when all watchers have been
  // shown all: of each change, how many milliseconds after the moment that it was due `watcher`
  // was shown it, or the last of all watchers.
  static constexpr int kLastOfAll = -1;
  std::vector<double> Pace(double perSecond, long changes, int watcher);

  // How many changes of this crowd its host, or site, has applied, by the host's own account.
  long Counted(int station);

  // The highest number that a watching station was shown, in changes of whomever.
  long Highest(int station) const { return mStations[static_cast<std::size_t>(station)].highest; }
  // How many texts a watching station has got.
  long Texts(int station) const { return mStations[static_cast<std::size_t>(station)].texts; }
  // How many changes all watchers together were shown; of two in one update only the second.
  long Shown() const { return mShown; }
  // How often a station was told that a change is not, or not yet, accepted.
  long Errors() const { return mErrors; }

 private:
  struct Station {
    int fd = -1;
    bool isWatching = false;
    std::string begun;       // Of a text that is not complete.
    std::vector<long> seen;  // Of each changer, the last change.
    long highest = 0;
    long texts = 0;
    long counted = 0;
  };
  // A change that is timed.
  struct Timed {
    Clock::time_point due;
    int missing;  // So many that are to be shown it.
  };
  struct Changer {
    int station;
    int home;
    long sent = 0;
    long target = 0;
    long timedBehind = 0;  // The first of `timed` is the one after this.
    std::vector<Timed> timed = {};
  };

  bool TryToEnter(Station& station, int port, int number);
  bool ReadText(Station& station);
  void Take(Clock::time_point until);
  void Read(Station& station);
  void Look(Station& station, std::string_view text);
  void See(Station& station, std::size_t changer, long number);
  void Write(const Station& station, const std::string& bytes);
  bool IsChangersOwn(const Station& station, std::size_t changer) const;
  void SendNext(Changer& changer, std::string& bytes);
  bool IsRoomFor(const Changer& changer, long window) const;
  void AwaitAll();
  int ToBeShown(std::size_t changer) const;
  void NoteTime(const Station& station, Changer& changer, long seen, long number);
  void NoteProgress() { mProgressAt = Clock::now(); }
  void CheckProgress() const;

  int mEpoll;
  std::vector<Station> mStations;
  std::vector<Changer> mChangers;
  int mTimedWatcher = kLastOfAll;
  std::vector<double> mDelays;
  long mShown = 0;
  long mErrors = 0;
  long mQuestions = 0;
  long mLastCount = 0;
  Clock::time_point mProgressAt;
};

#endif  // BENCH_SITE_CROWD_H_
