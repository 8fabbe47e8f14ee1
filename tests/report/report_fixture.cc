#include "report/report_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "calendar/dates.h"
#include "report/html_report.h"
#include "run/entry_points.h"

namespace reporttest {

bool Tag::hasClass(const std::string& c) const {
  std::istringstream in(attr("class"));
  std::string word;
  while (in >> word) {
    if (word == c) return true;
  }
  return false;
}

namespace {

std::string unescape(const std::string& s) {
  std::string out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '&') {
      out += s[i];
      continue;
    }
    static const std::pair<const char*, char> kEntities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}};
    bool done = false;
    for (const auto& [entity, c] : kEntities) {
      const std::size_t n = std::char_traits<char>::length(entity);
      if (s.compare(i, n, entity) == 0) {
        out += c;
        i += n - 1;
        done = true;
        break;
      }
    }
    if (!done) out += '&';
  }
  return out;
}

}  // namespace

std::vector<Tag> scanTags(const std::string& html) {
  std::vector<Tag> tags;
  std::size_t at = 0;
  while ((at = html.find('<', at)) != std::string::npos) {
    const std::size_t start = at++;
    if (at >= html.size() || !std::isalpha(static_cast<unsigned char>(html[at]))) continue;
    Tag t;
    t.offset = start;
    while (at < html.size() &&
           (std::isalnum(static_cast<unsigned char>(html[at])) || html[at] == '-'))
      t.name += html[at++];
    for (;;) {
      while (at < html.size() && std::isspace(static_cast<unsigned char>(html[at]))) ++at;
      if (at >= html.size() || html[at] == '>' || html[at] == '/') break;
      std::string key;
      while (at < html.size() && html[at] != '=' && html[at] != '>' &&
             !std::isspace(static_cast<unsigned char>(html[at])))
        key += html[at++];
      std::string value;
      if (at < html.size() && html[at] == '=') {
        ++at;
        const char quote = html[at];
        if (quote == '"' || quote == '\'') {
          const std::size_t end = html.find(quote, at + 1);
          value = html.substr(at + 1, end - at - 1);
          at = end + 1;
        } else {
          while (at < html.size() && !std::isspace(static_cast<unsigned char>(html[at])) &&
                 html[at] != '>')
            value += html[at++];
        }
      }
      t.attrs[key] = unescape(value);
    }
    tags.push_back(std::move(t));
  }
  return tags;
}

std::vector<Tag> withClass(const std::vector<Tag>& tags, const std::string& cls,
                           const std::string& name) {
  std::vector<Tag> out;
  for (const Tag& t : tags) {
    if ((name.empty() || t.name == name) && t.hasClass(cls)) out.push_back(t);
  }
  return out;
}

std::vector<Tag> dropLegend(const std::string& html, const std::vector<Tag>& tags) {
  std::size_t from = std::string::npos, to = std::string::npos;
  for (const Tag& t : tags) {
    if (t.name == "svg" && t.hasClass("legend")) {
      from = t.offset;
      to = html.find("</svg>", from);
    }
  }
  std::vector<Tag> out;
  for (const Tag& t : tags) {
    if (from == std::string::npos || t.offset < from || t.offset > to) out.push_back(t);
  }
  return out;
}

std::string readFile(const std::string& path) {
  std::string out;
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
    std::fclose(f);
  }
  return out;
}

std::string tempPath(const std::string& stem, const std::string& suffix) {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir != nullptr ? dir : "/tmp") + "/" + stem + "_XXXXXX" + suffix;
  const int fd = ::mkstemps(path.data(), static_cast<int>(suffix.size()));
  if (fd >= 0) ::close(fd);
  return path;
}

int dayNumber(const std::string& day) { return dateStringToJulian(day.substr(0, 10).c_str()); }

double expectedX(const Tag& chart, const std::string& stamp) {
  const int day = dayNumber(stamp);
  const int minute = std::stoi(stamp.substr(11, 2)) * 60 + std::stoi(stamp.substr(14, 2));
  return chart.num("data-x0") + (day - dayNumber(chart.attr("data-axis-first")) + minute / 1440.0) *
                                    chart.num("data-px-per-day");
}

void SmallProject::SetUp() {
  logPath_ = db.path() + ".log";
  htmlPath_ = db.path() + ".html";
  db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
  db.project({.id = "P1",
              .name = "Bridge <renewal> & co",
              .start = "2024-01-08",
              .finish = "2024-02-02"})
      .calendar({.from = "2024-01-01", .to = "2024-12-31", .holidays = {"2024-01-17"}});
  // A long name of two-byte characters: the label column cuts it.
  std::string longName =
      "\xC3\x9C"
      "ber ";
  for (int i = 0; i < 30; ++i) longName += "\xC3\xBC";
  item("P1", "C1", 2, 0, {{"ELEMENT_NAME", longName}});
  resource("R1");
  resource("R2");
  assignedTask("C1", "TA", "R1", 1440);
  assignedTask("C1", "TB", "R1", 1440);
  assignedTask("C1", "TC", "R2", 480);
  link("TA", "TC");
  item("P1", "M1", 3, 0);
  link("TB", "M1");
  assignedTask("P1", "TD", "R1", 480,
               {{"CONSTRAINT_TYPE", "5"}, {"CONSTRAINT_DT", "2024-01-08 08:00:00.000000"}});
  link("TC", "TD");
  // Another person's kind of work on R1, laid from its start whatever the
  // load.
  assignedTask("C1", "TE", "R1", 480, {}, "1");
  // Work of another project on R2, outside the run.
  db.project({.id = "X1", .start = "2024-01-08", .finish = "2024-02-02", .rank = "X1"});
  db.dayWork({.project = "X1",
              .task = "X1",
              .assignment = "AX",
              .resource = "R2",
              .day = "2024-01-11",
              .schedMinutes = 240});
}

void SmallProject::TearDown() {
  std::remove(logPath_.c_str());
  std::remove(htmlPath_.c_str());
}

void SmallProject::resource(const std::string& id, int maxUnits) {
  db.row("RESOURCES", {{"RESOURCE_ID", id},
                       {"FULL_NAME", "Resource " + id},
                       {"MAX_UNITS", std::to_string(maxUnits)}});
}

namespace {
// The day `n` working days (Monday to Friday) after `day`.
std::string workingDayAfter(const std::string& day, int n) {
  int j = dateStringToJulian(day.c_str());
  while (n > 0) {
    ++j;
    const int w = julianToWeekDay(j);
    if (w != 1 && w != 7) --n;
  }
  char text[DATE_TEXT_SIZE];
  transformJulianToDateString(j, text);
  return text;
}
}  // namespace

void SmallProject::item(const std::string& parent, const std::string& id, int typeId, int effort,
                        std::map<std::string, std::string> extra) {
  const int days = effort <= 0 ? 1 : (effort + 479) / 480;
  extra.emplace("SCHED_DURATION", std::to_string(effort));
  extra.emplace("UNRESOLVED_DURATION", std::to_string(effort));
  extra.emplace("ASSIGN_COUNT", "0");
  extra.emplace("MILESTONE_PERCENT", "0");
  extra.emplace("MINUTE_PER_DAY", "480");
  extra.emplace("RANK",
                text("SELECT RANK FROM KOR_WBS WHERE ELEMENT_ID = '" + parent + "'") + "." + id);
  const int level = static_cast<int>(
      db.scalar("SELECT LEVEL_ID FROM KOR_WBS WHERE ELEMENT_ID = '" + parent + "'") + 1);
  db.item({.project = "P1",
           .parent = parent,
           .id = id,
           .typeId = typeId,
           .name = "Item " + id,
           .levelId = level,
           .effort = effort,
           .durationDays = days,
           .start = "2024-01-08 08:00:00.000000",
           .finish = workingDayAfter("2024-01-08", days - 1) +
                     (effort == 0 ? " 08:00:00.000000" : " 17:00:00.000000"),
           .extra = extra});
}

void SmallProject::assignedTask(const std::string& parent, const std::string& id,
                                const std::string& res, int work,
                                std::map<std::string, std::string> extra,
                                const std::string& resourceType) {
  extra.emplace("ASSIGN_COUNT", "1");
  item(parent, id, 3, work, extra);
  db.assignment({.project = "P1",
                 .task = id,
                 .id = "A_" + id,
                 .resource = res,
                 .proposedWork = work,
                 .extra = {{"ETC", std::to_string(work)},
                           {"PLANNED_WORK", std::to_string(work)},
                           {"SCHED_WORK", "0"},
                           {"BIT_FLAG", "0"},
                           {"RESOURCE_TYPE", resourceType},
                           {"UNRESOLVED_START", "2024-01-08 08:00:00.000000"},
                           {"UNRESOLVED_FINISH",
                            workingDayAfter("2024-01-08", (work - 1) / 480) + " 17:00:00.000000"},
                           {"UNRESOLVED_DURATION", std::to_string(work)},
                           {"ASSIGNMENT_DELAY", "0"},
                           {"C_EFFORT", "0"},
                           {"C_CONTOUR", "0"},
                           {"CONTOUR_TYPE", "0"},
                           {"REC_DATETIME", "2024-01-01 00:00:00.000000"}}});
  for (int d = 0, left = work; left > 0; ++d, left -= 480) {
    db.dayWork({.project = "P1",
                .task = id,
                .assignment = "A_" + id,
                .resource = res,
                .day = workingDayAfter("2024-01-08", d),
                .schedMinutes = std::min(left, 480)});
  }
  effort_ += work;
  db.store().execute("UPDATE KOR_WBS SET PLANNED_EFFORT=" + std::to_string(effort_) +
                     ", CHILD_COUNT=COALESCE(CHILD_COUNT, 0)+1 WHERE ELEMENT_ID='P1'");
}

void SmallProject::link(const std::string& pred, const std::string& succ, int depType) {
  db.dependency({.pred = pred, .succ = succ, .predProject = "P1", .depType = depType});
}

int SmallProject::level() {
  LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
  return RES_DEP_FOR_PROJ(&ctx, "P1", 0, 0, 0, 0, 0, "2024-01-08 08:00:00.000000", 0, "U1", 0);
}

std::string SmallProject::log() { return readFile(logPath_); }

int SmallProject::report(const std::string& element, std::string& html, int collapseDepth) {
  std::string error;
  const int rc = report::writeHtmlReport(
      db.store(), element, htmlPath_, report::ReportOptions{.collapseDepth = collapseDepth}, error);
  EXPECT_EQ(rc == 0, error.empty()) << error;
  html = rc == 0 ? readFile(htmlPath_) : error;
  return rc;
}

std::string SmallProject::text(const std::string& sql) {
  db::MessageText out;
  int16_t ind = 0;
  if (db.store().selectInto(sql, {}, {db::HostVar(out, &ind)}) != 0) return "";
  return ind < 0 ? "null" : std::string(out.view());
}

}  // namespace reporttest
