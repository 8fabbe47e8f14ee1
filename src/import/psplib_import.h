// Import of PSPLIB single-mode resource-constrained project instances (.sm
// files) as plans in the store, so that the leveller can be measured
// against the published optima of the library's benchmark sets.
//
// What one instance becomes (P is the project id, see below):
// - A project P (KOR_WBS TYPE_ID 1, PROJECT_DETAILS row) starting on the
//   given Monday, with its own calendar P: Monday to Friday 08:00-12:00 and
//   13:00-17:00 (480 minutes), no holidays, one CALENDAR_DAY_OF_YEAR row per
//   day from 130 days before the start (the loaders read from 120 days
//   before) to 400 days after the serial schedule's end (the sum of all
//   durations), so that the resource search never runs out of calendar.
// - Every job a task under P (TYPE_ID 3) with ELEMENT_ID "P_J<n>" and
//   ELEMENT_NAME "job <n>" (n the job's number in the file); its effort is
//   duration x 480 minutes; a job of duration 0 (the dummy source and sink)
//   is a milestone: effort 0, no assignment.
// - Every precedence a finish-to-start dependency without lag (DEP_TYPE 0).
// - Every renewable resource k a resource "P_R<k>" with MAX_UNITS =
//   capacity x 10000 on calendar P: a capacity of c units is c people.
// - Every non-zero request r of a job of duration d an assignment "P_A<n>_<k>"
//   at UNITS_MSP = r x 10000 with work r x d x 480 minutes: laid flat, r
//   people for d whole days, which is the job's PSPLIB profile.
// - Plan dates (UNRESOLVED_*, PLANNED_*, and the TASK_DAY_OF_YEAR rows of
//   the assignments) are the early-start schedule without resources, in
//   working days from the start.
//
// Project ids: the file's name without its extension, letters, digits and
// '_' only (others become '_'), upper case, at most 16 characters; when that
// id is taken (a KOR_WBS, PROJECT_DETAILS, KOR_CALENDARS or RESOURCES row
// of that name or of its first resource), "_2", "_3", ... up to "_999" is
// appended. Every other id derives from the project id, so all ids stay
// within 32 characters and instances share no rows.
//
// Validation, done entirely before the first write: the "jobs" count, the
// renewable resource count, the three sections in their order, every job
// listed once in order in both job sections, a single mode, successors
// within 1..jobs and not the job itself, numbers that are whole and not
// negative, requests not above their capacity, and no cycle. A malformed
// file writes nothing and gives one line "FILE:LINE: what is wrong" (LINE
// counted from 1; for a cycle the precedence line of a job on it, for a
// missing section or a file cut short the last line). Limits, so that every
// derived number fits 32 bits and the calendar some 28,000 rows: at most
// 9,999 jobs and 99 resources, durations up to 1,000 and 20,000 in all,
// requests up to 1,000, capacities up to 100,000.
//
// Results: 0; 1 for a file that cannot be read or is malformed; a negative
// SQL status when a statement of the store fails (what was written before
// it stays in the open transaction, which the caller then should not
// commit).
#ifndef LEVELER_IMPORT_PSPLIB_IMPORT_H
#define LEVELER_IMPORT_PSPLIB_IMPORT_H

#include <map>
#include <string>
#include <vector>

#include "store/store.h"

namespace import {

struct PsplibImport {
  std::string projectId;
  int jobs = 0;
  int resources = 0;
};

// One job as read (numbers as in the file; successors 1-based).
struct PsplibJob {
  int duration = 0;
  std::vector<int> successors;
  std::vector<int> requests;  // one per resource
  int line = 0;               // the job's precedence line
};

struct PsplibInstance {
  std::vector<PsplibJob> jobs;  // job n at index n - 1
  std::vector<int> capacities;  // one per renewable resource
  int horizon = 0;              // as the file states it (0 when absent)
};

// Reads and validates an instance file: 0, or 1 with `error` set as above.
int parsePsplib(const std::string& path, PsplibInstance& out, std::string& error);

// Reads a PSPLIB single-mode RCPSP file (.sm) and writes it as a new project
// through `store` in the store's open transaction (the caller commits). On a
// malformed file returns non-zero, writes nothing, and sets `error` to one
// line naming the file's line number.
int importPsplib(db::Store& store, const std::string& path,
                 const std::string& startDay /*YYYY-MM-DD, a Monday*/, PsplibImport& out,
                 std::string& error);

// Early start of every job in working days from the project start, without
// resources (job n at index n - 1); the instance must be valid.
std::vector<int> psplibEarlyStarts(const PsplibInstance& instance);

// Reads a table of optimal makespans (j30opt.sm: a header naming the
// "Instance Set", then after a line of dashes one row "parameter instance
// makespan cpu-seconds" per instance) into `out`, keyed by the instance's
// file name without extension (set "j30", parameter 10, instance 1:
// "j3010_1"): 0, or 1 with `error` ("FILE:LINE: ...").
int readPsplibOptima(const std::string& path, std::map<std::string, int>& out,
                     std::string& error);

}  // namespace import

#endif  // LEVELER_IMPORT_PSPLIB_IMPORT_H
