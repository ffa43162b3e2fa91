// What a host of a site tells of itself, as text.
#include <cstdint>
#include <string>

#include "site/Site.h"

namespace dorn::site {

namespace {

void Append(std::string& out, const std::string& name, const char* type, const char* help,
            const std::string& number) {
  out += "# HELP dorn_site_" + name + " " + help;
  out += "\n# TYPE dorn_site_" + name + " " + type;
  out += "\ndorn_site_" + name + " " + number + "\n";
}

void AppendGauge(std::string& out, const char* name, const char* help, std::int64_t number) {
  Append(out, name, "gauge", help, std::to_string(number));
}

void AppendCounter(std::string& out, const char* name, const char* help, std::uint64_t number) {
  Append(out, name, "counter", help, std::to_string(number));
}

}  // namespace

std::string SiteStatus::Text() const {
  std::string out;
  AppendGauge(out, "serving", "1 if changes are taken.", isServing ? 1 : 0);
  AppendGauge(out, "log_away", "1 if the log does not answer.", isLogAway ? 1 : 0);
  AppendGauge(out, "keeper", "1 if this host keeps the site.", isKeeper ? 1 : 0);
  AppendGauge(out, "healthy", "1 if stations are let in.", isHealthy ? 1 : 0);
  AppendGauge(out, "whole", "1 if this host has all dialogs of the site.", isWhole ? 1 : 0);
  AppendGauge(out, "waiting", "Changes and log-ins that have not come back.",
              static_cast<std::int64_t>(waiting));
  AppendGauge(out, "position", "The last entry of the log that is in the dialogs.",
              static_cast<std::int64_t>(position));
  AppendGauge(out, "keeper_token", "The same on hosts that agree on who keeps the site.",
              static_cast<std::int64_t>(keeper));
  AppendGauge(out, "answered_milliseconds_ago", "Since the log has answered; -1: never.",
              answeredMsAgo);
  AppendCounter(out, "entries_total", "Entries that were read from the log.", entries);
  AppendCounter(out, "applied_total", "Changes that were applied.", applied);
  AppendCounter(out, "unknown_total", "Own changes that had not come back after 2 s.", unknown);
  AppendCounter(out, "refused_total", "Own changes that were never applied.", refused);
  AppendCounter(out, "sent_again_total", "Entries that were sent again.", sentAgain);
  AppendCounter(out, "dropped_total", "What came twice, late, or of a former keeper.", dropped);
  AppendCounter(out, "garbage_total", "Entries that are none, or of another version.", garbage);
  AppendCounter(out, "takes_total", "How often this host became the keeper.", takes);
  AppendCounter(out, "diverged_total", "How often the dialogs differed from the keeper's.",
                diverged);
  AppendCounter(out, "snapshots_total", "Snapshots that were loaded.", snapshots);
  AppendCounter(out, "unequal_total", "Changes that were not the same when applied twice.",
                unequal);
  return out;
}

}  // namespace dorn::site
