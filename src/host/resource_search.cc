// The resource search's arithmetic: laying work on a calendar, the earliest
// fitting start of one assignment, and the common start of a task. See
// resource_search.h.
#include "host/resource_search.h"

#include <algorithm>
#include <map>
#include <utility>

namespace host::levelling {

namespace {

struct Pos {
  int day = 0;
  int slot = 0;
};

int64_t key(Pos p) { return static_cast<int64_t>(p.day) * kSlotsPerDay + p.slot; }

// The day's share of an assignment at `units` over `workingMinutes`:
// rounded to the nearest five minutes, at least five.
int64_t dailyShare(int64_t units, int workingMinutes) {
  if (workingMinutes <= 0) return 0;
  const int64_t share = (units * workingMinutes / kFullTime + 2) / kSlotMinutes * kSlotMinutes;
  return std::max<int64_t>(share, kSlotMinutes);
}

int64_t slotsFor(int64_t minutes) { return (minutes + kSlotMinutes - 1) / kSlotMinutes; }

// Working slots that `minutes` of work take at `units`: the working time
// is minutes x 10000 / units, in whole slots begun.
int64_t slotsAtUnits(int64_t minutes, int64_t units) {
  const int64_t perSlot = units * kSlotMinutes;  // minutes x 10000 of one slot
  return (minutes * kFullTime + perSlot - 1) / perSlot;
}

// Minutes that earlier assignments of the task take at the common start
// being tried, per resource and day.
using Overlay = std::map<std::pair<const Resource*, int>, int64_t>;

int64_t overlayAt(const Overlay& o, const Resource* r, int day) {
  if (o.empty()) return 0;
  auto it = o.find({r, day});
  return it == o.end() ? 0 : it->second;
}

int64_t freeOn(const Member& m, int day, int workingMinutes, const Overlay& o) {
  return m.resource->capacity(workingMinutes) - m.resource->load(day) -
         overlayAt(o, m.resource, day);
}

// The first working slot at or after p; false when none up to the horizon.
bool normalize(WorkCalendar& cal, Pos& p) {
  int slot = p.slot;
  for (int d = p.day; d <= cal.horizon(); ++d, slot = 0) {
    const int k = cal.at(d).nthFrom(slot, 0);
    if (k < kSlotsPerDay) {
      p = {d, k};
      return true;
    }
  }
  return false;
}

// From the working slot p, `minutes` of working time on (whole slots).
bool advance(WorkCalendar& cal, Pos& p, int64_t minutes) {
  int64_t k = slotsFor(minutes);
  int slot = p.slot;
  for (int d = p.day; d <= cal.horizon(); ++d, slot = 0) {
    const CalendarDay& cd = cal.at(d);
    const int n = cd.countFrom(slot);
    if (k < n) {
      p = {d, cd.nthFrom(slot, static_cast<int>(k))};
      return true;
    }
    k -= n;
  }
  return false;
}

// The working slot `minutes` of working time before p (the inverse of
// advance); the start of floorDay when that lies before floorDay.
Pos retreat(WorkCalendar& cal, Pos p, int64_t minutes, int floorDay) {
  int64_t k = slotsFor(minutes);
  if (k == 0) return p;
  int upto = p.slot;
  for (int d = p.day; d >= floorDay; --d, upto = kSlotsPerDay) {
    const CalendarDay& cd = cal.at(d);
    const int before = cd.countFrom(0) - cd.countFrom(upto);
    if (k <= before) return {d, cd.nthFrom(0, static_cast<int>(before - k))};
    k -= before;
  }
  return {floorDay, 0};
}

enum class Fit { kFits, kBlocked, kNoRoom };

// Lays m's work from the working slot p on (flat contour). With `check`,
// a day whose free capacity is short of what the day takes stops the
// layout: kBlocked with that day.
Fit layOut(const Member& m, int64_t units, Pos p, bool check, const Overlay& o,
           std::vector<DayPart>& out, int& blockedDay) {
  out.clear();
  WorkCalendar& cal = *m.calendar;
  int64_t rest = m.work;
  int from = p.slot;
  for (int d = p.day; rest > 0; ++d, from = 0) {
    if (d > cal.horizon()) return Fit::kNoRoom;
    const CalendarDay& cd = cal.at(d);
    const int n = cd.countFrom(from);
    if (n == 0) continue;
    const int64_t amount = std::min(rest, dailyShare(units, n * kSlotMinutes));
    if (check) {
      const int64_t capacity = m.resource->capacity(cd.minutes);
      if (std::min(amount, capacity) > freeOn(m, d, cd.minutes, o)) {
        blockedDay = d;
        return Fit::kBlocked;
      }
    }
    const int slots = static_cast<int>(std::min<int64_t>(n, slotsAtUnits(amount, units)));
    out.push_back({d, static_cast<int>(amount), cd.nthFrom(from, 0), slots});
    rest -= amount;
  }
  return Fit::kFits;
}

// The most working slots, fewer than the N the day has from `from` on,
// with which m's first day fits on day `day`; 0 when none.
int lateStartSlots(const Member& m, int64_t units, const CalendarDay& cd, int day, int from,
                   const Overlay& o) {
  const int total = cd.countFrom(from);
  if (total <= 1) return 0;
  const int64_t capacity = m.resource->capacity(cd.minutes);
  const int64_t free = freeOn(m, day, cd.minutes, o);
  auto need = [&](int n) {
    return std::min(std::min(m.work, dailyShare(units, n * kSlotMinutes)), capacity);
  };
  const int64_t estimate = free > 0 ? free * kFullTime / (units * kSlotMinutes) + 2 : 0;
  int n = static_cast<int>(std::min<int64_t>(total - 1, estimate));
  while (n > 0 && need(n) > free) --n;
  return n;
}

// The earliest start at or after the working slot p0 from which m fits:
// kFits with the layout in `out` and the start in `start`, or kNoRoom.
Fit searchMember(const Member& m, int64_t units, Pos p0, const Overlay& o,
                 std::vector<DayPart>& out, Pos& start) {
  WorkCalendar& cal = *m.calendar;
  Pos p = p0;
  for (;;) {
    int blocked = 0;
    const Fit fit = layOut(m, units, p, true, o, out, blocked);
    if (fit != Fit::kBlocked) {
      start = p;
      return fit;
    }
    const CalendarDay& cd = cal.at(blocked);
    const int from = blocked == p.day ? p.slot : 0;
    const int n = lateStartSlots(m, units, cd, blocked, from, o);
    Pos next{blocked + 1, 0};
    if (n > 0) {
      next = {blocked, cd.nthFrom(from, cd.countFrom(from) - n)};
    } else if (!normalize(cal, next)) {
      return Fit::kNoRoom;
    }
    if (key(next) <= key(p)) {  // never the same start twice
      next = {p.day, p.slot + 1};
      if (!normalize(cal, next)) return Fit::kNoRoom;
    }
    p = next;
  }
}

MemberPlacement finish(const Member& m, Pos start, std::vector<DayPart>& days,
                       const Overlay& o) {
  MemberPlacement mp;
  mp.startDay = start.day;
  mp.startSlot = start.slot;
  mp.finishDay = start.day;
  mp.finishSlot = start.slot;
  WorkCalendar& cal = *m.calendar;
  if (!days.empty()) {
    mp.startSlot = days.front().day == start.day ? days.front().fromSlot : start.slot;
    const DayPart& last = days.back();
    mp.finishDay = last.day;
    mp.finishSlot = cal.at(last.day).nthFrom(last.fromSlot, last.slots - 1) + 1;
  }
  if (m.recordOver) {
    for (const DayPart& part : days) {
      const int64_t capacity = m.resource->capacity(cal.at(part.day).minutes);
      const int64_t load =
          m.resource->load(part.day) + overlayAt(o, m.resource, part.day) + part.minutes;
      if (load > capacity) mp.over.push_back({part.day, load, capacity});
    }
  }
  mp.days = std::move(days);
  return mp;
}

int64_t unitsOf(const Member& m) {
  if (m.units > 0) return m.units;
  return m.resource->maxUnits > 0 ? m.resource->maxUnits : kFullTime;
}

// One member from the common start s: kFits with its placement, or kNoRoom.
// `own` receives s plus the member's delay, `start` where it starts. The
// task's other assignments do not hold it back (`siblings` counts only in
// the over-allocations recorded): were they to, two assignments of one
// task on one resource, the second delayed into the first's days, would
// push the common start on forever.
Fit placeMember(const Member& m, Pos s, const Overlay& siblings, MemberPlacement& out, Pos& own,
                Pos& start) {
  WorkCalendar& cal = *m.calendar;
  own = s;
  if (!normalize(cal, own) || !advance(cal, own, m.delay)) return Fit::kNoRoom;
  std::vector<DayPart> days;
  int blocked = 0;
  start = own;
  const Overlay none;
  const Fit fit = m.waits ? searchMember(m, unitsOf(m), own, none, days, start)
                          : layOut(m, unitsOf(m), own, false, none, days, blocked);
  if (fit != Fit::kFits) return Fit::kNoRoom;
  out = finish(m, start, days, siblings);
  return Fit::kFits;
}

}  // namespace

SearchOutcome placeTask(std::vector<Member>& members, int startDay, int startSlot,
                        std::vector<MemberPlacement>& out) {
  out.assign(members.size(), MemberPlacement{});
  Pos s{startDay, std::clamp(startSlot, 0, kSlotsPerDay)};
  for (;;) {
    Overlay overlay;
    bool together = true;
    Pos next = s;
    for (std::size_t i = 0; i < members.size(); ++i) {
      const Member& m = members[i];
      Pos own, start;
      if (placeMember(m, s, overlay, out[i], own, start) != Fit::kFits) {
        return SearchOutcome::kNoRoom;
      }
      if (key(start) != key(own) && members.size() > 1) {
        together = false;
        const Pos back = retreat(*m.calendar, start, m.delay, s.day);
        if (key(back) > key(next)) next = back;
      }
      if (members.size() > 1) {
        for (const DayPart& part : out[i].days) overlay[{m.resource, part.day}] += part.minutes;
      }
    }
    if (together) return SearchOutcome::kPlaced;
    if (key(next) <= key(s)) next = {s.day, s.slot + 1};
    if (next.slot > kSlotsPerDay) next = {next.day + 1, 0};
    s = next;
  }
}

}  // namespace host::levelling
