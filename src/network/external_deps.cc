// External and fictive dependencies (see external_deps.h for ownership,
// units and the choices made).
#include "network/external_deps.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "network/backward_pass.h"
#include "network/forward_pass.h"
#include "network/rollup.h"
#include "network/slack.h"
#include "schedule/calendar_reach.h"
#include "store/calendar_loader.h"

using pass_detail::findItem;
using pass_detail::isLeaf;

namespace {

// Log lines go nowhere when no stream is given.
__attribute__((format(printf, 2, 3))) void logLine(FILE* file, const char* format, ...) {
  if (file == nullptr) return;
  va_list args;
  va_start(args, format);
  std::vfprintf(file, format, args);
  va_end(args);
}

constexpr int32_t kNoLowerBound = INT32_MIN;
constexpr int32_t kNoCandidate = INT32_MAX;

activity_type* headItem(linked_list_type* list) {
  return list != nullptr && list->phead != nullptr
             ? static_cast<activity_type*>(list->phead->pcontents)
             : nullptr;
}

activity_type* tailItem(linked_list_type* list) {
  return list != nullptr && list->ptail != nullptr
             ? static_cast<activity_type*>(list->ptail->pcontents)
             : nullptr;
}

const char* nameOr(const activity_type* a, const char* fallback) {
  return a != nullptr ? a->name : fallback;
}

// Takes the element (by identity, not by name) out of the list; false when
// the list does not hold it.
bool removeElement(linked_list_type* list, const void* element) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    if (l->pcontents == element) {
      list->pcl = l;
      ll_remove(list);
      return true;
    }
  }
  return false;
}

bool holdsElement(const linked_list_type* list, const void* element) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    if (l->pcontents == element) return true;
  }
  return false;
}

bool hasDependency(linked_list_type* deps, const char* name) {
  for (linktype* l = deps->phead; l != nullptr; l = l->pnext) {
    if (std::strcmp(static_cast<dependency_type*>(l->pcontents)->name, name) == 0) return true;
  }
  return false;
}

bool hasExternalDependency(linked_list_type* deps) {
  for (linktype* l = deps->phead; l != nullptr; l = l->pnext) {
    if (static_cast<dependency_type*>(l->pcontents)->isExternal) return true;
  }
  return false;
}

// True when every successor entry names the finish node (or there is none).
bool onlyFinishAfter(activity_type* a, const char* FINISH_NODE_NAME) {
  for (linktype* l = a->succ_list->phead; l != nullptr; l = l->pnext) {
    if (std::strcmp(static_cast<dependency_type*>(l->pcontents)->name, FINISH_NODE_NAME) != 0) {
      return false;
    }
  }
  return true;
}

bool startsWith(const char* s, const char* prefix) {
  return std::strncmp(s, prefix, std::strlen(prefix)) == 0;
}

// ---------------------------------------------------------------------------
// The fictive predecessor.

// Makes the calendar of `p` reach the day: from the day to `last` when it
// lies on or before first_day, up to the day + 400 when it lies on or after
// the last calendar day. 0 or the store's status.
int coverDay(project_type* p, int32_t day, int32_t last, FILE* file) {
  if (day <= p->first_day) return projectExtendCalendarData(p, day, last, file);
  if (day >= getProjectLastDayOfCalendar(p)) {
    return projectExtendCalendarData(p, p->first_day, day + CALENDAR_GROWTH_MARGIN, file);
  }
  return 0;
}

// The records the creator made in one call, released unless handed over.
struct CreatedInCall {
  project_type* project = nullptr;
  activity_type* item = nullptr;
  activity_type* succOwner = nullptr;  // item given a successor entry here
  activity_type* predOwner = nullptr;  // item given a predecessor entry here
  const char* succName = nullptr;
  const char* predName = nullptr;

  void undo() {
    if (predOwner != nullptr) activityDeletePred(predOwner, predName, nullptr);
    if (succOwner != nullptr && succOwner != item) activityDeleteSucc(succOwner, succName, nullptr);
    activityDelete(item);
    projectDelete(project);
    *this = CreatedInCall{};
  }
};

int createFictive(project_type* this_proj, activity_type* this_act, int32_t current_date,
                  linked_list_type* activities_list, linked_list_type* ext_projects_list,
                  linked_list_type* ext_pred_list, storage_manager_type* smanager,
                  int optimizeDepPred, const char* FICTIVE_PRED_NAME, int PRINT_OPTION, FILE* file,
                  CreatedInCall* made) {
  project_type* fp = static_cast<project_type*>(ll_extract(ext_projects_list, FICTIVE_PRED_NAME));
  if (fp == nullptr) {
    fp = made->project =
        projectCopyCreateNew(this_proj, FICTIVE_PRED_NAME, FICTIVE_PRED_NAME, file);
    if (PRINT_OPTION) {
      logLine(file, "\ncreate a new fictive ext-pred-project %32s for the project: %32s\n",
              FICTIVE_PRED_NAME, this_proj->name);
    }
  } else if (PRINT_OPTION) {
    logLine(file,
            "\nretrieve from the list the fictive ext-pred-project %32s for the project: "
            "%32s\n",
            FICTIVE_PRED_NAME, this_proj->name);
  }

  const int32_t last = getProjectLastDayOfCalendar(this_proj);
  int rc = coverDay(this_proj, current_date, last, file);
  if (rc == 0) rc = coverDay(fp, current_date, last, file);
  if (rc != 0) return rc;

  int32_t day = current_date;
  if (getProjectAveMinutesForGivenJulianDate(this_act, day) < EXT_MIN_AVE_MINUTES &&
      activityMoveToNextAvailableDay(this_act, smanager, &day, file) != 1) {
    logLine(file, "\n!!! error !!! doCreateFictiveExternalPredWithCurrentDate: no ave days !!!\n");
    return EXT_ERR_NO_AVAILABLE_DAY;
  }
  activity_type* fict = static_cast<activity_type*>(ll_extract(ext_pred_list, FICTIVE_PRED_NAME));
  if (fict == nullptr) {
    const int32_t minutes = getProjectAveMinutesForGivenJulianDate(this_act, day);
    fict = made->item = activityCreateNew(FICTIVE_PRED_NAME, 1, fp, day, day, minutes, 0, 0);
    fict->ignoreHolesInCalendar = 1;
    fict->isExternalPred = 1;
  }

  if (activityCreateSucc(fict, this_act->name, 3, 1, 0, file) == nullptr) {
    return EXT_ERR_SUCC_ENTRY;
  }
  made->succOwner = fict;
  made->succName = this_act->name;
  if (optimizeDepPred) {
    if (activityCreatePred(this_act, fict->name, 3, 1, 0, file) == nullptr) {
      return EXT_ERR_PRED_ENTRY;
    }
    made->predOwner = this_act;
    made->predName = fict->name;
  }

  // Success: the fictive project takes the date, the new records change
  // hands.
  fp->create_date = day;
  fp->current_date = day;
  if (made->project != nullptr) ll_addtail(ext_projects_list, made->project);
  if (made->item != nullptr) {
    ll_addtail(ext_pred_list, made->item);
    ll_addhead(activities_list, made->item);
  }
  *made = CreatedInCall{};
  return 0;
}

// ---------------------------------------------------------------------------
// Projects on external dependencies.

// The candidate date of a project item's external predecessors: the start
// of the first predecessor that is an outside item, with whether the
// project counts as held by the fictive item alone.
struct Candidate {
  bool hasExternal = false;
  bool fictiveOnly = true;
  int32_t date = kNoCandidate;
};

Candidate externalCandidate(activity_type* root, linked_list_type* net,
                            const char* FICTIVE_PRED_NAME) {
  Candidate c;
  for (linktype* l = root->pred_list->phead; l != nullptr; l = l->pnext) {
    activity_type* pred = findItem(net, static_cast<dependency_type*>(l->pcontents)->name);
    if (pred == nullptr || !pred->isExternalPred) continue;
    c.hasExternal = true;
    c.date = pred->start_date;
    c.fictiveOnly = startsWith(pred->name, FICTIVE_PRED_NAME);
    break;
  }
  return c;
}

void moveCreationDates(linked_list_type* net, linked_list_type* root_act_list,
                       linked_list_type* projects_list, linked_list_type* onExt,
                       storage_manager_type* smanager, const char* FICTIVE_PRED_NAME,
                       const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file) {
  int32_t bound = kNoLowerBound;
  for (linktype* l = projects_list->phead; l != nullptr; l = l->pnext) {
    project_type* p = static_cast<project_type*>(l->pcontents);
    activity_type* root = findItem(net, p->name);
    if (root == nullptr) continue;
    if (findItem(root_act_list, p->name) == root) bound = kNoLowerBound;
    const Candidate c = externalCandidate(root, net, FICTIVE_PRED_NAME);
    if (c.date > bound) bound = c.date;
    if (c.hasExternal) {
      p->isOnExternalDep = 1;
      if (c.date < p->create_date) {
        if (c.date >= bound) {
          p->create_date = c.date;
        } else if (bound < p->create_date) {
          p->create_date = bound;
        }
      }
      ll_addhead(onExt, root);
      activitySpecialRollupDatesFromChildren(net, root, smanager, 1, 1, 0, START_NODE_NAME,
                                             FINISH_NODE_NAME, file);
      p->start_date = root->start_date;
      p->finish_date = root->finish_date;
    }
    if (c.fictiveOnly) root->offset_start_time = 0;
  }
}

void alignProjectWithRoot(activity_type* root, const char* FINISH_NODE_NAME, int PRINT_OPTION,
                          FILE* file) {
  project_type* p = root->proj;
  if (p == nullptr) return;
  const int32_t before = p->create_date;
  if (isLeaf(root, FINISH_NODE_NAME)) {
    p->current_date = p->create_date = p->start_date = root->start_date;
    p->finish_date = root->finish_date;
  } else if (p->alignWithExtPred) {
    if (root->start_date_trun < p->current_date) p->current_date = root->start_date_trun;
    p->create_date = root->start_date_trun;
    p->start_date = root->start_date;
    p->finish_date = root->finish_date;
  } else {
    p->create_date = p->original_create_date;
  }
  if (PRINT_OPTION) {
    logLine(file, "\nCreation date of the Project %s will be changed from %d to %d", p->name,
            before, p->create_date);
    logLine(file,
            "\n   project: current_date = %d start_date = %d finish_date = %d"
            "\n   item %s: start_date = %d finish_date = %d start_date_trun = %d\n",
            p->current_date, p->start_date, p->finish_date, root->name, root->start_date,
            root->finish_date, root->start_date_trun);
  }
}

int handleExternal(linked_list_type* net, linked_list_type* root_act_list,
                   linked_list_type* projects_list, linked_list_type* onExt,
                   storage_manager_type* smanager, int optionCalculEsEfLsLf,
                   const char* FICTIVE_PRED_NAME, int PRINT_OPTION, FILE* file) {
  activity_type* startNode = headItem(net);
  activity_type* finishNode = tailItem(net);
  const char* START_NODE_NAME = nameOr(startNode, "start");
  const char* FINISH_NODE_NAME = nameOr(finishNode, "finish");
  if (startNode != nullptr) {
    startNode->early_start_date = startNode->start_date;
    startNode->early_finish_date = startNode->finish_date;
  }

  moveCreationDates(net, root_act_list, projects_list, onExt, smanager, FICTIVE_PRED_NAME,
                    START_NODE_NAME, FINISH_NODE_NAME, file);

  if (ll_size(onExt) > 0 && startNode != nullptr && finishNode != nullptr) {
    if (PRINT_OPTION) {
      logLine(file, "\nExternal Dependency has been found for some Root-level Project\n");
      logLine(file, "creation date of these projects will be changed !\n");
    }
    ll_addhead(onExt, startNode);
    ll_addtail(onExt, finishNode);
    int rc = doFinAlignActivitiesFrwdPass(root_act_list, onExt, net, net, smanager, 0, 0,
                                          optionCalculEsEfLsLf, file);
    if (rc == 0) {
      for (linktype* l = onExt->phead; l != nullptr; l = l->pnext) {
        activity_type* root = static_cast<activity_type*>(l->pcontents);
        if (root == startNode || root == finishNode) continue;
        alignProjectWithRoot(root, FINISH_NODE_NAME, PRINT_OPTION, file);
      }
    }
    removeElement(onExt, startNode);
    removeElement(onExt, finishNode);
    if (rc != 0) return rc;
  }

  doAlignConstrDatesWithCurrDate(net, file);

  setNetworkNodesFromRoots(root_act_list, net, nullptr, START_NODE_NAME, FINISH_NODE_NAME);
  if (PRINT_OPTION && startNode != nullptr && finishNode != nullptr) {
    logLine(file,
            "\nProjects (with extern Pred) Tree After Forward Pass: min_sd = %d max_fd = %d\n",
            startNode->start_date + 1, finishNode->finish_date);
    for (linktype* l = projects_list->phead; l != nullptr; l = l->pnext) {
      project_type* p = static_cast<project_type*>(l->pcontents);
      logLine(file, "   %s: create_date = %d start_date = %d finish_date = %d ext = %d\n", p->name,
              p->create_date, p->start_date, p->finish_date, p->isOnExternalDep);
    }
  }
  return 0;
}

// ---------------------------------------------------------------------------
// Removal of the fictive item.

// Takes the item out of the start node's children and successors (and, for
// a deleted outside item, out of the finish node's predecessors and
// parents), deletes it and takes it out of the network list.
void dropItem(linked_list_type* net, activity_type* item, activity_type* startNode,
              activity_type* finishNode) {
  if (startNode != nullptr) {
    activityDeleteChild(startNode, item->name);
    if (hasDependency(startNode->succ_list, item->name)) {
      activityDeleteSucc(startNode, item->name, nullptr);
    }
  }
  if (finishNode != nullptr) {
    if (hasDependency(finishNode->pred_list, item->name)) {
      activityDeletePred(finishNode, item->name, nullptr);
    }
    activityDeleteParent(finishNode, item->name);
  }
  removeElement(net, item);
  activityDelete(item);
}

// The external entries of S that did not drive it: removed both ways; an
// outside item left with no successor but the finish node is noted.
void dropIdleExternalPreds(linked_list_type* net, activity_type* s, const char* FINISH_NODE_NAME,
                           linked_list_type* noted) {
  ll_head(s->pred_list);
  for (int32_t n = ll_size(s->pred_list); n > 0; --n) {
    dependency_type* d = static_cast<dependency_type*>(ll_retrieve(s->pred_list));
    if (!d->isExternal || d->isActive) {
      ll_next(s->pred_list);
      continue;
    }
    activity_type* pred = findItem(net, d->name);
    if (pred != nullptr) {
      if (hasDependency(pred->succ_list, s->name)) activityDeleteSucc(pred, s->name, nullptr);
      if (onlyFinishAfter(pred, FINISH_NODE_NAME) && !holdsElement(noted, pred)) {
        ll_addtail(noted, pred);
      }
    }
    dependencyDelete(d);
    ll_remove(s->pred_list);  // the next entry becomes current
  }
}

void removeFictive(linked_list_type* net, linked_list_type* onExt, const char* FICTIVE_PRED_NAME,
                   int PRINT_OPTION, FILE* file) {
  if (ll_size(onExt) == 0) return;
  activity_type* fict = findItem(net, FICTIVE_PRED_NAME);
  if (fict == nullptr) return;
  if (PRINT_OPTION) logLine(file, "\nRemoving Fictive Dependences from Network\n");
  activity_type* startNode = headItem(net);
  activity_type* finishNode = tailItem(net);
  const char* START_NODE_NAME = nameOr(startNode, "start");
  const char* FINISH_NODE_NAME = nameOr(finishNode, "finish");

  linked_list_type* noted = ll_new(activityMatch, getActivityName);
  try {
    for (linktype* l = fict->succ_list->phead; l != nullptr; l = l->pnext) {
      activity_type* s = findItem(net, static_cast<dependency_type*>(l->pcontents)->name);
      if (s == nullptr || s == fict) continue;
      if (hasDependency(s->pred_list, fict->name)) activityDeletePred(s, fict->name, nullptr);
      const bool onList = holdsElement(onExt, s);
      if (onList) dropIdleExternalPreds(net, s, FINISH_NODE_NAME, noted);
      if (ll_size(s->pred_list) == 0 && startNode != nullptr) {
        activityCreatePred(s, START_NODE_NAME, 1, 0, 0, file);
        if (!hasDependency(startNode->succ_list, s->name)) {
          activityCreateSucc(startNode, s->name, 1, 0, 0, file);
        }
      }
      if (onList && !hasExternalDependency(s->pred_list)) removeElement(onExt, s);
    }
    dropItem(net, fict, startNode, nullptr);
    for (linktype* l = noted->phead; l != nullptr; l = l->pnext) {
      activity_type* pred = static_cast<activity_type*>(l->pcontents);
      if (pred->isExternalPred) dropItem(net, pred, startNode, finishNode);
    }
  } catch (...) {
    ll_delete(noted);
    throw;
  }
  ll_delete(noted);
}

// ---------------------------------------------------------------------------
// Root re-pass.

int repassRoots(linked_list_type* root_act_list, linked_list_type* activities_list,
                storage_manager_type* sm, int isForwardPass, int PRINT_OPTION_BASIC, FILE* file,
                linked_list_type* roots) {
  activity_type* startNode = headItem(activities_list);
  activity_type* finishNode = tailItem(activities_list);
  for (linktype* l = root_act_list->phead; l != nullptr; l = l->pnext) {
    activity_type* r = findItem(activities_list, static_cast<activity_type*>(l->pcontents)->name);
    if (r == nullptr || r == startNode || r == finishNode) continue;
    if (isForwardPass) {
      ll_addtail(roots, r);
    } else {
      ll_addhead(roots, r);
    }
  }
  if (isForwardPass) {
    if (startNode != nullptr) ll_addhead(roots, startNode);
    if (finishNode != nullptr) ll_addtail(roots, finishNode);
    if (PRINT_OPTION_BASIC) logLine(file, "\nForward Re-pass of Root-level-projects\n");
    return doFinAlignActivitiesFrwdPass(root_act_list, roots, activities_list, activities_list, sm,
                                        1, 0, 1, file);
  }
  if (finishNode != nullptr) ll_addhead(roots, finishNode);
  if (startNode != nullptr) ll_addtail(roots, startNode);
  if (PRINT_OPTION_BASIC) {
    logLine(file, "\nFinal Backward Re-pass of the scope of Root-level-projects\n");
  }
  return doFinAlignActivitiesBcwdPass(root_act_list, roots, activities_list, activities_list, sm, 1,
                                      0, 1, file);
}

}  // namespace

int doCreateFictiveExternalPredWithCurrentDate(
    project_type* this_proj, activity_type* this_act, int32_t current_date,
    linked_list_type* activities_list, linked_list_type* ext_projects_list,
    linked_list_type* ext_pred_list, storage_manager_type* smanager, int optimizeDepPred,
    const char* FICTIVE_PRED_NAME, int PRINT_OPTION, FILE* file) {
  CreatedInCall made;
  const int lineNum = __LINE__;
  try {
    int rc = createFictive(this_proj, this_act, current_date, activities_list, ext_projects_list,
                           ext_pred_list, smanager, optimizeDepPred, FICTIVE_PRED_NAME,
                           PRINT_OPTION, file, &made);
    if (rc != 0) made.undo();
    return rc;
  } catch (...) {
    made.undo();
    logLine(file,
            "\n***** error(2) in Lev_resolveDepOracleDB "
            "(doCreateFictiveExternalPredWithCurrentDate) throw exception to upper level: "
            "LineNum = %d\n",
            lineNum);
    throw;
  }
}

int doHandleExternalAndFictiveDependencesOnProjectsNodes(
    linked_list_type* act_tmp_list, linked_list_type* root_act_list,
    linked_list_type* projects_list, linked_list_type* proj_act_OnExt_dep_list,
    storage_manager_type* smanager, int optionCalculEsEfLsLf, int32_t /*julianDateOrigin*/,
    const char* FICTIVE_PRED_NAME, int PRINT_OPTION, FILE* file) {
  try {
    return handleExternal(act_tmp_list, root_act_list, projects_list, proj_act_OnExt_dep_list,
                          smanager, optionCalculEsEfLsLf, FICTIVE_PRED_NAME, PRINT_OPTION, file);
  } catch (...) {
    logLine(file,
            "\n****** error in doHandleExternalAndFictiveDependencesOnProjectsNodes: throw "
            "exception to upper level\n");
    throw;
  }
}

int doRemoveFictiveDependencesFromNetwork(linked_list_type* act_tmp_list,
                                          linked_list_type* proj_act_OnExt_dep_list,
                                          const char* FICTIVE_PRED_NAME, int PRINT_OPTION,
                                          FILE* file) {
  try {
    removeFictive(act_tmp_list, proj_act_OnExt_dep_list, FICTIVE_PRED_NAME, PRINT_OPTION, file);
    return 0;
  } catch (...) {
    logLine(file,
            "\n****** error in doRemoveFictiveDependencesFromNetwork: throw exception to "
            "upper level\n");
    throw;
  }
}

int doFinAlignRepasRootLevProjects(linked_list_type* root_act_list,
                                   linked_list_type* activities_list, storage_manager_type* sm,
                                   int isForwardPass, int32_t /*julianDateOrigin*/,
                                   int /*PRINT_OPTION*/, int PRINT_OPTION_BASIC, FILE* file) {
  linked_list_type* roots = ll_new(activityMatch, getActivityName);
  try {
    int rc = repassRoots(root_act_list, activities_list, sm, isForwardPass, PRINT_OPTION_BASIC,
                         file, roots);
    ll_delete(roots);
    return rc;
  } catch (...) {
    ll_delete(roots);
    logLine(file,
            "\n****** error in doFinAlignRepasRootLevProjects: throw exception to upper "
            "level\n");
    throw;
  }
}

void doAlignConstrDatesWithCurrDate(linked_list_type* activities_list, FILE* /*file*/) {
  for (linktype* l = activities_list->phead; l != nullptr; l = l->pnext) {
    activity_type* a = static_cast<activity_type*>(l->pcontents);
    if (a->type != 3 || a->proj == nullptr) continue;
    if (a->constraint_type == 0 || a->constraint_type == 1) continue;
    if (a->constraint_date < a->proj->current_date) {
      a->constraint_type = 0;
      a->constraint_date = getProjectLastDayOfCalendar(a->proj);
    }
  }
}
