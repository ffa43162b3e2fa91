#include "dorn/server/Slots.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>

#include "dorn/loop/SharedInt.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/Descriptors.h"
#include "dorn/server/Peers.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

// Of the descriptors that the loop can watch, the highest ones are not given to stations.
// Descriptors are handed out lowest first, so as many stay free for files and the host.
constexpr int kReservedDescriptors = 16;

constexpr int kShare = 4;  // A quarter.

// The highest number that was a slot since slots were counted anew, and one more than the highest
// that can be one: the limit is asked for at a new highest number only.
int gHighest = -1;
int gLimit = 0;

struct Holder {
  int mSlots = 0;
  VQClientSocket* mOldest = nullptr;
  std::uint64_t mOrder = 0;
};

using Holders = std::map<std::string, Holder>;

bool IsOpen(VQClientSocket& client) {
  return LoadShared(client.KZFdData::mStatus) == KZFdData::kStatusActive &&
         LoadShared(client.mFD) >= 0;
}

// Which addresses hold slots without a log-in, but for the one on descriptor `newest`.
Holders FindHolders(int newest) {
  Holders holders;
  for (Peer* peer = Peers::Last(); peer != nullptr; peer = Peers::Before(*peer)) {
    if (!peer->mIsStation || peer->mClient.mAuth || !IsOpen(peer->mClient)) continue;
    if (LoadShared(peer->mClient.mFD) == newest) continue;
    Holder& holder = holders[peer->mAddress];
    ++holder.mSlots;
    holder.mOldest = &peer->mClient;
    holder.mOrder = peer->mOrder;
  }
  return holders;
}

void GiveUp(VQClientSocket& client, const std::string& address) {
  PrintLine({"Connection ", std::to_string(client.GetId()), " from ", address,
             " closed: not logged in, its slot is needed"});
  const ClosingFor reason(&Statistics::closedForAnother);
  client.Close();
}

// Descriptors are handed out lowest first: below a new one, none is free.
int FreeSlots(int newest) {
  const int above = gLimit - 1 - newest;
  int used = 0;
  for (Peer* peer = Peers::Last(); peer != nullptr; peer = Peers::Before(*peer)) {
    if (LoadShared(peer->mClient.mFD) > newest && IsOpen(peer->mClient)) ++used;
  }
  return above - used;
}

}  // namespace

bool IsSlot(int fd) {
  if (fd <= gHighest) return true;
  gLimit = DescriptorLimit() - kReservedDescriptors;
  if (fd >= gLimit) return false;
  gHighest = fd;
  return true;
}

void CountSlotsAnew() { gHighest = -1; }

void KeepShare(int fd, const std::string& address) {
  const int share = gLimit / kShare;
  if (share < 1) return;
  const int others = Peers::Count();
  const bool isEnoughFree = gLimit - 1 - fd - others >= share;
  if (isEnoughFree || others < share || FreeSlots(fd) >= share) return;
  const Holders holders = FindHolders(fd);
  const auto holder = holders.find(address);
  if (holder != holders.end() && holder->second.mSlots >= share) {
    GiveUp(*holder->second.mOldest, address);
  }
}

bool MakeRoom() {
  const Holders holders = FindHolders(-1);
  const auto holdsLess = [](const auto& a, const auto& b) {
    if (a.second.mSlots != b.second.mSlots) return a.second.mSlots < b.second.mSlots;
    return a.second.mOrder > b.second.mOrder;
  };
  const auto most = std::max_element(holders.begin(), holders.end(), holdsLess);
  if (most == holders.end()) return false;
  GiveUp(*most->second.mOldest, most->first);
  return true;
}

}  // namespace dorn
