// Words of the wire protocol and of resource files that several files use: a typo in one of them
// would compile. Internal: not installed.
#ifndef DORN_MODEL_WIREWORDS_H_
#define DORN_MODEL_WIREWORDS_H_

#include <cstddef>
#include <cstring>
#include <string_view>

namespace dorn {

// Whether a text is just this word, without measuring the word each time.
template <std::size_t N>
bool Equals(std::string_view text, const char (&word)[N]) {
  return text.size() == N - 1 && std::memcmp(text.data(), word, N - 1) == 0;
}

// Names a dialog's shared tree and, as an addressee, every session.
constexpr char kSessionIdShared[] = "SessionIdShared";

// In mDirty, stands between the key of an attribute and the session that changed it.
constexpr char kSessionMark[] = "|:|";

// In mDirtyDel, instead of a name: all children were deleted.
constexpr char kAllChildrenDeleted[] = "@LED-CHILD-TNIOP@";

// Keys.
constexpr char kKeyAlias[] = "Alias";
constexpr char kKeyAttr[] = "Attr";
constexpr char kKeyCommand[] = "Command";
constexpr char kKeyCommands[] = "Commands";
constexpr char kKeyData[] = "Data";
constexpr char kKeyDate[] = "Date";
constexpr char kKeyDialog[] = "Dialog";
constexpr char kKeyFile[] = "File";
constexpr char kKeyLayout[] = "Layout";
constexpr char kKeyName[] = "Name";
constexpr char kKeyNotifyList[] = "NotifyList";
constexpr char kKeyObject[] = "Object";
constexpr char kKeyObjectName[] = "ObjectName";
constexpr char kKeyObjects[] = "Objects";
constexpr char kKeySessionId[] = "SessionId";
constexpr char kKeyStatus[] = "Status";
constexpr char kKeyType[] = "Type";
constexpr char kKeyValue[] = "Value";

// Command words.
constexpr char kCommandChange[] = "CHANGE";
constexpr char kCommandCondition[] = "CONDITION";
constexpr char kCommandDialog[] = "DIALOG";
constexpr char kCommandError[] = "ERROR";
constexpr char kCommandGetfile[] = "GETFILE";
constexpr char kCommandHello[] = "HELLO";
constexpr char kCommandKeepalive[] = "KEEPALIVE";
constexpr char kCommandOpen[] = "OPEN";
constexpr char kCommandPutfile[] = "PUTFILE";

// Values.
constexpr char kTypeGrid[] = "GRID";
constexpr char kTypeGroup[] = "GROUP";
constexpr char kTypeRadioButton[] = "RADIOBTN";
constexpr char kLayoutRadio[] = "RADIO";
constexpr char kOn[] = "ON";
constexpr char kOff[] = "OFF";

}  // namespace dorn

#endif  // DORN_MODEL_WIREWORDS_H_
