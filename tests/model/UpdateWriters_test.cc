// The recursive writers of update commands by themselves, and with hosts' own classes.
#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "tests/model/SmallTree.h"

namespace {

class UpdateWritersTest : public SmallTree {};

// --- The recursive writers by themselves ----------------------------------------------------

// Text that follows may be what covers a withdrawn brace, so it is part of what is compared.
std::string UpdateRaw(VQJsonObject* object, const char* before, int& comma, bool all,
                      const char* session) {
  std::ostringstream out;
  out << before;
  VQJsonParser().OutUpdateCommandRaw(out, object, comma, all, session);
  out << "<end>";
  return out.str();
}

TEST_F(UpdateWritersTest, TheUpdateWriterContinuesTextAndCounter) {
  mG1->SetValue("Attr", 1, 1, "");
  mB2->SetValue("Attr", 2, 1, "");
  int comma = 0;
  EXPECT_EQ(UpdateRaw(&mTree, "[", comma, false, "S1"),
            "[{\"Attr\":1,\"Name\":\"g1\"},{\"Attr\":2,\"Name\":\"b2\"}<end>");
  EXPECT_EQ(comma, 2);
  EXPECT_EQ(UpdateRaw(mG1, "before", comma, false, "S1"),
            "before,{\"Attr\":1,\"Name\":\"g1\"},{\"Attr\":2,\"Name\":\"b2\"}<end>");
  EXPECT_EQ(comma, 4);
}

TEST_F(UpdateWritersTest, TheUpdateWriterWritesAnyNamedRoot) {
  mTree.SetValue("Title", "T", 1, "");
  int comma = 0;
  EXPECT_EQ(UpdateRaw(&mTree, "", comma, false, "S1"), "{\"Title\":\"T\",\"Name\":\"top\"}<end>");
  EXPECT_EQ(comma, 1);
}

TEST_F(UpdateWritersTest, AWithdrawalLeavesTextAndCounterAsTheyWere) {
  mB1->SetValue("Value", "a value longer than what follows", -1, "S1");
  for (int before : {0, 1, 7}) {
    int comma = before;
    EXPECT_EQ(UpdateRaw(mB1, "some text", comma, false, "S1"), "some text<end>");
    EXPECT_EQ(comma, before);
  }
}

TEST_F(UpdateWritersTest, ACleanObjectLeavesTextAndCounterAsTheyWere) {
  int comma = 3;
  EXPECT_EQ(UpdateRaw(&mTree, "some text", comma, false, "S1"), "some text<end>");
  EXPECT_EQ(comma, 3);
}

TEST_F(UpdateWritersTest, ANegativeCounterBringsACommaInTheUpdateWriter) {
  mB1->SetValue("V", 1, 1, "");
  mB2->SetValue("V", 2, 1, "");
  int comma = -1;
  EXPECT_EQ(UpdateRaw(mG1, "", comma, false, "S1"),
            ",{\"V\":1,\"Name\":\"b1\"}{\"V\":2,\"Name\":\"b2\"}<end>");
  EXPECT_EQ(comma, 1);
}

TEST_F(UpdateWritersTest, TheUpdateWriterTouchesNoAddOrDeleteRecord) {
  AddNew(*mG1, "n1");
  mB1->Delete("THIS");
  int comma = 0;
  EXPECT_EQ(UpdateRaw(&mTree, "", comma, false, "S1"), "<end>");
  EXPECT_TRUE(mG1->IsDirtyAdd());
  EXPECT_TRUE(mG1->IsDirtyDel());
}

std::string DeleteRaw(VQJsonObject* object, const char* before, int& comma) {
  std::ostringstream out;
  out << before;
  VQJsonParser().OutDeleteCommandRaw(out, object, comma);
  return out.str();
}

TEST_F(UpdateWritersTest, TheDeleteWriterContinuesTextAndCounterAndClears) {
  mB1->Delete("THIS");
  mB3->Delete("THIS");
  int comma = 2;
  EXPECT_EQ(DeleteRaw(&mTree, "x", comma),
            "x,{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b3\"},"
            "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"}");
  EXPECT_EQ(comma, 4);
  EXPECT_FALSE(mTree.IsDirtyDel() || mG1->IsDirtyDel());
  EXPECT_EQ(DeleteRaw(&mTree, "x", comma), "x");
  EXPECT_EQ(comma, 4);
}

// Unlike the other writers this one asks for a counter above zero.
TEST_F(UpdateWritersTest, ANegativeCounterBringsNoCommaInTheDeleteWriter) {
  mB1->Delete("THIS");
  mB3->Delete("THIS");
  int comma = -1;
  EXPECT_EQ(DeleteRaw(&mTree, "", comma),
            "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b3\"}"
            "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"}");
  EXPECT_EQ(comma, 1);
}

std::string AddRaw(VQJsonObject* object, const char* before, int& comma, int& indent,
                   int create = 0) {
  std::ostringstream out;
  out << before;
  VQJsonParser().OutAddCommandRaw(out, object, comma, indent, create);
  return out.str();
}

TEST_F(UpdateWritersTest, TheAddWriterContinuesTextAndCounterAndClears) {
  AddNew(*mG1, "n1");
  int comma = 1;
  int indent = 0;
  EXPECT_EQ(AddRaw(&mTree, "x", comma, indent),
            "x,{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"n1\"}]}");
  EXPECT_EQ(comma, 2);
  EXPECT_EQ(indent, 0);
  EXPECT_EQ(AddRaw(&mTree, "x", comma, indent), "x");
  EXPECT_EQ(comma, 2);
  EXPECT_FALSE(mG1->IsDirtyAdd());
}

TEST_F(UpdateWritersTest, InsideAnAddTheWriterWritesMembers) {
  AddNew(*mG1, "n1");
  mG1->SetValue("Type", "GROUP", 0, "");
  int comma = 0;
  int indent = 1;
  EXPECT_EQ(AddRaw(&mTree, "[", comma, indent),
            "[{\"Name\":\"g1\",\"Type\":\"GROUP\",\"Objects\":[{\"Name\":\"n1\"}]}");
  EXPECT_EQ(comma, 1);
  EXPECT_EQ(indent, 1);
}

TEST_F(UpdateWritersTest, ANegativeIndentIsInsideAnAddToo) {
  AddNew(*mG1, "n1");
  int comma = -1;
  int indent = -1;
  // One level down the indent is 0, so a whole command stands inside.
  EXPECT_EQ(
      AddRaw(mG1, "", comma, indent),
      ",{\"Name\":\"g1\",\"Objects\":[{ \"Command\":\"ADD\",\"Name\":\"n1\", \"Objects\":[]}]}");
  EXPECT_EQ(comma, 0);
  EXPECT_EQ(indent, -1);
}

TEST_F(UpdateWritersTest, TheCreateArgumentChangesNothing) {
  for (int create : {0, 1, -5}) {
    mG1->SetDirtyAdd();
    mB1->SetDirtyAdd();
    int comma = 0;
    int indent = 0;
    EXPECT_EQ(AddRaw(&mTree, "", comma, indent, create),
              "{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"b1\"}]}");
  }
}

// A stream that cannot tell or move its position.
class Sink : public std::streambuf {
 public:
  std::string mText;

 protected:
  int_type overflow(int_type c) override {
    if (c != traits_type::eof()) mText.push_back(static_cast<char>(c));
    return c;
  }
};

TEST_F(UpdateWritersTest, WritesToStreamsThatCannotSeek) {
  mG1->SetValue("Attr", 1, -1, "S1");
  mB1->SetValue("Value", "ON", -1, "");
  mB2->SetValue("Value", "ON", -1, "S1");
  Sink sink;
  std::ostream out(&sink);
  int comma = 0;
  mParser.OutUpdateCommandRaw(out, &mTree, comma, false, "S1");
  EXPECT_EQ(sink.mText, "{\"Value\":\"ON\",\"Name\":\"b1\"}");
  EXPECT_TRUE(out.good());
}

// --- Hosts' own classes ---------------------------------------------------------------------

class HostObject : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  void OutJsonMember(std::ostream& out, int& b) override {
    if (b++) out << ",";
    out << "\"host\":1";
  }
  void OutJsonDirtyMember(std::ostream& out, int& b, const KZString& sessionid) override {
    if (b++) out << ",";
    out << "\"for\":\"" << static_cast<const std::string&>(sessionid) << "\"";
  }
};

TEST_F(UpdateWritersTest, AHostsWritersAreUsed) {
  auto* host = Named(new HostObject(&mTree), "h");
  mTree.AddObject(host, 1);
  host->SetDirty("k");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[{\"for\":\"S1\"}]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":[{\"host\":1}]}]}");
  EXPECT_EQ(Make(mTree, false, "S2").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"for\":\"S2\"}]}\n");
  host->ResetDirty();
  EXPECT_EQ(Make(mTree, false, "S2").text, kNothing);
}

// A plain group that a host pretends to be none is not walked.
class Closed : public VQJsonObjectHasList {
 public:
  using VQJsonObjectHasList::VQJsonObjectHasList;
  bool HasGroup() override { return false; }
};

TEST_F(UpdateWritersTest, AHostMayHideTheChildrenOfAGroup) {
  auto* closed = Named(new Closed("Objects", &mTree), "c");
  mTree.AddObject(closed, 0);
  AddChild(*closed, "hidden")->SetDirty("k");
  EXPECT_EQ(Make(mTree, false, "S1"), (Update{false, kNothing}));
}

}  // namespace
