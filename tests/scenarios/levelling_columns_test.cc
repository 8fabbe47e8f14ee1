// Whole runs through the entry points on one small database, one test per
// run kind that levels or copies and per result code of the copy, each
// checking every column the run writes: the returned code, the
// notification, the log, the lock marks before and after, the work tables,
// and the rows of KOR_WBS, TASK_ASSIGNMENTS, LEVEL_TASK_DAY_OF_YEAR,
// TASK_DAY_OF_YEAR, PROJECT_ASSIGNMENTS, PROJECT_DETAILS, NAV_SCENARIOS and
// PROJECT_BUDGET_BREAKDOWN.
//
// The database (worked by hand below): project P1, Monday 2024-01-08 to
// Friday 2024-02-02, calendar Monday to Friday 08:00-12:00 and 13:00-17:00
// (480 minutes a day). One person R1 (100%). Tasks:
//   TA  1440 min on R1 (assignment A_TA)  -> 3 days
//   TB   720 min on R1 (assignment A_TB)  -> a day and a morning
//   TC   480 min, no assignment, finish-to-start successor of TA, to start
//        no later than Friday 2024-01-05 (constraint 7)
// Both assignments belong to the project assignment PA_R1 (P1, R1). The
// plan before any run: every task and assignment from Monday 2024-01-08.
// The clock of the store is fixed at 2024-01-05 09:00 (the assignments were
// last changed on 2024-01-01, so a copy takes them).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "run/entry_points.h"
#include "scenarios/scenario_fixture.h"

namespace scenario {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Row = std::map<std::string, std::string>;

constexpr const char* kNow = "2024-01-05 09:00:00.000000";
constexpr const char* kNull = "null";
// Work tables left filled after a levelling run and after a copy (the
// copy's Lev_kor_wbs: P1, TA, TB, TC).
constexpr const char* kLevelLeft = "Lev_project_assignment=1 ";
constexpr const char* kCopyLeft = "Lev_kor_wbs=4 Lev_project_assignment=1 ";
// TC's constraint 7 (start no later than 2024-01-05) against its levelled
// start on 2024-01-11.
constexpr const char* kTcConflict = "2000:2024-01-05 00:00:00.000000;";

std::string stamp(const std::string& day, const char* time) {
  return day + " " + time + ".000000";
}
std::string at8(const std::string& day) { return stamp(day, "08:00:00"); }
std::string at12(const std::string& day) { return stamp(day, "12:00:00"); }
std::string at17(const std::string& day) { return stamp(day, "17:00:00"); }

class LevellingColumns : public Scenario {
 protected:
  void SetUp() override {
    Scenario::SetUp();
    logPath_ = db.path() + ".log";
    std::remove(logPath_.c_str());
    db.store().setFixedTime(kNow);
    fullDay_ = testing::dayBitsHex(testing::standardDay());
    morning_ = testing::dayBitsHex(testing::dayBits({{480, 720}}));
  }
  void TearDown() override { std::remove(logPath_.c_str()); }

  void assigned(const std::string& id, int work, int rollupBits) {
    task("P1", "P1", id, 2, work, "2024-01-08",
         {{"ASSIGN_COUNT", "1"}, {"ROLLUP_BITS", "0"}, {"ETC", "0"}, {"MILESTONE_PERCENT", "0"}});
    db.assignment(
        {.project = "P1", .task = id, .id = "A_" + id, .resource = "R1", .proposedWork = work,
         .extra = {{"PROJECT_ASSIGNMENT_ID", "PA_R1"},
                   {"ETC", std::to_string(work)},
                   {"PLANNED_WORK", std::to_string(work)},
                   {"SCHED_WORK", "0"},
                   {"BIT_FLAG", "0"},
                   {"RESOURCE_TYPE", "0"},
                   {"UNRESOLVED_START", at8("2024-01-08")},
                   {"UNRESOLVED_FINISH", at17(workingDayAfter("2024-01-08", (work - 1) / 480))},
                   {"UNRESOLVED_DURATION", std::to_string(work)},
                   {"PLANNED_START", at8("2024-01-08")},
                   {"PLANNED_FINISH", at17(workingDayAfter("2024-01-08", (work - 1) / 480))},
                   {"ASSIGNMENT_DELAY", "0"},
                   {"C_EFFORT", "0"},
                   {"C_CONTOUR", "0"},
                   {"CONTOUR_TYPE", "0"},
                   {"CONSIDER", "9"},
                   {"ROLLUP_BITS", std::to_string(rollupBits)},
                   {"FORECAST_START", at8("2024-01-08")},
                   {"FORECAST_DURATION", "7"},
                   {"LAST_SCHED_MIN", "7"},
                   {"REC_DATETIME", "2024-01-01 00:00:00.000000"}}});
    for (int d = 0, left = work; left > 0; ++d, left -= 480) {  // the planned days
      db.dayWork({.project = "P1", .task = id, .assignment = "A_" + id, .resource = "R1",
                  .day = workingDayAfter("2024-01-08", d), .schedMinutes = std::min(left, 480)});
    }
  }

  void build() {
    project("P1", "2024-01-08", "2024-02-02");
    db.row("RESOURCES", {{"RESOURCE_ID", "R1"}, {"FULL_NAME", "Ria One"}, {"MAX_UNITS", "10000"}});
    db.row("RESOURCES", {{"RESOURCE_ID", "U1"}, {"FULL_NAME", "Una User"}});
    assigned("TA", 1440, 1);
    assigned("TB", 720, 0);
    // TC must start by Friday 2024-01-05, before the project's start: it
    // cannot, and the conflict list says so.
    task("P1", "P1", "TC", 2, 480, "2024-01-08",
         {{"ROLLUP_BITS", "0"}, {"ETC", "0"}, {"CONSTRAINT_TYPE", "7"},
          {"CONSTRAINT_DT", "2024-01-05 00:00:00.000000"}});
    link("TA", "TC", "P1");
    db.store().execute(
        "UPDATE KOR_WBS SET PLANNED_EFFORT = 2640, CHILD_COUNT = 3, ROLLUP_BITS = 0, ETC = 0, "
        "MILESTONE_PERCENT = 0 WHERE ELEMENT_ID = 'P1'");
    db.row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "P1"}, {"RESOURCE_ID", "R1"},
                                   {"RESOURCE_TYPE", "0"}, {"PARTICIPANT", "1"},
                                   {"ESTIMATED_PLANNED_START", at8("2024-01-08")},
                                   {"ESTIMATED_PLANNED_FINISH", at17("2024-01-10")}});
    // An old figure of the levelled charge code (replaced by a copy) and one
    // of another charge code (left alone).
    budget("TA", "LEVELLED", 2, 999);
    budget("TA", "OTHER", 2, 5);
  }
  void budget(const std::string& element, const std::string& chargeCode, int type, int amount) {
    db.row("PROJECT_BUDGET_BREAKDOWN",
           {{"PROJECT_ID", "P1"}, {"ELEMENT_ID", element}, {"CHARGECODE_ID", chargeCode},
            {"BUDGET_TYPE", std::to_string(type)}, {"PERIOD_START", "2024-01-01"},
            {"AMOUNT", std::to_string(amount)}});
  }
  void scenario(int priority) {
    db.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1"}, {"TYPE_ID", "1"},
                             {"PRIORITY", std::to_string(priority)},
                             {"PROJECT_START", "2024-01-08 00:00:00.000000"}});
  }

  // One run through lev_levelResourcesForProject; the log and the
  // notifications of earlier runs are dropped first.
  int run(int kind, const std::string& element = "P1") {
    std::remove(logPath_.c_str());
    db.store().execute("DELETE FROM KOR_WORKFLOWS");
    db.commit();
    LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
    return lev_levelResourcesForProject(&ctx, element.c_str(), 0, "Alpha", 0, kind, 0, 0, 0,
                                        "2024-01-08 08:00:00.000000", 0, "U1", 0, 0, 0, 0, 0,
                                        0, 0, 0, 0, 0, 0);
  }

  std::string log() {
    std::ifstream in(logPath_);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  std::string subject() { return text("SELECT SUBJECT FROM KOR_WORKFLOWS"); }
  // The notification text of a run: its progress messages, newest first,
  // each after the time stamp of the notification that carried it (the
  // "Started." of a what-if run, never notified on its own, without one).
  static std::string trail(const std::vector<std::string>& oldestFirst,
                           bool startNotified = true) {
    std::string out;
    for (std::size_t i = 0; i < oldestFirst.size(); ++i) {
      const bool stamped = i > 0 || startNotified;
      out = (stamped ? std::string(kNow) + "\n" : std::string()) + oldestFirst[i] + out;
    }
    return out;
  }
  // The messages of a levelling or calculation run, oldest first; a
  // what-if run adds its scenario summary after the project dates.
  static std::vector<std::string> levellingMessages(bool whatIf) {
    std::vector<std::string> m = {
        "Started.",
        "All Selected Projects are Locked. ",
        "The list of Projects is created.",
        "WBS is copied to temporary table. ",
        "Retrieving of WBS & Assignments Data is completed.",
        "Start processing of 'Forward/Backward' passes of the Network tree.",
        "Start processing of assignments.",
        "Processing of assignments is completed.",
        "The final rollup of containers is completed.",
        "The calculation of 'Critical Path' is completed.",
        "The final update of WBS items is completed.",
        "The update of 'Start/Finish/Creation' dates is completed for Projects. "};
    if (whatIf) m.push_back("The scheduling date/time information is copied to 'WorkPackages'. ");
    for (const char* t : {"The list of scheduling conflicts is updated. ",
                          "The last portion of scheduling information is copied into DB.",
                          "All Selected Projects are Unlocked. ",
                          "All Temporary objects are Deleted. ", "Completed, 100% done.\n\n\n"}) {
      m.push_back(t);
    }
    return m;
  }
  static std::vector<std::string> copyMessages() {
    return {"Started.",
            "All Selected Projects are Locked. ",
            "The list of Projects is created.",
            "WBS is copied to temporary table. ",
            "Project 'P1' is done.\n\n ",
            "All Selected Projects are Unlocked. ",
            "All Temporary objects are Deleted. ",
            "Completed, 100% done.\n\n\n"};
  }
  std::string description() { return text("SELECT DESCRIPTION FROM KOR_WORKFLOWS"); }
  static std::string reportLine(const char* label, int value) {
    char line[120];
    std::snprintf(line, sizeof line, " %-39s:%10d \n", label, value);
    return line;
  }
  static std::string projectLine(const char* id) {
    char line[120];
    std::snprintf(line, sizeof line, " The Project id is                      :%32s \n", id);
    return line;
  }

  // "LEVEL_LOCK/REC_STATUS" of P1.
  std::string lockMarks() {
    return text("SELECT LEVEL_LOCK FROM PROJECT_DETAILS WHERE PROJECT_ID='P1'") + "/" +
           text("SELECT REC_STATUS FROM KOR_WBS WHERE ELEMENT_ID='P1'");
  }

  // The columns of `expected` read from the row of `table` selected by
  // `where`, each as text ("null" for null).
  Row read(const std::string& table, const std::string& where, const Row& expected) {
    std::string sql = "SELECT ";
    bool first = true;
    for (const auto& [column, value] : expected) {
      (void)value;
      if (!first) sql += " || char(31) || ";
      first = false;
      sql += "COALESCE(CAST(" + column + " AS TEXT), 'null')";
    }
    sql += " FROM " + table + " WHERE " + where;
    const std::string joined = text(sql);
    Row got;
    std::size_t from = 0;
    for (const auto& [column, value] : expected) {
      (void)value;
      const std::size_t to = joined.find('\x1f', from);
      got[column] = joined.substr(from, to == std::string::npos ? std::string::npos : to - from);
      from = to == std::string::npos ? joined.size() : to + 1;
    }
    return got;
  }
  // One failure message naming every column that differs.
  void expectRow(const std::string& table, const std::string& where, const Row& expected) {
    const Row got = read(table, where, expected);
    std::string diff;
    for (const auto& [column, value] : expected) {
      if (got.at(column) != value) {
        diff += "  " + column + ": expected '" + value + "', got '" + got.at(column) + "'\n";
      }
    }
    EXPECT_TRUE(diff.empty()) << table << " where " << where << ":\n" << diff;
  }

  // Every day row of `table` for P1, one line a row:
  // "assignment task resource parent day sched actual actualFlag bitFlag bits",
  // the bits of a whole standard day written "full", of its morning
  // (08:00-12:00) "am".
  std::vector<std::string> dayRows(const std::string& table) {
    const std::string all = text(
        "SELECT GROUP_CONCAT(R, '|') FROM (SELECT TSK_ASSIGNMENT_ID || ' ' || TASK_ID || ' ' || "
        "RESOURCE_ID || ' ' || COALESCE(PARENT_ID, 'null') || ' ' || DAY_YEAR || ' ' || "
        "SCHED_MIN || ' ' || COALESCE(ACTUAL_MIN, 'null') || ' ' || COALESCE(ACTUAL_FLAG, "
        "'null') || ' ' || COALESCE(BIT_FLAG, 'null') || ' ' || COALESCE(BIT_SCHED, 'null') "
        "AS R FROM " + table + " WHERE PROJECT_ID = 'P1' ORDER BY TSK_ASSIGNMENT_ID, DAY_YEAR)");
    std::vector<std::string> rows;
    if (all == kNull || all.empty()) return rows;
    std::size_t from = 0;
    while (from <= all.size()) {
      std::size_t to = all.find('|', from);
      std::string r = all.substr(from, to == std::string::npos ? std::string::npos : to - from);
      for (const auto& [hex, name] : {std::pair{fullDay_, "full"}, std::pair{morning_, "am"}}) {
        const std::size_t bits = r.find(hex);
        if (bits != std::string::npos) r.replace(bits, hex.size(), name);
      }
      rows.push_back(r);
      if (to == std::string::npos) break;
      from = to + 1;
    }
    return rows;
  }
  // A levelled or copied day of R1 on the task's assignment.
  static std::string day(const std::string& task, const std::string& dayText,
                         int minutes = 480, const std::string& bits = "full") {
    return "A_" + task + " " + task + " R1 PA_R1 " + dayText + " " + std::to_string(minutes) +
           " 0 0 0 " + bits;
  }
  // The planned days written by build(): no parent, no bits.
  static std::string plannedDay(const std::string& task, const std::string& dayText,
                                int minutes = 480) {
    return "A_" + task + " " + task + " R1 null " + dayText + " " + std::to_string(minutes) +
           " 0 0 null null";
  }

  // "ELEMENT CHARGE TYPE PERIOD AMOUNT" of every budget row of P1.
  std::string budgetRows() {
    return text(
        "SELECT GROUP_CONCAT(R, ' | ') FROM (SELECT ELEMENT_ID || ' ' || CHARGECODE_ID || ' ' || "
        "BUDGET_TYPE || ' ' || PERIOD_START || ' ' || AMOUNT AS R FROM PROJECT_BUDGET_BREAKDOWN "
        "WHERE PROJECT_ID = 'P1' ORDER BY ELEMENT_ID, CHARGECODE_ID, BUDGET_TYPE)");
  }

  // Rows left in the work tables of the connection, "table=count" for each
  // non-empty one.
  std::string workTablesLeft() {
    std::string left;
    for (const char* t : {"NAV_TMP_PROJECTS_00", "Lev_kor_wbs", "Lev_circ_1", "Lev_circ_2",
                          "Lev_circ_3", "NAV_TMP_TDY", "NAV_TMP_TDY_LEVEL", "NAV_TMP_PA_CNTR",
                          "NAV_TMP_PA_SUM", "Lev_project_assignment", "nav_tmp_ta_02",
                          "NAV_TMP_TDYD"}) {
      const int n = count(std::string("SELECT COUNT(*) FROM ") + t);
      if (n != 0) left += std::string(t) + "=" + std::to_string(n) + " ";
    }
    return left;
  }

  // The levelled columns of one KOR_WBS item after a levelling or
  // calculation run (LEVEL_STATE 1: waiting to be copied). LEVEL_DURATION
  // is the item's effort in minutes: a task's work, a container's working
  // minutes from its start to its finish.
  static Row levelledItem(const std::string& start, const std::string& finish, int minutes,
                          int slack, int index) {
    return {{"LEVEL_START", start},
            {"LEVEL_FINISH", finish},
            {"LEVEL_DURATION", std::to_string(minutes)},
            {"TOTAL_SLACK", std::to_string(slack)},
            {"LEVEL_INDEX", std::to_string(index)},
            {"LEVEL_STATE", "1"},
            {"LEVEL_CONFLICT", kNull},
            {"LEVEL_CONSTRAINT_DT", kNull},
            {"LEVEL_CONSTRAINT_TYPE", kNull},
            {"ROLLUP_BITS", "0"}};
  }
  // TC's levelled row: the loader records its constraint as the levelled
  // one (type 7, the date at 00:00), and the conflict list reports it.
  static Row constrainedTc(Row r) {
    r["LEVEL_CONSTRAINT_TYPE"] = "7";
    r["LEVEL_CONSTRAINT_DT"] = "2024-01-05 00:00:00.000000";
    r["LEVEL_CONFLICT"] = kTcConflict;
    return r;
  }
  // The level columns of an assignment after a levelling run.
  static Row levelledAssignment(const std::string& start, const std::string& finish, int effort,
                                const std::string& string) {
    return {{"LEVEL_START", start},
            {"LEVEL_FINISH", finish},
            {"LEVEL_EFFORT", std::to_string(effort)},
            {"LEVEL_ASSIGN_STRING", string}};
  }

  // What every run that got past the lock step leaves besides the dates:
  // the run recorded in PROJECT_DETAILS, the record lock of every item,
  // and the work tables left filled (`workLeft`, as workTablesLeft()).
  // Left by design: Lev_project_assignment is emptied only when project
  // assignments were processed (none here), and a copy run does not empty
  // Lev_kor_wbs, which it fills for its own reading.
  void expectRunRecorded(int lastCallOption, int calculateFlag, int levelLock,
                         const std::string& recStatus, const std::string& workLeft) {
    expectRow("PROJECT_DETAILS", "PROJECT_ID='P1'",
              {{"LEVEL_LOCK", std::to_string(levelLock)},
               {"CALCULATE_FLAG", std::to_string(calculateFlag)},
               {"LEVEL_LAST_CALL_OPTION", std::to_string(lastCallOption)},
               {"SCENARIO_NAME", "Alpha"},
               {"SCENARIO_USER_ID", "U1"},
               {"SCENARIO_DATETIME", kNow}});
    expectRow("KOR_WBS", "ELEMENT_ID='P1'",
              {{"REC_STATUS", recStatus}, {"REC_USER", "U1"}, {"REC_DATETIME", kNow}});
    for (const char* t : {"TA", "TB", "TC"}) {
      expectRow("KOR_WBS", std::string("ELEMENT_ID='") + t + "'",
                {{"REC_STATUS", recStatus}, {"REC_USER", "U1"}, {"REC_DATETIME", kNow}});
    }
    EXPECT_EQ(workLeft, workTablesLeft());
  }

  std::string logPath_;
  std::string fullDay_;
  std::string morning_;
};

// Levelling (kind 0). R1 takes TA first (TA leads the longer path TA -> TC,
// four days against TB's two):
//   A_TA 1440 min = 3 days of 480 from Mon 2024-01-08 08:00 -> Wed 01-10 17:00
//   A_TB  720 min = 480 + 240; R1 is full Mon-Wed, so Thu 01-11 08:00 -> Fri 01-12
//         12:00 (the morning, 08:00-12:00, is 240 min)
//   TC (480, no assignment) follows TA: Thu 01-11 08:00 -> 17:00
//   P1 spans Mon 01-08 08:00 -> Fri 01-12 12:00: 4 x 480 + 240 = 2160 min
// Level index: P1, the root, 0; then by weighted delay (start offset +
// slack - competing work on R1): TA 0 + 0 - 720 = -720, TB 0 + 1200 - 1440
// = -240 (static slack Tue 12:00 -> Thu 17:00 = 240 + 480 + 480), TC (no
// assignment) 1440 + 0 = 1440: TA 1, TB 2, TC 3.
// Slack after levelling: the backward pass caps every late finish at the
// project's finish day of the static schedule, Thu 01-11 (TA, TC; TB
// static Mon-Tue). TC and TA end on their latest dates (Thu, Wed) and TB
// ends after it: all 0.
// Counts: 3 tasks; every fetched row of the main loop counts as an
// assignment, TC's row without assignment too: 3 within 2 tasks with
// assignments.
TEST_F(LevellingColumns, LevellingWritesEveryLevelColumn) {
  build();
  EXPECT_EQ("0/U", lockMarks());
  EXPECT_EQ(0, run(0)) << log();

  EXPECT_EQ("[Finished] Leveling Project 'P1'", subject());
  EXPECT_EQ(trail(levellingMessages(false)), description());
  const std::string l = log();
  EXPECT_THAT(l, HasSubstr("S t a r t       L e v e l i n g"));
  EXPECT_THAT(l, HasSubstr("LEVELING/CALCULATE RESULTS for Project. \n" + projectLine("P1") +
                           " Todays Date is                         :" + kNow + " \n"));
  EXPECT_THAT(l, HasSubstr(reportLine("Error Code is", 0)));
  EXPECT_THAT(l, HasSubstr(reportLine("No.Leveled Tasks", 3)));
  EXPECT_THAT(l, HasSubstr(" No.Leveled Assignments                 :         3 within   2 "
                           "Leveled Tasks \n"));
  EXPECT_THAT(l, Not(HasSubstr("over-allocation")));
  expectRunRecorded(1, 2, 0, "U", kLevelLeft);
  // A calculate-as-of date was given: the run moves the project's start
  // to it (Monday 2024-01-08, the start it had).
  expectRow("PROJECT_DETAILS", "PROJECT_ID='P1'",
            {{"LEVEL_MOVE_PROJ", "1"}, {"LEVEL_START_FINISH_DATE", "2024-01-08 00:00:00.000000"}});

  expectRow("KOR_WBS", "ELEMENT_ID='P1'",
            levelledItem(at8("2024-01-08"), at12("2024-01-12"), 2160, 0, 0));
  expectRow("KOR_WBS", "ELEMENT_ID='TA'",
            levelledItem(at8("2024-01-08"), at17("2024-01-10"), 1440, 0, 1));
  expectRow("KOR_WBS", "ELEMENT_ID='TB'",
            levelledItem(at8("2024-01-11"), at12("2024-01-12"), 720, 0, 2));
  expectRow("KOR_WBS", "ELEMENT_ID='TC'",
            constrainedTc(levelledItem(at8("2024-01-11"), at17("2024-01-11"), 480, 0, 3)));
  // The plan is left alone.
  expectRow("KOR_WBS", "ELEMENT_ID='TB'",
            {{"PLANNED_START", at8("2024-01-08")}, {"PLANNED_FINISH", at17("2024-01-09")},
             {"PROPOSED_START", kNull}});

  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TA'",
            levelledAssignment(at8("2024-01-08"), at17("2024-01-10"), 1440, "2024-01-08;480*3"));
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            levelledAssignment(at8("2024-01-11"), at12("2024-01-12"), 720, "2024-01-11;480,240"));
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            {{"PLANNED_START", at8("2024-01-08")}, {"PLANNED_WORK", "720"}, {"CONSIDER", "9"}});

  EXPECT_EQ((std::vector<std::string>{day("TA", "2024-01-08"), day("TA", "2024-01-09"),
                                      day("TA", "2024-01-10"), day("TB", "2024-01-11"),
                                      day("TB", "2024-01-12", 240, "am")}),
            dayRows("LEVEL_TASK_DAY_OF_YEAR"));
  // The planned days stay until a copy.
  EXPECT_EQ(5u, dayRows("TASK_DAY_OF_YEAR").size());

  // The project assignment's levelled envelope: planned mode only.
  expectRow("PROJECT_ASSIGNMENTS", "PROJECT_ID='P1' AND RESOURCE_ID='R1'",
            {{"LEVEL_PLANNED_START", at8("2024-01-08")},
             {"LEVEL_PLANNED_FINISH", at12("2024-01-12")},
             {"LEVEL_SCHED_START", kNull},
             {"LEVEL_SCHED_FINISH", kNull},
             {"ESTIMATED_PLANNED_START", at8("2024-01-08")},
             {"ESTIMATED_PLANNED_FINISH", at17("2024-01-10")}});
  // A levelling run of a project writes no budget figures.
  EXPECT_EQ("TA LEVELLED 2 2024-01-01 999 | TA OTHER 2 2024-01-01 5", budgetRows());
}

// Calculation (kind 3): every assignment from its start, whatever the load.
//   A_TA Mon 01-08 08:00 -> Wed 01-10 17:00 (3 x 480)
//   A_TB Mon 01-08 08:00 -> Tue 01-09 12:00 (480 + 240), on top of A_TA
//   TC follows TA: Thu 01-11; P1 Mon 01-08 -> Thu 01-11: 4 x 480 = 1920 min
// Slack to Thu 17:00: TA, TC, P1 0; TB ends Tue 12:00: 240 + 480 + 480 = 1200.
// Level index: a calculation orders without the delay weighting; TA comes
// before its successor TC (observed: P1 0, TA 1, TC 2, TB 3).
TEST_F(LevellingColumns, CalculationWritesEveryLevelColumn) {
  build();
  EXPECT_EQ(0, run(3)) << log();

  EXPECT_EQ("[Finished] Calculation of Project 'P1'", subject());
  EXPECT_EQ(trail(levellingMessages(false)), description());
  const std::string l = log();
  EXPECT_THAT(l, HasSubstr(projectLine("P1")));
  EXPECT_THAT(l, HasSubstr(reportLine("Error Code is", 0)));
  EXPECT_THAT(l, Not(HasSubstr("over-allocation")));  // a calculation records none
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM LEVEL_OVER_ALLOCATIONS"));
  expectRunRecorded(3, 1, 0, "U", kLevelLeft);

  expectRow("KOR_WBS", "ELEMENT_ID='P1'",
            levelledItem(at8("2024-01-08"), at17("2024-01-11"), 1920, 0, 0));
  expectRow("KOR_WBS", "ELEMENT_ID='TA'",
            levelledItem(at8("2024-01-08"), at17("2024-01-10"), 1440, 0, 1));
  expectRow("KOR_WBS", "ELEMENT_ID='TB'",
            levelledItem(at8("2024-01-08"), at12("2024-01-09"), 720, 1200, 3));
  expectRow("KOR_WBS", "ELEMENT_ID='TC'",
            constrainedTc(levelledItem(at8("2024-01-11"), at17("2024-01-11"), 480, 0, 2)));

  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TA'",
            levelledAssignment(at8("2024-01-08"), at17("2024-01-10"), 1440, "2024-01-08;480*3"));
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            levelledAssignment(at8("2024-01-08"), at12("2024-01-09"), 720, "2024-01-08;480,240"));
  EXPECT_EQ((std::vector<std::string>{day("TA", "2024-01-08"), day("TA", "2024-01-09"),
                                      day("TA", "2024-01-10"), day("TB", "2024-01-08"),
                                      day("TB", "2024-01-09", 240, "am")}),
            dayRows("LEVEL_TASK_DAY_OF_YEAR"));
  expectRow("PROJECT_ASSIGNMENTS", "PROJECT_ID='P1' AND RESOURCE_ID='R1'",
            {{"LEVEL_PLANNED_START", at8("2024-01-08")},
             {"LEVEL_PLANNED_FINISH", at17("2024-01-10")},
             {"LEVEL_SCHED_START", kNull},
             {"LEVEL_SCHED_FINISH", kNull}});
}

// Levelled (kind 0), then copied (kind 2). The copy moves every level
// value into the plan:
//   A_TA planned Mon 01-08 08:00 -> Wed 01-10 17:00, 1440 min, "2024-01-08;480*3"
//   A_TB planned Thu 01-11 08:00 -> Fri 01-12 12:00,  720 min, "2024-01-11;480,240"
//   CONSIDER 6 (last run a levelling), ROLLUP_BITS | 2^25 (A_TA had 1:
//   33554433), the previous plan kept in BAK_*, the level columns emptied.
//   Days: the five planned days go, the five levelled ones come in.
//   Items: LEVEL_STATE 2, PROPOSED_* = LEVEL_*; the roll-up gives TA and TB
//   their assignments' dates and work; TC (no assignment) keeps its plan;
//   P1 spans its children: Mon 01-08 08:00 (TA, TC) -> Fri 01-12 12:00 (TB),
//   effort 1440 + 720 + 480 = 2640; START_FINISH_DATE / FINISH_START_DATE
//   the project's levelled days 2024-01-08 / 2024-01-12.
//   Budget (minutes a month, planned mode -> type 2): TA 1440, TB 720; the
//   old LEVELLED row of TA goes, the OTHER one stays.
TEST_F(LevellingColumns, CopyMovesTheLevelledValuesIntoThePlan) {
  build();
  ASSERT_EQ(0, run(0)) << log();
  EXPECT_EQ("0/U", lockMarks());
  EXPECT_EQ(0, run(2)) << log();

  EXPECT_EQ("[Finished] Copying Calculated/Leveled Results for Project 'P1'", subject());
  EXPECT_EQ(trail(copyMessages()), description());
  const std::string l = log();
  EXPECT_THAT(l, HasSubstr("C o p i n g  of  L e v e l e d  D a t a"));
  EXPECT_THAT(l, HasSubstr(projectLine("P1")));
  EXPECT_THAT(l, HasSubstr(reportLine("Error Code is", 0)));
  expectRunRecorded(2, 2, 0, "U", kCopyLeft);

  const Row emptiedLevel = {{"LEVEL_START", kNull},  {"LEVEL_FINISH", kNull},
                            {"LEVEL_EFFORT", "0"},    {"LEVEL_ASSIGN_STRING", kNull},
                            {"FORECAST_START", kNull}, {"FORECAST_FINISH", kNull},
                            {"FORECAST_DURATION", "0"}, {"LAST_SCHED_MIN", "0"},
                            {"SCHED_START", kNull},   {"SCHED_FINISH", kNull},
                            {"SCHED_WORK", "0"},      {"CONSIDER", "6"}};
  Row ta = {{"PLANNED_START", at8("2024-01-08")},  {"PLANNED_FINISH", at17("2024-01-10")},
            {"PROPOSED_START", at8("2024-01-08")}, {"PROPOSED_FINISH", at17("2024-01-10")},
            {"PLANNED_WORK", "1440"},              {"ASSIGN_STRING", "2024-01-08;480*3"},
            {"BAK_START_DT", at8("2024-01-08")},   {"BAK_FINISH_DT", at17("2024-01-10")},
            {"BAK_ASSIGN_STRING", "2024-01-08;480*3"}, {"ROLLUP_BITS", "33554433"}};
  ta.insert(emptiedLevel.begin(), emptiedLevel.end());
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TA'", ta);
  Row tb = {{"PLANNED_START", at8("2024-01-11")},  {"PLANNED_FINISH", at12("2024-01-12")},
            {"PROPOSED_START", at8("2024-01-11")}, {"PROPOSED_FINISH", at12("2024-01-12")},
            {"PLANNED_WORK", "720"},               {"ASSIGN_STRING", "2024-01-11;480,240"},
            {"BAK_START_DT", at8("2024-01-11")},   {"BAK_FINISH_DT", at12("2024-01-12")},
            {"BAK_ASSIGN_STRING", "2024-01-11;480,240"}, {"ROLLUP_BITS", "33554432"}};
  tb.insert(emptiedLevel.begin(), emptiedLevel.end());
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'", tb);

  EXPECT_EQ((std::vector<std::string>{day("TA", "2024-01-08"), day("TA", "2024-01-09"),
                                      day("TA", "2024-01-10"), day("TB", "2024-01-11"),
                                      day("TB", "2024-01-12", 240, "am")}),
            dayRows("TASK_DAY_OF_YEAR"));
  EXPECT_EQ(std::vector<std::string>{}, dayRows("LEVEL_TASK_DAY_OF_YEAR"));

  // No project-level task assignment was copied: the estimates are cleared.
  expectRow("PROJECT_ASSIGNMENTS", "PROJECT_ID='P1' AND RESOURCE_ID='R1'",
            {{"ESTIMATED_PLANNED_START", kNull}, {"ESTIMATED_PLANNED_FINISH", kNull},
             {"ESTIMATED_SCHED_START", kNull}, {"ESTIMATED_SCHED_FINISH", kNull},
             {"LEVEL_PLANNED_START", at8("2024-01-08")},
             {"LEVEL_PLANNED_FINISH", at12("2024-01-12")}});

  auto copiedItem = [](const std::string& start, const std::string& finish,
                       const std::string& plannedStart, const std::string& plannedFinish,
                       int effort) -> Row {
    return {{"LEVEL_STATE", "2"},          {"LEVEL_START", start},
            {"LEVEL_FINISH", finish},      {"PROPOSED_START", start},
            {"PROPOSED_FINISH", finish},   {"PLANNED_START", plannedStart},
            {"PLANNED_FINISH", plannedFinish}, {"PLANNED_EFFORT", std::to_string(effort)},
            {"SCHED_EFFORT", "0"},         {"FORECAST_START", kNull},
            {"FORECAST_FINISH", kNull},    {"FORECAST_DURATION", "0"},
            {"CONSTRAINT_TYPE", "0"},      {"ROLLUP_BITS", "33554432"},
            {"LEVEL_CONFLICT", kNull}};
  };
  Row p1 = copiedItem(at8("2024-01-08"), at12("2024-01-12"), at8("2024-01-08"),
                      at12("2024-01-12"), 2640);
  p1["START_FINISH_DATE"] = "2024-01-08";
  p1["FINISH_START_DATE"] = "2024-01-12";
  p1["PRIORITY"] = "500";
  p1["CONSTRAINT_TYPE"] = kNull;  // the project row has none; the copy keeps it
  expectRow("KOR_WBS", "ELEMENT_ID='P1'", p1);
  expectRow("KOR_WBS", "ELEMENT_ID='TA'",
            copiedItem(at8("2024-01-08"), at17("2024-01-10"), at8("2024-01-08"),
                       at17("2024-01-10"), 1440));
  expectRow("KOR_WBS", "ELEMENT_ID='TB'",
            copiedItem(at8("2024-01-11"), at12("2024-01-12"), at8("2024-01-11"),
                       at12("2024-01-12"), 720));
  Row tc = copiedItem(at8("2024-01-11"), at17("2024-01-11"), at8("2024-01-08"),
                      at17("2024-01-08"), 480);
  tc["CONSTRAINT_TYPE"] = "7";  // the levelled constraint, the item's own
  tc["CONSTRAINT_DT"] = "2024-01-05 00:00:00.000000";
  tc["LEVEL_CONFLICT"] = kTcConflict;  // the copy leaves the conflict list
  expectRow("KOR_WBS", "ELEMENT_ID='TC'", tc);

  EXPECT_EQ("TA LEVELLED 2 2024-01-01 1440 | TA OTHER 2 2024-01-01 5 | "
            "TB LEVELLED 2 2024-01-01 720",
            budgetRows());

  // A second copy finds nothing new and changes nothing.
  EXPECT_EQ(0, run(2)) << log();
  EXPECT_THAT(description(), HasSubstr("No new Calculated/Leveled Data has been found for "
                                       "Project 'P1'"));
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'", tb);
  EXPECT_EQ(5u, dayRows("TASK_DAY_OF_YEAR").size());
  EXPECT_EQ("0/U", lockMarks());
}

// What-if levelling (kind 4) of the scenario holding P1 (priority 700,
// start 2024-01-08): the dates are those of the levelling run; the project
// is reserved for the scenario (LEVEL_LOCK 10) and its record lock kept
// ('L': only projects whose levelling lock is 0 are released); the
// scenario gets the project's levelled days; the levelled figures are
// written as budget type 18 (planned mode): TA 1440, TB 720 in January.
// Then the copy of the scenario (kind 6): as kind 2, and the project item
// takes the scenario's priority (700).
TEST_F(LevellingColumns, WhatIfLevellingThenCopy) {
  build();
  scenario(700);
  EXPECT_EQ(0, run(4)) << log();

  EXPECT_EQ("[Finished] What-if? Scenario: 'P1'", subject());
  EXPECT_EQ(trail(levellingMessages(true), false), description());
  const std::string l = log();
  EXPECT_THAT(l, HasSubstr("LEVELING/CALCULATE RESULTS for What-If?Scenario. \n"));
  EXPECT_THAT(l, HasSubstr(reportLine("Error Code is", 0)));
  expectRunRecorded(4, 2, 10, "L", kLevelLeft);
  expectRow("NAV_SCENARIOS", "ELEMENT_ID='P1'",
            {{"LEVEL_START", "2024-01-08"}, {"LEVEL_FINISH", "2024-01-12"}, {"PRIORITY", "700"}});
  // The scenario's current-date predecessor (an outside item) stays in
  // the network of a what-if run and is ordered first: every index is one
  // more than in the levelling run.
  expectRow("KOR_WBS", "ELEMENT_ID='P1'",
            levelledItem(at8("2024-01-08"), at12("2024-01-12"), 2160, 0, 1));
  expectRow("KOR_WBS", "ELEMENT_ID='TA'",
            levelledItem(at8("2024-01-08"), at17("2024-01-10"), 1440, 0, 2));
  expectRow("KOR_WBS", "ELEMENT_ID='TB'",
            levelledItem(at8("2024-01-11"), at12("2024-01-12"), 720, 0, 3));
  expectRow("KOR_WBS", "ELEMENT_ID='TC'",
            constrainedTc(levelledItem(at8("2024-01-11"), at17("2024-01-11"), 480, 0, 4)));
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TA'",
            levelledAssignment(at8("2024-01-08"), at17("2024-01-10"), 1440, "2024-01-08;480*3"));
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            levelledAssignment(at8("2024-01-11"), at12("2024-01-12"), 720, "2024-01-11;480,240"));
  EXPECT_EQ((std::vector<std::string>{day("TA", "2024-01-08"), day("TA", "2024-01-09"),
                                      day("TA", "2024-01-10"), day("TB", "2024-01-11"),
                                      day("TB", "2024-01-12", 240, "am")}),
            dayRows("LEVEL_TASK_DAY_OF_YEAR"));
  expectRow("PROJECT_DETAILS", "PROJECT_ID='P1'",
            {{"LEVEL_MOVE_PROJ", "1"}, {"LEVEL_START_FINISH_DATE", "2024-01-08 00:00:00.000000"}});
  expectRow("PROJECT_ASSIGNMENTS", "PROJECT_ID='P1' AND RESOURCE_ID='R1'",
            {{"LEVEL_PLANNED_START", at8("2024-01-08")},
             {"LEVEL_PLANNED_FINISH", at12("2024-01-12")},
             {"LEVEL_SCHED_START", kNull},
             {"LEVEL_SCHED_FINISH", kNull}});
  EXPECT_EQ("TA LEVELLED 2 2024-01-01 999 | TA LEVELLED 18 2024-01-01 1440 | "
            "TA OTHER 2 2024-01-01 5 | TB LEVELLED 18 2024-01-01 720",
            budgetRows());

  EXPECT_EQ("10/L", lockMarks());
  EXPECT_EQ(0, run(6)) << log();
  EXPECT_EQ("[Finished] What-if? Scenario: Copying Calculated Results for Scenario 'P1'",
            subject());
  EXPECT_EQ(trail(copyMessages(), false), description());
  // The scenario's reservation stays: the run finds the projects at 10,
  // keeps them at 10 (it never held the lock 1 that a run gives back), and
  // releases record locks only of projects at 0.
  expectRunRecorded(6, 2, 10, "L", kCopyLeft);
  expectRow("KOR_WBS", "ELEMENT_ID='P1'",
            {{"PRIORITY", "700"}, {"LEVEL_STATE", "2"}, {"PLANNED_FINISH", at12("2024-01-12")}});
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            {{"PLANNED_START", at8("2024-01-11")}, {"PLANNED_FINISH", at12("2024-01-12")},
             {"LEVEL_START", kNull}, {"CONSIDER", "6"}});
  EXPECT_EQ(std::vector<std::string>{}, dayRows("LEVEL_TASK_DAY_OF_YEAR"));
  EXPECT_EQ("TA LEVELLED 2 2024-01-01 1440 | TA OTHER 2 2024-01-01 5 | "
            "TB LEVELLED 2 2024-01-01 720",
            budgetRows());
}

// A copy that meets a selected project without a KOR_WBS row of its own:
// the project-type item P1S of P1 names a project GHOST that has details
// but no item. The copy takes the deepest rank first (P1.P1S), finds no
// row for GHOST, reports "error(D-1)" and returns 200143 at once: nothing
// is copied, the locks stay taken and the work tables filled (the stale
// lock rule releases them later).
TEST_F(LevellingColumns, CopyOfAProjectWithoutItsItemReturns200143) {
  build();
  ASSERT_EQ(0, run(0)) << log();
  db.row("KOR_WBS", {{"PROJECT_ID", "GHOST"}, {"PARENT_ID", "P1"}, {"ELEMENT_ID", "P1S"},
                     {"ELEMENT_NAME", "P1S"}, {"RANK", "P1.P1S"}, {"LEVEL_ID", "2"},
                     {"TYPE_ID", "1"}, {"PLANNED_EFFORT", "0"}, {"SCHED_EFFORT", "0"},
                     {"REC_STATUS", "U"}});
  db.row("PROJECT_DETAILS", {{"PROJECT_ID", "GHOST"}, {"LEVEL_LOCK", "0"},
                             {"CALCULATE_FLAG", "2"}, {"LEVEL_LAST_CALL_OPTION", "1"}});
  EXPECT_EQ(200143, run(2)) << log();

  const std::string l = log();
  EXPECT_THAT(l, HasSubstr("error(D-1)/data corruption in Lev_resolveDepOracleDB "
                           "(levelResourcesForProject) \nerror type: not existing PROJECT_ID"));
  EXPECT_THAT(l, Not(HasSubstr("LEVELING/CALCULATE RESULTS")));  // no report
  EXPECT_THAT(description(), HasSubstr("not existing PROJECT_ID"));
  // Sent at once under the run's start subject; no final notification.
  EXPECT_EQ("[Started] Copying Calculated/Leveled Results for Project 'P1'", subject());
  EXPECT_THAT(description(),
              HasSubstr("error type: not existing PROJECT_ID \nLineNum = "));
  EXPECT_THAT(description(),
              HasSubstr("Please submit to supporting team \n\nPROJECT_ID = GHOST (0)\n\n" +
                        trail({"Started.", "All Selected Projects are Locked. ",
                               "The list of Projects is created.",
                               "WBS is copied to temporary table. "})));
  EXPECT_EQ("1/L", lockMarks());
  expectRow("PROJECT_DETAILS", "PROJECT_ID='P1'",
            {{"LEVEL_LAST_CALL_OPTION", "2"}, {"CALCULATE_FLAG", "2"}, {"SCENARIO_USER_ID", "U1"},
             {"SCENARIO_DATETIME", kNow}});
  expectRow("KOR_WBS", "ELEMENT_ID='P1S'", {{"REC_STATUS", "L"}, {"REC_USER", "U1"}});
  EXPECT_EQ(1, count("SELECT LEVEL_LOCK FROM PROJECT_DETAILS WHERE PROJECT_ID='GHOST'"));
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
  // Nothing copied: the level data is still there, the plan unchanged.
  expectRow("KOR_WBS", "ELEMENT_ID='TB'",
            {{"LEVEL_STATE", "1"}, {"PLANNED_START", at8("2024-01-08")}});
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            levelledAssignment(at8("2024-01-11"), at12("2024-01-12"), 720, "2024-01-11;480,240"));
  EXPECT_EQ(5u, dayRows("LEVEL_TASK_DAY_OF_YEAR").size());
  EXPECT_EQ((std::vector<std::string>{plannedDay("TA", "2024-01-08"),
                                      plannedDay("TA", "2024-01-09"),
                                      plannedDay("TA", "2024-01-10"),
                                      plannedDay("TB", "2024-01-08"),
                                      plannedDay("TB", "2024-01-09", 240)}),
            dayRows("TASK_DAY_OF_YEAR"));
  EXPECT_EQ("TA LEVELLED 2 2024-01-01 999 | TA OTHER 2 2024-01-01 5", budgetRows());
}

// A copy through RES_DEP_FOR_PROJ of a project never levelled: 200317,
// nothing locked, nothing written.
TEST_F(LevellingColumns, CopyOfAProjectNeverLevelledReturns200317) {
  build();
  db.commit();
  LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
  EXPECT_EQ(200317, RES_DEP_FOR_PROJ(&ctx, "P1", 0, 2, 0, 0, 0, "2024-01-08 08:00:00.000000", 0,
                                     "U1", 0));
  EXPECT_EQ("[Failed] Copying Calculated/Leveled Results for Project 'P1'", subject());
  // Nothing was locked: no unlocking message.
  EXPECT_EQ(trail({"Started.",
                   "One must apply Calculate/Level before attempting to Copy Calculated "
                   "Results.",
                   "All Temporary objects are Deleted. ",
                   "You have to Calculate/Level at least once before Copying results.\n\n"}),
            description());
  const std::string l = log();
  EXPECT_THAT(l, HasSubstr(reportLine("Error Code is", 200317)));
  EXPECT_THAT(l, Not(HasSubstr("C o p i n g")));
  EXPECT_EQ("0/U", lockMarks());
  expectRow("PROJECT_DETAILS", "PROJECT_ID='P1'",
            {{"LEVEL_LAST_CALL_OPTION", "0"}, {"CALCULATE_FLAG", "0"},
             {"SCENARIO_USER_ID", kNull}});
  EXPECT_EQ("", workTablesLeft());
  expectRow("TASK_ASSIGNMENTS", "TSK_ASSIGNMENT_ID='A_TB'",
            {{"PLANNED_START", at8("2024-01-08")}, {"PLANNED_FINISH", at17("2024-01-09")},
             {"BAK_START_DT", kNull}, {"ROLLUP_BITS", "0"}, {"CONSIDER", "9"}});
  EXPECT_EQ(5u, dayRows("TASK_DAY_OF_YEAR").size());
  EXPECT_EQ("TA LEVELLED 2 2024-01-01 999 | TA OTHER 2 2024-01-01 5", budgetRows());
}

}  // namespace
}  // namespace scenario
