// Names of files below `resources`: what is inside, what is found, and what is opened.
#include "dorn/server/ResourcePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

#include "dorn/server/OutgoingQueue.h"
#include "tests/server/CallSpy.h"
#include "tests/server/ServerTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

TEST(StaysInsideTest, LooksAtEachStepOfTheName) {
  const struct {
    const char* name;
    bool isInside;
  } rows[] = {
      {"", true},
      {"/", true},
      {".", true},
      {"a", true},
      {"a/b", true},
      {"a/..", true},
      {"a/../b", true},
      {"a/b/../..", true},
      {"a/b/../../c", true},
      {"/a/..", true},
      {"./a/./..", true},
      {"a//..", true},
      {"...", true},
      {"..a", true},
      {"a../..", true},
      {"..", false},
      {"../a", false},
      {"a/../..", false},
      {"a/../../b", false},
      {"a/b/../../..", false},
      {"/..", false},
      {"./..", false},
      {"//..//a", false},
      {"a/./../..", false},
      {"../../a/b", false},
      {"a/../../a/b", false},
  };
  for (const auto& row : rows) EXPECT_EQ(row.isInside, dorn::StaysInside(row.name)) << row.name;
}

TEST(StaysInsideTest, RefusesAZeroByteWhereverItIs) {
  for (const size_t at : {0U, 1U, 2U}) {
    std::string name = "ab";
    name.insert(at, 1, '\0');
    EXPECT_FALSE(dorn::StaysInside(name)) << at;
  }
}

class ResourcePathTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mOutside = std::string(app.GetModuleDirectory()) + "/linked-" + std::to_string(getpid());
    for (const char* folder : {"/help", "/help/sub", "/helpful", "/help2", "/hulp"}) {
      std::filesystem::create_directories(mOutside + folder);
      std::ofstream(mOutside + folder + "/page.txt") << folder;
    }
    std::filesystem::create_directory_symlink(mOutside + "/help", FolderPath() + "/help");
    WriteResource("a.bin", "xyz");
  }
  void TearDown() override {
    std::filesystem::remove_all(mOutside);
    ServerTest::TearDown();
  }

  static dorn::ResourceFile Found(const std::string& name) {
    return dorn::FindResource(Folder() + "/" + name);
  }

  std::string mOutside;
};

TEST_F(ResourcePathTest, FindsAFileByItsPathWithoutLinksAndParents) {
  const dorn::ResourceFile found = Found("help/sub/../sub/page.txt");
  EXPECT_TRUE(found.mIsInside);
  EXPECT_TRUE(found.mExists);
  EXPECT_EQ(std::filesystem::canonical(mOutside + "/help/sub/page.txt").string(), found.mPath);
  EXPECT_EQ(9, found.mStatus.st_size);
  EXPECT_EQ(-1, found.mFile);
}

// The target of a link, which is inside, is not the beginning of other names.
TEST_F(ResourcePathTest, FoldersBesideALinkedOneAreOutsideWhateverTheyAreCalled) {
  for (const char* folder : {"helpful", "help2", "hulp"}) {
    for (const std::string& name :
         {"help/../" + std::string(folder), "help/../" + std::string(folder) + "/page.txt"}) {
      EXPECT_FALSE(Found(name).mIsInside) << name;
      EXPECT_FALSE(Found(name).mExists) << name;
      EXPECT_FALSE(dorn::IsInsideResources(Folder() + "/" + name)) << name;
    }
  }
  EXPECT_TRUE(Found("help/sub/..").mExists);
  EXPECT_TRUE(Found("help/sub/../.").mExists);
}

TEST_F(ResourcePathTest, BelowALinkToTheRootEverythingIsInside) {
  std::filesystem::create_directory_symlink("/", FolderPath() + "/all");
  const std::string path = std::filesystem::canonical(mOutside + "/hulp").string();
  const dorn::ResourceFile found = Found("all" + path + "/../hulp/page.txt");
  EXPECT_TRUE(found.mIsInside);
  EXPECT_TRUE(found.mExists);
  EXPECT_EQ(path + "/page.txt", found.mPath);
}

TEST_F(ResourcePathTest, ANameTooLongForAPathIsInsideAndMissing) {
  std::string name = "help/../a.bin";
  name.insert(4, 5000, '/');
  EXPECT_TRUE(Found(name).mIsInside);
  EXPECT_FALSE(Found(name).mExists);
}

TEST_F(ResourcePathTest, OpensARegularFileAloneAndClosesIt) {
  const int before = OpenDescriptors();
  {
    dorn::ResourceFile file = dorn::OpenResource(Folder() + "/a.bin");
    EXPECT_GE(file.mFile, 0);
    EXPECT_EQ(before + 1, OpenDescriptors());
    const dorn::ResourceFile moved = std::move(file);
    EXPECT_TRUE(moved.mIsInside);
    EXPECT_TRUE(moved.mExists);
    EXPECT_EQ(FolderPath() + "/a.bin", moved.mPath);
    EXPECT_EQ(3, moved.mStatus.st_size);
    dorn::ResourceFile assigned;
    assigned = dorn::OpenResource(Folder() + "/help/sub/../page.txt");
    EXPECT_TRUE(assigned.mIsInside);
    EXPECT_TRUE(assigned.mExists);
    EXPECT_EQ(5, assigned.mStatus.st_size);
    EXPECT_EQ(before + 2, OpenDescriptors());
    EXPECT_EQ(-1, dorn::OpenResource(Folder() + "/help").mFile);
    EXPECT_EQ(-1, dorn::OpenResource(Folder() + "/none").mFile);
    struct stat status {};
    EXPECT_EQ(-1, dorn::OpenRegularFile((FolderPath() + "/none").c_str(), status));
  }
  EXPECT_EQ(before, OpenDescriptors());
}

// Each time that it is looked at somebody has put another file in its place.
TEST_F(ResourcePathTest, AFileThatIsNeverTheOneThatWasFoundIsGivenUp) {
  const std::string path = FolderPath() + "/a.bin";
  const int before = OpenDescriptors();
  for (const bool hasInput : {true, false}) {
    const std::optional<NoStandardInput> closed =
        hasInput ? std::nullopt : std::optional<NoStandardInput>(std::in_place);
    CallSpy::sChangingPath = path.c_str();
    CallSpy::sChanges = 0;
    const dorn::ResourceFile file = dorn::OpenResource(Folder() + "/a.bin");
    CallSpy::sChangingPath = nullptr;
    EXPECT_EQ(100, CallSpy::sChanges);
    EXPECT_TRUE(file.mIsInside);
    EXPECT_FALSE(file.mExists);
    EXPECT_EQ(-1, file.mFile);
  }
  EXPECT_EQ(before, OpenDescriptors());
}

// The program's own file as the system tells of it.
class ModuleDirectoryTest : public testing::Test {
 protected:
  void TearDown() override { CallSpy::sProgram = nullptr; }

  static std::string DirectoryOf(const std::string& program) {
    CallSpy::sProgram = program.c_str();
    std::string directory = dorn::ModuleDirectory();
    CallSpy::sProgram = nullptr;
    return directory;
  }
};

TEST_F(ModuleDirectoryTest, IsTheOneOfTheProgram) {
  EXPECT_EQ("/usr/bin", DirectoryOf("/usr/bin/program"));
  EXPECT_EQ("/", DirectoryOf("/program"));
  EXPECT_EQ("/", DirectoryOf("/"));
  EXPECT_EQ(".", DirectoryOf(""));
}

TEST_F(ModuleDirectoryTest, OfALongPathTheFirst1023BytesCount) {
  const std::string outer = "/" + std::string(500, 'a');
  const std::string inner = outer + "/" + std::string(519, 'b');
  ASSERT_EQ(1021U, inner.size());
  EXPECT_EQ(inner, DirectoryOf(inner + "/f"));
  EXPECT_EQ(inner, DirectoryOf(inner + "/file"));
  EXPECT_EQ(outer, DirectoryOf(inner + "b/f"));
  EXPECT_EQ(outer, DirectoryOf(inner + "bb/f"));
}

TEST_F(ModuleDirectoryTest, WithoutResourcesANameIsInsideAndMissing) {
  CallSpy::sProgram = "/none/of/these/program";
  for (const char* name : {"a.bin", "a/../a.bin", "a/.."}) {
    const dorn::ResourceFile found = dorn::FindResource(name);
    EXPECT_TRUE(found.mIsInside) << name;
    EXPECT_FALSE(found.mExists) << name;
    EXPECT_EQ("/none/of/these/resources/" + std::string(name), found.mPath);
  }
}

TEST_F(ResourcePathTest, ANameWithoutParentsIsInsideWhateverIsOnTheDisk) {
  for (const char* name : {"none", "none/none", "a.bin/none", "help/none"}) {
    EXPECT_TRUE(dorn::IsInsideResources(name)) << name;
    EXPECT_FALSE(dorn::FindResource(name).mExists) << name;
  }
}

}  // namespace
