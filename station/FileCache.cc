#include "station/FileCache.h"

#include <algorithm>
#include <iterator>

namespace dorn::station {

FileCache::Held FileCache::Find(const std::string& name) {
  const auto entry = EntryOf(name);
  if (entry == mEntries.end()) return nullptr;
  mEntries.splice(mEntries.begin(), mEntries, entry);
  return entry->mCopy;
}

void FileCache::Keep(const std::string& name, const std::string& date, const std::string& bytes) {
  if (const auto former = EntryOf(name); former != mEntries.end()) Drop(former);
  mEntries.push_front({name, std::make_shared<const Copy>(Copy{date, bytes})});
  mBytes += bytes.size();
  while (mEntries.size() > kMostFiles || mBytes > kMostBytes) Drop(std::prev(mEntries.end()));
}

std::list<FileCache::Entry>::iterator FileCache::EntryOf(const std::string& name) {
  return std::find_if(mEntries.begin(), mEntries.end(),
                      [&name](const Entry& entry) { return entry.mName == name; });
}

void FileCache::Drop(std::list<Entry>::iterator entry) {
  mBytes -= entry->mCopy->mBytes.size();
  mEntries.erase(entry);
}

}  // namespace dorn::station
