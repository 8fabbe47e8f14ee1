// The list orders of the priority ordering and the network construction:
// each rewrites a list of items (activity_type) in a new order by one or two
// integer keys, ascending unless said.
//
//   ordNodesListPriorDesSerNumAsc   (500 - priority, serial_num)
//   ordRootNodesListProjSerNumAsc   serial_num
//   ordSubOptimalListByLevelIdAsc   level_id
//   ordActListByCombIndxIdAsc       comb_index
//   doOrdSerNamesListByTaskLevOrderAsc_2L  task_level_order, into a 2nd list
//   doOrdSerNamesListByPropOrdBackAsc_2L   proper_order_back, into a 2nd list
//   ordNodListPresOrdAscNtwLevAsc   network levels in present order
//   ordNodListPresOrdAscNtwLevDesc  the same, reversed
//   ordNodListConsPriDesWeigDelAsc  constraint class, priority, weighted delay
//
// Every order is stable: items with equal keys keep their present order. The
// keys are sorted with the stable merge sorts of the sorting unit, which
// carry the item records themselves beside the keys; the list keeps its
// links and its header (an index goes stale and is rebuilt by its next
// search), and after an order the head is current. The lists refer to the
// items; nothing is allocated that outlives a call, nothing is freed.
//
// Choices where the rules leave room:
//   - The _2L orders keep the first and last entries of the list (the start
//     and finish nodes) at the two ends of the second list, which they empty
//     first; the first list is left as it was.
//   - ordNodListPresOrdAscNtwLevAsc: an item's parent is the first name of
//     its parent list looked up in act_tmp_list; without one the parent's
//     level counts as 0. The group counter starts a new group at the first
//     item, so the constrained items (group 0) come before every level.
//   - ordNodListConsPriDesWeigDelAsc: an item whose constraint code is none
//     of 0 to 7 takes the class of the item before it in the list, and 2 when
//     it is the first. The smallest-seen key and class start above every
//     value, so the first task always opens a counter value and sets the
//     largest weighted delay seen.
#ifndef LEVELER_NETWORK_LIST_ORDERS_H
#define LEVELER_NETWORK_LIST_ORDERS_H

#include "model/activity.h"
#include "model/linked_list.h"

void ordNodesListPriorDesSerNumAsc(linked_list_type* list);
void ordRootNodesListProjSerNumAsc(linked_list_type* list);
void ordSubOptimalListByLevelIdAsc(linked_list_type* list);
void ordActListByCombIndxIdAsc(linked_list_type* list);

// The entries of `list` between its first and last, ordered, into list_2
// behind the first entry and before the last.
void doOrdSerNamesListByTaskLevOrderAsc_2L(linked_list_type* list, linked_list_type* list_2);
void doOrdSerNamesListByPropOrdBackAsc_2L(linked_list_type* list, linked_list_type* list_2);

// (1) comb_index = present position from 1; order by (ntw_level_id + the
// parent's ntw_level_id - num_match_par_pred, ntw_level_id). (2) Group
// number: grows whenever (ntw_level_id, first key) changes from the previous
// item; 0 for constraints 3, 4, 5, 7. Order by (group, comb_index).
void ordNodListPresOrdAscNtwLevAsc(linked_list_type* list, linked_list_type* act_tmp_list);
void ordNodListPresOrdAscNtwLevDesc(linked_list_type* list, linked_list_type* act_tmp_list);

// (1) Keys (priority +1000 for constraints 3, 4, 5, 7 and -1000 for ALAP;
// class 2 unconstrained or upper/fixed, 1 lower bound, 0 ALAP), both
// descending. (2) Counter values from the weighted delays of the tasks.
// (3) Order by (counter, weighted_delay): non-tasks first, then tasks.
void ordNodListConsPriDesWeigDelAsc(linked_list_type* list, linked_list_type* act_tmp_list);

#endif  // LEVELER_NETWORK_LIST_ORDERS_H
