// An item's points in time on its calendar (see item_times.h).
#include "schedule/item_times.h"

#include <algorithm>

#include "calendar/day_bits.h"
#include "schedule/calendar_reach.h"

namespace {

int aveOf(const activity_type* a, int32_t date) {
  return getProjectAveMinutesForGivenJulianDate(a, date);
}

int startOf(const activity_type* a, int32_t date) {
  return getProjectStartTimeMinutesForDayCount(a, date - a->proj->first_day);
}

int finishOf(const activity_type* a, int32_t date) {
  return getProjectFinishTimeMinutesForDayCount(a, date - a->proj->first_day);
}

}  // namespace

int activityFindClosestAveStartFinishDates(activity_type* this_act, storage_manager_type* smanager,
                                           int32_t* start_date, int* day_start_time,
                                           int* sd_change_status, int32_t* finish_date,
                                           int* day_finish_time, int* fd_change_status,
                                           FILE* file) {
  *sd_change_status = 0;
  *fd_change_status = 0;
  if (aveOf(this_act, *start_date) < 5) {
    if (activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, start_date, smanager,
                                                               file) != 1) {
      return ERR_NO_WORKING_DAY;
    }
    *sd_change_status = 1;
  }
  if (aveOf(this_act, *finish_date) < 5) {
    if (activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, finish_date, smanager,
                                                               file) != 1) {
      return ERR_NO_WORKING_DAY;
    }
    *fd_change_status = 1;
  }
  if (*sd_change_status == 1 || *day_start_time <= 0) *day_start_time = startOf(this_act, *start_date);
  if (*fd_change_status == 1) {
    *day_finish_time = startOf(this_act, *finish_date);
  } else if (*day_finish_time <= 0) {
    *day_finish_time = finishOf(this_act, *finish_date);
  }
  return 0;
}

int activityGetSpecDateTimeParams(activity_type* this_act, storage_manager_type* smanager,
                                  int32_t* startDate, int32_t* finishDate, int* startTime,
                                  int* finishTime, FILE* file) {
  int32_t sd = this_act->start_date;
  int32_t fd = this_act->finish_date;
  int st, ft;
  if (this_act->proj == nullptr) {
    // A node without a calendar is read on the standard day.
    *startDate = sd;
    *finishDate = fd;
    *startTime = getStartTimeMinutesFromDayBits(dayBitsDefault8H) + this_act->offset_start_time;
    *finishTime = this_act->effort < 6 ? *startTime
                                       : getFinishTimeMinutesFromDayBits(dayBitsDefault8H) -
                                             this_act->offset_finish_time;
    return 0;
  }
  if (aveOf(this_act, sd) < 5) {
    if (activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, &sd, smanager, file) != 1) {
      return ERR_NO_WORKING_DAY;
    }
    st = startOf(this_act, sd);
  } else {
    st = startOf(this_act, sd) + this_act->offset_start_time;
  }
  if (aveOf(this_act, fd) <= 4) {
    if (activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, &fd, smanager, file) != 1) {
      return ERR_NO_WORKING_DAY;
    }
    ft = finishOf(this_act, fd);
  } else {
    ft = finishOf(this_act, fd) - this_act->offset_finish_time;
  }
  if (this_act->effort < 6) ft = st;
  if (this_act->type == 3 && this_act->max_wrk_actual_FD >= fd) {
    const int end = finishOf(this_act, this_act->max_wrk_actual_FD);
    if (this_act->max_wrk_actual_FD == fd) {
      ft = end - std::min<int>(this_act->oft_wrk_actual_FD, this_act->offset_finish_time);
    } else {
      fd = this_act->max_wrk_actual_FD;
      ft = end - this_act->oft_wrk_actual_FD;
    }
    ft = std::clamp(ft, 0, DAY_MINUTES);
  }
  *startDate = sd;
  *finishDate = fd;
  *startTime = st;
  *finishTime = ft;
  return 0;
}

int activityFixClosestFinishDateFromProjCalendar(activity_type* this_act,
                                                 storage_manager_type* smanager,
                                                 int32_t* this_finish_date, FILE* file) {
  if (aveOf(this_act, *this_finish_date) >= 5) return 1;
  if (this_act->constraint_type == 2) {
    return activityFindClosestAveHigherDateBasedOnProjectCalendar(this_act, this_finish_date,
                                                                  smanager, file);
  }
  return activityFindClosestAveLowerDateBasedOnProjectCalendar(this_act, this_finish_date,
                                                              smanager, file);
}
