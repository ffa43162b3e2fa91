// Checks resource files before a host loads them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "tools/dorn-lint/Exceptions.h"
#include "tools/dorn-lint/Lint.h"
#include "tools/dorn-lint/Output.h"
#include "tools/dorn-lint/Preview.h"
#include "tools/dorn-lint/Schema.h"
#include "tools/dorn-lint/Sources.h"
#include "tools/dorn-lint/VocabularyPage.h"
#include "tools/support/Arguments.h"
#include "tools/support/Streams.h"

namespace {

using dorn::lint::Finding;
using dorn::lint::PictureSize;
using dorn::lint::Source;
using dorn::lint::Sources;

enum Exit { kClean = 0, kFindings = 1, kTrouble = 2 };

struct Arguments {
  std::vector<std::string> mPaths;
  std::string mExceptions;
  bool mIsJson = false;
  bool mWantsPreview = false;
  PictureSize mSize;
  std::string mLanguage;
  bool mWantsRules = false;
  bool mWantsSchema = false;
  bool mWantsVocabulary = false;
};

void Describe(CLI::App& cli, Arguments& arguments, std::string& preview) {
  cli.footer(
      "\nPrints file:line:column: severity: text [rule]. docs/lint.md explains each rule.\n"
      "\nExit codes: 0 nothing found; 1 findings; 2 a file could not be read, a folder has none, wrong\n"
      "usage, or the output could not be written.\n"
      "\nExample:\n"
      "  dorn-lint resources/*.json\n");
  cli.add_option("files", arguments.mPaths, "Resource files, or folders of them");
  auto* const json =
      cli.add_flag("--json", arguments.mIsJson, "Print the findings as a JSON array");
  auto* const exceptions =
      cli.add_option("--exceptions", arguments.mExceptions,
                     "Findings that are meant to be: lines of FILE RULE NAME, with # for comments")
          ->check(dorn::tools::NotEmpty("a file of findings that are meant to be"));
  auto* const pictures =
      cli.add_option(
             "--preview", preview,
             "Print how a terminal shows each file instead, such as 80 or 132x43 cells large")
          ->type_name("[WxH]")
          ->expected(0, 1)
          ->excludes(json, exceptions);
  cli.add_option("--language", arguments.mLanguage, "The language of the preview, such as ja")
      ->needs(pictures);
  cli.add_flag("--rules", arguments.mWantsRules, "List the rules");
  cli.add_flag("--schema", arguments.mWantsSchema,
               "Print the JSON Schema of resource files, for editors");
  cli.add_flag("--vocabulary", arguments.mWantsVocabulary,
               "Print all types and attributes as Markdown");
}

void Print(const std::string& text) {
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout));  // Told at the end.
}

int Complain(const std::string& text) {
  std::fprintf(stderr, "dorn-lint: %s\n", text.c_str());
  return kTrouble;
}

int Check(const Arguments& arguments) {
  Sources sources = dorn::lint::ReadSources(arguments.mPaths);
  std::vector<Finding> findings = dorn::lint::Lint(std::move(sources.mRead), dorn::lint::HasFile);
  if (!arguments.mExceptions.empty()) {
    std::string text;
    std::string reason;
    if (!dorn::lint::ReadText(arguments.mExceptions, text, reason)) {
      return Complain(arguments.mExceptions + ": " + reason);
    }
    std::vector<Finding> wrong;
    const auto exceptions = dorn::lint::ParseExceptions(arguments.mExceptions, text, wrong);
    dorn::lint::Apply(arguments.mExceptions, exceptions, findings);
    findings.insert(findings.end(), wrong.begin(), wrong.end());
  }
  Print(arguments.mIsJson ? dorn::lint::AsJson(findings) : dorn::lint::AsLines(findings));
  for (const std::string& failure : sources.mFailures) static_cast<void>(Complain(failure));
  if (!sources.mFailures.empty()) return kTrouble;
  return findings.empty() ? kClean : kFindings;
}

// Of all files; what cannot be shown is told.
int ShowPreviews(const Arguments& arguments) {
  const Sources sources = dorn::lint::ReadSources(arguments.mPaths);
  int code = kClean;
  for (const Source& source : sources.mRead) {
    const auto picture = dorn::lint::Preview(dorn::lint::ReadDocument(source.mText),
                                             arguments.mSize, arguments.mLanguage);
    if (picture) {
      Print(*picture);
    } else {
      code = Complain(source.mPath + ": is no dialog; dorn-lint without --preview tells why");
    }
  }
  for (const std::string& failure : sources.mFailures) code = Complain(failure);
  return code;
}

int Run(const Arguments& arguments) {
  if (arguments.mWantsRules) Print(dorn::lint::RuleLines());
  if (arguments.mWantsSchema) Print(dorn::lint::Schema());
  if (arguments.mWantsVocabulary) Print(dorn::lint::VocabularyPage());
  if (!arguments.mPaths.empty()) {
    return arguments.mWantsPreview ? ShowPreviews(arguments) : Check(arguments);
  }
  const bool isDone = arguments.mWantsRules || arguments.mWantsSchema || arguments.mWantsVocabulary;
  return isDone ? kClean : Complain("no files to check; --help tells more");
}

// The word behind --preview is a size, or else the first of the files. False, having said what
// would be right, when it is neither.
bool TakePreview(const CLI::App& cli, const std::string& word, Arguments& arguments) {
  arguments.mWantsPreview = cli.count("--preview") > 0;
  if (word.empty()) return true;
  std::error_code error;
  if (const auto size = dorn::lint::ParseSize(word)) {
    arguments.mSize = *size;
  } else if (!dorn::lint::IsMeantAsSize(word) || std::filesystem::exists(word, error)) {
    arguments.mPaths.insert(arguments.mPaths.begin(), word);
  } else {
    static_cast<void>(Complain("--preview: '" + word + "' is not " + dorn::lint::WantedSize()));
    return false;
  }
  return true;
}

int Main(int argc, char** argv) {
  CLI::App cli{"Checks resource files: what would be lost, misread or never found."};
  Arguments arguments;
  std::string preview;
  Describe(cli, arguments, preview);
  if (const auto code = dorn::tools::ReadArguments(cli, "dorn-lint", argc, argv)) return *code;
  if (!TakePreview(cli, preview, arguments)) return kTrouble;
  return Run(arguments);
}

}  // namespace

// The library for the arguments reports its own misuse by exceptions.
int main(int argc, char** argv) {
  dorn::tools::TakeClosedStreams();
  try {
    const int code = Main(argc, argv);
    return dorn::tools::PrintedAll("dorn-lint") ? code : kTrouble;
  } catch (const std::exception& error) {
    return Complain(error.what());
  }
}
