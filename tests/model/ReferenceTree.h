// A tree of user-interface objects as simple as it can be: plain structs and strings, one function
// for each rule. Random tests compare the library with it.
#ifndef TESTS_MODEL_REFERENCETREE_H_
#define TESTS_MODEL_REFERENCETREE_H_

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "dorn/json/VQValue.h"

struct RefValue {
  enum Kind { kNone, kInt, kString, kBool, kObject, kArray };
  Kind kind = kNone;
  int number = 0;
  std::string text;
  std::map<std::string, RefValue> members;
  std::vector<RefValue> elements;

  static RefValue None();
  static RefValue Int(int n);
  static RefValue Bool(bool b);
  static RefValue String(const std::string& s);
  static RefValue Object(const std::map<std::string, RefValue>& members);
  static RefValue Array(const std::vector<RefValue>& elements);

  VQValue Real() const;

  // The kind of `stored` alone decides what equal means.
  bool Equals(const RefValue& stored) const;

  std::string Json() const;
  std::string Text() const;
};

struct RefNode {
  enum Class { kPlain, kGroup, kButton, kRadioGroup, kGrid, kHostPlain, kHostGroup, kRoot };
  Class kind = kPlain;
  RefNode* parent = nullptr;
  std::string name;
  std::map<std::string, RefValue> attributes;
  std::set<std::string> dirty;
  bool added = false;
  std::string deleted;
  std::vector<std::vector<RefValue>> rows;
  std::vector<std::unique_ptr<RefNode>> children;

  bool IsGroup() const {
    return kind != kPlain && kind != kButton && kind != kGrid && kind != kHostPlain;
  }

  // The rule of radio buttons included.
  void SetValue(const std::string& key, const RefValue& value, int mode,
                const std::string& session);
  void Store(const std::string& key, const RefValue& value, int mode, const std::string& session);
  void SwitchOff();
  void Add(std::unique_ptr<RefNode> child, bool mark);
  void RecordDeletion(const std::string& gone);
  void DeleteThis();  // *this may be gone afterwards.
  void DeleteChildren();
  void ResetDirty();
  RefNode* Search(const std::string& wanted);

  std::string Members() const;
  std::string Json() const;
  std::string DirtyMembers(const std::string& session);
};

// Entries of an UPDATE command, separated by commas.
std::string RefEntries(RefNode& node, bool all, const std::string& session);

// The UPDATE command by itself.
std::string RefUpdate(RefNode& root, bool all, const std::string& session);

// The DELETE commands and then the ADD commands, separated by commas; clears their records.
std::string RefSide(RefNode& root);

std::string RefJoin(const std::string& update, const std::string& side);

#endif  // TESTS_MODEL_REFERENCETREE_H_
