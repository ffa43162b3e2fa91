// Command texts to one connection: before the log-in and, when the first byte is odd, after it.
// Texts are separated by zero bytes.
#include "fuzz/FuzzHost.h"
#include "fuzz/FuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  FuzzServer server;
  const FuzzStation station;
  const bool loggedIn = in.Flag();
  if (loggedIn) {
    VQClientSocket* client = station.Client();
    client->DoCommand(R"({"Command":"HELLO","Id":"u1","Pass":"p","DialogName":"top"})");
    FUZZ_CHECK(client->mAuth && client->mDialogName == "top");
  }
  while (!in.IsEmpty()) {
    VQClientSocket* client = station.Client();
    if (client == nullptr) break;
    FUZZ_CHECK(client->DoCommand(in.Until('\0')) == 1);
    static_cast<void>(station.Read());
    FuzzServer::Pass();
  }
  // What was closed is closed, and what is left answers.
  if (VQClientSocket* client = station.Client()) {
    static_cast<void>(station.Read());
    client->DoCommand(R"({"Command":"HELLO","Id":"nobody","Pass":""})");
    FUZZ_CHECK(!station.Read().empty());
  }
  return 0;
}
