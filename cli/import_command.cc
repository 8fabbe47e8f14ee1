// `leveler import-psplib FILE.sm DB [--start YYYY-MM-DD]`: a PSPLIB
// single-mode instance becomes a project of the database
// (import/psplib_import.h). The database is created when missing. The
// project starts on --start, a Monday (default: the first Monday of 2030,
// 2030-01-07). The identifier of the new project is the last line printed,
// so that scripts can level it next. A malformed file writes nothing.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli_support.h"
#include "commands.h"
#include "import/psplib_import.h"

namespace cli {

int importPsplibCommand(const std::string& command, const std::vector<std::string>& args) {
  Arguments a;
  std::string error;
  if (!parseArguments(args, {"--start"}, {}, a, error)) {
    printError(command, error);
    return kExitUsage;
  }
  if (a.flags.count("--help")) {
    printUsage(command);
    return kExitOk;
  }
  if (a.positional.size() != 2) {
    printError(command, "expected a PSPLIB file and a database");
    return kExitUsage;
  }
  std::string start = a.options.count("--start") ? a.options["--start"] : "2030-01-07";
  std::string stamp;
  if (!parseAsOf(start, stamp)) {
    printError(command, "--start '" + start + "' is not a day (YYYY-MM-DD)");
    return kExitUsage;
  }
  start = stamp.substr(0, 10);
  if (std::FILE* f = std::fopen(a.positional[0].c_str(), "r")) {
    std::fclose(f);
  } else {
    printError(command, "cannot read '" + a.positional[0] + "'");
    return kExitFailure;
  }
  std::unique_ptr<db::Store> store = openDatabase(a.positional[1], true, error);
  if (!store) {
    printError(command, error);
    return kExitFailure;
  }
  import::PsplibImport result;
  if (import::importPsplib(*store, a.positional[0], start, result, error) != 0) {
    printError(command, error);
    return kExitFailure;
  }
  if (commit(*store) < 0) {
    printError(command, "the import could not be committed: " + std::string(store->status().message));
    return kExitFailure;
  }
  std::printf("%d jobs and %d resources imported from %s\n%s\n", result.jobs, result.resources,
              a.positional[0].c_str(), result.projectId.c_str());
  return kExitOk;
}

}  // namespace cli
