// What the two halves of the levelling stage share: the loop over
// assignments (main_loop.cc) and the tail that writes the levelled results
// (main_loop_tail.cc). Not for other units: the stage's entry point is
// levelAssignmentsAndWriteResults in levelling_stage.h.
//
// Failures: every helper here that meets a negative SQL status takes the
// SQL-failure exit of run control itself (sqlFailureExit): run.errCode
// becomes the status, the SQL failure line goes to the log and, for -1405,
// the last prepared search call (run.sql_stmt) is written and notified.
// The stage then returns the status; the driver only carries it on to the
// finalisation and must not write those lines again.
//
// Phase times (seconds of processor time) are added into run.time[] at the
// indices the results report reads (finalisation.h).
#ifndef LEVELER_RUN_MAIN_LOOP_H
#define LEVELER_RUN_MAIN_LOOP_H

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "run/finalisation.h"
#include "run/run_state.h"

namespace run::stage {

inline constexpr const char* kStartNode = "start";
inline constexpr const char* kFinishNode = "finish";

// Tasks processed between two commits of the loop.
inline constexpr int kTasksPerCommit = 400;
// Error base handed to doExtractActAssStartFinishDT (its failure only
// skips the row).
inline constexpr int kErrAssignmentNotInList = 200213;
// Error base of the final update of the items.
inline constexpr int kFinalUpdateErrorBase = 200208;

// run.time[] indices of the stage: the slots the results report reads.
inline constexpr int kTimeCalendarLevels = kTimeCalendarDays;
inline constexpr int kTimeRealignment = kTimeDynamicResolution;
inline constexpr int kTimeTaskRollups = kTimeRollups;
inline constexpr int kTimeLoopCommits = kTimeCommits;

// The SQL-failure exit (see above). Returns `status`.
int sqlFailureExit(RunState& run, int32_t status, FILE* file);

// "call LEVEL_COMMIT() into ?": 0, or the SQL-failure exit's status.
int commitRun(RunState& run, FILE* file);

// Runs `sql` with its inputs: 0, or the SQL-failure exit's status.
int executeOrExit(RunState& run, const char* sql, FILE* file);

// The tail after the last assignment: final roll-up, critical path, final
// update, project dates, project assignments, what-if summary (kind 4),
// copy into KOR_WBS, conflict list, level index -1. 0 or the run's error.
int writeLevelledResults(RunState& run, FILE* file);

}  // namespace run::stage

#endif  // LEVELER_RUN_MAIN_LOOP_H
