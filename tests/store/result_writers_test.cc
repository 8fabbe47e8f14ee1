// The result writers against a real SQLite database: the values that reach
// Lev_kor_wbs and the Lev_circ tables, the pair forms through Lev_act_uids,
// the commit points (counted by a LEVEL_COMMIT of the test's own, the rows
// after the last one rolled back), and the failure messages.
#include "store/result_writers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "host/procedures.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"
#include "support/test_db.h"

namespace {

const int kOrigin = dateStringToJulian("1950-01-01");
int day(const char* text) { return dateStringToJulian(text) - kOrigin; }

// An activity list bracketed by the two nodes, owning its items, whose
// project works Monday to Friday 08:00-12:00, 13:00-17:00 in 2024.
class Items {
 public:
  Items() {
    const std::string work = testing::dayBitsHex(testing::standardDay());
    const std::string none = testing::dayBitsHex(testing::DayBits{});
    for (int w = 1; w <= 7; ++w) {
      setProjectBitsForDaysOfWeek(project_, w, (w == 1 || w == 7 ? none : work).c_str());
    }
    setProjectFirstDay(project_, day("2024-01-01"));
    setProjectFirstDayOfWeek(project_, julianToWeekDay(dateStringToJulian("2024-01-01")));
    setProjectSizeOfCalendar(project_, 366);
    setProjectMinutesPerDay(project_, 480);
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
  // Friday 2024-01-12 08:00 to Monday 2024-01-15 17:00, before the finish.
  activity_type* add(const std::string& name, int16_t type = 3, int32_t effort = 960) {
    activity_type* a = activityCreateNew(name.c_str(), type, project_, day("2024-01-12"),
                                         day("2024-01-15"), effort, 0, 0);
    ll_tail(list_);
    ll_insertBefore(list_, a);
    return a;
  }
  linked_list_type* list() { return list_; }

 private:
  project_type* project_ = projectCreateNew("P1");
  linked_list_type* list_ = ll_new(activityMatch, getActivityName);
};

std::string read(FILE* file) {
  std::string out;
  std::rewind(file);
  char buf[4096];
  for (size_t n; (n = std::fread(buf, 1, sizeof buf, file)) > 0;) out.append(buf, n);
  return out;
}

std::string text(testing::TestDb& db, const std::string& sql) {
  db::NameText out;
  int16_t ind = 0;
  EXPECT_EQ(db.store().selectInto(sql, {}, {db::HostVar(out, &ind)}), 0) << sql;
  return ind < 0 ? "NULL" : out.c_str();
}
int64_t column(testing::TestDb& db, const char* col, const char* id) {
  return db.scalar(std::string("select ") + col + " from Lev_kor_wbs where ELEMENT_ID='" + id + "'");
}

TEST(ResultValues, WorkingMinutesOfAPlacementSkipTheWeekendAndTheBreaks) {
  Items items;
  activity_type* c = items.add("C", 2);
  struct Case {
    int finishDay, startOffset, finishOffset, minutes;
  } cases[] = {{day("2024-01-15"), 0, 0, 960},      // Friday and Monday
               {day("2024-01-15"), 240, 540, 240},  // Friday 12:00 to Monday 08:00
               {day("2024-01-12"), 240, 60, 180},   // Friday 12:00 to 16:00
               {day("2024-01-11"), 0, 0, 0}};       // finish before start
  for (const Case& k : cases) {
    c->finish_date = k.finishDay;
    setActivityTimeOffsetFromStart(c, k.startOffset);
    setActivityTimeOffsetFromFinish(c, k.finishOffset);
    EXPECT_EQ(workingMinutesOfPlacement(c), k.minutes) << k.startOffset << " " << k.finishOffset;
  }
}

TEST(ResultValues, FullWriterPutsTheValuesIntoLevKorWbs) {
  testing::TestDb db;
  for (const char* id : {"T1", "C1", "F1", "M1", "X1"}) db.row("Lev_kor_wbs", {{"ELEMENT_ID", id}});
  Items items;
  activity_type* t = items.add("T1");
  t->slack = 960;
  t->task_level_order = 3;
  setActivityTimeOffsetFromStart(t, 300);  // 13:00 after the lunch hour
  setActivityTimeOffsetFromFinish(t, 500);
  activity_type* c = items.add("C1", 2, 5);  // effort comes from its dates
  c->ignoreHolesInCalendar = 2;
  activity_type* f = items.add("F1");
  setActivityHasActualFinish(f, 1);
  setActivityActualStartTimeStamp(f, "2024-01-02 09:00:00.000000");
  setActivityActualFinishTimeStamp(f, "2024-01-03 11:30:00.000000");
  f->task_level_order = 7;
  items.add("M1", 3, 5)->task_level_order = -4;  // a milestone
  items.add("X1")->isExternalPred = 1;

  ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 1, 0, 0, nullptr, 200208), 0);
  EXPECT_EQ(text(db, "select LEVEL_START from Lev_kor_wbs where ELEMENT_ID='T1'"),
            "2024-01-12 13:00:00.000000");
  EXPECT_EQ(text(db, "select LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='T1'"),
            "2024-01-15 08:40:00.000000");
  EXPECT_EQ(column(db, "LEVEL_DURATION", "T1"), 960);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "T1"), 960);
  EXPECT_EQ(column(db, "LEVEL_INDEX", "T1"), 3);
  EXPECT_EQ(column(db, "LEVEL_DURATION", "C1"), 960);
  EXPECT_EQ(c->ignoreHolesInCalendar, 0) << "containers are reset with the option";
  EXPECT_EQ(text(db, "select LEVEL_START || LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='F1'"),
            "2024-01-02 09:00:00.0000002024-01-03 11:30:00.000000");
  EXPECT_EQ(column(db, "LEVEL_INDEX", "F1"), -1);
  EXPECT_EQ(column(db, "LEVEL_DURATION", "M1"), 0);
  EXPECT_EQ(column(db, "LEVEL_INDEX", "M1"), -1);
  EXPECT_EQ(text(db, "select LEVEL_START from Lev_kor_wbs where ELEMENT_ID='X1'"), "NULL")
      << "outside items are not written";
}

TEST(ResultValues, SlackAndIndexWritersWriteOnlyTheirColumn) {
  testing::TestDb db;
  for (const char* id : {"S5", "S6", "F"}) db.row("Lev_kor_wbs", {{"ELEMENT_ID", id}});
  Items items;
  items.add("S5")->slack = 5;
  items.add("S6")->slack = 6;
  activity_type* f = items.add("F");
  f->slack = 900;
  f->hasActualFinish = 1;
  f->task_level_order = 12;
  FILE* log = std::tmpfile();
  ASSERT_EQ(doUpdateActivitiesSlackValuesInDB(items.list(), nullptr, 1, log, 200208), 0);
  ASSERT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, nullptr, 200208), 0);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "S5"), 0);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "S6"), 6);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "F"), 1);
  EXPECT_EQ(column(db, "LEVEL_INDEX", "F"), -1);
  EXPECT_EQ(column(db, "LEVEL_INDEX", "S5"), -1);
  EXPECT_EQ(db.scalar("select count(*) from Lev_kor_wbs where LEVEL_START is not null"), 0);
  EXPECT_NE(read(log).find("slack_days_round   1.88"), std::string::npos);
  EXPECT_NE(read(log).find("\n Time: Updating Data takes :"), std::string::npos);
  std::fclose(log);

  // Without the slack option the full writer leaves TOTAL_SLACK alone.
  items.add("S7")->slack = 960;
  db.row("Lev_kor_wbs", {{"ELEMENT_ID", "S7"}, {"TOTAL_SLACK", "77"}});
  ASSERT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 0, 0, 0, 0, nullptr, 200208), 0);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "S7"), 77);
  EXPECT_EQ(column(db, "LEVEL_DURATION", "S7"), 960);
}

TEST(ResultValues, PairFormsWriteUnderTheElementIdOfTheSequenceId) {
  testing::TestDb db;
  for (const char* id : {"ELEMENT-A", "ELEMENT-B", "ELEMENT-X"}) {
    db.row("Lev_kor_wbs", {{"ELEMENT_ID", id}});
  }
  const char* pairs[][3] = {{"0000001", "ELEMENT-A", "2"}, {"0000002", "ELEMENT-B", "2"},
                            {"0000003", "ELEMENT-X", "2"}, {"0000009", "GONE", "2"},
                            {"0000001", "ELEMENT-B", "1"}};
  for (auto& p : pairs) {
    db.row("Lev_act_uids", {{"SEQUENT_ID", p[0]}, {"ELEMENT_ID", p[1]}, {"TYPE_ID", p[2]}});
  }
  Items items;
  activity_type* a = items.add("0000001");
  a->task_level_order = 4;
  a->slack = 30;
  activity_type* b = items.add("0000002");
  b->task_level_order = 5;
  b->slack = 3;
  activity_type* x = items.add("0000003");
  x->isExternalSucc = 1;
  FILE* log = std::tmpfile();
  // The list writer hands the work to the pair form with TYPE_ID 2.
  ASSERT_EQ(doUpdateLevelIndexOnly(items.list(), 1, 0, log, 200208), 0);
  ASSERT_EQ(doUpdateActivitiesSlackValuesInDB_2(items.list(), nullptr, 2, 0, log, 200208), 0);
  EXPECT_EQ(column(db, "LEVEL_INDEX", "ELEMENT-A"), 4);
  EXPECT_EQ(column(db, "LEVEL_INDEX", "ELEMENT-B"), 5);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "ELEMENT-A"), 30);
  EXPECT_EQ(column(db, "TOTAL_SLACK", "ELEMENT-B"), 0);
  EXPECT_EQ(text(db, "select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='ELEMENT-X'"), "NULL");
  const std::string t = read(log);
  EXPECT_NE(t.find("\n******* error !!! in doUpdateLevelIndexOnly_2: cannot find activity with "
                   "h_seq_uid(h_element_id) = 0000009 ("),
            std::string::npos);
  EXPECT_NE(t.find("in doUpdateActivitiesSlackValuesInDB_2: cannot find activity"), std::string::npos);
  std::fclose(log);
}

TEST(CircularWriter, ItemsGoToTheTableOfTheModeWithTheirWbsCode) {
  testing::TestDb db;
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
  db.item({.project = "P1", .parent = "P1", .id = "A"});
  db.item({.project = "P1", .parent = "P1", .id = "B", .extra = {{"WBS_CODE", "1.2.7"}}});
  Items items;
  linked_list_type* chain = ll_new(activityMatch, getActivityName);
  activity_type* a = items.add("A");
  a->level_id = 3;
  ll_addtail(chain, a);
  ll_addtail(chain, items.add("NOWHERE"));
  activity_type* b = items.add("B", 2);
  b->level_id = 2;
  ll_addtail(chain, b);
  FILE* log = std::tmpfile();
  for (int mode : {0, 1, 2, 7}) ASSERT_EQ(doUpdateTEMPcircular(chain, mode, log, 200208), 0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_1"), 2);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_2"), 2);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3"), 4) << "modes 0 and 7";
  EXPECT_EQ(text(db, "select WBS_CODE_1 from Lev_circ_1 where ELEMENT_ID_1='B'"), "1.2.7");
  EXPECT_EQ(db.scalar("select SEQ_NUM_RECORDS * 10 + TYPE_ID_2 from Lev_circ_2 where "
                      "ELEMENT_ID_2='B'"),
            22);
  EXPECT_NE(read(log).find("**** error (1) in Lev_output: doUpdateTEMPcircular: SC_STATE = 100 "
                           "mode 0 h_project_id="),
            std::string::npos);

  ASSERT_EQ(db.store().executeScript("drop table Lev_circ_2"), 0);
  EXPECT_EQ(doUpdateTEMPcircular(chain, 2, log, 200208), 200208);
  EXPECT_NE(read(log).find("\n3000.3- sqlca.sqlcode:"), std::string::npos);
  EXPECT_NE(read(log).find("**** error (2) in Lev_output: doUpdateTEMPcircular:"), std::string::npos);
  EXPECT_EQ(db.store().status().message[0], '\0') << "the message is cleared after printing";
  std::fclose(log);
  ll_delete(chain);
}

TEST(ResultFailures, MessagesAndTheErrorBase) {
  Items items;
  items.add("T1");
  FILE* log = std::tmpfile();
  {
    testing::TestDb db;
    Items withNull;
    ll_tail(withNull.list());
    ll_insertBefore(withNull.list(), nullptr);
    EXPECT_EQ(doUpdateActivitiesInDB(withNull.list(), kOrigin, nullptr, 1, 0, 0, 0, log, 9), 9);
    EXPECT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 1, 0, log, 9), 9);
    ASSERT_EQ(db.store().executeScript("drop table Lev_kor_wbs"), 0);
    EXPECT_EQ(doUpdateActivitiesInDB(items.list(), kOrigin, nullptr, 1, 0, 0, 0, log, 9), 9);
    EXPECT_EQ(doUpdateActivitiesSlackValuesInDB(items.list(), nullptr, 0, log, 9), 9);
    EXPECT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, log, 9), 9);
  }
  EXPECT_EQ(doUpdateLevelIndexOnly(items.list(), 0, 0, log, 9), 9) << "no store bound";
  const std::string t = read(log);
  for (const char* message :
       {"\n *** error *** doUpdateActivitiesInDB The code shold not arrive here !!! ",
        "\n\n\n !!! error in Lev_output: doUpdateActivitiesInDB: sqlca.sqlcode = ",
        "proj->name P1 optionUpdateSlackValues 1",
        "\n\n\n !!! error in Lev_output: doUpdateActivitiesSlackValuesInDB: SC_STATE = ",
        "\n\n\n !!! error in Lev_output: doUpdateLevelIndexOnly: SC_STATE = ",
        "\n *** error *** in doUpdateActivitiesInDB: NULL activity !!! "}) {
    EXPECT_NE(t.find(message), std::string::npos) << message;
  }
  std::fclose(log);
}

// ---------------------------------------------------------------------------
// Commit points: a connection of the test's own whose LEVEL_COMMIT is
// counted, bound to the thread while the writer runs. The work tables are
// the connection's, so the rows are put there on that same connection, and
// what was committed is told from what was not by rolling the rest back.

class CountingConnection {
 public:
  explicit CountingConnection(const std::string& path) {
    host::addBuiltinProcedures(registry_);
    registry_.add("LEVEL_COMMIT", 0, [this](db::Store&, host::Backend& b, db::Vars,
                                            const db::HostVar* r) {
      ++commits_;
      const int32_t rc = b.commitAndBegin();
      if (r != nullptr) r->setInteger(rc);
      return rc;
    });
    host::SqliteOptions options;
    options.procedures = &registry_;
    store_ = host::SqliteStore::open(path, options);
    if (store_ != nullptr) binding_ = std::make_unique<db::StoreBinding>(*store_);
  }
  host::SqliteStore* store() { return store_.get(); }
  int commits() const { return commits_; }
  int64_t scalar(const std::string& sql) {
    int64_t n = -1;
    EXPECT_EQ(store_->selectInto(sql, {}, {n}), 0) << sql << ": " << store_->status().message;
    return n;
  }

 private:
  host::ProcedureRegistry registry_;
  int commits_ = 0;
  std::unique_ptr<host::SqliteStore> store_;
  std::unique_ptr<db::StoreBinding> binding_;
};

struct CommitCase {
  const char* writer;
  std::function<int(linked_list_type*)> run;
  const char* column;
  int rows, commits, committed;
};

void PrintTo(const CommitCase& k, std::ostream* os) { *os << k.writer; }

class ResultCommits : public ::testing::TestWithParam<CommitCase> {};

TEST_P(ResultCommits, CommitBeforeTheRowThatReachesTheInterval) {
  const CommitCase& k = GetParam();
  scratch::ScratchDb file;
  CountingConnection run(file.path());
  ASSERT_NE(run.store(), nullptr);
  host::SqliteStore& store = *run.store();
  ASSERT_EQ(store.execute("with recursive k(i) as (select 1 union all select i + 1 from k "
                          "where i < ?) insert into Lev_kor_wbs (ELEMENT_ID) select "
                          "printf('I%05d', i) from k",
                          {k.rows}),
            0);
  ASSERT_EQ(store.execute("insert into Lev_act_uids (SEQUENT_ID, ELEMENT_ID, TYPE_ID) select "
                          "ELEMENT_ID, ELEMENT_ID, 2 from Lev_kor_wbs"),
            0);
  ASSERT_EQ(store.commitAndBegin(), 0);
  Items items;
  for (int i = 1; i <= k.rows; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "I%05d", i);
    activity_type* a = items.add(name);
    a->task_level_order = i;
    a->slack = 10;
  }
  ASSERT_EQ(k.run(items.list()), 0);
  EXPECT_EQ(run.commits(), k.commits);
  ASSERT_EQ(store.executeScript("ROLLBACK"), 0);  // the rest goes
  EXPECT_EQ(run.scalar(std::string("select count(*) from Lev_kor_wbs where ") + k.column +
                       " is not null"),
            k.committed);
}

INSTANTIATE_TEST_SUITE_P(
    Writers, ResultCommits,
    ::testing::Values(
        CommitCase{"full", [](linked_list_type* l) {
                     return doUpdateActivitiesInDB(l, kOrigin, nullptr, 1, 0, 0, 0, nullptr, 1);
                   }, "LEVEL_INDEX", 700, 2, 599},
        CommitCase{"full299", [](linked_list_type* l) {
                     return doUpdateActivitiesInDB(l, kOrigin, nullptr, 1, 0, 0, 0, nullptr, 1);
                   }, "LEVEL_INDEX", 299, 0, 0},
        CommitCase{"slack", [](linked_list_type* l) {
                     return doUpdateActivitiesSlackValuesInDB(l, nullptr, 0, nullptr, 1);
                   }, "TOTAL_SLACK", 900, 2, 799},
        CommitCase{"slackPairs", [](linked_list_type* l) {
                     return doUpdateActivitiesSlackValuesInDB_2(l, nullptr, 2, 0, nullptr, 1);
                   }, "TOTAL_SLACK", 401, 1, 399},
        CommitCase{"index", [](linked_list_type* l) {
                     return doUpdateLevelIndexOnly(l, 0, 0, nullptr, 1);
                   }, "LEVEL_INDEX", 10001, 2, 9999}),
    [](const ::testing::TestParamInfo<CommitCase>& info) { return info.param.writer; });

}  // namespace
