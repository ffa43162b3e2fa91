#include "station/Numbers.h"

namespace dorn::station {

namespace {

__extension__ using Wide = __int128;

constexpr std::size_t kMostDigits = 15;

Wide PowerOfTen(int exponent) {
  Wide power = 1;
  for (; exponent > 0; --exponent) power *= 10;
  return power;
}

// Half away from zero.
Wide RoundedQuotient(Wide dividend, Wide divisor) {
  const bool isNegative = dividend < 0;
  if (isNegative) dividend = -dividend;
  const Wide quotient = (2 * dividend + divisor) / (2 * divisor);
  return isNegative ? -quotient : quotient;
}

std::string WithPoint(Wide number, int decimals) {
  const bool isNegative = number < 0;
  if (isNegative) number = -number;
  std::string text;
  for (int place = 0; number > 0 || place <= decimals; ++place, number /= 10) {
    if (place == decimals && decimals > 0) text += '.';
    text += static_cast<char>('0' + static_cast<int>(number % 10));
  }
  if (isNegative) text += '-';
  return {text.rbegin(), text.rend()};
}

// Full-width digits, points and signs, as Japanese input methods write them.
std::string Narrowed(std::string_view text) {
  std::string narrow;
  while (!text.empty()) {
    const std::string_view wide = text.substr(0, 3);
    if (wide.size() == 3 && wide[0] == '\xEF' && wide[1] == '\xBC' && wide[2] >= '\x8B' &&
        wide[2] <= '\x99') {
      narrow += static_cast<char>(wide[2] - '\x8B' + '+');
      text.remove_prefix(3);
    } else {
      narrow += text.front();
      text.remove_prefix(1);
    }
  }
  return narrow;
}

}  // namespace

std::optional<Decimal> ReadDecimal(std::string_view text) {
  const std::string narrow = Narrowed(text);
  std::string_view left = narrow;
  const std::size_t start = left.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return std::nullopt;
  left = left.substr(start, left.find_last_not_of(" \t\r\n") - start + 1);
  const bool isNegative = left.front() == '-';
  if (isNegative || left.front() == '+') left.remove_prefix(1);
  Decimal decimal;
  std::size_t digits = 0;
  std::size_t point = std::string_view::npos;
  for (std::size_t at = 0; at < left.size(); ++at) {
    if (left[at] == '.' && point == std::string_view::npos && at > 0) {
      point = at;
    } else if (left[at] >= '0' && left[at] <= '9' && digits < kMostDigits) {
      decimal.mDigits = decimal.mDigits * 10 + (left[at] - '0');
      ++digits;
    } else {
      return std::nullopt;
    }
  }
  if (digits == 0 || point == left.size() - 1) return std::nullopt;
  if (point != std::string_view::npos)
    decimal.mDecimals = static_cast<int>(left.size() - point - 1);
  if (isNegative) decimal.mDigits = -decimal.mDigits;
  return decimal;
}

std::string WrittenDecimal(const Decimal& number, long long scale, int decimals) {
  const Wide dividend = Wide{number.mDigits} * PowerOfTen(decimals);
  return WithPoint(RoundedQuotient(dividend, PowerOfTen(number.mDecimals) * scale), decimals);
}

std::string MultipliedDecimal(const Decimal& number, long long scale, int decimals) {
  const Wide dividend = Wide{number.mDigits} * scale * PowerOfTen(decimals);
  return WithPoint(RoundedQuotient(dividend, PowerOfTen(number.mDecimals)), decimals);
}

int Compare(const Decimal& number, long long limit) {
  const Wide scaled = Wide{limit} * PowerOfTen(number.mDecimals);
  return number.mDigits < scaled ? -1 : number.mDigits > scaled ? 1 : 0;
}

int DecimalsOfScale(long long scale) {
  int decimals = 0;
  for (long long power = 1; power < scale && decimals < 9; power *= 10) ++decimals;
  return decimals;
}

}  // namespace dorn::station
