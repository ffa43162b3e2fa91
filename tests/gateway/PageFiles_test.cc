#include "tools/dorn-gateway/PageFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "tools/dorn-gateway/EmbeddedPage.h"

namespace {

namespace fs = std::filesystem;
using dorn::gateway::FindPageFile;
using dorn::gateway::Options;

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
    const auto file = FindPageFile(options, path);
    return file ? file->mBytes : "none";
  }
  std::string Local(const std::string& path) {
    Options options;
    options.mLocalFolder = mFolder;
    const auto file = FindPageFile(options, path);
    return file ? file->mBytes : "none";
  }

  fs::path mFolder;
  fs::path mSecret;
};

TEST_F(PageFilesTest, HasThePageInItself) {
  for (const std::string name : {"index.html", "app.js", "app.css"}) {
    const auto file = FindPageFile({}, "/" + name);
    ASSERT_TRUE(file) << name;
    EXPECT_EQ(file->mBytes, *dorn::gateway::EmbeddedFile(name));
    EXPECT_FALSE(file->mBytes.empty());
  }
  EXPECT_EQ(FindPageFile({}, "/")->mBytes, FindPageFile({}, "/index.html")->mBytes);
  EXPECT_EQ(FindPageFile({}, "/?kiosk")->mBytes, FindPageFile({}, "/index.html")->mBytes);
  EXPECT_EQ(FindPageFile({}, "/")->mType, "text/html; charset=utf-8");
  EXPECT_EQ(FindPageFile({}, "/app.js")->mType, "text/javascript; charset=utf-8");
  EXPECT_EQ(FindPageFile({}, "/app.css")->mType, "text/css; charset=utf-8");
  EXPECT_FALSE(FindPageFile({}, "/nothing.js"));
  EXPECT_FALSE(FindPageFile({}, ""));
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

TEST_F(PageFilesTest, TagsFollowTheBytes) {
  EXPECT_EQ(dorn::gateway::TagOf("a"), dorn::gateway::TagOf("a"));
  EXPECT_NE(dorn::gateway::TagOf("a"), dorn::gateway::TagOf("b"));
  EXPECT_EQ(dorn::gateway::TagOf("a").front(), '"');
}

}  // namespace
