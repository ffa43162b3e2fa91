// Reading JSON, beside other libraries and beside the least that a tree of std::map, std::vector
// and heap strings costs: building the same tree without reading anything.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <simdjson.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "bench/micro/Documents.h"

namespace {

const std::string& Text(const benchmark::State& state) {
  return state.range(0) == 0 ? DialogDocument() : CommandText();
}

void CountBytes(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Text(state).size()));
  state.SetLabel(state.range(0) == 0 ? "dialog" : "command");
}

void JsonDorn(benchmark::State& state) {
  const std::string& text = Text(state);
  for (auto _ : state) {
    value document;
    std::string error;
    benchmark::DoNotOptimize(
        value::parse(document, text.data(), text.data() + text.size(), &error));
  }
  CountBytes(state);
}

template <class Tree, class Parse>
void ParseInto(benchmark::State& state, const std::string& document, Parse parse) {
  const KZString text(document.c_str());
  for (auto _ : state) {
    Tree tree;
    VQJsonParser parser;
    benchmark::DoNotOptimize(parse(parser, tree, text));
    benchmark::DoNotOptimize(tree.mObjectList.data());
  }
  CountBytes(state);
}

// What becomes of a message of a station, to the destruction of its command objects.
void ParseCommand(benchmark::State& state) {
  ParseInto<VQJsonCommands>(
      state, CommandText(),
      [](VQJsonParser& parser, VQJsonCommands& commands, const KZString& text) {
        return parser.ParseCommand(&commands, text);
      });
}

// And of a resource file.
void ParseDialog(benchmark::State& state) {
  ParseInto<VQJsonResource>(state, DialogDocument(),
                            [](VQJsonParser& parser, VQJsonResource& tree, const KZString& text) {
                              return parser.ParseDialog(&tree, text, false);
                            });
}

void JsonNlohmann(benchmark::State& state) {
  const std::string& text = Text(state);
  for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(text).size());
  CountBytes(state);
}

void JsonRapid(benchmark::State& state) {
  const std::string& text = Text(state);
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse(text.c_str());
    benchmark::DoNotOptimize(document.HasParseError());
  }
  CountBytes(state);
}

void JsonSimd(benchmark::State& state) {
  const simdjson::padded_string text(Text(state));
  simdjson::dom::parser parser;
  for (auto _ : state) benchmark::DoNotOptimize(parser.parse(text).error());
  CountBytes(state);
}

// As large as a value of the library's tree, with the same containers.
struct Node {
  std::int64_t mNumber = 0;
  std::unique_ptr<std::string> mText;
  std::unique_ptr<std::vector<Node>> mItems;
  std::unique_ptr<std::map<std::string, Node>> mMembers;
};

Node Build(const nlohmann::json& from) {
  Node node;
  if (from.is_string()) {
    node.mText = std::make_unique<std::string>(from.get_ref<const std::string&>());
  } else if (from.is_array()) {
    node.mItems = std::make_unique<std::vector<Node>>();
    node.mItems->reserve(from.size());
    for (const auto& item : from) node.mItems->push_back(Build(item));
  } else if (from.is_object()) {
    node.mMembers = std::make_unique<std::map<std::string, Node>>();
    for (const auto& [key, member] : from.items()) {
      node.mMembers->emplace_hint(node.mMembers->end(), key, Build(member));
    }
  } else {
    node.mNumber = 1;
  }
  return node;
}

void JsonFloor(benchmark::State& state) {
  const nlohmann::json source = nlohmann::json::parse(Text(state));
  for (auto _ : state) benchmark::DoNotOptimize(Build(source).mMembers.get());
  CountBytes(state);
}

BENCHMARK(JsonDorn)->Arg(0)->Arg(1);
BENCHMARK(ParseDialog)->Arg(0);
BENCHMARK(ParseCommand)->Arg(1);
BENCHMARK(JsonNlohmann)->Arg(0)->Arg(1);
BENCHMARK(JsonRapid)->Arg(0)->Arg(1);
BENCHMARK(JsonSimd)->Arg(0)->Arg(1);
BENCHMARK(JsonFloor)->Arg(0)->Arg(1);

}  // namespace
