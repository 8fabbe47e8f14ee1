// psplib_quality: how good the leveller's schedules are on a PSPLIB set.
//
//   psplib_quality DIR [OPTIMA] [--start YYYY-MM-DD] [--limit N] [--keep DB] [--fresh]
//
// Imports every .sm instance of DIR (in name order) into one temporary
// SQLite database, levels each as a project of its own (run kind 0 through
// RES_DEP_FOR_PROJ, "calculate as of" the start day at 08:00), checks the
// levelled schedule (import/schedule_check.h) and prints one line per
// instance: the levelled makespan in working days, with an optimum table
// (OPTIMA, e.g. j30opt.sm) the optimum and the deviation in percent, the
// check's verdict (the leveller's rule: minutes per resource and day), the
// resource days on which some five-minute slot has more units at work than
// the capacity (slot_over; PSPLIB's own rule is per period, and a task the
// leveller starts at noon shares the afternoon with the morning's), and the
// wall-clock time of the import and of the run.
// The summary gives the mean and worst deviation, how many schedules are
// optimal, how many are feasible, and the mean times. A plain program, not
// a Google Benchmark: one pass over the set is the measurement.
//
// The start day defaults to 2030-01-07, the first Monday of 2030. The run's
// log goes to a file beside the database (removed at the end, like the
// database unless --keep names where to leave it). With --fresh every
// instance gets a database of its own (emptied before it), so that the
// times do not include what a run pays for the other projects a database
// holds: in one database shared by the 480 j30 instances the last ones
// level about ten times slower than alone.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/sqlite_store.h"
#include "import/psplib_import.h"
#include "import/schedule_check.h"
#include "run/entry_points.h"

namespace {

double msSince(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

int usage() {
  std::fprintf(stderr,
               "usage: psplib_quality DIR [OPTIMA] [--start YYYY-MM-DD] [--limit N] [--keep DB] "
               "[--fresh]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir, optimaPath, start = "2030-01-07", keep;
  size_t limit = 0;
  bool fresh = false;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--start" && i + 1 < argc) {
      start = argv[++i];
    } else if (a == "--limit" && i + 1 < argc) {
      limit = static_cast<size_t>(std::atol(argv[++i]));
    } else if (a == "--fresh") {
      fresh = true;
    } else if (a == "--keep" && i + 1 < argc) {
      keep = argv[++i];
    } else if (!a.empty() && a[0] == '-') {
      return usage();
    } else if (dir.empty()) {
      dir = a;
    } else if (optimaPath.empty()) {
      optimaPath = a;
    } else {
      return usage();
    }
  }
  if (dir.empty()) return usage();

  std::map<std::string, int> optima;
  std::string error;
  if (!optimaPath.empty() && import::readPsplibOptima(optimaPath, optima, error) != 0) {
    std::fprintf(stderr, "psplib_quality: %s\n", error.c_str());
    return 1;
  }
  std::vector<std::string> files;
  std::error_code ec;
  for (const auto& e : std::filesystem::directory_iterator(dir, ec)) {
    if (e.path().extension() == ".sm" &&
        (optimaPath.empty() ||
         std::filesystem::path(optimaPath).filename() != e.path().filename())) {
      files.push_back(e.path().string());
    }
  }
  if (ec) {
    std::fprintf(stderr, "psplib_quality: cannot list %s: %s\n", dir.c_str(), ec.message().c_str());
    return 1;
  }
  // Name order with the numbers in the names compared as numbers
  // (j301_2 before j301_10).
  auto key = [](const std::string& path) {
    const std::string name = std::filesystem::path(path).stem().string();
    std::vector<long> k;
    for (size_t i = 0; i < name.size();) {
      if (std::isdigit(static_cast<unsigned char>(name[i]))) {
        size_t j = i;
        while (j < name.size() && std::isdigit(static_cast<unsigned char>(name[j]))) ++j;
        k.push_back(std::atol(name.substr(i, j - i).c_str()));
        i = j;
      } else {
        k.push_back(-1000 - static_cast<long>(static_cast<unsigned char>(name[i++])));
      }
    }
    return k;
  };
  std::sort(files.begin(), files.end(),
            [&](const std::string& a, const std::string& b) { return key(a) < key(b); });
  if (limit > 0 && files.size() > limit) files.resize(limit);

  std::string dbPath = keep;
  if (dbPath.empty()) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/psplib-XXXXXX";
    const int fd = mkstemp(pattern.data());
    if (fd < 0) {
      std::perror("psplib_quality: mkstemp");
      return 1;
    }
    close(fd);
    dbPath = pattern;
  }
  const std::string logPath = dbPath + ".log";
  std::unique_ptr<host::SqliteStore> store;
  auto openStore = [&]() {
    store.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((dbPath + suffix).c_str());
    db::SqlStatus failure;
    store = host::SqliteStore::open(dbPath, {}, &failure);
    if (!store) {
      std::fprintf(stderr, "psplib_quality: cannot open %s: %s\n", dbPath.c_str(),
                   failure.message);
      return false;
    }
    // The notification of every run goes to this workflow cycle.
    store->execute(
        "insert into KOR_WORKFLOW_CYCLES (ELEMENT_ID,PARENT_ID) values ('CYCLE1','NOTIFICATION')");
    return true;
  };
  if (!openStore()) return 1;

  const std::string asOf = start + " 08:00:00.000000";
  std::printf("%-12s %4s %8s %7s %9s %-9s %9s %9s %9s\n", "instance", "jobs", "makespan",
              "optimum", "deviation", "check", "slot_over", "import_ms", "level_ms");
  int done = 0, withOptimum = 0, atOptimum = 0, feasible = 0, failed = 0, slotOver = 0;
  double devSum = 0, devWorst = 0, importMs = 0, levelMs = 0;
  std::string worstName;
  for (const std::string& path : files) {
    const std::string name = std::filesystem::path(path).stem().string();
    if (fresh && done + failed > 0 && !openStore()) return 1;
    import::PsplibImport imp;
    auto t0 = std::chrono::steady_clock::now();
    int rc = import::importPsplib(*store, path, start, imp, error);
    int32_t commitResult = 0;
    db::HostVar commitVar(commitResult);
    if (rc == 0) rc = store->call("LEVEL_COMMIT", {}, &commitVar);
    const double tImport = msSince(t0);
    if (rc != 0) {
      std::printf("%-12s import failed (%d): %s\n", name.c_str(), rc, error.c_str());
      ++failed;
      continue;
    }
    LevCallContext ctx{store.get(), logPath.c_str(), nullptr, nullptr};
    t0 = std::chrono::steady_clock::now();
    rc = RES_DEP_FOR_PROJ(&ctx, imp.projectId.c_str(), 0, 0, 0, 0, 0, asOf.c_str(), 0, "PSPLIB",
                          0);
    const double tLevel = msSince(t0);
    if (rc != 0) {
      std::printf("%-12s levelling failed with %d (log %s)\n", name.c_str(), rc, logPath.c_str());
      ++failed;
      continue;
    }
    import::ScheduleCheck check;
    if (import::checkSchedule(*store, {imp.projectId}, check, error) != 0) {
      std::printf("%-12s check failed: %s\n", name.c_str(), error.c_str());
      ++failed;
      continue;
    }
    ++done;
    importMs += tImport;
    levelMs += tLevel;
    if (check.feasible()) ++feasible;
    const auto opt = optima.find(name);
    char optText[16] = "-", devText[16] = "-";
    if (opt != optima.end() && opt->second > 0) {
      const double dev = 100.0 * (check.makespanDays - opt->second) / opt->second;
      ++withOptimum;
      devSum += dev;
      if (worstName.empty() || dev > devWorst) {
        devWorst = dev;
        worstName = name;
      }
      if (check.makespanDays == opt->second) ++atOptimum;
      std::snprintf(optText, sizeof optText, "%d", opt->second);
      std::snprintf(devText, sizeof devText, "%.1f%%", dev);
    }
    std::printf("%-12s %4d %8d %7s %9s %-9s %9d %9.1f %9.1f\n", name.c_str(), imp.jobs,
                check.makespanDays, optText, devText, check.feasible() ? "feasible" : "VIOLATED",
                check.slotOverloadedDays, tImport, tLevel);
    if (check.slotOverloadedDays > 0) ++slotOver;
    for (const std::string& p : check.problems) std::printf("    %s\n", p.c_str());
    std::fflush(stdout);
  }
  store.reset();

  std::printf("\ninstances levelled: %d of %zu (%d failed)\n", done, files.size(), failed);
  std::printf("feasible schedules (minutes per resource and day): %d of %d\n", feasible, done);
  std::printf("schedules with more units at once than a capacity in some slot: %d of %d\n",
              slotOver, done);
  if (withOptimum > 0) {
    std::printf("mean deviation from the optimum: %.2f%%\n", devSum / withOptimum);
    std::printf("worst deviation: %.2f%% (%s)\n", devWorst, worstName.c_str());
    std::printf("at the optimum: %d of %d\n", atOptimum, withOptimum);
  }
  if (done > 0) {
    std::printf("mean time per instance: import %.1f ms, levelling run %.1f ms\n", importMs / done,
                levelMs / done);
  }
  if (keep.empty()) {
    for (const char* suffix : {"", "-wal", "-shm", ".log"}) std::remove((dbPath + suffix).c_str());
  }
  return failed == 0 ? 0 : 1;
}
