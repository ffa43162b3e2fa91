// The text of a message as objects: the library's reader, which has a short way for usual commands,
// and a literal one.
#include <string>

#include "dorn/model/CommandReader.h"
#include "dorn/model/VQJsonParser.h"
#include "fuzz/FuzzTarget.h"
#include "tests/support/LiteralReader.h"
#include "tests/support/TreeDump.h"

namespace {

// What is printed from construction to Text().
class Console {
 public:
  Console() : mBefore(stdout) { stdout = open_memstream(&mBytes, &mLength); }

  std::string Text() {
    std::fclose(stdout);
    stdout = mBefore;
    std::string text(mBytes, mLength);
    std::free(mBytes);
    return text;
  }

 private:
  FILE* mBefore;
  char* mBytes = nullptr;
  size_t mLength = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const KZString text(FuzzInput(data, size).Rest());

  VQJsonCommands expected;
  Console expectedConsole;
  const bool isCommand = LiteralReader::ParseCommand(&expected, text);
  const std::string lines = expectedConsole.Text();

  VQJsonCommands actual;
  Console console;
  FUZZ_CHECK(VQJsonParser().ParseCommand(&actual, text) == isCommand);
  FUZZ_CHECK(console.Text() == lines);
  FUZZ_CHECK(DumpOf(actual) == DumpOf(expected));

  // What gives up has made nothing and says nothing; what does not prints nothing either.
  VQJsonCommands usual;
  Console quick;
  const bool isUsual = dorn::ReadUsualCommands(text, usual);
  FUZZ_CHECK(quick.Text().empty());
  FUZZ_CHECK(isUsual ? isCommand : usual.mObjectList.empty());
  return 0;
}
