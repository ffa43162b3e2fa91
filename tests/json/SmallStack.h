// Runs a piece of a test on a thread with a small stack.
#ifndef TESTS_JSON_SMALLSTACK_H_
#define TESTS_JSON_SMALLSTACK_H_

#include <pthread.h>

#include <cstddef>
#include <functional>

// Runs `body` on a thread with a stack of 1 MiB and returns when it has ended; false if there was
// no such thread. An overflow of that stack ends the process.
inline bool RunOnSmallStack(const std::function<void()>& body) {
  constexpr std::size_t kStackBytes = std::size_t{1} << 20;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  pthread_t thread{};
  const bool started = pthread_attr_setstacksize(&attributes, kStackBytes) == 0 &&
                       pthread_create(
                           &thread, &attributes,
                           [](void* argument) -> void* {
                             (*static_cast<const std::function<void()>*>(argument))();
                             return nullptr;
                           },
                           const_cast<std::function<void()>*>(&body)) == 0;
  pthread_attr_destroy(&attributes);
  return started && pthread_join(thread, nullptr) == 0;
}

#endif  // TESTS_JSON_SMALLSTACK_H_
