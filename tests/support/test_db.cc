#include "support/test_db.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "calendar/dates.h"
#include "calendar/day_bits.h"

namespace testing {

DayBits dayBits(std::initializer_list<std::pair<int, int>> ranges) {
  DayBits d{};
  for (auto [from, to] : ranges) {
    for (int m = from; m < to; m += 5) {
      d[m / 40] |= static_cast<unsigned char>(0x80 >> ((m / 5) % 8));
    }
  }
  return d;
}

std::string dayBitsHex(const DayBits& bits) {
  char buf[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits.data(), buf);
  return buf;
}

DayBits standardDay() { return dayBits({{480, 720}, {780, 1020}}); }

namespace {

std::string tempPath() {
  const char* dir = std::getenv("TMPDIR");
  std::string pattern = std::string(dir != nullptr && *dir ? dir : "/tmp") + "/leveler-XXXXXX";
  int fd = mkstemp(pattern.data());
  if (fd >= 0) close(fd);
  return pattern;
}

DayBits shortDay(int endMinute) {
  if (endMinute <= 720) return dayBits({{480, endMinute}});
  return dayBits({{480, 720}, {780, endMinute}});
}

}  // namespace

TestDb::TestDb() : TestDb(host::SqliteOptions{.writeLockAtBegin = false}) {}

TestDb::TestDb(const host::SqliteOptions& options) : path_(tempPath()) {
  db::SqlStatus failure;
  store_ = host::SqliteStore::open(path_, options, &failure);
  if (!store_) {
    ADD_FAILURE() << "cannot open test database " << path_ << ": " << failure.message;
    std::abort();
  }
  binding_ = std::make_unique<db::StoreBinding>(*store_);
}

TestDb::~TestDb() {
  binding_.reset();
  store_.reset();
  for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path_ + suffix).c_str());
}

void TestDb::exec(const std::string& sql, db::Binds in) {
  int32_t rc = store_->execute(sql, in);
  if (rc != 0) ADD_FAILURE() << sql << "\n  -> " << rc << " " << store_->status().message;
}

TestDb& TestDb::row(const std::string& table, const std::map<std::string, std::string>& values) {
  std::string cols, marks;
  std::vector<db::In> in;
  for (const auto& [col, value] : values) {
    cols += (cols.empty() ? "" : ",") + col;
    marks += marks.empty() ? "?" : ",?";
    in.emplace_back(std::string_view(value), static_cast<int16_t>(value == "NULL" ? -1 : 0));
  }
  exec("insert into " + table + " (" + cols + ") values (" + marks + ")", db::Binds(in));
  return *this;
}

TestDb& TestDb::project(const ProjectData& p) {
  lastProject_ = p.id;
  std::string name = p.name.empty() ? p.id : p.name;
  std::string rank = p.rank.empty() ? p.id : p.rank;
  row("KOR_WBS", {{"PROJECT_ID", p.id},
                  {"PARENT_ID", p.parent.empty() ? "NULL" : p.parent},
                  {"ELEMENT_ID", p.id},
                  {"ELEMENT_NAME", name},
                  {"RANK", rank},
                  {"WBS_CODE", p.id},
                  {"LEVEL_ID", "1"},
                  {"TYPE_ID", std::to_string(p.typeId)},
                  {"PRIORITY", std::to_string(p.priority)},
                  {"PLANNED_EFFORT", "0"},
                  {"SCHED_EFFORT", "0"},
                  {"START_FINISH_DATE", p.start + " 00:00:00.000000"},
                  {"UNRESOLVED_START", p.start + " 08:00:00.000000"},
                  {"UNRESOLVED_FINISH", p.finish + " 17:00:00.000000"},
                  {"UNRESOLVED_DURATION", "0"},
                  {"PLANNED_START", p.start + " 08:00:00.000000"},
                  {"PLANNED_FINISH", p.finish + " 17:00:00.000000"},
                  {"REC_STATUS", "U"}});
  row("PROJECT_DETAILS", {{"PROJECT_ID", p.id}, {"LEVEL_LOCK", "0"}, {"CALCULATE_FLAG", "0"},
                          {"LEVEL_LAST_CALL_OPTION", "0"}});
  return *this;
}

TestDb& TestDb::calendar(const CalendarData& c) { return calendarOf(lastProject_, c); }

TestDb& TestDb::calendarOf(const std::string& id, const CalendarData& c) {
  std::array<DayBits, 7> week = c.week;
  if (!c.weekGiven) {
    for (int w = 0; w < 7; ++w) week[w] = (w == 0 || w == 6) ? DayBits{} : standardDay();
  }
  row("KOR_CALENDARS", {{"ELEMENT_ID", id},
                        {"PARENT_ID", "NULL"},
                        {"RANK", id},
                        {"TYPE_ID", "27"},
                        {"MINUTES_PER_DAY", std::to_string(c.minutesPerDay)},
                        {"SUNDAY_BIT", dayBitsHex(week[0])},
                        {"MONDAY_BIT", dayBitsHex(week[1])},
                        {"TUESDAY_BIT", dayBitsHex(week[2])},
                        {"WEDNESDAY_BIT", dayBitsHex(week[3])},
                        {"THURSDAY_BIT", dayBitsHex(week[4])},
                        {"FRIDAY_BIT", dayBitsHex(week[5])},
                        {"SATURDAY_BIT", dayBitsHex(week[6])}});
  std::set<std::string> holidays(c.holidays.begin(), c.holidays.end());
  std::set<std::string> missing(c.missing.begin(), c.missing.end());
  std::map<std::string, int> shortDays(c.shortDays.begin(), c.shortDays.end());
  int from = dateStringToJulian(c.from.c_str());
  int to = dateStringToJulian(c.to.c_str());
  for (int j = from; j <= to; ++j) {
    char day[DATE_TEXT_SIZE];
    transformJulianToDateString(j, day);
    if (missing.count(day)) continue;
    int w = julianToWeekDay(j);  // 1 = Sunday
    DayBits bits = week[w - 1];
    if (holidays.count(day)) bits = DayBits{};
    auto s = shortDays.find(day);
    if (s != shortDays.end()) bits = shortDay(s->second);
    exec("insert into CALENDAR_DAY_OF_YEAR (ELEMENT_ID,DAY_YEAR,DAY_WEEK,BIT_SCHED) values (?,?,?,?)",
         {id, day, int32_t{w}, dayBitsHex(bits)});
  }
  return *this;
}

TestDb& TestDb::baseCalendarException(const std::string& calendarId, const std::string& day,
                                      const DayBits& bits) {
  return row("CALENDAR_EXCEPTIONS",
             {{"CALENDAR_ID", calendarId},
              {"EXCEPTION_MIN", std::to_string(getAveMinutesFromDayBits(bits.data()))},
              {"EXCEPTION_DATE", day + " 00:00:00.000000"},
              {"EXCEPTION_BIT", dayBitsHex(bits)}});
}

TestDb& TestDb::item(const ItemData& i) {
  auto stamp = [](const std::string& s) { return s.empty() ? std::string("NULL") : s; };
  std::map<std::string, std::string> values = {
      {"PROJECT_ID", i.project},
      {"PARENT_ID", i.parent},
      {"ELEMENT_ID", i.id},
      {"ELEMENT_NAME", i.name.empty() ? i.id : i.name},
      {"RANK", i.project + "." + i.id},
      {"WBS_CODE", i.id},
      {"LEVEL_ID", std::to_string(i.levelId)},
      {"TYPE_ID", std::to_string(i.typeId)},
      {"PRIORITY", std::to_string(i.priority)},
      {"PLANNED_EFFORT", std::to_string(i.effort)},
      {"SCHED_EFFORT", "0"},
      {"DURATION", std::to_string(i.durationDays)},
      {"UNRESOLVED_START", stamp(i.start)},
      {"UNRESOLVED_FINISH", stamp(i.finish)},
      {"UNRESOLVED_DURATION", std::to_string(i.durationDays)},
      {"PLANNED_START", stamp(i.start)},
      {"PLANNED_FINISH", stamp(i.finish)},
      {"CONSTRAINT_TYPE", std::to_string(i.constraintType)},
      {"CONSTRAINT_DT", stamp(i.constraintDate)},
      {"ACTUAL_START", stamp(i.actualStart)},
      {"ACTUAL_FINISH", stamp(i.actualFinish)},
      {"REC_STATUS", "U"}};
  for (const auto& [col, value] : i.extra) values[col] = value;
  return row("KOR_WBS", values);
}

TestDb& TestDb::dependency(const DependencyData& d) {
  std::string succProject = d.succProject.empty() ? d.predProject : d.succProject;
  return row("DEPENDENCIES", {{"PRED_ID", d.pred},
                              {"SUCC_ID", d.succ},
                              {"PRED_PROJECT_ID", d.predProject},
                              {"SUCC_PROJECT_ID", succProject},
                              {"DEP_TYPE", std::to_string(d.depType)},
                              {"LEAD_OR_LAG_TYPE", d.lag < 0 ? "1" : "0"},
                              {"AMOUNT", std::to_string(d.lag < 0 ? -d.lag : d.lag)}});
}

TestDb& TestDb::assignment(const AssignmentData& a) {
  std::map<std::string, std::string> values = {
      {"PROJECT_ID", a.project},
      {"TASK_ID", a.task},
      {"TSK_ASSIGNMENT_ID", a.id},
      {"RESOURCE_ID", a.resource},
      {"PROPOSED_WORK", std::to_string(a.proposedWork)},
      {"WORK_TODATE", std::to_string(a.workTodate)},
      {"UNITS_MSP", std::to_string(a.unitsMsp)}};
  for (const auto& [col, value] : a.extra) values[col] = value;
  return row("TASK_ASSIGNMENTS", values);
}

TestDb& TestDb::dayWork(const DayWorkData& w) {
  return row("TASK_DAY_OF_YEAR", {{"PROJECT_ID", w.project},
                                  {"TASK_ID", w.task},
                                  {"TSK_ASSIGNMENT_ID", w.assignment},
                                  {"RESOURCE_ID", w.resource},
                                  {"DAY_YEAR", w.day},
                                  {"SCHED_MIN", std::to_string(w.schedMinutes)},
                                  {"ACTUAL_MIN", std::to_string(w.actualMinutes)},
                                  {"ACTUAL_FLAG", std::to_string(w.actualFlag)}});
}

void TestDb::commit() {
  int32_t result = 0;
  db::HostVar resultVar(result);
  int32_t rc = store_->call("LEVEL_COMMIT", {}, &resultVar);
  if (rc != 0) ADD_FAILURE() << "LEVEL_COMMIT: " << rc << " " << store_->status().message;
}

int64_t TestDb::scalar(const std::string& sql) {
  int64_t value = 0;
  int16_t ind = 0;
  int32_t rc = store_->selectInto(sql, {}, {db::HostVar(value, &ind)});
  if (rc != 0) ADD_FAILURE() << sql << "\n  -> " << rc << " " << store_->status().message;
  return value;
}

}  // namespace testing
