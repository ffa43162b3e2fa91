// Which class an object is of: exactly one of the library's, one that derives from it, or another.
#include "dorn/model/ObjectClass.h"

#include <gtest/gtest.h>

#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonResource.h"

namespace {

template <class Base>
class OfAHost : public Base {
 public:
  using Base::Base;
  bool HasGroup() override { return Base::HasGroup(); }
};

// One object of each class, or of a host's classes that derive from them.
template <template <class> class Of>
struct OneOfEach {
  Of<VQJsonObject> object{nullptr};
  Of<VQJsonRadioButtonObject> radioButton{nullptr};
  Of<VQJsonGrid> grid{nullptr};
  Of<VQJsonObjectHasList> group{"Objects", nullptr};
  Of<VQJsonRadioButtonGroup> radioGroup{nullptr};
  Of<VQJsonCommand> command{"A"};
  Of<VQJsonCommands> commands;
  Of<VQJsonResource> resource;
};

template <class T>
using Exactly = T;

TEST(ObjectClassTest, EachOfTheLibrarysClassesIsItsOwn) {
  const OneOfEach<Exactly> own;
  EXPECT_TRUE(dorn::IsOwnClass(own.object));
  EXPECT_TRUE(dorn::IsOwnClass(own.radioButton));
  EXPECT_TRUE(dorn::IsOwnClass(own.grid));
  EXPECT_TRUE(dorn::IsOwnClass(own.group));
  EXPECT_TRUE(dorn::IsOwnClass(own.radioGroup));
  EXPECT_TRUE(dorn::IsOwnClass(own.command));
  EXPECT_TRUE(dorn::IsOwnClass(own.commands));
  EXPECT_TRUE(dorn::IsOwnClass(own.resource));
}

TEST(ObjectClassTest, AHostsClassIsNone) {
  const OneOfEach<OfAHost> hosts;
  EXPECT_FALSE(dorn::IsOwnClass(hosts.object));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.radioButton));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.grid));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.group));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.radioGroup));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.command));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.commands));
  EXPECT_FALSE(dorn::IsOwnClass(hosts.resource));
}

TEST(ObjectClassTest, OnlyAGridIsOne) {
  const OneOfEach<Exactly> own;
  EXPECT_TRUE(dorn::IsGrid(own.grid));
  EXPECT_FALSE(dorn::IsGrid(own.object));
  EXPECT_FALSE(dorn::IsGrid(own.radioButton));
  EXPECT_FALSE(dorn::IsGrid(own.group));
  EXPECT_FALSE(dorn::IsGrid(OfAHost<VQJsonGrid>(nullptr)));
}

TEST(ObjectClassTest, WhatDerivesFromARadioGroupIsOne) {
  OneOfEach<Exactly> own;
  OneOfEach<OfAHost> hosts;
  EXPECT_EQ(dorn::AsRadioGroup(own.radioGroup), &own.radioGroup);
  EXPECT_EQ(dorn::AsRadioGroup(hosts.radioGroup), &hosts.radioGroup);
  VQJsonObject* const others[] = {&own.object,  &own.radioButton, &own.grid,     &own.group,
                                  &own.command, &own.commands,    &own.resource, &hosts.group};
  for (VQJsonObject* const other : others) EXPECT_EQ(dorn::AsRadioGroup(*other), nullptr);
}

TEST(ObjectClassTest, WhatDerivesFromACommandIsOne) {
  OneOfEach<Exactly> own;
  OneOfEach<OfAHost> hosts;
  EXPECT_EQ(dorn::AsCommand(own.command), &own.command);
  EXPECT_EQ(dorn::AsCommand(hosts.command), &hosts.command);
  VQJsonObject* const others[] = {&own.object,     &own.radioButton, &own.grid,     &own.group,
                                  &own.radioGroup, &own.commands,    &own.resource, &hosts.group};
  for (VQJsonObject* const other : others) EXPECT_EQ(dorn::AsCommand(*other), nullptr);
}

// As copies have it in hosts that were compiled when they were made inline.
TEST(ObjectClassTest, WithTheTagOfAnyGroupTheClassCounts) {
  VQJsonRadioButtonGroup radioGroup(nullptr);
  VQJsonCommand command("A");
  for (VQJsonObject* const object :
       {static_cast<VQJsonObject*>(&radioGroup), static_cast<VQJsonObject*>(&command)}) {
    dorn::ObjectClass::SetTag(*object, dorn::kTagGroup);
  }
  EXPECT_EQ(dorn::AsRadioGroup(radioGroup), &radioGroup);
  EXPECT_EQ(dorn::AsCommand(command), &command);
  EXPECT_EQ(dorn::AsRadioGroup(command), nullptr);
  EXPECT_EQ(dorn::AsCommand(radioGroup), nullptr);
}

}  // namespace
