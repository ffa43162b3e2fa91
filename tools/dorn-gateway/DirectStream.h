// A page's stream without TLS, on which a whole frame can be sent past the WebSocket above it.
#ifndef TOOLS_DORN_GATEWAY_DIRECTSTREAM_H_
#define TOOLS_DORN_GATEWAY_DIRECTSTREAM_H_

#include <array>
#include <boost/asio/compose.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/core/saved_handler.hpp>
#include <boost/beast/websocket/teardown.hpp>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "tools/dorn-gateway/Streams.h"

namespace dorn::gateway {

// The head of an unmasked WebSocket frame that is a whole message.
class FrameHead {
 public:
  FrameHead(bool isText, std::size_t length);
  std::string_view Bytes() const { return {mBytes.data(), mSize}; }

 private:
  std::array<char, 10> mBytes{};
  std::size_t mSize = 2;
};

// Beast tells of a message that the kernel has taken at once only after one more look for events,
// and runs through much more code than most messages need. What Beast writes, answers to pings
// among it, and what is written past it come one after the other, each frame in one piece.
class DirectStream {
 public:
  using next_layer_type = TcpStream;
  using executor_type = TcpStream::executor_type;

  enum class Taken { kNothing, kPart, kAll };

  explicit DirectStream(TcpStream&& next) : mNext(std::move(next)) {}

  executor_type get_executor() noexcept { return mNext.get_executor(); }
  next_layer_type& next_layer() noexcept { return mNext; }
  const next_layer_type& next_layer() const noexcept { return mNext; }

  // Gives the kernel as much of the frame as it takes at once; nothing while another is being
  // written. After a part Finish() must follow, with the same payload.
  Taken Offer(const FrameHead& head, std::string_view payload);

  // Writes the rest of what was taken in part. The handler keeps payload and stream alive.
  template <class Handler>
  void Finish(std::string_view payload, Handler handler) {
    const auto held = std::make_shared<boost::beast::saved_handler>();
    mHeld = held.get();
    const std::array<boost::asio::const_buffer, 2> rest = Rest(payload);
    boost::asio::async_write(mNext, rest,
                             [this, held, handler = std::move(handler)](
                                 const boost::beast::error_code& error, std::size_t) mutable {
                               mHeld = nullptr;
                               held->maybe_invoke();
                               handler(error);
                             });
  }

  template <class Buffers, class Handler>
  auto async_read_some(const Buffers& buffers, Handler&& handler) {
    return mNext.async_read_some(buffers, std::forward<Handler>(handler));
  }

  template <class Buffers, class Handler>
  auto async_write_some(const Buffers& buffers, Handler&& handler) {
    return boost::asio::async_compose<Handler, void(boost::beast::error_code, std::size_t)>(
        [this, buffers, isBegun = false](auto& self, boost::beast::error_code error = {},
                                         std::size_t bytes = 0) mutable {
          if (isBegun) {
            mIsWriting = false;
            return self.complete(error, bytes);
          }
          if (mHeld != nullptr) return mHeld->emplace(std::move(self));
          isBegun = true;
          mIsWriting = true;
          const Buffers pieces = buffers;
          mNext.async_write_some(pieces, std::move(self));
        },
        handler, mNext);
  }

 private:
  std::array<boost::asio::const_buffer, 2> Rest(std::string_view payload) const;

  TcpStream mNext;
  bool mIsWriting = false;  // By Beast.
  FrameHead mHead{true, 0};
  std::size_t mSent = 0;  // Of the frame that was taken in part.
  // What Beast would write next, while the rest of a frame is being written. It belongs to that
  // writing, so that neither keeps the other alive when both are given up.
  boost::beast::saved_handler* mHeld = nullptr;
};

// As Beast asks of streams beneath a WebSocket.
template <class Handler>
void async_teardown(boost::beast::role_type role, DirectStream& stream, Handler&& handler) {
  using boost::beast::websocket::async_teardown;
  async_teardown(role, stream.next_layer(), std::forward<Handler>(handler));
}

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_DIRECTSTREAM_H_
