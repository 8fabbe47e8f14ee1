// Writing schedule results: the levelled dates, levelled duration, total
// slack and level index of every item into the work table Lev_kor_wbs (a
// project record of the pair writer straight into KOR_WBS), and the items of
// circular or sub-optimal chains into Lev_circ_1 .. Lev_circ_3.
//
// Two forms of each writer: the list form walks the item list (start and
// finish nodes, its first and last entries, excluded) and writes each item
// under its own name; the pair form (suffix _2) walks the pairs of
// Lev_act_uids of one TYPE_ID and writes the item named by the sequence id
// under the pair's element id. Outside items (isExternalSucc or
// isExternalPred set) are never written. The full pair writer has no caller
// in the engine and is not provided.
//
// Values (per item):
//   LEVEL_START / LEVEL_FINISH  "YYYY-MM-DD HH:MM:00.000000": the start day at
//       its working start + offset_start_time, the finish day at its working
//       end - offset_finish_time (the item's calendar view); an item with an
//       actual finish gets its stored actual start and finish time stamps.
//   LEVEL_DURATION  effort (minutes) when above 5, else 0; for a container or
//       project record without actual finish the effort is first replaced by
//       the working minutes of its calendar between its start and finish.
//   TOTAL_SLACK  full writer: slack (minutes); slack writers: 1 for an item
//       with an actual finish, else the slack, 0 when below 6 minutes.
//   LEVEL_INDEX  task_level_order; -1 when negative or actually finished.
//
// Commits: each writer counts the rows it writes; when the count reaches its
// interval (300 doUpdateActivitiesInDB; 400 the slack writers; 5000 the
// level-index writers) it calls the host's LEVEL_COMMIT before writing that
// row and counts from 0 again. So 299 rows commit nothing, the 300th row is
// written after the first commit. The circular-items writer never commits.
//
// Results: 0, or error_code_base (callers pass 200208) when a statement
// fails, when no store is bound to the thread, or when the list holds a null
// record; the container-effort computation cannot fail here. Rows written
// before a failure stay in the transaction. Every message goes to `file`
// (null: nothing is printed).
//
// Layering: this unit uses the calendar lookups of the item's project; it
// does not use the scheduling primitives. The working minutes between two
// moments are summed here over the days in between (see containerEffort in
// the .cc).
//
// Choices: a failed LEVEL_COMMIT ends a writer like a failed update; in
// doUpdateTEMPcircular the running number SEQ_NUM_RECORDS counts the rows
// inserted (items without a KOR_WBS row are skipped and not numbered), the
// project of an item without one is the empty name, and a select that fails
// with a negative status ends the writer with error_code_base. Items without
// a project are stamped as if their days ran from 00:00 to 24:00.
#ifndef LEVELER_STORE_RESULT_WRITERS_H
#define LEVELER_STORE_RESULT_WRITERS_H

#include <cstdint>
#include <cstdio>

#include "model/activity.h"
#include "model/linked_list.h"

inline constexpr int RESULT_ROWS_PER_COMMIT_FULL = 300;
inline constexpr int RESULT_ROWS_PER_COMMIT_SLACK = 400;
inline constexpr int RESULT_ROWS_PER_COMMIT_INDEX = 5000;

// Writes "YYYY-MM-DD HH:MM:00.000000" for the item's start (start day at its
// working start + offset_start_time) and finish (finish day at its working
// end - offset_finish_time) into two buffers of at least 27 bytes.
void formatActivityLevelStamps(const activity_type* act, long julianDateOrigin, char* start_stamp,
                               char* finish_stamp);

// Working minutes of the item's calendar view from its start (start day,
// working start + offset_start_time) to its finish (finish day, working end -
// offset_finish_time); 0 when the finish is not after the start.
int32_t workingMinutesOfPlacement(const activity_type* act);

int doUpdateActivitiesInDB(linked_list* activities_list, long julianDateOrigin, void* smanager,
                           int optionUpdateSlackValues, int optionResetContainers,
                           int optionConsiderUidsLengthSupr, int PRINT_UPDATE_OPTION, FILE* file,
                           int error_code_base);

int doUpdateActivitiesSlackValuesInDB(linked_list* activities_list, void* smanager,
                                      int PRINT_UPDATE_OPTION, FILE* file, int error_code_base);
int doUpdateActivitiesSlackValuesInDB_2(linked_list* activities_list, void* smanager,
                                        int fetch_type_id, int PRINT_UPDATE_OPTION, FILE* file,
                                        int error_code_base);

// With optionConsiderUidsLengthSupr set, hands the work to the pair form with
// TYPE_ID 2.
int doUpdateLevelIndexOnly(linked_list* activities_list, int optionConsiderUidsLengthSupr,
                           int PRINT_UPDATE_OPTION, FILE* file, int error_code_base);
int doUpdateLevelIndexOnly_2(linked_list* activities_list, int fetch_type_id,
                             int PRINT_UPDATE_OPTION, FILE* file, int error_code_base);

// Inserts the items of the list into Lev_circ_1 (mode 1), Lev_circ_2 (mode
// 2) or Lev_circ_3 (any other mode): running number, WBS_CODE (read from
// KOR_WBS by the item's project and name), name, item type, WBS level.
int doUpdateTEMPcircular(linked_list* tmp_sub_optimal_list, int mode, FILE* file,
                         int error_code_base);

#endif  // LEVELER_STORE_RESULT_WRITERS_H
