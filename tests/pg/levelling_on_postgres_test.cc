// Whole levelling runs on PostgreSQL: a generated portfolio levelled through
// the entry point on both backends gives the same rows; two runs started
// together on overlapping projects let exactly one through.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/postgres_store.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"
#include "pg_cluster.h"
#include "run/entry_points.h"
#include "run/run_state.h"
#include "scope_generator.h"

namespace {

// Two roots with a sub-project each, ~200 tasks on 12 resources: enough
// contention for the levelling to move tasks and report conflicts.
scopegen::Shape smallPortfolio(uint32_t seed) {
  scopegen::Shape shape;
  shape.tasks = 200;
  shape.rootProjects = 2;
  shape.subProjectsPerRoot = 1;
  shape.containerLevels = 2;
  shape.resources = 12;
  shape.calendarDaysBefore = 200;
  shape.calendarDaysAfter = 700;
  shape.seed = seed;
  return shape;
}

// Every row of `sql` (with `columns` columns) as one text, values joined by
// '|', nulls as "~".
std::vector<std::string> rowsOf(db::Store& store, const std::string& sql, int columns) {
  std::vector<db::VarChar<2049>> values(static_cast<std::size_t>(columns));
  std::vector<int16_t> ind(static_cast<std::size_t>(columns), 0);
  std::vector<db::HostVar> vars;
  for (int i = 0; i < columns; ++i) {
    vars.emplace_back(values[static_cast<std::size_t>(i)], &ind[static_cast<std::size_t>(i)]);
  }
  std::vector<std::string> rows;
  db::Cursor cursor(store);
  EXPECT_EQ(0, cursor.open(sql)) << store.status().message << "\n" << sql;
  int32_t rc = 0;
  while ((rc = cursor.fetch(vars)) == 0) {
    std::string row;
    for (int i = 0; i < columns; ++i) {
      const auto k = static_cast<std::size_t>(i);
      row += (i > 0 ? "|" : "") + (ind[k] < 0 ? std::string("~") : std::string(values[k].view()));
    }
    rows.push_back(row);
  }
  EXPECT_EQ(db::kSqlNoData, rc) << store.status().message << "\n" << sql;
  return rows;
}

std::string tempLog(const char* name) {
  const char* dir = std::getenv("TMPDIR");
  return std::string(dir != nullptr ? dir : "/tmp") + "/" + name + "_" +
         std::to_string(::getpid()) + ".log";
}

int levelElement(db::Store& store, const std::string& element, const std::string& asOf,
                 const std::string& logPath) {
  LevCallContext ctx{&store, logPath.c_str(), nullptr, nullptr};
  return RES_DEP_FOR_PROJ(&ctx, element.c_str(), 0, 0, 0, 0, 0, asOf.c_str(), 0, "U1", 0);
}

TEST(LevellingOnPostgres, SameResultsAsSqliteRowByRow) {
  PG_CLUSTER_OR_SKIP(cluster);
  const std::string conninfo = cluster->createDatabase();
  ASSERT_FALSE(conninfo.empty());
  auto pg = pgtest::openStore(conninfo);
  ASSERT_NE(pg, nullptr);
  scratch::ScratchDb file;
  auto lite = file.open();
  ASSERT_NE(lite, nullptr);
  const std::string logPath = tempLog("pg_compare");

  scopegen::Description scope;
  std::vector<db::Store*> stores = {lite.get(), pg.get()};
  for (db::Store* store : stores) {
    ASSERT_EQ(0, scopegen::generateScope(*store, smallPortfolio(7), &scope))
        << store->status().message;
    ASSERT_GT(scope.assignments, 0);
    // Every tenth assignment is laid without waiting for capacity, so that
    // over-allocations are recorded and compared too.
    ASSERT_EQ(0, store->execute("UPDATE TASK_ASSIGNMENTS SET RESOURCE_TYPE = 'R' WHERE "
                                "CAST(substr(TSK_ASSIGNMENT_ID, 2) AS INTEGER) % 10 = 0"))
        << store->status().message;
    EXPECT_EQ(0, levelElement(*store, scope.portfolio, scope.asOf, logPath));
  }
  std::remove(logPath.c_str());

  struct Table {
    const char* what;
    const char* sql;
    int columns;
  };
  const Table tables[] = {
      {"level columns",
       "select ELEMENT_ID, LEVEL_START, LEVEL_FINISH, LEVEL_DURATION, TOTAL_SLACK, LEVEL_INDEX, "
       "LEVEL_STATE, SCHED_START, SCHED_FINISH, FORECAST_START, FORECAST_FINISH, REC_STATUS "
       "from KOR_WBS order by ELEMENT_ID",
       12},
      {"conflict list",
       "select ELEMENT_ID, LEVEL_CONFLICT from KOR_WBS where LEVEL_CONFLICT is not null "
       "order by ELEMENT_ID",
       2},
      {"over-allocations",
       "select RESOURCE_ID, DAY_YEAR, LOAD_MIN, CAPACITY_MIN, TSK_ASSIGNMENT_ID, PROJECT_ID, "
       "TASK_ID from LEVEL_OVER_ALLOCATIONS order by RESOURCE_ID, DAY_YEAR, TSK_ASSIGNMENT_ID",
       7},
      {"day rows",
       "select PROJECT_ID, TASK_ID, TSK_ASSIGNMENT_ID, RESOURCE_ID, PARENT_ID, DAY_YEAR, "
       "SCHED_MIN, ACTUAL_MIN, ACTUAL_FLAG, BIT_SCHED, BIT_FLAG from LEVEL_TASK_DAY_OF_YEAR "
       "order by TSK_ASSIGNMENT_ID, DAY_YEAR, PARENT_ID",
       11},
      {"locks",
       "select PROJECT_ID, LEVEL_LOCK, CALCULATE_FLAG from PROJECT_DETAILS order by PROJECT_ID",
       3},
  };
  for (const Table& t : tables) {
    const std::vector<std::string> a = rowsOf(*lite, t.sql, t.columns);
    const std::vector<std::string> b = rowsOf(*pg, t.sql, t.columns);
    EXPECT_EQ(a.size(), b.size()) << t.what;
    const std::size_t n = std::min(a.size(), b.size());
    int shown = 0;
    for (std::size_t i = 0; i < n && shown < 5; ++i) {
      if (a[i] != b[i]) {
        ADD_FAILURE() << t.what << " row " << i << "\n sqlite:   " << a[i] << "\n postgres: "
                      << b[i];
        ++shown;
      }
    }
    // Enough rows for the comparison to mean something. Over-allocations
    // may be none: the generated assignments are plain resources, which the
    // levelling makes wait for free capacity.
    if (std::string(t.what) == "over-allocations") continue;
    EXPECT_GT(a.size(), std::string(t.what) == "day rows"        ? 100u
                        : std::string(t.what) == "level columns" ? 200u
                                                                 : 0u)
        << t.what;
  }
}

// Two processes, each with its own connection, start a run at the same
// moment on overlapping projects (the same root project, or the folder and
// a root project inside it).
// In every round exactly one gets through (0) and the other finds the
// lock (200114); the winner leaves every lock free at its end.
TEST(LevellingOnPostgres, RunsStartedTogetherOnOverlappingProjectsExcludeEachOther) {
  PG_CLUSTER_OR_SKIP(cluster);
  const std::string conninfo = cluster->createDatabase();
  ASSERT_FALSE(conninfo.empty());
  scopegen::Description scope;
  {
    auto pg = pgtest::openStore(conninfo);
    ASSERT_NE(pg, nullptr);
    ASSERT_EQ(0, scopegen::generateScope(*pg, smallPortfolio(3), &scope))
        << pg->status().message;
  }
  // Rounds 0 and 2: both on the same root project; round 1: the folder
  // against a root project inside it.
  const std::string& root = scope.rootProjects.front();
  const std::string elements[3][2] = {{root, root}, {scope.portfolio, root}, {root, root}};
  std::string logs[2];
  for (int k = 0; k < 2; ++k) logs[k] = tempLog(("pg_race_" + std::to_string(k)).c_str());

  for (int round = 0; round < 3; ++round) {
    int start[2];
    int results[2][2];
    ASSERT_EQ(0, ::pipe(start));
    pid_t children[2];
    for (int k = 0; k < 2; ++k) {
      ASSERT_EQ(0, ::pipe(results[k]));
      std::fflush(nullptr);
      children[k] = ::fork();
      ASSERT_GE(children[k], 0);
      if (children[k] == 0) {
        // The child: connect, wait for the start, run, report, leave
        // without running the parent's clean-ups.
        ::close(start[1]);
        db::SqlStatus failure;
        auto store = host::PostgresStore::open(conninfo, {}, &failure);
        char go = 0;
        (void)!::read(start[0], &go, 1);
        int rc = -999999;
        if (store != nullptr) {
          rc = levelElement(*store, elements[round][k], scope.asOf, logs[k]);
        }
        store.reset();
        (void)!::write(results[k][1], &rc, sizeof rc);
        ::_exit(0);
      }
      ::close(results[k][1]);
    }
    ::close(start[0]);
    ::usleep(300000);  // both connected and waiting
    ::close(start[1]);  // both start now
    int rc[2] = {-1, -1};
    for (int k = 0; k < 2; ++k) {
      EXPECT_EQ(static_cast<ssize_t>(sizeof rc[k]), ::read(results[k][0], &rc[k], sizeof rc[k]));
      ::close(results[k][0]);
      int status = 0;
      ::waitpid(children[k], &status, 0);
    }
    const int winners = (rc[0] == 0) + (rc[1] == 0);
    const int losers = (rc[0] == run::kErrLocked) + (rc[1] == run::kErrLocked);
    EXPECT_EQ(1, winners) << "round " << round << ": " << rc[0] << " " << rc[1];
    EXPECT_EQ(1, losers) << "round " << round << ": " << rc[0] << " " << rc[1];

    auto pg = pgtest::openStore(conninfo);
    ASSERT_NE(pg, nullptr);
    int32_t held = -1;
    ASSERT_EQ(0, pg->selectInto("select count(*) from PROJECT_DETAILS where LEVEL_LOCK <> 0", {},
                                {held}));
    EXPECT_EQ(0, held) << "round " << round;
    ASSERT_EQ(0, pg->selectInto("select count(*) from KOR_WBS where REC_STATUS = 'L'", {},
                                {held}));
    EXPECT_EQ(0, held) << "round " << round;
  }
  for (const std::string& log : logs) std::remove(log.c_str());
}

}  // namespace
