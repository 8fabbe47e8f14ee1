// Laying working minutes within one day: where m working minutes laid
// forward from a time t end, or laid backward from a time u begin, on one
// day's bits. Every placement and every lag shift uses these on its first
// and last day.
//
// Units: times are minutes after midnight (0..1440), m is working minutes
// (>= 0); bits are one day's 36 bytes (288 five-minute slots).
//
// The rule (the one the placement states for a finish): start from t + m and
// push the finish later by every non-working minute of the day lying between
// t and it, counted with the interval convention of day_bits.h over
// (t + 5, finish), repeating until nothing changes. The repetition converges
// on the smallest fixed point; for t on the five-minute grid that is the end
// of the (m div 5)-th available slot at or after t, plus m mod 5. The
// backward rule mirrors it: from u - m, pushed earlier by the non-working
// minutes over (start + 5, u), converging on the largest fixed point, the
// start of the (m div 5)-th available slot counted back from u.
//
// "Does not fit": when the day has fewer available minutes after t (before
// u) than m, dayWorkFinish returns a time later than every working end of
// the day (above 1440 or the fixed point past the last slot) and
// dayWorkStart one earlier than every working start (below 0, or the fixed
// point before the first slot). Callers compare the result with the day's
// working end FT (start ST): a finish <= FT (start >= ST) fits.
//
// Work that reaches exactly the start of a break ends there: 240 minutes from
// 08:00 on the default day end at 12:00, 245 at 13:05.
//
// The direct forms (slot counting through Lev_getFirstBitSkip) are used when
// the times are on the five-minute grid (and, backward, m too); otherwise the
// repetition itself runs. Both forms are public so that tests can hold them
// against each other.
#ifndef LEVELER_SCHEDULE_DAY_WORK_H
#define LEVELER_SCHEDULE_DAY_WORK_H

// Finish of m working minutes laid from t (forward).
int dayWorkFinish(const unsigned char* bits, int t, int m);
// Start of m working minutes laid back from u (backward).
int dayWorkStart(const unsigned char* bits, int u, int m);

// The same by repeating the push literally (reference forms).
int dayWorkFinishByPushing(const unsigned char* bits, int t, int m);
int dayWorkStartByPushing(const unsigned char* bits, int u, int m);

// 1 when the slot that ends at time u (slot (u - 5) div 5) is available;
// 0 for u below 5 or above 1440.
int daySlotEndingAtIsAvailable(const unsigned char* bits, int u);

#endif
