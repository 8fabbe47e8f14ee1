// Calendar lookups asked through an item: the day bits, available minutes
// and working start and finish of a day in the item's view of its project's
// calendar, and the project's dates as text.
#include <cstring>

#include "calendar/dates.h"
#include "calendar/project.h"

namespace {

// The day's bits in the view, written into out. Exceptions are looked up by
// walking the weekday's list (which leaves the list's position alone).
void dayBitsOf(const project_type* p, int view, int32_t c, unsigned char* out) {
  if (c < 0) {
    std::memset(out, 0, DAY_BITS_BYTES);
    return;
  }
  if (view == CAL_VIEW_NWE) {
    std::memcpy(out, p->day_bits_NWE, DAY_BITS_BYTES);
    return;
  }
  int w = getProjectDayOfWeekForDayCount(p, c);
  if (view == CAL_VIEW_PLAIN) {
    for (linktype* l = getProjectExceptionsForDayOfWeek(p, w)->phead; l != nullptr; l = l->pnext) {
      const day_effort_type* d = static_cast<const day_effort_type*>(l->pcontents);
      if (d->dayOfYear == c && d->day_bits != nullptr) {
        std::memcpy(out, d->day_bits, DAY_BITS_BYTES);
        return;
      }
    }
    if (c < p->size_of_calendar) {
      std::memcpy(out, getProjectPlainBitsForDayOfWeek(p, w), DAY_BITS_BYTES);
      return;
    }
  }
  std::memcpy(out, p->week_bits[w - 1], DAY_BITS_BYTES);
}


int32_t dayCountOf(const activity_type* a, int32_t date) { return date - a->proj->first_day; }

}  // namespace

int getActivityCalendarView(const activity_type* this_act) {
  int v = this_act->ignoreHolesInCalendar;
  return v == CAL_VIEW_NWE || v == CAL_VIEW_REG ? v : static_cast<int>(CAL_VIEW_PLAIN);
}

void getProjectDayBitsForDayCount(const activity_type* this_act, int32_t day_count,
                                  unsigned char* out) {
  dayBitsOf(this_act->proj, getActivityCalendarView(this_act), day_count, out);
}

unsigned char* getProjectDayBitsForGivenJulianDate(const activity_type* this_act, int32_t date) {
  unsigned char* out = new unsigned char[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(this_act, dayCountOf(this_act, date), out);
  return out;
}

int getProjectAveMinutesForDayCount(const activity_type* this_act, int32_t day_count) {
  if (day_count < 0) return 0;
  unsigned char bits[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(this_act, day_count, bits);
  return getAveMinutesFromDayBits(bits);
}

int getProjectAveMinutesForGivenJulianDate(const activity_type* this_act, int32_t date) {
  return getProjectAveMinutesForDayCount(this_act, dayCountOf(this_act, date));
}

int getProjectStartTimeMinutesForDayCount(const activity_type* this_act, int32_t day_count) {
  unsigned char bits[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(this_act, day_count, bits);
  return getStartTimeMinutesFromDayBits(bits);
}

int getProjectStartTimeMinutesForGivenJulianDate(const activity_type* this_act, int32_t date) {
  int32_t c = dayCountOf(this_act, date);
  return c < 0 ? 0 : getProjectStartTimeMinutesForDayCount(this_act, c);
}

int getProjectFinishTimeMinutesForDayCount(const activity_type* this_act, int32_t day_count) {
  unsigned char bits[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(this_act, day_count, bits);
  return getFinishTimeMinutesFromDayBits(bits);
}

int getProjectFinishTimeMinutesForGivenJulianDate(const activity_type* this_act, int32_t date) {
  int32_t c = dayCountOf(this_act, date);
  return c < 0 ? 0 : getProjectFinishTimeMinutesForDayCount(this_act, c);
}

int getProjectStartToFinishTimeMinutesForGivenJulianDate(const activity_type* this_act,
                                                         int32_t date) {
  int32_t c = dayCountOf(this_act, date);
  if (c < 0) return 0;
  unsigned char bits[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(this_act, c, bits);
  return getFinishTimeMinutesFromDayBits(bits) - getStartTimeMinutesFromDayBits(bits);
}

int getProjectAveMinutesWithinTimeIntervalForDayCount(const activity_type* this_act,
                                                      int32_t day_count, int fromTime,
                                                      int toTime) {
  if (day_count < 0) return 0;
  unsigned char bits[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(this_act, day_count, bits);
  return getAveMinutesWithinTimeIntervalFromDayBits(bits, fromTime, toTime);
}

int getProjectAveMinutesWithinTimeIntervalForGivenJulianDate(const activity_type* this_act,
                                                             int32_t date, int fromTime,
                                                             int toTime) {
  return getProjectAveMinutesWithinTimeIntervalForDayCount(this_act, dayCountOf(this_act, date),
                                                           fromTime, toTime);
}

int getProjectAveMinutesForDayOfWeek(const activity_type* this_act, int dayOfWeek) {
  const project_type* p = this_act->proj;
  if (getActivityCalendarView(this_act) == CAL_VIEW_NWE) return getAveMinutesFromDayBits(p->day_bits_NWE);
  if (dayOfWeek < 1 || dayOfWeek > 7) return 0;
  return getAveMinutesFromDayBits(p->week_bits[dayOfWeek - 1]);
}

char* getProjectFormatStartDate(const activity_type* this_act) {
  const project_type* p = this_act->proj;
  return julianToDateString(p->start_date + p->julianDateOrigin);
}

char* getProjectFormatFinishDate(const activity_type* this_act) {
  const project_type* p = this_act->proj;
  return julianToDateString(p->finish_date + p->julianDateOrigin);
}

char* getProjectFormatStartTime(const activity_type* this_act) {
  return getFormatTimeFromMinutes(
      getProjectStartTimeMinutesForGivenJulianDate(this_act, this_act->proj->start_date));
}

char* getProjectFormatFinishTime(const activity_type* this_act) {
  return getFormatTimeFromMinutes(
      getProjectFinishTimeMinutesForGivenJulianDate(this_act, this_act->proj->finish_date));
}
