#ifndef DORN_MODEL_VQJSONGRID_H_
#define DORN_MODEL_VQJSONGRID_H_
#include <ostream>
#include <vector>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"
#include "dorn/model/VQJsonObject.h"
class DORN_EXPORT VQJsonGrid : public VQJsonObject {
 public:
  explicit VQJsonGrid(VQJsonObject* parent);
  VQJsonGrid(const VQJsonGrid& other) = default;
  VQJsonGrid& operator=(const VQJsonGrid& other) = default;
  ~VQJsonGrid() override;
  void OutJsonMember(std::ostream& out, int& b) override;
  virtual void OutJsonDirtyMember(std::ostream& out, int& b);
  using VQJsonObject::OutJsonDirtyMember;
  void OutJsonData(std::ostream& out, int& b);
  void SetDataSize(int x, int y);
  void SetData(int x, int y, const char* text);
  KZString GetData(int x, int y);
  std::vector<std::vector<VQValue>> mData;
};
#endif
