// What reading, printing and applying a message costs must grow with its length and no faster.
//
// Zero bytes separate up to five pieces. The message of size n is the first piece, n times the
// second, n times the third, n times the fourth, and the last: deep nests, wide lists and wide
// lists in deep nests are all of this form. A byte 1 becomes the number of the repetition. The
// message is read at two sizes, and their costs are compared.
#include <algorithm>
#include <string>

#include "dorn/model/NameIndex.h"
#include "dorn/model/VQJsonParser.h"
#include "fuzz/Cost.h"
#include "fuzz/FuzzTarget.h"

namespace {

// The sizes that are compared. The smaller one is large enough for what grows with the square to
// outweigh what a message costs anyway, the larger one small enough for thousands of runs.
constexpr size_t kSmall = 64;
constexpr size_t kTimes = 4;
constexpr size_t kLongest = size_t{64} * 1024;

// The longest message takes 64 MB and 40 bytes for each byte of it: 168 for each.
constexpr size_t kBytesForEach = 168;
constexpr size_t kPrintedForEach = 20;
constexpr size_t kBlocksForEach = 600;

// What a message of no length may cost.
constexpr size_t kBytesBefore = size_t{64} * 1024;
constexpr size_t kPrintedBefore = 400;
constexpr size_t kBlocksBefore = 100000;

constexpr char kTree[] =
    R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"a","Type":"LABEL","Value":"x"},)"
    R"({"Name":"g","Type":"GROUP","Layout":"RADIO","Objects":[)"
    R"({"Name":"b","Type":"RADIOBTN","Attr":"ON"},{"Name":"c","Type":"RADIOBTN"}]},)"
    R"({"Name":"t","Type":"GRID"}]})";

// Three digits, so that every repetition has the same length.
std::string Numbered(const std::string& piece, size_t number) {
  std::string text;
  for (const char byte : piece) {
    if (byte == '\x01') {
      text += std::to_string(1000 + number % 1000).substr(1);
    } else {
      text += byte;
    }
  }
  return text;
}

std::string Times(const std::string& piece, size_t times) {
  std::string text;
  for (size_t i = 0; i < times; ++i) text += Numbered(piece, i);
  return text;
}

struct Shape {
  std::string first, second, third, fourth, last;

  std::string Text(size_t n) const {
    return first + Times(second, n) + Times(third, n) + Times(fourth, n) + last;
  }
};

// As a server does: what the command says of each object is taken over.
void Apply(VQJsonObjectHasList& command, VQJsonResource& tree) {
  dorn::NameIndex index(&tree);
  for (VQJsonObject* source : command.mObjectList) {
    VQJsonObject* target = index.Find(source->mName);
    if (target == nullptr) continue;
    for (const auto& [key, attribute] : source->GetObject()) {
      if (key != "Name") target->SetValue(key, attribute, -1, "S1");
    }
  }
}

void Execute(const KZString& text) {
  VQJsonCommands commands;
  VQJsonParser parser;
  parser.ParseCommand(&commands, text);
  VQJsonResource tree;
  parser.ParseDialog(&tree, kTree, true);
  for (VQJsonObject* entry : commands.mObjectList) {
    const KZString word = entry->GetValue("Command").GetString();
    std::printf("Command=%s json=%s\n", word.c_str(), entry->GetJson().c_str());
    static_cast<void>(entry->SearchName("no such name"));
    auto* command = dynamic_cast<VQJsonObjectHasList*>(entry);
    if (command != nullptr) Apply(*command, tree);
  }
  KZString update;
  parser.MakeUpdateCommand(update, &tree, false, "S2");
}

void CheckBound(const char* what, size_t cost, size_t before, size_t forEach, size_t length) {
  if (cost <= before + forEach * length) return;
  std::fprintf(stderr, "%s: %zu for a message of %zu bytes\n", what, cost, length);
  FUZZ_CHECK(!"the cost of one message is bounded");
}

Cost CheckedCost(const std::string& text) {
  const KZString message(text);
  const Cost cost = CostOf([&message] { Execute(message); });
  CheckBound("peak of bytes", cost.peak, kBytesBefore, kBytesForEach, text.size());
  CheckBound("printed bytes", cost.printed, kPrintedBefore, kPrintedForEach, text.size());
  CheckBound("blocks", cost.blocks, kBlocksBefore, kBlocksForEach, text.size());
  return cost;
}

// A logarithm is let through: 4 times the length may cost 6 times as much, not 16 times.
void CheckGrowth(const char* what, size_t small, size_t large, size_t before) {
  if (large <= 6 * small + before) return;
  std::fprintf(stderr, "%s: %zu, and %zu for %zu times the length\n", what, small, large, kTimes);
  FUZZ_CHECK(!"the cost grows with the length and no faster");
}

void CheckShape(const Shape& shape) {
  // With less, what a message costs anyway is most of it.
  constexpr size_t kLeast = 16;
  const size_t unit = shape.Text(1).size() - shape.Text(0).size();
  if (unit == 0) return;
  const size_t n = std::min(kSmall, kLongest / kTimes / unit);
  if (n < kLeast) return;
  const std::string longer = shape.Text(kTimes * n);
  const Cost small = CheckedCost(shape.Text(n));
  const Cost large = CheckedCost(longer);
  CheckGrowth("blocks", small.blocks, large.blocks, kBlocksBefore / 10);
  CheckGrowth("allocated bytes", small.allocated, large.allocated, kBytesBefore / 10);
  CheckGrowth("peak of bytes", small.peak, large.peak, kBytesBefore / 10);
  // The longer one alone may be an error, of which the line holds the rest of the text.
  CheckGrowth("printed bytes", small.printed, large.printed, kPrintedBefore + 2 * longer.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  Shape shape;
  shape.first = in.Until('\0');
  shape.second = in.Until('\0');
  shape.third = in.Until('\0');
  shape.fourth = in.Until('\0');
  shape.last = in.Until('\0');
  CheckedCost(shape.Text(1));
  CheckShape(shape);
  return 0;
}
