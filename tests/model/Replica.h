// A station's own copy of a tree, kept up to date from the texts that the server sends.
#ifndef TESTS_MODEL_REPLICA_H_
#define TESTS_MODEL_REPLICA_H_

#include <map>
#include <set>
#include <string>

class value;

// Objects are told apart by their names, so every object needs one of its own. The order of the
// children is not kept: an ADD command does not say where in the list its objects lie.
class Replica {
 public:
  struct Object {
    std::string parent;
    std::map<std::string, std::string> attributes;  // As JSON texts.

    bool operator==(const Object& other) const {
      return parent == other.parent && attributes == other.attributes;
    }
  };

  // A station that has just fetched the whole tree, which VQJsonObject::GetJson() writes. The
  // attributes of the root itself are left out: updates do not carry them.
  explicit Replica(const std::string& tree);

  // Applies a received text. False if it is no JSON text of known commands.
  bool Receive(const std::string& text);

  // What the user of the station does.
  void Set(const std::string& name, const std::string& key, const std::string& text);

  bool operator==(const Replica& other) const { return mObjects == other.mObjects; }

  // For messages of failed comparisons.
  std::string Describe() const;

  std::map<std::string, Object> mObjects;

 private:
  bool Execute(const value& command);
  void Merge(const value& object, const std::string& parent);
  void Update(const value& object);
  void Delete(const std::string& name);
  void DeleteChildrenOf(const std::string& name);
};

#endif  // TESTS_MODEL_REPLICA_H_
