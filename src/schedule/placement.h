// Placing an item on its calendar: lay the item's effort (working minutes)
// over the available minutes of its calendar view, forward from a start
// (activityScheduleFromStartDate) or backward from a finish
// (activityScheduleFromFinishDate), and the wrappers that run them on given
// values (Special) or on the item's own fields (BasedOnProjectCalendar).
//
// Units: dates are day numbers; durations are calendar days from start day
// to finish day inclusive, non-working days included; offset_start_time is
// minutes from the start day's working start ST (start of its first
// available slot) to the item's start, offset_finish_time minutes from the
// item's finish to the finish day's working end FT (end of its last
// available slot); effort is working minutes. ST/FT outputs are minutes
// after midnight.
//
// Thresholds: a start day (forward) or finish day (backward) with fewer
// than 5 available minutes moves to the nearest working day first (a lower
// one for constraint 7 forward, a higher one for constraint 2 backward);
// while effort is laid day by day a day with 5 minutes or fewer is skipped
// (but counts in the duration); the calendar grows by the wanted day +
// duration + 400 days when a placement runs past its end.
//
// Results: 1 placed, 0 failed, -1 the calendar was grown and the call must
// be repeated once (the wrappers do that; a second -1 is a failure). With
// first_time set a form that runs out of calendar at its far end falls back
// once on the other form (forward from the last day backwards, backward
// from the first day forwards).
//
// Ownership and state: the forms change only the values handed to them; the
// BasedOnProjectCalendar wrappers store into the item (offsets through the
// setters, so negative offsets become 0; duration through its setter, so
// never below 1). The lasting side effect on shared state is the growth of
// the project's calendar.
//
// Invariant of a successful placement: finish day = start day + duration - 1,
// and (except for the zero-length items of the short-effort rule) the
// available minutes between the start and the finish, counting the partial
// first (last) day from the start (to the finish) and only days of more
// than 5 minutes otherwise, equal the effort.
//
// Choices where the rules leave room:
// - A partial first day: the start time t = ST + offset moves to the start
//   of the first available slot at or after t (the search's next_time
//   minus 5), the offset growing by the same amount; with no slot left in
//   the day that is 23:55, and the start day stays (the work begins on the
//   next working day). A partial last day mirrors it: the finish time
//   u = FT - offset moves back to the end of the last available slot at or
//   before u (the left search's prev_time) when that is earlier; a u at the
//   start of a working run stays (the left search reports it as available).
// - The one-day test of a partial first (last) day is that the effort fits
//   into the day's remaining available minutes: the pushed finish (start)
//   is not later than FT (earlier than ST). The literal loop cap "until the
//   finish reaches FT" could stop exactly at FT with minutes still unlaid;
//   the effort would then be lost, so the fixed point decides instead.
// - Effort 0 laid from a day's working start takes one working day (the
//   first of more than 5 minutes) and ends at its working start: a
//   zero-length item, never a finish before the start.
// - Non-working days are recognised from the view's availability array as
//   it is walked; the minutes-sorted copy serves only to tell at once that
//   the calendar has no working day at all. The per-day limit check can only
//   fail past the calendar's last day (max_finish_date = L), so it is made
//   only there.
// - A start (forward) that is still before first_day after the calendar was
//   asked to grow down becomes first_day; a finish (backward) still after
//   the last day after the calendar was asked to grow becomes the last day.
//   A start hint beyond the calendar counts, forward, like a finish hint
//   beyond it.
// - In the standard-day view the availability array holds minutes_per_day,
//   which may differ from the standard day's bits: a finish computed from
//   the bits is then kept within the day (offset never negative).
// - The wrappers repeat a -1 with the values first handed in and write
//   nothing back when they fail.
// Printing: none of its own; only calendar growth prints (store).
#ifndef LEVELER_SCHEDULE_PLACEMENT_H
#define LEVELER_SCHEDULE_PLACEMENT_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"

int activityScheduleFromStartDate(activity_type* this_act, storage_manager_type* smanager,
                                  int32_t* this_start_date, int32_t* this_finish_date,
                                  int32_t* this_duration, int* start_day_ST, int* start_day_FT,
                                  int* finish_day_ST, int* finish_day_FT,
                                  int* this_offset_start_time, int* this_offset_finish_time,
                                  int first_time, FILE* file);
int activityScheduleFromFinishDate(activity_type* this_act, storage_manager_type* smanager,
                                   int32_t* this_start_date, int32_t* this_finish_date,
                                   int32_t* this_duration, int* start_day_ST, int* start_day_FT,
                                   int* finish_day_ST, int* finish_day_FT,
                                   int* this_offset_start_time, int* this_offset_finish_time,
                                   int first_time, FILE* file);

// The forms with first_time 1, one repeat after -1, then the short-effort
// rule; results written back only on success. 1 placed, 0 failed.
int activityScheduleFromStartDateSpecial(activity_type* this_act, storage_manager_type* smanager,
                                         int32_t* this_start_date, int32_t* this_finish_date,
                                         int32_t* this_duration, int* this_offset_start_time,
                                         int* this_offset_finish_time, FILE* file);
int activityScheduleFromFinishDateSpecial(activity_type* this_act, storage_manager_type* smanager,
                                          int32_t* this_start_date, int32_t* this_finish_date,
                                          int32_t* this_duration, int* this_offset_start_time,
                                          int* this_offset_finish_time, FILE* file);

// The same on the item's own start_date, finish_date, duration and offsets,
// stored back into the item. 1 placed, 0 failed.
int activityScheduleFromStartDateBasedOnProjectCalendar(activity_type* this_act,
                                                        storage_manager_type* smanager,
                                                        FILE* file);
int activityScheduleFromFinishDateBasedOnProjectCalendar(activity_type* this_act,
                                                         storage_manager_type* smanager,
                                                         FILE* file);

// The short-effort rule on a placement (effort of 5 minutes or less makes a
// zero-length item): st and ft are the start day's working start and end.
void activityApplyShortEffortRule(const activity_type* this_act, int32_t* this_start_date,
                                  int32_t* this_finish_date, int32_t* this_duration,
                                  int* this_offset_start_time, int* this_offset_finish_time,
                                  int start_day_ST, int start_day_FT);

#endif
