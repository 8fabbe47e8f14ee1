#include "calendar/work_times.h"

#include "calendar/dates.h"
#include "calendar/project.h"

int getWorkProjStartTimeMinForSD(const work_type* this_work, const activity_type* this_act) {
  return getProjectStartTimeMinutesForGivenJulianDate(this_act, this_work->start_date) +
         this_work->offset_start_time;
}

int getWorkProjFinishTimeMinForFD(const work_type* this_work, const activity_type* this_act) {
  return getProjectFinishTimeMinutesForGivenJulianDate(this_act, this_work->finish_date) -
         this_work->offset_finish_time;
}

char* getWorkProjFormatStartTime(const work_type* this_work, const activity_type* this_act) {
  return getFormatTimeFromMinutes(getWorkProjStartTimeMinForSD(this_work, this_act));
}

char* getWorkProjFormatFinishTime(const work_type* this_work, const activity_type* this_act) {
  return getFormatTimeFromMinutes(getWorkProjFinishTimeMinForFD(this_work, this_act));
}

void workProjFormatStartTime_AIX(const work_type* this_work, const activity_type* this_act,
                                 char* buf) {
  formatMinutesAsTime(getWorkProjStartTimeMinForSD(this_work, this_act), buf);
}

void workProjFormatFinishTime_AIX(const work_type* this_work, const activity_type* this_act,
                                  char* buf) {
  formatMinutesAsTime(getWorkProjFinishTimeMinForFD(this_work, this_act), buf);
}

char* getWorkProjFormatStartDate(const work_type* this_work, const activity_type* this_act) {
  return julianToDateString(this_work->start_date + this_act->proj->julianDateOrigin);
}

char* getWorkProjFormatFinishDate(const work_type* this_work, const activity_type* this_act) {
  return julianToDateString(this_work->finish_date + this_act->proj->julianDateOrigin);
}

void workProjFormatStartDate_AIX(const work_type* this_work, const activity_type* this_act,
                                 char* buf) {
  transformJulianToDateString(this_work->start_date + this_act->proj->julianDateOrigin, buf);
}

void workProjFormatFinishDate_AIX(const work_type* this_work, const activity_type* this_act,
                                  char* buf) {
  transformJulianToDateString(this_work->finish_date + this_act->proj->julianDateOrigin, buf);
}
