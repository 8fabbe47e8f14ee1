// The scheduling passes on random networks of 1,000, 10,000 and 100,000
// items: the static forward pass, and the backward pass on copies followed
// by the total slack.
//
// A network: one project on the default calendar (five-day week, 08:00-12:00
// and 13:00-17:00), tasks of 1 to 5 days of effort grouped four to a
// container, containers four to a container up to the project item; every
// task and container has up to three predecessors (finish-to-start,
// start-to-start, finish-to-finish or start-to-finish, lags of 0 to 2
// days) among the tasks before it (mostly among the 200 before it), so the
// network order is the order of creation with each container right after
// its last child. The item lists are indexed (the list container's
// index array of names), as the processing sequence does for runs of 33
// items or more. The calendar is sized from a textbook forward pass so that
// no placement needs to grow it (see build()).
//
// Setup (building, copying, ordering) is not timed. Each size reports, as
// counters, the items, the dependencies and the process's peak resident
// set (getrusage ru_maxrss, in MB): run one size per process
// (--benchmark_filter=/100000) to read a size's own peak.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <queue>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/dependency.h"
#include "model/serial_names.h"
#include "network/backward_pass.h"
#include "network/forward_pass.h"
#include "network/slack.h"
#include "schedule/placement.h"

namespace {

const int kOrigin = dayOfYearToJulian(1950, 1, 1);

struct Dep {
  int pred;
  int type;
  int lagDays;
};

struct Shape {
  std::vector<int> days;                 // effort in days; 0 for containers
  std::vector<int> parent;               // index of the parent; -1 for the project item
  std::vector<std::vector<Dep>> preds;   // predecessors (task indices)
  std::vector<int> order;                // network order of the indices
  int projectItem = 0;
  int workDays = 0;                      // textbook project length
};

// Tasks four to a container, containers four to a container, about n items.
Shape randomShape(int n, unsigned seed) {
  std::mt19937 rng(seed);
  Shape s;
  const int tasks = std::max(4, n * 3 / 4);
  std::vector<int> level;  // items of the current level, to be grouped
  auto add = [&](int d, int p) {
    s.days.push_back(d);
    s.parent.push_back(p);
    s.preds.emplace_back();
    return static_cast<int>(s.days.size()) - 1;
  };
  std::vector<int> taskIds;
  for (int t = 0; t < tasks; ++t) {
    const int id = add(1 + static_cast<int>(rng() % 5), -1);
    taskIds.push_back(id);
    const int k = static_cast<int>(rng() % 4);
    for (int c = 0; c < k && t > 0; ++c) {
      const int window = std::min(t, 200);
      const int pred = (rng() % 4 == 0) ? taskIds[rng() % t] : taskIds[t - 1 - rng() % window];
      bool dup = false;
      for (const Dep& d : s.preds[id]) dup = dup || d.pred == pred;
      if (!dup) s.preds[id].push_back({pred, static_cast<int>(rng() % 4), static_cast<int>(rng() % 3)});
    }
  }
  // Containers over groups of four, level by level.
  level = taskIds;
  std::vector<int> firstTaskOf(s.days.size());
  for (int id : taskIds) firstTaskOf[id] = id;
  while (level.size() > 4) {
    std::vector<int> next;
    for (size_t i = 0; i < level.size(); i += 4) {
      const int c = add(0, -1);
      firstTaskOf.push_back(firstTaskOf[level[i]]);
      for (size_t j = i; j < std::min(level.size(), i + 4); ++j) s.parent[level[j]] = c;
      // Up to three predecessors among the tasks before its first task.
      const int first = firstTaskOf[c];
      const int k = first > 0 ? static_cast<int>(rng() % 4) : 0;
      for (int q = 0; q < k; ++q) {
        const int pred = taskIds[first - 1 - static_cast<int>(rng() % std::min(first, 200))];
        bool dup = false;
        for (const Dep& d : s.preds[c]) dup = dup || d.pred == pred;
        if (!dup) s.preds[c].push_back({pred, 1, static_cast<int>(rng() % 3)});
      }
      next.push_back(c);
    }
    level = next;
  }
  s.projectItem = add(0, -1);
  for (int id : level) s.parent[id] = s.projectItem;
  // Network order: tasks in creation order, each container right after the
  // last item of its subtree.
  std::vector<std::vector<int>> kids(s.days.size());
  for (size_t id = 0; id < s.days.size(); ++id) {
    if (s.parent[id] >= 0) kids[s.parent[id]].push_back(static_cast<int>(id));
  }
  std::vector<int> walkId = {s.projectItem};
  std::vector<size_t> walkNext = {0};
  while (!walkId.empty()) {
    const int id = walkId.back();
    const size_t next = walkNext.back();
    if (next < kids[id].size()) {
      walkNext.back() = next + 1;
      walkId.push_back(kids[id][next]);
      walkNext.push_back(0);
    } else {
      s.order.push_back(id);
      walkId.pop_back();
      walkNext.pop_back();
    }
  }
  // Textbook project length in working days, to size the calendar: a task
  // starts after its own predecessors and after those of its containers
  // (each container's predecessors come before its first task, so they are
  // known when its first task is reached).
  struct Early {
    int es = 0;
    int ef = 0;
    int bound = -1;  // a container's: the start its predecessors allow
  };
  std::vector<Early> e(s.days.size());
  auto boundOf = [&](int c) {
    if (e[c].bound < 0) {
      int v = 0;
      for (const Dep& d : s.preds[c]) v = std::max(v, e[d.pred].ef + d.lagDays);
      e[c].bound = v;
    }
    return e[c].bound;
  };
  for (int id : taskIds) {
    int v = 0;
    for (int a = s.parent[id]; a >= 0 && a != s.projectItem; a = s.parent[a]) {
      v = std::max(v, boundOf(a));
    }
    for (const Dep& d : s.preds[id]) {
      const Early& p = e[d.pred];
      switch (d.type) {
        case 1: v = std::max(v, p.ef + d.lagDays); break;
        case 3: v = std::max(v, p.es + d.lagDays); break;
        case 0: v = std::max(v, p.ef + d.lagDays - s.days[id]); break;
        default: v = std::max(v, p.es + d.lagDays - s.days[id]); break;
      }
    }
    e[id].es = v;
    e[id].ef = v + s.days[id];
    s.workDays = std::max(s.workDays, e[id].ef);
  }
  return s;
}

struct Network {
  project_type* proj = nullptr;
  storage_manager_type* sm = nullptr;
  FILE* log = nullptr;
  linked_list_type* items = nullptr;
  linked_list_type* roots = nullptr;
  linked_list_type* copies = nullptr;
  linked_list_type* back = nullptr;
  std::vector<activity_type*> records;  // by shape index
  activity_type* startNode = nullptr;
  activity_type* finishNode = nullptr;
  int deps = 0;
};

std::string nameOf(int id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "I%d", id);
  return buf;
}

void setWeek(project_type* p) {
  unsigned char day[DAY_BITS_BYTES];
  char work[DAY_BITS_HEX_DIGITS + 1];
  char none[DAY_BITS_HEX_DIGITS + 1];
  std::memcpy(day, dayBitsDefault8H, DAY_BITS_BYTES);
  Lev_splitSchedBitsInTwo(day, work);
  std::memset(day, 0, DAY_BITS_BYTES);
  Lev_splitSchedBitsInTwo(day, none);
  for (int w = 1; w <= 7; ++w) setProjectBitsForDaysOfWeek(p, w, (w == 1 || w == 7) ? none : work);
}

Network* build(const Shape& s) {
  Network* net = new Network;
  net->log = std::fopen(std::getenv("PASSES_BENCH_LOG") != nullptr ? std::getenv("PASSES_BENCH_LOG") : "/dev/null", "w");
  net->proj = projectCreateNew("PRJ");
  net->sm = smanagerCreateNew();
  setSmanagerProjectsPoolSize(net->sm, 50);
  project_type* p = net->proj;
  setProjectJulianDateOrigin(p, kOrigin);
  setWeek(p);
  const int32_t first = dayOfYearToJulian(2024, 1, 1) - kOrigin;  // a Monday
  // The calendar reaches back to 400 days before day number 0, where a run
  // with a store has it after the first constraint limits are taken (they
  // make the calendar cover constraint date 0); without a store every such
  // attempt would fail and mark the calendar resized, and the availability
  // arrays would be rebuilt and sorted again at each placement.
  const int32_t calFirst = -400;
  // Room beyond the estimate: the engine's containers move their children
  // further than the estimate counts, a container may span most of the
  // project, and any placement must fit in the calendar from its start.
  const int calDays = (first - calFirst) + 4 * (s.workDays * 7 / 5) + 2000;
  setProjectFirstDay(p, calFirst);
  setProjectFirstDayOfWeek(p, julianToWeekDay(calFirst + kOrigin));
  setProjectSizeOfCalendar(p, calDays);
  setProjectMinutesPerDay(p, 480);
  setProjectCreateDate(p, first);
  setProjectCurrentDate(p, first);
  setProjectStartDate(p, first);
  setProjectFinishDate(p, calFirst + calDays - 1);
  net->records.resize(s.days.size());
  for (size_t id = 0; id < s.days.size(); ++id) {
    const bool isTask = s.days[id] > 0;
    const int16_t type = static_cast<int16_t>(static_cast<int>(id) == s.projectItem ? 1 : isTask ? 3 : 2);
    activity_type* a = activityCreateNew(nameOf(static_cast<int>(id)).c_str(), type, p, first,
                                         first + std::max(1, s.days[id]) - 1,
                                         isTask ? s.days[id] * 480 : 4800, 0, 0);
    if (type == 2) setActivityBrunchInd(a, static_cast<int>(id));
    if (isTask) {
      activityScheduleFromStartDateBasedOnProjectCalendar(a, net->sm, net->log);
      setActivityOriginalDuration(a, a->duration);
    }
    net->records[id] = a;
  }
  net->startNode = activityCreateNew("start", 0, nullptr, first - 1, first - 1, 0, 0, 0);
  net->finishNode = activityCreateNew("finish", 0, nullptr, first - 1, first - 1, 0, 0, 0);
  net->items = ll_new(activityMatch, getActivityName);
  net->roots = ll_new(activityMatch, getActivityName);
  ll_addtail(net->items, net->startNode);
  for (int id : s.order) ll_addtail(net->items, net->records[id]);
  ll_addtail(net->items, net->finishNode);
  ll_addtail(net->roots, net->records[s.projectItem]);
  for (size_t id = 0; id < s.days.size(); ++id) {
    activity_type* a = net->records[id];
    for (const Dep& d : s.preds[id]) {
      activity_type* pred = net->records[d.pred];
      activityCreatePred(a, pred->name, static_cast<int16_t>(d.type), 0, d.lagDays * 480, net->log);
      activityCreateSucc(pred, a->name, static_cast<int16_t>(d.type), 0, d.lagDays * 480, net->log);
      ++net->deps;
    }
  }
  for (int id : s.order) {
    activity_type* a = net->records[id];
    const int parent = s.parent[id];
    activity_type* parentRec = parent >= 0 ? net->records[parent] : net->startNode;
    setActivityParent(a, parentRec->name, net->log);
    // Straight appends: the nodes' lists grow with the network, and the
    // duplicate checks of the setters would make building quadratic.
    ll_addtail(parentRec->child_list, stringCreateNew(a->name));
    if (a->type == 3) {
      ll_addtail(a->child_list, stringCreateNew("finish"));
      ll_addtail(net->finishNode->parent_list, stringCreateNew(a->name));
    }
    if (ll_size(a->pred_list) == 0) {
      activityCreatePred(a, "start", 1, 0, 0, net->log);
      ll_addtail(net->startNode->succ_list, dependencyCreateNew(a->name, 1, 0, 0));
    }
    if (ll_size(a->succ_list) == 0) {
      activityCreateSucc(a, "finish", 0, 0, 0, net->log);
      ll_addtail(net->finishNode->pred_list, dependencyCreateNew(a->name, 0, 0, 0));
    }
  }
  int serial = 0;
  for (linktype* l = net->items->phead; l != nullptr; l = l->pnext) {
    setActivitySerialNum(static_cast<activity_type*>(l->pcontents), serial++);
  }
  ll_createIndexArray(net->items, "start", "finish");
  return net;
}

void deleteCopies(Network* net) {
  if (net->copies != nullptr) {
    for (linktype* l = net->copies->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(net->copies);
    net->copies = nullptr;
  }
  ll_delete(net->back);
  net->back = nullptr;
}

void destroy(Network* net) {
  deleteCopies(net);
  for (linktype* l = net->items->phead; l != nullptr; l = l->pnext) {
    activityDelete(static_cast<activity_type*>(l->pcontents));
  }
  ll_delete(net->items);
  ll_delete(net->roots);
  smanagerDelete(net->sm);
  projectDelete(net->proj);
  std::fclose(net->log);
  delete net;
}

// Every item back on the project's first day, as loaded.
void reset(Network* net) {
  const int32_t first = net->proj->create_date;
  for (linktype* l = net->items->phead->pnext; l != net->items->ptail; l = l->pnext) {
    activity_type* a = static_cast<activity_type*>(l->pcontents);
    a->finish_date = first + a->original_duration - 1;
    a->start_date = first;
    a->offset_start_time = a->offset_finish_time = 0;
    setActivityDuration(a, a->original_duration);
  }
}

// Copies in the backward order: every copy after its successors and its
// children (Kahn's order, the latest in network order first).
void makeCopies(Network* net) {
  deleteCopies(net);
  net->copies = ll_new(activityMatch, getActivityName);
  net->back = ll_new(activityMatch, getActivityName);
  std::vector<activity_type*> copies;
  std::unordered_map<std::string, int> index;
  for (linktype* l = net->items->phead; l != nullptr; l = l->pnext) {
    activity_type* c = activityCopyCreateNew(static_cast<activity_type*>(l->pcontents), net->log);
    index[c->name] = static_cast<int>(copies.size());
    copies.push_back(c);
    ll_addtail(net->copies, c);
  }
  std::vector<int> waiting(copies.size(), 0);
  for (size_t i = 0; i < copies.size(); ++i) {
    waiting[i] = ll_size(copies[i]->succ_list) + ll_size(copies[i]->child_list);
  }
  std::priority_queue<int> ready;
  for (size_t i = 0; i < copies.size(); ++i) {
    if (waiting[i] == 0) ready.push(static_cast<int>(i));
  }
  auto release = [&](const char* name) {
    auto it = index.find(name);
    if (it != index.end() && --waiting[it->second] == 0) ready.push(it->second);
  };
  while (!ready.empty()) {
    const int i = ready.top();
    ready.pop();
    activity_type* c = copies[i];
    ll_addtail(net->back, c);
    for (linktype* l = c->pred_list->phead; l != nullptr; l = l->pnext) {
      release(static_cast<dependency_type*>(l->pcontents)->name);
    }
    for (linktype* l = c->parent_list->phead; l != nullptr; l = l->pnext) {
      release(static_cast<string_type*>(l->pcontents)->str);
    }
  }
  ll_createIndexArray(net->copies, "start", "finish");
}

long peakMegabytes() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return u.ru_maxrss / 1024;
}

void BM_ForwardPass(benchmark::State& state) {
  const Shape shape = randomShape(static_cast<int>(state.range(0)), 20240101u);
  Network* net = build(shape);
  for (auto _ : state) {
    state.PauseTiming();
    reset(net);
    state.ResumeTiming();
    const int rc = doFinAlignActivitiesFrwdPass(net->roots, net->items, net->items, net->items,
                                                net->sm, 1, 1, 1, net->log);
    if (rc != 0) {
      std::fprintf(stderr, "forward pass: %d\n", rc);
      state.SkipWithError("forward pass failed");
      break;
    }
  }
  state.counters["items"] = static_cast<double>(shape.days.size());
  state.counters["deps"] = net->deps;
  state.counters["peak_MB"] = static_cast<double>(peakMegabytes());
  state.counters["project_days"] = net->records[shape.projectItem]->duration;
  destroy(net);
}

void BM_BackwardPassWithSlack(benchmark::State& state) {
  const Shape shape = randomShape(static_cast<int>(state.range(0)), 20240101u);
  Network* net = build(shape);
  if (doFinAlignActivitiesFrwdPass(net->roots, net->items, net->items, net->items, net->sm, 1, 1,
                                   1, net->log) != 0) {
    state.SkipWithError("forward pass failed");
    destroy(net);
    return;
  }
  setNetworkNodesFromRoots(net->roots, net->items, nullptr, "start", "finish");
  net->proj->finish_date = net->finishNode->finish_date;
  double slackSeconds = 0;
  for (auto _ : state) {
    state.PauseTiming();
    makeCopies(net);
    state.ResumeTiming();
    int rc = doFinAlignActivitiesBcwdPass(net->roots, net->back, net->copies, net->copies, net->sm,
                                          1, 1, 1, net->log);
    if (rc == 0) {
      const auto t0 = std::chrono::steady_clock::now();
      rc = doUpdateActivitiesSlackValuesNetworkTree(net->back, net->copies, net->items, net->sm, 0,
                                                    "start", "finish", net->log);
      slackSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    }
    if (rc != 0) {
      state.SkipWithError("backward pass failed");
      break;
    }
  }
  // The slack sweeps alone, in milliseconds per iteration.
  state.counters["slack_ms"] = 1000.0 * slackSeconds / static_cast<double>(state.iterations());
  state.counters["items"] = static_cast<double>(shape.days.size());
  state.counters["deps"] = net->deps;
  state.counters["peak_MB"] = static_cast<double>(peakMegabytes());
  destroy(net);
}

BENCHMARK(BM_ForwardPass)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK(BM_BackwardPassWithSlack)->Arg(1000)->Arg(10000)->Arg(100000)
    ->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
