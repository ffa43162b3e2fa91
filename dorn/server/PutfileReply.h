// The PUTFILE command, which answers a GETFILE. Internal: not installed.
#ifndef DORN_SERVER_PUTFILEREPLY_H_
#define DORN_SERVER_PUTFILEREPLY_H_

#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/WireWords.h"

namespace dorn {

// An answer with its common members.
class PutfileReply : public VQJsonCommand {
 public:
  explicit PutfileReply(const KZString& file) : VQJsonCommand(kCommandPutfile) {
    Set(kKeyFile, file);
  }

  // The reply is followed by so many bytes.
  void SetLength(int length) { Set("Length", length); }

  void Set(const char* key, const VQValue& value) { SetValue(key, value, -1, ""); }

  void SetDateAndObject(const KZString& date, const KZString& objectName) {
    Set(kKeyDate, date);
    if (!objectName.empty()) Set(kKeyObjectName, objectName);
  }
};

}  // namespace dorn

#endif  // DORN_SERVER_PUTFILEREPLY_H_
