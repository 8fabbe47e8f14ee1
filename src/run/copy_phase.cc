// The copy of levelled results into the plan (run kinds 2 and 6).
//
// A levelling or calculation run leaves its results in the level columns
// (TASK_ASSIGNMENTS.LEVEL_*, KOR_WBS.LEVEL_* with LEVEL_STATE 1, and the
// daily rows of LEVEL_TASK_DAY_OF_YEAR) and leaves the plan alone. This
// unit makes those results the plan, project by project, deepest rank
// first: it picks the assignments to copy (levelled, unfinished, unchanged
// since the copy started; a project assignment whole or not at all),
// replaces the planned daily rows by the levelled ones while keeping the
// days with actual work (whose scheduled minutes and bits are cut to the
// actual minutes), moves the levelled values into the planned or scheduled
// columns (by the assignment's BIT_FLAG: '0' planned, '2' scheduled),
// keeps the previous values in the BAK_ columns, empties the level
// columns, marks the WBS items as copied (LEVEL_STATE 2), sets the project
// dates and asks the host to roll up. After the loop the host recomputes
// the time-phased figures, the budget breakdown switches to the new rows
// (type 17 -> 3, 18 -> 2), and the level daily rows of every selected
// project are dropped.
//
// Ownership: nothing is allocated beyond a few vectors and strings of the
// call; the statements work on the run's connection (db::currentStore()).
// Commits happen only inside the notifications (FC_SEND_NOTIFY ends with
// LEVEL_COMMIT) and in the finalisation that follows the copy.
//
// Units: time stamps are 26-character texts, days 10-character texts;
// minutes of a day 0..1440; day bits 36 bytes (72 hexadecimal digits in the
// store); timings seconds of processor time into RunState::time[40..52]
// (copy_phase.h names each index).
//
// Results: 0; kErrCopyProjectMissing (200143) at once when a selected
// project has no KOR_WBS row ("error(D-1)", notified); a negative SQL
// status of a failed statement, after the SQL failure line has been
// written here (logSqlFailure: the caller must not write it again); what
// was copied before the failure stays copied.
//
// Choices:
// - Rows a cursor selects are read to the end before the statements that
//   change the same tables run (partly levelled project assignments, days
//   with actuals): each selection sees the data as it was when it began,
//   and a row changed by the loop is never met again.
// - A day with actuals keeps its first ACTUAL_MIN working minutes in its
//   bits (the selection reads ACTUAL_MIN beside the difference); a day with
//   fewer set bits than that keeps them all. Bits that are not 72
//   hexadecimal digits are left as they are, SCHED_MIN is still cut.
// - A selected project whose details row is missing (the first read finds
//   nothing) but whose KOR_WBS row exists counts as never calculated, named
//   by its id; one with no KOR_WBS row is "error(D-1)".
// - LEVEL_FC_Rollup_Timephase() and LEVEL_FC_Timephase_CRI_Task() take no
//   argument (the host's form). A null result of a host procedure counts as
//   0; a non-zero result of LEVEL_FC_TIMEPHASE_LEVELED is not a warning
//   (none is named for it). A negative status of any call is an SQL failure.
// - Warnings W-0..W-2 go to the log in the warning shape; the notified copy
//   carries the contact line and is sent only while more than 4000
//   characters of message room are free.
// - The never-calculated and no-new-data texts are put in front of the
//   message (more than 500 characters free) and travel with the next
//   notification; "Project '%s' is done." is sent at once.
// - The project item's levelled dates become its planned dates with a
//   subquery limited to the project item itself (the item's own row).
// - Lev_WhatIf_PA holds the earliest start and the latest finish of the
//   project assignments (min and max); Lev_WhatIf_WBS the project item's
//   levelled dates (both minima over its one row). The project's start
//   then takes the assignments' start when that is not later, its finish
//   their finish when that is not earlier; a missing item date takes the
//   assignments' date.
// - A null CHILD_COUNT is "has children" for neither rule: no planned-date
//   update by the CHILD_COUNT rule and no roll-up.
// - RunState::num_proj becomes the number of projects copied.
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "calendar/day_bits.h"
#include "run/copy_phase.h"
#include "run/levelling_stage.h"
#include "run/run_messages.h"
#include "store/host_vars.h"
#include "store/progress.h"
#include "store/status.h"
#include "store/store.h"

namespace run {
namespace {

// ---------------------------------------------------------------------------
// Statements
// ---------------------------------------------------------------------------

constexpr const char* kSetDateFormat = "call SET_DATEFORMAT()";
constexpr const char* kSelectNow = "SELECT SYSTIMESTAMP()";
constexpr const char* kSelectProjects =
    "SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00 ORDER BY RANK DESC";

constexpr const char* kSelectDetails =
    "SELECT D.CALCULATE_FLAG, D.LEVEL_MOVE_PROJ, D.LEVEL_START_FINISH_DATE, W.ELEMENT_NAME "
    "FROM PROJECT_DETAILS D, KOR_WBS W "
    "WHERE D.PROJECT_ID = ? AND W.PROJECT_ID = ? AND W.ELEMENT_ID = ?";
constexpr const char* kSelectRankAndState =
    "SELECT SUBSTR(RANK, 1, 8), LEVEL_STATE FROM KOR_WBS WHERE ELEMENT_ID = ?";

constexpr const char* kDeleteSelection = "DELETE FROM nav_tmp_ta_02";
// Levelled, unfinished, not changed since the copy began.
constexpr const char* kInsertSelection =
    "INSERT INTO nav_tmp_ta_02 (TSK_ASSIGNMENT_ID, PROJECT_ASSIGNMENT_ID, TASK_ID) "
    "SELECT TA.TSK_ASSIGNMENT_ID, TA.PROJECT_ASSIGNMENT_ID, TA.TASK_ID "
    "FROM TASK_ASSIGNMENTS TA, KOR_WBS TW "
    "WHERE TW.PROJECT_ID = TA.PROJECT_ID AND TA.TASK_ID = TW.ELEMENT_ID "
    "AND TA.PROJECT_ID = ? AND TW.LEVEL_STATE = 1 AND TA.REC_DATETIME < ? "
    "AND (TA.ACTUAL_FINISH IS NULL OR (TA.ACTUAL_FINISH IS NOT NULL AND TA.ETC <> 0)) "
    "AND TA.LEVEL_START IS NOT NULL";

// Project assignments with a levelled assignment on a task that was not.
constexpr const char* kSelectPartialProjectAssignments =
    "SELECT DISTINCT TA.PROJECT_ASSIGNMENT_ID "
    "FROM TASK_ASSIGNMENTS TA, KOR_WBS TW "
    "WHERE TW.PROJECT_ID = TA.PROJECT_ID AND TA.TASK_ID = TW.ELEMENT_ID "
    "AND TA.PROJECT_ID = ? AND TW.LEVEL_STATE = 0 AND TA.REC_DATETIME < ? "
    "AND (TA.ACTUAL_FINISH IS NULL OR (TA.ACTUAL_FINISH IS NOT NULL AND TA.ETC <> 0)) "
    "AND TA.PROJECT_ASSIGNMENT_ID IS NOT NULL AND TA.LEVEL_START IS NOT NULL";
constexpr const char* kResetPartialTasks =
    "UPDATE KOR_WBS SET LEVEL_STATE = 0 "
    "WHERE PROJECT_ID = ? AND LEVEL_STATE = 1 AND ELEMENT_ID IN "
    "(SELECT TASK_ID FROM nav_tmp_ta_02 WHERE PROJECT_ASSIGNMENT_ID = ?)";
constexpr const char* kDeletePartialSelection =
    "DELETE FROM nav_tmp_ta_02 WHERE PROJECT_ASSIGNMENT_ID = ?";

// Planned days (no actuals) of the assignments that bring levelled days.
constexpr const char* kDeletePlannedDays =
    "DELETE FROM TASK_DAY_OF_YEAR "
    "WHERE PROJECT_ID = ? AND ACTUAL_FLAG = 0 AND TSK_ASSIGNMENT_ID IN "
    "(SELECT lev.TSK_ASSIGNMENT_ID FROM LEVEL_TASK_DAY_OF_YEAR lev, nav_tmp_ta_02 t2 "
    "WHERE lev.PROJECT_ID = ? AND lev.TSK_ASSIGNMENT_ID = t2.TSK_ASSIGNMENT_ID "
    "GROUP BY lev.TSK_ASSIGNMENT_ID)";
constexpr const char* kDeleteActualDayKeys = "DELETE FROM NAV_TMP_TDYD";
constexpr const char* kInsertActualDayKeys =
    "INSERT INTO NAV_TMP_TDYD (TSK_ASSIGNMENT_ID, DAY_YEAR) "
    "SELECT tdy.TSK_ASSIGNMENT_ID, tdy.DAY_YEAR "
    "FROM TASK_DAY_OF_YEAR tdy, LEVEL_TASK_DAY_OF_YEAR lev "
    "WHERE lev.PROJECT_ID = tdy.PROJECT_ID AND lev.TSK_ASSIGNMENT_ID = tdy.TSK_ASSIGNMENT_ID "
    "AND tdy.DAY_YEAR = lev.DAY_YEAR AND tdy.PROJECT_ID = ? AND tdy.ACTUAL_FLAG = 1";
constexpr const char* kDeleteLevelDaysWithActuals =
    "DELETE FROM LEVEL_TASK_DAY_OF_YEAR "
    "WHERE PROJECT_ID = ? AND (TSK_ASSIGNMENT_ID, DAY_YEAR) IN "
    "(SELECT t.TSK_ASSIGNMENT_ID, t.DAY_YEAR FROM NAV_TMP_TDYD t)";
constexpr const char* kInsertLevelledDays =
    "INSERT INTO TASK_DAY_OF_YEAR (PROJECT_ID, RESOURCE_ID, TSK_ASSIGNMENT_ID, DAY_YEAR, "
    "BIT_FLAG, ACTUAL_MIN, SCHED_MIN, PARENT_ID, BIT_SCHED, ACTUAL_FLAG, TASK_ID) "
    "SELECT lev.PROJECT_ID, lev.RESOURCE_ID, lev.TSK_ASSIGNMENT_ID, lev.DAY_YEAR, "
    "lev.BIT_FLAG, lev.ACTUAL_MIN, lev.SCHED_MIN, lev.PARENT_ID, lev.BIT_SCHED, "
    "lev.ACTUAL_FLAG, lev.TASK_ID "
    "FROM LEVEL_TASK_DAY_OF_YEAR lev, nav_tmp_ta_02 t "
    "WHERE lev.PROJECT_ID = ? AND lev.TSK_ASSIGNMENT_ID = t.TSK_ASSIGNMENT_ID";

// Days with actuals whose scheduled minutes are not the actual ones.
constexpr const char* kSelectActualDays =
    "SELECT TSK_ASSIGNMENT_ID, DAY_YEAR, BIT_SCHED, (SCHED_MIN - ACTUAL_MIN), ACTUAL_MIN "
    "FROM TASK_DAY_OF_YEAR "
    "WHERE PROJECT_ID = ? AND ACTUAL_FLAG = 1 AND SCHED_MIN <> ACTUAL_MIN";
// A null bits value keeps the stored bits.
constexpr const char* kUpdateActualDay =
    "UPDATE TASK_DAY_OF_YEAR SET SCHED_MIN = ACTUAL_MIN, BIT_SCHED = COALESCE(?, BIT_SCHED) "
    "WHERE PROJECT_ID = ? AND TSK_ASSIGNMENT_ID = ? AND DAY_YEAR = SUBSTR(?, 1, 10)";

// The levelled values into the plan; the first input is the project's
// CALCULATE_FLAG: 1 (calculated) sets CONSIDER 0, 2 (levelled) 6, any
// other value leaves it.
constexpr const char* kUpdateAssignments =
    "UPDATE TASK_ASSIGNMENTS SET "
    "ROLLUP_BITS = NAV_STPU_BIT_OR(ROLLUP_BITS, 33554432), "
    "CONSIDER = CASE CAST(? AS INTEGER) WHEN 1 THEN 0 WHEN 2 THEN 6 ELSE CONSIDER END, "
    "PLANNED_START = CASE WHEN BIT_FLAG = '0' THEN LEVEL_START ELSE PLANNED_START END, "
    "SCHED_START = CASE WHEN BIT_FLAG = '2' THEN "
    "CASE WHEN ACTUAL_START IS NULL THEN LEVEL_START ELSE SCHED_START END "
    "ELSE SCHED_START END, "
    "PLANNED_FINISH = CASE WHEN BIT_FLAG = '0' THEN LEVEL_FINISH ELSE PLANNED_FINISH END, "
    "SCHED_FINISH = CASE WHEN BIT_FLAG = '2' THEN "
    "CASE WHEN ACTUAL_FINISH IS NULL THEN LEVEL_FINISH "
    "WHEN ETC = 0 THEN SCHED_FINISH ELSE LEVEL_FINISH END "
    "ELSE SCHED_FINISH END, "
    "ASSIGN_STRING = LEVEL_ASSIGN_STRING, "
    "PLANNED_WORK = CASE WHEN BIT_FLAG = '0' THEN LEVEL_EFFORT ELSE 0 END, "
    "SCHED_WORK = CASE WHEN BIT_FLAG = '2' THEN (WORK_TODATE + LEVEL_EFFORT) ELSE 0 END, "
    "PROPOSED_START = CASE WHEN BIT_FLAG = '0' THEN LEVEL_START "
    "WHEN BIT_FLAG = '2' THEN "
    "CASE WHEN ACTUAL_START IS NULL THEN LEVEL_START ELSE PROPOSED_START END "
    "ELSE PROPOSED_START END, "
    "PROPOSED_FINISH = CASE WHEN BIT_FLAG = '0' THEN LEVEL_FINISH "
    "WHEN BIT_FLAG = '2' THEN "
    "CASE WHEN ACTUAL_START IS NULL THEN LEVEL_FINISH ELSE PROPOSED_FINISH END "
    "ELSE PROPOSED_FINISH END, "
    "BAK_START_DT = LEVEL_START, "
    "BAK_FINISH_DT = CASE WHEN ACTUAL_START IS NULL THEN LEVEL_FINISH ELSE NULL END, "
    "BAK_ASSIGN_STRING = CASE WHEN ACTUAL_START IS NULL THEN LEVEL_ASSIGN_STRING "
    "ELSE BAK_ASSIGN_STRING END, "
    "LEVEL_START = NULL, LEVEL_FINISH = NULL, LEVEL_EFFORT = 0, LEVEL_ASSIGN_STRING = NULL, "
    "FORECAST_START = NULL, FORECAST_FINISH = NULL, FORECAST_DURATION = 0, LAST_SCHED_MIN = 0 "
    "WHERE TSK_ASSIGNMENT_ID IN (SELECT TSK_ASSIGNMENT_ID FROM nav_tmp_ta_02)";

// Estimated dates of the project assignments from the copied
// project-level task assignments (inputs: project id three times).
constexpr const char* kUpdateProjectAssignmentsPlanned =
    "UPDATE PROJECT_ASSIGNMENTS AS pa "
    "SET (ESTIMATED_PLANNED_START, ESTIMATED_PLANNED_FINISH) = "
    "(SELECT ta.PLANNED_START, ta.PLANNED_FINISH FROM TASK_ASSIGNMENTS ta "
    "WHERE ta.PROJECT_ID = ? AND ta.TASK_ID = ? AND ta.BIT_FLAG = '0' "
    "AND ta.RESOURCE_ID = pa.RESOURCE_ID "
    "AND ta.TSK_ASSIGNMENT_ID IN (SELECT TSK_ASSIGNMENT_ID FROM nav_tmp_ta_02)) "
    "WHERE pa.PROJECT_ID = ?";
constexpr const char* kUpdateProjectAssignmentsScheduled =
    "UPDATE PROJECT_ASSIGNMENTS AS pa "
    "SET (ESTIMATED_SCHED_START, ESTIMATED_SCHED_FINISH) = "
    "(SELECT ta.SCHED_START, ta.SCHED_FINISH FROM TASK_ASSIGNMENTS ta "
    "WHERE ta.PROJECT_ID = ? AND ta.TASK_ID = ? AND ta.BIT_FLAG = '2' "
    "AND ta.RESOURCE_ID = pa.RESOURCE_ID "
    "AND ta.TSK_ASSIGNMENT_ID IN (SELECT TSK_ASSIGNMENT_ID FROM nav_tmp_ta_02)) "
    "WHERE pa.PROJECT_ID = ?";

constexpr const char* kUpdateItemsWithEffort =
    "UPDATE KOR_WBS SET LEVEL_STATE = 2, PROPOSED_START = LEVEL_START, "
    "PROPOSED_FINISH = LEVEL_FINISH, FORECAST_START = NULL, FORECAST_FINISH = NULL, "
    "FORECAST_DURATION = 0, "
    "CONSTRAINT_TYPE = CASE WHEN LEVEL_CONSTRAINT_DT IS NULL THEN CONSTRAINT_TYPE "
    "ELSE LEVEL_CONSTRAINT_TYPE END, "
    "CONSTRAINT_DT = CASE WHEN LEVEL_CONSTRAINT_DT IS NULL THEN CONSTRAINT_DT "
    "ELSE NAV_ORASTD_DB2TIMESTAMP(LEVEL_CONSTRAINT_DT) END, "
    "ROLLUP_BITS = NAV_STPU_BIT_OR(ROLLUP_BITS, 33554432) "
    "WHERE PROJECT_ID = ? AND (PLANNED_EFFORT + SCHED_EFFORT) > 0 AND LEVEL_STATE = 1";
constexpr const char* kUpdateItemsWithoutEffort =
    "UPDATE KOR_WBS SET LEVEL_STATE = 2, "
    "PLANNED_START = CASE WHEN PLANNED_START IS NULL THEN NULL ELSE LEVEL_START END, "
    "PLANNED_FINISH = CASE WHEN PLANNED_START IS NULL THEN NULL ELSE LEVEL_FINISH END, "
    "SCHED_START = CASE WHEN SCHED_START IS NULL THEN SCHED_START "
    "WHEN ACTUAL_START IS NULL THEN LEVEL_START ELSE SCHED_START END, "
    "SCHED_FINISH = CASE WHEN SCHED_START IS NULL THEN SCHED_FINISH ELSE LEVEL_FINISH END, "
    "FORECAST_START = NULL, FORECAST_FINISH = NULL, FORECAST_DURATION = 0, "
    "CONSTRAINT_TYPE = CASE WHEN LEVEL_CONSTRAINT_DT IS NULL THEN CONSTRAINT_TYPE "
    "ELSE LEVEL_CONSTRAINT_TYPE END, "
    "CONSTRAINT_DT = CASE WHEN LEVEL_CONSTRAINT_DT IS NULL THEN CONSTRAINT_DT "
    "ELSE NAV_ORASTD_DB2TIMESTAMP(LEVEL_CONSTRAINT_DT) END, "
    "ROLLUP_BITS = NAV_STPU_BIT_OR(ROLLUP_BITS, 33554432) "
    "WHERE PROJECT_ID = ? AND (PLANNED_EFFORT + SCHED_EFFORT) = 0 AND LEVEL_STATE = 1";

constexpr const char* kSelectChildCount = "SELECT CHILD_COUNT FROM KOR_WBS WHERE ELEMENT_ID = ?";
constexpr const char* kCountResourceProjectAssignments =
    "SELECT COUNT(PA.PROJECT_ID) FROM PROJECT_ASSIGNMENTS PA "
    "WHERE PA.PROJECT_ID = ? AND PA.RESOURCE_TYPE = '1'";
constexpr const char* kDeleteWhatIfPa = "DELETE FROM Lev_WhatIf_PA";
constexpr const char* kInsertWhatIfPa =
    "INSERT INTO Lev_WhatIf_PA (PROJECT_ID, LEVEL_START, LEVEL_FINISH) "
    "SELECT PROJECT_ID, "
    "SUBSTR(MIN(CASE WHEN LEVEL_SCHED_START IS NULL THEN LEVEL_PLANNED_START "
    "ELSE LEVEL_SCHED_START END), 1, 10), "
    "SUBSTR(MAX(CASE WHEN LEVEL_SCHED_FINISH IS NULL THEN LEVEL_PLANNED_FINISH "
    "ELSE LEVEL_SCHED_FINISH END), 1, 10) "
    "FROM PROJECT_ASSIGNMENTS WHERE PROJECT_ID = ? AND RESOURCE_TYPE = '1' "
    "GROUP BY PROJECT_ID";
constexpr const char* kDeleteWhatIfWbs = "DELETE FROM Lev_WhatIf_WBS";
constexpr const char* kInsertWhatIfWbs =
    "INSERT INTO Lev_WhatIf_WBS (PROJECT_ID, LEVEL_START, LEVEL_FINISH) "
    "SELECT PROJECT_ID, "
    "SUBSTR(MIN(CASE WHEN LEVEL_START IS NULL THEN UNRESOLVED_START ELSE LEVEL_START END), "
    "1, 10), "
    "SUBSTR(MIN(CASE WHEN LEVEL_FINISH IS NULL THEN UNRESOLVED_FINISH ELSE LEVEL_FINISH END), "
    "1, 10) "
    "FROM KOR_WBS WHERE PROJECT_ID = ? AND PROJECT_ID = ELEMENT_ID "
    "GROUP BY PROJECT_ID, ELEMENT_ID";
constexpr const char* kCountNonProjectItems =
    "SELECT COUNT(TW.ELEMENT_ID) FROM KOR_WBS TW "
    "WHERE TW.PROJECT_ID = ? AND TW.ELEMENT_ID <> ? "
    "AND TW.TYPE_ID NOT IN (1, 154, 288, 289, 290)";
// Inputs: project id three times.
constexpr const char* kUpdateProjectPlannedDates =
    "UPDATE KOR_WBS SET (START_DT, FINISH_DT, UNRESOLVED_START, UNRESOLVED_FINISH) = "
    "(SELECT wbs.LEVEL_START, wbs.LEVEL_FINISH, wbs.LEVEL_START, wbs.LEVEL_FINISH "
    "FROM KOR_WBS wbs WHERE wbs.PROJECT_ID = ? AND wbs.ELEMENT_ID = ?) "
    "WHERE ELEMENT_ID = ?";
constexpr const char* kWhatIfStartFromPa =
    "UPDATE Lev_WhatIf_WBS AS W SET LEVEL_START = "
    "(SELECT COALESCE(MIN(PA.LEVEL_START), W.LEVEL_START) FROM Lev_WhatIf_PA PA "
    "WHERE PA.PROJECT_ID = W.PROJECT_ID "
    "AND (W.LEVEL_START IS NULL OR PA.LEVEL_START <= W.LEVEL_START)) "
    "WHERE W.PROJECT_ID = ?";
constexpr const char* kWhatIfFinishFromPa =
    "UPDATE Lev_WhatIf_WBS AS W SET LEVEL_FINISH = "
    "(SELECT COALESCE(MAX(PA.LEVEL_FINISH), W.LEVEL_FINISH) FROM Lev_WhatIf_PA PA "
    "WHERE PA.PROJECT_ID = W.PROJECT_ID "
    "AND (W.LEVEL_FINISH IS NULL OR PA.LEVEL_FINISH >= W.LEVEL_FINISH)) "
    "WHERE W.PROJECT_ID = ?";
constexpr const char* kUpdateProjectStartFinishDates =
    "UPDATE KOR_WBS AS TW SET (START_FINISH_DATE, FINISH_START_DATE) = "
    "(SELECT SUBSTR(WS.LEVEL_START, 1, 10), SUBSTR(WS.LEVEL_FINISH, 1, 10) "
    "FROM Lev_WhatIf_WBS WS WHERE WS.PROJECT_ID = ?) "
    "WHERE TW.ELEMENT_ID = ?";
constexpr const char* kUpdateScenarioPriority =
    "UPDATE KOR_WBS SET PRIORITY = "
    "(SELECT S.PRIORITY FROM NAV_SCENARIOS S WHERE S.ELEMENT_ID = ? LIMIT 1) "
    "WHERE ELEMENT_ID = ?";

constexpr const char* kMarkProjectRollups =
    "UPDATE KOR_WBS SET ROLLUP_BITS = NAV_STPU_BIT_OR(ROLLUP_BITS, 33554432) "
    "WHERE RANK LIKE ? AND PROJECT_ID IN (SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00) "
    "AND LEVEL_STATE = 1 AND TYPE_ID IN (1, 154, 288, 289, 290)";
constexpr const char* kCallRollup = "call LEVEL_FC_Rollup(?) into ?";
constexpr const char* kCallRollupTimephase = "call LEVEL_FC_Rollup_Timephase() into ?";
constexpr const char* kCallTimephaseCriTask = "call LEVEL_FC_Timephase_CRI_Task() into ?";
constexpr const char* kCallTimephaseLevelled = "call LEVEL_FC_TIMEPHASE_LEVELED() into ?";

// Old types 3 and 2 go where a new row of type 17 or 18 exists for the
// same element and charge code; then 17 becomes 3 and 18 becomes 2.
constexpr const char* kDeleteReplacedBudget =
    "DELETE FROM PROJECT_BUDGET_BREAKDOWN AS PBB "
    "WHERE PBB.BUDGET_TYPE IN (3, 2) "
    "AND PBB.PROJECT_ID IN (SELECT A.ELEMENT_ID FROM NAV_TMP_PROJECTS_00 A) "
    "AND EXISTS (SELECT B.PROJECT_ID FROM PROJECT_BUDGET_BREAKDOWN B "
    "WHERE B.PROJECT_ID = PBB.PROJECT_ID AND B.ELEMENT_ID = PBB.ELEMENT_ID "
    "AND B.CHARGECODE_ID = PBB.CHARGECODE_ID AND B.BUDGET_TYPE IN (17, 18))";
constexpr const char* kSwitchBudgetTypes =
    "UPDATE PROJECT_BUDGET_BREAKDOWN AS PBB SET BUDGET_TYPE = "
    "CASE PBB.BUDGET_TYPE WHEN 17 THEN 3 WHEN 18 THEN 2 ELSE PBB.BUDGET_TYPE END "
    "WHERE PBB.BUDGET_TYPE IN (17, 18) "
    "AND PBB.PROJECT_ID IN (SELECT R.ELEMENT_ID FROM NAV_TMP_PROJECTS_00 R)";

constexpr const char* kDropLevelDays =
    "DELETE FROM LEVEL_TASK_DAY_OF_YEAR "
    "WHERE PROJECT_ID IN (SELECT A.ELEMENT_ID FROM NAV_TMP_PROJECTS_00 A)";

// ---------------------------------------------------------------------------
// Texts
// ---------------------------------------------------------------------------

constexpr const char* kBanner = "*  C o p i n g  of  L e v e l e d  D a t a   *";
constexpr const char* kTimephaseBanner = "*  Invocking Timephased Budget   *";
constexpr const char* kWhere = "Lev_resolveDepOracleDB (levelResourcesForProject)";
constexpr const char* kContactLine = "Please submit to supporting team \n\n";
constexpr std::size_t kRoomForText = 500;
constexpr std::size_t kRoomForWarning = 4000;

// ---------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------

struct Copy {
  db::Store& store;
  RunState& run;
  FILE* file;
  db::StampText now;            // the copy takes assignments changed before this
  bool onlyProjectItems = true; // the run-wide flag of the project-date rule
  int copied = 0;
};

// Adds the processor time since `since` to run.time[index] and restarts.
void lap(RunState& run, int index, std::clock_t& since) {
  const std::clock_t now = std::clock();
  run.time[index] += static_cast<double>(now - since) / CLOCKS_PER_SEC;
  since = now;
}

int sqlFailure(Copy& c, int32_t status) {
  logSqlFailure(c.run, status, c.file);
  return status;
}

// The warning shape for a host procedure's non-zero result; the notified
// copy carries the contact line.
void warn(Copy& c, const char* number, const char* errorType, const std::string& details) {
  const std::string head = std::string("**** error(W-") + number + ") in " + kWhere +
                           " \nerror type: " + errorType + " \nLineNum = " +
                           std::to_string(c.run._wneverLine) + " \n";
  if (c.file != nullptr) {
    std::fprintf(c.file, "\n\n%s%s\n\n", head.c_str(), details.c_str());
    std::fflush(c.file);
  }
  if (messageRoom(c.run) > kRoomForWarning) {
    sendProgress(c.run, (head + kContactLine + details + "\n\n").c_str(), c.file);
  }
}

void addText(RunState& run, const std::string& text) {
  if (messageRoom(run) > kRoomForText) prependMessage(run, text.c_str());
}

// Calls a host function whose integer result is bound; `result` is 0 when
// it gives null. Returns the call's status.
int32_t callHost(Copy& c, const char* text, db::Vars args, int32_t& result) {
  result = 0;
  int16_t ind = 0;
  const db::HostVar out(result, &ind);
  const int32_t rc = c.store.call(text, args, &out);
  if (ind < 0) result = 0;
  return rc;
}

// Rows of a cursor read to the end before anything is changed.
struct ActualDay {
  std::string assignment;
  std::string day;
  std::string bits;  // empty: null
  int32_t actualMinutes = 0;
};

int32_t readPartialProjectAssignments(Copy& c, const std::string& project,
                                      std::vector<std::string>& out) {
  db::Cursor cursor(c.store);
  int32_t rc = cursor.open(kSelectPartialProjectAssignments, {project, c.now});
  if (rc < 0) return rc;
  db::IdText id;
  int16_t ind = 0;
  while ((rc = cursor.fetch({db::HostVar(id, &ind)})) == 0) {
    if (ind >= 0) out.emplace_back(id.view());
  }
  cursor.close();
  return rc < 0 ? rc : 0;
}

int32_t readActualDays(Copy& c, const std::string& project, std::vector<ActualDay>& out) {
  db::Cursor cursor(c.store);
  int32_t rc = cursor.open(kSelectActualDays, {project});
  if (rc < 0) return rc;
  db::IdText assignment;
  db::DayText day;
  db::DayBitsText bits;
  int32_t difference = 0;
  int32_t actual = 0;
  int16_t assignmentInd = 0, dayInd = 0, bitsInd = 0, differenceInd = 0, actualInd = 0;
  while ((rc = cursor.fetch({db::HostVar(assignment, &assignmentInd),
                             db::HostVar(day, &dayInd), db::HostVar(bits, &bitsInd),
                             db::HostVar(difference, &differenceInd),
                             db::HostVar(actual, &actualInd)})) == 0) {
    ActualDay row;
    row.assignment = assignmentInd < 0 ? std::string() : std::string(assignment.view());
    row.day = dayInd < 0 ? std::string() : std::string(day.view());
    row.bits = bitsInd < 0 ? std::string() : std::string(bits.view());
    row.actualMinutes = actualInd < 0 ? 0 : actual;
    out.push_back(std::move(row));
  }
  cursor.close();
  return rc < 0 ? rc : 0;
}

// The day's bits cut to its first `minutes` working minutes, as the
// store's text; false when the stored bits are not a day's 72 digits.
bool cutDayBits(const std::string& stored, int minutes, char (&text)[DAY_BITS_HEX_DIGITS + 1]) {
  unsigned char day[DAY_BITS_BYTES] = {};
  if (decodeDayBitsHex(stored.c_str(), day) == 0) return false;
  Lev_clearFinishDayStruct(minutes, day);
  Lev_splitSchedBitsInTwo(day, text);
  return true;
}

// ---------------------------------------------------------------------------
// One project
// ---------------------------------------------------------------------------

// Step 2.3 to 2.6: which assignments, and their daily rows.
int copyAssignmentDays(Copy& c, const std::string& project, std::clock_t& since) {
  RunState& run = c.run;
  run._wneverLine = kCopyLineSelect;
  int32_t rc = c.store.execute(kDeleteSelection);
  if (rc >= 0) rc = c.store.execute(kInsertSelection, {project, c.now});
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeSelectAssignments, since);

  run._wneverLine = kCopyLinePartial;
  std::vector<std::string> partial;
  rc = readPartialProjectAssignments(c, project, partial);
  if (rc < 0) return sqlFailure(c, rc);
  for (const std::string& pa : partial) {
    rc = c.store.execute(kResetPartialTasks, {project, pa});
    if (rc >= 0) rc = c.store.execute(kDeletePartialSelection, {pa});
    if (rc < 0) return sqlFailure(c, rc);
  }
  lap(run, kCopyTimeFirstWbsUpdate, since);

  run._wneverLine = kCopyLineDays;
  rc = c.store.execute(kDeletePlannedDays, {project, project});
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeDailyCleanup, since);

  rc = c.store.execute(kDeleteActualDayKeys);
  if (rc >= 0) rc = c.store.execute(kInsertActualDayKeys, {project});
  if (rc >= 0) rc = c.store.execute(kDeleteLevelDaysWithActuals, {project});
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeDaysWithActuals, since);

  rc = c.store.execute(kInsertLevelledDays, {project});
  if (rc < 0) return sqlFailure(c, rc);

  run._wneverLine = kCopyLineActualBits;
  std::vector<ActualDay> days;
  rc = readActualDays(c, project, days);
  if (rc < 0) return sqlFailure(c, rc);
  for (const ActualDay& d : days) {
    char text[DAY_BITS_HEX_DIGITS + 1] = {};
    const bool cut = cutDayBits(d.bits, d.actualMinutes, text);
    const db::In bitsIn = cut ? db::In(std::string_view(text)) : db::In::null();
    rc = c.store.execute(kUpdateActualDay, {bitsIn, project, d.assignment, d.day});
    if (rc < 0) return sqlFailure(c, rc);
  }
  lap(run, kCopyTimeDailyRows, since);
  return 0;
}

// Step 2.10: the project item's dates.
int copyProjectDates(Copy& c, const std::string& project, int32_t childCount,
                     bool childCountKnown) {
  RunState& run = c.run;
  run._wneverLine = kCopyLineProjectDates;
  int32_t withPa = 0;
  int16_t withPaInd = 0;
  int32_t rc = c.store.selectInto(kCountResourceProjectAssignments, {project},
                                  {db::HostVar(withPa, &withPaInd)});
  if (rc < 0) return sqlFailure(c, rc);
  if (rc != 0 || withPaInd < 0) withPa = 0;

  if (withPa > 0) {
    rc = c.store.execute(kDeleteWhatIfPa);
    if (rc >= 0) rc = c.store.execute(kInsertWhatIfPa, {project});
    if (rc < 0) return sqlFailure(c, rc);
  }
  rc = c.store.execute(kDeleteWhatIfWbs);
  if (rc >= 0) rc = c.store.execute(kInsertWhatIfWbs, {project});
  if (rc < 0) return sqlFailure(c, rc);

  // The levelled dates become the planned dates of a project without
  // items of its own: CHILD_COUNT 0, or (while no project of the run has
  // had other items) nothing but project-type items below it.
  bool takeLevelled = childCountKnown && childCount == 0;
  if (c.onlyProjectItems) {
    int32_t others = 0;
    int16_t othersInd = 0;
    rc = c.store.selectInto(kCountNonProjectItems, {project, project},
                            {db::HostVar(others, &othersInd)});
    if (rc < 0) return sqlFailure(c, rc);
    if (rc == 0 && othersInd >= 0 && others > 0) {
      c.onlyProjectItems = false;
    } else {
      takeLevelled = true;
    }
  }
  if (takeLevelled) {
    rc = c.store.execute(kUpdateProjectPlannedDates, {project, project, project});
    if (rc < 0) return sqlFailure(c, rc);
  }

  if (withPa > 0) {
    rc = c.store.execute(kWhatIfStartFromPa, {project});
    if (rc >= 0) rc = c.store.execute(kWhatIfFinishFromPa, {project});
    if (rc < 0) return sqlFailure(c, rc);
  }
  rc = c.store.execute(kUpdateProjectStartFinishDates, {project, project});
  if (rc < 0) return sqlFailure(c, rc);
  if (run.optionFlag == 6) {
    rc = c.store.execute(kUpdateScenarioPriority, {project, project});
    if (rc < 0) return sqlFailure(c, rc);
  }
  return 0;
}

int copyProject(Copy& c, const std::string& project) {
  RunState& run = c.run;
  std::clock_t since = std::clock();

  // 2.1: never calculated?
  run._wneverLine = kCopyLineDetails;
  int32_t calculateFlag = 0, moveProject = 0;
  int16_t calculateInd = -1, moveInd = -1, startFinishInd = -1, nameInd = -1;
  db::StampText startFinish;
  db::NameText name;
  int32_t rc = c.store.selectInto(
      kSelectDetails, {project, project, project},
      {db::HostVar(calculateFlag, &calculateInd), db::HostVar(moveProject, &moveInd),
       db::HostVar(startFinish, &startFinishInd), db::HostVar(name, &nameInd)});
  if (rc < 0) return sqlFailure(c, rc);
  const bool detailsFound = rc == 0;
  const std::string projectName =
      detailsFound && nameInd >= 0 ? std::string(name.view()) : project;
  const bool neverCalculated = !detailsFound || calculateInd < 0 || calculateFlag == 0;
  const std::string neverText = "One must apply Calculate/Level before trying to copy results. \n\n"
                                "The Project '" + projectName +
                                "' has never been Calculated/Leveled \n\n";
  if (detailsFound && neverCalculated) {
    addText(run, neverText);
    lap(run, kCopyTimePreparation, since);
    return 0;
  }

  // 2.2: the project's rank and whether it has new results.
  db::RankText rank;
  int32_t levelState = 0;
  int16_t rankInd = -1, stateInd = -1;
  rc = c.store.selectInto(kSelectRankAndState, {project},
                          {db::HostVar(rank, &rankInd), db::HostVar(levelState, &stateInd)});
  if (rc < 0) return sqlFailure(c, rc);
  if (rc == db::kSqlNoData) {
    reportDataCorruption(run, "1", "not existing PROJECT_ID",
                         "PROJECT_ID = " + project + " (0)", c.file);
    return kErrCopyProjectMissing;
  }
  if (neverCalculated) {  // a KOR_WBS row without its details row
    addText(run, neverText);
    lap(run, kCopyTimePreparation, since);
    return 0;
  }
  if (stateInd >= 0 && levelState == 2) {
    addText(run, "No new Calculated/Leveled Data has been found for Project '" + projectName +
                     "' \n\n");
    lap(run, kCopyTimePreparation, since);
    return 0;
  }
  ++c.copied;
  db::RankText rankLike;
  rankLike.assign(std::string(rankInd < 0 ? std::string_view() : rank.view()) + "%");
  lap(run, kCopyTimePreparation, since);

  // 2.3 - 2.6
  rc = copyAssignmentDays(c, project, since);
  if (rc != 0) return rc;

  // 2.7, 2.8: the assignments, then the project assignments.
  run._wneverLine = kCopyLineAssignments;
  rc = c.store.execute(kUpdateAssignments, {calculateFlag});
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeAssignments, since);

  run._wneverLine = kCopyLineProjAssignments;
  rc = c.store.execute(kUpdateProjectAssignmentsPlanned, {project, project, project});
  if (rc >= 0) {
    rc = c.store.execute(kUpdateProjectAssignmentsScheduled, {project, project, project});
  }
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeProjectAssignments, since);

  // 2.9: the WBS items.
  run._wneverLine = kCopyLineWbs;
  rc = c.store.execute(kUpdateItemsWithEffort, {project});
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeSecondWbsUpdate, since);
  rc = c.store.execute(kUpdateItemsWithoutEffort, {project});
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeThirdWbsUpdate, since);

  // 2.10: project dates.
  int32_t childCount = 0;
  int16_t childInd = -1;
  run._wneverLine = kCopyLineProjectDates;
  rc = c.store.selectInto(kSelectChildCount, {project}, {db::HostVar(childCount, &childInd)});
  if (rc < 0) return sqlFailure(c, rc);
  const bool childCountKnown = rc == 0 && childInd >= 0;
  rc = copyProjectDates(c, project, childCount, childCountKnown);
  if (rc != 0) return rc;
  lap(run, kCopyTimeProjectDates, since);

  // 2.11: roll-up.
  if (childCountKnown && childCount > 0) {
    run._wneverLine = kCopyLineRollup;
    rc = c.store.execute(kMarkProjectRollups, {rankLike});
    if (rc < 0) return sqlFailure(c, rc);
    int32_t result = 0;
    rc = callHost(c, kCallRollup, {db::HostVar(rankLike)}, result);
    if (rc < 0) return sqlFailure(c, rc);
    if (result != 0) {
      warn(c, "0", "not zero error code returning from FC_Rollup",
           "RANK = " + std::string(rankLike.view()) + " (0) \nreturned = " +
               std::to_string(result) + " \n");
    }
    lap(run, kCopyTimeRollup, since);
  }

  // 2.12
  sendProgress(run, ("Project '" + projectName + "' is done.\n\n ").c_str(), c.file);
  return 0;
}

// Step 3: time-phased figures and the budget breakdown.
int copyTimephase(Copy& c) {
  RunState& run = c.run;
  run._wneverLine = kCopyLineTimephase;
  printBanner(c.file, kTimephaseBanner);
  int32_t result = 0;
  int32_t rc = callHost(c, kCallRollupTimephase, {}, result);
  if (rc < 0) return sqlFailure(c, rc);
  if (result != 0) {
    warn(c, "1", "not zero error code returning from FC_Rollup_Timephase",
         "returned = " + std::to_string(result) + " \n");
  }
  rc = callHost(c, kCallTimephaseCriTask, {}, result);
  if (rc < 0) return sqlFailure(c, rc);
  if (result != 0) {
    warn(c, "2", "not zero error code returning from FC_Timephase_CRI_Task",
         "returned = " + std::to_string(result) + " \n");
  }
  rc = callHost(c, kCallTimephaseLevelled, {}, result);
  if (rc < 0) return sqlFailure(c, rc);
  rc = c.store.execute(kDeleteReplacedBudget);
  if (rc >= 0) rc = c.store.execute(kSwitchBudgetTypes);
  if (rc < 0) return sqlFailure(c, rc);
  return 0;
}

int copyAll(db::Store& store, RunState& run, FILE* file) {
  Copy c{store, run, file, {}, true, 0};
  std::clock_t since = std::clock();

  // 1
  run._wneverLine = kCopyLineStart;
  int32_t rc = store.call(kSetDateFormat);
  if (rc < 0) return sqlFailure(c, rc);
  int16_t nowInd = 0;
  rc = store.selectInto(kSelectNow, {}, {db::HostVar(c.now, &nowInd)});
  if (rc < 0) return sqlFailure(c, rc);
  printBanner(file, kBanner);

  // 2
  run._wneverLine = kCopyLineProjects;
  std::vector<std::string> projects;
  {
    db::Cursor cursor(store);
    rc = cursor.open(kSelectProjects);
    if (rc < 0) return sqlFailure(c, rc);
    db::IdText id;
    int16_t ind = 0;
    while ((rc = cursor.fetch({db::HostVar(id, &ind)})) == 0) {
      if (ind >= 0) projects.emplace_back(id.view());
    }
    if (rc < 0) return sqlFailure(c, rc);
  }
  lap(run, kCopyTimePreparation, since);

  const int64_t total = static_cast<int64_t>(projects.size());
  int64_t done = 0;
  for (const std::string& project : projects) {
    rc = copyProject(c, project);
    if (rc != 0) return rc;
    run.num_proj = c.copied;
    db::reportProgress(kCopyProgressPhase, ++done, total);
  }

  // 3
  since = std::clock();
  if (c.copied > 0) {
    rc = copyTimephase(c);
    if (rc != 0) return rc;
  }

  // 4
  run._wneverLine = kCopyLineDropLevelDays;
  rc = store.execute(kDropLevelDays);
  if (rc < 0) return sqlFailure(c, rc);
  lap(run, kCopyTimeTimephase, since);
  return 0;
}

}  // namespace

int copyLevelledResults(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  try {
    return copyAll(*store, run, file);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n\n ****** error in copyLevelledResults: LineNum = %d throw exception to "
                   "upper level \n\n",
                   run._wneverLine);
      std::fflush(file);
    }
    throw;
  }
}

}  // namespace run
