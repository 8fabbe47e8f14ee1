// The levelling run's host procedures: start of a run, preparation of a
// project, the resource search call and the storing of a placement. See
// levelling_procs.h; the search itself is resource_search.h.
#include "host/levelling_procs.h"

#include <algorithm>
#include <cstdio>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "host/procedures.h"
#include "host/resource_search.h"

namespace host {

using levelling::CallScope;
using levelling::DayPart;
using levelling::LevellingState;
using levelling::Placement;

namespace {

constexpr const char* kDeleteRunOverAllocations =
    "DELETE FROM LEVEL_OVER_ALLOCATIONS "
    "WHERE PROJECT_ID IN (SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00)";
constexpr const char* kDeleteAllTdy = "DELETE FROM NAV_TMP_TDY";
constexpr const char* kDeleteAllTdyLevel = "DELETE FROM NAV_TMP_TDY_LEVEL";
constexpr const char* kSelectProjectResources =
    "SELECT DISTINCT RESOURCE_ID FROM TASK_ASSIGNMENTS "
    "WHERE PROJECT_ID = ? AND RESOURCE_ID IS NOT NULL";

// The columns of an assignment the search needs.
constexpr const char* kSelectTaskAssignments =
    "SELECT TSK_ASSIGNMENT_ID, RESOURCE_ID, RESOURCE_TYPE, PLANNED_WORK, ETC, UNITS_MSP, "
    "ASSIGNMENT_DELAY, PROJECT_ASSIGNMENT_ID, BIT_FLAG FROM TASK_ASSIGNMENTS "
    "WHERE PROJECT_ID = ? AND TASK_ID = ? AND (ACTUAL_FINISH IS NULL OR ETC <> 0) "
    "ORDER BY COALESCE(ASSIGNMENT_DELAY, 0), UNRESOLVED_START, TSK_ASSIGNMENT_ID";
constexpr const char* kSelectOneAssignment =
    "SELECT TSK_ASSIGNMENT_ID, RESOURCE_ID, RESOURCE_TYPE, PLANNED_WORK, ETC, UNITS_MSP, "
    "ASSIGNMENT_DELAY, PROJECT_ASSIGNMENT_ID, BIT_FLAG FROM TASK_ASSIGNMENTS "
    "WHERE TSK_ASSIGNMENT_ID = ?";

constexpr const char* kDeleteTdy = "DELETE FROM NAV_TMP_TDY WHERE TSK_ASSIGNMENT_ID = ?";
constexpr const char* kInsertTdy =
    "INSERT INTO NAV_TMP_TDY (PROJECT_ID, TASK_ID, TSK_ASSIGNMENT_ID, RESOURCE_ID, PARENT_ID, "
    "DAY_YEAR, SCHED_MIN, ACTUAL_MIN, ACTUAL_FLAG, BIT_SCHED, BIT_FLAG) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, 0, 0, ?, ?)";
constexpr const char* kDeleteOverAllocations =
    "DELETE FROM LEVEL_OVER_ALLOCATIONS WHERE PROJECT_ID = ? AND TSK_ASSIGNMENT_ID = ?";
constexpr const char* kInsertOverAllocation =
    "INSERT INTO LEVEL_OVER_ALLOCATIONS (RESOURCE_ID, DAY_YEAR, LOAD_MIN, CAPACITY_MIN, "
    "TSK_ASSIGNMENT_ID, PROJECT_ID, TASK_ID, REC_DATETIME) VALUES (?, ?, ?, ?, ?, ?, ?, ?)";

constexpr const char* kDeleteLevelDays =
    "DELETE FROM LEVEL_TASK_DAY_OF_YEAR WHERE PROJECT_ID = ? AND TSK_ASSIGNMENT_ID = ?";
constexpr const char* kInsertLevelDay =
    "INSERT INTO LEVEL_TASK_DAY_OF_YEAR (PROJECT_ID, RESOURCE_ID, TSK_ASSIGNMENT_ID, DAY_YEAR, "
    "SCHED_MIN, BIT_SCHED, PARENT_ID, TASK_ID, ACTUAL_MIN, ACTUAL_FLAG, BIT_FLAG) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, 0, 0, ?)";
constexpr const char* kUpdateAssignment =
    "UPDATE TASK_ASSIGNMENTS SET LEVEL_START = ?, LEVEL_FINISH = ?, LEVEL_EFFORT = ?, "
    "LEVEL_ASSIGN_STRING = ? WHERE TSK_ASSIGNMENT_ID = ?";

constexpr int64_t kCalculationRun = 266;
constexpr int64_t kModeHeld = 7;
constexpr int64_t kModeOtherResourceType = 12;

int32_t finishCall(LevellingState& st, const db::HostVar* result, int32_t code) {
  if (st.failure < 0) return st.failure;
  if (result != nullptr) return result->setInteger(code);
  return db::kSqlOk;
}

// The 72 hexadecimal digits of the slots a day part uses.
std::string usedSlotsHex(levelling::WorkCalendar& calendar, const DayPart& part) {
  const levelling::CalendarDay& cd = calendar.at(part.day);
  unsigned char bits[DAY_BITS_BYTES] = {};
  int slot = part.fromSlot;
  for (int taken = 0; taken < part.slots && slot < levelling::kSlotsPerDay; ++slot) {
    if (!cd.isWorking(slot)) continue;
    bits[slot >> 3] = static_cast<unsigned char>(bits[slot >> 3] | (0x80u >> (slot & 7)));
    ++taken;
  }
  char hex[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits, hex);
  return hex;
}

// One row of TASK_ASSIGNMENTS as the search reads it.
struct AssignmentRow {
  db::IdText id, resource, parent;
  db::FlagText resourceType;
  int64_t plannedWork = 0, etc = 0, units = 0, delay = 0;
  int32_t bitFlag = 0;
  int16_t resourceInd = 0, parentInd = 0, typeInd = 0, plannedInd = 0, etcInd = 0,
          unitsInd = 0, delayInd = 0, bitFlagInd = 0;

  db::Vars vars() {
    vars_ = {db::HostVar(id),
             db::HostVar(resource, &resourceInd),
             db::HostVar(resourceType, &typeInd),
             db::HostVar(plannedWork, &plannedInd),
             db::HostVar(etc, &etcInd),
             db::HostVar(units, &unitsInd),
             db::HostVar(delay, &delayInd),
             db::HostVar(parent, &parentInd),
             db::HostVar(bitFlag, &bitFlagInd)};
    return db::Vars(vars_);
  }
  int64_t work() const {
    const int64_t planned = plannedInd < 0 ? 0 : plannedWork;
    return std::max<int64_t>(planned > 0 ? planned : (etcInd < 0 ? 0 : etc), 0);
  }

 private:
  std::vector<db::HostVar> vars_;
};

// What the search call was asked.
struct SearchCall {
  std::string assignmentId, projectId, taskId, resourceId, resourceType, searchStart;
  int64_t work = 0, mode = 6, runFlag = 10, delay = 0;
  int32_t bitFlag = 0;
};

struct Candidate {
  std::string id, resourceId, resourceType, parentId;
  int64_t work = 0, units = 0, delay = 0;
  int32_t bitFlag = 0;
  bool current = false;
};

Candidate fromRow(const AssignmentRow& row) {
  Candidate c;
  c.id = std::string(row.id.view());
  c.resourceId = row.resourceInd < 0 ? "" : std::string(row.resource.view());
  c.resourceType = row.typeInd < 0 ? "" : std::string(row.resourceType.view());
  c.parentId = row.parentInd < 0 ? "" : std::string(row.parent.view());
  c.work = row.work();
  c.units = row.unitsInd < 0 ? 0 : row.units;
  c.delay = row.delayInd < 0 ? 0 : std::max<int64_t>(row.delay, 0);
  c.bitFlag = row.bitFlagInd < 0 ? 0 : row.bitFlag;
  return c;
}

// The task's assignments to place now, the call's own first: 0 or a
// negative status.
int32_t readCandidates(db::Store& store, LevellingState& st, const SearchCall& call,
                       std::vector<Candidate>& out) {
  AssignmentRow row;
  Candidate current;
  current.id = call.assignmentId;
  bool currentFound = false;
  std::vector<Candidate> others;
  const bool projectLevel = call.taskId.empty() || call.taskId == call.projectId;
  if (!projectLevel) {
    db::Cursor cursor(store);
    int32_t rc = cursor.open(kSelectTaskAssignments, {call.projectId, call.taskId});
    while (rc == 0 && (rc = cursor.fetch(row.vars())) == 0) {
      Candidate c = fromRow(row);
      if (c.id == call.assignmentId) {
        current = c;
        currentFound = true;
      } else if (st.placements.count(c.id) == 0) {
        others.push_back(std::move(c));
      }
    }
    if (rc < 0) return rc;
  }
  if (!currentFound) {
    const int32_t rc = store.selectInto(kSelectOneAssignment, {call.assignmentId}, row.vars());
    if (rc < 0) return rc;
    if (rc == 0) current = fromRow(row);
  }
  // The call's own values come first: the main loop's work and delay.
  current.id = call.assignmentId;
  current.resourceId = call.resourceId;
  current.resourceType = call.resourceType;
  current.work = std::max<int64_t>(call.work, 0);
  current.delay = std::max<int64_t>(call.delay, 0);
  current.bitFlag = call.bitFlag;
  current.current = true;
  out.clear();
  out.push_back(std::move(current));
  for (Candidate& c : others) out.push_back(std::move(c));
  return 0;
}

bool waitsFor(const SearchCall& call, const Candidate& c) {
  if (call.runFlag == kCalculationRun) return false;
  int64_t mode = call.mode;
  if (!c.current) {
    mode = call.mode == kModeHeld ? kModeHeld
           : c.resourceType != "0" ? kModeOtherResourceType
                                   : 6;
  }
  return mode != kModeHeld && mode != kModeOtherResourceType;
}

// Hands a placement out: its days into NAV_TMP_TDY, its over-allocations
// into the table and the log, its dates into arguments 11 and 12.
int32_t handOut(db::Store& store, Backend& backend, Placement& p, db::Vars args) {
  int32_t rc = 0;
  if (p.tdyWritten && (rc = store.execute(kDeleteTdy, {p.assignmentId})) < 0) return rc;
  for (const DayPart& part : p.days) {
    const std::string day = levelling::dayText(part.day);
    const std::string bits = usedSlotsHex(*p.calendar, part);
    rc = store.execute(kInsertTdy, {p.projectId, p.taskId, p.assignmentId, p.resourceId,
                                    p.parentId.empty() ? db::In::null() : db::In(p.parentId), day,
                                    int32_t{part.minutes}, bits, p.bitFlag});
    if (rc < 0) return rc;
  }
  p.tdyWritten = !p.days.empty();
  if (p.overWritten &&
      (rc = store.execute(kDeleteOverAllocations, {p.projectId, p.assignmentId})) < 0) {
    return rc;
  }
  if (!p.over.empty()) {
    const std::string now = backend.now();
    for (const levelling::OverDay& o : p.over) {
      const std::string day = levelling::dayText(o.day);
      rc = store.execute(kInsertOverAllocation, {p.resourceId, day, o.load, o.capacity,
                                                 p.assignmentId, p.projectId, p.taskId, now});
      if (rc < 0) return rc;
      std::printf("over-allocation: resource %s on %s: load %lld min, capacity %lld min, "
                  "assignment %s\n",
                  p.resourceId.c_str(), day.c_str(), static_cast<long long>(o.load),
                  static_cast<long long>(o.capacity), p.assignmentId.c_str());
    }
    std::fflush(stdout);
  }
  p.overWritten = !p.over.empty();
  p.returned = true;
  rc = args[10].setText(levelling::stampText(p.startDay, p.startSlot));
  if (rc < 0) return rc;
  return args[11].setText(levelling::stampText(p.finishDay, p.finishSlot));
}

int32_t refuse(LevellingState& st, db::Vars args, const db::HostVar* result, int32_t code) {
  args[10].setNull();
  args[11].setNull();
  return finishCall(st, result, code);
}

}  // namespace

int32_t fcIniAssignStr(db::Store& store, Backend& backend, db::Vars, const db::HostVar* result) {
  CallScope scope(backend, store);
  LevellingState& st = scope.state();
  st.calendars.clear();
  st.resources.clear();
  st.placements.clear();
  st.byProjectAssignment.clear();
  st.preparedProjects.clear();
  // The day rows of the previous run's placements, whose flags are gone.
  for (const char* sql : {kDeleteRunOverAllocations, kDeleteAllTdy, kDeleteAllTdyLevel}) {
    const int32_t rc = store.execute(sql);
    if (rc < 0) return rc;
  }
  return finishCall(st, result, 0);
}

int32_t levelFcCreateCdyLevel(db::Store& store, Backend& backend, db::Vars args,
                              const db::HostVar* result) {
  CallScope scope(backend, store);
  LevellingState& st = scope.state();
  const std::string project = levelling::argText(args[0]);
  const std::string start = levelling::argText(args[1]);
  const int64_t days = std::clamp<int64_t>(levelling::argInteger(args[2]), 0, 100000);
  int32_t code = 0;
  int startDay = 0, startMinute = 0;
  if (parseTimeStamp(start.c_str(), &startDay, &startMinute) != 1 && start.size() == 10) {
    startDay = dateStringToJulian(start.c_str());  // a day without its time
  }
  if (startDay > 0) {
    levelling::WorkCalendar* calendar = st.calendarFor(project, startDay);
    if (calendar == nullptr) {
      code = 1;
    } else {
      calendar->at(startDay + static_cast<int>(days));  // reads the range ahead
    }
  }
  if (!st.preparedProjects.insert(project).second) return finishCall(st, result, code);
  std::vector<std::string> resources;
  {
    db::Cursor cursor(store);
    db::IdText id;
    int32_t rc = cursor.open(kSelectProjectResources, {project});
    while (rc == 0 && (rc = cursor.fetch({db::HostVar(id)})) == 0) {
      resources.emplace_back(id.view());
    }
    if (rc < 0) return rc;
  }
  for (const std::string& id : resources) {
    if (st.resourceFor(id) == nullptr) break;
  }
  return finishCall(st, result, code);
}

int32_t levelFcSearch2(db::Store& store, Backend& backend, db::Vars args,
                       const db::HostVar* result) {
  CallScope scope(backend, store);
  LevellingState& st = scope.state();
  SearchCall call;
  call.assignmentId = levelling::argText(args[0]);
  call.projectId = levelling::argText(args[1]);
  call.taskId = levelling::argText(args[2]);
  call.resourceId = levelling::argText(args[3]);
  call.searchStart = levelling::argText(args[10]);
  call.work = levelling::argInteger(args[13]);
  call.mode = levelling::argInteger(args[18]);
  call.resourceType = levelling::argText(args[19]);
  call.bitFlag = static_cast<int32_t>(levelling::argInteger(args[20]));
  call.runFlag = levelling::argInteger(args[24]);
  call.delay = levelling::argInteger(args[29]);

  // A placement found by the first call for the task.
  auto found = st.placements.find(call.assignmentId);
  if (found != st.placements.end() && !found->second.returned && !found->second.stored) {
    const int32_t rc = handOut(store, backend, found->second, args);
    if (rc < 0) return rc;
    return finishCall(st, result, kSearchPlaced);
  }
  int startDay = 0, startMinute = 0;
  if (call.assignmentId.empty() || call.resourceId.empty() ||
      parseTimeStamp(call.searchStart.c_str(), &startDay, &startMinute) != 1) {
    return refuse(st, args, result, kSearchRefused);
  }
  // Searched again: its earlier placement no longer counts, but the rows it
  // left in NAV_TMP_TDY and LEVEL_OVER_ALLOCATIONS are to be replaced.
  bool hadTdyRows = false, hadOverRows = false;
  if (found != st.placements.end()) {
    hadTdyRows = found->second.tdyWritten;
    hadOverRows = found->second.overWritten;
    st.unload(found->second);
    st.byProjectAssignment.erase(found->second.parentId);
    st.placements.erase(found);
  }

  std::vector<Candidate> candidates;
  int32_t rc = readCandidates(store, st, call, candidates);
  if (rc < 0) return rc;
  std::vector<levelling::Member> members;
  for (const Candidate& c : candidates) {
    levelling::Member m;
    m.assignmentId = c.id;
    m.parentId = c.parentId;
    m.resource = c.resourceId.empty() ? nullptr : st.resourceFor(c.resourceId);
    if (m.resource != nullptr) {
      const std::string& calendarId =
          m.resource->calendarId.empty() ? call.projectId : m.resource->calendarId;
      m.calendar = st.calendarFor(calendarId, startDay);
    }
    if (st.failure < 0) return st.failure;
    if (m.resource == nullptr || m.calendar == nullptr) {
      if (c.current) return refuse(st, args, result, kSearchRefused);
      continue;  // another assignment of the task that cannot be placed
    }
    m.work = c.work;
    m.units = c.units;
    m.delay = c.delay;
    m.waits = waitsFor(call, c);
    m.recordOver = call.runFlag != kCalculationRun;
    members.push_back(std::move(m));
  }

  std::vector<levelling::MemberPlacement> placed;
  const int startSlot = (startMinute + levelling::kSlotMinutes - 1) / levelling::kSlotMinutes;
  const levelling::SearchOutcome outcome =
      levelling::placeTask(members, startDay, startSlot, placed);
  if (st.failure < 0) return st.failure;
  if (outcome == levelling::SearchOutcome::kNoRoom) {
    std::printf("no placement within the calendar: assignment %s, resource %s, from %s\n",
                call.assignmentId.c_str(), call.resourceId.c_str(), call.searchStart.c_str());
    std::fflush(stdout);
    return refuse(st, args, result, kSearchNoPlacement);
  }
  for (std::size_t i = 0; i < members.size(); ++i) {
    const levelling::Member& m = members[i];
    levelling::MemberPlacement& mp = placed[i];
    Placement p;
    p.assignmentId = m.assignmentId;
    p.projectId = call.projectId;
    p.taskId = call.taskId;
    p.parentId = m.parentId;
    p.resourceId = m.resource->id;
    for (const Candidate& c : candidates) {
      if (c.id == m.assignmentId) p.bitFlag = c.bitFlag;
    }
    p.resource = m.resource;
    p.calendar = m.calendar;
    p.startDay = mp.startDay;
    p.startSlot = mp.startSlot;
    p.finishDay = mp.finishDay;
    p.finishSlot = mp.finishSlot;
    p.days = std::move(mp.days);
    p.over = std::move(mp.over);
    for (const DayPart& part : p.days) m.resource->pending.add(part.day, part.minutes);
    if (call.taskId == call.projectId && !p.parentId.empty()) {
      st.byProjectAssignment[p.parentId] = p.assignmentId;
    }
    st.placements[p.assignmentId] = std::move(p);
  }
  Placement& own = st.placements[call.assignmentId];
  own.tdyWritten = hadTdyRows;
  own.overWritten = hadOverRows;
  rc = handOut(store, backend, own, args);
  if (rc < 0) return rc;
  return finishCall(st, result, kSearchPlaced);
}

std::string levelAssignString(const std::vector<DayPart>& days) {
  if (days.empty()) return std::string();
  std::string out = levelling::dayText(days.front().day) + ";";
  int value = 0, count = 0;
  bool first = true;
  auto flush = [&] {
    if (count == 0) return;
    if (!first) out += ",";
    out += std::to_string(value);
    if (count > 1) out += "*" + std::to_string(count);
    first = false;
  };
  int expected = days.front().day;
  auto push = [&](int v) {
    if (count > 0 && v == value) {
      ++count;
      return;
    }
    flush();
    value = v;
    count = 1;
  };
  for (const DayPart& part : days) {
    for (; expected < part.day; ++expected) push(0);
    push(part.minutes);
    expected = part.day + 1;
  }
  flush();
  return out;
}

int32_t uLevelString(db::Store& store, Backend& backend, db::Vars args,
                     const db::HostVar* result) {
  CallScope scope(backend, store);
  LevellingState& st = scope.state();
  const std::string project = levelling::argText(args[0]);
  const std::string id = levelling::argText(args[1]);
  auto it = st.placements.find(id);
  if (it == st.placements.end()) {
    auto byParent = st.byProjectAssignment.find(id);
    if (byParent != st.byProjectAssignment.end()) it = st.placements.find(byParent->second);
  }
  if (it == st.placements.end() || (!project.empty() && it->second.projectId != project)) {
    return finishCall(st, result, 1);
  }
  Placement& p = it->second;
  int32_t rc = store.execute(kDeleteLevelDays, {p.projectId, p.assignmentId});
  if (rc < 0) return rc;
  int64_t effort = 0;
  for (const DayPart& part : p.days) {
    const std::string day = levelling::dayText(part.day);
    const std::string bits = usedSlotsHex(*p.calendar, part);
    rc = store.execute(kInsertLevelDay, {p.projectId, p.resourceId, p.assignmentId, day,
                                         int32_t{part.minutes}, bits,
                                         p.parentId.empty() ? db::In::null() : db::In(p.parentId),
                                         p.taskId, p.bitFlag});
    if (rc < 0) return rc;
    effort += part.minutes;
  }
  rc = store.execute(kUpdateAssignment,
                     {levelling::stampText(p.startDay, p.startSlot),
                      levelling::stampText(p.finishDay, p.finishSlot), effort,
                      levelAssignString(p.days), p.assignmentId});
  if (rc < 0) return rc;
  if (p.tdyWritten) {
    if ((rc = store.execute(kDeleteTdy, {p.assignmentId})) < 0) return rc;
    p.tdyWritten = false;
  }
  if (!p.stored) {
    for (const DayPart& part : p.days) {
      p.resource->pending.add(part.day, -part.minutes);
      p.resource->booked.add(part.day, part.minutes);
    }
    p.stored = true;
  }
  return finishCall(st, result, 0);
}

void addLevellingProcedures(ProcedureRegistry& registry) {
  registry.add("FC_INI_ASSIGN_STR", 0, fcIniAssignStr);
  registry.add("LEVEL_FC_CREATE_CDY_LEVEL", kCreateCdyLevelArity, levelFcCreateCdyLevel);
  registry.add("LEVEL_FC_SEARCH_2", kSearchArity, levelFcSearch2);
  registry.add("U_LEVEL_STRING", kLevelStringArity, uLevelString);
}

}  // namespace host
