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

const int kOrigin = dayOfYearToJulian(1950, 1, 1);
int32_t jan(int d) { return dayOfYearToJulian(2024, 1, d) - kOrigin; }  // Jan 1 is a Monday

struct Log {
  FILE* f = std::tmpfile();
  ~Log() { std::fclose(f); }
  std::string text() const {
    std::fflush(f);
    std::string out;
    std::rewind(f);
    char buf[4096];
    size_t got;
    while ((got = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, got);
    return out;
  }
};

// One project on the default calendar and its item list (start node, tasks,
// finish node), with the tasks' assignments.
class Plan {
 public:
  Plan() {
    proj_ = projectCreateNew("PRJ");
    sm_ = smanagerCreateNew();
    setProjectJulianDateOrigin(proj_, kOrigin);
    unsigned char empty[DAY_BITS_BYTES] = {0};
    char hex[DAY_BITS_HEX_DIGITS + 1];
    for (int w = 1; w <= 7; ++w) {
      Lev_splitSchedBitsInTwo(w == 1 || w == 7 ? empty : dayBitsDefault8H, hex);
      setProjectBitsForDaysOfWeek(proj_, w, hex);
    }
    setProjectFirstDay(proj_, jan(1));
    setProjectFirstDayOfWeek(proj_, 2);
    setProjectSizeOfCalendar(proj_, 400);
    setProjectMinutesPerDay(proj_, 480);
    setProjectCreateDate(proj_, jan(1));
    setProjectCurrentDate(proj_, jan(1));
    setProjectStartDate(proj_, jan(1));
    setProjectFinishDate(proj_, jan(1) + 399);
    items_ = ll_new(activityMatch, getActivityName);
    start_ = activityCreateNew("start", 0, nullptr, jan(1) - 1, jan(1) - 1, 0, 0, 0);
    ll_addtail(items_, start_);
  }
  ~Plan() {
    for (activity_type* a : all_) activityDelete(a);
    activityDelete(start_);
    for (assignment_type* a : assignments_) assignmentDelete(a);
    ll_delete(items_);
    smanagerDelete(sm_);
    projectDelete(proj_);
  }
  Plan(const Plan&) = delete;
  Plan& operator=(const Plan&) = delete;

  // A task from `first` 08:00 to `last` 17:00.
  activity_type* task(const char* name, int32_t first, int32_t last, int32_t effort,
                      int16_t constraint = 0, int32_t constraintDate = 0) {
    activity_type* a =
        activityCreateNew(name, 3, proj_, first, last, effort, constraint, constraintDate);
    all_.push_back(a);
    ll_addtail(items_, a);
    return a;
  }
  // A work record of a new assignment on the task: `remaining` minutes at
  // full units, from `first` to `last`, last reported on `lastSubmitted`.
  work_type* work(activity_type* a, int32_t remaining, int32_t first, int32_t last,
                  int32_t lastSubmitted, bool begun) {
    assignment_type* ass = assignmentCreateNew(("R" + std::to_string(assignments_.size())).c_str());
    assignments_.push_back(ass);
    work_type* w = assignmentCreateWorkByActivity(ass, a->name, nullptr);
    w->proposed_work = remaining;
    w->units_msp = 10000;
    w->start_date = first;
    w->finish_date = last;
    w->last_submitted = lastSubmitted;
    w->hasActualStart = begun ? 1 : 0;
    w->FSCHED_effort = 480;
    setActivityAssignment(a, ass, 0, nullptr);
    return w;
  }
  // A task that has started.
  static void started(activity_type* a) {
    a->hasActualStart = 1;
    a->actual_start_date = a->start_date;
  }
  int handleActuals(int split = 0, FILE* log = nullptr) {
    close();
    return doHandleWorkActualsForAllTasks(items_, sm_, split, 0, log);
  }
  int shorten(FILE* log = nullptr) {
    close();
    return doHandleWorksForTasksNoActuals(items_, sm_, 0, log);
  }
  project_type* proj() { return proj_; }
  storage_manager_type* sm() { return sm_; }

 private:
  void close() {
    if (finish_ != nullptr) return;
    finish_ = activityCreateNew("finish", 0, nullptr, jan(1) - 1, jan(1) - 1, 0, 0, 0);
    all_.push_back(finish_);
    ll_addtail(items_, finish_);
  }
  project_type* proj_;
  storage_manager_type* sm_;
  linked_list_type* items_;
  activity_type* start_;
  activity_type* finish_ = nullptr;
  std::vector<activity_type*> all_;
  std::vector<assignment_type*> assignments_;
};

// --- Tasks without actuals ----------------------------------------------------

TEST(TasksWithoutActuals, ShortenedToTheirLongestAssignment) {
  Plan p;
  activity_type* a = p.task("TEN", jan(1), jan(12), 4800);    // 10 days of effort
  activity_type* d = p.task("DELAY", jan(1), jan(12), 4800);  // 6 days + 1 day of delay
  activity_type* s = p.task("SHORT", jan(1), jan(2), 960);    // already shorter
  p.work(a, 2880, jan(1), jan(8), jan(1) - 1, false);
  p.work(a, 1440, jan(1), jan(3), jan(1) - 1, false);
  p.work(d, 2880, jan(1), jan(8), jan(1) - 1, false)->ass_delay = 1;
  p.work(s, 2880, jan(1), jan(8), jan(1) - 1, false);
  ASSERT_EQ(p.shorten(), 0);
  EXPECT_EQ(a->effort, 2880);
  EXPECT_EQ(a->finish_date, jan(8));  // Monday to the next Monday, 17:00
  EXPECT_EQ(a->early_finish_date, jan(8));
  EXPECT_EQ(a->offset_finish_time, 0);
  EXPECT_EQ(a->duration, 8);
  EXPECT_EQ(a->original_duration, 8);
  EXPECT_EQ(d->effort, 3360);
  EXPECT_EQ(d->finish_date, jan(9));
  EXPECT_EQ(s->effort, 960);
  EXPECT_EQ(s->finish_date, jan(2));
}

TEST(TasksWithoutActuals, StartedTasksAreLeftToTheActuals) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800);
  Plan::started(a);
  p.work(a, 960, jan(1), jan(2), jan(1), true);
  ASSERT_EQ(p.shorten(), 0);
  EXPECT_EQ(a->effort, 4800);
}

// --- Finished and duration-based tasks ---------------------------------------

TEST(Actuals, FinishedItemsAreFrozenAndUnstartedLeftAlone) {
  Plan p;
  activity_type* done = p.task("DONE", jan(1), jan(3), 1440);
  activity_type* box = p.task("BOX", jan(1), jan(3), 1440);
  activity_type* later = p.task("LATER", jan(8), jan(9), 960);
  Plan::started(done);
  done->hasActualFinish = 1;
  box->type = 2;
  box->hasActualFinish = 1;
  ASSERT_EQ(p.handleActuals(), 0);
  EXPECT_EQ(done->ignore_item_for_sched, 1);
  EXPECT_EQ(done->ignore_child_for_sched, 1);
  EXPECT_EQ(done->start_date, jan(1));
  EXPECT_EQ(box->ignore_item_for_sched, 1);
  EXPECT_EQ(box->ignore_child_for_sched, 1);
  EXPECT_EQ(later->ignore_item_for_sched, 0);
  EXPECT_EQ(later->start_date, jan(8));
}

TEST(Actuals, DurationBasedTaskReportedUpToFridayResumesOnMonday) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800);
  Plan::started(a);
  a->actual_duration = 2400;  // Monday to Friday done
  ASSERT_EQ(p.handleActuals(), 0);
  EXPECT_EQ(a->start_date, jan(8));
  EXPECT_EQ(a->offset_start_time, 0);
  EXPECT_EQ(a->LS_act_date, jan(8));
  EXPECT_EQ(a->LS_act_time, 0);
  EXPECT_EQ(a->constraint_type, 6);
  EXPECT_EQ(a->constraint_date, jan(8));
  EXPECT_EQ(a->effort, 2400);
  EXPECT_EQ(a->finish_date, jan(12));
  EXPECT_EQ(a->offset_finish_time, 0);
  EXPECT_EQ(a->duration, 5);
  EXPECT_EQ(a->original_duration, 5);
  EXPECT_EQ(a->early_start_date, jan(8));
}

TEST(Actuals, RemainingPartStartsNoEarlierThanTheCurrentDate) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800);
  Plan::started(a);
  a->actual_duration = 2400;
  setProjectCurrentDate(p.proj(), jan(10));  // reported up to Friday, today Wednesday
  ASSERT_EQ(p.handleActuals(), 0);
  EXPECT_EQ(a->start_date, jan(10));
  EXPECT_EQ(a->constraint_date, jan(10));
  EXPECT_EQ(a->finish_date, jan(16));  // Wed, Thu, Fri, Mon, Tue
}

TEST(Actuals, DoneDayIsSplitOnlyWithTheOption) {
  // 600 minutes done from Monday 08:00 end on Tuesday at 10:00.
  for (int split : {0, 1}) {
    Plan p;
    activity_type* a = p.task("A", jan(1), jan(12), 4800);
    Plan::started(a);
    a->actual_duration = 600;
    ASSERT_EQ(p.handleActuals(split), 0);
    EXPECT_EQ(a->effort, 4200);
    if (split == 0) {
      EXPECT_EQ(a->start_date, jan(2));
      EXPECT_EQ(a->offset_start_time, 120);
      EXPECT_EQ(a->LS_act_time, 120);
      EXPECT_EQ(a->finish_date, jan(12));  // 360 on Tuesday, then 8 full days
      EXPECT_EQ(a->offset_finish_time, 0);
    } else {
      EXPECT_EQ(a->start_date, jan(3));
      EXPECT_EQ(a->offset_start_time, 0);
      EXPECT_EQ(a->finish_date, jan(15));  // 8 full days, then 360 to 15:00
      EXPECT_EQ(a->offset_finish_time, 120);
    }
  }
}

TEST(Actuals, BrokenFinishDeadlineFixesTheTaskAtItsResumeDay) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800, 3, jan(10));
  Plan::started(a);
  a->actual_duration = 2400;
  ASSERT_EQ(p.handleActuals(), 0);
  // The remaining 2400 minutes cannot finish by Wednesday from Monday's
  // resume point: placed back from the deadline it would start on Thursday
  // before, so the task is fixed at its resume day.
  EXPECT_EQ(a->finish_date, jan(10));
  EXPECT_EQ(a->start_date, jan(4));
  EXPECT_EQ(a->constraint_type, 5);
  EXPECT_EQ(a->constraint_date, jan(8));
  EXPECT_EQ(a->offset_start_time, 0);
}

// --- Assignment-based tasks --------------------------------------------------

TEST(Actuals, LongestRemainingAssignmentSetsTheLength) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800);
  Plan::started(a);
  for (int32_t days : {2, 5, 3}) p.work(a, days * 480, jan(1), jan(12), jan(5), true);
  work_type* done = p.work(a, 0, jan(1), jan(4), jan(4), true);
  done->hasActualFinish = 1;
  done->offset_finish_time = 120;  // finished Thursday 15:00
  ASSERT_EQ(p.handleActuals(), 0);
  EXPECT_EQ(a->start_date, jan(8));
  EXPECT_EQ(a->offset_start_time, 0);
  EXPECT_EQ(a->effort, 2400);
  EXPECT_EQ(a->finish_date, jan(12));
  EXPECT_EQ(a->duration, 5);
  EXPECT_EQ(a->early_start_date, jan(8));
  EXPECT_EQ(a->max_wrk_actual_FD, jan(4));
  EXPECT_EQ(a->oft_wrk_actual_FD, 360);
}

TEST(Actuals, NotYetBegunWorkBeforeTheResumeDayCountsTheGap) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800);
  Plan::started(a);
  p.work(a, 960, jan(1), jan(5), jan(3), true);                  // resumes Thursday
  work_type* next = p.work(a, 1440, jan(2), jan(4), jan(1), false);  // from Tuesday
  ASSERT_EQ(p.handleActuals(), 0);
  // Tuesday to Thursday is 960 minutes; the longer of the two remaining
  // parts past it decides: 960 + max(960, 1440 - 960).
  EXPECT_EQ(a->start_date, jan(2));
  EXPECT_EQ(a->effort, 1920);
  EXPECT_EQ(a->finish_date, jan(5));
  EXPECT_EQ(next->rem_effort, 1440);
}

TEST(Actuals, ShiftedProjectBindsTheTaskToToday) {
  Plan p;
  activity_type* a = p.task("A", jan(1), jan(12), 4800);
  Plan::started(a);
  p.work(a, 960, jan(1), jan(12), jan(5), true);
  setProjectCurrentDate(p.proj(), jan(10));
  p.proj()->shiftProjSFDate = 1;
  ASSERT_EQ(p.handleActuals(), 0);
  EXPECT_EQ(a->start_date, jan(8));
  EXPECT_EQ(a->constraint_type, 6);
  EXPECT_EQ(a->constraint_date, jan(10));
}

TEST(Actuals, DataErrorsAreLoggedAndTheRunGoesOn) {
  Plan p;
  activity_type* onlyDone = p.task("ONLYDONE", jan(1), jan(5), 2400);
  Plan::started(onlyDone);
  p.work(onlyDone, 0, jan(1), jan(3), jan(3), true)->hasActualFinish = 1;
  activity_type* noStart = p.task("NOSTART", jan(1), jan(5), 2400);
  Plan::started(noStart);
  p.work(noStart, 960, jan(1), jan(5), jan(3), false);  // reported but not marked started
  Log log;
  ASSERT_EQ(p.handleActuals(0, log.f), 0);
  const std::string text = log.text();
  EXPECT_NE(text.find("*** error (10) !!! doHandleWorkActualsForAllTasks"), std::string::npos);
  EXPECT_EQ(onlyDone->start_date, jan(1));
  EXPECT_EQ(onlyDone->effort, 2400);
  EXPECT_NE(text.find("*** error (0) in doHandleWorkActualsForAllTasks !!! this assignment must "
                      "have actual_start:"),
            std::string::npos);
  EXPECT_EQ(noStart->start_date, jan(4));
  EXPECT_EQ(noStart->effort, 960);
}

// --- Re-placing from the finish ---------------------------------------------------

TEST(ReplaceFromFinish, LongestRemainingWorkReachesBackFromTheFinish) {
  Plan p;
  activity_type* a = p.task("A", jan(10), jan(12), 1440);  // Wednesday to Friday 17:00
  Plan::started(a);
  work_type* begun = p.work(a, 0, jan(10), jan(12), jan(9), true);
  begun->rem_effort = 960;  // less than Wednesday 08:00 to Friday 17:00
  p.work(a, 1920, jan(10), jan(12), jan(9), false);
  ASSERT_EQ(reSchActFromFDBasedOnAssWork(a, p.sm(), 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(9));  // four days back: Tuesday 08:00
  EXPECT_EQ(a->offset_start_time, 0);
  EXPECT_EQ(a->duration, 4);
  begun->rem_effort = 2400;
  ASSERT_EQ(reSchActFromFDBasedOnAssWork(a, p.sm(), 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(8));
}

TEST(ReplaceFromFinish, OnlyTasksInProgress) {
  Plan p;
  activity_type* a = p.task("A", jan(10), jan(12), 1440);
  p.work(a, 4800, jan(10), jan(12), jan(9), false);
  ASSERT_EQ(reSchActFromFDBasedOnAssWork(a, p.sm(), 0, nullptr), 0);
  EXPECT_EQ(a->start_date, jan(10));
}

}  // namespace
