// A whole levelling run (run kind 0) through the entry point, on the
// generated portfolios of the scope benchmark (1,000, 10,000 and 100,000
// tasks; ten root projects with sub-projects and three container levels,
// one or two assignments per task on 5,000 shared resources, dependencies
// of all four types): the lock check, the project list, the load, the
// static schedule, the main loop with one resource search per assignment,
// the critical path, every result written, the conflict list and the
// finalisation.
//
// Each portfolio is generated once into a database file (outside the
// timing); every iteration levels it afresh on a new connection. Reported
// per iteration: the wall time, the processor seconds of the phases the
// results report prints (seq_static, dyn_resolution, search, critical_path,
// read back from the run's log), and the peak of the memory allocated by
// the run (peak_MB). Run with --benchmark_repetitions=3 for medians;
// LEVELLING_BENCH_LOG=<file> keeps the last run's log.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "heap_meter.h"
#include "host/sqlite_store.h"
#include "run/entry_points.h"
#include "scope_generator.h"

namespace {

std::string tempPath(const char* name) {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir != nullptr ? dir : "/tmp") + "/" + name + "_XXXXXX";
  int fd = ::mkstemp(path.data());
  if (fd >= 0) ::close(fd);
  return path;
}

struct GeneratedPortfolio {
  std::string path;
  scopegen::Description description;
  ~GeneratedPortfolio() {
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path + suffix).c_str());
  }
};

GeneratedPortfolio* portfolioOf(int tasks) {
  static std::map<int, std::unique_ptr<GeneratedPortfolio>> portfolios;
  auto& p = portfolios[tasks];
  if (!p) {
    p = std::make_unique<GeneratedPortfolio>();
    p->path = tempPath("levelling_bench");
    auto store = host::SqliteStore::open(p->path);
    scopegen::Shape shape;
    shape.tasks = tasks;
    if (!store || scopegen::generateScope(*store, shape, &p->description) != 0) {
      p.reset();
      return nullptr;
    }
  }
  return p.get();
}

std::string readFile(const std::string& path) {
  std::string out;
  if (FILE* f = std::fopen(path.c_str(), "r")) {
    char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
    std::fclose(f);
  }
  return out;
}

// The seconds printed on the report line that starts with `label`.
double reportSeconds(const std::string& log, const char* label) {
  const std::size_t at = log.rfind(label);
  if (at == std::string::npos) return -1;
  const std::size_t colon = log.find(':', at);
  return colon == std::string::npos ? -1 : std::atof(log.c_str() + colon + 1);
}

void BM_Levelling(benchmark::State& state) {
  GeneratedPortfolio* portfolio = portfolioOf(static_cast<int>(state.range(0)));
  if (portfolio == nullptr) {
    state.SkipWithError("generation failed");
    return;
  }
  const std::string element = portfolio->description.portfolio;
  const std::string asOf = portfolio->description.asOf;
  double peak = 0;
  for (auto _ : state) {
    const std::string logPath = tempPath("levelling_bench_log");
    int32_t rc = 0;
    {
      const heap_meter::PeakMeter meter;
      auto store = host::SqliteStore::open(portfolio->path);
      LevCallContext ctx{store.get(), logPath.c_str(), nullptr, nullptr};
      rc = RES_DEP_FOR_PROJ(&ctx, element.c_str(), 0, 0, 0, 0, 0, asOf.c_str(), 0, "BENCH", 0);
      store.reset();
      peak = std::max(peak, meter.peakMB());
    }
    const std::string log = readFile(logPath);
    // LEVELLING_BENCH_LOG=file keeps the last run's log (its results report
    // times every phase).
    if (const char* keep = std::getenv("LEVELLING_BENCH_LOG")) std::rename(logPath.c_str(), keep);
    std::remove(logPath.c_str());
    if (rc != 0) {
      const std::size_t from = log.size() > 3000 ? log.size() - 3000 : 0;
      std::fprintf(stderr, "%s\n", log.substr(from).c_str());
      state.SkipWithError(("run failed: " + std::to_string(rc)).c_str());
      break;
    }
    state.counters["seq_static"] = reportSeconds(log, " Total time Processing Forward/Backward");
    state.counters["dyn_resolution"] = reportSeconds(log, " Dynamic Resolution of Dependences");
    state.counters["search"] = reportSeconds(log, " Search_2 Function");
    state.counters["critical_path"] = reportSeconds(log, " Total time Critical Path Calculation");
    state.counters["cpu_total"] = reportSeconds(log, " Total Time                             ");
  }
  state.counters["peak_MB"] = peak;
  state.counters["tasks"] = static_cast<double>(portfolio->description.tasks);
  state.counters["assignments"] = static_cast<double>(portfolio->description.assignments);
}
BENCHMARK(BM_Levelling)->Arg(1000)->Arg(10000)->Arg(100000)->Iterations(1)->Unit(
    benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
