// log_printf(), which appends to a file that somebody created on purpose.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>

#include "dorn/base/KZLog.h"
#include "gtest/gtest.h"
#include "tests/support/NoStandardInput.h"

namespace {
bool gStreamFails = false;
}

// The linker sends the library's calls of fdopen() here.
extern "C" {
std::FILE* __real_fdopen(int fd, const char* mode);
std::FILE* __wrap_fdopen(int fd, const char* mode);
std::FILE* __wrap_fdopen(int fd, const char* mode) {
  return gStreamFails ? nullptr : __real_fdopen(fd, mode);
}
}

namespace {

static_assert(std::is_same_v<decltype(log_printf("", "x")), int>);

int OpenDescriptors() {
  int count = 0;
  DIR* directory = opendir("/proc/self/fd");
  if (!directory) return -1;
  while (readdir(directory)) ++count;
  closedir(directory);
  return count;
}

class LogPrintfTest : public testing::Test {
 protected:
  void SetUp() override {
    mDirectory = testing::TempDir() + "dorn-log-XXXXXX";
    ASSERT_NE(mkdtemp(mDirectory.data()), nullptr);
    mPath = mDirectory + "/log.txt";
  }

  void TearDown() override {
    unlink(mPath.c_str());
    rmdir(mDirectory.c_str());
  }

  void Create(const std::string& text) { std::ofstream(mPath, std::ios::binary) << text; }

  std::string Content() const {
    std::ifstream file(mPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  std::string mDirectory;
  std::string mPath;
};

TEST_F(LogPrintfTest, MissingFileIsNotCreated) {
  EXPECT_EQ(log_printf(mPath.c_str(), "text %d\n", 1), 0);
  EXPECT_NE(access(mPath.c_str(), F_OK), 0);
}

TEST_F(LogPrintfTest, AppendsToAnExistingFile) {
  Create("before\n");
  EXPECT_EQ(log_printf(mPath.c_str(), "%s=%d\n", "a", 12), 5);
  EXPECT_EQ(log_printf(mPath.c_str(), "%s\n", "あ"), 4) << "bytes, not characters";
  EXPECT_EQ(Content(), "before\na=12\nあ\n");
}

TEST_F(LogPrintfTest, EmptyExistingFileIsEnough) {
  Create("");
  EXPECT_EQ(log_printf(mPath.c_str(), "text"), 4);
  EXPECT_EQ(Content(), "text");
}

TEST_F(LogPrintfTest, WritesLongTextWhole) {
  Create("");
  const std::string text(600000, 'x');
  EXPECT_EQ(log_printf(mPath.c_str(), "%s\n", text.c_str()), 600001);
  EXPECT_EQ(Content(), text + "\n");
}

TEST_F(LogPrintfTest, PercentSignsInArgumentsAreText) {
  Create("");
  EXPECT_EQ(log_printf(mPath.c_str(), "%s", "%s%n"), 4);
  EXPECT_EQ(Content(), "%s%n");
}

TEST_F(LogPrintfTest, APathThatCannotBeOpenedGivesZero) {
  EXPECT_EQ(log_printf(mDirectory.c_str(), "text"), 0) << "a directory";
  EXPECT_EQ(log_printf("", "text"), 0);
  EXPECT_EQ(log_printf((mPath + "/below").c_str(), "text"), 0);
}

TEST_F(LogPrintfTest, DanglingLinkCreatesNothing) {
  const std::string target = mDirectory + "/target";
  ASSERT_EQ(symlink(target.c_str(), mPath.c_str()), 0);
  EXPECT_EQ(log_printf(mPath.c_str(), "text"), 0);
  EXPECT_NE(access(target.c_str(), F_OK), 0);
}

TEST_F(LogPrintfTest, SeveralWritersAppendToOneFile) {
  Create("");
  log_printf(mPath.c_str(), "a\n");
  std::ofstream(mPath, std::ios::app) << "b\n";
  log_printf(mPath.c_str(), "c\n");
  EXPECT_EQ(Content(), "a\nb\nc\n");
}

TEST_F(LogPrintfTest, WorksWithoutStandardInput) {
  Create("");
  const NoStandardInput closed;
  EXPECT_EQ(log_printf(mPath.c_str(), "text"), 4);
  EXPECT_FALSE(NoStandardInput::IsTaken());
  EXPECT_EQ(Content(), "text");
}

// The stream is line-buffered: what is in a full line is written before the result is known.
TEST_F(LogPrintfTest, ALineThatCannotBeWrittenIsAFailure) {
  EXPECT_EQ(log_printf("/dev/full", "text\n"), -1);
}

TEST_F(LogPrintfTest, WithoutAStreamNothingIsWrittenAndTheDescriptorIsClosed) {
  Create("");
  const int before = OpenDescriptors();
  gStreamFails = true;
  const int result = log_printf(mPath.c_str(), "text");
  gStreamFails = false;
  EXPECT_EQ(result, 0);
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_EQ(Content(), "");
}

TEST_F(LogPrintfTest, ClosesItsDescriptor) {
  Create("");
  const int before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) {
    log_printf(mPath.c_str(), "x");
    log_printf(mDirectory.c_str(), "x");
  }
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_EQ(Content(), std::string(50, 'x'));
}

}  // namespace
