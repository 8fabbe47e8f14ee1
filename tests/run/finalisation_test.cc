// The end of a run on a real database: locks given back or kept by result
// code, the work tables emptied or kept, commits (seen from a second
// connection), records freed, the results report and the final
// notification's subject and text.
//
// The run of these tests: project P1 "Alpha" (rank P1) with its sub-project
// P1S (rank P1.1), both selected into NAV_TMP_PROJECTS_00, locked for
// levelling (LEVEL_LOCK 1) and record-locked ('L'); P2 is another run's
// locked project and must stay as it is. The requesting user is U1.
#include "run/finalisation.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "calendar/project.h"
#include "final_harness.h"
#include "host/sqlite_store.h"
#include "model/activity.h"

namespace {

using finaltest::FinalRun;
using finaltest::kNow;

class Finalisation : public ::testing::Test {
 protected:
  void SetUp() override {
    r.db.project(
        {.id = "P1", .name = "Alpha", .start = "2024-01-01", .finish = "2024-03-29", .rank = "P1"});
    r.db.project({.id = "P1S",
                  .start = "2024-01-01",
                  .finish = "2024-03-29",
                  .parent = "P1",
                  .rank = "P1.1"});
    r.db.project({.id = "P2", .start = "2024-01-01", .finish = "2024-03-29", .rank = "P2"});
    r.db.item({.project = "P1", .parent = "P1", .id = "T1"});
    exec("UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 1");
    exec("UPDATE KOR_WBS SET REC_STATUS = 'L'");
    fillWorkTables();
    r.db.commit();
  }

  void exec(const std::string& sql) {
    ASSERT_EQ(0, r.db.store().execute(sql)) << sql << ": " << r.db.store().status().message;
  }

  // The work tables as a levelling run leaves them before its end.
  void fillWorkTables() {
    exec("DELETE FROM NAV_TMP_PROJECTS_00");
    exec(
        "INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK, PRIORITY) VALUES ('P1', 'P1', 500), "
        "('P1S', 'P1.1', 500)");
    for (const char* t :
         {"Lev_kor_wbs", "Lev_circ_1", "Lev_circ_2", "Lev_circ_3", "NAV_TMP_TDY",
          "NAV_TMP_TDY_LEVEL", "NAV_TMP_PA_CNTR", "NAV_TMP_PA_SUM", "Lev_project_assignment",
          "Lev_act_uids", "Lev_res_uids", "nav_tmp_ta_02", "NAV_TMP_TDYD"}) {
      exec(std::string("DELETE FROM ") + t);
    }
    exec("INSERT INTO Lev_kor_wbs (PROJECT_ID, ELEMENT_ID) VALUES ('P1', 'T1')");
    exec("INSERT INTO Lev_circ_1 (SEQ_NUM_RECORDS, ELEMENT_ID_1) VALUES (1, 'T1')");
    exec("INSERT INTO Lev_circ_2 (SEQ_NUM_RECORDS, ELEMENT_ID_2) VALUES (1, 'T1')");
    exec("INSERT INTO Lev_circ_3 (SEQ_NUM_RECORDS, ELEMENT_ID_3) VALUES (1, 'T1')");
    exec("INSERT INTO NAV_TMP_TDY (TASK_ID, DAY_YEAR) VALUES ('T1', '2024-01-08')");
    exec("INSERT INTO NAV_TMP_TDY_LEVEL (TASK_ID, DAY_YEAR) VALUES ('T1', '2024-01-08')");
    exec("INSERT INTO NAV_TMP_PA_CNTR (TSK_ASSIGNMENT_ID) VALUES ('A1')");
    exec("INSERT INTO NAV_TMP_PA_SUM (DAY_YEAR, SCHED_MIN) VALUES ('2024-01-08', 480)");
    exec("INSERT INTO Lev_project_assignment (PROJECT_ID, RESOURCE_ID) VALUES ('P1', 'R1')");
    exec("INSERT INTO Lev_act_uids (SEQUENT_ID, ELEMENT_ID) VALUES ('0000001', 'T1')");
    exec("INSERT INTO Lev_res_uids (SEQUENT_ID, RESOURCE_ID) VALUES ('0000001', 'R1')");
    exec("INSERT INTO nav_tmp_ta_02 (TSK_ASSIGNMENT_ID) VALUES ('A1')");
    exec("INSERT INTO NAV_TMP_TDYD (TSK_ASSIGNMENT_ID) VALUES ('A1')");
  }

  // A levelling run of project P1 that took its locks.
  std::unique_ptr<run::RunState> levellingRun(int errCode) {
    auto state = std::make_unique<run::RunState>();
    run::RunState& s = *state;
    run::copyCut(s.rec_user, run::kIdSize, "U1");
    run::copyCut(s.element_id, run::kIdSize, "P1");
    run::copyCut(s.element_id_p, run::kIdSize, "P1");
    run::copyCut(s.root_node_name, run::kRootNameSize, "Alpha");
    run::copyCut(s.subject, run::kSubjectSize, "Leveling Project 'Alpha'");
    run::copyCut(s.message, run::kMessageSize, "Started.");
    s.errCode = errCode;
    s.isOriginallyLocked = 0;
    s.allProjectsAreLockedByMe = 1;
    s.level_lock = run::kLevelLockHeld;
    return state;
  }

  // A run stopped before it passed its lock check: nothing taken, nothing sent.
  std::unique_ptr<run::RunState> stoppedRun(int errCode) {
    auto state = levellingRun(errCode);
    state->isOriginallyLocked = 1;
    state->allProjectsAreLockedByMe = 0;
    state->level_lock = run::kLevelLockFree;
    state->message[0] = '\0';
    return state;
  }

  int finalize(std::unique_ptr<run::RunState>& state) {
    int rc = Lev_finalizeExceptionPrintAndCleanup(*state, r.log());
    r.run = std::move(state);  // subject() and description() read r.run's workflow
    return rc;
  }

  // A count on the run's own connection (work tables are its own).
  int64_t ownCount(const std::string& sql) {
    int64_t n = -1;
    EXPECT_EQ(0, r.db.store().selectInto(sql, {}, {n})) << sql;
    return n;
  }

  // A count as another connection sees it: only what was committed.
  int64_t committedCount(const std::string& sql) {
    host::SqliteOptions options;
    options.createSchema = false;
    options.writeLockAtBegin = false;  // a reader
    auto other = host::SqliteStore::open(r.db.path(), options);
    EXPECT_NE(other, nullptr);
    if (!other) return -1;
    int64_t n = -1;
    EXPECT_EQ(0, other->selectInto(sql, {}, {n})) << sql;
    return n;
  }

  FinalRun r;
};

TEST_F(Finalisation, ASuccessfulRunUnlocksEmptiesTheWorkTablesCommitsAndFreesItsRecords) {
  auto state = levellingRun(0);
  state->sm = smanagerCreateNew();
  state->projects_list = ll_new(projectMatch, getProjectName);
  state->input_projects_list = ll_new(projectMatch, getProjectName);
  project_type* p1 = projectCreateNew("P1");
  ll_addtail(state->projects_list, p1);
  ll_addtail(state->input_projects_list, p1);
  state->act_tmp_list = ll_new(activityMatch, getActivityName);
  state->activities_list = ll_new(activityMatch, getActivityName);
  activity_type* t1 = activityCreateNew("T1", 3, p1, 100, 101, 480, 0, 0);
  ll_addtail(state->act_tmp_list, t1);
  ll_addtail(state->activities_list, t1);

  EXPECT_EQ(0, finalize(state));
  const run::RunState& s = *r.run;
  EXPECT_EQ(nullptr, s.sm);
  EXPECT_EQ(nullptr, s.projects_list);
  EXPECT_EQ(nullptr, s.input_projects_list);
  EXPECT_EQ(nullptr, s.act_tmp_list);
  EXPECT_EQ(nullptr, s.activities_list);

  // Record locks released and committed; the levelling lock of a successful
  // run is the driver's to reset; another run's project untouched.
  EXPECT_EQ(0, committedCount("SELECT COUNT(*) FROM KOR_WBS WHERE PROJECT_ID IN ('P1','P1S') "
                              "AND REC_STATUS = 'L'"));
  EXPECT_EQ(1, committedCount("SELECT COUNT(*) FROM KOR_WBS WHERE PROJECT_ID = 'P2' AND "
                              "REC_STATUS = 'L'"));
  EXPECT_EQ(3, committedCount("SELECT COUNT(*) FROM PROJECT_DETAILS WHERE LEVEL_LOCK = 1"));

  // Work tables of a levelling run emptied; the project-assignment tables
  // only when project assignments were handled, the sequence-id tables not
  // at all (identifiers are used as they are), the copy tables not.
  EXPECT_EQ(0, ownCount("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
  for (const char* t : {"Lev_kor_wbs", "Lev_circ_1", "Lev_circ_2", "Lev_circ_3", "NAV_TMP_TDY",
                        "NAV_TMP_TDY_LEVEL", "NAV_TMP_PA_CNTR"}) {
    EXPECT_EQ(0, ownCount(std::string("SELECT COUNT(*) FROM ") + t)) << t;
  }
  for (const char* t : {"NAV_TMP_PA_SUM", "Lev_project_assignment", "Lev_act_uids", "Lev_res_uids",
                        "nav_tmp_ta_02", "NAV_TMP_TDYD"}) {
    EXPECT_EQ(1, ownCount(std::string("SELECT COUNT(*) FROM ") + t)) << t;
  }

  // The user follows the end: unlocked, deleted, finished (newest first).
  EXPECT_EQ("[Finished] Leveling Project 'Alpha'", r.subject());
  const std::string now(kNow);
  EXPECT_EQ(now + "\nCompleted, 100% done.\n\n\n" + now + "\nAll Temporary objects are Deleted. " +
                now + "\nAll Selected Projects are Unlocked. Started.",
            r.description());
  EXPECT_EQ(std::string::npos, r.logText().find("Reset level_lock flag"));
}

TEST_F(Finalisation, ProjectAssignmentAndCopyRunWorkTables) {
  // Project assignments were handled: their work tables go too.
  auto state = levellingRun(0);
  state->proj_ass_count = 3;
  state->tmp_proj_ass_count = 2;
  finalize(state);
  EXPECT_EQ(0, r.count("SELECT COUNT(*) FROM NAV_TMP_PA_SUM"));
  EXPECT_EQ(0, r.count("SELECT COUNT(*) FROM Lev_project_assignment"));

  // A copy run empties its own two tables only.
  fillWorkTables();
  state = levellingRun(0);
  state->optionFlag = 2;
  finalize(state);
  EXPECT_EQ(0, r.count("SELECT COUNT(*) FROM nav_tmp_ta_02"));
  EXPECT_EQ(0, r.count("SELECT COUNT(*) FROM NAV_TMP_TDYD"));
  EXPECT_EQ(1, r.count("SELECT COUNT(*) FROM Lev_kor_wbs"));
  EXPECT_EQ(1, r.count("SELECT COUNT(*) FROM NAV_TMP_TDY"));
  EXPECT_EQ(0, r.count("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
}

TEST_F(Finalisation, LevelLocksAreResetAfterAFailureOnly) {
  struct Case {
    int errCode;
    bool reset;
  };
  const Case cases[] = {{0, false},      {200114, false}, {200319, false}, {200318, false},
                        {200004, false}, {200317, false}, {200139, true},  {200212, true},
                        {200320, true},  {-19, true},     {200158, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.errCode);
    fillWorkTables();
    exec("UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 1");
    auto state = levellingRun(c.errCode);
    state->allProjectsAreLockedByMe = 0;  // nothing to unlock: only the level locks matter
    const size_t logBefore = r.logText().size();
    finalize(state);
    EXPECT_EQ(c.reset ? 0 : 2, committedCount("SELECT COUNT(*) FROM PROJECT_DETAILS WHERE "
                                              "PROJECT_ID IN ('P1','P1S') AND LEVEL_LOCK = 1"));
    EXPECT_EQ(1, committedCount("SELECT COUNT(*) FROM PROJECT_DETAILS WHERE PROJECT_ID = 'P2' "
                                "AND LEVEL_LOCK = 1"));
    char box[512];
    std::snprintf(box, sizeof box,
                  "\n***************************************************************\n"
                  "*  Completing Calculate/Leveling w/error code = %10d    *\n"
                  "*  Reset level_lock flag to 0                                 *\n"
                  "***************************************************************\n",
                  c.errCode);
    const bool boxed = r.logText().find(box, logBefore) != std::string::npos;
    EXPECT_EQ(c.reset, boxed);
  }
}

TEST_F(Finalisation, ANegativeStatusKeepsTheWorkTablesButStillUnlocksAndCommits) {
  auto state = levellingRun(-19);
  run::copyCut(state->SQL_ErrCode, run::kSqlErrorSize, "constraint failed");
  state->_wneverLine = 4242;
  finalize(state);

  for (const char* t : {"Lev_kor_wbs", "Lev_circ_1", "Lev_circ_2", "Lev_circ_3", "NAV_TMP_TDY",
                        "NAV_TMP_TDY_LEVEL", "NAV_TMP_PA_CNTR"}) {
    EXPECT_EQ(1, ownCount(std::string("SELECT COUNT(*) FROM ") + t)) << t;
  }
  EXPECT_EQ(0, ownCount("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
  EXPECT_EQ(0, committedCount("SELECT COUNT(*) FROM KOR_WBS WHERE PROJECT_ID IN ('P1','P1S') "
                              "AND REC_STATUS = 'L'"));
  EXPECT_EQ(0, committedCount("SELECT COUNT(*) FROM PROJECT_DETAILS WHERE PROJECT_ID IN "
                              "('P1','P1S') AND LEVEL_LOCK = 1"));

  EXPECT_EQ("[Error: -19] Leveling Project 'Alpha'", r.subject());
  const std::string expected = std::string(kNow) +
                               "\nProcess Failed. Error Code is: -19 \nFile: "
                               "Lev_resolveDepOracleDB \nconstraint failed \nLine Number is: "
                               "4242 \n\n";
  EXPECT_EQ(expected, r.description().substr(0, expected.size()));
}

TEST_F(Finalisation, WhatIfPortfolioAndStoppedRunsUnlockWhatTheyMust) {
  // What-if: only projects whose level lock is already given back.
  exec("UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 0 WHERE PROJECT_ID = 'P1'");
  exec("UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 10 WHERE PROJECT_ID = 'P1S'");
  auto state = levellingRun(0);
  state->isWhatIfScenario = 1;
  state->optionFlag = 4;
  finalize(state);
  EXPECT_EQ("U", r.text("SELECT REC_STATUS FROM KOR_WBS WHERE ELEMENT_ID = 'T1'"));
  EXPECT_EQ("L", r.text("SELECT REC_STATUS FROM KOR_WBS WHERE ELEMENT_ID = 'P1S'"));

  // Portfolio folder: every selected project and the folder itself.
  fillWorkTables();
  exec("UPDATE KOR_WBS SET REC_STATUS = 'L'");
  r.db.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", "F1"},
                              {"RANK", "F1"},
                              {"TYPE_ID", "64"},
                              {"ELEMENT_NAME", "Folder"},
                              {"REC_STATUS", "L"}});
  state = levellingRun(0);
  state->isFolderWithinPortfolio = 1;
  run::copyCut(state->element_id, run::kIdSize, "F1");
  finalize(state);
  EXPECT_EQ(0, r.count("SELECT COUNT(*) FROM KOR_WBS WHERE PROJECT_ID IN ('P1','P1S') AND "
                       "REC_STATUS = 'L'"));
  EXPECT_EQ("U", r.text("SELECT REC_STATUS FROM KOR_PORTFOLIOS WHERE ELEMENT_ID = 'F1'"));

  // A run stopped at its lock check took nothing and leaves the tables, but
  // what it created is freed all the same.
  fillWorkTables();
  exec("UPDATE KOR_WBS SET REC_STATUS = 'L'");
  state = stoppedRun(200114);
  state->sm = smanagerCreateNew();
  state->act_tmp_list = ll_new(activityMatch, getActivityName);
  ll_addtail(state->act_tmp_list, activityCreateNew("T1", 3, nullptr, 100, 101, 480, 0, 0));
  finalize(state);
  EXPECT_EQ(nullptr, r.run->act_tmp_list);
  EXPECT_EQ(nullptr, r.run->sm);
  EXPECT_EQ(2, r.count("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
  EXPECT_EQ(1, r.count("SELECT COUNT(*) FROM Lev_kor_wbs"));
  EXPECT_EQ("L", r.text("SELECT REC_STATUS FROM KOR_WBS WHERE ELEMENT_ID = 'T1'"));
}

TEST_F(Finalisation, TheResultsReport) {
  auto state = levellingRun(0);
  state->tasksTotalCount = 2;
  state->ass_count = 2;
  state->tasks_with_ass_count = 1;
  state->num_proj = 2;
  state->time[run::kTimeStaticSequence] = 1.5;
  state->time[run::kTimeDynamicResolution] = 0.3;
  state->time[run::kTimeSearch] = 0.9;
  state->time[run::kTimeCriticalPath] = 0.06;
  state->time[run::kTimeCopyFirst] = 0.21;
  state->sequenceTimes[6] = 0.3;

  // Two minutes of processor time over two tasks.
  r.logText();
  run::printResultsReport(*state, kNow, 120.0, false, r.log());
  const std::string pad30(30, ' ');
  EXPECT_EQ(
      "\n\n\n LEVELING/CALCULATE RESULTS for Project. \n"
      " The Project id is                      :" +
          pad30 +
          "P1 \n"
          " Todays Date is                         :2024-01-08 09:00:00.000000 \n"
          " ---------------------------------------------------------------------------\n"
          " Error Code is                          :         0 \n"
          " Total Time                             : 120.00000 (p.task     40.00000)  seconds\n"
          " No.Leveled Tasks                       :         2 \n"
          " No.Leveled Assignments                 :         2 within   1 Leveled Tasks \n"
          " Total time Processing Forward/Backward :   1.50000 (p.task      0.50000)  seconds\n"
          " Dynamic Resolution of Dependences      :   0.30000 (p.task      0.10000)  seconds\n"
          " Search_2 Function                      :   0.90000 (p.assign    0.30000)  seconds\n"
          " Total time Critical Path Calculation   :   0.06000 (p.task      0.02000)  seconds\n"
          " Total Time of this RUN                 :   2.00000 (p.task      0.66667)  MINUTES\n",
      r.logText());

  // The detailed lines: per task, and the copy phase's per project.
  const size_t before = r.logText().size();
  run::printResultsReport(*state, kNow, 120.0, true, r.log());
  const std::string text = r.logText().substr(before);
  EXPECT_NE(std::string::npos,
            text.find(" Forward Pass                           :   0.30000 (p.task      0.10000)"
                      "  seconds\n"));
  EXPECT_NE(std::string::npos,
            text.find(" Copy DT-> Preparation                  :   0.21000 (p.proj      0.10000)"
                      "  seconds\n"));

  // Headers of a portfolio and of a what-if run, written by the finalisation.
  state = levellingRun(0);
  state->isFolderWithinPortfolio = 1;
  run::copyCut(state->element_id, run::kIdSize, "F1");
  finalize(state);
  EXPECT_NE(std::string::npos,
            r.logText().find("\n\n\n LEVELING/CALCULATE RESULTS for Portfolio. \n"
                             " The Portfolio id is                    :" +
                             pad30 +
                             "F1 \n"
                             " Todays Date is                         :2024-01-08 09:00:00.000000"
                             " \n"));
  state = levellingRun(0);
  state->isWhatIfScenario = 1;
  state->optionFlag = 4;
  run::copyCut(state->element_id, run::kIdSize, "SCN1");
  finalize(state);
  EXPECT_NE(std::string::npos,
            r.logText().find("\n\n\n LEVELING/CALCULATE RESULTS for What-If?Scenario. \n"
                             " The 1-st project_id                   :" +
                             pad30 + "P1 \n"));
}

TEST_F(Finalisation, TheFinalNotificationFollowsTheResultCode) {
  struct Case {
    int errCode;
    const char* tag;
    const char* text;
  };
  const Case cases[] = {
      {0, "[Finished] ", "Completed, 100% done.\n\n\n"},
      {200212, "[Circular] ", "There are circular dependencies in your projects.\n\n"},
      {200004, "[Failed] ", "You tried to Calculate/Level not existing project.\n\n"},
      {200318, "[Failed] ", "You tried to Calculate/Level an empty portfolio.\n\n"},
      {200317, "[Failed] ",
       "You have to Calculate/Level at least once before Copying results.\n\n"},
      {200320, "[Failed] ",
       "Terminated due to handling of code trown exception: Lev_resolveDependencesDB "
       "(levelResourcesForProject): \nLineNum= 77 \n\n"},
      {200139, "[Error: 200139] ",
       "Process Failed. Error Code is: 200139 \nFile: Lev_resolveDepOracleDB \n \nLine Number "
       "is: 77 \n\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.errCode);
    auto state = stoppedRun(c.errCode);
    state->_wneverLine = 77;
    finalize(state);
    EXPECT_EQ(std::string(c.tag) + "Leveling Project 'Alpha'", r.subject());
    EXPECT_EQ(std::string(kNow) + "\n" + c.text, r.description());
  }
}

TEST_F(Finalisation, TemplatedItemsNameTheRequestAndTheElement) {
  // A project, for a calculation.
  auto state = stoppedRun(200319);
  state->optionFlag = 3;
  finalize(state);
  EXPECT_EQ("[Locked] Calculating Project: 'Alpha'", r.subject());
  EXPECT_EQ(std::string(kNow) + "\n'Alpha'\ncontains templated WBS items. \n\n", r.description());

  // A portfolio folder: the name read from the portfolio, cut to 49
  // characters and trimmed.
  const std::string name44 = "Portfolio of the northern regional offices 2";
  ASSERT_EQ(44u, name44.size());
  r.db.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", "F1"},
                              {"RANK", "F1"},
                              {"TYPE_ID", "64"},
                              {"ELEMENT_NAME", name44 + "     and more"}});
  state = stoppedRun(200319);
  state->isFolderWithinPortfolio = 1;
  run::copyCut(state->element_id, run::kIdSize, "F1");
  finalize(state);
  EXPECT_EQ("[Locked] Leveling Portfolio: '" + name44 + "'", r.subject());
  EXPECT_EQ(std::string(kNow) + "\n'" + name44 +
                "' \nand one of its sub-elements \ncontains templated WBS items. \n\n",
            r.description());

  // A what-if copy: the scenario is no WBS element, its run's name is used.
  state = stoppedRun(200319);
  state->isWhatIfScenario = 1;
  state->optionFlag = 6;
  run::copyCut(state->element_id, run::kIdSize, "SCN1");
  run::copyCut(state->root_node_name, run::kRootNameSize, "Plan B");
  finalize(state);
  EXPECT_EQ("[Locked] Copying Calculated/Leveled Results for What-if? Scenario: 'Plan B'",
            r.subject());
  EXPECT_EQ(std::string(kNow) +
                "\n'Plan B' \nand one of its sub-elements \ncontains templated WBS items. \n\n",
            r.description());
}

TEST_F(Finalisation, ALockedRunNamesTheRunThatHoldsTheLock) {
  // Two locked sub-projects of P1; the first by rank (P1.1, P1S) holds the
  // lock that is described, whatever the order of the rows.
  r.db.project(
      {.id = "P1T", .start = "2024-01-01", .finish = "2024-03-29", .parent = "P1", .rank = "P1.2"});
  r.db.row("RESOURCES", {{"RESOURCE_ID", "U1"}, {"FULL_NAME", "Ann Smith"}});
  r.db.row("RESOURCES", {{"RESOURCE_ID", "U2"}, {"FULL_NAME", "Bob Brown"}});
  exec("UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 0");
  exec(
      "UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 1, LEVEL_LAST_CALL_OPTION = 1, "
      "SCENARIO_USER_ID = 'U2', SCENARIO_DATETIME = '2024-01-08 08:10:00.000000' "
      "WHERE PROJECT_ID = 'P1T'");
  exec(
      "UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 1, LEVEL_LAST_CALL_OPTION = 3, "
      "SCENARIO_USER_ID = 'U1', SCENARIO_DATETIME = '2024-01-08 08:30:00.000000' "
      "WHERE PROJECT_ID = 'P1S'");
  const std::string head = std::string(kNow) + "\n'Alpha' \nor one of its sub-elements ";

  // By the requesting user, in a calculation run of theirs.
  auto state = stoppedRun(200114);
  state->PRINT_OPTION_BASIC = 1;
  finalize(state);
  EXPECT_EQ("[Locked] Calculating Project: 'Alpha'", r.subject());
  EXPECT_EQ(head +
                "\nis locked for Calculate/Leveling by you at 2024-01-08 08:30:00.000000'\n"
                "RESOURCE_NAME = Ann Smith\nRESOURCE_ID = U1\n\n",
            r.description());
  EXPECT_NE(std::string::npos,
            r.logText().find("* Handling Locked Projects/Portfolios/Scenaria *"));

  // By someone else.
  state = stoppedRun(200114);
  run::copyCut(state->rec_user, run::kIdSize, "U3");
  finalize(state);
  EXPECT_EQ(head +
                "\nis locked for Calculate/Leveling by someone at 2024-01-08 08:30:00.000000'\n"
                "RESOURCE_NAME = Ann Smith\nRESOURCE_ID = U1\n\n",
            r.description());

  // As a part of a what-if scenario (the scenario lock 10), levelling.
  exec(
      "UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 10, LEVEL_LAST_CALL_OPTION = 4, "
      "SCENARIO_NAME = 'Plan B' WHERE PROJECT_ID = 'P1S'");
  state = stoppedRun(200114);
  run::copyCut(state->rec_user, run::kIdSize, "U3");
  finalize(state);
  EXPECT_EQ("[Locked] Leveling Project: 'Alpha'", r.subject());
  EXPECT_EQ(head +
                "\nis locked for Calculate/Leveling by someoneas a part of What-If?Scenario: "
                "'Plan B''\nRESOURCE_NAME = Ann Smith\nRESOURCE_ID = U1\n\n",
            r.description());

  // A what-if run: the scenario's projects, its own scenario lock 10 passed over.
  r.db.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1S"}});
  r.db.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1T"}});
  state = stoppedRun(200114);
  state->isWhatIfScenario = 1;
  state->optionFlag = 4;
  run::copyCut(state->element_id, run::kIdSize, "SCN1");
  run::copyCut(state->root_node_name, run::kRootNameSize, "Plan C");
  finalize(state);
  EXPECT_EQ("[Locked] Leveling What-if? Scenario: 'Plan C'", r.subject());
  EXPECT_EQ(std::string(kNow) +
                "\n'Plan C' \nor one of its sub-elements \nis locked for Calculate/Leveling by "
                "someone at 2024-01-08 08:10:00.000000'\nRESOURCE_NAME = Bob Brown\n"
                "RESOURCE_ID = U2\n\n",
            r.description());

  // A portfolio folder: the projects placed in it and their sub-projects.
  r.db.row("KOR_PORTFOLIOS",
           {{"ELEMENT_ID", "F1"}, {"RANK", "F1"}, {"TYPE_ID", "64"}, {"ELEMENT_NAME", "Folder"}});
  r.db.row("KOR_PORTFOLIOS",
           {{"ELEMENT_ID", "P1"}, {"RANK", "F1.01"}, {"TYPE_ID", "1"}, {"ELEMENT_NAME", "Alpha"}});
  state = stoppedRun(200114);
  state->isFolderWithinPortfolio = 1;
  run::copyCut(state->element_id, run::kIdSize, "F1");
  finalize(state);
  EXPECT_EQ("[Locked] Leveling Portfolio: 'Folder'", r.subject());
  EXPECT_EQ(std::string(kNow) +
                "\n'Folder' \nor one of its sub-elements \nis locked for Calculate/Leveling by "
                "youas a part of What-If?Scenario: 'Plan B''\nRESOURCE_NAME = Ann Smith\n"
                "RESOURCE_ID = U1\n\n",
            r.description());

  // No locked project to be found: the log says so, the user is told less.
  exec("UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 0");
  state = stoppedRun(200114);
  finalize(state);
  EXPECT_NE(std::string::npos,
            r.logText().find("\n\n**** error !!! Check why couldn't select locked projects !!! "));
  EXPECT_EQ("[Locked] Leveling Project: 'Alpha'", r.subject());
  EXPECT_EQ(head + "\nis locked for Calculate/Leveling by someone\n\n", r.description());
}

}  // namespace
