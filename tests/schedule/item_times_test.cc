// An item's points in time, the working minutes between two points, and its
// placement as text, on the default calendar (2024-01-01 a Monday); and the
// within-day laying of minutes, direct form against the literal pushing.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "calendar_fixture.h"
#include "schedule/day_work.h"
#include "schedule/effort_sums.h"
#include "schedule/item_format.h"
#include "schedule/item_times.h"

namespace schedtest {
namespace {

class Times : public ::testing::Test {
 protected:
  activity_type* item(int32_t effort, int32_t start, int offStart, int32_t finish, int offFinish) {
    activity_type* a = cal.item("T", effort, start, finish);
    a->offset_start_time = static_cast<int16_t>(offStart);
    a->offset_finish_time = static_cast<int16_t>(offFinish);
    return a;
  }
  struct Anchors {
    int rc;
    int32_t sd, fd;
    int st, ft;
  };
  Anchors anchors(activity_type* a) {
    Anchors s{};
    s.rc = activityGetSpecDateTimeParams(a, cal.sm(), &s.sd, &s.fd, &s.st, &s.ft, log.f());
    return s;
  }

  Calendar cal{defaultCalendar()};
  Log log;
  const int32_t mon = cal.first(), tue = mon + 1, fri = mon + 4, sat = mon + 5, sun = mon + 6,
                mon2 = mon + 7;
};

// --- Anchors ---

TEST_F(Times, AnchorsAreTheWorkingStartPlusOffsetAndTheWorkingEndMinusOffset) {
  Anchors s = anchors(item(600, mon, 60, tue, 120));
  ASSERT_EQ(s.rc, 0);
  EXPECT_EQ(s.sd, mon);
  EXPECT_EQ(s.st, 540);
  EXPECT_EQ(s.fd, tue);
  EXPECT_EQ(s.ft, 900);
}

TEST_F(Times, AnchorsOnAWeekendMoveToTheNextWorkingDaysStartAndEnd) {
  Anchors s = anchors(item(600, sat, 60, sun, 120));
  ASSERT_EQ(s.rc, 0);
  EXPECT_EQ(s.sd, mon2);
  EXPECT_EQ(s.st, 480);  // the offset is not applied to a moved day
  EXPECT_EQ(s.fd, mon2);
  EXPECT_EQ(s.ft, 1020);
}

TEST_F(Times, AShortEffortItemFinishesWhereItStarts) {
  Anchors s = anchors(item(5, mon, 60, tue, 0));
  EXPECT_EQ(s.ft, s.st);
  EXPECT_EQ(s.fd, tue);
}

TEST_F(Times, ActualWorkEndingLaterMovesTheFinishAnchor) {
  activity_type* a = item(600, mon, 0, tue, 300);
  a->max_wrk_actual_FD = fri;
  a->oft_wrk_actual_FD = 60;
  Anchors s = anchors(a);
  EXPECT_EQ(s.fd, fri);
  EXPECT_EQ(s.ft, 960);
  // On the finish day itself the smaller offset (the later time) wins.
  a->max_wrk_actual_FD = tue;
  s = anchors(a);
  EXPECT_EQ(s.fd, tue);
  EXPECT_EQ(s.ft, 960);
  // Only plain tasks carry actual work into their anchors.
  a->type = 2;
  EXPECT_EQ(anchors(a).ft, 720);
}

TEST(TimesWithoutWorkingDays, AnchorsAndSumsFailWith200217) {
  CalendarSetup setup = defaultCalendar(60);
  for (auto& d : setup.week) d = emptyDay();
  Calendar cal{setup};
  Log log;
  activity_type* a = cal.item("T", 480, cal.first() + 3, cal.first() + 3);
  int32_t sd, fd, total = -1;
  int st, ft;
  EXPECT_EQ(activityGetSpecDateTimeParams(a, cal.sm(), &sd, &fd, &st, &ft, log.f()), 200217);
  EXPECT_EQ(activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
                a, &total, cal.sm(), cal.first() + 3, 480, cal.first() + 5, 1020, log.f()),
            200217);
  EXPECT_EQ(total, -1);
  char start[27] = "untouched", finish[27] = "untouched";
  EXPECT_EQ(activityFormatDateTimeParams_AIX(a, cal.sm(), start, finish, log.f()), 200217);
  EXPECT_STREQ(start, "untouched");
}

TEST_F(Times, ClosestStartAndFinishDaysSettleTheirTimes) {
  int32_t sd = sat, fd = sun;
  int st = 700, ft = 700, sdc = -1, fdc = -1;
  activity_type* a = item(480, mon, 0, mon, 0);
  ASSERT_EQ(activityFindClosestAveStartFinishDates(a, cal.sm(), &sd, &st, &sdc, &fd, &ft, &fdc,
                                                   log.f()),
            0);
  EXPECT_EQ(sd, mon2);
  EXPECT_EQ(st, 480);
  EXPECT_EQ(sdc, 1);
  EXPECT_EQ(fd, mon2);
  EXPECT_EQ(ft, 480);  // a moved finish day takes its working start
  EXPECT_EQ(fdc, 1);
  sd = fd = tue;
  st = 0;
  ft = 0;
  ASSERT_EQ(activityFindClosestAveStartFinishDates(a, cal.sm(), &sd, &st, &sdc, &fd, &ft, &fdc,
                                                   log.f()),
            0);
  EXPECT_EQ(st, 480);
  EXPECT_EQ(ft, 1020);
  EXPECT_EQ(sdc + fdc, 0);
  st = 600;
  ft = 700;
  activityFindClosestAveStartFinishDates(a, cal.sm(), &sd, &st, &sdc, &fd, &ft, &fdc, log.f());
  EXPECT_EQ(st, 600);
  EXPECT_EQ(ft, 700);
}

TEST_F(Times, FixingAFinishDayMovesItBackOrForwardUnderConstraint2) {
  activity_type* a = item(480, mon, 0, mon, 0);
  int32_t d = sun;
  ASSERT_EQ(activityFixClosestFinishDateFromProjCalendar(a, cal.sm(), &d, log.f()), 1);
  EXPECT_EQ(d, fri);
  a->constraint_type = 2;
  d = sun;
  ASSERT_EQ(activityFixClosestFinishDateFromProjCalendar(a, cal.sm(), &d, log.f()), 1);
  EXPECT_EQ(d, mon2);
  d = tue;
  ASSERT_EQ(activityFixClosestFinishDateFromProjCalendar(a, cal.sm(), &d, log.f()), 1);
  EXPECT_EQ(d, tue);
}

// --- Working minutes between points ---

TEST_F(Times, WorkingMinutesBetweenTwoPointsSkipBreaksAndWeekends) {
  activity_type* a = item(480, mon, 0, mon, 0);
  int32_t total = 0;
  ASSERT_EQ(activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(a, &total, cal.sm(), fri,
                                                                         780, mon2, 600, log.f()),
            0);
  EXPECT_EQ(total, 240 + 120);
  ASSERT_EQ(activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(a, &total, cal.sm(), tue,
                                                                         540, tue, 840, log.f()),
            0);
  EXPECT_EQ(total, 240);  // 09:00 to 14:00 less the lunch hour
  ASSERT_EQ(activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(a, &total, cal.sm(), mon,
                                                                         540, mon + 2, 900, log.f()),
            0);
  EXPECT_EQ(total, 420 + 480 + 360);
  ASSERT_EQ(activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(a, &total, cal.sm(), tue,
                                                                         540, mon, 900, log.f()),
            0);
  EXPECT_EQ(total, 0);
  // The end of a break and its start measure the same.
  ASSERT_EQ(activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(a, &total, cal.sm(), tue,
                                                                         750, tue, 900, log.f()),
            0);
  EXPECT_EQ(total, 120);
}

TEST_F(Times, AnItemsEffortMatchesItsPlacement) {
  activity_type* a = item(480, fri, 420, mon2, 480);  // Fri 15:00 to Mon 09:00
  int32_t total = 0;
  ASSERT_EQ(activityCalculateTotalEffortWithinGivenDates(a, &total, cal.sm(), fri, mon2, log.f()), 0);
  EXPECT_EQ(total, 180);
  a->type = 2;
  a->start_date_trun = fri;
  a->offset_start_time_trun = 0;
  a->finish_date_trun = fri;
  a->offset_finish_time_trun = 240;
  ASSERT_EQ(activityCalculateTotalEffortTrunForContainerType(a, cal.sm(), log.f()), 0);
  EXPECT_EQ(a->effort, 240);
  EXPECT_EQ(activityRemoveProjectCalendarNotAveDays(a, cal.sm(), mon, mon2), 6);
}

// --- Text forms ---

TEST_F(Times, PlacementsFormatAsDateAndTimeTexts) {
  activity_type* a = item(600, fri, 60, mon2, 120);
  a->early_start_date = mon;
  a->es_offset_start_time = 0;
  a->late_finish_date = tue;
  a->lf_offset_finish_time = 300;
  char* text = getActivityFormatStartDate(a);
  EXPECT_STREQ(text, "2024-01-05");
  delete[] text;
  text = getActivityFormatFinishTime(a);
  EXPECT_STREQ(text, "15:00:00.000000");
  delete[] text;
  text = getActivityFormatEarlyStartTime(a);
  EXPECT_STREQ(text, "08:00:00.000000");
  delete[] text;
  char buf[27];
  activityFormatLateFinishDate_AIX(a, buf);
  EXPECT_STREQ(buf, "2024-01-02");
  activityFormatLateFinishTime_AIX(a, buf);
  EXPECT_STREQ(buf, "12:00:00.000000");
  activityFormatStartTime_AIX(a, buf);
  EXPECT_STREQ(buf, "09:00:00.000000");
  char start[27], finish[27];
  ASSERT_EQ(activityFormatDateTimeParams_AIX(a, cal.sm(), start, finish, log.f()), 0);
  EXPECT_STREQ(start, "2024-01-05 09:00:00.000000");
  EXPECT_STREQ(finish, "2024-01-08 15:00:00.000000");
}

// --- Within-day laying ---

TEST(DayWork, TheDirectFormsAgreeWithTheLiteralPushing) {
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> slot(0, 288), minutes(0, 1500), bit(0, 3), pick(0, 4);
  for (int i = 0; i < 20000; ++i) {
    Day d{};
    for (auto& b : d) b = static_cast<unsigned char>(bit(rng) == 0 ? 0 : rng() & 0xff);
    const int t = 5 * slot(rng);
    const int m = pick(rng) == 0 ? minutes(rng) : 5 * (minutes(rng) / 5);
    ASSERT_EQ(dayWorkFinish(d.data(), t, m), dayWorkFinishByPushing(d.data(), t, m))
        << "t=" << t << " m=" << m;
    ASSERT_EQ(dayWorkStart(d.data(), t, m), dayWorkStartByPushing(d.data(), t, m))
        << "u=" << t << " m=" << m;
  }
}

}  // namespace
}  // namespace schedtest
