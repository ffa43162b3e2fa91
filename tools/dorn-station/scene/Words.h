// The words of one line of a scene, and how to help who has mistyped one.
#ifndef TOOLS_DORN_STATION_SCENE_WORDS_H_
#define TOOLS_DORN_STATION_SCENE_WORDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::scene {

struct Word {
  std::string mText;
  bool mIsQuoted = false;  // Then it is a text, whatever it says.
};

// Splits at blanks. "..." is one word, in which \" \\ \n and \t stand for what they stand for
// elsewhere; a # at the beginning of a word and all behind it is a comment. Without a result
// `error` says what is wrong.
std::optional<std::vector<Word>> SplitWords(std::string_view line, std::string& error);

// `text` as a line of a scene would have it: between quotes where it needs them.
std::string WrittenWord(std::string_view text);

// "200ms", "1s", "1.5s", "2min" in milliseconds.
std::optional<std::int64_t> ReadDuration(std::string_view text);
std::string WrittenDuration(std::int64_t ms);

// The one of `known` that `word` was probably meant to be; empty when none is near.
std::string Nearest(std::string_view word, const std::vector<std::string>& known);

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_WORDS_H_
