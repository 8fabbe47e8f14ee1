// A container's dates as its children give them, computed without changing
// the container: the read-only roll-up that the dependency resolution uses
// to re-derive a container's duration. The roll-up that writes (and moves
// children) belongs to the network layer, which may use this one for its
// first five steps.
//
// Units: dates are day numbers; start offsets are minutes after the start
// day's working start (smaller = earlier), finish offsets minutes before the
// finish day's working end (smaller = later); durations calendar days.
//
// The values, over the children other than the finish node (looked up by
// name in activities_list):
//   start      earliest start_date of the unfinished children, ties by the
//              smaller offset_start_time;
//   finish     latest finish_date of all children, ties by the smaller
//              offset_finish_time;
//   finish_trun  latest finish (a child container's finish_date_trun) of
//              the children not held by constraint 2, 4, 5 or 6;
//   start_trun   earliest start (a child container's start_date_trun) of
//              the unfinished children not held by constraint 3, 4, 5 or 7;
//   duration   finish - start + 1.
// A truncated value with no child to give it (or whose only child is held)
// is the container's own start (finish) with its offset. With no child at
// all every output is the container's own value (its truncated ones
// included). Ties keep the earlier child in the list.
//
// Choices: a child container's truncated values are compared with its
// truncated offsets (offset_start_time_trun, offset_finish_time_trun); a
// container without rollupFlag, or actually finished, keeps its own values
// (the roll-up is not done for it). A child name missing from the list is
// skipped.
#ifndef LEVELER_SCHEDULE_MINI_ROLLUP_H
#define LEVELER_SCHEDULE_MINI_ROLLUP_H

#include <cstdint>
#include <cstdio>

#include "model/activity.h"
#include "model/linked_list.h"

// 1 when at least one child was seen, else 0 (the outputs then hold the
// container's own values).
int activityMiniRollupDatesFromChildren(
    linked_list_type* activities_list, activity_type* this_act, int32_t* this_act_start_date,
    int32_t* this_act_finish_date, int32_t* this_act_duration, int* this_act_offset_start_time,
    int* this_act_offset_finish_time, int32_t* this_act_start_date_trun,
    int32_t* this_act_finish_date_trun, int* this_act_offset_start_time_trun,
    int* this_act_offset_finish_time_trun, const char* FINISH_NODE_NAME, FILE* file);

#endif
