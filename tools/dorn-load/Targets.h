// The objects of a dialog that are clicked and edited.
#ifndef TOOLS_DORN_LOAD_TARGETS_H_
#define TOOLS_DORN_LOAD_TARGETS_H_

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "station/Screen.h"

namespace dorn::load {

struct Target {
  enum class Kind {
    kButton,  // Has no value.
    kCheck,   // ON and OFF in turn.
    kText,    // So many digits as fit.
    kNumber   // One after the other of what is allowed.
  };

  std::string mName;
  Kind mKind = Kind::kButton;
  long long mMin = 0;
  long long mStep = 1;
  long long mValues = 1;  // How many there are before the first one comes again.
  int mDigits = 0;        // Of a text.

  // The value that is set when it is touched for the n-th time; empty for a button.
  std::string Value(unsigned long long n) const;
};

class Targets {
 public:
  // What an operator could touch of `screen`: visible, enabled, not read-only, and no button that
  // goes to another dialog. Of these only those named in `only`, if it is not empty.
  Targets(const dorn::station::Screen& screen, const std::vector<std::string>& only);

  const std::vector<Target>& All() const { return mAll; }
  const std::vector<std::size_t>& Clicks() const { return mClicks; }  // BUTTON and CHECK.
  const std::vector<std::size_t>& Edits() const { return mEdits; }    // EDIT and SLIDER.
  const Target& operator[](std::size_t index) const { return mAll[index]; }
  // Its number; the number of all when there is none of this name.
  std::size_t Find(const std::string& name) const;
  // Those of `only` that are not among them.
  const std::vector<std::string>& Missing() const { return mMissing; }

 private:
  void Collect(const std::vector<dorn::station::Item>& items, const std::vector<std::string>& only);
  void Add(Target target);

  std::vector<Target> mAll;
  std::vector<std::size_t> mClicks;
  std::vector<std::size_t> mEdits;
  std::unordered_map<std::string, std::size_t> mByName;
  std::vector<std::string> mMissing;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_TARGETS_H_
