// The end of every run, whatever its outcome: Lev_finalizeExceptionPrint-
// AndCleanup releases the locks the run still holds, empties the work
// tables, commits, frees every record of the run, writes the results report
// to the log and sends the final notification, whose tag and text follow
// the run's result code (run.errCode).
//
// Steps, in order (each statement runs in turn; a failing one is not
// checked and the next one follows):
//   1. "call SET_DATEFORMAT()", the current time stamp (the report's date).
//   2. Unless errCode is 0, 200114, 200319, 200318, 200004 or 200317: the
//      box "Completing Calculate/Leveling w/error code" and LEVEL_LOCK = 0
//      for the projects of NAV_TMP_PROJECTS_00.
//   3. Unless run.isOriginallyLocked: the record locks released when this
//      run took them (what-if form: only projects whose LEVEL_LOCK is
//      already 0; otherwise every selected project, and the portfolio
//      folder's own lock), NAV_TMP_PROJECTS_00 emptied, the work tables
//      emptied unless errCode is negative (a failed statement leaves them
//      as they were, for the diagnosis), LEVEL_COMMIT, the records freed.
//   4. LEVEL_COMMIT.
//   5. The results report (printResultsReport).
//   6-7. The final notification (notification on: kNotifyOnCompletion).
// Returns 0.
//
// Phase times (seconds of processor time) read by the report:
//   " Total time Processing Forward/Backward"  time[kTimeStaticSequence]
//   " Dynamic Resolution of Dependences"       time[kTimeDynamicResolution]
//   " Search_2 Function"                       time[kTimeSearch]
//   " Total time Critical Path Calculation"    time[kTimeCriticalPath]
// and, when the timing option is on, one line for each of loadTimes[0..7]
// (the load phase's eight), sequenceTimes[0..16] (the processing
// sequence's seventeen), time[kTimeLoadPhase], time[kTimeSelectAssignments]
// .. time[kTimeTimephased] (the driver's and the main loop's phases, in the
// order of the constants below) and the thirteen "Copy DT-> " lines of
// time[kTimeCopyFirst .. kTimeCopyFirst + 12] (the copy phase's steps in
// their order). "Per task" divides by tasksTotalCount + 1, "per
// assignment" by ass_count + 1, "per project" by num_proj + 0.1. The total
// time is (clock() - g_start) / 1,000,000 seconds.
//
// Choices:
// - Records are freed on every path (freeRunRecords skips what was never
//   created), also when the run never passed its lock check, so that no
//   path leaks; the storage manager goes with them.
// - The line of dashes of the report is a blank and 75 dashes.
// - The templated-items (200319) and locked (200114) subjects name the run
//   by "Leveling " (run kinds 0, 1 and 4: a levelling run records kind 0 as
//   1), "Calculating " (3), "Copying Calculated/Leveled Results for " (2
//   and 6), and "Calculate/Leveling " for any other kind; the element by
//   "What-if? Scenario: " (what-if runs), "Portfolio: " (a folder) or
//   "Project: ". The element name is read from KOR_PORTFOLIOS for a folder
//   and from KOR_WBS otherwise; without a row, the run's root_node_name.
// - The locking run (200114) is the first locked project in RANK order:
//   under the element's WBS rank (a project or WBS element), among the
//   projects placed under the folder's portfolio rank and their
//   sub-projects (a folder), or among the scenario's projects with a lock
//   other than the scenario value 10 (a what-if run). A lock held by a
//   scenario is a LEVEL_LOCK of 10. When no locked project is found, the
//   error line is logged and the notification names the run's own kind
//   and the element, "\nis locked for Calculate/Leveling by someone" and
//   nothing of the lock.
// - The final text is put in front of the accumulated message, as every
//   progress text is (the newest step first).
// - run._wneverLine is left as the failing step set it (the final text
//   reports it).
// - Nothing is thrown out of it (the driver calls it from its exception
//   exit as well): an exception inside it is logged and 0 returned.
#ifndef LEVELER_RUN_FINALISATION_H
#define LEVELER_RUN_FINALISATION_H

#include <cstdio>

#include "run/run_state.h"

namespace run {

// Indexes of RunState::time[] (seconds) that the phases of the run fill.
inline constexpr int kTimeLoadPhase = 1;          // readAndLoadDataForMultipleProjectsFromTheRootDB
inline constexpr int kTimeStaticSequence = 2;     // processDepForWbsItemStatic
inline constexpr int kTimeDynamicResolution = 3;  // realignment after each placement (main loop)
inline constexpr int kTimeSearch = 4;             // LEVEL_FC_SEARCH_2 calls (main loop)
inline constexpr int kTimeCriticalPath = 5;       // critical path after levelling
inline constexpr int kTimeSelectAssignments = 6;  // main loop: reading the assignments
inline constexpr int kTimeCalendarDays = 7;       // LEVEL_FC_CREATE_CDY_LEVEL
inline constexpr int kTimeRollups = 8;            // roll-ups during the main loop
inline constexpr int kTimeFinalRollup = 9;        // final roll-up of containers
inline constexpr int kTimeFinalUpdate = 10;       // final update of the items
inline constexpr int kTimeProjectDates = 11;      // project dates, assignment summaries
inline constexpr int kTimeCopyToPlan = 12;        // Lev_kor_wbs into KOR_WBS
inline constexpr int kTimeConflicts = 13;         // the conflict list
inline constexpr int kTimeCommits = 14;           // commits of the main loop
inline constexpr int kTimeTimephased = 15;        // LEVEL_FC_TIMEPHASE_LEVELED (kind 4)
inline constexpr int kTimeCopyFirst = 20;         // copy phase: 20 .. 32, thirteen steps
inline constexpr int kTimeCopySteps = 13;

// The results report of step 5: `todays` is the time stamp printed,
// `totalSeconds` the run's processor time, `timing` adds the detailed lines.
void printResultsReport(const RunState& run, const char* todays, double totalSeconds, bool timing,
                        FILE* file);

}  // namespace run

int Lev_finalizeExceptionPrintAndCleanup(run::RunState& run, FILE* file);

#endif  // LEVELER_RUN_FINALISATION_H
