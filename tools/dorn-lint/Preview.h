// A resource file as a terminal shows it, before any host has loaded it.
#ifndef TOOLS_DORN_LINT_PREVIEW_H_
#define TOOLS_DORN_LINT_PREVIEW_H_

#include <optional>
#include <string>
#include <string_view>

#include "tools/dorn-lint/Reader.h"

namespace dorn::lint {

struct PictureSize {
  int mWidth = 80;
  int mHeight = 0;  // 0: as high as the dialog.
};

// "80" or "132x43"; nothing for other texts, or for what no terminal is.
std::optional<PictureSize> ParseSize(std::string_view text);

// Whether a text that is no size can hardly be anything else, such as "0x0" or "80x".
bool IsMeantAsSize(std::string_view text);

// What ParseSize() takes, for those who gave something else.
std::string WantedSize();

// Lines of text, the dialog's title first. Nothing when the text is no dialog.
std::optional<std::string> Preview(const Document& document, const PictureSize& size,
                                   std::string_view language);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_PREVIEW_H_
