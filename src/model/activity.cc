// Item records: creation, copy, release, the dependency/child/parent list
// operations with their log messages, the queries, and the accessors.
//
// Lookups in the item's own lists use the name cut to 32 characters, the
// same form in which names are stored, so an over-long name finds the entry
// it was stored as. The model layer does not depend on the calendar unit, so
// the "at least one day" rule for durations is kept here as a local helper.
#include "model/activity.h"

#include <cstdarg>
#include <cstring>
#include <limits>

#include "model/assignment.h"
#include "model/name_lookup.h"

namespace {

// Item durations are whole days and never below one day.
int32_t handleDuration(int32_t days) { return days < 1 ? 1 : days; }

// Time offsets are minutes within a day: negatives become 0, and anything
// past the 16-bit field is held at its largest value rather than wrapped.
int16_t timeOffset(int32_t minutes) {
  if (minutes < 0) return 0;
  if (minutes > std::numeric_limits<int16_t>::max()) return std::numeric_limits<int16_t>::max();
  return static_cast<int16_t>(minutes);
}

void logLine(FILE* file, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void logLine(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list args;
  va_start(args, fmt);
  std::vfprintf(file, fmt, args);
  va_end(args);
}

struct NameKey {
  char text[LL_NAME_SIZE];
  explicit NameKey(const char* name) { copyName(text, name); }
};

void releaseDependencies(linked_list_type* list) {
  ll_head(list);
  for (int32_t i = 0, n = ll_size(list); i < n; ++i) {
    dependencyDelete(static_cast<dependency_type*>(ll_retrieve(list)));
    ll_next(list);
  }
  ll_removeAll(list);
}

void releaseStrings(linked_list_type* list) {
  ll_head(list);
  for (int32_t i = 0, n = ll_size(list); i < n; ++i) {
    stringDelete(static_cast<string_type*>(ll_retrieve(list)));
    ll_next(list);
  }
  ll_removeAll(list);
}

linked_list_type* copyDependencyList(linked_list_type* from) {
  linked_list_type* to = ll_new(dependencyMatch, getDependencyName);
  ll_head(from);
  for (int32_t i = 0, n = ll_size(from); i < n; ++i) {
    ll_addtail(to, dependencyCopyCreateNew(static_cast<dependency_type*>(ll_retrieve(from))));
    ll_next(from);
  }
  return to;
}

linked_list_type* copyStringList(linked_list_type* from) {
  linked_list_type* to = ll_new(stringMatch, getStringValue);
  ll_head(from);
  for (int32_t i = 0, n = ll_size(from); i < n; ++i) {
    ll_addtail(to, stringCopy(static_cast<string_type*>(ll_retrieve(from))));
    ll_next(from);
  }
  return to;
}

// The item's name lists that refuse duplicates, each with its lookup slot.
enum class NameList { pred, succ, child, parent, assignment };

linked_list_type* listOf(activity_type* a, NameList which) {
  switch (which) {
    case NameList::pred: return a->pred_list;
    case NameList::succ: return a->succ_list;
    case NameList::child: return a->child_list;
    case NameList::parent: return a->parent_list;
    case NameList::assignment: return a->assignment_list;
  }
  return nullptr;
}

name_lookup** slotIn(activity_name_lookups* l, NameList which) {
  switch (which) {
    case NameList::pred: return &l->pred;
    case NameList::succ: return &l->succ;
    case NameList::child: return &l->child;
    case NameList::parent: return &l->parent;
    case NameList::assignment: return &l->assignment;
  }
  return nullptr;
}

// The lookup of one list, or null while the item has none.
name_lookup* lookupOf(activity_type* a, NameList which) {
  return a->lookups != nullptr ? *slotIn(a->lookups, which) : nullptr;
}

// The first link of the list carrying the name, or null. The block of
// lookups is made only once some list is long enough to want one.
linktype* findIn(activity_type* a, NameList which, const char* key) {
  linked_list_type* list = listOf(a, which);
  if (a->lookups == nullptr) {
    if (ll_size(list) < NAME_LOOKUP_MIN_LENGTH) {
      name_lookup* none = nullptr;  // stays null: the list is short
      return nameLookupFind(&none, list, key);
    }
    a->lookups = new activity_name_lookups{};
  }
  return nameLookupFind(slotIn(a->lookups, which), list, key);
}

void addTo(activity_type* a, NameList which, void* element, bool at_head) {
  if (at_head) {
    nameLookupAddHead(lookupOf(a, which), listOf(a, which), element);
  } else {
    nameLookupAddTail(lookupOf(a, which), listOf(a, which), element);
  }
}

void deleteLookups(activity_type* a) {
  if (a->lookups == nullptr) return;
  nameLookupDelete(a->lookups->pred);
  nameLookupDelete(a->lookups->succ);
  nameLookupDelete(a->lookups->child);
  nameLookupDelete(a->lookups->parent);
  nameLookupDelete(a->lookups->assignment);
  delete a->lookups;
  a->lookups = nullptr;
}

dependency_type* addDependency(activity_type* this_act, NameList which, bool at_head,
                               const char* fn, const char* name, int16_t type,
                               int16_t isExternal, int32_t lag_minutes, FILE* file) {
  NameKey key(name);
  if (findIn(this_act, which, key.text) != nullptr) {
    logLine(file, "\n*** error is Detected by %s(): dependency %s already exists for activity %s",
            fn, key.text, this_act->name);
    return nullptr;
  }
  dependency_type* dep = dependencyCreateNew(key.text, type, isExternal, lag_minutes);
  addTo(this_act, which, dep, at_head);
  return dep;
}

// Removes and releases the named dependency; returns it as a flag of its
// external status (0/1), or -1 when absent.
int removeDependency(activity_type* this_act, NameList which, const char* key) {
  linktype* link = findIn(this_act, which, key);
  if (link == nullptr) return -1;
  dependency_type* dep = static_cast<dependency_type*>(link->pcontents);
  int external = dep->isExternal != 0 ? 1 : 0;
  nameLookupRemove(lookupOf(this_act, which), listOf(this_act, which), link);
  dependencyDelete(dep);
  return external;
}

int addName(activity_type* this_act, NameList which, const char* what, const char* fn,
            const char* name, FILE* file) {
  NameKey key(name);
  if (findIn(this_act, which, key.text) != nullptr) {
    logLine(file, "\n*** error in %s(): %s %s already exists for activity %s \n", fn, what,
            key.text, this_act->name);
  } else {
    addTo(this_act, which, stringCreateNew(key.text), false);
  }
  return 1;
}

int removeName(activity_type* this_act, NameList which, const char* name) {
  NameKey key(name);
  linktype* link = findIn(this_act, which, key.text);
  if (link == nullptr) return 0;
  string_type* s = static_cast<string_type*>(link->pcontents);
  nameLookupRemove(lookupOf(this_act, which), listOf(this_act, which), link);
  stringDelete(s);
  return 1;
}

// Walks a dependency list from the head; true when some entry satisfies pred.
template <typename Pred>
int16_t anyDependency(linked_list_type* list, Pred pred) {
  ll_head(list);
  for (int32_t i = 0, n = ll_size(list); i < n; ++i) {
    const dependency_type* dep = static_cast<dependency_type*>(ll_retrieve(list));
    if (pred(*dep)) return 1;
    ll_next(list);
  }
  return 0;
}

bool isNode(const dependency_type& dep, const char* node_name) {
  return node_name != nullptr && std::strcmp(dep.name, node_name) == 0;
}

void copyTimeStamp(char* dst, const char* src) {
  std::snprintf(dst, ACT_TIME_STAMP_SIZE, "%s", src != nullptr ? src : "");
}

}  // namespace

// ---------------------------------------------------------------------------
// Creation and release

activity_type* activityCreateNew(const char* name, int16_t type, project_type* this_proj,
                                 int32_t start_date, int32_t finish_date,
                                 int32_t effort_total_minutes, int16_t constraint_type,
                                 int32_t constraint_date) {
  activity_type* a = new activity_type{};  // every other number, flag, time 0
  copyName(a->name, name);
  a->type = type;
  a->proj = this_proj;
  a->start_date = a->start_date_trun = a->actual_start_date = start_date;
  a->early_start_date = a->late_start_date = start_date;
  a->finish_date = a->finish_date_trun = finish_date;
  a->early_finish_date = a->late_finish_date = finish_date;
  // Computed wide: day numbers far apart must not overflow; a finish before
  // the start still gives the one-day minimum.
  int64_t days = static_cast<int64_t>(finish_date) - start_date + 1;
  if (days > std::numeric_limits<int32_t>::max()) days = std::numeric_limits<int32_t>::max();
  a->duration = a->original_duration = handleDuration(static_cast<int32_t>(days < 1 ? 1 : days));
  a->effort = effort_total_minutes < 5 ? 5 : effort_total_minutes;
  a->constraint_type = constraint_type;
  a->constraint_date = constraint_date;
  a->priority = 500;
  a->ntw_level_id = -1;
  a->task_level_order = -1;
  a->proper_order_back = -1;
  a->onDepTypeFrwd = a->onDepTypeBack = -1;
  a->depType_back = a->depType_back_put_on = -1;
  a->rollupFlag = 1;
  a->rollupFlagSpecial = 1;
  a->pred_list = ll_new(dependencyMatch, getDependencyName);
  a->succ_list = ll_new(dependencyMatch, getDependencyName);
  a->child_list = ll_new(stringMatch, getStringValue);
  a->parent_list = ll_new(stringMatch, getStringValue);
  a->assignment_list = ll_new(assignmentMatch, getAssignmentName);
  a->pred_tree_name_list = ll_new(stringMatch, getStringValue);
  return a;
}

activity_type* activityCopyCreateNew(const activity_type* this_act, FILE* /*file*/) {
  activity_type* a = new activity_type(*this_act);
  a->pred_list = copyDependencyList(this_act->pred_list);
  a->succ_list = copyDependencyList(this_act->succ_list);
  a->child_list = copyStringList(this_act->child_list);
  a->parent_list = copyStringList(this_act->parent_list);
  a->pred_tree_name_list = copyStringList(this_act->pred_tree_name_list);
  a->assignment_list = ll_new(assignmentMatch, getAssignmentName);
  a->lookups = nullptr;  // the copy builds its own when it needs them
  return a;
}

void activityDelete(activity_type* this_act) {
  if (this_act == nullptr) return;
  releaseDependencies(this_act->pred_list);
  releaseDependencies(this_act->succ_list);
  releaseStrings(this_act->child_list);
  releaseStrings(this_act->parent_list);
  releaseStrings(this_act->pred_tree_name_list);
  ll_delete(this_act->pred_list);
  ll_delete(this_act->succ_list);
  ll_delete(this_act->child_list);
  ll_delete(this_act->parent_list);
  ll_delete(this_act->assignment_list);  // assignments belong to the run
  ll_delete(this_act->pred_tree_name_list);
  deleteLookups(this_act);
  delete this_act;
}

int activityMatch(void* this_act, const void* lookfor) {
  return std::strcmp(static_cast<activity_type*>(this_act)->name,
                     static_cast<const char*>(lookfor)) == 0
             ? 1
             : 0;
}

const char* getActivityName(void* this_act) { return static_cast<activity_type*>(this_act)->name; }

// ---------------------------------------------------------------------------
// Dependencies

dependency_type* activityCreatePred(activity_type* this_act, const char* name, int16_t type,
                                    int16_t isExternal, int32_t lag_minutes, FILE* file) {
  dependency_type* dep = addDependency(this_act, NameList::pred, false, "activityCreatePred",
                                       name, type, isExternal, lag_minutes, file);
  if (dep != nullptr && isExternal == 0) {
    ++this_act->to_pass_in_forw_dir;
    ++this_act->orig_to_pass_in_forw_dir;
  }
  return dep;
}

dependency_type* activityCreateSucc(activity_type* this_act, const char* name, int16_t type,
                                    int16_t isExternal, int32_t lag_minutes, FILE* file) {
  return addDependency(this_act, NameList::succ, false, "activityCreateSucc", name, type,
                       isExternal, lag_minutes, file);
}

dependency_type* activityCreateSuccInversedOrd(activity_type* this_act, const char* name,
                                               int16_t type, int16_t isExternal,
                                               int32_t lag_minutes, FILE* file) {
  // The message names the function without the "d", as the log has always read.
  return addDependency(this_act, NameList::succ, true, "activityCreateSuccInverseOrd", name,
                       type, isExternal, lag_minutes, file);
}

int activityDeletePred(activity_type* this_act, const char* name, FILE* file) {
  NameKey key(name);
  int external = removeDependency(this_act, NameList::pred, key.text);
  if (external < 0) {
    logLine(file, "\n\n *** error in activityDeletePred(): pred %s is not found for activity %s ",
            key.text, this_act->name);
    return 0;
  }
  if (external == 0) {
    --this_act->to_pass_in_forw_dir;
    --this_act->orig_to_pass_in_forw_dir;
  }
  return 1;
}

int activityDeleteSucc(activity_type* this_act, const char* name, FILE* file) {
  NameKey key(name);
  if (removeDependency(this_act, NameList::succ, key.text) < 0) {
    logLine(file, "\n\n *** error in activityDeleteSucc(): succ %s is not found for activity %s ",
            key.text, this_act->name);
    return 0;
  }
  return 1;
}

void activityDeletePredData(activity_type* this_act) { releaseDependencies(this_act->pred_list); }
void activityDeleteSuccData(activity_type* this_act) { releaseDependencies(this_act->succ_list); }
void activityDeleteChildData(activity_type* this_act) { releaseStrings(this_act->child_list); }
void activityDeleteParentData(activity_type* this_act) { releaseStrings(this_act->parent_list); }
void activityDeletePredHierarchyTreeData(activity_type* this_act) {
  releaseStrings(this_act->pred_tree_name_list);
}

// ---------------------------------------------------------------------------
// Children and parents

int setActivityChild(activity_type* this_act, const char* name, FILE* file) {
  return addName(this_act, NameList::child, "child", "setActivityChild", name, file);
}

int setActivityParent(activity_type* this_act, const char* name, FILE* file) {
  return addName(this_act, NameList::parent, "parent", "setActivityParent", name, file);
}

int activityDeleteChild(activity_type* this_act, const char* name) {
  return removeName(this_act, NameList::child, name);
}

int activityDeleteParent(activity_type* this_act, const char* name) {
  return removeName(this_act, NameList::parent, name);
}

void activityReplaceCreateParent(activity_type* this_act, const char* name) {
  NameKey key(name);
  linktype* link = findIn(this_act, NameList::parent, key.text);
  if (link != nullptr) {
    string_type* old = static_cast<string_type*>(link->pcontents);
    nameLookupReplace(lookupOf(this_act, NameList::parent), this_act->parent_list, link,
                      stringCreateNew(key.text));
    stringDelete(old);
  } else {
    addTo(this_act, NameList::parent, stringCreateNew(key.text), false);
  }
}

// ---------------------------------------------------------------------------
// Queries

int16_t activityHasExternalPred(activity_type* this_act) {
  return anyDependency(this_act->pred_list,
                       [](const dependency_type& d) { return d.isExternal == 1; });
}

int16_t activityHasExternalSucc(activity_type* this_act) {
  return anyDependency(this_act->succ_list,
                       [](const dependency_type& d) { return d.isExternal == 1; });
}

int16_t activityHasNonExternalPred(activity_type* this_act) {
  return anyDependency(this_act->pred_list,
                       [](const dependency_type& d) { return d.isExternal == 0; });
}

int16_t activityHasNonExternalSucc(activity_type* this_act) {
  return anyDependency(this_act->succ_list,
                       [](const dependency_type& d) { return d.isExternal == 0; });
}

int16_t activityHasNonTrivialPred(activity_type* this_act, const char* START_NODE_NAME) {
  if (this_act->residesOnNonTrivialPred) return 1;
  return anyDependency(this_act->pred_list,
                       [&](const dependency_type& d) { return !isNode(d, START_NODE_NAME); });
}

int16_t activityHasNonTrivialSucc(activity_type* this_act, const char* FINISH_NODE_NAME) {
  if (this_act->residesOnNonTrivialSucc) return 1;
  return anyDependency(this_act->succ_list,
                       [&](const dependency_type& d) { return !isNode(d, FINISH_NODE_NAME); });
}

int16_t activityHasNonTrivialNonExternalPred(activity_type* this_act, const char* START_NODE_NAME) {
  return anyDependency(this_act->pred_list, [&](const dependency_type& d) {
    return d.isExternal == 0 && !isNode(d, START_NODE_NAME);
  });
}

int16_t activityHasNonTrivialNonExternalSucc(activity_type* this_act,
                                             const char* FINISH_NODE_NAME) {
  return anyDependency(this_act->succ_list, [&](const dependency_type& d) {
    return d.isExternal == 0 && !isNode(d, FINISH_NODE_NAME);
  });
}

int16_t activityHasNTriNExtNActFinPred(activity_type* this_act, linked_list_type* act_tmp_list,
                                       const char* START_NODE_NAME) {
  // A predecessor that is not in act_tmp_list cannot hold the item back here.
  return anyDependency(this_act->pred_list, [&](const dependency_type& d) {
    if (d.isExternal != 0 || isNode(d, START_NODE_NAME)) return false;
    const activity_type* pred = static_cast<activity_type*>(ll_extract(act_tmp_list, d.name));
    return pred != nullptr && pred->hasActualFinish == 0;
  });
}

// ---------------------------------------------------------------------------
// Copying

void activityCopyEssentialInternalFields(const activity_type* from_act, activity_type* to_act) {
  to_act->start_date = from_act->start_date;
  to_act->start_date_trun = from_act->start_date_trun;
  to_act->finish_date = from_act->finish_date;
  to_act->finish_date_trun = from_act->finish_date_trun;
  to_act->actual_start_date = from_act->actual_start_date;
  to_act->LS_act_date = from_act->LS_act_date;
  to_act->LS_act_time = from_act->LS_act_time;
  to_act->offset_start_date = from_act->offset_start_date;
  to_act->offset_start_date_trun = from_act->offset_start_date_trun;
  to_act->offset_finish_date = from_act->offset_finish_date;
  to_act->offset_finish_date_trun = from_act->offset_finish_date_trun;
  to_act->offset_start_time = from_act->offset_start_time;
  to_act->offset_start_time_trun = from_act->offset_start_time_trun;
  to_act->offset_finish_time = from_act->offset_finish_time;
  to_act->offset_finish_time_trun = from_act->offset_finish_time_trun;
  to_act->duration = from_act->duration;
  to_act->effort = from_act->effort;
  to_act->actual_duration = from_act->actual_duration;
  to_act->onDepTypeFrwd = from_act->onDepTypeFrwd;
}

void activityCopyEarlyDates(const activity_type* from_act, activity_type* to_act) {
  to_act->early_start_date = from_act->early_start_date;
  to_act->early_finish_date = from_act->early_finish_date;
  to_act->es_offset_start_time = from_act->es_offset_start_time;
  to_act->ef_offset_finish_time = from_act->ef_offset_finish_time;
}

void activityCopyLaterDates(const activity_type* from_act, activity_type* to_act) {
  to_act->late_start_date = from_act->late_start_date;
  to_act->late_finish_date = from_act->late_finish_date;
  to_act->ls_offset_start_time = from_act->ls_offset_start_time;
  to_act->lf_offset_finish_time = from_act->lf_offset_finish_time;
}

void activityResetLevelOrdersForList(linked_list_type* act_tmp_list) {
  ll_head(act_tmp_list);
  for (int32_t i = 0, n = ll_size(act_tmp_list); i < n; ++i) {
    activity_type* a = static_cast<activity_type*>(ll_retrieve(act_tmp_list));
    a->task_level_order = -1;
    a->parent_level_order = 0;
    ll_next(act_tmp_list);
  }
}

void doCreateNameListForActivities(linked_list_type* activities_list, char** actNames,
                                   int32_t UID_LENGTH) {
  const int32_t len = UID_LENGTH < 1 ? 1 : UID_LENGTH;
  ll_head(activities_list);
  for (int32_t i = 0, n = ll_size(activities_list); i < n; ++i) {
    const activity_type* a = static_cast<activity_type*>(ll_retrieve(activities_list));
    actNames[i] = new char[static_cast<size_t>(len)];
    std::snprintf(actNames[i], static_cast<size_t>(len), "%s", a->name);
    ll_next(activities_list);
  }
}

void doDeleteNameListForActivities(char** actNames, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    delete[] actNames[i];
    actNames[i] = nullptr;
  }
}

// ---------------------------------------------------------------------------
// Getters

int16_t getActivityType(const activity_type* a) { return a->type; }
int32_t getActivityBrunchInd(const activity_type* a) { return a->brunch; }
int16_t getActivityExternalPredFlag(const activity_type* a) { return a->isExternalPred; }
int16_t getActivityExternalSuccFlag(const activity_type* a) { return a->isExternalSucc; }
project_type* getActivityProject(const activity_type* a) { return a->proj; }
int16_t getActivityTimeOffsetFromStart(const activity_type* a) { return a->offset_start_time; }
int16_t getActivityTimeOffsetFromFinish(const activity_type* a) { return a->offset_finish_time; }
int16_t getActivityToPassInForwDir(const activity_type* a) { return a->to_pass_in_forw_dir; }
linked_list_type* getActivityPredList(const activity_type* a) { return a->pred_list; }
linked_list_type* getActivitySuccList(const activity_type* a) { return a->succ_list; }
linked_list_type* getActivityPredHierarchyTreeList(const activity_type* a) {
  return a->pred_tree_name_list;
}
linked_list_type* getActivityChildList(const activity_type* a) { return a->child_list; }
linked_list_type* getActivityParentList(const activity_type* a) { return a->parent_list; }
int32_t getActivityOffsetRelativeToParentStartDate(const activity_type* a) {
  return a->offset_start_date;
}
int32_t getActivityOffsetRelativeToParentFinishDate(const activity_type* a) {
  return a->offset_finish_date;
}
int16_t getActivityConstraintType(const activity_type* a) { return a->constraint_type; }
int32_t getActivityConstraintDate(const activity_type* a) { return a->constraint_date; }
int32_t getActivityStartDate(const activity_type* a) { return a->start_date; }
int32_t getActivityFinishDate(const activity_type* a) { return a->finish_date; }
int32_t getActivityDuration(const activity_type* a) { return a->duration; }
int32_t getActivitySerialNum(const activity_type* a) { return a->serial_num; }
int32_t getActivityTotalEffort(const activity_type* a) { return a->effort; }
int32_t getActivityOriginalDuration(const activity_type* a) { return a->original_duration; }
int32_t getActivitySlack(const activity_type* a) { return a->slack; }
int32_t getActivityES(const activity_type* a) { return a->early_start_date; }
int32_t getActivityEF(const activity_type* a) { return a->early_finish_date; }
int32_t getActivityLS(const activity_type* a) { return a->late_start_date; }
int32_t getActivityLF(const activity_type* a) { return a->late_finish_date; }
linked_list_type* getActivityAssignmentList(const activity_type* a) { return a->assignment_list; }
int16_t getActivityNumMatchParPred(const activity_type* a) { return a->num_match_par_pred; }
int32_t getActivityNumOfPred(const activity_type* a) { return ll_size(a->pred_list); }

// ---------------------------------------------------------------------------
// Setters

void setActivityOffsetRelativeToParentStartDate(activity_type* a, int32_t days) {
  a->offset_start_date = days;
}
void setActivityOffsetRelativeToParentFinishDate(activity_type* a, int32_t days) {
  a->offset_finish_date = days;
}
void setActivityTimeOffsetFromStart(activity_type* a, int32_t minutes) {
  a->offset_start_time = timeOffset(minutes);
}
void setActivityTimeOffsetFromFinish(activity_type* a, int32_t minutes) {
  a->offset_finish_time = timeOffset(minutes);
}
void setActivitySlack(activity_type* a, int32_t slack) { a->slack = slack; }
void setActivityTotalEffort(activity_type* a, int32_t effort) { a->effort = effort; }
void setActivityActualEffort(activity_type* a, int32_t actual_effort) {
  a->actual_duration = actual_effort;
}
void setActivityToPassInForwDir(activity_type* a, int16_t to_pass) {
  a->to_pass_in_forw_dir = to_pass;
}
void setActivityStartDate(activity_type* a, int32_t start_date) { a->start_date = start_date; }
void setActivityFinishDate(activity_type* a, int32_t finish_date) { a->finish_date = finish_date; }
void setActivitySerialNum(activity_type* a, int32_t serial_num) { a->serial_num = serial_num; }
void setActivityConstraintType(activity_type* a, int16_t constraint_type) {
  a->constraint_type = constraint_type;
}
void setActivityConstraintDate(activity_type* a, int32_t constraint_date) {
  a->constraint_date = constraint_date;
}
void setActivityPriority(activity_type* a, int32_t priority) {
  a->priority = priority < 0 ? 0 : (priority & 0xFFFF);
}
void setActivityLevelId(activity_type* a, int16_t level_id) { a->level_id = level_id; }
void setActivityNetworkLevelId(activity_type* a, int32_t ntw_level_id) {
  a->ntw_level_id = ntw_level_id;
}
void setActivityNumMatchParPred(activity_type* a, int16_t num) { a->num_match_par_pred = num; }
void setActivityES(activity_type* a, int32_t day) { a->early_start_date = day; }
void setActivityEF(activity_type* a, int32_t day) { a->early_finish_date = day; }
void setActivityLS(activity_type* a, int32_t day) { a->late_start_date = day; }
void setActivityLF(activity_type* a, int32_t day) { a->late_finish_date = day; }
void setActivityExternalPredFlag(activity_type* a, int16_t flag) { a->isExternalPred = flag; }
void setActivityExternalSuccFlag(activity_type* a, int16_t flag) { a->isExternalSucc = flag; }
void setActivityHasActualStart(activity_type* a, int16_t flag) { a->hasActualStart = flag; }
void setActivityHasActualFinish(activity_type* a, int16_t flag) { a->hasActualFinish = flag; }
void setActivityActualStartDate(activity_type* a, int32_t day) { a->actual_start_date = day; }
void setActivityIsOnDepTypeFrwd(activity_type* a, int16_t dep_type) { a->onDepTypeFrwd = dep_type; }
void setActivityIsOnDepTypeBack(activity_type* a, int16_t dep_type) { a->onDepTypeBack = dep_type; }
void setActivityBrunchInd(activity_type* a, int32_t brunch) { a->brunch = brunch; }
void setActivityProject(activity_type* a, project_type* this_proj) { a->proj = this_proj; }

int setActivityAssignment(activity_type* a, assignment_type* this_ass,
                          int /*optionResourceCalTakesPrec*/, FILE* /*file*/) {
  a->hasAssignment = 1;
  if (findIn(a, NameList::assignment, this_ass->name) != nullptr) return 0;
  addTo(a, NameList::assignment, this_ass, false);
  return 1;
}

void setActivityActualFinishTimeStamp(activity_type* a, const char* time_stamp) {
  copyTimeStamp(a->actualFinishTimeStamp, time_stamp);
}
void setActivityActualStartTimeStamp(activity_type* a, const char* time_stamp) {
  copyTimeStamp(a->actualStartTimeStamp, time_stamp);
}
void setActivityOriginalDuration(activity_type* a, int32_t days) {
  a->original_duration = handleDuration(days);
}
void setActivityDuration(activity_type* a, int32_t days) { a->duration = handleDuration(days); }

void setActivityLockedAsItem(activity_type* a) { a->ignore_item_for_sched = 1; }
void setActivityUnLockedAsItem(activity_type* a) { a->ignore_item_for_sched = 0; }
void setActivityLockedAsChild(activity_type* a) { a->ignore_child_for_sched = 1; }
void setActivityUnLockedAsChild(activity_type* a) { a->ignore_child_for_sched = 0; }
