// Forward pass scenarios on hand-built networks, and the definition of the
// network builder the pass tests share (declared in pass_net.h).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/dependency.h"
#include "model/serial_names.h"
#include "network/backward_pass.h"
#include "network/forward_pass.h"
#include "network/settle.h"
#include "network/slack.h"
#include "schedule/placement.h"
#include "pass_net.h"

namespace passtest {

const int kOrigin = dayOfYearToJulian(1950, 1, 1);

int32_t dayNum(int y, int m, int d) { return dayOfYearToJulian(y, m, d) - kOrigin; }

struct Net {
  project_type* proj = nullptr;
  storage_manager_type* sm = nullptr;
  FILE* log = nullptr;
  linked_list_type* items = nullptr;    // the item list: owns every record
  linked_list_type* ordered = nullptr;  // the network order
  linked_list_type* roots = nullptr;
  linked_list_type* copies = nullptr;   // backward-pass copies: owned
  linked_list_type* back = nullptr;     // backward order over the copies
  linked_list_type* level = nullptr;    // level order over the copies
  activity_type* startNode = nullptr;
  activity_type* finishNode = nullptr;
  activity_type* root = nullptr;
  std::vector<activity_type*> order;               // tasks and containers, as given
  std::map<std::string, std::string> parentOf;     // name -> parent name
  int nextBranch = 1;
};

namespace {

void setWeek(project_type* p) {
  unsigned char day[DAY_BITS_BYTES];
  std::memcpy(day, dayBitsDefault8H, DAY_BITS_BYTES);
  char work[DAY_BITS_HEX_DIGITS + 1];
  char none[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(day, work);
  std::memset(day, 0, DAY_BITS_BYTES);
  Lev_splitSchedBitsInTwo(day, none);
  for (int w = 1; w <= 7; ++w) setProjectBitsForDaysOfWeek(p, w, (w == 1 || w == 7) ? none : work);
}

linked_list_type* newItemList() { return ll_new(activityMatch, getActivityName); }

void deleteItems(linked_list_type* list) {
  if (list == nullptr) return;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    activityDelete(static_cast<activity_type*>(l->pcontents));
  }
  ll_delete(list);
}

}  // namespace

Net* newNet(int calendarDays, int daysBefore) {
  Net* n = new Net;
  n->log = std::tmpfile();
  n->proj = projectCreateNew("PRJ");
  n->sm = smanagerCreateNew();
  project_type* p = n->proj;
  setProjectJulianDateOrigin(p, kOrigin);
  setWeek(p);
  // The calendar begins a month before the project, so that a dependency
  // may point before the project's first day without growing it.
  const int32_t first = dayNum(2024, 1, 1);
  const int32_t calendarFirst = first - daysBefore;
  setProjectFirstDay(p, calendarFirst);
  // Weekdays 1 = Sunday .. 7 = Saturday; 2024-01-01 is a Monday (2).
  setProjectFirstDayOfWeek(p, static_cast<int16_t>(((1 - daysBefore) % 7 + 7) % 7 + 1));
  setProjectSizeOfCalendar(p, calendarDays);
  setProjectMinutesPerDay(p, 480);
  setProjectCreateDate(p, first);
  setProjectCurrentDate(p, first);
  setProjectStartDate(p, first);
  setProjectFinishDate(p, calendarFirst + calendarDays - 1);
  n->items = newItemList();
  n->ordered = newItemList();
  n->roots = newItemList();
  n->root = activityCreateNew("PRJ", 1, p, first, first, 100 * 480, 0, 0);
  return n;
}

void deleteNet(Net* n) {
  // The item list owns the records once sealed; before, `order` does.
  if (ll_size(n->items) > 0) {
    deleteItems(n->items);
  } else {
    for (activity_type* a : n->order) activityDelete(a);
    activityDelete(n->root);
    ll_delete(n->items);
  }
  ll_delete(n->ordered);
  ll_delete(n->roots);
  deleteItems(n->copies);
  ll_delete(n->back);
  ll_delete(n->level);
  smanagerDelete(n->sm);
  projectDelete(n->proj);
  if (n->log != nullptr) std::fclose(n->log);
  delete n;
}

activity_type* task(Net* n, const char* name, int days, const char* parent) {
  const int32_t first = n->proj->create_date;
  activity_type* a = activityCreateNew(name, 3, n->proj, first, first + days - 1, days * 480, 0, 0);
  activityScheduleFromStartDateBasedOnProjectCalendar(a, n->sm, n->log);
  setActivityOriginalDuration(a, a->duration);
  n->order.push_back(a);
  n->parentOf[name] = parent != nullptr ? parent : "PRJ";
  return a;
}

activity_type* taskMinutes(Net* n, const char* name, int minutes, const char* parent) {
  const int32_t first = n->proj->create_date;
  const int days = (minutes + 479) / 480;
  activity_type* a = activityCreateNew(name, 3, n->proj, first, first + days - 1, minutes, 0, 0);
  activityScheduleFromStartDateBasedOnProjectCalendar(a, n->sm, n->log);
  setActivityOriginalDuration(a, a->duration);
  n->order.push_back(a);
  n->parentOf[name] = parent != nullptr ? parent : "PRJ";
  return a;
}

activity_type* container(Net* n, const char* name, const char* parent) {
  const int32_t first = n->proj->create_date;
  // A summary item carries the effort of its children (here: some days).
  activity_type* a = activityCreateNew(name, 2, n->proj, first, first, 10 * 480, 0, 0);
  setActivityBrunchInd(a, n->nextBranch++);
  n->order.push_back(a);
  n->parentOf[name] = parent != nullptr ? parent : "PRJ";
  return a;
}

void dep(Net* n, const char* pred, const char* succ, int type, int lagMinutes) {
  activity_type* p = nullptr;
  activity_type* s = nullptr;
  for (activity_type* a : n->order) {
    if (std::strcmp(a->name, pred) == 0) p = a;
    if (std::strcmp(a->name, succ) == 0) s = a;
  }
  ASSERT_NE(p, nullptr) << pred;
  ASSERT_NE(s, nullptr) << succ;
  activityCreatePred(s, pred, static_cast<int16_t>(type), 0, lagMinutes, n->log);
  activityCreateSucc(p, succ, static_cast<int16_t>(type), 0, lagMinutes, n->log);
}

activity_type* item(Net* n, const char* name) {
  return static_cast<activity_type*>(ll_extract(n->items, name));
}

activity_type* copy(Net* n, const char* name) {
  return n->copies != nullptr ? static_cast<activity_type*>(ll_extract(n->copies, name)) : nullptr;
}

void seal(Net* n) {
  const int32_t first = n->proj->create_date;
  n->startNode = activityCreateNew("start", 0, nullptr, first - 1, first - 1, 0, 0, 0);
  n->finishNode = activityCreateNew("finish", 0, nullptr, first - 1, first - 1, 0, 0, 0);
  std::vector<activity_type*> all;
  all.push_back(n->startNode);
  for (activity_type* a : n->order) all.push_back(a);
  all.push_back(n->root);
  all.push_back(n->finishNode);
  for (activity_type* a : all) {
    ll_addtail(n->items, a);
    ll_addtail(n->ordered, a);
  }
  ll_addtail(n->roots, n->root);
  setActivityParent(n->root, "start", n->log);
  setActivityChild(n->startNode, "PRJ", n->log);
  for (activity_type* a : n->order) {
    const std::string& parent = n->parentOf[a->name];
    setActivityParent(a, parent.c_str(), n->log);
    setActivityChild(item(n, parent.c_str()), a->name, n->log);
  }
  for (activity_type* a : all) {
    if (a == n->startNode || a == n->finishNode) continue;
    if (a->type == 3) {
      setActivityChild(a, "finish", n->log);
      setActivityParent(n->finishNode, a->name, n->log);
    }
    if (ll_size(a->pred_list) == 0) {
      activityCreatePred(a, "start", 1, 0, 0, n->log);
      activityCreateSucc(n->startNode, a->name, 1, 0, 0, n->log);
    }
    if (ll_size(a->succ_list) == 0) {
      activityCreateSucc(a, "finish", 0, 0, 0, n->log);
      activityCreatePred(n->finishNode, a->name, 0, 0, 0, n->log);
    }
  }
  int serial = 0;
  for (activity_type* a : all) setActivitySerialNum(a, serial++);
}

int runForward(Net* n) {
  int rc = doFinAlignActivitiesFrwdPass(n->roots, n->ordered, n->ordered, n->items, n->sm, 1, 1, 1,
                                        n->log);
  setNetworkNodesFromRoots(n->roots, n->ordered, nullptr, "start", "finish");
  return rc;
}

namespace {

// Every copy after its successors and after its children; among the ready
// ones the latest in network order first.
void buildBackwardOrder(Net* n) {
  std::map<std::string, int> waiting;  // successors and children not yet placed
  std::vector<activity_type*> copies;
  for (linktype* l = n->copies->phead; l != nullptr; l = l->pnext) {
    copies.push_back(static_cast<activity_type*>(l->pcontents));
  }
  for (activity_type* c : copies) {
    int count = 0;
    for (linktype* l = c->succ_list->phead; l != nullptr; l = l->pnext) ++count;
    for (linktype* l = c->child_list->phead; l != nullptr; l = l->pnext) ++count;
    waiting[c->name] = count;
  }
  std::vector<activity_type*> done;
  std::vector<bool> placed(copies.size(), false);
  for (size_t round = 0; round < copies.size(); ++round) {
    for (size_t i = copies.size(); i-- > 0;) {
      activity_type* c = copies[i];
      if (placed[i] || waiting[c->name] != 0) continue;
      placed[i] = true;
      done.push_back(c);
      for (linktype* l = c->pred_list->phead; l != nullptr; l = l->pnext) {
        --waiting[static_cast<dependency_type*>(l->pcontents)->name];
      }
      for (linktype* l = c->parent_list->phead; l != nullptr; l = l->pnext) {
        --waiting[static_cast<string_type*>(l->pcontents)->str];
      }
      break;
    }
  }
  for (activity_type* c : done) ll_addtail(n->back, c);
}

}  // namespace

int runBackward(Net* n, bool dynamicRepass) {
  activity_type* fin = n->finishNode;
  n->proj->finish_date = fin->finish_date;
  n->copies = newItemList();
  n->back = newItemList();
  n->level = newItemList();
  for (linktype* l = n->ordered->phead; l != nullptr; l = l->pnext) {
    activity_type* c = activityCopyCreateNew(static_cast<activity_type*>(l->pcontents), n->log);
    ll_addtail(n->copies, c);
    ll_addtail(n->level, c);
  }
  buildBackwardOrder(n);
  int rc = doFinAlignActivitiesBcwdPass(n->roots, n->back, n->copies, n->copies, n->sm, 1, 1, 1,
                                        n->log);
  if (rc == 0 && dynamicRepass) {
    rc = doRunBcwdDynamicRepasNetTree(n->level, n->copies, n->sm, "start", "finish", 0, n->log);
  }
  if (rc != 0) return rc;
  activitySpecRollDynam(n->copies, copy(n, "PRJ"), 0, 1, "start", "finish", n->log);
  for (linktype* l = n->copies->phead; l != nullptr; l = l->pnext) {
    activity_type* c = static_cast<activity_type*>(l->pcontents);
    activityCopyLaterDates(c, item(n, c->name));
  }
  return doUpdateActivitiesSlackValuesNetworkTree(n->back, n->copies, n->ordered, n->sm, 0,
                                                  "start", "finish", n->log);
}

linked_list_type* items(Net* n) { return n->items; }

linked_list_type* ordered(Net* n) { return n->ordered; }
linked_list_type* roots(Net* n) { return n->roots; }
linked_list_type* copies(Net* n) { return n->copies; }
linked_list_type* backOrder(Net* n) { return n->back; }
linked_list_type* levelOrder(Net* n) { return n->level; }
project_type* project(Net* n) { return n->proj; }
storage_manager_type* sm(Net* n) { return n->sm; }
FILE* logOf(Net* n) { return n->log; }

std::string logText(Net* n) {
  std::string out;
  std::fflush(n->log);
  long end = std::ftell(n->log);
  std::rewind(n->log);
  out.resize(static_cast<size_t>(end));
  out.resize(std::fread(out.data(), 1, out.size(), n->log));
  std::fseek(n->log, 0, SEEK_END);
  return out;
}

std::string moment(const activity_type* a, int32_t day, int clock) {
  int y = 0, m = 0, d = 0;
  julianToDate(day + kOrigin, &y, &m, &d);
  (void)a;
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d", y, m, d, clock / 60, clock % 60);
  return buf;
}

std::string startOf(const activity_type* a) {
  return moment(a, a->start_date,
                getProjectStartTimeMinutesForGivenJulianDate(a, a->start_date) +
                    a->offset_start_time);
}

std::string finishOf(const activity_type* a) {
  return moment(a, a->finish_date,
                getProjectFinishTimeMinutesForGivenJulianDate(a, a->finish_date) -
                    a->offset_finish_time);
}

std::string lateFinishOf(const activity_type* a) {
  return moment(a, a->late_finish_date,
                getProjectFinishTimeMinutesForGivenJulianDate(a, a->late_finish_date) -
                    a->lf_offset_finish_time);
}

std::string lateStartOf(const activity_type* a) {
  return moment(a, a->late_start_date,
                getProjectStartTimeMinutesForGivenJulianDate(a, a->late_start_date) +
                    a->ls_offset_start_time);
}

}  // namespace passtest

namespace {

using namespace passtest;

// ----- chains, fan-in, fan-out ------------------------------------------------

TEST(ForwardChain, EachTaskStartsAtTheNextWorkingStartAfterItsPredecessor) {
  NetGuard g;
  task(g.n, "A", 3, nullptr);  // Mon..Wed
  task(g.n, "B", 3, nullptr);  // Thu, Fri, Mon
  task(g.n, "C", 1, nullptr);  // Tue
  dep(g.n, "A", "B", 1, 0);
  dep(g.n, "B", "C", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "A")), "2024-01-01 08:00");
  EXPECT_EQ(finishOf(item(g.n, "A")), "2024-01-03 17:00");
  EXPECT_EQ(startOf(item(g.n, "B")), "2024-01-04 08:00");
  EXPECT_EQ(finishOf(item(g.n, "B")), "2024-01-08 17:00");  // over the weekend
  EXPECT_EQ(startOf(item(g.n, "C")), "2024-01-09 08:00");
  // The project item spans its children, the early fields follow.
  activity_type* prj = item(g.n, "PRJ");
  EXPECT_EQ(startOf(prj), "2024-01-01 08:00");
  EXPECT_EQ(finishOf(prj), "2024-01-09 17:00");
  EXPECT_EQ(item(g.n, "C")->early_finish_date, item(g.n, "C")->finish_date);
  // The finish node carries the latest root finish, the start node the day before.
  EXPECT_EQ(g.n->finishNode->finish_date, prj->finish_date);
  EXPECT_EQ(g.n->startNode->start_date, prj->start_date - 1);
}

TEST(ForwardFanIn, TheLatestPredecessorDrivesAndIsTheOnlyActiveEntry) {
  NetGuard g;
  task(g.n, "Short", 1, nullptr);
  task(g.n, "Long", 4, nullptr);
  task(g.n, "Mid", 2, nullptr);
  task(g.n, "Join", 1, nullptr);
  dep(g.n, "Short", "Join", 1, 0);
  dep(g.n, "Long", "Join", 1, 0);
  dep(g.n, "Mid", "Join", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  activity_type* join = item(g.n, "Join");
  EXPECT_EQ(startOf(join), "2024-01-05 08:00");
  int active = 0;
  for (linktype* l = join->pred_list->phead; l != nullptr; l = l->pnext) {
    const dependency_type* d = static_cast<dependency_type*>(l->pcontents);
    if (d->isActive) {
      ++active;
      EXPECT_STREQ(d->name, "Long");
    }
  }
  EXPECT_EQ(active, 1);
  EXPECT_EQ(join->onDepTypeFrwd, 1);
}

TEST(ForwardFanIn, OnAFullTieTheFirstPredecessorInTheListDrives) {
  NetGuard g;
  task(g.n, "P1", 2, nullptr);
  task(g.n, "P2", 2, nullptr);
  task(g.n, "S", 1, nullptr);
  dep(g.n, "P1", "S", 1, 0);
  dep(g.n, "P2", "S", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  activity_type* s = item(g.n, "S");
  const dependency_type* first = static_cast<dependency_type*>(s->pred_list->phead->pcontents);
  const dependency_type* second = static_cast<dependency_type*>(s->pred_list->ptail->pcontents);
  EXPECT_EQ(first->isActive, 1);
  EXPECT_EQ(second->isActive, 0);
}

TEST(ForwardFanOut, EverySuccessorOfOneItemStartsAfterIt) {
  NetGuard g;
  task(g.n, "Root", 2, nullptr);
  task(g.n, "X", 1, nullptr);
  task(g.n, "Y", 5, nullptr);
  dep(g.n, "Root", "X", 1, 0);
  dep(g.n, "Root", "Y", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "X")), "2024-01-03 08:00");
  EXPECT_EQ(startOf(item(g.n, "Y")), "2024-01-03 08:00");
  EXPECT_EQ(finishOf(item(g.n, "Y")), "2024-01-09 17:00");
}

// ----- dependency types, lags and leads ---------------------------------------

struct TypeCase {
  const char* name;
  int type;
  int lag;
  const char* start;
  const char* finish;
};

class ForwardDependencyTypes : public ::testing::TestWithParam<TypeCase> {};

// P runs Mon 2024-01-01 08:00 .. Tue 17:00 (2 days); S has 1 day of effort.
TEST_P(ForwardDependencyTypes, SuccessorIsPlacedWhereTheDependencyAllows) {
  const TypeCase& c = GetParam();
  NetGuard g;
  task(g.n, "P", 2, nullptr);
  task(g.n, "S", 1, nullptr);
  dep(g.n, "P", "S", c.type, c.lag);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "S")), c.start);
  EXPECT_EQ(finishOf(item(g.n, "S")), c.finish);
}

INSTANTIATE_TEST_SUITE_P(
    AllTypes, ForwardDependencyTypes,
    ::testing::Values(
        TypeCase{"FS", 1, 0, "2024-01-03 08:00", "2024-01-03 17:00"},
        TypeCase{"FSLagOneDay", 1, 480, "2024-01-04 08:00", "2024-01-04 17:00"},
        TypeCase{"FSLagTwoHours", 1, 120, "2024-01-03 10:00", "2024-01-04 10:00"},
        TypeCase{"FSLeadOneDay", 1, -480, "2024-01-02 08:00", "2024-01-02 17:00"},
        TypeCase{"SS", 3, 0, "2024-01-01 08:00", "2024-01-01 17:00"},
        TypeCase{"SSLagOneDay", 3, 480, "2024-01-02 08:00", "2024-01-02 17:00"},
        TypeCase{"FF", 0, 0, "2024-01-02 08:00", "2024-01-02 17:00"},
        TypeCase{"FFLagOneDay", 0, 480, "2024-01-03 08:00", "2024-01-03 17:00"},
        TypeCase{"SFLagTwoDays", 2, 960, "2024-01-02 08:00", "2024-01-02 17:00"}),
    [](const ::testing::TestParamInfo<TypeCase>& i) { return std::string(i.param.name); });

// ----- constraints ------------------------------------------------------------

struct ConstraintCase {
  const char* name;
  int16_t type;
  int32_t date;  // constraint day
  const char* start;
};

class ForwardConstraints : public ::testing::TestWithParam<ConstraintCase> {};

// A 2-day task after a 2-day predecessor (free from Wed 2024-01-03 on).
TEST_P(ForwardConstraints, ConstraintBoundsTheStart) {
  const ConstraintCase& c = GetParam();
  NetGuard g;
  task(g.n, "P", 2, nullptr);
  activity_type* s = task(g.n, "S", 2, nullptr);
  setActivityConstraintType(s, c.type);
  setActivityConstraintDate(s, c.date);
  dep(g.n, "P", "S", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "S")), c.start);
}

INSTANTIATE_TEST_SUITE_P(
    AllCodes, ForwardConstraints,
    ::testing::Values(
        // 2: finish no earlier than Fri 01-12: the finish is raised to it.
        ConstraintCase{"FinishNoEarlier", 2, dayNum(2024, 1, 12), "2024-01-11 08:00"},
        // 3: finish no later than Thu 01-04: the predecessor's Wed start fits.
        ConstraintCase{"FinishNoLaterMet", 3, dayNum(2024, 1, 10), "2024-01-03 08:00"},
        // 3 with a date before the candidate finish: the finish is pulled to it.
        ConstraintCase{"FinishNoLaterPulls", 3, dayNum(2024, 1, 3), "2024-01-02 08:00"},
        // 4: finish on Tue 01-16.
        ConstraintCase{"FinishOn", 4, dayNum(2024, 1, 16), "2024-01-15 08:00"},
        // 5: start on Mon 01-08 although the predecessor allows Wed 01-03.
        ConstraintCase{"StartOn", 5, dayNum(2024, 1, 8), "2024-01-08 08:00"},
        // 6: start no earlier than Tue 01-09.
        ConstraintCase{"StartNoEarlier", 6, dayNum(2024, 1, 9), "2024-01-09 08:00"},
        // 7: start no later than Tue 01-02: the start is pulled back to it.
        ConstraintCase{"StartNoLater", 7, dayNum(2024, 1, 2), "2024-01-02 08:00"},
        // 0: as soon as possible.
        ConstraintCase{"AsSoonAsPossible", 0, 0, "2024-01-03 08:00"}),
    [](const ::testing::TestParamInfo<ConstraintCase>& i) { return std::string(i.param.name); });

TEST(ForwardWithoutPredecessors, StartsOnTheEarliestCreationDateRaisedToItsEarliestStart) {
  NetGuard g;
  task(g.n, "Free", 1, nullptr);
  activity_type* late = task(g.n, "Late", 1, nullptr);
  setActivityConstraintType(late, 6);
  setActivityConstraintDate(late, dayNum(2024, 1, 10));
  seal(g.n);
  g.n->proj->current_date = dayNum(2024, 1, 3);  // earliest allowed start
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "Free")), "2024-01-03 08:00");
  EXPECT_EQ(startOf(item(g.n, "Late")), "2024-01-10 08:00");
}

// ----- ALAP -------------------------------------------------------------------

TEST(ForwardAlap, AnAlapItemWithASuccessorEndsRightBeforeIt) {
  NetGuard g;
  task(g.n, "Long", 5, nullptr);
  activity_type* alap = task(g.n, "Alap", 1, nullptr);
  setActivityConstraintType(alap, 1);
  task(g.n, "Join", 1, nullptr);
  dep(g.n, "Long", "Join", 1, 0);
  dep(g.n, "Alap", "Join", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "Join")), "2024-01-08 08:00");
  EXPECT_EQ(startOf(item(g.n, "Alap")), "2024-01-05 08:00");
  EXPECT_EQ(finishOf(item(g.n, "Alap")), "2024-01-05 17:00");
}

TEST(ForwardAlap, AnAlapItemWithTwoSuccessorsKeepsBeforeTheEarlierOne) {
  NetGuard g;
  task(g.n, "Gate1", 2, nullptr);
  task(g.n, "Gate2", 6, nullptr);
  activity_type* alap = task(g.n, "Alap", 1, nullptr);
  setActivityConstraintType(alap, 1);
  task(g.n, "S1", 1, nullptr);
  task(g.n, "S2", 1, nullptr);
  dep(g.n, "Gate1", "S1", 1, 0);
  dep(g.n, "Gate2", "S2", 1, 0);
  dep(g.n, "Alap", "S1", 1, 0);
  dep(g.n, "Alap", "S2", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "S1")), "2024-01-03 08:00");
  EXPECT_EQ(finishOf(item(g.n, "Alap")), "2024-01-02 17:00");
}

TEST(ForwardAlap, AnAlapLeafWithoutSuccessorsEndsWithItsBranchThatHasOne) {
  NetGuard g;
  task(g.n, "Pre", 1, nullptr);
  task(g.n, "Work", 4, "Phase");
  activity_type* alap = task(g.n, "Wrap", 1, "Phase");
  setActivityConstraintType(alap, 1);
  container(g.n, "Phase", nullptr);
  task(g.n, "After", 1, nullptr);
  dep(g.n, "Pre", "Wrap", 1, 0);
  dep(g.n, "Phase", "After", 1, 0);
  seal(g.n);
  // The branch's finish is known from an earlier scheduling.
  activity_type* phase = item(g.n, "Phase");
  phase->finish_date = dayNum(2024, 1, 4);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(finishOf(item(g.n, "Wrap")), "2024-01-04 17:00");
  EXPECT_EQ(finishOf(phase), "2024-01-04 17:00");
}

// ----- actuals and outside items ------------------------------------------------

TEST(ForwardActuals, AFinishedTaskIsNotMovedAndItsSuccessorStartsNoEarlierThanToday) {
  NetGuard g;
  activity_type* done = task(g.n, "Done", 2, nullptr);
  task(g.n, "Next", 1, nullptr);
  dep(g.n, "Done", "Next", 1, 0);
  seal(g.n);
  setActivityHasActualStart(done, 1);
  setActivityHasActualFinish(done, 1);
  g.n->proj->current_date = dayNum(2024, 1, 10);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(done), "2024-01-01 08:00");
  EXPECT_EQ(startOf(item(g.n, "Next")), "2024-01-10 08:00");
}

TEST(ForwardActuals, ATaskInProgressResumesOnItsLastActualDay) {
  NetGuard g;
  task(g.n, "Pre", 1, nullptr);
  activity_type* going = task(g.n, "Going", 2, nullptr);
  setActivityConstraintType(going, 3);  // finish no later than: LS_act_date applies
  setActivityConstraintDate(going, dayNum(2024, 3, 1));
  dep(g.n, "Pre", "Going", 1, 0);
  seal(g.n);
  setActivityHasActualStart(going, 1);
  going->LS_act_date = dayNum(2024, 1, 8);
  going->LS_act_time = 60;
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  // 960 minutes from Monday 09:00: 420 on Monday, 480 on Tuesday, 60 on Wednesday.
  EXPECT_EQ(startOf(going), "2024-01-08 09:00");
  EXPECT_EQ(finishOf(going), "2024-01-10 09:00");
}

TEST(ForwardOutside, ASuccessorOfAnOutsideItemStartsNoEarlierThanToday) {
  NetGuard g;
  activity_type* outside = task(g.n, "Other", 1, nullptr);
  task(g.n, "Mine", 1, nullptr);
  dep(g.n, "Other", "Mine", 1, 0);
  seal(g.n);
  outside->isExternalPred = 1;  // an item of another project: never placed
  g.n->proj->current_date = dayNum(2024, 1, 15);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(outside), "2024-01-01 08:00");
  EXPECT_EQ(startOf(item(g.n, "Mine")), "2024-01-15 08:00");
}

// ----- the dynamic realignment ---------------------------------------------------

TEST(DynamicRealignment, ASuccessorFollowsItsLevelledPredecessor) {
  NetGuard g;
  activity_type* a = task(g.n, "A", 2, nullptr);
  task(g.n, "B", 1, nullptr);
  dep(g.n, "A", "B", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  // Levelling put A three days later.
  a->start_date += 3;
  a->finish_date += 3;
  activity_type* b = item(g.n, "B");
  ASSERT_EQ(doDynamAlignActWithPred(b, g.n->items, g.n->sm, "start", "finish", g.n->log), 0);
  EXPECT_EQ(startOf(b), "2024-01-08 08:00");
  // Early fields stay those of the static pass.
  EXPECT_EQ(b->early_start_date, dayNum(2024, 1, 3));
}

TEST(DynamicRealignment, AnItemNeverStartsBeforeItsParent) {
  NetGuard g;
  task(g.n, "Inner", 1, "Box");
  container(g.n, "Box", nullptr);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  activity_type* box = item(g.n, "Box");
  box->start_date = dayNum(2024, 1, 9);
  activity_type* inner = item(g.n, "Inner");
  ASSERT_EQ(doDynamAlignActWithPred(inner, g.n->items, g.n->sm, "start", "finish", g.n->log), 0);
  EXPECT_EQ(startOf(inner), "2024-01-09 08:00");
}

TEST(DynamicRealignment, AFinishedItemIsLeftAlone) {
  NetGuard g;
  activity_type* a = task(g.n, "A", 1, nullptr);
  seal(g.n);
  setActivityHasActualFinish(a, 1);
  a->start_date = a->finish_date = dayNum(2023, 12, 20);
  ASSERT_EQ(doDynamAlignActWithPred(a, g.n->items, g.n->sm, "start", "finish", g.n->log), 0);
  EXPECT_EQ(a->start_date, dayNum(2023, 12, 20));
}

}  // namespace

// ----- the dynamic forward re-pass (reads the work table) -------------------------

#include "support/test_db.h"

namespace {

using namespace passtest;

// The work-table rows of the network's items, in the given level order.
void workRows(testing::TestDb& db, std::initializer_list<const char*> ids) {
  db.row("NAV_TMP_PROJECTS_00", {{"ELEMENT_ID", "PRJ"}, {"PRIORITY", "500"}});
  int index = 0;
  for (const char* id : ids) {
    db.row("Lev_kor_wbs", {{"PROJECT_ID", "PRJ"},
                           {"ELEMENT_ID", id},
                           {"LEVEL_INDEX", std::to_string(index++)}});
  }
}

struct Message {
  char workflow[33] = {};
  char text[16385] = {};
};

int repass(Net* n, Message& m, int optionUids, int assignments) {
  return doRunFrwdDynamicRepasNetTree(n->items, n->sm, optionUids, assignments, "start", "finish",
                                      m.workflow, m.text, "Levelling PRJ", "PRJ", "user1", 1, 1,
                                      n->log);
}

TEST(DynamicRepass, RealignsEveryItemInPriorityOrder) {
  testing::TestDb db;
  workRows(db, {"A", "B", "C"});
  NetGuard g;
  activity_type* a = task(g.n, "A", 2, nullptr);
  task(g.n, "B", 1, nullptr);
  task(g.n, "C", 1, nullptr);
  dep(g.n, "A", "B", 1, 0);
  dep(g.n, "B", "C", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  // Stale dates: each item is realigned after its predecessor.
  for (const char* id : {"A", "B", "C"}) {
    activity_type* x = item(g.n, id);
    x->finish_date += dayNum(2024, 2, 5) - x->start_date;
    x->start_date = dayNum(2024, 2, 5);
  }
  Message m;
  ASSERT_EQ(repass(g.n, m, 0, 0), 0) << logText(g.n);
  EXPECT_EQ(startOf(a), "2024-01-01 08:00");
  EXPECT_EQ(startOf(item(g.n, "B")), "2024-01-03 08:00");
  EXPECT_EQ(startOf(item(g.n, "C")), "2024-01-04 08:00");
  EXPECT_NE(logText(g.n).find("Dynamic forward re-pass: C"), std::string::npos);
}

TEST(DynamicRepass, AFinishedTaskWithAnOpenAssignmentIsReportedAndTheAssignmentIgnored) {
  testing::TestDb db;
  workRows(db, {"A", "B"});
  db.row("TASK_ASSIGNMENTS", {{"TSK_ASSIGNMENT_ID", "AS1"},
                              {"PROJECT_ID", "PRJ"},
                              {"TASK_ID", "A"},
                              {"RESOURCE_ID", "R1"},
                              {"ETC", "120"}});
  NetGuard g;
  activity_type* a = task(g.n, "A", 2, nullptr);
  task(g.n, "B", 1, nullptr);
  seal(g.n);
  setActivityHasActualFinish(a, 1);
  Message m;
  std::strcpy(m.text, "earlier text");
  ASSERT_EQ(repass(g.n, m, 0, 1), 0) << logText(g.n);
  const std::string log = logText(g.n);
  EXPECT_NE(log.find("error(D-6)"), std::string::npos);
  EXPECT_NE(log.find("(critical) task has 'actual finish' in 'KOR_WBS' but not in "
                     "'TASK_ASSIGNMENTS' table"),
            std::string::npos);
  EXPECT_NE(std::string(m.text).find("error(D-6)"), std::string::npos);
  EXPECT_NE(std::string(m.text).find("earlier text"), std::string::npos);
}

TEST(DynamicRepass, AnAssignmentThatTheTaskDoesNotHaveIsIgnored) {
  testing::TestDb db;
  workRows(db, {"A"});
  db.row("TASK_ASSIGNMENTS", {{"TSK_ASSIGNMENT_ID", "AS1"},
                              {"PROJECT_ID", "PRJ"},
                              {"TASK_ID", "A"},
                              {"RESOURCE_ID", "R9"},
                              {"ETC", "120"}});
  NetGuard g;
  task(g.n, "A", 2, nullptr);
  seal(g.n);
  Message m;
  ASSERT_EQ(repass(g.n, m, 0, 1), 0) << logText(g.n);
  EXPECT_NE(logText(g.n).find("assignment is not in the list and will be ignored"),
            std::string::npos);
}

TEST(DynamicRepass, AnElementWithoutSequenceIdEndsTheRepass) {
  testing::TestDb db;
  workRows(db, {"A"});
  NetGuard g;
  task(g.n, "A", 1, nullptr);
  seal(g.n);
  Message m;
  EXPECT_EQ(repass(g.n, m, 1, 0), FWD_ERR_MISSING_SEQ_UID);
}

TEST(DynamicRepass, WithoutADatabaseItReportsTheMissingConnection) {
  NetGuard g;
  task(g.n, "A", 1, nullptr);
  seal(g.n);
  Message m;
  EXPECT_LT(repass(g.n, m, 0, 0), 0);
  EXPECT_NE(logText(g.n).find("error (1) in doRunFrwdDynamicRepasNetTree"), std::string::npos);
}

// ----- containers with links out and back in ---------------------------------

TEST(ForwardContainers, AnOutsideTaskBetweenTwoChildrenWaitsForTheContainersPredecessor) {
  // P -> C, C holds a and b, a -> Y -> b with Y outside C. C's dependency
  // holds a until Monday 01-08; Y must wait for a, and b for Y.
  NetGuard g;
  task(g.n, "P", 5, nullptr);  // Mon 01-01 .. Fri 01-05
  task(g.n, "a", 2, "C");
  task(g.n, "Y", 1, nullptr);
  task(g.n, "b", 1, "C");
  container(g.n, "C", nullptr);
  dep(g.n, "P", "C", 1, 0);
  dep(g.n, "a", "Y", 1, 0);
  dep(g.n, "Y", "b", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "a")), "2024-01-08 08:00");
  EXPECT_EQ(finishOf(item(g.n, "a")), "2024-01-09 17:00");
  EXPECT_EQ(startOf(item(g.n, "Y")), "2024-01-10 08:00");
  EXPECT_EQ(startOf(item(g.n, "b")), "2024-01-11 08:00");
  EXPECT_EQ(startOf(item(g.n, "C")), "2024-01-08 08:00");
  EXPECT_EQ(finishOf(item(g.n, "C")), "2024-01-11 17:00");
  EXPECT_EQ(item(g.n, "Y")->early_start_date, dayNum(2024, 1, 10));
  ASSERT_EQ(runBackward(g.n, false), 0) << logText(g.n);
  // One chain from P to b: nothing has slack.
  for (const char* name : {"P", "a", "Y", "b"}) EXPECT_EQ(item(g.n, name)->slack, 0) << name;
  EXPECT_EQ(logText(g.n).find("still moving"), std::string::npos);
}

TEST(ForwardContainers, ADeeperChildFollowedByASiblingOfItsParent) {
  // G holds B and X; B holds t. G -> nothing; Q -> G holds t back; t -> X.
  // X is placed before G's dependency moves t (G comes after all of them).
  NetGuard g;
  task(g.n, "Q", 3, nullptr);  // Mon .. Wed
  task(g.n, "t", 1, "B");
  container(g.n, "B", "G");
  task(g.n, "X", 1, "G");
  container(g.n, "G", nullptr);
  dep(g.n, "Q", "G", 1, 0);
  dep(g.n, "t", "X", 1, 0);
  seal(g.n);
  ASSERT_EQ(runForward(g.n), 0) << logText(g.n);
  EXPECT_EQ(startOf(item(g.n, "t")), "2024-01-04 08:00");
  EXPECT_EQ(startOf(item(g.n, "X")), "2024-01-05 08:00");
  EXPECT_EQ(finishOf(item(g.n, "G")), "2024-01-05 17:00");
}

// ----- the sweeps themselves --------------------------------------------------

// A visitor over plain records: each item starts one day after the latest
// finish of its predecessors (by name) and keeps its duration; counts the
// visits per item.
class ChainVisitor : public pass_detail::SweepVisitor {
 public:
  explicit ChainVisitor(linked_list_type* list) : list_(list) {}
  bool skip(const activity_type* act) const override { return act->hasActualFinish != 0; }
  int visit(activity_type* act, int sweep) override {
    ++visits[act->name];
    lastSweep = sweep;
    int32_t start = 0;
    for (linktype* l = act->pred_list->phead; l != nullptr; l = l->pnext) {
      const auto* d = static_cast<dependency_type*>(l->pcontents);
      auto* p = static_cast<activity_type*>(ll_extract(list_, d->name));
      if (p != nullptr) start = std::max(start, p->finish_date + 1);
    }
    const int32_t len = act->finish_date - act->start_date;
    act->start_date = start;
    act->finish_date = start + len;
    if (alwaysMove) act->finish_date += sweep;
    return 0;
  }
  std::map<std::string, int> visits;
  int lastSweep = 0;
  bool alwaysMove = false;

 private:
  linked_list_type* list_;
};

struct PlainList {
  linked_list_type* list = ll_new(activityMatch, getActivityName);
  FILE* log = std::tmpfile();
  std::vector<activity_type*> owned;
  activity_type* add(const char* name, int32_t days, int32_t start = 0) {
    activity_type* a = activityCreateNew(name, 3, nullptr, start, start + days - 1, 0, 0, 0);
    owned.push_back(a);
    ll_addtail(list, a);
    return a;
  }
  void link(const char* pred, const char* succ) {
    activityCreatePred(static_cast<activity_type*>(ll_extract(list, succ)), pred, 1, 0, 0, log);
    activityCreateSucc(static_cast<activity_type*>(ll_extract(list, pred)), succ, 1, 0, 0, log);
  }
  ~PlainList() {
    for (activity_type* a : owned) activityDelete(a);
    ll_delete(list);
    std::fclose(log);
  }
};

TEST(SettleSweeps, OnlyTheItemsAMoveMakesWrongAreVisitedAgain) {
  // List order: ends, A, B, C, D; dependencies A -> B, C -> A (against the
  // order), D alone. C starts on day 5 and its visit moves it to day 0, after
  // A was placed behind its old finish; the second sweep visits A again and
  // B after it, and nothing else.
  PlainList pl;
  pl.add("start", 1);
  pl.add("A", 2);
  pl.add("B", 1);
  pl.add("C", 3, 5);
  pl.add("D", 1);
  pl.add("finish", 1);
  pl.link("A", "B");
  pl.link("C", "A");
  ChainVisitor v(pl.list);
  int sweeps = 0;
  ASSERT_EQ(pass_detail::sweepUntilSettled(pl.list, pl.list, true, "Test", pl.log, v, &sweeps), 0);
  EXPECT_EQ(sweeps, 2);
  EXPECT_EQ(v.visits["A"], 2);
  EXPECT_EQ(v.visits["B"], 2);
  EXPECT_EQ(v.visits["C"], 1);
  EXPECT_EQ(v.visits["D"], 1);
  EXPECT_EQ(v.visits.count("start") + v.visits.count("finish"), 0u);
  auto* a = static_cast<activity_type*>(ll_extract(pl.list, "A"));
  auto* b = static_cast<activity_type*>(ll_extract(pl.list, "B"));
  EXPECT_EQ(a->start_date, 3);  // after C (days 0..2)
  EXPECT_EQ(b->start_date, 5);  // after A (days 3..4)
}

TEST(SettleSweeps, ItemsThatNeverSettleStopAtTheBoundWithALogLine) {
  PlainList pl;
  pl.add("start", 1);
  pl.add("A", 1);
  pl.add("B", 1);
  pl.add("finish", 1);
  pl.link("A", "B");
  pl.link("B", "A");  // a loop, and every visit moves its item
  ChainVisitor v(pl.list);
  v.alwaysMove = true;
  int sweeps = 0;
  ASSERT_EQ(pass_detail::sweepUntilSettled(pl.list, pl.list, true, "Test", pl.log, v, &sweeps), 0);
  EXPECT_EQ(sweeps, pass_detail::kMaxSettleSweeps);
  EXPECT_EQ(v.lastSweep, pass_detail::kMaxSettleSweeps);
  std::fflush(pl.log);
  std::rewind(pl.log);
  std::string text;
  char buf[256];
  while (std::fgets(buf, sizeof buf, pl.log) != nullptr) text += buf;
  EXPECT_NE(text.find("Test: items still moving after 64 sweeps; the pass stops with those "
                      "items as they are"),
            std::string::npos);
}

}  // namespace
