// Whole generated scopes in the database: the rows a levelling run reads,
// written through the store in one transaction, for the benchmarks and for
// the scenario tests that check the engine against an independent schedule.
//
// What a generated scope holds (Shape below chooses the sizes):
// - `rootProjects` root projects (R01, R02, ...), each with
//   `subProjectsPerRoot` sub-projects directly under its project row
//   (R01S1, R01S2, ...); a portfolio folder PF_RUN (under the top node
//   PF_TOP) lists the roots, so that a run can be asked for the folder.
// - Under every project `containerLevels` levels of containers (TYPE_ID 2,
//   C0000001, ...) with the same fan-out everywhere, and the project's share
//   of the tasks (TYPE_ID 3, T0000001, ...) under the lowest containers.
// - Dependencies of the four stored kinds (DEP_TYPE 0 finish-to-start, 1
//   start-to-start, 2 finish-to-finish, 3 start-to-finish) with lags and
//   leads of whole days (LEAD_OR_LAG_TYPE 1 and a positive AMOUNT for a
//   lead; AMOUNT in working minutes, 480 to the day): mostly between tasks
//   of one project (seven in ten from an earlier task of the same lowest
//   container, the rest from any earlier task of the project, so that the
//   schedule's span grows with the logarithm of a project's size rather
//   than with its size), a share between projects of the run, a share with a
//   container at one end (a container succeeds only finish-to-start or
//   start-to-start, and precedes only finish-to-start or finish-to-finish:
//   the kinds whose meaning for a whole container is plain), and, with
//   `outsideProject`, one from a task of the project X01 outside the run
//   into the run and one from the run to X01.
// - With `assignments`, one or two assignments per task (A0000001, ...) on
//   a pool of `resources` resources (RES00001, ...) shared by all projects,
//   each working full days (480 minutes a day) over the task's days, with
//   one TASK_DAY_OF_YEAR row per assignment and working day. The resources
//   are plain ones (RESOURCE_TYPE '0'): a levelling run makes their
//   assignments wait for free capacity.
// - With `actuals`, the tasks that the estimate below places entirely
//   before the "calculate as of" day are finished and those that straddle
//   it are in progress (ACTUAL_START, work to date, day rows with
//   ACTUAL_FLAG 1 before that day and scheduled days from it on); the rest
//   are not started.
// - Per project a calendar of the five-day week (Monday to Friday 08:00-12:00
//   and 13:00-17:00, 480 minutes) with public holidays (1 January, 1 May,
//   25 and 26 December of every year) as days without work, and one
//   CALENDAR_DAY_OF_YEAR row per day from `calendarDaysBefore` days before
//   the earliest project start to `calendarDaysAfter` days after the
//   estimated finish (the loaders read from 120 days before a project's
//   start and widen by 400 days down and 1500 up); the holidays are also
//   CALENDAR_EXCEPTIONS rows of the base calendar CAL_BASE, the parent of
//   every project calendar.
//
// Acyclic by construction, through containment too: items are numbered in
// depth-first order (a container before its subtree, then the subtree), and
// a dependency always goes from an item whose whole subtree ends before the
// successor begins. So no dependency joins an item and its ancestor or
// descendant, and the graph of dependencies, "parent before child" for
// start bounds and "child before parent" for roll-ups has no cycle.
//
// Dates: the generator places every item with a plain estimate in working
// days (each task at the latest of its project's start and what its
// predecessors allow, containers spanning their children; holidays and
// weekends skipped). The estimate gives UNRESOLVED_START/FINISH/DURATION
// (calendar days) of every row, each project's finish, the default
// "calculate as of" day (a tenth of the way into the estimated span) and the
// actual status of each task. Tasks last one to five working days; a
// task's effort (PLANNED_EFFORT, and SCHED_DURATION, which the item reader
// takes as the effort of a task without assignments) is its days x 480.
//
// Ids and ranks: every id is at most 9 characters; RANK is four digits per
// level (a root "0001", its second child "00010002"), so that rank order is
// the depth-first order and a descendant's rank starts with its ancestor's.
// LEVEL_ID is 1 for a root project and one more per level below.
//
// Speed: one transaction (the store's; LEVEL_COMMIT at the end when
// `commit` is set); rows are inserted a hundred to a statement ("values
// (...),(...),..."), so each table has one statement text for full batches
// (prepared once, reused) and one for its last, shorter batch. Release
// build, 100,000 tasks (about 940,000 rows with the calendars, assignments
// and day rows): some 4.3 s of processor time (bench/scope_generator_bench).
//
// Results: 0, or the negative status of the first failing statement (the
// rows written before it stay in the open transaction).
#ifndef LEVELER_BENCH_SCOPE_GENERATOR_H
#define LEVELER_BENCH_SCOPE_GENERATOR_H

#include <cstdint>
#include <string>
#include <vector>

#include "store/store.h"

namespace scopegen {

struct Shape {
  int tasks = 1000;
  int rootProjects = 10;
  int subProjectsPerRoot = 2;
  int containerLevels = 3;
  // Average number of predecessors of a task (0 to twice this many each).
  double dependenciesPerTask = 1.3;
  // Share of task dependencies whose predecessor lies in another project.
  double crossProjectShare = 0.05;
  // Share of containers given a predecessor, and again a successor.
  double containerDependencyShare = 0.1;
  int maxLagDays = 2;          // lags of 0 to this many whole days
  bool leads = true;           // some leads of one whole day
  bool outsideProject = true;  // X01 and its two dependencies
  bool assignments = true;
  int resources = 5000;
  bool actuals = true;
  // First project start (moved to the Monday on or after it); root r starts
  // r x `rootStartStaggerWeeks` weeks later, its sub-projects with it.
  std::string start = "2025-01-06";
  int rootStartStaggerWeeks = 1;
  // "Calculate as of" day (YYYY-MM-DD); empty: a tenth into the estimate.
  std::string asOf{};
  int calendarDaysBefore = 600;
  int calendarDaysAfter = 2000;
  uint32_t seed = 1;
  bool commit = true;  // LEVEL_COMMIT once everything is written
};

// The shape the textbook check uses: `tasks` tasks in three root projects
// with one sub-project each, three container levels, all four dependency
// kinds with whole-day lags and leads, container dependencies, no
// assignments, no actuals, no outside project; every project starts on the
// same Monday, which is also the "calculate as of" day.
Shape simpleShape(int tasks = 300, uint32_t seed = 1);

struct Description {
  std::vector<std::string> rootProjects;  // in rank order
  std::vector<std::string> projects;      // roots and sub-projects, rank order
  std::string outsideProject;             // empty when none
  std::string portfolio;                  // the folder holding the roots
  std::string asOf;                       // "YYYY-MM-DD 00:00:00.000000"
  std::string firstDay;                   // earliest project start
  std::string lastDay;                    // latest estimated finish
  int64_t tasks = 0;                      // tasks of the run
  int64_t containers = 0;                 // containers of the run
  int64_t wbsRows = 0;                    // KOR_WBS rows, outside ones too
  int64_t dependencies = 0;               // every DEPENDENCIES row
  int64_t crossProjectDependencies = 0;   // between two projects of the run
  int64_t containerDependencies = 0;      // with a container at one end
  int64_t outsideDependencies = 0;        // with X01 at one end
  int64_t dependenciesByType[4] = {0, 0, 0, 0};  // by stored DEP_TYPE
  int64_t leads = 0;
  int64_t assignments = 0;
  int64_t resources = 0;
  int64_t dayWorkRows = 0;                // TASK_DAY_OF_YEAR
  int64_t calendarDayRows = 0;            // CALENDAR_DAY_OF_YEAR
  int64_t finishedTasks = 0;
  int64_t inProgressTasks = 0;
};

int32_t generateScope(db::Store& store, const Shape& shape, Description* out);

// The run's project list as the driver builds it for a project or
// portfolio (NAV_TMP_PROJECTS_00: LEVEL_ID 0, the project's PRIORITY, its
// id, RANK and start day), emptied first.
int32_t writeProjectList(db::Store& store, const Description& scope);

// What the driver does before loading: empties the work table Lev_kor_wbs
// and copies into it the KOR_WBS rows of every project of
// NAV_TMP_PROJECTS_00, each with its project's priority from that list.
int32_t copyWbsToWorkTable(db::Store& store);

}  // namespace scopegen

#endif  // LEVELER_BENCH_SCOPE_GENERATOR_H
