#include "dorn/model/UpdateText.h"

#include <cstddef>

#include "dorn/model/MemberText.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

// An added object inside an ADD command that is being written.
void AppendAddedObject(std::string& out, VQJsonObject& object, int& indent) {
  out += '{';
  int members = 0;
  AppendMembers(out, object, members);
  if (object.HasGroup()) {
    AppendComma(out, members);
    out += "\"Objects\":[";
    int children = 0;
    ForEachChild(object, [&out, &children, &indent](VQJsonObject& child) {
      AppendAddCommandRaw(out, child, children, indent);
    });
    out += ']';
  }
  out += '}';
}

// An ADD command for the children that were added to `object`.
void AppendAddCommand(std::string& out, VQJsonObject& object, int& indent) {
  out += "{ \"Command\":\"ADD\",\"Name\":\"";
  out += object.mName;
  out += "\", \"Objects\":[";
  int children = 0;
  ForEachChild(object, [&out, &children, &indent](VQJsonObject& child) {
    AppendAddCommandRaw(out, child, children, indent);
  });
  out += "]}";
}

void AppendDeleteCommand(std::string& out, const VQJsonObject& object) {
  if (object.mDirtyDel == kAllChildrenDeleted) {
    out += "{ \"Command\":\"DELETE\",\"Delete\":\"CHILD\",\"Name\":\"";
    out += object.mName;
  } else {
    out += "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"";
    out += object.mDirtyDel;
  }
  out += "\"}";
}

}  // namespace

void AppendUpdateEntry(std::string& out, VQJsonObject& object, int& comma, bool allflag,
                       const KZString& sessionid) {
  if (object.mName.empty() || !(allflag || object.IsDirty())) return;
  const std::size_t start = out.size();
  if (comma != 0) out += ',';
  out += '{';
  int members = 0;
  if (allflag) {
    AppendMembers(out, object, members);
  } else {
    AppendDirtyMembers(out, object, members, sessionid);
  }
  if (members == 0) {
    out.resize(start);
    return;
  }
  out += '}';
  ++comma;
}

void AppendUpdateCommandRaw(std::string& out, VQJsonObject& object, int& comma, bool allflag,
                            const KZString& sessionid) {
  AppendUpdateEntry(out, object, comma, allflag, sessionid);
  ForEachChild(object, [&out, &comma, allflag, &sessionid](VQJsonObject& child) {
    AppendUpdateCommandRaw(out, child, comma, allflag, sessionid);
  });
}

void AppendDeleteCommandRaw(std::string& out, VQJsonObject& object, int& comma) {
  if (object.IsDirtyDel()) {
    if (comma > 0) out += ',';
    ++comma;
    AppendDeleteCommand(out, object);
    object.ResetDirtyDel();
  }
  ForEachChild(object,
               [&out, &comma](VQJsonObject& child) { AppendDeleteCommandRaw(out, child, comma); });
}

void AppendAddCommandRaw(std::string& out, VQJsonObject& object, int& comma, int& indent) {
  if (!object.IsDirtyAdd()) {
    ForEachChild(object, [&out, &comma, &indent](VQJsonObject& child) {
      AppendAddCommandRaw(out, child, comma, indent);
    });
    return;
  }
  object.ResetDirtyAdd();
  AppendComma(out, comma);
  if (indent++ == 0) {
    AppendAddCommand(out, object, indent);
  } else {
    AppendAddedObject(out, object, indent);
  }
  --indent;
}

void BeginUpdateCommand(std::string& out) { out += "{ \"Command\":\"UPDATE\", \"Objects\":["; }

void EndUpdateCommand(std::string& out) { out += "]}\n"; }

KZString JoinCommands(const std::string& update, const std::string& side) {
  if (side.empty()) return update;
  KZString json;
  json.reserve(update.size() + side.size() + 32);
  // Kept: single quotes, which the stations' reader accepts as well.
  json += "{'Commands':[";
  json += update;
  json += ',';
  json += side;
  json += "]}";
  return json;
}

}  // namespace dorn
