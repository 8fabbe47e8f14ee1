// Loading a project calendar of ten years of days from the embedded
// database: the weekday patterns, 3,653 day rows (holidays and short
// Fridays among them) and the optimisation of the exception lists.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "host/sqlite_store.h"
#include "store/calendar_loader.h"

namespace {

std::string hexOf(const unsigned char* bits) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits, buf);
  return buf;
}

struct CalendarDb {
  std::string path;
  std::unique_ptr<host::SqliteStore> store;

  CalendarDb() {
    char pattern[] = "/tmp/leveler-bench-XXXXXX";
    int fd = mkstemp(pattern);
    if (fd >= 0) close(fd);
    path = pattern;
    store = host::SqliteStore::open(path);
    const unsigned char none[DAY_BITS_BYTES] = {};
    unsigned char noon[DAY_BITS_BYTES] = {};
    std::memcpy(noon, dayBitsDefault8H, 18);  // the morning only
    std::string standard = hexOf(dayBitsDefault8H);
    std::string empty = hexOf(none);
    store->execute(
        "insert into KOR_CALENDARS (ELEMENT_ID,RANK,TYPE_ID,MINUTES_PER_DAY,SUNDAY_BIT,MONDAY_BIT,"
        "TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,SATURDAY_BIT) values "
        "('PRJ','PRJ',27,480,?,?,?,?,?,?,?)",
        {empty, standard, standard, standard, standard, standard, empty});
    int first = dateStringToJulian("2020-01-01");
    for (int j = first; j < first + 3653; ++j) {
      char day[DATE_TEXT_SIZE];
      transformJulianToDateString(j, day);
      int w = julianToWeekDay(j);
      const unsigned char* bits = (w == 1 || w == 7) ? none : dayBitsDefault8H;
      if (w == 6 && (j % 3) != 0) bits = noon;
      if (j % 41 == 0) bits = none;
      store->execute(
          "insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) values "
          "('PRJ',?,?,?)",
          {day, int32_t{w}, hexOf(bits)});
    }
    store->commitAndBegin();
  }
  ~CalendarDb() {
    store.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path + suffix).c_str());
  }
};

void BM_LoadTenYearCalendar(benchmark::State& state) {
  CalendarDb cdb;
  db::StoreBinding binding(*cdb.store);
  FILE* log = std::fopen("/dev/null", "w");
  const int origin = dayOfYearToJulian(1950, 1, 1);
  const int optimize = static_cast<int>(state.range(0));
  for (auto _ : state) {
    project_type* p = projectCreateNew("PRJ");
    int rc = doReadCalendarForOneSingleProjectDB(p, origin, "2020-01-01", optimize, 0, log, 200141);
    if (rc != 0 || p->size_of_calendar != 3653) state.SkipWithError("calendar not loaded");
    projectDelete(p);
  }
  state.SetItemsProcessed(state.iterations() * 3653);
  std::fclose(log);
}
BENCHMARK(BM_LoadTenYearCalendar)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
