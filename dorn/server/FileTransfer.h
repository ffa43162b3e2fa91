// Files that stations ask for: the GETFILE command and its PUTFILE answers.
// Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_FILETRANSFER_H_
#define DORN_SERVER_FILETRANSFER_H_

#include "dorn/base/KZString.h"

class VQClientSocket;

namespace dorn {

// Answers one GETFILE; see VQClientSocket::OnGetfile().
void AnswerGetfile(VQClientSocket& client, const KZString& file, const KZString& date,
                   const KZString& objectName);

}  // namespace dorn

#endif  // DORN_SERVER_FILETRANSFER_H_
