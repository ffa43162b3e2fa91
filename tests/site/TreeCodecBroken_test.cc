// Bytes that nobody has written: they come from the log, where anything may be.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "dorn/model/VQJsonGrid.h"
#include "site/core/Bytes.h"
#include "site/core/TreeCodec.h"
#include "tests/model/Trees.h"
#include "tests/support/TreeDump.h"

namespace dorn::site {
namespace {

enum : unsigned char { kObject = 0, kGroup = 3, kResource = 7 };

// An object of one of those classes; places are counted from 1 on.
struct Object {
  unsigned char kind;
  std::uint32_t parent;
  std::string members;
  std::vector<std::uint32_t> children;
};

std::string NoMembers() { return std::string(4, '\0'); }

std::string BytesOf(const std::vector<Object>& objects) {
  ByteWriter out;
  out.Put(static_cast<std::uint32_t>(objects.size()));
  for (const Object& object : objects) {
    out.Put(object.kind);
    out.Put(10);
    out.Put(object.parent);
    out.Put("name");
    for (const char byte : object.members) out.Put(byte);
    if (object.kind < kGroup) continue;
    out.Put("Objects");
    out.Put(static_cast<std::uint32_t>(object.children.size()));
    for (const std::uint32_t child : object.children) out.Put(child);
  }
  return out.Take();
}

bool IsRead(const std::vector<Object>& objects) {
  VQJsonResource tree;
  return DecodeTree(BytesOf(objects), tree);
}

// A root without children, which has these members.
bool IsRead(ByteWriter& members) { return IsRead({{kResource, 0, members.Take(), {}}}); }

// Some of everything, and little of it.
std::string SomeTree() {
  VQJsonResource tree;
  VQJsonObjectHasList* group = AddGroup(tree, "g");
  VQJsonObject* child = AddChild(*group, "c");
  const VQValue list(VQJArray{1, "x", true});
  child->mList["a"] = list;
  child->mList["b"] = VQValue(VQJObject{{"m", list}, {"n", VQValue()}});
  AddGroup(tree, "h")->AddObject(child, 0);
  AddChild<VQJsonGrid>(tree, "t")->mData = {{}, {VQValue(1), VQValue("y")}};
  AddChild<VQJsonRadioButtonObject>(*AddChild<VQJsonRadioButtonGroup>(tree, "r"), "o");
  tree.mObjectList.push_back(nullptr);
  return EncodeTree(tree);
}

TEST(TreeCodecBrokenTest, AByteTooFewOrTooManyIsRefusedAndTheTreeStays) {
  const std::string bytes = SomeTree();
  VQJsonResource tree;
  AddChild(*AddGroup(tree, "group"), "child")->SetDirty("Value");
  const std::string before = DumpOf(tree);

  for (std::size_t size = 0; size < bytes.size(); ++size) {
    ASSERT_FALSE(DecodeTree(std::string_view(bytes).substr(0, size), tree)) << size;
    ASSERT_EQ(DumpOf(tree), before) << size;
  }
  EXPECT_FALSE(DecodeTree(bytes + '\0', tree));
  EXPECT_EQ(DumpOf(tree), before);
}

TEST(TreeCodecBrokenTest, EveryFlippedBitIsRefusedOrReadExactly) {
  const std::string bytes = SomeTree();
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    std::string flipped = bytes;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
    VQJsonResource tree;
    if (DecodeTree(flipped, tree)) {
      ASSERT_EQ(EncodeTree(tree), flipped) << bit;
    } else {
      ASSERT_TRUE(tree.mObjectList.empty()) << bit;
    }
  }
}

TEST(TreeCodecBrokenTest, EveryByteMayBecomeAnyOther) {
  const std::string bytes = SomeTree();
  for (std::size_t place = 0; place < bytes.size(); ++place) {
    for (const char byte : {'\0', '\1', '\5', '\x7f', '\xff'}) {
      std::string other = bytes;
      other[place] = byte;
      VQJsonResource tree;
      if (DecodeTree(other, tree)) {
        ASSERT_EQ(EncodeTree(tree), other) << place;
      }
    }
  }
}

// The other tests of this file change one thing of such trees.
TEST(TreeCodecBrokenTest, WhatIsWrittenByHandHereIsReadWhenItIsSound) {
  EXPECT_TRUE(IsRead({{kResource, 0, NoMembers(), {2, 4}},
                      {kGroup, 1, NoMembers(), {3}},
                      {kObject, 4, NoMembers(), {}},
                      {kGroup, 1, NoMembers(), {3}}}));
}

TEST(TreeCodecBrokenTest, AnObjectBelowItselfIsRefused) {
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {1}}}));
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {2}}, {kGroup, 1, NoMembers(), {2}}}));
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {2}},
                       {kGroup, 1, NoMembers(), {3}},
                       {kGroup, 1, NoMembers(), {2}}}));
}

TEST(TreeCodecBrokenTest, ObjectsThatAreNotMetOrMetElsewhereAreRefused) {
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {}}, {kObject, 0, NoMembers(), {}}}));
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {3, 2}},
                       {kObject, 0, NoMembers(), {}},
                       {kObject, 0, NoMembers(), {}}}));
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {2}}}));
}

TEST(TreeCodecBrokenTest, AParentThatIsNotThereOrBelowItselfIsRefused) {
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {2}}, {kObject, 3, NoMembers(), {}}}));
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {2}}, {kObject, 2, NoMembers(), {}}}));
  EXPECT_FALSE(IsRead({{kResource, 0, NoMembers(), {2, 3}},
                       {kObject, 3, NoMembers(), {}},
                       {kObject, 2, NoMembers(), {}}}));
  EXPECT_FALSE(IsRead({{kResource, 2, NoMembers(), {2}}, {kObject, 1, NoMembers(), {}}}));
}

// A group in a group and so on; the root is the first.
std::vector<Object> Chain(std::uint32_t length) {
  std::vector<Object> chain = {{kResource, 0, NoMembers(), {2}}};
  for (std::uint32_t i = 2; i <= length; ++i)
    chain.push_back({kGroup, i - 1, NoMembers(), {i + 1}});
  chain.back().children.clear();
  return chain;
}

TEST(TreeCodecBrokenTest, TooDeepAnObjectIsRefused) {
  EXPECT_TRUE(IsRead(Chain(1024)));
  EXPECT_FALSE(IsRead(Chain(1025)));
  EXPECT_FALSE(IsRead(Chain(50'000)));
}

// The deep part is met where it is not deep, and shared where it is.
TEST(TreeCodecBrokenTest, SharingDoesNotHideTheDepth) {
  for (const std::uint32_t above : {512U, 513U}) {
    std::vector<Object> objects = Chain(513);  // The root, and 512 below it.
    objects[0].children.push_back(514);
    for (std::uint32_t i = 1; i < above; ++i) {
      objects.push_back({kGroup, 1, NoMembers(), {513 + i + 1}});
    }
    objects.back().children = {2};
    EXPECT_EQ(IsRead(objects), above == 512) << above;
  }
}

TEST(TreeCodecBrokenTest, ObjectsThatMultiplyAreRefused) {
  const auto doubling = [](std::uint32_t levels) {
    std::vector<Object> objects = Chain(levels);
    for (std::uint32_t i = 0; i + 1 < levels; ++i) objects[i].children = {i + 2, i + 2};
    return objects;
  };
  EXPECT_TRUE(IsRead(doubling(19)));
  EXPECT_FALSE(IsRead(doubling(20)));
  EXPECT_FALSE(IsRead(doubling(1024)));
}

// Members that are one array, "a", that holds an array and so on.
void PutNested(ByteWriter& out, int depth) {
  for (int i = 0; i < depth; ++i) {
    out.Put('\x15');
    out.Put(0);
    out.Put(i + 1 < depth ? 1 : 0);
  }
}

TEST(TreeCodecBrokenTest, TooDeepAValueIsRefused) {
  for (const int depth : {1024, 1025, 30'000}) {
    ByteWriter out;
    out.Put(1);
    out.Put("a");
    PutNested(out, depth);
    EXPECT_EQ(IsRead(out), depth == 1024) << depth;
  }
}

// Each of the arrays holds the one before it so many times.
void PutMultiplied(ByteWriter& out, int levels, int times) {
  out.Put(levels);
  for (int level = 0; level < levels; ++level) {
    out.Put(std::string{static_cast<char>('a' + level / 256), static_cast<char>(level % 256)});
    out.Put('\x15');
    out.Put(0);
    out.Put(level == 0 ? 0 : times);
    for (int i = 0; level > 0 && i < times; ++i) {
      out.Put('\x15');
      out.Put(level);
    }
  }
}

TEST(TreeCodecBrokenTest, ValuesThatMultiplyAreRefused) {
  for (const int levels : {20, 24, 250}) {
    ByteWriter out;
    PutMultiplied(out, levels, 2);
    EXPECT_EQ(IsRead(out), levels == 20) << levels;
  }
}

TEST(TreeCodecBrokenTest, SharingDoesNotHideTheDepthOfValues) {
  for (const int levels : {1024, 1025}) {
    ByteWriter out;
    PutMultiplied(out, levels, 1);
    EXPECT_EQ(IsRead(out), levels == 1024) << levels;
  }
}

TEST(TreeCodecBrokenTest, KeysStandOnceAndInTheirOrder) {
  const auto twoKeys = [](const char* first, const char* second) {
    ByteWriter out;
    out.Put(2);
    for (const char* key : {first, second}) {
      out.Put(std::string(key));
      out.Put('\1');
      out.Put(5);
      out.Put(std::string("5"));
    }
    return IsRead(out);
  };
  EXPECT_TRUE(twoKeys("a", "b"));
  EXPECT_FALSE(twoKeys("a", "a"));
  EXPECT_FALSE(twoKeys("b", "a"));
}

TEST(TreeCodecBrokenTest, ContentsThatAreNotYetCompleteAreNotShared) {
  for (const int number : {1, 2}) {
    ByteWriter out;
    out.Put(2);
    out.Put("a");
    out.Put('\x15');
    out.Put(0);
    out.Put(0);
    out.Put("b");
    out.Put('\x15');
    out.Put(number);
    EXPECT_EQ(IsRead(out), number == 1);
  }
  ByteWriter inItself;
  inItself.Put(1);
  inItself.Put("a");
  inItself.Put('\x15');
  inItself.Put(0);
  inItself.Put(1);
  inItself.Put('\x15');
  inItself.Put(1);
  EXPECT_FALSE(IsRead(inItself));
}

}  // namespace
}  // namespace dorn::site
