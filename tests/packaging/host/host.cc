// Checks, from a host's side of the library border, what an optimiser, a build type or a compiler
// could take away: that the library reaches the overrides of the host's global application object,
// the class tags of tree objects, and the assertions of the JSON module.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "my_app.h"

MyMaker maker;
MyApp app(maker);

namespace {

int gFailures = 0;

void Expect(bool held, const char* what) {
  if (held) return;
  std::fprintf(stderr, "host: failed: %s\n", what);
  ++gFailures;
}

void LibraryReachesTheHostsOverrides() {
  app.ApplicationTimer(timeval{}, 4711);
  Expect(app.mLastTimer == 4711, "a timer of the host reaches its OnTimer");

  auto* client = new VQClientSocket(nullptr, app.GetFdDataList());
  client->DoCommand("{\"Command\":\"HELLO\",\"Id\":\"tanaka\",\"Pass\":\"x\"}");
  Expect(app.mAuths == 1, "HELLO reaches the host's OnAuth");
  Expect(client->GetSessionId() == "S1", "the host's OnAuth authenticates the connection");

  auto* other = new VQClientSocket(nullptr, app.GetFdDataList());
  other->DoCommand("{\"Command\":\"HELLO\",\"SessionId\":\"S1\"}");
  Expect(app.mAuthChecks == 1, "a session id reaches the host's OnAuthCheck");
  Expect(other->GetSessionId() == "S1", "a known session id re-attaches");
  Expect(app.CreateDialog("panel") != nullptr, "the host's maker makes the dialog");
  Expect(app.CreateDialog("other") == nullptr, "the host's maker refuses a name");

  // A second application object while the first lives: the library stays with the first.
  const unsigned int before = app.mSessionTimerId;
  MyMaker secondMaker;
  auto second = std::make_unique<MyApp>(secondMaker);
  VQSession session("S2", 0);
  Expect(app.mSessionTimerId == before + 1, "the first application object stays the one");
  delete client;
  delete other;
}

template <class Object, class... Arguments>
int TagOfNew(Arguments... arguments) {
  const std::unique_ptr<Object> object(new Object(arguments...));
  return object->mDebugFlag;
}

template <class Object, class... Arguments>
int TagOfLocal(Arguments... arguments) {
  const Object object(arguments...);
  return object.mDebugFlag;
}

void ObjectsCarryTheirTags() {
  VQJsonObject* const none = nullptr;
  Expect(TagOfNew<VQJsonObject>(none) == 10, "new VQJsonObject has tag 10");
  Expect(TagOfLocal<VQJsonObject>(none) == 1, "a local VQJsonObject has tag 1");
  Expect(TagOfNew<VQJsonObjectHasList>("Objects", none) == 2, "VQJsonObjectHasList has tag 2");
  Expect(TagOfNew<VQJsonRadioButtonObject>(none) == 3, "VQJsonRadioButtonObject has tag 3");
  Expect(TagOfNew<VQJsonRadioButtonGroup>(none) == 4, "VQJsonRadioButtonGroup has tag 4");
  Expect(TagOfNew<VQJsonCommand>("X") == 5, "VQJsonCommand has tag 5");
  Expect(TagOfNew<VQJsonResource>() == 6, "VQJsonResource has tag 6");
  Expect(TagOfNew<VQJsonGrid>(none) == 7, "VQJsonGrid has tag 7");
  Expect(TagOfNew<VQJsonCommands>() == 2, "VQJsonCommands has tag 2");
  Expect(TagOfLocal<VQJsonResource>() == 6, "a local VQJsonResource has tag 6");

  alignas(VQJsonObject) unsigned char storage[sizeof(VQJsonObject)];
  auto* placed = new (storage) VQJsonObject(nullptr);
  Expect(placed->mDebugFlag == 1, "an object in storage of the host has tag 1");
  placed->~VQJsonObject();
}

// What a child process that misuses the JSON module says on standard error; "" if it lives on.
template <class Misuse>
std::string DyingWords(Misuse misuse) {
  int ends[2];
  if (pipe(ends) != 0) return "";
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    misuse();
    _exit(0);
  }
  close(ends[1]);
  std::string words;
  char bytes[512];
  for (ssize_t got = read(ends[0], bytes, sizeof bytes); got > 0;
       got = read(ends[0], bytes, sizeof bytes)) {
    words.append(bytes, static_cast<size_t>(got));
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT ? words : "";
}

bool Quotes(const std::string& words, const char* assertion) {
  return words.find("Assertion `" + std::string(assertion) + "' failed.") != std::string::npos;
}

void MisuseOfJsonEndsTheProcess() {
  Expect(Quotes(DyingWords([] { value(1).get(0); }), "is<array>()"), "indexing a non-array aborts");
  Expect(Quotes(DyingWords([] { value(1).get("k"); }), "is<object>()"),
         "looking up a key in a non-object aborts");
  Expect(Quotes(DyingWords([] {
                  const char text[] = "ab";
                  input in(text, text + 2);
                  in.getc();
                  in.ungetc();
                  in.ungetc();
                }),
                "!ungot_"),
         "a second push-back aborts");
  Expect(Quotes(DyingWords([] { value(99, true).to_str(); }), "0"), "an unknown tag aborts");
}

}  // namespace

int main() {
  LibraryReachesTheHostsOverrides();
  ObjectsCarryTheirTags();
  MisuseOfJsonEndsTheProcess();
  if (gFailures == 0) std::puts("host: everything held");
  return gFailures == 0 ? 0 : 1;
}
