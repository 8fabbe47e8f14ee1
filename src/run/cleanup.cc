// The clean-up of a run's record lists (see cleanup.h for the ownership and
// the duplicate check).
#include "run/cleanup.h"

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"

namespace {

// Addresses released so far, with the name each record had (a released
// record can no longer be asked for it).
using Freed = std::unordered_map<const void*, std::string>;

// How one walk over a list treats what it meets.
struct Walk {
  const char* function = nullptr;  // name in the duplicate line; null: no name check
  Freed* freed = nullptr;          // addresses released so far; null: no address check
  FILE* file = nullptr;
};

void logTwice(const Walk& walk, int position, const char* name) {
  if (walk.file == nullptr) return;
  std::fprintf(walk.file, "\n\n *** error in %s !!! item %d) %s appears twice: \n", walk.function,
               position, name);
  std::fflush(walk.file);
}

// Releases the records of `list` with `release`, then the list itself.
template <class Record>
int releaseAll(linked_list_type*& list, void (*release)(Record*), const char* (*nameOf)(void*),
               const Walk& walk) {
  if (list == nullptr) return 0;
  std::unordered_set<std::string> names;
  int released = 0;
  int position = 0;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    ++position;
    void* element = l->pcontents;
    if (element == nullptr) continue;
    if (walk.freed != nullptr) {
      auto before = walk.freed->find(element);
      if (before != walk.freed->end()) {
        if (walk.function != nullptr) logTwice(walk, position, before->second.c_str());
        continue;
      }
    }
    const char* name = nameOf(element);
    if (walk.function != nullptr && !names.insert(name).second) logTwice(walk, position, name);
    if (walk.freed != nullptr) walk.freed->emplace(element, name);
    release(static_cast<Record*>(element));
    ++released;
  }
  ll_delete(list);
  list = nullptr;
  return released;
}

void deleteList(linked_list_type*& list) {
  ll_delete(list);
  list = nullptr;
}

}  // namespace

int doDeleteActivities(linked_list_type*& activities_list, FILE* file) {
  Freed freed;
  return releaseAll<activity_type>(activities_list, activityDelete, getActivityName,
                                   Walk{"doDeleteActivities", &freed, file});
}

int doDeleteProjects(linked_list_type*& projects_list, FILE* file) {
  Freed freed;
  return releaseAll<project_type>(projects_list, projectDelete, getProjectName,
                                  Walk{"doDeleteProjects", &freed, file});
}

int doDeleteActivitiesNoCheck(linked_list_type*& activities_list, FILE* file) {
  return releaseAll<activity_type>(activities_list, activityDelete, getActivityName,
                                   Walk{nullptr, nullptr, file});
}

int doDeleteAssignments(linked_list_type*& assignments_list) {
  Freed freed;
  return releaseAll<assignment_type>(assignments_list, assignmentDelete, getAssignmentName,
                                     Walk{nullptr, &freed, nullptr});
}

int doDeleteActivitiesPredHierarchyTreeData(linked_list_type* activities_list) {
  if (activities_list == nullptr) return 0;
  int visited = 0;
  for (linktype* l = activities_list->phead; l != nullptr; l = l->pnext) {
    if (l->pcontents == nullptr) continue;
    activityDeletePredHierarchyTreeData(static_cast<activity_type*>(l->pcontents));
    ++visited;
  }
  return visited;
}

namespace run {

void freeRunRecords(RunState& run, FILE* file) {
  smanagerDelete(run.sm);
  run.sm = nullptr;

  // Lists that only refer to records.
  deleteList(run.root_act_list);
  deleteList(run.ext_pred_list);
  deleteList(run.act_tmp_list_4);
  deleteList(run.act_tmp_list_5);
  deleteList(run.activities_list);
  deleteList(run.proj_act_OnExt_dep_list);

  // One record of the run is released once whatever lists it sits in: the
  // addresses released so far are shared by the walks below (a root project
  // sits in input_projects_list and in projects_list by design).
  Freed freed;
  releaseAll<assignment_type>(run.assignments_list, assignmentDelete, getAssignmentName,
                              Walk{nullptr, &freed, file});
  releaseAll<activity_type>(run.act_tmp_list_3, activityDelete, getActivityName,
                            Walk{nullptr, &freed, file});
  releaseAll<activity_type>(run.act_tmp_list, activityDelete, getActivityName,
                            Walk{"doDeleteActivities", &freed, file});
  releaseAll<project_type>(run.projects_list, projectDelete, getProjectName,
                           Walk{"doDeleteProjects", &freed, file});
  releaseAll<project_type>(run.ext_projects_list, projectDelete, getProjectName,
                           Walk{"doDeleteProjects", &freed, file});
  releaseAll<project_type>(run.input_projects_list, projectDelete, getProjectName,
                           Walk{nullptr, &freed, file});
}

}  // namespace run
