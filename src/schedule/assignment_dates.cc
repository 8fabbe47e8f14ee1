// Assignment date functions (see assignment_dates.h).
#include "schedule/assignment_dates.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "calendar/dates.h"
#include "calendar/work_times.h"
#include "model/assignment.h"
#include "model/dependency.h"
#include "schedule/calendar_reach.h"
#include "schedule/calendar_reach.h"
#include "schedule/effort_sums.h"
#include "schedule/item_format.h"
#include "store/sequence_ids.h"

namespace {

__attribute__((format(printf, 2, 3))) void say(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
}

// "date time" into out (27 bytes) from a 10-character date and a time text.
void joinStamp(const char* date, const char* time, char* out) {
  std::snprintf(out, TIME_STAMP_TEXT_SIZE, "%s %s", date, time);
}

bool isTask(const activity_type* a) { return a->type == 3; }

bool hasAssignments(const activity_type* a) {
  return a->hasAssignment != 0 || (a->assignment_list != nullptr && a->assignment_list->listlength > 0);
}

// The assignment of the task's list named `name`, or null. Walks the links
// so that the list's current position stays where it is.
assignment_type* findAssignment(const activity_type* a, const char* name) {
  if (a->assignment_list == nullptr) return nullptr;
  for (linktype* l = a->assignment_list->phead; l != nullptr; l = l->pnext) {
    auto* ass = static_cast<assignment_type*>(l->pcontents);
    if (std::strcmp(ass->name, name) == 0) return ass;
  }
  return nullptr;
}

// Through the list's name index when it has one (the run's item list has,
// from a few dozen items on): the main loop asks this once per assignment,
// and a scan would make levelling quadratic in the number of items.
activity_type* findItem(linked_list_type* list, const char* name) {
  if (list == nullptr || name == nullptr) return nullptr;
  return static_cast<activity_type*>(ll_extract(list, name));
}

// Day number and minute of day of a time stamp; false when it is not one.
bool readStamp(const activity_type* a, const char* stamp, int32_t* day, int* minute) {
  if (stamp == nullptr || stamp[0] == '\0') return false;
  int julian = 0;
  if (parseTimeStamp(stamp, &julian, minute) == 0) return false;
  *day = julian - (a->proj != nullptr ? a->proj->julianDateOrigin : 0);
  return true;
}

}  // namespace

void doExtractActStartFinishDT(const activity_type* this_act, char* startDateTime,
                               char* finishDateTime) {
  char date[DATE_TEXT_SIZE];
  char time[TIME_TEXT_SIZE];
  activityFormatStartDate_AIX(this_act, date);
  activityFormatStartTime_AIX(this_act, time);
  joinStamp(date, time, startDateTime);
  activityFormatFinishDate_AIX(this_act, date);
  activityFormatFinishTime_AIX(this_act, time);
  joinStamp(date, time, finishDateTime);
}

int doExtractActAssStartFinishDT(activity_type* this_act, const char* resource_id, void* this_sm,
                                 int optionConsiderUidsLengthSupr, char* startDateTime,
                                 char* finishDateTime, int errorCode_base, FILE* file) {
  if (!isTask(this_act)) {
    doExtractActStartFinishDT(this_act, startDateTime, finishDateTime);
    return 0;
  }
  char name[SEQ_UID_SIZE] = {0};
  if (optionConsiderUidsLengthSupr) {
    int succeed = 0;
    doFindCreateResSeqUid(resource_id, ASSDT_RESOURCE_UID_TYPE, name, this_sm, 0, &succeed, file);
    if (!succeed) {
      say(file, "\n*** error in doExtractActAssStartFinishDT: no sequence id for resource %s "
                 "(task %s)",
           resource_id, this_act->name);
      return SEQ_UID_UNKNOWN;
    }
  } else {
    std::snprintf(name, sizeof name, "%s", resource_id != nullptr ? resource_id : "");
  }
  assignment_type* ass = findAssignment(this_act, name);
  if (ass == nullptr) return errorCode_base;
  work_type* work = getAssignmentWorkByActivity(ass, this_act->name);
  if (work != nullptr && work->hasActualStart && work->start_date > this_act->start_date) {
    char date[DATE_TEXT_SIZE];
    char time[TIME_TEXT_SIZE];
    workProjFormatStartDate_AIX(work, this_act, date);
    workProjFormatStartTime_AIX(work, this_act, time);
    joinStamp(date, time, startDateTime);
    workProjFormatFinishDate_AIX(work, this_act, date);
    workProjFormatFinishTime_AIX(work, this_act, time);
    joinStamp(date, time, finishDateTime);
    return 0;
  }
  doExtractActStartFinishDT(this_act, startDateTime, finishDateTime);
  return 0;
}

int doSetDTParamsTaskDrivAss(activity_type* prev_act, storage_manager_type* smanager,
                             int32_t min_startDate, int32_t max_finishDate,
                             int min_offset_start_time, int min_offset_finish_time,
                             int PRINT_OPTION_EVEN_MORETHAN_BASIC, FILE* file) {
  if (!isTask(prev_act) || !hasAssignments(prev_act)) return 0;
  if (prev_act->start_date == min_startDate && prev_act->finish_date == max_finishDate &&
      prev_act->offset_start_time == min_offset_start_time &&
      prev_act->offset_finish_time == min_offset_finish_time) {
    return 0;
  }
  setActivityStartDate(prev_act, min_startDate);
  prev_act->early_start_date = min_startDate;
  setActivityFinishDate(prev_act, max_finishDate);
  prev_act->early_finish_date = max_finishDate;
  setActivityTimeOffsetFromStart(prev_act, min_offset_start_time);
  prev_act->es_offset_start_time = prev_act->offset_start_time;
  setActivityTimeOffsetFromFinish(prev_act, min_offset_finish_time);
  prev_act->ef_offset_finish_time = prev_act->offset_finish_time;
  setActivityDuration(prev_act, max_finishDate - min_startDate + 1);
  setActivityOriginalDuration(prev_act, max_finishDate - min_startDate + 1);
  int32_t effort = 0;
  const int rc = activityCalculateTotalEffortWithinGivenDates(prev_act, &effort, smanager,
                                                              min_startDate, max_finishDate, file);
  if (rc != 0) return rc;
  setActivityTotalEffort(prev_act, std::max(effort, 0));
  if (PRINT_OPTION_EVEN_MORETHAN_BASIC) {
    say(file, "\n doSetDTParamsTaskDrivAss: %s start %d (+%d) finish %d (-%d) duration %d effort %d",
         prev_act->name, prev_act->start_date, prev_act->offset_start_time,
         prev_act->finish_date, prev_act->offset_finish_time, prev_act->duration,
         prev_act->effort);
  }
  return 0;
}

int doArrangeActLowerStartDateTime(activity_type* this_act, linked_list_type* act_tmp_list,
                                   char* s_start_wbs, const char* mode, int32_t ass_effort,
                                   int32_t ass_contour, int32_t ass_contour_type,
                                   storage_manager_type* /*smanager*/, const char* START_NODE_NAME,
                                   FILE* file) {
  if (s_start_wbs == nullptr || std::strlen(s_start_wbs) <= 10) return 0;
  int32_t day = 0;
  int minute = 0;
  if (!readStamp(this_act, s_start_wbs, &day, &minute)) return 0;
  auto cut = [&](const char* why) {
    s_start_wbs[10] = '\0';
    say(file, "\n doArrangeActLowerStartDateTime(%s): %s starts at the beginning of %s (%s)",
         mode != nullptr ? mode : "", this_act->name, s_start_wbs, why);
    return 0;
  };
  if (getProjectAveMinutesForGivenJulianDate(this_act, day) < ACT_MIN_AVE_MINUTES) {
    return cut("not a working day");
  }
  const int16_t ct = this_act->constraint_type;
  if (ct == 1) return 0;
  if (activityHasNonTrivialPred(this_act, START_NODE_NAME)) {
    for (linktype* l = this_act->pred_list->phead; l != nullptr; l = l->pnext) {
      auto* dep = static_cast<dependency_type*>(l->pcontents);
      if (!dep->isActive) continue;
      if (dep->lag_minutes != 0 || dep->type == 0 || dep->type == 2) return 0;
      if (dep->type == 1) {
        const activity_type* pred = findItem(act_tmp_list, dep->name);
        if (pred != nullptr && pred->finish_date == day) return 0;
      }
      break;  // only the first active dependency decides
    }
  }
  if (ct == 2 || ct == 4) {
    const bool contoured =
        ass_contour_type >= 2 || (ass_contour_type == 1 && (ass_contour & 0x1F000) != 0);
    if (ass_effort > 0 && contoured) return cut("contoured work under a finish constraint");
    return 0;
  }
  if (minute == getProjectStartTimeMinutesForGivenJulianDate(this_act, day)) {
    return cut("at the day's working start");
  }
  return 0;
}

int doRollupAssDTWithinTask(activity_type* this_act, storage_manager_type* smanager,
                            int dateResetFlag, const char* h_start, const char* h_finish,
                            int32_t* min_startDate, int32_t* max_finishDate,
                            int* min_offset_start_time, int* min_offset_finish_time,
                            int PRINT_OPTION_EVEN_MORETHAN_BASIC, FILE* file) {
  if (!isTask(this_act) || this_act->proj == nullptr) return 0;
  int32_t sd = 0, fd = 0;
  int st = 0, ft = 0;
  if (!readStamp(this_act, h_start, &sd, &st) || !readStamp(this_act, h_finish, &fd, &ft)) {
    return 0;
  }
  project_type* p = this_act->proj;
  const int32_t last = getProjectLastDayOfCalendar(p);
  if (sd < p->first_day || fd >= last) {
    const int rc = scheduleExtendCalendar(p, std::min(sd, p->first_day),
                                          std::max(last, fd + CALENDAR_GROWTH_MARGIN), file);
    if (rc != 0) return rc;
  }
  int start_offset = 0;
  if (getProjectAveMinutesForGivenJulianDate(this_act, sd) < ACT_MIN_AVE_MINUTES) {
    if (!activityMoveToNextAvailableDay(this_act, smanager, &sd, file)) {
      say(file, "\n*** error in doRollupAssDTWithinTask: no working day after %s for %s",
           h_start, this_act->name);
      return ASSDT_ERR_NO_WORKING_DAY;
    }
  } else {
    start_offset = std::max(0, st - getProjectStartTimeMinutesForGivenJulianDate(this_act, sd));
  }
  const int finish_offset =
      std::max(0, getProjectFinishTimeMinutesForGivenJulianDate(this_act, fd) - ft);
  if (dateResetFlag == 0) {
    *min_startDate = sd;
    *min_offset_start_time = start_offset;
    *max_finishDate = fd;
    *min_offset_finish_time = finish_offset;
  } else {
    if (sd < *min_startDate || (sd == *min_startDate && start_offset < *min_offset_start_time)) {
      *min_startDate = sd;
      *min_offset_start_time = start_offset;
    }
    if (fd > *max_finishDate ||
        (fd == *max_finishDate && finish_offset < *min_offset_finish_time)) {
      *max_finishDate = fd;
      *min_offset_finish_time = finish_offset;
    }
  }
  if (PRINT_OPTION_EVEN_MORETHAN_BASIC) {
    say(file, "\n doRollupAssDTWithinTask: %s [%s .. %s] -> envelope %d (+%d) .. %d (-%d)",
         this_act->name, h_start, h_finish, *min_startDate, *min_offset_start_time,
         *max_finishDate, *min_offset_finish_time);
  }
  return 0;
}
