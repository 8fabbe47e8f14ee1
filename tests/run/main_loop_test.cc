// The levelling stage on small databases: the load phase and the
// processing sequence schedule the network as a run does, then the main
// loop levels the assignments through fake host procedures and the tail
// writes the results.
//
// The fake search places an assignment's work from its search start (08:00
// when the start has no time or an earlier one) at 480 minutes a day,
// 08:00-12:00 and 13:00-17:00 on Monday to Friday, after the work already
// placed on the same resource. The fake U_LEVEL_STRING stores the placed
// dates as the assignment's LEVEL_START/LEVEL_FINISH; LEVEL_COMMIT counts
// its calls and commits.
//
// Calendar of every project: Monday to Friday 08:00-12:00 and 13:00-17:00,
// 2024. 2024-01-08 is a Monday.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "host/procedures.h"
#include "host/sqlite_store.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "network/load_sequence.h"
#include "network/processing_sequence.h"
#include "run/levelling_stage.h"
#include "run/run_state.h"
#include "scope_run.h"
#include "support/test_db.h"

namespace {

struct SearchSeen {
  std::string assignment;
  std::string resource;
  std::string start;  // argument 11 as handed in
  int duration = 0;
  int mode = 0;
  int contourType = 0;
  int effort = 0;
  int runFlag = 0;
  int commitsBefore = 0;  // LEVEL_COMMIT calls of the stage before this search
};

struct FakeHost {
  std::vector<SearchSeen> searches;
  std::vector<std::string> levelStrings;  // assignment argument of U_LEVEL_STRING
  std::vector<std::string> calendarLevels;  // project argument of CREATE_CDY_LEVEL
  int iniCalls = 0;
  int commits = 0;
  int commitsAtCalendarLevel = 0;  // LEVEL_COMMIT calls before the last CREATE_CDY_LEVEL
  // Behaviour of the search, per assignment id.
  std::map<std::string, int> status;        // non-zero result
  std::unordered_set<std::string> nullStart;  // leaves the start null
  std::unordered_set<std::string> midnight;   // returns its start at 00:00
  // Placement state: resource -> next free (julian day, minute).
  std::map<std::string, std::pair<int, int>> freeAt;
  std::map<std::string, std::pair<std::string, std::string>> placed;
};

bool isWeekday(int julian) {
  const int w = julianToWeekDay(julian);
  return w != 1 && w != 7;
}

// The first working minute at or after (day, minute).
void toWorkingMinute(int* day, int* minute) {
  while (true) {
    if (!isWeekday(*day) || *minute >= 1020) {
      ++*day;
      *minute = 480;
      continue;
    }
    if (*minute < 480) *minute = 480;
    if (*minute >= 720 && *minute < 780) *minute = 780;
    return;
  }
}

std::string stampOf(int day, int minute) {
  char date[DATE_TEXT_SIZE];
  transformJulianToDateString(day, date);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%s %02d:%02d:00.000000", date, minute / 60, minute % 60);
  return buf;
}

class MainLoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
    host::addBuiltinProcedures(registry);
    const host::HostProcedure builtinCommit = registry.find("LEVEL_COMMIT")->run;
    registry.add("LEVEL_COMMIT", 0,
                 [this, builtinCommit](db::Store& s, host::Backend& b, db::Vars a, const db::HostVar* r) {
                   ++fake.commits;
                   return builtinCommit(s, b, a, r);
                 });
    registry.add("FC_INI_ASSIGN_STR", 0,
                 [this](db::Store&, host::Backend&, db::Vars, const db::HostVar* r) {
                   ++fake.iniCalls;
                   return r == nullptr ? 0 : r->setInteger(0);
                 });
    registry.add("LEVEL_FC_CREATE_CDY_LEVEL", 4,
                 [this](db::Store&, host::Backend&, db::Vars a, const db::HostVar* r) {
                   fake.calendarLevels.emplace_back(a[0].text());
                   fake.commitsAtCalendarLevel = fake.commits;
                   return r == nullptr ? 0 : r->setInteger(0);
                 });
    registry.add("U_LEVEL_STRING", 3,
                 [this](db::Store& s, host::Backend&, db::Vars a, const db::HostVar* r) {
                   const std::string id(a[1].text());
                   fake.levelStrings.push_back(id);
                   auto p = fake.placed.find(id);
                   if (p != fake.placed.end()) {
                     int32_t rc = s.execute(
                         "update TASK_ASSIGNMENTS set LEVEL_START=?, LEVEL_FINISH=? "
                         "where TSK_ASSIGNMENT_ID=?",
                         {p->second.first, p->second.second, id});
                     if (rc < 0) return rc;
                   }
                   return r == nullptr ? 0 : r->setInteger(0);
                 });
    registry.add("LEVEL_FC_SEARCH_2", 30,
                 [this](db::Store&, host::Backend&, db::Vars a, const db::HostVar* r) {
                   return search(a, r);
                 });
  }

  void TearDown() override { freeRun(); }

  int32_t search(db::Vars a, const db::HostVar* r) {
    SearchSeen seen;
    seen.assignment = std::string(a[0].text());
    seen.resource = std::string(a[3].text());
    seen.start = std::string(a[10].text());
    seen.duration = static_cast<int>(a[12].integer());
    seen.effort = static_cast<int>(a[14].integer());
    seen.mode = static_cast<int>(a[18].integer());
    seen.contourType = static_cast<int>(a[21].integer());
    seen.runFlag = static_cast<int>(a[24].integer());
    seen.commitsBefore = fake.commits;
    fake.searches.push_back(seen);

    int day = 0;
    int minute = 0;
    if (!parseTimeStamp(seen.start.c_str(), &day, &minute)) {
      day = dateStringToJulian(seen.start.substr(0, 10).c_str());
      minute = 0;
    }
    auto busy = fake.freeAt.find(seen.resource);
    if (busy != fake.freeAt.end() && busy->second > std::make_pair(day, minute)) {
      day = busy->second.first;
      minute = busy->second.second;
    }
    toWorkingMinute(&day, &minute);
    const std::string start = stampOf(day, fake.midnight.count(seen.assignment) ? 0 : minute);
    int work = static_cast<int>(a[13].integer());
    while (work > 0) {
      toWorkingMinute(&day, &minute);
      const int end = minute < 720 ? 720 : 1020;
      const int take = std::min(work, end - minute);
      minute += take;
      work -= take;
    }
    const std::string finish = stampOf(day, minute);
    fake.freeAt[seen.resource] = {day, minute};
    fake.placed[seen.assignment] = {start, finish};
    if (fake.nullStart.count(seen.assignment)) {
      a[10].setNull();
    } else {
      a[10].setText(start);
    }
    a[11].setText(finish);
    auto st = fake.status.find(seen.assignment);
    return r == nullptr ? 0 : r->setInteger(st == fake.status.end() ? 0 : st->second);
  }

  // --- data -------------------------------------------------------------

  void project(const std::string& id) {
    db.project({.id = id, .start = "2024-01-08", .finish = "2024-03-29"})
        .calendar({.from = "2024-01-01", .to = "2024-12-31"});
  }

  // A task of one working day (480 minutes) starting on `day` at 08:00.
  void task(const std::string& project, const std::string& id, int assignCount,
            const std::string& day = "2024-01-08",
            std::map<std::string, std::string> extra = {}) {
    extra.emplace("SCHED_DURATION", "480");
    extra.emplace("UNRESOLVED_DURATION", "480");
    extra.emplace("ASSIGN_COUNT", std::to_string(assignCount));
    extra.emplace("MILESTONE_PERCENT", "0");
    extra.emplace("RANK", project + "." + id);
    db.item({.project = project,
             .parent = project,
             .id = id,
             .effort = 480,
             .durationDays = 1,
             .start = day + " 08:00:00.000000",
             .finish = day + " 17:00:00.000000",
             .extra = extra});
  }

  void assignment(const std::string& project, const std::string& task, const std::string& id,
                  const std::string& resource, int work, int delay = 0,
                  const std::string& day = "2024-01-08",
                  std::map<std::string, std::string> extra = {}) {
    extra.emplace("RESOURCE_TYPE", "0");
    extra.emplace("BIT_FLAG", "0");
    extra.emplace("PLANNED_WORK", std::to_string(work));
    extra.emplace("SCHED_WORK", "0");
    extra.emplace("ETC", std::to_string(work));
    extra.emplace("C_EFFORT", "0");
    extra.emplace("C_CONTOUR", "0");
    extra.emplace("CONTOUR_TYPE", "0");
    extra.emplace("ASSIGNMENT_DELAY", std::to_string(delay));
    extra.emplace("UNRESOLVED_START", day + " 08:00:00.000000");
    extra.emplace("UNRESOLVED_FINISH", day + " 17:00:00.000000");
    extra.emplace("UNRESOLVED_DURATION", std::to_string(work));
    db.assignment({.project = project,
                   .task = task,
                   .id = id,
                   .resource = resource,
                   .proposedWork = work,
                   .extra = extra});
    // Its planned day work, 480 minutes a weekday from its start.
    int julian = dateStringToJulian(day.c_str());
    for (int left = work; left > 0; ++julian) {
      if (!isWeekday(julian)) continue;
      char date[DATE_TEXT_SIZE];
      transformJulianToDateString(julian, date);
      db.dayWork({.project = project,
                  .task = task,
                  .assignment = id,
                  .resource = resource,
                  .day = date,
                  .schedMinutes = std::min(left, 480)});
      left -= 480;
    }
  }

  void finishToStart(const std::string& pred, const std::string& succ,
                     const std::string& project) {
    db.dependency({.pred = pred, .succ = succ, .predProject = project});
  }

  // --- the run ------------------------------------------------------------

  // Loads and schedules the projects, lets `prepare` adjust the work tables
  // (LEVEL_INDEX), then runs the stage. Returns its result.
  int levelRun(const std::vector<std::string>& roots, int optionFlag = 0,
               const std::function<void(db::Store&)>& prepare = nullptr) {
    db.commit();
    host::SqliteOptions options;
    options.procedures = &registry;
    store = host::SqliteStore::open(db.path(), options);
    if (!store) {
      ADD_FAILURE() << "cannot open the run's connection";
      return -1;
    }
    binding = std::make_unique<db::StoreBinding>(*store);
    std::vector<std::string> errors;
    scopegen::prepareRunWorkTables(*store, roots, &errors);
    for (const std::string& e : errors) ADD_FAILURE() << e;

    run = std::make_unique<run::RunState>();
    run::RunState& r = *run;
    r.optionFlag = optionFlag;
    r.optionFlagReserved = reserved;
    r.isWhatIfScenario = optionFlag == 4 ? 1 : 0;
    r.optionMoveProjSFDate = optionFlag == 4 ? 1 : 0;
    std::snprintf(r.rec_user, sizeof r.rec_user, "tester");
    std::snprintf(r.subject, sizeof r.subject, "Leveling Project 'test'");
    std::snprintf(r.element_id_p, sizeof r.element_id_p, "%s", roots[0].c_str());
    r.sm = smanagerCreateNew();
    setSmanagerProjectsPoolSize(r.sm, 50);
    r.input_projects_list = ll_new(projectMatch, getProjectName);
    r.projects_list = ll_new(projectMatch, getProjectName);
    r.ext_projects_list = ll_new(projectMatch, getProjectName);
    r.root_act_list = ll_new(activityMatch, getActivityName);
    r.act_tmp_list = ll_new(activityMatch, getActivityName);
    r.activities_list = ll_new(activityMatch, getActivityName);
    r.proj_act_OnExt_dep_list = ll_new(activityMatch, getActivityName);
    r.ext_pred_list = ll_new(activityMatch, getActivityName);
    r.act_tmp_list_3 = ll_new(activityMatch, getActivityName);
    r.act_tmp_list_4 = ll_new(activityMatch, getActivityName);
    r.act_tmp_list_5 = ll_new(activityMatch, getActivityName);
    r.assignments_list = ll_new(assignmentMatch, getAssignmentName);

    const long origin = dayOfYearToJulian(1950, 1, 1);
    {
      db::Cursor c(*store);
      db::IdText id;
      int32_t priority = 0;
      db::StampText sfd;
      int16_t ind[3] = {0, 0, 0};
      c.open("select ELEMENT_ID ,PRIORITY ,START_FINISH_DATE  from NAV_TMP_PROJECTS_00 "
             "order by RANK");
      while (c.fetch({{id, &ind[0]}, {priority, &ind[1]}, {sfd, &ind[2]}}) == 0) {
        project_type* p = projectCreateNew(id.c_str());
        char day[11] = {0};
        std::snprintf(day, sizeof day, "%.10s", sfd.c_str());
        setProjectCurrentDate(p, static_cast<int32_t>(dateStringToJulian(day) - origin));
        setProjectPriority(p, static_cast<uint16_t>(priority));
        ll_addtail(r.input_projects_list, p);
      }
    }
    FILE* file = std::tmpfile();
    int tasksTotalCount = 0;
    const int loadCode = readAndLoadDataForMultipleProjectsFromTheRootDB(
        r.input_projects_list, r.act_tmp_list, r.root_act_list, r.projects_list,
        r.ext_projects_list, r.ext_pred_list, &tasksTotalCount, r.sm, 0, optionFlag, 1, 1, 1, 0,
        0, 0, "", r.workflow_id, r.message, r.subject, r.element_id_p, r.rec_user, 1, 0, 0,
        r.loadTimes, file);
    EXPECT_EQ(0, loadCode);
    int result = loadCode;
    if (loadCode == 0) {
      const int sequenceCode = processDepForWbsItemStatic(
          r.root_act_list, r.projects_list, r.proj_act_OnExt_dep_list, r.act_tmp_list,
          r.activities_list, r.act_tmp_list_3, r.act_tmp_list_4, r.act_tmp_list_5,
          r.assignments_list, r.ext_pred_list, r.sm, optionFlag, 1, 0, 0, 0, tasksTotalCount, 1,
          r.workflow_id, r.message, r.subject, r.element_id_p, r.rec_user, 1, 0, 0, 0, 0,
          r.sequenceTimes, file);
      EXPECT_EQ(0, sequenceCode);
      result = sequenceCode;
      if (sequenceCode == 0) {
        if (prepare) prepare(*store);
        r.hasWork = 1;
        fake.commits = 0;
        result = run::levelAssignmentsAndWriteResults(r, file);
      }
    }
    if (file != nullptr) {
      std::fflush(file);
      std::rewind(file);
      char buf[4096];
      size_t n = 0;
      while ((n = std::fread(buf, 1, sizeof buf, file)) > 0) log.append(buf, n);
      std::fclose(file);
    }
    return result;
  }

  // Sets LEVEL_INDEX of the work table's rows: element -> index.
  static std::function<void(db::Store&)> levelIndexes(std::map<std::string, int> indexes) {
    return [indexes](db::Store& s) {
      for (const auto& [id, index] : indexes) {
        s.execute("update Lev_kor_wbs set LEVEL_INDEX=? where ELEMENT_ID=?",
                  {int32_t{index}, id});
      }
    };
  }

  void freeRun() {
    if (!run) return;
    run::RunState& r = *run;
    auto each = [](linked_list_type* l, auto f) {
      if (l == nullptr) return;
      for (linktype* k = l->phead; k != nullptr; k = k->pnext) f(k->pcontents);
    };
    each(r.act_tmp_list, [](void* e) { activityDelete(static_cast<activity_type*>(e)); });
    each(r.act_tmp_list_3, [](void* e) { activityDelete(static_cast<activity_type*>(e)); });
    each(r.assignments_list,
         [](void* e) { assignmentDelete(static_cast<assignment_type*>(e)); });
    std::unordered_set<void*> loaded;
    each(r.projects_list, [&](void* e) { loaded.insert(e); });
    each(r.input_projects_list, [&](void* e) {
      if (loaded.count(e) == 0) projectDelete(static_cast<project_type*>(e));
    });
    each(r.projects_list, [](void* e) { projectDelete(static_cast<project_type*>(e)); });
    each(r.ext_projects_list, [](void* e) { projectDelete(static_cast<project_type*>(e)); });
    for (linked_list_type* l :
         {r.input_projects_list, r.projects_list, r.ext_projects_list, r.root_act_list,
          r.act_tmp_list, r.activities_list, r.proj_act_OnExt_dep_list, r.ext_pred_list,
          r.act_tmp_list_3, r.act_tmp_list_4, r.act_tmp_list_5, r.assignments_list}) {
      ll_delete(l);
    }
    smanagerDelete(r.sm);
    run.reset();
  }

  // A text of the run's connection ("null" for null, "" when no row).
  std::string text(const std::string& sql) {
    db::MessageText out;
    int16_t ind = 0;
    if (store->selectInto(sql, {}, {db::HostVar(out, &ind)}) != 0) return "";
    return ind < 0 ? "null" : std::string(out.view());
  }
  int64_t number(const std::string& sql) {
    int64_t v = 0;
    int16_t ind = 0;
    if (store->selectInto(sql, {}, {db::HostVar(v, &ind)}) != 0) return -9999;
    return ind < 0 ? -999 : v;
  }
  std::vector<std::string> searchOrder() const {
    std::vector<std::string> ids;
    for (const SearchSeen& s : fake.searches) ids.push_back(s.assignment);
    return ids;
  }

  testing::TestDb db;
  host::ProcedureRegistry registry;
  FakeHost fake;
  std::unique_ptr<host::SqliteStore> store;
  std::unique_ptr<db::StoreBinding> binding;
  std::unique_ptr<run::RunState> run;
  std::string log;
  int reserved = 0;  // the run's optionFlagReserved
};

// T1 has two assignments: A1 (R1, one day) and A2 (R2, two days, later by
// its delay); T2 follows T1 (finish-to-start) with A3 on R1; T3 follows T2
// and has no assignment. T1 takes the envelope Monday 08:00 .. Tuesday
// 17:00; T2, realigned after T1's placed finish, is searched from
// Wednesday (the start at the day's working start is cut to the day) and
// placed on Wednesday; T3 is realigned to Thursday without a search.
TEST_F(MainLoopTest, TaskTakesEnvelopeOfAssignmentsAndSuccessorsFollowPlacedDates) {
  project("P1");
  task("P1", "T1", 2);
  task("P1", "T2", 1, "2024-01-09");
  task("P1", "T3", 0, "2024-01-10");
  assignment("P1", "T1", "A1", "R1", 480);
  assignment("P1", "T1", "A2", "R2", 960, 60);
  assignment("P1", "T2", "A3", "R1", 480, 0, "2024-01-09");
  finishToStart("T1", "T2", "P1");
  finishToStart("T2", "T3", "P1");

  ASSERT_EQ(0, levelRun({"P1"}, 0, levelIndexes({{"P1", 0}, {"T1", 1}, {"T2", 2}, {"T3", 3}})))
      << log;
  EXPECT_EQ((std::vector<std::string>{"A1", "A2", "A3"}), searchOrder());
  ASSERT_EQ(3u, fake.searches.size());
  EXPECT_EQ("2024-01-08 00:00:00.000000", fake.searches[0].start);
  EXPECT_EQ("2024-01-10 00:00:00.000000", fake.searches[2].start);
  // One day of 480 minutes: 480 / 480 + 1 = 2 days, doubled.
  EXPECT_EQ(4, fake.searches[0].duration);
  EXPECT_EQ(6, fake.searches[0].mode);
  EXPECT_EQ(268435456, fake.searches[0].contourType);
  EXPECT_EQ(10, fake.searches[0].runFlag);
  EXPECT_EQ(1, fake.iniCalls);
  EXPECT_EQ((std::vector<std::string>{"P1"}), fake.calendarLevels);
  EXPECT_EQ((std::vector<std::string>{"A1", "A2", "A3"}), fake.levelStrings);
  EXPECT_EQ(3, run->ass_count);
  EXPECT_EQ(0, run->proj_ass_count);
  EXPECT_EQ(2, run->tasks_with_ass_count);

  auto levelled = [&](const std::string& id) {
    return text("select LEVEL_START||' '||LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='" +
                id + "'");
  };
  EXPECT_EQ("2024-01-08 08:00:00.000000 2024-01-09 17:00:00.000000", levelled("T1"));
  EXPECT_EQ("2024-01-10 08:00:00.000000 2024-01-10 17:00:00.000000", levelled("T2"));
  EXPECT_EQ("2024-01-11 08:00:00.000000 2024-01-11 17:00:00.000000", levelled("T3"));
  // The tail copied the work table into the plan.
  EXPECT_EQ("2024-01-10 08:00:00.000000",
            text("select LEVEL_START from KOR_WBS where ELEMENT_ID='T2'"));
  EXPECT_EQ(1, number("select LEVEL_STATE from KOR_WBS where ELEMENT_ID='T2'"));
  // Project start written back: its current date, not moved.
  EXPECT_EQ("2024-01-08 00:00:00.000000 0",
            text("select LEVEL_START_FINISH_DATE||' '||LEVEL_MOVE_PROJ from PROJECT_DETAILS "
                 "where PROJECT_ID='P1'"));
  EXPECT_NE(std::string::npos, std::string(run->message).find("Processing of assignments is completed."));
}

// Task assignments by level index, then delay, then planned start; the
// project assignment (its task is the project) comes last although its
// project item has the lowest index, and U_LEVEL_STRING gets the project
// assignment's own id.
TEST_F(MainLoopTest, CursorOrderPutsProjectAssignmentsLast) {
  project("P1");
  task("P1", "X", 3);
  task("P1", "Y", 1);
  assignment("P1", "X", "X1", "R3", 480, 120);
  assignment("P1", "X", "X2", "R2", 480, 0, "2024-01-08",
             {{"UNRESOLVED_START", "2024-01-08 13:00:00.000000"}});
  assignment("P1", "X", "X3", "R1", 480);
  assignment("P1", "Y", "Y1", "R1", 480);
  assignment("P1", "P1", "PA1", "R5", 960, 0, "2024-01-08",
             {{"PROJECT_ASSIGNMENT_ID", "PRA1"}});

  ASSERT_EQ(0, levelRun({"P1"}, 0, levelIndexes({{"P1", 0}, {"Y", 1}, {"X", 2}}))) << log;
  EXPECT_EQ((std::vector<std::string>{"Y1", "X3", "X2", "X1", "PA1"}), searchOrder());
  EXPECT_EQ((std::vector<std::string>{"Y1", "X3", "X2", "X1", "PRA1"}), fake.levelStrings);
  EXPECT_EQ(4, run->ass_count);
  EXPECT_EQ(1, run->proj_ass_count);
  EXPECT_EQ(std::string::npos, log.find("error(D-")) << log.substr(0, 1500);
  EXPECT_EQ("2024-01-08 00:00:00.000000", fake.searches[1].start);
  // X's envelope: X3 Tuesday (R1 is busy with Y1 on Monday), X2 and X1
  // Monday.
  EXPECT_EQ("2024-01-08 08:00:00.000000 2024-01-09 17:00:00.000000",
            text("select LEVEL_START||' '||LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='X'"));
}

// A project assignment without a planned start: D-3, then D-4 (no other
// project-level row to take the earliest start from); it is still searched,
// from its project's own start.
TEST_F(MainLoopTest, ProjectAssignmentWithoutStartIsReportedAndSearched) {
  project("P1");
  task("P1", "T1", 1);
  assignment("P1", "T1", "A1", "R1", 480);
  db.row("TASK_ASSIGNMENTS", {{"PROJECT_ID", "P1"},
                              {"TASK_ID", "P1"},
                              {"TSK_ASSIGNMENT_ID", "PA1"},
                              {"RESOURCE_ID", "R2"},
                              {"RESOURCE_TYPE", "0"},
                              {"PLANNED_WORK", "480"},
                              {"ETC", "480"}});

  ASSERT_EQ(0, levelRun({"P1"}, 0, levelIndexes({{"P1", 0}, {"T1", 1}}))) << log;
  EXPECT_EQ((std::vector<std::string>{"A1", "PA1"}), searchOrder());
  const std::string d34 =
      ")/data corruption in Lev_resolveDepOracleDB (levelResourcesForProject) \nerror type: "
      "(not critical) wrong 'UNRESOLVED_START'->'START_DT' from "
      "'TASK_ASSIGNMENTS'->'NAV_TMP_PA_CNTR' table";
  EXPECT_NE(std::string::npos, log.find("**** error(D-3" + d34));
  EXPECT_NE(std::string::npos, log.find("**** error(D-4" + d34));
  ASSERT_EQ(2u, fake.searches.size());
  EXPECT_EQ("2024-01-08 00:00:00.000000", fake.searches[1].start);
  EXPECT_EQ(1, run->proj_ass_count);
  EXPECT_EQ((std::vector<std::string>{"A1", "PA1"}), fake.levelStrings);
}

// The arguments of the search in a calculation run (kind 3) with an
// auxiliary delay of 30: mode 7 for resources of type '0', 12 for others,
// run flag 266; an assignment without contour effort and of a contour type
// other than 1 gets the delay with bit 30 as its effort; contour types of
// 90 and more count as 0; bit 28 is always set. Durations: 479,520 minutes
// are 999 + 1 = 1000 days, doubled; 480,000 are 1001 days, by half again.
TEST_F(MainLoopTest, SearchArgumentsFollowModeContourDelayAndDurationRules) {
  project("P1");
  task("P1", "T1", 1);
  task("P1", "T2", 1);
  task("P1", "T3", 1);
  assignment("P1", "T1", "A1", "R1", 480);
  assignment("P1", "T2", "A2", "R2", 480, 0, "2024-01-08",
             {{"RESOURCE_TYPE", "1"}, {"C_EFFORT", "100"}, {"CONTOUR_TYPE", "95"}});
  assignment("P1", "T3", "A3", "R3", 480, 0, "2024-01-08", {{"CONTOUR_TYPE", "1"}});
  reserved = 30;

  ASSERT_EQ(0, levelRun({"P1"}, 3, [](db::Store& s) {
              levelIndexes({{"P1", 0}, {"T1", 1}, {"T2", 2}, {"T3", 3}})(s);
              s.execute("update Lev_kor_wbs set UNRESOLVED_DURATION=479520 where ELEMENT_ID='T2'");
              s.execute("update Lev_kor_wbs set UNRESOLVED_DURATION=480000 where ELEMENT_ID='T3'");
            })) << log;
  ASSERT_EQ(3u, fake.searches.size());
  const SearchSeen& a1 = fake.searches[0];
  const SearchSeen& a2 = fake.searches[1];
  const SearchSeen& a3 = fake.searches[2];
  EXPECT_EQ(7, a1.mode);
  EXPECT_EQ(12, a2.mode);
  EXPECT_EQ(7, a3.mode);
  EXPECT_EQ(266, a1.runFlag);
  EXPECT_EQ(1073741824 + 30, a1.effort);
  EXPECT_EQ(268435456, a1.contourType);
  EXPECT_EQ(100, a2.effort);
  EXPECT_EQ(268435456, a2.contourType);
  EXPECT_EQ(0, a3.effort);
  EXPECT_EQ(268435457, a3.contourType);
  EXPECT_EQ(4, a1.duration);
  EXPECT_EQ(2000, a2.duration);
  EXPECT_EQ(1501, a3.duration);
}

// Data checks: a task marked with an assignment that has none is D-2-1 and
// is not searched; a deleted task (in the work table, not in the network)
// is passed over quietly; the others go on.
TEST_F(MainLoopTest, TaskMarkedWithAssignmentButNoneIsReportedAndSkipped) {
  project("P1");
  task("P1", "T1", 1);
  task("P1", "T2", 1);
  task("P1", "TD", 1, "2024-01-08", {{"REC_STATUS", "D"}});
  assignment("P1", "T1", "A1", "R1", 480);
  assignment("P1", "TD", "AD", "R2", 480);

  ASSERT_EQ(0, levelRun({"P1"}, 0, levelIndexes({{"P1", 0}, {"T1", 1}, {"T2", 2}}))) << log;
  EXPECT_EQ((std::vector<std::string>{"A1"}), searchOrder());
  EXPECT_NE(std::string::npos, log.find("**** error(D-2-1)/data corruption in "
                                        "Lev_resolveDepOracleDB (levelResourcesForProject)"));
  EXPECT_NE(std::string::npos,
            log.find("task is marked as having an assignment but got NULL value for "
                     "'h_resource_id' or 'h_tsk_assignment_id'"));
  EXPECT_NE(std::string::npos, log.find("h_tsk_element_id = T2 (0)"));
  EXPECT_NE(std::string::npos, log.find("h_tsk_assignment_id =  (-1)"));
  EXPECT_NE(std::string::npos, std::string(run->message).find("error(D-2-1)"));
  EXPECT_EQ(std::string::npos, log.find("h_tsk_element_id = TD"));
}

// Warnings of the search: a non-zero status (W-6) is logged with the call
// text and the run goes on with the returned dates; a start at 00:00 (W-7)
// becomes 08:00 of the same day.
TEST_F(MainLoopTest, SearchWarningsAreReportedAndRepaired) {
  project("P1");
  task("P1", "T1", 1);
  task("P1", "T2", 1, "2024-01-09");
  assignment("P1", "T1", "A1", "R1", 480);
  assignment("P1", "T2", "A2", "R2", 480, 0, "2024-01-09");
  fake.status["A1"] = 7;
  fake.midnight.insert("A2");

  ASSERT_EQ(0, levelRun({"P1"}, 0, levelIndexes({{"P1", 0}, {"T1", 1}, {"T2", 2}}))) << log;
  EXPECT_EQ(0, run->errCode);
  EXPECT_NE(std::string::npos,
            log.find("**** error(W-6) in Lev_resolveDepOracleDB (levelResourcesForProject) "
                     "\nerror type: (critical) not zero error code returning from FC_SEARCH_2"));
  EXPECT_NE(std::string::npos, log.find("The invocation of FC_SEARCH_2 as follows: \n"
                                        "\nCALL LEVEL_FC_SEARCH_2('A1', \n"));
  EXPECT_NE(std::string::npos, log.find("'2024-01-08 00:00:00.000000', \n"));
  EXPECT_NE(std::string::npos, log.find("'tester', \n"));
  EXPECT_NE(std::string::npos, log.find(") \n\n\n"));
  EXPECT_NE(std::string::npos, log.find("h_temp_sc_state = 7"));
  EXPECT_NE(std::string::npos,
            log.find("error(W-7) in Lev_resolveDepOracleDB (levelResourcesForProject) \nerror "
                     "type: (not critical) wrong start-date time-string after return from "
                     "FC_SEARCH_2"));
  EXPECT_EQ(std::string::npos, log.find("error(W-8)"));
  // The search's text of the last call is kept whole.
  EXPECT_EQ(0, std::strncmp(run->sql_stmt, "\nCALL LEVEL_FC_SEARCH_2('A2', \n", 30));
  // A1 placed Monday despite its status; A2 (T2 starts on Monday too, as
  // soon as possible) returned at 00:00 counts from 08:00.
  EXPECT_EQ("2024-01-08 08:00:00.000000 2024-01-08 17:00:00.000000",
            text("select LEVEL_START||' '||LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='T1'"));
  EXPECT_EQ("2024-01-08 08:00:00.000000 2024-01-08 17:00:00.000000",
            text("select LEVEL_START||' '||LEVEL_FINISH from Lev_kor_wbs where ELEMENT_ID='T2'"));
}

// A search that leaves its start null ends the run with -1405: the SQL
// failure line, the call text in the log and the user message; the tail
// does not run.
TEST_F(MainLoopTest, NullStartFromSearchEndsRunWithCallText) {
  project("P1");
  task("P1", "T1", 1);
  task("P1", "T2", 1);
  assignment("P1", "T1", "A1", "R1", 480);
  assignment("P1", "T2", "A2", "R2", 480);
  fake.nullStart.insert("A1");

  EXPECT_EQ(-1405, levelRun({"P1"}, 0, levelIndexes({{"P1", 0}, {"T1", 1}, {"T2", 2}})));
  EXPECT_EQ(-1405, run->errCode);
  EXPECT_EQ((std::vector<std::string>{"A1"}), searchOrder());
  EXPECT_TRUE(fake.levelStrings.empty());
  EXPECT_NE(std::string::npos, log.find("negative error code from SQL: SC_STATE = -1405"));
  EXPECT_NE(std::string::npos, log.find("\nCALL LEVEL_FC_SEARCH_2('A1', \n"));
  const std::string message = run->message;
  EXPECT_NE(std::string::npos,
            message.find("The termination is caused by invocation of 'FC_SEARCH_2' function, "
                         "the 'Calculte/Leveling' terminates, w/no resume \n"));
  EXPECT_NE(std::string::npos, message.find("CALL LEVEL_FC_SEARCH_2('A1'"));
  EXPECT_EQ("null", text("select coalesce(LEVEL_START, 'null') from KOR_WBS where "
                         "ELEMENT_ID='T1'"));
}

// The loop commits once 400 tasks have been processed since the last
// commit, at the change to the next task: the project item and T001..T399
// are 400 rows, so T399's search sees no commit and T400's one.
TEST_F(MainLoopTest, CommitsAfterFourHundredTasks) {
  project("P1");
  std::map<std::string, int> indexes{{"P1", 0}};
  for (int i = 1; i <= 400; ++i) {
    char id[16];
    std::snprintf(id, sizeof id, "T%03d", i);
    const bool withAssignment = i >= 399;
    task("P1", id, withAssignment ? 1 : 0);
    if (withAssignment) assignment("P1", id, std::string("A") + id, "R1", 60);
    indexes[id] = i;
  }
  ASSERT_EQ(0, levelRun({"P1"}, 0, levelIndexes(indexes))) << log.substr(0, 4000);
  ASSERT_EQ(2u, fake.searches.size());
  EXPECT_EQ("AT399", fake.searches[0].assignment);
  // Counted from the project's calendar levels (the first row): the
  // progress notification before the loop commits too.
  EXPECT_EQ(0, fake.searches[0].commitsBefore - fake.commitsAtCalendarLevel);
  EXPECT_EQ(1, fake.searches[1].commitsBefore - fake.commitsAtCalendarLevel);
  EXPECT_NE(std::string::npos, log.find("commit here exceding number of tasks"));
}

// The tail's copy into KOR_WBS: an item in LEVEL_STATE 4 keeps its own
// roll-up bits with bit 17 added and goes to state 0; others take the work
// table's bits and state 1; items at 100% with remaining work get index -1;
// rows outside the run are untouched. Project assignments take the
// envelope of their levelled task assignments.
TEST_F(MainLoopTest, TailCopiesResultsIntoPlan) {
  project("P1");
  project("Q1");
  task("P1", "T1", 1, "2024-01-08", {{"LEVEL_STATE", "4"}, {"ROLLUP_BITS", "5"}});
  task("P1", "T2", 1, "2024-01-08", {{"LEVEL_STATE", "2"}, {"ROLLUP_BITS", "3"}});
  task("P1", "T3", 0, "2024-01-08", {{"ETC", "30"}, {"MILESTONE_PERCENT", "10000"}});
  task("P1", "T4", 0, "2024-01-08", {{"ETC", "0"}, {"MILESTONE_PERCENT", "10000"}});
  task("Q1", "Q2", 0, "2024-01-08", {{"LEVEL_STATE", "4"}, {"ROLLUP_BITS", "5"}});
  assignment("P1", "T1", "A1", "R1", 480, 0, "2024-01-08", {{"PROJECT_ASSIGNMENT_ID", "PR1"}});
  assignment("P1", "T2", "A2", "R1", 960, 0, "2024-01-08", {{"PROJECT_ASSIGNMENT_ID", "PR1"}});
  db.row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "P1"}, {"RESOURCE_ID", "R1"}});
  db.row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "Q1"}, {"RESOURCE_ID", "R1"},
                                 {"LEVEL_PLANNED_START", "2024-02-01 08:00:00.000000"}});

  ASSERT_EQ(0, levelRun({"P1"}, 0, [](db::Store& s) {
              levelIndexes({{"P1", 0}, {"T1", 1}, {"T2", 2}, {"T3", 3}, {"T4", 4}})(s);
              s.execute("update Lev_kor_wbs set ROLLUP_BITS=9 where ELEMENT_ID='T2'");
            })) << log;
  EXPECT_EQ(131077, number("select ROLLUP_BITS from KOR_WBS where ELEMENT_ID='T1'"));
  EXPECT_EQ(0, number("select LEVEL_STATE from KOR_WBS where ELEMENT_ID='T1'"));
  EXPECT_EQ(9, number("select ROLLUP_BITS from KOR_WBS where ELEMENT_ID='T2'"));
  EXPECT_EQ(1, number("select LEVEL_STATE from KOR_WBS where ELEMENT_ID='T2'"));
  EXPECT_EQ(-1, number("select LEVEL_INDEX from KOR_WBS where ELEMENT_ID='T3'"));
  EXPECT_EQ(number("select LEVEL_INDEX from Lev_kor_wbs where ELEMENT_ID='T4'"),
            number("select LEVEL_INDEX from KOR_WBS where ELEMENT_ID='T4'"));
  EXPECT_NE(-1, number("select LEVEL_INDEX from KOR_WBS where ELEMENT_ID='T4'"));
  EXPECT_EQ(4, number("select LEVEL_STATE from KOR_WBS where ELEMENT_ID='Q2'"));
  EXPECT_EQ(5, number("select ROLLUP_BITS from KOR_WBS where ELEMENT_ID='Q2'"));
  // R1: A1 Monday, then A2 Tuesday and Wednesday.
  EXPECT_EQ("2024-01-08 08:00:00.000000 2024-01-10 17:00:00.000000 null null",
            text("select LEVEL_PLANNED_START||' '||LEVEL_PLANNED_FINISH||' '||"
                 "coalesce(LEVEL_SCHED_START,'null')||' '||coalesce(LEVEL_SCHED_FINISH,'null') "
                 "from PROJECT_ASSIGNMENTS where PROJECT_ID='P1'"));
  EXPECT_EQ("2024-02-01 08:00:00.000000",
            text("select LEVEL_PLANNED_START from PROJECT_ASSIGNMENTS where PROJECT_ID='Q1'"));
  const std::string message = run->message;
  EXPECT_NE(std::string::npos, message.find("The last portion of scheduling information is "
                                            "copied into DB."));
}

// A what-if levelling (kind 4): the scenario's project takes the dates of
// its project assignments where they lie outside its item's levelled
// dates; the project's start is stored as moved. R1 works on T1 Monday and
// Tuesday (planned mode) and, in schedule mode, had an assignment of a
// task no longer in the plan from Friday 2024-01-05 to Friday 2024-01-12.
TEST_F(MainLoopTest, WhatIfRunSummarisesProjectAssignmentsIntoScenario) {
  project("P1");
  task("P1", "T1", 1);
  assignment("P1", "T1", "A1", "R1", 960, 0, "2024-01-08", {{"PROJECT_ASSIGNMENT_ID", "PR1"}});
  db.row("PROJECT_ASSIGNMENTS", {{"PROJECT_ID", "P1"}, {"RESOURCE_ID", "R1"}});
  db.row("NAV_SCENARIOS", {{"ELEMENT_ID", "P1"}, {"TYPE_ID", "1"}});
  db.row("TASK_ASSIGNMENTS", {{"PROJECT_ID", "P1"},
                              {"TASK_ID", "GONE"},
                              {"TSK_ASSIGNMENT_ID", "OLD"},
                              {"RESOURCE_ID", "R1"},
                              {"PROJECT_ASSIGNMENT_ID", "PR1"},
                              {"BIT_FLAG", "2"},
                              {"LEVEL_START", "2024-01-05 08:00:00.000000"},
                              {"LEVEL_FINISH", "2024-01-12 17:00:00.000000"}});

  ASSERT_EQ(0, levelRun({"P1"}, 4, levelIndexes({{"P1", 0}, {"T1", 1}}))) << log;
  EXPECT_EQ((std::vector<std::string>{"A1"}), searchOrder());
  EXPECT_EQ("2024-01-08 08:00:00.000000 2024-01-09 17:00:00.000000 "
            "2024-01-05 08:00:00.000000 2024-01-12 17:00:00.000000",
            text("select LEVEL_PLANNED_START||' '||LEVEL_PLANNED_FINISH||' '||LEVEL_SCHED_START"
                 "||' '||LEVEL_SCHED_FINISH from PROJECT_ASSIGNMENTS"));
  EXPECT_EQ("P1 2024-01-05 2024-01-12",
            text("select PROJECT_ID||' '||LEVEL_START||' '||LEVEL_FINISH from Lev_WhatIf_PA"));
  EXPECT_EQ("2024-01-05 2024-01-12",
            text("select LEVEL_START||' '||LEVEL_FINISH from NAV_SCENARIOS"));
  EXPECT_EQ("2024-01-08 00:00:00.000000 1",
            text("select LEVEL_START_FINISH_DATE||' '||LEVEL_MOVE_PROJ from PROJECT_DETAILS "
                 "where PROJECT_ID='P1'"));
  EXPECT_NE(std::string::npos, std::string(run->message).find(
                                   "The scheduling date/time information is copied to "
                                   "'WorkPackages'. "));
}

// Effort in the run but no task with assignments: W-3, no search, and the
// results are still written.
TEST_F(MainLoopTest, EffortWithoutAssignmentsSkipsTheLoop) {
  project("P1");
  task("P1", "T1", 0);
  ASSERT_EQ(0, levelRun({"P1"})) << log;
  EXPECT_TRUE(fake.searches.empty());
  EXPECT_EQ(0, fake.iniCalls);
  EXPECT_NE(std::string::npos,
            log.find("error(W-3) in Lev_resolveDepOracleDB (levelResourcesForProject) \nerror "
                     "type: (very critical) total effort is not supported by assignments"));
  EXPECT_EQ("2024-01-08 08:00:00.000000",
            text("select LEVEL_START from KOR_WBS where ELEMENT_ID='T1'"));
}

}  // namespace
