// Dependency lags: moving a point (day, clock time) of an item by a lag of
// working minutes on that item's calendar view, later for a lag
// (activityShiftToHigherDatesBasedOnDepLag) and earlier for a lead
// (activityShiftToLowerDatesBasedOnDepLag), and the two adjusters that pick
// the direction for a dependency seen from its successor or its
// predecessor.
//
// Units: days are day numbers, times minutes after midnight, lags signed
// working minutes (a lead is negative), durations calendar days. A point is
// a start point (the item starts there) or a finish point (isFinishDay: the
// item finishes there). ST and FT are a day's working start and end.
//
// Results: 1 moved, 0 failed, -1 the calendar was grown and the call must
// be repeated (once, by the caller). Day, time and, in the cases below,
// duration are updated in place.
//
// Rules, both directions: the lag is laid over working time as effort is
// laid by the placement (the day of the point counts its available minutes
// after (before) the time; following (preceding) days count only when they
// have more than 5 minutes); within a day the point is pushed past breaks;
// a point inside a break goes to the next run's start (later) or the
// previous run's end (earlier). A start point that lands on a day's working
// end moves to the next working day's working start, and a finish point on
// a day's working start to the previous working day's working end (the next
// or previous calendar day when it has more than 4 minutes, which reduces
// the duration handed in by 1 where stated; else the closest working day).
// An item with effort below 6 minutes stays at such an end.
//
// Choices where the rules leave room (each one was held against a
// slot-by-slot reference in the tests):
// - A time that ends the first slot of a working run (13:05 after the lunch
//   hour) lies inside working time: it stays. The closest-time searches
//   would report the run's start (13:00) and lose a slot; the rules keep
//   such a point for a lag of exactly 5 minutes, and it is kept here for
//   every lag, zero included.
// - When a lag (lead) laid across days runs out exactly at a day's working
//   end (start), a start (finish) point there moves on to the next
//   (previous) working day as it does within the day, duration reduced when
//   that is the adjacent day; otherwise an FS lag of a whole day would start
//   the successor at 17:00 instead of 08:00 on the next working day.
// - A reduced duration never goes below 1.
// - The steps onto the next or previous day and the days walked are checked
//   against the loaded calendar itself (max_finish_date = the last day,
//   min_start_date = the first day); outside, the calendar grows (-1).
// - A point beyond the last possible start (the last day - duration + 1)
//   after growing is moved to the last working day on or before that day,
//   and the lag is then laid from there.
// - A negative lag handed to the higher shift (a positive one to the lower
//   shift) is passed on to the other shift.
#ifndef LEVELER_SCHEDULE_DEPENDENCY_LAGS_H
#define LEVELER_SCHEDULE_DEPENDENCY_LAGS_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"

int activityShiftToHigherDatesBasedOnDepLag(activity_type* this_act, storage_manager_type* smanager,
                                            int32_t* this_date, int* this_time,
                                            int32_t* this_duration, int isFinishDay,
                                            int lag_minutes, FILE* file);
int activityShiftToLowerDatesBasedOnDepLag(activity_type* this_act, storage_manager_type* smanager,
                                           int32_t* this_date, int* this_time,
                                           int32_t* this_duration, int isFinishDay,
                                           int lag_minutes, FILE* file);

// Seen from the successor: a negative lag shifts earlier, any other later;
// the point is a finish point for FF (0) and SF (2).
int activityAdjustSuccDateAndTimeWithPred(activity_type* this_act, storage_manager_type* smanager,
                                          int32_t* this_date, int* this_time,
                                          int32_t* this_duration, int dep_type, int lag_minutes,
                                          FILE* file);
// Seen from the predecessor, called with the lag negated: below 1 (zero
// included) shifts earlier, above later; a finish point for FF (0) and
// FS (1).
int activityAdjustPredDateAndTimeWithSucc(activity_type* this_act, storage_manager_type* smanager,
                                          int32_t* this_date, int* this_time,
                                          int32_t* this_duration, int dep_type, int lag_minutes,
                                          FILE* file);

#endif
