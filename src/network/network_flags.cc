// The circularity check, the network levels and the flags passed down and
// up the parent/child tree (see network_construction.h).
//
// Relaxations (circul_id, ntw_level_id) raise an item to a predecessor's
// value + 1 only along increasing serial numbers, so on a list in network
// order they settle in a single sweep unless a container's value, pushed
// down to its children, feeds back into its own predecessors - the mark of
// a circular dependency through the tree.
//
// Tree walks recurse from each root into the non-leaf children; a walk stops
// descending after as many levels as the item list has items, so a tree
// corrupted into a cycle cannot recurse without end.
#include <cstdint>
#include <vector>

#include "network/network_construction.h"
#include "network/network_lookup.h"

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

}  // namespace

int checkForCirculDep(linked_list_type* activities_list, linked_list_type* act_tmp_list,
                      const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file) {
  (void)file;
  ActivityIndex index(act_tmp_list);
  Relaxation r(activities_list, index, START_NODE_NAME, FINISH_NODE_NAME);
  if (r.items.size() < 3) return 0;
  auto circul = [](activity_type* a) -> int32_t& { return a->circul_id; };
  for (int sweeps = 1;; ++sweeps) {
    const bool changed = r.sweep(circul);
    if (sweeps >= NTW_MAX_CIRCUL_SWEEPS) return 1;
    if (!changed) return 0;
  }
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
