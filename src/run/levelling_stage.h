// The run driver's levelling and copy steps: the main loop over
// assignments with its tail (final roll-up, critical path, final update,
// project dates, copy to the plan, conflict list) for run kinds 0, 3 and 4,
// and the copy of earlier results into the plan for kinds 2 and 6.
//
// Both steps write their own SQL failure line (and run.errCode) before
// returning a negative status; the driver only carries it on to the
// finalisation.
#ifndef LEVELER_RUN_LEVELLING_STAGE_H
#define LEVELER_RUN_LEVELLING_STAGE_H

#include <cstdio>

#include "run/run_state.h"

namespace run {

// Kinds 0, 3, 4: returns 0 or the run's error code (negative: SQL status).
int levelAssignmentsAndWriteResults(RunState& run, FILE* file);

// Kinds 2, 6: returns 0 or the run's error code.
int copyLevelledResults(RunState& run, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_LEVELLING_STAGE_H
