#include "tools/dorn-gateway/Metrics.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace {

using dorn::gateway::Metrics;
using dorn::station::Reading;

bool Has(const std::string& text, const std::string& line) {
  return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

TEST(MetricsTest, WritesWhatItCounts) {
  Metrics metrics;
  metrics.mPages = 3;
  metrics.mHostConnections = 2;
  metrics.mLogInFailures = 7;
  metrics.mQueuedBytes = 12;
  metrics.mMessagesIn = 5;
  metrics.mMessagesOut = 6;
  metrics.mBytesIn = 50;
  metrics.mBytesOut = 60;
  metrics.CountText(Reading::kStrict);
  metrics.CountText(Reading::kTolerant);
  metrics.CountText(Reading::kTolerant);
  metrics.CountText(Reading::kUnreadable);
  const std::string text = metrics.Text();
  for (const char* line :
       {"dorn_gateway_pages 3", "dorn_gateway_host_connections 2",
        "dorn_gateway_login_failures_total 7", "dorn_gateway_queued_bytes 12",
        "dorn_gateway_messages_total{direction=\"in\"} 5",
        "dorn_gateway_messages_total{direction=\"out\"} 6",
        "dorn_gateway_bytes_total{direction=\"in\"} 50",
        "dorn_gateway_bytes_total{direction=\"out\"} 60",
        "dorn_gateway_texts_total{read=\"strict\"} 1",
        "dorn_gateway_texts_total{read=\"tolerant\"} 2",
        "dorn_gateway_texts_total{read=\"unreadable\"} 1", "# TYPE dorn_gateway_pages gauge",
        "# TYPE dorn_gateway_login_failures_total counter"}) {
    EXPECT_TRUE(Has(text, line)) << line << "\n" << text;
  }
}

TEST(MetricsTest, CountsFencesInAHistogram) {
  Metrics metrics;
  for (const double seconds : {0.0004, 0.0005, 0.0006, 0.3, 7.0}) metrics.CountFence(seconds);
  const std::string text = metrics.Text();
  for (const char* line :
       {"# TYPE dorn_gateway_fence_seconds histogram",
        "dorn_gateway_fence_seconds_bucket{le=\"0.0005\"} 2",
        "dorn_gateway_fence_seconds_bucket{le=\"0.001\"} 3",
        "dorn_gateway_fence_seconds_bucket{le=\"0.25\"} 3",
        "dorn_gateway_fence_seconds_bucket{le=\"0.5\"} 4",
        "dorn_gateway_fence_seconds_bucket{le=\"5\"} 4",
        "dorn_gateway_fence_seconds_bucket{le=\"+Inf\"} 5", "dorn_gateway_fence_seconds_sum 7.3015",
        "dorn_gateway_fence_seconds_count 5"}) {
    EXPECT_TRUE(Has(text, line)) << line << "\n" << text;
  }
}

// Each series is described once, before its lines, and no line is there twice.
TEST(MetricsTest, DescribesEachSeriesOnce) {
  std::istringstream lines(Metrics().Text());
  std::set<std::string> described;
  std::set<std::string> seen;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("# TYPE ", 0) == 0) {
      EXPECT_TRUE(described.insert(line.substr(7, line.rfind(' ') - 7)).second) << line;
    } else if (line.front() != '#') {
      EXPECT_TRUE(seen.insert(line.substr(0, line.rfind(' '))).second) << line;
      std::string name = line.substr(0, line.find_first_of(" {"));
      for (const std::string suffix : {"_bucket", "_sum", "_count"}) {
        if (described.count(name) != 0 || name.size() < suffix.size()) continue;
        if (name.substr(name.size() - suffix.size()) == suffix)
          name.resize(name.size() - suffix.size());
      }
      EXPECT_EQ(described.count(name), 1u) << line;
    }
  }
}

}  // namespace
