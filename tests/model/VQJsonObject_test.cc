#include "dorn/model/VQJsonObject.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>

#include "tests/model/Trees.h"

namespace {

TEST(VQJsonObjectTest, StartsEmptyAndUnmarked) {
  VQJsonObject parent(nullptr);
  VQJsonObject object(&parent);
  EXPECT_EQ(Plain(object.mName), "");
  EXPECT_EQ(object.mParent, &parent);
  EXPECT_EQ(object.GetParent(), &parent);
  EXPECT_TRUE(object.mDirty.empty());
  EXPECT_FALSE(object.mDirtyAdd);
  EXPECT_EQ(Plain(object.mDirtyDel), "");
  EXPECT_TRUE(object.mList.empty());
  EXPECT_FALSE(object.IsDirty());
  EXPECT_FALSE(object.IsDirtyAdd());
  EXPECT_FALSE(object.IsDirtyDel());
  EXPECT_EQ(VQJsonObject(nullptr).GetParent(), nullptr);
}

// --- SetValue -------------------------------------------------------------------------------

TEST(VQJsonObjectTest, SetValueReturnsTheObject) {
  VQJsonObject object(nullptr);
  EXPECT_EQ(object.SetValue("k", "v", -1, ""), &object);
  EXPECT_EQ(object.SetValue("k", "v", -1, ""), &object);
}

TEST(VQJsonObjectTest, TheFirstSettingOfAKeyAlwaysCountsAsAChange) {
  const VQValue firsts[] = {VQValue(""), VQValue(0), VQValue(false), VQValue(), VQValue("x")};
  for (const VQValue& first : firsts) {
    VQJsonObject object(nullptr);
    object.SetValue("k", first, -1, "");
    EXPECT_TRUE(object.HasKey("k"));
    EXPECT_EQ(DirtyOf(object), (Texts{"k"}));
  }
}

TEST(VQJsonObjectTest, AnUnchangedValueIsNotMarkedInModeMinusOne) {
  VQJsonObject object(nullptr);
  object.SetValue("k", "v", 0, "");
  object.SetValue("k", "v", -1, "S1");
  EXPECT_FALSE(object.IsDirty());
  EXPECT_STREQ(object.GetValue("k").GetChar(), "v");
}

struct MarkingCase {
  const char* name;
  int mode;
  bool markedWhenEqual;
  bool markedWhenDifferent;
};

TEST(VQJsonObjectTest, TheModeDecidesWhetherAChangeIsMarked) {
  const MarkingCase cases[] = {
      {"if changed", -1, false, true},
      {"never", 0, false, false},
      {"always", 1, true, true},
      {"always, two", 2, true, true},
      {"always, largest", INT_MAX, true, true},
      {"never, minus two", -2, false, false},
      {"never, smallest", INT_MIN, false, false},
  };
  for (const MarkingCase& c : cases) {
    SCOPED_TRACE(c.name);
    VQJsonObject object(nullptr);
    object.SetValue("k", "old", 0, "");
    ASSERT_FALSE(object.IsDirty());
    object.SetValue("k", "old", c.mode, "");
    EXPECT_EQ(object.IsDirty(), c.markedWhenEqual);
    object.ResetDirty();
    object.SetValue("k", "new", c.mode, "");
    EXPECT_EQ(object.IsDirty(), c.markedWhenDifferent);
    EXPECT_STREQ(object.GetValue("k").GetChar(), "new");
  }
}

struct EqualityCase {
  const char* name;
  VQValue current;
  VQValue arriving;
  bool changes;
};

// The kind of the stored value decides: the arriving value is compared with it, never the
// other way round.
TEST(VQJsonObjectTest, TheStoredValuesKindDecidesWhatEqualMeans) {
  const VQJObject members{{"a", VQValue(1)}};
  const VQJObject sameMembers{{"a", VQValue("1")}};
  const VQJObject otherMembers{{"a", VQValue(2)}};
  const VQJArray elements{VQValue(1), VQValue("x")};
  const VQJArray moreElements{VQValue(1), VQValue("x"), VQValue(2)};
  const EqualityCase cases[] = {
      {"empty text onto the integer 0", VQValue(0), VQValue(""), false},
      {"the integer 0 onto the empty text", VQValue(""), VQValue(0), true},
      {"text 5 onto the integer 5", VQValue(5), VQValue("5"), false},
      {"integer 5 onto the text 5", VQValue("5"), VQValue(5), false},
      {"text 7up onto the integer 7", VQValue(7), VQValue("7up"), false},
      {"integer 7 onto the text 7up", VQValue("7up"), VQValue(7), true},
      {"text abc onto false", VQValue(false), VQValue("abc"), false},
      {"false onto the text abc", VQValue("abc"), VQValue(false), true},
      {"integer 9 onto true", VQValue(true), VQValue(9), false},
      {"true onto the integer 9", VQValue(9), VQValue(true), true},
      {"true onto the integer 1", VQValue(1), VQValue(true), false},
      {"text true onto true", VQValue(true), VQValue("true"), true},
      {"true onto the text true", VQValue("true"), VQValue(true), false},
      {"equal members", VQValue(members), VQValue(sameMembers), false},
      {"other members", VQValue(members), VQValue(otherMembers), true},
      {"text {} onto an object", VQValue(members), VQValue("{}"), true},
      {"an object onto the text {}", VQValue("{}"), VQValue(members), false},
      {"an object onto the integer 0", VQValue(0), VQValue(members), false},
      {"equal elements", VQValue(elements), VQValue(elements), false},
      {"more elements", VQValue(elements), VQValue(moreElements), true},
      {"an array onto an object", VQValue(members), VQValue(elements), true},
      {"none onto none", VQValue(), VQValue(), true},
      {"text onto none", VQValue(), VQValue(""), true},
      {"none onto the integer 0", VQValue(0), VQValue(), false},
      {"none onto the empty text", VQValue(""), VQValue(), false},
  };
  for (const EqualityCase& c : cases) {
    SCOPED_TRACE(c.name);
    VQJsonObject object(nullptr);
    object.SetValue("k", c.current, 0, "");
    object.SetValue("k", c.arriving, -1, "");
    EXPECT_EQ(object.IsDirty(), c.changes);
    const auto& kept = c.changes ? c.arriving : c.current;
    EXPECT_EQ(object.GetValue("k").GetType(), VQValue(kept).GetType());
    EXPECT_EQ(object.GetValue("k").GetInt(), VQValue(kept).GetInt());
    EXPECT_STREQ(object.GetValue("k").GetChar(), VQValue(kept).GetChar());
  }
}

TEST(VQJsonObjectTest, OtherModesStoreAnEqualValueOfAnotherKind) {
  for (const int mode : {0, 1, -2}) {
    VQJsonObject object(nullptr);
    object.SetValue("k", 5, 0, "");
    object.SetValue("k", "5", mode, "");
    EXPECT_EQ(object.GetValue("k").GetType(), VQValue::TYPE_STRING) << mode;
  }
}

TEST(VQJsonObjectTest, AChangeOfASessionIsTaggedWithItsId) {
  VQJsonObject object(nullptr);
  object.SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(DirtyOf(object), (Texts{"Value|:|S1"}));
}

TEST(VQJsonObjectTest, EachSessionAndTheHostLeaveAnEntryOfTheirOwn) {
  VQJsonObject object(nullptr);
  object.SetValue("Value", "1", -1, "S2");
  object.SetValue("Value", "2", -1, "S1");
  object.SetValue("Value", "3", -1, "");
  object.SetValue("Value", "4", -1, "S1");
  EXPECT_EQ(DirtyOf(object), (Texts{"Value", "Value|:|S1", "Value|:|S2"}));
}

TEST(VQJsonObjectTest, SettingTheNameRenames) {
  VQJsonObject object(nullptr);
  object.SetValue("Name", "old", -1, "");
  EXPECT_EQ(Plain(object.mName), "old");
  object.SetValue("Name", "new", 0, "");
  EXPECT_EQ(Plain(object.mName), "new");
  EXPECT_EQ(object.SearchName("new"), &object);
  EXPECT_EQ(object.SearchName("old"), nullptr);
}

TEST(VQJsonObjectTest, TheNameIsTheTextOfAnyValue) {
  VQJsonObject object(nullptr);
  object.SetValue("Name", 12, -1, "");
  EXPECT_EQ(Plain(object.mName), "12");
  object.SetValue("Name", true, -1, "");
  EXPECT_EQ(Plain(object.mName), "true");
}

TEST(VQJsonObjectTest, AnUnchangedNameAttributeLeavesTheNameAlone) {
  VQJsonObject object(nullptr);
  object.SetValue("Name", "attribute", 0, "");
  object.mName = "other";
  object.SetValue("Name", "attribute", -1, "");
  EXPECT_EQ(Plain(object.mName), "other");
  object.SetValue("Name", "attribute", 0, "");
  EXPECT_EQ(Plain(object.mName), "attribute");
}

TEST(VQJsonObjectTest, OnlyTheExactKeyNameRenames) {
  VQJsonObject object(nullptr);
  for (const char* key : {"name", "NAME", "Name ", "Names", ""}) {
    object.SetValue(key, "x", 1, "");
    EXPECT_EQ(Plain(object.mName), "") << key;
  }
}

TEST(VQJsonObjectTest, SetsAValueTakenFromItsOwnAttributes) {
  VQJsonObject object(nullptr);
  object.SetValue("k", "a text that is long enough to live on the heap", 0, "");
  object.SetValue("k", object.GetValue("k"), 1, "");
  object.SetValue("Name", object.GetValue("k"), 1, "");
  EXPECT_EQ(Plain(object.mName), "a text that is long enough to live on the heap");
}

// --- SetValueByName -------------------------------------------------------------------------

TEST(VQJsonObjectTest, SetValueByNameReachesTheObjectItself) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  EXPECT_EQ(object.SetValueByName("Value", "ON", "b", -1, "S1"), &object);
  EXPECT_STREQ(object.GetValue("Value").GetChar(), "ON");
  EXPECT_EQ(DirtyOf(object), (Texts{"Value|:|S1"}));
}

TEST(VQJsonObjectTest, SetValueByNameDoesNothingForAnAbsentName) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  EXPECT_EQ(object.SetValueByName("Value", "ON", "c", 1, ""), &object);
  EXPECT_FALSE(object.HasKey("Value"));
  EXPECT_FALSE(object.IsDirty());
}

// --- Reading --------------------------------------------------------------------------------

TEST(VQJsonObjectTest, GetValueRefersToTheStoredValue) {
  VQJsonObject object(nullptr);
  object.SetValue("k", "v", 0, "");
  EXPECT_EQ(&object.GetValue("k"), &object.mList["k"]);
}

TEST(VQJsonObjectTest, GetValueOfAnAbsentKeyIsOneSharedEmptyValue) {
  VQJsonObject object(nullptr);
  VQJsonObject other(nullptr);
  const VQValue* shared = &object.GetValue("absent");
  EXPECT_EQ(&object.GetValue("also absent"), shared);
  EXPECT_EQ(&other.GetValue("absent"), shared);
  EXPECT_EQ(VQValue(*shared).GetType(), VQValue::TYPE_NONE);
  EXPECT_TRUE(object.mList.empty());
  EXPECT_FALSE(object.HasKey("absent"));
}

TEST(VQJsonObjectTest, AModifiedSharedEmptyValueIsEmptyAgainAtTheNextCall) {
  VQJsonObject object(nullptr);
  const_cast<VQValue&>(object.GetValue("absent")).Set("spoilt");
  EXPECT_EQ(VQValue(object.GetValue("other")).GetType(), VQValue::TYPE_NONE);
  EXPECT_STREQ(VQValue(object.GetValue("other")).GetChar(), "");
  const_cast<VQValue&>(object.GetValue("absent")).Set(VQJArray{VQValue(1)});
  EXPECT_FALSE(VQValue(object.GetValue("other")) == VQJArray{VQValue(1)});
  EXPECT_EQ(Written([&](std::ostream& out) { out << VQValue(object.GetValue("other")); }), "");
}

TEST(VQJsonObjectTest, ExposesTheAttributesInKeyOrder) {
  VQJsonObject object(nullptr);
  for (const char* key : {"b", "Z", "a", "\xe3\x81\x82", "A"}) object.SetValue(key, key, 0, "");
  EXPECT_EQ(KeysOf(object), (Texts{"A", "Z", "a", "b", "\xe3\x81\x82"}));
  Texts walked;
  for (auto it = object.KeyValueBegin(); it != object.KeyValueEnd(); ++it)
    walked.push_back(it->first);
  EXPECT_EQ(walked, KeysOf(object));
  const std::map<KZString, VQValue>& converted = object;
  EXPECT_EQ(&converted, &object.mList);
  EXPECT_EQ(&object.GetObject(), &object.mList);
}

TEST(VQJsonObjectTest, HasKeyIsExact) {
  VQJsonObject object(nullptr);
  object.SetValue("Key", VQValue(), 0, "");
  EXPECT_TRUE(object.HasKey("Key"));
  EXPECT_FALSE(object.HasKey("key"));
  EXPECT_FALSE(object.HasKey(""));
}

TEST(VQJsonObjectTest, SearchNameFindsItselfOrNothing) {
  VQJsonObject object(nullptr);
  EXPECT_EQ(object.SearchName(""), &object);
  object.mName = "b";
  EXPECT_EQ(object.SearchName("b"), &object);
  EXPECT_EQ(object.SearchName("B"), nullptr);
  EXPECT_EQ(object.SearchName(""), nullptr);
}

// --- Building and deleting ------------------------------------------------------------------

TEST(VQJsonObjectTest, IsNoGroupAndTakesNoChild) {
  VQJsonObject object(nullptr);
  VQJsonObject child(&object);
  EXPECT_FALSE(object.HasGroup());
  EXPECT_FALSE(object.AddObject(&child, 1));
  EXPECT_FALSE(object.AddObject(nullptr, 1));
  EXPECT_FALSE(object.IsDirtyAdd());
  EXPECT_FALSE(child.IsDirtyAdd());
}

TEST(VQJsonObjectTest, DeletingARootOrAnUnknownWordDoesNothing) {
  VQJsonObject object(nullptr);
  Named(&object, "root");
  for (const char* word : {"THIS", "CHILD", "this", "child", "", "THISCHILD", "BOTH"})
    object.Delete(word);
  EXPECT_FALSE(object.IsDirtyDel());
  EXPECT_EQ(Plain(object.mName), "root");
}

TEST(VQJsonObjectTest, DeletingTheChildOfAPlainObjectOnlyRecordsItsName) {
  VQJsonObject parent(nullptr);
  VQJsonObject child(&parent);
  Named(&child, "c");
  child.Delete("CHILD");
  EXPECT_FALSE(parent.IsDirtyDel());
  EXPECT_FALSE(child.IsDirtyDel());
  child.Delete("THIS");
  EXPECT_EQ(Plain(parent.GetDirtyDel()), "c");
  EXPECT_EQ(Plain(child.mName), "c");
}

TEST(VQJsonObjectTest, SetDirtyDelStoresTheName) {
  VQJsonObject object(nullptr);
  object.SetDirtyDel("gone");
  EXPECT_TRUE(object.IsDirtyDel());
  EXPECT_EQ(Plain(object.GetDirtyDel()), "gone");
  EXPECT_EQ(&object.GetDirtyDel(), &object.mDirtyDel);
  object.SetDirtyDel("@LED-CHILD-TNIOP@");
  EXPECT_EQ(Plain(object.GetDirtyDel()), "@LED-CHILD-TNIOP@");
  object.ResetDirtyDel();
  EXPECT_FALSE(object.IsDirtyDel());
  EXPECT_EQ(Plain(object.mDirtyDel), "");
}

TEST(VQJsonObjectTest, DeletingAnUnnamedObjectLeavesNothingPending) {
  VQJsonObject parent(nullptr);
  VQJsonObject child(&parent);
  child.Delete("THIS");
  EXPECT_FALSE(parent.IsDirtyDel());
}

// --- Change records -------------------------------------------------------------------------

TEST(VQJsonObjectTest, SetDirtyAddsThePlainKeyOnce) {
  VQJsonObject object(nullptr);
  object.SetDirty("Data");
  object.SetDirty("Data");
  EXPECT_EQ(DirtyOf(object), (Texts{"Data"}));
  EXPECT_TRUE(object.IsDirty());
  EXPECT_FALSE(object.HasKey("Data"));
}

TEST(VQJsonObjectTest, ResetDirtyTouchesNeitherAddNorDel) {
  VQJsonObject object(nullptr);
  object.SetDirty("k");
  object.SetDirtyAdd();
  object.SetDirtyDel("gone");
  object.ResetDirty();
  EXPECT_FALSE(object.IsDirty());
  EXPECT_TRUE(object.IsDirtyAdd());
  EXPECT_TRUE(object.IsDirtyDel());
  object.ResetDirtyAdd();
  EXPECT_FALSE(object.IsDirtyAdd());
  EXPECT_FALSE(object.mDirtyAdd);
  EXPECT_TRUE(object.IsDirtyDel());
}

}  // namespace
