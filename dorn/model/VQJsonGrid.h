// A grid: an object with a two-dimensional table of values, written as "Data".
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_MODEL_VQJSONGRID_H_
#define DORN_MODEL_VQJSONGRID_H_

#include <ostream>
#include <vector>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"
#include "dorn/model/VQJsonObject.h"

// The table is addressed by column x and row y, both from 0.
//
// Kept: full output carries the table, an update of changes alone does not. It writes the attribute
// "Data" instead, since the update writer calls the inherited OutJsonDirtyMember(). A host that
// changed the table sends an update of everything.
class DORN_EXPORT VQJsonGrid : public VQJsonObject {
 public:
  // An empty table.
  explicit VQJsonGrid(VQJsonObject* parent);
  VQJsonGrid(const VQJsonGrid& other) = default;
  VQJsonGrid& operator=(const VQJsonGrid& other) = default;
  ~VQJsonGrid() override;

  // The attributes, then the table.
  void OutJsonMember(std::ostream& out, int& b) override;

  // The same as OutJsonMember(). Not an override: the update writer calls the inherited form.
  virtual void OutJsonDirtyMember(std::ostream& out, int& b);
  using VQJsonObject::OutJsonDirtyMember;

  // Writes the table as the member "Data", each row on a line of its own.
  void OutJsonData(std::ostream& out, int& b);

  // Makes the table `y` rows of `x` values and marks "Data" as changed. Values inside the new size
  // stay, new ones are empty. A negative size is ignored.
  void SetDataSize(int x, int y);

  // Sets one value, without marking a change. Ignored outside the table.
  void SetData(int x, int y, const char* text);

  // The text of one value; empty outside the table.
  KZString GetData(int x, int y);

  std::vector<std::vector<VQValue>> mData;  // Rows of values.
};

#endif  // DORN_MODEL_VQJSONGRID_H_
