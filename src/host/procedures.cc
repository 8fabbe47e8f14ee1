// Procedure registry and the two housekeeping procedures (SET_DATEFORMAT,
// LEVEL_COMMIT). See procedures.h.
#include "host/procedures.h"

#include <cctype>

#include "host/levelling_procs.h"
#include "host/notification_procs.h"
#include "host/rollup_procs.h"

namespace host {

namespace {

std::string upperCase(std::string_view name) {
  std::string key(name);
  for (char& c : key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return key;
}

int32_t setDateFormat(db::Store&, Backend&, db::Vars, const db::HostVar* result) {
  if (result != nullptr) return result->setInteger(0);
  return db::kSqlOk;
}

int32_t levelCommit(db::Store&, Backend& backend, db::Vars, const db::HostVar* result) {
  int32_t rc = backend.commitAndBegin();
  if (rc < 0) return rc;
  if (result != nullptr) return result->setInteger(0);
  return db::kSqlOk;
}

}  // namespace

void ProcedureRegistry::add(std::string_view name, int arity, HostProcedure run) {
  entries_[upperCase(name)] = ProcedureEntry{std::move(run), arity};
}

const ProcedureEntry* ProcedureRegistry::find(std::string_view name) const {
  auto it = entries_.find(upperCase(name));
  return it == entries_.end() ? nullptr : &it->second;
}

void addBuiltinProcedures(ProcedureRegistry& registry) {
  registry.add("SET_DATEFORMAT", 0, setDateFormat);
  registry.add("LEVEL_COMMIT", 0, levelCommit);
  registry.add("LEVEL_FC_A_NOTIFICATION", kANotificationArity, levelFcANotification);
  registry.add("LEVEL_FC_U_WORKFLOW", kUWorkflowArity, levelFcUWorkflow);
  addLevellingProcedures(registry);
  addRollupProcedures(registry);
}

ProcedureRegistry& hostProcedures() {
  static ProcedureRegistry registry = [] {
    ProcedureRegistry r;
    addBuiltinProcedures(r);
    return r;
  }();
  return registry;
}

}  // namespace host
