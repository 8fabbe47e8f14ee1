// The storage manager: bounds how many projects keep their plain
// availability arrays in memory (the pool, oldest evicted first), and holds
// the counters of the run's sequence identifiers.
//
// The manager's list refers to projects it does not own; a project must
// leave the run (and the manager be deleted) before the project is released.
#include "calendar/project.h"

storage_manager_type* smanagerCreateNew() {
  storage_manager_type* sm = new storage_manager_type{};
  sm->next_act_uid = -1;
  sm->next_res_uid = -1;
  sm->projects_pool_size = 1;
  sm->stored_projects_list = ll_new(projectMatch, getProjectName);
  return sm;
}

void smanagerDelete(storage_manager_type* this_sm) {
  if (this_sm == nullptr) return;
  ll_delete(this_sm->stored_projects_list);
  delete this_sm;
}

void setSmanagerProjectsPoolSize(storage_manager_type* this_sm, int32_t projects_pool_size) {
  this_sm->projects_pool_size = projects_pool_size;
}

void smanagerEconomizeStorageForUseOfSingleProjectCalendar(storage_manager_type* this_sm,
                                                           project_type* proj) {
  if (proj == this_sm->curr_project) return;
  linked_list_type* stored = this_sm->stored_projects_list;
  if (ll_find(stored, proj->name)) {
    this_sm->curr_project = proj;
    return;
  }
  if (ll_size(stored) >= this_sm->projects_pool_size && ll_size(stored) > 0) {
    ll_head(stored);
    project_type* oldest = static_cast<project_type*>(ll_retrieve(stored));
    projectDeleteAveData(oldest);
    ll_remove(stored);
    if (oldest == this_sm->curr_project) this_sm->curr_project = nullptr;
  }
  this_sm->curr_project = proj;
  ll_addtail(stored, proj);
}
