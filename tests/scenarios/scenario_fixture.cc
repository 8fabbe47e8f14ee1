#include "scenarios/scenario_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "calendar/dates.h"

namespace scenario {

std::ostream& operator<<(std::ostream& os, const Written& w) {
  return os << "{" << w.start << " .. " << w.finish << " duration " << w.duration << " slack "
            << w.slack << " index " << w.index << "}";
}

void Scenario::SetUp() {
  db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
}

void Scenario::project(const std::string& id, const std::string& start,
                       const std::string& finish, const std::string& parent,
                       const std::string& rank, int level) {
  db.row("KOR_WBS", {{"PROJECT_ID", id},
                     {"PARENT_ID", parent.empty() ? "NULL" : parent},
                     {"ELEMENT_ID", id},
                     {"ELEMENT_NAME", id},
                     {"RANK", rank.empty() ? id : rank},
                     {"WBS_CODE", id},
                     {"LEVEL_ID", std::to_string(level)},
                     {"TYPE_ID", "1"},
                     {"PRIORITY", "500"},
                     {"PLANNED_EFFORT", "0"},
                     {"SCHED_EFFORT", "0"},
                     {"START_FINISH_DATE", start + " 00:00:00.000000"},
                     {"UNRESOLVED_START", start + " 08:00:00.000000"},
                     {"UNRESOLVED_FINISH", finish + " 17:00:00.000000"},
                     {"UNRESOLVED_DURATION", "1"},
                     {"PLANNED_START", start + " 08:00:00.000000"},
                     {"PLANNED_FINISH", finish + " 17:00:00.000000"},
                     {"REC_STATUS", "U"}});
  db.row("PROJECT_DETAILS", {{"PROJECT_ID", id},
                             {"LEVEL_LOCK", "0"},
                             {"CALCULATE_FLAG", "0"},
                             {"LEVEL_LAST_CALL_OPTION", "0"}});
  db.calendarOf(id, {.from = "2024-01-01", .to = "2024-12-31"});
}

// The day `n` working days (Monday to Friday) after `day`.
std::string workingDayAfter(const std::string& day, int n) {
  int j = dateStringToJulian(day.c_str());
  while (n > 0) {
    ++j;
    const int w = julianToWeekDay(j);  // 1 = Sunday .. 7 = Saturday
    if (w != 1 && w != 7) --n;
  }
  char text[DATE_TEXT_SIZE];
  transformJulianToDateString(j, text);
  return text;
}

void Scenario::item(const std::string& project, const std::string& parent,
                    const std::string& id, int level, int typeId, int effort,
                    const std::string& day, std::map<std::string, std::string> extra) {
  const int days = effort <= 0 ? 1 : (effort + 479) / 480;
  extra.emplace("SCHED_DURATION", std::to_string(effort));
  extra.emplace("UNRESOLVED_DURATION", std::to_string(effort));  // minutes
  extra.emplace("ASSIGN_COUNT", "0");
  extra.emplace("MILESTONE_PERCENT", "0");
  // The item's rank sits below its parent's, so that rank order is the
  // order of the tree and the item query's rank patterns find it.
  (void)project;
  std::string parentRank = text("SELECT RANK FROM KOR_WBS WHERE ELEMENT_ID = '" + parent + "'");
  extra.emplace("RANK", parentRank + "." + id);
  db.item({.project = project,
           .parent = parent,
           .id = id,
           .typeId = typeId,
           .levelId = level,
           .effort = effort,
           .durationDays = days,
           .start = day + " 08:00:00.000000",
           .finish = workingDayAfter(day, days - 1) + " 17:00:00.000000",
           .extra = extra});
}

void Scenario::link(const std::string& pred, const std::string& succ,
                    const std::string& predProject, int depType, int lag,
                    const std::string& succProject) {
  db.dependency({.pred = pred,
                 .succ = succ,
                 .predProject = predProject,
                 .succProject = succProject,
                 .depType = depType,
                 .lag = lag});
}

std::unique_ptr<scopegen::ScopeRun> Scenario::run(const std::vector<std::string>& roots,
                                                  const std::string& currentDate,
                                                  int assignmentsFlag) {
  db.commit();
  scopegen::ScopeRunOptions o;
  o.roots = roots;
  o.currentDate = currentDate;
  o.assignmentsFlag = assignmentsFlag;
  o.printOptions = std::getenv("SCENARIO_TRACE") != nullptr ? 1 : 0;
  auto r = std::make_unique<scopegen::ScopeRun>(db.store(), o);
  for (const std::string& e : r->setupErrors) ADD_FAILURE() << e;
  if (const char* trace = std::getenv("SCENARIO_TRACE")) {
    if (FILE* f = std::fopen(trace, "w")) {
      std::fputs(r->log.c_str(), f);
      std::fclose(f);
    }
  }
  return r;
}

Written Scenario::written(const std::string& id) {
  Written w;
  db::StampText start, finish;
  int32_t duration = 0, slack = 0, index = 0;
  int16_t ind[5] = {0, 0, 0, 0, 0};
  const int32_t rc = db.store().selectInto(
      "SELECT LEVEL_START, LEVEL_FINISH, LEVEL_DURATION, TOTAL_SLACK, LEVEL_INDEX "
      "FROM Lev_kor_wbs WHERE ELEMENT_ID = ?",
      {id},
      {{start, &ind[0]}, {finish, &ind[1]}, {duration, &ind[2]}, {slack, &ind[3]},
       {index, &ind[4]}});
  EXPECT_EQ(0, rc) << id << ": " << db.store().status().message;
  w.start = ind[0] < 0 ? "null" : std::string(start.view());
  w.finish = ind[1] < 0 ? "null" : std::string(finish.view());
  w.duration = ind[2] < 0 ? -999 : duration;
  w.slack = ind[3] < 0 ? -999 : slack;
  w.index = ind[4] < 0 ? -999 : index;
  return w;
}

int Scenario::count(const std::string& sql) { return static_cast<int>(db.scalar(sql)); }

std::string Scenario::text(const std::string& sql) {
  db::MessageText out;
  int16_t ind = 0;
  const int32_t rc = db.store().selectInto(sql, {}, {db::HostVar(out, &ind)});
  if (rc != 0) return "";
  return ind < 0 ? "null" : std::string(out.view());
}

}  // namespace scenario
