#include "tools/dorn-gateway/DirectStream.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>

namespace dorn::gateway {

namespace {

constexpr char kWholeText = '\x81';
constexpr char kWholeBinary = '\x82';
constexpr std::size_t kMaxOneByteLength = 125;
constexpr std::size_t kMaxTwoByteLength = 65535;
constexpr char kTwoByteLength = 126;
constexpr char kEightByteLength = 127;

iovec Piece(std::string_view bytes) { return {const_cast<char*>(bytes.data()), bytes.size()}; }

}  // namespace

FrameHead::FrameHead(bool isText, std::size_t length) {
  mBytes[0] = isText ? kWholeText : kWholeBinary;
  if (length <= kMaxOneByteLength) {
    mBytes[1] = static_cast<char>(length);
    return;
  }
  const std::size_t lengthBytes = length <= kMaxTwoByteLength ? 2 : 8;
  mBytes[1] = lengthBytes == 2 ? kTwoByteLength : kEightByteLength;
  mSize += lengthBytes;
  for (std::size_t i = mSize; i > 2; length >>= 8) mBytes[--i] = static_cast<char>(length & 0xFF);
}

// Errors show when Beast writes or reads.
DirectStream::Taken DirectStream::Offer(const FrameHead& head, std::string_view payload) {
  if (mIsWriting || mHeld != nullptr) return Taken::kNothing;
  std::array<iovec, 2> pieces{Piece(head.Bytes()), Piece(payload)};
  msghdr message{};
  message.msg_iov = pieces.data();
  message.msg_iovlen = pieces.size();
  const ssize_t sent =
      sendmsg(mNext.socket().native_handle(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent <= 0) return Taken::kNothing;
  mSent = static_cast<std::size_t>(sent);
  if (mSent == head.Bytes().size() + payload.size()) return Taken::kAll;
  mHead = head;
  return Taken::kPart;
}

std::array<boost::asio::const_buffer, 2> DirectStream::Rest(std::string_view payload) const {
  std::string_view head = mHead.Bytes();
  const std::size_t ofHead = std::min(mSent, head.size());
  head.remove_prefix(ofHead);
  payload.remove_prefix(mSent - ofHead);
  return {boost::asio::const_buffer(head.data(), head.size()),
          boost::asio::const_buffer(payload.data(), payload.size())};
}

}  // namespace dorn::gateway
