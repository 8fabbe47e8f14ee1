#include "store/load/item_reader.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "calendar/dates.h"
#include "model/activity.h"
#include "model/element_types.h"
#include "schedule/constraint_dates.h"
#include "store/calendar_loader.h"
#include "store/load/load_messages.h"
#include "store/load/project_reader.h"
#include "store/sequence_ids.h"
#include "store/store.h"

namespace {

constexpr const char* kModule = "Lev_resolveDepOracleDB";
constexpr const char* kFn = "doReadActivitiesSuccDB";
constexpr const char* kContact = "Please contact to supporting team \n";
constexpr std::size_t kNotifyMinFree = 5000;
constexpr const char* kNoDateStamp = "1899-12-30 08:00:00.000000";
constexpr const char* kNoActualStamp = "1899-12-30 08:00:00.0000";
constexpr const char* kNoDate = "1899-12-30";
constexpr int kMapDep[4] = {1, 3, 0, 2};

constexpr const char* kSelectProjectRank = "select RANK from KOR_WBS where ELEMENT_ID=?";
constexpr const char* kEmptyInputData = "delete from Lev_input_data";
constexpr const char* kUpdateLevelConstraint =
    "update LEV_KOR_WBS set LEVEL_CONSTRAINT_TYPE=?,LEVEL_CONSTRAINT_DT=? where ELEMENT_ID=?";
constexpr const char* kInsertInputData =
    "insert into Lev_input_data (SEQ_NUM_RECORDS,ROW_TYPE,RANK,WBS_CODE,WBS_RANK_ORDER,LEVEL_ID,"
    "SORT_ELEMENT_TYPE,PROJECT_ID,PARENT_ID,ELEMENT_ID,ELEMENT_NAME,TYPE_ID,ELEMENT_TYPE,PRIORITY,"
    "CONSTRAINT_TYPE,CONSTRAINT_DATE,CONSTRAINT_DATE_IND,UNRESOLVED_START,UNRESOLVED_FINISH,"
    "UNRESOLVED_DURATION,ACTUAL_START,ACTUAL_START_IND,ACTUAL_FINISH,ACTUAL_FINISH_IND,"
    "ACTUAL_DURATION,ASSIGN_COUNT,MILESTONE_PERCENT,SCHED_DURATION,IS_EXTERNAL,DEP_TYPE,"
    "LEAD_OR_LAG_TYPE,AMOUNT) values (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
constexpr const char* kSelectInputData =
    "select ROW_TYPE AS ROW_TYPE ,RANK AS RANK ,WBS_CODE ,LEVEL_ID ,SORT_ELEMENT_TYPE ,PROJECT_ID "
    ",PARENT_ID ,ELEMENT_ID ,ELEMENT_NAME ,TYPE_ID ,ELEMENT_TYPE ,PRIORITY ,CONSTRAINT_TYPE "
    ",CONSTRAINT_DATE ,CONSTRAINT_DATE_IND ,UNRESOLVED_START AS PLANNED_START ,UNRESOLVED_FINISH "
    "AS PLANNED_FINISH ,UNRESOLVED_DURATION AS PLANNED_DURATION ,ACTUAL_START ,ACTUAL_START_IND "
    ",ACTUAL_FINISH ,ACTUAL_FINISH_IND ,ACTUAL_DURATION ,ASSIGN_COUNT ,MILESTONE_PERCENT "
    ",SCHED_DURATION ,IS_EXTERNAL ,DEP_TYPE AS DEPENDENCY_TYPE ,LEAD_OR_LAG_TYPE ,AMOUNT AS "
    "LAG_AMOUNT from Lev_input_data order by SEQ_NUM_RECORDS";

// The columns that describe one end of a row (x: the item or the other end
// of the dependency), from PROJECT_ID to FINISH_DT but TYPE_ID.
std::string endColumns(const std::string& x) {
  const std::string sortType =
      "CASE WHEN " + x + ".TYPE_ID in (1,154,288,289,290) THEN 1 WHEN " + x +
      ".TYPE_ID in (2,36,37,39,58,60,225,230,231,259,4,5,6,35,213,215,226,227,244,257) THEN 2 "
      "ELSE 3 END";
  return sortType + " AS SORT_ELEMENT_TYPE," + x + ".PROJECT_ID AS PROJECT_ID," + x +
         ".PARENT_ID AS PARENT_ID," + x + ".ELEMENT_ID AS ELEMENT_ID," + x +
         ".ELEMENT_NAME AS ELEMENT_NAME,";
}
std::string endColumnsAfterType(const std::string& x) {
  return x + ".TYPE_ID AS ELEMENT_TYPE," + x + ".PRIORITY AS PRIORITY," + x +
         ".CONSTRAINT_TYPE AS CONSTRAINT_TYPE,COALESCE(" + x + ".CONSTRAINT_DT,'" + kNoDateStamp +
         "') AS CONSTR_DATE_TIME," + x + ".UNRESOLVED_START AS PLANNED_START," + x +
         ".UNRESOLVED_FINISH AS PLANNED_FINISH," + x + ".UNRESOLVED_DURATION AS PLANNED_DURATION," +
         x + ".ACTUAL_START AS ACTUAL_START," + x + ".ACTUAL_FINISH AS ACTUAL_FINISH," + x +
         ".ACTUAL_DURATION AS ACTUAL_DURATION," + x + ".ASSIGN_COUNT AS ASSIGN_COUNT," + x +
         ".MILESTONE_PERCENT AS MILESTONE_PERCENT," + x + ".SCHED_START AS SCHED_START," + x +
         ".SCHED_FINISH AS SCHED_FINISH," + x + ".SCHED_DURATION AS SCHED_DURATION," + x +
         ".FORECAST_START AS FORECAST_START," + x + ".FORECAST_FINISH AS FORECAST_FINISH," + x +
         ".FORECAST_DURATION AS FORECAST_DURATION,COALESCE(" + x + ".PLANNED_EFFORT,0)+COALESCE(" +
         x + ".SCHED_EFFORT,0) AS EFFORT," + x + ".DURATION AS DURATION," + x +
         ".START_DT AS START_DT," + x + ".FINISH_DT AS FINISH_DT,";
}

// Row kind 1: every item of the project (and the rows whose parent is the
// project: its sub-projects' own rows). Kind 205: an outside predecessor P
// of an item S of the project (outside the root or deleted). Kind 206: a
// successor S, not finished, of an item P of the project, neither deleted.
// The rows of one item's outside ends tie on RANK, ROW_TYPE and often on
// WBS_RANK_ORDER (ranks within different parents); the other end's
// ELEMENT_ID breaks the tie, since the order of these rows decides the
// order of the dependency lists and so the containers' LEVEL_INDEX, and a
// database returns tied rows in whatever order its plan gives (SQLite and
// PostgreSQL differ).
const std::string& itemQuery() {
  static const std::string q =
      "select 1 AS ROW_TYPE,w.RANK AS RANK,w.WBS_CODE AS WBS_CODE,w.WBS_RANK_ORDER AS "
      "WBS_RANK_ORDER,w.LEVEL_ID AS LEVEL_ID," +
      endColumns("w") + "w.TYPE_ID AS TYPE_ID," + endColumnsAfterType("w") +
      "'0' AS IS_EXTERNAL,0 AS DEPENDENCY_TYPE,0 AS LEAD_OR_LAG_TYPE,0 AS LAG_AMOUNT "
      "from KOR_WBS w where (w.PROJECT_ID=? or w.PARENT_ID=?) "
      "union all "
      "select 2,s.RANK,p.WBS_CODE,p.WBS_RANK_ORDER,p.LEVEL_ID+1," +
      endColumns("p") + "205," + endColumnsAfterType("p") +
      "CASE WHEN p.RANK like ? THEN (CASE WHEN p.REC_STATUS='D' THEN '1' ELSE '0' END) ELSE '1' "
      "END,d.DEP_TYPE,d.LEAD_OR_LAG_TYPE,d.AMOUNT "
      "from KOR_WBS s join DEPENDENCIES d on d.SUCC_ID=s.ELEMENT_ID "
      "join KOR_WBS p on p.ELEMENT_ID=d.PRED_ID "
      "where s.PROJECT_ID=? and (p.RANK not like ? or p.REC_STATUS='D') "
      "union all "
      "select 2,p.RANK,s.WBS_CODE,s.WBS_RANK_ORDER,s.LEVEL_ID+1," +
      endColumns("s") + "206," + endColumnsAfterType("s") +
      "CASE WHEN s.RANK like ? THEN '0' ELSE '1' END,d.DEP_TYPE,d.LEAD_OR_LAG_TYPE,d.AMOUNT "
      "from KOR_WBS p join DEPENDENCIES d on d.PRED_ID=p.ELEMENT_ID "
      "join KOR_WBS s on s.ELEMENT_ID=d.SUCC_ID "
      "where p.PROJECT_ID=? and s.ACTUAL_FINISH is null and COALESCE(p.REC_STATUS,'U')<>'D' "
      "and COALESCE(s.REC_STATUS,'U')<>'D' "
      "order by RANK,ROW_TYPE,WBS_RANK_ORDER,ELEMENT_ID";
  return q;
}

// One row, as the item query gives it and as Lev_input_data keeps it.
struct Row {
  int32_t rowType = 0;
  db::RankText rank;
  db::NameText wbsCode;
  int32_t wbsRankOrder = 0;
  int32_t levelId = 0;
  int32_t sortType = 0;
  db::IdText projectId, parentId, elementId;
  db::NameText elementName;
  int32_t typeId = 0, elementType = 0, priority = 0, constraintType = 0;
  db::StampText constrDateTime;  // first pass: the whole stamp
  db::DayText constraintDate;    // second pass: the date
  int32_t constraintDateInd = 0;
  db::StampText plannedStart, plannedFinish;
  int32_t plannedDuration = 0;
  db::StampText actualStart, actualFinish;
  int32_t actualStartIndV = 0, actualFinishIndV = 0;
  int32_t actualDuration = 0, assignCount = 0, milestonePercent = 0;
  db::StampText schedStart, schedFinish;
  int32_t schedDuration = 0;
  db::StampText forecastStart, forecastFinish;
  int32_t forecastDuration = 0, effort = 0, duration = 0;
  db::StampText startDt, finishDt;
  db::FlagText isExternal;
  int32_t depType = 0, leadOrLag = 0, amount = 0;

  int16_t rankI = 0, wbsCodeI = 0, wbsRankOrderI = 0, levelI = 0, sortI = 0, projectI = 0,
          parentI = 0, elementI = 0, nameI = 0, typeI = 0, elementTypeI = 0, priorityI = 0,
          constraintTypeI = 0, constrI = 0, cdIndI = 0, psI = 0, pfI = 0, pdI = 0, asI = 0,
          afI = 0, asIndI = 0, afIndI = 0, adI = 0, acI = 0, mpI = 0, ssI = 0, sfI = 0, sdI = 0,
          fsI = 0, ffI = 0, fdI = 0, effortI = 0, durationI = 0, sdtI = 0, fdtI = 0, extI = 0,
          depI = 0, lolI = 0, amountI = 0, rowTypeI = 0;

  int32_t fetchQuery(db::Cursor& c) {
    return c.fetch({{rowType, &rowTypeI},        {rank, &rankI},
                    {wbsCode, &wbsCodeI},        {wbsRankOrder, &wbsRankOrderI},
                    {levelId, &levelI},          {sortType, &sortI},
                    {projectId, &projectI},      {parentId, &parentI},
                    {elementId, &elementI},      {elementName, &nameI},
                    {typeId, &typeI},            {elementType, &elementTypeI},
                    {priority, &priorityI},      {constraintType, &constraintTypeI},
                    {constrDateTime, &constrI},  {plannedStart, &psI},
                    {plannedFinish, &pfI},       {plannedDuration, &pdI},
                    {actualStart, &asI},         {actualFinish, &afI},
                    {actualDuration, &adI},      {assignCount, &acI},
                    {milestonePercent, &mpI},    {schedStart, &ssI},
                    {schedFinish, &sfI},         {schedDuration, &sdI},
                    {forecastStart, &fsI},       {forecastFinish, &ffI},
                    {forecastDuration, &fdI},    {effort, &effortI},
                    {duration, &durationI},      {startDt, &sdtI},
                    {finishDt, &fdtI},           {isExternal, &extI},
                    {depType, &depI},            {leadOrLag, &lolI},
                    {amount, &amountI}});
  }

  int32_t fetchInputData(db::Cursor& c) {
    return c.fetch({{rowType, &rowTypeI},          {rank, &rankI},
                    {wbsCode, &wbsCodeI},          {levelId, &levelI},
                    {sortType, &sortI},            {projectId, &projectI},
                    {parentId, &parentI},          {elementId, &elementI},
                    {elementName, &nameI},         {typeId, &typeI},
                    {elementType, &elementTypeI},  {priority, &priorityI},
                    {constraintType, &constraintTypeI}, {constraintDate, &constrI},
                    {constraintDateInd, &cdIndI},  {plannedStart, &psI},
                    {plannedFinish, &pfI},         {plannedDuration, &pdI},
                    {actualStart, &asI},           {actualStartIndV, &asIndI},
                    {actualFinish, &afI},          {actualFinishIndV, &afIndI},
                    {actualDuration, &adI},        {assignCount, &acI},
                    {milestonePercent, &mpI},      {schedDuration, &sdI},
                    {isExternal, &extI},           {depType, &depI},
                    {leadOrLag, &lolI},            {amount, &amountI}});
  }
};

// Minutes of the "HH:MM" at characters 12 to 16 of a time stamp, rounded
// to 5 minutes; 0 when there is none.
int roundedMinutesOf(const db::StampText& stamp, FILE* file) {
  if (stamp.len < 16) return 0;
  char hhmm[6] = {};
  std::memcpy(hhmm, stamp.arr + 11, 5);
  int m = shortTimeStringToMinutes(hhmm, file);
  if (m < 0) return 0;
  return (m + 2) / 5 * 5;
}

// Day number (relative to origin) of the date at the head of a text; false
// when the text does not hold a date.
bool dayOfText(std::string_view text, long origin, int32_t* day) {
  char date[DATE_TEXT_SIZE] = {};
  std::size_t n = text.size() < DATE_TEXT_SIZE - 1 ? text.size() : DATE_TEXT_SIZE - 1;
  std::memcpy(date, text.data(), n);
  if (n == 0) return false;
  int j = dateStringToJulian(date);
  if (j < 0) return false;
  *day = static_cast<int32_t>(j - origin);
  return true;
}

template <std::size_t N>
void copyText(char (&out)[N], std::string_view s) {
  std::size_t n = s.size() < N - 1 ? s.size() : N - 1;
  std::memcpy(out, s.data(), n);
  out[n] = '\0';
}

struct ActDeleter {
  void operator()(activity_type* a) const { activityDelete(a); }
};
using ActPtr = std::unique_ptr<activity_type, ActDeleter>;

int mapDep(const Row& r) {
  if (r.depI < 0 || r.depType < 0 || r.depType > 3) return kMapDep[0];
  return kMapDep[r.depType];
}
int signedLag(const Row& r) {
  int amount = r.amountI < 0 ? 0 : r.amount;
  return (r.lolI >= 0 && r.leadOrLag != 0) ? -amount : amount;
}

// Start and finish time offsets of an item on its project's calendar.
void setTimeOffsets(activity_type* act, int startMin, int finishMin) {
  int32_t s = act->start_date, f = act->finish_date;
  int offStart = 0;
  if (getProjectAveMinutesForGivenJulianDate(act, s) > 0) {
    offStart = startMin - getProjectStartTimeMinutesForGivenJulianDate(act, s);
  }
  int lastMin = getProjectFinishTimeMinutesForGivenJulianDate(act, f);
  int offFinish = finishMin < lastMin ? lastMin - finishMin : 0;
  setActivityTimeOffsetFromStart(act, offStart);
  setActivityTimeOffsetFromFinish(act, offFinish);
}

struct NewExtPred {
  activity_type* act;
  std::string project;
  int startMin;
  int finishMin;
  bool placed;  // in activities_list (owned there)
};

struct PendingPred {
  std::string succ;
  std::string pred;
  int type;
  int isExternal;
  int lag;
};

class ItemReader {
 public:
  ItemReader(linked_list_type* activities, linked_list_type* projects,
             linked_list_type* extProjects, linked_list_type* extPreds,
             linked_list_type* tmpProjects, int* tasksTotal, storage_manager_type* sm, long origin,
             int daysToAdvance, int optimizeParentChild, int optimizeExceptions,
             int optimizeDepPred, int considerConstraints, int optionUids, int resCalPrec,
             load::NotifyTarget notify, int printOption, FILE* file)
      : activities_(activities), projects_(projects), extProjects_(extProjects),
        extPreds_(extPreds), tmpProjects_(tmpProjects), tasksTotal_(tasksTotal), sm_(sm),
        origin_(origin), daysToAdvance_(daysToAdvance), optimizeParentChild_(optimizeParentChild),
        optimizeExceptions_(optimizeExceptions), optimizeDepPred_(optimizeDepPred),
        considerConstraints_(considerConstraints), optionUids_(optionUids),
        resCalPrec_(resCalPrec), notify_(notify), printOption_(printOption), file_(file) {}

  int run();
  // Takes the outside predecessors created here and not placed out of
  // ext_pred_list and deletes them.
  void dropUnplacedExtPreds();
  int line() const { return line_; }

 private:
  int readProject(project_type* proj, bool isRoot);
  int firstPass(db::Store& store, db::Cursor& query, int* rowsRead);
  int secondPass(db::Store& store, project_type* proj, const char* projectId);
  int itemRow(db::Store& store, Row& r, project_type* proj, const char* projectId);
  int outsidePredRow(db::Store& store, Row& r, const std::string& projectName);
  int successorRow(Row& r, const std::string& projectName);
  int rowProjectName(Row& r, std::string* name);
  int recordNameOfItem(const char* elementId, char* name, int create);
  int createPendingPreds();
  int placeExtPreds();
  void notifyText(const std::string& head, const std::string& tail);

  linked_list_type* activities_;
  linked_list_type* projects_;
  linked_list_type* extProjects_;
  linked_list_type* extPreds_;
  linked_list_type* tmpProjects_;
  int* tasksTotal_;
  storage_manager_type* sm_;
  long origin_;
  int daysToAdvance_;
  int optimizeParentChild_, optimizeExceptions_, optimizeDepPred_, considerConstraints_;
  int optionUids_, resCalPrec_;
  load::NotifyTarget notify_;
  int printOption_;
  FILE* file_;
  int line_ = 0;

  std::string rootId_, rootPattern_;
  char containerIds_[LOAD_MAX_WBS_LEVELS][LL_NAME_SIZE] = {};
  int32_t branch_ = 0;
  activity_type* current_ = nullptr;
  std::string currentRank_;
  std::unordered_map<std::string, activity_type*> byName_;
  std::unordered_map<std::string, activity_type*> extPredByName_;
  std::unordered_set<std::string> runProjects_;
  std::unordered_map<std::string, std::string> projectSeqIds_;  // element id -> sequence id
  std::vector<NewExtPred> newExtPreds_;
  std::vector<PendingPred> pending_;
};

void ItemReader::notifyText(const std::string& head, const std::string& tail) {
  load::notifyDataError(notify_, load::notifiedText(head, kContact, tail), file_, kNotifyMinFree);
}

void ItemReader::dropUnplacedExtPreds() {
  for (NewExtPred& e : newExtPreds_) {
    if (e.placed || e.act == nullptr) continue;
    if (ll_locate(extPreds_, e.act->name)) ll_remove(extPreds_);
    activityDelete(e.act);
    e.act = nullptr;
  }
}

int ItemReader::run() {
  if (ll_size(activities_) > 0) {
    ll_head(activities_);
    for (int32_t i = 0; i < ll_size(activities_); ++i, ll_next(activities_)) {
      auto* a = static_cast<activity_type*>(ll_retrieve(activities_));
      byName_.emplace(a->name, a);
    }
  }
  if (ll_size(extPreds_) > 0) {
    ll_head(extPreds_);
    for (int32_t i = 0; i < ll_size(extPreds_); ++i, ll_next(extPreds_)) {
      auto* a = static_cast<activity_type*>(ll_retrieve(extPreds_));
      extPredByName_.emplace(a->name, a);
    }
  }
  if (tmpProjects_ != nullptr && ll_size(tmpProjects_) > 0) {
    ll_head(tmpProjects_);
    for (int32_t i = 0; i < ll_size(tmpProjects_); ++i, ll_next(tmpProjects_)) {
      runProjects_.insert(static_cast<project_type*>(ll_retrieve(tmpProjects_))->name);
    }
  }

  int result = 0;
  const int32_t n = ll_size(projects_);
  std::vector<project_type*> projects;
  if (n > 0) {
    ll_head(projects_);
    for (int32_t i = 0; i < n; ++i, ll_next(projects_)) {
      projects.push_back(static_cast<project_type*>(ll_retrieve(projects_)));
    }
  }
  for (std::size_t i = 0; i < projects.size() && result == 0; ++i) {
    result = readProject(projects[i], i == 0);
  }
  if (result == 0 && optimizeDepPred_) result = createPendingPreds();
  if (result == 0) result = placeExtPreds();
  if (result != 0) dropUnplacedExtPreds();
  return result;
}

int ItemReader::readProject(project_type* proj, bool isRoot) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;

  char projectId[LL_NAME_SIZE] = {};
  if (optionUids_) {
    if (doTransSeqUidBackToActElemId(proj->name, 1, projectId, file_) != 0) {
      std::string msg = load::format(
          "\n***** error(D-17)/data corruption for project in Lev_inputDataDB "
          "(doReadActivitiesSuccDB) \nerror type: not existing project name in the list "
          "\nPROJECT_ID= %32s(%d) proj->name= %32s \n\n",
          projectId, 0, proj->name);
      load::logDataError(file_, msg, "");
      return SEQ_UID_UNKNOWN;
    }
  } else {
    copyText(projectId, proj->name);
  }

  db::RankText rank;
  int16_t rankInd = 0;
  line_ = __LINE__;
  int rc = store->selectInto(kSelectProjectRank, {projectId}, {db::HostVar(rank, &rankInd)});
  if (rc < 0) {
    db::printDbError(file_, 3, kModule, kFn, store->status(), line_);
    return rc;
  }
  if (rc != 0 || rankInd < 0) {
    load::logDataError(
        file_,
        load::format("\n***** error(D-18)/data corruption for project in Lev_inputDataDB "
                     "(doReadActivitiesSuccDB) \nerror type: not existing project \n%s LineNum = "
                     "%d \n",
                     store->status().message, line_),
        load::format("PROJECT_ID= %32s(%d) \n", projectId, 0));
    return LOAD_ERR_PROJECT_RANK;
  }
  if (isRoot) {
    rootPattern_ = std::string(rank.view()) + "%";
    rootId_ = projectId;
  }

  line_ = __LINE__;
  rc = store->execute(kEmptyInputData);
  if (rc < 0) {
    db::printDbError(file_, 3, kModule, kFn, store->status(), line_);
    return rc;
  }
  db::Cursor query(*store);
  line_ = __LINE__;
  rc = query.open(itemQuery(), {projectId, projectId, rootPattern_, projectId, rootPattern_,
                                rootPattern_, projectId});
  if (rc < 0) {
    db::printDbError(file_, 3, kModule, kFn, store->status(), line_);
    return rc;
  }
  int rowsRead = 0;
  int result = firstPass(*store, query, &rowsRead);
  query.close();
  if (result != 0 || rowsRead == 0) return result;
  return secondPass(*store, proj, projectId);
}

int ItemReader::firstPass(db::Store& store, db::Cursor& query, int* rowsRead) {
  int32_t seq = 0;
  Row r;
  for (;;) {
    line_ = __LINE__;
    int rc = r.fetchQuery(query);
    if (rc < 0) {
      db::printDbError(file_, 3, kModule, kFn, store.status(), line_);
      return rc;
    }
    if (rc != 0) return 0;
    ++*rowsRead;

    // The constraint's date and time of day.
    char cDate[DATE_TEXT_SIZE] = {};
    char cTime[16] = "08:00:00.000000";
    if (r.constrI >= 0) {
      std::string_view v = r.constrDateTime.view();
      copyText(cDate, v.substr(0, 10));
      if (v.size() > 11) copyText(cTime, v.substr(11, 15));
    }
    int16_t cDateInd = r.constrI;

    if (r.psI < 0 || r.pfI < 0 || r.pdI < 0) {
      std::string head = load::format(
          "\n ***** error(D-19)/data corruption for project in Lev_inputDataDB "
          "(doReadActivitiesSuccDB) \nerror type: wrong UNRESOLVED_START,UNRESOLVED_FINISH or "
          "UNRESOLVED_DURATION \n%s LineNum = %d \n",
          store.status().message, line_);
      std::string tail = load::format(
          "WBS_CODE= %s \nELEMENT_ID= %32s(%d) \nUNRESOLVED_START= %s(%d) \nUNRESOLVED_FINISH= "
          "%s(%d) \nUNRESOLVED_DURATION= %d(%d) \n\n",
          r.wbsCode.c_str(), r.elementId.c_str(), r.elementI, r.plannedStart.c_str(), r.psI,
          r.plannedFinish.c_str(), r.pfI, static_cast<int>(r.plannedDuration), r.pdI);
      load::logDataError(file_, head, tail);
      notifyText(head, tail);
      return LOAD_ERR_UNRESOLVED;
    }
    if (r.extI < 0) {
      load::logDataError(
          file_,
          load::format("\n\n***** error(D-20)/data corruption in Lev_inputDataDB"
                       "(doReadActivitiesSuccDB) \nPlease contact to supporting team "
                       "\n\nIllegal 'h_is_external' flag !!! h_is_external= %s \n ",
                       r.isExternal.c_str()),
          "");
    }
    if (r.parentI < 0) {
      r.parentId.assign("                                ");
      r.parentI = 0;
    }

    if (r.typeI >= 0 && isTask(r.typeId)) {
      if (r.effortI >= 0 && r.effort == 0 && r.ffI >= 0) {
        // Only the dates follow START_DT/FINISH_DT; the times stay.
        auto takeDate = [](db::StampText& to, int16_t& toInd, const db::StampText& from,
                           int16_t fromInd) {
          if (fromInd < 0) {
            toInd = -1;
            return;
          }
          std::string s(from.view().substr(0, 10));
          if (toInd >= 0 && to.len > 10) s += std::string(to.view().substr(10));
          to.assign(s);
          toInd = 0;
        };
        takeDate(r.plannedStart, r.psI, r.startDt, r.sdtI);
        takeDate(r.plannedFinish, r.pfI, r.finishDt, r.fdtI);
        r.plannedDuration = r.duration;
        r.pdI = r.durationI;
      }
      ConstraintRow c{};
      c.h_duration_based = r.acI < 0 ? 0 : r.assignCount;
      c.h_constraint_type = r.constraintTypeI < 0 ? 0 : r.constraintType;
      copyText(c.h_constraint_dt, cDate);
      c.h_constraint_dt_ind = cDateInd;
      copyText(c.h_sched_start, r.schedStart.view());
      c.h_sched_start_ind = r.ssI;
      copyText(c.h_sched_finish, r.schedFinish.view());
      c.h_sched_finish_ind = r.sfI;
      c.h_sched_duration = r.schedDuration;
      c.h_sched_duration_ind = r.sdI;
      copyText(c.h_forecast_start, r.forecastStart.view());
      c.h_forecast_start_ind = r.fsI;
      copyText(c.h_forecast_finish, r.forecastFinish.view());
      c.h_forecast_finish_ind = r.ffI;
      c.h_forecast_duration = r.forecastDuration;
      c.h_forecast_duration_ind = r.fdI;
      copyText(c.h_unresolved_start, r.plannedStart.view());
      c.h_unresolved_start_ind = r.psI;
      copyText(c.h_unresolved_finish, r.plannedFinish.view());
      c.h_unresolved_finish_ind = r.pfI;
      c.h_unresolved_duration = r.plannedDuration;
      c.h_unresolved_duration_ind = r.pdI;
      int fixed = fixUnresolvedDates(&c);
      if (fixed != 0) return fixed;
      r.constraintType = c.h_constraint_type;
      r.constraintTypeI = 0;
      copyText(cDate, c.h_constraint_dt);
      cDateInd = c.h_constraint_dt_ind;
      r.plannedStart.assign(c.h_unresolved_start);
      r.psI = c.h_unresolved_start_ind;
      r.plannedFinish.assign(c.h_unresolved_finish);
      r.pfI = c.h_unresolved_finish_ind;
      r.plannedDuration = c.h_unresolved_duration;
      r.pdI = c.h_unresolved_duration_ind;

      if (cDateInd >= 0 && std::strlen(cDate) == 10 && std::strcmp(cDate, kNoDate) != 0) {
        std::string stamp = std::string(cDate) + " " + cTime;
        line_ = __LINE__;
        int urc = store.execute(kUpdateLevelConstraint,
                                {r.constraintType, stamp, r.elementId});
        if (urc < 0) {
          db::printDbError(file_, 3, kModule, kFn, store.status(), line_);
          return urc;
        }
      }
    }

    int32_t asInd = r.asI, afInd = r.afI;
    if (r.asI < 0) r.actualStart.assign(kNoActualStamp);
    if (r.afI < 0) r.actualFinish.assign(kNoActualStamp);
    int32_t constraintDateInd = (std::strcmp(cDate, kNoDate) == 0) ? -1 : cDateInd;

    line_ = __LINE__;
    int irc = store.execute(
        kInsertInputData,
        {++seq, r.rowType, db::In(r.rank, r.rankI), db::In(r.wbsCode, r.wbsCodeI),
         db::In(r.wbsRankOrder, r.wbsRankOrderI), db::In(r.levelId, r.levelI),
         db::In(r.sortType, r.sortI), db::In(r.projectId, r.projectI),
         db::In(r.parentId, r.parentI), db::In(r.elementId, r.elementI),
         db::In(r.elementName, r.nameI), db::In(r.typeId, r.typeI),
         db::In(r.elementType, r.elementTypeI), db::In(r.priority, r.priorityI),
         db::In(r.constraintType, r.constraintTypeI), cDate, constraintDateInd,
         db::In(r.plannedStart, r.psI), db::In(r.plannedFinish, r.pfI),
         db::In(r.plannedDuration, r.pdI), r.actualStart, asInd, r.actualFinish, afInd,
         db::In(r.actualDuration, r.adI), db::In(r.assignCount, r.acI),
         db::In(r.milestonePercent, r.mpI), db::In(r.schedDuration, r.sdI),
         db::In(r.isExternal, r.extI), db::In(r.depType, r.depI), db::In(r.leadOrLag, r.lolI),
         db::In(r.amount, r.amountI)});
    if (irc < 0) {
      db::printDbError(file_, 3, kModule, kFn, store.status(), line_);
      return irc;
    }
  }
}

int ItemReader::secondPass(db::Store& store, project_type* proj, const char* projectId) {
  db::Cursor rows(store);
  line_ = __LINE__;
  int rc = rows.open(kSelectInputData);
  if (rc < 0) {
    db::printDbError(file_, 3, kModule, kFn, store.status(), line_);
    return rc;
  }
  current_ = nullptr;
  currentRank_.clear();
  Row r;
  for (;;) {
    line_ = __LINE__;
    rc = r.fetchInputData(rows);
    if (rc < 0) {
      db::printDbError(file_, 3, kModule, kFn, store.status(), line_);
      return rc;
    }
    if (rc != 0) return 0;
    const bool depRow = r.typeId == 205 || r.typeId == 206;
    if (!depRow && r.sortType == 3 && tasksTotal_ != nullptr) ++*tasksTotal_;

    int32_t d0 = 0, d1 = 0;
    if (r.psI < 0 || r.pfI < 0 || r.pdI < 0 || !dayOfText(r.plannedStart.view(), origin_, &d0) ||
        !dayOfText(r.plannedFinish.view(), origin_, &d1)) {
      std::string head = load::format(
          "\n\n***** error (D-21)/data corruption in Lev_inputDataDB(doReadActivitiesSuccDB) "
          "\nerror type: wrong UNRESOLVED_START,UNRESOLVED_FINISH or UNRESOLVED_DURATION \n%s "
          "LineNum = %d \n\n",
          store.status().message, line_);
      std::string tail = load::format(
          "WBS_CODE= %s \nELEMENT_ID= %32s \nUNRESOLVED_START= %s(%d) \nUNRESOLVED_FINISH= %s(%d) "
          "\nUNRESOLVED_DURATION= %d(%d) \n\n",
          r.wbsCode.c_str(), r.elementId.c_str(), r.plannedStart.c_str(), r.psI,
          r.plannedFinish.c_str(), r.pfI, static_cast<int>(r.plannedDuration), r.pdI);
      load::logDataError(file_, head, tail);
      notifyText(head, tail);
      return LOAD_ERR_UNRESOLVED;
    }

    std::string projectName;
    int nrc = rowProjectName(r, &projectName);
    if (nrc != 0) return nrc;

    int result = 0;
    if (r.typeId == 205) {
      result = outsidePredRow(store, r, projectName);
    } else if (r.typeId == 206) {
      result = successorRow(r, projectName);
    } else {
      result = itemRow(store, r, proj, projectId);
    }
    if (result != 0) return result;
  }
}

int ItemReader::recordNameOfItem(const char* elementId, char* name, int create) {
  if (!optionUids_) {
    std::size_t n = ::strnlen(elementId, LL_NAME_SIZE - 1);
    std::memcpy(name, elementId, n);
    name[n] = '\0';
    return 0;
  }
  int succeed = 0;
  int rc = doFindCreateActSeqUid(elementId, 1, name, sm_, 0, &succeed, file_);
  if (rc != 0) return rc;
  if (succeed) return 0;
  rc = doFindCreateActSeqUid(elementId, 2, name, sm_, create, &succeed, file_);
  if (rc != 0) return rc;
  if (!succeed) name[0] = '\0';
  return 0;
}

int ItemReader::rowProjectName(Row& r, std::string* name) {
  if (!optionUids_) {
    *name = r.projectI < 0 ? "" : std::string(r.projectId.view());
    return 0;
  }
  if (r.projectI < 0) {
    name->clear();
    return 0;
  }
  // A project's sequence id never changes once issued: ask the store once.
  auto known = projectSeqIds_.find(std::string(r.projectId.view()));
  if (known != projectSeqIds_.end()) {
    *name = known->second;
    return 0;
  }
  char seq[SEQ_UID_SIZE] = {};
  int succeed = 0;
  const bool create = r.typeId == 205;
  int rc = doFindCreateActSeqUid(r.projectId.c_str(), 1, seq, sm_, create ? 1 : 0, &succeed, file_);
  if (rc != 0) return rc;
  const bool itemOfProjectType =
      r.typeId != 206 && r.typeId != 205 && std::string_view(r.isExternal.view()) != "1" &&
      isProjectType(r.typeId);
  if (!succeed && itemOfProjectType) {
    std::fprintf(file_, "\n**** error(1) in doReadActivitiesSuccDB: could not match seq_uid for "
                        "proj: proj_id %32s ", r.projectId.c_str());
    std::fflush(file_);
    return LOAD_ERR_PROJECT_SEQ_UID;
  }
  *name = succeed ? seq : "";
  if (succeed) projectSeqIds_.emplace(std::string(r.projectId.view()), *name);
  return 0;
}

int ItemReader::outsidePredRow(db::Store& store, Row& r, const std::string& projectName) {
  if (current_ == nullptr) return 0;
  const int isExternal = r.extI < 0 ? 0 : std::atoi(r.isExternal.c_str());
  if (isExternal != 1) {
    load::logDataError(
        file_,
        load::format("\n**** error(D-22)/data corruption in Lev_inputDataDB "
                     "(doReadActivitiesSuccDB): only external Predeccessors are allowed \n%s "
                     "LineNum = %d \n",
                     store.status().message, line_),
        load::format("PRED_ID= %32s \nELEMENT_ID= %32s \nPROJECT_ID= %32s(%32s) \nisExternal= "
                     "%d \n\n",
                     r.elementId.c_str(), current_->name, r.projectId.c_str(),
                     projectName.c_str(), isExternal));
    return LOAD_ERR_NOT_EXTERNAL;
  }
  if (runProjects_.count(projectName) != 0) return 0;  // read in its own right

  char name[LL_NAME_SIZE] = {};
  if (optionUids_) {
    int succeed = 0;
    int rc = doFindCreateActSeqUid(r.elementId.c_str(), 0, name, sm_, 0, &succeed, file_);
    if (rc != 0) return rc;
    if (!succeed) {
      rc = doCreateNewEntryActSeqUid(r.elementId.c_str(), 0, name, sm_, file_);
      if (rc != 0) return rc;
    }
  } else {
    copyText(name, r.elementId.view());
  }
  activity_type* pred = nullptr;
  auto it = extPredByName_.find(name);
  if (it != extPredByName_.end()) {
    pred = it->second;
  } else {
    int32_t start = 0, finish = 0, cday = 0;
    dayOfText(r.plannedStart.view(), origin_, &start);
    dayOfText(r.plannedFinish.view(), origin_, &finish);
    if (r.cdIndI >= 0 && r.constraintDateInd >= 0) {
      dayOfText(r.constraintDate.view(), origin_, &cday);
    }
    pred = activityCreateNew(name, static_cast<int16_t>(r.sortType), nullptr, start, finish,
                             r.plannedDuration, static_cast<int16_t>(r.constraintType), cday);
    setActivityExternalPredFlag(pred, 1);
    newExtPreds_.push_back({pred, projectName, roundedMinutesOf(r.plannedStart, file_),
                            roundedMinutesOf(r.plannedFinish, file_), false});
    ll_addtail(extPreds_, pred);
    extPredByName_.emplace(name, pred);
  }
  const int type = mapDep(r);
  const int lag = signedLag(r);
  int rc = parseDependencySuccDB(pred, current_->name, type, isExternal,
                                 r.lolI < 0 ? 0 : r.leadOrLag, r.amountI < 0 ? 0 : r.amount,
                                 file_, LOAD_ERR_EXT_SUCC);
  if (rc != 0) return rc;
  if (optimizeDepPred_) {
    if (activityCreatePred(current_, name, static_cast<int16_t>(type),
                           static_cast<int16_t>(isExternal), lag, file_) == nullptr) {
      return LOAD_ERR_PRED;
    }
  }
  return 0;
}

int ItemReader::successorRow(Row& r, const std::string& projectName) {
  if (current_ == nullptr) return 0;
  const int isExternal = r.extI < 0 ? 0 : std::atoi(r.isExternal.c_str());
  if (isExternal == 1 && runProjects_.count(projectName) == 0) {
    if (projectName.empty()) {
      std::fprintf(file_, "\n***** Empty  tmp_project_id = %s \n", projectName.c_str());
      std::fflush(file_);
    }
    return 0;
  }
  if (r.rank.view() != currentRank_) {
    if (printOption_) {
      std::fprintf(file_, "\n Erroreous Succ: %32s \n", r.elementId.c_str());
      std::fflush(file_);
    }
    return 0;
  }
  char name[LL_NAME_SIZE] = {};
  int rc = recordNameOfItem(r.elementId.c_str(), name, 1);
  if (rc != 0) return rc;
  const int type = mapDep(r);
  const int lag = signedLag(r);
  if (activityCreateSucc(current_, name, static_cast<int16_t>(type), 0, lag, file_) == nullptr) {
    load::logDataError(
        file_,
        load::format("\n\n***** error(D-23)/data corruption in Lev_inputDataDB "
                     "(doReadActivitiesSuccDB): successor dublication is detected: (successor "
                     "will be ignored) \n%s LineNum = %d \n",
                     "", line_),
        load::format("PRED_ID= %32s \nSUCC_ID= %32s \n\n", current_->name, name));
    return 0;
  }
  if (optimizeDepPred_) pending_.push_back({name, current_->name, type, 0, lag});
  return 0;
}

int ItemReader::itemRow(db::Store& store, Row& r, project_type* proj, const char* projectId) {
  current_ = nullptr;
  currentRank_.assign(r.rank.view());
  if (r.levelI < 0 || r.levelId < 0 || r.levelId >= LOAD_MAX_WBS_LEVELS) {
    std::string head = load::format(
        "\n***** error(D-35)/data corruption in Lev_inputDataDB (doReadActivitiesSuccDB) "
        "\nerror type: WBS deeper than 64 levels, illegal level_id \n%s LineNum = %d \n",
        store.status().message, line_);
    std::string tail = load::format("ELEMENT_ID= %32s \nLEVEL_ID= %d(%d) \n\n",
                                    r.elementId.c_str(), static_cast<int>(r.levelId), r.levelI);
    load::logDataError(file_, head, tail);
    notifyText(head, tail);
    return LOAD_ERR_WBS_TOO_DEEP;
  }
  const int level = r.levelId;
  char name[LL_NAME_SIZE] = {};
  int rc = recordNameOfItem(r.elementId.c_str(), name, 1);
  if (rc != 0) return rc;

  const bool projectRow = isProjectType(r.typeId) != 0;
  const bool ownRow = projectRow && r.elementId.view() == r.projectId.view();
  const bool rootRow = ownRow && r.elementId.view() == rootId_;
  const bool subRow = ownRow && !rootRow && r.elementId.view() == std::string_view(projectId);
  if ((ownRow && !rootRow && !subRow) || byName_.count(name) != 0) {
    copyText(containerIds_[level], name);
    return 0;
  }

  const int startMin = roundedMinutesOf(r.plannedStart, file_);
  const int finishMin = roundedMinutesOf(r.plannedFinish, file_);
  int32_t start = 0, finish = 0;
  dayOfText(r.plannedStart.view(), origin_, &start);
  dayOfText(r.plannedFinish.view(), origin_, &finish);

  int16_t ctype = static_cast<int16_t>(r.constraintTypeI < 0 ? 0 : r.constraintType);
  int32_t cday = 0;
  int32_t lastDay = getProjectLastDayOfCalendar(proj);
  if (considerConstraints_ && r.cdIndI >= 0 && r.constraintDateInd >= 0 &&
      dayOfText(r.constraintDate.view(), origin_, &cday)) {
    // the row's own date
  } else if (considerConstraints_ && ctype == 1) {
    cday = getProjectCreateDate(proj);
  } else {
    ctype = 0;  // as soon as possible, bounded by the calendar's last day
    cday = lastDay;
  }

  ActPtr act(activityCreateNew(name, static_cast<int16_t>(r.sortType), proj, start, finish,
                               r.pdI < 0 ? 0 : r.plannedDuration, ctype, cday));
  activity_type* a = act.get();
  if (r.acI >= 0 && r.assignCount > 0) {
    a->hasAssignment = 1;
    proj->containsAss = 1;
    if (resCalPrec_ > 0) {
      a->ignoreHolesInCalendar = (ctype == 1 || ctype == 2 || ctype == 4) ? 2 : 1;
    }
  }
  if (ctype == 1) setProjectContainsALAP(proj, 1);
  setActivityPriority(a, projectRow ? getProjectPriority(proj) : r.priority);
  setActivityLevelId(a, static_cast<int16_t>(level));

  if (r.asIndI >= 0 && r.actualStartIndV >= 0) {
    int32_t aday = start;
    dayOfText(r.actualStart.view(), origin_, &aday);
    setActivityHasActualStart(a, 1);
    setActivityActualStartTimeStamp(a, r.actualStart.c_str());
    setActivityActualStartDate(a, aday);
    const bool hasFinish = r.afIndI >= 0 && r.actualFinishIndV >= 0;
    if (hasFinish) {
      setActivityHasActualFinish(a, 1);
      setActivityActualFinishTimeStamp(a, r.actualFinish.c_str());
    }
    if (!a->hasAssignment && r.typeId == 3) {
      const int32_t sched = r.sdI < 0 ? 0 : r.schedDuration;
      int32_t actual = 0, total = sched;
      if (r.adI < 0) {
        load::logDataError(
            file_,
            load::format("\n***** error(D-24)/data corruption in Lev_inputDataDB "
                         "(doReadActivitiesSuccDB) \nerror type: wrong ACTUAL_DURATION or "
                         "h_milestone_percent for task \n%s LineNum = %d \n",
                         store.status().message, line_),
            load::format("ELEMENT_ID= %32s h_actual_duration= %d(%d) h_milestone_percent= "
                         "%d(%d) /n/n",
                         name, static_cast<int>(r.actualDuration), r.adI,
                         static_cast<int>(r.milestonePercent), r.mpI));
      }
      if (r.adI < 0 || r.actualDuration == 0 || (r.mpI >= 0 && r.milestonePercent == 0)) {
        actual = 0;
        total = sched;
      } else if (hasFinish) {
        actual = total = r.actualDuration;
      } else {
        actual = r.actualDuration;
        total = sched;
      }
      setActivityActualEffort(a, (actual + 2) / 5 * 5);
      setActivityTotalEffort(a, (total + 2) / 5 * 5);
    }
  }

  line_ = __LINE__;
  if (start < getProjectFirstDay(proj)) {
    rc = projectExtendCalendarData(proj, start, getProjectLastDayOfCalendar(proj), file_);
    if (rc != 0) return rc;
  }
  if (finish > getProjectLastDayOfCalendar(proj)) {
    rc = projectExtendCalendarData(proj, getProjectFirstDay(proj), finish + 400, file_);
    if (rc != 0) return rc;
  }
  setTimeOffsets(a, startMin, finishMin);

  copyText(containerIds_[level], name);
  if (rootRow) {
    setActivityStartDate(a, proj->start_date);
    setActivityFinishDate(a, proj->finish_date);
    setActivityBrunchInd(a, 0);
    ll_addtail(activities_, act.release());
    byName_.emplace(name, a);
    current_ = a;
    return 0;
  }
  if (subRow) {
    setActivityStartDate(a, proj->start_date);
    setActivityFinishDate(a, proj->finish_date);
  }
  if (level >= 1 && r.sortType < 3) setActivityBrunchInd(a, ++branch_);

  if (level > 0) {
    std::string parentName(containerIds_[level - 1]);
    if (subRow && r.parentI >= 0) {
      char byParentId[LL_NAME_SIZE] = {};
      rc = recordNameOfItem(r.parentId.c_str(), byParentId, 0);
      if (rc != 0) return rc;
      if (byParentId[0] != '\0' && byName_.count(byParentId) != 0) parentName = byParentId;
    }
    if (setActivityParent(a, parentName.c_str(), file_) == 0) return LOAD_ERR_PARENT;
    if (optimizeParentChild_) {
      auto p = byName_.find(parentName);
      if (p == byName_.end()) {
        std::string head = load::format(
            "\n***** error(D-25)/data corruption in Lev_inputDataDB (doReadActivitiesSuccDB) "
            "\nerror type: lost parent-child relationsheep, illegal parent_id or its level_id: "
            "\n%s LineNum = %d \n",
            store.status().message, line_);
        std::string tail = load::format("ELEMENT_ID= %32s \nPARENT_ID= %32s \nLEVEL_ID= %d \n\n",
                                        name, parentName.c_str(), level);
        load::logDataError(file_, head, tail);
        notifyText(head, tail);
        return LOAD_ERR_LOST_PARENT;
      }
      if (setActivityChild(p->second, name, file_) == 0) return LOAD_ERR_CHILD;
      setActivityOffsetRelativeToParentStartDate(a, a->start_date - p->second->start_date);
    }
  }
  ll_addtail(activities_, act.release());
  byName_.emplace(name, a);
  current_ = a;
  return 0;
}

int ItemReader::createPendingPreds() {
  for (const PendingPred& p : pending_) {
    auto it = byName_.find(p.succ);
    if (it == byName_.end()) continue;  // read with a later root
    if (activityCreatePred(it->second, p.pred.c_str(), static_cast<int16_t>(p.type),
                           static_cast<int16_t>(p.isExternal), p.lag, file_) == nullptr) {
      load::logDataError(
          file_,
          load::format("\n***** error(D-26)/data corruption in Lev_inputDataDB "
                       "(doReadActivitiesSuccDB) \nerror type: dublicated predeccessor \n%s "
                       "LineNum = %d \n",
                       "", line_),
          load::format("PRED_ID= %32s \nELEMENT_ID= %32s \nPROJECT_ID= %32s \n\n",
                       p.pred.c_str(), p.succ.c_str(),
                       it->second->proj ? it->second->proj->name : ""));
      return LOAD_ERR_PRED;
    }
  }
  return 0;
}

int ItemReader::placeExtPreds() {
  std::unordered_map<std::string, project_type*> extProjects;
  if (ll_size(extProjects_) > 0) {
    ll_head(extProjects_);
    for (int32_t i = 0; i < ll_size(extProjects_); ++i, ll_next(extProjects_)) {
      auto* p = static_cast<project_type*>(ll_retrieve(extProjects_));
      extProjects.emplace(p->name, p);
    }
  }
  for (NewExtPred& e : newExtPreds_) {
    project_type* p = nullptr;
    auto it = extProjects.find(e.project);
    if (it != extProjects.end()) {
      p = it->second;
    } else {
      p = projectCreateNew(e.project.c_str());
      line_ = __LINE__;
      int rc = doReadExternalProjectDB(p, origin_, daysToAdvance_, optimizeExceptions_,
                                       optionUids_, file_, LOAD_ERR_EXT_PROJECT);
      if (rc != 0) {
        projectDelete(p);
        return rc;
      }
      ll_addtail(extProjects_, p);
      extProjects.emplace(p->name, p);
    }
    setActivityProject(e.act, p);
    setTimeOffsets(e.act, e.startMin, e.finishMin);
    ll_addhead(activities_, e.act);
    byName_.emplace(e.act->name, e.act);
    e.placed = true;
  }
  return 0;
}

}  // namespace

const char* itemReaderQueryText() { return itemQuery().c_str(); }

int parseDependencySuccDB(void* act, char* succ_name, int type, int isExternal, int lead_or_lag,
                          int amount, FILE* file, int error_code) {
  const int32_t lag = lead_or_lag != 0 ? -amount : amount;
  return activityCreateSucc(static_cast<activity_type*>(act), succ_name,
                            static_cast<int16_t>(type), static_cast<int16_t>(isExternal), lag,
                            file) != nullptr
             ? 0
             : error_code;
}

int parseDependencyPredDB(void* act, char* succ_name, int type, int isExternal, int lead_or_lag,
                          int amount, FILE* file, int error_code) {
  const int32_t lag = lead_or_lag != 0 ? -amount : amount;
  return activityCreatePred(static_cast<activity_type*>(act), succ_name,
                            static_cast<int16_t>(type), static_cast<int16_t>(isExternal), lag,
                            file) != nullptr
             ? 0
             : error_code;
}

int doReadActivitiesSuccDB(linked_list_type* activities_list, linked_list_type* projects_list,
                           linked_list_type* ext_projects_list, linked_list_type* ext_pred_list,
                           linked_list_type* tmp_projects_list, int* tasksTotalCount,
                           storage_manager_type* smanager, long julianDateOrigin,
                           int daysToAdvanceFromStartFinishDate, int optimizeParentChild,
                           int optimizeExceptions, int optimizeDepPred, int considerConstraints,
                           int optionConsiderUidsLengthSupr, int optionResourceCalTakesPrec,
                           char* p_workflow_id, char* p_message, char* p_subject,
                           char* p_element_id_p, char* p_rec_user, int p_root_table_type,
                           int PRINT_OPTION, int D_OPTION, FILE* file) {
  (void)D_OPTION;
  ItemReader reader(activities_list, projects_list, ext_projects_list, ext_pred_list,
                    tmp_projects_list, tasksTotalCount, smanager, julianDateOrigin,
                    daysToAdvanceFromStartFinishDate, optimizeParentChild, optimizeExceptions,
                    optimizeDepPred, considerConstraints, optionConsiderUidsLengthSupr,
                    optionResourceCalTakesPrec,
                    load::NotifyTarget{p_workflow_id, p_message, p_subject, p_element_id_p,
                                       p_rec_user, p_root_table_type},
                    PRINT_OPTION, file);
  try {
    return reader.run();
  } catch (...) {
    reader.dropUnplacedExtPreds();
    std::fprintf(file,
                 "\n\n****** error (4) in %s (%s): throw exception to upper level LineNum = %d "
                 "\n\n",
                 kModule, kFn, reader.line());
    std::fflush(file);
    throw;
  }
}
