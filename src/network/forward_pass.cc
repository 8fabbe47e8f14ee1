// The static forward pass and the dynamic realignment of one item against
// its predecessors (see forward_pass.h for units, results and choices).
//
// One visit, in the order of its steps: constraint bounds; the driving
// predecessor (forwardDrivingPredecessor) or, without real predecessors,
// the item's own start rules; the project-item, actual-finish, LS_act_date
// and actual-start rules; then the common tail (container update, placement
// of a leaf, the ALAP rules, ALAP predecessors, early fields). The static
// and the dynamic form share every step; `Visit::dynamic` selects the
// differences.
#include "network/forward_pass.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "calendar/dates.h"
#include "network/actual_work.h"
#include "network/backward_pass.h"
#include "network/settle.h"
#include "schedule/assignment_dates.h"
#include "schedule/calendar_reach.h"
#include "schedule/dependency_resolution.h"
#include "schedule/item_times.h"
#include "schedule/placement.h"
#include "store/notification.h"
#include "store/sequence_ids.h"
#include "store/store.h"

namespace pass_detail {

void logForwardError(FILE* file, int number, const char* module, const activity_type* act,
                     const activity_type* other, const Placement& p) {
  if (file == nullptr) return;
  std::fprintf(file,
               "\nerror (%d) !!! -- %s: item %s pred %s start_date %d finish_date %d "
               "offset_start_time %d offset_finish_time %d duration %d constraint_type %d\n",
               number, module, act->name, other != nullptr ? other->name : "-", p.start, p.finish,
               p.st, p.ft, act->duration, act->constraint_type);
}

void logForwardFailure(FILE* file, const char* module, const char* what,
                       const activity_type* act) {
  if (file == nullptr) return;
  std::fprintf(file, "\nerror !!! -- %s: %s failed for %s (%d - %d, duration %d)\n", module, what,
               act->name, act->start_date, act->finish_date, act->duration);
}

int placeFromBoundedFinish(activity_type* act, storage_manager_type* smanager, int32_t finish,
                           Placement* p, int errSnap, int errPlace, const char* module,
                           const activity_type* pred, FILE* file) {
  shiftDays(p, finish - p->finish);
  int32_t fd = p->finish;
  if (activityFixClosestFinishDateFromProjCalendar(act, smanager, &fd, file) != 1) {
    logForwardError(file, errSnap, module, act, pred, *p);
    return FWD_ERR_NO_WORKING_FINISH;
  }
  int32_t dur = act->duration;
  int32_t sd = fd - dur + 1;
  int st = 0;
  int ft = 0;
  if (activityScheduleFromFinishDateSpecial(act, smanager, &sd, &fd, &dur, &st, &ft, file) != 1) {
    logForwardError(file, errPlace, module, act, pred, *p);
    return FWD_ERR_PLACE_BOUNDED_FINISH;
  }
  *p = {sd, fd, st, ft};
  return 0;
}

int replaceOnAssignmentWork(activity_type* act, storage_manager_type* smanager, FILE* file) {
  return reSchActFromFDBasedOnAssWork(act, smanager, 0, file);
}

namespace {

// Moves the candidate's start to `to` (its finish by the same days).
void raiseStart(Placement* p, int32_t to, int st) {
  shiftDays(p, to - p->start);
  p->st = st;
  p->ft = 0;
}

// Restores an item's calendar view when a resolution is done.
class ViewGuard {
 public:
  ViewGuard(activity_type* act, int16_t during) : act_(act), saved_(act->ignoreHolesInCalendar) {
    act_->ignoreHolesInCalendar = during;
  }
  ~ViewGuard() { act_->ignoreHolesInCalendar = saved_; }
  ViewGuard(const ViewGuard&) = delete;
  ViewGuard& operator=(const ViewGuard&) = delete;

 private:
  activity_type* act_;
  int16_t saved_;
};

int resolveForward(activity_type* act, activity_type* pred, const dependency_type* dep,
                   linked_list_type* act_tmp_list, storage_manager_type* smanager, bool dynamic,
                   const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file,
                   Placement* p) {
  if (!dynamic) {
    return activityResolveDependencyForSucc(act_tmp_list, act, pred, dep->type, dep->lag_minutes,
                                            smanager, 1, &p->start, &p->finish, &p->st, &p->ft,
                                            START_NODE_NAME, FINISH_NODE_NAME, file);
  }
  // A finish-driven dependency is resolved on the weekly pattern when the
  // item runs through non-working time.
  int16_t view = act->ignoreHolesInCalendar;
  if (view >= 1 && (dep->type == 0 || dep->type == 2)) view = 2;
  ViewGuard guard(act, view);
  return dynamResDependencyForSucc(act_tmp_list, act, pred, dep->type, dep->lag_minutes, smanager,
                                   1, &p->start, &p->finish, &p->st, &p->ft, START_NODE_NAME,
                                   FINISH_NODE_NAME, file);
}

}  // namespace

int forwardDrivingPredecessor(activity_type* act, linked_list_type* act_tmp_list,
                              storage_manager_type* smanager, const Bounds& b, bool dynamic,
                              const char* module, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME, FILE* file, Driving* drv,
                              bool* hasAlapPred) {
  project_type* proj = act->proj;
  const int ctype = act->constraint_type;
  activity_type* projItem =
      (proj->isOnExternalDep && act->type != 1) ? projectItemOf(act_tmp_list, act) : nullptr;
  forEach<dependency_type>(act->pred_list, [](dependency_type* d) { d->isActive = 0; });
  dependency_type* drvDep = nullptr;
  for (linktype* l = act->pred_list->phead; l != nullptr; l = l->pnext) {
    dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
    activity_type* pred = findItem(act_tmp_list, dep->name);
    if (pred == nullptr || pred == act) continue;
    if (pred->constraint_type == 1) *hasAlapPred = true;
    if (pred->isExternalPred) {
      int rc = coverOutsideItem(act, pred, module, file);
      if (rc != 0) return rc;
    }
    if (dynamic && !dep->isExternal && !isNamed(pred, START_NODE_NAME) &&
        !isLeaf(pred, FINISH_NODE_NAME)) {
      activitySpecRollDynam(act_tmp_list, pred, 1, 0, START_NODE_NAME, FINISH_NODE_NAME, file);
    }
    Placement p = placementOf(act);
    int rc = resolveForward(act, pred, dep, act_tmp_list, smanager, dynamic, START_NODE_NAME,
                            FINISH_NODE_NAME, file, &p);
    if (rc != 0) return rc;
    bool resched = false;
    bool fixedUpper = false;
    // Raises from outside predecessors and the calendar's first day.
    if ((dep->isExternal || pred->isExternalPred) && p.start < proj->current_date) {
      raiseStart(&p, proj->current_date, 0);
      resched = true;
    }
    if (act->type == 3 && p.start < proj->first_day) {
      raiseStart(&p, proj->first_day, 0);
      resched = true;
    }
    // Upper bounds and fixed dates.
    if (ctype > 1) {
      if ((ctype == 3 && p.finish > b.max_finish) || (ctype == 4 && p.finish != b.max_finish)) {
        rc = placeFromBoundedFinish(act, smanager, b.max_finish, &p, 6, 7, module, pred, file);
        if (rc != 0) return rc;
        resched = false;
      } else if (p.start > b.max_start || ctype == 5) {
        raiseStart(&p, b.max_start, ctype == 5 ? act->offset_start_time : 0);
        resched = true;
        fixedUpper = true;
      }
    }
    // Lower bounds of a task.
    if (act->type == 3) {
      if (ctype == 1) {
        if (p.start < b.min_start && !activityHasNonTrivialSucc(act, FINISH_NODE_NAME)) {
          raiseStart(&p, b.min_start, 0);
          resched = true;
        }
      } else {
        if (ctype == 2) {
          if (p.finish < b.min_finish) {
            rc = placeFromBoundedFinish(act, smanager, b.min_finish, &p, 8, 9, module, pred, file);
            if (rc != 0) return rc;
            resched = false;
          }
        } else if (p.start < b.min_start) {
          // Placed from its new start whatever the code: a finish moved by
          // the same calendar days would land later across a weekend.
          raiseStart(&p, b.min_start, ctype == 6 ? act->offset_start_time : 0);
          resched = true;
        }
        if (p.start < b.min_sd) {
          raiseStart(&p, b.min_sd, 0);
          resched = true;
        }
      }
    }
    // Items of a project on outside dependencies do not start (finish)
    // earlier in the day than their project item on the same day.
    if (projItem != nullptr) {
      if (p.start == projItem->start_date) p.st = std::max<int>(p.st, projItem->offset_start_time);
      if (p.finish == projItem->finish_date) {
        p.ft = std::min<int>(p.ft, projItem->offset_finish_time);
      }
    }
    // The latest start drives; the earlier entry stays on a full tie.
    if (!drv->found || p.start > drv->p.start || (p.start == drv->p.start && p.st > drv->p.st)) {
      if (drvDep != nullptr) drvDep->isActive = 0;
      dep->isActive = 1;
      drvDep = dep;
      drv->found = true;
      drv->p = p;
      drv->type = dep->type;
      drv->resched = resched;
      drv->predHasActualFinish = pred->hasActualFinish != 0;
      drv->fixedByUpperStart = fixedUpper;
    }
  }
  return 0;
}

namespace {

bool finishesBefore(const activity_type* a, const activity_type* b) {
  return a->finish_date < b->finish_date ||
         (a->finish_date == b->finish_date && a->offset_finish_time > b->offset_finish_time);
}

bool lsActRuleImpl(const activity_type* act, Placement* p) {
  if (act->LS_act_date < 1 || act->LS_act_date < p->start) return false;
  p->start = act->LS_act_date;
  p->st = act->LS_act_time;
  p->finish = act->LS_act_date + act->duration - 1;
  p->ft = 0;
  return true;
}

}  // namespace

bool lsActRuleFor(const activity_type* act, Placement* p) { return lsActRuleImpl(act, p); }

bool alapToBranchFinish(activity_type* act, linked_list_type* list, const char* START_NODE_NAME,
                        const char* FINISH_NODE_NAME, bool hasReal) {
  activity_type* anc = parentOf(list, act);
  bool found = false;
  for (int depth = 0;
       depth < 256 && anc != nullptr && !isNamed(anc, START_NODE_NAME) && anc->brunch != 0;
       ++depth) {
    if (activityHasNonTrivialSucc(anc, FINISH_NODE_NAME)) {
      found = true;
      break;
    }
    anc = parentOf(list, anc);
  }
  Placement cur = placementOf(act);
  if (found && hasReal && act->onDepTypeFrwd < 2 && finishesBefore(act, anc)) {
    bool ls = false;
    cur.finish = anc->finish_date;
    cur.ft = anc->offset_finish_time;
    cur.start = cur.finish - (act->duration - 1);
    cur.st = 0;
    if (act->LS_act_date >= 1 && act->LS_act_date >= cur.start) {
      cur.start = act->LS_act_date;
      cur.st = act->LS_act_time;
      cur.ft = 0;
      ls = true;
    }
    applyPlacement(act, cur);
    return ls;
  }
  if (lsActRuleImpl(act, &cur)) {
    applyPlacement(act, cur);
    return true;
  }
  return false;
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
  bool boundByParent = false;  // a later sweep of the static pass
};

// State of one visit beyond the item's own fields.
struct VisitState {
  Placement drv;           // the driving candidate (or the no-predecessor one)
  bool resched = false;    // reschedule-from-start
  bool startDriven = true;
  bool alap = false;       // an ALAP leaf
  bool hasAlapPred = false;
  bool lsApplied = false;      // the LS_act_date rule moved the item
  bool actualApplied = false;  // the actual-start rule re-placed the item
};

// LS_act_date rule: the remaining part of a started item resumes there.
bool lsActRule(const activity_type* act, Placement* p) {
  return pass_detail::lsActRuleFor(act, p);
}

// Actual-start rule: a started item with assignments is re-placed from its
// finish on its assignments' work.
int actualStartRule(const Visit& v, VisitState* s, int errNo) {
  activity_type* act = v.act;
  if (!act->hasActualStart || !act->hasAssignment) return 0;
  const int ctype = act->constraint_type;
  bool replace = true;
  if (s->startDriven && ctype != 3 && ctype != 4) replace = !s->resched && ctype == 2;
  if (!replace) return 0;
  int rc = replaceOnAssignmentWork(act, v.sm, v.file);
  if (rc != 0) {
    logForwardError(v.file, errNo, v.module, act, nullptr, placementOf(act));
    return rc;
  }
  s->actualApplied = true;
  return 0;
}

// Dynamic form and later sweeps of the static pass: an item never starts
// before its parent's start unless its candidate was fixed by the upper
// start bound or by constraint 5.
void parentBound(const Visit& v, bool fixedUpper, Placement* p, bool* resched) {
  if (fixedUpper) return;
  activity_type* parent = parentOf(v.act_tmp_list, v.act);
  if (parent == nullptr || isNamed(parent, v.START) || parent->proj == nullptr) return;
  if (p->start >= parent->start_date) return;
  p->start = parent->start_date;
  p->st = parent->offset_start_time;
  p->finish = parent->start_date + v.act->duration - 1;
  p->ft = 0;
  *resched = true;
}

// The item without real predecessors (only the start node before it).
int startWithoutPredecessors(const Visit& v, const Bounds& b, bool leaf, VisitState* s) {
  activity_type* act = v.act;
  project_type* proj = act->proj;
  const int ctype = act->constraint_type;
  const int32_t dur = act->duration;
  Placement cand = placementOf(act);
  s->resched = true;
  s->startDriven = true;
  bool fixedUpper = false;
  if (ctype == 6 && b.min_start < proj->create_date) {
    cand.start = b.min_start;
    cand.finish = cand.start + dur - 1;
    cand.ft = 0;
  } else if (ctype == 2 && b.min_finish < proj->create_date + dur - 1) {
    cand = {b.min_finish - dur + 1, b.min_finish, 0, 0};
    s->resched = false;
  } else if (leaf) {
    activity_type* startNode = findItem(v.act_tmp_list, v.START);
    const int32_t first = startNode != nullptr ? startNode->start_date + 1 : proj->create_date;
    cand = {first, first + dur - 1, 0, 0};
    if (cand.start < b.min_sd) raiseStart(&cand, b.min_sd, 0);
    int rc = 0;
    if (ctype == 2) {
      if (cand.finish < b.min_finish) {
        rc = placeFromBoundedFinish(act, v.sm, b.min_finish, &cand, 1, 2, v.module, startNode,
                                    v.file);
        s->resched = false;
      }
    } else if (ctype == 6) {
      if (cand.start < b.min_start) {
        raiseStart(&cand, b.min_start, act->offset_start_time);
        s->resched = true;
      }
    } else if (ctype == 1) {
      s->alap = true;
      s->resched = false;
    } else if (ctype == 3 || ctype == 4) {
      if ((ctype == 3 && cand.finish > b.max_finish) ||
          (ctype == 4 && cand.finish != b.max_finish)) {
        rc = placeFromBoundedFinish(act, v.sm, b.max_finish, &cand, 3, 4, v.module, startNode,
                                    v.file);
        s->resched = false;
      }
    } else if (cand.start > b.max_start || ctype == 5) {
      raiseStart(&cand, b.max_start, ctype == 5 ? act->offset_start_time : 0);
      s->resched = true;
      fixedUpper = true;
    }
    if (rc != 0) return rc;
    if (proj->isOnExternalDep && act->type != 1) {
      if (activity_type* projItem = projectItemOf(v.act_tmp_list, act)) {
        if (cand.start == projItem->start_date) cand.st = projItem->offset_start_time;
        if (cand.finish == projItem->finish_date) cand.ft = projItem->offset_finish_time;
      }
    }
  }
  if (v.dynamic || v.boundByParent) parentBound(v, fixedUpper, &cand, &s->resched);
  if ((ctype == 1 || ctype == 3) && lsActRule(act, &cand)) {
    s->resched = true;
    s->lsApplied = true;
  }
  applyPlacement(act, cand);
  s->drv = cand;
  return actualStartRule(v, s, 5);
}

// The item with real predecessors, after the driving one was found. 1 when
// the visit ends here (a project item kept its dates), else 0; or an error.
int startFromDriving(const Visit& v, const Driving& d, VisitState* s, bool* done) {
  activity_type* act = v.act;
  project_type* proj = act->proj;
  const int ctype = act->constraint_type;
  Placement cand = d.p;
  s->resched = d.resched;
  if (v.dynamic || v.boundByParent) parentBound(v, d.fixedByUpperStart, &cand, &s->resched);
  if (act->type == 1 && !proj->isOnExternalDep && cand.start < act->start_date) {
    proj->alignWithExtPred = 0;
    if (v.optionCalc || v.dynamic) recordEarly(act);
    *done = true;
    return 0;
  }
  if (d.predHasActualFinish && cand.start < proj->current_date) {
    raiseStart(&cand, proj->current_date, 0);
    s->resched = true;
  }
  act->onDepTypeFrwd = static_cast<int16_t>(d.type);
  s->startDriven = d.type == 1 || d.type == 3;
  if ((ctype == 1 || ctype == 3 || ctype == 7) && lsActRule(act, &cand)) {
    s->resched = true;
    s->lsApplied = true;
  }
  applyPlacement(act, cand);
  s->drv = cand;
  return actualStartRule(v, s, 10);
}

void pushAlapToBranch(const Visit& v, bool hasReal, VisitState* s) {
  if (alapToBranchFinish(v.act, v.act_tmp_list, v.START, v.FINISH, hasReal)) s->lsApplied = true;
}

int placeFromStart(const Visit& v, int errNo, int code) {
  if (activityScheduleFromStartDateBasedOnProjectCalendar(v.act, v.sm, v.file) == 1) return 0;
  logForwardError(v.file, errNo, v.module, v.act, nullptr, placementOf(v.act));
  return code;
}

int placeFromFinish(const Visit& v, int errNo, int code) {
  if (activityScheduleFromFinishDateBasedOnProjectCalendar(v.act, v.sm, v.file) == 1) return 0;
  logForwardError(v.file, errNo, v.module, v.act, nullptr, placementOf(v.act));
  return code;
}

// Placing an ALAP leaf and its ALAP rules. *step receives 6 or 7.
int alapLeaf(const Visit& v, bool hasReal, VisitState* s, int* step) {
  activity_type* act = v.act;
  int rc = s->resched ? placeFromStart(v, 12, FWD_ERR_PLACE_FROM_START)
                      : placeFromFinish(v, 11, FWD_ERR_PLACE_FROM_FINISH);
  if (rc != 0) return rc;
  if (activityHasNonTrivialSucc(act, v.FINISH)) {
    rc = adjustUpdateAllSuccOfAlapPred(act, v.act_tmp_list, v.sm, v.START, v.FINISH, v.file);
    if (rc != 0) {
      logForwardError(v.file, 13, v.module, act, nullptr, placementOf(act));
      return rc;
    }
    rc = v.dynamic
             ? adjustUpdateAlapPredToAllSucc(act, v.act_tmp_list, v.sm, v.START, v.FINISH, v.file)
             : adjustUpdateAlapPredToSuccConstr(act, v.act_tmp_list, v.sm, v.START, v.FINISH,
                                                v.file);
    if (rc != 0) {
      logForwardError(v.file, 14, v.module, act, nullptr, placementOf(act));
      return rc;
    }
  } else {
    pushAlapToBranch(v, hasReal, s);
  }
  if (act->hasActualStart && act->hasAssignment) {
    rc = replaceOnAssignmentWork(act, v.sm, v.file);
    if (rc != 0) {
      logForwardError(v.file, 15, v.module, act, nullptr, placementOf(act));
      return rc;
    }
    s->actualApplied = true;
  }
  // The driving dependency applied again.
  Placement cur = placementOf(act);
  const bool keep = s->lsApplied || s->actualApplied;
  if (s->startDriven) {
    if (cur.start < s->drv.start) {
      shiftDays(&cur, s->drv.start - cur.start);
      cur.st = 0;
      cur.ft = 0;
      applyPlacement(act, cur);
      rc = placeFromStart(v, 12, FWD_ERR_PLACE_FROM_START);
      if (rc != 0) return rc;
      *step = 7;
    } else {
      *step = keep ? 7 : 6;
    }
  } else if (cur.finish < s->drv.finish) {
    shiftDays(&cur, s->drv.finish - cur.finish);
    cur.st = 0;
    cur.ft = 0;
    applyPlacement(act, cur);
    *step = 6;
  } else {
    *step = keep ? 7 : 6;
  }
  return 0;
}

// ALAP predecessors of the item move as late as it now allows, and ALAP
// predecessors of those as late as all their successors allow.
int alapPredecessors(const Visit& v) {
  activity_type* act = v.act;
  for (linktype* l = act->pred_list->phead; l != nullptr; l = l->pnext) {
    const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
    if (dep->isExternal) continue;
    activity_type* pred = findItem(v.act_tmp_list, dep->name);
    if (pred == nullptr || pred->constraint_type != 1) continue;
    int rc = adjustUpdateAlapPredToSuccHardConstr(act, pred, v.act_tmp_list, v.sm, v.START,
                                                  v.FINISH, v.file);
    if (rc != 0) {
      logForwardError(v.file, 16, v.module, act, pred, placementOf(pred));
      return rc;
    }
    for (linktype* m = pred->pred_list->phead; m != nullptr; m = m->pnext) {
      const dependency_type* dep2 = static_cast<dependency_type*>(m->pcontents);
      activity_type* pred2 = findItem(v.act_tmp_list, dep2->name);
      if (pred2 == nullptr || pred2->constraint_type != 1) continue;
      rc = adjustUpdateAlapPredToAllSucc(pred2, v.act_tmp_list, v.sm, v.START, v.FINISH, v.file);
      if (rc != 0) {
        logForwardError(v.file, 17, v.module, pred, pred2, placementOf(pred2));
        return rc;
      }
    }
  }
  return 0;
}

// True when a container's dates from its dependencies lie beyond where its
// children are: a child that its container moves (not finished, not locked,
// not on a fixed start or finish) starts before the container's driven
// start; finish-driven, the rolled-up finish lies before the driven one.
// Only then must its children move.
bool movesChildren(const Visit& v, const Placement& driven, const Placement& rolled,
                   bool startDriven) {
  for (linktype* l = v.act->child_list->phead; l != nullptr; l = l->pnext) {
    const activity_type* child =
        findItem(v.activities_list, static_cast<string_type*>(l->pcontents)->str);
    if (child == nullptr || child == v.act || child->proj == nullptr) continue;
    if (child->hasActualFinish || child->ignore_child_for_sched || child->constraint_type == 4 ||
        child->constraint_type == 5) {
      continue;
    }
    if (child->start_date < driven.start ||
        (child->start_date == driven.start && child->offset_start_time < driven.st)) {
      return true;
    }
  }
  if (startDriven) return false;
  return driven.finish > rolled.finish ||
         (driven.finish == rolled.finish && driven.ft < rolled.ft);
}

int visitItem(const Visit& v) {
  activity_type* act = v.act;
  if (act->proj == nullptr) return 0;
  project_type* proj = act->proj;
  const Placement before = placementOf(act);
  const bool hasReal = activityHasNonTrivialPred(act, v.START) != 0;
  const int ctype = act->constraint_type;
  const bool leaf = isLeaf(act, v.FINISH);
  if (leaf && act->type != 3) {
    if (v.dynamic) return 0;
    if (v.file != nullptr) {
      std::fprintf(v.file,
                   "\nForwardPass: !!! check why this node in empty but type is not 3 !!! %s\n",
                   act->name);
    }
    act->type = 3;
    act->brunch = 0;
  }
  if (!leaf && !v.dynamic) {
    activityRollupDatesFromChildren(v.activities_list, act, v.sm, 1, v.hasTobeChecked,
                                    v.optionCalc, v.START, v.FINISH, v.file);
  }
  const Placement rolled = placementOf(act);
  const Bounds b = boundsForward(act, v.file);
  VisitState s;
  Driving d;
  if (hasReal) {
    int rc = forwardDrivingPredecessor(act, v.act_tmp_list, v.sm, b, v.dynamic, v.module, v.START,
                                       v.FINISH, v.file, &d, &s.hasAlapPred);
    if (rc != 0) return rc;
  }
  if (d.found) {
    if (ctype == 1 && act->type == 3) s.alap = true;
    bool done = false;
    int rc = startFromDriving(v, d, &s, &done);
    if (rc != 0 || done) return rc;
  } else {
    int rc = startWithoutPredecessors(v, b, leaf, &s);
    if (rc != 0) return rc;
  }

  // Common tail.
  if (!leaf && v.boundByParent && !movesChildren(v, placementOf(act), rolled, s.startDriven)) {
    // A later sweep: the children already meet every bound of the
    // container (each was placed against it), so it keeps its rolled-up
    // dates and its children stay where they are.
    applyPlacement(act, rolled);
    if (v.optionCalc) recordEarly(act);
    return 0;
  }
  if (!leaf) {
    int rc = activityUpdateContainerAndItsChildren(
        v.activities_list, v.act_tmp_list, v.sm, act, s.startDriven ? 1 : 0,
        s.startDriven ? 0 : 1, 1, v.hasTobeChecked, v.restrictUpDown, v.optionCalc, v.START,
        v.FINISH, v.file);
    if (v.optionCalc) recordEarly(act);
    return rc;
  }
  int step = 7;
  if (!s.alap) {
    if (samePlacement(placementOf(act), before)) {
      step = 7;
    } else if (ctype != 4 && (s.startDriven || s.resched) &&
               (s.resched || (ctype != 2 && ctype != 3))) {
      if (activityScheduleFromStartDateBasedOnProjectCalendar(act, v.sm, v.file) != 1) {
        logForwardFailure(v.file, v.module, "placing from the start", act);
        return FWD_ERR_PLACE_FROM_START;
      }
      step = 7;
    } else {
      step = 6;
    }
  } else {
    int rc = alapLeaf(v, hasReal, &s, &step);
    if (rc != 0) return rc;
  }
  if (step == 6) {
    if (activityScheduleFromFinishDateBasedOnProjectCalendar(act, v.sm, v.file) != 1) {
      logForwardFailure(v.file, v.module, "placing from the finish", act);
      return FWD_ERR_PLACE_FROM_FINISH;
    }
    if (act->start_date < proj->first_day) {
      applyPlacement(act, {proj->first_day, proj->first_day + act->duration - 1, 0, 0});
      if (activityScheduleFromStartDateBasedOnProjectCalendar(act, v.sm, v.file) != 1) {
        logForwardFailure(v.file, v.module, "placing from the first day", act);
        return FWD_ERR_PLACE_FROM_FIRST_DAY;
      }
    }
  }
  if (s.hasAlapPred) {
    int rc = alapPredecessors(v);
    if (rc != 0) return rc;
  }
  if (v.optionCalc) recordEarly(act);
  return 0;
}

}  // namespace

namespace {

int alignForward(activity_type* act, linked_list_type* activities_list,
                 linked_list_type* act_tmp_list, storage_manager_type* smanager,
                 int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
                 const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file,
                 bool boundByParent) {
  try {
    Visit v{act, activities_list, act_tmp_list, smanager, hasTobeChecked, restrictUpDown,
            optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file, false, "ForwardPass",
            boundByParent};
    return visitItem(v);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doAlignmentActivityItemForwardPass: throw exception to upper "
                   "level\n");
    }
    throw;
  }
}

bool skippedForward(const activity_type* act) {
  return act->isExternalPred || act->ignore_item_for_sched || act->hasActualFinish;
}


}  // namespace

int doAlignmentActivityItemForwardPass(activity_type* this_succ_node,
                                       linked_list_type* activities_list,
                                       linked_list_type* act_tmp_list,
                                       storage_manager_type* smanager, int hasTobeChecked,
                                       int restrictUpDown, int optionCalculEsEfLsLf,
                                       const char* START_NODE_NAME,
                                       const char* FINISH_NODE_NAME, FILE* file) {
  return alignForward(this_succ_node, activities_list, act_tmp_list, smanager, hasTobeChecked,
                      restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME,
                      file, false);
}

int doDynamAlignActWithPred(activity_type* this_succ_node, linked_list_type* act_tmp_list,
                            storage_manager_type* smanager, const char* START_NODE_NAME,
                            const char* FINISH_NODE_NAME, FILE* file) {
  try {
    activity_type* act = this_succ_node;
    if (act->hasActualFinish || act->ignore_item_for_sched || act->isExternalPred) return 0;
    markAncestorsForDynamicRollup(act_tmp_list, act, START_NODE_NAME);
    Visit v{act, act_tmp_list, act_tmp_list, smanager, 1, 0, 0, START_NODE_NAME,
            FINISH_NODE_NAME, file, true, "doDynamAlignActWithPred"};
    return visitItem(v);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doDynamAlignActWithPred: throw exception to upper level\n");
    }
    throw;
  }
}

int doFinAlignActivitiesFrwdPass(linked_list_type* root_act_list, linked_list_type* items_list,
                                 linked_list_type* activities_list,
                                 linked_list_type* act_tmp_list, storage_manager_type* smanager,
                                 int hasTobeChecked, int restrict_UpDown,
                                 int optionCalculEsEfLsLf, FILE* file) {
  try {
    if (items_list == nullptr || ll_size(items_list) < 2) return 0;
    const char* START = nullptr;
    const char* FINISH = nullptr;
    orderListNodeNames(items_list, true, &START, &FINISH);
    PassSweep sweep(alignForward, skippedForward, root_act_list, activities_list, act_tmp_list,
                    smanager, hasTobeChecked, restrict_UpDown, optionCalculEsEfLsLf, START,
                    FINISH, file);
    return sweepUntilSettled(items_list, act_tmp_list, true, "ForwardPass", file, sweep);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doFinAlignActivitiesFrwdPass: throw exception to upper "
                   "level\n");
    }
    throw;
  }
}

// ----- the dynamic forward re-pass ---------------------------------------------

namespace {

// The run's items joined with their open assignments, in priority order:
// task assignments before project assignments, then by level index and
// delay. An assignment that is finished and has no remaining work is left
// out; an item without assignments appears once with empty columns.
constexpr const char* kSelectItemsWithAssignments =
    "select w.ELEMENT_ID ,a.TSK_ASSIGNMENT_ID ,a.RESOURCE_ID ,a.ACTUAL_FINISH "
    " from Lev_kor_wbs w join NAV_TMP_PROJECTS_00 temp on w.PROJECT_ID=temp.ELEMENT_ID "
    " left join TASK_ASSIGNMENTS a on (a.PROJECT_ID=w.PROJECT_ID and a.TASK_ID=w.ELEMENT_ID) "
    " where (a.ACTUAL_FINISH is null or (a.ACTUAL_FINISH is not null and a.ETC<>0)) "
    " order by CASE WHEN a.TSK_ASSIGNMENT_ID is null THEN 0 WHEN a.PROJECT_ID is null THEN 0 "
    " WHEN a.PROJECT_ID=a.TASK_ID THEN 1 ELSE 0 END asc ,w.LEVEL_INDEX asc ,"
    " coalesce (a.ASSIGNMENT_DELAY,0) asc";

constexpr const char* kSelectItems =
    "select w.ELEMENT_ID "
    " from Lev_kor_wbs w join NAV_TMP_PROJECTS_00 temp on w.PROJECT_ID=temp.ELEMENT_ID "
    " order by w.LEVEL_INDEX asc";

constexpr int kAssignmentErrorBase = 200213;
constexpr int kMessageCapacity = 16384;  // characters of the user message
constexpr int kMessageRoomForDataError = 4000;

// The item of an element id: by its name, or through its sequence id (type
// 1 first, as the loader names project rows, then type 2). 0 with the item
// (null when the element has no item), or 200216.
int itemOfElement(linked_list_type* list, const char* element_id, int optionUids,
                  storage_manager_type* sm, FILE* file, activity_type** out) {
  *out = nullptr;
  if (!optionUids) {
    *out = findItem(list, element_id);
    return 0;
  }
  char uid[SEQ_UID_SIZE] = {};
  for (int type : {1, 2}) {
    int found = 0;
    if (doFindCreateActSeqUid(element_id, type, uid, sm, 0, &found, file) == 0 && found) {
      *out = findItem(list, uid);
      return 0;
    }
  }
  if (file != nullptr) {
    std::fprintf(file,
                 "\n****** error in doRunFrwdDynamicRepasNetTree: no sequence id for element %s\n",
                 element_id);
  }
  return FWD_ERR_MISSING_SEQ_UID;
}

// The D-6 finding: logged, and put in front of the user's message and
// notified when the message has room.
void reportFinishedTaskWithOpenAssignment(const activity_type* act, const char* element_id,
                                          const char* assignment_id, char* p_workflow_id,
                                          char* p_message, const char* p_subject,
                                          const char* p_element_id_p, const char* p_rec_user,
                                          int p_root_table_type, int line, FILE* file) {
  const std::string block =
      std::string("**** error(D-6)/data corruption in Lev_mainGate (doRunFrwdDynamicRepasNetTree) "
                  "\nerror type: (critical) task has 'actual finish' in 'KOR_WBS' but not in "
                  "'TASK_ASSIGNMENTS' table \naction: ignore assignment \n");
  char ids[256];
  std::snprintf(ids, sizeof ids,
                "LineNum = %d \nh_tsk_element_id = %s (0) \nh_tsk_assignment_id = %s (0) \n",
                line, element_id, assignment_id);
  if (file != nullptr) std::fprintf(file, "\n%s%s item %s\n", block.c_str(), ids, act->name);
  if (p_message == nullptr) return;
  const size_t used = std::strlen(p_message);
  if (kMessageCapacity - static_cast<int>(used) <= kMessageRoomForDataError) return;
  std::string message = block + "Please submit to supporting team \n\n" + ids + "\n" + p_message;
  if (message.size() > static_cast<size_t>(kMessageCapacity)) message.resize(kMessageCapacity);
  std::memcpy(p_message, message.c_str(), message.size() + 1);
  const std::string subject = std::string("[Started] ") + (p_subject != nullptr ? p_subject : "");
  FC_SEND_NOTIFY(p_workflow_id, subject.c_str(), p_message, p_element_id_p, p_rec_user,
                 p_root_table_type);
}

// The envelope of the placed assignments of the task being read.
struct Envelope {
  bool set = false;
  int32_t start = 0;
  int32_t finish = 0;
  int st = 0;
  int ft = 0;
};

// The previous task's dates from its assignments, then its realignment.
int finishTask(activity_type* act, const Envelope& env, linked_list_type* list,
               storage_manager_type* sm, const char* START_NODE_NAME,
               const char* FINISH_NODE_NAME, FILE* file) {
  if (act == nullptr) return 0;
  if (env.set) {
    int rc = doSetDTParamsTaskDrivAss(act, sm, env.start, env.finish, env.st, env.ft, 0, file);
    if (rc != 0) return rc;
  }
  return doDynamAlignActWithPred(act, list, sm, START_NODE_NAME, FINISH_NODE_NAME, file);
}

void logSqlFailure(FILE* file, db::Store& store, int32_t rc, int line) {
  if (file == nullptr) return;
  std::fprintf(file,
               "\n****** error (1) in doRunFrwdDynamicRepasNetTree: SC_STATE = %d (%s) LineNum = "
               "%d\n",
               rc, store.status().message, line);
  store.status().clearMessage();
}

}  // namespace

int doRunFrwdDynamicRepasNetTree(linked_list_type* act_tmp_list, storage_manager_type* sm,
                                 int optionConsiderUidsLengthSupr, int assignmentsFlag,
                                 const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                 char* p_workflow_id, char* p_message, const char* p_subject,
                                 const char* p_element_id_p, const char* p_rec_user,
                                 int p_root_table_type, int PRINT_OPTION_MORETHAN_BASIC,
                                 FILE* file) {
  try {
    db::Store* store = db::currentStore();
    if (store == nullptr) {
      if (file != nullptr) {
        std::fprintf(file,
                     "\n****** error (1) in doRunFrwdDynamicRepasNetTree: SC_STATE = %d (no "
                     "connection) LineNum = %d\n",
                     db::kSqlNoConnection, __LINE__);
      }
      return db::kSqlNoConnection;
    }
    const bool withAssignments = assignmentsFlag >= 1;
    db::IdText elementId, assignmentId, resourceId;
    db::StampText actualFinish;
    int16_t elementInd = 0, assignmentInd = 0, resourceInd = 0, actualFinishInd = 0;
    db::Cursor rows(*store);
    int32_t rc = rows.open(withAssignments ? kSelectItemsWithAssignments : kSelectItems);
    if (rc < 0) {
      logSqlFailure(file, *store, rc, __LINE__);
      return rc;
    }
    activity_type* current = nullptr;
    std::string currentElement;
    Envelope env;
    int line = 0;
    while (true) {
      ++line;
      rc = withAssignments
               ? rows.fetch({db::HostVar(elementId, &elementInd),
                             db::HostVar(assignmentId, &assignmentInd),
                             db::HostVar(resourceId, &resourceInd),
                             db::HostVar(actualFinish, &actualFinishInd)})
               : rows.fetch({db::HostVar(elementId, &elementInd)});
      if (rc == db::kSqlNoData) break;
      if (rc < 0) {
        logSqlFailure(file, *store, rc, __LINE__);
        return rc;
      }
      if (elementInd < 0) continue;
      if (currentElement != elementId.c_str()) {
        // A new element: the previous task takes its assignments' dates and
        // is realigned with its predecessors.
        int frc = finishTask(current, env, act_tmp_list, sm, START_NODE_NAME, FINISH_NODE_NAME,
                             file);
        if (frc != 0) return frc;
        currentElement = elementId.c_str();
        env = Envelope{};
        frc = itemOfElement(act_tmp_list, elementId.c_str(), optionConsiderUidsLengthSupr, sm, file,
                            &current);
        if (frc != 0) return frc;
        if (PRINT_OPTION_MORETHAN_BASIC && file != nullptr) {
          std::fprintf(file, "\n Dynamic forward re-pass: %s%s\n", elementId.c_str(),
                       current == nullptr ? " (no item)" : "");
        }
      }
      if (current == nullptr || !withAssignments || assignmentInd < 0 || resourceInd < 0) continue;
      if (current->hasActualFinish) {
        if (actualFinishInd < 0) {
          reportFinishedTaskWithOpenAssignment(current, elementId.c_str(), assignmentId.c_str(),
                                               p_workflow_id, p_message, p_subject, p_element_id_p,
                                               p_rec_user, p_root_table_type, line, file);
        }
        continue;
      }
      char start[TIME_STAMP_TEXT_SIZE] = {};
      char finish[TIME_STAMP_TEXT_SIZE] = {};
      int arc = doExtractActAssStartFinishDT(current, resourceId.c_str(), sm,
                                             optionConsiderUidsLengthSupr, start, finish,
                                             kAssignmentErrorBase, file);
      if (arc != 0) {
        if (file != nullptr) {
          std::fprintf(file,
                       "\n E R R O R  exiting from doExtractActAssStartFinishDT !!! (%d) %s %s: "
                       "assignment is not in the list and will be ignored\n",
                       arc, elementId.c_str(), resourceId.c_str());
        }
        continue;
      }
      arc = doRollupAssDTWithinTask(current, sm, env.set ? 1 : 0, start, finish, &env.start,
                                    &env.finish, &env.st, &env.ft, 0, file);
      if (arc != 0) return arc;
      env.set = true;
    }
    rows.close();
    return finishTask(current, env, act_tmp_list, sm, START_NODE_NAME, FINISH_NODE_NAME, file);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doRunFrwdDynamicRepasNetTree: throw exception to upper "
                   "level\n");
    }
    throw;
  }
}
