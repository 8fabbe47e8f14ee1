// Assignment and work records.
//
// assignment_type: one resource assignment, named by its identifier, with a
// list of work_type records keyed by the name of the item worked on (at most
// one work record per item).
// work_type: the planned, remaining and actual work of one (assignment, item)
// pair and its own placement.
//
// Ownership: an assignment owns its work list and the work records in it.
// Items list their assignments without owning them; the run's assignment
// list owns the assignments.
//
// Units: days are day numbers (relative to julianDateOrigin); work, effort,
// delays and durations are working minutes; units_msp is hundredths of a
// percent (10000 = the full working day); the two time offsets are minutes
// from the start day's working start and to the finish day's working end,
// never negative. Names are at most 32 characters; longer ones are cut.
//
// The one-record-per-item check of assignmentCreateWorkByActivity and the
// lookup of getAssignmentWorkByActivity go through a hash lookup kept beside
// the work list once it is long (model/name_lookup.h), so that one resource
// with tens of thousands of work records loads in linear time; results and
// list order are those of a walk of the list. The lookup is an addition to
// the record's fields (`work_lookup`, last).
//
// Choice for getWorkDurationContour: when assignment units are given but the
// day's share rounds to 0 minutes (step 0, e.g. units of a few hundredths of
// a percent or no standard day), the work delivers nothing per day and the
// duration is 0, rather than dividing by zero.
#ifndef LEVELER_MODEL_ASSIGNMENT_H
#define LEVELER_MODEL_ASSIGNMENT_H

#include <cstdint>
#include <cstdio>

#include "model/linked_list.h"

struct work_type {
  char act_name[LL_NAME_SIZE];  // item worked on; the list key
  char ass_name[LL_NAME_SIZE];  // assignment
  int32_t last_submitted;       // day of the last submitted actual work
  int32_t FSCHED_date;          // first scheduled day
  int16_t FSCHED_effort;        // minutes on the first scheduled day
  int32_t work_todate;          // actual work so far, minutes
  int32_t dur_cont_eff;         // duration of the contoured effort, minutes
  int32_t duration;             // minutes
  int32_t actual_duration;      // minutes
  int32_t rem_effort;           // minutes
  int32_t c_contour;            // contour value from the store
  int32_t c_effort;             // contour effort value from the store
  int32_t ass_delay;            // minutes
  int32_t proposed_work;        // planned work, minutes
  int32_t start_date;
  int32_t finish_date;
  int16_t hasActualStart;
  int16_t hasActualFinish;
  int16_t units_msp;           // hundredths of a percent
  int16_t offset_start_time;   // minutes, >= 0
  int16_t offset_finish_time;  // minutes, >= 0
};

struct name_lookup;  // model/name_lookup.h

struct assignment_type {
  char name[LL_NAME_SIZE];
  linked_list_type* work_list;  // work_type, owned, keyed by item name
  name_lookup* work_lookup;     // owned; null until the work list is long
};

// Assignments.
assignment_type* assignmentCreateNew(const char* name);
// The work record of this assignment for the item named this_act: a new one
// appended to the work list, or the existing one (after the message).
work_type* assignmentCreateWorkByActivity(assignment_type* this_ass, const char* this_act,
                                          FILE* file);
work_type* getAssignmentWorkByActivity(assignment_type* this_ass, const char* this_act);
const char* getAssignmentName(void* this_ass);
linked_list_type* getAssignmentWorkList(const assignment_type* this_ass);
int assignmentMatch(void* this_ass, const void* lookfor);
void assignmentDeleteWorkData(assignment_type* this_ass);
void assignmentDelete(assignment_type* this_ass);

// Work records.
work_type* workCreateNew(const char* ass_name, const char* act_name);
void workDelete(work_type* this_work);
int workMatch(void* this_work, const void* lookfor);
const char* getWorkAssignmentName(const work_type* this_work);
const char* getWorkActivityName(void* this_work);

void setWorkDuration(work_type* this_work, int32_t minutes);
void setWorkTodate(work_type* this_work, int32_t minutes);
void setWorkAssDelay(work_type* this_work, int32_t minutes);
void setWorkProposedWork(work_type* this_work, int32_t minutes);
void setWorkCEffort(work_type* this_work, int32_t c_effort);
void setWorkCContour(work_type* this_work, int32_t c_contour);
void setWorkUnitsMSP(work_type* this_work, int16_t units_msp);
void setWorkStartDate(work_type* this_work, int32_t day);
void setWorkFinishDate(work_type* this_work, int32_t day);
void setWorkLastSubmittedDate(work_type* this_work, int32_t day);
void setWorkFirstSchedDate(work_type* this_work, int32_t day);
void setWorkFirstSchedDateEffort(work_type* this_work, int16_t minutes);
void setWorkDurationOfContouredEffort(work_type* this_work, int32_t minutes);
void setWorkTimeOffsetFromStart(work_type* this_work, int32_t minutes);
void setWorkTimeOffsetFromFinish(work_type* this_work, int32_t minutes);

// Working minutes the remaining work needs, min_per_day being the standard
// working minutes of a day; never negative. With PRINT_OPTION nonzero the
// inputs and the result are written to file.
int32_t getWorkDurationContour(const work_type* this_work, int32_t min_per_day, int PRINT_OPTION,
                               FILE* file);

#endif
