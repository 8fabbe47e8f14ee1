// The levelling procedures on small databases, checked to the day and the
// minute by hand. The calendar of project P1 is the five-day week 08:00-12:00
// and 13:00-17:00 from 2024-01-01 (a Monday) to 2024-12-31; 2024-01-08 is a
// Monday, 01-13/14 a weekend. Resources are full-time unless said.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "calendar/dates.h"
#include "host/levelling_procs.h"
#include "store/store.h"
#include "support/test_db.h"

namespace {

constexpr const char* kMon = "2024-01-08 08:00:00.000000";

// The thirty arguments of the search, as the main loop binds them.
struct SearchCall {
  db::IdText assignment, project, task, resource, e7, e8, e9, e10, recUser;
  double zero = 0.0;
  int32_t typeId = 3, duration = 2, work = 0, cEffort = 0, tUnit = 0, cUnit = 0, tmp = 0,
          mode = 6, bitFlag = 0, contour = 268435456, cContour = 0, cOccurrence = 0,
          runFlag = 10, perDay = 480, priority = 500, calcFlag = 0, delay = 0;
  db::StampText start, finish;
  int16_t startInd = 0, finishInd = 0;
  db::FlagText resourceType;
  int32_t result = -1;

  SearchCall(const std::string& a, const std::string& t, const std::string& r, int w,
             const std::string& from = kMon) {
    assignment.assign(a);
    project.assign("P1");
    task.assign(t);
    resource.assign(r);
    start.assign(from);
    resourceType.assign("0");
    work = w;
  }
  int32_t run(db::Store& store) {
    db::HostVar resultVar(result);
    return store.call(
        "LEVEL_FC_SEARCH_2",
        {assignment, project, task, resource, zero, typeId, e7, e8, e9, e10,
         db::HostVar(start, &startInd), db::HostVar(finish, &finishInd), duration, work,
         cEffort, tUnit, cUnit, tmp, mode, resourceType, bitFlag, contour, cContour,
         cOccurrence, runFlag, perDay, priority, recUser, calcFlag, delay},
        &resultVar);
  }
  std::string placed() const {
    if (startInd < 0) return "none";
    return std::string(start.view()) + " - " + std::string(finish.view());
  }
};

class ResourceSearchTest : public ::testing::Test {
 protected:
  ResourceSearchTest() {
    db.project({.id = "P1", .start = "2024-01-01", .finish = "2024-12-31"})
        .calendar({.from = "2024-01-01", .to = "2024-12-31"});
    db.row("NAV_TMP_PROJECTS_00", {{"ELEMENT_ID", "P1"}, {"LEVEL_ID", "1"}, {"PRIORITY", "500"}});
  }

  void resource(const std::string& id, const std::string& maxUnits = "NULL",
                const std::string& calendar = "NULL") {
    db.row("RESOURCES", {{"RESOURCE_ID", id}, {"MAX_UNITS", maxUnits}, {"CALENDAR_ID", calendar}});
  }
  void assignment(const std::string& id, const std::string& task, const std::string& res,
                  int work, int units = 10000,
                  std::map<std::string, std::string> extra = {}) {
    extra["PLANNED_WORK"] = std::to_string(work);
    extra["RESOURCE_TYPE"] = "0";
    extra["PROJECT_ASSIGNMENT_ID"] = "PA_" + res;
    db.assignment({.project = "P1", .task = task, .id = id, .resource = res,
                   .proposedWork = work, .unitsMsp = units, .extra = extra});
  }
  // Searches and stores, as the main loop does; the placed dates.
  std::string level(SearchCall call) {
    EXPECT_EQ(0, call.run(db.store())) << db.store().status().message;
    EXPECT_EQ(0, call.result) << call.assignment.c_str();
    EXPECT_EQ(0, store(call.assignment.c_str())) << call.assignment.c_str();
    return call.placed();
  }
  int32_t store(const std::string& id) {
    int32_t result = -1, tmp = 0;
    db::IdText project, assignment;
    project.assign("P1");
    assignment.assign(id);
    db::HostVar resultVar(result);
    EXPECT_EQ(0, db.store().call("call U_LEVEL_STRING(?, ?, ?) into ?",
                                 {project, assignment, tmp}, &resultVar));
    return result;
  }
  std::string text(const std::string& sql) {
    db::MessageText out;
    int16_t ind = 0;
    EXPECT_EQ(0, db.store().selectInto(sql, {}, {db::HostVar(out, &ind)}))
        << sql << ": " << db.store().status().message;
    return ind < 0 ? "NULL" : std::string(out.view());
  }
  // The LEVEL_TASK_DAY_OF_YEAR rows of an assignment: "day minutes" each.
  std::string days(const std::string& id) {
    return text("SELECT GROUP_CONCAT(DAY_YEAR || ' ' || SCHED_MIN, ', ') FROM "
                "(SELECT DAY_YEAR, SCHED_MIN FROM LEVEL_TASK_DAY_OF_YEAR WHERE TSK_ASSIGNMENT_ID = '" +
                id + "' ORDER BY DAY_YEAR)");
  }
  std::string overAllocations() {
    return text("SELECT COALESCE(GROUP_CONCAT(R, ', '), '') FROM (SELECT RESOURCE_ID || ' ' || "
                "DAY_YEAR || ' ' || LOAD_MIN || '/' || CAPACITY_MIN || ' ' || TSK_ASSIGNMENT_ID "
                "AS R FROM LEVEL_OVER_ALLOCATIONS ORDER BY DAY_YEAR, TSK_ASSIGNMENT_ID)");
  }

  testing::TestDb db;
};

// The slots of a whole standard day, of a morning and of an afternoon.
const std::string kFullDay = testing::dayBitsHex(testing::standardDay());
const std::string kMorning = testing::dayBitsHex(testing::dayBits({{480, 720}}));

TEST_F(ResourceSearchTest, OneFullTimeResourceTakesTwoTasksOneAfterTheOther) {
  resource("R1");
  assignment("A1", "T1", "R1", 1440);
  assignment("A2", "T2", "R1", 1440);
  // The first caller first: Monday to Wednesday; the second waits for
  // Thursday and runs over the weekend into Monday.
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-10 17:00:00.000000",
            level(SearchCall("A1", "T1", "R1", 1440)));
  SearchCall second("A2", "T2", "R1", 1440);
  ASSERT_EQ(0, second.run(db.store()));
  EXPECT_EQ("2024-01-11 08:00:00.000000 - 2024-01-15 17:00:00.000000", second.placed());
  // Found, not stored yet: its days are in NAV_TMP_TDY, with their slots.
  EXPECT_EQ("2024-01-11 480 " + kFullDay + ", 2024-01-12 480 " + kFullDay + ", 2024-01-15 480 " +
                kFullDay,
            text("SELECT GROUP_CONCAT(R, ', ') FROM (SELECT DAY_YEAR || ' ' || SCHED_MIN || ' ' || "
                 "BIT_SCHED AS R FROM NAV_TMP_TDY WHERE TSK_ASSIGNMENT_ID = 'A2' ORDER BY DAY_YEAR)"));
  EXPECT_EQ(0, store("A2"));

  EXPECT_EQ("2024-01-11 480, 2024-01-12 480, 2024-01-15 480", days("A2"));
  EXPECT_EQ("2024-01-11 08:00:00.000000|2024-01-15 17:00:00.000000|1440|2024-01-11;480*2,0*2,480",
            text("SELECT LEVEL_START || '|' || LEVEL_FINISH || '|' || LEVEL_EFFORT || '|' || "
                 "LEVEL_ASSIGN_STRING FROM TASK_ASSIGNMENTS WHERE TSK_ASSIGNMENT_ID = 'A2'"));
  // Every column of a stored day.
  EXPECT_EQ("P1|R1|A2|T2|PA_R1|0|0|0|" + kFullDay,
            text("SELECT PROJECT_ID || '|' || RESOURCE_ID || '|' || TSK_ASSIGNMENT_ID || '|' || "
                 "TASK_ID || '|' || PARENT_ID || '|' || ACTUAL_MIN || '|' || ACTUAL_FLAG || '|' || "
                 "BIT_FLAG || '|' || BIT_SCHED FROM LEVEL_TASK_DAY_OF_YEAR "
                 "WHERE TSK_ASSIGNMENT_ID = 'A2' AND DAY_YEAR = '2024-01-15'"));
  // Stored: gone from NAV_TMP_TDY.
  EXPECT_EQ("0", text("SELECT COUNT(*) FROM NAV_TMP_TDY"));
  EXPECT_EQ("", overAllocations());
}

TEST_F(ResourceSearchTest, ATeamOfThreeTakesThreeAtOnceAndTheFourthWaits) {
  resource("TEAM", "30000");
  for (const char* id : {"A1", "A2", "A3", "A4"}) assignment(id, std::string("T") + id, "TEAM", 960);
  for (const char* id : {"A1", "A2", "A3"}) {
    EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-09 17:00:00.000000",
              level(SearchCall(id, std::string("T") + id, "TEAM", 960)));
  }
  EXPECT_EQ("2024-01-10 08:00:00.000000 - 2024-01-11 17:00:00.000000",
            level(SearchCall("A4", "TA4", "TEAM", 960)));
  // Units 0: the team's whole capacity, 1440 minutes a day, three times as
  // fast as one person. A4 leaves two people free on Wednesday and
  // Thursday: 960 minutes fit into Wednesday from 10:40 (64 working slots
  // of three people), the other 480 into Thursday 08:00-10:40.
  assignment("A5", "T5", "TEAM", 1440, 0);
  EXPECT_EQ("2024-01-10 10:40:00.000000 - 2024-01-11 10:40:00.000000",
            level(SearchCall("A5", "T5", "TEAM", 1440)));
  EXPECT_EQ("2024-01-10 960, 2024-01-11 480", days("A5"));
}

TEST_F(ResourceSearchTest, ATaskWithTwoAssignmentsStartsBothOnTheSameDay) {
  resource("R1");
  resource("R2");
  // R2 works all Monday in a project outside the run.
  db.dayWork({.project = "P9", .task = "X", .assignment = "X1", .resource = "R2",
              .day = "2024-01-08", .schedMinutes = 480});
  assignment("A1", "T1", "R1", 960);
  assignment("A2", "T1", "R2", 480);
  assignment("A3", "T1", "R1", 240, 10000, {{"ASSIGNMENT_DELAY", "480"}});
  // The first call places the three: R1 alone could start Monday, but R2
  // is free on Tuesday only, so all start Tuesday; A3 a working day later.
  SearchCall first("A1", "T1", "R1", 960);
  EXPECT_EQ("2024-01-09 08:00:00.000000 - 2024-01-10 17:00:00.000000", level(first));
  EXPECT_EQ("2024-01-09 08:00:00.000000 - 2024-01-09 17:00:00.000000",
            level(SearchCall("A2", "T1", "R2", 480, "2024-01-15 08:00:00.000000")));
  SearchCall third("A3", "T1", "R1", 240);
  third.delay = 480;
  // A3 starts a working day after the task, on Wednesday, where A1 of the
  // same task already works all day: the two are not made to wait for each
  // other, and R1's Wednesday is recorded as loaded beyond its capacity.
  EXPECT_EQ("2024-01-10 08:00:00.000000 - 2024-01-10 12:00:00.000000", level(third));
  EXPECT_EQ("R1 2024-01-10 720/480 A3", overAllocations());
}

TEST_F(ResourceSearchTest, WorkOutsideTheRunActualsAndAResourceHolidayAreRespected) {
  resource("R1");
  // Monday: 240 minutes in a project outside the run; Tuesday: 240 actual
  // minutes already reported in the run's own project; Wednesday: planned
  // minutes of the run's own project, which the run places anew (ignored).
  db.dayWork({.project = "P9", .task = "X", .assignment = "X1", .resource = "R1",
              .day = "2024-01-08", .schedMinutes = 240});
  db.dayWork({.project = "P1", .task = "T0", .assignment = "A0", .resource = "R1",
              .day = "2024-01-09", .schedMinutes = 240, .actualMinutes = 240, .actualFlag = 1});
  db.dayWork({.project = "P1", .task = "T0", .assignment = "A0", .resource = "R1",
              .day = "2024-01-10", .schedMinutes = 480});
  assignment("A1", "T1", "R1", 960);
  // Monday's afternoon is free, but a flat contour from 13:00 would need
  // all of Tuesday, whose morning is booked: the work starts Tuesday at
  // 13:00, takes all Wednesday and Thursday morning.
  EXPECT_EQ("2024-01-09 13:00:00.000000 - 2024-01-11 12:00:00.000000",
            level(SearchCall("A1", "T1", "R1", 960)));
  EXPECT_EQ("2024-01-09 240, 2024-01-10 480, 2024-01-11 240", days("A1"));
  EXPECT_EQ(kMorning, text("SELECT BIT_SCHED FROM LEVEL_TASK_DAY_OF_YEAR "
                           "WHERE TSK_ASSIGNMENT_ID = 'A1' AND DAY_YEAR = '2024-01-11'"));

  // A resource with a calendar of its own, Tuesday a holiday.
  db.calendarOf("CAL_R3", {.from = "2024-01-01", .to = "2024-12-31", .holidays = {"2024-01-09"}});
  resource("R3", "NULL", "CAL_R3");
  assignment("A3", "T3", "R3", 1440);
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-11 17:00:00.000000",
            level(SearchCall("A3", "T3", "R3", 1440)));
  EXPECT_EQ("2024-01-08;480,0,480*2",
            text("SELECT LEVEL_ASSIGN_STRING FROM TASK_ASSIGNMENTS WHERE TSK_ASSIGNMENT_ID = 'A3'"));

  // Twenty-one months on, past the 400 days first read: the calendar is
  // read further from the store, with its holiday (Tuesday 14th) and a day
  // without a row (Thursday 16th), which has no work either.
  db.calendarOf("CAL_R4", {.from = "2024-01-01", .to = "2025-12-31",
                           .holidays = {"2025-10-14"}, .missing = {"2025-10-16"}});
  resource("R4", "NULL", "CAL_R4");
  assignment("A4", "T4", "R4", 480);
  assignment("A5", "T5", "R4", 1440);
  level(SearchCall("A4", "T4", "R4", 480));
  EXPECT_EQ("2025-10-13 08:00:00.000000 - 2025-10-17 17:00:00.000000",
            level(SearchCall("A5", "T5", "R4", 1440, "2025-10-13 08:00:00.000000")));
  EXPECT_EQ("2025-10-13 480, 2025-10-15 480, 2025-10-17 480", days("A5"));
}

TEST_F(ResourceSearchTest, HeldTasksOverloadAndAreRecordedWhileACalculationRunOverlaps) {
  resource("R1");
  assignment("A1", "T1", "R1", 1440);
  assignment("A2", "T2", "R1", 960);
  assignment("A3", "T3", "R1", 480);
  level(SearchCall("A1", "T1", "R1", 1440));  // Monday to Wednesday

  // Mode 7 (a deadline): placed from its start regardless.
  SearchCall held("A2", "T2", "R1", 960);
  held.mode = 7;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-09 17:00:00.000000", level(held));
  const std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ("over-allocation: resource R1 on 2024-01-08: load 960 min, capacity 480 min, "
            "assignment A2\n"
            "over-allocation: resource R1 on 2024-01-09: load 960 min, capacity 480 min, "
            "assignment A2\n",
            log);
  EXPECT_EQ("R1 2024-01-08 960/480 A2, R1 2024-01-09 960/480 A2", overAllocations());

  // A calculation run looks at no load and records nothing.
  SearchCall calc("A3", "T3", "R1", 480);
  calc.mode = 7;
  calc.runFlag = 266;
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-08 17:00:00.000000", level(calc));
  EXPECT_EQ("R1 2024-01-08 960/480 A2, R1 2024-01-09 960/480 A2", overAllocations());

  // A new run forgets the placements and drops its projects' records.
  int32_t result = -1;
  db::HostVar resultVar(result);
  ASSERT_EQ(0, db.store().call("call FC_INI_ASSIGN_STR() into ?", {}, &resultVar));
  EXPECT_EQ(0, result);
  EXPECT_EQ("", overAllocations());
}

TEST_F(ResourceSearchTest, SearchingAgainReplacesTheEarlierPlacementAndItsRows) {
  resource("R1");
  assignment("A0", "T0", "R1", 480);
  assignment("A1", "T1", "R1", 960);
  assignment("A2", "T2", "R1", 480);
  level(SearchCall("A0", "T0", "R1", 480));  // Monday
  SearchCall held("A1", "T1", "R1", 960);
  held.mode = 7;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(0, held.run(db.store()));
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-09 17:00:00.000000", held.placed());
  EXPECT_EQ("R1 2024-01-08 960/480 A1", overAllocations());
  // Searched again from Wednesday before it was stored: Monday's record and
  // day rows go, and Monday and Tuesday are free again for A2.
  SearchCall again("A1", "T1", "R1", 960, "2024-01-10 08:00:00.000000");
  again.mode = 7;
  ASSERT_EQ(0, again.run(db.store()));
  EXPECT_EQ("2024-01-10 08:00:00.000000 - 2024-01-11 17:00:00.000000", again.placed());
  EXPECT_EQ("", overAllocations());
  EXPECT_EQ("2024-01-10,2024-01-11",
            text("SELECT GROUP_CONCAT(DAY_YEAR) FROM (SELECT DAY_YEAR FROM NAV_TMP_TDY "
                 "WHERE TSK_ASSIGNMENT_ID = 'A1' ORDER BY DAY_YEAR)"));
  EXPECT_EQ(0, store("A1"));
  EXPECT_EQ("2024-01-10 480, 2024-01-11 480", days("A1"));
  EXPECT_EQ("2024-01-09 08:00:00.000000 - 2024-01-09 17:00:00.000000",
            level(SearchCall("A2", "T2", "R1", 480)));
}

TEST_F(ResourceSearchTest, UnitsSetTheDailyShareAndTheStartTimeCutsTheFirstDay) {
  resource("R1");
  resource("R2");
  assignment("A1", "T1", "R1", 960, 5000);
  // Half time: 240 minutes a day spread over the whole day, four days.
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-11 17:00:00.000000",
            level(SearchCall("A1", "T1", "R1", 960)));
  EXPECT_EQ("2024-01-08;240*4", text("SELECT LEVEL_ASSIGN_STRING FROM TASK_ASSIGNMENTS "
                                     "WHERE TSK_ASSIGNMENT_ID = 'A1'"));
  EXPECT_EQ(kFullDay, text("SELECT BIT_SCHED FROM LEVEL_TASK_DAY_OF_YEAR "
                           "WHERE TSK_ASSIGNMENT_ID = 'A1' AND DAY_YEAR = '2024-01-09'"));
  // The other half of R1 is still free: a second half-time task fits in;
  // a third waits for Friday.
  assignment("A2", "T2", "R1", 480, 5000);
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-09 17:00:00.000000",
            level(SearchCall("A2", "T2", "R1", 480)));
  assignment("A4", "T4", "R1", 240, 5000);
  EXPECT_EQ("2024-01-10 08:00:00.000000 - 2024-01-10 17:00:00.000000",
            level(SearchCall("A4", "T4", "R1", 240)));

  // From 13:00: only the afternoon of the first day.
  assignment("A3", "T3", "R2", 960);
  EXPECT_EQ("2024-01-08 13:00:00.000000 - 2024-01-10 12:00:00.000000",
            level(SearchCall("A3", "T3", "R2", 960, "2024-01-08 13:00:00.000000")));
  EXPECT_EQ("2024-01-08 240, 2024-01-09 480, 2024-01-10 240", days("A3"));
  EXPECT_EQ(testing::dayBitsHex(testing::dayBits({{780, 1020}})),
            text("SELECT BIT_SCHED FROM LEVEL_TASK_DAY_OF_YEAR "
                 "WHERE TSK_ASSIGNMENT_ID = 'A3' AND DAY_YEAR = '2024-01-08'"));
}

TEST_F(ResourceSearchTest, UnitsAboveCapacityGoWhereTheResourceIsOtherwiseFree) {
  resource("R1");
  assignment("A1", "T1", "R1", 240);
  assignment("A2", "T2", "R1", 1920, 20000);
  level(SearchCall("A1", "T1", "R1", 240));  // Monday morning
  // 960 minutes a day on a 480-minute resource never fit, so each day
  // waits for the resource to be otherwise free: Monday's free afternoon
  // takes its 240 minutes at double speed from 15:00 (two working hours),
  // Tuesday and Wednesday are free all day (Wednesday's 720 minutes end at
  // 15:00), and both are recorded as over the capacity.
  EXPECT_EQ("2024-01-08 15:00:00.000000 - 2024-01-10 15:00:00.000000",
            level(SearchCall("A2", "T2", "R1", 1920)));
  EXPECT_EQ("2024-01-08 240, 2024-01-09 960, 2024-01-10 720", days("A2"));
  EXPECT_EQ("R1 2024-01-09 960/480 A2, R1 2024-01-10 720/480 A2", overAllocations());
}

TEST_F(ResourceSearchTest, NoPlacementWithinTheCalendarIsNonZeroWithoutDates) {
  db.calendarOf("SHORT", {.from = "2024-01-01", .to = "2024-01-31"});
  resource("R1", "NULL", "SHORT");
  assignment("A1", "T1", "R1", 2400);
  // Monday 29th to Wednesday 31st hold 1440 of the 2400 minutes.
  SearchCall call("A1", "T1", "R1", 2400, "2024-01-29 08:00:00.000000");
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(0, call.run(db.store()));
  EXPECT_EQ("no placement within the calendar: assignment A1, resource R1, from "
            "2024-01-29 08:00:00.000000\n",
            ::testing::internal::GetCapturedStdout());
  EXPECT_EQ(host::kSearchNoPlacement, call.result);
  EXPECT_EQ("none", call.placed());
  EXPECT_EQ(1, store("A1"));  // nothing to store
  EXPECT_EQ("NULL", text("SELECT LEVEL_START FROM TASK_ASSIGNMENTS WHERE TSK_ASSIGNMENT_ID = 'A1'"));

  // Refusals: an unreadable search start, an unknown resource calendar.
  SearchCall bad("A1", "T1", "R1", 480, "next week");
  EXPECT_EQ(0, bad.run(db.store()));
  EXPECT_EQ(host::kSearchRefused, bad.result);
  resource("R9", "NULL", "NO_SUCH_CALENDAR");
  SearchCall lost("A9", "T9", "R9", 480);
  EXPECT_EQ(0, lost.run(db.store()));
  EXPECT_EQ(host::kSearchRefused, lost.result);
}

TEST_F(ResourceSearchTest, TheLoadIsReadOncePerRunAndFailuresAreTheCallsStatus) {
  resource("R1");
  assignment("A1", "T1", "R1", 480);
  assignment("A2", "T2", "R1", 480);
  int32_t result = -1, days = 10, tmp = 0;
  db::HostVar resultVar(result);
  db::IdText project;
  project.assign("P1");
  db::StampText start;
  start.assign(kMon);
  ASSERT_EQ(0, db.store().call("call LEVEL_FC_CREATE_CDY_LEVEL(?, ?, ?, ?) into ?",
                               {project, start, days, tmp}, &resultVar));
  EXPECT_EQ(0, result);
  db::IdText noCalendar;
  noCalendar.assign("P7");
  ASSERT_EQ(0, db.store().call("LEVEL_FC_CREATE_CDY_LEVEL", {noCalendar, start, days, tmp},
                               &resultVar));
  EXPECT_EQ(1, result);
  // Booked after the run read R1's load: the run does not see it...
  db.dayWork({.project = "P9", .task = "X", .assignment = "X1", .resource = "R1",
              .day = "2024-01-08", .schedMinutes = 480});
  EXPECT_EQ("2024-01-08 08:00:00.000000 - 2024-01-08 17:00:00.000000",
            level(SearchCall("A1", "T1", "R1", 480)));
  // ...until the next run.
  ASSERT_EQ(0, db.store().call("FC_INI_ASSIGN_STR", {}, &resultVar));
  EXPECT_EQ("2024-01-09 08:00:00.000000 - 2024-01-09 17:00:00.000000",
            level(SearchCall("A2", "T2", "R1", 480)));

  // A failing statement inside is the call's negative status.
  ASSERT_EQ(0, db.store().call("FC_INI_ASSIGN_STR", {}, &resultVar));
  db.store().injectFailure("TASK_DAY_OF_YEAR", -7);
  SearchCall failing("A1", "T1", "R1", 480);
  EXPECT_EQ(-7, failing.run(db.store()));
  db.store().injectFailure("LEVEL_TASK_DAY_OF_YEAR", -9);
  EXPECT_EQ(0, SearchCall("A1", "T1", "R1", 480).run(db.store()));
  int32_t stored = -1;
  db::HostVar storedVar(stored);
  db::IdText id;
  id.assign("A1");
  EXPECT_EQ(-9, db.store().call("U_LEVEL_STRING", {project, id, tmp}, &storedVar));
}

TEST(LevelAssignString, RunsOfEqualDaysAndDaysWithoutWork) {
  using host::levelling::DayPart;
  const int fri = dateStringToJulian("2024-01-05");
  EXPECT_EQ("2024-01-05;480,0*2,480*2,240",
            host::levelAssignString({DayPart{fri, 480, 96, 96}, DayPart{fri + 3, 480, 96, 96},
                                     DayPart{fri + 4, 480, 96, 96}, DayPart{fri + 5, 240, 96, 48}}));
  EXPECT_EQ("", host::levelAssignString({}));
}

}  // namespace
