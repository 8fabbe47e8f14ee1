// Priority order and backward orders: worked examples on small hand-built
// networks of the default calendar (five-day week, 08:00-12:00 and
// 13:00-17:00, from Monday 2024-01-01), properties on random networks, and
// the ordering loop held against a literal pass-by-pass reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
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

const int kOrigin = dayOfYearToJulian(1950, 1, 1);
int32_t day(int y, int m, int d) { return dayOfYearToJulian(y, m, d) - kOrigin; }
const int32_t kMon = day(2024, 1, 1);

std::string hexOf(const unsigned char* bits) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits, buf);
  return buf;
}

// A log file for the code under test, read back as text.
struct Log {
  FILE* f = std::tmpfile();
  ~Log() { std::fclose(f); }
  std::string text() const {
    std::fflush(f);
    std::string out;
    std::rewind(f);
    char buf[4096];
    size_t got;
    while ((got = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, got);
    return out;
  }
};

// A network built by hand: the project "PRJ" (a root project on the default
// calendar), its project item, items added in network order, the two nodes.
class Net {
 public:
  Net() {
    proj_ = projectCreateNew("PRJ");
    sm_ = smanagerCreateNew();
    setProjectJulianDateOrigin(proj_, kOrigin);
    unsigned char empty[DAY_BITS_BYTES] = {0};
    for (int w = 1; w <= 7; ++w) {
      setProjectBitsForDaysOfWeek(proj_, w, hexOf(w == 1 || w == 7 ? empty : dayBitsDefault8H).c_str());
    }
    setProjectFirstDay(proj_, kMon);
    setProjectFirstDayOfWeek(proj_, 2);
    setProjectSizeOfCalendar(proj_, 400);
    setProjectMinutesPerDay(proj_, 480);
    setProjectCreateDate(proj_, kMon);
    setProjectCurrentDate(proj_, kMon);
    setProjectStartDate(proj_, kMon);
    setProjectFinishDate(proj_, kMon + 399);
    proj_->isRootProject = 1;
    projects_ = ll_new(projectMatch, getProjectName);
    ll_addtail(projects_, proj_);
    items_ = ll_new(activityMatch, getActivityName);
    start_ = activityCreateNew("start", 0, nullptr, kMon - 1, kMon - 1, 0, 0, 0);
    finish_ = activityCreateNew("finish", 0, nullptr, kMon - 1, kMon - 1, 0, 0, 0);
    ll_addtail(items_, start_);
    root_ = add("PRJ", 1, "start");
  }
  ~Net() {
    for (linktype* l = items_->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    for (assignment_type* a : assignments_) assignmentDelete(a);
    ll_delete(items_);
    ll_delete(projects_);
    smanagerDelete(sm_);
    projectDelete(proj_);
  }
  Net(const Net&) = delete;
  Net& operator=(const Net&) = delete;

  activity_type* add(const std::string& name, int16_t type, const std::string& parent,
                     int32_t priority = 500, int16_t constraint = 0) {
    activity_type* a =
        activityCreateNew(name.c_str(), type, type == 0 ? nullptr : proj_, kMon, kMon, 480,
                          constraint, constraint != 0 ? kMon + 10 : 0);
    a->priority = priority;
    a->level_id = static_cast<int16_t>(parent == "start" ? 1 : byName(parent)->level_id + 1);
    if (type == 2) a->brunch = ++branches_;
    setActivityParent(a, parent.c_str(), nullptr);
    setActivityChild(parent == "start" ? start_ : byName(parent), name.c_str(), nullptr);
    ll_addtail(items_, a);
    return a;
  }
  activity_type* task(const std::string& name, int32_t priority = 500, int16_t constraint = 0,
                      const std::string& parent = "PRJ") {
    return add(name, 3, parent, priority, constraint);
  }
  void dep(const std::string& pred, const std::string& succ, int16_t external = 0) {
    activityCreatePred(byName(succ), pred.c_str(), 1, external, 0, nullptr);
    activityCreateSucc(byName(pred), succ.c_str(), 1, external, 0, nullptr);
  }
  // A resource assignment of the task with `minutes` of work on it.
  void assign(const std::string& task, const std::string& resource, int32_t minutes = 480) {
    assignment_type* ass = nullptr;
    for (assignment_type* a : assignments_) {
      if (resource == a->name) ass = a;
    }
    if (ass == nullptr) assignments_.push_back(ass = assignmentCreateNew(resource.c_str()));
    work_type* w = assignmentCreateWorkByActivity(ass, task.c_str(), nullptr);
    w->proposed_work = minutes;
    w->units_msp = 10000;
    setActivityAssignment(byName(task), ass, 0, nullptr);
  }
  // Closes the network: the finish node, the links to both nodes, serial
  // numbers in list order.
  void close() {
    ll_addtail(items_, finish_);
    int32_t serial = 0;
    for (linktype* l = items_->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      a->serial_num = serial++;
      if (a == start_ || a == finish_) continue;
      if (ll_size(a->child_list) == 0) setActivityChild(a, "finish", nullptr);
      if (ll_size(a->pred_list) == 0) activityCreatePred(a, "start", 1, 0, 0, nullptr);
      if (ll_size(a->succ_list) == 0) activityCreateSucc(a, "finish", 0, 0, 0, nullptr);
    }
  }
  int order(int optionFlag = 0, FILE* log = nullptr) {
    return creaPriorOrdTasksLevelIndex(projects_, items_, items_, sm_, 0, 1, optionFlag, kOrigin,
                                       "start", "finish", 0, log);
  }
  int idx(const std::string& name) { return byName(name)->task_level_order; }
  activity_type* byName(const std::string& name) {
    for (linktype* l = items_->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      if (name == a->name) return a;
    }
    ADD_FAILURE() << "no item " << name;
    return nullptr;
  }
  linked_list_type* items() { return items_; }
  linked_list_type* projects() { return projects_; }
  storage_manager_type* sm() { return sm_; }

 private:
  project_type* proj_;
  storage_manager_type* sm_;
  linked_list_type* projects_;
  linked_list_type* items_;
  activity_type* start_;
  activity_type* finish_;
  activity_type* root_;
  std::vector<assignment_type*> assignments_;
  int32_t branches_ = 0;
};

// --- Priority, constraints and weighted delay -----------------------------

TEST(PriorityOrder, HigherPriorityFirstAmongFreeTasks) {
  Net n;
  n.task("T300", 300);
  n.task("T700", 700);
  n.assign("T300", "R1");
  n.assign("T700", "R2");
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_LT(n.idx("T700"), n.idx("T300"));
}

TEST(PriorityOrder, TasksWithoutAssignmentsKeepNetworkOrder) {
  // Nothing is levelled for them: they stay in network order, whatever
  // their priority.
  Net n;
  n.task("T300", 300);
  n.task("T700", 700);
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_LT(n.idx("T300"), n.idx("T700"));
}

TEST(PriorityOrder, FixedTaskAfterHigherPriorityBeforeEqualPriority) {
  for (int16_t fixed : {4, 5}) {
    Net n;
    n.task("A700", 700);
    n.task("B500", 500);
    n.task("C300", 300);
    n.task("H500", 500, fixed);
    for (const char* t : {"A700", "B500", "C300", "H500"}) n.assign(t, std::string("R") + t);
    n.close();
    ASSERT_EQ(n.order(), 0);
    EXPECT_EQ(n.idx("A700") + 1, n.idx("H500")) << "constraint " << fixed;
    EXPECT_EQ(n.idx("H500") + 1, n.idx("B500")) << "constraint " << fixed;
    EXPECT_LT(n.idx("B500"), n.idx("C300"));
  }
}

TEST(PriorityOrder, AlapTaskAfterCompetingTasksOfPriorityZero) {
  Net n;
  n.task("X900", 900, 1);
  n.task("S0", 0);
  n.task("B0", 0);
  n.task("C0", 0);
  n.dep("X900", "S0");
  for (const char* t : {"X900", "B0", "C0"}) n.assign(t, "R");
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_GT(n.idx("X900"), n.idx("B0"));
  EXPECT_GT(n.idx("X900"), n.idx("C0"));
}

TEST(PriorityOrder, SmallerWeightedDelayFirstAmongEqualPriorities) {
  Net n;
  activity_type* late = n.task("LATE");
  activity_type* slack = n.task("SLACK");
  activity_type* urgent = n.task("URGENT");
  for (const char* t : {"LATE", "SLACK", "URGENT"}) n.assign(t, std::string("R") + t);
  // Project start Monday 08:00; LATE may start Wednesday 10:00: two working
  // days and two hours later.
  late->early_start_date = kMon + 2;
  late->es_offset_start_time = 120;
  slack->slack = 960;
  urgent->slack = 960;
  urgent->max_delay_param = 600;  // competing work on its resources
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_EQ(late->rel_prj_sd, 2 * 480 + 120);
  EXPECT_EQ(late->weighted_delay, 1080);
  EXPECT_EQ(slack->weighted_delay, 960);
  EXPECT_EQ(urgent->weighted_delay, 360);
  EXPECT_LT(n.idx("URGENT"), n.idx("SLACK"));
  EXPECT_LT(n.idx("SLACK"), n.idx("LATE"));
}

TEST(PriorityOrder, OptionFlagThreeDoesNoDelayWeighting) {
  Net n;
  activity_type* late = n.task("LATE");
  activity_type* early = n.task("EARLY");
  n.assign("LATE", "R1");
  n.assign("EARLY", "R2");
  late->early_start_date = kMon + 2;
  late->slack = 960;
  late->max_delay_param = 100;
  n.close();
  ASSERT_EQ(n.order(3), 0);
  EXPECT_EQ(late->rel_prj_sd, 0);
  EXPECT_EQ(late->weighted_delay, 0);
  EXPECT_EQ(late->max_delay_param, 100);
  EXPECT_EQ(early->weighted_delay, 0);
  // Without weighting equal priorities keep network order.
  EXPECT_LT(n.idx("LATE"), n.idx("EARLY"));
}

TEST(PriorityOrder, UrgencyFlowsBackToPredecessors) {
  Net n;
  activity_type* pred = n.task("P");
  activity_type* succ = n.task("S");
  n.dep("P", "S");
  n.assign("P", "R1");
  n.assign("S", "R2");
  pred->slack = 2400;
  succ->slack = 0;
  succ->early_start_date = kMon + 1;  // rel_prj_sd 480
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_EQ(succ->weighted_delay, 480);
  EXPECT_EQ(pred->weighted_delay, 480);
  // max_delay_param keeps the weighted delay's formula true.
  EXPECT_EQ(pred->max_delay_param, 2400 - 480 + 0 - 0);
  EXPECT_LT(n.idx("P"), n.idx("S"));
}

// --- Precedence and the tree -----------------------------------------------

TEST(PriorityOrder, ChildOfBranchWaitsForItsContainer) {
  Net n;
  n.task("P", 100);
  n.add("K", 2, "PRJ", 100);
  n.task("T", 900, 0, "K");
  n.dep("P", "K");
  n.assign("P", "R1");
  n.assign("T", "R2");
  n.close();
  ASSERT_EQ(n.order(), 0);
  EXPECT_LT(n.idx("P"), n.idx("K"));
  EXPECT_LT(n.idx("K"), n.idx("T"));
}

TEST(PriorityOrder, ChildOfNonBranchParentWaitsForParentsPredecessors) {
  Net n;
  n.task("P", 100);
  activity_type* sub = n.add("SUB", 1, "PRJ", 100);  // a sub-project item: no branch
  n.task("T", 900, 0, "SUB");
  n.dep("P", "SUB");
  n.assign("P", "R1");
  n.assign("T", "R2");
  n.close();
  ASSERT_EQ(sub->brunch, 0);
  ASSERT_EQ(n.order(), 0);
  EXPECT_LT(n.idx("P"), n.idx("T"));
}

TEST(PriorityOrder, PredecessorsFirstOnRandomNetworks) {
  std::mt19937 rng(7);
  for (int round = 0; round < 20; ++round) {
    Net n;
    std::vector<std::string> tasks, containers{"PRJ"};
    for (int i = 0; i < 60; ++i) {
      const std::string parent = containers[rng() % containers.size()];
      const std::string name = "I" + std::to_string(i);
      if (rng() % 5 == 0) {
        n.add(name, 2, parent, 100 + static_cast<int>(rng() % 800));
        containers.push_back(name);
        continue;
      }
      static const int16_t kConstraints[] = {0, 0, 0, 2, 3, 6, 7};
      n.task(name, 100 + static_cast<int>(rng() % 800), kConstraints[rng() % 7], parent);
      if (rng() % 2) n.assign(name, "R" + std::to_string(rng() % 4));
      for (int k = 0, preds = static_cast<int>(rng() % 4); k < preds && !tasks.empty(); ++k) {
        const std::string& p = tasks[rng() % tasks.size()];
        if (ll_find(n.byName(name)->pred_list, p.c_str()) == 0) n.dep(p, name);
      }
      tasks.push_back(name);
    }
    n.close();
    Log log;
    ASSERT_EQ(n.order(0, log.f), 0);
    EXPECT_EQ(log.text().find("Cut long chain"), std::string::npos);
    std::vector<int> seen;
    for (linktype* l = n.items()->phead->pnext; l->pnext != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      seen.push_back(a->task_level_order);
      for (linktype* d = a->pred_list->phead; d != nullptr; d = d->pnext) {
        const char* p = static_cast<dependency_type*>(d->pcontents)->name;
        if (std::string(p) == "start") continue;
        EXPECT_LT(n.idx(p), a->task_level_order) << p << " -> " << a->name;
      }
      const char* parent = static_cast<string_type*>(a->parent_list->phead->pcontents)->str;
      if (n.byName(parent)->brunch != 0) {
        EXPECT_LT(n.idx(parent), a->task_level_order) << parent << " over " << a->name;
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
  n.task("B");
  n.byName("B")->level_id = 3;  // the deeper one is forced through first
  n.dep("A", "B");
  n.dep("B", "A");
  n.close();
  Log log;
  ASSERT_EQ(n.order(0, log.f), 0);
  EXPECT_EQ(n.idx("B"), 1);  // the project item comes first
  EXPECT_EQ(n.idx("A"), 2);
  EXPECT_NE(log.text().find("Cut long chain of Dependences on Pending Node"), std::string::npos);
  EXPECT_NE(log.text().find("List of sub-optimal dependent items in the Network tree"),
            std::string::npos);
  EXPECT_EQ(db.scalar("SELECT COUNT(*) FROM Lev_circ_2"), 2);
  EXPECT_EQ(db.scalar("SELECT COUNT(*) FROM Lev_circ_2 WHERE ELEMENT_ID_2 = 'B' AND LEVEL_ID_2 = 3"),
            1);
}

TEST(PriorityOrder, MoreThanAHundredStallsGive200212) {
  for (int pairs : {100, 101}) {
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
    const int rc = n.order(0, log.f);
    const std::string text = log.text();
    if (pairs == 100) {
      EXPECT_EQ(rc, 0);
      EXPECT_EQ(text.find("Circular like Dependency"), std::string::npos);
    } else {
      EXPECT_EQ(rc, 200212);
      EXPECT_NE(text.find("Circular like Dependency has been Detected"), std::string::npos);
      EXPECT_NE(text.find("Unable to cut or resolve. No exeeds 100 pases"), std::string::npos);
      EXPECT_NE(text.find("creaPriorOrdTasksLevelIndex"), std::string::npos);
    }
  }
}

// --- The loop against a literal pass-by-pass reference ---------------------

// The loop as first described: passes from the top; after each ordering a
// re-scan from the top to the current position orders the first ready item
// and starts again; a pass that orders nothing forces the deepest of the
// last 40 items it found not ready.
struct Reference {
  std::vector<activity_type*> at;
  std::map<std::string, int> pos;
  std::vector<bool> ordered;
  std::vector<int> order;
  std::vector<activity_type*> subOptimal;
  int next = 0;

  int find(const char* name) const {
    auto it = pos.find(name);
    return it == pos.end() ? -1 : it->second;
  }
  int parent(int i) const {
    return find(static_cast<string_type*>(at[i]->parent_list->phead->pcontents)->str);
  }
  std::vector<int> named(linked_list_type* list) const {
    std::vector<int> out;
    for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
      auto* d = static_cast<dependency_type*>(l->pcontents);
      if (int k = find(d->name); k >= 0 && k != -1 && !d->isExternal) out.push_back(k);
    }
    return out;
  }
  std::vector<int> children(int i) const {
    std::vector<int> out;
    for (linktype* l = at[i]->child_list->phead; l != nullptr; l = l->pnext) {
      if (int k = find(static_cast<string_type*>(l->pcontents)->str); k >= 0) out.push_back(k);
    }
    return out;
  }
  bool passed(int i) const {
    if (!ordered[i]) return false;
    for (int c : children(i)) {
      if (!passed(c)) return false;
    }
    return true;
  }
  bool alap(int i) const { return at[i]->constraint_type == 1; }
  bool ready(int i) {
    activity_type* a = at[i];
    if (a->constraint_type == 4 || a->constraint_type == 5) return true;
    const int p = parent(i);
    if (p >= 0 && at[p]->brunch != 0 && a->parent_level_order != 1) return false;
    if (alap(i) && !named(a->succ_list).empty()) {
      for (int s : named(a->succ_list)) {
        if (alap(s) && !passed(s)) return false;
      }
      return true;
    }
    if (a->parent_level_order != 1 && p >= 0 && !named(at[p]->pred_list).empty()) {
      for (int q : named(at[p]->pred_list)) {
        if (!alap(q) && !passed(q)) return false;
      }
      if (named(a->pred_list).empty()) {
        a->parent_level_order = 1;
        for (int c : children(i)) at[c]->parent_level_order = 1;
      }
    }
    for (int q : named(a->pred_list)) {
      if (!alap(q) && !passed(q)) return false;
    }
    return true;
  }
  void put(int i) {
    ordered[i] = true;
    at[i]->task_level_order = next++;
    order.push_back(i);
    for (int c : children(i)) at[c]->parent_level_order = 1;
  }
  void rescan(int upto) {
    for (bool again = true; again;) {
      again = false;
      for (int p = 0; p <= upto; ++p) {
        if (!ordered[p] && ready(p)) {
          put(p);
          again = true;
          break;
        }
      }
    }
  }
  static void bounded(std::vector<activity_type*>& list, activity_type* a) {
    if (std::find(list.begin(), list.end(), a) != list.end()) return;
    if (list.size() >= 40) list.erase(list.begin());
    list.push_back(a);
  }
  int run() {
    const int n = static_cast<int>(at.size());
    ordered.assign(n, false);
    for (activity_type* a : at) a->parent_level_order = 0, a->task_level_order = -1;
    int stalls = 0;
    while (static_cast<int>(order.size()) < n) {
      std::vector<activity_type*> pending;
      int orderedInPass = 0;
      for (int p = 0; p < n; ++p) {
        if (ordered[p]) continue;
        if (ready(p)) {
          put(p);
          ++orderedInPass;
          rescan(p);
        } else if (orderedInPass == 0) {
          bounded(pending, at[p]);
          bounded(subOptimal, at[p]);
        }
      }
      auto byLevel = [](const activity_type* x, const activity_type* y) {
        return x->level_id < y->level_id;
      };
      std::stable_sort(pending.begin(), pending.end(), byLevel);
      std::stable_sort(subOptimal.begin(), subOptimal.end(), byLevel);
      if (orderedInPass == 0) {
        if (++stalls > 100) return 200212;
        put(find(pending.back()->name));
      }
    }
    return 0;
  }
};

TEST(LevelOrderingLoop, SameOrderAsThePassByPassReference) {
  std::mt19937 rng(11);
  for (int round = 0; round < 150; ++round) {
    const int size = 5 + static_cast<int>(rng() % 40);
    const bool cycles = round % 3 == 0;
    std::vector<activity_type*> items;
    std::vector<int> containers;
    auto name = [](int i) { return "N" + std::to_string(i); };
    for (int i = 0; i < size; ++i) {
      const bool container = rng() % 4 == 0;
      const int r = static_cast<int>(rng() % 20);
      const int16_t constraint = r < 2 ? 1 : r < 3 ? 4 : r < 4 ? 5 : 0;
      activity_type* a = activityCreateNew(name(i).c_str(), container ? 2 : 3, nullptr, 0, 0, 5,
                                           constraint, 0);
      const int parent = containers.empty() || rng() % 3 == 0
                             ? -1
                             : containers[rng() % containers.size()];
      setActivityParent(a, parent < 0 ? "start" : name(parent).c_str(), nullptr);
      if (parent >= 0) setActivityChild(items[parent], name(i).c_str(), nullptr);
      a->level_id = static_cast<int16_t>(parent < 0 ? 1 : items[parent]->level_id + 1);
      a->brunch = container && rng() % 2 ? i + 1 : 0;
      if (container) containers.push_back(i);
      items.push_back(a);
    }
    for (int e = 0, edges = size * 3 / 2; e < edges; ++e) {
      int p = static_cast<int>(rng() % size), s = static_cast<int>(rng() % size);
      if (p == s) continue;
      if (!cycles && p > s) std::swap(p, s);
      if (ll_find(items[s]->pred_list, name(p).c_str())) continue;
      activityCreatePred(items[s], name(p).c_str(), 1, 0, 0, nullptr);
      activityCreateSucc(items[p], name(s).c_str(), 1, 0, 0, nullptr);
    }
    for (activity_type* a : items) {
      if (ll_size(a->child_list) == 0) setActivityChild(a, "finish", nullptr);
    }
    std::shuffle(items.begin(), items.end(), rng);
    activity_type* start = activityCreateNew("start", 0, nullptr, 0, 0, 0, 0, 0);
    activity_type* finish = activityCreateNew("finish", 0, nullptr, 0, 0, 0, 0, 0);
    linked_list_type* cand = ll_new(activityMatch, getActivityName);
    ll_addtail(cand, start);
    for (activity_type* a : items) ll_addtail(cand, a);
    ll_addtail(cand, finish);

    Reference ref;
    ref.at = items;
    for (int i = 0; i < size; ++i) ref.pos[items[i]->name] = i;
    const int refRc = ref.run();
    std::vector<int> expected;
    for (activity_type* a : items) expected.push_back(a->task_level_order);

    activityResetLevelOrdersForList(cand);
    priority_detail::LevelOrdering loop(cand, priority_detail::LevelOrdering::Direction::Forward,
                                        "start", "finish", "test", nullptr);
    ASSERT_EQ(loop.run(), refRc) << "round " << round;
    if (refRc == 0) {
      for (int i = 0; i < size; ++i) {
        EXPECT_EQ(items[i]->task_level_order, expected[i]) << "round " << round << " " << items[i]->name;
      }
      std::vector<activity_type*> sub;
      for (linktype* l = loop.subOptimalList()->phead; l != nullptr; l = l->pnext) {
        sub.push_back(static_cast<activity_type*>(l->pcontents));
      }
      EXPECT_EQ(sub, ref.subOptimal) << "round " << round;
    }
    ll_delete(cand);
    for (activity_type* a : items) activityDelete(a);
    activityDelete(start);
    activityDelete(finish);
  }
}

// --- Backward orders -----------------------------------------------------------

// The copies of a closed network, as the backward pass receives them.
struct Copies {
  linked_list_type* list = ll_new(activityMatch, getActivityName);
  explicit Copies(linked_list_type* items) {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      ll_addtail(list, activityCopyCreateNew(static_cast<activity_type*>(l->pcontents), nullptr));
    }
  }
  ~Copies() {
    for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(list);
  }
};

std::vector<std::string> namesOf(linked_list_type* list) {
  std::vector<std::string> out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    out.push_back(static_cast<activity_type*>(l->pcontents)->name);
  }
  return out;
}

int at(const std::vector<std::string>& names, const std::string& name) {
  return static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
}

TEST(BackwardOrders, SuccessorsAndChildrenFirstDownFromTheFinishNode) {
  Net n;
  n.add("K", 2, "PRJ");
  n.task("A", 500, 0, "K");
  n.task("B", 500, 0, "K");
  n.task("C");
  n.task("D");
  n.dep("A", "B");
  n.dep("B", "C");
  n.dep("K", "D");  // the container's successor bounds its children too
  n.close();
  Copies c(n.items());
  linked_list_type* order4 = ll_new(activityMatch, getActivityName);
  Log log;
  ASSERT_EQ(reorgNetTrFromFinishNode(c.list, order4, n.projects(), 0, "start", "finish", 1, log.f),
            0);
  const std::vector<std::string> got = namesOf(order4);
  ASSERT_EQ(got.size(), 8u);
  EXPECT_EQ(got.front(), "finish");
  EXPECT_EQ(got.back(), "start");
  EXPECT_LT(at(got, "C"), at(got, "B"));
  EXPECT_LT(at(got, "B"), at(got, "A"));
  EXPECT_LT(at(got, "D"), at(got, "A"));
  EXPECT_LT(at(got, "D"), at(got, "B"));
  EXPECT_LT(at(got, "A"), at(got, "K"));
  EXPECT_LT(at(got, "K"), at(got, "PRJ"));
  for (size_t i = 1; i + 1 < got.size(); ++i) {
    EXPECT_EQ(static_cast<activity_type*>(ll_extract(order4, got[i].c_str()))->proper_order_back,
              static_cast<int>(i));
  }
  EXPECT_NE(log.text().find("Reorganize Items Order on Backward pass (reorgNetTrFromFinishNode)"),
            std::string::npos);
  EXPECT_NE(log.text().find("inversed order, down from Finish Node"), std::string::npos);
  ll_delete(order4);
}

TEST(BackwardOrders, FixedItemNumberedOnSight) {
  Net n;
  n.task("A");
  n.task("H", 500, 5);
  n.dep("A", "H");
  n.dep("H", "A");  // a cycle that the fixed item does not wait for
  n.close();
  Copies c(n.items());
  linked_list_type* order4 = ll_new(activityMatch, getActivityName);
  Log log;
  ASSERT_EQ(reorgNetTrFromFinishNode(c.list, order4, n.projects(), 0, "start", "finish", 0, log.f),
            0);
  const std::vector<std::string> got = namesOf(order4);
  EXPECT_LT(at(got, "H"), at(got, "A"));
  EXPECT_EQ(log.text().find("Cut long chain"), std::string::npos);
  ll_delete(order4);
}

TEST(BackwardOrders, RandomNetworksNeedNoCut) {
  std::mt19937 rng(3);
  for (int round = 0; round < 10; ++round) {
    Net n;
    std::vector<std::string> tasks, containers{"PRJ"};
    for (int i = 0; i < 80; ++i) {
      const std::string name = "I" + std::to_string(i);
      const std::string parent = containers[rng() % containers.size()];
      if (rng() % 5 == 0) {
        n.add(name, 2, parent);
        containers.push_back(name);
        continue;
      }
      n.task(name, 500, 0, parent);
      for (int k = 0, preds = static_cast<int>(rng() % 4); k < preds && !tasks.empty(); ++k) {
        const std::string& p = tasks[rng() % tasks.size()];
        if (ll_find(n.byName(name)->pred_list, p.c_str()) == 0) n.dep(p, name);
      }
      tasks.push_back(name);
    }
    n.close();
    Copies c(n.items());
    linked_list_type* order4 = ll_new(activityMatch, getActivityName);
    Log log;
    ASSERT_EQ(reorgNetTrFromFinishNode(c.list, order4, n.projects(), 0, "start", "finish", 0, log.f),
              0);
    EXPECT_EQ(log.text().find("Cut long chain"), std::string::npos);
    const std::vector<std::string> got = namesOf(order4);
    for (linktype* l = c.list->phead->pnext; l->pnext != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      for (linktype* d = a->succ_list->phead; d != nullptr; d = d->pnext) {
        const std::string s = static_cast<dependency_type*>(d->pcontents)->name;
        if (s != "finish") {
          EXPECT_LT(at(got, s), at(got, a->name)) << a->name << " -> " << s;
        }
      }
      const std::string parent = static_cast<string_type*>(a->parent_list->phead->pcontents)->str;
      if (parent != "start") {
        EXPECT_LT(at(got, a->name), at(got, parent));
      }
    }
    ll_delete(order4);
  }
}

TEST(BackwardOrders, LevelOrderRecomputedOnCopiesWithoutWeighting) {
  Net n;
  n.task("P", 300);
  n.task("S", 900);
  n.task("F", 700);
  n.dep("P", "S");
  for (const char* t : {"P", "S", "F"}) n.assign(t, std::string("R") + t);
  n.byName("S")->slack = 480;
  n.close();
  Copies c(n.items());
  for (linktype* l = c.list->phead; l != nullptr; l = l->pnext) {
    static_cast<activity_type*>(l->pcontents)->task_level_order = 42;
  }
  linked_list_type* order5 = ll_new(activityMatch, getActivityName);
  ASSERT_EQ(reorgIndexOrderOnBackPass(c.list, order5, n.projects(), 0, 1, "start", "finish", 0,
                                      nullptr),
            0);
  const std::vector<std::string> got = namesOf(order5);
  EXPECT_EQ(got, (std::vector<std::string>{"start", "PRJ", "F", "P", "S", "finish"}));
  auto* s = static_cast<activity_type*>(ll_extract(c.list, "S"));
  EXPECT_EQ(s->weighted_delay, 0);
  EXPECT_EQ(s->task_level_order, 3);
  EXPECT_EQ(n.idx("S"), -1);  // the items themselves are untouched
  ll_delete(order5);
}

// --- Delay parameters -------------------------------------------------------

TEST(DelayParameters, OnlyTasksWithAssignmentsAndOnlyCompetingWork) {
  Net n;
  n.task("A");
  n.task("B");
  n.task("C");
  n.task("NOASS");
  n.dep("A", "B");
  n.assign("A", "R", 480);
  n.assign("B", "R", 960);   // after A: not competing
  n.assign("C", "R", 1440);  // beside A: competing
  n.byName("NOASS")->max_delay_param = 7;
  n.close();
  ASSERT_EQ(doCalculateDelayParamForAllTasks(n.items(), n.items(), n.sm(), "start", "finish",
                                             nullptr),
            0);
  EXPECT_EQ(n.byName("A")->max_delay_param, 1440);
  EXPECT_EQ(n.byName("A")->ext_delay_dur, 0);
  EXPECT_EQ(n.byName("NOASS")->max_delay_param, 7);
}

}  // namespace
