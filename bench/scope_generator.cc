// The scope generator: builds the scope in memory (items in depth-first
// order, dependencies, the working-day estimate), then writes it table by
// table. See scope_generator.h for the shape and the guarantees.
#include "scope_generator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"

namespace scopegen {

namespace {

constexpr int kMinutesPerDay = 480;
constexpr int kTaskType = 3;
constexpr int kContainerType = 2;
constexpr int kProjectType = 1;
constexpr int kSunday = 1;
constexpr int kMonday = 2;
constexpr int kSaturday = 7;

constexpr const char* kInsertWbs =
    "insert into KOR_WBS (PROJECT_ID,PARENT_ID,ELEMENT_ID,ELEMENT_NAME,RANK,WBS_CODE,"
    "WBS_RANK_ORDER,LEVEL_ID,TYPE_ID,PRIORITY,CALC_PRIORITY,CONSTRAINT_TYPE,UNRESOLVED_START,"
    "UNRESOLVED_FINISH,UNRESOLVED_DURATION,PLANNED_START,PLANNED_FINISH,PLANNED_DURATION,"
    "ACTUAL_START,ACTUAL_FINISH,ACTUAL_DURATION,ASSIGN_COUNT,MILESTONE_PERCENT,SCHED_DURATION,"
    "PLANNED_EFFORT,SCHED_EFFORT,DURATION,START_FINISH_DATE,MINUTE_PER_DAY,TASK_TYPE,CHILD_COUNT,"
    "PUBLISHED,REC_STATUS) values (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,"
    "?)";
constexpr const char* kInsertDependency =
    "insert into DEPENDENCIES (PRED_ID,SUCC_ID,PRED_PROJECT_ID,SUCC_PROJECT_ID,DEP_TYPE,"
    "LEAD_OR_LAG_TYPE,AMOUNT) values (?,?,?,?,?,?,?)";
constexpr const char* kInsertProjectDetails =
    "insert into PROJECT_DETAILS (PROJECT_ID,LEVEL_LOCK,LEVEL_LAST_CALL_OPTION,CALCULATE_FLAG) "
    "values (?,0,0,0)";
constexpr const char* kInsertCalendar =
    "insert into KOR_CALENDARS (ELEMENT_ID,PARENT_ID,RANK,TYPE_ID,ELEMENT_NAME,MINUTES_PER_DAY,"
    "MONDAY_BIT,TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,SATURDAY_BIT,SUNDAY_BIT) "
    "values (?,?,?,27,?,?,?,?,?,?,?,?,?)";
constexpr const char* kInsertCalendarDay =
    "insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) values (?,?,?,?)";
constexpr const char* kInsertCalendarException =
    "insert into CALENDAR_EXCEPTIONS (CALENDAR_ID,EXCEPTION_DATE,EXCEPTION_MIN,EXCEPTION_BIT) "
    "values (?,?,0,?)";
constexpr const char* kInsertResource =
    "insert into RESOURCES (RESOURCE_ID,FULL_NAME) values (?,?)";
constexpr const char* kInsertAssignment =
    "insert into TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID,PROJECT_ID,TASK_ID,RESOURCE_ID,RESOURCE_TYPE,"
    "BIT_FLAG,PROPOSED_WORK,PLANNED_WORK,SCHED_WORK,ETC,WORK_TODATE,ACTUAL_START,ACTUAL_FINISH,"
    "LAST_SUBMITTED,C_CONTOUR,CONTOUR_TYPE,C_EFFORT,UNITS_MSP,UNRESOLVED_START,UNRESOLVED_FINISH,"
    "UNRESOLVED_DURATION,ASSIGNMENT_DELAY,CONSIDER) "
    "values (?,?,?,?,'0',0,?,0,?,?,?,?,?,?,0,0,0,10000,?,?,?,0,1)";
constexpr const char* kInsertDayWork =
    "insert into TASK_DAY_OF_YEAR (PROJECT_ID,TASK_ID,TSK_ASSIGNMENT_ID,RESOURCE_ID,PARENT_ID,"
    "DAY_YEAR,SCHED_MIN,ACTUAL_MIN,ACTUAL_FLAG,BIT_SCHED,BIT_FLAG) values (?,?,?,?,?,?,?,?,?,?,0)";
constexpr const char* kInsertPortfolio =
    "insert into KOR_PORTFOLIOS (ELEMENT_ID,PARENT_ID,RANK,TYPE_ID,ELEMENT_NAME,CHILD_COUNT,"
    "REC_STATUS) values (?,?,?,?,?,?,'U')";

constexpr const char* kDeleteProjectList = "delete  from NAV_TMP_PROJECTS_00 ";
constexpr const char* kSelectProjectRow =
    "select PRIORITY ,RANK ,SUBSTR(START_FINISH_DATE,1,10)  from KOR_WBS where ELEMENT_ID=?";
constexpr const char* kInsertProjectList =
    "insert into NAV_TMP_PROJECTS_00 (LEVEL_ID,PRIORITY,ELEMENT_ID,RANK,START_FINISH_DATE) "
    "values (0,?,?,?,?)";
constexpr const char* kDeleteWorkWbs = "delete  from Lev_kor_wbs ";
constexpr const char* kCopyWorkWbs =
    "insert into Lev_kor_wbs (PROJECT_ID,RANK,ELEMENT_ID,LEVEL_ID,PRIORITY,CALC_PRIORITY,TYPE_ID,"
    "MINUTE_PER_DAY,PLANNED_DURATION,SCHED_DURATION,PROPOSED_START,START_DT,UNRESOLVED_START,"
    "UNRESOLVED_FINISH,UNRESOLVED_DURATION,CONSTRAINT_TYPE,CONSTRAINT_DT,LEVEL_INDEX,"
    "LEVEL_CONFLICT,LEVEL_START,LEVEL_FINISH,LEVEL_DURATION,TOTAL_SLACK,LEVEL_STATE,TASK_TYPE,"
    "ROLLUP_BITS)select W.PROJECT_ID ,W.RANK ,W.ELEMENT_ID ,W.LEVEL_ID ,T.PRIORITY ,"
    "W.CALC_PRIORITY ,W.TYPE_ID ,W.MINUTE_PER_DAY ,W.PLANNED_DURATION ,W.SCHED_DURATION ,"
    "W.PROPOSED_START ,W.START_DT ,W.UNRESOLVED_START ,W.UNRESOLVED_FINISH ,"
    "W.UNRESOLVED_DURATION ,W.CONSTRAINT_TYPE ,W.CONSTRAINT_DT ,W.LEVEL_INDEX ,"
    "W.LEVEL_CONFLICT ,W.LEVEL_START ,W.LEVEL_FINISH ,W.LEVEL_DURATION ,W.TOTAL_SLACK ,"
    "W.LEVEL_STATE ,W.TASK_TYPE ,W.ROLLUP_BITS  from KOR_WBS W ,NAV_TMP_PROJECTS_00 T where "
    "W.PROJECT_ID=T.ELEMENT_ID";

enum Status { kNotStarted = 0, kInProgress = 1, kFinished = 2 };

struct Node {
  std::string id;
  std::string rank;
  int parent = -1;   // node index; -1 for a root project
  int project = -1;  // index into the projects
  int kind = 0;      // 1 project, 2 container, 3 task
  int level = 0;
  int ordinal = 0;   // position among its parent's children, from 1
  int children = 0;
  int days = 0;      // tasks: working days
  int post = 0;      // last node index of its subtree
  int bound = 0;     // earliest working day allowed by project and parents
  int es = 0, ef = 0;  // estimate: start point and finish point (working days)
  int status = kNotStarted;
  int priority = 500;
};

struct Project {
  std::string id;
  int node = -1;
  int root = -1;         // project index of its root
  int32_t startDay = 0;  // Julian day number of its start
  int startWd = 0;       // working-day index of its start
  bool outside = false;
  std::vector<int> tasks;  // task nodes in depth-first order
  int priority = 500;
};

struct Dep {
  int pred, succ, type, lagDays;
};

std::string dayText(int32_t julian) {
  char buf[DATE_TEXT_SIZE];
  transformJulianToDateString(julian, buf);
  return buf;
}

std::string numbered(const char* prefix, int width, int64_t n) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%s%0*lld", prefix, width, static_cast<long long>(n));
  return buf;
}

std::string rankSegment(int ordinal) { return numbered("", 4, ordinal); }

// The scope in memory and the estimate.
class Builder {
 public:
  explicit Builder(const Shape& shape) : shape_(shape), rng_(shape.seed) {}

  void build();

  const Shape& shape_;
  std::mt19937 rng_;
  std::vector<Node> nodes;
  std::vector<Project> projects;  // outside project (if any) first
  std::vector<Dep> deps;
  std::set<int32_t> holidays;
  std::vector<int32_t> workdays;  // Julian day of each working-day index
  int32_t firstMonday = 0;
  int asOfWd = 0;
  int32_t asOfDay = 0;
  int fanout = 2;

  int32_t wdDay(int w) {
    while (static_cast<int>(workdays.size()) <= w) {
      int32_t next = workdays.empty() ? firstMonday : workdays.back() + 1;
      while (!isWorkday(next)) ++next;
      workdays.push_back(next);
    }
    return workdays[static_cast<size_t>(w)];
  }
  // The day of a working-day index as YYYY-MM-DD, kept once made.
  const std::string& wdText(int w) {
    while (static_cast<int>(wdTexts_.size()) <= w) {
      wdTexts_.push_back(dayText(wdDay(static_cast<int>(wdTexts_.size()))));
    }
    return wdTexts_[static_cast<size_t>(w)];
  }
  // First working-day index whose day is on or after `day`.
  int wdOnOrAfter(int32_t day) {
    int w = 0;
    while (wdDay(w) < day) ++w;
    return w;
  }
  bool isWorkday(int32_t day) const {
    const int w = julianToWeekDay(day);
    return w != kSunday && w != kSaturday && holidays.count(day) == 0;
  }

 private:
  uint32_t next() { return static_cast<uint32_t>(rng_()); }
  int below(int n) { return n <= 1 ? 0 : static_cast<int>(next() % static_cast<uint32_t>(n)); }
  double unit() { return static_cast<double>(next()) / 4294967296.0; }

  int addNode(int kind, int parent, int project, int level, const std::string& id);
  void addSubtree(int parentNode, int project, int level, int depthLeft, int taskCount);
  void addDependencies();
  void addContainerDependencies(std::unordered_set<uint64_t>& seen);
  bool addDep(std::unordered_set<uint64_t>& seen, int pred, int succ, int type, int lag);
  int randomType();
  int randomLag();
  void estimate();
  void makeHolidays(int32_t from, int32_t to);

  int taskCounter_ = 0;
  int containerCounter_ = 0;
  std::vector<std::string> wdTexts_;
};

int Builder::addNode(int kind, int parent, int project, int level, const std::string& id) {
  Node n;
  n.id = id;
  n.kind = kind;
  n.parent = parent;
  n.project = project;
  n.level = level;
  if (parent >= 0) {
    Node& p = nodes[static_cast<size_t>(parent)];
    n.ordinal = ++p.children;
    n.rank = p.rank + rankSegment(n.ordinal);
  }
  n.priority = kind == kTaskType ? 100 + below(800) : projects[static_cast<size_t>(project)].priority;
  if (kind == kTaskType) {
    n.days = 1 + below(5);
    projects[static_cast<size_t>(project)].tasks.push_back(static_cast<int>(nodes.size()));
  }
  nodes.push_back(n);
  return static_cast<int>(nodes.size()) - 1;
}

void Builder::addSubtree(int parentNode, int project, int level, int depthLeft, int taskCount) {
  if (depthLeft == 0) {
    for (int t = 0; t < taskCount; ++t) {
      addNode(kTaskType, parentNode, project, level, numbered("T", 7, ++taskCounter_));
    }
    return;
  }
  for (int c = 0; c < fanout; ++c) {
    const int share = taskCount / fanout + (c < taskCount % fanout ? 1 : 0);
    if (share == 0) continue;  // no empty containers
    const int node = addNode(kContainerType, parentNode, project, level,
                             numbered("C", 7, ++containerCounter_));
    addSubtree(node, project, level + 1, depthLeft - 1, share);
    nodes[static_cast<size_t>(node)].post = static_cast<int>(nodes.size()) - 1;
  }
}

int Builder::randomType() {
  const int r = below(100);
  if (r < 55) return 0;  // finish-to-start
  if (r < 70) return 1;  // start-to-start
  if (r < 85) return 2;  // finish-to-finish
  return 3;              // start-to-finish
}

int Builder::randomLag() {
  const int r = below(100);
  if (shape_.leads && r < 10) return -1;
  if (r < 60 || shape_.maxLagDays <= 0) return 0;
  return 1 + below(shape_.maxLagDays);
}

bool Builder::addDep(std::unordered_set<uint64_t>& seen, int pred, int succ, int type, int lag) {
  const uint64_t key = (static_cast<uint64_t>(pred) << 32) | static_cast<uint32_t>(succ);
  if (pred == succ || !seen.insert(key).second) return false;
  deps.push_back({pred, succ, type, lag});
  return true;
}

void Builder::addDependencies() {
  std::unordered_set<uint64_t> seen;
  // The run's projects in depth-first order (their tasks too).
  std::vector<int> order;
  for (size_t p = 0; p < projects.size(); ++p) {
    if (!projects[p].outside) order.push_back(static_cast<int>(p));
  }
  std::sort(order.begin(), order.end(), [&](int a, int b) {
    return projects[static_cast<size_t>(a)].node < projects[static_cast<size_t>(b)].node;
  });
  const double spread = 2.0 * shape_.dependenciesPerTask + 1.0;
  for (size_t pos = 0; pos < order.size(); ++pos) {
    const Project& proj = projects[static_cast<size_t>(order[pos])];
    for (size_t k = 0; k < proj.tasks.size(); ++k) {
      const int succ = proj.tasks[k];
      const int count = std::min(static_cast<int>(unit() * spread), 6);
      for (int c = 0; c < count; ++c) {
        int pred = -1;
        if (pos > 0 && unit() < shape_.crossProjectShare) {
          const Project& other = projects[static_cast<size_t>(order[static_cast<size_t>(
              below(static_cast<int>(pos)))])];
          if (!other.tasks.empty()) {
            pred = other.tasks[static_cast<size_t>(below(static_cast<int>(other.tasks.size())))];
          }
        } else if (k > 0) {
          // Mostly an earlier task of the same lowest container, else any
          // earlier task of the project: chains stay as long as a container
          // plus a few hops, so that the schedule's span grows with the log
          // of the project's size, not with the size.
          size_t siblings = 0;
          while (siblings < k && nodes[static_cast<size_t>(proj.tasks[k - 1 - siblings])].parent ==
                                     nodes[static_cast<size_t>(succ)].parent) {
            ++siblings;
          }
          if (siblings > 0 && unit() < 0.7) {
            pred = proj.tasks[k - 1 - static_cast<size_t>(below(static_cast<int>(siblings)))];
          } else {
            pred = proj.tasks[static_cast<size_t>(below(static_cast<int>(k)))];
          }
        }
        if (pred >= 0) addDep(seen, pred, succ, randomType(), randomLag());
      }
    }
  }
  addContainerDependencies(seen);
}

// A container succeeds a task of its project whose place is before the
// container's subtree, finish-to-start or start-to-start; it precedes one
// whose place is after its subtree, finish-to-start or finish-to-finish.
void Builder::addContainerDependencies(std::unordered_set<uint64_t>& seen) {
  for (size_t i = 0; i < nodes.size(); ++i) {
    const Node& c = nodes[i];
    const Project& proj = projects[static_cast<size_t>(c.project)];
    if (c.kind != kContainerType || proj.outside) continue;
    const auto& tasks = proj.tasks;
    if (unit() < shape_.containerDependencyShare) {
      const auto before = std::lower_bound(tasks.begin(), tasks.end(), static_cast<int>(i));
      const int n = static_cast<int>(before - tasks.begin());
      if (n > 0) {
        const int pred = tasks[static_cast<size_t>(n - 1 - below(std::min(n, 20)))];
        addDep(seen, pred, static_cast<int>(i), below(2), randomLag());
      }
    }
    if (unit() < shape_.containerDependencyShare) {
      const auto after = std::upper_bound(tasks.begin(), tasks.end(), c.post);
      const int n = static_cast<int>(tasks.end() - after);
      if (n > 0) {
        const int succ = *(after + below(std::min(n, 20)));
        addDep(seen, static_cast<int>(i), succ, below(2) == 0 ? 0 : 2, randomLag());
      }
    }
  }
}

// Working-day estimate in depth-first order: a node's predecessors and the
// subtrees before it are settled when it is reached; a container is rolled
// up when the walk leaves its subtree.
void Builder::estimate() {
  std::vector<std::vector<int>> predsOf(nodes.size());
  for (size_t d = 0; d < deps.size(); ++d) {
    predsOf[static_cast<size_t>(deps[d].succ)].push_back(static_cast<int>(d));
  }
  std::vector<int> open;  // containers and projects whose subtree is being walked
  auto rollUp = [&](int c) {
    Node& n = nodes[static_cast<size_t>(c)];
    n.es = -1;
    n.ef = -1;
    for (int k = c + 1; k <= n.post; ++k) {
      const Node& child = nodes[static_cast<size_t>(k)];
      if (child.parent != c) continue;
      n.es = n.es < 0 ? child.es : std::min(n.es, child.es);
      n.ef = std::max(n.ef, child.ef);
    }
    if (n.es < 0) n.es = n.ef = n.bound;
  };
  for (size_t i = 0; i < nodes.size(); ++i) {
    while (!open.empty() && nodes[static_cast<size_t>(open.back())].post < static_cast<int>(i)) {
      rollUp(open.back());
      open.pop_back();
    }
    Node& n = nodes[i];
    int bound = projects[static_cast<size_t>(n.project)].startWd;
    if (n.parent >= 0) bound = std::max(bound, nodes[static_cast<size_t>(n.parent)].bound);
    for (int d : predsOf[i]) {
      const Dep& dep = deps[static_cast<size_t>(d)];
      const Node& p = nodes[static_cast<size_t>(dep.pred)];
      if (p.post >= static_cast<int>(i)) continue;  // into the outside project: not placed here
      const int own = n.kind == kTaskType ? n.days : 0;
      int v = 0;
      switch (dep.type) {
        case 0: v = p.ef + dep.lagDays; break;
        case 1: v = p.es + dep.lagDays; break;
        case 2: v = p.ef + dep.lagDays - own; break;
        default: v = p.es + dep.lagDays - own; break;
      }
      bound = std::max(bound, v);
    }
    n.bound = bound;
    if (n.kind == kTaskType) {
      n.es = bound;
      n.ef = bound + n.days;
    } else {
      open.push_back(static_cast<int>(i));
    }
  }
  while (!open.empty()) {
    rollUp(open.back());
    open.pop_back();
  }
}

void Builder::makeHolidays(int32_t from, int32_t to) {
  int y0 = 0, m = 0, d = 0;
  julianToDate(from, &y0, &m, &d);
  int y1 = 0;
  julianToDate(to, &y1, &m, &d);
  for (int y = y0; y <= y1 + 1; ++y) {
    for (const char* md : {"-01-01", "-05-01", "-12-25", "-12-26"}) {
      holidays.insert(dateStringToJulian((std::to_string(y) + md).c_str()));
    }
  }
}

void Builder::build() {
  int32_t start = dateStringToJulian(shape_.start.c_str());
  while (julianToWeekDay(start) != kMonday) ++start;
  // Holidays far enough on both sides of everything the scope can reach.
  makeHolidays(start - shape_.calendarDaysBefore - 800, start + 20 * 365);
  firstMonday = start;
  while (!isWorkday(firstMonday)) ++firstMonday;

  const int roots = std::max(1, shape_.rootProjects);
  const int subs = std::max(0, shape_.subProjectsPerRoot);
  const int runProjects = roots * (1 + subs);
  // Projects: the outside one first, then each root followed by its subs.
  if (shape_.outsideProject) {
    Project x;
    x.id = "X01";
    x.outside = true;
    x.startDay = start;
    projects.push_back(x);
  }
  for (int r = 0; r < roots; ++r) {
    Project root;
    root.id = numbered("R", 2, r + 1);
    root.root = static_cast<int>(projects.size());
    root.startDay = start + 7 * shape_.rootStartStaggerWeeks * r;
    root.priority = 100 + 50 * r;
    projects.push_back(root);
    for (int s = 0; s < subs; ++s) {
      Project sub = root;
      sub.id = root.id + "S" + std::to_string(s + 1);
      projects.push_back(sub);
    }
  }
  for (Project& p : projects) p.startWd = wdOnOrAfter(p.startDay);

  const int perProject = std::max(0, shape_.tasks) / runProjects;
  const int extra = std::max(0, shape_.tasks) % runProjects;
  const int leafTarget = std::max(1, perProject / 10);
  const int levels = std::max(0, shape_.containerLevels);
  fanout = levels == 0 ? 1
                       : std::max(2, static_cast<int>(std::lround(
                                         std::pow(static_cast<double>(leafTarget), 1.0 / levels))));

  size_t p = 0;
  if (shape_.outsideProject) {
    // X01: one container of three tasks, placed first so that its task
    // can precede the run's.
    const int node = addNode(kProjectType, -1, 0, 1, "X01");
    nodes[static_cast<size_t>(node)].rank = "9001";
    projects[0].node = node;
    const int c = addNode(kContainerType, node, 0, 2, "XC01");
    for (int t = 1; t <= 3; ++t) addNode(kTaskType, c, 0, 3, numbered("XT", 2, t));
    nodes[static_cast<size_t>(c)].post = static_cast<int>(nodes.size()) - 1;
    nodes[static_cast<size_t>(node)].post = static_cast<int>(nodes.size()) - 1;
    p = 1;
  }
  int runIndex = 0;
  for (int r = 0; r < roots; ++r, p += static_cast<size_t>(1 + subs)) {
    // The root's own tasks and then each sub-project's.
    auto share = [&](int k) { return perProject + (k < extra ? 1 : 0); };
    const int rootNode = addNode(kProjectType, -1, static_cast<int>(p), 1, projects[p].id);
    nodes[static_cast<size_t>(rootNode)].rank = rankSegment(r + 1);
    projects[p].node = rootNode;
    addSubtree(rootNode, static_cast<int>(p), 2, levels, share(runIndex++));
    for (int s = 0; s < subs; ++s) {
      const size_t sp = p + 1 + static_cast<size_t>(s);
      const int subNode = addNode(kProjectType, rootNode, static_cast<int>(sp), 2, projects[sp].id);
      projects[sp].node = subNode;
      addSubtree(subNode, static_cast<int>(sp), 3, levels, share(runIndex++));
      nodes[static_cast<size_t>(subNode)].post = static_cast<int>(nodes.size()) - 1;
    }
    nodes[static_cast<size_t>(rootNode)].post = static_cast<int>(nodes.size()) - 1;
  }

  addDependencies();
  if (shape_.outsideProject && !projects[0].tasks.empty()) {
    // X01's first task precedes the run's first task; the run's last task
    // precedes X01's last task.
    int first = -1, last = -1;
    for (size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i].kind != kTaskType || projects[static_cast<size_t>(nodes[i].project)].outside) {
        continue;
      }
      if (first < 0) first = static_cast<int>(i);
      last = static_cast<int>(i);
    }
    std::unordered_set<uint64_t> none;
    if (first >= 0) {
      addDep(none, projects[0].tasks.front(), first, 0, 0);
      addDep(none, last, projects[0].tasks.back(), 0, 0);
    }
  }
  estimate();

  int maxEf = 0;
  for (const Node& n : nodes) maxEf = std::max(maxEf, n.ef);
  if (shape_.asOf.empty()) {
    asOfWd = maxEf / 10;
    asOfDay = wdDay(asOfWd);
  } else {
    asOfDay = dateStringToJulian(shape_.asOf.c_str());
    asOfWd = wdOnOrAfter(asOfDay);
  }
  if (shape_.actuals) {
    for (Node& n : nodes) {
      if (n.kind != kTaskType || projects[static_cast<size_t>(n.project)].outside) continue;
      if (n.ef <= asOfWd) {
        n.status = kFinished;
      } else if (n.es < asOfWd) {
        n.status = kInProgress;
      }
    }
  }
}

// Writes the rows; remembers the first failure. Rows of one single-row
// insert ("insert into T (...) values (...)") are queued and written
// kRowsPerStatement to a statement ("values (...),(...),..."): the same
// two statement texts per table all along, and a fraction of the
// per-statement work of the store and the database.
class Writer {
 public:
  static constexpr size_t kRowsPerStatement = 100;

  explicit Writer(db::Store& store) : store_(store) {}

  bool exec(const char* sql, const std::vector<db::In>& in) {
    if (rc_ != 0) return false;
    const int32_t rc = store_.execute(sql, db::Binds(in));
    if (rc != 0) rc_ = rc < 0 ? rc : -1;
    return rc_ == 0;
  }

  // Queues one row of `sql` (a constant: batches are keyed by its address).
  void add(const char* sql, std::initializer_list<db::In> row) {
    Batch& b = batches_[sql];
    if (b.head.empty()) {
      const std::string text(sql);
      const size_t at = text.find(" values ") + 8;
      b.head = text.substr(0, at);
      b.row = text.substr(at);
    }
    for (const db::In& in : row) {
      Slot slot;
      slot.kind = in.kind();
      slot.integer = in.integer();
      slot.real = in.real();
      if (slot.kind == db::In::Kind::kText) slot.text = std::string(in.text());
      b.slots.push_back(std::move(slot));
    }
    if (++b.rows == kRowsPerStatement) flush(b);
  }

  // Writes every queued row.
  void flush() {
    for (auto& [sql, b] : batches_) flush(b);
  }

  int32_t rc() const { return rc_; }

 private:
  struct Slot {
    db::In::Kind kind = db::In::Kind::kNull;
    int64_t integer = 0;
    double real = 0;
    std::string text;
  };
  struct Batch {
    std::string head, row, fullText;
    std::vector<Slot> slots;
    size_t rows = 0;
  };

  void flush(Batch& b) {
    if (b.rows == 0) return;
    std::string partial;
    std::string* text = &b.fullText;
    if (b.rows != kRowsPerStatement || b.fullText.empty()) {
      std::string& t = b.rows == kRowsPerStatement ? b.fullText : partial;
      t = b.head;
      for (size_t r = 0; r < b.rows; ++r) t += (r == 0 ? "" : ",") + b.row;
      text = &t;
    }
    std::vector<db::In> in;
    in.reserve(b.slots.size());
    for (const Slot& slot : b.slots) {
      switch (slot.kind) {
        case db::In::Kind::kText: in.emplace_back(std::string_view(slot.text)); break;
        case db::In::Kind::kInteger: in.emplace_back(slot.integer); break;
        case db::In::Kind::kReal: in.emplace_back(slot.real); break;
        default: in.push_back(db::In::null()); break;
      }
    }
    if (rc_ == 0) {
      const int32_t rc = store_.execute(*text, db::Binds(in));
      if (rc != 0) rc_ = rc < 0 ? rc : -1;
    }
    b.slots.clear();
    b.rows = 0;
  }

  db::Store& store_;
  int32_t rc_ = 0;
  std::map<const char*, Batch> batches_;
};

std::string stamp(int32_t day, const char* clock) { return dayText(day) + " " + clock; }

const db::In kNull = db::In::null();

}  // namespace

Shape simpleShape(int tasks, uint32_t seed) {
  Shape s;
  s.tasks = tasks;
  s.rootProjects = 3;
  s.subProjectsPerRoot = 1;
  s.containerLevels = 3;
  s.dependenciesPerTask = 1.3;
  s.crossProjectShare = 0.08;
  s.containerDependencyShare = 0.2;
  s.maxLagDays = 2;
  s.leads = true;
  s.outsideProject = false;
  s.assignments = false;
  s.actuals = false;
  s.rootStartStaggerWeeks = 0;
  s.asOf = s.start;
  s.seed = seed;
  return s;
}

int32_t generateScope(db::Store& store, const Shape& shape, Description* out) {
  Builder b(shape);
  b.build();
  Description d;
  Writer w(store);
  const std::string workHex = dayBitsHexOfRanges({{480, 720}, {780, 1020}});
  const std::string freeHex = dayBitsHexOfRanges({});

  // Items.
  std::vector<int64_t> projectEffort(b.projects.size(), 0);
  for (const Node& n : b.nodes) {
    if (n.kind == kTaskType) projectEffort[static_cast<size_t>(n.project)] += n.days * kMinutesPerDay;
  }
  std::mt19937 rng(shape.seed * 2654435761u + 17u);
  std::vector<int> assignCount(b.nodes.size(), 0);
  if (shape.assignments) {
    for (size_t i = 0; i < b.nodes.size(); ++i) {
      const Node& n = b.nodes[i];
      if (n.kind == kTaskType && !b.projects[static_cast<size_t>(n.project)].outside) {
        assignCount[i] = 1 + static_cast<int>(rng() % 2);
      }
    }
  }
  int32_t lastDay = b.firstMonday;
  for (size_t i = 0; i < b.nodes.size(); ++i) {
    const Node& n = b.nodes[i];
    const Project& proj = b.projects[static_cast<size_t>(n.project)];
    const int32_t sd = b.wdDay(n.es);
    const int32_t fd = b.wdDay(std::max(n.es, n.ef - 1));
    lastDay = std::max(lastDay, fd);
    const std::string start = stamp(sd, "08:00:00.000000");
    const std::string finish = stamp(fd, "17:00:00.000000");
    const int32_t calDays = fd - sd + 1;
    const int32_t effort = n.kind == kTaskType ? n.days * kMinutesPerDay : 0;
    // Planned durations are working minutes: a task's effort, the working
    // time of a container's or project's span.
    const int32_t plannedMinutes =
        n.kind == kTaskType ? effort : std::max(1, n.ef - n.es) * kMinutesPerDay;
    const std::string parent = n.parent >= 0 ? b.nodes[static_cast<size_t>(n.parent)].id : "";
    const std::string actualStart = stamp(sd, "08:00:00.000000");
    const std::string projectStart = stamp(proj.startDay, "00:00:00.000000");
    int32_t actualMinutes = 0, percent = 0;
    if (n.status == kFinished) {
      actualMinutes = effort;
      percent = 100;
    } else if (n.status == kInProgress) {
      actualMinutes = (b.asOfWd - n.es) * kMinutesPerDay;
      percent = 50;
    }
    const int32_t typeId = n.kind == kTaskType ? kTaskType : (n.kind == kProjectType ? kProjectType : kContainerType);
    w.add(kInsertWbs,
           {proj.id, n.parent >= 0 ? db::In(parent) : kNull, n.id, n.id, n.rank, n.id,
            int32_t{n.ordinal}, int32_t{n.level}, typeId, int32_t{n.priority}, int32_t{n.priority},
            int32_t{0}, start, finish, plannedMinutes, start, finish, plannedMinutes,
            n.status != kNotStarted ? db::In(actualStart) : kNull,
            n.status == kFinished ? db::In(finish) : kNull, actualMinutes,
            int32_t{assignCount[i]}, percent, effort,
            n.kind == kProjectType ? static_cast<int32_t>(projectEffort[static_cast<size_t>(n.project)])
                                   : effort,
            int32_t{0}, calDays, n.kind == kProjectType ? db::In(projectStart) : kNull,
            int32_t{kMinutesPerDay}, int32_t{0}, int32_t{n.children}, std::string_view("1"),
            std::string_view("U")});
    ++d.wbsRows;
    if (n.kind == kTaskType && !proj.outside) ++d.tasks;
    if (n.kind == kContainerType && !proj.outside) ++d.containers;
    if (n.status == kFinished) ++d.finishedTasks;
    if (n.status == kInProgress) ++d.inProgressTasks;
  }

  // Dependencies.
  for (const Dep& dep : b.deps) {
    const Node& p = b.nodes[static_cast<size_t>(dep.pred)];
    const Node& s = b.nodes[static_cast<size_t>(dep.succ)];
    const Project& pp = b.projects[static_cast<size_t>(p.project)];
    const Project& sp = b.projects[static_cast<size_t>(s.project)];
    w.add(kInsertDependency, {p.id, s.id, pp.id, sp.id, int32_t{dep.type},
                               int32_t{dep.lagDays < 0 ? 1 : 0},
                               int32_t{std::abs(dep.lagDays) * kMinutesPerDay}});
    ++d.dependencies;
    ++d.dependenciesByType[dep.type];
    if (dep.lagDays < 0) ++d.leads;
    if (pp.outside || sp.outside) {
      ++d.outsideDependencies;
    } else if (p.project != s.project) {
      ++d.crossProjectDependencies;
    }
    if (p.kind == kContainerType || s.kind == kContainerType) ++d.containerDependencies;
  }

  // Projects: details, calendars, the portfolio.
  const int32_t calFrom = b.firstMonday - shape.calendarDaysBefore;
  const int32_t calTo = lastDay + shape.calendarDaysAfter;
  w.exec(kInsertCalendar, {std::string_view("CAL_BASE"), kNull, std::string_view("CAL"),
                           std::string_view("Base calendar"), int32_t{kMinutesPerDay}, workHex,
                           workHex, workHex, workHex, workHex, freeHex, freeHex});
  for (int32_t h : b.holidays) {
    if (h < calFrom || h > calTo) continue;
    const std::string day = dayText(h);
    w.add(kInsertCalendarException, {std::string_view("CAL_BASE"), day, freeHex});
  }
  int rootOrdinal = 0;
  for (const Project& p : b.projects) {
    const Node& pn = b.nodes[static_cast<size_t>(p.node)];
    w.add(kInsertProjectDetails, {p.id});
    const std::string calRank = "CAL" + pn.rank;
    w.exec(kInsertCalendar, {p.id, std::string_view("CAL_BASE"), calRank, p.id,
                             int32_t{kMinutesPerDay}, workHex, workHex, workHex, workHex, workHex,
                             freeHex, freeHex});
    for (int32_t day = calFrom; day <= calTo; ++day) {
      const std::string text = dayText(day);
      w.add(kInsertCalendarDay,
             {p.id, text, int32_t{julianToWeekDay(day)}, b.isWorkday(day) ? workHex : freeHex});
      ++d.calendarDayRows;
    }
    if (p.outside) {
      d.outsideProject = p.id;
      continue;
    }
    d.projects.push_back(p.id);
    if (pn.parent < 0) {
      d.rootProjects.push_back(p.id);
      ++rootOrdinal;
      w.exec(kInsertPortfolio, {p.id, std::string_view("PF_RUN"),
                                "000000010001" + rankSegment(rootOrdinal), int32_t{kProjectType},
                                p.id, int32_t{0}});
    }
  }
  w.exec(kInsertPortfolio, {std::string_view("PF_TOP"), kNull, std::string_view("00000001"),
                            int32_t{13}, std::string_view("Generated portfolios"), int32_t{1}});
  w.exec(kInsertPortfolio, {std::string_view("PF_RUN"), std::string_view("PF_TOP"),
                            std::string_view("000000010001"), int32_t{64},
                            std::string_view("Generated run"), int32_t{rootOrdinal}});
  d.portfolio = "PF_RUN";

  // Resources, assignments and their days.
  if (shape.assignments) {
    const int pool = std::max(1, shape.resources);
    for (int r = 1; r <= pool; ++r) {
      const std::string id = numbered("RES", 5, r);
      const std::string name = "Resource " + std::to_string(r);
      w.add(kInsertResource, {id, name});
    }
    d.resources = pool;
    int64_t assignment = 0;
    for (size_t i = 0; i < b.nodes.size() && w.rc() == 0; ++i) {
      const Node& n = b.nodes[i];
      if (assignCount[i] == 0) continue;
      const Project& proj = b.projects[static_cast<size_t>(n.project)];
      const std::string& parent = b.nodes[static_cast<size_t>(n.parent)].id;
      const int32_t sd = b.wdDay(n.es);
      const int32_t fd = b.wdDay(n.ef - 1);
      const std::string start = stamp(sd, "08:00:00.000000");
      const std::string finish = stamp(fd, "17:00:00.000000");
      const int32_t work = n.days * kMinutesPerDay;
      const int doneDays = n.status == kNotStarted ? 0 : std::min(b.asOfWd - n.es, n.days);
      const int32_t todate = doneDays * kMinutesPerDay;
      std::string lastSubmitted;
      if (n.status == kFinished) lastSubmitted = stamp(fd, "00:00:00.000000");
      if (n.status == kInProgress) lastSubmitted = stamp(b.wdDay(b.asOfWd - 1), "00:00:00.000000");
      int first = -1;
      for (int a = 0; a < assignCount[i]; ++a) {
        int res = static_cast<int>(rng() % static_cast<uint32_t>(pool));
        if (res == first) res = (res + 1) % pool;
        first = res;
        const std::string id = numbered("A", 7, ++assignment);
        const std::string resource = numbered("RES", 5, res + 1);
        // REMAINING_WORK as the assignment reader computes it
        // ((ETC - SCHED_WORK - PLANNED_WORK) + WORK_TODATE) is the work
        // not yet done.
        w.add(kInsertAssignment,
               {id, proj.id, n.id, resource, work, todate, work - todate, todate,
                n.status != kNotStarted ? db::In(start) : kNull,
                n.status == kFinished ? db::In(finish) : kNull,
                lastSubmitted.empty() ? kNull : db::In(lastSubmitted), start, finish,
                int32_t{fd - sd + 1}});
        ++d.assignments;
        for (int k = n.es; k < n.ef; ++k) {
          const bool past = n.status != kNotStarted && k < b.asOfWd;
          const std::string& day = b.wdText(k);
          w.add(kInsertDayWork, {proj.id, n.id, id, resource, parent, day,
                                  int32_t{kMinutesPerDay}, int32_t{past ? kMinutesPerDay : 0},
                                  int32_t{past ? 1 : 0}, workHex});
          ++d.dayWorkRows;
        }
      }
    }
  }

  w.flush();
  d.asOf = stamp(b.asOfDay, "00:00:00.000000");
  int32_t firstStart = b.projects.empty() ? b.firstMonday : b.projects.back().startDay;
  for (const Project& p : b.projects) firstStart = std::min(firstStart, p.startDay);
  d.firstDay = dayText(firstStart);
  d.lastDay = dayText(lastDay);
  if (w.rc() == 0 && shape.commit) {
    int32_t result = 0;
    db::HostVar resultVar(result);
    const int32_t rc = store.call("LEVEL_COMMIT", {}, &resultVar);
    if (rc != 0) return rc < 0 ? rc : -1;
  }
  if (out != nullptr) *out = std::move(d);
  return w.rc();
}

int32_t writeProjectList(db::Store& store, const Description& scope) {
  int32_t rc = store.execute(kDeleteProjectList);
  if (rc != 0) return rc;
  for (const std::string& id : scope.projects) {
    int32_t priority = 0;
    db::RankText rank;
    db::DayText day;
    int16_t priorityInd = 0, rankInd = 0, dayInd = 0;
    rc = store.selectInto(kSelectProjectRow, {id},
                          {db::HostVar(priority, &priorityInd), db::HostVar(rank, &rankInd),
                           db::HostVar(day, &dayInd)});
    if (rc != 0) return rc < 0 ? rc : -1;
    rc = store.execute(kInsertProjectList, {db::In(priority, priorityInd), id,
                                            db::In(rank, rankInd), db::In(day, dayInd)});
    if (rc != 0) return rc;
  }
  return 0;
}

int32_t copyWbsToWorkTable(db::Store& store) {
  int32_t rc = store.execute(kDeleteWorkWbs);
  if (rc != 0) return rc;
  return store.execute(kCopyWorkWbs);
}

}  // namespace scopegen
