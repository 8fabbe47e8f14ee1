// The ALAP family: items with constraint 1 (as late as possible) moved as
// late as their successors allow, and the successors of such an item
// realigned after it moved (see rollup.h for the choices).
//
// The latest start a successor allows is the backward resolution of the
// dependency (activityResolveDependencyForPred, run in the forward
// direction's context): a full placement of the ALAP item ending where the
// successor needs it. An ALAP item only ever moves later here: it enters
// every member at its driving (earliest) position or at a position already
// pushed late, and a move earlier would break its own predecessors.
//
// A depth bound on nested realignments keeps a cut circular chain of ALAP
// items from recursing without end.
#include <cstring>

#include "network/forward_pass.h"
#include "network/rollup.h"
#include "schedule/dependency_resolution.h"
#include "schedule/placement.h"

namespace {

using namespace pass_detail;

constexpr int kMaxAlapNesting = 64;
thread_local int alapNesting = 0;

class NestingGuard {
 public:
  NestingGuard() { ++alapNesting; }
  ~NestingGuard() { --alapNesting; }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;
};

bool held(int c) { return c == 1 || c == 3 || c == 4 || c == 5 || c == 7; }

// Later start: a later day, or the same day with a larger start offset.
bool startsLater(const Placement& a, const Placement& b) {
  return a.start > b.start || (a.start == b.start && a.st > b.st);
}

// An item the ALAP rules must never move.
bool frozen(const activity_type* act) {
  return act->proj == nullptr || act->hasActualFinish || act->ignore_item_for_sched ||
         act->isExternalPred;
}

void logAlapError(FILE* file, const char* module, const activity_type* pred,
                  const activity_type* succ) {
  if (file == nullptr) return;
  std::fprintf(file,
               "\nerror !!! -- %s: pred %s succ %s succ_start_date %d succ_finish_date %d "
               "succ_constraint_type %d\n",
               module, pred->name, succ->name, succ->start_date, succ->finish_date,
               succ->constraint_type);
}

// A successor held at its finish (constraints 2, 3, 4) is first placed
// from that finish, so that the ALAP item is measured against it.
int placeSuccessorFromFinish(activity_type* succ, storage_manager_type* sm, const char* module,
                             const activity_type* pred, FILE* file) {
  const int c = succ->constraint_type;
  if (c != 2 && c != 3 && c != 4) return 0;
  const Bounds b = boundsForward(succ, file);
  int32_t fd = (c == 2) ? (succ->finish_date > b.min_finish ? succ->finish_date : b.min_finish)
                        : b.max_finish;
  int32_t dur = succ->duration;
  int32_t sd = fd - dur + 1;
  int st = 0;
  int ft = (c == 2 && fd == succ->finish_date) ? succ->offset_finish_time : 0;
  if (activityScheduleFromFinishDateSpecial(succ, sm, &sd, &fd, &dur, &st, &ft, file) != 1) {
    logAlapError(file, module, pred, succ);
    return FWD_ERR_PLACE_BOUNDED_FINISH;
  }
  applyPlacement(succ, {sd, fd, st, ft});
  return 0;
}

// The placement of the ALAP item that this successor allows at the latest.
int allowance(activity_type* pred, activity_type* succ, const dependency_type* dep,
              linked_list_type* list, storage_manager_type* sm, const char* START_NODE_NAME,
              const char* FINISH_NODE_NAME, FILE* file, Placement* out) {
  *out = placementOf(pred);
  return activityResolveDependencyForPred(list, pred, succ, dep->type, dep->lag_minutes, sm, 1,
                                          &out->start, &out->finish, &out->st, &out->ft,
                                          START_NODE_NAME, FINISH_NODE_NAME, file);
}

// Re-places the ALAP item at `to` when that is later than where it is.
int moveLater(activity_type* pred, const Placement& to, storage_manager_type* sm, FILE* file) {
  if (!startsLater(to, placementOf(pred))) return 0;
  applyPlacement(pred, to);
  if (pred->type == 3 &&
      activityScheduleFromStartDateBasedOnProjectCalendar(pred, sm, file) != 1) {
    logForwardFailure(file, "adjustUpdateAlapPred", "placing from the start", pred);
    return FWD_ERR_PLACE_FROM_START;
  }
  return 0;
}

enum class Scope { All, Constrained };

// The held / free rule over the successors in scope.
int heldFreeMove(activity_type* pred, linked_list_type* list, storage_manager_type* sm,
                 Scope scope, const char* module, const char* START_NODE_NAME,
                 const char* FINISH_NODE_NAME, FILE* file) {
  if (frozen(pred)) return 0;
  bool haveHeld = false;
  bool haveFree = false;
  Placement heldP;
  Placement freeP;
  for (linktype* l = pred->succ_list->phead; l != nullptr; l = l->pnext) {
    const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
    if (FINISH_NODE_NAME != nullptr && std::strcmp(dep->name, FINISH_NODE_NAME) == 0) continue;
    activity_type* succ = findItem(list, dep->name);
    if (succ == nullptr || succ == pred || succ->proj == nullptr) continue;
    const int c = succ->constraint_type;
    if (scope == Scope::Constrained && (c < 2 || c > 7)) continue;
    int rc = frozen(succ) ? 0 : placeSuccessorFromFinish(succ, sm, module, pred, file);
    if (rc != 0) return rc;
    Placement p;
    rc = allowance(pred, succ, dep, list, sm, START_NODE_NAME, FINISH_NODE_NAME, file, &p);
    if (rc != 0) return rc;
    if (held(c)) {
      // The smallest day; on equal days the later start time.
      if (!haveHeld || p.start < heldP.start || (p.start == heldP.start && p.st > heldP.st)) {
        heldP = p;
      }
      haveHeld = true;
    } else {
      if (!haveFree || startsLater(p, freeP)) freeP = p;
      haveFree = true;
    }
  }
  if (haveHeld && (!haveFree || startsLater(freeP, heldP))) return moveLater(pred, heldP, sm, file);
  if (haveFree) return moveLater(pred, freeP, sm, file);
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

}  // namespace

int adjustUpdateAllSuccOfAlapPred(activity_type* this_pred_node, linked_list_type* act_tmp_list,
                                  storage_manager_type* smanager, const char* START_NODE_NAME,
                                  const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("adjustUpdateAllSuccOfAlapPred", file, [&]() -> int {
    if (alapNesting >= kMaxAlapNesting) {
      if (file != nullptr) {
        std::fprintf(file,
                     "\n adjustUpdateAllSuccOfAlapPred: realignment of successors of %s stops "
                     "at nesting %d\n",
                     this_pred_node->name, alapNesting);
      }
      return 0;
    }
    NestingGuard guard;
    for (linktype* l = this_pred_node->succ_list->phead; l != nullptr; l = l->pnext) {
      const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
      if (FINISH_NODE_NAME != nullptr && std::strcmp(dep->name, FINISH_NODE_NAME) == 0) continue;
      activity_type* succ = findItem(act_tmp_list, dep->name);
      if (succ == nullptr || succ->isExternalPred || succ->ignore_item_for_sched ||
          succ->hasActualFinish) {
        continue;
      }
      int rc = doDynamAlignActWithPred(succ, act_tmp_list, smanager, START_NODE_NAME,
                                       FINISH_NODE_NAME, file);
      if (rc != 0) return rc;
    }
    return 0;
  });
}

int adjustUpdateAlapPredToAllSucc(activity_type* this_pred_node, linked_list_type* act_tmp_list,
                                  storage_manager_type* smanager, const char* START_NODE_NAME,
                                  const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("adjustUpdateAlapPredToAllSucc", file, [&]() {
    return heldFreeMove(this_pred_node, act_tmp_list, smanager, Scope::All,
                        "adjustUpdateAlapPredToAllSucc", START_NODE_NAME, FINISH_NODE_NAME,
                        file);
  });
}

int adjustUpdateAlapPredToSuccConstr(activity_type* this_pred_node,
                                     linked_list_type* act_tmp_list,
                                     storage_manager_type* smanager, const char* START_NODE_NAME,
                                     const char* FINISH_NODE_NAME, FILE* file) {
  return guarded("adjustUpdateAlapPredToSuccConstr", file, [&]() {
    return heldFreeMove(this_pred_node, act_tmp_list, smanager, Scope::Constrained,
                        "adjustUpdateAlapPredToSuccConstr", START_NODE_NAME, FINISH_NODE_NAME,
                        file);
  });
}

int adjustUpdateAlapPredToSuccHardConstr(activity_type* this_succ_node,
                                         activity_type* this_pred_node,
                                         linked_list_type* act_tmp_list,
                                         storage_manager_type* smanager,
                                         const char* START_NODE_NAME,
                                         const char* FINISH_NODE_NAME, FILE* file) {
  const char* module = "adjustUpdateAlapPredToSuccHardConstr";
  return guarded(module, file, [&]() -> int {
    activity_type* pred = this_pred_node;
    if (frozen(pred)) return 0;
    bool have = false;
    Placement best;
    for (linktype* l = pred->succ_list->phead; l != nullptr; l = l->pnext) {
      const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
      if (FINISH_NODE_NAME != nullptr && std::strcmp(dep->name, FINISH_NODE_NAME) == 0) continue;
      activity_type* succ = findItem(act_tmp_list, dep->name);
      if (succ == nullptr || succ == pred || succ->proj == nullptr) continue;
      // The given successor, and those already visited before it.
      if (succ != this_succ_node && succ->serial_num > this_succ_node->serial_num) continue;
      // The successors here are placed already (the given one by the visit
      // that called): the ALAP item is measured against where they are.
      Placement p;
      int rc = allowance(pred, succ, dep, act_tmp_list, smanager, START_NODE_NAME,
                         FINISH_NODE_NAME, file, &p);
      if (rc != 0) return rc;
      if (!have || startsLater(best, p)) best = p;
      have = true;
    }
    return have ? moveLater(pred, best, smanager, file) : 0;
  });
}
