// Receiving and sending on one connection: cutting frames, framing texts, the console lines.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "bench/micro/Documents.h"
#include "dorn/server/Console.h"

namespace {

// Writes of the connection go to the null device, which takes anything.
class Connection : public VQClientSocket {
 public:
  Connection() : VQClientSocket(nullptr, nullptr) {
    SetFD(open("/dev/null", O_RDWR | O_CLOEXEC));
    SetFDStatus(kStatusActive);
    CreateBuffer(0x80000);
  }
  ~Connection() override { close(GetFD()); }

  void Receive(const std::string& bytes) {
    SetDataToBuffer(const_cast<char*>(bytes.data()), static_cast<int>(bytes.size()));
    SetSelect(1);
    OnReceive(nullptr, 0);
  }
};

// A command that is parsed and then refused, since nobody logged in. Argument: bytes for each
// delivery; 0: ten messages joined in one.
void CutFrames(benchmark::State& state) {
  Connection connection;
  std::string message = "\x02" + CommandText() + "\x03";
  message.replace(message.find("SessionId"), 9, "Sessionid");
  const auto piece = static_cast<std::size_t>(state.range(0));
  std::string joined;
  for (int i = 0; i < 10; ++i) joined += message;
  for (auto _ : state) {
    for (std::size_t at = 0; at < joined.size();) {
      const std::size_t length = piece == 0 ? joined.size() : std::min(piece, joined.size() - at);
      connection.Receive(joined.substr(at, length));
      at += length;
    }
  }
  state.SetItemsProcessed(state.iterations() * 10);
}
BENCHMARK(CutFrames)->Arg(1)->Arg(1500)->Arg(0);

// The second and every later recipient of one text: everything but the composing, with a write that
// costs next to nothing.
void SendSameText(benchmark::State& state) {
  Connection connection;
  const KZString text(CommandText());
  for (auto _ : state) benchmark::DoNotOptimize(connection.SendData(text));
}
BENCHMARK(SendSameText);

// What of that is the write and its console line.
void WriteAndConsoleLine(benchmark::State& state) {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  const std::string text = CommandText();
  for (auto _ : state) {
    dorn::PrintLine(
        {" sid=", "station000042", " dname=", "panel", " id=", "134217728", " out=", text});
    benchmark::DoNotOptimize(write(null, text.data(), text.size()));
  }
  close(null);
}
BENCHMARK(WriteAndConsoleLine);

void ConsoleLine(benchmark::State& state) {
  const std::string text = CommandText();
  for (auto _ : state) {
    dorn::PrintLine(
        {" sid=", "station000042", " dname=", "panel", " id=", "134217728", " out=", text});
  }
}
BENCHMARK(ConsoleLine);

}  // namespace
