#include "tests/scene/PlayTest.h"

#include <algorithm>

#include "tests/support/Deadline.h"
#include "tools/dorn-station/scene/Parser.h"

using dorn::scene::Result;
using testing::HasSubstr;

PlayTest::PlayTest() { mOptions.mPatience = TestPatience(); }

Result PlayTest::Play(const std::string& lines, const std::string& kind) {
  return PlayAlone("a: login user right\n" + lines + "\n", kind);
}

Result PlayTest::PlayAlone(const std::string& lines, const std::string& kind) {
  const auto read = dorn::scene::ParseScene(lines, DORN_SCENE_FILES "/test.scene", true);
  for (const auto& mistake : read.mMistakes) {
    ADD_FAILURE() << "line " << mistake.mLine << ": " << mistake.mWhat;
  }
  mOptions.mStart = {DORN_SCENE_HOST};
  if (!kind.empty()) mOptions.mStart.push_back(kind);
  return dorn::scene::Player(mOptions).Play(read.mScene);
}

void PlayTest::Holds(const std::string& lines) {
  const Result result = Play(lines);
  if (!result.mFailure) return;
  ADD_FAILURE() << "line " << result.mLine << ": " << result.mSource << "\n  expected "
                << result.mFailure->mExpected << "\n  got " << result.mFailure->mGot << "\n"
                << result.mMessages << result.mHostOutput;
}

void PlayTest::Fails(const std::string& lines, const std::string& expected,
                     const std::string& got) {
  mOptions.mPatience = 1;  // What is expected names the limits.
  const Result result = Play(lines);
  mOptions.mPatience = TestPatience();
  ASSERT_TRUE(result.mFailure) << lines;
  // Behind the log-in.
  EXPECT_EQ(result.mLine,
            static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n')) + 2)
      << lines << ": " << result.mFailure->mGot;
  EXPECT_THAT(result.mFailure->mExpected, HasSubstr(expected)) << lines;
  EXPECT_THAT(result.mFailure->mGot, HasSubstr(got)) << lines;
}

void PlayTest::FailsEach(std::initializer_list<Failing> scenes) {
  for (const Failing& each : scenes) Fails(each.mLines, each.mExpected, each.mGot);
}
