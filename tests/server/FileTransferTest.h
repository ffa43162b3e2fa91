// The fixture of the tests of GETFILE: files of known dates and what stations are told about them.
#ifndef TESTS_SERVER_FILETRANSFERTEST_H_
#define TESTS_SERVER_FILETRANSFERTEST_H_

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "tests/server/ServerTest.h"

constexpr time_t kFileTime = 1577934245;  // 2020-01-02 03:04:05 UTC

// The time zone, restored at the end.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) { Set(zone); }
  ~TimeZone() { Set("UTC"); }
  static void Set(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

class FileTransferTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    unsetenv("DATEMSK");
    TimeZone::Set("UTC");
    mLink = LoggedIn("S1");
  }

  static std::string Path(const std::string& name) {
    return std::string(app.GetModuleDirectory()) + "/resources/" + name;
  }

  static void SetFileTime(const std::string& name, time_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, Path(name).c_str(), times, 0));
  }

  // Writes a file dated kFileTime; the result is its name as a station gives it.
  static std::string File(const std::string& file, const std::string& text) {
    std::string name = WriteResource(file, text);
    SetFileTime(name, kFileTime);
    return name;
  }

  void Get(const std::string& name, const std::string& more = "") {
    Tell(mLink, R"({"Command":"GETFILE","File":")" + name + "\"" + more + "}");
  }

  static std::string Error(const std::string& name, const std::string& info) {
    return R"({"Command":"PUTFILE","File":")" + name + R"(","Info":")" + info +
           R"(","Status":"ERROR"})";
  }

  static std::string Follows(const std::string& name, size_t length) {
    return R"({"Command":"PUTFILE","Date":"2020-01-02 03:04:05","File":")" + name +
           R"(","Length":)" + std::to_string(length) + "}";
  }

  // All that the station has received once `length` bytes, or more, are there.
  std::string Received(size_t length) {
    EXPECT_TRUE(RunUntil([&] { return mLink.station.Bytes().size() >= length; }))
        << mLink.station.Bytes().size();
    return mLink.station.Take(mLink.station.Bytes().size());
  }

  // What comes behind everything that was accepted for sending before.
  void SendMarker() { Find(mLink)->SendData("marker"); }

  Link mLink;
};

inline std::string Frame(const std::string& text) { return "\x02" + text + "\x03"; }

inline std::string Pattern(size_t length) {
  std::string bytes(length, '\0');
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

#endif  // TESTS_SERVER_FILETRANSFERTEST_H_
