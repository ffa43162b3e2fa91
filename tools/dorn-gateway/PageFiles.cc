#include "tools/dorn-gateway/PageFiles.h"

#include <sys/stat.h>

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

constexpr off_t kMaxFile = off_t{16} * 1024 * 1024;
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

// The real name of a file in the folder: a link that leads out of it is no file of it. Empty: none.
std::string PathIn(const std::string& folder, std::string_view name) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path root = fs::canonical(folder, error);
  if (error) return "";
  fs::path path = fs::canonical(root / name, error);
  if (error || !fs::is_regular_file(path, error)) return "";
  const fs::path inside = path.lexically_relative(root);
  return inside.empty() || *inside.begin() == ".." ? "" : path.string();
}

// What tells one state of a file from another.
std::string KeyOf(const std::string& path, const struct stat& status) {
  std::string key = path;
  for (const long long each :
       {static_cast<long long>(status.st_ino), static_cast<long long>(status.st_size),
        static_cast<long long>(status.st_mtim.tv_sec),
        static_cast<long long>(status.st_mtim.tv_nsec),
        static_cast<long long>(status.st_ctim.tv_sec),
        static_cast<long long>(status.st_ctim.tv_nsec)}) {
    key += '/' + std::to_string(each);
  }
  return key;
}

std::string TagOf(std::string_view bytes) {
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  char text[48];
  std::snprintf(text, sizeof text, "\"%zx-%016llx\"", bytes.size(),
                static_cast<unsigned long long>(hash));
  return text;
}

}  // namespace

std::shared_ptr<const PageFile> PageFiles::Find(std::string_view path) {
  path = path.substr(0, path.find('?'));
  if (path.empty() || path.front() != '/') return nullptr;
  std::string_view name = path.substr(1);
  if (name.empty()) name = "index.html";
  const bool isLocal = name.substr(0, kLocal.size()) == kLocal;
  if (isLocal) name.remove_prefix(kLocal.size());
  if (!IsPlainName(name)) return nullptr;
  const std::string& folder = isLocal ? mOptions.mLocalFolder : mOptions.mPageFolder;
  if (!folder.empty()) return FindIn(folder, name, isLocal);
  const auto bytes = isLocal ? std::nullopt : EmbeddedFile(name);
  if (!bytes) return nullptr;
  const std::string key(name);
  if (auto kept = mKept.Find(key); kept) return kept;
  return Keep(key, {std::string(*bytes), TypeOf(name), ""});
}

std::shared_ptr<const PageFile> PageFiles::FindIn(const std::string& folder, std::string_view name,
                                                  bool isLocal) {
  const std::string path = PathIn(folder, name);
  struct stat status {};
  if (path.empty() || stat(path.c_str(), &status) != 0) return nullptr;
  if (status.st_size > kMaxFile) return nullptr;
  const std::string key = (isLocal ? "local:" : "page:") + KeyOf(path, status);
  if (auto kept = mKept.Find(key); kept) return kept;
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  PageFile file{std::string(std::istreambuf_iterator<char>(in), {}), TypeOf(name), ""};
  if (isLocal && EndsWith(name, ".json")) {
    const station::ReadText read = station::Reader(mOptions.mReading).Read(file.mBytes);
    if (read.mReading == station::Reading::kTolerant) file.mBytes = read.mJson.Written();
  }
  return Keep(key, std::move(file));
}

std::shared_ptr<const PageFile> PageFiles::Keep(const std::string& key, PageFile file) {
  file.mTag = TagOf(file.mBytes);
  auto kept = std::make_shared<const PageFile>(std::move(file));
  mKept.Add(key, kept, kept->mBytes.size());
  return kept;
}

}  // namespace dorn::gateway
