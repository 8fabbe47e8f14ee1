// Small helpers shared by the load phase and the processing sequence: log
// lines, banners between rows of asterisks, phase times in seconds of
// processor time (clock ticks x 1e-6), and a walk over a list's elements.
#ifndef LEVELER_NETWORK_SEQUENCE_TRACE_H
#define LEVELER_NETWORK_SEQUENCE_TRACE_H

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "model/linked_list.h"

namespace sequence_trace {

__attribute__((format(printf, 2, 3))) inline void say(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
}

// `line` between two rows of asterisks, flushed, when `on` is set.
inline void banner(FILE* file, int on, const char* line) {
  if (!on || file == nullptr) return;
  say(file,
      "\n*******************************************************\n%s\n"
      "*******************************************************\n",
      line);
  std::fflush(file);
}

inline double secondsSince(std::clock_t t0) {
  return static_cast<double>(std::clock() - t0) * 1e-6;
}

// Calls f(element) for each element from head to tail (the list's current
// position ends on the tail).
template <class F>
void forEachElement(linked_list_type* list, F f) {
  if (list == nullptr || ll_size(list) == 0) return;
  ll_head(list);
  for (int32_t i = 0, n = ll_size(list); i < n; ++i) {
    f(ll_retrieve(list));
    ll_next(list);
  }
}

}  // namespace sequence_trace

#endif  // LEVELER_NETWORK_SEQUENCE_TRACE_H
