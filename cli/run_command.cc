// The run commands: level (kind 0), copy (2), calculate (3), whatif (4) and
// copy-whatif (6), each one call of lev_levelResourcesForProject on the
// database named on the command line.
//
// Order of the checks: arguments first (usage errors, exit 2, before the
// database is touched), then the database and the element (exit 1 before
// any run, so an unknown element leaves no trace in the database), then
// the run.
//
// Output: the result code with its meaning, then the notification the run
// sent to the requesting user (subject and text), read back from
// KOR_WORKFLOWS: the item of this user that did not exist before the run.
// The run's trace goes to the log file (--log, default /tmp/Leveling.log);
// the entry point gives the terminal's standard output back after the run.
//
// Progress: when standard error is a terminal, one line rewritten in place
// ("\r" and erase-to-end-of-line): the phase, items done of total, and the
// elapsed wall-clock seconds; at most ten updates a second within a phase.
// Nothing is written when standard error is not a terminal.
//
// The "--scenario N" value is the run's reserved option (optionFlagReserved)
// for the what-if kinds: a non-negative integer, 0 by default.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "cli_support.h"
#include "commands.h"
#include "run/entry_points.h"
#include "run/run_state.h"

namespace cli {

namespace {

constexpr const char* kSelectUserWorkflows =
    "SELECT ELEMENT_ID FROM KOR_WORKFLOWS WHERE REQUESTER_ID = ?";
constexpr const char* kSelectUserNotifications =
    "SELECT ELEMENT_ID, SUBJECT, DESCRIPTION FROM KOR_WORKFLOWS WHERE REQUESTER_ID = ? "
    "ORDER BY REC_DATETIME DESC";

struct Progress {
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point lastShown{};
  std::string phase;
  bool shown = false;
};

void showProgress(void* user, const char* phase, int64_t done, int64_t total) {
  auto* p = static_cast<Progress*>(user);
  const auto now = std::chrono::steady_clock::now();
  const bool newPhase = p->phase != phase;
  if (!newPhase && now - p->lastShown < std::chrono::milliseconds(100)) return;
  p->phase = phase;
  p->lastShown = now;
  p->shown = true;
  const double seconds = std::chrono::duration<double>(now - p->start).count();
  if (total > 0) {
    std::fprintf(stderr, "\r%s: %lld of %lld, %.1f s\033[K", phase, static_cast<long long>(done),
                 static_cast<long long>(total), seconds);
  } else if (done > 0) {
    std::fprintf(stderr, "\r%s: %lld, %.1f s\033[K", phase, static_cast<long long>(done),
                 seconds);
  } else {
    std::fprintf(stderr, "\r%s, %.1f s\033[K", phase, seconds);
  }
  std::fflush(stderr);
}

int32_t workflowIds(db::Store& store, const std::string& user, std::set<std::string>& ids) {
  db::Cursor cursor(store);
  int32_t rc = cursor.open(kSelectUserWorkflows, {user});
  if (rc < 0) return rc;
  db::IdText id;
  int16_t ind = 0;
  while ((rc = cursor.fetch({db::HostVar(id, &ind)})) == 0) ids.insert(std::string(id.view()));
  return rc < 0 ? rc : 0;
}

// Prints the newest notification of `user` that is not in `before`.
void printNotification(db::Store& store, const std::string& user,
                       const std::set<std::string>& before) {
  db::Cursor cursor(store);
  if (cursor.open(kSelectUserNotifications, {user}) < 0) {
    std::printf("notification: (could not be read: %s)\n", store.status().message);
    return;
  }
  db::IdText id;
  auto subject = std::make_unique<db::SubjectText>();
  auto text = std::make_unique<db::MessageText>();
  int16_t idInd = 0, subjectInd = 0, textInd = 0;
  while (cursor.fetch({db::HostVar(id, &idInd), db::HostVar(*subject, &subjectInd),
                       db::HostVar(*text, &textInd)}) == 0) {
    if (before.count(std::string(id.view()))) continue;
    std::printf("notification: %s\n", subject->c_str());
    std::string body(text->view());
    while (!body.empty() && (body.back() == '\n' || body.back() == ' ')) body.pop_back();
    size_t from = 0;
    while (!body.empty() && from <= body.size()) {
      size_t to = body.find('\n', from);
      if (to == std::string::npos) to = body.size();
      std::printf("  %s\n", body.substr(from, to - from).c_str());
      from = to + 1;
    }
    return;
  }
  std::printf("notification: (none sent)\n");
}

}  // namespace

int runCommand(const std::string& command, const std::vector<std::string>& args) {
  const int kind = runKindOf(command);
  const bool scenario = kind == 4 || kind == 6;
  std::set<std::string> valueOptions = {"--as-of", "--user", "--log"};
  if (scenario) valueOptions.insert("--scenario");
  Arguments a;
  std::string error;
  if (kind < 0 || !parseArguments(args, valueOptions, {}, a, error)) {
    printError(command, kind < 0 ? "not a run command" : error);
    return kExitUsage;
  }
  if (a.flags.count("--help")) {
    printUsage(command);
    return kExitOk;
  }
  if (a.positional.size() != 2) {
    printError(command, "expected a database and an element (usage: leveler " + command +
                            " DB ELEMENT [options]; see --help)");
    return kExitUsage;
  }
  std::string asOf = nowStamp();
  if (a.options.count("--as-of") && !parseAsOf(a.options["--as-of"], asOf)) {
    printError(command, "malformed --as-of time stamp '" + a.options["--as-of"] +
                            "' (expected \"YYYY-MM-DD HH:MM:SS\")");
    return kExitUsage;
  }
  const std::string user = a.options.count("--user") ? a.options["--user"] : loginName();
  if (user.empty() || user.size() >= static_cast<size_t>(run::kIdSize)) {
    printError(command, "the user name must have 1 to 32 characters");
    return kExitUsage;
  }
  int reserved = 0;
  if (a.options.count("--scenario")) {
    const std::string& v = a.options["--scenario"];
    char* end = nullptr;
    const long n = std::strtol(v.c_str(), &end, 10);
    if (v.empty() || *end != '\0' || n < 0 || n > 0x3fffffff) {
      printError(command, "--scenario needs a non-negative integer, not '" + v + "'");
      return kExitUsage;
    }
    reserved = static_cast<int>(n);
  }
  const std::string logPath = a.options.count("--log") ? a.options["--log"] : "";

  std::unique_ptr<db::Store> store = openDatabase(a.positional[0], false, error);
  if (store == nullptr) {
    printError(command, error);
    return kExitFailure;
  }
  Element element;
  if (resolveElement(*store, a.positional[1], element, error) != 0) {
    printError(command, error);
    return kExitFailure;
  }
  std::set<std::string> before;
  if (workflowIds(*store, user, before) < 0) {
    printError(command, std::string("cannot read the notifications: ") + store->status().message);
    return kExitFailure;
  }

  Progress progress;
  LevCallContext ctx;
  ctx.store = store.get();
  ctx.logPath = logPath.empty() ? nullptr : logPath.c_str();
  if (::isatty(STDERR_FILENO)) {
    ctx.progress = showProgress;
    ctx.progressUser = &progress;
  }
  const int32_t result = lev_levelResourcesForProject(
      &ctx, element.id.c_str(), 0, element.name.c_str(), 0, kind, 0, reserved, 0, asOf.c_str(), 0,
      user.c_str(), 0, /*PRINT_OPTION*/ 0, 0, /*PRINT_OPTION_BASIC*/ 1, 0, 0, 0, 0, 0, 0, 0);
  if (progress.shown) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }

  std::printf("%s %s '%s' (%s) as of %s by %s\n", command.c_str(),
              element.folder ? "portfolio" : "project", element.id.c_str(), element.name.c_str(),
              asOf.substr(0, 19).c_str(), user.c_str());
  std::printf("result: %d (%s)\n", result, resultMeaning(result).c_str());
  printNotification(*store, user, before);
  std::printf("log: %s\n", logPath.empty() ? "/tmp/Leveling.log" : logPath.c_str());
  std::fflush(stdout);
  if (result != 0) {
    printError(command, "the run ended with " + std::to_string(result) + " (" +
                            resultMeaning(result) + ")");
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace cli
