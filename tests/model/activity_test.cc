// Item records: creation rules, the predecessor countdown, refused
// operations and their log lines, the trivial-predecessor queries, and
// copies that outlive their original.
#include "model/activity.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "model/assignment.h"

namespace {

// Collects what an operation writes to its log stream.
class LogCapture {
 public:
  LogCapture() : file_(open_memstream(&buf_, &len_)) {}
  ~LogCapture() {
    if (file_ != nullptr) std::fclose(file_);
    std::free(buf_);
  }
  FILE* file() const { return file_; }
  std::string text() {
    std::fflush(file_);
    return std::string(buf_, len_);
  }

 private:
  char* buf_ = nullptr;
  size_t len_ = 0;
  FILE* file_;
};

std::vector<std::string> names(linked_list_type* list, const char* (*name)(void*)) {
  std::vector<std::string> out;
  ll_head(list);
  for (int32_t i = 0; i < ll_size(list); ++i) {
    out.emplace_back(name(ll_retrieve(list)));
    ll_next(list);
  }
  return out;
}

}  // namespace

TEST(Activity, CreationAppliesMinimumEffortAndDuration) {
  // An item without effort still occupies one five-minute slot.
  activity_type* a = activityCreateNew("A", 3, nullptr, 100, 100, 0, 0, 0);
  EXPECT_EQ(a->effort, 5);
  EXPECT_EQ(a->duration, 1);  // same-day start and finish is one day
  EXPECT_EQ(a->original_duration, 1);
  activityDelete(a);

  activity_type* b = activityCreateNew("B", 3, nullptr, 100, 104, 4, 0, 0);
  EXPECT_EQ(b->effort, 5);
  EXPECT_EQ(b->duration, 5);
  EXPECT_EQ(b->early_finish_date, 104);
  EXPECT_EQ(b->late_start_date, 100);
  activityDelete(b);

  // A finish before the start still gives the one-day minimum.
  activity_type* d = activityCreateNew("D", 3, nullptr, 100, 90, 60, 0, 0);
  EXPECT_EQ(d->duration, 1);
  activityDelete(d);
}

TEST(Activity, PredecessorCountdownFollowsNonExternalPredecessors) {
  LogCapture log;
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);

  ASSERT_NE(activityCreatePred(a, "EXT", 1, 1, 0, log.file()), nullptr);
  EXPECT_EQ(a->to_pass_in_forw_dir, 0);
  EXPECT_EQ(a->orig_to_pass_in_forw_dir, 0);

  ASSERT_NE(activityCreatePred(a, "P1", 1, 0, 30, log.file()), nullptr);
  ASSERT_NE(activityCreatePred(a, "P2", 3, 0, -15, log.file()), nullptr);
  EXPECT_EQ(a->to_pass_in_forw_dir, 2);
  EXPECT_EQ(a->orig_to_pass_in_forw_dir, 2);
  EXPECT_EQ(getActivityNumOfPred(a), 3);

  EXPECT_EQ(activityDeletePred(a, "P1", log.file()), 1);
  EXPECT_EQ(a->to_pass_in_forw_dir, 1);
  EXPECT_EQ(a->orig_to_pass_in_forw_dir, 1);
  // Removing the external one does not touch the countdown.
  EXPECT_EQ(activityDeletePred(a, "EXT", log.file()), 1);
  EXPECT_EQ(a->to_pass_in_forw_dir, 1);
  EXPECT_EQ(names(a->pred_list, getDependencyName), std::vector<std::string>{"P2"});
  EXPECT_EQ(log.text(), "");

  // Successors carry no countdown.
  ASSERT_NE(activityCreateSucc(a, "S1", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(a->to_pass_in_forw_dir, 1);
  activityDelete(a);
}

TEST(Activity, RefusedOperationsKeepTheRecordAndLogExactly) {
  LogCapture log;
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);

  dependency_type* first = activityCreatePred(a, "P", 1, 0, 30, log.file());
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(activityCreatePred(a, "P", 3, 0, 99, log.file()), nullptr);
  EXPECT_EQ(log.text(),
            "\n*** error is Detected by activityCreatePred(): dependency P already exists for "
            "activity A");
  ASSERT_EQ(getActivityNumOfPred(a), 1);
  ll_head(a->pred_list);
  EXPECT_EQ(ll_retrieve(a->pred_list), first);
  EXPECT_EQ(first->lag_minutes, 30);
  EXPECT_EQ(first->type, 1);
  EXPECT_EQ(a->to_pass_in_forw_dir, 1);  // the refused one was not counted
  activityDelete(a);
}

TEST(Activity, SuccessorInsertionOrderAndMessages) {
  LogCapture log;
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);
  activityCreateSucc(a, "S1", 1, 0, 0, log.file());
  activityCreateSucc(a, "S2", 1, 0, 0, log.file());
  activityCreateSuccInversedOrd(a, "S0", 1, 0, 0, log.file());
  EXPECT_EQ(names(a->succ_list, getDependencyName), (std::vector<std::string>{"S0", "S1", "S2"}));
  EXPECT_EQ(log.text(), "");

  EXPECT_EQ(activityCreateSucc(a, "S1", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(activityCreateSuccInversedOrd(a, "S2", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(activityDeleteSucc(a, "S9", log.file()), 0);
  EXPECT_EQ(activityDeletePred(a, "P9", log.file()), 0);
  EXPECT_EQ(log.text(),
            "\n*** error is Detected by activityCreateSucc(): dependency S1 already exists for "
            "activity A"
            "\n*** error is Detected by activityCreateSuccInverseOrd(): dependency S2 already "
            "exists for activity A"
            "\n\n *** error in activityDeleteSucc(): succ S9 is not found for activity A "
            "\n\n *** error in activityDeletePred(): pred P9 is not found for activity A ");
  EXPECT_EQ(ll_size(a->succ_list), 3);
  EXPECT_EQ(a->to_pass_in_forw_dir, 0);
  activityDelete(a);
}

TEST(Activity, ChildrenAndParentsAreUniqueNames) {
  LogCapture log;
  activity_type* a = activityCreateNew("A", 2, nullptr, 0, 0, 60, 0, 0);
  EXPECT_EQ(setActivityChild(a, "C1", log.file()), 1);
  EXPECT_EQ(setActivityChild(a, "C1", log.file()), 1);  // refused, still 1
  EXPECT_EQ(setActivityParent(a, "P1", log.file()), 1);
  EXPECT_EQ(setActivityParent(a, "P1", log.file()), 1);
  EXPECT_EQ(log.text(),
            "\n*** error in setActivityChild(): child C1 already exists for activity A \n"
            "\n*** error in setActivityParent(): parent P1 already exists for activity A \n");
  EXPECT_EQ(ll_size(a->child_list), 1);
  EXPECT_EQ(ll_size(a->parent_list), 1);

  activityReplaceCreateParent(a, "P1");  // present: replaced in place
  activityReplaceCreateParent(a, "P2");  // absent: appended
  EXPECT_EQ(names(a->parent_list, getStringValue), (std::vector<std::string>{"P1", "P2"}));

  EXPECT_EQ(activityDeleteChild(a, "C1"), 1);
  EXPECT_EQ(activityDeleteChild(a, "C1"), 0);
  EXPECT_EQ(activityDeleteParent(a, "P1"), 1);
  EXPECT_EQ(names(a->parent_list, getStringValue), std::vector<std::string>{"P2"});
  activityDeleteParentData(a);
  EXPECT_EQ(ll_size(a->parent_list), 0);
  activityDelete(a);
}

TEST(Activity, TrivialAndExternalPredecessorQueries) {
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);
  EXPECT_EQ(activityHasNonTrivialPred(a, "start"), 0);  // no predecessor at all
  activityCreatePred(a, "start", 1, 0, 0, nullptr);
  EXPECT_EQ(activityHasNonTrivialPred(a, "start"), 0);
  EXPECT_EQ(activityHasNonTrivialNonExternalPred(a, "start"), 0);
  EXPECT_EQ(activityHasNonExternalPred(a), 1);
  a->residesOnNonTrivialPred = 1;
  EXPECT_EQ(activityHasNonTrivialPred(a, "start"), 1);
  // The flag is not a predecessor for the non-external query.
  EXPECT_EQ(activityHasNonTrivialNonExternalPred(a, "start"), 0);
  a->residesOnNonTrivialPred = 0;

  activityCreatePred(a, "X", 1, 1, 0, nullptr);  // external
  EXPECT_EQ(activityHasNonTrivialPred(a, "start"), 1);
  EXPECT_EQ(activityHasNonTrivialNonExternalPred(a, "start"), 0);
  EXPECT_EQ(activityHasExternalPred(a), 1);
  EXPECT_EQ(activityHasExternalSucc(a), 0);

  activityCreateSucc(a, "finish", 1, 0, 0, nullptr);
  EXPECT_EQ(activityHasNonTrivialSucc(a, "finish"), 0);
  a->residesOnNonTrivialSucc = 1;
  EXPECT_EQ(activityHasNonTrivialSucc(a, "finish"), 1);
  EXPECT_EQ(activityHasNonTrivialNonExternalSucc(a, "finish"), 0);
  activityCreateSucc(a, "S", 1, 0, 0, nullptr);
  EXPECT_EQ(activityHasNonTrivialNonExternalSucc(a, "finish"), 1);
  activityDelete(a);
}

TEST(Activity, UnfinishedPredecessorQueryLooksItemsUp) {
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  activity_type* p = activityCreateNew("P", 3, nullptr, 0, 0, 60, 0, 0);
  activity_type* x = activityCreateNew("X", 3, nullptr, 0, 0, 60, 0, 0);
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);
  ll_addtail(items, p);
  ll_addtail(items, x);
  ll_addtail(items, a);

  activityCreatePred(a, "start", 1, 0, 0, nullptr);
  activityCreatePred(a, "X", 1, 1, 0, nullptr);  // external: not considered
  EXPECT_EQ(activityHasNTriNExtNActFinPred(a, items, "start"), 0);
  activityCreatePred(a, "GONE", 1, 0, 0, nullptr);  // not among the items
  EXPECT_EQ(activityHasNTriNExtNActFinPred(a, items, "start"), 0);
  activityCreatePred(a, "P", 1, 0, 0, nullptr);
  EXPECT_EQ(activityHasNTriNExtNActFinPred(a, items, "start"), 1);
  p->hasActualFinish = 1;
  EXPECT_EQ(activityHasNTriNExtNActFinPred(a, items, "start"), 0);

  // Resetting the level orders touches every item of the list.
  p->task_level_order = 7;
  a->parent_level_order = 3;
  activityResetLevelOrdersForList(items);
  EXPECT_EQ(p->task_level_order, -1);
  EXPECT_EQ(a->parent_level_order, 0);

  for (activity_type* it : {p, x, a}) activityDelete(it);
  ll_delete(items);
}

TEST(Activity, CopyOwnsIndependentListsAndOutlivesTheOriginal) {
  activity_type* a = activityCreateNew("A", 2, nullptr, 10, 12, 480, 0, 0);
  activityCreatePred(a, "P1", 1, 0, 30, nullptr);
  activityCreatePred(a, "P2", 0, 1, 0, nullptr);
  activityCreateSucc(a, "S1", 3, 0, -60, nullptr);
  setActivityChild(a, "C1", nullptr);
  setActivityParent(a, "R", nullptr);
  ll_addtail(a->pred_tree_name_list, stringCreateNew("T1"));
  assignment_type* ass = assignmentCreateNew("ASS");
  setActivityAssignment(a, ass, 0, nullptr);
  a->slack = 77;

  activity_type* c = activityCopyCreateNew(a, nullptr);
  activityDelete(a);  // the copy must not share anything with it

  EXPECT_STREQ(c->name, "A");
  EXPECT_EQ(c->slack, 77);
  EXPECT_EQ(c->to_pass_in_forw_dir, 1);
  EXPECT_EQ(names(c->pred_list, getDependencyName), (std::vector<std::string>{"P1", "P2"}));
  EXPECT_EQ(names(c->succ_list, getDependencyName), std::vector<std::string>{"S1"});
  ll_head(c->succ_list);
  EXPECT_EQ(static_cast<dependency_type*>(ll_retrieve(c->succ_list))->lag_minutes, -60);
  EXPECT_EQ(names(c->child_list, getStringValue), std::vector<std::string>{"C1"});
  EXPECT_EQ(names(c->parent_list, getStringValue), std::vector<std::string>{"R"});
  EXPECT_EQ(names(c->pred_tree_name_list, getStringValue), std::vector<std::string>{"T1"});
  EXPECT_EQ(ll_size(c->assignment_list), 0);  // assignments are not copied

  EXPECT_EQ(activityDeletePred(c, "P1", nullptr), 1);
  EXPECT_EQ(c->to_pass_in_forw_dir, 0);
  activityCreateSucc(c, "S2", 1, 0, 0, nullptr);
  activityDelete(c);
  assignmentDelete(ass);  // outlives the item that listed it
}

TEST(Activity, SetterRulesAndFieldCopies) {
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);
  setActivityTimeOffsetFromStart(a, -30);
  setActivityTimeOffsetFromFinish(a, -1);
  EXPECT_EQ(a->offset_start_time, 0);
  EXPECT_EQ(a->offset_finish_time, 0);
  setActivityTimeOffsetFromStart(a, 125);
  EXPECT_EQ(a->offset_start_time, 125);

  setActivityDuration(a, 0);
  setActivityOriginalDuration(a, -4);
  EXPECT_EQ(a->duration, 1);
  EXPECT_EQ(a->original_duration, 1);
  setActivityDuration(a, 9);
  EXPECT_EQ(a->duration, 9);

  setActivityPriority(a, -5);
  EXPECT_EQ(a->priority, 0);
  setActivityPriority(a, 65536 + 700);  // only the low 16 bits are kept
  EXPECT_EQ(a->priority, 700);

  // The essential copy carries placement but not identity or late dates.
  activity_type* b = activityCreateNew("B", 3, nullptr, 50, 52, 300, 0, 0);
  b->LS_act_time = 600;
  b->offset_finish_date_trun = 2;
  b->onDepTypeFrwd = 3;
  b->late_finish_date = 99;
  activityCopyEssentialInternalFields(b, a);
  EXPECT_EQ(a->start_date, 50);
  EXPECT_EQ(a->finish_date_trun, 52);
  EXPECT_EQ(a->LS_act_time, 600);
  EXPECT_EQ(a->offset_finish_date_trun, 2);
  EXPECT_EQ(a->duration, 3);
  EXPECT_EQ(a->effort, 300);
  EXPECT_EQ(a->onDepTypeFrwd, 3);
  EXPECT_EQ(a->late_finish_date, 0);
  EXPECT_STREQ(a->name, "A");
  activityCopyLaterDates(b, a);
  EXPECT_EQ(a->late_finish_date, 99);
  activityDelete(b);
  activityDelete(a);
}

TEST(Activity, OverlongTextsAreCutToTheirFields) {
  const std::string long_name(40, 'n');
  const std::string cut(32, 'n');
  activity_type* a = activityCreateNew(long_name.c_str(), 3, nullptr, 0, 0, 60, 0, 0);
  EXPECT_EQ(std::string(a->name), cut);

  // The over-long name finds the entry stored under its cut form.
  ASSERT_NE(activityCreatePred(a, long_name.c_str(), 1, 0, 0, nullptr), nullptr);
  EXPECT_EQ(activityCreatePred(a, cut.c_str(), 1, 0, 0, nullptr), nullptr);
  EXPECT_EQ(activityDeletePred(a, long_name.c_str(), nullptr), 1);

  setActivityActualStartTimeStamp(a, "2004-01-01 08:00:00.000000 and more");
  EXPECT_STREQ(a->actualStartTimeStamp, "2004-01-01 08:00:00.000000");
  setActivityActualFinishTimeStamp(a, nullptr);
  EXPECT_STREQ(a->actualFinishTimeStamp, "");

  // Name arrays with a short identifier length are cut, not overrun.
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  activity_type* b = activityCreateNew("B1234567890", 3, nullptr, 0, 0, 60, 0, 0);
  ll_addtail(items, a);
  ll_addtail(items, b);
  char* arr[2] = {nullptr, nullptr};
  doCreateNameListForActivities(items, arr, 8);
  EXPECT_STREQ(arr[0], "nnnnnnn");
  EXPECT_STREQ(arr[1], "B123456");
  doDeleteNameListForActivities(arr, 2);
  doCreateNameListForActivities(items, arr, LL_NAME_SIZE);
  EXPECT_EQ(std::string(arr[0]), cut);
  EXPECT_STREQ(arr[1], "B1234567890");
  doDeleteNameListForActivities(arr, 2);
  activityDelete(a);
  activityDelete(b);
  ll_delete(items);
}

TEST(Activity, AssignmentsAreListedOnceAndNotOwned) {
  activity_type* a = activityCreateNew("A", 3, nullptr, 0, 0, 60, 0, 0);
  assignment_type* r1 = assignmentCreateNew("R1");
  EXPECT_EQ(setActivityAssignment(a, r1, 0, nullptr), 1);
  EXPECT_EQ(setActivityAssignment(a, r1, 0, nullptr), 0);
  EXPECT_EQ(a->hasAssignment, 1);
  EXPECT_EQ(ll_size(getActivityAssignmentList(a)), 1);
  activityDelete(a);
  // Still alive after the item went (ASan would flag a double release).
  EXPECT_STREQ(r1->name, "R1");
  assignmentDelete(r1);
}
