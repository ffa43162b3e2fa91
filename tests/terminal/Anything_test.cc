// Any keys on any screen of any size, while the host changes it.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/terminal/Stage.h"

namespace dorn::terminal {
namespace {

constexpr char kEverything[] =
    R"({"Name":"a","Type":"LABEL","Value":"5","Format":"bar","Min":0,"Max":10,"High":8},)"
    R"({"Name":"b","Type":"LABEL","Value":"5","Format":"spark"},)"
    R"({"Name":"c","Type":"EDIT","Value":"x","MaxLength":8},)"
    R"({"Name":"e","Type":"EDIT","Value":"1","Format":"0.0","Scale":10,"Min":0,"Max":99,"Step":5},)"
    R"({"Name":"f","Type":"EDIT","Format":"lines:3","Value":"one\ntwo\n水位"},)"
    R"({"Name":"g","Type":"EDIT","Format":"password","Value":"p"},)"
    R"({"Name":"h","Type":"CHECK","Value":"ON"},{"Name":"i","Type":"SLIDER","Value":"40","Unit":"%"},)"
    R"({"Name":"j","Type":"LIST","Options":["a","b","c","d","e","f","g","h"],"Value":"b"},)"
    R"({"Name":"k","Type":"COMBO","Options":["red","green"],"Value":"green"},)"
    R"({"Name":"l","Type":"GROUP","Layout":"RADIO","Objects":[{"Name":"l1","Type":"RADIOBTN","Attr":"ON"},)"
    R"({"Name":"l2","Type":"RADIOBTN"}]},)"
    R"({"Name":"m","Type":"GROUP","Layout":"TABS","Objects":[{"Name":"m1","Type":"GROUP","Objects":[)"
    R"({"Name":"m2","Type":"BUTTON","Confirm":"Really?"}]},{"Name":"m3","Type":"GROUP","Layout":"TABS","Objects":[)"
    R"({"Name":"m4","Type":"EDIT"},{"Name":"m5","Type":"GRID"}]}]},)"
    R"({"Name":"n","Type":"GROUP","Wide":"ON","Objects":[{"Name":"n1","Type":"BUTTON","X":0,"Y":0,"W":4,"H":2},)"
    R"({"Name":"n2","Type":"GROUP","X":8,"Y":900,"W":12,"H":90,"Objects":[{"Name":"n3","Type":"IMAGE"}]}]},)"
    R"({"Name":"o","Type":"GRID","Role":"ALARMS","Rows":[["1","ALARM","high",""],["2","WARN","low","x"]]},)"
    R"({"Name":"p","Type":"GRID","Rows":[["1","2","3","4","5"],[],["6"]],"Widths":["40","40","40"]})";

Key AnyKey(std::mt19937& chance) {
  static const char* const kTexts[] = {"a", "q?", "1",  "-",      ".", " ",
                                       "s", "y",  "水", "\u0301", "/"};
  const auto below = [&chance](unsigned end) { return static_cast<int>(chance() % end); };
  switch (below(6)) {
    case 0:
      return Key::Text(kTexts[below(11)]);
    case 1:
      return Key::Function(1 + below(7));  // No log-out.
    case 2:
      return Key::Click(below(90), below(30));
    default:
      return Key::Of(static_cast<KeyCode>(1 + below(static_cast<unsigned>(KeyCode::kOther))));
  }
}

std::string AnyUpdate(std::mt19937& chance) {
  static const char* const kUpdates[] = {
      R"({"Name":"o","Rows":[]})",
      R"({"Name":"o","Rows":[["1","ALARM","high",""],["2","BAD","low",""],["3","ALARM","x",""]]})",
      R"({"Name":"p","Rows":[["1"]]})",
      R"({"Name":"j","Options":["only"]})",
      R"({"Name":"j","Options":[]})",
      R"({"Name":"k","Options":[]})",
      R"({"Name":"c","Value":"other","Error":"no"})",
      R"({"Name":"c","Error":""})",
      R"({"Name":"m","Visible":"OFF"})",
      R"({"Name":"m","Visible":"ON"})",
      R"({"Name":"m1","Visible":"OFF"})",
      R"({"Name":"e","Enabled":"OFF"})",
      R"({"Name":"e","Enabled":"ON","Value":"n/a"})",
      R"({"Name":"i","Min":50,"Max":50,"Value":"x"})",
      R"({"Name":"f","Format":"text"})",
      R"({"Name":"f","Format":"lines:100","Value":"\n\n\n"})",
      R"({"Name":"l","Layout":"TABS"})",
      R"({"Name":"n2","X":11,"W":1})"};
  return kUpdates[chance() % std::size(kUpdates)];
}

void LiveThrough(unsigned seed) {
  std::mt19937 chance(seed);
  Stage stage(static_cast<int>(1 + chance() % 140), static_cast<int>(1 + chance() % 50));
  stage.mOpenMore = R"(,"Menu":["d","e","nowhere"])";
  stage.AddDialog("e", R"({"Name":"c","Type":"EDIT"})");
  stage.Show(kEverything);
  for (int step = 0; step < 400; ++step) {
    stage.mNow += 20;
    stage.mSession.Tick(stage.mNow);
    switch (chance() % 12) {
      case 0:
        stage.Update(AnyUpdate(chance));
        break;
      case 1:
        stage.mView.Resize(static_cast<int>(1 + chance() % 140),
                           static_cast<int>(1 + chance() % 50));
        break;
      case 2:
        stage.Answer();
        break;
      case 3:
        stage.Say(R"({"Command":"DELETE","Name":"d","Objects":[{"Name":"j"},{"Name":"m3"}]})");
        break;
      case 4:
        if (stage.mSession.GetState() == station::Session::State::kShowing) {
          stage.Lose();
          stage.ComeBack();
        }
        break;
      default:
        stage.Press(AnyKey(chance));
        break;
    }
    if (chance() % 3 == 0) stage.Picture();
  }
  // Whatever was pressed, F10 ends it.
  stage.Press(Key::Function(10));
  EXPECT_TRUE(stage.mView.WantsQuit());
}

TEST(TerminalAnythingTest, LivesThroughAnyKeys) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    LiveThrough(seed);
  }
}

}  // namespace
}  // namespace dorn::terminal
