// An item's placement as text: its start and finish (scheduled, early and
// late) as date texts "YYYY-MM-DD" and time texts "HH:MM:00.000000", and as
// time stamps "YYYY-MM-DD HH:MM:00.000000" for the result writers.
//
// Units: a date text is the day number + the project's julianDateOrigin;
// a start time is the day's working start (item's calendar view) + the
// start offset of that form (offset_start_time, es_offset_start_time,
// ls_offset_start_time), a finish time the day's working end - the finish
// offset (offset_finish_time, ef_offset_finish_time, lf_offset_finish_time),
// clamped to 00:00..24:00.
//
// Ownership: the getActivityFormat... forms return new[] buffers the caller
// releases with delete[]; the _AIX forms write into the caller's buffer of
// at least DATE_TEXT_SIZE (11) bytes for dates, TIME_TEXT_SIZE (16) for
// times and TIME_STAMP_TEXT_SIZE (27) for time stamps.
//
// Choice: an item without a project (an outside predecessor) has origin 0
// and is read on the standard day (dayBitsDefault8H).
#ifndef LEVELER_SCHEDULE_ITEM_FORMAT_H
#define LEVELER_SCHEDULE_ITEM_FORMAT_H

#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"

char* getActivityFormatStartDate(const activity_type* this_act);
char* getActivityFormatFinishDate(const activity_type* this_act);
char* getActivityFormatEarlyStartDate(const activity_type* this_act);
char* getActivityFormatEarlyFinishDate(const activity_type* this_act);
char* getActivityFormatLateStartDate(const activity_type* this_act);
char* getActivityFormatLateFinishDate(const activity_type* this_act);

char* getActivityFormatStartTime(const activity_type* this_act);
char* getActivityFormatFinishTime(const activity_type* this_act);
char* getActivityFormatEarlyStartTime(const activity_type* this_act);
char* getActivityFormatEarlyFinishTime(const activity_type* this_act);
char* getActivityFormatLateStartTime(const activity_type* this_act);
char* getActivityFormatLateFinishTime(const activity_type* this_act);

void activityFormatStartDate_AIX(const activity_type* this_act, char* buf);
void activityFormatFinishDate_AIX(const activity_type* this_act, char* buf);
void activityFormatEarlyStartDate_AIX(const activity_type* this_act, char* buf);
void activityFormatEarlyFinishDate_AIX(const activity_type* this_act, char* buf);
void activityFormatLateStartDate_AIX(const activity_type* this_act, char* buf);
void activityFormatLateFinishDate_AIX(const activity_type* this_act, char* buf);

void activityFormatStartTime_AIX(const activity_type* this_act, char* buf);
void activityFormatFinishTime_AIX(const activity_type* this_act, char* buf);
void activityFormatEarlyStartTime_AIX(const activity_type* this_act, char* buf);
void activityFormatEarlyFinishTime_AIX(const activity_type* this_act, char* buf);
void activityFormatLateStartTime_AIX(const activity_type* this_act, char* buf);
void activityFormatLateFinishTime_AIX(const activity_type* this_act, char* buf);

// The item's start and finish as time stamps, from the anchors of
// activityGetSpecDateTimeParams (actual work and short effort included).
// 0, or its result 200217 with the buffers untouched.
int activityFormatDateTimeParams_AIX(activity_type* this_act, storage_manager_type* smanager,
                                     char* start_time_stamp, char* finish_time_stamp, FILE* file);

#endif
