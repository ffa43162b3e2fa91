#ifndef DORN_MODEL_VQJSONPARSER_H_
#define DORN_MODEL_VQJSONPARSER_H_
#include <ostream>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"
class JsonParser;
class DORN_EXPORT VQJsonParser {
 public:
  bool ParseDialog(VQJsonResource* jo, const KZString& json, bool shard);
  bool ParseCommand(VQJsonCommands* jo, const KZString& json);
  VQJsonObject* ParseObject(JsonParser& jp, VQJsonObject* parent, bool shard);
  int ParseList(VQJsonObjectHasList* jo, JsonParser& jp, bool shard);
  VQJsonObject* CreateCommand(const KZString& type);
  VQJsonObject* CreateObject(const KZString& type, const KZString& layout, VQJsonObject* parent);
  bool MakeUpdateCommand(KZString& json, VQJsonResource* jo, bool allflag,
                         const KZString& sessionid);
  void OutUpdateCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma, bool allflag,
                           const KZString& sessionid);
  void OutDeleteCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma);
  void OutAddCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma, int& indent, int create);
};
#endif
