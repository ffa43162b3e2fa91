// Opens many copies of the library in one process, as plug-ins of a program may each bring their
// own: argv[1] is the library.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
  constexpr int kCopies = 40;
  char folder[] = "/tmp/dorn-copies-XXXXXX";
  if (argc != 2 || mkdtemp(folder) == nullptr) return 2;
  int failures = 0;
  for (int i = 0; i < kCopies; ++i) {
    const std::string copy = std::string(folder) + "/" + std::to_string(i) + ".so";
    std::filesystem::copy_file(argv[1], copy);
    if (dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr) continue;
    std::fprintf(stderr, "copy %d: %s\n", i, dlerror());
    ++failures;
  }
  std::filesystem::remove_all(folder);
  return failures == 0 ? 0 : 1;
}
