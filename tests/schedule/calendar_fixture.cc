// Hand-built project calendars for the scheduling tests.
#include "calendar_fixture.h"

#include <gtest/gtest.h>

#include <cstring>

#include "calendar/dates.h"

namespace schedtest {

namespace {
const int kOrigin = dayOfYearToJulian(1950, 1, 1);
}

Day dayOf(const std::vector<std::pair<int, int>>& ranges) {
  Day d{};
  for (auto [from, to] : ranges) {
    for (int m = from; m < to; m += 5) {
      const int k = m / 5;
      d[k / 8] = static_cast<unsigned char>(d[k / 8] | (0x80 >> (k % 8)));
    }
  }
  return d;
}

std::string hexOf(const Day& d) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(d.data(), buf);
  return buf;
}

Day standardDay() { return dayOf({{480, 720}, {780, 1020}}); }
Day emptyDay() { return Day{}; }

int32_t dayNumber(int y, int m, int d) { return dayOfYearToJulian(y, m, d) - kOrigin; }
int weekdayOf(int32_t n) { return julianToWeekDay(n + kOrigin); }

std::array<Day, 7> standardWeek() {
  std::array<Day, 7> w;
  for (int i = 0; i < 7; ++i) w[i] = (i == 0 || i == 6) ? emptyDay() : standardDay();
  return w;
}

CalendarSetup defaultCalendar(int size, std::map<int, Day> exceptions) {
  CalendarSetup s;
  s.first = dayNumber(2024, 1, 1);
  s.size = size;
  s.week = standardWeek();
  s.exceptions = std::move(exceptions);
  return s;
}

Calendar::Calendar(const CalendarSetup& setup) : setup_(setup) {
  proj_ = projectCreateNew("PRJ");
  sm_ = smanagerCreateNew();
  setProjectJulianDateOrigin(proj_, kOrigin);
  for (int w = 1; w <= 7; ++w) {
    EXPECT_EQ(setProjectBitsForDaysOfWeek(proj_, w, hexOf(setup_.week[w - 1]).c_str()), 1);
  }
  setProjectFirstDay(proj_, setup_.first);
  setProjectFirstDayOfWeek(proj_, weekdayOf(setup_.first));
  setProjectSizeOfCalendar(proj_, setup_.size);
  setProjectMinutesPerDay(proj_, setup_.minutesPerDay);
  setProjectCreateDate(proj_, setup_.first);
  setProjectCurrentDate(proj_, setup_.first);
  setProjectStartDate(proj_, setup_.first);
  setProjectFinishDate(proj_, setup_.first + setup_.size - 1);
  for (const auto& [c, bits] : setup_.exceptions) {
    EXPECT_EQ(setProjectExceptionDaysOfYear(proj_, c, weekdayOf(setup_.first + c), bits.data(), 1), 1);
  }
}

Calendar::~Calendar() {
  for (activity_type* a : items_) activityDelete(a);
  smanagerDelete(sm_);
  projectDelete(proj_);
}

Day Calendar::bits(int32_t date, int view) const {
  if (view == 1) {
    Day d;
    std::memcpy(d.data(), dayBitsDefault8H, DAY_BITS_BYTES);
    return d;
  }
  const int c = date - setup_.first;
  if (view == 0) {
    auto it = setup_.exceptions.find(c);
    if (it != setup_.exceptions.end()) return it->second;
  }
  return setup_.week[weekdayOf(date) - 1];
}

activity_type* Calendar::item(const std::string& name, int32_t effort, int32_t start,
                              int32_t finish, int16_t view, int16_t type) {
  activity_type* a = activityCreateNew(name.c_str(), type, proj_, start, finish, effort, 0, 0);
  a->effort = effort;
  a->ignoreHolesInCalendar = view;
  items_.push_back(a);
  return a;
}

Log::Log() : f_(std::tmpfile()) {}
Log::~Log() {
  if (f_ != nullptr) std::fclose(f_);
}
std::string Log::text() const {
  std::string out;
  if (f_ == nullptr) return out;
  std::fflush(f_);
  long end = std::ftell(f_);
  std::rewind(f_);
  out.resize(static_cast<size_t>(end));
  size_t got = std::fread(out.data(), 1, out.size(), f_);
  out.resize(got);
  std::fseek(f_, 0, SEEK_END);
  return out;
}

}  // namespace schedtest
