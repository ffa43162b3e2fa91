#include "Proxies.h"

#include <dorn/dorn.h>

#include <sstream>
#include <string>
#include <vector>

void TrustProxies(const char* addresses) {
  std::vector<KZString> trusted;
  std::istringstream words(addresses != nullptr ? addresses : "");
  for (std::string word; words >> word;) trusted.emplace_back(word.c_str());
  dorn::SetTrustedProxies(trusted);
}
