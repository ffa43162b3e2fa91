// Composing updates and applying commands. Arguments: objects in the tree, objects concerned, and
// recipients.
#include <benchmark/benchmark.h>

#include "bench/micro/Documents.h"
#include "dorn/model/UpdateComposer.h"

namespace {

class PlainDialog : public VQDialog {};

// Marks, composes for every recipient, and forgets the marks.
void ComposeUpdate(benchmark::State& state) {
  VQJsonResource tree;
  LoadTree(tree, static_cast<int>(state.range(0)));
  const auto changed = static_cast<std::size_t>(state.range(1));
  const std::size_t step = tree.mObjectList.size() / changed;
  const KZString session("S1");
  for (auto _ : state) {
    for (std::size_t i = 0; i < changed; ++i) tree.mObjectList[i * step]->SetDirty("Value");
    dorn::UpdateComposer composer(&tree, false, dorn::SideCommands::kEveryone);
    for (int i = 0; i < state.range(2); ++i) benchmark::DoNotOptimize(composer.Compose(session));
    composer.ResetDirty();
  }
}
BENCHMARK(ComposeUpdate)
    ->Args({100, 1, 1})
    ->Args({10000, 1, 1})
    ->Args({10000, 100, 1})
    ->Args({100, 1, 900})
    ->Args({10000, 1, 900})
    ->Args({10000, 100, 900});

void ApplyCommand(benchmark::State& state) {
  PlainDialog dialog;
  LoadTree(*dialog.GetResourceShare(), static_cast<int>(state.range(0)));
  VQJsonCommands commands;
  VQJsonParser parser;
  parser.ParseCommand(&commands, ConditionText(static_cast<int>(state.range(1)), 7));
  auto* command = dynamic_cast<VQJsonCommand*>(commands.mObjectList.at(0));
  if (command == nullptr) {
    state.SkipWithError("the command was not understood");
    return;
  }
  for (auto _ : state) dialog.UpdateResourceShare(command, "S1");
  state.SetItemsProcessed(state.iterations() * state.range(1));
}
BENCHMARK(ApplyCommand)
    ->Args({100, 1})
    ->Args({100, 100})
    ->Args({100, 10000})
    ->Args({10000, 1})
    ->Args({10000, 100})
    ->Args({10000, 10000});

}  // namespace
