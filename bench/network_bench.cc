// Network analysis benchmarks on random networks of 1,000, 10,000 and
// 100,000 items: four items per container, up to three predecessors each.
//
// Memory: every allocation of this program is counted (operator new and
// delete are replaced below), so each benchmark can report the peak of the
// memory it allocated on top of what existed when it started (peak_MB) and
// the size of the network it works on (network_MB).
//
// The networks are acyclic through the tree as well (a dependency P -> X is
// drawn only when P's span of the depth-first walk ends before X's begins),
// so no run stalls; the item list is in depth-first (load) order.
//
// Construction: BM_NetworkLinks times the load phase's part (the bracketing
// nodes, the tree completion and the predecessor lists, on a fresh item
// list each iteration); BM_NetworkOrder times doBuildNetTrFromStartNode on
// one network whose consumed readiness counts are restored between
// iterations (outside the timing).
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "model/activity.h"
#include "model/serial_names.h"
#include "network/network_construction.h"
#include "heap_meter.h"

using heap_meter::PeakMeter;
using heap_meter::gBytesNow;

// ---------------------------------------------------------------------------
// Random networks

namespace {

constexpr int kPerContainer = 4;
constexpr int kMaxPreds = 3;

// The records of a random network in load order, with the loader's links
// (parent/child names, both sides of every dependency), not yet bracketed.
struct RandomItems {
  std::vector<activity_type*> items;  // depth-first order
  long long dependencies = 0;
};

RandomItems makeRandomItems(int n, unsigned seed) {
  std::mt19937 rng(seed);
  // Tree, breadth first, four children per container.
  std::vector<int> parent{-1};
  std::vector<std::vector<int>> children(1);
  for (size_t next = 0; static_cast<int>(parent.size()) < n; ++next) {
    for (int k = 0; k < kPerContainer && static_cast<int>(parent.size()) < n; ++k) {
      children[next].push_back(static_cast<int>(parent.size()));
      parent.push_back(static_cast<int>(next));
      children.emplace_back();
    }
  }
  // Depth-first walk: load order, spans, depths.
  std::vector<int> first(n), last(n), depth(n, 1), dfs;
  dfs.reserve(n);
  int clock = 0;
  std::vector<std::pair<int, size_t>> stack{{0, 0}};
  while (!stack.empty()) {
    auto& [x, k] = stack.back();
    if (k == 0) {
      first[x] = clock;
      dfs.push_back(x);
    }
    if (children[x].empty()) {
      last[x] = clock++;
      stack.pop_back();
    } else if (k < children[x].size()) {
      const int c = children[x][k++];
      depth[c] = depth[x] + 1;
      stack.push_back({c, 0});
    } else {
      last[x] = clock - 1;
      stack.pop_back();
    }
  }
  std::vector<activity_type*> byId(n);
  for (int i = 0; i < n; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "E%07d", i);
    const int16_t type = i == 0 ? 1 : children[i].empty() ? 3 : 2;
    byId[i] = activityCreateNew(name, type, nullptr, 0, 0, 480, 0, 0);
    byId[i]->level_id = static_cast<int16_t>(depth[i]);
  }
  for (int i = 1; i < n; ++i) {
    setActivityParent(byId[i], byId[parent[i]]->name, nullptr);
    setActivityChild(byId[parent[i]], byId[i]->name, nullptr);
  }
  std::vector<int> byLast(n);
  for (int i = 0; i < n; ++i) byLast[i] = i;
  std::sort(byLast.begin(), byLast.end(), [&](int a, int b) { return last[a] < last[b]; });
  RandomItems out;
  for (int x = 1; x < n; ++x) {
    const int wanted = static_cast<int>(rng() % (kMaxPreds + 1));
    const int limit = static_cast<int>(
        std::lower_bound(byLast.begin(), byLast.end(), first[x],
                         [&](int i, int f) { return last[i] < f; }) -
        byLast.begin());
    for (int k = 0; k < wanted && limit > 0; ++k) {
      const int span = rng() % 4 == 0 ? limit : std::min(limit, 40);
      const int p = byLast[limit - 1 - static_cast<int>(rng() % span)];
      const int16_t type = static_cast<int16_t>(rng() % 4);
      if (activityCreatePred(byId[x], byId[p]->name, type, 0, 0, nullptr) == nullptr) continue;
      activityCreateSucc(byId[p], byId[x]->name, type, 0, 0, nullptr);
      ++out.dependencies;
    }
  }
  for (int i : dfs) out.items.push_back(byId[i]);
  return out;
}

linked_list_type* listOf(const RandomItems& r) {
  linked_list_type* list = ll_new(activityMatch, getActivityName);
  for (activity_type* a : r.items) ll_addtail(list, a);
  return list;
}

void linkNetwork(linked_list_type* list) {
  doCreaStartFinishNodesForNtw(list, 1, "start", "finish");
  std::vector<char*> names(static_cast<size_t>(ll_size(list)));
  doCreateNameListForActivities(list, names.data(), 33);
  doCreateChildrenInNetworkTree(list, names.data(), 1, 0, nullptr, 200171);
  doCreateDepPred(list, nullptr, names.data(), 1, nullptr);
  doDeleteNameListForActivities(names.data(), static_cast<int32_t>(names.size()));
}

void deleteNetwork(linked_list_type* list) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    activityDelete(static_cast<activity_type*>(l->pcontents));
  }
  ll_delete(list);
}

// The load phase's part of the construction, on a fresh copy each time.
void BM_NetworkLinks(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  double peak = 0;
  for (auto _ : state) {
    state.PauseTiming();
    RandomItems r = makeRandomItems(n, 7);
    linked_list_type* list = listOf(r);
    state.ResumeTiming();
    PeakMeter meter;
    linkNetwork(list);
    peak = std::max(peak, meter.peakMB());
    state.PauseTiming();
    deleteNetwork(list);
    state.ResumeTiming();
  }
  state.counters["peak_MB"] = peak;
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_NetworkLinks)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// doBuildNetTrFromStartNode.
void BM_NetworkOrder(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const long long before = gBytesNow.load();
  RandomItems r = makeRandomItems(n, 7);
  linked_list_type* list = listOf(r);
  linkNetwork(list);
  const double networkMB = static_cast<double>(gBytesNow.load() - before) / (1 << 20);
  linked_list_type* ordered = ll_new(activityMatch, getActivityName);
  double peak = 0;
  for (auto _ : state) {
    state.PauseTiming();
    for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      a->to_pass_in_forw_dir = a->orig_to_pass_in_forw_dir;
      a->ntw_level_id = -1;
    }
    ll_removeAll(ordered);
    state.ResumeTiming();
    PeakMeter meter;
    if (doBuildNetTrFromStartNode(list, ordered, 1, 1, 0, nullptr) != 0) {
      state.SkipWithError("network order failed");
      break;
    }
    peak = std::max(peak, meter.peakMB());
  }
  state.counters["peak_MB"] = peak;
  state.counters["network_MB"] = networkMB;
  state.counters["dependencies"] = static_cast<double>(r.dependencies);
  state.SetItemsProcessed(state.iterations() * n);
  ll_delete(ordered);
  deleteNetwork(list);
}
BENCHMARK(BM_NetworkOrder)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
