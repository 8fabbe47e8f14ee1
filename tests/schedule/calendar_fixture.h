// Hand-built project calendars for the scheduling tests: a weekly pattern,
// exception days, and the true bits of every loaded day kept beside them so
// that a test can ask what a day really holds without going through the
// code under test. Items made through a Calendar are released with it.
//
// Units: day numbers relative to the origin 1950-01-01 (as the run sets
// julianDateOrigin); times minutes after midnight.
#ifndef LEVELER_TESTS_SCHEDULE_CALENDAR_FIXTURE_H
#define LEVELER_TESTS_SCHEDULE_CALENDAR_FIXTURE_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"

namespace schedtest {

using Day = std::array<unsigned char, DAY_BITS_BYTES>;

// A day from [from, to) minute ranges (multiples of 5).
Day dayOf(const std::vector<std::pair<int, int>>& ranges);
std::string hexOf(const Day& d);
Day standardDay();  // 08:00-12:00, 13:00-17:00
Day emptyDay();

// Day number (origin 1950-01-01) of a date, and its weekday (1 = Sunday).
int32_t dayNumber(int y, int m, int d);
int weekdayOf(int32_t dayNumber);

struct CalendarSetup {
  int32_t first = 0;        // day number of day count 0
  int size = 0;             // days loaded
  std::array<Day, 7> week;  // index = weekday - 1 (0 = Sunday)
  std::map<int, Day> exceptions;  // by day count
  int16_t minutesPerDay = 480;
};

// The five-day week of standard days, weekends empty.
std::array<Day, 7> standardWeek();

class Calendar {
 public:
  explicit Calendar(const CalendarSetup& setup);
  ~Calendar();
  Calendar(const Calendar&) = delete;
  Calendar& operator=(const Calendar&) = delete;

  project_type* proj() const { return proj_; }
  storage_manager_type* sm() const { return sm_; }
  int32_t first() const { return setup_.first; }
  int32_t last() const { return setup_.first + setup_.size - 1; }
  // The true bits of a day in a view (0 plain, 1 standard day, 2 weekly).
  Day bits(int32_t date, int view = 0) const;

  // A task on this calendar (released with the calendar). Its effort is
  // stored as given (0 allowed), unlike activityCreateNew's minimum of 5.
  activity_type* item(const std::string& name, int32_t effort, int32_t start, int32_t finish,
                      int16_t view = 0, int16_t type = 3);

 private:
  CalendarSetup setup_;
  project_type* proj_ = nullptr;
  storage_manager_type* sm_ = nullptr;
  std::vector<activity_type*> items_;
};

// The default calendar: 2024-01-01 (a Monday) on, `size` days, five-day
// standard week, no exceptions unless given.
CalendarSetup defaultCalendar(int size = 400, std::map<int, Day> exceptions = {});

// A log stream for the code under test (a temporary file), closed at scope
// end; text() reads back what was written.
class Log {
 public:
  Log();
  ~Log();
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;
  FILE* f() const { return f_; }
  std::string text() const;

 private:
  FILE* f_;
};

}  // namespace schedtest

#endif
