// Signals as something to wait for with poll(2): the handler writes into a pipe, and what is to be
// done is done by the loop.
#ifndef TOOLS_DORN_TERMINAL_SIGNALS_H_
#define TOOLS_DORN_TERMINAL_SIGNALS_H_

namespace dorn::terminal {

class Signals {
 public:
  struct Seen {
    bool mResized = false;
    bool mEnds = false;  // SIGTERM, SIGINT or SIGHUP.
  };

  // Takes over SIGWINCH and those that end the program. After one of these the program has three
  // seconds: a terminal that takes nothing any more must not keep it.
  Signals();
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  int Descriptor() const { return mPipe[0]; }
  Seen Take();

 private:
  int mPipe[2] = {-1, -1};
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_SIGNALS_H_
