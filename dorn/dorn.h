// Includes the whole public interface of libdorn.
#ifndef DORN_DORN_H_
#define DORN_DORN_H_

#include "dorn/base/EscapeText.h"
#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/base/KZSemaphore.h"
#include "dorn/base/KZString.h"
#include "dorn/base/KZStringArray.h"
#include "dorn/base/Trace.h"
#include "dorn/base/Version.h"

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/KZFdData.h"
#include "dorn/loop/KZFdDataList.h"
#include "dorn/loop/KZTimer.h"

#include "dorn/net/KZClientSocket.h"
#include "dorn/net/KZServerSocket.h"
#include "dorn/net/KZSocket.h"
#include "dorn/net/KZSocketUdp.h"

#include "dorn/json/JsonParser.h"
#include "dorn/json/JsonValue.h"
#include "dorn/json/VQValue.h"

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonObjectHasList.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonRadioButton.h"
#include "dorn/model/VQJsonResource.h"

#include "dorn/server/CommandCount.h"
#include "dorn/server/DialogName.h"
#include "dorn/server/HeldLogIn.h"
#include "dorn/server/Observer.h"
#include "dorn/server/PeerAddress.h"
#include "dorn/server/ResourceReport.h"
#include "dorn/server/SessionId.h"
#include "dorn/server/Statistics.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQDialogList.h"
#include "dorn/server/VQDialogMaker.h"
#include "dorn/server/VQSession.h"
#include "dorn/server/VQSessionList.h"
#include "dorn/server/VQStationSocket.h"

#endif  // DORN_DORN_H_
