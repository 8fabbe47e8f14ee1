// A placement that runs past the end of the loaded calendar grows the
// calendar through the store and succeeds on its second attempt, with the
// new days as the database holds them (a holiday in February is kept).
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "schedule/calendar_reach.h"
#include "schedule/placement.h"
#include "store/calendar_loader.h"
#include "support/test_db.h"

namespace schedtest {
namespace {

using testing::CalendarData;
using testing::TestDb;

const int kOrigin = dayOfYearToJulian(1950, 1, 1);
int32_t day(const char* text) { return dateStringToJulian(text) - kOrigin; }

// A project whose calendar is loaded for January 2024 only, while the
// database already holds February and March too, with 2024-02-05 a
// holiday.
class Growth : public ::testing::Test {
 protected:
  void SetUp() override {
    CalendarData jan;
    jan.from = "2024-01-01";
    jan.to = "2024-01-31";
    db.project({.id = "P", .start = "2024-01-01", .finish = "2024-03-31"}).calendar(jan);
    proj = projectCreateNew("P");
    ASSERT_EQ(doReadCalendarForOneSingleProjectDB(proj, kOrigin, "2024-01-01", 0, 0, log, 200141), 0);
    ASSERT_EQ(getProjectLastDayOfCalendar(proj), day("2024-01-31"));
    // The days after January, as the database holds them.
    for (int j = dateStringToJulian("2024-02-01"); j <= dateStringToJulian("2024-03-31"); ++j) {
      char text[DATE_TEXT_SIZE];
      transformJulianToDateString(j, text);
      const int w = julianToWeekDay(j);
      const bool off = w == 1 || w == 7 || std::string(text) == "2024-02-05";
      db.row("CALENDAR_DAY_OF_YEAR",
             {{"ELEMENT_ID", "P"},
              {"DAY_YEAR", text},
              {"DAY_WEEK", std::to_string(w)},
              {"BIT_SCHED", testing::dayBitsHex(off ? testing::DayBits{} : testing::standardDay())}});
    }
    sm = smanagerCreateNew();
    item = activityCreateNew("T", 3, proj, day("2024-01-22"), day("2024-01-22"), 480 * 25, 0, 0);
  }
  void TearDown() override {
    activityDelete(item);
    smanagerDelete(sm);
    projectDelete(proj);
    std::fclose(log);
  }

  TestDb db;
  FILE* log = std::tmpfile();
  project_type* proj = nullptr;
  storage_manager_type* sm = nullptr;
  activity_type* item = nullptr;
};

TEST_F(Growth, TheFirstAttemptGrowsTheCalendarAndAsksForARepeat) {
  int32_t s = item->start_date, f = s, d = 1;
  int sST, sFT, fST, fFT, os = 0, of = 0;
  EXPECT_EQ(activityScheduleFromStartDate(item, sm, &s, &f, &d, &sST, &sFT, &fST, &fFT, &os, &of, 1,
                                          log),
            -1);
  EXPECT_GT(getProjectLastDayOfCalendar(proj), day("2024-03-01"));
}

TEST_F(Growth, ThePlacementSucceedsOnTheSecondAttemptWithTheDatabasesDays) {
  ASSERT_EQ(activityScheduleFromStartDateBasedOnProjectCalendar(item, sm, log), 1);
  // 25 working days from Monday 22 January: 8 in January, and in February
  // the 1st, 2nd, 6th-9th (the 5th is a holiday), 12th-16th, 19th-23rd and
  // the 26th. Without the holiday read from the database it would be the
  // 23rd.
  EXPECT_EQ(item->start_date, day("2024-01-22"));
  EXPECT_EQ(item->finish_date, day("2024-02-26"));
  EXPECT_EQ(item->offset_finish_time, 0);
  EXPECT_EQ(item->duration, day("2024-02-26") - day("2024-01-22") + 1);
}

TEST_F(Growth, BackwardFromADayBeyondTheCalendarGrowsItFirst) {
  item->effort = 480 * 3;
  int32_t s = day("2024-02-07"), f = s, d = 1;
  int os = 0, of = 0;
  ASSERT_EQ(activityScheduleFromFinishDateSpecial(item, sm, &s, &f, &d, &os, &of, log), 1);
  EXPECT_EQ(f, day("2024-02-07"));
  // The 7th and the 6th, then over the holiday and the weekend to the 2nd.
  EXPECT_EQ(s, day("2024-02-02"));
}

}  // namespace
}  // namespace schedtest
