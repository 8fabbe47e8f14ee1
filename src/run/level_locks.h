// Locks of a run: the check that decides whether an element may be
// levelled at all (and releases locks left by runs that died), the locking
// of the selected projects when the run starts its work, the record of the
// run in PROJECT_DETAILS, and the release of the levelling lock at its end.
//
// Two marks carry the lock state in the database:
// - PROJECT_DETAILS.LEVEL_LOCK: 0 free, 1 taken by a calculating or
//   levelling run, 10 reserved by a what-if scenario run;
// - KOR_WBS.REC_STATUS of a project's rows: 'L' locked (by a run or by
//   import/export), 'U' unlocked, 'T' templated (a template operation owns
//   the item), 'D' deleted; KOR_PORTFOLIOS.REC_STATUS 'L'/'U' for a folder.
// PROJECT_DETAILS.SCENARIO_DATETIME says when a lock was taken. A lock is
// stale when it is strictly more than 120 minutes old, the age being the
// database's whole minutes between SYSTIMESTAMP() and the recorded time
// (truncated: 120 minutes 59 seconds is still 120). The check releases
// stale locks: LEVEL_LOCK back to 0 and the 'L' rows back to 'U'.
//
// Time stamps are 26-character texts "YYYY-MM-DD HH:MM:SS.ffffff" read from
// the database's SYSTIMESTAMP(); the engine never reads the clock itself.
//
// All statements run on the run's connection, db::currentStore(). Nothing
// here commits except the two "call LEVEL_COMMIT() into ?" after the
// levelling lock is set (and the notifications, which commit as they send).
//
// Choices:
// - Where one lock decides ("the first row"), the oldest lock is taken
//   (order by SCENARIO_DATETIME, then PROJECT_ID), so the answer does not
//   depend on the order rows happen to be stored in. A lock without a
//   recorded time counts as taken now: it sorts after every dated lock and,
//   when it is the one that decides, it blocks (the same rule as a lock
//   whose row cannot be found, for which the current time is used).
// - Outside a what-if run, when a project under the element carries the
//   scenario value 10, the check neither releases nor blocks: it goes on to
//   the template test, and the driver's scan of the project list then
//   finds the non-zero LEVEL_LOCK and ends the run with 200114.
// - The template test of a scenario runs over the ranks of its projects'
//   own rows, not of every item: an item's rank begins with its project's,
//   so the answer is the same with one test per project instead of one per
//   item.
// - A portfolio folder whose top-level node (type 13) is missing is checked
//   with an empty owner: its own projects are still checked, the owner
//   contributes none.
// - The work table Lev_tmp_locked is emptied on every way out of the check
//   but a failed statement, and NAV_TMP_PROJECTS_00_x at the end of a
//   folder check, whatever its result (the finalisation finds the locking
//   run in PROJECT_DETAILS, not there).
// - A folder whose project list cannot be built (LEV_PORTF_PRJ_2 fails)
//   is reported as not existing (200004), with the failure's own line.
// - The run:: functions return a negative status without writing the SQL
//   failure line: that line is the driver's (run::logSqlFailure).
//
// Amended rule: the lock decision is atomic. As first written, the check
// (LEV_IS_LEVEL_LOCKED, then the scan of the project list) only reads
// LEVEL_LOCK, and the lock is set later, after the record locks and a
// progress notification that commits. Two runs started at the same moment
// on overlapping projects could both read "free" before either had set
// anything, and both went on: on PostgreSQL, where two connections work at
// once, the second then failed later with 200219 (the other run's 'L'
// rows) or levelled the same projects twice. On SQLite the write lock
// taken at BEGIN already serialises whole runs, so the window was only
// PostgreSQL's; the rule below holds on both. Once the project list is
// built and scanned free, run::claimListedProjects
//   1. touches the PROJECT_DETAILS rows of the listed projects (an update
//      that changes nothing): this takes their row locks, and waits while
//      another run holds them, i.e. until that run's next commit, which
//      publishes its LEVEL_LOCK;
//   2. reads LEVEL_LOCK of those rows again, now that nobody else can
//      change them: a run lock (or for a run outside a what-if scenario,
//      any lock) means another run won, and the run ends with 200114
//      exactly as when the scan finds a lock;
//   3. otherwise sets LEVEL_LOCK = 1 over the list at once (outside a
//      what-if run; run.level_lock becomes kLevelLockHeld) while still
//      holding the rows, so that whatever commits next publishes the lock.
//      recordRunAndSetLevelLock sets it again and commits, as before.
// So of two runs started together on overlapping projects exactly one
// proceeds and the other returns 200114. Because the lock is now taken
// before the record locks, lockSelectedProjects gives it back (LEVEL_LOCK
// = 0 over the list) before it refuses with 200219, since that exit skips
// the finalisation's reset. A what-if run keeps setting its scenario value
// 10 where it did; step 3 is not done for it (the value 10 never excluded
// another what-if run anyway), steps 1 and 2 are. Two claims over
// overlapping lists take their rows in the same (table) order; should the
// server still find a deadlock, one run fails with a negative status
// rather than waiting forever.
#ifndef LEVELER_RUN_LEVEL_LOCKS_H
#define LEVELER_RUN_LEVEL_LOCKS_H

#include <cstdio>

#include "run/run_state.h"

// Decides whether `element_id` (a WBS item, a portfolio folder, or for
// optionFlag 4 and 6 the what-if scenario whose projects are in
// NAV_SCENARIOS) may be processed. *isFolderWithinPortfolio (may be null)
// becomes 1 for a portfolio folder, else 0. Returns 0 (free), 200004 (no
// such WBS item or folder), 200114 (locked, not stale), 200319 (templated
// items under the element) or a negative status; the result is also left
// as the connection's status code. Log lines go to `file` (may be null).
int LEV_IS_LEVEL_LOCKED(const char* element_id, int optionFlag, int* isFolderWithinPortfolio,
                        FILE* file);

namespace run {

// Takes the record locks of the projects listed in NAV_TMP_PROJECTS_00:
// refuses with 200219 (after the "[Failed] " notification) when one of
// their rows is already 'L' while its project is not reserved by a
// scenario (import/export holds it); otherwise marks their KOR_WBS rows
// 'L' for run.rec_user, and a portfolio folder's node (outside a what-if
// run), sets run.allProjectsAreLockedByMe and sends the progress message.
// Returns 0, 200219 or a negative status.
int lockSelectedProjects(RunState& run, FILE* file);

// Makes the lock decision atomic (see "Amended rule" above), after the
// project list NAV_TMP_PROJECTS_00 is built and scanned. Does nothing
// unless run.level_lock is kLevelLockFree. Sets run.level_lock to
// kLevelLockFoundLocked when another run holds one of the listed projects,
// to kLevelLockHeld when this run took the run lock. Returns 0 or a
// negative status.
int claimListedProjects(RunState& run, FILE* file);

// Records the run in PROJECT_DETAILS of every listed project:
// LEVEL_LAST_CALL_OPTION the run kind (1 for kinds 0 and below),
// SCENARIO_NAME run.element_name (run.root_node_name when the caller gave
// no name), SCENARIO_USER_ID run.rec_user, SCENARIO_DATETIME the
// database's SYSTIMESTAMP(); then sets the levelling lock and commits:
// the scenario value 10 over NAV_SCENARIOS for a what-if run that found no
// lock (run.level_lock = 10), otherwise, unless run.level_lock is already
// 10, LEVEL_LOCK = 1 over NAV_TMP_PROJECTS_00 (run.level_lock = 2).
// Returns 0 or a negative status.
int recordRunAndSetLevelLock(RunState& run, FILE* file);

// The release at the end of a run's work: CALCULATE_FLAG 2 after a
// levelling run (kinds 0 and 4), 1 after a calculation (kind 3), 0 for
// other kinds, with LEVEL_LOCK back to 0 when this run holds it
// (run.level_lock == 2); the copy kinds 2 and 6 only release the lock.
// Does not commit (the finalisation does). Returns 0 or a negative status.
int resetLevelLockAtEnd(RunState& run, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_LEVEL_LOCKS_H
