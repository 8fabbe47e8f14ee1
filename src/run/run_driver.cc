// The run driver: one whole run for one element (a project or WBS item, a
// portfolio folder, or the projects of a what-if scenario), from the lock
// check to the finalisation.
//
//   1-2   date origin, date format, today; the start banner
//   3     classify the element, check its locks
//   4-7   host variables, storage manager, lists, the root, the subject
//   8-9   the project list; a locked project ends the run (200114)
//   10    copy runs: every project calculated at least once (200317)
//   11    lock the projects, record the run (200219 returns at once)
//   12    work tables, the WBS copied into Lev_kor_wbs
//   13    the root projects, the load phase, the processing sequence and
//         the report of the circularity tables
//   14    levelling (kinds 0, 3, 4) or copy (2, 6); the lock reset
//   15    the finalisation, whatever happened before
//
// Exits: an SQL failure (negative status) writes its line and goes to the
// finalisation; a called step's non-zero result goes there too; 200219
// returns at once (no lock was taken; the run's records are still freed);
// an exception from any step becomes 200320 and the finalisation runs.
// Nothing propagates out of the driver.
//
// Choices:
// - The lock reset of step 14 also runs for the run kinds that neither
//   level nor copy (1, 5, ...): their projects were locked in step 11, and
//   leaving LEVEL_LOCK at 1 would block every later run of those projects
//   for two hours; CALCULATE_FLAG then becomes 0.
// - The root projects are read from the project list in RANK order, so a
//   project always comes before its sub-projects (the load phase skips a
//   root it has already loaded as a sub-project).
// - The circularity lists are sent as progress notifications ("[Started] "
//   subject) when more than 4000 characters of the message are free; the
//   final notification then carries "[Circular] ".
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "calendar/dates.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "network/load_sequence.h"
#include "network/processing_sequence.h"
#include "run/cleanup.h"
#include "run/entry_points.h"
#include "run/finalisation.h"
#include "run/level_locks.h"
#include "run/levelling_stage.h"
#include "run/project_lists.h"
#include "run/run_messages.h"
#include "run/run_state.h"
#include "store/progress.h"
#include "store/store.h"

namespace run {
namespace {

constexpr const char* kSetDateFormat = "call SET_DATEFORMAT()";
constexpr const char* kSelectNow = "select SYSTIMESTAMP()";
constexpr const char* kSelectPortfolioChildCount =
    "select CHILD_COUNT from KOR_PORTFOLIOS where (ELEMENT_ID=? and TYPE_ID=64)";
constexpr const char* kDeleteInputData = "delete from Lev_input_data";
constexpr const char* kDeleteInputAssData = "delete from Lev_input_ass_data";
constexpr const char* kSelectWbsRoot = "select RANK ,ELEMENT_NAME from kor_wbs where ELEMENT_ID=?";
constexpr const char* kSelectPortfolioRoot =
    "select RANK ,SUBSTR(RANK,1,8) ,ELEMENT_NAME from KOR_PORTFOLIOS where ELEMENT_ID=?";
constexpr const char* kSelectTopPortfolio =
    "select ELEMENT_ID from KOR_PORTFOLIOS where (RANK=? and TYPE_ID=13)";
constexpr const char* kCountNeverCalculated =
    "select count(PD.PROJECT_ID) from PROJECT_DETAILS PD where (PD.LEVEL_LAST_CALL_OPTION=0 "
    "and PD.PROJECT_ID in (select ELEMENT_ID from NAV_TMP_PROJECTS_00))";
constexpr const char* kCountNeverCalculatedScenario =
    "select count(PD.PROJECT_ID) from PROJECT_DETAILS PD where (PD.LEVEL_LAST_CALL_OPTION=0 "
    "and PD.PROJECT_ID in (select ELEMENT_ID from NAV_SCENARIOS))";
constexpr const char* kDeleteCirc[3] = {"delete from Lev_circ_1", "delete from Lev_circ_2",
                                        "delete from Lev_circ_3"};
constexpr const char* kDeleteWorkWbs = "delete from Lev_kor_wbs";
constexpr const char* kCopyWbs =
    "insert into Lev_kor_wbs (PROJECT_ID,RANK,ELEMENT_ID,LEVEL_ID,PRIORITY,CALC_PRIORITY,"
    "TYPE_ID,MINUTE_PER_DAY,PLANNED_DURATION,SCHED_DURATION,PROPOSED_START,START_DT,"
    "UNRESOLVED_START,UNRESOLVED_FINISH,UNRESOLVED_DURATION,CONSTRAINT_TYPE,CONSTRAINT_DT,"
    "LEVEL_INDEX,LEVEL_CONFLICT,LEVEL_START,LEVEL_FINISH,LEVEL_DURATION,TOTAL_SLACK,"
    "LEVEL_STATE,TASK_TYPE,ROLLUP_BITS) select W.PROJECT_ID ,W.RANK ,W.ELEMENT_ID ,"
    "W.LEVEL_ID ,T.PRIORITY ,W.CALC_PRIORITY ,W.TYPE_ID ,W.MINUTE_PER_DAY ,"
    "W.PLANNED_DURATION ,W.SCHED_DURATION ,W.PROPOSED_START ,W.START_DT ,"
    "W.UNRESOLVED_START ,W.UNRESOLVED_FINISH ,W.UNRESOLVED_DURATION ,W.CONSTRAINT_TYPE ,"
    "W.CONSTRAINT_DT ,W.LEVEL_INDEX ,W.LEVEL_CONFLICT ,W.LEVEL_START ,W.LEVEL_FINISH ,"
    "W.LEVEL_DURATION ,W.TOTAL_SLACK ,W.LEVEL_STATE ,W.TASK_TYPE ,W.ROLLUP_BITS from "
    "KOR_WBS W ,NAV_TMP_PROJECTS_00 T where W.PROJECT_ID=T.ELEMENT_ID";
constexpr const char* kSelectRootProjects =
    "select ELEMENT_ID ,PRIORITY ,START_FINISH_DATE from NAV_TMP_PROJECTS_00 "
    "order by RANK ,ELEMENT_ID";
constexpr const char* kSelectCirc[3] = {
    "select WBS_CODE_1 ,ELEMENT_ID_1 ,TYPE_ID_1 ,LEVEL_ID_1 from Lev_circ_1 order by "
    "SEQ_NUM_RECORDS",
    "select WBS_CODE_1 ,ELEMENT_ID_1 ,TYPE_ID_1 ,LEVEL_ID_1 from Lev_circ_2 order by "
    "SEQ_NUM_RECORDS",
    "select WBS_CODE_1 ,ELEMENT_ID_1 ,TYPE_ID_1 ,LEVEL_ID_1 from Lev_circ_3 order by "
    "SEQ_NUM_RECORDS"};
constexpr const char* kCircIntro[3] = {
    "Some 'sub-optimal/circular' dependences were detected in traversing of the Network tree "
    "in Forward directon.\nThe printed values are:  wbs_code, element_id, type_id & level_id. "
    "\n\n",
    "Some 'sub-optimal/circular' dependences were detected in traversing of the Network tree "
    "in Backward directon.\nThe printed values are:  wbs_code, element_id, type_id & "
    "level_id. \n\n",
    "Some 'sub-optimal/circular' dependences were detected during calculation of "
    "'level_index' factor.\nThe printed values are:  wbs_code, element_id, type_id & "
    "level_id. \n\n"};
constexpr const char* kTimephaseLeveled = "call LEVEL_FC_TIMEPHASE_LEVELED() into ?";
constexpr const char* kNoDate = "1899-12-30 00:00:00.000000";
constexpr int kCircRowsListed = 50;
constexpr std::size_t kRoomForLongBlock = 4000;

// How a step left the run.
enum class Exit { kContinue, kFinalize, kImmediate };

class Driver {
 public:
  Driver(RunState& run, db::Store& store, FILE* file) : run_(run), store_(store), file_(file) {}

  // Steps 1 to 14; run_.errCode holds the result.
  Exit steps();

 private:
  Exit sqlFailure(int status);
  Exit startAndCheckLocks();   // 1-3
  Exit prepareRun();           // 4-7
  Exit selectProjects();       // 8-10
  Exit lockAndCopyWbs();       // 11-12
  Exit loadAndSchedule();      // 13
  Exit levelOrCopy();          // 14
  void reportCircularTables();
  void createListsAndManager();
  bool levelsOrCalculates() const {
    return run_.optionFlag == 0 || run_.optionFlag == 3 || run_.optionFlag == 4;
  }
  bool copies() const { return run_.optionFlag == 2 || run_.optionFlag == 6; }

  RunState& run_;
  db::Store& store_;
  FILE* file_;
};

Exit Driver::sqlFailure(int status) {
  run_.errCode = status;
  logSqlFailure(run_, status, file_);
  return Exit::kFinalize;
}

Exit Driver::startAndCheckLocks() {
  run_._wneverLine = 1;
  db::reportProgress("checking locks", 0, 0);
  int rc = store_.call(kSetDateFormat);
  if (rc < 0) return sqlFailure(rc);
  db::StampText now;
  int16_t nowInd = 0;
  rc = store_.selectInto(kSelectNow, {}, {db::HostVar(now, &nowInd)});
  if (rc < 0) return sqlFailure(rc);
  copyCut(run_.todays_DT, kStampSize, now.c_str());

  run_._wneverLine = 2;
  std::fprintf(file_,
               "\n\n*********************************************************************\n"
               "**               S t a r t       L e v e l i n g                   **\n"
               "*********************************************************************\n"
               " element_id                   : %s\n"
               " Todays Date                  : %s\n"
               " Calculate as of              : %s\n"
               " optionFlag                   : %d\n"
               " optionConsiderProjAssign     : %d\n"
               " optionConsiderConstraints    : %d\n"
               " optionConsiderUidsLengthSupr : %d\n",
               run_.element_id, run_.todays_DT, run_.currentDate, run_.optionFlag,
               kOptionConsiderProjAssign, kOptionConsiderConstraints,
               kOptionConsiderUidsLengthSupr);
  std::fflush(file_);

  run_._wneverLine = 3;
  bool emptyPortfolio = false;
  if (run_.element_id[0] != '\0') {
    int32_t childCount = 0;
    int16_t childInd = 0;
    rc = store_.selectInto(kSelectPortfolioChildCount, {run_.element_id},
                           {db::HostVar(childCount, &childInd)});
    if (rc < 0) return sqlFailure(rc);
    emptyPortfolio = rc == 0 && childInd >= 0 && childCount == 0;
  }
  if (emptyPortfolio) {
    run_.errCode = kErrEmptyPortfolio;
  } else {
    run_.errCode =
        LEV_IS_LEVEL_LOCKED(run_.element_id, run_.optionFlag, &run_.isFolderWithinPortfolio,
                            file_);
    if (run_.errCode == 0) run_.isOriginallyLocked = 0;
  }
  std::fprintf(file_, " isFolderWithinPortfolio      : %d\n", run_.isFolderWithinPortfolio);
  std::fflush(file_);
  return Exit::kContinue;
}

void Driver::createListsAndManager() {
  run_.sm = smanagerCreateNew();
  setSmanagerProjectsPoolSize(run_.sm, 50);
  if (copies()) return;
  run_.input_projects_list = ll_new(projectMatch, getProjectName);
  run_.projects_list = ll_new(projectMatch, getProjectName);
  run_.ext_projects_list = ll_new(projectMatch, getProjectName);
  run_.root_act_list = ll_new(activityMatch, getActivityName);
  run_.activities_list = ll_new(activityMatch, getActivityName);
  run_.proj_act_OnExt_dep_list = ll_new(activityMatch, getActivityName);
  run_.ext_pred_list = ll_new(activityMatch, getActivityName);
  run_.act_tmp_list = ll_new(activityMatch, getActivityName);
  run_.act_tmp_list_3 = ll_new(activityMatch, getActivityName);
  run_.act_tmp_list_4 = ll_new(activityMatch, getActivityName);
  run_.act_tmp_list_5 = ll_new(activityMatch, getActivityName);
  run_.assignments_list = ll_new(assignmentMatch, getAssignmentName);
}

Exit Driver::prepareRun() {
  run_._wneverLine = 4;
  copyCut(run_.element_id_p, kIdSize, run_.element_id);
  copyCut(run_.root_node_name, kRootNameSize, run_.element_name);
  run_.g_start = std::clock();
  run_.isWhatIfScenario = (run_.optionFlag == 4 || run_.optionFlag == 6) ? 1 : 0;
  if (run_.errCode != 0) return Exit::kFinalize;

  run_._wneverLine = 5;
  createListsAndManager();
  run_.optionMoveProjSFDate =
      (run_.optionFlag == 4 ||
       (run_.currentDate[0] != '\0' && std::strncmp(run_.currentDate, kNoDate, 27) != 0))
          ? 1
          : 0;
  if (!copies()) {
    int rc = store_.execute(kDeleteInputData);
    if (rc < 0) return sqlFailure(rc);
    rc = store_.execute(kDeleteInputAssData);
    if (rc < 0) return sqlFailure(rc);
  }

  run_._wneverLine = 6;
  if (run_.element_id[0] != '\0') {
    run_.root_table_type = 1;
    db::RankText rank;
    db::NameText name;
    int16_t ind[3] = {0, 0, 0};
    int rc = store_.selectInto(kSelectWbsRoot, {run_.element_id},
                               {db::HostVar(rank, &ind[0]), db::HostVar(name, &ind[1])});
    if (rc < 0) return sqlFailure(rc);
    if (rc == db::kSqlNoData) {
      run_.root_table_type = 18;
      db::RankText top;
      rc = store_.selectInto(kSelectPortfolioRoot, {run_.element_id},
                             {db::HostVar(rank, &ind[0]), db::HostVar(top, &ind[2]),
                              db::HostVar(name, &ind[1])});
      if (rc < 0) return sqlFailure(rc);
      if (rc == db::kSqlNoData) {
        run_.errCode = kErrNotExisting;
        return Exit::kFinalize;
      }
      db::IdText owner;
      int16_t ownerInd = 0;
      rc = store_.selectInto(kSelectTopPortfolio, {top}, {db::HostVar(owner, &ownerInd)});
      if (rc < 0) return sqlFailure(rc);
      copyCut(run_.resource_id, kIdSize, ownerInd < 0 ? "" : owner.c_str());
    }
    copyCut(run_.rank, kRankSize, ind[0] < 0 ? "" : rank.c_str());
    if (ind[1] >= 0) copyCut(run_.root_node_name, kRootNameSize, name.c_str());
  } else {
    copyCut(run_.rank, kRankSize, "0000");
    run_.root_table_type = 1;
  }
  const std::string like = std::string(run_.rank) + "%";
  copyCut(run_.rankLike, kRankSize, like.c_str());

  run_._wneverLine = 7;
  std::string subject;
  switch (run_.optionFlag) {
    case 0: subject = "Leveling "; break;
    case 3: subject = "Calculation of "; break;
    case 4: subject = "What-if? Scenario: "; break;
    case 2: subject = "Copying Calculated/Leveled Results for "; break;
    case 6: subject = "What-if? Scenario: Copying Calculated Results for Scenario "; break;
    default: subject = "Calculate/Leveling "; break;
  }
  if (!run_.isWhatIfScenario) subject += run_.isFolderWithinPortfolio ? "Portfolio " : "Project ";
  subject += std::string("'") + run_.root_node_name + "'";
  copyCut(run_.subject, kSubjectSize, subject.c_str());
  copyCut(run_.message, kMessageSize, "Started.");
  if (!run_.isWhatIfScenario) notifyRun(run_, "[Started] ", file_);
  return Exit::kContinue;
}

Exit Driver::selectProjects() {
  run_._wneverLine = 8;
  db::reportProgress("selecting projects", 0, 0);
  int rc = 0;
  if (run_.isFolderWithinPortfolio) {
    rc = LEV_PORTF_PRJ(run_.resource_id, run_.rankLike, file_);
    if (rc != 0) {
      run_.errCode = rc;
      return Exit::kFinalize;
    }
    rc = scanPortfolioProjectList(run_, file_);
  } else {
    rc = fillProjectListForElement(run_, file_);
  }
  if (rc < 0) return sqlFailure(rc);
  if (rc != 0) {
    run_.errCode = rc;
    return Exit::kFinalize;
  }

  run_._wneverLine = 9;
  if (run_.level_lock == kLevelLockFoundLocked) {
    run_.errCode = kErrLocked;
    return Exit::kFinalize;
  }

  run_._wneverLine = 10;
  if (copies()) {
    int32_t never = 0;
    int16_t neverInd = 0;
    rc = store_.selectInto(
        run_.optionFlag == 6 ? kCountNeverCalculatedScenario : kCountNeverCalculated, {},
        {db::HostVar(never, &neverInd)});
    if (rc < 0) return sqlFailure(rc);
    if (never > 0) {
      prependMessage(run_,
                     "One must apply Calculate/Level before attempting to Copy Calculated "
                     "Results.");
      notifyRun(run_, "[Failed] ", file_);
      run_.errCode = kErrNeverCalculated;
      return Exit::kFinalize;
    }
  }

  // The lock decision made atomic (level_locks.h, "Amended rule"): last in
  // this step, so that no exit before the record locks leaves the lock set.
  rc = claimListedProjects(run_, file_);
  if (rc < 0) return sqlFailure(rc);
  if (run_.level_lock == kLevelLockFoundLocked) {
    run_.errCode = kErrLocked;
    return Exit::kFinalize;
  }
  return Exit::kContinue;
}

Exit Driver::lockAndCopyWbs() {
  run_._wneverLine = 11;
  db::reportProgress("locking projects", 0, 0);
  int rc = lockSelectedProjects(run_, file_);
  if (rc == kErrImportExportLock) {
    run_.errCode = rc;
    return Exit::kImmediate;
  }
  if (rc < 0) return sqlFailure(rc);
  rc = recordRunAndSetLevelLock(run_, file_);
  if (rc < 0) return sqlFailure(rc);

  run_._wneverLine = 12;
  if (!copies()) {
    for (const char* sql : kDeleteCirc) {
      rc = store_.execute(sql);
      if (rc < 0) return sqlFailure(rc);
    }
  }
  rc = store_.execute(kDeleteWorkWbs);
  if (rc < 0) return sqlFailure(rc);
  if (levelsOrCalculates() || copies()) {
    rc = store_.execute(kCopyWbs);
    if (rc < 0) return sqlFailure(rc);
    sendProgress(run_, "WBS is copied to temporary table. ", file_);
  }
  return Exit::kContinue;
}

Exit Driver::loadAndSchedule() {
  if (copies()) return Exit::kContinue;
  run_._wneverLine = 13;
  if (run_.PRINT_OPTION_BASIC) printBanner(file_, "*  Builds Projects List   *");
  const long origin = dayOfYearToJulian(1950, 1, 1);
  {
    db::Cursor rows(store_);
    db::IdText id;
    int32_t priority = 0;
    db::StampText date;
    int16_t ind[3] = {0, 0, 0};
    int rc = rows.open(kSelectRootProjects);
    if (rc < 0) return sqlFailure(rc);
    while ((rc = rows.fetch({db::HostVar(id, &ind[0]), db::HostVar(priority, &ind[1]),
                             db::HostVar(date, &ind[2])})) == 0) {
      char day[11] = {0};
      std::snprintf(day, sizeof day, "%.10s", ind[2] < 0 ? "" : date.c_str());
      const long julian = ind[2] < 0 ? 0 : dateStringToJulian(day);
      if (ind[0] < 0 || ind[1] < 0 || ind[2] < 0 || julian <= 0) {
        char ids[400];
        std::snprintf(ids, sizeof ids,
                      "PROJECT_ID = %s (%d) START_FINISH_DATE = %s (%d) PRIORITY = %d (%d)",
                      ind[0] < 0 ? "" : id.c_str(), ind[0], ind[2] < 0 ? "" : date.c_str(),
                      ind[2], ind[1] < 0 ? 0 : priority, ind[1]);
        reportDataCorruption(run_, "0",
                             "not existing PROJECT_ID or wrong START_FINISH_DATE or PRIORITY",
                             ids, file_);
        continue;
      }
      project_type* p = projectCreateNew(id.c_str());
      setProjectCurrentDate(p, static_cast<int32_t>(julian - origin));
      setProjectPriority(p, static_cast<uint16_t>(priority));
      ll_addtail(run_.input_projects_list, p);
    }
    if (rc < 0) return sqlFailure(rc);
  }
  run_.num_proj = ll_size(run_.input_projects_list);
  if (run_.num_proj == 0) {
    reportDataCorruption(run_, "0-1", "(very critical) empty project list", "", file_);
    run_.errCode = kErrEmptyProjectList;
    return Exit::kFinalize;
  }

  db::reportProgress("loading", 0, run_.num_proj);
  std::clock_t started = std::clock();
  int rc = readAndLoadDataForMultipleProjectsFromTheRootDB(
      run_.input_projects_list, run_.act_tmp_list, run_.root_act_list, run_.projects_list,
      run_.ext_projects_list, run_.ext_pred_list, &run_.tasksTotalCount, run_.sm,
      run_.isFolderWithinPortfolio, run_.optionFlag, 1, kOptimizeExceptions,
      kOptionConsiderConstraints, kOptionConsiderUidsLengthSupr, run_.optionMoveProjSFDate, 0,
      run_.currentDate, run_.workflow_id, run_.message, run_.subject, run_.element_id_p,
      run_.rec_user, run_.root_table_type, run_.PRINT_OPTION, run_.PRINT_OPTION_BASIC,
      run_.loadTimes, file_);
  run_.time[kTimeLoadPhase] = secondsSince(started);
  if (rc < 0) return sqlFailure(rc);
  if (rc != 0) {
    run_.errCode = rc;
    return Exit::kFinalize;
  }
  sendProgress(run_, "Retrieving of WBS & Assignments Data is completed.", file_);

  db::reportProgress("scheduling", 0, run_.tasksTotalCount);
  sendProgress(run_, "Start processing of 'Forward/Backward' passes of the Network tree.", file_);
  started = std::clock();
  rc = processDepForWbsItemStatic(
      run_.root_act_list, run_.projects_list, run_.proj_act_OnExt_dep_list, run_.act_tmp_list,
      run_.activities_list, run_.act_tmp_list_3, run_.act_tmp_list_4, run_.act_tmp_list_5,
      run_.assignments_list, run_.ext_pred_list, run_.sm, run_.optionFlag, 1,
      kOptionConsiderUidsLengthSupr, 0, 0, run_.tasksTotalCount, run_.hasWork,
      run_.workflow_id, run_.message, run_.subject, run_.element_id_p, run_.rec_user,
      run_.root_table_type, run_.PRINT_OPTION, run_.PRINT_UPDATE_OPTION,
      run_.PRINT_OPTION_MORETHAN_BASIC, run_.PRINT_OPTION_BASIC, run_.sequenceTimes, file_);
  run_.time[kTimeStaticSequence] = secondsSince(started);
  run_.errCode = rc;
  if (rc < 0) return sqlFailure(rc);
  run_.ass_count = ll_size(run_.assignments_list);
  reportCircularTables();
  db::reportProgress("scheduling", run_.tasksTotalCount, run_.tasksTotalCount);
  return Exit::kContinue;
}

void Driver::reportCircularTables() {
  for (int t = 0; t < 3; ++t) {
    db::Cursor rows(store_);
    db::NameText wbs;
    db::IdText id;
    int32_t type = 0;
    int32_t level = 0;
    int16_t ind[4] = {0, 0, 0, 0};
    if (rows.open(kSelectCirc[t]) != 0) continue;
    std::string list = kCircIntro[t];
    int n = 0;
    while (rows.fetch({db::HostVar(wbs, &ind[0]), db::HostVar(id, &ind[1]),
                       db::HostVar(type, &ind[2]), db::HostVar(level, &ind[3])}) == 0) {
      ++n;
      if (n > kCircRowsListed) {
        list += "Detailed information is stored inside database.\n";
        break;
      }
      char code[25];
      std::snprintf(code, sizeof code, "%-.24s", ind[0] < 0 ? "" : wbs.c_str());
      std::string wbsCol = code;
      wbsCol.resize(24, '.');
      std::string idCol = ind[1] < 0 ? "" : id.c_str();
      idCol.resize(32, '.');
      char line[160];
      std::snprintf(line, sizeof line, "%3d) %s %s %5d %5d\n", n, wbsCol.c_str(),
                    idCol.c_str(), ind[2] < 0 ? 0 : type, ind[3] < 0 ? 0 : level);
      list += line;
    }
    if (n == 0) continue;
    std::fprintf(file_, "\n%s\n", list.c_str());
    if (messageRoom(run_) > kRoomForLongBlock) sendProgress(run_, (list + "\n").c_str(), file_);
  }
  std::fflush(file_);
}

Exit Driver::levelOrCopy() {
  run_._wneverLine = 14;
  if (run_.errCode == 0) {
    if (levelsOrCalculates()) {
      db::reportProgress("levelling", 0, run_.ass_count);
      run_.errCode = levelAssignmentsAndWriteResults(run_, file_);
    } else if (copies()) {
      db::reportProgress("copying results", 0, run_.num_proj);
      run_.errCode = copyLevelledResults(run_, file_);
      if (run_.errCode == kErrCopyProjectMissing) return Exit::kImmediate;
    }
    // Both steps write their own SQL failure line.
    if (run_.errCode < 0) return Exit::kFinalize;
  }
  int rc = resetLevelLockAtEnd(run_, file_);
  if (rc < 0) return sqlFailure(rc);
  if (run_.optionFlag == 4 && run_.errCode == 0) {
    if (run_.PRINT_OPTION_BASIC) printBanner(file_, "*  Invocking Timephased Budget   *");
    const std::clock_t started = std::clock();
    int32_t result = 0;
    const db::HostVar resultVar(result);
    rc = store_.call(kTimephaseLeveled, {}, &resultVar);
    run_.time[kTimeTimephased] = secondsSince(started);
    if (rc < 0) return sqlFailure(rc);
  }
  return Exit::kContinue;
}

Exit Driver::steps() {
  for (Exit (Driver::*step)() :
       {&Driver::startAndCheckLocks, &Driver::prepareRun, &Driver::selectProjects,
        &Driver::lockAndCopyWbs, &Driver::loadAndSchedule}) {
    Exit exit = (this->*step)();
    if (exit != Exit::kContinue) return exit;
  }
  if (run_.errCode != 0) {
    // A failed or circular schedule skips levelling but still gives back
    // the levelling locks it took.
    int rc = resetLevelLockAtEnd(run_, file_);
    if (rc < 0) return sqlFailure(rc);
    return Exit::kFinalize;
  }
  return levelOrCopy();
}

}  // namespace
}  // namespace run

int levelResourcesForProject(const char* element_id, const char* element_name, int optionFlag,
                             int optionFlagReserved, const char* currentDate,
                             const char* rec_user, int PRINT_OPTION, int PRINT_OPTION_BASIC,
                             int PRINT_OPTION_MORETHAN_BASIC,
                             int PRINT_OPTION_EVEN_MORETHAN_BASIC, int PRINT_UPDATE_OPTION,
                             FILE* file) {
  using namespace run;
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  if (file == nullptr) file = stdout;
  auto state = std::make_unique<RunState>();
  RunState& r = *state;
  r.optionFlag = optionFlag;
  r.optionFlagReserved = optionFlagReserved;
  copyCut(r.element_id, kIdSize, element_id);
  copyCut(r.element_name, kElementNameSize, element_name);
  copyCut(r.currentDate, kStampSize, currentDate);
  copyCut(r.rec_user, kIdSize, rec_user);
  r.PRINT_OPTION = PRINT_OPTION;
  r.PRINT_OPTION_BASIC = PRINT_OPTION_BASIC;
  r.PRINT_OPTION_MORETHAN_BASIC = PRINT_OPTION_MORETHAN_BASIC;
  r.PRINT_OPTION_EVEN_MORETHAN_BASIC = PRINT_OPTION_EVEN_MORETHAN_BASIC;
  r.PRINT_UPDATE_OPTION = PRINT_UPDATE_OPTION;
  r.g_start = std::clock();

  Exit exit = Exit::kFinalize;
  try {
    Driver driver(r, *store, file);
    exit = driver.steps();
  } catch (...) {
    std::fprintf(file, "\n\n ****** error (2) in levelResourcesForProject: handle lockings and "
                       "terminate \n");
    std::fflush(file);
    r.errCode = kErrException;
  }
  if (exit == Exit::kImmediate && r.errCode != kErrException) {
    freeRunRecords(r, file);
    store->status().code = r.errCode;
    return r.errCode;
  }
  const int result = r.errCode;
  store->status().code = result;
  db::reportProgress("finishing", 0, 0);
  try {
    Lev_finalizeExceptionPrintAndCleanup(r, file);
  } catch (...) {
    std::fprintf(file, "\n\n ****** error in Lev_finalizeExceptionPrintAndCleanup: LineNum = %d "
                       "throw exception to upper level \n\n",
                 r._wneverLine);
    freeRunRecords(r, file);
  }
  store->status().code = result;
  return result;
}
