#include "tools/dorn-gateway/PageFiles.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "station/Reader.h"
#include "tools/dorn-gateway/EmbeddedPage.h"

namespace dorn::gateway {

namespace {

constexpr std::uintmax_t kMaxFile = std::uintmax_t{16} * 1024 * 1024;
constexpr std::string_view kLocal = "local/";

constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".json", "application/json"},
    {".map", "application/json"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".jpg", "image/jpeg"},
    {".ico", "image/x-icon"},
    {".txt", "text/plain; charset=utf-8"},
};

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string_view TypeOf(std::string_view name) {
  for (const auto& [ending, type] : kTypes) {
    if (EndsWith(name, ending)) return type;
  }
  return "application/octet-stream";
}

bool IsPlainPart(std::string_view part) {
  constexpr std::string_view kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
  return !part.empty() && part.front() != '.' &&
         part.find_first_not_of(kLetters) == std::string_view::npos;
}

bool IsPlainName(std::string_view name) {
  while (true) {
    const std::size_t slash = name.find('/');
    if (!IsPlainPart(name.substr(0, slash))) return false;
    if (slash == std::string_view::npos) return true;
    name.remove_prefix(slash + 1);
  }
}

// A link that leads out of the folder is no file of it.
std::optional<std::string> ReadFileIn(const std::string& folder, std::string_view name) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path root = fs::canonical(folder, error);
  if (error) return std::nullopt;
  const fs::path path = fs::canonical(root / name, error);
  if (error || !fs::is_regular_file(path, error)) return std::nullopt;
  const fs::path inside = path.lexically_relative(root);
  if (inside.empty() || *inside.begin() == "..") return std::nullopt;
  if (fs::file_size(path, error) > kMaxFile || error) return std::nullopt;
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::optional<PageFile> FindLocalFile(const Options& options, std::string_view name) {
  if (options.mLocalFolder.empty() || !IsPlainName(name)) return std::nullopt;
  std::optional<std::string> bytes = ReadFileIn(options.mLocalFolder, name);
  if (!bytes) return std::nullopt;
  if (EndsWith(name, ".json")) {
    const station::ReadText read = station::Reader(options.mReading).Read(*bytes);
    if (read.mReading == station::Reading::kTolerant) *bytes = read.mJson.Written();
  }
  return PageFile{std::move(*bytes), TypeOf(name)};
}

}  // namespace

std::optional<PageFile> FindPageFile(const Options& options, std::string_view path) {
  path = path.substr(0, path.find('?'));
  if (path.empty() || path.front() != '/') return std::nullopt;
  std::string_view name = path.substr(1);
  if (name.empty()) name = "index.html";
  if (name.substr(0, kLocal.size()) == kLocal) {
    return FindLocalFile(options, name.substr(kLocal.size()));
  }
  if (!IsPlainName(name)) return std::nullopt;
  if (!options.mPageFolder.empty()) {
    std::optional<std::string> bytes = ReadFileIn(options.mPageFolder, name);
    if (!bytes) return std::nullopt;
    return PageFile{std::move(*bytes), TypeOf(name)};
  }
  const auto bytes = EmbeddedFile(name);
  if (!bytes) return std::nullopt;
  return PageFile{std::string(*bytes), TypeOf(name)};
}

std::string TagOf(std::string_view bytes) {
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  char text[48];
  std::snprintf(text, sizeof text, "\"%zx-%016llx\"", bytes.size(),
                static_cast<unsigned long long>(hash));
  return text;
}

}  // namespace dorn::gateway
