#include "bench/site/OldLog.h"

#include <poll.h>
#include <sys/random.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <utility>

#include "dorn/model/VQJsonCommand.h"
#include "site/core/TreeCodec.h"
#include "site/nats/NatsTransport.h"

namespace {

using namespace dorn::site;

constexpr int kTickMs = 20;
constexpr std::chrono::seconds kPatience(60);

std::string CommandText(long number) {
  char value[32];
  std::snprintf(value, sizeof value, "c0:%07ld", number);
  VQJsonCommand command("CONDITION");
  auto object = std::make_unique<VQJsonObject>(&command);
  object->SetValue("Name", VQValue("o0"), 0, "");
  object->SetValue("Value", VQValue(static_cast<const char*>(value)), 0, "");
  if (command.AddObject(object.get(), 0)) static_cast<void>(object.release());
  return EncodeCommand(command);
}

// Reads the log, to see what has come to it.
class Counter : public TransportListener {
 public:
  explicit Counter(const OriginId& origin) : mOrigin(origin) {}

  void OnOpened(const std::optional<NewestManifest>& newest) override {
    mIsOpened = true;
    mNewest = newest ? newest->sequence : 0;
  }
  void OnEntry(Sequence, std::string_view bytes) override {
    const auto entry = DecodeEntry(bytes);
    const auto* batch = entry ? std::get_if<Batch>(&*entry) : nullptr;
    if (batch != nullptr && batch->origin == mOrigin) ++mCount;
  }
  void OnCaughtUp() override {}
  void OnAnswered() override {}
  void OnStored(Sequence, bool) override {}
  void OnFetched(Sequence, std::optional<std::string>) override {}

  OriginId mOrigin;
  bool mIsOpened = false;
  Sequence mNewest = 0;
  long mCount = 0;
};

template <class Condition>
void Await(NatsTransport& transport, Counter& counter, Condition&& isDone) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!isDone()) {
    if (std::chrono::steady_clock::now() > end) Fail("the log takes no old changes");
    pollfd waiting{transport.Descriptor(), POLLIN, 0};
    poll(&waiting, 1, kTickMs);
    transport.Deliver(counter);
  }
}

}  // namespace

void WriteOldChanges(const Brokers& brokers, long count) {
  NatsOptions options;
  options.site = kSiteName;
  options.servers = brokers.Addresses();
  options.replicas = brokers.Count();
  Batch batch;
  if (getrandom(batch.origin.data(), batch.origin.size(), 0) < 0) Fail("there is no randomness");
  Counter counter(batch.origin);
  NatsTransport transport(options);
  Await(transport, counter, [&] { return counter.mIsOpened; });
  transport.Read(counter.mNewest);
  for (long number = 1; number <= count; ++number) {
    Change change;
    change.dialog = "panel";
    change.command = CommandText(number);
    batch.first = static_cast<std::uint64_t>(number);
    batch.items.assign(1, change);
    const std::string bytes = Encode(batch);
    Await(transport, counter, [&] { return transport.Publish(bytes); });
  }
  Await(transport, counter, [&] { return counter.mCount >= count; });
}
