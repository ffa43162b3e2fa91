#include "dorn/server/VQClientSocket.h"

#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/Commands.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/FileTransfer.h"
#include "dorn/server/VQApplication.h"

namespace {

constexpr int kLogBufferSize = 1024;

}  // namespace

VQClientSocket::VQClientSocket(KZStream* stream, KZFdDataList* list)
    : KZClientSocket(kLogBufferSize, stream, list),
      mStream(stream),
      mConnection(std::make_unique<dorn::Connection>(*this)) {
  SetId(static_cast<int>(dorn::App().NextSocketId()));
}

VQClientSocket::~VQClientSocket() {
  // While the record is still whole.
  mConnection.reset();
  std::puts("socket delete");
}

int VQClientSocket::Open(const char* host, int port, int buffersize) {
  mConnection->BeginAnew();
  return KZClientSocket::Open(host, port, buffersize);
}

int VQClientSocket::Create(int sd, int buffersize) {
  mConnection->BeginAnew();
  return KZClientSocket::Create(sd, buffersize);
}

void VQClientSocket::ReadyToRead() {
  if (mConnection->PrepareRead()) KZClientSocket::ReadyToRead();
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
  if (length <= 0 || !out.HasBacklog()) return KZClientSocket::Send(data, length);
  return out.Enqueue(static_cast<const char*>(data), static_cast<std::size_t>(length)) ? length
                                                                                       : -1;
}

void VQClientSocket::OnClose() {
  mConnection->End();
  KZClientSocket::OnClose();
}

int VQClientSocket::OnReceive(sockaddr*, unsigned int) {
  mConnection->Receive();
  return 0;
}

int VQClientSocket::SendData(const KZString& text) {
  dorn::PrintLine({" sid=", mSessionId, " dname=", mDialogName, " id=", std::to_string(GetId()),
                   " out=", text});
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
  mConnection->Timers().LoggedIn();
  dorn::ForgetSurvey();
  mSessionId = std::move(sid);
  mAuth = mSessionId.GetLength() > 0;
}

// Hooks may change the list of commands, so the walk goes by position.
int VQClientSocket::DoCommand(const KZString& text) {
  VQJsonCommands commands;
  VQJsonParser parser;
  parser.ParseCommand(&commands, text);
  const int ends = mConnection->Ends();
  for (std::size_t i = 0; i < commands.mObjectList.size(); ++i) {
    if (commands.mObjectList[i] != nullptr) dorn::ExecuteCommand(*this, commands.mObjectList[i]);
    // Kept: the command that closed the connection is finished. Nothing behind it is executed.
    if (dorn::IsRemoved(*this) || mConnection->Ends() != ends) break;
  }
  return 1;
}

// The interface takes them by value: NOLINTNEXTLINE(performance-unnecessary-value-param)
void VQClientSocket::OnGetfile(KZString file, KZString date, KZString objectName) {
  dorn::AnswerGetfile(*this, file, date, objectName);
}
