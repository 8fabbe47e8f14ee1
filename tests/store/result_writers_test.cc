// The result writers against a real SQLite database: the values that reach
// Lev_kor_wbs and the Lev_circ tables, the pair forms through Lev_act_uids,
// the commit points (counted by a LEVEL_COMMIT of the test's own and seen
// from a second connection), and the failure messages.
#include "store/result_writers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "host/procedures.h"
#include "host/sqlite_store.h"
#include "model/activity.h"
#include "support/test_db.h"

namespace {

const int kOrigin = dateStringToJulian("1950-01-01");
int day(const char* text) { return dateStringToJulian(text) - kOrigin; }

// A project whose calendar is the five-day week 08:00-12:00, 13:00-17:00,
// from 2024-01-01 for a year.
project_type* standardProject(const char* name) {
  project_type* p = projectCreateNew(name);
  const std::string work = testing::dayBitsHex(testing::standardDay());
  const std::string none = testing::dayBitsHex(testing::DayBits{});
  for (int w = 1; w <= 7; ++w) {
    setProjectBitsForDaysOfWeek(p, w, (w == 1 || w == 7 ? none : work).c_str());
  }
  setProjectJulianDateOrigin(p, kOrigin);
  setProjectFirstDay(p, day("2024-01-01"));
  setProjectFirstDayOfWeek(p, julianToWeekDay(dateStringToJulian("2024-01-01")));
  setProjectSizeOfCalendar(p, 366);
  setProjectMinutesPerDay(p, 480);
  return p;
}

// An activity list bracketed by the two nodes, owning its items.
class Items {
 public:
  Items() {
    ll_addtail(list_, activityCreateNew("start", 0, nullptr, 0, 0, 0, 0, 0));
    ll_addtail(list_, activityCreateNew("finish", 0, nullptr, 0, 0, 0, 0, 0));
  }
  ~Items() {
    for (linktype* l = list_->phead; l != nullptr; l = l->pnext) {
      if (l->pcontents != nullptr) activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(list_);
    projectDelete(project_);
  }
  Items(const Items&) = delete;
  Items& operator=(const Items&) = delete;

  // A task (or other kind) from Friday 2024-01-12 08:00 to Monday
  // 2024-01-15 17:00, inserted before the finish node.
  activity_type* add(const std::string& name, int16_t type = 3, int32_t effort = 960) {
    activity_type* a = activityCreateNew(name.c_str(), type, project_, day("2024-01-12"),
                                         day("2024-01-15"), effort, 0, 0);
    ll_tail(list_);
    ll_insertBefore(list_, a);
    return a;
  }
  linked_list_type* list() { return list_; }

 private:
  project_type* project_ = standardProject("P1");
  linked_list_type* list_ = ll_new(activityMatch, getActivityName);
};

// Reads what a writer printed.
class Log {
 public:
  Log() : file_(std::tmpfile()) {}
  ~Log() { std::fclose(file_); }
  FILE* file() { return file_; }
  std::string text() {
    std::string out;
    std::rewind(file_);
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, file_)) > 0) out.append(buf, n);
    return out;
  }

 private:
  FILE* file_;
};

void wbsRow(testing::TestDb& db, const std::string& id) {
  db.row("Lev_kor_wbs", {{"PROJECT_ID", "P1"}, {"ELEMENT_ID", id}});
}

std::string text(testing::TestDb& db, const std::string& sql) {
  db::NameText out;
  int16_t ind = 0;
  EXPECT_EQ(db.store().selectInto(sql, {}, {db::HostVar(out, &ind)}), 0) << sql;
  return ind < 0 ? "NULL" : out.c_str();
}

// ---------------------------------------------------------------------------
// Values

TEST(ResultStamps, StartAndFinishComeFromTheDaysWorkingTimesAndTheOffsets) {
  Items items;
  activity_type* t = items.add("T1");
  char start[27], finish[27];
  formatActivityLevelStamps(t, kOrigin, start, finish);
  EXPECT_STREQ(start, "2024-01-12 08:00:00.000000");
  EXPECT_STREQ(finish, "2024-01-15 17:00:00.000000");
  setActivityTimeOffsetFromStart(t, 300);  // 13:00 after the lunch hour
  setActivityTimeOffsetFromFinish(t, 500);
  formatActivityLevelStamps(t, kOrigin, start, finish);
  EXPECT_STREQ(start, "2024-01-12 13:00:00.000000");
  EXPECT_STREQ(finish, "2024-01-15 08:40:00.000000");
}

TEST(ResultStamps, WorkingMinutesOfAPlacementSkipTheWeekendAndTheBreaks) {
  Items items;
  activity_type* c = items.add("C", 2);
  EXPECT_EQ(workingMinutesOfPlacement(c), 960);  // Friday and Monday
  setActivityTimeOffsetFromStart(c, 240);        // from 12:00: the afternoon only
  setActivityTimeOffsetFromFinish(c, 540);       // to Monday 08:00
  EXPECT_EQ(workingMinutesOfPlacement(c), 240);
  c->finish_date = c->start_date;
  setActivityTimeOffsetFromFinish(c, 60);  // Friday 12:00 to 16:00
  EXPECT_EQ(workingMinutesOfPlacement(c), 180);
  c->finish_date = c->start_date - 1;
  EXPECT_EQ(workingMinutesOfPlacement(c), 0);
}

TEST(ResultWriters, FullWriterPutsTheValuesIntoLevKorWbs) {
  testing::TestDb db;
  for (const char* id : {"T1", "C1", "F1", "M1", "X1"}) wbsRow(db, id);
  Items items;
  activity_type* t = items.add("T1");
  t->slack = 960;
  t->task_level_order = 3;
  activity_type* c = items.add("C1", 2, 5);  // effort comes from its dates
  c->ignoreHolesInCalendar = 2;
  activity_type* f = items.add("F1");
  setActivityHasActualFinish(f, 1);
  setActivityActualStartTimeStamp(f, "2024-01-02 09:00:00.000000");
  setActivityActualFinishTimeStamp(f, "2024-01-03 11:30:00.000000");
  f->task_level_order = 7;
  activity_type* m = items.add("M1", 3, 5);  // a milestone
  m->task_level_order = -4;
  activity_type* x = items.add("X1");
  x->isExternalPred = 1;

  ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 1, 0, 0, nullptr, 200208),
            0);
  EXPECT_EQ(text(db, "select LEVEL_START from Lev_kor_wbs where ELEMENT_ID='T1'"),
            "2024-01-12 08:00:00.000000");
  EXPECT_EQ(text(db, "select LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='T1'"),
            "2024-01-15 17:00:00.000000");
  EXPECT_EQ(db.scalar("select LEVEL_DURATION from Lev_kor_wbs where ELEMENT_ID='T1'"), 960);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID='T1'"), 960);
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='T1'"), 3);

  EXPECT_EQ(db.scalar("select LEVEL_DURATION from Lev_kor_wbs where ELEMENT_ID='C1'"), 960);
  EXPECT_EQ(c->effort, 960);
  EXPECT_EQ(c->ignoreHolesInCalendar, 0) << "containers are reset with the option";

  EXPECT_EQ(text(db, "select LEVEL_START from Lev_kor_wbs where ELEMENT_ID='F1'"),
            "2024-01-02 09:00:00.000000");
  EXPECT_EQ(text(db, "select LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='F1'"),
            "2024-01-03 11:30:00.000000");
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='F1'"), -1);

  EXPECT_EQ(db.scalar("select LEVEL_DURATION from Lev_kor_wbs where ELEMENT_ID='M1'"), 0);
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='M1'"), -1);
  EXPECT_EQ(text(db, "select LEVEL_START from Lev_kor_wbs where ELEMENT_ID='X1'"), "NULL")
      << "outside items are not written";
}

TEST(ResultWriters, WithoutTheSlackOptionTotalSlackIsLeftAlone) {
  testing::TestDb db;
  db.row("Lev_kor_wbs", {{"ELEMENT_ID", "T1"}, {"TOTAL_SLACK", "77"}});
  Items items;
  items.add("T1")->slack = 960;
  ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 0, 0, 0, 0, nullptr, 200208),
            0);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs"), 77);
  EXPECT_EQ(db.scalar("select LEVEL_DURATION from Lev_kor_wbs"), 960);
}

TEST(ResultWriters, AListOfTheTwoNodesWritesNothing) {
  testing::TestDb db;
  wbsRow(db, "start");
  Items items;
  ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 0, 0, nullptr, 200208),
            0);
  ASSERT_EQ(doUpdateActivitiesSlackValuesInDB(items.list(), nullptr, 0, nullptr, 200208), 0);
  ASSERT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, nullptr, 200208), 0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_kor_wbs where LEVEL_START is not null or "
                      "TOTAL_SLACK is not null or LEVEL_INDEX is not null"),
            0);
}

TEST(ResultWriters, SlackWriterRoundsSmallSlackToZeroAndMarksFinishedItems) {
  testing::TestDb db;
  for (const char* id : {"S5", "S6", "F"}) wbsRow(db, id);
  Items items;
  items.add("S5")->slack = 5;
  items.add("S6")->slack = 6;
  activity_type* f = items.add("F");
  f->slack = 900;
  f->hasActualFinish = 1;
  Log log;
  ASSERT_EQ(doUpdateActivitiesSlackValuesInDB(items.list(), nullptr, 1, log.file(), 200208), 0);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID='S5'"), 0);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID='S6'"), 6);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID='F'"), 1);
  EXPECT_NE(log.text().find("slack_days_round   1.88"), std::string::npos) << log.text();
  EXPECT_NE(log.text().find("Time: Updating Data takes :"), std::string::npos);
}

TEST(ResultWriters, LevelIndexWriterWritesOnlyTheIndex) {
  testing::TestDb db;
  for (const char* id : {"A", "B"}) wbsRow(db, id);
  Items items;
  items.add("A")->task_level_order = 12;
  items.add("B")->task_level_order = -1;
  ASSERT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, nullptr, 200208), 0);
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='A'"), 12);
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='B'"), -1);
  EXPECT_EQ(db.scalar("select count(*) from Lev_kor_wbs where LEVEL_START is not null"), 0);
}

// ---------------------------------------------------------------------------
// Pair forms

TEST(ResultWriters, PairFormsWriteUnderTheElementIdOfTheSequenceId) {
  testing::TestDb db;
  for (const char* id : {"ELEMENT-A", "ELEMENT-B", "ELEMENT-X"}) wbsRow(db, id);
  db.row("Lev_act_uids", {{"SEQUENT_ID", "0000001"}, {"ELEMENT_ID", "ELEMENT-A"}, {"TYPE_ID", "2"}});
  db.row("Lev_act_uids", {{"SEQUENT_ID", "0000002"}, {"ELEMENT_ID", "ELEMENT-B"}, {"TYPE_ID", "2"}});
  db.row("Lev_act_uids", {{"SEQUENT_ID", "0000003"}, {"ELEMENT_ID", "ELEMENT-X"}, {"TYPE_ID", "2"}});
  db.row("Lev_act_uids", {{"SEQUENT_ID", "0000009"}, {"ELEMENT_ID", "GONE"}, {"TYPE_ID", "2"}});
  db.row("Lev_act_uids", {{"SEQUENT_ID", "0000001"}, {"ELEMENT_ID", "ELEMENT-B"}, {"TYPE_ID", "1"}});
  Items items;
  activity_type* a = items.add("0000001");
  a->task_level_order = 4;
  a->slack = 30;
  activity_type* b = items.add("0000002");
  b->task_level_order = 5;
  b->slack = 3;
  activity_type* x = items.add("0000003");
  x->isExternalSucc = 1;
  x->task_level_order = 6;
  Log log;
  // The list writer hands the work to the pair form with TYPE_ID 2.
  ASSERT_EQ(doUpdateLevelIndexOnly(items.list(), 1, 0, log.file(), 200208), 0);
  ASSERT_EQ(doUpdateActivitiesSlackValuesInDB_2(items.list(), nullptr, 2, 0, log.file(), 200208),
            0);
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='ELEMENT-A'"), 4);
  EXPECT_EQ(db.scalar("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='ELEMENT-B'"), 5);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID='ELEMENT-A'"), 30);
  EXPECT_EQ(db.scalar("select TOTAL_SLACK from Lev_kor_wbs where ELEMENT_ID='ELEMENT-B'"), 0);
  EXPECT_EQ(text(db, "select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='ELEMENT-X'"), "NULL");
  EXPECT_NE(log.text().find("\n******* error !!! in doUpdateLevelIndexOnly_2: cannot find "
                            "activity with h_seq_uid(h_element_id) = 0000009 ("),
            std::string::npos);
  EXPECT_NE(log.text().find("in doUpdateActivitiesSlackValuesInDB_2: cannot find activity"),
            std::string::npos);
}

// ---------------------------------------------------------------------------
// Circular chains

TEST(CircularWriter, ItemsGoToTheTableOfTheModeWithTheirWbsCode) {
  testing::TestDb db;
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
  db.item({.project = "P1", .parent = "P1", .id = "A", .levelId = 3});
  db.item({.project = "P1", .parent = "P1", .id = "B", .extra = {{"WBS_CODE", "1.2.7"}}});
  Items items;
  activity_type* a = items.add("A");
  a->level_id = 3;
  activity_type* nowhere = items.add("NOWHERE");
  activity_type* b = items.add("B", 2);
  b->level_id = 2;
  linked_list_type* chain = ll_new(activityMatch, getActivityName);
  for (activity_type* x : {a, nowhere, b}) ll_addtail(chain, x);
  Log log;
  for (int mode : {0, 1, 2, 7}) ASSERT_EQ(doUpdateTEMPcircular(chain, mode, log.file(), 200208), 0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_1"), 2);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_2"), 2);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3"), 4) << "modes 0 and 7";
  EXPECT_EQ(text(db, "select WBS_CODE_1 from Lev_circ_1 where ELEMENT_ID_1='B'"), "1.2.7");
  EXPECT_EQ(db.scalar("select SEQ_NUM_RECORDS from Lev_circ_2 where ELEMENT_ID_2='B'"), 2);
  EXPECT_EQ(db.scalar("select TYPE_ID_2 from Lev_circ_2 where ELEMENT_ID_2='B'"), 2);
  EXPECT_EQ(db.scalar("select LEVEL_ID_1 from Lev_circ_1 where ELEMENT_ID_1='A'"), 3);
  EXPECT_NE(log.text().find("**** error (1) in Lev_output: doUpdateTEMPcircular: SC_STATE = 100 "
                            "mode 0 h_project_id="),
            std::string::npos);
  ll_delete(chain);
}

TEST(CircularWriter, AFailingInsertEndsTheWriterWithItsMessage) {
  testing::TestDb db;
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
  db.item({.project = "P1", .parent = "P1", .id = "A"});
  ASSERT_EQ(db.store().executeScript("drop table Lev_circ_2"), 0);
  Items items;
  linked_list_type* chain = ll_new(activityMatch, getActivityName);
  ll_addtail(chain, items.add("A"));
  Log log;
  EXPECT_EQ(doUpdateTEMPcircular(chain, 2, log.file(), 200208), 200208);
  EXPECT_NE(log.text().find("\n3000.3- sqlca.sqlcode:"), std::string::npos);
  EXPECT_NE(log.text().find("**** error (2) in Lev_output: doUpdateTEMPcircular:"),
            std::string::npos);
  EXPECT_EQ(db.store().status().message[0], '\0') << "the message is cleared after printing";
  ll_delete(chain);
}

// ---------------------------------------------------------------------------
// Failures

TEST(ResultWriters, AFailingUpdatePrintsTheWritersMessageAndReturnsTheBase) {
  testing::TestDb db;
  ASSERT_EQ(db.store().executeScript("drop table Lev_kor_wbs"), 0);
  Items items;
  items.add("T1");
  Log log;
  EXPECT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 0, 0, log.file(), 200208),
            200208);
  EXPECT_EQ(doUpdateActivitiesSlackValuesInDB(items.list(), nullptr, 0, log.file(), 200208),
            200208);
  EXPECT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, log.file(), 200208), 200208);
  const std::string t = log.text();
  EXPECT_NE(t.find("\n\n\n !!! error in Lev_output: doUpdateActivitiesInDB: sqlca.sqlcode = "),
            std::string::npos);
  EXPECT_NE(t.find("proj->name P1 optionUpdateSlackValues 1"), std::string::npos);
  EXPECT_NE(t.find("\n\n\n !!! error in Lev_output: doUpdateActivitiesSlackValuesInDB: SC_STATE = "),
            std::string::npos);
  EXPECT_NE(t.find("\n\n\n !!! error in Lev_output: doUpdateLevelIndexOnly: SC_STATE = "),
            std::string::npos);
}

TEST(ResultWriters, RefusalsAndMissingConnection) {
  Items items;
  items.add("T1");
  Log log;
  {
    testing::TestDb db;
    EXPECT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 1, 0, log.file(), 9),
              9);
    EXPECT_NE(log.text().find("\n *** error *** doUpdateActivitiesInDB The code shold not arrive "
                              "here !!! "),
              std::string::npos);
    ll_tail(items.list());
    ll_insertBefore(items.list(), nullptr);
    EXPECT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 0, 0, log.file(), 9), 9);
    EXPECT_NE(log.text().find("\n *** error *** in doUpdateActivitiesInDB: NULL activity !!! "),
              std::string::npos);
  }
  // No store bound to the thread any more.
  EXPECT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, nullptr, 200208), 200208);
  EXPECT_EQ(doUpdateTEMPcircular(items.list(), 1, nullptr, 200208), 200208);
}

// ---------------------------------------------------------------------------
// Commit points

// A second connection to the test database whose LEVEL_COMMIT is counted,
// bound to the thread while it lives.
class CountingConnection {
 public:
  explicit CountingConnection(testing::TestDb& db) {
    host::addBuiltinProcedures(registry_);
    registry_.add("LEVEL_COMMIT", 0,
                  [this](host::SqliteStore& s, db::Vars, const db::HostVar* result) {
                    ++commits_;
                    int32_t rc = s.commitAndBegin();
                    if (result != nullptr) result->setInteger(rc);
                    return rc;
                  });
    host::SqliteOptions options;
    options.procedures = &registry_;
    store_ = host::SqliteStore::open(db.path(), options);
    binding_ = std::make_unique<db::StoreBinding>(*store_);
  }
  int commits() const { return commits_; }

 private:
  host::ProcedureRegistry registry_;
  int commits_ = 0;
  std::unique_ptr<host::SqliteStore> store_;
  std::unique_ptr<db::StoreBinding> binding_;
};

void manyRows(testing::TestDb& db, int n) {
  ASSERT_EQ(db.store().execute("with recursive k(i) as (select 1 union all select i + 1 from k "
                               "where i < ?) insert into Lev_kor_wbs (ELEMENT_ID) select "
                               "printf('I%05d', i) from k",
                               {n}),
            0);
  db.commit();
}

void manyItems(Items& items, int n) {
  for (int i = 1; i <= n; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "I%05d", i);
    activity_type* a = items.add(name);
    a->task_level_order = i;
    a->slack = 10;
  }
}

// Rows the first connection sees written, i.e. committed by the second.
int64_t committedRows(testing::TestDb& db, const char* column) {
  db.commit();  // a fresh read snapshot
  return db.scalar(std::string("select count(*) from Lev_kor_wbs where ") + column +
                   " is not null");
}

TEST(ResultCommits, FullWriterCommitsBeforeItsThreeHundredthAndSixHundredthRow) {
  testing::TestDb db;
  manyRows(db, 700);
  Items items;
  manyItems(items, 700);
  {
    CountingConnection second(db);
    ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 0, 0, nullptr, 200208),
              0);
    EXPECT_EQ(second.commits(), 2);
    EXPECT_EQ(committedRows(db, "LEVEL_INDEX"), 599);
  }
  EXPECT_EQ(committedRows(db, "LEVEL_INDEX"), 599) << "the rest was never committed";
}

TEST(ResultCommits, FullWriterWithTwoHundredNinetyNineRowsDoesNotCommit) {
  testing::TestDb db;
  manyRows(db, 299);
  Items items;
  manyItems(items, 299);
  CountingConnection second(db);
  ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 0, 0, nullptr, 200208),
            0);
  EXPECT_EQ(second.commits(), 0);
  EXPECT_EQ(committedRows(db, "LEVEL_INDEX"), 0);
}

TEST(ResultCommits, SlackWritersCommitEveryFourHundredRows) {
  testing::TestDb db;
  manyRows(db, 900);
  for (int i = 1; i <= 401; ++i) {
    char seq[16], elem[16];
    std::snprintf(seq, sizeof seq, "%07d", i);
    std::snprintf(elem, sizeof elem, "I%05d", i);
    db.row("Lev_act_uids", {{"SEQUENT_ID", seq}, {"ELEMENT_ID", elem}, {"TYPE_ID", "2"}});
  }
  db.commit();
  Items items;
  manyItems(items, 900);
  {
    CountingConnection second(db);
    ASSERT_EQ(doUpdateActivitiesSlackValuesInDB(items.list(), nullptr, 0, nullptr, 200208), 0);
    EXPECT_EQ(second.commits(), 2);
    EXPECT_EQ(committedRows(db, "TOTAL_SLACK"), 799);
  }
  Items pairs;
  for (int i = 1; i <= 401; ++i) {
    char seq[16];
    std::snprintf(seq, sizeof seq, "%07d", i);
    pairs.add(seq)->task_level_order = 1;
  }
  CountingConnection second(db);
  ASSERT_EQ(doUpdateActivitiesSlackValuesInDB_2(pairs.list(), nullptr, 2, 0, nullptr, 200208), 0);
  EXPECT_EQ(second.commits(), 1);
}

TEST(ResultCommits, LevelIndexWriterCommitsEveryFiveThousandRows) {
  testing::TestDb db;
  manyRows(db, 10001);
  Items items;
  manyItems(items, 10001);
  CountingConnection second(db);
  ASSERT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, nullptr, 200208), 0);
  EXPECT_EQ(second.commits(), 2);
  EXPECT_EQ(committedRows(db, "LEVEL_INDEX"), 9999);
}

}  // namespace
