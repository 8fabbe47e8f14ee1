// The clean-up of the record lists: every record released exactly once
// whatever lists it sits in (the sanitizers report a leak or a second
// release), the duplicate line written once per repeated entry, and every
// pointer of the run null afterwards.
#include "run/cleanup.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "model/serial_names.h"
#include "run/run_state.h"

namespace {

std::string readAll(FILE* f) {
  std::fflush(f);
  std::rewind(f);
  std::string text;
  char buf[1024];
  size_t n = 0;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  return text;
}

activity_type* item(const char* name, project_type* p = nullptr) {
  return activityCreateNew(name, 3, p, 100, 101, 480, 0, 0);
}

linked_list_type* itemList() { return ll_new(activityMatch, getActivityName); }
linked_list_type* projectList() { return ll_new(projectMatch, getProjectName); }

TEST(Cleanup, ARecordListedTwiceIsLoggedOnceAndReleasedOnce) {
  FILE* log = std::tmpfile();
  ASSERT_NE(log, nullptr);

  // Items: T1 at positions 1 and 3; a second, distinct record named T2
  // (positions 2 and 4) is logged as a repeated name and still released.
  linked_list_type* items = itemList();
  activity_type* t1 = item("T1");
  ll_addtail(items, t1);
  ll_addtail(items, item("T2"));
  ll_addtail(items, t1);
  ll_addtail(items, item("T2"));
  EXPECT_EQ(3, doDeleteActivities(items, log));
  EXPECT_EQ(nullptr, items);

  // Projects: P1 twice.
  linked_list_type* projects = projectList();
  project_type* p1 = projectCreateNew("P1");
  ll_addtail(projects, p1);
  ll_addtail(projects, p1);
  EXPECT_EQ(1, doDeleteProjects(projects, log));
  EXPECT_EQ(nullptr, projects);

  // Assignments: A1 twice, released once, nothing logged.
  linked_list_type* assignments = ll_new(assignmentMatch, getAssignmentName);
  assignment_type* a1 = assignmentCreateNew("A1");
  assignmentCreateWorkByActivity(a1, "T1", nullptr);
  ll_addtail(assignments, a1);
  ll_addtail(assignments, a1);
  EXPECT_EQ(1, doDeleteAssignments(assignments));
  EXPECT_EQ(nullptr, assignments);

  // Copies without the check; predecessor trees freed, items kept; a list
  // never created skipped.
  linked_list_type* copies = itemList();
  activity_type* b = item("B");
  ll_addtail(getActivityPredHierarchyTreeList(b), stringCreateNew("A"));
  ll_addtail(copies, item("A"));
  ll_addtail(copies, b);
  EXPECT_EQ(2, doDeleteActivitiesPredHierarchyTreeData(copies));
  EXPECT_EQ(0, ll_size(getActivityPredHierarchyTreeList(b)));
  EXPECT_EQ(2, doDeleteActivitiesNoCheck(copies, log));
  linked_list_type* none = nullptr;
  EXPECT_EQ(0, doDeleteActivities(none, log) + doDeleteProjects(none, log) +
                   doDeleteAssignments(none) + doDeleteActivitiesPredHierarchyTreeData(none));

  EXPECT_EQ(
      "\n\n *** error in doDeleteActivities !!! item 3) T1 appears twice: \n"
      "\n\n *** error in doDeleteActivities !!! item 4) T2 appears twice: \n"
      "\n\n *** error in doDeleteProjects !!! item 2) P1 appears twice: \n",
      readAll(log));
  std::fclose(log);
}

// The lists of a run after a load and the processing sequence, with the
// sharing the run really has: root projects in input_projects_list and
// projects_list, a root project that never moved, items referred to from
// several lists, copies in act_tmp_list_3, assignments referred to by items.
TEST(Cleanup, FreeRunRecordsReleasesEveryRecordOnceAndNullsEveryPointer) {
  auto run = std::make_unique<run::RunState>();
  run::RunState& r = *run;
  r.sm = smanagerCreateNew();
  r.input_projects_list = projectList();
  r.projects_list = projectList();
  r.ext_projects_list = projectList();
  r.root_act_list = itemList();
  r.activities_list = itemList();
  r.proj_act_OnExt_dep_list = itemList();
  r.ext_pred_list = itemList();
  r.act_tmp_list = itemList();
  r.act_tmp_list_3 = itemList();
  r.act_tmp_list_4 = itemList();
  r.act_tmp_list_5 = itemList();
  r.assignments_list = ll_new(assignmentMatch, getAssignmentName);

  project_type* root = projectCreateNew("P1");
  project_type* sub = projectCreateNew("P2");
  project_type* neverLoaded = projectCreateNew("P9");
  project_type* outside = projectCreateNew("X1");
  ll_addtail(r.input_projects_list, root);
  ll_addtail(r.input_projects_list, neverLoaded);
  ll_addtail(r.projects_list, root);
  ll_addtail(r.projects_list, sub);
  ll_addtail(r.ext_projects_list, outside);
  ll_addtail(r.sm->stored_projects_list, root);

  activity_type* start = activityCreateNew("START", 0, nullptr, 99, 99, 0, 0, 0);
  activity_type* rootItem = activityCreateNew("P1", 1, root, 100, 110, 0, 0, 0);
  activity_type* task = item("T1", root);
  activity_type* placeholder = item("XT", outside);
  activity_type* finish = activityCreateNew("FINISH", 0, nullptr, 111, 111, 0, 0, 0);
  for (activity_type* a : {start, rootItem, task, placeholder, finish})
    ll_addtail(r.act_tmp_list, a);
  for (activity_type* a : {start, rootItem, task, finish}) ll_addtail(r.activities_list, a);
  ll_addtail(r.root_act_list, rootItem);
  ll_addtail(r.ext_pred_list, placeholder);
  ll_addtail(r.proj_act_OnExt_dep_list, task);
  ll_addtail(r.act_tmp_list_4, task);
  ll_addtail(r.act_tmp_list_5, task);
  ll_addtail(r.act_tmp_list_3, activityCopyCreateNew(task, nullptr));
  ll_addtail(r.act_tmp_list_3, activityCopyCreateNew(start, nullptr));

  assignment_type* a1 = assignmentCreateNew("A1");
  assignmentCreateWorkByActivity(a1, "T1", nullptr);
  ll_addtail(r.assignments_list, a1);
  ll_addtail(getActivityAssignmentList(task), a1);

  // The sharing above is by design and not reported; an item listed twice
  // in the owner list is, once, and released once.
  ll_addtail(r.act_tmp_list, task);
  FILE* log = std::tmpfile();
  ASSERT_NE(log, nullptr);
  run::freeRunRecords(r, log);
  const std::string once = "\n\n *** error in doDeleteActivities !!! item 6) T1 appears twice: \n";
  EXPECT_EQ(once, readAll(log));

  for (linked_list_type* l :
       {r.input_projects_list, r.projects_list, r.ext_projects_list, r.root_act_list,
        r.activities_list, r.proj_act_OnExt_dep_list, r.ext_pred_list, r.act_tmp_list,
        r.act_tmp_list_3, r.act_tmp_list_4, r.act_tmp_list_5, r.assignments_list}) {
    EXPECT_EQ(nullptr, l);
  }
  EXPECT_EQ(nullptr, r.sm);

  // A second call, and a run that never created anything, do nothing.
  run::freeRunRecords(r, log);
  auto empty = std::make_unique<run::RunState>();
  run::freeRunRecords(*empty, log);
  EXPECT_EQ(once, readAll(log));
  std::fclose(log);
}

}  // namespace
