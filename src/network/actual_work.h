// Actual work: bringing each task's dates into line with the work already
// reported against it, before the network is built, and re-placing a task in
// progress from its finish while the passes move it.
//
//   doHandleWorksForTasksNoActuals   tasks not yet started are shortened to
//                                    their longest assignment;
//   doHandleWorkActualsForAllTasks   finished tasks and containers are
//                                    frozen; a task in progress resumes
//                                    after its last reported day, pinned
//                                    there by a start constraint, its
//                                    remaining work setting its length;
//   reSchActFromFDBasedOnAssWork     a task in progress that was moved is
//                                    placed again backwards from its finish
//                                    on its assignments' remaining work.
//
// Units: days are day numbers; times of day minutes after midnight; start
// offsets minutes after the day's working start, finish offsets minutes
// before the day's working end (the item's calendar view); effort, work,
// actual_duration and rem_effort working minutes; ass_delay whole days of
// the project's minutes_per_day; durations calendar days (finish - start +
// 1). A day is available when its calendar gives it 5 minutes or more.
//
// Ownership: the item list owns the items, the assignment list the
// assignments and their work records; nothing here allocates beyond a call.
// Work records are changed in place (start, finish, offsets, rem_effort).
//
// Log lines go to `file` (null: nothing is written); the numbered errors read
// "*** error (n) !!! doHandleWorkActualsForAllTasks:" with the task and its
// dates; errors (0) and (10) are data findings and the run goes on.
//
// Amended rule: a container (type 2) whose children are all finished is
// finished too (actual start and finish over its children's span) before
// the finished items are frozen, although its own row carries no actual
// finish. Otherwise nothing holds its dates during the passes - finished
// children take no part in a roll-up - and its parent's updates moved it
// again on every sweep, its start drifting past its finish and the passes
// never settling.
//
// Choices where the rules leave room:
// - Moving a point by working minutes is the successor-side lag shift:
//   the point where a part ends is a finish point (a day's working end stays
//   there), the point where a part resumes is a start point (a day's working
//   end moves on to the next working day's working start). A shift that
//   grows the calendar is repeated once. A part of 0 minutes ends where it
//   starts: a finish never lies before its start.
// - Duration-based resume point: the done part is laid from the task's
//   start; the resume day is the day it ends on, with the start offset from
//   that day's working start to the end of the done part (a done part
//   ending at a day's working end resumes at the next working day's working
//   start). With optionSplitDayWithActualForDurBased a done part that ends
//   after the day's first working minute resumes on the next day at its
//   working start. A resume day before the project's current_date becomes
//   current_date; an unavailable resume day the next available one; every
//   change of day starts at the day's working start (offset 0). The
//   remaining effort is effort - actual_duration, never below 0.
// - LS_act_time is the resume point's start offset (minutes after the day's
//   working start), the unit of offset_start_time.
// - Constraint 3 or 4 broken by the remaining part: the finish is set to
//   the upper finish bound of the forward constraint limits at the day's
//   working end; when the start placed back from it is not after the resume
//   day, the task gets constraint 5 dated at the resume day (the remaining
//   part cannot start in the past).
// - Work records are told apart by their dates in
//   doHandleWorkActualsForAllTasks (finished: hasActualFinish; not begun:
//   last_submitted before start_date; otherwise begun) and by hasActualStart
//   in reSchActFromFDBasedOnAssWork, since by then a begun work's start is
//   its resume day, after its last reported day.
// - A begun work's first day starts later by minutes_per_day - FSCHED_effort
//   when that is positive: its offset_start_time becomes that difference
//   and its resume point is the day's working start plus it. A work whose
//   FSCHED_effort is 0 (no first scheduled day was read) starts at the
//   day's working start.
// - The earliest start S of work not yet begun that lies before the
//   calendar: before the project's create_date the calendar is widened down
//   to it, otherwise S becomes the calendar's first day.
// - oft_wrk_actual_FD is the working minutes of the finish day from its
//   working start to the finished work's finish time, 0 when the day had to
//   be moved to the next available one, bounded to 0..1440.
// - A failed placement of a task in progress (errors (17) and (18)), and a
//   failed shift of a duration-based task's done part (error (2)) or
//   remaining part (error (4)), end the operation with 200198, as does the
//   placement back from a finish deadline (error (6); error (5) is the
//   finish that found no working day, 200302). A failed lag shift of
//   reSchActFromFDBasedOnAssWork gives 200206 (a start-to-start shift
//   towards lower dates failed).
// - reSchActFromFDBasedOnAssWork: a begun work contributes the larger of
//   its rem_effort and the working minutes from its resume point to the
//   task's finish (the two readings of "the finish minus rem_effort lands
//   after the resume point" agree); an effort sum that fails counts 0.
// - Steps after the placement (start node, early start, original duration,
//   the shift of project dates) apply to both kinds of tasks in progress; a
//   task left as it is by error (10) skips them.
#ifndef LEVELER_NETWORK_ACTUAL_WORK_H
#define LEVELER_NETWORK_ACTUAL_WORK_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"
#include "schedule/calendar_reach.h"

inline constexpr int ACT_ERR_PLACE_FROM_FINISH = 200198;  // placing failed
inline constexpr int ACT_ERR_MOVE_WORK_FINISH = 200210;   // moving a work record's finish
inline constexpr int ACT_ERR_SHORTEN = 200211;            // shortening a task without actuals
inline constexpr int ACT_ERR_NO_AVE_DAY = 200217;         // no available day
inline constexpr int ACT_ERR_NO_WORKING_FINISH = 200302;  // no working finish day
inline constexpr int ACT_ERR_BACK_SHIFT = 200206;         // backward start-to-start shift failed

// Shortens every task without actual start (and not an outside item) whose
// effort exceeds its longest assignment (contour length + minutes_per_day x
// ass_delay). 0 or 200211.
int doHandleWorksForTasksNoActuals(linked_list_type* activities_list,
                                   storage_manager_type* smanager, int D_OPTION, FILE* file);

// Freezes finished items and re-plans tasks in progress from their reported
// work. activities_list is the item list in load order, start node first and
// finish node last. 0, 200217, 200302, 200198, 200210, or the error of an
// effort sum.
int doHandleWorkActualsForAllTasks(linked_list_type* activities_list,
                                   storage_manager_type* smanager,
                                   int optionSplitDayWithActualForDurBased, int D_OPTION,
                                   FILE* file);

// Places a task in progress again backwards from its finish on its
// assignments' remaining work (start day and start offset change; the
// duration follows). Nothing for other items. 0 or 200206.
int reSchActFromFDBasedOnAssWork(activity_type* this_act, storage_manager_type* smanager,
                                 int D_OPTION, FILE* file);

#endif  // LEVELER_NETWORK_ACTUAL_WORK_H
