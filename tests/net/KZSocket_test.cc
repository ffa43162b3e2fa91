#include "dorn/net/KZSocket.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <string>
#include <type_traits>

#include "tests/net/ResolverSpy.h"
#include "tests/net/TestSockets.h"
#include "tests/support/FakeClock.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/VirtualSlot.h"

namespace {

// While it is set, the words of every error.
char* gErrorWords = nullptr;

}  // namespace

// In place of the C library's, whose words are plain ASCII where nothing is translated.
extern "C" char* strerror(int error) noexcept {
  using StrError = char* (*)(int);
  static const auto real = reinterpret_cast<StrError>(dlsym(RTLD_NEXT, "strerror"));
  return gErrorWords != nullptr ? gErrorWords : real(error);
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using KZSocketTest = SocketTest;

// --- Construction and layout ---

TEST_F(KZSocketTest, StartsAsARecordThatIsNotOpenYetAndStartsItsLog) {
  const FakeClock clock(1700000000, 5);
  KZSocket socket(512, &mLog, List());
  EXPECT_EQ(socket.GetFDStatus(), 0);
  EXPECT_EQ(socket.GetType(), -1);
  EXPECT_EQ(socket.GetId(), -1);
  EXPECT_EQ(socket.GetFD(), 0);
  EXPECT_EQ(socket.GetAutoDelete(), 0);
  EXPECT_EQ(socket.GetFdDataList(), List());
  EXPECT_EQ(socket.Log().GetSize(), 512);
  EXPECT_EQ(socket.Log().GetStream(), &mLog);
  EXPECT_EQ(socket.Log().mStratTime, 1700000000000005u);
}

TEST_F(KZSocketTest, ConstructedWithTheListAloneDoesNotStartItsLog) {
  KZSocket socket(List());
  EXPECT_EQ(socket.GetFDStatus(), 0);
  EXPECT_EQ(socket.GetFdDataList(), List());
  EXPECT_EQ(socket.Log().mStratTime, 0u);
  EXPECT_EQ(socket.Log().GetSize(), 0);
  EXPECT_EQ(socket.Log().GetStream(), nullptr);
}

TEST_F(KZSocketTest, LogReturnsTheMemberItself) {
  KZSocket socket(512, &mLog, List());
  EXPECT_EQ(&socket.Log(), &socket.mLog);
  static_assert(std::is_same_v<decltype(socket.Log()), KZLog&>);
}

TEST_F(KZSocketTest, HasAStatusWordOfItsOwnThatNoOperationUses) {
  TestSocket socket(kLogSize, &mLog, List());
  EXPECT_NE(MemberAddress(socket.KZSocket::mStatus), MemberAddress(socket.KZFdData::mStatus));
  EXPECT_EQ(socket.KZSocket::mStatus, 0);
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(socket.KZFdData::mStatus, 1);
  EXPECT_EQ(socket.KZSocket::mStatus, 0);
  EXPECT_EQ(socket.Listen(1), 0);
  EXPECT_EQ(socket.KZFdData::mStatus, 2);
  EXPECT_EQ(socket.KZSocket::mStatus, 0);
  socket.Close();
  EXPECT_EQ(socket.KZFdData::mStatus, 4);
  EXPECT_EQ(socket.KZSocket::mStatus, 0);
}

TEST_F(KZSocketTest, MembersLieBehindThoseOfTheRecord) {
  const KZSocket socket(List());
  EXPECT_TRUE(AreInOrder({MemberAddress(socket.mBufferPos), MemberAddress(socket.KZSocket::mStatus),
                          MemberAddress(socket.mLog)}));
  static_assert(std::is_same_v<decltype(KZSocket::mStatus), int>);
  static_assert(std::is_same_v<decltype(KZSocket::mLog), KZLog>);
  static_assert(std::is_base_of_v<KZFdData, KZSocket>);
}

TEST_F(KZSocketTest, VirtualFunctionsHaveTheirPublishedSlots) {
  EXPECT_EQ(VirtualSlot(&KZSocket::ReadyToRead), 2);
  EXPECT_EQ(VirtualSlot(&KZSocket::ReadyToWrite), 3);
  EXPECT_EQ(VirtualSlot<int (KZSocket::*)()>(&KZSocket::OnReceive), 4);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnNotice), 5);
  EXPECT_EQ(VirtualSlot(&KZSocket::Send), 6);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnOpen), 7);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnClose), 8);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnListen), 9);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnConnect), 10);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnAccept), 11);
  EXPECT_EQ(VirtualSlot<int (KZSocket::*)(sockaddr*, unsigned int)>(&KZSocket::OnReceive), 12);
  EXPECT_EQ(VirtualSlot(&KZSocket::OnTimeout), 13);
}

TEST_F(KZSocketTest, TheOtherOperationsAreNotVirtual) {
  EXPECT_EQ(VirtualSlot(&KZSocket::GetAddrInfo), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::FreeAddrInfo), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::Socket), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::Bind), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::Connect), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::Listen), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::Accept), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::Close), -1);
  EXPECT_EQ(VirtualSlot(&KZSocket::SendTo), -1);
}

TEST_F(KZSocketTest, ItsHooksDoNothing) {
  KZSocket socket(kLogSize, &mLog, List());
  sockaddr_in address = LoopbackAddress(1);
  unsigned int length = sizeof address;
  socket.OnOpen();
  socket.OnClose();
  socket.OnListen();
  socket.OnConnect();
  socket.OnAccept(-1, reinterpret_cast<sockaddr*>(&address), &length);
  socket.OnTimeout(timeval{});
  EXPECT_EQ(socket.OnReceive(reinterpret_cast<sockaddr*>(&address), length), 0);
  EXPECT_EQ(socket.OnReceive(), 0);
  EXPECT_EQ(socket.OnNotice(1, 2), 0);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  EXPECT_EQ(socket.GetFDStatus(), 0);
}

// --- Resolving ---

TEST_F(KZSocketTest, GetAddrInfoPassesFlagsFamilyTypeAndThePortAsText) {
  KZSocket socket(kLogSize, &mLog, List());
  ResolverSpy spy;
  addrinfo* result = nullptr;
  EXPECT_EQ(socket.GetAddrInfo(AI_PASSIVE | AI_NUMERICHOST, AF_INET, SOCK_DGRAM, "127.0.0.1", 5000,
                               &result),
            0);
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(ntohs(reinterpret_cast<sockaddr_in*>(result->ai_addr)->sin_port), 5000);
  socket.FreeAddrInfo(result);
  ASSERT_EQ(spy.mCalls.size(), 1u);
  const ResolverSpy::Call& call = spy.mCalls[0];
  EXPECT_EQ(call.mHost, "127.0.0.1");
  EXPECT_EQ(call.mPort, "5000");
  EXPECT_EQ(call.mHints.ai_flags, AI_PASSIVE | AI_NUMERICHOST);
  EXPECT_EQ(call.mHints.ai_family, AF_INET);
  EXPECT_EQ(call.mHints.ai_socktype, SOCK_DGRAM);
  EXPECT_EQ(call.mHints.ai_protocol, 0);
  EXPECT_EQ(call.mHints.ai_addrlen, 0u);
  EXPECT_EQ(call.mHints.ai_addr, nullptr);
  EXPECT_EQ(call.mHints.ai_canonname, nullptr);
  EXPECT_EQ(call.mHints.ai_next, nullptr);
}

TEST_F(KZSocketTest, FreeAddrInfoGivesBackWhatWasFound) {
  KZSocket socket(kLogSize, &mLog, List());
  ResolverSpy spy;
  addrinfo* result = nullptr;
  ASSERT_EQ(socket.GetAddrInfo(0, AF_INET, SOCK_STREAM, "127.0.0.1", 1, &result), 0);
  socket.FreeAddrInfo(result);
  EXPECT_THAT(spy.mFreed, ElementsAre(result));
  socket.FreeAddrInfo(nullptr);
  EXPECT_EQ(spy.mFreed.size(), 1u);
}

TEST_F(KZSocketTest, GetAddrInfoOfNoHostPassesNone) {
  KZSocket socket(kLogSize, &mLog, List());
  ResolverSpy spy;
  addrinfo* result = nullptr;
  ASSERT_EQ(socket.GetAddrInfo(AI_PASSIVE, AF_INET, SOCK_STREAM, nullptr, 0, &result), 0);
  EXPECT_EQ(reinterpret_cast<sockaddr_in*>(result->ai_addr)->sin_addr.s_addr, htonl(INADDR_ANY));
  socket.FreeAddrInfo(result);
  EXPECT_EQ(spy.mCalls[0].mHost, std::nullopt);
  EXPECT_EQ(spy.mCalls[0].mPort, "0");
}

TEST_F(KZSocketTest, GetAddrInfoWritesAnyPortNumberOut) {
  KZSocket socket(kLogSize, &mLog, List());
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_SERVICE; };
  addrinfo* result = nullptr;
  socket.GetAddrInfo(0, AF_INET, SOCK_STREAM, "127.0.0.1", -2147483647 - 1, &result);
  EXPECT_EQ(spy.mCalls[0].mPort, "-2147483648");
}

TEST_F(KZSocketTest, GetAddrInfoLogsAFailureAndReturnsItsCode) {
  KZSocket socket(kLogSize, &mLog, List());
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_AGAIN; };
  addrinfo* const untouched = reinterpret_cast<addrinfo*>(&spy);
  addrinfo* result = untouched;
  EXPECT_EQ(socket.GetAddrInfo(0, AF_INET, SOCK_STREAM, "host.invalid", 1, &result), EAI_AGAIN);
  EXPECT_EQ(result, untouched);
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("エラー getaddrinfo: (Temporary failure in name resolution)\n"));
  EXPECT_EQ(socket.GetFDStatus(), 0);
}

TEST_F(KZSocketTest, OnALoopbackOnlyMachineThisMachineAndAddressesStillResolve) {
  const struct {
    const char* name;
    const char* host;
    int flags;
    int secondFlags;
  } rows[] = {
      {"no host", nullptr, AI_PASSIVE | AI_ADDRCONFIG, AI_PASSIVE},
      {"an address", "127.0.0.1", AI_ADDRCONFIG, AI_NUMERICHOST},
      {"an address to listen on", "127.0.0.1", AI_PASSIVE | AI_ADDRCONFIG,
       AI_PASSIVE | AI_NUMERICHOST},
      {"another address", "192.0.2.1", AI_ADDRCONFIG, AI_NUMERICHOST},
      {"localhost", "localhost", AI_ADDRCONFIG, 0},
  };
  for (const auto& row : rows) {
    KZSocket socket(kLogSize, &mLog, List());
    ResolverSpy spy;
    spy.PretendLoopbackOnly();
    addrinfo* result = nullptr;
    ASSERT_EQ(socket.GetAddrInfo(row.flags, AF_INET, SOCK_STREAM, row.host, 5000, &result), 0)
        << row.name;
    socket.FreeAddrInfo(result);
    ASSERT_EQ(spy.mCalls.size(), 2u) << row.name;
    EXPECT_EQ(spy.mCalls[0].mHints.ai_flags, row.flags) << row.name;
    EXPECT_EQ(spy.mCalls[1].mHints.ai_flags, row.secondFlags) << row.name;
    EXPECT_EQ(spy.mCalls[1].mHints.ai_family, AF_INET) << row.name;
    EXPECT_EQ(spy.mCalls[1].mHints.ai_socktype, SOCK_STREAM) << row.name;
    EXPECT_EQ(spy.mCalls[1].mPort, "5000") << row.name;
  }
  EXPECT_THAT(mLog.mCalls, IsEmpty());
}

TEST_F(KZSocketTest, NothingElseIsResolvedTwice) {
  const struct {
    const char* name;
    const char* host;
    int flags;
    int failure;
  } rows[] = {
      {"a host name", "host.invalid", AI_ADDRCONFIG, EAI_NONAME},
      {"another failure", "127.0.0.1", AI_ADDRCONFIG, EAI_AGAIN},
      {"an unknown service", nullptr, AI_PASSIVE | AI_ADDRCONFIG, EAI_SERVICE},
      {"without the flag", "127.0.0.1", 0, EAI_NONAME},
      {"no host, without the flag", nullptr, AI_PASSIVE, EAI_NONAME},
      {"a name that begins like an address", "127.0.0.1.example", AI_ADDRCONFIG, EAI_NONAME},
  };
  for (const auto& row : rows) {
    mLog.Clear();
    KZSocket socket(kLogSize, &mLog, List());
    ResolverSpy spy;
    spy.mFailure = [&row](const ResolverSpy::Call&) { return row.failure; };
    addrinfo* result = nullptr;
    EXPECT_EQ(socket.GetAddrInfo(row.flags, AF_INET, SOCK_STREAM, row.host, 5000, &result),
              row.failure)
        << row.name;
    EXPECT_EQ(spy.mCalls.size(), 1u) << row.name;
    EXPECT_EQ(mLog.Messages().size(), 1u) << row.name;
  }
}

TEST_F(KZSocketTest, AnAddressThatCannotBeResolvedEitherWayIsLoggedOnce) {
  KZSocket socket(kLogSize, &mLog, List());
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_NONAME; };
  addrinfo* result = nullptr;
  EXPECT_EQ(socket.GetAddrInfo(AI_ADDRCONFIG, AF_INET, SOCK_STREAM, "127.0.0.1", 1, &result),
            EAI_NONAME);
  EXPECT_EQ(spy.mCalls.size(), 2u);
  EXPECT_THAT(mLog.Messages(), ElementsAre("エラー getaddrinfo: (Name or service not known)\n"));
}

// --- Socket, Bind, Connect, Listen, Accept ---

TEST_F(KZSocketTest, SocketIsNonBlockingReusableNotInheritedAndOpen) {
  TestSocket socket(kLogSize, &mLog, List());
  const int fd = socket.Socket(AF_INET, SOCK_STREAM, 0);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(socket.GetFD(), fd);
  EXPECT_EQ(socket.GetFDStatus(), 1);
  EXPECT_TRUE(fcntl(fd, F_GETFL) & O_NONBLOCK);
  EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
  int reuse = 0;
  socklen_t length = sizeof reuse;
  getsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, &length);
  EXPECT_EQ(reuse, 1);
  EXPECT_THAT(socket.mEvents, IsEmpty());
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  socket.Close();
}

TEST_F(KZSocketTest, ASocketThatCannotBeMadeIsLogged) {
  TestSocket socket(kLogSize, &mLog, List());
  EXPECT_EQ(socket.Socket(9999, SOCK_STREAM, 0), -1);
  EXPECT_THAT(
      mLog.Messages(),
      ElementsAre("ソケット作成できませんでした (Address family not supported by protocol)\n"));
  EXPECT_EQ(socket.GetFDStatus(), 0);
  EXPECT_EQ(socket.GetFD(), 0);
}

TEST_F(KZSocketTest, BindReturnsZeroSilently) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = LoopbackAddress(0);
  EXPECT_EQ(socket.Bind(Generic(address), sizeof address), 0);
  EXPECT_GT(PortOf(socket.GetFD()), 0);
  EXPECT_EQ(socket.GetFDStatus(), 1);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  socket.Close();
}

TEST_F(KZSocketTest, AFailedBindLogsAndCloses) {
  const TcpAcceptor taken;
  TestSocket socket(kLogSize, &mLog, List());
  const int fd = socket.Socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = LoopbackAddress(taken.Port());
  EXPECT_EQ(socket.Bind(Generic(address), sizeof address), -1);
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("バインドできませんでした (Address already in use)\n",
                          "ERROR: shutdown: Transport endpoint is not connected\n"));
  EXPECT_EQ(socket.GetFD(), -1);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
}

TEST_F(KZSocketTest, AConnectInProgressIsSilent) {
  const TcpAcceptor acceptor;
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = LoopbackAddress(acceptor.Port());
  const int result = socket.Connect(Generic(address), sizeof address);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errno, EINPROGRESS);
  EXPECT_EQ(socket.GetFDStatus(), 1);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  EXPECT_THAT(socket.mEvents, IsEmpty());
  socket.Close();
}

// A datagram socket is, and what errno says is of no interest then.
TEST_F(KZSocketTest, ASocketThatIsConnectedAtOnceStaysOpen) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_DGRAM, 0);
  const sockaddr_in address = LoopbackAddress(9);
  errno = EINVAL;
  EXPECT_EQ(socket.Connect(Generic(address), sizeof address), 0);
  EXPECT_GE(socket.GetFD(), 0);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  EXPECT_THAT(socket.mEvents, IsEmpty());
  socket.Close();
}

TEST_F(KZSocketTest, AnyOtherConnectFailureLogsAndCloses) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = LoopbackAddress(1);
  EXPECT_EQ(socket.Connect(Generic(address), 1), -1);
  EXPECT_EQ(mLog.Messages().front(), "コネクトできませんでした (Invalid argument)\n");
  EXPECT_EQ(socket.GetFD(), -1);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
}

TEST_F(KZSocketTest, ListenActivatesTheSocketAndAddsItBeforeItsHook) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(socket.Listen(5), 0);
  EXPECT_EQ(socket.GetFDStatus(), 2);
  EXPECT_THAT(List()->mAddRequest, ElementsAre(&socket));
  EXPECT_THAT(socket.mEvents, ElementsAre("listen"));
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  Settle();
  EXPECT_TRUE(IsLinked(&socket));
  socket.Close();
  Settle();
}

TEST_F(KZSocketTest, AFailedListenLogsAndCloses) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_EQ(socket.Listen(5), -1);
  EXPECT_EQ(mLog.Messages().front(), "待受け開始できませんでした。 Operation not supported\n");
  EXPECT_EQ(socket.GetFD(), -1);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
  EXPECT_TRUE(List()->mAddRequest.empty());
}

TEST_F(KZSocketTest, AcceptHandsTheConnectionToItsHook) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = LoopbackAddress(0);
  socket.Bind(Generic(address), sizeof address);
  socket.Listen(5);
  socket.TakeEvents();
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(PortOf(socket.GetFD())));
  const int sd = socket.Accept();
  ASSERT_GE(sd, 0);
  EXPECT_THAT(socket.mEvents, ElementsAre("accept"));
  EXPECT_THAT(socket.mAccepted, ElementsAre(sd));
  EXPECT_EQ(socket.mSenderPort, peer.LocalPort());
  EXPECT_EQ(socket.mAddressLength, 16u);
  EXPECT_TRUE(fcntl(sd, F_GETFD) & FD_CLOEXEC);
  EXPECT_EQ(socket.GetFDStatus(), 2);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  close(sd);
  socket.Close();
}

TEST_F(KZSocketTest, AFailedAcceptClosesTheListeningSocketItself) {
  TestSocket socket(kLogSize, &mLog, List());
  const int fd = socket.Socket(AF_INET, SOCK_STREAM, 0);
  socket.Listen(5);
  socket.TakeEvents();
  EXPECT_EQ(socket.Accept(), -1);  // Nobody is there.
  EXPECT_EQ(socket.GetFD(), -1);
  EXPECT_EQ(socket.GetFDStatus(), 4);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
  EXPECT_EQ(mLog.Messages().front(),
            "接続を許可出来ませんでした。 Resource temporarily unavailable\n");
}

TEST_F(KZSocketTest, AFailedAcceptIsLoggedUnharmedInEveryLocale) {
  for (const char* locale : {"C", "C.UTF-8", "C.utf8", "en_US.UTF-8", "ja_JP.UTF-8"}) {
    std::setlocale(LC_ALL, locale);  // Where it is unknown the locale stays as it was.
    mLog.Clear();
    TestSocket socket(kLogSize, &mLog, List());
    socket.Socket(AF_INET, SOCK_STREAM, 0);
    socket.Listen(5);
    EXPECT_EQ(socket.Accept(), -1) << locale;
    const std::string message = mLog.Messages().front();
    EXPECT_EQ(message.rfind("接続を許可出来ませんでした。 ", 0), 0u) << locale;
    EXPECT_LT(message.size(), 200u) << locale;
  }
  std::setlocale(LC_ALL, "C");
}

TEST_F(KZSocketTest, AFailedAcceptIsLoggedWith255CharactersAtMost) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  for (const size_t length : {255u, 256u, 600u}) {
    mLog.Clear();
    std::string words(length, 'x');
    TestSocket socket(kLogSize, &mLog, List());
    socket.Socket(AF_INET, SOCK_STREAM, 0);
    socket.Listen(5);
    gErrorWords = words.data();
    EXPECT_EQ(socket.Accept(), -1);
    gErrorWords = nullptr;
    EXPECT_EQ(mLog.Messages().front(),
              "接続を許可出来ませんでした。 " + std::string(255, 'x') + "\n");
  }
  std::setlocale(LC_ALL, "C");
}

// The words of a translation may be in another encoding than the locale, and of any length.
TEST_F(KZSocketTest, AFailedAcceptIsLoggedWithQuestionMarksForBytesThatAreNoText) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  const std::string lead = "接続を許可出来ませんでした。 ";
  for (const std::string& rest : {std::string(), std::string(600, 'x')}) {
    mLog.Clear();
    std::string words = "\xf6ndern \xdf\x80\x7f" + rest;
    TestSocket socket(kLogSize, &mLog, List());
    socket.Socket(AF_INET, SOCK_STREAM, 0);
    socket.Listen(5);
    gErrorWords = words.data();
    EXPECT_EQ(socket.Accept(), -1);
    gErrorWords = nullptr;
    const std::string shown = "?ndern ??\x7f" + rest;
    EXPECT_EQ(mLog.Messages().front(), lead + shown.substr(0, 255) + "\n");
  }
  std::setlocale(LC_ALL, "C");
}

}  // namespace
