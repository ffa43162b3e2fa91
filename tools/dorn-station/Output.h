// What a person or a script sees of what goes over a station's line.
#ifndef TOOLS_DORN_STATION_OUTPUT_H_
#define TOOLS_DORN_STATION_OUTPUT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "station/Framing.h"

// Prints nothing of it by itself.
class Output {
 public:
  virtual ~Output() = default;
  virtual void Sent(const std::string&) {}
  // `framing` tells what the text says.
  virtual void Received(const std::string&, dorn::station::Framing& /*framing*/) {}
  // The bytes of a file behind the text that announced it, and its end; no bytes at all: it was
  // announced and did not come.
  virtual void FilePiece(std::string_view) {}
  virtual void FileEnd(const std::string& /*name*/, std::optional<std::size_t> /*bytes*/) {}
  virtual void ClosedByServer() {}
  // What a line `say` is to print.
  virtual void Said(const std::string&) {}
  // What is wrong: a line on standard error.
  virtual void Trouble(const std::string& text);
};

// "-> " or "<- " and the text as it is; on a terminal control characters are written like \u001b.
class PlainOutput : public Output {
 public:
  explicit PlainOutput(bool isQuiet) : mIsQuiet(isQuiet) {}
  void Sent(const std::string& text) override { Print("->", text); }
  void Received(const std::string& text, dorn::station::Framing&) override { Print("<-", text); }
  void FileEnd(const std::string& name, std::optional<std::size_t> bytes) override;
  void ClosedByServer() override { Print("<-", "[closed by the server]"); }
  void Said(const std::string& text) override;

 private:
  void Print(const char* direction, const std::string& text) const;

  const bool mIsQuiet;
};

// A line of strict JSON each; "at" is in milliseconds since the program began, the rest is one of
//
//   "direction":"out"|"in","message":{...}         what a host wrote loosely is written strictly
//   "direction":"out"|"in","unreadable":"TEXT"
//   "direction":"in","file":"NAME","bytes":N|null  null: it was announced and did not come
//   "direction":"in","closed":true
//   "said":"TEXT"
//
// Passwords are left out. All control characters are escaped, as some terminals obey them.
class JsonOutput : public Output {
 public:
  JsonOutput();
  void Sent(const std::string& text) override {
    auto read = dorn::station::Reader().Read(text);
    PrintMessage("out", text, read);
  }
  void Received(const std::string& text, dorn::station::Framing& framing) override {
    PrintMessage("in", text, framing.Read());
  }
  void FileEnd(const std::string& name, std::optional<std::size_t> bytes) override;
  void ClosedByServer() override { Print(R"("direction":"in","closed":true)"); }
  void Said(const std::string& text) override;

 private:
  void PrintMessage(const char* direction, const std::string& text,
                    dorn::station::ReadText& read) const;
  void Print(const std::string& members) const;

  const std::int64_t mBegan;
};

// How the end of a file is told: "[file a.txt: 12 bytes]".
std::string FileNote(const std::string& name, std::optional<std::size_t> bytes);

#endif  // TOOLS_DORN_STATION_OUTPUT_H_
