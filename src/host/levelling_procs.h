// The host procedures of the levelling run's main loop: FC_INI_ASSIGN_STR,
// LEVEL_FC_CREATE_CDY_LEVEL, LEVEL_FC_SEARCH_2 and U_LEVEL_STRING. They keep
// the run's calendars, resource load and placements in the connection's
// procedure state (levelling_state.h) and place work with the resource
// search (resource_search.h).
//
// Each is a function: its result (the bound integer) is 0 when done, a
// positive code when it could not do its work (below); the call's status
// is 0 then, and negative only when a statement failed (that status).
//
// FC_INI_ASSIGN_STR() into result
//   Starts a run: forgets the previous run's calendars, load and
//   placements on this connection, empties NAV_TMP_TDY and
//   NAV_TMP_TDY_LEVEL, and deletes the LEVEL_OVER_ALLOCATIONS rows of the
//   run's projects (NAV_TMP_PROJECTS_00). Result 0.
//
// LEVEL_FC_CREATE_CDY_LEVEL(project, startStamp, durationDays, tmp) into result
//   Prepares a project of the run: reads its calendar (ELEMENT_ID = the
//   project) from startStamp's day over durationDays + 400 days, and the
//   load profile of every resource assigned in it (TASK_ASSIGNMENTS), so
//   that the searches that follow find them in memory. Result 0; 1 when the
//   project has no calendar row (KOR_CALENDARS). startStamp may also be a
//   day alone ("YYYY-MM-DD"). With a null or unreadable startStamp only
//   the resources are read; the calendar is read by the first search that
//   needs it.
//
// LEVEL_FC_SEARCH_2(30 arguments) into result
//   Arguments read (1-based): 1 the assignment (TSK_ASSIGNMENT_ID), 2 the
//   project, 3 the task, 4 the resource, 11 the search start (in: a time
//   stamp "YYYY-MM-DD HH:MM:SS.ffffff"; out: the placed start), 12 (out:
//   the placed finish), 14 the work to place (minutes), 19 the search mode,
//   20 the resource type, 21 the assignment's bit flag, 25 the run flag, 30
//   the assignment delay (working minutes). The others are accepted and not
//   used (the work contour is always flat). The assignment's units
//   (UNITS_MSP) and project assignment are read from TASK_ASSIGNMENTS.
//   - Run flag 266 (a calculation run): every assignment is laid from its
//     start at its units on its resource's calendar without looking at the
//     load; no over-allocation is recorded. Any other run flag is a
//     levelling run.
//   - Levelling run, search mode 6: the assignment waits for free capacity
//     (resource_search.h). Modes 7 (a task held by a deadline or a fixed
//     date) and 12 (a resource type other than '0') lay the work from the
//     search start without waiting and record the days it loads beyond
//     capacity. Any other mode counts as 6.
//   - The first call for a task places every assignment of the task not yet
//     placed in this run (TASK_ASSIGNMENTS of the project and task, less
//     the finished ones without remaining work), with the common start
//     rule of resource_search.h; the others take the mode of their own
//     resource type (12 when not '0', else 6), or 7 when the call's mode is
//     7; their work is PLANNED_WORK, or ETC when that is 0 or less. The
//     calls for the task's other assignments return the placements found.
//     A project-level assignment (task = project) is placed alone.
//   - Writes the placed start and finish into arguments 11 and 12
//     ("YYYY-MM-DD HH:MM:00.000000"; the finish is the end of the last
//     slot worked), the assignment's days into NAV_TMP_TDY (one row per
//     day: SCHED_MIN and BIT_SCHED with the slots used), its
//     over-allocated days into LEVEL_OVER_ALLOCATIONS, and one log line per
//     over-allocated day to standard output (the run's log):
//       "over-allocation: resource R1 on 2024-01-08: load 960 min, capacity 480 min, assignment A1"
//   - Results: 0 placed; 1 no placement within the calendar (arguments 11
//     and 12 are set to null, and the log says
//       "no placement within the calendar: assignment A1, resource R1, from 2024-01-08 08:00:00.000000");
//     2 arguments refused (no assignment or resource, an unreadable search
//     start, no calendar for the resource).
//
// U_LEVEL_STRING(project, assignmentId, tmp) into result
//   Stores the placement that the search made for the assignment (for a
//   project-level assignment the main loop gives its PROJECT_ASSIGNMENT_ID,
//   which finds it too): replaces its LEVEL_TASK_DAY_OF_YEAR rows (one per
//   day: PROJECT_ID, TASK_ID, TSK_ASSIGNMENT_ID, RESOURCE_ID, PARENT_ID =
//   the project assignment, DAY_YEAR, SCHED_MIN, BIT_SCHED, ACTUAL_MIN 0,
//   ACTUAL_FLAG 0, BIT_FLAG = the assignment's), sets TASK_ASSIGNMENTS
//   LEVEL_START, LEVEL_FINISH, LEVEL_EFFORT (the minutes placed) and
//   LEVEL_ASSIGN_STRING, deletes its NAV_TMP_TDY rows, and makes its
//   minutes part of the resource's load. Result 0; 1 when the search made
//   no placement for it in this run.
//
// NAV_TMP_TDY thus holds the days of the placements found and not yet
// stored; the stored ones are in LEVEL_TASK_DAY_OF_YEAR. NAV_TMP_TDY_LEVEL
// is emptied at the start of a run and not filled: a copy of every stored
// day in a second temporary table cost about a third of a placement's time
// (bench/resource_search_bench) and nothing reads it.
//
// LEVEL_ASSIGN_STRING: the placed minutes of every calendar day from the
// first day worked to the last, "first-day;m1,m2,...", a run of equal
// values written "m*count", days without work as 0. Three full days, a
// weekend and a half day from Friday 2024-01-05:
//   "2024-01-05;480,0*2,480*2,240"
// An assignment without work placed: "" (empty text).
#ifndef LEVELER_HOST_LEVELLING_PROCS_H
#define LEVELER_HOST_LEVELLING_PROCS_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/backend.h"
#include "host/levelling_state.h"
#include "store/host_vars.h"
#include "store/store.h"

namespace host {

class ProcedureRegistry;

inline constexpr int kSearchArity = 30;
inline constexpr int kLevelStringArity = 3;
inline constexpr int kCreateCdyLevelArity = 4;

inline constexpr int32_t kSearchPlaced = 0;
inline constexpr int32_t kSearchNoPlacement = 1;
inline constexpr int32_t kSearchRefused = 2;

int32_t fcIniAssignStr(db::Store& store, Backend& backend, db::Vars args,
                       const db::HostVar* result);
int32_t levelFcCreateCdyLevel(db::Store& store, Backend& backend, db::Vars args,
                              const db::HostVar* result);
int32_t levelFcSearch2(db::Store& store, Backend& backend, db::Vars args,
                       const db::HostVar* result);
int32_t uLevelString(db::Store& store, Backend& backend, db::Vars args,
                     const db::HostVar* result);

// Adds the four procedures to a registry (addBuiltinProcedures does).
void addLevellingProcedures(ProcedureRegistry& registry);

// The LEVEL_ASSIGN_STRING text of a placement's days (ascending days).
std::string levelAssignString(const std::vector<levelling::DayPart>& days);

}  // namespace host

#endif  // LEVELER_HOST_LEVELLING_PROCS_H
