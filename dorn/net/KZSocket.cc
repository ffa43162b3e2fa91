#include "dorn/net/KZSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <string>
#include <utility>

#include "dorn/loop/NextPass.h"
#include "dorn/loop/RecordState.h"
#include "dorn/loop/SharedInt.h"

namespace {

using WideText = wchar_t[256];

// The words of an error as wide characters. Bytes that the locale cannot read become question
// marks.
void WidenError(int error, WideText& wide) {
  const char* text = strerror(error);
  const char* rest = text;
  std::mbstate_t state{};
  constexpr size_t kCapacity = sizeof(WideText) / sizeof(wchar_t) - 1;
  size_t length = std::mbsrtowcs(wide, &rest, kCapacity, &state);
  if (length == static_cast<size_t>(-1)) {
    for (length = 0; length < kCapacity && text[length] != '\0'; ++length) {
      const auto byte = static_cast<unsigned char>(text[length]);
      wide[length] = byte < 0x80 ? static_cast<wchar_t>(byte) : L'?';
    }
  }
  wide[length] = L'\0';
}

bool IsNumeric(const char* addr) {
  in_addr parsed{};
  return inet_aton(addr, &parsed) != 0;
}

bool IsThisMachine(const char* addr) {
  return addr == nullptr || std::strcmp(addr, "localhost") == 0;
}

// A negative length would count as a huge one, and what lies behind the data would be sent.
bool CheckLength(int length) {
  if (length >= 0) return true;
  errno = EINVAL;
  return false;
}

// Only IPv4 addresses are used.
const sockaddr_in* AsInternet(const sockaddr* addr) {
  return reinterpret_cast<const sockaddr_in*>(addr);
}

// Closing a socket because it could not be opened. A thread does so for one socket at a time.
thread_local bool tOpenFailed = false;

void CloseFailed(KZSocket& socket) {
  tOpenFailed = true;
  socket.KZSocket::Close();
}

// Stands around OnClose().
class ClosingScope {
 public:
  explicit ClosingScope(const KZSocket* socket)
      : mSocket(socket), mOuter(std::exchange(tInnermost, this)) {}
  ~ClosingScope() { tInnermost = mOuter; }

  ClosingScope(const ClosingScope&) = delete;
  ClosingScope& operator=(const ClosingScope&) = delete;

  static bool IsAround(const KZSocket* socket) {
    const ClosingScope* scope = tInnermost;
    while (scope != nullptr && scope->mSocket != socket) scope = scope->mOuter;
    return scope != nullptr;
  }

 private:
  static thread_local ClosingScope* tInnermost;

  const KZSocket* mSocket;
  ClosingScope* mOuter;
};

thread_local ClosingScope* ClosingScope::tInnermost = nullptr;

void CallOnClose(KZFdData& record) {
  auto& socket = static_cast<KZSocket&>(record);
  const ClosingScope scope(&socket);
  socket.OnClose();
}

}  // namespace

KZSocket::KZSocket(int size, KZStream* stream, KZFdDataList* list) : KZFdData(list) {
  mLog.LogStart(size, stream);
}

KZSocket::KZSocket(KZFdDataList* list) : KZFdData(list) {}

KZSocket::~KZSocket() = default;

void KZSocket::ReadyToRead() {
  if (mIsSelect != 0) {
    const int fd = dorn::LoadShared(mFD);
    if (fd < 0) return;
    char data[kReadSize];
    sockaddr_in from{};
    socklen_t fromLength = sizeof from;
    auto* addr = reinterpret_cast<sockaddr*>(&from);
    const ssize_t length = recvfrom(fd, data, sizeof data, 0, addr, &fromLength);
    if (length < 0) {
      const int error = errno;
      const std::atomic<unsigned int>& descriptors = dorn::RecordState::Of(*this).mDescriptors;
      const unsigned int failed = descriptors;
      OnNotice(kNoticeReadError, error);
      mLog.LogPrintf("recvfrom (%s)\n", strerror(error));
      // A hook may have closed the socket and opened it again.
      if (descriptors == failed) Close();
      return;
    }
    if (length == 0) {
      Close();
      return;
    }
    // What does not fit is lost; CheckBuffer() warns before that.
    static_cast<void>(SetDataToBuffer(data, static_cast<int>(length)));
    OnReceive(addr, fromLength);
  } else {
    OnReceive(nullptr, 0);
  }
  CheckBuffer(1);
}

int KZSocket::Send(const void* data, int length) {
  const int result = CheckLength(length)
                         ? static_cast<int>(send(GetFD(), data, static_cast<size_t>(length), 0))
                         : -1;
  if (result < 0) {
    const int error = errno;
    mLog.LogPrintf("sendエラー (%s) result:%d\n", strerror(error), result);
    errno = error;
  }
  return result;
}

void KZSocket::OnOpen() {}

void KZSocket::OnClose() {}

void KZSocket::OnListen() {}

void KZSocket::OnConnect() {}

void KZSocket::OnAccept(int /*sd*/, sockaddr* /*addr*/, unsigned int* /*addrlen*/) {}

int KZSocket::OnReceive(sockaddr* /*addr*/, unsigned int /*addrlen*/) { return 0; }

void KZSocket::OnTimeout(timeval /*time*/) {}

int KZSocket::GetAddrInfo(int flags, int family, int type, const char* addr, int port,
                          addrinfo** ai) {
  addrinfo hints{};
  hints.ai_flags = flags;
  hints.ai_family = family;
  hints.ai_socktype = type;
  const std::string service = std::to_string(port);
  addrinfo* found = nullptr;
  int result = getaddrinfo(addr, service.c_str(), &hints, &found);
  const bool isNumeric = addr != nullptr && IsNumeric(addr);
  if (result == EAI_NONAME && (flags & AI_ADDRCONFIG) != 0 && (isNumeric || IsThisMachine(addr))) {
    // On a machine (or in a container) with loopback addresses alone, the flag makes these unknown.
    hints.ai_flags = (flags & ~AI_ADDRCONFIG) | (isNumeric ? AI_NUMERICHOST : 0);
    result = getaddrinfo(addr, service.c_str(), &hints, &found);
  }
  if (result != 0) {
    // "Error getaddrinfo"
    mLog.LogPrintf("エラー getaddrinfo: (%s)\n", gai_strerror(result));
    return result;
  }
  *ai = found;
  return 0;
}

void KZSocket::FreeAddrInfo(addrinfo* ai) {
  if (ai != nullptr) freeaddrinfo(ai);
}

int KZSocket::Socket(int family, int type, int protocol) {
  const int fd = socket(family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol);
  if (fd < 0) {
    const int error = errno;
    // "The socket could not be created."
    mLog.LogPrintf("ソケット作成できませんでした (%s)\n", strerror(error));
    errno = error;
    return -1;
  }
  const int on = 1;
  // Without it the socket works all the same; at worst the bind fails, and that is reported.
  static_cast<void>(setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
  dorn::NextPass::Forget(this);
  SetFD(fd);
  SetFDStatus(kStatusOpen);
  // Opened again while it waits to be served in this pass: the readiness was the old descriptor's.
  SetSelect(0);
  return fd;
}

int KZSocket::Bind(const sockaddr* addr, unsigned int addrlen) {
  const int result = bind(GetFD(), addr, addrlen);
  if (result < 0) {
    const int error = errno;
    // "Could not bind."
    mLog.LogPrintf("バインドできませんでした (%s)\n", strerror(error));
    CloseFailed(*this);
    errno = error;
  }
  return result;
}

int KZSocket::Connect(const sockaddr* addr, unsigned int addrlen) {
  const int result = connect(GetFD(), addr, addrlen);
  if (result < 0 && errno != EINPROGRESS) {
    const int error = errno;
    // "Could not connect."
    mLog.LogPrintf("コネクトできませんでした (%s)\n", strerror(error));
    CloseFailed(*this);
    errno = error;
  }
  return result;
}

int KZSocket::Listen(int backlog) {
  if (listen(GetFD(), backlog) < 0) {
    const int error = errno;
    // "Could not begin to listen."
    mLog.LogPrintf("待受け開始できませんでした。 %s\n", strerror(error));
    CloseFailed(*this);
    errno = error;
    return -1;
  }
  SetFDStatus(kStatusActive);
  AddEvent();
  OnListen();
  return 0;
}

int KZSocket::Accept() {
  sockaddr_in from{};
  socklen_t fromLength = sizeof from;
  auto* addr = reinterpret_cast<sockaddr*>(&from);
  const int sd = accept4(GetFD(), addr, &fromLength, SOCK_CLOEXEC);
  if (sd < 0) {
    const int error = errno;
    WideText reason;
    WidenError(error, reason);
    // "The connection could not be permitted."
    // Kept: the capital S. It takes wide characters, which is why the reason is converted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    mLog.LogPrintf("接続を許可出来ませんでした。 %S\n", reason);
#pragma GCC diagnostic pop
    Close();
    errno = error;
    return -1;
  }
  OnAccept(sd, addr, &fromLength);
  return sd;
}

int KZSocket::Close() {
  // Closing twice is harmless: SetFD() would turn the pending removal of the record into
  // kStatusGone, and the record would stay in the list for ever.
  const bool openFailed = std::exchange(tOpenFailed, false);
  if (IsUnopened()) return -1;
  dorn::NextPass::Forget(this);
  const int fd = SetFD(-1);
  if (shutdown(fd, SHUT_WR) < 0) mLog.LogPrintf("ERROR: shutdown: %s\n", strerror(errno));
  // The descriptor is released whatever close() says.
  static_cast<void>(close(fd));
  RemoveEvent();
  if (openFailed && ClosingScope::IsAround(this)) {
    // Opened from OnClose(), in vain: calling that again from within itself would have no end.
    dorn::NextPass::Request(*this, CallOnClose);
  } else {
    CallOnClose(*this);
  }
  return 0;
}

int KZSocket::SendTo(const void* data, int length, const sockaddr* addr, unsigned int addrlen) {
  if (IsUnopened()) return -1;
  const ssize_t sent = CheckLength(length)
                           ? sendto(GetFD(), data, static_cast<size_t>(length), 0, addr, addrlen)
                           : -1;
  const int error = errno;
  if (sent < 0) {
    mLog.LogPrintf("ERROR! KZSocket::SendTo sendto=(%s)\n", strerror(error));
    errno = error;
    return -1;
  }
  const sockaddr_in none{};
  const sockaddr_in* to = addr != nullptr ? AsInternet(addr) : &none;
  mLog.LogPrintf("KZSocket::SendTo  %s:%d %d byte\n", inet_ntoa(to->sin_addr), ntohs(to->sin_port),
                 static_cast<int>(sent));
  errno = error;
  return 0;
}

bool KZSocket::IsUnopened() {
  const int fd = GetFD();
  return fd < 0 || (fd == 0 && GetFDStatus() == kStatusInitial);
}
