// The item record: one WBS element (project node, container, task, ...) and
// node of the scheduling network, with its dependency, child, parent,
// predecessor-tree and assignment lists.
//
// Ownership: an item owns its six lists, the dependency_type records of its
// predecessor and successor lists and the string_type names of its child,
// parent and predecessor-tree lists. It never owns its assignments (the
// run's assignment list does) nor its project (the run's project list does).
//
// Units: dates are day numbers (Julian day number minus julianDateOrigin);
// durations are calendar days and never below 1; effort, actual effort,
// lags and slack are working minutes; time offsets are minutes from the
// start day's working start (offset_start_time) and to the finish day's
// working end (offset_finish_time), never negative. Time stamps are
// "YYYY-MM-DD HH:MM:00.000000" texts of at most 26 characters.
//
// Invariants: to_pass_in_forw_dir and orig_to_pass_in_forw_dir count the
// non-external predecessors added through activityCreatePred minus those
// removed through activityDeletePred; names are at most 32 characters (longer
// ones are cut) and unique within each of the item's name lists.
//
// Messages of refused operations go to the FILE* given; a null stream means
// the message is not written.
//
// Duplicate checks: adding to the predecessor, successor, child, parent or
// assignment list checks the name through a hash lookup kept beside the list
// once it is long (model/name_lookup.h), so loading n names is linear; the
// refusals, messages and list order are those of a walk of the list. The
// lookup is an addition to the record's fields (`lookups`, last).
//
// Choices: setActivityPriority keeps the value's low 16 bits as an unsigned
// number (0..65535). setActivityAssignment adds an assignment once (by its
// name) and marks the item as having assignments; the resource-calendar
// option is applied by the loader, not here.
#ifndef LEVELER_MODEL_ACTIVITY_H
#define LEVELER_MODEL_ACTIVITY_H

#include <cstdint>
#include <cstdio>

#include "model/dependency.h"
#include "model/linked_list.h"
#include "model/serial_names.h"

struct project_type;     // the project record with its calendar (calendar/)
struct assignment_type;  // model/assignment.h
struct name_lookup;      // model/name_lookup.h

// Name lookups beside the item's lists, which keep the duplicate checks of
// the add functions linear on long lists. Created, with the first of them,
// when one of the lists is first searched at NAME_LOOKUP_MIN_LENGTH
// elements; owned and released by the item. Not copied with the item.
struct activity_name_lookups {
  name_lookup* pred;
  name_lookup* succ;
  name_lookup* child;
  name_lookup* parent;
  name_lookup* assignment;
};

// Size of a time stamp text: 26 characters and terminator.
inline constexpr int ACT_TIME_STAMP_SIZE = 27;

struct activity_type {
  char name[LL_NAME_SIZE];
  int16_t type;  // 1 project item, 2 container, 3 task; 0 start/finish node
  int16_t level_id;
  int32_t ntw_level_id;  // -1 until assigned
  int32_t circul_id;     // 0 = none
  int16_t num_match_par_pred;
  int32_t task_level_order;  // -1 until assigned
  int16_t parent_level_order;
  int16_t parent_proper_back;
  int32_t proper_order_back;  // -1 until assigned
  int32_t brunch;
  int32_t priority;  // default 500
  int32_t serial_num;
  int32_t comb_index;
  int16_t onDepTypeFrwd;        // -1 = none
  int16_t onDepTypeBack;        // -1 = none
  int16_t depType_back;         // -1 = none
  int16_t depType_back_put_on;  // -1 = none
  int16_t onPred;
  int16_t onSucc;
  int16_t residesOnNonTrivialPred;
  int16_t residesOnNonTrivialSucc;
  int32_t start_date;
  int32_t start_date_trun;
  int32_t finish_date;
  int32_t finish_date_trun;
  int32_t actual_start_date;
  int32_t LS_act_date;
  int32_t LS_act_time;        // minutes
  int16_t rollupFlag;         // default 1
  int16_t rollupFlagSpecial;  // default 1
  int32_t offset_start_date;  // days relative to the parent's start
  int32_t offset_start_date_trun;
  int32_t offset_finish_date;  // days relative to the parent's finish
  int32_t offset_finish_date_trun;
  int16_t offset_start_time;  // minutes, >= 0
  int16_t offset_start_time_trun;
  int16_t offset_finish_time;  // minutes, >= 0
  int16_t offset_finish_time_trun;
  int32_t original_duration;  // days, >= 1
  int32_t duration;           // days, >= 1
  int32_t effort;             // minutes, >= 5 at creation
  int32_t actual_duration;    // actual effort, minutes
  int32_t max_wrk_actual_FD;
  int16_t oft_wrk_actual_FD;  // minutes
  char actualStartTimeStamp[ACT_TIME_STAMP_SIZE];
  char actualFinishTimeStamp[ACT_TIME_STAMP_SIZE];
  int16_t isExternalSucc;
  int16_t isExternalPred;
  int16_t ignoreHolesInCalendar;
  int16_t hasAssignment;
  int16_t hasActualStart;
  int16_t hasActualFinish;
  int16_t ignore_item_for_sched;
  int16_t ignore_child_for_sched;
  int16_t to_pass_in_forw_dir;
  int16_t orig_to_pass_in_forw_dir;
  int32_t slack;  // minutes
  int32_t weighted_delay;
  int32_t ext_delay_dur;    // minutes
  int32_t max_delay_param;  // minutes
  int32_t rel_prj_sd;
  int16_t constraint_type;
  int32_t constraint_date;
  int32_t early_start_date;
  int32_t early_finish_date;
  int32_t late_start_date;
  int32_t late_finish_date;
  int16_t es_offset_start_time;
  int16_t ls_offset_start_time;
  int16_t ef_offset_finish_time;
  int16_t lf_offset_finish_time;
  project_type* proj;                     // not owned
  linked_list_type* pred_list;            // dependency_type, owned
  linked_list_type* succ_list;            // dependency_type, owned
  linked_list_type* child_list;           // string_type, owned
  linked_list_type* parent_list;          // string_type, owned
  linked_list_type* assignment_list;      // assignment_type, NOT owned
  linked_list_type* pred_tree_name_list;  // string_type, owned
  activity_name_lookups* lookups;         // owned; null while every list is short
};

// Creation and release.
activity_type* activityCreateNew(const char* name, int16_t type, project_type* this_proj,
                                 int32_t start_date, int32_t finish_date,
                                 int32_t effort_total_minutes, int16_t constraint_type,
                                 int32_t constraint_date);
activity_type* activityCopyCreateNew(const activity_type* this_act, FILE* file);
void activityDelete(activity_type* this_act);

// List callbacks: exact name match and name.
int activityMatch(void* this_act, const void* lookfor);
const char* getActivityName(void* this_act);

// Dependencies. The create functions return the new record, or null (with
// the message) when the list already holds that name. The delete functions
// return 1 when removed, 0 (with the message) when absent.
dependency_type* activityCreatePred(activity_type* this_act, const char* name, int16_t type,
                                    int16_t isExternal, int32_t lag_minutes, FILE* file);
dependency_type* activityCreateSucc(activity_type* this_act, const char* name, int16_t type,
                                    int16_t isExternal, int32_t lag_minutes, FILE* file);
dependency_type* activityCreateSuccInversedOrd(activity_type* this_act, const char* name,
                                               int16_t type, int16_t isExternal,
                                               int32_t lag_minutes, FILE* file);
int activityDeletePred(activity_type* this_act, const char* name, FILE* file);
int activityDeleteSucc(activity_type* this_act, const char* name, FILE* file);
void activityDeletePredData(activity_type* this_act);
void activityDeleteSuccData(activity_type* this_act);
void activityDeleteChildData(activity_type* this_act);
void activityDeleteParentData(activity_type* this_act);
void activityDeletePredHierarchyTreeData(activity_type* this_act);

// Children and parents. The set functions return 1 whether added or not.
// The delete functions return 1 when the name was removed, 0 when absent.
int setActivityChild(activity_type* this_act, const char* name, FILE* file);
int setActivityParent(activity_type* this_act, const char* name, FILE* file);
int activityDeleteChild(activity_type* this_act, const char* name);
int activityDeleteParent(activity_type* this_act, const char* name);
void activityReplaceCreateParent(activity_type* this_act, const char* name);

// Queries over the dependency lists; each walks its list from the head (the
// list's current position moves).
int16_t activityHasExternalPred(activity_type* this_act);
int16_t activityHasExternalSucc(activity_type* this_act);
int16_t activityHasNonExternalPred(activity_type* this_act);
int16_t activityHasNonExternalSucc(activity_type* this_act);
int16_t activityHasNonTrivialPred(activity_type* this_act, const char* START_NODE_NAME);
int16_t activityHasNonTrivialSucc(activity_type* this_act, const char* FINISH_NODE_NAME);
int16_t activityHasNonTrivialNonExternalPred(activity_type* this_act, const char* START_NODE_NAME);
int16_t activityHasNonTrivialNonExternalSucc(activity_type* this_act, const char* FINISH_NODE_NAME);
int16_t activityHasNTriNExtNActFinPred(activity_type* this_act, linked_list_type* act_tmp_list,
                                       const char* START_NODE_NAME);

// Copying between items.
void activityCopyEssentialInternalFields(const activity_type* from_act, activity_type* to_act);
void activityCopyEarlyDates(const activity_type* from_act, activity_type* to_act);
void activityCopyLaterDates(const activity_type* from_act, activity_type* to_act);
void activityResetLevelOrdersForList(linked_list_type* act_tmp_list);

// Fills actNames[0 .. size-1] with new copies (UID_LENGTH bytes each, names
// cut to UID_LENGTH-1 characters) of the item names in list order. The caller
// owns the copies: release each with delete[] or doDeleteNameListForActivities.
void doCreateNameListForActivities(linked_list_type* activities_list, char** actNames,
                                   int32_t UID_LENGTH);
void doDeleteNameListForActivities(char** actNames, int32_t count);

// Getters.
int16_t getActivityType(const activity_type* this_act);
int32_t getActivityBrunchInd(const activity_type* this_act);
int16_t getActivityExternalPredFlag(const activity_type* this_act);
int16_t getActivityExternalSuccFlag(const activity_type* this_act);
project_type* getActivityProject(const activity_type* this_act);
int16_t getActivityTimeOffsetFromStart(const activity_type* this_act);
int16_t getActivityTimeOffsetFromFinish(const activity_type* this_act);
int16_t getActivityToPassInForwDir(const activity_type* this_act);
linked_list_type* getActivityPredList(const activity_type* this_act);
linked_list_type* getActivitySuccList(const activity_type* this_act);
linked_list_type* getActivityPredHierarchyTreeList(const activity_type* this_act);
linked_list_type* getActivityChildList(const activity_type* this_act);
linked_list_type* getActivityParentList(const activity_type* this_act);
int32_t getActivityOffsetRelativeToParentStartDate(const activity_type* this_act);
int32_t getActivityOffsetRelativeToParentFinishDate(const activity_type* this_act);
int16_t getActivityConstraintType(const activity_type* this_act);
int32_t getActivityConstraintDate(const activity_type* this_act);
int32_t getActivityStartDate(const activity_type* this_act);
int32_t getActivityFinishDate(const activity_type* this_act);
int32_t getActivityDuration(const activity_type* this_act);
int32_t getActivitySerialNum(const activity_type* this_act);
int32_t getActivityTotalEffort(const activity_type* this_act);
int32_t getActivityOriginalDuration(const activity_type* this_act);
int32_t getActivitySlack(const activity_type* this_act);
int32_t getActivityES(const activity_type* this_act);
int32_t getActivityEF(const activity_type* this_act);
int32_t getActivityLS(const activity_type* this_act);
int32_t getActivityLF(const activity_type* this_act);
linked_list_type* getActivityAssignmentList(const activity_type* this_act);
int16_t getActivityNumMatchParPred(const activity_type* this_act);
int32_t getActivityNumOfPred(const activity_type* this_act);

// Setters: store as given, except the two time offsets (0 for negatives),
// the two durations (1 below 1) and the priority (0 for negatives, else the
// low 16 bits).
void setActivityOffsetRelativeToParentStartDate(activity_type* this_act, int32_t days);
void setActivityOffsetRelativeToParentFinishDate(activity_type* this_act, int32_t days);
void setActivityTimeOffsetFromStart(activity_type* this_act, int32_t minutes);
void setActivityTimeOffsetFromFinish(activity_type* this_act, int32_t minutes);
void setActivitySlack(activity_type* this_act, int32_t slack);
void setActivityTotalEffort(activity_type* this_act, int32_t effort);
void setActivityActualEffort(activity_type* this_act, int32_t actual_effort);
void setActivityToPassInForwDir(activity_type* this_act, int16_t to_pass);
void setActivityStartDate(activity_type* this_act, int32_t start_date);
void setActivityFinishDate(activity_type* this_act, int32_t finish_date);
void setActivitySerialNum(activity_type* this_act, int32_t serial_num);
void setActivityConstraintType(activity_type* this_act, int16_t constraint_type);
void setActivityConstraintDate(activity_type* this_act, int32_t constraint_date);
void setActivityPriority(activity_type* this_act, int32_t priority);
void setActivityLevelId(activity_type* this_act, int16_t level_id);
void setActivityNetworkLevelId(activity_type* this_act, int32_t ntw_level_id);
void setActivityNumMatchParPred(activity_type* this_act, int16_t num);
void setActivityES(activity_type* this_act, int32_t day);
void setActivityEF(activity_type* this_act, int32_t day);
void setActivityLS(activity_type* this_act, int32_t day);
void setActivityLF(activity_type* this_act, int32_t day);
void setActivityExternalPredFlag(activity_type* this_act, int16_t flag);
void setActivityExternalSuccFlag(activity_type* this_act, int16_t flag);
void setActivityHasActualStart(activity_type* this_act, int16_t flag);
void setActivityHasActualFinish(activity_type* this_act, int16_t flag);
void setActivityActualStartDate(activity_type* this_act, int32_t day);
void setActivityIsOnDepTypeFrwd(activity_type* this_act, int16_t dep_type);
void setActivityIsOnDepTypeBack(activity_type* this_act, int16_t dep_type);
void setActivityBrunchInd(activity_type* this_act, int32_t brunch);
void setActivityProject(activity_type* this_act, project_type* this_proj);
// Adds the assignment to the item's list unless one of that name is there
// already, and sets hasAssignment. Returns 1 when added, 0 when present.
int setActivityAssignment(activity_type* this_act, assignment_type* this_ass,
                          int optionResourceCalTakesPrec, FILE* file);
// Time stamps are copied and cut to 26 characters; null stores "".
void setActivityActualFinishTimeStamp(activity_type* this_act, const char* time_stamp);
void setActivityActualStartTimeStamp(activity_type* this_act, const char* time_stamp);
void setActivityOriginalDuration(activity_type* this_act, int32_t days);
void setActivityDuration(activity_type* this_act, int32_t days);

// Scheduling locks (ignore_item_for_sched, ignore_child_for_sched).
void setActivityLockedAsItem(activity_type* this_act);
void setActivityUnLockedAsItem(activity_type* this_act);
void setActivityLockedAsChild(activity_type* this_act);
void setActivityUnLockedAsChild(activity_type* this_act);

#endif
