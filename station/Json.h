// One JSON datum as stations hold it, and its strict text.
#ifndef STATION_JSON_H_
#define STATION_JSON_H_

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::station {

// A number keeps the text that it was read from, so that none is rounded on its way to a screen.
// Members are in byte order of their keys, as hosts write them.
struct Json {
  enum class Kind : unsigned char { kNull, kBool, kNumber, kString, kArray, kObject };
  using Array = std::vector<Json>;
  using Object = std::map<std::string, Json, std::less<>>;

  Json() = default;
  explicit Json(bool truth) : mKind(Kind::kBool), mTruth(truth) {}
  static Json Number(std::string_view text);
  static Json Number(long long number) { return Number(std::to_string(number)); }
  static Json String(std::string_view text);
  static Json MakeArray(Array elements = {});
  static Json MakeObject(Object members = {});

  bool IsNull() const { return mKind == Kind::kNull; }
  bool IsString() const { return mKind == Kind::kString; }
  bool IsNumber() const { return mKind == Kind::kNumber; }
  bool IsArray() const { return mKind == Kind::kArray; }
  bool IsObject() const { return mKind == Kind::kObject; }

  // A string's bytes, a number as it was written, "true" or "false"; empty for all else.
  std::string_view Text() const;

  // The member with this key, or null where there is none or this is no object.
  const Json* Find(std::string_view key) const;
  // Its text; empty where Find() gives null.
  std::string_view TextOf(std::string_view key) const;

  // Appends strict JSON. Texts must be valid UTF-8 to give valid JSON.
  void Write(std::string& out) const;
  std::string Written() const;

  bool operator==(const Json& other) const;
  bool operator!=(const Json& other) const { return !(*this == other); }

  Kind mKind = Kind::kNull;
  bool mTruth = false;
  // Of an object that was read: it had a member "Data" without a value. Hosts write so when a
  // grid's table has changed, and the reader drops such members. Not compared, not written.
  bool mHadEmptyData = false;
  std::string mText;
  Array mElements;
  Object mMembers;
};

// Appends `text` between double quotes, escaped as JSON asks.
void AppendQuoted(std::string& out, std::string_view text);
std::string Quoted(std::string_view text);

}  // namespace dorn::station

#endif  // STATION_JSON_H_
