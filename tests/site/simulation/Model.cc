#include "Model.h"

#include <utility>

#include "site/core/Bytes.h"

namespace dorn::site::simulation {

void Model::Apply(const std::string& dialog, const std::string& command) {
  Dialog& changed = mDialogs[dialog];
  ++changed.counter;
  changed.last = command;
  ++mCount;
  for (const char character : command) {
    mChain = (mChain ^ static_cast<unsigned char>(character)) * 0x100000001b3U;
  }
}

std::string Model::Save() const {
  ByteWriter out;
  out.Put(mCount);
  out.Put(mChain);
  out.Put(static_cast<std::uint32_t>(mDialogs.size()));
  for (const auto& [name, dialog] : mDialogs) {
    out.Put(name);
    out.Put(dialog.counter);
    out.Put(dialog.last);
  }
  return out.Take();
}

bool Model::Load(std::string_view bytes) {
  ByteReader in(bytes);
  Model loaded(0);
  in.Get(loaded.mCount);
  in.Get(loaded.mChain);
  for (std::size_t left = in.Count(16); left > 0 && in.IsSound(); --left) {
    std::string name;
    in.Get(name);
    Dialog& dialog = loaded.mDialogs[name];
    in.Get(dialog.counter);
    in.Get(dialog.last);
  }
  if (!in.IsSound() || !in.IsAtEnd()) return false;
  *this = std::move(loaded);
  return true;
}

}  // namespace dorn::site::simulation
