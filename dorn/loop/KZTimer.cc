#include "dorn/loop/KZTimer.h"

#include "dorn/loop/TimerIndex.h"

KZTimerData::KZTimerData(const KZTimerData& other)
    : mTime(other.mTime), mId(other.mId), mName(other.mName), mInterval(other.mInterval) {}

KZTimerData& KZTimerData::operator=(const KZTimerData& other) {
  if (this == &other) return *this;
  dorn::TimerIndex::Forget(*this);
  mTime = other.mTime;
  mId = other.mId;
  mName = other.mName;
  mInterval = other.mInterval;
  return *this;
}

KZTimerData::~KZTimerData() { dorn::TimerIndex::Forget(*this); }
