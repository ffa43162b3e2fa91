#include "dorn/model/FreshAllocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

#include "dorn/model/VQJsonObject.h"

namespace {

using dorn::ForgetFresh;
using dorn::NoteFresh;
using dorn::TakeFresh;

// Storage side by side, of which each piece has room for one object.
class FreshAllocationsTest : public testing::Test {
 protected:
  static constexpr std::size_t kMost = 64;

  void* At(std::size_t i) { return &mPieces[i]; }
  void Note(std::size_t i) { NoteFresh(At(i), sizeof mPieces[i]); }
  bool Take(std::size_t i) { return TakeFresh(At(i)); }

  void TearDown() override {
    for (std::size_t i = 0; i <= kMost; ++i) ForgetFresh(At(i));
  }

 private:
  struct Piece {
    char bytes[16];
  };

  Piece mPieces[kMost + 1] = {};
};

TEST_F(FreshAllocationsTest, TheOldestOfMoreThanSixtyFourIsForgotten) {
  for (std::size_t i = 0; i < kMost; ++i) Note(i);
  EXPECT_TRUE(Take(0));
  Note(0);
  Note(kMost);
  EXPECT_FALSE(Take(1));
  for (const std::size_t i : {kMost, std::size_t{0}, std::size_t{2}}) EXPECT_TRUE(Take(i)) << i;
}

TEST_F(FreshAllocationsTest, EachIsTakenOnceInAnyOrder) {
  for (std::size_t i = 0; i < 5; ++i) Note(i);
  for (const std::size_t i : {1, 0, 4, 2, 3}) {
    EXPECT_TRUE(Take(i)) << i;
    EXPECT_FALSE(Take(i)) << i;
  }
}

TEST_F(FreshAllocationsTest, WhatLiesBehindTheStorageDoesNotTakeIt) {
  Note(0);
  EXPECT_FALSE(Take(1));
  EXPECT_TRUE(Take(0));
}

TEST_F(FreshAllocationsTest, AnObjectInsideTheStorageTakesItInVain) {
  Note(0);
  EXPECT_FALSE(TakeFresh(static_cast<char*>(At(0)) + 1));
  EXPECT_FALSE(Take(0));
}

TEST_F(FreshAllocationsTest, WhatIsForgottenIsNotTaken) {
  for (std::size_t i = 0; i < 4; ++i) Note(i);
  ForgetFresh(At(0));
  ForgetFresh(At(2));
  ForgetFresh(At(5));
  EXPECT_FALSE(Take(0));
  EXPECT_FALSE(Take(2));
  EXPECT_TRUE(Take(1));
  EXPECT_TRUE(Take(3));
}

// A constructor that throws has the storage freed by the operator that fits its allocation.
TEST_F(FreshAllocationsTest, FreedStorageIsForgottenWhicheverOperatorFreesIt) {
  void* const usual = VQJsonObject::operator new(sizeof(VQJsonObject));
  VQJsonObject::operator delete(usual);
  EXPECT_FALSE(TakeFresh(usual));
  void* const quiet = VQJsonObject::operator new(sizeof(VQJsonObject), std::nothrow);
  VQJsonObject::operator delete(quiet, std::nothrow);
  EXPECT_FALSE(TakeFresh(quiet));
}

}  // namespace
