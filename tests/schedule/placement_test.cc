// Placing an item on its calendar: the worked examples on the default
// calendar (five-day week, 08:00-12:00 and 13:00-17:00, 2024-01-01 a
// Monday), the thresholds, the short-effort rule, the wrappers and the
// fallbacks at the calendar's ends. The slot-by-slot reference covers the
// general case (slot_oracle_test.cc).
#include "schedule/placement.h"

#include <gtest/gtest.h>

#include "calendar_fixture.h"
#include "schedule/calendar_reach.h"

namespace schedtest {
namespace {

FILE* quietLog() {  // calendar growth reports stay out of the test output
  static Log log;
  return log.f();
}

struct Placed {
  int result;
  int32_t start, finish, duration;
  int offStart, offFinish;
};

Placed place(bool forward, activity_type* a, storage_manager_type* sm, int32_t day, int offset,
             int32_t hint, int firstTime = 1) {
  Placed p{0, forward ? day : hint, forward ? hint : day, 1, forward ? offset : 0,
           forward ? 0 : offset};
  int st, ft, st2, ft2;
  auto form = forward ? activityScheduleFromStartDate : activityScheduleFromFinishDate;
  p.result = form(a, sm, &p.start, &p.finish, &p.duration, &st, &ft, &st2, &ft2, &p.offStart,
                  &p.offFinish, firstTime, quietLog());
  return p;
}

class DefaultCalendar : public ::testing::Test {
 protected:
  Calendar cal{defaultCalendar()};
  const int32_t mon = cal.first(), fri = mon + 4, sat = mon + 5, sun = mon + 6, mon2 = mon + 7,
                tue2 = mon + 8;
};

TEST_F(DefaultCalendar, EffortIsLaidOverWorkingTimeSkippingBreaksAndWeekends) {
  struct Case {
    int effort, offStart;
    int32_t start, finish;
    int wantOffStart, wantOffFinish, wantDuration;
  } cases[] = {
      {960, 0, fri, mon2, 0, 0, 4},       // Friday 08:00 to Monday 17:00
      {1000, 0, fri, tue2, 0, 500, 5},    // to Tuesday 08:40
      {240, 0, mon, mon, 0, 300, 1},      // reaching the break ends at 12:00
      {245, 0, mon, mon, 0, 235, 1},      // one slot more ends at 13:05
      {60, 270, mon, mon, 300, 180, 1},   // a 12:30 start moves to 13:00
      {180, 420, fri, mon2, 420, 480, 4}, // Friday 15:00 spills into Monday
      {360, 120, mon, mon, 120, 0, 1},    // ending at the day's end: offset 0
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "effort " << c.effort << " offset " << c.offStart);
    Placed p = place(true, cal.item("T", c.effort, c.start, c.start), cal.sm(), c.start,
                     c.offStart, c.start);
    ASSERT_EQ(p.result, 1);
    EXPECT_EQ(p.start, c.start);
    EXPECT_EQ(p.finish, c.finish);
    EXPECT_EQ(p.offStart, c.wantOffStart);
    EXPECT_EQ(p.offFinish, c.wantOffFinish);
    EXPECT_EQ(p.duration, c.wantDuration);
  }
}

TEST_F(DefaultCalendar, ASaturdayStartMovesToMondayOrToFridayUnderConstraint7) {
  activity_type* a = cal.item("T", 480, sat, sat);
  EXPECT_EQ(place(true, a, cal.sm(), sat, 0, sat).start, mon2);
  a->constraint_type = 7;
  EXPECT_EQ(place(true, a, cal.sm(), sat, 0, sat).start, fri);
}

TEST_F(DefaultCalendar, BackwardMirrorsForward) {
  Placed p = place(false, cal.item("A", 960, mon2, mon2), cal.sm(), mon2, 0, mon2);
  EXPECT_EQ(p.start, fri);
  EXPECT_EQ(p.offStart, 0);
  EXPECT_EQ(p.duration, 4);
  p = place(false, cal.item("B", 245, mon, mon), cal.sm(), mon, 0, mon);
  EXPECT_EQ(p.offStart, 235);  // 11:55
  p = place(false, cal.item("C", 60, mon, mon), cal.sm(), mon, 270, mon);  // 12:30
  EXPECT_EQ(p.offFinish, 300);  // moved back to 12:00
  activity_type* d = cal.item("D", 60, sun, sun);
  EXPECT_EQ(place(false, d, cal.sm(), sun, 0, sun).finish, fri);
  d->constraint_type = 2;
  EXPECT_EQ(place(false, d, cal.sm(), sun, 0, sun).finish, mon2);
}

TEST(PlacementThresholds, AFiveMinuteDayIsAStartDayButTakesNoWork) {
  // Monday has one slot: enough to start on, too little to work on.
  Calendar cal{defaultCalendar(400, {{0, dayOf({{480, 485}})}, {2, dayOf({{600, 605}})}})};
  const int32_t mon = cal.first();
  Placed p = place(true, cal.item("T", 60, mon, mon), cal.sm(), mon, 0, mon);
  EXPECT_EQ(p.start, mon + 1);  // no start offset: the start moves on
  EXPECT_EQ(p.offFinish, 1020 - 540);
  p = place(true, cal.item("U", 960, mon + 1, mon + 1), cal.sm(), mon + 1, 0, mon + 1);
  EXPECT_EQ(p.finish, mon + 3);  // Wednesday is skipped but counted
  EXPECT_EQ(p.duration, 3);
}

TEST_F(DefaultCalendar, ShortEffortItemsBecomePoints) {
  // Five minutes from Friday 17:00 would end on Monday: a point at Friday's end.
  activity_type* a = cal.item("T", 5, fri, fri);
  int32_t s = fri, f = fri, d = 1;
  int os = 540, of = 0;
  ASSERT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, quietLog()), 1);
  EXPECT_EQ(f, fri);
  EXPECT_EQ(d, 1);
  EXPECT_EQ(of, 0);
  EXPECT_EQ(os, 540);
  // Within one day the finish joins the start.
  s = f = mon;
  os = 60;
  of = 0;
  ASSERT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, quietLog()), 1);
  EXPECT_EQ(1020 - of, 480 + os);
  // From 12:00 the start moves to 13:00 and the finish (13:05) onto it.
  os = 240;
  ASSERT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, quietLog()), 1);
  EXPECT_EQ(os, 300);
  EXPECT_EQ(1020 - of, 780);
}

TEST_F(DefaultCalendar, BasedOnProjectCalendarStoresTheResultInTheItem) {
  activity_type* a = cal.item("T", 1000, fri, fri);
  ASSERT_EQ(activityScheduleFromStartDateBasedOnProjectCalendar(a, cal.sm(), quietLog()), 1);
  EXPECT_EQ(a->finish_date, tue2);
  EXPECT_EQ(a->duration, 5);
  EXPECT_EQ(a->offset_finish_time, 500);
  a->start_date = mon;  // a stale start: placing from the finish resets it
  ASSERT_EQ(activityScheduleFromFinishDateBasedOnProjectCalendar(a, cal.sm(), quietLog()), 1);
  EXPECT_EQ(a->start_date, fri);
  EXPECT_EQ(a->offset_start_time, 0);
}

TEST(PlacementAtCalendarEnds, ACalendarWithoutWorkingDaysFailsWithoutLooping) {
  CalendarSetup setup = defaultCalendar(60);
  for (auto& d : setup.week) d = emptyDay();
  Calendar cal{setup};
  activity_type* a = cal.item("T", 480, cal.first() + 10, cal.first() + 10);
  EXPECT_EQ(place(true, a, cal.sm(), cal.first() + 10, 0, cal.first() + 10).result, 0);
  EXPECT_EQ(place(false, a, cal.sm(), cal.first() + 10, 0, cal.first() + 10).result, 0);
}

TEST(PlacementAtCalendarEnds, RunningPastAnEndThatCannotGrowFailsAfterOneRepeat) {
  Calendar cal{defaultCalendar(60)};  // no store to grow it from
  activity_type* a = cal.item("T", 480 * 50, cal.first() + 2, cal.first() + 2);
  int32_t s = cal.first() + 2, f = s, d = 1;
  int os = 0, of = 0;
  EXPECT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, quietLog()), 0);
  EXPECT_EQ(f, cal.first() + 2);  // nothing written back
}

TEST(PlacementAtCalendarEnds, ForwardOutOfCalendarFallsBackOnBackwardFromTheLastDay) {
  Calendar cal{defaultCalendar(60)};  // day 59, the last, is a Thursday
  activity_type* a = cal.item("T", 480, cal.first() + 2, cal.first() + 2);
  Placed p = place(true, a, cal.sm(), cal.first() + 2, 0, cal.last() + 5);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, cal.last());
  EXPECT_EQ(p.finish, cal.last());
  EXPECT_EQ(place(true, a, cal.sm(), cal.first() + 2, 0, cal.last() + 5, 0).result, 0);
}

TEST(PlacementAtCalendarEnds, TheNearestWorkingDayIsSoughtTheOtherWayWhenNoneLiesAhead) {
  std::map<int, Day> offAfter30;
  for (int c = 30; c < 60; ++c) offAfter30[c] = emptyDay();
  Calendar cal{defaultCalendar(60, offAfter30)};
  activity_type* a = cal.item("T", 480, cal.first(), cal.first());
  int32_t d = cal.first() + 40;
  EXPECT_EQ(activityFindClosestAveHigherDateBasedOnProjectCalendar(a, &d, cal.sm(), quietLog()), 1);
  EXPECT_EQ(d, cal.first() + 29);  // a Tuesday, the last working day
  d = cal.first() + 40;
  EXPECT_EQ(activityFindClosestAveHigherDate(a, &d, cal.sm(), 0, quietLog()), 0);
}

}  // namespace
}  // namespace schedtest
