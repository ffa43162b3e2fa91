// Brokers that are none, broken, or want to do harm: a host stands it, and ends when it is told to.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/site/FakeBroker.h"
#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

NatsOptions OptionsFor(const FakeBroker& broker) {
  NatsOptions options;
  options.site = "test";
  options.servers = {broker.Url()};
  return options;
}

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

// A host with all kinds of work, until the condition holds and a little longer; then it ends at
// once.
template <typename Condition>
void Suffer(FakeBroker& broker, Condition&& condition) {
  auto host = std::make_unique<NatsHost>(OptionsFor(broker));
  host->Transport().Publish("entry");
  host->Transport().Publish(Encode(Manifest{1, 1, {}, 1, 1, {}}));
  host->Transport().Store(1, std::string(kPieceBytes + 1, 'x'));
  host->Transport().Fetch(1, 2);
  host->Transport().Forget(5);
  EXPECT_TRUE(host->Until(condition));
  host->RunFor(milliseconds(500));
  const auto begun = std::chrono::steady_clock::now();
  host.reset();
  // A second by the clock; the rest is for a busy machine.
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(30));
}

// Each of them in a host of its own, all at the same time.
template <typename Each>
void ForAll(const std::vector<std::string>& texts, const Each& each) {
  std::vector<std::thread> hosts;
  for (const std::string& text : texts) {
    hosts.emplace_back([&text, &each] {
      SCOPED_TRACE(text.substr(0, 40));
      each(text);
    });
  }
  for (std::thread& host : hosts) host.join();
}

// What answers hold that are none, or lack something.
std::vector<std::string> Nonsense() {
  return {std::string(),
          std::string("{"),
          std::string("null"),
          std::string("[]"),
          std::string("{}"),
          std::string("\0\xff", 2),
          std::string(R"({"error":"x"})"),
          std::string(R"({"error":{}})"),
          std::string(R"({"config":"x","state":5})"),
          std::string(R"({"config":{},"state":{}})"),
          std::string(R"({"state":{"messages":-1,"first_seq":"x","last_seq":1e99}})"),
          std::string(R"({"message":5})"),
          std::string(R"({"message":{}})"),
          std::string(R"({"message":{"subject":"a","seq":1,"data":"%%%","hdrs":"%%%"}})"),
          std::string(R"({"message":{"subject":"a","seq":1,"hdrs":"AAAA"}})"),
          Times(100'000, "["),
          Times(100'000, R"({"a":)"),
          std::string(1'000'000, '"')};
}

TEST(NatsHostileTest, WhoGreetsWithSomethingElseIsLeftAndTriedAgain) {
  ForAll({std::string("HTTP/1.1 400 Bad Request\r\n\r\n"), std::string("\0\xff\r\n\r\n\0", 7),
          std::string("INFO {\r\n"), std::string("INFO []\r\n"), std::string("\r\n"),
          std::string("INFO " + Times(100'000, "[") + "\r\n"),
          "INFO " + std::string(std::size_t{3} << 20, 'a'),
          std::string("-ERR 'Authorization Violation'\r\n")},
         [](const std::string& greeting) {
           FakeBroker broker({greeting, "", false, nullptr});
           Suffer(broker, [&] { return broker.Connections() > 1; });
         });
}

TEST(NatsHostileTest, WhateverComesInsteadOfProtocolIsSurvived) {
  ForAll({std::string("garbage\r\n"), std::string("\0\0\0\0", 4), Times(1000, "-ERR 'Storm'\r\n"),
          Times(1000, "-ERR 'Permissions Violation'\r\n"), Times(5000, "PING\r\n"),
          Times(5000, "PONG\r\n"), std::string("MSG a 1 99999999999999999999\r\n"),
          std::string("MSG a 1 -1\r\n"), std::string("MSG a 999 3\r\nabc\r\n"),
          std::string("MSG  \r\n"), "MSG " + std::string(std::size_t{1} << 20, 'x'),
          std::string("HMSG a 1 100 5\r\n"), std::string("HMSG a 1 5 3\r\nNATS/1.0\r\n"),
          std::string("INFO " + Times(100'000, "{\"a\":")) + "\r\n",
          std::string("-ERR '" + std::string(100'000, 'e') + "'\r\n")},
         [](const std::string& storm) {
           FakeBroker broker({"", storm, false, nullptr});
           Suffer(broker, [&] { return broker.Connections() > 0; });
         });
}

TEST(NatsHostileTest, WhoClosesInTheMidstOfAMessageIsTriedAgain) {
  FakeBroker broker({"", "MSG _INBOX.a 1 1000\r\nabc", true, nullptr});
  Suffer(broker, [&] { return broker.Connections() > 2; });
}

TEST(NatsHostileTest, NonsenseInsteadOfAnswersIsSurvived) {
  ForAll(Nonsense(), [](const std::string& answer) {
    FakeBroker broker({"", "", false, [&answer](const std::string&) { return answer; }});
    Suffer(broker, [&] { return broker.Answers() > 2; });
  });
}

// As an open log needs it, but with subjects that nobody has made.
std::string OddStreams(const std::string& subject) {
  if (subject.find("STREAM.INFO") != std::string::npos) {
    return R"({"config":{"name":"x"},"state":{"messages":1,"first_seq":1,"last_seq":1,)"
           R"("num_subjects":3,"subjects":{"x":1,"":1,"dorn.test.snap.":1}}})";
  }
  if (subject.find("MSG.GET") != std::string::npos) {
    return R"({"error":{"code":404,"err_code":10037,"description":"no message found"}})";
  }
  return R"({"success":true,"purged":1})";
}

TEST(NatsHostileTest, OddSubjectsAmongTheSnapshotsAreNobodysMarks) {
  std::atomic<int> purged{0};
  FakeBroker broker({"", "", false, [&purged](const std::string& subject) {
                       if (subject.find("PURGE") != std::string::npos) ++purged;
                       return OddStreams(subject);
                     }});
  Suffer(broker, [&] { return purged > 0; });
  EXPECT_EQ(purged, 1) << "of the log alone";
}

// The log is opened, and then nothing that is asked is answered well.
TEST(NatsHostileTest, NonsenseBehindTheOpeningIsSurvived) {
  ForAll(Nonsense(), [](const std::string& answer) {
    constexpr int kGood = 4;
    std::atomic<int> questions{0};
    FakeBroker broker({"", "", false, [&](const std::string& subject) {
                         return ++questions > kGood ? answer : OddStreams(subject);
                       }});
    Suffer(broker, [&] { return questions > kGood + 5; });
  });
}

}  // namespace
}  // namespace dorn::site
