// Dialogs of the simulated hosts: a few counters and texts that depend on the order of all changes.
#ifndef TESTS_SITE_SIMULATION_MODEL_H_
#define TESTS_SITE_SIMULATION_MODEL_H_

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace dorn::site::simulation {

class Model {
 public:
  // Each host begins with other dialogs, until it has those of the site.
  explicit Model(std::uint64_t beginning) : mChain(beginning) {}

  void Apply(const std::string& dialog, const std::string& command);

  std::string Save() const;
  bool Load(std::string_view bytes);

  // So many changes were applied since the site began.
  std::size_t Count() const { return mCount; }

 private:
  struct Dialog {
    std::uint64_t counter = 0;
    std::string last;
  };

  std::map<std::string, Dialog> mDialogs;
  std::uint64_t mCount = 0;
  std::uint64_t mChain;  // Of all changes, in their order.
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_MODEL_H_
