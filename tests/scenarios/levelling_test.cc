// Levelling runs through the entry point on small databases, checked to
// the day: the resource search places each assignment on its resource's
// free capacity, and the tasks and their successors follow.
//
// Calendar: Monday to Friday 08:00-12:00 and 13:00-17:00 (480 minutes a
// day); 2024-01-08 is a Monday.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "run/entry_points.h"
#include "scenarios/scenario_fixture.h"

namespace scenario {
namespace {

class Levelling : public Scenario {
 protected:
  void SetUp() override {
    Scenario::SetUp();
    logPath_ = db.path() + ".log";
  }
  void TearDown() override { std::remove(logPath_.c_str()); }

  void resource(const std::string& id, int maxUnits = 10000) {
    db.row("RESOURCES", {{"RESOURCE_ID", id}, {"FULL_NAME", id},
                         {"MAX_UNITS", std::to_string(maxUnits)}});
  }
  // A task of `work` minutes with one planned assignment on `res`.
  void assignedTask(const std::string& id, const std::string& res, int work,
                    int units = 10000) {
    task("P1", "P1", id, 2, work, "2024-01-08", {{"ASSIGN_COUNT", "1"}});
    db.assignment({.project = "P1", .task = id, .id = "A_" + id, .resource = res,
                   .proposedWork = work, .unitsMsp = units,
                   .extra = {{"ETC", std::to_string(work)},
                             {"PLANNED_WORK", std::to_string(work)},
                             {"SCHED_WORK", "0"},
                             {"BIT_FLAG", "0"},
                             {"RESOURCE_TYPE", "0"},
                             {"UNRESOLVED_START", "2024-01-08 08:00:00.000000"},
                             {"UNRESOLVED_FINISH", workingDayAfter("2024-01-08", (work - 1) / 480) +
                                                       " 17:00:00.000000"},
                             {"UNRESOLVED_DURATION", std::to_string(work)},
                             {"ASSIGNMENT_DELAY", "0"},
                             {"C_EFFORT", "0"},
                             {"C_CONTOUR", "0"},
                             {"CONTOUR_TYPE", "0"},
                             // Last changed long before any run: a copy takes
                             // only assignments changed before it started.
                             {"REC_DATETIME", "2024-01-01 00:00:00.000000"}}});
    for (int d = 0, left = work; left > 0; ++d, left -= 480) {  // the planned days
      db.dayWork({.project = "P1", .task = id, .assignment = "A_" + id, .resource = res,
                  .day = workingDayAfter("2024-01-08", d), .schedMinutes = std::min(left, 480)});
    }
    effort_ += work;
    db.store().execute("UPDATE KOR_WBS SET PLANNED_EFFORT=" + std::to_string(effort_) +
                       ", CHILD_COUNT=COALESCE(CHILD_COUNT, 0)+1 WHERE ELEMENT_ID='P1'");
  }
  int level(int kind = 0) {
    LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
    return RES_DEP_FOR_PROJ(&ctx, "P1", 0, kind, 0, 0, 0, "2024-01-08 08:00:00.000000", 0, "U1",
                            0);
  }
  // "LEVEL_START .. LEVEL_FINISH" of an item as written into KOR_WBS.
  std::string levelled(const std::string& id) {
    return text("SELECT LEVEL_START FROM KOR_WBS WHERE ELEMENT_ID='" + id + "'") + " .. " +
           text("SELECT LEVEL_FINISH FROM KOR_WBS WHERE ELEMENT_ID='" + id + "'");
  }
  std::string log() {
    std::string out;
    if (FILE* f = std::fopen(logPath_.c_str(), "r")) {
      char buf[4096];
      std::size_t n;
      while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
      std::fclose(f);
    }
    return out;
  }

  std::string logPath_;
  int effort_ = 0;
};

TEST_F(Levelling, TwoTasksOnTheOnlyPersonGoOneAfterTheOther) {
  project("P1", "2024-01-08", "2024-02-02");
  resource("R1");
  assignedTask("TA", "R1", 1440);
  assignedTask("TB", "R1", 1440);
  const int rc = level();
  EXPECT_EQ(0, rc) << log();
  EXPECT_EQ("2024-01-08 08:00:00.000000 .. 2024-01-10 17:00:00.000000", levelled("TA"));
  EXPECT_EQ("2024-01-11 08:00:00.000000 .. 2024-01-15 17:00:00.000000", levelled("TB"));
}

TEST_F(Levelling, ATeamOfThreeTakesThreeTasksAtOnce) {
  project("P1", "2024-01-08", "2024-02-02");
  resource("TEAM", 30000);
  for (const char* id : {"T1", "T2", "T3"}) assignedTask(id, "TEAM", 1440);
  EXPECT_EQ(0, level()) << log();
  for (const char* id : {"T1", "T2", "T3"}) {
    EXPECT_EQ("2024-01-08 08:00:00.000000 .. 2024-01-10 17:00:00.000000", levelled(id)) << id;
  }
}

// A calculation run places every assignment from its start, whatever the
// load: the two tasks overlap.
TEST_F(Levelling, ACalculationRunOverlapsTheTasks) {
  project("P1", "2024-01-08", "2024-02-02");
  resource("R1");
  assignedTask("TA", "R1", 1440);
  assignedTask("TB", "R1", 1440);
  EXPECT_EQ(0, level(3)) << log();
  EXPECT_EQ("2024-01-08 08:00:00.000000 .. 2024-01-10 17:00:00.000000", levelled("TA"));
  EXPECT_EQ("2024-01-08 08:00:00.000000 .. 2024-01-10 17:00:00.000000", levelled("TB"));
  EXPECT_EQ(1, count("SELECT CALCULATE_FLAG FROM PROJECT_DETAILS WHERE PROJECT_ID='P1'"));
}

// At 50% units two days of work take four days; the successor of a
// finish-to-start link starts on the next working day.
TEST_F(Levelling, HalfUnitsTakeTwiceTheDaysAndSuccessorsFollow) {
  project("P1", "2024-01-08", "2024-02-02");
  resource("R1");
  resource("R2");
  assignedTask("TA", "R1", 960, 5000);
  assignedTask("TB", "R2", 480);
  link("TA", "TB", "P1");
  EXPECT_EQ(0, level()) << log();
  EXPECT_EQ("2024-01-08 08:00:00.000000 .. 2024-01-11 17:00:00.000000", levelled("TA"));
  EXPECT_EQ("2024-01-12 08:00:00.000000 .. 2024-01-12 17:00:00.000000", levelled("TB"));
  EXPECT_EQ(2, count("SELECT CALCULATE_FLAG FROM PROJECT_DETAILS WHERE PROJECT_ID='P1'"));
  EXPECT_EQ(0, count("SELECT LEVEL_LOCK FROM PROJECT_DETAILS WHERE PROJECT_ID='P1'"));
}

// Levelled, then copied into the plan (run kind 2): the planned dates are
// the levelled ones, and a second copy finds nothing new.
TEST_F(Levelling, LevelledResultsAreCopiedIntoThePlan) {
  project("P1", "2024-01-08", "2024-02-02");
  resource("R1");
  assignedTask("TA", "R1", 1440);
  assignedTask("TB", "R1", 1440);
  EXPECT_EQ(0, level()) << log();
  EXPECT_EQ(0, level(2)) << log();
  EXPECT_EQ("2024-01-11 08:00:00.000000",
            text("SELECT PLANNED_START FROM TASK_ASSIGNMENTS WHERE TSK_ASSIGNMENT_ID='A_TB'"));
  EXPECT_EQ(2, count("SELECT LEVEL_STATE FROM KOR_WBS WHERE ELEMENT_ID='TB'"));
  // TB's three days, Thursday to Monday, are the plan's, in January's
  // planned budget; the project rolls up from its tasks.
  EXPECT_EQ("TA/2/2024-01-01/1440 TB/2/2024-01-01/1440",
            text("SELECT GROUP_CONCAT(R, ' ') FROM (SELECT ELEMENT_ID || '/' || BUDGET_TYPE || "
                 "'/' || PERIOD_START || '/' || AMOUNT AS R FROM PROJECT_BUDGET_BREAKDOWN "
                 "WHERE PROJECT_ID='P1' ORDER BY ELEMENT_ID)"));
  EXPECT_EQ("2024-01-08 08:00:00.000000 .. 2024-01-15 17:00:00.000000 / 2880",
            text("SELECT PLANNED_START || ' .. ' || PLANNED_FINISH || ' / ' || PLANNED_EFFORT "
                 "FROM KOR_WBS WHERE ELEMENT_ID='P1'"));
  EXPECT_EQ(0, level(2)) << log();
  EXPECT_NE(std::string::npos, text("SELECT DESCRIPTION FROM KOR_WORKFLOWS ORDER BY REC_DATETIME DESC LIMIT 1")
                                   .find("No new Calculated/Leveled Data"));
}

// A what-if scenario (run kind 4) levels the scenario's projects from the
// scenario's start, reserves them for the scenario (LEVEL_LOCK 10) and
// writes the scenario's dates; its results are then copied (kind 6).
TEST_F(Levelling, AWhatIfScenarioIsLevelledThenCopied) {
  project("P1", "2024-01-08", "2024-02-02");
  resource("R1");
  assignedTask("TA", "R1", 1440);
  assignedTask("TB", "R1", 1440);
  db.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1"}, {"TYPE_ID", "1"}, {"PRIORITY", "500"},
                           {"PROJECT_START", "2024-01-08 00:00:00.000000"}});
  EXPECT_EQ(0, level(4)) << log();
  EXPECT_EQ("2024-01-11 08:00:00.000000 .. 2024-01-15 17:00:00.000000", levelled("TB"));
  EXPECT_EQ(10, count("SELECT LEVEL_LOCK FROM PROJECT_DETAILS WHERE PROJECT_ID='P1'"));
  EXPECT_EQ("2024-01-08", text("SELECT SUBSTR(LEVEL_START,1,10) FROM NAV_SCENARIOS"));
  EXPECT_EQ("2024-01-15", text("SELECT SUBSTR(LEVEL_FINISH,1,10) FROM NAV_SCENARIOS"));
  EXPECT_EQ(0, level(6)) << log();
  EXPECT_EQ("2024-01-11 08:00:00.000000",
            text("SELECT PLANNED_START FROM TASK_ASSIGNMENTS WHERE TSK_ASSIGNMENT_ID='A_TB'"));
}

}  // namespace
}  // namespace scenario
