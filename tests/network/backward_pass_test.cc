// Backward pass, total slack and the critical path after levelling on
// hand-built networks (the builder is in forward_pass_test.cc). Slack is in
// working minutes of the default calendar: 480 a day.
#include <gtest/gtest.h>

#include <string>

#include "calendar/project.h"
#include "model/activity.h"
#include "network/backward_pass.h"
#include "network/slack.h"
#include "schedule/placement.h"
#include "support/test_db.h"
#include "pass_net.h"


namespace {

using namespace passtest;

// A(3 days) and B(b minutes of effort) both before C(1 day).
void twoBeforeOne(Net* n, int bMinutes) {
  task(n, "A", 3, nullptr);
  activity_type* b = task(n, "B", (bMinutes + 479) / 480, nullptr);
  b->effort = bMinutes;
  activityScheduleFromStartDateBasedOnProjectCalendar(b, sm(n), logOf(n));
  task(n, "C", 1, nullptr);
  dep(n, "A", "C", 1, 0);
  dep(n, "B", "C", 1, 0);
  seal(n);
}

// ----- slack --------------------------------------------------------------------

TEST(Slack, ZeroOnTheLongestChainAnd960ForAnItemThatMayFinishTwoWorkingDaysLater) {
  NetGuard g;
  twoBeforeOne(g.n, 480);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  EXPECT_EQ(item(g.n, "A")->slack, 0);
  EXPECT_EQ(item(g.n, "C")->slack, 0);
  activity_type* b = item(g.n, "B");
  EXPECT_EQ(b->slack, 960);
  EXPECT_EQ(lateStartOf(b), "2024-01-03 08:00");
  EXPECT_EQ(lateFinishOf(b), "2024-01-03 17:00");
  // The project item has no slack of its own.
  EXPECT_EQ(item(g.n, "PRJ")->slack, 0);
}

TEST(Slack, FiveMinutesAreReportedAsZeroTenAreKept) {
  {
    NetGuard g;
    twoBeforeOne(g.n, 3 * 480 - 5);  // finishes Wednesday 16:55
    ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
    ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
    EXPECT_EQ(item(g.n, "B")->slack, 0);
  }
  NetGuard g;
  twoBeforeOne(g.n, 3 * 480 - 10);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  EXPECT_EQ(item(g.n, "B")->slack, 10);
}

TEST(Slack, AnEarlyFinishAfterTheLateFinishGivesZeroNeverANegativeValue) {
  NetGuard g;
  task(g.n, "A", 3, nullptr);
  activity_type* b = task(g.n, "B", 1, nullptr);
  setActivityConstraintType(b, 5);  // B must start on Tuesday, before A ends
  setActivityConstraintDate(b, dayNum(2024, 1, 2));
  dep(g.n, "A", "B", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  activity_type* a = item(g.n, "A");
  EXPECT_LT(a->late_finish_date, a->early_finish_date);
  EXPECT_EQ(a->slack, 0);
}

TEST(Slack, FixedDatesAndActualFinishesHaveNoSlack) {
  NetGuard g;
  task(g.n, "Long", 10, nullptr);
  activity_type* fixed = task(g.n, "Fixed", 1, nullptr);
  setActivityConstraintType(fixed, 4);
  setActivityConstraintDate(fixed, dayNum(2024, 1, 2));
  activity_type* done = task(g.n, "Done", 1, nullptr);
  activity_type* loose = task(g.n, "Loose", 1, nullptr);
  seal(g.n);
  setActivityHasActualStart(done, 1);
  setActivityHasActualFinish(done, 1);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  EXPECT_EQ(fixed->slack, 0);
  EXPECT_EQ(done->slack, 0);
  EXPECT_EQ(loose->slack, 9 * 480);  // the control: the same place, no constraint
}

// ----- late dates -----------------------------------------------------------------

TEST(BackwardPass, AnItemWithoutSuccessorsFinishesWithTheLatestRoot) {
  NetGuard g;
  task(g.n, "Long", 7, nullptr);  // Mon 01-01 .. Tue 01-09
  activity_type* lone = task(g.n, "Lone", 2, nullptr);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  EXPECT_EQ(lateFinishOf(lone), "2024-01-09 17:00");
  EXPECT_EQ(lateStartOf(lone), "2024-01-08 08:00");
  EXPECT_EQ(lone->slack, 5 * 480);
  // The copies hold the late placement; the items keep their early one.
  EXPECT_EQ(copy(g.n, "Lone")->start_date, dayNum(2024, 1, 8));
  EXPECT_EQ(lone->start_date, dayNum(2024, 1, 1));
}

TEST(BackwardPass, EachDependencyTypeBoundsItsPredecessor) {
  struct Case {
    int type;
    int lag;
    const char* lateFinish;
  };
  // P (1 day) before S (1 day); Z (5 days) sets the end to Fri 01-05, S has
  // no successor, so S may finish Friday and start Friday.
  const Case cases[] = {
      {1, 0, "2024-01-04 17:00"},    // FS: P finishes before S starts
      {1, 480, "2024-01-03 17:00"},  // FS one day lag
      {3, 0, "2024-01-05 17:00"},    // SS: P starts no later than S
      {0, 0, "2024-01-05 17:00"},    // FF
      {0, 480, "2024-01-04 17:00"},  // FF one day lag
      {2, 480, "2024-01-05 17:00"},  // SF one day lag: P starts a day before S ends
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("type " + std::to_string(c.type) + " lag " + std::to_string(c.lag));
    NetGuard g;
    task(g.n, "Z", 5, nullptr);
    task(g.n, "P", 1, nullptr);
    task(g.n, "S", 1, nullptr);
    dep(g.n, "P", "S", c.type, c.lag);
    seal(g.n);
    ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
    ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
    EXPECT_EQ(lateFinishOf(item(g.n, "P")), c.lateFinish);
  }
}

TEST(BackwardPass, AContainerWithAFinishToStartSuccessorPullsItsChildrenEarlier) {
  NetGuard g;
  task(g.n, "Z", 5, nullptr);  // the end: Fri 01-05
  task(g.n, "X", 1, "Box");
  task(g.n, "W", 1, "Box");
  container(g.n, "Box", nullptr);
  task(g.n, "Y", 1, nullptr);
  dep(g.n, "X", "W", 1, 0);
  dep(g.n, "Box", "Y", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  // Y may be on Friday; the box must end Thursday, and so must W; X before W.
  EXPECT_EQ(lateFinishOf(item(g.n, "Box")), "2024-01-04 17:00");
  EXPECT_EQ(lateFinishOf(item(g.n, "W")), "2024-01-04 17:00");
  EXPECT_EQ(lateFinishOf(item(g.n, "X")), "2024-01-03 17:00");
  EXPECT_EQ(copy(g.n, "Box")->onDepTypeBack, 1);
}

// ----- minute precision on the last day ---------------------------------------

// A task of that many working minutes.
activity_type* minutesTask(Net* n, const char* name, int minutes) {
  return taskMinutes(n, name, minutes, nullptr);
}

TEST(BackwardMinutes, AFinishToStartLinkIntoTheLastDayHoldsToTheMinute) {
  NetGuard g;
  task(g.n, "Z", 5, nullptr);            // the end: Fri 01-05 17:00
  minutesTask(g.n, "A", 480);            // Mon
  activity_type* c = minutesTask(g.n, "C", 420);  // Tue 08:00-15:00
  dep(g.n, "A", "C", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  // C may end Friday 17:00 and so start Friday 09:00; A must finish by
  // then, not at the end of that day: 420 working minutes back from Friday
  // 09:00 is Thursday 09:00 (lunch skipped).
  EXPECT_EQ(lateStartOf(c), "2024-01-05 09:00");
  activity_type* a = item(g.n, "A");
  EXPECT_EQ(lateFinishOf(a), "2024-01-05 09:00");
  EXPECT_EQ(lateStartOf(a), "2024-01-04 09:00");
  // Monday 17:00 to Friday 09:00: three days and one hour.
  EXPECT_EQ(a->slack, 3 * 480 + 60);
  EXPECT_EQ(c->slack, 3 * 480 + 60);
}

TEST(BackwardMinutes, OfTwoSuccessorsStartingTheSameDayTheEarlierTimeBoundsThePredecessor) {
  // S1 (120 min) may start Friday 15:00, S2 (300 min) Friday 11:00: P must
  // finish by 11:00, whichever successor comes first in its list.
  for (bool earlierFirst : {false, true}) {
    SCOPED_TRACE(earlierFirst ? "S2 listed first" : "S1 listed first");
    NetGuard g;
    task(g.n, "Z", 5, nullptr);
    minutesTask(g.n, "P", 480);
    minutesTask(g.n, "S1", 120);
    minutesTask(g.n, "S2", 300);
    if (earlierFirst) {
      dep(g.n, "P", "S2", 1, 0);
      dep(g.n, "P", "S1", 1, 0);
    } else {
      dep(g.n, "P", "S1", 1, 0);
      dep(g.n, "P", "S2", 1, 0);
    }
    seal(g.n);
    ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
    ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
    EXPECT_EQ(lateStartOf(item(g.n, "S1")), "2024-01-05 15:00");
    EXPECT_EQ(lateStartOf(item(g.n, "S2")), "2024-01-05 11:00");
    activity_type* p = item(g.n, "P");
    EXPECT_EQ(lateFinishOf(p), "2024-01-05 11:00");
    EXPECT_EQ(lateStartOf(p), "2024-01-04 11:00");
    EXPECT_EQ(p->slack, 3 * 480 + 180);
  }
}

TEST(BackwardConstraints, AStartNoLaterThanTaskWithoutSuccessorsKeepsItsLateStart) {
  NetGuard g;
  task(g.n, "Z", 5, nullptr);  // the end: Fri 01-05
  activity_type* n = task(g.n, "N", 1, nullptr);
  setActivityConstraintType(n, 7);
  setActivityConstraintDate(n, dayNum(2024, 1, 3));
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  EXPECT_EQ(startOf(n), "2024-01-01 08:00");
  // Without successors it could end with Z; its constraint holds its start
  // to Wednesday, and there it stays.
  EXPECT_EQ(lateStartOf(n), "2024-01-03 08:00");
  EXPECT_EQ(lateFinishOf(n), "2024-01-03 17:00");
  EXPECT_EQ(n->slack, 2 * 480);
}

// ----- containers with links out and back in ---------------------------------

TEST(BackwardContainers, AnOutsideTaskBetweenTwoChildrenFollowsTheContainersSuccessor) {
  // a -> Y -> b with a and b in C, Y outside it, C -> S; Z sets the end to
  // Fri 01-12. C must end by Thu 01-11 for S, so b by Thursday, Y by
  // Wednesday, a by Tuesday 01-09: every one of them six days of slack.
  NetGuard g;
  task(g.n, "Z", 10, nullptr);
  task(g.n, "a", 1, "C");
  task(g.n, "Y", 1, nullptr);
  task(g.n, "b", 1, "C");
  container(g.n, "C", nullptr);
  task(g.n, "S", 1, nullptr);
  dep(g.n, "a", "Y", 1, 0);
  dep(g.n, "Y", "b", 1, 0);
  dep(g.n, "C", "S", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  EXPECT_EQ(lateFinishOf(item(g.n, "S")), "2024-01-12 17:00");
  EXPECT_EQ(lateFinishOf(item(g.n, "b")), "2024-01-11 17:00");
  EXPECT_EQ(lateFinishOf(item(g.n, "Y")), "2024-01-10 17:00");
  EXPECT_EQ(lateFinishOf(item(g.n, "a")), "2024-01-09 17:00");
  for (const char* name : {"a", "Y", "b", "S"}) {
    EXPECT_EQ(item(g.n, name)->slack, 6 * 480) << name;
  }
  EXPECT_EQ(logText(g.n).find("still moving"), std::string::npos);
}

TEST(BackwardPass, TheDynamicRepassFollowsASuccessorThatMovedEarlier) {
  NetGuard g;
  twoBeforeOne(g.n, 480);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  activity_type* c = copy(g.n, "C");
  c->start_date -= 1;  // C must now start on Wednesday
  c->finish_date -= 1;
  activity_type* b = copy(g.n, "B");
  ASSERT_EQ(doDynamAlignActWithSucc(b, copies(g.n), sm(g.n), "start", "finish", logOf(g.n)), 0);
  EXPECT_EQ(lateFinishOf(b), "2024-01-02 17:00");
}

TEST(BackwardPass, OnlyLateFieldsReachTheItems) {
  NetGuard g;
  twoBeforeOne(g.n, 480);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  activity_type* b = item(g.n, "B");
  const int32_t es = b->early_start_date;
  const int32_t start = b->start_date;
  ASSERT_EQ(runBackward(g.n, true), 0) << logText(g.n);
  EXPECT_EQ(b->early_start_date, es);
  EXPECT_EQ(b->start_date, start);
  EXPECT_EQ(b->late_start_date, dayNum(2024, 1, 3));
}

// ----- the critical path after levelling ----------------------------------------

TEST(CriticalPathAfterLevelling, LevelledDatesGiveNewSlackWrittenToTheWorkTable) {
  testing::TestDb db;
  for (const char* id : {"PRJ", "A", "B", "C"}) {
    db.row("Lev_kor_wbs", {{"PROJECT_ID", "PRJ"}, {"ELEMENT_ID", id}, {"TOTAL_SLACK", "-1"}});
  }
  NetGuard g;
  twoBeforeOne(g.n, 480);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  // Levelling put B one day later (its dates and early fields, as the
  // assignment dates do).
  activity_type* b = item(g.n, "B");
  b->start_date += 1;
  b->finish_date += 1;
  b->early_start_date = b->start_date;
  b->early_finish_date = b->finish_date;
  linked_list_type* projects = ll_new(projectMatch, getProjectName);
  ll_addtail(projects, project(g.n));
  double seconds[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
  const int rc = doCalculCriPathAfterLevDB(roots(g.n), projects, ordered(g.n), copies(g.n),
                                           backOrder(g.n), levelOrder(g.n), sm(g.n), 0, 0, 0,
                                           "start", "finish", seconds, logOf(g.n));
  ll_delete(projects);
  ASSERT_EQ(rc, 0) << logText(g.n);
  EXPECT_EQ(b->slack, 480);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID = 'B'"), 480);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID = 'A'"), 0);
  EXPECT_GE(seconds[7], 0.0);
  EXPECT_NE(logText(g.n).find("Processes Backward Pass"), std::string::npos);
}

TEST(CriticalPathAfterLevelling, AFinishedItemIsLeftOutOfTheBackwardPass) {
  testing::TestDb db;
  NetGuard g;
  twoBeforeOne(g.n, 480);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  setActivityHasActualFinish(item(g.n, "B"), 1);
  linked_list_type* projects = ll_new(projectMatch, getProjectName);
  ll_addtail(projects, project(g.n));
  const int rc = doCalculCriPathAfterLevDB(roots(g.n), projects, ordered(g.n), copies(g.n),
                                           backOrder(g.n), levelOrder(g.n), sm(g.n), 0, 0, 0,
                                           "start", "finish", nullptr, logOf(g.n));
  ll_delete(projects);
  ASSERT_EQ(rc, 0) << logText(g.n);
  EXPECT_EQ(copy(g.n, "B")->ignore_item_for_sched, 1);
  EXPECT_EQ(copy(g.n, "B")->ignore_child_for_sched, 1);
  EXPECT_EQ(item(g.n, "B")->slack, 0);
}

TEST(CriticalPathAfterLevelling, WithoutADatabaseTheCalendarWideningFails) {
  NetGuard g;  // no store bound to the thread
  twoBeforeOne(g.n, 480);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  linked_list_type* projects = ll_new(projectMatch, getProjectName);
  ll_addtail(projects, project(g.n));
  const int rc = doCalculCriPathAfterLevDB(roots(g.n), projects, ordered(g.n), copies(g.n),
                                           backOrder(g.n), levelOrder(g.n), sm(g.n), 0, 0, 0,
                                           "start", "finish", nullptr, logOf(g.n));
  ll_delete(projects);
  EXPECT_LT(rc, 0);
  EXPECT_EQ(logText(g.n).find("Processes Backward Pass"), std::string::npos);
}

}  // namespace
