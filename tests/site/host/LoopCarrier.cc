#include "tests/site/host/LoopCarrier.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>
#include <variant>

using dorn::site::Sequence;
using dorn::site::TransportListener;

LoopCarrier::LoopCarrier(MemoryLog& log)
    : mLog(log), mEvent(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

LoopCarrier::~LoopCarrier() { close(mEvent); }

void LoopCarrier::Wake() const { eventfd_write(mEvent, 1); }

void LoopCarrier::Later(Call call) {
  mCalls.push_back(std::move(call));
  Wake();
}

void LoopCarrier::Enter(std::string entry) { mLog.entries.push_back(std::move(entry)); }

bool LoopCarrier::Publish(std::string entry) {
  if (mIsCut) {
    mWaiting.push_back(std::move(entry));
  } else {
    Enter(std::move(entry));
  }
  Wake();
  return true;
}

void LoopCarrier::Read(Sequence last) {
  mRead = last;
  mIsBehind = true;
  Wake();
}

void LoopCarrier::Store(Sequence mark, std::string bytes) {
  mLog.snapshots[mark] = std::move(bytes);
  Later([mark](TransportListener& listener) { listener.OnStored(mark, true); });
}

void LoopCarrier::Fetch(Sequence mark, std::uint32_t) {
  const auto found = mLog.snapshots.find(mark);
  std::optional<std::string> bytes;
  if (found != mLog.snapshots.end()) bytes = found->second;
  Later([mark, bytes](TransportListener& listener) { listener.OnFetched(mark, bytes); });
}

void LoopCarrier::SetCut(bool isCut) {
  mIsCut = isCut;
  if (isCut) return;
  for (std::string& entry : mWaiting) Enter(std::move(entry));
  mWaiting.clear();
  Wake();
}

void LoopCarrier::LetFirstThrough() {
  for (std::string& entry : std::exchange(mWaiting, {})) {
    const auto decoded = dorn::site::DecodeEntry(entry);
    if (!decoded || !std::holds_alternative<dorn::site::Batch>(*decoded)) continue;
    Enter(std::move(entry));
    break;
  }
  SetCut(false);
}

void LoopCarrier::Deliver(TransportListener& listener) {
  eventfd_t ignored = 0;
  static_cast<void>(eventfd_read(mEvent, &ignored));
  if (mIsCut) return;
  if (!mIsOpened) {
    mIsOpened = true;
    std::optional<TransportListener::NewestManifest> newest;
    for (std::size_t i = 0; i < mLog.entries.size(); ++i) {
      const auto entry = dorn::site::DecodeEntry(mLog.entries[i]);
      if (entry && std::holds_alternative<dorn::site::Manifest>(*entry)) {
        newest = TransportListener::NewestManifest{i + 1, mLog.entries[i]};
      }
    }
    listener.OnOpened(newest);
  }
  while (!mCalls.empty()) {
    const Call call = std::move(mCalls.front());
    mCalls.pop_front();
    call(listener);
  }
  while (mRead && *mRead < mLog.entries.size()) {
    const Sequence next = ++*mRead;
    const std::string entry = mLog.entries[next - 1];
    listener.OnEntry(next, entry);
  }
  if (mRead && std::exchange(mIsBehind, false)) listener.OnCaughtUp();
  listener.OnAnswered();
}
