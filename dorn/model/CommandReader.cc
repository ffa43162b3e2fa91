#include "dorn/model/CommandReader.h"

#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include "dorn/base/ShortCopy.h"
#include "dorn/json/DialogValue.h"
#include "dorn/json/JsonParser.h"
#include "dorn/json/VQValue.h"
#include "dorn/model/TreeReader.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

using Kind = CommandOutline::Kind;
using Member = CommandOutline::Member;
using Attributes = std::map<KZString, VQValue>;
using Node = CommandOutline::Node;

void Store(const Member& member, VQValue& to) {
  switch (member.kind) {
    case Kind::kText:
      StoreText(member.text, to);
      break;
    case Kind::kNumber:
      to.Set(member.number);
      break;
    case Kind::kTruth:
      to.Set(member.number != 0);
      break;
  }
}

// The attribute of that key, which may be new, when those from `place` on up to the key are gone.
Attributes::iterator Reach(Attributes& list, Attributes::iterator place, std::string_view key) {
  for (; place != list.end(); place = list.erase(place)) {
    const std::string& text = place->first;
    if (IsSame(text, key)) return place;
    if (text > key) break;
  }
  return list.emplace_hint(place, std::piecewise_construct, std::forward_as_tuple(std::string(key)),
                           std::tuple<>());
}

std::string_view NameOf(const Node& node) {
  const Member* const named = node.name != nullptr ? node.name : node.word;
  return named != nullptr ? named->text : std::string_view();
}

}  // namespace

// Members and attributes have the same order, so one walk over both brings them together.
void FillObject(const Node& node, VQJsonObject& to) {
  Assign(to.mName, NameOf(node));
  auto place = to.mList.begin();
  for (const Member* member = node.first; member != nullptr; member = member->next) {
    place = Reach(to.mList, place, member->key);
    Store(*member, place->second);
    ++place;
  }
  to.mList.erase(place, to.mList.end());
}

void MakeCommands(const CommandOutline& outline, VQJsonCommands& jo) {
  for (const Node* node = outline.begin(); node != outline.end();) {
    auto* command = new VQJsonCommand(std::string(node->word->text));
    FillObject(*node++, *command);
    for (; node != outline.end() && !node->isCommand; ++node) {
      auto* child = new VQJsonObject(command);
      FillObject(*node, *child);
      command->AddObject(child, 0);
    }
    jo.AddObject(command, 0);
  }
}

bool ReadUsualCommands(const std::string& text, VQJsonCommands& jo) {
  CommandOutline outline(text);
  if (!outline.Read()) return false;
  MakeCommands(outline, jo);
  return true;
}

bool ReadDocumentCommands(const std::string& text, VQJsonCommands& jo) {
  JsonParser jp;
  if (!jp.Parse(text.c_str()) || !jp.IsObject()) return false;
  TreeReader reader(jp, false, Source::kStation);
  if (jp.IsArray(kKeyCommands)) {
    reader.ReadList(jo);
    return true;
  }
  if (!jp.IsString(kKeyCommand)) return false;
  jo.AddObject(reader.ReadObject(&jo), 0);
  return true;
}

}  // namespace dorn
