// PSPLIB instance import: the parse and its checks, then the rows. See
// psplib_import.h for what an instance becomes and for the ids.
#include "import/psplib_import.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"

namespace import {

namespace {

constexpr int kMinutesPerDay = 480;
constexpr int kMaxJobs = 9999;
constexpr int kMaxResources = 99;
// Bounds that keep every derived number (units, minutes, days) within 32
// bits and the calendar within some 28,000 rows.
constexpr long kMaxNumber = 1000000;
constexpr long kMaxDuration = 1000;
constexpr long kMaxRequest = 1000;
constexpr long kMaxCapacity = 100000;
constexpr long kMaxTotalDuration = 20000;
constexpr int kCalendarDaysBefore = 130;
constexpr int kCalendarDaysAfter = 400;
constexpr size_t kProjectIdBase = 16;

constexpr const char* kInsertWbs =
    "insert into KOR_WBS (PROJECT_ID,PARENT_ID,ELEMENT_ID,ELEMENT_NAME,RANK,WBS_CODE,"
    "WBS_RANK_ORDER,LEVEL_ID,TYPE_ID,PRIORITY,CALC_PRIORITY,CONSTRAINT_TYPE,UNRESOLVED_START,"
    "UNRESOLVED_FINISH,UNRESOLVED_DURATION,PLANNED_START,PLANNED_FINISH,PLANNED_DURATION,"
    "ACTUAL_DURATION,ASSIGN_COUNT,MILESTONE_PERCENT,SCHED_DURATION,PLANNED_EFFORT,SCHED_EFFORT,"
    "DURATION,START_FINISH_DATE,MINUTE_PER_DAY,TASK_TYPE,CHILD_COUNT,PUBLISHED,REC_STATUS) "
    "values (?,?,?,?,?,?,?,?,?,500,500,0,?,?,?,?,?,?,0,?,0,?,?,0,?,?,480,0,?,'1','U')";
constexpr const char* kInsertDependency =
    "insert into DEPENDENCIES (PRED_ID,SUCC_ID,PRED_PROJECT_ID,SUCC_PROJECT_ID,DEP_TYPE,"
    "LEAD_OR_LAG_TYPE,AMOUNT) values (?,?,?,?,0,0,0)";
constexpr const char* kInsertProjectDetails =
    "insert into PROJECT_DETAILS (PROJECT_ID,LEVEL_LOCK,LEVEL_LAST_CALL_OPTION,CALCULATE_FLAG) "
    "values (?,0,0,0)";
constexpr const char* kInsertCalendar =
    "insert into KOR_CALENDARS (ELEMENT_ID,PARENT_ID,RANK,TYPE_ID,ELEMENT_NAME,MINUTES_PER_DAY,"
    "MONDAY_BIT,TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,SATURDAY_BIT,SUNDAY_BIT) "
    "values (?,NULL,?,27,?,480,?,?,?,?,?,?,?)";
constexpr const char* kInsertCalendarDay =
    "insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) values (?,?,?,?)";
constexpr const char* kInsertResource =
    "insert into RESOURCES (RESOURCE_ID,FULL_NAME,MAX_UNITS,CALENDAR_ID) values (?,?,?,?)";
constexpr const char* kInsertAssignment =
    "insert into TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID,PROJECT_ID,TASK_ID,RESOURCE_ID,RESOURCE_TYPE,"
    "BIT_FLAG,PROPOSED_WORK,PLANNED_WORK,SCHED_WORK,ETC,WORK_TODATE,C_CONTOUR,CONTOUR_TYPE,"
    "C_EFFORT,UNITS_MSP,UNRESOLVED_START,UNRESOLVED_FINISH,UNRESOLVED_DURATION,ASSIGNMENT_DELAY,"
    "CONSIDER) values (?,?,?,?,'0',0,?,0,0,?,0,0,0,0,?,?,?,?,0,1)";
constexpr const char* kInsertDayWork =
    "insert into TASK_DAY_OF_YEAR (PROJECT_ID,TASK_ID,TSK_ASSIGNMENT_ID,RESOURCE_ID,PARENT_ID,"
    "DAY_YEAR,SCHED_MIN,ACTUAL_MIN,ACTUAL_FLAG,BIT_SCHED,BIT_FLAG) values (?,?,?,?,?,?,?,0,0,?,0)";
constexpr const char* kCountTaken =
    "select (select count(*) from KOR_WBS where ELEMENT_ID=? or PROJECT_ID=?)"
    "+(select count(*) from PROJECT_DETAILS where PROJECT_ID=?)"
    "+(select count(*) from KOR_CALENDARS where ELEMENT_ID=?)"
    "+(select count(*) from RESOURCES where RESOURCE_ID=?)";

std::vector<std::string> tokens(const std::string& line) {
  std::vector<std::string> out;
  std::istringstream in(line);
  std::string t;
  while (in >> t) out.push_back(t);
  return out;
}

bool startsWith(const std::string& line, const char* text) {
  size_t i = 0;
  while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
  return line.compare(i, std::string(text).size(), text) == 0;
}

// The parse: lines and a position, and the first error met.
class Parser {
 public:
  Parser(std::string name, std::vector<std::string> lines)
      : name_(std::move(name)), lines_(std::move(lines)) {}

  int run(PsplibInstance& out, std::string& error);

 private:
  bool fail(int line, const std::string& what) {
    if (error_.empty()) error_ = name_ + ":" + std::to_string(line) + ": " + what;
    return false;
  }
  int lastLine() const { return std::max<int>(1, static_cast<int>(lines_.size())); }
  // Moves past the first line from the position on that contains `text`;
  // its 1-based number in *line.
  bool find(const char* text, int* line) {
    for (; pos_ < lines_.size(); ++pos_) {
      if (lines_[pos_].find(text) != std::string::npos) {
        *line = static_cast<int>(++pos_);
        return true;
      }
    }
    return fail(lastLine(), std::string("missing '") + text + "'");
  }
  bool number(const std::string& token, int line, const char* what, int* value,
              long max = kMaxNumber) {
    bool digits = !token.empty() && token.size() <= 7;
    for (char c : token) digits = digits && std::isdigit(static_cast<unsigned char>(c));
    const long v = digits ? std::stol(token) : -1;
    if (!digits) return fail(line, std::string("bad number '") + token + "' for " + what);
    if (v > max) {
      return fail(line, std::string(what) + " " + token + " above the limit " +
                            std::to_string(max));
    }
    *value = static_cast<int>(v);
    return true;
  }
  // The number after the ':' of a header line.
  bool headerNumber(int line, const char* what, int* value) {
    const std::string& text = lines_[static_cast<size_t>(line - 1)];
    const size_t colon = text.find(':');
    const std::vector<std::string> t =
        tokens(colon == std::string::npos ? std::string() : text.substr(colon + 1));
    if (t.empty()) return fail(line, std::string("no number for ") + what);
    return number(t[0], line, what, value);
  }
  // The next line holding a job row (job number `job` expected): past the
  // table's header lines.
  bool jobRow(int job, int jobs, std::vector<std::string>* row, int* line) {
    if (pos_ >= lines_.size()) {
      return fail(lastLine(), "job count mismatch: " + std::to_string(jobs) +
                                  " jobs declared, the file ends after job " +
                                  std::to_string(job - 1));
    }
    *line = static_cast<int>(pos_ + 1);
    *row = tokens(lines_[pos_++]);
    const bool separator = row->empty() || (*row)[0].find_first_not_of("*-=") == std::string::npos;
    if (separator) {
      return fail(*line, "job count mismatch: " + std::to_string(jobs) +
                             " jobs declared, the section ends after job " +
                             std::to_string(job - 1));
    }
    int n = 0;
    if (!number((*row)[0], *line, "the job number", &n)) return false;
    if (n != job) {
      return fail(*line, "job " + std::to_string(job) + " expected, found job " +
                             std::to_string(n));
    }
    return true;
  }
  // Skips header lines (those not starting with a digit) after a section's
  // title.
  void skipHeader() {
    while (pos_ < lines_.size()) {
      const std::vector<std::string> t = tokens(lines_[pos_]);
      if (!t.empty() && std::isdigit(static_cast<unsigned char>(t[0][0]))) return;
      if (!t.empty() && t[0].find_first_not_of("*=") == std::string::npos) return;
      ++pos_;
    }
  }

  std::string name_;
  std::vector<std::string> lines_;
  size_t pos_ = 0;
  std::string error_;
};

int Parser::run(PsplibInstance& out, std::string& error) {
  out = PsplibInstance{};
  int line = 0, jobs = 0, resources = 0;
  auto done = [&](bool ok) {
    if (ok) return 0;
    error = error_;
    return 1;
  };
  if (!find("jobs (incl. supersource/sink", &line) || !headerNumber(line, "jobs", &jobs)) {
    return done(false);
  }
  if (jobs < 2 || jobs > kMaxJobs) return done(fail(line, "jobs must be 2 to 9999"));
  const size_t afterJobs = pos_;
  for (size_t i = pos_; i < lines_.size(); ++i) {
    if (startsWith(lines_[i], "horizon")) {
      if (!headerNumber(static_cast<int>(i + 1), "horizon", &out.horizon)) return done(false);
      break;
    }
  }
  pos_ = afterJobs;
  if (!find("- renewable", &line) || !headerNumber(line, "renewable resources", &resources)) {
    return done(false);
  }
  if (resources < 1 || resources > kMaxResources) {
    return done(fail(line, "renewable resources must be 1 to 99"));
  }
  out.jobs.assign(static_cast<size_t>(jobs), PsplibJob{});

  if (!find("PRECEDENCE RELATIONS:", &line)) return done(false);
  skipHeader();
  std::vector<std::string> row;
  for (int j = 1; j <= jobs; ++j) {
    if (!jobRow(j, jobs, &row, &line)) return done(false);
    PsplibJob& job = out.jobs[static_cast<size_t>(j - 1)];
    job.line = line;
    int modes = 0, count = 0;
    if (row.size() < 3) return done(fail(line, "a precedence row needs job, modes and successors"));
    if (!number(row[1], line, "the modes", &modes) ||
        !number(row[2], line, "the successor count", &count)) {
      return done(false);
    }
    if (modes != 1) return done(fail(line, "job " + std::to_string(j) + " has " + row[1] +
                                               " modes; only single-mode files are read"));
    if (row.size() != static_cast<size_t>(3 + count)) {
      return done(fail(line, "job " + std::to_string(j) + " lists " +
                                 std::to_string(row.size() - 3) + " successors, its count says " +
                                 std::to_string(count)));
    }
    for (int s = 0; s < count; ++s) {
      int succ = 0;
      if (!number(row[static_cast<size_t>(3 + s)], line, "a successor", &succ)) return done(false);
      if (succ < 1 || succ > jobs || succ == j) {
        return done(fail(line, "successor " + std::to_string(succ) + " of job " +
                                   std::to_string(j) + " is out of range 1.." +
                                   std::to_string(jobs) + (succ == j ? " (itself)" : "")));
      }
      job.successors.push_back(succ);
    }
  }

  if (!find("REQUESTS/DURATIONS:", &line)) return done(false);
  skipHeader();
  std::vector<int> requestLine(static_cast<size_t>(jobs), 0);
  for (int j = 1; j <= jobs; ++j) {
    if (!jobRow(j, jobs, &row, &line)) return done(false);
    PsplibJob& job = out.jobs[static_cast<size_t>(j - 1)];
    requestLine[static_cast<size_t>(j - 1)] = line;
    if (row.size() != static_cast<size_t>(3 + resources)) {
      return done(fail(line, "a request row needs job, mode, duration and " +
                                 std::to_string(resources) + " requests"));
    }
    int mode = 0;
    if (!number(row[1], line, "the mode", &mode) ||
        !number(row[2], line, "the duration", &job.duration, kMaxDuration)) {
      return done(false);
    }
    for (int r = 0; r < resources; ++r) {
      int q = 0;
      if (!number(row[static_cast<size_t>(3 + r)], line, "a request", &q, kMaxRequest)) {
        return done(false);
      }
      job.requests.push_back(q);
    }
  }

  long total = 0;
  for (const PsplibJob& job : out.jobs) total += job.duration;
  if (total > kMaxTotalDuration) {
    return done(fail(line, "the durations add up to " + std::to_string(total) +
                               ", above the limit " + std::to_string(kMaxTotalDuration)));
  }

  if (!find("RESOURCEAVAILABILITIES:", &line)) return done(false);
  skipHeader();
  if (pos_ >= lines_.size()) return done(fail(lastLine(), "missing the capacities"));
  line = static_cast<int>(pos_ + 1);
  row = tokens(lines_[pos_++]);
  if (row.size() != static_cast<size_t>(resources)) {
    return done(fail(line, std::to_string(resources) + " capacities expected, found " +
                               std::to_string(row.size())));
  }
  for (const std::string& t : row) {
    int c = 0;
    if (!number(t, line, "a capacity", &c, kMaxCapacity)) return done(false);
    out.capacities.push_back(c);
  }
  for (int j = 0; j < jobs; ++j) {
    for (int r = 0; r < resources; ++r) {
      const int q = out.jobs[static_cast<size_t>(j)].requests[static_cast<size_t>(r)];
      if (q > out.capacities[static_cast<size_t>(r)]) {
        return done(fail(requestLine[static_cast<size_t>(j)],
                         "job " + std::to_string(j + 1) + " requests " + std::to_string(q) +
                             " of resource " + std::to_string(r + 1) + ", above its capacity " +
                             std::to_string(out.capacities[static_cast<size_t>(r)])));
      }
    }
  }

  // Cycles: what a topological sort leaves over. From a job left over, the
  // walk along left-over predecessors must come back to a job it met: that
  // job is on a cycle.
  std::vector<int> indegree(static_cast<size_t>(jobs), 0);
  std::vector<int> someLeftPred(static_cast<size_t>(jobs), -1);
  for (const PsplibJob& job : out.jobs) {
    for (int s : job.successors) ++indegree[static_cast<size_t>(s - 1)];
  }
  std::vector<int> ready;
  for (int j = 0; j < jobs; ++j) {
    if (indegree[static_cast<size_t>(j)] == 0) ready.push_back(j);
  }
  int sorted = 0;
  while (!ready.empty()) {
    const int j = ready.back();
    ready.pop_back();
    ++sorted;
    for (int s : out.jobs[static_cast<size_t>(j)].successors) {
      if (--indegree[static_cast<size_t>(s - 1)] == 0) ready.push_back(s - 1);
    }
  }
  if (sorted < jobs) {
    for (int j = 0; j < jobs; ++j) {
      if (indegree[static_cast<size_t>(j)] == 0) continue;
      for (int s : out.jobs[static_cast<size_t>(j)].successors) {
        if (indegree[static_cast<size_t>(s - 1)] > 0) someLeftPred[static_cast<size_t>(s - 1)] = j;
      }
    }
    int j = 0;
    while (indegree[static_cast<size_t>(j)] == 0) ++j;
    std::vector<char> seen(static_cast<size_t>(jobs), 0);
    while (!seen[static_cast<size_t>(j)]) {
      seen[static_cast<size_t>(j)] = 1;
      j = someLeftPred[static_cast<size_t>(j)];
    }
    return done(fail(out.jobs[static_cast<size_t>(j)].line,
                     "precedence cycle through job " + std::to_string(j + 1)));
  }
  return 0;
}

std::string dayText(int julian) {
  char buf[DATE_TEXT_SIZE];
  transformJulianToDateString(julian, buf);
  return buf;
}

std::string projectIdBase(const std::string& path) {
  std::string stem = path.substr(path.find_last_of('/') == std::string::npos
                                     ? 0
                                     : path.find_last_of('/') + 1);
  const size_t dot = stem.find_last_of('.');
  if (dot != std::string::npos && dot > 0) stem.resize(dot);
  std::string id;
  for (char c : stem) {
    if (id.size() == kProjectIdBase) break;
    id += std::isalnum(static_cast<unsigned char>(c))
              ? static_cast<char>(std::toupper(static_cast<unsigned char>(c)))
              : '_';
  }
  return id.empty() ? std::string("PSPLIB") : id;
}

// The rows, one statement each; remembers the first failure.
class Rows {
 public:
  explicit Rows(db::Store& store) : store_(store) {}
  void add(const char* sql, std::initializer_list<db::In> in) {
    if (rc_ != 0) return;
    const int32_t rc = store_.execute(sql, db::Binds(in));
    if (rc != 0) rc_ = rc < 0 ? rc : -1;
  }
  int32_t rc() const { return rc_; }

 private:
  db::Store& store_;
  int32_t rc_ = 0;
};

}  // namespace

int parsePsplib(const std::string& path, PsplibInstance& out, std::string& error) {
  std::ifstream in(path);
  if (!in) {
    error = path + ":0: cannot be read";
    return 1;
  }
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  const size_t slash = path.find_last_of('/');
  Parser parser(slash == std::string::npos ? path : path.substr(slash + 1), std::move(lines));
  return parser.run(out, error);
}

std::vector<int> psplibEarlyStarts(const PsplibInstance& instance) {
  const size_t n = instance.jobs.size();
  std::vector<int> indegree(n, 0), es(n, 0), ready;
  for (const PsplibJob& job : instance.jobs) {
    for (int s : job.successors) ++indegree[static_cast<size_t>(s - 1)];
  }
  for (size_t j = 0; j < n; ++j) {
    if (indegree[j] == 0) ready.push_back(static_cast<int>(j));
  }
  while (!ready.empty()) {
    const size_t j = static_cast<size_t>(ready.back());
    ready.pop_back();
    for (int s : instance.jobs[j].successors) {
      const size_t k = static_cast<size_t>(s - 1);
      es[k] = std::max(es[k], es[j] + instance.jobs[j].duration);
      if (--indegree[k] == 0) ready.push_back(static_cast<int>(k));
    }
  }
  return es;
}

int importPsplib(db::Store& store, const std::string& path, const std::string& startDay,
                 PsplibImport& out, std::string& error) {
  PsplibInstance inst;
  if (parsePsplib(path, inst, error) != 0) return 1;
  const int start = dateStringToJulian(startDay.c_str());
  if (start < 0 || julianToWeekDay(start) != 2) {
    error = "start day '" + startDay + "' is not a Monday (YYYY-MM-DD)";
    return 1;
  }

  // A free project id.
  const std::string base = projectIdBase(path);
  std::string pid;
  for (int suffix = 1; suffix <= 999 && pid.empty(); ++suffix) {
    const std::string id = suffix == 1 ? base : base + "_" + std::to_string(suffix);
    const std::string firstResource = id + "_R1";
    int64_t taken = 0;
    int16_t ind = 0;
    const int32_t rc = store.selectInto(kCountTaken, {id, id, id, id, firstResource},
                                        {db::HostVar(taken, &ind)});
    if (rc != 0) {
      error = std::string("cannot look up project ids: ") + store.status().message;
      return rc < 0 ? rc : -1;
    }
    if (taken == 0) pid = id;
  }
  if (pid.empty()) {
    error = "no free project id for " + base;
    return 1;
  }

  const size_t jobs = inst.jobs.size();
  const size_t resources = inst.capacities.size();
  const std::vector<int> es = psplibEarlyStarts(inst);
  int finishWd = 0, sumDurations = 0;
  int64_t effort = 0;
  for (size_t j = 0; j < jobs; ++j) {
    finishWd = std::max(finishWd, es[j] + inst.jobs[j].duration);
    sumDurations += inst.jobs[j].duration;
    effort += static_cast<int64_t>(inst.jobs[j].duration) * kMinutesPerDay;
  }
  // Working day w (from 0) of the five-day week that starts on `start`.
  auto wdDay = [&](int w) { return start + (w / 5) * 7 + w % 5; };
  auto stamp = [](int julian, const char* clock) { return dayText(julian) + " " + clock; };
  const std::string work = dayBitsHexOfRanges({{480, 720}, {780, 1020}});
  const std::string free = dayBitsHexOfRanges({});
  const std::string file = path.substr(path.find_last_of('/') == std::string::npos
                                           ? 0
                                           : path.find_last_of('/') + 1);
  Rows w(store);

  // The project, its details and calendar.
  const std::string projectStart = stamp(wdDay(0), "08:00:00.000000");
  const int lastDay = wdDay(std::max(0, finishWd - 1));
  const std::string projectFinish = stamp(lastDay, "17:00:00.000000");
  const std::string rank = pid + ".";
  w.add(kInsertWbs, {pid, db::In::null(), pid, "PSPLIB " + file, rank, pid, int32_t{1},
                     int32_t{1}, int32_t{1}, projectStart, projectFinish,
                     int32_t{std::max(1, finishWd) * kMinutesPerDay}, projectStart, projectFinish,
                     int32_t{std::max(1, finishWd) * kMinutesPerDay}, int32_t{0},
                     static_cast<int32_t>(effort), static_cast<int32_t>(effort),
                     int32_t{lastDay - start + 1}, stamp(start, "00:00:00.000000"),
                     static_cast<int32_t>(jobs)});
  w.add(kInsertProjectDetails, {pid});
  w.add(kInsertCalendar, {pid, "CAL." + rank, pid, work, work, work, work, work, free, free});
  const int calTo = wdDay(sumDurations) + kCalendarDaysAfter;
  for (int day = start - kCalendarDaysBefore; day <= calTo && w.rc() == 0; ++day) {
    const int weekday = julianToWeekDay(day);  // 1 = Sunday
    w.add(kInsertCalendarDay,
          {pid, dayText(day), int32_t{weekday}, weekday == 1 || weekday == 7 ? free : work});
  }
  for (size_t r = 0; r < resources; ++r) {
    const std::string id = pid + "_R" + std::to_string(r + 1);
    w.add(kInsertResource, {id, pid + " R" + std::to_string(r + 1),
                            int32_t{inst.capacities[r] * 10000}, pid});
  }

  // The jobs, their assignments and planned days.
  for (size_t j = 0; j < jobs && w.rc() == 0; ++j) {
    const PsplibJob& job = inst.jobs[j];
    const std::string n = std::to_string(j + 1);
    const std::string task = pid + "_J" + n;
    const int sd = wdDay(es[j]);
    const int fd = wdDay(es[j] + std::max(0, job.duration - 1));
    const std::string ts = stamp(sd, "08:00:00.000000");
    const std::string tf = job.duration == 0 ? ts : stamp(fd, "17:00:00.000000");
    const int32_t minutes = job.duration * kMinutesPerDay;
    int32_t assignments = 0;
    for (size_t r = 0; r < resources; ++r) {
      if (job.duration > 0 && job.requests[r] > 0) ++assignments;
    }
    char ordinal[8];
    std::snprintf(ordinal, sizeof ordinal, "%04d", static_cast<int>(j + 1));
    w.add(kInsertWbs, {pid, pid, task, "job " + n, rank + ordinal, task,
                       static_cast<int32_t>(j + 1), int32_t{2}, int32_t{3}, ts, tf, minutes, ts,
                       tf, minutes, assignments, minutes, minutes,
                       int32_t{job.duration == 0 ? 0 : fd - sd + 1}, db::In::null(), int32_t{0}});
    for (size_t r = 0; r < resources && job.duration > 0; ++r) {
      const int q = job.requests[r];
      if (q == 0) continue;
      const std::string a = pid + "_A" + n + "_" + std::to_string(r + 1);
      const std::string res = pid + "_R" + std::to_string(r + 1);
      const int32_t load = q * job.duration * kMinutesPerDay;
      w.add(kInsertAssignment, {a, pid, task, res, load, load, int32_t{q * 10000}, ts, tf,
                                int32_t{fd - sd + 1}});
      for (int k = 0; k < job.duration; ++k) {
        w.add(kInsertDayWork, {pid, task, a, res, pid, dayText(wdDay(es[j] + k)),
                               int32_t{q * kMinutesPerDay}, work});
      }
    }
    for (int s : job.successors) {
      w.add(kInsertDependency, {task, pid + "_J" + std::to_string(s), pid, pid});
    }
  }
  if (w.rc() != 0) {
    error = "writing " + pid + " failed: " + store.status().message;
    return w.rc();
  }
  out.projectId = pid;
  out.jobs = static_cast<int>(jobs);
  out.resources = static_cast<int>(resources);
  return 0;
}

int readPsplibOptima(const std::string& path, std::map<std::string, int>& out,
                     std::string& error) {
  out.clear();
  std::ifstream in(path);
  if (!in) {
    error = path + ":0: cannot be read";
    return 1;
  }
  std::string line, set;
  bool rows = false;
  for (int n = 1; std::getline(in, line); ++n) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::vector<std::string> t = tokens(line);
    if (!rows) {
      if (startsWith(line, "Instance Set")) {
        const size_t colon = line.find(':');
        const std::vector<std::string> v =
            tokens(colon == std::string::npos ? std::string() : line.substr(colon + 1));
        if (!v.empty()) set = v[0];
      }
      if (!t.empty() && t[0].size() >= 3 && t[0].find_first_not_of('-') == std::string::npos) {
        rows = true;
      }
      continue;
    }
    if (t.empty() || t[0].find_first_not_of("=-*") == std::string::npos) continue;
    if (t.size() < 3 || set.empty()) {
      error = path + ":" + std::to_string(n) +
              (set.empty() ? ": no 'Instance Set' before the rows" : ": a row needs 3 numbers");
      return 1;
    }
    int v[3] = {0, 0, 0};
    for (int k = 0; k < 3; ++k) {
      const std::string& x = t[static_cast<size_t>(k)];
      if (x.empty() || x.size() > 7 || x.find_first_not_of("0123456789") != std::string::npos) {
        error = path + ":" + std::to_string(n) + ": bad number '" + x + "'";
        return 1;
      }
      v[k] = std::stoi(x);
    }
    out[set + std::to_string(v[0]) + "_" + std::to_string(v[1])] = v[2];
  }
  if (!rows) {
    error = path + ":0: no table of optima";
    return 1;
  }
  return 0;
}

}  // namespace import
