#include "tests/model/ReferenceTree.h"

#include <cstdlib>

namespace {

using Parts = std::vector<std::string>;

std::string Joined(const Parts& parts, const char* separator = ",") {
  std::string text;
  for (size_t i = 0; i < parts.size(); ++i) text += (i == 0 ? "" : separator) + parts[i];
  return text;
}

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

std::string Lookup(const RefNode& node, const std::string& key) {
  const auto found = node.attributes.find(key);
  return found == node.attributes.end() ? "" : found->second.Json();
}

void CollectDeletes(RefNode& node, Parts& commands) {
  if (!node.deleted.empty()) {
    const bool all = node.deleted == "@LED-CHILD-TNIOP@";
    commands.push_back("{ \"Command\":\"DELETE\",\"Delete\":\"" +
                       std::string(all ? "CHILD" : "THIS") + "\",\"Name\":\"" +
                       (all ? node.name : node.deleted) + "\"}");
    node.deleted.clear();
  }
  for (auto& child : node.children) CollectDeletes(*child, commands);
}

void CollectAdds(RefNode& node, bool inside, Parts& items);

std::string AddedChildren(RefNode& node) {
  Parts items;
  for (auto& child : node.children) CollectAdds(*child, true, items);
  return Joined(items);
}

void CollectAdds(RefNode& node, bool inside, Parts& items) {
  if (!node.added) {
    for (auto& child : node.children) CollectAdds(*child, inside, items);
    return;
  }
  node.added = false;
  if (!inside) {
    items.push_back("{ \"Command\":\"ADD\",\"Name\":\"" + node.name + "\", \"Objects\":[" +
                    AddedChildren(node) + "]}");
    return;
  }
  const std::string members = node.Members();
  std::string item = "{" + members;
  if (node.IsGroup()) {
    if (!members.empty()) item += ",";
    item += "\"Objects\":[" + AddedChildren(node) + "]";
  }
  items.push_back(item + "}");
}

void CollectEntries(RefNode& node, bool all, const std::string& session, Parts& entries) {
  if (!node.name.empty() && (all || !node.dirty.empty())) {
    const std::string members = all ? node.Members() : node.DirtyMembers(session);
    if (!members.empty()) entries.push_back("{" + members + "}");
  }
  for (auto& child : node.children) CollectEntries(*child, all, session, entries);
}

}  // namespace

RefValue RefValue::None() { return {}; }

RefValue RefValue::Int(int n) { return {kInt, n, std::to_string(n), {}, {}}; }

RefValue RefValue::Bool(bool b) { return {kBool, b ? 1 : 0, b ? "true" : "false", {}, {}}; }

RefValue RefValue::String(const std::string& s) {
  return {kString, std::atoi(s.c_str()), s, {}, {}};
}

RefValue RefValue::Object(const std::map<std::string, RefValue>& members) {
  return {kObject, 0, "{}", members, {}};
}

RefValue RefValue::Array(const std::vector<RefValue>& elements) {
  return {kArray, 0, "[]", {}, elements};
}

VQValue RefValue::Real() const {
  switch (kind) {
    case kInt:
      return VQValue(number);
    case kString:
      return VQValue(text);
    case kBool:
      return VQValue(number != 0);
    case kObject: {
      VQJObject object;
      for (const auto& [key, member] : members) object[KZString(key)] = member.Real();
      return VQValue(object);
    }
    case kArray: {
      VQJArray array;
      for (const RefValue& element : elements) array.push_back(element.Real());
      return VQValue(array);
    }
    case kNone:
      break;
  }
  return VQValue();
}

bool RefValue::Equals(const RefValue& stored) const {
  switch (stored.kind) {
    case kInt:
      return number == stored.number;
    case kString:
      return text == stored.text;
    case kBool:
      return (number != 0) == (stored.number != 0);
    case kObject: {
      if (kind != kObject || members.size() != stored.members.size()) return false;
      auto mine = members.begin();
      for (const auto& [key, member] : stored.members) {
        if (mine->first != key || !mine->second.Equals(member)) return false;
        ++mine;
      }
      return true;
    }
    case kArray: {
      if (kind != kArray || elements.size() != stored.elements.size()) return false;
      for (size_t i = 0; i < elements.size(); ++i)
        if (!elements[i].Equals(stored.elements[i])) return false;
      return true;
    }
    case kNone:
      break;
  }
  return false;
}

std::string RefValue::Text() const {
  if (kind == kObject) {
    Parts parts;
    for (const auto& [key, member] : members)
      parts.push_back(Quoted(key) + ":" + Quoted(member.Text()));
    return "{" + Joined(parts) + "}";
  }
  if (kind == kArray) {
    Parts parts;
    for (const RefValue& element : elements) parts.push_back(element.text);
    return "[" + Joined(parts, "") + "]";
  }
  return text;
}

std::string RefValue::Json() const {
  if (kind == kString) return Quoted(text);
  if (kind != kArray) return Text();
  Parts parts;
  for (const RefValue& element : elements) parts.push_back(element.Json());
  return "[" + Joined(parts) + "]";
}

void RefNode::Store(const std::string& key, const RefValue& value, int mode,
                    const std::string& session) {
  RefValue& current = attributes[key];
  const bool differs = !value.Equals(current);
  if (mode == -1 && !differs) return;
  if (mode >= 1 || mode == -1) dirty.insert(session.empty() ? key : key + "|:|" + session);
  current = value;
  if (key == "Name") name = value.text;
}

void RefNode::SetValue(const std::string& key, const RefValue& value, int mode,
                       const std::string& session) {
  if (kind == kButton && (key == "Attr" || key == "Value") && value.text == "ON" &&
      parent != nullptr && parent->kind == kRadioGroup)
    parent->SwitchOff();
  Store(key, value, mode, session);
}

void RefNode::SwitchOff() {
  for (auto& child : children) {
    const auto type = child->attributes.find("Type");
    const auto attr = child->attributes.find("Attr");
    if (type == child->attributes.end() || type->second.text != "RADIOBTN") continue;
    if (attr == child->attributes.end() || attr->second.text != "ON") continue;
    child->Store("Attr", RefValue::String("OFF"), -1, "");
  }
}

void RefNode::Add(std::unique_ptr<RefNode> child, bool mark) {
  if (mark) added = child->added = true;
  children.push_back(std::move(child));
}

void RefNode::RecordDeletion(const std::string& gone) {
  const std::string record = gone;
  deleted = record;
  if (record == "@LED-CHILD-TNIOP@") {
    children.clear();
    return;
  }
  for (auto it = children.begin(); it != children.end(); ++it) {
    if ((*it)->name != record) continue;
    children.erase(it);
    return;
  }
}

void RefNode::DeleteThis() {
  if (parent != nullptr) parent->RecordDeletion(name);
}

void RefNode::DeleteChildren() {
  if (IsGroup()) RecordDeletion("@LED-CHILD-TNIOP@");
}

void RefNode::ResetDirty() {
  dirty.clear();
  for (auto& child : children) child->ResetDirty();
}

RefNode* RefNode::Search(const std::string& wanted) {
  if (name == wanted) return this;
  for (auto& child : children)
    if (RefNode* found = child->Search(wanted)) return found;
  return nullptr;
}

std::string RefNode::Members() const {
  Parts parts;
  for (const auto& [key, value] : attributes) parts.push_back(Quoted(key) + ":" + value.Json());
  std::string text = Joined(parts);
  if (kind != kGrid) return text;
  Parts lines;
  for (const auto& row : rows) {
    Parts cells;
    for (const RefValue& cell : row) cells.push_back(cell.Json());
    lines.push_back("[" + Joined(cells) + "]");
  }
  return text + (parts.empty() ? "" : ",\n") + "\"Data\":[" + Joined(lines, ",\n") + "]";
}

std::string RefNode::Json() const {
  const std::string members = Members();
  if (children.empty()) return "{" + members + "}";
  Parts parts;
  for (const auto& child : children) parts.push_back(child->Json());
  return "{" + members + (members.empty() ? "" : ",") + "\"Objects\":[" + Joined(parts) + "]}";
}

std::string RefNode::DirtyMembers(const std::string& session) {
  Parts parts;
  for (const std::string& entry : dirty) {
    std::string key = entry;
    const size_t mark = entry.find("|:|");
    if (!session.empty() && mark != std::string::npos) {
      if (entry.substr(mark + 3) == session) continue;
      key = entry.substr(0, mark);
    }
    parts.push_back(Quoted(key) + ":" + Lookup(*this, key));
  }
  if (parts.empty()) return "";
  parts.push_back("\"Name\":" + attributes["Name"].Json());
  return Joined(parts);
}

std::string RefEntries(RefNode& node, bool all, const std::string& session) {
  Parts entries;
  CollectEntries(node, all, session, entries);
  return Joined(entries);
}

std::string RefUpdate(RefNode& root, bool all, const std::string& session) {
  Parts entries;
  for (auto& child : root.children) CollectEntries(*child, all, session, entries);
  return "{ \"Command\":\"UPDATE\", \"Objects\":[" + Joined(entries) + "]}\n";
}

std::string RefSide(RefNode& root) {
  Parts commands;
  CollectDeletes(root, commands);
  CollectAdds(root, false, commands);
  return Joined(commands);
}

std::string RefJoin(const std::string& update, const std::string& side) {
  return side.empty() ? update : "{'Commands':[" + update + "," + side + "]}";
}
