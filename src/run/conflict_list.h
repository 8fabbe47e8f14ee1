// The list of scheduling conflicts written at the end of a levelling run.
// Replaced at merge: this header and its stub stand in for the unit that
// builds the list, so that the levelling main loop can call it.
#ifndef LEVELER_RUN_CONFLICT_LIST_H
#define LEVELER_RUN_CONFLICT_LIST_H

#include <cstdio>

#include "run/run_state.h"

namespace run {

int doUpdateConflictListDB(run::RunState& run, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_CONFLICT_LIST_H
