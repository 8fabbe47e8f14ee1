// A work record's placement as times and texts, read through the calendar
// view of the item it works on: the work starts offset_start_time minutes
// after its start day's working start and finishes offset_finish_time
// minutes before its finish day's working end.
//
// Texts: times "HH:MM:00.000000" (16 bytes), dates "YYYY-MM-DD" (11 bytes).
// The getWork... forms return new[] buffers the caller delete[]s; the _AIX
// forms write into the caller's buffer of at least that size.
#ifndef LEVELER_CALENDAR_WORK_TIMES_H
#define LEVELER_CALENDAR_WORK_TIMES_H

#include "model/activity.h"
#include "model/assignment.h"

int getWorkProjStartTimeMinForSD(const work_type* this_work, const activity_type* this_act);
int getWorkProjFinishTimeMinForFD(const work_type* this_work, const activity_type* this_act);
char* getWorkProjFormatStartTime(const work_type* this_work, const activity_type* this_act);
char* getWorkProjFormatFinishTime(const work_type* this_work, const activity_type* this_act);
void workProjFormatStartTime_AIX(const work_type* this_work, const activity_type* this_act,
                                 char* buf);
void workProjFormatFinishTime_AIX(const work_type* this_work, const activity_type* this_act,
                                  char* buf);
char* getWorkProjFormatStartDate(const work_type* this_work, const activity_type* this_act);
char* getWorkProjFormatFinishDate(const work_type* this_work, const activity_type* this_act);
void workProjFormatStartDate_AIX(const work_type* this_work, const activity_type* this_act,
                                 char* buf);
void workProjFormatFinishDate_AIX(const work_type* this_work, const activity_type* this_act,
                                  char* buf);

#endif
