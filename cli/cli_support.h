// What every command of the `leveler` program shares: opening the database
// named on the command line, resolving an element given by identifier or by
// name, reading and checking the options common to the run commands, the
// meanings of a run's result codes, and the one-line error messages.
//
// Messages: every failure is one line on standard error,
// "leveler <command>: <what is wrong>". Exit codes: 0 success, 1 a failure
// (a missing or broken database, an unknown element, a run that did not end
// with 0), 2 a usage error (unknown option, missing argument, malformed
// value).
//
// Opening: all opening goes through openDatabase, so that a second backend
// hooks in at one place. Targets that name a PostgreSQL connection
// ("postgresql://...", "postgres://..." or a key/value string such as
// "host=/tmp dbname=plans") open the server's database; with create (init,
// demo, import) the schema is created there when missing. For a file:
// - create = false (every command but init and demo): the file must exist,
//   be readable, start with the SQLite header and hold the application's
//   tables (KOR_WBS); otherwise the error names what is wrong.
// - create = true: a missing or empty file is created with the schema; a
//   file with content must already be a leveler database (no tables are
//   added to another application's database).
// In both cases the workflow cycle that run notifications live under
// (KOR_WORKFLOW_CYCLES, PARENT_ID 'NOTIFICATION') is added when missing:
// without it a run has nowhere to send its notification. That row is
// committed at once. The store comes back with a transaction begun and the
// write lock held (SQLite backend): close it before another connection
// writes.
//
// Time stamps: the "calculate as of" option takes "YYYY-MM-DD HH:MM:SS"
// (seconds may carry a fraction of up to six digits) or a plain day
// "YYYY-MM-DD" (midnight); the run gets the 26-character form
// "YYYY-MM-DD HH:MM:SS.ffffff". Years 1900 to 9999; days are checked
// against their month (29 February only in leap years).
#ifndef LEVELER_CLI_CLI_SUPPORT_H
#define LEVELER_CLI_CLI_SUPPORT_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "store/store.h"

namespace cli {

// Exit codes of the program.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Opens the database `target` (see the header comment). On failure returns
// null and sets `error` to a one-line description (without the command
// prefix).
std::unique_ptr<db::Store> openDatabase(const std::string& target, bool create,
                                        std::string& error);

// Commits the open transaction (LEVEL_COMMIT). 0 or the failing status.
int32_t commit(db::Store& store);

// "leveler <command>: <message>" on standard error.
void printError(const std::string& command, const std::string& message);

// An element a run can be asked for.
struct Element {
  std::string id;
  std::string name;
  bool folder = false;  // a portfolio folder (else a project)
};

// Finds `given` as the identifier of a project (KOR_WBS) or portfolio
// folder (KOR_PORTFOLIOS), else as the name of exactly one of them. 0 with
// `out` filled; 1 with `error` set when nothing or more than one element
// matches; a negative status on a database failure (`error` set too).
int32_t resolveElement(db::Store& store, const std::string& given, Element& out,
                       std::string& error);

// Parses a "calculate as of" value into the 26-character time stamp. False
// when it is malformed or names no real moment.
bool parseAsOf(const std::string& text, std::string& stamp);

// The local time now as a 26-character time stamp (microseconds zero).
std::string nowStamp();

// The login name of the user running the program: getlogin(), else the
// password entry of the effective user, else $USER, else "leveler".
std::string loginName();

// A short meaning of a run's result code.
std::string resultMeaning(int code);

// Run kinds by their command names: level 0, copy 2, calculate 3, whatif 4,
// copy-whatif 6. -1 for any other name.
int runKindOf(const std::string& command);

// The name of a project's last run as PROJECT_DETAILS.LEVEL_LAST_CALL_OPTION
// records it (0: never run).
std::string lastRunName(int lastCallOption);

}  // namespace cli

#endif  // LEVELER_CLI_CLI_SUPPORT_H
