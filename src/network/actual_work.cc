// Actual work handling (see actual_work.h).
#include "network/actual_work.h"

#include <algorithm>
#include <cstring>
#include <cstdarg>
#include <vector>

#include "calendar/dates.h"
#include "model/assignment.h"
#include "schedule/calendar_reach.h"
#include "schedule/constraint_dates.h"
#include "schedule/dependency_lags.h"
#include "schedule/effort_sums.h"
#include "schedule/item_times.h"
#include "schedule/placement.h"
#include "network/rollup.h"

namespace {

constexpr int kDayMinutes = 1440;
constexpr int kDepFinishToFinish = 0;  // lag shifts ending in a finish point
constexpr int kDepStartToStart = 3;    // lag shifts ending in a start point
constexpr int kMaxShortDays = 366;     // days of 1..4 minutes stepped over

__attribute__((format(printf, 2, 3))) void say(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
}

int dayStart(const activity_type* a, int32_t day) {
  return getProjectStartTimeMinutesForGivenJulianDate(a, day);
}
int dayFinish(const activity_type* a, int32_t day) {
  return getProjectFinishTimeMinutesForGivenJulianDate(a, day);
}
bool isAvailable(const activity_type* a, int32_t day) {
  return getProjectAveMinutesForGivenJulianDate(a, day) >= ACT_MIN_AVE_MINUTES;
}
bool isBefore(int32_t d1, int t1, int32_t d2, int t2) { return d1 < d2 || (d1 == d2 && t1 < t2); }

// The successor-side lag shift, repeated once when it grew the calendar.
// 1 moved, 0 failed.
int shiftPoint(activity_type* a, storage_manager_type* sm, int32_t* day, int* time, int dep_type,
               int minutes, FILE* file) {
  const int32_t day0 = *day;
  const int time0 = *time;
  for (int attempt = 0; attempt < 2; ++attempt) {
    int32_t duration = handleDuration(a->duration);
    *day = day0;
    *time = time0;
    const int r =
        activityAdjustSuccDateAndTimeWithPred(a, sm, day, time, &duration, dep_type, minutes, file);
    if (r != -1) return r == 1 ? 1 : 0;
  }
  *day = day0;
  *time = time0;
  return 0;
}

// Where `minutes` of work laid from (day, time) end: a finish point, never
// before the start point.
int layToFinish(activity_type* a, storage_manager_type* sm, int32_t* day, int* time, int minutes,
                FILE* file) {
  if (minutes <= 0) return 1;
  const int32_t d0 = *day;
  const int t0 = *time;
  if (!shiftPoint(a, sm, day, time, kDepFinishToFinish, minutes, file)) return 0;
  if (isBefore(*day, *time, d0, t0)) {
    *day = d0;
    *time = t0;
  }
  return 1;
}

void printTask(FILE* file, const activity_type* a) {
  say(file, " task %s start %d (+%d) finish %d (-%d) duration %d effort %d", a->name,
      a->start_date, a->offset_start_time, a->finish_date, a->offset_finish_time, a->duration,
      a->effort);
}

void errorLine(FILE* file, int n, const activity_type* a) {
  say(file, "\n*** error (%d) !!! doHandleWorkActualsForAllTasks:", n);
  printTask(file, a);
}

void noAveDays(FILE* file, const activity_type* a, int32_t day) {
  const project_type* p = a->proj;
  say(file, "\n*** error !!! doHandleWorkActualsForAllTasks: no ave days after %d for", day);
  printTask(file, a);
  say(file, " project %s first_day %d create_date %d current_date %d", p->name, p->first_day,
      p->create_date, p->current_date);
}

std::vector<work_type*> workRecordsOf(const activity_type* a) {
  std::vector<work_type*> works;
  if (a->assignment_list == nullptr) return works;
  for (linktype* l = a->assignment_list->phead; l != nullptr; l = l->pnext) {
    work_type* w = getAssignmentWorkByActivity(static_cast<assignment_type*>(l->pcontents), a->name);
    if (w != nullptr) works.push_back(w);
  }
  return works;
}

int32_t contourLength(const work_type* w, const activity_type* a, FILE* file) {
  return getWorkDurationContour(w, a->proj->minutes_per_day, 0, file);
}

// What the work records of a task in progress say.
struct WorkSummary {
  bool finished = false;  // latest finish among finished work
  int32_t finishDay = 0;
  int finishOffset = 0;
  bool notBegun = false;  // earliest start and longest length + delay
  int32_t notBegunStart = 0;
  int32_t notBegunLongest = 0;
  bool begun = false;  // earliest resume day and longest remaining work
  int32_t resumeDay = 0;
  int32_t begunLongest = 0;
};

// Steps over the work records; 0 or an error code.
int summarizeWork(activity_type* a, storage_manager_type* sm, const std::vector<work_type*>& works,
                  WorkSummary* s, FILE* file) {
  const int32_t mpd = a->proj->minutes_per_day;
  for (work_type* w : works) {
    if (w->hasActualFinish) {
      if (!s->finished || w->finish_date > s->finishDay ||
          (w->finish_date == s->finishDay && w->offset_finish_time < s->finishOffset)) {
        s->finishDay = w->finish_date;
        s->finishOffset = w->offset_finish_time;
      }
      s->finished = true;
      continue;
    }
    if (w->last_submitted < w->start_date) {  // not yet begun
      const int32_t delay =
          a->start_date > a->actual_start_date ? std::max(0, w->ass_delay) * mpd : 0;
      const int32_t len = contourLength(w, a, file);
      w->rem_effort = len;
      if (!s->notBegun || w->start_date < s->notBegunStart) s->notBegunStart = w->start_date;
      s->notBegunLongest = s->notBegun ? std::max(s->notBegunLongest, len + delay) : len + delay;
      s->notBegun = true;
      continue;
    }
    if (!w->hasActualStart) {
      say(file,
          "\n*** error (0) in doHandleWorkActualsForAllTasks !!! this assignment must have "
          "actual_start: assignment %s task %s last_submitted %d start %d",
          w->ass_name, a->name, w->last_submitted, w->start_date);
    }
    int32_t resume = w->last_submitted + 1;
    if (!activityMoveToNextAvailableDay(a, sm, &resume, file)) {
      errorLine(file, 1, a);
      noAveDays(file, a, w->last_submitted + 1);
      return ACT_ERR_NO_AVE_DAY;
    }
    if (w->start_date > resume && w->start_date < a->finish_date) resume = w->start_date;
    setWorkStartDate(w, resume);
    setWorkTimeOffsetFromStart(w, 0);
    int resumeTime = dayStart(a, resume);
    if (w->FSCHED_effort > 0 && mpd > w->FSCHED_effort) {
      setWorkTimeOffsetFromStart(w, mpd - w->FSCHED_effort);
      resumeTime += w->offset_start_time;
    }
    const int32_t len = contourLength(w, a, file);
    if (w->finish_date < resume) {
      int32_t fd = resume;
      int ft = resumeTime;
      if (!layToFinish(a, sm, &fd, &ft, len, file)) {
        errorLine(file, 3, a);
        say(file, " assignment %s resume %d remaining %d", w->ass_name, resume, len);
        return ACT_ERR_MOVE_WORK_FINISH;
      }
      setWorkFinishDate(w, fd);
      setWorkTimeOffsetFromFinish(w, dayFinish(a, fd) - ft);
    }
    w->rem_effort = len;
    s->begunLongest = s->begun ? std::max(s->begunLongest, len) : len;
    if (!s->begun || resume < s->resumeDay) s->resumeDay = resume;
    s->begun = true;
  }
  return 0;
}

// Rewrites the constraint of a duration-based task whose done part is set,
// so that its remaining part cannot move before the resume day.
int pinRemainingPart(activity_type* a, storage_manager_type* sm, FILE* file) {
  const int32_t start = a->start_date;
  switch (a->constraint_type) {
    case 0:
      setActivityConstraintType(a, 6);
      setActivityConstraintDate(a, start);
      break;
    case 1:
      setActivityConstraintDate(a, start);
      break;
    case 2:
      if (a->constraint_date < a->finish_date) {
        setActivityConstraintType(a, 6);
        setActivityConstraintDate(a, start);
      }
      break;
    case 3:
    case 4: {
      int32_t lim[5];
      activityDefineConstraintDatesForward(a, &lim[0], &lim[1], &lim[2], &lim[3], &lim[4], file);
      if (a->finish_date <= lim[4]) break;
      int32_t fd = lim[4];
      if (activityFixClosestFinishDateFromProjCalendar(a, sm, &fd, file) != 1) {
        errorLine(file, 5, a);
        return ACT_ERR_NO_WORKING_FINISH;
      }
      int32_t sd = a->start_date, dur = a->duration;
      int ost = a->offset_start_time, oft = 0;
      if (activityScheduleFromFinishDateSpecial(a, sm, &sd, &fd, &dur, &ost, &oft, file) != 1) {
        errorLine(file, 6, a);
        return ACT_ERR_PLACE_FROM_FINISH;
      }
      setActivityStartDate(a, sd);
      setActivityFinishDate(a, fd);
      setActivityDuration(a, dur);
      setActivityTimeOffsetFromStart(a, ost);
      setActivityTimeOffsetFromFinish(a, oft);
      if (a->start_date <= start) {
        setActivityConstraintType(a, 5);
        setActivityConstraintDate(a, start);
      }
      break;
    }
    case 5:
    case 6:
    case 7:
      if (a->constraint_date < start) setActivityConstraintDate(a, start);
      break;
    default:
      break;
  }
  if (a->constraint_date > a->start_date) setActivityTimeOffsetFromStart(a, 0);
  return 0;
}

// A task in progress without work records: the done part is laid from the
// start, the remaining part resumes where it ended.
int handleDurationBased(activity_type* a, storage_manager_type* sm, int optionSplit, FILE* file) {
  const project_type* p = a->proj;
  int32_t d = a->start_date;
  int t = dayStart(a, d) + a->offset_start_time;
  const int32_t done = a->actual_duration;
  if (done > 0 && !shiftPoint(a, sm, &d, &t, kDepStartToStart, done, file)) {
    errorLine(file, 2, a);
    return ACT_ERR_PLACE_FROM_FINISH;
  }
  setActivityTotalEffort(a, std::max(0, a->effort - done));
  int32_t resume = d;
  int offset = std::max(0, t - dayStart(a, d));
  if (optionSplit && t > dayStart(a, d)) {
    resume = d + 1;
    offset = 0;
  }
  if (resume < p->current_date) {
    resume = p->current_date;
    offset = 0;
  }
  if (!isAvailable(a, resume)) {
    const int32_t from = resume;
    if (!activityMoveToNextAvailableDay(a, sm, &resume, file)) {
      noAveDays(file, a, from);
      return ACT_ERR_NO_AVE_DAY;
    }
    offset = 0;
  }
  setActivityStartDate(a, resume);
  setActivityTimeOffsetFromStart(a, offset);
  a->LS_act_date = resume;
  a->LS_act_time = a->offset_start_time;
  int32_t fd = resume;
  int ft = dayStart(a, resume) + a->offset_start_time;
  if (!layToFinish(a, sm, &fd, &ft, a->effort, file)) {
    errorLine(file, 4, a);
    return ACT_ERR_PLACE_FROM_FINISH;
  }
  setActivityFinishDate(a, fd);
  setActivityTimeOffsetFromFinish(a, dayFinish(a, fd) - ft);
  setActivityDuration(a, fd - resume + 1);
  if (done >= 1) return pinRemainingPart(a, sm, file);
  return 0;
}

// Start and effort of an assignment-based task from its work summary.
// 0, an error code, or -1 when the task is to be left as it is.
int startFromWork(activity_type* a, storage_manager_type* sm, const WorkSummary& s, FILE* file) {
  project_type* p = a->proj;
  int32_t start = 0;
  int32_t effort = 0;
  if (s.notBegun) {
    int32_t S = s.notBegunStart;
    if (S < p->first_day) {
      if (S < p->create_date) {
        const int rc = scheduleExtendCalendar(p, S, getProjectLastDayOfCalendar(p), file);
        if (rc != 0) return rc;
      } else {
        S = p->first_day;
      }
    }
    const int32_t from = S;
    if (!activityMoveToNextAvailableDay(a, sm, &S, file)) {
      noAveDays(file, a, from);
      return ACT_ERR_NO_AVE_DAY;
    }
    if (!s.begun) {
      start = S;
      effort = s.notBegunLongest;
    } else if (S >= s.resumeDay) {
      start = s.resumeDay;
      effort = std::max(s.notBegunLongest, s.begunLongest);
    } else {
      int32_t W = 0;
      const int rc = activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
          a, &W, sm, S, dayStart(a, S), s.resumeDay, dayStart(a, s.resumeDay), file);
      if (rc != 0) return rc;
      start = S;
      effort = W + std::max(s.begunLongest, s.notBegunLongest - W);
    }
  } else if (s.begun) {
    start = s.resumeDay;
    if (!activityMoveToNextAvailableDay(a, sm, &start, file)) {
      errorLine(file, 11, a);
      noAveDays(file, a, s.resumeDay);
      return ACT_ERR_NO_AVE_DAY;
    }
    effort = s.begunLongest;
  } else {
    say(file,
        "\n*** error (10) !!! doHandleWorkActualsForAllTasks: error in actual data (indicated but "
        "no assignments w/actual start !)");
    printTask(file, a);
    return -1;
  }
  setActivityStartDate(a, start);
  setActivityTimeOffsetFromStart(a, 0);
  setActivityTotalEffort(a, effort);
  setActivityDuration(a, a->finish_date - start + 1);
  return 0;
}

// The bound of a shifted project (step of the project's shiftProjSFDate).
void shiftToProjectDates(activity_type* a, bool hasNotBegunWork) {
  const project_type* p = a->proj;
  if (!p->shiftProjSFDate) return;
  const int16_t ct = a->constraint_type;
  if (ct == 1 || ct == 4 || ct == 5) return;
  if (hasNotBegunWork && a->start_date >= p->current_date) return;
  const int32_t B = std::max(a->start_date, p->current_date);
  const int32_t D = a->original_duration;
  if (ct == 6 || ct == 7) {
    if (a->constraint_date < B) setActivityConstraintDate(a, B);
  } else if (ct == 2 || ct == 3) {
    if (a->constraint_date - D + 1 <= B) setActivityConstraintDate(a, D + B - 1);
  } else if (ct == 0) {
    setActivityConstraintType(a, 6);
    setActivityConstraintDate(a, B);
  }
}

// One task in progress. 0 or an error code.
int handleTaskInProgress(activity_type* a, activity_type* startNode, storage_manager_type* sm,
                         int optionSplit, int D_OPTION, FILE* file) {
  const std::vector<work_type*> works = workRecordsOf(a);
  const bool durationBased = works.empty();
  bool notBegun = false;
  if (durationBased) {
    const int rc = handleDurationBased(a, sm, optionSplit, file);
    if (rc != 0) return rc;
  } else {
    WorkSummary s;
    int rc = summarizeWork(a, sm, works, &s, file);
    if (rc != 0) return rc;
    if (s.finished) {
      int32_t day = s.finishDay;
      bool moved = false;
      if (!isAvailable(a, day)) {
        if (!activityMoveToNextAvailableDay(a, sm, &day, file)) {
          noAveDays(file, a, s.finishDay);
          return ACT_ERR_NO_AVE_DAY;
        }
        moved = true;
      }
      a->max_wrk_actual_FD = day;
      int minutes = 0;
      if (!moved) {
        minutes = getProjectAveMinutesWithinTimeIntervalForGivenJulianDate(
            a, day, dayStart(a, day), dayFinish(a, day) - s.finishOffset);
      }
      a->oft_wrk_actual_FD = static_cast<int16_t>(std::clamp(minutes, 0, kDayMinutes));
    }
    rc = startFromWork(a, sm, s, file);
    if (rc == -1) return 0;  // error (10): left as it is
    if (rc != 0) return rc;
    notBegun = s.notBegun;
  }
  if (!(durationBased && a->actual_duration >= 1)) {
    const int16_t ct = a->constraint_type;
    if (ct == 2 || ct == 3 || ct == 4) {
      if (activityScheduleFromFinishDateBasedOnProjectCalendar(a, sm, file) != 1) {
        errorLine(file, 17, a);
        return ACT_ERR_PLACE_FROM_FINISH;
      }
    } else if (activityScheduleFromStartDateBasedOnProjectCalendar(a, sm, file) != 1) {
      errorLine(file, 18, a);
      return ACT_ERR_PLACE_FROM_FINISH;
    }
  }
  if (startNode != nullptr && a->start_date <= startNode->start_date) {
    const int32_t before = a->start_date - 1;
    startNode->start_date = startNode->finish_date = before;
    startNode->early_start_date = startNode->early_finish_date = before;
  }
  setActivityOriginalDuration(a, a->duration);
  a->early_start_date = a->start_date;
  a->es_offset_start_time = a->offset_start_time;
  shiftToProjectDates(a, notBegun);
  if (D_OPTION) {
    say(file, "\n doHandleWorkActualsForAllTasks: in progress (%s)",
        durationBased ? "duration-based" : "assignment-based");
    printTask(file, a);
    say(file, " LS_act %d (+%d) constraint %d at %d", a->LS_act_date, a->LS_act_time,
        a->constraint_type, a->constraint_date);
  }
  return 0;
}

}  // namespace

int doHandleWorksForTasksNoActuals(linked_list_type* activities_list,
                                   storage_manager_type* smanager, int D_OPTION, FILE* file) {
  try {
    if (activities_list == nullptr || activities_list->phead == nullptr) return 0;
    for (linktype* l = activities_list->phead->pnext; l != nullptr && l->pnext != nullptr;
         l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      if (a->type != 3 || a->hasActualStart || a->isExternalPred || a->proj == nullptr) continue;
      const std::vector<work_type*> works = workRecordsOf(a);
      if (works.empty()) continue;
      int32_t span = 0;
      bool first = true;
      for (const work_type* w : works) {
        const int32_t len = contourLength(w, a, file) + a->proj->minutes_per_day * w->ass_delay;
        span = first ? len : std::max(span, len);
        first = false;
      }
      if (a->effort <= span) continue;
      int32_t fd = a->start_date;
      int ft = dayStart(a, fd) + a->offset_start_time;
      if (!layToFinish(a, smanager, &fd, &ft, span, file)) {
        say(file, "\n**error --doHandleWorksForTasksNoActuals:");
        printTask(file, a);
        say(file, " longest assignment %d", span);
        return ACT_ERR_SHORTEN;
      }
      setActivityFinishDate(a, fd);
      a->early_finish_date = fd;
      setActivityTimeOffsetFromFinish(a, dayFinish(a, fd) - ft);
      a->ef_offset_finish_time = a->offset_finish_time;
      setActivityDuration(a, fd - a->start_date + 1);
      setActivityOriginalDuration(a, fd - a->start_date + 1);
      setActivityTotalEffort(a, span);
      if (D_OPTION) {
        say(file, "\n doHandleWorksForTasksNoActuals: shortened to its assignments:");
        printTask(file, a);
      }
    }
    return 0;
  } catch (...) {
    say(file, "\n****** error in doHandleWorksForTasksNoActuals: throw exception to upper level\n");
    throw;
  }
}

namespace {

using pass_detail::Placement;

// True when `c` holds at least one child and every child is finished. Its
// span is then the children's: earliest start (the smaller start offset on
// the day) to latest finish (the smaller finish offset on the day), from
// the children `first` and `last`.
bool childrenAllFinished(linked_list_type* items, const activity_type* c, Placement* span,
                         const activity_type** first, const activity_type** last) {
  if (c->child_list == nullptr) return false;
  bool any = false;
  for (linktype* l = c->child_list->phead; l != nullptr; l = l->pnext) {
    const activity_type* child = pass_detail::findItem(items, static_cast<string_type*>(l->pcontents)->str);
    if (child == nullptr || child == c) continue;
    if (!child->hasActualFinish) return false;
    const Placement p = pass_detail::placementOf(child);
    if (!any || p.start < span->start || (p.start == span->start && p.st < span->st)) {
      span->start = p.start;
      span->st = p.st;
      *first = child;
    }
    if (!any || p.finish > span->finish || (p.finish == span->finish && p.ft < span->ft)) {
      span->finish = p.finish;
      span->ft = p.ft;
      *last = child;
    }
    any = true;
  }
  return any;
}

// Containers whose children are all finished are finished themselves, over
// their children's span. Without this such a container, not finished on its
// own row, is still placed by the passes, and since finished children do
// not take part in a roll-up nothing holds its dates: its parent moved it
// on every sweep (its start drifting past its finish by hundreds of days
// on generated portfolios) and the passes never settled. Repeated until
// nothing changes, so that a container of finished containers follows.
void finishContainersOfFinishedChildren(linked_list_type* items, FILE* file) {
  for (bool changed = true; changed;) {
    changed = false;
    for (linktype* l = items->phead->pnext; l != nullptr && l->pnext != nullptr; l = l->pnext) {
      auto* c = static_cast<activity_type*>(l->pcontents);
      Placement span;
      const activity_type* first = nullptr;
      const activity_type* last = nullptr;
      if (c->type != 2 || c->hasActualFinish || !childrenAllFinished(items, c, &span, &first, &last)) {
        continue;
      }
      pass_detail::applyPlacement(c, span);
      // The time stamps written for a finished item are its actual ones.
      std::memcpy(c->actualStartTimeStamp, first->actualStartTimeStamp,
                  sizeof c->actualStartTimeStamp);
      std::memcpy(c->actualFinishTimeStamp, last->actualFinishTimeStamp,
                  sizeof c->actualFinishTimeStamp);
      c->hasActualStart = 1;
      c->hasActualFinish = 1;
      changed = true;
      say(file, "\n doHandleWorkActualsForAllTasks: container %s is finished with its children\n",
          c->name);
    }
  }
}

}  // namespace

int doHandleWorkActualsForAllTasks(linked_list_type* activities_list,
                                   storage_manager_type* smanager,
                                   int optionSplitDayWithActualForDurBased, int D_OPTION,
                                   FILE* file) {
  try {
    if (activities_list == nullptr || activities_list->phead == nullptr) return 0;
    auto* startNode = static_cast<activity_type*>(activities_list->phead->pcontents);
    finishContainersOfFinishedChildren(activities_list, file);
    for (linktype* l = activities_list->phead->pnext; l != nullptr && l->pnext != nullptr;
         l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      if (a->type == 2 && a->hasActualFinish) {
        setActivityLockedAsItem(a);
        setActivityLockedAsChild(a);
        continue;
      }
      if (a->type != 3 || !a->hasActualStart || a->proj == nullptr) continue;
      if (a->hasActualFinish) {
        setActivityLockedAsItem(a);
        setActivityLockedAsChild(a);
        continue;
      }
      const int rc = handleTaskInProgress(a, startNode, smanager,
                                          optionSplitDayWithActualForDurBased, D_OPTION, file);
      if (rc != 0) return rc;
    }
    return 0;
  } catch (...) {
    say(file, "\n****** error in doHandleWorkActualsForAllTasks: throw exception to upper level\n");
    throw;
  }
}

int reSchActFromFDBasedOnAssWork(activity_type* this_act, storage_manager_type* smanager,
                                 int D_OPTION, FILE* file) {
  try {
    activity_type* a = this_act;
    if (a->type != 3 || !a->hasActualStart || a->hasActualFinish || a->proj == nullptr) return 0;
    const int finishTime = dayFinish(a, a->finish_date) - a->offset_finish_time;
    int32_t longest = 0;
    for (const work_type* w : workRecordsOf(a)) {
      if (w->hasActualFinish) continue;
      int32_t contribution = 0;
      if (w->hasActualStart) {
        const int resumeTime = dayStart(a, w->start_date) + w->offset_start_time;
        if (a->finish_date < w->start_date) {
          say(file, "\n*** error (1) !!! reSchActFromFDBasedOnAssWork: task finishes before its "
                    "work starts: assignment %s work start %d",
              w->ass_name, w->start_date);
          printTask(file, a);
          contribution = w->rem_effort;
        } else {
          int32_t W = 0;
          if (activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
                  a, &W, smanager, w->start_date, resumeTime, a->finish_date, finishTime, file) != 0) {
            W = 0;
          }
          contribution = std::max(std::max(W, 0), w->rem_effort);
        }
      } else {
        contribution = contourLength(w, a, file);
      }
      longest = std::max(longest, contribution);
    }
    if (longest < 1) return 0;
    int32_t d = a->finish_date;
    int t = dayFinish(a, d);
    if (a->constraint_type == 3 || a->constraint_type == 4) t -= a->offset_finish_time;
    if (!shiftPoint(a, smanager, &d, &t, kDepStartToStart, -longest, file)) {
      say(file, "\n*** error !!! (2) reSchActFromFDBasedOnAssWork:");
      printTask(file, a);
      say(file, " remaining %d", longest);
      return ACT_ERR_BACK_SHIFT;
    }
    setActivityStartDate(a, d);
    setActivityTimeOffsetFromStart(a, t - dayStart(a, d));
    setActivityDuration(a, a->finish_date - d + 1);
    if (D_OPTION) {
      say(file, "\n reSchActFromFDBasedOnAssWork: placed back from its finish by %d:", longest);
      printTask(file, a);
    }
    return 0;
  } catch (...) {
    say(file, "\n****** error in reSchActFromFDBasedOnAssWork: throw exception to upper level\n");
    throw;
  }
}
