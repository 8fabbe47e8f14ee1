// The engine's integer quick sort (doCombQuickSortOfIntArray with the
// ascending comparator, called through a function pointer) against std::sort
// on the same 1,000,000 random 32-bit integers. Each iteration sorts a fresh
// copy of the input; the copy is outside the timed region. Every benchmark
// runs 7 repetitions, and the last line printed is the ratio of the median
// CPU times (engine / std::sort).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "model/sorting.h"

namespace {

constexpr int kCount = 1000000;
constexpr int kRepetitions = 7;

const std::vector<int32_t>& input() {
  static const std::vector<int32_t> data = [] {
    std::mt19937 rng(20240601);
    std::vector<int32_t> v(kCount);
    for (int32_t& x : v) x = static_cast<int32_t>(rng());
    return v;
  }();
  return data;
}

template <class Sort>
void runSort(benchmark::State& state, Sort sort) {
  std::vector<int32_t> work(input().size());
  for (auto _ : state) {
    state.PauseTiming();
    std::copy(input().begin(), input().end(), work.begin());
    state.ResumeTiming();
    sort(work);
    benchmark::ClobberMemory();
  }
  if (!std::is_sorted(work.begin(), work.end())) state.SkipWithError("result not sorted");
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(work.size()));
}

void BM_EngineQuickSort(benchmark::State& state) {
  runSort(state, [](std::vector<int32_t>& v) {
    doCombQuickSortOfIntArray(v.data(), swapFunctAscOrder, static_cast<int32_t>(v.size()));
  });
}

void BM_StdSort(benchmark::State& state) {
  runSort(state, [](std::vector<int32_t>& v) { std::sort(v.begin(), v.end()); });
}

BENCHMARK(BM_EngineQuickSort)->Unit(benchmark::kMillisecond)->Repetitions(kRepetitions);
BENCHMARK(BM_StdSort)->Unit(benchmark::kMillisecond)->Repetitions(kRepetitions);

// Console output as usual, plus the median CPU time of each benchmark (or
// its single run's time when run without repetitions).
class MedianReporter : public benchmark::ConsoleReporter {
 public:
  MedianReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_Tabular) {}
  std::map<std::string, double> ms;

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      const std::string name = r.run_name.function_name;
      if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median") {
        ms[name] = r.GetAdjustedCPUTime();
        medians_.insert(name);
      } else if (r.run_type == Run::RT_Iteration && medians_.count(name) == 0) {
        ms[name] = r.GetAdjustedCPUTime();
      }
    }
  }

 private:
  std::set<std::string> medians_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  auto engine = reporter.ms.find("BM_EngineQuickSort");
  auto stdsort = reporter.ms.find("BM_StdSort");
  if (engine != reporter.ms.end() && stdsort != reporter.ms.end() && stdsort->second > 0) {
    std::printf("median CPU ms: engine quick sort %.2f, std::sort %.2f; ratio %.2f\n",
                engine->second, stdsort->second, engine->second / stdsort->second);
  }
  return 0;
}
