// Delay parameters of all tasks: a worked example on a network with a
// cycle, and the word-wise reachability of doCalculateDelayParamForAllTasks
// checked against plain walks (written here, independently, as the
// reference) on many random networks with cycles, containers, one-sided
// dependency lists, finished items, items without a project and work on
// items that were not loaded.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "model/dependency.h"
#include "network/priority_order.h"
#include "schedule/delay_params.h"

namespace {

struct DelayNet {
  project_type* p1 = projectCreateNew("P1");
  project_type* p2 = projectCreateNew("P2");
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  std::vector<assignment_type*> resources;
  std::vector<activity_type*> all;  // without the two nodes

  DelayNet() {
    setProjectMinutesPerDay(p1, 480);
    setProjectMinutesPerDay(p2, 450);
    ll_addtail(items, activityCreateNew("start", 0, nullptr, 0, 0, 0, 0, 0));
  }
  ~DelayNet() {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(items);
    for (assignment_type* a : resources) assignmentDelete(a);
    projectDelete(p1);
    projectDelete(p2);
  }
  DelayNet(const DelayNet&) = delete;
  DelayNet& operator=(const DelayNet&) = delete;

  activity_type* item(const std::string& name, int16_t type = 3, project_type* p = nullptr) {
    activity_type* a = activityCreateNew(name.c_str(), type, p != nullptr ? p : p1, 0, 0, 480, 0, 0);
    ll_addtail(items, a);
    all.push_back(a);
    return a;
  }
  void dep(activity_type* pred, const std::string& succ, bool predSide = true,
           bool succSide = true) {
    if (succSide) activityCreateSucc(pred, succ.c_str(), 1, 0, 0, nullptr);
    if (predSide) {
      auto* s = static_cast<activity_type*>(ll_extract(items, succ.c_str()));
      if (s != nullptr) activityCreatePred(s, pred->name, 1, 0, 0, nullptr);
    }
  }
  assignment_type* resource(const std::string& name) {
    resources.push_back(assignmentCreateNew(name.c_str()));
    return resources.back();
  }
  work_type* work(assignment_type* r, const std::string& on, int minutes, int units = 0) {
    work_type* w = assignmentCreateWorkByActivity(r, on.c_str(), nullptr);
    w->proposed_work = minutes;
    w->duration = minutes;
    w->units_msp = static_cast<int16_t>(units);
    if (auto* a = static_cast<activity_type*>(ll_extract(items, on.c_str()))) {
      setActivityAssignment(a, r, 0, nullptr);
    }
    return w;
  }
  // The finish node, and the node links of items without predecessors or
  // successors.
  void seal() {
    ll_addtail(items, activityCreateNew("finish", 0, nullptr, 0, 0, 0, 0, 0));
    for (activity_type* a : all) {
      if (ll_size(a->pred_list) == 0) activityCreatePred(a, "start", 1, 0, 0, nullptr);
      if (ll_size(a->succ_list) == 0) activityCreateSucc(a, "finish", 0, 0, 0, nullptr);
    }
  }
  activity_type* find(const std::string& name) {
    return static_cast<activity_type*>(ll_extract(items, name.c_str()));
  }
};

// The reference: for one task, the items reached through successor lists
// and, separately, through predecessor lists; the competing work of each
// assignment is its open work on every other item reached by neither walk.
using ByName = std::map<std::string, activity_type*>;
ByName namesOf(linked_list_type* items) {
  ByName byName;
  for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
    auto* a = static_cast<activity_type*>(l->pcontents);
    byName.emplace(a->name, a);
  }
  return byName;
}

std::pair<int32_t, int32_t> referenceDelay(activity_type* task, const ByName& byName) {
  auto walk = [&](bool forward) {
    std::set<const activity_type*> seen;
    std::vector<activity_type*> todo{task};
    while (!todo.empty()) {
      activity_type* a = todo.back();
      todo.pop_back();
      for (linktype* l = (forward ? a->succ_list : a->pred_list)->phead; l != nullptr;
           l = l->pnext) {
        const std::string name = static_cast<dependency_type*>(l->pcontents)->name;
        if (name == (forward ? "finish" : "start")) continue;
        auto it = byName.find(name);
        if (it == byName.end() || !seen.insert(it->second).second) continue;
        todo.push_back(it->second);
      }
    }
    return seen;
  };
  const std::set<const activity_type*> after = walk(true), before = walk(false);
  int32_t largest = 0, smallest = 0;
  bool first = true;
  for (linktype* l = task->assignment_list->phead; l != nullptr; l = l->pnext) {
    auto* ass = static_cast<assignment_type*>(l->pcontents);
    int32_t load = 0;
    for (linktype* w = ass->work_list->phead; w != nullptr; w = w->pnext) {
      auto* work = static_cast<work_type*>(w->pcontents);
      if (std::string(work->act_name) == task->name) continue;
      auto it = byName.find(work->act_name);
      const activity_type* on = it == byName.end() ? nullptr : it->second;
      if (on != nullptr && (after.count(on) != 0 || before.count(on) != 0)) continue;
      if (on != nullptr ? on->hasActualFinish != 0 : work->hasActualFinish != 0) continue;
      const project_type* p = on != nullptr && on->proj != nullptr ? on->proj : task->proj;
      load += getWorkDurationContour(work, p != nullptr ? p->minutes_per_day : 0, 0, nullptr);
    }
    largest = first ? load : std::max(largest, load);
    smallest = first ? load : std::min(smallest, load);
    first = false;
  }
  return {largest, largest - smallest};
}

// T and X depend on each other; Y precedes X, so Y precedes T too, and its
// work on T's resource does not compete. Z is parallel to all three.
TEST(DelayParams, AnItemBeforeACycleIsRelatedThroughIt) {
  DelayNet net;
  activity_type* t = net.item("T");
  activity_type* x = net.item("X");
  activity_type* y = net.item("Y");
  net.item("Z");
  net.dep(t, "X");
  net.dep(x, "T");
  net.dep(y, "X");
  net.seal();
  assignment_type* r = net.resource("R");
  net.work(r, "T", 480);
  net.work(r, "Y", 960);
  net.work(r, "Z", 240);
  assignment_type* q = net.resource("Q");
  net.work(q, "T", 480);
  net.work(q, "X", 600);
  ASSERT_EQ(doCalculateDelayParamForAllTasks(net.items, net.items, nullptr, "start", "finish",
                                             nullptr),
            0);
  // R: only Z competes (240); Q: X follows T, nothing competes.
  EXPECT_EQ(t->max_delay_param, 240);
  EXPECT_EQ(t->ext_delay_dur, 240);
  // Y reaches T and X; Z competes with it on R.
  EXPECT_EQ(y->max_delay_param, 240);
  EXPECT_EQ(y->ext_delay_dur, 0);
  // Z competes with T and Y: 480 + 960.
  EXPECT_EQ(net.find("Z")->max_delay_param, 1440);
  // The single-task walk agrees.
  t->max_delay_param = t->ext_delay_dur = -1;
  ASSERT_EQ(activityCalculateDelayParam(t, net.items, nullptr, "start", "finish", nullptr), 0);
  EXPECT_EQ(t->max_delay_param, 240);
  EXPECT_EQ(t->ext_delay_dur, 240);
}

// Work on finished items and on items that were not loaded; an item
// without a project takes the asking task's standard day (units give the
// day's share: 50% of 480 is 240 a day, of 450 is 225).
TEST(DelayParams, FinishedMissingAndProjectlessWork) {
  DelayNet net;
  activity_type* a = net.item("A", 3, net.p1);
  activity_type* b = net.item("B", 3, net.p2);
  activity_type* done = net.item("D");
  done->hasActualFinish = 1;
  activity_type* bare = net.item("N");
  bare->proj = nullptr;
  net.seal();
  assignment_type* r = net.resource("R");
  net.work(r, "A", 480);
  net.work(r, "B", 480);
  net.work(r, "D", 480);
  net.work(r, "N", 960, 5000);       // two days at half time
  net.work(r, "GONE", 300);          // not loaded, open
  net.work(r, "GONE2", 300)->hasActualFinish = 1;
  ASSERT_EQ(doCalculateDelayParamForAllTasks(net.items, net.items, nullptr, "start", "finish",
                                             nullptr),
            0);
  for (activity_type* task : {a, b}) {
    const auto [max, ext] = referenceDelay(task, namesOf(net.items));
    EXPECT_EQ(task->max_delay_param, max) << task->name;
    EXPECT_EQ(task->ext_delay_dur, ext) << task->name;
  }
  EXPECT_EQ(a->max_delay_param, 480 + 300 + getWorkDurationContour(
                                                 getActivityWorkByAssignment(bare, r), 480, 0,
                                                 nullptr));
  EXPECT_NE(a->max_delay_param - 480, b->max_delay_param - 480)
      << "N's work is measured with the asking task's day";
}

// A task record that is not in the item list (as a copy would be): its own
// lists start the walks, its own work (on a name the list does not hold)
// does not compete with it, and work before it competes not.
TEST(DelayParams, ATaskOutsideTheItemList) {
  DelayNet net;
  activity_type* x = net.item("X");
  activity_type* y = net.item("Y");
  net.item("Z");
  activity_type* q = activityCreateNew("Q", 3, net.p1, 0, 0, 480, 0, 0);
  activityCreateSucc(q, "Y", 1, 0, 0, nullptr);
  activityCreatePred(q, "X", 1, 0, 0, nullptr);
  net.seal();
  assignment_type* r = net.resource("R");
  net.work(r, "X", 100);
  net.work(r, "Y", 200);
  net.work(r, "Z", 400);
  net.work(r, "Q", 800);
  setActivityAssignment(q, r, 0, nullptr);
  ASSERT_EQ(activitiesCalculateDelayParams({q, x, y}, net.items, "start", "finish", nullptr), 0);
  EXPECT_EQ(q->max_delay_param, 400) << "Z only";
  const auto [max, ext] = referenceDelay(q, namesOf(net.items));
  EXPECT_EQ(q->max_delay_param, max);
  EXPECT_EQ(q->ext_delay_dur, ext);
  // X knows nothing of Q (its lists do not name it): Q's work, on a name
  // not in the list, competes with X, as do Y and Z.
  EXPECT_EQ(x->max_delay_param, 200 + 400 + 800);
  activityDelete(q);
}

// Random networks: forward edges, back edges (cycles), container items with
// dependencies, one-sided entries, names that are not loaded, 1 to 3
// assignments per task.
struct RandomDelayNet : DelayNet {
  RandomDelayNet(unsigned seed, int n, int backEdges, int resourcesCount) {
    std::mt19937 rng(seed);
    for (int i = 0; i < n; ++i) {
      const int r = static_cast<int>(rng() % 100);
      activity_type* a = item("I" + std::to_string(i), r < 10 ? 2 : 3, r < 50 ? p1 : p2);
      if (r >= 97) a->proj = nullptr;
      a->hasActualFinish = rng() % 15 == 0;
    }
    auto pick = [&](int from, int to) { return from + static_cast<int>(rng() % (to - from)); };
    for (int i = 1; i < n; ++i) {
      for (int k = 0, preds = static_cast<int>(rng() % 3); k < preds; ++k) {
        const int p = rng() % 3 == 0 ? pick(0, i) : pick(std::max(0, i - 20), i);
        const int side = static_cast<int>(rng() % 20);
        dep(all[p], all[i]->name, side != 0, side != 1);
      }
      if (rng() % 40 == 0) dep(all[i], "NOT_LOADED");
    }
    for (int k = 0; k < backEdges; ++k) {
      const int a = pick(1, n), b = pick(std::max(0, a - 30), a);
      dep(all[a], all[b]->name);  // closes a cycle through the forward edges, often
    }
    seal();
    for (int r = 0; r < resourcesCount; ++r) resource("R" + std::to_string(r));
    for (activity_type* a : all) {
      if (a->type != 3) continue;
      for (int k = 0, count = 1 + static_cast<int>(rng() % 3); k < count; ++k) {
        assignment_type* res = resources[rng() % resources.size()];
        if (getActivityWorkByAssignment(a, res) != nullptr) continue;
        work(res, a->name, 60 * (1 + static_cast<int>(rng() % 40)),
             rng() % 3 == 0 ? 2500 * (1 + static_cast<int>(rng() % 4)) : 0);
      }
    }
    for (int k = 0; k < n / 20; ++k) {
      work_type* w = work(resources[rng() % resources.size()], "GONE" + std::to_string(k), 120);
      w->hasActualFinish = rng() % 2;
    }
  }
};

void expectMatchesReference(RandomDelayNet& net, const std::string& what, int32_t blockWords) {
  std::vector<activity_type*> tasks;
  for (activity_type* a : net.all) {
    if (a->type == 3 && ll_size(a->assignment_list) > 0) tasks.push_back(a);
    a->max_delay_param = a->ext_delay_dur = -7;
  }
  ASSERT_EQ(activitiesCalculateDelayParams(tasks, net.items, "start", "finish", nullptr, blockWords),
            0);
  int wrong = 0;
  const ByName byName = namesOf(net.items);
  for (activity_type* a : net.all) {
    if (a->type != 3 || ll_size(a->assignment_list) == 0) {
      wrong += a->max_delay_param != -7 || a->ext_delay_dur != -7;
      continue;
    }
    const auto [max, ext] = referenceDelay(a, byName);
    if (a->max_delay_param != max || a->ext_delay_dur != ext) {
      if (++wrong <= 3) {
        ADD_FAILURE() << what << " " << a->name << ": " << a->max_delay_param << "/"
                      << a->ext_delay_dur << ", reference " << max << "/" << ext;
      }
    }
  }
  EXPECT_EQ(wrong, 0) << what;
}

TEST(DelayParams, WordWiseReachabilityMatchesThePlainWalks) {
  struct Case {
    unsigned seeds;
    int n, backEdges, resources;
    int32_t blockWords;
  };
  for (Case c : {Case{12, 60, 0, 3, 0}, Case{12, 60, 6, 3, 0}, Case{8, 300, 0, 6, 1},
                 Case{8, 300, 30, 6, 1}, Case{4, 1500, 40, 12, 2}, Case{2, 3000, 30, 20, 0}}) {
    for (unsigned seed = 1; seed <= c.seeds; ++seed) {
      RandomDelayNet net(seed * 977 + static_cast<unsigned>(c.n), c.n, c.backEdges, c.resources);
      expectMatchesReference(net,
                             "n " + std::to_string(c.n) + " back " + std::to_string(c.backEdges) +
                                 " seed " + std::to_string(seed),
                             c.blockWords);
    }
  }
}

// The single-task walk is the reference too (it serves single tasks).
TEST(DelayParams, SingleTaskWalkMatchesTheReferenceOnCyclicNetworks) {
  RandomDelayNet net(4242, 400, 40, 5);
  int checked = 0;
  const ByName byName = namesOf(net.items);
  for (activity_type* a : net.all) {
    if (a->type != 3 || ll_size(a->assignment_list) == 0) continue;
    ASSERT_EQ(activityCalculateDelayParam(a, net.items, nullptr, "start", "finish", nullptr), 0);
    const auto [max, ext] = referenceDelay(a, byName);
    EXPECT_EQ(a->max_delay_param, max) << a->name;
    EXPECT_EQ(a->ext_delay_dur, ext) << a->name;
    ++checked;
  }
  EXPECT_GT(checked, 300);
}

}  // namespace
