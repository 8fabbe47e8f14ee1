// The forward pass: every item's early dates (start day and start offset,
// finish day and finish offset) on its project's calendar, such that every
// dependency, constraint, actual and calendar rule holds.
//
//   - static pass: doFinAlignActivitiesFrwdPass visits the ordered network
//     list once in serial_num order, each item through
//     doAlignmentActivityItemForwardPass;
//   - dynamic realignment: doDynamAlignActWithPred realigns one item against
//     its predecessors after levelling has moved something (same steps, with
//     the differences of the dynamic form listed below);
//   - dynamic forward re-pass: doRunFrwdDynamicRepasNetTree reads the run's
//     items back from the database in priority order (forward_repass.cc).
//
// Ownership: the passes change items in place and allocate nothing that
// outlives a call; the lists only refer to items. Predecessors are found by
// name in act_tmp_list, children in activities_list (through ll_extract:
// the list's index array is used when one was built, and no list's current
// position moves, so a list may be walked and searched at once).
//
// Units: dates are day numbers; start offsets minutes after the start day's
// working start, finish offsets minutes before the finish day's working end
// (a later start has the larger start offset, a later finish the smaller
// finish offset); durations calendar days; lags working minutes.
//
// Invariants after a visit: only the driving predecessor entry of the item
// has isActive 1; onDepTypeFrwd is the driving dependency's type; with
// optionCalculEsEfLsLf the four early fields equal the item's placement.
// The first error ends a pass; dates written before it stay.
//
// Results: 0, or 200302 (no working finish day for a finish bound), 200198
// (placing from a bounded finish failed), 200175 (placing from the start
// failed), 200176 (placing from the finish failed), 200173 (placing from the
// project's first day failed), 200216 (missing sequence identifier in the
// re-pass), or the code of the resolution, roll-up or actual-work step that
// failed. Each numbered error writes one line "error (n) !!! -- ForwardPass:"
// (or "-- doDynamAlignActWithPred:") with the item, the predecessor and the
// dates.
//
// Amended rule: the static pass is not one sweep in network order. A
// container's dependency moves its descendants when the container is
// visited, after all of its children; a task outside the container that
// both follows one child and precedes another (P -> C{a, b}, a -> Y -> b)
// was placed against the child's old dates and one sweep never places it
// again: Y started days before a finished, with slack it did not have (on
// random networks with a third of the links on containers, most networks
// had tasks placed too early). So the pass repeats the realignment of the
// items that may have become wrong, containers rolled up again as they are
// revisited, until nothing moves (settle.h: the dependents visited again,
// the bound of kMaxSettleSweeps sweeps and its log line). From the second
// sweep on an item never starts before its parent's start (as in the
// dynamic realignment), so that a child re-visited on its own predecessors
// keeps its container's dependency, and a container whose dependencies do
// not put it before any child it would move (children finished, locked or
// on a fixed date are not moved) keeps its rolled-up dates and leaves its
// children alone: re-running the container update would shift them again
// by their distance to a fixed sibling. The first sweep is the old pass.
// Cost: the children of every container that moved are placed against it
// again in the second sweep (to the minute: the container update moves
// them by whole days); further sweeps visit only what moved. On the random
// 100,000-item networks of the passes benchmark, where a quarter of the
// links jump anywhere into other containers, the pass settles in about 30
// sweeps and some ten times the visits of one sweep.
//
// Choices where the rules leave room:
//   - The list walked by doFinAlignActivitiesFrwdPass is bracketed by the
//     two network nodes: its head names the start node and its tail the
//     finish node.
//   - A candidate moved to a bounded finish (constraints 2, 3, 4) is placed
//     from that day's working end (finish offset 0).
//   - A predecessor raise (external predecessor to the current date, task to
//     the first day) applies both rules in turn when both hold.
//   - An ALAP leaf whose placement fails is reported as error (12) with
//     200175 (from its start) or error (11) with 200176 (from its finish).
//   - An ALAP leaf moved to its driving start in the last step (start-driven)
//     is placed again from that start, so that its finish stays on its
//     calendar.
//   - The dynamic realignment leaves alone an item that is finished, locked
//     (ignore_item_for_sched) or outside (isExternalPred) and result 0; it
//     records no early fields except for an unmoved project item; it runs
//     the container update with hasTobeChecked 1 and restrictUpDown 0.
//   - A start raised to the lower start bound always sets
//     reschedule-from-start (not only under constraint 6): the raise moves
//     the finish by the same calendar days, and a finish-driven item placed
//     back from that finish would start later than the bound whenever the
//     raise crossed a weekend.
//   - An item without a project (the two nodes) is never placed.
//   - Re-pass: an element id without an item in the list is passed over (an
//     outside or unloaded row); an assignment whose dates cannot be taken
//     (doExtractActAssStartFinishDT) is logged and ignored, as the main loop
//     does; a finished task's open assignment is the D-6 finding, notified
//     with the subject "[Started] " + p_subject (the run goes on). The
//     re-pass uses the assignment date functions and the notification of
//     the run layer: a dependency against the layers' direction, which
//     the re-pass cannot avoid while those functions live there.
#ifndef LEVELER_NETWORK_FORWARD_PASS_H
#define LEVELER_NETWORK_FORWARD_PASS_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"
#include "network/rollup.h"

inline constexpr int FWD_ERR_NO_WORKING_FINISH = 200302;
inline constexpr int FWD_ERR_PLACE_BOUNDED_FINISH = 200198;
inline constexpr int FWD_ERR_PLACE_FROM_START = 200175;
inline constexpr int FWD_ERR_PLACE_FROM_FINISH = 200176;
inline constexpr int FWD_ERR_PLACE_FROM_FIRST_DAY = 200173;
inline constexpr int FWD_ERR_MISSING_SEQ_UID = 200216;

int doFinAlignActivitiesFrwdPass(linked_list_type* root_act_list, linked_list_type* items_list,
                                 linked_list_type* activities_list,
                                 linked_list_type* act_tmp_list, storage_manager_type* smanager,
                                 int hasTobeChecked, int restrict_UpDown,
                                 int optionCalculEsEfLsLf, FILE* file);

int doAlignmentActivityItemForwardPass(activity_type* this_succ_node,
                                       linked_list_type* activities_list,
                                       linked_list_type* act_tmp_list,
                                       storage_manager_type* smanager, int hasTobeChecked,
                                       int restrictUpDown, int optionCalculEsEfLsLf,
                                       const char* START_NODE_NAME,
                                       const char* FINISH_NODE_NAME, FILE* file);

int doDynamAlignActWithPred(activity_type* this_succ_node, linked_list_type* act_tmp_list,
                            storage_manager_type* smanager, const char* START_NODE_NAME,
                            const char* FINISH_NODE_NAME, FILE* file);

// The dynamic forward re-pass: the run's items read back from the work
// table Lev_kor_wbs (projects of NAV_TMP_PROJECTS_00) in priority order,
// with their open assignments when assignmentsFlag is 1 or more; each task
// takes the envelope of its assignments' dates (doSetDTParamsTaskDrivAss)
// and is realigned with its predecessors. p_message is the run's user
// message buffer (16385 bytes). 0, a negative SQL status, 200216, or the
// first code of a step that failed.
int doRunFrwdDynamicRepasNetTree(linked_list_type* act_tmp_list, storage_manager_type* sm,
                                 int optionConsiderUidsLengthSupr, int assignmentsFlag,
                                 const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                 char* p_workflow_id, char* p_message, const char* p_subject,
                                 const char* p_element_id_p, const char* p_rec_user,
                                 int p_root_table_type, int PRINT_OPTION_MORETHAN_BASIC,
                                 FILE* file);

namespace pass_detail {

// The driving candidate of a forward visit.
struct Driving {
  bool found = false;
  Placement p;                 // candidate start, finish and offsets
  int type = -1;               // its dependency type
  bool resched = false;        // reschedule-from-start
  bool predHasActualFinish = false;
  bool fixedByUpperStart = false;  // set by the upper start bound or constraint 5
};

// The predecessor part of a forward visit: every predecessor entry resolved,
// bounded by the item's constraints, and the latest candidate kept (with
// isActive on its entry only). 0 or the first error's code.
int forwardDrivingPredecessor(activity_type* act, linked_list_type* act_tmp_list,
                              storage_manager_type* smanager, const Bounds& b, bool dynamic,
                              const char* module, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME, FILE* file, Driving* drv,
                              bool* hasAlapPred);

// Re-places a task that has both an actual start and an assignment on its
// assignments' work, from its finish. 0 or the failure's code.
int replaceOnAssignmentWork(activity_type* act, storage_manager_type* smanager, FILE* file);

// Writes the numbered forward error line.
void logForwardError(FILE* file, int number, const char* module, const activity_type* act,
                     const activity_type* other, const Placement& p);

// Writes an unnumbered failure line ("error !!! -- module: what failed ...").
void logForwardFailure(FILE* file, const char* module, const char* what,
                       const activity_type* act);

// Moves the candidate's finish to `finish` (its start by the same days),
// snaps it onto a working finish and places the item from it: 0, 200302
// (logged as errSnap) or 200198 (logged as errPlace).
int placeFromBoundedFinish(activity_type* act, storage_manager_type* smanager, int32_t finish,
                           Placement* p, int errSnap, int errPlace, const char* module,
                           const activity_type* pred, FILE* file);

// LS_act_date rule: with LS_act_date at least 1 and not before the
// candidate's start, the candidate starts there at LS_act_time and keeps its
// duration (finish offset 0). True when it applied.
bool lsActRuleFor(const activity_type* act, Placement* p);

// An ALAP leaf without real successors pushed as late as its branch allows:
// the nearest ancestor marked brunch that has a real successor gives its
// finish (when the item has a real predecessor, is driven by FF or FS and
// finishes before it); otherwise the LS_act_date rule. True when the
// LS_act_date rule applied.
bool alapToBranchFinish(activity_type* act, linked_list_type* list, const char* START_NODE_NAME,
                        const char* FINISH_NODE_NAME, bool hasReal);

}  // namespace pass_detail

#endif  // LEVELER_NETWORK_FORWARD_PASS_H
