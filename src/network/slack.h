// Total slack and the critical path after levelling.
//
//   - doUpdateActivitiesSlackValuesNetworkTree: the total slack of every
//     item in four sweeps over the backward order (leaves; project items;
//     other containers; project items again, from their children);
//   - doCalculCriPathAfterLevDB: after levelling, the copies take the
//     levelled dates of their items, the backward pass and its dynamic
//     re-pass run on them, the slack is computed and written to the
//     database.
//
// Ownership: items (activities_list) and their copies (act_tmp_list_3) are
// owned by the run; the order lists act_tmp_list_4 (every item after its
// successors) and act_tmp_list_5 (the copies in level order) refer to the
// copies. Nothing here allocates beyond a call.
//
// Units: slack is working minutes of the item's project calendar, never
// negative, 0 below 6; in the log it is also shown in days (slack / the
// project's minutes per day). A finish moment is (day, the day's last working
// minute - finish offset), a start moment (day, the day's first working
// minute + start offset); the working minutes between two moments are
// activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals.
//
// Where the values come from: the early finish and start from the item's
// early fields, the late finish and start from the copy's late fields. The
// slack found is stored on the item and on its copy, and the item takes the
// copy's late fields.
//
// Choices where the rules leave room:
//   - A branch container that has a child finishing on or after its finish
//     day, whose earliest-starting child has slack, and which does not
//     finish before its project item, first gets its own slack as a project
//     item does (start-or-finish rule) and then takes its project item's
//     slack when its own is larger and its latest child does not finish
//     after the project item's late finish.
//   - The critical path's step times are returned in step_seconds[0..7]
//     (null: not returned): node dates, copies, calendar widening, backward
//     pass, dynamic re-pass, roll-up, slack, writer.
//   - With optionConsiderUidsLengthSupr the slack is written by the pair
//     writer (TYPE_ID 2) from the items, else by the list writer from the
//     copies.
#ifndef LEVELER_NETWORK_SLACK_H
#define LEVELER_NETWORK_SLACK_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

inline constexpr int SLACK_MIN_MINUTES = 6;            // below: reported as 0
inline constexpr int SLACK_WRITER_ERROR_BASE = 200208;

int doUpdateActivitiesSlackValuesNetworkTree(linked_list_type* act_tmp_list_4,
                                             linked_list_type* act_tmp_list_3,
                                             linked_list_type* activities_list,
                                             storage_manager_type* smanager, int PRINT_OPTION,
                                             const char* START_NODE_NAME,
                                             const char* FINISH_NODE_NAME, FILE* file);

int doCalculCriPathAfterLevDB(linked_list_type* root_act_list, linked_list_type* projects_list,
                              linked_list_type* activities_list,
                              linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_4,
                              linked_list_type* act_tmp_list_5, storage_manager_type* smanager,
                              int optionConsiderUidsLengthSupr, int PRINT_OPTION,
                              int PRINT_UPDATE_OPTION, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME, double* step_seconds, FILE* file);

// Sets the two nodes from the root items (items and copies): the finish
// node's dates and finish offset become the latest root finish (on equal
// days the later time), the start node's dates the earliest root start - 1;
// the start node's early dates, the finish node's early and late dates and
// its slack 0 follow. Either copies list may be null.
void setNetworkNodesFromRoots(linked_list_type* root_act_list, linked_list_type* activities_list,
                              linked_list_type* act_tmp_list_3, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME);

#endif  // LEVELER_NETWORK_SLACK_H
