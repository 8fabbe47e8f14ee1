// The project record and its working calendar.
//
// A project carries a weekly pattern of day bits (week_bits, entry w - 1 for
// weekday w, 1 = Sunday .. 7 = Saturday), per-weekday lists of exception days
// (sun_exc .. sut_exc, day_effort_type records keyed by day count), the
// base-calendar exceptions, a standard day (day_bits_NWE) and, built lazily,
// arrays of available minutes per day count for each of three views. Every
// calendar question is asked through an item, whose ignoreHolesInCalendar
// picks the view:
//   0 plain     exception of the day, else the weekday's pattern   (unsuffixed)
//   1 standard  day_bits_NWE on every day                          (_NWE)
//   2 weekly    the weekday's pattern, exceptions ignored          (_REG)
//
// Units: day numbers are Julian day numbers minus julianDateOrigin; a day
// count is a day number minus first_day (0 .. size_of_calendar - 1); the
// weekday of day count c is (c + first_day_of_week - 1) mod 7 + 1; times and
// efforts are minutes; day bits are 36-byte, 288-slot days.
//
// Ownership: the project owns its exception, regular-day, base-calendar and
// sub-project records and lists, and its availability arrays. Texts returned
// by the Format functions are new[] buffers the caller delete[]s.
//
// The plain view's fallback pattern. The exception lists hold the days that
// differ from a weekday's fallback pattern, plain_week_bits, which equals the
// weekly pattern until projectOptimizeExceptionsList finds that most loaded
// days of a weekday share some other pattern: it then makes that pattern the
// weekday's fallback, drops those days from the exception list and lists the
// days that do follow the weekly pattern instead. The weekly pattern itself
// never changes (the weekly view keeps answering with it), and every later
// exception is stored against the fallback, so a day's bits in every view
// are the same before and after the optimisation. Days outside the loaded
// range have no recorded exceptions and fall back on the weekly pattern.
//
// Availability arrays are rebuilt whenever their view's resize flag is set or
// their allocated length differs from size_of_calendar, so a lookup through
// them never reads past their end.
#ifndef LEVELER_CALENDAR_PROJECT_H
#define LEVELER_CALENDAR_PROJECT_H

#include <cstdint>
#include <cstdio>

#include "calendar/day_bits.h"
#include "model/activity.h"
#include "model/day_records.h"
#include "model/linked_list.h"

struct project_type {
  char name[LL_NAME_SIZE];
  char root_proj_name[LL_NAME_SIZE];
  int32_t julianDateOrigin;
  int32_t size_of_calendar;  // calendar days held; length of every array
  int16_t resize_ave;
  int16_t resize_ave_sorted;
  int16_t ave_min_are_sorted;
  int16_t ave_days_are_sorted;
  int16_t resize_ave_REG;
  int16_t resize_ave_sorted_REG;
  int16_t ave_min_are_sorted_REG;
  int16_t ave_days_are_sorted_REG;
  int16_t resize_ave_NWE;
  int16_t resize_ave_sorted_NWE;
  int16_t ave_min_are_sorted_NWE;
  int16_t ave_days_are_sorted_NWE;
  int32_t first_day;  // day number of day count 0
  int32_t original_first_day;
  int32_t create_date;
  int32_t sav_create_date;
  int32_t original_create_date;
  int32_t start_date;
  int32_t sav_start_date;
  int32_t finish_date;
  int32_t sav_finish_date;
  int32_t first_day_of_week;  // weekday of day count 0
  int16_t minutes_per_day;
  int16_t isOnExternalDep;
  int16_t isRootProject;
  int16_t containsALAP;
  int16_t containsAss;
  uint16_t alignWithExtPred;  // 1 at creation
  uint16_t priority;          // 500 at creation
  int32_t current_date;
  int16_t shiftProjSFDate;
  unsigned char day_bits_NWE[DAY_BITS_BYTES];
  unsigned char week_bits[7][DAY_BITS_BYTES];
  unsigned char plain_week_bits[7][DAY_BITS_BYTES];  // plain view's fallback
  int32_t* ave_minutes;
  int32_t* ave_minutes_sorted;
  int32_t* ave_days;
  int32_t* ave_days_synchr;
  int32_t* ave_minutes_REG;
  int32_t* ave_minutes_sorted_REG;
  int32_t* ave_days_REG;
  int32_t* ave_days_synchr_REG;
  int32_t* ave_minutes_NWE;
  int32_t* ave_minutes_sorted_NWE;
  int32_t* ave_days_NWE;
  int32_t* ave_days_synchr_NWE;
  int32_t ave_len[3];         // entries allocated in each view's primary pair
  int32_t ave_sorted_len[3];  // entries allocated in each view's sorted pair
  // Running sums of each view's minutes in day order: ave_prefix[v][c] is
  // the sum over day counts 0 .. c-1 (size_of_calendar + 1 entries). Built
  // on demand, dropped whenever the view's arrays are rebuilt.
  int64_t* ave_prefix[3];
  int32_t ave_prefix_len[3];
  linked_list_type* sun_exc;
  linked_list_type* mon_exc;
  linked_list_type* tue_exc;
  linked_list_type* wen_exc;
  linked_list_type* thu_exc;
  linked_list_type* fri_exc;
  linked_list_type* sut_exc;
  linked_list_type* base_cal_exc;  // day_of_year_type
  linked_list_type* regDays_list;  // day_effort_type
  linked_list_type* sub_proj_list;  // string_type
};

struct storage_manager_type {
  project_type* curr_project;  // whose plain arrays were used last
  int32_t next_act_uid;        // -1 at creation
  int32_t next_res_uid;        // -1 at creation
  int32_t projects_pool_size;  // 1 at creation
  linked_list_type* stored_projects_list;  // projects holding plain arrays
};

// The views, by the asking item's ignoreHolesInCalendar.
enum : int16_t { CAL_VIEW_PLAIN = 0, CAL_VIEW_NWE = 1, CAL_VIEW_REG = 2 };

// Creation and release.
project_type* projectCreateNew(const char* name);
project_type* projectCopyCreateNew(const project_type* this_proj, const char* name,
                                   const char* root_proj_name, FILE* file);
void projectDelete(project_type* this_proj);
void projectDeleteAveData(project_type* this_proj);
void projectDeleteWeekBitsData(project_type* this_proj);
void projectDeleteSubprojectsData(project_type* this_proj);
void projectAddSubprojectName(project_type* this_proj, const char* sub_proj_name);
int projectMatch(void* this_proj, const void* key);
const char* getProjectName(void* this_proj);

// Accessors.
const char* getProjectRootProjectName(const project_type* p);
int32_t getProjectFirstDay(const project_type* p);
int32_t getProjectLastDayOfCalendar(const project_type* p);  // first_day + size - 1
int32_t getProjectCreateDate(const project_type* p);
int32_t getProjectStartDate(const project_type* p);
int32_t getProjectFinishDate(const project_type* p);
unsigned char (*getProjectBitsForDaysOfWeek(project_type* p))[DAY_BITS_BYTES];
int32_t getProjectSizeOfCalendar(const project_type* p);
// Entry dayOfWeek - 1 of the weekly pattern; null outside 1..7.
unsigned char* getProjectSchedBitsForDayOfWeek(project_type* p, int dayOfWeek);
linked_list_type* getProjectExceptionsForSun(const project_type* p);
linked_list_type* getProjectExceptionsForMon(const project_type* p);
linked_list_type* getProjectExceptionsForTue(const project_type* p);
linked_list_type* getProjectExceptionsForWen(const project_type* p);
linked_list_type* getProjectExceptionsForThu(const project_type* p);
linked_list_type* getProjectExceptionsForFri(const project_type* p);
linked_list_type* getProjectExceptionsForSut(const project_type* p);
// The exception list of a weekday 1..7; null outside.
linked_list_type* getProjectExceptionsForDayOfWeek(const project_type* p, int dayOfWeek);
linked_list_type* getProjectRegDaysList(const project_type* p);
linked_list_type* getProjectBaseCalExcList(const project_type* p);
int32_t getProjectAveArraySize(const project_type* p);
uint16_t getProjectPriority(const project_type* p);
int16_t getProjectMinutesPerDay(const project_type* p);
linked_list_type* getProjectSubprojectsNameList(const project_type* p);
void setProjectJulianDateOrigin(project_type* p, int32_t v);
void setProjectFirstDay(project_type* p, int32_t v);
void setProjectCreateDate(project_type* p, int32_t v);
void setProjectCurrentDate(project_type* p, int32_t v);
void setProjectOriginalCreateDate(project_type* p, int32_t v);
void setProjectStartDate(project_type* p, int32_t v);
void setProjectFinishDate(project_type* p, int32_t v);
void setProjectFirstDayOfWeek(project_type* p, int32_t v);
void setProjectSizeOfCalendar(project_type* p, int32_t v);
void setProjectIsOnExternalDep(project_type* p, int16_t v);
void setProjectPriority(project_type* p, uint16_t v);
void setProjectContainsALAP(project_type* p, int16_t v);
void setProjectMinutesPerDay(project_type* p, int16_t v);
void setProjectRootProjectName(project_type* p, const char* v);

// Filling the calendar. Day bits come as 72-digit hexadecimal text where the
// store delivers text, and as 36 bytes where the loader decoded them.
int setProjectBitsForDaysOfWeek(project_type* p, int dayOfWeek, const char* day_bits);
int setProjectExceptionDaysOfYear(project_type* p, int32_t julianDayRel, int dayOfWeek,
                                  const unsigned char* day_bits, int addExceptToTailOfList);
int setProjectRegDaysOfYear(project_type* p, int32_t dayOfYear, int dayOfWeek,
                            const unsigned char* day_bits, int addExceptToTailOfList);
void setProjectBaseCalExceptions(project_type* p, int32_t julianDate, int dow,
                                 int32_t ave_minutes, const unsigned char* day_bits);
// The pattern an exception of that weekday is compared with (plain view).
const unsigned char* getProjectPlainBitsForDayOfWeek(const project_type* p, int dayOfWeek);
void projectOptimizeExceptionsList(project_type* p);
// Weekday (1..7) of a day count, counted from first_day_of_week (negative
// counts go backwards).
int getProjectDayOfWeekForDayCount(const project_type* p, int32_t day_count);

// Lookups through an item (its view and its project).
// The item's view: its ignoreHolesInCalendar, any other value counting as
// the plain view.
int getActivityCalendarView(const activity_type* this_act);
// Writes the day's bits into out (36 bytes); a negative day count gives an
// empty day.
void getProjectDayBitsForDayCount(const activity_type* this_act, int32_t day_count,
                                  unsigned char* out);
// A new 36-byte day (new[], caller delete[]s): the day's bits in the item's
// view, or an empty day before first_day.
unsigned char* getProjectDayBitsForGivenJulianDate(const activity_type* this_act, int32_t date);
int getProjectAveMinutesForDayCount(const activity_type* this_act, int32_t day_count);
int getProjectAveMinutesForGivenJulianDate(const activity_type* this_act, int32_t date);
int getProjectStartTimeMinutesForDayCount(const activity_type* this_act, int32_t day_count);
int getProjectStartTimeMinutesForGivenJulianDate(const activity_type* this_act, int32_t date);
int getProjectFinishTimeMinutesForDayCount(const activity_type* this_act, int32_t day_count);
int getProjectFinishTimeMinutesForGivenJulianDate(const activity_type* this_act, int32_t date);
int getProjectStartToFinishTimeMinutesForGivenJulianDate(const activity_type* this_act,
                                                         int32_t date);
int getProjectAveMinutesWithinTimeIntervalForDayCount(const activity_type* this_act,
                                                      int32_t day_count, int fromTime,
                                                      int toTime);
int getProjectAveMinutesWithinTimeIntervalForGivenJulianDate(const activity_type* this_act,
                                                             int32_t date, int fromTime,
                                                             int toTime);
int getProjectAveMinutesForDayOfWeek(const activity_type* this_act, int dayOfWeek);
char* getProjectFormatStartDate(const activity_type* this_act);
char* getProjectFormatFinishDate(const activity_type* this_act);
char* getProjectFormatStartTime(const activity_type* this_act);
char* getProjectFormatFinishTime(const activity_type* this_act);

// Availability arrays of the item's view; null when they cannot be built.
int projectGenerateAveData(const activity_type* this_act);
int projectGenerateAveDataSortedByAveMin(const activity_type* this_act,
                                         storage_manager_type* smanager);
int32_t* getProjectAveMinutes(const activity_type* this_act, storage_manager_type* smanager);
int32_t* getProjectAveDays(const activity_type* this_act, storage_manager_type* smanager);
int32_t* getProjectAveMinutesSorted(const activity_type* this_act,
                                    storage_manager_type* smanager);
int32_t* getProjectAveDaysSortedByAveMin(const activity_type* this_act,
                                         storage_manager_type* smanager);
void projectDoSyncSortOfAveMinutes(const activity_type* this_act, storage_manager_type* smanager,
                                   int32_t first, int32_t last, FILE* file);
void projectDoSyncSortOfAveDays(const activity_type* this_act, storage_manager_type* smanager,
                                int32_t first, int32_t last, FILE* file);
// The available minutes of the day counts from..to (inclusive, both within
// the loaded range) in the item's view, in constant time from the running
// sums; -1 when the arrays cannot be built or the range is not loaded.
int64_t getProjectAveMinutesBetweenDayCounts(const activity_type* this_act,
                                             storage_manager_type* smanager, int32_t from,
                                             int32_t to);

// Storage manager.
storage_manager_type* smanagerCreateNew();
void smanagerDelete(storage_manager_type* this_sm);
void setSmanagerProjectsPoolSize(storage_manager_type* this_sm, int32_t projects_pool_size);
void smanagerEconomizeStorageForUseOfSingleProjectCalendar(storage_manager_type* this_sm,
                                                           project_type* proj);

#endif
