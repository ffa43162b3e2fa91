// What a host of a site tells of itself.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "tests/site/host/HostTest.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class SiteStatusTest : public HostTest {
 protected:
  // What whoever connects to the socket at `path` gets.
  std::string Ask(const std::string& path) {
    const int asking = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(0, connect(asking, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    Pass();
    std::string text;
    std::string piece(4096, 0);
    for (ssize_t got = 0; (got = read(asking, piece.data(), piece.size())) > 0;) {
      text.append(piece, 0, static_cast<std::size_t>(got));
    }
    close(asking);
    return text;
  }
};

TEST_F(SiteStatusTest, TellsWhereTheHostStands) {
  StartSite();
  Station station = Enter("u1");
  Set(station, "a", "2");
  mLog.entries.emplace_back("garbage");
  mLog.entries.push_back(mLog.entries.front());  // The first take, once more.
  testing::internal::CaptureStderr();
  Wait(300);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("none of this version"));
  dorn::site::SiteStatus status = mSite->Status();
  EXPECT_EQ(mLog.entries.size(), status.position);
  EXPECT_EQ(mLog.entries.size(), status.entries);
  EXPECT_EQ(1U, status.keeper) << "the first entry is its take";
  EXPECT_EQ(1U, status.takes);
  EXPECT_EQ(1U, status.applied);
  EXPECT_EQ(1U, status.garbage);
  EXPECT_EQ(1U, status.dropped);
  EXPECT_EQ(0U, status.waiting);
  EXPECT_LE(status.answeredMsAgo, 100);
  mCarrier->SetCut(true);
  Set(station, "a", "3");
  Wait(3000);
  status = mSite->Status();
  EXPECT_TRUE(status.isLogAway);
  EXPECT_GE(status.answeredMsAgo, 3000);
  EXPECT_GE(status.waiting, 1U);
  EXPECT_GE(status.unknown, 1U);
  EXPECT_GE(status.sentAgain, 1U);
}

TEST_F(SiteStatusTest, SaysThatTheLogHasNeverAnswered) {
  StartSite(false);
  mCarrier->SetCut(true);
  Wait(1000);
  EXPECT_EQ(-1, mSite->Status().answeredMsAgo);
}

TEST_F(SiteStatusTest, StandsBehindTheStatisticsOfTheApplication) {
  const std::string path = "site-status-" + std::to_string(getpid());
  ASSERT_TRUE(app.ServeStatistics(path.c_str()));
  StartSite();
  EXPECT_THAT(Ask(path), AllOf(HasSubstr("\ndorn_passes_total "),
                               HasSubstr("\n# TYPE dorn_site_serving gauge\ndorn_site_serving 1\n"),
                               HasSubstr("\ndorn_site_takes_total 1\n"),
                               EndsWith("\ndorn_site_unequal_total 0\n")));
  mSite.reset();
  EXPECT_THAT(Ask(path), Not(HasSubstr("dorn_site")));
  ASSERT_TRUE(app.ServeStatistics(nullptr));
}

}  // namespace
