// What the text of a usual command says, with nothing made of it yet.
// Internal: not installed. Any thread.
#ifndef DORN_MODEL_COMMANDOUTLINE_H_
#define DORN_MODEL_COMMANDOUTLINE_H_

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace dorn {

// Each command, and behind it the objects that it holds. Usual is what stations send all day:
//
//   {"Command":"WORD", <attributes>, "Objects":[{<attributes>}, ...]}
//   {"Commands":[<such objects>]}
//
// where attributes are plain texts, short integers and booleans. Unusual are
//  - escapes, both kinds of quotes in one string, null, floating and long numbers, syntax errors;
//  - a key twice, containers as attributes, objects in objects;
//  - "DIALOG", "NotifyList", and objects of the classes that print a trace or have children;
//  - more than 48 members or 16 objects in one text.
class CommandOutline {
 public:
  static constexpr std::size_t kMostMembers = 48;
  static constexpr std::size_t kMostNodes = 16;

  enum class Kind : unsigned char { kText, kNumber, kTruth };

  struct Member {
    std::string_view key;
    std::string_view text;  // Of a text.
    Member* next;           // The one with the next key in ascending order, or null.
    int number;             // Of a number; 1 or 0 of a truth.
    Kind kind;
  };

  struct Node {
    bool isCommand;
    Member* first = nullptr;
    Member* last = nullptr;
    const Member* word = nullptr;  // "Command"; null of what is no command.
    const Member* name = nullptr;  // "Name", if it is a text.
  };

  // Points into the text.
  explicit CommandOutline(const std::string& text) : mAt(text.c_str()), mEnd(mAt + text.size()) {}

  CommandOutline(const CommandOutline&) = delete;
  CommandOutline& operator=(const CommandOutline&) = delete;

  // To be called once. False if the text is not usual.
  bool Read();

  const Node* begin() const { return Nodes(); }
  const Node* end() const { return Nodes() + mNodeCount; }

 private:
  // Room for values, to which nothing is written before it is used.
  template <class T, std::size_t N>
  struct Room {
    alignas(T) std::array<unsigned char, N * sizeof(T)> bytes;
  };

  // Each of these reads on from mAt, and returns false when something else is there.
  bool Skip(char ch);
  bool List(bool ofCommands);
  bool Object(bool isCommand);
  bool NextMember(Node& node);
  bool Text(std::string_view& text);
  bool Scalar(Member& member);
  bool Number(Member& member);
  bool Truth(Member& member);

  static bool Heed(Node& node, const Member& member);
  static bool Insert(Node& node, Member& member);

  void SkipSpace();
  const Node* Nodes() const { return reinterpret_cast<const Node*>(mNodes.bytes.data()); }

  // A text ends with a zero byte, which is part of nothing that is looked for: it may be looked at.
  const char* mAt;
  const char* const mEnd;
  std::size_t mMemberCount = 0;
  std::size_t mNodeCount = 0;
  Room<Node, kMostNodes> mNodes;
  Room<Member, kMostMembers> mMembers;
};

}  // namespace dorn

#endif  // DORN_MODEL_COMMANDOUTLINE_H_
