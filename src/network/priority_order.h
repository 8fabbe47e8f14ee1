// Priority order and level index: the order in which the levelling main loop
// gives tasks their resources (task_level_order, written as LEVEL_INDEX), and
// the backward visiting orders of the backward pass (proper_order_back).
//
//   doCalculateDelayParamForAllTasks  competing work per task (delay
//                                     parameters of every task with
//                                     assignments);
//   creaPriorOrdTasksLevelIndex       weighted delay, classification, the
//                                     candidate list, the ordering loop with
//                                     its stalls and cuts, hard items last
//                                     (priority_order.cc, level_index.cc);
//   reorgNetTrFromFinishNode          act_tmp_list_4: every item after its
//                                     successors, containers after their
//                                     children (backward_orders.cc);
//   reorgIndexOrderOnBackPass         act_tmp_list_5: the ordering loop run
//                                     again on the copies, without delay
//                                     weighting (backward_orders.cc).
//
// Units: weighted_delay, rel_prj_sd, slack, ext_delay_dur and max_delay_param
// are working minutes; priority 0..1000 (500 neutral); task_level_order
// counts from 0, proper_order_back from 1; -1 means "not yet ordered".
//
// Ownership: the item list owns the items (act_tmp_list, or the copies of
// act_tmp_list_3); activities_list and every list built here only refer to
// them. act_tmp_list_4 and act_tmp_list_5 are emptied and refilled with
// references to the copies; the caller keeps owning those lists. Working
// lists are freed before every return, error paths included.
//
// The ordering loop. The candidate list is walked in passes from its top;
// an item that is ready (rules below) takes the next index, and after each
// one creaLevelIndexTopListToCurrPos orders every item above the current
// position that has become ready, the highest first, before the pass goes
// on. Because readiness only grows as items are ordered, this is the same
// as always ordering the ready item nearest the top of the list, which is
// how it is computed: a heap of ready positions, and after each ordering
// only the items whose readiness it can change are looked at again (its
// successors and their children, its children, the ALAP predecessors of an
// ALAP item, and the same for every container it completes). A pass that
// orders nothing is a stall: its pending list (the last 40 items found not
// ready, sorted by level_id) gives up its deepest item, which is ordered by
// force; more than 100 stalls whose forced item lies on a cycle of
// dependencies give 200212.
//
// Amended rule: only stalls that cut a real cycle of dependencies count
// towards the limit of 100. The readiness rules (a container waiting for
// the parents of its children's successors, an item for its ancestors'
// successors) also stall on networks without any cycle; on generated
// portfolios of 10,000 tasks the backward order stalled more than 100 times
// and the run ended with "circular dependencies" that did not exist. Such a
// stall still cuts (each orders one item, so the loop ends), is reported as
// before, and never ends the run; the circularity check tells the user of
// the real cycles.
//
// Forward readiness of an item X not yet ordered (predecessors and
// successors here are the non-external ones other than the two nodes; a
// predecessor "has passed" when it is ordered and, for a container, when
// every item below it is ordered):
//   1. constraint 4 or 5: ready;
//   2. parent a branch (brunch set): not before parent_level_order is 1
//      (the parent was ordered);
//   3. ALAP with real successors: ready once every ALAP successor passed;
//   4. parent_level_order not 1 and the parent has real predecessors: the
//      parent's non-ALAP predecessors must have passed (X and its children
//      get parent_level_order 1 when X, having no real predecessor, is
//      ordered this way);
//   5. every non-ALAP predecessor of X has passed.
//
// Backward readiness (proper_order_back), the forward rules mirrored with
// successors for predecessors and children before their containers:
//   1. constraint 4 or 5: ready;
//   2. a container: every child numbered, every successor of a child that
//      lies under another parent deeper than the container has that parent
//      numbered (valIfChildSuccParentsPassed);
//   3. every successor numbered, and every successor of every ancestor
//      numbered (valIfSuccAndParSuccParPassed: the parents' successors bound
//      the item from above in the backward pass).
// A successor is skipped when its entry is external, it is an outside item
// (isExternalSucc), it is missing from the list, or it is the item itself
// or one of its ancestors (a container waits for its children, so waiting
// for it would never end). A numbered container sets parent_proper_back on
// its children.
//
// Choices where the rules leave room:
// - The re-scan starts again from the top after every item it orders, so the
//   highest item an ordering frees is always the next one.
// - Root items are the items whose parent is the start node.
// - The two nodes are not ordered (they keep -1); the start node counts as
//   passed and a name missing from the list as passed.
// - The pending list is emptied at the start of every pass; the sub-optimal
//   list keeps the items of the whole run (at most 40). Both take, in every
//   pass until it orders something, the items found not ready: in a stall
//   pass all items not yet ordered, in another pass those above its first
//   ready item (a priority inversion: a task that had to wait for a
//   lower-placed predecessor). Both are sorted once per pass after the
//   additions; when full, the oldest entry (the head) goes first.
// - The cut report "Cut long chain of Dependences on Pending Node" is
//   written at the first stall and then at every 20th further one.
// - The project item of an item is the item named like its project; without
//   one the project's start_date at its working start is used. rel_prj_sd
//   is measured on the item's calendar view.
// - Urgency flows backwards only with delay weighting (optionFlag other than
//   3); with optionFlag 3 weighted_delay, rel_prj_sd and max_delay_param are
//   left as they stand.
// - Hard items last: the final list holds every candidate except the two
//   nodes; hard items already inserted take part in the search for the next
//   one. Computed with a prefix minimum of the final list's priorities, so
//   only hard items that land before the same item compare with each other.
// - reorgIndexOrderOnBackPass runs the whole forward ordering (lists, loop,
//   hard items last) on the copies without delay weighting and writes no
//   sub-optimal list (the forward ordering of the items writes it, mode 2).
// - act_tmp_list_4 holds the finish node first, then the copies in
//   proper_order_back order, then the start node; act_tmp_list_5 the start
//   node, the copies in task_level_order order, then the finish node.
// - The backward candidate list: the copies in reverse network order,
//   isExternalSucc items first, then items without real successors (with
//   the roots of root projects), the fixed ones, the items with real
//   successors, the other roots; roots ordered by
//   ordNodListPresOrdAscNtwLevAsc.
#ifndef LEVELER_NETWORK_PRIORITY_ORDER_H
#define LEVELER_NETWORK_PRIORITY_ORDER_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>
#include <vector>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

inline constexpr int PRIO_ERR_CANNOT_RESOLVE = 200212;  // more than 100 stalls
inline constexpr int PRIO_ERR_CIRCULAR_WRITE = 200208;  // error base of the circular writer
inline constexpr int PRIO_MAX_PENDING = 40;             // pending and sub-optimal lists
inline constexpr int PRIO_MAX_STALLS = 100;
inline constexpr int PRIO_CUT_REPORT_EVERY = 20;
inline constexpr int PRIO_OPTION_NO_LEVELLING = 3;  // optionFlag: no delay weighting
inline constexpr int PRIO_SUBOPTIMAL_MODE_FORWARD = 2;
inline constexpr int PRIO_SUBOPTIMAL_MODE_BACKWARD = 1;

// Delay parameters (max_delay_param, ext_delay_dur) of every task (type 3)
// of activities_list (its first and last entries, the two nodes, aside)
// with an assignment: the values of activityCalculateDelayParam for each,
// computed for all at once (activitiesCalculateDelayParams: per-task walks
// are quadratic in the network's size). smanager is not consulted. 0.
int doCalculateDelayParamForAllTasks(linked_list_type* activities_list,
                                     linked_list_type* act_tmp_list,
                                     storage_manager_type* smanager, const char* START_NODE_NAME,
                                     const char* FINISH_NODE_NAME, FILE* file);

// weighted_delay and task_level_order of every item of activities_list (the
// ordered network list, start node first, finish node last); act_tmp_list
// is the item list the names are looked up in. 0 or 200212.
int creaPriorOrdTasksLevelIndex(linked_list_type* projects_list, linked_list_type* activities_list,
                                linked_list_type* act_tmp_list, storage_manager_type* smanager,
                                int optionRunIndexesWherePossible, int assignmentsFlag,
                                int optionFlag, long julianDateOrigin,
                                const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                int PRINT_OPTION, FILE* file);

// proper_order_back of the copies (act_tmp_list_3, in network order, start
// node first) and act_tmp_list_4 in that order. 0, 200212, or a negative
// SQL status of the sub-optimal writer.
int reorgNetTrFromFinishNode(linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_4,
                             linked_list_type* projects_list, int optionRunIndexesWherePossible,
                             const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                             int PRINT_OPTION, FILE* file);

// task_level_order of the copies recomputed without delay weighting and
// act_tmp_list_5 in that order; child lists of containers by serial number.
// 0 or 200212.
int reorgIndexOrderOnBackPass(linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_5,
                              linked_list_type* projects_list, int optionRunIndexesWherePossible,
                              int assignmentsFlag, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME, int PRINT_OPTION, FILE* file);

namespace priority_detail {

// A list made here, released with ll_delete (its elements are not owned).
struct ListDeleter {
  void operator()(linked_list_type* list) const { ll_delete(list); }
};
using ListPtr = std::unique_ptr<linked_list_type, ListDeleter>;
inline ListPtr newItemList() { return ListPtr(ll_new(activityMatch, getActivityName)); }

// One forward ordering: the lists, the loop, hard items last, the
// sub-optimal list. Used by creaPriorOrdTasksLevelIndex on the items and by
// reorgIndexOrderOnBackPass on the copies.
struct ForwardSetup {
  linked_list_type* network;  // the items in network order, the nodes at the ends
  linked_list_type* lookups;  // the item list names are looked up in
  storage_manager_type* smanager;
  int optionRunIndexesWherePossible;
  int assignmentsFlag;
  bool weighting;         // weighted delay and the backward flow of urgency
  int subOptimalMode;     // table of the sub-optimal list; 0: not written
  const char* module;     // the operation, for the log
  const char* START_NODE_NAME;
  const char* FINISH_NODE_NAME;
  int PRINT_OPTION;
  FILE* file;
};
// 0 or 200212.
int runForwardOrdering(const ForwardSetup& setup);

// The ordering loop over one candidate list (its first and last entries,
// the two nodes, are not ordered). Built once per ordering.
class LevelOrdering {
 public:
  enum class Direction { Forward, Backward };

  // cand: the candidate list (start node first, finish node last); names are
  // resolved among its items. module names the operation in the log.
  LevelOrdering(linked_list_type* cand, Direction dir, const char* START_NODE_NAME,
                const char* FINISH_NODE_NAME, const char* module, FILE* file);
  ~LevelOrdering();
  LevelOrdering(const LevelOrdering&) = delete;
  LevelOrdering& operator=(const LevelOrdering&) = delete;

  // Orders every candidate: 0, or 200212 after more than 100 stalls that
  // cut a cycle of dependencies.
  int run();
  // Orders, nearest the top first, every ready item at or above position
  // currPos (0 = the first item after the start node), until none is left.
  void creaLevelIndexTopListToCurrPos(int currPos);

  // Items found not ready before a pass ordered anything (at most 40),
  // sorted by level_id; the list refers to the candidates.
  linked_list_type* subOptimalList() const { return subOptimal_.get(); }
  int stalls() const { return stalls_; }

 private:
  struct Node;
  bool ready(int i);
  bool readyForward(int i);
  bool readyBackward(int i);
  bool isAncestorOrSelf(int maybeAncestor, int i) const;
  void build(const char* START_NODE_NAME, const char* FINISH_NODE_NAME);
  void order(int i, bool forced);
  void touch(int i);
  void touchSubtree(int i);
  void markPassed(int i);
  void settle();
  void startPass();
  void addPending(int i);
  int nextForced() const;  // the item a stall forces, -1 when none is left
  void reportCut(int forced);
  void markDependencyCycles();

  std::vector<activity_type*> items_;  // the candidates between the nodes
  std::vector<Node> nodes_;
  std::vector<int> heap_;   // min-heap of ready positions
  std::vector<int> dirty_;  // positions to look at again
  Direction dir_;
  const char* module_;
  FILE* file_;
  int nextIndex_;
  int orderedCount_ = 0;
  int stalls_ = 0;           // stalls that cut a cycle of dependencies
  int allStalls_ = 0;        // every stall, for the reports
  int stallsSinceReport_ = 0;
  std::vector<char> onCycle_;  // per position: on a cycle of dependencies
  std::set<int> notOrdered_;   // positions not yet ordered
  int lastOrdered_ = -1;
  ListPtr pending_ = newItemList();
  ListPtr subOptimal_ = newItemList();
};

}  // namespace priority_detail

#endif  // LEVELER_NETWORK_PRIORITY_ORDER_H
