// The host as a process of its own.
#ifndef TESTS_E2E_HOSTPROCESS_H_
#define TESTS_E2E_HOSTPROCESS_H_

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// Runs from construction to destruction, which expects that it is still alive and has complained
// about nothing on standard error, unless the test waited for its end or read what it said.
// `prepare` runs in the child before the host starts. The library that the environment variable
// DORN_E2E_PRELOAD names is preloaded into the host.
class HostProcess {
 public:
  explicit HostProcess(const std::vector<std::string>& arguments = {},
                       const std::function<void()>& prepare = nullptr);
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  // What it has printed so far on standard output and on standard error.
  std::string Console() const;
  std::string Errors();
  // Waits until the console contains the text.
  bool WaitForConsole(const std::string& text) const;
  // Waits for its end; the exit code, or -1 if it did not end by itself.
  int WaitForExit();
  bool IsAlive();
  // Has ended by itself; WaitForExit() tells how.
  bool HasEnded() const;
  // Sends the signal that the host handles, which ends the system call that it waits in.
  void Interrupt();
  int OpenDescriptors() const;
  // Processor time that it has used, in milliseconds.
  long CpuMs() const;

  // The folder of the resources beside the host.
  static std::string ResourcePath(const std::string& file);
  static void WriteResource(const std::string& file, const std::string& text);

 private:
  pid_t mPid = -1;
  int mOut = -1;
  int mErr = -1;
  bool mMayComplain = false;
};

#endif  // TESTS_E2E_HOSTPROCESS_H_
