// Loading many names into one record: children of one container, work
// records of one resource, successors and predecessors of one item. Each
// add checks for a duplicate, so the time per add must stay flat as the
// list grows (compare the per-item times across the sizes).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "model/activity.h"
#include "model/assignment.h"

namespace {

std::vector<std::string> makeNames(int n) {
  std::vector<std::string> out;
  out.reserve(static_cast<size_t>(n));
  char buf[48];  // room for any int; the names used are 32 characters
  for (int i = 0; i < n; ++i) {
    // 32-character identifiers that share a long prefix, as the store's do.
    std::snprintf(buf, sizeof buf, "0A1B2C3D4E5F6071829304A5B%07d", i);
    out.emplace_back(buf);
  }
  return out;
}

void BM_AddChildren(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    activity_type* c = activityCreateNew("CONTAINER", 2, nullptr, 0, 0, 0, 0, 0);
    for (const std::string& n : names) setActivityChild(c, n.c_str(), nullptr);
    benchmark::DoNotOptimize(ll_size(c->child_list));
    activityDelete(c);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_AddWorkRecords(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    assignment_type* a = assignmentCreateNew("RESOURCE");
    for (const std::string& n : names) assignmentCreateWorkByActivity(a, n.c_str(), nullptr);
    benchmark::DoNotOptimize(ll_size(a->work_list));
    assignmentDelete(a);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Both ends of a dependency, as the item loader makes them: one item with
// n successors, and the n items' predecessor lists each receiving one.
void BM_AddSuccessorsAndParents(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    activity_type* hub = activityCreateNew("HUB", 3, nullptr, 0, 0, 0, 0, 0);
    for (const std::string& n : names) {
      activityCreateSucc(hub, n.c_str(), 1, 0, 0, nullptr);
      activityCreatePred(hub, n.c_str(), 1, 0, 0, nullptr);
      setActivityParent(hub, n.c_str(), nullptr);
    }
    benchmark::DoNotOptimize(ll_size(hub->succ_list));
    activityDelete(hub);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(BM_AddChildren)->Arg(1000)->Arg(10000)->Arg(30000)->Arg(100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddWorkRecords)->Arg(1000)->Arg(10000)->Arg(30000)->Arg(100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddSuccessorsAndParents)->Arg(1000)->Arg(10000)->Arg(30000)->Arg(100000)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
