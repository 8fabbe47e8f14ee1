// Day bits: the working time of one day at five-minute resolution.
//
// A day is unsigned char[36] = 288 bits, one per five-minute slot. Slot k
// covers minutes 5k..5k+5 of the day; slot 0 is the most significant bit of
// byte 0, slot 7 its least significant bit, slot 8 the most significant bit
// of byte 1, and so on. A set bit is available (working) time, so the
// available minutes of a day are 5 x the number of set bits. In the store a
// day travels as 72 hexadecimal digits, two per byte, high nibble first.
//
// Units: times of day are minutes after midnight (0..1440); slot indices are
// 0..287, and 288 means "no such slot"; "skip" counts are slots, except for
// Lev_clearFinishDayStruct whose skip is minutes.
//
// Interval convention: an operation over (lower_time, upper_time) counts
// slot k when floor5(max(lower_time, 5)) <= 5k + 5 <= min(upper_time, 1440),
// i.e. the slot range is first = (max(lower,5) - 5) div 5 .. last =
// (min(upper,1440) - 5) div 5, inclusive. Bounds that are not multiples of
// five are thereby rounded down onto the slot grid (a lower bound of 603
// still counts the slot that ends at 600). Nothing is counted when
// upper_time < lower_time or upper_time < 5. A caller that wants the working
// time from a start time t up to u passes (t + 5, u).
//
// Ownership: every function works on the caller's 36 bytes (read through a
// stack copy where it scans); nothing is allocated except the texts of
// getNullDayBits, getFormatStartTimeFromDayBits and
// getFormatFinishTimeFromDayBits, which are allocated with new[] and which
// the caller releases with delete[]. The functions keep no state.
#ifndef LEVELER_CALENDAR_DAY_BITS_H
#define LEVELER_CALENDAR_DAY_BITS_H

#include <initializer_list>
#include <string>
#include <utility>

constexpr int DAY_BITS_BYTES = 36;       // bytes of one day
constexpr int DAY_SLOTS = 288;           // five-minute slots of one day
constexpr int DAY_MINUTES = 1440;        // minutes of one day
constexpr int DAY_BITS_HEX_DIGITS = 72;  // digits of the store's text form
constexpr int DAY_TIME_TEXT_SIZE = 16;   // "HH:MM:00.000000" and its terminator

// Constant tables, each indexed by a byte value.
// firstBits[v]: index (0 = most significant) of the highest set bit of v; 0
// for v = 0.
extern const unsigned char firstBits[256];
// numberOfBits[v]: number of set bits of v.
extern const unsigned char numberOfBits[256];
// fTimeBits[k]: mask with the k most significant bits set (00, 80, C0, ...).
extern const unsigned char fTimeBits[8];
// extraFirstBits[r] (r < 128): the slot indices within the byte (0 = most
// significant) of the set bits of r, from the least significant set bit
// upward, padded with 0. For any byte b with n set bits, the j-th set slot
// counted from the start of the byte (j = 1..n) is extraFirstBits[b & 0x7F]
// [n - j]: when b has its top bit set, the padding 0 at index n - 1 stands
// for slot 0.
extern const unsigned char extraFirstBits[128][8];
// The default working day: slots 96-143 and 156-203 (08:00-12:00 and
// 13:00-17:00, 480 minutes).
extern const unsigned char dayBitsDefault8H[DAY_BITS_BYTES];

// A new zeroed day (new[], caller delete[]s).
unsigned char* getNullDayBits();
// Clears all 288 bits.
void setDayBitsToNull(unsigned char* day);
// Byte-wise comparison of n bytes: negative, 0 or positive, like memcmp.
int cmpByteArrays(const unsigned char* si1, const unsigned char* si2, int n);

// 5 x the number of set bits.
int getAveMinutesFromDayBits(const unsigned char* day_bits);
// Index of the first set slot; 288 when none. The two give the same
// result; the second skips zero bytes and uses firstBits.
int Lev_getFirstBit(const unsigned char* day);
int Lev_getFirstBit_new(const unsigned char* day);
// Index after the last set slot (last set slot + 1); 0 when none.
int Lev_getLastBit(const unsigned char* day);
// 5 x Lev_getFirstBit (1440 for an empty day).
int getStartTimeMinutesFromDayBits(const unsigned char* day);
// 5 x Lev_getLastBit (0 for an empty day).
int getFinishTimeMinutesFromDayBits(const unsigned char* day);
// New 16-byte texts "HH:MM:00.000000" of the start of the first available
// slot ("24:00:00.000000" for an empty day) and of the end of the last one
// ("00:00:00.000000" for an empty day). new[], caller delete[]s.
char* getFormatStartTimeFromDayBits(const unsigned char* day);
char* getFormatFinishTimeFromDayBits(const unsigned char* day);

// With skip <= 0 the first set slot; otherwise the index just after the
// skip-th set slot counted from the start of the day; 288 when the day has
// fewer than skip set slots. The two names are one function.
int Lev_getFirstBitSkip(const unsigned char* day, int skip);
int Lev_getFirstBitSkipFinish(const unsigned char* day, int skip);
// Keeps the first skip div 5 available slots of the day (skip in minutes)
// and clears every later slot; a day with fewer available slots is left
// unchanged; skip below 5 empties the day.
void Lev_clearFinishDayStruct(int skip, unsigned char* day);

// 5 x the set (available) slots, or the clear (not available) slots, of the
// interval (interval convention above); 0 when upper_time < lower_time.
int getAveMinutesWithinTimeIntervalFromDayBits(const unsigned char* day_bits, int lower_time,
                                               int upper_time);
int getNotAveMinutesWithinTimeIntervalFromDayBits(const unsigned char* day_bits, int lower_time,
                                                  int upper_time);

// Closest available time at or after *this_time. t = *this_time raised to
// 5; t > 1440 gives (1440, 1440). With s = (t - 5) div 5 and k the first set
// slot >= s: no such slot gives (1440, 1440); k = s with the slot before s
// set (or s = 0) means t lies inside working time and gives (t, t);
// otherwise *this_time = 5k (never below 5) and *next_time = 5k + 5.
void mountClosestRightAveTimeFromDayBits(const unsigned char* day_bits, int* this_time,
                                         int* next_time);
// Closest available time at or before *this_time. t = *this_time; t < 6
// gives (5, 5); t is lowered to 1440; s = (t - 5) div 5. When slot s is
// clear and slot s + 1 is set (slot 288 counts as set): (t, min(t+5, 1440)).
// Otherwise k = the last set slot <= s: none gives (5, 5); found gives
// *prev_time = 5k + 5 and *this_time = 5k + 5 when the slot before k is set
// (or k = 0), else 5k (the start of that working run).
void mountClosestLeftAveTimeFromDayBits(const unsigned char* day_bits, int* this_time,
                                        int* prev_time);

// Writes the 72-digit text of the day into bitSched (at least 73 bytes):
// lowercase digits, high nibble first, terminated.
void Lev_splitSchedBitsInTwo(const unsigned char* day, char* bitSched);
// Value of one hexadecimal digit: A-F and a-f give 10-15, any other
// character its code minus the code of '0' (so it is only meaningful for
// real hex digits; decodeDayBitsHex checks them first).
int Binary(char c);
// Decodes the store's 72-digit text into day (36 bytes); upper and lower
// case digits decode the same. Returns 1 on success. A null text, a text
// shorter than 72 characters, or one with a non-hex character among its
// first 72 is refused: the function returns 0 and leaves day untouched.
// Characters after the 72nd are ignored. Never writes past day[35].
int decodeDayBitsHex(const char* text, unsigned char* day);

// The 72-digit text of a day that works the minutes [from, to) of each
// range (minutes after midnight, multiples of 5, at most 1440): what the
// writers of calendars and day rows store. No range: a day without work.
std::string dayBitsHexOfRanges(std::initializer_list<std::pair<int, int>> ranges);

#endif
