// A program without an application object: it may use everything that needs none, and whatever
// needs one says so clearly and ends the process.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

#include "dorn/dorn.h"

namespace {

// What the process prints on standard error when it uses a session, and how it ends.
int RunWithoutApp(char* text, size_t size) {
  int ends[2];
  if (pipe(ends) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    const VQSession session("S1", 1000);
    _exit(0);
  }
  close(ends[1]);
  size_t length = 0;
  for (ssize_t got = 0; (got = read(ends[0], text + length, size - 1 - length)) > 0;) {
    length += static_cast<size_t>(got);
  }
  text[length] = '\0';
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

}  // namespace

int main() {
  KZString name("dorn");
  VQJsonResource tree;
  tree.SetValue("Name", VQValue("x"), 0, "");
  if (!(name == "dorn") || !(tree.GetJson() == R"({"Name":"x"})")) return 1;
  char text[1000];
  const int status = RunWithoutApp(text, sizeof text);
  if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGABRT) return 2;
  if (std::strchr(text, '\n') == nullptr || std::strlen(text) < 20) return 3;
  return 0;
}
