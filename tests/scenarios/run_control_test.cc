// Whole runs through the entry points on small SQLite databases, one per
// result code a run can give before levelling: the returned code, the
// notification the requesting user sees, the log, the lock marks before and
// after, the work tables, and the results report.
//
// The project of most cases: P1 (rank "P1"), Monday 2024-01-08 to Friday
// 2024-02-02, three tasks T1 -> T2 -> T3 of one day each.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/procedures.h"
#include "run/entry_points.h"
#include "scenarios/scenario_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kUser = "U1";

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

class RunControl : public scenario::Scenario {
 protected:
  void SetUp() override {
    Scenario::SetUp();
    logPath_ = db.path() + ".log";
    std::remove(logPath_.c_str());
    db.row("RESOURCES", {{"RESOURCE_ID", kUser}, {"FULL_NAME", "Una User"}});
    db.row("RESOURCES", {{"RESOURCE_ID", "U2"}, {"FULL_NAME", "Otto Other"}});
  }
  void TearDown() override { std::remove(logPath_.c_str()); }

  void simpleProject(const std::string& id = "P1") {
    project(id, "2024-01-08", "2024-02-02");
    task(id, id, id + "T1", 2, 480);
    task(id, id, id + "T2", 2, 480);
    task(id, id, id + "T3", 2, 480);
    link(id + "T1", id + "T2", id);
    link(id + "T2", id + "T3", id);
  }

  // One run through lev_levelResourcesForProject on the test's store.
  int run(const std::string& element, int kind, const std::string& name = "the element",
          const std::string& asOf = "2024-01-08 08:00:00.000000") {
    LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
    return lev_levelResourcesForProject(&ctx, element.c_str(), 0, name.c_str(), 0, kind, 0, 0,
                                        0, asOf.c_str(), 0, kUser, 0, 0, 0, 1, 0, 0, 0, 0, 0,
                                        0, 0);
  }

  std::string log() { return readFile(logPath_); }
  std::string subject() { return text("SELECT SUBJECT FROM KOR_WORKFLOWS"); }
  std::string description() { return text("SELECT DESCRIPTION FROM KOR_WORKFLOWS"); }
  // "LEVEL_LOCK/REC_STATUS of the project item".
  std::string lockMarks(const std::string& project) {
    return std::to_string(count("SELECT LEVEL_LOCK FROM PROJECT_DETAILS WHERE PROJECT_ID='" +
                                project + "'")) +
           "/" + text("SELECT REC_STATUS FROM KOR_WBS WHERE ELEMENT_ID='" + project + "'");
  }
  // The report's error line as printed.
  static std::string errorLine(int code) {
    char line[80];
    std::snprintf(line, sizeof line, " Error Code is                          :%10d \n", code);
    return line;
  }

  std::string logPath_;
};

// A run kind that neither levels nor copies loads and schedules its
// projects, gives back every lock and work row, and finishes with 0.
TEST_F(RunControl, GenericRunKindSucceedsAndReleasesEverything) {
  simpleProject();
  EXPECT_EQ("0/U", lockMarks("P1"));
  std::vector<std::string> phases;
  LevCallContext ctx{&db.store(), logPath_.c_str(),
                     [](void* user, const char* phase, int64_t, int64_t) {
                       static_cast<std::vector<std::string>*>(user)->push_back(phase);
                     },
                     &phases};
  const int rc = lev_levelResourcesForProject(&ctx, "P1", 0, "Alpha", 0, 1, 0, 0, 0,
                                              "2024-01-08 08:00:00.000000", 0, kUser, 0, 0, 0,
                                              1, 0, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(0, rc);
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_EQ("[Finished] Calculate/Leveling Project 'P1'", subject());
  EXPECT_THAT(description(), HasSubstr("Completed, 100% done."));
  EXPECT_EQ(1, count("SELECT LEVEL_LAST_CALL_OPTION FROM PROJECT_DETAILS"));
  EXPECT_EQ(0, count("SELECT CALCULATE_FLAG FROM PROJECT_DETAILS"));
  EXPECT_EQ(kUser, text("SELECT SCENARIO_USER_ID FROM PROJECT_DETAILS"));
  EXPECT_EQ("Alpha", text("SELECT SCENARIO_NAME FROM PROJECT_DETAILS"));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_kor_wbs"));
  const std::string l = log();
  EXPECT_THAT(l, HasSubstr("S t a r t       L e v e l i n g"));
  EXPECT_THAT(l, HasSubstr("LEVELING/CALCULATE RESULTS for Project. \n The Project id is"));
  EXPECT_THAT(l, HasSubstr(errorLine(0)));
  for (const char* phase : {"checking locks", "selecting projects", "locking projects",
                            "loading", "scheduling", "finishing"}) {
    EXPECT_NE(phases.end(), std::find(phases.begin(), phases.end(), phase)) << phase;
  }
}

TEST_F(RunControl, UnknownElementAndEmptyPortfolio) {
  simpleProject();
  // The run ends before it has a subject: the tag alone heads the item.
  EXPECT_EQ(200004, run("NOPE", 0));
  EXPECT_EQ("[Failed] ", subject());
  EXPECT_THAT(description(), HasSubstr("You tried to Calculate/Level not existing project."));
  EXPECT_THAT(log(), HasSubstr(errorLine(200004)));
  EXPECT_EQ("0/U", lockMarks("P1"));

  db.store().execute("DELETE FROM KOR_WORKFLOWS");
  db.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", "F1"}, {"RANK", "AAAAAAAA01"}, {"TYPE_ID", "64"},
                            {"ELEMENT_NAME", "Empty folder"}, {"CHILD_COUNT", "0"}});
  EXPECT_EQ(200318, run("F1", 0));
  EXPECT_THAT(subject(), HasSubstr("[Failed] "));
  EXPECT_THAT(description(), HasSubstr("You tried to Calculate/Level an empty portfolio."));
  EXPECT_THAT(log(), HasSubstr(errorLine(200318)));
}

TEST_F(RunControl, LockedProjectAndStaleLock) {
  simpleProject();
  db.store().setFixedTime("2024-01-08 12:00:00.000000");
  db.store().execute(
      "UPDATE PROJECT_DETAILS SET LEVEL_LOCK=1, SCENARIO_USER_ID='U2', "
      "SCENARIO_DATETIME='2024-01-08 10:00:00.000000', LEVEL_LAST_CALL_OPTION=3");
  EXPECT_EQ(200114, run("P1", 0));  // 120 minutes old: still held
  EXPECT_EQ("1/U", lockMarks("P1"));
  EXPECT_THAT(subject(), HasSubstr("[Locked] "));
  EXPECT_THAT(description(), HasSubstr("is locked for Calculate/Leveling by someone"));
  EXPECT_THAT(description(), HasSubstr("RESOURCE_NAME = Otto Other"));
  EXPECT_THAT(log(), HasSubstr(errorLine(200114)));

  db.store().setFixedTime("2024-01-08 12:01:00.000000");  // 121 minutes: stale
  EXPECT_EQ(0, run("P1", 1));
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_THAT(log(), HasSubstr("locked more than 2h ago"));
}

TEST_F(RunControl, TemplatedItemsAndImportExportLock) {
  simpleProject();
  db.store().execute("UPDATE KOR_WBS SET REC_STATUS='T' WHERE ELEMENT_ID='P1T2'");
  EXPECT_EQ(200319, run("P1", 3, "Alpha"));
  EXPECT_THAT(subject(), HasSubstr("[Locked] Calculating Project: 'P1'"));
  EXPECT_THAT(description(), HasSubstr("contains templated WBS items."));
  EXPECT_EQ("0/U", lockMarks("P1"));

  db.store().execute("UPDATE KOR_WBS SET REC_STATUS='L' WHERE ELEMENT_ID='P1T2'");
  db.store().execute("DELETE FROM KOR_WORKFLOWS");
  EXPECT_EQ(200219, run("P1", 1));
  EXPECT_THAT(description(), HasSubstr("One or more sub-elements could be locked by Import/Export."));
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_EQ("L", text("SELECT REC_STATUS FROM KOR_WBS WHERE ELEMENT_ID='P1T2'"));
  // Returned at once: no results report.
  EXPECT_THAT(log(), Not(HasSubstr(errorLine(200219))));
}

TEST_F(RunControl, EmptyProjectListAndCircularDependencies) {
  simpleProject();
  // A task as the element: no project under its rank.
  const std::string rank = text("SELECT RANK FROM KOR_WBS WHERE ELEMENT_ID='P1T1'");
  db.store().execute("UPDATE KOR_WBS SET RANK='P1Z' WHERE ELEMENT_ID='P1T1'");
  EXPECT_EQ(200139, run("P1T1", 1));
  db.store().execute("UPDATE KOR_WBS SET RANK='" + rank + "' WHERE ELEMENT_ID='P1T1'");
  EXPECT_THAT(subject(), HasSubstr("[Error: 200139] "));
  EXPECT_THAT(log(), HasSubstr("error(D-0-1)/data corruption in Lev_resolveDepOracleDB "
                               "(levelResourcesForProject) \nerror type: (very critical) "
                               "empty project list"));
  EXPECT_EQ("0/U", lockMarks("P1"));

  // One cycle is cut and reported, and the run completes.
  db.store().execute("DELETE FROM KOR_WORKFLOWS");
  link("P1T3", "P1T1", "P1");
  EXPECT_EQ(0, run("P1", 1));
  EXPECT_THAT(description(), HasSubstr("There is at least one circular dependency"));
  EXPECT_THAT(log(), HasSubstr("found circular dependency within this project"));

  // So many cycles that no priority order can be found: 200212.
  db.store().execute("DELETE FROM KOR_WORKFLOWS");
  for (int i = 0; i < 120; ++i) {
    const std::string a = "C" + std::to_string(i) + "a", b = "C" + std::to_string(i) + "b";
    task("P1", "P1", a, 2, 480);
    task("P1", "P1", b, 2, 480);
    link(a, b, "P1");
    link(b, a, "P1");
  }
  EXPECT_EQ(200212, run("P1", 1));
  EXPECT_THAT(subject(), HasSubstr("[Circular] "));
  EXPECT_THAT(description(), HasSubstr("There are circular dependencies in your projects."));
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_THAT(log(), HasSubstr(errorLine(200212)));
}

TEST_F(RunControl, CopyOfAProjectNeverCalculated) {
  simpleProject();
  EXPECT_EQ(200317, run("P1", 2));
  EXPECT_THAT(subject(), HasSubstr("[Failed] Copying Calculated/Leveled Results for Project"));
  EXPECT_THAT(description(), HasSubstr("You have to Calculate/Level at least once before "
                                       "Copying results."));
  EXPECT_EQ("0/U", lockMarks("P1"));
}

TEST_F(RunControl, FailedStatementUnlocksAndKeepsWorkTables) {
  simpleProject();
  db.store().injectFailure("delete from Lev_kor_wbs", -777);
  EXPECT_EQ(-777, run("P1", 1));
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_THAT(subject(), HasSubstr("[Error: -777] "));
  EXPECT_THAT(description(), HasSubstr("Process Failed. Error Code is: -777 \nFile: "
                                       "Lev_resolveDepOracleDB \ninjected failure \nLine "
                                       "Number is: 12"));
  EXPECT_THAT(log(), HasSubstr("negative error code from SQL: SC_STATE = -777   injected "
                               "failure LineNum  = 12"));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
}

TEST_F(RunControl, ExceptionInAStepEndsTheRunWith200320) {
  simpleProject();
  // A notification procedure that throws the first time it is called (the
  // start notification), and works afterwards (the final one).
  host::ProcedureRegistry registry;
  host::addBuiltinProcedures(registry);
  const host::ProcedureEntry* create = registry.find("LEVEL_FC_A_NOTIFICATION");
  ASSERT_NE(nullptr, create);
  host::HostProcedure original = create->run;
  int calls = 0;
  registry.add("LEVEL_FC_A_NOTIFICATION", create->arity,
               [&](db::Store& s, host::Backend& b, db::Vars args, const db::HostVar* result) -> int32_t {
                 if (++calls == 1) throw std::runtime_error("boom");
                 return original(s, b, args, result);
               });
  db.commit();
  auto store = host::SqliteStore::open(db.path(), {.procedures = &registry});
  ASSERT_NE(nullptr, store);
  LevCallContext ctx{store.get(), logPath_.c_str(), nullptr, nullptr};
  EXPECT_EQ(200320, RES_DEP_FOR_PROJ(&ctx, "P1", 0, 1, 0, 0, 0, "", -1, kUser, 0));
  EXPECT_EQ(200320, store->status().code);
  store->call("LEVEL_COMMIT");
  store.reset();
  db.store().call("LEVEL_COMMIT");  // a new snapshot for the test's connection
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_THAT(description(), HasSubstr("Terminated due to handling of code trown exception: "
                                       "Lev_resolveDependencesDB (levelResourcesForProject): "
                                       "\nLineNum= 7"));
  EXPECT_THAT(log(), HasSubstr("error (2) in levelResourcesForProject: handle lockings and "
                               "terminate"));
}

TEST_F(RunControl, NullOptionAndOverlongArgumentsTouchNothing) {
  simpleProject();
  LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
  EXPECT_EQ(0, RES_DEP_FOR_PROJ(&ctx, "P1", 0, 0, -1, 0, 0, "", 0, kUser, 0));
  EXPECT_EQ(0, RES_DEP_FOR_PROJ(&ctx, "P1", 0, 0, 0, 0, -1, "", 0, kUser, 0));
  const std::string id33(33, 'P');
  EXPECT_EQ(200004, RES_DEP_FOR_PROJ(&ctx, id33.c_str(), 0, 0, 0, 0, 0, "", 0, kUser, 0));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
  EXPECT_EQ(0, count("SELECT LEVEL_LAST_CALL_OPTION FROM PROJECT_DETAILS"));
  EXPECT_THAT(log(), Not(HasSubstr("S t a r t")));

  // A 300-character name given, a 255-character one in the project row:
  // the subject carries the first 49 characters of the row's.
  db.store().execute("UPDATE KOR_WBS SET ELEMENT_NAME='" + std::string(255, 'n') +
                     "' WHERE ELEMENT_ID='P1'");
  EXPECT_EQ(0, run("P1", 1, std::string(300, 'x')));
  EXPECT_EQ("[Finished] Calculate/Leveling Project '" + std::string(49, 'n') + "'", subject());
}

// A portfolio folder that holds a project and, beside it, one of the
// project's sub-projects: the sub-project is loaded once, as in a run of
// the project itself, and the folder is locked and released with them.
TEST_F(RunControl, PortfolioWithAProjectAndItsSubProjectLoadsTheSubProjectOnce) {
  simpleProject("P1");
  project("P1S", "2024-01-08", "2024-02-02", "P1", "P1.P1S", 2);
  task("P1S", "P1S", "P1ST1", 3, 480);
  db.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", "TOP"}, {"RANK", "AAAAAAAA"}, {"TYPE_ID", "13"}});
  db.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", "F1"}, {"RANK", "AAAAAAAA01"}, {"TYPE_ID", "64"},
                            {"ELEMENT_NAME", "Folder"}, {"CHILD_COUNT", "2"},
                            {"REC_STATUS", "U"}});
  for (const char* id : {"P1", "P1S"}) {
    db.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", id},
                              {"RANK", std::string("AAAAAAAA01") + (id[2] ? "02" : "01")},
                              {"TYPE_ID", "1"}, {"REC_STATUS", "U"}});
  }
  // The report's task count of a run of the project alone.
  EXPECT_EQ(0, run("P1", 1));
  auto tasksLine = [](const std::string& log) {
    const std::size_t at = log.rfind(" No.Leveled Tasks");
    return at == std::string::npos ? std::string() : log.substr(at, log.find('\n', at) - at);
  };
  const std::string alone = tasksLine(log());
  ASSERT_FALSE(alone.empty());

  // The folder run lists P1 and P1S once each: two root projects.
  db.store().execute("DELETE FROM KOR_WORKFLOWS");
  int64_t roots = -1;
  LevCallContext ctx{&db.store(), logPath_.c_str(),
                     [](void* user, const char* phase, int64_t done, int64_t total) {
                       if (std::string(phase) == "loading" && done == 0) {
                         *static_cast<int64_t*>(user) = total;
                       }
                     },
                     &roots};
  EXPECT_EQ(0, lev_levelResourcesForProject(&ctx, "F1", 0, "", 0, 1, 0, 0, 0,
                                            "2024-01-08 08:00:00.000000", 0, kUser, 0, 0, 0, 1,
                                            0, 0, 0, 0, 0, 0, 0));
  EXPECT_EQ(2, roots);
  EXPECT_EQ(alone, tasksLine(log()));
  EXPECT_EQ("[Finished] Calculate/Leveling Portfolio 'Folder'", subject());
  EXPECT_THAT(log(), HasSubstr("LEVELING/CALCULATE RESULTS for Portfolio."));
  EXPECT_THAT(log(), Not(HasSubstr("appears twice")));
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_EQ("0/U", lockMarks("P1S"));
  EXPECT_EQ("U", text("SELECT REC_STATUS FROM KOR_PORTFOLIOS WHERE ELEMENT_ID='F1'"));
}

// Two runs on disjoint projects of one database, on two connections at the
// same time: both succeed and each records only its own projects.
TEST_F(RunControl, TwoRunsOnDisjointProjectsSideBySide) {
  simpleProject("P1");
  simpleProject("P2");
  db.commit();
  int rc[2] = {-1, -1};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&, i] {
      auto store = host::SqliteStore::open(db.path());
      if (store == nullptr) return;
      const std::string element = i == 0 ? "P1" : "P2";
      const std::string user = i == 0 ? "U1" : "U2";
      LevCallContext ctx{store.get(), logPath_.c_str(), nullptr, nullptr};
      rc[i] = RES_DEP_FOR_PROJ(&ctx, element.c_str(), 0, 1, 0, 0, 0,
                               "2024-01-08 08:00:00.000000", 0, user.c_str(), 0);
      store->call("LEVEL_COMMIT");
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(0, rc[0]);
  EXPECT_EQ(0, rc[1]);
  db.store().call("LEVEL_COMMIT");
  EXPECT_EQ("U1", text("SELECT SCENARIO_USER_ID FROM PROJECT_DETAILS WHERE PROJECT_ID='P1'"));
  EXPECT_EQ("U2", text("SELECT SCENARIO_USER_ID FROM PROJECT_DETAILS WHERE PROJECT_ID='P2'"));
  EXPECT_EQ("0/U", lockMarks("P1"));
  EXPECT_EQ("0/U", lockMarks("P2"));
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM KOR_WORKFLOWS WHERE SUBJECT LIKE '[Finished]%'"));
}

}  // namespace
