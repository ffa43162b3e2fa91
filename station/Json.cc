#include "station/Json.h"

#include <cstdio>

namespace dorn::station {

namespace {

// The letter of a short escape, or 0.
char ShortEscape(char c) {
  switch (c) {
    case '"':
    case '\\':
      return c;
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    default:
      return 0;
  }
}

void WriteArray(const Json::Array& elements, std::string& out) {
  char before = '[';
  for (const Json& element : elements) {
    out += before;
    element.Write(out);
    before = ',';
  }
  if (elements.empty()) out += '[';
  out += ']';
}

void WriteObject(const Json::Object& members, std::string& out) {
  char before = '{';
  for (const auto& [key, member] : members) {
    out += before;
    AppendQuoted(out, key);
    out += ':';
    member.Write(out);
    before = ',';
  }
  if (members.empty()) out += '{';
  out += '}';
}

}  // namespace

Json Json::Number(std::string_view text) {
  Json json;
  json.mKind = Kind::kNumber;
  json.mText = text;
  return json;
}

Json Json::String(std::string_view text) {
  Json json;
  json.mKind = Kind::kString;
  json.mText = text;
  return json;
}

Json Json::MakeArray(Array elements) {
  Json json;
  json.mKind = Kind::kArray;
  json.mElements = std::move(elements);
  return json;
}

Json Json::MakeObject(Object members) {
  Json json;
  json.mKind = Kind::kObject;
  json.mMembers = std::move(members);
  return json;
}

std::string_view Json::Text() const {
  if (mKind == Kind::kBool) return mTruth ? "true" : "false";
  return mText;
}

const Json* Json::Find(std::string_view key) const {
  const auto found = mMembers.find(key);
  return found == mMembers.end() ? nullptr : &found->second;
}

std::string_view Json::TextOf(std::string_view key) const {
  const Json* member = Find(key);
  return member == nullptr ? std::string_view() : member->Text();
}

void Json::Write(std::string& out) const {
  switch (mKind) {
    case Kind::kNull:
      out += "null";
      break;
    case Kind::kBool:
    case Kind::kNumber:
      out += Text();
      break;
    case Kind::kString:
      AppendQuoted(out, mText);
      break;
    case Kind::kArray:
      WriteArray(mElements, out);
      break;
    case Kind::kObject:
      WriteObject(mMembers, out);
      break;
  }
}

std::string Json::Written() const {
  std::string out;
  Write(out);
  return out;
}

bool Json::operator==(const Json& other) const {
  return mKind == other.mKind && mTruth == other.mTruth && mText == other.mText &&
         mElements == other.mElements && mMembers == other.mMembers;
}

void AppendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (const char letter = ShortEscape(c); letter != 0) {
      out += '\\';
      out += letter;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  out += '"';
}

std::string Quoted(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  AppendQuoted(out, text);
  return out;
}

}  // namespace dorn::station
