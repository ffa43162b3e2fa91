// The proxies before the host, which tell where stations really come from.
#ifndef PUMPHOUSE_PROXIES_H_
#define PUMPHOUSE_PROXIES_H_

// Believes the proxies at these IPv4 addresses, with blanks between them, and no others. Null or
// empty: none.
void TrustProxies(const char* addresses);

#endif  // PUMPHOUSE_PROXIES_H_
