// Values as they are shown, and as they are typed.
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "station/Numbers.h"
#include "station/Screen.h"
#include "station/Utf8.h"

namespace dorn::station {

namespace {

std::string TimeText(long long seconds) {
  const bool isNegative = seconds < 0;
  if (isNegative) seconds = -seconds;
  char text[40];
  std::snprintf(text, sizeof text, "%s%lld:%02d:%02d", isNegative ? "-" : "", seconds / 3600,
                static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  return text;
}

// What lies so far away that a browser's Date does not take it, and the C library forgets summer
// times, is shown by years of the same calendar.
constexpr long long kFarthest = 8'000'000'000'000;
constexpr long long kCycle = 146'097LL * 86'400;
constexpr long long kCycleYears = 400;

long long CyclesBeyond(long long seconds) {
  const long long beyond = std::llabs(seconds) - kFarthest;
  if (beyond <= 0) return 0;
  return (seconds < 0 ? -1 : 1) * (beyond / kCycle + 1);
}

std::string DatetimeText(long long seconds) {
  const long long cycles = CyclesBeyond(seconds);
  const auto time = static_cast<std::time_t>(seconds - cycles * kCycle);
  std::tm fields{};
  if (localtime_r(&time, &fields) == nullptr) return "";
  char text[100];
  std::snprintf(text, sizeof text, "%lld-%02d-%02d %02d:%02d:%02d",
                fields.tm_year + 1900 + cycles * kCycleYears, fields.tm_mon + 1, fields.tm_mday,
                fields.tm_hour, fields.tm_min, fields.tm_sec);
  return text;
}

std::string Bullets(std::string_view text) {
  std::string bullets;
  for (std::size_t i = CharactersOf(text); i > 0; --i) bullets += "\u2022";
  return bullets;
}

// Without a scale a text stays as it is, unless decimals were asked for.
std::string NumberText(const Item& item, const Decimal& number, std::string_view raw) {
  const bool asIs = item.mFormat != Format::kNumber && item.mScale == 1;
  return asIs ? std::string(raw) : WrittenDecimal(number, item.mScale, item.mDecimals);
}

Typed Refused(Typed::Refusal refusal) { return {std::nullopt, refusal}; }

Typed CheckNumber(const Item& edit, std::string_view typed) {
  const auto number = ReadDecimal(typed);
  if (!number) return Refused(Typed::Refusal::kNoNumber);
  const bool isScaled = edit.mScale > 1;
  // The host gets integers where there is a scale, else what the format can show.
  const int decimals = isScaled                          ? 0
                       : edit.mFormat == Format::kNumber ? edit.mDecimals
                                                         : number->mDecimals;
  const std::string value = MultipliedDecimal(*number, edit.mScale, decimals);
  const auto sent = ReadDecimal(value);
  if (!sent) return Refused(Typed::Refusal::kNoNumber);
  if (edit.mMin && Compare(*sent, *edit.mMin) < 0) return Refused(Typed::Refusal::kTooLow);
  if (edit.mMax && Compare(*sent, *edit.mMax) > 0) return Refused(Typed::Refusal::kTooHigh);
  return {value, Typed::Refusal::kNone};
}

}  // namespace

std::string FormattedValue(const Item& item, std::string_view raw) {
  if (item.mFormat == Format::kPassword) return Bullets(raw);
  const auto number = ReadDecimal(raw);
  if (!number) return std::string(raw);
  switch (item.mFormat) {
    case Format::kNumber:
    case Format::kBar:
    case Format::kSpark:
      return NumberText(item, *number, raw);
    case Format::kTime:
      return TimeText(std::stoll(WrittenDecimal(*number, item.mScale, 0)));
    case Format::kDatetime:
      return DatetimeText(std::stoll(WrittenDecimal(*number, item.mScale, 0)));
    default:
      return std::string(raw);
  }
}

Typed CheckTyped(const Item& edit, std::string_view typed) {
  if (!IsSendable(typed)) return Refused(Typed::Refusal::kNotSendable);
  if (edit.mIsNumeric) return CheckNumber(edit, typed);
  if (edit.mMaxLength > 0 && CharactersOf(typed) > static_cast<std::size_t>(edit.mMaxLength)) {
    return Refused(Typed::Refusal::kTooLong);
  }
  return {std::string(typed), Typed::Refusal::kNone};
}

}  // namespace dorn::station
