// What a page sends, which nobody trusts.
#ifndef TOOLS_DORN_GATEWAY_PAGETEXT_H_
#define TOOLS_DORN_GATEWAY_PAGETEXT_H_

#include <string>
#include <string_view>
#include <vector>

#include "station/Commands.h"

namespace dorn::gateway {

struct PageText {
  std::string mText;       // For the host, without the framing bytes; empty when it is refused.
  std::string mReason;     // Why it is refused.
  bool mLogsIn = false;    // A user and a password: by itself, so that it is counted.
  bool mAttaches = false;  // Names a session to go on with.
  std::vector<std::string> mFences;  // The fences that it asks for.
};

// Takes strict JSON alone.
PageText ReadPageText(std::string_view bytes, station::Quotes quotes);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_PAGETEXT_H_
