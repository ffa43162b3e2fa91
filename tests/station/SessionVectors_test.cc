// Each vector of station/vectors/session.json against the library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>

#include "station/Commands.h"
#include "tests/station/SessionTest.h"
#include "tests/station/VectorFile.h"

namespace dorn::station {
namespace {

const char* NameOf(Session::State state) {
  const char* const names[] = {"loggedOut", "loggingIn", "entering", "showing", "waiting"};
  return names[static_cast<int>(state)];
}

const char* NameOf(Session::Cause cause) {
  const char* const names[] = {"none", "wrongPassword", "cannotConnect", "sessionEnded",
                               "idle", "lineLost",      "noAnswer"};
  return names[static_cast<int>(cause)];
}

class SessionVector : public SessionTest {
 public:
  explicit SessionVector(const Json& vector) : mRule(TextIn(vector, "rule")) {
    for (const Json& step : vector.Find("steps")->mElements) Take(step);
    EXPECT_GT(mExpectations, 0) << mRule;
  }

 private:
  void TestBody() override {}

  void Take(const Json& step) {
    if (const Json* user = step.Find("logIn"); user != nullptr) {
      mSession.LogIn(user->mText, "p", mNow);
      mSession.Connected(mSession.Line(), mNow);
    } else if (const Json* members = step.Find("open"); members != nullptr) {
      Open(*members);
    } else if (const Json* command = step.Find("cmd"); command != nullptr) {
      Say(command->Written());
    } else if (const Json* fence = step.Find("fence"); fence != nullptr) {
      Say(FenceAnswer(std::atoi(fence->mText.c_str())));
    } else if (const Json* tree = step.Find("tree"); tree != nullptr) {
      SendTree(*tree);
    } else if (const Json* objects = step.Find("act"); objects != nullptr) {
      EXPECT_EQ(Act(objects->mElements.at(0)), step.Find("sent")->mTruth) << mRule;
    } else if (const Json* ms = step.Find("wait"); ms != nullptr) {
      AdvanceByTicks(std::atoi(ms->mText.c_str()));
    } else if (const Json* expected = step.Find("expect"); expected != nullptr) {
      Expect(*expected);
    } else {
      TakeSwitch(step);
    }
  }

  void TakeSwitch(const Json& step) {
    if (const Json* dialog = step.Find("enter"); dialog != nullptr) {
      mSession.Enter(dialog->mText, mNow);
    } else if (step.Find("refresh") != nullptr) {
      mSession.Refresh(mNow);
    } else if (const Json* stays = step.Find("stays"); stays != nullptr) {
      mSession.SetStayLoggedIn(stays->mTruth, mNow);
    } else if (step.Find("logOut") != nullptr) {
      mSession.LogOut();
    } else if (step.Find("lost") != nullptr) {
      mSession.Closed(mSession.Line(), mNow);
    } else if (step.Find("back") != nullptr) {
      AdvanceByTicks(1000);
      ASSERT_NE(mSession.Line(), 0u) << mRule;
      mSession.Connected(mSession.Line(), mNow);
    } else {
      ADD_FAILURE() << mRule << ": unknown step " << step.Written();
    }
  }

  void Open(const Json& members) {
    Json open = Json::MakeObject({{"Command", Json::String("OPEN")},
                                  {"File", Json::String("d.json")},
                                  {"SessionId", Json::String("s1")}});
    for (const auto& [key, member] : members.mMembers) {
      if (member.IsNull()) {
        open.mMembers.erase(key);
      } else {
        open.mMembers[key] = member;
      }
    }
    Say(open.Written());
  }

  void SendTree(const Json& tree) {
    if (tree.IsNull()) {
      return Say(
          R"({"Command":"PUTFILE","File":"d.json","Info":"FILE NOT FOUND","Status":"ERROR"})");
    }
    SendFile("d.json", tree.Written(), "26-01-01 00:00:00");
  }

  bool Act(const Json& json) {
    SetObject object{std::string(json.TextOf("Name")), {}};
    for (const auto& [key, member] : json.mMembers) {
      if (key != "Name") object.mAttributes.emplace_back(key, member);
    }
    mTouched.insert(object.mName);
    Sent();
    const bool isTaken = mSession.Act(object.mName, "CHANGE", {object}, mNow);
    EXPECT_EQ(Sent().size(), isTaken ? 1u : 0u) << mRule;
    return isTaken;
  }

  void Expect(const Json& expected) {
    ++mExpectations;
    for (const auto& [key, wanted] : expected.mMembers) {
      EXPECT_EQ(Answer(key).Written(), wanted.Written()) << mRule << ": " << key;
    }
  }

  Json Answer(const std::string& key) {
    if (key == "state") return Json::String(NameOf(mSession.GetState()));
    if (key == "cause") return Json::String(NameOf(mSession.GetCause()));
    if (key == "dialog") return Json::String(mSession.DialogName());
    if (key == "message") return Json::String(mSession.Message());
    if (key == "stays") return Json(mSession.StaysLoggedIn());
    if (key == "quality") return mSession.Quality() ? Json::Number(*mSession.Quality()) : Json();
    if (key == "values") return Values();
    if (key == "pending") return Pending();
    return Json::String("unknown expectation");
  }

  Json Values() {
    Json values = Json::MakeObject();
    for (const auto& child : mSession.Dialog().Confirmed().Root().mChildren) {
      const auto value = mSession.Dialog().Shown(*child, "Value");
      if (value) values.mMembers[child->mName] = *value;
    }
    return values;
  }

  Json Pending() {
    Json names = Json::MakeArray();
    for (const std::string& name : mTouched) {
      if (mSession.Dialog().IsPending(name)) names.mElements.push_back(Json::String(name));
    }
    return names;
  }

  std::string mRule;
  std::set<std::string> mTouched;
  int mExpectations = 0;
};

TEST(VectorsTest, SessionsEndAsTheyShould) {
  std::set<std::string> rules;
  const auto vectors = VectorsOf("session.json");
  for (const Json& vector : vectors) {
    const SessionVector run(vector);
    rules.insert(TextIn(vector, "rule"));
  }
  EXPECT_GT(vectors.size(), 25u);
  EXPECT_EQ(rules.size(), vectors.size());
}

}  // namespace
}  // namespace dorn::station
