#include "dorn/server/FrameHold.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

bool gMore = false;
thread_local int tScopes = 0;

// Never destroyed: connections may still be destroyed after the statics of this file.
std::vector<VQClientSocket*>& Holders() {
  static auto* const holders = new std::vector<VQClientSocket*>;
  return *holders;
}

}  // namespace

FrameHold::FrameHold() : mOuter(std::exchange(gMore, false)) { ++tScopes; }

FrameHold::~FrameHold() {
  gMore = mOuter;
  Flush();
  --tScopes;
}

void FrameHold::SetMore(bool more) { gMore = more; }

bool FrameHold::IsActive() { return gMore; }

bool FrameHold::IsOurs() { return tScopes > 0; }

void FrameHold::Register(VQClientSocket* client) { Holders().push_back(client); }

void FrameHold::Forget(const VQClientSocket* client) {
  for (VQClientSocket*& holder : Holders()) {
    if (holder == client) holder = nullptr;
  }
}

// By position: a connection may be closed for what it cannot take, and its hook may send more.
void FrameHold::Flush() {
  std::vector<VQClientSocket*>& holders = Holders();
  for (std::size_t i = 0; i < holders.size(); ++i) {
    if (holders[i] != nullptr) holders[i]->FlushHeld();
  }
  holders.clear();
}

}  // namespace dorn
