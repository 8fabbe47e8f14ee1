// `leveler list DB`: what a database holds, for a person choosing what to
// run: the portfolio folders with their number of projects, the projects
// with their number of tasks and their last run, and the resources with
// their capacity and calendar.
//
// The last run of a project is what a run records in PROJECT_DETAILS:
// LEVEL_LAST_CALL_OPTION (the kind: 1 level, 2 copy, 3 calculate, 4
// what-if, 6 copy what-if; 0 never run), SCENARIO_DATETIME and
// SCENARIO_USER_ID (when and by whom), LEVEL_LOCK (0 free, 1 held by a run
// in progress or one that stopped, 10 reserved for a what-if scenario), and
// the levelled finish the run wrote on the project's row (KOR_WBS
// LEVEL_FINISH).
//
// Capacity: MAX_UNITS in hundredths of a percent of one person (10000 one
// person, null taken as 10000), printed as persons ("3.00", "0.50").
#include <cstdio>
#include <string>

#include "cli_support.h"
#include "commands.h"

namespace cli {

namespace {

constexpr const char* kSelectFolders =
    "SELECT P.ELEMENT_ID, P.ELEMENT_NAME, (SELECT COUNT(*) FROM KOR_PORTFOLIOS C WHERE "
    "C.PARENT_ID = P.ELEMENT_ID AND C.TYPE_ID IN (1,154,288,289,290)) FROM KOR_PORTFOLIOS P "
    "WHERE P.TYPE_ID NOT IN (1,154,288,289,290) ORDER BY P.RANK";
constexpr const char* kSelectProjects =
    "SELECT W.ELEMENT_ID, W.ELEMENT_NAME, COALESCE(W.PARENT_ID, ''), "
    "(SELECT COUNT(*) FROM KOR_WBS T WHERE T.PROJECT_ID = W.ELEMENT_ID AND T.TYPE_ID = 3), "
    "COALESCE(PD.LEVEL_LAST_CALL_OPTION, 0), COALESCE(SUBSTR(PD.SCENARIO_DATETIME, 1, 19), ''), "
    "COALESCE(PD.SCENARIO_USER_ID, ''), COALESCE(PD.LEVEL_LOCK, 0), "
    "COALESCE(SUBSTR(W.LEVEL_FINISH, 1, 16), '') "
    "FROM KOR_WBS W LEFT JOIN PROJECT_DETAILS PD ON PD.PROJECT_ID = W.ELEMENT_ID "
    "WHERE W.TYPE_ID IN (1,154,288,289,290) ORDER BY W.RANK";
constexpr const char* kSelectResources =
    "SELECT R.RESOURCE_ID, COALESCE(R.FULL_NAME, ''), COALESCE(R.MAX_UNITS, 10000), "
    "COALESCE(R.CALENDAR_ID, ''), (SELECT COUNT(*) FROM TASK_ASSIGNMENTS A WHERE "
    "A.RESOURCE_ID = R.RESOURCE_ID) FROM RESOURCES R ORDER BY R.RESOURCE_ID";

const char* lockName(int lock) {
  switch (lock) {
    case 0: return "";
    case 1: return "locked";
    case 10: return "what-if";
    default: return "lock?";
  }
}

int32_t listFolders(db::Store& store) {
  db::Cursor cursor(store);
  int32_t rc = cursor.open(kSelectFolders);
  if (rc < 0) return rc;
  db::IdText id;
  db::NameText name;
  int32_t projects = 0;
  int16_t ind[3] = {};
  std::printf("Portfolio folders:\n  %-20s %-32s %s\n", "ID", "NAME", "PROJECTS");
  int rows = 0;
  while ((rc = cursor.fetch({db::HostVar(id, &ind[0]), db::HostVar(name, &ind[1]),
                             db::HostVar(projects, &ind[2])})) == 0) {
    std::printf("  %-20s %-32s %d\n", id.c_str(), name.c_str(), projects);
    ++rows;
  }
  if (rows == 0) std::printf("  (none)\n");
  return rc < 0 ? rc : 0;
}

int32_t listProjects(db::Store& store) {
  db::Cursor cursor(store);
  int32_t rc = cursor.open(kSelectProjects);
  if (rc < 0) return rc;
  db::IdText id, parent, user;
  db::NameText name;
  db::StampText when, finish;
  int32_t tasks = 0, lastRun = 0, lock = 0;
  int16_t ind[9] = {};
  std::printf("\nProjects:\n  %-20s %-24s %-16s %5s  %-11s %-19s %-12s %-16s %s\n", "ID", "NAME",
              "PARENT", "TASKS", "LAST RUN", "AT", "BY", "LEVELLED FINISH", "LOCK");
  int rows = 0;
  while ((rc = cursor.fetch({db::HostVar(id, &ind[0]), db::HostVar(name, &ind[1]),
                             db::HostVar(parent, &ind[2]), db::HostVar(tasks, &ind[3]),
                             db::HostVar(lastRun, &ind[4]), db::HostVar(when, &ind[5]),
                             db::HostVar(user, &ind[6]), db::HostVar(lock, &ind[7]),
                             db::HostVar(finish, &ind[8])})) == 0) {
    char line[1024];
    std::snprintf(line, sizeof line, "  %-20s %-24s %-16s %5d  %-11s %-19s %-12s %-16s %s",
                  id.c_str(), name.c_str(), parent.c_str(), tasks, lastRunName(lastRun).c_str(),
                  when.c_str(), user.c_str(), finish.c_str(), lockName(lock));
    std::string text(line);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    std::printf("%s\n", text.c_str());
    ++rows;
  }
  if (rows == 0) std::printf("  (none)\n");
  return rc < 0 ? rc : 0;
}

int32_t listResources(db::Store& store) {
  db::Cursor cursor(store);
  int32_t rc = cursor.open(kSelectResources);
  if (rc < 0) return rc;
  db::IdText id, calendar;
  db::NameText name;
  int32_t units = 0, assignments = 0;
  int16_t ind[5] = {};
  std::printf("\nResources:\n  %-20s %-40s %8s  %-12s %s\n", "ID", "NAME", "PERSONS", "CALENDAR",
              "ASSIGNMENTS");
  int rows = 0;
  while ((rc = cursor.fetch({db::HostVar(id, &ind[0]), db::HostVar(name, &ind[1]),
                             db::HostVar(units, &ind[2]), db::HostVar(calendar, &ind[3]),
                             db::HostVar(assignments, &ind[4])})) == 0) {
    std::printf("  %-20s %-40s %8.2f  %-12s %d\n", id.c_str(), name.c_str(), units / 10000.0,
                calendar.len > 0 ? calendar.c_str() : "(project)", assignments);
    ++rows;
  }
  if (rows == 0) std::printf("  (none)\n");
  return rc < 0 ? rc : 0;
}

}  // namespace

int listCommand(const std::string& command, const std::vector<std::string>& args) {
  Arguments a;
  std::string error;
  if (!parseArguments(args, {}, {}, a, error)) {
    printError(command, error);
    return kExitUsage;
  }
  if (a.flags.count("--help")) {
    printUsage(command);
    return kExitOk;
  }
  if (a.positional.size() != 1) {
    printError(command, "expected one database (usage: leveler list DB)");
    return kExitUsage;
  }
  std::unique_ptr<db::Store> store = openDatabase(a.positional[0], false, error);
  if (store == nullptr) {
    printError(command, error);
    return kExitFailure;
  }
  for (auto part : {listFolders, listProjects, listResources}) {
    if (part(*store) < 0) {
      std::fflush(stdout);
      printError(command, std::string("cannot read the database: ") + store->status().message);
      return kExitFailure;
    }
  }
  return kExitOk;
}

}  // namespace cli
