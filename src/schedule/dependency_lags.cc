// Shifting a point by a dependency lag on an item's calendar view (see
// dependency_lags.h for the rules and choices).
#include "schedule/dependency_lags.h"

#include <algorithm>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "schedule/calendar_reach.h"
#include "schedule/day_work.h"

namespace {

// A day of 5 minutes or fewer takes no lag while it is laid across days.
constexpr int kMaxNonWorkingMinutes = 5;
// A point's own day with fewer minutes sends the lag to the following days.
constexpr int kMinWorkingMinutes = 5;
// The adjacent day counts as the next (previous) working day above this.
constexpr int kMinAdjacentMinutes = 4;

struct Point {
  activity_type* act;
  storage_manager_type* sm;
  int32_t* date;
  int* time;
  int32_t* duration;
  bool isFinish;
  bool lowEffort;  // effort below 6 minutes: stays at a day's ends
  FILE* file;
};

struct Day {
  unsigned char bits[DAY_BITS_BYTES];
  int st;
  int ft;
};

Day dayOf(const activity_type* a, int32_t date) {
  Day d;
  getProjectDayBitsForDayCount(a, date - a->proj->first_day, d.bits);
  d.st = getStartTimeMinutesFromDayBits(d.bits);
  d.ft = getFinishTimeMinutesFromDayBits(d.bits);
  return d;
}

int settle(const Point& pt, int32_t date, int time) {
  *pt.date = date;
  *pt.time = time;
  return 1;
}

void reduceDuration(const Point& pt) { *pt.duration = std::max<int32_t>(*pt.duration - 1, 1); }

// Checks a day against the loaded calendar (growing it when outside).
int checkInside(const Point& pt, int32_t date, bool higher) {
  int32_t lim[4];
  activityImposeLimitsOnStartAndFinishDates(pt.act, &lim[0], &lim[1], &lim[2], &lim[3]);
  return higher ? activityIsOnBoundaryOfDates(pt.act, date, 0, 1, 1, &lim[0], &lim[1], &lim[2],
                                              &lim[3], pt.file)
                : activityIsOnBoundaryOfDates(pt.act, date, 0, 0, 0, &lim[0], &lim[1], &lim[2],
                                              &lim[3], pt.file);
}

// The next working day's working start after day d.
int toNextWorkingStart(const Point& pt, int32_t d, bool reduce) {
  const int32_t next = d + 1;
  int r = checkInside(pt, next, true);
  if (r != 1) return r;
  if (getProjectAveMinutesForDayCount(pt.act, next - pt.act->proj->first_day) > kMinAdjacentMinutes) {
    if (reduce) reduceDuration(pt);
    return settle(pt, next, dayOf(pt.act, next).st);
  }
  int32_t w = next;
  r = activityFindClosestAveHigherDate(pt.act, &w, pt.sm, 1, pt.file);
  if (r != 1) return r;
  return settle(pt, w, dayOf(pt.act, w).st);
}

// The previous working day's working end before day d.
int toPreviousWorkingEnd(const Point& pt, int32_t d, bool reduce) {
  const int32_t prev = d - 1;
  int r = checkInside(pt, prev, false);
  if (r != 1) return r;
  if (getProjectAveMinutesForDayCount(pt.act, prev - pt.act->proj->first_day) > kMinAdjacentMinutes) {
    if (reduce) reduceDuration(pt);
    return settle(pt, prev, dayOf(pt.act, prev).ft);
  }
  int32_t w = prev;
  r = activityFindClosestAveLowerDate(pt.act, &w, pt.sm, 1, pt.file);
  if (r != 1) return r;
  return settle(pt, w, dayOf(pt.act, w).ft);
}

// Calendar coverage of the point's day; moves a point the calendar could
// not be grown to cover onto its nearest working day.
int cover(const Point& pt, int32_t* d, int* t, bool zeroLagFinishAtEnd) {
  project_type* p = pt.act->proj;
  const int32_t dur = handleDuration(*pt.duration);
  if (*d < p->first_day) scheduleExtendCalendar(p, *d, getProjectLastDayOfCalendar(p), pt.file);
  if (*d > getProjectLastDayOfCalendar(p) - dur + 1) {
    scheduleExtendCalendar(p, p->first_day, *d + dur + CALENDAR_GROWTH_MARGIN, pt.file);
  }
  const int32_t maxStart = getProjectLastDayOfCalendar(p) - dur + 1;
  if (*d < p->first_day) {
    int32_t w = p->first_day;
    int r = activityFindClosestAveHigherDateBasedOnProjectCalendar(pt.act, &w, pt.sm, pt.file);
    if (r != 1) return r;
    *d = w;
    *t = zeroLagFinishAtEnd ? dayOf(pt.act, w).ft : dayOf(pt.act, w).st;
  } else if (*d > maxStart) {
    int32_t w = maxStart;
    int r = activityFindClosestAveLowerDateBasedOnProjectCalendar(pt.act, &w, pt.sm, pt.file);
    if (r != 1) return r;
    *d = w;
    *t = pt.isFinish ? dayOf(pt.act, w).ft : dayOf(pt.act, w).st;
  }
  return 1;
}

// Lays `remaining` minutes over the days from `from` on (later), at least
// one working day, and settles the point where they run out.
int layForward(const Point& pt, int32_t from, int32_t remaining) {
  project_type* p = pt.act->proj;
  const int32_t* ave = getProjectAveMinutes(pt.act, pt.sm);
  if (ave == nullptr) return 0;
  const int32_t last = getProjectLastDayOfCalendar(p);
  int32_t day = from;
  int32_t used = from;
  int usedAve = 0;
  for (;;) {
    if (day > last) return checkInside(pt, day, true);
    const int a = ave[day - p->first_day];
    if (a <= kMaxNonWorkingMinutes) {
      ++day;
      continue;
    }
    remaining -= a;
    used = day;
    usedAve = a;
    if (remaining <= 0) break;
    ++day;
  }
  const Day d = dayOf(pt.act, used);
  if (remaining == 0) {
    if (!pt.isFinish && !pt.lowEffort) return toNextWorkingStart(pt, used, true);
    return settle(pt, used, d.ft);
  }
  return settle(pt, used, std::min(dayWorkFinish(d.bits, d.st, usedAve + remaining), d.ft));
}

// Lays `remaining` minutes over the days from `from` back (earlier).
int layBackward(const Point& pt, int32_t from, int32_t remaining) {
  project_type* p = pt.act->proj;
  const int32_t* ave = getProjectAveMinutes(pt.act, pt.sm);
  if (ave == nullptr) return 0;
  int32_t day = from;
  int32_t used = from;
  int usedAve = 0;
  for (;;) {
    if (day < p->first_day) return checkInside(pt, day, false);
    const int a = ave[day - p->first_day];
    if (a <= kMaxNonWorkingMinutes) {
      --day;
      continue;
    }
    remaining -= a;
    used = day;
    usedAve = a;
    if (remaining <= 0) break;
    --day;
  }
  const Day d = dayOf(pt.act, used);
  if (remaining == 0) {
    if (pt.isFinish && !pt.lowEffort) return toPreviousWorkingEnd(pt, used, true);
    return settle(pt, used, d.st);
  }
  return settle(pt, used, std::max(dayWorkStart(d.bits, d.ft, usedAve + remaining), d.st));
}

Point pointOf(activity_type* a, storage_manager_type* sm, int32_t* date, int* time,
              int32_t* duration, int isFinishDay, FILE* file) {
  return Point{a, sm, date, time, duration, isFinishDay != 0, a->effort < 6, file};
}

}  // namespace

int activityShiftToHigherDatesBasedOnDepLag(activity_type* this_act, storage_manager_type* smanager,
                                            int32_t* this_date, int* this_time,
                                            int32_t* this_duration, int isFinishDay,
                                            int lag_minutes, FILE* file) {
  if (lag_minutes < 0) {
    return activityShiftToLowerDatesBasedOnDepLag(this_act, smanager, this_date, this_time,
                                                  this_duration, isFinishDay, lag_minutes, file);
  }
  const Point pt = pointOf(this_act, smanager, this_date, this_time, this_duration, isFinishDay, file);
  const int lag = lag_minutes;
  int32_t d = *this_date;
  int t = *this_time;
  int r = cover(pt, &d, &t, pt.isFinish && lag == 0);
  if (r != 1) return r;

  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;
  if (ave[d - this_act->proj->first_day] < kMinWorkingMinutes) return layForward(pt, d + 1, lag);

  const Day day = dayOf(this_act, d);
  int u = t + lag;
  if (u <= day.ft && lag > 0) u = dayWorkFinish(day.bits, t, lag);
  if (u > day.ft) {
    return layForward(pt, d + 1, lag - getAveMinutesWithinTimeIntervalFromDayBits(day.bits, t + 5, day.ft));
  }
  if (u == day.ft) {
    if (pt.isFinish || pt.lowEffort) return settle(pt, d, day.ft);
    return toNextWorkingStart(pt, d, true);
  }
  if (u < day.st) {
    if (!pt.isFinish) return settle(pt, d, day.st);
    return toPreviousWorkingEnd(pt, d, false);
  }
  if (u == day.st) {
    if (!pt.isFinish || pt.lowEffort) return settle(pt, d, u);
    return toPreviousWorkingEnd(pt, d, true);
  }
  if (!daySlotEndingAtIsAvailable(day.bits, u)) {
    int probe = u, next = 0;
    mountClosestRightAveTimeFromDayBits(day.bits, &probe, &next);
    u = probe;
  }
  return settle(pt, d, u);
}

int activityShiftToLowerDatesBasedOnDepLag(activity_type* this_act, storage_manager_type* smanager,
                                           int32_t* this_date, int* this_time,
                                           int32_t* this_duration, int isFinishDay,
                                           int lag_minutes, FILE* file) {
  if (lag_minutes > 0) {
    return activityShiftToHigherDatesBasedOnDepLag(this_act, smanager, this_date, this_time,
                                                   this_duration, isFinishDay, lag_minutes, file);
  }
  const Point pt = pointOf(this_act, smanager, this_date, this_time, this_duration, isFinishDay, file);
  const int lead = -lag_minutes;
  int32_t d = *this_date;
  int t = *this_time;
  int r = cover(pt, &d, &t, pt.isFinish);
  if (r != 1) return r;

  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;
  if (ave[d - this_act->proj->first_day] < kMinWorkingMinutes) return layBackward(pt, d - 1, lead);

  const Day day = dayOf(this_act, d);
  int u = t - lead;
  if (lead > 0 && u >= day.st) u = dayWorkStart(day.bits, t, lead);
  if (u < day.st) {
    return layBackward(pt, d - 1, lead - getAveMinutesWithinTimeIntervalFromDayBits(day.bits, 5, t));
  }
  if (u == day.st) {
    if (!pt.isFinish || pt.lowEffort) return settle(pt, d, day.st);
    return toPreviousWorkingEnd(pt, d, true);
  }
  if (u > day.ft) {
    if (pt.isFinish) return settle(pt, d, day.ft);
    return toNextWorkingStart(pt, d, false);
  }
  if (u == day.ft) {
    if (pt.isFinish || pt.lowEffort) return settle(pt, d, day.ft);
    return toNextWorkingStart(pt, d, true);
  }
  if (!daySlotEndingAtIsAvailable(day.bits, u)) {
    int probe = u, prev = 0;
    mountClosestLeftAveTimeFromDayBits(day.bits, &probe, &prev);
    u = probe;
  }
  return settle(pt, d, u);
}

int activityAdjustSuccDateAndTimeWithPred(activity_type* this_act, storage_manager_type* smanager,
                                          int32_t* this_date, int* this_time,
                                          int32_t* this_duration, int dep_type, int lag_minutes,
                                          FILE* file) {
  const int isFinishDay = (dep_type == 0 || dep_type == 2) ? 1 : 0;
  if (lag_minutes < 0) {
    return activityShiftToLowerDatesBasedOnDepLag(this_act, smanager, this_date, this_time,
                                                  this_duration, isFinishDay, lag_minutes, file);
  }
  return activityShiftToHigherDatesBasedOnDepLag(this_act, smanager, this_date, this_time,
                                                 this_duration, isFinishDay, lag_minutes, file);
}

int activityAdjustPredDateAndTimeWithSucc(activity_type* this_act, storage_manager_type* smanager,
                                          int32_t* this_date, int* this_time,
                                          int32_t* this_duration, int dep_type, int lag_minutes,
                                          FILE* file) {
  const int isFinishDay = (dep_type == 0 || dep_type == 1) ? 1 : 0;
  if (lag_minutes < 1) {
    return activityShiftToLowerDatesBasedOnDepLag(this_act, smanager, this_date, this_time,
                                                  this_duration, isFinishDay, lag_minutes, file);
  }
  return activityShiftToHigherDatesBasedOnDepLag(this_act, smanager, this_date, this_time,
                                                 this_duration, isFinishDay, lag_minutes, file);
}
