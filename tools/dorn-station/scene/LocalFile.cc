#include "tools/dorn-station/scene/LocalFile.h"

#include <array>
#include <cstdio>
#include <memory>

namespace dorn::scene {

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

std::optional<std::string> ReadLocalFile(const std::string& path) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rbe"));
  if (!file) return std::nullopt;
  std::string bytes;
  std::array<char, 16384> piece;
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), file.get())) {
    bytes.append(piece.data(), got);
  }
  // A folder can be opened and not be read.
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return bytes;
}

}  // namespace dorn::scene
