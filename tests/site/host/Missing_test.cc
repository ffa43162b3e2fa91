// Hosts that lack one of the site's dialogs.
#include "tests/site/host/HostTest.h"

#include "site/core/TreeCodec.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class MissingDialogTest : public HostTest {
 protected:
  // The host stops; another one with these dialogs, in its place, reads what the site has.
  void StartAgain(const std::vector<KZString>& dialogs) {
    mSite.reset();
    for (const char* name : {"panel", "second"}) app.DialogList()->Remove(name);
    mOptions.dialogs = dialogs;
    StartSite(false);
    Wait(1000);
    ASSERT_TRUE(mSite->Status().isServing);
  }

  // As a station of another host makes it.
  static void Change(OtherHost& host, const std::string& dialog) {
    dorn::site::Change change;
    change.dialog = dialog;
    change.command = dorn::site::EncodeCommand(VQJsonCommand("CONDITION"));
    ASSERT_TRUE(host.Node().Submit(std::move(change)).has_value());
    host.Node().Flush();
  }
};

TEST_F(MissingDialogTest, WhoLacksADialogOfTheSiteDoesNotBecomeTheKeeper) {
  mOptions.dialogs = {"panel", "second"};
  StartSite();
  testing::internal::CaptureStderr();
  StartAgain({"panel"});
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              AllOf(HasSubstr("dialog \"second\" is not the same"), HasSubstr("does not keep")));
  Wait(20000);
  EXPECT_TRUE(mSite->Status().isServing);
  EXPECT_FALSE(mSite->Status().isKeeper);
  EXPECT_FALSE(mSite->Status().isWhole);
  StartAgain({"panel", "second"});
  Wait(4000);
  EXPECT_TRUE(mSite->Status().isKeeper);
  EXPECT_TRUE(mSite->Status().isWhole);
}

TEST_F(MissingDialogTest, WhoHasMissedAChangeGivesTheSiteUpForAnotherHost) {
  StartSite();
  OtherHost& other = Join();
  Wait(300);
  Change(other, "second");
  Wait(300);
  EXPECT_FALSE(mSite->Status().isKeeper);
  EXPECT_FALSE(mSite->Status().isWhole);
  Wait(3500);
  EXPECT_TRUE(other.Node().IsKeeper());
  EXPECT_TRUE(mSite->Status().isServing);
}

TEST_F(MissingDialogTest, ADialogThatTheSiteHasNoLongerIsPassedOver) {
  mOptions.dialogs = {"panel", "second"};
  StartSite();
  mOptions.formerDialogs = {"second"};
  testing::internal::CaptureStderr();
  StartAgain({"panel"});
  Wait(4000);
  EXPECT_TRUE(mSite->Status().isKeeper);
  OtherHost& other = Join();
  Wait(300);
  Change(other, "second");
  Wait(1000);
  EXPECT_TRUE(mSite->Status().isKeeper);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(HasSubstr("second")));
}

}  // namespace
