// Assignments and their day work read from a real database into work
// records: planned and remaining work, actuals, the days of work in
// progress, contoured durations on the calendar, sequence ids, and every
// data error the reader reports, with its code and its notification.
//
// The calendar is the five-day week 08:00-12:00, 13:00-17:00 (480 minutes);
// 2024-01-08 is a Monday.
#include "store/load/assignment_reader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "store/calendar_loader.h"
#include "store/sequence_ids.h"
#include "support/test_db.h"

namespace {

using testing::TestDb;

const int kOrigin = dayOfYearToJulian(1950, 1, 1);

int day(const char* text) { return dateStringToJulian(text) - kOrigin; }

std::string stamp(const std::string& dayText, const std::string& time = "08:00") {
  return dayText + " " + time + ":00.000000";
}

std::string readAll(FILE* f) {
  std::fflush(f);
  std::rewind(f);
  std::string out;
  char buf[4096];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  return out;
}

// One project "P1" under a root record "ROOT" (whose parent is the start
// node), a container "C1", and tasks created by hand as the item reader
// would have left them; the database holds the same items.
class Net {
 public:
  explicit Net(TestDb& db, const char* recordName = "P1") : db_(db) {
    db.project({.id = "P1", .start = "2024-01-01", .finish = "2024-06-28"})
        .calendar({.from = "2023-12-01", .to = "2024-12-31"});
    db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
    sm = smanagerCreateNew();
    proj = projectCreateNew("P1");
    log = std::tmpfile();
    EXPECT_EQ(0, doReadCalendarForOneSingleProjectDB(proj, kOrigin, "2023-12-01", 0, 0, log,
                                                     200141));
    // With sequence ids the record goes by its id (the calendar is the
    // element's).
    std::snprintf(proj->name, sizeof proj->name, "%s", recordName);
    acts = ll_new(activityMatch, getActivityName);
    projects = ll_new(projectMatch, getProjectName);
    assignments = ll_new(assignmentMatch, getAssignmentName);
    ll_addtail(projects, proj);
    activity_type* root = add("ROOT", 1, "start", "2024-01-01", "2024-06-28");
    activity_type* p = add(recordName, 1, "ROOT", "2024-01-01", "2024-06-28");
    activity_type* c = add("C1", 2, recordName, "2024-01-01", "2024-06-28");
    root->hasActualFinish = p->hasActualFinish = c->hasActualFinish = 1;
    message = std::make_unique<char[]>(16385);
  }
  ~Net() {
    ll_head(assignments);
    for (int32_t i = ll_size(assignments); i > 0; --i) {
      assignmentDelete(static_cast<assignment_type*>(ll_retrieve(assignments)));
      ll_next(assignments);
    }
    ll_head(acts);
    for (int32_t i = ll_size(acts); i > 0; --i) {
      activityDelete(static_cast<activity_type*>(ll_retrieve(acts)));
      ll_next(acts);
    }
    ll_delete(assignments);
    ll_delete(acts);
    ll_delete(projects);
    projectDelete(proj);
    smanagerDelete(sm);
    std::fclose(log);
  }

  // A task in the network and in the database (under C1).
  activity_type* task(const char* id, const char* from, const char* to,
                      const char* recordName = nullptr) {
    db_.item({.project = "P1", .parent = "C1", .id = id, .start = stamp(from),
              .finish = stamp(to, "17:00")});
    return add(recordName != nullptr ? recordName : id, 3, "C1", from, to);
  }

  activity_type* add(const char* name, int16_t type, const char* parent, const char* from,
                     const char* to) {
    activity_type* a = activityCreateNew(name, type, proj, day(from), day(to), 480, 0, 0);
    setActivityParent(a, parent, nullptr);
    ll_addtail(acts, a);
    return a;
  }

  activity_type* act(const char* name) {
    return static_cast<activity_type*>(ll_extract(acts, name));
  }
  assignment_type* ass(const char* name) {
    return static_cast<assignment_type*>(ll_extract(assignments, name));
  }
  work_type* work(const char* resource, const char* taskName) {
    assignment_type* a = ass(resource);
    return a == nullptr ? nullptr : getAssignmentWorkByActivity(a, taskName);
  }

  int read(int uids = 0, int printOption = 0) {
    return doReadAssignmentsUnderProjectsDB(acts, projects, assignments, sm, uids, 0, "start",
                                            "finish", workflow, message.get(), "Levelling P1",
                                            "P1", "U1", 1, printOption, 0, log);
  }
  std::string logText() { return readAll(log); }

  TestDb& db_;
  storage_manager_type* sm = nullptr;
  project_type* proj = nullptr;
  linked_list_type* acts = nullptr;
  linked_list_type* projects = nullptr;
  linked_list_type* assignments = nullptr;
  FILE* log = nullptr;
  char workflow[33] = "";
  std::unique_ptr<char[]> message;
};

// An assignment row: the start, finish and duration every row needs, the
// rest as given (column -> value).
void assign(TestDb& db, const std::string& task, const std::string& id,
            const std::string& resource, const std::string& from, const std::string& to,
            std::map<std::string, std::string> extra = {}, int proposed = 480) {
  std::map<std::string, std::string> cols = {{"UNRESOLVED_START", stamp(from)},
                                             {"UNRESOLVED_FINISH", stamp(to, "17:00")},
                                             {"UNRESOLVED_DURATION", "480"},
                                             {"ETC", "0"},
                                             {"SCHED_WORK", "0"},
                                             {"PLANNED_WORK", "0"},
                                             {"BIT_FLAG", "0"}};
  for (const auto& [c, v] : extra) cols[c] = v;
  db.assignment({.project = "P1", .task = task, .id = id, .resource = resource,
                 .proposedWork = proposed, .extra = cols});
}

void days(TestDb& db, const std::string& task, const std::string& id, const std::string& res,
          std::vector<std::tuple<std::string, int, int, int>> rows) {
  for (const auto& [d, sched, actual, flag] : rows) {
    db.dayWork({.project = "P1", .task = task, .assignment = id, .resource = res, .day = d,
                .schedMinutes = sched, .actualMinutes = actual, .actualFlag = flag});
  }
}

TEST(AssignmentReader, PlannedAssignmentsBecomeWorkOfTheirResources) {
  TestDb db;
  Net net(db);
  activity_type* t1 = net.task("T1", "2024-01-08", "2024-01-10");
  activity_type* t2 = net.task("T2", "2024-01-11", "2024-01-12");
  db.item({.project = "P1", .parent = "C1", .id = "T9"});  // not in the network
  db.item({.project = "P1", .parent = "C1", .id = "TD", .extra = {{"REC_STATUS", "D"}}});
  // Remaining work 963 (ETC) is read as 965; the finish at 15:00 leaves
  // 120 minutes of the day's work after it.
  assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
         {{"ETC", "963"}, {"ASSIGNMENT_DELAY", "30"},
          {"UNRESOLVED_FINISH", "2024-01-10 15:00:00.000000"}},
         1200);
  days(db, "T1", "A1", "R1",
       {{"2024-01-08", 480, 0, 0}, {"2024-01-09", 480, 0, 0}, {"2024-01-10", 240, 0, 0}});
  assign(db, "T2", "A2", "R1", "2024-01-11", "2024-01-12", {{"ETC", "600"}});
  days(db, "T2", "A2", "R1", {{"2024-01-11", 480, 0, 0}, {"2024-01-12", 120, 0, 0}});
  assign(db, "T2", "A3", "R2", "2024-01-11", "2024-01-12", {{"ETC", "300"}});
  days(db, "T2", "A3", "R2", {{"2024-01-12", 300, 0, 0}});
  assign(db, "T9", "A9", "R9", "2024-01-08", "2024-01-08", {{"ETC", "60"}});
  days(db, "T9", "A9", "R9", {{"2024-01-08", 60, 0, 0}});
  assign(db, "TD", "AD", "RD", "2024-01-08", "2024-01-08", {{"ETC", "60"}});
  assign(db, "P1", "AP", "RP", "2024-01-08", "2024-01-08", {{"ETC", "60"}});

  ASSERT_EQ(0, net.read()) << net.logText();
  EXPECT_EQ(std::string::npos, net.logText().find("error")) << net.logText();

  // R1 works on two tasks, R2 on one; the others are not read or not kept.
  EXPECT_EQ(2, ll_size(net.assignments));
  ASSERT_NE(nullptr, net.ass("R1"));
  EXPECT_EQ(2, ll_size(getAssignmentWorkList(net.ass("R1"))));
  EXPECT_EQ(nullptr, net.ass("R9"));
  EXPECT_EQ(1, ll_size(getActivityAssignmentList(t1)));
  EXPECT_EQ(2, ll_size(getActivityAssignmentList(t2)));
  EXPECT_EQ(1, t1->hasAssignment);

  work_type* w = net.work("R1", "T1");
  ASSERT_NE(nullptr, w);
  EXPECT_EQ(day("2024-01-08"), w->start_date);
  EXPECT_EQ(day("2024-01-10"), w->finish_date);
  EXPECT_EQ(0, w->offset_start_time);
  EXPECT_EQ(120, w->offset_finish_time);
  EXPECT_EQ(1200, w->proposed_work);
  EXPECT_EQ(965, w->duration);
  EXPECT_EQ(30, w->ass_delay);
  EXPECT_EQ(day("2024-01-08"), w->FSCHED_date);
  EXPECT_EQ(480, w->FSCHED_effort);
  EXPECT_EQ(0, w->hasActualStart);
  EXPECT_EQ(0, w->hasActualFinish);
  EXPECT_EQ(10000, w->units_msp);
  // No LAST_SUBMITTED: the day before the start.
  EXPECT_EQ(day("2024-01-07"), w->last_submitted);

  work_type* w3 = net.work("R2", "T2");
  ASSERT_NE(nullptr, w3);
  EXPECT_EQ(day("2024-01-12"), w3->FSCHED_date);  // the first day with a row
  EXPECT_EQ(300, w3->duration);
  EXPECT_EQ(0, w3->offset_finish_time);  // finishes at the day's end
  // The work table holds the rows of the last project read.
  EXPECT_EQ(4, db.scalar("select count(*) from Lev_input_ass_data"));
}

TEST(AssignmentReader, WorkAmountsAreReadOnTheFiveMinuteGrid) {
  TestDb db;
  Net net(db);
  net.task("T1", "2024-01-08", "2024-01-08");
  net.task("T2", "2024-01-08", "2024-01-08");
  // Remaining work 7 -> 5 and 8 -> 10; proposed work and work to date alike.
  assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-08", {{"ETC", "7"}}, 7);
  assign(db, "T2", "A2", "R1", "2024-01-08", "2024-01-08",
         {{"ETC", "10"}, {"PLANNED_WORK", "10"}, {"WORK_TODATE", "8"}}, 8);
  days(db, "T1", "A1", "R1", {{"2024-01-08", 5, 0, 0}});
  days(db, "T2", "A2", "R1", {{"2024-01-08", 10, 0, 0}});
  ASSERT_EQ(0, net.read()) << net.logText();
  EXPECT_EQ(std::string::npos, net.logText().find("error")) << net.logText();
  EXPECT_EQ(5, net.work("R1", "T1")->duration);
  EXPECT_EQ(5, net.work("R1", "T1")->proposed_work);
  EXPECT_EQ(10, net.work("R1", "T2")->duration);  // 10 - 10 + 8
  EXPECT_EQ(10, net.work("R1", "T2")->proposed_work);
  EXPECT_EQ(10, net.work("R1", "T2")->work_todate);
  EXPECT_EQ(5, db.scalar("select REMAINING_WORK from Lev_input_ass_data where TASK_ID='T1'"));
  EXPECT_EQ(10, db.scalar("select REMAINING_WORK from Lev_input_ass_data where TASK_ID='T2'"));
}

TEST(AssignmentReader, EtcAssignmentsProposeTheirEstimatePlusWorkDoneOnceStarted) {
  TestDb db;
  Net net(db);
  net.task("T1", "2024-01-08", "2024-01-10");
  net.task("T2", "2024-01-08", "2024-01-10");
  net.task("T3", "2024-01-08", "2024-01-10");
  // Started: ETC 300 + 120 done = 420 whatever PROPOSED_WORK says.
  assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
         {{"BIT_FLAG", "2"}, {"ETC", "300"}, {"WORK_TODATE", "120"},
          {"ACTUAL_START", stamp("2024-01-08")}, {"LAST_SUBMITTED", stamp("2024-01-08", "00:00")}},
         999);
  days(db, "T1", "A1", "R1", {{"2024-01-08", 480, 120, 1}, {"2024-01-09", 300, 0, 0}});
  // Not started: the estimate alone.
  assign(db, "T2", "A2", "R1", "2024-01-08", "2024-01-10", {{"BIT_FLAG", "2"}, {"ETC", "300"}},
         999);
  days(db, "T2", "A2", "R1", {{"2024-01-08", 300, 0, 0}});
  // Another flag: PROPOSED_WORK as stored.
  assign(db, "T3", "A3", "R1", "2024-01-08", "2024-01-10", {{"BIT_FLAG", "1"}, {"ETC", "300"}},
         995);
  days(db, "T3", "A3", "R1", {{"2024-01-08", 300, 0, 0}});
  ASSERT_EQ(0, net.read()) << net.logText();
  EXPECT_EQ(std::string::npos, net.logText().find("error")) << net.logText();
  work_type* w1 = net.work("R1", "T1");
  EXPECT_EQ(420, w1->proposed_work);
  EXPECT_EQ(1, w1->hasActualStart);
  EXPECT_EQ(0, w1->ass_delay);
  EXPECT_EQ(day("2024-01-08"), w1->last_submitted);
  EXPECT_EQ(day("2024-01-09"), w1->FSCHED_date);
  EXPECT_EQ(300, w1->FSCHED_effort);
  EXPECT_EQ(300, net.work("R1", "T2")->proposed_work);
  EXPECT_EQ(995, net.work("R1", "T3")->proposed_work);
  // The unresolved duration grows by the estimate and the work done.
  EXPECT_EQ(480 + 300 + 120, db.scalar("select UNRESOLVED_DURATION from Lev_input_ass_data "
                                       "where TASK_ID='T1'"));
}

TEST(AssignmentReader, WorkInProgressTakesItsDaysFromTheLastSubmittedDay) {
  TestDb db;
  Net net(db);
  net.task("T1", "2024-01-08", "2024-01-12");
  net.task("T2", "2024-01-08", "2024-01-12");
  const std::map<std::string, std::string> started = {
      {"ACTUAL_START", stamp("2024-01-05")},
      {"LAST_SUBMITTED", stamp("2024-01-08", "00:00")},
      {"ETC", "1200"},
      {"WORK_TODATE", "680"}};
  // Days before the last submitted day do not count; after the actual days
  // the first day without actual work is the first scheduled day.
  assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-12", started);
  days(db, "T1", "A1", "R1",
       {{"2024-01-05", 480, 480, 1},
        {"2024-01-08", 480, 480, 1},
        {"2024-01-09", 480, 200, 1},
        {"2024-01-10", 360, 0, 0},
        {"2024-01-11", 480, 0, 0},
        {"2024-01-12", 240, 0, 0}});
  // Only actual days: no first scheduled day; the work left is the rest of
  // the last actual day (480 - 200).
  assign(db, "T2", "A2", "R1", "2024-01-08", "2024-01-12", started);
  days(db, "T2", "A2", "R1", {{"2024-01-08", 480, 480, 1}, {"2024-01-09", 480, 200, 1}});
  ASSERT_EQ(0, net.read()) << net.logText();
  EXPECT_EQ(std::string::npos, net.logText().find("error")) << net.logText();

  work_type* w1 = net.work("R1", "T1");
  EXPECT_EQ(day("2024-01-10"), w1->FSCHED_date);
  EXPECT_EQ(360, w1->FSCHED_effort);
  EXPECT_EQ(1200 + 680, w1->duration);  // the remaining work
  work_type* w2 = net.work("R1", "T2");
  EXPECT_EQ(0, w2->FSCHED_date);
  EXPECT_EQ(280, w2->duration);
  EXPECT_EQ(1, w2->hasActualStart);
}

TEST(AssignmentReader, ActualFinishWithWorkLeftReopensTheTaskAndTheRecordsAbove) {
  TestDb db;
  Net net(db);
  activity_type* t1 = net.task("T1", "2024-01-08", "2024-01-10");
  activity_type* t2 = net.task("T2", "2024-01-08", "2024-01-10");
  t1->hasActualFinish = t2->hasActualFinish = 1;
  // T1's assignment is reported finished but still has 240 minutes left.
  assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
         {{"ACTUAL_START", stamp("2024-01-08")},
          {"ACTUAL_FINISH", stamp("2024-01-09", "12:00")},
          {"ETC", "240"},
          {"WORK_TODATE", "720"}});
  days(db, "T1", "A1", "R1",
       {{"2024-01-08", 480, 480, 1}, {"2024-01-09", 480, 240, 1}, {"2024-01-10", 240, 0, 0}});
  // T2's is finished: its duration is the work done.
  assign(db, "T2", "A2", "R2", "2024-01-08", "2024-01-10",
         {{"ACTUAL_START", stamp("2024-01-08")},
          {"ACTUAL_FINISH", stamp("2024-01-10", "17:00")},
          {"WORK_TODATE", "1205"},
          {"PLANNED_WORK", "1205"}});
  days(db, "T2", "A2", "R2",
       {{"2024-01-08", 480, 480, 1}, {"2024-01-09", 480, 480, 1}, {"2024-01-10", 240, 245, 1}});
  ASSERT_EQ(0, net.read()) << net.logText();
  EXPECT_EQ(std::string::npos, net.logText().find("error")) << net.logText();

  EXPECT_EQ(0, t1->hasActualFinish);
  EXPECT_EQ(0, net.act("P1")->hasActualFinish);
  EXPECT_EQ(0, net.act("ROOT")->hasActualFinish);
  EXPECT_EQ(1, t2->hasActualFinish);
  work_type* w1 = net.work("R1", "T1");
  EXPECT_EQ(0, w1->hasActualFinish);
  EXPECT_EQ(day("2024-01-09"), w1->last_submitted);  // the actual finish's day
  EXPECT_EQ(day("2024-01-10"), w1->FSCHED_date);
  EXPECT_EQ(960, w1->duration);

  work_type* w2 = net.work("R2", "T2");
  EXPECT_EQ(1, w2->hasActualFinish);
  EXPECT_EQ(1205, w2->duration);
  EXPECT_EQ(day("2024-01-10"), w2->last_submitted);
  EXPECT_EQ(day("2024-01-08"), w2->FSCHED_date);  // first row of the plain day query
}

TEST(AssignmentReader, ContouredWorkLastsTheCalendarTimeOfItsDays) {
  TestDb db;
  Net net(db);
  net.task("T1", "2024-01-08", "2024-01-12");
  net.task("T2", "2024-01-08", "2024-01-12");
  net.task("T3", "2024-01-08", "2024-01-12");
  net.task("T4", "2024-01-08", "2024-01-12");
  // Monday 08:00 to Friday 08:00 + 120 = 10:00: four full days and 120.
  assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-12",
         {{"C_EFFORT", "1"}, {"CONTOUR_TYPE", "2"}, {"ETC", "900"}});
  days(db, "T1", "A1", "R1",
       {{"2024-01-08", 240, 0, 0}, {"2024-01-09", 480, 0, 0}, {"2024-01-12", 120, 0, 0}});
  // A full last day (Thursday) ends at Friday's working start: 4 x 480. The
  // contour kind comes from bits 12-16 of C_CONTOUR (2).
  assign(db, "T2", "A2", "R1", "2024-01-08", "2024-01-12",
         {{"C_EFFORT", "1"}, {"CONTOUR_TYPE", "1"}, {"C_CONTOUR", std::to_string(2 << 12)},
          {"ETC", "900"}});
  days(db, "T2", "A2", "R1", {{"2024-01-08", 240, 0, 0}, {"2024-01-11", 480, 0, 0}});
  // A flat contour (kind 1) keeps the remaining work.
  assign(db, "T3", "A3", "R1", "2024-01-08", "2024-01-12",
         {{"C_EFFORT", "1"}, {"CONTOUR_TYPE", "1"}, {"C_CONTOUR", std::to_string(1 << 12)},
          {"ETC", "900"}});
  days(db, "T3", "A3", "R1", {{"2024-01-08", 240, 0, 0}, {"2024-01-11", 480, 0, 0}});
  // No remaining work: the contour's duration at half time, 960 minutes of
  // work at 240 a day = four standard days.
  assign(db, "T4", "A4", "R1", "2024-01-08", "2024-01-12", {{"UNITS_MSP", "5000"}}, 960);
  days(db, "T4", "A4", "R1", {{"2024-01-08", 240, 0, 0}});
  ASSERT_EQ(0, net.read()) << net.logText();
  EXPECT_EQ(std::string::npos, net.logText().find("error")) << net.logText();

  EXPECT_EQ(4 * 480 + 120, net.work("R1", "T1")->duration);
  EXPECT_EQ(4 * 480 + 120, net.work("R1", "T1")->dur_cont_eff);
  EXPECT_EQ(4 * 480, net.work("R1", "T2")->duration);
  EXPECT_EQ(900, net.work("R1", "T3")->duration);
  EXPECT_EQ(0, net.work("R1", "T3")->dur_cont_eff);
  EXPECT_EQ(1920, net.work("R1", "T4")->duration);
}

TEST(AssignmentReader, SequenceIdsNameTasksAndResources) {
  TestDb db;
  storage_manager_type* ids = smanagerCreateNew();
  char projectSeq[SEQ_UID_SIZE] = {}, taskSeq[SEQ_UID_SIZE] = {};
  int ok = 0;
  // The project and its task were named when the items were read.
  ASSERT_EQ(0, doFindCreateActSeqUid("P1", 1, projectSeq, ids, 1, &ok, nullptr));
  ASSERT_EQ(0, doFindCreateActSeqUid("T1", 2, taskSeq, ids, 1, &ok, nullptr));
  EXPECT_STREQ("0000000", projectSeq);
  EXPECT_STREQ("0000001", taskSeq);
  smanagerDelete(ids);
  {
    Net net(db, projectSeq);
    net.task("T1", "2024-01-08", "2024-01-09", taskSeq);
    assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-09", {{"ETC", "480"}});
    assign(db, "T1", "A2", "R2", "2024-01-08", "2024-01-09", {{"ETC", "240"}});
    days(db, "T1", "A1", "R1", {{"2024-01-08", 480, 0, 0}});
    days(db, "T1", "A2", "R2", {{"2024-01-09", 240, 0, 0}});
    ASSERT_EQ(0, net.read(1)) << net.logText();
    // Resources get ids of their own, from 0000000, created as met.
    ASSERT_NE(nullptr, net.work("0000000", taskSeq));
    ASSERT_NE(nullptr, net.work("0000001", taskSeq));
    EXPECT_EQ(480, net.work("0000000", taskSeq)->duration);
    EXPECT_EQ(2, db.scalar("select count(*) from Lev_res_uids where TYPE_ID=3"));
    EXPECT_EQ(1, db.scalar("select count(*) from Lev_res_uids where RESOURCE_ID='R2' and "
                           "SEQUENT_ID='0000001'"));

    // A task of the database without an id stops the load.
    db.item({.project = "P1", .parent = "C1", .id = "T7"});
    ASSERT_EQ(0, db.store().execute("delete from TASK_ASSIGNMENTS"));
    assign(db, "T7", "A7", "R1", "2024-01-08", "2024-01-09", {{"ETC", "480"}});
    EXPECT_EQ(ASS_READ_ERR_TASK_UID, net.read(1));
    EXPECT_NE(std::string::npos,
              net.logText().find("\n\n***** error(1) in doReadAssignmentsUnderProjectsDB: could "
                                 "not match seq_uid for task: T7  "));
  }
}

// Each data error from the database: its message in the log, the code of
// the call, and whether the user was told (the notification carries the
// message with the contact line, ahead of what was collected before).
TEST(AssignmentReader, DataErrorsAreReportedWithTheirCodesAndNotifications) {
  struct Case {
    const char* name;
    std::function<void(TestDb&)> rows;
    int code;
    const char* head;
    const char* contact;  // null: not notified
    int uids = 0;
  };
  const std::string inProgress = stamp("2024-01-08");
  const std::vector<Case> cases = {
      {"project without sequence id", [](TestDb&) {}, ASS_READ_ERR_PROJECT_UID,
       "\n***** error(D-27)/data corruption for project in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: not existing project \n",
       nullptr, 1},
      {"null unresolved start",
       [](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10", {{"UNRESOLVED_START", "NULL"}});
       },
       ASS_READ_ERR_DATA,
       "\n***** error(D-28)/data corruption for project in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: wrong UNRESOLVED_START,"
       "UNRESOLVED_FINISH or UNRESOLVED_DURATION \n",
       "Please contact to supporting team"},
      {"etc assignment without estimate",
       [](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
                {{"BIT_FLAG", "2"}, {"ETC", "NULL"}});
       },
       ASS_READ_ERR_DATA, "error(D-28)/data corruption", "Please contact to supporting team"},
      {"unreadable unresolved finish",
       [](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
                {{"UNRESOLVED_FINISH", "soon"}});
       },
       ASS_READ_ERR_DATA,
       "\n***** error(D-29)/data corruption in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: wrong ASSIGNMENT UNRESOLVED_START,"
       "UNRESOLVED_FINISH or UNRESOLVED_DURATION \n",
       "Please contact to supporting team"},
      {"negative remaining work",
       [](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10", {{"SCHED_WORK", "100"}});
         days(db, "T1", "A1", "R1", {{"2024-01-08", 480, 0, 0}});
       },
       0,
       "\n\n***** error(D-30)/data corruption in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: negative value of h_remaining_work \n",
       "Please contact to the supporting team"},
      {"work in progress without days",
       [inProgress](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
                {{"ACTUAL_START", inProgress}, {"ETC", "480"}});
         days(db, "T1", "A1", "R1", {{"2024-01-05", 480, 480, 1}});  // before it started
       },
       ASS_READ_ERR_DATA,
       "\n\n***** error(D-31)/data corruption in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: reading 'TASK_DAY_OF_YEAR' table, "
       "there must be at least one record for the existing assignment \n",
       "Please contact to supporting team"},
      {"planned work without days",
       [](TestDb& db) { assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10"); },
       ASS_READ_ERR_DATA,
       "\n\n***** error(D-32)/data corruption in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: reading 'TASK_DAY_OF_YEAR' "
       "table(2), there must be ar least one record for the existing assignment",
       "Please contact to supporting team"},
      {"finish after the actual finish",
       [](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10",
                {{"ACTUAL_START", stamp("2024-01-08")},
                 {"ACTUAL_FINISH", stamp("2024-01-09", "17:00")},
                 {"WORK_TODATE", "960"},
                 {"PLANNED_WORK", "960"}});
         days(db, "T1", "A1", "R1", {{"2024-01-08", 480, 480, 1}});
       },
       0,
       "\n\n***** error(D-33)/data corruption in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: reading 'TASK_ASSIGNMENTS' table, "
       "ACTUAL_FINISH must be <= then LAST_SUBMITTED \n",
       nullptr},
      {"first scheduled day after the task",
       [](TestDb& db) {
         assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10", {{"ETC", "480"}});
         days(db, "T1", "A1", "R1", {{"2024-01-15", 480, 0, 0}});
       },
       0,
       "\n\n***** error(D-34)/data corruption in Lev_inputDataDB "
       "(doReadAssignmentsUnderProjectsDB) \nerror type: illegal first scheduled date in "
       "'TASK_DAY_OF_YEAR' \n",
       "Please contact to supporting team"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TestDb db;
    Net net(db, c.uids ? "0000042" : "P1");
    net.task("T1", "2024-01-08", "2024-01-10");
    c.rows(db);
    std::strcpy(net.message.get(), "earlier news");
    EXPECT_EQ(c.code, net.read(c.uids));
    const std::string log = net.logText();
    EXPECT_NE(std::string::npos, log.find(c.head)) << log;
    EXPECT_EQ(std::string::npos, log.find("Please contact")) << log;
    const std::string message = net.message.get();
    if (c.contact != nullptr) {
      EXPECT_EQ(1, db.scalar("select count(*) from KOR_WORKFLOWS"));
      EXPECT_NE(std::string::npos, message.find(c.head)) << message;
      // The contact line follows the LineNum line; what was said before
      // comes last.
      std::size_t lineNum = message.find("LineNum = ");
      std::size_t contact = message.find(c.contact);
      ASSERT_NE(std::string::npos, contact) << message;
      EXPECT_LT(lineNum, contact);
      const std::string between = message.substr(lineNum, contact - lineNum);
      EXPECT_EQ(between.size() - 1, between.find('\n')) << between;
      EXPECT_EQ("earlier news", message.substr(message.size() - 12));
      EXPECT_EQ(1, db.scalar("select count(*) from KOR_WORKFLOWS where "
                             "SUBJECT='[Started] Levelling P1'"));
    } else {
      EXPECT_EQ(0, db.scalar("select count(*) from KOR_WORKFLOWS"));
      EXPECT_EQ("earlier news", message);
    }
  }
}

// A message buffer with 5000 bytes or less free is not added to; the error
// still stops the load.
TEST(AssignmentReader, NoNotificationWhenTheMessageBufferIsNearlyFull) {
  for (int used : {16384 - 5001, 16384 - 5000}) {
    SCOPED_TRACE(used);
    TestDb db;
    Net net(db);
    net.task("T1", "2024-01-08", "2024-01-10");
    assign(db, "T1", "A1", "R1", "2024-01-08", "2024-01-10", {{"UNRESOLVED_DURATION", "NULL"}});
    std::memset(net.message.get(), 'x', static_cast<std::size_t>(used));
    net.message[static_cast<std::size_t>(used)] = '\0';
    EXPECT_EQ(ASS_READ_ERR_DATA, net.read());
    const bool sent = used == 16384 - 5001;
    EXPECT_EQ(sent ? 1 : 0, db.scalar("select count(*) from KOR_WORKFLOWS"));
    const std::size_t len = std::strlen(net.message.get());
    if (sent) {
      // Timestamp, message and the earlier text would pass the buffer's
      // end: the notification keeps within it.
      EXPECT_LE(len, 16384u);
    } else {
      EXPECT_EQ(static_cast<std::size_t>(used), len);
    }
  }
}

}  // namespace
