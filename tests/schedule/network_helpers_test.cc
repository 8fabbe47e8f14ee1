// The helpers the network layer builds on: the predecessor hierarchy with
// its circularity detection, the delay parameters of an item's resources,
// and the read-only container roll-up.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "calendar_fixture.h"
#include "model/assignment.h"
#include "model/serial_names.h"
#include "schedule/delay_params.h"
#include "schedule/mini_rollup.h"
#include "schedule/pred_hierarchy.h"

namespace schedtest {
namespace {

constexpr const char* kStart = "start";
constexpr const char* kFinish = "finish";

class Network : public ::testing::Test {
 protected:
  void SetUp() override { items = ll_new(activityMatch, getActivityName); }
  void TearDown() override {
    for (assignment_type* a : assignments) assignmentDelete(a);
    ll_delete(items);
  }

  activity_type* node(const char* name, int16_t type = 3) {
    activity_type* a = cal.item(name, 480, cal.first(), cal.first(), 0, type);
    ll_addtail(items, a);
    return a;
  }
  // pred -> succ, finish-to-start.
  void link(activity_type* pred, activity_type* succ, int16_t external = 0) {
    activityCreatePred(succ, pred->name, 1, external, 0, log.f());
    activityCreateSucc(pred, succ->name, 1, external, 0, log.f());
  }
  void parentOf(activity_type* parent, activity_type* child) {
    setActivityChild(parent, child->name, log.f());
    setActivityParent(child, parent->name, log.f());
  }
  static std::vector<std::string> names(linked_list_type* l) {
    std::vector<std::string> out;
    for (linktype* k = l->phead; k != nullptr; k = k->pnext) out.push_back(getStringValue(k->pcontents));
    return out;
  }
  using Names = std::vector<std::string>;

  Calendar cal{defaultCalendar(60)};
  Log log;
  linked_list_type* items = nullptr;
  std::vector<assignment_type*> assignments;
};

// --- Predecessor hierarchy ---

TEST_F(Network, HierarchyListsEveryPredecessorOnceThroughTwoPaths) {
  activity_type* s = node(kStart, 0);
  activity_type* a = node("A");
  activity_type* b = node("B");
  activity_type* c = node("C");
  activity_type* d = node("D");
  link(s, a);
  link(a, b);
  link(a, c);
  link(b, d);
  link(c, d);
  for (activity_type* x : {a, b, c, d}) {
    ASSERT_EQ(activityCreatePredHierarchyTreeList(x, items, kStart, log.f()), 0);
  }
  EXPECT_EQ(names(a->pred_tree_name_list), Names{});
  EXPECT_EQ(names(b->pred_tree_name_list), Names{"A"});
  EXPECT_EQ(names(d->pred_tree_name_list), (Names{"B", "A", "C"}));
}

TEST_F(Network, HierarchyTakesTheParentsPredecessorsAndTheirParents) {
  activity_type* p1 = node("P1", 2);
  activity_type* x = node("X");
  activity_type* p2 = node("P2", 2);
  activity_type* y = node("Y");
  activity_type* z = node("Z");
  parentOf(p1, x);
  parentOf(p2, y);
  link(z, p1);  // the container P1 follows Z
  link(z, y);   // Y follows Z: its parent P2 joins, having a predecessor itself
  link(x, p2);
  activityCreatePred(p2, "Q", 1, 1, 0, log.f());  // external: ignored
  activity_type* w = node("W");
  link(y, w);
  for (activity_type* a : {z, x, y, w}) {  // network order
    ASSERT_EQ(activityCreatePredHierarchyTreeList(a, items, kStart, log.f()), 0);
  }
  // X inherits its container's predecessor Z.
  EXPECT_EQ(names(x->pred_tree_name_list), Names{"Z"});
  // Y inherits P2's predecessor X, with X's container P1 (which has a
  // predecessor), and X's own list; its own Z is there already.
  EXPECT_EQ(names(y->pred_tree_name_list), (Names{"X", "P1", "Z"}));
  // W: Y with its container P2, then Y's list.
  EXPECT_EQ(names(w->pred_tree_name_list), (Names{"Y", "P2", "X", "P1", "Z"}));
}

TEST_F(Network, APredecessorListHoldingTheItemItselfIsACycle) {
  activity_type* a = node("A");
  activity_type* b = node("B");
  link(a, b);
  link(b, a);
  ll_addtail(a->pred_tree_name_list, stringCreateNew("B"));  // as an earlier pass left it
  EXPECT_EQ(activityCreatePredHierarchyTreeList(b, items, kStart, log.f()), 200212);
  const std::string text = log.text();
  EXPECT_NE(text.find("\n\n CreatePredHierarchy: ******* error (4) ***** circular dependency is "
                      "detected !!! \n tmp_pred_name:                                 B \n"
                      " child_name   :                                 B \n"),
            std::string::npos);
  EXPECT_NE(text.find("\n\n PATH FOR CIRCULAR DEPENDENCY !!! \n B \n 0 A "), std::string::npos);
}

TEST_F(Network, APredecessorThatIsTheParentOrAChildIsACycle) {
  activity_type* p = node("P", 2);
  activity_type* k = node("K");
  activity_type* g = node("G");
  parentOf(p, k);
  parentOf(k, g);
  link(p, k);
  EXPECT_EQ(activityCreatePredHierarchyTreeList(k, items, kStart, log.f()), 200212);
  EXPECT_NE(log.text().find("error (3) ***** circular dependency"), std::string::npos);
  // A child preceding its own container.
  activity_type* k2 = node("K2");
  activity_type* g2 = node("G2");
  parentOf(k2, g2);
  link(g2, k2);
  EXPECT_EQ(activityCreatePredHierarchyTreeList(k2, items, kStart, log.f()), 200212);
}

// --- Delay parameters ---

TEST_F(Network, CompetingLoadCountsOnlyUnrelatedUnfinishedWork) {
  activity_type* a = node("A");
  activity_type* b = node("B");  // after A, same resource: not competing
  activity_type* c = node("C");  // parallel: competing
  activity_type* d = node("D");  // parallel but finished
  activity_type* e = node("E");  // before A, same resource: not competing
  link(a, b);
  link(e, a);
  d->hasActualFinish = 1;
  assignment_type* r1 = assignmentCreateNew("R1");
  assignment_type* r2 = assignmentCreateNew("R2");
  assignments = {r1, r2};
  auto work = [&](assignment_type* r, activity_type* on, int minutes) {
    work_type* w = assignmentCreateWorkByActivity(r, on->name, log.f());
    setWorkDuration(w, minutes);
    setWorkProposedWork(w, minutes);
    setActivityAssignment(on, r, 0, log.f());
  };
  work(r1, a, 480);
  work(r1, b, 480);
  work(r1, c, 960);
  work(r1, d, 480);
  work(r1, e, 240);
  work(r2, a, 480);
  work(r2, c, 120);
  ASSERT_EQ(activityCalculateDelayParam(a, items, cal.sm(), kStart, kFinish, log.f()), 0);
  // R1 competes with C only (B follows A, E precedes it, D is finished);
  // R2 with C's 120 minutes.
  EXPECT_EQ(a->max_delay_param, 960);
  EXPECT_EQ(a->ext_delay_dur, 960 - 120);
}

TEST_F(Network, SuccessorsAreCollectedThroughItemsWithoutTheResource) {
  activity_type* a = node("A");
  activity_type* m = node("M");  // no work of R
  activity_type* z = node("Z");
  activity_type* f = node(kFinish, 0);
  link(a, m);
  link(m, z);
  link(z, f);
  assignment_type* r = assignmentCreateNew("R");
  assignments = {r};
  assignmentCreateWorkByActivity(r, "A", log.f());
  assignmentCreateWorkByActivity(r, "Z", log.f());
  assignmentCreateWorkByActivity(r, kFinish, log.f());
  setActivityAssignment(a, r, 0, log.f());
  linked_list_type* succs = ll_new(activityMatch, getActivityName);
  activityBuildSuccListByAllAssignments(a, items, succs, kFinish, log.f());
  ASSERT_EQ(ll_size(succs), 1);
  EXPECT_STREQ(static_cast<activity_type*>(succs->phead->pcontents)->name, "Z");
  linked_list_type* preds = ll_new(activityMatch, getActivityName);
  activityBuildPredListByAllAssignments(z, items, preds, kStart, log.f());
  EXPECT_EQ(ll_size(preds), 0);  // Z has no assignment of its own
  activityBuildPredListByAssignment(z, r, items, preds, kStart, log.f());
  ASSERT_EQ(ll_size(preds), 1);
  EXPECT_STREQ(static_cast<activity_type*>(preds->phead->pcontents)->name, "A");
  ll_delete(succs);
  ll_delete(preds);
}

// --- Read-only roll-up ---

struct Rolled {
  int seen;
  int32_t start, finish, duration, startTrun, finishTrun;
  int os, of, ost, oft;
};

Rolled rollUp(linked_list_type* items, activity_type* c) {
  Rolled r{};
  r.seen = activityMiniRollupDatesFromChildren(items, c, &r.start, &r.finish, &r.duration, &r.os,
                                               &r.of, &r.startTrun, &r.finishTrun, &r.ost, &r.oft,
                                               kFinish, nullptr);
  return r;
}

TEST_F(Network, RollUpTakesTheEarliestStartByTimeAndLeavesTheContainerAlone) {
  activity_type* c = node("C", 2);
  activity_type* k1 = node("K1");
  activity_type* k2 = node("K2");
  parentOf(c, k1);
  parentOf(c, k2);
  k1->start_date = k2->start_date = cal.first() + 10;
  k1->offset_start_time = 60;
  k2->offset_start_time = 30;
  k1->finish_date = cal.first() + 12;
  k2->finish_date = cal.first() + 12;
  k1->offset_finish_time = 0;
  k2->offset_finish_time = 100;
  const int32_t before = c->start_date;
  Rolled r = rollUp(items, c);
  EXPECT_EQ(r.seen, 1);
  EXPECT_EQ(r.start, cal.first() + 10);
  EXPECT_EQ(r.os, 30);
  EXPECT_EQ(r.finish, cal.first() + 12);
  EXPECT_EQ(r.of, 0);  // the later finish time wins
  EXPECT_EQ(r.duration, 3);
  EXPECT_EQ(c->start_date, before);
}

TEST_F(Network, ATaskUnderTheFinishNodeIsALeafWhoseCurrentDatesCount) {
  // Every leaf keeps the finish node as its child; its truncated dates are
  // stale once it moves, so they must not stand for it.
  activity_type* c = node("C", 2);
  activity_type* t = cal.item("T", 480, cal.first() + 100, cal.first() + 101, 0, 3);
  ll_addtail(items, t);
  parentOf(c, t);
  setActivityChild(t, kFinish, log.f());
  t->start_date = cal.first() + 110;
  t->finish_date = cal.first() + 111;
  Rolled r = rollUp(items, c);
  EXPECT_EQ(r.startTrun, cal.first() + 110);
  EXPECT_EQ(r.finishTrun, cal.first() + 111);
}

TEST_F(Network, AFinishedChildCountsForTheFinishOnly) {
  activity_type* c = node("C", 2);
  activity_type* k1 = node("K1");
  activity_type* k2 = node("K2");
  parentOf(c, k1);
  parentOf(c, k2);
  k1->start_date = cal.first() + 2;
  k1->finish_date = cal.first() + 20;
  k1->hasActualFinish = 1;
  k2->start_date = cal.first() + 5;
  k2->finish_date = cal.first() + 8;
  Rolled r = rollUp(items, c);
  EXPECT_EQ(r.start, cal.first() + 5);
  EXPECT_EQ(r.finish, cal.first() + 20);
  EXPECT_EQ(r.finishTrun, cal.first() + 20);
  EXPECT_EQ(r.startTrun, cal.first() + 5);
}

TEST_F(Network, AnOnlyChildHeldByAConstraintLeavesTheContainersOwnTruncatedDates) {
  activity_type* c = node("C", 2);
  c->start_date = cal.first() + 1;
  c->finish_date = cal.first() + 30;
  activity_type* k = node("K");
  parentOf(c, k);
  k->constraint_type = 5;
  k->start_date = cal.first() + 4;
  k->finish_date = cal.first() + 6;
  Rolled r = rollUp(items, c);
  EXPECT_EQ(r.startTrun, cal.first() + 1);
  EXPECT_EQ(r.finishTrun, cal.first() + 30);
  EXPECT_EQ(r.start, cal.first() + 4);
  // Without rollupFlag nothing is rolled up.
  c->rollupFlag = 0;
  r = rollUp(items, c);
  EXPECT_EQ(r.seen, 0);
  EXPECT_EQ(r.start, cal.first() + 1);
}

}  // namespace
}  // namespace schedtest
