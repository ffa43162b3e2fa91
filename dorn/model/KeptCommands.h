// The commands of a message, in objects that are used again.
// Internal: not installed. One thread at a time.
#ifndef DORN_MODEL_KEPTCOMMANDS_H_
#define DORN_MODEL_KEPTCOMMANDS_H_

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "dorn/model/CommandOutline.h"
#include "dorn/model/VQJsonCommand.h"

namespace dorn {

// Most messages look like the one before. So the list of a usual one is kept with all its objects
// when it has been executed, and filled with what a later message of the same shape says.
//
//  - What hosts see of a list is what they would see of a new one: GiveBack() keeps a list only if
//    classes, parents, relations (see Family) and lists are as the reader makes them. Anything else
//    is destroyed, which is what a host expects that has shared, copied or moved objects of it.
//  - Names, attributes, tags and change records may have been written: all are written again.
//  - Small lists only, and few of them.
//  - AddressSanitizer finds who uses an object of a list that was given back.
class KeptCommands {
 public:
  using List = std::unique_ptr<VQJsonCommands>;

  KeptCommands() = default;
  ~KeptCommands();

  KeptCommands(const KeptCommands&) = delete;
  KeptCommands& operator=(const KeptCommands&) = delete;

  // The commands of a text as VQJsonParser::ParseCommand() adds them to an empty list.
  // `isReadable` is what that returns.
  List Read(const std::string& text, bool& isReadable);

  // The message was executed: its objects end, for all that a host can tell.
  void GiveBack(List commands);

  // How many lists are kept.
  std::size_t Count() const { return mCount; }

 private:
  static constexpr std::size_t kMostLists = 16;
  static constexpr std::size_t kMostObjects = 32;  // Commands included.

  // Which of the objects, in the order of the text, are commands: a bit for each from the lowest
  // on, and one behind the last.
  using Shape = unsigned int;

  struct Storage {
    const void* bytes;
    std::size_t size;
  };

  struct Kept {
    List list;
    Shape shape = 0;
    std::vector<Storage> poisoned;
  };

  static Shape ShapeOf(const CommandOutline& outline);
  static Shape ShapeOf(const VQJsonCommands& list);
  static std::size_t CountOf(Shape shape);
  static void AddStorage(VQJsonObject& object, std::size_t size, std::vector<Storage>& to);
  static void PoisonAll(Kept& kept);

  List TakeOut(std::size_t place);

  std::array<Kept, kMostLists> mKept;  // The oldest first.
  std::size_t mCount = 0;
  std::size_t mObjects = 0;  // In all of them.
};

}  // namespace dorn

#endif  // DORN_MODEL_KEPTCOMMANDS_H_
