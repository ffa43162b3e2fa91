#include "dorn/model/CommandOutline.h"

#include <cstring>
#include <new>

#include "dorn/json/PlainText.h"
#include "dorn/model/WireWords.h"

namespace dorn {

inline void CommandOutline::SkipSpace() {
  while (IsJsonSpace(*mAt)) ++mAt;
}

// Behind white space and the character.
inline bool CommandOutline::Skip(char ch) {
  if (*mAt != ch) {
    SkipSpace();
    if (*mAt != ch) return false;
  }
  ++mAt;
  return true;
}

// A string in which every character stands for itself.
inline bool CommandOutline::Text(std::string_view& text) {
  SkipSpace();
  const char quote = *mAt;
  if (quote != '"' && quote != '\'') return false;
  const char* const begin = mAt + 1;
  const char* const end = SkipPlain(begin, mEnd);
  if (*end != quote) return false;
  text = std::string_view(begin, static_cast<std::size_t>(end - begin));
  mAt = end + 1;
  return true;
}

// What follows the root is not looked at.
bool CommandOutline::Read() {
  const char* const begin = mAt;
  std::string_view key;
  if (Skip('{') && Text(key) && Equals(key, kKeyCommands) && Skip(':') && Skip('[')) {
    return List(true) && Skip('}');
  }
  mAt = begin;
  return Object(true);
}

// Behind the opening bracket.
bool CommandOutline::List(bool ofCommands) {
  do {
    if (!Object(ofCommands)) return false;
  } while (Skip(','));
  return Skip(']');
}

bool CommandOutline::Object(bool isCommand) {
  if (mNodeCount == kMostNodes || !Skip('{')) return false;
  Node& node = *::new (mNodes.bytes.data() + sizeof(Node) * mNodeCount++) Node{isCommand};
  if (!Skip('}')) {
    do {
      if (!NextMember(node)) return false;
    } while (Skip(','));
    if (!Skip('}')) return false;
  }
  return (node.word != nullptr) == isCommand;
}

bool CommandOutline::NextMember(Node& node) {
  if (mMemberCount == kMostMembers) return false;
  auto& member = *::new (mMembers.bytes.data() + sizeof(Member) * mMemberCount++) Member;
  member.next = nullptr;
  if (!Text(member.key) || !Skip(':')) return false;
  if (Equals(member.key, kKeyObjects)) {
    // The list of a command, and of no other object: those behind it belong to this node.
    const bool isFirst = node.isCommand && &node == Nodes() + mNodeCount - 1;
    return isFirst && Skip('[') && List(false);
  }
  return Scalar(member) && Heed(node, member) && Insert(node, member);
}

// What the member means to the node. False if it makes it something else than a command, or than an
// object of the class that has neither trace nor children.
inline bool CommandOutline::Heed(Node& node, const Member& member) {
  const std::string_view key = member.key;
  const bool isText = member.kind == Kind::kText;
  if (Equals(key, kKeyName)) {
    if (isText) node.name = &member;
  } else if (Equals(key, kKeyCommand)) {
    node.word = &member;
    return isText && !Equals(member.text, kCommandDialog);
  } else if (Equals(key, kKeyType)) {
    const std::string_view type = member.text;
    return node.isCommand || !isText ||
           (!Equals(type, kTypeGrid) && !Equals(type, kTypeRadioButton) &&
            !Equals(type, kTypeGroup));
  }
  return !Equals(key, kKeyObject) && !Equals(key, kKeyNotifyList);
}

inline bool CommandOutline::Scalar(Member& member) {
  SkipSpace();
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

// An integer of at most nine digits. Where it goes on as another number, no comma or bracket
// follows.
bool CommandOutline::Number(Member& member) {
  constexpr int kMaxDigits = 9;
  const bool isNegative = *mAt == '-';
  const char* const digits = isNegative ? mAt + 1 : mAt;
  const char* at = digits;
  int number = 0;
  for (; IsJsonDigit(*at) && at - digits < kMaxDigits; ++at) number = number * 10 + (*at - '0');
  if (at == digits) return false;
  member.number = isNegative ? -number : number;
  mAt = at;
  return true;
}

bool CommandOutline::Truth(Member& member) {
  const bool isTrue = *mAt == 't';
  const std::string_view word = isTrue ? "true" : "false";
  if (std::string_view(mAt, static_cast<std::size_t>(mEnd - mAt)).substr(0, word.size()) != word) {
    return false;
  }
  member.number = static_cast<int>(isTrue);
  mAt += word.size();
  return true;
}

namespace {

// As compare(), which the first bytes settle in most cases.
int Order(std::string_view left, std::string_view right) {
  const auto firstOf = [](std::string_view text) {
    return text.empty() ? -1 : static_cast<int>(static_cast<unsigned char>(text.front()));
  };
  const int order = firstOf(left) - firstOf(right);
  return order != 0 ? order : left.compare(right);
}

}  // namespace

// Into its place among the members of the node. False if the key is there already.
bool CommandOutline::Insert(Node& node, Member& member) {
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

}  // namespace dorn
