// A global locale that writes 1234567.5 as "1.234.567,5", as a host may have installed one.
#ifndef TESTS_SUPPORT_GROUPINGLOCALE_H_
#define TESTS_SUPPORT_GROUPINGLOCALE_H_

#include <locale>
#include <string>

// The C++ global locale groups digits and has a decimal comma while an object of this class lives.
class GroupingLocale {
 public:
  GroupingLocale()
      : mPrevious(std::locale::global(std::locale(std::locale::classic(), new Punctuation))) {}
  ~GroupingLocale() { std::locale::global(mPrevious); }
  GroupingLocale(const GroupingLocale&) = delete;
  GroupingLocale& operator=(const GroupingLocale&) = delete;

 private:
  class Punctuation : public std::numpunct<char> {
   protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale mPrevious;
};

#endif  // TESTS_SUPPORT_GROUPINGLOCALE_H_
