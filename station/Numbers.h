// Decimal numbers as screens write them and users type them: exact, without floating point.
#ifndef STATION_NUMBERS_H_
#define STATION_NUMBERS_H_

#include <optional>
#include <string>
#include <string_view>

namespace dorn::station {

// digits / 10^decimals.
struct Decimal {
  long long mDigits = 0;
  int mDecimals = 0;
};

// A sign, digits and perhaps a point with digits, with space around it; full-width digits count as
// well. Nothing for all else, and for numbers of more than 15 digits.
std::optional<Decimal> ReadDecimal(std::string_view text);

// `number` / `scale` with so many decimals, rounded half away from zero; never "-0".
std::string WrittenDecimal(const Decimal& number, long long scale, int decimals);

// `number` * `scale`, rounded to so many decimals in the same way.
std::string MultipliedDecimal(const Decimal& number, long long scale, int decimals);

// -1, 0 or 1.
int Compare(const Decimal& number, long long limit);

// The decimals that a scale shows without a format: 1 for 10, 2 for 100.
int DecimalsOfScale(long long scale);

}  // namespace dorn::station

#endif  // STATION_NUMBERS_H_
