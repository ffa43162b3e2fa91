// Remembers what texts were converted to: a host sends the same bytes to all that look at one
// dialog.
#ifndef TOOLS_DORN_GATEWAY_TEXTCACHE_H_
#define TOOLS_DORN_GATEWAY_TEXTCACHE_H_

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace dorn::gateway {

// Holds the texts used last, up to so many bytes of them and of what their values weigh; what takes
// more than a quarter of that is never held.
template <class Value>
class TextCache {
 public:
  explicit TextCache(std::size_t maxBytes) : mMaxBytes(maxBytes) {}

  // Null when it is not there.
  std::shared_ptr<const Value> Find(std::string_view text) {
    const auto found = mByText.find(text);
    if (found == mByText.end()) return nullptr;
    mEntries.splice(mEntries.begin(), mEntries, found->second);
    return found->second->mValue;
  }

  void Add(std::string_view text, std::shared_ptr<const Value> value, std::size_t weight) {
    const std::size_t bytes = text.size() + weight;
    if (bytes > mMaxBytes / 4 || mByText.count(text) != 0) return;
    mEntries.push_front({std::string(text), std::move(value), bytes});
    mByText.emplace(mEntries.front().mText, mEntries.begin());
    mBytes += bytes;
    while (mBytes > mMaxBytes) RemoveLast();
  }

 private:
  struct Entry {
    std::string mText;
    std::shared_ptr<const Value> mValue;
    std::size_t mBytes;  // Text and value.
  };

  void RemoveLast() {
    mBytes -= mEntries.back().mBytes;
    mByText.erase(mEntries.back().mText);
    mEntries.pop_back();
  }

  const std::size_t mMaxBytes;
  std::size_t mBytes = 0;
  std::list<Entry> mEntries;  // Used last, first.
  std::unordered_map<std::string_view, typename std::list<Entry>::iterator> mByText;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_TEXTCACHE_H_
