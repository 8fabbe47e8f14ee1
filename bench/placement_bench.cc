// Forward placement on a calendar of ten years: one million placements of
// items of 1 to 20 working days (with a partial first day in a quarter of
// them), on the plain view with holidays and short Fridays, and on the
// weekly view. The figure to read is items_per_second (placements per
// second); each run is exactly one million placements.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "schedule/placement.h"

namespace {

using Day = std::array<unsigned char, DAY_BITS_BYTES>;

constexpr int kYears = 10;
constexpr int kPlacements = 1000000;

Day dayOf(std::initializer_list<std::pair<int, int>> ranges) {
  Day d{};
  for (auto [from, to] : ranges) {
    for (int m = from; m < to; m += 5) d[m / 40] |= static_cast<unsigned char>(0x80 >> ((m / 5) % 8));
  }
  return d;
}

std::string hexOf(const Day& d) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(d.data(), buf);
  return buf;
}

// A project calendar of ten years from 2020-01-01: five-day week of
// 08:00-12:00 and 13:00-17:00, ten holidays a year, every fourth Friday
// ending at noon.
struct TenYears {
  project_type* proj;
  storage_manager_type* sm;
  int32_t first;
  int32_t size;
  TenYears() {
    const int origin = dayOfYearToJulian(1950, 1, 1);
    first = dayOfYearToJulian(2020, 1, 1) - origin;
    size = dayOfYearToJulian(2020 + kYears, 1, 1) - origin - first;
    proj = projectCreateNew("BENCH");
    sm = smanagerCreateNew();
    setProjectJulianDateOrigin(proj, origin);
    const Day standard = dayOf({{480, 720}, {780, 1020}});
    const Day empty{};
    for (int w = 1; w <= 7; ++w) {
      setProjectBitsForDaysOfWeek(proj, w, hexOf(w == 1 || w == 7 ? empty : standard).c_str());
    }
    const int firstDow = julianToWeekDay(first + origin);
    setProjectFirstDay(proj, first);
    setProjectFirstDayOfWeek(proj, firstDow);
    setProjectSizeOfCalendar(proj, size);
    setProjectMinutesPerDay(proj, 480);
    const Day morning = dayOf({{480, 720}});
    std::mt19937 rng(2020);
    for (int c = 0; c < size; ++c) {
      const int w = getProjectDayOfWeekForDayCount(proj, c);
      if (w == 1 || w == 7) continue;
      if (rng() % 26 == 0) {
        setProjectExceptionDaysOfYear(proj, c, w, empty.data(), 1);  // about 10 a year
      } else if (w == 6 && (c / 7) % 4 == 0) {
        setProjectExceptionDaysOfYear(proj, c, w, morning.data(), 1);
      }
    }
  }
  ~TenYears() {
    smanagerDelete(sm);
    projectDelete(proj);
  }
};

struct Case {
  int32_t start;
  int32_t effort;
  int offset;
};

std::vector<Case> cases(const TenYears& cal) {
  std::mt19937 rng(1);
  std::uniform_int_distribution<int> day(0, cal.size - 400), days(1, 20), extra(0, 95),
      offset(1, 95);
  std::vector<Case> out;
  out.reserve(kPlacements);
  for (int i = 0; i < kPlacements; ++i) {
    const int32_t effort = 480 * (days(rng) - 1) + 5 * (1 + extra(rng));
    out.push_back({cal.first + day(rng), effort, i % 4 == 0 ? 5 * offset(rng) : 0});
  }
  return out;
}

void placeAll(benchmark::State& state, int16_t view) {
  TenYears cal;
  const std::vector<Case> all = cases(cal);
  activity_type* a = activityCreateNew("ITEM", 3, cal.proj, cal.first, cal.first, 480, 0, 0);
  a->ignoreHolesInCalendar = view;
  FILE* log = std::tmpfile();
  size_t i = 0;
  int64_t failed = 0;
  for (auto _ : state) {
    const Case& c = all[i++];
    a->effort = c.effort;
    int32_t s = c.start, f = c.start + c.effort / 480, d = 1;
    int sST, sFT, fST, fFT, os = c.offset, of = 0;
    const int r = activityScheduleFromStartDate(a, cal.sm, &s, &f, &d, &sST, &sFT, &fST, &fFT, &os,
                                                &of, 1, log);
    failed += r != 1;
    benchmark::DoNotOptimize(f);
  }
  state.SetItemsProcessed(static_cast<int64_t>(i));
  state.counters["failed"] = static_cast<double>(failed);
  activityDelete(a);
  if (log != nullptr) std::fclose(log);
}

void BM_ForwardPlacementPlainView(benchmark::State& state) { placeAll(state, CAL_VIEW_PLAIN); }
void BM_ForwardPlacementWeeklyView(benchmark::State& state) { placeAll(state, CAL_VIEW_REG); }

BENCHMARK(BM_ForwardPlacementPlainView)->Iterations(kPlacements)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_ForwardPlacementWeeklyView)->Iterations(kPlacements)->Unit(benchmark::kNanosecond);

}  // namespace

BENCHMARK_MAIN();
