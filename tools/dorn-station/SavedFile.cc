#include "tools/dorn-station/SavedFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "station/Utf8.h"

SavedFile::SavedFile(const std::string& folder, const std::string& name)
    : mPath(folder + "/" + name.substr(name.rfind('/') + 1)) {
  const std::string start = folder + "/.dorn-station-" + std::to_string(getpid()) + "-";
  // A name may be left over from a program that was killed.
  for (int number = 0; !mFile && number < 100; ++number) {
    mPartPath = start + std::to_string(number);
    mFile.reset(std::fopen(mPartPath.c_str(), "wbx"));
    if (!mFile && errno != EEXIST) break;
  }
  if (!mFile) Fail();
}

SavedFile::~SavedFile() {
  if (mFile) std::remove(mPartPath.c_str());
}

void SavedFile::Write(std::string_view bytes) {
  if (!mFile || bytes.empty()) return;
  if (std::fwrite(bytes.data(), 1, bytes.size(), mFile.get()) != bytes.size()) Fail();
}

void SavedFile::Finish() {
  if (!mFile) return;
  const bool isWritten = std::fflush(mFile.get()) == 0;
  if (!isWritten || std::rename(mPartPath.c_str(), mPath.c_str()) != 0) return Fail();
  mFile.reset();
}

void SavedFile::Fail() {
  const char* const why = std::strerror(errno);
  std::fprintf(stderr, "dorn-station: cannot write %s: %s\n",
               dorn::station::Printable(mPath).c_str(), why);
  if (mFile) std::remove(mPartPath.c_str());
  mFile.reset();
}
