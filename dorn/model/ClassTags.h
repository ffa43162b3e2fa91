// The tags of the object classes, as mDebugFlag holds them. Internal: not installed.
#ifndef DORN_MODEL_CLASSTAGS_H_
#define DORN_MODEL_CLASSTAGS_H_

namespace dorn {

// Written by the allocation operator where mDebugFlag will be.
constexpr int kAllocationMarker = 123454321;

constexpr int kTagObject = 1;
constexpr int kTagObjectOnHeap = 10;

// Subclasses have the same tag wherever they are: the base constructor has already replaced the
// marker when theirs run.
constexpr int kTagGroup = 2;
constexpr int kTagRadioButton = 3;
constexpr int kTagRadioGroup = 4;
constexpr int kTagCommand = 5;
constexpr int kTagResource = 6;
constexpr int kTagGrid = 7;

}  // namespace dorn

#endif  // DORN_MODEL_CLASSTAGS_H_
