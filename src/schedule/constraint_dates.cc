// Constraint limits for the passes and the load-time constraint rules (see
// constraint_dates.h).
#include "schedule/constraint_dates.h"

#include <algorithm>
#include <cstring>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "schedule/calendar_reach.h"

namespace {

struct Limits {
  int32_t minStart, maxStart;
};

// Makes the calendar cover the constraint date.
// The calendar grows down to a constraint date only for the dated codes
// (2 to 7): for "as soon/late as possible" an earlier date never matters
// (the earliest start is never before first_day), and items without a date
// carry the store's placeholder far in the past, which would otherwise
// widen every calendar back to it.
void coverConstraintDate(activity_type* a, int32_t c, int32_t d, FILE* file) {
  project_type* p = a->proj;
  const int ct = a->constraint_type;
  if (c < p->first_day && ct >= 2 && ct <= 7) {
    scheduleExtendCalendar(p, c, getProjectLastDayOfCalendar(p), file);
  }
  if (c > getProjectLastDayOfCalendar(p)) {
    scheduleExtendCalendar(p, p->first_day, c + d + CALENDAR_GROWTH_MARGIN, file);
  }
}

int32_t clamped(int32_t v, const Limits& l) { return std::max(std::min(v, l.maxStart), l.minStart); }

// The rules that both passes share (codes 2 to 7), with c already capped
// where the pass caps it.
void applyDatedRule(int ct, int32_t c, int32_t d, Limits* l) {
  switch (ct) {
    case 2:
      l->minStart = std::min(c - d + 1, l->maxStart);
      break;
    case 3:
      l->maxStart = std::max(c - d + 1, l->minStart);
      break;
    case 4: {
      const int32_t v = clamped(c - d + 1, *l);
      l->minStart = l->maxStart = v;
      break;
    }
    case 5: {
      const int32_t v = clamped(c, *l);
      l->minStart = l->maxStart = v;
      break;
    }
    case 6:
      l->minStart = std::min(c, l->maxStart);
      break;
    case 7:
      l->maxStart = std::max(c, l->minStart);
      break;
    default:
      break;
  }
}

void writeLimits(const Limits& l, int32_t d, int32_t* min_start_date, int32_t* max_start_date,
                 int32_t* min_finish_date, int32_t* max_finish_date) {
  *min_start_date = l.minStart;
  *max_start_date = l.maxStart;
  *min_finish_date = l.minStart + d - 1;
  *max_finish_date = l.maxStart + d - 1;
}

bool present(int16_t ind) { return ind >= 0; }

// Date part of a text (its first 10 characters) into the constraint date.
void takeDate(char* to, const char* from) {
  const size_t n = strnlen(from, CONSTRAINT_DATE_TEXT_SIZE - 1);
  std::memcpy(to, from, n);
  to[n] = '\0';
}

// True when the date of a is earlier than the date of b.
bool earlierDate(const char* a, const char* b) {
  return std::strncmp(a, b, CONSTRAINT_DATE_TEXT_SIZE - 1) < 0;
}

bool forecastFinishBeforeSchedStart(const ConstraintRow* row) {
  return present(row->h_forecast_finish_ind) && present(row->h_sched_start_ind) &&
         earlierDate(row->h_forecast_finish, row->h_sched_start);
}

void takeForecastFinish(ConstraintRow* row) {
  takeDate(row->h_constraint_dt, row->h_forecast_finish);
  row->h_constraint_dt_ind = row->h_forecast_finish_ind;
}

}  // namespace

int activityDefineConstraintDatesForward(activity_type* this_act, int32_t* min_sd,
                                         int32_t* min_start_date, int32_t* max_start_date,
                                         int32_t* min_finish_date, int32_t* max_finish_date,
                                         FILE* file) {
  const int32_t d = handleDuration(this_act->duration);
  const int32_t c = this_act->constraint_date;
  const int ct = this_act->constraint_type;
  coverConstraintDate(this_act, c, d, file);
  const project_type* p = this_act->proj;
  Limits l;
  l.minStart = (ct == 3 || ct == 4 || ct == 5) ? p->first_day
                                              : std::max(p->first_day, p->current_date);
  l.maxStart = getProjectLastDayOfCalendar(p) - d + 1;
  const int32_t sd = std::max(l.minStart, p->create_date);
  if (ct >= 2 && ct <= 7) {
    applyDatedRule(ct, c, d, &l);
  } else if (ct != 1) {
    const int32_t v = std::max(c, sd);
    const bool takes = ct == 0 ? v < l.maxStart : v <= l.maxStart;
    l.maxStart = takes ? v : sd;
  }
  *min_sd = sd;
  writeLimits(l, d, min_start_date, max_start_date, min_finish_date, max_finish_date);
  return 0;
}

int activityDefineConstraintDatesBackward(activity_type* this_act, int32_t* min_sd,
                                          int32_t* min_start_date, int32_t* max_start_date,
                                          int32_t* min_finish_date, int32_t* max_finish_date,
                                          FILE* file) {
  const int32_t d = handleDuration(this_act->duration);
  int32_t c = this_act->constraint_date;
  const int ct = this_act->constraint_type;
  coverConstraintDate(this_act, c, d, file);
  const project_type* p = this_act->proj;
  Limits l;
  l.minStart = p->first_day;
  l.maxStart = p->finish_date - d + 1;
  if (ct == 2 || ct == 3 || ct == 4) c = std::min(c, p->finish_date);
  if (ct >= 2 && ct <= 7) {
    applyDatedRule(ct, c, d, &l);
  } else if (ct == 1) {
    const int32_t v = std::min(c, l.maxStart);
    l.minStart = v > p->create_date ? v : l.maxStart;
  }
  *min_sd = p->first_day;
  writeLimits(l, d, min_start_date, max_start_date, min_finish_date, max_finish_date);
  return 0;
}

int considerStartDateConstraint(ConstraintRow* row) {
  if (row->h_constraint_type == 0) row->h_constraint_type = 6;
  const int ct = row->h_constraint_type;
  if (ct == 5 || ct == 6 || ct == 7) {
    takeDate(row->h_constraint_dt, row->h_forecast_start);
    row->h_constraint_dt_ind = row->h_forecast_start_ind;
  }
  return 0;
}

int considerFinishDateConstraint(ConstraintRow* row) {
  switch (row->h_constraint_type) {
    case 2:
    case 3:
    case 4:
      takeForecastFinish(row);
      break;
    case 0:
    case 1:
    case 6:
    case 7:
      row->h_constraint_type = 2;
      takeForecastFinish(row);
      break;
    case 5:
      if (forecastFinishBeforeSchedStart(row)) {
        row->h_constraint_type = 2;
        takeForecastFinish(row);
      }
      break;
    default:
      break;
  }
  return 0;
}

int fixUnresolvedDates(ConstraintRow* row) {
  if (!present(row->h_sched_start_ind)) return 0;
  if (!present(row->h_constraint_dt_ind)) {
    row->h_constraint_dt[0] = '\0';
    row->h_constraint_dt_ind = 0;
  }
  const bool fs = present(row->h_forecast_start_ind);
  const bool ff = present(row->h_forecast_finish_ind);
  if (!row->h_duration_based && fs && ff) {
    std::memcpy(row->h_unresolved_start, row->h_forecast_start, ROW_TIME_STAMP_SIZE);
    row->h_unresolved_start_ind = row->h_forecast_start_ind;
    std::memcpy(row->h_unresolved_finish, row->h_forecast_finish, ROW_TIME_STAMP_SIZE);
    row->h_unresolved_finish_ind = row->h_forecast_finish_ind;
  }
  if (fs && !ff) return considerStartDateConstraint(row);
  if (!fs && ff) return considerFinishDateConstraint(row);
  if (fs && ff) {
    if (forecastFinishBeforeSchedStart(row)) return considerFinishDateConstraint(row);
    return considerStartDateConstraint(row);
  }
  return 0;
}
