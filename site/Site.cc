#include "site/Site.h"

#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>

#include "site/NatsCarrier.h"
#include "site/SiteBody.h"

namespace dorn::site {

namespace {

// Goes on while the machine sleeps, and is never set.
Ms BootTime() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return Ms(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
}

}  // namespace

SiteOptions OptionsFromEnvironment() {
  const auto text = [](const char* name) {
    const char* value = std::getenv(name);
    return KZString(value != nullptr ? value : "");
  };
  SiteOptions options;
  options.name = text("DORN_SITE");
  std::istringstream brokers(text("DORN_SITE_BROKERS"));
  for (std::string broker; brokers >> broker;) options.brokers.emplace_back(broker);
  std::istringstream former(text("DORN_SITE_FORMER_DIALOGS"));
  for (std::string dialog; former >> dialog;) options.formerDialogs.emplace_back(dialog);
  const int replicas = std::atoi(text("DORN_SITE_REPLICAS"));
  if (replicas > 0) options.replicas = replicas;
  options.user = text("DORN_SITE_USER");
  options.password = text("DORN_SITE_PASSWORD");
  options.credentialsFile = text("DORN_SITE_CREDENTIALS");
  options.authorityFile = text("DORN_SITE_CA");
  options.certificateFile = text("DORN_SITE_CERTIFICATE");
  options.keyFile = text("DORN_SITE_KEY");
  return options;
}

Site::Site(VQApplication& app, const SiteOptions& options)
    : mBody(std::make_unique<SiteBody>(app, options, MakeNatsCarrier(options), BootTime)) {}

Site::~Site() = default;

bool Site::Start() { return mBody->Start(); }

SiteStatus Site::Status() const { return mBody->Status(); }

}  // namespace dorn::site
