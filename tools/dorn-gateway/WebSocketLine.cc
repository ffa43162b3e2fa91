#include "tools/dorn-gateway/WebSocketLine.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <deque>
#include <type_traits>
#include <utility>

#include "tools/dorn-gateway/DirectStream.h"

namespace dorn::gateway {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

namespace {

// Longer messages are sent in pieces of this size, between which pings find room.
constexpr std::size_t kPiece = 65536;
constexpr std::size_t kLeastRead = 1536;
// A buffer that grew beyond this for one message is given back.
constexpr std::size_t kKeptBuffer = 16384;
constexpr int kUnansweredPings = 2;

template <class Stream>
class Line final : public WebSocketLine, public std::enable_shared_from_this<Line<Stream>> {
 public:
  Line(Shared& shared, Stream&& stream, std::shared_ptr<void> slot, Owner& owner)
      : mShared(shared), mSlot(std::move(slot)), mOwner(&owner), mSocket(std::move(stream)) {
    mShared.mLines.insert(this);
  }
  ~Line() override { mShared.mLines.erase(this); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  void Accept(const Request& request);

  void Send(const Frame& frame, Kind kind) override;
  void SetServed(bool isServed) override;
  void Close(CloseCode code, std::string_view why, bool drains) override;
  void Abort() override;
  std::size_t Waiting() const override { return mQueuedTexts + mQueuedFiles; }
  void GiveWay() override;
  void Tick(Ms now) override;

 private:
  enum class State {
    kHandshake,
    kOpen,
    kDraining,  // Closes when the queue is empty.
    kClosing,   // The close is on its way.
    kGone
  };

  static constexpr bool kIsDirect = std::is_same_v<Stream, DirectStream>;
  using Taken = DirectStream::Taken;

  struct Item {
    Frame mFrame;
    Kind mKind;

    std::size_t Cost() const { return mFrame->size() + WaitingFrames::kOverhead; }
  };

  void OnAccepted(const beast::error_code& error);
  void Read();
  void OnRead(const beast::error_code& error, std::size_t bytes);
  void TakeMessage();
  Taken Offer(const Item& item);
  void WriteRest();
  void Write();
  void OnWritten(const beast::error_code& error);
  void CountWritten(const Item& item);
  void StartClose();
  void Ping();
  void Gone();
  void LeaveOwner();
  void LeavePage();
  void Drop(bool keepsFirst);
  std::size_t& QueuedBytes(Kind kind) { return kind == Kind::kText ? mQueuedTexts : mQueuedFiles; }
  bool HasRoomFor(const Item& item);
  bool HasRoomAmongAll(const Item& item);
  void Forget(const Item& item);
  using std::enable_shared_from_this<Line<Stream>>::shared_from_this;

  Shared& mShared;
  const std::shared_ptr<void> mSlot;
  Owner* mOwner;
  websocket::stream<Stream> mSocket;
  beast::flat_buffer mBuffer;
  State mState = State::kHandshake;
  std::deque<Item> mQueue;  // The first one is being written, if mIsWriting.
  bool mIsWriting = false;
  bool mIsServed = false;
  std::size_t mTextsBefore = 0;  // That waited when it was last served.
  std::size_t mQueuedTexts = 0;
  std::size_t mQueuedFiles = 0;
  websocket::close_reason mReason;
  Ms mPingAt{0};
  Ms mCloseBy{0};
  int mUnanswered = 0;  // Pings since the page was last heard.
  bool mIsPinging = false;
  bool mIsLeft = false;                         // The page has sent its close.
  int mControls = 0;                            // Control frames since the last tick.
  std::unique_ptr<asio::steady_timer> mCutOff;  // Of a page that has closed.
};

template <class Stream>
void Line<Stream>::Accept(const Request& request) {
  const Times& times = mShared.mOptions.mTimes;
  beast::get_lowest_layer(mSocket).expires_never();
  websocket::stream_base::timeout timeout{};
  timeout.handshake_timeout = times.mRequest;
  timeout.idle_timeout = websocket::stream_base::none();
  timeout.keep_alive_pings = false;
  mSocket.set_option(timeout);
  const bool speaks = OffersSubprotocol(request);
  mSocket.set_option(
      websocket::stream_base::decorator([speaks](websocket::response_type& response) {
        response.set(beast::http::field::server, "dorn-gateway");
        if (!speaks) return;
        response.set(beast::http::field::sec_websocket_protocol,
                     beast::string_view(kSubprotocol.data(), kSubprotocol.size()));
      }));
  mSocket.read_message_max(mShared.mOptions.mLimits.mPageTextUnserved);
  mSocket.auto_fragment(true);
  mSocket.write_buffer_bytes(kPiece);
  mSocket.control_callback([this](websocket::frame_type type, beast::string_view) {
    mUnanswered = 0;
    ++mControls;
    if (type != websocket::frame_type::close) return;
    mIsLeft = true;
    asio::post(mShared.mIo, [self = shared_from_this()] { self->LeavePage(); });
  });
  mSocket.async_accept(request, [self = shared_from_this()](const beast::error_code& error) {
    self->OnAccepted(error);
  });
}

template <class Stream>
void Line<Stream>::OnAccepted(const beast::error_code& error) {
  if (mState != State::kHandshake) return;
  if (error) return Gone();
  mState = State::kOpen;
  mPingAt = mShared.Now() + mShared.mOptions.mTimes.mPing;
  mOwner->OnPageOpen();
  if (mState != State::kGone) Read();
}

// Piece by piece: Beast's reading of whole messages trips over a close that begins between two
// fragments of one.
template <class Stream>
void Line<Stream>::Read() {
  const std::size_t room = std::clamp(mBuffer.size(), kLeastRead, kPiece);
  mSocket.async_read_some(
      mBuffer.prepare(room),
      [self = shared_from_this()](const beast::error_code& error, std::size_t bytes) {
        self->OnRead(error, bytes);
      });
}

template <class Stream>
void Line<Stream>::OnRead(const beast::error_code& error, std::size_t bytes) {
  if (mState == State::kGone) return;
  if (error) return Gone();
  mUnanswered = 0;
  mBuffer.commit(bytes);
  if (mState == State::kOpen && mSocket.is_message_done()) TakeMessage();
  // What comes after the close has begun is read by the close.
  if (mState == State::kGone || mState == State::kClosing) return;
  if (mState == State::kDraining) mBuffer.clear();
  Read();
}

template <class Stream>
void Line<Stream>::TakeMessage() {
  ++mShared.mMetrics.mMessagesIn;
  mShared.mMetrics.mBytesIn += mBuffer.size();
  if (mSocket.got_text()) {
    const auto bytes = mBuffer.cdata();
    mOwner->OnPageText({static_cast<const char*>(bytes.data()), bytes.size()});
  } else {
    Close(CloseCode::kUnsupported, "pages send texts", false);
  }
  mBuffer.clear();
  if (mBuffer.capacity() > kKeptBuffer) mBuffer.shrink_to_fit();
}

template <class Stream>
void Line<Stream>::SetServed(bool isServed) {
  if (mIsServed && !isServed) mTextsBefore = mQueuedTexts;
  mIsServed = isServed;
  const Limits& limits = mShared.mOptions.mLimits;
  mSocket.read_message_max(isServed ? limits.mPageText : limits.mPageTextUnserved);
}

// Where nothing waits a message is taken, however long it is: a page that reads gets all.
template <class Stream>
bool Line<Stream>::HasRoomFor(const Item& item) {
  const Limits& limits = mShared.mOptions.mLimits;
  const std::size_t texts = mIsServed ? limits.mQueuedTexts : limits.mQueuedUnserved + mTextsBefore;
  const std::size_t most = item.mKind == Kind::kText ? texts : limits.mQueuedFiles;
  const std::size_t queued = QueuedBytes(item.mKind);
  if (queued > 0 && queued + item.Cost() > most) return false;
  return HasRoomAmongAll(item);
}

// Pages that do not read would else take the room of those that do: who holds most goes first.
template <class Stream>
bool Line<Stream>::HasRoomAmongAll(const Item& item) {
  while (mShared.mWaiting.BytesWith(item.mFrame) > mShared.mOptions.mLimits.mQueuedOfAll) {
    const auto most =
        std::max_element(mShared.mLines.begin(), mShared.mLines.end(),
                         [](const auto* a, const auto* b) { return a->Waiting() < b->Waiting(); });
    if ((*most)->Waiting() <= Waiting()) return mQueue.empty();
    (*most)->GiveWay();
  }
  return true;
}

template <class Stream>
void Line<Stream>::Send(const Frame& frame, Kind kind) {
  if (mState != State::kOpen) return;
  Item item{frame, kind};
  if (!HasRoomFor(item)) {
    GiveWay();
    return;
  }
  const Taken taken = mIsWriting ? Taken::kNothing : Offer(item);
  if (taken == Taken::kAll) return CountWritten(item);
  QueuedBytes(kind) += item.Cost();
  mShared.mWaiting.Add(item.mFrame);
  mShared.mMetrics.mQueuedBytes = mShared.mWaiting.Bytes();
  mQueue.push_back(std::move(item));
  if (taken == Taken::kPart) return WriteRest();
  if (!mIsWriting) Write();
}

// Most messages find that nothing waits for the page, and go at once and whole.
template <class Stream>
DirectStream::Taken Line<Stream>::Offer(const Item& item) {
  if constexpr (kIsDirect) {
    const std::string& payload = *item.mFrame;
    if (mIsLeft || payload.size() > kPiece) return Taken::kNothing;
    const FrameHead head(item.mKind != Kind::kBinary, payload.size());
    return mSocket.next_layer().Offer(head, payload);
  } else {
    return Taken::kNothing;
  }
}

template <class Stream>
void Line<Stream>::WriteRest() {
  if constexpr (kIsDirect) {
    const Frame& frame = mQueue.front().mFrame;
    mIsWriting = true;
    mSocket.next_layer().Finish(*frame,
                                [self = shared_from_this(), frame](const beast::error_code& error) {
                                  self->OnWritten(error);
                                });
  }
}

template <class Stream>
void Line<Stream>::Write() {
  const Item& item = mQueue.front();
  mIsWriting = true;
  mSocket.text(item.mKind != Kind::kBinary);
  mSocket.async_write(asio::buffer(*item.mFrame),
                      [self = shared_from_this(), frame = item.mFrame](
                          const beast::error_code& error, std::size_t) { self->OnWritten(error); });
}

template <class Stream>
void Line<Stream>::OnWritten(const beast::error_code& error) {
  mIsWriting = false;
  if (mState == State::kGone) return;
  if (error) return Gone();
  CountWritten(mQueue.front());
  Forget(mQueue.front());
  mQueue.pop_front();
  if (!mQueue.empty()) return Write();
  if (mState == State::kDraining) StartClose();
}

template <class Stream>
void Line<Stream>::CountWritten(const Item& item) {
  ++mShared.mMetrics.mMessagesOut;
  mShared.mMetrics.mBytesOut += item.mFrame->size();
}

template <class Stream>
void Line<Stream>::Forget(const Item& item) {
  QueuedBytes(item.mKind) -= item.Cost();
  mShared.mWaiting.Remove(item.mFrame);
  mShared.mMetrics.mQueuedBytes = mShared.mWaiting.Bytes();
}

template <class Stream>
void Line<Stream>::Drop(bool keepsFirst) {
  while (mQueue.size() > (keepsFirst ? 1 : 0)) {
    Forget(mQueue.back());
    mQueue.pop_back();
  }
}

template <class Stream>
void Line<Stream>::Close(CloseCode code, std::string_view why, bool drains) {
  if (mState == State::kHandshake) return Abort();
  if (mState != State::kOpen) return;
  mState = State::kDraining;
  mCloseBy = mShared.Now() + mShared.mOptions.mTimes.mClose;
  mReason = websocket::close_reason(static_cast<websocket::close_code>(code),
                                    beast::string_view(why.data(), why.size()));
  if (!drains) Drop(mIsWriting);
  if (!mIsWriting) StartClose();
}

template <class Stream>
void Line<Stream>::StartClose() {
  mState = State::kClosing;
  mSocket.async_close(mReason, [self = shared_from_this()](const beast::error_code&) {
    if (self->mState != State::kGone) self->Gone();
  });
}

template <class Stream>
void Line<Stream>::GiveWay() {
  const auto self = shared_from_this();
  if (mState != State::kOpen) return Gone();
  ++mShared.mMetrics.mSlowPages;
  Close(CloseCode::kTryAgainLater, "too much waits for this page", false);
}

// From outside of the line's own operations: the owner hears of it later.
template <class Stream>
void Line<Stream>::Abort() {
  beast::get_lowest_layer(mSocket).close();
  asio::post(mShared.mIo, [self = shared_from_this()] { self->Gone(); });
}

template <class Stream>
void Line<Stream>::Gone() {
  if (mState == State::kGone) return;
  beast::get_lowest_layer(mSocket).close();
  LeaveOwner();
}

// The page closes: the rest of the handshake goes on by itself. Beast's time limit for that begins
// only when a write that is under way has ended, and a page that does not read never lets it end.
template <class Stream>
void Line<Stream>::LeavePage() {
  if (mState == State::kGone) return;
  mCutOff = std::make_unique<asio::steady_timer>(mShared.mIo, mShared.mOptions.mTimes.mClose);
  mCutOff->async_wait([line = this->weak_from_this()](const beast::error_code& error) {
    const auto self = line.lock();
    if (!error && self) beast::get_lowest_layer(self->mSocket).close();
  });
  LeaveOwner();
}

template <class Stream>
void Line<Stream>::LeaveOwner() {
  if (mState == State::kGone) return;
  mState = State::kGone;
  Drop(mIsWriting);
  if (!mQueue.empty()) Forget(mQueue.front());
  std::exchange(mOwner, nullptr)->OnPageGone();
}

template <class Stream>
void Line<Stream>::Ping() {
  ++mUnanswered;
  if (mIsPinging) return;
  mIsPinging = true;
  mSocket.async_ping(
      {}, [self = shared_from_this()](const beast::error_code&) { self->mIsPinging = false; });
}

template <class Stream>
void Line<Stream>::Tick(Ms now) {
  if (mState == State::kDraining || mState == State::kClosing) {
    if (now >= mCloseBy) Abort();
    return;
  }
  if (mState != State::kOpen) return;
  if (std::exchange(mControls, 0) > mShared.mOptions.mLimits.mPings) {
    return Close(CloseCode::kPolicy, "too many pings", false);
  }
  if (now < mPingAt) return;
  mPingAt = now + mShared.mOptions.mTimes.mPing;
  if (mUnanswered < kUnansweredPings) return Ping();
  ++mShared.mMetrics.mDeadPages;
  Abort();
}

template <class Stream>
std::shared_ptr<WebSocketLine> Open(Shared& shared, Stream&& stream, const Request& request,
                                    std::shared_ptr<void> slot, WebSocketLine::Owner& owner) {
  auto line =
      std::make_shared<Line<Stream>>(shared, std::forward<Stream>(stream), std::move(slot), owner);
  line->Accept(request);
  return line;
}

}  // namespace

std::shared_ptr<WebSocketLine> OpenWebSocket(Shared& shared, TcpStream&& stream,
                                             const Request& request, std::shared_ptr<void> slot,
                                             WebSocketLine::Owner& owner) {
  return Open(shared, DirectStream(std::move(stream)), request, std::move(slot), owner);
}

std::shared_ptr<WebSocketLine> OpenWebSocket(Shared& shared, TlsStream&& stream,
                                             const Request& request, std::shared_ptr<void> slot,
                                             WebSocketLine::Owner& owner) {
  return Open(shared, std::move(stream), request, std::move(slot), owner);
}

}  // namespace dorn::gateway
