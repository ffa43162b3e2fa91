// What hosts have compiled into them: how large the public classes are, and where the members of a
// class that derives from them begin. A host that was built against the headers of 1.8.7 runs with
// every later libdorn.so.1, so these numbers never change: state that is added later lives behind a
// pointer that is there already, in the place of private members that are gone, or in an object of
// the library's own beside the public one; what is freed is filled up.
#include <gtest/gtest.h>

#include <cstddef>

#include "dorn/dorn.h"

namespace {

// libstdc++ on a 64-bit machine, as every host uses it.
static_assert(sizeof(void*) == 8 && sizeof(std::string) == 32);

struct Layout {
  const char* name;
  std::size_t size;
  std::size_t released;
  std::size_t end;  // Where the first member of a derived class lies.
  std::size_t releasedEnd;
};

template <class Base>
struct Derived : Base {
  char first;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define LAYOUT(Class, size, end) \
  Layout { #Class, sizeof(Class), size, offsetof(Derived <Class>, first), end }

const Layout kLayouts[] = {
    LAYOUT(KZString, 40, 40),
    LAYOUT(KZStringArray, 72, 72),
    LAYOUT(KZSemaphore, 48, 44),
    LAYOUT(KZStream, 8, 8),
    LAYOUT(KZLog, 40, 40),
    LAYOUT(KZFdData, 152, 152),
    LAYOUT(KZFdDataList, 240, 240),
    LAYOUT(KZTimerData, 72, 72),
    LAYOUT(KZApplication, 328, 328),
    LAYOUT(KZSocket, 200, 200),
    LAYOUT(KZClientSocket, 208, 208),
    LAYOUT(KZServerSocket, 200, 200),
    LAYOUT(KZSocketUdp, 208, 208),
    LAYOUT(value, 16, 16),
    LAYOUT(input, 32, 32),
    LAYOUT(JsonParser, 32, 32),
    LAYOUT(VQValue, 72, 72),
    LAYOUT(VQJsonObject, 216, 213),
    LAYOUT(VQJsonObjectHasList, 280, 280),
    LAYOUT(VQJsonRadioButtonObject, 216, 213),
    LAYOUT(VQJsonRadioButtonGroup, 280, 280),
    LAYOUT(VQJsonCommand, 280, 280),
    LAYOUT(VQJsonCommands, 280, 280),
    LAYOUT(VQJsonResource, 280, 280),
    LAYOUT(VQJsonGrid, 240, 240),
    LAYOUT(VQJsonParser, 1, 0),
    LAYOUT(VQDialogMaker, 8, 8),
    LAYOUT(VQApplication, 688, 682),
    LAYOUT(VQStationSocket, 216, 212),
    LAYOUT(VQClientSocket, 360, 360),
    LAYOUT(VQDialog, 136, 136),
    LAYOUT(VQDialogList, 56, 56),
    LAYOUT(VQSession, 64, 60),
    LAYOUT(VQSessionList, 56, 56),
};
#undef LAYOUT
#pragma GCC diagnostic pop

TEST(PublicLayoutTest, ClassesAreAsLargeAsThoseThatHostsWereCompiledWith) {
  for (const Layout& layout : kLayouts) EXPECT_EQ(layout.released, layout.size) << layout.name;
}

TEST(PublicLayoutTest, ClassesLeaveTheMembersOfDerivedOnesAlone) {
  for (const Layout& layout : kLayouts) EXPECT_LE(layout.end, layout.releasedEnd) << layout.name;
}

}  // namespace
