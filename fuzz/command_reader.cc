// The texts of messages as objects: the library's reader, which has a short way for usual commands
// and uses their objects again, and a literal one.
#include <string>

#include "dorn/model/CommandReader.h"
#include "dorn/model/KeptCommands.h"
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

// What a hook does with the objects of a message, a byte for each step. What it shares, copies or
// takes out belongs to `group`.
void Disturb(VQJsonObjectHasList& list, const std::string& steps, VQJsonObjectHasList& group) {
  for (const char step : steps) {
    if (list.mObjectList.empty()) return;
    VQJsonObject* entry = list.mObjectList.back();
    if (!entry->HasGroup()) return;
    auto& command = static_cast<VQJsonObjectHasList&>(*entry);
    VQJsonObject* child = command.mObjectList.empty() ? nullptr : command.mObjectList.back();
    VQJsonObject* any = child != nullptr ? child : entry;
    switch (step) {
      case 'a':
        any->SetValue("Value", "changed", -1, "S1");
        break;
      case 'b':
        any->SetValue("Name", "renamed", 1, "");
        break;
      case 'c':
        any->SetValue("x", VQValue(VQValue::VQJObject{{"y", VQValue(1)}}), 0, "");
        break;
      case 'd':
        any->mList.clear();
        break;
      case 'e':
        any->mDirty.clear();
        any->mDirtyDel = "e";
        break;
      case 'f':
        any->mDebugFlag = 99;
        command.mListKey = "f";
        break;
      case 'g':
        group.AddObject(any, 1);
        break;
      case 'h':
        group.AddObject(new VQJsonObjectHasList(command), 0);
        break;
      case 'i':
        group.AddObject(new VQJsonObject(*any), 0);
        break;
      case 'j':
        command.AddObject(new VQJsonObject(&command), 1);
        break;
      case 'k':
        command.AddObject(new VQJsonObjectHasList("Objects", any), 0);
        break;
      case 'l':
        if (child != nullptr) command.DeleteChild(child->mName);
        break;
      case 'm':
        if (child == nullptr || !group.AddObject(child, 0)) break;
        command.mObjectList.pop_back();
        break;
      case 'n':
        any->mParent = &group;
        break;
      case 'o':
        if (child == nullptr) break;
        std::swap(child->mList, entry->mList);
        std::swap(command.mObjectList.front(), command.mObjectList.back());
        break;
      default:
        command.DeleteChildAll();
    }
  }
}

void Read(const KZString& text, const std::string& steps, dorn::KeptCommands& kept,
          VQJsonObjectHasList& group) {
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

  bool isReadable = !isCommand;
  Console again;
  dorn::KeptCommands::List refilled = kept.Read(text, isReadable);
  FUZZ_CHECK(again.Text() == lines);
  FUZZ_CHECK(isReadable == isCommand);
  FUZZ_CHECK(DumpOf(*refilled) == DumpOf(expected));
  Disturb(*refilled, steps, group);
  kept.GiveBack(std::move(refilled));
}

}  // namespace

// A message, ETX, what a hook does with its objects, ETX, the next message.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr char kEtx = 3;
  FuzzInput in(data, size);
  dorn::KeptCommands kept;
  VQJsonObjectHasList group("Objects", nullptr);
  do {
    const KZString text(in.Until(kEtx));
    const std::string steps = in.Until(kEtx);
    Read(text, steps, kept, group);
    Read(text, "", kept, group);
  } while (!in.IsEmpty());
  static_cast<void>(group.GetJson());
  return 0;
}
