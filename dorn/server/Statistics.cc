#include "dorn/server/Statistics.h"

#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/PassStatistics.h"
#include "dorn/server/ApplicationState.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Counters.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

Statistics gCounters;

ClosingFor::Reason ClosingFor::sReason = &Statistics::closedByHost;

namespace {

void AppendHead(std::string& out, const char* name, const char* type, const char* help) {
  out.append("# HELP dorn_").append(name).append(" ").append(help);
  out.append("\n# TYPE dorn_").append(name).append(" ").append(type).append("\n");
}

void AppendSample(std::string& out, const char* name, const char* labels, std::uint64_t number) {
  out.append("dorn_").append(name).append(labels).append(" ");
  out.append(std::to_string(number)).append("\n");
}

void AppendGauge(std::string& out, const char* name, const char* help, std::uint64_t number) {
  AppendHead(out, name, "gauge", help);
  AppendSample(out, name, "", number);
}

void AppendCounter(std::string& out, const char* name, const char* help, std::uint64_t number) {
  AppendHead(out, name, "counter", help);
  AppendSample(out, name, "", number);
}

void AppendClosed(std::string& out, const Statistics& all) {
  constexpr char kName[] = "closed_total";
  AppendHead(out, kName, "counter", "Connections that ended, by reason.");
  AppendSample(out, kName, "{reason=\"station\"}", all.closedByStation);
  AppendSample(out, kName, "{reason=\"no_login\"}", all.closedNoLogin);
  AppendSample(out, kName, "{reason=\"no_answer\"}", all.closedNoAnswer);
  AppendSample(out, kName, "{reason=\"not_reading\"}", all.closedNotReading);
  AppendSample(out, kName, "{reason=\"too_long\"}", all.closedTooLong);
  AppendSample(out, kName, "{reason=\"bad_session\"}", all.closedBadSession);
  AppendSample(out, kName, "{reason=\"session_ended\"}", all.closedSessionEnded);
  AppendSample(out, kName, "{reason=\"slot_needed\"}", all.closedForAnother);
  AppendSample(out, kName, "{reason=\"host\"}", all.closedByHost);
}

}  // namespace

std::string Statistics::Text() const {
  std::string out;
  AppendGauge(out, "stations", "Connections, logged in or not.", stations);
  AppendGauge(out, "stations_logged_in", "Connections that are logged in.", loggedIn);
  AppendGauge(out, "sessions", "Sessions, the shared one included.", sessions);
  AppendGauge(out, "dialogs", "Dialogs.", dialogs);
  AppendGauge(out, "timers", "Timers that are waiting.", timers);
  AppendGauge(out, "queued_bytes", "Bytes of memory that wait for stations.", queuedBytes);
  AppendCounter(out, "messages_in_total", "Messages from stations.", messagesIn);
  AppendCounter(out, "bytes_in_total", "Bytes of these messages.", bytesIn);
  AppendCounter(out, "messages_out_total", "Messages to stations.", messagesOut);
  AppendCounter(out, "bytes_out_total", "Bytes of these messages.", bytesOut);
  AppendCounter(out, "unreadable_total", "Messages that are no commands.", unreadable);
  AppendCounter(out, "accepted_total", "Connections that were accepted.", accepted);
  AppendCounter(out, "refused_total", "Connections that were refused: too many.", refused);
  AppendClosed(out, *this);
  AppendCounter(out, "passes_total", "Passes of the loop.", passes);
  AppendGauge(out, "longest_pass_microseconds", "The longest pass without its wait.",
              longestPassUs);
  return out;
}

}  // namespace dorn

dorn::Statistics VQApplication::Statistics() {
  dorn::Statistics all = dorn::Counters();
  for (KZFdData* record : *GetFdDataList()) {
    VQClientSocket* client = dorn::AsLivingConnection(record);
    if (client == nullptr) continue;
    ++all.stations;
    if (client->mAuth) ++all.loggedIn;
    all.queuedBytes += dorn::Connection::Of(*client).Out().QueuedBytes();
  }
  all.sessions = mSessionList.mSessionList.size();
  all.dialogs = mDialogList.mDialogList.size();
  {
    const dorn::SemaphoreLock lock(mTimerListLock);
    all.timers = mTimerList.size();
  }
  dorn::PassStatistics& passes = dorn::Passes();
  passes.isTimed = true;
  all.passes = passes.passes;
  all.longestPassUs = passes.longestUs;
  return all;
}
