#include "tests/base/UntypedStream.h"

#include "dorn/base/KZLog.h"

namespace {

class Counting : public KZStream {
 public:
  int Output(char*) override { return 1; }
};

}  // namespace

std::unique_ptr<KZStream> MakeUntypedStream() { return std::make_unique<KZStream>(); }

std::unique_ptr<KZStream> MakeUntypedCountingStream() { return std::make_unique<Counting>(); }
