// `leveler report DB ELEMENT -o FILE.html`: the HTML report of a project or
// portfolio folder (report/html_report.h writes it). The element is found as
// the run commands find it, by identifier or by unique name; the report
// only reads.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli_support.h"
#include "commands.h"
#include "report/html_report.h"

namespace cli {

int reportCommand(const std::string& command, const std::vector<std::string>& args) {
  Arguments a;
  std::string error;
  if (!parseArguments(args, {"-o", "--output", "--collapse-depth"}, {}, a, error)) {
    printError(command, error);
    return kExitUsage;
  }
  if (a.flags.count("--help")) {
    printUsage(command);
    return kExitOk;
  }
  std::string out = a.options.count("-o") ? a.options["-o"] : a.options["--output"];
  if (a.positional.size() != 2 || out.empty()) {
    printError(command, "expected a database, an element and -o FILE.html");
    return kExitUsage;
  }
  report::ReportOptions options;
  if (a.options.count("--collapse-depth")) {
    try {
      options.collapseDepth = std::stoi(a.options["--collapse-depth"]);
    } catch (...) {
      printError(command, "--collapse-depth takes a whole number");
      return kExitUsage;
    }
  }
  std::unique_ptr<db::Store> store = openDatabase(a.positional[0], false, error);
  if (!store) {
    printError(command, error);
    return kExitFailure;
  }
  Element element;
  int32_t rc = resolveElement(*store, a.positional[1], element, error);
  if (rc != 0) {
    printError(command, error);
    return kExitFailure;
  }
  if (report::writeHtmlReport(*store, element.id, out, options, error) != 0) {
    printError(command, error);
    return kExitFailure;
  }
  std::printf("report of '%s' (%s) written to %s\n", element.id.c_str(), element.name.c_str(),
              out.c_str());
  return kExitOk;
}

}  // namespace cli
