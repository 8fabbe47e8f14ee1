// The demo portfolio: the plan as tables (items in depth-first order,
// assignments, dependencies, resources), turned into rows. See
// demo_portfolio.h for what the demo holds and how it is dated.
#include "demo_portfolio.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <set>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "cli_support.h"

namespace cli {

namespace {

constexpr int kMinutesPerDay = 480;
constexpr int kProject = 1;
constexpr int kContainer = 2;
constexpr int kTask = 3;
constexpr int kSunday = 1;
constexpr int kMonday = 2;
constexpr int kFriday = 6;
constexpr int kSaturday = 7;
constexpr int kCalendarDaysBefore = 200;
constexpr int kCalendarDaysAfter = 1400;

// One item of the plan. `start` and `days` are working days counted from
// the portfolio's first day (projects and containers take their children's
// span); a constraint's day likewise.
struct PlanItem {
  const char* project;
  const char* parent;  // null for a root project
  const char* id;
  const char* name;
  int type;
  int start;
  int days;
  int constraintType = 0;
  int constraintDay = 0;
};

struct PlanAssignment {
  const char* task;
  const char* resource;
};

struct PlanDependency {
  const char* pred;
  const char* succ;
  int type;     // 0 FS, 1 SS, 2 FF, 3 SF
  int lagDays;  // negative: a lead
};

struct PlanResource {
  const char* id;
  const char* name;
  int maxUnits;
  const char* calendar;
};

struct PlanProject {
  const char* id;
  int priority;
  bool inPortfolio;
};

// Depth-first: every parent before its children.
const PlanItem kItems[] = {
    {"DEMO_OFFICE", nullptr, "DEMO_OFFICE", "Office move", kProject, 0, 0},
    {"DEMO_OFFICE", "DEMO_OFFICE", "OFF_PREP", "Preparation", kContainer, 0, 0},
    {"DEMO_OFFICE", "OFF_PREP", "OFF_SITE", "Site selection", kContainer, 0, 0},
    {"DEMO_OFFICE", "OFF_SITE", "OFF_VISITS", "Site visits", kContainer, 0, 0},
    {"DEMO_OFFICE", "OFF_VISITS", "OFF_VISIT_A", "Visit site A", kTask, 0, 2},
    {"DEMO_OFFICE", "OFF_VISITS", "OFF_VISIT_B", "Visit site B", kTask, 2, 2},
    {"DEMO_OFFICE", "OFF_SITE", "OFF_CHOOSE", "Choose the site", kTask, 4, 1},
    {"DEMO_OFFICE", "OFF_PREP", "OFF_LEASE", "Sign the lease", kTask, 6, 3, 3, 30},
    {"DEMO_OFFICE", "DEMO_OFFICE", "OFF_MOVE", "Moving", kContainer, 0, 0},
    {"DEMO_OFFICE", "OFF_MOVE", "OFF_PACK", "Pack the archive", kTask, 11, 5},
    {"DEMO_OFFICE", "OFF_MOVE", "OFF_MOVERS", "Moving day", kTask, 16, 2, 6, 16},
    {"DEMO_OFFICE", "OFF_MOVE", "OFF_NETWORK", "Set up the network", kTask, 17, 4},
    {"DEMO_OFFICE", "OFF_MOVE", "OFF_OPENING", "Opening day", kTask, 21, 1},

    {"DEMO_WEB", nullptr, "DEMO_WEB", "Web shop", kProject, 5, 0},
    {"DEMO_WEB", "DEMO_WEB", "WEB_DESIGN", "Design", kContainer, 0, 0},
    {"DEMO_WEB", "WEB_DESIGN", "WEB_REQS", "Write the requirements", kTask, 5, 4},
    {"DEMO_WEB", "WEB_DESIGN", "WEB_MOCKUPS", "Mock-ups", kTask, 7, 5},
    {"DEMO_WEB", "DEMO_WEB", "WEB_BUILD", "Build", kContainer, 0, 0},
    {"DEMO_WEB", "WEB_BUILD", "WEB_BACKEND", "Back end", kTask, 9, 10},
    {"DEMO_WEB", "WEB_BUILD", "WEB_FRONTEND", "Front end", kTask, 12, 8},
    {"DEMO_WEB", "WEB_BUILD", "WEB_TESTING", "Testing", kTask, 19, 5},
    {"DEMO_WEB", "WEB_BUILD", "WEB_LAUNCH", "Go live", kTask, 24, 1, 7, 60},
    {"DEMO_WEB", "DEMO_WEB", "WEB_OLD_SHOP", "Run the old shop", kTask, 15, 10},

    {"DEMO_PLANT", nullptr, "DEMO_PLANT", "Plant upgrade", kProject, 0, 0},
    {"DEMO_PLANT", "DEMO_PLANT", "PLANT_KICKOFF", "Kick-off meeting", kTask, 0, 1},
    {"DEMO_PLANT_MECH", "DEMO_PLANT", "DEMO_PLANT_MECH", "Mechanical works", kProject, 0, 0},
    {"DEMO_PLANT_MECH", "DEMO_PLANT_MECH", "PM_WORKS", "Line replacement", kContainer, 0, 0},
    {"DEMO_PLANT_MECH", "PM_WORKS", "PM_DISMANTLE", "Dismantle the old line", kTask, 1, 4},
    {"DEMO_PLANT_MECH", "PM_WORKS", "PM_INSTALL", "Install the new line", kTask, 12, 6},
    {"DEMO_PLANT_MECH", "PM_WORKS", "PM_ALIGN", "Align and calibrate", kTask, 17, 3},
    {"DEMO_PLANT_ELEC", "DEMO_PLANT", "DEMO_PLANT_ELEC", "Electrical works", kProject, 0, 0},
    {"DEMO_PLANT_ELEC", "DEMO_PLANT_ELEC", "PE_CABLES", "Lay the cables", kTask, 4, 5},
    {"DEMO_PLANT_ELEC", "DEMO_PLANT_ELEC", "PE_CONNECT", "Connect the line", kTask, 18, 3},
    {"DEMO_PLANT_ELEC", "DEMO_PLANT_ELEC", "PE_TEST", "Test run", kTask, 21, 2, 2, 22},

    {"DEMO_VENDOR", nullptr, "DEMO_VENDOR", "Machine vendor", kProject, 0, 0},
    {"DEMO_VENDOR", "DEMO_VENDOR", "VEN_BUILD", "Build the machine", kTask, 0, 8},
    {"DEMO_VENDOR", "DEMO_VENDOR", "VEN_SHIP", "Ship the machine", kTask, 8, 3},
};

const PlanProject kProjects[] = {
    {"DEMO_OFFICE", 300, true},     {"DEMO_WEB", 500, true},
    {"DEMO_PLANT", 200, true},      {"DEMO_PLANT_MECH", 200, true},
    {"DEMO_PLANT_ELEC", 200, true}, {"DEMO_VENDOR", 500, false},
};

const PlanDependency kDependencies[] = {
    {"OFF_VISIT_A", "OFF_VISIT_B", 0, 0},
    {"OFF_VISITS", "OFF_CHOOSE", 0, 0},  // a container as predecessor
    {"OFF_CHOOSE", "OFF_LEASE", 0, 1},
    {"OFF_LEASE", "OFF_PACK", 1, 2},
    {"OFF_PACK", "OFF_MOVERS", 0, 0},
    {"OFF_MOVERS", "OFF_NETWORK", 1, 1},
    {"OFF_NETWORK", "OFF_OPENING", 0, 0},
    {"WEB_REQS", "WEB_MOCKUPS", 1, 2},
    {"WEB_REQS", "WEB_BACKEND", 0, 0},
    {"WEB_MOCKUPS", "WEB_FRONTEND", 0, 0},
    {"WEB_BACKEND", "WEB_TESTING", 2, 2},
    {"WEB_FRONTEND", "WEB_TESTING", 0, -1},
    {"WEB_TESTING", "WEB_LAUNCH", 0, 0},
    {"WEB_LAUNCH", "WEB_OLD_SHOP", 3, 0},
    {"OFF_NETWORK", "WEB_LAUNCH", 0, 0},  // between two projects of the portfolio
    {"PLANT_KICKOFF", "PM_DISMANTLE", 0, 0},
    {"PM_DISMANTLE", "PM_INSTALL", 0, 0},
    {"PM_INSTALL", "PM_ALIGN", 0, -1},
    {"PM_DISMANTLE", "PE_CABLES", 1, 3},
    {"PM_INSTALL", "PE_CONNECT", 0, 0},
    {"PE_CABLES", "PE_CONNECT", 0, 0},
    {"PE_CONNECT", "PE_TEST", 0, 0},
    {"PM_ALIGN", "PE_TEST", 2, 0},
    {"VEN_BUILD", "VEN_SHIP", 0, 0},
    {"VEN_SHIP", "PM_INSTALL", 0, 1},  // from the project outside the portfolio
};

const PlanResource kResources[] = {
    {"R_ANNA", "Anna Berg (project manager)", 10000, "CAL_STD"},
    {"R_BEN", "Ben Carter (facilities)", 10000, "CAL_STD"},
    {"R_CLARA", "Clara Diaz (office)", 10000, "CAL_STD"},
    {"R_DAVID", "David Eng (IT)", 10000, "CAL_STD"},
    {"R_EVA", "Eva Fischer (product owner)", 10000, "CAL_STD"},
    {"R_FRANK", "Frank Gil (designer)", 10000, "CAL_STD"},
    {"R_GRETA", "Greta Holm (developer)", 10000, "CAL_STD"},
    {"R_HUGO", "Hugo Ito (electrician)", 10000, "CAL_STD"},
    {"R_IDA", "Ida Jensen (engineer)", 10000, "CAL_STD"},
    {"R_JONAS", "Jonas Kim (tester, half time)", 5000, "CAL_STD"},
    {"R_KARL", "Karl Lund (technician, four-day week)", 10000, "CAL_4DAY"},
    {"R_CREW", "Installation crew (three people)", 30000, "CAL_STD"},
};

const PlanAssignment kAssignments[] = {
    {"OFF_VISIT_A", "R_ANNA"},    {"OFF_VISIT_B", "R_ANNA"},     {"OFF_VISIT_B", "R_BEN"},
    {"OFF_CHOOSE", "R_ANNA"},     {"OFF_CHOOSE", "R_BEN"},       {"OFF_LEASE", "R_BEN"},
    {"OFF_PACK", "R_CREW"},       {"OFF_PACK", "R_CLARA"},       {"OFF_MOVERS", "R_CREW"},
    {"OFF_NETWORK", "R_DAVID"},   {"OFF_OPENING", "R_ANNA"},     {"OFF_OPENING", "R_CLARA"},
    {"WEB_REQS", "R_EVA"},        {"WEB_MOCKUPS", "R_FRANK"},    {"WEB_BACKEND", "R_GRETA"},
    {"WEB_BACKEND", "R_DAVID"},   {"WEB_FRONTEND", "R_FRANK"},   {"WEB_TESTING", "R_HUGO"},
    {"WEB_TESTING", "R_JONAS"},   {"WEB_LAUNCH", "R_EVA"},       {"WEB_OLD_SHOP", "R_CLARA"},
    {"PLANT_KICKOFF", "R_ANNA"},  {"PLANT_KICKOFF", "R_IDA"},    {"PM_DISMANTLE", "R_CREW"},
    {"PM_DISMANTLE", "R_IDA"},    {"PM_INSTALL", "R_CREW"},      {"PM_INSTALL", "R_IDA"},
    {"PM_ALIGN", "R_KARL"},       {"PE_CABLES", "R_HUGO"},       {"PE_CONNECT", "R_HUGO"},
    {"PE_CONNECT", "R_KARL"},     {"PE_TEST", "R_IDA"},          {"PE_TEST", "R_JONAS"},
};

constexpr const char* kSelectDemoFolder =
    "SELECT COUNT(*) FROM KOR_PORTFOLIOS WHERE ELEMENT_ID = ?";

constexpr const char* kInsertWbs =
    "insert into KOR_WBS (PROJECT_ID,PARENT_ID,ELEMENT_ID,ELEMENT_NAME,RANK,WBS_CODE,"
    "WBS_RANK_ORDER,LEVEL_ID,TYPE_ID,PRIORITY,CALC_PRIORITY,CONSTRAINT_TYPE,CONSTRAINT_DT,"
    "UNRESOLVED_START,UNRESOLVED_FINISH,UNRESOLVED_DURATION,PLANNED_START,PLANNED_FINISH,"
    "PLANNED_DURATION,ACTUAL_START,ACTUAL_FINISH,ACTUAL_DURATION,ASSIGN_COUNT,MILESTONE_PERCENT,"
    "SCHED_DURATION,PLANNED_EFFORT,SCHED_EFFORT,DURATION,START_FINISH_DATE,MINUTE_PER_DAY,"
    "TASK_TYPE,CHILD_COUNT,PUBLISHED,REC_STATUS) values (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,"
    "?,?,?,?,?,?,0,?,?,480,0,?,'1','U')";
constexpr const char* kInsertProjectDetails =
    "insert into PROJECT_DETAILS (PROJECT_ID,LEVEL_LOCK,LEVEL_LAST_CALL_OPTION,CALCULATE_FLAG) "
    "values (?,0,0,0)";
constexpr const char* kInsertDependency =
    "insert into DEPENDENCIES (PRED_ID,SUCC_ID,PRED_PROJECT_ID,SUCC_PROJECT_ID,DEP_TYPE,"
    "LEAD_OR_LAG_TYPE,AMOUNT) values (?,?,?,?,?,?,?)";
constexpr const char* kInsertCalendar =
    "insert into KOR_CALENDARS (ELEMENT_ID,PARENT_ID,RANK,TYPE_ID,ELEMENT_NAME,MINUTES_PER_DAY,"
    "MONDAY_BIT,TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,SATURDAY_BIT,SUNDAY_BIT) "
    "values (?,?,?,27,?,480,?,?,?,?,?,?,?)";
constexpr const char* kInsertCalendarDay =
    "insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) values (?,?,?,?)";
constexpr const char* kInsertCalendarException =
    "insert into CALENDAR_EXCEPTIONS (CALENDAR_ID,EXCEPTION_DATE,EXCEPTION_MIN,EXCEPTION_BIT) "
    "values (?,?,0,?)";
constexpr const char* kInsertResource =
    "insert into RESOURCES (RESOURCE_ID,FULL_NAME,MAX_UNITS,CALENDAR_ID) values (?,?,?,?)";
constexpr const char* kInsertAssignment =
    "insert into TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID,PROJECT_ID,TASK_ID,RESOURCE_ID,RESOURCE_TYPE,"
    "BIT_FLAG,PROPOSED_WORK,PLANNED_WORK,SCHED_WORK,ETC,WORK_TODATE,ACTUAL_START,ACTUAL_FINISH,"
    "LAST_SUBMITTED,C_CONTOUR,CONTOUR_TYPE,C_EFFORT,UNITS_MSP,UNRESOLVED_START,UNRESOLVED_FINISH,"
    "UNRESOLVED_DURATION,ASSIGNMENT_DELAY,CONSIDER,REC_DATETIME) "
    "values (?,?,?,?,'R',?,?,0,?,?,?,?,?,?,0,0,0,10000,?,?,?,0,1,?)";
constexpr const char* kInsertDayWork =
    "insert into TASK_DAY_OF_YEAR (PROJECT_ID,TASK_ID,TSK_ASSIGNMENT_ID,RESOURCE_ID,PARENT_ID,"
    "DAY_YEAR,SCHED_MIN,ACTUAL_MIN,ACTUAL_FLAG,BIT_SCHED,BIT_FLAG) values (?,?,?,?,?,?,?,?,?,?,0)";
constexpr const char* kInsertPortfolio =
    "insert into KOR_PORTFOLIOS (ELEMENT_ID,PARENT_ID,RANK,TYPE_ID,ELEMENT_NAME,CHILD_COUNT,"
    "REC_STATUS) values (?,?,?,?,?,?,'U')";
constexpr const char* kInsertScenarioProject =
    "insert into NAV_SCENARIOS (ELEMENT_ID,RANK,TYPE_ID,ELEMENT_NAME,TO_CALCULATE,PRIORITY,"
    "PROJECT_START) values (?,?,1,?,1,?,?)";

enum Status { kNotStarted = 0, kInProgress = 1, kFinished = 2 };

// An item with what is derived from the plan.
struct Node {
  const PlanItem* plan = nullptr;
  int parent = -1;
  std::string rank;
  int level = 1;
  int ordinal = 1;
  int children = 0;
  int es = 0, ef = 0;  // working days: first day, one past the last
  int status = kNotStarted;
  int assignments = 0;
};

std::string dayText(int julian) {
  char buf[DATE_TEXT_SIZE];
  transformJulianToDateString(julian, buf);
  return buf;
}

std::string todayText() {
  const std::time_t t = std::time(nullptr);
  std::tm local {};
  localtime_r(&t, &local);
  char buf[16];
  std::strftime(buf, sizeof buf, "%Y-%m-%d", &local);
  return buf;
}

// The working days of the demo: weekends and public holidays off.
class WorkDays {
 public:
  explicit WorkDays(int first) : first_(first) {
    int y0 = 0, y1 = 0, m = 0, d = 0;
    julianToDate(first - kCalendarDaysBefore, &y0, &m, &d);
    julianToDate(first + kCalendarDaysAfter, &y1, &m, &d);
    for (int y = y0; y <= y1; ++y) {
      for (const char* md : {"-01-01", "-05-01", "-12-25", "-12-26"}) {
        holidays_.insert(dateStringToJulian((std::to_string(y) + md).c_str()));
      }
    }
  }
  bool isHoliday(int day) const { return holidays_.count(day) != 0; }
  const std::set<int>& holidays() const { return holidays_; }
  bool isWorkday(int day) const {
    const int w = julianToWeekDay(day);
    return w != kSunday && w != kSaturday && !isHoliday(day);
  }
  // The day of working-day index w (0: the first working day on or after
  // the start).
  int day(int w) {
    while (static_cast<int>(days_.size()) <= w) {
      int next = days_.empty() ? first_ : days_.back() + 1;
      while (!isWorkday(next)) ++next;
      days_.push_back(next);
    }
    return days_[static_cast<size_t>(w)];
  }
  // The first working-day index whose day is on or after `julian`.
  int indexOnOrAfter(int julian) {
    int w = 0;
    while (day(w) < julian) ++w;
    return w;
  }

 private:
  int first_;
  std::set<int> holidays_;
  std::vector<int> days_;
};

// Runs the statements; keeps the first failure and the statement's text.
class Writer {
 public:
  explicit Writer(db::Store& store) : store_(store) {}
  void exec(const char* sql, db::Binds in) {
    if (rc_ != 0) return;
    const int32_t rc = store_.execute(sql, in);
    if (rc != 0) {
      rc_ = rc < 0 ? rc : -1;
      failed_ = sql;
      message_ = store_.status().message;
    }
  }
  int32_t rc() const { return rc_; }
  std::string error() const {
    return std::string(message_) + " (status " + std::to_string(rc_) + ") in: " +
           failed_.substr(0, 60);
  }

 private:
  db::Store& store_;
  int32_t rc_ = 0;
  std::string failed_;
  std::string message_;
};

const PlanProject& projectOf(const char* id) {
  for (const PlanProject& p : kProjects) {
    if (std::string(p.id) == id) return p;
  }
  return kProjects[0];
}

std::string fourDigits(int n) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%04d", n);
  return buf;
}

}  // namespace

int32_t demoPresent(db::Store& store, bool& present) {
  int32_t n = 0;
  int16_t ind = 0;
  const int32_t rc = store.selectInto(kSelectDemoFolder, {kDemoFolderId}, {db::HostVar(n, &ind)});
  present = rc == 0 && n > 0;
  return rc < 0 ? rc : 0;
}

int32_t writeDemoPortfolio(db::Store& store, const DemoOptions& options, DemoSummary& summary,
                           std::string& error) {
  summary = DemoSummary();
  const std::string today = options.today.empty() ? todayText() : options.today;
  const int todayDay = dateStringToJulian(today.c_str());
  if (todayDay < 0) {
    error = "malformed day '" + today + "'";
    return 1;
  }
  // The Monday of today's week, then three weeks back.
  int start = todayDay;
  while (julianToWeekDay(start) != kMonday) --start;
  start -= 21;
  WorkDays wd(start);
  const int asOf = wd.indexOnOrAfter(todayDay);
  summary.start = dayText(wd.day(0));
  summary.today = today;

  // The tree: parents, ranks, levels, spans.
  const size_t n = std::size(kItems);
  std::vector<Node> nodes(n);
  std::map<std::string, int> index;
  int roots = 0;
  for (size_t i = 0; i < n; ++i) {
    Node& node = nodes[i];
    node.plan = &kItems[i];
    index[node.plan->id] = static_cast<int>(i);
    if (node.plan->parent == nullptr) {
      const bool outside = !projectOf(node.plan->project).inPortfolio;
      node.rank = outside ? "9001" : fourDigits(++roots);
      continue;
    }
    Node& parent = nodes[static_cast<size_t>(index.at(node.plan->parent))];
    node.parent = index.at(node.plan->parent);
    node.ordinal = ++parent.children;
    node.level = parent.level + 1;
    node.rank = parent.rank + fourDigits(node.ordinal);
  }
  for (Node& node : nodes) {
    node.es = node.plan->start;
    node.ef = node.plan->start + node.plan->days;
    if (node.plan->type == kTask) {
      const bool outside = !projectOf(node.plan->project).inPortfolio;
      if (!outside && node.ef <= asOf) node.status = kFinished;
      else if (!outside && node.es < asOf) node.status = kInProgress;
    } else {
      node.es = -1;
      node.ef = -1;
    }
  }
  // Children follow their parents: roll spans up from the last item.
  for (size_t i = n; i-- > 0;) {
    Node& node = nodes[i];
    if (node.es < 0) node.es = node.ef = node.plan->start;
    if (node.parent < 0) continue;
    Node& parent = nodes[static_cast<size_t>(node.parent)];
    parent.es = parent.es < 0 ? node.es : std::min(parent.es, node.es);
    parent.ef = std::max(parent.ef, node.ef);
  }
  for (const PlanAssignment& a : kAssignments) {
    ++nodes[static_cast<size_t>(index.at(a.task))].assignments;
  }
  std::map<std::string, int> projectEffort;
  for (const Node& node : nodes) {
    if (node.plan->type == kTask) {
      projectEffort[node.plan->project] += node.plan->days * kMinutesPerDay;
    }
  }

  Writer w(store);
  const db::In null = db::In::null();
  const std::string workHex = dayBitsHexOfRanges({{480, 720}, {780, 1020}});
  const std::string freeHex = dayBitsHexOfRanges({});
  auto stamp = [&](int workday, const char* clock) {
    return dayText(wd.day(workday)) + " " + clock;
  };

  // Items.
  for (const Node& node : nodes) {
    const PlanItem& p = *node.plan;
    const int firstDay = wd.day(node.es);
    const int lastDay = wd.day(std::max(node.es, node.ef - 1));
    const std::string startText = stamp(node.es, "08:00:00.000000");
    const std::string finishText = dayText(lastDay) + " 17:00:00.000000";
    const int effort = p.type == kTask ? p.days * kMinutesPerDay : 0;
    const int planned = p.type == kTask ? effort : std::max(1, node.ef - node.es) * kMinutesPerDay;
    const int projectPriority = projectOf(p.project).priority;
    int actualMinutes = 0, percent = 0;
    if (node.status == kFinished) {
      actualMinutes = effort;
      percent = 100;
    } else if (node.status == kInProgress) {
      actualMinutes = (asOf - node.es) * kMinutesPerDay;
      percent = 100 * (asOf - node.es) / p.days;
    }
    const std::string constraintDate =
        p.constraintType != 0 ? stamp(p.constraintDay, "08:00:00.000000") : "";
    const std::string projectStart = stamp(node.es, "00:00:00.000000");
    const int sumEffort = p.type == kProject ? projectEffort[p.project] : effort;
    w.exec(kInsertWbs,
           {p.project, p.parent != nullptr ? db::In(p.parent) : null, p.id, p.name, node.rank,
            p.id, int32_t{node.ordinal}, int32_t{node.level}, int32_t{p.type},
            int32_t{projectPriority}, int32_t{projectPriority}, int32_t{p.constraintType},
            p.constraintType != 0 ? db::In(constraintDate) : null, startText, finishText,
            int32_t{planned}, startText, finishText, int32_t{planned},
            node.status != kNotStarted ? db::In(startText) : null,
            node.status == kFinished ? db::In(finishText) : null, int32_t{actualMinutes},
            int32_t{node.assignments}, int32_t{percent}, int32_t{effort}, int32_t{sumEffort},
            int32_t{lastDay - firstDay + 1}, p.type == kProject ? db::In(projectStart) : null,
            int32_t{node.children}});
    if (p.type == kTask) ++summary.tasks;
    if (p.type == kContainer) ++summary.containers;
    if (p.type == kProject) ++summary.projects;
    if (node.status == kFinished) ++summary.finishedTasks;
    if (node.status == kInProgress) ++summary.inProgressTasks;
  }

  // Dependencies.
  for (const PlanDependency& d : kDependencies) {
    const PlanItem& pred = *nodes[static_cast<size_t>(index.at(d.pred))].plan;
    const PlanItem& succ = *nodes[static_cast<size_t>(index.at(d.succ))].plan;
    w.exec(kInsertDependency, {d.pred, d.succ, pred.project, succ.project, int32_t{d.type},
                               int32_t{d.lagDays < 0 ? 1 : 0},
                               int32_t{(d.lagDays < 0 ? -d.lagDays : d.lagDays) * kMinutesPerDay}});
    ++summary.dependencies;
  }

  // Calendars: the base with the holidays, one per project, the resources'.
  const int calFrom = start - kCalendarDaysBefore;
  const int calTo = start + kCalendarDaysAfter;
  w.exec(kInsertCalendar, {"CAL_BASE", null, "CAL", "Base calendar", workHex, workHex, workHex,
                           workHex, workHex, freeHex, freeHex});
  for (int h : wd.holidays()) {
    if (h >= calFrom && h <= calTo) {
      w.exec(kInsertCalendarException, {"CAL_BASE", dayText(h), freeHex});
    }
  }
  struct CalendarRow {
    std::string id, name, rank;
    bool fourDays;
  };
  std::vector<CalendarRow> calendars;
  for (const Node& node : nodes) {
    if (node.plan->type == kProject) {
      calendars.push_back({node.plan->id, node.plan->name, "CAL" + node.rank, false});
    }
  }
  calendars.push_back({"CAL_STD", "Standard week", "CALSTD", false});
  calendars.push_back({"CAL_4DAY", "Four-day week", "CAL4DAY", true});
  for (const CalendarRow& c : calendars) {
    const std::string& friday = c.fourDays ? freeHex : workHex;
    w.exec(kInsertCalendar, {c.id, "CAL_BASE", c.rank, c.name, workHex, workHex, workHex,
                             workHex, friday, freeHex, freeHex});
    for (int day = calFrom; day <= calTo && w.rc() == 0; ++day) {
      const int weekday = julianToWeekDay(day);
      const bool works = wd.isWorkday(day) && !(c.fourDays && weekday == kFriday);
      w.exec(kInsertCalendarDay, {c.id, dayText(day), int32_t{weekday}, works ? workHex : freeHex});
    }
  }

  // Projects: details, the portfolio, the what-if scenario.
  w.exec(kInsertPortfolio, {"PF_TOP", null, "00000001", int32_t{13}, "Demo company", int32_t{1}});
  w.exec(kInsertPortfolio, {kDemoFolderId, "PF_TOP", "000000010001", int32_t{64},
                            kDemoFolderName, int32_t{roots}});
  int listed = 0;
  for (const Node& node : nodes) {
    if (node.plan->type != kProject) continue;
    const PlanProject& project = projectOf(node.plan->id);
    w.exec(kInsertProjectDetails, {node.plan->id});
    if (!project.inPortfolio) continue;
    if (node.parent < 0) {
      w.exec(kInsertPortfolio, {node.plan->id, kDemoFolderId, "000000010001" + fourDigits(++listed),
                                int32_t{kProject}, node.plan->name, int32_t{0}});
    }
    w.exec(kInsertScenarioProject, {node.plan->id, node.rank, node.plan->name,
                                    int32_t{project.priority}, stamp(node.es, "00:00:00.000000")});
  }

  // Resources, assignments and their days.
  for (const PlanResource& r : kResources) {
    w.exec(kInsertResource, {r.id, r.name, int32_t{r.maxUnits}, r.calendar});
    ++summary.resources;
  }
  const std::string lastChanged = dayText(start - 7) + " 00:00:00.000000";
  int number = 0;
  for (const PlanAssignment& a : kAssignments) {
    const Node& task = nodes[static_cast<size_t>(index.at(a.task))];
    const PlanItem& p = *task.plan;
    char id[16];
    std::snprintf(id, sizeof id, "DEMO_A%03d", ++number);
    const int work = p.days * kMinutesPerDay;
    const int doneDays = task.status == kNotStarted ? 0 : std::min(asOf - task.es, p.days);
    const int todate = doneDays * kMinutesPerDay;
    const std::string startText = stamp(task.es, "08:00:00.000000");
    const std::string finishText = stamp(task.ef - 1, "17:00:00.000000");
    std::string lastSubmitted;
    if (task.status == kFinished) lastSubmitted = stamp(task.ef - 1, "00:00:00.000000");
    if (task.status == kInProgress) lastSubmitted = stamp(asOf - 1, "00:00:00.000000");
    const int calDays = wd.day(task.ef - 1) - wd.day(task.es) + 1;
    // REMAINING_WORK as the assignment reader computes it
    // ((ETC - SCHED_WORK - PLANNED_WORK) + WORK_TODATE) is the work not done.
    // Started work is scheduled from its estimate to complete (BIT_FLAG 2),
    // as work with actuals must be for the levelling.
    const int32_t bitFlag = task.status == kNotStarted ? 0 : 2;
    w.exec(kInsertAssignment,
           {id, p.project, p.id, a.resource, bitFlag, int32_t{work}, int32_t{todate},
            int32_t{work - todate}, int32_t{todate},
            task.status != kNotStarted ? db::In(startText) : null,
            task.status == kFinished ? db::In(finishText) : null,
            lastSubmitted.empty() ? null : db::In(lastSubmitted), startText, finishText,
            int32_t{calDays}, lastChanged});
    ++summary.assignments;
    for (int k = task.es; k < task.ef; ++k) {
      const bool past = task.status != kNotStarted && k < asOf;
      w.exec(kInsertDayWork, {p.project, p.id, id, a.resource, p.parent, dayText(wd.day(k)),
                              int32_t{kMinutesPerDay}, int32_t{past ? kMinutesPerDay : 0},
                              int32_t{past ? 1 : 0}, workHex});
    }
  }

  if (w.rc() != 0) {
    error = w.error();
    return w.rc();
  }
  const int32_t rc = commit(store);
  if (rc != 0) {
    error = "commit failed: " + std::string(store.status().message);
    return rc < 0 ? rc : -1;
  }
  return 0;
}

}  // namespace cli
