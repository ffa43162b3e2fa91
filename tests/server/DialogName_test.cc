#include "dorn/server/DialogName.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Canonical(const std::string& name) { return dorn::CanonicalDialogName(KZString(name)); }

TEST(DialogNameTest, LeavesACanonicalNameAlone) {
  for (const char* name : {"panel", "help@pumps", "a@b@c", "..a", "a..", "...", "@@"}) {
    const std::string once = Canonical(name);
    EXPECT_EQ(once, Canonical(once)) << name;
  }
  EXPECT_EQ("panel", Canonical("panel"));
  EXPECT_EQ("help@pumps", Canonical("help@pumps"));
  EXPECT_EQ("...", Canonical("..."));
}

TEST(DialogNameTest, HasOneSpellingForEachFile) {
  for (const char* name :
       {"help@.@@pumps", "help/pumps", "@help@pumps", "help@@pumps@", "help@x@..@pumps",
        "./help/./pumps/.", "a@..@help@pumps", "help@pumps@x@.."}) {
    EXPECT_EQ("help@pumps", Canonical(name)) << name;
  }
}

TEST(DialogNameTest, IsEmptyForANameThatLeadsOutsideOrNowhere) {
  for (const char* name :
       {"", "@", ".", "..", "@..", "a@..", "a@..@..@b", "../secret", "help@../../x"}) {
    EXPECT_EQ("", Canonical(name)) << name;
  }
  EXPECT_EQ("", Canonical(std::string("pan\0el", 6)));
}

}  // namespace
