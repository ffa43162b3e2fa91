#include "tools/dorn-gateway/Metrics.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace dorn::gateway {

namespace {

class MetricsText {
 public:
  void Head(std::string_view name, std::string_view type, std::string_view help) {
    mName = "dorn_gateway_";
    mName += name;
    mText += "# HELP " + mName + " ";
    mText += help;
    mText += "\n# TYPE " + mName + " ";
    mText += type;
    mText += '\n';
  }

  // `labels` with its braces, or none.
  void Line(std::string_view suffix, std::string_view labels, std::uint64_t value) {
    mText += mName;
    mText += suffix;
    mText += labels;
    mText += ' ' + std::to_string(value) + '\n';
  }

  void Seconds(std::string_view suffix, double value) {
    mText += mName;
    mText += suffix;
    mText += ' ' + Number(value) + '\n';
  }

  void Gauge(std::string_view name, std::string_view help, std::uint64_t value) {
    Head(name, "gauge", help);
    Line("", "", value);
  }

  void Counter(std::string_view name, std::string_view help, std::uint64_t value) {
    Head(name, "counter", help);
    Line("", "", value);
  }

  static std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
  }

  std::string Take() { return std::move(mText); }

 private:
  std::string mName;
  std::string mText;
};

}  // namespace

void Metrics::CountText(station::Reading reading) { ++mTexts[static_cast<std::size_t>(reading)]; }

void Metrics::CountFence(double seconds) {
  const auto bound = std::lower_bound(kFenceBounds.begin(), kFenceBounds.end(), seconds);
  ++mFences[static_cast<std::size_t>(bound - kFenceBounds.begin())];
  mFenceSum += seconds;
}

std::string Metrics::Text() const {
  MetricsText text;
  text.Gauge("pages", "Open WebSockets.", mPages);
  text.Gauge("connections", "Connections of browsers, WebSockets among them.", mConnections);
  text.Gauge("host_connections", "Connections to the host.", mHostConnections);
  text.Gauge("host_up", "1 when the host answers.", mIsHostUp ? 1 : 0);
  text.Gauge("queued_bytes", "Bytes of memory that wait for pages.", mQueuedBytes);
  text.Counter("pages_total", "WebSockets opened.", mPagesTotal);
  text.Counter("logins_total", "Good log-ins.", mLogIns);
  text.Counter("login_failures_total", "Refused log-ins.", mLogInFailures);
  text.Counter("reconnects_total", "Host connections that went on with a session.", mReconnects);
  text.Counter("host_losses_total", "Host connections that were lost or not opened.", mHostLosses);
  text.Counter("refused_total", "Texts of pages that were not passed on.", mRefused);
  text.Counter("dead_pages_total", "Pages dropped because they answered no ping.", mDeadPages);
  text.Counter("slow_pages_total", "Pages closed because too much waited for them.", mSlowPages);
  text.Counter("rejected_total", "Connections and pages beyond a limit.", mRejected);

  text.Head("texts_total", "counter", "Texts of the host, by how they could be read.");
  text.Line("", "{read=\"strict\"}", mTexts[0]);
  text.Line("", "{read=\"tolerant\"}", mTexts[1]);
  text.Line("", "{read=\"unreadable\"}", mTexts[2]);
  text.Head("messages_total", "counter", "WebSocket messages, in from pages, out to them.");
  text.Line("", "{direction=\"in\"}", mMessagesIn);
  text.Line("", "{direction=\"out\"}", mMessagesOut);
  text.Head("bytes_total", "counter", "Payload bytes of these messages.");
  text.Line("", "{direction=\"in\"}", mBytesIn);
  text.Line("", "{direction=\"out\"}", mBytesOut);

  text.Head("fence_seconds", "histogram", "Time from a fence to the host's answer.");
  std::uint64_t below = 0;
  for (std::size_t i = 0; i < kFenceBounds.size(); ++i) {
    below += mFences[i];
    text.Line("_bucket", "{le=\"" + MetricsText::Number(kFenceBounds[i]) + "\"}", below);
  }
  below += mFences.back();
  text.Line("_bucket", "{le=\"+Inf\"}", below);
  text.Seconds("_sum", mFenceSum);
  text.Line("_count", "", below);
  return text.Take();
}

}  // namespace dorn::gateway
