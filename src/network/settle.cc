// Repeated sweeps until nothing moves (see settle.h for the reasons, the
// bound and the log line).
#include "network/settle.h"

#include <unordered_map>
#include <vector>

#include "model/dependency.h"
#include "network/rollup.h"

namespace pass_detail {

namespace {

struct Sweeper {
  std::vector<activity_type*> at;
  std::vector<Placement> seen;  // what the item's last visit (or check) left
  std::vector<char> dirty;
  std::vector<Placement> lastEnd;  // seen and dirty as the last sweep ended
  std::vector<char> lastDirty;
  std::unordered_map<const activity_type*, int> index;
  linked_list_type* lookup = nullptr;
  bool forward = true;

  // Marks the dependents of item i; true when one of them lies at or before
  // `from` (it waits for the next sweep).
  bool markDependents(int i, int from, bool withParent = true) {
    bool behind = false;
    auto mark = [&](const activity_type* other) {
      if (other == nullptr) return;
      auto it = index.find(other);
      if (it == index.end()) return;
      dirty[it->second] = 1;
      if (it->second <= from) behind = true;
    };
    const activity_type* act = at[i];
    const linked_list_type* deps = forward ? act->succ_list : act->pred_list;
    if (deps != nullptr) {
      for (linktype* l = deps->phead; l != nullptr; l = l->pnext) {
        const dependency_type* dep = static_cast<dependency_type*>(l->pcontents);
        mark(findItem(lookup, dep->name));
      }
    }
    if (withParent) mark(parentOf(lookup, act));
    return behind;
  }

  // The children of item i, for the next sweep. True when there is one.
  bool markChildren(int i) {
    bool any = false;
    for (linktype* l = at[i]->child_list->phead; l != nullptr; l = l->pnext) {
      const activity_type* child =
          findItem(lookup, static_cast<string_type*>(l->pcontents)->str);
      if (child == nullptr || child == at[i]) continue;
      auto it = index.find(child);
      if (it == index.end()) continue;
      dirty[it->second] = 1;
      any = true;
    }
    return any;
  }

  // After a container's visit: its descendants that the visit moved. Their
  // dependency partners must be visited again (in this sweep when they come
  // later); the container itself and the containers inside it were just
  // made consistent by that visit, so parents are not marked.
  bool refreshDescendants(int i, std::vector<const activity_type*>* stack) {
    bool behind = false;
    stack->clear();
    stack->push_back(at[i]);
    while (!stack->empty()) {
      const activity_type* cont = stack->back();
      stack->pop_back();
      if (cont->child_list == nullptr) continue;
      for (linktype* l = cont->child_list->phead; l != nullptr; l = l->pnext) {
        const string_type* childName = static_cast<string_type*>(l->pcontents);
        const activity_type* child = findItem(lookup, childName->str);
        if (child == nullptr || child == cont) continue;
        auto it = index.find(child);
        if (it == index.end()) continue;
        const int k = it->second;
        const Placement now = placementOf(child);
        if (!samePlacement(now, seen[k])) {
          seen[k] = now;
          if (markDependents(k, i, false)) behind = true;
        }
        if (stack->size() < index.size()) stack->push_back(child);
      }
    }
    return behind;
  }
};

}  // namespace

int sweepUntilSettled(linked_list_type* items_list, linked_list_type* lookup, bool forward,
                      const char* module, FILE* file, SweepVisitor& visitor, int* sweeps) {
  if (sweeps != nullptr) *sweeps = 0;
  if (items_list == nullptr || ll_size(items_list) < 3) return 0;
  Sweeper s;
  s.lookup = lookup;
  s.forward = forward;
  for (linktype* l = items_list->phead->pnext; l != nullptr && l != items_list->ptail;
       l = l->pnext) {
    activity_type* act = static_cast<activity_type*>(l->pcontents);
    if (act == nullptr) continue;
    s.index.emplace(act, static_cast<int>(s.at.size()));
    s.at.push_back(act);
  }
  const int n = static_cast<int>(s.at.size());
  s.seen.resize(n);
  for (int i = 0; i < n; ++i) s.seen[i] = placementOf(s.at[i]);
  s.dirty.assign(n, 1);
  std::vector<const activity_type*> stack;
  for (int sweep = 1;; ++sweep) {
    if (sweeps != nullptr) *sweeps = sweep;
    bool again = false;
    for (int i = 0; i < n; ++i) {
      if (!s.dirty[i]) continue;
      s.dirty[i] = 0;
      activity_type* act = s.at[i];
      if (visitor.skip(act)) continue;
      const Placement before = placementOf(act);
      int rc = visitor.visit(act, sweep);
      if (rc != 0) return rc;
      s.seen[i] = placementOf(act);
      if (!samePlacement(before, s.seen[i])) {
        if (s.markDependents(i, i)) again = true;
        // A container moved by its own dependencies moves its children by
        // whole days; each child is placed against the container again
        // (to the minute) in the next sweep.
        if (sweep == 1 && act->child_list != nullptr && s.markChildren(i)) again = true;
      }
      // A container that did not move moved none of its children (any
      // other move is still found at the end of the sweep).
      if (!samePlacement(before, s.seen[i]) && act->child_list != nullptr &&
          ll_size(act->child_list) > 0 && s.refreshDescendants(i, &stack)) {
        again = true;
      }
    }
    // Moves made behind the back of an item's own visit.
    for (int i = 0; i < n; ++i) {
      const Placement now = placementOf(s.at[i]);
      if (samePlacement(now, s.seen[i])) continue;
      s.seen[i] = now;
      if (s.markDependents(i, n)) again = true;
    }
    if (!again) return 0;
    // From the second sweep on, a sweep is a function of the placements and
    // of the items marked for it alone: when both are what the previous
    // sweep ended with, every later sweep would repeat this one, and only
    // the bound would end them. Such items fight (a container and its
    // child, each setting the other's dates); stop at once, with the same
    // log line and the same dates the bound would leave.
    bool repeats = sweep >= 3;
    for (int i = 0; i < n && repeats; ++i) {
      repeats = samePlacement(s.seen[i], s.lastEnd[i]) && s.dirty[i] == s.lastDirty[i];
    }
    s.lastEnd = s.seen;
    s.lastDirty = s.dirty;
    if (sweep >= kMaxSettleSweeps || repeats) {
      if (file != nullptr) {
        std::fprintf(file,
                     "\n%s: items still moving after %d sweeps; the pass stops with those items "
                     "as they are\n",
                     module, sweep);
      }
      return 0;
    }
  }
}

int PassSweep::visit(activity_type* act, int sweep) {
  const bool root = roots_ != nullptr && ll_extract(roots_, act->name) != nullptr;
  const int ru = (restrict_ == 1 && root) ? 0 : restrict_;
  return align_(act, activities_, tmp_, sm_, hasTobeChecked_, ru, optionCalc_, start_, finish_,
                file_, sweep > 1);
}

}  // namespace pass_detail
