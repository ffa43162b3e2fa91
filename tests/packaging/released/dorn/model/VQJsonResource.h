#ifndef DORN_MODEL_VQJSONRESOURCE_H_
#define DORN_MODEL_VQJSONRESOURCE_H_
#include "dorn/base/Export.h"
#include "dorn/model/VQJsonObject.h"
class DORN_EXPORT VQJsonResource : public VQJsonObjectHasList {
 public:
  VQJsonResource();
  VQJsonResource(const VQJsonResource& other) = default;
  VQJsonResource& operator=(const VQJsonResource& other) = default;
  ~VQJsonResource() override;
};
#endif
