// An item's points in time on its calendar: the clock start and finish of
// its placement (the anchors dependencies are resolved from), working days
// found for given start and finish days, and the snapping of a finish day
// onto a working day.
//
// Units: dates are day numbers; times are minutes after midnight (0..1440);
// an item's start time is its start day's working start ST + its
// offset_start_time, its finish time its finish day's working end FT - its
// offset_finish_time. All lookups go through the item's calendar view.
//
// Results: 0 done, 200217 when no working day could be found (the closest
// later working day search failed, after its one fallback to earlier days
// and its one repeat after the calendar grew).
//
// Choices where the rules leave room:
// - activityGetSpecDateTimeParams sets only the finish time (not the day)
//   onto the start time for an item with effort below 6 minutes; the
//   short-effort rule of the placement already keeps such items on one day.
//   The actual-work rule is applied after that one, since actual work
//   overrides a planned point. An item without a project (a network node
//   made without one) is read on the standard day, its days unmoved.
// - activityFixClosestFinishDateFromProjCalendar snaps a finish day exactly
//   as the backward placement snaps its finish day: a day with fewer than 5
//   available minutes moves to the closest earlier working day (later for
//   constraint 2), falling back once on the other direction.
#ifndef LEVELER_SCHEDULE_ITEM_TIMES_H
#define LEVELER_SCHEDULE_ITEM_TIMES_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"

inline constexpr int ERR_NO_WORKING_DAY = 200217;

// Brings a start and a finish day onto working days (fewer than 5 minutes:
// the closest later working day, change status 1, else 0) and settles the
// two times: the start time becomes the start day's working start when the
// day moved or the time given is 0 or less; the finish time becomes the new
// finish day's working start when that day moved, stays when above 0, and is
// otherwise the finish day's working end. 0 or 200217.
int activityFindClosestAveStartFinishDates(activity_type* this_act, storage_manager_type* smanager,
                                           int32_t* start_date, int* day_start_time,
                                           int* sd_change_status, int32_t* finish_date,
                                           int* day_finish_time, int* fd_change_status,
                                           FILE* file);

// The item's start day and clock start time, finish day and clock finish
// time (see the unit comment and the choices). 0 or 200217.
int activityGetSpecDateTimeParams(activity_type* this_act, storage_manager_type* smanager,
                                  int32_t* startDate, int32_t* finishDate, int* startTime,
                                  int* finishTime, FILE* file);

// Moves *this_finish_date onto a working day as the backward placement
// does. 1 done, 0 no working day within reach.
int activityFixClosestFinishDateFromProjCalendar(activity_type* this_act,
                                                 storage_manager_type* smanager,
                                                 int32_t* this_finish_date, FILE* file);

#endif
