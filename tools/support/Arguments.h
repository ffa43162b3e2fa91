// How every tool reads its arguments: whatever is wrong is told in one line that says what is
// right.
#ifndef TOOLS_SUPPORT_ARGUMENTS_H_
#define TOOLS_SUPPORT_ARGUMENTS_H_

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace dorn::tools {

constexpr int kWrongUsage = 2;

// In decimal digits. What the range of the argument library takes beyond that is no number here:
// nan, which is in every range, 0x10, and what is too large to be held.
template <class Value>
CLI::Validator Between(Value least, Value most, const char* kind) {
  char range[64];
  std::snprintf(range, sizeof range, "%.10g to %.10g", static_cast<double>(least),
                static_cast<double>(most));
  const auto check = [least, most, wanted = std::string(kind) + " from " + range](
                         const std::string& text) -> std::string {
    Value value{};
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);
    const bool isRead = read.ec == std::errc() && read.ptr == end;
    return isRead && value >= least && value <= most ? "" : "'" + text + "' is not " + wanted;
  };
  return {check, range, "range"};
}

inline CLI::Validator WholeNumber(long long least, long long most) {
  return Between(least, most, "a whole number");
}

inline CLI::Validator Number(double least, double most) { return Between(least, most, "a number"); }

inline CLI::Validator NotEmpty(std::string wanted) {
  const auto check = [wanted = std::move(wanted)](const std::string& text) {
    return text.empty() ? "it is empty; give " + wanted : std::string();
  };
  return {check, "", "not empty"};
}

// Of a station's screen.
inline CLI::Validator Pixels() { return WholeNumber(0, 1'000'000); }

inline CLI::Validator OneWordOf(std::vector<std::string> words) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
  const auto check = [words = std::move(words), all](const std::string& text) {
    for (const std::string& word : words) {
      if (text == word) return std::string();
    }
    return "'" + text + "' is none of " + all;
  };
  return {check, all, "words"};
}

// One of a few words, each of which stands for a value.
template <class Value>
CLI::Validator OneOf(std::vector<std::pair<std::string, Value>> words) {
  std::string all;
  for (const auto& word : words) all += (all.empty() ? "" : ", ") + word.first;
  const auto take = [words = std::move(words), all](std::string& text) {
    for (const auto& [word, value] : words) {
      if (text != word) continue;
      text = std::to_string(static_cast<int>(value));
      return std::string();
    }
    return "'" + text + "' is none of " + all;
  };
  return {take, all, "words"};
}

namespace arguments {

// What is meant by the library, in the words of a person.
inline std::string Told(const CLI::App& cli, const CLI::ParseError& error) {
  const std::string kind = error.get_name();
  std::string what = error.what();
  const auto has = [&what](const char* text) { return what.find(text) != std::string::npos; };
  const auto before = [&what](const char* text) { return what.substr(0, what.find(text)); };
  if (kind == "ArgumentMismatch" && has(" missing")) return before(": ") + ": its value is missing";
  if (kind == "ArgumentMismatch" && has("At Most 1")) {
    return before(": ") + ": it is given more than once";
  }
  if (kind == "ArgumentMismatch" && has(" was given a disallowed")) {
    return "--" + before(" was given") + ": it takes no value";
  }
  if (kind == "ExcludesError" && has(" excludes ")) {
    return before(" excludes ") + " does not go together with " +
           what.substr(what.find(" excludes ") + std::string(" excludes ").size());
  }
  if (kind == "RequiredError" && has(" is required")) {
    const std::string name = before(" is required");
    const CLI::Option* option = cli.get_option_no_throw(name);
    return name + " missing" + (option == nullptr ? "" : ": " + option->get_description());
  }
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError) && has(": ")) {
    const std::string words = what.substr(what.find(": ") + 2);
    if (words.front() == '-') return "there is no option " + words.substr(0, words.find(' '));
    return "too many arguments: " + words;
  }
  return what;
}

}  // namespace arguments

// Nothing when the arguments are right; the exit code otherwise, and after --help.
inline std::optional<int> ReadArguments(CLI::App& cli, const char* program, int argc,
                                        const char* const* argv) {
  for (CLI::Option* option : cli.get_options([](CLI::Option*) { return true; })) {
    if (option->get_items_expected_max() == 0) option->disable_flag_override();
  }
  try {
    cli.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return cli.exit(error);
    std::fprintf(stderr, "%s: %s; --help tells more\n", program,
                 arguments::Told(cli, error).c_str());
    return kWrongUsage;
  }
  return std::nullopt;
}

}  // namespace dorn::tools

#endif  // TOOLS_SUPPORT_ARGUMENTS_H_
