// A scene as it was read: what each station and the host are to do, and what must come of it.
#ifndef TOOLS_DORN_STATION_SCENE_STEP_H_
#define TOOLS_DORN_STATION_SCENE_STEP_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace dorn::scene {

using Ms = std::int64_t;

enum class Verb {
  // A station acts.
  kConnect,
  kLogin,         // mName, mValue: user and password.
  kLoginRefused,  // mText: in the host's words, may be empty.
  kEnter,         // mName
  kEnterNothing,
  kClick,  // mName
  kSet,    // mName, mKey (empty: what the object's type changes), mValue
  kAck,    // mName, mValue: the grid and the text of its row's key.
  kSend,   // mText
  kLeave,
  kClose,
  kReturn,
  kReturnRefused,
  // A station asks.
  kGet,          // mName: is there
  kGetIs,        // mPath: as this local file
  kGetContains,  // mText
  kGetMissing,
  // A station expects.
  kValue,  // mName, mKey, mCompare, mValue
  kThere,
  kGone,
  kDialog,    // mName
  kCommand,   // mName, mMembers
  kMessage,   // mText
  kNoUpdate,  // mName, may be empty; mWithin is how long
  kNoCommand,
  kNoMessage,
  kClosed,
  kSessionEnded,
  // The host.
  kHostStart,
  kHostStop,
  kHostKill,
  kHostRestart,
  kHostLine,    // mText
  kHostNoLine,  // mText; mWithin is how long
  kHostExit,    // mValue: the code
  // Nobody's.
  kWait
};

enum class Compare { kIs, kIsNot, kContains, kAbove, kBelow, kMissing };

constexpr Ms kDefaultWithin = -1;

struct Step {
  std::size_t mLine = 0;
  std::string mSource;  // The line as it was written.
  std::string mWho;     // A station's name, "host", or empty.
  Verb mVerb = Verb::kWait;
  std::string mName;
  std::string mKey;
  Compare mCompare = Compare::kIs;
  std::string mValue;
  std::string mText;
  std::string mPath;
  std::vector<std::pair<std::string, std::string>> mMembers;
  bool mAnyway = false;  // Although an operator could not.
  Ms mWithin = kDefaultWithin;
};

struct Scene {
  std::string mFile;
  std::vector<Step> mSteps;
};

// Whether it changes something: what came before it is looked back at no more.
inline bool IsActing(Verb verb) {
  return verb <= Verb::kReturnRefused || (verb >= Verb::kHostStart && verb <= Verb::kHostRestart);
}

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_STEP_H_
