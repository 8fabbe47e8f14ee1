// The bracketing nodes, the parent/child tree and the dependency lists of
// the network, and the ordering of a container's child names.
//
// Each operation looks items up through a name index built once per call
// (the item list may or may not be indexed), so completing the tree and the
// dependency lists is linear in items plus links. The lists of the records
// are changed only through the record operations (activityCreatePred,
// setActivityChild, ...), which keep the readiness counters in step.
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "model/sorting.h"
#include "network/network_construction.h"
#include "network/network_lookup.h"

using network_detail::ActivityIndex;
using network_detail::forEachIn;
using network_detail::sameName;

int16_t getActivityIfEmptyContainer(const activity_type* this_act, const char* FINISH_NODE_NAME) {
  if (this_act->type == 3) return 1;
  bool onlyFinish = true;
  forEachIn<string_type>(this_act->child_list, [&](string_type* s) {
    if (!sameName(s->str, FINISH_NODE_NAME)) onlyFinish = false;
  });
  return onlyFinish ? 1 : 0;
}

void doCreaStartFinishNodesForNtw(linked_list_type* activities_list, int32_t min_cd_projects,
                                  const char* START_NODE_NAME, const char* FINISH_NODE_NAME) {
  const int32_t day = min_cd_projects - 1;
  activity_type* start = activityCreateNew(START_NODE_NAME, 0, nullptr, day, day, 0, 0, 0);
  activity_type* finish = activityCreateNew(FINISH_NODE_NAME, 0, nullptr, day, day, 0, 0, 0);
  ll_addhead(activities_list, start);
  ll_addtail(activities_list, finish);
}

namespace {

// Items named by actNames, in that order; null where a name is unknown.
std::vector<activity_type*> itemsByNames(const ActivityIndex& index, char** actNames, int32_t n) {
  std::vector<activity_type*> items(static_cast<size_t>(n), nullptr);
  for (int32_t i = 0; i < n; ++i) items[i] = index.find(actNames[i]);
  return items;
}

bool hasChildren(const activity_type* a) { return ll_size(a->child_list) > 0; }
bool hasParent(const activity_type* a) { return ll_size(a->parent_list) > 0; }

void turnIntoTask(activity_type* a) {
  a->type = 3;
  setActivityBrunchInd(a, 0);
}

bool hasPredNamed(activity_type* a, const char* name) { return ll_find(a->pred_list, name) != 0; }
bool hasSuccNamed(activity_type* a, const char* name) { return ll_find(a->succ_list, name) != 0; }

// One of the two nodes, whose lists name every root or every leaf. The
// record operations refuse duplicates by walking the whole list, which for
// these lists would make the construction quadratic in the number of items;
// here the names already present are held in sets and new entries appended
// directly, keeping the readiness counters as activityCreatePred does.
class Hub {
 public:
  explicit Hub(activity_type* node) : node_(node) {
    collect(node->child_list, children_);
    collect(node->parent_list, parents_);
    collectDeps(node->pred_list, preds_);
    collectDeps(node->succ_list, succs_);
  }
  activity_type* node() const { return node_; }

  void addChild(const char* name) { addName(node_->child_list, children_, name); }
  void addParent(const char* name) { addName(node_->parent_list, parents_, name); }
  bool hasPred(const char* name) const { return preds_.count(std::string_view(name)) != 0; }
  void addPred(const char* name, int16_t type, int16_t isExternal, int32_t lag) {
    if (!addDep(node_->pred_list, preds_, name, type, isExternal, lag)) return;
    if (isExternal == 0) {
      ++node_->to_pass_in_forw_dir;
      ++node_->orig_to_pass_in_forw_dir;
    }
  }
  void addSucc(const char* name, int16_t type, int16_t isExternal, int32_t lag) {
    addDep(node_->succ_list, succs_, name, type, isExternal, lag);
  }

 private:
  using Names = std::unordered_set<std::string_view>;
  static void collect(linked_list_type* list, Names& names) {
    forEachIn<string_type>(list, [&](string_type* s) { names.insert(std::string_view(s->str)); });
  }
  static void collectDeps(linked_list_type* list, Names& names) {
    forEachIn<dependency_type>(list,
                               [&](dependency_type* d) { names.insert(std::string_view(d->name)); });
  }
  static void addName(linked_list_type* list, Names& names, const char* name) {
    string_type* s = stringCreateNew(name);
    if (!names.insert(std::string_view(s->str)).second) {
      stringDelete(s);
      return;
    }
    ll_addtail(list, s);
  }
  static bool addDep(linked_list_type* list, Names& names, const char* name, int16_t type,
                     int16_t isExternal, int32_t lag) {
    dependency_type* d = dependencyCreateNew(name, type, isExternal, lag);
    if (!names.insert(std::string_view(d->name)).second) {
      dependencyDelete(d);
      return false;
    }
    ll_addtail(list, d);
    return true;
  }

  activity_type* node_;
  Names children_, parents_, preds_, succs_;
};

// Start node -> item as parent and child.
void adoptByStart(Hub& start, activity_type* item, FILE* file) {
  start.addChild(item->name);
  setActivityParent(item, start.node()->name, file);
}
// Item -> finish node as parent and child.
void leadToFinishAsChild(activity_type* item, Hub& finish, FILE* file) {
  setActivityChild(item, finish.node()->name, file);
  finish.addParent(item->name);
}
// Dependency start -> item, both ways.
void followStart(Hub& start, activity_type* item, int16_t type, FILE* file) {
  start.addSucc(item->name, type, 0, 0);
  if (!hasPredNamed(item, start.node()->name)) {
    activityCreatePred(item, start.node()->name, type, 0, 0, file);
  }
}
// Dependency item -> finish, both ways.
void precedeFinish(activity_type* item, Hub& finish, int16_t type, FILE* file) {
  if (!hasSuccNamed(item, finish.node()->name)) {
    activityCreateSucc(item, finish.node()->name, type, 0, 0, file);
  }
  finish.addPred(item->name, type, 0, 0);
}

}  // namespace

int doCreateChildrenInNetworkTree(linked_list_type* activities_list, char** actNames,
                                  int optimizeParentChild, int optionConsContAsTaskIfEmpty,
                                  FILE* file, int error_code_base) {
  const int32_t n = ll_size(activities_list);
  if (n < 2 || actNames == nullptr) return error_code_base;
  ActivityIndex index(activities_list);
  std::vector<activity_type*> items = itemsByNames(index, actNames, n);
  for (activity_type* a : items) {
    if (a == nullptr) return error_code_base;
  }
  Hub start(items.front());
  Hub finish(items.back());

  if (n == 3) {
    activity_type* only = items[1];
    adoptByStart(start, only, file);
    leadToFinishAsChild(only, finish, file);
    if (optionConsContAsTaskIfEmpty && only->type != 3) turnIntoTask(only);
    return 0;
  }

  if (optimizeParentChild == 0) {
    // Children gathered by their parent names: for each name, the items
    // naming it as a parent, in list order.
    std::unordered_map<std::string_view, std::vector<activity_type*>> byParent;
    for (int32_t i = 1; i < n - 1; ++i) {
      forEachIn<string_type>(items[i]->parent_list, [&](string_type* p) {
        byParent[std::string_view(p->str)].push_back(items[i]);
      });
    }
    for (int32_t i = n - 2; i >= 1; --i) {
      activity_type* parent = items[i];
      if (hasChildren(parent)) continue;
      auto it = byParent.find(std::string_view(parent->name));
      if (it != byParent.end()) {
        for (activity_type* child : it->second) {
          if (child == parent) continue;
          if (setActivityChild(parent, child->name, file) != 1) return error_code_base;
          setActivityOffsetRelativeToParentStartDate(child, child->start_date - parent->start_date);
        }
      }
      if (!hasParent(parent)) adoptByStart(start, parent, file);
    }
  }

  for (int32_t i = 1; i < n - 1; ++i) {
    activity_type* a = items[i];
    if (!hasParent(a)) adoptByStart(start, a, file);
    if (!hasChildren(a)) {
      leadToFinishAsChild(a, finish, file);
      if (optionConsContAsTaskIfEmpty && a->type != 3) turnIntoTask(a);
    }
  }
  return 0;
}

namespace {

// An entry of some item's dependency list that names another item.
struct Naming {
  activity_type* from;
  dependency_type* dep;
};
using NamingIndex = std::unordered_map<std::string_view, std::vector<Naming>>;

// For every name, the entries of the items between the nodes whose list
// (predecessors or successors) names it, in item order.
NamingIndex namingEntries(const std::vector<activity_type*>& items, bool successors) {
  NamingIndex index;
  for (size_t i = 1; i + 1 < items.size(); ++i) {
    activity_type* y = items[i];
    if (y == nullptr) continue;
    forEachIn<dependency_type>(successors ? y->succ_list : y->pred_list, [&](dependency_type* d) {
      index[std::string_view(d->name)].push_back({y, d});
    });
  }
  return index;
}

}  // namespace

void doCreateDepPred(linked_list_type* activities_list, linked_list_type* projects_list,
                     char** actNames, int optimizeDepPred, FILE* file) {
  (void)projects_list;
  const int32_t n = ll_size(activities_list);
  if (n < 2 || actNames == nullptr) return;
  ActivityIndex index(activities_list);
  std::vector<activity_type*> items = itemsByNames(index, actNames, n);
  if (items.front() == nullptr || items.back() == nullptr) return;
  Hub start(items.front());
  Hub finish(items.back());
  const char* startName = start.node()->name;
  NamingIndex namedAsSucc = namingEntries(items, true);

  // Items without real predecessors take them from the others' successor
  // lists; the finish node (last) thereby lists what already leads to it.
  for (int32_t i = 1; i < n; ++i) {
    activity_type* x = items[i];
    if (x == nullptr || activityHasNonTrivialNonExternalPred(x, startName)) continue;
    auto it = namedAsSucc.find(std::string_view(x->name));
    if (it == namedAsSucc.end()) continue;
    for (const Naming& m : it->second) {
      if (m.from == x || (optimizeDepPred && m.dep->isExternal)) continue;
      if (x == finish.node()) {
        finish.addPred(m.from->name, m.dep->type, m.dep->isExternal, m.dep->lag_minutes);
      } else if (!hasPredNamed(x, m.from->name)) {
        activityCreatePred(x, m.from->name, m.dep->type, m.dep->isExternal, m.dep->lag_minutes,
                           file);
      }
    }
  }
  for (int32_t i = 1; i < n - 1; ++i) {
    activity_type* y = items[i];
    if (y != nullptr && ll_size(y->succ_list) == 0) precedeFinish(y, finish, 0, file);
  }
  for (int32_t i = 1; i < n - 1; ++i) {
    activity_type* x = items[i];
    if (x != nullptr && ll_size(x->pred_list) == 0) followStart(start, x, 1, file);
  }
}

void doCreateDepSucc(linked_list_type* activities_list, char** actNames, FILE* file) {
  const int32_t n = ll_size(activities_list);
  if (n < 2 || actNames == nullptr) return;
  ActivityIndex index(activities_list);
  std::vector<activity_type*> items = itemsByNames(index, actNames, n);
  if (items.front() == nullptr || items.back() == nullptr) return;
  Hub start(items.front());
  Hub finish(items.back());

  if (n == 3) {
    if (items[1] == nullptr) return;
    followStart(start, items[1], 3, file);
    precedeFinish(items[1], finish, 1, file);
    return;
  }

  NamingIndex namedAsPred = namingEntries(items, false);
  for (int32_t i = 1; i < n - 1; ++i) {
    activity_type* x = items[i];
    if (x == nullptr || activityHasNonTrivialNonExternalSucc(x, finish.node()->name)) continue;
    auto it = namedAsPred.find(std::string_view(x->name));
    if (it == namedAsPred.end()) continue;
    for (const Naming& m : it->second) {
      if (m.from == x || hasSuccNamed(x, m.from->name)) continue;
      activityCreateSucc(x, m.from->name, m.dep->type, m.dep->isExternal, m.dep->lag_minutes, file);
    }
  }
  for (int32_t i = 1; i < n - 1; ++i) {
    activity_type* x = items[i];
    if (x != nullptr && ll_size(x->pred_list) == 0) followStart(start, x, 1, file);
  }
  for (int32_t i = 1; i < n - 1; ++i) {
    activity_type* y = items[i];
    if (y != nullptr && ll_size(y->succ_list) == 0) precedeFinish(y, finish, 0, file);
  }
}

namespace network_detail {

// The child order with a serial-number lookup supplied by the caller (the
// network build has its own index; the public form searches the list).
template <class SerialOf>
void orderChildrenBySerial(activity_type* container, SerialOf serialOf) {
  linked_list_type* children = container->child_list;
  const int32_t n = ll_size(children);
  if (n < 2) return;
  std::vector<int32_t> serial(static_cast<size_t>(n));
  std::vector<char*> names(static_cast<size_t>(n));
  int32_t i = 0;
  forEachIn<string_type>(children, [&](string_type* s) {
    serial[i] = serialOf(s->str);
    // The sort carries each child's own name record; the records are put
    // back in the new order, none is copied or freed.
    names[i] = reinterpret_cast<char*>(s);
    ++i;
  });
  if (n >= 16) {
    syncQuickSortOfIntCharArrays(serial.data(), names.data(), swapFunctAscOrder, 0, n - 1);
  } else {
    for (int32_t a = 0; a < n; ++a) {
      for (int32_t b = a + 1; b < n; ++b) {
        if (serial[b] < serial[a]) {
          std::swap(serial[a], serial[b]);
          std::swap(names[a], names[b]);
        }
      }
    }
  }
  ll_head(children);
  for (i = 0; i < n; ++i) {
    if (ll_retrieve(children) != names[i]) ll_replace(children, names[i]);
    ll_next(children);
  }
  ll_head(children);
}

void orderChildrenBySerialWith(activity_type* container, const ActivityIndex& index) {
  orderChildrenBySerial(container, [&](const char* name) {
    const activity_type* child = index.find(name);
    return child == nullptr ? 0 : child->serial_num;
  });
}

}  // namespace network_detail

void ordChiListBySerNumAsc(activity_type* this_container, linked_list_type* activities_list) {
  network_detail::orderChildrenBySerial(this_container, [&](const char* name) {
    const activity_type* child = static_cast<activity_type*>(ll_extract(activities_list, name));
    return child == nullptr ? 0 : child->serial_num;
  });
}
