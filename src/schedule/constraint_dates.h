// Constraint dates: an item's constraint code and date turned into limits
// on its start and finish days for the forward and the backward pass, and
// the load-time rules that build a constraint from an item row's forecast
// dates.
//
// Units: all limits are day numbers. D is the item's duration (at least 1),
// C its constraint_date, P its project; the calendar's last day is
// first_day + size_of_calendar - 1.
//
// Codes: 0 as soon as possible (no dated constraint), 1 as late as
// possible, 2 finish no earlier than, 3 finish no later than, 4 finish on,
// 5 start on, 6 start no earlier than, 7 start no later than; any other code
// acts as 0 forward (with "not after" read as "not after or equal") and as
// nothing backward.
//
// Forward: min_start = first_day for codes 3, 4, 5, else the later of
// first_day and the project's current_date; max_start = last day - D + 1;
// min_sd = the later of min_start and create_date; then the code's rule;
// min_finish = min_start + D - 1, max_finish = max_start + D - 1.
// Backward: min_start = first_day, max_start = the project's finish_date -
// D + 1, min_sd = min_start; codes 2, 3, 4 first cap C at the project's
// finish_date; then the code's rule; finish limits as forward.
// Both first make the calendar cover C (down to C when C is at or before
// first_day, up to C + D + 400 when C is after the last day).
//
// The rules, where "clamped" means between min_start and max_start:
//   2: min_start = C - D + 1, not beyond max_start
//   3: max_start = C - D + 1, not before min_start
//   4: min_start = max_start = C - D + 1 clamped
//   5: min_start = max_start = C clamped
//   6: min_start = C, not beyond max_start
//   7: max_start = C, not before min_start
//   0 (forward): max_start = the later of C and min_sd when that is before
//      max_start, else min_sd (other codes: when not after max_start)
//   1 (backward): min_start = the earlier of C and max_start when that is
//      after create_date, else max_start
// A clamp applies max_start first, then min_start: when the two limits
// cross, the earliest start wins.
//
// Load-time rules, on one item row's host values (ConstraintRow): texts are
// dates "YYYY-MM-DD" or time stamps "YYYY-MM-DD HH:MM:SS.ffffff" (only the
// first 10 characters are compared or copied into the constraint date),
// each with an indicator (0 present, -1 null). All three return 0.
// Choices: "earlier" compares the date parts (first 10 characters) of the
// two texts; a comparison with a null scheduled start is false (the code
// stays).
#ifndef LEVELER_SCHEDULE_CONSTRAINT_DATES_H
#define LEVELER_SCHEDULE_CONSTRAINT_DATES_H

#include <cstdint>
#include <cstdio>

#include "model/activity.h"

int activityDefineConstraintDatesForward(activity_type* this_act, int32_t* min_sd,
                                         int32_t* min_start_date, int32_t* max_start_date,
                                         int32_t* min_finish_date, int32_t* max_finish_date,
                                         FILE* file);
int activityDefineConstraintDatesBackward(activity_type* this_act, int32_t* min_sd,
                                          int32_t* min_start_date, int32_t* max_start_date,
                                          int32_t* min_finish_date, int32_t* max_finish_date,
                                          FILE* file);

// Capacities of the row's texts (terminator included).
inline constexpr int CONSTRAINT_DATE_TEXT_SIZE = 11;
inline constexpr int ROW_TIME_STAMP_SIZE = 27;

// One item row's values as the loader read them; indicators 0 present,
// -1 null.
struct ConstraintRow {
  int32_t h_duration_based;
  int32_t h_constraint_type;
  char h_constraint_dt[CONSTRAINT_DATE_TEXT_SIZE];
  int16_t h_constraint_dt_ind;
  char h_sched_start[ROW_TIME_STAMP_SIZE];
  int16_t h_sched_start_ind;
  char h_sched_finish[ROW_TIME_STAMP_SIZE];
  int16_t h_sched_finish_ind;
  int32_t h_sched_duration;
  int16_t h_sched_duration_ind;
  char h_forecast_start[ROW_TIME_STAMP_SIZE];
  int16_t h_forecast_start_ind;
  char h_forecast_finish[ROW_TIME_STAMP_SIZE];
  int16_t h_forecast_finish_ind;
  int32_t h_forecast_duration;
  int16_t h_forecast_duration_ind;
  char h_unresolved_start[ROW_TIME_STAMP_SIZE];
  int16_t h_unresolved_start_ind;
  char h_unresolved_finish[ROW_TIME_STAMP_SIZE];
  int16_t h_unresolved_finish_ind;
  int32_t h_unresolved_duration;
  int16_t h_unresolved_duration_ind;
};

// Code 0 becomes 6; codes 5, 6, 7 (a former 0 included) take the forecast
// start's date (and its indicator) as constraint date.
int considerStartDateConstraint(ConstraintRow* row);
// Codes 2, 3, 4 take the forecast finish's date; 0, 1, 6, 7 become 2 with
// it; 5 becomes 2 with it only when the forecast finish is earlier than the
// scheduled start.
int considerFinishDateConstraint(ConstraintRow* row);
// Nothing without a scheduled start. A null constraint date becomes an empty
// present text; a row that is not duration-based with both forecasts takes
// them as its unresolved start and finish; then the start or finish rule by
// which forecasts are present (both: the start rule unless the forecast
// finish is earlier than the scheduled start).
int fixUnresolvedDates(ConstraintRow* row);

#endif
