// Makes objects of a JSON document that was read. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_TREEREADER_H_
#define DORN_MODEL_TREEREADER_H_

#include <climits>

#include "dorn/base/KZString.h"
#include "dorn/json/JsonParser.h"
#include "dorn/json/VQValue.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// Whose document it is.
enum class Source { kHost, kStation };

// A "Dialog" or "Commands" member becomes a child of its object and an attribute as well, and so
// does every such member inside. What that costs grows with the length of the document and no
// faster:
//  - A container is converted once. The attribute of an object holds what the attributes of the
//    objects below it are made of, so these share its containers.
//  - In a document of a station, such members make children down to the fourth level of objects
//    only; the objects of the list itself are the first. Otherwise the texts of the attributes,
//    each of which holds the next, would be as long as the square of the document.
//  - Kept: a key counts up to its first zero byte, so one that has such a byte brings another
//    member. In a document of a station, four such keys may bring what is long.
class TreeReader {
 public:
  TreeReader(JsonParser& jp, bool shard, Source source)
      : mReader(jp), mShard(shard), mIsLimited(source == Source::kStation) {}

  // What VQJsonObject::Parse() does.
  void ReadAttributes(VQJsonObject& to) { ReadAttributes(to, nullptr); }

  // What VQJsonParser::ParseObject() does.
  VQJsonObject* ReadObject(VQJsonObject* parent) { return ReadObject(parent, nullptr, 1); }

  // What VQJsonParser::ParseList() does.
  int ReadList(VQJsonObjectHasList& jo) { return ReadList(jo, nullptr, false, 0); }

  // Both, for a list that may have attributes of its own class's making.
  void ReadRoot(VQJsonObjectHasList& jo);

 private:
  static constexpr int kDeepestLevelOfDialogs = 4;
  static constexpr int kLongZeroKeys = 4;

  // `known` is what the current JSON object was converted to before, or null.
  void ReadAttributes(VQJsonObject& to, const VQJObject* known);
  VQJsonObject* ReadObject(VQJsonObject* parent, const VQJObject* known, int level);
  int ReadList(VQJsonObjectHasList& jo, const VQJObject* known, bool isFresh, int level);
  int ReadChildren(VQJsonObjectHasList& jo, const value::array& list, const VQJArray* known,
                   int level);
  int ReadChild(VQJsonObjectHasList& jo, const VQJObject* known, int level);
  VQJsonObject* Create(VQJsonObject* parent) const;
  bool MayBring(const value& member);

  JsonParser& mReader;
  const bool mShard;
  const bool mIsLimited;
  int mZeroKeys = 0;  // Those that have brought something long.
};

}  // namespace dorn

#endif  // DORN_MODEL_TREEREADER_H_
