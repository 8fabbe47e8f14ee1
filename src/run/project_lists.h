// The projects of a run. Whatever element a run is given (a project or WBS
// item, a portfolio folder, a what-if scenario), every later phase works on
// the rows of the work table NAV_TMP_PROJECTS_00, one per project:
// LEVEL_ID, PRIORITY, ELEMENT_ID (the project's id), RANK and
// START_FINISH_DATE. This unit fills it, and the reduced copy
// NAV_TMP_PROJECTS_00_x (no date) that the lock check uses.
//
// A "project" is a KOR_WBS item whose TYPE_ID is 1, 154, 288, 289 or 290;
// rows with REC_STATUS 'D' are deleted ones and never selected. Ranks
// encode the hierarchy: a descendant's rank begins with its ancestor's; the
// first eight characters of a portfolio rank name its top-level node, the
// owner of the portfolio tree.
//
// Portfolio folder (LEV_PORTF_PRJ): the project items placed in the folder
// or below it, then, when there are any, the owner's projects are gathered
// in NAV_TMP_PROJECTS_ALL (a project assignment of the owner whose
// PARTICIPANT has bit 0 or 1 set, or neither bit on a project whose
// PUBLISHED is '1'); a listed project nested under another of the owner's
// projects is removed, and every project item below a remaining project is
// added, so a nested project comes in once, through its ancestor. The
// folder's rows carry the day of START_FINISH_DATE ("YYYY-MM-DD"), the
// sub-project rows the whole stored time stamp.
//
// Amended rule: a project that is already listed is not inserted again.
// The removal of nested projects only looks at the owner's projects, so a
// sub-project placed in the folder beside its parent, in which the owner
// takes no part, would otherwise be listed twice (once from the folder,
// once below its parent), and every later join on the list would double
// its items.
//
// Project or scenario (fillProjectListForElement, the driver's own list):
// the project and its sub-projects in rank order, or the scenario's
// projects (NAV_SCENARIOS) with the scenario's start date and priority;
// the first row is the run's root project. A project with a LEVEL_LOCK
// other than 0 (in a what-if run: other than 0 and 10) ends the list at
// that row: that row and the rows before it are in the table.
//
// Units: effort in minutes (PLANNED_EFFORT + SCHED_EFFORT); a project with
// at least one minute gives the run work. Dates as stored (texts).
//
// Printing: traces of the rows under run.PRINT_OPTION; error lines of the
// two list builders always. The run:: functions leave the SQL failure line
// to the driver (run::logSqlFailure) and return the status.
#ifndef LEVELER_RUN_PROJECT_LISTS_H
#define LEVELER_RUN_PROJECT_LISTS_H

#include <cstdio>

#include "run/run_state.h"

// Fills NAV_TMP_PROJECTS_00 for a portfolio folder. `resource_id` is the
// top-level node of the folder's tree (the owner), `rankLike` the folder's
// rank followed by "%". Uses NAV_TMP_PROJECTS_ALL and Lev_all_projects as
// work tables (the first is emptied again). Returns 0 or a negative status.
int LEV_PORTF_PRJ(const char* resource_id, const char* rankLike, FILE* file);

// The same on NAV_TMP_PROJECTS_00_x, NAV_TMP_PROJECTS_ALL_x and
// Lev_all_projects_x, without dates; here a folder's project is left out
// when its portfolio node (not its WBS row) is marked 'D'.
int LEV_PORTF_PRJ_2(const char* resource_id, const char* rankLike, FILE* file);

namespace run {

// The driver's list for a project/WBS element (run.rankLike) or, in a
// what-if run, for the scenario: empties and fills NAV_TMP_PROJECTS_00 in
// rank order; sets run.element_id_p to the first project, run.hasWork, and
// run.level_lock = 1 at a locked project (where it stops). Returns 0 or a
// negative status.
int fillProjectListForElement(RunState& run, FILE* file);

// The driver's scan of a portfolio folder's list after LEV_PORTF_PRJ, in
// rank order: run.element_id_p = the first project, run.hasWork, and
// run.level_lock = 1 at a locked project (where it stops). Returns 0 or a
// negative status.
int scanPortfolioProjectList(RunState& run, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_PROJECT_LISTS_H
