// Cuts what a server sends into messages and file payloads.
//
//   STX text ETX                      one message; the text is JSON
//   STX {"Command":"PUTFILE",
//        "Length":n,...} ETX n bytes  a message that announces n raw bytes behind it
#ifndef TOOLS_DORN_STATION_FRAMING_H_
#define TOOLS_DORN_STATION_FRAMING_H_

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

// Puts a command between the two framing bytes.
std::string Framed(std::string_view text);

class Framing {
 public:
  // `onMessage` gets each message's text, without the framing bytes. `onPayload` gets the payload
  // of a file in pieces, as they arrive; the last piece comes with `last` set.
  using OnMessage = std::function<void(const std::string& text)>;
  using OnPayload = std::function<void(std::string_view piece, bool last)>;
  Framing(OnMessage onMessage, OnPayload onPayload);

  // Takes the next bytes of the stream; calls the callbacks for all that they complete.
  void Feed(std::string_view bytes);

  // True between two messages, where a server may close without cutting anything.
  bool AtRest() const { return mPayloadLeft == 0 && mText.empty() && !mInMessage; }

 private:
  size_t TakePayload(std::string_view bytes);
  size_t TakeText(std::string_view bytes);
  void EndMessage();

  OnMessage mOnMessage;
  OnPayload mOnPayload;
  std::string mText;
  bool mInMessage = false;
  size_t mPayloadLeft = 0;
};

#endif  // TOOLS_DORN_STATION_FRAMING_H_
