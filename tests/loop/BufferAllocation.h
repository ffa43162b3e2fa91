// Control over the allocation of receive buffers, and a count of all: the test program replaces
// operator new.
#ifndef TESTS_LOOP_BUFFERALLOCATION_H_
#define TESTS_LOOP_BUFFERALLOCATION_H_

class BufferAllocation {
 public:
  // While one lives, each allocation fails.
  class FailNew {
   public:
    FailNew();
    ~FailNew();
    FailNew(const FailNew&) = delete;
    FailNew& operator=(const FailNew&) = delete;
  };

  // While one lives, fresh memory is filled with a byte, which an initialised buffer overwrites.
  class FillNew {
   public:
    explicit FillNew(char byte);
    ~FillNew();
    FillNew(const FillNew&) = delete;
    FillNew& operator=(const FillNew&) = delete;
  };

  // What this program has allocated since it was made.
  class CountNew {
   public:
    CountNew();
    long Count() const;

   private:
    long mBefore;
  };
};

#endif  // TESTS_LOOP_BUFFERALLOCATION_H_
