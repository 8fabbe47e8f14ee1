// The resource search: where the work of a task's assignments goes on
// their resources' calendars, given the load already there. The host
// procedure LEVEL_FC_SEARCH_2 (levelling_procs.h) reads its arguments and
// the task's assignments, and hands them to placeTask below; this unit is
// the arithmetic, on the run's memory (levelling_state.h), with no
// statement of its own except the reads of calendar days it asks for.
//
// Units: days are Julian day numbers, positions (day, slot) with slots of
// five minutes, work and load in minutes, units in hundredths of a percent
// of one person's working day (10000 = full time).
//
// How one assignment is laid on its calendar from a start position (a flat
// contour): every working day of the calendar from the start on takes the
// day's share, the last day the rest. The day's share is units x the
// day's working minutes / 10000, rounded to the nearest multiple of five
// minutes, at least five; the first day counts only its working minutes
// from the start position on. Days without working time are passed over.
// The minutes of a day take working time at the assignment's units
// (minutes x 10000 / units, in whole five-minute slots begun) from the
// day's first working slot (the first day: from the start), never more
// than the day has: at half time 240 minutes spread over the whole
// 08:00-17:00 day, a team of three at 30000 does 480 minutes from 08:00 to
// 10:40. These slots (BIT_SCHED) and the finish time show when the work is
// done; the capacity rule below is by minutes (the people of a team are
// not told apart by slot).
//
// When an assignment fits (waiting assignments: search mode 6 of a
// levelling run): on every day of its layout the free capacity of the
// resource (capacity - load, where capacity = MAX_UNITS x the day's
// working minutes / 10000 and load = what the store holds and what the run
// placed) must be at least the day's minutes; an assignment whose day takes
// more than the day's whole capacity (units above MAX_UNITS) needs the day
// entirely free instead, and is then placed and recorded as an
// over-allocation, never searched for forever.
//
// The earliest start: from the search start, the layout is tried; when a
// day d refuses it, the next start tried is on day d itself, as late in the
// day as makes its first day fit (the first day takes less when fewer of
// its working minutes remain), or, when no time of d fits, the first
// working slot of the next day. Every day is thus looked at a bounded
// number of times: the cost grows with the days scanned. The search ends
// with "no room" when a layout would need a day past the calendar's
// horizon.
//
// A task: all its assignments start together. From the common start s each
// assignment starts after its delay (working minutes of its own calendar,
// rounded up to whole slots). When one of them does not fit from there, the
// common start moves to where that assignment's earliest fit minus its
// delay lies, and all are tried again, until every one fits from s plus its
// delay (the start only moves forward). Assignments that do not wait
// (modes 7 and 12, a calculation run) are placed from s plus their delay as
// they are and do not hold s back. The assignments of one task do not
// wait for each other (two of them on one resource would otherwise never
// find a common start when the second's delay puts it on the first's
// days); what they take of one resource together counts in the
// over-allocations recorded.
#ifndef LEVELER_HOST_RESOURCE_SEARCH_H
#define LEVELER_HOST_RESOURCE_SEARCH_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/levelling_state.h"

namespace host::levelling {

// One assignment of the task to place.
struct Member {
  std::string assignmentId, parentId;
  Resource* resource = nullptr;
  WorkCalendar* calendar = nullptr;
  int64_t work = 0;       // minutes to place
  int64_t units = 0;      // as given; 0: the resource's MAX_UNITS
  int64_t delay = 0;      // working minutes after the common start
  bool waits = true;      // fits into free capacity (else placed as it is)
  bool recordOver = true; // records over-allocations (not in a calculation run)
};

// Where one member went.
struct MemberPlacement {
  int startDay = 0, startSlot = 0;
  int finishDay = 0, finishSlot = 0;  // finishSlot: the end of the last slot
  std::vector<DayPart> days;
  std::vector<OverDay> over;
};

enum class SearchOutcome { kPlaced, kNoRoom };

// Places every member from the common start (startDay, startSlot) on:
// kPlaced with one placement per member (in order), or kNoRoom. Reads
// calendar days through the members' calendars (a failed read is in the
// state's failure; the caller checks it).
SearchOutcome placeTask(std::vector<Member>& members, int startDay, int startSlot,
                        std::vector<MemberPlacement>& out);

}  // namespace host::levelling

#endif  // LEVELER_HOST_RESOURCE_SEARCH_H
