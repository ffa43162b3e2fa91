#include "dorn/server/VQClientSocket.h"

#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/base/TraceFilter.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/FileTransfer.h"
#include "dorn/server/Observed.h"
#include "dorn/server/VQApplication.h"

namespace {

constexpr int kLogBufferSize = 1024;

void PrintLineSent(VQClientSocket& client, std::string_view sid, std::string_view text) {
  char digits[24];
  const char* const end = std::to_chars(digits, digits + sizeof digits, client.GetId()).ptr;
  const std::string_view id(digits, static_cast<std::size_t>(end - digits));
  dorn::PrintOftenLine(" sid=", sid, " dname=", client.mDialogName, " id=", id, " out=", text);
}

// Once for each recipient of a text.
void PrintSent(VQClientSocket& client, const KZString& text) {
  if (dorn::ShowsSecrets()) return PrintLineSent(client, client.mSessionId, text);
  std::string storage;
  PrintLineSent(client, dorn::Shown(client.mSessionId), dorn::ShownText(text, storage));
}

}  // namespace

VQClientSocket::VQClientSocket(KZStream* stream, KZFdDataList* list)
    : KZClientSocket(kLogBufferSize, stream, list),
      mStream(stream),
      mConnection(std::make_unique<dorn::Connection>(*this)) {
  SetId(static_cast<int>(dorn::App().NextSocketId()));
  dorn::NoteConnection(*this);
}

VQClientSocket::~VQClientSocket() {
  dorn::ForgetConnection(*this);
  // While the record is still whole.
  dorn::NoteDestroyed(this);
  mConnection.reset();
  if (dorn::IsTraced()) std::puts("socket delete");
}

int VQClientSocket::Open(const char* host, int port, int buffersize) {
  mConnection->BeginAnew();
  mConnection->Station().HostOpens();
  return KZClientSocket::Open(host, port, buffersize);
}

int VQClientSocket::Create(int sd, int buffersize) {
  mConnection->BeginAnew();
  return KZClientSocket::Create(sd, buffersize);
}

void VQClientSocket::ReadyToRead() {
  if (!mConnection->PrepareRead()) return;
  const dorn::ClosingFor reason(&dorn::Statistics::closedByStation);
  KZClientSocket::ReadyToRead();
}

void VQClientSocket::ReadyToWrite() {
  if (mConnection->Out().ClosesWhenDrained()) {
    mConnection->Out().Drain();
  } else {
    KZClientSocket::ReadyToWrite();
  }
}

int VQClientSocket::OnNotice(int code, int value) {
  if (code == kNoticeCleared) mConnection->BufferCleared();
  return KZClientSocket::OnNotice(code, value);
}

int VQClientSocket::Send(const void* data, int length) {
  dorn::Outgoing& out = mConnection->Out();
  if (length <= 0 || !out.TakesBytes()) return KZClientSocket::Send(data, length);
  return out.Enqueue(static_cast<const char*>(data), static_cast<std::size_t>(length)) ? length
                                                                                       : -1;
}

void VQClientSocket::OnClose() {
  dorn::ClosingFor::CountOne();
  dorn::NoteClosed(this);
  mConnection->End();
  KZClientSocket::OnClose();
}

int VQClientSocket::OnReceive(sockaddr*, unsigned int) {
  const dorn::ClosingFor reason(&dorn::Statistics::closedByHost);
  mConnection->Receive();
  return 0;
}

int VQClientSocket::SendData(const KZString& text) {
  if (dorn::IsTraced()) PrintSent(*this, text);
  return mConnection->Out().SendText(text);
}

int VQClientSocket::Close() {
  mConnection->Out().WriteLast();
  return KZClientSocket::Close();
}

bool VQClientSocket::CompareSessionId(const KZString& sid) const {
  return dorn::Equals(sid, dorn::kSessionIdShared) || sid == mSessionId;
}

bool VQClientSocket::CompareDialogName(const KZString& name) const {
  return name.empty() || name == mDialogName;
}

void VQClientSocket::Authentication(KZString sid) {
  // The limit of a held log-in counts until it is finished.
  if (mConnection->HeldLogIn() == 0) mConnection->Timers().LoggedIn();
  dorn::ForgetSurvey();
  mSessionId = std::move(sid);
  mAuth = mSessionId.GetLength() > 0;
  dorn::NoteSession(this, mSessionId);
}

int VQClientSocket::DoCommand(const KZString& text) {
  mConnection->Execute(text);
  return 1;
}

// The interface takes them by value: NOLINTNEXTLINE(performance-unnecessary-value-param)
void VQClientSocket::OnGetfile(KZString file, KZString date, KZString objectName) {
  dorn::AnswerGetfile(*this, file, date, objectName);
}
