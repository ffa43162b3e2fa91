// Several hosts that show the same shared dialogs: a site.
// Loop thread only: nothing in this file takes a lock.
#ifndef SITE_SITE_H_
#define SITE_SITE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dorn/base/KZString.h"
#include "site/Export.h"

class VQApplication;
class VQClientSocket;

namespace dorn::site {

// The most bytes that go with a session.
inline constexpr std::size_t kMostSessionData = 4096;

struct SiteOptions {
  // The same on all hosts of the site: letters, digits, '-' and '_', without "_SNAP" at its
  // end.
  KZString name;

  // Where the log is, such as "nats://10.0.0.1:4222"; all of the site's brokers.
  std::vector<KZString> brokers;

  // How many brokers keep the log; that of the host which comes first counts.
  int replicas = 1;

  // How this host proves to the brokers who it is; empty: not at all. Files of the broker's own
  // kind, and a user's name with a password.
  KZString credentialsFile;
  KZString user;
  KZString password;

  // Certificates, in PEM files. With an authority the connections to the brokers are encrypted.
  KZString authorityFile;
  KZString certificateFile;
  KZString keyFile;

  // The shared dialogs, by name. Start() makes them, by the application's maker.
  std::vector<KZString> dialogs;

  // Dialogs that the site had and has no longer: what its log and snapshots say of them is passed
  // over. The same on all hosts of the site. Any other dialog that the site has and this host does
  // not is a mistake: the host says so, and does not keep the site.
  std::vector<KZString> formerDialogs;

  // The object of a shared dialog whose "State" tells stations whether the log answers.
  KZString statusObject = "site";

  // Applies each change to two copies and compares them, which finds what OnApply() must not use.
  // It costs as much as all the rest, so it is on where the host is compiled for debugging.
#ifdef NDEBUG
  bool appliesTwice = false;
#else
  bool appliesTwice = true;
#endif
};

// What the environment says: DORN_SITE (the name), DORN_SITE_BROKERS (with blanks between them),
// DORN_SITE_REPLICAS, DORN_SITE_USER, DORN_SITE_PASSWORD, DORN_SITE_CREDENTIALS, DORN_SITE_CA,
// DORN_SITE_CERTIFICATE, DORN_SITE_KEY and DORN_SITE_FORMER_DIALOGS (with blanks between them). The
// dialogs are still to be named.
DORN_SITE_EXPORT SiteOptions OptionsFromEnvironment();

// How a host of the site is doing.
struct SiteStatus {
  // At the moment.
  bool isServing = false;  // Changes are taken.
  bool isLogAway = false;  // The log has not answered for 1.5 s.
  bool isKeeper = false;   // OnKeep() is called here.
  bool isHealthy = false;  // Stations are let in: it serves, and the log was there 15 s ago.
  bool isWhole = true;     // It has all dialogs that the site has; otherwise it does not keep it.

  std::size_t waiting = 0;  // Changes and log-ins that were handed in and have not come back.

  // The last entry of the log that is in the dialogs; 0 while there is none. Hosts that are far
  // apart for long are in trouble.
  std::uint64_t position = 0;

  // Grows with each host that becomes the keeper, and is the same on all hosts that agree on who it
  // is; 0: nobody yet.
  std::uint64_t keeper = 0;

  // Milliseconds since the log has answered; -1: never.
  std::int64_t answeredMsAgo = -1;

  // Since the start of the host.
  std::uint64_t entries = 0;    // Read from the log.
  std::uint64_t applied = 0;    // Changes.
  std::uint64_t unknown = 0;    // Own ones that had not come back after 2 s.
  std::uint64_t refused = 0;    // Own ones that were never applied.
  std::uint64_t sentAgain = 0;  // Entries, since they did not come back.
  std::uint64_t dropped = 0;    // Came twice, late, or of a host that is not the keeper any more.
  std::uint64_t garbage = 0;    // Entries that are none, or of another version.
  std::uint64_t takes = 0;      // This host became the keeper.
  std::uint64_t diverged = 0;   // Its dialogs differed from the keeper's.
  std::uint64_t snapshots = 0;  // Were loaded: at the start, and when the dialogs differed.
  std::uint64_t unequal = 0;    // Changes that gave two different results when applied twice.

  // As text for Prometheus: "dorn_site_serving 1" and so on, with types and help. What
  // VQApplication::ServeStatistics() offers has it at its end while there is a site.
  DORN_SITE_EXPORT std::string Text() const;
};

class SiteBody;

// One of each process. Lives as long as its application's loop runs.
class DORN_SITE_EXPORT Site {
 public:
  // `app` must outlive it.
  Site(VQApplication& app, const SiteOptions& options);
  ~Site();

  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  // Makes the shared dialogs and looks for the log: between Initialize() and Run(), or in OnInit().
  // False, with a line on standard error, when the options are no good, or a name among them is of
  // no shared dialog. It does not wait: stations are let in as soon as the host knows what the site
  // shows.
  //
  // While the host does not serve, or for as long as the log has been away for more than 15 s,
  // connections are not answered, so that a proxy's check of a log-in fails; those that are there
  // stay.
  bool Start();

  SiteStatus Status() const;

 private:
  std::unique_ptr<SiteBody> mBody;
};

// For OnAuth(): makes a session of the site, with `data` (up to 4 KB) for whoever asks for it, on
// any host, and lets the station in. The answer waits until the log has it; without a log the
// station is told that the log-in failed, at the latest ten seconds after it has connected.
// The session ends `ms` milliseconds after the station's last command, give or take a quarter;
// never if that is 0 or less. The clock stands while the log is away. Returns false, and the
// station is not let in, outside OnAuth(), without a site, for an empty `sid` and for too much
// data.
DORN_SITE_EXPORT bool CreateSession(const KZString& sid, int ms, std::string_view data);

// For OnAuthCheck(), which returns what this returns: lets a station in that presents the id of a
// session, made on whatever host. Asks nobody.
DORN_SITE_EXPORT bool Reattach(const KZString& sid, VQClientSocket* client);

// What was given to CreateSession(); nothing if the site has no such session.
DORN_SITE_EXPORT std::optional<KZString> SessionData(const KZString& sid);

}  // namespace dorn::site

#endif  // SITE_SITE_H_
