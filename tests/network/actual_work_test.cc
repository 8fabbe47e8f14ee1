// Actual work: worked examples on the default calendar (five-day week,
// 08:00-12:00 and 13:00-17:00, from Monday 2024-01-01; 480 minutes a day).
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "network/actual_work.h"

namespace {

int32_t jan(int d) { return dayOfYearToJulian(2024, 1, d) - dayOfYearToJulian(1950, 1, 1); }

// One project on the default calendar, its item list (start node, tasks,
// finish node) and the tasks' assignments.
struct Plan {
  project_type* proj = projectCreateNew("PRJ");
  storage_manager_type* sm = smanagerCreateNew();
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  std::vector<assignment_type*> assignments;

  Plan() {
    proj->julianDateOrigin = dayOfYearToJulian(1950, 1, 1);
    unsigned char empty[DAY_BITS_BYTES] = {0};
    char hex[DAY_BITS_HEX_DIGITS + 1];
    for (int w = 1; w <= 7; ++w) {
      Lev_splitSchedBitsInTwo(w == 1 || w == 7 ? empty : dayBitsDefault8H, hex);
      setProjectBitsForDaysOfWeek(proj, w, hex);
    }
    setProjectFirstDayOfWeek(proj, 2);
    setProjectSizeOfCalendar(proj, 400);
    setProjectMinutesPerDay(proj, 480);
    proj->first_day = proj->create_date = proj->current_date = proj->start_date = jan(1);
    ll_addtail(items, activityCreateNew("start", 0, nullptr, jan(1) - 1, jan(1) - 1, 0, 0, 0));
  }
  ~Plan() {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    for (assignment_type* a : assignments) assignmentDelete(a);
    ll_delete(items);
    smanagerDelete(sm);
    projectDelete(proj);
  }
  // A task from `first` 08:00 to `last` 17:00; started when `started`.
  activity_type* task(int32_t first, int32_t last, int32_t effort, bool started,
                      int16_t constraint = 0, int32_t constraintDate = 0) {
    const std::string name = "T" + std::to_string(ll_size(items));
    activity_type* a =
        activityCreateNew(name.c_str(), 3, proj, first, last, effort, constraint, constraintDate);
    a->hasActualStart = started ? 1 : 0;
    a->actual_start_date = first;
    ll_addtail(items, a);
    return a;
  }
  // The work of a new assignment on the task: `remaining` minutes at full
  // units, planned from `first` to `last`, last reported on `reported`.
  work_type* work(activity_type* a, int32_t remaining, int32_t first, int32_t last,
                  int32_t reported, bool begun) {
    assignments.push_back(assignmentCreateNew(("R" + std::to_string(assignments.size())).c_str()));
    work_type* w = assignmentCreateWorkByActivity(assignments.back(), a->name, nullptr);
    w->proposed_work = remaining;
    w->units_msp = 10000;
    w->start_date = first;
    w->finish_date = last;
    w->last_submitted = reported;
    w->hasActualStart = begun ? 1 : 0;
    w->FSCHED_effort = 480;
    setActivityAssignment(a, assignments.back(), 0, nullptr);
    return w;
  }
  void close() {
    ll_addtail(items, activityCreateNew("finish", 0, nullptr, jan(1) - 1, jan(1) - 1, 0, 0, 0));
  }
};

struct Log {
  FILE* f = std::tmpfile();
  ~Log() { std::fclose(f); }
  bool has(const char* s) const {
    std::fflush(f);
    std::rewind(f);
    std::string out(1 << 16, '\0');
    out.resize(std::fread(out.data(), 1, out.size(), f));
    return out.find(s) != std::string::npos;
  }
};

// --- Tasks without actuals ----------------------------------------------------

TEST(TasksWithoutActuals, ShortenedToTheirLongestAssignment) {
  Plan p;
  activity_type* ten = p.task(jan(1), jan(12), 4800, false);    // 10 days of effort
  activity_type* delay = p.task(jan(1), jan(12), 4800, false);  // 6 days + 1 day of delay
  activity_type* shorter = p.task(jan(1), jan(2), 960, false);
  activity_type* started = p.task(jan(1), jan(12), 4800, true);
  p.work(ten, 2880, jan(1), jan(8), jan(1) - 1, false);
  p.work(ten, 1440, jan(1), jan(3), jan(1) - 1, false);
  p.work(delay, 2880, jan(1), jan(8), jan(1) - 1, false)->ass_delay = 1;
  p.work(shorter, 2880, jan(1), jan(8), jan(1) - 1, false);
  p.work(started, 960, jan(1), jan(2), jan(1), true);
  p.close();
  ASSERT_EQ(doHandleWorksForTasksNoActuals(p.items, p.sm, 0, nullptr), 0);
  EXPECT_EQ(ten->effort, 2880);
  EXPECT_EQ(ten->finish_date, jan(8));  // Monday to the next Monday, 17:00
  EXPECT_EQ(ten->early_finish_date, jan(8));
  EXPECT_EQ(ten->offset_finish_time, 0);
  EXPECT_EQ(ten->duration, 8);
  EXPECT_EQ(ten->original_duration, 8);
  EXPECT_EQ(delay->effort, 3360);
  EXPECT_EQ(delay->finish_date, jan(9));
  EXPECT_EQ(shorter->finish_date, jan(2));
  EXPECT_EQ(started->effort, 4800);
}

// --- Finished and duration-based tasks ---------------------------------------

TEST(Actuals, FinishedItemsAreFrozenAndUnstartedLeftAlone) {
  Plan p;
  activity_type* done = p.task(jan(1), jan(3), 1440, true);
  activity_type* box = p.task(jan(1), jan(3), 1440, false);
  activity_type* later = p.task(jan(8), jan(9), 960, false);
  done->hasActualFinish = box->hasActualFinish = 1;
  box->type = 2;
  p.close();
  ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, 0, 0, nullptr), 0);
  for (activity_type* a : {done, box}) {
    EXPECT_EQ(a->ignore_item_for_sched, 1);
    EXPECT_EQ(a->ignore_child_for_sched, 1);
    EXPECT_EQ(a->start_date, jan(1));
  }
  EXPECT_EQ(later->ignore_item_for_sched, 0);
  EXPECT_EQ(later->start_date, jan(8));
}

struct DurationCase {
  int32_t done;           // minutes done from Monday 08:00
  int split;              // optionSplitDayWithActualForDurBased
  int32_t current;        // the project's current date
  int32_t start, startOffset, finish, finishOffset;
};

TEST(Actuals, DurationBasedTaskResumesWhereItsDonePartEnds) {
  const DurationCase cases[] = {
      {2400, 0, jan(1), jan(8), 0, jan(12), 0},     // reported up to Friday: Monday
      {2400, 0, jan(10), jan(10), 0, jan(16), 0},   // ... but not before today
      {600, 0, jan(1), jan(2), 120, jan(12), 0},    // ends Tuesday 10:00, resumes there
      {600, 1, jan(1), jan(3), 0, jan(15), 120},    // split: Wednesday, 15:00 at the end
  };
  for (const DurationCase& c : cases) {
    Plan p;
    activity_type* a = p.task(jan(1), jan(12), 4800, true);
    a->actual_duration = c.done;
    p.proj->current_date = c.current;
    p.close();
    ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, c.split, 0, nullptr), 0);
    EXPECT_EQ(a->effort, 4800 - c.done);
    EXPECT_EQ(a->start_date, c.start) << c.done << " split " << c.split;
    EXPECT_EQ(a->offset_start_time, c.startOffset);
    EXPECT_EQ(a->LS_act_date, c.start);
    EXPECT_EQ(a->LS_act_time, c.startOffset);
    EXPECT_EQ(a->constraint_type, 6);
    EXPECT_EQ(a->constraint_date, c.start);
    EXPECT_EQ(a->finish_date, c.finish) << c.done << " split " << c.split;
    EXPECT_EQ(a->offset_finish_time, c.finishOffset);
    EXPECT_EQ(a->original_duration, c.finish - c.start + 1);
    EXPECT_EQ(a->early_start_date, c.start);
  }
}

TEST(Actuals, BrokenFinishDeadlineFixesTheTaskAtItsResumeDay) {
  Plan p;
  activity_type* a = p.task(jan(1), jan(12), 4800, true, 3, jan(10));
  a->actual_duration = 2400;
  p.close();
  ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, 0, 0, nullptr), 0);
  // From Monday's resume point the remaining 2400 minutes cannot finish by
  // Wednesday; placed back from the deadline they would start Thursday
  // before, so the task is fixed at its resume day.
  EXPECT_EQ(a->finish_date, jan(10));
  EXPECT_EQ(a->start_date, jan(4));
  EXPECT_EQ(a->constraint_type, 5);
  EXPECT_EQ(a->constraint_date, jan(8));
}

// --- Assignment-based tasks --------------------------------------------------

TEST(Actuals, LongestRemainingAssignmentSetsTheLength) {
  Plan p;
  activity_type* a = p.task(jan(1), jan(12), 4800, true);
  for (int32_t days : {2, 5, 3}) p.work(a, days * 480, jan(1), jan(12), jan(5), true);
  work_type* done = p.work(a, 0, jan(1), jan(4), jan(4), true);
  done->hasActualFinish = 1;
  done->offset_finish_time = 120;  // finished Thursday 15:00
  p.close();
  ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, 0, 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(8));  // reported up to Friday
  EXPECT_EQ(a->effort, 2400);
  EXPECT_EQ(a->finish_date, jan(12));
  EXPECT_EQ(a->duration, 5);
  EXPECT_EQ(a->max_wrk_actual_FD, jan(4));
  EXPECT_EQ(a->oft_wrk_actual_FD, 360);
}

TEST(Actuals, NotYetBegunWorkBeforeTheResumeDayCountsTheGap) {
  Plan p;
  activity_type* a = p.task(jan(1), jan(12), 4800, true);
  p.work(a, 960, jan(1), jan(5), jan(3), true);                      // resumes Thursday
  work_type* next = p.work(a, 1440, jan(2), jan(4), jan(1), false);  // from Tuesday
  p.close();
  ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, 0, 0, nullptr), 0);
  // Tuesday to Thursday is 960 minutes; then the longer of the remaining
  // parts decides: 960 + max(960, 1440 - 960).
  EXPECT_EQ(a->start_date, jan(2));
  EXPECT_EQ(a->effort, 1920);
  EXPECT_EQ(a->finish_date, jan(5));
  EXPECT_EQ(next->rem_effort, 1440);
}

TEST(Actuals, ShiftedProjectBindsTheTaskToToday) {
  Plan p;
  activity_type* a = p.task(jan(1), jan(12), 4800, true);
  p.work(a, 960, jan(1), jan(12), jan(5), true);
  p.proj->current_date = jan(10);
  p.proj->shiftProjSFDate = 1;
  p.close();
  ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, 0, 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(8));
  EXPECT_EQ(a->constraint_type, 6);
  EXPECT_EQ(a->constraint_date, jan(10));
}

TEST(Actuals, DataErrorsAreLoggedAndTheRunGoesOn) {
  Plan p;
  activity_type* onlyDone = p.task(jan(1), jan(5), 2400, true);
  p.work(onlyDone, 0, jan(1), jan(3), jan(3), true)->hasActualFinish = 1;
  activity_type* noStart = p.task(jan(1), jan(5), 2400, true);
  p.work(noStart, 960, jan(1), jan(5), jan(3), false);  // reported but not marked started
  p.close();
  Log log;
  ASSERT_EQ(doHandleWorkActualsForAllTasks(p.items, p.sm, 0, 0, log.f), 0);
  EXPECT_TRUE(log.has("*** error (10) !!! doHandleWorkActualsForAllTasks"));
  EXPECT_EQ(onlyDone->start_date, jan(1));
  EXPECT_EQ(onlyDone->effort, 2400);
  EXPECT_TRUE(log.has("*** error (0) in doHandleWorkActualsForAllTasks !!! this assignment must "
                      "have actual_start:"));
  EXPECT_EQ(noStart->start_date, jan(4));
}

// --- Re-placing from the finish ---------------------------------------------------

TEST(ReplaceFromFinish, LongestRemainingWorkReachesBackFromTheFinish) {
  Plan p;
  activity_type* a = p.task(jan(10), jan(12), 1440, true);  // Wednesday to Friday 17:00
  work_type* begun = p.work(a, 0, jan(10), jan(12), jan(9), true);
  begun->rem_effort = 960;  // less than Wednesday 08:00 to Friday 17:00
  p.work(a, 1920, jan(10), jan(12), jan(9), false);
  ASSERT_EQ(reSchActFromFDBasedOnAssWork(a, p.sm, 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(9));  // four days back: Tuesday 08:00
  EXPECT_EQ(a->offset_start_time, 0);
  EXPECT_EQ(a->duration, 4);
  begun->rem_effort = 2400;
  ASSERT_EQ(reSchActFromFDBasedOnAssWork(a, p.sm, 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(8));
  a->hasActualStart = 0;  // only tasks in progress
  begun->rem_effort = 4800;
  ASSERT_EQ(reSchActFromFDBasedOnAssWork(a, p.sm, 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(8));
}

}  // namespace
