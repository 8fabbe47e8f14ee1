// The roll-up and time-phase procedures, called by the call texts the copy
// of levelled results uses, on small trees and day rows worked out by hand.
#include "host/rollup_procs.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/scratch_db.h"

namespace {

class RollupProcs : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = scratch_.open();
    ASSERT_NE(store_, nullptr);
  }

  void exec(const std::string& sql) {
    ASSERT_EQ(0, store_->execute(sql)) << sql << ": " << store_->status().message;
  }
  void item(const std::string& id, const std::string& project, const std::string& parent,
            const std::string& rank, const std::string& plannedStart = "NULL",
            const std::string& plannedFinish = "NULL", int plannedEffort = 0,
            int levelState = 2) {
    exec("INSERT INTO KOR_WBS (ELEMENT_ID, PROJECT_ID, PARENT_ID, RANK, PLANNED_START, "
         "PLANNED_FINISH, PLANNED_EFFORT, SCHED_EFFORT, LEVEL_STATE) VALUES ('" +
         id + "', '" + project + "', " + (parent.empty() ? "NULL" : "'" + parent + "'") + ", '" +
         rank + "', " + plannedStart + ", " + plannedFinish + ", " +
         std::to_string(plannedEffort) + ", 0, " + std::to_string(levelState) + ")");
  }
  void assignment(const std::string& id, const std::string& project, const std::string& task,
                  int bitFlag, const std::string& start, const std::string& finish, int work) {
    const bool planned = bitFlag == 0;
    exec("INSERT INTO TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID, PROJECT_ID, TASK_ID, BIT_FLAG, " +
         std::string(planned ? "PLANNED_START, PLANNED_FINISH, PLANNED_WORK, SCHED_WORK"
                             : "SCHED_START, SCHED_FINISH, SCHED_WORK, PLANNED_WORK") +
         ") VALUES ('" + id + "', '" + project + "', '" + task + "', " +
         std::to_string(bitFlag) + ", '" + start + "', '" + finish + "', " +
         std::to_string(work) + ", 0)");
  }
  void day(const std::string& table, const std::string& project, const std::string& task,
           const std::string& assignment, int bitFlag, const std::string& dayYear, int minutes) {
    exec("INSERT INTO " + table +
         " (PROJECT_ID, TASK_ID, TSK_ASSIGNMENT_ID, BIT_FLAG, DAY_YEAR, SCHED_MIN, "
         "ACTUAL_MIN, ACTUAL_FLAG) VALUES ('" +
         project + "', '" + task + "', '" + assignment + "', " + std::to_string(bitFlag) +
         ", '" + dayYear + "', " + std::to_string(minutes) + ", 0, 0)");
  }

  // One row of an item as "planned start|planned finish|sched start|sched
  // finish|planned effort|sched effort" (nulls as "-").
  std::string rolled(const std::string& id) {
    return text(
        "SELECT COALESCE(PLANNED_START, '-') || '|' || COALESCE(PLANNED_FINISH, '-') || '|' || "
        "COALESCE(SCHED_START, '-') || '|' || COALESCE(SCHED_FINISH, '-') || '|' || "
        "COALESCE(PLANNED_EFFORT, -1) || '|' || COALESCE(SCHED_EFFORT, -1) "
        "FROM KOR_WBS WHERE ELEMENT_ID = '" +
        id + "'");
  }
  // Every budget row, ordered, as "project/element/charge/type/period/amount".
  std::string budget() {
    return text(
        "SELECT COALESCE(GROUP_CONCAT(R, ' '), '') FROM (SELECT PROJECT_ID || '/' || "
        "ELEMENT_ID || '/' || CHARGECODE_ID || '/' || BUDGET_TYPE || '/' || "
        "COALESCE(PERIOD_START, '-') || '/' || AMOUNT AS R FROM PROJECT_BUDGET_BREAKDOWN "
        "ORDER BY PROJECT_ID, ELEMENT_ID, BUDGET_TYPE, PERIOD_START)");
  }
  std::string text(const std::string& sql) {
    db::MessageText out;
    int16_t ind = 0;
    EXPECT_EQ(0, store_->selectInto(sql, {}, {db::HostVar(out, &ind)}))
        << sql << ": " << store_->status().message;
    return ind < 0 ? "<null>" : std::string(out.view());
  }
  // Calls one procedure by the copy's call text; the result, or -999 when
  // the call failed (the failing status is checked by the caller's EXPECT).
  int32_t call(const std::string& callText, db::Vars args, int32_t* status = nullptr) {
    int32_t result = -999;
    db::HostVar resultVar(result);
    int32_t rc = store_->call(callText, args, &resultVar);
    if (status != nullptr) *status = rc;
    else EXPECT_EQ(0, rc) << callText << ": " << store_->status().message;
    return result;
  }
  int32_t rollup(const std::string& rankLike) {
    db::RankText pattern;
    pattern.assign(rankLike);
    return call("call LEVEL_FC_Rollup(?) into ?", {db::HostVar(pattern)});
  }

  scratch::ScratchDb scratch_;
  std::unique_ptr<host::SqliteStore> store_;
};

constexpr const char* kMon8 = "'2024-01-08 08:00:00.000000'";

// Project P1: container C1 holds T1 (two planned assignments) and T2 (one
// scheduled assignment); T3 sits directly under the project without
// assignments. P2 shares no rank prefix with P1 and must not move.
//
//   T1: planned 01-08 08:00 .. 01-10 17:00 (1440) and 01-09 08:00 .. 01-12
//       12:00 (1200) -> planned 01-08 08:00 .. 01-12 12:00, effort 2640.
//   T2: scheduled 01-15 08:00 .. 01-16 17:00 (960); its stale planned dates
//       01-01 .. 01-02 stay -> sched 01-15 .. 01-16, sched effort 960.
//   C1: planned from T1's planned and T2's scheduled dates: 01-08 08:00 ..
//       01-16 17:00; scheduled 01-15 .. 01-16; efforts 2640 and 960.
//   P1: planned from C1's planned dates (not its scheduled 01-15 start) and
//       T3's 01-10 08:00 .. 01-19 17:00 -> 01-08 08:00 .. 01-19 17:00; scheduled
//       01-15 .. 01-16; efforts 2640 + 480 = 3120 and 960.
TEST_F(RollupProcs, ContainersTakeTheirChildrenDeepestFirst) {
  item("P1", "P1", "", "P1");
  item("C1", "P1", "P1", "P1.C1");
  item("T1", "P1", "C1", "P1.C1.T1");
  item("T2", "P1", "C1", "P1.C1.T2", "'2024-01-01 08:00:00.000000'",
       "'2024-01-02 17:00:00.000000'", 0);
  item("T3", "P1", "P1", "P1.T3", "'2024-01-10 08:00:00.000000'",
       "'2024-01-19 17:00:00.000000'", 480);
  item("P2", "P2", "", "P2", kMon8, kMon8, 7);
  item("C2", "P2", "P2", "P2.C2", "'2024-03-01 08:00:00.000000'",
       "'2024-03-01 17:00:00.000000'", 480);
  assignment("A1", "P1", "T1", 0, "2024-01-08 08:00:00.000000", "2024-01-10 17:00:00.000000",
             1440);
  assignment("A2", "P1", "T1", 0, "2024-01-09 08:00:00.000000", "2024-01-12 12:00:00.000000",
             1200);
  assignment("A3", "P1", "T2", 2, "2024-01-15 08:00:00.000000", "2024-01-16 17:00:00.000000",
             960);

  EXPECT_EQ(0, rollup("P1%"));
  const std::string t1 = "2024-01-08 08:00:00.000000|2024-01-12 12:00:00.000000|-|-|2640|0";
  const std::string t2 =
      "2024-01-01 08:00:00.000000|2024-01-02 17:00:00.000000|"
      "2024-01-15 08:00:00.000000|2024-01-16 17:00:00.000000|0|960";
  const std::string t3 = "2024-01-10 08:00:00.000000|2024-01-19 17:00:00.000000|-|-|480|0";
  const std::string c1 =
      "2024-01-08 08:00:00.000000|2024-01-16 17:00:00.000000|"
      "2024-01-15 08:00:00.000000|2024-01-16 17:00:00.000000|2640|960";
  const std::string p1 =
      "2024-01-08 08:00:00.000000|2024-01-19 17:00:00.000000|"
      "2024-01-15 08:00:00.000000|2024-01-16 17:00:00.000000|3120|960";
  const std::string p2 = "2024-01-08 08:00:00.000000|2024-01-08 08:00:00.000000|-|-|7|0";
  EXPECT_EQ(t1, rolled("T1"));
  EXPECT_EQ(t2, rolled("T2"));
  EXPECT_EQ(t3, rolled("T3"));
  EXPECT_EQ(c1, rolled("C1"));
  EXPECT_EQ(p1, rolled("P1"));
  EXPECT_EQ(p2, rolled("P2"));

  // A second roll-up finds everything in place.
  EXPECT_EQ(0, rollup("P1%"));
  EXPECT_EQ(c1, rolled("C1"));
  EXPECT_EQ(p1, rolled("P1"));

  // A roll-up of the container's branch alone leaves the project item: T1
  // moves a day later, C1 follows, P1 keeps what it had.
  exec("UPDATE TASK_ASSIGNMENTS SET PLANNED_START = '2024-01-09 08:00:00.000000' "
       "WHERE TSK_ASSIGNMENT_ID = 'A1'");
  EXPECT_EQ(0, rollup("P1.C1%"));
  EXPECT_EQ(
      "2024-01-09 08:00:00.000000|2024-01-16 17:00:00.000000|"
      "2024-01-15 08:00:00.000000|2024-01-16 17:00:00.000000|2640|960",
      rolled("C1"));
  EXPECT_EQ(p1, rolled("P1"));
  EXPECT_EQ(p2, rolled("P2"));
}

// A container whose children have no dates keeps its own; a leaf without
// assignments keeps its effort; a null pattern is refused and writes
// nothing.
TEST_F(RollupProcs, MissingDatesAreKeptAndANullPatternIsRefused) {
  item("P1", "P1", "", "P1", kMon8, kMon8, 99);
  item("T1", "P1", "P1", "P1.T1", "NULL", "NULL", 300);
  EXPECT_EQ(0, rollup("P1%"));
  EXPECT_EQ("2024-01-08 08:00:00.000000|2024-01-08 08:00:00.000000|-|-|300|0", rolled("P1"));
  EXPECT_EQ("-|-|-|-|300|0", rolled("T1"));

  exec("UPDATE KOR_WBS SET PLANNED_EFFORT = 1 WHERE ELEMENT_ID = 'P1'");
  db::RankText pattern;
  int16_t nullInd = -1;
  int32_t status = 0;
  call("call LEVEL_FC_Rollup(?) into ?", {db::HostVar(pattern, &nullInd)}, &status);
  EXPECT_EQ(db::kSqlProcedureRefused, status);
  EXPECT_EQ("2024-01-08 08:00:00.000000|2024-01-08 08:00:00.000000|-|-|1|0", rolled("P1"));
}

// After a copy: P1 was copied (project item at LEVEL_STATE 2, levelled days
// still present); P2 had no new data (no levelled days); P3 was levelled
// and not copied (LEVEL_STATE 1). P9 is not part of the run.
//
// P1's plan days:
//   T1/A1 planned: 01-30 480, 01-31 480, 02-01 240; T1/A2 planned: 01-31 120
//     -> T1 type 18: 2024-01 1080, 2024-02 240
//   T2/A3 scheduled: 02-05 300, 02-06 0 -> T2 type 17: 2024-02 300
//   T2/A4 bit flag 1: not counted.
// P3's levelled days: T5/A5 planned 03-04 480, 03-05 480 -> 18: 2024-03 960.
TEST_F(RollupProcs, TimephaseSumsMinutesPerTaskAndMonth) {
  for (const char* p : {"P1", "P2", "P3"}) {
    exec(std::string("INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK) VALUES ('") + p +
         "', '" + p + "')");
  }
  item("P1", "P1", "", "P1");
  item("P2", "P2", "", "P2");
  item("P3", "P3", "", "P3", "NULL", "NULL", 0, 1);
  item("P9", "P9", "", "P9");
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A1", 0, "2024-01-30", 480);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A1", 0, "2024-01-30", 480);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A1", 0, "2024-01-31", 480);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A1", 0, "2024-02-01", 240);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A2", 0, "2024-01-31", 120);
  day("TASK_DAY_OF_YEAR", "P1", "T2", "A3", 2, "2024-02-05", 300);
  day("TASK_DAY_OF_YEAR", "P1", "T2", "A3", 2, "2024-02-06", 0);
  day("TASK_DAY_OF_YEAR", "P1", "T2", "A4", 1, "2024-02-05", 60);
  day("TASK_DAY_OF_YEAR", "P2", "T4", "A6", 0, "2024-02-05", 480);
  day("LEVEL_TASK_DAY_OF_YEAR", "P3", "T5", "A5", 0, "2024-03-04", 480);
  day("LEVEL_TASK_DAY_OF_YEAR", "P3", "T5", "A5", 0, "2024-03-05", 480);
  day("TASK_DAY_OF_YEAR", "P9", "T9", "A9", 0, "2024-02-05", 480);
  day("LEVEL_TASK_DAY_OF_YEAR", "P9", "T9", "A9", 0, "2024-02-05", 480);
  // A stale new row of P1 is replaced; the old plan rows stay (the copy
  // switches them).
  exec("INSERT INTO PROJECT_BUDGET_BREAKDOWN (PROJECT_ID, ELEMENT_ID, CHARGECODE_ID, "
       "BUDGET_TYPE, PERIOD_START, AMOUNT) VALUES ('P1', 'T1', 'LEVELLED', 18, "
       "'2023-12-01', 5), ('P1', 'T1', 'LEVELLED', 2, '2024-01-01', 7)");

  EXPECT_EQ(0, call("call LEVEL_FC_Rollup_Timephase() into ?", {}));
  const std::string copied =
      "P1/T1/LEVELLED/2/2024-01-01/7 P1/T1/LEVELLED/18/2024-01-01/1080 "
      "P1/T1/LEVELLED/18/2024-02-01/240 P1/T2/LEVELLED/17/2024-02-01/300";
  EXPECT_EQ(copied, budget());
  EXPECT_EQ(std::string(host::kTimephaseChargeCode), "LEVELLED");

  EXPECT_EQ(0, call("call LEVEL_FC_Timephase_CRI_Task() into ?", {}));
  EXPECT_EQ(copied, budget());

  // The levelled view adds the project levelled and not copied, P3.
  EXPECT_EQ(0, call("call LEVEL_FC_TIMEPHASE_LEVELED() into ?", {}));
  const std::string withLevelled = copied + " P3/T5/LEVELLED/18/2024-03-01/960";
  EXPECT_EQ(withLevelled, budget());

  // Called again, each replaces its own rows rather than adding to them.
  EXPECT_EQ(0, call("call LEVEL_FC_Rollup_Timephase() into ?", {}));
  EXPECT_EQ(0, call("call LEVEL_FC_TIMEPHASE_LEVELED() into ?", {}));
  EXPECT_EQ(withLevelled, budget());
}

// A failing statement inside a procedure gives its own negative status,
// and the statements after it do not run.
TEST_F(RollupProcs, AFailingStatementGivesItsStatus) {
  item("P1", "P1", "", "P1", kMon8, kMon8, 5);
  item("T1", "P1", "P1", "P1.T1", kMon8, kMon8, 480);
  exec("INSERT INTO NAV_TMP_PROJECTS_00 (ELEMENT_ID, RANK) VALUES ('P1', 'P1')");
  day("LEVEL_TASK_DAY_OF_YEAR", "P1", "T1", "A1", 0, "2024-01-30", 480);
  day("TASK_DAY_OF_YEAR", "P1", "T1", "A1", 0, "2024-01-30", 480);

  store_->injectFailure("INSERT INTO PROJECT_BUDGET_BREAKDOWN", -1555);
  int32_t status = 0;
  call("call LEVEL_FC_Rollup_Timephase() into ?", {}, &status);
  EXPECT_EQ(-1555, status);
  EXPECT_EQ("", budget());

  store_->injectFailure("SELECT DISTINCT LENGTH", -1556);
  db::RankText pattern;
  pattern.assign("P1%");
  call("call LEVEL_FC_Rollup(?) into ?", {db::HostVar(pattern)}, &status);
  EXPECT_EQ(-1556, status);
  EXPECT_EQ("2024-01-08 08:00:00.000000|2024-01-08 08:00:00.000000|-|-|5|0", rolled("P1"));
}

}  // namespace
