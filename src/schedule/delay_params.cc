// Delay parameters of an item (see delay_params.h).
#include "schedule/delay_params.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

activity_type* itemNamed(linked_list_type* list, const char* name) {
  return static_cast<activity_type*>(ll_extract(list, name));
}

// Collects, through the successor (forward) or predecessor lists, every
// reachable item other than `stop` that carries work of `ass` and is not
// yet in `collected`.
void collectReachable(activity_type* from, assignment_type* ass, linked_list_type* items,
                      linked_list_type* collected, const char* stop, bool forward) {
  std::unordered_set<const activity_type*> visited{from};
  std::unordered_set<const void*> inCollected;
  for (linktype* l = collected->phead; l != nullptr; l = l->pnext) inCollected.insert(l->pcontents);
  std::vector<activity_type*> todo{from};
  while (!todo.empty()) {
    activity_type* a = todo.back();
    todo.pop_back();
    linked_list_type* deps = forward ? a->succ_list : a->pred_list;
    for (linktype* l = deps->phead; l != nullptr; l = l->pnext) {
      const char* name = getDependencyName(l->pcontents);
      if (stop != nullptr && std::strcmp(name, stop) == 0) continue;
      activity_type* next = itemNamed(items, name);
      if (next == nullptr || !visited.insert(next).second) continue;
      if (getActivityWorkByAssignment(next, ass) != nullptr && inCollected.insert(next).second) {
        ll_addtail(collected, next);
      }
      todo.push_back(next);
    }
  }
}

// Every item reachable from `from` through its successor (forward) or
// predecessor lists, `stop` excluded, into `reached`.
void reachAll(activity_type* from, linked_list_type* items, const char* stop, bool forward,
              std::unordered_set<const activity_type*>& reached) {
  std::vector<activity_type*> todo{from};
  while (!todo.empty()) {
    activity_type* a = todo.back();
    todo.pop_back();
    linked_list_type* deps = forward ? a->succ_list : a->pred_list;
    for (linktype* l = deps->phead; l != nullptr; l = l->pnext) {
      const char* name = getDependencyName(l->pcontents);
      if (stop != nullptr && std::strcmp(name, stop) == 0) continue;
      activity_type* next = itemNamed(items, name);
      if (next == nullptr || next == from || !reached.insert(next).second) continue;
      todo.push_back(next);
    }
  }
}

int buildByAll(activity_type* a, linked_list_type* items, linked_list_type* collected,
               const char* stop, bool forward) {
  for (linktype* l = a->assignment_list->phead; l != nullptr; l = l->pnext) {
    collectReachable(a, static_cast<assignment_type*>(l->pcontents), items, collected, stop, forward);
  }
  return 0;
}

}  // namespace

work_type* getActivityWorkByAssignment(const activity_type* this_act, assignment_type* this_ass) {
  return getAssignmentWorkByActivity(this_ass, this_act->name);
}

int activityBuildSuccListByAssignment(activity_type* this_act, assignment_type* this_ass,
                                      linked_list_type* act_tmp_list,
                                      linked_list_type* act_succ_list,
                                      const char* FINISH_NODE_NAME, FILE* /*file*/) {
  collectReachable(this_act, this_ass, act_tmp_list, act_succ_list, FINISH_NODE_NAME, true);
  return 0;
}

int activityBuildSuccListByAllAssignments(activity_type* this_act, linked_list_type* act_tmp_list,
                                          linked_list_type* act_succ_list,
                                          const char* FINISH_NODE_NAME, FILE* /*file*/) {
  return buildByAll(this_act, act_tmp_list, act_succ_list, FINISH_NODE_NAME, true);
}

int activityBuildPredListByAssignment(activity_type* this_act, assignment_type* this_ass,
                                      linked_list_type* act_tmp_list,
                                      linked_list_type* act_pred_list,
                                      const char* START_NODE_NAME, FILE* /*file*/) {
  collectReachable(this_act, this_ass, act_tmp_list, act_pred_list, START_NODE_NAME, false);
  return 0;
}

int activityBuildPredListByAllAssignments(activity_type* this_act, linked_list_type* act_tmp_list,
                                          linked_list_type* act_pred_list,
                                          const char* START_NODE_NAME, FILE* /*file*/) {
  return buildByAll(this_act, act_tmp_list, act_pred_list, START_NODE_NAME, false);
}

int activityCalculateDelayParam(activity_type* this_act, linked_list_type* act_tmp_list,
                                storage_manager_type* /*smanager*/, const char* START_NODE_NAME,
                                const char* FINISH_NODE_NAME, FILE* file) {
  if (ll_size(this_act->assignment_list) == 0) return 0;
  // The items related to the task through an assignment are the reachable
  // items that carry that assignment's work; an item that carries an
  // assignment's work is skipped exactly when it is reachable. So one walk
  // each way serves every assignment, and each work record is tested once.
  std::unordered_set<const activity_type*> after, before;
  try {
    reachAll(this_act, act_tmp_list, FINISH_NODE_NAME, true, after);
    reachAll(this_act, act_tmp_list, START_NODE_NAME, false, before);
    int32_t largest = 0, smallest = 0;
    bool first = true;
    for (linktype* l = this_act->assignment_list->phead; l != nullptr; l = l->pnext) {
      const assignment_type* ass = static_cast<const assignment_type*>(l->pcontents);
      int32_t load = 0;
      for (linktype* w = ass->work_list->phead; w != nullptr; w = w->pnext) {
        const work_type* work = static_cast<const work_type*>(w->pcontents);
        if (std::strcmp(work->act_name, this_act->name) == 0) continue;
        const activity_type* item = itemNamed(act_tmp_list, work->act_name);
        if (item != nullptr && (after.count(item) != 0 || before.count(item) != 0)) continue;
        const bool finished = item != nullptr ? item->hasActualFinish != 0 : work->hasActualFinish != 0;
        if (finished) continue;
        const project_type* p = item != nullptr && item->proj != nullptr ? item->proj : this_act->proj;
        load += getWorkDurationContour(work, p != nullptr ? p->minutes_per_day : 0, 0, file);
      }
      largest = first ? load : std::max(largest, load);
      smallest = first ? load : std::min(smallest, load);
      first = false;
    }
    this_act->max_delay_param = largest;
    this_act->ext_delay_dur = largest - smallest;
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file, "\n ****** error in activityCalculateDelayParam: throw exception to upper level \n");
    }
    throw;
  }
  return 0;
}
