// Reading assignments and day work; see assignment_reader.h for the rules,
// the codes and the choices made.
#include "store/load/assignment_reader.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "calendar/dates.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "model/serial_names.h"
#include "schedule/effort_sums.h"
#include "store/notification.h"
#include "store/sequence_ids.h"
#include "store/store.h"

namespace {

constexpr const char* kModule = "Lev_resolveDepOracleDB";
constexpr const char* kFunction = "doReadAssignmentsUnderProjectsDB";

// What a null time stamp or day is stored as in the work table (its
// indicator column says it was null).
constexpr const char* kNullStamp = "1899-12-30 08:00:00.0000";
constexpr const char* kNullDay = "1899-12-30";

constexpr std::size_t kMessageCapacity = 16385;  // the caller's p_message
constexpr std::size_t kSubjectCapacity = 2049;

// The assignments of one project's tasks (not of the project item itself,
// not of deleted items). For work scheduled as ETC (BIT_FLAG '2') the
// proposed work is the estimate to complete, plus the work to date once
// started, and the unresolved duration grows by the remaining estimate.
constexpr const char* kSelectAssignments =
    "select TA.TASK_ID ,TA.TSK_ASSIGNMENT_ID ,TA.RESOURCE_ID "
    ",CASE WHEN TA.BIT_FLAG='2' THEN (CASE WHEN TA.ACTUAL_START IS NULL THEN TA.ETC "
    "ELSE (TA.ETC+TA.WORK_TODATE) END) ELSE TA.PROPOSED_WORK END PROPOSED_WORK "
    ",(((TA.ETC-TA.SCHED_WORK)-TA.PLANNED_WORK)+TA.WORK_TODATE) REMAINING_WORK "
    ",TA.ACTUAL_START ,TA.ACTUAL_FINISH ,TA.WORK_TODATE ,SUBSTR(TA.LAST_SUBMITTED,1,10) "
    ",TA.C_CONTOUR ,TA.CONTOUR_TYPE ,TA.C_EFFORT ,TA.UNITS_MSP ,TA.UNRESOLVED_START "
    ",TA.UNRESOLVED_FINISH "
    ",CASE WHEN TA.BIT_FLAG='2' THEN (((TA.ETC-TA.SCHED_WORK)+TA.WORK_TODATE)"
    "+TA.UNRESOLVED_DURATION) ELSE TA.UNRESOLVED_DURATION END UNRESOLVED_DURATION "
    ",TA.ASSIGNMENT_DELAY ASSIGNMENT_DELAY "
    "from TASK_ASSIGNMENTS TA ,KOR_WBS W "
    "where (((W.ELEMENT_ID=TA.TASK_ID and W.REC_STATUS<>'D') and TA.PROJECT_ID=?) "
    "and TA.PROJECT_ID<>TA.TASK_ID)";

constexpr const char* kEmptyInput = "delete from Lev_input_ass_data";

constexpr const char* kInsertInput =
    "insert into Lev_input_ass_data (SEQ_NUM_RECORDS,TASK_ID,TSK_ASSIGNMENT_ID,RESOURCE_ID,"
    "PROPOSED_WORK,REMAINING_WORK,ACTUAL_START,ACTUAL_START_IND,ACTUAL_FINISH,"
    "ACTUAL_FINISH_IND,WORK_TODATE,LAST_SUBMITTED,LAST_SUBMITTED_IND,C_CONTOUR,CONTOUR_TYPE,"
    "C_EFFORT,UNITS_MSP,UNRESOLVED_START,UNRESOLVED_START_IND,UNRESOLVED_FINISH,"
    "UNRESOLVED_FINISH_IND,UNRESOLVED_DURATION,ASSIGNMENT_DELAY) "
    "values (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";

constexpr const char* kSelectInput =
    "select TASK_ID ELEMENT_ID ,TSK_ASSIGNMENT_ID TSK_ASSIGNMENT_ID ,RESOURCE_ID RESOURCE_ID "
    ",PROPOSED_WORK ,REMAINING_WORK ,ACTUAL_START ,ACTUAL_START_IND ,ACTUAL_FINISH "
    ",ACTUAL_FINISH_IND ,WORK_TODATE ,LAST_SUBMITTED ,LAST_SUBMITTED_IND ,C_CONTOUR "
    ",CONTOUR_TYPE ,C_EFFORT ,UNITS_MSP ,UNRESOLVED_START ,UNRESOLVED_START_IND "
    ",UNRESOLVED_FINISH ,UNRESOLVED_FINISH_IND ,UNRESOLVED_DURATION ,ASSIGNMENT_DELAY "
    "from Lev_input_ass_data  order by SEQ_NUM_RECORDS";

// Days of an assignment in progress, from its last submitted day on. Both
// day queries are served by the (PROJECT_ID, TSK_ASSIGNMENT_ID, DAY_YEAR)
// index: a range of one assignment, already in day order.
constexpr const char* kSelectDaysFromLastSubmitted =
    "select SUBSTR(DAY_YEAR,1,10) ,SCHED_MIN ,ACTUAL_MIN ,ACTUAL_FLAG  from TASK_DAY_OF_YEAR "
    "where ((PROJECT_ID=? and TSK_ASSIGNMENT_ID=?) and SUBSTR(DAY_YEAR,1,10)>=?) "
    "order by DAY_YEAR";
constexpr const char* kSelectDays =
    "select SUBSTR(DAY_YEAR,1,10) ,SCHED_MIN  from TASK_DAY_OF_YEAR "
    "where (PROJECT_ID=? and TSK_ASSIGNMENT_ID=?) order by DAY_YEAR";

constexpr const char* kContact = "Please contact to supporting team\n";
constexpr const char* kContactThe = "Please contact to the supporting team\n";

std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  va_list again;
  va_copy(again, args);
  int n = std::vsnprintf(nullptr, 0, fmt, args);
  va_end(args);
  std::string out;
  if (n > 0) {
    out.resize(static_cast<std::size_t>(n) + 1);
    std::vsnprintf(out.data(), out.size(), fmt, again);
    out.resize(static_cast<std::size_t>(n));
  }
  va_end(again);
  return out;
}

// Work amounts are kept on the 5-minute grid of the day bits.
int32_t round5(int64_t x) {
  int64_t r = (x + 2) / 5 * 5;
  return static_cast<int32_t>(std::clamp<int64_t>(r, INT32_MIN + 5, INT32_MAX - 5));
}

int16_t toInt16(int32_t v) {
  return static_cast<int16_t>(std::clamp<int32_t>(v, INT16_MIN, INT16_MAX));
}

// Day number of the first 10 characters of a day or time-stamp text; false
// when they are not a date.
bool dayOf(const char* text, int32_t origin, int32_t* day) {
  char d[DATE_TEXT_SIZE];
  std::size_t n = ::strnlen(text, DATE_TEXT_SIZE - 1);
  std::memcpy(d, text, n);
  d[n] = '\0';
  if (n != DATE_TEXT_SIZE - 1) return false;
  int j = dateStringToJulian(d);
  if (j <= 0) return false;
  *day = j - origin;
  return true;
}

// Day and minute of a time stamp, through its standard form; false when
// the text is not a time stamp.
bool stampOf(const char* text, int32_t origin, int32_t* day, int* minute, FILE* file) {
  char* norm = normalizeFormatOfTimeStampString(text, file);
  if (norm == nullptr) return false;
  bool ok = dayOf(norm, origin, day);
  char hhmm[6];
  std::memcpy(hhmm, norm + 11, 5);  // "HH:MM" of "YYYY-MM-DD HH:MM:00.000000"
  hhmm[5] = '\0';
  delete[] norm;
  int m = shortTimeStringToMinutes(hhmm, file);
  if (!ok || m < 0 || m > 1440) return false;
  *minute = m;
  return true;
}

// One row as fetched from the assignment query (first pass) or read back
// from the work table (second pass; the *_IND columns then hold the
// indicators the first pass saw).
struct AssRow {
  db::IdText taskId, assignmentId, resourceId;
  db::StampText actualStart, actualFinish, lastSubmitted, unresolvedStart, unresolvedFinish;
  int32_t proposedWork = 0, remainingWork = 0, workTodate = 0, cContour = 0, contourType = 0,
          cEffort = 0, unitsMsp = 0, unresolvedDuration = 0, assignmentDelay = 0;
  int16_t taskInd = 0, assignmentInd = 0, resourceInd = 0, actualStartInd = 0,
          actualFinishInd = 0, lastSubmittedInd = 0, unresolvedStartInd = 0,
          unresolvedFinishInd = 0, proposedInd = 0, remainingInd = 0, todateInd = 0,
          cContourInd = 0, contourTypeInd = 0, cEffortInd = 0, unitsInd = 0, durationInd = 0,
          delayInd = 0;
  // Second pass: the stored indicators.
  int32_t actualStartNull = 0, actualFinishNull = 0, lastSubmittedNull = 0,
          unresolvedStartNull = 0, unresolvedFinishNull = 0;

  // A null number counts as 0 (the host variable holds 0 after a null).
  void zeroNullNumbers() {
    if (proposedInd < 0) proposedWork = 0;
    if (remainingInd < 0) remainingWork = 0;
    if (todateInd < 0) workTodate = 0;
    if (cContourInd < 0) cContour = 0;
    if (contourTypeInd < 0) contourType = 0;
    if (cEffortInd < 0) cEffort = 0;
    if (unitsInd < 0) unitsMsp = 0;
    if (delayInd < 0) assignmentDelay = 0;
  }
};

// The key values printed after the head of D-28 and D-29.
std::string unresolvedValues(const AssRow& r) {
  return format("ELEMENT_ID= %32s(%d) \nUNRESOLVED_START= %s(%d) \nUNRESOLVED_FINISH= "
                "%s(%d) \nUNRESOLVED_DURATION= %d(%d) \n\n",
                r.taskId.c_str(), r.taskInd, r.unresolvedStart.c_str(), r.unresolvedStartInd,
                r.unresolvedFinish.c_str(), r.unresolvedFinishInd, r.unresolvedDuration,
                r.durationInd);
}

// The state of one call.
class Reader {
 public:
  Reader(db::Store& store, linked_list_type* activities, linked_list_type* projects,
         linked_list_type* assignments, storage_manager_type* sm, int optionUids,
         int optionResCal, const char* startNode, char* workflowId, char* message,
         const char* subject, const char* elementIdP, const char* recUser, int rootTableType,
         int printOption, int dOption, FILE* file)
      : store_(store), activities_(activities), projects_(projects), assignments_(assignments),
        sm_(sm), optionUids_(optionUids), optionResCal_(optionResCal),
        startNode_(startNode != nullptr ? startNode : ""), workflowId_(workflowId),
        message_(message), subject_(subject != nullptr ? subject : ""),
        elementIdP_(elementIdP != nullptr ? elementIdP : ""),
        recUser_(recUser != nullptr ? recUser : ""), rootTableType_(rootTableType),
        printOption_(printOption), dOption_(dOption), file_(file) {}

  int run();
  int line() const { return line_; }

 private:
  int readProject(project_type* p);
  int firstPass(const char* projectId, int32_t* rows);
  int secondPass(project_type* p, const char* projectId);
  int processRow(project_type* p, const char* projectId, AssRow& r);
  int readDayWork(const char* projectId, const AssRow& r, work_type* work, int32_t origin,
                  bool* foundFirst, int32_t* lastDay, int32_t* lastMinutes,
                  int32_t* lastActualRemaining);
  int32_t contouredDuration(activity_type* act, work_type* work, int32_t lastDay,
                            int32_t lastMinutes, bool* ok);
  void clearActualFinishUpwards(activity_type* act);
  assignment_type* assignmentFor(const char* name);
  activity_type* findActivity(const char* name) const;

  int dbError();
  // Logs a data error (head, ending with its LineNum line, then tail) and,
  // when asked and the message buffer has room, notifies the user with the
  // contact line between the two.
  void dataError(const std::string& head, const std::string& tail, const char* contact);

  db::Store& store_;
  linked_list_type* activities_;
  linked_list_type* projects_;
  linked_list_type* assignments_;
  storage_manager_type* sm_;
  int optionUids_;
  int optionResCal_;
  std::string startNode_;
  char* workflowId_;
  char* message_;
  std::string subject_;
  std::string elementIdP_;
  std::string recUser_;
  int rootTableType_;
  int printOption_;
  int dOption_;
  FILE* file_;
  int line_ = 0;  // the statement being executed, for the LineNum of messages

  std::unordered_map<std::string_view, activity_type*> actByName_;
  std::unordered_map<std::string, assignment_type*> assByName_;
  std::unordered_map<std::string, std::string> resourceSeq_;
};

activity_type* Reader::findActivity(const char* name) const {
  auto it = actByName_.find(std::string_view(name, ::strnlen(name, LL_NAME_SIZE - 1)));
  return it == actByName_.end() ? nullptr : it->second;
}

int Reader::run() {
  // Name maps, built once: lookups stay constant-time however many rows
  // a run has.
  int32_t n = ll_size(activities_);
  ll_head(activities_);
  for (int32_t i = 0; i < n; ++i) {
    auto* a = static_cast<activity_type*>(ll_retrieve(activities_));
    actByName_.emplace(std::string_view(a->name), a);
    ll_next(activities_);
  }
  n = ll_size(assignments_);
  ll_head(assignments_);
  for (int32_t i = 0; i < n; ++i) {
    auto* a = static_cast<assignment_type*>(ll_retrieve(assignments_));
    assByName_.emplace(a->name, a);
    ll_next(assignments_);
  }
  std::vector<project_type*> projects;
  n = ll_size(projects_);
  ll_head(projects_);
  for (int32_t i = 0; i < n; ++i) {
    projects.push_back(static_cast<project_type*>(ll_retrieve(projects_)));
    ll_next(projects_);
  }
  for (project_type* p : projects) {
    int rc = readProject(p);
    if (rc != 0) return rc;
  }
  return 0;
}

int Reader::dbError() {
  int32_t rc = store_.status().code;
  db::printDbError(file_, 1, kModule, kFunction, store_.status(), line_);
  return rc;
}

void Reader::dataError(const std::string& head, const std::string& tail, const char* contact) {
  std::fputs(head.c_str(), file_);
  std::fputs(tail.c_str(), file_);
  std::fflush(file_);
  if (contact == nullptr || message_ == nullptr || workflowId_ == nullptr) return;
  std::size_t used = ::strnlen(message_, kMessageCapacity - 1);
  if (kMessageCapacity - 1 - used <= static_cast<std::size_t>(ASS_READ_NOTIFY_MIN_FREE)) return;
  std::string text = head + contact + tail;
  text.append(message_, used);
  if (text.size() > kMessageCapacity - 1) text.resize(kMessageCapacity - 1);
  std::memcpy(message_, text.c_str(), text.size() + 1);
  std::string subject = "[Started] " + subject_;
  if (subject.size() > kSubjectCapacity - 1) subject.resize(kSubjectCapacity - 1);
  FC_SEND_NOTIFY(store_, file_, workflowId_, subject.c_str(), message_, elementIdP_.c_str(),
                 recUser_.c_str(), rootTableType_);
}

int Reader::readProject(project_type* p) {
  char projectId[SEQ_UID_SIZE] = {};
  if (optionUids_) {
    line_ = __LINE__;
    if (doTransSeqUidBackToActElemId(p->name, 1, projectId, file_) != 0) {
      std::fprintf(file_,
                   "\n***** error(D-27)/data corruption for project in Lev_inputDataDB "
                   "(doReadAssignmentsUnderProjectsDB) \nerror type: not existing project \n%s "
                   "LineNum = %d \nPROJECT_ID= %32s(%d) proj->name= %32s \n",
                   store_.status().message, line_, projectId, -1, p->name);
      std::fflush(file_);
      return ASS_READ_ERR_PROJECT_UID;
    }
  } else {
    std::snprintf(projectId, sizeof projectId, "%s", p->name);
  }
  int32_t rows = 0;
  int rc = firstPass(projectId, &rows);
  if (rc != 0 || rows == 0) return rc;
  return secondPass(p, projectId);
}

int Reader::firstPass(const char* projectId, int32_t* rows) {
  line_ = __LINE__;
  if (store_.execute(kEmptyInput) < 0) return dbError();
  db::Cursor cursor(store_);
  line_ = __LINE__;
  if (cursor.open(kSelectAssignments, {projectId}) < 0) return dbError();
  for (;;) {
    AssRow r;
    db::DayText lastSubmitted;
    line_ = __LINE__;
    int32_t rc = cursor.fetch(
        {db::HostVar(r.taskId, &r.taskInd), db::HostVar(r.assignmentId, &r.assignmentInd),
         db::HostVar(r.resourceId, &r.resourceInd), db::HostVar(r.proposedWork, &r.proposedInd),
         db::HostVar(r.remainingWork, &r.remainingInd),
         db::HostVar(r.actualStart, &r.actualStartInd),
         db::HostVar(r.actualFinish, &r.actualFinishInd), db::HostVar(r.workTodate, &r.todateInd),
         db::HostVar(lastSubmitted, &r.lastSubmittedInd),
         db::HostVar(r.cContour, &r.cContourInd), db::HostVar(r.contourType, &r.contourTypeInd),
         db::HostVar(r.cEffort, &r.cEffortInd), db::HostVar(r.unitsMsp, &r.unitsInd),
         db::HostVar(r.unresolvedStart, &r.unresolvedStartInd),
         db::HostVar(r.unresolvedFinish, &r.unresolvedFinishInd),
         db::HostVar(r.unresolvedDuration, &r.durationInd),
         db::HostVar(r.assignmentDelay, &r.delayInd)});
    if (rc == db::kSqlNoData) break;
    if (rc < 0) return dbError();
    if (r.unresolvedStartInd < 0 || r.unresolvedFinishInd < 0 || r.durationInd < 0) {
      dataError(format("\n***** error(D-28)/data corruption for project in Lev_inputDataDB "
                       "(doReadAssignmentsUnderProjectsDB) \nerror type: wrong "
                       "UNRESOLVED_START,UNRESOLVED_FINISH or UNRESOLVED_DURATION \n%s "
                       "LineNum = %d \n",
                       store_.status().message, line_),
                unresolvedValues(r),
                kContact);
      return ASS_READ_ERR_DATA;
    }
    r.zeroNullNumbers();
    r.remainingWork = round5(r.remainingWork);
    r.proposedWork = round5(r.proposedWork);
    r.workTodate = round5(r.workTodate);
    if (r.actualStartInd < 0) r.actualStart.assign(kNullStamp);
    if (r.actualFinishInd < 0) r.actualFinish.assign(kNullStamp);
    if (r.lastSubmittedInd < 0) lastSubmitted.assign(kNullDay);
    ++*rows;
    line_ = __LINE__;
    int32_t ins = store_.execute(
        kInsertInput,
        {*rows, r.taskId, r.assignmentId, db::In(r.resourceId, r.resourceInd), r.proposedWork,
         r.remainingWork, r.actualStart, int32_t{r.actualStartInd}, r.actualFinish,
         int32_t{r.actualFinishInd}, r.workTodate, lastSubmitted, int32_t{r.lastSubmittedInd},
         r.cContour, r.contourType, r.cEffort, r.unitsMsp, r.unresolvedStart,
         int32_t{r.unresolvedStartInd}, r.unresolvedFinish, int32_t{r.unresolvedFinishInd},
         r.unresolvedDuration, r.assignmentDelay});
    if (ins < 0) return dbError();
  }
  return 0;
}

int Reader::secondPass(project_type* p, const char* projectId) {
  db::Cursor cursor(store_);
  line_ = __LINE__;
  if (cursor.open(kSelectInput) < 0) return dbError();
  for (;;) {
    AssRow r;
    int16_t ind[5] = {};
    line_ = __LINE__;
    int32_t rc = cursor.fetch(
        {db::HostVar(r.taskId, &r.taskInd), db::HostVar(r.assignmentId, &r.assignmentInd),
         db::HostVar(r.resourceId, &r.resourceInd), db::HostVar(r.proposedWork, &r.proposedInd),
         db::HostVar(r.remainingWork, &r.remainingInd),
         db::HostVar(r.actualStart, &r.actualStartInd),
         db::HostVar(r.actualStartNull, &ind[0]), db::HostVar(r.actualFinish, &r.actualFinishInd),
         db::HostVar(r.actualFinishNull, &ind[1]), db::HostVar(r.workTodate, &r.todateInd),
         db::HostVar(r.lastSubmitted, &r.lastSubmittedInd),
         db::HostVar(r.lastSubmittedNull, &ind[2]),
         db::HostVar(r.cContour, &r.cContourInd), db::HostVar(r.contourType, &r.contourTypeInd),
         db::HostVar(r.cEffort, &r.cEffortInd), db::HostVar(r.unitsMsp, &r.unitsInd),
         db::HostVar(r.unresolvedStart, &r.unresolvedStartInd),
         db::HostVar(r.unresolvedStartNull, &ind[3]),
         db::HostVar(r.unresolvedFinish, &r.unresolvedFinishInd),
         db::HostVar(r.unresolvedFinishNull, &ind[4]),
         db::HostVar(r.unresolvedDuration, &r.durationInd),
         db::HostVar(r.assignmentDelay, &r.delayInd)});
    if (rc == db::kSqlNoData) break;
    if (rc < 0) return dbError();
    // The indicators the first pass saw; a missing one counts as null.
    r.actualStartInd = ind[0] < 0 ? -1 : toInt16(r.actualStartNull);
    r.actualFinishInd = ind[1] < 0 ? -1 : toInt16(r.actualFinishNull);
    r.lastSubmittedInd = ind[2] < 0 ? -1 : toInt16(r.lastSubmittedNull);
    if (r.unresolvedStartInd >= 0) {
      r.unresolvedStartInd = ind[3] < 0 ? -1 : toInt16(r.unresolvedStartNull);
    }
    if (r.unresolvedFinishInd >= 0) {
      r.unresolvedFinishInd = ind[4] < 0 ? -1 : toInt16(r.unresolvedFinishNull);
    }
    r.zeroNullNumbers();
    if (dOption_) {
      std::fprintf(file_,
                   "\n doReadAssignmentsUnderProjectsDB: task= %s assignment= %s resource= %s "
                   "proposed= %d remaining= %d todate= %d start= %s finish= %s ",
                   r.taskId.c_str(), r.assignmentId.c_str(), r.resourceId.c_str(),
                   r.proposedWork, r.remainingWork, r.workTodate, r.unresolvedStart.c_str(),
                   r.unresolvedFinish.c_str());
    }
    int prc = processRow(p, projectId, r);
    if (prc != 0) return prc;
  }
  return 0;
}

assignment_type* Reader::assignmentFor(const char* name) {
  auto it = assByName_.find(name);
  if (it != assByName_.end()) return it->second;
  assignment_type* a = assignmentCreateNew(name);
  ll_addtail(assignments_, a);
  assByName_.emplace(a->name, a);
  return a;
}

void Reader::clearActualFinishUpwards(activity_type* act) {
  setActivityHasActualFinish(act, 0);
  project_type* proj = getActivityProject(act);
  if (proj == nullptr) return;
  activity_type* cur = findActivity(proj->name);
  // Bounded by the number of records, so that a cycle of parent names
  // cannot hold the load.
  for (std::size_t steps = 0; cur != nullptr && steps <= actByName_.size(); ++steps) {
    setActivityHasActualFinish(cur, 0);
    linked_list_type* parents = getActivityParentList(cur);
    if (parents == nullptr || ll_size(parents) == 0) return;
    ll_head(parents);
    const char* parent = getStringValue(ll_retrieve(parents));
    if (parent == nullptr || startNode_ == parent) return;
    cur = findActivity(parent);
  }
}

int32_t Reader::contouredDuration(activity_type* act, work_type* work, int32_t lastDay,
                                  int32_t lastMinutes, bool* ok) {
  int32_t mpd = act->proj != nullptr ? act->proj->minutes_per_day : 0;
  int startTime = getProjectStartTimeMinutesForGivenJulianDate(act, work->FSCHED_date);
  int lastFirst = getProjectStartTimeMinutesForGivenJulianDate(act, lastDay);
  int32_t finishDay = lastDay;
  int finishTime = lastFirst + lastMinutes;
  if (lastMinutes >= mpd) {
    finishDay = lastDay + 1;
    finishTime = lastFirst + mpd - lastMinutes;
  }
  int32_t total = 0;
  int rc = activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
      act, &total, sm_, work->FSCHED_date, startTime, finishDay, finishTime, file_);
  if (rc != 0) {
    std::fprintf(file_,
                 "\n\n ****** error(2) in doReadAssignmentsUnderProjectsDB: rc= %d act= %s "
                 "ass= %s FSCHED_date= %d start_time= %d last_sched_date= %d finish_time= %d "
                 "c_effort= %d c_contour= %d proposed_work= %d work_todate= %d \n\n",
                 rc, work->act_name, work->ass_name, work->FSCHED_date, startTime, finishDay,
                 finishTime, work->c_effort, work->c_contour, work->proposed_work,
                 work->work_todate);
    std::fflush(file_);
    *ok = false;
    return 0;
  }
  *ok = true;
  return total;
}

int Reader::readDayWork(const char* projectId, const AssRow& r, work_type* work, int32_t origin,
                        bool* foundFirst, int32_t* lastDay, int32_t* lastMinutes,
                        int32_t* lastActualRemaining) {
  const bool inProgress = work->hasActualStart && !work->hasActualFinish;
  db::Cursor days(store_);
  char fromDay[DATE_TEXT_SIZE];
  transformJulianToDateString(work->last_submitted + origin, fromDay);
  line_ = __LINE__;
  int32_t rc = inProgress ? days.open(kSelectDaysFromLastSubmitted,
                                      {projectId, r.assignmentId, fromDay})
                          : days.open(kSelectDays, {projectId, r.assignmentId});
  if (rc < 0) return dbError();
  int32_t count = 0;
  bool actualSeen = false;
  for (;;) {
    db::DayText day;
    int16_t dayInd = 0, schedInd = 0, actualInd = 0, flagInd = 0;
    int32_t sched = 0, actual = 0, flag = 0;
    line_ = __LINE__;
    rc = inProgress ? days.fetch({db::HostVar(day, &dayInd), db::HostVar(sched, &schedInd),
                                  db::HostVar(actual, &actualInd), db::HostVar(flag, &flagInd)})
                    : days.fetch({db::HostVar(day, &dayInd), db::HostVar(sched, &schedInd)});
    if (rc == db::kSqlNoData) break;
    if (rc < 0) return dbError();
    int32_t d = 0;
    if (dayInd < 0 || !dayOf(day.c_str(), origin, &d)) continue;
    if (schedInd < 0) sched = 0;
    if (actualInd < 0) actual = 0;
    if (flagInd < 0) flag = 0;
    ++count;
    if (inProgress) {
      if (flag >= 1) {
        *lastActualRemaining = sched - actual;
        actualSeen = true;
      } else if (actualSeen) {
        setWorkFirstSchedDate(work, d);
        setWorkFirstSchedDateEffort(work, toInt16(sched));
        *foundFirst = true;
        actualSeen = false;
      }
    } else if (count == 1) {
      setWorkFirstSchedDate(work, d);
      setWorkFirstSchedDateEffort(work, toInt16(sched));
      *foundFirst = true;
    }
    *lastDay = d;
    *lastMinutes = sched;
  }
  if (count > 0) return 0;
  if (inProgress) {
    dataError(format("\n\n***** error(D-31)/data corruption in Lev_inputDataDB "
                     "(doReadAssignmentsUnderProjectsDB) \nerror type: reading "
                     "'TASK_DAY_OF_YEAR' table, there must be at least one record for the "
                     "existing assignment \n%s LineNum = %d \n",
                     store_.status().message, line_),
              format("TSK_ASSIGNMENT_ID = %32s(%d) \n", r.assignmentId.c_str(), r.assignmentInd),
              kContact);
  } else {
    dataError(format("\n\n***** error(D-32)/data corruption in Lev_inputDataDB "
                     "(doReadAssignmentsUnderProjectsDB) \nerror type: reading "
                     "'TASK_DAY_OF_YEAR' table(2), there must be ar least one record for the "
                     "existing assignment \n%s LineNum = %d \n",
                     store_.status().message, line_),
              format("TSK_ASSIGNMENT_ID = %32s(%d) \n", r.assignmentId.c_str(), r.assignmentInd),
              kContact);
  }
  return ASS_READ_ERR_DATA;
}

int Reader::processRow(project_type* p, const char* projectId, AssRow& r) {
  const int32_t origin = p->julianDateOrigin;
  int32_t startDay = 0, finishDay = 0;
  int startMinute = 0, finishMinute = 0;
  bool startOk = r.unresolvedStartInd >= 0 &&
                 stampOf(r.unresolvedStart.c_str(), origin, &startDay, &startMinute, file_);
  bool finishOk = r.unresolvedFinishInd >= 0 &&
                  stampOf(r.unresolvedFinish.c_str(), origin, &finishDay, &finishMinute, file_);
  if (!startOk || !finishOk || r.durationInd < 0) {
    dataError(format("\n***** error(D-29)/data corruption in Lev_inputDataDB "
                     "(doReadAssignmentsUnderProjectsDB) \nerror type: wrong ASSIGNMENT "
                     "UNRESOLVED_START,UNRESOLVED_FINISH or UNRESOLVED_DURATION \n%s LineNum = "
                     "%d \n",
                     store_.status().message, line_),
              unresolvedValues(r),
              kContact);
    return ASS_READ_ERR_DATA;
  }
  if (r.remainingWork < 0) {
    dataError(format("\n\n***** error(D-30)/data corruption in Lev_inputDataDB "
                     "(doReadAssignmentsUnderProjectsDB) \nerror type: negative value of "
                     "h_remaining_work \n%s LineNum = %d \n",
                     store_.status().message, line_),
              format("h_remaining_work= %d(%d) \nTSK_ASSIGNMENT_ID= %32s \nELEMENT_ID= %32s "
                     "\n\n",
                     r.remainingWork, r.remainingInd, r.assignmentId.c_str(), r.taskId.c_str()),
              kContactThe);
    r.remainingWork = 0;
  }

  // The task's record; a task outside the network adds nothing.
  char taskName[SEQ_UID_SIZE] = {};
  if (optionUids_) {
    int succeed = 0;
    line_ = __LINE__;
    doFindCreateActSeqUid(r.taskId.c_str(), 2, taskName, sm_, 0, &succeed, file_);
    if (!succeed) {
      std::fprintf(file_,
                   "\n\n***** error(1) in doReadAssignmentsUnderProjectsDB: could not match "
                   "seq_uid for task: %s  ",
                   r.taskId.c_str());
      std::fflush(file_);
      return ASS_READ_ERR_TASK_UID;
    }
  } else {
    std::snprintf(taskName, sizeof taskName, "%s", r.taskId.c_str());
  }
  activity_type* act = findActivity(taskName);
  if (act == nullptr) return 0;

  // The resource's assignment record.
  char resourceName[SEQ_UID_SIZE] = {};
  if (optionUids_) {
    auto cached = resourceSeq_.find(r.resourceId.c_str());
    if (cached != resourceSeq_.end()) {
      std::snprintf(resourceName, sizeof resourceName, "%s", cached->second.c_str());
    } else {
      int succeed = 0;
      line_ = __LINE__;
      doFindCreateResSeqUid(r.resourceId.c_str(), 3, resourceName, sm_, 1, &succeed, file_);
      if (!succeed) {
        std::fprintf(file_,
                     "\n\n***** error(1) in doReadAssignmentsUnderProjectsDB: could not match "
                     "seq_uid for resource: %s  ",
                     r.resourceId.c_str());
        std::fflush(file_);
        return ASS_READ_ERR_TASK_UID;
      }
      resourceSeq_.emplace(r.resourceId.c_str(), resourceName);
    }
  } else {
    std::snprintf(resourceName, sizeof resourceName, "%s", r.resourceId.c_str());
  }
  assignment_type* ass = assignmentFor(resourceName);

  work_type* work = assignmentCreateWorkByActivity(ass, act->name, file_);
  setWorkStartDate(work, startDay);
  setWorkTodate(work, r.workTodate);
  setWorkProposedWork(work, r.proposedWork);
  setWorkCEffort(work, r.cEffort);
  setWorkCContour(work, r.cContour);
  setWorkUnitsMSP(work, toInt16(r.unitsMsp));

  // Actuals. Remaining work on a finished assignment reopens the task and
  // the records above it.
  int32_t actualFinishDay = 0;
  bool actualFinishOk =
      r.actualFinishInd >= 0 && dayOf(r.actualFinish.c_str(), origin, &actualFinishDay);
  if (r.actualStartInd >= 0) work->hasActualStart = 1;
  if (r.actualFinishInd >= 0) {
    if (r.remainingWork < 1) {
      work->hasActualFinish = 1;
    } else {
      clearActualFinishUpwards(act);
    }
  }

  // Last submitted day.
  int32_t lastSubmitted = 0;
  if (actualFinishOk) {
    lastSubmitted = actualFinishDay;
  } else if (r.lastSubmittedInd >= 0 && dayOf(r.lastSubmitted.c_str(), origin, &lastSubmitted)) {
    // as stored
  } else {
    lastSubmitted = startDay - 1;
    if (printOption_) {
      std::fprintf(file_,
                   "\n <***> set (start_date-1) as last submitted date for assignment: %s "
                   "task: %s ",
                   r.assignmentId.c_str(), r.taskId.c_str());
    }
  }
  setWorkLastSubmittedDate(work, lastSubmitted);
  setWorkAssDelay(work, work->hasActualStart ? 0 : r.assignmentDelay);

  // Day work.
  bool foundFirst = false;
  int32_t lastDay = 0, lastMinutes = 0, lastActualRemaining = 0;
  int rc = readDayWork(projectId, r, work, origin, &foundFirst, &lastDay, &lastMinutes,
                       &lastActualRemaining);
  if (rc != 0) return rc;

  // Duration.
  const int32_t mpd = act->proj != nullptr ? act->proj->minutes_per_day : 0;
  const bool contoured = r.cEffort > 0 && r.contourType > 0 &&
                         (r.contourType > 1 || ((r.cContour & 0x1F000) >> 12) > 1);
  int64_t duration = 0;
  bool done = false;
  if (work->hasActualFinish) {
    duration = r.workTodate;
    done = true;
  } else if (!foundFirst) {
    duration = lastActualRemaining;
    done = true;
  } else if (contoured) {
    bool ok = false;
    int32_t total = contouredDuration(act, work, lastDay, lastMinutes, &ok);
    if (ok) {
      setWorkDurationOfContouredEffort(work, total);
      duration = total;
      done = true;
    }
  }
  if (!done) {
    duration = r.remainingWork >= 1 ? r.remainingWork
                                    : getWorkDurationContour(work, mpd, printOption_, file_);
  }
  setWorkDuration(work, round5(duration));

  // Finish.
  setWorkFinishDate(work, finishDay);
  if (work->hasActualFinish && finishDay > lastSubmitted) {
    line_ = __LINE__;
    std::fprintf(file_,
                 "\n\n***** error(D-33)/data corruption in Lev_inputDataDB "
                 "(doReadAssignmentsUnderProjectsDB) \nerror type: reading 'TASK_ASSIGNMENTS' "
                 "table, ACTUAL_FINISH must be <= then LAST_SUBMITTED \n%s LineNum = %d "
                 "\nass->name(RESOURCE_ID)= %32s act->name(ELEMENT_NAME)= %32s PROJECT_ID= %32s "
                 "ACTUAL_FINISH= %d LAST_SUBMITTED= %d \n\n",
                 store_.status().message, line_, ass->name, act->name, projectId, finishDay,
                 lastSubmitted);
    std::fflush(file_);
  }
  int lastWorking = getProjectFinishTimeMinutesForGivenJulianDate(act, finishDay);
  setWorkTimeOffsetFromFinish(work, finishMinute < lastWorking ? lastWorking - finishMinute : 0);
  setWorkTimeOffsetFromStart(work, 0);

  if (!work->hasActualFinish && foundFirst &&
      (work->FSCHED_date < act->start_date || work->FSCHED_date > act->finish_date)) {
    line_ = __LINE__;
    dataError(format("\n\n***** error(D-34)/data corruption in Lev_inputDataDB "
                     "(doReadAssignmentsUnderProjectsDB) \nerror type: illegal first scheduled "
                     "date in 'TASK_DAY_OF_YEAR' \n%s LineNum = %d \n",
                     store_.status().message, line_),
              format("ELEMENT_ID= %32s \nPROJECT_ID= %32s \nact->hasActualStart= %d "
                     "act->hasActualFinish= %d act->start_date= %d act->finish_date= %d "
                     "\nwork->hasActualStart= %d work->hasActualFinish= %d work->start_date= %d "
                     "work->finish_date= %d work->FSCHED_date= %d work->last_submitted= %d \n\n",
                     r.taskId.c_str(), projectId, act->hasActualStart, act->hasActualFinish,
                     act->start_date, act->finish_date, work->hasActualStart,
                     work->hasActualFinish, work->start_date, work->finish_date,
                     work->FSCHED_date, work->last_submitted),
              kContact);
  }

  setActivityAssignment(act, ass, optionResCal_, file_);
  return 0;
}

}  // namespace

int doReadAssignmentsUnderProjectsDB(linked_list_type* activities_list,
                                     linked_list_type* projects_list,
                                     linked_list_type* assignments_list,
                                     storage_manager_type* smanager,
                                     int optionConsiderUidsLengthSupr,
                                     int optionResourceCalTakesPrec, const char* START_NODE_NAME,
                                     const char* /*FINISH_NODE_NAME*/, char* p_workflow_id,
                                     char* p_message, const char* p_subject,
                                     const char* p_element_id_p, const char* p_rec_user,
                                     int p_root_table_type, int PRINT_OPTION, int D_OPTION,
                                     FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  Reader reader(*store, activities_list, projects_list, assignments_list, smanager,
                optionConsiderUidsLengthSupr, optionResourceCalTakesPrec, START_NODE_NAME,
                p_workflow_id, p_message, p_subject, p_element_id_p, p_rec_user,
                p_root_table_type, PRINT_OPTION, D_OPTION, file);
  try {
    return reader.run();
  } catch (...) {
    std::fprintf(file,
                 "\n\n****** error (2) in %s (%s): throw exception to upper level LineNum = %d "
                 "\n\n",
                 kModule, kFunction, reader.line());
    std::fflush(file);
    throw;
  }
}
