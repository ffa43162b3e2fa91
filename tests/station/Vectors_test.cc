// Each vector of station/vectors against the library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <set>
#include <string>

#include "station/Reader.h"
#include "station/Replica.h"
#include "station/Screen.h"
#include "tests/station/VectorFile.h"

namespace dorn::station {
namespace {

std::string Unhexed(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::strtol(std::string(hex.substr(i, 2)).c_str(), nullptr, 16));
  }
  return bytes;
}

bool IsTrue(const Json* json) { return json != nullptr && json->mTruth; }

const char* NameOf(Reading reading) {
  return reading == Reading::kStrict     ? "strict"
         : reading == Reading::kTolerant ? "tolerant"
                                         : "unreadable";
}

const char* NameOf(Replica::State state) {
  const char* const names[] = {"empty", "fence", "buffer", "live", "nothing"};
  return names[static_cast<int>(state)];
}

Json ShownTree(const Replica& replica, const Object& object) {
  Json json = Json::MakeObject(replica.ShownAttributes(object));
  if (object.mChildren.empty()) return json;
  Json& children = json.mMembers["Objects"] = Json::MakeArray();
  for (const auto& child : object.mChildren) {
    children.mElements.push_back(ShownTree(replica, *child));
  }
  return json;
}

TEST(VectorsTest, AreMoreThanOneHundredAndFiftyEachWithARuleOfItsOwn) {
  std::set<std::string> rules;
  std::size_t count = 0;
  for (const char* file : {"reader.json", "replica.json", "screen.json"}) {
    const auto vectors = VectorsOf(file);
    EXPECT_GT(vectors.size(), 40u) << file;
    count += vectors.size();
    for (const Json& vector : vectors) rules.insert(TextIn(vector, "rule"));
  }
  EXPECT_GE(count, 150u);
  EXPECT_EQ(rules.size(), count);
}

TEST(VectorsTest, TextsAreReadAsTheyShouldBe) {
  for (const Json& vector : VectorsOf("reader.json")) {
    const std::string text =
        vector.Find("hex") != nullptr ? Unhexed(TextIn(vector, "hex")) : TextIn(vector, "text");
    const bool isLiteral = TextIn(vector, "reading") == "literal";
    const ReadText read =
        Reader(isLiteral ? Reader::Strings::kLiteral : Reader::Strings::kStrictFirst).Read(text);
    EXPECT_EQ(NameOf(read.mReading), TextIn(vector, "how")) << TextIn(vector, "rule");
    const Json* expected = vector.Find("json");
    EXPECT_EQ(read.mJson.Written(), expected == nullptr ? "null" : expected->Written())
        << TextIn(vector, "rule");
  }
}

class ReplicaVector {
 public:
  explicit ReplicaVector(const Json& vector) : mRule(TextIn(vector, "rule")) {
    for (const Json& step : vector.Find("steps")->mElements) Take(step);
    EXPECT_GT(mExpectations, 0) << mRule;
  }

 private:
  void Take(const Json& step) {
    if (const Json* tree = step.Find("open"); tree != nullptr) {
      mReplica.Enter(tree->TextOf("Name"), std::nullopt);
      mReplica.ReceiveTree(*tree, true);
    } else if (step.Find("enter") != nullptr) {
      const Json* fence = step.Find("fence");
      mReplica.Enter(step.TextOf("enter"),
                     fence == nullptr ? std::optional<unsigned long>() : Number(*fence));
    } else if (step.Find("fence") != nullptr) {
      mReplica.ReceiveFence(Number(*step.Find("fence")));
    } else if (step.Find("text") != nullptr) {
      ReceiveText(step);
    } else if (step.Find("cmds") != nullptr) {
      for (const Json& command : step.Find("cmds")->mElements) mReplica.Receive(command);
    } else if (step.Find("cmd") != nullptr) {
      mReplica.Receive(*step.Find("cmd"));
    } else if (step.Find("tree") != nullptr) {
      ReceiveTree(step);
    } else if (step.Find("act") != nullptr) {
      Act(step);
    } else if (step.Find("lost") != nullptr) {
      mReplica.ForgetActions();
    } else if (step.Find("expect") != nullptr) {
      Expect(*step.Find("expect"));
    } else {
      ADD_FAILURE() << mRule << ": unknown step " << step.Written();
    }
  }

  static unsigned long Number(const Json& json) {
    return std::strtoul(json.mText.c_str(), nullptr, 10);
  }

  void ReceiveText(const Json& step) {
    const Json read = Reader().Read(step.TextOf("text")).mJson;
    Json list = Json::MakeArray();
    if (const Json* commands = read.Find("Commands"); commands != nullptr) {
      list = *commands;
    } else {
      list.mElements.push_back(read);
    }
    EXPECT_EQ(list.Written(), step.Find("cmds")->Written()) << mRule;
    for (const Json& command : list.mElements) mReplica.Receive(command);
  }

  void ReceiveTree(const Json& step) {
    const Json& tree = *step.Find("tree");
    if (tree.IsNull()) return mReplica.ReceiveNoTree();
    if (step.Find("treeText") != nullptr) {
      EXPECT_EQ(Reader().Read(step.TextOf("treeText")).mJson.Written(), tree.Written()) << mRule;
    }
    mReplica.ReceiveTree(tree, IsTrue(step.Find("live")));
  }

  void Act(const Json& step) {
    std::vector<SetObject> objects;
    for (const Json& object : step.Find("act")->mElements) {
      objects.push_back({std::string(object.TextOf("Name")), {}});
      for (const auto& [key, member] : object.mMembers) {
        if (key != "Name") objects.back().mAttributes.emplace_back(key, member);
      }
    }
    mReplica.Act(objects, Number(*step.Find("before")), Number(*step.Find("after")));
    for (const SetObject& object : objects) mTouched.push_back(object.mName);
  }

  void Expect(const Json& expected) {
    ++mExpectations;
    for (const auto& [key, wanted] : expected.mMembers) {
      if (key == "tree") {
        EXPECT_EQ(ShownTree(mReplica, mReplica.Confirmed().Root()).Written(), wanted.Written())
            << mRule;
      } else if (key == "state") {
        EXPECT_EQ(NameOf(mReplica.GetState()), wanted.mText) << mRule;
      } else if (key == "wantsEntry") {
        EXPECT_EQ(mReplica.TakeWantsEntry(), wanted.mTruth) << mRule;
      } else if (key == "pending") {
        Json pending = Json::MakeArray();
        std::set<std::string> seen;
        for (const std::string& name : mTouched) {
          if (mReplica.IsPending(name) && seen.insert(name).second) {
            pending.mElements.push_back(Json::String(name));
          }
        }
        EXPECT_EQ(pending.Written(), wanted.Written()) << mRule;
      } else {
        ADD_FAILURE() << mRule << ": unknown expectation " << key;
      }
    }
  }

  std::string mRule;
  Replica mReplica;
  std::vector<std::string> mTouched;
  int mExpectations = 0;
};

TEST(VectorsTest, ReplicasEndAsTheyShould) {
  for (const Json& vector : VectorsOf("replica.json")) ReplicaVector{vector};
}

Json Texts(const std::vector<std::string>& texts) {
  Json json = Json::MakeArray();
  for (const std::string& text : texts) json.mElements.push_back(Json::String(text));
  return json;
}

Json Limit(const std::optional<long long>& limit) { return limit ? Json::Number(*limit) : Json(); }

const char* StateName(Condition state) {
  const char* const names[] = {"NORMAL", "INFO", "WARN", "ALARM", "BAD", "OFF"};
  return names[static_cast<int>(state)];
}

using Names = std::vector<const char*>;

template <typename Kind>
Json Word(const Names& names, Kind kind) {
  return Json::String(names.at(static_cast<std::size_t>(kind)));
}

Json PlaceOf(const Item& item) {
  if (!item.mPlace) return {};
  return Json::MakeArray({Json::Number(item.mPlace->mX), Json::Number(item.mPlace->mY),
                          Json::Number(item.mPlace->mW), Json::Number(item.mPlace->mH)});
}

void DescribeTable(const Table& table, Json::Object& out) {
  Json rows = Json::MakeArray();
  Json keys = Json::MakeArray();
  Json needAck = Json::MakeArray();
  for (const TableRow& row : table.mRows) {
    rows.mElements.push_back(Texts(row.mCells));
    keys.mElements.push_back(Json::String(row.mKey));
    needAck.mElements.emplace_back(row.mNeedsAck);
  }
  out["rows"] = rows;
  out["keys"] = keys;
  out["needAck"] = needAck;
  out["columns"] = Texts(table.mColumns);
  out["widths"] = Texts(table.mWidths);
  out["alarms"] = Json(table.mIsAlarms);
}

Json::Object Described(const Item& item) {
  static const Names widgets = {"label", "button", "edit",  "check", "slider", "list",
                                "combo", "image",  "radio", "group", "grid"};
  static const Names colors = {"none", "ink", "accent", "ok", "warn", "alarm"};
  static const Names formats = {"text", "number", "time",     "datetime",
                                "bar",  "spark",  "password", "lines"};
  static const Names keyboards = {"text", "number", "none"};
  static const Names groupings = {"plain", "radio", "tabs"};
  Json::Object out{
      {"type", Json::String(item.mType)},
      {"widget", Word(widgets, item.mWidget)},
      {"caption", Json::String(item.mCaption)},
      {"hint", Json::String(item.mHint)},
      {"state", Json::String(StateName(item.mState))},
      {"color", Word(colors, item.mColor)},
      {"visible", Json(item.mIsVisible)},
      {"enabled", Json(item.mIsEnabled)},
      {"readOnly", Json(item.mIsReadOnly)},
      {"error", Json::String(item.mError)},
      {"place", PlaceOf(item)},
      {"wide", Json(item.mIsWide)},
      {"breaks", Json(item.mBreaks)},
      {"value", Json::String(item.mValue)},
      {"raw", Json::String(item.mRaw)},
      {"unit", Json::String(item.mUnit)},
      {"format", Word(formats, item.mFormat)},
      {"lines", Json::Number(item.mLines)},
      {"min", Limit(item.mMin)},
      {"max", Limit(item.mMax)},
      {"step", Limit(item.mStep)},
      {"numeric", Json(item.mIsNumeric)},
      {"keyboard", Word(keyboards, item.mKeyboard)},
      {"maxLength", Json::Number(item.mMaxLength)},
      {"on", Json(item.mIsOn)},
      {"options", Texts(item.mOptions)},
      {"optionTexts", Texts(item.mOptionTexts)},
      {"confirm", Json::String(item.mConfirm)},
      {"goto", Json::String(item.mGoto)},
      {"image", Json::String(item.mImage)},
      {"actionType", Json::String(item.mActionType)},
      {"grouping", Word(groupings, item.mGrouping)},
  };
  DescribeTable(item.mTable, out);
  return out;
}

class ScreenVector {
 public:
  explicit ScreenVector(const Json& vector) : mRule(TextIn(vector, "rule")) {
    const std::string zone = TextIn(vector, "tz");
    if (!zone.empty()) {
      setenv("TZ", zone.c_str(), 1);
      tzset();
    }
    Replica replica;
    replica.Enter("d", std::nullopt);
    replica.ReceiveTree(*vector.Find("tree"), true);
    mScreen = MakeScreen(replica, TextIn(vector, "language"));
    for (const Card& card : mScreen.mCards) Collect(card.mItems);
    int compared = 0;
    for (const auto& [key, wanted] : vector.mMembers) compared += Compare(key, wanted) ? 1 : 0;
    EXPECT_GT(compared, 0) << mRule;
  }

 private:
  void Collect(const std::vector<Item>& items) {
    for (const Item& item : items) {
      mItems.push_back(&item);
      Collect(item.mChildren);
    }
  }

  const Item* Find(std::string_view name) const {
    for (const Item* item : mItems) {
      if (item->mName == name) return item;
    }
    ADD_FAILURE() << mRule << ": no item " << name;
    return nullptr;
  }

  bool Compare(const std::string& key, const Json& wanted) {
    if (key == "items") {
      for (const auto& [name, members] : wanted.mMembers) CompareItem(name, members);
    } else if (key == "order") {
      std::vector<std::string> names;
      for (const Item* item : mItems) names.push_back(item->mName);
      EXPECT_EQ(Texts(names).Written(), wanted.Written()) << mRule;
    } else if (key == "cards") {
      EXPECT_EQ(Cards().Written(), wanted.Written()) << mRule;
    } else if (key == "alarmBar") {
      EXPECT_EQ(AlarmBar().Written(), wanted.Written()) << mRule;
    } else if (key == "title") {
      EXPECT_EQ(mScreen.mTitle, wanted.mText) << mRule;
    } else if (key == "typed") {
      for (const Json& each : wanted.mElements) CompareTyped(each);
    } else {
      return false;
    }
    return true;
  }

  void CompareItem(const std::string& name, const Json& members) {
    const Item* item = Find(name);
    if (item == nullptr) return;
    const Json::Object described = Described(*item);
    for (const auto& [key, wanted] : members.mMembers) {
      const auto found = described.find(key);
      ASSERT_NE(found, described.end()) << mRule << ": " << key;
      EXPECT_EQ(found->second.Written(), wanted.Written()) << mRule << ": " << name << " " << key;
    }
  }

  Json Cards() const {
    Json cards = Json::MakeArray();
    for (const Card& card : mScreen.mCards) {
      std::vector<std::string> names;
      for (const Item& item : card.mItems) names.push_back(item.mName);
      cards.mElements.push_back(Json::MakeObject({{"name", Json::String(card.mName)},
                                                  {"title", Json::String(card.mTitle)},
                                                  {"columns", Json::Number(card.mColumns)},
                                                  {"items", Texts(names)}}));
    }
    return cards;
  }

  Json AlarmBar() const {
    Json bar = Json::MakeArray();
    for (const AlarmLine& line : mScreen.mAlarmBar) {
      bar.mElements.push_back(Json::MakeObject({{"grid", Json::String(line.mGrid)},
                                                {"key", Json::String(line.mKey)},
                                                {"text", Json::String(line.mText)},
                                                {"state", Json::String(StateName(line.mState))}}));
    }
    return bar;
  }

  void CompareTyped(const Json& each) {
    static const char* const refusals[] = {"",        "noNumber", "tooLow",
                                           "tooHigh", "tooLong",  "notSendable"};
    const Item* item = Find(each.TextOf("item"));
    if (item == nullptr) return;
    const Typed typed = CheckTyped(*item, each.TextOf("typed"));
    EXPECT_EQ(refusals[static_cast<int>(typed.mRefusal)], TextIn(each, "refused"))
        << mRule << ": " << each.Written();
    EXPECT_EQ(typed.mValue.has_value(), each.Find("sends") != nullptr) << mRule;
    EXPECT_EQ(typed.mValue.value_or(""), TextIn(each, "sends")) << mRule;
  }

  std::string mRule;
  Screen mScreen;
  std::vector<const Item*> mItems;
};

TEST(VectorsTest, ScreensLookAsTheyShould) {
  for (const Json& vector : VectorsOf("screen.json")) ScreenVector{vector};
}

}  // namespace
}  // namespace dorn::station
