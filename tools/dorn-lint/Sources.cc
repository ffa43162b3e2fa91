#include "tools/dorn-lint/Sources.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace dorn::lint {

namespace {

namespace fs = std::filesystem;

// Nothing that could be a dialog is as long.
constexpr std::uintmax_t kLongest = std::uintmax_t{64} * 1024 * 1024;

std::vector<std::string> FilesBelow(const std::string& folder, std::string& failure) {
  std::vector<std::string> files;
  std::error_code error;
  fs::recursive_directory_iterator each(folder, error);
  for (; !error && each != fs::recursive_directory_iterator(); each.increment(error)) {
    std::error_code ignored;
    if (each->path().extension() == ".json" && !each->is_directory(ignored)) {
      files.push_back(each->path().string());
    }
  }
  if (error) failure = folder + ": cannot be read: " + error.message();
  std::sort(files.begin(), files.end());
  return files;
}

void ReadSource(const std::string& path, Sources& sources) {
  Source source;
  std::string reason;
  if (!ReadText(path, source.mText, reason)) {
    sources.mFailures.push_back(path + ": " + reason);
    return;
  }
  source.mPath = path;
  std::error_code error;
  const fs::path place = fs::absolute(path, error);
  source.mPlace = error ? path : place.lexically_normal().string();
  sources.mRead.push_back(std::move(source));
}

}  // namespace

bool ReadText(const std::string& path, std::string& text, std::string& reason) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (error && status.type() != fs::file_type::not_found) {
    reason = "cannot be opened: " + error.message();
    return false;
  }
  if (status.type() != fs::file_type::regular) {
    reason = fs::exists(status) ? "is no file" : "is not there";
    return false;
  }
  if (fs::file_size(path, error) > kLongest) {
    reason = "is longer than 64 MiB";
    return false;
  }
  errno = 0;
  std::ifstream in(path, std::ios::binary);
  if (in) text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in && !in.bad()) return true;
  reason = std::string("cannot be opened: ") + std::strerror(errno);
  return false;
}

Sources ReadSources(const std::vector<std::string>& paths) {
  Sources sources;
  for (const std::string& path : paths) {
    std::error_code error;
    if (!fs::is_directory(path, error)) {
      ReadSource(path, sources);
      continue;
    }
    std::string failure;
    const std::vector<std::string> files = FilesBelow(path, failure);
    for (const std::string& file : files) ReadSource(file, sources);
    if (files.empty() && failure.empty())
      failure = path + ": has no resource file, which end in .json";
    if (!failure.empty()) sources.mFailures.push_back(failure);
  }
  return sources;
}

bool HasFile(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

}  // namespace dorn::lint
