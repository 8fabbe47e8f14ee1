// Placing an item on its calendar: the worked examples on the default
// calendar (five-day week, 08:00-12:00 and 13:00-17:00, 2024-01-01 a
// Monday), the thresholds, the short-effort rule, the wrappers and the
// fallbacks at the calendar's ends.
#include "schedule/placement.h"

#include <gtest/gtest.h>

#include "calendar_fixture.h"
#include "schedule/calendar_reach.h"

namespace schedtest {
namespace {

// Day numbers of the first week of 2024 on the default calendar.
struct Week {
  int32_t mon, tue, wed, thu, fri, sat, sun, mon2, tue2;
};
Week weekOf(const Calendar& c) {
  const int32_t f = c.first();
  return {f, f + 1, f + 2, f + 3, f + 4, f + 5, f + 6, f + 7, f + 8};
}

// The log the placements write to (calendar growth reports), kept out of
// the test output.
FILE* quietLog() {
  static Log log;
  return log.f();
}

struct Placed {
  int result;
  int32_t start, finish, duration;
  int sST, sFT, fST, fFT, offStart, offFinish;
};

Placed forward(activity_type* a, storage_manager_type* sm, int32_t start, int offStart,
               int32_t finishHint, int32_t duration = 1, int firstTime = 1) {
  Placed p{};
  p.start = start;
  p.finish = finishHint;
  p.duration = duration;
  p.offStart = offStart;
  p.result = activityScheduleFromStartDate(a, sm, &p.start, &p.finish, &p.duration, &p.sST, &p.sFT,
                                           &p.fST, &p.fFT, &p.offStart, &p.offFinish, firstTime,
                                           quietLog());
  return p;
}

Placed backward(activity_type* a, storage_manager_type* sm, int32_t finish, int offFinish,
                int32_t startHint, int32_t duration = 1, int firstTime = 1) {
  Placed p{};
  p.start = startHint;
  p.finish = finish;
  p.duration = duration;
  p.offFinish = offFinish;
  p.result = activityScheduleFromFinishDate(a, sm, &p.start, &p.finish, &p.duration, &p.sST,
                                            &p.sFT, &p.fST, &p.fFT, &p.offStart, &p.offFinish,
                                            firstTime, quietLog());
  return p;
}

class DefaultCalendar : public ::testing::Test {
 protected:
  Calendar cal{defaultCalendar()};
  Week w = weekOf(cal);
};

// --- Forward placement: the worked examples ---

TEST_F(DefaultCalendar, TwoDaysOfEffortFromFridayMorningFinishMondayEvening) {
  activity_type* a = cal.item("T", 960, w.fri, w.fri);
  Placed p = forward(a, cal.sm(), w.fri, 0, w.fri);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.fri);
  EXPECT_EQ(p.finish, w.mon2);
  EXPECT_EQ(p.duration, 4);
  EXPECT_EQ(p.offFinish, 0);
  EXPECT_EQ(p.fFT, 1020);
}

TEST_F(DefaultCalendar, ThousandMinutesFromFridayFinishTuesdayAt0840) {
  activity_type* a = cal.item("T", 1000, w.fri, w.fri);
  Placed p = forward(a, cal.sm(), w.fri, 0, w.fri);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, w.tue2);
  EXPECT_EQ(p.duration, 5);
  EXPECT_EQ(p.offFinish, 500);  // 17:00 - 08:40
}

TEST_F(DefaultCalendar, WorkReachingTheLunchBreakEndsAtNoonOneMoreSlotAfterLunch) {
  activity_type* a240 = cal.item("A", 240, w.mon, w.mon);
  Placed p = forward(a240, cal.sm(), w.mon, 0, w.mon);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, w.mon);
  EXPECT_EQ(p.offFinish, 300);  // 12:00
  activity_type* a245 = cal.item("B", 245, w.mon, w.mon);
  p = forward(a245, cal.sm(), w.mon, 0, w.mon);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.offFinish, 235);  // 13:05
}

TEST_F(DefaultCalendar, SaturdayStartMovesToMondayOrToFridayUnderConstraint7) {
  activity_type* a = cal.item("T", 480, w.sat, w.sat);
  Placed p = forward(a, cal.sm(), w.sat, 0, w.sat);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.mon2);
  EXPECT_EQ(p.finish, w.mon2);
  a->constraint_type = 7;
  p = forward(a, cal.sm(), w.sat, 0, w.sat);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.fri);
  EXPECT_EQ(p.finish, w.fri);
}

TEST_F(DefaultCalendar, StartOffsetInTheLunchHourMovesTheStartTo1300) {
  activity_type* a = cal.item("T", 60, w.mon, w.mon);
  Placed p = forward(a, cal.sm(), w.mon, 270, w.mon);  // 12:30
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.offStart, 300);                       // 13:00
  EXPECT_EQ(p.finish, w.mon);
  EXPECT_EQ(p.offFinish, 1020 - 840);               // 14:00
}

TEST_F(DefaultCalendar, PartialFirstDaySpillsIntoTheNextWorkingDay) {
  // From Friday 15:00, 3 hours: 2 on Friday, 1 on Monday.
  activity_type* a = cal.item("T", 180, w.fri, w.fri);
  Placed p = forward(a, cal.sm(), w.fri, 420, w.fri);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.fri);
  EXPECT_EQ(p.offStart, 420);
  EXPECT_EQ(p.finish, w.mon2);
  EXPECT_EQ(p.offFinish, 1020 - 540);  // 09:00
  EXPECT_EQ(p.duration, 4);
  EXPECT_EQ(p.sST, 480);
  EXPECT_EQ(p.fST, 480);
}

TEST_F(DefaultCalendar, EffortEndingExactlyAtADaysEndHasFinishOffsetZero) {
  activity_type* a = cal.item("T", 360, w.mon, w.mon);
  Placed p = forward(a, cal.sm(), w.mon, 120, w.mon);  // 10:00 + 6 h = 17:00
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, w.mon);
  EXPECT_EQ(p.offFinish, 0);
}

// --- Thresholds ---

TEST(PlacementThresholds, AStartDayWithExactlyFiveMinutesIsKeptButSkippedWhileLaying) {
  // Monday has one slot (08:00-08:05): enough to start, too little to work.
  Calendar cal{defaultCalendar(400, {{0, dayOf({{480, 485}})}})};
  const int32_t mon = cal.first();
  activity_type* a = cal.item("T", 60, mon, mon);
  Placed p = forward(a, cal.sm(), mon, 0, mon);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, mon + 1);  // the start moved on to Tuesday
  EXPECT_EQ(p.finish, mon + 1);
  EXPECT_EQ(p.offFinish, 1020 - 540);
}

TEST(PlacementThresholds, AFiveMinuteDayInsideTheWorkCountsInTheDurationOnly) {
  Calendar cal{defaultCalendar(400, {{1, dayOf({{600, 605}})}})};
  const int32_t mon = cal.first();
  activity_type* a = cal.item("T", 960, mon, mon);
  Placed p = forward(a, cal.sm(), mon, 0, mon);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, mon + 2);  // Monday and Wednesday, Tuesday skipped
  EXPECT_EQ(p.duration, 3);
  EXPECT_EQ(p.offFinish, 0);
}

TEST(PlacementThresholds, HolidaysAndWeekendsAreSkippedButCounted) {
  Calendar cal{defaultCalendar(400, {{4, emptyDay()}, {7, emptyDay()}})};  // Fri, Mon off
  const int32_t thu = cal.first() + 3;
  activity_type* a = cal.item("T", 960, thu, thu);
  Placed p = forward(a, cal.sm(), thu, 0, thu);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, cal.first() + 8);  // Thursday, then Tuesday
  EXPECT_EQ(p.duration, 6);
}

// --- Backward placement ---

TEST_F(DefaultCalendar, BackwardFromMondayEveningMirrorsTheForwardExample) {
  activity_type* a = cal.item("T", 960, w.mon2, w.mon2);
  Placed p = backward(a, cal.sm(), w.mon2, 0, w.mon2);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.fri);
  EXPECT_EQ(p.offStart, 0);
  EXPECT_EQ(p.duration, 4);
}

TEST_F(DefaultCalendar, BackwardStartIsPushedEarlierPastTheLunchHour) {
  activity_type* a = cal.item("T", 245, w.mon, w.mon);
  Placed p = backward(a, cal.sm(), w.mon, 0, w.mon);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.mon);
  EXPECT_EQ(p.offStart, 715 - 480);  // 11:55
  activity_type* b = cal.item("U", 240, w.mon, w.mon);
  p = backward(b, cal.sm(), w.mon, 0, w.mon);
  EXPECT_EQ(p.offStart, 300);  // 13:00: exactly the afternoon
}

TEST_F(DefaultCalendar, BackwardFromASundayMovesToFridayOrToMondayUnderConstraint2) {
  activity_type* a = cal.item("T", 60, w.sun, w.sun);
  Placed p = backward(a, cal.sm(), w.sun, 0, w.sun);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, w.fri);
  a->constraint_type = 2;
  p = backward(a, cal.sm(), w.sun, 0, w.sun);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, w.mon2);
}

TEST_F(DefaultCalendar, BackwardPartialLastDayInTheLunchHourMovesBackToNoon) {
  activity_type* a = cal.item("T", 60, w.mon, w.mon);
  Placed p = backward(a, cal.sm(), w.mon, 270, w.mon);  // 12:30
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.offFinish, 300);  // 12:00
  EXPECT_EQ(p.offStart, 180);   // 11:00
}

// --- Short-effort rule and the wrappers ---

TEST_F(DefaultCalendar, ShortEffortSpanningDaysIsPutAtTheStartDaysWorkingEnd) {
  // Five minutes from Friday 17:00 would end on Monday; the item becomes a
  // point at Friday's working end.
  activity_type* a = cal.item("T", 5, w.fri, w.fri);
  int32_t s = w.fri, f = w.fri, d = 1;
  int os = 540, of = 0;  // 17:00: no time left on Friday
  ASSERT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, nullptr), 1);
  EXPECT_EQ(s, w.fri);
  EXPECT_EQ(f, w.fri);
  EXPECT_EQ(d, 1);
  EXPECT_EQ(of, 0);
  EXPECT_EQ(os, 540);
}

TEST_F(DefaultCalendar, ShortEffortWithinOneDayKeepsASinglePointInTime) {
  activity_type* a = cal.item("T", 5, w.mon, w.mon);
  int32_t s = w.mon, f = w.mon, d = 1;
  int os = 60, of = 0;  // 09:00
  ASSERT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, nullptr), 1);
  EXPECT_EQ(f, w.mon);
  EXPECT_EQ(os, 60);
  EXPECT_EQ(1020 - of, 480 + 60);  // finish == start
}

TEST_F(DefaultCalendar, ShortEffortAcrossTheLunchHourPutsTheStartOntoTheFinish) {
  activity_type* a = cal.item("T", 5, w.mon, w.mon);
  int32_t s = w.mon, f = w.mon, d = 1;
  int os = 240, of = 0;  // 12:00, in the break: moves to 13:00, finishes 13:05
  ASSERT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, nullptr), 1);
  EXPECT_EQ(os, 300);
  EXPECT_EQ(1020 - of, 780);  // the finish was put onto the start (F - S = 5 < 6)
}

TEST_F(DefaultCalendar, BasedOnProjectCalendarStoresTheResultInTheItem) {
  activity_type* a = cal.item("T", 1000, w.fri, w.fri);
  a->offset_start_time = 0;
  ASSERT_EQ(activityScheduleFromStartDateBasedOnProjectCalendar(a, cal.sm(), nullptr), 1);
  EXPECT_EQ(a->start_date, w.fri);
  EXPECT_EQ(a->finish_date, w.tue2);
  EXPECT_EQ(a->duration, 5);
  EXPECT_EQ(a->offset_finish_time, 500);
  ASSERT_EQ(activityScheduleFromFinishDateBasedOnProjectCalendar(a, cal.sm(), nullptr), 1);
  EXPECT_EQ(a->start_date, w.fri);
  EXPECT_EQ(a->offset_start_time, 0);
  EXPECT_EQ(a->finish_date, w.tue2);
}

TEST_F(DefaultCalendar, EffortZeroFromADaysStartIsAZeroLengthItemOnThatDay) {
  activity_type* a = cal.item("T", 0, w.sat, w.sat);
  Placed p = forward(a, cal.sm(), w.sat, 0, w.sat);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.start, w.mon2);
  EXPECT_EQ(p.finish, w.mon2);
  EXPECT_EQ(p.offFinish, 540);  // finishes at 08:00, where it starts
}

// --- The ends of the calendar ---

TEST(PlacementAtCalendarEnds, ACalendarWithoutWorkingDaysFailsWithoutLooping) {
  CalendarSpec spec = defaultCalendar(60);
  for (auto& d : spec.week) d = emptyDay();
  Calendar cal{spec};
  activity_type* a = cal.item("T", 480, cal.first() + 10, cal.first() + 10);
  Placed p = forward(a, cal.sm(), cal.first() + 10, 0, cal.first() + 10);
  EXPECT_EQ(p.result, 0);
  p = backward(a, cal.sm(), cal.first() + 10, 0, cal.first() + 10);
  EXPECT_EQ(p.result, 0);
}

TEST(PlacementAtCalendarEnds, RunningPastTheEndWithoutAStoreFailsAfterOneRepeat) {
  // 60 days loaded, nothing to grow them from: the wrapper repeats once and
  // reports failure (0), never -1.
  Calendar cal{defaultCalendar(60)};
  Log log;
  activity_type* a = cal.item("T", 480 * 50, cal.first() + 2, cal.first() + 2);
  int32_t s = cal.first() + 2, f = s, d = 1;
  int os = 0, of = 0;
  EXPECT_EQ(activityScheduleFromStartDateSpecial(a, cal.sm(), &s, &f, &d, &os, &of, log.f()), 0);
  EXPECT_EQ(s, cal.first() + 2);  // nothing written back
  EXPECT_EQ(activityScheduleFromStartDateBasedOnProjectCalendar(a, cal.sm(), log.f()), 0);
}

TEST(PlacementAtCalendarEnds, ForwardRunningOutOfCalendarFallsBackOnBackwardFromTheLastDay) {
  // The finish hint lies beyond the calendar and the calendar cannot grow:
  // the item is placed backwards from the last day.
  Calendar cal{defaultCalendar(60)};
  Log log;
  activity_type* a = cal.item("T", 480, cal.first() + 2, cal.first() + 2);
  Placed p = forward(a, cal.sm(), cal.first() + 2, 0, cal.last() + 5);
  ASSERT_EQ(p.result, 1);
  EXPECT_EQ(p.finish, cal.last());  // day 59 is a Thursday
  EXPECT_EQ(p.start, p.finish);
  EXPECT_EQ(p.offStart, 0);
  EXPECT_EQ(p.offFinish, 0);
  p = forward(a, cal.sm(), cal.first() + 2, 0, cal.last() + 5, 1, /*firstTime=*/0);
  EXPECT_EQ(p.result, 0);
}

TEST(PlacementAtCalendarEnds, LaterStartPlacementUsesTheLimitsOfTheCalendar) {
  Calendar cal{defaultCalendar(60)};
  activity_type* a = cal.item("T", 480, cal.first(), cal.first() + 9);
  int32_t minS, maxS, minF, maxF;
  activityImposeLimitsOnStartAndFinishDates(a, &minS, &maxS, &minF, &maxF);
  EXPECT_EQ(minS, cal.first());
  EXPECT_EQ(maxS, cal.last() - 10 + 1);
  EXPECT_EQ(minF, cal.first() + 9);
  EXPECT_EQ(maxF, cal.last());
}

}  // namespace
}  // namespace schedtest
