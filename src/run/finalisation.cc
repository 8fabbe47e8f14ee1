// The end of every run (see finalisation.h).
#include "run/finalisation.h"

#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#include "run/cleanup.h"
#include "run/run_messages.h"
#include "store/store.h"

namespace run {
namespace {

// Step 1.
constexpr const char* kSelectNow = "SELECT SYSTIMESTAMP()";

// Step 2.
constexpr const char* kResetLevelLock =
    "UPDATE PROJECT_DETAILS SET LEVEL_LOCK = 0 WHERE EXISTS (SELECT T.ELEMENT_ID FROM "
    "NAV_TMP_PROJECTS_00 T WHERE T.ELEMENT_ID = PROJECT_DETAILS.PROJECT_ID)";

// Step 3.1.
constexpr const char* kUnlockWhatIf =
    "UPDATE KOR_WBS AS TW SET REC_STATUS = 'U', REC_DATETIME = SYSTIMESTAMP() "
    "WHERE TW.REC_STATUS = 'L' AND TW.PROJECT_ID IN (SELECT T.ELEMENT_ID FROM "
    "NAV_TMP_PROJECTS_00 T WHERE T.ELEMENT_ID = TW.PROJECT_ID) AND EXISTS (SELECT PD.PROJECT_ID "
    "FROM PROJECT_DETAILS PD WHERE PD.PROJECT_ID = TW.PROJECT_ID AND PD.LEVEL_LOCK = 0)";
constexpr const char* kUnlock =
    "UPDATE KOR_WBS SET REC_STATUS = 'U', REC_DATETIME = SYSTIMESTAMP() WHERE EXISTS (SELECT "
    "T.ELEMENT_ID FROM NAV_TMP_PROJECTS_00 T WHERE T.ELEMENT_ID = KOR_WBS.PROJECT_ID) AND "
    "REC_STATUS = 'L'";
constexpr const char* kUnlockPortfolio =
    "UPDATE KOR_PORTFOLIOS SET REC_STATUS = 'U' WHERE ELEMENT_ID = ?";

// Step 3.2, 3.3.
constexpr const char* kEmptyProjectList = "DELETE FROM NAV_TMP_PROJECTS_00";
constexpr const char* kEmptyRunTables[] = {
    "DELETE FROM Lev_kor_wbs",    "DELETE FROM Lev_circ_1",  "DELETE FROM Lev_circ_2",
    "DELETE FROM Lev_circ_3",     "DELETE FROM NAV_TMP_TDY", "DELETE FROM NAV_TMP_TDY_LEVEL",
    "DELETE FROM NAV_TMP_PA_CNTR"};
constexpr const char* kEmptyPaSum = "DELETE FROM NAV_TMP_PA_SUM";
constexpr const char* kEmptyProjectAssignment = "DELETE FROM Lev_project_assignment";
constexpr const char* kEmptyUids[] = {"DELETE FROM Lev_act_uids", "DELETE FROM Lev_res_uids"};
constexpr const char* kEmptyCopyTables[] = {"DELETE FROM nav_tmp_ta_02",
                                            "DELETE FROM NAV_TMP_TDYD"};

constexpr const char* kCallCommit = "call LEVEL_COMMIT() into ?";

// Step 7: the element's name.
constexpr const char* kSelectPortfolioName =
    "SELECT RTRIM(SUBSTR(ELEMENT_NAME, 1, 49)) FROM KOR_PORTFOLIOS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectWbsName =
    "SELECT RTRIM(SUBSTR(ELEMENT_NAME, 1, 49)) FROM KOR_WBS WHERE ELEMENT_ID = ?";

// Step 7: the run that holds the lock, first in RANK order.
#define LEV_LOCK_COLUMNS                                                                 \
  "SELECT PD.LEVEL_LOCK, PD.LEVEL_LAST_CALL_OPTION, SUBSTR(PD.SCENARIO_NAME, 1, 49), "   \
  "R.FULL_NAME, PD.SCENARIO_USER_ID, PD.SCENARIO_DATETIME FROM PROJECT_DETAILS PD JOIN " \
  "KOR_WBS W ON W.ELEMENT_ID = PD.PROJECT_ID LEFT JOIN RESOURCES R ON R.RESOURCE_ID = "  \
  "PD.SCENARIO_USER_ID WHERE PD.LEVEL_LOCK > 0 AND W.TYPE_ID IN (1,154,288,289,290) "
constexpr const char* kSelectLockUnderRank = LEV_LOCK_COLUMNS
    "AND W.RANK LIKE (SELECT E.RANK || '%' FROM KOR_WBS E WHERE E.ELEMENT_ID = ?) "
    "ORDER BY W.RANK LIMIT 1";
constexpr const char* kSelectLockInFolder = LEV_LOCK_COLUMNS
    "AND EXISTS (SELECT P.ELEMENT_ID FROM KOR_PORTFOLIOS P JOIN KOR_WBS PW ON PW.ELEMENT_ID = "
    "P.ELEMENT_ID WHERE P.RANK LIKE (SELECT F.RANK || '%' FROM KOR_PORTFOLIOS F WHERE "
    "F.ELEMENT_ID = ?) AND P.TYPE_ID IN (1,154,288,289,290) AND W.RANK LIKE (PW.RANK || '%')) "
    "ORDER BY W.RANK LIMIT 1";
constexpr const char* kSelectLockInScenario = LEV_LOCK_COLUMNS
    "AND PD.LEVEL_LOCK <> 10 AND PD.PROJECT_ID IN (SELECT S.ELEMENT_ID FROM NAV_SCENARIOS S) "
    "ORDER BY W.RANK LIMIT 1";
#undef LEV_LOCK_COLUMNS

constexpr int kScenarioLockValue = 10;

constexpr const char* kDashes =
    " ---------------------------------------------------------------------------\n";

double seconds(std::clock_t from, std::clock_t to) {
  return static_cast<double>(to - from) / 1000000.0;
}

// A text with one number in it, whatever its length.
std::string formatted(const char* format, int value) {
  const int n = std::snprintf(nullptr, 0, format, value);
  if (n <= 0) return std::string();
  std::string text(static_cast<std::size_t>(n) + 1, '\0');
  std::snprintf(text.data(), text.size(), format, value);
  text.resize(static_cast<std::size_t>(n));
  return text;
}

// Statements of the finalisation: run in turn, failures not checked.
class Statements {
 public:
  explicit Statements(db::Store* store) : store_(store) {}
  void execute(const char* sql, db::Binds in = {}) {
    if (store_ != nullptr) store_->execute(sql, in);
  }
  void commit() {
    if (store_ == nullptr) return;
    int32_t result = 0;
    db::HostVar resultVar(result);
    store_->call(kCallCommit, {}, &resultVar);
  }
  db::Store* store() const { return store_; }

 private:
  db::Store* store_;
};

bool keepsLevelLocks(int errCode) {
  return errCode == 0 || errCode == kErrLocked || errCode == kErrTemplated ||
         errCode == kErrEmptyPortfolio || errCode == kErrNotExisting ||
         errCode == kErrNeverCalculated;
}

bool isCopyRun(int optionFlag) { return optionFlag == 2 || optionFlag == 6; }

void printLockResetBox(int errCode, FILE* file) {
  if (file == nullptr) return;
  const std::string stars(63, '*');
  std::fprintf(file,
               "\n%s\n*  Completing Calculate/Leveling w/error code = %10d    *\n"
               "*  Reset level_lock flag to 0                                 *\n%s\n",
               stars.c_str(), errCode, stars.c_str());
  std::fflush(file);
}

void emptyWorkTables(const RunState& run, Statements& sql) {
  if (isCopyRun(run.optionFlag)) {
    for (const char* s : kEmptyCopyTables) sql.execute(s);
    return;
  }
  for (const char* s : kEmptyRunTables) sql.execute(s);
  if (run.proj_ass_count > 0) sql.execute(kEmptyPaSum);
  if (run.tmp_proj_ass_count > 0) sql.execute(kEmptyProjectAssignment);
  if (kOptionConsiderUidsLengthSupr != 0) {
    for (const char* s : kEmptyUids) sql.execute(s);
  }
}

// ---------------------------------------------------------------------------
// The final notification.

// What the run was asked to do, by a run kind.
const char* requestText(int optionFlag) {
  switch (optionFlag) {
    case 0:
    case 1:
    case 4:
      return "Leveling ";
    case 3:
      return "Calculating ";
    case 2:
    case 6:
      return "Copying Calculated/Leveled Results for ";
    default:
      return "Calculate/Leveling ";
  }
}

const char* elementKindText(const RunState& run) {
  if (run.isWhatIfScenario != 0) return "What-if? Scenario: ";
  if (run.isFolderWithinPortfolio != 0) return "Portfolio: ";
  return "Project: ";
}

std::string elementName(const RunState& run, db::Store* store) {
  if (store != nullptr) {
    db::NameText name;
    int16_t ind = 0;
    const char* sql = run.isFolderWithinPortfolio != 0 ? kSelectPortfolioName : kSelectWbsName;
    if (store->selectInto(sql, {run.element_id}, {db::HostVar(name, &ind)}) == 0 && ind >= 0) {
      return std::string(name.view());
    }
  }
  return run.root_node_name;
}

void setSubject(RunState& run, const char* request, const std::string& name) {
  const std::string subject = std::string(request) + elementKindText(run) + "'" + name + "'";
  copyCut(run.subject, kSubjectSize, subject.c_str());
}

void notifyFinal(RunState& run, const char* tag, const std::string& text, FILE* file) {
  prependMessage(run, text.c_str());
  notifyRun(run, tag, file);
}

void notifyTemplated(RunState& run, db::Store* store, FILE* file) {
  const std::string name = elementName(run, store);
  setSubject(run, requestText(run.optionFlag), name);
  std::string text = "'" + name + "'";
  if (run.isFolderWithinPortfolio != 0 || run.isWhatIfScenario != 0) {
    text += " \nand one of its sub-elements ";
  }
  text += "\ncontains templated WBS items. \n\n";
  notifyFinal(run, "[Locked] ", text, file);
}

struct LockHolder {
  int32_t level_lock = 0;
  int32_t last_call_option = 0;
  db::NameText scenario_name;
  db::NameText full_name;
  db::IdText user_id;
  db::StampText datetime;
};

bool readLockHolder(const RunState& run, db::Store* store, LockHolder& h) {
  if (store == nullptr) return false;
  int16_t ind[6] = {0, 0, 0, 0, 0, 0};
  const db::HostVar vars[] = {
      db::HostVar(h.level_lock, &ind[0]),    db::HostVar(h.last_call_option, &ind[1]),
      db::HostVar(h.scenario_name, &ind[2]), db::HostVar(h.full_name, &ind[3]),
      db::HostVar(h.user_id, &ind[4]),       db::HostVar(h.datetime, &ind[5])};
  const db::Vars into(vars);
  int32_t rc = 0;
  if (run.isWhatIfScenario != 0) {
    rc = store->selectInto(kSelectLockInScenario, {}, into);
  } else if (run.isFolderWithinPortfolio != 0) {
    rc = store->selectInto(kSelectLockInFolder, {run.element_id}, into);
  } else {
    rc = store->selectInto(kSelectLockUnderRank, {run.element_id}, into);
  }
  return rc == 0;
}

void notifyLocked(RunState& run, db::Store* store, FILE* file) {
  if (run.PRINT_OPTION_BASIC != 0)
    printBanner(file, "* Handling Locked Projects/Portfolios/Scenaria *");
  const std::string name = elementName(run, store);
  std::string text = "'" + name + "'" + " \nor one of its sub-elements ";
  LockHolder h;
  if (!readLockHolder(run, store, h)) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n\n**** error !!! Check why couldn't select locked projects !!! "
                   "element_id= %s \n\n",
                   run.element_id);
      std::fflush(file);
    }
    setSubject(run, requestText(run.optionFlag), name);
    text += "\nis locked for Calculate/Leveling by someone\n\n";
    notifyFinal(run, "[Locked] ", text, file);
    return;
  }
  setSubject(run, requestText(h.last_call_option), name);
  const bool byMe = std::string_view(h.user_id.view()) == std::string_view(run.rec_user);
  text += byMe ? "\nis locked for Calculate/Leveling by you"
               : "\nis locked for Calculate/Leveling by someone";
  if (h.level_lock == kScenarioLockValue) {
    text += "as a part of What-If?Scenario: '" + std::string(h.scenario_name.view()) + "'" + "'\n";
  } else {
    text += " at " + std::string(h.datetime.view()) + "'\n";
  }
  text += "RESOURCE_NAME = " + std::string(h.full_name.view()) +
          "\nRESOURCE_ID = " + std::string(h.user_id.view()) + "\n\n";
  notifyFinal(run, "[Locked] ", text, file);
}

void notifyProcessFailed(RunState& run, FILE* file) {
  const std::string tag = formatted("[Error: %d] ", run.errCode);
  char text[512];
  std::snprintf(text, sizeof text,
                "Process Failed. Error Code is: %d \nFile: Lev_resolveDepOracleDB \n%s \nLine "
                "Number is: %d \n\n",
                run.errCode, run.SQL_ErrCode, run._wneverLine);
  notifyFinal(run, tag.c_str(), text, file);
}

void sendFinalNotification(RunState& run, db::Store* store, FILE* file) {
  switch (run.errCode) {
    case 0:
      notifyFinal(run, "[Finished] ", "Completed, 100% done.\n\n\n", file);
      return;
    case kErrCircular:
      notifyFinal(run, "[Circular] ", "There are circular dependencies in your projects.\n\n",
                  file);
      return;
    case kErrNotExisting:
      notifyFinal(run, "[Failed] ", "You tried to Calculate/Level not existing project.\n\n", file);
      return;
    case kErrEmptyPortfolio:
      notifyFinal(run, "[Failed] ", "You tried to Calculate/Level an empty portfolio.\n\n", file);
      return;
    case kErrNeverCalculated:
      notifyFinal(run, "[Failed] ",
                  "You have to Calculate/Level at least once before Copying results.\n\n", file);
      return;
    case kErrException:
      notifyFinal(run, "[Failed] ",
                  formatted("Terminated due to handling of code trown exception: "
                            "Lev_resolveDependencesDB (levelResourcesForProject): \nLineNum= %d "
                            "\n\n",
                            run._wneverLine),
                  file);
      return;
    case kErrTemplated:
      notifyTemplated(run, store, file);
      return;
    case kErrLocked:
      notifyLocked(run, store, file);
      return;
    default:
      notifyProcessFailed(run, file);
      return;
  }
}

// ---------------------------------------------------------------------------
// The results report.

void timeLine(FILE* file, const char* label, double value, const char* per, double divisor) {
  std::fprintf(file, " %-39s:%10.5f (%s %10.5f)  seconds\n", label, value, per, value / divisor);
}

constexpr const char* kLoadLabels[8] = {"Loading Projects",
                                        "Loading WBS Items & Dependences",
                                        "Merging Projects Lists",
                                        "Extending Calendars",
                                        "Inheriting Assignment Counts",
                                        "Aligning Constraints",
                                        "Building Children in Network",
                                        "Building Dependences in Network"};

constexpr const char* kSequenceLabels[17] = {"Selecting Assignments",
                                             "Building Network Order",
                                             "Handling Actual Work",
                                             "External & Fictive Dependences",
                                             "Circularity & Network Levels",
                                             "Delay Factors",
                                             "Forward Pass",
                                             "Forward Re-pass of Roots",
                                             "Finish Node Order",
                                             "Calendars for Backward Pass",
                                             "Backward Pass",
                                             "Dynamic Backward Re-pass",
                                             "Float (Total Slack)",
                                             "Priority Order (level_index)",
                                             "First-time Realignment & Update",
                                             "Dynamic Forward Re-pass",
                                             "Roll-up after Static Passes"};

struct DriverPhase {
  int index;
  const char* label;
};
constexpr DriverPhase kDriverPhases[] = {
    {kTimeLoadPhase, "Loading (whole phase)"},
    {kTimeSelectAssignments, "Selecting Assignments for Leveling"},
    {kTimeCalendarDays, "Calendar-Day Creation"},
    {kTimeRollups, "Roll-ups during Leveling"},
    {kTimeFinalRollup, "Final Roll-up"},
    {kTimeFinalUpdate, "Final Update of Items"},
    {kTimeProjectDates, "Project Dates & Assign. Summaries"},
    {kTimeCopyToPlan, "Copy of Results into KOR_WBS"},
    {kTimeConflicts, "Conflicts"},
    {kTimeCommits, "Commits"},
    {kTimeTimephased, "Timephased Budget"}};

constexpr const char* kCopyLabels[kTimeCopySteps] = {"Copy DT-> Preparation",
                                                     "Copy DT-> Insert into nav_tmp_ta_02",
                                                     "Copy DT-> First Update of WBS",
                                                     "Copy DT-> Clean-up of Daily Rows",
                                                     "Copy DT-> Insert of Days w/Actuals",
                                                     "Copy DT-> Insert/Update of Daily Rows",
                                                     "Copy DT-> Assignments",
                                                     "Copy DT-> Project Assignments",
                                                     "Copy DT-> Second Update of WBS",
                                                     "Copy DT-> Third Update of WBS",
                                                     "Copy DT-> What-if Updates",
                                                     "Copy DT-> Roll-up",
                                                     "Copy DT-> Time-phase Calculation"};

void printTimingLines(const RunState& run, FILE* file) {
  const double perTask = run.tasksTotalCount + 1.0;
  const double perProject = run.num_proj + 0.1;
  for (int i = 0; i < 8; ++i) timeLine(file, kLoadLabels[i], run.loadTimes[i], "p.task  ", perTask);
  for (int i = 0; i < 17; ++i) {
    timeLine(file, kSequenceLabels[i], run.sequenceTimes[i], "p.task  ", perTask);
  }
  for (const DriverPhase& p : kDriverPhases) {
    timeLine(file, p.label, run.time[p.index], "p.task  ", perTask);
  }
  for (int i = 0; i < kTimeCopySteps; ++i) {
    timeLine(file, kCopyLabels[i], run.time[kTimeCopyFirst + i], "p.proj  ", perProject);
  }
}

}  // namespace

void printResultsReport(const RunState& run, const char* todays, double totalSeconds, bool timing,
                        FILE* file) {
  if (file == nullptr) return;
  if (run.isWhatIfScenario != 0) {
    std::fprintf(file,
                 "\n\n\n LEVELING/CALCULATE RESULTS for What-If?Scenario. \n The 1-st "
                 "project_id                   :%32s \n",
                 run.element_id_p);
  } else if (run.isFolderWithinPortfolio != 0) {
    std::fprintf(file,
                 "\n\n\n LEVELING/CALCULATE RESULTS for Portfolio. \n The Portfolio id is       "
                 "             :%32s \n",
                 run.element_id);
  } else {
    std::fprintf(file,
                 "\n\n\n LEVELING/CALCULATE RESULTS for Project. \n The Project id is          "
                 "            :%32s \n",
                 run.element_id);
  }
  const double perTask = run.tasksTotalCount + 1.0;
  const double perAssignment = run.ass_count + 1.0;
  std::fprintf(file, " Todays Date is                         :%26s \n", todays);
  std::fputs(kDashes, file);
  std::fprintf(file, " Error Code is                          :%10d \n", run.errCode);
  std::fprintf(file, " Total Time                             :%10.5f (p.task   %10.5f)  seconds\n",
               totalSeconds, totalSeconds / perTask);
  std::fprintf(file, " No.Leveled Tasks                       :%10d \n", run.tasksTotalCount);
  std::fprintf(file, " No.Leveled Assignments                 :%10d within   %d Leveled Tasks \n",
               run.ass_count, run.tasks_with_ass_count);
  const double staticSeq = run.time[kTimeStaticSequence];
  const double dynamic = run.time[kTimeDynamicResolution];
  const double search = run.time[kTimeSearch];
  const double critical = run.time[kTimeCriticalPath];
  std::fprintf(file, " Total time Processing Forward/Backward :%10.5f (p.task   %10.5f)  seconds\n",
               staticSeq, staticSeq / perTask);
  std::fprintf(file, " Dynamic Resolution of Dependences      :%10.5f (p.task   %10.5f)  seconds\n",
               dynamic, dynamic / perTask);
  std::fprintf(file, " Search_2 Function                      :%10.5f (p.assign %10.5f)  seconds\n",
               search, search / perAssignment);
  std::fprintf(file, " Total time Critical Path Calculation   :%10.5f (p.task   %10.5f)  seconds\n",
               critical, critical / perTask);
  if (timing) printTimingLines(run, file);
  const double minutes = totalSeconds / 60.0;
  std::fprintf(file, " Total Time of this RUN                 :%10.5f (p.task   %10.5f)  MINUTES\n",
               minutes, minutes / perTask);
  std::fflush(file);
}

namespace {

// run._wneverLine is the failing step's marker, reported by the final
// notification: the finalisation leaves it as it is.
int finalizeRun(RunState& run, FILE* file) {
  Statements sql(db::currentStore());
  const int errCode = run.errCode;

  // 1. Date format and the time of the report.
  char todays[kStampSize] = {};
  if (sql.store() != nullptr) {
    sql.store()->call("SET_DATEFORMAT");
    db::StampText now;
    int16_t nowInd = 0;
    if (sql.store()->selectInto(kSelectNow, {}, {db::HostVar(now, &nowInd)}) == 0) {
      copyCut(todays, kStampSize, now.c_str());
    }
  }

  // 2. A failed run gives its level locks back.
  if (!keepsLevelLocks(errCode)) {
    printLockResetBox(errCode, file);
    sql.execute(kResetLevelLock);
  }

  // 3. Record locks, work tables and records of a run that got past its
  //    lock check.
  if (run.isOriginallyLocked == 0) {
    if (kOptionLockProjectsWhenCalculate != 0 && run.allProjectsAreLockedByMe != 0) {
      if (run.PRINT_OPTION_BASIC != 0) printBanner(file, "* Unlocking Selected Projects *");
      if (run.isWhatIfScenario != 0) {
        sql.execute(kUnlockWhatIf);
      } else {
        sql.execute(kUnlock);
        if (run.isFolderWithinPortfolio != 0) sql.execute(kUnlockPortfolio, {run.element_id});
      }
      if (kNotifyOnCompletion == 1) sendProgress(run, "All Selected Projects are Unlocked. ", file);
    }
    sql.execute(kEmptyProjectList);
    if (errCode >= 0) emptyWorkTables(run, sql);
    sql.commit();
    freeRunRecords(run, file);
    if (kNotifyOnCompletion == 1) sendProgress(run, "All Temporary objects are Deleted. ", file);
  }

  // 4.
  sql.commit();
  freeRunRecords(run, file);  // what a run stopped at its lock check still holds

  // 5.
  printResultsReport(run, todays, seconds(run.g_start, std::clock()), kPrintTimingOption != 0,
                     file);

  // 6, 7.
  if (kNotifyOnCompletion != 1) return 0;
  sendFinalNotification(run, sql.store(), file);
  return 0;
}

}  // namespace
}  // namespace run

int Lev_finalizeExceptionPrintAndCleanup(run::RunState& run, FILE* file) {
  // The driver calls this from its own exception exit too: nothing may
  // leave it. Only an allocation failure can be raised here; what was not
  // freed by then stays (a half-done release is not repeated).
  try {
    return run::finalizeRun(run, file);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n\n ****** error in Lev_finalizeExceptionPrintAndCleanup: exception caught, "
                   "errCode = %d \n\n",
                   run.errCode);
      std::fflush(file);
    }
    return 0;
  }
}
