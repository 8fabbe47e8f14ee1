// External and fictive dependencies: predecessors of a project's root item
// that come from outside the network.
//
//   - doCreateFictiveExternalPredWithCurrentDate (load phase): an item
//     standing for the run's "calculate as of" date, made a start-to-start
//     external predecessor of a project item;
//   - doHandleExternalAndFictiveDependencesOnProjectsNodes (processing
//     sequence): creation dates moved to where the external predecessors
//     allow, a forward pass over the projects on external dependencies, and
//     the project dates taken back from their root items;
//   - doRemoveFictiveDependencesFromNetwork: the fictive item and the
//     external dependencies that drove nothing taken out again;
//   - doFinAlignRepasRootLevProjects: one more pass over the root items
//     alone;
//   - doAlignConstrDatesWithCurrDate: constraint dates that lie before the
//     current date dropped.
//
// Ownership:
//   - The fictive project is created once (a copy of the first project it
//     serves) and handed to ext_projects_list, whose owner (the run's
//     finalisation) deletes it.
//   - A new fictive item is appended to ext_pred_list (a list of
//     references only) and put at the head of the item list, which owns it
//     from then on. The processing sequence takes it out of the load list;
//     doRemoveFictiveDependencesFromNetwork deletes it and takes it out of
//     the network list it is given. The same holds for the outside items it
//     deletes: the caller must not keep them in any other list that frees
//     its elements.
//   - On any failure of the creator (a result other than 0, or an
//     exception), every record it made in that call (project, item,
//     dependency entries) is deleted again and no list holds it.
//   - proj_act_OnExt_dep_list only refers to items.
//
// Units: dates are day numbers (Julian day number minus julianDateOrigin);
// time offsets minutes (start: after the day's working start; finish:
// before its working end); lags working minutes; effort minutes.
//
// Results: 0; 200154 (no working day at or after the current date), 200155
// (the fictive item already lists the project item as successor), 200156
// (the project item already lists the fictive item as predecessor); a
// negative store status when a calendar could not be widened; the forward
// and backward passes' codes pass through. Exceptions are logged "... throw
// exception to upper level" and passed on.
//
// Choices where the rules leave room:
//   - The network lists handed to these functions hold the start node at
//     their head and the finish node at their tail (as the ordered network
//     list and its copies do); the nodes are recognised by that place, and
//     their names are taken from them.
//   - The fictive project is looked up and created under the fictive name
//     (a scenario run naming its items fictive1, fictive2, ... gets one
//     fictive project per name); its root-project name is the same.
//   - The fictive item's day and effort are read on the served project
//     item's calendar; the fictive item itself sees the standard day
//     (ignoreHolesInCalendar 1), so its one-day placement never falls in a
//     hole of its own calendar.
//   - A calendar widening that fails makes the creator fail with the store's
//     status (after the clean-up above).
//   - The creator's two progress lines ("create a new fictive ..." /
//     "retrieve from the list ...") are written with PRINT_OPTION; its
//     errors always.
//   - A project whose item is not in the network list is passed over.
//   - proj_act_OnExt_dep_list is bracketed by the two nodes only while the
//     forward pass and the alignment of the project dates run; afterwards
//     it holds the root items alone.
//   - Removal: a successor of the fictive item that is not on
//     proj_act_OnExt_dep_list still loses its "fictive" entry (and gets the
//     start node when left without predecessors), so that no entry names a
//     deleted item. A deleted outside item is also taken out of the finish
//     node's predecessors and parents, for the same reason.
//   - The root re-pass finds the two nodes at the head and the tail of
//     activities_list and passes over a root item missing from it.
#ifndef LEVELER_NETWORK_EXTERNAL_DEPS_H
#define LEVELER_NETWORK_EXTERNAL_DEPS_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

inline constexpr int EXT_ERR_NO_AVAILABLE_DAY = 200154;
inline constexpr int EXT_ERR_SUCC_ENTRY = 200155;
inline constexpr int EXT_ERR_PRED_ENTRY = 200156;

// Minutes a day needs to count as available for the fictive item.
inline constexpr int EXT_MIN_AVE_MINUTES = 5;

int doCreateFictiveExternalPredWithCurrentDate(
    project_type* this_proj, activity_type* this_act, int32_t current_date,
    linked_list_type* activities_list, linked_list_type* ext_projects_list,
    linked_list_type* ext_pred_list, storage_manager_type* smanager, int optimizeDepPred,
    const char* FICTIVE_PRED_NAME, int PRINT_OPTION, FILE* file);

// act_tmp_list is the ordered network list (start node first, finish node
// last).
int doHandleExternalAndFictiveDependencesOnProjectsNodes(
    linked_list_type* act_tmp_list, linked_list_type* root_act_list,
    linked_list_type* projects_list, linked_list_type* proj_act_OnExt_dep_list,
    storage_manager_type* smanager, int optionCalculEsEfLsLf, int32_t julianDateOrigin,
    const char* FICTIVE_PRED_NAME, int PRINT_OPTION, FILE* file);

// Always 0 unless an exception passes.
int doRemoveFictiveDependencesFromNetwork(linked_list_type* act_tmp_list,
                                          linked_list_type* proj_act_OnExt_dep_list,
                                          const char* FICTIVE_PRED_NAME, int PRINT_OPTION,
                                          FILE* file);

int doFinAlignRepasRootLevProjects(linked_list_type* root_act_list,
                                   linked_list_type* activities_list, storage_manager_type* sm,
                                   int isForwardPass, int32_t julianDateOrigin, int PRINT_OPTION,
                                   int PRINT_OPTION_BASIC, FILE* file);

// Every task whose constraint is neither 0 nor 1 and whose constraint date
// lies before its project's current_date loses its constraint: type 0, date
// = the project's last calendar day.
void doAlignConstrDatesWithCurrDate(linked_list_type* activities_list, FILE* file);

#endif  // LEVELER_NETWORK_EXTERNAL_DEPS_H
