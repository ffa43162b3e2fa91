// A station's line to a host: one TCP connection that never waits, for a loop around poll(2).
//
//   Line line(hooks);
//   line.Open("127.0.0.1", 5000, 10'000, SteadyMs());
//   for (;;) {
//     pollfd watched{line.Descriptor(), line.Events(), 0};      // With whatever else there is.
//     poll(&watched, 1, line.PollTimeout(SteadyMs()));
//     line.Ready(watched.revents, SteadyMs());
//   }
//
// It knows bytes alone: texts and sessions stand on top of it.
#ifndef TOOLS_LINE_LINE_H_
#define TOOLS_LINE_LINE_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::tools {

// Milliseconds of the steady clock.
std::int64_t SteadyMs();

// The addresses of a host, for one line or many. A name is looked up in the constructor, which
// takes as long as the system's resolver does; an address costs nothing.
class Addresses {
 public:
  Addresses(const std::string& host, int port);

 private:
  friend class Line;
  struct Address {
    int mFamily;
    std::string mBytes;  // A sockaddr.
  };

  std::string mHost;
  int mPort;
  std::vector<Address> mAll;
  std::string mWhyNone;  // Empty when there are some.
};

class Line {
 public:
  using Ms = std::int64_t;

  enum class State { kClosed, kConnecting, kOpen };

  enum class End {
    kNoSuchHost,     // The name could not be resolved.
    kCannotConnect,  // Nobody listens there, or nobody answered in time.
    kClosedByHost,   // After everything that it sent was received.
    kBroken,         // Reset, or lost on the way.
    kNotTaken        // The host receives too little of what it is sent.
  };

  // Told of what happens from within Ready() alone, so that none comes while a caller is still in
  // Open(), Send() or Close(). Each may call these three; none may destroy the line.
  class Hooks {
   public:
    virtual ~Hooks() = default;
    virtual void OnOpen() {}
    // Some bytes of the stream, at least one. The view holds during the call.
    virtual void OnReceive(std::string_view bytes) = 0;
    // The line has ended without Close(), or did not come about. `why` is for people:
    // "cannot connect to 127.0.0.1 port 5000: Connection refused".
    virtual void OnEnd(End end, const std::string& why) = 0;
  };

  explicit Line(Hooks& hooks) : mHooks(hooks) {}
  ~Line() { Close(); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  // Begins to connect, after Close(). All addresses share `limitMs`. What goes wrong is told by the
  // next Ready(), a host without an address as well.
  void Open(const Addresses& addresses, Ms limitMs, Ms now);
  // Looks the name up before it returns.
  void Open(const std::string& host, int port, Ms limitMs, Ms now) {
    Open(Addresses(host, port), limitMs, now);
  }
  // Ends the line without a hook; what was not sent yet is dropped.
  void Close();

  // Queues bytes, while it connects as well; dropped while it is closed, or when the host does not
  // receive any more. With more than kMaxUnsent bytes queued before, the line ends instead.
  static constexpr std::size_t kMaxUnsent = std::size_t{1} << 20;
  void Send(std::string_view bytes);
  std::size_t Unsent() const { return mUnsent.size() - mSent; }

  State GetState() const { return mState; }

  // What poll(2) is to wait for; the descriptor is -1, which poll passes over, when there is none.
  // Both may change with each call of this class.
  int Descriptor() const { return mFd; }
  short Events() const;
  // When Ready() wants to be called although nothing happened; nothing: never.
  std::optional<Ms> NextCall() const;
  // That as poll(2) wants it: milliseconds from `now` on, -1 without end.
  int PollTimeout(Ms now) const;
  // Does what can be done without waiting. `revents` as poll(2) gave them, 0 when time has passed.
  void Ready(short revents, Ms now);

 private:
  using Address = Addresses::Address;

  void TryNext(Ms now);
  void GiveUp(Ms now, const std::string& why);
  void EndConnecting(Ms now);
  void SendQueued();
  void Receive();
  void Finish(End end, const std::string& why);
  void CloseDescriptor();
  std::string Place() const;

  Hooks& mHooks;
  State mState = State::kClosed;
  int mFd = -1;
  std::string mHost;
  int mPort = 0;
  Ms mLimitMs = 0;
  Ms mDeadline = 0;         // Of all addresses.
  Ms mAddressDeadline = 0;  // Of the one that is being tried.
  std::deque<Address> mAddresses;
  std::optional<End> mFailure;  // To be told by the next Ready().
  std::string mWhy;

  std::string mUnsent;  // From mSent on.
  std::size_t mSent = 0;
  bool mIsDeaf = false;  // The host receives nothing more; it may still have sent something.
};

// HOST:PORT with the port of stations where there is none; IPv6 in brackets. Nothing when it is no
// such thing.
struct HostAndPort {
  std::string mHost;
  int mPort;
};
constexpr int kStationPort = 5000;
std::optional<HostAndPort> ReadHostAndPort(std::string_view text);

}  // namespace dorn::tools

#endif  // TOOLS_LINE_LINE_H_
