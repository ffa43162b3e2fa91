// UTF-8: what is valid, and what becomes of the rest.
#ifndef STATION_UTF8_H_
#define STATION_UTF8_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace dorn::station {

// The length of the valid sequence at `at`, 1 to 4, or 0 where none begins. Overlong forms,
// surrogates and what lies beyond U+10FFFF are not valid.
std::size_t SequenceAt(std::string_view text, std::size_t at);

bool IsValidUtf8(std::string_view text);

// A copy in which each invalid byte sequence is U+FFFD: one for each longest beginning of a
// character, as browsers count them.
std::string ValidUtf8(std::string_view text);

// What may go to a terminal, which obeys control characters: each of them, line ends included, is
// written like \u001b, and invalid bytes are U+FFFD.
std::string Printable(std::string_view text);
// That of several lines: line ends stay.
std::string PrintableLines(std::string_view text);

// The number of characters of a valid text.
std::size_t CharactersOf(std::string_view text);

// Appends one character; `code` must be a Unicode scalar value.
void AppendUtf8(std::string& out, unsigned code);

}  // namespace dorn::station

#endif  // STATION_UTF8_H_
