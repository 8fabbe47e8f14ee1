// Placement limits, the boundary check and the nearest-working-day searches
// (see calendar_reach.h).
#include "schedule/calendar_reach.h"

#include "calendar/dates.h"
#include "store/calendar_loader.h"

int scheduleExtendCalendar(project_type* proj, int32_t first_day, int32_t last_day, FILE* file) {
  return projectExtendCalendarData(proj, first_day, last_day, file != nullptr ? file : stdout);
}

void activityImposeLimitsOnStartAndFinishDates(const activity_type* this_act,
                                               int32_t* min_start_date, int32_t* max_start_date,
                                               int32_t* min_finish_date,
                                               int32_t* max_finish_date) {
  const project_type* p = this_act->proj;
  const int32_t d = handleDuration(this_act->duration);
  *min_start_date = p->first_day;
  *max_start_date = getProjectLastDayOfCalendar(p) - d + 1;
  *min_finish_date = *min_start_date + d - 1;
  *max_finish_date = *max_start_date + d - 1;
}

int activityIsOnBoundaryOfDates(activity_type* this_act, int32_t this_date, int /*this_time*/,
                                int isFinishDay, int toHigherDates, int32_t* min_start_date,
                                int32_t* max_start_date, int32_t* min_finish_date,
                                int32_t* max_finish_date, FILE* file) {
  bool inside;
  if (isFinishDay && toHigherDates) {
    inside = this_date <= *max_finish_date;
  } else if (isFinishDay) {
    inside = this_date >= *min_finish_date;
  } else if (toHigherDates) {
    inside = this_date <= *max_start_date;
  } else {
    inside = this_date >= *min_start_date;
  }
  if (inside) return 1;
  project_type* p = this_act->proj;
  const int32_t d = handleDuration(this_act->duration);
  if (toHigherDates) {
    scheduleExtendCalendar(p, p->first_day, *max_finish_date + d + CALENDAR_GROWTH_MARGIN, file);
  } else {
    const int32_t from = isFinishDay ? this_date - d + 1 : this_date;
    scheduleExtendCalendar(p, from, getProjectLastDayOfCalendar(p), file);
  }
  activityImposeLimitsOnStartAndFinishDates(this_act, min_start_date, max_start_date,
                                            min_finish_date, max_finish_date);
  return -1;
}

int activityFindClosestAveHigherDate(activity_type* this_act, int32_t* this_start_date,
                                     storage_manager_type* smanager, int first_time, FILE* file) {
  project_type* p = this_act->proj;
  int32_t lim[4];
  activityImposeLimitsOnStartAndFinishDates(this_act, &lim[0], &lim[1], &lim[2], &lim[3]);
  const int32_t c = *this_start_date - p->first_day;
  if (c < 0) {
    return activityIsOnBoundaryOfDates(this_act, *this_start_date, 0, 0, 0, &lim[0], &lim[1],
                                       &lim[2], &lim[3], file);
  }
  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;
  const int32_t n = p->size_of_calendar;
  int32_t k = c;
  while (k < n && ave[k] < 1) ++k;
  if (k >= n) {
    if (first_time) return activityFindClosestAveLowerDate(this_act, this_start_date, smanager, 0, file);
    return 0;
  }
  if (k > c && activityIsOnBoundaryOfDates(this_act, p->first_day + k, 0, 0, 1, &lim[0], &lim[1],
                                           &lim[2], &lim[3], file) == -1) {
    return -1;
  }
  *this_start_date = p->first_day + k;
  return 1;
}

int activityFindClosestAveLowerDate(activity_type* this_act, int32_t* this_finish_date,
                                    storage_manager_type* smanager, int first_time, FILE* file) {
  project_type* p = this_act->proj;
  int32_t lim[4];
  activityImposeLimitsOnStartAndFinishDates(this_act, &lim[0], &lim[1], &lim[2], &lim[3]);
  const int32_t c = *this_finish_date - p->first_day;
  if (c >= p->size_of_calendar) {
    return activityIsOnBoundaryOfDates(this_act, *this_finish_date, 0, 1, 1, &lim[0], &lim[1],
                                       &lim[2], &lim[3], file);
  }
  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;
  int32_t k = c;
  while (k >= 0 && ave[k] < 1) --k;
  if (k < 0) {
    if (first_time) return activityFindClosestAveHigherDate(this_act, this_finish_date, smanager, 0, file);
    return 0;
  }
  if (k < c && activityIsOnBoundaryOfDates(this_act, p->first_day + k, 0, 1, 0, &lim[0], &lim[1],
                                           &lim[2], &lim[3], file) == -1) {
    return -1;
  }
  *this_finish_date = p->first_day + k;
  return 1;
}

int activityFindClosestAveHigherDateBasedOnProjectCalendar(activity_type* this_act,
                                                           int32_t* this_start_date,
                                                           storage_manager_type* smanager,
                                                           FILE* file) {
  int r = activityFindClosestAveHigherDate(this_act, this_start_date, smanager, 1, file);
  if (r == -1) r = activityFindClosestAveHigherDate(this_act, this_start_date, smanager, 1, file);
  return r == -1 ? 0 : r;
}

int activityFindClosestAveLowerDateBasedOnProjectCalendar(activity_type* this_act,
                                                          int32_t* this_finish_date,
                                                          storage_manager_type* smanager,
                                                          FILE* file) {
  int r = activityFindClosestAveLowerDate(this_act, this_finish_date, smanager, 1, file);
  if (r == -1) r = activityFindClosestAveLowerDate(this_act, this_finish_date, smanager, 1, file);
  return r == -1 ? 0 : r;
}

namespace {
constexpr int kMaxShortDaysSteppedOver = 366;  // days of 1..4 minutes stepped over
}  // namespace

int activityMoveToNextAvailableDay(activity_type* this_act, storage_manager_type* smanager,
                                   int32_t* day, FILE* file) {
  int32_t d = *day;
  for (int step = 0; step <= kMaxShortDaysSteppedOver; ++step) {
    if (getProjectAveMinutesForGivenJulianDate(this_act, d) >= ACT_MIN_AVE_MINUTES) {
      *day = d;
      return 1;
    }
    int32_t found = d;
    if (activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, &found, smanager, file) !=
            1 ||
        found < d) {
      return 0;
    }
    // A day of 1 to 4 minutes is found but is not available: look past it.
    d = found == d ? d + 1 : found;
  }
  return 0;
}
