// The item reader on real databases: a project with containers, tasks and
// every kind of dependency; sub-projects; predecessors outside the run;
// finished successors, deleted predecessors and duplicated dependencies; the
// constraint and actual-work rules; every data error the database can
// produce, and the WBS depth limit; and the item query's use of indexes.
#include "store/load/item_reader.h"

#include <functional>

#include "load_harness.h"
#include "store/sequence_ids.h"

namespace {

using loadtest::kYear;
using loadtest::LoadRun;
using loadtest::LoadState;

class ItemReader : public LoadRun {};

TEST_F(ItemReader, ProjectWithContainersTasksEveryDependencyKindAndRoundedTimes) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29", .priority = 650})
      .calendar(kYear);
  container("C1", "P1", 2, "P1.001");
  task("T1", "C1", 3, "P1.001.001", "2024-01-08 08:02:00.000000", "2024-01-08 17:00:00.000000");
  task("T2", "C1", 3, "P1.001.002", "2024-01-09 08:03:00.000000", "2024-01-09 16:00:00.000000");
  task("T3", "C1", 3, "P1.001.003", "2024-01-10 08:00:00.000000", "2024-01-10 17:00:00.000000");
  task("T4", "C1", 3, "P1.001.004", "2024-01-11 08:00:00.000000", "2024-01-11 17:00:00.000000");
  task("T5", "C1", 3, "P1.001.005", "2024-01-12 08:00:00.000000", "2024-01-12 17:00:00.000000");
  container("C2", "P1", 2, "P1.002");
  task("T6", "C2", 3, "P1.002.001", "2024-01-15 08:00:00.000000", "2024-01-15 17:00:00.000000",
       {{"PRIORITY", "720"}});
  // Stored codes 0 FS, 1 SS, 2 FF, 3 SF; a lead of 30 is stored as AMOUNT
  // 30 with LEAD_OR_LAG_TYPE 1.
  db.dependency({.pred = "T1", .succ = "T2", .predProject = "P1", .depType = 0, .lag = -30});
  db.dependency({.pred = "T1", .succ = "T3", .predProject = "P1", .depType = 1});
  db.dependency({.pred = "T1", .succ = "T4", .predProject = "P1", .depType = 2, .lag = 15});
  db.dependency({.pred = "T1", .succ = "T5", .predProject = "P1", .depType = 3});
  db.dependency({.pred = "T2", .succ = "T6", .predProject = "P1", .lag = 60});

  project_type* root1 = root("P1");
  setProjectPriority(root1, 650);  // the run's choice, kept by the project row
  ASSERT_EQ(0, readProjects(root1));
  ASSERT_EQ(0, readItems()) << logText();
  EXPECT_EQ(9, ll_size(acts));
  EXPECT_EQ(6, tasks);

  // The root's record comes first, with the project's dates and branch 0.
  ll_head(acts);
  auto* p1 = static_cast<activity_type*>(ll_retrieve(acts));
  EXPECT_STREQ("P1", p1->name);
  EXPECT_EQ(1, p1->type);
  EXPECT_EQ(0, p1->brunch);
  EXPECT_EQ(650, p1->priority);
  EXPECT_EQ(day("2024-01-08"), p1->start_date);
  EXPECT_EQ(day("2024-03-29"), p1->finish_date);

  // Containers get branches 1, 2 in reading order; children hang under them.
  activity_type* c1 = act("C1");
  activity_type* c2 = act("C2");
  ASSERT_TRUE(c1 && c2);
  EXPECT_EQ(2, c1->type);
  EXPECT_EQ(1, c1->brunch);
  EXPECT_EQ(2, c2->brunch);
  EXPECT_TRUE(hasName(c1->parent_list, "P1"));
  EXPECT_TRUE(hasName(p1->child_list, "C1"));
  EXPECT_TRUE(hasName(p1->child_list, "C2"));
  EXPECT_EQ(5, ll_size(c1->child_list));
  EXPECT_TRUE(hasName(c2->child_list, "T6"));

  activity_type* t1 = act("T1");
  activity_type* t2 = act("T2");
  activity_type* t6 = act("T6");
  ASSERT_TRUE(t1 && t2 && t6);
  EXPECT_EQ(3, t2->type);
  EXPECT_EQ(3, t2->level_id);
  EXPECT_EQ(720, t6->priority);
  EXPECT_EQ(1, t2->offset_start_date) << "one day after its container's start";
  // 08:02 rounds to 480 = the day's start; 08:03 rounds to 485; 16:00 is an
  // hour before the day's end.
  EXPECT_EQ(0, t1->offset_start_time);
  EXPECT_EQ(5, t2->offset_start_time);
  EXPECT_EQ(60, t2->offset_finish_time);
  EXPECT_EQ(0, t1->offset_finish_time);

  // Successors with the translated types and signed lags.
  ASSERT_EQ(4, ll_size(t1->succ_list));
  struct Expect {
    const char* name;
    int type;
    int lag;
  };
  for (Expect e : {Expect{"T2", 1, -30}, Expect{"T3", 3, 0}, Expect{"T4", 0, 15},
                   Expect{"T5", 2, 0}}) {
    dependency_type* d = dep(t1->succ_list, e.name);
    ASSERT_NE(nullptr, d) << e.name;
    EXPECT_EQ(e.type, d->type) << e.name;
    EXPECT_EQ(e.lag, d->lag_minutes) << e.name;
    EXPECT_EQ(0, d->isExternal);
  }
  ASSERT_NE(nullptr, dep(t2->succ_list, "T6"));
  EXPECT_EQ(60, dep(t2->succ_list, "T6")->lag_minutes);
  // The matching predecessors, made after the last project.
  dependency_type* back = dep(t2->pred_list, "T1");
  ASSERT_NE(nullptr, back);
  EXPECT_EQ(1, back->type);
  EXPECT_EQ(-30, back->lag_minutes);
  EXPECT_EQ(1, ll_size(t6->pred_list));
  EXPECT_EQ(0, ll_size(t1->pred_list));
  EXPECT_EQ(0, ll_size(extPreds));
  expectPlanUntouched();
}

TEST_F(ItemReader, ParseDependencyFunctionsSignTheLagAndRefuseADuplicate) {
  activity_type* a = activityCreateNew("A", 3, nullptr, 10, 10, 480, 0, 0);
  char b[] = "B";
  EXPECT_EQ(0, parseDependencySuccDB(a, b, 1, 0, 1, 30, log, 200146));
  EXPECT_EQ(200146, parseDependencySuccDB(a, b, 1, 0, 0, 30, log, 200146));
  EXPECT_EQ(-30, dep(a->succ_list, "B")->lag_minutes);
  EXPECT_EQ(0, parseDependencyPredDB(a, b, 3, 1, 0, 45, log, 200147));
  EXPECT_EQ(200147, parseDependencyPredDB(a, b, 3, 1, 0, 45, log, 200147));
  EXPECT_EQ(45, dep(a->pred_list, "B")->lag_minutes);
  EXPECT_EQ(1, dep(a->pred_list, "B")->isExternal);
  activityDelete(a);
}

TEST_F(ItemReader, SubProjectItemsHangUnderTheSubProjectRecordReadOnce) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  db.project({.id = "S1", .start = "2024-01-15", .finish = "2024-02-28", .priority = 300,
              .parent = "P1", .rank = "P1.S1"})
      .calendar(kYear);
  db.store().execute("update KOR_WBS set LEVEL_ID=2 where ELEMENT_ID='S1'");
  task("T1", "P1", 2, "P1.001", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000");
  db.item({.project = "S1", .parent = "S1", .id = "ST1", .levelId = 3,
           .start = "2024-01-16 08:00:00.000000", .finish = "2024-01-16 17:00:00.000000",
           .extra = {{"RANK", "P1.S1.001"}, {"UNRESOLVED_DURATION", "480"}}});
  db.dependency({.pred = "T1", .succ = "ST1", .predProject = "P1", .succProject = "S1"});

  setProjectPriority(root("S1"), 640);  // also a root of the run, priority chosen by it
  ASSERT_EQ(0, readRoot("P1")) << logText();
  ASSERT_EQ(2, ll_size(local));
  int s1Records = 0;
  ll_head(acts);
  for (int32_t i = 0; i < ll_size(acts); ++i, ll_next(acts)) {
    s1Records += std::strcmp(static_cast<activity_type*>(ll_retrieve(acts))->name, "S1") == 0;
  }
  EXPECT_EQ(1, s1Records);
  EXPECT_EQ(4, ll_size(acts));
  activity_type* s1 = act("S1");
  activity_type* st1 = act("ST1");
  ASSERT_TRUE(s1 && st1);
  EXPECT_TRUE(hasName(s1->parent_list, "P1"));
  EXPECT_TRUE(hasName(st1->parent_list, "S1"));
  EXPECT_TRUE(hasName(s1->child_list, "ST1"));
  // The sub-project's record spans the sub-project, with its priority.
  EXPECT_EQ(day("2024-01-15"), s1->start_date);
  EXPECT_EQ(day("2024-02-28"), s1->finish_date);
  EXPECT_EQ(640, s1->priority) << "a project row takes its project's priority, not its own";
  EXPECT_EQ(static_cast<project_type*>(ll_extract(local, "S1")),
            st1->proj);
  // Same root: an internal dependency, with its predecessor on ST1.
  ASSERT_NE(nullptr, dep(act("T1")->succ_list, "ST1"));
  EXPECT_NE(nullptr, dep(st1->pred_list, "T1"));
  EXPECT_EQ(0, ll_size(extPreds));
}

TEST_F(ItemReader, PredecessorInAProjectOutsideTheRunBecomesAPlaceholderRecord) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  db.project({.id = "X1", .start = "2024-01-01", .finish = "2024-02-29", .priority = 222})
      .calendar(kYear);
  task("T1", "P1", 2, "P1.001", "2024-01-22 08:00:00.000000", "2024-01-22 17:00:00.000000");
  task("T2", "P1", 2, "P1.002", "2024-01-23 08:00:00.000000", "2024-01-23 17:00:00.000000");
  db.item({.project = "X1", .parent = "X1", .id = "XT1", .start = "2024-01-10 10:00:00.000000",
           .finish = "2024-01-10 15:00:00.000000",
           .extra = {{"RANK", "X1.001"}, {"UNRESOLVED_DURATION", "300"}}});
  db.dependency({.pred = "XT1", .succ = "T1", .predProject = "X1", .succProject = "P1",
                 .depType = 1, .lag = 120});
  db.dependency({.pred = "XT1", .succ = "T2", .predProject = "X1", .succProject = "P1"});

  ASSERT_EQ(0, readRoot("P1")) << logText();
  // One placeholder for both dependencies, at the head of the item list.
  ASSERT_EQ(1, ll_size(extPreds));
  ll_head(acts);
  auto* x = static_cast<activity_type*>(ll_retrieve(acts));
  EXPECT_STREQ("XT1", x->name);
  EXPECT_EQ(x, ll_retrieve((ll_head(extPreds), extPreds)));
  EXPECT_EQ(1, x->isExternalPred);
  EXPECT_EQ(day("2024-01-10"), x->start_date);
  // Its project was read from outside the run, calendar and all.
  ASSERT_EQ(1, ll_size(extProjects));
  ll_head(extProjects);
  auto* xp = static_cast<project_type*>(ll_retrieve(extProjects));
  EXPECT_EQ(xp, x->proj);
  EXPECT_STREQ("X1", xp->name);
  EXPECT_EQ(222, xp->priority);
  // 10:00 is two hours into the day; 15:00 two hours before its end.
  EXPECT_EQ(120, x->offset_start_time);
  EXPECT_EQ(120, x->offset_finish_time);
  // Successors on the placeholder, external predecessors on the items.
  dependency_type* s = dep(x->succ_list, "T1");
  ASSERT_NE(nullptr, s);
  EXPECT_EQ(3, s->type);
  EXPECT_EQ(120, s->lag_minutes);
  EXPECT_EQ(1, s->isExternal);
  EXPECT_NE(nullptr, dep(x->succ_list, "T2"));
  dependency_type* p = dep(act("T1")->pred_list, "XT1");
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(1, p->isExternal);
  EXPECT_EQ(0, act("T1")->to_pass_in_forw_dir) << "external predecessors are not counted";
}

TEST_F(ItemReader, FinishedSuccessorsDeletedPredecessorsAndDuplicatesAreFilteredOut) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  task("T1", "P1", 2, "P1.001", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000");
  task("T2", "P1", 2, "P1.002", "2024-01-09 08:00:00.000000", "2024-01-09 17:00:00.000000",
       {{"ACTUAL_START", "2024-01-09 08:00:00.000000"},
        {"ACTUAL_FINISH", "2024-01-09 17:00:00.000000"}});
  task("T3", "P1", 2, "P1.003", "2024-01-10 08:00:00.000000", "2024-01-10 17:00:00.000000");
  task("TD", "P1", 2, "P1.004", "2024-01-05 08:00:00.000000", "2024-01-05 17:00:00.000000",
       {{"REC_STATUS", "D"}});
  db.dependency({.pred = "T1", .succ = "T2", .predProject = "P1"});  // T2 has finished
  db.dependency({.pred = "T1", .succ = "T3", .predProject = "P1"});
  db.dependency({.pred = "T1", .succ = "T3", .predProject = "P1"});  // listed twice
  db.dependency({.pred = "TD", .succ = "T3", .predProject = "P1"});  // deleted predecessor

  ASSERT_EQ(0, readRoot("P1")) << logText();
  activity_type* t1 = act("T1");
  activity_type* t3 = act("T3");
  ASSERT_TRUE(t1 && t3);
  EXPECT_EQ(nullptr, dep(t1->succ_list, "T2"));
  EXPECT_EQ(1, ll_size(t1->succ_list));
  EXPECT_EQ(1, ll_size(t3->pred_list));
  std::string text = logText();
  EXPECT_EQ(1, occurrences(text, "error(D-23)/data corruption in Lev_inputDataDB "
                                 "(doReadActivitiesSuccDB): successor dublication is detected"));
  // The deleted predecessor came as an outside (external) row; its project
  // is read in its own right, so no placeholder and no link.
  EXPECT_EQ(1, db.scalar("select count(*) from Lev_input_data where TYPE_ID=205 and "
                         "ELEMENT_ID='TD' and IS_EXTERNAL='1'"));
  EXPECT_EQ(0, db.scalar("select count(*) from Lev_input_data where TYPE_ID=206 and "
                         "ELEMENT_ID='T2'"));
  EXPECT_EQ(0, ll_size(extPreds));
  EXPECT_EQ(nullptr, dep(t3->pred_list, "TD"));
  EXPECT_EQ(0, ll_size(act("TD")->succ_list));
}

TEST_F(ItemReader, ConstraintsAlapAndActualWork) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  task("TC", "P1", 2, "P1.001", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000",
       {{"CONSTRAINT_TYPE", "6"}, {"CONSTRAINT_DT", "2024-02-01 10:00:00.000000"}});
  task("TA", "P1", 2, "P1.002", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000",
       {{"CONSTRAINT_TYPE", "1"}});
  task("TN", "P1", 2, "P1.003", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000",
       {{"CONSTRAINT_TYPE", "7"}});
  // In progress: 122 minutes done of 480 scheduled.
  task("TW", "P1", 2, "P1.004", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000",
       {{"ACTUAL_START", "2024-01-08 08:00:00.000000"}, {"ACTUAL_DURATION", "122"},
        {"SCHED_DURATION", "480"}, {"MILESTONE_PERCENT", "25"}});
  // Done: its actual work is the whole effort.
  task("TF", "P1", 2, "P1.005", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000",
       {{"ACTUAL_START", "2024-01-08 08:00:00.000000"},
        {"ACTUAL_FINISH", "2024-01-08 13:00:00.000000"}, {"ACTUAL_DURATION", "243"},
        {"SCHED_DURATION", "480"}});
  // Started, with no actual duration: D-24, and the row goes on.
  task("TX", "P1", 2, "P1.006", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000",
       {{"ACTUAL_START", "2024-01-08 08:00:00.000000"}, {"SCHED_DURATION", "300"}});
  db.row("Lev_kor_wbs", {{"ELEMENT_ID", "TC"}, {"PROJECT_ID", "P1"}});

  ASSERT_EQ(0, readRoot("P1")) << logText();
  project_type* p1 = static_cast<project_type*>((ll_head(local), ll_retrieve(local)));
  activity_type* tc = act("TC");
  EXPECT_EQ(6, tc->constraint_type);
  EXPECT_EQ(day("2024-02-01"), tc->constraint_date);
  EXPECT_EQ(1, db.scalar("select count(*) from Lev_kor_wbs where LEVEL_CONSTRAINT_TYPE=6 and "
                         "LEVEL_CONSTRAINT_DT='2024-02-01 10:00:00.000000'"));
  // As late as possible without a date: bounded by the project's creation.
  EXPECT_EQ(1, act("TA")->constraint_type);
  EXPECT_EQ(p1->create_date, act("TA")->constraint_date);
  EXPECT_EQ(1, p1->containsALAP);
  // Another code without a date falls back to "as soon as possible".
  EXPECT_EQ(0, act("TN")->constraint_type);
  EXPECT_EQ(getProjectLastDayOfCalendar(p1), act("TN")->constraint_date);

  activity_type* tw = act("TW");
  EXPECT_EQ(1, tw->hasActualStart);
  EXPECT_EQ(0, tw->hasActualFinish);
  EXPECT_EQ(day("2024-01-08"), tw->actual_start_date);
  EXPECT_STREQ("2024-01-08 08:00:00.000000", tw->actualStartTimeStamp);
  EXPECT_EQ(120, tw->actual_duration) << "122 rounds to 120";
  EXPECT_EQ(480, tw->effort);
  activity_type* tf = act("TF");
  EXPECT_EQ(1, tf->hasActualFinish);
  EXPECT_EQ(245, tf->actual_duration) << "243 rounds to 245";
  EXPECT_EQ(245, tf->effort);
  EXPECT_EQ(0, act("TX")->actual_duration);
  EXPECT_EQ(300, act("TX")->effort);
  EXPECT_EQ(1, occurrences(logText(), "error(D-24)/data corruption in Lev_inputDataDB "
                                      "(doReadActivitiesSuccDB) \nerror type: wrong "
                                      "ACTUAL_DURATION or h_milestone_percent for task"));
}

// The data errors the database can produce: code, log text, notification
// (where the user is told), and no records or plan rows written.
TEST_F(ItemReader, DataErrorsEndTheLoadWithTheirCodesAndNotifications) {
  struct Case {
    const char* what;
    std::function<void(LoadState&)> build;
    int code;
    const char* head;
    bool notified;
  };
  auto base = [](LoadState& t) {
    t.db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  };
  const Case cases[] = {
      {"null unresolved start (first pass)",
       [&](LoadState& t) {
         base(t);
         t.task("T1", "P1", 2, "P1.001", "", "2024-01-08 17:00:00.000000");
       },
       200144, "***** error(D-19)/data corruption for project in Lev_inputDataDB "
               "(doReadActivitiesSuccDB) \nerror type: wrong UNRESOLVED_START",
       true},
      {"start date lost to a null START_DT (second pass)",
       [&](LoadState& t) {
         base(t);
         t.task("T1", "P1", 2, "P1.001", "2024-01-08 08:00:00.000000",
                "2024-01-08 17:00:00.000000",
                {{"PLANNED_EFFORT", "0"}, {"FORECAST_FINISH", "2024-01-09 17:00:00.000000"},
                 {"FINISH_DT", "2024-01-09 17:00:00.000000"}, {"DURATION", "2"}});
       },
       200144, "***** error (D-21)/data corruption in Lev_inputDataDB(doReadActivitiesSuccDB) "
               "\nerror type: wrong UNRESOLVED_START",
       true},
      {"parent level missing",
       [&](LoadState& t) {
         base(t);
         t.task("T1", "P1", 4, "P1.001", "2024-01-08 08:00:00.000000",
                "2024-01-08 17:00:00.000000");
       },
       200150, "***** error(D-25)/data corruption in Lev_inputDataDB (doReadActivitiesSuccDB) "
               "\nerror type: lost parent-child relationsheep",
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    // A fresh run on a fresh database for each case.
    auto run = std::make_unique<LoadState>();
    c.build(*run);
    std::strcpy(run->message.get(), "earlier progress\n");
    EXPECT_EQ(c.code, run->readRoot("P1"));
    std::string text = run->logText();
    EXPECT_EQ(1, occurrences(text, c.head)) << text;
    std::string description = run->workflowColumn("DESCRIPTION");
    EXPECT_EQ(c.notified, description.find(c.head) != std::string::npos) << description;
    if (c.notified) {
      EXPECT_EQ("[Started] Levelling of P1", run->workflowColumn("SUBJECT"));
      EXPECT_NE(std::string::npos, description.find("Please contact to supporting team"));
    }
    EXPECT_EQ(0, ll_size(run->extPreds));
    run->expectPlanUntouched();
  }
}

TEST_F(ItemReader, ProjectWithoutRowIsD18) {
  project_type* ghost = projectCreateNew("GHOST");
  ll_addtail(local, ghost);
  EXPECT_EQ(200143, readItems());
  EXPECT_NE(std::string::npos,
            logText().find("***** error(D-18)/data corruption for project in Lev_inputDataDB "
                           "(doReadActivitiesSuccDB) \nerror type: not existing project"));
  EXPECT_EQ(0, ll_size(acts));
}

TEST_F(ItemReader, NoNotificationWhenTheMessageBufferIsNearlyFull) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  task("T1", "P1", 2, "P1.001", "", "2024-01-08 17:00:00.000000");
  std::string full(16385 - 5000, 'x');  // exactly 5000 bytes left: not more
  std::memcpy(message.get(), full.c_str(), full.size() + 1);
  EXPECT_EQ(200144, readRoot("P1"));
  EXPECT_EQ(0, db.scalar("select count(*) from KOR_WORKFLOWS"));
  EXPECT_EQ(full, std::string(message.get()));
}

// A chain of containers from the project (level 1) down to level 63 loads;
// one more level (64) is refused before the table of containers is touched.
TEST_F(ItemReader, WbsDeeperThan64LevelsIsRefused) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  std::string parent = "P1", rank = "P1";
  for (int level = 2; level <= 63; ++level) {
    std::string id = "C" + std::to_string(level);
    rank += ".1";
    container(id.c_str(), parent.c_str(), level, rank.c_str());
    parent = id;
  }
  ASSERT_EQ(0, readRoot("P1")) << logText();
  EXPECT_EQ(63, ll_size(acts));
  EXPECT_TRUE(hasName(act("C63")->parent_list, "C62"));

  rank += ".1";
  task("T64", "C63", 64, rank.c_str(), "2024-01-08 08:00:00.000000",
       "2024-01-08 17:00:00.000000");
  while (ll_size(acts) > 0) {
    ll_head(acts);
    activityDelete(static_cast<activity_type*>(ll_retrieve(acts)));
    ll_remove(acts);
  }
  tasks = 0;
  EXPECT_EQ(200148, readItems());
  std::string text = logText();
  EXPECT_NE(std::string::npos,
            text.find("***** error(D-35)/data corruption in Lev_inputDataDB "
                      "(doReadActivitiesSuccDB) \nerror type: WBS deeper than 64 levels"));
  EXPECT_NE(std::string::npos, text.find("LEVEL_ID= 64(0)"));
  EXPECT_NE(std::string::npos, workflowColumn("DESCRIPTION").find("error(D-35)"));
  EXPECT_EQ(nullptr, act("T64"));
}

// The item query finds its rows through indexes: no table is scanned whole.
TEST_F(ItemReader, ItemQueryUsesIndexes) {
  db::Cursor plan(db.store());
  ASSERT_EQ(0, plan.open(std::string("EXPLAIN QUERY PLAN ") + itemReaderQueryText(),
                         {"P1", "P1", "P1%", "P1", "P1%", "P1%", "P1"}));
  int32_t id = 0, parent = 0, unused = 0;
  db::NameText detail;
  std::string all;
  while (plan.fetch({id, parent, unused, detail}) == 0) all += std::string(detail.view()) + "\n";
  EXPECT_NE(std::string::npos, all.find("USING INDEX")) << all;
  for (const char* scan : {"SCAN w", "SCAN s", "SCAN p", "SCAN d"}) {
    for (std::size_t at = all.find(scan); at != std::string::npos; at = all.find(scan, at + 1)) {
      // "SCAN x USING INDEX" walks an index, not the table.
      std::string line = all.substr(at, all.find('\n', at) - at);
      EXPECT_NE(std::string::npos, line.find("INDEX")) << all;
    }
  }
}

}  // namespace

namespace {

using loadtest::kYear;
using loadtest::LoadRun;

class ItemReaderShortIds : public LoadRun {
 protected:
  // The project is read under its element id, then named by its sequence
  // id, as the run names it.
  int readWithShortIds(project_type* p, const char* seq) {
    int rc = doReadProjectsDB(p, input, local, sm, origin, 120, 1, 0, workflow, message.get(),
                              subject, elementId, user, 1, log);
    if (rc != 0) return rc;
    std::snprintf(p->name, sizeof p->name, "%s", seq);
    return doReadActivitiesSuccDB(acts, local, extProjects, extPreds, input, &tasks, sm, origin,
                                  120, 1, 1, 1, 1, 1, 0, workflow, message.get(), subject,
                                  elementId, user, 1, 0, 0, log);
  }
};

// With short ids the records are named by sequence ids: the project by the
// one the run gave it, its items by new ones, and the dependencies follow.
TEST_F(ItemReaderShortIds, RecordsAndDependenciesUseSequenceIds) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  task("T1", "P1", 2, "P1.001", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000");
  task("T2", "P1", 2, "P1.002", "2024-01-09 08:00:00.000000", "2024-01-09 17:00:00.000000");
  db.dependency({.pred = "T1", .succ = "T2", .predProject = "P1", .lag = 45});
  char projectSeq[33] = {};
  ASSERT_EQ(0, doCreateNewEntryActSeqUid("P1", 1, projectSeq, sm, log));
  ASSERT_EQ(0, readWithShortIds(root("P1"), projectSeq)) << logText();

  ASSERT_EQ(3, ll_size(acts));
  ll_head(acts);
  EXPECT_STREQ(projectSeq, static_cast<activity_type*>(ll_retrieve(acts))->name);
  char t1[33] = {}, t2[33] = {};
  int found = 0;
  ASSERT_EQ(0, doFindCreateActSeqUid("T1", 2, t1, sm, 0, &found, log));
  EXPECT_EQ(1, found);
  ASSERT_EQ(0, doFindCreateActSeqUid("T2", 2, t2, sm, 0, &found, log));
  EXPECT_EQ(1, found);
  EXPECT_EQ(7u, std::strlen(t1));
  activity_type* a1 = act(t1);
  activity_type* a2 = act(t2);
  ASSERT_TRUE(a1 && a2);
  EXPECT_TRUE(hasName(a1->parent_list, projectSeq));
  ASSERT_NE(nullptr, dep(a1->succ_list, t2));
  EXPECT_EQ(45, dep(a1->succ_list, t2)->lag_minutes);
  EXPECT_NE(nullptr, dep(a2->pred_list, t1));
}

TEST_F(ItemReaderShortIds, ProjectNameThatIsNoSequenceIdIsD17) {
  ll_addtail(local, projectCreateNew("0999998"));
  EXPECT_EQ(200215, doReadActivitiesSuccDB(acts, local, extProjects, extPreds, input, &tasks, sm,
                                           origin, 120, 1, 1, 1, 1, 1, 0, workflow,
                                           message.get(), subject, elementId, user, 1, 0, 0,
                                           log));
  EXPECT_NE(std::string::npos,
            logText().find("***** error(D-17)/data corruption for project in Lev_inputDataDB "
                           "(doReadActivitiesSuccDB) \nerror type: not existing project name in "
                           "the list"));
  EXPECT_EQ(0, ll_size(acts));
}

}  // namespace
