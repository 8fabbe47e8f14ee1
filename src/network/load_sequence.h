// The load phase: from the list of root projects chosen for a run to the
// complete in-memory network. For each root project, in list order, the
// project with its sub-projects and calendars is read, then the items and
// dependencies of every project of that root (with placeholders for items
// of projects outside the run); then the calendars are widened to the run's
// range, each project is held at the run's "calculate as of" date by a
// fictive predecessor, and the parent/child tree and predecessor lists are
// completed between the start and finish nodes.
//
// Lists (all owned by the caller, the run driver):
//   input_projects_list  the root projects chosen for the run, with their
//                        current date and priority set (records created by
//                        the caller);
//   projects_list        every project loaded (roots and sub-projects, each
//                        once), the owner of the project records it holds;
//   act_tmp_list         every item record of the run, the owner of them;
//                        after the load the start node is at its head and
//                        the finish node at its tail;
//   root_act_list        a reference to the item of each root project;
//   ext_projects_list    projects outside the run (and the fictive
//                        project), owner of those records;
//   ext_pred_list        references to the placeholder items of outside
//                        projects (owned by act_tmp_list).
// A root project's item stays in act_tmp_list (its owner); root_act_list
// refers to it. A root that was already loaded as a sub-project of an
// earlier root is skipped; a sub-project's record taken from
// input_projects_list moves to projects_list (the reader takes it out).
//
// Units: day numbers relative to julianDateOrigin (the Julian day of
// 1950-01-01); phase times in seconds of processor time.
//
// par_time: eight entries (project reading, item reading and project list
// merging summed over the roots; calendar extension, inheritance of
// assignment counts, constraint alignment, children, dependencies).
//
// Choices:
// - The fictive predecessors: with exactly one root project every project
//   gets one (even one whose current date is already later), otherwise a
//   project gets one when the run's date is later than its current date, as
//   the users of a portfolio expect (a project planned to start later keeps
//   its start). Scenario runs (optionFlag 4) use each project's own current
//   date and number the fictive items fictive1, fictive2, ...
// - A "calculate as of" text whose first ten characters are not a date
//   ends the load with LOAD_ERR_CURRENT_DATE (200158) and a log line,
//   rather than holding the projects at an arbitrary day.
#ifndef LEVELER_NETWORK_LOAD_SEQUENCE_H
#define LEVELER_NETWORK_LOAD_SEQUENCE_H

#include <cstdio>

#include "calendar/project.h"
#include "model/linked_list.h"

inline constexpr int LOAD_DAYS_BEFORE_START_FINISH = 120;  // calendar read from here
inline constexpr int LOAD_INDEX_THRESHOLD = 33;            // tasks before indexing
inline constexpr int LOAD_PHASE_TIMES = 8;
inline constexpr int LOAD_ERR_CHILDREN = 200171;      // the parent/child tree failed
inline constexpr int LOAD_ERR_CURRENT_DATE = 200158;  // the run's date is not a date

int readAndLoadDataForMultipleProjectsFromTheRootDB(
    linked_list_type* input_projects_list, linked_list_type* act_tmp_list,
    linked_list_type* root_act_list, linked_list_type* projects_list,
    linked_list_type* ext_projects_list, linked_list_type* ext_pred_list, int* tasksTotalCount,
    storage_manager_type* sm, int isFolderWithinPortfolio, int optionFlag, int optionUseIndexes,
    int optimizeExceptions, int considerConstraints, int optionConsiderUidsLengthSupr,
    int optionMoveProjSFDate, int optionResourceCalTakesPrec, const char* currentDate,
    char* p_workflow_id, char* p_message, char* p_subject, char* p_element_id_p,
    char* p_rec_user, int p_root_table_type, int PRINT_OPTION, int PRINT_OPTION_BASIC,
    double* par_time, FILE* file);

#endif  // LEVELER_NETWORK_LOAD_SEQUENCE_H
