// The fixture of the server's tests: stations at the other end of real sockets, one pass of the
// loop at a time, a clock that stands still until the test moves it, and a folder of resources.
#ifndef TESTS_SERVER_SERVERTEST_H_
#define TESTS_SERVER_SERVERTEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/server/TestHost.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TcpPeer.h"

// A station's end of a connection. Calls other than Send and SendRaw do not wait.
class Station : public TcpPeer {
 public:
  explicit Station(int fd = -1) : TcpPeer(fd) {}

  void Send(const std::string& text) { SendRaw("\x02" + text + "\x03"); }
  void SendRaw(const std::string& bytes) { EXPECT_TRUE(TcpPeer::Send(bytes)); }

  // All that has arrived and was not taken yet.
  const std::string& Bytes() { return mBytes += TcpPeer::Take(); }
  // Takes `length` bytes, or what there is.
  std::string Take(size_t length);
  // Takes the complete messages at the front of what has arrived, without their frame bytes.
  std::vector<std::string> Messages();

 private:
  std::string mBytes;
};

// A station and the number of the server's record for it.
struct Link {
  Station station;
  int id = 0;
};

class ServerTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // A new connection, accepted by the station socket and linked into the loop's list.
  Link Connect();
  Link ConnectTcp(int receiveBuffer = 0);
  Link Adopt(int serverFd, int stationFd);
  // Closes a connection from this side; its record serves another station then.
  static void Reopen(Link& link);
  // A connection of session `sid` (created without expiry if need be) that shows `dialog`.
  Link LoggedIn(const std::string& sid, const std::string& dialog = "");

  // The living record of a connection; null once it is closed or gone.
  static VQClientSocket* Find(int id);
  static VQClientSocket* Find(const Link& link) { return Find(link.id); }
  static size_t Connections();

  // One pass of the loop that does not wait.
  static void Pass(int passes = 1);
  // Passes until `done` holds; false after the deadline.
  static bool RunUntil(const std::function<bool()>& done);
  // Sends the bytes, in one write if they fit, and lets the server work them off.
  static void Feed(Link& link, const std::string& bytes);
  static void Tell(Link& link, const std::string& text) { Feed(link, "\x02" + text + "\x03"); }

  // The clock stands still at this instant until the test moves it.
  static constexpr long long kNowMs = 1700000000000LL;  // 2023-11-14 22:13:20 UTC
  FakeClock mClock{kNowMs / 1000};
  // Advances and lets the loop fire what is due.
  void Wait(long long ms);
  // Due times of the pending timers with this id, in milliseconds from now.
  std::vector<long long> DueIn(unsigned int id);

  // Registers a dialog that is initialised with a resource file of this test.
  static void Offer(const std::string& name, const std::string& file,
                    std::function<void(HookedDialog&)> arrange = nullptr);
  // The dialog as the application holds it.
  static HookedDialog* Dialog(const std::string& name);
  // Creates the dialog `name` with its shared tree loaded from `text`.
  HookedDialog* Shared(const std::string& name, const std::string& text);

  // A folder of this test alone below `resources`, without a slash at the end, and its path.
  static std::string Folder();
  static std::string FolderPath();
  // Writes a file into it; the result is the name as a station gives it.
  static std::string WriteResource(const std::string& file, const std::string& text);

  static int OpenDescriptors();
};

// A tree that many tests use: a button and a label.
inline constexpr char kTree[] =
    R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"b1","Type":"BUTTON","Value":"OFF"},)"
    R"({"Name":"l1","Value":1}]})";

// The std::string part alone: prints as text and compares as text.
inline std::string Str(const std::string& text) { return text; }

#endif  // TESTS_SERVER_SERVERTEST_H_
