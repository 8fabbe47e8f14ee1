// The host application's stored procedures, reached through the store's
// call operation by name.
//
// A procedure receives the connection as the store (its statements) and as
// the backend (commit, clock, the connection's procedure state; backend.h),
// its arguments (by reference: it may write in/out arguments) and the
// result host variable of a function call (null when the caller binds
// none). Procedures know no concrete backend, so every backend runs them.
// A procedure returns a status: 0 done, or a negative failure. A failing statement inside it leaves its own status and
// message, which the procedure passes on by returning that code; a
// procedure that refuses its arguments sets a code of the block from
// db::kSqlProcedureRefused (-20001) with a message and returns it.
//
// The registry is filled before any run starts (it is not locked): the
// built-ins below at first use of hostProcedures(), the levelling
// procedures by the code that provides them. Names are matched without
// regard to case.
//
// Built-ins:
// - SET_DATEFORMAT(): nothing to do, dates and time stamps are text in this
//   database. Result (if bound) 0.
// - LEVEL_COMMIT(): commits the run's transaction and begins the next.
//   Result 0; a failed commit gives its negative status.
// - LEVEL_FC_A_NOTIFICATION, LEVEL_FC_U_WORKFLOW: the notification workflow
//   item, see notification_procs.h.
// - FC_INI_ASSIGN_STR, LEVEL_FC_CREATE_CDY_LEVEL, LEVEL_FC_SEARCH_2,
//   U_LEVEL_STRING: the levelling run's resource search, see
//   levelling_procs.h.
// - LEVEL_FC_Rollup, LEVEL_FC_Rollup_Timephase, LEVEL_FC_Timephase_CRI_Task,
//   LEVEL_FC_TIMEPHASE_LEVELED: the roll-up and time-phased figures after a
//   copy of levelled results, see rollup_procs.h.
#ifndef LEVELER_HOST_PROCEDURES_H
#define LEVELER_HOST_PROCEDURES_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "host/backend.h"
#include "store/host_vars.h"
#include "store/store.h"

namespace host {

using HostProcedure = std::function<int32_t(
    db::Store& store, Backend& backend, db::Vars args, const db::HostVar* result)>;

struct ProcedureEntry {
  HostProcedure run;
  int arity;  // number of arguments, or -1 for any
};

class ProcedureRegistry {
 public:
  // Adds or replaces the procedure `name`.
  void add(std::string_view name, int arity, HostProcedure run);
  // Null when unknown.
  const ProcedureEntry* find(std::string_view name) const;

 private:
  std::map<std::string, ProcedureEntry, std::less<>> entries_;  // upper case
};

// One call of a store's call operation, shared by the backends. The call
// text is "NAME" or "call NAME(?, ...) [into ?]" (":bN" placeholders count
// too); the procedure is looked up in `registry`, its arguments counted
// against its arity and the placeholders, and it runs with `store` as the
// store and `backend` as the backend. `status` is the store's own status:
// db::kSqlUnknownProcedure with a message for an unknown name or a wrong
// count, 0 after success, and "procedure NAME failed" when a failing
// procedure left no status of its own.
int32_t callProcedure(const ProcedureRegistry& registry, std::string_view text,
                      db::Store& store, Backend& backend, db::Vars args,
                      const db::HostVar* result, db::SqlStatus& status);

// The process-wide registry, with the built-ins in place.
ProcedureRegistry& hostProcedures();

// The built-ins, for a registry of one's own.
void addBuiltinProcedures(ProcedureRegistry& registry);

}  // namespace host

#endif  // LEVELER_HOST_PROCEDURES_H
