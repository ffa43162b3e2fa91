#include "tools/dorn-gateway/Log.h"

#include <gtest/gtest.h>

#include <string>

#include "station/Reader.h"

namespace {

using dorn::gateway::Log;

std::string Written(bool isJson, const std::string& value) {
  std::FILE* const file = std::tmpfile();
  Log(isJson, file).Warn("it happened", {{"browser", "127.0.0.1"}, {"why", value}});
  std::rewind(file);
  char bytes[1000];
  const std::string text(bytes, std::fread(bytes, 1, sizeof bytes, file));
  std::fclose(file);
  return text;
}

TEST(LogTest, WritesOneLineOfText) {
  const std::string line = Written(false, "a \"b\"\nc");
  EXPECT_EQ(line.substr(line.find(' ')),
            " warning it happened browser=\"127.0.0.1\" why=\"a \\\"b\\\"\\nc\"\n");
  EXPECT_EQ(line.find(' '), std::string("2026-11-22T04:40:04Z").size());
}

TEST(LogTest, WritesOneLineOfJson) {
  const std::string line = Written(true, "a \"b\"\n\xFF");
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  const auto read = dorn::station::Reader().Read(line);
  ASSERT_EQ(read.mReading, dorn::station::Reading::kStrict) << line;
  EXPECT_EQ(read.mJson.TextOf("level"), "warning");
  EXPECT_EQ(read.mJson.TextOf("message"), "it happened");
  EXPECT_EQ(read.mJson.TextOf("browser"), "127.0.0.1");
  EXPECT_EQ(read.mJson.TextOf("why"), "a \"b\"\n\uFFFD");
  EXPECT_EQ(read.mJson.TextOf("time").size(), std::string("2026-11-22T04:40:04Z").size());
}

}  // namespace
