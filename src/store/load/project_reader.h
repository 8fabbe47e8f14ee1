// The project reader of the load phase: one root project with all its
// sub-projects (doReadProjectsDB), and one project that lies outside the
// run but holds a predecessor of one of its items (doReadExternalProjectDB).
//
// Each project record gets its identity, priority, start, finish and
// create dates and its working calendar, read from the run's first day
// minus daysToAdvanceFromStartFinishDate and widened to cover the project's
// own span (its finish plus 400 days).
//
// Units: every date kept is a day number relative to julianDateOrigin (a
// Julian day number); the store gives dates as "YYYY-MM-DD" texts.
//
// Ownership: doReadProjectsDB appends the root and its sub-projects to
// local_projects_list, which then owns them. A sub-project that is also one
// of the run's roots is taken out of input_projects_list (so that it is not
// read twice) and moved to local_projects_list; otherwise a new record is
// created. On a failure a record created here is deleted and a record taken
// from input_projects_list is given back to it. doReadExternalProjectDB fills
// the caller's record and creates nothing.
//
// Results: 0; a negative SQL status; 200138 for the data errors D-7 to D-11
// (each printed; one notification of the run carries them all); the
// caller's error_code_base for D-12 and D-13 (printed, not notified); the
// calendar readers' codes (200141, 200142) and the sequence-id code 200215
// unchanged.
//
// Choices: when the root project has no row (D-7), the RANK, PRIORITY and
// date checks (D-8, D-9) are not made, as there is nothing to test. The
// notification for D-7 to D-9 is sent once, with every failing message.
#ifndef LEVELER_STORE_LOAD_PROJECT_READER_H
#define LEVELER_STORE_LOAD_PROJECT_READER_H

#include <cstdio>

#include "calendar/project.h"
#include "model/linked_list.h"

inline constexpr int LOAD_ERR_PROJECT_DATA = 200138;      // D-7 .. D-11
inline constexpr int LOAD_ERR_PROJECT_CALENDAR = 200141;  // calendar read
inline constexpr int LOAD_ERR_BASE_EXCEPTIONS = 200142;   // base-calendar exceptions

int doReadProjectsDB(void* this_root_project, linked_list_type* input_projects_list,
                     linked_list_type* local_projects_list, storage_manager_type* smanager,
                     long julianDateOrigin, int daysToAdvanceFromStartFinishDate,
                     int optimizeExceptions, int optionConsiderUidsLengthSupr,
                     char* p_workflow_id, char* p_message, char* p_subject,
                     char* p_element_id_p, char* p_rec_user, int p_root_table_type,
                     FILE* file);

int doReadExternalProjectDB(void* this_project, long julianDateOrigin,
                            int daysToAdvanceFromStartFinishDate, int optimizeExceptions,
                            int optionConsiderUidsLengthSupr, FILE* file, int error_code_base);

#endif  // LEVELER_STORE_LOAD_PROJECT_READER_H
