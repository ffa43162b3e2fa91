#include "dorn/model/CommandReader.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <new>
#include <string_view>
#include <tuple>
#include <utility>

#include "dorn/json/DialogValue.h"
#include "dorn/json/PlainText.h"
#include "dorn/json/VQValue.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

enum class Kind : unsigned char { kText, kNumber, kTruth };

struct Member {
  std::string_view key;
  std::string_view text;  // Of a text.
  Member* next;           // The one with the next key in ascending order, or null.
  int number;             // Of a number; 1 or 0 of a truth.
  Kind kind;
};

struct Node {
  Member* first = nullptr;
  Member* last = nullptr;
  bool isCommand = false;
};

// What a text says, with nothing made of it yet: each command, and behind it the objects that it
// holds. Everything points into the text.
class Outline {
 public:
  explicit Outline(const std::string& text) : mAt(text.data()), mEnd(mAt + text.size()) {}

  // False if the text is not of the usual form.
  bool Read();

  const Node* begin() const { return mNodes.data(); }
  const Node* end() const { return mNodes.data() + mNodeCount; }

 private:
  static constexpr std::size_t kMostMembers = 48;
  static constexpr std::size_t kMostNodes = 16;

  // Each of these reads on from mAt, and returns false when something else is there.
  bool Skip(char ch);
  bool List(bool ofCommands);
  bool Object(bool isCommand);
  bool NextMember(Node& node);
  bool Text(std::string_view& text);
  bool Scalar(Member& member);
  bool Number(Member& member);
  bool Truth(Member& member);

  static bool Insert(Node& node, Member& member);
  static bool IsUsual(const Node& node);

  void SkipSpace() {
    while (mAt != mEnd && IsJsonSpace(*mAt)) ++mAt;
  }

  const char* mAt;
  const char* const mEnd;
  std::size_t mMemberCount = 0;
  std::size_t mNodeCount = 0;
  std::array<Node, kMostNodes> mNodes;
  // Nothing is written to the places that are not used.
  alignas(Member) std::array<unsigned char, kMostMembers * sizeof(Member)> mMembers;
};

// What follows the root is not looked at.
bool Outline::Read() {
  const char* const begin = mAt;
  std::string_view key;
  if (Skip('{') && Text(key) && Equals(key, kKeyCommands) && Skip(':') && Skip('[')) {
    return List(true) && Skip('}');
  }
  mAt = begin;
  return Object(true);
}

// Behind white space and the character.
bool Outline::Skip(char ch) {
  SkipSpace();
  if (mAt == mEnd || *mAt != ch) return false;
  ++mAt;
  return true;
}

// Behind the opening bracket.
bool Outline::List(bool ofCommands) {
  do {
    if (!Object(ofCommands)) return false;
  } while (Skip(','));
  return Skip(']');
}

bool Outline::Object(bool isCommand) {
  if (mNodeCount == kMostNodes || !Skip('{')) return false;
  Node& node = mNodes[mNodeCount++];
  node.isCommand = isCommand;
  if (Skip('}')) return IsUsual(node);
  do {
    if (!NextMember(node)) return false;
  } while (Skip(','));
  return Skip('}') && IsUsual(node);
}

bool Outline::NextMember(Node& node) {
  if (mMemberCount == kMostMembers) return false;
  auto& member = *::new (mMembers.data() + sizeof(Member) * mMemberCount++) Member;
  member.next = nullptr;
  if (!Text(member.key) || !Skip(':')) return false;
  if (Equals(member.key, kKeyObjects)) {
    // The list of a command, and of no other object: those behind it belong to this node.
    const bool isFirst = node.isCommand && &node == &mNodes[mNodeCount - 1];
    return isFirst && Skip('[') && List(false);
  }
  if (Equals(member.key, kKeyObject) || Equals(member.key, kKeyNotifyList)) return false;
  return Scalar(member) && Insert(node, member);
}

// A string in which every character stands for itself.
bool Outline::Text(std::string_view& text) {
  SkipSpace();
  if (mAt == mEnd || (*mAt != '"' && *mAt != '\'')) return false;
  const char* const begin = mAt + 1;
  const char* const end = SkipPlain(begin, mEnd);
  if (end == mEnd || *end != *mAt) return false;
  text = std::string_view(begin, static_cast<std::size_t>(end - begin));
  mAt = end + 1;
  return true;
}

bool Outline::Scalar(Member& member) {
  SkipSpace();
  if (mAt == mEnd) return false;
  switch (*mAt) {
    case '"':
    case '\'':
      member.kind = Kind::kText;
      return Text(member.text);
    case 't':
    case 'f':
      member.kind = Kind::kTruth;
      return Truth(member);
    default:
      member.kind = Kind::kNumber;
      return Number(member);
  }
}

// An integer of at most nine digits.
bool Outline::Number(Member& member) {
  constexpr int kMaxDigits = 9;
  const bool isNegative = *mAt == '-';
  const char* const digits = isNegative ? mAt + 1 : mAt;
  const char* at = digits;
  int number = 0;
  for (; at != mEnd && IsJsonDigit(*at) && at - digits < kMaxDigits; ++at) {
    number = number * 10 + (*at - '0');
  }
  if (at == digits || at == mEnd || IsNumberPart(*at)) return false;
  member.number = isNegative ? -number : number;
  mAt = at;
  return true;
}

bool Outline::Truth(Member& member) {
  const bool isTrue = *mAt == 't';
  const std::string_view word = isTrue ? "true" : "false";
  if (std::string_view(mAt, static_cast<std::size_t>(mEnd - mAt)).substr(0, word.size()) != word) {
    return false;
  }
  member.number = isTrue ? 1 : 0;
  mAt += word.size();
  return true;
}

// As compare(), which the first bytes settle in most cases.
int Order(std::string_view left, std::string_view right) {
  const auto firstOf = [](std::string_view text) {
    return text.empty() ? -1 : static_cast<int>(static_cast<unsigned char>(text.front()));
  };
  const int order = firstOf(left) - firstOf(right);
  return order != 0 ? order : left.compare(right);
}

// Into its place among the members of the node. False if the key is there already.
bool Outline::Insert(Node& node, Member& member) {
  if (node.last == nullptr || Order(node.last->key, member.key) < 0) {
    (node.last == nullptr ? node.first : node.last->next) = &member;
    node.last = &member;
    return true;
  }
  Member** place = &node.first;
  int order = Order((*place)->key, member.key);
  while (order < 0) {
    place = &(*place)->next;
    order = Order((*place)->key, member.key);
  }
  member.next = *place;
  *place = &member;
  return order != 0;
}

// Whether the node is a command, or an object of the class that has neither trace nor children.
bool Outline::IsUsual(const Node& node) {
  bool hasWord = false;
  for (const Member* member = node.first; member != nullptr; member = member->next) {
    const bool isText = member->kind == Kind::kText;
    if (Equals(member->key, kKeyCommand)) {
      if (!isText || Equals(member->text, kCommandDialog)) return false;
      hasWord = true;
    } else if (!node.isCommand && isText && Equals(member->key, kKeyType)) {
      const std::string_view type = member->text;
      if (Equals(type, kTypeGrid) || Equals(type, kTypeRadioButton) || Equals(type, kTypeGroup)) {
        return false;
      }
    }
  }
  return hasWord == node.isCommand;
}

std::string Copy(std::string_view text) { return std::string(text); }

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

// The members have the order of the attributes: each goes behind the one before. A new command has
// its word already.
void Fill(const Node& node, VQJsonObject& to) {
  auto place = to.mList.begin();
  for (const Member* member = node.first; member != nullptr; member = member->next) {
    if (node.isCommand && Equals(member->key, kKeyCommand)) {
      ++place;
      continue;
    }
    if (Equals(member->key, kKeyName) && member->kind == Kind::kText) to.mName = Copy(member->text);
    const auto stored = to.mList.emplace_hint(
        place, std::piecewise_construct, std::forward_as_tuple(Copy(member->key)), std::tuple<>());
    Store(*member, stored->second);
    place = std::next(stored);
  }
}

std::string_view WordOf(const Node& node) {
  const Member* member = node.first;
  while (!Equals(member->key, kKeyCommand)) member = member->next;
  return member->text;
}

}  // namespace

bool ReadUsualCommands(const std::string& text, VQJsonCommands& jo) {
  Outline outline(text);
  if (!outline.Read()) return false;
  for (const Node* node = outline.begin(); node != outline.end();) {
    auto* command = new VQJsonCommand(Copy(WordOf(*node)));
    Fill(*node++, *command);
    for (; node != outline.end() && !node->isCommand; ++node) {
      auto* child = new VQJsonObject(command);
      Fill(*node, *child);
      command->AddObject(child, 0);
    }
    jo.AddObject(command, 0);
  }
  return true;
}

}  // namespace dorn
