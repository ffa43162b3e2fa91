// Cuts what a host sends into texts and the raw bytes of files, and frames what goes to it.
//
//   STX text ETX                      one text; it holds none of 00, 02 and 03
//   STX {"Command":"PUTFILE",
//        "Length":n,...} ETX n bytes  n raw bytes behind it, unless it has a "Status"
#ifndef STATION_FRAMING_H_
#define STATION_FRAMING_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "station/Reader.h"

namespace dorn::station {

// `text` between the two framing bytes.
std::string Framed(std::string_view text);

// Kept by one connection, from its first byte on.
class Framing {
 public:
  static constexpr std::size_t kMaxText = std::size_t{16} * 1024 * 1024;
  static constexpr std::size_t kMaxPayload = std::size_t{64} * 1024 * 1024;

  // Gets what arrives, in its order. May not feed the framing that calls it.
  class Sink {
   public:
    virtual ~Sink() = default;
    // One text, without the framing bytes. The view holds during the call.
    virtual void OnText(std::string_view text) = 0;
    // A file's bytes as they come in, behind the text that announced them; the last piece, which
    // may be empty, comes with `last`.
    virtual void OnPayload(std::string_view piece, bool last) = 0;
    // A file was announced and its bytes do not come: it was a directory, or cannot be read.
    virtual void OnNoPayload() {}
    // A text longer than the limit, of which nothing is kept.
    virtual void OnTooLong() {}
  };

  // `reader` is how the host's texts are read: of some, what they say decides where they end.
  explicit Framing(Sink& sink, Reader reader = Reader()) : mReader(reader), mSink(sink) {}

  // Takes the next bytes of the stream. False when a file longer than the limit is announced: then
  // nothing more can be made of this connection.
  [[nodiscard]] bool Feed(std::string_view bytes);

  // For the sink's OnText() alone: what its text says, read once however often it is asked for, and
  // not at all when nobody asks. Holds during that call; the sink may change it, or take it away.
  ReadText& Read();

  // Between two texts, where a host may close without cutting anything.
  bool IsAtRest() const { return mState == State::kOutside; }
  // How many bytes lay outside of texts and files, where a host sends none.
  std::size_t Dropped() const { return mDropped; }
  // Bytes of an announced file are missing. They may never come: whoever knows the time gives up
  // after a while.
  bool IsAwaitingPayload() const { return mState == State::kBefore || mState == State::kPayload; }

 private:
  enum class State {
    kOutside,  // Between texts; all up to the next STX is dropped.
    kText,     // Behind an STX.
    kBefore,   // Behind the announcement of a file, where a text in its place is still possible.
    kPayload,  // In a file.
    kBroken    // A file was too long.
  };

  std::size_t TakeOutside(std::string_view bytes);
  std::size_t TakeText(std::string_view bytes);
  std::size_t TakeBefore(std::string_view bytes);
  std::size_t TakePayload(std::string_view bytes);
  void BeginText(std::string_view text);
  void EndText();
  std::optional<std::size_t> AnnouncedLength();
  bool IsHostText();
  void BeginPayload();

  const Reader mReader;
  Sink& mSink;
  State mState = State::kOutside;
  std::string_view mText;         // Empty but while one is looked at and told.
  std::optional<ReadText> mRead;  // What it says, once somebody has asked.
  std::string mHeld;  // A text so far; or what may be a text in place of a file, with its STX.
  bool mTooLong = false;
  std::size_t mDropped = 0;
  std::size_t mPayloadLeft = 0;
};

}  // namespace dorn::station

#endif  // STATION_FRAMING_H_
