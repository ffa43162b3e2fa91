// A session that is told anything, and whose user does anything: it survives, its tree is whole and
// can be drawn, and what it sends is what a host may get.
#include <string>

#include "fuzz/FuzzTarget.h"
#include "station/Screen.h"
#include "station/Session.h"

namespace {

using dorn::station::Json;
using dorn::station::Object;
using dorn::station::Reader;
using dorn::station::Reading;
using dorn::station::Session;

void CheckObject(const Object& object) {
  for (const auto& child : object.mChildren) {
    FUZZ_CHECK(child->mParent == &object);
    CheckObject(*child);
  }
}

void CheckSent(const std::string& bytes) {
  for (size_t at = 0; at < bytes.size();) {
    FUZZ_CHECK(bytes[at] == '\x02');
    const size_t end = bytes.find('\x03', at);
    FUZZ_CHECK(end != std::string::npos);
    const std::string text = bytes.substr(at + 1, end - at - 1);
    FUZZ_CHECK(dorn::station::IsSendable(text));
    at = end + 1;
  }
}

// Gives the session what an ordinary host would have said, so that short inputs reach far.
void Enter(Session& session, const std::string& tree) {
  session.LogIn("me", "pass", 0);
  session.Connected(session.Line(), 0);
  const std::string text =
      dorn::station::Framed(R"({"Command":"OPEN","File":"d.json","SessionId":"s","Interval":60})") +
      dorn::station::Framed(R"({"Command":"PUTFILE","File":"?f1","Status":"ERROR"})") +
      dorn::station::Framed(R"({"Command":"PUTFILE","Date":"26-01-01","File":"d.json","Length":)" +
                            std::to_string(tree.size()) + "}") +
      tree;
  session.Received(session.Line(), text, 0);
}

void Do(Session& session, FuzzInput& input, Session::Ms& now) {
  switch (input.Below(10)) {
    case 0:
      now += static_cast<Session::Ms>(input.Number(2));
      session.Tick(now);
      break;
    case 1:
      session.Act(input.Text(), "CHANGE", {{input.Text(), {{"Value", Json::String(input.Text())}}}},
                  now);
      break;
    case 2:
      session.Act("r", "CLICK", {{input.Text(), {{"Attr", Json::String("ON")}}}}, now);
      break;
    case 3:
      session.Enter(input.Text(), now);
      break;
    case 4:
      session.Closed(session.Line(), now);
      break;
    case 5:
      session.Connected(session.Line(), now);
      break;
    case 6:
      session.GetFile(input.Text(), now);
      break;
    case 7:
      session.SetLooking(input.Flag(), now);
      session.SetStayLoggedIn(input.Flag(), now);
      break;
    case 8:
      session.Received(session.Line(), input.Text(), now);
      break;
    default:
      session.Received(session.Line(), dorn::station::Framed(input.Until('\0')), now);
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  Session::Ms now = 0;
  Session session{Session::Options{}};
  Enter(session, input.Until('\0'));
  while (!input.IsEmpty()) {
    Do(session, input, now);
    CheckSent(session.TakeOutput());
    static_cast<void>(session.NextTick());
    static_cast<void>(session.TakeFiles());
  }
  const auto& tree = session.Dialog().Confirmed();
  CheckObject(tree.Root());
  FUZZ_CHECK(Reader().Read(tree.Written().Written()).mReading == Reading::kStrict);
  static_cast<void>(dorn::station::MakeScreen(session.Dialog(), "ja"));
  session.LogOut();
  FUZZ_CHECK(session.Line() == 0 && !session.NextTick());
  return 0;
}
