// Includes the whole public interface of libdorn.
#ifndef DORN_DORN_H_
#define DORN_DORN_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/base/KZSemaphore.h"
#include "dorn/base/KZString.h"
#include "dorn/base/KZStringArray.h"

#include "dorn/json/JsonParser.h"
#include "dorn/json/JsonValue.h"
#include "dorn/json/VQValue.h"

#endif  // DORN_DORN_H_
