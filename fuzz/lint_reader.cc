// The linter's reader against the library's, and every rule on whatever can be read: each finding
// stands inside the file.
#include <algorithm>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "station/Utf8.h"
#include "tests/lint/SameValue.h"
#include "tools/dorn-lint/Lint.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string why;
  FUZZ_CHECK(AgreeOn(text, why));
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  const auto findings = dorn::lint::Lint({{"resources/d.json", "resources/d.json", text}},
                                         [](const std::string&) { return false; });
  for (const dorn::lint::Finding& each : findings) {
    FUZZ_CHECK(each.mLine >= 1 && each.mLine <= lines);
    FUZZ_CHECK(each.mColumn >= 1 && each.mColumn <= size + 1);
    FUZZ_CHECK(dorn::station::IsValidUtf8(each.mText));
  }
  return 0;
}
