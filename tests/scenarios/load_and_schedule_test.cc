// Whole runs of the load phase and the processing sequence, as the run
// driver calls them, on small databases; every column the sequence writes
// (LEVEL_START, LEVEL_FINISH, LEVEL_DURATION, TOTAL_SLACK, LEVEL_INDEX and
// the circular-dependency lists) is checked against dates worked out by
// hand on the standard calendar (Mon-Fri 08:00-12:00, 13:00-17:00).
#include <gtest/gtest.h>

#include "model/linked_list.h"
#include "scenarios/scenario_fixture.h"

namespace scenario {
namespace {

constexpr const char* kMonday = "2024-01-08 00:00:00.000000";

// P1 holds container C1 with T1 (two days) -> T2 (one day) and, beside
// them, T3 (one day) without links. Run as of Monday 8 January.
//   T1 Mon 08:00 .. Tue 17:00, T2 Wed 08:00 .. Wed 17:00: the critical chain,
//   slack 0; T3 Mon 08:00 .. Mon 17:00, free until Wednesday evening:
//   slack two working days (960 minutes).
TEST_F(Scenario, OneProjectChainAndAFreeTask) {
  project("P1", "2024-01-08", "2024-01-31");
  container("P1", "P1", "C1", 2);
  task("P1", "C1", "T1", 3, 960);
  task("P1", "C1", "T2", 3, 480);
  task("P1", "C1", "T3", 3, 480);
  link("T1", "T2", "P1");

  auto r = run({"P1"}, kMonday);
  ASSERT_EQ(0, r->loadCode) << r->log;
  ASSERT_EQ(0, r->sequenceCode) << r->log;
  EXPECT_EQ(3, r->tasksTotalCount);

  const Written t1 = written("T1"), t2 = written("T2"), t3 = written("T3");
  EXPECT_EQ("2024-01-08 08:00:00.000000", t1.start);
  EXPECT_EQ("2024-01-09 17:00:00.000000", t1.finish);
  EXPECT_EQ(960, t1.duration);
  EXPECT_EQ(0, t1.slack);
  EXPECT_EQ("2024-01-10 08:00:00.000000", t2.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", t2.finish);
  EXPECT_EQ(480, t2.duration);
  EXPECT_EQ(0, t2.slack);
  EXPECT_EQ("2024-01-08 08:00:00.000000", t3.start);
  EXPECT_EQ("2024-01-08 17:00:00.000000", t3.finish);
  EXPECT_EQ(960, t3.slack);
  // The container spans its children: three working days.
  const Written c1 = written("C1");
  EXPECT_EQ("2024-01-08 08:00:00.000000", c1.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", c1.finish);
  EXPECT_EQ(1440, c1.duration);
  // Every task has a priority position; T1 comes before its successor.
  EXPECT_GE(t1.index, 0);
  EXPECT_LT(t1.index, t2.index);
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_circ_3"));
}

}  // namespace
}  // namespace scenario

namespace scenario {
namespace {

// Root R with sub-project S (rank R.S) holding one task, and R's own task
// RT -> ST. The sub-project is selected for the run too (as the driver
// selects sub-projects) but is read once, under its root.
TEST_F(Scenario, SubProjectsAreReadOnceUnderTheirRoot) {
  project("R", "2024-01-08", "2024-02-29");
  project("S", "2024-01-08", "2024-02-29", "R", "R.S", 2);
  task("R", "R", "RT", 2, 480);
  task("S", "S", "ST", 3, 960);
  link("RT", "ST", "R", 0, 0, "S");

  auto r = run({"R"}, kMonday);
  ASSERT_EQ(0, r->loadCode) << r->log;
  ASSERT_EQ(0, r->sequenceCode) << r->log;
  EXPECT_EQ(2, r->tasksTotalCount);
  EXPECT_EQ(2, ll_size(r->projects()));
  EXPECT_EQ(Written({"2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000", 480, 0, 0}),
            (Written{written("RT").start, written("RT").finish, written("RT").duration,
                     written("RT").slack, 0}));
  const Written st = written("ST");
  EXPECT_EQ("2024-01-09 08:00:00.000000", st.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", st.finish);
  EXPECT_EQ(960, st.duration);
  EXPECT_EQ(0, st.slack);
  const Written s = written("S");
  EXPECT_EQ("2024-01-09 08:00:00.000000", s.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", s.finish);
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM Lev_kor_wbs WHERE ELEMENT_ID = 'ST'"));
}

// A portfolio of A and B: A1 (two days) -> B1 across projects, and B2
// after X1 of project X, which is not in the run (X1 finishes Wednesday
// 10 January). The run is as of Monday 8 January.
TEST_F(Scenario, PortfolioWithADependencyBetweenProjectsAndOneOutside) {
  project("A", "2024-01-08", "2024-02-29");
  project("B", "2024-01-08", "2024-02-29");
  project("X", "2024-01-08", "2024-02-29");
  task("A", "A", "A1", 2, 960);
  task("B", "B", "B1", 2, 480);
  task("B", "B", "B2", 2, 480);
  task("X", "X", "X1", 2, 1440);
  link("A1", "B1", "A", 0, 0, "B");
  link("X1", "B2", "X", 0, 0, "B");

  auto r = run({"A", "B"}, kMonday);
  ASSERT_EQ(0, r->loadCode) << r->log;
  ASSERT_EQ(0, r->sequenceCode) << r->log;
  EXPECT_EQ(3, r->tasksTotalCount);
  const Written b1 = written("B1"), b2 = written("B2");
  EXPECT_EQ("2024-01-10 08:00:00.000000", b1.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", b1.finish);
  // The outside predecessor holds B2 until Thursday, the portfolio's last
  // day: the chain A1 -> B1 has a day to spare.
  EXPECT_EQ(480, b1.slack);
  EXPECT_EQ(480, written("A1").slack);
  EXPECT_EQ(0, b2.slack);
  EXPECT_EQ("2024-01-11 08:00:00.000000", b2.start);
  EXPECT_EQ("2024-01-11 17:00:00.000000", b2.finish);
  // Nothing of project X is written.
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_kor_wbs WHERE PROJECT_ID = 'X'"));
}

// A run as of Saturday 6 January starts the work on Monday 8 January; a run
// as of Wednesday 10 January moves a project that started on Monday to
// Wednesday.
TEST_F(Scenario, TheRunsDateHoldsTheWorkOnAWorkingDay) {
  project("P1", "2024-01-08", "2024-01-31");
  task("P1", "P1", "T1", 2, 480);
  {
    auto r = run({"P1"}, "2024-01-06 00:00:00.000000");
    ASSERT_EQ(0, r->loadCode) << r->log;
    ASSERT_EQ(0, r->sequenceCode) << r->log;
    EXPECT_EQ("2024-01-08 08:00:00.000000", written("T1").start);
  }
  {
    auto r = run({"P1"}, "2024-01-10 00:00:00.000000");
    ASSERT_EQ(0, r->loadCode) << r->log;
    ASSERT_EQ(0, r->sequenceCode) << r->log;
    EXPECT_EQ("2024-01-10 08:00:00.000000", written("T1").start);
    EXPECT_EQ("2024-01-10 17:00:00.000000", written("T1").finish);
  }
}

// T1 -> T2 -> T3 -> T1 within one project: the run goes on, the cut items
// are listed in Lev_circ_3, and the user is told once, under "[Started] ".
TEST_F(Scenario, ACircularDependencyIsReportedAndTheRunGoesOn) {
  project("P1", "2024-01-08", "2024-01-31");
  task("P1", "P1", "T1", 2, 480);
  task("P1", "P1", "T2", 2, 480);
  task("P1", "P1", "T3", 2, 480);
  link("T1", "T2", "P1");
  link("T2", "T3", "P1");
  link("T3", "T1", "P1");

  auto r = run({"P1"}, kMonday);
  ASSERT_EQ(0, r->loadCode) << r->log;
  EXPECT_EQ(0, r->sequenceCode) << r->log;
  EXPECT_NE(std::string::npos, r->log.find(" found circular dependency within this project !!! "));
  EXPECT_GE(count("SELECT COUNT(*) FROM Lev_circ_3"), 1);
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
  EXPECT_EQ("[Started] Calculate Project 'test'", text("SELECT SUBJECT FROM KOR_WORKFLOWS"));
  EXPECT_NE(std::string::npos,
            r->message.find(" * There is at least one circular dependency within this "
                            "Portfolio/Project *"));
}

// A WBS of 65 levels is refused before the container table could overflow;
// nothing is written to the result columns.
TEST_F(Scenario, AWbsDeeperThanTheContainerTableIsRefused) {
  project("P1", "2024-01-08", "2024-01-31");
  // One rank character per level keeps the ranks within their column.
  std::string parent = "P1", rank = "P1";
  for (int level = 2; level <= 65; ++level) {
    const std::string id = "C" + std::to_string(level);
    rank += static_cast<char>('0' + level % 40);
    item("P1", parent, id, level, 2, 0, "2024-01-08", {{"RANK", rank}});
    parent = id;
  }
  task("P1", parent, "T1", 66, 480, "2024-01-08", {{"RANK", rank + "T"}});

  auto r = run({"P1"}, kMonday);
  EXPECT_EQ(200148, r->loadCode);
  EXPECT_NE(std::string::npos, r->log.find("error(D-35)"));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_kor_wbs WHERE LEVEL_START IS NOT NULL"));
}

}  // namespace
}  // namespace scenario

namespace scenario {
namespace {

// One assignment of `resource` on `taskId` over [startDay, finishDay] with
// `work` minutes of which `done` are reported.
void assign(testing::TestDb& db, const std::string& taskId, const std::string& resource,
            const std::string& startDay, const std::string& finishDay, int work, int done,
            const std::string& actualStart, const std::string& actualFinish,
            const std::string& lastSubmitted) {
  std::map<std::string, std::string> extra = {
      {"ETC", std::to_string(work - done)},
      {"SCHED_WORK", std::to_string(done)},
      {"PLANNED_WORK", "0"},
      {"UNRESOLVED_START", startDay + " 08:00:00.000000"},
      {"UNRESOLVED_FINISH", finishDay + " 17:00:00.000000"},
      {"UNRESOLVED_DURATION", std::to_string(work)},
      {"ASSIGNMENT_DELAY", "0"},
      {"C_EFFORT", "0"},
      {"C_CONTOUR", "0"},
      {"CONTOUR_TYPE", "0"}};
  if (!actualStart.empty()) extra["ACTUAL_START"] = actualStart;
  if (!actualFinish.empty()) extra["ACTUAL_FINISH"] = actualFinish;
  if (!lastSubmitted.empty()) extra["LAST_SUBMITTED"] = lastSubmitted;
  db.assignment({.project = "P1",
                 .task = taskId,
                 .id = "A_" + taskId,
                 .resource = resource,
                 .proposedWork = work,
                 .workTodate = done,
                 .extra = extra});
}

// As of Wednesday 10 January: TF finished on Monday; TP (three days of
// work) started on Tuesday and reported that day; TN follows TP. TP
// resumes on Wednesday with two days left, so TN starts on Friday.
TEST_F(Scenario, FinishedInProgressAndNotStartedTasksWithTheirDayWork) {
  project("P1", "2024-01-08", "2024-01-31");
  task("P1", "P1", "TF", 2, 480, "2024-01-08",
       {{"ACTUAL_START", "2024-01-08 08:00:00.000000"},
        {"ACTUAL_FINISH", "2024-01-08 17:00:00.000000"},
        {"ACTUAL_DURATION", "480"},
        {"MILESTONE_PERCENT", "100"},
        {"ASSIGN_COUNT", "1"}});
  task("P1", "P1", "TP", 2, 1440, "2024-01-09",
       {{"ACTUAL_START", "2024-01-09 08:00:00.000000"},
        {"ACTUAL_DURATION", "480"},
        {"MILESTONE_PERCENT", "33"},
        {"ASSIGN_COUNT", "1"}});
  task("P1", "P1", "TN", 2, 480, "2024-01-12", {{"ASSIGN_COUNT", "1"}});
  link("TP", "TN", "P1");
  assign(db, "TF", "R1", "2024-01-08", "2024-01-08", 480, 480, "2024-01-08 08:00:00.000000",
         "2024-01-08 17:00:00.000000", "2024-01-08 00:00:00.000000");
  assign(db, "TP", "R1", "2024-01-09", "2024-01-11", 1440, 480, "2024-01-09 08:00:00.000000", "",
         "2024-01-09 00:00:00.000000");
  assign(db, "TN", "R2", "2024-01-12", "2024-01-12", 480, 0, "", "", "");
  db.dayWork({.project = "P1", .task = "TF", .assignment = "A_TF", .resource = "R1",
              .day = "2024-01-08", .schedMinutes = 480, .actualMinutes = 480, .actualFlag = 1});
  db.dayWork({.project = "P1", .task = "TP", .assignment = "A_TP", .resource = "R1",
              .day = "2024-01-09", .schedMinutes = 480, .actualMinutes = 480, .actualFlag = 1});
  for (const char* day : {"2024-01-10", "2024-01-11"}) {
    db.dayWork({.project = "P1", .task = "TP", .assignment = "A_TP", .resource = "R1",
                .day = day, .schedMinutes = 480});
  }
  db.dayWork({.project = "P1", .task = "TN", .assignment = "A_TN", .resource = "R2",
              .day = "2024-01-12", .schedMinutes = 480});

  auto r = run({"P1"}, "2024-01-10 00:00:00.000000");
  ASSERT_EQ(0, r->loadCode) << r->log;
  ASSERT_EQ(0, r->sequenceCode) << r->log;
  const Written tf = written("TF"), tp = written("TP"), tn = written("TN");
  EXPECT_EQ("2024-01-08 08:00:00.000000", tf.start);
  EXPECT_EQ("2024-01-08 17:00:00.000000", tf.finish);
  EXPECT_EQ("2024-01-10 08:00:00.000000", tp.start) << tp;
  EXPECT_EQ("2024-01-11 17:00:00.000000", tp.finish) << tp;
  EXPECT_EQ("2024-01-12 08:00:00.000000", tn.start) << tn;
  EXPECT_EQ("2024-01-12 17:00:00.000000", tn.finish) << tn;
  EXPECT_EQ(0, tn.slack);
  EXPECT_EQ(-1, tf.index);  // finished: no place in the levelling order
  EXPECT_LT(tp.index, tn.index);
}

}  // namespace
}  // namespace scenario

namespace scenario {
namespace {

// Data errors met anywhere in the load end the run with their code and
// message; the user hears of them under "[Started] "; no result column of
// the plan or of the work table is written.
TEST_F(Scenario, DataErrorsEndTheRunWithTheirCodeAndWriteNoResults) {
  struct Case {
    const char* name;
    void (*spoil)(testing::TestDb&);
    int code;
    const char* message;
  };
  const Case cases[] = {
      {"project without its dates",
       [](testing::TestDb& d) { d.store().execute("UPDATE KOR_WBS SET UNRESOLVED_FINISH = NULL WHERE ELEMENT_ID = 'P1'"); },
       200138, "error(D-9)/data corruption"},
      {"task without its planned duration",
       [](testing::TestDb& d) { d.store().execute("UPDATE KOR_WBS SET UNRESOLVED_DURATION = NULL WHERE ELEMENT_ID = 'T2'"); },
       200144, "error(D-19)/data corruption"},
      {"assignment without its planned start",
       [](testing::TestDb& d) { d.store().execute("UPDATE TASK_ASSIGNMENTS SET UNRESOLVED_START = NULL"); },
       200045, "error(D-28)/data corruption"},
      {"assignment without day work",
       [](testing::TestDb& d) { d.store().execute("DELETE FROM TASK_DAY_OF_YEAR"); },
       200045, "error(D-32)/data corruption"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    db.store().execute("DELETE FROM KOR_WBS");
    db.store().execute("DELETE FROM PROJECT_DETAILS");
    db.store().execute("DELETE FROM KOR_CALENDARS");
    db.store().execute("DELETE FROM CALENDAR_DAY_OF_YEAR");
    db.store().execute("DELETE FROM DEPENDENCIES");
    db.store().execute("DELETE FROM TASK_ASSIGNMENTS");
    db.store().execute("DELETE FROM KOR_WORKFLOWS");
    project("P1", "2024-01-08", "2024-01-31");
    task("P1", "P1", "T1", 2, 480);
    task("P1", "P1", "T2", 2, 480, "2024-01-08", {{"ASSIGN_COUNT", "1"}});
    link("T1", "T2", "P1");
    db.assignment({.project = "P1", .task = "T2", .id = "A1", .resource = "R1",
                   .extra = {{"UNRESOLVED_START", "2024-01-08 08:00:00.000000"},
                             {"UNRESOLVED_FINISH", "2024-01-08 17:00:00.000000"},
                             {"UNRESOLVED_DURATION", "480"}, {"ETC", "480"}}});
    db.dayWork({.project = "P1", .task = "T2", .assignment = "A1", .resource = "R1",
                .day = "2024-01-08", .schedMinutes = 480});
    c.spoil(db);

    auto r = run({"P1"}, kMonday);
    const int code = r->loadCode != 0 ? r->loadCode : r->sequenceCode;
    EXPECT_EQ(c.code, code);
    EXPECT_NE(std::string::npos, r->log.find(c.message)) << r->log;
    EXPECT_EQ("[Started] Calculate Project 'test'", text("SELECT SUBJECT FROM KOR_WORKFLOWS"));
    EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_kor_wbs WHERE LEVEL_START IS NOT NULL OR "
                       "TOTAL_SLACK IS NOT NULL OR LEVEL_INDEX IS NOT NULL"));
    EXPECT_EQ(0, count("SELECT COUNT(*) FROM KOR_WBS WHERE LEVEL_START IS NOT NULL OR "
                       "TOTAL_SLACK IS NOT NULL"));
  }
}

}  // namespace
}  // namespace scenario
