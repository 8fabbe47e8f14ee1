// The copy of levelled results into the plan. NOT BUILT YET: see
// levelling_stage.h.
#include "run/levelling_stage.h"

namespace run {

int copyLevelledResults(RunState&, FILE*) { return kErrLevellingNotBuilt; }

}  // namespace run
