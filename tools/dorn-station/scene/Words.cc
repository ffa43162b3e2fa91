#include "tools/dorn-station/scene/Words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace dorn::scene {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::optional<char> Escaped(char c) {
  switch (c) {
    case 'n':
      return '\n';
    case 't':
      return '\t';
    case '"':
    case '\\':
      return c;
    default:
      return std::nullopt;
  }
}

// From the opening quote at `at` to behind the closing one.
std::optional<Word> ReadQuoted(std::string_view line, std::size_t& at, std::string& error) {
  Word word{"", true};
  for (++at; at < line.size(); ++at) {
    if (line[at] == '"') {
      ++at;
      if (at == line.size() || IsBlank(line[at])) return word;
      error = "a blank is missing behind the closing quote; inside a text a quote is written \\\"";
      return std::nullopt;
    }
    char c = line[at];
    if (c == '\\') {
      const auto meant = Escaped(++at < line.size() ? line[at] : '\0');
      if (!meant) {
        error = "between quotes a backslash is written \\\\; there are \\\" \\n and \\t besides";
        return std::nullopt;
      }
      c = *meant;
    }
    word.mText += c;
  }
  error = "the closing quote is missing";
  return std::nullopt;
}

std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

}  // namespace

std::optional<std::vector<Word>> SplitWords(std::string_view line, std::string& error) {
  std::vector<Word> words;
  std::size_t at = 0;
  for (;;) {
    while (at < line.size() && IsBlank(line[at])) ++at;
    if (at == line.size() || line[at] == '#') return words;
    if (line[at] == '"') {
      auto word = ReadQuoted(line, at, error);
      if (!word) return std::nullopt;
      words.push_back(std::move(*word));
      continue;
    }
    const std::size_t start = at;
    while (at < line.size() && !IsBlank(line[at])) ++at;
    words.push_back({std::string(line.substr(start, at - start)), false});
  }
}

std::string WrittenWord(std::string_view text) {
  const bool isPlain = !text.empty() && text.front() != '#' &&
                       text.find_first_of(" \t\r\n\"\\") == std::string_view::npos;
  if (isPlain) return std::string(text);
  std::string written = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      written += '\\';
      written += c;
    } else if (c == '\n') {
      written += "\\n";
    } else if (c == '\t') {
      written += "\\t";
    } else {
      written += c;
    }
  }
  return written + '"';
}

std::optional<std::int64_t> ReadDuration(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (result.ec != std::errc() || !(number >= 0) || number > 1e6) return std::nullopt;
  const std::string_view unit(result.ptr, static_cast<std::size_t>(end - result.ptr));
  const double factor = unit == "ms" ? 1 : unit == "s" ? 1000 : unit == "min" ? 60000 : 0;
  if (factor == 0) return std::nullopt;
  return static_cast<std::int64_t>(std::llround(number * factor));
}

std::string WrittenDuration(std::int64_t ms) {
  if (ms % 1000 != 0) return std::to_string(ms) + "ms";
  return std::to_string(ms / 1000) + "s";
}

std::string Nearest(std::string_view word, const std::vector<std::string>& known) {
  std::string nearest;
  std::size_t best = word.size() / 3 + 2;  // As many mistakes as are believable, and one more.
  for (const std::string& each : known) {
    const std::size_t distance = Distance(word, each);
    if (distance >= best) continue;
    best = distance;
    nearest = each;
  }
  return nearest;
}

}  // namespace dorn::scene
