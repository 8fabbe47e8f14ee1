// Working minutes between two points of an item's calendar view: the
// effort an item placed between them carries, its truncated effort as a
// container, and its working-day count.
//
// Units: dates are day numbers, times minutes after midnight, results
// working minutes (or days for activityRemoveProjectCalendarNotAveDays).
// Minutes within a day are counted with the interval convention of
// day_bits.h: from a start time t the slots ending in [t + 5, ...], up to a
// finish time u the slots ending in [..., u].
//
// Results: 0 done; the result of activityFindClosestAveStartFinishDates
// (200217) when a day could not be brought onto a working day; 200187 after
// an unexpected failure (after its message).
//
// Choices where the rules leave room:
// - The two times are not snapped onto working time before counting: the
//   interval count of a time inside a break equals that of the break's edge,
//   and the literal closest-time searches would move the end of the first
//   slot of a working run back by one slot and lose it.
// - Days strictly between the two ends count their whole availability (days
//   of 5 minutes included). Days outside the loaded calendar are read
//   through the day lookups (the weekly pattern there): a sum does not grow
//   the calendar.
// - activityCalculateTotalEffortWithinGivenDates measures from the item's
//   own start time on startDate (working start + offset_start_time) to its
//   own finish time on finishDate (working end - offset_finish_time).
// - activityCalculateTotalEffortTrunForContainerType sets the item's effort
//   to the minutes between its truncated start and truncated finish (the
//   span of the children that are not held by constraints).
// - activityRemoveProjectCalendarNotAveDays answers the number of days from
//   start to finish (inclusive) that take effort, i.e. with more than 5
//   available minutes: the duration with the non-working days removed. It
//   changes nothing.
#ifndef LEVELER_SCHEDULE_EFFORT_SUMS_H
#define LEVELER_SCHEDULE_EFFORT_SUMS_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"

inline constexpr int ERR_TOTAL_EFFORT = 200187;

int activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
    activity_type* this_act, int32_t* totalEffort, storage_manager_type* smanager,
    int32_t startDate, int startDateTime, int32_t finishDate, int finishDateTime, FILE* file);

int activityCalculateTotalEffortWithinGivenDates(activity_type* this_act, int32_t* totalEffort,
                                                 storage_manager_type* smanager,
                                                 int32_t startDate, int32_t finishDate,
                                                 FILE* file);

int activityCalculateTotalEffortTrunForContainerType(activity_type* this_act,
                                                     storage_manager_type* smanager, FILE* file);

int32_t activityRemoveProjectCalendarNotAveDays(activity_type* this_act,
                                                storage_manager_type* smanager,
                                                int32_t startDate, int32_t finishDate);

#endif
