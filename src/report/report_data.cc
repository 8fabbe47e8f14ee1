// Reading what the HTML report shows (see report_data.h).
#include "report/report_data.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <tuple>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "model/element_types.h"

namespace report {
namespace {

constexpr const char* kSelectWbsElement =
    "SELECT RANK, TYPE_ID, ELEMENT_NAME FROM KOR_WBS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectPortfolioElement =
    "SELECT RANK, TYPE_ID, ELEMENT_NAME FROM KOR_PORTFOLIOS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectProjectsUnderRank =
    "SELECT ELEMENT_ID, RANK FROM KOR_WBS WHERE RANK LIKE ? AND TYPE_ID IN "
    "(1,154,288,289,290) AND COALESCE(REC_STATUS, 'U') <> 'D' ORDER BY RANK";
constexpr const char* kSelectFolderProjects =
    "SELECT W.ELEMENT_ID, W.RANK FROM KOR_PORTFOLIOS P JOIN KOR_WBS W ON W.ELEMENT_ID = "
    "P.ELEMENT_ID AND W.PROJECT_ID = P.ELEMENT_ID WHERE P.RANK LIKE ? AND P.TYPE_ID IN "
    "(1,154,288,289,290) AND COALESCE(W.REC_STATUS, 'U') <> 'D' ORDER BY W.RANK";
constexpr const char* kSelectItems =
    "SELECT ELEMENT_ID, PROJECT_ID, PARENT_ID, ELEMENT_NAME, RANK, WBS_CODE, TYPE_ID, "
    "PLANNED_START, PLANNED_FINISH, UNRESOLVED_START, UNRESOLVED_FINISH, LEVEL_START, "
    "LEVEL_FINISH, ACTUAL_START, ACTUAL_FINISH, TOTAL_SLACK, LEVEL_DURATION, PLANNED_EFFORT, "
    "LEVEL_INDEX, LEVEL_CONFLICT FROM KOR_WBS WHERE PROJECT_ID = ? AND COALESCE(REC_STATUS, 'U') "
    "<> 'D' ORDER BY RANK, ELEMENT_ID";
constexpr const char* kSelectDependencies =
    "SELECT PRED_ID, SUCC_ID, DEP_TYPE, LEAD_OR_LAG_TYPE, AMOUNT FROM DEPENDENCIES "
    "WHERE SUCC_PROJECT_ID = ? ORDER BY PRED_ID, SUCC_ID";
constexpr const char* kSelectAssignedResources =
    "SELECT DISTINCT RESOURCE_ID FROM TASK_ASSIGNMENTS WHERE PROJECT_ID = ? AND RESOURCE_ID IS "
    "NOT NULL ORDER BY RESOURCE_ID";
constexpr const char* kCountAssignments =
    "SELECT COUNT(*), COUNT(LEVEL_START) FROM TASK_ASSIGNMENTS WHERE PROJECT_ID = ?";
constexpr const char* kSelectLevelledDays =
    "SELECT RESOURCE_ID, DAY_YEAR, SUM(SCHED_MIN) FROM LEVEL_TASK_DAY_OF_YEAR WHERE PROJECT_ID = "
    "? AND RESOURCE_ID IS NOT NULL GROUP BY RESOURCE_ID, DAY_YEAR";
constexpr const char* kSelectActualDays =
    "SELECT RESOURCE_ID, DAY_YEAR, SUM(COALESCE(ACTUAL_MIN, 0)) FROM TASK_DAY_OF_YEAR WHERE "
    "PROJECT_ID = ? AND ACTUAL_FLAG = 1 AND RESOURCE_ID IS NOT NULL GROUP BY RESOURCE_ID, DAY_YEAR";
constexpr const char* kSelectResourceDays =
    "SELECT PROJECT_ID, DAY_YEAR, COALESCE(SCHED_MIN, 0), COALESCE(ACTUAL_MIN, 0), "
    "COALESCE(ACTUAL_FLAG, 0) FROM TASK_DAY_OF_YEAR WHERE RESOURCE_ID = ?";
constexpr const char* kSelectResource =
    "SELECT FULL_NAME, MAX_UNITS, CALENDAR_ID FROM RESOURCES WHERE RESOURCE_ID = ?";
constexpr const char* kSelectOverAllocations =
    "SELECT RESOURCE_ID, DAY_YEAR, LOAD_MIN, CAPACITY_MIN, TSK_ASSIGNMENT_ID, TASK_ID FROM "
    "LEVEL_OVER_ALLOCATIONS WHERE PROJECT_ID = ? ORDER BY RESOURCE_ID, DAY_YEAR, TSK_ASSIGNMENT_ID";
constexpr const char* kSelectNotification =
    "SELECT SUBJECT, DESCRIPTION, START_DT, REC_DATETIME, REQUESTER_ID FROM KOR_WORKFLOWS WHERE "
    "REF_ELEMENT_ID = ? ORDER BY REC_DATETIME DESC LIMIT 1";
constexpr const char* kSelectDetails =
    "SELECT LEVEL_LOCK, LEVEL_LAST_CALL_OPTION, CALCULATE_FLAG, SCENARIO_USER_ID, "
    "SCENARIO_DATETIME, LEVEL_START_FINISH_DATE FROM PROJECT_DETAILS WHERE PROJECT_ID = ?";
constexpr const char* kCountLockedRows =
    "SELECT COUNT(*) FROM KOR_WBS WHERE PROJECT_ID = ? AND REC_STATUS = 'L'";
constexpr const char* kSelectWeek =
    "SELECT SUNDAY_BIT, MONDAY_BIT, TUESDAY_BIT, WEDNESDAY_BIT, THURSDAY_BIT, FRIDAY_BIT, "
    "SATURDAY_BIT FROM KOR_CALENDARS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectCalendarDays =
    "SELECT DAY_YEAR, BIT_SCHED FROM CALENDAR_DAY_OF_YEAR WHERE ELEMENT_ID = ? AND DAY_YEAR "
    "BETWEEN ? AND ?";

// The axis never spans more than this many days: a stray date decades away
// would otherwise make the page unreadable (bars beyond it are cut at its
// edge).
constexpr int kMaxAxisDays = 4000;
constexpr int kStandardDayMinutes = 480;

template <std::size_t N>
std::string textOf(const db::VarChar<N>& v, int16_t ind) {
  return ind < 0 ? std::string() : std::string(v.view());
}

std::string dayText(int day) {
  char buf[DATE_TEXT_SIZE] = {};
  transformJulianToDateString(day, buf);
  return buf;
}

int dayOf(const std::string& dayText) {
  if (dayText.size() < 10) return -1;
  const std::string d = dayText.substr(0, 10);
  return dateStringToJulian(d.c_str());
}

// Failure of a statement, as one line.
int failed(db::Store& store, const char* what, std::string& error) {
  error = std::string("cannot read ") + what + ": " + store.status().message + " (status " +
          std::to_string(store.status().code) + ")";
  return 1;
}

class Reader {
 public:
  Reader(db::Store& store, ReportData& data, std::string& error)
      : store_(store), d_(data), error_(error) {}

  int run(const std::string& elementId);

 private:
  int classify(const std::string& elementId, std::string& rank);
  int projectsUnder(const char* sql, const std::string& rankLike);
  int items();
  void buildTree(std::vector<Item>& raw);
  int dependencies();
  int resources();
  int overAllocations();
  int runRecord();
  void axis();
  int calendar(const std::string& id, Calendar& out);
  int capacities();

  db::Store& store_;
  ReportData& d_;
  std::string& error_;
  std::set<std::string> inScope_;
  std::map<std::string, std::string> resourceProject_;  // first project assigning it
  std::map<std::string, Calendar> calendars_;
};

int Reader::classify(const std::string& elementId, std::string& rank) {
  db::RankText r;
  int32_t type = 0;
  db::NameText name;
  int16_t ind[3] = {0, 0, 0};
  int32_t rc = store_.selectInto(kSelectWbsElement, {elementId},
                                 {{r, &ind[0]}, {type, &ind[1]}, {name, &ind[2]}});
  if (rc < 0) return failed(store_, "the element", error_);
  if (rc == 0) {
    if (ind[1] < 0 || !isProjectType(type)) {
      error_ = "'" + elementId + "' is a WBS item, not a project or a portfolio folder";
      return 1;
    }
    rank = textOf(r, ind[0]);
    d_.elementName = textOf(name, ind[2]);
    d_.folder = false;
    return 0;
  }
  rc = store_.selectInto(kSelectPortfolioElement, {elementId},
                         {{r, &ind[0]}, {type, &ind[1]}, {name, &ind[2]}});
  if (rc < 0) return failed(store_, "the element", error_);
  if (rc != 0) {
    error_ = "no project or portfolio folder with the id '" + elementId + "'";
    return 1;
  }
  rank = textOf(r, ind[0]);
  d_.elementName = textOf(name, ind[2]);
  d_.folder = true;
  return 0;
}

int Reader::projectsUnder(const char* sql, const std::string& rankLike) {
  db::Cursor c(store_);
  if (c.open(sql, {rankLike}) < 0) return failed(store_, "the projects", error_);
  db::IdText id;
  db::RankText rank;
  int16_t ind[2] = {0, 0};
  int32_t rc;
  std::vector<std::pair<std::string, std::string>> found;
  while ((rc = c.fetch({{id, &ind[0]}, {rank, &ind[1]}})) == 0) {
    if (ind[0] < 0) continue;
    found.emplace_back(textOf(rank, ind[1]), std::string(id.view()));
  }
  if (rc < 0) return failed(store_, "the projects", error_);
  for (auto& [r, pid] : found) {
    if (inScope_.insert(pid).second) d_.projects.push_back(pid);
  }
  return 0;
}

int Reader::items() {
  std::vector<Item> raw;
  std::set<std::string> seen;
  for (const std::string& project : d_.projects) {
    db::Cursor c(store_);
    if (c.open(kSelectItems, {project}) < 0) return failed(store_, "the WBS items", error_);
    db::IdText id, pid, parent;
    db::NameText name, code;
    db::RankText rank;
    int32_t type = 0, slack = 0, duration = 0, effort = 0, index = 0;
    db::StampText ps, pf, us, uf, ls, lf, as, af;
    auto conflict = std::make_unique<db::VarChar<4097>>();
    std::array<int16_t, 20> ind{};
    int32_t rc;
    while ((rc = c.fetch({{id, &ind[0]},     {pid, &ind[1]},       {parent, &ind[2]},
                          {name, &ind[3]},   {rank, &ind[4]},      {code, &ind[5]},
                          {type, &ind[6]},   {ps, &ind[7]},        {pf, &ind[8]},
                          {us, &ind[9]},     {uf, &ind[10]},       {ls, &ind[11]},
                          {lf, &ind[12]},    {as, &ind[13]},       {af, &ind[14]},
                          {slack, &ind[15]}, {duration, &ind[16]}, {effort, &ind[17]},
                          {index, &ind[18]}, {*conflict, &ind[19]}})) == 0) {
      if (ind[0] < 0 || !seen.insert(std::string(id.view())).second) continue;
      Item it;
      it.id = std::string(id.view());
      it.projectId = textOf(pid, ind[1]);
      it.parentId = textOf(parent, ind[2]);
      it.name = textOf(name, ind[3]);
      if (it.name.empty()) it.name = it.id;
      it.rank = textOf(rank, ind[4]);
      it.wbsCode = textOf(code, ind[5]);
      it.typeId = ind[6] < 0 ? 0 : type;
      it.kind = isProjectType(it.typeId) ? ItemKind::kProject
                : isTask(it.typeId)      ? ItemKind::kTask
                                         : ItemKind::kContainer;
      it.plannedStart = parseStamp(textOf(ps, ind[7]));
      it.plannedFinish = parseStamp(textOf(pf, ind[8]));
      if (!it.plannedStart.set) it.plannedStart = parseStamp(textOf(us, ind[9]));
      if (!it.plannedFinish.set) it.plannedFinish = parseStamp(textOf(uf, ind[10]));
      it.levelStart = parseStamp(textOf(ls, ind[11]));
      it.levelFinish = parseStamp(textOf(lf, ind[12]));
      it.actualStart = parseStamp(textOf(as, ind[13]));
      it.actualFinish = parseStamp(textOf(af, ind[14]));
      it.hasSlack = ind[15] >= 0;
      it.slack = slack;
      it.hasLevelDuration = ind[16] >= 0;
      it.levelDuration = duration;
      it.plannedEffort = ind[17] < 0 ? 0 : effort;
      it.hasLevelIndex = ind[18] >= 0;
      it.levelIndex = index;
      it.conflict = textOf(*conflict, ind[19]);
      raw.push_back(std::move(it));
    }
    if (rc < 0) return failed(store_, "the WBS items", error_);
  }
  buildTree(raw);
  return 0;
}

// Orders the items depth first (children by RANK, then id) and gives each
// its depth; an item whose parent is not in the scope is a root.
void Reader::buildTree(std::vector<Item>& raw) {
  std::map<std::string, std::size_t> at;
  for (std::size_t i = 0; i < raw.size(); ++i) at[raw[i].id] = i;
  std::vector<std::vector<std::size_t>> kids(raw.size());
  std::vector<std::size_t> roots;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    auto p = at.find(raw[i].parentId);
    if (p == at.end() || p->second == i) {
      roots.push_back(i);
    } else {
      kids[p->second].push_back(i);
    }
  }
  auto byRank = [&](std::size_t a, std::size_t b) {
    if (raw[a].rank != raw[b].rank) return raw[a].rank < raw[b].rank;
    return raw[a].id < raw[b].id;
  };
  std::sort(roots.begin(), roots.end(), byRank);
  for (auto& k : kids) std::sort(k.begin(), k.end(), byRank);
  // Iterative depth-first walk (a deep tree must not exhaust the stack);
  // a parent cycle in corrupt data leaves its members out, as no root
  // reaches them.
  std::vector<std::pair<std::size_t, int>> stack;
  for (auto r = roots.rbegin(); r != roots.rend(); ++r) stack.emplace_back(*r, 0);
  std::vector<int> newIndex(raw.size(), -1);
  std::vector<Item> ordered;
  ordered.reserve(raw.size());
  while (!stack.empty()) {
    auto [i, depth] = stack.back();
    stack.pop_back();
    if (newIndex[i] >= 0) continue;
    newIndex[i] = static_cast<int>(ordered.size());
    raw[i].depth = depth;
    ordered.push_back(raw[i]);
    for (auto k = kids[i].rbegin(); k != kids[i].rend(); ++k) stack.emplace_back(*k, depth + 1);
  }
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (newIndex[i] < 0) continue;
    Item& it = ordered[static_cast<std::size_t>(newIndex[i])];
    for (std::size_t k : kids[i]) {
      if (newIndex[k] >= 0) it.children.push_back(newIndex[k]);
    }
  }
  d_.items = std::move(ordered);
  for (std::size_t i = 0; i < d_.items.size(); ++i) d_.index[d_.items[i].id] = static_cast<int>(i);
  for (std::size_t r : roots) {
    if (newIndex[r] >= 0) d_.roots.push_back(newIndex[r]);
  }
}

int Reader::dependencies() {
  std::set<std::tuple<std::string, std::string, int>> seen;
  for (const std::string& project : d_.projects) {
    db::Cursor c(store_);
    if (c.open(kSelectDependencies, {project}) < 0)
      return failed(store_, "the dependencies", error_);
    db::IdText pred, succ;
    int32_t type = 0, leadOrLag = 0, amount = 0;
    int16_t ind[5] = {0, 0, 0, 0, 0};
    int32_t rc;
    while ((rc = c.fetch({{pred, &ind[0]},
                          {succ, &ind[1]},
                          {type, &ind[2]},
                          {leadOrLag, &ind[3]},
                          {amount, &ind[4]}})) == 0) {
      if (ind[0] < 0 || ind[1] < 0) continue;
      Dependency dep;
      dep.pred = std::string(pred.view());
      dep.succ = std::string(succ.view());
      if (!d_.index.count(dep.pred) || !d_.index.count(dep.succ)) continue;
      dep.depType = ind[2] < 0 ? 0 : type;
      // A lead is stored as LEAD_OR_LAG_TYPE 1 with a positive AMOUNT.
      const int llt = ind[3] < 0 ? 0 : leadOrLag;
      dep.lagMinutes = ind[4] < 0 ? 0 : amount * (1 - 2 * llt);
      if (seen.emplace(dep.pred, dep.succ, dep.depType).second) d_.dependencies.push_back(dep);
    }
    if (rc < 0) return failed(store_, "the dependencies", error_);
  }
  return 0;
}

int Reader::resources() {
  std::map<std::string, ResourceLoad> loads;
  auto touch = [&](const std::string& id, const std::string& project) -> ResourceLoad& {
    ResourceLoad& r = loads[id];
    r.id = id;
    resourceProject_.emplace(id, project);
    return r;
  };
  for (const std::string& project : d_.projects) {
    db::IdText res, day;
    int32_t minutes = 0;
    int16_t ind[3] = {0, 0, 0};
    int32_t rc;
    {
      db::Cursor c(store_);
      if (c.open(kSelectAssignedResources, {project}) < 0)
        return failed(store_, "the assignments", error_);
      while ((rc = c.fetch({{res, &ind[0]}})) == 0) {
        if (ind[0] >= 0) touch(std::string(res.view()), project);
      }
      if (rc < 0) return failed(store_, "the assignments", error_);
    }
    {
      int32_t all = 0, levelled = 0;
      if (store_.selectInto(kCountAssignments, {project}, {{all, &ind[0]}, {levelled, &ind[1]}}) <
          0)
        return failed(store_, "the assignments", error_);
      d_.run.assignments += all;
      d_.run.levelledAssignments += levelled;
    }
    for (int pass = 0; pass < 2; ++pass) {
      db::Cursor c(store_);
      const char* sql = pass == 0 ? kSelectLevelledDays : kSelectActualDays;
      if (c.open(sql, {project}) < 0) return failed(store_, "the day work", error_);
      while ((rc = c.fetch({{res, &ind[0]}, {day, &ind[1]}, {minutes, &ind[2]}})) == 0) {
        const int d = dayOf(textOf(day, ind[1]));
        if (ind[0] < 0 || d < 0) continue;
        ResourceLoad& r = touch(std::string(res.view()), project);
        (pass == 0 ? r.levelled : r.actual)[d] += ind[2] < 0 ? 0 : minutes;
      }
      if (rc < 0) return failed(store_, "the day work", error_);
    }
  }
  for (auto& [id, r] : loads) {
    db::NameText name;
    int32_t units = 0;
    db::IdText cal;
    int16_t ind[5] = {0, 0, 0, 0, 0};
    const int32_t rc = store_.selectInto(kSelectResource, {id},
                                         {{name, &ind[0]}, {units, &ind[1]}, {cal, &ind[2]}});
    if (rc < 0) return failed(store_, "the resources", error_);
    r.name = rc == 0 ? textOf(name, ind[0]) : std::string();
    if (r.name.empty()) r.name = id;
    r.maxUnits = (rc == 0 && ind[1] >= 0) ? units : 10000;
    r.calendarId =
        (rc == 0 && ind[2] >= 0 && cal.len > 0) ? std::string(cal.view()) : resourceProject_[id];
    db::Cursor c(store_);
    if (c.open(kSelectResourceDays, {id}) < 0) return failed(store_, "the day work", error_);
    db::IdText project;
    db::IdText day;
    int32_t sched = 0, actual = 0, flag = 0;
    int32_t frc;
    while ((frc = c.fetch({{project, &ind[0]},
                           {day, &ind[1]},
                           {sched, &ind[2]},
                           {actual, &ind[3]},
                           {flag, &ind[4]}})) == 0) {
      if (ind[0] >= 0 && inScope_.count(std::string(project.view()))) continue;
      const int d = dayOf(textOf(day, ind[1]));
      if (d < 0) continue;
      r.outside[d] += (flag == 1 && actual > sched) ? actual : sched;
    }
    if (frc < 0) return failed(store_, "the day work", error_);
    d_.resources.push_back(std::move(r));
  }
  return 0;
}

int Reader::overAllocations() {
  for (const std::string& project : d_.projects) {
    db::Cursor c(store_);
    if (c.open(kSelectOverAllocations, {project}) < 0)
      return failed(store_, "the over-allocations", error_);
    db::IdText res, assignment, task;
    db::IdText day;
    int32_t load = 0, capacity = 0;
    int16_t ind[6] = {0, 0, 0, 0, 0, 0};
    int32_t rc;
    while ((rc = c.fetch({{res, &ind[0]},
                          {day, &ind[1]},
                          {load, &ind[2]},
                          {capacity, &ind[3]},
                          {assignment, &ind[4]},
                          {task, &ind[5]}})) == 0) {
      OverAllocation o;
      o.resource = textOf(res, ind[0]);
      o.day = textOf(day, ind[1]);
      o.load = ind[2] < 0 ? 0 : load;
      o.capacity = ind[3] < 0 ? 0 : capacity;
      o.assignment = textOf(assignment, ind[4]);
      o.task = textOf(task, ind[5]);
      o.project = project;
      d_.overAllocations.push_back(std::move(o));
    }
    if (rc < 0) return failed(store_, "the over-allocations", error_);
  }
  return 0;
}

int Reader::runRecord() {
  RunRecord& run = d_.run;
  auto subject = std::make_unique<db::SubjectText>();
  auto description = std::make_unique<db::MessageText>();
  db::StampText started, last;
  db::IdText requester;
  std::vector<std::string> refs{d_.elementId};
  refs.insert(refs.end(), d_.projects.begin(), d_.projects.end());
  for (const std::string& ref : refs) {
    int16_t ind[5] = {0, 0, 0, 0, 0};
    const int32_t rc = store_.selectInto(kSelectNotification, {ref},
                                         {{*subject, &ind[0]},
                                          {*description, &ind[1]},
                                          {started, &ind[2]},
                                          {last, &ind[3]},
                                          {requester, &ind[4]}});
    if (rc < 0) return failed(store_, "the run's notification", error_);
    if (rc != 0) continue;
    const std::string lastAt = textOf(last, ind[3]);
    if (run.hasNotification && lastAt <= run.lastAt) continue;
    run.hasNotification = true;
    run.subject = textOf(*subject, ind[0]);
    run.description = textOf(*description, ind[1]);
    run.startedAt = textOf(started, ind[2]);
    run.lastAt = lastAt;
    run.requester = textOf(requester, ind[4]);
  }
  for (std::size_t p = 0; p < d_.projects.size(); ++p) {
    int32_t lock = 0, option = 0, flag = 0;
    db::IdText user;
    db::StampText at, moved;
    int16_t ind[6] = {0, 0, 0, 0, 0, 0};
    int32_t rc = store_.selectInto(kSelectDetails, {d_.projects[p]},
                                   {{lock, &ind[0]},
                                    {option, &ind[1]},
                                    {flag, &ind[2]},
                                    {user, &ind[3]},
                                    {at, &ind[4]},
                                    {moved, &ind[5]}});
    if (rc < 0) return failed(store_, "the project details", error_);
    if (rc == 0) {
      if (ind[0] >= 0 && lock > 0) ++run.lockedProjects;
      if (!run.hasDetails) {
        run.hasDetails = true;
        run.lastCallOption = ind[1] < 0 ? -1 : option;
        run.calculateFlag = ind[2] < 0 ? 0 : flag;
        run.runUser = textOf(user, ind[3]);
        run.runAt = textOf(at, ind[4]);
        run.levelStartFinish = textOf(moved, ind[5]);
      }
    }
    int32_t locked = 0;
    int16_t lockedInd = 0;
    rc = store_.selectInto(kCountLockedRows, {d_.projects[p]}, {{locked, &lockedInd}});
    if (rc < 0) return failed(store_, "the locks", error_);
    run.lockedRows += locked;
  }
  return 0;
}

void Reader::axis() {
  int first = 0, last = 0;
  bool any = false;
  auto take = [&](const Stamp& s) {
    if (!s.set) return;
    if (!any) {
      first = last = s.day;
      any = true;
    }
    first = std::min(first, s.day);
    last = std::max(last, s.day);
  };
  for (const Item& it : d_.items) {
    take(it.plannedStart);
    take(it.plannedFinish);
    take(it.levelStart);
    take(it.levelFinish);
  }
  for (const ResourceLoad& r : d_.resources) {
    for (const auto& [day, m] : r.levelled) take(Stamp{true, day, 0, {}});
  }
  if (!any) {
    first = last = dateStringToJulian("2000-01-03");
  }
  // Back to the Monday, so that the weeks of the grid start at their first
  // day; a day of margin after.
  while (julianToWeekDay(first) != 2) --first;
  last += 1;
  if (last - first + 1 > kMaxAxisDays) last = first + kMaxAxisDays - 1;
  d_.axisFirst = first;
  d_.axisLast = last;
}

// The working minutes of calendar `id` over the axis (see report_data.h).
int Reader::calendar(const std::string& id, Calendar& out) {
  out.first = d_.axisFirst;
  out.minutes.assign(static_cast<std::size_t>(d_.axisLast - d_.axisFirst + 1), -1);
  std::array<int, 7> week{0,
                          kStandardDayMinutes,
                          kStandardDayMinutes,
                          kStandardDayMinutes,
                          kStandardDayMinutes,
                          kStandardDayMinutes,
                          0};
  {
    std::array<db::DayBitsText, 7> bits;
    std::array<int16_t, 7> ind{};
    const int32_t rc = store_.selectInto(kSelectWeek, {id},
                                         {{bits[0], &ind[0]},
                                          {bits[1], &ind[1]},
                                          {bits[2], &ind[2]},
                                          {bits[3], &ind[3]},
                                          {bits[4], &ind[4]},
                                          {bits[5], &ind[5]},
                                          {bits[6], &ind[6]}});
    if (rc < 0) return failed(store_, "the calendars", error_);
    if (rc == 0) {
      for (int w = 0; w < 7; ++w) {
        unsigned char day[DAY_BITS_BYTES] = {};
        week[static_cast<std::size_t>(w)] =
            (ind[static_cast<std::size_t>(w)] >= 0 &&
             decodeDayBitsHex(bits[static_cast<std::size_t>(w)].c_str(), day) == 1)
                ? getAveMinutesFromDayBits(day)
                : 0;
      }
    }
  }
  {
    db::Cursor c(store_);
    if (c.open(kSelectCalendarDays, {id, dayText(d_.axisFirst), dayText(d_.axisLast)}) < 0)
      return failed(store_, "the calendars", error_);
    db::IdText day;
    db::DayBitsText bits;
    int16_t ind[2] = {0, 0};
    int32_t rc;
    while ((rc = c.fetch({{day, &ind[0]}, {bits, &ind[1]}})) == 0) {
      unsigned char b[DAY_BITS_BYTES] = {};
      const int n = dayOf(textOf(day, ind[0]));
      if (n < out.first || n >= out.first + static_cast<int>(out.minutes.size())) continue;
      out.minutes[static_cast<std::size_t>(n - out.first)] =
          (ind[1] >= 0 && decodeDayBitsHex(bits.c_str(), b) == 1) ? getAveMinutesFromDayBits(b) : 0;
    }
    if (rc < 0) return failed(store_, "the calendars", error_);
  }
  for (std::size_t i = 0; i < out.minutes.size(); ++i) {
    if (out.minutes[i] >= 0) continue;
    const int w = julianToWeekDay(out.first + static_cast<int>(i));  // 1 = Sunday
    out.minutes[i] = week[static_cast<std::size_t>(w - 1)];
  }
  return 0;
}

int Reader::capacities() {
  for (ResourceLoad& r : d_.resources) {
    auto c = calendars_.find(r.calendarId);
    if (c == calendars_.end()) {
      Calendar cal;
      if (calendar(r.calendarId, cal) != 0) return 1;
      c = calendars_.emplace(r.calendarId, std::move(cal)).first;
    }
    for (int day = d_.axisFirst; day <= d_.axisLast; ++day) {
      const int64_t cap = static_cast<int64_t>(r.maxUnits) * std::max(0, c->second.at(day)) / 10000;
      if (cap > 0) r.capacity[day] = static_cast<int>(cap);
    }
  }
  return 0;
}

int Reader::run(const std::string& elementId) {
  d_.elementId = elementId;
  std::string rank;
  if (classify(elementId, rank) != 0) return 1;
  if (!d_.folder) {
    if (projectsUnder(kSelectProjectsUnderRank, rank + "%") != 0) return 1;
  } else {
    if (projectsUnder(kSelectFolderProjects, rank + "%") != 0) return 1;
    // Sub-projects of the folder's projects, under their WBS ranks.
    std::vector<std::string> listed = d_.projects;
    for (const std::string& p : listed) {
      db::RankText r;
      int32_t type = 0;
      db::NameText name;
      int16_t ind[3] = {0, 0, 0};
      const int32_t rc = store_.selectInto(kSelectWbsElement, {p},
                                           {{r, &ind[0]}, {type, &ind[1]}, {name, &ind[2]}});
      if (rc < 0) return failed(store_, "the projects", error_);
      if (rc == 0 && ind[0] >= 0 && r.len > 0 &&
          projectsUnder(kSelectProjectsUnderRank, std::string(r.view()) + "%") != 0)
        return 1;
    }
  }
  if (d_.projects.empty()) {
    error_ = "'" + elementId + "' holds no project";
    return 1;
  }
  if (items() != 0 || dependencies() != 0 || resources() != 0 || overAllocations() != 0 ||
      runRecord() != 0)
    return 1;
  axis();
  d_.calendarId = d_.projects.front();
  if (calendar(d_.calendarId, d_.calendar) != 0) return 1;
  calendars_.emplace(d_.calendarId, d_.calendar);
  return capacities();
}

}  // namespace

Stamp parseStamp(const std::string& t) {
  Stamp s;
  if (t.size() < 10) return s;
  int day = 0, minute = 0;
  if (t.size() >= 16 && parseTimeStamp(t.c_str(), &day, &minute) == 1) {
    s.set = true;
    s.day = day;
    s.minute = minute;
  } else {
    const int d = dayOf(t);
    if (d < 0 || (t.size() > 10 && t[10] != ' ')) return s;
    s.set = true;
    s.day = d;
  }
  s.text = t;
  return s;
}

bool Item::milestone() const {
  if (kind != ItemKind::kTask) return false;
  if (levelStart.set && hasLevelDuration) return levelDuration == 0;
  return plannedEffort == 0;
}

bool Item::critical() const { return levelStart.set && hasSlack && slack == 0 && !finished(); }

int ResourceLoad::loadOn(int day) const {
  int total = 0;
  for (const auto* m : {&levelled, &actual, &outside}) {
    auto f = m->find(day);
    if (f != m->end()) total += f->second;
  }
  return total;
}

std::string Conflict::describe() const {
  if (code == "0080") return "finish-to-start link from " + value + " not kept";
  if (code == "0010") return "start-to-start link from " + value + " not kept";
  if (code == "0040") return "finish-to-finish link from " + value + " not kept";
  if (code == "0020") return "start-to-finish link from " + value + " not kept";
  if (code == "0100") return "finishes before its constraint date " + value;
  if (code == "0200") return "finishes after its constraint date " + value;
  if (code == "0400") return "does not finish on its constraint date " + value;
  if (code == "0800") return "does not start on its constraint date " + value;
  if (code == "1000") return "starts before its constraint date " + value;
  if (code == "2000") return "starts after its constraint date " + value;
  return "conflict " + code + " " + value;
}

// "0080:T1;0100:2024-01-08 ...;" -> codes. A code without a colon ("0000"
// of an unknown dependency type) carries its value right after the digits.
std::vector<Conflict> parseConflicts(const std::string& item, const std::string& t) {
  std::vector<Conflict> out;
  std::size_t at = 0;
  while (at < t.size()) {
    std::size_t end = t.find(';', at);
    if (end == std::string::npos) end = t.size();
    const std::string part = t.substr(at, end - at);
    at = end + 1;
    if (part.size() < 4) continue;
    Conflict c;
    c.item = item;
    c.code = part.substr(0, 4);
    c.value = part.size() > 4 && part[4] == ':' ? part.substr(5) : part.substr(4);
    out.push_back(std::move(c));
  }
  return out;
}

int readReportData(db::Store& store, const std::string& elementId, ReportData& data,
                   std::string& error) {
  Reader reader(store, data, error);
  return reader.run(elementId);
}

}  // namespace report
