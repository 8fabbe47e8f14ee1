// The demo portfolio: a small but complete portfolio that shows what the
// leveler does, written into a database through the store in one
// transaction (committed with LEVEL_COMMIT at the end).
//
// What it holds:
// - The portfolio folder PF_DEMO ("Demo portfolio") under the top node
//   PF_TOP ("Demo company"), listing three projects: DEMO_OFFICE ("Office
//   move"), DEMO_WEB ("Web shop") and DEMO_PLANT ("Plant upgrade"), the
//   last with two sub-projects (DEMO_PLANT_MECH, DEMO_PLANT_ELEC). The
//   office move has three levels of containers above its first tasks.
// - A project outside the portfolio, DEMO_VENDOR ("Machine vendor"), whose
//   shipping task precedes the plant's installation.
// - Dependencies of the four stored kinds (0 finish-to-start, 1
//   start-to-start, 2 finish-to-finish, 3 start-to-finish) with lags and
//   leads of whole working days (AMOUNT in working minutes, 480 to the
//   day; LEAD_OR_LAG_TYPE 1 for a lead), a container as predecessor, two
//   dependencies between projects of the portfolio and the one from the
//   outside project.
// - Constraints: finish no later than (3), start no earlier than (6),
//   start no later than (7) and finish no earlier than (2), dated in
//   working days from the portfolio's start.
// - Twelve resources (RESOURCES with MAX_UNITS and CALENDAR_ID): the
//   installation crew is a team of three (MAX_UNITS 30000), one engineer
//   works half time (5000), one works a four-day week (calendar
//   CAL_4DAY, Monday to Thursday); the others work on CAL_STD.
// - Calendars: a base calendar CAL_BASE with the public holidays (1
//   January, 1 May, 25 and 26 December) as exceptions, and one calendar per
//   project plus CAL_STD and CAL_4DAY, each with a row per day from 200
//   days before the start to 1400 days after it. Working days: 08:00-12:00
//   and 13:00-17:00 (480 minutes).
// - Assignments (TASK_ASSIGNMENTS) with one TASK_DAY_OF_YEAR row per
//   assignment and working day; tasks wholly before the reporting day are
//   finished and those that straddle it are in progress, with their work
//   reported (actual start and finish, work to date, ACTUAL_FLAG 1 days);
//   their assignments are scheduled from the estimate to complete
//   (BIT_FLAG 2), as levelling expects of work already under way.
// - The projects of the portfolio listed as a what-if scenario
//   (NAV_SCENARIOS), so that the what-if run kinds have something to work
//   on.
//
// Dates: everything is placed relative to the reporting day `today` (the
// day work was reported up to, by default the current day): the portfolio
// starts on the Monday three weeks before the Monday of that day's week.
// Item dates are a plain estimate in working days; the runs recompute them.
//
// Results: 0, or the negative status of the first failing statement (then
// nothing is committed; the caller closes the store, which rolls back).
#ifndef LEVELER_CLI_DEMO_PORTFOLIO_H
#define LEVELER_CLI_DEMO_PORTFOLIO_H

#include <cstdint>
#include <string>

#include "store/store.h"

namespace cli {

inline constexpr const char* kDemoFolderId = "PF_DEMO";
inline constexpr const char* kDemoFolderName = "Demo portfolio";

struct DemoOptions {
  std::string today;  // YYYY-MM-DD; empty: the current local day
};

struct DemoSummary {
  std::string start;  // first day of the portfolio, YYYY-MM-DD
  std::string today;  // the reporting day
  int projects = 0;   // KOR_WBS project rows, the outside one too
  int tasks = 0;
  int containers = 0;
  int resources = 0;
  int assignments = 0;
  int dependencies = 0;
  int finishedTasks = 0;
  int inProgressTasks = 0;
};

// True when the database already holds the demo's folder.
int32_t demoPresent(db::Store& store, bool& present);

// Writes the demo and commits. On failure `error` says which statement.
int32_t writeDemoPortfolio(db::Store& store, const DemoOptions& options, DemoSummary& summary,
                           std::string& error);

}  // namespace cli

#endif  // LEVELER_CLI_DEMO_PORTFOLIO_H
