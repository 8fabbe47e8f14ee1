// How far an item may reach on its project's calendar: the placement limits,
// the boundary check that grows the calendar when a day falls outside them,
// and the searches for the nearest working day.
//
// Units: dates are day numbers (Julian day number minus julianDateOrigin);
// a day count is a day number minus the project's first_day; durations are
// calendar days (below 1 counts as 1). The calendar's last day L is
// first_day + size_of_calendar - 1. Availability is read from the item's
// view (its ignoreHolesInCalendar) through the project's availability array.
//
// Limits of an item with duration D on a calendar [P, L]:
//   min_start_date = P, max_start_date = L - D + 1,
//   min_finish_date = P + D - 1, max_finish_date = L.
//
// Results follow the scheduling primitives' convention: 1 done, 0 failed,
// -1 the calendar was grown and the caller must repeat its call (once).
// Growing goes through projectExtendCalendarData (the store reads the new
// days); when the store cannot grow it the check still answers -1, so a
// caller that repeats once and then gives up never loops.
//
// Choices where the rules leave room:
// - Growing towards lower dates extends the calendar down to the outside
//   day (for a finish day, to that day - D + 1, where the item would start),
//   since a call "from min_start_date" (= first_day) would change nothing.
// - The nearest-working-day searches scan the availability array from the
//   given day instead of sorting it by minutes over the rest of the
//   calendar and back: the day found is the same, the cost is the distance
//   walked rather than a sort of the whole calendar, and the shared arrays
//   are never seen out of day order. The boundary check of the steps
//   walked is made once, on the day found: the limit is a single threshold,
//   so the first step outside it fails exactly when the day found does.
// - A day before the calendar given to the higher search (after the
//   calendar, to the lower search) is a boundary case: the calendar is grown
//   towards it and the result is -1.
// - The BasedOnProjectCalendar searches run their search with first_time 1
//   (one fallback to the opposite direction).
//
// Printing: only projectExtendCalendarData prints (to file, or to stdout
// when file is null).
#ifndef LEVELER_SCHEDULE_CALENDAR_REACH_H
#define LEVELER_SCHEDULE_CALENDAR_REACH_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"

// Days of headroom added whenever a calendar must grow past its end.
inline constexpr int32_t CALENDAR_GROWTH_MARGIN = 400;

void activityImposeLimitsOnStartAndFinishDates(const activity_type* this_act,
                                               int32_t* min_start_date, int32_t* max_start_date,
                                               int32_t* min_finish_date, int32_t* max_finish_date);

// 1 when this_date lies inside the limits for the side asked (finish or
// start, towards higher or lower dates); otherwise grows the calendar,
// recomputes the four limits and returns -1. Never 0. this_time is not
// used (the limits are whole days).
int activityIsOnBoundaryOfDates(activity_type* this_act, int32_t this_date, int this_time,
                                int isFinishDay, int toHigherDates, int32_t* min_start_date,
                                int32_t* max_start_date, int32_t* min_finish_date,
                                int32_t* max_finish_date, FILE* file);

// Moves *this_start_date to the nearest day at or after it with at least 1
// available minute (1). With none up to the calendar's end: with first_time
// set the lower search runs instead (first_time 0), else 0. -1 when the
// step onto the day found left the limits (the calendar was grown).
int activityFindClosestAveHigherDate(activity_type* this_act, int32_t* this_start_date,
                                     storage_manager_type* smanager, int first_time, FILE* file);
// The mirror image: the nearest day at or before *this_finish_date.
int activityFindClosestAveLowerDate(activity_type* this_act, int32_t* this_finish_date,
                                    storage_manager_type* smanager, int first_time, FILE* file);
// The same, repeated once after a -1; a second -1 becomes 0.
int activityFindClosestAveHigherDateBasedOnProjectCalendar(activity_type* this_act,
                                                           int32_t* this_start_date,
                                                           storage_manager_type* smanager,
                                                           FILE* file);
int activityFindClosestAveLowerDateBasedOnProjectCalendar(activity_type* this_act,
                                                          int32_t* this_finish_date,
                                                          storage_manager_type* smanager,
                                                          FILE* file);

// Grows the project's calendar to cover [first_day, last_day] through the
// store: 0 or a negative SQL status.
int scheduleExtendCalendar(project_type* proj, int32_t first_day, int32_t last_day, FILE* file);

inline constexpr int ACT_MIN_AVE_MINUTES = 5;  // minutes of an available day

// Moves *day to the first available day at or after it (5 minutes or more
// on the item's calendar view), growing the calendar when needed. 1 done,
// 0 when there is none.
int activityMoveToNextAvailableDay(activity_type* this_act, storage_manager_type* smanager,
                                   int32_t* day, FILE* file);

#endif
