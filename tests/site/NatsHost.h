// One host's end of a site's log, as the tests of the NATS transport see it.
#ifndef TESTS_SITE_NATSHOST_H_
#define TESTS_SITE_NATSHOST_H_

#include <poll.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "site/nats/NatsTransport.h"
#include "tests/site/NatsServer.h"

namespace dorn::site {

inline NatsOptions OptionsFor(const NatsServer& server) {
  NatsOptions options;
  options.site = "test";
  options.servers = {server.Url()};
  return options;
}

// Records what is delivered, and reads from the beginning on unless it is told to wait.
class NatsHost : public TransportListener {
 public:
  explicit NatsHost(const NatsOptions& options, bool readsAtOnce = true)
      : mTransport(options), mReadsAtOnce(readsAtOnce) {}

  NatsTransport& Transport() { return mTransport; }

  // Delivers until the condition holds. The time only decides when a test gives up: brokers take
  // theirs on a busy machine.
  template <typename Condition>
  bool Until(Condition&& condition, std::chrono::seconds atMost = std::chrono::seconds(60)) {
    const auto end = std::chrono::steady_clock::now() + atMost;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      Deliver(std::chrono::milliseconds(20));
    }
    return true;
  }

  void RunFor(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) Deliver(std::chrono::milliseconds(20));
  }

  // What has come is delivered; waits so long for it to come.
  void Deliver(std::chrono::milliseconds time) {
    pollfd ready{mTransport.Descriptor(), POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(time.count())) == 1) mTransport.Deliver(*this);
  }

  bool Opens() {
    return Until([this] { return mOpened > 0; });
  }
  bool Has(std::size_t entries) {
    return Until([this, entries] { return mEntries.size() >= entries; });
  }

  // Publishes it until it has come back, as whoever needs it does.
  bool Bring(const std::string& entry) {
    return Until([this, &entry] {
      if (Count(entry) > 0) return true;
      const auto now = std::chrono::steady_clock::now();
      if (now - mBroughtAt > std::chrono::milliseconds(300)) {
        mBroughtAt = now;
        mTransport.Publish(entry);
      }
      return false;
    });
  }

  std::size_t Count(const std::string& entry) const {
    std::size_t count = 0;
    for (const auto& known : mEntries) count += known.second == entry ? 1 : 0;
    return count;
  }

  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const auto& entry : mEntries) texts.push_back(entry.second);
    return texts;
  }

  // Each entry follows the one before it.
  bool IsWithoutGap() const {
    for (std::size_t i = 1; i < mEntries.size(); ++i) {
      if (mEntries[i].first != mEntries[i - 1].first + 1) return false;
    }
    return true;
  }

  void OnOpened(const std::optional<NewestManifest>& newest) override {
    ++mOpened;
    mNewest = newest;
    if (mReadsAtOnce) mTransport.Read(0);
  }
  void OnOtherLog(const std::optional<NewestManifest>& newest) override {
    ++mOtherLogs;
    mEntries.clear();
    OnOpened(newest);
  }
  void OnEntry(Sequence sequence, std::string_view entry) override {
    mEntries.emplace_back(sequence, entry);
  }
  void OnHole(Sequence next) override { mHoles.push_back(next); }
  void OnCaughtUp() override { ++mCaughtUp; }
  void OnAnswered() override { ++mAnswered; }
  void OnStored(Sequence mark, bool isStored) override { mStored.emplace_back(mark, isStored); }
  void OnNoSnapshots() override { ++mNoSnapshots; }
  void OnFetched(Sequence mark, std::optional<std::string> bytes) override {
    mFetched.emplace_back(mark, std::move(bytes));
  }

  int mOpened = 0;
  int mOtherLogs = 0;
  std::optional<NewestManifest> mNewest;
  std::vector<std::pair<Sequence, std::string>> mEntries;
  std::vector<Sequence> mHoles;
  int mCaughtUp = 0;
  int mAnswered = 0;
  int mNoSnapshots = 0;
  std::vector<std::pair<Sequence, bool>> mStored;
  std::vector<std::pair<Sequence, std::optional<std::string>>> mFetched;

 private:
  NatsTransport mTransport;
  const bool mReadsAtOnce;
  std::chrono::steady_clock::time_point mBroughtAt;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_NATSHOST_H_
