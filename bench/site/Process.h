// A program that is started and never outlives whoever has started it, and what it costs.
#ifndef BENCH_SITE_PROCESS_H_
#define BENCH_SITE_PROCESS_H_

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

class Process {
 public:
  // `environment` is added to that of this program, each as "NAME=value". What the program says
  // goes to a file of its name, which Fail() shows. Where a processor is given, all its threads
  // stay on that one.
  Process(const std::string& name, std::vector<std::string> command,
          std::vector<std::string> environment, std::optional<int> processor = std::nullopt);
  ~Process();

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void Kill();
  pid_t Pid() const { return mPid; }
  bool IsRunning() const;

  // Of all its threads, user and system.
  double CpuSeconds() const;
  int Descriptors() const;

 private:
  pid_t mPid = -1;
};

// A folder for everything that is written, gone when this program ends.
const std::string& Folder();

// The whole of a small file; empty if there is none.
std::string Contents(const std::string& path);

// Ends this program, with the last lines of what the others have said.
[[noreturn]] void Fail(const std::string& reason);

#endif  // BENCH_SITE_PROCESS_H_
