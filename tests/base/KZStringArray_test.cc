#include <climits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

// The array is reachable from the header of the string.
#include "dorn/base/KZString.h"
#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

static_assert(std::is_base_of_v<std::vector<KZString>, KZStringArray>);
static_assert(std::is_convertible_v<KZStringArray*, std::vector<KZString>*>, "the base is public");
static_assert(std::has_virtual_destructor_v<KZStringArray>);
static_assert(std::is_same_v<decltype(KZStringArray::mZero), KZString>);
static_assert(std::is_copy_constructible_v<KZStringArray>);
static_assert(std::is_same_v<decltype(std::declval<KZStringArray&>()[0]), KZString&>);
static_assert(std::is_same_v<decltype(std::declval<KZStringArray&>().Size()), int>);
static_assert(std::is_same_v<decltype(std::declval<KZStringArray&>().IsEmpty()), int>);
static_assert(
    std::is_same_v<decltype(std::declval<KZStringArray&>() += KZString()), KZStringArray&>);

TEST(KZStringArrayTest, IsEmptyByDefault) {
  KZStringArray array;
  EXPECT_EQ(array.Size(), 0);
  EXPECT_EQ(array.IsEmpty(), 1);
  EXPECT_TRUE(array.mZero == "");
}

TEST(KZStringArrayTest, AppendsCopiesInOrder) {
  KZStringArray array;
  KZString text("a");
  EXPECT_EQ(&(array += text), &array);
  text = "changed";
  (array += "b") += KZString("c");
  EXPECT_EQ(array.Size(), 3);
  EXPECT_EQ(array.IsEmpty(), 0);
  EXPECT_TRUE(array[0] == "a");
  EXPECT_TRUE(array[1] == "b");
  EXPECT_TRUE(array[2] == "c");
}

TEST(KZStringArrayTest, AppendsAnElementOfItsOwn) {
  KZStringArray array;
  array += "a text that is too long for the small string buffer";
  for (int i = 0; i < 20; ++i) array += array[0];
  EXPECT_EQ(array.Size(), 21);
  EXPECT_TRUE(array[20] == "a text that is too long for the small string buffer");
  array += array[1000];
  EXPECT_TRUE(array[21] == "");
}

TEST(KZStringArrayTest, EmptyRemovesAllElements) {
  KZStringArray array;
  (array += "a") += "b";
  array.Empty();
  EXPECT_EQ(array.Size(), 0);
  EXPECT_EQ(array.IsEmpty(), 1);
}

TEST(KZStringArrayTest, ElementsCanBeChangedThroughTheIndex) {
  KZStringArray array;
  array += "a";
  array[0] = "changed";
  EXPECT_TRUE(array[0] == "changed");
}

TEST(KZStringArrayTest, IndexPastTheEndGivesTheEmptyMember) {
  KZStringArray array;
  array += "a";
  for (const int index : {1, 2, 100, INT_MAX}) {
    EXPECT_EQ(&array[index], &array.mZero) << index;
    EXPECT_TRUE(array[index] == "") << index;
  }
  KZStringArray none;
  EXPECT_EQ(&none[0], &none.mZero);
  EXPECT_EQ(array.Size(), 1);
}

TEST(KZStringArrayTest, IndexPastTheEndStaysEmptyAfterACallerWroteToIt) {
  KZStringArray array;
  array[0] = "written";
  EXPECT_TRUE(array[0] == "");
  EXPECT_TRUE(array[7] == "");
  EXPECT_EQ(array.Size(), 0);
}

TEST(KZStringArrayTest, NegativeIndexThrowsOutOfRange) {
  KZStringArray array;
  (array += "a") += "b";
  for (const int index : {-1, -2, -1000, INT_MIN}) {
    EXPECT_THROW(static_cast<void>(array[index]), std::out_of_range) << index;
  }
  KZStringArray none;
  EXPECT_THROW(static_cast<void>(none[-1]), std::out_of_range);
}

TEST(KZStringArrayTest, FindGivesTheFirstIndexOrMinusOne) {
  KZStringArray array;
  (((array += "a") += "b") += "a") += KZString("b\0c"s);
  const std::pair<std::string, int> rows[] = {
      {"a", 0}, {"b", 1}, {"A", -1}, {"", -1}, {"b\0c"s, 3}, {"b\0d"s, -1},
  };
  for (const auto& [text, expected] : rows) {
    KZString wanted(text);
    EXPECT_EQ(array.Find(wanted), expected) << text;
    EXPECT_TRUE(wanted == text);
  }
  KZString wanted("a");
  KZStringArray none;
  EXPECT_EQ(none.Find(wanted), -1);
}

TEST(KZStringArrayTest, FindMayBeGivenAnElement) {
  KZStringArray array;
  (array += "a") += "b";
  EXPECT_EQ(array.Find(array[1]), 1);
}

TEST(KZStringArrayTest, CopiesAreIndependent) {
  KZStringArray array;
  array += "a";
  KZStringArray copy(array);
  copy[0] = "changed";
  copy += "b";
  EXPECT_TRUE(array[0] == "a");
  EXPECT_EQ(array.Size(), 1);
}

TEST(KZStringArrayTest, DeletesADerivedClassThroughItsOwnPointer) {
  struct Derived : KZStringArray {
    explicit Derived(bool* flag) : destroyed(flag) {}
    ~Derived() override { *destroyed = true; }
    bool* destroyed;
  };
  bool destroyed = false;
  std::unique_ptr<KZStringArray>(new Derived(&destroyed)).reset();
  EXPECT_TRUE(destroyed);
}

}  // namespace
