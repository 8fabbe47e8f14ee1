// portfolio_export: one generated portfolio for the leveller and for
// TaskJuggler 3, and the checks of both schedules (bench/side_by_side.sh).
//
//   portfolio_export generate N DB TJP [--seed S] [--resources R] [--all-kinds]
//       Generates a portfolio of N tasks into a new SQLite database DB
//       (bench/scope_generator.h: root projects with sub-projects and
//       containers, cross-project links, one or two assignments per task on
//       a shared pool of resources, weekends and public holidays; no
//       actuals, no project outside the run, no leads, everything planned
//       from the first Monday of 2025, which is also the "calculate as of"
//       day), then reads it back and writes it as the TaskJuggler project
//       TJP (bench/tjp_export.h). The pool has R resources (default N / 10,
//       at least 10), so that resources are contended. By default every
//       link is made finish-to-start (its lag kept) in the database before
//       the export, so that both tools schedule the same network: tj3 can
//       only hold a successor's start (finish-to-finish and start-to-finish
//       have no form there), and tj3 3.7.1 does not hold start-to-start
//       links on generated portfolios (it places a successor at its
//       predecessor's start despite a day's lag and then stops with "This
//       condition could not be met"). --all-kinds keeps the stored kinds
//       (the .tjp then gets them as tjp_export.h says). The generator's
//       assignments are on plain resources (RESOURCE_TYPE '0'): they wait
//       for free capacity in a levelling run, as every allocation does in
//       tj3.
//   portfolio_export level DB [ELEMENT]
//       One levelling run (kind 0) of ELEMENT (default PF_RUN) through the
//       entry point, as `leveler level` does; prints the result.
//   portfolio_export check DB
//       The levelled schedule of every project of DB through
//       import/schedule_check.h: makespan, days over capacity, broken links.
//       Exit status 0 when feasible.
//   portfolio_export tjcheck TASKS.csv ALLOC.csv
//       tj3's schedule from its two CSV reports: the latest task end and the
//       resource days loaded above 8 hours. Exit status 0 when none is.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/sqlite_store.h"
#include "import/schedule_check.h"
#include "run/entry_points.h"
#include "scope_generator.h"
#include "tjp_export.h"

namespace {

int usage() {
  std::fprintf(stderr,
               "usage: portfolio_export generate N DB TJP [--seed S] [--resources R] [--all-kinds]\n"
               "       portfolio_export level DB [ELEMENT]\n"
               "       portfolio_export check DB\n"
               "       portfolio_export tjcheck TASKS.csv ALLOC.csv\n");
  return 2;
}

std::unique_ptr<host::SqliteStore> openStore(const std::string& path) {
  db::SqlStatus failure;
  auto store = host::SqliteStore::open(path, {}, &failure);
  if (!store) std::fprintf(stderr, "cannot open %s: %s\n", path.c_str(), failure.message);
  return store;
}

int32_t commit(db::Store& store) {
  int32_t result = 0;
  db::HostVar var(result);
  return store.call("LEVEL_COMMIT", {}, &var);
}

int generate(int argc, char** argv) {
  if (argc < 5) return usage();
  const int tasks = std::atoi(argv[2]);
  const std::string dbPath = argv[3], tjpPath = argv[4];
  scopegen::Shape shape;
  shape.tasks = tasks;
  shape.resources = std::max(10, tasks / 10);
  bool allKinds = false;
  for (int i = 5; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--seed" && i + 1 < argc) {
      shape.seed = static_cast<uint32_t>(std::atol(argv[++i]));
    } else if (a == "--resources" && i + 1 < argc) {
      shape.resources = std::atoi(argv[++i]);
    } else if (a == "--all-kinds") {
      allKinds = true;
    } else {
      return usage();
    }
  }
  if (tasks <= 0) return usage();
  shape.rootProjects = std::max(2, std::min(50, tasks / 1000 + 2));
  shape.outsideProject = false;
  shape.actuals = false;
  shape.leads = false;
  shape.start = "2025-01-06";
  shape.asOf = shape.start;
  shape.commit = false;
  std::remove(dbPath.c_str());
  auto store = openStore(dbPath);
  if (!store) return 1;
  scopegen::Description d;
  int32_t rc = scopegen::generateScope(*store, shape, &d);
  if (rc == 0 && !allKinds) {
    rc = store->execute("update DEPENDENCIES set DEP_TYPE = 0 where DEP_TYPE <> 0");
  }
  // The notification of a run goes to this workflow cycle.
  if (rc == 0) {
    rc = store->execute(
        "insert into KOR_WORKFLOW_CYCLES (ELEMENT_ID,PARENT_ID) values ('CYCLE1','NOTIFICATION')");
  }
  if (rc == 0) rc = commit(*store);
  if (rc != 0) {
    std::fprintf(stderr, "generating failed (%d): %s\n", rc, store->status().message);
    return 1;
  }
  std::ofstream out(tjpPath);
  tjp::ExportCounts counts;
  std::string error;
  rc = tjp::exportTjp(*store, {}, out, counts, error);
  if (rc != 0) {
    std::fprintf(stderr, "export failed (%d): %s\n", rc, error.c_str());
    return 1;
  }
  std::printf("tasks %lld containers %lld projects %lld resources %lld allocations %lld "
              "dependencies %lld (%lld inherited from a container) holidays %lld "
              "priorities_raised %lld asof %s\n",
              static_cast<long long>(counts.tasks), static_cast<long long>(counts.containers),
              static_cast<long long>(counts.projects), static_cast<long long>(counts.resources),
              static_cast<long long>(counts.allocations),
              static_cast<long long>(counts.dependencies),
              static_cast<long long>(counts.inheritedLinksDropped),
              static_cast<long long>(counts.holidays),
              static_cast<long long>(counts.prioritiesRaised),
              d.asOf.c_str());
  return 0;
}

int level(int argc, char** argv) {
  if (argc < 3) return usage();
  const std::string element = argc > 3 ? argv[3] : "PF_RUN";
  auto store = openStore(argv[2]);
  if (!store) return 1;
  db::DayText start;
  int16_t ind = 0;
  store->selectInto("select min(substr(START_FINISH_DATE,1,10)) from KOR_WBS where "
                    "ELEMENT_ID = PROJECT_ID", {}, {db::HostVar(start, &ind)});
  const std::string asOf =
      (ind < 0 ? std::string("2025-01-06") : std::string(start.view())) + " 00:00:00.000000";
  const std::string log = std::string(argv[2]) + ".log";
  LevCallContext ctx{store.get(), log.c_str(), nullptr, nullptr};
  const auto t0 = std::chrono::steady_clock::now();
  const int32_t rc = RES_DEP_FOR_PROJ(&ctx, element.c_str(), 0, 0, 0, 0, 0, asOf.c_str(), 0,
                                      "BENCH", 0);
  const double s =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  std::printf("level %s: result %d in %.2f s\n", element.c_str(), rc, s);
  return rc == 0 ? 0 : 1;
}

int check(int argc, char** argv) {
  if (argc < 3) return usage();
  auto store = openStore(argv[2]);
  if (!store) return 1;
  std::vector<std::string> projects;
  {
    db::Cursor cur(*store);
    cur.open("select ELEMENT_ID from KOR_WBS where ELEMENT_ID = PROJECT_ID order by RANK");
    db::IdText id;
    while (cur.fetch({db::HostVar(id)}) == 0) projects.emplace_back(id.view());
  }
  import::ScheduleCheck c;
  std::string error;
  if (import::checkSchedule(*store, projects, c, error) != 0) {
    std::fprintf(stderr, "check failed: %s\n", error.c_str());
    return 1;
  }
  std::printf("projects %zu items %d unscheduled %d finish %s makespan_days %d resource_days %lld "
              "over_days %d worst_excess_min %lld slot_over_days %d links %d broken %d %s\n",
              projects.size(), c.items, c.unscheduled, c.latestFinish.c_str(), c.makespanDays,
              static_cast<long long>(c.resourceDays), c.overloadedDays,
              static_cast<long long>(c.worstExcessMinutes), c.slotOverloadedDays, c.dependencies,
              c.precedenceViolations, c.feasible() ? "feasible" : "VIOLATED");
  for (const std::string& p : c.problems) std::printf("  %s\n", p.c_str());
  return c.feasible() ? 0 : 1;
}

// The fields of one line of tj3's CSV ("a";"b";1.0), quotes removed.
std::vector<std::string> fields(const std::string& line) {
  std::vector<std::string> out;
  std::string f;
  bool quoted = false;
  for (char c : line) {
    if (c == '"') {
      quoted = !quoted;
    } else if (c == ';' && !quoted) {
      out.push_back(f);
      f.clear();
    } else {
      f += c;
    }
  }
  out.push_back(f);
  return out;
}

int tjcheck(int argc, char** argv) {
  if (argc < 4) return usage();
  std::ifstream tasks(argv[2]), alloc(argv[3]);
  if (!tasks || !alloc) {
    std::fprintf(stderr, "cannot read the reports\n");
    return 1;
  }
  std::string line, latest;
  long rows = 0;
  std::getline(tasks, line);
  while (std::getline(tasks, line)) {
    const auto f = fields(line);
    if (f.size() >= 3 && f[2] > latest) latest = f[2];
    ++rows;
  }
  std::getline(alloc, line);
  const auto days = fields(line);
  long resourceDays = 0, over = 0;
  double worst = 0;
  int shown = 0;
  while (std::getline(alloc, line)) {
    const auto f = fields(line);
    for (size_t i = 1; i < f.size(); ++i) {
      if (f[i].empty()) continue;
      const double hours = std::atof(f[i].c_str());
      if (hours <= 0) continue;
      ++resourceDays;
      if (hours > 8.0 + 1e-6) {
        ++over;
        worst = std::max(worst, hours - 8.0);
        if (shown++ < 20) {
          std::printf("  resource %s on %s: %.2f hours\n", f[0].c_str(),
                      i < days.size() ? days[i].c_str() : "?", hours);
        }
      }
    }
  }
  std::printf("items %ld finish %s resource_days %ld over_days %ld worst_excess_h %.2f %s\n", rows,
              latest.c_str(), resourceDays, over, worst, over == 0 ? "feasible" : "VIOLATED");
  return over == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage();
  const std::string cmd = argv[1];
  if (cmd == "generate") return generate(argc, argv);
  if (cmd == "level") return level(argc, argv);
  if (cmd == "check") return check(argc, argv);
  if (cmd == "tjcheck") return tjcheck(argc, argv);
  return usage();
}
