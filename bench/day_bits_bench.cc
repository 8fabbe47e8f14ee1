// Day-bit operations on the hot path of every pass: counting the available
// minutes of an interval of a day, and the closest available time to the
// right and to the left. Each iteration runs over a pool of varied days and
// times so that the figures are per call, not per one cached case.
#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <vector>

#include "calendar/day_bits.h"

namespace {

using Day = std::array<unsigned char, DAY_BITS_BYTES>;

constexpr int kPool = 1024;  // days and times per pool (a power of two)

// Days made of working runs and gaps of random lengths, the default day
// among them, and times spread over the whole day and a little beyond.
struct Pool {
  std::vector<Day> days;
  std::vector<int> lower;
  std::vector<int> upper;
  Pool() {
    std::mt19937 rng(42);
    for (int i = 0; i < kPool; ++i) {
      Day d{};
      if (i % 8 == 0) {
        for (int b = 0; b < DAY_BITS_BYTES; ++b) d[b] = dayBitsDefault8H[b];
      } else {
        bool on = rng() % 2 == 0;
        for (int k = 0; k < DAY_SLOTS;) {
          const int len = 1 + static_cast<int>(rng() % 48);
          for (int j = 0; j < len && k < DAY_SLOTS; ++j, ++k) {
            if (on) d[k / 8] |= static_cast<unsigned char>(0x80 >> (k % 8));
          }
          on = !on;
        }
      }
      days.push_back(d);
      const int a = static_cast<int>(rng() % 1450);
      const int b = static_cast<int>(rng() % 1450);
      lower.push_back(a < b ? a : b);
      upper.push_back(a < b ? b : a);
    }
  }
};

const Pool& pool() {
  static const Pool p;
  return p;
}

void BM_IntervalCount(benchmark::State& state) {
  const Pool& p = pool();
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        getAveMinutesWithinTimeIntervalFromDayBits(p.days[i].data(), p.lower[i], p.upper[i]));
    i = (i + 1) & (kPool - 1);
  }
}
BENCHMARK(BM_IntervalCount);

// Short intervals inside one or two bytes, as when one placement step looks
// at the next hour of a day.
void BM_IntervalCountShort(benchmark::State& state) {
  const Pool& p = pool();
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(getAveMinutesWithinTimeIntervalFromDayBits(
        p.days[i].data(), p.lower[i], p.lower[i] + 60));
    i = (i + 1) & (kPool - 1);
  }
}
BENCHMARK(BM_IntervalCountShort);

void BM_ClosestRight(benchmark::State& state) {
  const Pool& p = pool();
  int i = 0;
  for (auto _ : state) {
    int t = p.lower[i];
    int next = 0;
    mountClosestRightAveTimeFromDayBits(p.days[i].data(), &t, &next);
    benchmark::DoNotOptimize(t);
    benchmark::DoNotOptimize(next);
    i = (i + 1) & (kPool - 1);
  }
}
BENCHMARK(BM_ClosestRight);

void BM_ClosestLeft(benchmark::State& state) {
  const Pool& p = pool();
  int i = 0;
  for (auto _ : state) {
    int t = p.upper[i];
    int prev = 0;
    mountClosestLeftAveTimeFromDayBits(p.days[i].data(), &t, &prev);
    benchmark::DoNotOptimize(t);
    benchmark::DoNotOptimize(prev);
    i = (i + 1) & (kPool - 1);
  }
}
BENCHMARK(BM_ClosestLeft);

}  // namespace

BENCHMARK_MAIN();
