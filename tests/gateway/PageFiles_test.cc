#include "tools/dorn-gateway/PageFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "tools/dorn-gateway/EmbeddedPage.h"

namespace {

namespace fs = std::filesystem;
using dorn::gateway::Options;
using dorn::gateway::PageFiles;

class PageFilesTest : public testing::Test {
 protected:
  PageFilesTest() : mFolder(fs::temp_directory_path() / ("dorn-page-" + std::to_string(getpid()))) {
    fs::create_directories(mFolder / "inner");
    Write("index.html", "<p>");
    Write("inner/a.svg", "<svg/>");
    Write("d.json", "{'Name':\"d\",\"Title\":}");
    Write("strict.json", "{ \"Name\":\"d\"}");
    Write(".hidden", "x");
    mSecret = mFolder.string() + "-secret";
    std::ofstream(mSecret) << "secret";
    fs::create_symlink(mSecret, mFolder / "link.txt");
    fs::create_symlink(mFolder / "index.html", mFolder / "inside.html");
  }
  ~PageFilesTest() override {
    fs::remove_all(mFolder);
    fs::remove(mSecret);
  }

  void Write(const std::string& name, const std::string& text) {
    std::ofstream(mFolder / name) << text;
  }
  std::string Page(const std::string& path) {
    Options options;
    options.mPageFolder = mFolder;
    const auto file = PageFiles(options).Find(path);
    return file ? file->mBytes : "none";
  }
  std::string Local(const std::string& path) {
    Options options;
    options.mLocalFolder = mFolder;
    const auto file = PageFiles(options).Find(path);
    return file ? file->mBytes : "none";
  }

  fs::path mFolder;
  fs::path mSecret;
};

TEST_F(PageFilesTest, HasThePageInItself) {
  const Options options;
  PageFiles files(options);
  for (const std::string name : {"index.html", "app.js", "app.css"}) {
    const auto file = files.Find("/" + name);
    ASSERT_TRUE(file) << name;
    EXPECT_EQ(file->mBytes, *dorn::gateway::EmbeddedFile(name));
    EXPECT_FALSE(file->mBytes.empty());
  }
  EXPECT_EQ(files.Find("/")->mBytes, files.Find("/index.html")->mBytes);
  EXPECT_EQ(files.Find("/?kiosk")->mBytes, files.Find("/index.html")->mBytes);
  EXPECT_EQ(files.Find("/")->mType, "text/html; charset=utf-8");
  EXPECT_EQ(files.Find("/app.js")->mType, "text/javascript; charset=utf-8");
  EXPECT_EQ(files.Find("/app.css")->mType, "text/css; charset=utf-8");
  EXPECT_FALSE(files.Find("/nothing.js"));
  EXPECT_FALSE(files.Find(""));
}

TEST_F(PageFilesTest, ServesAFolderInstead) {
  EXPECT_EQ(Page("/"), "<p>");
  EXPECT_EQ(Page("/inner/a.svg"), "<svg/>");
  EXPECT_EQ(Page("/inside.html"), "<p>");
  EXPECT_EQ(Page("/app.js"), "none");
}

TEST_F(PageFilesTest, ServesNothingOutsideOfTheFolder) {
  const std::string outside = fs::path(mSecret).filename();
  const std::vector<std::string> paths{"/../" + outside, "/inner/../../" + outside,
                                       "/./index.html",  "/" + mSecret.string(),
                                       "/inner//a.svg",  "/inner",
                                       "/inner/",        "/.hidden",
                                       "/link.txt",      "/..%2f" + outside,
                                       "/%69ndex.html",  std::string("/index.html\0", 12)};
  for (const std::string& path : paths) {
    EXPECT_EQ(Page(path), "none") << path;
    EXPECT_EQ(Local("/local" + path), "none") << path;
  }
}

TEST_F(PageFilesTest, ServesTheStationsOwnDialogsAsStrictJson) {
  EXPECT_EQ(Local("/local/d.json"), R"({"Name":"d"})");
  EXPECT_EQ(Local("/local/strict.json"), R"({ "Name":"d"})");
  EXPECT_EQ(Local("/local/inner/a.svg"), "<svg/>");
  EXPECT_EQ(Local("/local/"), "none");
  EXPECT_EQ(Page("/local/d.json"), "none");
}

TEST_F(PageFilesTest, HoldsOneCopyForAllUntilTheFileChanges) {
  Options options;
  options.mLocalFolder = options.mPageFolder = mFolder;
  PageFiles files(options);
  for (const std::string path : {"/local/d.json", "/index.html", "/local/inner/a.svg"}) {
    EXPECT_EQ(files.Find(path), files.Find(path)) << path;
  }
  EXPECT_EQ(files.Find("/d.json")->mBytes, "{'Name':\"d\",\"Title\":}") << "as it is";
  const auto before = files.Find("/local/d.json");
  Write("d.json", R"({"Name":"e"})");
  const auto after = files.Find("/local/d.json");
  EXPECT_EQ(before->mBytes, R"({"Name":"d"})") << "somebody may still be getting it";
  EXPECT_EQ(after->mBytes, R"({"Name":"e"})");
  EXPECT_NE(after->mTag, before->mTag);
  fs::remove(mFolder / "d.json");
  EXPECT_EQ(files.Find("/local/d.json"), nullptr);
}

TEST_F(PageFilesTest, TagsFollowTheBytes) {
  Options options;
  options.mPageFolder = mFolder;
  PageFiles files(options);
  const std::string tag = files.Find("/index.html")->mTag;
  EXPECT_EQ(tag.front(), '"');
  EXPECT_EQ(tag, files.Find("/inside.html")->mTag);
  EXPECT_NE(tag, files.Find("/inner/a.svg")->mTag);
}

}  // namespace
