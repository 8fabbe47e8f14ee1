// Assignment, work and day records: the working duration of remaining work,
// one work record per item, and day records that own their bits.
#include "model/assignment.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "model/day_records.h"

namespace {

class LogCapture {
 public:
  LogCapture() : file_(open_memstream(&buf_, &len_)) {}
  ~LogCapture() {
    if (file_ != nullptr) std::fclose(file_);
    std::free(buf_);
  }
  FILE* file() const { return file_; }
  std::string text() {
    std::fflush(file_);
    return std::string(buf_, len_);
  }

 private:
  char* buf_ = nullptr;
  size_t len_ = 0;
  FILE* file_;
};

int countOf(const std::string& text, const std::string& what) {
  int n = 0;
  for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + 1)) ++n;
  return n;
}

}  // namespace

TEST(WorkDuration, UnitsGiveWholeStandardDaysPlusTheRest) {
  work_type* w = workCreateNew("ASS", "T");
  // Half time over an 8-hour day: 240 minutes a day, 960 minutes take four
  // standard days.
  setWorkUnitsMSP(w, 5000);
  setWorkProposedWork(w, 960);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 1920);

  // Full time: two whole days of 480 and 40 minutes left over.
  setWorkUnitsMSP(w, 10000);
  setWorkProposedWork(w, 1000);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 1000);

  // Work already done is taken off first: 600 remaining at half time is
  // 2 whole days (960) plus 120.
  setWorkUnitsMSP(w, 5000);
  setWorkProposedWork(w, 960);
  setWorkTodate(w, 360);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 1080);

  // More done than planned: never negative.
  setWorkTodate(w, 2000);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 0);
  workDelete(w);
}

TEST(WorkDuration, WithoutUnitsDurationOrPlannedWorkIsUsed) {
  work_type* w = workCreateNew("ASS", "T");
  setWorkDuration(w, 300);
  setWorkProposedWork(w, 600);
  setWorkTodate(w, 50);
  setWorkCEffort(w, 1);
  // Short duration, contour effort set, more planned work than a day.
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 250);
  // Without contour effort the planned work counts.
  setWorkCEffort(w, 0);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 550);
  // A duration longer than a day counts whatever the rest says.
  setWorkDuration(w, 700);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 650);

  // A contoured duration overrides everything, but only with a contour.
  setWorkDurationOfContouredEffort(w, 1234);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 650);
  setWorkCContour(w, 3);
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, nullptr), 1234);
  workDelete(w);
}

TEST(WorkDuration, ZeroDailyShareMeansNoWorkAndIsLogged) {
  LogCapture log;
  work_type* w = workCreateNew("ASS", "T");
  setWorkProposedWork(w, 960);
  setWorkUnitsMSP(w, 30);  // 1.44 minutes a day rounds to a share of 0
  EXPECT_EQ(getWorkDurationContour(w, 480, 0, log.file()), 0);
  EXPECT_EQ(log.text(), "");  // quiet without the print option
  setWorkUnitsMSP(w, 5000);
  EXPECT_EQ(getWorkDurationContour(w, 0, 1, log.file()), 0);  // no standard day
  const std::string text = log.text();
  EXPECT_NE(text.find("getWorkDurationContour"), std::string::npos);
  EXPECT_NE(text.find("-> 0"), std::string::npos);
  workDelete(w);
}

TEST(Assignment, OneWorkRecordPerItem) {
  LogCapture log;
  assignment_type* ass = assignmentCreateNew("ASS1");
  work_type* w1 = assignmentCreateWorkByActivity(ass, "T1", log.file());
  ASSERT_NE(w1, nullptr);
  EXPECT_STREQ(getWorkAssignmentName(w1), "ASS1");
  EXPECT_STREQ(getWorkActivityName(w1), "T1");
  setWorkProposedWork(w1, 480);

  EXPECT_EQ(assignmentCreateWorkByActivity(ass, "T1", log.file()), w1);
  EXPECT_EQ(w1->proposed_work, 480);  // the first one, untouched
  EXPECT_EQ(log.text(),
            "\n*** error in assignmentCreateWorkByActivity(): assignment(ASS1) already exists "
            "for activity(T1)");
  EXPECT_EQ(countOf(log.text(), "already exists"), 1);

  work_type* w2 = assignmentCreateWorkByActivity(ass, "T2", log.file());
  EXPECT_NE(w2, w1);
  EXPECT_EQ(ll_size(getAssignmentWorkList(ass)), 2);
  EXPECT_EQ(getAssignmentWorkByActivity(ass, "T2"), w2);
  EXPECT_EQ(getAssignmentWorkByActivity(ass, "T3"), nullptr);

  assignmentDeleteWorkData(ass);
  EXPECT_EQ(ll_size(getAssignmentWorkList(ass)), 0);
  EXPECT_EQ(getAssignmentWorkByActivity(ass, "T1"), nullptr);
  assignmentCreateWorkByActivity(ass, "T1", log.file());
  assignmentDelete(ass);  // releases the new work record too
}

TEST(Assignment, WorkTimeOffsetsAreNeverNegative) {
  work_type* w = workCreateNew("A", "T");
  setWorkTimeOffsetFromStart(w, -10);
  setWorkTimeOffsetFromFinish(w, -1);
  EXPECT_EQ(w->offset_start_time, 0);
  EXPECT_EQ(w->offset_finish_time, 0);
  setWorkTimeOffsetFromFinish(w, 45);
  EXPECT_EQ(w->offset_finish_time, 45);
  workDelete(w);
}

TEST(DayRecords, BitsAreOwnedCopiesAndKeysAreDecimal) {
  unsigned char bits[DAY_RECORD_BITS_LEN] = {};
  bits[12] = 0xFF;  // 08:00-08:40
  day_effort_type* d = dayEffortCreateNew(42, 2, 40, bits);
  bits[12] = 0;
  ASSERT_NE(d->day_bits, nullptr);
  EXPECT_NE(d->day_bits, bits);
  EXPECT_EQ(d->day_bits[12], 0xFF);  // the caller's later change is not seen

  day_effort_type* copy = dayEffortCopyCreateNew(d);
  dayEffortDelete(d);
  EXPECT_EQ(copy->day_bits[12], 0xFF);
  EXPECT_EQ(copy->dayOfYear, 42);

  day_effort_type* none = dayEffortCreateNew(43, 3, 0, nullptr);
  EXPECT_EQ(none->day_bits, nullptr);
  day_effort_type* none_copy = dayEffortCopyCreateNew(none);
  EXPECT_EQ(none_copy->day_bits, nullptr);

  linked_list_type* days = ll_new(dayEffortMatchRelJulianDate, nullptr);
  ll_addtail(days, copy);
  ll_addtail(days, none);
  EXPECT_EQ(ll_extract(days, "43"), none);
  EXPECT_EQ(ll_extract(days, "42"), copy);
  EXPECT_EQ(ll_extract(days, "44"), nullptr);
  ll_delete(days);
  dayEffortDelete(copy);
  dayEffortDelete(none);
  dayEffortDelete(none_copy);

  day_of_year_type* y = dayOfYearCreateNew(20000, 2004, 1, 1, 5, 480, bits);
  day_of_year_type* ycopy = dayOfYearCopyCreateNew(y);
  dayOfYearDelete(y);
  EXPECT_EQ(ycopy->julian, 20000);
  EXPECT_EQ(ycopy->dow, 5);
  ASSERT_NE(ycopy->day_bits, nullptr);
  EXPECT_EQ(std::memcmp(ycopy->day_bits, bits, DAY_RECORD_BITS_LEN), 0);
  EXPECT_EQ(dayOfYearMatchYear(ycopy, "2004"), 1);
  EXPECT_EQ(dayOfYearMatchYear(ycopy, "2005"), 0);
  dayOfYearDelete(ycopy);
}
