// Calendars read from a real database: every day's bits in the three views
// against the days as written, for a whole read and for a read widened
// downwards and upwards later; the error paths of the reads.
#include "store/calendar_loader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "support/test_db.h"

namespace {

using testing::CalendarData;
using testing::DayBits;
using testing::TestDb;

const int kOrigin = dayOfYearToJulian(1950, 1, 1);

int dayNumber(const char* text) { return dateStringToJulian(text) - kOrigin; }

// Days of 2022-2026: a five-day week whose Fridays mostly end at noon,
// holidays, a short day, a working Saturday and missing days.
struct Scenario {
  CalendarData cal;
  std::map<int, DayBits> truth;  // day number -> bits (days with a row or inside gaps)
};

Scenario fridayNoonCalendar() {
  Scenario s;
  s.cal.from = "2022-01-01";
  s.cal.to = "2026-12-31";
  s.cal.holidays = {"2022-12-26", "2023-07-04", "2024-01-01", "2024-07-04", "2025-12-25"};
  s.cal.missing = {"2023-03-15", "2024-02-07", "2024-02-08", "2025-05-05"};
  std::map<std::string, int> shortDays = {{"2024-12-24", 720}, {"2023-11-22", 900}};
  for (const auto& sd : shortDays) s.cal.shortDays.push_back(sd);
  std::set<std::string> hol(s.cal.holidays.begin(), s.cal.holidays.end());
  std::set<std::string> miss(s.cal.missing.begin(), s.cal.missing.end());
  // Fridays end at noon except in the first week of each month.
  for (int j = dateStringToJulian("2022-01-01"); j <= dateStringToJulian("2026-12-31"); ++j) {
    int y, m, d;
    julianToDate(j, &y, &m, &d);
    char day[DATE_TEXT_SIZE];
    transformJulianToDateString(j, day);
    if (julianToWeekDay(j) == 6 && d > 7 && !hol.count(day)) s.cal.shortDays.push_back({day, 720});
    if (julianToWeekDay(j) == 7 && d <= 7 && m == 6) s.cal.shortDays.push_back({day, 1020});
  }
  std::map<std::string, int> allShort(s.cal.shortDays.begin(), s.cal.shortDays.end());
  for (int j = dateStringToJulian("2022-01-01"); j <= dateStringToJulian("2026-12-31"); ++j) {
    char day[DATE_TEXT_SIZE];
    transformJulianToDateString(j, day);
    int w = julianToWeekDay(j);
    DayBits bits = (w == 1 || w == 7) ? DayBits{} : testing::standardDay();
    auto sd = allShort.find(day);
    if (sd != allShort.end()) {
      bits = sd->second <= 720 ? testing::dayBits({{480, sd->second}})
                               : testing::dayBits({{480, 720}, {780, sd->second}});
    }
    if (hol.count(day) || miss.count(day)) bits = DayBits{};
    s.truth[j - kOrigin] = bits;
  }
  return s;
}

activity_type* itemOn(project_type* p, int16_t view) {
  activity_type* a = activityCreateNew("item", 3, p, 0, 0, 480, 0, 0);
  a->ignoreHolesInCalendar = view;
  return a;
}

// Every day of [from, to] in the three views.
void expectDays(project_type* p, const std::map<int, DayBits>& truth, int from, int to,
                const char* what) {
  activity_type* plain = itemOn(p, CAL_VIEW_PLAIN);
  activity_type* reg = itemOn(p, CAL_VIEW_REG);
  activity_type* nwe = itemOn(p, CAL_VIEW_NWE);
  storage_manager_type* sm = smanagerCreateNew();
  const int32_t* ave = getProjectAveMinutes(plain, sm);
  int mismatches = 0;
  for (int d = from; d <= to && mismatches < 5; ++d) {
    unsigned char* got = getProjectDayBitsForGivenJulianDate(plain, d);
    const DayBits& want = truth.at(d);
    if (std::memcmp(got, want.data(), DAY_BITS_BYTES) != 0) {
      ++mismatches;
      char day[DATE_TEXT_SIZE];
      transformJulianToDateString(d + kOrigin, day);
      ADD_FAILURE() << what << ": plain view differs on " << day;
    }
    delete[] got;
    EXPECT_EQ(ave[d - p->first_day], getAveMinutesFromDayBits(want.data())) << what << " " << d;
    int w = julianToWeekDay(d + kOrigin);
    EXPECT_EQ(getProjectDayOfWeekForDayCount(p, d - p->first_day), w);
    EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(reg, d), w == 1 || w == 7 ? 0 : 480);
    EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(nwe, d), 480);
  }
  smanagerDelete(sm);
  activityDelete(plain);
  activityDelete(reg);
  activityDelete(nwe);
}

int exceptionCount(const project_type* p) {
  int n = 0;
  for (int w = 1; w <= 7; ++w) n += ll_size(getProjectExceptionsForDayOfWeek(p, w));
  return n;
}

std::string captured(FILE* f) {
  std::fflush(f);
  std::rewind(f);
  std::string out;
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  return out;
}

}  // namespace

TEST(CalendarLoader, WholeReadAndWidenedReadGiveTheSameDays) {
  Scenario s = fridayNoonCalendar();
  TestDb db;
  db.project({.id = "PRJ", .start = "2024-01-08", .finish = "2024-12-20"}).calendar(s.cal);
  FILE* log = std::tmpfile();

  // The whole range in one read, with and without optimised exception lists.
  for (int optimize = 0; optimize <= 1; ++optimize) {
    project_type* whole = projectCreateNew("PRJ");
    ASSERT_EQ(doReadCalendarForOneSingleProjectDB(whole, kOrigin, "2022-01-01", optimize, 0, log,
                                                  200141),
              0);
    EXPECT_EQ(whole->first_day, dayNumber("2022-01-01"));
    EXPECT_EQ(whole->first_day_of_week, 7);  // a Saturday
    EXPECT_EQ(whole->size_of_calendar, dayNumber("2026-12-31") - dayNumber("2022-01-01") + 1);
    EXPECT_EQ(whole->minutes_per_day, 480);
    EXPECT_EQ(whole->julianDateOrigin, kOrigin);
    if (optimize) {
      // Noon Fridays are the rule: the list keeps the few full Fridays.
      EXPECT_LT(ll_size(getProjectExceptionsForFri(whole)), 80);
      EXPECT_EQ(ll_size(getProjectRegDaysList(whole)), 0);
    } else {
      EXPECT_GT(ll_size(getProjectExceptionsForFri(whole)), 180);
    }
    expectDays(whole, s.truth, dayNumber("2022-01-01"), dayNumber("2026-12-31"), "whole read");
    projectDelete(whole);
  }

  // From 2024 on, then widened one day down: the range moves 401 days back.
  project_type* p = projectCreateNew("PRJ");
  ASSERT_EQ(doReadCalendarForOneSingleProjectDB(p, kOrigin, "2024-01-01", 1, 0, log, 200141), 0);
  int oldFirst = p->first_day;
  int oldLast = getProjectLastDayOfCalendar(p);
  EXPECT_EQ(p->first_day_of_week, 2);  // 2024-01-01 is a Monday
  ASSERT_EQ(projectExtendCalendarData(p, oldFirst - 1, oldLast, log), 0);
  EXPECT_EQ(p->first_day, oldFirst - 401);
  EXPECT_EQ(p->original_first_day, p->first_day);
  EXPECT_EQ(p->first_day_of_week, julianToWeekDay(p->first_day + kOrigin));
  EXPECT_EQ(getProjectLastDayOfCalendar(p), oldLast);
  expectDays(p, s.truth, p->first_day, oldLast, "widened down");

  // Widening up to a day already inside reads nothing.
  int before = exceptionCount(p);
  int64_t prepares = db.store().prepareCount();
  ASSERT_EQ(projectExtendCalendarData(p, p->first_day + 10, oldLast - 5, log), 0);
  EXPECT_EQ(getProjectLastDayOfCalendar(p), oldLast);
  EXPECT_EQ(exceptionCount(p), before);
  EXPECT_EQ(db.store().prepareCount(), prepares);
  EXPECT_NE(captured(log).find("projectExtendCalendar: return here because nothing to extend !!!"),
            std::string::npos);

  // Widening past the end: days the store has no row for follow the weekly
  // pattern, even where the plain view falls back on the noon Friday.
  ASSERT_EQ(projectExtendCalendarData(p, p->first_day, oldLast + 30, log), 0);
  EXPECT_EQ(getProjectLastDayOfCalendar(p), oldLast + 30 + 400);
  std::map<int, DayBits> beyond = s.truth;
  for (int d = oldLast + 1; d <= oldLast + 430; ++d) {
    int w = julianToWeekDay(d + kOrigin);
    beyond[d] = (w == 1 || w == 7) ? DayBits{} : testing::standardDay();
  }
  expectDays(p, beyond, p->first_day, oldLast + 430, "widened up");
  projectDelete(p);
  std::fclose(log);
}

TEST(CalendarLoader, RowsAddedLaterAreReadWhenWideningUp) {
  TestDb db;
  CalendarData cal;
  cal.from = "2024-01-01";
  cal.to = "2024-01-31";
  db.project({.id = "P", .start = "2024-01-01", .finish = "2024-01-31"}).calendar(cal);
  project_type* p = projectCreateNew("P");
  FILE* log = std::tmpfile();
  ASSERT_EQ(doReadCalendarForOneSingleProjectDB(p, kOrigin, "2024-01-01", 0, 0, log, 200141), 0);
  EXPECT_EQ(p->size_of_calendar, 31);
  // February arrives, with a gap (Feb 5 and 6 missing) and a holiday.
  CalendarData feb;
  feb.from = "2024-02-01";
  feb.to = "2024-02-29";
  feb.holidays = {"2024-02-19"};
  feb.missing = {"2024-02-05", "2024-02-06"};
  for (int j = dateStringToJulian("2024-02-01"); j <= dateStringToJulian("2024-02-29"); ++j) {
    char day[DATE_TEXT_SIZE];
    transformJulianToDateString(j, day);
    std::string d = day;
    if (d == "2024-02-05" || d == "2024-02-06") continue;
    DayBits bits = (julianToWeekDay(j) == 1 || julianToWeekDay(j) == 7 || d == "2024-02-19")
                       ? DayBits{}
                       : testing::standardDay();
    db.row("CALENDAR_DAY_OF_YEAR", {{"ELEMENT_ID", "P"},
                                    {"DAY_YEAR", d},
                                    {"DAY_WEEK", std::to_string(julianToWeekDay(j))},
                                    {"BIT_SCHED", testing::dayBitsHex(bits)}});
  }
  ASSERT_EQ(projectExtendCalendarData(p, p->first_day, dayNumber("2024-02-10"), log), 0);
  activity_type* a = itemOn(p, CAL_VIEW_PLAIN);
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-01-31")), 480);
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-02-02")), 480);
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-02-05")), 0);  // missing
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-02-06")), 0);  // missing
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-02-07")), 480);
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-02-19")), 0);  // holiday
  EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(a, dayNumber("2024-03-04")), 480);  // no row
  // The boundary day is not recorded twice.
  int jan31 = 0;
  linked_list_type* wed = getProjectExceptionsForWen(p);
  for (linktype* l = wed->phead; l != nullptr; l = l->pnext) {
    if (static_cast<day_effort_type*>(l->pcontents)->dayOfYear == 30) ++jan31;
  }
  EXPECT_EQ(jan31, 0);
  activityDelete(a);
  projectDelete(p);
  std::fclose(log);
}

TEST(CalendarLoader, MissingCalendarAndBaseExceptions) {
  TestDb db;
  CalendarData cal;
  cal.from = "2024-01-01";
  cal.to = "2024-03-31";
  db.project({.id = "P", .start = "2024-01-01", .finish = "2024-03-31"}).calendar(cal);
  db.row("KOR_CALENDARS", {{"ELEMENT_ID", "BASE"}, {"PARENT_ID", "NULL"}, {"RANK", "P"},
                           {"TYPE_ID", "27"}, {"MINUTES_PER_DAY", "480"}});
  db.baseCalendarException("BASE", "2024-05-27", DayBits{});
  db.baseCalendarException("P", "2023-12-25", testing::dayBits({{480, 600}}));
  FILE* log = std::tmpfile();

  project_type* none = projectCreateNew("NOPE");
  EXPECT_EQ(doReadCalendarForOneSingleProjectDB(none, kOrigin, "2024-01-01", 0, 0, log, 200141),
            200141);
  EXPECT_EQ(doReadBaseCalendarExceptionsDB(none, kOrigin, log, 200143), 200143);
  std::string text = captured(log);
  EXPECT_NE(text.find("\n\n***** error(D-14)/data corruption for project in Lev_inputDataDB "
                      "(doReadCalendarForOneSingleProjectDB) \nerror type: no data for project id "),
            std::string::npos);
  EXPECT_NE(text.find("***** error(D-16)/data corruption for project in Lev_inputDataDB "
                      "(doReadBaseCalendarExceptionsDB) \nerror type: not existing external project"),
            std::string::npos);
  projectDelete(none);

  project_type* p = projectCreateNew("P");
  ASSERT_EQ(doReadCalendarForOneSingleProjectDB(p, kOrigin, "2024-01-01", 0, 0, log, 200141), 0);
  ASSERT_EQ(doReadBaseCalendarExceptionsDB(p, kOrigin, log, 200143), 0);
  // Both calendars share the project's rank: their exceptions come in date
  // order, the one before the calendar's first day with its weekday counted
  // backwards.
  ASSERT_EQ(ll_size(getProjectBaseCalExcList(p)), 2);
  ll_head(getProjectBaseCalExcList(p));
  auto* first = static_cast<day_of_year_type*>(ll_retrieve(getProjectBaseCalExcList(p)));
  EXPECT_EQ(first->julian, dayNumber("2023-12-25"));
  EXPECT_EQ(first->dow, 2);  // a Monday
  EXPECT_EQ(first->effort, 120);
  ll_next(getProjectBaseCalExcList(p));
  auto* second = static_cast<day_of_year_type*>(ll_retrieve(getProjectBaseCalExcList(p)));
  EXPECT_EQ(second->year, 2024);
  EXPECT_EQ(second->mm, 5);
  EXPECT_EQ(second->dd, 27);
  EXPECT_EQ(second->dow, 2);
  EXPECT_EQ(second->effort, 0);

  // A failing statement reports the store's error line.
  db.store().executeScript("drop table CALENDAR_DAY_OF_YEAR");
  project_type* broken = projectCreateNew("P");
  EXPECT_LT(doReadCalendarForOneSingleProjectDB(broken, kOrigin, "2024-01-01", 0, 0, log, 200141), 0);
  EXPECT_NE(captured(log).find("****** error (2) in Lev_resolveDepOracleDB "
                               "(doReadCalendarForOneSingleProjectDB): SC_STATE = "),
            std::string::npos);
  EXPECT_LT(projectExtendCalendarData(p, p->first_day, getProjectLastDayOfCalendar(p) + 1, log), 0);
  EXPECT_NE(captured(log).find(" ****** error (1) in projectExtendCalendarExceptionDataToHigherDatesDB: "
                               "SC_STATE = "),
            std::string::npos);
  // A failed downward widening leaves the calendar as it was.
  int firstDay = p->first_day, dow = p->first_day_of_week, size = p->size_of_calendar;
  int holidays = ll_size(getProjectExceptionsForMon(p));
  EXPECT_LT(projectExtendCalendarData(p, firstDay - 1, getProjectLastDayOfCalendar(p), log), 0);
  EXPECT_EQ(p->first_day, firstDay);
  EXPECT_EQ(p->first_day_of_week, dow);
  EXPECT_EQ(p->size_of_calendar, size);
  EXPECT_EQ(ll_size(getProjectExceptionsForMon(p)), holidays);
  projectDelete(broken);
  projectDelete(p);
  std::fclose(log);
}
