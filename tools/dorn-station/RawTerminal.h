// The terminal of standard input, taken key by key while somebody types.
#ifndef TOOLS_DORN_STATION_RAWTERMINAL_H_
#define TOOLS_DORN_STATION_RAWTERMINAL_H_

class RawTerminal {
 public:
  // Whether standard input and output are a terminal that knows how to erase a row.
  static bool IsThere();

  RawTerminal();
  // As it was found. A signal that ends the program does so too.
  ~RawTerminal();
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;

  static int Columns();
};

// While this lives, the terminal is as it was found: keys that interrupt interrupt.
class CookedTerminal {
 public:
  CookedTerminal();
  ~CookedTerminal();
  CookedTerminal(const CookedTerminal&) = delete;
  CookedTerminal& operator=(const CookedTerminal&) = delete;
};

#endif  // TOOLS_DORN_STATION_RAWTERMINAL_H_
