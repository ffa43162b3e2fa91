#include "dorn/model/VQJsonResource.h"

#include "dorn/model/ClassTags.h"
#include "dorn/model/TreeCount.h"
#include "dorn/model/WireWords.h"

std::uint64_t dorn::gTreeCount = 0;

VQJsonResource::VQJsonResource() : VQJsonObjectHasList(dorn::kKeyObjects, nullptr) {
  mDebugFlag = dorn::kTagResource;
  ++dorn::gTreeCount;
}

VQJsonResource::~VQJsonResource() { ++dorn::gTreeCount; }
