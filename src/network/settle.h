// Repeated sweeps of an order list until no item moves: the static passes
// run their visits through it.
//
// Why one sweep is not enough: a container's dependency moves its children
// when the container is visited, which comes after all of its children in
// either order. A child's dependency partner outside the container (P ->
// C{a, b}, a -> Y -> b with Y outside C) was then already placed against
// the child's old dates, and in one sweep it is never placed again: the
// link a -> Y stays broken and Y shows slack it does not have. Each sweep
// after the first visits again only the items that may now be wrong.
//
// Which items a move makes wrong ("dependents"): forward, the successors of
// the item that moved and its parent (whose roll-up it feeds); backward,
// its predecessors and its parent. An item moves either in its own visit
// (its dependents after it in the list are visited in the same sweep, those
// before it in the next one) or behind the back of its visit (a container
// moving its children, the ALAP rules moving a neighbour). A container's
// descendants are compared right after its visit, and their dependency
// partners (not the container: its visit made it consistent with them)
// marked, in this sweep when they come later; any other move is found by
// comparing every item with what its last visit left, at the end of each
// sweep, and its dependents are visited in the next sweep. In a
// network without links across containers the first sweep leaves only the
// children of moved containers and their successors inside to check, so
// the second sweep is short and nothing moves in it.
//
// The first sweep visits every item; it is the pass as it always was.
// Later sweeps tell the visitor their number, so that it can bound a child
// by its container (a child re-visited on its own predecessors would
// otherwise fall back before its container's dependency, and be pushed
// back again by the container: the sweeps would never settle).
//
// Bound: at most kMaxSettleSweeps sweeps, and no more once a sweep (the
// third or later) ends exactly as the one before it, with the same items
// marked: every later sweep would repeat it, so the bound would leave the
// same dates, only later (on a portfolio of 100,000 items a handful of
// fighting items made every pass run all 64 sweeps over containers of
// thousands of children). Either way the pass writes "<module>: items
// still moving after <n> sweeps; the pass stops with those items as they
// are" to the log and returns normally.
//
// Units: none of its own; an item's placement (day numbers and the two
// minute offsets) is what "moved" compares. Ownership: nothing here owns an
// item; the working arrays live for one call.
#ifndef LEVELER_NETWORK_SETTLE_H
#define LEVELER_NETWORK_SETTLE_H

#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

namespace pass_detail {

inline constexpr int kMaxSettleSweeps = 64;

class SweepVisitor {
 public:
  virtual ~SweepVisitor() = default;
  // Items the pass leaves alone (never visited, never moved by it).
  virtual bool skip(const activity_type* act) const = 0;
  // One visit; sweep is 1 for the first sweep. 0 or the error that ends
  // the pass.
  virtual int visit(activity_type* act, int sweep) = 0;
};

// The sweeps of a static pass: every item visited by `align` (the pass's
// one-item visit) with the run's settings; a root item is never restricted
// up or down; from the second sweep on the visit is told to keep the item
// within its parent (last argument of align).
using PassAlignFn = int (*)(activity_type* act, linked_list_type* activities_list,
                            linked_list_type* act_tmp_list, storage_manager_type* smanager,
                            int hasTobeChecked, int restrictUpDown, int optionCalculEsEfLsLf,
                            const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                            FILE* file, bool boundByParent);
using PassSkipFn = bool (*)(const activity_type* act);

class PassSweep : public SweepVisitor {
 public:
  PassSweep(PassAlignFn align, PassSkipFn skip, linked_list_type* roots,
            linked_list_type* activities, linked_list_type* tmp, storage_manager_type* sm,
            int hasTobeChecked, int restrict_UpDown, int optionCalc, const char* start,
            const char* finish, FILE* file)
      : align_(align), skip_(skip), roots_(roots), activities_(activities), tmp_(tmp), sm_(sm),
        hasTobeChecked_(hasTobeChecked), restrict_(restrict_UpDown), optionCalc_(optionCalc),
        start_(start), finish_(finish), file_(file) {}

  bool skip(const activity_type* act) const override { return skip_(act); }
  int visit(activity_type* act, int sweep) override;

 private:
  PassAlignFn align_;
  PassSkipFn skip_;
  linked_list_type* roots_;
  linked_list_type* activities_;
  linked_list_type* tmp_;
  storage_manager_type* sm_;
  int hasTobeChecked_;
  int restrict_;
  int optionCalc_;
  const char* start_;
  const char* finish_;
  FILE* file_;
};

// Visits items_list without its first and last entries until nothing
// moves. forward: dependents are successors (else predecessors); names of
// dependencies and parents are looked up in lookup. *sweeps (optional)
// receives the number of sweeps made. 0 or the first visit's error.
int sweepUntilSettled(linked_list_type* items_list, linked_list_type* lookup, bool forward,
                      const char* module, FILE* file, SweepVisitor& visitor,
                      int* sweeps = nullptr);

}  // namespace pass_detail

#endif  // LEVELER_NETWORK_SETTLE_H
