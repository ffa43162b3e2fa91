// One parsed JSON document with a cursor: the way in which the dialog layer reads resource files
// and commands. A document belongs to one thread at a time.
#ifndef DORN_JSON_JSONPARSER_H_
#define DORN_JSON_JSONPARSER_H_

#include <vector>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/JsonValue.h"

class VQValue;

// The short names of the reader's types. They are global here alone; other headers do without.
using array = value::array;
using object = value::object;
using null = value::null;

// Owns a document and points at its current value, which is the root after Parse(), an element
// during an array walk, and a member after GetObject(). Nothing moves the cursor back: read what is
// needed of an element before walking an array nested in it.
//
// Keys name members of the current value, whole and literally. A missing key reads as null. With no
// document yet, every keyed accessor returns false or the empty result; on a current value that is
// no object it ends the process (ask IsObject() first where foreign text decides).
class DORN_EXPORT JsonParser {
 public:
  JsonParser() = default;
  virtual ~JsonParser();

  // The cursor points into the document, so a copy would point into its source.
  JsonParser(const JsonParser&) = delete;
  JsonParser& operator=(const JsonParser&) = delete;

  // Reads the zero-terminated text, puts the cursor on its root and returns true. Text behind the
  // first complete value is ignored. On a syntax error prints it to standard output, keeps the
  // document and cursor of before, and returns false.
  bool Parse(const char* json);

  // Kept: always empty. What the server sends is composed elsewhere.
  KZString Serialize() const;

  // Whether the cursor is on an object, so that keyed access is possible.
  bool IsObject() const;

  bool IsArray(const char* key) const;
  bool IsString(const char* key) const;

  // The member's array; otherwise an empty array, the same one each time.
  const std::vector<value>& GetArray(const char* key) const;

  // A walk is `auto it = Begin(a); while (Next(a, it)) ...` over an array of this document that
  // is not empty; in the body the cursor is on the element. After the last Next() it is behind the
  // array and must not be used before it is set anew.
  value::array::const_iterator Begin(const value::array& list) const;
  bool Next(const value::array& list, value::array::const_iterator& it);

  // The first member of the current object, keys in ascending byte order. The cursor must be on an
  // object for this and for MapNext().
  value::object::const_iterator MapBegin() const;

  // Stores the key at `it`, advances `it` and returns true; at the end returns false and leaves
  // `key` alone. The cursor stays.
  bool MapNext(value::object::const_iterator& it, KZString& key) const;

  // Moves the cursor to the member if that is an object; otherwise returns false.
  bool GetObject(const char* key);

  // Each stores the member and returns true if it has exactly this type (3.0 is no integer);
  // otherwise returns false and leaves the output alone.
  bool GetString(const char* key, KZString& str) const;
  bool GetInteger(const char* key, int& dat) const;
  bool GetBoolean(const char* key, bool& dat) const;

  // The member as a dialog value, containers with all they hold. False and `dat` untouched for
  // null, a floating number or a missing key.
  bool GetValue(const char* key, VQValue& dat) const;

  value mValue;                          // The root.
  const value* mValueCurrent = nullptr;  // The cursor; null until a successful Parse().

 private:
  const value* Find(const char* key) const;
};

#endif  // DORN_JSON_JSONPARSER_H_
