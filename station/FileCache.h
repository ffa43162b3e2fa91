// Copies of a host's files by their names, within bounds: stations run for months.
#ifndef STATION_FILECACHE_H_
#define STATION_FILECACHE_H_

#include <cstddef>
#include <list>
#include <memory>
#include <string>

namespace dorn::station {

class FileCache {
 public:
  static constexpr std::size_t kMostFiles = 256;
  static constexpr std::size_t kMostBytes = 64u << 20;

  struct Copy {
    std::string mDate;
    std::string mBytes;
  };
  // Whoever told a host of a copy holds it until the answer, whatever is dropped meanwhile.
  using Held = std::shared_ptr<const Copy>;

  // Null where there is none. What is asked for is dropped last.
  Held Find(const std::string& name);
  // In place of the copy that was there.
  void Keep(const std::string& name, const std::string& date, const std::string& bytes);

 private:
  struct Entry {
    std::string mName;
    Held mCopy;
  };

  std::list<Entry>::iterator EntryOf(const std::string& name);
  void Drop(std::list<Entry>::iterator entry);

  std::list<Entry> mEntries;  // Used last: in front.
  std::size_t mBytes = 0;     // Of all.
};

}  // namespace dorn::station

#endif  // STATION_FILECACHE_H_
