// The host procedures that the copy of levelled results calls once the
// levelled values are in the plan: the WBS roll-up of one project
// (LEVEL_FC_Rollup) and the time-phased budget figures
// (LEVEL_FC_Rollup_Timephase, LEVEL_FC_Timephase_CRI_Task,
// LEVEL_FC_TIMEPHASE_LEVELED). A what-if levelling run calls
// LEVEL_FC_TIMEPHASE_LEVELED alone, before any copy.
//
// Each is a function whose bound result is 0 when done; the call's status
// is 0, or the negative status of a failed statement (the statement's own
// message is left in the store's status). Nothing is committed here.
//
// Units: dates are the store's 26-character time stamps (text order is
// time order); effort and work are working minutes; budget amounts written
// here are minutes; a period is a calendar month, named by its first day
// ("2024-01-01").
//
// LEVEL_FC_Rollup(rankLike) into result
//   Rolls the items whose RANK is like rankLike (the project's rank + "%")
//   up from what the copy changed: the assignments' planned and scheduled
//   dates and work, then the items' dates and effort.
//   1. Leaves (items under the pattern without children) that have
//      assignments take them from those assignments: PLANNED_START and
//      PLANNED_FINISH the earliest start and latest finish of the
//      assignments in planned mode (BIT_FLAG 0), SCHED_START and
//      SCHED_FINISH those of the assignments in scheduled mode (BIT_FLAG 2),
//      each kept as it was when no assignment of that mode has the date;
//      PLANNED_EFFORT the sum of PLANNED_WORK of the planned ones,
//      SCHED_EFFORT the sum of SCHED_WORK of the scheduled ones (0 when
//      there are none).
//   2. Containers (items under the pattern with at least one child, a row
//      whose PARENT_ID names them; the project item is one when it has
//      children), deepest first (longest RANK first; a child's rank starts
//      with its parent's, so every child is done before its parent):
//      PLANNED_START the earliest of the children's starts, a leaf child's
//      SCHED_START where it has one, else its PLANNED_START; PLANNED_FINISH
//      the latest of the children's finishes, a leaf child's SCHED_FINISH
//      where it has one, else PLANNED_FINISH; a child container counts with
//      its PLANNED_START and PLANNED_FINISH, which already cover its
//      scheduled children; SCHED_START and SCHED_FINISH the
//      earliest and latest of the children's scheduled dates; a date no
//      child has is kept as it was. PLANNED_EFFORT and SCHED_EFFORT the sums
//      of the children's (nulls count 0).
//   No other column is written (PROPOSED_*, START_DT, FINISH_DT and the
//   project's what-if dates are the copy's own). A container's own
//   assignments (a project-level assignment) are the project's figures
//   (PROJECT_ASSIGNMENTS) and take no part in the WBS roll-up. The item
//   kind is told by the tree, not by TYPE_ID: any item with children is
//   rolled up from them, any leaf from its assignments. Applying the
//   roll-up twice gives the same values. Result 0; a null rankLike is
//   refused (status kSqlProcedureRefused, nothing written).
//
// LEVEL_FC_Rollup_Timephase() into result
//   (An argument, as in "LEVEL_FC_Rollup_Timephase(:b0)", is accepted and
//   not used; the same holds for LEVEL_FC_Timephase_CRI_Task.)
//   The time-phased figures of the plan, for the run's projects (rows of
//   NAV_TMP_PROJECTS_00 on this connection) whose levelled results have just
//   been copied: the project item's LEVEL_STATE is 2 and the project still
//   has levelled day rows (LEVEL_TASK_DAY_OF_YEAR, dropped only after these
//   calls). Their rows of BUDGET_TYPE 17 and 18 are replaced by the sums of
//   SCHED_MIN of their TASK_DAY_OF_YEAR rows per project, task (ELEMENT_ID =
//   the day row's TASK_ID), month (PERIOD_START) and mode: 17 for scheduled
//   days (BIT_FLAG 2), 18 for planned days (BIT_FLAG 0); days of other bit
//   flags and days without minutes give nothing. A day with actual work
//   counts with its SCHED_MIN, which the copy has cut to the actual
//   minutes. The copy then turns 17 into 3 and 18 into 2. Result 0.
//
// LEVEL_FC_Timephase_CRI_Task() into result
//   Nothing to add, result 0: CRI tasks are KOR_WBS items like any other
//   here, and their days are TASK_DAY_OF_YEAR rows that
//   LEVEL_FC_Rollup_Timephase has already summed. The procedure exists
//   because the copy calls it.
//
// LEVEL_FC_TIMEPHASE_LEVELED() into result
//   The time-phased figures of levelling results not (yet) copied: for the
//   run's projects whose project item has LEVEL_STATE 1 and that have
//   levelled day rows, their rows of BUDGET_TYPE 17 and 18 are replaced by
//   the same sums taken from LEVEL_TASK_DAY_OF_YEAR. After a what-if
//   levelling run they stay 17 and 18, the levelled view beside the plan's
//   3 and 2. Inside a copy the copied projects are at LEVEL_STATE 2 and
//   were done from the plan's days by LEVEL_FC_Rollup_Timephase, so there is
//   nothing to add for them. Result 0.
//
// The period of a budget row is its PERIOD_START column (the month's first
// day), a column of the schema kept for these rows; rows that other code
// writes may leave it null.
//
// The budget rows written here have CHARGECODE_ID kTimephaseChargeCode: the
// day rows carry no charge code. The constant is fixed so that the copy's
// replacement of old rows by new ones (same element and charge code) finds
// the rows an earlier copy wrote.
#ifndef LEVELER_HOST_ROLLUP_PROCS_H
#define LEVELER_HOST_ROLLUP_PROCS_H

#include <cstdint>

#include "host/backend.h"
#include "store/host_vars.h"
#include "store/store.h"

namespace host {

class ProcedureRegistry;

inline constexpr int kRollupArity = 1;
inline constexpr const char* kTimephaseChargeCode = "LEVELLED";
inline constexpr int32_t kBudgetTypeScheduledNew = 17;
inline constexpr int32_t kBudgetTypePlannedNew = 18;

int32_t levelFcRollup(db::Store& store, Backend& backend, db::Vars args,
                      const db::HostVar* result);
int32_t levelFcRollupTimephase(db::Store& store, Backend& backend, db::Vars args,
                               const db::HostVar* result);
int32_t levelFcTimephaseCriTask(db::Store& store, Backend& backend, db::Vars args,
                                const db::HostVar* result);
int32_t levelFcTimephaseLevelled(db::Store& store, Backend& backend, db::Vars args,
                                 const db::HostVar* result);

// Adds the four procedures to a registry (addBuiltinProcedures does).
void addRollupProcedures(ProcedureRegistry& registry);

}  // namespace host

#endif  // LEVELER_HOST_ROLLUP_PROCS_H
