// The backward pass on copies and its dynamic re-pass (see backward_pass.h
// for units, results and choices).
//
// One visit: the container's roll-up and its successor mode; the winning
// successor (backwardDrivingSuccessor) or, without one, the no-successor
// path from the finish node; placement of a task; the container update;
// the late fields. The static and the dynamic form share every step.
#include "network/backward_pass.h"

#include <cstring>

#include "model/dependency.h"
#include "network/settle.h"
#include "schedule/dependency_resolution.h"
#include "schedule/effort_sums.h"
#include "schedule/placement.h"

namespace pass_detail {

namespace {

// The successor's date that bounds a dependency of this type: its finish
// for FF and SF, its start for FS and SS.
struct BoundDate {
  bool seen = false;
  int32_t day = 0;
  int off = 0;
};

bool boundsByFinish(int type) { return type == 0 || type == 2; }

// True when the successor's bounding date is not earlier than the one kept.
bool notEarlier(const BoundDate& kept, int type, int32_t day, int off) {
  if (!kept.seen) return false;
  if (day != kept.day) return day > kept.day;
  return boundsByFinish(type) ? off <= kept.off : off >= kept.off;
}

void keepEarlier(BoundDate* kept, int type, int32_t day, int off) {
  if (!kept->seen || !notEarlier(*kept, type, day, off)) *kept = {true, day, off};
}

void logBackwardError(FILE* file, int number, const char* module, const activity_type* act,
                      const activity_type* succ, const Placement& p) {
  if (file == nullptr) return;
  std::fprintf(file,
               "\nerror (%d) -- %s: item %s succ %s start_date %d finish_date %d "
               "offset_start_time %d offset_finish_time %d duration %d\n",
               number, module, act->name, succ != nullptr ? succ->name : "-", p.start, p.finish,
               p.st, p.ft, act->duration);
}

}  // namespace

void boundBackwardFinish(activity_type* act, linked_list_type* act_tmp_list, const Bounds& b,
                         Placement* p) {
  project_type* proj = act->proj;
  activity_type* projItem = projectItemOf(act_tmp_list, act);
  if (p->finish > b.max_finish) {
    shiftDays(p, b.max_finish - p->finish);
    p->st = 0;
    p->ft = 0;
    if (b.max_finish == proj->finish_date && projItem != nullptr && projItem != act) {
      p->ft = projItem->offset_finish_time;
    }
  } else if (p->finish == proj->finish_date && projItem != nullptr && projItem != act &&
             projItem->offset_finish_time > p->ft) {
    // A bound only ever moves a late finish earlier: on the project's last
    // day the earlier of the two finish times stays.
    p->ft = projItem->offset_finish_time;
  }
}

int backwardDrivingSuccessor(activity_type* act, linked_list_type* act_tmp_list,
                             storage_manager_type* smanager, const Bounds& b, bool dynamic,
                             bool typeOneMode, const char* module, const char* START_NODE_NAME,
                             const char* FINISH_NODE_NAME, FILE* file, BackWinner* w) {
  const int ctype = act->constraint_type;
  BoundDate kept[4];
  for (linktype* l = act->succ_list->phead; l != nullptr; l = l->pnext) {
    const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
    (void)typeOneMode;  // every successor of a container holds it (header)
    activity_type* succ = findItem(act_tmp_list, dep->name);
    if (succ == nullptr || succ == act) continue;
    const int type = dep->type;
    const bool typeKnown = type >= 0 && type <= 3;
    const int32_t boundDay = boundsByFinish(type) ? succ->finish_date : succ->start_date;
    const int boundOff = boundsByFinish(type) ? succ->offset_finish_time : succ->offset_start_time;
    if (dynamic) {
      if (dep->isExternal) {
        int rc = coverOutsideItem(act, succ, "doDynamAlignActWithSucc", file);
        if (rc != 0) return rc;
      } else if (!isNamed(succ, FINISH_NODE_NAME) && !isLeaf(succ, FINISH_NODE_NAME)) {
        activitySpecRollDynam(act_tmp_list, succ, 0, 0, START_NODE_NAME, FINISH_NODE_NAME, file);
      }
    }
    if (typeKnown && dep->lag_minutes == 0 && ctype != 1 &&
        notEarlier(kept[type], type, boundDay, boundOff)) {
      continue;
    }
    Placement p = placementOf(act);
    int rc = dynamic ? dynamResDependencyForPred(act_tmp_list, act, succ, type, dep->lag_minutes,
                                                 smanager, 1, &p.start, &p.finish, &p.st, &p.ft,
                                                 START_NODE_NAME, FINISH_NODE_NAME, file)
                     : activityResolveDependencyForPred(act_tmp_list, act, succ, type,
                                                        dep->lag_minutes, smanager, 0, &p.start,
                                                        &p.finish, &p.st, &p.ft, START_NODE_NAME,
                                                        FINISH_NODE_NAME, file);
    if (rc != 0) return rc;
    if (typeKnown && dep->lag_minutes == 0) keepEarlier(&kept[type], type, boundDay, boundOff);
    boundBackwardFinish(act, act_tmp_list, b, &p);
    if (ctype == 5 || ctype == 7) {
      if (p.start > b.max_start) shiftDays(&p, b.max_start - p.start);
      int32_t dur = act->duration;
      if (activityScheduleFromStartDateSpecial(act, smanager, &p.start, &p.finish, &dur, &p.st,
                                               &p.ft, file) != 1) {
        logBackwardError(file, 2, module, act, succ, p);
        return BWD_ERR_PLACE_FIXED_START;
      }
    }
    if (act->type == 3 && ctype != 1 && p.start < b.min_start) {
      shiftDays(&p, b.min_start - p.start);
    }
    // The smallest finish wins; on equal days the earlier finish time; the
    // earlier entry stays on a full tie.
    if (!w->found || p.finish < w->p.finish || (p.finish == w->p.finish && p.ft > w->p.ft)) {
      w->found = true;
      w->p = p;
      w->type = type;
    }
  }
  return 0;
}

void orderListNodeNames(linked_list_type* list, bool forward, const char** START_NODE_NAME,
                        const char** FINISH_NODE_NAME) {
  activity_type* head = static_cast<activity_type*>(list->phead->pcontents);
  activity_type* tail = static_cast<activity_type*>(list->ptail->pcontents);
  auto emptyList = [](const linked_list_type* l) { return l == nullptr || ll_size(l) == 0; };
  bool headIsFinish = !forward;
  if (emptyList(head->succ_list) && !emptyList(head->pred_list)) headIsFinish = true;
  else if (emptyList(head->pred_list) && !emptyList(head->succ_list)) headIsFinish = false;
  *START_NODE_NAME = headIsFinish ? tail->name : head->name;
  *FINISH_NODE_NAME = headIsFinish ? head->name : tail->name;
}

}  // namespace pass_detail

namespace {

using namespace pass_detail;

struct Visit {
  activity_type* act;
  linked_list_type* activities_list;
  linked_list_type* act_tmp_list;
  storage_manager_type* sm;
  int hasTobeChecked;
  int restrictUpDown;
  int optionCalc;
  const char* START;
  const char* FINISH;
  FILE* file;
  bool dynamic;
  const char* module;
  bool boundByParent = false;  // a later sweep of the static pass, or a
                               // dynamic visit after it
};

void logFailure(FILE* file, const char* module, const char* what, const activity_type* act) {
  if (file == nullptr) return;
  std::fprintf(file, "\nerror !!! -- %s: %s failed for %s (%d - %d, duration %d)\n", module, what,
               act->name, act->start_date, act->finish_date, act->duration);
}

// Later sweeps of the static pass: an item never finishes after its
// parent's finish (day, then time), the mirror of the forward start bound,
// so that a child re-visited on its own successors keeps its container's.
void parentFinishBound(const Visit& v, Placement* p) {
  if (!v.boundByParent) return;
  activity_type* parent = parentOf(v.act_tmp_list, v.act);
  if (parent == nullptr || isNamed(parent, v.START) || parent->proj == nullptr) return;
  if (p->finish < parent->finish_date ||
      (p->finish == parent->finish_date && p->ft >= parent->offset_finish_time)) {
    return;
  }
  shiftDays(p, parent->finish_date - p->finish);
  p->st = 0;
  p->ft = parent->offset_finish_time;
}

// The no-successor path: the item finishes with the latest root.
int noSuccessorPath(const Visit& v, const Bounds& b, bool* forceChanged) {
  activity_type* act = v.act;
  const int ctype = act->constraint_type;
  activity_type* finishNode = findItem(v.act_tmp_list, v.FINISH);
  Placement p = placementOf(act);
  if (finishNode != nullptr) {
    p.finish = finishNode->finish_date;
    p.ft = finishNode->offset_finish_time;
  }
  p.start = p.finish - act->duration + 1;
  p.st = 0;
  if (p.start < b.min_start) shiftDays(&p, b.min_start - p.start);
  if (ctype == 2 && p.finish < b.min_finish) {
    shiftDays(&p, b.min_finish - p.finish);
    *forceChanged = true;
  }
  boundBackwardFinish(act, v.act_tmp_list, b, &p);
  parentFinishBound(v, &p);
  if (ctype == 5 || ctype == 7) {
    int32_t dur = act->duration;
    if (activityScheduleFromStartDateSpecial(act, v.sm, &p.start, &p.finish, &dur, &p.st, &p.ft,
                                             v.file) != 1) {
      logBackwardError(v.file, 1, v.module, act, finishNode, p);
      return BWD_ERR_PLACE_FIXED_START;
    }
  }
  applyPlacement(act, p);
  return 0;
}

int visitItem(const Visit& v) {
  activity_type* act = v.act;
  if (act->proj == nullptr) return 0;
  project_type* proj = act->proj;
  const int ctype = act->constraint_type;
  const bool leaf = isLeaf(act, v.FINISH);
  const bool hasRealSucc = activityHasNonTrivialSucc(act, v.FINISH) != 0;
  if (!leaf) {
    act->depType_back_put_on = act->depType_back;
    activityRollupDatesFromChildren(v.activities_list, act, v.sm, 0, v.hasTobeChecked,
                                    v.optionCalc, v.START, v.FINISH, v.file);
  }
  const Bounds b = boundsBackward(act, v.file);
  bool typeOneMode = false;
  if (!leaf && hasRealSucc) {
    for (linktype* l = act->succ_list->phead; l != nullptr; l = l->pnext) {
      const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
      if (isNamed(act, dep->name) || (v.FINISH != nullptr && std::strcmp(dep->name, v.FINISH) == 0))
        continue;
      if (dep->type == 1) {
        typeOneMode = true;
        act->onDepTypeBack = 1;
        break;
      }
      if (dep->type == 3) act->onDepTypeBack = 3;
    }
  }
  const Placement before = placementOf(act);
  // A container is held by every successor it has, of any type (see the
  // header: the amended rule).
  bool noSucc = !hasRealSucc;
  bool changed = false;
  int winType = -1;
  if (!noSucc) {
    if (act->type == 3) setActivityDuration(act, act->original_duration);
    BackWinner w;
    int rc = backwardDrivingSuccessor(act, v.act_tmp_list, v.sm, b, v.dynamic, typeOneMode,
                                      v.module, v.START, v.FINISH, v.file, &w);
    if (rc != 0) return rc;
    if (w.found) {
      parentFinishBound(v, &w.p);
      winType = w.type;
      if (act->type != 3 && (w.type == 2 || w.type == 3)) {
        rc = activityCalculateTotalEffortTrunForContainerType(act, v.sm, v.file);
        if (rc != 0) return rc;
      }
      applyPlacement(act, w.p);
      changed = !samePlacement(before, w.p);
    } else {
      noSucc = true;
    }
  }
  if (noSucc) {
    bool forceChanged = false;
    int rc = noSuccessorPath(v, b, &forceChanged);
    if (rc != 0) return rc;
    changed = forceChanged || !samePlacement(before, placementOf(act));
  }
  if (act->type == 3) {
    if (ctype == 5 || ctype == 7) {
      if (activityScheduleFromStartDateBasedOnProjectCalendar(act, v.sm, v.file) != 1) {
        logFailure(v.file, v.module, "placing from the start", act);
        return BWD_ERR_PLACE_FROM_START;
      }
    } else if (changed) {
      if (activityScheduleFromFinishDateBasedOnProjectCalendar(act, v.sm, v.file) != 1) {
        logFailure(v.file, v.module, "placing from the finish", act);
        return BWD_ERR_PLACE_FROM_FINISH;
      }
      if (act->start_date < proj->first_day) {
        applyPlacement(act, {proj->first_day, proj->first_day + act->duration - 1, 0, 0});
        if (activityScheduleFromStartDateBasedOnProjectCalendar(act, v.sm, v.file) != 1) {
          logFailure(v.file, v.module, "placing from the first day", act);
          return BWD_ERR_PLACE_FROM_FIRST_DAY;
        }
      }
    }
  }
  if (!leaf) {
    const bool fromFinish = noSucc || winType == 0 || winType == 1;
    activityUpdateContainerAndItsChildren(v.activities_list, v.act_tmp_list, v.sm, act, 0,
                                          fromFinish ? 1 : 0, 0, v.hasTobeChecked,
                                          v.restrictUpDown, v.optionCalc, v.START, v.FINISH,
                                          v.file);
  }
  if (v.optionCalc) recordLate(act);
  return 0;
}

bool skipped(const activity_type* act) {
  return act == nullptr || act->isExternalPred || act->ignore_item_for_sched ||
         act->isExternalSucc || act->hasActualFinish;
}

}  // namespace

namespace {

int alignBackward(activity_type* act, linked_list_type* activities_list,
                  linked_list_type* act_tmp_list, storage_manager_type* smanager,
                  int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
                  const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file,
                  bool boundByParent) {
  try {
    Visit v{act, activities_list, act_tmp_list, smanager, hasTobeChecked, restrictUpDown,
            optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file, false,
            "doAlignmentActivityItemBackwardPass", boundByParent};
    return visitItem(v);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doAlignmentActivityItemBackwardPass: throw exception to "
                   "upper level\n");
    }
    throw;
  }
}


}  // namespace

int doAlignmentActivityItemBackwardPass(activity_type* this_pred_node,
                                        linked_list_type* activities_list,
                                        linked_list_type* act_tmp_list,
                                        storage_manager_type* smanager, int hasTobeChecked,
                                        int restrictUpDown, int optionCalculEsEfLsLf,
                                        const char* START_NODE_NAME,
                                        const char* FINISH_NODE_NAME, FILE* file) {
  return alignBackward(this_pred_node, activities_list, act_tmp_list, smanager, hasTobeChecked,
                       restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME,
                       file, false);
}

int doDynamAlignActWithSucc(activity_type* this_pred_node, linked_list_type* act_tmp_list,
                            storage_manager_type* smanager, const char* START_NODE_NAME,
                            const char* FINISH_NODE_NAME, FILE* file) {
  try {
    markAncestorsForDynamicRollup(act_tmp_list, this_pred_node, START_NODE_NAME);
    Visit v{this_pred_node, act_tmp_list, act_tmp_list, smanager, 1, 0, 1, START_NODE_NAME,
            FINISH_NODE_NAME, file, true, "doDynamAlignActWithSucc",
            /*boundByParent=*/true};  // the static pass has placed the parents
    return visitItem(v);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doDynamAlignActWithSucc: throw exception to upper level\n");
    }
    throw;
  }
}

int doFinAlignActivitiesBcwdPass(linked_list_type* root_act_list, linked_list_type* items_list,
                                 linked_list_type* activities_list,
                                 linked_list_type* act_tmp_list, storage_manager_type* smanager,
                                 int hasTobeChecked, int restrict_UpDown,
                                 int optionCalculEsEfLsLf, FILE* file) {
  try {
    if (items_list == nullptr || ll_size(items_list) < 2) return 0;
    const char* START = nullptr;
    const char* FINISH = nullptr;
    orderListNodeNames(items_list, false, &START, &FINISH);
    PassSweep sweep(alignBackward, skipped, root_act_list, activities_list, act_tmp_list,
                    smanager, hasTobeChecked, restrict_UpDown, optionCalculEsEfLsLf, START,
                    FINISH, file);
    return sweepUntilSettled(items_list, act_tmp_list, false,
                             "doAlignmentActivityItemBackwardPass", file, sweep);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doFinAlignActivitiesBcwdPass: throw exception to upper "
                   "level\n");
    }
    throw;
  }
}

int doRunBcwdDynamicRepasNetTree(linked_list_type* act_tmp_list,
                                 linked_list_type* activities_list, storage_manager_type* sm,
                                 const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                 int PRINT_OPTION, FILE* file) {
  try {
    if (act_tmp_list == nullptr || ll_size(act_tmp_list) < 2) return 0;
    if (PRINT_OPTION && file != nullptr) {
      std::fprintf(file, "\n Dynamic Backward Re-pass of the Network Tree (%d items)\n",
                   ll_size(act_tmp_list) - 2);
    }
    for (linktype* l = act_tmp_list->phead->pnext; l != nullptr && l != act_tmp_list->ptail;
         l = l->pnext) {
      activity_type* act = static_cast<activity_type*>(l->pcontents);
      if (skipped(act)) continue;
      int rc = doDynamAlignActWithSucc(act, activities_list, sm, START_NODE_NAME,
                                       FINISH_NODE_NAME, file);
      if (rc != 0) return rc;
    }
    return 0;
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doRunBcwdDynamicRepasNetTree: throw exception to upper "
                   "level\n");
    }
    throw;
  }
}
