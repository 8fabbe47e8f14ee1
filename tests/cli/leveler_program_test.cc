// The leveler program, run as a person runs it: each case starts the built
// program with arguments and checks its exit code, its standard output and
// its one-line errors, and looks into the database afterwards.
//
// One demo database is written once for the whole suite (the demo command
// itself); a case that runs something on it works on its own copy.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/sqlite_store.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

struct Outcome {
  int exit = -1;
  std::string out;
  std::string err;
};

std::string readAll(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

int lineCount(const std::string& text) {
  int n = 0;
  for (char c : text) n += c == '\n';
  return n;
}

class LevelerProgram : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr ? tmp : "/tmp") + "/leveler_cli_XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    ASSERT_NE(nullptr, ::mkdtemp(buf.data()));
    dir_ = buf.data();
    demo_ = dir_ + "/demo.db";
    demoRun_ = run({"demo", demo_});
  }
  static void TearDownTestSuite() {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }

  // Runs the program with `args`; standard input is empty.
  static Outcome run(const std::vector<std::string>& args) {
    static int counter = 0;
    const std::string out = dir_ + "/out" + std::to_string(++counter);
    const std::string err = out + ".err";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<std::string> all = {LEVELER_PROGRAM};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    Outcome o;
    if (posix_spawn(&pid, LEVELER_PROGRAM, &actions, nullptr, argv.data(), environ) == 0) {
      int status = 0;
      ::waitpid(pid, &status, 0);
      o.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    o.out = readAll(out);
    o.err = readAll(err);
    std::remove(out.c_str());
    std::remove(err.c_str());
    return o;
  }

  // A copy of the suite's demo database for one case.
  static std::string copyOfDemo(const std::string& name) {
    const std::string path = dir_ + "/" + name;
    fs::copy_file(demo_, path, fs::copy_options::overwrite_existing);
    return path;
  }

  // One value of a query on a read-only connection.
  static std::string text(const std::string& path, const std::string& sql) {
    host::SqliteOptions o;
    o.createSchema = false;
    o.writeLockAtBegin = false;
    auto store = host::SqliteStore::open(path, o);
    if (store == nullptr) return "<cannot open>";
    db::NameText value;
    int16_t ind = 0;
    const int32_t rc = store->selectInto(sql, {}, {db::HostVar(value, &ind)});
    if (rc != 0) return "<" + std::to_string(rc) + ">";
    return ind < 0 ? "<null>" : std::string(value.view());
  }

  static std::string dir_;
  static std::string demo_;
  static Outcome demoRun_;
};

std::string LevelerProgram::dir_;
std::string LevelerProgram::demo_;
Outcome LevelerProgram::demoRun_;

TEST_F(LevelerProgram, HelpListsEveryCommandAndUsageErrorsExitWithTwo) {
  const Outcome help = run({"--help"});
  EXPECT_EQ(0, help.exit);
  for (const char* c : {"init", "demo", "level", "calculate", "copy", "whatif", "copy-whatif",
                        "list", "report", "import-psplib"}) {
    EXPECT_NE(std::string::npos, help.out.find("  " + std::string(c) + " ")) << c;
  }
  EXPECT_EQ(2, run({}).exit);

  const Outcome unknown = run({"frobnicate"});
  EXPECT_EQ(2, unknown.exit);
  EXPECT_EQ("leveler: unknown command 'frobnicate' (see leveler --help)\n", unknown.err);

  const Outcome levelHelp = run({"level", "--help"});
  EXPECT_EQ(0, levelHelp.exit);
  EXPECT_EQ(0u, levelHelp.out.find("usage: leveler level DB ELEMENT [--as-of \"YYYY-MM-DD "
                                   "HH:MM:SS\"] [--user NAME] [--log FILE]\n"));
  EXPECT_NE(std::string::npos, run({"copy-whatif", "--help"}).out.find("[--scenario N]"));
  EXPECT_EQ(std::string::npos, run({"copy", "--help"}).out.find("--scenario"));

  // Wrong arguments: one line naming the command, before any database.
  const Outcome missing = run({"level", demo_});
  EXPECT_EQ(2, missing.exit);
  EXPECT_EQ(0u, missing.err.find("leveler level: expected a database and an element"));
  EXPECT_EQ(1, lineCount(missing.err));
  const Outcome option = run({"calculate", demo_, "PF_DEMO", "--bogus"});
  EXPECT_EQ(2, option.exit);
  EXPECT_EQ("leveler calculate: unknown option '--bogus'\n", option.err);
  EXPECT_EQ("leveler level: option --as-of needs a value\n",
            run({"level", demo_, "PF_DEMO", "--as-of"}).err);
  EXPECT_EQ(2, run({"copy", demo_, "PF_DEMO", "--scenario", "1"}).exit);  // what-if only
  EXPECT_EQ(2, run({"init"}).exit);
  EXPECT_EQ(2, run({"list", demo_, "extra"}).exit);

  // The report: usage errors, an unknown element, then a page written.
  EXPECT_EQ(0, run({"report", "--help"}).exit);
  EXPECT_EQ(2, run({"report", demo_, "PF_DEMO"}).exit);  // no -o
  const Outcome noElement = run({"report", demo_, "NO_SUCH", "-o", dir_ + "/r.html"});
  EXPECT_EQ(1, noElement.exit);
  EXPECT_EQ(1, lineCount(noElement.err));
  const Outcome report = run({"report", demo_, "Demo portfolio", "-o", dir_ + "/r.html"});
  EXPECT_EQ(0, report.exit) << report.err;
  EXPECT_NE(std::string::npos, report.out.find("PF_DEMO"));
  std::ifstream page(dir_ + "/r.html");
  const std::string html((std::istreambuf_iterator<char>(page)), std::istreambuf_iterator<char>());
  EXPECT_NE(std::string::npos, html.find("<svg"));
}

TEST_F(LevelerProgram, MissingOrForeignDatabasesAreRefusedClearly) {
  const std::string missing = dir_ + "/nowhere.db";
  const Outcome level = run({"level", missing, "PF_DEMO"});
  EXPECT_EQ(1, level.exit);
  EXPECT_EQ("leveler level: no database file '" + missing + "'\n", level.err);
  EXPECT_FALSE(fs::exists(missing));  // not created by the attempt
  EXPECT_EQ(1, run({"list", missing}).exit);

  const std::string textFile = dir_ + "/notes.txt";
  std::ofstream(textFile) << "shopping list: milk, eggs, a new office\n";
  const Outcome text = run({"list", textFile});
  EXPECT_EQ(1, text.exit);
  EXPECT_EQ("leveler list: '" + textFile + "' is not a SQLite database\n", text.err);

  const std::string empty = dir_ + "/empty.db";
  std::ofstream(empty).close();
  const Outcome emptyList = run({"calculate", empty, "P1"});
  EXPECT_EQ(1, emptyList.exit);
  EXPECT_NE(std::string::npos, emptyList.err.find("is empty, not a leveler database"));

  // A SQLite database of some other application.
  const std::string other = dir_ + "/other.db";
  {
    host::SqliteOptions o;
    o.createSchema = false;
    auto store = host::SqliteStore::open(other, o);
    ASSERT_NE(nullptr, store);
    ASSERT_EQ(0, store->execute("CREATE TABLE INVOICES (ID INTEGER)"));
    ASSERT_EQ(0, store->commitAndBegin());
  }
  const Outcome foreign = run({"list", other});
  EXPECT_EQ(1, foreign.exit);
  EXPECT_EQ(0u, foreign.err.find("leveler list: '" + other + "' is not a leveler database"));
  EXPECT_EQ(1, lineCount(foreign.err));
  // Nor does the demo move into it.
  EXPECT_EQ(1, run({"demo", other}).exit);
  EXPECT_EQ("<-1>", LevelerProgram::text(other, "SELECT COUNT(*) FROM KOR_WBS"));  // no table

  // A server that is not there (port 1): one line saying it cannot be opened.
  const Outcome pg = run({"list", "postgresql://localhost:1/leveler"});
  EXPECT_EQ(1, pg.exit);
  EXPECT_EQ(0u, pg.err.find("leveler list: cannot open 'postgresql://localhost:1/leveler': "));
  EXPECT_EQ(1, lineCount(pg.err));
}

TEST_F(LevelerProgram, InitCreatesTheSchemaAndRefusesANonEmptyFileUnlessForced) {
  const std::string path = dir_ + "/fresh.db";
  const Outcome init = run({"init", path});
  ASSERT_EQ(0, init.exit) << init.err;
  EXPECT_EQ("0", text(path, "SELECT COUNT(*) FROM KOR_WBS"));
  // Runs can notify: the notification cycle is there.
  EXPECT_EQ("1", text(path, "SELECT COUNT(*) FROM KOR_WORKFLOW_CYCLES "
                            "WHERE PARENT_ID = 'NOTIFICATION'"));
  const Outcome list = run({"list", path});
  EXPECT_EQ(0, list.exit);
  EXPECT_NE(std::string::npos, list.out.find("Projects:"));

  const Outcome again = run({"init", path});
  EXPECT_EQ(1, again.exit);
  EXPECT_EQ("leveler init: '" + path + "' exists and is not empty; use --force to replace it\n",
            again.err);

  const std::string notes = dir_ + "/keep.txt";
  std::ofstream(notes) << "precious\n";
  EXPECT_EQ(1, run({"init", notes}).exit);
  EXPECT_EQ("precious\n", readAll(notes));

  // Forced: the old content goes, an empty schema stands.
  const std::string demoCopy = copyOfDemo("forced.db");
  ASSERT_EQ(0, run({"init", demoCopy, "--force"}).exit);
  EXPECT_EQ("0", text(demoCopy, "SELECT COUNT(*) FROM KOR_WBS"));
}

TEST_F(LevelerProgram, DemoLevelsCopiesAndIsListed) {
  ASSERT_EQ(0, demoRun_.exit) << demoRun_.err;
  EXPECT_NE(std::string::npos, demoRun_.out.find("level it with: leveler level " + demo_ +
                                                 " PF_DEMO"));
  // The demo as promised: twelve resources, a team of three and a half-time
  // engineer, every dependency kind, leads, and reported work.
  EXPECT_EQ("12", text(demo_, "SELECT COUNT(*) FROM RESOURCES"));
  EXPECT_EQ("R_CREW", text(demo_, "SELECT RESOURCE_ID FROM RESOURCES WHERE MAX_UNITS = 30000"));
  EXPECT_EQ("R_JONAS", text(demo_, "SELECT RESOURCE_ID FROM RESOURCES WHERE MAX_UNITS = 5000"));
  EXPECT_EQ("4", text(demo_, "SELECT COUNT(DISTINCT DEP_TYPE) FROM DEPENDENCIES"));
  EXPECT_EQ("2", text(demo_, "SELECT COUNT(*) FROM DEPENDENCIES WHERE LEAD_OR_LAG_TYPE = 1"));
  EXPECT_EQ("1", text(demo_, "SELECT COUNT(*) FROM DEPENDENCIES WHERE PRED_PROJECT_ID = "
                             "'DEMO_VENDOR' AND SUCC_PROJECT_ID <> 'DEMO_VENDOR'"));
  EXPECT_NE("0", text(demo_, "SELECT COUNT(*) FROM TASK_DAY_OF_YEAR WHERE ACTUAL_FLAG = 1"));
  EXPECT_EQ("5", text(demo_, "SELECT MAX(LEVEL_ID) FROM KOR_WBS WHERE TYPE_ID = 3"));

  const std::string db = copyOfDemo("level.db");
  const std::string log = dir_ + "/level.log";
  const Outcome level = run({"level", db, "PF_DEMO", "--user", "tester", "--log", log});
  ASSERT_EQ(0, level.exit) << level.out << level.err << readAll(log);
  EXPECT_EQ("", level.err);  // no progress when standard error is not a terminal
  EXPECT_NE(std::string::npos, level.out.find("result: 0 (success)"));
  EXPECT_NE(std::string::npos,
            level.out.find("notification: [Finished] Leveling Portfolio 'Demo portfolio'"));
  EXPECT_NE(std::string::npos, level.out.find("Completed, 100% done."));
  EXPECT_NE(std::string::npos, readAll(log).find("S t a r t       L e v e l i n g"));
  // The five projects of the portfolio were levelled and released; the
  // vendor's project outside it was not run.
  EXPECT_EQ("5", text(db, "SELECT COUNT(*) FROM PROJECT_DETAILS WHERE LEVEL_LAST_CALL_OPTION = 1 "
                          "AND LEVEL_LOCK = 0 AND SCENARIO_USER_ID = 'tester'"));
  EXPECT_EQ("0", text(db, "SELECT LEVEL_LAST_CALL_OPTION FROM PROJECT_DETAILS "
                          "WHERE PROJECT_ID = 'DEMO_VENDOR'"));
  EXPECT_EQ("0", text(db, "SELECT COUNT(*) FROM KOR_WBS W, PROJECT_DETAILS D WHERE "
                          "W.PROJECT_ID = D.PROJECT_ID AND W.TYPE_ID = 3 AND D.PROJECT_ID <> "
                          "'DEMO_VENDOR' AND W.LEVEL_FINISH IS NULL"));

  EXPECT_EQ("0", text(db, "SELECT COUNT(*) FROM TASK_ASSIGNMENTS WHERE PLANNED_START IS NOT NULL"));
  const Outcome copy = run({"copy", db, "PF_DEMO", "--user", "tester", "--log", log});
  EXPECT_EQ(0, copy.exit) << copy.out << copy.err;
  // The levelled dates are now the plan's.
  EXPECT_NE("0", text(db, "SELECT COUNT(*) FROM TASK_ASSIGNMENTS WHERE PLANNED_START IS NOT NULL"));
  EXPECT_EQ("5", text(db, "SELECT COUNT(*) FROM PROJECT_DETAILS WHERE LEVEL_LAST_CALL_OPTION = 2"));

  const Outcome list = run({"list", db});
  ASSERT_EQ(0, list.exit) << list.err;
  for (const char* name : {"PF_DEMO", "Demo portfolio", "DEMO_OFFICE", "Office move", "DEMO_WEB",
                           "DEMO_PLANT_MECH", "DEMO_VENDOR", "R_CREW", "Installation crew",
                           "R_KARL", "CAL_4DAY", "tester", " copy "}) {
    EXPECT_NE(std::string::npos, list.out.find(name)) << name << "\n" << list.out;
  }
  EXPECT_NE(std::string::npos, list.out.find("3.00"));  // the team's capacity in persons
  EXPECT_NE(std::string::npos, list.out.find("0.50"));

  const Outcome twice = run({"demo", db});
  EXPECT_EQ(1, twice.exit);
  EXPECT_EQ("leveler demo: '" + db + "' already holds the demo portfolio PF_DEMO\n", twice.err);
}

TEST_F(LevelerProgram, CalculateByNameAndTheWhatIfScenario) {
  const std::string db = copyOfDemo("whatif.db");
  const std::string log = dir_ + "/whatif.log";
  const Outcome calc = run({"calculate", db, "Office move", "--log", log, "--as-of",
                            text(db, "SELECT SUBSTR(SYSTIMESTAMP(), 1, 19)")});
  EXPECT_EQ(0, calc.exit) << calc.out << calc.err;
  EXPECT_NE(std::string::npos, calc.out.find("calculate project 'DEMO_OFFICE' (Office move)"));
  EXPECT_EQ("3", text(db, "SELECT LEVEL_LAST_CALL_OPTION FROM PROJECT_DETAILS "
                          "WHERE PROJECT_ID = 'DEMO_OFFICE'"));

  const Outcome whatif = run({"whatif", db, "PF_DEMO", "--scenario", "0", "--log", log});
  ASSERT_EQ(0, whatif.exit) << whatif.out << whatif.err << readAll(log);
  // The scenario's projects are reserved for it and carry its dates.
  EXPECT_EQ("5", text(db, "SELECT COUNT(*) FROM PROJECT_DETAILS WHERE LEVEL_LOCK = 10"));
  EXPECT_EQ("0", text(db, "SELECT COUNT(*) FROM NAV_SCENARIOS WHERE LEVEL_FINISH IS NULL"));

  // Reserved projects cannot be levelled meanwhile: a failure, exit 1.
  const Outcome blocked = run({"level", db, "PF_DEMO", "--log", log});
  EXPECT_EQ(1, blocked.exit);
  EXPECT_NE(std::string::npos, blocked.out.find("result: 200114"));
  EXPECT_EQ("leveler level: the run ended with 200114 (a selected project is locked for "
            "levelling)\n",
            blocked.err);

  const Outcome copy = run({"copy-whatif", db, "PF_DEMO", "--log", log});
  EXPECT_EQ(0, copy.exit) << copy.out << copy.err;
  EXPECT_NE(std::string::npos, copy.out.find("result: 0 (success)"));
}

TEST_F(LevelerProgram, UnknownElementsAndMalformedValuesStopBeforeAnyRun) {
  const std::string db = copyOfDemo("errors.db");
  const Outcome unknown = run({"level", db, "NO_SUCH_PROJECT"});
  EXPECT_EQ(1, unknown.exit);
  EXPECT_EQ("leveler level: unknown element 'NO_SUCH_PROJECT': no project or portfolio folder "
            "has this identifier or name\n",
            unknown.err);
  EXPECT_EQ("", unknown.out);
  const Outcome task = run({"calculate", db, "OFF_PACK"});
  EXPECT_EQ(1, task.exit);
  EXPECT_NE(std::string::npos, task.err.find("is a task or container"));

  for (const char* stamp : {"2025-02-30 08:00:00", "2025-01-06T08:00:00", "06/01/2025",
                            "2025-01-06 25:00:00", "2025-01-06 08:00"}) {
    const Outcome bad = run({"level", db, "PF_DEMO", "--as-of", stamp});
    EXPECT_EQ(2, bad.exit) << stamp;
    EXPECT_EQ("leveler level: malformed --as-of time stamp '" + std::string(stamp) +
                  "' (expected \"YYYY-MM-DD HH:MM:SS\")\n",
              bad.err);
  }
  EXPECT_EQ(2, run({"level", db, "PF_DEMO", "--user", std::string(33, 'u')}).exit);
  EXPECT_EQ(2, run({"whatif", db, "PF_DEMO", "--scenario", "-3"}).exit);
  EXPECT_EQ(2, run({"demo", dir_ + "/x.db", "--today", "2025-13-01"}).exit);

  // None of this reached the engine: no notification, no run recorded.
  EXPECT_EQ("0", text(db, "SELECT COUNT(*) FROM KOR_WORKFLOWS"));
  EXPECT_EQ("0", text(db, "SELECT COUNT(*) FROM PROJECT_DETAILS "
                          "WHERE LEVEL_LAST_CALL_OPTION <> 0"));
}

}  // namespace

TEST_F(LevelerProgram, PsplibInstancesAreImportedAndLevelledOrRefusedWithTheirLine) {
  const std::string db = dir_ + "/psplib.db";
  const std::string instance = std::string(LEVELER_SOURCE_DIR) + "/tests/data/psplib/j3010_1.sm";
  const Outcome imported = run({"import-psplib", instance, db, "--start", "2030-01-07"});
  ASSERT_EQ(0, imported.exit) << imported.err;
  // The project's identifier is the last line: a script levels it next.
  std::string last = imported.out.substr(0, imported.out.size() - 1);
  last = last.substr(last.rfind('\n') + 1);
  EXPECT_EQ("J3010_1", last);
  const Outcome levelled = run({"level", db, last, "--as-of", "2030-01-07"});
  EXPECT_EQ(0, levelled.exit) << levelled.err;

  // A file cut short after its precedence section: one line naming where.
  std::ifstream in(instance);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::string broken = dir_ + "/broken.sm";
  std::ofstream(broken) << text.substr(0, text.find("REQUESTS/DURATIONS"));
  const Outcome refused = run({"import-psplib", broken, db});
  EXPECT_EQ(1, refused.exit);
  EXPECT_EQ(1, lineCount(refused.err));
  EXPECT_EQ("leveler import-psplib: broken.sm:51: missing 'REQUESTS/DURATIONS:'\n", refused.err);
  EXPECT_EQ(2, run({"import-psplib", instance, db, "--start", "next monday"}).exit);
  EXPECT_EQ(1, run({"import-psplib", dir_ + "/nothing.sm", db}).exit);
}
