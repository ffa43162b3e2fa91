#include "tests/lint/RuleCases.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>

#include "tools/dorn-lint/Lint.h"
#include "tools/dorn-lint/Output.h"

namespace {

constexpr std::string_view kNear = "near: ";

bool Begins(const std::string& line, std::string_view mark) {
  return line.compare(0, mark.size(), mark) == 0;
}

std::string Expanded(const std::string& inner) {
  const std::size_t star = inner.find('*');
  if (star == std::string::npos)
    return std::string(1, static_cast<char>(std::stoi(inner, nullptr, 16)));
  std::string repeated;
  for (int i = std::stoi(inner); i > 0; --i) repeated += inner.substr(star + 1);
  return repeated;
}

std::string WithBytes(const std::string& line) {
  std::string out;
  for (std::size_t at = 0; at < line.size();) {
    const std::size_t open = std::min(line.find("{{", at), line.size());
    const std::size_t close = line.find("}}", open);
    if (close == std::string::npos) return out + line.substr(at);
    out += line.substr(at, open - at) + Expanded(line.substr(open + 2, close - open - 2));
    at = close + 2;
  }
  return out;
}

std::vector<RuleCase> CasesOf(const std::filesystem::path& path) {
  std::vector<RuleCase> cases;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    if (Begins(line, "== ")) {
      RuleCase next;
      next.mRule = path.stem().string();
      next.mTitle = line.substr(3);
      next.mIsNear = Begins(next.mTitle, kNear);
      next.mFiles.emplace_back("resources/d.json", "");
      cases.push_back(next);
    } else if (cases.empty()) {
      continue;
    } else if (Begins(line, "@@ ")) {
      auto& files = cases.back().mFiles;
      if (files.back().second.empty()) files.pop_back();
      files.emplace_back(line.substr(3), "");
    } else if (Begins(line, "=> ")) {
      cases.back().mExpected += line.substr(3) + "\n";
    } else {
      cases.back().mFiles.back().second += WithBytes(line) + "\n";
    }
  }
  return cases;
}

}  // namespace

const std::vector<RuleCase>& RuleCases() {
  static std::vector<RuleCase> cases;
  if (!cases.empty()) return cases;
  std::set<std::filesystem::path> paths;
  for (const auto& each : std::filesystem::directory_iterator(DORN_LINT_CASES)) {
    paths.insert(each.path());
  }
  for (const auto& path : paths) {
    for (RuleCase& each : CasesOf(path)) cases.push_back(std::move(each));
  }
  return cases;
}

std::string Printed(const RuleCase& ruleCase) {
  std::vector<dorn::lint::Source> sources;
  std::set<std::string> places;
  for (const auto& [path, text] : ruleCase.mFiles) {
    places.insert(path);
    const bool isResource = std::filesystem::path(path).extension() == ".json";
    if (isResource) sources.push_back({path, path, text});
  }
  const auto hasFile = [&places](const std::string& path) { return places.count(path) != 0; };
  return AsLines(dorn::lint::Lint(std::move(sources), hasFile));
}
