// GETFILE: files below the folder of resources, and dialogs' trees.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr time_t kFileTime = 1577934245;  // 2020-01-02 03:04:05 UTC

// The time zone, restored at the end.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) { Set(zone); }
  ~TimeZone() { Set("UTC"); }
  static void Set(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

class FileTransferTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    unsetenv("DATEMSK");
    TimeZone::Set("UTC");
    mLink = LoggedIn("S1");
  }

  static std::string Path(const std::string& name) {
    return std::string(app.GetModuleDirectory()) + "/resources/" + name;
  }

  static void SetFileTime(const std::string& name, time_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, Path(name).c_str(), times, 0));
  }

  // Writes a file dated kFileTime; the result is its name as a station gives it.
  static std::string File(const std::string& file, const std::string& text) {
    std::string name = WriteResource(file, text);
    SetFileTime(name, kFileTime);
    return name;
  }

  void Get(const std::string& name, const std::string& more = "") {
    Tell(mLink, R"({"Command":"GETFILE","File":")" + name + "\"" + more + "}");
  }

  static std::string Error(const std::string& name, const std::string& info) {
    return R"({"Command":"PUTFILE","File":")" + name + R"(","Info":")" + info +
           R"(","Status":"ERROR"})";
  }

  static std::string Follows(const std::string& name, size_t length) {
    return R"({"Command":"PUTFILE","Date":"2020-01-02 03:04:05","File":")" + name +
           R"(","Length":)" + std::to_string(length) + "}";
  }

  // All that the station has received once `length` bytes, or more, are there.
  std::string Received(size_t length) {
    EXPECT_TRUE(RunUntil([&] { return mLink.station.Bytes().size() >= length; }))
        << mLink.station.Bytes().size();
    return mLink.station.Take(mLink.station.Bytes().size());
  }

  // What comes behind everything that was accepted for sending before.
  void SendMarker() { Find(mLink)->SendData("marker"); }

  Link mLink;
};

std::string Frame(const std::string& text) { return "\x02" + text + "\x03"; }

std::string Pattern(size_t length) {
  std::string bytes(length, '\0');
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

// Errors

TEST_F(FileTransferTest, WithoutAFileNameTheKeyIsMissing) {
  Tell(mLink, R"({"Command":"GETFILE"})");
  Get("");
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error("", "NOT KEY"), Error("", "NOT KEY")));
}

TEST_F(FileTransferTest, ErrorsDoNotEchoTheObjectName) {
  Tell(mLink, R"({"Command":"GETFILE","ObjectName":"o","Date":"2020-01-02 03:04:05"})");
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error("", "NOT KEY")));
}

TEST_F(FileTransferTest, AMissingFileIsNotFound) {
  Get("no/such.json");
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error("no/such.json", "FILE NOT FOUND")));
}

TEST_F(FileTransferTest, NamesOutsideTheResourcesAreNotFound) {
  std::ofstream(FolderPath() + "/../../outside.txt") << "secret";
  for (const char* name : {"../outside.txt", "./../outside.txt", "x/../../outside.txt", "..",
                           "../../../../../../../../etc/passwd", "/../outside.txt"}) {
    Get(name);
    EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND"))) << name;
  }
  unlink(Path("../outside.txt").c_str());
}

TEST_F(FileTransferTest, ANameOutsideTheResourcesIsReportedInOneLine) {
  CapturedStdout console;
  Get("../outside.txt");
  const std::string lines = console.Text();
  // The command, the refusal, the reply.
  EXPECT_EQ(3, std::count(lines.begin(), lines.end(), '\n')) << lines;
}

TEST_F(FileTransferTest, NamesThatStayInsideMayGoUpAndDown) {
  const std::string name = Folder() + "/../" + File("a.bin", "xyz");
  Get(name);
  EXPECT_EQ(Frame(Follows(name, 3)) + "xyz", mLink.station.Bytes());
}

TEST_F(FileTransferTest, DeployedSymbolicLinksAreFollowed) {
  File("real.bin", "xyz");
  ASSERT_EQ(0, symlink("real.bin", Path(Folder() + "/link.bin").c_str()));
  Get(Folder() + "/link.bin");
  EXPECT_EQ(Frame(Follows(Folder() + "/link.bin", 3)) + "xyz", mLink.station.Bytes());
}

TEST_F(FileTransferTest, ANameWithAZeroByteIsNotFound) {
  const std::string name = File("a.bin", "xyz");
  Find(mLink)->OnGetfile(KZString(name + std::string("\0.txt", 5)), "", "");
  Pass();
  const std::vector<std::string> messages = mLink.station.Messages();
  ASSERT_EQ(1U, messages.size());
  EXPECT_THAT(messages[0], HasSubstr(R"("Info":"FILE NOT FOUND","Status":"ERROR")"));
  EXPECT_EQ("", mLink.station.Bytes());
}

TEST_F(FileTransferTest, AFileDatedAtTheEpochIsNotFound) {
  const std::string name = WriteResource("epoch.bin", "xyz");
  SetFileTime(name, 0);
  Get(name);
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND")));
}

TEST_F(FileTransferTest, ANameLongerThanAnyPathIsNotFound) {
  const std::string name(400000, 'n');
  Get(name);
  EXPECT_EQ(Frame(Error(name, "FILE NOT FOUND")), Received(400000));
}

TEST_F(FileTransferTest, ANameIsNeverTakenForAFormat) {
  Get("%s%n%d");
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error("%s%n%d", "FILE NOT FOUND")));
}

TEST_F(FileTransferTest, AFileWhoseLengthDoesNotFitIsNotFoundAndReported) {
  const std::string name = WriteResource("huge.bin", "");
  ASSERT_EQ(0, truncate(Path(name).c_str(), 2147483648LL));
  SetFileTime(name, kFileTime);
  CapturedStdout console;
  Get(name);
  const std::string lines = console.Text();
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND")));
  // The command, the refusal, the reply.
  EXPECT_EQ(3, std::count(lines.begin(), lines.end(), '\n')) << lines;
}

// Files

TEST_F(FileTransferTest, TheFileFollowsItsAnnouncementRaw) {
  const std::string text = std::string("\x02zero\0etx\x03", 10) + Pattern(2490);
  const std::string name = File("a.bin", text);
  CapturedStdout console;
  Get(name);
  const std::string expected = Frame(Follows(name, 2500)) + text;
  EXPECT_EQ(expected, Received(expected.size()));
  EXPECT_EQ("Command=GETFILE json={\"Command\":\"GETFILE\",\"File\":\"" + name + "\"}\n" +
                " sid=S1 dname= id=134217728 out=" + Follows(name, 2500) + "\n",
            console.Text());
}

TEST_F(FileTransferTest, TheObjectNameIsEchoed) {
  const std::string name = File("a.bin", "x");
  Get(name, R"(,"ObjectName":"o1")");
  EXPECT_EQ(Frame(R"({"Command":"PUTFILE","Date":"2020-01-02 03:04:05","File":")" + name +
                  R"(","Length":1,"ObjectName":"o1"})") +
                "x",
            mLink.station.Bytes());
}

TEST_F(FileTransferTest, AnEmptyFileIsAnnouncedWithLengthZero) {
  const std::string name = File("empty.bin", "");
  Get(name);
  EXPECT_EQ(Frame(Follows(name, 0)), mLink.station.Bytes());
}

TEST_F(FileTransferTest, TheCopyOfTheSameDateIsTheLatest) {
  const std::string name = File("a.bin", "xyz");
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  EXPECT_EQ(Frame(R"({"Command":"PUTFILE","Date":"2020-01-02 03:04:05","File":")" + name +
                  R"(","Status":"LATEST"})"),
            mLink.station.Bytes());
}

TEST_F(FileTransferTest, TheLatestEchoesTheObjectName) {
  const std::string name = File("a.bin", "xyz");
  Get(name, R"(,"Date":"2020-01-02 03:04:05","ObjectName":"o1")");
  EXPECT_EQ(Frame(R"({"Command":"PUTFILE","Date":"2020-01-02 03:04:05","File":")" + name +
                  R"(","ObjectName":"o1","Status":"LATEST"})"),
            mLink.station.Bytes());
}

struct DateCase {
  const char* name;
  const char* date;
  bool latest;
};

TEST_F(FileTransferTest, OnlyTheExactDateIsTheLatest) {
  const DateCase table[] = {
      {"equal", "2020-01-02 03:04:05", true},   {"older", "2020-01-02 03:04:04", false},
      {"newer", "2020-01-02 03:04:06", false},  {"empty", "", false},
      {"no date", "yesterday-ish", false},      {"text behind it", "2020-01-02 03:04:05x", false},
      {"a date alone", "2020-01-02", false},    {"no such day", "2020-13-42 03:04:05", false},
      {"a format", "%Y-%m-%d %H:%M:%S", false}, {"two-digit year", "20-01-02 03:04:05", false},
  };
  const std::string name = File("a.bin", "xyz");
  for (const DateCase& row : table) {
    Get(name, std::string(R"(,"Date":")") + row.date + "\"");
    const std::string got = mLink.station.Take(10000);
    EXPECT_EQ(row.latest, got.find("LATEST") != std::string::npos) << row.name;
    EXPECT_EQ(row.latest ? got : Frame(Follows(name, 3)) + "xyz", got) << row.name;
  }
}

TEST_F(FileTransferTest, DatesAreLocalTimeInSummerAndInWinter) {
  const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const std::string winter = File("winter.bin", "x");
  const std::string summer = WriteResource("summer.bin", "x");
  SetFileTime(summer, 1593583200);  // 2020-07-01 06:00:00 UTC
  Get(winter, R"(,"Date":"2020-01-02 04:04:05")");
  Get(summer, R"(,"Date":"2020-07-01 08:00:00")");
  const std::vector<std::string> messages = mLink.station.Messages();
  ASSERT_EQ(2U, messages.size());
  EXPECT_THAT(messages[0], HasSubstr(R"("Date":"2020-01-02 04:04:05")"));
  EXPECT_THAT(messages[0], HasSubstr("LATEST"));
  EXPECT_THAT(messages[1], HasSubstr(R"("Date":"2020-07-01 08:00:00")"));
  EXPECT_THAT(messages[1], HasSubstr("LATEST"));
}

TEST_F(FileTransferTest, ThePlatformsDateTemplatesAreReadToo) {
  WriteResource("masks", "%d.%m.%Y %H:%M:%S\n");
  setenv("DATEMSK", (FolderPath() + "/masks").c_str(), 1);
  const std::string name = File("a.bin", "xyz");
  Get(name, R"(,"Date":"02.01.2020 03:04:05")");
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  unsetenv("DATEMSK");
  const std::vector<std::string> messages = mLink.station.Messages();
  ASSERT_EQ(2U, messages.size());
  EXPECT_THAT(messages[0], HasSubstr("LATEST"));
  EXPECT_THAT(messages[1], HasSubstr("LATEST"));
}

// What is not a regular file

TEST_F(FileTransferTest, ADirectoryIsAnnouncedAndNoBytesFollow) {
  const std::string name = Folder() + "/sub";
  ASSERT_EQ(0, mkdir(Path(name).c_str(), 0755));
  SetFileTime(name, kFileTime);
  struct stat info {};
  ASSERT_EQ(0, stat(Path(name).c_str(), &info));
  Get(name);
  SendMarker();
  EXPECT_EQ(Frame(Follows(name, static_cast<size_t>(info.st_size))) + Frame("marker"),
            mLink.station.Bytes());
}

TEST_F(FileTransferTest, AFifoIsAnnouncedAndDoesNotBlock) {
  const std::string name = Folder() + "/fifo";
  ASSERT_EQ(0, mkfifo(Path(name).c_str(), 0644));
  SetFileTime(name, kFileTime);
  Get(name);
  SendMarker();
  EXPECT_EQ(Frame(Follows(name, 0)) + Frame("marker"), mLink.station.Bytes());
}

TEST_F(FileTransferTest, ADeviceIsAnnouncedAndNoBytesFollow) {
  const std::string name = Folder() + "/zero";
  ASSERT_EQ(0, symlink("/dev/zero", Path(name).c_str()));
  Get(name);
  SendMarker();
  const std::string got = mLink.station.Bytes();
  EXPECT_THAT(got, HasSubstr(R"("Length":0})"));
  EXPECT_EQ(got.substr(got.find('\x03') + 1), Frame("marker"));
}

TEST_F(FileTransferTest, AFileThatCannotBeOpenedIsAnnouncedAlone) {
  const std::string name = File("a.bin", "xyz");
  ASSERT_EQ(0, chmod(Path(name).c_str(), 0));
  if (access(Path(name).c_str(), R_OK) == 0) {
    // Root opens everything: take the descriptors away instead.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlimit none = limit;
    none.rlim_cur = 3;
    setrlimit(RLIMIT_NOFILE, &none);
    Find(mLink)->OnGetfile(KZString(name), "", "");
    setrlimit(RLIMIT_NOFILE, &limit);
  } else {
    Find(mLink)->OnGetfile(KZString(name), "", "");
  }
  SendMarker();
  EXPECT_EQ(Frame(Follows(name, 3)) + Frame("marker"), mLink.station.Bytes());
}

// Big files and slow readers

TEST_F(FileTransferTest, AFiveMegabyteFileArrivesWholeAndInOrder) {
  const std::string text = Pattern(5 << 20);
  const std::string name = File("big.bin", text);
  Get(name);
  SendMarker();
  const std::string expected = Frame(Follows(name, text.size())) + text + Frame("marker");
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(FileTransferTest, AStationThatDoesNotReadDelaysNobody) {
  const std::string name = File("big.bin", Pattern(5 << 20));
  Link other = LoggedIn("S2");
  const int before = OpenDescriptors();
  Get(name);
  Tell(other, R"({"Command":"HELLO","Type":"T"})");
  EXPECT_EQ(1U, other.station.Messages().size());
  app.SetApplicationSingleTimerInterval(1, 42);
  Calls().clear();
  Wait(1);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 42"));
  EXPECT_LE(OpenDescriptors(), before + 2);  // The file, and what watches the backlog.
}

TEST_F(FileTransferTest, AWaitingTransferDoesNotKeepTheLoopBusy) {
  const std::string name = File("big.bin", Pattern(5 << 20));
  Get(name);
  Pass(5);
  app.ResetTimer();
  app.SetApplicationTimerInterval(20, 42);
  int passes = 0;
  for (const auto start = std::chrono::steady_clock::now();
       std::chrono::steady_clock::now() - start < std::chrono::milliseconds(100); ++passes) {
    app.RunPass();
    mClock.AdvanceMs(20);
  }
  EXPECT_LE(passes, 20);
}

TEST_F(FileTransferTest, ManyRequestsAreAnsweredInOrder) {
  const std::string a = Pattern(700000), b = Pattern(300001);
  const std::string nameA = File("a.bin", a), nameB = File("b.bin", b);
  Tell(mLink, R"({"Commands":[{"Command":"GETFILE","File":")" + nameA +
                  R"("},{"Command":"GETFILE","File":"zz"},{"Command":"GETFILE","File":")" + nameB +
                  R"("},{"Command":"GETFILE","File":")" + nameA + R"("}]})");
  const std::string expected =
      Frame(Follows(nameA, a.size())) + a + Frame(Error("zz", "FILE NOT FOUND")) +
      Frame(Follows(nameB, b.size())) + b + Frame(Follows(nameA, a.size())) + a;
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(FileTransferTest, ManyRequestsForAFileHoldFewDescriptors) {
  const std::string name = File("a.bin", Pattern(1 << 20));
  const int before = OpenDescriptors();
  std::string commands;
  for (int i = 0; i < 50; ++i) {
    commands += (i == 0 ? "" : ",") + (R"({"Command":"GETFILE","File":")" + name + R"("})");
  }
  Tell(mLink, R"({"Commands":[)" + commands + "]}");
  EXPECT_LE(OpenDescriptors(), before + 2);
}

TEST_F(FileTransferTest, AFileThatGrowsIsSentToItsAnnouncedLength) {
  const std::string text = Pattern(3 << 20);
  const std::string name = File("grow.bin", text);
  Get(name);
  std::ofstream(Path(name), std::ios::binary | std::ios::app) << std::string(100000, 'g');
  SendMarker();
  const std::string expected = Frame(Follows(name, text.size())) + text + Frame("marker");
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(FileTransferTest, AFileThatShrinksEndsEarlyAndTheStationIsServedOn) {
  const std::string text = Pattern(3 << 20);
  const std::string name = File("shrink.bin", text);
  Get(name);
  ASSERT_EQ(0, truncate(Path(name).c_str(), 1000));
  SendMarker();
  std::string got;
  ASSERT_TRUE(RunUntil([&] {
    got = mLink.station.Bytes();
    return got.size() > 8 && got.substr(got.size() - 8) == Frame("marker");
  }));
  const std::string announced = Frame(Follows(name, text.size()));
  EXPECT_EQ(announced, got.substr(0, announced.size()));
  EXPECT_EQ(text.substr(0, 100), got.substr(announced.size(), 100));
  EXPECT_LT(got.size(), text.size());
}

TEST_F(FileTransferTest, AStationThatLeavesInTheMiddleLeavesNothingBehind) {
  const std::string name = File("big.bin", Pattern(5 << 20));
  Get(name);
  const int before = OpenDescriptors();
  mLink.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_LT(OpenDescriptors(), before);
}

// The raw bytes go through the connection's own Send, block by block.
class RecordingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int Send(const void* data, int length) override {
    mBlocks.push_back(length);
    return VQClientSocket::Send(data, length);
  }
  std::vector<int> mBlocks;
};

TEST_F(FileTransferTest, BlocksOfOneKibibyteGoThroughSend) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new RecordingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  const std::string text = Pattern(2500);
  const std::string name = File("a.bin", text);
  client->OnGetfile(KZString(name), "", "");
  EXPECT_THAT(client->mBlocks, ElementsAre(1024, 1024, 452));
  EXPECT_EQ(Frame(Follows(name, 2500)) + text, station.Bytes());
}

// Dialogs' trees

class TreeTransferTest : public FileTransferTest {
 protected:
  // A dialog whose name is that of its resource file, as stations ask for it.
  HookedDialog* Serve(const std::string& file, const std::string& text) {
    const std::string name = Folder() + "/" + file;
    Offer(name, File(file + ".json", text));
    auto* dialog = dynamic_cast<HookedDialog*>(app.CreateDialog(name.c_str()));
    Calls().clear();
    return dialog;
  }

  static std::string TreeFollows(const std::string& name, size_t length) {
    // One minute before the made-up time.
    return R"({"Command":"PUTFILE","Date":"23-11-14 22:12:20","File":")" + name + R"(","Length":)" +
           std::to_string(length) + "}";
  }
};

TEST_F(TreeTransferTest, ADialogsFileIsServedFromItsSharedTree) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->LoadJsonShare();
  dialog->GetResourceShare()->SearchName("b1")->SetValue("Value", VQValue("ON"), 0, "");
  const std::string name = Folder() + "/top.json";
  const std::string tree = Str(dialog->GetResourceShare()->GetJson());
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  EXPECT_THAT(Calls(),
              ElementsAre("OnGetfile " + Folder() + "/top " + name + " [2020-01-02 03:04:05] []"));
  EXPECT_THAT(tree, HasSubstr(R"("Value":"ON")"));
  EXPECT_EQ(Frame(TreeFollows(name, tree.size())) + tree, mLink.station.Bytes());
}

TEST_F(TreeTransferTest, TheTreesReplyEchoesTheObjectName) {
  Serve("top", kTree)->LoadJsonShare();
  const std::string name = Folder() + "/top.json";
  Get(name, R"(,"ObjectName":"o1")");
  EXPECT_THAT(mLink.station.Messages(),
              ElementsAre(R"({"Command":"PUTFILE","Date":"23-11-14 22:12:20","File":")" + name +
                          R"(","Length":)" + std::to_string(std::string(kTree).size()) +
                          R"(,"ObjectName":"o1"})"));
}

TEST_F(TreeTransferTest, TheExtensionCountsInAnyCase) {
  Serve("top", kTree)->LoadJsonShare();
  for (const char* extension : {"JSON", "Json", "jSoN"}) {
    const std::string name = Folder() + "/top." + extension;
    std::ofstream(Path(name)) << "the file";
    Get(name);
    EXPECT_EQ(Frame(TreeFollows(name, std::string(kTree).size())) + kTree,
              mLink.station.Take(10000));
  }
}

TEST_F(TreeTransferTest, WithoutTheFileTheTreeIsNotServed) {
  Serve("top", kTree)->LoadJsonShare();
  const std::string name = Folder() + "/top.json";
  unlink(Path(name).c_str());
  Get(name);
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND")));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TreeTransferTest, ADialogWithoutSharedTreeHasItsFileSent) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->LoadJsonUnique("S1");
  const std::string name = Folder() + "/top.json";
  Get(name);
  EXPECT_EQ(Frame(Follows(name, std::string(kTree).size())) + kTree, mLink.station.Bytes());
  EXPECT_EQ(1U, dialog->mSessionResourceList.size());
  EXPECT_EQ(1U, Calls().size());
}

TEST_F(TreeTransferTest, OtherExtensionsAreFiles) {
  Serve("top", kTree)->LoadJsonShare();
  for (const char* file : {"top.jsonx", "top.js", "top"}) {
    const std::string name = File(file, "abc");
    Get(name);
    EXPECT_EQ(Frame(Follows(name, 3)) + "abc", mLink.station.Take(1000)) << file;
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TreeTransferTest, AnUnknownDialogsFileIsAFileAndTheMakerIsNotAsked) {
  const std::string name = File("zz.json", "{}");
  Get(name);
  EXPECT_EQ(Frame(Follows(name, 2)) + "{}", mLink.station.Bytes());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TreeTransferTest, AHostMayServeTheFileItself) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->getfile = [](HookedDialog&, VQClientSocket* client, KZString, KZString, KZString) {
    client->SendData("mine");
    return 7;
  };
  Get(Folder() + "/top.json");
  EXPECT_EQ(Frame("mine"), mLink.station.Bytes());
}

TEST_F(TreeTransferTest, AHostThatDeclinesHasTheFileSent) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->LoadJsonShare();
  dialog->getfile = [](HookedDialog&, VQClientSocket*, KZString, KZString, KZString) { return 0; };
  const std::string name = Folder() + "/top.json";
  Get(name);
  EXPECT_EQ(Frame(Follows(name, std::string(kTree).size())) + kTree, mLink.station.Take(10000));
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  EXPECT_THAT(mLink.station.Bytes(), HasSubstr("LATEST"));
}

TEST_F(TreeTransferTest, ABigTreeArrivesWholeAndInOrder) {
  std::string text = R"({"Command":"DIALOG","Objects":[)";
  for (int i = 0; i < 60000; ++i) text += R"({"Name":"object)" + std::to_string(i) + R"("},)";
  text += R"({"Name":"last"}]})";
  Serve("top", text)->LoadJsonShare();
  const std::string name = Folder() + "/top.json";
  Get(name);
  SendMarker();
  const std::string expected = Frame(TreeFollows(name, text.size())) + text + Frame("marker");
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(TreeTransferTest, DefaultHookReturnsWhetherItServed) {
  HookedDialog* dialog = Serve("top", kTree);
  EXPECT_EQ(0, dialog->VQDialog::OnGetfile(Find(mLink), "f", "", ""));
  EXPECT_EQ("", mLink.station.Bytes());
  dialog->LoadJsonShare();
  EXPECT_EQ(1, dialog->VQDialog::OnGetfile(Find(mLink), "f", "", ""));
}

}  // namespace
