// Names and dates of files that a station asks for. No name may lead out of the resources, and what
// was announced is sent, to the last byte.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/FuzzHost.h"
#include "fuzz/FuzzTarget.h"

namespace {

bool IsInside(const std::string& name) {
  if (name.find('\0') != std::string::npos) return false;
  const std::filesystem::path path = std::filesystem::path("./" + name).lexically_normal();
  return path.begin() == path.end() || *path.begin() != "..";
}

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string Contents(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

// Whether the payload is one that the name may give.
bool MayFollow(const std::string& name, const std::string& payload) {
  if (payload.empty()) return true;
  if (!IsInside(name)) return false;
  VQDialog* top = app.DialogList()->Search("top");
  if (payload == top->GetResourceShare()->GetJson()) return true;
  const std::string path = ResourceFolder() + "/" + name;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  char folder[PATH_MAX];
  char resolved[PATH_MAX];
  FUZZ_CHECK(realpath(ResourceFolder().c_str(), folder) != nullptr);
  FUZZ_CHECK(realpath(path.c_str(), resolved) != nullptr);
  FUZZ_CHECK(StartsWith(resolved, std::string(folder) + "/"));
  return payload == Contents(path);
}

std::string Receive(const FuzzStation& station) {
  std::string bytes;
  for (int quiet = 0; quiet < 3;) {
    const std::string some = station.Read();
    bytes += some;
    quiet = some.empty() ? quiet + 1 : 0;
    FuzzServer::Pass();
  }
  return bytes;
}

bool Has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

}  // namespace

// The date and the object's name come first, each with a zero byte behind it, then the file's name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const KZString date(in.Until('\0'));
  const KZString objectName(in.Until('\0'));
  const std::string name = in.Rest();
  FuzzServer server;
  app.CreateDialog("top");
  const FuzzStation station(4096);
  FUZZ_CHECK(VQApplication::IsInsideResources(name) == IsInside(name));
  station.Client()->OnGetfile(name, date, objectName);
  const std::string bytes = Receive(station);
  FUZZ_CHECK(station.Client() != nullptr);
  const size_t end = bytes.find('\3');
  FUZZ_CHECK(end != std::string::npos && StartsWith(bytes, "\2{\"Command\":\"PUTFILE\","));
  const std::string answer = bytes.substr(1, end - 1);
  const std::string payload = bytes.substr(end + 1);
  FUZZ_CHECK(MayFollow(name, payload));
  if (!IsInside(name) || name.empty()) FUZZ_CHECK(Has(answer, "\"Status\":\"ERROR\""));
  if (name == "note.txt") {
    const bool isLatest = date == "2020-09-13 12:26:40";
    if (isLatest) FUZZ_CHECK(Has(answer, "\"Status\":\"LATEST\"") && payload.empty());
    // Other texts may mean the same instant.
    if (!Has(answer, "\"Status\":\"LATEST\"")) FUZZ_CHECK(payload == "a note");
  }
  if (name == "large.bin" && date.empty()) FUZZ_CHECK(payload == std::string(300000, 'L'));
  if (name == "old.txt") FUZZ_CHECK(Has(answer, "FILE NOT FOUND"));
  return 0;
}
