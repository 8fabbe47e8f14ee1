// Name lookups on a large indexed list, and the deferred index rebuild that
// follows insertions.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <vector>

#include "model/linked_list.h"
#include "model/serial_names.h"

namespace {

std::vector<string_type*> makeNames(int n) {
  std::mt19937 rng(1);
  std::vector<string_type*> out;
  out.reserve(n);
  for (int i = 0; i < n; ++i) {
    char buf[33];
    std::snprintf(buf, sizeof buf, "ELEM%08u%06d", static_cast<unsigned>(rng()), i);
    out.push_back(stringCreateNew(buf));
  }
  return out;
}

void BM_IndexedSearch(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  std::vector<string_type*> names = makeNames(n);
  linked_list_type* list = ll_new(stringMatch, getStringValue);
  for (string_type* s : names) ll_addtail(list, s);
  ll_createIndexArray(list, "start", "finish");
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ll_bsearch(list, names[i]->str));
    i = (i + 7919) % names.size();
  }
  state.SetItemsProcessed(state.iterations());
  ll_delete(list);
  for (string_type* s : names) stringDelete(s);
}
BENCHMARK(BM_IndexedSearch)->Arg(100000);

// One insertion followed by one search: the search pays the full rebuild.
void BM_RebuildAfterInsertion(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  std::vector<string_type*> names = makeNames(n + 1);
  linked_list_type* list = ll_new(stringMatch, getStringValue);
  for (int i = 0; i < n; ++i) ll_addtail(list, names[i]);
  ll_createIndexArray(list, "start", "finish");
  for (auto _ : state) {
    ll_addtail(list, names[n]);
    benchmark::DoNotOptimize(ll_bsearch(list, names[0]->str));
    ll_tail(list);
    ll_remove(list);
  }
  state.SetItemsProcessed(state.iterations());
  ll_delete(list);
  for (string_type* s : names) stringDelete(s);
}
BENCHMARK(BM_RebuildAfterInsertion)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
