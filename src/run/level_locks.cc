// The lock check, the locking of a run's projects and the release of the
// levelling lock. See level_locks.h for the marks, the stale rule and the
// choices made.
#include "run/level_locks.h"

#include <cstring>
#include <string>
#include <vector>

#include "run/project_lists.h"
#include "run/run_messages.h"
#include "store/store.h"

namespace {

constexpr int kValidTimeInMin = 120;  // older locks are stale

// --- the check ------------------------------------------------------------

constexpr const char* kSelectNow = "select SYSTIMESTAMP()";
// The age in whole minutes (interval code 4), truncated toward zero.
constexpr const char* kSelectAge =
    "select NAV_ORASTD_DB2TIMESTAMPDIFF(4,NAV_ORASTD_DB2TIMESTAMP(?),NAV_ORASTD_DB2TIMESTAMP(?))";

constexpr const char* kDeleteTmpLocked = "delete from Lev_tmp_locked";
// The oldest lock first; a lock without a time counts as taken now.
constexpr const char* kSelectFirstLock =
    "select SCENARIO_DATETIME from Lev_tmp_locked order by CASE WHEN SCENARIO_DATETIME IS NULL "
    "THEN 1 ELSE 0 END, SCENARIO_DATETIME, PROJECT_ID LIMIT 1";
constexpr const char* kSelectFirstRunLock =
    "select SCENARIO_DATETIME from Lev_tmp_locked where LEVEL_LOCK=1 order by CASE WHEN "
    "SCENARIO_DATETIME IS NULL THEN 1 ELSE 0 END, SCENARIO_DATETIME, PROJECT_ID LIMIT 1";
constexpr const char* kSelectFirstAnyLock =
    "select SCENARIO_DATETIME from Lev_tmp_locked where LEVEL_LOCK>0 order by CASE WHEN "
    "SCENARIO_DATETIME IS NULL THEN 1 ELSE 0 END, SCENARIO_DATETIME, PROJECT_ID LIMIT 1";
constexpr const char* kCountTmpRunLocks =
    "select count('X') from Lev_tmp_locked where LEVEL_LOCK=1";

constexpr const char* kReleaseLevelLocks =
    "update PROJECT_DETAILS set LEVEL_LOCK=0 where PROJECT_ID in (select PROJECT_ID from "
    "Lev_tmp_locked)";
constexpr const char* kReleaseRecordLocks =
    "update KOR_WBS set REC_STATUS='U',REC_DATETIME=SYSTIMESTAMP() where (REC_STATUS='L' and "
    "PROJECT_ID in (select PROJECT_ID from Lev_tmp_locked))";

constexpr const char* kSelectTemplated =
    "select 1 where exists (select ELEMENT_ID from KOR_WBS where (RANK like (?||'%') and "
    "REC_STATUS='T'))";

// What-if scenario: its projects are the rows of NAV_SCENARIOS.
constexpr const char* kCountScenarioLocks =
    "select count('X') from PROJECT_DETAILS where (LEVEL_LOCK=1 and PROJECT_ID in (select "
    "ELEMENT_ID from NAV_SCENARIOS))";
constexpr const char* kCollectScenarioLocks =
    "insert into Lev_tmp_locked select PD.PROJECT_ID ,PD.LEVEL_LOCK ,PD.SCENARIO_DATETIME from "
    "PROJECT_DETAILS PD where (PD.LEVEL_LOCK=1 and PD.PROJECT_ID in (select ELEMENT_ID from "
    "NAV_SCENARIOS))";
// The project rows' ranks: every item's rank begins with its project's.
constexpr const char* kSelectScenarioRanks =
    "select TW.RANK from KOR_WBS TW where (TW.PROJECT_ID in (select ELEMENT_ID from "
    "NAV_SCENARIOS) and TW.ELEMENT_ID=TW.PROJECT_ID) order by TW.RANK";

// Project or WBS item: the projects under its rank.
constexpr const char* kSelectWbsRank = "select RANK from KOR_WBS where ELEMENT_ID=?";
constexpr const char* kCountLocksUnderRank =
    "select count('X') from PROJECT_DETAILS PD ,KOR_WBS W where (((PD.LEVEL_LOCK>0 and "
    "W.ELEMENT_ID=PD.PROJECT_ID) and W.RANK like (?||'%')) and W.TYPE_ID in "
    "(1,154,288,289,290))";
constexpr const char* kCountScenarioLocksUnderRank =
    "select count('X') from PROJECT_DETAILS PD ,KOR_WBS W where (((PD.LEVEL_LOCK=10 and "
    "W.ELEMENT_ID=PD.PROJECT_ID) and W.RANK like (?||'%')) and W.TYPE_ID in "
    "(1,154,288,289,290))";
constexpr const char* kCollectLocksUnderRank =
    "insert into Lev_tmp_locked select W.ELEMENT_ID ,PD.LEVEL_LOCK ,PD.SCENARIO_DATETIME from "
    "PROJECT_DETAILS PD ,KOR_WBS W where (((PD.LEVEL_LOCK>0 and W.ELEMENT_ID=PD.PROJECT_ID) and "
    "W.RANK like (?||'%')) and W.TYPE_ID in (1,154,288,289,290))";

// Portfolio folder: its projects as LEV_PORTF_PRJ_2 lists them.
constexpr const char* kSelectFolderRank =
    "select RANK from KOR_PORTFOLIOS where (ELEMENT_ID=? and TYPE_ID=64)";
constexpr const char* kSelectTopPortfolio =
    "select ELEMENT_ID from KOR_PORTFOLIOS where (RANK=SUBSTR(?,1,8) and TYPE_ID=13)";
constexpr const char* kCountLocksInFolder =
    "select count('X') from PROJECT_DETAILS PD ,NAV_TMP_PROJECTS_00_x T where (PD.LEVEL_LOCK>0 "
    "and T.ELEMENT_ID=PD.PROJECT_ID)";
constexpr const char* kCountScenarioLocksInFolder =
    "select count('X') from PROJECT_DETAILS PD ,NAV_TMP_PROJECTS_00_x T where (PD.LEVEL_LOCK=10 "
    "and T.ELEMENT_ID=PD.PROJECT_ID)";
constexpr const char* kCollectLocksInFolder =
    "insert into Lev_tmp_locked select W.ELEMENT_ID ,PD.LEVEL_LOCK ,PD.SCENARIO_DATETIME from "
    "PROJECT_DETAILS PD ,NAV_TMP_PROJECTS_00_x W where (PD.LEVEL_LOCK>0 and "
    "W.ELEMENT_ID=PD.PROJECT_ID)";
constexpr const char* kSelectFolderProjectRanks =
    "select RANK from NAV_TMP_PROJECTS_00_x order by RANK";
constexpr const char* kDeleteFolderProjects = "delete from NAV_TMP_PROJECTS_00_x";

// --- locking by the driver --------------------------------------------------

constexpr const char* kCountImportExportLocks =
    "select count('X') where exists (select TW.PROJECT_ID ,PD.LEVEL_LOCK from KOR_WBS TW "
    ",PROJECT_DETAILS PD where (((TW.PROJECT_ID in (select ELEMENT_ID from NAV_TMP_PROJECTS_00) "
    "and TW.REC_STATUS='L') and PD.PROJECT_ID=TW.PROJECT_ID) and PD.LEVEL_LOCK<>10))";
constexpr const char* kLockWbsRows =
    "update KOR_WBS set REC_USER=?,REC_STATUS='L',REC_DATETIME=SYSTIMESTAMP() where exists "
    "(select T.ELEMENT_ID from NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=KOR_WBS.PROJECT_ID)";
constexpr const char* kLockPortfolio =
    "update KOR_PORTFOLIOS set REC_STATUS='L' where ELEMENT_ID=?";
constexpr const char* kRecordRun =
    "update PROJECT_DETAILS set LEVEL_LAST_CALL_OPTION=?,SCENARIO_NAME=?,SCENARIO_USER_ID=?,"
    "SCENARIO_DATETIME=SYSTIMESTAMP() where exists (select T.ELEMENT_ID from NAV_TMP_PROJECTS_00 "
    "T where T.ELEMENT_ID=PROJECT_DETAILS.PROJECT_ID)";
constexpr const char* kSetScenarioLock =
    "update PROJECT_DETAILS AS PD set LEVEL_LOCK=10 where exists (select S.ELEMENT_ID from "
    "NAV_SCENARIOS S where S.ELEMENT_ID=PD.PROJECT_ID)";
constexpr const char* kSetRunLock =
    "update PROJECT_DETAILS AS PD set LEVEL_LOCK=1 where exists (select T.ELEMENT_ID from "
    "NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PD.PROJECT_ID)";
constexpr const char* kCallCommit = "call LEVEL_COMMIT() into ?";

// The claim: the row locks of the listed projects, then their locks read
// again while held.
constexpr const char* kHoldListedProjects =
    "update PROJECT_DETAILS set LEVEL_LOCK=LEVEL_LOCK where exists (select T.ELEMENT_ID from "
    "NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PROJECT_DETAILS.PROJECT_ID)";
constexpr const char* kCountListedLocks =
    "select count('X') from PROJECT_DETAILS PD where (PD.LEVEL_LOCK<>0 and exists (select "
    "T.ELEMENT_ID from NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PD.PROJECT_ID))";
constexpr const char* kCountListedRunLocks =
    "select count('X') from PROJECT_DETAILS PD where (PD.LEVEL_LOCK=1 and exists (select "
    "T.ELEMENT_ID from NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PD.PROJECT_ID))";

constexpr const char* kResetLockAndFlag =
    "update PROJECT_DETAILS set LEVEL_LOCK=0,CALCULATE_FLAG=? where exists (select T.ELEMENT_ID "
    "from NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PROJECT_DETAILS.PROJECT_ID)";
constexpr const char* kSetCalculateFlag =
    "update PROJECT_DETAILS set CALCULATE_FLAG=? where exists (select T.ELEMENT_ID from "
    "NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PROJECT_DETAILS.PROJECT_ID)";
constexpr const char* kResetLock =
    "update PROJECT_DETAILS set LEVEL_LOCK=0 where exists (select T.ELEMENT_ID from "
    "NAV_TMP_PROJECTS_00 T where T.ELEMENT_ID=PROJECT_DETAILS.PROJECT_ID)";

// Time stamps may arrive with other separators ("2004-01-01-08.00.00...");
// the day/time separator becomes a blank and the hour/minute one a colon,
// where the text is long enough to have them.
void normaliseStamp(char* stamp) {
  const std::size_t n = std::strlen(stamp);
  if (n > 10) stamp[10] = ' ';
  if (n > 13) stamp[13] = ':';
}

// One run of the check. Results: 0 free, a positive code, or a negative
// status (already logged).
class LockCheck {
 public:
  LockCheck(db::Store& store, FILE* file) : store_(store), file_(file) {}

  int32_t run(const char* elementId, int optionFlag, int* isFolder);
  int line() const { return line_; }

 private:
  int32_t whatIfScenario();
  int32_t projectElement(const std::string& rank);
  int32_t portfolioFolder(const char* elementId);
  int32_t folderLocksAndTemplates(const std::string& owner, const std::string& rankLike);

  int32_t count(const char* sql, db::Binds in, int32_t& n);
  int32_t decideOnOldestLock(const char* selectFirst, const char* staleLine,
                             const char* lockedLine);
  int32_t release();
  int32_t templatedUnder(const std::string& rank, bool& found);
  int32_t anyTemplated(const char* selectRanks, db::Binds in, bool& found);

  int32_t fail(int32_t rc);
  void log(const char* text);

  db::Store& store_;
  FILE* file_;
  int line_ = 0;
  db::StampText now_;
};

void LockCheck::log(const char* text) {
  if (file_ == nullptr) return;
  std::fprintf(file_, "\n%s \n", text);
  std::fflush(file_);
}

int32_t LockCheck::fail(int32_t rc) {
  if (file_ != nullptr) {
    std::fprintf(file_,
                 "\n\n ****** error (1) in LEV_IS_LEVEL_LOCKED: SC_STATE = %d (%s) LineNum = %d "
                 "\n\n",
                 rc, store_.status().message, line_);
    std::fflush(file_);
  }
  store_.status().clearMessage();
  return rc;
}

int32_t LockCheck::count(const char* sql, db::Binds in, int32_t& n) {
  n = 0;
  int16_t ind = 0;
  const int32_t rc = store_.selectInto(sql, in, {db::HostVar(n, &ind)});
  if (rc < 0) return fail(rc);
  if (rc == db::kSqlNoData || ind < 0) n = 0;
  return 0;
}

int32_t LockCheck::release() {
  line_ = 90;
  int32_t rc = store_.execute(kReleaseLevelLocks);
  if (rc < 0) return fail(rc);
  line_ = 91;
  rc = store_.execute(kReleaseRecordLocks);
  if (rc < 0) return fail(rc);
  return 0;
}

// The age of the oldest collected lock decides: stale locks are all
// released and the element is free (0); otherwise it is locked (200114).
int32_t LockCheck::decideOnOldestLock(const char* selectFirst, const char* staleLine,
                                      const char* lockedLine) {
  line_ = 80;
  db::StampText lockTime;
  int16_t ind = 0;
  int32_t rc = store_.selectInto(selectFirst, {}, {db::HostVar(lockTime, &ind)});
  if (rc < 0) return fail(rc);
  if (rc == db::kSqlNoData) log("error (1) in LEV_IS_LEVEL_LOCKED: no locked data in PROJECT_DETAILS");
  if (rc == db::kSqlNoData || ind < 0) lockTime.assign(now_.view());

  char nowText[db::StampText::kCapacity];
  char lockText[db::StampText::kCapacity];
  std::memcpy(nowText, now_.c_str(), now_.len + 1u);
  std::memcpy(lockText, lockTime.c_str(), lockTime.len + 1u);
  normaliseStamp(nowText);
  normaliseStamp(lockText);

  line_ = 81;
  int32_t age = 0;
  int16_t ageInd = 0;
  rc = store_.selectInto(kSelectAge, {nowText, lockText},
                         {db::HostVar(age, &ageInd)});
  if (rc < 0) return fail(rc);
  if (ageInd < 0) age = 0;
  if (age > kValidTimeInMin) {
    log(staleLine);
    return release();
  }
  log(lockedLine);
  return run::kErrLocked;
}

int32_t LockCheck::templatedUnder(const std::string& rank, bool& found) {
  int32_t one = 0;
  int16_t ind = 0;
  const int32_t rc = store_.selectInto(kSelectTemplated, {rank}, {db::HostVar(one, &ind)});
  if (rc < 0) return fail(rc);
  found = rc == 0;
  return 0;
}

int32_t LockCheck::anyTemplated(const char* selectRanks, db::Binds in, bool& found) {
  found = false;
  std::vector<std::string> ranks;
  {
    db::Cursor cursor(store_);
    int32_t rc = cursor.open(selectRanks, in);
    if (rc < 0) return fail(rc);
    db::RankText rank;
    int16_t ind = 0;
    while ((rc = cursor.fetch({db::HostVar(rank, &ind)})) == 0) {
      if (ind >= 0) ranks.emplace_back(rank.view());
    }
    if (rc < 0) return fail(rc);
  }
  for (const std::string& rank : ranks) {
    const int32_t rc = templatedUnder(rank, found);
    if (rc != 0 || found) return rc;
  }
  return 0;
}

// Case (1): the projects of a what-if scenario.
int32_t LockCheck::whatIfScenario() {
  line_ = 10;
  int32_t locked = 0;
  int32_t rc = count(kCountScenarioLocks, {}, locked);
  if (rc != 0) return rc;
  if (locked > 0) {
    line_ = 11;
    if ((rc = store_.execute(kDeleteTmpLocked)) < 0) return fail(rc);
    line_ = 12;
    if ((rc = store_.execute(kCollectScenarioLocks)) < 0) return fail(rc);
    const int32_t decided = decideOnOldestLock(
        kSelectFirstLock,
        "LEV_IS_LEVEL_LOCKED: unlocking a scenario that was locked more than 2h ago !!!",
        "(1-1) exit here because one of the projects is locked in scenario");
    if (decided < 0) return decided;
    line_ = 13;
    if ((rc = store_.execute(kDeleteTmpLocked)) < 0) return fail(rc);
    if (decided != 0) return decided;
  }
  line_ = 14;
  bool templated = false;
  rc = anyTemplated(kSelectScenarioRanks, {}, templated);
  if (rc != 0) return rc;
  if (templated) {
    log("(1-2) exit here because some items are templated within this scenario");
    return run::kErrTemplated;
  }
  return 0;
}

// Case (3): a project or WBS item, with the projects under its rank.
int32_t LockCheck::projectElement(const std::string& rank) {
  line_ = 30;
  int32_t locked = 0;
  int32_t rc = count(kCountLocksUnderRank, {rank}, locked);
  if (rc != 0) return rc;
  if (locked > 0) {
    line_ = 31;
    int32_t reserved = 0;
    if ((rc = count(kCountScenarioLocksUnderRank, {rank}, reserved)) != 0) return rc;
    if (reserved == 0) {
      line_ = 32;
      if ((rc = store_.execute(kDeleteTmpLocked)) < 0) return fail(rc);
      line_ = 33;
      if ((rc = store_.execute(kCollectLocksUnderRank, {rank})) < 0) return fail(rc);
      int32_t runLocks = 0;
      if ((rc = count(kCountTmpRunLocks, {}, runLocks)) != 0) return rc;
      int32_t decided = 0;
      if (runLocks > 0) {
        decided = decideOnOldestLock(
            kSelectFirstRunLock,
            "LEV_IS_LEVEL_LOCKED: unlocking a project that was locked more than 2h ago!!!",
            "(3-1) exit here because project is locked");
        if (decided < 0) return decided;
      }
      line_ = 34;
      if ((rc = store_.execute(kDeleteTmpLocked)) < 0) return fail(rc);
      if (decided != 0) return decided;
    }
  }
  line_ = 35;
  bool templated = false;
  if ((rc = templatedUnder(rank, templated)) != 0) return rc;
  if (templated) {
    log("(3-2) exit here because some items are templated within this project");
    return run::kErrTemplated;
  }
  return 0;
}

int32_t LockCheck::folderLocksAndTemplates(const std::string& owner,
                                           const std::string& rankLike) {
  line_ = 22;
  if (LEV_PORTF_PRJ_2(owner.c_str(), rankLike.c_str(), file_) != 0) {
    log("faild to select project list from portfolio");
    return run::kErrNotExisting;
  }
  line_ = 23;
  int32_t locked = 0;
  int32_t rc = count(kCountLocksInFolder, {}, locked);
  if (rc != 0) return rc;
  if (locked > 0) {
    line_ = 24;
    int32_t reserved = 0;
    if ((rc = count(kCountScenarioLocksInFolder, {}, reserved)) != 0) return rc;
    if (reserved == 0) {
      line_ = 25;
      if ((rc = store_.execute(kDeleteTmpLocked)) < 0) return fail(rc);
      line_ = 26;
      if ((rc = store_.execute(kCollectLocksInFolder)) < 0) return fail(rc);
      int32_t runLocks = 0;
      if ((rc = count(kCountTmpRunLocks, {}, runLocks)) != 0) return rc;
      int32_t decided = 0;
      if (runLocks > 0) {
        decided = decideOnOldestLock(kSelectFirstAnyLock,
                                     "unlocking a portfolio that was locked more than 2h ago !!!",
                                     "(2-1) exit here because portfolio is locked");
        if (decided < 0) return decided;
      }
      line_ = 27;
      if ((rc = store_.execute(kDeleteTmpLocked)) < 0) return fail(rc);
      if (decided != 0) return decided;
    }
  }
  line_ = 28;
  bool templated = false;
  if ((rc = anyTemplated(kSelectFolderProjectRanks, {}, templated)) != 0) return rc;
  if (templated) {
    log("(2-2) exit here because some items are templated within this portfolio");
    return run::kErrTemplated;
  }
  return 0;
}

// Case (2): a portfolio folder; its project list lives in
// NAV_TMP_PROJECTS_00_x for the time of the check.
int32_t LockCheck::portfolioFolder(const char* elementId) {
  line_ = 20;
  db::RankText rank;
  int16_t rankInd = 0;
  int32_t rc = store_.selectInto(kSelectFolderRank, {elementId}, {db::HostVar(rank, &rankInd)});
  if (rc < 0) return fail(rc);
  if (rc == db::kSqlNoData) {
    log("faild to select portfolio rank");
    return run::kErrNotExisting;
  }
  const std::string folderRank(rank.view());

  line_ = 21;
  db::IdText owner;
  int16_t ownerInd = 0;
  rc = store_.selectInto(kSelectTopPortfolio, {folderRank}, {db::HostVar(owner, &ownerInd)});
  if (rc < 0) return fail(rc);
  if (rc == db::kSqlNoData) owner.assign("");

  const int32_t result = folderLocksAndTemplates(std::string(owner.view()), folderRank + "%");
  if (result < 0) return result;
  line_ = 29;
  if ((rc = store_.execute(kDeleteFolderProjects)) < 0) return fail(rc);
  return result;
}

int32_t LockCheck::run(const char* elementId, int optionFlag, int* isFolder) {
  line_ = 1;
  int16_t nowInd = 0;
  int32_t rc = store_.selectInto(kSelectNow, {}, {db::HostVar(now_, &nowInd)});
  if (rc < 0) return fail(rc);

  if (optionFlag == 4 || optionFlag == 6) return whatIfScenario();

  line_ = 2;
  db::RankText rank;
  int16_t rankInd = 0;
  rc = store_.selectInto(kSelectWbsRank, {elementId}, {db::HostVar(rank, &rankInd)});
  if (rc < 0) return fail(rc);
  if (rc == 0) return projectElement(std::string(rank.view()));
  if (isFolder != nullptr) *isFolder = 1;
  return portfolioFolder(elementId);
}

}  // namespace

int LEV_IS_LEVEL_LOCKED(const char* element_id, int optionFlag, int* isFolderWithinPortfolio,
                        FILE* file) {
  if (isFolderWithinPortfolio != nullptr) *isFolderWithinPortfolio = 0;
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  LockCheck check(*store, file);
  int32_t result = 0;
  try {
    result = check.run(element_id == nullptr ? "" : element_id, optionFlag,
                       isFolderWithinPortfolio);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n\n ****** error in LEV_IS_LEVEL_LOCKED: LineNum = %d throw exception to "
                   "upper level \n\n",
                   check.line());
      std::fflush(file);
    }
    throw;
  }
  store->status().code = result;
  return result;
}

namespace run {

namespace {

int32_t commit(db::Store& store) {
  int32_t result = 0;
  db::HostVar resultVar(result);
  return store.call(kCallCommit, {}, &resultVar);
}

}  // namespace

int lockSelectedProjects(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  if (run.PRINT_OPTION_BASIC) printBanner(file, "*  Locking All Selected Projects *");

  int32_t held = 0;
  int16_t heldInd = 0;
  int32_t rc = store->selectInto(kCountImportExportLocks, {}, {db::HostVar(held, &heldInd)});
  if (rc < 0) return rc;
  if (rc == 0 && heldInd >= 0 && held > 0) {
    // The lock taken by the claim goes back before the notification
    // commits: this exit skips the finalisation's reset.
    if (run.level_lock == kLevelLockHeld) {
      if ((rc = store->execute(kResetLock)) < 0) return rc;
      run.level_lock = kLevelLockFree;
    }
    prependMessage(run, "One or more sub-elements could be locked by Import/Export. \n");
    notifyRun(run, "[Failed] ", file);
    return kErrImportExportLock;
  }

  rc = store->execute(kLockWbsRows, {run.rec_user});
  if (rc < 0) return rc;
  run.allProjectsAreLockedByMe = 1;
  if (run.isFolderWithinPortfolio && !run.isWhatIfScenario) {
    rc = store->execute(kLockPortfolio, {run.element_id});
    if (rc < 0) return rc;
  }
  sendProgress(run, "All Selected Projects are Locked. ", file);
  return 0;
}

int claimListedProjects(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  if (run.level_lock != kLevelLockFree) return 0;

  int32_t rc = store->execute(kHoldListedProjects);
  if (rc < 0) return rc;
  int32_t taken = 0;
  int16_t takenInd = 0;
  rc = store->selectInto(run.isWhatIfScenario ? kCountListedRunLocks : kCountListedLocks, {},
                         {db::HostVar(taken, &takenInd)});
  if (rc < 0) return rc;
  if (rc == 0 && takenInd >= 0 && taken > 0) {
    if (file != nullptr) {
      std::fprintf(file, "\n a project of the list was locked by another run meanwhile\n");
      std::fflush(file);
    }
    run.level_lock = kLevelLockFoundLocked;
    return 0;
  }
  if (run.isWhatIfScenario) return 0;
  if ((rc = store->execute(kSetRunLock)) < 0) return rc;
  run.level_lock = kLevelLockHeld;
  return 0;
}

int recordRunAndSetLevelLock(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;

  const int32_t lastCallOption = run.optionFlag <= 0 ? 1 : run.optionFlag;
  const char* name = run.element_name[0] != '\0' ? run.element_name : run.root_node_name;
  int32_t rc = store->execute(kRecordRun, {lastCallOption, name, run.rec_user});
  if (rc < 0) return rc;

  if (run.isWhatIfScenario && run.level_lock == kLevelLockFree) {
    if ((rc = store->execute(kSetScenarioLock)) < 0) return rc;
    run.level_lock = kLevelLockScenario;
    if ((rc = commit(*store)) < 0) return rc;
  } else if (run.level_lock != kLevelLockScenario) {
    if ((rc = store->execute(kSetRunLock)) < 0) return rc;
    run.level_lock = kLevelLockHeld;
    if ((rc = commit(*store)) < 0) return rc;
  }
  sendProgress(run, "The list of Projects is created.", file);
  return 0;
}

int resetLevelLockAtEnd(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  if (run.PRINT_OPTION_BASIC) printBanner(file, "*  Resetting level_lock flag   *");

  const bool holdsLock = run.level_lock == kLevelLockHeld;
  if (run.optionFlag == 2 || run.optionFlag == 6) {
    if (!holdsLock) return 0;
    const int32_t rc = store->execute(kResetLock);
    return rc < 0 ? rc : 0;
  }
  int32_t calculateFlag = 0;
  if (run.optionFlag == 0 || run.optionFlag == 4) calculateFlag = 2;
  if (run.optionFlag == 3) calculateFlag = 1;
  const int32_t rc = store->execute(holdsLock ? kResetLockAndFlag : kSetCalculateFlag,
                                    {calculateFlag});
  return rc < 0 ? rc : 0;
}

}  // namespace run
