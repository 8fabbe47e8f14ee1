// The SQLite backend: connection set-up, statement reuse, the run's
// transaction and LEVEL_COMMIT, and the call of host procedures.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/procedures.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"

namespace {

constexpr const char* kInsertItem =
    "INSERT INTO Lev_kor_wbs (ELEMENT_ID, PROJECT_ID, LEVEL_INDEX) VALUES (?, ?, ?)";
constexpr const char* kUpdateIndex = "UPDATE Lev_kor_wbs SET LEVEL_INDEX = ? WHERE ELEMENT_ID = ?";
constexpr const char* kCountItems = "SELECT COUNT(*) FROM Lev_kor_wbs";

int32_t countItems(host::SqliteStore& store) {
  int32_t n = -1;
  EXPECT_EQ(0, store.selectInto(kCountItems, {}, {n})) << store.status().message;
  return n;
}

int32_t levelCommit(host::SqliteStore& store) {
  int32_t result = -1;
  db::HostVar r(result);
  EXPECT_EQ(0, store.call("call LEVEL_COMMIT() into ?", {}, &r)) << store.status().message;
  return result;
}

TEST(SqliteStore, OpensInWalModeWithNormalSyncAndCaseSensitiveLike) {
  scratch::ScratchDb scratch;
  auto store = scratch.open({.busyTimeoutMs = 2500});
  ASSERT_NE(store, nullptr);
  db::IdText mode;
  int32_t sync = -1, timeout = -1, likeMatches = -1;
  ASSERT_EQ(0, store->selectInto("PRAGMA journal_mode", {}, {mode}));
  EXPECT_STREQ("wal", mode.c_str());
  ASSERT_EQ(0, store->selectInto("PRAGMA synchronous", {}, {sync}));
  EXPECT_EQ(1, sync);  // NORMAL
  ASSERT_EQ(0, store->selectInto("PRAGMA busy_timeout", {}, {timeout}));
  EXPECT_EQ(2500, timeout);
  ASSERT_EQ(0, store->selectInto("SELECT 'ABC' LIKE 'abc%'", {}, {likeMatches}));
  EXPECT_EQ(0, likeMatches);

  // So a rank prefix can be searched through the RANK index.
  db::NameText plan;
  db::Cursor explain(*store);
  ASSERT_EQ(0, explain.open("EXPLAIN QUERY PLAN SELECT ELEMENT_ID FROM KOR_WBS WHERE RANK LIKE ?",
                            {"0001%"}));
  int32_t id = 0, parent = 0, unused = 0;
  ASSERT_EQ(0, explain.fetch({id, parent, unused, plan}));
  EXPECT_NE(std::string::npos, std::string(plan.c_str()).find("IX_KOR_WBS_RANK")) << plan.c_str();
}

TEST(SqliteStore, EachStatementTextIsPreparedOnceAndReused) {
  scratch::ScratchDb scratch;
  auto store = scratch.open();
  ASSERT_NE(store, nullptr);
  const int64_t start = store->prepareCount();

  for (int32_t i = 0; i < 300; ++i) {
    ASSERT_EQ(0, store->execute(kInsertItem, {"T" + std::to_string(i), "P1", i}));
  }
  EXPECT_EQ(start + 1, store->prepareCount());
  for (int32_t i = 0; i < 300; ++i) {
    ASSERT_EQ(0, store->execute(kUpdateIndex, {i + 1, "T" + std::to_string(i)}));
  }
  EXPECT_EQ(start + 2, store->prepareCount());

  // The same text while a cursor holds it needs a second statement, which
  // is kept too.
  const char* byProject = "SELECT ELEMENT_ID FROM Lev_kor_wbs WHERE PROJECT_ID = ?";
  db::IdText id;
  {
    db::Cursor outer(*store);
    ASSERT_EQ(0, outer.open(byProject, {"P1"}));
    ASSERT_EQ(0, outer.fetch({id}));
    db::Cursor inner(*store);
    ASSERT_EQ(0, inner.open(byProject, {"P1"}));
    ASSERT_EQ(0, inner.fetch({id}));
  }
  EXPECT_EQ(start + 4, store->prepareCount());
  for (int i = 0; i < 10; ++i) {
    db::Cursor again(*store);
    ASSERT_EQ(0, again.open(byProject, {"P1"}));
    ASSERT_EQ(0, again.fetch({id}));
  }
  EXPECT_EQ(start + 4, store->prepareCount());
}

TEST(SqliteStore, TextsBeyondTheCacheBoundArePreparedForEachUse) {
  scratch::ScratchDb scratch;
  auto store = scratch.open();
  ASSERT_NE(store, nullptr);
  int32_t n = 0;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(0, store->selectInto("SELECT " + std::to_string(i), {}, {n}));
  }
  const int64_t before = store->prepareCount();
  db::IdText t;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(0, store->selectInto("SELECT 'not kept'", {}, {t}));
  }
  EXPECT_EQ(before + 3, store->prepareCount());
  ASSERT_EQ(0, store->selectInto("SELECT 7", {}, {n}));  // kept from the start
  EXPECT_EQ(before + 3, store->prepareCount());
  EXPECT_EQ(7, n);
}

TEST(SqliteStore, LevelCommitPublishesWorkThatIsOtherwiseInvisibleAndLostOnClose) {
  scratch::ScratchDb scratch;
  auto run = scratch.open();
  ASSERT_NE(run, nullptr);
  ASSERT_EQ(0, run->execute(kInsertItem, {"T1", "P1", 1}));
  EXPECT_EQ(1, countItems(*run));  // the run sees its own work

  auto reader = scratch.open();
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(0, countItems(*reader));  // not committed yet

  EXPECT_EQ(0, levelCommit(*run));
  // A connection reads from one snapshot until its own LEVEL_COMMIT.
  EXPECT_EQ(0, countItems(*reader));
  EXPECT_EQ(0, levelCommit(*reader));
  EXPECT_EQ(1, countItems(*reader));

  // Work after the last commit goes when the store is closed.
  ASSERT_EQ(0, run->execute(kInsertItem, {"T2", "P1", 2}));
  run.reset();
  EXPECT_EQ(0, levelCommit(*reader));
  EXPECT_EQ(1, countItems(*reader));
}

TEST(SqliteStore, ACursorStaysOpenAcrossLevelCommit) {
  scratch::ScratchDb scratch;
  auto store = scratch.open();
  ASSERT_NE(store, nullptr);
  for (int32_t i = 0; i < 5; ++i) {
    ASSERT_EQ(0, store->execute(kInsertItem, {"T" + std::to_string(i), "P1", i}));
  }
  db::Cursor cursor(*store);
  ASSERT_EQ(0, cursor.open("SELECT ELEMENT_ID, LEVEL_INDEX FROM Lev_kor_wbs ORDER BY LEVEL_INDEX"));
  db::IdText id;
  int32_t index = 0, fetched = 0;
  while (cursor.fetch({id, index}) == 0) {
    ++fetched;
    ASSERT_EQ(0, store->execute(kUpdateIndex, {index + 100, id}));
    if (fetched % 2 == 0) {
      EXPECT_EQ(0, levelCommit(*store));
    }
  }
  EXPECT_EQ(db::kSqlNoData, store->status().code);
  EXPECT_EQ(5, fetched);
  cursor.close();
  EXPECT_EQ(0, levelCommit(*store));

  auto reader = scratch.open();
  int32_t moved = 0;
  ASSERT_EQ(0, reader->selectInto("SELECT COUNT(*) FROM Lev_kor_wbs WHERE LEVEL_INDEX >= 100",
                                  {}, {moved}));
  EXPECT_EQ(5, moved);
}

TEST(SqliteStore, ProceduresAreCalledByNameOrCallTextWithArgumentsByReference) {
  host::ProcedureRegistry registry;
  host::addBuiltinProcedures(registry);
  // Doubles its in/out argument, stores it, and returns the old value.
  registry.add("TEST_DOUBLE", 1,
               [](host::SqliteStore& s, db::Vars args, const db::HostVar* result) -> int32_t {
                 const int64_t old = args[0].integer();
                 int32_t rc = s.execute(kInsertItem, {"D", "P", old * 2});
                 if (rc < 0) return rc;
                 if (result != nullptr) result->setInteger(old);
                 return args[0].setInteger(old * 2);
               });
  scratch::ScratchDb scratch;
  auto store = scratch.open({.procedures = &registry});
  ASSERT_NE(store, nullptr);

  int32_t value = 21, old = 0;
  db::HostVar oldVar(old);
  EXPECT_EQ(0, store->call("call test_double(:b0) into :b1 ", {value}, &oldVar));
  EXPECT_EQ(42, value);
  EXPECT_EQ(21, old);
  EXPECT_EQ(0, store->call("TEST_DOUBLE", {value}));
  EXPECT_EQ(84, value);
  EXPECT_EQ(2, countItems(*store));

  // SET_DATEFORMAT has nothing to do.
  EXPECT_EQ(0, store->call("call SET_DATEFORMAT()"));

  // Unknown names and wrong argument counts are refused before running.
  EXPECT_EQ(db::kSqlUnknownProcedure, store->call("call NO_SUCH_PROC()"));
  EXPECT_STREQ("unknown procedure 'NO_SUCH_PROC'", store->status().message);
  EXPECT_EQ(db::kSqlUnknownProcedure, store->call("TEST_DOUBLE", {value, old}));
  EXPECT_EQ(db::kSqlUnknownProcedure, store->call("call TEST_DOUBLE(?, ?)", {value}));
  EXPECT_EQ(84, value);

  // A statement failing inside a procedure is the call's status.
  ASSERT_EQ(0, store->executeScript("DROP TABLE Lev_kor_wbs"));
  EXPECT_EQ(-1, store->call("TEST_DOUBLE", {value}));
  EXPECT_STREQ("no such table: Lev_kor_wbs", store->status().message);
}

TEST(SqliteStore, AFileThatCannotBeOpenedIsReportedNotThrown) {
  db::SqlStatus failure;
  auto store = host::SqliteStore::open("/nonexistent-dir/sub/x.db", {}, &failure);
  EXPECT_EQ(nullptr, store);
  EXPECT_LT(failure.code, 0);
  EXPECT_STRNE("", failure.message);
}

}  // namespace
