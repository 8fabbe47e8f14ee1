// The processing sequence: once the load phase has read a run's projects,
// items, dependencies and calendars, turns them into a complete static
// schedule and writes its first results.
//
//   processDepForWbsItemStatic       assignments, actual work, the network
//                                    order, dependencies between projects,
//                                    circularity, levels, delay factors,
//                                    the static passes, the first results,
//                                    the dynamic forward re-pass;
//   doRunFrwdBckwdMeargedNet         forward pass, root re-pass, backward
//                                    pass on copies, slack, priority order;
//   doRunFirstTimeUpdatesMeargedNet  the first write of dates, slack and
//                                    level index (or the index alone when
//                                    the run levels assignments).
//
// Lists (owned by the caller, the run driver): act_tmp_list owns every item
// record (the fictive items are taken out of it while the dependencies
// between projects are handled; the ones that survive are handed back to
// it, and placeholder items deleted there are dropped from it and from
// ext_pred_list, so that it never holds a freed record); activities_list,
// root_act_list, proj_act_OnExt_dep_list, act_tmp_list_4 and
// act_tmp_list_5 refer to items; act_tmp_list_3 owns the copies made for
// the backward pass.
//
// Units: day numbers relative to 1950-01-01; phase times in seconds of
// processor time (clock ticks x 1e-6).
//
// par_time (seventeen entries, SEQ_PHASE_TIMES): 0 assignments, 1 network
// order, 2 actual work, 3 dependencies between projects, 4 circularity and
// levels, 5 delay factors, 6..13 the eight phases of the static passes
// (forward pass, root re-pass, finish-node order, calendar extension,
// backward pass, dynamic backward re-pass, slack, priority order), 14 first
// results, 15 dynamic forward re-pass, 16 final roll-up. The static passes
// take a pointer to their eight entries.
//
// Choices:
// - option_Flag 4 (a scenario) is treated as 0 throughout the sequence.
// - A root's project copy for the backward pass takes the finish node's
//   finish time (the latest root finish), and every project the latest
//   root finish day, so that all projects of a run are scheduled back from
//   one common finish; the dates are given back afterwards.
#ifndef LEVELER_NETWORK_PROCESSING_SEQUENCE_H
#define LEVELER_NETWORK_PROCESSING_SEQUENCE_H

#include <cstdio>

#include "calendar/project.h"
#include "model/linked_list.h"

inline constexpr int SEQ_PHASE_TIMES = 17;
inline constexpr int SEQ_STATIC_PHASE_TIMES = 8;
inline constexpr int SEQ_FIRST_UPDATE_ERROR_BASE = 200208;
inline constexpr int SEQ_MIN_TASKS_FOR_INDEXES = 33;
inline constexpr int SEQ_FREE_MESSAGE_FOR_CIRCULAR = 5000;  // bytes free in p_message

int processDepForWbsItemStatic(
    linked_list_type* root_act_list, linked_list_type* projects_list,
    linked_list_type* proj_act_OnExt_dep_list, linked_list_type* act_tmp_list,
    linked_list_type* activities_list, linked_list_type* act_tmp_list_3,
    linked_list_type* act_tmp_list_4, linked_list_type* act_tmp_list_5,
    linked_list_type* assignments_list, linked_list_type* ext_pred_list,
    storage_manager_type* sm, int option_Flag, int optionUseIndexes,
    int optionConsiderUidsLengthSupr, int optionResourceCalTakesPrec,
    int optionSplitDayWithActualForDurBased, int tasksTotalCount, int assignmentsFlag,
    char* p_workflow_id, char* p_message, char* p_subject, char* p_element_id_p,
    char* p_rec_user, int p_root_table_type, int PRINT_OPTION, int PRINT_UPDATE_OPTION,
    int PRINT_OPTION_MORETHAN_BASIC, int PRINT_OPTION_BASIC, double* par_time, FILE* file);

int doRunFrwdBckwdMeargedNet(linked_list_type* root_act_list, linked_list_type* projects_list,
                             linked_list_type* proj_act_OnExt_dep_list,
                             linked_list_type* activities_list, linked_list_type* act_tmp_list,
                             linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_4,
                             linked_list_type* act_tmp_list_5, storage_manager_type* smanager,
                             int optionFlag, int optionCalculEsEfLsLf,
                             int optionRunIndexesWherePossible, int optionConsiderUidsLengthSupr,
                             int assignmentsFlag, long julianDateOrigin, int PRINT_OPTION,
                             int PRINT_UPDATE_OPTION, int PRINT_OPTION_BASIC, double* par_time,
                             FILE* file);

int doRunFirstTimeUpdatesMeargedNet(linked_list_type* root_act_list,
                                    linked_list_type* projects_list,
                                    linked_list_type* activities_list,
                                    linked_list_type* act_tmp_list_3,
                                    linked_list_type* act_tmp_list_4,
                                    storage_manager_type* smanager, int optionFlag,
                                    int optionConsiderUidsLengthSupr, int assignmentsFlag,
                                    long julianDateOrigin, int PRINT_OPTION,
                                    int PRINT_UPDATE_OPTION, int PRINT_OPTION_BASIC, FILE* file);

#endif  // LEVELER_NETWORK_PROCESSING_SEQUENCE_H
