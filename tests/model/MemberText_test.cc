// What the texts of members take of the memory. What they say is in VQJsonObjectOutput_test.cc.
#include "dorn/model/MemberText.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/model/Trees.h"
#include "tests/support/Allocations.h"

namespace {

class MemberTextTest : public testing::Test {
 protected:
  MemberTextTest() {
    for (char key = 'a'; key < 'p'; ++key) mObject.SetValue(std::string(1, key), "text", 0, "");
  }

  // The allocations for a text with the attributes behind so many other items.
  std::size_t AllocationsBehind(int items) const {
    std::string text;
    const Allocations allocations;
    dorn::AppendAttributes(text, mObject, items);
    return allocations.Count();
  }

  VQJsonObject mObject{nullptr};
};

TEST_F(MemberTextTest, UsualAttributesTakeTheirMemoryAtOnce) {
  for (const int items : {0, 1, 7}) EXPECT_EQ(AllocationsBehind(items), 1U) << items;
}

// Setting a number leaves the container of a value.
TEST_F(MemberTextTest, AContainerThatIsNotWrittenCostsNothing) {
  mObject.SetValue("a", VQJArray{VQValue(1)}, 0, "");
  mObject.mList["a"] = 5;
  ASSERT_NE(mObject.mList["a"].mArray, nullptr);
  EXPECT_EQ(AllocationsBehind(0), 1U);
}

TEST_F(MemberTextTest, AnObjectTakesTheMemoryOfItsTextAtOnce) {
  std::string text;
  const Allocations allocations;
  dorn::AppendObject(text, mObject);
  EXPECT_EQ(allocations.Count(), 1U);
  EXPECT_EQ(text.size(), 15 * 11 + 1U);
}

}  // namespace
