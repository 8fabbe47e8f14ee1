// Assignment date functions: hand-checked dates on the default calendar
// (five-day week, 08:00-12:00 and 13:00-17:00, from Monday 2024-01-01).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "schedule/assignment_dates.h"
#include "support/test_db.h"

namespace {

const int kOrigin = dayOfYearToJulian(1950, 1, 1);
int32_t jan(int d) { return dayOfYearToJulian(2024, 1, d) - kOrigin; }  // Jan 1 is a Monday

class Dates : public ::testing::Test {
 protected:
  Dates() {
    proj_->julianDateOrigin = kOrigin;
    unsigned char empty[DAY_BITS_BYTES] = {0};
    char hex[DAY_BITS_HEX_DIGITS + 1];
    for (int w = 1; w <= 7; ++w) {
      Lev_splitSchedBitsInTwo(w == 1 || w == 7 ? empty : dayBitsDefault8H, hex);
      setProjectBitsForDaysOfWeek(proj_, w, hex);
    }
    setProjectFirstDayOfWeek(proj_, 2);
    setProjectSizeOfCalendar(proj_, 400);
    setProjectMinutesPerDay(proj_, 480);
    proj_->first_day = jan(1);
  }
  ~Dates() override {
    for (linktype* l = items_->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(items_);
    for (assignment_type* a : assignments_) assignmentDelete(a);
    smanagerDelete(sm_);
    projectDelete(proj_);
  }
  activity_type* item(const char* name, int32_t first, int32_t last, int16_t type = 3,
                      int16_t constraint = 0) {
    activity_type* a = activityCreateNew(name, type, proj_, first, last, 480, constraint, 0);
    ll_addtail(items_, a);
    return a;
  }
  work_type* assign(activity_type* a, const char* resource) {
    assignments_.push_back(assignmentCreateNew(resource));
    setActivityAssignment(a, assignments_.back(), 0, nullptr);
    return assignmentCreateWorkByActivity(assignments_.back(), a->name, nullptr);
  }
  int extract(activity_type* a, const char* resource, int shortIds = 0) {
    return doExtractActAssStartFinishDT(a, resource, sm_, shortIds, start_, finish_, 200213,
                                        nullptr);
  }
  std::string arranged(activity_type* a, const char* stamp, int32_t effort = 480,
                       int32_t contour = 0, int32_t contourType = 0) {
    char text[TIME_STAMP_TEXT_SIZE];
    std::snprintf(text, sizeof text, "%s", stamp);
    EXPECT_EQ(doArrangeActLowerStartDateTime(a, items_, text, "start", effort, contour,
                                             contourType, sm_, "start", nullptr),
              0);
    return text;
  }
  int roll(activity_type* a, int reset, const char* s, const char* f) {
    return doRollupAssDTWithinTask(a, sm_, reset, s, f, &sd_, &fd_, &so_, &fo_, 0, nullptr);
  }

  project_type* proj_ = projectCreateNew("PRJ");
  storage_manager_type* sm_ = smanagerCreateNew();
  linked_list_type* items_ = ll_new(activityMatch, getActivityName);
  std::vector<assignment_type*> assignments_;
  char start_[TIME_STAMP_TEXT_SIZE] = {0};
  char finish_[TIME_STAMP_TEXT_SIZE] = {0};
  int32_t sd_ = -7, fd_ = -7;  // the envelope
  int so_ = -7, fo_ = -7;
};

// --- Texts of an item and of an assignment ----------------------------------

TEST_F(Dates, AssignmentDatesOnlyForWorkStartedAfterTheTask) {
  activity_type* t = item("T", jan(8), jan(12));
  t->offset_start_time = 60;    // Monday 09:00
  t->offset_finish_time = 120;  // Friday 15:00
  work_type* w = assign(t, "RES-A");
  w->start_date = jan(9);
  w->finish_date = jan(10);
  w->offset_finish_time = 240;  // Wednesday 13:00
  ASSERT_EQ(extract(t, "RES-A"), 0);  // no actual start: the task's dates
  EXPECT_STREQ(start_, "2024-01-08 09:00:00.000000");
  EXPECT_STREQ(finish_, "2024-01-12 15:00:00.000000");
  w->hasActualStart = 1;
  ASSERT_EQ(extract(t, "RES-A"), 0);
  EXPECT_STREQ(start_, "2024-01-09 08:00:00.000000");
  EXPECT_STREQ(finish_, "2024-01-10 13:00:00.000000");
  EXPECT_EQ(extract(t, "RES-B"), 200213);
  activity_type* box = item("BOX", jan(2), jan(3), 2);  // not a task: its own dates
  assign(box, "RES-A")->hasActualStart = 1;
  ASSERT_EQ(extract(box, "NOBODY"), 0);
  EXPECT_STREQ(start_, "2024-01-02 08:00:00.000000");
  EXPECT_STREQ(finish_, "2024-01-03 17:00:00.000000");
}

TEST_F(Dates, ResourceSequenceIdsWhenIdsAreShortened) {
  testing::TestDb db;
  db.row("Lev_res_uids", {{"SEQUENT_ID", "0000001"}, {"RESOURCE_ID", "RES-A"}, {"TYPE_ID", "3"}});
  activity_type* t = item("T", jan(8), jan(12));
  work_type* w = assign(t, "0000001");
  w->hasActualStart = 1;
  w->start_date = w->finish_date = jan(11);
  ASSERT_EQ(extract(t, "RES-A", 1), 0);
  EXPECT_STREQ(start_, "2024-01-11 08:00:00.000000");
  EXPECT_EQ(extract(t, "RES-X", 1), 200215);
}

// --- The envelope of a task --------------------------------------------------

TEST_F(Dates, EnvelopeWidensByDayThenByTime) {
  activity_type* t = item("T", jan(1), jan(12));
  ASSERT_EQ(roll(t, 0, "2024-01-02 10:00:00.000000", "2024-01-03 15:00:00.000000"), 0);
  EXPECT_EQ(sd_, jan(2));
  EXPECT_EQ(so_, 120);
  EXPECT_EQ(fd_, jan(3));
  EXPECT_EQ(fo_, 120);
  ASSERT_EQ(roll(t, 1, "2024-01-02 09:00:00.000000", "2024-01-03 16:00:00.000000"), 0);
  EXPECT_EQ(so_, 60);
  EXPECT_EQ(fo_, 60);
  ASSERT_EQ(roll(t, 1, "2024-01-02 11:00:00.000000", "2024-01-03 14:00:00.000000"), 0);
  EXPECT_EQ(so_, 60);
  EXPECT_EQ(fo_, 60);
  ASSERT_EQ(roll(t, 1, "2024-01-01 13:00:00.000000", "2024-01-04 12:00:00.000000"), 0);
  EXPECT_EQ(sd_, jan(1));
  EXPECT_EQ(so_, 300);
  EXPECT_EQ(fd_, jan(4));
  EXPECT_EQ(fo_, 300);
  ASSERT_EQ(roll(t, 0, "2024-01-06 10:00:00.000000", "2024-01-09 17:00:00.000000"), 0);
  EXPECT_EQ(sd_, jan(8));  // a Saturday start: Monday 08:00
  EXPECT_EQ(so_, 0);
  EXPECT_EQ(fd_, jan(9));
  activity_type* box = item("BOX", jan(1), jan(12), 2);  // only tasks with both dates count
  ASSERT_EQ(roll(box, 0, "2024-01-02 10:00:00.000000", "2024-01-03 15:00:00.000000"), 0);
  ASSERT_EQ(roll(t, 0, "", "2024-01-03 15:00:00.000000"), 0);
  EXPECT_EQ(sd_, jan(8));
}

TEST_F(Dates, EnvelopeWrittenIntoTheTaskOnlyWhenItDiffers) {
  activity_type* t = item("T", jan(1), jan(2));
  assign(t, "RES-A");
  ASSERT_EQ(doSetDTParamsTaskDrivAss(t, sm_, jan(3), jan(5), 60, 120, 0, nullptr), 0);
  EXPECT_EQ(t->early_start_date, jan(3));
  EXPECT_EQ(t->early_finish_date, jan(5));
  EXPECT_EQ(t->es_offset_start_time, 60);
  EXPECT_EQ(t->ef_offset_finish_time, 120);
  EXPECT_EQ(t->original_duration, 3);
  EXPECT_EQ(t->effort, 420 + 480 + 360);  // Wednesday 09:00 to Friday 15:00
  t->effort = 777;
  ASSERT_EQ(doSetDTParamsTaskDrivAss(t, sm_, jan(3), jan(5), 60, 120, 0, nullptr), 0);
  EXPECT_EQ(t->effort, 777);
  activity_type* bare = item("BARE", jan(1), jan(2));  // no assignment
  ASSERT_EQ(doSetDTParamsTaskDrivAss(bare, sm_, jan(3), jan(5), 60, 120, 0, nullptr), 0);
  EXPECT_EQ(bare->start_date, jan(1));
}

// --- Where the search starts -------------------------------------------------

TEST_F(Dates, SearchStartsAtTheDayWhenTheTimeIsTheWorkingStartOrTheDayIsFree) {
  activity_type* t = item("T", jan(8), jan(9));
  EXPECT_EQ(arranged(t, "2024-01-06 10:00:00.000000"), "2024-01-06");  // Saturday
  EXPECT_EQ(arranged(t, "2024-01-08 08:00:00.000000"), "2024-01-08");
  EXPECT_EQ(arranged(t, "2024-01-08 10:00:00.000000"), "2024-01-08 10:00:00.000000");
  activity_type* alap = item("ALAP", jan(8), jan(9), 3, 1);
  EXPECT_EQ(arranged(alap, "2024-01-08 08:00:00.000000"), "2024-01-08 08:00:00.000000");
}

TEST_F(Dates, FirstActiveDependencyKeepsTheTime) {
  activity_type* pred = item("P", jan(5), jan(8));
  activity_type* t = item("T", jan(8), jan(9));
  dependency_type* d = activityCreatePred(t, "P", 1, 0, 0, nullptr);
  const char* stamp = "2024-01-08 08:00:00.000000";
  EXPECT_EQ(arranged(t, stamp), "2024-01-08");  // not active: the working-start rule
  d->isActive = 1;
  EXPECT_EQ(arranged(t, stamp), stamp);  // FS from a predecessor finishing that day
  pred->finish_date = jan(5);
  EXPECT_EQ(arranged(t, stamp), "2024-01-08");
  d->lag_minutes = 60;
  EXPECT_EQ(arranged(t, stamp), stamp);
  d->lag_minutes = 0;
  d->type = 0;  // finish-to-finish
  EXPECT_EQ(arranged(t, stamp), stamp);
}

TEST_F(Dates, FinishConstraintsCutOnlyContouredWork) {
  for (int16_t constraint : {2, 4}) {
    activity_type* t = item(constraint == 2 ? "T2" : "T4", jan(8), jan(9), 3, constraint);
    const char* stamp = "2024-01-08 10:00:00.000000";
    EXPECT_EQ(arranged(t, stamp, 480, 0, 2), "2024-01-08");
    EXPECT_EQ(arranged(t, stamp, 480, 0x1000, 1), "2024-01-08");
    EXPECT_EQ(arranged(t, stamp, 480, 0, 1), stamp);
    EXPECT_EQ(arranged(t, stamp, 0, 0, 2), stamp);
    EXPECT_EQ(arranged(t, "2024-01-08 08:00:00.000000"), "2024-01-08 08:00:00.000000");
  }
}

}  // namespace
