// A dialog's objects as one station holds them.
#ifndef STATION_TREE_H_
#define STATION_TREE_H_

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "station/Json.h"

namespace dorn::station {

// The children lie in the order in which the station got them; an ADD does not say where among
// their siblings its objects stand.
struct Object {
  std::string mName;
  Json::Object mAttributes;  // Name and Type among them.
  std::vector<std::unique_ptr<Object>> mChildren;
  Object* mParent = nullptr;
  std::size_t mPlace = 0;  // Among its siblings.

  // The text of an attribute; empty without it.
  std::string_view TextOf(std::string_view key) const;
  const Json* Find(std::string_view key) const;
  bool IsGroup() const { return TextOf("Type") == "GROUP"; }
};

class Tree {
 public:
  // The tree that a host sends of a dialog it runs.
  static Tree FromLive(const Json& tree);
  // The dialog of a resource file in either of its forms. Nothing when the file holds none.
  static std::optional<Tree> FromFile(const Json& file);
  // No file to go by: the objects of `updates` below a root of this name.
  static Tree Flat(std::string_view name, const std::vector<Json>& updates);

  Tree();

  const Object& Root() const { return *mRoot; }
  // The first of this name, depth first. The root answers to the name of the resource.
  Object* Find(std::string_view name);
  const Object* Find(std::string_view name) const;

  // Sets attributes of objects that are there. True when a grid tells that its table has changed
  // and does not send it: then the tree must be fetched again.
  bool Update(const Json& command);
  // Merges by name below the group that the command names. True when a group came without
  // children: those that it had before it was added are not sent.
  bool Add(const Json& command);
  void Delete(const Json& command);

  // With the objects below as "Objects".
  Json Written() const;

 private:
  bool UpdateObject(Object& object, const Json& members);
  bool Merge(const Json& json, Object& parent);
  void Remove(Object& object);
  static Object& Append(Object& parent, const Json& json);
  void Move(Object& object, Object& parent);
  void CloseGaps();
  void Index();
  void Enter(Object& object);
  void Moved(const Object& object);

  struct Named {
    Object* mFirst;          // Null: the index must be rebuilt to tell which of several it is.
    bool mIsShared = false;  // There may be others of this name.
  };

  std::unique_ptr<Object> mRoot;
  // New objects are entered; after objects were taken out, the next one who asks rebuilds it.
  std::unordered_map<std::string_view, Named> mByName;
  bool mIsIndexed = false;
  // Objects that an ADD moves leave nulls among these ones' children until it ends.
  std::set<Object*> mGapped;
};

// Whether this is a grid's table: an array of arrays.
bool IsTable(const Json* json);

// The objects of a command; an empty array where it has none.
const Json::Array& ObjectsOf(const Json& command);

}  // namespace dorn::station

#endif  // STATION_TREE_H_
