// Priority order and backward orders: worked examples on small hand-built
// networks of the default calendar (five-day week, 08:00-12:00 and
// 13:00-17:00, from Monday 2024-01-01), properties on random networks, and
// the ordering loop held against a literal pass-by-pass reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "network/priority_order.h"
#include "support/test_db.h"

namespace {

const int32_t kMon = dayOfYearToJulian(2024, 1, 1) - dayOfYearToJulian(1950, 1, 1);

struct Log {
  FILE* f = std::tmpfile();
  ~Log() { std::fclose(f); }
  bool has(const char* s) const {
    std::fflush(f);
    std::rewind(f);
    std::string out(1 << 20, '\0');
    out.resize(std::fread(out.data(), 1, out.size(), f));
    return out.find(s) != std::string::npos;
  }
};

// The root project "PRJ" on the default calendar, its items in network order
// between the two nodes, their assignments.
struct Net {
  project_type* proj = projectCreateNew("PRJ");
  storage_manager_type* sm = smanagerCreateNew();
  linked_list_type* projects = ll_new(projectMatch, getProjectName);
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  std::vector<assignment_type*> assignments;
  int branches = 0;

  Net() {
    proj->julianDateOrigin = dayOfYearToJulian(1950, 1, 1);
    unsigned char empty[DAY_BITS_BYTES] = {0};
    char hex[DAY_BITS_HEX_DIGITS + 1];
    for (int w = 1; w <= 7; ++w) {
      Lev_splitSchedBitsInTwo(w == 1 || w == 7 ? empty : dayBitsDefault8H, hex);
      setProjectBitsForDaysOfWeek(proj, w, hex);
    }
    setProjectFirstDayOfWeek(proj, 2);
    setProjectSizeOfCalendar(proj, 400);
    setProjectMinutesPerDay(proj, 480);
    proj->first_day = proj->create_date = proj->current_date = proj->start_date = kMon;
    proj->isRootProject = 1;
    ll_addtail(projects, proj);
    ll_addtail(items, activityCreateNew("start", 0, nullptr, kMon - 1, kMon - 1, 0, 0, 0));
    add("PRJ", 1, "start");
  }
  ~Net() {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    for (assignment_type* a : assignments) assignmentDelete(a);
    ll_delete(items);
    ll_delete(projects);
    smanagerDelete(sm);
    projectDelete(proj);
  }
  activity_type* operator[](const std::string& name) {
    return static_cast<activity_type*>(ll_extract(items, name.c_str()));
  }
  activity_type* add(const std::string& name, int16_t type, const std::string& parent,
                     int32_t priority = 500, int16_t constraint = 0) {
    activity_type* a = activityCreateNew(name.c_str(), type, proj, kMon, kMon, 480, constraint,
                                         constraint != 0 ? kMon + 10 : 0);
    a->priority = priority;
    a->level_id = static_cast<int16_t>((*this)[parent]->level_id + 1);
    if (type == 2) a->brunch = ++branches;
    setActivityParent(a, parent.c_str(), nullptr);
    setActivityChild((*this)[parent], name.c_str(), nullptr);
    ll_addtail(items, a);
    return a;
  }
  activity_type* task(const std::string& name, int32_t priority = 500, int16_t constraint = 0,
                      const std::string& parent = "PRJ") {
    return add(name, 3, parent, priority, constraint);
  }
  void dep(const std::string& pred, const std::string& succ) {
    activityCreatePred((*this)[succ], pred.c_str(), 1, 0, 0, nullptr);
    activityCreateSucc((*this)[pred], succ.c_str(), 1, 0, 0, nullptr);
  }
  // `minutes` of work of the resource's assignment on the task.
  void assign(const std::string& task, const std::string& resource, int32_t minutes = 480) {
    auto it = std::find_if(assignments.begin(), assignments.end(),
                           [&](assignment_type* a) { return resource == a->name; });
    assignment_type* ass = it != assignments.end() ? *it : assignmentCreateNew(resource.c_str());
    if (it == assignments.end()) assignments.push_back(ass);
    work_type* w = assignmentCreateWorkByActivity(ass, task.c_str(), nullptr);
    w->proposed_work = minutes;
    w->units_msp = 10000;
    setActivityAssignment((*this)[task], ass, 0, nullptr);
  }
  // The finish node, the links to both nodes, serial numbers in list order.
  void close() {
    ll_addtail(items, activityCreateNew("finish", 0, nullptr, kMon - 1, kMon - 1, 0, 0, 0));
    int32_t serial = 0;
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      a->serial_num = serial++;
      if (l == items->phead || l == items->ptail) continue;
      if (ll_size(a->child_list) == 0) setActivityChild(a, "finish", nullptr);
      if (ll_size(a->pred_list) == 0) activityCreatePred(a, "start", 1, 0, 0, nullptr);
      if (ll_size(a->succ_list) == 0) activityCreateSucc(a, "finish", 0, 0, 0, nullptr);
    }
  }
  int order(int optionFlag = 0, FILE* log = nullptr) {
    return creaPriorOrdTasksLevelIndex(projects, items, items, sm, 0, 1, optionFlag, 0, "start",
                                       "finish", 0, log);
  }
  int idx(const std::string& name) { return (*this)[name]->task_level_order; }
};

// A random tree of containers (with branches) and tasks whose predecessors
// are earlier tasks, priorities 100..899, some with assignments.
void randomNetwork(Net& n, std::mt19937& rng, int size, bool constraints) {
  std::vector<std::string> tasks, containers{"PRJ"};
  static const int16_t kConstraints[] = {0, 0, 0, 2, 3, 6, 7};
  for (int i = 0; i < size; ++i) {
    const std::string name = "I" + std::to_string(i);
    const std::string parent = containers[rng() % containers.size()];
    const int32_t priority = 100 + static_cast<int32_t>(rng() % 800);
    if (rng() % 5 == 0) {
      n.add(name, 2, parent, priority);
      containers.push_back(name);
      continue;
    }
    n.task(name, priority, constraints ? kConstraints[rng() % 7] : 0, parent);
    if (rng() % 2) n.assign(name, "R" + std::to_string(rng() % 4));
    for (int k = 0, preds = static_cast<int>(rng() % 4); k < preds && !tasks.empty(); ++k) {
      const std::string& p = tasks[rng() % tasks.size()];
      if (!ll_find(n[name]->pred_list, p.c_str())) n.dep(p, name);
    }
    tasks.push_back(name);
  }
  n.close();
}

const char* parentOf(const activity_type* a) {
  return static_cast<string_type*>(a->parent_list->phead->pcontents)->str;
}

// --- Priority, constraints and weighted delay -----------------------------

TEST(PriorityOrder, HigherPriorityFirstFixedTasksRightAfterHigherPriorities) {
  for (int16_t fixed : {4, 5}) {
    Net n;
    for (const char* t : {"C300", "B500", "A700"}) n.task(t, std::stoi(t + 1));
    n.task("H500", 500, fixed);
    for (const char* t : {"A700", "B500", "C300", "H500"}) n.assign(t, std::string("R") + t);
    n.close();
    ASSERT_EQ(n.order(), 0);
    EXPECT_EQ(n.idx("H500"), n.idx("A700") + 1) << "constraint " << fixed;
    EXPECT_EQ(n.idx("B500"), n.idx("H500") + 1) << "constraint " << fixed;
    EXPECT_EQ(n.idx("C300"), n.idx("B500") + 1) << "constraint " << fixed;
  }
}

TEST(PriorityOrder, AlapTaskAfterCompetingTasksOfPriorityZero) {
  Net n;
  n.task("X900", 900, 1);
  for (const char* t : {"S0", "B0", "C0"}) n.task(t, 0);
  n.dep("X900", "S0");
  for (const char* t : {"X900", "B0", "C0"}) n.assign(t, "R");
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_GT(n.idx("X900"), n.idx("B0"));
  EXPECT_GT(n.idx("X900"), n.idx("C0"));
}

TEST(PriorityOrder, SmallerWeightedDelayFirstUnlessOptionFlagThree) {
  for (int optionFlag : {0, 3}) {
    Net n;
    for (const char* t : {"LATE", "SLACK", "URGENT"}) {
      n.task(t);
      n.assign(t, std::string("R") + t);
    }
    // Project start Monday 08:00; LATE may start Wednesday 10:00, two
    // working days and two hours later.
    n["LATE"]->early_start_date = kMon + 2;
    n["LATE"]->es_offset_start_time = 120;
    n["SLACK"]->slack = n["URGENT"]->slack = 960;
    n["URGENT"]->max_delay_param = 600;  // competing work on its resources
    n.close();
    ASSERT_EQ(n.order(optionFlag), 0);
    if (optionFlag == 3) {  // no weighting: equal priorities keep network order
      EXPECT_EQ(n["LATE"]->rel_prj_sd, 0);
      EXPECT_EQ(n["URGENT"]->weighted_delay, 0);
      EXPECT_LT(n.idx("LATE"), n.idx("SLACK"));
      EXPECT_LT(n.idx("SLACK"), n.idx("URGENT"));
      continue;
    }
    EXPECT_EQ(n["LATE"]->rel_prj_sd, 1080);
    EXPECT_EQ(n["LATE"]->weighted_delay, 1080);
    EXPECT_EQ(n["SLACK"]->weighted_delay, 960);
    EXPECT_EQ(n["URGENT"]->weighted_delay, 360);
    EXPECT_LT(n.idx("URGENT"), n.idx("SLACK"));
    EXPECT_LT(n.idx("SLACK"), n.idx("LATE"));
  }
}

TEST(PriorityOrder, UrgencyFlowsBackToPredecessors) {
  Net n;
  n.task("P");
  n.task("S");
  n.dep("P", "S");
  n.assign("P", "R1");
  n.assign("S", "R2");
  n["P"]->slack = 2400;
  n["S"]->early_start_date = kMon + 1;  // rel_prj_sd 480, slack 0
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_EQ(n["S"]->weighted_delay, 480);
  EXPECT_EQ(n["P"]->weighted_delay, 480);
  EXPECT_EQ(n["P"]->max_delay_param, 2400 - 480);  // keeps the weighted delay's formula true
}

// --- Precedence and the tree -----------------------------------------------

TEST(PriorityOrder, ChildWaitsForItsBranchOrForItsParentsPredecessors) {
  for (int16_t parentType : {2, 1}) {  // a branch container; a sub-project item
    Net n;
    n.task("P", 100);
    n.add("K", parentType, "PRJ", 100);
    n.task("T", 900, 0, "K");
    n.dep("P", "K");
    n.assign("P", "R1");
    n.assign("T", "R2");
    n.close();
    ASSERT_EQ(n.order(), 0);
    EXPECT_LT(n.idx("P"), n.idx("T"));
    if (parentType == 2) {
      EXPECT_LT(n.idx("K"), n.idx("T"));
    }
  }
}

TEST(PriorityOrder, PredecessorsAndBranchesFirstOnRandomNetworks) {
  std::mt19937 rng(7);
  for (int round = 0; round < 20; ++round) {
    Net n;
    randomNetwork(n, rng, 60, true);
    Log log;
    ASSERT_EQ(n.order(0, log.f), 0);
    EXPECT_FALSE(log.has("Cut long chain"));
    std::vector<int> seen;
    for (linktype* l = n.items->phead->pnext; l->pnext != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      seen.push_back(a->task_level_order);
      for (linktype* d = a->pred_list->phead; d != nullptr; d = d->pnext) {
        const std::string p = static_cast<dependency_type*>(d->pcontents)->name;
        if (p != "start") {
          EXPECT_LT(n.idx(p), a->task_level_order) << p << " -> " << a->name;
        }
      }
      if (n[parentOf(a)]->brunch != 0) {
        EXPECT_LT(n.idx(parentOf(a)), a->task_level_order);
      }
    }
    std::sort(seen.begin(), seen.end());
    for (size_t i = 0; i < seen.size(); ++i) ASSERT_EQ(seen[i], static_cast<int>(i));
  }
}

// --- Stalls and cuts ---------------------------------------------------------

TEST(PriorityOrder, MutualDependencyIsCutAndWrittenAsSubOptimal) {
  testing::TestDb db;
  db.project({.id = "PRJ", .start = "2024-01-01", .finish = "2024-12-31"});
  db.item({.project = "PRJ", .parent = "PRJ", .id = "A"});
  db.item({.project = "PRJ", .parent = "PRJ", .id = "B"});
  Net n;
  n.task("A");
  n.task("B")->level_id = 3;  // the deeper one is forced through first
  n.dep("A", "B");
  n.dep("B", "A");
  n.close();
  Log log;
  ASSERT_EQ(n.order(0, log.f), 0);
  EXPECT_EQ(n.idx("B"), 1);  // after the project item
  EXPECT_EQ(n.idx("A"), 2);
  EXPECT_TRUE(log.has("Cut long chain of Dependences on Pending Node"));
  EXPECT_TRUE(log.has("List of sub-optimal dependent items in the Network tree"));
  EXPECT_EQ(db.scalar("SELECT COUNT(*) FROM Lev_circ_2"), 2);
  EXPECT_EQ(db.scalar("SELECT COUNT(*) FROM Lev_circ_2 WHERE ELEMENT_ID_2 = 'B' AND LEVEL_ID_2 = 3"),
            1);
}

TEST(PriorityOrder, MoreThanAHundredStallsGive200212) {
  for (int pairs : {100, 101}) {  // each pair of mutual dependencies stalls once
    Net n;
    for (int i = 0; i < pairs; ++i) {
      const std::string a = "A" + std::to_string(i), b = "B" + std::to_string(i);
      n.task(a);
      n.task(b);
      n.dep(a, b);
      n.dep(b, a);
    }
    n.close();
    Log log;
    EXPECT_EQ(n.order(0, log.f), pairs == 100 ? 0 : 200212);
    EXPECT_EQ(log.has("Circular like Dependency has been Detected"), pairs == 101);
    EXPECT_EQ(log.has("Unable to cut or resolve. No exeeds 100 pases"), pairs == 101);
  }
}

// --- The loop against a literal pass-by-pass reference ---------------------

// The loop as first described: passes from the top; after each ordering a
// re-scan from the top to the current position orders the first ready item
// and starts again; a pass that orders nothing forces the deepest of the
// last 40 items it found not ready.
struct Reference {
  struct It {
    activity_type* a;
    int parent = -1;
    std::vector<int> kids, preds, succs;
  };
  std::vector<It> it;
  std::vector<bool> done;
  std::vector<activity_type*> sub;
  int next = 0;

  bool passed(int i) const {
    if (!done[i]) return false;
    return std::all_of(it[i].kids.begin(), it[i].kids.end(), [&](int c) { return passed(c); });
  }
  bool alap(int i) const { return it[i].a->constraint_type == 1; }
  bool waits(const std::vector<int>& on) const {
    return std::any_of(on.begin(), on.end(), [&](int q) { return !alap(q) && !passed(q); });
  }
  bool ready(int i) {
    activity_type* a = it[i].a;
    const int p = it[i].parent;
    if (a->constraint_type == 4 || a->constraint_type == 5) return true;
    if (p >= 0 && it[p].a->brunch != 0 && a->parent_level_order != 1) return false;
    if (alap(i) && !it[i].succs.empty()) {
      return std::none_of(it[i].succs.begin(), it[i].succs.end(),
                          [&](int s) { return alap(s) && !passed(s); });
    }
    if (a->parent_level_order != 1 && p >= 0 && !it[p].preds.empty()) {
      if (waits(it[p].preds)) return false;
      if (it[i].preds.empty()) {
        a->parent_level_order = 1;
        for (int c : it[i].kids) it[c].a->parent_level_order = 1;
      }
    }
    return !waits(it[i].preds);
  }
  void put(int i) {
    done[i] = true;
    it[i].a->task_level_order = next++;
    for (int c : it[i].kids) it[c].a->parent_level_order = 1;
  }
  static void add(std::vector<activity_type*>& v, activity_type* a) {
    if (std::find(v.begin(), v.end(), a) != v.end()) return;
    if (v.size() >= 40) v.erase(v.begin());
    v.push_back(a);
  }
  int run() {
    const int n = static_cast<int>(it.size());
    done.assign(n, false);
    auto byLevel = [](activity_type* x, activity_type* y) { return x->level_id < y->level_id; };
    for (int stalls = 0, count = 0; count < n;) {
      std::vector<activity_type*> pending;
      int inPass = 0;
      for (int pos = 0; pos < n; ++pos) {
        if (done[pos]) continue;
        if (!ready(pos)) {
          if (inPass == 0) add(pending, it[pos].a), add(sub, it[pos].a);
          continue;
        }
        put(pos), ++inPass, ++count;
        for (bool again = true; again;) {  // re-scan from the top
          again = false;
          for (int p = 0; p <= pos && !again; ++p) {
            if (!done[p] && ready(p)) put(p), ++count, again = true;
          }
        }
      }
      std::stable_sort(pending.begin(), pending.end(), byLevel);
      std::stable_sort(sub.begin(), sub.end(), byLevel);
      if (inPass > 0) continue;
      if (++stalls > 100) return 200212;
      for (int k = 0; k < n; ++k) {
        if (it[k].a == pending.back()) put(k), ++count;
      }
    }
    return 0;
  }
};

TEST(LevelOrderingLoop, SameOrderAsThePassByPassReference) {
  std::mt19937 rng(11);
  for (int round = 0; round < 150; ++round) {
    const int size = 5 + static_cast<int>(rng() % 40);
    Reference ref;
    ref.it.resize(size);
    std::vector<int> containers;
    auto name = [](int i) { return "N" + std::to_string(i); };
    for (int i = 0; i < size; ++i) {
      const bool container = rng() % 4 == 0;
      const int r = static_cast<int>(rng() % 20);
      activity_type* a = activityCreateNew(name(i).c_str(), container ? 2 : 3, nullptr, 0, 0, 5,
                                           r < 2 ? 1 : r == 2 ? 4 : r == 3 ? 5 : 0, 0);
      const int p = containers.empty() || rng() % 3 == 0 ? -1 : containers[rng() % containers.size()];
      setActivityParent(a, p < 0 ? "start" : name(p).c_str(), nullptr);
      if (p >= 0) setActivityChild(ref.it[p].a, a->name, nullptr), ref.it[p].kids.push_back(i);
      a->level_id = static_cast<int16_t>(p < 0 ? 1 : ref.it[p].a->level_id + 1);
      a->brunch = container && rng() % 2 ? i + 1 : 0;
      if (container) containers.push_back(i);
      ref.it[i].a = a;
      ref.it[i].parent = p;
    }
    for (int e = 0; e < size * 3 / 2; ++e) {
      int p = static_cast<int>(rng() % size), s = static_cast<int>(rng() % size);
      if (round % 3 != 0 && p > s) std::swap(p, s);  // every third round has cycles
      if (p == s || ll_find(ref.it[s].a->pred_list, name(p).c_str())) continue;
      activityCreatePred(ref.it[s].a, name(p).c_str(), 1, 0, 0, nullptr);
      activityCreateSucc(ref.it[p].a, name(s).c_str(), 1, 0, 0, nullptr);
      ref.it[s].preds.push_back(p);
      ref.it[p].succs.push_back(s);
    }
    for (auto& x : ref.it) {
      if (x.kids.empty()) setActivityChild(x.a, "finish", nullptr);
    }
    std::shuffle(ref.it.begin(), ref.it.end(), rng);  // the candidate order
    std::vector<int> at(size);
    for (int k = 0; k < size; ++k) at[std::stoi(ref.it[k].a->name + 1)] = k;
    for (auto& x : ref.it) {
      for (auto* v : {&x.kids, &x.preds, &x.succs}) {
        for (int& k : *v) k = at[k];
      }
      if (x.parent >= 0) x.parent = at[x.parent];
    }
    activity_type* start = activityCreateNew("start", 0, nullptr, 0, 0, 0, 0, 0);
    activity_type* finish = activityCreateNew("finish", 0, nullptr, 0, 0, 0, 0, 0);
    linked_list_type* cand = ll_new(activityMatch, getActivityName);
    ll_addtail(cand, start);
    for (auto& x : ref.it) ll_addtail(cand, x.a);
    ll_addtail(cand, finish);

    activityResetLevelOrdersForList(cand);
    const int refRc = ref.run();
    std::vector<int> expected;
    for (auto& x : ref.it) expected.push_back(x.a->task_level_order);
    activityResetLevelOrdersForList(cand);
    priority_detail::LevelOrdering loop(cand, priority_detail::LevelOrdering::Direction::Forward,
                                        "start", "finish", "test", nullptr);
    ASSERT_EQ(loop.run(), refRc) << "round " << round;
    for (int k = 0; refRc == 0 && k < size; ++k) {
      EXPECT_EQ(ref.it[k].a->task_level_order, expected[k]) << "round " << round;
    }
    std::vector<activity_type*> sub;
    for (linktype* l = loop.subOptimalList()->phead; l != nullptr; l = l->pnext) {
      sub.push_back(static_cast<activity_type*>(l->pcontents));
    }
    if (refRc == 0) {
      EXPECT_EQ(sub, ref.sub) << "round " << round;
    }
    ll_delete(cand);
    for (auto& x : ref.it) activityDelete(x.a);
    activityDelete(start);
    activityDelete(finish);
  }
}

// --- Backward orders -----------------------------------------------------------

// Copies of a closed network, as the backward pass receives them, and the
// order the backward ordering gives them.
struct Backward {
  linked_list_type* copies = ll_new(activityMatch, getActivityName);
  linked_list_type* order = ll_new(activityMatch, getActivityName);
  std::vector<std::string> names;
  explicit Backward(Net& n) {
    for (linktype* l = n.items->phead; l != nullptr; l = l->pnext) {
      ll_addtail(copies, activityCopyCreateNew(static_cast<activity_type*>(l->pcontents), nullptr));
    }
  }
  ~Backward() {
    for (linktype* l = copies->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(copies);
    ll_delete(order);
  }
  int fromFinish(FILE* log) {
    const int rc = reorgNetTrFromFinishNode(copies, order, nullptr, 0, "start", "finish", 1, log);
    for (linktype* l = order->phead; l != nullptr; l = l->pnext) {
      names.push_back(static_cast<activity_type*>(l->pcontents)->name);
    }
    return rc;
  }
  int at(const std::string& name) const {
    return static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
  }
};

TEST(BackwardOrders, SuccessorsAndChildrenFirstDownFromTheFinishNode) {
  Net n;
  n.add("K", 2, "PRJ");
  n.task("A", 500, 0, "K");
  n.task("B", 500, 0, "K");
  n.task("C");
  n.task("D");
  n.task("H", 500, 5);
  n.dep("A", "B");
  n.dep("B", "C");
  n.dep("K", "D");  // the container's successor bounds its children too
  n.dep("H", "A");
  n.dep("A", "H");  // a cycle the fixed item does not wait in
  n.close();
  Backward b(n);
  Log log;
  ASSERT_EQ(b.fromFinish(log.f), 0);
  ASSERT_EQ(b.names.size(), 9u);
  EXPECT_EQ(b.names.front(), "finish");
  EXPECT_EQ(b.names.back(), "start");
  EXPECT_LT(b.at("C"), b.at("B"));
  EXPECT_LT(b.at("B"), b.at("A"));
  EXPECT_LT(b.at("D"), b.at("B"));
  EXPECT_LT(b.at("H"), b.at("A"));
  EXPECT_LT(b.at("A"), b.at("K"));
  EXPECT_LT(b.at("K"), b.at("PRJ"));
  for (size_t i = 1; i + 1 < b.names.size(); ++i) {
    EXPECT_EQ(static_cast<activity_type*>(ll_extract(b.copies, b.names[i].c_str()))->proper_order_back,
              static_cast<int>(i));
  }
  EXPECT_TRUE(log.has("Reorganize Items Order on Backward pass (reorgNetTrFromFinishNode)"));
  EXPECT_TRUE(log.has("inversed order, down from Finish Node"));
  EXPECT_FALSE(log.has("Cut long chain"));
}

TEST(BackwardOrders, RandomNetworksNeedNoCut) {
  std::mt19937 rng(3);
  for (int round = 0; round < 10; ++round) {
    Net n;
    randomNetwork(n, rng, 80, false);
    Backward b(n);
    Log log;
    ASSERT_EQ(b.fromFinish(log.f), 0);
    EXPECT_FALSE(log.has("Cut long chain"));
    for (linktype* l = b.copies->phead->pnext; l->pnext != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      for (linktype* d = a->succ_list->phead; d != nullptr; d = d->pnext) {
        const std::string s = static_cast<dependency_type*>(d->pcontents)->name;
        if (s != "finish") {
          EXPECT_LT(b.at(s), b.at(a->name)) << a->name << " -> " << s;
        }
      }
      if (std::string(parentOf(a)) != "start") {
        EXPECT_LT(b.at(a->name), b.at(parentOf(a)));
      }
    }
  }
}

TEST(BackwardOrders, LevelOrderRecomputedOnCopiesWithoutWeighting) {
  Net n;
  n.task("P", 300);
  n.task("S", 900);
  n.task("F", 700);
  n.dep("P", "S");
  for (const char* t : {"P", "S", "F"}) n.assign(t, std::string("R") + t);
  n["S"]->slack = 480;
  n.close();
  Backward b(n);
  ASSERT_EQ(reorgIndexOrderOnBackPass(b.copies, b.order, nullptr, 0, 1, "start", "finish", 0,
                                      nullptr),
            0);
  std::vector<std::string> got;
  for (linktype* l = b.order->phead; l != nullptr; l = l->pnext) {
    got.push_back(static_cast<activity_type*>(l->pcontents)->name);
  }
  EXPECT_EQ(got, (std::vector<std::string>{"start", "PRJ", "F", "P", "S", "finish"}));
  EXPECT_EQ(static_cast<activity_type*>(ll_extract(b.copies, "S"))->weighted_delay, 0);
  EXPECT_EQ(n.idx("S"), -1);  // the items themselves are untouched
}

}  // namespace
