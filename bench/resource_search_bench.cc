// The levelling procedures as the main loop drives them: per assignment one
// LEVEL_FC_SEARCH_2 and one U_LEVEL_STRING, LEVEL_COMMIT every 400
// assignments, after FC_INI_ASSIGN_STR and LEVEL_FC_CREATE_CDY_LEVEL.
//
// Portfolio: one project whose calendar is the five-day week for 2024-2040,
// 200 full-time resources, and 10,000 or 100,000 assignments of one to
// five days each, spread round the resources, the j-th assignment of a
// resource searching from about 1.2 x j working weeks on (with a jitter of
// up to nine days), so that a resource is about half loaded wherever a
// search starts and searches collide now and then. With ten times the
// assignments the portfolio, the resources' load profiles and the tables
// are ten times larger while each search scans about as many days: the
// time per placement ("per_placement", in seconds; also real_time / placements)
// must stay about the same. Data set-up is not timed. Run with
// --benchmark_repetitions=3 for medians. "search_us" and "store_us" are the
// microseconds per placement spent in LEVEL_FC_SEARCH_2 and U_LEVEL_STRING;
// the rest is the commits.
//
// Measured on the shared 2-core machine (Release, medians of 3): 10,000
// placements 85 us each (search 27, store 43); 100,000 placements 110 us
// each (search 29, store 52). What grows is SQLite's: the B-trees of the
// tables written (LEVEL_TASK_DAY_OF_YEAR, TASK_ASSIGNMENTS) are ten times
// larger; the search's own work per placement stays the same.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "host/sqlite_store.h"

namespace {

constexpr int kResources = 200;
constexpr int kCommitEvery = 400;

constexpr const char* kInsertDay =
    "INSERT INTO CALENDAR_DAY_OF_YEAR (ELEMENT_ID, DAY_YEAR, DAY_WEEK, BIT_SCHED) VALUES (?, ?, ?, ?)";
constexpr const char* kInsertAssignment =
    "INSERT INTO TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID, PROJECT_ID, TASK_ID, RESOURCE_ID, "
    "RESOURCE_TYPE, PLANNED_WORK, UNITS_MSP, BIT_FLAG) VALUES (?, 'P1', ?, ?, '0', ?, 10000, 0)";

std::string hexOf(const unsigned char* bits) {
  char hex[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits, hex);
  return hex;
}

class Portfolio {
 public:
  explicit Portfolio(int assignments) {
    const char* dir = std::getenv("TMPDIR");
    path_ = std::string(dir != nullptr ? dir : "/tmp") + "/resource_search_bench_XXXXXX";
    int fd = ::mkstemp(path_.data());
    if (fd >= 0) ::close(fd);
    store_ = host::SqliteStore::open(path_);
    ok_ = store_ != nullptr && fill(assignments);
  }
  ~Portfolio() {
    store_.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path_ + suffix).c_str());
  }
  bool ok() const { return ok_; }
  host::SqliteStore& store() { return *store_; }

  struct Work {
    std::string id, task, resource, start;
    int32_t minutes = 0;
  };
  const std::vector<Work>& work() const { return work_; }

 private:
  bool fill(int assignments) {
    host::SqliteStore& s = *store_;
    const std::string full = hexOf(dayBitsDefault8H);
    unsigned char none[DAY_BITS_BYTES] = {};
    const std::string empty = hexOf(none);
    if (s.execute("INSERT INTO KOR_CALENDARS (ELEMENT_ID, TYPE_ID, MINUTES_PER_DAY, SUNDAY_BIT, "
                  "MONDAY_BIT, TUESDAY_BIT, WEDNESDAY_BIT, THURSDAY_BIT, FRIDAY_BIT, SATURDAY_BIT) "
                  "VALUES ('P1', 27, 480, ?, ?, ?, ?, ?, ?, ?)",
                  {empty, full, full, full, full, full, empty}) != 0) {
      return false;
    }
    const int first = dateStringToJulian("2024-01-01");
    const int last = dateStringToJulian("2040-12-31");
    for (int d = first; d <= last; ++d) {
      char day[DATE_TEXT_SIZE];
      transformJulianToDateString(d, day);
      const int w = julianToWeekDay(d);
      if (s.execute(kInsertDay, {"P1", day, int32_t{w}, (w == 1 || w == 7) ? empty : full}) != 0) {
        return false;
      }
    }
    if (s.execute("INSERT INTO NAV_TMP_PROJECTS_00 (LEVEL_ID, PRIORITY, ELEMENT_ID) "
                  "VALUES (1, 500, 'P1')") != 0) {
      return false;
    }
    for (int r = 0; r < kResources; ++r) {
      if (s.execute("INSERT INTO RESOURCES (RESOURCE_ID, MAX_UNITS) VALUES (?, 10000)",
                    {"R" + std::to_string(r)}) != 0) {
        return false;
      }
    }
    uint32_t seed = 12345;
    for (int i = 0; i < assignments; ++i) {
      seed = seed * 1103515245u + 12345u;
      Work w;
      w.id = "A" + std::to_string(i);
      w.task = "T" + std::to_string(i);
      w.resource = "R" + std::to_string(i % kResources);
      w.minutes = 480 * (1 + static_cast<int32_t>((seed >> 16) % 5));
      const int j = i / kResources;  // the resource's j-th assignment
      const int day = first + j * 6 * 7 / 5 + static_cast<int>((seed >> 8) % 10);
      char text[DATE_TEXT_SIZE];
      transformJulianToDateString(day, text);
      w.start = std::string(text) + " 08:00:00.000000";
      if (s.execute(kInsertAssignment, {w.id, w.task, w.resource, w.minutes}) != 0) return false;
      work_.push_back(std::move(w));
    }
    return s.commitAndBegin() == 0;
  }

  std::string path_;
  std::unique_ptr<host::SqliteStore> store_;
  std::vector<Work> work_;
  bool ok_ = false;
};

using Clock = std::chrono::steady_clock;

// One placement as the main loop makes it: 0 when placed and stored. The
// time of the search and of the storing are added to the two totals.
int placeOne(host::SqliteStore& store, const Portfolio::Work& w, Clock::duration& searching,
             Clock::duration& storing) {
  db::IdText assignment, project, task, resource, empty, recUser;
  assignment.assign(w.id);
  project.assign("P1");
  task.assign(w.task);
  resource.assign(w.resource);
  db::StampText start, finish;
  start.assign(w.start);
  int16_t startInd = 0, finishInd = 0;
  db::FlagText resourceType;
  resourceType.assign("0");
  double zero = 0.0;
  int32_t typeId = 3, duration = 10, work = w.minutes, nought = 0, mode = 6, contour = 268435456,
          runFlag = 10, perDay = 480, priority = 500, result = -1;
  db::HostVar resultVar(result);
  const Clock::time_point t0 = Clock::now();
  if (store.call("LEVEL_FC_SEARCH_2",
                 {assignment, project, task, resource, zero, typeId, empty, empty, empty, empty,
                  db::HostVar(start, &startInd), db::HostVar(finish, &finishInd), duration, work,
                  nought, nought, nought, nought, mode, resourceType, nought, contour, nought,
                  nought, runFlag, perDay, priority, recUser, nought, nought},
                 &resultVar) != 0 ||
      result != 0) {
    return 1;
  }
  const Clock::time_point t1 = Clock::now();
  const int32_t stored = store.call("U_LEVEL_STRING", {project, assignment, nought}, &resultVar);
  const Clock::time_point t2 = Clock::now();
  searching += t1 - t0;
  storing += t2 - t1;
  return stored != 0 || result != 0 ? 1 : 0;
}

void BM_PlaceAssignments(benchmark::State& state) {
  const int assignments = static_cast<int>(state.range(0));
  Portfolio portfolio(assignments);
  if (!portfolio.ok()) {
    state.SkipWithError("cannot build the portfolio");
    return;
  }
  host::SqliteStore& store = portfolio.store();
  Clock::duration searching{}, storing{};
  for (auto _ : state) {
    int32_t result = 0, days = 6000, tmp = 0;
    db::HostVar resultVar(result);
    db::IdText project;
    project.assign("P1");
    db::StampText start;
    start.assign("2024-01-01 08:00:00.000000");
    store.executeScript("DELETE FROM LEVEL_TASK_DAY_OF_YEAR; DELETE FROM NAV_TMP_TDY_LEVEL;");
    if (store.call("FC_INI_ASSIGN_STR", {}, &resultVar) != 0 ||
        store.call("LEVEL_FC_CREATE_CDY_LEVEL", {project, start, days, tmp}, &resultVar) != 0) {
      state.SkipWithError("cannot start the run");
      return;
    }
    int failed = 0;
    for (int i = 0; i < assignments; ++i) {
      failed += placeOne(store, portfolio.work()[static_cast<std::size_t>(i)], searching, storing);
      if ((i + 1) % kCommitEvery == 0) store.call("LEVEL_COMMIT", {}, &resultVar);
    }
    store.call("LEVEL_COMMIT", {}, &resultVar);
    if (failed != 0) {
      state.SkipWithError("a placement failed");
      return;
    }
  }
  state.counters["placements"] = assignments;
  const double n = static_cast<double>(assignments) * static_cast<double>(state.iterations());
  state.counters["search_us"] =
      std::chrono::duration<double, std::micro>(searching).count() / n;
  state.counters["store_us"] = std::chrono::duration<double, std::micro>(storing).count() / n;
  state.counters["per_placement"] = benchmark::Counter(
      static_cast<double>(assignments) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
}

}  // namespace

BENCHMARK(BM_PlaceAssignments)->Arg(10000)->Arg(100000)->Iterations(1)->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
