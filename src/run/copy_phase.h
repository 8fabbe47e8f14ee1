// The copy of levelled results into the plan (run kinds 2 and 6): the
// function itself is declared in levelling_stage.h beside the levelling
// step; this header names what other units read of it: where its thirteen
// step timings go in RunState::time[], its progress phase, and its
// progress markers.
//
// Timings are seconds of processor time, summed over all projects of the
// run (the results report divides them by the number of projects copied,
// RunState::num_proj, which the copy sets):
//   20 preparation: date format, current time stamp, the project's details
//      and rank (and the never-calculated / no-new-data decisions)
//   21 the assignments to copy into nav_tmp_ta_02
//   22 first update of the WBS: tasks of partly levelled project
//      assignments set back to LEVEL_STATE 0
//   23 clean-up of the planned daily rows
//   24 days with actuals (NAV_TMP_TDYD, and their level rows dropped)
//   25 insert of the levelled daily rows, and the bits of days with actuals
//   26 the task assignments
//   27 the project assignments' estimated dates
//   28 second update of the WBS (items with effort)
//   29 third update of the WBS (items without effort)
//   30 the project dates (what-if work tables, project item dates, priority)
//   31 the roll-up (ROLLUP_BITS of projects, LEVEL_FC_Rollup)
//   32 the time-phase calculation and budget switch after the loop, and the
//      final drop of the level daily rows
#ifndef LEVELER_RUN_COPY_PHASE_H
#define LEVELER_RUN_COPY_PHASE_H

#include "run/finalisation.h"

namespace run {

inline constexpr int kCopyTimeFirst = kTimeCopyFirst;  // the report reads 20..32
inline constexpr int kCopyTimeSteps = 13;
inline constexpr int kCopyTimePreparation = 20;
inline constexpr int kCopyTimeSelectAssignments = 21;
inline constexpr int kCopyTimeFirstWbsUpdate = 22;
inline constexpr int kCopyTimeDailyCleanup = 23;
inline constexpr int kCopyTimeDaysWithActuals = 24;
inline constexpr int kCopyTimeDailyRows = 25;
inline constexpr int kCopyTimeAssignments = 26;
inline constexpr int kCopyTimeProjectAssignments = 27;
inline constexpr int kCopyTimeSecondWbsUpdate = 28;
inline constexpr int kCopyTimeThirdWbsUpdate = 29;
inline constexpr int kCopyTimeProjectDates = 30;
inline constexpr int kCopyTimeRollup = 31;
inline constexpr int kCopyTimeTimephase = 32;

// Phase text of db::reportProgress: done/total count the selected projects.
inline constexpr const char* kCopyProgressPhase = "copying results";

// Progress markers (RunState::_wneverLine) of the copy's steps: the log
// lines of a failure name the step by them.
inline constexpr int kCopyLineStart = 5000;           // date format, time stamp
inline constexpr int kCopyLineProjects = 5010;        // the project list
inline constexpr int kCopyLineDetails = 5020;         // details and rank
inline constexpr int kCopyLineSelect = 5030;          // nav_tmp_ta_02
inline constexpr int kCopyLinePartial = 5040;         // partial project assignments
inline constexpr int kCopyLineDays = 5050;            // daily rows
inline constexpr int kCopyLineActualBits = 5060;      // bits of days with actuals
inline constexpr int kCopyLineAssignments = 5070;     // task assignments
inline constexpr int kCopyLineProjAssignments = 5080; // project assignments
inline constexpr int kCopyLineWbs = 5090;             // WBS items
inline constexpr int kCopyLineProjectDates = 5100;    // project dates
inline constexpr int kCopyLineRollup = 5110;          // roll-up
inline constexpr int kCopyLineTimephase = 5120;       // time phase, budget
inline constexpr int kCopyLineDropLevelDays = 5130;   // final drop

}  // namespace run

#endif  // LEVELER_RUN_COPY_PHASE_H
