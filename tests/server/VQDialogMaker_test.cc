#include "dorn/server/VQDialogMaker.h"

#include "tests/server/ServerTest.h"
#include "tests/support/VirtualSlot.h"

namespace {

class VQDialogMakerTest : public ServerTest {};

// Hosts write either form, with or without `override`.
class OneForm : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) override { return new HookedDialog; }
};

class ConstForm : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) const override { return new HookedDialog; }
};

class BothForms : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) override { return new HookedDialog; }
  VQDialog* CreateDialog(const KZString&) const override {
    ADD_FAILURE() << "The form without const is the one that the library calls.";
    return nullptr;
  }
};

class NamingMaker : public VQDialogMaker {
 public:
  const char* GetFilename(const KZString&) const override { return "a.json"; }
};

template <typename Maker>
void ExpectThatItsDialogsAreMade() {
  Maker hostMaker;
  TestApp other(hostMaker);
  EXPECT_NE(nullptr, other.CreateDialog("a"));
  EXPECT_TRUE(other.DialogList()->Has("a"));
  other.DialogList()->Remove("a");
}

TEST_F(VQDialogMakerTest, KeepsTheSlotOrderThatHostsDeriveFrom) {
  EXPECT_EQ(
      2, VirtualSlot<const char* (VQDialogMaker::*)(const KZString&)>(&VQDialogMaker::GetFilename));
  EXPECT_EQ(
      3, VirtualSlot<VQDialog* (VQDialogMaker::*)(const KZString&)>(&VQDialogMaker::CreateDialog));
  // The forms that were added for hosts that write const lie behind.
  EXPECT_LT(3, VirtualSlot<VQDialog* (VQDialogMaker::*)(const KZString&) const>(
                   &VQDialogMaker::CreateDialog));
}

TEST_F(VQDialogMakerTest, HasNoMembers) { EXPECT_EQ(sizeof(void*), sizeof(VQDialogMaker)); }

TEST_F(VQDialogMakerTest, MakesNothingByDefault) {
  VQDialogMaker plain;
  EXPECT_EQ(nullptr, plain.GetFilename("a"));
  EXPECT_EQ(nullptr, plain.CreateDialog("a"));
  TestApp other(plain);
  EXPECT_EQ(nullptr, other.CreateDialog("a"));
}

TEST_F(VQDialogMakerTest, AHostMayOverrideTheFormWithoutConst) {
  ExpectThatItsDialogsAreMade<OneForm>();
}

TEST_F(VQDialogMakerTest, AHostMayOverrideTheConstForm) {
  ExpectThatItsDialogsAreMade<ConstForm>();
}

TEST_F(VQDialogMakerTest, TheFormOfAFileNameWithoutConstAsksTheOther) {
  NamingMaker naming;
  VQDialogMaker& plain = naming;
  EXPECT_STREQ("a.json", plain.GetFilename("a"));
}

TEST_F(VQDialogMakerTest, AHostMayOverrideBothForms) { ExpectThatItsDialogsAreMade<BothForms>(); }

}  // namespace
