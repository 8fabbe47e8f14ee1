// The lock check, the driver's locking, its record of the run and the
// release at the end, on real databases. The clock stands at 2024-03-01
// 00:30:00: a lock taken 2024-02-29 22:29:00 is 121 minutes old, 22:30:00
// exactly 120, 22:29:00.000001 is 120 minutes 59.999999 seconds, i.e. 120.
#include "run/level_locks.h"

#include <string>

#include "host/sqlite_store.h"
#include "run/lock_fixture.h"

namespace {

using locktest::kNow;

constexpr const char* k121MinutesAgo = "2024-02-29 22:29:00.000000";
constexpr const char* k120MinutesAgo = "2024-02-29 22:30:00.000000";
constexpr const char* k5MinutesAgo = "2024-03-01 00:25:00.000000";

class LockCheck : public locktest::LockFixture {
 protected:
  void SetUp() override {
    LockFixture::SetUp();
    // P1 with task T1 and sub-project P1S (task T2); P2 apart (task T3).
    db_.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
    db_.item({.project = "P1", .parent = "P1", .id = "T1"});
    db_.project({.id = "P1S", .start = "2024-01-08", .finish = "2024-03-29", .rank = "P1.S"});
    db_.item({.project = "P1S", .parent = "P1S", .id = "T2", .extra = {{"RANK", "P1.S.T2"}}});
    db_.project({.id = "P2", .start = "2024-01-08", .finish = "2024-03-29"});
    db_.item({.project = "P2", .parent = "P2", .id = "T3"});
  }
  int check(const char* element, int optionFlag = 0) {
    return LEV_IS_LEVEL_LOCKED(element, optionFlag, &folder_, log_);
  }
  int64_t lockOf(const std::string& id) {
    return db_.scalar("select LEVEL_LOCK from PROJECT_DETAILS where PROJECT_ID='" + id + "'");
  }
  int64_t lockedRows(const std::string& id) {
    return db_.scalar("select count(*) from KOR_WBS where REC_STATUS='L' and PROJECT_ID='" + id +
                      "'");
  }
  int folder_ = -1;
};

TEST_F(LockCheck, AProjectLockIsStaleOnlyAfterMoreThan120WholeMinutes) {
  lockProject("P1S", 1, k120MinutesAgo);
  EXPECT_EQ(200114, check("P1"));
  EXPECT_EQ(0, folder_);
  EXPECT_EQ(200114, db_.store().status().code);
  EXPECT_EQ(1, lockOf("P1S"));
  EXPECT_EQ(2, lockedRows("P1S"));
  EXPECT_TRUE(logged("(3-1) exit here because project is locked"));
  lockProject("P1S", 1, "2024-02-29 22:29:00.000001");
  EXPECT_EQ(200114, check("P1"));

  lockProject("P1S", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(0, lockOf("P1S"));
  EXPECT_EQ(0, lockedRows("P1S"));
  EXPECT_EQ(kNow, text("select REC_DATETIME from KOR_WBS where ELEMENT_ID='T2'"));
  EXPECT_TRUE(logged("LEV_IS_LEVEL_LOCKED: unlocking a project that was locked more than 2h ago!!!"));
  EXPECT_EQ(0, db_.scalar("select count(*) from Lev_tmp_locked"));

  // The oldest lock decides, and the release takes every lock found.
  lockProject("P1", 1, k5MinutesAgo);
  lockProject("P1S", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(0, lockOf("P1"));
}

TEST_F(LockCheck, TemplatedItemsUnknownElementsAndFailures) {
  exec("update KOR_WBS set REC_STATUS='T' where ELEMENT_ID='T2'");
  lockProject("P1", 1, k121MinutesAgo);
  EXPECT_EQ(200319, check("P1"));  // after the stale lock was released
  EXPECT_EQ(0, lockOf("P1"));
  EXPECT_EQ(0, check("P2"));
  EXPECT_TRUE(logged("(3-2) exit here because some items are templated within this project"));

  EXPECT_EQ(200004, check("NOPE"));
  EXPECT_EQ(1, folder_);
  EXPECT_TRUE(logged("faild to select portfolio rank"));

  lockProject("P2", 1, k5MinutesAgo);
  ASSERT_EQ(0, db_.store().executeScript("DROP TABLE Lev_tmp_locked"));
  const int rc = check("P2");
  EXPECT_LT(rc, 0);
  EXPECT_TRUE(logged(" ****** error (1) in LEV_IS_LEVEL_LOCKED: SC_STATE = " +
                     std::to_string(rc) + " ("));
}

TEST_F(LockCheck, WhatIfRunsCountOnlyRunLocksOfTheScenarioProjects) {
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1"}});
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P2"}});
  lockProject("P1", 10, k5MinutesAgo);  // the scenario's own reservation
  EXPECT_EQ(0, check("SCEN1", 4));

  lockProject("P2", 1, "2024-03-01 00:00:00.000000");
  EXPECT_EQ(200114, check("SCEN1", 6));
  EXPECT_TRUE(logged("(1-1) exit here because one of the projects is locked in scenario"));

  lockProject("P2", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("SCEN1", 4));
  EXPECT_EQ(0, lockOf("P2"));
  EXPECT_EQ(0, lockedRows("P2"));
  EXPECT_EQ(10, lockOf("P1"));
  EXPECT_TRUE(logged("LEV_IS_LEVEL_LOCKED: unlocking a scenario that was locked more than 2h ago !!!"));
}

TEST_F(LockCheck, AFolderIsCheckedOverItsProjectsAndItsListIsEmptiedAfterwards) {
  node("OWNER", "00000001", 13);
  node("F1", "00000001.01", 64);
  node("P1", "00000001.01.01", 1);  // P1S comes in below P1
  auto listEmpty = [&] { return db_.scalar("select count(*) from NAV_TMP_PROJECTS_00_x") == 0; };

  lockProject("P2", 1, k5MinutesAgo);  // not in the folder
  EXPECT_EQ(0, check("F1"));
  EXPECT_EQ(1, folder_);
  lockProject("P1S", 1, k120MinutesAgo);
  EXPECT_EQ(200114, check("F1"));
  EXPECT_TRUE(logged("(2-1) exit here because portfolio is locked"));
  EXPECT_TRUE(listEmpty());

  exec("update PROJECT_DETAILS set LEVEL_LOCK=0");
  exec("update KOR_WBS set REC_STATUS='T' where ELEMENT_ID='T2'");
  EXPECT_EQ(200319, check("F1"));
  EXPECT_TRUE(logged("(2-2) exit here because some items are templated within this portfolio"));
  EXPECT_TRUE(listEmpty());
}

// --- the driver's locking ---------------------------------------------------

class DriverLocks : public locktest::LockFixture {
 protected:
  void SetUp() override {
    LockFixture::SetUp();
    for (const char* id : {"P1", "P2", "P3"}) {
      db_.project({.id = id, .start = "2024-01-08", .finish = "2024-03-29"});
      db_.item({.project = id, .parent = id, .id = std::string("T") + id});
    }
    listProject("P1");
    listProject("P2");
    node("F1", "00000001.01", 64);
    run_->isFolderWithinPortfolio = 1;
    run::copyCut(run_->element_id, run::kIdSize, "F1");
    run::copyCut(run_->element_id_p, run::kIdSize, "P1");
    run::copyCut(run_->element_name, run::kElementNameSize, "Bridge");
    run::copyCut(run_->rec_user, run::kIdSize, "U7");
    run::copyCut(run_->subject, run::kSubjectSize, "Leveling Portfolio 'Bridge'");
    run::copyCut(run_->message, run::kMessageSize, "Started.");
  }
  // Rows as "id:value:value..." in id order, '-' for null, "now" for the
  // clock's time stamp.
  std::string rows(const std::string& table, const std::string& key, const std::string& cols) {
    return text("select group_concat(" + key + "||" + cols + ", ' ') from (select * from " +
                table + " order by " + key + ")");
  }
  std::string wbsMarks() {
    return rows("KOR_WBS", "ELEMENT_ID",
                "':'||REC_STATUS||':'||COALESCE(REC_USER,'-')||':'||CASE WHEN "
                "REC_DATETIME=SYSTIMESTAMP() THEN 'now' ELSE '-' END");
  }
  std::string runRecords() {
    return rows("PROJECT_DETAILS", "PROJECT_ID",
                "':'||LEVEL_LOCK||':'||LEVEL_LAST_CALL_OPTION||':'||COALESCE(SCENARIO_NAME,'-')"
                "||':'||COALESCE(SCENARIO_USER_ID,'-')||':'||CASE WHEN "
                "SCENARIO_DATETIME=SYSTIMESTAMP() THEN 'now' ELSE '-' END||':'||CALCULATE_FLAG");
  }
};

TEST_F(DriverLocks, LockingMarksTheListedProjectsRowsUnlessImportExportHoldsOne) {
  exec("update KOR_WBS set REC_STATUS='L' where ELEMENT_ID='TP2'");
  EXPECT_EQ(200219, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ(0, run_->allProjectsAreLockedByMe);
  EXPECT_EQ("P1:U:-:- P2:U:-:- P3:U:-:- TP1:U:-:- TP2:L:-:- TP3:U:-:-", wbsMarks());
  EXPECT_EQ("U", text("select REC_STATUS from KOR_PORTFOLIOS"));
  EXPECT_EQ(std::string(kNow) +
                "\nOne or more sub-elements could be locked by Import/Export. \nStarted.",
            run_->message);
  EXPECT_EQ("[Failed] Leveling Portfolio 'Bridge'", text("select SUBJECT from KOR_WORKFLOWS"));

  // An 'L' row of a project that a scenario has reserved is the scenario's.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='P2'");
  run::copyCut(run_->message, run::kMessageSize, "Started.");
  run_->PRINT_OPTION_BASIC = 1;
  EXPECT_EQ(0, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ(1, run_->allProjectsAreLockedByMe);
  EXPECT_EQ("P1:L:U7:now P2:L:U7:now P3:U:-:- TP1:L:U7:now TP2:L:U7:now TP3:U:-:-", wbsMarks());
  EXPECT_EQ("L", text("select REC_STATUS from KOR_PORTFOLIOS"));
  EXPECT_EQ("P1:0:0:-:-:-:0 P2:10:0:-:-:-:0 P3:0:0:-:-:-:0", runRecords());
  EXPECT_EQ(std::string(kNow) + "\nAll Selected Projects are Locked. Started.", run_->message);
  EXPECT_TRUE(logged("*  Locking All Selected Projects *"));
}

// The claim after the scan: a run lock that appeared on a listed project
// meanwhile ends the run; otherwise the lock is taken over the list at
// once, and given back when the import/export test then refuses.
TEST_F(DriverLocks, TheClaimTakesTheListedProjectsOrFindsOneTaken) {
  exec("update PROJECT_DETAILS set LEVEL_LOCK=1 where PROJECT_ID='P2'");
  EXPECT_EQ(0, run::claimListedProjects(*run_, log_));
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
  EXPECT_EQ("P1:0:0:-:-:-:0 P2:1:0:-:-:-:0 P3:0:0:-:-:-:0", runRecords());
  // Nothing to do once the scan has decided.
  EXPECT_EQ(0, run::claimListedProjects(*run_, log_));
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);

  // A lock outside the list is not this run's concern.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=0 where PROJECT_ID='P2'");
  exec("update PROJECT_DETAILS set LEVEL_LOCK=1 where PROJECT_ID='P3'");
  run_->level_lock = run::kLevelLockFree;
  EXPECT_EQ(0, run::claimListedProjects(*run_, log_));
  EXPECT_EQ(run::kLevelLockHeld, run_->level_lock);
  EXPECT_EQ("P1:1:0:-:-:-:0 P2:1:0:-:-:-:0 P3:1:0:-:-:-:0", runRecords());

  exec("update KOR_WBS set REC_STATUS='L' where ELEMENT_ID='TP2'");
  EXPECT_EQ(200219, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ(run::kLevelLockFree, run_->level_lock);
  EXPECT_EQ("P1:0:0:-:-:-:0 P2:0:0:-:-:-:0 P3:1:0:-:-:-:0", runRecords());

  // A what-if run lets its scenario's value 10 be and sets nothing itself.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='P1'");
  run_->optionFlag = 4;
  run_->isWhatIfScenario = 1;
  EXPECT_EQ(0, run::claimListedProjects(*run_, log_));
  EXPECT_EQ(run::kLevelLockFree, run_->level_lock);
  EXPECT_EQ("P1:10:0:-:-:-:0 P2:0:0:-:-:-:0 P3:1:0:-:-:-:0", runRecords());
}

TEST_F(DriverLocks, TheRunIsRecordedAndTheLevellingLockCommitted) {
  EXPECT_EQ(0, run::recordRunAndSetLevelLock(*run_, log_));  // kind 0 is recorded as 1
  EXPECT_EQ(run::kLevelLockHeld, run_->level_lock);
  EXPECT_EQ("P1:1:1:Bridge:U7:now:0 P2:1:1:Bridge:U7:now:0 P3:0:0:-:-:-:0", runRecords());
  EXPECT_EQ("P1:U:-:- P2:U:-:- P3:U:-:- TP1:U:-:- TP2:U:-:- TP3:U:-:-", wbsMarks());
  EXPECT_EQ(std::string(kNow) + "\nThe list of Projects is created.Started.", run_->message);
  {
    auto other = host::SqliteStore::open(db_.path(), {.writeLockAtBegin = false});  // committed: visible elsewhere
    int32_t lock = -1;
    ASSERT_EQ(0, other->selectInto(
                     "select LEVEL_LOCK from PROJECT_DETAILS where PROJECT_ID='P2'", {}, {lock}));
    EXPECT_EQ(1, lock);
  }

  // A what-if run reserves the scenario's projects (not the list's).
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P3"}});
  exec("update PROJECT_DETAILS set LEVEL_LOCK=0");
  run_->optionFlag = 4;
  run_->isWhatIfScenario = 1;
  run_->level_lock = run::kLevelLockFree;
  run_->element_name[0] = '\0';
  run::copyCut(run_->root_node_name, run::kRootNameSize, "Plan B");
  EXPECT_EQ(0, run::recordRunAndSetLevelLock(*run_, log_));
  EXPECT_EQ(run::kLevelLockScenario, run_->level_lock);
  EXPECT_EQ("P1:0:4:Plan B:U7:now:0 P2:0:4:Plan B:U7:now:0 P3:10:0:-:-:-:0", runRecords());
}

TEST_F(DriverLocks, TheEndOfARunSetsTheCalculateFlagAndReleasesItsOwnLock) {
  struct Case {
    int optionFlag, levelLock;
    const char* after;  // LEVEL_LOCK/CALCULATE_FLAG of P1, P2 (listed) and P3
  };
  const Case cases[] = {
      {0, run::kLevelLockHeld, "0/2 0/2 1/7"}, {4, run::kLevelLockScenario, "1/2 1/2 1/7"},
      {3, run::kLevelLockHeld, "0/1 0/1 1/7"}, {3, run::kLevelLockFree, "1/1 1/1 1/7"},
      {5, run::kLevelLockHeld, "0/0 0/0 1/7"}, {2, run::kLevelLockHeld, "0/7 0/7 1/7"},
      {6, run::kLevelLockFree, "1/7 1/7 1/7"},
  };
  run_->PRINT_OPTION_BASIC = 1;
  for (const Case& c : cases) {
    exec("update PROJECT_DETAILS set LEVEL_LOCK=1, CALCULATE_FLAG=7");
    run_->optionFlag = c.optionFlag;
    run_->level_lock = c.levelLock;
    EXPECT_EQ(0, run::resetLevelLockAtEnd(*run_, log_));
    EXPECT_EQ(c.after, text("select group_concat(LEVEL_LOCK||'/'||CALCULATE_FLAG, ' ') from "
                            "(select * from PROJECT_DETAILS order by PROJECT_ID)"))
        << "kind " << c.optionFlag;
  }
  EXPECT_TRUE(logged("*  Resetting level_lock flag   *"));
}

}  // namespace
