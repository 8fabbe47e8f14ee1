// What the whole-run tests of the pg_tests program share: running a levelling
// run in-process or through the built leveler program, reading back what a
// run writes (the level columns of KOR_WBS, the conflict list, the day rows
// LEVEL_TASK_DAY_OF_YEAR, the level columns of TASK_ASSIGNMENTS, the lock
// marks) as texts, comparing two such readings row by row, and copying a
// database so that several runs can start from the same rows.
//
// Rows are read as texts, values joined by '|', nulls as "~", in a fixed
// order (by key), so that a reading of SQLite and one of PostgreSQL compare
// with ==. Time stamps are "YYYY-MM-DD HH:MM:SS.ffffff" texts on both
// backends, minutes and day numbers integers.
#ifndef LEVELER_TESTS_PG_RUN_COMPARE_H
#define LEVELER_TESTS_PG_RUN_COMPARE_H

#include <map>
#include <string>
#include <vector>

#include "store/store.h"

namespace pgtest {

// Every row of `sql` (`columns` columns) as one text; fails the current test
// when the statement fails.
std::vector<std::string> rowsOf(db::Store& store, const std::string& sql, int columns);

// One integer of a one-row query; -1 (and a test failure) when it fails.
long long countOf(db::Store& store, const std::string& sql);

// A levelling run (kind 0) of `element` through the entry point on `store`,
// as of `asOf` ("YYYY-MM-DD HH:MM:SS..."), its trace to `logPath`.
int levelElement(db::Store& store, const std::string& element, const std::string& asOf,
                 const std::string& logPath);

// What a run leaves behind, by table: "level columns", "conflict list",
// "day rows", "assignment levels", "locks". With `project` non-empty, only
// the rows of that project (its KOR_WBS, assignment and day rows and its
// PROJECT_DETAILS row).
using Reading = std::map<std::string, std::vector<std::string>>;
Reading readResults(db::Store& store, const std::string& project = std::string());

// Row-by-row comparison of two readings: a failure per differing table
// (row count) and up to five differing rows each, labelled with `a` and `b`.
// True when equal.
bool expectSameResults(const Reading& left, const Reading& right, const char* a, const char* b);

// A path under TMPDIR (the build directory under CTest) unique to the
// process: `name`_<pid><suffix>.
std::string tempPath(const std::string& name, const std::string& suffix);

// Copies a closed SQLite database file (and its -wal file when one is left).
bool copySqliteFile(const std::string& from, const std::string& to);
void removeSqliteFile(const std::string& path);

// The leveler program, started from a forked child: `leveler level TARGET
// ELEMENT --as-of AS_OF --user U1 --log LOG`, its standard output in a pipe.
struct LevelerRun {
  int pid = -1;
  int out = -1;  // read end of the child's standard output
};

// Forks a child that waits for end of file on `start[0]` (when start is not
// null; the child closes its copy of the write end start[1]) before it
// executes the program, so that several children can be released at the
// same moment by closing start[1].
LevelerRun startLeveler(const std::string& target, const std::string& element,
                        const std::string& asOf, const std::string& logPath,
                        const int* start);

// Waits for the child and returns the run's result from its "result: N"
// line; -999999 when there is none (the program failed before the run).
int finishLeveler(LevelerRun& run, std::string* output = nullptr);

}  // namespace pgtest

#endif  // LEVELER_TESTS_PG_RUN_COMPARE_H
