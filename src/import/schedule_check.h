// An independent check of a levelled schedule, read back from the store
// after a levelling run: how long it is, whether any resource works beyond
// its capacity on any day, and whether every dependency holds. It uses none
// of the engine's scheduling code, only the rows a run leaves:
// - KOR_WBS LEVEL_START / LEVEL_FINISH of every item of the projects (time
//   stamps "YYYY-MM-DD HH:MM:SS.ffffff");
// - LEVEL_TASK_DAY_OF_YEAR: the minutes (SCHED_MIN) each assignment of the
//   projects works on each day, with its RESOURCE_ID;
// - RESOURCES MAX_UNITS (hundredths of a percent of one person's day; null:
//   10000) and CALENDAR_ID (null: the calendar of the row's project);
// - DEPENDENCIES between items of the projects, with DEP_TYPE (0 finish-to-
//   start, 1 start-to-start, 2 finish-to-finish, 3 start-to-finish) and the
//   lag in working minutes (AMOUNT; LEAD_OR_LAG_TYPE 1: a lead, negative).
//
// Units and rules:
// - Times are placed on a calendar as working minutes from an origin (the
//   earliest START_FINISH_DATE of the projects, at 00:00): the minutes of
//   the five-minute working slots before them (CALENDAR_DAY_OF_YEAR rows of
//   the calendar, the weekday patterns of KOR_CALENDARS for days without a
//   row). A time inside a non-working gap sits at the end of the work
//   before it, so Monday 17:00 and Tuesday 08:00 are the same position.
// - A dependency holds when, on the successor's project calendar, the
//   successor's start (SS, FS) or finish (FF, SF) is no earlier than the
//   predecessor's finish (FS, FF) or start (SS, SF) plus the lag.
//   Dependencies with an end outside the projects are not checked.
// - A resource is within capacity on a day when the minutes of the
//   projects' rows for it that day are at most MAX_UNITS x the day's
//   working minutes / 10000.
// - Within a day, the same rows' BIT_SCHED tell in which five-minute slots
//   each assignment works, at its UNITS_MSP (TASK_ASSIGNMENTS; null:
//   10000): a slot of a resource is over capacity when the units working in
//   it add up to more than MAX_UNITS. The leveller's capacity rule is the
//   day's minutes, so a day within capacity may still have such slots (a
//   task started at noon on a day whose morning was taken); they are
//   counted apart (slotOverloadedDays) and do not make the schedule
//   infeasible. For a resource-constrained benchmark they are the periods
//   where more people work at once than the resource has.
// - The makespan is the working minutes from the origin to the latest
//   LEVEL_FINISH of the projects' tasks and containers (on the first
//   project's calendar); in days: those minutes / 480, rounded up.
//
// Result: 0, or the negative status of a failing statement (with `error`).
#ifndef LEVELER_IMPORT_SCHEDULE_CHECK_H
#define LEVELER_IMPORT_SCHEDULE_CHECK_H

#include <cstdint>
#include <string>
#include <vector>

#include "store/store.h"

namespace import {

struct ScheduleCheck {
  int items = 0;                 // tasks and containers of the projects
  int unscheduled = 0;           // of them without LEVEL_START or LEVEL_FINISH
  std::string latestFinish;      // the latest LEVEL_FINISH
  int64_t makespanMinutes = 0;   // working minutes, origin to latestFinish
  int makespanDays = 0;          // makespanMinutes / 480, rounded up
  int64_t resourceDays = 0;      // (resource, day) pairs with levelled work
  int overloadedDays = 0;        // of them above capacity
  int64_t worstExcessMinutes = 0;
  int slotOverloadedDays = 0;    // (resource, day) pairs with a slot above MAX_UNITS
  int64_t worstSlotExcessUnits = 0;
  int dependencies = 0;          // checked
  int precedenceViolations = 0;
  std::vector<std::string> problems;  // the first 20, one line each

  bool feasible() const {
    return unscheduled == 0 && overloadedDays == 0 && precedenceViolations == 0;
  }
};

int checkSchedule(db::Store& store, const std::vector<std::string>& projectIds,
                  ScheduleCheck& out, std::string& error);

}  // namespace import

#endif  // LEVELER_IMPORT_SCHEDULE_CHECK_H
