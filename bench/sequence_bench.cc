// The whole scheduling sequence of a run through the store, on generated
// scopes of 1,000, 10,000 and 100,000 tasks (ten root projects with
// sub-projects and three levels of containers, dependencies between
// projects and to a project outside the run, one or two assignments per
// task on 5,000 shared resources, day work on the tasks in progress,
// five-day calendars with holidays): the driver's preparation of the work
// tables, the load phase, the static passes, the priority order and the
// first results written, as one run makes them.
//
// Each scope is generated once into a database file (outside the timing);
// every iteration runs the sequence on it afresh. Reported per iteration:
// the wall time, the processor time of each phase (counters load_*, seq_*,
// in seconds), and the peak of the memory allocated by the run (peak_MB;
// every allocation of this program is counted). Run with
// --benchmark_repetitions=3 for medians.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <algorithm>
#include <map>
#include <memory>
#include <string>

#include "heap_meter.h"
#include "host/sqlite_store.h"
#include "scope_generator.h"
#include "scope_run.h"

namespace {

struct GeneratedScope {
  std::string path;
  std::unique_ptr<host::SqliteStore> store;
  scopegen::Description description;
  ~GeneratedScope() {
    store.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path + suffix).c_str());
  }
};

std::string tempPath() {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir != nullptr ? dir : "/tmp") + "/sequence_bench_XXXXXX";
  int fd = ::mkstemp(path.data());
  if (fd >= 0) ::close(fd);
  return path;
}

GeneratedScope* scopeOf(int tasks) {
  static std::map<int, std::unique_ptr<GeneratedScope>> scopes;
  auto& s = scopes[tasks];
  if (!s) {
    s = std::make_unique<GeneratedScope>();
    s->path = tempPath();
    s->store = host::SqliteStore::open(s->path);
    scopegen::Shape shape;
    shape.tasks = tasks;
    if (!s->store || scopegen::generateScope(*s->store, shape, &s->description) != 0) {
      s.reset();
      return nullptr;
    }
  }
  return s.get();
}

const char* const kLoadPhases[] = {"load_projects", "load_items",    "load_merge",
                                   "load_calendars", "load_inherit", "load_fictive",
                                   "load_children",  "load_deps"};
const char* const kSequencePhases[] = {
    "seq_assignments", "seq_network_order", "seq_actuals",     "seq_external",
    "seq_circularity", "seq_delay_factors", "seq_forward",     "seq_root_repass",
    "seq_finish_order", "seq_calendars",    "seq_backward",    "seq_dyn_backward",
    "seq_slack",        "seq_priority",     "seq_first_write", "seq_dyn_forward",
    "seq_rollup"};

void BM_Sequence(benchmark::State& state) {
  GeneratedScope* scope = scopeOf(static_cast<int>(state.range(0)));
  if (scope == nullptr) {
    state.SkipWithError("generation failed");
    return;
  }
  scopegen::ScopeRunOptions o;
  o.roots = scope->description.rootProjects;
  o.currentDate = scope->description.asOf;
  o.isFolderWithinPortfolio = 1;
  o.assignmentsFlag = 1;
  double peak = 0;
  for (auto _ : state) {
    const heap_meter::PeakMeter meter;
    scopegen::ScopeRun run(*scope->store, o);
    if (!run.setupErrors.empty() || run.loadCode != 0 || run.sequenceCode != 0) {
      // The end of the run's log says where it stopped.
      const size_t from = run.log.size() > 3000 ? run.log.size() - 3000 : 0;
      std::fprintf(stderr, "%s\n", run.log.substr(from).c_str());
      state.SkipWithError(("run failed: load " + std::to_string(run.loadCode) + " sequence " +
                           std::to_string(run.sequenceCode))
                              .c_str());
      break;
    }
    peak = std::max(peak, meter.peakMB());
    for (int i = 0; i < 8; ++i) state.counters[kLoadPhases[i]] = run.loadTimes[i];
    for (int i = 0; i < 17; ++i) state.counters[kSequencePhases[i]] = run.sequenceTimes[i];
    state.counters["tasks"] = run.tasksTotalCount;
  }
  state.counters["peak_MB"] = peak;
}
BENCHMARK(BM_Sequence)->Arg(1000)->Arg(10000)->Arg(100000)->Iterations(1)->Unit(
    benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
