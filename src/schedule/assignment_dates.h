// Assignment date functions: moving dates between a task, its assignments
// and the time-stamp texts exchanged with the database. The levelling main
// loop uses them around every assignment it places: the task's dates as
// texts, an assignment's dates as texts, whether the search may start at the
// beginning of its day, the envelope of the placed assignments of one task,
// and writing that envelope back into the task.
//
// Units: days are day numbers (Julian day number minus the project's
// julianDateOrigin); times are minutes after midnight; start offsets are
// minutes after the day's working start and finish offsets minutes before
// the day's working end (the item's calendar view). Time stamps are
// "YYYY-MM-DD HH:MM:00.000000" (26 characters; buffers of at least
// TIME_STAMP_TEXT_SIZE = 27 bytes).
//
// The envelope of a task is the earliest start (day, start offset) and the
// latest finish (day, finish offset) over its assignments placed so far.
// Ties: on the same start day the smaller start offset wins, on the same
// finish day the smaller finish offset (the later time) wins.
//
// Ownership: nothing is allocated that outlives a call; the caller owns
// every buffer and record handed in.
//
// Choices:
// - The resource's assignment is the one of the task's assignment list
//   whose name is the resource identifier (assignments are kept one per
//   resource); with optionConsiderUidsLengthSupr the identifier is first
//   looked up (not created) among the resource sequence ids (TYPE_ID 3);
//   an identifier without a sequence id gives SEQ_UID_UNKNOWN (200215).
// - doArrangeActLowerStartDateTime: `mode` is written to the trace only;
//   the rules are those of the search start. A text that holds no time
//   (10 characters or fewer, or unreadable) is left as it is. The
//   predecessor of a finish-to-start dependency is looked up by name in
//   act_tmp_list; one that is not there does not keep the time.
// - doRollupAssDTWithinTask: a text that cannot be read as a time stamp
//   counts as not given (nothing is done, result 0). A start moved off a
//   non-working day starts at that day's working start (offset 0). Offsets
//   below 0 are stored as 0. The calendar is widened before the start day is
//   looked at, so that the working-day search runs on loaded days.
// - doSetDTParamsTaskDrivAss compares start day, finish day and both
//   offsets with the task's present ones; "tasks with assignments" are items
//   of type 3 whose assignment list is not empty or whose hasAssignment is
//   set.
#ifndef LEVELER_SCHEDULE_ASSIGNMENT_DATES_H
#define LEVELER_SCHEDULE_ASSIGNMENT_DATES_H

#include <cstdint>
#include <cstdio>

#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"

// Result of doRollupAssDTWithinTask when no working day follows a start on
// a non-working day.
inline constexpr int ASSDT_ERR_NO_WORKING_DAY = 200217;
// TYPE_ID of resource sequence ids.
inline constexpr int ASSDT_RESOURCE_UID_TYPE = 3;

// The item's start and finish as "%s %s" (date text, time text): the start
// day at its working start + offset_start_time, the finish day at its
// working end - offset_finish_time.
void doExtractActStartFinishDT(const activity_type* this_act, char* startDateTime,
                               char* finishDateTime);

// The dates the search of one assignment starts from: for a non-task the
// item's own dates (0); for a task the dates of the resource's work record
// when that work has an actual start on a day after the task's start day,
// else the task's own dates. 0, errorCode_base when the task has no
// assignment of that resource, or SEQ_UID_UNKNOWN when the resource has no
// sequence id (optionConsiderUidsLengthSupr set).
int doExtractActAssStartFinishDT(activity_type* this_act, const char* resource_id, void* this_sm,
                                 int optionConsiderUidsLengthSupr, char* startDateTime,
                                 char* finishDateTime, int errorCode_base, FILE* file);

// Writes the envelope into a task with assignments when it differs from
// the task's dates: start, finish, both offsets (scheduled and early),
// duration and original duration (finish - start + 1) and effort (the
// task's working minutes between its new start and finish, 0 when
// negative). 0, or the error of the effort sum.
int doSetDTParamsTaskDrivAss(activity_type* prev_act, storage_manager_type* smanager,
                             int32_t min_startDate, int32_t max_finishDate,
                             int min_offset_start_time, int min_offset_finish_time,
                             int PRINT_OPTION_EVEN_MORETHAN_BASIC, FILE* file);

// Decides whether the search of an assignment starts at the beginning of
// its day: cuts s_start_wbs ("YYYY-MM-DD HH:MM:...") to its date in place
// when it does. Always 0.
int doArrangeActLowerStartDateTime(activity_type* this_act, linked_list_type* act_tmp_list,
                                   char* s_start_wbs, const char* mode, int32_t ass_effort,
                                   int32_t ass_contour, int32_t ass_contour_type,
                                   storage_manager_type* smanager, const char* START_NODE_NAME,
                                   FILE* file);

// Adds one placed assignment (h_start, h_finish time stamps) to the
// envelope of its task: reset to it when dateResetFlag is 0, widened
// otherwise. Only for tasks with both texts given. 0, 200217, or the
// (negative) error of the calendar widening.
int doRollupAssDTWithinTask(activity_type* this_act, storage_manager_type* smanager,
                            int dateResetFlag, const char* h_start, const char* h_finish,
                            int32_t* min_startDate, int32_t* max_finishDate,
                            int* min_offset_start_time, int* min_offset_finish_time,
                            int PRINT_OPTION_EVEN_MORETHAN_BASIC, FILE* file);

#endif  // LEVELER_SCHEDULE_ASSIGNMENT_DATES_H
