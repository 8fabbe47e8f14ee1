// Shared helpers of the whole-run tests. See run_compare.h.
#include "run_compare.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "run/entry_points.h"

namespace pgtest {

namespace {

// LEVEL_ASSIGN_STRING holds a day string per assignment: the widest
// column read here.
using Text = db::VarChar<16385>;

struct ResultTable {
  const char* what;
  const char* sql;        // without the project filter and the order
  const char* projectOf;  // column naming the project
  const char* order;
  int columns;
};

const ResultTable kResultTables[] = {
    {"level columns",
     "select ELEMENT_ID, PROJECT_ID, LEVEL_START, LEVEL_FINISH, LEVEL_DURATION, TOTAL_SLACK, "
     "LEVEL_INDEX, LEVEL_STATE, SCHED_START, SCHED_FINISH, FORECAST_START, FORECAST_FINISH, "
     "REC_STATUS from KOR_WBS where 1 = 1",
     "PROJECT_ID", "ELEMENT_ID", 13},
    {"conflict list",
     "select ELEMENT_ID, LEVEL_CONFLICT from KOR_WBS where LEVEL_CONFLICT is not null",
     "PROJECT_ID", "ELEMENT_ID", 2},
    {"day rows",
     "select PROJECT_ID, TASK_ID, TSK_ASSIGNMENT_ID, RESOURCE_ID, PARENT_ID, DAY_YEAR, "
     "SCHED_MIN, ACTUAL_MIN, ACTUAL_FLAG, BIT_SCHED, BIT_FLAG from LEVEL_TASK_DAY_OF_YEAR "
     "where 1 = 1",
     "PROJECT_ID", "TSK_ASSIGNMENT_ID, DAY_YEAR, PARENT_ID", 11},
    {"assignment levels",
     "select TSK_ASSIGNMENT_ID, LEVEL_START, LEVEL_FINISH, LEVEL_EFFORT, LEVEL_ASSIGN_STRING "
     "from TASK_ASSIGNMENTS where 1 = 1",
     "PROJECT_ID", "TSK_ASSIGNMENT_ID", 5},
    {"locks", "select PROJECT_ID, LEVEL_LOCK from PROJECT_DETAILS where 1 = 1", "PROJECT_ID",
     "PROJECT_ID", 2},
};

}  // namespace

std::vector<std::string> rowsOf(db::Store& store, const std::string& sql, int columns) {
  const auto n = static_cast<std::size_t>(columns);
  auto values = std::make_unique<Text[]>(n);
  std::vector<int16_t> ind(n, 0);
  std::vector<db::HostVar> vars;
  for (std::size_t i = 0; i < n; ++i) vars.emplace_back(values[i], &ind[i]);
  std::vector<std::string> rows;
  db::Cursor cursor(store);
  EXPECT_EQ(0, cursor.open(sql)) << store.status().message << "\n" << sql;
  int32_t rc = 0;
  while ((rc = cursor.fetch(vars)) == 0) {
    std::string row;
    for (std::size_t i = 0; i < n; ++i) {
      if (i > 0) row += '|';
      row += ind[i] < 0 ? std::string("~") : std::string(values[i].view());
    }
    rows.push_back(std::move(row));
  }
  EXPECT_EQ(db::kSqlNoData, rc) << store.status().message << "\n" << sql;
  return rows;
}

long long countOf(db::Store& store, const std::string& sql) {
  const std::vector<std::string> rows = rowsOf(store, sql, 1);
  if (rows.size() != 1) {
    ADD_FAILURE() << sql << ": " << rows.size() << " rows";
    return -1;
  }
  return std::atoll(rows.front().c_str());
}

int levelElement(db::Store& store, const std::string& element, const std::string& asOf,
                 const std::string& logPath) {
  LevCallContext ctx{&store, logPath.c_str(), nullptr, nullptr};
  return RES_DEP_FOR_PROJ(&ctx, element.c_str(), 0, 0, 0, 0, 0, asOf.c_str(), 0, "U1", 0);
}

Reading readResults(db::Store& store, const std::string& project) {
  Reading reading;
  for (const ResultTable& t : kResultTables) {
    std::string sql = t.sql;
    // Generated and demo identifiers are plain letters, digits and '_'.
    if (!project.empty()) sql += std::string(" and ") + t.projectOf + " = '" + project + "'";
    sql += std::string(" order by ") + t.order;
    reading[t.what] = rowsOf(store, sql, t.columns);
  }
  return reading;
}

bool expectSameResults(const Reading& left, const Reading& right, const char* a, const char* b) {
  bool same = true;
  for (const auto& [what, rowsA] : left) {
    const auto it = right.find(what);
    if (it == right.end()) {
      ADD_FAILURE() << what << " missing from " << b;
      same = false;
      continue;
    }
    const std::vector<std::string>& rowsB = it->second;
    if (rowsA.size() != rowsB.size()) {
      ADD_FAILURE() << what << ": " << rowsA.size() << " rows on " << a << ", " << rowsB.size()
                    << " on " << b;
      same = false;
    }
    int shown = 0;
    for (std::size_t i = 0; i < std::min(rowsA.size(), rowsB.size()) && shown < 5; ++i) {
      if (rowsA[i] != rowsB[i]) {
        ADD_FAILURE() << what << " row " << i << "\n " << a << ": " << rowsA[i] << "\n " << b
                      << ": " << rowsB[i];
        ++shown;
        same = false;
      }
    }
  }
  return same;
}

std::string tempPath(const std::string& name, const std::string& suffix) {
  const char* dir = std::getenv("TMPDIR");
  return std::string(dir != nullptr ? dir : "/tmp") + "/" + name + "_" +
         std::to_string(::getpid()) + suffix;
}

bool copySqliteFile(const std::string& from, const std::string& to) {
  removeSqliteFile(to);
  for (const char* suffix : {"", "-wal"}) {
    std::ifstream in(from + suffix, std::ios::binary);
    if (!in) {
      if (*suffix == '\0') return false;
      continue;
    }
    std::ofstream out(to + suffix, std::ios::binary | std::ios::trunc);
    out << in.rdbuf();
    if (!out) return false;
  }
  return true;
}

void removeSqliteFile(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) std::remove((path + suffix).c_str());
}

LevelerRun startLeveler(const std::string& target, const std::string& element,
                        const std::string& asOf, const std::string& logPath,
                        const int* start) {
  LevelerRun run;
  int out[2];
  if (::pipe(out) != 0) return run;
  const std::string asOfArg = asOf.substr(0, 19);
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0) {
    ::close(out[0]);
    ::close(out[1]);
    return run;
  }
  if (pid == 0) {
    // Standard error too: a failure before the run says why there.
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(out[1], STDERR_FILENO);
    ::close(out[0]);
    ::close(out[1]);
    if (start != nullptr) {
      ::close(start[1]);
      char go = 0;
      (void)!::read(start[0], &go, 1);
      ::close(start[0]);
    }
    const char* argv[] = {LEVELER_PROGRAM, "level", target.c_str(), element.c_str(),
                          "--as-of",       asOfArg.c_str(), "--user", "U1",
                          "--log",         logPath.c_str(), nullptr};
    ::execv(LEVELER_PROGRAM, const_cast<char* const*>(argv));
    ::_exit(127);
  }
  ::close(out[1]);
  run.pid = pid;
  run.out = out[0];
  return run;
}

int finishLeveler(LevelerRun& run, std::string* output) {
  std::string text;
  if (run.out >= 0) {
    char buf[4096];
    ssize_t n;
    while ((n = ::read(run.out, buf, sizeof buf)) > 0) text.append(buf, static_cast<size_t>(n));
    ::close(run.out);
    run.out = -1;
  }
  if (run.pid > 0) {
    int status = 0;
    ::waitpid(run.pid, &status, 0);
    run.pid = -1;
  }
  if (output != nullptr) *output = text;
  const std::size_t at = text.find("result: ");
  if (at == std::string::npos) return -999999;
  return std::atoi(text.c_str() + at + 8);
}

}  // namespace pgtest
