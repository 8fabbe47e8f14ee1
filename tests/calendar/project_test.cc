// The project's working calendar: lookups in the three views against the
// days as they were loaded, before and after the exception lists are
// optimised; the availability arrays, their sorting and their eviction.
#include "calendar/project.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/work_times.h"
#include "model/assignment.h"

namespace {

using Day = std::array<unsigned char, DAY_BITS_BYTES>;

Day slots(std::initializer_list<std::pair<int, int>> ranges) {
  Day d{};
  for (auto [from, to] : ranges) {
    for (int m = from; m < to; m += 5) d[m / 40] |= static_cast<unsigned char>(0x80 >> ((m / 5) % 8));
  }
  return d;
}

std::string hexOf(const Day& d) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(d.data(), buf);
  return buf;
}

const Day kStandard = slots({{480, 720}, {780, 1020}});
const Day kEmpty{};
const Day kMorning = slots({{480, 720}});
const Day kShort = slots({{480, 720}, {780, 900}});

// A calendar of `n` days from day number `first` (weekday `firstDow`), filled
// the way the loader fills it: days that differ from their weekday's pattern
// become exceptions, the others regular days. Returns the days' true bits.
std::vector<Day> loadCalendar(project_type* p, int first, int firstDow, int n) {
  for (int w = 1; w <= 7; ++w) {
    bool weekend = w == 1 || w == 7;
    EXPECT_EQ(setProjectBitsForDaysOfWeek(p, w, hexOf(weekend ? kEmpty : kStandard).c_str()), 1);
  }
  setProjectFirstDay(p, first);
  setProjectFirstDayOfWeek(p, firstDow);
  setProjectMinutesPerDay(p, 480);
  std::vector<Day> truth;
  for (int c = 0; c < n; ++c) {
    int w = getProjectDayOfWeekForDayCount(p, c);
    Day d = (w == 1 || w == 7) ? kEmpty : kStandard;
    if (w == 6 && c % 5 != 0) d = kMorning;   // most Fridays end at noon
    if (w == 3 && c % 21 == 0) d = kShort;    // some short Tuesdays
    if (c % 37 == 5 && w != 1 && w != 7) d = kEmpty;  // holidays
    if (w == 7 && c % 28 == 0) d = kMorning;  // a few working Saturdays
    truth.push_back(d);
    const unsigned char* pattern = getProjectSchedBitsForDayOfWeek(p, w);
    if (std::memcmp(d.data(), pattern, DAY_BITS_BYTES) != 0) {
      EXPECT_EQ(setProjectExceptionDaysOfYear(p, c, w, d.data(), 1), 1);
    } else {
      EXPECT_EQ(setProjectRegDaysOfYear(p, c, w, d.data(), 1), 1);
    }
  }
  setProjectSizeOfCalendar(p, n);
  return truth;
}

activity_type* itemOn(project_type* p, int16_t view) {
  activity_type* a = activityCreateNew("item", 3, p, 0, 0, 480, 0, 0);
  a->ignoreHolesInCalendar = view;
  return a;
}

int exceptionCount(const project_type* p) {
  int n = 0;
  for (int w = 1; w <= 7; ++w) n += ll_size(getProjectExceptionsForDayOfWeek(p, w));
  return n;
}

// Every day of the loaded range and a margin around it, in all three views.
void expectViews(project_type* p, const std::vector<Day>& truth, storage_manager_type* sm) {
  activity_type* plain = itemOn(p, CAL_VIEW_PLAIN);
  activity_type* nwe = itemOn(p, CAL_VIEW_NWE);
  activity_type* reg = itemOn(p, CAL_VIEW_REG);
  const int n = static_cast<int>(truth.size());
  const int32_t* aveMinutes = getProjectAveMinutes(plain, sm);
  const int32_t* aveReg = getProjectAveMinutes(reg, sm);
  const int32_t* aveNwe = getProjectAveMinutes(nwe, sm);
  ASSERT_NE(aveMinutes, nullptr);
  for (int c = -3; c < n + 10; ++c) {
    int date = p->first_day + c;
    Day got{};
    getProjectDayBitsForDayCount(plain, c, got.data());
    int w = getProjectDayOfWeekForDayCount(p, c);
    const unsigned char* weekly = getProjectSchedBitsForDayOfWeek(p, w);
    if (c < 0) {
      EXPECT_EQ(got, kEmpty);
      EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(plain, date), 0);
      EXPECT_EQ(getProjectStartTimeMinutesForGivenJulianDate(plain, date), 0);
      continue;
    }
    Day expected = kEmpty;
    if (c < n) expected = truth[c];
    else std::memcpy(expected.data(), weekly, DAY_BITS_BYTES);  // beyond the loaded days
    EXPECT_EQ(got, expected) << "plain view, day count " << c;
    int minutes = getAveMinutesFromDayBits(expected.data());
    EXPECT_EQ(getProjectAveMinutesForGivenJulianDate(plain, date), minutes) << c;
    EXPECT_EQ(getProjectStartTimeMinutesForGivenJulianDate(plain, date),
              getStartTimeMinutesFromDayBits(expected.data()));
    EXPECT_EQ(getProjectFinishTimeMinutesForGivenJulianDate(plain, date),
              getFinishTimeMinutesFromDayBits(expected.data()));
    EXPECT_EQ(getProjectAveMinutesWithinTimeIntervalForGivenJulianDate(plain, date, 605, 1020),
              getAveMinutesWithinTimeIntervalFromDayBits(expected.data(), 605, 1020));
    if (c < n) {
      EXPECT_EQ(aveMinutes[c], minutes) << c;
    }

    getProjectDayBitsForDayCount(reg, c, got.data());
    EXPECT_EQ(std::memcmp(got.data(), weekly, DAY_BITS_BYTES), 0) << "weekly view " << c;
    if (c < n) {
      EXPECT_EQ(aveReg[c], getAveMinutesFromDayBits(weekly));
    }

    getProjectDayBitsForDayCount(nwe, c, got.data());
    EXPECT_EQ(std::memcmp(got.data(), dayBitsDefault8H, DAY_BITS_BYTES), 0) << "standard " << c;
    EXPECT_EQ(getProjectStartToFinishTimeMinutesForGivenJulianDate(nwe, date), 540);
    if (c < n) {
      EXPECT_EQ(aveNwe[c], 480);
    }
  }
  activityDelete(plain);
  activityDelete(nwe);
  activityDelete(reg);
}

}  // namespace

TEST(ProjectCalendar, ViewsAgreeWithLoadedDaysBeforeAndAfterOptimisation) {
  project_type* p = projectCreateNew("P1");
  storage_manager_type* sm = smanagerCreateNew();
  std::vector<Day> truth = loadCalendar(p, 1000, 4, 400);
  int before = exceptionCount(p);
  expectViews(p, truth, sm);

  projectOptimizeExceptionsList(p);
  EXPECT_EQ(ll_size(getProjectRegDaysList(p)), 0);
  // Fridays mostly end at noon: the noon day becomes Friday's fallback, so
  // the list keeps only the full Fridays and the holidays.
  EXPECT_LT(exceptionCount(p), before / 2);
  EXPECT_EQ(std::memcmp(getProjectPlainBitsForDayOfWeek(p, 6), kMorning.data(), DAY_BITS_BYTES), 0);
  EXPECT_EQ(std::memcmp(getProjectSchedBitsForDayOfWeek(p, 6), kStandard.data(), DAY_BITS_BYTES), 0);
  expectViews(p, truth, sm);

  // A day read later is stored against the fallback: a full Friday is an
  // exception now, a noon Friday is not.
  int c = 400;
  while (getProjectDayOfWeekForDayCount(p, c) != 6) ++c;
  setProjectExceptionDaysOfYear(p, c, 6, kStandard.data(), 1);
  setProjectExceptionDaysOfYear(p, c + 7, 6, kMorning.data(), 1);
  setProjectSizeOfCalendar(p, c + 8);
  p->resize_ave = 1;
  while (static_cast<int>(truth.size()) < c + 8) {
    int w = getProjectDayOfWeekForDayCount(p, static_cast<int>(truth.size()));
    Day d = (w == 1 || w == 7) ? kEmpty : kStandard;
    if (w == 6) d = kMorning;
    truth.push_back(d);
  }
  truth[c] = kStandard;
  expectViews(p, truth, sm);

  smanagerDelete(sm);
  projectDelete(p);
}

TEST(ProjectCalendar, WeekdaysAndExceptionsByDayCount) {
  project_type* p = projectCreateNew("P2");
  std::vector<Day> truth = loadCalendar(p, 0, 4, 14);
  // Day count 0 is a Wednesday, day count 4 a Sunday.
  EXPECT_EQ(getProjectDayOfWeekForDayCount(p, 0), 4);
  EXPECT_EQ(getProjectDayOfWeekForDayCount(p, 4), 1);
  EXPECT_EQ(getProjectDayOfWeekForDayCount(p, -1), 3);
  // Day count 5 is a holiday on a Monday: stored in mon_exc.
  ASSERT_EQ(ll_size(getProjectExceptionsForMon(p)), 1);
  ll_head(getProjectExceptionsForMon(p));
  EXPECT_EQ(static_cast<day_effort_type*>(ll_retrieve(getProjectExceptionsForMon(p)))->dayOfYear, 5);
  // An exception equal to the weekly pattern is not stored.
  int32_t wednesdays = ll_size(getProjectExceptionsForWen(p));
  EXPECT_EQ(setProjectExceptionDaysOfYear(p, 7, 4, kStandard.data(), 1), 1);
  EXPECT_EQ(ll_size(getProjectExceptionsForWen(p)), wednesdays);
  // Bad weekdays and a bad day text are refused.
  EXPECT_EQ(setProjectExceptionDaysOfYear(p, 7, 8, kEmpty.data(), 1), 0);
  EXPECT_EQ(setProjectRegDaysOfYear(p, 7, 0, kEmpty.data(), 1), 0);
  EXPECT_EQ(setProjectRegDaysOfYear(p, 7, 4, kEmpty.data(), 1), 0);  // differs from the pattern
  EXPECT_EQ(setProjectBitsForDaysOfWeek(p, 2, "12ab"), 0);
  EXPECT_EQ(setProjectBitsForDaysOfWeek(p, 9, hexOf(kStandard).c_str()), 0);
  // Upper- and lower-case schedule texts set the same pattern.
  std::string hex = hexOf(kShort);
  for (char& ch : hex) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  EXPECT_EQ(setProjectBitsForDaysOfWeek(p, 3, hex.c_str()), 1);
  EXPECT_EQ(std::memcmp(getProjectSchedBitsForDayOfWeek(p, 3), kShort.data(), DAY_BITS_BYTES), 0);
  EXPECT_EQ(setProjectBitsForDaysOfWeek(p, 3, hexOf(kStandard).c_str()), 1);

  // The base-calendar exceptions carry their calendar date.
  setProjectJulianDateOrigin(p, dayOfYearToJulian(1950, 1, 1));
  setProjectBaseCalExceptions(p, dayOfYearToJulian(2004, 7, 4) - p->julianDateOrigin, 1, 0,
                              kEmpty.data());
  ll_head(getProjectBaseCalExcList(p));
  auto* exc = static_cast<day_of_year_type*>(ll_retrieve(getProjectBaseCalExcList(p)));
  EXPECT_EQ(exc->year, 2004);
  EXPECT_EQ(exc->mm, 7);
  EXPECT_EQ(exc->dd, 4);

  // A copy answers the same and outlives the original.
  project_type* copy = projectCopyCreateNew(p, "P2copy", "ROOT", nullptr);
  projectDelete(p);
  EXPECT_STREQ(copy->name, "P2copy");
  EXPECT_STREQ(getProjectRootProjectName(copy), "ROOT");
  expectViews(copy, truth, nullptr);
  projectDelete(copy);
}

TEST(ProjectCalendar, ArraysFollowResizeAndSortBothWays) {
  project_type* p = projectCreateNew("P3");
  std::vector<Day> truth = loadCalendar(p, 0, 2, 60);
  activity_type* a = itemOn(p, CAL_VIEW_PLAIN);
  storage_manager_type* sm = smanagerCreateNew();

  int32_t* sorted = getProjectAveMinutesSorted(a, sm);
  int32_t* days = getProjectAveDaysSortedByAveMin(a, sm);
  for (int i = 0; i + 1 < 60; ++i) {
    ASSERT_LE(sorted[i], sorted[i + 1]);
    if (sorted[i] == sorted[i + 1]) {
      EXPECT_LT(days[i], days[i + 1]) << "stable by day";
    }
  }
  for (int i = 0; i < 60; ++i) EXPECT_EQ(sorted[i], getAveMinutesFromDayBits(truth[days[i]].data()));

  // Running sums over day counts agree with the days one by one, also while
  // the primary pair is in minutes order.
  auto sumOfDays = [&](int from, int to) {
    int64_t sum = 0;
    for (int c = from; c <= to; ++c) sum += getAveMinutesFromDayBits(truth[c].data());
    return sum;
  };
  const std::pair<int, int> ranges[] = {{0, 59}, {3, 3}, {5, 4}, {17, 44}, {58, 59}};
  for (auto [from, to] : ranges) {
    EXPECT_EQ(getProjectAveMinutesBetweenDayCounts(a, sm, from, to), sumOfDays(from, to));
  }
  EXPECT_EQ(getProjectAveMinutesBetweenDayCounts(a, sm, -1, 10), -1);
  EXPECT_EQ(getProjectAveMinutesBetweenDayCounts(a, sm, 0, 60), -1);

  // Sorting the primary pair by minutes, then back by days.
  char* log = nullptr;
  size_t logSize = 0;
  FILE* file = open_memstream(&log, &logSize);
  projectDoSyncSortOfAveMinutes(a, sm, 0, 0, file);
  EXPECT_EQ(p->ave_min_are_sorted, 1);
  EXPECT_EQ(std::memcmp(p->ave_minutes, sorted, 60 * sizeof(int32_t)), 0);
  delete[] p->ave_prefix[CAL_VIEW_PLAIN];  // rebuilt from the minutes-ordered pair
  p->ave_prefix[CAL_VIEW_PLAIN] = nullptr;
  EXPECT_EQ(getProjectAveMinutesBetweenDayCounts(a, sm, 17, 44), sumOfDays(17, 44));
  projectDoSyncSortOfAveMinutes(a, sm, 0, 0, file);  // already sorted: message, no change
  std::fflush(file);
  EXPECT_NE(std::string(log).find("\n*** error in projectDoSyncSortOfAveMinutes(): ave_minutes are "
                                  "sorted already !!! pp->ave_min_are_sorted= 1 "
                                  "pp->ave_days_are_sorted= 0 \n"),
            std::string::npos);
  EXPECT_EQ(std::memcmp(p->ave_minutes, sorted, 60 * sizeof(int32_t)), 0);
  projectDoSyncSortOfAveDays(a, sm, 0, 0, file);
  for (int i = 0; i < 60; ++i) {
    EXPECT_EQ(p->ave_days[i], i);
    EXPECT_EQ(p->ave_minutes[i], getAveMinutesFromDayBits(truth[i].data()));
  }
  // The weekly view names its own fields in the message.
  a->ignoreHolesInCalendar = CAL_VIEW_REG;
  projectDoSyncSortOfAveDays(a, sm, 0, 0, file);
  std::fclose(file);
  EXPECT_NE(std::string(log).find("ave_days_REG are sorted already !!! pp->ave_days_are_sorted_REG= 1 "
                                  "pp->ave_min_are_sorted_REG= 0 \n"),
            std::string::npos);
  std::free(log);
  a->ignoreHolesInCalendar = CAL_VIEW_PLAIN;

  // After the calendar grows the arrays come back at the new size.
  setProjectSizeOfCalendar(p, 90);
  p->resize_ave = 1;
  p->resize_ave_sorted = 1;
  int32_t* grown = getProjectAveMinutes(a, sm);
  EXPECT_EQ(p->ave_len[CAL_VIEW_PLAIN], 90);
  EXPECT_EQ(p->resize_ave, 0);
  EXPECT_EQ(grown[89], getProjectAveMinutesForDayCount(a, 89));
  int64_t grownSum = 0;
  for (int c = 50; c < 90; ++c) grownSum += getProjectAveMinutesForDayCount(a, c);
  EXPECT_EQ(getProjectAveMinutesBetweenDayCounts(a, sm, 50, 89), grownSum);
  EXPECT_NE(getProjectAveMinutesSorted(a, sm), nullptr);
  EXPECT_EQ(p->ave_sorted_len[CAL_VIEW_PLAIN], 90);

  activityDelete(a);
  smanagerDelete(sm);
  projectDelete(p);
}

TEST(ProjectCalendar, StoragePoolEvictsTheOldestProject) {
  project_type* p1 = projectCreateNew("A");
  project_type* p2 = projectCreateNew("B");
  loadCalendar(p1, 0, 1, 30);
  loadCalendar(p2, 0, 1, 30);
  activity_type* a1 = itemOn(p1, CAL_VIEW_PLAIN);
  activity_type* a2 = itemOn(p2, CAL_VIEW_PLAIN);

  storage_manager_type* sm = smanagerCreateNew();  // pool of 1
  for (int round = 0; round < 3; ++round) {
    ASSERT_NE(getProjectAveMinutes(a1, sm), nullptr);
    EXPECT_EQ(p2->ave_minutes, nullptr) << "B was evicted when A came back";
    ASSERT_NE(getProjectAveMinutes(a2, sm), nullptr);
    EXPECT_EQ(p1->ave_minutes, nullptr);
    EXPECT_EQ(sm->curr_project, p2);
  }
  smanagerDelete(sm);

  sm = smanagerCreateNew();
  setSmanagerProjectsPoolSize(sm, 50);
  projectDeleteAveData(p2);  // a manager hears of a project when it builds its arrays
  int32_t* keep1 = getProjectAveMinutes(a1, sm);
  int32_t* keep2 = getProjectAveMinutes(a2, sm);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(getProjectAveMinutes(a1, sm), keep1);
    EXPECT_EQ(getProjectAveMinutes(a2, sm), keep2);
  }
  EXPECT_EQ(ll_size(sm->stored_projects_list), 2);
  smanagerDelete(sm);

  activityDelete(a1);
  activityDelete(a2);
  projectDelete(p1);
  projectDelete(p2);
}

TEST(ProjectCalendar, DatesAndTimesAsText) {
  project_type* p = projectCreateNew("P4");
  loadCalendar(p, 100, 2, 30);  // day number 100 is a Monday
  setProjectJulianDateOrigin(p, dayOfYearToJulian(1950, 1, 1));
  setProjectStartDate(p, 104);   // a Friday, ends at noon
  setProjectFinishDate(p, 101);  // a Tuesday
  activity_type* a = itemOn(p, CAL_VIEW_PLAIN);
  char* s = getProjectFormatStartDate(a);
  EXPECT_STREQ(s, "1950-04-15");
  delete[] s;
  s = getProjectFormatStartTime(a);
  EXPECT_STREQ(s, "08:00:00.000000");
  delete[] s;
  s = getProjectFormatFinishTime(a);
  EXPECT_STREQ(s, "17:00:00.000000");
  delete[] s;

  // A work record from Tuesday 08:30 to the Friday 11:00.
  work_type* w = workCreateNew("ASS", "item");
  setWorkStartDate(w, 101);
  setWorkFinishDate(w, 104);
  setWorkTimeOffsetFromStart(w, 30);
  setWorkTimeOffsetFromFinish(w, 60);
  EXPECT_EQ(getWorkProjStartTimeMinForSD(w, a), 510);
  EXPECT_EQ(getWorkProjFinishTimeMinForFD(w, a), 660);
  char buf[TIME_STAMP_TEXT_SIZE];
  workProjFormatStartTime_AIX(w, a, buf);
  EXPECT_STREQ(buf, "08:30:00.000000");
  s = getWorkProjFormatFinishTime(w, a);
  EXPECT_STREQ(s, "11:00:00.000000");
  delete[] s;
  workProjFormatFinishDate_AIX(w, a, buf);
  EXPECT_STREQ(buf, "1950-04-15");
  s = getWorkProjFormatStartDate(w, a);
  EXPECT_STREQ(s, "1950-04-12");
  delete[] s;
  workDelete(w);
  activityDelete(a);
  projectDelete(p);
}
