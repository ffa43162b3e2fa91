// One user's way through a host: log-in, the dialog that is shown, what is set, and coming back
// when the line was gone. A state machine that owns neither a socket nor a clock: whoever owns them
// tells it what happened and when, in milliseconds of any steady clock, and does what it wants.
//
//   kLoggedOut --LogIn()--> kLoggingIn --OPEN--> kEntering --tree--> kShowing
//                                                    ^                  | line lost
//                                                    +--- kWaiting <----+
//
// An OPEN that names no dialog leads to kShowing at once, with nothing to show: the menu is all
// there is.
//
// Line() names the connection that shall be open: a new number asks for a new connection, 0 for
// none. What is told of another line than that is ignored.
#ifndef STATION_SESSION_H_
#define STATION_SESSION_H_

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Commands.h"
#include "station/FileCache.h"
#include "station/Framing.h"
#include "station/Reader.h"
#include "station/Replica.h"

namespace dorn::station {

class Session : private Framing::Sink {
 public:
  using Ms = std::int64_t;

  struct Options {
    std::string mType = "STATION";
    int mWidth = 1024;
    int mHeight = 768;
    Reader::Strings mReading = Reader::Strings::kStrictFirst;
    Quotes mQuotes = Quotes::kEscape;
    // 0 to 1, for the times between two attempts to come back.
    std::function<double()> mRandom = [] { return 0.5; };
    // The station's own copy of a dialog's file, asked for when the host says FileSource STATION.
    std::function<std::optional<std::string>(const std::string& file)> mLocalFile;
  };

  enum class State { kLoggedOut, kLoggingIn, kEntering, kShowing, kWaiting };

  // Why there is no dialog, or why what is shown is stale.
  enum class Cause {
    kNone,
    kWrongPassword,
    kCannotConnect,
    kSessionEnded,  // The host does not know the session any more.
    kIdle,          // The user did nothing for as long as the session lasts.
    kLineLost,
    kNoAnswer  // The line is there and the host says nothing.
  };

  // What the host said with OPEN.
  struct Opened {
    std::string mDialog;
    bool mFromStation = false;
    long mIntervalSeconds = 0;  // 0: not told.
    std::string mLanguage;
    std::vector<std::string> mMenu;
  };

  struct File {
    std::string mName;
    bool mIsThere = false;
    std::string mBytes;
  };

  struct Counts {
    unsigned long mStrict = 0;
    unsigned long mTolerant = 0;
    unsigned long mUnreadable = 0;
  };

  explicit Session(Options options);

  // What the user does. Touched() is any sign of life that sends nothing.
  void LogIn(const std::string& id, const std::string& pass, Ms now);
  void LogOut();
  void Enter(const std::string& dialog, Ms now);
  void Refresh(Ms now);
  void Touched(Ms now) { mTouched = now; }
  void SetLooking(bool isLooking, Ms now);
  // Ends with the session: the next user decides for himself.
  void SetStayLoggedIn(bool stays, Ms now);
  bool StaysLoggedIn() const { return mStays; }
  // Sets attributes of objects, or touches one by its name alone. False when it cannot be sent: not
  // showing, too long, or no text that a host may get.
  bool Act(const std::string& actionName, const std::string& actionType,
           const std::vector<SetObject>& objects, Ms now);
  // Asks for a file, which TakeFiles() brings. Names without an extension are not asked for.
  bool GetFile(const std::string& name, Ms now);
  // A fence for its own sake: once it is not awaited any more, all that the host had sent before is
  // here, or the line is gone. Nothing where there is nobody to ask: before a dialog is entered,
  // and without a line.
  std::optional<unsigned long> Fence(Ms now);
  bool IsAwaited(unsigned long fence) const;

  // What happened to a line.
  void Connected(unsigned line, Ms now);
  void Received(unsigned line, std::string_view bytes, Ms now);
  void Closed(unsigned line, Ms now);  // Or could not be opened.
  void Tick(Ms now);

  // What it wants: a line, these bytes on it, and a Tick() not later than that.
  unsigned Line() const { return mLine; }
  std::string TakeOutput();
  std::optional<Ms> NextTick() const;

  State GetState() const { return mState; }
  Cause GetCause() const;
  // The host's own words about the last error; empty without, and once a change was sent or a
  // dialog came after it.
  const std::string& Message() const { return mMessage; }
  // Since when what is shown has been stale; nothing while it is fresh.
  std::optional<Ms> StaleSince() const;
  const Replica& Dialog() const { return mReplica; }
  // Shown or being entered; empty without.
  const std::string& DialogName() const { return mDialog; }
  const Opened& LastOpened() const { return mOpened; }
  const std::string& SessionId() const { return mSessionId; }
  // How long the host took for the last change; nothing before the first of a session.
  std::optional<Ms> Quality() const { return mQuality; }
  const Counts& Texts() const { return mCounts; }
  std::vector<File> TakeFiles();

 private:
  struct SentFence {
    unsigned long mNumber;
    Ms mSent;
  };
  struct Asked {
    enum class Use { kFile, kTree, kNone };
    std::string mFile;
    Use mUse;
    FileCache::Held mCopy;  // Of which the host was told.
  };

  // Lines and log-in (Session.cc).
  void OpenLine(Ms now);
  void DropLine();
  void LoseLine(Ms now);
  void EndSession(Cause cause, std::string message);
  void Send(const std::string& text) { mOutput += Framed(text); }
  unsigned long SendFence();
  unsigned long NextFence() { return ++mFences; }
  void Await(unsigned long fence) { mAwaited.push_back({fence, mNow}); }
  void StartEntry(const std::string& dialog, bool isNewLine);
  bool IsAlive() const;
  bool IsShowingDialog() const;
  Ms IdleAfter() const;
  void TickLine();
  void TickIdle();
  void TickEntries();

  // What arrives (SessionReceive.cc).
  void OnText(std::string_view text) override;
  void OnPayload(std::string_view piece, bool last) override;
  void OnNoPayload() override;
  void OnTooLong() override { ++mCounts.mUnreadable; }
  void Execute(const Json& command);
  void OnOpen(const Json& command);
  void ShowNothing();
  void OnError(const Json& command);
  void OnPutfile(const Json& command);
  void OnFence(unsigned long fence);
  void OnFileEnd();
  void OnTree(const Json& tree, bool isLive);
  void OnNoFile();

  const Options mOptions;
  const Reader mReader;
  Replica mReplica;

  Ms mNow = 0;
  State mState = State::kLoggedOut;
  Cause mCause = Cause::kNone;
  std::string mMessage;

  unsigned mLine = 0;
  unsigned mLines = 0;
  bool mIsConnected = false;
  Ms mLineSince = 0;
  std::optional<Framing> mFraming;
  bool mIsBroken = false;
  std::string mOutput;
  std::optional<Ms> mRetryAt;
  int mRetries = 0;
  std::optional<Ms> mLostAt;

  struct LogIn mLogIn;
  std::string mSessionId;
  Opened mOpened;
  std::string mDialog;
  std::string mShown;     // Of which the replica holds the tree.
  std::string mReturnTo;  // Shown when the session ended.
  std::string mUser;      // Who saw it.

  unsigned long mFences = 0;
  std::deque<SentFence> mAwaited;
  Ms mFenceAt = 0;                                  // When one was sent or answered last.
  std::map<unsigned long, unsigned long> mActions;  // Fence behind, by the fence before.
  std::map<unsigned long, Ms> mBefore;              // When it was answered, by the fence behind.
  std::optional<Ms> mQuality;

  std::deque<Asked> mAsked;
  Json mHead;  // Of the file that is coming in; null: none.
  std::string mBytes;
  Ms mPayloadAt = 0;
  FileCache mCache;
  std::vector<File> mFiles;
  std::optional<unsigned long> mLocalFence;  // Behind which the station's own file is the tree.
  Json mLocalTree;

  bool mIsLooking = true;
  bool mStays = false;
  Ms mTouched = 0;
  Ms mEnteredAt = 0;
  Ms mAliveAt = 0;  // When something that extends the session was sent last.
  std::optional<Ms> mEnterAgainAt;
  std::optional<Ms> mAskedAgainAt;
  Counts mCounts;
};

}  // namespace dorn::station

#endif  // STATION_SESSION_H_
