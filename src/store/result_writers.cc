// Result writers (see result_writers.h): row-by-row updates of Lev_kor_wbs
// with periodic LEVEL_COMMIT calls, and the inserts into the Lev_circ tables.
#include "store/result_writers.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>
#include <unordered_map>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "store/host_vars.h"
#include "store/status.h"
#include "store/store.h"

namespace {

// Statements, each beside the writer that executes it.
constexpr const char* kUpdateAllSql =
    "update Lev_kor_wbs set LEVEL_START=?,LEVEL_FINISH=?,LEVEL_DURATION=?,TOTAL_SLACK=?,"
    "LEVEL_INDEX=? where ELEMENT_ID=?";
constexpr const char* kUpdateAllButSlackSql =
    "update Lev_kor_wbs set LEVEL_START=?,LEVEL_FINISH=?,LEVEL_DURATION=?,LEVEL_INDEX=? "
    "where ELEMENT_ID=?";
constexpr const char* kUpdateSlackSql = "update Lev_kor_wbs set TOTAL_SLACK=? where ELEMENT_ID=?";
constexpr const char* kUpdateLevelIndexSql =
    "update Lev_kor_wbs set LEVEL_INDEX=? where ELEMENT_ID=?";
constexpr const char* kSelectPairsSql =
    "select SEQUENT_ID, ELEMENT_ID from Lev_act_uids where TYPE_ID=?";
constexpr const char* kSelectWbsCodeSql =
    "select WBS_CODE from KOR_WBS where (PROJECT_ID=? and ELEMENT_ID=?)";
constexpr const char* kInsertCircSql[3] = {
    "insert into Lev_circ_1 (SEQ_NUM_RECORDS,WBS_CODE_1,ELEMENT_ID_1,TYPE_ID_1,LEVEL_ID_1) "
    "values (?,?,?,?,?)",
    "insert into Lev_circ_2 (SEQ_NUM_RECORDS,WBS_CODE_2,ELEMENT_ID_2,TYPE_ID_2,LEVEL_ID_2) "
    "values (?,?,?,?,?)",
    "insert into Lev_circ_3 (SEQ_NUM_RECORDS,WBS_CODE_3,ELEMENT_ID_3,TYPE_ID_3,LEVEL_ID_3) "
    "values (?,?,?,?,?)"};

void logf(FILE* file, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void logf(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
  std::fflush(file);
}

const char* projectNameOf(const activity_type* act) {
  return act->proj != nullptr ? act->proj->name : "";
}
bool isOutsideItem(const activity_type* act) {
  return act->isExternalSucc != 0 || act->isExternalPred != 0;
}
int32_t levelDurationOf(const activity_type* act) { return act->effort > 5 ? act->effort : 0; }
int32_t levelIndexOf(const activity_type* act) {
  return act->task_level_order < 0 || act->hasActualFinish ? -1 : act->task_level_order;
}
int32_t slackOfSlackWriters(const activity_type* act) {
  if (act->hasActualFinish) return 1;
  return act->slack < 6 ? 0 : act->slack;
}
double slackInDays(const activity_type* act) {
  const int mpd = act->proj != nullptr ? act->proj->minutes_per_day : 0;
  return mpd > 0 ? static_cast<double>(act->slack) / mpd : 0.0;
}

// Working start and end (minutes) of a day of the item's calendar view; a
// day of an item without project runs from 00:00 to 24:00.
int dayStart(const activity_type* act, int32_t day) {
  return act->proj != nullptr ? getProjectStartTimeMinutesForGivenJulianDate(act, day) : 0;
}
int dayEnd(const activity_type* act, int32_t day) {
  return act->proj != nullptr ? getProjectFinishTimeMinutesForGivenJulianDate(act, day)
                              : DAY_MINUTES;
}
// Working minutes of a day within (from, to), by the interval convention of
// the day bits (a caller counting from time t passes t + 5).
int minutesWithin(const activity_type* act, int32_t day, int from, int to) {
  if (act->proj != nullptr) {
    return getProjectAveMinutesWithinTimeIntervalForGivenJulianDate(act, day, from, to);
  }
  const int lo = from < 5 ? 0 : (from - 5) / 5 * 5;
  const int hi = to > DAY_MINUTES ? DAY_MINUTES : to / 5 * 5;
  return hi > lo ? hi - lo : 0;
}
int minutesOfDay(const activity_type* act, int32_t day) {
  return act->proj != nullptr ? getProjectAveMinutesForGivenJulianDate(act, day) : DAY_MINUTES;
}

void formatStamp(long julianDateOrigin, int32_t day, int minutes, char* out) {
  char date[DATE_TEXT_SIZE];
  char time[TIME_TEXT_SIZE];
  transformJulianToDateString(static_cast<int>(day + julianDateOrigin), date);
  formatMinutesAsTime(minutes, time);
  std::snprintf(out, TIME_STAMP_TEXT_SIZE, "%.10s %.15s", date, time);
}

// Counts the rows of a writer and commits when the count reaches the
// interval (before that row is written), then counts from 0 again.
class CommitCounter {
 public:
  explicit CommitCounter(int interval) : interval_(interval) {}
  // 0, or the failed commit's status.
  int32_t beforeRow(db::Store& store) {
    if (++count_ < interval_) return 0;
    count_ = 0;
    int32_t result = 0;
    db::HostVar resultVar(result);
    const int32_t rc = store.call("LEVEL_COMMIT", {}, &resultVar);
    return rc != 0 ? rc : result;
  }

 private:
  int interval_;
  int count_ = 0;
};

int noConnection(FILE* file, const char* writer, int error_code_base) {
  logf(file, "\n\n\n !!! error in Lev_output: %s: SC_STATE = %d (no database connection) !!! \n",
       writer, db::kSqlNoConnection);
  return error_code_base;
}

int commitFailed(FILE* file, const char* writer, db::Store& store, int32_t rc,
                 int error_code_base) {
  logf(file, "\n\n\n !!! error in Lev_output: %s: SC_STATE = %d (%s) !!! LEVEL_COMMIT failed \n",
       writer, rc, store.status().message);
  store.status().clearMessage();
  return error_code_base;
}

// The records of a list by name, for the pair writers.
std::unordered_map<std::string_view, activity_type*> recordsByName(linked_list* list) {
  std::unordered_map<std::string_view, activity_type*> out;
  for (linktype* l = list != nullptr ? list->phead : nullptr; l != nullptr; l = l->pnext) {
    auto* a = static_cast<activity_type*>(l->pcontents);
    if (a != nullptr) out.emplace(std::string_view(a->name), a);
  }
  return out;
}

// Walks the records between the first and the last entry of the list;
// write(act) returns 0 or the writer's result. A null record ends the walk
// with onNull().
template <class Write, class OnNull>
int forEachInnerRecord(linked_list* list, Write write, OnNull onNull) {
  if (list == nullptr || list->phead == nullptr) return 0;
  for (linktype* l = list->phead->pnext; l != nullptr && l != list->ptail; l = l->pnext) {
    auto* act = static_cast<activity_type*>(l->pcontents);
    if (act == nullptr) return onNull();
    if (isOutsideItem(act)) continue;
    if (int rc = write(act); rc != 0) return rc;
  }
  return 0;
}

// The pairs (sequence id, element id) of Lev_act_uids of one TYPE_ID; for
// each pair whose record is in the list and is not an outside item,
// write(act, element_id) returns 0 or the writer's result.
template <class Write>
int forEachPair(db::Store& store, linked_list* list, int fetch_type_id, const char* writer,
                FILE* file, int error_code_base, Write write) {
  auto records = recordsByName(list);
  db::IdText seqUid, elementId;
  int16_t seqInd = 0, elementInd = 0;
  db::Cursor pairs(store);
  int32_t rc = pairs.open(kSelectPairsSql, {static_cast<int32_t>(fetch_type_id)});
  while (rc == 0 && (rc = pairs.fetch({db::HostVar(seqUid, &seqInd),
                                       db::HostVar(elementId, &elementInd)})) == 0) {
    auto it = records.find(seqUid.view());
    if (it == records.end()) {
      logf(file,
           "\n******* error !!! in %s: cannot find activity with h_seq_uid(h_element_id) = %s "
           "(%32s) ",
           writer, seqUid.c_str(), elementId.c_str());
      continue;
    }
    if (isOutsideItem(it->second)) continue;
    if (int result = write(it->second, elementId.c_str()); result != 0) return result;
  }
  pairs.close();
  if (rc < 0) {
    logf(file, "\n\n\n !!! error in Lev_output: %s: SC_STATE = %d (%s) !!! \n", writer, rc,
         store.status().message);
    store.status().clearMessage();
    return error_code_base;
  }
  return 0;
}

void printTime(FILE* file, int PRINT_UPDATE_OPTION, std::clock_t started) {
  if (!PRINT_UPDATE_OPTION) return;
  logf(file, "\n Time: Updating Data takes :%.3f seconds",
       static_cast<double>(std::clock() - started) / CLOCKS_PER_SEC);
}

// Slack writer for one record under one element id.
int writeSlack(db::Store& store, CommitCounter& commits, const activity_type* act,
               const char* elementId, const char* writer, int PRINT_UPDATE_OPTION, FILE* file,
               int error_code_base) {
  if (int32_t rc = commits.beforeRow(store); rc != 0) {
    return commitFailed(file, writer, store, rc, error_code_base);
  }
  const int32_t slack = slackOfSlackWriters(act);
  if (PRINT_UPDATE_OPTION) {
    logf(file, "\n %-32s type %d h_total_slack %d slack_days_round %6.2f", elementId, act->type,
         slack, slackInDays(act));
  }
  int32_t rc = store.execute(kUpdateSlackSql, {slack, elementId});
  if (rc != 0) {
    logf(file,
         "\n\n\n !!! error in Lev_output: %s: SC_STATE = %d  !!! Act: %32s act->type %d "
         "proj->name %s h_total_slack %d \n ",
         writer, rc, elementId, act->type, projectNameOf(act), slack);
    logf(file, "(%s) slack_days_round %6.2f \n", store.status().message, slackInDays(act));
    store.status().clearMessage();
    return error_code_base;
  }
  return 0;
}

}  // namespace

void formatActivityLevelStamps(const activity_type* act, long julianDateOrigin, char* start_stamp,
                               char* finish_stamp) {
  formatStamp(julianDateOrigin, act->start_date,
              dayStart(act, act->start_date) + act->offset_start_time, start_stamp);
  formatStamp(julianDateOrigin, act->finish_date,
              dayEnd(act, act->finish_date) - act->offset_finish_time, finish_stamp);
}

int32_t workingMinutesOfPlacement(const activity_type* act) {
  const int32_t sd = act->start_date;
  const int32_t fd = act->finish_date;
  if (fd < sd) return 0;
  const int from = dayStart(act, sd) + act->offset_start_time;
  int to = dayEnd(act, fd) - act->offset_finish_time;
  if (to <= 0) to = dayEnd(act, fd);
  int64_t total;
  if (sd == fd) {
    total = minutesWithin(act, sd, from + 5, to);
  } else {
    total = minutesWithin(act, sd, from + 5, DAY_MINUTES) + minutesWithin(act, fd, 5, to);
    for (int32_t d = sd + 1; d < fd; ++d) total += minutesOfDay(act, d);
  }
  if (total < 0) return 0;
  return total > INT32_MAX ? INT32_MAX : static_cast<int32_t>(total);
}

int doUpdateActivitiesInDB(linked_list* activities_list, long julianDateOrigin, void* smanager,
                           int optionUpdateSlackValues, int optionResetContainers,
                           int optionConsiderUidsLengthSupr, int PRINT_UPDATE_OPTION, FILE* file,
                           int error_code_base) {
  (void)smanager;
  static const char* const kWriter = "doUpdateActivitiesInDB";
  if (optionConsiderUidsLengthSupr) {
    logf(file, "\n *** error *** doUpdateActivitiesInDB The code shold not arrive here !!! ");
    return error_code_base;
  }
  db::Store* store = db::currentStore();
  if (store == nullptr) return noConnection(file, kWriter, error_code_base);
  const std::clock_t started = std::clock();
  CommitCounter commits(RESULT_ROWS_PER_COMMIT_FULL);

  auto write = [&](activity_type* act) -> int {
    if (int32_t rc = commits.beforeRow(*store); rc != 0) {
      return commitFailed(file, kWriter, *store, rc, error_code_base);
    }
    if (act->type != 3 && !act->hasActualFinish) {
      if (optionResetContainers) act->ignoreHolesInCalendar = 0;
      setActivityTotalEffort(act, workingMinutesOfPlacement(act));
    }
    char start[TIME_STAMP_TEXT_SIZE], finish[TIME_STAMP_TEXT_SIZE];
    if (act->hasActualFinish) {
      std::snprintf(start, sizeof start, "%s", act->actualStartTimeStamp);
      std::snprintf(finish, sizeof finish, "%s", act->actualFinishTimeStamp);
    } else {
      formatActivityLevelStamps(act, julianDateOrigin, start, finish);
    }
    const int32_t duration = levelDurationOf(act);
    const int32_t slack = act->slack;
    const int32_t index = levelIndexOf(act);
    if (PRINT_UPDATE_OPTION) {
      const int mpd = act->proj != nullptr ? act->proj->minutes_per_day : 0;
      const int days = mpd > 0 && act->effort > 5 ? (act->effort - 5 + mpd - 1) / mpd : 0;
      logf(file, "\n %-32s type %d start %s finish %s effort %d (%d days) slack %d index %d",
           act->name, act->type, start, finish, duration, days, slack, index);
    }
    int32_t rc = optionUpdateSlackValues
                     ? store->execute(kUpdateAllSql, {start, finish, duration, slack, index,
                                                      act->name})
                     : store->execute(kUpdateAllButSlackSql,
                                      {start, finish, duration, index, act->name});
    if (rc != 0) {
      logf(file,
           "\n\n\n !!! error in Lev_output: doUpdateActivitiesInDB: sqlca.sqlcode = %d (%s) !!! "
           "Act: %32s act->type %d proj->name %s optionUpdateSlackValues %d \n ",
           rc, store->status().message, act->name, act->type, projectNameOf(act),
           optionUpdateSlackValues);
      logf(file,
           "h_level_start= %s h_level_finish= %s h_level_duration= %d h_total_slack= %d "
           "h_level_index= %d \n",
           start, finish, duration, slack, index);
      store->status().clearMessage();
      return error_code_base;
    }
    return 0;
  };
  auto onNull = [&]() {
    logf(file, "\n *** error *** in doUpdateActivitiesInDB: NULL activity !!! ");
    return error_code_base;
  };
  const int rc = forEachInnerRecord(activities_list, write, onNull);
  printTime(file, PRINT_UPDATE_OPTION, started);
  return rc;
}

int doUpdateActivitiesSlackValuesInDB(linked_list* activities_list, void* smanager,
                                      int PRINT_UPDATE_OPTION, FILE* file, int error_code_base) {
  (void)smanager;
  static const char* const kWriter = "doUpdateActivitiesSlackValuesInDB";
  db::Store* store = db::currentStore();
  if (store == nullptr) return noConnection(file, kWriter, error_code_base);
  const std::clock_t started = std::clock();
  CommitCounter commits(RESULT_ROWS_PER_COMMIT_SLACK);
  const int rc = forEachInnerRecord(
      activities_list,
      [&](activity_type* act) {
        return writeSlack(*store, commits, act, act->name, kWriter, PRINT_UPDATE_OPTION, file,
                          error_code_base);
      },
      [&]() {
        logf(file, "\n *** error *** in %s: NULL activity !!! ", kWriter);
        return error_code_base;
      });
  printTime(file, PRINT_UPDATE_OPTION, started);
  return rc;
}

int doUpdateActivitiesSlackValuesInDB_2(linked_list* activities_list, void* smanager,
                                        int fetch_type_id, int PRINT_UPDATE_OPTION, FILE* file,
                                        int error_code_base) {
  (void)smanager;
  static const char* const kWriter = "doUpdateActivitiesSlackValuesInDB_2";
  db::Store* store = db::currentStore();
  if (store == nullptr) return noConnection(file, kWriter, error_code_base);
  const std::clock_t started = std::clock();
  CommitCounter commits(RESULT_ROWS_PER_COMMIT_SLACK);
  const int rc = forEachPair(*store, activities_list, fetch_type_id, kWriter, file,
                             error_code_base, [&](activity_type* act, const char* elementId) {
                               return writeSlack(*store, commits, act, elementId, kWriter,
                                                 PRINT_UPDATE_OPTION, file, error_code_base);
                             });
  printTime(file, PRINT_UPDATE_OPTION, started);
  return rc;
}

int doUpdateLevelIndexOnly(linked_list* activities_list, int optionConsiderUidsLengthSupr,
                           int PRINT_UPDATE_OPTION, FILE* file, int error_code_base) {
  if (optionConsiderUidsLengthSupr) {
    return doUpdateLevelIndexOnly_2(activities_list, 2, PRINT_UPDATE_OPTION, file,
                                    error_code_base);
  }
  static const char* const kWriter = "doUpdateLevelIndexOnly";
  db::Store* store = db::currentStore();
  if (store == nullptr) return noConnection(file, kWriter, error_code_base);
  const std::clock_t started = std::clock();
  CommitCounter commits(RESULT_ROWS_PER_COMMIT_INDEX);
  auto write = [&](activity_type* act) -> int {
    if (int32_t rc = commits.beforeRow(*store); rc != 0) {
      return commitFailed(file, kWriter, *store, rc, error_code_base);
    }
    const int32_t index = levelIndexOf(act);
    if (PRINT_UPDATE_OPTION) logf(file, "\n %-32s h_level_index = %5d ", act->name, index);
    int32_t rc = store->execute(kUpdateLevelIndexSql, {index, act->name});
    if (rc != 0) {
      logf(file, "\n\n\n !!! error in Lev_output: doUpdateLevelIndexOnly: SC_STATE = %d  !!! ",
           rc);
      logf(file, "Act: %32s act->type %d (%s) \n h_level_index = %5d \n", act->name, act->type,
           store->status().message, index);
      store->status().clearMessage();
      return error_code_base;
    }
    return 0;
  };
  const int rc = forEachInnerRecord(activities_list, write, [&]() {
    logf(file, "\n *** error *** in %s: NULL activity !!! ", kWriter);
    return error_code_base;
  });
  printTime(file, PRINT_UPDATE_OPTION, started);
  return rc;
}

int doUpdateLevelIndexOnly_2(linked_list* activities_list, int fetch_type_id,
                             int PRINT_UPDATE_OPTION, FILE* file, int error_code_base) {
  static const char* const kWriter = "doUpdateLevelIndexOnly_2";
  db::Store* store = db::currentStore();
  if (store == nullptr) return noConnection(file, kWriter, error_code_base);
  const std::clock_t started = std::clock();
  CommitCounter commits(RESULT_ROWS_PER_COMMIT_INDEX);
  auto write = [&](activity_type* act, const char* elementId) -> int {
    if (int32_t rc = commits.beforeRow(*store); rc != 0) {
      return commitFailed(file, kWriter, *store, rc, error_code_base);
    }
    const int32_t index = levelIndexOf(act);
    if (PRINT_UPDATE_OPTION) logf(file, "\n %-32s h_level_index = %5d ", elementId, index);
    int32_t rc = store->execute(kUpdateLevelIndexSql, {index, elementId});
    if (rc != 0) {
      logf(file,
           "\n\n\n !!! error in Lev_output: doUpdateLevelIndexOnly_2: SC_STATE = %d !!! Act: %s "
           "(%32s) act->type %d  ",
           rc, act->name, elementId, act->type);
      logf(file, "\n h_level_index = %5d ", index);
      logf(file, "(%s) \n", store->status().message);
      store->status().clearMessage();
      return error_code_base;
    }
    return 0;
  };
  const int rc =
      forEachPair(*store, activities_list, fetch_type_id, kWriter, file, error_code_base, write);
  printTime(file, PRINT_UPDATE_OPTION, started);
  return rc;
}

int doUpdateTEMPcircular(linked_list* tmp_sub_optimal_list, int mode, FILE* file,
                         int error_code_base) {
  const int table = mode == 1 ? 0 : mode == 2 ? 1 : 2;
  static const char* const kInsertFailed[3] = {"\n3000.1- sqlca.sqlcode:%d:%s",
                                               "\n3000.3- sqlca.sqlcode:%d:%s",
                                               "\n3000.5- sqlca.sqlcode:%d:%s"};
  db::Store* store = db::currentStore();
  if (store == nullptr) return noConnection(file, "doUpdateTEMPcircular", error_code_base);
  int32_t seq = 0;
  for (linktype* l = tmp_sub_optimal_list != nullptr ? tmp_sub_optimal_list->phead : nullptr;
       l != nullptr; l = l->pnext) {
    const auto* act = static_cast<const activity_type*>(l->pcontents);
    if (act == nullptr) continue;
    const char* project = projectNameOf(act);
    db::NameText wbsCode;
    int16_t wbsInd = 0;
    int32_t rc = store->selectInto(kSelectWbsCodeSql, {project, act->name},
                                   {db::HostVar(wbsCode, &wbsInd)});
    if (rc != 0) {
      logf(file,
           "\n\n**** error (1) in Lev_output: doUpdateTEMPcircular: SC_STATE = %d mode %d "
           "h_project_id= %32s(%d) h_element_id= %32s(%d) h_wbs_code= %s(%d) \n ",
           rc, mode, project, static_cast<int>(std::strlen(project)), act->name,
           static_cast<int>(std::strlen(act->name)), wbsCode.c_str(), wbsInd);
      if (rc < 0) {
        store->status().clearMessage();
        return error_code_base;
      }
      continue;
    }
    ++seq;
    const int32_t type = act->type;
    const int32_t level = act->level_id;
    rc = store->execute(kInsertCircSql[table],
                        {seq, db::In(wbsCode, wbsInd), act->name, type, level});
    if (rc != 0) {
      logf(file, kInsertFailed[table], rc, store->status().message);
      logf(file,
           "\n\n**** error (2) in Lev_output: doUpdateTEMPcircular: SC_STATE = %d mode %d "
           "h_element_id= %32s h_wbs_code= %s h_type_id= %d h_level_id %d \n ",
           rc, mode, act->name, wbsCode.c_str(), type, level);
      store->status().clearMessage();
      return error_code_base;
    }
  }
  return 0;
}
