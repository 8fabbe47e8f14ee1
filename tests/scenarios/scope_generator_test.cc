// The scope generator: a generated scope of 1,000 tasks is whole (counts as
// described, every reference resolves, no cycle through dependencies and
// containment), its calendars and actual work are where a run reads them,
// and the driver's copy into the work table takes the run's rows only.
#include "scope_generator.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "store/host_vars.h"
#include "support/test_db.h"

namespace {

using testing::TestDb;

struct Row {
  std::string parent, rank, project;
  int type = 0;
};

std::map<std::string, Row> readItems(db::Store& store) {
  std::map<std::string, Row> out;
  db::Cursor c(store);
  db::IdText id, parent, project;
  db::RankText rank;
  int32_t type = 0;
  int16_t ind[5] = {};
  int32_t rc = c.open("select ELEMENT_ID ,PARENT_ID ,RANK ,TYPE_ID ,PROJECT_ID  from KOR_WBS");
  while (rc == 0 && (rc = c.fetch({db::HostVar(id, &ind[0]), db::HostVar(parent, &ind[1]),
                                   db::HostVar(rank, &ind[2]), db::HostVar(type, &ind[3]),
                                   db::HostVar(project, &ind[4])})) == 0) {
    out[id.c_str()] = {ind[1] < 0 ? "" : parent.c_str(), rank.c_str(), project.c_str(), type};
  }
  EXPECT_EQ(rc, 100);
  return out;
}

std::vector<std::pair<std::string, std::string>> readDependencies(db::Store& store) {
  std::vector<std::pair<std::string, std::string>> out;
  db::Cursor c(store);
  db::IdText pred, succ;
  int32_t rc = c.open("select PRED_ID ,SUCC_ID  from DEPENDENCIES");
  while (rc == 0 && (rc = c.fetch({db::HostVar(pred), db::HostVar(succ)})) == 0) {
    out.emplace_back(pred.c_str(), succ.c_str());
  }
  EXPECT_EQ(rc, 100);
  return out;
}

// The graph of dependencies, "container before child" (start bounds) and
// "child before container" (roll-up) with two nodes per item, ordered by
// repeatedly taking nodes without unprocessed predecessors: every node is
// taken exactly when there is no cycle.
bool acyclicThroughContainment(const std::map<std::string, Row>& items,
                               const std::vector<std::pair<std::string, std::string>>& deps) {
  std::map<std::string, size_t> index;
  for (const auto& [id, row] : items) index.emplace(id, index.size());
  const size_t n = index.size();
  std::vector<std::vector<size_t>> next(2 * n);
  std::vector<int> in(2 * n, 0);
  auto edge = [&](size_t a, size_t b) {
    next[a].push_back(b);
    ++in[b];
  };
  for (const auto& [id, row] : items) {
    const size_t i = index[id];
    edge(2 * i, 2 * i + 1);
    auto p = index.find(row.parent);
    if (p != index.end()) {
      edge(2 * p->second, 2 * i);
      edge(2 * i + 1, 2 * p->second + 1);
    }
  }
  for (const auto& [pred, succ] : deps) edge(2 * index[pred] + 1, 2 * index[succ]);
  std::vector<size_t> ready;
  for (size_t v = 0; v < 2 * n; ++v) {
    if (in[v] == 0) ready.push_back(v);
  }
  size_t taken = 0;
  while (!ready.empty()) {
    const size_t v = ready.back();
    ready.pop_back();
    ++taken;
    for (size_t w : next[v]) {
      if (--in[w] == 0) ready.push_back(w);
    }
  }
  return taken == 2 * n;
}

TEST(ScopeGenerator, AThousandTasksAreWholeAndAcyclic) {
  TestDb db;
  scopegen::Shape shape;  // 1,000 tasks, ten roots with two sub-projects each
  scopegen::Description d;
  ASSERT_EQ(scopegen::generateScope(db.store(), shape, &d), 0);

  ASSERT_EQ(d.rootProjects.size(), 10u);
  EXPECT_EQ(d.rootProjects.front(), "R01");
  EXPECT_EQ(d.projects.size(), 30u);
  EXPECT_EQ(d.projects[1], "R01S1");  // a root's sub-projects follow it
  EXPECT_EQ(d.outsideProject, "X01");
  EXPECT_EQ(d.tasks, 1000);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS where TYPE_ID=3 and PROJECT_ID<>'X01'"), 1000);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS where TYPE_ID=2 and PROJECT_ID<>'X01'"),
            d.containers);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS"), d.wbsRows);
  EXPECT_EQ(d.wbsRows, d.tasks + d.containers + 30 + 5);  // X01, XC01 and three tasks
  // Three container levels under every project: no task sits higher.
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS T, KOR_WBS P where T.TYPE_ID=3 and "
                      "P.ELEMENT_ID=T.PARENT_ID and P.TYPE_ID<>2"),
            0);
  EXPECT_EQ(db.scalar("select min(LEVEL_ID) from KOR_WBS where TYPE_ID=3 and PROJECT_ID<>'X01'"), 5);
  EXPECT_EQ(db.scalar("select max(LEVEL_ID) from KOR_WBS"), 6);

  // References resolve.
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS W where PARENT_ID is not null and not exists "
                      "(select 1 from KOR_WBS P where P.ELEMENT_ID=W.PARENT_ID)"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS W where PARENT_ID is null"), 11);
  EXPECT_EQ(db.scalar("select count(*) from DEPENDENCIES D where not exists (select 1 from "
                      "KOR_WBS W where W.ELEMENT_ID=D.PRED_ID and W.PROJECT_ID=D.PRED_PROJECT_ID) "
                      "or not exists (select 1 from KOR_WBS W where W.ELEMENT_ID=D.SUCC_ID and "
                      "W.PROJECT_ID=D.SUCC_PROJECT_ID)"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from TASK_ASSIGNMENTS A where not exists (select 1 from "
                      "KOR_WBS W where W.ELEMENT_ID=A.TASK_ID and W.PROJECT_ID=A.PROJECT_ID and "
                      "W.TYPE_ID=3) or not exists (select 1 from RESOURCES R where "
                      "R.RESOURCE_ID=A.RESOURCE_ID)"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from TASK_DAY_OF_YEAR D where not exists (select 1 from "
                      "TASK_ASSIGNMENTS A where A.TSK_ASSIGNMENT_ID=D.TSK_ASSIGNMENT_ID and "
                      "A.TASK_ID=D.TASK_ID and A.RESOURCE_ID=D.RESOURCE_ID)"),
            0);
  // Ranks nest: every item's rank starts with its parent's.
  const auto items = readItems(db.store());
  for (const auto& [id, row] : items) {
    ASSERT_LE(id.size(), 32u);
    if (row.parent.empty()) continue;
    const Row& parent = items.at(row.parent);
    ASSERT_EQ(row.rank.compare(0, parent.rank.size(), parent.rank), 0) << id;
  }

  // Dependencies: all four kinds, between projects, at containers, to and
  // from the outside project; none between an item and its ancestor, no
  // cycle through containment.
  const auto deps = readDependencies(db.store());
  EXPECT_EQ(static_cast<int64_t>(deps.size()), d.dependencies);
  EXPECT_GT(d.dependencies, 1000);
  for (int64_t count : d.dependenciesByType) EXPECT_GT(count, 50);
  EXPECT_GT(d.crossProjectDependencies, 10);
  EXPECT_GT(d.containerDependencies, 10);
  EXPECT_GT(d.leads, 10);
  EXPECT_EQ(d.outsideDependencies, 2);
  EXPECT_EQ(db.scalar("select count(*) from DEPENDENCIES where PRED_PROJECT_ID='X01'"), 1);
  EXPECT_EQ(db.scalar("select count(*) from DEPENDENCIES where SUCC_PROJECT_ID='X01'"), 1);
  EXPECT_EQ(db.scalar("select count(*) from DEPENDENCIES where AMOUNT % 480 <> 0 or "
                      "(LEAD_OR_LAG_TYPE=1 and AMOUNT<>480)"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from (select PRED_ID, SUCC_ID from DEPENDENCIES group by "
                      "PRED_ID, SUCC_ID having count(*) > 1)"),
            0);
  for (const auto& [pred, succ] : deps) {
    const std::string& a = items.at(pred).rank;
    const std::string& b = items.at(succ).rank;
    ASSERT_NE(a.compare(0, b.size(), b), 0) << pred << " under " << succ;
    ASSERT_NE(b.compare(0, a.size(), a), 0) << succ << " under " << pred;
  }
  EXPECT_TRUE(acyclicThroughContainment(items, deps));

  // One or two assignments per task on the shared pool of 5,000.
  EXPECT_EQ(d.resources, 5000);
  EXPECT_EQ(db.scalar("select count(*) from RESOURCES"), 5000);
  EXPECT_EQ(db.scalar("select count(*) from TASK_ASSIGNMENTS"), d.assignments);
  EXPECT_EQ(db.scalar("select count(*) from (select TASK_ID from TASK_ASSIGNMENTS group by "
                      "TASK_ID having count(*) not in (1, 2))"),
            0);
  EXPECT_EQ(db.scalar("select count(distinct TASK_ID) from TASK_ASSIGNMENTS"), 1000);
  EXPECT_GT(db.scalar("select count(*) from (select TASK_ID from TASK_ASSIGNMENTS group by "
                      "TASK_ID having count(*) = 2)"),
            300);
  EXPECT_GT(db.scalar("select count(*) from (select RESOURCE_ID from TASK_ASSIGNMENTS group by "
                      "RESOURCE_ID having count(distinct PROJECT_ID) > 1)"),
            10);
  // Each assignment has a day row per working day of its task, 480 minutes.
  EXPECT_EQ(db.scalar("select count(*) from TASK_DAY_OF_YEAR"), d.dayWorkRows);
  EXPECT_EQ(db.scalar("select count(*) from TASK_ASSIGNMENTS A where PROPOSED_WORK <> 480 * "
                      "(select count(*) from TASK_DAY_OF_YEAR D where "
                      "D.TSK_ASSIGNMENT_ID=A.TSK_ASSIGNMENT_ID)"),
            0);

  // Actual work: finished and started tasks before the as-of day only, the
  // work to date on the days flagged, the rest still to do.
  EXPECT_GT(d.finishedTasks, 5);
  EXPECT_GT(d.inProgressTasks, 5);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS where ACTUAL_FINISH is not null"),
            d.finishedTasks);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS where ACTUAL_START is not null"),
            d.finishedTasks + d.inProgressTasks);
  const std::string asOfDay = d.asOf.substr(0, 10);
  EXPECT_EQ(db.scalar("select count(*) from KOR_WBS where ACTUAL_START >= '" + asOfDay +
                      "' or ACTUAL_FINISH >= '" + asOfDay + "'"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from TASK_DAY_OF_YEAR where ACTUAL_FLAG=1 and DAY_YEAR >= '" +
                      asOfDay + "'"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from TASK_ASSIGNMENTS A where WORK_TODATE <> (select "
                      "coalesce(sum(ACTUAL_MIN),0) from TASK_DAY_OF_YEAR D where "
                      "D.TSK_ASSIGNMENT_ID=A.TSK_ASSIGNMENT_ID and ACTUAL_FLAG=1) or "
                      "(ETC - SCHED_WORK - PLANNED_WORK) + WORK_TODATE <> PROPOSED_WORK - WORK_TODATE"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from TASK_ASSIGNMENTS where ACTUAL_START is not null and "
                      "ACTUAL_FINISH is null and (LAST_SUBMITTED is null or LAST_SUBMITTED >= '" +
                      asOfDay + "')"),
            0);

  // Calendars: a row a day per project from well before the first start to
  // well after the last finish; holidays and weekends without work.
  EXPECT_EQ(db.scalar("select count(*) from KOR_CALENDARS"), 32);  // 31 projects and the base
  EXPECT_EQ(db.scalar("select count(distinct ELEMENT_ID) from CALENDAR_DAY_OF_YEAR"), 31);
  EXPECT_EQ(db.scalar("select count(*) from CALENDAR_DAY_OF_YEAR"), d.calendarDayRows);
  EXPECT_EQ(db.scalar("select count(*) from (select ELEMENT_ID from CALENDAR_DAY_OF_YEAR group by "
                      "ELEMENT_ID having min(DAY_YEAR) > date('" + d.firstDay +
                      "', '-520 days') or max(DAY_YEAR) < date('" + d.lastDay +
                      "', '+1900 days'))"),
            0);
  const int64_t free = db.scalar("select count(*) from CALENDAR_DAY_OF_YEAR where ELEMENT_ID='R01' "
                                 "and BIT_SCHED=(select SUNDAY_BIT from KOR_CALENDARS where "
                                 "ELEMENT_ID='R01')");
  const int64_t weekends = db.scalar("select count(*) from CALENDAR_DAY_OF_YEAR where "
                                     "ELEMENT_ID='R01' and DAY_WEEK in (1, 7)");
  EXPECT_GT(free, weekends);  // the holidays
  EXPECT_EQ(db.scalar("select count(*) from CALENDAR_DAY_OF_YEAR where ELEMENT_ID='R01' and "
                      "(DAY_YEAR like '%-12-25' or DAY_YEAR like '%-05-01') and BIT_SCHED<>(select "
                      "SUNDAY_BIT from KOR_CALENDARS where ELEMENT_ID='R01')"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from CALENDAR_DAY_OF_YEAR where DAY_YEAR='2025-01-06' and "
                      "DAY_WEEK<>2"),
            0);  // a Monday
  EXPECT_GT(db.scalar("select count(*) from CALENDAR_EXCEPTIONS where CALENDAR_ID='CAL_BASE'"), 10);

  // Projects and the portfolio folder a run can be asked for.
  EXPECT_EQ(db.scalar("select count(*) from PROJECT_DETAILS where LEVEL_LOCK=0"), 31);
  EXPECT_EQ(db.scalar("select CHILD_COUNT from KOR_PORTFOLIOS where ELEMENT_ID='PF_RUN' and "
                      "TYPE_ID=64"),
            10);
  EXPECT_EQ(db.scalar("select count(*) from KOR_PORTFOLIOS P, KOR_WBS W where P.RANK like "
                      "'000000010001%' and P.TYPE_ID=1 and W.ELEMENT_ID=P.ELEMENT_ID and "
                      "W.PROJECT_ID=P.ELEMENT_ID"),
            10);

  // The driver's copy: the run's projects only, each row with its project's
  // priority.
  ASSERT_EQ(scopegen::writeProjectList(db.store(), d), 0);
  EXPECT_EQ(db.scalar("select count(*) from NAV_TMP_PROJECTS_00"), 30);
  EXPECT_EQ(db.scalar("select count(*) from NAV_TMP_PROJECTS_00 where length(START_FINISH_DATE) "
                      "<> 10 or PRIORITY is null or LEVEL_ID <> 0"),
            0);
  db.row("Lev_kor_wbs", {{"ELEMENT_ID", "LEFTOVER"}});
  ASSERT_EQ(scopegen::copyWbsToWorkTable(db.store()), 0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_kor_wbs"), d.wbsRows - 5);
  EXPECT_EQ(db.scalar("select count(*) from Lev_kor_wbs where ELEMENT_ID='LEFTOVER' or "
                      "PROJECT_ID='X01'"),
            0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_kor_wbs L, KOR_WBS P where P.ELEMENT_ID=L.PROJECT_ID "
                      "and L.PRIORITY<>P.PRIORITY"),
            0);
  EXPECT_EQ(db.scalar("select count(distinct PRIORITY) from Lev_kor_wbs where PROJECT_ID like 'R01%'"), 1);
}

}  // namespace
