// Priority order and backward orders on random networks of 1,000, 10,000 and
// 100,000 items: a root project item, containers of four items each (a
// four-ary tree), tasks with up to three predecessors among the 200 tasks
// before them, random priorities, slack and early starts over two years of
// the default calendar, half of the tasks with an assignment (20
// resources), 2% fixed (constraint 4 or 5) and 2% ALAP.
//
// Reported per size: time per run, and peak_MB, the largest heap in use
// during the step beyond what was in use when it began (every allocation of
// the program is counted by the replaced operator new). The delay
// parameters of all tasks are measured on the same networks with every task
// carrying 1 to 3 assignments of the 20 resources.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "network/priority_order.h"
#include "heap_meter.h"

namespace {

const int32_t kOrigin = dayOfYearToJulian(1950, 1, 1);
const int32_t kMon = dayOfYearToJulian(2024, 1, 1) - kOrigin;

struct Network {
  project_type* proj = projectCreateNew("PRJ");
  storage_manager_type* sm = smanagerCreateNew();
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  std::vector<assignment_type*> assignments;

  // allAssigned: every task has 1 to 3 assignments instead of half of the
  // tasks one.
  explicit Network(int n, bool allAssigned = false) {
    proj->julianDateOrigin = kOrigin;
    unsigned char empty[DAY_BITS_BYTES] = {0};
    char hex[DAY_BITS_HEX_DIGITS + 1];
    for (int w = 1; w <= 7; ++w) {
      Lev_splitSchedBitsInTwo(w == 1 || w == 7 ? empty : dayBitsDefault8H, hex);
      setProjectBitsForDaysOfWeek(proj, w, hex);
    }
    setProjectFirstDayOfWeek(proj, 2);
    setProjectSizeOfCalendar(proj, 1200);
    setProjectMinutesPerDay(proj, 480);
    proj->first_day = proj->create_date = proj->current_date = proj->start_date = kMon;
    proj->isRootProject = 1;
    for (int r = 0; r < 20; ++r) {
      char res[16];
      std::snprintf(res, sizeof res, "RES%d", r);
      assignments.push_back(assignmentCreateNew(res));
    }
    std::mt19937 rng(static_cast<unsigned>(n));
    std::vector<activity_type*> act(n);
    const int containers = (n - 1 + 3) / 4;  // items 0 .. containers-1 have children
    std::vector<int> tasks;
    for (int i = 0; i < n; ++i) {
      const bool container = i < containers;
      const int r = static_cast<int>(rng() % 100);
      const int16_t constraint = container ? 0 : r < 1 ? 4 : r < 2 ? 5 : r < 4 ? 1 : 0;
      const int32_t es = kMon + static_cast<int32_t>(rng() % 700);
      char name[16];
      std::snprintf(name, sizeof name, "I%d", i);
      activity_type* a = activityCreateNew(name, i == 0 ? 1 : container ? 2 : 3, proj,
                                           es, es + 2, 1440, constraint, es + 5);
      a->priority = 100 + static_cast<int32_t>(rng() % 800);
      a->slack = static_cast<int32_t>(rng() % 20) * 480;
      a->brunch = container && i > 0 ? i : 0;
      const int parent = i == 0 ? -1 : (i - 1) / 4;
      a->level_id = static_cast<int16_t>(parent < 0 ? 1 : act[parent]->level_id + 1);
      setActivityParent(a, parent < 0 ? "start" : act[parent]->name, nullptr);
      if (parent >= 0) setActivityChild(act[parent], a->name, nullptr);
      if (!container) {
        for (int k = 0, preds = static_cast<int>(rng() % 4); k < preds && !tasks.empty(); ++k) {
          const int window = std::min<int>(200, static_cast<int>(tasks.size()));
          const int p = tasks[tasks.size() - 1 - rng() % window];
          if (ll_find(a->pred_list, act[p]->name)) continue;
          activityCreatePred(a, act[p]->name, 1, 0, 0, nullptr);
          activityCreateSucc(act[p], a->name, 1, 0, 0, nullptr);
        }
        const int count = allAssigned ? 1 + static_cast<int>(rng() % 3) : rng() % 2 ? 1 : 0;
        std::vector<assignment_type*> chosen;
        for (int k = 0; k < count; ++k) {
          assignment_type* ass = assignments[rng() % assignments.size()];
          if (std::find(chosen.begin(), chosen.end(), ass) != chosen.end()) continue;
          chosen.push_back(ass);
          // Appended directly: the task is new to the assignment, and a
          // look-up in a work list of thousands per task would dominate.
          work_type* w = workCreateNew(ass->name, a->name);
          ll_addtail(ass->work_list, w);
          w->proposed_work = 480 * (1 + static_cast<int32_t>(rng() % 10));
          w->units_msp = 10000;
          setActivityAssignment(a, ass, 0, nullptr);
        }
        tasks.push_back(i);
      }
      act[i] = a;
    }
    ll_addtail(items, activityCreateNew("start", 0, nullptr, kMon - 1, kMon - 1, 0, 0, 0));
    for (activity_type* a : act) ll_addtail(items, a);
    ll_addtail(items, activityCreateNew("finish", 0, nullptr, kMon - 1, kMon - 1, 0, 0, 0));
    int32_t serial = 0;
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      a->serial_num = serial++;
      a->ntw_level_id = a->level_id;
      if (l == items->phead || l == items->ptail) continue;
      if (ll_size(a->child_list) == 0) setActivityChild(a, "finish", nullptr);
      if (ll_size(a->pred_list) == 0) activityCreatePred(a, "start", 1, 0, 0, nullptr);
      if (ll_size(a->succ_list) == 0) activityCreateSucc(a, "finish", 0, 0, 0, nullptr);
    }
    ll_createIndexArray(items, "start", "finish");  // as the load phase indexes the item list
  }
  ~Network() {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    for (assignment_type* a : assignments) assignmentDelete(a);
    ll_delete(items);
    smanagerDelete(sm);
    projectDelete(proj);
  }
};

Network& networkOf(int n) {
  static std::map<int, std::unique_ptr<Network>> cache;
  auto& slot = cache[n];
  if (!slot) slot = std::make_unique<Network>(n);
  return *slot;
}

Network& assignedNetworkOf(int n) {
  static std::map<int, std::unique_ptr<Network>> cache;
  auto& slot = cache[n];
  if (!slot) slot = std::make_unique<Network>(n, true);
  return *slot;
}

// Copies of the items, as the backward pass orders them: indexed by name,
// as the processing sequence indexes them for runs of 33 tasks or more.
struct Copies {
  linked_list_type* list = ll_new(activityMatch, getActivityName);
  explicit Copies(linked_list_type* items) {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      ll_addtail(list, activityCopyCreateNew(static_cast<activity_type*>(l->pcontents), nullptr));
    }
    ll_createIndexArray(list, "start", "finish");
  }
  ~Copies() {
    for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(list);
  }
};

template <class Step>
void measure(benchmark::State& state, Step step) {
  long long peak = 0;
  for (auto _ : state) {
    const heap_meter::PeakMeter meter;
    if (step() != 0) state.SkipWithError("the step failed");
    peak = std::max(peak, meter.peakBytes());
  }
  state.counters["peak_MB"] = static_cast<double>(peak) / (1024.0 * 1024.0);
  state.counters["items"] = static_cast<double>(state.range(0));
}

void BM_PriorityOrder(benchmark::State& state) {
  Network& net = networkOf(static_cast<int>(state.range(0)));
  measure(state, [&] {
    return creaPriorOrdTasksLevelIndex(nullptr, net.items, net.items, net.sm, 1, 1, 0, kOrigin,
                                       "start", "finish", 0, nullptr);
  });
}

void BM_BackwardOrderFromFinishNode(benchmark::State& state) {
  Network& net = networkOf(static_cast<int>(state.range(0)));
  Copies copies(net.items);
  linked_list_type* order = ll_new(activityMatch, getActivityName);
  measure(state, [&] {
    return reorgNetTrFromFinishNode(copies.list, order, nullptr, 1, "start", "finish", 0, nullptr);
  });
  ll_delete(order);
}

void BM_IndexOrderOnBackPass(benchmark::State& state) {
  Network& net = networkOf(static_cast<int>(state.range(0)));
  Copies copies(net.items);
  linked_list_type* order = ll_new(activityMatch, getActivityName);
  measure(state, [&] {
    return reorgIndexOrderOnBackPass(copies.list, order, nullptr, 1, 1, "start", "finish", 0,
                                     nullptr);
  });
  ll_delete(order);
}

void BM_DelayParamsForAllTasks(benchmark::State& state) {
  Network& net = assignedNetworkOf(static_cast<int>(state.range(0)));
  measure(state, [&] {
    return doCalculateDelayParamForAllTasks(net.items, net.items, net.sm, "start", "finish",
                                            nullptr);
  });
}

#define SIZES Arg(1000)->Arg(10000)->Arg(100000)->Arg(300000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_PriorityOrder)->SIZES->Iterations(3);
BENCHMARK(BM_BackwardOrderFromFinishNode)->SIZES->Iterations(3);
BENCHMARK(BM_IndexOrderOnBackPass)->SIZES->Iterations(3);
BENCHMARK(BM_DelayParamsForAllTasks)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
