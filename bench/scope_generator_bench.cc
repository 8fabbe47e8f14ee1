// Time to write a whole generated scope (the full shape: ten roots with two
// sub-projects each, three container levels, assignments, actuals, the
// outside project) into a fresh SQLite database through the store, commit
// included, for 1,000, 10,000 and 100,000 tasks (and 100,000 again with a
// page cache large enough to hold the whole transaction). Each iteration opens a new
// database file (its creation is outside the timing). Reported per scope,
// with the rows written as items per second; run with
// --benchmark_repetitions to get a median.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/sqlite_store.h"
#include "scope_generator.h"

namespace {

std::string tempPath() {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir != nullptr ? dir : "/tmp") + "/scopegen_bench_XXXXXX";
  int fd = ::mkstemp(path.data());
  if (fd >= 0) ::close(fd);
  return path;
}

void removeDb(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path + suffix).c_str());
}

// `cacheKib` > 0 gives the connection a page cache of that size first, so
// that SQLite does not spill the open transaction to its log as it grows
// (the default cache is 2 MB; a 100,000-task scope is some 150 MB).
void generate(benchmark::State& state, int cacheKib) {
  scopegen::Shape shape;
  shape.tasks = static_cast<int>(state.range(0));
  int64_t rows = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = tempPath();
    auto store = host::SqliteStore::open(path);
    if (store && cacheKib > 0) {
      store->executeScript("PRAGMA cache_size=-" + std::to_string(cacheKib));
    }
    state.ResumeTiming();
    scopegen::Description d;
    if (!store || scopegen::generateScope(*store, shape, &d) != 0) {
      state.SkipWithError("generation failed");
      break;
    }
    state.PauseTiming();
    rows += d.wbsRows + d.dependencies + d.assignments + d.dayWorkRows + d.calendarDayRows +
            d.resources;
    state.counters["assignments"] = static_cast<double>(d.assignments);
    state.counters["day_rows"] = static_cast<double>(d.dayWorkRows);
    state.counters["calendar_rows"] = static_cast<double>(d.calendarDayRows);
    state.counters["dependencies"] = static_cast<double>(d.dependencies);
    state.counters["wbs_rows"] = static_cast<double>(d.wbsRows);
    store.reset();
    removeDb(path);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(rows);
}

void BM_GenerateScope(benchmark::State& state) { generate(state, 0); }
void BM_GenerateScopeLargeCache(benchmark::State& state) { generate(state, 512 * 1024); }

BENCHMARK(BM_GenerateScopeLargeCache)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(BM_GenerateScope)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
