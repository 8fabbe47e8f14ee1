// The command table, the argument parser, and the two commands that create
// databases (init, demo). See commands.h.
#include "commands.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "cli_support.h"
#include "demo_portfolio.h"

namespace cli {

namespace {

int initCommand(const std::string& command, const std::vector<std::string>& args);
int demoCommand(const std::string& command, const std::vector<std::string>& args);

constexpr const char* kRunUsage =
    "DB ELEMENT [--as-of \"YYYY-MM-DD HH:MM:SS\"] [--user NAME] [--log FILE]";
constexpr const char* kScenarioRunUsage =
    "DB ELEMENT [--as-of \"YYYY-MM-DD HH:MM:SS\"] [--user NAME] [--log FILE] [--scenario N]";

void printHelp(std::FILE* out) {
  std::fputs("usage: leveler <command> [arguments]\n\ncommands:\n", out);
  for (const Command& c : commands()) {
    std::fprintf(out, "  %-12s %s\n", c.name, c.summary);
  }
  std::fputs(
      "\nDB is a database file; ELEMENT a project or portfolio folder, by identifier or name.\n"
      "'leveler <command> --help' shows a command's arguments. Runs append their trace to\n"
      "/tmp/Leveling.log unless --log names another file.\n",
      out);
}

const Command* findCommand(const std::string& name) {
  for (const Command& c : commands()) {
    if (name == c.name) return &c;
  }
  return nullptr;
}

bool fileHasContent(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && (st.st_size > 0 || S_ISDIR(st.st_mode));
}

int initCommand(const std::string& command, const std::vector<std::string>& args) {
  Arguments a;
  std::string error;
  if (!parseArguments(args, {}, {"--force"}, a, error)) {
    printError(command, error);
    return kExitUsage;
  }
  if (a.flags.count("--help")) {
    printUsage(command);
    return kExitOk;
  }
  if (a.positional.size() != 1) {
    printError(command, "expected one database file (usage: leveler init DB [--force])");
    return kExitUsage;
  }
  const std::string& path = a.positional[0];
  if (fileHasContent(path)) {
    if (!a.flags.count("--force")) {
      printError(command, "'" + path + "' exists and is not empty; use --force to replace it");
      return kExitFailure;
    }
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
      const std::string file = path + suffix;
      if (std::remove(file.c_str()) != 0 && suffix[0] == '\0') {
        printError(command, "cannot replace '" + path + "': " + std::strerror(errno));
        return kExitFailure;
      }
    }
  }
  std::unique_ptr<db::Store> store = openDatabase(path, true, error);
  if (store == nullptr) {
    printError(command, error);
    return kExitFailure;
  }
  if (commit(*store) != 0) {
    printError(command, "cannot commit the schema: " + std::string(store->status().message));
    return kExitFailure;
  }
  std::printf("created an empty leveler database in %s\n", path.c_str());
  return kExitOk;
}

int demoCommand(const std::string& command, const std::vector<std::string>& args) {
  Arguments a;
  std::string error;
  if (!parseArguments(args, {"--today"}, {}, a, error)) {
    printError(command, error);
    return kExitUsage;
  }
  if (a.flags.count("--help")) {
    printUsage(command);
    return kExitOk;
  }
  if (a.positional.size() != 1) {
    printError(command, "expected one database file (usage: leveler demo DB [--today YYYY-MM-DD])");
    return kExitUsage;
  }
  DemoOptions options;
  if (a.options.count("--today")) {
    std::string stamp;
    const std::string& day = a.options["--today"];
    if (day.size() != 10 || !parseAsOf(day, stamp)) {
      printError(command, "malformed --today day '" + day + "' (expected YYYY-MM-DD)");
      return kExitUsage;
    }
    options.today = day;
  }
  const std::string& path = a.positional[0];
  std::unique_ptr<db::Store> store = openDatabase(path, true, error);
  if (store == nullptr) {
    printError(command, error);
    return kExitFailure;
  }
  bool present = false;
  if (demoPresent(*store, present) < 0) {
    printError(command, "cannot read '" + path + "': " + store->status().message);
    return kExitFailure;
  }
  if (present) {
    printError(command, "'" + path + "' already holds the demo portfolio " + kDemoFolderId);
    return kExitFailure;
  }
  DemoSummary summary;
  if (writeDemoPortfolio(*store, options, summary, error) != 0) {
    printError(command, "cannot write the demo portfolio: " + error);
    return kExitFailure;
  }
  std::printf(
      "demo portfolio %s (\"%s\") written to %s:\n"
      "  %d projects (one outside the portfolio), %d containers, %d tasks, %d dependencies,\n"
      "  %d resources, %d assignments; work reported up to %s (%d tasks finished, %d in "
      "progress)\n"
      "level it with: leveler level %s %s\n",
      kDemoFolderId, kDemoFolderName, path.c_str(), summary.projects, summary.containers,
      summary.tasks, summary.dependencies, summary.resources, summary.assignments,
      summary.today.c_str(), summary.finishedTasks, summary.inProgressTasks, path.c_str(),
      kDemoFolderId);
  return kExitOk;
}

}  // namespace

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {
      {"init", "DB [--force]", "create the schema in a new database file", initCommand},
      {"demo", "DB [--today YYYY-MM-DD]", "write the demo portfolio PF_DEMO into a database",
       demoCommand},
      {"level", kRunUsage, "level the resources of a project or portfolio (run kind 0)",
       runCommand},
      {"calculate", kRunUsage, "calculate the schedule without levelling (run kind 3)",
       runCommand},
      {"copy", kRunUsage, "copy the levelled results into the plan (run kind 2)", runCommand},
      {"whatif", kScenarioRunUsage, "level the what-if scenario's projects (run kind 4)",
       runCommand},
      {"copy-whatif", kScenarioRunUsage, "copy the what-if scenario's results (run kind 6)",
       runCommand},
      {"list", "DB", "list portfolios, projects with their last run, and resources",
       listCommand},
      {"report", "DB ELEMENT -o FILE.html [--collapse-depth N]", "write an HTML report of a run's results",
       reportCommand},
      {"import-psplib", "FILE.sm DB [--start YYYY-MM-DD]", "import a PSPLIB project into a database",
       importPsplibCommand},
  };
  return table;
}

bool parseArguments(const std::vector<std::string>& args,
                    const std::set<std::string>& valueOptions,
                    const std::set<std::string>& flagOptions, Arguments& out,
                    std::string& error) {
  out = Arguments();
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg.size() < 2 || arg[0] != '-' || arg == "--") {
      out.positional.push_back(arg);
      continue;
    }
    if (arg == "--help" || arg == "-h") {
      out.flags.insert("--help");
      continue;
    }
    const size_t eq = arg.find('=');
    const std::string name = arg.substr(0, eq);
    if (valueOptions.count(name)) {
      if (eq != std::string::npos) {
        out.options[name] = arg.substr(eq + 1);
      } else if (i + 1 < args.size()) {
        out.options[name] = args[++i];
      } else {
        error = "option " + name + " needs a value";
        return false;
      }
      continue;
    }
    if (flagOptions.count(name) && eq == std::string::npos) {
      out.flags.insert(name);
      continue;
    }
    error = "unknown option '" + arg + "'";
    return false;
  }
  return true;
}

void printUsage(const std::string& command) {
  const Command* c = findCommand(command);
  if (c == nullptr) return;
  std::printf("usage: leveler %s %s\n  %s\n", c->name, c->usage, c->summary);
}

int runLeveler(int argc, char** argv) {
  if (argc < 2) {
    printHelp(stderr);
    return kExitUsage;
  }
  const std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    printHelp(stdout);
    return kExitOk;
  }
  const Command* c = findCommand(name);
  if (c == nullptr) {
    std::fprintf(stderr, "leveler: unknown command '%s' (see leveler --help)\n", name.c_str());
    return kExitUsage;
  }
  std::vector<std::string> args(argv + 2, argv + argc);
  if (c->run == nullptr) {
    for (const std::string& a : args) {
      if (a == "--help" || a == "-h") {
        printUsage(name);
        return kExitOk;
      }
    }
    printError(name, "not available in this build");
    return kExitFailure;
  }
  return c->run(name, args);
}

}  // namespace cli
