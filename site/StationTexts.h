// What single stations are told beside the changes. Internal: not installed.
#ifndef SITE_STATIONTEXTS_H_
#define SITE_STATIONTEXTS_H_

#include <string>
#include <vector>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn::site {

// The objects as the tree holds them, with `error` as their "Error", and the other buttons of the
// group for a radio button; each once. Empty if the tree has none of them.
KZString TreesWord(VQJsonResource& tree, const std::vector<std::string>& objects,
                   const char* error);

// Only the "Error" of the objects, as the tree holds it.
KZString ErrorTakenBack(VQJsonResource& tree, const std::vector<std::string>& objects);

// The "State" of one object.
KZString StateOf(const KZString& object, const char* state);

}  // namespace dorn::site

#endif  // SITE_STATIONTEXTS_H_
