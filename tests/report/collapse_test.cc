// A generated portfolio of about 2,000 items, levelled through the entry
// point and reported for its folder: the rows are folded below the depth
// the automatic rule gives (checked against depths computed here from the
// stored tree), every row shown has its bar, every folded item is counted
// in the row that stands for it, and the explicit depth 0 leaves one row
// per root project.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>

#include "report/html_report.h"
#include "report/report_fixture.h"
#include "run/entry_points.h"
#include "scope_generator.h"
#include "support/test_db.h"

namespace reporttest {
namespace {

class GeneratedPortfolio : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    db_ = new testing::TestDb();
    scopegen::Shape shape;
    shape.tasks = 1700;
    shape.resources = 40;
    shape.seed = 7;
    ASSERT_EQ(0, scopegen::generateScope(db_->store(), shape, &scope_));
    db_->row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
    db_->commit();
    const std::string log = tempPath("report_portfolio", ".log");
    LevCallContext ctx{&db_->store(), log.c_str(), nullptr, nullptr};
    runResult_ = RES_DEP_FOR_PROJ(&ctx, scope_.portfolio.c_str(), 0, 0, 0, 0, 0,
                                  scope_.asOf.c_str(), 0, "U1", 0);
    std::remove(log.c_str());
  }
  static void TearDownTestSuite() {
    delete db_;
    db_ = nullptr;
  }

  // The report of the folder; its tags outside the legend.
  std::vector<Tag> reportOf(int collapseDepth, std::string& html) {
    const std::string path = tempPath("report_portfolio", ".html");
    std::string error;
    const int rc = report::writeHtmlReport(db_->store(), scope_.portfolio, path,
                                           {.collapseDepth = collapseDepth}, error);
    EXPECT_EQ(0, rc) << error;
    html = readFile(path);
    std::remove(path.c_str());
    if (const char* keep = std::getenv("REPORT_PORTFOLIO_PAGE")) {
      if (FILE* f = std::fopen(keep, "w")) {
        std::fputs(html.c_str(), f);
        std::fclose(f);
      }
    }
    return dropLegend(html, scanTags(html));
  }

  // Depth of every item of the scope's projects from the stored parents
  // (a row whose parent is not in the scope is a root, depth 0), and the
  // number of items below each.
  void treeOfTheScope(std::map<std::string, int>& depth, std::map<std::string, int>& below,
                      std::map<std::string, std::string>* root = nullptr) {
    std::map<std::string, std::string> parent;
    const std::set<std::string> projects(scope_.projects.begin(), scope_.projects.end());
    db::Cursor c(db_->store());
    ASSERT_EQ(0, c.open("SELECT ELEMENT_ID, PARENT_ID, PROJECT_ID FROM KOR_WBS"));
    db::IdText id, par, project;
    int16_t ind[3] = {0, 0, 0};
    while (c.fetch({{id, &ind[0]}, {par, &ind[1]}, {project, &ind[2]}}) == 0) {
      if (projects.count(std::string(project.view())))
        parent[std::string(id.view())] = ind[1] < 0 ? "" : std::string(par.view());
    }
    for (const auto& [item, p] : parent) {
      int d = 0;
      std::string top = item;
      for (std::string at = p; parent.count(at) && at != item; at = parent[at]) {
        ++d;
        ++below[at];
        top = at;
      }
      depth[item] = d;
      if (root != nullptr) (*root)[item] = top;
    }
  }

  static testing::TestDb* db_;
  static scopegen::Description scope_;
  static int runResult_;
};

testing::TestDb* GeneratedPortfolio::db_ = nullptr;
scopegen::Description GeneratedPortfolio::scope_;
int GeneratedPortfolio::runResult_ = -1;

// The shapes standing for items, by item.
std::map<std::string, Tag> levelledShapes(const std::vector<Tag>& tags) {
  std::map<std::string, Tag> out;
  for (const Tag& t : tags) {
    if (t.name == "g" || t.attr("data-item").empty()) continue;
    if (t.hasClass("bar-levelled") || t.hasClass("bar-summary") || t.hasClass("milestone")) {
      EXPECT_EQ(0u, out.count(t.attr("data-item"))) << t.attr("data-item") << " drawn twice";
      out[t.attr("data-item")] = t;
    }
  }
  return out;
}

TEST_F(GeneratedPortfolio, AutomaticDepthKeepsAtMost400RowsAndFoldsTheRest) {
  ASSERT_EQ(0, runResult_);
  std::map<std::string, int> depth, below;
  treeOfTheScope(depth, below);
  ASSERT_GT(depth.size(), 1900u);
  std::map<int, int> upTo;  // rows shown when folding below d
  int maxDepth = 0;
  for (const auto& [item, d] : depth) maxDepth = std::max(maxDepth, d);
  for (int d = 0; d <= maxDepth; ++d) {
    for (const auto& [item, di] : depth) upTo[d] += di <= d ? 1 : 0;
  }

  std::string html;
  const auto tags = reportOf(-1, html);
  const auto charts = withClass(tags, "gantt", "svg");
  ASSERT_EQ(1u, charts.size());
  const int chosen = std::stoi(charts[0].attr("data-collapse-depth"));
  const int rows = std::stoi(charts[0].attr("data-rows"));
  EXPECT_EQ(upTo[chosen], rows);
  EXPECT_LE(rows, report::kAutomaticRowLimit);
  ASSERT_LT(chosen, maxDepth);
  EXPECT_GT(upTo[chosen + 1], report::kAutomaticRowLimit);  // the deepest such depth
  EXPECT_NE(std::string::npos, html.find("deepest that keeps at most 400 rows"));

  // One bar per row (every item of the scope was levelled), and each
  // folded container counts everything below it.
  const auto shapes = levelledShapes(tags);
  int shown = 0, folded = 0;
  for (const auto& [item, d] : depth) {
    if (d > chosen) {
      EXPECT_EQ(0u, shapes.count(item)) << item << " at depth " << d;
      continue;
    }
    ++shown;
    ASSERT_EQ(1u, shapes.count(item)) << item;
    const Tag& s = shapes.at(item);
    if (d == chosen && below[item] > 0) {
      EXPECT_TRUE(s.hasClass("collapsed")) << item;
      EXPECT_EQ(below[item], std::stoi(s.attr("data-hidden"))) << item;
      folded += below[item];
    } else {
      EXPECT_FALSE(s.hasClass("collapsed")) << item;
    }
  }
  EXPECT_EQ(rows, shown);
  EXPECT_EQ(static_cast<int>(depth.size()), shown + folded);

  // Every bar inside the axis, at the x of its dates.
  const Tag& chart = charts[0];
  const double left = chart.num("data-x0");
  const double right =
      left + chart.num("data-px-per-day") * std::stoi(chart.attr("data-axis-days"));
  for (const auto& [item, s] : shapes) {
    const double x = s.name == "rect"            ? s.num("x")
                     : s.hasClass("bar-summary") ? s.num("data-x")
                                                 : std::stod(s.attr("d").substr(1));
    EXPECT_GE(x, left - 0.011) << item;
    EXPECT_LE(x, right + 0.011) << item;
    if (!s.hasClass("clipped")) {
      EXPECT_NEAR(expectedX(chart, s.attr("data-start")), x, 0.011) << item;
    }
  }

  // One histogram per resource the scope uses.
  std::set<std::string> histograms;
  for (const Tag& h : withClass(tags, "histogram", "svg"))
    histograms.insert(h.attr("data-resource"));
  std::string inScope = "'" + scope_.projects[0] + "'";
  for (std::size_t i = 1; i < scope_.projects.size(); ++i)
    inScope += ",'" + scope_.projects[i] + "'";
  EXPECT_EQ(
      db_->scalar("SELECT COUNT(DISTINCT RESOURCE_ID) FROM TASK_ASSIGNMENTS WHERE PROJECT_ID IN (" +
                  inScope + ")"),
      static_cast<int64_t>(histograms.size()));

  // The stacked parts of each day add up to the day's load, and the actual
  // work reported on the scope's in-progress tasks is drawn as such.
  std::map<std::string, int> parts, loads, actual;
  for (const char* cls : {"load-levelled", "load-outside", "load-actual"}) {
    for (const Tag& t : withClass(tags, cls, "rect")) {
      const std::string key = t.attr("data-resource") + " " + t.attr("data-day");
      parts[key] += std::stoi(t.attr("data-minutes"));
      loads[key] = std::stoi(t.attr("data-load"));
      if (std::string(cls) == "load-actual") actual[key] = std::stoi(t.attr("data-minutes"));
    }
  }
  EXPECT_EQ(loads, parts);
  ASSERT_FALSE(actual.empty());
  db::Cursor c(db_->store());
  ASSERT_EQ(0, c.open("SELECT RESOURCE_ID, DAY_YEAR, SUM(ACTUAL_MIN) FROM TASK_DAY_OF_YEAR "
                      "WHERE ACTUAL_FLAG = 1 AND ACTUAL_MIN > 0 AND PROJECT_ID IN (" +
                      inScope + ") GROUP BY RESOURCE_ID, DAY_YEAR"));
  db::IdText resource, day;
  int32_t minutes = 0;
  std::map<std::string, int> reported;
  while (c.fetch({resource, day, minutes}) == 0) {
    // Days before the axis are not drawn.
    if (dayNumber(std::string(day.view())) >= dayNumber(chart.attr("data-axis-first")))
      reported[std::string(resource.view()) + " " + std::string(day.view())] = minutes;
  }
  EXPECT_EQ(reported, actual);
}

TEST_F(GeneratedPortfolio, DepthZeroLeavesOneRowPerRootProject) {
  ASSERT_EQ(0, runResult_);
  std::map<std::string, int> depth, below;
  std::map<std::string, std::string> root;
  treeOfTheScope(depth, below, &root);
  std::string html;
  const auto tags = reportOf(0, html);
  const auto charts = withClass(tags, "gantt", "svg");
  ASSERT_EQ(1u, charts.size());
  EXPECT_EQ(static_cast<int>(scope_.rootProjects.size()), std::stoi(charts[0].attr("data-rows")));
  EXPECT_NE(std::string::npos, html.find("The depth was chosen by the caller."));
  const auto shapes = levelledShapes(tags);
  ASSERT_EQ(scope_.rootProjects.size(), shapes.size());
  for (const std::string& root : scope_.rootProjects) {
    ASSERT_EQ(1u, shapes.count(root)) << root;
    EXPECT_EQ(below[root], std::stoi(shapes.at(root).attr("data-hidden"))) << root;
  }
  // Links between projects are drawn between their rows; links inside one
  // project are not drawn at all.
  std::set<std::string> between;
  for (const Tag& dep : withClass(tags, "dep", "path")) {
    const std::string from = root[dep.attr("data-pred")], to = root[dep.attr("data-succ")];
    EXPECT_NE(from, to) << dep.attr("data-pred") << " > " << dep.attr("data-succ");
    EXPECT_TRUE(between.insert(from + ">" + to + "/" + dep.attr("data-type")).second)
        << "drawn twice: " << from << " > " << to;
  }
  EXPECT_FALSE(between.empty());
}

}  // namespace
}  // namespace reporttest
