// Forward and backward placement of an item's effort on its calendar view,
// and the wrappers (see placement.h for units, rules and choices).
#include "schedule/placement.h"

#include <algorithm>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "schedule/calendar_reach.h"
#include "schedule/day_work.h"

namespace {

// A day of 5 minutes or fewer contributes nothing while effort is laid.
constexpr int kMaxNonWorkingMinutes = 5;
// A start (finish) day with fewer minutes moves to a working day first.
constexpr int kMinWorkingStartMinutes = 5;

// The values one placement works on, copied in from the caller's pointers
// and written back at the end.
struct Placement {
  int32_t start;
  int32_t finish;
  int32_t duration;
  int sST = 0, sFT = 0, fST = 0, fFT = 0;
  int offStart;
  int offFinish;
};

Placement readIn(const int32_t* sd, const int32_t* fd, const int32_t* dur, const int* os,
                 const int* of) {
  return Placement{*sd, *fd, *dur, 0, 0, 0, 0, *os, *of};
}

void writeOut(const Placement& v, int32_t* sd, int32_t* fd, int32_t* dur, int* sST, int* sFT,
              int* fST, int* fFT, int* os, int* of) {
  *sd = v.start;
  *fd = v.finish;
  *dur = v.duration;
  *sST = v.sST;
  *sFT = v.sFT;
  *fST = v.fST;
  *fFT = v.fFT;
  *os = v.offStart;
  *of = v.offFinish;
}

int32_t lastDayOf(const project_type* p) { return getProjectLastDayOfCalendar(p); }

// Bits of a day number in the item's view, with its working start and end.
void dayOf(const activity_type* a, int32_t date, unsigned char* bits, int* st, int* ft) {
  getProjectDayBitsForDayCount(a, date - a->proj->first_day, bits);
  *st = getStartTimeMinutesFromDayBits(bits);
  *ft = getFinishTimeMinutesFromDayBits(bits);
}

// True when some day of the view has more than 5 available minutes (the
// last entry of the minutes-sorted copy is the largest).
bool calendarHasWorkingDay(const activity_type* a, storage_manager_type* sm) {
  const int32_t* sorted = getProjectAveMinutesSorted(a, sm);
  const int32_t n = a->proj->size_of_calendar;
  return sorted != nullptr && n > 0 && sorted[n - 1] > kMaxNonWorkingMinutes;
}

}  // namespace

int activityScheduleFromStartDate(activity_type* this_act, storage_manager_type* smanager,
                                  int32_t* this_start_date, int32_t* this_finish_date,
                                  int32_t* this_duration, int* start_day_ST, int* start_day_FT,
                                  int* finish_day_ST, int* finish_day_FT,
                                  int* this_offset_start_time, int* this_offset_finish_time,
                                  int first_time, FILE* file) {
  project_type* p = this_act->proj;
  Placement v = readIn(this_start_date, this_finish_date, this_duration, this_offset_start_time,
                       this_offset_finish_time);
  const int32_t dur = handleDuration(v.duration);
  int32_t effort = std::max<int32_t>(this_act->effort, 0);

  // Falls back on the backward form from the calendar's last day.
  auto giveUp = [&]() {
    v.finish = lastDayOf(p);
    writeOut(v, this_start_date, this_finish_date, this_duration, start_day_ST, start_day_FT,
             finish_day_ST, finish_day_FT, this_offset_start_time, this_offset_finish_time);
    if (!first_time) return 0;
    *this_offset_finish_time = 0;
    return activityScheduleFromFinishDate(this_act, smanager, this_start_date, this_finish_date,
                                          this_duration, start_day_ST, start_day_FT, finish_day_ST,
                                          finish_day_FT, this_offset_start_time,
                                          this_offset_finish_time, 0, file);
  };

  // 1. Calendar range.
  if (v.start < p->first_day) scheduleExtendCalendar(p, v.start, lastDayOf(p), file);
  if (v.start < p->first_day) v.start = p->first_day;
  const int32_t reach = std::max(v.finish, v.start);
  if (reach >= lastDayOf(p)) {
    scheduleExtendCalendar(p, p->first_day, reach + dur + CALENDAR_GROWTH_MARGIN, file);
    if (reach >= lastDayOf(p)) return giveUp();
  }

  // 2. A working start day.
  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;
  if (ave[v.start - p->first_day] < kMinWorkingStartMinutes) {
    int r = this_act->constraint_type == 7
                ? activityFindClosestAveLowerDateBasedOnProjectCalendar(this_act, &v.start,
                                                                        smanager, file)
                : activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, &v.start,
                                                                         smanager, file);
    if (r != 1) return r;
    v.finish = v.start + dur - 1;
  }

  // 3. A partial first day.
  unsigned char sb[DAY_BITS_BYTES];
  dayOf(this_act, v.start, sb, &v.sST, &v.sFT);
  bool partial = false;
  if (v.offStart >= 1) {
    int t = v.sST + v.offStart;
    int probe = t + 5, next = 0;
    mountClosestRightAveTimeFromDayBits(sb, &probe, &next);
    if (next > t + 5) {
      v.offStart += next - (t + 5);
      t = next - 5;
    }
    if (effort <= v.sFT - t) {
      const int f = dayWorkFinish(sb, t, effort);
      if (f <= v.sFT) {
        v.finish = v.start;
        v.duration = 1;
        v.fST = v.sST;
        v.fFT = v.sFT;
        v.offFinish = v.sFT - f;
        writeOut(v, this_start_date, this_finish_date, this_duration, start_day_ST, start_day_FT,
                 finish_day_ST, finish_day_FT, this_offset_start_time, this_offset_finish_time);
        return 1;
      }
    }
    effort -= getAveMinutesWithinTimeIntervalFromDayBits(sb, t + 5, v.sFT);
    partial = true;
  }

  // 4. Some working day must exist.
  if (!calendarHasWorkingDay(this_act, smanager)) return giveUp();
  ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;

  // 5. Lay the effort day by day (at least one working day).
  int32_t lim[4];
  activityImposeLimitsOnStartAndFinishDates(this_act, &lim[0], &lim[1], &lim[2], &lim[3]);
  const int32_t last = lastDayOf(p);
  int32_t day = partial ? v.start + 1 : v.start;
  int32_t lastUsed = day;
  int lastAve = 0;
  bool used = false;
  for (;;) {
    if (day > last) {
      return activityIsOnBoundaryOfDates(this_act, day, 0, 1, 1, &lim[0], &lim[1], &lim[2],
                                         &lim[3], file);
    }
    const int a = ave[day - p->first_day];
    if (a <= kMaxNonWorkingMinutes) {
      if (!partial && !used) v.start = day + 1;
      ++day;
      continue;
    }
    effort -= a;
    lastUsed = day;
    lastAve = a;
    used = true;
    if (effort <= 0) break;
    ++day;
  }

  // 6. Results.
  if (!partial) dayOf(this_act, v.start, sb, &v.sST, &v.sFT);
  v.finish = lastUsed;
  v.duration = v.finish - v.start + 1;
  unsigned char fb[DAY_BITS_BYTES];
  dayOf(this_act, v.finish, fb, &v.fST, &v.fFT);
  if (effort == 0) {
    v.offFinish = 0;
  } else {
    const int f = std::min(dayWorkFinish(fb, v.fST, lastAve + effort), v.fFT);
    v.offFinish = v.fFT - f;
  }
  writeOut(v, this_start_date, this_finish_date, this_duration, start_day_ST, start_day_FT,
           finish_day_ST, finish_day_FT, this_offset_start_time, this_offset_finish_time);
  return 1;
}

int activityScheduleFromFinishDate(activity_type* this_act, storage_manager_type* smanager,
                                   int32_t* this_start_date, int32_t* this_finish_date,
                                   int32_t* this_duration, int* start_day_ST, int* start_day_FT,
                                   int* finish_day_ST, int* finish_day_FT,
                                   int* this_offset_start_time, int* this_offset_finish_time,
                                   int first_time, FILE* file) {
  project_type* p = this_act->proj;
  Placement v = readIn(this_start_date, this_finish_date, this_duration, this_offset_start_time,
                       this_offset_finish_time);
  const int32_t dur = handleDuration(v.duration);
  int32_t effort = std::max<int32_t>(this_act->effort, 0);

  // Falls back on the forward form from the calendar's first day.
  auto giveUp = [&]() {
    v.start = p->first_day;
    writeOut(v, this_start_date, this_finish_date, this_duration, start_day_ST, start_day_FT,
             finish_day_ST, finish_day_FT, this_offset_start_time, this_offset_finish_time);
    if (!first_time) return 0;
    *this_offset_start_time = 0;
    return activityScheduleFromStartDate(this_act, smanager, this_start_date, this_finish_date,
                                         this_duration, start_day_ST, start_day_FT, finish_day_ST,
                                         finish_day_FT, this_offset_start_time,
                                         this_offset_finish_time, 0, file);
  };

  // 1. Calendar range.
  if (v.start < p->first_day) scheduleExtendCalendar(p, v.start, lastDayOf(p), file);
  const int32_t reach = std::max(v.finish, v.start);
  if (reach >= lastDayOf(p)) {
    scheduleExtendCalendar(p, p->first_day, reach + dur + CALENDAR_GROWTH_MARGIN, file);
  }
  if (v.finish > lastDayOf(p)) v.finish = lastDayOf(p);
  if (v.start < p->first_day) return giveUp();

  // 2. A working finish day.
  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;
  if (v.finish < p->first_day) return giveUp();
  if (ave[v.finish - p->first_day] < kMinWorkingStartMinutes) {
    int r = this_act->constraint_type == 2
                ? activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, &v.finish,
                                                                         smanager, file)
                : activityFindClosestAveLowerDateBasedOnProjectCalendar(this_act, &v.finish,
                                                                        smanager, file);
    if (r != 1) return r;
    v.start = v.duration < 1 ? v.finish : v.finish - dur + 1;
  }

  // 3. A partial last day.
  unsigned char fb[DAY_BITS_BYTES];
  dayOf(this_act, v.finish, fb, &v.fST, &v.fFT);
  bool partial = false;
  if (v.offFinish >= 1) {
    int u = v.fFT - v.offFinish;
    int probe = u, prev = 0;
    mountClosestLeftAveTimeFromDayBits(fb, &probe, &prev);
    if (prev < u) {
      v.offFinish += u - prev;
      u = prev;
    }
    if (effort <= u - v.fST) {
      const int s = dayWorkStart(fb, u, effort);
      if (s >= v.fST) {
        v.start = v.finish;
        v.duration = 1;
        v.sST = v.fST;
        v.sFT = v.fFT;
        v.offStart = s - v.fST;
        writeOut(v, this_start_date, this_finish_date, this_duration, start_day_ST, start_day_FT,
                 finish_day_ST, finish_day_FT, this_offset_start_time, this_offset_finish_time);
        return 1;
      }
    }
    effort -= getAveMinutesWithinTimeIntervalFromDayBits(fb, 5, u);
    partial = true;
  }

  // 4. Some working day must exist.
  if (!calendarHasWorkingDay(this_act, smanager)) return giveUp();
  ave = getProjectAveMinutes(this_act, smanager);
  if (ave == nullptr) return 0;

  // 5. Lay the effort day by day downwards (at least one working day).
  int32_t lim[4];
  activityImposeLimitsOnStartAndFinishDates(this_act, &lim[0], &lim[1], &lim[2], &lim[3]);
  int32_t day = partial ? v.finish - 1 : v.finish;
  int32_t firstUsed = day;
  int firstAve = 0;
  bool used = false;
  for (;;) {
    if (day < p->first_day) {
      return activityIsOnBoundaryOfDates(this_act, day, 0, 0, 0, &lim[0], &lim[1], &lim[2],
                                         &lim[3], file);
    }
    const int a = ave[day - p->first_day];
    if (a <= kMaxNonWorkingMinutes) {
      if (!partial && !used) v.finish = day - 1;
      --day;
      continue;
    }
    effort -= a;
    firstUsed = day;
    firstAve = a;
    used = true;
    if (effort <= 0) break;
    --day;
  }

  // 6. Results.
  if (!partial) dayOf(this_act, v.finish, fb, &v.fST, &v.fFT);
  v.start = firstUsed;
  v.duration = v.finish - v.start + 1;
  unsigned char sb[DAY_BITS_BYTES];
  dayOf(this_act, v.start, sb, &v.sST, &v.sFT);
  if (effort == 0) {
    v.offStart = 0;
  } else {
    const int s = std::max(dayWorkStart(sb, v.sFT, firstAve + effort), v.sST);
    v.offStart = s - v.sST;
  }
  writeOut(v, this_start_date, this_finish_date, this_duration, start_day_ST, start_day_FT,
           finish_day_ST, finish_day_FT, this_offset_start_time, this_offset_finish_time);
  return 1;
}

void activityApplyShortEffortRule(const activity_type* this_act, int32_t* this_start_date,
                                  int32_t* this_finish_date, int32_t* this_duration,
                                  int* this_offset_start_time, int* this_offset_finish_time,
                                  int start_day_ST, int start_day_FT) {
  if (this_act->effort > 5) return;
  if (*this_start_date == *this_finish_date) {
    const int f = start_day_FT - *this_offset_finish_time - start_day_ST;
    const int s = *this_offset_start_time;
    if (f - s < 6) {
      *this_offset_finish_time = start_day_FT - start_day_ST - s;
    } else {
      *this_offset_start_time = f;
    }
  } else {
    *this_finish_date = *this_start_date;
    *this_duration = 1;
    *this_offset_finish_time = 0;
    *this_offset_start_time = start_day_FT - start_day_ST;
  }
}

namespace {

using PlacementForm = int (*)(activity_type*, storage_manager_type*, int32_t*, int32_t*, int32_t*,
                              int*, int*, int*, int*, int*, int*, int, FILE*);

// One placement with first_time 1, repeated once after -1 from the values
// first handed in, then the short-effort rule; written back on success.
int placeSpecial(PlacementForm form, activity_type* a, storage_manager_type* sm, int32_t* sd,
                 int32_t* fd, int32_t* dur, int* os, int* of, FILE* file) {
  int r = 0;
  int32_t s, f, d;
  int o1, o2, sST, sFT, fST, fFT;
  for (int attempt = 0; attempt < 2; ++attempt) {
    s = *sd;
    f = *fd;
    d = *dur;
    o1 = *os;
    o2 = *of;
    r = form(a, sm, &s, &f, &d, &sST, &sFT, &fST, &fFT, &o1, &o2, 1, file);
    if (r != -1) break;
  }
  if (r != 1) return 0;
  activityApplyShortEffortRule(a, &s, &f, &d, &o1, &o2, sST, sFT);
  *sd = s;
  *fd = f;
  *dur = d;
  *os = o1;
  *of = o2;
  return 1;
}

int placeItem(PlacementForm form, activity_type* a, storage_manager_type* sm, FILE* file) {
  int32_t s = a->start_date, f = a->finish_date, d = a->duration;
  int os = a->offset_start_time, of = a->offset_finish_time;
  if (!placeSpecial(form, a, sm, &s, &f, &d, &os, &of, file)) return 0;
  setActivityStartDate(a, s);
  setActivityFinishDate(a, f);
  setActivityDuration(a, d);
  setActivityTimeOffsetFromStart(a, os);
  setActivityTimeOffsetFromFinish(a, of);
  return 1;
}

}  // namespace

int activityScheduleFromStartDateSpecial(activity_type* this_act, storage_manager_type* smanager,
                                         int32_t* this_start_date, int32_t* this_finish_date,
                                         int32_t* this_duration, int* this_offset_start_time,
                                         int* this_offset_finish_time, FILE* file) {
  return placeSpecial(activityScheduleFromStartDate, this_act, smanager, this_start_date,
                      this_finish_date, this_duration, this_offset_start_time,
                      this_offset_finish_time, file);
}

int activityScheduleFromFinishDateSpecial(activity_type* this_act, storage_manager_type* smanager,
                                          int32_t* this_start_date, int32_t* this_finish_date,
                                          int32_t* this_duration, int* this_offset_start_time,
                                          int* this_offset_finish_time, FILE* file) {
  return placeSpecial(activityScheduleFromFinishDate, this_act, smanager, this_start_date,
                      this_finish_date, this_duration, this_offset_start_time,
                      this_offset_finish_time, file);
}

int activityScheduleFromStartDateBasedOnProjectCalendar(activity_type* this_act,
                                                        storage_manager_type* smanager,
                                                        FILE* file) {
  return placeItem(activityScheduleFromStartDate, this_act, smanager, file);
}

int activityScheduleFromFinishDateBasedOnProjectCalendar(activity_type* this_act,
                                                         storage_manager_type* smanager,
                                                         FILE* file) {
  return placeItem(activityScheduleFromFinishDate, this_act, smanager, file);
}
