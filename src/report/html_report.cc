// The HTML page of a run's results (see html_report.h): layout and drawing.
//
// Geometry of the Gantt chart (the tests recompute it from the attributes
// the page carries):
// - The chart's svg carries data-axis-first (the first day shown,
//   "YYYY-MM-DD", always a Monday), data-axis-days (days shown),
//   data-x0 (the x of that day's midnight, right of the label column) and
//   data-px-per-day. A time stamp of day d at minute m of the day lies at
//   x0 + (d - first + m / 1440) x px-per-day, with x rounded to 0.01.
// - px-per-day fits the axis into about 1100 pixels, but never below 2 (a
//   long span scrolls sideways) nor above 36.
// - Row r (0 = the first item shown) spans y = 44 + 22 r to 44 + 22 (r+1);
//   the planned bar sits in its top part, the levelled bar below it.
// - Histograms use the same x0 and scale, so a resource's days line up with
//   the bars above them.
//
// Classes and data attributes (stable, for tests and for styling):
//   rect.bar-planned, rect.bar-levelled (tasks), path.bar-summary
//   (containers and projects), path.milestone; each with data-item,
//   data-start, data-finish (the stamps as stored) and data-row; extra
//   classes critical, conflict, finished, collapsed (data-hidden = the items
//   folded into it), clipped (cut at the axis edge).
//   path.dep with data-pred, data-succ, data-type (0 FS, 1 SS, 2 FF, 3 SF).
//   rect.nonworking with data-day, data-days.
//   svg.histogram with data-resource; rect.load-outside, rect.load-actual,
//   rect.load-levelled, rect.over (the part above capacity), each with
//   data-resource, data-day, data-load, data-capacity; path.capacity.
//   svg.legend with g.legend-entry data-legend.
//
// Choices:
// - Dependencies are drawn between the rows that show their ends: an end
//   folded into a container is drawn from or to that container, links
//   inside one row are not drawn, and a link is drawn once.
// - The conflict and over-allocation tables list 1,000 rows at most and
//   say how many more there are.
#include "report/html_report.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "report/report_data.h"

namespace report {
namespace {

constexpr double kX0 = 320.0;
constexpr double kTargetWidth = 1100.0;
constexpr double kMinPxPerDay = 2.0;
constexpr double kMaxPxPerDay = 36.0;
constexpr int kHeaderHeight = 44;
constexpr int kRowHeight = 22;
constexpr int kHistogramHeight = 64;
constexpr int kHistogramTop = 8;
constexpr std::size_t kMaxTableRows = 1000;

void appendf(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string& out, const char* format, ...) {
  char buf[1024];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(buf, sizeof buf, format, args);
  va_end(args);
  if (n < 0) return;
  if (static_cast<std::size_t>(n) < sizeof buf) {
    out.append(buf, static_cast<std::size_t>(n));
    return;
  }
  std::string big(static_cast<std::size_t>(n) + 1, '\0');
  va_start(args, format);
  std::vsnprintf(big.data(), big.size(), format, args);
  va_end(args);
  big.resize(static_cast<std::size_t>(n));
  out += big;
}

std::string esc(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string dayText(int day) {
  char buf[DATE_TEXT_SIZE] = {};
  transformJulianToDateString(day, buf);
  return buf;
}

// Seconds since day 0 of a stamp text "YYYY-MM-DD HH:MM:SS..." (-1: none).
double secondsOf(const std::string& t) {
  const Stamp s = parseStamp(t);
  if (!s.set) return -1;
  double sec = 0;
  if (t.size() >= 19) sec = std::atof(t.c_str() + 17);
  return s.day * 86400.0 + s.minute * 60.0 + sec;
}

const char* runKindName(int option) {
  switch (option) {
    case 0:
    case 1:
      return "levelling";
    case 2:
      return "copy of levelled results into the plan";
    case 3:
      return "calculation (no levelling)";
    case 4:
      return "what-if levelling";
    case 6:
      return "copy of a what-if scenario's results";
    default:
      return "unknown";
  }
}

// Which rows are shown: every item of depth <= depth.
struct Layout {
  int depth = 0;
  int maxDepth = 0;
  bool automatic = true;
  std::vector<int> rows;    // item indexes shown, in order
  std::vector<int> rowOf;   // item index -> its row (folded items: their container's)
  std::vector<int> hidden;  // item index -> items folded into it
};

int countUpTo(const ReportData& d, int depth) {
  int n = 0;
  for (const Item& it : d.items) n += it.depth <= depth ? 1 : 0;
  return n;
}

Layout layOut(const ReportData& d, const ReportOptions& options) {
  Layout l;
  for (const Item& it : d.items) l.maxDepth = std::max(l.maxDepth, it.depth);
  if (options.collapseDepth >= 0) {
    l.automatic = false;
    l.depth = std::min(options.collapseDepth, l.maxDepth);
  } else {
    l.depth = 0;
    for (int depth = l.maxDepth; depth >= 0; --depth) {
      if (countUpTo(d, depth) <= kAutomaticRowLimit) {
        l.depth = depth;
        break;
      }
    }
  }
  l.rowOf.assign(d.items.size(), -1);
  l.hidden.assign(d.items.size(), 0);
  // Items are in depth-first order, so the last shown item of a depth
  // <= l.depth before a folded one is its representative ancestor chain's
  // deepest shown member; a stack of the open ancestors finds it.
  std::vector<int> open;  // item indexes of the shown ancestors
  for (std::size_t i = 0; i < d.items.size(); ++i) {
    const Item& it = d.items[i];
    while (!open.empty() && d.items[static_cast<std::size_t>(open.back())].depth >= it.depth) {
      open.pop_back();
    }
    if (it.depth <= l.depth) {
      l.rowOf[i] = static_cast<int>(l.rows.size());
      l.rows.push_back(static_cast<int>(i));
      open.push_back(static_cast<int>(i));
    } else if (!open.empty()) {
      const int rep = open.back();
      l.rowOf[i] = l.rowOf[static_cast<std::size_t>(rep)];
      ++l.hidden[static_cast<std::size_t>(rep)];
    }
  }
  return l;
}

class Page {
 public:
  Page(const ReportData& d, const Layout& l) : d_(d), l_(l) {
    days_ = d.axisLast - d.axisFirst + 1;
    ppd_ = std::clamp(kTargetWidth / days_, kMinPxPerDay, kMaxPxPerDay);
    width_ = days_ * ppd_;
    for (const Item& it : d.items) {
      for (const Conflict& c : parseConflicts(it.id, it.conflict)) conflicts_.push_back(c);
    }
  }
  std::string render();

 private:
  double xOf(int day, int minute) const {
    const double x = kX0 + (day - d_.axisFirst + minute / 1440.0) * ppd_;
    return std::round(x * 100.0) / 100.0;
  }
  // Clamped into the axis; `clipped` tells.
  double xIn(const Stamp& s, bool& clipped) const {
    double x = xOf(s.day, s.minute);
    const double lo = kX0, hi = kX0 + width_;
    if (x < lo || x > hi) clipped = true;
    return std::clamp(x, lo, std::round(hi * 100.0) / 100.0);
  }
  double rowTop(int row) const { return kHeaderHeight + kRowHeight * row; }
  double chartHeight() const {
    return kHeaderHeight + kRowHeight * static_cast<double>(l_.rows.size()) + 8;
  }

  void style();
  void summary();
  void legend();
  void gantt();
  void ganttHeader();
  void ganttRow(int row, const Item& it);
  void dependencies();
  void histograms();
  void histogram(const ResourceLoad& r);
  void conflictTable();
  void overAllocationTable();
  void messages();

  const ReportData& d_;
  const Layout& l_;
  int days_ = 0;
  double ppd_ = 1;
  double width_ = 0;
  std::vector<Conflict> conflicts_;
  std::string out_;
};

void Page::style() {
  out_ +=
      "<style>\n"
      ":root{--ink:#1f2933;--muted:#6b7785;--line:#d9dee4;--planned:#c3ccd8;--task:#3b7dd8;"
      "--critical:#d64541;--summary:#2f3b4c;--milestone:#7b3fa0;--conflict:#f0a500;"
      "--finished:#7fa88a;--off:#eef1f4;--outside:#a7b1bc;--actual:#5c9e6e;--over:#e8590c}\n"
      "body{font-family:system-ui,-apple-system,'Segoe UI',Roboto,'Helvetica "
      "Neue',Arial,sans-serif;"
      "color:var(--ink);margin:24px 32px;background:#fafbfc}\n"
      "h1{font-size:22px;margin:0 0 4px}h2{font-size:17px;margin:28px 0 8px;border-bottom:1px "
      "solid "
      "var(--line);padding-bottom:4px}\n"
      ".sub{color:var(--muted);margin:0 0 16px}.note{color:var(--muted);font-size:13px;margin:4px "
      "0 10px}\n"
      ".cards{display:flex;flex-wrap:wrap;gap:10px;margin:8px 0 12px}\n"
      ".card{background:#fff;border:1px solid var(--line);border-radius:6px;padding:8px 14px;"
      "min-width:110px}.card b{display:block;font-size:20px}.card "
      "span{color:var(--muted);font-size:12px}\n"
      ".status{display:inline-block;padding:2px 10px;border-radius:10px;font-weight:600;"
      "font-size:13px}.status.ok{background:#dff3e4;color:#1d6b34}.status.bad{background:#fde2e1;"
      "color:#a61b1b}.status.none{background:#eceff3;color:#4a5561}\n"
      "table{border-collapse:collapse;background:#fff;font-size:13px}th,td{border:1px solid "
      "var(--line);padding:3px 8px;text-align:left;vertical-align:top}th{background:#f1f4f7}\n"
      "table.facts th{width:190px;font-weight:500;color:var(--muted)}td.num{text-align:right;"
      "font-variant-numeric:tabular-nums}\n"
      ".scroll{overflow-x:auto;background:#fff;border:1px solid var(--line);border-radius:6px}\n"
      "svg text{font-size:11px;fill:var(--ink)}svg .label{font-size:12px}svg "
      ".muted{fill:var(--muted)}\n"
      ".bar-planned{fill:var(--planned)}.bar-levelled{fill:var(--task)}"
      ".bar-levelled.critical{fill:var(--critical)}.bar-levelled.finished{fill:var(--finished)}\n"
      ".bar-summary{fill:var(--summary)}.bar-summary.critical{fill:#8f2a27}"
      ".bar-summary.collapsed{fill:#56667a}\n"
      ".milestone{fill:var(--milestone)}.milestone.critical{fill:var(--critical)}\n"
      ".conflict{stroke:var(--conflict);stroke-width:2}.flag{fill:var(--conflict)}\n"
      ".dep{fill:none;stroke:#8794a3;stroke-width:1;stroke-opacity:.65}.dep.late{stroke:var(--"
      "conflict);stroke-opacity:1;"
      "stroke-width:1.5}\n"
      ".nonworking{fill:var(--off)}.grid{stroke:#e3e7ec;stroke-width:1}.month{stroke:#b8c1cc}\n"
      ".zebra{fill:#f7f9fb}.load-levelled{fill:var(--task)}.load-outside{fill:var(--outside)}"
      ".load-actual{fill:var(--actual)}.over{fill:var(--over)}\n"
      ".capacity{fill:none;stroke:#1f2933;stroke-width:1.2;stroke-dasharray:3 2}\n"
      ".resource{margin:6px 0}details pre{white-space:pre-wrap;font-size:12px;background:#fff;"
      "border:1px solid var(--line);padding:8px;max-height:360px;overflow:auto}\n"
      "</style>\n";
}

void Page::summary() {
  const RunRecord& run = d_.run;
  std::string tag;
  if (run.hasNotification && run.subject.size() > 1 && run.subject[0] == '[') {
    const std::size_t close = run.subject.find(']');
    if (close != std::string::npos) tag = run.subject.substr(1, close - 1);
  }
  const char* cls = tag.empty() ? "none" : (tag == "Finished" ? "ok" : "bad");
  out_ += "<section id=\"run\"><h2>The run</h2>\n";
  appendf(out_, "<p>Result: <span class=\"status %s\" data-result=\"%s\">%s</span></p>\n", cls,
          esc(tag).c_str(), tag.empty() ? "no run recorded" : esc(tag).c_str());

  int tasks = 0, containers = 0, projects = 0, milestones = 0, levelled = 0, critical = 0,
      withConflict = 0;
  for (const Item& it : d_.items) {
    tasks += it.kind == ItemKind::kTask && !it.milestone();
    milestones += it.milestone();
    containers += it.kind == ItemKind::kContainer;
    projects += it.kind == ItemKind::kProject;
    levelled += it.levelStart.set;
    critical += it.critical();
    withConflict += !it.conflict.empty();
  }
  std::set<std::pair<std::string, std::string>> overDays;
  for (const OverAllocation& o : d_.overAllocations) overDays.emplace(o.resource, o.day);
  out_ += "<div class=\"cards\">";
  auto card = [&](const char* key, long long value, const char* label) {
    appendf(out_, "<div class=\"card\" data-count=\"%s\"><b>%lld</b><span>%s</span></div>", key,
            value, label);
  };
  card("items", static_cast<long long>(d_.items.size()), "items");
  card("levelled", levelled, "items levelled");
  card("assignments", run.levelledAssignments, "assignments placed");
  card("critical", critical, "critical items");
  card("conflicts", withConflict, "items with conflicts");
  card("over-allocations", static_cast<long long>(overDays.size()), "over-allocated resource-days");
  card("resources", static_cast<long long>(d_.resources.size()), "resources");
  out_ += "</div>\n<table class=\"facts\">\n";
  auto fact = [&](const char* key, const std::string& value) {
    appendf(out_, "<tr><th>%s</th><td>%s</td></tr>\n", key, value.c_str());
  };
  if (run.hasNotification) {
    fact("Notification", esc(run.subject));
    fact("Requested by", esc(run.requester));
    fact("First message", esc(run.startedAt));
    fact("Last message", esc(run.lastAt));
    const double a = secondsOf(run.startedAt), b = secondsOf(run.lastAt);
    if (a >= 0 && b >= a) {
      char buf[64];
      std::snprintf(buf, sizeof buf, "%.1f s", b - a);
      fact("Elapsed", buf);
    }
  } else {
    fact("Notification", "none found for this element or its projects");
  }
  if (run.hasDetails) {
    fact("Run kind",
         esc(std::to_string(run.lastCallOption) + ": " + runKindName(run.lastCallOption)));
    fact("Projects marked", run.calculateFlag == 2   ? "levelled"
                            : run.calculateFlag == 1 ? "calculated"
                                                     : "not yet computed");
    fact("Run by", esc(run.runUser) + (run.runAt.empty() ? "" : " at " + esc(run.runAt)));
  }
  fact("Locks", run.lockedProjects == 0 && run.lockedRows == 0
                    ? std::string("released")
                    : std::to_string(run.lockedProjects) + " project(s) with LEVEL_LOCK, " +
                          std::to_string(run.lockedRows) + " WBS row(s) still locked");
  fact("Projects", std::to_string(d_.projects.size()));
  fact("Items", std::to_string(projects) + " project item(s), " + std::to_string(containers) +
                    " container(s), " + std::to_string(tasks) + " task(s), " +
                    std::to_string(milestones) + " milestone(s)");
  fact("Assignments", std::to_string(run.levelledAssignments) + " of " +
                          std::to_string(run.assignments) + " with levelled dates");
  fact("Dependencies", std::to_string(d_.dependencies.size()) + " within the scope");
  fact("Conflict codes", std::to_string(conflicts_.size()));
  fact("Over-allocation rows", std::to_string(d_.overAllocations.size()));
  fact("Time axis", dayText(d_.axisFirst) + " to " + dayText(d_.axisLast) + " (" +
                        std::to_string(days_) + " days)");
  out_ += "</table>\n</section>\n";
}

void Page::legend() {
  struct Entry {
    const char* key;
    const char* label;
  };
  static const Entry kEntries[] = {
      {"planned", "planned dates"},
      {"levelled", "levelled task"},
      {"critical", "critical (no slack)"},
      {"finished", "finished"},
      {"summary", "container / project"},
      {"collapsed", "folded container"},
      {"milestone", "milestone"},
      {"conflict", "conflict"},
      {"dependency", "dependency"},
      {"nonworking", "non-working day"},
      {"load-levelled", "load placed by the run"},
      {"load-actual", "actual work reported"},
      {"load-outside", "work outside the run"},
      {"over", "above capacity"},
      {"capacity", "capacity"},
  };
  const int perRow = 5, cellWidth = 210, height = 26;
  const int rows = (static_cast<int>(std::size(kEntries)) + perRow - 1) / perRow;
  out_ += "<section id=\"legend\"><h2>Legend</h2>\n";
  appendf(out_, "<svg class=\"legend\" width=\"%d\" height=\"%d\" role=\"img\">\n",
          perRow * cellWidth, rows * height + 6);
  for (std::size_t i = 0; i < std::size(kEntries); ++i) {
    const Entry& e = kEntries[i];
    const int x = static_cast<int>(i % perRow) * cellWidth + 6;
    const int y = static_cast<int>(i / perRow) * height + 6;
    const std::string k = e.key;
    appendf(out_, "<g class=\"legend-entry\" data-legend=\"%s\">", e.key);
    if (k == "planned") {
      appendf(out_, "<rect class=\"bar-planned\" x=\"%d\" y=\"%d\" width=\"34\" height=\"6\"/>", x,
              y + 5);
    } else if (k == "levelled" || k == "critical" || k == "finished") {
      appendf(
          out_,
          "<rect class=\"bar-levelled%s\" x=\"%d\" y=\"%d\" width=\"34\" height=\"10\" rx=\"2\"/>",
          k == "levelled" ? "" : (" " + k).c_str(), x, y + 3);
    } else if (k == "summary" || k == "collapsed") {
      appendf(out_, "<path class=\"bar-summary%s\" d=\"M%d %d h34 v10 l-4 -4 h-26 l-4 4 z\"/>",
              k == "collapsed" ? " collapsed" : "", x, y + 2);
    } else if (k == "milestone") {
      appendf(out_, "<path class=\"milestone\" d=\"M%d %d l7 7 l-7 7 l-7 -7 z\"/>", x + 17, y + 1);
    } else if (k == "conflict") {
      appendf(out_,
              "<rect class=\"bar-levelled conflict\" x=\"%d\" y=\"%d\" width=\"34\" height=\"10\" "
              "rx=\"2\"/>",
              x, y + 3);
    } else if (k == "dependency") {
      appendf(out_,
              "<path class=\"dep\" d=\"M%d %d h14 v8 h16\" marker-end=\"url(#legend-arrow)\"/>", x,
              y + 3);
    } else if (k == "nonworking") {
      appendf(out_,
              "<rect class=\"nonworking\" x=\"%d\" y=\"%d\" width=\"34\" height=\"16\" "
              "stroke=\"#d9dee4\"/>",
              x, y);
    } else if (k == "capacity") {
      appendf(out_, "<path class=\"capacity\" d=\"M%d %d h34\"/>", x, y + 8);
    } else {
      appendf(out_, "<rect class=\"%s\" x=\"%d\" y=\"%d\" width=\"34\" height=\"12\"/>", e.key, x,
              y + 2);
    }
    appendf(out_, "<text x=\"%d\" y=\"%d\">%s</text></g>\n", x + 44, y + 12, e.label);
  }
  out_ +=
      "<defs><marker id=\"legend-arrow\" viewBox=\"0 0 6 6\" refX=\"6\" refY=\"3\" "
      "markerWidth=\"6\" "
      "markerHeight=\"6\" orient=\"auto\"><path d=\"M0 0 L6 3 L0 6 z\" "
      "fill=\"#8794a3\"/></marker></defs>\n";
  out_ += "</svg>\n</section>\n";
}

void Page::ganttHeader() {
  const double h = chartHeight();
  // Non-working days of the root project's calendar, merged into runs.
  for (int day = d_.axisFirst; day <= d_.axisLast;) {
    if (d_.calendar.at(day) != 0) {
      ++day;
      continue;
    }
    int end = day;
    while (end + 1 <= d_.axisLast && d_.calendar.at(end + 1) == 0) ++end;
    appendf(out_,
            "<rect class=\"nonworking\" data-day=\"%s\" data-days=\"%d\" x=\"%.2f\" y=\"%d\" "
            "width=\"%.2f\" height=\"%.2f\"/>\n",
            dayText(day).c_str(), end - day + 1, xOf(day, 0), kHeaderHeight - 16,
            (end - day + 1) * ppd_, h - kHeaderHeight + 16);
    day = end + 1;
  }
  // Months on the first line; days (wide scale) or Mondays on the second.
  static const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  int lastLabelX = -1000;
  for (int day = d_.axisFirst; day <= d_.axisLast; ++day) {
    int y = 0, m = 0, dd = 0;
    julianToDate(day, &y, &m, &dd);
    const double x = xOf(day, 0);
    if (dd == 1 || day == d_.axisFirst) {
      if (dd == 1) {
        appendf(out_, "<line class=\"month\" x1=\"%.2f\" y1=\"4\" x2=\"%.2f\" y2=\"%.2f\"/>\n", x,
                x, h);
      }
      if (x - lastLabelX > 60 && (dd <= 20 || day != d_.axisFirst)) {
        appendf(out_, "<text class=\"label\" x=\"%.2f\" y=\"14\">%s %d</text>\n", x + 3,
                kMonths[(m - 1) % 12], y);
        lastLabelX = static_cast<int>(x);
      }
    }
    const bool monday = julianToWeekDay(day) == 2;
    if (ppd_ >= 14) {
      appendf(out_, "<text class=\"muted\" x=\"%.2f\" y=\"38\" text-anchor=\"middle\">%d</text>\n",
              x + ppd_ / 2, dd);
    } else if (monday && ppd_ * 7 >= 24) {
      appendf(out_, "<text class=\"muted\" x=\"%.2f\" y=\"38\">%d</text>\n", x + 2, dd);
    }
    if (monday && ppd_ >= 2) {
      appendf(out_, "<line class=\"grid\" x1=\"%.2f\" y1=\"%d\" x2=\"%.2f\" y2=\"%.2f\"/>\n", x,
              kHeaderHeight - 16, x, h);
    }
  }
  appendf(out_, "<line class=\"month\" x1=\"0\" y1=\"%d\" x2=\"%.2f\" y2=\"%d\"/>\n", kHeaderHeight,
          kX0 + width_, kHeaderHeight);
}

void Page::ganttRow(int row, const Item& it) {
  const double top = rowTop(row);
  const std::size_t index = static_cast<std::size_t>(l_.rows[static_cast<std::size_t>(row)]);
  const int hidden = l_.hidden[index];
  std::string extra;
  if (it.critical()) extra += " critical";
  if (!it.conflict.empty()) extra += " conflict";
  if (it.finished()) extra += " finished";
  if (hidden > 0) extra += " collapsed";

  // Label: indented by depth, folded containers marked.
  const int indent = 8 + 12 * it.depth;
  std::string name = it.name;
  const std::size_t room = static_cast<std::size_t>(std::max(8, (300 - indent) / 7));
  if (name.size() > room) {
    // Cut on a character boundary (names are UTF-8), then an ellipsis.
    std::size_t cut = room - 1;
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
    name = name.substr(0, cut) + "\xE2\x80\xA6";
  }
  appendf(out_, "<text class=\"label\" x=\"%d\" y=\"%.0f\" data-row=\"%d\" data-item=\"%s\">%s%s",
          indent, top + 15, row, esc(it.id).c_str(), hidden > 0 ? "\xE2\x96\xB8 " : "",
          esc(name).c_str());
  if (hidden > 0) appendf(out_, "<tspan class=\"muted\"> (+%d)</tspan>", hidden);
  appendf(out_, "<title>%s (%s)</title></text>\n", esc(it.name).c_str(), esc(it.id).c_str());

  std::string tip = esc(it.name) + " (" + esc(it.id) + ")";
  if (it.plannedStart.set)
    tip += "\nplanned " + esc(it.plannedStart.text) + " .. " + esc(it.plannedFinish.text);
  if (it.levelStart.set)
    tip += "\nlevelled " + esc(it.levelStart.text) + " .. " + esc(it.levelFinish.text);
  if (it.hasSlack) tip += "\nslack " + std::to_string(it.slack) + " min";
  for (const Conflict& c : parseConflicts(it.id, it.conflict))
    tip += "\nconflict: " + esc(c.describe());
  if (hidden > 0) tip += "\n" + std::to_string(hidden) + " items folded in";

  auto attrs = [&](const Stamp& a, const Stamp& b) {
    std::string s;
    appendf(s, " data-item=\"%s\" data-row=\"%d\" data-start=\"%s\" data-finish=\"%s\"",
            esc(it.id).c_str(), row, esc(a.text).c_str(), esc(b.text).c_str());
    if (hidden > 0) appendf(s, " data-hidden=\"%d\"", hidden);
    return s;
  };

  // Planned bar: a thin bar in the top part of the row.
  if (it.plannedStart.set && it.plannedFinish.set && !it.milestone()) {
    bool clipped = false;
    const double x1 = xIn(it.plannedStart, clipped), x2 = xIn(it.plannedFinish, clipped);
    appendf(out_,
            "<rect class=\"bar-planned%s\"%s x=\"%.2f\" y=\"%.0f\" width=\"%.2f\" height=\"5\"/>\n",
            clipped ? " clipped" : "", attrs(it.plannedStart, it.plannedFinish).c_str(), x1,
            top + 3, std::max(0.0, x2 - x1));
  }
  if (!it.levelStart.set || !it.levelFinish.set) {
    appendf(out_, "<text class=\"muted\" x=\"%.2f\" y=\"%.0f\">not levelled</text>\n", kX0 + 4,
            top + 16);
    return;
  }
  bool clipped = false;
  const double x1 = xIn(it.levelStart, clipped), x2 = xIn(it.levelFinish, clipped);
  const double w = std::max(0.0, x2 - x1);
  const std::string clip = clipped ? " clipped" : "";
  const std::string a = attrs(it.levelStart, it.levelFinish);
  if (it.milestone()) {
    appendf(out_,
            "<path class=\"milestone%s%s\"%s d=\"M%.2f %.0f l6 6 l-6 6 l-6 -6 "
            "z\"><title>%s</title></path>\n",
            extra.c_str(), clip.c_str(), a.c_str(), x1, top + 8, tip.c_str());
  } else if (it.kind == ItemKind::kTask) {
    appendf(out_,
            "<rect class=\"bar-levelled%s%s\"%s x=\"%.2f\" y=\"%.0f\" width=\"%.2f\" height=\"10\" "
            "rx=\"2\"><title>%s</title></rect>\n",
            extra.c_str(), clip.c_str(), a.c_str(), x1, top + 9, w, tip.c_str());
  } else {
    // A summary bar: a bar with two downward points at its ends.
    appendf(out_,
            "<path class=\"bar-summary%s%s\"%s data-x=\"%.2f\" data-width=\"%.2f\" d=\"M%.2f %.0f "
            "h%.2f v9 l-4 -4 h%.2f l-4 4 z\"><title>%s</title></path>\n",
            extra.c_str(), clip.c_str(), a.c_str(), x1, w, x1, top + 9, w, -std::max(0.0, w - 8.0),
            tip.c_str());
  }
  if (!it.conflict.empty()) {
    appendf(out_,
            "<g class=\"flag\" data-item=\"%s\"><circle cx=\"%.2f\" cy=\"%.0f\" r=\"6\"/>"
            "<text x=\"%.2f\" y=\"%.0f\" text-anchor=\"middle\" "
            "style=\"fill:#fff;font-weight:700\">!</text>"
            "</g>\n",
            esc(it.id).c_str(), x2 + 12, top + 14, x2 + 12, top + 18);
  }
}

void Page::dependencies() {
  std::set<std::tuple<int, int, int>> drawn;
  std::set<std::pair<std::string, std::string>> late;
  for (const Conflict& c : conflicts_) {
    if (c.code == "0080" || c.code == "0010" || c.code == "0040" || c.code == "0020") {
      late.emplace(c.value, c.item);
    }
  }
  for (const Dependency& dep : d_.dependencies) {
    const int pi = d_.index.at(dep.pred), si = d_.index.at(dep.succ);
    const int pr = l_.rowOf[static_cast<std::size_t>(pi)],
              sr = l_.rowOf[static_cast<std::size_t>(si)];
    if (pr < 0 || sr < 0 || pr == sr) continue;
    if (!drawn.emplace(pr, sr, dep.depType).second) continue;
    const Item& p = d_.items[static_cast<std::size_t>(l_.rows[static_cast<std::size_t>(pr)])];
    const Item& s = d_.items[static_cast<std::size_t>(l_.rows[static_cast<std::size_t>(sr)])];
    if (!p.levelStart.set || !p.levelFinish.set || !s.levelStart.set || !s.levelFinish.set)
      continue;
    const bool fromStart = dep.depType == 1 || dep.depType == 3;
    const bool toFinish = dep.depType == 2 || dep.depType == 3;
    bool clipped = false;
    const double x1 = xIn(fromStart ? p.levelStart : p.levelFinish, clipped);
    const double x2 = xIn(toFinish ? s.levelFinish : s.levelStart, clipped);
    const double y1 = rowTop(pr) + 14, y2 = rowTop(sr) + 14;
    const double out = fromStart ? -6 : 6;
    const double in = toFinish ? 6 : -6;
    appendf(
        out_,
        "<path class=\"dep%s\" data-pred=\"%s\" data-succ=\"%s\" data-type=\"%d\" d=\"M%.2f %.0f "
        "h%.0f V%.0f H%.2f H%.2f\" marker-end=\"url(#arrow)\"/>\n",
        late.count({dep.pred, dep.succ}) ? " late" : "", esc(dep.pred).c_str(),
        esc(dep.succ).c_str(), dep.depType, x1, y1, out, y2, x2 + in, x2);
  }
}

void Page::gantt() {
  const int total = static_cast<int>(d_.items.size());
  const int shown = static_cast<int>(l_.rows.size());
  out_ += "<section id=\"gantt\"><h2>Schedule</h2>\n";
  if (shown == total) {
    appendf(out_,
            "<p class=\"note\" data-collapse-depth=\"%d\">All %d items are shown. Each row: the "
            "planned "
            "dates as a thin bar, the levelled dates below it.</p>\n",
            l_.depth, total);
  } else {
    appendf(
        out_,
        "<p class=\"note\" data-collapse-depth=\"%d\">%d of %d items are shown: rows below depth "
        "%d (0 = a root project) are folded into their container, whose bar spans them "
        "(marked &#9656; and the number folded in). %s</p>\n",
        l_.depth, shown, total, l_.depth,
        l_.automatic ? "The depth was chosen as the deepest that keeps at most 400 rows."
                     : "The depth was chosen by the caller.");
  }
  const double h = chartHeight();
  appendf(out_,
          "<div class=\"scroll\"><svg class=\"gantt\" width=\"%.0f\" height=\"%.0f\" "
          "data-axis-first=\"%s\" data-axis-days=\"%d\" data-x0=\"%.2f\" data-px-per-day=\"%.6f\" "
          "data-rows=\"%d\" data-collapse-depth=\"%d\" role=\"img\">\n",
          kX0 + width_ + 40, h, dayText(d_.axisFirst).c_str(), days_, kX0, ppd_, shown, l_.depth);
  out_ +=
      "<defs><marker id=\"arrow\" viewBox=\"0 0 6 6\" refX=\"6\" refY=\"3\" markerWidth=\"6\" "
      "markerHeight=\"6\" orient=\"auto\"><path d=\"M0 0 L6 3 L0 6 z\" "
      "fill=\"#8794a3\"/></marker></defs>\n";
  for (int r = 1; r < shown; r += 2) {
    appendf(out_, "<rect class=\"zebra\" x=\"0\" y=\"%.0f\" width=\"%.0f\" height=\"%d\"/>\n",
            rowTop(r), kX0 + width_, kRowHeight);
  }
  ganttHeader();
  appendf(out_, "<line class=\"month\" x1=\"%.2f\" y1=\"0\" x2=\"%.2f\" y2=\"%.0f\"/>\n", kX0, kX0,
          h);
  for (int r = 0; r < shown; ++r)
    ganttRow(r, d_.items[static_cast<std::size_t>(l_.rows[static_cast<std::size_t>(r)])]);
  dependencies();
  out_ += "</svg></div>\n</section>\n";
}

void Page::histogram(const ResourceLoad& r) {
  int peak = 0, overDays = 0;
  for (int day = d_.axisFirst; day <= d_.axisLast; ++day) {
    const int load = r.loadOn(day);
    auto c = r.capacity.find(day);
    const int cap = c == r.capacity.end() ? 0 : c->second;
    peak = std::max({peak, load, cap});
    overDays += load > cap ? 1 : 0;
  }
  if (peak <= 0) peak = 480;
  const double scale = static_cast<double>(kHistogramHeight) / peak;
  const double base = kHistogramTop + kHistogramHeight;
  appendf(
      out_,
      "<div class=\"resource\"><svg class=\"histogram\" data-resource=\"%s\" data-over-days=\"%d\" "
      "data-x0=\"%.2f\" data-px-per-day=\"%.6f\" data-axis-first=\"%s\" data-peak=\"%d\" "
      "width=\"%.0f\" height=\"%.0f\" role=\"img\">\n",
      esc(r.id).c_str(), overDays, kX0, ppd_, dayText(d_.axisFirst).c_str(), peak,
      kX0 + width_ + 40, base + 14);
  appendf(out_, "<rect x=\"%.2f\" y=\"%d\" width=\"%.2f\" height=\"%d\" fill=\"#fbfcfd\"/>\n", kX0,
          kHistogramTop, width_, kHistogramHeight);
  appendf(out_, "<text class=\"label\" x=\"8\" y=\"%d\">%s</text>\n", kHistogramTop + 14,
          esc(r.name).c_str());
  appendf(out_,
          "<text class=\"muted\" x=\"8\" y=\"%d\">%s &#183; %d%% units &#183; peak %d min</text>\n",
          kHistogramTop + 30, esc(r.id).c_str(), r.maxUnits / 100, peak);
  if (overDays > 0) {
    appendf(out_,
            "<text x=\"8\" y=\"%d\" style=\"fill:#e8590c;font-weight:600\">%d day(s) over "
            "capacity</text>\n",
            kHistogramTop + 46, overDays);
  }
  const double barW = std::max(1.0, ppd_ - (ppd_ >= 6 ? 2 : 0));
  const double inset = (ppd_ - barW) / 2;
  for (int day = d_.axisFirst; day <= d_.axisLast; ++day) {
    const int load = r.loadOn(day);
    if (load <= 0) continue;
    auto c = r.capacity.find(day);
    const int cap = c == r.capacity.end() ? 0 : c->second;
    const std::string dt = dayText(day);
    const double x = xOf(day, 0) + inset;
    double y = base;
    auto part = [&](const char* cls, const std::map<int, int>& m) {
      auto f = m.find(day);
      if (f == m.end() || f->second <= 0) return;
      const double hgt = f->second * scale;
      y -= hgt;
      appendf(out_,
              "<rect class=\"%s\" data-resource=\"%s\" data-day=\"%s\" data-minutes=\"%d\" "
              "data-load=\"%d\" data-capacity=\"%d\" x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" "
              "height=\"%.2f\"><title>%s %s: %d of %d min</title></rect>\n",
              cls, esc(r.id).c_str(), dt.c_str(), f->second, load, cap, x, y, barW, hgt,
              esc(r.id).c_str(), dt.c_str(), load, cap);
    };
    part("load-outside", r.outside);
    part("load-actual", r.actual);
    part("load-levelled", r.levelled);
    if (load > cap) {
      const double hgt = (load - cap) * scale;
      appendf(out_,
              "<rect class=\"over\" data-resource=\"%s\" data-day=\"%s\" data-load=\"%d\" "
              "data-capacity=\"%d\" x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\"/>\n",
              esc(r.id).c_str(), dt.c_str(), load, cap, x, base - load * scale, barW, hgt);
    }
  }
  // Capacity as a step line over the whole axis.
  std::string d;
  for (int day = d_.axisFirst; day <= d_.axisLast; ++day) {
    auto c = r.capacity.find(day);
    const double y = base - (c == r.capacity.end() ? 0 : c->second) * scale;
    appendf(d, "%s%.2f %.2f H%.2f ", day == d_.axisFirst ? "M" : "L", xOf(day, 0), y,
            xOf(day + 1, 0));
  }
  appendf(out_, "<path class=\"capacity\" data-resource=\"%s\" d=\"%s\"/>\n", esc(r.id).c_str(),
          d.c_str());
  out_ += "</svg></div>\n";
}

void Page::histograms() {
  out_ += "<section id=\"load\"><h2>Resource load</h2>\n";
  appendf(
      out_,
      "<p class=\"note\">Minutes per day on the axis above: the run's placements, the actual work "
      "already reported and the work booked outside the run, against the day's capacity "
      "(units &#215; the working minutes of the resource's calendar). %zu resource(s).</p>\n",
      d_.resources.size());
  if (d_.resources.empty()) out_ += "<p>No resource is assigned in this scope.</p>\n";
  out_ += "<div class=\"scroll\">\n";
  for (const ResourceLoad& r : d_.resources) histogram(r);
  out_ += "</div>\n</section>\n";
}

void Page::conflictTable() {
  out_ += "<section id=\"conflicts\"><h2>Conflicts</h2>\n";
  if (conflicts_.empty()) {
    out_ +=
        "<p>No conflict was recorded: every dependency and constraint is kept.</p>\n</section>\n";
    return;
  }
  out_ +=
      "<table "
      "class=\"conflicts\"><tr><th>Item</th><th>Name</th><th>Code</th><th>Conflict</th></tr>\n";
  for (std::size_t i = 0; i < conflicts_.size() && i < kMaxTableRows; ++i) {
    const Conflict& c = conflicts_[i];
    const Item& it = d_.items[static_cast<std::size_t>(d_.index.at(c.item))];
    appendf(out_, "<tr data-item=\"%s\"><td>%s</td><td>%s</td><td>%s</td><td>%s</td></tr>\n",
            esc(c.item).c_str(), esc(c.item).c_str(), esc(it.name).c_str(), esc(c.code).c_str(),
            esc(c.describe()).c_str());
  }
  out_ += "</table>\n";
  if (conflicts_.size() > kMaxTableRows) {
    appendf(out_, "<p class=\"note\">and %zu more.</p>\n", conflicts_.size() - kMaxTableRows);
  }
  out_ += "</section>\n";
}

void Page::overAllocationTable() {
  out_ += "<section id=\"overallocations\"><h2>Over-allocations</h2>\n";
  if (d_.overAllocations.empty()) {
    out_ += "<p>No resource was loaded beyond its capacity by this run.</p>\n</section>\n";
    return;
  }
  out_ +=
      "<table class=\"overallocations\"><tr><th>Resource</th><th>Day</th><th>Load (min)</th>"
      "<th>Capacity (min)</th><th>Over by</th><th>Assignment</th><th>Task</th></tr>\n";
  for (std::size_t i = 0; i < d_.overAllocations.size() && i < kMaxTableRows; ++i) {
    const OverAllocation& o = d_.overAllocations[i];
    appendf(
        out_,
        "<tr data-resource=\"%s\" data-day=\"%s\"><td>%s</td><td>%s</td><td class=\"num\">%d</td>"
        "<td class=\"num\">%d</td><td class=\"num\">%d</td><td>%s</td><td>%s</td></tr>\n",
        esc(o.resource).c_str(), esc(o.day).c_str(), esc(o.resource).c_str(), esc(o.day).c_str(),
        o.load, o.capacity, o.load - o.capacity, esc(o.assignment).c_str(), esc(o.task).c_str());
  }
  out_ += "</table>\n";
  if (d_.overAllocations.size() > kMaxTableRows) {
    appendf(out_, "<p class=\"note\">and %zu more.</p>\n",
            d_.overAllocations.size() - kMaxTableRows);
  }
  out_ += "</section>\n";
}

void Page::messages() {
  if (!d_.run.hasNotification) return;
  out_ +=
      "<section id=\"messages\"><h2>Run messages</h2>\n<details><summary>The notification's "
      "text, newest step first</summary><pre>";
  out_ += esc(d_.run.description);
  out_ += "</pre></details>\n</section>\n";
}

std::string Page::render() {
  out_.reserve(64 * 1024 + d_.items.size() * 900);
  out_ += "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
  appendf(out_, "<title>Levelling report: %s</title>\n",
          esc(d_.elementName.empty() ? d_.elementId : d_.elementName).c_str());
  style();
  out_ += "</head>\n<body>\n<header>\n";
  appendf(out_, "<h1>Levelling report: %s</h1>\n",
          esc(d_.elementName.empty() ? d_.elementId : d_.elementName).c_str());
  appendf(out_, "<p class=\"sub\" data-element=\"%s\">%s %s &#183; %zu project(s)</p>\n",
          esc(d_.elementId).c_str(), d_.folder ? "Portfolio folder" : "Project",
          esc(d_.elementId).c_str(), d_.projects.size());
  out_ += "</header>\n";
  summary();
  legend();
  gantt();
  histograms();
  conflictTable();
  overAllocationTable();
  messages();
  out_ += "</body>\n</html>\n";
  return std::move(out_);
}

}  // namespace

int writeHtmlReport(db::Store& store, const std::string& elementId, const std::string& path,
                    const ReportOptions& options, std::string& error) {
  error.clear();
  if (elementId.empty()) {
    error = "no element given";
    return 1;
  }
  ReportData data;
  if (readReportData(store, elementId, data, error) != 0) return 1;
  const Layout layout = layOut(data, options);
  const std::string html = Page(data, layout).render();

  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) {
    error = "cannot write " + path + ": " + std::strerror(errno);
    return 1;
  }
  const bool written = std::fwrite(html.data(), 1, html.size(), f) == html.size();
  const int err = errno;
  const bool closed = std::fclose(f) == 0;
  if (!written || !closed) {
    error = "cannot write " + path + ": " + std::strerror(written ? errno : err);
    std::remove(path.c_str());
    return 1;
  }
  return 0;
}

}  // namespace report
