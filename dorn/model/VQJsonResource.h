// The root of one dialog's object tree.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_MODEL_VQJSONRESOURCE_H_
#define DORN_MODEL_VQJSONRESOURCE_H_

#include "dorn/base/Export.h"
#include "dorn/model/VQJsonObject.h"

// A tree as it is loaded from a resource file; see VQJsonParser::ParseDialog(). A copy shares the
// children of its source: keep trees where they are, and hand out pointers.
class DORN_EXPORT VQJsonResource : public VQJsonObjectHasList {
 public:
  // An empty tree with list key "Objects" and no parent.
  VQJsonResource();
  VQJsonResource(const VQJsonResource& other) = default;
  VQJsonResource& operator=(const VQJsonResource& other) = default;
  ~VQJsonResource() override;
};

#endif  // DORN_MODEL_VQJSONRESOURCE_H_
