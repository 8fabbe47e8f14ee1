// An item's placement as text (see item_format.h).
#include "schedule/item_format.h"

#include <algorithm>
#include <cstring>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "schedule/item_times.h"

namespace {

int32_t originOf(const activity_type* a) {
  return a->proj != nullptr ? a->proj->julianDateOrigin : 0;
}

void bitsOf(const activity_type* a, int32_t date, unsigned char* bits) {
  if (a->proj == nullptr) {
    std::memcpy(bits, dayBitsDefault8H, DAY_BITS_BYTES);
  } else {
    getProjectDayBitsForDayCount(a, date - a->proj->first_day, bits);
  }
}

int startTimeOf(const activity_type* a, int32_t date, int offset) {
  unsigned char bits[DAY_BITS_BYTES];
  bitsOf(a, date, bits);
  return std::clamp(getStartTimeMinutesFromDayBits(bits) + offset, 0, DAY_MINUTES);
}

int finishTimeOf(const activity_type* a, int32_t date, int offset) {
  unsigned char bits[DAY_BITS_BYTES];
  bitsOf(a, date, bits);
  return std::clamp(getFinishTimeMinutesFromDayBits(bits) - offset, 0, DAY_MINUTES);
}

void dateInto(const activity_type* a, int32_t date, char* buf) {
  transformJulianToDateString(date + originOf(a), buf);
}

char* newDate(const activity_type* a, int32_t date) {
  return julianToDateString(date + originOf(a));
}

}  // namespace

char* getActivityFormatStartDate(const activity_type* a) { return newDate(a, a->start_date); }
char* getActivityFormatFinishDate(const activity_type* a) { return newDate(a, a->finish_date); }
char* getActivityFormatEarlyStartDate(const activity_type* a) {
  return newDate(a, a->early_start_date);
}
char* getActivityFormatEarlyFinishDate(const activity_type* a) {
  return newDate(a, a->early_finish_date);
}
char* getActivityFormatLateStartDate(const activity_type* a) {
  return newDate(a, a->late_start_date);
}
char* getActivityFormatLateFinishDate(const activity_type* a) {
  return newDate(a, a->late_finish_date);
}

char* getActivityFormatStartTime(const activity_type* a) {
  return getFormatTimeFromMinutes(startTimeOf(a, a->start_date, a->offset_start_time));
}
char* getActivityFormatFinishTime(const activity_type* a) {
  return getFormatTimeFromMinutes(finishTimeOf(a, a->finish_date, a->offset_finish_time));
}
char* getActivityFormatEarlyStartTime(const activity_type* a) {
  return getFormatTimeFromMinutes(startTimeOf(a, a->early_start_date, a->es_offset_start_time));
}
char* getActivityFormatEarlyFinishTime(const activity_type* a) {
  return getFormatTimeFromMinutes(finishTimeOf(a, a->early_finish_date, a->ef_offset_finish_time));
}
char* getActivityFormatLateStartTime(const activity_type* a) {
  return getFormatTimeFromMinutes(startTimeOf(a, a->late_start_date, a->ls_offset_start_time));
}
char* getActivityFormatLateFinishTime(const activity_type* a) {
  return getFormatTimeFromMinutes(finishTimeOf(a, a->late_finish_date, a->lf_offset_finish_time));
}

void activityFormatStartDate_AIX(const activity_type* a, char* buf) { dateInto(a, a->start_date, buf); }
void activityFormatFinishDate_AIX(const activity_type* a, char* buf) {
  dateInto(a, a->finish_date, buf);
}
void activityFormatEarlyStartDate_AIX(const activity_type* a, char* buf) {
  dateInto(a, a->early_start_date, buf);
}
void activityFormatEarlyFinishDate_AIX(const activity_type* a, char* buf) {
  dateInto(a, a->early_finish_date, buf);
}
void activityFormatLateStartDate_AIX(const activity_type* a, char* buf) {
  dateInto(a, a->late_start_date, buf);
}
void activityFormatLateFinishDate_AIX(const activity_type* a, char* buf) {
  dateInto(a, a->late_finish_date, buf);
}

void activityFormatStartTime_AIX(const activity_type* a, char* buf) {
  formatMinutesAsTime(startTimeOf(a, a->start_date, a->offset_start_time), buf);
}
void activityFormatFinishTime_AIX(const activity_type* a, char* buf) {
  formatMinutesAsTime(finishTimeOf(a, a->finish_date, a->offset_finish_time), buf);
}
void activityFormatEarlyStartTime_AIX(const activity_type* a, char* buf) {
  formatMinutesAsTime(startTimeOf(a, a->early_start_date, a->es_offset_start_time), buf);
}
void activityFormatEarlyFinishTime_AIX(const activity_type* a, char* buf) {
  formatMinutesAsTime(finishTimeOf(a, a->early_finish_date, a->ef_offset_finish_time), buf);
}
void activityFormatLateStartTime_AIX(const activity_type* a, char* buf) {
  formatMinutesAsTime(startTimeOf(a, a->late_start_date, a->ls_offset_start_time), buf);
}
void activityFormatLateFinishTime_AIX(const activity_type* a, char* buf) {
  formatMinutesAsTime(finishTimeOf(a, a->late_finish_date, a->lf_offset_finish_time), buf);
}

int activityFormatDateTimeParams_AIX(activity_type* this_act, storage_manager_type* smanager,
                                     char* start_time_stamp, char* finish_time_stamp, FILE* file) {
  int32_t sd = 0, fd = 0;
  int st = 0, ft = 0;
  int r = activityGetSpecDateTimeParams(this_act, smanager, &sd, &fd, &st, &ft, file);
  if (r != 0) return r;
  char date[DATE_TEXT_SIZE];
  char time[TIME_TEXT_SIZE];
  dateInto(this_act, sd, date);
  formatMinutesAsTime(std::clamp(st, 0, DAY_MINUTES), time);
  std::snprintf(start_time_stamp, TIME_STAMP_TEXT_SIZE, "%s %s", date, time);
  dateInto(this_act, fd, date);
  formatMinutesAsTime(std::clamp(ft, 0, DAY_MINUTES), time);
  std::snprintf(finish_time_stamp, TIME_STAMP_TEXT_SIZE, "%s %s", date, time);
  return 0;
}
