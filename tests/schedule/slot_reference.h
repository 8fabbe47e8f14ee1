// The reference the placement and lag-shift tests hold the code against: a
// calendar as a plain row of days of 288 five-minute slots, and placements
// and shifts computed by walking those slots one at a time. It shares no code
// with the scheduling unit (not even the day-bit searches): a day's working
// start and end and its available minutes are counted here bit by bit.
//
// What the walk means: laying W working minutes forward from (day, t) counts
// the available slots that start at or after t on that day, then every
// available slot of each later day that has more than 5 available minutes
// (days of 5 minutes or fewer take no work), and ends at the end of the
// (W / 5)-th slot counted. Backward mirrors it. Everything else in here is a
// named rule of the placement or the shift, each one a line or two.
//
// Times and minutes are multiples of 5 throughout (the calendars' grid).
#ifndef LEVELER_TESTS_SCHEDULE_SLOT_REFERENCE_H
#define LEVELER_TESTS_SCHEDULE_SLOT_REFERENCE_H

#include <cstdint>
#include <functional>
#include <vector>

#include "calendar_fixture.h"

namespace schedtest {

class SlotCalendar {
 public:
  // bitsOf(date) gives the true bits of a day; the days first..last are
  // read once, others on demand.
  SlotCalendar(int32_t first, int32_t last, std::function<Day(int32_t)> bitsOf);
  bool slot(int32_t date, int k) const;
  int available(int32_t date) const;  // minutes
  int workStart(int32_t date) const;  // start of the first available slot; 1440 if none
  int workEnd(int32_t date) const;    // end of the last available slot; 0 if none

 private:
  int32_t first_;
  std::vector<Day> days_;
  std::vector<int> available_;
  std::function<Day(int32_t)> bitsOf_;
};

struct RefPlacement {
  int32_t start, finish, duration;
  int offStart, offFinish;
  int sST, sFT, fST, fFT;
};

// Forward placement of `effort` from (start, offStart) with the item's
// constraint code; backward from (finish, offFinish).
RefPlacement refForward(const SlotCalendar& cal, int32_t start, int offStart, int effort, int ct);
RefPlacement refBackward(const SlotCalendar& cal, int32_t finish, int offFinish, int effort,
                         int ct);

struct RefPoint {
  int32_t date;
  int time;
  int32_t duration;
};

// A point moved later by lag >= 0 or earlier by lead >= 0 working minutes.
RefPoint refShiftLater(const SlotCalendar& cal, int32_t date, int time, int32_t duration,
                       bool isFinish, bool lowEffort, int lag);
RefPoint refShiftEarlier(const SlotCalendar& cal, int32_t date, int time, int32_t duration,
                         bool isFinish, bool lowEffort, int lead);

}  // namespace schedtest

#endif
