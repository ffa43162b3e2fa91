#include "tools/dorn-gateway/HttpSession.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/write.hpp>
#include <optional>
#include <utility>

#include "tools/dorn-gateway/PageSession.h"
#include "tools/dorn-gateway/Routes.h"

namespace dorn::gateway {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

constexpr std::size_t kTimedPiece = 65536;
constexpr std::size_t kDroppedAtOnce = 16384;
constexpr std::size_t kMostDropped = 1048576;
constexpr Ms kLongestFarewell{2000};

template <class Stream>
class HttpSession : public std::enable_shared_from_this<HttpSession<Stream>> {
 public:
  HttpSession(Shared& shared, Stream&& stream, const Address& peer, std::shared_ptr<void> slot)
      : mShared(shared), mStream(std::move(stream)), mPeer(peer), mSlot(std::move(slot)) {}

  Stream& GetStream() { return mStream; }
  void Read(Ms limit);

 private:
  void OnRead(const beast::error_code& error);
  void OnRequest();
  void Write(Response response);
  void WriteSome();
  void OnWrittenSome(const beast::error_code& error, std::size_t bytes);
  void OnWritten(const beast::error_code& error);
  void TakeLeave();
  void DropSome();
  using std::enable_shared_from_this<HttpSession<Stream>>::shared_from_this;

  Shared& mShared;
  Stream mStream;
  const Address mPeer;
  std::shared_ptr<void> mSlot;
  beast::flat_buffer mBuffer;
  std::optional<http::request_parser<http::string_body>> mParser;
  std::optional<Response> mResponse;
  std::optional<http::response_serializer<SharedBody>> mSerializer;
  std::size_t mTaken = 0;    // Bytes that the browser took since its time began.
  std::size_t mDropped = 0;  // Bytes that came behind the last answer.
};

template <class Stream>
void HttpSession<Stream>::Read(Ms limit) {
  mParser.emplace();
  mParser->header_limit(static_cast<std::uint32_t>(mShared.mOptions.mLimits.mRequestHeader));
  mParser->body_limit(0);
  beast::get_lowest_layer(mStream).expires_after(limit);
  // No more than that: a body in chunks may have no end.
  http::async_read_header(mStream, mBuffer, *mParser,
                          [self = shared_from_this()](const beast::error_code& error, std::size_t) {
                            self->OnRead(error);
                          });
}

// What cannot be read as a request is answered; a connection that ends is only closed.
template <class Stream>
void HttpSession<Stream>::OnRead(const beast::error_code& error) {
  if (!error) return OnRequest();
  const bool isMisread =
      error.category() == http::make_error_code(http::error::bad_method).category() &&
      error != http::error::end_of_stream && error != http::error::partial_message;
  if (!isMisread) return beast::get_lowest_layer(mStream).close();
  if (error == http::error::header_limit) {
    return Write(
        AnswerError(http::status::request_header_fields_too_large, "the header is too long"));
  }
  if (error == http::error::body_limit) {
    return Write(AnswerError(http::status::payload_too_large, "requests have no body"));
  }
  Write(AnswerError(http::status::bad_request, error.message()));
}

template <class Stream>
void HttpSession<Stream>::OnRequest() {
  if (auto refused = RefuseRequest(mParser->get()); refused) return Write(std::move(*refused));
  if (!AsksForWebSocket(mParser->get())) return Write(Answer(mShared, mParser->get(), mPeer));
  const Address browser = BrowserOf(mShared, mParser->get(), mPeer);
  if (auto refused = RefuseWebSocket(mShared, mParser->get(), browser); refused) {
    return Write(std::move(*refused));
  }
  // Frames before the answer would be lost, and no browser sends any.
  if (mBuffer.size() > 0) {
    return Write(AnswerError(http::status::bad_request, "wait for the WebSocket to be opened"));
  }
  OpenPage(mShared, std::move(mStream), mParser->release(), browser, std::move(mSlot));
}

template <class Stream>
void HttpSession<Stream>::Write(Response response) {
  const bool isHead = mParser->get().method() == http::verb::head;
  const auto length = SharedBody::size(response.body());
  mResponse.emplace(std::move(response));
  if (isHead) {
    mResponse->body().reset();
    mResponse->content_length(length);
  }
  mSerializer.emplace(*mResponse);
  mTaken = 0;
  beast::get_lowest_layer(mStream).expires_after(mShared.mOptions.mTimes.mIdle);
  WriteSome();
}

template <class Stream>
void HttpSession<Stream>::WriteSome() {
  http::async_write_some(
      mStream, *mSerializer,
      [self = shared_from_this()](const beast::error_code& error, std::size_t bytes) {
        self->OnWrittenSome(error, bytes);
      });
}

// A slow browser gets a long file all the same: the time begins anew with each piece.
template <class Stream>
void HttpSession<Stream>::OnWrittenSome(const beast::error_code& error, std::size_t bytes) {
  if (error || mSerializer->is_done()) return OnWritten(error);
  mTaken += bytes;
  if (mTaken >= kTimedPiece) {
    mTaken = 0;
    beast::get_lowest_layer(mStream).expires_after(mShared.mOptions.mTimes.mIdle);
  }
  WriteSome();
}

template <class Stream>
void HttpSession<Stream>::OnWritten(const beast::error_code& error) {
  const bool goesOn = mResponse->keep_alive() && !mShared.mIsStopping;
  mSerializer.reset();
  mResponse.reset();
  if (error) return beast::get_lowest_layer(mStream).close();
  if (goesOn) return Read(mShared.mOptions.mTimes.mIdle);
  TakeLeave();
}

// A connection that is closed over bytes nobody has read is reset, and the reset may overtake the
// answer: so what the browser still sends is read until it has seen the end (RFC 9112, 9.6).
template <class Stream>
void HttpSession<Stream>::TakeLeave() {
  auto& plain = beast::get_lowest_layer(mStream);
  beast::error_code error;
  plain.socket().shutdown(asio::socket_base::shutdown_send, error);
  if (error || mShared.mIsStopping) return plain.close();
  plain.expires_after(kLongestFarewell);
  mBuffer.clear();
  DropSome();
}

template <class Stream>
void HttpSession<Stream>::DropSome() {
  auto& plain = beast::get_lowest_layer(mStream);
  plain.async_read_some(
      mBuffer.prepare(kDroppedAtOnce),
      [self = shared_from_this()](const beast::error_code& error, std::size_t bytes) {
        self->mDropped += bytes;
        if (!error && self->mDropped < kMostDropped) return self->DropSome();
        beast::get_lowest_layer(self->mStream).close();
      });
}

}  // namespace

void ServeHttp(Shared& shared, TcpSocket&& socket, const std::shared_ptr<asio::ssl::context>& tls,
               std::shared_ptr<void> slot) {
  beast::error_code error;
  const auto endpoint = socket.remote_endpoint(error);
  if (error) return;
  socket.set_option(asio::ip::tcp::no_delay(true), error);
  const Address peer = Plain(endpoint.address());
  const Ms limit = shared.mOptions.mTimes.mRequest;
  TcpStream stream(std::move(socket));
  if (!tls) {
    std::make_shared<HttpSession<TcpStream>>(shared, std::move(stream), peer, std::move(slot))
        ->Read(limit);
    return;
  }
  const auto session = std::make_shared<HttpSession<TlsStream>>(
      shared, TlsStream(std::move(stream), *tls), peer, std::move(slot));
  beast::get_lowest_layer(session->GetStream()).expires_after(limit);
  // The context of this connection may be replaced meanwhile.
  session->GetStream().async_handshake(asio::ssl::stream_base::server,
                                       [session, tls, limit](const beast::error_code& failed) {
                                         if (!failed) session->Read(limit);
                                       });
}

}  // namespace dorn::gateway
