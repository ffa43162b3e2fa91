// The page that is part of the program; the source is made while building.
#ifndef TOOLS_DORN_GATEWAY_EMBEDDEDPAGE_H_
#define TOOLS_DORN_GATEWAY_EMBEDDEDPAGE_H_

#include <optional>
#include <string_view>

namespace dorn::gateway {

// The bytes of index.html, app.js or app.css; nothing for all other names.
std::optional<std::string_view> EmbeddedFile(std::string_view name);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_EMBEDDEDPAGE_H_
