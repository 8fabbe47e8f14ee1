#include "store/calendar_loader.h"

#include <cstring>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "store/sequence_ids.h"
#include "store/store.h"

namespace {

constexpr const char* kModule = "Lev_resolveDepOracleDB";

constexpr const char* kSelectCalendar =
    "select MINUTES_PER_DAY ,TYPE_ID ,MONDAY_BIT ,TUESDAY_BIT ,WEDNESDAY_BIT ,THURSDAY_BIT "
    ",FRIDAY_BIT ,SATURDAY_BIT ,SUNDAY_BIT from KOR_CALENDARS where ELEMENT_ID=?";
constexpr const char* kSelectDaysFrom =
    "select DAY_YEAR ,DAY_WEEK ,BIT_SCHED from CALENDAR_DAY_OF_YEAR where (ELEMENT_ID=? and "
    "DAY_YEAR>=?) order by DAY_YEAR";
constexpr const char* kSelectDaysBetweenAsc =
    "select DAY_YEAR ,DAY_WEEK ,BIT_SCHED from CALENDAR_DAY_OF_YEAR where (ELEMENT_ID=? and "
    "DAY_YEAR between SUBSTR(?,1,10) and SUBSTR(?,1,10)) order by DAY_YEAR";
constexpr const char* kSelectDaysBetweenDesc =
    "select DAY_YEAR ,DAY_WEEK ,BIT_SCHED from CALENDAR_DAY_OF_YEAR where (ELEMENT_ID=? and "
    "DAY_YEAR between SUBSTR(?,1,10) and SUBSTR(?,1,10)) order by DAY_YEAR desc";
constexpr const char* kSelectCalendarRank = "select RANK from KOR_CALENDARS where ELEMENT_ID=?";
constexpr const char* kEmptyCalTree = "delete from LEV_CAL_TREE";
constexpr const char* kFillCalTree =
    "insert into LEV_CAL_TREE select ELEMENT_ID ,PARENT_ID from KOR_CALENDARS where (RANK=? and "
    "(TYPE_ID=27 or TYPE_ID in (1,154,288,289,290)))";
constexpr const char* kSelectExceptionsOfElements =
    "select EXCEPTION_MIN ,EXCEPTION_DATE ,EXCEPTION_BIT from CALENDAR_EXCEPTIONS where "
    "CALENDAR_ID in (select ELEMENT_ID from LEV_CAL_TREE ) order by EXCEPTION_DATE";
constexpr const char* kSelectExceptionsOfParents =
    "select EXCEPTION_MIN ,EXCEPTION_DATE ,EXCEPTION_BIT from CALENDAR_EXCEPTIONS where "
    "CALENDAR_ID in (select PARENT_ID from LEV_CAL_TREE ) order by EXCEPTION_DATE";

project_type* asProject(void* p) { return static_cast<project_type*>(p); }

// Records one day of the calendar: an exception when its bits differ from
// what the plain view would otherwise give, a regular day when asked to
// (the first read, before the exception lists are optimised).
void recordDay(project_type* p, int32_t dayCount, const unsigned char* bits, int addToTail,
               int optimizeExceptions) {
  int w = getProjectDayOfWeekForDayCount(p, dayCount);
  if (std::memcmp(bits, getProjectPlainBitsForDayOfWeek(p, w), DAY_BITS_BYTES) != 0) {
    setProjectExceptionDaysOfYear(p, dayCount, w, bits, addToTail);
  } else if (optimizeExceptions) {
    setProjectRegDaysOfYear(p, dayCount, w, bits, addToTail);
  }
}

// A day the store has no row for, outside the span of its rows: it keeps
// the weekly pattern, which the plain view may no longer fall back on.
void recordWeeklyDay(project_type* p, int32_t dayCount, int addToTail) {
  int w = getProjectDayOfWeekForDayCount(p, dayCount);
  setProjectExceptionDaysOfYear(p, dayCount, w, getProjectSchedBitsForDayOfWeek(p, w), addToTail);
}

void markCalendarResized(project_type* p) {
  p->resize_ave = p->resize_ave_REG = p->resize_ave_NWE = 1;
  p->resize_ave_sorted = p->resize_ave_sorted_REG = p->resize_ave_sorted_NWE = 1;
}

void dayText(int32_t day, const project_type* p, char* out) {
  transformJulianToDateString(day + p->julianDateOrigin, out);
}

// Fetches the next row of a day cursor (DAY_YEAR, DAY_WEEK, BIT_SCHED):
// its day number relative to the origin, its weekday (0 when null) and its
// bits (no schedule: no work). Returns the fetch status; *usable is false
// for a row whose day cannot be read.
int32_t fetchDayRow(db::Cursor& cursor, const project_type* p, int32_t* dayNumber,
                    int32_t* dayOfWeek, unsigned char* dayBits, bool* usable) {
  db::DayText day;
  db::DayBitsText bits;
  int16_t dayInd = 0, dowInd = 0, bitsInd = 0;
  *dayOfWeek = 0;
  int32_t rc = cursor.fetch({db::HostVar(day, &dayInd), db::HostVar(*dayOfWeek, &dowInd),
                             db::HostVar(bits, &bitsInd)});
  *usable = false;
  if (rc != 0) return rc;
  int j = dayInd < 0 ? -1 : dateStringToJulian(day.c_str());
  if (j < 0) return rc;
  *dayNumber = j - p->julianDateOrigin;
  if (dowInd < 0) *dayOfWeek = 0;
  if (bitsInd < 0 || !decodeDayBitsHex(bits.c_str(), dayBits)) {
    std::memset(dayBits, 0, DAY_BITS_BYTES);
  }
  *usable = true;
  return rc;
}

// Reads the days of [from, to] (day numbers) in one direction. Rows at the
// anchor day (already loaded) are skipped. Returns 0 or a negative status.
int readDayRange(project_type* p, int32_t from, int32_t to, bool ascending, const char* function,
                 FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  int32_t rc = store->call("SET_DATEFORMAT");
  char fromText[DATE_TEXT_SIZE];
  char toText[DATE_TEXT_SIZE];
  dayText(from, p, fromText);
  dayText(to, p, toText);
  db::Cursor cursor(*store);
  if (rc == 0) {
    rc = cursor.open(ascending ? kSelectDaysBetweenAsc : kSelectDaysBetweenDesc,
                     {p->name, fromText, toText});
  }
  const unsigned char nullDay[DAY_BITS_BYTES] = {};
  int firstDay = CAL_NO_DAY, firstDow = 0, count = 0;
  int prev = ascending ? from : to;  // the anchor: the loaded day next to the range
  int prevDow = 0;
  while (rc == 0) {
    int32_t d = 0, dow = 0;
    unsigned char dayBits[DAY_BITS_BYTES];
    bool usable = false;
    rc = fetchDayRow(cursor, p, &d, &dow, dayBits, &usable);
    if (rc != 0) break;
    if (!usable) continue;
    if (d == prev || (ascending ? d < prev : d > prev)) continue;
    char dayStr[DATE_TEXT_SIZE];
    dayText(d, p, dayStr);
    if (ascending) {
      parseProjectCalendarDataInAscOrderDB(p, dayStr, dow, dayBits, &firstDay, &firstDow, &count,
                                           &prev, &prevDow, nullDay, 0, file);
    } else {
      parseProjectCalendarDataInDescOrderDB(p, dayStr, dow, dayBits, &firstDay, &firstDow, &count,
                                            &prev, &prevDow, nullDay, 0, file);
    }
  }
  if (rc < 0) {
    std::fprintf(file, "\n\n ****** error (1) in %s: SC_STATE = %d (%s) \n\n", function, rc,
                 store->status().message);
    std::fflush(file);
    store->status().clearMessage();
    return rc;
  }
  // Beyond the last row the store has: the weekly pattern.
  if (ascending) {
    for (int32_t d = prev + 1; d <= to; ++d) recordWeeklyDay(p, d - p->first_day, 1);
  } else {
    for (int32_t d = prev - 1; d >= from; --d) recordWeeklyDay(p, d - p->first_day, 0);
  }
  return 0;
}

}  // namespace

void parseProjectCalendarDataInAscOrderDB(void* this_proj, const char* s_day_of_year, int d_of_w,
                                          const unsigned char* current_day_bits, int* the_first_day,
                                          int* the_first_dow, int* days_count, int* last_day,
                                          int* last_day_of_week,
                                          const unsigned char* null_day_bits,
                                          int optimizeExceptions, FILE* /*file*/) {
  project_type* p = asProject(this_proj);
  int32_t d = dateStringToJulian(s_day_of_year) - p->julianDateOrigin;
  bool firstOfCalendar = *last_day == CAL_NO_DAY;
  if (firstOfCalendar) {
    // The first day of a first read fixes the calendar's day counts.
    p->first_day = d;
    p->first_day_of_week = d_of_w;
    *the_first_day = d;
    *the_first_dow = d_of_w;
  } else {
    if (*the_first_day == CAL_NO_DAY) {
      *the_first_day = d;
      *the_first_dow = getProjectDayOfWeekForDayCount(p, d - p->first_day);
    }
    for (int32_t m = *last_day + 1; m < d; ++m) {
      recordDay(p, m - p->first_day, null_day_bits, 1, optimizeExceptions);
      ++*days_count;
    }
  }
  recordDay(p, d - p->first_day, current_day_bits, 1, optimizeExceptions);
  ++*days_count;
  *last_day = d;
  *last_day_of_week = getProjectDayOfWeekForDayCount(p, d - p->first_day);
}

void parseProjectCalendarDataInDescOrderDB(void* this_proj, const char* s_day_of_year,
                                           int /*d_of_w*/, const unsigned char* current_day_bits,
                                           int* the_last_day, int* the_last_dow, int* days_count,
                                           int* prev_day, int* prev_day_of_week,
                                           const unsigned char* null_day_bits,
                                           int optimizeExceptions, FILE* /*file*/) {
  project_type* p = asProject(this_proj);
  int32_t d = dateStringToJulian(s_day_of_year) - p->julianDateOrigin;
  if (*the_last_day == CAL_NO_DAY) {
    *the_last_day = d;
    *the_last_dow = getProjectDayOfWeekForDayCount(p, d - p->first_day);
  }
  for (int32_t m = *prev_day - 1; m > d; --m) {
    recordDay(p, m - p->first_day, null_day_bits, 0, optimizeExceptions);
    ++*days_count;
  }
  recordDay(p, d - p->first_day, current_day_bits, 0, optimizeExceptions);
  ++*days_count;
  *prev_day = d;
  *prev_day_of_week = getProjectDayOfWeekForDayCount(p, d - p->first_day);
}

int doReadCalendarForOneSingleProjectDB(void* this_project, long julianDateOrigin,
                                        const char* cal_first_day_str, int optimizeExceptions,
                                        int optionConsiderUidsLengthSupr, FILE* file,
                                        int error_code_base) {
  project_type* p = asProject(this_project);
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  int lineNum = __LINE__;
  char calendarId[LL_NAME_SIZE];
  std::snprintf(calendarId, sizeof calendarId, "%s", p->name);
  if (optionConsiderUidsLengthSupr) {
    if (doTransSeqUidBackToActElemId(p->name, 1, calendarId, file) != 0) {
      std::snprintf(calendarId, sizeof calendarId, "%s", p->name);
    }
  }
  setProjectJulianDateOrigin(p, static_cast<int32_t>(julianDateOrigin));

  int32_t minutesPerDay = 0, typeId = 0;
  int16_t mpdInd = 0, typeInd = 0;
  db::DayBitsText bits[7];
  int16_t bitsInd[7] = {};
  lineNum = __LINE__;
  int32_t rc = store->selectInto(
      kSelectCalendar, {calendarId},
      {db::HostVar(minutesPerDay, &mpdInd), db::HostVar(typeId, &typeInd),
       db::HostVar(bits[0], &bitsInd[0]), db::HostVar(bits[1], &bitsInd[1]),
       db::HostVar(bits[2], &bitsInd[2]), db::HostVar(bits[3], &bitsInd[3]),
       db::HostVar(bits[4], &bitsInd[4]), db::HostVar(bits[5], &bitsInd[5]),
       db::HostVar(bits[6], &bitsInd[6])});
  if (rc < 0) {
    db::printDbError(file, 1, kModule, "doReadCalendarForOneSingleProjectDB", store->status(),
                     lineNum);
    return rc;
  }
  if (rc == db::kSqlNoData) {
    std::fprintf(file,
                 "\n\n***** error(D-14)/data corruption for project in Lev_inputDataDB "
                 "(doReadCalendarForOneSingleProjectDB) \nerror type: no data for project id \n%s "
                 "LineNum = %d \nPROJECT_ID= %32s(%d) \n\n",
                 store->status().message, lineNum, calendarId, 0);
    std::fflush(file);
    return error_code_base;
  }
  // Columns Monday .. Sunday; weekday 1 is Sunday.
  static const int kWeekdayOfColumn[7] = {2, 3, 4, 5, 6, 7, 1};
  for (int i = 0; i < 7; ++i) {
    if (bitsInd[i] < 0 || !setProjectBitsForDaysOfWeek(p, kWeekdayOfColumn[i], bits[i].c_str())) {
      unsigned char none[DAY_BITS_BYTES] = {};
      char hex[DAY_BITS_HEX_DIGITS + 1];
      Lev_splitSchedBitsInTwo(none, hex);
      setProjectBitsForDaysOfWeek(p, kWeekdayOfColumn[i], hex);
    }
  }

  db::Cursor cursor(*store);
  lineNum = __LINE__;
  rc = cursor.open(kSelectDaysFrom, {calendarId, cal_first_day_str});
  const unsigned char nullDay[DAY_BITS_BYTES] = {};
  int firstDay = CAL_NO_DAY, firstDow = 0, count = 0, lastDay = CAL_NO_DAY, lastDow = 0;
  while (rc == 0) {
    int32_t d = 0, dow = 0;
    unsigned char dayBits[DAY_BITS_BYTES];
    bool usable = false;
    rc = fetchDayRow(cursor, p, &d, &dow, dayBits, &usable);
    if (rc != 0) break;
    if (!usable) continue;
    if (count > 0 && d <= lastDay) continue;
    if (count == 0 && (dow < 1 || dow > 7)) {
      dow = julianToWeekDay(d + p->julianDateOrigin);
    }
    char dayStr[DATE_TEXT_SIZE];
    dayText(d, p, dayStr);
    parseProjectCalendarDataInAscOrderDB(p, dayStr, dow, dayBits, &firstDay, &firstDow, &count,
                                         &lastDay, &lastDow, nullDay, optimizeExceptions, file);
  }
  if (rc < 0) {
    db::printDbError(file, 2, kModule, "doReadCalendarForOneSingleProjectDB", store->status(),
                     lineNum);
    return rc;
  }
  if (count == 0) {
    // No day rows: an empty range starting at the asked day.
    int j = dateStringToJulian(cal_first_day_str);
    firstDay = (j < 0 ? 0 : j - p->julianDateOrigin);
    firstDow = julianToWeekDay(firstDay + p->julianDateOrigin);
  }
  setProjectFirstDay(p, firstDay);
  p->original_first_day = firstDay;
  setProjectFirstDayOfWeek(p, firstDow);
  setProjectSizeOfCalendar(p, count);
  setProjectMinutesPerDay(p, static_cast<int16_t>(mpdInd < 0 ? 0 : minutesPerDay));
  markCalendarResized(p);
  if (optimizeExceptions) projectOptimizeExceptionsList(p);
  return 0;
}

int doReadBaseCalendarExceptionsDB(void* this_project, long julianDateOrigin, FILE* file,
                                   int /*error_code_base*/) {
  project_type* p = asProject(this_project);
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  db::RankText rank;
  int16_t rankInd = 0;
  int lineNum = __LINE__;
  int32_t rc = store->selectInto(kSelectCalendarRank, {p->name}, {db::HostVar(rank, &rankInd)});
  if (rc < 0) {
    db::printDbError(file, 1, kModule, "doReadBaseCalendarExceptionsDB", store->status(), lineNum);
    return rc;
  }
  if (rc == db::kSqlNoData) {
    std::fprintf(file,
                 "\n***** error(D-16)/data corruption for project in Lev_inputDataDB "
                 "(doReadBaseCalendarExceptionsDB) \nerror type: not existing external project "
                 "\n%s LineNum = %d \nPROJECT_ID= %s32(%d) \n\n",
                 store->status().message, lineNum, p->name, 0);
    std::fflush(file);
    return 200143;
  }
  lineNum = __LINE__;
  rc = store->execute(kEmptyCalTree);
  if (rc == 0) rc = store->execute(kFillCalTree, {db::In(rank, rankInd)});
  if (rc < 0) {
    db::printDbError(file, 2, kModule, "doReadBaseCalendarExceptionsDB", store->status(), lineNum);
    return rc;
  }
  const char* queries[2] = {kSelectExceptionsOfElements, kSelectExceptionsOfParents};
  for (int q = 0; q < 2; ++q) {
    db::Cursor cursor(*store);
    lineNum = __LINE__;
    rc = cursor.open(queries[q]);
    while (rc == 0) {
      int32_t minutes = 0;
      db::StampText date;
      db::DayBitsText bitsText;
      int16_t minInd = 0, dateInd = 0, bitsInd = 0;
      rc = cursor.fetch({db::HostVar(minutes, &minInd), db::HostVar(date, &dateInd),
                         db::HostVar(bitsText, &bitsInd)});
      if (rc != 0) break;
      char dayOnly[DATE_TEXT_SIZE];
      std::snprintf(dayOnly, sizeof dayOnly, "%.10s", date.c_str());
      int j = dateStringToJulian(dayOnly);
      if (dateInd < 0 || j < 0) continue;
      int32_t day = j - static_cast<int32_t>(julianDateOrigin);
      unsigned char bits[DAY_BITS_BYTES] = {};
      if (bitsInd < 0 || !decodeDayBitsHex(bitsText.c_str(), bits)) std::memset(bits, 0, sizeof bits);
      int dow = getProjectDayOfWeekForDayCount(p, day - p->first_day);
      setProjectBaseCalExceptions(p, day, dow, minInd < 0 ? 0 : minutes, bits);
    }
    if (rc < 0) {
      db::printDbError(file, 3 + q, kModule, "doReadBaseCalendarExceptionsDB", store->status(),
                       lineNum);
      return rc;
    }
  }
  return 0;
}

int projectExtendCalendarExceptionDataToHigherDatesDB(void* this_proj, int from_day, int to_day,
                                                      FILE* file) {
  return readDayRange(asProject(this_proj), from_day, to_day, true,
                      "projectExtendCalendarExceptionDataToHigherDatesDB", file);
}

int projectExtendCalendarExceptionDataToLowerDatesDB(void* this_proj, int from_day, int to_day,
                                                     FILE* file) {
  return readDayRange(asProject(this_proj), from_day, to_day, false,
                      "projectExtendCalendarExceptionDataToLowerDatesDB", file);
}

namespace {

int extendUpwards(project_type* p, int last, FILE* file) {
  int32_t lastDay = p->first_day + p->size_of_calendar - 1;
  if (lastDay >= last) {
    std::fprintf(file,
                 "\nprojectExtendCalendar: return here because nothing to extend !!! project= %s "
                 "lastDay= %d last_day= %d \n",
                 p->name, lastDay, last);
    return 0;
  }
  int rc = projectExtendCalendarExceptionDataToHigherDatesDB(p, lastDay, last + 400, file);
  if (rc != 0) return rc;
  p->size_of_calendar += (last - lastDay) + 400;
  markCalendarResized(p);
  return 0;
}

// Drops the records of day counts below `below` (days read by a failed
// downward widening).
void dropDaysBelow(linked_list_type* list, int32_t below) {
  ll_head(list);
  for (int32_t n = ll_size(list); n > 0; --n) {
    day_effort_type* d = static_cast<day_effort_type*>(ll_retrieve(list));
    if (d->dayOfYear < below) {
      dayEffortDelete(d);
      ll_remove(list);
    } else {
      ll_next(list);
    }
  }
}

void shiftDayCounts(linked_list_type* list, int32_t by) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    static_cast<day_effort_type*>(l->pcontents)->dayOfYear += by;
  }
}

int extendDownwards(project_type* p, int first, FILE* file) {
  int32_t oldFirst = p->first_day;
  int32_t oldLast = p->first_day + p->size_of_calendar - 1;
  int32_t newFirst = first - 400;
  int32_t shift = oldFirst - newFirst;
  int w = p->first_day_of_week - shift % 7;
  p->first_day_of_week = w < 1 ? w + 7 : w;
  p->first_day = newFirst;
  p->size_of_calendar = oldLast - newFirst + 1;
  for (int wd = 1; wd <= 7; ++wd) shiftDayCounts(getProjectExceptionsForDayOfWeek(p, wd), shift);
  shiftDayCounts(p->regDays_list, shift);
  markCalendarResized(p);
  int rc = projectExtendCalendarExceptionDataToLowerDatesDB(p, newFirst, oldFirst, file);
  if (rc == 0) {
    p->original_first_day = p->first_day;
    return 0;
  }
  // The days could not be read: the calendar keeps its former range.
  for (int wd = 1; wd <= 7; ++wd) {
    linked_list_type* exc = getProjectExceptionsForDayOfWeek(p, wd);
    dropDaysBelow(exc, shift);
    shiftDayCounts(exc, -shift);
  }
  dropDaysBelow(p->regDays_list, shift);
  shiftDayCounts(p->regDays_list, -shift);
  p->first_day = oldFirst;
  p->first_day_of_week = getProjectDayOfWeekForDayCount(p, shift);
  p->size_of_calendar = oldLast - oldFirst + 1;
  return rc;
}

}  // namespace

int projectExtendCalendarData(void* this_proj, int first_day, int last_day, FILE* file) {
  project_type* p = asProject(this_proj);
  int rc = 0;
  if (first_day < p->first_day) {
    rc = extendDownwards(p, first_day, file);
    if (rc == 0 && last_day > p->first_day + p->size_of_calendar - 1) {
      rc = extendUpwards(p, last_day, file);
    }
  } else {
    rc = extendUpwards(p, last_day, file);
  }
  if (rc < 0) {
    db::Store* store = db::currentStore();
    std::fprintf(file, "\n\n ****** error (1) in projectExtendCalendarData: SC_STATE = %d (%s) "
                       "LineNum = %d \n\n",
                 rc, store != nullptr ? store->status().message : "", __LINE__);
    std::fflush(file);
    if (store != nullptr) store->status().clearMessage();
  }
  return rc;
}

int doExtendProjCalendarToMinMaxDates(void* this_project, linked_list_type* /*root_act_list*/,
                                      linked_list_type* projects_list,
                                      linked_list_type* /*activities_list*/,
                                      int /*optionCompareFirstLastDays*/,
                                      int daysToAdvanceFromFirstDay, int daysToExtendFromLastDay,
                                      FILE* file) {
  project_type* p = asProject(this_project);
  project_type* root = p;
  if (projects_list != nullptr && p->root_proj_name[0] != '\0') {
    for (linktype* l = projects_list->phead; l != nullptr; l = l->pnext) {
      project_type* q = asProject(l->pcontents);
      if (std::strcmp(q->name, p->root_proj_name) == 0) {
        root = q;
        break;
      }
    }
  }
  int32_t low = root->first_day - daysToAdvanceFromFirstDay;
  int32_t high = getProjectLastDayOfCalendar(root) + daysToExtendFromLastDay;
  int rc = 0;
  if (low < p->first_day) {
    rc = projectExtendCalendarData(p, low, getProjectLastDayOfCalendar(p), file);
    if (rc != 0) return rc;
  }
  if (high > getProjectLastDayOfCalendar(p)) rc = projectExtendCalendarData(p, low, high, file);
  return rc;
}

int doExtendAllCalendarsToMinMaxDates(linked_list_type* root_act_list,
                                      linked_list_type* projects_list,
                                      linked_list_type* activities_list,
                                      int optionCompareFirstLastDays, int daysToAdvanceFromFirstDay,
                                      int daysToExtendFromLastDay, FILE* file) {
  int rc = 0;
  for (linktype* l = projects_list->phead; l != nullptr && rc == 0; l = l->pnext) {
    project_type* p = asProject(l->pcontents);
    if (std::strcmp(p->name, p->root_proj_name) == 0) continue;
    rc = doExtendProjCalendarToMinMaxDates(p, root_act_list, projects_list, activities_list,
                                           optionCompareFirstLastDays, daysToAdvanceFromFirstDay,
                                           daysToExtendFromLastDay, file);
    if (rc < 0) {
      std::fprintf(file, "\n error(1) in doExtendAllCalendarsToMinMaxDates: negative error code "
                         "from SQL: errCode = %d LineNum = %d \n",
                   rc, __LINE__);
    }
  }
  if (root_act_list != nullptr) {
    for (linktype* l = root_act_list->phead; l != nullptr && rc == 0; l = l->pnext) {
      activity_type* a = static_cast<activity_type*>(l->pcontents);
      if (a->proj == nullptr) continue;
      rc = doExtendProjCalendarToMinMaxDates(a->proj, root_act_list, projects_list, activities_list,
                                             optionCompareFirstLastDays, daysToAdvanceFromFirstDay,
                                             daysToExtendFromLastDay, file);
      if (rc < 0) {
        std::fprintf(file, "\n error(2) in doExtendAllCalendarsToMinMaxDates: negative error code "
                           "from SQL: errCode = %d LineNum = %d \n",
                     rc, __LINE__);
      }
    }
  }
  return rc;
}
