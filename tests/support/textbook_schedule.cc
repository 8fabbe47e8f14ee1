// The textbook schedule: rows in, two topological sweeps over a graph of two
// nodes per item (its start bound and its finished dates), texts out. See
// textbook_schedule.h for the conventions.
#include "support/textbook_schedule.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <map>
#include <set>
#include <utility>

#include "calendar/dates.h"
#include "model/element_types.h"
#include "store/host_vars.h"

namespace textbook {

namespace {

constexpr int kMaxTimelineDays = 20000;  // working days: far beyond any scope

constexpr const char* kSelectCalendar =
    "select MINUTES_PER_DAY ,SUNDAY_BIT ,MONDAY_BIT ,TUESDAY_BIT ,WEDNESDAY_BIT ,THURSDAY_BIT ,"
    "FRIDAY_BIT ,SATURDAY_BIT  from KOR_CALENDARS where ELEMENT_ID=?";
constexpr const char* kSelectCalendarDays =
    "select SUBSTR(DAY_YEAR,1,10) ,BIT_SCHED  from CALENDAR_DAY_OF_YEAR where ELEMENT_ID=? "
    "order by DAY_YEAR";
constexpr const char* kSelectItems =
    "select ELEMENT_ID ,PARENT_ID ,TYPE_ID ,SCHED_DURATION ,SUBSTR(START_FINISH_DATE,1,10)  from "
    "KOR_WBS where PROJECT_ID=? and (REC_STATUS is null or REC_STATUS<>'D') order by RANK";
constexpr const char* kSelectDependencies =
    "select PRED_ID ,SUCC_ID ,DEP_TYPE ,LEAD_OR_LAG_TYPE ,AMOUNT  from DEPENDENCIES";

struct DayInfo {
  int minutes = 0;
  int first = 0;  // first working minute
  int last = 0;   // end of the last working slot
};

DayInfo decode(std::string_view hex) {
  DayInfo d;
  auto value = [](char c) {
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c - '0';
  };
  bool seen = false;
  for (size_t i = 0; i + 1 < hex.size() && i / 2 < 36; i += 2) {
    const int byte = 16 * value(hex[i]) + value(hex[i + 1]);
    for (int bit = 0; bit < 8; ++bit) {
      if ((byte & (0x80 >> bit)) == 0) continue;
      const int minute = static_cast<int>(i / 2 * 8 + static_cast<size_t>(bit)) * 5;
      if (!seen) d.first = minute;
      seen = true;
      d.last = minute + 5;
      d.minutes += 5;
    }
  }
  return d;
}

struct Calendar {
  bool found = false;
  int32_t minutesPerDay = 0;
  DayInfo week[8];  // 1 = Sunday .. 7 = Saturday
  std::map<int32_t, DayInfo> rows;

  DayInfo day(int32_t julian) const {
    if (!rows.empty() && julian >= rows.begin()->first && julian <= rows.rbegin()->first) {
      auto it = rows.find(julian);
      return it == rows.end() ? DayInfo{} : it->second;
    }
    return week[julianToWeekDay(julian)];
  }
  bool works(int32_t julian) const { return day(julian).minutes > 5; }
};

Calendar readCalendar(db::Store& store, const std::string& id, std::vector<std::string>& problems) {
  Calendar c;
  int32_t mpd = 0;
  int16_t mpdInd = 0;
  db::DayBitsText bits[7];
  int16_t ind[7] = {};
  int32_t rc = store.selectInto(
      kSelectCalendar, {id},
      {db::HostVar(mpd, &mpdInd), db::HostVar(bits[0], &ind[0]), db::HostVar(bits[1], &ind[1]),
       db::HostVar(bits[2], &ind[2]), db::HostVar(bits[3], &ind[3]), db::HostVar(bits[4], &ind[4]),
       db::HostVar(bits[5], &ind[5]), db::HostVar(bits[6], &ind[6])});
  if (rc != 0) {
    problems.push_back("project " + id + ": no calendar (status " + std::to_string(rc) + ")");
    return c;
  }
  c.found = true;
  c.minutesPerDay = mpd;
  for (int w = 0; w < 7; ++w) c.week[w + 1] = decode(bits[w].view());
  db::Cursor days(store);
  db::DayText day;
  db::DayBitsText dayBits;
  int16_t dayInd = 0, bitsInd = 0;
  rc = days.open(kSelectCalendarDays, {id});
  while (rc == 0 && (rc = days.fetch({db::HostVar(day, &dayInd), db::HostVar(dayBits, &bitsInd)})) == 0) {
    c.rows[dateStringToJulian(day.c_str())] = decode(dayBits.view());
  }
  if (rc < 0) problems.push_back("project " + id + ": calendar days unreadable");
  return c;
}

std::string clockText(int32_t julian, int minute) {
  char date[DATE_TEXT_SIZE];
  transformJulianToDateString(julian, date);
  char buf[40];
  std::snprintf(buf, sizeof buf, "%s %02d:%02d:00.000000", date, minute / 60, minute % 60);
  return buf;
}

struct Dep {
  size_t pred, succ;
  int type;  // as stored: 0 FS, 1 SS, 2 FF, 3 SF
  int lag;   // working days
};

}  // namespace

const char* kindName(Kind kind) {
  switch (kind) {
    case Kind::kProject: return "project";
    case Kind::kContainer: return "container";
    default: return "task";
  }
}

const Item* Schedule::find(std::string_view id) const {
  auto it = index.find(std::string(id));
  return it == index.end() ? nullptr : &items[it->second];
}

std::string Schedule::startText(int s) const {
  if (s < 0 || s >= static_cast<int>(days.size())) return "?";
  return clockText(days[static_cast<size_t>(s)], firstMinute[static_cast<size_t>(s)]);
}

std::string Schedule::finishText(int f) const {
  if (f < 1 || f > static_cast<int>(days.size())) return "?";
  return clockText(days[static_cast<size_t>(f - 1)], lastMinute[static_cast<size_t>(f - 1)]);
}

Schedule computeSchedule(db::Store& store, const std::vector<std::string>& projects,
                         const std::string& asOf) {
  Schedule s;
  s.projects = projects;
  if (projects.empty()) {
    s.problems.push_back("no project");
    return s;
  }
  std::vector<Calendar> calendars;
  for (const std::string& p : projects) calendars.push_back(readCalendar(store, p, s.problems));
  const Calendar& cal = calendars.front();
  s.minutesPerDay = cal.minutesPerDay;
  if (!cal.found || cal.minutesPerDay <= 5) {
    s.problems.push_back("first project's calendar unusable");
    return s;
  }
  const int mpd = cal.minutesPerDay;

  // Items, per project by rank.
  std::vector<int32_t> projectStart(projects.size(), -1);
  std::vector<size_t> projectOf;
  std::vector<int32_t> effort;
  std::vector<int> typeIds;
  for (size_t p = 0; p < projects.size(); ++p) {
    db::Cursor rows(store);
    db::IdText id, parent;
    db::DayText start;
    int32_t type = 0, schedDuration = 0;
    int16_t idInd = 0, parentInd = 0, typeInd = 0, durInd = 0, startInd = 0;
    int32_t rc = rows.open(kSelectItems, {projects[p]});
    while (rc == 0 &&
           (rc = rows.fetch({db::HostVar(id, &idInd), db::HostVar(parent, &parentInd),
                             db::HostVar(type, &typeInd), db::HostVar(schedDuration, &durInd),
                             db::HostVar(start, &startInd)})) == 0) {
      Item item;
      item.id = id.c_str();
      item.project = projects[p];
      item.parent = parentInd < 0 ? "" : parent.c_str();
      if (item.id == projects[p] && startInd >= 0) projectStart[p] = dateStringToJulian(start.c_str());
      s.index[item.id] = s.items.size();
      s.items.push_back(item);
      projectOf.push_back(p);
      effort.push_back(durInd < 0 ? 0 : schedDuration);
      typeIds.push_back(type);
    }
    if (rc < 0) s.problems.push_back("project " + projects[p] + ": items unreadable");
    if (projectStart[p] < 0) {
      s.problems.push_back("project " + projects[p] + ": no start (START_FINISH_DATE)");
    }
  }
  const size_t n = s.items.size();
  std::vector<std::vector<size_t>> children(n);
  std::vector<long> parentOf(n, -1);
  for (size_t i = 0; i < n; ++i) {
    auto it = s.index.find(s.items[i].parent);
    if (!s.items[i].parent.empty() && it != s.index.end() && it->second != i) {
      parentOf[i] = static_cast<long>(it->second);
      children[it->second].push_back(i);
    }
  }
  for (size_t i = 0; i < n; ++i) {
    Item& item = s.items[i];
    if (isProjectType(typeIds[i])) {
      item.kind = Kind::kProject;
    } else if (!children[i].empty()) {
      item.kind = Kind::kContainer;
    } else {
      item.kind = Kind::kTask;
      item.days = effort[i] / mpd;
      if (effort[i] <= 0 || effort[i] % mpd != 0) {
        s.problems.push_back(item.id + ": effort " + std::to_string(effort[i]) +
                             " is not whole working days");
        item.days = std::max(1, (effort[i] + mpd / 2) / mpd);
      }
    }
    if (item.kind != Kind::kTask && children[i].empty()) {
      s.problems.push_back(item.id + ": container without children");
    }
  }

  // Dependencies inside the scope.
  std::vector<Dep> deps;
  {
    db::Cursor rows(store);
    db::IdText pred, succ;
    int32_t type = 0, leadOrLag = 0, amount = 0;
    int16_t ind[5] = {};
    int32_t rc = rows.open(kSelectDependencies);
    while (rc == 0 &&
           (rc = rows.fetch({db::HostVar(pred, &ind[0]), db::HostVar(succ, &ind[1]),
                             db::HostVar(type, &ind[2]), db::HostVar(leadOrLag, &ind[3]),
                             db::HostVar(amount, &ind[4])})) == 0) {
      auto p = s.index.find(pred.c_str());
      auto q = s.index.find(succ.c_str());
      if (p == s.index.end() || q == s.index.end()) {
        if (p != s.index.end() || q != s.index.end()) ++s.ignoredDependencies;
        continue;
      }
      const std::string name = std::string(pred.c_str()) + " -> " + succ.c_str();
      const int32_t minutes = (ind[3] >= 0 && leadOrLag != 0) ? -amount : amount;
      if (minutes % mpd != 0) s.problems.push_back(name + ": lag not whole working days");
      Dep d{p->second, q->second, type, minutes / mpd};
      const bool predSpans = s.items[d.pred].kind != Kind::kTask;
      const bool succSpans = s.items[d.succ].kind != Kind::kTask;
      if (type < 0 || type > 3 || (succSpans && type >= 2) || (predSpans && (type == 1 || type == 3))) {
        s.problems.push_back(name + ": dependency kind " + std::to_string(type) +
                             " at a container is not covered; ignored");
        continue;
      }
      deps.push_back(d);
    }
    if (rc < 0) s.problems.push_back("dependencies unreadable");
  }

  // The timeline and each project's lower bound.
  int32_t asOfDay = INT32_MIN;
  if (!asOf.empty() && asOf.compare(0, 10, "1899-12-30") != 0) {
    asOfDay = dateStringToJulian(asOf.substr(0, 10).c_str());
  }
  int32_t originDay = INT32_MAX;
  for (int32_t st : projectStart) {
    if (st >= 0) originDay = std::min(originDay, std::max(st, asOfDay));
  }
  if (originDay == INT32_MAX) return s;
  for (int32_t day = originDay; static_cast<int>(s.days.size()) < kMaxTimelineDays &&
                                day < originDay + 7 * kMaxTimelineDays / 5 + 400;
       ++day) {
    if (!cal.works(day)) continue;
    const DayInfo info = cal.day(day);
    s.days.push_back(day);
    s.firstMinute.push_back(info.first);
    s.lastMinute.push_back(info.last);
  }
  if (s.days.empty()) {
    s.problems.push_back("no working day in the calendar");
    return s;
  }
  s.origin = s.startText(0).substr(0, 10);
  auto dayIndex = [&](int32_t day) {
    return static_cast<int>(std::lower_bound(s.days.begin(), s.days.end(), day) - s.days.begin());
  };
  std::vector<int> projectBound(projects.size(), 0);
  for (size_t p = 0; p < projects.size(); ++p) {
    projectBound[p] = projectStart[p] < 0 ? 0 : dayIndex(std::max(projectStart[p], asOfDay));
  }

  // Graph: node 2i = the item's start bound is known, 2i+1 = its dates are.
  std::vector<std::vector<size_t>> next(2 * n);
  std::vector<int> incoming(2 * n, 0);
  auto edge = [&](size_t a, size_t b) {
    next[a].push_back(b);
    ++incoming[b];
  };
  for (size_t i = 0; i < n; ++i) {
    if (children[i].empty()) edge(2 * i, 2 * i + 1);
    for (size_t c : children[i]) {
      edge(2 * i, 2 * c);
      edge(2 * c + 1, 2 * i + 1);
    }
  }
  std::vector<std::vector<size_t>> predDeps(n), succDeps(n);
  for (size_t d = 0; d < deps.size(); ++d) {
    edge(2 * deps[d].pred + 1, 2 * deps[d].succ);
    predDeps[deps[d].succ].push_back(d);
    succDeps[deps[d].pred].push_back(d);
  }
  std::vector<size_t> order;
  order.reserve(2 * n);
  for (size_t v = 0; v < 2 * n; ++v) {
    if (incoming[v] == 0) order.push_back(v);
  }
  for (size_t k = 0; k < order.size(); ++k) {
    for (size_t w : next[order[k]]) {
      if (--incoming[w] == 0) order.push_back(w);
    }
  }
  if (order.size() != 2 * n) {
    s.problems.push_back("the dependencies and the containment form a cycle");
    return s;
  }

  // Forward.
  std::vector<int> startBound(n, 0);
  for (size_t v : order) {
    const size_t i = v / 2;
    Item& it = s.items[i];
    if (v % 2 == 0) {
      int b = projectBound[projectOf[i]];
      if (parentOf[i] >= 0) b = std::max(b, startBound[static_cast<size_t>(parentOf[i])]);
      for (size_t d : predDeps[i]) {
        const Dep& dep = deps[d];
        const Item& p = s.items[dep.pred];
        const int own = it.kind == Kind::kTask ? it.days : 0;
        switch (dep.type) {
          case 0: b = std::max(b, p.ef + dep.lag); break;
          case 1: b = std::max(b, p.es + dep.lag); break;
          case 2: b = std::max(b, p.ef + dep.lag - own); break;
          default: b = std::max(b, p.es + dep.lag - own); break;
        }
      }
      startBound[i] = b;
      if (it.kind == Kind::kTask) {
        it.es = b;
        it.ef = b + it.days;
      }
    } else if (!children[i].empty()) {
      it.es = INT_MAX;
      it.ef = INT_MIN;
      for (size_t c : children[i]) {
        it.es = std::min(it.es, s.items[c].es);
        it.ef = std::max(it.ef, s.items[c].ef);
      }
    } else if (it.kind != Kind::kTask) {
      it.es = it.ef = startBound[i];
    }
  }
  int T = 0;
  for (const Item& it : s.items) T = std::max(T, it.ef);
  s.finishPoint = T;

  // Backward, over the same order reversed.
  std::vector<int> finishBound(n, T);
  for (auto r = order.rbegin(); r != order.rend(); ++r) {
    const size_t i = *r / 2;
    Item& it = s.items[i];
    if (*r % 2 == 1) {
      int b = T;
      if (parentOf[i] >= 0) b = std::min(b, finishBound[static_cast<size_t>(parentOf[i])]);
      for (size_t d : succDeps[i]) {
        const Dep& dep = deps[d];
        const Item& q = s.items[dep.succ];
        const int own = it.kind == Kind::kTask ? it.days : 0;
        switch (dep.type) {
          case 0: b = std::min(b, q.ls - dep.lag); break;
          case 1: b = std::min(b, q.ls - dep.lag + own); break;
          case 2: b = std::min(b, q.lf - dep.lag); break;
          default: b = std::min(b, q.lf - dep.lag + own); break;
        }
      }
      finishBound[i] = b;
      if (it.kind == Kind::kTask) {
        it.lf = b;
        it.ls = b - it.days;
      }
    } else if (!children[i].empty()) {
      it.ls = INT_MAX;
      it.lf = INT_MIN;
      for (size_t c : children[i]) {
        it.ls = std::min(it.ls, s.items[c].ls);
        it.lf = std::max(it.lf, s.items[c].lf);
      }
    } else if (it.kind != Kind::kTask) {
      it.ls = it.lf = finishBound[i];
    }
  }

  // Slack, each item after its children (their "dates known" nodes come
  // first in the order).
  for (size_t v : order) {
    if (v % 2 == 0) continue;
    const size_t k = v / 2;
    Item& it = s.items[k];
    if (children[k].empty()) {
      it.slack = std::max(0, it.lf - it.ef) * mpd;
    } else {
      it.slack = INT32_MAX;
      for (size_t c : children[k]) {
        if (s.items[c].ef == it.ef) it.slack = std::min(it.slack, s.items[c].slack);
      }
      if (it.slack == INT32_MAX) it.slack = 0;
    }
    if (it.slack < 6) it.slack = 0;
  }
  for (Item& it : s.items) {
    it.levelStart = s.startText(it.es);
    it.levelFinish = s.finishText(it.ef);
    const int32_t minutes = (it.kind == Kind::kTask ? it.days : it.ef - it.es) * mpd;
    it.levelDuration = minutes > 5 ? minutes : 0;
  }

  // The other projects' calendars must agree on the working days used.
  const int32_t lastDay = s.days[static_cast<size_t>(std::min<int>(
      std::max(T, 1), static_cast<int>(s.days.size())) - 1)];
  for (size_t p = 1; p < calendars.size(); ++p) {
    if (!calendars[p].found) continue;
    for (int32_t day = originDay; day <= lastDay; ++day) {
      if (calendars[p].works(day) != cal.works(day)) {
        s.problems.push_back("project " + projects[p] + ": working days differ from project " +
                             projects[0] + "'s on " + clockText(day, 0).substr(0, 10));
        break;
      }
    }
  }
  return s;
}

std::vector<Disagreement> compareWithTable(db::Store& store, const Schedule& schedule,
                                           const std::string& table) {
  std::vector<Disagreement> out;
  for (char c : table) {
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_')) {
      out.push_back({"", Kind::kTask, "read", "a table name", table});
      return out;
    }
  }
  struct Row {
    std::string start, finish, duration, slack;
  };
  std::unordered_map<std::string, Row> rows;
  const std::string sql = "select ELEMENT_ID ,LEVEL_START ,LEVEL_FINISH ,LEVEL_DURATION ,"
                          "TOTAL_SLACK  from " + table + " where PROJECT_ID=?";
  for (const std::string& project : schedule.projects) {
    db::Cursor cursor(store);
    db::IdText id;
    db::StampText start, finish;
    int32_t duration = 0, slack = 0;
    int16_t ind[5] = {};
    int32_t rc = cursor.open(sql, {project});
    while (rc == 0 &&
           (rc = cursor.fetch({db::HostVar(id, &ind[0]), db::HostVar(start, &ind[1]),
                               db::HostVar(finish, &ind[2]), db::HostVar(duration, &ind[3]),
                               db::HostVar(slack, &ind[4])})) == 0) {
      Row r;
      r.start = ind[1] < 0 ? "null" : start.c_str();
      r.finish = ind[2] < 0 ? "null" : finish.c_str();
      r.duration = ind[3] < 0 ? "null" : std::to_string(duration);
      r.slack = ind[4] < 0 ? "null" : std::to_string(slack);
      rows[id.c_str()] = r;
    }
    if (rc < 0) {
      out.push_back({project, Kind::kProject, "read", "rows of " + table,
                     "status " + std::to_string(rc) + " " + store.status().message});
      return out;
    }
  }
  for (const Item& it : schedule.items) {
    auto r = rows.find(it.id);
    if (r == rows.end()) {
      out.push_back({it.id, it.kind, "row", "a row in " + table, "none"});
      continue;
    }
    auto check = [&](const char* column, const std::string& expected, const std::string& found) {
      if (expected != found) out.push_back({it.id, it.kind, column, expected, found});
    };
    check("LEVEL_START", it.levelStart, r->second.start);
    check("LEVEL_FINISH", it.levelFinish, r->second.finish);
    check("LEVEL_DURATION", std::to_string(it.levelDuration), r->second.duration);
    check("TOTAL_SLACK", std::to_string(it.slack), r->second.slack);
  }
  return out;
}

std::string describe(const Disagreement& d) {
  return d.id + " (" + kindName(d.kind) + ") " + d.column + ": textbook " + d.expected +
         ", found " + d.found;
}

std::string describe(const std::vector<Disagreement>& list, size_t limit) {
  std::string out;
  for (size_t i = 0; i < list.size() && i < limit; ++i) out += describe(list[i]) + "\n";
  if (list.size() > limit) out += "... and " + std::to_string(list.size() - limit) + " more\n";
  return out;
}

}  // namespace textbook
