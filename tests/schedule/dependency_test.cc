// Dependency lags and the resolution of one dependency on the default
// calendar (five-day week, 08:00-12:00 and 13:00-17:00): the worked
// examples, each type forward and backward, the special nodes, the
// duration corrections of containers, the dynamic forms and the failures
// with their codes and messages.
#include "schedule/dependency_resolution.h"

#include <gtest/gtest.h>

#include "calendar_fixture.h"

namespace schedtest {
namespace {

constexpr const char* kStart = "start";
constexpr const char* kFinish = "finish";
constexpr int FF = 0, FS = 1, SF = 2, SS = 3;

class Deps : public ::testing::Test {
 protected:
  void SetUp() override { items = ll_new(activityMatch, getActivityName); }
  void TearDown() override { ll_delete(items); }

  // An item finishing (or starting) at a clock time on a day.
  activity_type* task(const char* name, int32_t effort, int32_t start, int startTime,
                      int32_t finish, int finishTime, int16_t type = 3) {
    activity_type* a = cal.item(name, effort, start, finish, 0, type);
    a->offset_start_time = static_cast<int16_t>(startTime - 480);
    a->offset_finish_time = static_cast<int16_t>(1020 - finishTime);
    ll_addtail(items, a);
    return a;
  }

  struct Result {
    int rc;
    int32_t start, finish;
    int offStart, offFinish;
    int startTime() const { return 480 + offStart; }
    int finishTime() const { return 1020 - offFinish; }
  };

  Result succ(activity_type* s, activity_type* p, int type, int lag, int forward = 1,
              bool dynamic = false) {
    Result r{};
    r.rc = dynamic ? dynamResDependencyForSucc(items, s, p, type, lag, cal.sm(), forward, &r.start,
                                               &r.finish, &r.offStart, &r.offFinish, kStart,
                                               kFinish, log.f())
                   : activityResolveDependencyForSucc(items, s, p, type, lag, cal.sm(), forward,
                                                      &r.start, &r.finish, &r.offStart,
                                                      &r.offFinish, kStart, kFinish, log.f());
    return r;
  }

  Result pred(activity_type* p, activity_type* s, int type, int lag, int flag = 0,
              bool dynamic = false) {
    Result r{};
    r.rc = dynamic ? dynamResDependencyForPred(items, p, s, type, lag, cal.sm(), flag, &r.start,
                                               &r.finish, &r.offStart, &r.offFinish, kStart,
                                               kFinish, log.f())
                   : activityResolveDependencyForPred(items, p, s, type, lag, cal.sm(), flag,
                                                      &r.start, &r.finish, &r.offStart,
                                                      &r.offFinish, kStart, kFinish, log.f());
    return r;
  }

  Calendar cal{defaultCalendar()};
  Log log;
  linked_list_type* items = nullptr;
  const int32_t mon = cal.first(), tue = mon + 1, fri = mon + 4, sat = mon + 5, mon2 = mon + 7,
                tue2 = mon + 8;
};

// --- Forward resolution ---

TEST_F(Deps, FinishToStartLagsAndLeadsSkipBreaksAndWeekends) {
  struct Case {
    int32_t predFinish;
    int predFinishTime, lag;
    int32_t wantStart;
    int wantStartTime;
  } cases[] = {
      {fri, 1020, 0, mon2, 480},    // a start at a day's end is the next day's start
      {mon, 690, 60, mon, 810},     // 11:30 + 60 = 13:30, the lunch hour not counted
      {mon, 810, -60, mon, 690},    // 13:30 - 60 = 11:30
      {fri, 1020, 480, tue2, 480},  // a whole day of lag ends Monday 17:00: Tuesday 08:00
      {mon, 1020, 0, tue, 480},
      {sat, 1020, 30, tue2, 510},   // a finish on a Saturday anchors at Monday's end
  };
  activity_type* s = task("S", 60, mon, 480, mon, 1020);
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "lag " << c.lag << " from " << c.predFinishTime);
    activity_type* p = task("P", 480, c.predFinish, 480, c.predFinish, c.predFinishTime);
    Result r = succ(s, p, FS, c.lag);
    ASSERT_EQ(r.rc, 0);
    EXPECT_EQ(r.start, c.wantStart);
    EXPECT_EQ(r.startTime(), c.wantStartTime);
  }
}

TEST_F(Deps, FinishToFinishLagZeroFromMonday0800FinishesFriday1700) {
  // A container successor keeps the computed dates (no re-placement).
  activity_type* p = task("P", 5, mon2, 480, mon2, 480);
  p->effort = 480;  // a real predecessor whose finish offset is the whole day
  activity_type* s = task("S", 960, tue, 480, fri, 1020, /*type=*/2);
  Result r = succ(s, p, FF, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, fri);
  EXPECT_EQ(r.offFinish, 0);
  // Friday is not the calendar day before Monday: the duration (4) stays.
  EXPECT_EQ(r.start, fri - 4 + 1);
}

TEST_F(Deps, StartToStartAndStartToFinishAnchorOnThePredecessorsStart) {
  activity_type* p = task("P", 960, tue, 600, tue + 1, 1020);  // starts Tuesday 10:00
  activity_type* s = task("S", 120, mon, 480, mon, 1020);
  Result r = succ(s, p, SS, 120);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, tue);
  // The point is 12:00; placing the task from there starts it after lunch.
  EXPECT_EQ(r.startTime(), 780);
  EXPECT_EQ(r.finishTime(), 900);
  r = succ(s, p, SF, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, tue);
  EXPECT_EQ(r.finishTime(), 600);  // finishes where P starts...
  EXPECT_EQ(r.start, tue);         // ...and was placed back from there
  EXPECT_EQ(r.startTime(), 480);
}

TEST_F(Deps, FinishToStartOnTheStartNodeStartsTheDayAfterItWhateverTheLag) {
  activity_type* node = task(kStart, 5, mon, 480, tue, 1020, 0);
  activity_type* s = task("S", 60, mon, 480, mon, 1020);
  Result r = succ(s, node, FS, 600);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, tue + 1);
  EXPECT_EQ(r.offStart, 0);
}

TEST_F(Deps, ContainerFinishInTheForwardPassTakesItsTruncatedFinish) {
  activity_type* p = task("P", 480, tue, 480, tue, 1020);
  activity_type* c = task("C", 2400, mon, 480, mon + 9, 1020, /*type=*/2);
  c->duration = 10;
  c->finish_date_trun = mon + 7;  // two days of the span are held children
  c->offset_finish_time_trun = 60;
  Result r = succ(c, p, FF, 0, /*isForwardPass=*/1);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, tue);
  EXPECT_EQ(r.start, tue - 8 + 1);  // duration 10 - 2
  EXPECT_EQ(c->finish_date, mon + 7);
  EXPECT_EQ(c->offset_finish_time, 60);
}

TEST_F(Deps, ContainerFinishOutsideTheForwardPassIsRolledUpFromItsChildren) {
  activity_type* p = task("P", 480, mon2, 480, mon2, 1020);
  activity_type* c = task("C", 2400, mon, 480, mon + 20, 1020, /*type=*/2);
  c->duration = 21;
  activity_type* k1 = task("K1", 480, mon + 1, 480, mon + 3, 1020);
  activity_type* k2 = task("K2", 480, mon + 2, 480, mon + 4, 1020);
  k2->constraint_type = 6;  // held at its start: still counts for the finish
  for (activity_type* k : {k1, k2}) {
    setActivityChild(c, k->name, log.f());
    setActivityParent(k, c->name, log.f());
  }
  Result r = succ(c, p, FF, 0, /*isForwardPass=*/0);
  ASSERT_EQ(r.rc, 0);
  // K2 (constraint 6) does not count for the truncated finish, which is
  // K1's (day 3); the span from the earliest start (day 1) is 3 days.
  EXPECT_EQ(r.finish, mon2);
  EXPECT_EQ(r.start, mon2 - 3 + 1);
  EXPECT_EQ(c->finish_date, mon + 20);  // nothing taken over outside the pass
}

// --- Backward resolution ---

TEST_F(Deps, BackwardFinishToStartFromMonday0800FinishesFriday1700) {
  activity_type* p = task("P", 480, mon, 480, mon, 1020);
  activity_type* s = task("S", 480, mon2, 480, mon2, 1020);
  Result r = pred(p, s, FS, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, fri);
  EXPECT_EQ(r.offFinish, 0);
  EXPECT_EQ(r.start, fri);
  EXPECT_EQ(r.offStart, 0);
}

TEST_F(Deps, BackwardFinishToStartWithALagSubtractsIt) {
  activity_type* p = task("P", 60, mon, 480, mon, 1020);
  activity_type* s = task("S", 60, mon, 810, mon, 870);  // starts 13:30
  Result r = pred(p, s, FS, 60);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finishTime(), 690);  // 11:30
  EXPECT_EQ(r.startTime(), 630);   // placed back: 10:30
  // A lead of 60 moves the predecessor's latest finish later instead.
  r = pred(p, s, FS, -60);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finishTime(), 870);
}

TEST_F(Deps, BackwardStartToStartAndStartToFinishSetThePredecessorsStart) {
  activity_type* p = task("P", 120, mon, 480, mon, 1020);
  activity_type* s = task("S", 480, tue, 600, tue + 1, 600);  // starts Tue 10:00, ends Wed 10:00
  Result r = pred(p, s, SS, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, tue);
  EXPECT_EQ(r.startTime(), 600);
  EXPECT_EQ(r.finishTime(), 720);
  r = pred(p, s, SF, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, tue + 1);
  EXPECT_EQ(r.startTime(), 600);
}

TEST_F(Deps, BackwardOnTheFinishNode) {
  activity_type* node = task(kFinish, 5, tue2, 480, tue2, 900, 0);
  node->offset_finish_time = 120;
  activity_type* p = task("P", 480, mon, 480, mon, 1020, /*type=*/2);
  p->duration = 2;
  Result r = pred(p, node, FS, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, tue2 - 1);
  EXPECT_EQ(r.offFinish, 0);
  EXPECT_EQ(r.start, tue2 - 2);
  r = pred(p, node, FF, 0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, tue2);
  EXPECT_EQ(r.offFinish, 120);
}

TEST_F(Deps, BackwardContainerStartTakesItsTruncatedStartOutsideTheForwardPass) {
  activity_type* c = task("C", 960, mon, 480, mon + 9, 1020, /*type=*/2);
  c->duration = 10;
  c->start_date_trun = mon + 2;
  c->offset_start_time_trun = 30;
  c->finish_date_trun = mon + 8;
  activity_type* s = task("S", 480, mon2 + 7, 480, mon2 + 7, 1020);
  Result r = pred(c, s, SS, 0, /*isForwardPass=*/0);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, mon2 + 7);
  EXPECT_EQ(r.finish, mon2 + 7 + (10 - 2 - 1) - 1);
  EXPECT_EQ(c->start_date, mon + 2);
  EXPECT_EQ(c->offset_start_time, 30);
}

// --- Dynamic forms ---

TEST_F(Deps, DynamicForwardKeepsTheContainersDuration) {
  activity_type* p = task("P", 480, tue, 480, tue, 1020);
  activity_type* c = task("C", 2400, mon, 480, mon + 9, 1020, /*type=*/2);
  c->duration = 10;
  c->finish_date_trun = mon + 7;
  Result r = succ(c, p, FF, 0, 1, /*dynamic=*/true);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, tue - 10 + 1);
  EXPECT_EQ(c->finish_date, mon + 9);
}

TEST_F(Deps, DynamicBackwardPlacesATaskOnlyWithFullCalc) {
  activity_type* p = task("P", 60, mon, 480, mon, 1020);
  p->duration = 3;
  activity_type* s = task("S", 480, mon2, 480, mon2, 1020);
  Result r = pred(p, s, FS, 0, /*fullCalc=*/0, /*dynamic=*/true);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.finish, fri);
  EXPECT_EQ(r.start, fri - 3 + 1);  // not placed: finish - duration + 1
  r = pred(p, s, FS, 0, /*fullCalc=*/1, /*dynamic=*/true);
  ASSERT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, fri);
  EXPECT_EQ(r.startTime(), 960);  // one hour back from 17:00
}

TEST_F(Deps, AnUnknownTypeIsReportedAndResolvesToNothing) {
  activity_type* p = task("P", 60, mon, 480, mon, 1020);
  activity_type* s = task("S", 60, mon2, 480, mon2, 1020);
  Result r{};
  r.start = 7;
  r.rc = dynamResDependencyForPred(items, p, s, 9, 0, cal.sm(), 1, &r.start, &r.finish, &r.offStart,
                                   &r.offFinish, kStart, kFinish, log.f());
  EXPECT_EQ(r.rc, 0);
  EXPECT_EQ(r.start, 7);
  EXPECT_NE(log.text().find("\n dynamResDepForPred: got an error on dependency type !"),
            std::string::npos);
}

// --- Failures ---

TEST(DepsFailures, AShiftRunningPastTheCalendarFailsWithTheTypesCode) {
  Calendar cal{defaultCalendar(60)};
  Log log;
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  activity_type* p = cal.item("P", 480, cal.first() + 2, cal.first() + 2);
  activity_type* s = cal.item("S", 480, cal.first(), cal.first());
  int32_t sd = 0, fd = 0;
  int os = 0, of = 0;
  // 100 working days of lag on a calendar of 60 days that cannot grow.
  EXPECT_EQ(activityResolveDependencyForSucc(items, s, p, FS, 48000, cal.sm(), 1, &sd, &fd, &os, &of,
                                             kStart, kFinish, log.f()),
            200200);
  EXPECT_NE(log.text().find("**error (1) --ResDepForSucc FS:  pred_name: P succ_name: S succ_duration 1 "
                            "dep_type 1 lag_minutes: 48000"),
            std::string::npos);
  EXPECT_EQ(activityResolveDependencyForPred(items, p, s, SS, -48000, cal.sm(), 0, &sd, &fd, &os,
                                             &of, kStart, kFinish, log.f()),
            200206);
  EXPECT_NE(log.text().find("**error (1) --ResDepForPred SS:"), std::string::npos);
  ll_delete(items);
}

TEST(DepsFailures, ATaskThatCannotBePlacedAgainFailsWithTheReplacementCode) {
  // Work only on days 30 to 39 (an empty week otherwise): 80 days of effort
  // fit neither forwards nor backwards.
  CalendarSetup setup = defaultCalendar(60);
  for (auto& d : setup.week) d = emptyDay();
  for (int c = 30; c < 40; ++c) setup.exceptions[c] = standardDay();
  Calendar cal{setup};
  Log log;
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  const int32_t day35 = cal.first() + 35;
  activity_type* p = cal.item("P", 480, day35, day35);
  activity_type* s = cal.item("S", 480 * 80, cal.first(), cal.first());
  int32_t sd = 0, fd = 0;
  int os = 0, of = 0;
  EXPECT_EQ(activityResolveDependencyForSucc(items, s, p, FS, 0, cal.sm(), 1, &sd, &fd, &os, &of,
                                             kStart, kFinish, log.f()),
            200197);
  EXPECT_NE(log.text().find("**error (2) --ResDepForSucc FS:"), std::string::npos);
  activity_type* big = cal.item("B", 480 * 80, cal.first(), cal.first());
  EXPECT_EQ(activityResolveDependencyForPred(items, big, p, FF, 0, cal.sm(), 0, &sd, &fd, &os, &of,
                                             kStart, kFinish, log.f()),
            200198);
  EXPECT_NE(log.text().find("\n\n\n**error (2) --ResDepForPred FF:  pred_name: B succ_name: P "
                            "pred_duration"),
            std::string::npos);
  ll_delete(items);
}

}  // namespace
}  // namespace schedtest
