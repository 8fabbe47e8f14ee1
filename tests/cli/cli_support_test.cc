// The shared pieces of the leveler's commands, called directly: the "as of"
// time stamps, the argument parser, and element lookup by identifier and
// by name on a database with the demo portfolio.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "cli_support.h"
#include "commands.h"
#include "demo_portfolio.h"

namespace {

TEST(AsOf, DaysAndTimesAreCheckedAgainstTheCalendar) {
  std::string stamp;
  ASSERT_TRUE(cli::parseAsOf("2024-02-29 23:59:59", stamp));
  EXPECT_EQ("2024-02-29 23:59:59.000000", stamp);
  ASSERT_TRUE(cli::parseAsOf("2024-01-08", stamp));
  EXPECT_EQ("2024-01-08 00:00:00.000000", stamp);
  ASSERT_TRUE(cli::parseAsOf("2024-01-08 08:30:00.25", stamp));
  EXPECT_EQ("2024-01-08 08:30:00.250000", stamp);
  ASSERT_TRUE(cli::parseAsOf("2000-02-29 00:00:00", stamp));  // divisible by 400: leap

  stamp = "unchanged";
  for (const char* bad :
       {"2023-02-29 08:00:00", "1900-02-29 08:00:00", "2024-04-31", "2024-13-01", "2024-00-10",
        "2024-01-08 24:00:00", "2024-01-08 08:60:00", "2024-01-08 08:00", "2024-01-08T08:00:00",
        "2024-1-8", "2024-01-08 08:00:00.", "2024-01-08 08:00:00.1234567", "2024-01-08 08:00:00x",
        "1899-12-31", "", "tomorrow"}) {
    EXPECT_FALSE(cli::parseAsOf(bad, stamp)) << bad;
  }
  EXPECT_EQ("unchanged", stamp);
  EXPECT_EQ(26u, cli::nowStamp().size());
}

TEST(Arguments, OptionsFlagsAndPositionalsInAnyOrder) {
  cli::Arguments a;
  std::string error;
  ASSERT_TRUE(cli::parseArguments({"--user=ann", "x.db", "--as-of", "2024-01-08", "P1",
                                   "--force"},
                                  {"--user", "--as-of"}, {"--force"}, a, error));
  EXPECT_EQ((std::vector<std::string>{"x.db", "P1"}), a.positional);
  EXPECT_EQ("ann", a.options["--user"]);
  EXPECT_EQ("2024-01-08", a.options["--as-of"]);
  EXPECT_EQ(1u, a.flags.count("--force"));

  EXPECT_FALSE(cli::parseArguments({"x.db", "--force=yes"}, {}, {"--force"}, a, error));
  EXPECT_EQ("unknown option '--force=yes'", error);
  EXPECT_FALSE(cli::parseArguments({"x.db", "--log"}, {"--log"}, {}, a, error));
  EXPECT_EQ("option --log needs a value", error);
  ASSERT_TRUE(cli::parseArguments({"-h"}, {}, {}, a, error));
  EXPECT_EQ(1u, a.flags.count("--help"));
}

TEST(ResultCodes, EveryDriverCodeHasItsOwnMeaning) {
  std::set<std::string> seen;
  for (int code : {0, 200004, 200114, 200139, 200143, 200212, 200219, 200317, 200318, 200319,
                   200320}) {
    const std::string m = cli::resultMeaning(code);
    EXPECT_NE("unknown result code", m) << code;
    EXPECT_TRUE(seen.insert(m).second) << code << " repeats " << m;
  }
  EXPECT_EQ("database failure (status -5)", cli::resultMeaning(-5));
  EXPECT_EQ("unknown result code", cli::resultMeaning(200005));
  EXPECT_EQ(0, cli::runKindOf("level"));
  EXPECT_EQ(6, cli::runKindOf("copy-whatif"));
  EXPECT_EQ(-1, cli::runKindOf("list"));
}

TEST(Elements, FoundByIdentifierOrUniqueName) {
  const char* tmp = std::getenv("TMPDIR");
  const std::string path =
      std::string(tmp != nullptr ? tmp : "/tmp") + "/cli_elements_" + std::to_string(::getpid()) +
      ".db";
  std::remove(path.c_str());
  {
    std::string error;
    std::unique_ptr<db::Store> store = cli::openDatabase(path, true, error);
    ASSERT_NE(nullptr, store) << error;
    cli::DemoSummary summary;
    ASSERT_EQ(0, cli::writeDemoPortfolio(*store, {.today = "2025-03-05"}, summary, error)) << error;
    // Wednesday 5 March 2025: the Monday of that week less three weeks.
    EXPECT_EQ("2025-02-10", summary.start);
    EXPECT_EQ(6, summary.projects);
    EXPECT_EQ(12, summary.resources);
    EXPECT_GT(summary.finishedTasks, 0);
    EXPECT_GT(summary.inProgressTasks, 0);

    cli::Element e;
    ASSERT_EQ(0, cli::resolveElement(*store, "PF_DEMO", e, error)) << error;
    EXPECT_TRUE(e.folder);
    EXPECT_EQ("Demo portfolio", e.name);
    ASSERT_EQ(0, cli::resolveElement(*store, "Mechanical works", e, error)) << error;
    EXPECT_EQ("DEMO_PLANT_MECH", e.id);
    EXPECT_FALSE(e.folder);
    // A project row linked into the folder is the project, not a folder.
    ASSERT_EQ(0, cli::resolveElement(*store, "DEMO_WEB", e, error));
    EXPECT_FALSE(e.folder);

    ASSERT_EQ(0, store->execute("UPDATE KOR_WBS SET ELEMENT_NAME = 'Web shop' "
                                "WHERE ELEMENT_ID = 'DEMO_VENDOR'"));
    EXPECT_EQ(1, cli::resolveElement(*store, "Web shop", e, error));
    EXPECT_EQ("the name 'Web shop' is ambiguous (DEMO_VENDOR, DEMO_WEB): give the identifier",
              error);
    EXPECT_EQ(1, cli::resolveElement(*store, std::string(300, 'x'), e, error));
    EXPECT_NE(std::string::npos, error.find("unknown element"));

    bool present = false;
    ASSERT_EQ(0, cli::demoPresent(*store, present));
    EXPECT_TRUE(present);
  }
  for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path + suffix).c_str());
}

}  // namespace
