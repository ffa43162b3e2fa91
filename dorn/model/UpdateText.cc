#include "dorn/model/UpdateText.h"

#include <cstddef>

#include "dorn/model/MemberText.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

// `appendChildren` appends the added objects below an object, and counts them in its argument.
template <class AppendChildren>
void AppendAddedObject(std::string& out, VQJsonObject& object, AppendChildren&& appendChildren) {
  out += '{';
  int members = 0;
  AppendMembers(out, object, members);
  if (object.HasGroup()) {
    AppendComma(out, members);
    out += "\"Objects\":[";
    int children = 0;
    appendChildren(children);
    out += ']';
  }
  out += '}';
}

// An ADD command for the children that were added to `object`.
template <class AppendChildren>
void AppendAddCommand(std::string& out, const VQJsonObject& object,
                      AppendChildren&& appendChildren) {
  out += "{ \"Command\":\"ADD\",\"Name\":\"";
  out += object.mName;
  out += "\", \"Objects\":[";
  int children = 0;
  appendChildren(children);
  out += "]}";
}

// Clears the mark of an added object and appends it: as a command, or, inside one, as an object.
template <class AppendChildren>
void AppendAdded(std::string& out, VQJsonObject& object, int& comma, int& indent,
                 AppendChildren&& appendChildren) {
  object.ResetDirtyAdd();
  AppendComma(out, comma);
  if (indent++ == 0) {
    AppendAddCommand(out, object, appendChildren);
  } else {
    AppendAddedObject(out, object, appendChildren);
  }
  --indent;
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
    if (!allflag && !child.IsDirty() && IsPlainObject(child)) return;
    AppendUpdateCommandRaw(out, child, comma, allflag, sessionid);
  });
}

void AppendDeleteRecord(std::string& out, VQJsonObject& object, int& comma) {
  if (!object.IsDirtyDel()) return;
  if (comma > 0) out += ',';
  ++comma;
  AppendDeleteCommand(out, object);
  object.ResetDirtyDel();
}

void AppendDeleteCommandRaw(std::string& out, VQJsonObject& object, int& comma) {
  AppendDeleteRecord(out, object, comma);
  ForEachChild(object, [&out, &comma](VQJsonObject& child) {
    if (!child.IsDirtyDel() && IsPlainObject(child)) return;
    AppendDeleteCommandRaw(out, child, comma);
  });
}

void AppendAddCommandRaw(std::string& out, VQJsonObject& object, int& comma, int& indent) {
  const auto appendChildren = [&out, &object, &indent](int& children) {
    ForEachChild(object, [&out, &children, &indent](VQJsonObject& child) {
      if (!child.IsDirtyAdd() && IsPlainObject(child)) return;
      AppendAddCommandRaw(out, child, children, indent);
    });
  };
  if (object.IsDirtyAdd()) {
    AppendAdded(out, object, comma, indent, appendChildren);
  } else {
    appendChildren(comma);
  }
}

void AppendAddedObjects(std::string& out, const std::vector<AddedObject>& added, std::size_t first,
                        std::size_t last, int& comma, int& indent) {
  for (std::size_t i = first; i < last;) {
    const AddedObject& entry = added[i++];
    if (!entry.object->IsDirtyAdd()) continue;  // Held twice, and written already.
    AppendAdded(out, *entry.object, comma, indent, [&](int& children) {
      AppendAddedObjects(out, added, i, entry.end, children, indent);
    });
    i = entry.end;
  }
}

int AppendUpdateCommand(std::string& out, VQJsonObject& tree, bool allflag,
                        const KZString& sessionid) {
  return AppendUpdateFrame(out, [&](int& entries) {
    ForEachChild(tree, [&](VQJsonObject& child) {
      AppendUpdateCommandRaw(out, child, entries, allflag, sessionid);
    });
  });
}

void AppendSideCommands(std::string& out, VQJsonObject& tree, int& comma) {
  int indent = 0;
  AppendDeleteCommandRaw(out, tree, comma);
  AppendAddCommandRaw(out, tree, comma, indent);
}

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
