// Heap accounting for the benchmark programs: every allocation made through
// operator new is counted, so that a benchmark can report the peak of the
// memory a step allocated on top of what existed when it started.
//
// Include this header from exactly one source file of a program: it
// replaces the global operator new and delete. Sizes are what malloc
// really handed out (malloc_usable_size), so nothing is stored in front of
// the blocks and the pointers returned are malloc's own.
#ifndef LEVELER_BENCH_HEAP_METER_H
#define LEVELER_BENCH_HEAP_METER_H

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace heap_meter {
inline std::atomic<long long> gBytesNow{0};
inline std::atomic<long long> gBytesPeak{0};

inline void* countedAlloc(std::size_t n) {
  void* p = std::malloc(n == 0 ? 1 : n);
  if (p == nullptr) throw std::bad_alloc();
  const long long now = gBytesNow += static_cast<long long>(malloc_usable_size(p));
  long long peak = gBytesPeak.load();
  while (now > peak && !gBytesPeak.compare_exchange_weak(peak, now)) {
  }
  return p;
}
inline void countedFree(void* p) {
  if (p == nullptr) return;
  gBytesNow -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}

// Peak bytes allocated above the level at construction.
class PeakMeter {
 public:
  PeakMeter() : base_(gBytesNow.load()) { gBytesPeak = base_; }
  long long peakBytes() const { return gBytesPeak.load() - base_; }
  double peakMB() const { return static_cast<double>(peakBytes()) / (1 << 20); }

 private:
  long long base_;
};
}  // namespace heap_meter

void* operator new(std::size_t n) { return heap_meter::countedAlloc(n); }
void* operator new[](std::size_t n) { return heap_meter::countedAlloc(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
  try {
    return heap_meter::countedAlloc(n);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
  try {
    return heap_meter::countedAlloc(n);
  } catch (...) {
    return nullptr;
  }
}
void operator delete(void* p) noexcept { heap_meter::countedFree(p); }
void operator delete[](void* p) noexcept { heap_meter::countedFree(p); }
void operator delete(void* p, std::size_t) noexcept { heap_meter::countedFree(p); }
void operator delete[](void* p, std::size_t) noexcept { heap_meter::countedFree(p); }

#endif  // LEVELER_BENCH_HEAP_METER_H
