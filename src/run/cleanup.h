// The clean-up of a run's record lists: freeing every item, project and
// assignment record the run made, and the lists that held them, exactly
// once.
//
// Who owns what (the list container never owns its elements; these are the
// lists through which the records are released):
//   act_tmp_list        every item record of the run, the start and finish
//                       nodes and the placeholders of outside items included;
//   act_tmp_list_3      its own item records (the copies made for the
//                       backward pass);
//   assignments_list    the assignment records;
//   projects_list       every project loaded (roots and sub-projects);
//   input_projects_list the root projects chosen for the run: a record that
//                       the load moved into projects_list is released there,
//                       one that never moved is released here;
//   ext_projects_list   the projects outside the run (and the fictive one);
//   root_act_list, activities_list, proj_act_OnExt_dep_list, ext_pred_list,
//   act_tmp_list_4, act_tmp_list_5
//                       only refer to records: the lists alone are freed.
// The storage manager only refers to projects; it is freed with the lists.
//
// Amendment to the release order of the finalisation: the item records are
// released through act_tmp_list (with the duplicate check), not through
// activities_list. In this engine act_tmp_list is the owner of every item,
// while activities_list, the ordered network, may lack items that never
// entered the network, which would then leak.
//
// The duplicate check: the names already met are kept in a set of strings;
// a name met a second time is logged as
//   "\n\n *** error in doDeleteActivities !!! item %d) %s appears twice: \n"
// (doDeleteProjects writes its own name in that line), with the position of
// the entry in the list counted from 1. A record is never deleted twice:
// the check also keeps the addresses already released, so the same record
// met again is only logged, while a second, distinct record that merely
// shares a name is logged and still released (it has no other owner).
//
// Every function here takes the list by reference, releases what it must,
// deletes the list and leaves the pointer null; a null list is skipped. The
// log stream may be null (nothing is written). Each returns the number of
// records it released.
#ifndef LEVELER_RUN_CLEANUP_H
#define LEVELER_RUN_CLEANUP_H

#include <cstdio>

#include "model/linked_list.h"
#include "run/run_state.h"

// Item records of the list, with the duplicate check.
int doDeleteActivities(linked_list_type*& activities_list, FILE* file);
// Project records of the list, with the duplicate check.
int doDeleteProjects(linked_list_type*& projects_list, FILE* file);
// Item records of the list, every entry deleted as it comes (the caller
// knows that the list holds each record once).
int doDeleteActivitiesNoCheck(linked_list_type*& activities_list, FILE* file);
// Assignment records of the list (each record released once).
int doDeleteAssignments(linked_list_type*& assignments_list);
// Frees the predecessor-hierarchy names of every item of the list; the
// items and the list stay. Returns the number of items visited.
int doDeleteActivitiesPredHierarchyTreeData(linked_list_type* activities_list);

namespace run {

// Frees the storage manager, every list of the run and every record they
// own, each exactly once (the ownership above); afterwards every record
// pointer of `run` is null. Safe to call again (it then does nothing).
void freeRunRecords(RunState& run, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_CLEANUP_H
