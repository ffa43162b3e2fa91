// One page: its WebSocket, its connection to the host, and what goes from one to the other.
#ifndef TOOLS_DORN_GATEWAY_PAGESESSION_H_
#define TOOLS_DORN_GATEWAY_PAGESESSION_H_

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "station/Framing.h"
#include "tools/dorn-gateway/HostConnection.h"
#include "tools/dorn-gateway/PageText.h"
#include "tools/dorn-gateway/WebSocketLine.h"

namespace dorn::gateway {

// The connection to the host is opened by the first log-in, anew for each further one, and by a
// text that goes on with a session while there is none. It is closed with the WebSocket.
class PageSession final : public std::enable_shared_from_this<PageSession>,
                          private WebSocketLine::Owner,
                          private HostConnection::Owner,
                          private station::Framing::Sink {
 public:
  PageSession(Shared& shared, const Address& browser);

  template <class Stream>
  void Open(Stream&& stream, const Request& request, std::shared_ptr<void> slot) {
    mLine = OpenWebSocket(mShared, std::forward<Stream>(stream), request, std::move(slot), *this);
  }

  // Ends what takes too long. Called again and again.
  void Tick(Ms now);
  // Tells the page that the gateway ends, and closes it.
  void Stop();
  // Without a word.
  void Abort() { mLine->Abort(); }

  // Where it comes from, as PlaceOf() tells.
  const std::string& Place() const { return mPlace; }
  bool HasHost() const { return mHost != nullptr; }
  // The host has let it in: it answered on this connection with an OPEN, a fence or a file.
  bool IsServed() const { return mHost != nullptr && mIsServed; }
  // A fence has not been answered in time.
  bool IsLeftAlone() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct SentFence {
    std::string mFile;
    Clock::time_point mAt;
  };

  struct WaitingLogIn {
    PageText mText;
    std::size_t mNumber;  // Of the page's text.
    Ms mSince;
  };

  // From the page.
  void OnPageOpen() override;
  void OnPageText(std::string_view text) override;
  void OnPageGone() override;
  void LogIn(PageText text);
  bool TakeTurn();
  void EndTurn();
  void TickLogIn(Ms now);
  void TickStranger(Ms now);
  static void LetLogIn(Shared& shared, const std::string& place);
  void ConnectWith(const PageText& text);
  void PassOn(const PageText& text);
  void Refuse(std::string_view why) { Refuse(why, mTexts); }  // The text that came last.
  void Refuse(std::string_view why, std::size_t number);
  void SendText(const Frame& frame) { mLine->Send(frame, WebSocketLine::Kind::kText); }

  // From the host.
  void OnHostUp() override;
  void OnHostBytes(std::string_view bytes) override;
  void OnHostDown(const std::string& why) override;
  void LoseHost(const std::string& why);
  void LeaveHost();
  void OnText(std::string_view text) override;
  void OnPayload(std::string_view piece, bool last) override;
  void OnNoPayload() override;
  void OnTooLong() override { CountUnreadable(); }
  void SetServed(bool isServed);
  void TakeNotes(const Converted& converted);
  void CountUnreadable();
  void OnFence(const std::string& file);
  void FinishFile();

  Shared& mShared;
  const Address mBrowser;
  const std::string mPlace;  // Where pages and log-ins are counted.
  const std::string mName;   // The browser in the log.
  std::shared_ptr<WebSocketLine> mLine;
  bool mIsOpen = false;
  std::optional<Ms> mStrangerSince;           // Nothing while a host serves it.
  std::size_t mTexts = 0;                     // That the page has sent.
  std::optional<WaitingLogIn> mWaitingLogIn;  // For the answers to others of its place.
  bool mHasTurn = false;                      // Among those of its place.
  Ms mTurnAt{0};
  std::unique_ptr<boost::asio::steady_timer> mDelay;  // Of a log-in that has to wait.
  std::size_t mDelayed = 0;                           // Which of its texts that is.

  std::shared_ptr<HostConnection> mHost;
  std::optional<station::Framing> mFraming;
  std::string mWaiting;  // Framed, for a host that is not connected yet.
  bool mIsLoggingIn = false;
  bool mIsRefused = false;
  bool mIsServed = false;
  std::deque<SentFence> mFences;       // Not answered yet.
  std::optional<station::Json> mFile;  // The head of a file that is coming in.
  std::string mFileBytes;
  Ms mPayloadAt{0};
  std::size_t mUnreadable = 0;
};

// Makes a page of a request that RefuseWebSocket() has let through.
void OpenPage(Shared& shared, TcpStream&& stream, const Request& request, const Address& browser,
              std::shared_ptr<void> slot);
void OpenPage(Shared& shared, TlsStream&& stream, const Request& request, const Address& browser,
              std::shared_ptr<void> slot);

// How many come from the place of this browser.
std::size_t PagesOf(const Shared& shared, const Address& browser);

// Whether the host answers, as far as pages that it serves can tell.
std::optional<bool> HostAsPagesSeeIt(const Shared& shared);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_PAGESESSION_H_
