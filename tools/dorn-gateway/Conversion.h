// What a host sends, as the frames that pages get: strict JSON, one object each.
//
//   {"t":"cmd","c":{...}}                        one command; a text with "Commands" gives several
//   {"t":"file","head":{...},"live":b,"tree":{}} a PUTFILE whose file is a dialog
//   {"t":"file","head":{...},"live":b,"bytes":n} any other file; one binary frame of n bytes
//   follows
//
// A member of a host without a value is left out, as the reader has it; but "Data" without one
// tells that a grid's table has changed: it becomes "Data":null.
#ifndef TOOLS_DORN_GATEWAY_CONVERSION_H_
#define TOOLS_DORN_GATEWAY_CONVERSION_H_

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Json.h"
#include "station/Reader.h"
#include "tools/dorn-gateway/TextCache.h"

namespace dorn::gateway {

// The payload of one WebSocket message, shared by all pages that get the same.
using Frame = std::shared_ptr<const std::string>;

struct Converted {
  station::Reading mReading = station::Reading::kUnreadable;
  std::vector<Frame> mFrames;
  std::vector<std::string> mFences;    // The fences that are answered.
  bool mAsksAlive = false;             // A KEEPALIVE, which the gateway answers.
  bool mOpens = false;                 // An OPEN: the log-in was good.
  bool mRefusesLogIn = false;          // ERROR Authentication.
  std::optional<station::Json> mFile;  // The head of a file that follows; its frames come with it.
};

struct ConvertedFile {
  Frame mHead;
  Frame mBytes;             // Null when the head has it all.
  bool mIsReadable = true;  // False for a dialog's file that cannot be read.
};

class Conversion {
 public:
  explicit Conversion(station::Reader::Strings strings) : mReader(strings) {}

  std::shared_ptr<const Converted> Text(std::string_view text);
  std::shared_ptr<const ConvertedFile> File(const station::Json& head, std::string bytes);
  // For a file that was announced and does not come.
  static Frame Missing(const station::Json& head);

  // How many texts and trees had to be read; the rest had been before.
  std::size_t Conversions() const { return mConversions; }

 private:
  Converted Read(std::string_view text) const;
  ConvertedFile ReadTree(const station::Json& head, std::string bytes) const;

  const station::Reader mReader;
  TextCache<Converted> mTexts{std::size_t{8} * 1024 * 1024};
  TextCache<ConvertedFile> mTrees{std::size_t{32} * 1024 * 1024};
  std::size_t mConversions = 0;
};

Frame MakeFrame(std::string text);
// {"t":"hello",...}: the first frame of all.
Frame HelloFrame(const std::vector<std::string>& menu, bool hasLocalFiles);
Frame UpFrame();
Frame DownFrame(std::string_view why);
// `n` numbers the texts of one WebSocket, from 1.
Frame RefusedFrame(std::string_view why, std::size_t n);
Frame BadFrame(std::size_t count);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_CONVERSION_H_
