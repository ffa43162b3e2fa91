// Plays scenes against the test host.
#ifndef TESTS_SCENE_PLAYTEST_H_
#define TESTS_SCENE_PLAYTEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "tools/dorn-station/scene/Player.h"

class PlayTest : public testing::Test {
 protected:
  PlayTest();
  // `lines` behind a log-in of `a`, against a host of this kind.
  dorn::scene::Result Play(const std::string& lines, const std::string& kind = "");
  // The same without the log-in.
  dorn::scene::Result PlayAlone(const std::string& lines, const std::string& kind = "");
  // The whole scene holds.
  void Holds(const std::string& lines);
  // The last line fails so.
  void Fails(const std::string& lines, const std::string& expected, const std::string& got);

  struct Failing {
    const char* mLines;
    const char* mExpected;
    const char* mGot;
  };
  // Each of them does.
  void FailsEach(std::initializer_list<Failing> scenes);

  dorn::scene::PlayOptions mOptions;
};

#endif  // TESTS_SCENE_PLAYTEST_H_
