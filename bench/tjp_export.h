// Export of a portfolio from the store as a TaskJuggler 3 project (.tjp),
// so that the same plan can be scheduled by tj3 and by the leveller and the
// two compared. Everything is read back from the database, nothing from
// the generator that wrote it.
//
// What becomes what:
// - The portfolio folder's root projects (KOR_PORTFOLIOS rows under it),
//   their sub-projects, containers and tasks (KOR_WBS, nested by PARENT_ID,
//   siblings in RANK order) become nested tasks with the same ids; every
//   project item depends on a milestone "start_<id>" fixed on its
//   START_FINISH_DATE day (a `start` on the project task itself would be
//   handed down to its tasks as a fixed start); every task its
//   PRIORITY (tj3 and the leveller both favour the higher one; tj3 lets a
//   child's own priority replace its parent's, the leveller combines them),
//   except that the tasks of a start-to-start predecessor are raised to the
//   successor's highest task priority: tj3 schedules higher priorities
//   first and cannot hold a link to the start of a task it has not placed
//   yet (it stops with "This condition could not be met"); the raises are
//   counted in ExportCounts.
// - The assignments (TASK_ASSIGNMENTS) of a task become one `allocate` of
//   all its resources and an `effort` of their summed work (PLANNED_WORK,
//   else ETC), in minutes: tj3 shares a task's effort among the resources
//   it allocates together, so each resource works what its assignment
//   says. A task without assignments gets its SCHED_DURATION minutes as
//   effort with no resource (tj3 then treats it as a fixed length), and one
//   without work is a milestone.
// - Resources: the ones assigned, with MAX_UNITS / 10000 as `efficiency`
//   when it is not one person. Assignment units other than 100% are not
//   expressed (tj3 has no per-allocation rate; the generator writes none).
// - Dependencies: finish-to-start as `depends` on the predecessor's end,
//   start-to-start as `depends { onstart }`, each with its lag as
//   `gaplength` in working minutes. tj3 constrains only the successor's
//   start, so finish-to-finish is written as finish-to-start and
//   start-to-finish as start-to-start (both stricter), and a lead as no lag;
//   each such case is counted in a comment at the top of the file. Links
//   with an end outside the portfolio are left out, and so is a link whose
//   successor's container already depends on the same predecessor (tj3
//   hands a container's dependencies down to its children and refuses the
//   same one twice), counted in ExportCounts only, as the file's comment
//   is written first.
// - Calendar: the weekday working times of the first root project's
//   calendar (KOR_CALENDARS bits, five-minute slots joined into intervals)
//   as the project's `workinghours`; its weekdays without work in
//   CALENDAR_DAY_OF_YEAR (a weekday whose pattern has work) as global
//   `leaves holiday`.
// - The time frame: from the earliest project start to `horizonDays`
//   calendar days after the latest planned finish.
// - Two CSV reports: "<reportPrefix>_tasks" (id, start, end of every task)
//   and "<reportPrefix>_alloc" (every resource's load in hours per day), for
//   the check of tj3's schedule.
//
// Result: 0, or the negative status of a failing statement (with `error`).
#ifndef LEVELER_BENCH_TJP_EXPORT_H
#define LEVELER_BENCH_TJP_EXPORT_H

#include <cstdint>
#include <ostream>
#include <string>

#include "store/store.h"

namespace tjp {

struct ExportOptions {
  std::string portfolio = "PF_RUN";
  std::string reportPrefix = "tj";
  int horizonDays = 730;
};

struct ExportCounts {
  int64_t tasks = 0, containers = 0, projects = 0, resources = 0, allocations = 0;
  int64_t dependencies = 0, finishToFinishAsFinishToStart = 0, startToFinishAsStartToStart = 0;
  int64_t leadsDropped = 0, outsideLinksDropped = 0, inheritedLinksDropped = 0, holidays = 0;
  int64_t prioritiesRaised = 0;
};

int exportTjp(db::Store& store, const ExportOptions& options, std::ostream& out,
              ExportCounts& counts, std::string& error);

}  // namespace tjp

#endif  // LEVELER_BENCH_TJP_EXPORT_H
