// The circularity check, the network levels and the flags passed down and
// up the parent/child tree (see network_construction.h).
//
// Relaxations (circul_id, ntw_level_id) raise an item to a predecessor's
// value + 1 only along increasing serial numbers, so on a list in network
// order they settle in a single sweep unless a container's value, pushed
// down to its children, feeds back into its own predecessors.
//
// The circularity check does not rely on those sweeps to decide. Counting
// sweeps (the old rule: circular once a 40th sweep is made) mistook any
// chain of 40 task-to-container links for a cycle, and missed cycles that
// run through two container levels (G holds M holds t, t -> P -> G: the
// sweep settles, yet P -> G binds t, which must come before P). The check is
// exact instead: every item x is two events, its begin B(x) and its end
// E(x), with the edges
//     B(x) -> E(x)                      an item begins before it ends,
//     B(container) -> B(child)          a child lies inside its container,
//     E(child) -> E(container)
//     E(p) -> B(x)                      for each dependency p -> x,
// outside items (external entries, the start and finish nodes) left out;
// the dependency type is not consulted, as the network order does not
// consult it either. A cycle of this graph is a circular dependency, at any
// depth of the tree; in particular a dependency between a container and one
// of its own descendants, in either direction, is one. The strongly
// connected components are found by an iterative Tarjan walk (no recursion,
// so 100,000 items cost no stack), in time linear in items, children and
// dependencies.
//
// Cutting and listing: the network list already fixes one order for the
// items of every cycle, and the passes follow that order; that order is the
// cut. A cycle that the traversal cut has a dependency running against the
// list order and its items are on the circular list the traversal wrote.
// A cycle closed only through the tree (every dependency in it runs with
// the list order) was not seen there: its items (at most 40, in list order)
// are written here the same way (Lev_circ_3) and logged under the same
// heading, so that each cycle is listed once.
//
// circul_id keeps its meaning (longest chain along increasing serial
// numbers, pushed down into containers) and is still computed by sweeps,
// at most 40 of them, whatever the check decides.
//
// Tree walks recurse from each root into the non-leaf children; a walk stops
// descending after as many levels as the item list has items, so a tree
// corrupted into a cycle cannot recurse without end.
#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "network/network_construction.h"
#include "network/network_lookup.h"
#include "store/result_writers.h"

using network_detail::ActivityIndex;
using network_detail::forEachIn;
using network_detail::sameName;

namespace {

const char* headName(const linked_list_type* list) {
  return list != nullptr && list->phead != nullptr
             ? static_cast<activity_type*>(list->phead->pcontents)->name
             : "";
}
const char* tailName(const linked_list_type* list) {
  return list != nullptr && list->ptail != nullptr
             ? static_cast<activity_type*>(list->ptail->pcontents)->name
             : "";
}

// The items of a list, and for each its predecessors (other than the start
// node and external ones) and its children (other than the finish node) as
// records.
struct Relaxation {
  std::vector<activity_type*> items;
  std::vector<std::vector<activity_type*>> preds, children;
  std::vector<char> leaf;

  Relaxation(const linked_list_type* list, const ActivityIndex& index, const char* startName,
             const char* finishName) {
    forEachIn<activity_type>(list, [&](activity_type* a) { items.push_back(a); });
    preds.resize(items.size());
    children.resize(items.size());
    leaf.resize(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
      activity_type* a = items[i];
      forEachIn<dependency_type>(a->pred_list, [&](dependency_type* d) {
        if (d->isExternal || sameName(d->name, startName)) return;
        if (activity_type* p = index.find(d->name)) preds[i].push_back(p);
      });
      forEachIn<string_type>(a->child_list, [&](string_type* s) {
        if (sameName(s->str, finishName)) return;
        if (activity_type* c = index.find(s->str)) children[i].push_back(c);
      });
      leaf[i] = getActivityIfEmptyContainer(a, finishName) != 0;
    }
  }

  // One sweep over the items without the first and last, on the field
  // `field`; true when a non-leaf item changed.
  template <class Field>
  bool sweep(Field field) {
    bool changed = false;
    for (size_t i = 1; i + 1 < items.size(); ++i) {
      activity_type* x = items[i];
      const int32_t before = field(x);
      for (activity_type* p : preds[i]) {
        if (field(x) < field(p) + 1 && x->serial_num > p->serial_num) field(x) = field(p) + 1;
      }
      if (field(x) == before || leaf[i]) continue;
      for (activity_type* c : children[i]) {
        if (field(c) < field(x)) field(c) = field(x);
      }
      changed = true;
    }
    return changed;
  }
};

int16_t hasFinishToStartSuccOtherThan(activity_type* a, const char* finishName) {
  int16_t found = 0;
  forEachIn<dependency_type>(a->succ_list, [&](dependency_type* d) {
    if (d->type == 1 && !sameName(d->name, finishName)) found = 1;
  });
  return found;
}

// Walks from `parent` down the tree: visit(parent, child) for each child
// other than the finish node, then down into the non-leaf ones. With
// childrenFirst the walk goes down into a child before visiting it.
template <class Visit>
void walkDown(const ActivityIndex& index, activity_type* parent, const char* finishName,
              int depthLeft, bool childrenFirst, Visit& visit) {
  if (depthLeft <= 0) return;
  forEachIn<string_type>(parent->child_list, [&](string_type* s) {
    if (sameName(s->str, finishName)) return;
    activity_type* child = index.find(s->str);
    if (child == nullptr) return;
    const bool leaf = getActivityIfEmptyContainer(child, finishName) != 0;
    if (childrenFirst && !leaf) walkDown(index, child, finishName, depthLeft - 1, true, visit);
    visit(parent, child, leaf);
    if (!childrenFirst && !leaf) walkDown(index, child, finishName, depthLeft - 1, false, visit);
  });
}

// Levels and matched parent predecessors, from `top` down.
void levelsFromParents(const ActivityIndex& index, activity_type* top, int firstTime,
                       const char* startName, const char* finishName, int depth) {
  auto visit = [&](activity_type* parent, activity_type* child, bool) {
    if (child->ntw_level_id < parent->ntw_level_id) child->ntw_level_id = parent->ntw_level_id;
    if (!firstTime) return;
    int16_t matched = 0;
    forEachIn<dependency_type>(child->pred_list, [&](dependency_type* d) {
      if (d->isExternal || sameName(d->name, startName)) return;
      if (ll_find(parent->pred_list, d->name)) ++matched;
    });
    setActivityNumMatchParPred(child, matched);
  };
  walkDown(index, top, finishName, depth, false, visit);
}

// Flags from dependencies and the inherited priority, below `top`.
void predSuccFlagsBelow(const ActivityIndex& index, activity_type* top, const char* startName,
                        const char* finishName, int depth) {
  auto visit = [&](activity_type* parent, activity_type* child, bool leaf) {
    child->residesOnNonTrivialPred = activityHasNonTrivialPred(child, startName);
    child->residesOnNonTrivialSucc = activityHasNonTrivialSucc(child, finishName);
    setActivityPriority(child, parent->priority + child->priority - NTW_NEUTRAL_PRIORITY);
    if (leaf) return;
    child->onPred = parent->onPred != 0 ? parent->onPred : child->residesOnNonTrivialPred;
    child->onSucc = parent->onSucc != 0 ? parent->onSucc : child->residesOnNonTrivialSucc;
    child->depType_back = parent->depType_back;
    if (child->residesOnNonTrivialSucc && hasFinishToStartSuccOtherThan(child, finishName)) {
      child->depType_back = 1;
    }
  };
  walkDown(index, top, finishName, depth, false, visit);
}

// Assignment and calendar flags, from the children of `top` up.
void assignmentFlagsBelow(const ActivityIndex& index, activity_type* top,
                          int optionResourceCalTakesPrec, const char* finishName, int depth) {
  auto visit = [&](activity_type* container, activity_type* child, bool) {
    if (container->brunch != 0 && child->hasAssignment != 0) container->hasAssignment = 1;
    if (!optionResourceCalTakesPrec || child->ignoreHolesInCalendar <= 0) return;
    if (child->type != 3 && child->ignoreHolesInCalendar < container->ignoreHolesInCalendar) {
      container->ignoreHolesInCalendar = child->ignoreHolesInCalendar;
    } else {
      const int16_t c = child->constraint_type;
      container->ignoreHolesInCalendar = (c == 2 || c == 4) ? 2 : 1;
    }
  };
  walkDown(index, top, finishName, depth, true, visit);
}

// The items of the circular dependencies among r.items (without the first
// and last entries), in list order; empty when there is none. The first
// entry is null when every cycle has a dependency running against the list
// order (the traversal cut and listed those); otherwise the entries are the
// items of the cycles closed only through the tree.
std::vector<activity_type*> circularItems(const Relaxation& r) {
  const size_t n = r.items.size();
  std::unordered_map<const activity_type*, int32_t> at;
  at.reserve(n);
  for (size_t i = 1; i + 1 < n; ++i) at.emplace(r.items[i], static_cast<int32_t>(i));
  auto indexOf = [&](const activity_type* a) {
    auto it = at.find(a);
    return it == at.end() ? -1 : it->second;
  };
  // Events: 2i begin, 2i + 1 end. Edges in one array with offsets.
  const int32_t events = static_cast<int32_t>(2 * n);
  std::vector<int32_t> first(static_cast<size_t>(events) + 1, 0), to;
  std::vector<std::pair<int32_t, int32_t>> edges;
  edges.reserve(4 * n);
  bool selfLoop = false;
  for (size_t i = 1; i + 1 < n; ++i) {
    const int32_t x = static_cast<int32_t>(i);
    edges.emplace_back(2 * x, 2 * x + 1);
    for (activity_type* c : r.children[i]) {
      const int32_t k = indexOf(c);
      if (k < 0) continue;
      if (k == x) selfLoop = true;
      edges.emplace_back(2 * x, 2 * k);
      edges.emplace_back(2 * k + 1, 2 * x + 1);
    }
    for (activity_type* p : r.preds[i]) {
      const int32_t k = indexOf(p);
      if (k >= 0) edges.emplace_back(2 * k + 1, 2 * x);
    }
  }
  for (const auto& e : edges) ++first[static_cast<size_t>(e.first) + 1];
  for (int32_t v = 0; v < events; ++v) first[v + 1] += first[v];
  to.resize(edges.size());
  {
    std::vector<int32_t> fill(first.begin(), first.end() - 1);
    for (const auto& e : edges) to[static_cast<size_t>(fill[e.first]++)] = e.second;
  }
  // Iterative Tarjan.
  std::vector<int32_t> order(events, -1), low(events, 0), comp(events, -1), stack, sizes;
  std::vector<std::pair<int32_t, int32_t>> calls;  // (event, next edge)
  int32_t counter = 0;
  for (int32_t root = 0; root < events; ++root) {
    if (order[root] >= 0) continue;
    calls.emplace_back(root, first[root]);
    order[root] = low[root] = counter++;
    stack.push_back(root);
    while (!calls.empty()) {
      auto& [v, e] = calls.back();
      if (e < first[v + 1]) {
        const int32_t w = to[e++];
        if (order[w] < 0) {
          order[w] = low[w] = counter++;
          stack.push_back(w);
          calls.emplace_back(w, first[w]);
        } else if (comp[w] < 0) {
          low[v] = std::min(low[v], order[w]);
        }
        continue;
      }
      const int32_t done = v;
      calls.pop_back();
      if (!calls.empty()) low[calls.back().first] = std::min(low[calls.back().first], low[done]);
      if (low[done] != order[done]) continue;
      const int32_t id = static_cast<int32_t>(sizes.size());
      int32_t size = 0;
      for (int32_t w = -1; w != done; ++size) {
        w = stack.back();
        stack.pop_back();
        comp[w] = id;
      }
      sizes.push_back(size);
    }
  }
  // A component is a cycle when it holds two events (or an item is its own
  // child). Was it cut by the list order?
  std::vector<char> cyclic(sizes.size(), 0), cutByOrder(sizes.size(), 0);
  for (size_t c = 0; c < sizes.size(); ++c) cyclic[c] = sizes[c] > 1;
  for (size_t i = 1; i + 1 < n; ++i) {
    const int32_t x = static_cast<int32_t>(i);
    if (!cyclic[comp[2 * x]]) continue;
    for (activity_type* p : r.preds[i]) {
      const int32_t k = indexOf(p);
      if (k > x && comp[2 * k + 1] == comp[2 * x]) cutByOrder[comp[2 * x]] = 1;
    }
  }
  std::vector<activity_type*> out;
  bool anyCycle = selfLoop;
  for (size_t i = 1; i + 1 < n; ++i) {
    const int32_t x = static_cast<int32_t>(i);
    for (int32_t ev : {2 * x, 2 * x + 1}) {
      if (!cyclic[comp[ev]]) continue;
      anyCycle = true;
      if (!cutByOrder[comp[ev]]) {
        out.push_back(r.items[i]);
        break;
      }
    }
  }
  if (anyCycle && out.empty()) out.push_back(nullptr);
  if (out.size() > static_cast<size_t>(NTW_MAX_CIRCULAR)) out.resize(NTW_MAX_CIRCULAR);
  return out;
}

// Writes and logs the items of cycles closed through the tree.
void listCircular(const std::vector<activity_type*>& cycle, FILE* file) {
  linked_list_type* list = ll_new(activityMatch, getActivityName);
  for (activity_type* a : cycle) ll_addtail(list, a);
  const int rc = doUpdateTEMPcircular(list, 0, file, NTW_ERR_CIRCULAR_WRITE);
  ll_delete(list);
  if (file == nullptr) return;
  if (rc != 0) {
    std::fprintf(file,
                 "!!! error in Lev_networkTree (checkForCirculDep): returning from "
                 "doUpdateTEMPcircular: errCode = %d",
                 rc);
  }
  std::fprintf(file, "\n\n List of sub-optimal dependent items in the Network tree");
  for (const activity_type* c : cycle) {
    std::fprintf(file, "\n   %-32s type = %d level_id = %d", c->name, c->type, c->level_id);
  }
  std::fprintf(file, "\n");
  std::fflush(file);
}

}  // namespace

int checkForCirculDep(linked_list_type* activities_list, linked_list_type* act_tmp_list,
                      const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file) {
  ActivityIndex index(act_tmp_list);
  Relaxation r(activities_list, index, START_NODE_NAME, FINISH_NODE_NAME);
  if (r.items.size() < 3) return 0;
  auto circul = [](activity_type* a) -> int32_t& { return a->circul_id; };
  for (int sweeps = 1; sweeps <= NTW_MAX_CIRCUL_SWEEPS && r.sweep(circul); ++sweeps) {
  }
  const std::vector<activity_type*> cycle = circularItems(r);
  if (cycle.empty()) return 0;
  if (cycle.front() != nullptr) listCircular(cycle, file);
  return 1;
}

void inherNetLevIdTopBotParents(linked_list_type* root_act_list, linked_list_type* act_tmp_list,
                                int firstTime, FILE* file) {
  (void)file;
  ActivityIndex index(act_tmp_list);
  const int depth = ll_size(act_tmp_list) + 2;
  forEachIn<activity_type>(root_act_list, [&](activity_type* root) {
    levelsFromParents(index, root, firstTime, headName(act_tmp_list), tailName(act_tmp_list),
                      depth);
  });
}

void inherNetLevIdTopBotParents_2(linked_list_type* act_tmp_list, activity_type* this_act,
                                  int firstTime, FILE* file) {
  (void)file;
  ActivityIndex index(act_tmp_list);
  levelsFromParents(index, this_act, firstTime, headName(act_tmp_list), tailName(act_tmp_list),
                    ll_size(act_tmp_list) + 2);
}

void inherNetLevIdTopBotPred(linked_list_type* activities_list, linked_list_type* act_tmp_list,
                             FILE* file) {
  (void)file;
  ActivityIndex index(act_tmp_list);
  Relaxation r(activities_list, index, headName(activities_list), tailName(activities_list));
  r.sweep([](activity_type* a) -> int32_t& { return a->ntw_level_id; });
}

void creaNetworkLevelIdTopBot(linked_list_type* root_act_list, linked_list_type* activities_list,
                              linked_list_type* act_tmp_list, FILE* file) {
  inherNetLevIdTopBotParents(root_act_list, act_tmp_list, 1, file);
  inherNetLevIdTopBotPred(activities_list, act_tmp_list, file);
  if (ll_size(activities_list) > 0) {
    static_cast<activity_type*>(activities_list->phead->pcontents)->ntw_level_id = 0;
  }
}

void inherPredSuccNetTreeTopBot(linked_list_type* root_act_list, linked_list_type* activities_list,
                                const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                FILE* file) {
  (void)file;
  ActivityIndex index(activities_list);
  const int depth = ll_size(activities_list) + 2;
  forEachIn<activity_type>(root_act_list, [&](activity_type* root) {
    root->onPred = root->residesOnNonTrivialPred = activityHasNonTrivialPred(root, START_NODE_NAME);
    root->onSucc = root->residesOnNonTrivialSucc =
        activityHasNonTrivialSucc(root, FINISH_NODE_NAME);
    if (root->residesOnNonTrivialSucc && hasFinishToStartSuccOtherThan(root, FINISH_NODE_NAME)) {
      root->depType_back = 1;
    }
    predSuccFlagsBelow(index, root, START_NODE_NAME, FINISH_NODE_NAME, depth);
  });
}

void inherPredSuccNetTreeTopBot_2(linked_list_type* activities_list, activity_type* this_cont,
                                  const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                  FILE* file) {
  (void)file;
  ActivityIndex index(activities_list);
  predSuccFlagsBelow(index, this_cont, START_NODE_NAME, FINISH_NODE_NAME,
                     ll_size(activities_list) + 2);
}

void inherAssigCountTopBot(linked_list_type* root_act_list, linked_list_type* activities_list,
                           int optionResourceCalTakesPrec, const char* FINISH_NODE_NAME,
                           FILE* file) {
  (void)file;
  ActivityIndex index(activities_list);
  const int depth = ll_size(activities_list) + 2;
  forEachIn<activity_type>(root_act_list, [&](activity_type* root) {
    assignmentFlagsBelow(index, root, optionResourceCalTakesPrec, FINISH_NODE_NAME, depth);
  });
}

void inherAssigCountTopBot_2(linked_list_type* activities_list, activity_type* this_cont,
                             int optionResourceCalTakesPrec, const char* FINISH_NODE_NAME,
                             FILE* file) {
  (void)file;
  ActivityIndex index(activities_list);
  assignmentFlagsBelow(index, this_cont, optionResourceCalTakesPrec, FINISH_NODE_NAME,
                       ll_size(activities_list) + 2);
}
