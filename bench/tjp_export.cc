// The TaskJuggler export: reads the portfolio's rows into memory, then
// writes the project. See tjp_export.h.
#include "tjp_export.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>
#include <unordered_map>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "model/element_types.h"

namespace tjp {

namespace {

struct Item {
  std::string id, parent, project, rank, start;
  int type = 0, priority = 500;
  int64_t schedDuration = 0;
  std::vector<size_t> children;
  std::vector<std::pair<std::string, int64_t>> allocations;  // resource, work minutes
  std::vector<std::pair<std::string, std::string>> depends;  // predecessor path, tj3 clause
  std::string path;
};

using Bits = std::array<unsigned char, DAY_BITS_BYTES>;

Bits decode(std::string_view hex) {
  Bits b{};
  char text[DAY_BITS_HEX_DIGITS + 1] = {};
  std::memcpy(text, hex.data(), std::min<size_t>(hex.size(), DAY_BITS_HEX_DIGITS));
  if (decodeDayBitsHex(text, b.data()) != 1) b.fill(0);
  return b;
}

bool working(const Bits& b, int slot) { return (b[static_cast<size_t>(slot >> 3)] >> (7 - (slot & 7))) & 1; }

// "8:00 - 12:00, 13:00 - 17:00", or "off".
std::string intervals(const Bits& b) {
  std::string out;
  for (int s = 0; s < 288;) {
    if (!working(b, s)) {
      ++s;
      continue;
    }
    int e = s;
    while (e < 288 && working(b, e)) ++e;
    char buf[40];
    std::snprintf(buf, sizeof buf, "%s%d:%02d - %d:%02d", out.empty() ? "" : ", ", s * 5 / 60,
                  s * 5 % 60, e * 5 / 60, e * 5 % 60);
    out += buf;
    s = e;
  }
  return out.empty() ? "off" : out;
}

std::string quoted(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

std::string dayText(int julian) {
  char buf[DATE_TEXT_SIZE];
  transformJulianToDateString(julian, buf);
  return buf;
}

int julianOf(std::string_view stamp) {
  if (stamp.size() < 10) return -1;
  char day[DATE_TEXT_SIZE] = {};
  std::memcpy(day, stamp.data(), 10);
  return dateStringToJulian(day);
}

}  // namespace

int exportTjp(db::Store& store, const ExportOptions& options, std::ostream& out,
              ExportCounts& counts, std::string& error) {
  counts = ExportCounts{};
  auto failed = [&](int32_t rc, const char* what) {
    error = std::string(what) + ": " + store.status().message;
    return rc < 0 ? rc : -1;
  };

  // The root projects of the folder.
  std::vector<std::string> roots;
  {
    db::Cursor cur(store);
    int32_t rc = cur.open("select ELEMENT_ID from KOR_PORTFOLIOS where PARENT_ID=? order by RANK",
                          {options.portfolio});
    if (rc != 0) return failed(rc, "reading the portfolio");
    db::IdText id;
    while ((rc = cur.fetch({db::HostVar(id)})) == 0) roots.emplace_back(id.view());
    if (rc != 100) return failed(rc, "reading the portfolio");
  }
  if (roots.empty()) {
    error = "the folder " + options.portfolio + " holds no project";
    return -1;
  }

  // Every item, by id.
  std::vector<Item> items;
  std::unordered_map<std::string, size_t> byId;
  int firstDay = -1, lastDay = -1;
  {
    db::Cursor cur(store);
    int32_t rc = cur.open(
        "select ELEMENT_ID, PARENT_ID, PROJECT_ID, RANK, TYPE_ID, PRIORITY, START_FINISH_DATE, "
        "SCHED_DURATION, UNRESOLVED_FINISH from KOR_WBS order by RANK");
    if (rc != 0) return failed(rc, "reading the items");
    db::IdText id, parent, project;
    db::RankText rank;
    db::StampText start, finish;
    int32_t type = 0, priority = 0;
    int64_t sched = 0;
    int16_t parentInd = 0, rankInd = 0, typeInd = 0, prioInd = 0, startInd = 0, schedInd = 0,
            finishInd = 0, projectInd = 0;
    while ((rc = cur.fetch({db::HostVar(id), db::HostVar(parent, &parentInd),
                            db::HostVar(project, &projectInd), db::HostVar(rank, &rankInd),
                            db::HostVar(type, &typeInd), db::HostVar(priority, &prioInd),
                            db::HostVar(start, &startInd), db::HostVar(sched, &schedInd),
                            db::HostVar(finish, &finishInd)})) == 0) {
      Item it;
      it.id = std::string(id.view());
      it.parent = parentInd < 0 ? "" : std::string(parent.view());
      it.project = projectInd < 0 ? "" : std::string(project.view());
      it.rank = rankInd < 0 ? "" : std::string(rank.view());
      it.type = typeInd < 0 ? 3 : type;
      it.priority = prioInd < 0 ? 500 : std::clamp<int>(priority, 1, 1000);
      it.start = startInd < 0 ? "" : std::string(start.view().substr(0, 10));
      it.schedDuration = schedInd < 0 ? 0 : sched;
      if (finishInd >= 0) lastDay = std::max(lastDay, julianOf(finish.view()));
      byId.emplace(it.id, items.size());
      items.push_back(std::move(it));
    }
    if (rc != 100) return failed(rc, "reading the items");
  }
  for (size_t i = 0; i < items.size(); ++i) {
    const auto p = byId.find(items[i].parent);
    if (p != byId.end() && p->second != i) items[p->second].children.push_back(i);
  }
  // The items of the portfolio: the roots' subtrees, with their paths.
  std::vector<size_t> order;
  std::vector<char> inside(items.size(), 0);
  std::vector<std::pair<size_t, std::string>> stack;
  for (auto r = roots.rbegin(); r != roots.rend(); ++r) {
    const auto it = byId.find(*r);
    if (it != byId.end()) stack.emplace_back(it->second, "");
  }
  while (!stack.empty()) {
    auto [i, prefix] = stack.back();
    stack.pop_back();
    Item& it = items[i];
    it.path = prefix.empty() ? it.id : prefix + "." + it.id;
    inside[i] = 1;
    order.push_back(i);
    if (isProjectType(it.type)) {
      ++counts.projects;
      const int j = julianOf(it.start);
      if (j >= 0 && (firstDay < 0 || j < firstDay)) firstDay = j;
    } else if (it.children.empty()) {
      ++counts.tasks;
    } else {
      ++counts.containers;
    }
    for (auto c = it.children.rbegin(); c != it.children.rend(); ++c) stack.emplace_back(*c, it.path);
  }
  if (firstDay < 0) {
    error = "no project start";
    return -1;
  }

  // Assignments and resources.
  std::map<std::string, int64_t> resources;  // id -> MAX_UNITS
  {
    db::Cursor cur(store);
    int32_t rc = cur.open(
        "select A.TASK_ID, A.RESOURCE_ID, coalesce(nullif(A.PLANNED_WORK,0), A.ETC, 0), "
        "R.MAX_UNITS from TASK_ASSIGNMENTS A left join RESOURCES R on R.RESOURCE_ID=A.RESOURCE_ID "
        "where A.RESOURCE_ID is not null order by A.TASK_ID, A.TSK_ASSIGNMENT_ID");
    if (rc != 0) return failed(rc, "reading the assignments");
    db::IdText task, resource;
    int64_t work = 0, units = 0;
    int16_t workInd = 0, unitsInd = 0;
    while ((rc = cur.fetch({db::HostVar(task), db::HostVar(resource), db::HostVar(work, &workInd),
                            db::HostVar(units, &unitsInd)})) == 0) {
      const auto it = byId.find(std::string(task.view()));
      if (it == byId.end() || !inside[it->second]) continue;
      const std::string res(resource.view());
      items[it->second].allocations.emplace_back(res, workInd < 0 ? 0 : work);
      resources[res] = unitsInd < 0 ? 10000 : units;
      ++counts.allocations;
    }
    if (rc != 100) return failed(rc, "reading the assignments");
  }
  counts.resources = static_cast<int64_t>(resources.size());

  // Dependencies.
  std::vector<std::pair<size_t, size_t>> startLinks;  // on the predecessor's start
  {
    db::Cursor cur(store);
    int32_t rc = cur.open(
        "select PRED_ID, SUCC_ID, DEP_TYPE, LEAD_OR_LAG_TYPE, AMOUNT from DEPENDENCIES "
        "order by SUCC_ID, PRED_ID");
    if (rc != 0) return failed(rc, "reading the dependencies");
    db::IdText pred, succ;
    int32_t type = 0, leadOrLag = 0, amount = 0;
    int16_t typeInd = 0, leadInd = 0, amountInd = 0;
    while ((rc = cur.fetch({db::HostVar(pred), db::HostVar(succ), db::HostVar(type, &typeInd),
                            db::HostVar(leadOrLag, &leadInd),
                            db::HostVar(amount, &amountInd)})) == 0) {
      const auto p = byId.find(std::string(pred.view()));
      const auto s = byId.find(std::string(succ.view()));
      if (p == byId.end() || s == byId.end() || !inside[p->second] || !inside[s->second]) {
        ++counts.outsideLinksDropped;
        continue;
      }
      const int kind = typeInd < 0 ? 0 : type;
      int64_t lag = amountInd < 0 ? 0 : amount;
      if (leadInd >= 0 && leadOrLag == 1 && lag != 0) {
        ++counts.leadsDropped;
        lag = 0;
      }
      if (kind == 2) ++counts.finishToFinishAsFinishToStart;
      if (kind == 3) ++counts.startToFinishAsStartToStart;
      std::string clause = items[p->second].path;
      std::string attrs;
      if (kind == 1 || kind == 3) attrs += "onstart";
      if (lag > 0) attrs += (attrs.empty() ? "" : " ") + std::string("gaplength ") +
                            std::to_string(lag) + "min";
      if (!attrs.empty()) clause += " { " + attrs + " }";
      items[s->second].depends.emplace_back(items[p->second].path, clause);
      if (kind == 1 || kind == 3) startLinks.emplace_back(p->second, s->second);
      ++counts.dependencies;
    }
    if (rc != 100) return failed(rc, "reading the dependencies");
  }

  // tj3 places a task before the lower-priority tasks it waits for and then
  // cannot hold a link on such a predecessor's start ("must start after
  // start ... could not be met"); so every task of a start link's
  // predecessor is raised to the highest priority of the successor's tasks,
  // until no link has a lower-priority predecessor.
  if (!startLinks.empty()) {
    std::vector<size_t> pos(items.size(), 0), size(items.size(), 1);
    for (size_t k = 0; k < order.size(); ++k) pos[order[k]] = k;
    for (size_t k = order.size(); k-- > 0;) {
      const Item& it = items[order[k]];
      for (size_t c : it.children) size[order[k]] += size[c];
    }
    std::vector<int> subMax(items.size(), 0);
    bool changed = true;
    for (int round = 0; changed && round < 1000; ++round) {
      changed = false;
      for (size_t k = order.size(); k-- > 0;) {
        const size_t i = order[k];
        subMax[i] = items[i].children.empty() ? items[i].priority : 0;
        for (size_t c : items[i].children) subMax[i] = std::max(subMax[i], subMax[c]);
      }
      for (const auto& [p, s] : startLinks) {
        const int target = subMax[s];
        for (size_t k = pos[p]; k < pos[p] + size[p]; ++k) {
          Item& it = items[order[k]];
          if (it.children.empty() && it.priority < target) {
            it.priority = target;
            ++counts.prioritiesRaised;
            changed = true;
          }
        }
      }
    }
  }

  // The calendar of the first root project.
  std::array<Bits, 7> week{};  // 0 = Sunday
  {
    db::DayBitsText bits[7];
    int16_t ind[7] = {};
    const int32_t rc = store.selectInto(
        "select SUNDAY_BIT,MONDAY_BIT,TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,"
        "SATURDAY_BIT from KOR_CALENDARS where ELEMENT_ID=?",
        {roots.front()},
        {db::HostVar(bits[0], &ind[0]), db::HostVar(bits[1], &ind[1]),
         db::HostVar(bits[2], &ind[2]), db::HostVar(bits[3], &ind[3]),
         db::HostVar(bits[4], &ind[4]), db::HostVar(bits[5], &ind[5]),
         db::HostVar(bits[6], &ind[6])});
    if (rc < 0) return failed(rc, "reading the calendar");
    for (int w = 0; w < 7; ++w) {
      week[static_cast<size_t>(w)] = rc == 0 && ind[w] >= 0 ? decode(bits[w].view()) : Bits{};
    }
  }
  const int endDay = std::max(lastDay, firstDay) + options.horizonDays;
  std::vector<std::string> holidays;
  {
    db::Cursor cur(store);
    int32_t rc = cur.open(
        "select DAY_YEAR, BIT_SCHED from CALENDAR_DAY_OF_YEAR where ELEMENT_ID=? and "
        "DAY_YEAR between ? and ? order by DAY_YEAR",
        {roots.front(), dayText(firstDay), dayText(endDay)});
    if (rc != 0) return failed(rc, "reading the calendar days");
    db::DayText day;
    db::DayBitsText bits;
    int16_t bitsInd = 0;
    while ((rc = cur.fetch({db::HostVar(day), db::HostVar(bits, &bitsInd)})) == 0) {
      const std::string d(day.view());
      const Bits& pattern = week[static_cast<size_t>(julianToWeekDay(dateStringToJulian(d.c_str())) - 1)];
      const Bits b = bitsInd < 0 ? Bits{} : decode(bits.view());
      if (b == Bits{} && pattern != Bits{}) holidays.push_back(d);
    }
    if (rc != 100) return failed(rc, "reading the calendar days");
  }
  counts.holidays = static_cast<int64_t>(holidays.size());

  // The file.
  out << "# Generated from the leveller's database: portfolio " << options.portfolio << ", "
      << counts.projects << " projects, " << counts.containers << " containers, " << counts.tasks
      << " tasks, " << counts.resources << " resources, " << counts.dependencies
      << " dependencies.\n";
  out << "# Written stricter than stored: " << counts.finishToFinishAsFinishToStart
      << " finish-to-finish as finish-to-start, " << counts.startToFinishAsStartToStart
      << " start-to-finish as start-to-start, " << counts.leadsDropped
      << " leads as no lag; left out: " << counts.outsideLinksDropped
      << " links with an end outside the portfolio.\n";
  out << "project portfolio " << quoted("Portfolio " + options.portfolio) << " "
      << dayText(firstDay) << " - " << dayText(endDay) << " {\n"
      << "  timezone \"UTC\"\n  timeformat \"%Y-%m-%d %H:%M\"\n  dailyworkinghours 8\n"
      << "  timingresolution 60min\n";
  static const char* const kDays[] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};
  for (int w = 0; w < 7; ++w) {
    out << "  workinghours " << kDays[w] << " " << intervals(week[static_cast<size_t>(w)]) << "\n";
  }
  out << "}\n\n";
  for (const std::string& d : holidays) out << "leaves holiday \"Holiday\" " << d << "\n";
  out << "\n";
  for (const auto& [id, units] : resources) {
    out << "resource " << id << " " << quoted(id);
    if (units != 10000 && units > 0) {
      char buf[32];
      std::snprintf(buf, sizeof buf, "%.2f", static_cast<double>(units) / 10000.0);
      out << " { efficiency " << buf << " }";
    }
    out << "\n";
  }
  out << "\n";
  // Tasks, depth first with explicit closing.
  // tj3 hands a container's dependencies down to its children and refuses
  // a child that names the same predecessor again: such a child link is
  // left out (the container's holds for the child too).
  struct Frame {
    size_t item;
    size_t next;
    std::set<std::string> inherited;  // predecessors of the item and its ancestors
  };
  std::vector<Frame> frames;
  // A project's start as a milestone the project depends on: a `start`
  // on the project task would be handed down to every task in it as a
  // fixed start, which tj3 then keeps against their start-to-start links.
  for (size_t i : order) {
    const Item& item = items[i];
    if (!isProjectType(item.type) || item.start.empty()) continue;
    out << "task start_" << item.id << " " << quoted("Start of " + item.id) << " {\n  start "
        << item.start << "\n  milestone\n}\n";
  }
  for (const std::string& r : roots) {
    const auto it = byId.find(r);
    if (it == byId.end()) continue;
    frames.push_back({it->second, 0, {}});
    while (!frames.empty()) {
      Frame& f = frames.back();
      const Item& item = items[f.item];
      const std::string indent(2 * (frames.size() - 1), ' ');
      if (f.next == 0) {
        out << indent << "task " << item.id << " " << quoted(item.id) << " {\n";
        if (isProjectType(item.type) && !item.start.empty()) {
          out << indent << "  depends start_" << item.id << "\n";
        }
        out << indent << "  priority " << item.priority << "\n";
        if (item.children.empty() && !isProjectType(item.type)) {
          int64_t work = 0;
          std::string alloc;
          for (const auto& [res, minutes] : item.allocations) {
            work += minutes;
            alloc += (alloc.empty() ? "" : ", ") + res;
          }
          if (!alloc.empty() && work > 0) {
            out << indent << "  effort " << work << "min\n" << indent << "  allocate " << alloc << "\n";
          } else if (item.schedDuration > 0) {
            out << indent << "  length " << item.schedDuration << "min\n";
          } else {
            out << indent << "  milestone\n";
          }
        }
        std::set<std::string> own;
        for (const auto& [pred, clause] : item.depends) {
          if (f.inherited.count(pred) || !own.insert(pred).second) {
            ++counts.inheritedLinksDropped;
            continue;
          }
          out << indent << "  depends " << clause << "\n";
        }
        f.inherited.insert(own.begin(), own.end());
      }
      if (f.next < item.children.size()) {
        const size_t child = item.children[f.next++];
        std::set<std::string> inherited = f.inherited;
        frames.push_back({child, 0, std::move(inherited)});
        continue;
      }
      out << indent << "}\n";
      frames.pop_back();
    }
  }
  out << "\ntaskreport " << options.reportPrefix << "_tasks \"" << options.reportPrefix
      << "_tasks\" {\n  formats csv\n  columns id, start, end\n  hideresource 1\n}\n";
  out << "resourcereport " << options.reportPrefix << "_alloc \"" << options.reportPrefix
      << "_alloc\" {\n  formats csv\n  columns id, daily\n  loadunit hours\n  hidetask 1\n}\n";
  return out.good() ? 0 : -1;
}

}  // namespace tjp
