#include "site/nats/Answers.h"

#include <gtest/gtest.h>

namespace dorn::site {
namespace {

TEST(AnswersTest, AStoredMessageIsFoundInItsAnswer) {
  const auto found = MessageIn(
      R"({"type":"io.nats.jetstream.api.v1.stream_msg_get_response","message":{"subject":)"
      R"("dorn.x.manifest","seq":17,"data":"AP/+aGFsbG8=","time":"2026-11-22T20:00:00Z"}})");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->sequence, 17U);
  EXPECT_EQ(found->data, std::string("\0\xff\xfehallo", 8));
  EXPECT_EQ(found->stamp, 1'795'377'600'000'000'000);

  const auto empty = MessageIn(R"({"message":{"subject":"a","seq":1,"time":"x"}})");
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->data, "");
}

TEST(AnswersTest, OtherAnswersHoldNone) {
  for (const char* json :
       {"", "{", "null", R"({"message":5})", R"({"message":{}})", R"({"seq":5,"data":"AAAA"})",
        R"({"message":{"seq":0,"data":"AAAA"}})", R"({"message":{"seq":"x","data":"AAAA"}})",
        R"({"message":{"seq":1,"data":"%%%%"}})"}) {
    EXPECT_FALSE(MessageIn(json)) << json;
  }
}

TEST(AnswersTest, TimesAreReadToTheNanosecond) {
  EXPECT_EQ(StampIn("1970-01-01T00:00:01.5Z"), 1'500'000'000);
  EXPECT_EQ(StampIn("2022-11-22T20:00:00.000000123Z"), 1'669'147'200'000'000'123);
  for (const char* text : {"", "x", "2022-11-22T20:00:00", "2022-11-22T20:00:00.1", "2022-11-22Z",
                           "2022-11-22T20:00:00.1234567891Z", "2022-11-22T20:00:00+01:00",
                           "0001-01-01T00:00:00Z", "9999-12-31T23:59:59.9Z"}) {
    EXPECT_EQ(StampIn(text), 0) << text;
  }
}

TEST(AnswersTest, AllLengthsOfBase64AreRead) {
  EXPECT_EQ(FromBase64(""), "");
  EXPECT_EQ(FromBase64("Zg=="), "f");
  EXPECT_EQ(FromBase64("Zm8="), "fo");
  EXPECT_EQ(FromBase64("Zm9v"), "foo");
  EXPECT_EQ(FromBase64("Zm9vYg=="), "foob");
  EXPECT_FALSE(FromBase64("Zm9v\n"));
  EXPECT_FALSE(FromBase64("Zm=v"));
}

TEST(AnswersTest, OnlyWhatIsNotThereIsMissing) {
  EXPECT_TRUE(
      SaysMissing(R"({"error":{"code":404,"err_code":10037,"description":"no message found"}})"));
  EXPECT_FALSE(SaysMissing(R"({"error":{"code":503,"err_code":10008,"description":"x"}})"));
  EXPECT_FALSE(SaysMissing(R"({"message":{"seq":404,"data":"AAAA"}})"));
  EXPECT_FALSE(SaysMissing(R"({"code":404})"));
}

}  // namespace
}  // namespace dorn::site
