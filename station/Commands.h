// The texts that a station sends, without the framing bytes.
#ifndef STATION_COMMANDS_H_
#define STATION_COMMANDS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Json.h"

namespace dorn::station {

// What becomes of quotes, backslashes and control characters in the values that are set. A host
// stores and sends what it gets without escaping, so that a typed quote could end a value at every
// other station.
enum class Quotes {
  kEscape,   // Stored with a backslash, and JSON when it comes out of the host again.
  kReplace,  // “ ”, ＼ and U+2028 in their place, for hosts that want no backslashes.
  kRaw       // As typed.
};

// One longer text closes the host's connection.
constexpr std::size_t kMaxSentText = 524286;

// Whether a text may be framed: it holds none of 00, 02 and 03.
bool IsSendable(std::string_view text);

// `text` as it is to be stored.
std::string StoredText(std::string_view text, Quotes quotes);

// What is set of one object; values are strings, integers, booleans, arrays or objects of these.
struct SetObject {
  std::string mName;
  std::vector<std::pair<std::string, Json>> mAttributes;
};

// A fence: a file that no host has. The answer echoes its name, in order with everything else.
std::string FenceFile(unsigned long fence);
// The number of an echoed name; nothing for any other file.
std::optional<unsigned long> FenceOf(std::string_view file);

struct LogIn {
  std::string mId;
  std::string mPass;
  std::string mType = "STATION";
  int mWidth = 1024;
  int mHeight = 768;
};

std::string HelloText(const LogIn& logIn);
// Goes on with a session without asking for a dialog; OPEN names one.
std::string HelloAgainText(std::string_view session, const LogIn& logIn);
std::string KeepaliveText();
std::string ChangeText(std::string_view dialog);
std::string FenceText(unsigned long fence);
// `date`, if not empty, is that of the station's copy.
std::string GetFileText(std::string_view file, std::string_view date = {});
// Empty when it cannot be sent: it is too long, or holds one of 00, 02 and 03 or what is no value.
std::string ConditionText(std::string_view actionName, std::string_view actionType,
                          const std::vector<SetObject>& objects, Quotes quotes = Quotes::kEscape);

// Several commands in one text, which a host executes in one piece.
std::string CommandsText(const std::vector<std::string>& commands);

// The file that holds a dialog: "a@b" is "a/b.json".
std::string FileOfDialog(std::string_view dialog);
// The dialog that a file holds: "a/b.json" is "a@b".
std::string DialogOfFile(std::string_view file);

// Enters a dialog: a fence, behind which its updates begin; the dialog; its tree.
std::string EnterText(unsigned long fence, std::string_view dialog);
// Goes on with a session on a new connection, where no fence is needed: nothing came before.
std::string EnterAgainText(std::string_view session, std::string_view dialog);
// A change between two fences.
std::string ActText(unsigned long before, std::string_view condition, unsigned long after);

// A text from a page, which is not trusted, as it goes to the host.
struct CheckedText {
  std::string mText;    // Empty when it is refused.
  std::string mReason;  // Why, in English; empty when it is not.
};
// Takes {"Command":...} or {"Commands":[...]} of the commands and members that stations send.
// Values inside CONDITION objects are stored as `quotes` says, everything else as it is.
CheckedText CheckedCommand(const Json& fromPage, Quotes quotes = Quotes::kEscape);

}  // namespace dorn::station

#endif  // STATION_COMMANDS_H_
