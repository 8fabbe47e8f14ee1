// The levelling main loop: every assignment of every task of the run, in
// priority order, is placed on its resource by the host's search procedure
// LEVEL_FC_SEARCH_2; after each task the task takes the envelope of its
// placed assignments and the next task is realigned with its predecessors,
// so that later tasks start from the levelled dates of earlier ones. Then
// the tail (main_loop_tail.cc) writes the results.
//
// Ownership: the loop changes the run's item records in place (dates,
// offsets, durations, effort) and allocates nothing that outlives it; the
// lists and records belong to the run (RunState).
//
// Units: the cursor's dates are time stamps "YYYY-MM-DD HH:MM:SS.ffffff";
// items keep day numbers and minute offsets (assignment_dates.h converts);
// work, effort and UNRESOLVED_DURATION are working minutes; h_duration,
// handed to the search, is a number of days.
//
// The main cursor in the portable dialect: the task rows joined with their
// assignments by LEFT JOIN on project and task, the ACTUAL_FINISH/ETC
// condition in WHERE, as the outer join of the other database keeps it: a
// task without any assignment comes once with empty assignment columns,
// and a task whose every assignment is finished without remaining work
// does not come at all.
//
// Choices where the rules leave room:
// - A row without an assignment (a task without assignments, a container,
//   a project item) goes through the project and task change only: its
//   item is realigned with its predecessors; nothing is searched, and it
//   is not counted as an assignment.
// - A row whose item is not in the activity list (a deleted item, which
//   the work table holds but the load leaves out, or one of a type the load
//   does not read) is skipped; the per-row trace says so.
// - The commit counter counts tasks finished: it goes up at each task
//   change that has a previous task, so 400 tasks processed commit when the
//   401st begins. The project change tests the counter before that.
// - A task's envelope is written back (doSetDTParamsTaskDrivAss) only when
//   at least one assignment of it was placed; a task whose rows were all
//   skipped keeps its realigned dates.
// - h_per_day of 0 or less counts as 480 (the default of the column), so
//   the duration rule never divides by zero; a null UNRESOLVED_DURATION
//   counts as 0.
// - A null RESOURCE_TYPE is not '0' (search mode 12), as the rule reads.
// - The first day still open for work of a task with actual work (its
//   start from the TASK_DAY_OF_YEAR days not yet actual, after the task's
//   start day) raises the search start of its assignments to that day.
// - The search's in/out dates are bound with indicators; a null written
//   into either is the status -1405 (a procedure returned a null where a
//   value was expected), which takes the SQL-failure exit with the text of
//   the call. An empty text is the repairable W-8.
// - W-8 takes the assignment's own dates from step 5 (the task's, or its
//   work's when that started later), before the search start was cut.
// - Project assignments: the contour table NAV_TMP_PA_CNTR is refilled for
//   the first project-assignment row of each project (also when no project
//   change happened since the last task row). The start is the day of the
//   assignment's START_DT in that table (D-3, then the earliest day there;
//   D-4 when that fails too, and the task's own start stays), raised to
//   the first day its task assignments' load begins; its contour values
//   come from the table. The calendar must hold the start day, else
//   "error(D-5)" skips the row; h_duration becomes the count of calendar
//   days from that start to the project's finish when there are any.
// - The per-row traces (PRINT_OPTION_MORETHAN_BASIC) are one box per row.
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"
#include "network/forward_pass.h"
#include "run/levelling_stage.h"
#include "run/main_loop.h"
#include "run/run_messages.h"
#include "schedule/assignment_dates.h"
#include "store/progress.h"
#include "store/store.h"

namespace run {
namespace {

using stage::kFinishNode;
using stage::kStartNode;

// Progress markers (_wneverLine) of the loop.
constexpr int kLineBeforeLoop = 1400;
constexpr int kLineCursor = 1410;
constexpr int kLineRow = 1420;
constexpr int kLineProjectChange = 1430;
constexpr int kLineProjectAssignment = 1450;
constexpr int kLineSearch = 1460;
constexpr int kLineLoopEnd = 1490;

constexpr int kAssignmentsPerProgress = 100;
constexpr std::size_t kRoomForFatalText = 500;

constexpr int32_t kBitContour = 268435456;     // bit 28 of the contour type
constexpr int32_t kBitAuxDelay = 1073741824;   // bit 30 of the effort
constexpr int32_t kContourTypeLimit = 90;

constexpr const char* kDeleteTdy = "delete  from NAV_TMP_TDY ";
constexpr const char* kDeleteTdyLevel = "delete  from NAV_TMP_TDY_LEVEL ";

constexpr const char* kMainCursor =
    "select w.PROJECT_ID ,w.ELEMENT_ID ,w.TYPE_ID , coalesce (w.MINUTE_PER_DAY,480) "
    ",w.UNRESOLVED_DURATION ,temp.PRIORITY ,a.TSK_ASSIGNMENT_ID ,a.RESOURCE_ID "
    ",a.RESOURCE_TYPE ,w.PROPOSED_START ,w.START_DT ,w.UNRESOLVED_START ,w.UNRESOLVED_FINISH "
    ",w.TASK_TYPE ,a.ASSIGNMENT_DELAY ,a.PROJECT_ASSIGNMENT_ID ,a.BAK_FINISH_DT ,a.C_EFFORT "
    ",CAST(a.T_UNIT AS INTEGER) ,CAST(a.C_UNIT AS INTEGER) ,a.UNITS_MSP "
    ",CAST(a.BIT_FLAG AS INTEGER) ,a.CONTOUR_TYPE ,a.C_CONTOUR ,CAST(a.C_OCCURRENCE AS INTEGER) "
    ",a.PLANNED_WORK ,a.ETC SCHED_WORK ,a.UNRESOLVED_START ,a.WORK_TODATE "
    ",CASE WHEN a.PROJECT_ID IS NULL THEN 0 WHEN a.TASK_ID IS NULL THEN 0 "
    "WHEN a.PROJECT_ID=a.TASK_ID THEN 1 ELSE 0 END PROJ_ASSIGN "
    ",a.LEVEL_START ,a.LEVEL_FINISH ,w.LEVEL_INDEX "
    "from Lev_kor_wbs w JOIN NAV_TMP_PROJECTS_00 temp ON w.PROJECT_ID=temp.ELEMENT_ID "
    "LEFT JOIN TASK_ASSIGNMENTS a ON (a.PROJECT_ID=w.PROJECT_ID and a.TASK_ID=w.ELEMENT_ID) "
    "where (a.ACTUAL_FINISH is null or (a.ACTUAL_FINISH is not null and a.ETC<>0)) "
    "order by CASE WHEN a.TSK_ASSIGNMENT_ID IS NULL THEN 0 WHEN a.PROJECT_ID IS NULL THEN 0 "
    "WHEN a.PROJECT_ID=a.TASK_ID THEN 1 ELSE 0 END asc ,w.LEVEL_INDEX asc "
    ", coalesce (a.ASSIGNMENT_DELAY,0) asc ,a.UNRESOLVED_START asc";

constexpr const char* kCallIniAssign = "call FC_INI_ASSIGN_STR() into ?";
constexpr const char* kCallCreateCdyLevel = "call LEVEL_FC_CREATE_CDY_LEVEL(?,?,?,?) into ?";
constexpr const char* kCallSearch =
    "call LEVEL_FC_SEARCH_2(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?) into ?";
constexpr const char* kCallLevelString = "call U_LEVEL_STRING(?,?,?) into ?";

constexpr const char* kSelectCalculateFlag =
    "select CALCULATE_FLAG  from PROJECT_DETAILS where PROJECT_ID=?";
constexpr const char* kDeletePaCntr = "delete  from NAV_TMP_PA_CNTR ";
constexpr const char* kInsertPaCntr =
    "insert into NAV_TMP_PA_CNTR  select TSK_ASSIGNMENT_ID ,UNRESOLVED_START ,UNRESOLVED_FINISH "
    ",CONTOUR_TYPE ,C_CONTOUR ,C_EFFORT ,C_UNIT ,UNITS_MSP  from TASK_ASSIGNMENTS "
    "where (PROJECT_ID=? and TASK_ID=?)";
constexpr const char* kSelectFirstOpenDay =
    "select min(DAY_YEAR)  from TASK_DAY_OF_YEAR where (((PROJECT_ID=? and TASK_ID=?) "
    "and DAY_YEAR>SUBSTR(?,1,10)) and ACTUAL_FLAG=0)";
constexpr const char* kDeletePaSum = "delete  from NAV_TMP_PA_SUM ";
constexpr const char* kInsertPaSum =
    "insert into NAV_TMP_PA_SUM  select DAY_YEAR ,sum(SCHED_MIN)  from LEVEL_TASK_DAY_OF_YEAR "
    "where ((PROJECT_ID=? and TSK_ASSIGNMENT_ID<>?) and PARENT_ID=?) group by DAY_YEAR";
constexpr const char* kSelectPaSumStart =
    "select NAV_ORASTD_DB2TIMESTAMP(min(DAY_YEAR),'00:00:00')  from NAV_TMP_PA_SUM ";
constexpr const char* kSelectPaContour =
    "select CONTOUR_TYPE ,C_CONTOUR ,C_EFFORT ,C_UNIT ,UNITS_MSP  from NAV_TMP_PA_CNTR "
    "where TSK_ASSIGNMENT_ID=?";
constexpr const char* kSelectPaStart =
    "select SUBSTR(START_DT,1,10)  from NAV_TMP_PA_CNTR where TSK_ASSIGNMENT_ID=?";
constexpr const char* kSelectPaMinStart =
    "select min(SUBSTR(START_DT,1,10))  from NAV_TMP_PA_CNTR ";
constexpr const char* kCountCalendarDays =
    "select count(DAY_YEAR)  from CALENDAR_DAY_OF_YEAR where (ELEMENT_ID=? and DAY_YEAR "
    "between SUBSTR(?,1,10) and SUBSTR(?,1,10))";
constexpr const char* kCalendarDayExists =
    "select count('X')  where exists (select 'X'  from CALENDAR_DAY_OF_YEAR where "
    "(ELEMENT_ID=? and DAY_YEAR=SUBSTR(?,1,10)))";

constexpr const char* kW3Type =
    "(very critical) total effort is not supported by assignments (assignments count = 0 <-> "
    "for tasks under projects) \naction: skip assignments loop in Lev_resolveDepOracle \n\n";
constexpr const char* kW4Type =
    "(critical) not zero error code returning from LEVEL_FC_CREATE_CDY_LEVEL";
constexpr const char* kW6Type = "(critical) not zero error code returning from FC_SEARCH_2";
constexpr const char* kW7Type =
    "(not critical) wrong start-date time-string after return from FC_SEARCH_2";
constexpr const char* kW8Type =
    "(not critical) h_start_date or h_sched_finish are empty strings after return from "
    "FC_SEARCH_2";
constexpr const char* kW9Type = "(critical) not zero error code returning from U_LEVEL_STRING";
constexpr const char* kD20Type =
    "(critical) task has 'actual finish' in 'KOR_WBS' but not in 'TASK_ASSIGNMENTS' table "
    "\naction taken: ignore assignment";
constexpr const char* kD21Type =
    "task is marked as having an assignment but got NULL value for 'h_resource_id' or "
    "'h_tsk_assignment_id'";
constexpr const char* kD34Type =
    "(not critical) wrong 'UNRESOLVED_START'->'START_DT' from "
    "'TASK_ASSIGNMENTS'->'NAV_TMP_PA_CNTR' table";
constexpr const char* kD5Type =
    "(critical) reading corrupted assignments data from 'TASK_ASSIGNMENTS' or 'KOR_WBS' table "
    "\naction: assignment will be ignored";
constexpr const char* kSubmit = "Please submit to supporting team \n\n";
constexpr const char* kContact = "Please contact to support team \n\n";
constexpr const char* kFatalSearchText =
    "The termination is caused by invocation of 'FC_SEARCH_2' function, the "
    "'Calculte/Leveling' terminates, w/no resume \nCheck if 'FC_SEARCH_2' returns NULL in the "
    "place of 'h_start_date' or 'h_sched_finish'. \nTry to debug invocing 'FC_SEARCH_2' as "
    "follows: \n";

constexpr int kId = 33;
constexpr int kStamp = 27;

// One row of the main cursor, in fetch order, with its null indicators.
struct CursorRow {
  char project_id[kId];
  char tsk_element_id[kId];
  int32_t type_id;
  int32_t per_day;
  int32_t unresolved_duration;
  int32_t cp_priority;
  char tsk_assignment_id[kId];
  char resource_id[kId];
  char resource_type[2];
  char proposed_start[kStamp];
  char start_DT[kStamp];
  char start_dateO[kStamp];
  char finish_dateO[kStamp];
  int32_t task_type;
  int32_t delay;
  char prj_assignment_id[kId];
  char sched_finish[kStamp];
  int32_t c_effort;
  int32_t t_unit;
  int32_t c_unit;
  int32_t units_msp;
  int32_t bit_flag;
  int32_t contour_type;
  int32_t c_contour;
  int32_t c_occurrence;
  int32_t planned_work;
  int32_t sched_work;
  char ass_start_DT[kStamp];
  int32_t actual_work;
  int32_t projAssign_flag;
  char lev_start_DT[kStamp];
  char lev_finish_DT[kStamp];
  int32_t level_index;
  int16_t ind[33];
};

enum Col {
  kColProject = 0,
  kColTask = 1,
  kColAssignment = 6,
  kColResource = 7,
  kColSchedFinish = 16,
};

// The arguments of LEVEL_FC_SEARCH_2 (storage the procedure may write).
struct SearchCall {
  char tsk_assignment_id[kId] = {};
  char project_id[kId] = {};
  char tsk_element_id[kId] = {};
  char resource_id[kId] = {};
  double zero = 0.0;
  int32_t type_id = 0;
  char empty[4][2] = {};
  char start_date[kStamp] = {};
  int16_t start_ind = 0;
  char sched_finish[kStamp] = {};
  int16_t finish_ind = 0;
  int32_t duration = 0;
  int32_t planned_work = 0;
  int32_t c_effort = 0;
  int32_t t_unit = 0;
  int32_t c_unit = 0;
  int32_t tmp0 = 0;
  int32_t search_mode = 0;
  char resource_type[2] = {};
  int32_t bit_flag = 0;
  int32_t contour_type = 0;
  int32_t c_contour = 0;
  int32_t c_occurrence = 0;
  int32_t run_flag = 0;
  int32_t per_day = 0;
  int32_t cp_priority = 0;
  char rec_user[kId] = {};
  int32_t calculate_flag = 0;
  int32_t delay = 0;
};

// The envelope of the placed assignments of the task at hand.
struct Envelope {
  bool placed = false;  // at least one assignment rolled in
  int32_t min_startDate = 0;
  int32_t max_finishDate = 0;
  int min_offset_start_time = 0;
  int min_offset_finish_time = 0;
};

// Everything the loop carries from row to row.
struct LoopState {
  char prev_project_id[kId] = {};
  char prev_tsk_element_id[kId] = {};
  activity_type* prev_act = nullptr;
  char start_date_wbs[kStamp] = {};   // the project's start (project change)
  char finish_date_wbs[kStamp] = {};  // the project's finish
  int32_t calculate_flag = 0;
  char pa_cntr_project[kId] = {};     // project whose contour table is loaded
  char first_open_day[kStamp] = {};   // task with actual work: first open day
  int commitCounter = 0;
  Envelope env;
  int64_t assignmentsDone = 0;
  int64_t assignmentsTotal = 0;
};

bool isNull(const CursorRow& r, int col) { return r.ind[col] < 0; }


std::string idWithInd(const char* name, const char* value, int16_t ind) {
  return std::string(name) + " = " + value + " (" + std::to_string(ind) + ") \n";
}

std::string rowIdentifiers(const CursorRow& r) {
  return idWithInd("h_project_id", r.project_id, r.ind[kColProject]) +
         idWithInd("h_tsk_element_id", r.tsk_element_id, r.ind[kColTask]) +
         idWithInd("h_tsk_assignment_id", r.tsk_assignment_id, r.ind[kColAssignment]) +
         idWithInd("h_resource_id", r.resource_id, r.ind[kColResource]);
}

// Integer value of a nullable number column: 0 when null.
int32_t num(const CursorRow& r, int col, int32_t value) { return r.ind[col] < 0 ? 0 : value; }

int callWithStatus(RunState& run, db::Store& store, const char* sql, db::Vars args,
                   int32_t* sc_state, FILE* file) {
  *sc_state = 0;
  int16_t ind = 0;
  db::HostVar result(*sc_state, &ind);
  const int32_t rc = store.call(sql, args, &result);
  if (rc < 0) return stage::sqlFailureExit(run, rc, file);
  if (ind < 0) *sc_state = 0;
  return 0;
}

// The search's duration in days: whole days of the planned duration plus
// one, doubled (by half again instead beyond 1000 days).
int32_t searchDuration(int32_t unresolvedMinutes, int32_t perDay) {
  if (perDay <= 0) perDay = 480;
  int32_t days = unresolvedMinutes / perDay + 1;
  if (days > 1000) return days * 3 / 2;
  return days * 2;
}

// Search mode (argument 19) and run flag (argument 25).
int32_t searchMode(const RunState& run, const CursorRow& r, const activity_type* act) {
  const bool otherResource = r.resource_type[0] != '0';
  if (otherResource) return 12;
  if (run.optionFlag == 3) return 7;
  if (act->type == 3) {
    const int c = act->constraint_type;
    if (c == 3 || c == 4 || c == 5 || c == 7) return 7;
  }
  return 6;
}

// Argument 22: a contour type of 90 or more is 0, then bit 28 is set.
int32_t searchContourType(int32_t contourType) {
  if (contourType >= kContourTypeLimit) contourType = 0;
  return contourType | kBitContour;
}

// "date time" texts keep their time; a bare date starts at midnight.
void completeStamp(char* stamp) {
  if (std::strlen(stamp) <= 10) {
    std::string s = std::string(stamp) + " 00:00:00.000000";
    copyCut(stamp, kStamp, s.c_str());
  }
}

void formatSearchStatement(RunState& run, const SearchCall& c) {
  static const std::string kNext = ", \n" + std::string(23, ' ');
  std::string s = "\nCALL LEVEL_FC_SEARCH_2(";
  bool first = true;
  auto sep = [&] {
    if (!first) s += kNext;
    first = false;
  };
  auto text = [&](const char* v) {
    sep();
    s += "'";
    s += v;
    s += "'";
  };
  auto number = [&](int32_t v) {
    sep();
    char buf[16];
    std::snprintf(buf, sizeof buf, "%d", static_cast<int>(v));
    s += buf;
  };
  text(c.tsk_assignment_id);
  text(c.project_id);
  text(c.tsk_element_id);
  text(c.resource_id);
  sep();
  char real[32];
  std::snprintf(real, sizeof real, "%f", c.zero);
  s += real;
  number(c.type_id);
  for (const auto& e : c.empty) text(e);
  text(c.start_date);
  text(c.sched_finish);
  number(c.duration);
  number(c.planned_work);
  number(c.c_effort);
  number(c.t_unit);
  number(c.c_unit);
  number(c.tmp0);
  number(c.search_mode);
  text(c.resource_type);
  number(c.bit_flag);
  number(c.contour_type);
  number(c.c_contour);
  number(c.c_occurrence);
  number(c.run_flag);
  number(c.per_day);
  number(c.cp_priority);
  text(c.rec_user);
  number(c.calculate_flag);
  number(c.delay);
  s += ") \n\n\n";
  copyCut(run.sql_stmt, kSqlStmtSize, s.c_str());
}

void traceRow(const RunState& run, const CursorRow& r, FILE* file) {
  if (run.PRINT_OPTION_MORETHAN_BASIC == 0 || file == nullptr) return;
  std::fprintf(file,
               "\n-------------------------------------------------------------\n"
               "Fetching new Task Assignment in the Main Loop\n"
               " project %s task %s type %d assignment %s resource %s (%s) level_index %d "
               "delay %d proj_assign %d\n"
               "-------------------------------------------------------------\n",
               r.project_id, r.tsk_element_id, static_cast<int>(r.type_id), r.tsk_assignment_id,
               r.resource_id, r.resource_type, static_cast<int>(r.level_index),
               static_cast<int>(r.delay), static_cast<int>(r.projAssign_flag));
}

class MainLoop {
 public:
  MainLoop(RunState& run, db::Store& store, FILE* file) : run_(run), store_(store), file_(file) {}

  int run();

 private:
  int processRow(CursorRow& r);
  int projectChange(const CursorRow& r, int32_t duration);
  int taskChange(const CursorRow& r, activity_type* act);
  int finishPreviousTask();
  int commitIfDue(const char* logLine);
  int loadProjectContours(const CursorRow& r);
  // 0: go on; 1: skip the row; negative: the SQL-failure exit.
  int projectAssignmentDates(CursorRow& r, char* start, int32_t* duration);
  int place(CursorRow& r, activity_type* act, int32_t duration);
  int countAssignments(int64_t* total);

  RunState& run_;
  db::Store& store_;
  FILE* file_;
  LoopState s_;
};

int MainLoop::countAssignments(int64_t* total) {
  // Only the size of the job for the progress hook; the loop does not
  // depend on it.
  *total = 0;
  if (!db::progressWanted()) return 0;
  int64_t n = 0;
  int16_t ind = 0;
  const int32_t rc = store_.selectInto(
      "select count(*)  from Lev_kor_wbs w JOIN NAV_TMP_PROJECTS_00 temp ON "
      "w.PROJECT_ID=temp.ELEMENT_ID JOIN TASK_ASSIGNMENTS a ON (a.PROJECT_ID=w.PROJECT_ID and "
      "a.TASK_ID=w.ELEMENT_ID) where (a.ACTUAL_FINISH is null or (a.ACTUAL_FINISH is not null "
      "and a.ETC<>0))",
      {}, {db::HostVar(n, &ind)});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  *total = n;
  return 0;
}

int MainLoop::run() {
  run_._wneverLine = kLineBeforeLoop;
  sendProgress(run_, "Start processing of assignments.", file_);
  if (int rc = stage::executeOrExit(run_, kDeleteTdy, file_); rc != 0) return rc;
  if (int rc = stage::executeOrExit(run_, kDeleteTdyLevel, file_); rc != 0) return rc;
  if (int rc = countAssignments(&s_.assignmentsTotal); rc != 0) return rc;

  run_._wneverLine = kLineCursor;
  std::clock_t t0 = std::clock();
  db::Cursor cursor(store_);
  int32_t rc = cursor.open(kMainCursor);
  run_.time[kTimeSelectAssignments] += secondsSince(t0);
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);

  int32_t sc_state = 0;
  if (int r = callWithStatus(run_, store_, kCallIniAssign, {}, &sc_state, file_); r != 0) {
    return r;
  }
  if (sc_state != 0 && file_ != nullptr) {
    std::fprintf(file_,
                 "\n\n*****************************************\n"
                 "error initializing assignment string: %d\n"
                 "*****************************************\n",
                 static_cast<int>(sc_state));
  }

  CursorRow r{};
  db::HostVar vars[] = {
      {r.project_id, &r.ind[0]},        {r.tsk_element_id, &r.ind[1]},
      {r.type_id, &r.ind[2]},           {r.per_day, &r.ind[3]},
      {r.unresolved_duration, &r.ind[4]}, {r.cp_priority, &r.ind[5]},
      {r.tsk_assignment_id, &r.ind[6]}, {r.resource_id, &r.ind[7]},
      {r.resource_type, &r.ind[8]},     {r.proposed_start, &r.ind[9]},
      {r.start_DT, &r.ind[10]},         {r.start_dateO, &r.ind[11]},
      {r.finish_dateO, &r.ind[12]},     {r.task_type, &r.ind[13]},
      {r.delay, &r.ind[14]},            {r.prj_assignment_id, &r.ind[15]},
      {r.sched_finish, &r.ind[16]},     {r.c_effort, &r.ind[17]},
      {r.t_unit, &r.ind[18]},           {r.c_unit, &r.ind[19]},
      {r.units_msp, &r.ind[20]},        {r.bit_flag, &r.ind[21]},
      {r.contour_type, &r.ind[22]},     {r.c_contour, &r.ind[23]},
      {r.c_occurrence, &r.ind[24]},     {r.planned_work, &r.ind[25]},
      {r.sched_work, &r.ind[26]},       {r.ass_start_DT, &r.ind[27]},
      {r.actual_work, &r.ind[28]},      {r.projAssign_flag, &r.ind[29]},
      {r.lev_start_DT, &r.ind[30]},     {r.lev_finish_DT, &r.ind[31]},
      {r.level_index, &r.ind[32]},
  };
  while (true) {
    run_._wneverLine = kLineRow;
    rc = cursor.fetch(db::Vars(vars));
    if (rc == db::kSqlNoData) break;
    if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
    if (int step = processRow(r); step != 0) return step;
  }
  cursor.close();

  run_._wneverLine = kLineLoopEnd;
  if (int step = finishPreviousTask(); step != 0) return step;
  db::reportProgress("levelling", s_.assignmentsDone, s_.assignmentsTotal);
  sendProgress(run_, "Processing of assignments is completed.", file_);
  return 0;
}

int MainLoop::commitIfDue(const char* logLine) {
  if (s_.commitCounter < stage::kTasksPerCommit) return 0;
  std::clock_t t0 = std::clock();
  const int rc = stage::commitRun(run_, file_);
  run_.time[stage::kTimeLoopCommits] += secondsSince(t0);
  if (rc != 0) return rc;
  s_.commitCounter = 0;
  if (file_ != nullptr) std::fprintf(file_, "\n%s\n", logLine);
  return 0;
}

int MainLoop::finishPreviousTask() {
  if (s_.prev_act == nullptr || !s_.env.placed) return 0;
  const int rc = doSetDTParamsTaskDrivAss(
      s_.prev_act, run_.sm, s_.env.min_startDate, s_.env.max_finishDate,
      s_.env.min_offset_start_time, s_.env.min_offset_finish_time,
      run_.PRINT_OPTION_EVEN_MORETHAN_BASIC, file_);
  s_.env.placed = false;
  if (rc != 0) run_.errCode = rc;
  return rc;
}

int MainLoop::loadProjectContours(const CursorRow& r) {
  if (std::strcmp(s_.pa_cntr_project, r.project_id) == 0) return 0;
  if (int rc = stage::executeOrExit(run_, kDeletePaCntr, file_); rc != 0) return rc;
  const int32_t rc = store_.execute(kInsertPaCntr, {r.project_id, r.project_id});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  copyCut(s_.pa_cntr_project, kId, r.project_id);
  return 0;
}

int MainLoop::projectChange(const CursorRow& r, int32_t duration) {
  run_._wneverLine = kLineProjectChange;
  if (s_.prev_project_id[0] != '\0') {
    if (int rc = commitIfDue("commit here changing project"); rc != 0) return rc;
  }
  if (run_.PRINT_OPTION_MORETHAN_BASIC != 0) {
    printBanner(file_, "On this item changed project_id. Load a Calendar for Project");
  }
  s_.start_date_wbs[0] = '\0';
  s_.finish_date_wbs[0] = '\0';
  auto* projAct = static_cast<activity_type*>(ll_extract(run_.activities_list, r.project_id));
  if (projAct != nullptr) {
    doExtractActStartFinishDT(projAct, s_.start_date_wbs, s_.finish_date_wbs);
  } else if (file_ != nullptr) {
    std::fprintf(file_, "\n project item %s is not in the activity list\n", r.project_id);
  }

  char project[kId];
  copyCut(project, kId, r.project_id);
  int32_t dur = duration;
  int32_t tmp0 = 0;
  int32_t sc_state = 0;
  std::clock_t t0 = std::clock();
  int rc = callWithStatus(run_, store_, kCallCreateCdyLevel,
                          {db::HostVar(project), db::HostVar(s_.start_date_wbs),
                           db::HostVar(dur), db::HostVar(tmp0)},
                          &sc_state, file_);
  run_.time[stage::kTimeCalendarLevels] += secondsSince(t0);
  if (rc != 0) return rc;
  if (sc_state != 0) {
    reportWarning(run_, "4", kW4Type,
                  "h_project_id = " + std::string(project) + " \nh_start_date_wbs = " +
                      s_.start_date_wbs + " \nh_duration = " + std::to_string(dur) +
                      " \nh_temp_sc_state = " + std::to_string(sc_state) + " \n" + kSubmit,
                  file_);
  }

  int16_t ind = 0;
  int32_t flag = 0;
  const int32_t sel = store_.selectInto(kSelectCalculateFlag, {project},
                                        {db::HostVar(flag, &ind)});
  if (sel < 0) return stage::sqlFailureExit(run_, sel, file_);
  s_.calculate_flag = (sel == 0 && ind >= 0) ? flag : 0;
  return 0;
}

int MainLoop::taskChange(const CursorRow& r, activity_type* act) {
  if (s_.prev_tsk_element_id[0] != '\0') {
    if (int rc = finishPreviousTask(); rc != 0) return rc;
    ++s_.commitCounter;
    if (int rc = commitIfDue("commit here exceding number of tasks"); rc != 0) return rc;
  }
  s_.first_open_day[0] = '\0';
  if (act->hasActualStart != 0) {
    char start[kStamp] = {};
    char finish[kStamp] = {};
    doExtractActStartFinishDT(act, start, finish);
    db::DayText day;
    int16_t ind = 0;
    const int32_t rc = store_.selectInto(kSelectFirstOpenDay,
                                         {r.project_id, r.tsk_element_id, start},
                                         {db::HostVar(day, &ind)});
    if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
    if (rc == 0 && ind >= 0 && day.len == 10) {
      std::string stamp = std::string(day.view()) + " 00:00:00.000000";
      copyCut(s_.first_open_day, kStamp, stamp.c_str());
    }
  }
  std::clock_t t0 = std::clock();
  const int rc =
      doDynamAlignActWithPred(act, run_.act_tmp_list, run_.sm, kStartNode, kFinishNode, file_);
  run_.time[stage::kTimeRealignment] += secondsSince(t0);
  if (rc != 0) {
    run_.errCode = rc;
    return rc;
  }
  s_.env = Envelope{};
  return 0;
}

int MainLoop::projectAssignmentDates(CursorRow& r, char* start, int32_t* duration) {
  run_._wneverLine = kLineProjectAssignment;
  if (run_.PRINT_OPTION_MORETHAN_BASIC != 0) printBanner(file_, "Process new Project Assignment");
  if (int rc = loadProjectContours(r); rc != 0) return rc;
  if (int rc = stage::executeOrExit(run_, kDeletePaSum, file_); rc != 0) return rc;
  int32_t rc = store_.execute(kInsertPaSum, {r.project_id, r.tsk_assignment_id,
                                             r.tsk_assignment_id});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);

  db::StampText loadStart;
  int16_t loadInd = 0;
  rc = store_.selectInto(kSelectPaSumStart, {}, {db::HostVar(loadStart, &loadInd)});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  const bool hasLoadStart = rc == 0 && loadInd >= 0 && loadStart.len >= 10;

  int16_t cInd[5] = {0, 0, 0, 0, 0};
  int32_t contourType = 0, cContour = 0, cEffort = 0, cUnit = 0, unitsMsp = 0;
  rc = store_.selectInto(kSelectPaContour, {r.tsk_assignment_id},
                         {db::HostVar(contourType, &cInd[0]), db::HostVar(cContour, &cInd[1]),
                          db::HostVar(cEffort, &cInd[2]), db::HostVar(cUnit, &cInd[3]),
                          db::HostVar(unitsMsp, &cInd[4])});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  if (rc == 0) {
    r.contour_type = cInd[0] < 0 ? 0 : contourType;
    r.c_contour = cInd[1] < 0 ? 0 : cContour;
    r.c_effort = cInd[2] < 0 ? 0 : cEffort;
    r.c_unit = cInd[3] < 0 ? 0 : cUnit;
    r.units_msp = cInd[4] < 0 ? 0 : unitsMsp;
  }

  db::DayText day;
  int16_t dayInd = 0;
  rc = store_.selectInto(kSelectPaStart, {r.tsk_assignment_id}, {db::HostVar(day, &dayInd)});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  bool haveDay = rc == 0 && dayInd >= 0 && day.len == 10;
  if (!haveDay) {
    reportDataCorruption(run_, "3", kD34Type, rowIdentifiers(r), file_);
    rc = store_.selectInto(kSelectPaMinStart, {}, {db::HostVar(day, &dayInd)});
    if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
    haveDay = rc == 0 && dayInd >= 0 && day.len == 10;
    if (!haveDay) reportDataCorruption(run_, "4", kD34Type, rowIdentifiers(r), file_);
  }
  if (haveDay) {
    std::string stamp = std::string(day.view()) + " 00:00:00.000000";
    copyCut(start, kStamp, stamp.c_str());
  }
  if (hasLoadStart && std::strcmp(loadStart.c_str(), start) > 0) {
    copyCut(start, kStamp, loadStart.c_str());
  }

  int64_t exists = 0;
  int16_t exInd = 0;
  rc = store_.selectInto(kCalendarDayExists, {r.project_id, start},
                         {db::HostVar(exists, &exInd)});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  if (rc != 0 || exists == 0) {
    reportDataCorruption(run_, "5", kD5Type, rowIdentifiers(r), file_);
    return 1;
  }
  int64_t days = 0;
  int16_t daysInd = 0;
  rc = store_.selectInto(kCountCalendarDays, {r.project_id, start, s_.finish_date_wbs},
                         {db::HostVar(days, &daysInd)});
  if (rc < 0) return stage::sqlFailureExit(run_, rc, file_);
  if (rc == 0 && daysInd >= 0 && days > 0 && days < INT32_MAX) {
    *duration = static_cast<int32_t>(days);
  }
  return 0;
}

int MainLoop::processRow(CursorRow& r) {
  traceRow(run_, r, file_);
  // 1. The item of the row, and the auxiliary delay.
  auto* act = static_cast<activity_type*>(ll_extract(run_.activities_list, r.tsk_element_id));
  if (act == nullptr) {
    if (run_.PRINT_OPTION_MORETHAN_BASIC != 0 && file_ != nullptr) {
      std::fprintf(file_, "\n item %s of project %s is not in the network: row skipped\n",
                   r.tsk_element_id, r.project_id);
    }
    return 0;
  }
  r.c_effort = num(r, 17, r.c_effort);
  r.contour_type = num(r, 22, r.contour_type);
  r.c_contour = num(r, 23, r.c_contour);
  if (run_.optionFlagReserved > 0 && r.c_effort == 0 && r.contour_type != 1) {
    r.c_effort = run_.optionFlagReserved | kBitAuxDelay;
    r.c_contour = 0;
    r.contour_type = 0;
  }

  // 2. Data checks.
  const bool hasAssignmentRow = !isNull(r, kColAssignment);
  const bool taskWithAss = act->type == 3 && act->hasAssignment != 0;
  if (act->hasActualFinish != 0) {
    if (taskWithAss) reportDataCorruption(run_, "2-0", kD20Type, rowIdentifiers(r), file_);
    return 0;
  }
  if (taskWithAss && (!hasAssignmentRow || isNull(r, kColResource))) {
    reportDataCorruption(run_, "2-1", kD21Type, rowIdentifiers(r), file_);
    return 0;
  }
  int32_t duration = searchDuration(num(r, 4, r.unresolved_duration), r.per_day);

  // 3. Project change.
  if (std::strcmp(r.project_id, s_.prev_project_id) != 0) {
    if (int rc = projectChange(r, duration); rc != 0) return rc;
  }
  // 4. Task change.
  if (std::strcmp(r.tsk_element_id, s_.prev_tsk_element_id) != 0 ||
      std::strcmp(r.project_id, s_.prev_project_id) != 0) {
    if (int rc = taskChange(r, act); rc != 0) return rc;
  }
  copyCut(s_.prev_project_id, kId, r.project_id);
  copyCut(s_.prev_tsk_element_id, kId, r.tsk_element_id);
  s_.prev_act = act;
  if (!hasAssignmentRow) return 0;
  return place(r, act, duration);
}

int MainLoop::place(CursorRow& r, activity_type* act, int32_t duration) {
  const bool projAssign = r.projAssign_flag == 1;
  // 5. The assignment's dates.
  char assStart[kStamp] = {};
  char assFinish[kStamp] = {};
  int rc = doExtractActAssStartFinishDT(act, r.resource_id, run_.sm,
                                        kOptionConsiderUidsLengthSupr, assStart, assFinish,
                                        stage::kErrAssignmentNotInList, file_);
  if (rc != 0) {
    if (file_ != nullptr) {
      std::fprintf(file_,
                   "\n\n*****************************************************\n"
                   "E R R O R  exiting from doExtractActAssStartFinishDT !!!\n"
                   "assignment is not in the list and will be ignored\n"
                   " task %s assignment %s resource %s code %d\n"
                   "*****************************************************\n",
                   r.tsk_element_id, r.tsk_assignment_id, r.resource_id, rc);
    }
    run_.errCode = 0;
    return 0;
  }
  char start[kStamp];
  copyCut(start, kStamp, assStart);
  if (projAssign) {
    const int step = projectAssignmentDates(r, start, &duration);
    if (step < 0) return step;
    if (step == 1) return 0;
  }

  // 6. Search start.
  run_._wneverLine = kLineSearch;
  const int16_t nonTrivial = activityHasNonTrivialPred(act, kStartNode);
  if (s_.first_open_day[0] != '\0' && std::strcmp(s_.first_open_day, start) > 0) {
    copyCut(start, kStamp, s_.first_open_day);
  }
  doArrangeActLowerStartDateTime(act, run_.act_tmp_list, start, "start", r.c_effort,
                                 r.c_contour, r.contour_type, run_.sm, kStartNode, file_);
  completeStamp(start);
  if (run_.PRINT_OPTION_EVEN_MORETHAN_BASIC != 0 && file_ != nullptr) {
    std::fprintf(file_, "\n search start %s (non-trivial predecessor %d)\n", start,
                 static_cast<int>(nonTrivial));
  }

  // 7. The call and its text.
  SearchCall c;
  copyCut(c.tsk_assignment_id, kId, r.tsk_assignment_id);
  copyCut(c.project_id, kId, r.project_id);
  copyCut(c.tsk_element_id, kId, r.tsk_element_id);
  copyCut(c.resource_id, kId, r.resource_id);
  c.type_id = num(r, 2, r.type_id);
  copyCut(c.start_date, kStamp, start);
  c.start_ind = 0;
  copyCut(c.sched_finish, kStamp, r.sched_finish);
  c.finish_ind = r.ind[kColSchedFinish] < 0 ? -1 : 0;
  c.duration = duration;
  const int32_t planned = num(r, 25, r.planned_work);
  c.planned_work = planned > 0 ? planned : num(r, 26, r.sched_work);
  c.c_effort = r.c_effort;
  c.t_unit = num(r, 18, r.t_unit);
  c.c_unit = num(r, 19, r.c_unit);
  c.search_mode = searchMode(run_, r, act);
  copyCut(c.resource_type, 2, r.resource_type);
  c.bit_flag = num(r, 21, r.bit_flag);
  c.contour_type = searchContourType(r.contour_type);
  c.c_contour = r.c_contour;
  c.c_occurrence = num(r, 24, r.c_occurrence);
  c.run_flag = run_.optionFlag == 3 ? 266 : 10;
  c.per_day = num(r, 3, r.per_day);
  c.cp_priority = num(r, 5, r.cp_priority);
  copyCut(c.rec_user, kId, run_.rec_user);
  c.calculate_flag = s_.calculate_flag;
  c.delay = num(r, 14, r.delay);
  formatSearchStatement(run_, c);

  // 8. The search.
  int32_t sc_state = 0;
  int16_t scInd = 0;
  db::HostVar result(sc_state, &scInd);
  db::HostVar args[] = {
      {c.tsk_assignment_id}, {c.project_id},  {c.tsk_element_id},
      {c.resource_id},       {c.zero},        {c.type_id},
      {c.empty[0]},          {c.empty[1]},    {c.empty[2]},
      {c.empty[3]},          {c.start_date, &c.start_ind},
      {c.sched_finish, &c.finish_ind},        {c.duration},
      {c.planned_work},      {c.c_effort},    {c.t_unit},
      {c.c_unit},            {c.tmp0},        {c.search_mode},
      {c.resource_type},     {c.bit_flag},    {c.contour_type},
      {c.c_contour},         {c.c_occurrence}, {c.run_flag},
      {c.per_day},           {c.cp_priority}, {c.rec_user},
      {c.calculate_flag},    {c.delay},
  };
  std::clock_t t0 = std::clock();
  int32_t status = store_.call(kCallSearch, db::Vars(args), &result);
  run_.time[kTimeSearch] += secondsSince(t0);
  if (status >= 0 && (c.start_ind < 0 || c.finish_ind < 0)) {
    status = db::kSqlNullWithoutIndicator;
    store_.status().set(status, "fetched column value is NULL");
  }
  if (status < 0) return stage::sqlFailureExit(run_, status, file_);
  if (scInd < 0) sc_state = 0;
  if (sc_state != 0) {
    std::string details = "h_project_id = " + std::string(r.project_id) +
                          " \nh_tsk_element_id = " + r.tsk_element_id +
                          " \nh_tsk_assignment_id = " + r.tsk_assignment_id +
                          " \nh_resource_id = " + r.resource_id +
                          " \nh_duration = " + std::to_string(duration) +
                          " \nh_start_date = " + c.start_date +
                          " \nh_sched_finish = " + c.sched_finish +
                          " \nh_start_date_wbs = " + assStart +
                          " \nh_finish_date_wbs = " + assFinish +
                          " \nh_temp_sc_state = " + std::to_string(sc_state) + " \n" + kSubmit +
                          "The invocation of FC_SEARCH_2 as follows: \n" + run_.sql_stmt;
    reportWarning(run_, "6", kW6Type, details, file_);
  }
  if (act->hasActualStart != 0 && c.bit_flag != 2 && file_ != nullptr) {
    std::fprintf(file_,
                 "\n\n =====> E R R O R   LEVELING: task with actual not in Schedule mode. "
                 "[%s]\n\n",
                 r.tsk_assignment_id);
  }

  // 9. The returned times.
  if (std::strlen(c.start_date) >= 16 && std::strncmp(c.start_date + 11, "00:00", 5) == 0) {
    reportWarning(run_, "7", kW7Type,
                  "h_tsk_assignment_id = " + std::string(r.tsk_assignment_id) +
                      " \nh_start_date = " + c.start_date + " \n" + kContact,
                  file_);
    std::string fixed = std::string(c.start_date, 10) + " 08:00:00.000000";
    copyCut(c.start_date, kStamp, fixed.c_str());
  }
  if (c.start_date[0] == '\0' || c.sched_finish[0] == '\0') {
    reportWarning(run_, "8", kW8Type,
                  "h_tsk_assignment_id = " + std::string(r.tsk_assignment_id) +
                      " \nh_start_date = " + c.start_date + " \nh_sched_finish = " +
                      c.sched_finish + " \n" + kSubmit,
                  file_);
    copyCut(c.start_date, kStamp, assStart);
    copyCut(c.sched_finish, kStamp, assFinish);
  }

  // 10. The envelope of the task.
  if (run_.PRINT_OPTION_EVEN_MORETHAN_BASIC != 0 && file_ != nullptr) {
    std::fprintf(file_, "\nPrint Info Before Rollup Assignments within Task %s: %s .. %s\n",
                 r.tsk_element_id, c.start_date, c.sched_finish);
  }
  t0 = std::clock();
  rc = doRollupAssDTWithinTask(act, run_.sm, s_.env.placed ? 1 : 0, c.start_date,
                               c.sched_finish, &s_.env.min_startDate, &s_.env.max_finishDate,
                               &s_.env.min_offset_start_time, &s_.env.min_offset_finish_time,
                               run_.PRINT_OPTION_EVEN_MORETHAN_BASIC, file_);
  run_.time[stage::kTimeTaskRollups] += secondsSince(t0);
  if (rc != 0) {
    run_.errCode = rc;
    return rc;
  }
  if (act->type == 3) {
    if (!s_.env.placed) ++run_.tasks_with_ass_count;
    s_.env.placed = true;
  }

  // 11. The assignment's levelled load.
  char project[kId];
  copyCut(project, kId, r.project_id);
  char assignment[kId];
  copyCut(assignment, kId,
           projAssign && !isNull(r, 15) ? r.prj_assignment_id : r.tsk_assignment_id);
  int32_t tmp0 = 0;
  if (int step = callWithStatus(run_, store_, kCallLevelString,
                                {db::HostVar(project), db::HostVar(assignment),
                                 db::HostVar(tmp0)},
                                &sc_state, file_);
      step != 0) {
    return step;
  }
  if (sc_state != 0) {
    reportWarning(run_, projAssign ? "10" : "9", kW9Type,
                  "h_project_id = " + std::string(project) + " \nh_tsk_assignment_id = " +
                      assignment + " \nh_temp_sc_state = " + std::to_string(sc_state) + " \n" +
                      kContact,
                  file_);
  }

  // 12. Count.
  if (projAssign) {
    ++run_.proj_ass_count;
  } else {
    ++run_.ass_count;
  }
  ++s_.assignmentsDone;
  if (s_.assignmentsDone % kAssignmentsPerProgress == 0) {
    db::reportProgress("levelling", s_.assignmentsDone, s_.assignmentsTotal);
  }
  return 0;
}

// W-3: effort in the run but no project with assignments.
bool someProjectHasAssignments(const RunState& run) {
  if (run.projects_list == nullptr) return false;
  for (linktype* l = run.projects_list->phead; l != nullptr; l = l->pnext) {
    const auto* p = static_cast<const project_type*>(l->pcontents);
    if (p != nullptr && p->containsAss != 0) return true;
  }
  return false;
}

}  // namespace

namespace stage {

int sqlFailureExit(RunState& run, int32_t status, FILE* file) {
  run.errCode = status;
  logSqlFailure(run, status, file);
  if (status == db::kSqlNullWithoutIndicator) {
    if (file != nullptr) {
      std::fprintf(file, "%s", run.sql_stmt);
      std::fflush(file);
    }
    if (messageRoom(run) > kRoomForFatalText) {
      sendProgress(run, (std::string(kFatalSearchText) + run.sql_stmt).c_str(), file);
    }
  }
  return status;
}

int commitRun(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return sqlFailureExit(run, db::kSqlNoConnection, file);
  int32_t result = 0;
  int16_t ind = 0;
  db::HostVar resultVar(result, &ind);
  const int32_t rc = store->call("call LEVEL_COMMIT() into ?", {}, &resultVar);
  if (rc < 0) return sqlFailureExit(run, rc, file);
  return 0;
}

int executeOrExit(RunState& run, const char* sql, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return sqlFailureExit(run, db::kSqlNoConnection, file);
  const int32_t rc = store->execute(sql);
  if (rc < 0) return sqlFailureExit(run, rc, file);
  return 0;
}

}  // namespace stage

int levelAssignmentsAndWriteResults(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return stage::sqlFailureExit(run, db::kSqlNoConnection, file);
  if (run.hasWork != 0) {
    if (!someProjectHasAssignments(run)) {
      reportWarning(run, "3", kW3Type, kSubmit, file);
    } else {
      MainLoop loop(run, *store, file);
      if (int rc = loop.run(); rc != 0) return rc;
    }
  }
  return stage::writeLevelledResults(run, file);
}

}  // namespace run
