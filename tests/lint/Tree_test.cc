// The linter's view of a dialog against the tree that the library makes of the same file.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonRadioButton.h"
#include "dorn/model/VQJsonResource.h"
#include "tests/support/CapturedStdout.h"
#include "tools/dorn-lint/Dialog.h"
#include "tools/dorn-lint/Reader.h"

namespace dorn::lint {
namespace {

const char* ClassOf(const VQJsonObject& object) {
  if (dynamic_cast<const VQJsonResource*>(&object) != nullptr) return "dialog";
  if (dynamic_cast<const VQJsonCommand*>(&object) != nullptr) return "command";
  if (dynamic_cast<const VQJsonRadioButtonGroup*>(&object) != nullptr) return "radio group";
  if (dynamic_cast<const VQJsonObjectHasList*>(&object) != nullptr) return "group";
  if (dynamic_cast<const VQJsonRadioButtonObject*>(&object) != nullptr) return "radio";
  return dynamic_cast<const VQJsonGrid*>(&object) != nullptr ? "grid" : "plain";
}

const char* ClassOf(const Object& object) {
  switch (object.mMade) {
    case Made::kDialog:
      return "dialog";
    case Made::kCommand:
      return "command";
    case Made::kRadioGroup:
      return "radio group";
    case Made::kGroup:
      return "group";
    case Made::kRadioButton:
      return "radio";
    case Made::kGrid:
      return "grid";
    default:
      return "plain";
  }
}

std::string Written(const std::string& madeAs, const std::string& name,
                    const std::string& children) {
  return madeAs + " " + name + "(" + children + ")";
}

std::string Outline(VQJsonObject& object) {
  std::string children;
  if (auto* group = dynamic_cast<VQJsonObjectHasList*>(&object)) {
    for (VQJsonObject* child : group->mObjectList) children += Outline(*child);
  }
  // A command without a name has its word for one.
  const auto name = object.mList.find("Name");
  const bool isNamed = name != object.mList.end() && name->second.GetType() == VQValue::TYPE_STRING;
  return Written(ClassOf(object), isNamed ? object.mName.c_str() : "", children);
}

std::string Outline(const Object& object) {
  std::string children;
  for (const auto& child : object.mChildren) children += Outline(*child);
  return Written(ClassOf(object), object.mName, children);
}

std::string LibrarysOutline(const std::string& text) {
  const CapturedStdout traces;
  VQJsonResource resource;
  return VQJsonParser().ParseDialog(&resource, text.c_str(), true) ? Outline(resource) : "none";
}

std::string LintersOutline(const std::string& text) {
  const Document read = ReadDocument(text);
  const Node* dialog = read.IsRead() ? FindDialog(read.mRoot) : nullptr;
  return dialog != nullptr ? Outline(*MakeDialog(*dialog)) : "none";
}

std::string Random(std::mt19937& random, int depth) {
  static const char* const kMembers[] = {
      "\"Name\":\"a\"",     "\"Name\":\"b\"",       "\"Name\":3",          "\"Type\":\"GROUP\"",
      "\"Type\":\"GROUP\"", "\"Type\":\"LABEL\"",   "\"Type\":\"GRID\"",   "\"Type\":\"RADIOBTN\"",
      "\"Type\":null",      "\"Layout\":\"RADIO\"", "\"Layout\":\"TABS\"", "\"Command\":\"DIALOG\"",
      "\"Command\":\"GO\"", "\"Objects\":3",        "\"Object\":[]",       "\"Commands\":[]"};
  std::string members;
  const auto add = [&members](const std::string& member) {
    members += (members.empty() ? "" : ",") + member;
  };
  for (unsigned i = random() % 5; i > 0; --i) add(kMembers[random() % std::size(kMembers)]);
  if (depth > 0 && random() % 3 != 0) {
    static const char* const kLists[] = {"Objects", "Objects", "Objects", "Commands"};
    std::string list;
    for (unsigned i = random() % 4; i > 0; --i) {
      list += (list.empty() ? "" : ",") + (random() % 8 == 0 ? "7" : Random(random, depth - 1));
    }
    add("\"" + std::string(kLists[random() % 4]) + "\":[" + list + "]");
  }
  if (depth > 0 && random() % 4 == 0) {
    add(std::string(random() % 2 == 0 ? "\"Object\":" : "\"Dialog\":") + Random(random, depth - 1));
  }
  return "{" + members + "}";
}

TEST(LintTreeTest, IsTheLibrarysTree) {
  std::mt19937 random(3);
  int dialogs = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string text = Random(random, 4);
    if (random() % 2 == 0) text = "{\"Command\":\"DIALOG\"," + text.substr(1);
    if (text.back() == '}' && text[text.size() - 2] == ',') text.replace(text.size() - 2, 1, "");
    const std::string expected = LibrarysOutline(text);
    ASSERT_EQ(LintersOutline(text), expected) << text;
    dialogs += expected != "none" ? 1 : 0;
  }
  EXPECT_GT(dialogs, 5000);
}

}  // namespace
}  // namespace dorn::lint
