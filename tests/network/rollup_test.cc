// Container roll-up, the update family and the ALAP family on hand-built
// networks (the builder is in forward_pass_test.cc). Day numbers are written
// as dates; offsets are minutes after the day's working start (start) or
// before its working end (finish).
#include <gtest/gtest.h>

#include <string>

#include "calendar/project.h"
#include "model/activity.h"
#include "network/forward_pass.h"
#include "network/rollup.h"
#include "pass_net.h"


namespace {

using namespace passtest;

void place(activity_type* a, int32_t start, int st, int32_t finish, int ft) {
  a->start_date = start;
  a->offset_start_time = static_cast<int16_t>(st);
  a->finish_date = finish;
  a->offset_finish_time = static_cast<int16_t>(ft);
  a->duration = finish - start + 1;
}

void rollup(Net* n, activity_type* cont, int forward = 1) {
  activityRollupDatesFromChildren(items(n), cont, sm(n), forward, 1, 1, "start", "finish",
                                  logOf(n));
}

// A box with two children, placed by hand.
struct Box {
  NetGuard g;
  activity_type* a;
  activity_type* b;
  activity_type* box;
  Box() {
    a = task(g.n, "A", 1, "Box");
    b = task(g.n, "B", 1, "Box");
    box = container(g.n, "Box", nullptr);
    seal(g.n);
  }
};

// ----- roll-up ----------------------------------------------------------------

TEST(Rollup, StartIsTheEarliestChildStartAndTiesGoToTheSmallerOffset) {
  Box x;
  const int32_t d10 = dayNum(2024, 1, 10);
  place(x.a, d10, 60, d10 + 1, 0);
  place(x.b, d10, 30, d10 + 3, 120);
  rollup(x.g.n, x.box);
  EXPECT_EQ(x.box->start_date, d10);
  EXPECT_EQ(x.box->offset_start_time, 30);
  EXPECT_EQ(x.box->finish_date, d10 + 3);
  EXPECT_EQ(x.box->offset_finish_time, 120);
  EXPECT_EQ(x.box->duration, 4);
  // Early fields follow in the forward direction, and the children's
  // distances to the box are refreshed.
  EXPECT_EQ(x.box->early_start_date, d10);
  EXPECT_EQ(x.a->offset_finish_date, 2);
  EXPECT_EQ(x.b->offset_start_date, 0);
}

TEST(Rollup, LatestFinishTiesGoToTheSmallerFinishOffset) {
  Box x;
  const int32_t d = dayNum(2024, 1, 10);
  place(x.a, d, 0, d + 2, 60);
  place(x.b, d, 0, d + 2, 240);
  rollup(x.g.n, x.box);
  EXPECT_EQ(x.box->offset_finish_time, 60);
}

TEST(Rollup, AFinishedChildCountsForTheFinishButNotTheStart) {
  Box x;
  const int32_t d = dayNum(2024, 1, 10);
  place(x.a, d - 5, 0, d + 6, 0);
  setActivityHasActualFinish(x.a, 1);
  place(x.b, d, 0, d + 1, 0);
  rollup(x.g.n, x.box);
  EXPECT_EQ(x.box->start_date, d);
  EXPECT_EQ(x.box->finish_date, d + 6);
}

TEST(Rollup, AContainerWhoseOnlyChildIsFixedKeepsItsOwnTruncatedStart) {
  NetGuard g;
  activity_type* only = task(g.n, "Only", 1, "Box");
  activity_type* box = container(g.n, "Box", nullptr);
  seal(g.n);
  const int32_t d = dayNum(2024, 1, 10);
  place(box, d - 3, 0, d - 3, 0);
  place(only, d, 0, d, 0);
  setActivityConstraintType(only, 5);
  rollup(g.n, box);
  EXPECT_EQ(box->start_date, d);
  EXPECT_EQ(box->start_date_trun, d - 3);
  EXPECT_EQ(box->finish_date_trun, d - 3);  // 5 holds the finish as well
}

TEST(Rollup, TruncatedDatesLeaveOutChildrenHeldByConstraints) {
  Box x;
  const int32_t d = dayNum(2024, 1, 10);
  place(x.a, d, 0, d + 1, 0);
  place(x.b, d + 3, 0, d + 8, 0);
  setActivityConstraintType(x.b, 4);  // fixed finish: neither truncated value
  rollup(x.g.n, x.box);
  EXPECT_EQ(x.box->finish_date, d + 8);
  EXPECT_EQ(x.box->finish_date_trun, d + 1);
  EXPECT_EQ(x.box->start_date_trun, d);
  EXPECT_EQ(x.b->offset_finish_date_trun, (d + 1) - (d + 8));
}

TEST(Rollup, AContainerWithoutRollupFlagOrFinishedKeepsItsDates) {
  Box x;
  const int32_t d = dayNum(2024, 1, 10);
  place(x.a, d, 0, d, 0);
  place(x.b, d, 0, d, 0);
  place(x.box, d - 9, 0, d - 9, 0);
  x.box->rollupFlag = 0;
  rollup(x.g.n, x.box);
  EXPECT_EQ(x.box->start_date, d - 9);
  x.box->rollupFlag = 1;
  setActivityHasActualFinish(x.box, 1);
  rollup(x.g.n, x.box);
  EXPECT_EQ(x.box->start_date, d - 9);
}

TEST(Rollup, SpecialRollupRollsInnerContainersFirst) {
  NetGuard g;
  activity_type* t = task(g.n, "T", 1, "Inner");
  activity_type* inner = container(g.n, "Inner", "Outer");
  activity_type* outer = container(g.n, "Outer", nullptr);
  seal(g.n);
  const int32_t d = dayNum(2024, 2, 5);
  place(t, d, 0, d + 2, 0);
  activitySpecialRollupDatesFromChildren(items(g.n), outer, sm(g.n), 1, 1, 1, "start", "finish",
                                         logOf(g.n));
  EXPECT_EQ(inner->start_date, d);
  EXPECT_EQ(outer->finish_date, d + 2);
}

TEST(Rollup, DynamicRollupRunsOnlyWhenFlaggedOrForcedAndClearsTheFlag) {
  NetGuard g;
  activity_type* t = task(g.n, "T", 1, "Inner");
  activity_type* inner = container(g.n, "Inner", "Outer");
  activity_type* outer = container(g.n, "Outer", nullptr);
  seal(g.n);
  const int32_t d = dayNum(2024, 2, 5);
  place(t, d, 0, d, 0);
  activitySpecRollDynam(items(g.n), outer, 1, 0, "start", "finish", logOf(g.n));
  EXPECT_EQ(outer->start_date, d);
  EXPECT_EQ(outer->early_start_date, d);  // always recorded
  EXPECT_EQ(outer->rollupFlagSpecial, 0);
  EXPECT_EQ(inner->rollupFlagSpecial, 0);
  // Without the flag nothing moves, forced it does (and the flag stays clear).
  place(t, d + 7, 0, d + 7, 0);
  activitySpecRollDynam(items(g.n), outer, 1, 0, "start", "finish", logOf(g.n));
  EXPECT_EQ(outer->start_date, d);
  activitySpecRollDynam(items(g.n), outer, 0, 1, "start", "finish", logOf(g.n));
  EXPECT_EQ(outer->start_date, d + 7);
  EXPECT_EQ(outer->late_start_date, d + 7);  // backward: late fields
  EXPECT_EQ(outer->rollupFlagSpecial, 0);
}

TEST(Rollup, RealigningAnItemFlagsItsAncestorsForTheDynamicRollup) {
  NetGuard g;
  activity_type* t = task(g.n, "T", 1, "Inner");
  activity_type* inner = container(g.n, "Inner", "Outer");
  activity_type* outer = container(g.n, "Outer", nullptr);
  seal(g.n);
  inner->rollupFlagSpecial = outer->rollupFlagSpecial = 0;
  ASSERT_EQ(doDynamAlignActWithPred(t, items(g.n), sm(g.n), "start", "finish", logOf(g.n)), 0);
  EXPECT_EQ(inner->rollupFlagSpecial, 1);
  EXPECT_EQ(outer->rollupFlagSpecial, 1);
}

// ----- the update family in the forward pass ------------------------------------

TEST(ContainerUpdate, ADrivenContainerMovesAChildWithoutPredecessorsAndKeepsItsOffset) {
  NetGuard g;
  task(g.n, "Gate", 3, nullptr);  // Mon..Wed
  task(g.n, "Free", 2, "Box");
  activity_type* box = container(g.n, "Box", nullptr);
  dep(g.n, "Gate", "Box", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  activity_type* free = item(g.n, "Free");
  EXPECT_EQ(startOf(box), "2024-01-04 08:00");
  EXPECT_EQ(startOf(free), "2024-01-04 08:00");
  EXPECT_EQ(finishOf(free), "2024-01-05 17:00");
  EXPECT_EQ(free->offset_start_date, 0);
  EXPECT_EQ(free->early_start_date, dayNum(2024, 1, 4));
}

TEST(ContainerUpdate, AChildWithItsOwnEarlierPredecessorStillFollowsItsContainer) {
  NetGuard g;
  task(g.n, "Early", 1, nullptr);
  task(g.n, "Gate", 4, nullptr);
  task(g.n, "Inner", 1, "Box");
  task(g.n, "Next", 1, "Box");
  activity_type* box = container(g.n, "Box", nullptr);
  dep(g.n, "Early", "Inner", 1, 0);
  dep(g.n, "Inner", "Next", 1, 0);
  dep(g.n, "Gate", "Box", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(box), "2024-01-05 08:00");
  EXPECT_EQ(startOf(item(g.n, "Inner")), "2024-01-05 08:00");
  EXPECT_EQ(startOf(item(g.n, "Next")), "2024-01-08 08:00");
  EXPECT_EQ(finishOf(box), "2024-01-08 17:00");
}

TEST(ContainerUpdate, NestedContainersCarryTheirChildrenAlong) {
  NetGuard g;
  task(g.n, "Gate", 2, nullptr);
  task(g.n, "Leaf", 1, "Inner");
  container(g.n, "Inner", "Outer");
  task(g.n, "Side", 2, "Outer");
  activity_type* outer = container(g.n, "Outer", nullptr);
  task(g.n, "After", 1, nullptr);
  dep(g.n, "Gate", "Outer", 1, 0);
  dep(g.n, "Outer", "After", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "Leaf")), "2024-01-03 08:00");
  EXPECT_EQ(startOf(item(g.n, "Inner")), "2024-01-03 08:00");
  EXPECT_EQ(finishOf(item(g.n, "Side")), "2024-01-04 17:00");
  EXPECT_EQ(finishOf(outer), "2024-01-04 17:00");
  EXPECT_EQ(startOf(item(g.n, "After")), "2024-01-05 08:00");
  EXPECT_EQ(startOf(item(g.n, "PRJ")), "2024-01-01 08:00");
}

TEST(ContainerUpdate, AFinishDrivenContainerKeepsItsChildrenAtTheirDistanceToItsFinish) {
  NetGuard g;
  task(g.n, "Gate", 5, nullptr);  // Mon..Fri
  task(g.n, "Two", 2, "Box");
  activity_type* box = container(g.n, "Box", nullptr);
  dep(g.n, "Gate", "Box", 0, 0);  // finish-to-finish
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(finishOf(box), "2024-01-05 17:00");
  EXPECT_EQ(startOf(item(g.n, "Two")), "2024-01-04 08:00");
  EXPECT_EQ(finishOf(item(g.n, "Two")), "2024-01-05 17:00");
}

TEST(ContainerUpdate, AFixedChildStaysWhenItsContainerMoves) {
  NetGuard g;
  task(g.n, "Gate", 3, nullptr);
  activity_type* fixed = task(g.n, "Fixed", 1, "Box");
  setActivityConstraintType(fixed, 5);
  setActivityConstraintDate(fixed, dayNum(2024, 1, 1));
  task(g.n, "Loose", 1, "Box");
  container(g.n, "Box", nullptr);
  dep(g.n, "Gate", "Box", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(fixed), "2024-01-01 08:00");
  EXPECT_EQ(startOf(item(g.n, "Loose")), "2024-01-04 08:00");
}

// ----- the ALAP family -----------------------------------------------------------

TEST(AlapFamily, HeldSuccessorsWinOverLaterFreeOnes) {
  NetGuard g;
  activity_type* alap = task(g.n, "Alap", 1, nullptr);
  setActivityConstraintType(alap, 1);
  activity_type* held = task(g.n, "Held", 1, nullptr);
  activity_type* free = task(g.n, "Free", 1, nullptr);
  dep(g.n, "Alap", "Held", 1, 0);
  dep(g.n, "Alap", "Free", 1, 0);
  seal(g.n);
  const int32_t mon = dayNum(2024, 1, 8);
  place(alap, dayNum(2024, 1, 1), 0, dayNum(2024, 1, 1), 0);
  place(held, mon + 2, 0, mon + 2, 0);  // Wednesday, start no later than it
  setActivityConstraintType(held, 7);
  setActivityConstraintDate(held, mon + 2);
  place(free, mon + 4, 0, mon + 4, 0);  // Friday
  ASSERT_EQ(adjustUpdateAlapPredToAllSucc(alap, items(g.n), sm(g.n), "start", "finish",
                                          logOf(g.n)),
            0);
  EXPECT_EQ(startOf(alap), "2024-01-09 08:00");  // the day before Held
  // Without the held successor the latest free one decides.
  setActivityConstraintType(held, 0);
  ASSERT_EQ(adjustUpdateAlapPredToAllSucc(alap, items(g.n), sm(g.n), "start", "finish",
                                          logOf(g.n)),
            0);
  EXPECT_EQ(startOf(alap), "2024-01-11 08:00");
}

TEST(AlapFamily, OnlyDatedSuccessorsPullAnAlapItemToTheirConstraints) {
  NetGuard g;
  activity_type* alap = task(g.n, "Alap", 1, nullptr);
  setActivityConstraintType(alap, 1);
  activity_type* plain = task(g.n, "Plain", 1, nullptr);
  dep(g.n, "Alap", "Plain", 1, 0);
  seal(g.n);
  const int32_t d = dayNum(2024, 1, 1);
  place(alap, d, 0, d, 0);
  place(plain, d + 9, 0, d + 9, 0);
  ASSERT_EQ(adjustUpdateAlapPredToSuccConstr(alap, items(g.n), sm(g.n), "start", "finish",
                                             logOf(g.n)),
            0);
  EXPECT_EQ(alap->start_date, d);  // no dated successor: stays
  setActivityConstraintType(plain, 5);
  setActivityConstraintDate(plain, d + 9);
  ASSERT_EQ(adjustUpdateAlapPredToSuccConstr(alap, items(g.n), sm(g.n), "start", "finish",
                                             logOf(g.n)),
            0);
  EXPECT_EQ(startOf(alap), "2024-01-09 08:00");
}

TEST(AlapFamily, AnAlapItemNeverMovesEarlier) {
  NetGuard g;
  activity_type* alap = task(g.n, "Alap", 1, nullptr);
  setActivityConstraintType(alap, 1);
  activity_type* s = task(g.n, "S", 1, nullptr);
  dep(g.n, "Alap", "S", 1, 0);
  seal(g.n);
  const int32_t d = dayNum(2024, 1, 10);
  place(alap, d, 0, d, 0);
  place(s, d - 5, 0, d - 5, 0);
  ASSERT_EQ(adjustUpdateAlapPredToAllSucc(alap, items(g.n), sm(g.n), "start", "finish",
                                          logOf(g.n)),
            0);
  EXPECT_EQ(alap->start_date, d);
}

TEST(AlapFamily, AFinishedAlapItemIsNotMoved) {
  NetGuard g;
  activity_type* alap = task(g.n, "Alap", 1, nullptr);
  setActivityConstraintType(alap, 1);
  activity_type* s = task(g.n, "S", 1, nullptr);
  dep(g.n, "Alap", "S", 1, 0);
  seal(g.n);
  const int32_t d = dayNum(2024, 1, 1);
  place(alap, d, 0, d, 0);
  place(s, d + 9, 0, d + 9, 0);
  setActivityHasActualFinish(alap, 1);
  ASSERT_EQ(adjustUpdateAlapPredToSuccHardConstr(s, alap, items(g.n), sm(g.n), "start", "finish",
                                                 logOf(g.n)),
            0);
  EXPECT_EQ(alap->start_date, d);
}

}  // namespace
