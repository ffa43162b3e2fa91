// How many bottles have been filled in all, over every stop of the host.
#ifndef FILLER_TOTAL_H_
#define FILLER_TOTAL_H_

#include <string>

class Total {
 public:
  // Goes on from the number in that file; from 0 while there is none.
  void Load(const std::string& file);

  // Writes beside the file and renames, so that there is a whole one at any time. False, with a
  // line on standard error, when that fails.
  bool Save() const;

  void Add(int bottles) { mBottles += bottles; }
  int Bottles() const { return mBottles; }

 private:
  std::string mFile;
  int mBottles = 0;
};

#endif  // FILLER_TOTAL_H_
