// Whole levelling runs on both backends: the demo portfolio and a generated
// portfolio of 1,000 tasks, each written into a SQLite file and into a
// PostgreSQL database and levelled there through the entry point; what the
// two runs write is compared row by row.
#include <gtest/gtest.h>

#include <string>

#include "demo_portfolio.h"
#include "host/postgres_store.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"
#include "pg_cluster.h"
#include "run_compare.h"
#include "scope_generator.h"

namespace {

// Rows of the reading that carry a value in column `column` (0-based) of
// '|'-joined texts.
int withValue(const std::vector<std::string>& rows, int column) {
  int n = 0;
  for (const std::string& row : rows) {
    std::size_t from = 0;
    for (int c = 0; c < column && from != std::string::npos; ++c) {
      from = row.find('|', from);
      if (from != std::string::npos) ++from;
    }
    if (from != std::string::npos && row.compare(from, 2, "~|") != 0 &&
        row.compare(from, std::string::npos, "~") != 0) {
      ++n;
    }
  }
  return n;
}

TEST(WholeRunOnBothBackends, DemoPortfolioLevelsAlike) {
  PG_CLUSTER_OR_SKIP(cluster);
  const std::string conninfo = cluster->createDatabase();
  ASSERT_FALSE(conninfo.empty());
  auto pg = pgtest::openStore(conninfo);
  ASSERT_NE(pg, nullptr);
  scratch::ScratchDb file;
  auto lite = file.open();
  ASSERT_NE(lite, nullptr);
  const std::string log = pgtest::tempPath("demo_run", ".log");

  // A Wednesday: the portfolio starts on the Monday three weeks before, so
  // some tasks are finished, some under way, most ahead.
  cli::DemoOptions options;
  options.today = "2025-03-12";
  cli::DemoSummary summary[2];
  db::Store* stores[2] = {lite.get(), pg.get()};
  for (int k = 0; k < 2; ++k) {
    std::string error;
    ASSERT_EQ(0, cli::writeDemoPortfolio(*stores[k], options, summary[k], error)) << error;
    EXPECT_EQ(0, pgtest::levelElement(*stores[k], cli::kDemoFolderId, "2025-03-12 00:00:00.000000",
                                      log));
  }
  std::remove(log.c_str());
  EXPECT_EQ(summary[0].tasks, summary[1].tasks);
  EXPECT_EQ(summary[0].assignments, summary[1].assignments);

  const pgtest::Reading a = pgtest::readResults(*lite);
  const pgtest::Reading b = pgtest::readResults(*pg);
  pgtest::expectSameResults(a, b, "sqlite", "postgres");

  // The run did level: every task of the portfolio has level dates, the
  // assignments of the unfinished tasks (most) level starts, there are day
  // rows, and the run freed its locks.
  EXPECT_GE(withValue(a.at("level columns"), 2), summary[0].tasks);
  EXPECT_GT(withValue(a.at("assignment levels"), 1), summary[0].assignments / 2);
  EXPECT_GE(a.at("day rows").size(), static_cast<std::size_t>(summary[0].assignments));
  for (const std::string& row : a.at("locks")) EXPECT_EQ('0', row.back()) << row;
}

TEST(WholeRunOnBothBackends, ThousandTaskPortfolioLevelsAlike) {
  PG_CLUSTER_OR_SKIP(cluster);
  const std::string conninfo = cluster->createDatabase();
  ASSERT_FALSE(conninfo.empty());
  auto pg = pgtest::openStore(conninfo);
  ASSERT_NE(pg, nullptr);
  scratch::ScratchDb file;
  auto lite = file.open();
  ASSERT_NE(lite, nullptr);
  const std::string log = pgtest::tempPath("thousand_run", ".log");

  scopegen::Shape shape;  // the default shape: ten roots with two sub-projects each
  shape.tasks = 1000;
  scopegen::Description scope[2];
  db::Store* stores[2] = {lite.get(), pg.get()};
  for (int k = 0; k < 2; ++k) {
    ASSERT_EQ(0, scopegen::generateScope(*stores[k], shape, &scope[k]))
        << stores[k]->status().message;
    EXPECT_EQ(0, pgtest::levelElement(*stores[k], scope[k].portfolio, scope[k].asOf, log));
  }
  std::remove(log.c_str());
  ASSERT_EQ(scope[0].assignments, scope[1].assignments);
  ASSERT_EQ(scope[0].tasks, scope[1].tasks);

  const pgtest::Reading a = pgtest::readResults(*lite);
  const pgtest::Reading b = pgtest::readResults(*pg);
  pgtest::expectSameResults(a, b, "sqlite", "postgres");

  EXPECT_GE(withValue(a.at("level columns"), 2), scope[0].tasks);
  EXPECT_GT(withValue(a.at("assignment levels"), 1), scope[0].assignments / 2);
  EXPECT_GE(a.at("day rows").size(), static_cast<std::size_t>(scope[0].assignments));
}

}  // namespace
