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

// One code and date, and the earliest and latest start they allow (day
// counts; -1 stands for the latest start the calendar allows).
struct Row {
  int ct;
  int date;
  int wantMin, wantMax;
  const char* why;
};

TEST_F(Constraints, ForwardLimitsCodeByCode) {
  const int L = latest - cal.first();
  const int lastDay = cal.last() - cal.first();
  const Row rows[] = {
      {6, 120, 120, L, "start no earlier than"},
      {6, lastDay - 2, L, L, "a date beyond reach gives earliest = latest"},
      {7, 120, 50, 120, "start no later than; earliest is the current day"},
      {7, 20, 50, 50, "a date before the earliest start gives latest = earliest"},
      {4, 120, 116, 116, "finish on"},
      {4, 2, 0, 0, "a finish needing an earlier start clamps both to the earliest"},
      {3, 30, 0, 26, "finish no later than may start before the current day"},
      {5, 30, 30, 30, "start on may start before the current day"},
      {2, 30, 26, L, "finish no earlier than sets its own earliest start"},
      {2, lastDay, L, L, "finish no earlier than, capped at the latest start"},
      {0, 120, 50, 120, "as soon as possible: latest start its date"},
      {0, 20, 50, 50, "...or min_sd when later"},
      {0, lastDay, 50, 50, "...or min_sd when not before the calendar's latest start"},
      {0, L, 50, 50, "code 0 does not take a date equal to the latest start"},
      {9, L, 50, L, "another code does"},
      {1, 120, 50, L, "as late as possible: no forward bound"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    Limits l = forward(r.ct, day(r.date));
    EXPECT_EQ(l.minStart, day(r.wantMin));
    EXPECT_EQ(l.maxStart, day(r.wantMax));
    EXPECT_EQ(l.minFinish, l.minStart + 4);
    EXPECT_EQ(l.maxFinish, l.maxStart + 4);
    // min_sd: the later of the base earliest start and creation (day 10).
    EXPECT_EQ(l.minSd, day(r.ct >= 3 && r.ct <= 5 ? 10 : 50));
  }
  setProjectCreateDate(cal.proj(), day(70));
  EXPECT_EQ(forward(6, day(120)).minSd, day(70));  // creation later than the current day
}

TEST_F(Constraints, BackwardLimitsCodeByCode) {
  const Row rows[] = {
      {0, 120, 0, 296, "no bound: the project's finish (day 300)"},
      {3, 350, 0, 296, "finish codes cap their date at the project's finish"},
      {4, 350, 296, 296, "finish on, capped"},
      {2, 200, 196, 296, "finish no earlier than"},
      {5, 350, 296, 296, "start codes are clamped, not capped"},
      {1, 120, 120, 296, "as late as possible: its date, after creation (day 10)"},
      {1, 5, 296, 296, "...not after creation: the latest start"},
      {1, 380, 296, 296, "...the earlier of date and latest start"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    Limits l = backward(r.ct, day(r.date));
    EXPECT_EQ(l.minStart, day(r.wantMin));
    EXPECT_EQ(l.maxStart, day(r.wantMax));
    EXPECT_EQ(l.minSd, day(0));
  }
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

TEST_F(Constraints, AnItemWithoutADateDoesNotWidenTheCalendarBackToIt) {
  // Items without a constraint date carry a placeholder far in the past.
  const int32_t first = cal.first();
  for (int ct : {0, 1}) {
    Limits l = forward(ct, first - 18000);
    EXPECT_EQ(cal.first(), first) << "code " << ct;
    EXPECT_EQ(l.minStart, day(50));
  }
  EXPECT_EQ(log.text().find("projectExtendCalendarData"), std::string::npos);
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
