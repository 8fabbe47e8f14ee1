// Resolving one dependency: where its successor may start or finish at the
// earliest (forward, activityResolveDependencyForSucc), or where its
// predecessor must start or finish at the latest (backward,
// activityResolveDependencyForPred), and the dynamic forms used by the
// re-passes.
//
// Units: dates are day numbers, offsets minutes (start offset after the
// start day's working start, finish offset before the finish day's working
// end), lags signed working minutes of the item being placed (a lead is
// negative), durations calendar days (at least 1).
//
// Dependency types: 0 FF, 1 FS, 2 SF, 3 SS. The anchor is the other item's
// start or finish as a day and a clock time (activityGetSpecDateTimeParams);
// it is moved by the lag on the placed item's calendar
// (activityAdjustSuccDateAndTimeWithPred, or ...PredDateAndTimeWithSucc
// with the lag negated) and becomes the placed item's start (offset = time -
// working start, finish = start + duration - 1, finish offset 0) or finish
// (offset = working end - time, start = finish - duration + 1, start offset
// 0). A task (type 3) is then placed again from that start or finish
// (activityScheduleFrom...DateSpecial); other items keep the computed dates.
// Special nodes: forward, FS on the start node gives the start day after the
// node's finish day, offset 0, no lag; backward, FS on the finish node gives
// the finish day before the node's start day (offset 0), FF on it the
// node's finish day and finish offset.
//
// Results: 0 resolved, else the first failure's code: 200217 (no working day
// for the anchor); forward shift failed 200199 FF, 200200 FS, 200201 SF,
// 200202 SS; backward 200203 FF, 200204 FS, 200205 SF, 200206 SS; re-placing
// from the start 200197, from the finish 200198. Each failure of a shift or
// a re-placement prints its message with both names, the duration, type and
// lag and the four out-values. A shift that grows the calendar (-1) is
// repeated once from the same anchor. Unexpected failures print "... throw
// exception to upper level" and are passed on.
//
// State: the out-values only, except for non-task items whose duration is
// corrected: forward FF/SF in the forward pass take over their truncated
// finish (finish_date, offset_finish_time); backward SF/SS outside the
// forward pass take over their truncated start (start_date,
// offset_start_time).
//
// Choices where the rules leave room:
// - Backward, the item whose type decides the re-placement is the one being
//   placed (the predecessor): a container predecessor is never placed as
//   if it were a task, and a task predecessor is placed on its calendar
//   here as in the backward pass itself.
// - A duration "re-derived by rolling up from the children" is the span of
//   the rolled-up values that the correction keeps: forward FF/SF from the
//   earliest start to the truncated finish, backward SF/SS from the
//   truncated start to the truncated finish (activityMiniRollupDatesFromChildren).
// - The dynamic backward form corrects non-task durations like the static
//   form outside the forward pass (truncated values), and re-places only with
//   fullCalc; the dynamic forward form makes no correction; both otherwise
//   resolve exactly as the static forms.
// - The special nodes' dates are re-placed like any other point when the
//   placed item is a task.
// - An unknown dependency type prints "\n <module>: got an error on
//   dependency type !" (module ResDepForSucc, ResDepForPred,
//   dynamResDepForSucc, dynamResDepForPred) and resolves to nothing: result
//   0, out-values untouched.
// - Offsets that a clock time beyond the day's working hours would make
//   negative are 0.
#ifndef LEVELER_SCHEDULE_DEPENDENCY_RESOLUTION_H
#define LEVELER_SCHEDULE_DEPENDENCY_RESOLUTION_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

inline constexpr int ERR_REPLACE_FROM_START = 200197;
inline constexpr int ERR_REPLACE_FROM_FINISH = 200198;
inline constexpr int ERR_FORWARD_SHIFT_BASE = 200199;   // + dependency type
inline constexpr int ERR_BACKWARD_SHIFT_BASE = 200203;  // + dependency type

int activityResolveDependencyForSucc(linked_list_type* act_tmp_list, activity_type* this_succ_node,
                                     activity_type* this_pred_node, int dep_type, int lag_minutes,
                                     storage_manager_type* smanager, int isForwardPass,
                                     int32_t* succ_min_start_date, int32_t* succ_min_finish_date,
                                     int* succ_offset_from_start, int* succ_offset_from_finish,
                                     const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                     FILE* file);

int activityResolveDependencyForPred(linked_list_type* act_tmp_list, activity_type* this_pred_node,
                                     activity_type* this_succ_node, int dep_type, int lag_minutes,
                                     storage_manager_type* smanager, int isForwardPass,
                                     int32_t* pred_max_start_date, int32_t* pred_max_finish_date,
                                     int* pred_offset_from_start, int* pred_offset_from_finish,
                                     const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                     FILE* file);

int dynamResDependencyForSucc(linked_list_type* act_tmp_list, activity_type* this_succ_node,
                              activity_type* this_pred_node, int dep_type, int lag_minutes,
                              storage_manager_type* smanager, int fullCalc,
                              int32_t* succ_min_start_date, int32_t* succ_min_finish_date,
                              int* succ_offset_from_start, int* succ_offset_from_finish,
                              const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                              FILE* file);

int dynamResDependencyForPred(linked_list_type* act_tmp_list, activity_type* this_pred_node,
                              activity_type* this_succ_node, int dep_type, int lag_minutes,
                              storage_manager_type* smanager, int fullCalc,
                              int32_t* pred_max_start_date, int32_t* pred_max_finish_date,
                              int* pred_offset_from_start, int* pred_offset_from_finish,
                              const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                              FILE* file);

#endif
