#include "tests/terminal/Stage.h"

#include <utility>

#include "station/Commands.h"
#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

station::Session::Options FixedOptions() { return {}; }

}  // namespace

Stage::Stage(int width, int height, View::Setup setup)
    : mSession(FixedOptions()), mView(mSession, std::move(setup), width, height) {}

void Stage::ShowAndFocus(const std::string& objects) {
  Show(objects);
  Press(KeyCode::kTab);
}

void Stage::AddDialog(const std::string& name, const std::string& objects) {
  mFiles[name + ".json"] =
      R"({"Name":")" + name + R"(","Title":"Dialog )" + name + R"(","Objects":[)" + objects + "]}";
}

void Stage::Show(const std::string& objects) {
  AddDialog("d", objects);
  mView.LogIn("me", "secret", mNow);
  Open();
  Answer();
}

void Stage::Open() {
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","DialogName":"d","SessionId":"s1")" + mOpenMore + "}");
}

void Stage::Say(const std::string& text) {
  mSession.Received(mSession.Line(), station::Framed(text), mNow);
  mView.OnHost(mNow);
}

void Stage::Update(const std::string& objects) {
  Say(R"({"Command":"UPDATE","Objects":[)" + objects + "]}");
}

void Stage::Take() {
  const std::string bytes = mSession.TakeOutput();
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = bytes.find('\x03', at);
    const std::string text = bytes.substr(at + 1, end - at - 1);
    at = end + 1;
    const std::string_view asks = R"("GETFILE","File":")";
    for (std::size_t file = text.find(asks); file != std::string::npos;
         file = text.find(asks, file)) {
      file += asks.size();
      mAsked.push_back(text.substr(file, text.find('"', file) - file));
    }
    mTexts.push_back(text);
  }
}

void Stage::Answer() {
  for (Take(); !mAsked.empty(); Take()) {
    const std::string file = mAsked.front();
    mAsked.erase(mAsked.begin());
    const auto found = mFiles.find(file);
    if (found == mFiles.end()) {
      Say(R"({"Command":"PUTFILE","File":")" + file + R"(","Status":"ERROR"})");
    } else {
      const std::string head = R"({"Command":"PUTFILE","Date":"24-01-02 03:04:05","File":")" +
                               file + R"(","Length":)" + std::to_string(found->second.size()) + "}";
      mSession.Received(mSession.Line(), station::Framed(head) + found->second, mNow);
      mView.OnHost(mNow);
    }
  }
}

void Stage::Lose() {
  mAsked.clear();
  mSession.Closed(mSession.Line(), mNow);
  mView.OnHost(mNow);
  mView.TakeHost(mNow);
}

void Stage::ComeBack() {
  while (mSession.Line() == 0) {
    mNow += 500;
    mSession.Tick(mNow);
  }
  mSession.Connected(mSession.Line(), mNow);
  mView.OnHost(mNow);
  Answer();
}

void Stage::Press(const Key& key) { mView.OnKey(key, mNow); }

void Stage::Type(std::string_view text) {
  Cluster cluster;
  for (ClusterReader reader(text); reader.Next(cluster);) Press(Key::Text(cluster.mText));
}

void Stage::Focus(const std::string& name) {
  Press(Key::Function(3));
  Type(name);
  Press(KeyCode::kEnter);
}

std::vector<std::string> Stage::Sent() {
  Take();
  std::vector<std::string> sent;
  for (std::string& text : mTexts) {
    const std::size_t condition = text.find(R"({"Command":"CONDITION")");
    if (condition == std::string::npos) continue;
    const std::size_t end = text.find(R"(,{"Command":"GETFILE")", condition);
    sent.push_back(text.substr(condition, end - condition));
  }
  mTexts.clear();
  return sent;
}

Grid Stage::Picture() {
  if (mView.HasHostChange()) mView.TakeHost(mNow);
  return mView.Draw(mNow);
}

std::string Stage::Text() {
  const Grid grid = Picture();
  std::string text;
  for (int y = 0; y < grid.Height(); ++y) text += grid.LineText(y) + "\n";
  return text;
}

std::string Stage::LineWith(std::string_view text) {
  const Grid grid = Picture();
  for (int y = 0; y < grid.Height(); ++y) {
    std::string line = grid.LineText(y);
    if (line.find(text) != std::string::npos) return line;
  }
  return {};
}

Style Stage::StyleOf(std::string_view text) {
  const Grid grid = Picture();
  for (int y = 0; y < grid.Height(); ++y) {
    const std::size_t at = grid.LineText(y).find(text);
    if (at == std::string::npos) continue;
    const int x = TextWidth(std::string_view(grid.LineText(y)).substr(0, at));
    return grid.At(x, y).mStyle;
  }
  return {};
}

}  // namespace dorn::terminal
