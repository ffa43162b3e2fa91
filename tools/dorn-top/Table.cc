#include "tools/dorn-top/Table.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "station/Json.h"

namespace dorn::top {

namespace {

using Cell = std::optional<double>;

struct Column {
  const char* mTitle;
  int mWidth;
  std::string (*mText)(const Source& source);
};

std::string Shown(const Cell& cell) { return cell ? ShortNumber(*cell) : "-"; }
std::string Now(const Source& source, const char* name) {
  return Shown(source.Last()->Number(name));
}
std::string Rate(const Source& source, const char* name) { return Shown(source.Rate(name)); }

std::string Slowest(const Source& source) {
  const Cell longest = source.Last()->Number("longest_pass_microseconds");
  return longest ? ShortTime(*longest) : "-";
}

constexpr Column kColumns[] = {
    {"STATIONS", 8, [](const Source& source) { return Now(source, "stations"); }},
    {"LOGIN", 5, [](const Source& source) { return Now(source, "stations_logged_in"); }},
    {"SESS", 5, [](const Source& source) { return Now(source, "sessions"); }},
    {"IN/s", 5, [](const Source& source) { return Rate(source, "messages_in_total"); }},
    {"OUT/s", 5, [](const Source& source) { return Rate(source, "messages_out_total"); }},
    {"B-IN/s", 6, [](const Source& source) { return Rate(source, "bytes_in_total"); }},
    {"B-OUT/s", 7, [](const Source& source) { return Rate(source, "bytes_out_total"); }},
    {"QUEUED", 6, [](const Source& source) { return Now(source, "queued_bytes"); }},
    {"SLOWEST", 7, Slowest}};

constexpr char kHostTitle[] = "HOST";

void AppendRight(std::string& line, const std::string& text, int width) {
  const auto wanted = static_cast<std::size_t>(width);
  if (text.size() < wanted) line.append(wanted - text.size(), ' ');
  line.append(text).append(" ");
}

std::string Formatted(const char* format, double number) {
  char text[400];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

void AppendMember(std::string& out, const std::string& key, const std::string& value) {
  if (out.back() != '{') out += ',';
  out.append(station::Quoted(key)).append(":").append(value);
}

std::string JsonOf(const Source& source) {
  std::string out = "{";
  AppendMember(out, "host", station::Quoted(source.Path()));
  if (!source.Last()) {
    AppendMember(out, "error", station::Quoted(source.Why()));
    return out + "}";
  }
  std::string now = "{";
  std::string rates = "{";
  for (const auto& [name, number] : source.Last()->mNumbers) {
    AppendMember(now, name, Formatted("%.0f", number));
    const Cell rate = source.Rate(name);
    const bool isCounter = name.size() > 6 && name.compare(name.size() - 6, 6, "_total") == 0;
    if (isCounter && rate) AppendMember(rates, name, Formatted("%.2f", *rate));
  }
  std::string closed = "{";
  for (const auto& [reason, number] : source.Last()->mClosed) {
    AppendMember(closed, reason, Formatted("%.0f", number));
  }
  AppendMember(out, "now", now + "}");
  AppendMember(out, "closed", closed + "}");
  AppendMember(out, "rates", rates + "}");
  return out + "}";
}

}  // namespace

std::string ShortNumber(double number) {
  const char* unit = "";
  for (const char* larger : {"K", "M", "G", "T"}) {
    if (number < 999.5) break;
    number /= 1000;
    unit = larger;
  }
  const bool isWhole = number >= 9.95 || (*unit == '\0' && number == std::floor(number));
  return Formatted(isWhole ? "%.0f" : "%.1f", number) + unit;
}

std::string ShortTime(double microseconds) {
  if (microseconds < 1000) return Formatted("%.0fus", microseconds);
  if (microseconds < 1e6) return Formatted("%.1fms", microseconds / 1e3);
  return Formatted("%.2fs", microseconds / 1e6);
}

std::string HeadLine() {
  std::string line;
  for (const Column& column : kColumns) AppendRight(line, column.mTitle, column.mWidth);
  return line + kHostTitle;
}

std::string RowOf(const Source& source) {
  std::string line;
  if (source.Last()) {
    for (const Column& column : kColumns) AppendRight(line, column.mText(source), column.mWidth);
  } else {
    line = source.Why();
    line.resize(HeadLine().size() - std::strlen(kHostTitle), ' ');
  }
  return line + source.Path();
}

std::string ConnectionsOf(const Source& source) {
  if (!source.Last()) return "";
  std::string line = "accepted " + Now(source, "accepted_total");
  line += ", refused " + Now(source, "refused_total");
  line += ", unreadable " + Now(source, "unreadable_total") + ", closed:";
  bool isFirst = true;
  for (const auto& [reason, number] : source.Last()->mClosed) {
    if (number == 0) continue;
    line.append(isFirst ? " " : ", ").append(reason).append(" ").append(ShortNumber(number));
    isFirst = false;
  }
  return isFirst ? line + " none" : line;
}

std::string AsJson(const std::vector<Source>& sources) {
  std::string out = "[";
  for (const Source& source : sources) {
    if (out.size() > 1) out += ",\n ";
    out += JsonOf(source);
  }
  return out + "]\n";
}

}  // namespace dorn::top
