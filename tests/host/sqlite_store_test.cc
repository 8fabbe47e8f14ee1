// The SQLite backend: connection set-up, statement reuse, the run's
// transaction and LEVEL_COMMIT, two runs on one file at once, and the call
// of host procedures.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "host/procedures.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"

namespace {

constexpr const char* kInsertItem =
    "INSERT INTO Lev_kor_wbs (ELEMENT_ID, PROJECT_ID, LEVEL_INDEX) VALUES (?, ?, ?)";
constexpr const char* kUpdateIndex = "UPDATE Lev_kor_wbs SET LEVEL_INDEX = ? WHERE ELEMENT_ID = ?";
constexpr const char* kCountItems = "SELECT COUNT(*) FROM Lev_kor_wbs";
constexpr const char* kInsertResource =
    "INSERT INTO RESOURCES (RESOURCE_ID, FULL_NAME) VALUES (?, ?)";
constexpr const char* kCountResources = "SELECT COUNT(*) FROM RESOURCES";

int32_t countItems(host::SqliteStore& store) {
  int32_t n = -1;
  EXPECT_EQ(0, store.selectInto(kCountItems, {}, {n})) << store.status().message;
  return n;
}

int32_t countResources(host::SqliteStore& store) {
  int32_t n = -1;
  EXPECT_EQ(0, store.selectInto(kCountResources, {}, {n})) << store.status().message;
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
  ASSERT_EQ(0, run->execute(kInsertResource, {"R1", "Ada"}));
  EXPECT_EQ(1, countResources(*run));  // the run sees its own work

  // The run holds the write lock; a connection that only reads opens all
  // the same and sees nothing uncommitted.
  auto reader = scratch.open({.busyTimeoutMs = 200, .writeLockAtBegin = false});
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(0, countResources(*reader));

  EXPECT_EQ(0, levelCommit(*run));
  // A deferred connection reads from one snapshot until its own LEVEL_COMMIT.
  EXPECT_EQ(0, countResources(*reader));
  EXPECT_EQ(0, levelCommit(*reader));
  EXPECT_EQ(1, countResources(*reader));

  // Work after the last commit goes when the store is closed.
  ASSERT_EQ(0, run->execute(kInsertResource, {"R2", "Bob"}));
  run.reset();
  EXPECT_EQ(0, levelCommit(*reader));
  EXPECT_EQ(1, countResources(*reader));
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

  int32_t moved = 0;
  ASSERT_EQ(0, store->selectInto("SELECT COUNT(*) FROM Lev_kor_wbs WHERE LEVEL_INDEX >= 100",
                                 {}, {moved}));
  EXPECT_EQ(5, moved);
}

// Why transactions take the write lock at begin: two deferred transactions
// on one file fail each other at once, however long the busy timeout.
TEST(SqliteStore, ADeferredWriterWithAnOutdatedSnapshotFailsAtOnceAnImmediateOneWaits) {
  scratch::ScratchDb scratch;
  {
    auto store = scratch.open();  // the default: a long wait for the lock
    ASSERT_NE(store, nullptr);
    int32_t timeout = -1;
    ASSERT_EQ(0, store->selectInto("PRAGMA busy_timeout", {}, {timeout}));
    EXPECT_EQ(300000, timeout);
  }
  auto a = scratch.open({.busyTimeoutMs = 200, .writeLockAtBegin = false});
  auto b = scratch.open({.busyTimeoutMs = 200, .writeLockAtBegin = false});
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(0, countResources(*a));  // a's snapshot
  ASSERT_EQ(0, b->execute(kInsertResource, {"B1", "Bob"}));
  ASSERT_EQ(0, levelCommit(*b));
  EXPECT_EQ(-517, a->execute(kInsertResource, {"A1", "Ada"}));  // SQLITE_BUSY_SNAPSHOT
  a.reset();
  b.reset();

  // Taken at begin, the lock makes a second writer wait at its begin: here
  // longer than its timeout, so its open fails with SQLITE_BUSY; once the
  // first is closed it opens.
  auto first = scratch.open({.busyTimeoutMs = 200});
  ASSERT_NE(first, nullptr);
  db::SqlStatus failure;
  EXPECT_EQ(nullptr, host::SqliteStore::open(scratch.path(), {.busyTimeoutMs = 100}, &failure));
  EXPECT_EQ(-5, failure.code);
  first.reset();
  auto second = scratch.open({.busyTimeoutMs = 200});
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(0, second->execute(kInsertResource, {"S1", "Sue"}));
}

// Two runs on one file, each on its own thread and connection, each reading,
// writing its own rows of an application table and of a work table, and
// committing several times: both finish, every row is there, and neither
// sees the other's work-table rows.
TEST(SqliteStore, TwoRunsOnOneFileWaitForEachOtherAndKeepTheirWorkTablesApart) {
  scratch::ScratchDb scratch;
  { ASSERT_NE(scratch.open(), nullptr); }  // the schema, before the race
  constexpr int kCommits = 6;
  struct Outcome {
    int32_t status = -1;
    int32_t ownWorkRows = -1;
    int32_t foreignWorkRows = -1;
  };
  auto runOn = [&scratch](const std::string& prefix, Outcome& out) {
    db::SqlStatus failure;
    auto store = host::SqliteStore::open(scratch.path(), {.busyTimeoutMs = 60000}, &failure);
    if (store == nullptr) {
      out.status = failure.code;
      return;
    }
    out.status = 0;
    for (int i = 0; i < kCommits && out.status == 0; ++i) {
      const std::string id = prefix + std::to_string(i);
      int32_t before = 0, n = 0;
      int32_t rc = store->selectInto(kCountResources, {}, {before});
      std::this_thread::yield();  // give the other run a chance to commit meanwhile
      if (rc == 0) rc = store->execute(kInsertResource, {id, "run " + prefix});
      if (rc == 0) rc = store->execute(kInsertItem, {id, prefix, int32_t{i}});
      if (rc == 0) rc = store->selectInto(kCountResources, {}, {n});
      if (rc == 0 && n != before + 1) rc = -99999;  // nobody else wrote meanwhile
      int32_t result = -1;
      db::HostVar r(result);
      if (rc == 0) rc = store->call("LEVEL_COMMIT", {}, &r);
      out.status = rc != 0 ? rc : result;
    }
    const std::string own = "SELECT COUNT(*) FROM Lev_kor_wbs WHERE PROJECT_ID = '" + prefix + "'";
    const std::string foreign =
        "SELECT COUNT(*) FROM Lev_kor_wbs WHERE PROJECT_ID <> '" + prefix + "'";
    if (store->selectInto(own, {}, {out.ownWorkRows}) != 0) out.ownWorkRows = -1;
    if (store->selectInto(foreign, {}, {out.foreignWorkRows}) != 0) out.foreignWorkRows = -1;
  };
  Outcome a, b;
  std::thread ta(runOn, "A", std::ref(a));
  std::thread tb(runOn, "B", std::ref(b));
  ta.join();
  tb.join();

  for (const Outcome* o : {&a, &b}) {
    EXPECT_EQ(0, o->status);
    EXPECT_EQ(kCommits, o->ownWorkRows);
    EXPECT_EQ(0, o->foreignWorkRows);
  }
  auto reader = scratch.open({.writeLockAtBegin = false});
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(2 * kCommits, countResources(*reader));
  EXPECT_EQ(0, countItems(*reader));
}

// A transaction that is gone (rolled back under the store) is begun again
// by the next statement, so that nothing is committed but by LEVEL_COMMIT.
TEST(SqliteStore, AStatementWithoutATransactionBeginsOne) {
  scratch::ScratchDb scratch;
  auto store = scratch.open();
  ASSERT_NE(store, nullptr);
  ASSERT_EQ(0, store->executeScript("ROLLBACK"));
  ASSERT_EQ(0, store->execute(kInsertResource, {"R1", "Ada"}));
  store.reset();  // not committed: gone
  store = scratch.open();
  EXPECT_EQ(0, countResources(*store));

  // LEVEL_COMMIT without a transaction only begins the next.
  ASSERT_EQ(0, store->executeScript("ROLLBACK"));
  EXPECT_EQ(0, levelCommit(*store));
  ASSERT_EQ(0, store->execute(kInsertResource, {"R2", "Bob"}));
  EXPECT_EQ(0, levelCommit(*store));
  store.reset();
  store = scratch.open();
  EXPECT_EQ(1, countResources(*store));
}

TEST(SqliteStore, ProceduresAreCalledByNameOrCallTextWithArgumentsByReference) {
  host::ProcedureRegistry registry;
  host::addBuiltinProcedures(registry);
  // Doubles its in/out argument, stores it, and returns the old value.
  registry.add("TEST_DOUBLE", 1,
               [](db::Store& s, host::Backend&, db::Vars args, const db::HostVar* result) -> int32_t {
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
