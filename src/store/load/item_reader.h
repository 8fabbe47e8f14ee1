// The item reader of the load phase: every WBS item of the projects of one
// root, with the dependencies that touch them, turned into item records
// linked to their parents, children, successors and predecessors, plus
// placeholder records for the items of other projects that precede them.
//
// Two passes per project. The first fetches the item query (three row
// kinds, ordered by RANK, ROW_TYPE, WBS_RANK_ORDER: 1 an item; 205 an
// outside predecessor of the item before it; 206 a successor of that item),
// checks and normalises each row and writes it to the work table
// Lev_input_data; the second reads Lev_input_data back in the same order
// and builds the records.
//
// Units: dates are day numbers relative to julianDateOrigin; times of day
// are minutes after midnight read from the "HH:MM" of a time stamp and
// rounded to 5 minutes as (m + 2) / 5 * 5 (08:02 -> 480, 08:03 -> 485);
// lags, efforts and durations in the rows are working minutes; the
// records' offsets are minutes from the start day's first working minute
// and to the finish day's last one.
//
// Dependency codes: the store's DEP_TYPE (0 finish-to-start, 1
// start-to-start, 2 finish-to-finish, 3 start-to-finish) becomes the record's
// type through map_Dep = {1, 3, 0, 2}; a lag with LEAD_OR_LAG_TYPE non-zero
// is a lead, stored as -AMOUNT.
//
// Ownership: activities_list owns every record created here (on success
// the outside predecessors created here go to its head as well; they are
// also listed, not owned, in ext_pred_list). ext_projects_list owns the
// outside projects read here. On a failure the outside predecessors created
// by this call are taken out of ext_pred_list and deleted; items already in
// activities_list stay there for the caller's clean-up.
//
// Lookups are hash maps built once per call (records by name, outside
// predecessors by name, the run's projects by name), so the reader is
// linear in the rows.
//
// Results: 0; a negative SQL status; the codes of the data errors:
//   D-17 200215  D-18 200143  D-19, D-21 200144  D-22 200145
//   successor of an outside predecessor not created 200146
//   predecessor not created 200147 (also D-26)
//   parent not set 200149  D-25 200150  child not set 200151
//   project of the sequence id not found ("could not match seq_uid") 200216
//   D-35 200148 (see below)
// D-19, D-21, D-25 and D-35 are also notified to the user, provided the
// caller's message buffer (16385 bytes) has more than 5000 bytes free. D-20,
// D-23 and D-24 are printed and the row goes on.
//
// Choices:
// - The container table holds levels 0 to 63. An item row whose LEVEL_ID is
//   64 or more, negative or null is refused before the table is touched:
//   message D-35 ("error type: WBS deeper than 64 levels, illegal
//   level_id"), code 200148 (free in the loader's 2001xx block), notified
//   as D-25.
// - A project's own row is a row of a project type whose ELEMENT_ID is its
//   PROJECT_ID. It is the root's row when that id is the root's, the
//   current sub-project's row when it is the project being read; any other
//   (a sub-project's row seen from its parent's query) only takes its place
//   in the container table, so that no project gets two records.
// - A sub-project's row takes its parent from its PARENT_ID (the table of
//   containers still holds the previous project's items at that point);
//   the container table is the fallback when that parent has no record.
// - The first pass replaces only the date part of the unresolved start and
//   finish by START_DT/FINISH_DT and keeps the time of day.
// - A row "has a constraint date" for the LEV_KOR_WBS update when the date
//   is present and is not the stand-in "1899-12-30".
// - The effort rules for actual work apply to a task that has an actual
//   start (without one nothing was done, and D-24 would flood the log).
// - A DEP_TYPE outside 0..3 (or null) is read as finish-to-start; a null
//   AMOUNT as no lag.
// - An unreadable unresolved start or finish date is refused as D-21.
// - D-26 ends the walk with 200147.
// - An item row whose record name is already taken by a record of this call
//   (an item listed under two projects) only takes its place in the
//   container table.
#ifndef LEVELER_STORE_LOAD_ITEM_READER_H
#define LEVELER_STORE_LOAD_ITEM_READER_H

#include <cstdio>

#include "calendar/project.h"
#include "model/linked_list.h"

inline constexpr int LOAD_ERR_PROJECT_RANK = 200143;       // D-18
inline constexpr int LOAD_ERR_UNRESOLVED = 200144;         // D-19, D-21
inline constexpr int LOAD_ERR_NOT_EXTERNAL = 200145;       // D-22
inline constexpr int LOAD_ERR_EXT_SUCC = 200146;
inline constexpr int LOAD_ERR_PRED = 200147;               // and D-26
inline constexpr int LOAD_ERR_WBS_TOO_DEEP = 200148;       // D-35
inline constexpr int LOAD_ERR_PARENT = 200149;
inline constexpr int LOAD_ERR_LOST_PARENT = 200150;        // D-25
inline constexpr int LOAD_ERR_CHILD = 200151;
inline constexpr int LOAD_ERR_EXT_PROJECT = 200153;
inline constexpr int LOAD_ERR_PROJECT_SEQ_UID = 200216;
inline constexpr int LOAD_MAX_WBS_LEVELS = 64;

int doReadActivitiesSuccDB(linked_list_type* activities_list, linked_list_type* projects_list,
                           linked_list_type* ext_projects_list, linked_list_type* ext_pred_list,
                           linked_list_type* tmp_projects_list, int* tasksTotalCount,
                           storage_manager_type* smanager, long julianDateOrigin,
                           int daysToAdvanceFromStartFinishDate, int optimizeParentChild,
                           int optimizeExceptions, int optimizeDepPred, int considerConstraints,
                           int optionConsiderUidsLengthSupr, int optionResourceCalTakesPrec,
                           char* p_workflow_id, char* p_message, char* p_subject,
                           char* p_element_id_p, char* p_rec_user, int p_root_table_type,
                           int PRINT_OPTION, int D_OPTION, FILE* file);

// Gives `act` (an activity_type) the successor (resp. predecessor)
// succ_name of type `type` with the lag -amount (lead_or_lag non-zero) or
// +amount: 0 when created, error_code when the item already has it.
int parseDependencySuccDB(void* act, char* succ_name, int type, int isExternal, int lead_or_lag,
                          int amount, FILE* file, int error_code);
int parseDependencyPredDB(void* act, char* succ_name, int type, int isExternal, int lead_or_lag,
                          int amount, FILE* file, int error_code);

// The item query's text, for plan checks. Bound, in order, to: the
// project id twice; the root's RANK followed by "%", the project id, the
// pattern again; the pattern, the project id.
const char* itemReaderQueryText();

#endif  // LEVELER_STORE_LOAD_ITEM_READER_H
