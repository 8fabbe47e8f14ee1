// Network construction: turning the flat list of loaded items into the
// scheduling network.
//
//   - the two bracketing nodes ("start" at the head of the item list,
//     "finish" at its tail), the parent/child tree under the start node and
//     the predecessor lists, with the start node as predecessor of every item
//     without one and the finish node as successor of every item without one
//     (network_tree.cc);
//   - the ordered network list activities_list: every item after the items
//     it depends on, every container after its children; an item's position
//     there is its serial_num, from 0 at the start node (network_order.cc);
//   - the circularity check, the network levels and the per-item flags that
//     the priority order needs (network_flags.cc).
//
// Ownership: the item list (act_tmp_list) owns every record, including the
// two nodes created here; activities_list and root_act_list only refer to
// them. Nothing here frees an item. Lists built internally are freed before
// each operation returns, also on its error paths.
//
// Units: day numbers (start_date, finish_date); ntw_level_id, circul_id and
// serial_num are counts; priority is 0..1000 with 500 neutral.
//
// Recognising the nodes: by name (START_NODE_NAME, FINISH_NODE_NAME), except
// where an operation receives no names (creaNetworkLevelIdTopBot and its
// companions, ordChiListBySerNumAsc): there the start node is the head and
// the finish node the tail of the item list passed.
//
// A leaf is an item for which getActivityIfEmptyContainer holds: a task
// (type 3), or an item whose child list holds nothing but the finish node
// (or nothing at all, as before the tree is completed).
//
// Choices where the rules leave room:
//   - Links to the finish node are finish-to-finish (type 0), lag 0, and are
//     made both ways (the finish node lists the item as predecessor), in
//     doCreateDepPred as in doCreateDepSucc; an item given the start node as
//     parent while its children are gathered (optimizeParentChild 0) is also
//     entered as the start node's child, so the tree is the same both ways.
//   - Readiness in doBuildNetTrFromStartNode: an item is ready when the
//     arrival of its last non-external predecessor is counted; an item whose
//     count is already 0 (only external predecessors, or none) is ready on its
//     first arrival, and an arrival through an external entry never counts.
//     A ready item's count is consumed (set to 0).
//   - A frontier item back from the re-queue list looks again only at the
//     containers it was re-queued for whose children have all been passed
//     since (its other successors had their arrival counted on its first
//     visit, and a container still waiting for a child would only re-queue it
//     again); it stays on the list, in its place, while it waits on any.
//   - The start node counts as passed from the beginning.
//   - Every stall is counted and cuts a chain: the deepest item of the
//     circular list that has not been passed yet is forced through. The
//     forced item joins the next frontier, so the items that depend on it are
//     reached through it like through any placed item. (Cutting only when a
//     stall added a new item to the circular list would loop forever once
//     every stalled item is already listed.)
//   - A pass of the ordered insertion that places nothing, while leaves wait
//     for the containers of their predecessors and those containers wait,
//     through their children, for the leaves, counts as a stall and is cut:
//     the next pass places the waiting leaves without those containers. (The
//     containers' rule can deadlock on an acyclic network; without the cut
//     such a network would end with 200212.)
//   - Waiting items are moved behind a newly placed predecessor (and
//     containers behind a newly placed child) only when they stand before
//     it; moving an item that already stands behind would move it earlier.
//   - A closing pass checks the finished list against the two invariants
//     (every item after its non-external predecessors, every container after
//     its children) and, where the insertion rules left an item too early,
//     moves it back as little as the invariants need, keeping the order of
//     everything else; inside a cut circular chain the forced order stays.
//   - checkForCirculDep pushes a container's raised value down to its direct
//     children only (each later sweep carries it further), for at most 40
//     sweeps; its result does not come from the sweeps but from an exact
//     cycle search over dependencies and containment (network_flags.cc
//     says why and how).
#ifndef LEVELER_NETWORK_NETWORK_CONSTRUCTION_H
#define LEVELER_NETWORK_NETWORK_CONSTRUCTION_H

#include <cstdint>
#include <cstdio>

#include "model/activity.h"
#include "model/linked_list.h"

// Codes returned here.
inline constexpr int NTW_ERR_CANNOT_RESOLVE = 200212;  // more than 100 stalls
inline constexpr int NTW_ERR_CIRCULAR_WRITE = 200208;  // error base of the circular-items writer
inline constexpr int NTW_MAX_CIRCULAR = 40;            // entries of the circular list
inline constexpr int NTW_MAX_STALLS = 100;             // stalls tolerated per phase
inline constexpr int NTW_MAX_CIRCUL_SWEEPS = 40;       // sweeps of checkForCirculDep
inline constexpr int NTW_NEUTRAL_PRIORITY = 500;

// 1 when the item is a leaf (a task, or a container with no child but the
// finish node), else 0.
int16_t getActivityIfEmptyContainer(const activity_type* this_act, const char* FINISH_NODE_NAME);

// Creates the start node (head of the list) and the finish node (tail):
// type 0, no project, both days min_cd_projects - 1, no constraint.
void doCreaStartFinishNodesForNtw(linked_list_type* activities_list, int32_t min_cd_projects,
                                  const char* START_NODE_NAME, const char* FINISH_NODE_NAME);

// Completes the parent/child tree. actNames holds the list's item names in
// list order (ll_size entries, the start node first and the finish node
// last). Returns 0, or error_code_base when a named item is missing or a
// link cannot be made.
int doCreateChildrenInNetworkTree(linked_list_type* activities_list, char** actNames,
                                  int optimizeParentChild, int optionConsContAsTaskIfEmpty,
                                  FILE* file, int error_code_base);

// Completes the predecessor lists from the successor lists and attaches the
// start and finish nodes. projects_list is not consulted.
void doCreateDepPred(linked_list_type* activities_list, linked_list_type* projects_list,
                     char** actNames, int optimizeDepPred, FILE* file);

// The mirror: successor lists from predecessor lists, then the two nodes.
void doCreateDepSucc(linked_list_type* activities_list, char** actNames, FILE* file);

// Builds the ordered network list into activities_list (emptied first) from
// the items of act_tmp_list. mentainNtwLevId 1 sets ntw_level_id on the way,
// mentainNtwSerialNumber 1 numbers the result; reversedListOption 1 swaps the
// roles of the item list's head and tail. Returns 0 or 200212; the items of a
// cut circular chain are written to Lev_circ_3 (a failed write is logged).
int doBuildNetTrFromStartNode(linked_list_type* act_tmp_list, linked_list_type* activities_list,
                              int mentainNtwLevId, int mentainNtwSerialNumber,
                              int reversedListOption, FILE* file);

// 1 when the dependencies (outside items excluded) together with the tree
// form a cycle, at any depth, else 0; sets circul_id. The items of a cycle
// closed only through the tree are written to Lev_circ_3 and logged (the
// traversal lists the others).
int checkForCirculDep(linked_list_type* activities_list, linked_list_type* act_tmp_list,
                      const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file);

// Flags from dependencies (onPred, onSucc, residesOnNonTrivialPred/Succ,
// depType_back) and the inherited priority, from each root downwards.
void inherPredSuccNetTreeTopBot(linked_list_type* root_act_list, linked_list_type* activities_list,
                                const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                FILE* file);
void inherPredSuccNetTreeTopBot_2(linked_list_type* activities_list, activity_type* this_cont,
                                  const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                  FILE* file);

// Network levels; the processing sequence calls it when the run has more
// than one root.
void creaNetworkLevelIdTopBot(linked_list_type* root_act_list, linked_list_type* activities_list,
                              linked_list_type* act_tmp_list, FILE* file);
void inherNetLevIdTopBotParents(linked_list_type* root_act_list, linked_list_type* act_tmp_list,
                                int firstTime, FILE* file);
void inherNetLevIdTopBotParents_2(linked_list_type* act_tmp_list, activity_type* this_act,
                                  int firstTime, FILE* file);
void inherNetLevIdTopBotPred(linked_list_type* activities_list, linked_list_type* act_tmp_list,
                             FILE* file);

// Assignment and calendar flags (hasAssignment, ignoreHolesInCalendar) passed
// up from the children, from each root downwards.
void inherAssigCountTopBot(linked_list_type* root_act_list, linked_list_type* activities_list,
                           int optionResourceCalTakesPrec, const char* FINISH_NODE_NAME,
                           FILE* file);
void inherAssigCountTopBot_2(linked_list_type* activities_list, activity_type* this_cont,
                             int optionResourceCalTakesPrec, const char* FINISH_NODE_NAME,
                             FILE* file);

// Sorts a container's child names by the children's serial_num, ascending
// (children not found in activities_list count as serial 0).
void ordChiListBySerNumAsc(activity_type* this_container, linked_list_type* activities_list);

#endif  // LEVELER_NETWORK_NETWORK_CONSTRUCTION_H
