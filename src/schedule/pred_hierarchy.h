// The predecessor hierarchy of an item: the names of every item that
// precedes it, directly or through its parent, kept in its
// pred_tree_name_list, and the circular dependencies found on the way.
//
// Ownership: the names are string_type records owned by the item's list
// (released by activityDeletePredHierarchyTreeData or activityDelete).
//
// Order: the predecessors' own lists must be built first (predecessors
// before successors: the network construction's order); the list read here
// is whatever the predecessor holds at the time of the call.
//
// Taken in turn: when the item's parent (first name of its parent list) is
// not the start node and has a non-trivial predecessor, the parent's
// non-external predecessors other than the start node; then, when the item
// has a non-trivial predecessor, its own. For each such predecessor, and
// then for each name of that predecessor's list, a name not yet listed is
// added, together with that item's parent when the parent has a non-trivial
// predecessor, is not the item's own parent and is not yet listed. A name
// equal to the item, its parent or one of its children is a circular
// dependency: the message (error (1) a predecessor of the parent, (2) a
// name in such a predecessor's list, (3) a predecessor of the item, (4) a
// name in its list), the item's path, and the result 200212.
//
// Choice: the path is printed as the item's name and then "<i> <name>" per
// listed name from 0, one per line.
#ifndef LEVELER_SCHEDULE_PRED_HIERARCHY_H
#define LEVELER_SCHEDULE_PRED_HIERARCHY_H

#include <cstdio>

#include "model/activity.h"
#include "model/linked_list.h"

inline constexpr int ERR_CIRCULAR_DEPENDENCY = 200212;

// 0, or 200212 for a circular dependency (the list keeps what was added
// before it was found).
int activityCreatePredHierarchyTreeList(activity_type* this_act, linked_list_type* act_tmp_list,
                                        const char* START_NODE_NAME, FILE* file);

#endif
