// The report of the small project after a levelling run, read back as
// text: every bar where its dates put it on the axis, the critical items,
// the conflict, the load histograms with the over-allocation, the legend,
// and a page that fetches nothing.
//
// Hand-checked scale: the axis runs from Monday 2024-01-08 (the earliest
// date) to 2024-02-03 (the day after the project's planned finish), 27
// days; 1100 pixels over 27 days is more than the 36 pixels a day allowed,
// so a day is 36 pixels and x0 = 320. TA, levelled 2024-01-09 08:00 to
// 2024-01-11 17:00, starts at 320 + (1 + 480/1440) x 36 = 368 and ends at
// 320 + (3 + 1020/1440) x 36 = 453.5.
#include "report/html_report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <set>

#include "report/report_fixture.h"

namespace reporttest {
namespace {

constexpr double kTolerance = 0.011;  // x is written rounded to 0.01

// The one levelled shape of an item (bar, summary bar or milestone).
std::vector<Tag> levelledShapes(const std::vector<Tag>& tags, const std::string& item) {
  std::vector<Tag> out;
  for (const Tag& t : tags) {
    if ((t.hasClass("bar-levelled") || t.hasClass("bar-summary") || t.hasClass("milestone")) &&
        t.attr("data-item") == item && t.name != "g")
      out.push_back(t);
  }
  return out;
}

// x and width of a shape: rects carry them, summary paths as data-x /
// data-width, milestones as the tip of their path.
double shapeX(const Tag& t) {
  if (t.name == "rect") return t.num("x");
  if (t.hasClass("bar-summary")) return t.num("data-x");
  return std::stod(t.attr("d").substr(1));
}
double shapeWidth(const Tag& t) {
  if (t.name == "rect") return t.num("width");
  if (t.hasClass("bar-summary")) return t.num("data-width");
  return 0;
}

class LevelledReport : public SmallProject {
 protected:
  void SetUp() override {
    SmallProject::SetUp();
    ASSERT_EQ(0, level()) << log();
    ASSERT_EQ(0, report("P1", html_)) << html_;
    all_ = scanTags(html_);
    tags_ = dropLegend(html_, all_);
    const auto charts = withClass(tags_, "gantt", "svg");
    ASSERT_EQ(1u, charts.size());
    chart_ = charts[0];
  }
  std::string html_;
  std::vector<Tag> all_;
  std::vector<Tag> tags_;  // without the legend
  Tag chart_;
};

TEST_F(LevelledReport, EveryItemHasOneBarWhereItsLevelledDatesSay) {
  EXPECT_EQ("2024-01-08", chart_.attr("data-axis-first"));
  EXPECT_EQ(27, std::stoi(chart_.attr("data-axis-days")));
  EXPECT_DOUBLE_EQ(36.0, chart_.num("data-px-per-day"));
  EXPECT_DOUBLE_EQ(320.0, chart_.num("data-x0"));

  const auto ta = withClass(tags_, "bar-levelled", "rect");
  const auto taBar =
      std::find_if(ta.begin(), ta.end(), [](const Tag& t) { return t.attr("data-item") == "TA"; });
  ASSERT_NE(ta.end(), taBar);
  EXPECT_NEAR(368.0, taBar->num("x"), kTolerance);
  EXPECT_NEAR(85.5, taBar->num("width"), kTolerance);

  // Each item of P1 (not the outside project X1) once, of its kind, at the
  // x its stored dates give.
  const std::map<std::string, std::string> kinds = {{"P1", "bar-summary"},  {"C1", "bar-summary"},
                                                    {"TA", "bar-levelled"}, {"TB", "bar-levelled"},
                                                    {"TC", "bar-levelled"}, {"TE", "bar-levelled"},
                                                    {"M1", "milestone"},    {"TD", "bar-levelled"}};
  for (const auto& [item, kind] : kinds) {
    const auto shapes = levelledShapes(tags_, item);
    ASSERT_EQ(1u, shapes.size()) << item;
    const Tag& s = shapes[0];
    EXPECT_TRUE(s.hasClass(kind)) << item << " is " << s.attr("class");
    const std::string start =
        text("SELECT LEVEL_START FROM KOR_WBS WHERE ELEMENT_ID='" + item + "'");
    const std::string finish =
        text("SELECT LEVEL_FINISH FROM KOR_WBS WHERE ELEMENT_ID='" + item + "'");
    EXPECT_EQ(start, s.attr("data-start")) << item;
    EXPECT_EQ(finish, s.attr("data-finish")) << item;
    EXPECT_NEAR(expectedX(chart_, start), shapeX(s), kTolerance) << item;
    if (kind != "milestone") {
      EXPECT_NEAR(expectedX(chart_, finish), shapeX(s) + shapeWidth(s), kTolerance) << item;
    }
  }
  EXPECT_TRUE(levelledShapes(tags_, "X1").empty());
  // Rows follow the tree: P1, C1 and its four tasks, then M1 and TD.
  std::vector<std::string> rows;
  for (const Tag& t : tags_) {
    if (t.name == "text" && t.hasClass("label") && !t.attr("data-row").empty())
      rows.push_back(t.attr("data-item"));
  }
  EXPECT_EQ((std::vector<std::string>{"P1", "C1", "TA", "TB", "TC", "TE", "M1", "TD"}), rows);

  // The planned bars: TA was planned from Monday 08:00 to Wednesday 17:00.
  for (const Tag& t : withClass(tags_, "bar-planned", "rect")) {
    if (t.attr("data-item") != "TA") continue;
    EXPECT_NEAR(320 + 36 * 480 / 1440.0, t.num("x"), kTolerance);
    EXPECT_NEAR(320 + 36 * (2 + 1020 / 1440.0), t.num("x") + t.num("width"), kTolerance);
  }

  // Nothing is drawn outside the axis.
  const double right = chart_.num("data-x0") + 27 * 36.0;
  for (const char* cls : {"bar-levelled", "bar-planned", "bar-summary", "milestone"}) {
    for (const Tag& t : withClass(tags_, cls)) {
      if (t.name == "g") continue;
      EXPECT_GE(shapeX(t), chart_.num("data-x0") - kTolerance) << t.attr("data-item");
      EXPECT_LE(shapeX(t) + shapeWidth(t), right + kTolerance) << t.attr("data-item");
    }
  }
}

TEST_F(LevelledReport, CriticalItemsConflictsLinksAndDaysOffAreMarked) {
  // Slack 0 after levelling: TA, TB, TC, TD and the containers above them;
  // TE (a day of work with three days to spare) and the milestone are not.
  std::set<std::string> critical;
  for (const char* cls : {"bar-levelled", "bar-summary", "milestone"}) {
    for (const Tag& t : withClass(tags_, cls)) {
      if (t.hasClass("critical")) critical.insert(t.attr("data-item"));
    }
  }
  EXPECT_EQ((std::set<std::string>{"P1", "C1", "TA", "TB", "TC", "TD"}), critical);

  // TD starts on its fixed date before its predecessor TC finishes.
  std::set<std::string> flagged;
  for (const Tag& t : withClass(tags_, "conflict")) {
    if (t.name != "g") flagged.insert(t.attr("data-item"));
  }
  EXPECT_EQ((std::set<std::string>{"TD"}), flagged);
  EXPECT_NE(std::string::npos,
            html_.find("<td>0080</td><td>finish-to-start link from TC not kept</td>"));

  // One arrow per link, the broken one marked.
  std::set<std::string> links;
  for (const Tag& t : withClass(tags_, "dep", "path")) {
    links.insert(t.attr("data-pred") + ">" + t.attr("data-succ") + (t.hasClass("late") ? "!" : ""));
  }
  EXPECT_EQ((std::set<std::string>{"TA>TC", "TB>M1", "TC>TD!"}), links);

  // Days off: the weekends and the holiday of Wednesday 2024-01-17.
  std::map<std::string, int> off;
  for (const Tag& t : withClass(tags_, "nonworking", "rect")) {
    if (!t.attr("data-day").empty()) off[t.attr("data-day")] = std::stoi(t.attr("data-days"));
  }
  EXPECT_EQ(2, off["2024-01-13"]);
  EXPECT_EQ(1, off["2024-01-17"]);
  EXPECT_EQ(2, off["2024-01-20"]);
  EXPECT_EQ(0u, off.count("2024-01-16"));
  for (const Tag& t : withClass(tags_, "nonworking", "rect")) {
    if (t.attr("data-day") == "2024-01-17") {
      EXPECT_NEAR(expectedX(chart_, "2024-01-17 00:00"), t.num("x"), kTolerance);
      EXPECT_NEAR(36.0, t.num("width"), kTolerance);
    }
  }
}

TEST_F(LevelledReport, HistogramsAddTheRunsLoadToTheWorkOutsideIt) {
  const auto histograms = withClass(tags_, "histogram", "svg");
  std::vector<std::string> resources;
  for (const Tag& h : histograms) resources.push_back(h.attr("data-resource"));
  EXPECT_EQ((std::vector<std::string>{"R1", "R2"}), resources);

  // The load of a day, per resource, class and day.
  std::map<std::string, std::string> parts;
  for (const char* cls : {"load-levelled", "load-outside", "load-actual", "over"}) {
    for (const Tag& t : withClass(tags_, cls, "rect")) {
      parts[t.attr("data-resource") + " " + t.attr("data-day") + " " + cls] =
          t.attr("data-minutes") + "/" + t.attr("data-load") + "/" + t.attr("data-capacity");
    }
  }
  // R1 on Monday: TD and TE, a day each, on one person: 960 minutes of 480.
  EXPECT_EQ("960/960/480", parts["R1 2024-01-08 load-levelled"]);
  EXPECT_EQ("/960/480", parts["R1 2024-01-08 over"]);
  // R2 on Thursday: X1's 240 minutes, outside the run, and nothing of the
  // run; on Friday TC's day.
  EXPECT_EQ("240/240/480", parts["R2 2024-01-11 load-outside"]);
  EXPECT_EQ(0u, parts.count("R2 2024-01-11 load-levelled"));
  EXPECT_EQ("480/480/480", parts["R2 2024-01-12 load-levelled"]);
  // Only one day is over capacity.
  EXPECT_EQ(1, std::count_if(parts.begin(), parts.end(),
                             [](const auto& p) { return p.first.ends_with(" over"); }));

  // Heights: the over part is the share of the day above capacity, on a
  // scale where the peak (960) fills the 64-pixel chart.
  for (const Tag& t : withClass(tags_, "over", "rect")) {
    EXPECT_NEAR(32.0, t.num("height"), kTolerance);
    EXPECT_NEAR(expectedX(histograms[0], "2024-01-08 00:00") + 1, t.num("x"), kTolerance);
  }
  for (const Tag& t : withClass(tags_, "load-outside", "rect")) {
    EXPECT_NEAR(240.0 * 64 / 480, t.num("height"), kTolerance);  // R2's peak is 480
  }

  // The table of LEVEL_OVER_ALLOCATIONS.
  EXPECT_NE(std::string::npos,
            html_.find("<td>R1</td><td>2024-01-08</td><td class=\"num\">960</td><td "
                       "class=\"num\">480</td><td class=\"num\">480</td><td>A_TE</td><td>TE</td>"));
}

TEST_F(LevelledReport, ThePageStandsAloneAndSaysHowTheRunWent) {
  EXPECT_EQ(std::string::npos, html_.find("<script"));
  EXPECT_EQ(std::string::npos, html_.find("http:"));
  EXPECT_EQ(std::string::npos, html_.find("https:"));
  EXPECT_EQ(std::string::npos, html_.find("<link"));
  EXPECT_EQ(std::string::npos, html_.find("<img"));
  EXPECT_EQ(std::string::npos, html_.find("@import"));
  for (std::size_t at = html_.find("url("); at != std::string::npos;
       at = html_.find("url(", at + 1)) {
    EXPECT_EQ('#', html_[at + 4]) << html_.substr(at, 40);
  }
  // Valid UTF-8 throughout (long names are cut between characters).
  for (std::size_t i = 0; i < html_.size();) {
    const unsigned char c = static_cast<unsigned char>(html_[i]);
    const std::size_t n = c < 0x80         ? 1
                          : (c >> 5) == 6  ? 2
                          : (c >> 4) == 14 ? 3
                          : (c >> 3) == 30 ? 4
                                           : 0;
    ASSERT_NE(0u, n) << "bad lead byte at " << i;
    ASSERT_LE(i + n, html_.size());
    for (std::size_t k = 1; k < n; ++k) {
      ASSERT_EQ(0x80, static_cast<unsigned char>(html_[i + k]) & 0xC0) << "at " << i;
    }
    i += n;
  }
  // The project's name, escaped.
  EXPECT_NE(std::string::npos,
            html_.find("<h1>Levelling report: Bridge &lt;renewal&gt; &amp; co</h1>"));

  // Outcome and counts.
  for (const Tag& t : tags_) {
    if (t.hasClass("status")) {
      EXPECT_EQ("Finished", t.attr("data-result"));
    }
  }
  std::map<std::string, std::string> counts;
  for (const Tag& t : withClass(tags_, "card", "div")) {
    const std::size_t b = html_.find("<b>", t.offset);
    counts[t.attr("data-count")] = html_.substr(b + 3, html_.find("</b>", b) - b - 3);
  }
  EXPECT_EQ("8", counts["items"]);
  EXPECT_EQ("8", counts["levelled"]);
  EXPECT_EQ("5", counts["assignments"]);
  EXPECT_EQ("6", counts["critical"]);
  EXPECT_EQ("1", counts["conflicts"]);
  EXPECT_EQ("1", counts["over-allocations"]);
  EXPECT_EQ("2", counts["resources"]);
  EXPECT_NE(std::string::npos, html_.find("<td>1: levelling</td>"));
  EXPECT_NE(std::string::npos, html_.find("<th>Locks</th><td>released</td>"));

  // The legend names every mark the page uses.
  std::set<std::string> legend;
  for (const Tag& t : withClass(all_, "legend-entry", "g")) legend.insert(t.attr("data-legend"));
  for (const char* key :
       {"planned", "levelled", "critical", "summary", "milestone", "conflict", "dependency",
        "nonworking", "load-levelled", "load-outside", "over", "capacity"}) {
    EXPECT_EQ(1u, legend.count(key)) << key;
  }
}

// Before any run there is only the plan to draw.
TEST_F(SmallProject, BeforeAnyRunOnlyThePlanIsDrawn) {
  std::string html;
  ASSERT_EQ(0, report("P1", html)) << html;
  const auto tags = dropLegend(html, scanTags(html));
  EXPECT_TRUE(withClass(tags, "bar-levelled").empty());
  EXPECT_TRUE(withClass(tags, "bar-summary", "path").empty());
  // Every item but the milestone (a point in time, drawn once levelled).
  EXPECT_EQ(7u, withClass(tags, "bar-planned", "rect").size());
  EXPECT_NE(std::string::npos, html.find("no run recorded"));
  EXPECT_NE(std::string::npos, html.find("not levelled"));
  EXPECT_NE(std::string::npos, html.find("No conflict was recorded"));
}

TEST_F(SmallProject, RefusesWhatItCannotReportInOneLine) {
  std::string out;
  EXPECT_NE(0, report("NOPE", out));
  EXPECT_EQ("no project or portfolio folder with the id 'NOPE'", out);
  EXPECT_NE(0, report("TA", out));
  EXPECT_EQ("'TA' is a WBS item, not a project or a portfolio folder", out);
  EXPECT_NE(0, report("", out));

  std::string error;
  EXPECT_NE(0, report::writeHtmlReport(db.store(), "P1", "/nonexistent-dir/r.html", {}, error));
  EXPECT_EQ(0u, error.find("cannot write /nonexistent-dir/r.html: "));
  EXPECT_EQ(std::string::npos, error.find('\n'));

  // A statement that fails half-way: an error, and no page.
  std::remove(htmlPath_.c_str());
  db.store().injectFailure("LEVEL_TASK_DAY_OF_YEAR", -7);
  EXPECT_NE(0, report::writeHtmlReport(db.store(), "P1", htmlPath_, {}, error));
  EXPECT_EQ(0u, error.find("cannot read the day work: injected failure")) << error;
  EXPECT_NE(0, ::access(htmlPath_.c_str(), F_OK));
}

}  // namespace
}  // namespace reporttest
