// Whether a resource file can be used, and why not.
#include "dorn/server/ResourceReport.h"

#include <cerrno>
#include <filesystem>

#include "tests/server/ServerTest.h"
#include "tests/support/Deadline.h"
#include "tests/support/NoStandardInput.h"

namespace {

class ResourceReportTest : public ServerTest {
 protected:
  dorn::ResourceReport Check(const std::string& text) {
    return dorn::CheckResource(KZString(WriteResource("r.json", text)));
  }
};

TEST_F(ResourceReportTest, AcceptsADialog) {
  for (const char* text :
       {kTree, R"({"Commands":[{"Command":"OTHER"},{"Command":"DIALOG"}]})",
        R"({"Commands":[],"Command":"DIALOG"})", R"({"Command":"DIALOG"} and what follows)"}) {
    const dorn::ResourceReport report = Check(text);
    EXPECT_TRUE(report.isUsable) << text << report.Text();
    EXPECT_EQ("", Str(report.reason));
    EXPECT_EQ(0, report.line);
    EXPECT_EQ(0, report.column);
  }
}

TEST_F(ResourceReportTest, NamesTheFileByItsPath) {
  EXPECT_EQ(FolderPath() + "/r.json", Str(Check(kTree).file));
  EXPECT_EQ(FolderPath() + "/r.json: usable", Str(Check(kTree).Text()));
}

TEST_F(ResourceReportTest, TakesNamesAsDialogsDo) {
  WriteResource("r.json", kTree);
  EXPECT_TRUE(dorn::CheckResource(KZString(Folder() + "@r.json")).isUsable);
}

TEST_F(ResourceReportTest, SaysWhereTheTextIsWrong) {
  const struct {
    const char* text;
    int line;
    int column;
    const char* reason;
  } kRows[] = {
      {"{\"a\" 1}", 1, 6, "syntax error at: 1}"},
      {"{\n  \"a\": x\n}", 2, 8, "syntax error at: x"},
      {"{\"a\":1,}", 1, 8, "syntax error at: }"},
      {"{\"a\":[1,2 3]}", 1, 11, "syntax error at: 3]}"},
      {"[1,\r\n tru]", 2, 5, "syntax error at: ]"},
      {"{\"a\":\"b", 1, 8, "the text ends too early"},
      {"{\n\"Command\":\"DIALOG\",\n", 3, 1, "the text ends too early"},
      {"hello", 1, 1, "syntax error at: hello"},
      {"\n\n\n   }", 4, 4, "syntax error at: }"},
      {"[\"\\q\"]", 1, 4, "syntax error at: q\"]"},
  };
  for (const auto& row : kRows) {
    const dorn::ResourceReport report = Check(row.text);
    EXPECT_FALSE(report.isUsable);
    EXPECT_EQ(row.line, report.line) << row.text;
    EXPECT_EQ(row.column, report.column) << row.text;
    EXPECT_EQ(row.reason, Str(report.reason)) << row.text;
  }
}

TEST_F(ResourceReportTest, QuotesFortyBytesOfALine) {
  EXPECT_EQ("syntax error at: " + std::string(40, 'x'), Str(Check(std::string(40, 'x')).reason));
  EXPECT_EQ("syntax error at: " + std::string(40, 'x'), Str(Check(std::string(41, 'x')).reason));
}

TEST_F(ResourceReportTest, IsWrittenAsCompilersDo) {
  EXPECT_EQ(FolderPath() + "/r.json:2:3: syntax error at: !", Str(Check("{\n  !").Text()));
}

TEST_F(ResourceReportTest, PointsAtTheBracketThatIsTooDeep) {
  const dorn::ResourceReport report = Check(std::string(2000, '['));
  EXPECT_EQ(1, report.line);
  EXPECT_EQ(1025, report.column);
}

TEST_F(ResourceReportTest, SaysThatThereIsNoDialog) {
  for (const char* text : {"{}", "[]", "1", R"({"Command":"UPDATE"})", R"({"Command":1})",
                           R"({"Commands":[1,"DIALOG",null,[],{}]})",
                           R"({"Commands":[{"Command":"UPDATE"}],"Command":"DIALOG"})"}) {
    const dorn::ResourceReport report = Check(text);
    EXPECT_FALSE(report.isUsable) << text;
    EXPECT_EQ(0, report.line);
    EXPECT_EQ("holds no \"Command\":\"DIALOG\"", Str(report.reason));
  }
}

TEST_F(ResourceReportTest, SaysWhyAFileCannotBeRead) {
  EXPECT_EQ("is empty", Str(Check("").reason));
  EXPECT_EQ("cannot be opened: No such file or directory",
            Str(dorn::CheckResource(KZString(Folder() + "/none.json")).reason));
  std::filesystem::create_directories(FolderPath() + "/folder");
  EXPECT_EQ("cannot be read: Is a directory",
            Str(dorn::CheckResource(KZString(Folder() + "/folder")).reason));
}

TEST_F(ResourceReportTest, AZeroByteEndsTheText) {
  const std::string zero(1, '\0');
  EXPECT_TRUE(Check(kTree + zero + "}").isUsable);
  EXPECT_EQ(FolderPath() + "/r.json:1:9: the text ends too early",
            Str(Check("{\"Name\":" + zero + "1}").Text()));
  EXPECT_EQ(FolderPath() + "/r.json:1:1: the text ends too early", Str(Check(zero + "{}").Text()));
  const std::string blanks(10000, ' ');
  EXPECT_TRUE(Check(blanks + kTree + blanks + zero + "}").isUsable);
}

TEST_F(ResourceReportTest, LeavesNoFileOpen) {
  const int before = OpenDescriptors();
  Check(kTree);
  Check("");
  Check("{");
  EXPECT_EQ(before, OpenDescriptors());
}

// What errno says is of no interest where nothing has failed.
TEST_F(ResourceReportTest, AnInterruptionBeforeDoesNotMakeTheReadingEndless) {
  const std::string name = WriteResource("r.json", "");
  const HangGuard guard;
  errno = EINTR;
  EXPECT_EQ("is empty", Str(dorn::CheckResource(KZString(name)).reason));
}

TEST_F(ResourceReportTest, ReadsAFileThatGotDescriptorZero) {
  const std::string name = WriteResource("r.json", kTree);
  const NoStandardInput closed;
  EXPECT_TRUE(dorn::CheckResource(KZString(name)).isUsable);
  EXPECT_FALSE(closed.IsTaken());
}

TEST_F(ResourceReportTest, TellsWhatBecameOfTheLastLoad) {
  HookedDialog dialog;
  dialog.Init("d", WriteResource("good.json", kTree).c_str());
  dialog.LoadJsonShare();
  EXPECT_TRUE(dorn::LastResource().isUsable);
  EXPECT_EQ(FolderPath() + "/good.json", Str(dorn::LastResource().file));

  dialog.Init("d", WriteResource("bad.json", "{\"Command\":\"DIALOG\"").c_str());
  dialog.LoadJsonUnique("S1");
  EXPECT_FALSE(dorn::LastResource().isUsable);
  EXPECT_EQ(FolderPath() + "/bad.json:1:20: the text ends too early",
            Str(dorn::LastResource().Text()));

  dialog.LoadJson(KZString(FolderPath() + "/none.json"), "S2");
  EXPECT_EQ("cannot be opened: No such file or directory", Str(dorn::LastResource().reason));
  dialog.LoadJson(KZString(FolderPath() + "/good.json"), "S2");
  EXPECT_TRUE(dorn::LastResource().isUsable);
}

// What is accepted here is loaded there, and the other way round.
TEST_F(ResourceReportTest, AgreesWithWhatIsLoaded) {
  const char* const kTexts[] = {kTree,
                                "",
                                "{}",
                                "[{\"Command\":\"DIALOG\"}]",
                                "{\"Command\":\"DIALOG\",}",
                                R"({"Commands":{"Command":"DIALOG"}})",
                                R"({"Commands":[1,{"Command":"DIALOG"}]})",
                                "null",
                                "\"DIALOG\"",
                                R"({"Commands":{},"Command":"DIALOG"})"};
  int name = 0;
  for (const char* text : kTexts) {
    HookedDialog dialog;
    const std::string file = WriteResource(std::to_string(name++) + ".json", text);
    dialog.Init("d", file.c_str());
    dialog.LoadJsonUnique("S1");
    EXPECT_EQ(dorn::LastResource().isUsable, dorn::CheckResource(KZString(file)).isUsable) << text;
  }
}

}  // namespace
