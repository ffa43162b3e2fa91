// How texts become objects, step by step through the accessors of JsonParser and without sharing
// or remembering anything: what the library's own reader is compared with.
#ifndef TESTS_SUPPORT_LITERALREADER_H_
#define TESTS_SUPPORT_LITERALREADER_H_

#include <string>

#include "dorn/json/JsonParser.h"
#include "dorn/model/VQJsonParser.h"

class LiteralReader {
 public:
  // What VQJsonParser::ParseCommand() does.
  static bool ParseCommand(VQJsonCommands* jo, const KZString& json) {
    LiteralReader reader(true);
    JsonParser& jp = reader.mParser;
    if (!jp.Parse(json) || !jp.IsObject()) return false;
    if (jp.IsArray("Commands")) {
      reader.ReadList(jo, false, 0);
      return true;
    }
    if (!jp.IsString("Command")) return false;
    jo->AddObject(reader.ReadObject(jo, false, 1), 0);
    return true;
  }

  // What VQJsonParser::ParseDialog() does with a text that is one dialog.
  static bool ParseDialog(VQJsonResource* jo, const KZString& json, bool shard) {
    LiteralReader reader(false);
    if (!reader.mParser.Parse(json) || !reader.mParser.IsObject()) return false;
    reader.ReadAttributes(jo, shard);
    reader.ReadList(jo, shard, 1);
    return true;
  }

 private:
  static constexpr int kDeepestDialogs = 4;
  static constexpr int kLongZeroKeys = 4;
  static constexpr std::size_t kLongText = 65;

  explicit LiteralReader(bool isLimited) : mIsLimited(isLimited) {}

  VQJsonObject* ReadObject(VQJsonObject* parent, bool shard, int level) {
    VQJsonObject* made = Create(parent);
    ReadAttributes(made, shard);
    if (made->HasGroup()) ReadList(static_cast<VQJsonObjectHasList*>(made), shard, level);
    return made;
  }

  VQJsonObject* Create(VQJsonObject* parent) {
    VQJsonParser parser;
    KZString word;
    if (mParser.GetString("Command", word)) return parser.CreateCommand(word);
    KZString layout;
    if (!mParser.GetString("Type", word)) return parser.CreateObject("UNKNOWN", layout, parent);
    mParser.GetString("Layout", layout);
    return parser.CreateObject(word, layout, parent);
  }

  void ReadAttributes(VQJsonObject* node, bool shard) {
    mParser.GetString("Name", node->mName);
    KZString list;
    KZStringArray allowed;
    const bool isFiltered = !shard && mParser.GetString("NotifyList", list);
    list.Separate(',', allowed);
    allowed += "Alias";
    allowed += "Type";
    if (node->HasGroup()) allowed += "Layout";
    auto member = mParser.MapBegin();
    KZString key;
    while (mParser.MapNext(member, key)) {
      if (key == "Object" || key == "Objects") continue;
      if (isFiltered && allowed.Find(key) < 0) continue;
      VQValue read;
      if (!mParser.GetValue(key.c_str(), read)) continue;
      if (mIsLimited && key.find('\0') != std::string::npos && IsLong(read) &&
          ++mZeroKeys > kLongZeroKeys) {
        continue;
      }
      node->mList[key] = read;
    }
  }

  static bool IsLong(const VQValue& read) {
    return read.mObject || read.mArray || read.mString.size() >= kLongText;
  }

  int ReadList(VQJsonObjectHasList* jo, bool shard, int level) {
    const bool hasDialogs = !mIsLimited || level <= kDeepestDialogs;
    if (mParser.IsArray("Objects")) return ReadChildren(jo, "Objects", shard, level);
    if (hasDialogs && mParser.IsArray("Commands")) {
      return ReadChildren(jo, "Commands", shard, level);
    }
    if (!mParser.GetObject("Object") && (!hasDialogs || !mParser.GetObject("Dialog"))) return 0;
    return jo->AddObject(ReadObject(jo, shard, level + 1), 0) ? 1 : 0;
  }

  int ReadChildren(VQJsonObjectHasList* jo, const char* key, bool shard, int level) {
    const auto& list = mParser.GetArray(key);
    if (list.empty()) return 0;
    int count = 0;
    auto element = mParser.Begin(list);
    while (mParser.Next(list, element)) {
      if (!mParser.IsObject()) continue;
      count += jo->AddObject(ReadObject(jo, shard, level + 1), 0) ? 1 : 0;
    }
    return count;
  }

  JsonParser mParser;
  const bool mIsLimited;
  int mZeroKeys = 0;
};

#endif  // TESTS_SUPPORT_LITERALREADER_H_
