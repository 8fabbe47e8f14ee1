// Delay parameters of an item for the priority order: how much work of the
// item's own resources (its assignments) competes with it, that is lies on
// items that are neither before nor after it in the network.
//
// Units: loads are working minutes (getWorkDurationContour of each work
// record, with the standard day of that work's item's project).
//
// Ownership: the collected successor and predecessor lists hold pointers to
// items of act_tmp_list (the lists own nothing); activityCalculateDelayParam
// makes and releases its own.
//
// The item's max_delay_param becomes the largest competing load over its
// assignments and ext_delay_dur the largest minus the smallest; an item
// without assignments is left alone.
//
// The related items are those reached through successor lists together with
// those reached through predecessor lists, each walk with its own visited
// set: on a network with cycles the walks meet, and a shared set would stop
// the second walk at what the first reached (wrong values on cyclic
// networks, the fault this keeps away).
//
// Many tasks at once: activitiesCalculateDelayParams gives, for every task,
// the values activityCalculateDelayParam gives, without walking the network
// once per task (quadratic, seconds at 10,000 items): reachability over the
// work records in 64-bit words, cycles condensed first, in blocks of bits
// so that memory stays bounded (delay_reach.cc).
//
// Choices where the rules leave room:
// - The walks through successor (predecessor) lists visit every reachable
//   item once per assignment (a visited set beside the collected list), so
//   a network with many paths to the same item costs its size, not its
//   number of paths; they follow external dependencies too and skip names
//   missing from act_tmp_list. The walk is iterative, so a long chain does
//   not exhaust the stack.
// - "Actually finished" is the item's hasActualFinish; for a work record
//   whose item is not in act_tmp_list, the work's own hasActualFinish, and
//   the asking item's project gives the standard day.
#ifndef LEVELER_SCHEDULE_DELAY_PARAMS_H
#define LEVELER_SCHEDULE_DELAY_PARAMS_H

#include <cstdio>
#include <vector>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "model/linked_list.h"

// The work record of this assignment on this item, or null.
work_type* getActivityWorkByAssignment(const activity_type* this_act, assignment_type* this_ass);

// Adds to act_succ_list (activityMatch / getActivityName) every item
// reachable through successor lists, up to the finish node, that has work
// of this_ass and is not yet in it. Returns 0.
int activityBuildSuccListByAssignment(activity_type* this_act, assignment_type* this_ass,
                                      linked_list_type* act_tmp_list,
                                      linked_list_type* act_succ_list,
                                      const char* FINISH_NODE_NAME, FILE* file);
int activityBuildSuccListByAllAssignments(activity_type* this_act, linked_list_type* act_tmp_list,
                                          linked_list_type* act_succ_list,
                                          const char* FINISH_NODE_NAME, FILE* file);
// The same through predecessor lists, down to the start node.
int activityBuildPredListByAssignment(activity_type* this_act, assignment_type* this_ass,
                                      linked_list_type* act_tmp_list,
                                      linked_list_type* act_pred_list,
                                      const char* START_NODE_NAME, FILE* file);
int activityBuildPredListByAllAssignments(activity_type* this_act, linked_list_type* act_tmp_list,
                                          linked_list_type* act_pred_list,
                                          const char* START_NODE_NAME, FILE* file);

// Sets max_delay_param and ext_delay_dur. Returns 0.
int activityCalculateDelayParam(activity_type* this_act, linked_list_type* act_tmp_list,
                                storage_manager_type* smanager, const char* START_NODE_NAME,
                                const char* FINISH_NODE_NAME, FILE* file);

// activityCalculateDelayParam for each task of `tasks` that has an
// assignment (the others are left alone), with the same results. The tasks
// need not be in act_tmp_list. blockWords > 0 caps the bits taken per
// sweep (words of 64); 0 lets the memory budget decide. Returns 0; an
// exception (memory) is logged and passed on.
int activitiesCalculateDelayParams(const std::vector<activity_type*>& tasks,
                                   linked_list_type* act_tmp_list, const char* START_NODE_NAME,
                                   const char* FINISH_NODE_NAME, FILE* file,
                                   int32_t blockWords = 0);

#endif
