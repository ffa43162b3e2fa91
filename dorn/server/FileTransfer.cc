#include "dorn/server/FileTransfer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/loop/LoopPass.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Console.h"
#include "dorn/server/PutfileReply.h"
#include "dorn/server/ResourcePath.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"

namespace dorn {

namespace {

// A file goes out in blocks of this size as long as the socket takes them at once, and at most so
// much of it before others get their turn.
constexpr std::size_t kBlockSize = 1024;
constexpr std::size_t kDirectSize = std::size_t{64} * 1024;

// How much of a refused name is printed.
constexpr std::size_t kPrintedName = 200;

// What a station may fetch, or why not.
struct Resource {
  ResourceFile mFile;  // Of the time 0: nothing to fetch.
  const char* mError = "FILE NOT FOUND";
};

// A date as file dates are written. A template of the environment (DATEMSK) is the second choice;
// without one it reads nothing. 0 for a date that cannot be read.
std::time_t ParseDate(const KZString& date) {
  std::tm fields{};
  const char* end = strptime(date, "%Y-%m-%d %H:%M:%S", &fields);
  if (end != nullptr && *end == '\0') {
    fields.tm_isdst = -1;
    return std::mktime(&fields);
  }
  fields = std::tm{};
  return getdate_r(date, &fields) == 0 ? std::mktime(&fields) : 0;
}

KZString FileDate(std::time_t time) {
  char text[24] = "";
  std::tm fields{};
  localtime_r(&time, &fields);
  return std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields) != 0 ? text : "";
}

void PrintRefusal(const char* reason, const KZString& file) {
  const std::string_view name(file);
  PrintLine({"GETFILE refused, ", reason, ": ", name.substr(0, kPrintedName)});
}

// Kept: everything that has a file type passes, directories included.
Resource LookFor(const KZString& file) {
  Resource resource;
  if (file.empty()) {
    resource.mError = "NOT KEY";
    return resource;
  }
  ResourceFile found = OpenResource(std::string_view(file));
  if (!found.mIsInside) {
    PrintRefusal("outside resources", file);
    return {};
  }
  if (!found.mExists) return {};
  const struct stat& status = found.mStatus;
  if ((status.st_mode & S_IFMT) == 0) {
    resource.mError = "FILE IS NOT REGULAR";
    return resource;
  }
  // "Length" is an int: it would turn negative.
  if (status.st_size > INT_MAX) {
    PrintRefusal("larger than 2 GiB", file);
    return {};
  }
  resource.mFile = std::move(found);
  return resource;
}

// Reads up to `length` bytes of a file; fewer if there are no more.
std::string ReadPart(int file, std::size_t offset, std::size_t length) {
  std::string bytes(length, '\0');
  std::size_t have = 0;
  while (have < length) {
    const ssize_t got =
        pread(file, bytes.data() + have, length - have, static_cast<off_t>(offset + have));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    have += static_cast<std::size_t>(got);
  }
  bytes.resize(have);
  return bytes;
}

void SendPutfileError(VQClientSocket& client, const KZString& file, const char* info) {
  PutfileReply reply(file);
  reply.Set(kKeyStatus, "ERROR");
  reply.Set("Info", info);
  client.SendData(reply.GetJson());
}

// The resource file of a dialog that exists is answered by the dialog.
bool AnswerFromDialog(VQClientSocket& client, const KZString& file, const KZString& date,
                      const KZString& objectName) {
  const KZString name = file.GetFileNameWithoutExtension();
  if (file.GetFileExtension().MakeUpper() != "JSON" || name.empty()) return false;
  VQDialog* dialog = App().DialogList()->Search(name);
  if (dialog == nullptr) return false;
  RunningHooks running(dialog);
  return dialog->OnGetfile(&client, file, date, objectName) != 0;
}

// A block that fails is given up and the next one tried, as a host's own Send() may expect. False
// when none was sent: then the connection is broken.
bool SendBlocks(VQClientSocket& client, std::string_view bytes) {
  Outgoing& out = Connection::Of(client).Out();
  bool isAnySent = false;
  while (!bytes.empty() && !HasNoDescriptor(client)) {
    const std::string_view block = bytes.substr(0, kBlockSize);
    isAnySent = out.SendBlock(block.data(), block.size()) || isAnySent;
    bytes.remove_prefix(block.size());
  }
  return isAnySent;
}

// The bytes and their order are those of sending the whole file here and now; but what the socket
// does not take is sent as it makes room, so that a station that reads slowly, or not at all, keeps
// nobody else waiting. Only a regular file has bytes to send: reading a pipe or a device could
// block, and a directory cannot be read; a station that asked for one waits in vain.
void SendFile(VQClientSocket& client, ResourceFile& resource) {
  Outgoing& out = Connection::Of(client).Out();
  const int file = resource.mFile;
  const auto end = static_cast<std::size_t>(resource.mStatus.st_size);
  if (end == 0 || file < 0 || HasNoDescriptor(client)) return;
  std::size_t sent = 0;
  bool hasMore = true;
  while (hasMore && !out.HasBacklog()) {
    const std::size_t direct = std::min(end - sent, kDirectSize);
    const std::string part = ReadPart(file, sent, direct);
    sent += part.size();
    hasMore = (part.empty() || SendBlocks(client, part)) && sent < end && !HasNoDescriptor(client);
    // Shorter than announced: the queue will notice it, too, and end the connection.
    if (IsInPass() || part.size() < direct) break;
  }
  if (!hasMore) return;
  out.EnqueueFile(resource.mPath, std::exchange(resource.mFile, -1),
                  static_cast<std::int64_t>(sent), static_cast<std::int64_t>(end));
}

}  // namespace

void AnswerGetfile(VQClientSocket& client, const KZString& file, const KZString& date,
                   const KZString& objectName) {
  const std::time_t requested = ParseDate(date);
  Resource resource = LookFor(file);
  const struct stat& status = resource.mFile.mStatus;
  if (status.st_mtime == 0) {
    SendPutfileError(client, file, resource.mError);
    return;
  }
  if (AnswerFromDialog(client, file, date, objectName)) return;
  PutfileReply reply(file);
  reply.SetDateAndObject(FileDate(status.st_mtime), objectName);
  if (status.st_mtime == requested) {
    reply.Set(kKeyStatus, "LATEST");
    client.SendData(reply.GetJson());
    return;
  }
  reply.SetLength(static_cast<int>(status.st_size));
  client.SendData(reply.GetJson());
  SendFile(client, resource.mFile);
}

}  // namespace dorn
