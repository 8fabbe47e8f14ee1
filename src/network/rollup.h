// Containers and their children kept consistent in both directions:
//   - roll-up: a container takes its dates from its children (rollup.cc);
//   - the update family: a container moved by a dependency in the forward
//     or backward pass moves its children (rollup_update.cc);
//   - the ALAP family: items with constraint 1 moved as late as their
//     successors allow once those are known (rollup_alap.cc).
//
// Ownership: nothing here allocates an item or frees one; the lists only
// refer to the items (the run's item list owns them). Children are found by
// the names of a container's child list in activities_list; predecessors and
// successors by name in act_tmp_list. Lookups go through ll_extract, which
// never moves a list's current position (and uses the list's index array
// when one was built), so a caller may be walking the same list.
//
// Units: dates are day numbers; start offsets are minutes after the start
// day's working start (the smaller the earlier), finish offsets minutes
// before the finish day's working end (the smaller the later); durations
// are calendar days; offset_start_date / offset_finish_date are days from
// the parent's start / to the parent's finish.
//
// Invariants kept: after a roll-up a container's start is the earliest start
// of its unfinished children, its finish the latest finish of all of them,
// duration = finish - start + 1, and each unfinished child's four day
// offsets measure it against the container. A finished container (actual
// finish) and one without rollupFlag are never rolled up. Children flagged
// ignore_child_for_sched or finished are never moved with their container.
//
// Results: the update family returns 0 or the failure code of the step that
// failed and reports failure through *ok_status (1 done, 0 failed); the
// dispatcher activityUpdateContainerAndItsChildren logs a failure and always
// returns 0. The ALAP family returns 0, 200198 when a successor cannot be
// placed from its finish, or the code of the resolution, placement or
// realignment that failed. Unexpected failures are logged "... throw
// exception to upper level" with the operation's name and passed on.
//
// Choices where the rules leave room:
//   - activitySpecRollDynam clears rollupFlagSpecial when it has rolled a
//     container up (not when forced). The dynamic passes set the flag again
//     on every ancestor of an item they are about to realign (the item may
//     move, by the realignment or by the levelling that follows it), so a
//     container refreshed without force is refreshed exactly when one of
//     its descendants may have moved since its last roll-up.
//   - The recursive roll-up records no early or late fields, the dynamic
//     one always records them, the plain one only with
//     optionCalculEsEfLsLf.
//   - The other three adjusters mirror
//     activityAdjustSuccDependencyInContainerForward:
//       * every adjuster also bounds the child by its container: forward a
//         child never starts before its container's start (day, then time),
//         backward a child never finishes after its container's finish. A
//         dependency of the container binds all of its children; without
//         this bound a child with its own earlier predecessor would stay
//         before the container's new start.
//       * activityAdjustPredDependencyInContainerForward is the forward
//         re-resolution of the child's predecessors (as the start member),
//         used when the container was moved by its finish;
//       * activityAdjustPredDependencyInContainerBackward re-runs the
//         successor part of the backward pass for the child (backward
//         resolution, backward constraint bounds, the smallest candidate
//         finish drives) and places it from its finish (from its start
//         under constraint 5 or 7);
//       * activityBypasContAdjustPredDepInContainerBack is the same
//         re-resolution, run for every child with successors of its own
//         whatever the container's move, since a container not placed from
//         its finish gives its children no finish distance to keep.
//     The update members mirror activityUpdateContainerFromStartDateForward:
//     "from finish" keeps each child's distance to the container's finish
//     (offset_finish_date) instead of its start; backward, a child without
//     days to move and without successors of its own that finishes before
//     the container is pushed to the container's finish (the mirror of the
//     pull to the container's start).
//   - A child container with days to move goes through the adjuster too
//     (with hasTobeChecked), whether or not it has dependencies of its own:
//     its place in its parent came from its own children, so keeping its
//     distance to the parent's start would push every child of it as far
//     again (on random networks that stretched the schedule several times
//     over). Re-resolved, it starts with its parent (or its own
//     predecessors), and its children follow it by the same rules.
//   - restrictUpDown is carried unchanged through the family to recursive
//     updates; no rule here depends on it.
//   - ALAP family: adjustUpdateAlapPredToAllSucc applies the held / free
//     rule (the smallest allowance of the held successors, constraints 1,
//     3, 4, 5, 7, against the largest of the others);
//     adjustUpdateAlapPredToSuccConstr limits it to successors with a dated
//     constraint (codes 2 to 7). An ALAP item only ever moves later: it
//     enters at its driving (earliest) place or one already pushed late,
//     and a move earlier would break its own predecessors.
//     adjustUpdateAlapPredToSuccHardConstr moves the ALAP item to the latest
//     start the given successor allows, never later than the latest start
//     allowed by its other successors already visited in network order
//     (serial_num not above the given successor's), so a move made for one
//     successor never breaks a dependency on another one already placed.
//     Those successors are not re-placed from their finish first (the
//     given one was just placed by the visit that calls, the others by
//     their own visits).
//   - An ALAP item is re-placed from its new start (start offset from the
//     successor's resolution), keeping its effort.
#ifndef LEVELER_NETWORK_ROLLUP_H
#define LEVELER_NETWORK_ROLLUP_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

// Roll-up of one container (not recursive): done only with rollupFlag set
// and no actual finish.
void activityRollupDatesFromChildren(linked_list_type* activities_list, activity_type* this_cont,
                                     storage_manager_type* smanager, int isForwardPass,
                                     int hasTobeChecked, int optionCalculEsEfLsLf,
                                     const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                     FILE* file);

// Recursive roll-up: child containers first, then the container itself.
void activitySpecialRollupDatesFromChildren(linked_list_type* activities_list,
                                            activity_type* this_act,
                                            storage_manager_type* smanager, int fromStartDay,
                                            int isForwardPass, int hasTobeChecked,
                                            const char* START_NODE_NAME,
                                            const char* FINISH_NODE_NAME, FILE* file);

// Recursive dynamic roll-up: runs when rollupFlagSpecial is set or
// optionForced is 1; always writes the early (forward) or late (backward)
// fields.
void activitySpecRollDynam(linked_list_type* activities_list, activity_type* this_act,
                           int isForwardPass, int optionForced, const char* START_NODE_NAME,
                           const char* FINISH_NODE_NAME, FILE* file);

// Dispatches to the update family and refreshes the container's offsets in
// its parent. Always 0.
int activityUpdateContainerAndItsChildren(linked_list_type* activities_list,
                                          linked_list_type* act_tmp_list,
                                          storage_manager_type* smanager, activity_type* this_act,
                                          int fromStartDay, int fromFinishDay, int isForwardPass,
                                          int hasTobeChecked, int restrictUpDown,
                                          int optionCalculEsEfLsLf, const char* START_NODE_NAME,
                                          const char* FINISH_NODE_NAME, FILE* file);

// The update family.
int activityUpdateContainerFromStartDateForward(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);
int activityUpdateContainerFromFinishDateForward(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);
int activityUpdateContainerFromFinishDateBackward(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);
int activityBypasContUpdateChilFromFinishDateBack(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);

// The per-child adjusters: 0 or a failure code.
int activityAdjustSuccDependencyInContainerForward(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int fromStartDay,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int hasNonTrivialPred, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);
int activityAdjustPredDependencyInContainerForward(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int fromStartDay,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int hasNonTrivialPred, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);
int activityAdjustPredDependencyInContainerBackward(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int fromStartDay,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int hasNonTrivialPred, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);
int activityBypasContAdjustPredDepInContainerBack(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int fromStartDay,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int hasNonTrivialPred, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file);

// The ALAP family.
int adjustUpdateAllSuccOfAlapPred(activity_type* this_pred_node, linked_list_type* act_tmp_list,
                                  storage_manager_type* smanager, const char* START_NODE_NAME,
                                  const char* FINISH_NODE_NAME, FILE* file);
int adjustUpdateAlapPredToAllSucc(activity_type* this_pred_node, linked_list_type* act_tmp_list,
                                  storage_manager_type* smanager, const char* START_NODE_NAME,
                                  const char* FINISH_NODE_NAME, FILE* file);
int adjustUpdateAlapPredToSuccConstr(activity_type* this_pred_node,
                                     linked_list_type* act_tmp_list,
                                     storage_manager_type* smanager, const char* START_NODE_NAME,
                                     const char* FINISH_NODE_NAME, FILE* file);
int adjustUpdateAlapPredToSuccHardConstr(activity_type* this_succ_node,
                                         activity_type* this_pred_node,
                                         linked_list_type* act_tmp_list,
                                         storage_manager_type* smanager,
                                         const char* START_NODE_NAME,
                                         const char* FINISH_NODE_NAME, FILE* file);

// Helpers shared by the roll-up, the passes and the slack (not part of the
// engine's interface).
namespace pass_detail {

inline constexpr int ERR_PLACE_FROM_FINISH_CONSTR = 200198;

// The item of that name in the list, or null; never moves the list's
// current position.
activity_type* findItem(linked_list_type* list, const char* name);
bool isNamed(const activity_type* act, const char* name);
// A task, or an item whose child list holds nothing but the finish node.
bool isLeaf(const activity_type* act, const char* FINISH_NODE_NAME);
// The item's first parent looked up in the list (null: none or not found).
activity_type* parentOf(linked_list_type* list, const activity_type* act);
// The item named after the item's project (its project item), or null.
activity_type* projectItemOf(linked_list_type* list, const activity_type* act);

// Calls f(element) for every element of the list, head to tail, without
// moving the list's current position.
template <class T, class F>
void forEach(const linked_list_type* list, F f) {
  if (list == nullptr) return;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) f(static_cast<T*>(l->pcontents));
}

// The five limits of a constraint (day numbers).
struct Bounds {
  int32_t min_sd = 0;  // earliest start allowed by the project's creation
  int32_t min_start = 0;
  int32_t max_start = 0;
  int32_t min_finish = 0;
  int32_t max_finish = 0;
};
Bounds boundsForward(activity_type* act, FILE* file);
Bounds boundsBackward(activity_type* act, FILE* file);

// One placement: days and the two offsets.
struct Placement {
  int32_t start = 0;
  int32_t finish = 0;
  int st = 0;  // offset_start_time
  int ft = 0;  // offset_finish_time
};
Placement placementOf(const activity_type* act);
// Stores the placement into the item (duration = finish - start + 1).
void applyPlacement(activity_type* act, const Placement& p);
bool samePlacement(const Placement& a, const Placement& b);
// Moves both days by delta.
void shiftDays(Placement* p, int32_t delta);

void recordEarly(activity_type* act);
void recordLate(activity_type* act);

// Sets rollupFlagSpecial on every ancestor of the item up to the start node.
void markAncestorsForDynamicRollup(linked_list_type* list, const activity_type* act,
                                   const char* START_NODE_NAME);

// Makes the item's project calendar cover an outside item: from its start to
// the calendar's last day when it starts on or before first_day, and from
// first_day to its finish + 400 days when it finishes on or after the last
// day. Returns 0 or the store's negative status.
int coverOutsideItem(activity_type* act, const activity_type* other, const char* module,
                     FILE* file);

// Refreshes the children's four day offsets against the container (roll-up
// step 6).
void refreshChildOffsets(linked_list_type* activities_list, activity_type* cont,
                         const char* FINISH_NODE_NAME);
// The same for one item against its parent.
void refreshOffsetsInParent(activity_type* parent, activity_type* child,
                            const char* FINISH_NODE_NAME);

}  // namespace pass_detail

#endif  // LEVELER_NETWORK_ROLLUP_H
