// The lock check on real databases: the 120-minute stale rule counted in
// the database's whole minutes, templated items, the scenario value 10,
// unknown elements and portfolio folders; then the driver's locking, its
// record of the run and the release at the end, column by column.
//
// The clock stands at 2024-03-01 00:30:00 (see lock_fixture.h): a lock
// taken 2024-02-29 22:29:00 is 121 minutes old, one taken 22:30:00 exactly
// 120, one taken 22:29:00.000001 is 120 minutes and 59.999999 seconds old,
// which counts as 120.
#include "run/level_locks.h"

#include <cstring>
#include <string>

#include "host/sqlite_store.h"
#include "run/lock_fixture.h"
#include "run/run_messages.h"

namespace {

using locktest::kNow;

constexpr const char* k121MinutesAgo = "2024-02-29 22:29:00.000000";
constexpr const char* k120MinutesAgo = "2024-02-29 22:30:00.000000";
constexpr const char* kJustUnder121 = "2024-02-29 22:29:00.000001";
constexpr const char* k5MinutesAgo = "2024-03-01 00:25:00.000000";

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class LockCheck : public locktest::LockFixture {
 protected:
  void SetUp() override {
    LockFixture::SetUp();
    // P1 with a task and a sub-project P1S (with its own task); P2 apart.
    db_.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
    db_.item({.project = "P1", .parent = "P1", .id = "T1"});
    db_.project({.id = "P1S", .start = "2024-01-08", .finish = "2024-03-29", .parent = "P1",
                 .rank = "P1.S"});
    db_.item({.project = "P1S", .parent = "P1S", .id = "T2",
              .extra = {{"RANK", "P1.S.T2"}}});
    db_.project({.id = "P2", .start = "2024-01-08", .finish = "2024-03-29"});
    db_.item({.project = "P2", .parent = "P2", .id = "T3"});
  }

  int check(const char* element, int optionFlag = 0) {
    folder_ = -1;
    return LEV_IS_LEVEL_LOCKED(element, optionFlag, &folder_, log_);
  }
  int64_t levelLock(const std::string& project) {
    return db_.scalar("select LEVEL_LOCK from PROJECT_DETAILS where PROJECT_ID='" + project + "'");
  }
  int64_t lockedRows(const std::string& project) {
    return db_.scalar("select count(*) from KOR_WBS where REC_STATUS='L' and PROJECT_ID='" +
                      project + "'");
  }

  int folder_ = -1;
};

TEST_F(LockCheck, AProjectLockIsStaleOnlyAfterMoreThan120WholeMinutes) {
  // 120 minutes: the run is refused, nothing is released.
  lockProject("P1S", 1, k120MinutesAgo);
  EXPECT_EQ(200114, check("P1"));
  EXPECT_EQ(0, folder_);
  EXPECT_EQ(200114, db_.store().status().code);
  EXPECT_EQ(1, levelLock("P1S"));
  EXPECT_EQ(2, lockedRows("P1S"));
  EXPECT_TRUE(contains(logText(), "(3-1) exit here because project is locked"));

  // 120 minutes and 59.999999 seconds are still 120 whole minutes.
  lockProject("P1S", 1, kJustUnder121);
  EXPECT_EQ(200114, check("P1"));
  EXPECT_EQ(1, levelLock("P1S"));

  // 121 minutes: released, the element is free.
  lockProject("P1S", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(0, db_.store().status().code);
  EXPECT_EQ(0, levelLock("P1S"));
  EXPECT_EQ(0, lockedRows("P1S"));
  EXPECT_EQ("U", text("select REC_STATUS from KOR_WBS where ELEMENT_ID='T2'"));
  EXPECT_EQ(kNow, text("select REC_DATETIME from KOR_WBS where ELEMENT_ID='T2'"));
  EXPECT_TRUE(contains(logText(),
                       "LEV_IS_LEVEL_LOCKED: unlocking a project that was locked more than 2h "
                       "ago!!!"));
  EXPECT_EQ(0, db_.scalar("select count(*) from Lev_tmp_locked"));

  // Checking the sub-project alone sees only its own rank: P1's lock does
  // not concern it.
  lockProject("P1", 1, k5MinutesAgo);
  EXPECT_EQ(0, check("P1S"));
  EXPECT_EQ(200114, check("P1"));
}

TEST_F(LockCheck, TheOldestLockDecidesAndAnUndatedLockBlocks) {
  // A fresh lock on P1 and a stale one on P1S: the oldest decides, and the
  // release takes every lock found under the element.
  lockProject("P1", 1, k5MinutesAgo);
  lockProject("P1S", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(0, levelLock("P1"));
  EXPECT_EQ(0, levelLock("P1S"));
  EXPECT_EQ(0, lockedRows("P1"));

  // A lock without a time counts as taken now.
  lockProject("P1S", 1, "NULL");
  EXPECT_EQ(200114, check("P1"));
  EXPECT_EQ(1, levelLock("P1S"));

  // A lock held by another project (P2) is no concern of P1.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=0 where PROJECT_ID='P1S'");
  lockProject("P2", 1, k5MinutesAgo);
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(1, levelLock("P2"));
}

TEST_F(LockCheck, TemplatedItemsUnderTheRankRefuseTheRun) {
  // A templated item in P2 does not concern P1.
  exec("update KOR_WBS set REC_STATUS='T' where ELEMENT_ID='T3'");
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(200319, check("P2"));

  // One in P1's sub-project refuses P1, also after a stale lock has been
  // released.
  lockProject("P1", 1, k121MinutesAgo);
  exec("update KOR_WBS set REC_STATUS='T' where ELEMENT_ID='T2'");
  EXPECT_EQ(200319, check("P1"));
  EXPECT_EQ(200319, db_.store().status().code);
  EXPECT_EQ(0, levelLock("P1"));
  EXPECT_TRUE(contains(logText(),
                       "(3-2) exit here because some items are templated within this project"));
}

TEST_F(LockCheck, WhatIfRunsCountOnlyRunLocksOfTheScenarioProjects) {
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1"}, {"PRIORITY", "100"}});
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P2"}, {"PRIORITY", "200"}});
  // The scenario value 10 is the scenario's own reservation: not a lock.
  lockProject("P1", 10, k5MinutesAgo);
  EXPECT_EQ(0, check("SCEN1", 4));
  EXPECT_EQ(0, folder_);
  EXPECT_EQ(10, levelLock("P1"));

  // A run lock on a scenario project, 30 minutes old: refused.
  lockProject("P2", 1, "2024-03-01 00:00:00.000000");
  EXPECT_EQ(200114, check("SCEN1", 6));
  EXPECT_TRUE(
      contains(logText(), "(1-1) exit here because one of the projects is locked in scenario"));

  // The same lock 121 minutes old is released; the reservation stays.
  lockProject("P2", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("SCEN1", 4));
  EXPECT_EQ(0, levelLock("P2"));
  EXPECT_EQ(0, lockedRows("P2"));
  EXPECT_EQ(10, levelLock("P1"));
  EXPECT_TRUE(contains(
      logText(), "LEV_IS_LEVEL_LOCKED: unlocking a scenario that was locked more than 2h ago !!!"));
  EXPECT_EQ(0, db_.scalar("select count(*) from Lev_tmp_locked"));

  // A templated item in a scenario project.
  exec("update KOR_WBS set REC_STATUS='T' where ELEMENT_ID='T3'");
  EXPECT_EQ(200319, check("SCEN1", 4));
  EXPECT_TRUE(contains(logText(),
                       "(1-2) exit here because some items are templated within this scenario"));
}

TEST_F(LockCheck, AReservationOutsideAWhatIfRunIsLeftToTheProjectList) {
  // Not released however old, not refused here either: the driver's scan
  // of the project list meets the non-zero LEVEL_LOCK.
  lockProject("P1S", 10, k121MinutesAgo);
  EXPECT_EQ(0, check("P1"));
  EXPECT_EQ(10, levelLock("P1S"));
  EXPECT_EQ(2, lockedRows("P1S"));
}

TEST_F(LockCheck, AnUnknownElementIsNeitherProjectNorFolder) {
  EXPECT_EQ(200004, check("NOPE"));
  EXPECT_EQ(1, folder_);
  EXPECT_TRUE(contains(logText(), "faild to select portfolio rank"));
  // A portfolio node that is not a folder (type 13) is no folder either.
  node("TOP", "00000001", 13);
  EXPECT_EQ(200004, check("TOP"));
}

class FolderCheck : public LockCheck {
 protected:
  void SetUp() override {
    LockCheck::SetUp();
    // The owner's tree: folder F1 holds P1 and P2.
    node("OWNER", "00000001", 13);
    node("F1", "00000001.01", 64);
    node("P1", "00000001.01.01", 1);
    node("P2", "00000001.01.02", 1);
  }
  void expectListEmptied() {
    EXPECT_EQ(0, db_.scalar("select count(*) from NAV_TMP_PROJECTS_00_x"));
  }
};

TEST_F(FolderCheck, AFolderIsCheckedOverItsProjectsAndItsListIsEmptiedAfterwards) {
  EXPECT_EQ(0, check("F1"));
  EXPECT_EQ(1, folder_);
  expectListEmptied();

  // P1S comes in below P1: its lock refuses the folder.
  lockProject("P1S", 1, k120MinutesAgo);
  EXPECT_EQ(200114, check("F1"));
  EXPECT_TRUE(contains(logText(), "(2-1) exit here because portfolio is locked"));
  expectListEmptied();

  lockProject("P1S", 1, k121MinutesAgo);
  EXPECT_EQ(0, check("F1"));
  EXPECT_EQ(0, levelLock("P1S"));
  EXPECT_EQ(0, lockedRows("P1S"));
  EXPECT_TRUE(contains(logText(), "unlocking a portfolio that was locked more than 2h ago !!!"));
  expectListEmptied();

  exec("update KOR_WBS set REC_STATUS='T' where ELEMENT_ID='T3'");
  EXPECT_EQ(200319, check("F1"));
  EXPECT_TRUE(contains(logText(),
                       "(2-2) exit here because some items are templated within this portfolio"));
  expectListEmptied();

  // A project outside the folder does not concern it.
  db_.project({.id = "P9", .start = "2024-01-08", .finish = "2024-03-29"});
  lockProject("P9", 1, k5MinutesAgo);
  exec("update KOR_WBS set REC_STATUS='U' where ELEMENT_ID='T3'");
  EXPECT_EQ(0, check("F1"));
}

TEST_F(LockCheck, AFailedStatementIsReportedAndReturned) {
  lockProject("P1", 1, k5MinutesAgo);
  ASSERT_EQ(0, db_.store().executeScript("DROP TABLE Lev_tmp_locked"));
  const int rc = check("P1");
  EXPECT_LT(rc, 0);
  EXPECT_EQ(rc, db_.store().status().code);
  EXPECT_TRUE(contains(logText(), " ****** error (1) in LEV_IS_LEVEL_LOCKED: SC_STATE = " +
                                      std::to_string(rc) + " ("));
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
    run::copyCut(run_->element_id, run::kIdSize, "P1");
    run::copyCut(run_->element_id_p, run::kIdSize, "P1");
    run::copyCut(run_->element_name, run::kElementNameSize, "Bridge");
    run::copyCut(run_->rec_user, run::kIdSize, "U7");
    run::copyCut(run_->subject, run::kSubjectSize, "Leveling Project 'Bridge'");
    run::copyCut(run_->message, run::kMessageSize, "Started.");
  }
  std::string wbs(const std::string& column, const std::string& id) {
    return text("select " + column + " from KOR_WBS where ELEMENT_ID='" + id + "'");
  }
  std::string details(const std::string& column, const std::string& id) {
    return text("select " + column + " from PROJECT_DETAILS where PROJECT_ID='" + id + "'");
  }
};

TEST_F(DriverLocks, LockingMarksTheListedProjectsRowsForTheRequestingUser) {
  EXPECT_EQ(0, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ(1, run_->allProjectsAreLockedByMe);
  for (const char* id : {"P1", "TP1", "P2", "TP2"}) {
    EXPECT_EQ("L", wbs("REC_STATUS", id)) << id;
    EXPECT_EQ("U7", wbs("REC_USER", id)) << id;
    EXPECT_EQ(kNow, wbs("REC_DATETIME", id)) << id;
  }
  EXPECT_EQ("U", wbs("REC_STATUS", "TP3"));
  EXPECT_EQ("NULL", wbs("REC_USER", "TP3"));
  EXPECT_EQ("0", details("LEVEL_LOCK", "P1"));  // the levelling lock comes later
  EXPECT_EQ(std::string(kNow) + "\nAll Selected Projects are Locked. Started.", run_->message);
  EXPECT_EQ("[Started] Leveling Project 'Bridge'",
            text("select SUBJECT from KOR_WORKFLOWS"));
}

TEST_F(DriverLocks, AFolderNodeIsLockedOutsideWhatIfRunsOnly) {
  node("F1", "00000001.01", 64);
  run::copyCut(run_->element_id, run::kIdSize, "F1");
  run_->isFolderWithinPortfolio = 1;
  run_->isWhatIfScenario = 1;
  EXPECT_EQ(0, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ("U", text("select REC_STATUS from KOR_PORTFOLIOS where ELEMENT_ID='F1'"));

  run_->isWhatIfScenario = 0;
  exec("update KOR_WBS set REC_STATUS='U'");
  EXPECT_EQ(0, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ("L", text("select REC_STATUS from KOR_PORTFOLIOS where ELEMENT_ID='F1'"));
}

TEST_F(DriverLocks, ARowLockedByImportExportRefusesTheRunAndChangesNothing) {
  exec("update KOR_WBS set REC_STATUS='L' where ELEMENT_ID='TP2'");
  run_->PRINT_OPTION_BASIC = 1;
  EXPECT_EQ(200219, run::lockSelectedProjects(*run_, log_));
  EXPECT_EQ(0, run_->allProjectsAreLockedByMe);
  EXPECT_EQ("U", wbs("REC_STATUS", "P1"));
  EXPECT_EQ("NULL", wbs("REC_USER", "TP1"));
  EXPECT_EQ("NULL", wbs("REC_USER", "TP2"));
  EXPECT_EQ(std::string(kNow) +
                "\nOne or more sub-elements could be locked by Import/Export. \nStarted.",
            run_->message);
  EXPECT_EQ("[Failed] Leveling Project 'Bridge'", text("select SUBJECT from KOR_WORKFLOWS"));
  EXPECT_TRUE(contains(logText(), "*  Locking All Selected Projects *"));

  // An 'L' row of a project a scenario has reserved is the scenario's own.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='P2'");
  EXPECT_EQ(0, run::lockSelectedProjects(*run_, log_));
  // A project that is not listed is no concern.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=0 where PROJECT_ID='P2'");
  exec("update KOR_WBS set REC_STATUS='U'");
  exec("update KOR_WBS set REC_STATUS='L' where ELEMENT_ID='TP3'");
  EXPECT_EQ(0, run::lockSelectedProjects(*run_, log_));
}

TEST_F(DriverLocks, TheRunIsRecordedAndTheLevellingLockCommitted) {
  run_->optionFlag = 0;
  EXPECT_EQ(0, run::recordRunAndSetLevelLock(*run_, log_));
  EXPECT_EQ(run::kLevelLockHeld, run_->level_lock);
  for (const char* id : {"P1", "P2"}) {
    EXPECT_EQ("1", details("LEVEL_LAST_CALL_OPTION", id)) << id;  // 0 is recorded as 1
    EXPECT_EQ("Bridge", details("SCENARIO_NAME", id));
    EXPECT_EQ("U7", details("SCENARIO_USER_ID", id));
    EXPECT_EQ(kNow, details("SCENARIO_DATETIME", id));
    EXPECT_EQ("1", details("LEVEL_LOCK", id));
  }
  EXPECT_EQ("0", details("LEVEL_LAST_CALL_OPTION", "P3"));
  EXPECT_EQ("NULL", details("SCENARIO_NAME", "P3"));
  EXPECT_EQ("0", details("LEVEL_LOCK", "P3"));
  EXPECT_EQ("U", wbs("REC_STATUS", "P1"));  // record locks are not this step's
  EXPECT_EQ(std::string(kNow) + "\nThe list of Projects is created.Started.", run_->message);

  // Committed: another connection sees the lock.
  auto other = host::SqliteStore::open(db_.path());
  ASSERT_NE(other, nullptr);
  int32_t lock = -1;
  ASSERT_EQ(0, other->selectInto("select LEVEL_LOCK from PROJECT_DETAILS where PROJECT_ID='P2'",
                                 {}, {lock}));
  EXPECT_EQ(1, lock);
  other.reset();

  // A calculation run records its own kind.
  run_->optionFlag = 3;
  run_->level_lock = run::kLevelLockFree;
  EXPECT_EQ(0, run::recordRunAndSetLevelLock(*run_, log_));
  EXPECT_EQ("3", details("LEVEL_LAST_CALL_OPTION", "P1"));
}

TEST_F(DriverLocks, AWhatIfRunReservesTheScenarioProjects) {
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1"}});
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P3"}});
  run_->optionFlag = 4;
  run_->isWhatIfScenario = 1;
  run_->element_name[0] = '\0';
  run::copyCut(run_->root_node_name, run::kRootNameSize, "Plan B");
  EXPECT_EQ(0, run::recordRunAndSetLevelLock(*run_, log_));
  EXPECT_EQ(run::kLevelLockScenario, run_->level_lock);
  EXPECT_EQ("10", details("LEVEL_LOCK", "P1"));
  EXPECT_EQ("10", details("LEVEL_LOCK", "P3"));  // the scenario's, not the list's
  EXPECT_EQ("0", details("LEVEL_LOCK", "P2"));
  EXPECT_EQ("4", details("LEVEL_LAST_CALL_OPTION", "P2"));  // the list's
  EXPECT_EQ("Plan B", details("SCENARIO_NAME", "P2"));

  // A run that already holds the scenario value sets no lock again.
  exec("update PROJECT_DETAILS set LEVEL_LOCK=0");
  run_->isWhatIfScenario = 0;
  run_->optionFlag = 0;
  EXPECT_EQ(0, run::recordRunAndSetLevelLock(*run_, log_));
  EXPECT_EQ(run::kLevelLockScenario, run_->level_lock);
  EXPECT_EQ("0", details("LEVEL_LOCK", "P1"));
}

TEST_F(DriverLocks, TheEndOfARunSetsTheCalculateFlagAndReleasesItsOwnLock) {
  struct Case {
    int optionFlag;
    int levelLock;
    const char* flag;  // CALCULATE_FLAG of the listed projects afterwards
    const char* lock;  // their LEVEL_LOCK afterwards
  };
  const Case cases[] = {
      {0, run::kLevelLockHeld, "2", "0"},      // levelling, this run's lock
      {4, run::kLevelLockScenario, "2", "1"},  // what-if: the lock is not its own
      {3, run::kLevelLockHeld, "1", "0"},      // calculation
      {3, run::kLevelLockFree, "1", "1"},
      {5, run::kLevelLockHeld, "0", "0"},      // another kind
      {2, run::kLevelLockHeld, "7", "0"},      // copy: only the lock
      {6, run::kLevelLockFree, "7", "1"},
  };
  run_->PRINT_OPTION_BASIC = 1;
  for (const Case& c : cases) {
    exec("update PROJECT_DETAILS set LEVEL_LOCK=1, CALCULATE_FLAG=7");
    run_->optionFlag = c.optionFlag;
    run_->level_lock = c.levelLock;
    SCOPED_TRACE("kind " + std::to_string(c.optionFlag));
    EXPECT_EQ(0, run::resetLevelLockAtEnd(*run_, log_));
    EXPECT_EQ(c.flag, details("CALCULATE_FLAG", "P2"));
    EXPECT_EQ(c.lock, details("LEVEL_LOCK", "P2"));
    EXPECT_EQ("7", details("CALCULATE_FLAG", "P3"));  // not listed
    EXPECT_EQ("1", details("LEVEL_LOCK", "P3"));
  }
  EXPECT_TRUE(contains(logText(), "*  Resetting level_lock flag   *"));
}

}  // namespace
