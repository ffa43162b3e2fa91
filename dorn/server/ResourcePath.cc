#include "dorn/server/ResourcePath.h"

#include <fcntl.h>
#include <libgen.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>
#include <vector>

#include "dorn/server/OutgoingQueue.h"

namespace dorn {

namespace {

constexpr std::string_view kParent = "..";

// Calls `use` with each part of the name between its slashes until it returns false, and says
// whether something follows the part.
template <typename Use>
void ForEachPart(std::string_view name, const Use& use) {
  for (std::size_t start = 0; start < name.size();) {
    const std::size_t end = std::min(name.find('/', start), name.size());
    const std::string_view part = name.substr(start, end - start);
    const bool isFolder = end < name.size();
    if (!part.empty() && part != "." && !use(part, isFolder)) return;
    start = end + 1;
  }
}

bool HasParent(std::string_view name) {
  bool found = false;
  ForEachPart(name, [&found](std::string_view part, bool) { return !(found = part == kParent); });
  return found;
}

std::string ReadLink(const char* link) {
  char path[PATH_MAX];
  const ssize_t length = readlink(link, path, sizeof path);
  // Of a failure it is negative, and so the largest there is.
  const bool isWhole = static_cast<std::size_t>(length) < sizeof path;
  return isWhole ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

bool LiesBelow(const std::string& path, const std::string& folder) {
  if (folder.empty() || path.compare(0, folder.size(), folder) != 0) return false;
  return path.size() == folder.size() || path[folder.size()] == '/' || folder == "/";
}

// A descriptor that names a file without opening it: it needs no right to read and never waits.
class Place {
 public:
  explicit Place(const std::string& path)
      : mFd(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
  Place(const Place& folder, const std::string& part, int flags)
      : mFd(openat(folder.mFd, part.c_str(), O_PATH | O_CLOEXEC | flags)) {}
  Place(Place&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
  Place& operator=(Place&& other) noexcept {
    std::swap(mFd, other.mFd);
    return *this;
  }
  ~Place() {
    if (mFd >= 0) close(mFd);
  }

  bool Exists() const { return mFd >= 0; }

  struct stat Status() const {
    struct stat status {};
    if (fstat(mFd, &status) != 0) return {};
    return status;
  }

  // Its path without links; empty if it cannot be told.
  std::string RealPath() const {
    return ReadLink(("/proc/self/fd/" + std::to_string(mFd)).c_str());
  }

 private:
  int mFd;
};

// Follows a name from folder to folder as the system does, and remembers where links have led.
class FolderWalk {
 public:
  explicit FolderWalk(const std::string& start) : mPlace(start) { AddRoot(mPlace); }

  // False if there is no such folder.
  bool HasBegun() const { return mPlace.Exists(); }

  // Goes on to one part of the name. False if there is no such thing; the walk stays where it is.
  bool Enter(const std::string& part, bool isFolder) {
    Place next(mPlace, part, O_NOFOLLOW);
    if (next.Exists() && S_ISLNK(next.Status().st_mode)) {
      next = Place(mPlace, part, 0);
      AddRoot(next);
    }
    mIsWhole = next.Exists() && (!isFolder || S_ISDIR(next.Status().st_mode));
    if (mIsWhole) mPlace = std::move(next);
    return mIsWhole;
  }

  ResourceFile Result() const {
    ResourceFile result;
    result.mPath = mPlace.RealPath();
    result.mIsInside = std::any_of(mRoots.begin(), mRoots.end(), [&](const std::string& root) {
      return LiesBelow(result.mPath, root);
    });
    result.mExists = mIsWhole && result.mIsInside;
    if (result.mExists) result.mStatus = mPlace.Status();
    return result;
  }

 private:
  void AddRoot(const Place& place) {
    if (place.Exists()) mRoots.push_back(place.RealPath());
  }

  Place mPlace;
  bool mIsWhole = true;
  std::vector<std::string> mRoots;
};

std::string ResourceFolder() { return ModuleDirectory() + "/resources"; }

}  // namespace

std::string ModuleDirectory() {
  char path[1024];
  const std::string link = "/proc/" + std::to_string(getpid()) + "/exe";
  const ssize_t length = readlink(link.c_str(), path, sizeof path - 1);
  if (length <= 0) return ".";
  path[length] = '\0';
  return dirname(path);
}

ResourceFile::ResourceFile(ResourceFile&& other) noexcept
    : mIsInside(other.mIsInside),
      mExists(other.mExists),
      mPath(std::move(other.mPath)),
      mStatus(other.mStatus),
      mFile(std::exchange(other.mFile, -1)) {}

ResourceFile& ResourceFile::operator=(ResourceFile&& other) noexcept {
  mIsInside = other.mIsInside;
  mExists = other.mExists;
  mPath = std::move(other.mPath);
  mStatus = other.mStatus;
  std::swap(mFile, other.mFile);
  return *this;
}

ResourceFile::~ResourceFile() {
  if (mFile >= 0) close(mFile);
}

bool StaysInside(std::string_view name) {
  if (name.find('\0') != std::string_view::npos) return false;
  long depth = 0;
  ForEachPart(name, [&depth](std::string_view part, bool) {
    depth += part == kParent ? -1 : 1;
    return depth >= 0;
  });
  return depth >= 0;
}

ResourceFile FindResource(std::string_view name) {
  if (!StaysInside(name)) return {};
  const std::string folder = ResourceFolder();
  ResourceFile result;
  result.mIsInside = true;
  result.mPath = folder + "/";
  result.mPath += name;
  if (!HasParent(name)) {
    result.mExists = stat(result.mPath.c_str(), &result.mStatus) == 0;
    return result;
  }
  // The system takes no longer path either.
  if (result.mPath.size() >= PATH_MAX) return result;
  FolderWalk walk(folder);
  if (!walk.HasBegun()) return result;
  ForEachPart(name, [&walk](std::string_view part, bool isFolder) {
    return walk.Enter(std::string(part), isFolder);
  });
  return walk.Result();
}

ResourceFile OpenResource(std::string_view name) {
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    ResourceFile found = FindResource(name);
    if (!found.mExists || !S_ISREG(found.mStatus.st_mode)) return found;
    struct stat opened {};
    found.mFile = OpenRegularFile(found.mPath.c_str(), opened);
    if (found.mFile < 0) return found;
    const bool isSame =
        opened.st_dev == found.mStatus.st_dev && opened.st_ino == found.mStatus.st_ino;
    found.mStatus = opened;
    if (isSame) return found;
  }
  ResourceFile none;  // Somebody puts something else in its place all the time.
  none.mIsInside = true;
  return none;
}

bool IsInsideResources(std::string_view name) {
  return HasParent(name) ? FindResource(name).mIsInside : StaysInside(name);
}

}  // namespace dorn
