// The container update family: a container that a dependency has just moved
// in the forward or backward pass moves its children, which keep their
// distance to the container's start (forward from the start) or finish (the
// other members), are re-resolved against their own dependencies when they
// have any, and are placed on their calendars; the container is then rolled
// up again. See rollup.h for the mirrored members and adjusters.
//
// Every member walks the container's child list (ordered by serial_num by the
// network construction, so a child comes after its siblings that precede
// it): the forward members from its head, the backward ones from its tail.
// They skip the finish node, finished children and children flagged
// ignore_child_for_sched.
#include <cstring>

#include "model/serial_names.h"
#include "network/backward_pass.h"
#include "network/forward_pass.h"
#include "network/rollup.h"
#include "schedule/calendar_reach.h"
#include "schedule/placement.h"
#include "store/calendar_loader.h"

namespace {

using namespace pass_detail;

// What a member was called with, passed on to its children.
struct Ctx {
  linked_list_type* activities_list;
  linked_list_type* act_tmp_list;
  storage_manager_type* sm;
  int isForwardPass;
  int hasTobeChecked;
  int restrictUpDown;
  int optionCalc;
  const char* START;
  const char* FINISH;
  FILE* file;
};

enum class Anchor { Start, Finish };

void logUpdateError(FILE* file, const char* what, const activity_type* cont,
                    const activity_type* child) {
  if (file == nullptr) return;
  std::fprintf(file,
               "\nerror !!! ==> %s container %s (%d - %d) child %s (%d - %d) offset_start_date %d "
               "offset_finish_date %d\n",
               what, cont->name, cont->start_date, cont->finish_date, child->name,
               child->start_date, child->finish_date, child->offset_start_date,
               child->offset_finish_date);
}

bool startsAfter(const activity_type* a, const activity_type* b) {
  return a->start_date > b->start_date ||
         (a->start_date == b->start_date && a->offset_start_time > b->offset_start_time);
}

bool finishesBefore(const activity_type* a, const activity_type* b) {
  return a->finish_date < b->finish_date ||
         (a->finish_date == b->finish_date && a->offset_finish_time > b->offset_finish_time);
}

// Makes the child's project calendar cover the child.
int coverChild(activity_type* c, FILE* file) {
  project_type* p = c->proj;
  if (p == nullptr) return 0;
  const int32_t last = getProjectLastDayOfCalendar(p);
  if (c->start_date > p->first_day && c->finish_date < last) return 0;
  const int32_t from = c->start_date <= p->first_day ? c->start_date : p->first_day;
  const int32_t to =
      c->finish_date >= last ? c->finish_date + c->duration + CALENDAR_GROWTH_MARGIN : last;
  return projectExtendCalendarData(p, from, to, file);
}

// Places a moved leaf: a task in progress with assignments on its work, else
// from its finish or its start. 0 or a code.
int placeMovedLeaf(activity_type* c, const Ctx& x, bool fromFinish, const char* what) {
  if (c->type != 3) return 0;
  if (c->hasActualStart && c->hasAssignment) {
    int rc = replaceOnAssignmentWork(c, x.sm, x.file);
    if (rc != 0 && x.file != nullptr) {
      std::fprintf(x.file, "\nerror !!! ==> 5--1 -- %s: %s (%d - %d)\n", what, c->name,
                   c->start_date, c->finish_date);
    }
    return rc;
  }
  if (fromFinish) {
    if (activityScheduleFromFinishDateBasedOnProjectCalendar(c, x.sm, x.file) != 1) {
      return x.isForwardPass ? FWD_ERR_PLACE_FROM_FINISH : BWD_ERR_PLACE_FROM_FINISH;
    }
    if (c->proj != nullptr && c->start_date < c->proj->first_day) {
      const int32_t first = c->proj->first_day;
      applyPlacement(c, {first, first + c->duration - 1, 0, 0});
      if (activityScheduleFromStartDateBasedOnProjectCalendar(c, x.sm, x.file) != 1) {
        return x.isForwardPass ? FWD_ERR_PLACE_FROM_FIRST_DAY : BWD_ERR_PLACE_FROM_FIRST_DAY;
      }
    }
    return 0;
  }
  if (activityScheduleFromStartDateBasedOnProjectCalendar(c, x.sm, x.file) != 1) {
    return x.isForwardPass ? FWD_ERR_PLACE_FROM_START : BWD_ERR_PLACE_FROM_START;
  }
  return 0;
}

void recordFields(const Ctx& x, activity_type* c) {
  if (!x.optionCalc) return;
  if (x.isForwardPass) recordEarly(c);
  else recordLate(c);
}

// A task's constraint after a shift of `shifted` (forward bounds). Returns
// false when the constraint keeps the task where it was; sets *fromFinish
// for constraints 2 and 3.
bool constrainShiftedTask(activity_type* c, const Ctx& x, Placement* shifted, bool* fromFinish) {
  const int ctype = c->constraint_type;
  if (ctype == 4 || ctype == 5) return false;
  if (ctype == 1 && x.hasTobeChecked) return false;
  const Bounds b = x.isForwardPass ? boundsForward(c, x.file) : boundsBackward(c, x.file);
  if (ctype == 7 && shifted->start > b.max_start) {
    shiftDays(shifted, b.max_start - shifted->start);
  } else if (ctype == 3 && shifted->finish > b.max_finish) {
    shiftDays(shifted, b.max_finish - shifted->finish);
  } else if (ctype == 6 && shifted->start < b.min_start) {
    shiftDays(shifted, b.min_start - shifted->start);
  } else if (ctype == 2 && shifted->finish < b.min_finish) {
    shiftDays(shifted, b.min_finish - shifted->finish);
  }
  if (ctype == 2 || ctype == 3) *fromFinish = true;
  if (x.isForwardPass && c->LS_act_date >= 1 && c->LS_act_date >= shifted->start) {
    shifted->start = c->LS_act_date;
    shifted->finish = c->LS_act_date + c->duration - 1;
    shifted->st = c->LS_act_time;
    shifted->ft = 0;
  }
  return true;
}

int forwardMember(const Ctx& x, activity_type* cont, Anchor anchor, int* ok_status);
int backwardMember(const Ctx& x, activity_type* cont, bool bypass, int* ok_status);

// ----- forward ---------------------------------------------------------------

// Re-resolves one child against its own predecessors, never before its
// container's start, and places it (the start adjuster and its mirror for the
// finish anchor share this).
int forwardAdjust(activity_type* c, activity_type* cont, const Ctx& x, bool isEmptyContainer,
                  const char* module) {
  if (c->constraint_type == 1) {
    if (isEmptyContainer && activityHasNonTrivialSucc(c, x.FINISH)) {
      return adjustUpdateAlapPredToSuccConstr(c, x.act_tmp_list, x.sm, x.START, x.FINISH, x.file);
    }
    return 0;
  }
  if (c->proj == nullptr) return 0;
  const Bounds b = boundsForward(c, x.file);
  Driving d;
  bool alapPred = false;
  int rc = forwardDrivingPredecessor(c, x.act_tmp_list, x.sm, b, false, module, x.START, x.FINISH,
                                     x.file, &d, &alapPred);
  if (rc != 0) return rc;
  if (c->type == 1 && !c->proj->isOnExternalDep && d.found && d.p.start < c->start_date) {
    c->proj->alignWithExtPred = 0;
    return 0;
  }
  Placement cand = d.found ? d.p : placementOf(c);
  bool resched = d.found ? d.resched : true;
  if (cand.start < cont->start_date ||
      (cand.start == cont->start_date && cand.st < cont->offset_start_time)) {
    shiftDays(&cand, cont->start_date - cand.start);
    cand.st = cont->offset_start_time;
    cand.ft = 0;
    resched = true;
  }
  applyPlacement(c, cand);
  if (d.found) c->onDepTypeFrwd = static_cast<int16_t>(d.type);
  const bool startDriven = !d.found || d.type == 1 || d.type == 3;
  if (isEmptyContainer) {
    const int ctype = c->constraint_type;
    const bool fromStart = ctype != 4 && (startDriven || resched) &&
                           (resched || (ctype != 2 && ctype != 3));
    rc = placeMovedLeaf(c, x, !fromStart, module);
    if (rc != 0) return rc;
  } else {
    activityUpdateContainerAndItsChildren(x.activities_list, x.act_tmp_list, x.sm, c,
                                          startDriven ? 1 : 0, startDriven ? 0 : 1, 1,
                                          x.hasTobeChecked, x.restrictUpDown, x.optionCalc,
                                          x.START, x.FINISH, x.file);
  }
  c->offset_start_date = c->start_date - cont->start_date;
  c->offset_finish_date = cont->finish_date - c->finish_date;
  recordFields(x, c);
  return 0;
}

int forwardMember(const Ctx& x, activity_type* cont, Anchor anchor, int* ok_status) {
  const char* what =
      anchor == Anchor::Start ? "Forward Update from Start" : "Forward Update from Finish";
  const bool contHasPred = activityHasNonTrivialPred(cont, x.START) != 0;
  for (linktype* l = cont->child_list->phead; l != nullptr; l = l->pnext) {
    const char* name = static_cast<string_type*>(l->pcontents)->str;
    if (x.FINISH != nullptr && std::strcmp(name, x.FINISH) == 0) continue;
    activity_type* c = findItem(x.activities_list, name);
    if (c == nullptr || c == cont || c->ignore_child_for_sched || c->hasActualFinish) continue;
    const bool leaf = isLeaf(c, x.FINISH);
    const bool hasReal = activityHasNonTrivialPred(c, x.START) != 0;
    const int32_t days = anchor == Anchor::Start
                             ? cont->start_date + c->offset_start_date - c->start_date
                             : cont->finish_date - c->offset_finish_date - c->finish_date;
    Placement p = placementOf(c);
    bool moved = false;
    bool fromFinish = false;
    if (days == 0) {
      if (x.hasTobeChecked) {
        if (hasReal || !contHasPred) {
          if (c->start_date == cont->start_date && cont->offset_start_time > p.st) {
            p.st = cont->offset_start_time;
            moved = true;
          }
        } else if (c->constraint_type == 0 && startsAfter(c, cont)) {
          shiftDays(&p, cont->start_date - p.start);
          p.st = cont->offset_start_time;
          moved = true;
        }
      } else if (c->constraint_type == 0 &&
                 (p.start != cont->start_date || p.st != cont->offset_start_time)) {
        shiftDays(&p, cont->start_date - p.start);
        p.st = cont->offset_start_time;
        moved = true;
      }
    } else if ((hasReal || !leaf) && x.hasTobeChecked) {
      int rc = anchor == Anchor::Start
                   ? activityAdjustSuccDependencyInContainerForward(
                         c, cont, x.activities_list, x.act_tmp_list, x.sm, 1, x.isForwardPass,
                         x.hasTobeChecked, x.restrictUpDown, x.optionCalc, leaf ? 1 : 0, 1,
                         x.START, x.FINISH, x.file)
                   : activityAdjustPredDependencyInContainerForward(
                         c, cont, x.activities_list, x.act_tmp_list, x.sm, 0, x.isForwardPass,
                         x.hasTobeChecked, x.restrictUpDown, x.optionCalc, leaf ? 1 : 0, 1,
                         x.START, x.FINISH, x.file);
      if (rc != 0) {
        *ok_status = 0;
        logUpdateError(x.file, anchor == Anchor::Start ? "2-2 -- Forward Update from Start:"
                                                       : "2-2 -- Forward Update from Finish:",
                       cont, c);
        return rc;
      }
      continue;
    } else {
      shiftDays(&p, days);
      moved = leaf && c->type == 3 ? constrainShiftedTask(c, x, &p, &fromFinish) : true;
      if (moved && p.start == cont->start_date) p.st = cont->offset_start_time;
    }
    if (!moved) continue;
    applyPlacement(c, p);
    c->offset_start_date = c->start_date - cont->start_date;
    if (leaf && c->constraint_type == 1 && !activityHasNonTrivialSucc(c, x.FINISH)) {
      alapToBranchFinish(c, x.act_tmp_list, x.START, x.FINISH, hasReal);
    }
    int rc = coverChild(c, x.file);
    if (rc == 0) {
      rc = leaf ? placeMovedLeaf(c, x, fromFinish, what)
                : forwardMember(x, c, anchor, ok_status);
    }
    if (rc != 0 || *ok_status == 0) {
      *ok_status = 0;
      return rc;
    }
    recordFields(x, c);
  }
  activityRollupDatesFromChildren(x.activities_list, cont, x.sm, 1, x.hasTobeChecked, x.optionCalc,
                                  x.START, x.FINISH, x.file);
  return 0;
}

// ----- backward --------------------------------------------------------------

// Re-runs the successor part of the backward pass for one child, never
// after its container's finish, and places it.
int backwardAdjust(activity_type* c, activity_type* cont, const Ctx& x, bool isEmptyContainer,
                   const char* module) {
  if (c->proj == nullptr) return 0;
  const Bounds b = boundsBackward(c, x.file);
  BackWinner w;
  const bool taskLike = c->type == 3;
  if (taskLike) setActivityDuration(c, c->original_duration);
  int rc = backwardDrivingSuccessor(c, x.act_tmp_list, x.sm, b, false, false, module, x.START,
                                    x.FINISH, x.file, &w);
  if (rc != 0) return rc;
  Placement cand = w.found ? w.p : placementOf(c);
  if (cand.finish > cont->finish_date ||
      (cand.finish == cont->finish_date && cand.ft < cont->offset_finish_time)) {
    shiftDays(&cand, cont->finish_date - cand.finish);
    cand.ft = cont->offset_finish_time;
    cand.st = 0;
  }
  applyPlacement(c, cand);
  if (isEmptyContainer) {
    if (c->type == 3) {
      const int ctype = c->constraint_type;
      if (ctype == 5 || ctype == 7) {
        if (activityScheduleFromStartDateBasedOnProjectCalendar(c, x.sm, x.file) != 1) {
          return BWD_ERR_PLACE_FROM_START;
        }
      } else {
        rc = placeMovedLeaf(c, x, true, module);
        if (rc != 0) return rc;
      }
    }
  } else {
    const bool fromFinish = !w.found || w.type == 0 || w.type == 1;
    activityUpdateContainerAndItsChildren(x.activities_list, x.act_tmp_list, x.sm, c, 0,
                                          fromFinish ? 1 : 0, 0, x.hasTobeChecked,
                                          x.restrictUpDown, x.optionCalc, x.START, x.FINISH,
                                          x.file);
  }
  c->offset_start_date = c->start_date - cont->start_date;
  c->offset_finish_date = cont->finish_date - c->finish_date;
  recordFields(x, c);
  return 0;
}

int backwardMember(const Ctx& x, activity_type* cont, bool bypass, int* ok_status) {
  const char* what = bypass ? "Backward Bypass Update from Finish" : "Backward Update from Finish";
  const bool contHasSucc = activityHasNonTrivialSucc(cont, x.FINISH) != 0;
  // From the last child: a child's successors among its siblings come later
  // in the list and must be placed before it.
  for (linktype* l = cont->child_list->ptail; l != nullptr; l = l->pprevious) {
    const char* name = static_cast<string_type*>(l->pcontents)->str;
    if (x.FINISH != nullptr && std::strcmp(name, x.FINISH) == 0) continue;
    activity_type* c = findItem(x.activities_list, name);
    if (c == nullptr || c == cont || c->ignore_child_for_sched || c->hasActualFinish) continue;
    const bool leaf = isLeaf(c, x.FINISH);
    const bool hasReal = activityHasNonTrivialSucc(c, x.FINISH) != 0;
    const int32_t days = cont->finish_date - c->offset_finish_date - c->finish_date;
    const bool adjust = (hasReal || !leaf) && x.hasTobeChecked && (days != 0 || (bypass && leaf));
    if (adjust) {
      int rc = bypass ? activityBypasContAdjustPredDepInContainerBack(
                            c, cont, x.activities_list, x.act_tmp_list, x.sm, 0, 0,
                            x.hasTobeChecked, x.restrictUpDown, x.optionCalc, leaf ? 1 : 0, 1,
                            x.START, x.FINISH, x.file)
                      : activityAdjustPredDependencyInContainerBackward(
                            c, cont, x.activities_list, x.act_tmp_list, x.sm, 0, 0,
                            x.hasTobeChecked, x.restrictUpDown, x.optionCalc, leaf ? 1 : 0, 1,
                            x.START, x.FINISH, x.file);
      if (rc != 0) {
        *ok_status = 0;
        logUpdateError(x.file, bypass ? "2-2 -- Backward Bypass Update from Finish:"
                                      : "2-2 -- Backward Update from Finish:",
                       cont, c);
        return rc;
      }
      continue;
    }
    Placement p = placementOf(c);
    bool moved = false;
    bool fromFinish = true;
    if (days == 0) {
      if (x.hasTobeChecked) {
        if (hasReal || !contHasSucc) {
          if (c->finish_date == cont->finish_date && cont->offset_finish_time > p.ft) {
            p.ft = cont->offset_finish_time;
            moved = true;
          }
        } else if (c->constraint_type == 0 && finishesBefore(c, cont)) {
          shiftDays(&p, cont->finish_date - p.finish);
          p.ft = cont->offset_finish_time;
          moved = true;
        }
      } else if (c->constraint_type == 0 &&
                 (p.finish != cont->finish_date || p.ft != cont->offset_finish_time)) {
        shiftDays(&p, cont->finish_date - p.finish);
        p.ft = cont->offset_finish_time;
        moved = true;
      }
    } else {
      shiftDays(&p, days);
      moved = leaf && c->type == 3 ? constrainShiftedTask(c, x, &p, &fromFinish) : true;
      if (moved && p.finish == cont->finish_date) p.ft = cont->offset_finish_time;
      if (c->constraint_type == 5 || c->constraint_type == 7) fromFinish = false;
    }
    if (!moved) continue;
    applyPlacement(c, p);
    c->offset_finish_date = cont->finish_date - c->finish_date;
    int rc = coverChild(c, x.file);
    if (rc == 0) {
      rc = leaf ? placeMovedLeaf(c, x, fromFinish, what) : backwardMember(x, c, false, ok_status);
    }
    if (rc != 0 || *ok_status == 0) {
      *ok_status = 0;
      return rc;
    }
    recordFields(x, c);
  }
  activityRollupDatesFromChildren(x.activities_list, cont, x.sm, 0, x.hasTobeChecked, x.optionCalc,
                                  x.START, x.FINISH, x.file);
  return 0;
}

template <class F>
int guarded(const char* module, FILE* file, F f) {
  try {
    return f();
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file, "\n****** error in %s: throw exception to upper level\n", module);
    }
    throw;
  }
}

Ctx ctxOf(linked_list_type* activities_list, linked_list_type* act_tmp_list,
          storage_manager_type* smanager, int isForwardPass, int hasTobeChecked,
          int restrictUpDown, int optionCalculEsEfLsLf, const char* START_NODE_NAME,
          const char* FINISH_NODE_NAME, FILE* file) {
  return Ctx{activities_list, act_tmp_list,    smanager,        isForwardPass,
             hasTobeChecked,  restrictUpDown,  optionCalculEsEfLsLf, START_NODE_NAME,
             FINISH_NODE_NAME, file};
}

}  // namespace

int activityUpdateContainerAndItsChildren(linked_list_type* activities_list,
                                          linked_list_type* act_tmp_list,
                                          storage_manager_type* smanager, activity_type* this_act,
                                          int fromStartDay, int fromFinishDay, int isForwardPass,
                                          int hasTobeChecked, int restrictUpDown,
                                          int optionCalculEsEfLsLf, const char* START_NODE_NAME,
                                          const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("activityUpdateContainerAndItsChildren", file, [&]() {
    int ok = 1;
    int rc = 0;
    const int fwd = isForwardPass ? 1 : 0;
    if (isForwardPass) {
      rc = fromStartDay ? activityUpdateContainerFromStartDateForward(
                              activities_list, act_tmp_list, smanager, this_act, fwd,
                              hasTobeChecked, restrictUpDown, optionCalculEsEfLsLf, &ok,
                              START_NODE_NAME, FINISH_NODE_NAME, file)
                        : activityUpdateContainerFromFinishDateForward(
                              activities_list, act_tmp_list, smanager, this_act, fwd,
                              hasTobeChecked, restrictUpDown, optionCalculEsEfLsLf, &ok,
                              START_NODE_NAME, FINISH_NODE_NAME, file);
    } else {
      rc = fromFinishDay ? activityUpdateContainerFromFinishDateBackward(
                               activities_list, act_tmp_list, smanager, this_act, fwd,
                               hasTobeChecked, restrictUpDown, optionCalculEsEfLsLf, &ok,
                               START_NODE_NAME, FINISH_NODE_NAME, file)
                         : activityBypasContUpdateChilFromFinishDateBack(
                               activities_list, act_tmp_list, smanager, this_act, fwd,
                               hasTobeChecked, restrictUpDown, optionCalculEsEfLsLf, &ok,
                               START_NODE_NAME, FINISH_NODE_NAME, file);
    }
    activity_type* parent = parentOf(activities_list, this_act);
    if (ok == 0) {
      if (file != nullptr) {
        std::fprintf(file,
                     "\n****** error ******** in activityUpdateContainerAndItsChildren: errcode = "
                     "%d !!!\nexecution will continue after correction: item %s parent %s\n",
                     rc, this_act->name, parent != nullptr ? parent->name : "-");
      }
    } else if (!hasTobeChecked && parent != nullptr && !isNamed(parent, START_NODE_NAME)) {
      refreshOffsetsInParent(parent, this_act, FINISH_NODE_NAME);
    }
    return 0;
  });
}

int activityUpdateContainerFromStartDateForward(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("activityUpdateContainerFromStartDateForward", file, [&]() {
    *ok_status = 1;
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return forwardMember(x, this_act, Anchor::Start, ok_status);
  });
}

int activityUpdateContainerFromFinishDateForward(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("activityUpdateContainerFromFinishDateForward", file, [&]() {
    *ok_status = 1;
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return forwardMember(x, this_act, Anchor::Finish, ok_status);
  });
}

int activityUpdateContainerFromFinishDateBackward(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("activityUpdateContainerFromFinishDateBackward", file, [&]() {
    *ok_status = 1;
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return backwardMember(x, this_act, false, ok_status);
  });
}

int activityBypasContUpdateChilFromFinishDateBack(
    linked_list_type* activities_list, linked_list_type* act_tmp_list,
    storage_manager_type* smanager, activity_type* this_act, int isForwardPass, int hasTobeChecked,
    int restrictUpDown, int optionCalculEsEfLsLf, int* ok_status, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("activityBypasContUpdateChilFromFinishDateBack", file, [&]() {
    *ok_status = 1;
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return backwardMember(x, this_act, true, ok_status);
  });
}

int activityAdjustSuccDependencyInContainerForward(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int /*fromStartDay*/,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int /*hasNonTrivialPred*/, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("AdjustSuccDependencyInContainerForward", file, [&]() {
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return forwardAdjust(this_act, this_cont_node, x, isEmptyContainer != 0,
                         "AdjustSuccDependencyInContainerForward");
  });
}

int activityAdjustPredDependencyInContainerForward(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int /*fromStartDay*/,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int /*hasNonTrivialPred*/, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("AdjustPredDependencyInContainerForward", file, [&]() {
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return forwardAdjust(this_act, this_cont_node, x, isEmptyContainer != 0,
                         "AdjustPredDependencyInContainerForward");
  });
}

int activityAdjustPredDependencyInContainerBackward(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int /*fromStartDay*/,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int /*hasNonTrivialPred*/, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("AdjustPredDependencyInContainerBackward", file, [&]() {
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return backwardAdjust(this_act, this_cont_node, x, isEmptyContainer != 0,
                          "AdjustPredDependencyInContainerBackward");
  });
}

int activityBypasContAdjustPredDepInContainerBack(
    activity_type* this_act, activity_type* this_cont_node, linked_list_type* activities_list,
    linked_list_type* act_tmp_list, storage_manager_type* smanager, int /*fromStartDay*/,
    int isForwardPass, int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
    int isEmptyContainer, int /*hasNonTrivialPred*/, const char* START_NODE_NAME,
    const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("BypasContAdjustPredDepInContainerBack", file, [&]() {
    Ctx x = ctxOf(activities_list, act_tmp_list, smanager, isForwardPass, hasTobeChecked,
                  restrictUpDown, optionCalculEsEfLsLf, START_NODE_NAME, FINISH_NODE_NAME, file);
    return backwardAdjust(this_act, this_cont_node, x, isEmptyContainer != 0,
                          "BypasContAdjustPredDepInContainerBack");
  });
}
