// A log in memory, and a host's line to it: as a test wants it, in one process and without waiting.
#ifndef TESTS_SITE_HOST_LOOPCARRIER_H_
#define TESTS_SITE_HOST_LOOPCARRIER_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "site/Carrier.h"

// What all hosts of a site have in common.
struct MemoryLog {
  std::vector<std::string> entries;  // The first has the sequence 1.
  std::map<dorn::site::Sequence, std::string> snapshots;
};

class LoopCarrier final : public dorn::site::Carrier {
 public:
  explicit LoopCarrier(MemoryLog& log);
  ~LoopCarrier() override;

  LoopCarrier(const LoopCarrier&) = delete;
  LoopCarrier& operator=(const LoopCarrier&) = delete;

  bool Publish(std::string entry) override;
  void Read(dorn::site::Sequence last) override;
  void Store(dorn::site::Sequence mark, std::string bytes) override;
  void Fetch(dorn::site::Sequence mark, std::uint32_t pieces) override;
  void Forget(dorn::site::Sequence) override {}

  int Descriptor() const override { return mEvent; }
  void Deliver(dorn::site::TransportListener& listener) override;

  // Cuts the line: what is published waits, nothing is delivered. Joined again, all of it goes.
  void SetCut(bool isCut);
  // Joins the line again, but of what waits only the first batch goes; the rest is lost.
  void LetFirstThrough();

 private:
  using Call = std::function<void(dorn::site::TransportListener&)>;

  void Wake() const;
  void Later(Call call);
  void Enter(std::string entry);

  MemoryLog& mLog;
  int mEvent = -1;
  bool mIsCut = false;
  bool mIsOpened = false;
  std::optional<dorn::site::Sequence> mRead;  // The last that was delivered.
  bool mIsBehind = false;                     // OnCaughtUp() is still to be called.
  std::deque<Call> mCalls;
  std::deque<std::string> mWaiting;
};

#endif  // TESTS_SITE_HOST_LOOPCARRIER_H_
