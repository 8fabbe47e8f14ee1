// The project list of a run: the two portfolio builders and the driver's
// own list for a project or a scenario. See project_lists.h.
#include "run/project_lists.h"

#include <string>
#include <vector>

#include "store/store.h"

namespace {

// The statements of one portfolio builder: LEV_PORTF_PRJ works on the
// tables with dates, LEV_PORTF_PRJ_2 on the reduced `_x` ones.
struct PortfolioTables {
  const char* function;
  const char* deleteOwnerProjects;
  const char* deleteList;
  const char* deleteAllProjects;
  const char* selectFolderProjects;
  const char* insertProject;
  const char* insertOwnerProjects;
  const char* deleteNestedProjects;
  const char* copyToAllProjects;
  const char* selectAllProjectRanks;
  const char* selectSubProjects;
  const char* countListed;
  bool withDate;
  bool numberFailuresByPhase;  // "error (1)" before the folder rows are in, "(2)" after
};

constexpr PortfolioTables kWithDates = {
    "LEV_PORTF_PRJ",
    "delete from NAV_TMP_PROJECTS_ALL",
    "delete from NAV_TMP_PROJECTS_00",
    "delete from Lev_all_projects",
    "select W.LEVEL_ID ,W.PRIORITY ,W.ELEMENT_ID ,W.RANK ,SUBSTR(W.START_FINISH_DATE,1,10) from "
    "KOR_WBS W ,KOR_PORTFOLIOS P where ((((P.ELEMENT_ID=W.PROJECT_ID and "
    "P.ELEMENT_ID=W.ELEMENT_ID) and P.RANK like ?) and P.TYPE_ID in (1,154,288,289,290)) and "
    "W.REC_STATUS<>'D') order by W.RANK",
    "insert into NAV_TMP_PROJECTS_00 (LEVEL_ID,PRIORITY,ELEMENT_ID,RANK,START_FINISH_DATE) values "
    "(?,?,?,?,?)",
    "insert into NAV_TMP_PROJECTS_ALL select T.ELEMENT_ID ,T.RANK from PROJECT_ASSIGNMENTS A "
    ",KOR_WBS T where ((((T.PROJECT_ID=A.PROJECT_ID and T.ELEMENT_ID=A.PROJECT_ID) and "
    "T.REC_STATUS<>'D') and A.RESOURCE_ID=?) and (BITAND(A.PARTICIPANT,3)>0 or "
    "(BITAND(A.PARTICIPANT,3)=0 and T.PUBLISHED='1')))",
    "delete from NAV_TMP_PROJECTS_00 where ELEMENT_ID in (select B.ELEMENT_ID from "
    "NAV_TMP_PROJECTS_ALL A ,NAV_TMP_PROJECTS_ALL B where (A.RANK<B.RANK and "
    "SUBSTR(B.RANK,1,LENGTH(A.RANK))=A.RANK))",
    "insert into Lev_all_projects select LEVEL_ID ,PRIORITY ,ELEMENT_ID ,RANK ,START_FINISH_DATE "
    "from NAV_TMP_PROJECTS_00",
    "select RANK from Lev_all_projects order by RANK",
    "select T.LEVEL_ID ,T.PRIORITY ,T.ELEMENT_ID ,T.RANK ,T.START_FINISH_DATE from KOR_WBS T "
    "where (((T.RANK like (?||'%') and T.RANK>?) and T.TYPE_ID in (1,154,288,289,290)) and "
    "T.REC_STATUS<>'D') order by T.RANK",
    "select count('X') from NAV_TMP_PROJECTS_00 where ELEMENT_ID=?",
    true,
    true,
};

constexpr PortfolioTables kReduced = {
    "LEV_PORTF_PRJ_2",
    "delete from NAV_TMP_PROJECTS_ALL_x",
    "delete from NAV_TMP_PROJECTS_00_x",
    "delete from Lev_all_projects_x",
    "select W.LEVEL_ID ,W.PRIORITY ,W.ELEMENT_ID ,W.RANK from KOR_WBS W ,KOR_PORTFOLIOS P where "
    "((((P.ELEMENT_ID=W.PROJECT_ID and P.ELEMENT_ID=W.ELEMENT_ID) and P.RANK like ?) and "
    "P.TYPE_ID in (1,154,288,289,290)) and P.REC_STATUS<>'D') order by W.RANK",
    "insert into NAV_TMP_PROJECTS_00_x (LEVEL_ID,PRIORITY,ELEMENT_ID,RANK) values (?,?,?,?)",
    "insert into NAV_TMP_PROJECTS_ALL_x select T.ELEMENT_ID ,T.RANK from PROJECT_ASSIGNMENTS A "
    ",KOR_WBS T where ((((T.PROJECT_ID=A.PROJECT_ID and T.ELEMENT_ID=A.PROJECT_ID) and "
    "T.REC_STATUS<>'D') and A.RESOURCE_ID=?) and (BITAND(A.PARTICIPANT,3)>0 or "
    "(BITAND(A.PARTICIPANT,3)=0 and T.PUBLISHED='1')))",
    "delete from NAV_TMP_PROJECTS_00_x where ELEMENT_ID in (select B.ELEMENT_ID from "
    "NAV_TMP_PROJECTS_ALL_x A ,NAV_TMP_PROJECTS_ALL_x B where (A.RANK<B.RANK and "
    "SUBSTR(B.RANK,1,LENGTH(A.RANK))=A.RANK))",
    "insert into Lev_all_projects_x select LEVEL_ID ,PRIORITY ,ELEMENT_ID ,RANK from "
    "NAV_TMP_PROJECTS_00_x",
    "select RANK from Lev_all_projects_x order by RANK",
    "select T.LEVEL_ID ,T.PRIORITY ,T.ELEMENT_ID ,T.RANK from KOR_WBS T where (((T.RANK like "
    "(?||'%') and T.RANK>?) and T.TYPE_ID in (1,154,288,289,290)) and T.REC_STATUS<>'D') order "
    "by T.RANK",
    "select count('X') from NAV_TMP_PROJECTS_00_x where ELEMENT_ID=?",
    false,
    false,
};

// One row of a project list, every value with its null indicator.
struct ProjectRow {
  int32_t levelId = 0;
  int16_t levelIdInd = 0;
  int32_t priority = 0;
  int16_t priorityInd = 0;
  db::IdText elementId;
  int16_t elementIdInd = 0;
  db::RankText rank;
  int16_t rankInd = 0;
  db::StampText date;
  int16_t dateInd = 0;
};

class PortfolioBuilder {
 public:
  PortfolioBuilder(db::Store& store, const PortfolioTables& tables, FILE* file)
      : store_(store), t_(tables), file_(file) {}

  int32_t build(const char* owner, const char* rankLike);

 private:
  int32_t fail(int32_t rc);
  int32_t fetchRow(db::Cursor& cursor, ProjectRow& row);
  int32_t insertRow(ProjectRow& row);
  int32_t folderProjects(const char* rankLike, int& found);
  int32_t subProjects();

  db::Store& store_;
  const PortfolioTables& t_;
  FILE* file_;
  int line_ = 0;
  bool folderDone_ = false;
};

int32_t PortfolioBuilder::fail(int32_t rc) {
  if (file_ != nullptr) {
    const int counter = t_.numberFailuresByPhase && folderDone_ ? 2 : 1;
    std::fprintf(file_, "\n\n ****** error (%d) in %s: SC_STATE = %d (%s) LineNum = %d \n\n",
                 counter, t_.function, rc, store_.status().message, line_);
    std::fflush(file_);
  }
  store_.status().clearMessage();
  return rc;
}

int32_t PortfolioBuilder::fetchRow(db::Cursor& cursor, ProjectRow& row) {
  if (t_.withDate) {
    return cursor.fetch({db::HostVar(row.levelId, &row.levelIdInd),
                         db::HostVar(row.priority, &row.priorityInd),
                         db::HostVar(row.elementId, &row.elementIdInd),
                         db::HostVar(row.rank, &row.rankInd), db::HostVar(row.date, &row.dateInd)});
  }
  return cursor.fetch({db::HostVar(row.levelId, &row.levelIdInd),
                       db::HostVar(row.priority, &row.priorityInd),
                       db::HostVar(row.elementId, &row.elementIdInd),
                       db::HostVar(row.rank, &row.rankInd)});
}

int32_t PortfolioBuilder::insertRow(ProjectRow& row) {
  const db::In level(row.levelId, row.levelIdInd);
  const db::In priority(row.priority, row.priorityInd);
  const db::In id(row.elementId, row.elementIdInd);
  const db::In rank(row.rank, row.rankInd);
  if (t_.withDate) {
    return store_.execute(t_.insertProject,
                          {level, priority, id, rank, db::In(row.date, row.dateInd)});
  }
  return store_.execute(t_.insertProject, {level, priority, id, rank});
}

int32_t PortfolioBuilder::folderProjects(const char* rankLike, int& found) {
  found = 0;
  line_ = 2;
  db::Cursor cursor(store_);
  int32_t rc = cursor.open(t_.selectFolderProjects, {rankLike});
  if (rc < 0) return fail(rc);
  ProjectRow row;
  while ((rc = fetchRow(cursor, row)) == 0) {
    if (t_.withDate && row.dateInd < 0 && file_ != nullptr) {
      std::fprintf(file_,
                   "\n*** error reading data: h_start_finish_date %s h_element_id= %s h_rank= %s "
                   "h_level_id= %d \n\n",
                   row.date.c_str(), row.elementId.c_str(), row.rank.c_str(), row.levelId);
      std::fflush(file_);
    }
    line_ = 3;
    const int32_t ins = insertRow(row);
    if (ins < 0) return fail(ins);
    ++found;
    line_ = 2;
  }
  if (rc < 0) return fail(rc);
  return 0;
}

// Every project item strictly below a listed project, unless already
// listed (see the amended rule in project_lists.h).
int32_t PortfolioBuilder::subProjects() {
  line_ = 7;
  std::vector<std::string> ranks;
  {
    db::Cursor cursor(store_);
    int32_t rc = cursor.open(t_.selectAllProjectRanks);
    if (rc < 0) return fail(rc);
    db::RankText rank;
    int16_t ind = 0;
    while ((rc = cursor.fetch({db::HostVar(rank, &ind)})) == 0) {
      if (ind >= 0) ranks.emplace_back(rank.view());
    }
    if (rc < 0) return fail(rc);
  }
  for (const std::string& parentRank : ranks) {
    line_ = 8;
    db::Cursor cursor(store_);
    int32_t rc = cursor.open(t_.selectSubProjects, {parentRank, parentRank});
    if (rc < 0) return fail(rc);
    ProjectRow row;
    while ((rc = fetchRow(cursor, row)) == 0) {
      line_ = 9;
      int32_t listed = 0;
      int16_t listedInd = 0;
      const int32_t c = store_.selectInto(t_.countListed, {db::In(row.elementId, row.elementIdInd)},
                                          {db::HostVar(listed, &listedInd)});
      if (c < 0) return fail(c);
      if (listed == 0) {
        line_ = 10;
        const int32_t ins = insertRow(row);
        if (ins < 0) return fail(ins);
      }
      line_ = 8;
    }
    if (rc < 0) return fail(rc);
  }
  return 0;
}

int32_t PortfolioBuilder::build(const char* owner, const char* rankLike) {
  line_ = 1;
  for (const char* sql : {t_.deleteOwnerProjects, t_.deleteList, t_.deleteAllProjects}) {
    const int32_t rc = store_.execute(sql);
    if (rc < 0) return fail(rc);
  }
  int found = 0;
  int32_t rc = folderProjects(rankLike, found);
  if (rc < 0) return rc;
  folderDone_ = true;
  if (found > 0) {
    line_ = 4;
    if ((rc = store_.execute(t_.insertOwnerProjects, {owner})) < 0) return fail(rc);
    line_ = 5;
    if ((rc = store_.execute(t_.deleteNestedProjects)) < 0) return fail(rc);
    line_ = 6;
    if ((rc = store_.execute(t_.copyToAllProjects)) < 0) return fail(rc);
    if ((rc = subProjects()) < 0) return rc;
  }
  line_ = 11;
  if ((rc = store_.execute(t_.deleteOwnerProjects)) < 0) return fail(rc);
  return 0;
}

int buildPortfolioList(const PortfolioTables& tables, const char* owner, const char* rankLike,
                       FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  PortfolioBuilder builder(*store, tables, file);
  return builder.build(owner == nullptr ? "" : owner, rankLike == nullptr ? "" : rankLike);
}

// --- the driver's lists -----------------------------------------------------

constexpr const char* kDeleteList = "delete from NAV_TMP_PROJECTS_00";
constexpr const char* kSelectElementProjects =
    "select TW.PROJECT_ID ,TW.RANK ,SUBSTR(TW.START_FINISH_DATE,1,10) "
    ",(TW.PLANNED_EFFORT+TW.SCHED_EFFORT) ,PD.LEVEL_LOCK ,TW.PRIORITY from KOR_WBS TW "
    ",PROJECT_DETAILS PD where (((TW.RANK like ? and TW.TYPE_ID in (1,154,288,289,290)) and "
    "PD.PROJECT_ID=TW.PROJECT_ID) and TW.REC_STATUS<>'D') order by TW.RANK";
constexpr const char* kSelectScenarioProjects =
    "select TW.PROJECT_ID ,TW.RANK ,SUBSTR(temp.PROJECT_START,1,10) "
    ",(TW.PLANNED_EFFORT+TW.SCHED_EFFORT) ,PD.LEVEL_LOCK ,temp.PRIORITY from KOR_WBS TW "
    ",NAV_SCENARIOS temp ,PROJECT_DETAILS PD where (((TW.ELEMENT_ID=temp.ELEMENT_ID and "
    "TW.TYPE_ID in (1,154,288,289,290)) and PD.PROJECT_ID=TW.PROJECT_ID) and TW.REC_STATUS<>'D') "
    "order by TW.RANK";
constexpr const char* kInsertListedProject =
    "insert into NAV_TMP_PROJECTS_00 (LEVEL_ID,PRIORITY,ELEMENT_ID,RANK,START_FINISH_DATE) values "
    "(0,?,?,?,?)";
constexpr const char* kScanFolderList =
    "select TW.PROJECT_ID ,(TW.PLANNED_EFFORT+TW.SCHED_EFFORT) ,PD.LEVEL_LOCK from KOR_WBS TW "
    ",NAV_TMP_PROJECTS_00 temp ,PROJECT_DETAILS PD where ((TW.ELEMENT_ID=temp.ELEMENT_ID and "
    "TW.TYPE_ID in (1,154,288,289,290)) and PD.PROJECT_ID=TW.PROJECT_ID) order by TW.RANK asc";

constexpr int kScenarioLock = 10;

// The lock and work rules shared by both scans. Returns true when the
// project ends the scan.
bool takeProject(run::RunState& run, bool first, const db::IdText& projectId, int16_t idInd,
                 int32_t effort, int16_t effortInd, int32_t levelLock, int16_t lockInd) {
  if (first && idInd >= 0) run::copyCut(run.element_id_p, run::kIdSize, projectId.c_str());
  if (effortInd >= 0 && effort >= 1) run.hasWork = 1;
  if (lockInd < 0 || levelLock == 0) return false;
  if (run.isWhatIfScenario && levelLock == kScenarioLock) return false;
  run.level_lock = run::kLevelLockFoundLocked;
  return true;
}

}  // namespace

int LEV_PORTF_PRJ(const char* resource_id, const char* rankLike, FILE* file) {
  return buildPortfolioList(kWithDates, resource_id, rankLike, file);
}

int LEV_PORTF_PRJ_2(const char* resource_id, const char* rankLike, FILE* file) {
  return buildPortfolioList(kReduced, resource_id, rankLike, file);
}

namespace run {

int fillProjectListForElement(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  int32_t rc = store->execute(kDeleteList);
  if (rc < 0) return rc;

  db::Cursor cursor(*store);
  if (run.isWhatIfScenario) {
    rc = cursor.open(kSelectScenarioProjects);
  } else {
    rc = cursor.open(kSelectElementProjects, {run.rankLike});
  }
  if (rc < 0) return rc;

  db::IdText projectId;
  db::RankText rank;
  db::StampText day;
  int32_t effort = 0, levelLock = 0, priority = 0;
  int16_t idInd = 0, rankInd = 0, dayInd = 0, effortInd = 0, lockInd = 0, priorityInd = 0;
  bool first = true;
  while ((rc = cursor.fetch({db::HostVar(projectId, &idInd), db::HostVar(rank, &rankInd),
                             db::HostVar(day, &dayInd), db::HostVar(effort, &effortInd),
                             db::HostVar(levelLock, &lockInd),
                             db::HostVar(priority, &priorityInd)})) == 0) {
    if (run.PRINT_OPTION && file != nullptr) {
      std::fprintf(file,
                   "\n project_id= %s rank= %s start= %s effort= %d level_lock= %d priority= %d",
                   projectId.c_str(), rank.c_str(), day.c_str(), effort, levelLock, priority);
    }
    const int32_t ins = store->execute(
        kInsertListedProject, {db::In(priority, priorityInd), db::In(projectId, idInd),
                               db::In(rank, rankInd), db::In(day, dayInd)});
    if (ins < 0) return ins;
    const bool stop =
        takeProject(run, first, projectId, idInd, effort, effortInd, levelLock, lockInd);
    first = false;
    if (stop) {
      if (run.PRINT_OPTION && file != nullptr) {
        std::fprintf(file, "\n project %s is locked (level_lock= %d)\n", projectId.c_str(),
                     levelLock);
      }
      break;
    }
  }
  if (rc < 0) return rc;
  if (run.PRINT_OPTION && file != nullptr) std::fflush(file);
  return 0;
}

int scanPortfolioProjectList(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  db::Cursor cursor(*store);
  int32_t rc = cursor.open(kScanFolderList);
  if (rc < 0) return rc;

  db::IdText projectId;
  int32_t effort = 0, levelLock = 0;
  int16_t idInd = 0, effortInd = 0, lockInd = 0;
  bool first = true;
  while ((rc = cursor.fetch({db::HostVar(projectId, &idInd), db::HostVar(effort, &effortInd),
                             db::HostVar(levelLock, &lockInd)})) == 0) {
    if (run.PRINT_OPTION && file != nullptr) {
      std::fprintf(file, "\n project_id= %s effort= %d level_lock= %d", projectId.c_str(), effort,
                   levelLock);
    }
    const bool stop =
        takeProject(run, first, projectId, idInd, effort, effortInd, levelLock, lockInd);
    first = false;
    if (stop) {
      if (run.PRINT_OPTION && file != nullptr) {
        std::fprintf(file, "\n project %s is locked (level_lock= %d)\n", projectId.c_str(),
                     levelLock);
      }
      break;
    }
  }
  if (rc < 0) return rc;
  if (run.PRINT_OPTION && file != nullptr) std::fflush(file);
  return 0;
}

}  // namespace run
