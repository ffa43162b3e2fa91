// The same random tree twice: as the library's objects and as the plain reference.
#ifndef TESTS_MODEL_TREEPAIR_H_
#define TESTS_MODEL_TREEPAIR_H_

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dorn/model/VQJsonResource.h"
#include "tests/model/ReferenceTree.h"

class TreePair {
 public:
  // `hosts`: whether objects of a host's own classes take part.
  TreePair(unsigned seed, bool hosts);

  // Makes the same random change to both.
  void Change();

  // The same by writing members that hosts may write: names, records and lists of children.
  void ChangeByHand();

  // Empty when both trees agree in structure, attributes and change records; else what differs.
  std::string Difference();

  const std::string& AnySession();
  const std::string& AnyName();
  int Below(int limit) { return static_cast<int>(mRandom() % static_cast<unsigned>(limit)); }

  VQJsonResource mTree;
  RefNode mReference;

 private:
  using Both = std::pair<VQJsonObject*, RefNode*>;

  void Collect(Both both, std::vector<Both>& nodes);
  Both AnyNode();
  RefValue AnyValue(int depth);
  void SetAny(Both both);
  void AddAny(Both both);
  void DeleteAny(Both both);
  void ChangeGrid(Both both);

  std::mt19937 mRandom;
  bool mHosts;
};

#endif  // TESTS_MODEL_TREEPAIR_H_
