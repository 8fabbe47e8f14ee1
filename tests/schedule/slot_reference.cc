// The slot-by-slot reference for placements and lag shifts (see
// slot_reference.h). Each rule of the placement or the shift that is more
// than "walk the working slots" is written once, with its name.
#include "slot_reference.h"

#include <algorithm>

namespace schedtest {

namespace {

constexpr int kSlots = 288;

struct SlotPos {
  int32_t date;
  int k;
};

// The n-th (n >= 1) slot counted walking forward from slot k0 of `date`.
// The first day counts its available slots from k0 on when firstDayCounts;
// every other day counts only when it has more than 5 available minutes.
SlotPos walkForward(const SlotCalendar& cal, int32_t date, int k0, bool firstDayCounts, int n) {
  for (int32_t d = date;; ++d) {
    const bool counts = (d == date && firstDayCounts) || cal.available(d) > 5;
    if (!counts) continue;
    for (int k = (d == date ? std::max(k0, 0) : 0); k < kSlots; ++k) {
      if (cal.slot(d, k) && --n == 0) return {d, k};
    }
  }
}

// The n-th slot counted walking backward from slot kTop (inclusive).
SlotPos walkBackward(const SlotCalendar& cal, int32_t date, int kTop, bool firstDayCounts, int n) {
  for (int32_t d = date;; --d) {
    const bool counts = (d == date && firstDayCounts) || cal.available(d) > 5;
    if (!counts) continue;
    for (int k = (d == date ? std::min(kTop, kSlots - 1) : kSlots - 1); k >= 0; --k) {
      if (cal.slot(d, k) && --n == 0) return {d, k};
    }
  }
}

int32_t nextDayWithMoreThan5(const SlotCalendar& cal, int32_t d) {
  do ++d;
  while (cal.available(d) <= 5);
  return d;
}

int32_t previousDayWithMoreThan5(const SlotCalendar& cal, int32_t d) {
  do --d;
  while (cal.available(d) <= 5);
  return d;
}

// Rule "a start point at a day's working end is the next working day's
// working start": the next day with any working time; the duration handed
// in shrinks by one when that is the very next day (and never below 1).
RefPoint nextWorkingStart(const SlotCalendar& cal, int32_t d, int32_t dur, bool reduce) {
  int32_t n = d + 1;
  while (cal.available(n) < 5) ++n;
  if (reduce && n == d + 1) dur = std::max<int32_t>(dur - 1, 1);
  return {n, cal.workStart(n), dur};
}

// Rule "a finish point at a day's working start is the previous working
// day's working end", mirrored.
RefPoint previousWorkingEnd(const SlotCalendar& cal, int32_t d, int32_t dur, bool reduce) {
  int32_t p = d - 1;
  while (cal.available(p) < 5) --p;
  if (reduce && p == d - 1) dur = std::max<int32_t>(dur - 1, 1);
  return {p, cal.workEnd(p), dur};
}

void fillDays(const SlotCalendar& cal, RefPlacement* r) {
  r->duration = r->finish - r->start + 1;
  r->sST = cal.workStart(r->start);
  r->sFT = cal.workEnd(r->start);
  r->fST = cal.workStart(r->finish);
  r->fFT = cal.workEnd(r->finish);
}

}  // namespace

namespace {
int countSlots(const Day& d) {
  int n = 0;
  for (int k = 0; k < kSlots; ++k) n += (d[k / 8] >> (7 - k % 8)) & 1;
  return 5 * n;
}
}  // namespace

SlotCalendar::SlotCalendar(int32_t first, int32_t last, std::function<Day(int32_t)> bitsOf)
    : first_(first), bitsOf_(std::move(bitsOf)) {
  for (int32_t d = first; d <= last; ++d) {
    days_.push_back(bitsOf_(d));
    available_.push_back(countSlots(days_.back()));
  }
}

bool SlotCalendar::slot(int32_t date, int k) const {
  if (k < 0 || k >= kSlots) return false;
  const int64_t i = static_cast<int64_t>(date) - first_;
  if (i >= 0 && i < static_cast<int64_t>(days_.size())) {
    const Day& d = days_[static_cast<size_t>(i)];
    return ((d[k / 8] >> (7 - k % 8)) & 1) != 0;
  }
  const Day d = bitsOf_(date);
  return ((d[k / 8] >> (7 - k % 8)) & 1) != 0;
}

int SlotCalendar::available(int32_t date) const {
  const int64_t i = static_cast<int64_t>(date) - first_;
  if (i >= 0 && i < static_cast<int64_t>(available_.size())) return available_[static_cast<size_t>(i)];
  return countSlots(bitsOf_(date));
}

int SlotCalendar::workStart(int32_t date) const {
  for (int k = 0; k < kSlots; ++k) {
    if (slot(date, k)) return 5 * k;
  }
  return 1440;
}

int SlotCalendar::workEnd(int32_t date) const {
  for (int k = kSlots - 1; k >= 0; --k) {
    if (slot(date, k)) return 5 * (k + 1);
  }
  return 0;
}

RefPlacement refForward(const SlotCalendar& cal, int32_t start, int offStart, int effort, int ct) {
  RefPlacement r{};
  int32_t s = start;
  // Rule: a start day without working time moves to the nearest working
  // day, an earlier one under constraint 7; the start offset is kept.
  if (cal.available(s) < 5) {
    if (ct == 7) {
      do --s;
      while (cal.available(s) < 5);
    } else {
      do ++s;
      while (cal.available(s) < 5);
    }
  }
  r.offStart = offStart;
  if (offStart >= 1) {
    // Rule: a partial first day keeps its day; its start in non-working
    // time moves to the start of the next available slot (23:55 when none is
    // left), the offset growing with it.
    int t = cal.workStart(s) + offStart;
    if (t / 5 < kSlots && !cal.slot(s, t / 5)) {
      int k = t / 5;
      while (k < kSlots && !cal.slot(s, k)) ++k;
      const int nt = k < kSlots ? 5 * k : 1435;
      r.offStart += nt - t;
      t = nt;
    }
    r.start = s;
    if (effort == 0) {
      if (t <= cal.workEnd(s)) {
        r.finish = s;
        r.offFinish = cal.workEnd(s) - t;
      } else {
        // Rule: no effort from past the day's end ends at the next working
        // day's start (one working day is always taken).
        r.finish = nextDayWithMoreThan5(cal, s);
        r.offFinish = cal.workEnd(r.finish) - cal.workStart(r.finish);
      }
    } else {
      const SlotPos p = walkForward(cal, s, t / 5, true, effort / 5);
      r.finish = p.date;
      r.offFinish = cal.workEnd(p.date) - 5 * (p.k + 1);
    }
  } else {
    // Rule: without a start offset, days of 5 minutes or fewer at the
    // beginning move the start day on.
    int32_t d = s;
    while (cal.available(d) <= 5) ++d;
    r.start = d;
    if (effort == 0) {
      r.finish = d;
      r.offFinish = cal.workEnd(d) - cal.workStart(d);
    } else {
      const SlotPos p = walkForward(cal, d, 0, false, effort / 5);
      r.finish = p.date;
      r.offFinish = cal.workEnd(p.date) - 5 * (p.k + 1);
    }
  }
  fillDays(cal, &r);
  return r;
}

RefPlacement refBackward(const SlotCalendar& cal, int32_t finish, int offFinish, int effort,
                         int ct) {
  RefPlacement r{};
  int32_t f = finish;
  // Rule: a finish day without working time moves to the nearest working
  // day, a later one under constraint 2.
  if (cal.available(f) < 5) {
    if (ct == 2) {
      do ++f;
      while (cal.available(f) < 5);
    } else {
      do --f;
      while (cal.available(f) < 5);
    }
  }
  r.offFinish = offFinish;
  if (offFinish >= 1) {
    // Rule: a partial last day keeps its day; a finish in non-working time
    // moves back to the end of the last available slot before it (00:05
    // when none), except that a finish at the start of a working run stays.
    int u = cal.workEnd(f) - offFinish;
    if (u > 5 && u <= 1440) {
      const bool endsAvailable = cal.slot(f, (u - 5) / 5);
      const bool runStart = u / 5 >= kSlots || cal.slot(f, u / 5);
      if (!endsAvailable && !runStart) {
        int k = (u - 5) / 5;
        while (k >= 0 && !cal.slot(f, k)) --k;
        const int nu = k >= 0 ? 5 * (k + 1) : 5;
        r.offFinish += u - nu;
        u = nu;
      }
    }
    r.finish = f;
    if (effort == 0) {
      if (u >= cal.workStart(f)) {
        r.start = f;
        r.offStart = u - cal.workStart(f);
      } else {
        r.start = previousDayWithMoreThan5(cal, f);
        r.offStart = cal.workEnd(r.start) - cal.workStart(r.start);
      }
    } else {
      const SlotPos p = walkBackward(cal, f, u / 5 - 1, true, effort / 5);
      r.start = p.date;
      r.offStart = 5 * p.k - cal.workStart(p.date);
    }
  } else {
    // Rule: without a finish offset, days of 5 minutes or fewer at the end
    // move the finish day back.
    int32_t d = f;
    while (cal.available(d) <= 5) --d;
    r.finish = d;
    if (effort == 0) {
      r.start = d;
      r.offStart = cal.workEnd(d) - cal.workStart(d);
    } else {
      const SlotPos p = walkBackward(cal, d, kSlots - 1, false, effort / 5);
      r.start = p.date;
      r.offStart = 5 * p.k - cal.workStart(p.date);
    }
  }
  fillDays(cal, &r);
  return r;
}

RefPoint refShiftLater(const SlotCalendar& cal, int32_t date, int time, int32_t duration,
                       bool isFinish, bool lowEffort, int lag) {
  const int32_t d = date;
  const int t = time;
  // Settles the point where the walk ends on a later day. Rule: a start
  // point on a day's working end is the next working day's start (not for
  // items of effort below 6).
  auto endAcross = [&](SlotPos p) -> RefPoint {
    const int end = 5 * (p.k + 1);
    if (end == cal.workEnd(p.date) && !isFinish && !lowEffort) {
      return nextWorkingStart(cal, p.date, duration, true);
    }
    return {p.date, end, duration};
  };
  if (cal.available(d) < 5) {
    // Rule: on a day without working time the lag is laid from the next day.
    if (lag == 0) {
      const int32_t n = nextDayWithMoreThan5(cal, d);
      return {n, cal.workStart(n), duration};
    }
    return endAcross(walkForward(cal, d + 1, 0, false, lag / 5));
  }
  const int st = cal.workStart(d), ft = cal.workEnd(d);
  if (lag == 0) {
    // Rules for a point that does not move: past the day's end it goes to
    // the next working day's start; at the end a start point moves on; before
    // the start a start point takes the start and a finish point the
    // previous working day's end; at the start a finish point moves back.
    if (t > ft) {
      const int32_t n = nextDayWithMoreThan5(cal, d);
      return {n, cal.workStart(n), duration};
    }
    if (t == ft) {
      if (isFinish || lowEffort) return {d, ft, duration};
      return nextWorkingStart(cal, d, duration, true);
    }
    if (t < st) {
      if (!isFinish) return {d, st, duration};
      return previousWorkingEnd(cal, d, duration, false);
    }
    if (t == st) {
      if (!isFinish || lowEffort) return {d, st, duration};
      return previousWorkingEnd(cal, d, duration, true);
    }
    // Rule: a time inside a break goes to the start of the next working
    // run; one that ends an available slot stays.
    if (cal.slot(d, (t - 5) / 5)) return {d, t, duration};
    int k = t / 5;
    while (!cal.slot(d, k)) ++k;
    return {d, 5 * k, duration};
  }
  const SlotPos p = walkForward(cal, d, t / 5, true, lag / 5);
  if (p.date != d) return endAcross(p);
  const int end = 5 * (p.k + 1);
  if (end == ft && !isFinish && !lowEffort) return nextWorkingStart(cal, d, duration, true);
  return {d, end, duration};
}

RefPoint refShiftEarlier(const SlotCalendar& cal, int32_t date, int time, int32_t duration,
                         bool isFinish, bool lowEffort, int lead) {
  const int32_t d = date;
  const int t = time;
  auto startAcross = [&](SlotPos p) -> RefPoint {
    const int start = 5 * p.k;
    if (start == cal.workStart(p.date) && isFinish && !lowEffort) {
      return previousWorkingEnd(cal, p.date, duration, true);
    }
    return {p.date, start, duration};
  };
  if (cal.available(d) < 5) {
    // Rule: on a day without working time the lead is laid over the
    // preceding days.
    if (lead == 0) {
      const int32_t p = previousDayWithMoreThan5(cal, d);
      return {p, cal.workEnd(p), duration};
    }
    return startAcross(walkBackward(cal, d - 1, kSlots - 1, false, lead / 5));
  }
  const int st = cal.workStart(d), ft = cal.workEnd(d);
  if (lead == 0) {
    if (t < st) {
      const int32_t p = previousDayWithMoreThan5(cal, d);
      return {p, cal.workEnd(p), duration};
    }
    if (t == st) {
      if (!isFinish || lowEffort) return {d, st, duration};
      return previousWorkingEnd(cal, d, duration, true);
    }
    if (t > ft) {
      if (isFinish) return {d, ft, duration};
      return nextWorkingStart(cal, d, duration, false);
    }
    if (t == ft) {
      if (isFinish || lowEffort) return {d, ft, duration};
      return nextWorkingStart(cal, d, duration, true);
    }
    // Rule: a time inside a break goes back to the end of the previous
    // working run (to the start of that run when it is a single slot); the
    // start of a run and a time ending an available slot stay.
    const int s = (t - 5) / 5;
    if (cal.slot(d, s) || cal.slot(d, s + 1)) return {d, t, duration};
    int k = s;
    while (!cal.slot(d, k)) --k;
    const bool runOfOne = k > 0 && !cal.slot(d, k - 1);
    return {d, runOfOne ? 5 * k : 5 * (k + 1), duration};
  }
  const SlotPos p = walkBackward(cal, d, t / 5 - 1, true, lead / 5);
  if (p.date != d) return startAcross(p);
  const int start = 5 * p.k;
  if (start == st && isFinish && !lowEffort) return previousWorkingEnd(cal, d, duration, true);
  return {d, start, duration};
}

}  // namespace schedtest
