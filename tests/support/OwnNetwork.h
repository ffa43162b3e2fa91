// A network namespace for a test that uses the station port.
#ifndef TESTS_SUPPORT_OWNNETWORK_H_
#define TESTS_SUPPORT_OWNNETWORK_H_

// Gives the calling process a network of its own, with nothing but the loopback interface. False
// where that is not allowed; the process then stays in the network it was in. Call it while the
// process has one thread.
bool EnterOwnNetwork();

#endif  // TESTS_SUPPORT_OWNNETWORK_H_
