// Constraint limits for the forward and backward passes, code by code, and
// the load-time rules that build constraints from an item row's forecasts.
#include "schedule/constraint_dates.h"

#include <gtest/gtest.h>

#include <cstring>

#include "calendar_fixture.h"

namespace schedtest {
namespace {

struct Limits {
  int32_t minSd, minStart, maxStart, minFinish, maxFinish;
};

class Constraints : public ::testing::Test {
 protected:
  void SetUp() override {
    // A calendar of 400 days; the run's current day is day 50, the project
    // was created on day 10 and finishes on day 300.
    setProjectCurrentDate(cal.proj(), day(50));
    setProjectCreateDate(cal.proj(), day(10));
    setProjectFinishDate(cal.proj(), day(300));
  }
  int32_t day(int c) const { return cal.first() + c; }

  Limits forward(int ct, int32_t date, int32_t duration = 5) {
    activity_type* a = cal.item("T", 480, day(100), day(100) + duration - 1);
    a->constraint_type = static_cast<int16_t>(ct);
    a->constraint_date = date;
    Limits l{};
    EXPECT_EQ(activityDefineConstraintDatesForward(a, &l.minSd, &l.minStart, &l.maxStart,
                                                   &l.minFinish, &l.maxFinish, log.f()),
              0);
    return l;
  }
  Limits backward(int ct, int32_t date, int32_t duration = 5) {
    activity_type* a = cal.item("T", 480, day(100), day(100) + duration - 1);
    a->constraint_type = static_cast<int16_t>(ct);
    a->constraint_date = date;
    Limits l{};
    EXPECT_EQ(activityDefineConstraintDatesBackward(a, &l.minSd, &l.minStart, &l.maxStart,
                                                    &l.minFinish, &l.maxFinish, log.f()),
              0);
    return l;
  }

  Calendar cal{defaultCalendar(400)};
  Log log;
  const int32_t latest = cal.last() - 5 + 1;  // latest start of a 5-day item
};

// --- Forward ---

TEST_F(Constraints, ForwardBaseLimitsFollowTheCurrentDayAndTheCalendar) {
  Limits l = forward(6, day(120));
  EXPECT_EQ(l.minSd, day(50));  // the later of the current day and creation
  EXPECT_EQ(l.maxStart, latest);
  EXPECT_EQ(l.minFinish, l.minStart + 4);
  EXPECT_EQ(l.maxFinish, l.maxStart + 4);
}

TEST_F(Constraints, StartNoEarlierThanADateBeyondReachGivesEarliestEqualToLatest) {
  Limits l = forward(6, cal.last() - 2);
  EXPECT_EQ(l.minStart, latest);
  EXPECT_EQ(l.maxStart, latest);
  l = forward(6, day(120));
  EXPECT_EQ(l.minStart, day(120));
}

TEST_F(Constraints, StartNoLaterThanADateBeforeTheEarliestStartGivesLatestEqualToEarliest) {
  Limits l = forward(7, day(20));
  EXPECT_EQ(l.minStart, day(50));
  EXPECT_EQ(l.maxStart, day(50));
  l = forward(7, day(120));
  EXPECT_EQ(l.maxStart, day(120));
}

TEST_F(Constraints, FinishOnADateNeedingAnEarlierStartClampsBothLimitsToTheEarliest) {
  // Codes 3, 4 and 5 may start before the current day: the earliest start is
  // the calendar's first day.
  Limits l = forward(4, day(2));
  EXPECT_EQ(l.minStart, day(0));
  EXPECT_EQ(l.maxStart, day(0));
  l = forward(4, day(120));
  EXPECT_EQ(l.minStart, day(116));
  EXPECT_EQ(l.maxStart, day(116));
  EXPECT_EQ(l.maxFinish, day(120));
}

TEST_F(Constraints, CodesThreeFourFiveMayStartBeforeTheCurrentDayTwoSixSevenNot) {
  EXPECT_EQ(forward(3, day(30)).minStart, day(0));
  EXPECT_EQ(forward(3, day(30)).maxStart, day(26));
  EXPECT_EQ(forward(5, day(30)).minStart, day(30));
  EXPECT_EQ(forward(5, day(30)).maxStart, day(30));
  EXPECT_EQ(forward(7, day(30)).minStart, day(50));
  // Unless the constraint itself sets the earliest start (2 and 6).
  EXPECT_EQ(forward(2, day(30)).minStart, day(26));
  EXPECT_EQ(forward(6, day(30)).minStart, day(30));
}

TEST_F(Constraints, FinishNoEarlierThanIsCappedAtTheLatestStart) {
  EXPECT_EQ(forward(2, day(150)).minStart, day(146));
  EXPECT_EQ(forward(2, cal.last() + 0).minStart, latest);
}

TEST_F(Constraints, AsSoonAsPossibleBoundsTheLatestStartByItsDateOrTheEarliestAllowed) {
  EXPECT_EQ(forward(0, day(120)).maxStart, day(120));
  EXPECT_EQ(forward(0, day(20)).maxStart, day(50));    // min_sd
  EXPECT_EQ(forward(0, cal.last()).maxStart, day(50));  // not before the latest start
  // Any other code takes a date equal to the latest start as well.
  EXPECT_EQ(forward(9, latest).maxStart, latest);
  EXPECT_EQ(forward(0, latest).maxStart, day(50));
  // As late as possible: no forward bound.
  EXPECT_EQ(forward(1, day(120)).maxStart, latest);
}

TEST_F(Constraints, CreationLaterThanTheCurrentDayRaisesMinSd) {
  setProjectCreateDate(cal.proj(), day(70));
  EXPECT_EQ(forward(6, day(120)).minSd, day(70));
}

// --- Backward ---

TEST_F(Constraints, BackwardLimitsEndAtTheProjectsFinish) {
  Limits l = backward(0, day(120));
  EXPECT_EQ(l.minStart, day(0));
  EXPECT_EQ(l.maxStart, day(296));
  EXPECT_EQ(l.minSd, day(0));
  EXPECT_EQ(l.maxFinish, day(300));
}

TEST_F(Constraints, BackwardFinishCodesCapTheirDateAtTheProjectsFinish) {
  Limits l = backward(3, day(350));
  EXPECT_EQ(l.maxStart, day(296));
  l = backward(4, day(350));
  EXPECT_EQ(l.minStart, day(296));
  EXPECT_EQ(l.maxStart, day(296));
  l = backward(2, day(200));
  EXPECT_EQ(l.minStart, day(196));
  // The start codes are not capped: a start-on beyond the finish is clamped.
  l = backward(5, day(350));
  EXPECT_EQ(l.minStart, day(296));
}

TEST_F(Constraints, BackwardAsLateAsPossibleTakesItsDateWhenAfterCreation) {
  EXPECT_EQ(backward(1, day(120)).minStart, day(120));
  EXPECT_EQ(backward(1, day(5)).minStart, day(296));   // not after creation (day 10)
  EXPECT_EQ(backward(1, day(380)).minStart, day(296));  // the earlier of date and latest
}

// --- Load-time rules ---

ConstraintRow rowWith(int ct) {
  ConstraintRow r{};
  r.h_constraint_type = ct;
  r.h_constraint_dt_ind = -1;
  std::strcpy(r.h_sched_start, "2006-05-12 08:00:00.000000");
  r.h_sched_start_ind = 0;
  r.h_forecast_start_ind = -1;
  r.h_forecast_finish_ind = -1;
  std::strcpy(r.h_unresolved_start, "2006-01-01 08:00:00.000000");
  std::strcpy(r.h_unresolved_finish, "2006-01-31 17:00:00.000000");
  return r;
}

TEST(ConstraintRows, AForecastStartAloneMakesAStartNoEarlierThanConstraint) {
  ConstraintRow r = rowWith(0);
  std::strcpy(r.h_forecast_start, "2006-05-10 08:00:00.000000");
  r.h_forecast_start_ind = 0;
  EXPECT_EQ(fixUnresolvedDates(&r), 0);
  EXPECT_EQ(r.h_constraint_type, 6);
  EXPECT_STREQ(r.h_constraint_dt, "2006-05-10");
  EXPECT_EQ(r.h_constraint_dt_ind, 0);
}

TEST(ConstraintRows, AForecastFinishAloneMakesAFinishNoEarlierThanConstraint) {
  ConstraintRow r = rowWith(6);
  std::strcpy(r.h_forecast_finish, "2006-06-02 17:00:00.000000");
  r.h_forecast_finish_ind = 0;
  EXPECT_EQ(fixUnresolvedDates(&r), 0);
  EXPECT_EQ(r.h_constraint_type, 2);
  EXPECT_STREQ(r.h_constraint_dt, "2006-06-02");
}

TEST(ConstraintRows, BothForecastsReplaceTheUnresolvedDatesUnlessDurationBased) {
  ConstraintRow r = rowWith(0);
  std::strcpy(r.h_forecast_start, "2006-05-10 08:00:00.000000");
  std::strcpy(r.h_forecast_finish, "2006-05-20 17:00:00.000000");
  r.h_forecast_start_ind = r.h_forecast_finish_ind = 0;
  EXPECT_EQ(fixUnresolvedDates(&r), 0);
  EXPECT_STREQ(r.h_unresolved_start, "2006-05-10 08:00:00.000000");
  EXPECT_STREQ(r.h_unresolved_finish, "2006-05-20 17:00:00.000000");
  EXPECT_EQ(r.h_constraint_type, 6);  // the forecast finish is not before the scheduled start
  ConstraintRow d = rowWith(0);
  d.h_duration_based = 1;
  std::strcpy(d.h_forecast_start, "2006-05-10 08:00:00.000000");
  std::strcpy(d.h_forecast_finish, "2006-05-11 17:00:00.000000");
  d.h_forecast_start_ind = d.h_forecast_finish_ind = 0;
  EXPECT_EQ(fixUnresolvedDates(&d), 0);
  EXPECT_STREQ(d.h_unresolved_start, "2006-01-01 08:00:00.000000");
  // The forecast finish lies before the scheduled start: the finish rule.
  EXPECT_EQ(d.h_constraint_type, 2);
  EXPECT_STREQ(d.h_constraint_dt, "2006-05-11");
}

TEST(ConstraintRows, NothingChangesWithoutAScheduledStartAndANullDateBecomesEmpty) {
  ConstraintRow r = rowWith(0);
  r.h_sched_start_ind = -1;
  std::strcpy(r.h_forecast_start, "2006-05-10 08:00:00.000000");
  r.h_forecast_start_ind = 0;
  fixUnresolvedDates(&r);
  EXPECT_EQ(r.h_constraint_type, 0);
  EXPECT_EQ(r.h_constraint_dt_ind, -1);
  ConstraintRow n = rowWith(3);
  std::strcpy(n.h_constraint_dt, "junk");
  fixUnresolvedDates(&n);  // no forecasts: only the empty date
  EXPECT_EQ(n.h_constraint_type, 3);
  EXPECT_STREQ(n.h_constraint_dt, "");
  EXPECT_EQ(n.h_constraint_dt_ind, 0);
}

TEST(ConstraintRows, FinishRuleCodeByCode) {
  auto finishRule = [](int ct, const char* forecastFinish) {
    ConstraintRow r = rowWith(ct);
    std::strcpy(r.h_forecast_finish, forecastFinish);
    r.h_forecast_finish_ind = 0;
    considerFinishDateConstraint(&r);
    return r;
  };
  for (int ct : {2, 3, 4}) {
    ConstraintRow r = finishRule(ct, "2006-06-02 17:00:00.000000");
    EXPECT_EQ(r.h_constraint_type, ct);
    EXPECT_STREQ(r.h_constraint_dt, "2006-06-02");
  }
  for (int ct : {0, 1, 6, 7}) EXPECT_EQ(finishRule(ct, "2006-06-02 17:00:00.000000").h_constraint_type, 2);
  // Start-on stays unless the forecast finish is before the scheduled start.
  EXPECT_EQ(finishRule(5, "2006-06-02 17:00:00.000000").h_constraint_type, 5);
  EXPECT_EQ(finishRule(5, "2006-05-11 17:00:00.000000").h_constraint_type, 2);
  EXPECT_EQ(finishRule(5, "2006-05-12 07:00:00.000000").h_constraint_type, 5);  // same day
  EXPECT_EQ(finishRule(9, "2006-06-02 17:00:00.000000").h_constraint_type, 9);
}

TEST(ConstraintRows, StartRuleCarriesTheForecastsNullIndicator) {
  ConstraintRow r = rowWith(7);
  std::strcpy(r.h_constraint_dt, "2006-01-01");
  r.h_constraint_dt_ind = 0;
  considerStartDateConstraint(&r);  // forecast start null
  EXPECT_EQ(r.h_constraint_dt_ind, -1);
  ConstraintRow k = rowWith(3);
  considerStartDateConstraint(&k);
  EXPECT_EQ(k.h_constraint_type, 3);
  EXPECT_EQ(k.h_constraint_dt_ind, -1);
}

}  // namespace
}  // namespace schedtest
