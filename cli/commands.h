// The leveler's command table and its dispatcher: `leveler <command> ...`.
//
// Each command is a function from its arguments (after the command name)
// to an exit code (cli_support.h: 0, 1 failure, 2 usage). Every command
// answers --help with its usage line and a short description on standard
// output (exit 0). A command in the table without a function is one whose
// library is not linked into this build: it is listed, and refused with
// exit 1 when called.
//
// Arguments: positional ones in a fixed order; options as "--name value"
// or "--name=value", and flags ("--force"), anywhere after the command.
// An unknown option, a missing value, or the wrong number of positional
// arguments is a usage error.
#ifndef LEVELER_CLI_COMMANDS_H
#define LEVELER_CLI_COMMANDS_H

#include <map>
#include <set>
#include <string>
#include <vector>

namespace cli {

using CommandFn = int (*)(const std::string& command, const std::vector<std::string>& args);

struct Command {
  const char* name;
  const char* usage;    // arguments after the name
  const char* summary;  // one line
  CommandFn run;        // null: not available in this build
};

// The whole table, in the order the help lists it.
const std::vector<Command>& commands();

// The program: dispatches argv[1] and returns the exit code.
int runLeveler(int argc, char** argv);

// Parsed arguments of one command.
struct Arguments {
  std::vector<std::string> positional;
  std::map<std::string, std::string> options;  // "--as-of" -> value
  std::set<std::string> flags;                 // "--force"
};

// Splits `args` by the command's option names (with their dashes). False
// with `error` set on an unknown option or a missing value. "--help" is
// always a flag.
bool parseArguments(const std::vector<std::string>& args,
                    const std::set<std::string>& valueOptions,
                    const std::set<std::string>& flagOptions, Arguments& out,
                    std::string& error);

// Prints "usage: leveler <name> <usage>" and the summary to standard output.
void printUsage(const std::string& command);

// The run commands (level, calculate, copy, whatif, copy-whatif), in
// run_command.cc.
int runCommand(const std::string& command, const std::vector<std::string>& args);

// The listing, in list_command.cc.
int listCommand(const std::string& command, const std::vector<std::string>& args);

// The HTML report (report_command.cc) and the PSPLIB import
// (import_command.cc).
int reportCommand(const std::string& command, const std::vector<std::string>& args);
int importPsplibCommand(const std::string& command, const std::vector<std::string>& args);

}  // namespace cli

#endif  // LEVELER_CLI_COMMANDS_H
