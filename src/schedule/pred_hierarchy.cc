// The predecessor hierarchy of an item (see pred_hierarchy.h).
#include "schedule/pred_hierarchy.h"

#include <cstring>
#include <string>
#include <unordered_set>

#include "model/serial_names.h"

namespace {

const char* firstName(linked_list_type* names) {
  return (names != nullptr && names->phead != nullptr) ? getStringValue(names->phead->pcontents)
                                                       : nullptr;
}

bool same(const char* a, const char* b) { return a != nullptr && b != nullptr && std::strcmp(a, b) == 0; }

class Hierarchy {
 public:
  Hierarchy(activity_type* item, linked_list_type* items, const char* startNode, FILE* file)
      : item_(item), items_(items), start_(startNode), file_(file),
        parentName_(firstName(item->parent_list)) {
    for (linktype* l = item->pred_tree_name_list->phead; l != nullptr; l = l->pnext) {
      listed_.insert(getStringValue(l->pcontents));
    }
    for (linktype* l = item->child_list->phead; l != nullptr; l = l->pnext) {
      children_.insert(getStringValue(l->pcontents));
    }
  }

  int build() {
    activity_type* parent = parentName_ != nullptr ? find(parentName_) : nullptr;
    if (parent != nullptr && !same(parentName_, start_) &&
        activityHasNonTrivialPred(parent, start_)) {
      if (takePredecessorsOf(parent, 1, 2) != 0) return ERR_CIRCULAR_DEPENDENCY;
    }
    if (activityHasNonTrivialPred(item_, start_)) {
      if (takePredecessorsOf(item_, 3, 4) != 0) return ERR_CIRCULAR_DEPENDENCY;
    }
    return 0;
  }

 private:
  activity_type* find(const char* name) { return static_cast<activity_type*>(ll_extract(items_, name)); }

  bool circular(const char* name) const {
    return same(name, item_->name) || same(name, parentName_) || children_.count(name) != 0;
  }

  void add(const char* name) {
    if (listed_.insert(name).second) ll_addtail(item_->pred_tree_name_list, stringCreateNew(name));
  }

  // Adds a name not yet listed, with its item's parent under the rule.
  void addWithParent(const char* name) {
    if (listed_.count(name) != 0) return;
    add(name);
    const activity_type* a = find(name);
    if (a == nullptr) return;
    const char* pp = firstName(a->parent_list);
    if (pp == nullptr || same(pp, parentName_) || listed_.count(pp) != 0) return;
    activity_type* ppItem = find(pp);
    if (ppItem != nullptr && activityHasNonTrivialPred(ppItem, start_)) add(pp);
  }

  int takePredecessorsOf(activity_type* of, int ownError, int listError) {
    for (linktype* l = of->pred_list->phead; l != nullptr; l = l->pnext) {
      const dependency_type* dep = static_cast<const dependency_type*>(l->pcontents);
      if (dep->isExternal || same(dep->name, start_)) continue;
      if (circular(dep->name)) return report(ownError, dep->name);
      addWithParent(dep->name);
      const activity_type* pred = find(dep->name);
      if (pred == nullptr) continue;
      for (linktype* n = pred->pred_tree_name_list->phead; n != nullptr; n = n->pnext) {
        const char* name = getStringValue(n->pcontents);
        if (circular(name)) return report(listError, name);
        addWithParent(name);
      }
    }
    return 0;
  }

  int report(int which, const char* name) {
    if (file_ == nullptr) return ERR_CIRCULAR_DEPENDENCY;
    const char* label = which == 1 ? "pred->name   : " : "tmp_pred_name: ";
    std::fprintf(file_,
                 "\n\n CreatePredHierarchy: ******* error (%d) ***** circular dependency is "
                 "detected !!! \n %s%33s \n child_name   : %33s \n parent_name  : %33s \n\n",
                 which, label, name, item_->name, parentName_ != nullptr ? parentName_ : "");
    std::fprintf(file_, "\n\n PATH FOR CIRCULAR DEPENDENCY !!! ");
    std::fprintf(file_, "\n %s ", item_->name);
    int i = 0;
    for (linktype* l = item_->pred_tree_name_list->phead; l != nullptr; l = l->pnext, ++i) {
      std::fprintf(file_, "\n %d %s ", i, getStringValue(l->pcontents));
    }
    return ERR_CIRCULAR_DEPENDENCY;
  }

  activity_type* item_;
  linked_list_type* items_;
  const char* start_;
  FILE* file_;
  const char* parentName_;
  std::unordered_set<std::string> listed_;
  std::unordered_set<std::string> children_;
};

}  // namespace

int activityCreatePredHierarchyTreeList(activity_type* this_act, linked_list_type* act_tmp_list,
                                        const char* START_NODE_NAME, FILE* file) {
  try {
    return Hierarchy(this_act, act_tmp_list, START_NODE_NAME, file).build();
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n ****** error in activityCreatePredHierarchyTreeList: throw exception to upper "
                   "level \n");
    }
    throw;
  }
}
