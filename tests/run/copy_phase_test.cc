// The copy of levelled results into the plan, on small databases written as
// a levelling run leaves them: level columns filled, LEVEL_STATE 1, level
// daily rows, planned daily rows with and without actual work. Each test
// copies and then reads the plan back column by column against values
// worked out by hand. The host's roll-up and time-phase procedures are
// fakes that record their calls and can answer with a non-zero result (a
// warning) or a failing status.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
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

constexpr const char* kNow = "2024-03-01 12:00:00.000000";
constexpr const char* kBefore = "2024-03-01 09:00:00.000000";

class CopyPhaseTest : public ::testing::Test {
 protected:
  CopyPhaseTest() {
    host::addBuiltinProcedures(registry_);
    for (const char* name : {"LEVEL_FC_Rollup", "LEVEL_FC_Rollup_Timephase",
                             "LEVEL_FC_Timephase_CRI_Task", "LEVEL_FC_TIMEPHASE_LEVELED"}) {
      const std::string n = name;
      registry_.add(n, n == "LEVEL_FC_Rollup" ? 1 : 0,
                    [this, n](host::SqliteStore&, db::Vars args, const db::HostVar* result) {
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
    const int32_t rc = db_->store().execute(sql, in);
    ASSERT_EQ(rc, 0) << sql << ": " << db_->store().status().message;
  }
  // One value of a query as text; "NULL" for null.
  std::string text(const std::string& sql) {
    db::MessageText value;
    int16_t ind = 0;
    const int32_t rc = db_->store().selectInto(sql, {}, {db::HostVar(value, &ind)});
    EXPECT_EQ(rc, 0) << sql << ": " << db_->store().status().message;
    return ind < 0 ? "NULL" : std::string(value.view());
  }
  int64_t number(const std::string& sql) { return db_->scalar(sql); }
  std::string assignment(const std::string& id, const std::string& column) {
    return text("SELECT " + column + " FROM TASK_ASSIGNMENTS WHERE TSK_ASSIGNMENT_ID = '" + id +
                "'");
  }
  std::string item(const std::string& id, const std::string& column) {
    return text("SELECT " + column + " FROM KOR_WBS WHERE ELEMENT_ID = '" + id + "'");
  }
  std::string logText() {
    std::fflush(log_);
    std::rewind(log_);
    std::string out;
    char buf[4096];
    std::size_t n = 0;
    while ((n = std::fread(buf, 1, sizeof buf, log_)) > 0) out.append(buf, n);
    return out;
  }
  std::string message() const { return run_->message; }
  int copy() { return run::copyLevelledResults(*run_, log_); }

  // A selected project as a levelling run leaves it: LEVEL_STATE 1,
  // levelled dates on its item, CALCULATE_FLAG set.
  void levelledProject(const std::string& id, const std::string& name, const std::string& rank,
                       int calculateFlag, int childCount, int levelState = 1) {
    db().project({.id = id, .name = name, .start = "2024-02-26", .finish = "2024-03-29",
                  .rank = rank});
    exec("UPDATE KOR_WBS SET LEVEL_STATE = ?, CHILD_COUNT = ?, "
         "LEVEL_START = '2024-03-04 08:00:00.000000', "
         "LEVEL_FINISH = '2024-03-08 17:00:00.000000' WHERE ELEMENT_ID = ?",
         {int32_t{levelState}, int32_t{childCount}, id});
    exec("UPDATE PROJECT_DETAILS SET CALCULATE_FLAG = ?, LEVEL_LAST_CALL_OPTION = ? "
         "WHERE PROJECT_ID = ?",
         {int32_t{calculateFlag}, int32_t{calculateFlag == 0 ? 0 : 3}, id});
    exec("INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK, PRIORITY, LEVEL_ID) "
         "VALUES (?, ?, 500, 1)",
         {id, rank});
  }
  // A task with levelled dates, LEVEL_STATE as given.
  void levelledTask(const std::string& project, const std::string& id, int effort,
                    int levelState, std::map<std::string, std::string> extra = {}) {
    extra.emplace("LEVEL_STATE", std::to_string(levelState));
    extra.emplace("LEVEL_START", "2024-03-04 08:00:00.000000");
    extra.emplace("LEVEL_FINISH", "2024-03-05 12:00:00.000000");
    db().item({.project = project, .parent = project, .id = id, .effort = effort,
               .start = "2024-02-26 08:00:00.000000", .finish = "2024-02-26 17:00:00.000000",
               .extra = extra});
  }
  // A levelled assignment (changed before the copy began).
  void levelledAssignment(const std::string& project, const std::string& task,
                          const std::string& id, const std::string& resource,
                          std::map<std::string, std::string> extra, int workTodate = 0) {
    extra.emplace("BIT_FLAG", "0");
    extra.emplace("LEVEL_START", "2024-03-04 08:00:00.000000");
    extra.emplace("LEVEL_FINISH", "2024-03-04 17:00:00.000000");
    extra.emplace("LEVEL_EFFORT", "480");
    extra.emplace("LEVEL_ASSIGN_STRING", "lvl-" + id);
    extra.emplace("REC_DATETIME", kBefore);
    db().assignment({.project = project, .task = task, .id = id, .resource = resource,
                     .workTodate = workTodate, .extra = extra});
  }
  void day(const std::string& table, const std::string& project, const std::string& task,
           const std::string& assignmentId, const std::string& dayText, int schedMinutes,
           int actualMinutes, int actualFlag, const std::string& bits) {
    db().row(table, {{"PROJECT_ID", project},
                     {"TASK_ID", task},
                     {"TSK_ASSIGNMENT_ID", assignmentId},
                     {"RESOURCE_ID", "R"},
                     {"PARENT_ID", project},
                     {"DAY_YEAR", dayText},
                     {"SCHED_MIN", std::to_string(schedMinutes)},
                     {"ACTUAL_MIN", std::to_string(actualMinutes)},
                     {"ACTUAL_FLAG", std::to_string(actualFlag)},
                     {"BIT_SCHED", bits},
                     {"BIT_FLAG", "0"}});
  }

  host::ProcedureRegistry registry_;
  std::vector<std::string> calls_;
  std::map<std::string, int32_t> results_;   // result of a fake, by name
  std::map<std::string, int32_t> statuses_;  // failing status of a fake, by name
  std::unique_ptr<testing::TestDb> db_;
  std::unique_ptr<run::RunState> run_;
  FILE* log_ = nullptr;
};

// The whole copy of one project: planned-mode and scheduled-mode
// assignments, the WBS items with and without effort, the project
// assignments, the project item's dates and the host calls.
TEST_F(CopyPhaseTest, LevelledValuesBecomeThePlan) {
  levelledProject("P1", "Alpha", "P1", 2, 2);
  levelledTask("P1", "T1", 480, 1,
               {{"LEVEL_CONSTRAINT_TYPE", "2"},
                {"LEVEL_CONSTRAINT_DT", "2024-03-04"},
                {"ROLLUP_BITS", "1"},
                {"FORECAST_START", "2024-02-27 08:00:00.000000"},
                {"LEVEL_FINISH", "2024-03-05 12:00:00.000000"}});
  levelledTask("P1", "T2", 0, 1,
               {{"LEVEL_START", "2024-03-08 17:00:00.000000"},
                {"LEVEL_FINISH", "2024-03-08 17:00:00.000000"}});
  // Planned mode.
  levelledAssignment("P1", "T1", "A1", "R1",
                     {{"ASSIGN_STRING", "old-A1"},
                      {"PLANNED_START", "2024-02-26 08:00:00.000000"},
                      {"PLANNED_FINISH", "2024-02-26 17:00:00.000000"},
                      {"SCHED_START", "2024-02-26 08:00:00.000000"},
                      {"SCHED_WORK", "77"},
                      {"CONSIDER", "3"},
                      {"ROLLUP_BITS", "4"},
                      {"FORECAST_START", "2024-02-27 08:00:00.000000"},
                      {"LAST_SCHED_MIN", "15"}});
  // Scheduled mode, started: the actual start keeps its scheduled start.
  levelledAssignment("P1", "T1", "A2", "R2",
                     {{"BIT_FLAG", "2"},
                      {"ACTUAL_START", "2024-03-01 08:00:00.000000"},
                      {"ETC", "360"},
                      {"SCHED_START", "2024-03-01 08:00:00.000000"},
                      {"SCHED_FINISH", "2024-03-01 17:00:00.000000"},
                      {"PROPOSED_START", "2024-02-29 08:00:00.000000"},
                      {"PROPOSED_FINISH", "2024-03-01 17:00:00.000000"},
                      {"PLANNED_START", "2024-02-20 08:00:00.000000"},
                      {"LEVEL_FINISH", "2024-03-05 12:00:00.000000"},
                      {"LEVEL_EFFORT", "360"},
                      {"BAK_ASSIGN_STRING", "bak-A2"}},
                     120);
  // Scheduled mode, not started.
  levelledAssignment("P1", "T1", "A3", "R3",
                     {{"BIT_FLAG", "2"}, {"LEVEL_EFFORT", "240"}, {"ETC", "240"}});
  // A project-level assignment and the project assignments.
  levelledAssignment("P1", "P1", "A5", "R5",
                     {{"LEVEL_START", "2024-03-02 08:00:00.000000"},
                      {"LEVEL_FINISH", "2024-03-07 17:00:00.000000"}});
  db().row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "P1"},
                                   {"RESOURCE_ID", "R5"},
                                   {"RESOURCE_TYPE", "1"},
                                   {"LEVEL_PLANNED_START", "2024-03-02 08:00:00.000000"},
                                   {"LEVEL_PLANNED_FINISH", "2024-03-07 17:00:00.000000"}});
  // Its scheduled dates count, not the planned ones around them.
  db().row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "P1"},
                                   {"RESOURCE_ID", "R6"},
                                   {"RESOURCE_TYPE", "1"},
                                   {"ESTIMATED_PLANNED_START", "2024-01-01 08:00:00.000000"},
                                   {"LEVEL_PLANNED_START", "2024-03-01 08:00:00.000000"},
                                   {"LEVEL_PLANNED_FINISH", "2024-03-20 17:00:00.000000"},
                                   {"LEVEL_SCHED_START", "2024-03-05 08:00:00.000000"},
                                   {"LEVEL_SCHED_FINISH", "2024-03-06 17:00:00.000000"}});

  ASSERT_EQ(copy(), 0) << logText();

  // A1, planned mode: plan = levelled, scheduled columns untouched.
  EXPECT_EQ(assignment("A1", "PLANNED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A1", "PLANNED_FINISH"), "2024-03-04 17:00:00.000000");
  EXPECT_EQ(assignment("A1", "SCHED_START"), "2024-02-26 08:00:00.000000");
  EXPECT_EQ(assignment("A1", "PROPOSED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A1", "PROPOSED_FINISH"), "2024-03-04 17:00:00.000000");
  EXPECT_EQ(assignment("A1", "PLANNED_WORK"), "480");
  EXPECT_EQ(assignment("A1", "SCHED_WORK"), "0");
  EXPECT_EQ(assignment("A1", "ASSIGN_STRING"), "lvl-A1");
  EXPECT_EQ(assignment("A1", "BAK_START_DT"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A1", "BAK_FINISH_DT"), "2024-03-04 17:00:00.000000");
  EXPECT_EQ(assignment("A1", "BAK_ASSIGN_STRING"), "lvl-A1");
  EXPECT_EQ(assignment("A1", "CONSIDER"), "6");
  EXPECT_EQ(assignment("A1", "ROLLUP_BITS"), "33554436");
  for (const char* column : {"LEVEL_START", "LEVEL_FINISH", "LEVEL_ASSIGN_STRING",
                             "FORECAST_START", "FORECAST_FINISH"}) {
    EXPECT_EQ(assignment("A1", column), "NULL") << column;
  }
  for (const char* column : {"LEVEL_EFFORT", "FORECAST_DURATION", "LAST_SCHED_MIN"}) {
    EXPECT_EQ(assignment("A1", column), "0") << column;
  }

  // A2, scheduled mode and started: start kept, finish levelled, work
  // to date plus levelled effort, proposed dates and old BAK string kept.
  EXPECT_EQ(assignment("A2", "SCHED_START"), "2024-03-01 08:00:00.000000");
  EXPECT_EQ(assignment("A2", "SCHED_FINISH"), "2024-03-05 12:00:00.000000");
  EXPECT_EQ(assignment("A2", "PLANNED_START"), "2024-02-20 08:00:00.000000");
  EXPECT_EQ(assignment("A2", "PLANNED_WORK"), "0");
  EXPECT_EQ(assignment("A2", "SCHED_WORK"), "480");
  EXPECT_EQ(assignment("A2", "PROPOSED_START"), "2024-02-29 08:00:00.000000");
  EXPECT_EQ(assignment("A2", "PROPOSED_FINISH"), "2024-03-01 17:00:00.000000");
  EXPECT_EQ(assignment("A2", "BAK_START_DT"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A2", "BAK_FINISH_DT"), "NULL");
  EXPECT_EQ(assignment("A2", "BAK_ASSIGN_STRING"), "bak-A2");
  EXPECT_EQ(assignment("A2", "ASSIGN_STRING"), "lvl-A2");

  // A3, scheduled mode, not started: everything levelled.
  EXPECT_EQ(assignment("A3", "SCHED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A3", "SCHED_FINISH"), "2024-03-04 17:00:00.000000");
  EXPECT_EQ(assignment("A3", "PROPOSED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A3", "SCHED_WORK"), "240");
  EXPECT_EQ(assignment("A3", "BAK_FINISH_DT"), "2024-03-04 17:00:00.000000");

  // Items: with effort the proposed dates and the levelled constraint;
  // without effort the planned dates (the milestone has no scheduled ones).
  EXPECT_EQ(item("T1", "LEVEL_STATE"), "2");
  EXPECT_EQ(item("T1", "PROPOSED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(item("T1", "PROPOSED_FINISH"), "2024-03-05 12:00:00.000000");
  EXPECT_EQ(item("T1", "PLANNED_START"), "2024-02-26 08:00:00.000000");
  EXPECT_EQ(item("T1", "CONSTRAINT_TYPE"), "2");
  EXPECT_EQ(item("T1", "CONSTRAINT_DT"), "2024-03-04 00:00:00.000000");
  EXPECT_EQ(item("T1", "FORECAST_START"), "NULL");
  EXPECT_EQ(item("T1", "ROLLUP_BITS"), "33554433");
  EXPECT_EQ(item("T2", "LEVEL_STATE"), "2");
  EXPECT_EQ(item("T2", "PLANNED_START"), "2024-03-08 17:00:00.000000");
  EXPECT_EQ(item("T2", "PLANNED_FINISH"), "2024-03-08 17:00:00.000000");
  EXPECT_EQ(item("T2", "SCHED_START"), "NULL");
  EXPECT_EQ(item("T2", "CONSTRAINT_TYPE"), "0");
  EXPECT_EQ(item("T2", "CONSTRAINT_DT"), "NULL");

  // Project assignments: R5 from A5's new planned dates, R6 has no copied
  // planned-mode assignment on the project.
  EXPECT_EQ(text("SELECT ESTIMATED_PLANNED_START FROM PROJECT_ASSIGNMENTS "
                 "WHERE RESOURCE_ID = 'R5'"),
            "2024-03-02 08:00:00.000000");
  EXPECT_EQ(text("SELECT ESTIMATED_PLANNED_FINISH FROM PROJECT_ASSIGNMENTS "
                 "WHERE RESOURCE_ID = 'R5'"),
            "2024-03-07 17:00:00.000000");
  EXPECT_EQ(text("SELECT ESTIMATED_PLANNED_START FROM PROJECT_ASSIGNMENTS "
                 "WHERE RESOURCE_ID = 'R6'"),
            "NULL");

  // The project item has tasks: its planned dates come from the effort-less
  // update, START_DT is left; its start moves to the assignments' earlier
  // start (03-02), its finish stays (their 03-07 is earlier than 03-08).
  EXPECT_EQ(item("P1", "LEVEL_STATE"), "2");
  EXPECT_EQ(item("P1", "PLANNED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(item("P1", "START_DT"), "NULL");
  EXPECT_EQ(item("P1", "START_FINISH_DATE"), "2024-03-02");
  EXPECT_EQ(item("P1", "FINISH_START_DATE"), "2024-03-08");

  EXPECT_EQ(calls_, (std::vector<std::string>{
                        "LEVEL_FC_Rollup(P1%)", "LEVEL_FC_Rollup_Timephase()",
                        "LEVEL_FC_Timephase_CRI_Task()", "LEVEL_FC_TIMEPHASE_LEVELED()"}));
  EXPECT_NE(message().find("Project 'Alpha' is done.\n\n "), std::string::npos);
  EXPECT_EQ(number("SELECT COUNT(*) FROM KOR_WORKFLOWS "
                   "WHERE DESCRIPTION LIKE '%Project ''Alpha'' is done.%'"),
            1);
  EXPECT_EQ(run_->num_proj, 1);
  EXPECT_EQ(run_->time[run::kCopyTimeFirst - 1], 0.0);
  EXPECT_EQ(run_->time[run::kCopyTimeFirst + run::kCopyTimeSteps], 0.0);
}

// Daily rows: planned days of copied assignments are replaced by the
// levelled ones; a day with actual work keeps its row (the level row of
// that day is dropped), and its scheduled minutes and bits are cut to the
// actual minutes.
TEST_F(CopyPhaseTest, DaysWithActualWorkKeepTheirRowsCutToTheActualMinutes) {
  const std::string standard = testing::dayBitsHex(testing::standardDay());
  const std::string morning = testing::dayBitsHex(testing::dayBits({{480, 600}}));
  levelledProject("P1", "Alpha", "P1", 2, 1);
  levelledTask("P1", "T1", 960, 1);
  levelledAssignment("P1", "T1", "A1", "R1", {});
  levelledAssignment("P1", "T1", "A2", "R2",
                     {{"BIT_FLAG", "2"}, {"ACTUAL_START", "2024-02-29 08:00:00.000000"}}, 300);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A1", "2024-02-26", 480, 0, 0, standard);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A2", "2024-02-29", 120, 0, 1, morning);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A2", "2024-03-01", 480, 300, 1, standard);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A2", "2024-03-06", 240, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A1", "2024-03-04", 480, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A2", "2024-03-01", 480, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A2", "2024-03-04", 240, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A2", "2024-03-05", 120, 0, 0, standard);

  ASSERT_EQ(copy(), 0) << logText();

  auto days = [&](const std::string& id) {
    return text("SELECT GROUP_CONCAT(DAY_YEAR || ':' || SCHED_MIN, ' ') FROM "
                "(SELECT DAY_YEAR, SCHED_MIN FROM TASK_DAY_OF_YEAR "
                "WHERE TSK_ASSIGNMENT_ID = '" + id + "' ORDER BY DAY_YEAR)");
  };
  EXPECT_EQ(days("A1"), "2024-03-04:480");
  EXPECT_EQ(days("A2"), "2024-02-29:0 2024-03-01:300 2024-03-04:240 2024-03-05:120");
  // 300 minutes of the standard day: 08:00-12:00 (slots 96-143, bytes
  // 12-17) and 13:00-14:00 (slots 156-167: low half of byte 19, byte 20).
  EXPECT_EQ(text("SELECT BIT_SCHED FROM TASK_DAY_OF_YEAR "
                 "WHERE TSK_ASSIGNMENT_ID = 'A2' AND DAY_YEAR = '2024-03-01'"),
            "000000000000000000000000"
            "ffffffffffff"
            "000fff"
            "000000000000000000000000000000");
  // No actual minutes: no working time left.
  EXPECT_EQ(text("SELECT BIT_SCHED FROM TASK_DAY_OF_YEAR "
                 "WHERE TSK_ASSIGNMENT_ID = 'A2' AND DAY_YEAR = '2024-02-29'"),
            std::string(72, '0'));
  EXPECT_EQ(text("SELECT ACTUAL_MIN FROM TASK_DAY_OF_YEAR "
                 "WHERE TSK_ASSIGNMENT_ID = 'A2' AND DAY_YEAR = '2024-03-01'"),
            "300");
  EXPECT_EQ(number("SELECT COUNT(*) FROM LEVEL_TASK_DAY_OF_YEAR"), 0);
}

// Which assignments are copied: a project assignment only as a whole, only
// what was changed before the copy began, nothing finished.
TEST_F(CopyPhaseTest, OnlyWholeUnchangedUnfinishedAssignmentsAreCopied) {
  const std::string standard = testing::dayBitsHex(testing::standardDay());
  levelledProject("P1", "Alpha", "P1", 1, 3);
  levelledTask("P1", "T1", 480, 1);
  levelledTask("P1", "T2", 480, 0);  // not levelled
  levelledTask("P1", "T3", 480, 1);
  // PA1 has a levelled assignment on T2, which was not levelled.
  levelledAssignment("P1", "T1", "A1", "R1", {{"PROJECT_ASSIGNMENT_ID", "PA1"}});
  levelledAssignment("P1", "T2", "A2", "R1", {{"PROJECT_ASSIGNMENT_ID", "PA1"}});
  levelledAssignment("P1", "T3", "A3", "R3", {{"PROJECT_ASSIGNMENT_ID", "PA2"}});
  levelledAssignment("P1", "T3", "A4", "R4", {{"REC_DATETIME", kNow}});
  levelledAssignment("P1", "T3", "A5", "R5",
                     {{"ACTUAL_FINISH", "2024-02-28 17:00:00.000000"}, {"ETC", "0"}});
  levelledAssignment("P1", "T3", "A6", "R6",
                     {{"BIT_FLAG", "2"},
                      {"ACTUAL_START", "2024-02-26 08:00:00.000000"},
                      {"ACTUAL_FINISH", "2024-02-28 17:00:00.000000"},
                      {"SCHED_FINISH", "2024-02-28 17:00:00.000000"},
                      {"ETC", "60"}});
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A1", "2024-02-26", 480, 0, 0, standard);
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A1", "2024-03-04", 480, 0, 0, standard);

  ASSERT_EQ(copy(), 0) << logText();

  // PA1 stays as it was and its tasks go back to LEVEL_STATE 0.
  EXPECT_EQ(assignment("A1", "LEVEL_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A1", "PLANNED_START"), "NULL");
  EXPECT_EQ(assignment("A2", "LEVEL_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(item("T1", "LEVEL_STATE"), "0");
  EXPECT_EQ(item("T1", "PROPOSED_START"), "NULL");
  EXPECT_EQ(text("SELECT GROUP_CONCAT(DAY_YEAR) FROM TASK_DAY_OF_YEAR "
                 "WHERE TSK_ASSIGNMENT_ID = 'A1'"),
            "2024-02-26");
  // PA2 copied; a calculation run leaves CONSIDER 0.
  EXPECT_EQ(assignment("A3", "PLANNED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A3", "LEVEL_START"), "NULL");
  EXPECT_EQ(assignment("A3", "CONSIDER"), "0");
  EXPECT_EQ(item("T3", "LEVEL_STATE"), "2");
  // Changed when the copy began: not copied.
  EXPECT_EQ(assignment("A4", "LEVEL_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A4", "PLANNED_START"), "NULL");
  // Finished: not copied; finished with work left: copied, levelled finish.
  EXPECT_EQ(assignment("A5", "LEVEL_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(assignment("A6", "LEVEL_START"), "NULL");
  EXPECT_EQ(assignment("A6", "SCHED_FINISH"), "2024-03-04 17:00:00.000000");
  // The level daily rows of the selected projects are gone either way.
  EXPECT_EQ(number("SELECT COUNT(*) FROM LEVEL_TASK_DAY_OF_YEAR"), 0);
}

// CONSIDER by the project's CALCULATE_FLAG: 1 -> 0, 2 -> 6, other: kept.
TEST_F(CopyPhaseTest, ConsiderFollowsTheKindOfTheLastRun) {
  int n = 0;
  for (int flag : {1, 2, 3}) {
    const std::string p = "P" + std::to_string(++n);
    levelledProject(p, p, p, flag, 1);
    levelledTask(p, "T" + p, 480, 1);
    levelledAssignment(p, "T" + p, "A" + p, "R1", {{"CONSIDER", "9"}});
  }
  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(assignment("AP1", "CONSIDER"), "0");
  EXPECT_EQ(assignment("AP2", "CONSIDER"), "6");
  EXPECT_EQ(assignment("AP3", "CONSIDER"), "9");
  EXPECT_EQ(assignment("AP3", "LEVEL_START"), "NULL");
  EXPECT_EQ(run_->num_proj, 3);
}

// Copying twice: the second copy finds LEVEL_STATE 2, says so and changes
// nothing; no host procedure runs for it.
TEST_F(CopyPhaseTest, ASecondCopyFindsNoNewData) {
  levelledProject("P1", "Alpha", "P1", 2, 1);
  levelledTask("P1", "T1", 480, 1);
  levelledAssignment("P1", "T1", "A1", "R1", {});
  ASSERT_EQ(copy(), 0) << logText();
  ASSERT_EQ(assignment("A1", "PLANNED_START"), "2024-03-04 08:00:00.000000");
  exec("UPDATE TASK_ASSIGNMENTS SET PLANNED_START = 'edited by hand'");
  calls_.clear();
  run_->message[0] = '\0';

  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(message(), "No new Calculated/Leveled Data has been found for Project 'Alpha' \n\n");
  EXPECT_EQ(assignment("A1", "PLANNED_START"), "edited by hand");
  EXPECT_TRUE(calls_.empty());
  EXPECT_EQ(run_->num_proj, 0);
}

// A project never calculated is skipped with the two texts; so is one with
// a WBS row but no details row (named by its id). Nothing is copied and the
// time-phase procedures do not run.
TEST_F(CopyPhaseTest, NeverCalculatedProjectsAreSkipped) {
  levelledProject("P1", "Alpha", "0002", 0, 1);
  levelledTask("P1", "T1", 480, 1);
  levelledAssignment("P1", "T1", "A1", "R1", {});
  levelledProject("P2", "Beta", "0001", 2, 0);
  exec("DELETE FROM PROJECT_DETAILS WHERE PROJECT_ID = 'P2'");

  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(message(),
            "One must apply Calculate/Level before trying to copy results. \n\n"
            "The Project 'P2' has never been Calculated/Leveled \n\n"
            "One must apply Calculate/Level before trying to copy results. \n\n"
            "The Project 'Alpha' has never been Calculated/Leveled \n\n");
  EXPECT_EQ(assignment("A1", "LEVEL_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(item("T1", "LEVEL_STATE"), "1");
  EXPECT_TRUE(calls_.empty());
}

// A selected project without its WBS row: "error(D-1)" and 200143 at once;
// the projects after it in rank order are not copied and the level rows
// stay.
TEST_F(CopyPhaseTest, MissingProjectEndsTheCopyWith200143) {
  levelledProject("P1", "Alpha", "0001", 2, 1);
  levelledTask("P1", "T1", 480, 1);
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A1", "2024-03-04", 480, 0, 0, "");
  exec("INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK) VALUES ('PX', '0009')");

  EXPECT_EQ(copy(), run::kErrCopyProjectMissing);
  const std::string log = logText();
  EXPECT_NE(log.find("**** error(D-1)/data corruption in Lev_resolveDepOracleDB "
                     "(levelResourcesForProject) \nerror type: not existing PROJECT_ID"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("PX"), std::string::npos);
  EXPECT_NE(message().find("Please submit to supporting team"), std::string::npos);
  EXPECT_EQ(item("T1", "LEVEL_STATE"), "1");
  EXPECT_EQ(number("SELECT COUNT(*) FROM LEVEL_TASK_DAY_OF_YEAR"), 1);
}

// Non-zero results of the roll-up and time-phase procedures are warnings
// W-0, W-1, W-2: logged, notified with the contact line, and the copy goes
// on to the budget switch and the final drop of the level rows.
TEST_F(CopyPhaseTest, HostWarningsAreReportedAndTheCopyGoesOn) {
  levelledProject("P1", "Alpha", "P1", 2, 1);
  levelledTask("P1", "T1", 480, 1);
  db().row("PROJECT_BUDGET_BREAKDOWN", {{"PROJECT_ID", "P1"}, {"ELEMENT_ID", "T1"},
                                        {"CHARGECODE_ID", "C1"}, {"BUDGET_TYPE", "17"}});
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A1", "2024-03-04", 480, 0, 0, "");
  results_ = {{"LEVEL_FC_Rollup", 3}, {"LEVEL_FC_Rollup_Timephase", 4},
              {"LEVEL_FC_Timephase_CRI_Task", 5}, {"LEVEL_FC_TIMEPHASE_LEVELED", 6}};

  ASSERT_EQ(copy(), 0) << logText();
  const std::string log = logText();
  for (const char* head :
       {"**** error(W-0) in Lev_resolveDepOracleDB (levelResourcesForProject) \nerror type: "
        "not zero error code returning from FC_Rollup \n",
        "**** error(W-1) in Lev_resolveDepOracleDB (levelResourcesForProject) \nerror type: "
        "not zero error code returning from FC_Rollup_Timephase \n",
        "**** error(W-2) in Lev_resolveDepOracleDB (levelResourcesForProject) \nerror type: "
        "not zero error code returning from FC_Timephase_CRI_Task \n"}) {
    EXPECT_NE(log.find(head), std::string::npos) << head << "\n--- log:\n" << log;
  }
  EXPECT_EQ(log.find("error(W-3)"), std::string::npos);
  const std::string msg = message();
  EXPECT_NE(msg.find("error(W-2)"), std::string::npos);
  EXPECT_NE(msg.find("Please submit to supporting team \n\n"), std::string::npos);
  EXPECT_EQ(number("SELECT BUDGET_TYPE FROM PROJECT_BUDGET_BREAKDOWN"), 3);
  EXPECT_EQ(number("SELECT COUNT(*) FROM LEVEL_TASK_DAY_OF_YEAR"), 0);
}

// A failing statement or procedure returns its status after the SQL failure
// line; what was copied before stays, the steps after it do not run.
TEST_F(CopyPhaseTest, FailureReturnsTheStatusAndKeepsWhatWasCopied) {
  levelledProject("P1", "Alpha", "P1", 2, 1);
  levelledTask("P1", "T1", 480, 1);
  levelledAssignment("P1", "T1", "A1", "R1", {});
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A9", "2024-03-04", 480, 0, 0, "");
  statuses_ = {{"LEVEL_FC_Rollup", -20005}};

  EXPECT_EQ(copy(), -20005);
  const std::string log = logText();
  EXPECT_NE(log.find("negative error code from SQL: SC_STATE = -20005"), std::string::npos)
      << log;
  EXPECT_NE(log.find("LineNum  = " + std::to_string(run::kCopyLineRollup)), std::string::npos);
  EXPECT_STRNE(run_->SQL_ErrCode, "");
  EXPECT_EQ(assignment("A1", "PLANNED_START"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(calls_, std::vector<std::string>{"LEVEL_FC_Rollup(P1%)"});
  EXPECT_EQ(number("SELECT COUNT(*) FROM LEVEL_TASK_DAY_OF_YEAR"), 1);
}

// Budget rows: where a new row of type 17 (18) exists for an element and
// charge code of a selected project, the old 3 (2) goes and the new one
// takes its type; other rows and other projects stay.
TEST_F(CopyPhaseTest, BudgetBreakdownSwitchesToTheNewFigures) {
  levelledProject("P1", "Alpha", "P1", 2, 0);
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

  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(text("SELECT GROUP_CONCAT(PROJECT_ID || '/' || CHARGECODE_ID || '/' || BUDGET_TYPE "
                 "|| '/' || AMOUNT, ' ') FROM (SELECT * FROM PROJECT_BUDGET_BREAKDOWN "
                 "ORDER BY PROJECT_ID, CHARGECODE_ID, AMOUNT)"),
            "P1/C1/3/110 P1/C1/2/220 P1/C2/3/300 P9/C1/3/900 P9/C1/17/990");
}

// Project dates, deepest rank first. While no project of the run has had
// items other than project-type ones, a project with nothing else below it
// takes its levelled dates as planned dates; after the first that has
// tasks, only CHILD_COUNT 0 does. A what-if copy also takes the scenario's
// priority. Roll-ups run for projects with children, progress is reported
// per project.
TEST_F(CopyPhaseTest, ProjectDatesFollowTheChildCountAndTheRunWideRule) {
  run_->optionFlag = 6;
  levelledProject("PD", "PD", "0004", 2, 1);  // a sub-project item only
  db().item({.project = "PD", .parent = "PD", .id = "PDsub", .typeId = 154, .effort = 0});
  levelledProject("PC", "PC", "0003", 2, 1);  // a task: clears the rule
  levelledTask("PC", "TC", 480, 1);
  levelledProject("PB", "PB", "0002", 2, 1);  // like PD, but after PC
  db().item({.project = "PB", .parent = "PB", .id = "PBsub", .typeId = 154, .effort = 0});
  levelledProject("PA", "PA", "0001", 2, 0);  // no children
  const std::vector<std::pair<std::string, int32_t>> priorities = {
      {"PD", 40}, {"PC", 30}, {"PB", 20}, {"PA", 10}};
  for (const auto& [id, priority] : priorities) {
    exec("INSERT INTO NAV_SCENARIOS (ELEMENT_ID, PRIORITY) VALUES (?, ?)",
         {id, priority});
  }
  std::vector<std::string> progress;
  db::ProgressBinding binding(
      [](void* user, const char* phase, int64_t done, int64_t total) {
        static_cast<std::vector<std::string>*>(user)->push_back(
            std::string(phase) + " " + std::to_string(done) + "/" + std::to_string(total));
      },
      &progress);

  ASSERT_EQ(copy(), 0) << logText();
  EXPECT_EQ(item("PD", "START_DT"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(item("PD", "UNRESOLVED_FINISH"), "2024-03-08 17:00:00.000000");
  EXPECT_EQ(item("PC", "START_DT"), "NULL");
  EXPECT_EQ(item("PB", "START_DT"), "NULL");
  EXPECT_EQ(item("PB", "UNRESOLVED_FINISH"), "2024-03-29 17:00:00.000000");
  EXPECT_EQ(item("PA", "START_DT"), "2024-03-04 08:00:00.000000");
  EXPECT_EQ(item("PA", "FINISH_DT"), "2024-03-08 17:00:00.000000");
  for (const char* p : {"PA", "PB", "PC", "PD"}) {
    EXPECT_EQ(item(p, "START_FINISH_DATE"), "2024-03-04") << p;
    EXPECT_EQ(item(p, "FINISH_START_DATE"), "2024-03-08") << p;
  }
  EXPECT_EQ(item("PD", "PRIORITY"), "40");
  EXPECT_EQ(item("PA", "PRIORITY"), "10");
  EXPECT_EQ(calls_, (std::vector<std::string>{
                        "LEVEL_FC_Rollup(0004%)", "LEVEL_FC_Rollup(0003%)",
                        "LEVEL_FC_Rollup(0002%)", "LEVEL_FC_Rollup_Timephase()",
                        "LEVEL_FC_Timephase_CRI_Task()", "LEVEL_FC_TIMEPHASE_LEVELED()"}));
  EXPECT_EQ(progress, (std::vector<std::string>{"copying results 1/4", "copying results 2/4",
                                                "copying results 3/4",
                                                "copying results 4/4"}));
  const std::string msg = message();
  EXPECT_LT(msg.find("Project 'PA' is done."), msg.find("Project 'PD' is done."));
}

}  // namespace
