// The tail of the levelling stage: once every assignment is placed, the
// containers are rolled up for the last time, the critical path of the
// levelled schedule is computed, the items are written to the work table
// Lev_kor_wbs, the projects get their start dates, the project
// assignments their levelled envelopes (and a what-if scenario its
// summary), the work table is copied into KOR_WBS, the conflict list is
// built and items at 100% with remaining work get level index -1.
//
// Ownership: the run's lists and records are read (the roll-up and the
// critical path change dates and slack in place); nothing is allocated
// beyond a call.
//
// Units: project dates are day numbers of the run (plus the Julian origin
// of 1950-01-01 they become date texts); everything written is a time
// stamp "YYYY-MM-DD HH:MM:SS.ffffff" (LEVEL_START_FINISH_DATE at 00:00).
//
// Choices where the rules leave room:
// - The final roll-up is forced and forward: activitySpecRollDynam(
//   activities_list, root, 1, 1, ...) for every root item.
// - A non-zero result of the critical path, of the final update or of the
//   conflict list ends the tail with that result (the later steps are not
//   run); a negative one takes the SQL-failure exit.
// - The final update writes dates, duration, level index and slack
//   (optionUpdateSlackValues 1; the slack is the one the critical path just
//   stored on the items) and resets the containers' calendar view
//   (optionResetContainers 1), as the first-time update does.
// - The project assignments' envelopes are taken from the task assignments
//   that belong to a project assignment (PROJECT_ASSIGNMENT_ID set) and are
//   not the project-level row itself (TASK_ID differs from PROJECT_ID).
// - The what-if summary (kind 4) ends with its own commit and message; for
//   the other kinds the project-assignment rows are committed with the copy
//   into KOR_WBS.
// - SET_DATEFORMAT is called once before the project dates are written;
//   TO_DATE of the other database becomes the time stamp text itself.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"
#include "network/rollup.h"
#include "network/slack.h"
#include "run/conflict_list.h"
#include "run/main_loop.h"
#include "run/run_messages.h"
#include "store/result_writers.h"
#include "store/store.h"

namespace run::stage {
namespace {

constexpr int kLineFinalRollup = 1500;
constexpr int kLineCriticalPath = 1510;
constexpr int kLineFinalUpdate = 1520;
constexpr int kLineProjectDates = 1530;
constexpr int kLineProjectAssignments = 1540;
constexpr int kLineWhatIf = 1550;
constexpr int kLineCopyToPlan = 1560;
constexpr int kLineConflicts = 1570;
constexpr int kLineLevelIndex = 1580;

constexpr const char* kUpdateProjectDates =
    "update PROJECT_DETAILS  set LEVEL_MOVE_PROJ=?,LEVEL_START_FINISH_DATE=? where PROJECT_ID=?";

constexpr const char* kDeleteProjectAssignments = "delete  from Lev_project_assignment ";
// One insert per source of dates: rows already levelled (LEVEL_START set)
// and rows not levelled (their planned dates). Rows of the other mode give
// placeholders, which the update below turns back into null.
constexpr const char* kInsertProjectAssignmentsLevelled =
    "insert into Lev_project_assignment (PROJECT_ID,RESOURCE_ID,LEVEL_PLANNED_START,"
    "LEVEL_PLANNED_FINISH,LEVEL_SCHED_START,LEVEL_SCHED_FINISH) "
    "select A.PROJECT_ID ,A.RESOURCE_ID "
    ",min(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=0 THEN A.LEVEL_START "
    "ELSE '2100-01-01 00:00:00.000000' END) "
    ",max(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=0 THEN A.LEVEL_FINISH "
    "ELSE '1900-01-01 00:00:00.000000' END) "
    ",min(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=2 THEN A.LEVEL_START "
    "ELSE '2100-01-01 00:00:00.000000' END) "
    ",max(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=2 THEN A.LEVEL_FINISH "
    "ELSE '1900-01-01 00:00:00.000000' END) "
    " from TASK_ASSIGNMENTS A where (((A.PROJECT_ID in (select ELEMENT_ID  from "
    "NAV_TMP_PROJECTS_00 ) and A.PROJECT_ASSIGNMENT_ID is not null) and A.TASK_ID<>A.PROJECT_ID) "
    "and A.LEVEL_START is not null) group by A.PROJECT_ID,A.RESOURCE_ID";
constexpr const char* kInsertProjectAssignmentsPlanned =
    "insert into Lev_project_assignment (PROJECT_ID,RESOURCE_ID,LEVEL_PLANNED_START,"
    "LEVEL_PLANNED_FINISH,LEVEL_SCHED_START,LEVEL_SCHED_FINISH) "
    "select A.PROJECT_ID ,A.RESOURCE_ID "
    ",min(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=0 THEN A.UNRESOLVED_START "
    "ELSE '2100-01-01 00:00:00.000000' END) "
    ",max(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=0 THEN A.UNRESOLVED_FINISH "
    "ELSE '1900-01-01 00:00:00.000000' END) "
    ",min(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=2 THEN A.UNRESOLVED_START "
    "ELSE '2100-01-01 00:00:00.000000' END) "
    ",max(CASE WHEN CAST(A.BIT_FLAG AS INTEGER)=2 THEN A.UNRESOLVED_FINISH "
    "ELSE '1900-01-01 00:00:00.000000' END) "
    " from TASK_ASSIGNMENTS A where (((A.PROJECT_ID in (select ELEMENT_ID  from "
    "NAV_TMP_PROJECTS_00 ) and A.PROJECT_ASSIGNMENT_ID is not null) and A.TASK_ID<>A.PROJECT_ID) "
    "and A.LEVEL_START is null) group by A.PROJECT_ID,A.RESOURCE_ID";
constexpr const char* kClearPlaceholders =
    "update Lev_project_assignment  set LEVEL_PLANNED_START=CASE WHEN "
    "LEVEL_PLANNED_START=NAV_ORASTD_DB2TIMESTAMP('2100-01-01 00:00:00.000000') THEN null ELSE "
    "LEVEL_PLANNED_START END,LEVEL_PLANNED_FINISH=CASE WHEN "
    "LEVEL_PLANNED_FINISH=NAV_ORASTD_DB2TIMESTAMP('1900-01-01 00:00:00.000000') THEN null ELSE "
    "LEVEL_PLANNED_FINISH END,LEVEL_SCHED_START=CASE WHEN "
    "LEVEL_SCHED_START=NAV_ORASTD_DB2TIMESTAMP('2100-01-01 00:00:00.000000') THEN null ELSE "
    "LEVEL_SCHED_START END,LEVEL_SCHED_FINISH=CASE WHEN "
    "LEVEL_SCHED_FINISH=NAV_ORASTD_DB2TIMESTAMP('1900-01-01 00:00:00.000000') THEN null ELSE "
    "LEVEL_SCHED_FINISH END";
constexpr const char* kUpdateProjectAssignments =
    "update PROJECT_ASSIGNMENTS AS PA  set (LEVEL_PLANNED_START,LEVEL_PLANNED_FINISH,"
    "LEVEL_SCHED_START,LEVEL_SCHED_FINISH)=(select min(LPA.LEVEL_PLANNED_START) "
    ",max(LPA.LEVEL_PLANNED_FINISH) ,min(LPA.LEVEL_SCHED_START) ,max(LPA.LEVEL_SCHED_FINISH)  "
    "from Lev_project_assignment LPA where (LPA.PROJECT_ID=PA.PROJECT_ID and "
    "LPA.RESOURCE_ID=PA.RESOURCE_ID)) where PA.PROJECT_ID in (select ELEMENT_ID  from "
    "NAV_TMP_PROJECTS_00 )";

constexpr const char* kWhatIfStatements[] = {
    "delete  from Lev_WhatIf_PA ",
    "insert into Lev_WhatIf_PA  select PROJECT_ID ,SUBSTR(min( coalesce "
    "(LEVEL_SCHED_START,LEVEL_PLANNED_START)),1,10) ,SUBSTR(max( coalesce "
    "(LEVEL_SCHED_FINISH,LEVEL_PLANNED_FINISH)),1,10)  from Lev_project_assignment  group by "
    "PROJECT_ID",
    "delete  from Lev_WhatIf_WBS ",
    "insert into Lev_WhatIf_WBS  select PROJECT_ID ,SUBSTR(min(CASE WHEN LEVEL_START IS NULL "
    "THEN UNRESOLVED_START ELSE LEVEL_START END),1,10) ,SUBSTR(min(CASE WHEN LEVEL_FINISH IS "
    "NULL THEN UNRESOLVED_FINISH ELSE LEVEL_FINISH END),1,10)  from Lev_kor_wbs where "
    "PROJECT_ID=ELEMENT_ID group by PROJECT_ID,ELEMENT_ID",
    // The project item starts with its project assignments where they do
    // not start later, and finishes with them where they do not finish
    // earlier.
    "update Lev_WhatIf_WBS AS W  set LEVEL_START=(select P.LEVEL_START  from Lev_WhatIf_PA P "
    "where P.PROJECT_ID=W.PROJECT_ID) where exists (select 'X'  from Lev_WhatIf_PA P where "
    "((P.PROJECT_ID=W.PROJECT_ID and P.LEVEL_START is not null) and (W.LEVEL_START is null or "
    "P.LEVEL_START<=W.LEVEL_START)))",
    "update Lev_WhatIf_WBS AS W  set LEVEL_FINISH=(select P.LEVEL_FINISH  from Lev_WhatIf_PA P "
    "where P.PROJECT_ID=W.PROJECT_ID) where exists (select 'X'  from Lev_WhatIf_PA P where "
    "((P.PROJECT_ID=W.PROJECT_ID and P.LEVEL_FINISH is not null) and (W.LEVEL_FINISH is null or "
    "P.LEVEL_FINISH>=W.LEVEL_FINISH)))",
    "update NAV_SCENARIOS AS scnro  set (LEVEL_START,LEVEL_FINISH)=(select wbs.LEVEL_START "
    ",wbs.LEVEL_FINISH  from Lev_WhatIf_WBS wbs where wbs.PROJECT_ID=scnro.ELEMENT_ID)",
};

constexpr const char* kCopyToKorWbs =
    "update KOR_WBS AS W  set (LEVEL_START,LEVEL_FINISH,LEVEL_DURATION,ROLLUP_BITS,LEVEL_STATE,"
    "TOTAL_SLACK,LEVEL_INDEX,LEVEL_CONSTRAINT_DT,LEVEL_CONSTRAINT_TYPE)=(select C.LEVEL_START "
    ",C.LEVEL_FINISH ,C.LEVEL_DURATION ,CASE WHEN W.LEVEL_STATE=4 THEN "
    "NAV_STPU_BIT_OR(W.ROLLUP_BITS,131072) ELSE C.ROLLUP_BITS END ,CASE WHEN W.LEVEL_STATE=4 "
    "THEN 0 ELSE 1 END ,C.TOTAL_SLACK ,C.LEVEL_INDEX ,CASE WHEN C.LEVEL_CONSTRAINT_DT IS NULL "
    "THEN null ELSE NAV_ORASTD_DB2TIMESTAMP(C.LEVEL_CONSTRAINT_DT) END ,C.LEVEL_CONSTRAINT_TYPE "
    " from Lev_kor_wbs C where C.ELEMENT_ID=W.ELEMENT_ID) where exists (select ELEMENT_ID  from "
    "Lev_kor_wbs where ELEMENT_ID=W.ELEMENT_ID)";

constexpr const char* kLevelIndexFinished =
    "update KOR_WBS AS W  set LEVEL_INDEX=(-1) where ((exists (select ELEMENT_ID  from "
    "Lev_kor_wbs where ELEMENT_ID=W.ELEMENT_ID) and W.ETC<>0) and W.MILESTONE_PERCENT=10000)";

// A non-zero result of a called unit: negative ones take the SQL-failure
// exit, positive ones become the run's error.
int calledUnitFailed(RunState& run, int rc, FILE* file) {
  if (rc < 0) return sqlFailureExit(run, rc, file);
  run.errCode = rc;
  return rc;
}

int finalRollup(RunState& run, FILE* file) {
  run._wneverLine = kLineFinalRollup;
  printBanner(file, "*  Final Rollup of Containers   *");
  std::clock_t t0 = std::clock();
  if (run.root_act_list != nullptr) {
    for (linktype* l = run.root_act_list->phead; l != nullptr; l = l->pnext) {
      auto* root = static_cast<activity_type*>(l->pcontents);
      if (root == nullptr) continue;
      activitySpecRollDynam(run.activities_list, root, 1, 1, kStartNode, kFinishNode, file);
    }
  }
  run.time[kTimeFinalRollup] += secondsSince(t0);
  sendProgress(run, "The final rollup of containers is completed.", file);
  return 0;
}

int criticalPath(RunState& run, FILE* file) {
  run._wneverLine = kLineCriticalPath;
  printBanner(file, "*  Starts Calculation of Critical Path  *");
  std::clock_t t0 = std::clock();
  const int rc = doCalculCriPathAfterLevDB(
      run.root_act_list, run.projects_list, run.activities_list, run.act_tmp_list_3,
      run.act_tmp_list_4, run.act_tmp_list_5, run.sm, kOptionConsiderUidsLengthSupr,
      run.PRINT_OPTION, run.PRINT_UPDATE_OPTION, kStartNode, kFinishNode, nullptr, file);
  run.time[kTimeCriticalPath] += secondsSince(t0);
  if (rc != 0) return calledUnitFailed(run, rc, file);
  sendProgress(run, "The calculation of 'Critical Path' is completed.", file);
  return 0;
}

int finalUpdate(RunState& run, FILE* file) {
  run._wneverLine = kLineFinalUpdate;
  printBanner(file, "*  Final Update of Activities records in DB  *");
  std::clock_t t0 = std::clock();
  const long origin = dayOfYearToJulian(1950, 1, 1);
  const int rc = doUpdateActivitiesInDB(run.activities_list, origin, run.sm, 1, 1,
                                        kOptionConsiderUidsLengthSupr, run.PRINT_UPDATE_OPTION,
                                        file, kFinalUpdateErrorBase);
  run.time[kTimeFinalUpdate] += secondsSince(t0);
  if (rc != 0) return calledUnitFailed(run, rc, file);
  sendProgress(run, "The final update of WBS items is completed.", file);
  return 0;
}

int projectDates(RunState& run, db::Store& store, FILE* file) {
  run._wneverLine = kLineProjectDates;
  int32_t rc = store.call("call SET_DATEFORMAT()", {});
  if (rc < 0) return sqlFailureExit(run, rc, file);
  const int32_t origin = dayOfYearToJulian(1950, 1, 1);
  const int32_t move = run.optionMoveProjSFDate != 0 ? 1 : 0;
  if (run.projects_list != nullptr) {
    for (linktype* l = run.projects_list->phead; l != nullptr; l = l->pnext) {
      const auto* p = static_cast<const project_type*>(l->pcontents);
      if (p == nullptr) continue;
      const int32_t day = (p->alignWithExtPred != 0 ? p->current_date : p->create_date) + origin;
      char date[DATE_TEXT_SIZE] = {};
      transformJulianToDateString(day, date);
      const std::string stamp = std::string(date) + " 00:00:00.000000";
      rc = store.execute(kUpdateProjectDates, {move, stamp, p->name});
      if (rc < 0) return sqlFailureExit(run, rc, file);
    }
  }
  sendProgress(run, "The update of 'Start/Finish/Creation' dates is completed for Projects. ",
               file);
  return 0;
}

int projectAssignments(RunState& run, FILE* file) {
  run._wneverLine = kLineProjectAssignments;
  for (const char* sql : {kDeleteProjectAssignments, kInsertProjectAssignmentsLevelled,
                          kInsertProjectAssignmentsPlanned, kClearPlaceholders,
                          kUpdateProjectAssignments}) {
    if (int rc = executeOrExit(run, sql, file); rc != 0) return rc;
  }
  return 0;
}

int whatIfSummary(RunState& run, FILE* file) {
  run._wneverLine = kLineWhatIf;
  for (const char* sql : kWhatIfStatements) {
    if (int rc = executeOrExit(run, sql, file); rc != 0) return rc;
  }
  if (int rc = commitRun(run, file); rc != 0) return rc;
  sendProgress(run, "The scheduling date/time information is copied to 'WorkPackages'. ", file);
  return 0;
}

int copyToPlan(RunState& run, FILE* file) {
  run._wneverLine = kLineCopyToPlan;
  if (int rc = executeOrExit(run, kCopyToKorWbs, file); rc != 0) return rc;
  return commitRun(run, file);
}

int conflicts(RunState& run, FILE* file) {
  run._wneverLine = kLineConflicts;
  const int rc = doUpdateConflictListDB(run, file);
  if (rc != 0) return calledUnitFailed(run, rc, file);
  return 0;  // doUpdateConflictListDB sends the progress message itself
}

int levelIndexOfFinished(RunState& run, FILE* file) {
  run._wneverLine = kLineLevelIndex;
  if (int rc = executeOrExit(run, kLevelIndexFinished, file); rc != 0) return rc;
  if (int rc = commitRun(run, file); rc != 0) return rc;
  sendProgress(run, "The last portion of scheduling information is copied into DB.", file);
  return 0;
}

}  // namespace

int writeLevelledResults(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return sqlFailureExit(run, db::kSqlNoConnection, file);
  if (int rc = finalRollup(run, file); rc != 0) return rc;
  if (int rc = criticalPath(run, file); rc != 0) return rc;
  if (int rc = finalUpdate(run, file); rc != 0) return rc;

  std::clock_t t0 = std::clock();
  int rc = projectDates(run, *store, file);
  if (rc == 0) rc = projectAssignments(run, file);
  run.time[kTimeProjectDates] += secondsSince(t0);
  if (rc != 0) return rc;

  t0 = std::clock();
  if (run.optionFlag == 4) rc = whatIfSummary(run, file);
  if (rc == 0) rc = copyToPlan(run, file);
  run.time[kTimeCopyToPlan] += secondsSince(t0);
  if (rc != 0) return rc;

  t0 = std::clock();
  rc = conflicts(run, file);
  run.time[kTimeConflicts] += secondsSince(t0);
  if (rc != 0) return rc;
  return levelIndexOfFinished(run, file);
}

}  // namespace run::stage
