// Any bytes as an entry of a site's log: what is read gives the same bytes again.
#include "fuzz/FuzzTarget.h"
#include "site/core/Entry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto entry = dorn::site::DecodeEntry(bytes);
  if (entry) FUZZ_CHECK(dorn::site::Encode(*entry) == bytes);
  return 0;
}
