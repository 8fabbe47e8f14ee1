// The backward pass: the latest dates at which every item can start and
// finish without delaying the latest root item. It never works on the items
// themselves but on their copies (act_tmp_list_3, made with
// activityCopyCreateNew), visited in a backward order (every item after its
// successors, every container after its children); while it runs a copy's
// start_date, finish_date and offsets hold its late placement, and with
// optionCalculEsEfLsLf its four late fields record it.
//
//   - static pass: doFinAlignActivitiesBcwdPass over the backward order,
//     each item through doAlignmentActivityItemBackwardPass;
//   - dynamic re-pass: doRunBcwdDynamicRepasNetTree realigns every entry of
//     an order list with its successors (doDynamAlignActWithSucc).
//
// Ownership: the passes change the records in place and allocate nothing
// that outlives a call; the lists only refer to the records. Successors are
// found by name in act_tmp_list, children in activities_list.
//
// Units: dates are day numbers; start offsets minutes after the start day's
// working start, finish offsets minutes before the finish day's working end
// (an earlier finish has the larger finish offset); durations calendar days.
//
// Results: 0, or 200198 (placing from the start failed under constraint 5
// or 7), 200177 (placing from the start failed), 200179 (placing from the
// finish failed), 200178 (placing from the project's first day failed), or
// the code of the resolution that failed.
//
// Amended rules:
//   - The static pass repeats its sweep over the items that may have become
//     wrong until nothing moves (settle.h), for the reason the forward pass
//     does: a container moved by its successors moves its children after
//     their outside predecessors were visited, and one sweep left those
//     predecessors with late dates that broke the link. From the second
//     sweep on an item never finishes after its parent's finish.
//   - On the project's last day a candidate keeps the earlier of its own
//     finish time and the project item's; a bound never moves a late
//     finish later. (Taking the later of the two broke the link: A -> C
//     finish-to-start with C's late start on that day at 09:00 gave A a
//     late finish of 17:00 and 420 minutes of slack it did not have.)
//   - A container is held by every successor it has, whatever the type:
//     the rule that only a finish-to-start successor puts a container into
//     successor mode (and that a start-to-start one is then skipped) sent a
//     container with finish-to-finish successors down the no-successor path,
//     to the finish node. On generated portfolios its children then showed
//     47 working days of slack although they were critical.
//
// Choices where the rules leave room:
//   - The order list's two ends are the network nodes; the end whose
//     successor list is empty (and predecessor list not) is the finish
//     node, the other the start node; when the lists do not tell, the head
//     is the finish node (the backward order runs down from it).
//   - The candidate a visit starts from is no contender: the first
//     successor resolved gives the first candidate, so a late date is never
//     held back by the item's early placement.
//   - The zero-lag shortcut keeps, per dependency type, the successor date
//     that bounded the candidates so far (a start for FS and SS, a finish
//     for FF and SF) and skips a lag-0 successor of the same type whose
//     bounding date is not earlier (day, then time): such a successor
//     cannot lower the minimum. A shortcut across types could skip the
//     successor that decides (an SS successor starting on day 12 does not
//     cover an FS successor starting on day 12).
//   - Placement on the calendar applies to tasks; a container's dates come
//     from its successors and its children.
//   - A container is updated "from its finish" when its dates came from a
//     finish-to-finish or finish-to-start successor or from the
//     no-successor path; from a start-to-start or start-to-finish successor
//     its children are bypassed (activityBypasContUpdateChilFromFinishDateBack).
//   - The dynamic form rolls a container up from its children as the static
//     form does, refreshes a container successor with activitySpecRollDynam
//     (not forced; see rollup.h for the flag) and records the late fields
//     (on the copies the late placement is what the slack reads).
#ifndef LEVELER_NETWORK_BACKWARD_PASS_H
#define LEVELER_NETWORK_BACKWARD_PASS_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"
#include "network/rollup.h"

inline constexpr int BWD_ERR_PLACE_FIXED_START = 200198;
inline constexpr int BWD_ERR_PLACE_FROM_START = 200177;
inline constexpr int BWD_ERR_PLACE_FROM_FINISH = 200179;
inline constexpr int BWD_ERR_PLACE_FROM_FIRST_DAY = 200178;

int doFinAlignActivitiesBcwdPass(linked_list_type* root_act_list, linked_list_type* items_list,
                                 linked_list_type* activities_list,
                                 linked_list_type* act_tmp_list, storage_manager_type* smanager,
                                 int hasTobeChecked, int restrict_UpDown,
                                 int optionCalculEsEfLsLf, FILE* file);

int doAlignmentActivityItemBackwardPass(activity_type* this_pred_node,
                                        linked_list_type* activities_list,
                                        linked_list_type* act_tmp_list,
                                        storage_manager_type* smanager, int hasTobeChecked,
                                        int restrictUpDown, int optionCalculEsEfLsLf,
                                        const char* START_NODE_NAME,
                                        const char* FINISH_NODE_NAME, FILE* file);

int doDynamAlignActWithSucc(activity_type* this_pred_node, linked_list_type* act_tmp_list,
                            storage_manager_type* smanager, const char* START_NODE_NAME,
                            const char* FINISH_NODE_NAME, FILE* file);

// Realigns every entry of the order list act_tmp_list except its first and
// last (skipping outside, locked and finished items) with its successors;
// successors and children are looked up in activities_list.
int doRunBcwdDynamicRepasNetTree(linked_list_type* act_tmp_list,
                                 linked_list_type* activities_list, storage_manager_type* sm,
                                 const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                 int PRINT_OPTION, FILE* file);

namespace pass_detail {

// The winning successor of a backward visit.
struct BackWinner {
  bool found = false;
  Placement p;
  int type = -1;
};

// The successor part of a backward visit: every successor entry resolved
// backwards and bounded by the item's constraints; the smallest candidate
// finish wins. typeOneMode skips start-to-start successors of a non-task.
int backwardDrivingSuccessor(activity_type* act, linked_list_type* act_tmp_list,
                             storage_manager_type* smanager, const Bounds& b, bool dynamic,
                             bool typeOneMode, const char* module, const char* START_NODE_NAME,
                             const char* FINISH_NODE_NAME, FILE* file, BackWinner* w);

// Lowers a candidate finish to the upper finish bound (time rules of the
// backward pass: the project item's finish time on the project's finish
// day).
void boundBackwardFinish(activity_type* act, linked_list_type* act_tmp_list, const Bounds& b,
                         Placement* p);

// Names of the start and finish nodes of an order list (see the choices).
void orderListNodeNames(linked_list_type* list, bool forward, const char** START_NODE_NAME,
                        const char** FINISH_NODE_NAME);

}  // namespace pass_detail

#endif  // LEVELER_NETWORK_BACKWARD_PASS_H
