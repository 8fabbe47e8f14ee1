// Reading the resource assignments of the run's tasks and their day work
// (doReadAssignmentsUnderProjectsDB): one work_type record per (assignment,
// task) pair, attached to its assignment_type (one per resource) and listed
// on the task.
//
// Two passes per project. The first fetches the project's rows of
// TASK_ASSIGNMENTS (proposed and remaining work derived in the query),
// rounds the work amounts to 5 minutes, replaces nulls by fixed texts with
// their indicators kept beside them, and writes the rows to the work table
// Lev_input_ass_data. The second reads them back in the same order and
// builds the records, reading each assignment's days from TASK_DAY_OF_YEAR.
//
// Ownership: the assignments appended to assignments_list belong to that
// list (the caller releases them with assignmentDelete); their work records
// belong to the assignments; tasks only list their assignments. Items and
// projects are the caller's and are only changed (flags, assignment lists).
//
// Units: dates are day numbers relative to the projects' julianDateOrigin;
// times are minutes after midnight; work, remaining work, durations and
// delays are working minutes, rounded to a multiple of 5 as (x + 2) / 5 * 5.
//
// Names: with optionConsiderUidsLengthSupr the project records are named by
// their sequence ids (translated back to element ids for the queries), the
// tasks by their item sequence ids (looked up, never created) and the
// assignments by resource sequence ids (created when missing); otherwise the
// element and resource ids are the names.
//
// Cost: linear in rows. Tasks and assignments are found through hash maps
// built once per call (by record name); each assignment's days are one
// range of the (PROJECT_ID, TSK_ASSIGNMENT_ID, DAY_YEAR) index.
//
// Result: 0; a negative SQL status (after "error (1) in
// Lev_resolveDepOracleDB (doReadAssignmentsUnderProjectsDB)"); 200215 when a
// project's sequence id cannot be translated back (D-27); 200216 when a
// task's or a resource's sequence id cannot be found; 200045 after D-28,
// D-29, D-31 or D-32. An exception thrown below is logged once with
// "throw exception to upper level" and re-thrown. The store is the one bound
// to the calling thread (db::currentStore()); without one the result is
// db::kSqlNoConnection.
//
// Notification of data errors: D-28 to D-32 and D-34 are also sent to the
// requesting user (FC_SEND_NOTIFY, subject "[Started] " + p_subject, text
// the message with the "contact" line, then the message collected so far),
// but only when p_message (16385 bytes) has more than 5000 bytes free; the
// text is cut to fit the buffer, never written past it.
//
// Choices:
// - D-33 (an actual finish later than the last submitted date) and D-34 (a
//   first scheduled day outside the task's dates) are reported and the row
//   is processed on: both describe dates the store already holds and the
//   schedule can still be computed from the remaining values; stopping the
//   whole run for them would refuse to level projects whose history is
//   slightly inconsistent. D-33 goes to the log only, D-34 also to the user.
// - A time stamp of UNRESOLVED_START or UNRESOLVED_FINISH that cannot be
//   read (not a "YYYY-MM-DD HH:MM..." text) is treated like a missing one:
//   D-29, code 200045.
// - A null number of a row (work amounts, contour, units, delay) counts as 0.
// - When the working time of a contoured assignment cannot be computed
//   ("error(2) in doReadAssignmentsUnderProjectsDB"), its duration falls
//   back on the remaining-work rule.
// - The actual finish is cleared on the task, on the record of the task's
//   project and on every record above that one, following each record's
//   first parent name, up to and including the record whose parent is the
//   start node (or that has no parent, or is not in the list).
// - The note on a missing last submitted date is a trace (PRINT_OPTION);
//   D_OPTION traces every row read back.
#ifndef LEVELER_STORE_LOAD_ASSIGNMENT_READER_H
#define LEVELER_STORE_LOAD_ASSIGNMENT_READER_H

#include <cstdio>

#include "calendar/project.h"
#include "model/linked_list.h"

inline constexpr int ASS_READ_ERR_DATA = 200045;        // D-28, D-29, D-31, D-32
inline constexpr int ASS_READ_ERR_PROJECT_UID = 200215;  // D-27
inline constexpr int ASS_READ_ERR_TASK_UID = 200216;     // no sequence id for a task
// Free room of the message buffer below which data errors are not notified.
inline constexpr int ASS_READ_NOTIFY_MIN_FREE = 5000;

int doReadAssignmentsUnderProjectsDB(linked_list_type* activities_list,
                                     linked_list_type* projects_list,
                                     linked_list_type* assignments_list,
                                     storage_manager_type* smanager,
                                     int optionConsiderUidsLengthSupr,
                                     int optionResourceCalTakesPrec, const char* START_NODE_NAME,
                                     const char* FINISH_NODE_NAME, char* p_workflow_id,
                                     char* p_message, const char* p_subject,
                                     const char* p_element_id_p, const char* p_rec_user,
                                     int p_root_table_type, int PRINT_OPTION, int D_OPTION,
                                     FILE* file);

#endif  // LEVELER_STORE_LOAD_ASSIGNMENT_READER_H
