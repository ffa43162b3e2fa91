#include "tools/dorn-station/scene/Report.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "station/Utf8.h"

namespace dorn::scene {

namespace {

using dorn::station::PrintableLines;

std::string Indented(const std::string& text) {
  std::string lines;
  bool isStart = true;
  for (const char c : text) {
    if (isStart) lines += "    ";
    lines += c;
    isStart = c == '\n';
  }
  if (!isStart) lines += '\n';
  return lines;
}

std::string Place(const Played& played) {
  const std::size_t line = played.mResult.mLine;
  return played.mFile + (line == 0 ? "" : ":" + std::to_string(line));
}

// XML knows no other control characters, not even written as numbers.
std::string Xml(std::string_view text) {
  std::string written;
  for (const char c : dorn::station::ValidUtf8(text)) {
    switch (c) {
      case '&':
        written += "&amp;";
        break;
      case '<':
        written += "&lt;";
        break;
      case '>':
        written += "&gt;";
        break;
      case '"':
        written += "&quot;";
        break;
      case '\n':
        written += "&#10;";
        break;
      case '\t':
        written += "&#9;";
        break;
      default:
        written += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    }
  }
  return written;
}

std::string Seconds(Ms ms) {
  char text[32];
  static_cast<void>(std::snprintf(text, sizeof text, "%lld.%03d", static_cast<long long>(ms / 1000),
                                  static_cast<int>(ms % 1000)));
  return text;
}

std::string CaseText(const Played& played) {
  std::string text = "    <testcase classname=\"scene\" name=\"" + Xml(played.mFile) +
                     "\" time=\"" + Seconds(played.mResult.mTook) + "\"";
  if (!played.mMistakes.empty()) {
    return text + ">\n      <error message=\"the scene cannot be read\">" +
           Xml(MistakesText(played)) + "</error>\n    </testcase>\n";
  }
  if (!played.mResult.mFailure) return text + "/>\n";
  return text + ">\n      <failure message=\"" +
         Xml(Place(played) + ": expected " + played.mResult.mFailure->mExpected + ", got " +
             played.mResult.mFailure->mGot) +
         "\">" + Xml(FailureText(played)) + "</failure>\n    </testcase>\n";
}

}  // namespace

std::string MistakesText(const Played& played) {
  std::string text;
  for (const Mistake& mistake : played.mMistakes) {
    text += played.mFile + ":" + std::to_string(mistake.mLine) + ": " + mistake.mWhat + "\n";
  }
  return text;
}

std::string FailureText(const Played& played) {
  const Result& result = played.mResult;
  std::string text = Place(played) + ": failed\n";
  if (!result.mSource.empty()) text += "    " + result.mSource + "\n";
  text += "  expected  " + result.mFailure->mExpected + "\n";
  text += "  got       " + PrintableLines(result.mFailure->mGot) + "\n";
  if (!result.mWho.empty()) {
    text += "  the last messages of " + result.mWho + ":\n" + result.mMessages;
  }
  if (!result.mHostOutput.empty()) {
    text += "  what the host printed last:\n" + Indented(PrintableLines(result.mHostOutput));
  }
  return text;
}

std::string JUnitText(const std::vector<Played>& all) {
  std::string cases;
  std::size_t failures = 0;
  std::size_t errors = 0;
  Ms took = 0;
  for (const Played& each : all) {
    cases += CaseText(each);
    took += each.mResult.mTook;
    if (!each.mMistakes.empty()) {
      ++errors;
    } else if (each.mResult.mFailure) {
      ++failures;
    }
  }
  const std::string counts = " tests=\"" + std::to_string(all.size()) + "\" failures=\"" +
                             std::to_string(failures) + "\" errors=\"" + std::to_string(errors) +
                             "\" time=\"" + Seconds(took) + "\"";
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts +
         ">\n  <testsuite name=\"dorn-station\"" + counts + ">\n" + cases +
         "  </testsuite>\n</testsuites>\n";
}

}  // namespace dorn::scene
