#include "dorn/model/VQJsonRadioButton.h"

#include <gtest/gtest.h>

#include "tests/model/Trees.h"

namespace {

VQJsonRadioButtonObject* AddButton(VQJsonObjectHasList& group, const char* name, const char* attr) {
  auto* button = AddChild<VQJsonRadioButtonObject>(group, name);
  button->VQJsonObject::SetValue("Type", "RADIOBTN", 0, "");
  button->VQJsonObject::SetValue("Attr", attr, 0, "");
  return button;
}

std::string AttrOf(VQJsonObject* object) { return object->GetValue("Attr").GetChar(); }

// A radio group of three buttons, the second one on.
class VQJsonRadioButtonTest : public testing::Test {
 protected:
  VQJsonRadioButtonGroup mGroup{nullptr};
  VQJsonRadioButtonObject* mFirst = AddButton(mGroup, "first", "OFF");
  VQJsonRadioButtonObject* mSecond = AddButton(mGroup, "second", "ON");
  VQJsonRadioButtonObject* mThird = AddButton(mGroup, "third", "OFF");
};

TEST_F(VQJsonRadioButtonTest, TheGroupIsAGroupWithListKeyObjects) {
  EXPECT_EQ(Plain(mGroup.mListKey), "Objects");
  EXPECT_TRUE(mGroup.HasGroup());
  EXPECT_FALSE(mFirst->HasGroup());
  EXPECT_EQ(mFirst->GetParent(), &mGroup);
}

TEST_F(VQJsonRadioButtonTest, SwitchingOneOnSwitchesTheOthersOff) {
  EXPECT_EQ(mFirst->SetValue("Attr", "ON", -1, "S1"), mFirst);
  EXPECT_EQ(AttrOf(mFirst), "ON");
  EXPECT_EQ(AttrOf(mSecond), "OFF");
  EXPECT_EQ(AttrOf(mThird), "OFF");
}

TEST_F(VQJsonRadioButtonTest, TheOneSwitchedOnIsTaggedAndTheOneSwitchedOffIsNot) {
  mFirst->SetValue("Attr", "ON", -1, "S1");
  EXPECT_EQ(DirtyOf(*mFirst), (Texts{"Attr|:|S1"}));
  EXPECT_EQ(DirtyOf(*mSecond), (Texts{"Attr"}));
  EXPECT_EQ(DirtyOf(*mThird), (Texts{}));
}

TEST_F(VQJsonRadioButtonTest, OnAsValueSwitchesSiblingsOffByTheirAttr) {
  mThird->SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(AttrOf(mSecond), "OFF");
  EXPECT_EQ(AttrOf(mThird), "OFF");
  EXPECT_STREQ(mThird->GetValue("Value").GetChar(), "ON");
  EXPECT_EQ(DirtyOf(*mThird), (Texts{"Value|:|S1"}));
  EXPECT_EQ(DirtyOf(*mSecond), (Texts{"Attr"}));
}

TEST_F(VQJsonRadioButtonTest, AButtonThatIsOnByItsValueAloneStaysSo) {
  mThird->VQJsonObject::SetValue("Value", "ON", 0, "");
  mFirst->SetValue("Value", "ON", -1, "");
  EXPECT_STREQ(mThird->GetValue("Value").GetChar(), "ON");
  EXPECT_EQ(DirtyOf(*mThird), (Texts{}));
}

// The group is switched off before the new value is stored, the button itself included, so setting
// it on again counts as a change.
TEST_F(VQJsonRadioButtonTest, SwitchingOnWhatIsOnCountsAsAChange) {
  mSecond->SetValue("Attr", "ON", -1, "S1");
  EXPECT_EQ(AttrOf(mSecond), "ON");
  EXPECT_EQ(DirtyOf(*mSecond), (Texts{"Attr", "Attr|:|S1"}));
}

TEST_F(VQJsonRadioButtonTest, OnAsValueSwitchesItsOwnAttrOff) {
  mSecond->SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(AttrOf(mSecond), "OFF");
  EXPECT_EQ(DirtyOf(*mSecond), (Texts{"Attr", "Value|:|S1"}));
}

TEST_F(VQJsonRadioButtonTest, TheMarkingModeConcernsOnlyTheButtonItself) {
  mFirst->SetValue("Attr", "ON", 0, "S1");
  EXPECT_EQ(AttrOf(mFirst), "ON");
  EXPECT_EQ(DirtyOf(*mFirst), (Texts{}));
  EXPECT_EQ(AttrOf(mSecond), "OFF");
  EXPECT_EQ(DirtyOf(*mSecond), (Texts{"Attr"}));
}

struct HarmlessCase {
  const char* name;
  const char* key;
  VQValue value;
};

TEST_F(VQJsonRadioButtonTest, OtherKeysAndValuesSwitchNothing) {
  const HarmlessCase cases[] = {
      {"off", "Attr", VQValue("OFF")},
      {"value off", "Value", VQValue("OFF")},
      {"lower case", "Attr", VQValue("on")},
      {"another key", "Text", VQValue("ON")},
      {"key in lower case", "attr", VQValue("ON")},
      {"true", "Attr", VQValue(true)},
      {"one", "Value", VQValue(1)},
      {"longer", "Value", VQValue("ONE")},
      {"none", "Value", VQValue()},
      {"empty", "Attr", VQValue("")},
      {"an array", "Value", VQValue(VQJArray{VQValue("ON")})},
  };
  for (const HarmlessCase& c : cases) {
    SCOPED_TRACE(c.name);
    mFirst->SetValue(c.key, c.value, 1, "");
    EXPECT_EQ(AttrOf(mSecond), "ON");
    EXPECT_STREQ(mFirst->GetValue(c.key).GetChar(), VQValue(c.value).GetChar());
  }
}

TEST_F(VQJsonRadioButtonTest, SwitchOffLooksAtTheTypeAttributeOfEveryDirectChild) {
  auto* plain = AddChild(mGroup, "plain object of that type");
  plain->SetValue("Type", "RADIOBTN", 0, "");
  plain->SetValue("Attr", "ON", 0, "");
  auto* untyped = AddChild<VQJsonRadioButtonObject>(mGroup, "button without that type");
  untyped->VQJsonObject::SetValue("Attr", "ON", 0, "");
  auto* label = AddChild(mGroup, "label");
  label->SetValue("Type", "LABEL", 0, "");
  label->SetValue("Attr", "ON", 0, "");
  auto* inner = AddGroup(mGroup, "inner");
  auto* deep = AddButton(*inner, "deep", "ON");

  mGroup.SwitchOff();
  EXPECT_EQ(AttrOf(mSecond), "OFF");
  EXPECT_EQ(AttrOf(plain), "OFF");
  EXPECT_EQ(AttrOf(untyped), "ON");
  EXPECT_EQ(AttrOf(label), "ON");
  EXPECT_EQ(AttrOf(deep), "ON");
  EXPECT_EQ(KeysOf(*untyped), (Texts{"Attr", "Name"}));
}

TEST_F(VQJsonRadioButtonTest, SwitchOffMarksOnlyWhatWasOnWithoutASession) {
  mGroup.SwitchOff();
  mGroup.SwitchOff();
  EXPECT_EQ(DirtyOf(*mFirst), (Texts{}));
  EXPECT_EQ(DirtyOf(*mSecond), (Texts{"Attr"}));
  EXPECT_EQ(DirtyOf(*mThird), (Texts{}));
  EXPECT_EQ(DirtyOf(mGroup), (Texts{}));
}

TEST_F(VQJsonRadioButtonTest, SwitchOffLeavesAbsentAttributesAbsent) {
  auto* bare = AddChild<VQJsonRadioButtonObject>(mGroup, "bare");
  bare->VQJsonObject::SetValue("Type", "RADIOBTN", 0, "");
  mGroup.SwitchOff();
  EXPECT_EQ(KeysOf(*bare), (Texts{"Name", "Type"}));
}

TEST_F(VQJsonRadioButtonTest, SetValueByNameAppliesTheRule) {
  mGroup.SetValueByName("Attr", "ON", "third", -1, "S1");
  EXPECT_EQ(AttrOf(mSecond), "OFF");
  EXPECT_EQ(AttrOf(mThird), "ON");
}

class ListeningButton : public VQJsonRadioButtonObject {
 public:
  using VQJsonRadioButtonObject::VQJsonRadioButtonObject;
  VQJsonObject* SetValue(const KZString& key, VQValue value, int dirty,
                         const KZString& sessionid) override {
    ++mCalls;
    return VQJsonRadioButtonObject::SetValue(key, value, dirty, sessionid);
  }
  int mCalls = 0;
};

// Switching off stores past a host's override, so that it cannot recurse.
TEST_F(VQJsonRadioButtonTest, SwitchOffDoesNotCallAHostsSetValue) {
  auto* button = AddChild<ListeningButton>(mGroup, "host");
  button->VQJsonObject::SetValue("Type", "RADIOBTN", 0, "");
  button->VQJsonObject::SetValue("Attr", "ON", 0, "");
  const int before = button->mCalls;
  mGroup.SwitchOff();
  EXPECT_EQ(AttrOf(button), "OFF");
  EXPECT_EQ(button->mCalls, before);
}

class HostRadioGroup : public VQJsonRadioButtonGroup {
 public:
  using VQJsonRadioButtonGroup::VQJsonRadioButtonGroup;
};

TEST(VQJsonRadioButtonGroupTest, AHostsRadioGroupIsOneToo) {
  HostRadioGroup group(nullptr);
  auto* first = AddButton(group, "a", "OFF");
  auto* second = AddButton(group, "b", "ON");
  first->SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(AttrOf(second), "OFF");
}

TEST(VQJsonRadioButtonGroupTest, ACopyOfARadioGroupIsOneToo) {
  const HostRadioGroup group(nullptr);
  HostRadioGroup copy(group);
  auto* first = AddButton(copy, "a", "OFF");
  auto* second = AddButton(copy, "b", "ON");
  first->SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(AttrOf(second), "OFF");
}

class SaysItIsNoGroup : public VQJsonRadioButtonGroup {
 public:
  using VQJsonRadioButtonGroup::VQJsonRadioButtonGroup;
  bool HasGroup() override { return false; }
};

TEST(VQJsonRadioButtonGroupTest, AHostsGroupThatSaysItIsNoneSwitchesNothing) {
  SaysItIsNoGroup group(nullptr);
  auto* first = AddButton(group, "a", "OFF");
  auto* second = AddButton(group, "b", "ON");
  first->SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(AttrOf(second), "ON");
}

TEST(VQJsonRadioButtonGroupTest, NullPointersInTheListArePassedOver) {
  VQJsonRadioButtonGroup group(nullptr);
  group.mObjectList.push_back(nullptr);
  auto* button = AddButton(group, "a", "ON");
  group.SwitchOff();
  EXPECT_EQ(AttrOf(button), "OFF");
}

TEST(VQJsonRadioButtonGroupTest, InAPlainGroupNothingIsSwitchedOff) {
  VQJsonObjectHasList group("Objects", nullptr);
  auto* first = AddButton(group, "a", "OFF");
  auto* second = AddButton(group, "b", "ON");
  first->SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(AttrOf(first), "ON");
  EXPECT_EQ(AttrOf(second), "ON");
  EXPECT_FALSE(second->IsDirty());
}

TEST(VQJsonRadioButtonGroupTest, WithoutAGroupAsParentAButtonIsAPlainObject) {
  VQJsonRadioButtonObject root(nullptr);
  root.SetValue("Attr", "ON", -1, "S1");
  EXPECT_EQ(DirtyOf(root), (Texts{"Attr|:|S1"}));
  VQJsonObject parent(nullptr);
  VQJsonRadioButtonObject child(&parent);
  child.SetValue("Attr", "ON", -1, "");
  EXPECT_STREQ(child.GetValue("Attr").GetChar(), "ON");
}

// Only the parent counts: the group of the parent is not asked.
TEST(VQJsonRadioButtonGroupTest, AButtonInAnInnerGroupSwitchesNothingAbove) {
  VQJsonRadioButtonGroup radio(nullptr);
  auto* above = AddButton(radio, "above", "ON");
  auto* inner = AddGroup(radio, "inner");
  auto* button = AddButton(*inner, "button", "OFF");
  button->SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(AttrOf(above), "ON");
}

TEST(VQJsonRadioButtonGroupTest, AHundredButtonsHaveAtMostOneOn) {
  VQJsonRadioButtonGroup radio(nullptr);
  std::vector<VQJsonRadioButtonObject*> buttons;
  for (int i = 0; i < 100; ++i)
    buttons.push_back(AddButton(radio, std::to_string(i).c_str(), "OFF"));
  for (int i : {7, 3, 99, 0, 0, 42}) {
    buttons[static_cast<size_t>(i)]->SetValue("Attr", "ON", -1, "S1");
    for (int k = 0; k < 100; ++k)
      EXPECT_EQ(AttrOf(buttons[static_cast<size_t>(k)]), k == i ? "ON" : "OFF");
  }
}

}  // namespace
