// Loading a project's working calendar from the store and widening the
// loaded range of days on demand.
//
// Tables: KOR_CALENDARS (the weekday schedules and MINUTES_PER_DAY of the
// calendar whose ELEMENT_ID is the project's id), CALENDAR_DAY_OF_YEAR (one
// row per day: DAY_YEAR "YYYY-MM-DD", DAY_WEEK 1 = Sunday .. 7 = Saturday,
// BIT_SCHED 72 hex digits), CALENDAR_EXCEPTIONS and the work table
// LEV_CAL_TREE for the base-calendar exceptions.
//
// Units: days are day numbers relative to the run's julianDateOrigin; the
// project's day lists are keyed by day count (day number - first_day).
//
// How the day lists are filled, whichever way the calendar was read (one
// read of the whole range, or a first read widened upwards and downwards
// later), so that a day's bits come out the same:
// - Every day count is counted from the calendar's first_day, in the first
//   read and in every re-read alike (a re-read that moves first_day down
//   shifts the recorded day counts first).
// - A day's weekday is computed from its day count and first_day_of_week
//   (which the first row read sets); DAY_WEEK of later rows is not needed.
// - A day the store has a row for is stored as an exception when its bits
//   differ from its weekday's pattern (as the plain view falls back on it).
// - A day missing between two rows, or between the loaded range and the
//   first row a re-read finds beyond it, is a day without work, in both
//   directions.
// - Days of a widened range beyond the last row the store has (or before
//   its first) follow the weekly pattern, as days outside the loaded range
//   always do.
// - A re-read starts one day beyond the loaded range: no day is recorded
//   twice.
// Widening downwards to a range whose end also lies beyond the loaded range
// widens upwards as well, so that every day of the range has been read.
#ifndef LEVELER_STORE_CALENDAR_LOADER_H
#define LEVELER_STORE_CALENDAR_LOADER_H

#include <climits>
#include <cstdio>

#include "calendar/project.h"
#include "model/linked_list.h"

// Reads the project's calendar from cal_first_day_str (YYYY-MM-DD) on: 0, a
// negative SQL status, or error_code_base when the calendar has no row
// (D-14). With optionConsiderUidsLengthSupr the project's name is a sequence
// id and is translated back first.
int doReadCalendarForOneSingleProjectDB(void* this_project, long julianDateOrigin,
                                        const char* cal_first_day_str, int optimizeExceptions,
                                        int optionConsiderUidsLengthSupr, FILE* file,
                                        int error_code_base);
// Reads the exceptions of the base calendars related to the project's
// calendar into base_cal_exc: 0, a negative SQL status, or 200143 (D-16).
int doReadBaseCalendarExceptionsDB(void* this_project, long julianDateOrigin, FILE* file,
                                   int error_code_base);
// Makes the loaded range cover [first_day, last_day]: 0 or a negative SQL
// status.
int projectExtendCalendarData(void* this_proj, int first_day, int last_day, FILE* file);
// Reads the days after (before) the loaded range, up to to_day (down to
// from_day): 0 or a negative SQL status.
int projectExtendCalendarExceptionDataToHigherDatesDB(void* this_proj, int from_day, int to_day,
                                                      FILE* file);
int projectExtendCalendarExceptionDataToLowerDatesDB(void* this_proj, int from_day, int to_day,
                                                     FILE* file);
// Widens one project's (every project's) loaded range to its root project's
// range with the margins given in days.
int doExtendProjCalendarToMinMaxDates(void* this_project, linked_list_type* root_act_list,
                                      linked_list_type* projects_list,
                                      linked_list_type* activities_list,
                                      int optionCompareFirstLastDays, int daysToAdvanceFromFirstDay,
                                      int daysToExtendFromLastDay, FILE* file);
int doExtendAllCalendarsToMinMaxDates(linked_list_type* root_act_list,
                                      linked_list_type* projects_list,
                                      linked_list_type* activities_list,
                                      int optionCompareFirstLastDays, int daysToAdvanceFromFirstDay,
                                      int daysToExtendFromLastDay, FILE* file);

// "No day yet" for the day arguments of the parse functions (day numbers
// may be negative, so no ordinary value can say it).
inline constexpr int CAL_NO_DAY = INT_MIN;

// One fetched day into the project's day lists, days read oldest first.
// *last_day is the previous day seen (the gap from it to this day has no
// work), or CAL_NO_DAY on the first call of a first read: the day then
// becomes the calendar's first day, with weekday d_of_w. *the_first_day
// (CAL_NO_DAY before the first call) receives the first day this read saw;
// *days_count counts the days covered.
void parseProjectCalendarDataInAscOrderDB(void* this_proj, const char* s_day_of_year, int d_of_w,
                                          const unsigned char* current_day_bits, int* the_first_day,
                                          int* the_first_dow, int* days_count, int* last_day,
                                          int* last_day_of_week,
                                          const unsigned char* null_day_bits,
                                          int optimizeExceptions, FILE* file);
// The same for days read newest first: *prev_day is the later day seen
// before (the loaded range's first day on the first call); exceptions go to the head of their lists to keep them in day
// order.
void parseProjectCalendarDataInDescOrderDB(void* this_proj, const char* s_day_of_year, int d_of_w,
                                           const unsigned char* current_day_bits,
                                           int* the_last_day, int* the_last_dow, int* days_count,
                                           int* prev_day, int* prev_day_of_week,
                                           const unsigned char* null_day_bits,
                                           int optimizeExceptions, FILE* file);

#endif
