// Laying working minutes within one day (see day_work.h for the rule).
#include "schedule/day_work.h"

#include "calendar/day_bits.h"

namespace {

constexpr int kSlot = 5;

bool onGrid(int t) { return t >= 0 && t <= DAY_MINUTES && t % kSlot == 0; }

}  // namespace

int daySlotEndingAtIsAvailable(const unsigned char* bits, int u) {
  if (u < kSlot || u > DAY_MINUTES) return 0;
  int s = (u - kSlot) / kSlot;
  return (bits[s / 8] >> (7 - s % 8)) & 1;
}

int dayWorkFinishByPushing(const unsigned char* bits, int t, int m) {
  if (m < 0) m = 0;
  int f = t + m;
  // Each round adds the non-working minutes found so far; a round that
  // changes f adds at least one slot, and the count stops growing at 1440,
  // so the loop ends after at most 289 rounds.
  for (;;) {
    int nf = t + m + getNotAveMinutesWithinTimeIntervalFromDayBits(bits, t + kSlot, f);
    if (nf == f) return f;
    f = nf;
  }
}

int dayWorkStartByPushing(const unsigned char* bits, int u, int m) {
  if (m < 0) m = 0;
  int s = u - m;
  for (;;) {
    int ns = u - m - getNotAveMinutesWithinTimeIntervalFromDayBits(bits, s + kSlot, u);
    if (ns == s) return s;
    s = ns;
  }
}

int dayWorkFinish(const unsigned char* bits, int t, int m) {
  if (m < 0) m = 0;
  if (!onGrid(t)) return dayWorkFinishByPushing(bits, t, m);
  const int q = m / kSlot;
  const int r = m % kSlot;
  if (q == 0) return t + r;
  // Slots ending at or before t are the ones before the first slot laid.
  const int before = getAveMinutesWithinTimeIntervalFromDayBits(bits, kSlot, t) / kSlot;
  const int total = getAveMinutesFromDayBits(bits) / kSlot;
  // Does not fit: the pushing would end past midnight by the missing slots.
  if (before + q > total) return DAY_MINUTES + kSlot * (before + q - total) + r;
  return kSlot * Lev_getFirstBitSkip(bits, before + q) + r;
}

int dayWorkStart(const unsigned char* bits, int u, int m) {
  if (m < 0) m = 0;
  if (!onGrid(u) || m % kSlot != 0) return dayWorkStartByPushing(bits, u, m);
  const int q = m / kSlot;
  if (q == 0) return u;
  const int upto = getAveMinutesWithinTimeIntervalFromDayBits(bits, kSlot, u) / kSlot;
  if (upto < q) return kSlot * (upto - q);  // does not fit: below every start
  // The first slot laid is the (upto - q + 1)-th available slot of the day.
  return kSlot * (Lev_getFirstBitSkip(bits, upto - q + 1) - 1);
}
