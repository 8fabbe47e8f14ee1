#include "store/load/project_reader.h"

#include <cstring>
#include <string>

#include "calendar/dates.h"
#include "model/element_types.h"
#include "store/calendar_loader.h"
#include "store/load/load_messages.h"
#include "store/sequence_ids.h"
#include "store/store.h"

namespace {

constexpr const char* kModule = "Lev_resolveDepOracleDB";
constexpr const char* kContact = "Please contact to supporting team \n";
constexpr const char* kContactSub = "Please contact to the supporting team \n";

constexpr const char* kSelectRootProject =
    "select RANK ,TYPE_ID ,PRIORITY ,SUBSTR(UNRESOLVED_START,1,10) ,SUBSTR(UNRESOLVED_FINISH,1,10) "
    ",SUBSTR(START_FINISH_DATE,1,10) from KOR_WBS where ELEMENT_ID=?";
constexpr const char* kSelectSubProjects =
    "select RANK ,ELEMENT_ID ,PRIORITY ,SUBSTR(UNRESOLVED_START,1,10) "
    ",SUBSTR(UNRESOLVED_FINISH,1,10) ,START_FINISH_DATE from KOR_WBS where (((RANK like ? and "
    "ELEMENT_ID<>?) and TYPE_ID in (1,154,288,289,290)) and REC_STATUS<>'D') order by RANK";
constexpr const char* kSelectExternalProject =
    "select TYPE_ID ,PRIORITY ,SUBSTR(UNRESOLVED_START,1,10) ,SUBSTR(UNRESOLVED_FINISH,1,10) "
    ",START_FINISH_DATE from KOR_WBS where ELEMENT_ID=?";

// Copies at most cap - 1 bytes of `in` and terminates.
void copyBounded(char* out, std::size_t cap, const char* in) {
  std::size_t n = ::strnlen(in, cap - 1);
  std::memcpy(out, in, n);
  out[n] = '\0';
}

// Day number of the date at the head of a text, relative to the origin.
int32_t dayOf(const char* text, long origin) {
  char date[DATE_TEXT_SIZE] = {};
  copyBounded(date, sizeof date, text);
  return static_cast<int32_t>(dateStringToJulian(date) - origin);
}

// The project's element id: its name, or the element id its sequence id
// stands for.
int projectElementId(const project_type* p, int optionConsiderUidsLengthSupr, char* id,
                     FILE* file) {
  if (!optionConsiderUidsLengthSupr) {
    copyBounded(id, LL_NAME_SIZE, p->name);
    return 0;
  }
  return doTransSeqUidBackToActElemId(p->name, 1, id, file);
}

// Start, finish and create dates of a project, and the first day of its
// calendar as a text (11 bytes).
void setProjectDays(project_type* p, long origin, int daysToAdvance, const char* start,
                    const char* finish, const char* create, char* calFirstDay) {
  setProjectJulianDateOrigin(p, static_cast<int32_t>(origin));
  setProjectStartDate(p, dayOf(start, origin));
  setProjectFinishDate(p, dayOf(finish, origin));
  int32_t createDay = dayOf(create, origin);
  transformJulianToDateString(static_cast<int>(createDay + origin - daysToAdvance), calFirstDay);
}

// Reads the calendar and base exceptions and widens the calendar to the
// project's span. `counter` numbers the two failure lines (counter, +1).
int readProjectCalendar(project_type* p, long origin, const char* calFirstDay,
                        int optimizeExceptions, int optionConsiderUidsLengthSupr,
                        const char* function, int counter, int line, FILE* file) {
  int rc = doReadCalendarForOneSingleProjectDB(p, origin, calFirstDay, optimizeExceptions,
                                               optionConsiderUidsLengthSupr, file,
                                               LOAD_ERR_PROJECT_CALENDAR);
  if (rc != 0) {
    std::fprintf(file, "\n\n ****** error (%d) in Lev_inputDataDB (%s): LineNum = %d \n\n", counter,
                 function, line);
    std::fflush(file);
    return rc;
  }
  rc = doReadBaseCalendarExceptionsDB(p, origin, file, LOAD_ERR_BASE_EXCEPTIONS);
  if (rc != 0) {
    std::fprintf(file, "\n\n ****** error (%d) in Lev_inputDataDB (%s): LineNum = %d \n\n",
                 counter + 1, function, line);
    std::fflush(file);
    return rc;
  }
  int32_t last = getProjectLastDayOfCalendar(p);
  if (p->start_date < getProjectFirstDay(p)) {
    rc = projectExtendCalendarData(p, p->start_date, last, file);
    if (rc != 0) return rc;
  }
  if (p->finish_date > getProjectLastDayOfCalendar(p)) {
    rc = projectExtendCalendarData(p, getProjectFirstDay(p), p->finish_date + 400, file);
    if (rc != 0) return rc;
  }
  return 0;
}

void throwUp(FILE* file, int counter, const char* function, int line) {
  std::fprintf(file,
               "\n\n****** error (%d) in %s (%s): throw exception to upper level LineNum = %d \n\n",
               counter, kModule, function, line);
  std::fflush(file);
}

}  // namespace

int doReadProjectsDB(void* this_root_project, linked_list_type* input_projects_list,
                     linked_list_type* local_projects_list, storage_manager_type* smanager,
                     long julianDateOrigin, int daysToAdvanceFromStartFinishDate,
                     int optimizeExceptions, int optionConsiderUidsLengthSupr,
                     char* p_workflow_id, char* p_message, char* p_subject,
                     char* p_element_id_p, char* p_rec_user, int p_root_table_type,
                     FILE* file) {
  (void)smanager;
  static const char* const kFn = "doReadProjectsDB";
  int _wneverLine = __LINE__;
  project_type* root = static_cast<project_type*>(this_root_project);
  const load::NotifyTarget notify{p_workflow_id, p_message, p_subject,
                                  p_element_id_p, p_rec_user, p_root_table_type};
  try {
    db::Store* store = db::currentStore();
    if (store == nullptr) return db::kSqlNoConnection;

    char rootId[LL_NAME_SIZE] = {};
    int rc = projectElementId(root, optionConsiderUidsLengthSupr, rootId, file);
    if (rc != 0) return rc;

    db::RankText rank;
    db::DayText start, finish, create;
    int32_t typeId = 0, priority = 0;
    int16_t rankInd = 0, typeInd = 0, prioInd = 0, startInd = 0, finishInd = 0, createInd = 0;
    _wneverLine = __LINE__;
    rc = store->selectInto(kSelectRootProject, {rootId},
                           {db::HostVar(rank, &rankInd), db::HostVar(typeId, &typeInd),
                            db::HostVar(priority, &prioInd), db::HostVar(start, &startInd),
                            db::HostVar(finish, &finishInd), db::HostVar(create, &createInd)});
    if (rc < 0) {
      db::printDbError(file, 5, kModule, kFn, store->status(), _wneverLine);
      return rc;
    }
    const bool found = rc == 0;
    std::string notified;
    const char* sqlMsg = store->status().message;
    if (!found || typeInd < 0 || !isProjectType(typeId)) {
      std::string head = load::format(
          "\n***** error(D-7)/data corruption for project in Lev_inputDataDB (doReadProjectsDB) "
          "\nerror type: wrong project type \n%s LineNum= %d \n",
          sqlMsg, _wneverLine);
      std::string tail = load::format("PROJECT_ID= %32s(%d) h_type_id= %d(%d) \n", rootId, 0,
                                      static_cast<int>(typeId), found ? typeInd : -1);
      load::logDataError(file, head, tail);
      notified += load::notifiedText(head, kContact, tail);
    }
    if (found && (rankInd < 0 || prioInd < 0)) {
      std::string head = load::format(
          "\n***** error(D-8)/data corruption for project in Lev_inputDataDB (doReadProjectsDB) "
          "\nerror type: wrong RANK or PRIORITY \n%s LineNum= %d \n",
          sqlMsg, _wneverLine);
      std::string tail =
          load::format("PROJECT_ID= %32s(%d) \nRANK= %s(%d) \nPRIORITY= %d(%d) \n\n", rootId, 0,
                       rank.c_str(), rankInd, static_cast<int>(priority), prioInd);
      load::logDataError(file, head, tail);
      notified += load::notifiedText(head, kContact, tail);
    }
    if (found && (startInd < 0 || finishInd < 0 || createInd < 0)) {
      std::string head = load::format(
          "\n ***** error(D-9)/data corruption for project in Lev_inputDataDB (doReadProjectsDB) "
          "\nerror type: wrong UNRESOLVED_START,UNRESOLVED_FINISH or START_FINISH_DATE \n%s "
          "LineNum= %d \n",
          sqlMsg, _wneverLine);
      std::string tail = load::format(
          "PROJECT_ID= %32s(%d) \nUNRESOLVED_START= %s(%d) \nUNRESOLVED_FINISH= %s(%d) "
          "\nSTART_FINISH_DATE= %s(%d) \n\n",
          rootId, 0, start.c_str(), startInd, finish.c_str(), finishInd, create.c_str(),
          createInd);
      load::logDataError(file, head, tail);
      notified += load::notifiedText(head, kContact, tail);
    }
    if (!notified.empty()) {
      load::notifyDataError(notify, notified, file);
      return LOAD_ERR_PROJECT_DATA;
    }

    char calFirstDay[DATE_TEXT_SIZE] = {};
    setProjectDays(root, julianDateOrigin, daysToAdvanceFromStartFinishDate, start.c_str(),
                   finish.c_str(), create.c_str(), calFirstDay);
    _wneverLine = __LINE__;
    rc = readProjectCalendar(root, julianDateOrigin, calFirstDay, optimizeExceptions,
                             optionConsiderUidsLengthSupr, kFn, 1, _wneverLine, file);
    if (rc != 0) return rc;
    int32_t createDay = dayOf(create.c_str(), julianDateOrigin);
    setProjectCreateDate(root, createDay);
    setProjectOriginalCreateDate(root, createDay);
    setProjectRootProjectName(root, root->name);
    ll_addtail(local_projects_list, root);

    // Sub-projects, in RANK order.
    std::string pattern = std::string(rank.view()) + "%";
    db::Cursor subs(*store);
    _wneverLine = __LINE__;
    rc = subs.open(kSelectSubProjects, {pattern, rootId});
    if (rc < 0) {
      db::printDbError(file, 5, kModule, kFn, store->status(), _wneverLine);
      return rc;
    }
    int result = 0;
    for (;;) {
      db::RankText subRank;
      db::IdText subId;
      db::StampText subCreate;
      int32_t subPriority = 0;
      int16_t subRankInd = 0, subIdInd = 0, subPrioInd = 0, sInd = 0, fInd = 0, cInd = 0;
      _wneverLine = __LINE__;
      rc = subs.fetch({db::HostVar(subRank, &subRankInd), db::HostVar(subId, &subIdInd),
                       db::HostVar(subPriority, &subPrioInd), db::HostVar(start, &sInd),
                       db::HostVar(finish, &fInd), db::HostVar(subCreate, &cInd)});
      if (rc < 0) {
        db::printDbError(file, 5, kModule, kFn, store->status(), _wneverLine);
        return rc;
      }
      if (rc != 0) break;
      const char* msg = store->status().message;
      std::string bad;
      if (subIdInd < 0 || subRankInd < 0 || subPrioInd < 0) {
        std::string head = load::format(
            "\n***** error(D-10)/data corruption for sub-project in Lev_inputDataDB "
            "(doReadProjectsDB) \nerror type: wrong ELEMENT_ID,RANK or PRIORITY \n%s LineNum= %d \n",
            msg, _wneverLine);
        std::string tail = load::format(
            "PROJECT_ID= %32s(%d) \nELEMENT_ID= %32s(%d) \nRANK= %s(%d) \nh_priority %d(%d) \n\n",
            rootId, 0, subId.c_str(), subIdInd, subRank.c_str(), subRankInd,
            static_cast<int>(subPriority), subPrioInd);
        load::logDataError(file, head, tail);
        bad += load::notifiedText(head, kContactSub, tail);
      }
      if (sInd < 0 || fInd < 0 || cInd < 0) {
        std::string head = load::format(
            "\n***** error(D-11)/data corruption for sub-project in Lev_inputDataDB "
            "(doReadProjectsDB) \nerror type: wrong UNRESOLVED_START,UNRESOLVED_FINISH or "
            "START_FINISH_DATE \n%s LineNum= %d \n",
            msg, _wneverLine);
        std::string tail = load::format(
            "PROJECT_ID= %32s(%d) \nELEMENT_ID= %32s(%d) \nUNRESOLVED_START= %s(%d) "
            "\nUNRESOLVED_FINISH= %s(%d) \nSTART_FINISH_DATE= %s(%d) \n\n",
            rootId, 0, subId.c_str(), subIdInd, start.c_str(), sInd, finish.c_str(), fInd,
            subCreate.c_str(), cInd);
        load::logDataError(file, head, tail);
        bad += load::notifiedText(head, kContactSub, tail);
      }
      if (!bad.empty()) {
        load::notifyDataError(notify, bad, file);
        result = LOAD_ERR_PROJECT_DATA;
        break;
      }

      char name[LL_NAME_SIZE] = {};
      if (optionConsiderUidsLengthSupr) {
        int succeed = 0;
        rc = doFindCreateActSeqUid(subId.c_str(), 1, name, smanager, 0, &succeed, file);
        if (rc != 0) {
          result = rc;
          break;
        }
        if (!succeed) break;  // no sequence id: no more sub-projects are read
      } else {
        copyBounded(name, LL_NAME_SIZE, subId.c_str());
      }
      project_type* sub = nullptr;
      if (input_projects_list != nullptr && ll_locate(input_projects_list, name)) {
        sub = static_cast<project_type*>(ll_retrieve(input_projects_list));
        ll_remove(input_projects_list);
      }
      const bool created = sub == nullptr;
      if (created) sub = projectCreateNew(name);
      setProjectRootProjectName(sub, root->name);
      setProjectDays(sub, julianDateOrigin, daysToAdvanceFromStartFinishDate, start.c_str(),
                     finish.c_str(), subCreate.c_str(), calFirstDay);
      _wneverLine = __LINE__;
      rc = readProjectCalendar(sub, julianDateOrigin, calFirstDay, optimizeExceptions,
                               optionConsiderUidsLengthSupr, kFn, 3, _wneverLine, file);
      if (rc != 0) {
        if (created) {
          projectDelete(sub);
        } else {
          ll_addtail(input_projects_list, sub);
        }
        result = rc;
        break;
      }
      int32_t subCreateDay = dayOf(subCreate.c_str(), julianDateOrigin);
      setProjectCreateDate(sub, subCreateDay);
      setProjectOriginalCreateDate(sub, subCreateDay);
      if (created) {
        setProjectCurrentDate(sub, subCreateDay);
        setProjectPriority(sub, static_cast<uint16_t>(subPriority));
      }
      ll_addtail(local_projects_list, sub);
    }
    subs.close();
    return result;
  } catch (...) {
    throwUp(file, 6, kFn, _wneverLine);
    throw;
  }
}

int doReadExternalProjectDB(void* this_project, long julianDateOrigin,
                            int daysToAdvanceFromStartFinishDate, int optimizeExceptions,
                            int optionConsiderUidsLengthSupr, FILE* file, int error_code_base) {
  static const char* const kFn = "doReadExternalProjectDB";
  int _wneverLine = __LINE__;
  project_type* p = static_cast<project_type*>(this_project);
  try {
    db::Store* store = db::currentStore();
    if (store == nullptr) return db::kSqlNoConnection;
    char id[LL_NAME_SIZE] = {};
    int rc = projectElementId(p, optionConsiderUidsLengthSupr, id, file);
    if (rc != 0) return rc;

    db::DayText start, finish;
    db::StampText create;
    int32_t typeId = 0, priority = 0;
    int16_t typeInd = 0, prioInd = 0, startInd = 0, finishInd = 0, createInd = 0;
    _wneverLine = __LINE__;
    rc = store->selectInto(kSelectExternalProject, {id},
                           {db::HostVar(typeId, &typeInd), db::HostVar(priority, &prioInd),
                            db::HostVar(start, &startInd), db::HostVar(finish, &finishInd),
                            db::HostVar(create, &createInd)});
    if (rc < 0) {
      db::printDbError(file, 3, kModule, kFn, store->status(), _wneverLine);
      return rc;
    }
    const char* msg = store->status().message;
    if (rc != 0 || typeInd < 0 || !isProjectType(typeId)) {
      load::logDataError(
          file,
          load::format("\n***** error(D-12)/data corruption for project in Lev_inputDataDB "
                       "(doReadExternalProjectDB) \nerror type: wrong project type \n%s "
                       "LineNum= %d \n",
                       msg, _wneverLine),
          load::format("PROJECT_ID= %s(%d) \nh_type_id= %d(%d) \n\n", id, 0,
                       static_cast<int>(typeId), rc == 0 ? typeInd : -1));
      return error_code_base;
    }
    if (prioInd < 0 || startInd < 0 || finishInd < 0 || createInd < 0) {
      load::logDataError(
          file,
          load::format("\n***** error(D-13)/data corruption for project in Lev_inputDataDB "
                       "(doReadExternalProjectDB) \nerror type: wrong PRIORITY,UNRESOLVED_START,"
                       "UNRESOLVED_FINISH or START_FINISH_DATE \n%s LineNum= %d \n",
                       msg, _wneverLine),
          load::format("\nPROJECT_ID= %s(%d) \nh_priority= %d(%d) \nUNRESOLVED_START= %s(%d) "
                       "\nUNRESOLVED_FINISH= %s(%d) \nSTART_FINISH_DATE= %s(%d) \n\n",
                       id, 0, static_cast<int>(priority), prioInd, start.c_str(), startInd,
                       finish.c_str(), finishInd, create.c_str(), createInd));
      return error_code_base;
    }
    char calFirstDay[DATE_TEXT_SIZE] = {};
    setProjectDays(p, julianDateOrigin, daysToAdvanceFromStartFinishDate, start.c_str(),
                   finish.c_str(), create.c_str(), calFirstDay);
    _wneverLine = __LINE__;
    rc = readProjectCalendar(p, julianDateOrigin, calFirstDay, optimizeExceptions,
                             optionConsiderUidsLengthSupr, kFn, 1, _wneverLine, file);
    if (rc != 0) return rc;
    int32_t createDay = dayOf(create.c_str(), julianDateOrigin);
    setProjectCreateDate(p, createDay);
    setProjectOriginalCreateDate(p, createDay);
    setProjectCurrentDate(p, createDay);
    setProjectPriority(p, static_cast<uint16_t>(priority));
    return 0;
  } catch (...) {
    throwUp(file, 4, kFn, _wneverLine);
    throw;
  }
}
