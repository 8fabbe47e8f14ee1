// The levelled-schedule check on schedules written by hand, every figure
// worked out on the calendar Monday to Friday 08:00-12:00 and 13:00-17:00
// (480 minutes a day); 2024-01-08 is a Monday, the project's start.
#include <gtest/gtest.h>

#include <string>

#include "import/schedule_check.h"
#include "support/test_db.h"

namespace {

class ScheduleCheckTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"})
        .calendar({.from = "2024-01-01", .to = "2024-12-31"});
    db.project({.id = "P2", .start = "2024-01-08", .finish = "2024-03-29"})
        .calendar({.from = "2024-01-01", .to = "2024-12-31"});
  }
  // An item with its levelled dates ("" for none).
  void levelled(const std::string& project, const std::string& id, const std::string& start,
                const std::string& finish) {
    db.item({.project = project,
             .parent = project,
             .id = id,
             .extra = {{"LEVEL_START", start.empty() ? "NULL" : start},
                       {"LEVEL_FINISH", finish.empty() ? "NULL" : finish}}});
  }
  void link(const std::string& pred, const std::string& succ, int depType, int lag = 0) {
    db.dependency({.pred = pred, .succ = succ, .predProject = "P1", .depType = depType, .lag = lag});
  }
  void resource(const std::string& id, const std::string& maxUnits, const std::string& calendar) {
    db.row("RESOURCES", {{"RESOURCE_ID", id}, {"MAX_UNITS", maxUnits}, {"CALENDAR_ID", calendar}});
  }
  void day(const std::string& project, const std::string& assignment, const std::string& res,
           const std::string& day, int minutes) {
    db.row("LEVEL_TASK_DAY_OF_YEAR", {{"PROJECT_ID", project},
                                      {"TSK_ASSIGNMENT_ID", assignment},
                                      {"RESOURCE_ID", res},
                                      {"DAY_YEAR", day},
                                      {"SCHED_MIN", std::to_string(minutes)}});
  }

  testing::TestDb db;
};

TEST_F(ScheduleCheckTest, DependenciesAreMeasuredInWorkingMinutes) {
  levelled("P1", "T1", "2024-01-08 08:00:00.000000", "2024-01-09 17:00:00.000000");
  // Holds: the next working minute after T1's finish.
  levelled("P1", "T2", "2024-01-10 08:00:00.000000", "2024-01-10 17:00:00.000000");
  link("T1", "T2", 0);
  // Holds exactly: T1 finishes at 960 working minutes, T3 starts at 960 +
  // 240 (Wednesday noon, the morning's four hours).
  levelled("P1", "T3", "2024-01-10 12:00:00.000000", "2024-01-10 17:00:00.000000");
  link("T1", "T3", 0, 240);
  // Broken: starts at 1380 (Wednesday 16:00), T2 finishes at 1440.
  levelled("P1", "T4", "2024-01-10 16:00:00.000000", "2024-01-11 15:00:00.000000");
  link("T2", "T4", 0);
  // Friday 17:00 and Monday 08:00 are the same position: holds.
  levelled("P1", "T5", "2024-01-11 08:00:00.000000", "2024-01-12 17:00:00.000000");
  levelled("P1", "T6", "2024-01-15 08:00:00.000000", "2024-01-15 17:00:00.000000");
  link("T5", "T6", 0);
  // Finish-to-finish T2 -> T6 holds; start-to-start with a day's lead
  // allows T7 to start with T1.
  link("T2", "T6", 2);
  levelled("P1", "T7", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000");
  link("T1", "T7", 1, -480);
  // Start-to-finish T7 -> T1 with a lag of 3 days: T1 finishes at 960,
  // T7 starts at 0, 0 + 1440 > 960: broken.
  link("T7", "T1", 3, 1440);
  // A link to an item of another project is not checked.
  levelled("P2", "U1", "2024-01-08 08:00:00.000000", "2024-01-08 09:00:00.000000");
  db.dependency({.pred = "T6", .succ = "U1", .predProject = "P1", .succProject = "P2"});

  import::ScheduleCheck check;
  std::string error;
  ASSERT_EQ(0, import::checkSchedule(db.store(), {"P1"}, check, error)) << error;
  EXPECT_EQ(7, check.items);
  EXPECT_EQ(0, check.unscheduled);
  EXPECT_EQ(7, check.dependencies);
  EXPECT_EQ(2, check.precedenceViolations);
  ASSERT_EQ(2u, check.problems.size());
  EXPECT_EQ("finish-to-start T2 -> T4 (lag 0): 2024-01-10 17:00:00.000000 / "
            "2024-01-10 16:00:00.000000",
            check.problems[0]);
  EXPECT_EQ("start-to-finish T7 -> T1 (lag 1440): 2024-01-08 08:00:00.000000 / "
            "2024-01-09 17:00:00.000000",
            check.problems[1]);
  // Latest finish Monday 15 January 17:00: six working days.
  EXPECT_EQ("2024-01-15 17:00:00.000000", check.latestFinish);
  EXPECT_EQ(2880, check.makespanMinutes);
  EXPECT_EQ(6, check.makespanDays);
  EXPECT_FALSE(check.feasible());
}

TEST_F(ScheduleCheckTest, CapacityIsUnitsTimesTheDaysWorkingMinutes) {
  levelled("P1", "T1", "2024-01-08 08:00:00.000000", "2024-01-10 10:00:00.000000");
  db.calendarOf("HALF", {.from = "2024-01-01",
                         .to = "2024-01-31",
                         .week = {testing::DayBits{}, testing::dayBits({{480, 720}}),
                                  testing::dayBits({{480, 720}}), testing::dayBits({{480, 720}}),
                                  testing::dayBits({{480, 720}}), testing::dayBits({{480, 720}}),
                                  testing::DayBits{}},
                         .weekGiven = true,
                         .minutesPerDay = 240});
  resource("TEAM", "20000", "NULL");   // two people: 960 minutes a day
  resource("SOLO", "NULL", "NULL");    // one person
  resource("PART", "10000", "HALF");   // mornings only: 240
  day("P1", "A1", "TEAM", "2024-01-08", 480);
  day("P1", "A2", "TEAM", "2024-01-08", 480);  // 960: full
  day("P1", "A1", "TEAM", "2024-01-09", 480);
  day("P1", "A2", "TEAM", "2024-01-09", 600);  // 1080: 120 over
  day("P2", "B1", "TEAM", "2024-01-10", 960);
  day("P1", "A1", "TEAM", "2024-01-10", 120);  // P1 alone: within; with P2: 120 over
  day("P1", "A3", "SOLO", "2024-01-08", 480);
  day("P1", "A3", "SOLO", "2024-01-13", 60);   // a Saturday: no capacity
  day("P1", "A4", "PART", "2024-01-08", 240);
  day("P1", "A4", "PART", "2024-01-09", 300);  // 60 over

  import::ScheduleCheck check;
  std::string error;
  ASSERT_EQ(0, import::checkSchedule(db.store(), {"P1"}, check, error)) << error;
  EXPECT_EQ(7, check.resourceDays);
  EXPECT_EQ(3, check.overloadedDays);
  EXPECT_EQ(120, check.worstExcessMinutes);
  EXPECT_EQ("resource PART on 2024-01-09: 300 of 240 minutes", check.problems.at(0));
  EXPECT_EQ("resource SOLO on 2024-01-13: 60 of 0 minutes", check.problems.at(1));
  EXPECT_EQ("resource TEAM on 2024-01-09: 1080 of 960 minutes", check.problems.at(2));
  // Wednesday 10:00: two days and two hours.
  EXPECT_EQ(1080, check.makespanMinutes);
  EXPECT_EQ(3, check.makespanDays);

  ASSERT_EQ(0, import::checkSchedule(db.store(), {"P1", "P2"}, check, error)) << error;
  EXPECT_EQ(4, check.overloadedDays);
  EXPECT_EQ("resource TEAM on 2024-01-10: 1080 of 960 minutes", check.problems.at(3));

  // Slots: within the day's minutes (480 + 480 of 960) a team of two can
  // still have three people at work in the afternoon, when a full-time
  // assignment shares it with one at 200% packed into 13:00-17:00.
  resource("PAIR", "20000", "NULL");
  db.assignment({.project = "P1", .task = "T1", .id = "A5", .resource = "PAIR", .unitsMsp = 10000});
  db.assignment({.project = "P1", .task = "T1", .id = "A6", .resource = "PAIR", .unitsMsp = 20000});
  auto slots = [&](const std::string& a, const testing::DayBits& bits, int minutes) {
    db.row("LEVEL_TASK_DAY_OF_YEAR", {{"PROJECT_ID", "P1"}, {"TSK_ASSIGNMENT_ID", a},
                                      {"RESOURCE_ID", "PAIR"}, {"DAY_YEAR", "2024-01-11"},
                                      {"SCHED_MIN", std::to_string(minutes)},
                                      {"BIT_SCHED", testing::dayBitsHex(bits)}});
  };
  slots("A5", testing::standardDay(), 480);
  slots("A6", testing::dayBits({{780, 1020}}), 480);
  ASSERT_EQ(0, import::checkSchedule(db.store(), {"P1"}, check, error)) << error;
  EXPECT_EQ(3, check.overloadedDays);
  EXPECT_EQ(1, check.slotOverloadedDays);
  EXPECT_EQ(10000, check.worstSlotExcessUnits);

  // An item left without levelled dates makes the schedule incomplete.
  levelled("P1", "T2", "", "");
  db.row("LEVEL_TASK_DAY_OF_YEAR", {{"PROJECT_ID", "P9"}, {"RESOURCE_ID", "SOLO"},
                                    {"DAY_YEAR", "2024-01-08"}, {"SCHED_MIN", "480"}});
  ASSERT_EQ(0, import::checkSchedule(db.store(), {"P2"}, check, error)) << error;
  EXPECT_EQ(0, check.overloadedDays);
  EXPECT_TRUE(check.feasible());
  ASSERT_EQ(0, import::checkSchedule(db.store(), {"P1"}, check, error)) << error;
  EXPECT_EQ(1, check.unscheduled);
  EXPECT_EQ("item T2 has no levelled dates", check.problems.at(0));
}

}  // namespace
