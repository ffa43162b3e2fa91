#include "site/ChangeRound.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace {

using dorn::site::ChangeRound;
using dorn::site::HasDeletion;
using dorn::site::MarkOf;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ChangeRoundTest : public testing::Test {
 protected:
  ChangeRoundTest() {
    for (const char* name : {"a", "b"}) Add(name);
  }

  VQJsonObject& Add(const char* name, int command = 0) {
    auto object = std::make_unique<VQJsonObject>(&mTree);
    object->SetValue("Name", VQValue(name), 0, "");
    object->SetValue("Value", VQValue("0"), 0, "");
    VQJsonObject& added = *object;
    if (mTree.AddObject(object.get(), command)) static_cast<void>(object.release());
    return added;
  }

  void Set(const char* name, const char* value, int connection) {
    mTree.SearchName(name)->SetValue("Value", VQValue(value), -1,
                                     connection != 0 ? MarkOf(connection) : KZString());
  }

  static std::string Text(ChangeRound& round, int connection) {
    const KZString* text = round.TextFor(connection);
    return text != nullptr ? std::string(*text) : "nothing";
  }

  VQJsonResource mTree;
};

TEST_F(ChangeRoundTest, TellsNobodyWhenNothingHasChanged) {
  ChangeRound round(mTree);
  EXPECT_EQ("nothing", Text(round, 1));
}

TEST_F(ChangeRoundTest, SparesTheConnectionThatMadeTheChange) {
  Set("a", "1", 7);
  ChangeRound round(mTree);
  EXPECT_EQ("nothing", Text(round, 7));
  EXPECT_THAT(Text(round, 8), HasSubstr(R"("Value":"1")"));
  EXPECT_FALSE(round.Tells(7, "a"));
  EXPECT_TRUE(round.Tells(8, "a"));
  EXPECT_FALSE(round.Tells(8, "b"));
}

TEST_F(ChangeRoundTest, SparesEachOnlyItsOwn) {
  Set("a", "1", 7);
  Set("b", "2", 8);
  ChangeRound round(mTree);
  EXPECT_THAT(Text(round, 7), AllOf(HasSubstr(R"("Name":"b")"), Not(HasSubstr(R"("Name":"a")"))));
  EXPECT_THAT(Text(round, 8), AllOf(HasSubstr(R"("Name":"a")"), Not(HasSubstr(R"("Name":"b")"))));
  EXPECT_THAT(Text(round, 9), AllOf(HasSubstr(R"("Name":"a")"), HasSubstr(R"("Name":"b")")));
}

TEST_F(ChangeRoundTest, SparesNobodyWhereTwoHaveChangedTheSame) {
  Set("a", "1", 7);
  Set("a", "2", 8);
  ChangeRound round(mTree);
  for (const int connection : {7, 8, 9}) {
    EXPECT_EQ("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"2\",\"Name\":\"a\"}]}\n",
              Text(round, connection));
    EXPECT_TRUE(round.Tells(connection, "a"));
  }
}

TEST_F(ChangeRoundTest, SparesNobodyWhereTheHostHasChangedItToo) {
  Set("a", "1", 7);
  Set("a", "2", 0);
  ChangeRound round(mTree);
  EXPECT_THAT(Text(round, 7), HasSubstr(R"("Value":"2")"));
}

TEST_F(ChangeRoundTest, KnowsAttributesOfOneObjectApart) {
  Set("a", "1", 7);
  mTree.SearchName("a")->SetValue("State", VQValue("BAD"), -1, MarkOf(8));
  mTree.SearchName("a")->SetValue("Valu", VQValue("x"), -1, MarkOf(8));
  ChangeRound round(mTree);
  EXPECT_THAT(Text(round, 7), AllOf(HasSubstr(R"("State":"BAD")"), Not(HasSubstr(R"("Value")"))));
  EXPECT_THAT(Text(round, 8), AllOf(HasSubstr(R"("Value":"1")"), Not(HasSubstr(R"("State")"))));
  EXPECT_TRUE(round.Tells(7, "a"));
  EXPECT_TRUE(round.Tells(8, "a"));
}

TEST_F(ChangeRoundTest, ForgetsTheChangesAtItsEnd) {
  Set("a", "1", 7);
  { const ChangeRound round(mTree); }
  ChangeRound round(mTree);
  EXPECT_EQ("nothing", Text(round, 8));
}

TEST_F(ChangeRoundTest, TellsEverybodyOfObjectsThatCameAndWent) {
  Add("c", 1);
  mTree.SearchName("b")->Delete("THIS");
  EXPECT_TRUE(HasDeletion(mTree));
  Set("a", "1", 7);
  ChangeRound round(mTree);
  for (const int connection : {7, 8}) {
    EXPECT_THAT(Text(round, connection),
                AllOf(HasSubstr(R"("Command":"DELETE","Delete":"THIS","Name":"b")"),
                      HasSubstr(R"("Command":"ADD")")));
    EXPECT_TRUE(round.Tells(connection, "anything"));
  }
  EXPECT_THAT(Text(round, 7), Not(HasSubstr(R"("Value":"1")")));
  EXPECT_THAT(Text(round, 8), HasSubstr(R"("Value":"1")"));
  EXPECT_FALSE(HasDeletion(mTree));
}

}  // namespace
