#ifndef DORN_JSON_JSONPARSER_H_
#define DORN_JSON_JSONPARSER_H_
#include <vector>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/JsonValue.h"
class VQValue;
using array = value::array;
using object = value::object;
using null = value::null;
class DORN_EXPORT JsonParser {
 public:
  JsonParser() = default;
  virtual ~JsonParser();
  JsonParser(const JsonParser&) = delete;
  JsonParser& operator=(const JsonParser&) = delete;
  bool Parse(const char* json);
  KZString Serialize() const;
  bool IsObject() const;
  bool IsArray(const char* key) const;
  bool IsString(const char* key) const;
  const std::vector<value>& GetArray(const char* key) const;
  value::array::const_iterator Begin(const value::array& list) const;
  bool Next(const value::array& list, value::array::const_iterator& it);
  value::object::const_iterator MapBegin() const;
  bool MapNext(value::object::const_iterator& it, KZString& key) const;
  bool GetObject(const char* key);
  bool GetString(const char* key, KZString& str) const;
  bool GetInteger(const char* key, int& dat) const;
  bool GetBoolean(const char* key, bool& dat) const;
  bool GetValue(const char* key, VQValue& dat) const;
  value mValue;
  const value* mValueCurrent = nullptr;

 private:
  const value* Find(const char* key) const;
};
#endif
