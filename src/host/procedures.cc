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

namespace {

bool isCallNameChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$' || c == '#';
}

std::string_view trimCallText(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  return s;
}

struct CallText {
  std::string_view name;
  bool hasList = false;
  std::size_t placeholders = 0;
};

CallText parseCallText(std::string_view text) {
  CallText out;
  std::string_view s = trimCallText(text);
  if (s.size() > 4 && (s[0] == 'c' || s[0] == 'C') && (s[1] == 'a' || s[1] == 'A') &&
      (s[2] == 'l' || s[2] == 'L') && (s[3] == 'l' || s[3] == 'L') &&
      std::isspace(static_cast<unsigned char>(s[4]))) {
    s = trimCallText(s.substr(4));
  }
  std::size_t n = 0;
  while (n < s.size() && isCallNameChar(s[n])) ++n;
  out.name = s.substr(0, n);
  std::string_view rest = s.substr(n);
  out.hasList = rest.find('(') != std::string_view::npos;
  for (std::size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == '?') {
      ++out.placeholders;
    } else if (rest[i] == ':' && i + 1 < rest.size() && isCallNameChar(rest[i + 1]) &&
               (i == 0 || !isCallNameChar(rest[i - 1]))) {
      ++out.placeholders;
    }
  }
  return out;
}

}  // namespace

int32_t callProcedure(const ProcedureRegistry& registry, std::string_view text,
                      db::Store& store, Backend& backend, db::Vars args,
                      const db::HostVar* result, db::SqlStatus& status) {
  const CallText call = parseCallText(text);
  const std::string name(call.name);
  const ProcedureEntry* entry = registry.find(name);
  if (entry == nullptr) {
    status.setf(db::kSqlUnknownProcedure, "unknown procedure '%.40s'", name.c_str());
    status.rows = 0;
    return db::kSqlUnknownProcedure;
  }
  const std::size_t bound = args.size() + (result != nullptr ? 1 : 0);
  if ((entry->arity >= 0 && static_cast<std::size_t>(entry->arity) != args.size()) ||
      (call.hasList && call.placeholders != bound)) {
    status.setf(db::kSqlUnknownProcedure, "%.40s: wrong number of arguments (%zu)",
                name.c_str(), args.size());
    status.rows = 0;
    return db::kSqlUnknownProcedure;
  }
  status.set(db::kSqlOk, "");
  status.rows = 0;
  const int32_t rc = entry->run(store, backend, args, result);
  if (rc == db::kSqlOk) {
    status.set(db::kSqlOk, "");
    status.rows = 0;
    return rc;
  }
  if (status.code != rc) {
    status.setf(rc, "procedure %.40s failed", name.c_str());
    status.rows = 0;
  }
  return rc;
}

}  // namespace host
