// Loading one root project's items and dependencies from a SQLite database:
// the project reader and then the item reader, as the load phase runs them
// for one root. N tasks in containers of 50, one container per 50 tasks,
// and 1.5 dependencies per task (a finish-to-start chain, and a
// start-to-start link with a lag from every second task to the task three
// further on). Reported per load; run with --benchmark_repetitions for a
// median.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "host/sqlite_store.h"
#include "model/activity.h"
#include "store/load/item_reader.h"
#include "store/load/project_reader.h"

namespace {

constexpr const char* kStandardDay =
    "0000000000000000000000000000FFFFFFFFFFFF000FFFFFFFFFFFF00000000000000000";

std::string idOf(const char* prefix, int i) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%s%07d", prefix, i);
  return buf;
}

class BenchDb {
 public:
  explicit BenchDb(int tasks) {
    const char* dir = std::getenv("TMPDIR");
    path_ = std::string(dir != nullptr ? dir : "/tmp") + "/item_reader_bench_XXXXXX";
    int fd = ::mkstemp(path_.data());
    if (fd >= 0) ::close(fd);
    store_ = host::SqliteStore::open(path_);
    ok_ = store_ != nullptr && fill(tasks);
  }
  ~BenchDb() {
    binding_.reset();
    store_.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path_ + suffix).c_str());
  }
  bool ok() const { return ok_; }
  void bind() { binding_ = std::make_unique<db::StoreBinding>(*store_); }

 private:
  bool exec(const std::string& sql, db::Binds in = {}) { return store_->execute(sql, in) == 0; }

  bool fill(int tasks) {
    bool ok = exec(
        "insert into KOR_WBS (ELEMENT_ID,PROJECT_ID,PARENT_ID,RANK,WBS_CODE,LEVEL_ID,TYPE_ID,"
        "PRIORITY,UNRESOLVED_START,UNRESOLVED_FINISH,UNRESOLVED_DURATION,START_FINISH_DATE,"
        "REC_STATUS) values ('P1','P1',NULL,'P1','P1',1,1,500,'2024-01-08 08:00:00.000000',"
        "'2025-12-31 17:00:00.000000',0,'2024-01-08 00:00:00.000000','U')");
    ok = ok && exec("insert into KOR_CALENDARS (ELEMENT_ID,RANK,TYPE_ID,MINUTES_PER_DAY,"
                    "MONDAY_BIT,TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,SATURDAY_BIT,"
                    "SUNDAY_BIT) values ('P1','P1',27,480,?,?,?,?,?,?,?)",
                    {kStandardDay, kStandardDay, kStandardDay, kStandardDay, kStandardDay,
                     std::string(72, '0'), std::string(72, '0')});
    const int first = dateStringToJulian("2023-09-01");
    for (int j = first; ok && j <= dateStringToJulian("2026-12-31"); ++j) {
      char day[DATE_TEXT_SIZE];
      transformJulianToDateString(j, day);
      int w = julianToWeekDay(j);
      ok = exec("insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) "
                "values ('P1',?,?,?)",
                {day, int32_t{w}, (w == 1 || w == 7) ? std::string(72, '0') : kStandardDay});
    }
    const int start = dateStringToJulian("2024-01-08");
    for (int i = 0; ok && i < tasks; ++i) {
      const std::string container = idOf("C", i / 50);
      if (i % 50 == 0) {
        ok = exec("insert into KOR_WBS (ELEMENT_ID,PROJECT_ID,PARENT_ID,RANK,WBS_CODE,LEVEL_ID,"
                  "TYPE_ID,PRIORITY,UNRESOLVED_START,UNRESOLVED_FINISH,UNRESOLVED_DURATION,"
                  "REC_STATUS) values (?,'P1','P1',?,?,2,2,500,'2024-01-08 08:00:00.000000',"
                  "'2024-12-31 17:00:00.000000',0,'U')",
                  {container, "P1." + container, container});
      }
      char day[DATE_TEXT_SIZE];
      transformJulianToDateString(start + (i % 300), day);
      const std::string id = idOf("T", i);
      ok = ok && exec("insert into KOR_WBS (ELEMENT_ID,PROJECT_ID,PARENT_ID,RANK,WBS_CODE,"
                      "LEVEL_ID,TYPE_ID,PRIORITY,PLANNED_EFFORT,SCHED_EFFORT,UNRESOLVED_START,"
                      "UNRESOLVED_FINISH,UNRESOLVED_DURATION,REC_STATUS) values (?,'P1',?,?,?,3,"
                      "3,500,480,0,?,?,480,'U')",
                      {id, container, "P1." + container + "." + id, id,
                       std::string(day) + " 08:00:00.000000",
                       std::string(day) + " 17:00:00.000000"});
      if (i + 1 < tasks) {
        ok = ok && exec("insert into DEPENDENCIES (PRED_ID,SUCC_ID,PRED_PROJECT_ID,"
                        "SUCC_PROJECT_ID,DEP_TYPE,LEAD_OR_LAG_TYPE,AMOUNT) values "
                        "(?,?,'P1','P1',0,0,0)",
                        {id, idOf("T", i + 1)});
      }
      if (i % 2 == 0 && i + 3 < tasks) {
        ok = ok && exec("insert into DEPENDENCIES (PRED_ID,SUCC_ID,PRED_PROJECT_ID,"
                        "SUCC_PROJECT_ID,DEP_TYPE,LEAD_OR_LAG_TYPE,AMOUNT) values "
                        "(?,?,'P1','P1',1,0,30)",
                        {id, idOf("T", i + 3)});
      }
    }
    int32_t result = 0;
    db::HostVar r(result);
    return ok && store_->call("LEVEL_COMMIT", {}, &r) == 0;
  }

  std::string path_;
  std::unique_ptr<host::SqliteStore> store_;
  std::unique_ptr<db::StoreBinding> binding_;
  bool ok_ = false;
};

void freeAll(linked_list_type* acts, linked_list_type* projects) {
  for (linktype* l = acts->phead; l != nullptr; l = l->pnext) {
    activityDelete(static_cast<activity_type*>(l->pcontents));
  }
  for (linktype* l = projects->phead; l != nullptr; l = l->pnext) {
    projectDelete(static_cast<project_type*>(l->pcontents));
  }
  ll_delete(acts);
  ll_delete(projects);
}

void BM_LoadRootItems(benchmark::State& state) {
  const int tasks = static_cast<int>(state.range(0));
  BenchDb bench(tasks);
  if (!bench.ok()) {
    state.SkipWithError("cannot build the database");
    return;
  }
  bench.bind();
  FILE* log = std::fopen("/dev/null", "w");
  const long origin = dateStringToJulian("1950-01-01");
  char workflow[33] = "";
  auto message = std::make_unique<char[]>(16385);
  message[0] = '\0';
  char subject[] = "bench", element[] = "P1", user[] = "U1";
  for (auto _ : state) {
    storage_manager_type* sm = smanagerCreateNew();
    linked_list_type* input = ll_new(projectMatch, getProjectName);
    linked_list_type* local = ll_new(projectMatch, getProjectName);
    linked_list_type* extProjects = ll_new(projectMatch, getProjectName);
    linked_list_type* extPreds = ll_new(activityMatch, getActivityName);
    linked_list_type* acts = ll_new(activityMatch, getActivityName);
    project_type* root = projectCreateNew("P1");
    int count = 0;
    int rc = doReadProjectsDB(root, input, local, sm, origin, 120, 1, 0, workflow, message.get(),
                              subject, element, user, 1, log);
    if (rc == 0) {
      rc = doReadActivitiesSuccDB(acts, local, extProjects, extPreds, input, &count, sm, origin,
                                  120, 1, 1, 1, 1, 0, 0, workflow, message.get(), subject, element,
                                  user, 1, 0, 0, log);
    }
    if (rc != 0 || count != tasks) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(acts->listlength);
    freeAll(acts, local);
    ll_delete(input);
    ll_delete(extProjects);
    ll_delete(extPreds);
    smanagerDelete(sm);
  }
  std::fclose(log);
  state.SetItemsProcessed(state.iterations() * tasks);
}
BENCHMARK(BM_LoadRootItems)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
