// The store's failure switch, worked on the SQLite backend: the chosen
// statement fails with the chosen code and is not executed, once; statements
// that do not match, and the first skipMatches that do, run as usual.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "host/scratch_db.h"
#include "store/store.h"

namespace {

constexpr const char* kInsertResource =
    "INSERT INTO RESOURCES (RESOURCE_ID, FULL_NAME) VALUES (?, ?)";
constexpr const char* kCountResources = "SELECT COUNT(*) FROM RESOURCES";
constexpr const char* kRaisePriority = "UPDATE KOR_WBS SET PRIORITY = PRIORITY + 1";

class FailureSwitch : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = scratch_.open({.busyTimeoutMs = 200});
    ASSERT_NE(store_, nullptr);
    for (const char* id : {"T1", "T2"}) {
      ASSERT_EQ(0, store_->execute("INSERT INTO KOR_WBS (ELEMENT_ID, PROJECT_ID, PRIORITY) "
                                   "VALUES (?, 'P1', 1)",
                                   {id}));
    }
  }
  int32_t count(const char* sql) {
    int32_t n = -1;
    EXPECT_EQ(0, store_->selectInto(sql, {}, {n})) << store_->status().message;
    return n;
  }
  int32_t levelCommit(db::Store& store) {
    int32_t result = -1;
    db::HostVar r(result);
    return store.call("call LEVEL_COMMIT() into ?", {}, &r);
  }

  scratch::ScratchDb scratch_;
  std::unique_ptr<host::SqliteStore> store_;
};

TEST_F(FailureSwitch, AnUpdateFailsOnceWithoutChangingAnyRow) {
  store_->injectFailure("UPDATE KOR_WBS", -4242);
  // Statements that do not contain the text run as usual and leave the
  // switch armed.
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM KOR_WBS"));

  EXPECT_EQ(-4242, store_->execute(kRaisePriority));
  EXPECT_EQ(-4242, store_->status().code);
  EXPECT_STREQ("injected failure", store_->status().message);
  EXPECT_EQ(0, store_->status().rows);
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM KOR_WBS WHERE PRIORITY = 1"));  // not executed

  // One shot: the same statement runs the next time.
  EXPECT_EQ(0, store_->execute(kRaisePriority));
  EXPECT_EQ(2, store_->status().rows);
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM KOR_WBS WHERE PRIORITY = 2"));

  // The text is compared with regard to case.
  store_->injectFailure("update kor_wbs", -1);
  EXPECT_EQ(0, store_->execute(kRaisePriority));
  store_->clearInjectedFailure();
  EXPECT_EQ(0, store_->execute("update kor_wbs set PRIORITY = 7"));
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM KOR_WBS WHERE PRIORITY = 7"));

  // The failure prints as any database failure does.
  FILE* log = std::tmpfile();
  ASSERT_NE(log, nullptr);
  store_->injectFailure("PRIORITY = 8", -60);
  ASSERT_EQ(-60, store_->execute("UPDATE KOR_WBS SET PRIORITY = 8"));
  db::printDbError(log, 2, "Lev_output", "doUpdateLevelIndexOnly", store_->status(), 120);
  EXPECT_EQ("\n\n****** error (2) in Lev_output (doUpdateLevelIndexOnly): SC_STATE = -60 "
            "(injected failure) LineNum = 120 \n\n",
            scratch::readAll(log));
  std::fclose(log);
}

TEST_F(FailureSwitch, ASelectACursorAndProcedureCallsFailWithoutRunning) {
  // A select leaves its host variables as they were.
  store_->injectFailure("FROM KOR_WBS WHERE", -20);
  int32_t priority = -99;
  EXPECT_EQ(-20, store_->selectInto("SELECT PRIORITY FROM KOR_WBS WHERE ELEMENT_ID = ?", {"T1"},
                                    {priority}));
  EXPECT_EQ(-99, priority);
  EXPECT_EQ(0, store_->selectInto("SELECT PRIORITY FROM KOR_WBS WHERE ELEMENT_ID = ?", {"T1"},
                                  {priority}));
  EXPECT_EQ(1, priority);

  // A cursor that fails to open stays closed and can be opened again.
  store_->injectFailure("ORDER BY ELEMENT_ID", -7);
  db::Cursor items(*store_);
  const char* byId = "SELECT ELEMENT_ID FROM KOR_WBS ORDER BY ELEMENT_ID";
  EXPECT_EQ(-7, items.open(byId));
  EXPECT_FALSE(items.isOpen());
  EXPECT_STREQ("injected failure", store_->status().message);
  db::IdText id;
  EXPECT_EQ(db::kSqlCursorNotOpen, items.fetch({id}));
  ASSERT_EQ(0, items.open(byId));
  ASSERT_EQ(0, items.fetch({id}));
  EXPECT_STREQ("T1", id.c_str());
  items.close();

  // A procedure, by name or by call text: LEVEL_COMMIT that fails does not
  // commit. A connection reading from the side sees the insert only after
  // the next, real, commit.
  ASSERT_EQ(0, store_->execute(kInsertResource, {"R1", "Ada"}));
  store_->injectFailure("LEVEL_COMMIT", -5);
  int32_t result = -1;
  db::HostVar r(result);
  EXPECT_EQ(-5, store_->call("call LEVEL_COMMIT() into ?", {}, &r));
  EXPECT_EQ(-1, result);
  auto reader = scratch_.open({.busyTimeoutMs = 200, .writeLockAtBegin = false});
  ASSERT_NE(reader, nullptr);
  int32_t seen = -1;
  ASSERT_EQ(0, reader->selectInto(kCountResources, {}, {seen}));
  EXPECT_EQ(0, seen);
  EXPECT_EQ(0, levelCommit(*store_));
  EXPECT_EQ(0, levelCommit(*reader));
  ASSERT_EQ(0, reader->selectInto(kCountResources, {}, {seen}));
  EXPECT_EQ(1, seen);

  store_->injectFailure("SET_DATEFORMAT", -3);
  EXPECT_EQ(-3, store_->call("SET_DATEFORMAT"));
  EXPECT_EQ(0, store_->call("SET_DATEFORMAT"));
}

TEST_F(FailureSwitch, SkipMatchesLetsTheFirstMatchingStatementsRun) {
  store_->injectFailure(kInsertResource, -9, 2);
  EXPECT_EQ(0, store_->execute(kInsertResource, {"R1", "Ada"}));
  EXPECT_EQ(1, count(kCountResources));  // does not match: not counted
  EXPECT_EQ(0, store_->execute(kInsertResource, {"R2", "Bob"}));
  EXPECT_EQ(-9, store_->execute(kInsertResource, {"R3", "Cy"}));
  EXPECT_EQ(0, store_->execute(kInsertResource, {"R4", "Di"}));
  db::IdText ids;
  db::Cursor all(*store_);
  ASSERT_EQ(0, all.open("SELECT GROUP_CONCAT(RESOURCE_ID, ',') FROM "
                        "(SELECT RESOURCE_ID FROM RESOURCES ORDER BY RESOURCE_ID)"));
  ASSERT_EQ(0, all.fetch({ids}));
  EXPECT_STREQ("R1,R2,R4", ids.c_str());
  all.close();

  // An empty text matches every statement, a cursor open included.
  store_->injectFailure("", -11, 1);
  EXPECT_EQ(0, store_->execute(kRaisePriority));
  EXPECT_EQ(-11, all.open("SELECT 1"));

  // Arming again replaces the armed switch; a code that is not a failure
  // arms nothing.
  store_->injectFailure("NEVER USED", -1, 5);
  store_->injectFailure(kInsertResource, -2);
  EXPECT_EQ(-2, store_->execute(kInsertResource, {"R5", "Ed"}));
  store_->injectFailure(kInsertResource, 0);
  EXPECT_EQ(0, store_->execute(kInsertResource, {"R5", "Ed"}));
  store_->injectFailure(kInsertResource, 100);
  EXPECT_EQ(0, store_->execute(kInsertResource, {"R6", "Flo"}));
}

}  // namespace
