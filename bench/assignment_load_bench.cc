// Reading the assignments of a large project from the embedded database:
// 200,000 assignments of 5,000 resources on 50,000 tasks, two days of work
// each, one in ten in progress (its days read from the last submitted day),
// one in ten contoured (its duration measured on the calendar). Measures
// both passes through the work table and the day queries; building the
// item records and releasing the results is not timed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "host/sqlite_store.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "store/calendar_loader.h"
#include "store/load/assignment_reader.h"

namespace {

constexpr int kTasks = 50000;
constexpr int kPerTask = 4;
constexpr int kResources = 5000;
const int kOrigin = dayOfYearToJulian(1950, 1, 1);

std::string hexOf(const unsigned char* bits) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits, buf);
  return buf;
}

std::string dayText(int julian) {
  char d[DATE_TEXT_SIZE];
  transformJulianToDateString(julian, d);
  return d;
}

struct AssignmentDb {
  std::string path;
  std::unique_ptr<host::SqliteStore> store;
  int first = dateStringToJulian("2024-01-01");

  AssignmentDb() {
    char pattern[] = "/tmp/leveler-bench-XXXXXX";
    int fd = mkstemp(pattern);
    if (fd >= 0) close(fd);
    path = pattern;
    store = host::SqliteStore::open(path);
    const unsigned char none[DAY_BITS_BYTES] = {};
    std::string standard = hexOf(dayBitsDefault8H);
    std::string empty = hexOf(none);
    store->execute(
        "insert into KOR_CALENDARS (ELEMENT_ID,RANK,TYPE_ID,MINUTES_PER_DAY,SUNDAY_BIT,MONDAY_BIT,"
        "TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,SATURDAY_BIT) values "
        "('P1','P1',1,480,?,?,?,?,?,?,?)",
        {empty, standard, standard, standard, standard, standard, empty});
    for (int j = first; j < first + 730; ++j) {
      int w = julianToWeekDay(j);
      store->execute(
          "insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) values "
          "('P1',?,?,?)",
          {dayText(j), int32_t{w}, (w == 1 || w == 7) ? empty : standard});
    }
    for (int t = 0; t < kTasks; ++t) {
      std::string task = "T" + std::to_string(t);
      store->execute(
          "insert into KOR_WBS (PROJECT_ID,ELEMENT_ID,PARENT_ID,TYPE_ID,REC_STATUS) values "
          "('P1',?,'P1',3,'U')",
          {task});
      int start = first + 7 + (t % 300);
      for (int k = 0; k < kPerTask; ++k) {
        int n = t * kPerTask + k;
        std::string id = "A" + std::to_string(n);
        std::string res = "R" + std::to_string(n % kResources);
        bool started = n % 10 == 1;
        bool contoured = n % 10 == 2;
        store->execute(
            "insert into TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID,PROJECT_ID,TASK_ID,RESOURCE_ID,"
            "BIT_FLAG,PROPOSED_WORK,PLANNED_WORK,SCHED_WORK,ETC,WORK_TODATE,ACTUAL_START,"
            "LAST_SUBMITTED,C_CONTOUR,CONTOUR_TYPE,C_EFFORT,UNITS_MSP,UNRESOLVED_START,"
            "UNRESOLVED_FINISH,UNRESOLVED_DURATION,ASSIGNMENT_DELAY) values "
            "(?,'P1',?,?,0,960,0,0,720,?,?,?,0,?,?,10000,?,?,960,0)",
            {id, task, res, int32_t{started ? 240 : 0},
             db::In(dayText(start) + " 08:00:00.000000", started ? 0 : -1),
             db::In(dayText(start) + " 00:00:00.000000", started ? 0 : -1),
             int32_t{contoured ? 2 : 0}, int32_t{contoured ? 1 : 0},
             dayText(start) + " 08:00:00.000000", dayText(start + 1) + " 17:00:00.000000"});
        for (int d = 0; d < 2; ++d) {
          store->execute(
              "insert into TASK_DAY_OF_YEAR (PROJECT_ID,TASK_ID,TSK_ASSIGNMENT_ID,RESOURCE_ID,"
              "DAY_YEAR,SCHED_MIN,ACTUAL_MIN,ACTUAL_FLAG) values ('P1',?,?,?,?,480,?,?)",
              {task, id, res, dayText(start + d), int32_t{started && d == 0 ? 240 : 0},
               int32_t{started && d == 0 ? 1 : 0}});
        }
      }
    }
    store->commitAndBegin();
  }
  ~AssignmentDb() {
    store.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path + suffix).c_str());
  }
};

void BM_ReadAssignments(benchmark::State& state) {
  AssignmentDb adb;
  db::StoreBinding binding(*adb.store);
  FILE* log = std::fopen("/dev/null", "w");
  project_type* proj = projectCreateNew("P1");
  if (doReadCalendarForOneSingleProjectDB(proj, kOrigin, "2024-01-01", 0, 0, log, 200141) != 0) {
    state.SkipWithError("calendar not loaded");
  }
  storage_manager_type* sm = smanagerCreateNew();
  auto message = std::make_unique<char[]>(16385);
  char workflow[33] = "";
  for (auto _ : state) {
    state.PauseTiming();
    linked_list_type* acts = ll_new(activityMatch, getActivityName);
    linked_list_type* projects = ll_new(projectMatch, getProjectName);
    linked_list_type* assignments = ll_new(assignmentMatch, getAssignmentName);
    ll_addtail(projects, proj);
    for (int t = 0; t < kTasks; ++t) {
      int start = adb.first + 7 + (t % 300) - kOrigin;
      ll_addtail(acts, activityCreateNew(("T" + std::to_string(t)).c_str(), 3, proj, start,
                                         start + 1, 960, 0, 0));
    }
    message[0] = '\0';
    state.ResumeTiming();
    int rc = doReadAssignmentsUnderProjectsDB(acts, projects, assignments, sm, 0, 0, "start",
                                              "finish", workflow, message.get(), "bench", "P1",
                                              "U1", 1, 0, 0, log);
    state.PauseTiming();
    if (rc != 0 || ll_size(assignments) != kResources) state.SkipWithError("not loaded");
    ll_head(assignments);
    for (int32_t i = ll_size(assignments); i > 0; --i) {
      assignmentDelete(static_cast<assignment_type*>(ll_retrieve(assignments)));
      ll_next(assignments);
    }
    ll_head(acts);
    for (int32_t i = ll_size(acts); i > 0; --i) {
      activityDelete(static_cast<activity_type*>(ll_retrieve(acts)));
      ll_next(acts);
    }
    ll_delete(assignments);
    ll_delete(acts);
    ll_delete(projects);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kTasks * kPerTask);
  projectDelete(proj);
  smanagerDelete(sm);
  std::fclose(log);
}
BENCHMARK(BM_ReadAssignments)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(3)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
