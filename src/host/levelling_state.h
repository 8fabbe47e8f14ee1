// The levelling run's memory on one connection: the working calendars and
// the resource load profiles that the resource search (resource_search.h)
// reads, and the placements it made. One LevellingState lives in the
// connection's procedure state (backend.h) from the first levelling
// procedure called to the connection's close; FC_INI_ASSIGN_STR empties it
// at the start of every run.
//
// Units: days are Julian day numbers (calendar/dates.h; the same numbers the
// store's "YYYY-MM-DD" texts convert to), times of day slots of five
// minutes (0..287, 288 = the end of the day; minute = 5 x slot), work and
// load in minutes, units and MAX_UNITS in hundredths of a percent of one
// person's working day (10000 = one person full time).
//
// What is read, and when (so that the search issues no query per day or per
// candidate start, and its cost grows with the days it scans, not with the
// size of the portfolio):
// - A calendar (KOR_CALENDARS row and CALENDAR_DAY_OF_YEAR days) is read at
//   its first use in the run: its weekday patterns, the first and last day
//   the store has rows for, and the rows of about 400 days around the day
//   asked for. A day outside the days read is read on demand, 400 days at a
//   time, in the direction asked.
// - A resource's load is read at its first use in the run: its MAX_UNITS
//   and CALENDAR_ID (RESOURCES; no row: 10000 and the project's calendar)
//   and, in one grouped query, the minutes per day of TASK_DAY_OF_YEAR
//   booked on it: for projects outside the run (not in the connection's
//   NAV_TMP_PROJECTS_00) the scheduled minutes of each row, or its actual
//   minutes when a reported actual exceeds them; for the run's own projects
//   only the actual minutes already reported (ACTUAL_FLAG 1), since the
//   rest of their work is what the run places again. Work booked elsewhere
//   is never given away.
// - The load of the run itself is kept in two arrays per resource:
//   `pending` (placements the search found but U_LEVEL_STRING has not
//   stored yet) and `booked` (the store's load read above plus the stored
//   placements). The search counts both.
//
// Calendar days, choices:
// - A day the store has a CALENDAR_DAY_OF_YEAR row for takes that row's
//   schedule; a day missing between the first and the last row has no
//   work; a day before the first row follows the weekday pattern.
// - The calendar ends with its last row: no placement uses a later day (the
//   search reports "no placement within the calendar" instead). A calendar
//   without any day row is its weekday pattern for 3660 days from the first
//   day asked of it.
// - Base-calendar exceptions (CALENDAR_EXCEPTIONS) are not read: a
//   calendar's own day rows are taken to carry them.
//
// Failures: a statement that fails while a calendar or a load is read
// (inside WorkCalendar::at, say) is kept in `failure` (its negative status,
// the store's status message left as it was) and the day reads as a day
// without work; every procedure checks `failure` after its work and returns
// it.
#ifndef LEVELER_HOST_LEVELLING_STATE_H
#define LEVELER_HOST_LEVELLING_STATE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/backend.h"
#include "store/store.h"

namespace host::levelling {

inline constexpr int kSlotMinutes = 5;
inline constexpr int kSlotsPerDay = 288;
inline constexpr int kReadAheadDays = 400;
inline constexpr int kPatternOnlyHorizonDays = 3660;
inline constexpr int64_t kFullTime = 10000;

// One day of a calendar: its schedule (slot k set = minutes 5k..5k+5 are
// working time, slot 0 in the top bit of byte 0) and its working minutes.
struct CalendarDay {
  int16_t minutes = 0;
  unsigned char bits[36] = {};

  bool isWorking(int slot) const { return (bits[slot >> 3] & (0x80u >> (slot & 7))) != 0; }
  // Working slots from `slot` (inclusive) to the end of the day.
  int countFrom(int slot) const;
  // The slot of the n-th (0-based) working slot at or after `slot`; 288
  // when the day has no more.
  int nthFrom(int slot, int n) const;
};

struct LevellingState;

// A working calendar as the run sees it (see the header comment).
class WorkCalendar {
 public:
  WorkCalendar(LevellingState& owner, std::string id) : owner_(owner), id_(std::move(id)) {}

  const std::string& id() const { return id_; }
  // The day `day`, read on demand; a day past horizon() has no work.
  const CalendarDay& at(int day);
  // Last day a placement may use.
  int horizon() const { return horizon_; }

  // Reads the calendar's row and first days around `nearDay`: 0, 100 when
  // the calendar has no KOR_CALENDARS row, or a negative status.
  int32_t load(int nearDay);

 private:
  int32_t readDays(int first, int last);

  LevellingState& owner_;
  std::string id_;
  CalendarDay week_[7];           // index weekday - 1, 1 = Sunday
  int rowsFirst_ = 0;             // days with rows in the store
  int rowsLast_ = -1;             // rowsLast_ < rowsFirst_: none
  int horizon_ = 0;
  int loadedFirst_ = 0;           // days_[0] is day loadedFirst_
  std::vector<CalendarDay> days_;
  CalendarDay empty_{};
};

// Minutes per day, from a first day on; days outside read as 0.
class DayArray {
 public:
  int64_t get(int day) const {
    const int64_t i = static_cast<int64_t>(day) - first_;
    return i >= 0 && i < static_cast<int64_t>(values_.size()) ? values_[static_cast<size_t>(i)] : 0;
  }
  void add(int day, int64_t minutes);

 private:
  int first_ = 0;
  std::vector<int64_t> values_;
};

struct Resource {
  std::string id;
  int64_t maxUnits = kFullTime;
  std::string calendarId;  // empty: the calendar of the assignment's project
  DayArray booked;
  DayArray pending;

  int64_t load(int day) const { return booked.get(day) + pending.get(day); }
  // Capacity of a day with `workingMinutes` on the calendar in use.
  int64_t capacity(int workingMinutes) const { return maxUnits * workingMinutes / kFullTime; }
};

// The work of one assignment on one day: `minutes`, laid on `slots`
// working slots from slot `fromSlot` on.
struct DayPart {
  int day = 0;
  int minutes = 0;
  int fromSlot = 0;
  int slots = 0;
};

// A day where the placement loads its resource beyond capacity.
struct OverDay {
  int day = 0;
  int64_t load = 0;
  int64_t capacity = 0;
};

struct Placement {
  std::string assignmentId, projectId, taskId, parentId, resourceId;
  int32_t bitFlag = 0;
  Resource* resource = nullptr;
  WorkCalendar* calendar = nullptr;
  int startDay = 0, startSlot = 0, finishDay = 0, finishSlot = 0;  // finishSlot: end
  std::vector<DayPart> days;
  std::vector<OverDay> over;
  bool returned = false;      // handed out by a search call
  bool stored = false;        // stored by U_LEVEL_STRING; else pending
  bool tdyWritten = false;    // has rows in NAV_TMP_TDY
  bool overWritten = false;   // has rows in LEVEL_OVER_ALLOCATIONS
};

struct LevellingState : ProcedureState::Part {
  db::Store* store = nullptr;  // the store of the procedure call in progress
  int32_t failure = 0;         // first failed statement of that call

  std::unordered_map<std::string, std::unique_ptr<WorkCalendar>> calendars;
  std::unordered_map<std::string, std::unique_ptr<Resource>> resources;
  std::unordered_map<std::string, Placement> placements;  // by TSK_ASSIGNMENT_ID
  // Project-level placements by their PROJECT_ASSIGNMENT_ID (U_LEVEL_STRING
  // is given that id for them).
  std::unordered_map<std::string, std::string> byProjectAssignment;
  // Projects whose resources have been read this run: the main loop meets
  // a project again at nearly every row (it walks tasks in priority order
  // across projects), and reading its resources again each time cost more
  // than the searches themselves.
  std::unordered_set<std::string> preparedProjects;

  // Records a failed statement's status (the first one counts).
  void fail(int32_t code) {
    if (failure == 0) failure = code;
  }
  // The calendar `id`, read at first use around `nearDay`; null when it
  // does not exist (no KOR_CALENDARS row) or a statement failed (failure
  // then set).
  WorkCalendar* calendarFor(const std::string& id, int nearDay);
  // The resource `id` with its load, read at first use; null only when a
  // statement failed.
  Resource* resourceFor(const std::string& id);
  // Takes a placement's minutes off its resource's load (pending or
  // booked, as it stands).
  void unload(const Placement& p);
};

// The run's state on this connection, bound to `store` for one procedure
// call: the scope sets store and clears failure, and unbinds at its end.
class CallScope {
 public:
  CallScope(Backend& backend, db::Store& store);
  ~CallScope();
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;
  LevellingState& state() { return state_; }

 private:
  LevellingState& state_;
};

// Text forms: "YYYY-MM-DD" of a day, "YYYY-MM-DD HH:MM:00.000000" of a day
// and a slot (slot 288 is 24:00 of that day).
std::string dayText(int day);
std::string stampText(int day, int slot);

// Reading procedure arguments whatever host variable kind they come in:
// null reads as "" and 0; a number argument given as text is parsed
// (leading blanks, a sign, digits; anything else reads as 0).
std::string argText(const db::HostVar& v);
int64_t argInteger(const db::HostVar& v);

}  // namespace host::levelling

#endif  // LEVELER_HOST_LEVELLING_STATE_H
