// The copy of levelled results into the plan, on small databases written as
// a levelling run leaves them: level columns filled, LEVEL_STATE 1, level
// daily rows, planned daily rows with and without actual work. Each test
// copies and reads the plan back against values worked out by hand. The
// host's roll-up and time-phase procedures are fakes that record their
// calls and can answer with a non-zero result (a warning) or a failure.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/procedures.h"
#include "host/sqlite_store.h"
#include "run/copy_phase.h"
#include "run/levelling_stage.h"
#include "run/run_state.h"
#include "store/progress.h"
#include "support/test_db.h"

namespace {

constexpr const char* kNow = "2024-03-01 12:00:00.000000";  // the copy begins
constexpr const char* kOldStart = "2024-02-26 08:00:00.000000";
constexpr const char* kOldFinish = "2024-02-26 17:00:00.000000";
constexpr const char* kMon = "2024-03-04 08:00:00.000000";  // levelled start
constexpr const char* kMonEnd = "2024-03-04 17:00:00.000000";
constexpr const char* kTueNoon = "2024-03-05 12:00:00.000000";

std::string join(std::initializer_list<std::string> values) {
  std::string out;
  for (const std::string& v : values) out += (out.empty() ? "" : " | ") + v;
  return out;
}

class CopyPhaseTest : public ::testing::Test {
 protected:
  CopyPhaseTest() {
    host::addBuiltinProcedures(registry_);
    for (const char* name : {"LEVEL_FC_Rollup", "LEVEL_FC_Rollup_Timephase",
                             "LEVEL_FC_Timephase_CRI_Task", "LEVEL_FC_TIMEPHASE_LEVELED"}) {
      const std::string n = name;
      registry_.add(n, n == "LEVEL_FC_Rollup" ? 1 : 0,
                    [this, n](db::Store&, host::Backend&, db::Vars args, const db::HostVar* result) {
                      std::string call = n + "(";
                      for (const db::HostVar& a : args) call += std::string(a.text());
                      calls_.push_back(call + ")");
                      if (statuses_.count(n) != 0) return statuses_[n];
                      if (result != nullptr) result->setInteger(results_[n]);
                      return int32_t{0};
                    });
    }
    db_ = std::make_unique<testing::TestDb>(host::SqliteOptions{.procedures = &registry_});
    db_->store().setFixedTime(kNow);
    db_->row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE"}, {"PARENT_ID", "NOTIFICATION"}});
    run_ = std::make_unique<run::RunState>();
    run_->optionFlag = 2;
    run::copyCut(run_->subject, run::kSubjectSize, "Copy Calculated Results Project 'Alpha'");
    run::copyCut(run_->element_id_p, run::kIdSize, "P1");
    run::copyCut(run_->rec_user, run::kIdSize, "U1");
    log_ = std::tmpfile();
  }
  ~CopyPhaseTest() override {
    if (log_ != nullptr) std::fclose(log_);
  }

  testing::TestDb& db() { return *db_; }
  void exec(const std::string& sql, db::Binds in = {}) {
    ASSERT_EQ(db_->store().execute(sql, in), 0) << sql << ": " << db_->store().status().message;
  }
  std::string text(const std::string& sql) {
    db::MessageText value;
    int16_t ind = 0;
    EXPECT_EQ(db_->store().selectInto(sql, {}, {db::HostVar(value, &ind)}), 0) << sql;
    return ind < 0 ? "NULL" : std::string(value.view());
  }
  int64_t count(const std::string& table) { return db_->scalar("SELECT COUNT(*) FROM " + table); }
  // Columns ("A, B") of one row joined by " | ", "NULL" for null.
  std::string cols(const char* table, const char* key, const std::string& id,
                   const std::string& columns) {
    std::string expr, column;
    std::stringstream in(columns);
    while (std::getline(in >> std::ws, column, ',')) {
      expr += (expr.empty() ? "" : " || ' | ' || ") + ("COALESCE(" + column + ", 'NULL')");
    }
    return text("SELECT " + expr + " FROM " + table + " WHERE " + key + " = '" + id + "'");
  }
  std::string ta(const std::string& id, const std::string& columns) {
    return cols("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID", id, columns);
  }
  std::string wbs(const std::string& id, const std::string& columns) {
    return cols("KOR_WBS", "ELEMENT_ID", id, columns);
  }
  std::string logText() {
    std::fflush(log_);
    std::rewind(log_);
    std::string out;
    char buf[4096];
    for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, log_)) > 0;) out.append(buf, n);
    return out;
  }
  std::string message() const { return run_->message; }
  int copy() { return run::copyLevelledResults(*run_, log_); }

  // A selected project as a levelling run leaves it.
  void project(const std::string& id, const std::string& name, const std::string& rank,
               int calculateFlag, int childCount, int levelState = 1) {
    db().project({.id = id, .name = name, .start = "2024-02-26", .finish = "2024-03-29",
                  .rank = rank});
    exec("UPDATE KOR_WBS SET LEVEL_STATE = ?, CHILD_COUNT = ?, LEVEL_START = ?, "
         "LEVEL_FINISH = '2024-03-08 17:00:00.000000' WHERE ELEMENT_ID = ?",
         {int32_t{levelState}, int32_t{childCount}, kMon, id});
    exec("UPDATE PROJECT_DETAILS SET CALCULATE_FLAG = ? WHERE PROJECT_ID = ?",
         {int32_t{calculateFlag}, id});
    exec("INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK) VALUES (?, ?)", {id, rank});
  }
  void task(const std::string& project, const std::string& id, int effort, int levelState,
            std::map<std::string, std::string> extra = {}) {
    extra.emplace("LEVEL_STATE", std::to_string(levelState));
    extra.emplace("LEVEL_START", kMon);
    extra.emplace("LEVEL_FINISH", kTueNoon);
    db().item({.project = project, .parent = project, .id = id, .effort = effort,
               .start = kOldStart, .finish = kOldFinish, .extra = extra});
  }
  // Levelled on Monday, changed before the copy began.
  void assignment(const std::string& task, const std::string& id,
                  std::map<std::string, std::string> extra = {}, int workTodate = 0) {
    extra.emplace("BIT_FLAG", "0");
    extra.emplace("LEVEL_START", kMon);
    extra.emplace("LEVEL_FINISH", kMonEnd);
    extra.emplace("LEVEL_EFFORT", "480");
    extra.emplace("LEVEL_ASSIGN_STRING", "lvl-" + id);
    extra.emplace("REC_DATETIME", "2024-03-01 09:00:00.000000");
    db().assignment({.project = "P1", .task = task, .id = id, .resource = "R" + id,
                     .workTodate = workTodate, .extra = extra});
  }
  void day(const std::string& table, const std::string& assignmentId, const std::string& dayText,
           int schedMinutes, int actualMinutes, int actualFlag, const std::string& bits) {
    db().row(table, {{"PROJECT_ID", "P1"}, {"TASK_ID", "T1"}, {"TSK_ASSIGNMENT_ID", assignmentId},
                     {"DAY_YEAR", dayText}, {"SCHED_MIN", std::to_string(schedMinutes)},
                     {"ACTUAL_MIN", std::to_string(actualMinutes)},
                     {"ACTUAL_FLAG", std::to_string(actualFlag)}, {"BIT_SCHED", bits}});
  }

  host::ProcedureRegistry registry_;
  std::vector<std::string> calls_;
  std::map<std::string, int32_t> results_;   // result of a fake, by name
  std::map<std::string, int32_t> statuses_;  // failing status of a fake, by name
  std::unique_ptr<testing::TestDb> db_;
  std::unique_ptr<run::RunState> run_;
  FILE* log_ = nullptr;
};

// One project copied whole: planned-mode and scheduled-mode assignments,
// items with and without effort, project assignments, the project item's
// dates, the host calls; then a second copy that finds nothing new.
TEST_F(CopyPhaseTest, LevelledValuesBecomeThePlanOnce) {
  project("P1", "Alpha", "P1", 2, 2);
  task("P1", "T1", 480, 1,
       {{"LEVEL_CONSTRAINT_TYPE", "2"}, {"LEVEL_CONSTRAINT_DT", "2024-03-04"},
        {"ROLLUP_BITS", "1"}, {"FORECAST_START", kOldStart}});
  task("P1", "T2", 0, 1, {{"LEVEL_START", kTueNoon}});  // a milestone
  assignment("T1", "A1",  // planned mode
             {{"PLANNED_START", kOldStart}, {"SCHED_START", kOldStart}, {"SCHED_WORK", "77"},
              {"CONSIDER", "3"}, {"ROLLUP_BITS", "4"}, {"FORECAST_START", kOldStart},
              {"LAST_SCHED_MIN", "15"}});
  assignment("T1", "A2",  // scheduled mode, started
             {{"BIT_FLAG", "2"}, {"ACTUAL_START", kOldStart}, {"ETC", "360"},
              {"SCHED_START", kOldStart}, {"SCHED_FINISH", kOldFinish},
              {"PROPOSED_START", kOldStart}, {"PROPOSED_FINISH", kOldFinish},
              {"PLANNED_START", kOldStart}, {"LEVEL_FINISH", kTueNoon}, {"LEVEL_EFFORT", "360"},
              {"BAK_ASSIGN_STRING", "bak-A2"}},
             120);
  assignment("T1", "A3", {{"BIT_FLAG", "2"}, {"LEVEL_EFFORT", "240"}});  // not started
  // On the project item, with two resource project assignments.
  assignment("P1", "A5", {{"LEVEL_START", "2024-03-02 08:00:00.000000"},
                          {"LEVEL_FINISH", "2024-03-07 17:00:00.000000"}});
  db().row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "P1"}, {"RESOURCE_ID", "RA5"},
                                   {"RESOURCE_TYPE", "1"},
                                   {"LEVEL_PLANNED_START", "2024-03-02 08:00:00.000000"},
                                   {"LEVEL_PLANNED_FINISH", "2024-03-07 17:00:00.000000"}});
  db().row("PROJECT_ASSIGNMENTS",  // scheduled dates before planned ones
           {{"PROJECT_ID", "P1"}, {"RESOURCE_ID", "R6"}, {"RESOURCE_TYPE", "1"},
            {"LEVEL_PLANNED_START", "2024-03-01 08:00:00.000000"},
            {"LEVEL_SCHED_START", "2024-03-05 08:00:00.000000"},
            {"LEVEL_SCHED_FINISH", "2024-03-11 17:00:00.000000"}});
  ASSERT_EQ(copy(), 0) << logText();

  const char* kPlan = "PLANNED_START, PLANNED_FINISH, SCHED_START, SCHED_FINISH, "
                      "PROPOSED_START, PROPOSED_FINISH, PLANNED_WORK, SCHED_WORK";
  const char* kBak = "ASSIGN_STRING, BAK_START_DT, BAK_FINISH_DT, BAK_ASSIGN_STRING, CONSIDER";
  EXPECT_EQ(ta("A1", kPlan), join({kMon, kMonEnd, kOldStart, "NULL", kMon, kMonEnd, "480", "0"}));
  EXPECT_EQ(ta("A1", kBak), join({"lvl-A1", kMon, kMonEnd, "lvl-A1", "6"}));
  EXPECT_EQ(ta("A1", "LEVEL_START, LEVEL_FINISH, LEVEL_EFFORT, LEVEL_ASSIGN_STRING, "
                     "FORECAST_START, FORECAST_DURATION, LAST_SCHED_MIN, ROLLUP_BITS"),
            join({"NULL", "NULL", "0", "NULL", "NULL", "0", "0", "33554436"}));
  // Started: its start and proposed dates stay, work = to date + levelled.
  EXPECT_EQ(ta("A2", kPlan),
            join({kOldStart, "NULL", kOldStart, kTueNoon, kOldStart, kOldFinish, "0", "480"}));
  EXPECT_EQ(ta("A2", kBak), join({"lvl-A2", kMon, "NULL", "bak-A2", "6"}));
  EXPECT_EQ(ta("A3", kPlan), join({"NULL", "NULL", kMon, kMonEnd, kMon, kMonEnd, "0", "240"}));

  // With effort: proposed dates and the levelled constraint; without:
  // planned dates where there were some.
  EXPECT_EQ(wbs("T1", "LEVEL_STATE, PROPOSED_START, PROPOSED_FINISH, PLANNED_START, "
                      "CONSTRAINT_TYPE, CONSTRAINT_DT, FORECAST_START, ROLLUP_BITS"),
            join({"2", kMon, kTueNoon, kOldStart, "2", "2024-03-04 00:00:00.000000", "NULL",
                  "33554433"}));
  EXPECT_EQ(wbs("T2", "LEVEL_STATE, PLANNED_START, PLANNED_FINISH, SCHED_START, CONSTRAINT_DT"),
            join({"2", kTueNoon, kTueNoon, "NULL", "NULL"}));
  EXPECT_EQ(text("SELECT GROUP_CONCAT(RESOURCE_ID || '=' || COALESCE(ESTIMATED_PLANNED_START, "
                 "'NULL') || '/' || COALESCE(ESTIMATED_PLANNED_FINISH, 'NULL'), ' ') "
                 "FROM PROJECT_ASSIGNMENTS"),
            "RA5=2024-03-02 08:00:00.000000/2024-03-07 17:00:00.000000 R6=NULL/NULL");
  // The project has tasks: START_DT stays; its dates widen to the project
  // assignments' earliest start (03-02) and latest finish (03-11).
  EXPECT_EQ(wbs("P1", "LEVEL_STATE, PLANNED_START, START_DT, START_FINISH_DATE, "
                      "FINISH_START_DATE"),
            join({"2", kMon, "NULL", "2024-03-02", "2024-03-11"}));

  EXPECT_EQ(calls_, (std::vector<std::string>{
                        "LEVEL_FC_Rollup(P1%)", "LEVEL_FC_Rollup_Timephase()",
                        "LEVEL_FC_Timephase_CRI_Task()", "LEVEL_FC_TIMEPHASE_LEVELED()"}));
  EXPECT_NE(message().find("Project 'Alpha' is done.\n\n "), std::string::npos);
  EXPECT_EQ(count("KOR_WORKFLOWS WHERE DESCRIPTION LIKE '%Project ''Alpha'' is done.%'"), 1);
  EXPECT_EQ(run_->num_proj, 1);

  // Again: LEVEL_STATE is 2 now, nothing is new and nothing changes.
  exec("UPDATE TASK_ASSIGNMENTS SET PLANNED_START = 'by hand'");
  calls_.clear();
  run_->message[0] = '\0';
  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(message(), "No new Calculated/Leveled Data has been found for Project 'Alpha' \n\n");
  EXPECT_EQ(ta("A1", "PLANNED_START"), "by hand");
  EXPECT_TRUE(calls_.empty());
}

// Planned days of copied assignments give way to the levelled ones; a day
// with actual work keeps its row (the level row of that day is dropped),
// its scheduled minutes and bits cut to the actual minutes.
TEST_F(CopyPhaseTest, DaysWithActualWorkKeepTheirRowsCutToTheActualMinutes) {
  const std::string standard = testing::dayBitsHex(testing::standardDay());
  const std::string morning = testing::dayBitsHex(testing::dayBits({{480, 600}}));
  project("P1", "Alpha", "P1", 2, 1);
  task("P1", "T1", 960, 1);
  assignment("T1", "A1");
  assignment("T1", "A2", {{"BIT_FLAG", "2"}, {"ACTUAL_START", kOldStart}}, 300);
  day("TASK_DAY_OF_YEAR", "A1", "2024-02-26", 480, 0, 0, standard);
  day("TASK_DAY_OF_YEAR", "A2", "2024-02-29", 120, 0, 1, morning);
  day("TASK_DAY_OF_YEAR", "A2", "2024-03-01", 480, 300, 1, standard);
  day("TASK_DAY_OF_YEAR", "A2", "2024-03-06", 240, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "A1", "2024-03-04", 480, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "A2", "2024-03-01", 480, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "A2", "2024-03-04", 240, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "A2", "2024-03-05", 120, 0, 0, standard);

  ASSERT_EQ(copy(), 0) << logText();

  EXPECT_EQ(text("SELECT GROUP_CONCAT(TSK_ASSIGNMENT_ID || ':' || DAY_YEAR || ':' || SCHED_MIN "
                 "|| ':' || ACTUAL_MIN, ' ') FROM (SELECT * FROM TASK_DAY_OF_YEAR "
                 "ORDER BY TSK_ASSIGNMENT_ID, DAY_YEAR)"),
            "A1:2024-03-04:480:0 A2:2024-02-29:0:0 A2:2024-03-01:300:300 A2:2024-03-04:240:0 "
            "A2:2024-03-05:120:0");
  // 300 minutes of the standard day: 08:00-12:00 (slots 96-143, bytes
  // 12-17) and 13:00-14:00 (slots 156-167: low half of byte 19, byte 20);
  // no actual minutes leave no working time.
  EXPECT_EQ(text("SELECT BIT_SCHED FROM TASK_DAY_OF_YEAR WHERE DAY_YEAR = '2024-03-01'"),
            std::string(24, '0') + "ffffffffffff" + "000fff" + std::string(30, '0'));
  EXPECT_EQ(text("SELECT BIT_SCHED FROM TASK_DAY_OF_YEAR WHERE DAY_YEAR = '2024-02-29'"),
            std::string(72, '0'));
  EXPECT_EQ(count("LEVEL_TASK_DAY_OF_YEAR"), 0);
}

// A project assignment is copied whole or not at all; only what was
// changed before the copy began and is not finished is copied.
TEST_F(CopyPhaseTest, OnlyWholeUnchangedUnfinishedAssignmentsAreCopied) {
  project("P1", "Alpha", "P1", 1, 3);
  task("P1", "T1", 480, 1);
  task("P1", "T2", 480, 0);  // not levelled
  task("P1", "T3", 480, 1);
  assignment("T1", "A1", {{"PROJECT_ASSIGNMENT_ID", "PA1"}});
  assignment("T2", "A2", {{"PROJECT_ASSIGNMENT_ID", "PA1"}});
  assignment("T3", "A3", {{"PROJECT_ASSIGNMENT_ID", "PA2"}});
  assignment("T3", "A4", {{"REC_DATETIME", kNow}});
  assignment("T3", "A5", {{"ACTUAL_FINISH", kOldFinish}, {"ETC", "0"}});
  assignment("T3", "A6", {{"BIT_FLAG", "2"}, {"ACTUAL_START", kOldStart},
                          {"ACTUAL_FINISH", kOldFinish}, {"SCHED_FINISH", kOldFinish},
                          {"ETC", "60"}});
  day("TASK_DAY_OF_YEAR", "A1", "2024-02-26", 480, 0, 0, "");
  day("LEVEL_TASK_DAY_OF_YEAR", "A1", "2024-03-04", 480, 0, 0, "");

  ASSERT_EQ(copy(), 0) << logText();

  const char* kCopied = "LEVEL_START, PLANNED_START, SCHED_FINISH, CONSIDER";
  // PA1 is left and its levelled task goes back to LEVEL_STATE 0.
  EXPECT_EQ(ta("A1", kCopied), join({kMon, "NULL", "NULL", "NULL"}));
  EXPECT_EQ(ta("A2", kCopied), join({kMon, "NULL", "NULL", "NULL"}));
  EXPECT_EQ(wbs("T1", "LEVEL_STATE, PROPOSED_START"), "0 | NULL");
  EXPECT_EQ(text("SELECT GROUP_CONCAT(DAY_YEAR) FROM TASK_DAY_OF_YEAR"), "2024-02-26");
  // PA2 is copied; after a calculation run CONSIDER is 0.
  EXPECT_EQ(ta("A3", kCopied), join({"NULL", kMon, "NULL", "0"}));
  EXPECT_EQ(wbs("T3", "LEVEL_STATE"), "2");
  // Changed as the copy began, or finished: left. Finished with work left
  // over: copied, with the levelled finish.
  EXPECT_EQ(ta("A4", kCopied), join({kMon, "NULL", "NULL", "NULL"}));
  EXPECT_EQ(ta("A5", kCopied), join({kMon, "NULL", "NULL", "NULL"}));
  EXPECT_EQ(ta("A6", kCopied), join({"NULL", "NULL", kMonEnd, "0"}));
  EXPECT_EQ(count("LEVEL_TASK_DAY_OF_YEAR"), 0);
}

// Never calculated (CALCULATE_FLAG 0, or no details row: named by its id):
// skipped with the two texts, nothing copied, no host procedure called.
TEST_F(CopyPhaseTest, NeverCalculatedProjectsAreSkipped) {
  project("P1", "Alpha", "0002", 0, 1);
  task("P1", "T1", 480, 1);
  assignment("T1", "A1");
  project("P2", "Beta", "0001", 2, 0);
  exec("DELETE FROM PROJECT_DETAILS WHERE PROJECT_ID = 'P2'");

  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(message(),
            "One must apply Calculate/Level before trying to copy results. \n\n"
            "The Project 'P2' has never been Calculated/Leveled \n\n"
            "One must apply Calculate/Level before trying to copy results. \n\n"
            "The Project 'Alpha' has never been Calculated/Leveled \n\n");
  EXPECT_EQ(ta("A1", "LEVEL_START"), kMon);
  EXPECT_EQ(wbs("T1", "LEVEL_STATE"), "1");
  EXPECT_TRUE(calls_.empty());
}

// A selected project without its WBS row: "error(D-1)", notified, and
// 200143 at once: nothing after it is copied, the level rows stay.
TEST_F(CopyPhaseTest, MissingProjectEndsTheCopyWith200143) {
  project("P1", "Alpha", "0001", 2, 1);
  task("P1", "T1", 480, 1);
  day("LEVEL_TASK_DAY_OF_YEAR", "A1", "2024-03-04", 480, 0, 0, "");
  exec("INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK) VALUES ('PX', '0009')");

  EXPECT_EQ(copy(), run::kErrCopyProjectMissing);
  const std::string log = logText();
  EXPECT_NE(log.find("**** error(D-1)/data corruption in Lev_resolveDepOracleDB "
                     "(levelResourcesForProject) \nerror type: not existing PROJECT_ID"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("PROJECT_ID = PX (0)"), std::string::npos);
  EXPECT_NE(message().find("Please submit to supporting team"), std::string::npos);
  EXPECT_EQ(wbs("T1", "LEVEL_STATE"), "1");
  EXPECT_EQ(count("LEVEL_TASK_DAY_OF_YEAR"), 1);
}

// Non-zero results of the roll-up and time-phase procedures are W-0, W-1,
// W-2 (logged, notified with the contact line) and the copy goes on to the
// budget switch: where a new row of type 17 (18) exists for an element and
// charge code of a selected project the old 3 (2) goes and the new one
// takes its type; other rows and other projects stay.
TEST_F(CopyPhaseTest, TimephaseWarningsAndTheBudgetSwitch) {
  project("P1", "Alpha", "P1", 2, 1);
  db().project({.id = "P9", .start = "2024-02-26", .finish = "2024-03-29"});
  auto budget = [&](const char* project, const char* chargeCode, int type, int amount) {
    db().row("PROJECT_BUDGET_BREAKDOWN",
             {{"PROJECT_ID", project}, {"ELEMENT_ID", "E"}, {"CHARGECODE_ID", chargeCode},
              {"BUDGET_TYPE", std::to_string(type)}, {"AMOUNT", std::to_string(amount)}});
  };
  budget("P1", "C1", 3, 100);
  budget("P1", "C1", 17, 110);
  budget("P1", "C1", 2, 200);
  budget("P1", "C1", 18, 220);
  budget("P1", "C2", 3, 300);  // no new figures for C2
  budget("P9", "C1", 3, 900);  // not selected
  budget("P9", "C1", 17, 990);
  results_ = {{"LEVEL_FC_Rollup", 3}, {"LEVEL_FC_Rollup_Timephase", 4},
              {"LEVEL_FC_Timephase_CRI_Task", 5}, {"LEVEL_FC_TIMEPHASE_LEVELED", 6}};

  ASSERT_EQ(copy(), 0) << logText();
  const std::string log = logText();
  for (const char* head : {"**** error(W-0) in Lev_resolveDepOracleDB (levelResourcesForProject) "
                           "\nerror type: not zero error code returning from FC_Rollup \n",
                           "**** error(W-1) in Lev_resolveDepOracleDB (levelResourcesForProject) "
                           "\nerror type: not zero error code returning from FC_Rollup_Timephase",
                           "**** error(W-2) in Lev_resolveDepOracleDB (levelResourcesForProject) "
                           "\nerror type: not zero error code returning from "
                           "FC_Timephase_CRI_Task"}) {
    EXPECT_NE(log.find(head), std::string::npos) << head << "\n--- log:\n" << log;
  }
  EXPECT_EQ(log.find("error(W-3)"), std::string::npos);
  EXPECT_NE(message().find("error(W-2)"), std::string::npos);
  EXPECT_NE(message().find("Please submit to supporting team \n\n"), std::string::npos);
  EXPECT_EQ(text("SELECT GROUP_CONCAT(PROJECT_ID || '/' || CHARGECODE_ID || '/' || BUDGET_TYPE "
                 "|| '/' || AMOUNT, ' ') FROM (SELECT * FROM PROJECT_BUDGET_BREAKDOWN "
                 "ORDER BY PROJECT_ID, CHARGECODE_ID, AMOUNT)"),
            "P1/C1/3/110 P1/C1/2/220 P1/C2/3/300 P9/C1/3/900 P9/C1/17/990");
}

// A failing statement or procedure returns its status after the SQL
// failure line; what was copied before stays, the steps after it do not run.
TEST_F(CopyPhaseTest, FailureReturnsTheStatusAndKeepsWhatWasCopied) {
  project("P1", "Alpha", "P1", 2, 1);
  task("P1", "T1", 480, 1);
  assignment("T1", "A1");
  day("LEVEL_TASK_DAY_OF_YEAR", "A9", "2024-03-04", 480, 0, 0, "");
  statuses_ = {{"LEVEL_FC_Rollup", -20005}};

  EXPECT_EQ(copy(), -20005);
  const std::string log = logText();
  EXPECT_NE(log.find("negative error code from SQL: SC_STATE = -20005"), std::string::npos)
      << log;
  EXPECT_NE(log.find("LineNum  = " + std::to_string(run::kCopyLineRollup)), std::string::npos);
  EXPECT_STRNE(run_->SQL_ErrCode, "");
  EXPECT_EQ(ta("A1", "PLANNED_START"), kMon);
  EXPECT_EQ(calls_, std::vector<std::string>{"LEVEL_FC_Rollup(P1%)"});
  EXPECT_EQ(count("LEVEL_TASK_DAY_OF_YEAR"), 1);
}

// Deepest rank first. While no project of the run has had items other than
// project-type ones, a project with nothing else below it takes its
// levelled dates as planned dates; after the first with tasks, only
// CHILD_COUNT 0 does. A what-if copy also takes the scenario's priority;
// roll-ups run for projects with children; progress per project.
TEST_F(CopyPhaseTest, ProjectDatesFollowTheChildCountAndTheRunWideRule) {
  run_->optionFlag = 6;
  project("PD", "PD", "0004", 2, 1);  // a sub-project item only
  db().item({.project = "PD", .parent = "PD", .id = "PDsub", .typeId = 154, .effort = 0});
  project("PC", "PC", "0003", 2, 1);  // a task: ends the rule
  task("PC", "TC", 480, 1);
  project("PB", "PB", "0002", 2, 1);  // like PD, but after PC
  db().item({.project = "PB", .parent = "PB", .id = "PBsub", .typeId = 154, .effort = 0});
  project("PA", "PA", "0001", 2, 0);  // no children
  for (const auto& [id, priority] : std::vector<std::pair<std::string, int32_t>>{
           {"PD", 40}, {"PC", 30}, {"PB", 20}, {"PA", 10}}) {
    exec("INSERT INTO NAV_SCENARIOS (ELEMENT_ID, PRIORITY) VALUES (?, ?)", {id, priority});
  }
  std::vector<std::string> progress;
  db::ProgressBinding binding(
      [](void* user, const char* phase, int64_t done, int64_t total) {
        static_cast<std::vector<std::string>*>(user)->push_back(
            std::string(phase) + " " + std::to_string(done) + "/" + std::to_string(total));
      },
      &progress);

  ASSERT_EQ(copy(), 0) << logText();
  const char* kDates = "START_DT, FINISH_DT, UNRESOLVED_FINISH, START_FINISH_DATE, "
                       "FINISH_START_DATE, PRIORITY";
  const std::string levelled = join({kMon, "2024-03-08 17:00:00.000000",
                                     "2024-03-08 17:00:00.000000", "2024-03-04", "2024-03-08"});
  EXPECT_EQ(wbs("PD", kDates), join({levelled, "40"}));
  EXPECT_EQ(wbs("PC", kDates), join({"NULL", "NULL", "2024-03-29 17:00:00.000000", "2024-03-04",
                                     "2024-03-08", "30"}));
  EXPECT_EQ(wbs("PB", kDates), join({"NULL", "NULL", "2024-03-29 17:00:00.000000", "2024-03-04",
                                     "2024-03-08", "20"}));
  EXPECT_EQ(wbs("PA", kDates), join({levelled, "10"}));
  EXPECT_EQ(calls_, (std::vector<std::string>{
                        "LEVEL_FC_Rollup(0004%)", "LEVEL_FC_Rollup(0003%)",
                        "LEVEL_FC_Rollup(0002%)", "LEVEL_FC_Rollup_Timephase()",
                        "LEVEL_FC_Timephase_CRI_Task()", "LEVEL_FC_TIMEPHASE_LEVELED()"}));
  EXPECT_EQ(progress, (std::vector<std::string>{"copying results 1/4", "copying results 2/4",
                                                "copying results 3/4", "copying results 4/4"}));
  EXPECT_LT(message().find("Project 'PA' is done."), message().find("Project 'PD' is done."));
}

}  // namespace
