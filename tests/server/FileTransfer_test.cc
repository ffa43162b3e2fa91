// GETFILE: errors, dates, files, and what is not a regular file.
#include "dorn/server/OutgoingQueue.h"
#include "tests/server/FileTransferTest.h"

#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

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

// A folder outside, with a secret beside it, and a link to it below `resources`.
class LinkedFolderTest : public FileTransferTest {
 protected:
  void SetUp() override {
    FileTransferTest::SetUp();
    mOutside = std::string(app.GetModuleDirectory()) + "/outside-" + std::to_string(getpid());
    std::filesystem::create_directories(mOutside + "/help/sub");
    Write("secret.txt", "secret");
    Write("help/page.txt", "page");
    std::filesystem::create_directory_symlink(mOutside + "/help", FolderPath() + "/help");
    std::filesystem::create_directory(FolderPath() + "/plain");
    File("a.bin", "xyz");
  }

  void TearDown() override {
    std::filesystem::remove_all(mOutside);
    FileTransferTest::TearDown();
  }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(mOutside + "/" + name) << text;
    const timespec times[2] = {{kFileTime, 0}, {kFileTime, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, (mOutside + "/" + name).c_str(), times, 0));
  }

  std::string mOutside;
};

struct LinkedCase {
  const char* name;
  const char* bytes;  // Null: refused.
};

TEST_F(LinkedFolderTest, IsNotLeftThroughItsParent) {
  std::filesystem::create_symlink(mOutside + "/secret.txt", FolderPath() + "/deployed.txt");
  const LinkedCase table[] = {
      {"help/page.txt", "page"},
      {"help/sub/../page.txt", "page"},
      {"plain/../help/page.txt", "page"},
      {"plain/../help/sub/../page.txt", "page"},
      {"plain/../a.bin", "xyz"},
      {"./plain//.././a.bin", "xyz"},
      {"deployed.txt", "secret"},
      {"plain/../deployed.txt", "secret"},
      {"help/../secret.txt", nullptr},
      {"help/sub/../../secret.txt", nullptr},
      {"plain/../help/../secret.txt", nullptr},
      {"help/../a.bin", nullptr},
      {"help/../none.txt", nullptr},
      {"help/..", nullptr},
  };
  for (const LinkedCase& row : table) {
    const std::string name = Folder() + "/" + row.name;
    Get(name);
    EXPECT_EQ(row.bytes == nullptr ? Frame(Error(name, "FILE NOT FOUND"))
                                   : Frame(Follows(name, strlen(row.bytes))) + row.bytes,
              mLink.station.Take(10000));
    EXPECT_EQ(row.bytes != nullptr, VQApplication::IsInsideResources(KZString(name))) << name;
    EXPECT_EQ(row.bytes != nullptr, VQDialog::IsInsideResources(KZString(name))) << name;
  }
}

TEST_F(FileTransferTest, OfARefusedNameTwoHundredBytesAreReported) {
  for (const size_t length : {199U, 200U, 201U, 5000U}) {
    const std::string name = "../" + std::string(length - 3, 'n');
    CapturedStdout console;
    Get(name);
    EXPECT_THAT(console.Text(),
                HasSubstr("\nGETFILE refused, outside resources: " + name.substr(0, 200) + "\n"))
        << length;
  }
}

TEST_F(LinkedFolderTest, ANameThroughItsParentIsReportedInOneLine) {
  CapturedStdout console;
  Get(Folder() + "/help/../secret.txt");
  EXPECT_THAT(console.Text(), HasSubstr("\nGETFILE refused, outside resources: " + Folder() +
                                        "/help/../secret.txt\n"));
}

TEST_F(LinkedFolderTest, WhatIsMissingInsideIsNotFoundAndNotReported) {
  for (const char* part : {"plain/../none.txt", "none/../a.bin", "a.bin/../a.bin",
                           "plain/../a.bin/", "help/sub/../none.txt"}) {
    const std::string name = Folder() + "/" + part;
    CapturedStdout console;
    Get(name);
    EXPECT_THAT(console.Text(), Not(HasSubstr("GETFILE refused"))) << name;
    EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND"))) << name;
    EXPECT_TRUE(VQApplication::IsInsideResources(KZString(name))) << name;
  }
}

// Behind what is queued already, a file is opened when its turn comes.
TEST_F(LinkedFolderTest, AFileThatWaitsForItsTurnIsTheOneThatWasFound) {
  Find(mLink)->SendData(std::string(4000000, 'x'));
  Get(Folder() + "/help/sub/../page.txt");
  std::filesystem::create_directory(mOutside + "/other");
  Write("other/page.txt", "evil");
  std::filesystem::remove(FolderPath() + "/help");
  std::filesystem::create_directory_symlink(mOutside + "/other", FolderPath() + "/help");
  const std::string expected = Frame(Follows(Folder() + "/help/sub/../page.txt", 4)) + "page";
  const std::string got = Received(4000002 + expected.size());
  EXPECT_EQ(expected, got.substr(got.size() - expected.size()));
}

TEST_F(LinkedFolderTest, AFileThatWaitsIsNotFollowedThroughAFolderThatBecameALink) {
  constexpr int kFiles = 20;
  const std::string name = Folder() + "/help/sub/../page.txt";
  Find(mLink)->SendData(std::string(4000000, 'x'));
  for (int i = 0; i < kFiles; ++i) Find(mLink)->OnGetfile(KZString(name), "", "");
  std::filesystem::create_directory(mOutside + "/other");
  Write("other/page.txt", "evil");
  std::filesystem::rename(mOutside + "/help", mOutside + "/help.old");
  std::filesystem::create_directory_symlink(mOutside + "/other", mOutside + "/help");
  std::string got;
  ASSERT_TRUE(RunUntil([&] {
    got += mLink.station.Take(mLink.station.Bytes().size());
    return mLink.station.IsClosed();
  }));
  got.erase(0, 4000002);
  EXPECT_THAT(got, Not(HasSubstr("evil")));
  // The first ones are open while they wait, and so arrive whatever becomes of their names.
  const std::string whole = Frame(Follows(name, 4)) + "page";
  EXPECT_EQ(whole + whole + whole + whole, got.substr(0, 4 * whole.size()));
}

// As a page is replaced: what was announced arrives, and then the new one.
TEST_F(LinkedFolderTest, AFileThatIsReplacedWhileItWaitsArrivesAsItWasAnnounced) {
  const std::string name = File("page.bin", "old page");
  Find(mLink)->SendData(std::string(4000000, 'x'));
  Find(mLink)->OnGetfile(KZString(name), "", "");
  File("new.bin", "new");
  std::filesystem::rename(FolderPath() + "/new.bin", FolderPath() + "/page.bin");
  Find(mLink)->OnGetfile(KZString(name), "", "");
  const std::string expected =
      Frame(Follows(name, 8)) + "old page" + Frame(Follows(name, 3)) + "new";
  const std::string got = Received(4000002 + expected.size());
  EXPECT_EQ(expected, got.substr(4000002));
}

// Whoever deploys changes links while stations ask.
TEST_F(LinkedFolderTest, NothingThatChangesMeanwhileLetsTheSecretOut) {
  const std::string link = FolderPath() + "/flip";
  std::filesystem::create_directory(link);
  std::filesystem::create_directory_symlink(mOutside + "/help", link + ".link");
  std::atomic<bool> isOver{false};
  std::thread deployer([&] {
    while (!isOver) {
      syscall(SYS_renameat2, AT_FDCWD, link.c_str(), AT_FDCWD, (link + ".link").c_str(),
              RENAME_EXCHANGE);
    }
  });
  for (int i = 0; i < 2000; ++i) {
    Find(mLink)->OnGetfile(KZString(Folder() + "/flip/../secret.txt"), "", "");
    EXPECT_THAT(mLink.station.Take(10000), Not(HasSubstr("Length"))) << i;
  }
  isOver = true;
  deployer.join();
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

// A date that cannot be read is that of the epoch, and no other.
TEST_F(FileTransferTest, AFileDatedBehindTheEpochIsSentWhateverDateCannotBeRead) {
  const std::string name = WriteResource("early.bin", "xyz");
  SetFileTime(name, 1);
  for (const char* date : {"", "yesterday-ish"}) {
    Get(name, std::string(R"(,"Date":")") + date + "\"");
    EXPECT_EQ(Frame(R"({"Command":"PUTFILE","Date":"1970-01-01 00:00:01","File":")" + name +
                    R"(","Length":3})") +
                  "xyz",
              mLink.station.Take(1000));
  }
}

// Dates have a place of 23 bytes.
TEST_F(FileTransferTest, AYearOfNineDigitsHasNoDate) {
  const int file = memfd_create("late", MFD_CLOEXEC);
  ASSERT_EQ(3, write(file, "xyz", 3));
  const std::string name = Folder() + "/late.bin";
  const std::string target = "/proc/self/fd/" + std::to_string(file);
  ASSERT_EQ(0, symlink(target.c_str(), Path(name).c_str()));
  const std::pair<int, std::string> rows[] = {{99999999, "99999999-12-31 23:59:58"},
                                              {100000000, ""}};
  for (const auto& [year, date] : rows) {
    std::tm fields{58, 59, 23, 31, 11, year - 1900, 0, 0, 0, 0, nullptr};
    const timespec times[2] = {{0, 0}, {timegm(&fields), 0}};
    ASSERT_EQ(0, futimens(file, times));
    Get(name);
    EXPECT_EQ(Frame(R"({"Command":"PUTFILE","Date":")" + date + R"(","File":")" + name +
                    R"(","Length":3})") +
                  "xyz",
              mLink.station.Take(1000));
  }
  close(file);
}

TEST_F(FileTransferTest, ANameLongerThanAnyPathIsNotFound) {
  const std::string name(400000, 'n');
  Get(name);
  EXPECT_EQ(Frame(Error(name, "FILE NOT FOUND")), Received(400000));
}

// The system takes none of 4,096 bytes, wherever it leads.
TEST_F(FileTransferTest, ANameThroughFoldersMayBeAsLongAsAPath) {
  const std::string name = File("a.bin", "xyz");
  for (const size_t length : {4095U, 4096U}) {
    std::string asked = Folder() + "/../" + name;
    asked.insert(asked.rfind('/'), length - Path(asked).size(), '/');
    Get(asked);
    const std::string reply =
        length == 4095 ? Frame(Follows(asked, 3)) + "xyz" : Frame(Error(asked, "FILE NOT FOUND"));
    EXPECT_EQ(reply, Received(reply.size())) << length;
  }
}

// The system has no path for it, so nobody can say where it lies.
TEST_F(FileTransferTest, AFolderTooDeepForAPathIsNotFound) {
  constexpr int kSteps = 7, kLinks = 3;
  const std::string step(250, 'd');
  std::string down = step;
  for (int i = 1; i < kSteps; ++i) down += "/" + step;
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  std::vector<int> folders{open(FolderPath().c_str(), flags)};
  for (int i = 0; i < kSteps * kLinks; ++i) {
    if (i % kSteps == 0) {
      ASSERT_EQ(0, symlinkat(down.c_str(), folders.back(), "down"));
    }
    ASSERT_EQ(0, mkdirat(folders.back(), step.c_str(), 0755));
    folders.push_back(openat(folders.back(), step.c_str(), flags));
  }
  const std::string name = Folder() + "/down/down/down/..";
  Get(name);
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND")));
  // Whatever removes the folder of the test may need paths.
  while (folders.size() > 1) {
    close(folders.back());
    folders.pop_back();
    unlinkat(folders.back(), step.c_str(), AT_REMOVEDIR);
    unlinkat(folders.back(), "down", 0);
  }
  close(folders.back());
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

TEST_F(FileTransferTest, AFileOfTheLargestLengthIsAnnounced) {
  const std::string name = WriteResource("large.bin", "");
  ASSERT_EQ(0, truncate(Path(name).c_str(), 2147483647LL));
  SetFileTime(name, kFileTime);
  Get(name);
  const std::string expected = Frame(Follows(name, 2147483647));
  EXPECT_EQ(expected, mLink.station.Bytes().substr(0, expected.size()));
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

TEST_F(FileTransferTest, ADirectoryOfTheSameDateIsTheLatest) {
  const std::string name = Folder() + "/sub";
  ASSERT_EQ(0, mkdir(Path(name).c_str(), 0755));
  SetFileTime(name, kFileTime);
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  EXPECT_THAT(mLink.station.Messages(),
              ElementsAre(R"({"Command":"PUTFILE","Date":"2020-01-02 03:04:05","File":")" + name +
                          R"(","Status":"LATEST"})"));
}

TEST_F(FileTransferTest, AFifoIsAnnouncedAndDoesNotBlock) {
  const std::string name = Folder() + "/fifo";
  ASSERT_EQ(0, mkfifo(Path(name).c_str(), 0644));
  SetFileTime(name, kFileTime);
  Get(name);
  SendMarker();
  EXPECT_EQ(Frame(Follows(name, 0)) + Frame("marker"), mLink.station.Bytes());
}

// Opening one may have effects of its own: a tape is wound back, a writer of the pipe goes on.
TEST_F(FileTransferTest, WhatIsNoRegularFileIsNotOpened) {
  const std::string name = Folder() + "/fifo";
  ASSERT_EQ(0, mkfifo(Path(name).c_str(), 0644));
  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(inotify_add_watch(watch, Path(name).c_str(), IN_OPEN), 0);
  char event[1024];
  close(open(Path(name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  EXPECT_GT(read(watch, event, sizeof event), 0);
  Get(name);
  EXPECT_EQ(-1, read(watch, event, sizeof event));
  close(watch);
}

// Neither file nor folder, pipe or device: what the system calls by a number alone.
TEST_F(FileTransferTest, WhatHasNoTypeIsNotRegular) {
  const int nameless = eventfd(0, EFD_CLOEXEC);
  ASSERT_GE(nameless, 0);
  const std::string name = Folder() + "/nameless";
  const std::string target = "/proc/self/fd/" + std::to_string(nameless);
  ASSERT_EQ(0, symlink(target.c_str(), Path(name).c_str()));
  Get(name);
  EXPECT_EQ(Frame(Error(name, "FILE IS NOT REGULAR")), mLink.station.Bytes());
  close(nameless);
}

// It may have become one since it was looked at.
TEST_F(FileTransferTest, WhatTurnsOutToBeNoRegularFileIsClosedAgain) {
  const int before = OpenDescriptors();
  struct stat status {};
  EXPECT_EQ(-1, dorn::OpenRegularFile(FolderPath().c_str(), status));
  EXPECT_EQ(before, OpenDescriptors());
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

}  // namespace
