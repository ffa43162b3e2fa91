#include "dorn/model/VQJsonResource.h"

#include "dorn/model/ClassTags.h"
#include "dorn/model/WireWords.h"

VQJsonResource::VQJsonResource() : VQJsonObjectHasList(dorn::kKeyObjects, nullptr) {
  mDebugFlag = dorn::kTagResource;
}

VQJsonResource::~VQJsonResource() = default;
