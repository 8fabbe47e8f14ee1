// A textbook schedule of a scope, computed from the database rows the
// engine loads, to check the engine's results against: a plain critical-path
// forward and backward pass in whole working days, with nothing of the
// engine's own (no placement primitive, no roll-up family, no calendar
// record).
//
// Input (the rows of the simple generated shape, scope_generator.h):
// - KOR_WBS rows of the given projects (PROJECT_ID, REC_STATUS not 'D'):
//   an item with a project TYPE_ID (1, 154, 288, 289, 290) is a project
//   item, any other item with children is a container, the rest are tasks.
//   A task lasts SCHED_DURATION / MINUTES_PER_DAY working days (the effort
//   the item reader gives a task without assignments).
// - DEPENDENCIES whose two ends are both items of those projects (the others
//   are counted in `ignoredDependencies` and otherwise ignored): DEP_TYPE 0
//   finish-to-start, 1 start-to-start, 2 finish-to-finish, 3 start-to-finish;
//   the lag is AMOUNT working minutes, negated when LEAD_OR_LAG_TYPE is not
//   0, and must be whole days.
// - Each project's calendar: KOR_CALENDARS (weekday patterns, minutes per
//   day) and its CALENDAR_DAY_OF_YEAR rows. A day inside the span of the
//   rows takes its row, a day without a row inside that span has no work
//   (as the calendar reader fills gaps), a day outside it takes its weekday
//   pattern. A day with more than 5 available minutes is a working day.
//
// Conventions (in working days; day w is the w-th working day from the
// origin, the first working day on or after the earliest project bound):
// - A start point s is the beginning of working day s (its first working
//   minute), a finish point f the end of working day f - 1 (its last
//   working minute): a task of d days starting at s finishes at s + d.
// - Lower bound of every item: its project's start (START_FINISH_DATE of the
//   project's own row) or the "calculate as of" day, whichever is later,
//   moved to the next working day; and its parent's bound (a container's or
//   project's bound, including the one its own predecessors set, binds every
//   item under it). A task starts at the latest of its bound and what its
//   predecessors allow, with d its own days and L the lag in days:
//     finish-to-start  EF(p) + L        start-to-start  ES(p) + L
//     finish-to-finish EF(p) + L - d    start-to-finish ES(p) + L - d
//   (before the bound, a task starts at the bound: no item starts before the
//   project's start or the current date; a task without predecessors starts
//   at its bound, whatever dates its row holds).
// - A container or project item spans its children: ES = the earliest child
//   ES, EF = the latest child EF (and LS, LF likewise over the late dates).
//   As a successor it takes only finish-to-start and start-to-start (its
//   start bound, passed to everything under it); as a predecessor only
//   finish-to-start and finish-to-finish (its EF). Other kinds at a
//   container are listed in `problems` and ignored.
// - Backward: T = the latest EF of all items. Every item's late finish is at
//   most T, at most its parent's late-finish bound, and at most what each
//   successor allows (finish-to-start LS(s) - L, start-to-start LS(s) - L + d,
//   finish-to-finish LF(s) - L, start-to-finish LF(s) - L + d, d the
//   predecessor's days; for a container predecessor LS(s) - L or LF(s) - L);
//   LS = LF - d.
// - Total slack, in working minutes: a task's (LF - EF) x minutes per day;
//   a container's or project's the smallest slack among its children that
//   finish at its EF (the float of its latest-finishing work). Never
//   negative; below 6 minutes written as 0, as the result writers do.
// - Text forms as the result writers put them into Lev_kor_wbs:
//   LEVEL_START "YYYY-MM-DD HH:MM:00.000000" at the start point, LEVEL_FINISH
//   at the finish point; LEVEL_DURATION a task's effort (days x minutes per
//   day), a container's or project's working minutes from its start point
//   to its finish point (0 when 5 or below); TOTAL_SLACK the slack above.
//
// Not covered (listed in `problems`, the items they touch left as computed
// without them): different working days in the calendars of two projects
// of the scope, working days shorter or longer than MINUTES_PER_DAY,
// efforts or lags that are not whole days, tasks of no effort, dependency
// cycles. Actual work, constraints and assignments are not read: the scope
// must have none.
//
// Use, after a run over a generated simple scope (scope_generator.h):
//   auto s = textbook::computeSchedule(store, scope.projects, scope.asOf);
//   ASSERT_TRUE(s.problems.empty());
//   auto diff = textbook::compareWithTable(store, s, "KOR_WBS");
//   EXPECT_TRUE(diff.empty()) << textbook::describe(diff);
// (Lev_kor_wbs holds the results between the writers and the copy back into
// KOR_WBS; the run's clean-up empties it.)
#ifndef LEVELER_TESTS_SUPPORT_TEXTBOOK_SCHEDULE_H
#define LEVELER_TESTS_SUPPORT_TEXTBOOK_SCHEDULE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "store/store.h"

namespace textbook {

enum class Kind { kProject = 1, kContainer = 2, kTask = 3 };
const char* kindName(Kind kind);

struct Item {
  std::string id;
  std::string project;
  std::string parent;  // empty for a root project
  Kind kind = Kind::kTask;
  int days = 0;        // tasks: working days
  int es = 0, ef = 0;  // early start point, early finish point
  int ls = 0, lf = 0;  // late start point, late finish point
  int32_t slack = 0;   // working minutes
  std::string levelStart;
  std::string levelFinish;
  int32_t levelDuration = 0;
};

struct Schedule {
  std::vector<Item> items;  // per project in the order given, by RANK
  std::vector<std::string> problems;
  int64_t ignoredDependencies = 0;
  int finishPoint = 0;        // T
  std::string origin;         // working day 0, YYYY-MM-DD
  int32_t minutesPerDay = 0;  // of the first project's calendar
  std::vector<std::string> projects;

  const Item* find(std::string_view id) const;
  // The text of a start point (beginning of working day s) and of a finish
  // point (end of working day f - 1).
  std::string startText(int s) const;
  std::string finishText(int f) const;

  // Working days of the timeline (Julian day numbers) and each one's first
  // and last working minute.
  std::vector<int32_t> days;
  std::vector<int> firstMinute;
  std::vector<int> lastMinute;
  std::unordered_map<std::string, size_t> index;
};

// Reads the scope's rows and computes the schedule. `asOf` is the
// "calculate as of" day (a day or a time stamp; empty or 1899-12-30: none).
Schedule computeSchedule(db::Store& store, const std::vector<std::string>& projects,
                         const std::string& asOf);

struct Disagreement {
  std::string id;
  Kind kind = Kind::kTask;
  std::string column;    // LEVEL_START, ..., or "row" when the row is missing
  std::string expected;  // the textbook's value
  std::string found;     // the table's ("null" for a null)
};

// Reads LEVEL_START, LEVEL_FINISH, LEVEL_DURATION and TOTAL_SLACK of the
// schedule's items from `table` (Lev_kor_wbs after the run's writers, or
// KOR_WBS after the results were copied back) and lists every difference.
// A failing read is one disagreement with column "read".
std::vector<Disagreement> compareWithTable(db::Store& store, const Schedule& schedule,
                                           const std::string& table = "Lev_kor_wbs");

// "T0000012 (task) LEVEL_START: textbook 2025-01-08 08:00:00.000000, found
// 2025-01-09 08:00:00.000000"; the list form prints at most `limit` lines
// and a count of the rest.
std::string describe(const Disagreement& d);
std::string describe(const std::vector<Disagreement>& list, size_t limit = 40);

}  // namespace textbook

#endif  // LEVELER_TESTS_SUPPORT_TEXTBOOK_SCHEDULE_H
