// The PostgreSQL backend against the SQLite backend: the same statements on
// both, the same answers. Each test gets a database of its own on the
// program's private cluster (pg_cluster.h) and a scratch SQLite file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "host/postgres_store.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"
#include "pg_cluster.h"

namespace {

int32_t levelCommit(db::Store& store) {
  int32_t result = 0;
  db::HostVar out(result);
  return store.call("call LEVEL_COMMIT() into ?", {}, &out);
}

// A text answer of a one-row select, "null" for null, "rc=N" on a failure.
std::string textOf(db::Store& store, const std::string& sql, db::Binds in = {}) {
  db::VarChar<256> value;
  int16_t ind = 0;
  const int32_t rc = store.selectInto(sql, in, {db::HostVar(value, &ind)});
  if (rc != 0) return "rc=" + std::to_string(rc);
  return ind < 0 ? "null" : std::string(value.view());
}

int64_t numberOf(db::Store& store, const std::string& sql, db::Binds in = {}) {
  int64_t value = -999;
  int16_t ind = 0;
  const int32_t rc = store.selectInto(sql, in, {db::HostVar(value, &ind)});
  return rc != 0 ? -1000000 - rc : value;
}

class BothBackends : public testing::Test {
 protected:
  void SetUp() override {
    cluster_ = pgtest::Cluster::get();
    if (cluster_ == nullptr) GTEST_SKIP() << pgtest::Cluster::reason();
    conninfo_ = cluster_->createDatabase();
    ASSERT_FALSE(conninfo_.empty());
    pg_ = pgtest::openStore(conninfo_);
    lite_ = file_.open();
    ASSERT_NE(pg_, nullptr);
    ASSERT_NE(lite_, nullptr);
  }

  std::vector<db::Store*> stores() { return {lite_.get(), pg_.get()}; }

  pgtest::Cluster* cluster_ = nullptr;
  std::string conninfo_;
  scratch::ScratchDb file_;
  std::unique_ptr<host::PostgresStore> pg_;
  std::unique_ptr<host::SqliteStore> lite_;
};

// The helper functions: hand-checked values, the same on both backends.
TEST_F(BothBackends, HelperFunctionsGiveTheSameResults) {
  struct Case {
    const char* sql;
    const char* expected;
  };
  const Case cases[] = {
      {"select NAV_ORASTD_DB2TIMESTAMP('2004-01-01-08.00.00.000000')",
       "2004-01-01 08:00:00.000000"},
      {"select NAV_ORASTD_DB2TIMESTAMP('2024-02-29')", "2024-02-29 00:00:00.000000"},
      {"select NAV_ORASTD_DB2TIMESTAMP(' 2024-01-01T08:05:09.1234567 ')",
       "2024-01-01 08:05:09.123456"},
      {"select NAV_ORASTD_DB2TIMESTAMP('2024-01-01 08:05')", "2024-01-01 08:05:00.000000"},
      {"select NAV_ORASTD_DB2TIMESTAMP('2024-02-29 17:00:00.000000', '13.30.15')",
       "2024-02-29 13:30:15.000000"},
      {"select NAV_ORASTD_DB2TIMESTAMP(NULL)", "null"},
      // Leap day in between: 2 days = 2880 minutes, the 30 seconds cut.
      {"select NAV_ORASTD_DB2TIMESTAMPDIFF(4, '2024-03-01 10:00:00', '2024-02-28 09:59:30')",
       "2880"},
      // Truncation toward zero: -1.5 seconds is -1.
      {"select NAV_ORASTD_DB2TIMESTAMPDIFF(2, '2024-01-01 00:00:00', '2024-01-01 00:00:01.5')",
       "-1"},
      {"select NAV_ORASTD_DB2TIMESTAMPDIFF(32, '2024-01-15', '2024-01-01')", "2"},
      {"select NAV_ORASTD_JULIAN_DAY('2000-01-01 12:00:00.000000')", "2451545"},
      {"select NAV_ORASTD_JULIAN_DAY('2024-03-01') - NAV_ORASTD_JULIAN_DAY('2023-03-01')",
       "366"},
      {"select NAV_STPU_BIT_OR(NULL, 5)", "5"},
      {"select NAV_STPU_BIT_OR(4611686018427387904, 1)", "4611686018427387905"},
      {"select BITAND(12, 10)", "8"},
      {"select BITAND(NULL, 10)", "null"},
      {"select length(SYSTIMESTAMP())", "26"},
  };
  for (db::Store* store : stores()) {
    for (const Case& c : cases) EXPECT_EQ(c.expected, textOf(*store, c.sql)) << c.sql;
    // Not time stamps, or an unknown interval: the statement fails, the
    // transaction goes on.
    EXPECT_EQ("rc=-1", textOf(*store, "select NAV_ORASTD_DB2TIMESTAMP('2024-13-01')"));
    EXPECT_EQ("rc=-1", textOf(*store, "select NAV_ORASTD_JULIAN_DAY('01/02/2024')"));
    EXPECT_EQ("rc=-1", textOf(*store, "select NAV_ORASTD_DB2TIMESTAMP('2024-01-01', '25:00')"));
    EXPECT_EQ("rc=-1", textOf(*store, "select NAV_ORASTD_DB2TIMESTAMPDIFF(3, '2024-01-01', "
                                      "'2024-01-01')"));
    EXPECT_EQ("2024-01-01 00:00:00.000000",
              textOf(*store, "select NAV_ORASTD_DB2TIMESTAMP('2024-01-01')"));
  }
}


// A failed statement loses only itself: what came before and after it is
// committed by LEVEL_COMMIT and seen by another connection.
TEST_F(BothBackends, FailedStatementKeepsTheWorkAroundIt) {
  for (db::Store* store : stores()) {
    const char* insert = "insert into RESOURCES (RESOURCE_ID, MAX_UNITS) values (?, ?)";
    ASSERT_EQ(0, store->execute(insert, {"R1", 100}));
    // A duplicate key: the same code on both backends.
    EXPECT_LT(store->execute(insert, {"R1", 200}), 0);
    EXPECT_EQ(0, store->execute("update RESOURCES set MAX_UNITS = 150 where RESOURCE_ID = 'R1'"));
    EXPECT_LT(store->execute("update NO_SUCH_TABLE set X = 1"), 0);
    ASSERT_EQ(0, store->execute(insert, {"R2", 300}));
    ASSERT_EQ(0, levelCommit(*store));
  }
  lite_.reset();  // an open SQLite store holds the file's write lock
  auto otherPg = pgtest::openStore(conninfo_);
  auto otherLite = file_.open();
  ASSERT_NE(otherPg, nullptr);
  ASSERT_NE(otherLite, nullptr);
  for (db::Store* store : std::vector<db::Store*>{otherLite.get(), otherPg.get()}) {
    EXPECT_EQ(2, numberOf(*store, "select count(*) from RESOURCES"));
    EXPECT_EQ(450, numberOf(*store, "select sum(MAX_UNITS) from RESOURCES"));
  }
}

TEST_F(BothBackends, ConstraintFailuresMapToTheSameCodes) {
  const char* insert = "insert into RESOURCES (RESOURCE_ID, MAX_UNITS) values (?, ?)";
  ASSERT_EQ(0, lite_->execute(insert, {"R1", 100}));
  ASSERT_EQ(0, pg_->execute(insert, {"R1", 100}));
  const int32_t lite = lite_->execute(insert, {"R1", 1});
  const int32_t pg = pg_->execute(insert, {"R1", 1});
  EXPECT_LT(pg, 0);
  EXPECT_STRNE("", pg_->status().message);
  EXPECT_LE(std::strlen(pg_->status().message), 70u);
  // SQLite reports a primary key (-1555), PostgreSQL a unique violation
  // (-2067): both in the constraint family, whose primary code is 19.
  EXPECT_EQ(19, (-lite) & 0xff);
  EXPECT_EQ(19, (-pg) & 0xff);
  EXPECT_EQ(-1299, pg_->execute("insert into RESOURCES (RESOURCE_ID) values (NULL)"));
  EXPECT_EQ(-1299, lite_->execute("insert into RESOURCES (RESOURCE_ID) values (NULL)"));
}

// A cursor read across two LEVEL_COMMITs, with other statements run between
// its fetches, returns every row once; the updates made meanwhile are
// committed.
TEST_F(BothBackends, CursorSurvivesCommitsAndNestedStatements) {
  const int kRows = 1234;  // more than two fetch batches
  for (db::Store* store : stores()) {
    for (int i = 1; i <= kRows; ++i) {
      char day[32];
      std::snprintf(day, sizeof day, "2024-%04d", i);
      ASSERT_EQ(0, store->execute("insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID, DAY_YEAR, "
                                  "DAY_WEEK) values ('CAL', ?, ?)",
                                  {day, i % 7}));
    }
    ASSERT_EQ(0, levelCommit(*store));

    db::Cursor days(*store);
    ASSERT_EQ(0, days.open("select DAY_YEAR, DAY_WEEK from CALENDAR_DAY_OF_YEAR "
                           "where ELEMENT_ID = ? order by DAY_YEAR",
                           {"CAL"}));
    db::DayText day;
    int32_t week = 0;
    int fetched = 0;
    std::string previous;
    int32_t rc = 0;
    while ((rc = days.fetch({day, week})) == 0) {
      ++fetched;
      EXPECT_LT(previous, std::string(day.view()));
      previous = std::string(day.view());
      ASSERT_EQ(0, store->execute("update CALENDAR_DAY_OF_YEAR set BIT_SCHED = 'X' "
                                  "where ELEMENT_ID = 'CAL' and DAY_YEAR = ?",
                                  {day}));
      ASSERT_EQ(1, store->status().rows);
      if (fetched == 300 || fetched == 900) {
        ASSERT_EQ(0, levelCommit(*store));
      }
    }
    EXPECT_EQ(db::kSqlNoData, rc);
    EXPECT_EQ(db::kSqlNoData, days.fetch({day, week}));  // and again
    EXPECT_EQ(kRows, fetched);
    days.close();
    ASSERT_EQ(0, levelCommit(*store));
    EXPECT_EQ(kRows, numberOf(*store, "select count(*) from CALENDAR_DAY_OF_YEAR "
                                      "where BIT_SCHED = 'X'"));
    // Two cursors open at once, each read in turn.
    db::Cursor a(*store), b(*store);
    ASSERT_EQ(0, a.open("select DAY_YEAR from CALENDAR_DAY_OF_YEAR order by DAY_YEAR"));
    ASSERT_EQ(0, b.open("select DAY_YEAR from CALENDAR_DAY_OF_YEAR order by DAY_YEAR desc"));
    db::DayText first, last;
    ASSERT_EQ(0, a.fetch({first}));
    ASSERT_EQ(0, b.fetch({last}));
    EXPECT_EQ("2024-0001", std::string(first.view()));
    EXPECT_EQ("2024-1234", std::string(last.view()));
  }
}

// RANK order and RANK LIKE compare bytes on both backends: upper case
// before '_' before lower case, a prefix before its extensions.
TEST_F(BothBackends, RankOrderAndLikeMatch) {
  const std::vector<std::string> ranks = {"0001b", "0001B", "0001_", "00010", "0001",
                                          "0001a0", "0001A", "0002", "000", "0001 "};
  std::vector<std::string> expected = ranks;
  std::sort(expected.begin(), expected.end());
  std::vector<std::vector<std::string>> orders;
  for (db::Store* store : stores()) {
    int id = 0;
    for (const std::string& rank : ranks) {
      ASSERT_EQ(0, store->execute("insert into KOR_WBS (ELEMENT_ID, RANK) values (?, ?)",
                                  {"E" + std::to_string(++id), rank}));
    }
    db::Cursor c(*store);
    ASSERT_EQ(0, c.open("select RANK from KOR_WBS order by RANK"));
    db::RankText rank;
    std::vector<std::string> order;
    while (c.fetch({rank}) == 0) order.emplace_back(rank.view());
    EXPECT_EQ(expected, order);
    orders.push_back(order);
    // LIKE is case-sensitive, '_' in the data is an ordinary character.
    EXPECT_EQ(2, numberOf(*store, "select count(*) from KOR_WBS where RANK like (? || '%')",
                          {"0001a"}) +
                     numberOf(*store, "select count(*) from KOR_WBS where RANK like (? || '%')",
                              {"0001B"}));
    EXPECT_EQ(8, numberOf(*store, "select count(*) from KOR_WBS where RANK like '0001%'"));
  }
  EXPECT_EQ(orders[0], orders[1]);
}

// Inputs go untyped: integers compare with integer and text columns, texts
// holding numbers land in integer columns, reals in NUMERIC ones.
TEST_F(BothBackends, UntypedInputs) {
  for (db::Store* store : stores()) {
    ASSERT_EQ(0, store->execute("insert into KOR_WBS (ELEMENT_ID, LEVEL_ID, PRIORITY, RANK) "
                                "values (?, ?, ?, ?)",
                                {42, "7", db::In::null(), "0001"}));
    EXPECT_EQ("42", textOf(*store, "select ELEMENT_ID from KOR_WBS where LEVEL_ID = ?", {7}));
    EXPECT_EQ("42", textOf(*store, "select ELEMENT_ID from KOR_WBS where LEVEL_ID = ?", {"7"}));
    EXPECT_EQ(8, numberOf(*store, "select LEVEL_ID + ? from KOR_WBS where ELEMENT_ID = ?",
                          {1, "42"}));
    EXPECT_EQ("null", textOf(*store, "select PRIORITY from KOR_WBS where ELEMENT_ID = ?", {42}));
    EXPECT_EQ("0001%", textOf(*store, "select ? || '%'", {"0001"}));
    EXPECT_EQ(1, numberOf(*store, "select count(*) from KOR_WBS where RANK like (? || '%')",
                          {"000"}));
    ASSERT_EQ(0, store->execute("insert into TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID, UNITS_MSP, "
                                "ETC) values (?, ?, ?)",
                                {"A1", 0.5, int64_t{5000000000}}));
    double units = 0;
    int64_t etc = 0;
    ASSERT_EQ(0, store->selectInto("select UNITS_MSP, ETC from TASK_ASSIGNMENTS where "
                                   "TSK_ASSIGNMENT_ID = ?",
                                   {"A1"}, {units, etc}));
    EXPECT_EQ(0.5, units);
    EXPECT_EQ(5000000000, etc);
    // A placeholder inside a quoted text is text, not an input.
    EXPECT_EQ("a?b", textOf(*store, "select 'a?b'"));
    EXPECT_EQ(db::kSqlBindMismatch, store->execute("update KOR_WBS set RANK = ?"));
  }
}

// Row counts and the codes of the single-row select, as the SQLite
// backend gives them: an update or delete touching no row is 0 with 0 rows.
TEST_F(BothBackends, StatusCodesAndRowCounts) {
  for (db::Store* store : stores()) {
    for (const char* id : {"E1", "E2", "E3"}) {
      ASSERT_EQ(0, store->execute("insert into KOR_WBS (ELEMENT_ID, PROJECT_ID, LEVEL_ID) "
                                  "values (?, 'P', 1)",
                                  {id}));
      EXPECT_EQ(1, store->status().rows);
    }
    EXPECT_EQ(0, store->execute("update KOR_WBS set LEVEL_ID = 2 where PROJECT_ID = 'none'"));
    EXPECT_EQ(0, store->status().rows);
    EXPECT_EQ(0, store->execute("update KOR_WBS set LEVEL_ID = 2 where PROJECT_ID = ?", {"P"}));
    EXPECT_EQ(3, store->status().rows);
    EXPECT_EQ(0, store->execute("delete from KOR_WBS where ELEMENT_ID in ('E1', 'E2', 'E9')"));
    EXPECT_EQ(2, store->status().rows);
    EXPECT_EQ(0, store->execute("delete from KOR_WBS where ELEMENT_ID = 'E1'"));
    EXPECT_EQ(0, store->status().rows);

    int32_t level = 0;
    int16_t ind = 0;
    EXPECT_EQ(db::kSqlNoData, store->selectInto("select LEVEL_ID from KOR_WBS where "
                                                "ELEMENT_ID = 'E1'",
                                                {}, {db::HostVar(level, &ind)}));
    EXPECT_STREQ("no data found", store->status().message);
    ASSERT_EQ(0, store->execute("insert into KOR_WBS (ELEMENT_ID, LEVEL_ID) values ('E4', 9)"));
    EXPECT_EQ(db::kSqlTooManyRows,
              store->selectInto("select LEVEL_ID from KOR_WBS order by ELEMENT_ID", {},
                                {db::HostVar(level, &ind)}));
    EXPECT_EQ(2, level);  // the first row
    EXPECT_EQ(db::kSqlBindMismatch,
              store->selectInto("select LEVEL_ID, RANK from KOR_WBS where ELEMENT_ID = 'E4'",
                                {}, {db::HostVar(level, &ind)}));
    int32_t nullTarget = 5;
    EXPECT_EQ(db::kSqlNullWithoutIndicator,
              store->selectInto("select PRIORITY from KOR_WBS where ELEMENT_ID = 'E4'", {},
                                {db::HostVar(nullTarget)}));
    // The injected failure of the store applies to this backend too.
    store->injectFailure("KOR_WBS", -7);
    EXPECT_EQ(-7, store->execute("delete from KOR_WBS"));
    EXPECT_EQ(2, numberOf(*store, "select count(*) from KOR_WBS"));
  }
}

// Host procedures reach the same registry; the clock can be fixed, and the
// SQL and the backend's now() then agree on it.
TEST_F(BothBackends, ProceduresAndClock) {
  for (db::Store* store : stores()) {
    int32_t result = -1;
    db::HostVar out(result);
    EXPECT_EQ(0, store->call("call SET_DATEFORMAT() into ?", {}, &out));
    EXPECT_EQ(0, result);
    EXPECT_EQ(db::kSqlUnknownProcedure, store->call("NO_SUCH_PROCEDURE"));
    EXPECT_EQ(db::kSqlUnknownProcedure, store->call("call LEVEL_COMMIT(?) into ?", {}, &out));
  }
  const std::string stamp = "2024-05-01 12:00:00.000000";
  ASSERT_EQ(0, pg_->setFixedTime(stamp));
  lite_->setFixedTime(stamp);
  for (db::Store* store : stores()) {
    EXPECT_EQ(stamp, textOf(*store, "select SYSTIMESTAMP()"));
    // A lock taken two hours and one minute before is 121 minutes old.
    EXPECT_EQ(121, numberOf(*store, "select NAV_ORASTD_DB2TIMESTAMPDIFF(4, SYSTIMESTAMP(), ?)",
                            {"2024-05-01 09:59:00.000000"}));
  }
  pg_->status().set(-42, "kept");
  EXPECT_EQ(stamp, pg_->now());
  EXPECT_EQ(-42, pg_->status().code);
  EXPECT_EQ(stamp, lite_->now());
  ASSERT_EQ(0, pg_->setFixedTime(""));
  EXPECT_EQ(26u, pg_->now().size());
  EXPECT_NE(stamp, pg_->now());
}

TEST(PostgresOpen, AServerThatIsNotThereGivesNullAndAConnectionFailure) {
  db::SqlStatus failure;
  auto store = host::PostgresStore::open("host=/nonexistent/socket/dir dbname=none connect_timeout=2",
                                         {}, &failure);
  EXPECT_EQ(nullptr, store);
  EXPECT_EQ(-10, failure.code);
  EXPECT_STRNE("", failure.message);
  EXPECT_LE(std::strlen(failure.message), 70u);
}

TEST(PostgresTarget, TellsConnectionStringsFromFiles) {
  EXPECT_TRUE(host::isPostgresTarget("postgresql://lev@localhost/plans"));
  EXPECT_TRUE(host::isPostgresTarget("postgres://u:p@h:5433/db"));
  EXPECT_TRUE(host::isPostgresTarget("host=/tmp/sock dbname=plans"));
  EXPECT_TRUE(host::isPostgresTarget("dbname = plans"));
  EXPECT_FALSE(host::isPostgresTarget("plans.db"));
  EXPECT_FALSE(host::isPostgresTarget("/var/lib/plans=2024.db"));
  EXPECT_FALSE(host::isPostgresTarget("./a=b"));
  EXPECT_FALSE(host::isPostgresTarget(""));
  EXPECT_FALSE(host::isPostgresTarget("=x"));
}

TEST(PostgresDialect, PlaceholdersAndTypes) {
  int n = 0;
  EXPECT_EQ("select $1 || '?' || \"A?\" from T where X = $2 and Y = 'it''s ?' and Z = $3",
            host::pgPlaceholders(
                "select ? || '?' || \"A?\" from T where X = ? and Y = 'it''s ?' and Z = ?", n));
  EXPECT_EQ(3, n);
  EXPECT_EQ("CREATE TABLE T (\n  A VARCHAR(32) COLLATE \"C\" NOT NULL, -- INTEGER TEXT\n"
            "  B BIGINT, C TEXT COLLATE \"C\", D NUMERIC, INTEGERS BIGINT, E_TEXT BIGINT)",
            host::pgDdl("CREATE TABLE T (\n  A VARCHAR(32) NOT NULL, -- INTEGER TEXT\n"
                        "  B INTEGER, C TEXT, D NUMERIC, INTEGERS INTEGER, E_TEXT INTEGER)"));
}

}  // namespace
