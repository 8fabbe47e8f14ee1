// Day bits: the constant tables and the operations that count, find and trim
// the working time of one day (layout and interval convention in
// day_bits.h).
//
// Every scan reads a 36-byte stack copy of the caller's day and works whole
// bytes at a time: zero bytes are skipped as eight slots at once, partial
// bytes at the ends of a range are masked with fTimeBits, and first-bit and
// skip searches use firstBits, numberOfBits and extraFirstBits. These
// functions run for every day of every item on every pass, so none of them
// allocates except the three that return a new buffer.
//
// The tables below are literal so that they are plain constant data; the
// tests recompute each entry from its definition.
#include "calendar/day_bits.h"

#include <bit>
#include <cstring>

#include "calendar/dates.h"

const unsigned char firstBits[256] = {
    0, 7, 6, 6, 5, 5, 5, 5, 4, 4, 4, 4, 4, 4, 4, 4,
    3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3,
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
};

const unsigned char numberOfBits[256] = {
    0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4,
    1, 2, 2, 3, 2, 3, 3, 4, 2, 3, 3, 4, 3, 4, 4, 5,
    1, 2, 2, 3, 2, 3, 3, 4, 2, 3, 3, 4, 3, 4, 4, 5,
    2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6,
    1, 2, 2, 3, 2, 3, 3, 4, 2, 3, 3, 4, 3, 4, 4, 5,
    2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6,
    2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6,
    3, 4, 4, 5, 4, 5, 5, 6, 4, 5, 5, 6, 5, 6, 6, 7,
    1, 2, 2, 3, 2, 3, 3, 4, 2, 3, 3, 4, 3, 4, 4, 5,
    2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6,
    2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6,
    3, 4, 4, 5, 4, 5, 5, 6, 4, 5, 5, 6, 5, 6, 6, 7,
    2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6,
    3, 4, 4, 5, 4, 5, 5, 6, 4, 5, 5, 6, 5, 6, 6, 7,
    3, 4, 4, 5, 4, 5, 5, 6, 4, 5, 5, 6, 5, 6, 6, 7,
    4, 5, 5, 6, 5, 6, 6, 7, 5, 6, 6, 7, 6, 7, 7, 8,
};

const unsigned char fTimeBits[8] = {0x00, 0x80, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE};

// Row r: slot indices (0 = most significant) of the set bits of r, from the
// least significant set bit upward, padded with 0.
const unsigned char extraFirstBits[128][8] = {
    {0,0,0,0,0,0,0,0}, {7,0,0,0,0,0,0,0}, {6,0,0,0,0,0,0,0}, {7,6,0,0,0,0,0,0},  // 0-3
    {5,0,0,0,0,0,0,0}, {7,5,0,0,0,0,0,0}, {6,5,0,0,0,0,0,0}, {7,6,5,0,0,0,0,0},  // 4-7
    {4,0,0,0,0,0,0,0}, {7,4,0,0,0,0,0,0}, {6,4,0,0,0,0,0,0}, {7,6,4,0,0,0,0,0},  // 8-11
    {5,4,0,0,0,0,0,0}, {7,5,4,0,0,0,0,0}, {6,5,4,0,0,0,0,0}, {7,6,5,4,0,0,0,0},  // 12-15
    {3,0,0,0,0,0,0,0}, {7,3,0,0,0,0,0,0}, {6,3,0,0,0,0,0,0}, {7,6,3,0,0,0,0,0},  // 16-19
    {5,3,0,0,0,0,0,0}, {7,5,3,0,0,0,0,0}, {6,5,3,0,0,0,0,0}, {7,6,5,3,0,0,0,0},  // 20-23
    {4,3,0,0,0,0,0,0}, {7,4,3,0,0,0,0,0}, {6,4,3,0,0,0,0,0}, {7,6,4,3,0,0,0,0},  // 24-27
    {5,4,3,0,0,0,0,0}, {7,5,4,3,0,0,0,0}, {6,5,4,3,0,0,0,0}, {7,6,5,4,3,0,0,0},  // 28-31
    {2,0,0,0,0,0,0,0}, {7,2,0,0,0,0,0,0}, {6,2,0,0,0,0,0,0}, {7,6,2,0,0,0,0,0},  // 32-35
    {5,2,0,0,0,0,0,0}, {7,5,2,0,0,0,0,0}, {6,5,2,0,0,0,0,0}, {7,6,5,2,0,0,0,0},  // 36-39
    {4,2,0,0,0,0,0,0}, {7,4,2,0,0,0,0,0}, {6,4,2,0,0,0,0,0}, {7,6,4,2,0,0,0,0},  // 40-43
    {5,4,2,0,0,0,0,0}, {7,5,4,2,0,0,0,0}, {6,5,4,2,0,0,0,0}, {7,6,5,4,2,0,0,0},  // 44-47
    {3,2,0,0,0,0,0,0}, {7,3,2,0,0,0,0,0}, {6,3,2,0,0,0,0,0}, {7,6,3,2,0,0,0,0},  // 48-51
    {5,3,2,0,0,0,0,0}, {7,5,3,2,0,0,0,0}, {6,5,3,2,0,0,0,0}, {7,6,5,3,2,0,0,0},  // 52-55
    {4,3,2,0,0,0,0,0}, {7,4,3,2,0,0,0,0}, {6,4,3,2,0,0,0,0}, {7,6,4,3,2,0,0,0},  // 56-59
    {5,4,3,2,0,0,0,0}, {7,5,4,3,2,0,0,0}, {6,5,4,3,2,0,0,0}, {7,6,5,4,3,2,0,0},  // 60-63
    {1,0,0,0,0,0,0,0}, {7,1,0,0,0,0,0,0}, {6,1,0,0,0,0,0,0}, {7,6,1,0,0,0,0,0},  // 64-67
    {5,1,0,0,0,0,0,0}, {7,5,1,0,0,0,0,0}, {6,5,1,0,0,0,0,0}, {7,6,5,1,0,0,0,0},  // 68-71
    {4,1,0,0,0,0,0,0}, {7,4,1,0,0,0,0,0}, {6,4,1,0,0,0,0,0}, {7,6,4,1,0,0,0,0},  // 72-75
    {5,4,1,0,0,0,0,0}, {7,5,4,1,0,0,0,0}, {6,5,4,1,0,0,0,0}, {7,6,5,4,1,0,0,0},  // 76-79
    {3,1,0,0,0,0,0,0}, {7,3,1,0,0,0,0,0}, {6,3,1,0,0,0,0,0}, {7,6,3,1,0,0,0,0},  // 80-83
    {5,3,1,0,0,0,0,0}, {7,5,3,1,0,0,0,0}, {6,5,3,1,0,0,0,0}, {7,6,5,3,1,0,0,0},  // 84-87
    {4,3,1,0,0,0,0,0}, {7,4,3,1,0,0,0,0}, {6,4,3,1,0,0,0,0}, {7,6,4,3,1,0,0,0},  // 88-91
    {5,4,3,1,0,0,0,0}, {7,5,4,3,1,0,0,0}, {6,5,4,3,1,0,0,0}, {7,6,5,4,3,1,0,0},  // 92-95
    {2,1,0,0,0,0,0,0}, {7,2,1,0,0,0,0,0}, {6,2,1,0,0,0,0,0}, {7,6,2,1,0,0,0,0},  // 96-99
    {5,2,1,0,0,0,0,0}, {7,5,2,1,0,0,0,0}, {6,5,2,1,0,0,0,0}, {7,6,5,2,1,0,0,0},  // 100-103
    {4,2,1,0,0,0,0,0}, {7,4,2,1,0,0,0,0}, {6,4,2,1,0,0,0,0}, {7,6,4,2,1,0,0,0},  // 104-107
    {5,4,2,1,0,0,0,0}, {7,5,4,2,1,0,0,0}, {6,5,4,2,1,0,0,0}, {7,6,5,4,2,1,0,0},  // 108-111
    {3,2,1,0,0,0,0,0}, {7,3,2,1,0,0,0,0}, {6,3,2,1,0,0,0,0}, {7,6,3,2,1,0,0,0},  // 112-115
    {5,3,2,1,0,0,0,0}, {7,5,3,2,1,0,0,0}, {6,5,3,2,1,0,0,0}, {7,6,5,3,2,1,0,0},  // 116-119
    {4,3,2,1,0,0,0,0}, {7,4,3,2,1,0,0,0}, {6,4,3,2,1,0,0,0}, {7,6,4,3,2,1,0,0},  // 120-123
    {5,4,3,2,1,0,0,0}, {7,5,4,3,2,1,0,0}, {6,5,4,3,2,1,0,0}, {7,6,5,4,3,2,1,0},  // 124-127
};

// 08:00-12:00 (slots 96-143, bytes 12-17) and 13:00-17:00 (slots 156-203:
// low nibble of byte 19, bytes 20-24, high nibble of byte 25).
const unsigned char dayBitsDefault8H[DAY_BITS_BYTES] = {
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF,
    0xFF, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
};

namespace {

// One day copied onto the stack, so that scans never touch the caller's
// buffer more than once and the compiler can keep it in registers.
struct DayCopy {
  unsigned char b[DAY_BITS_BYTES];
  explicit DayCopy(const unsigned char* day) { std::memcpy(b, day, DAY_BITS_BYTES); }
  bool slot(int k) const { return (b[k >> 3] & (0x80u >> (k & 7))) != 0; }
};

// Mask of the bits of a byte from slot j (0..7) to the end of the byte.
inline unsigned fromSlotMask(int j) { return 0xFFu >> j; }
// Mask of the bits of a byte from its start up to slot j (0..7) inclusive.
inline unsigned uptoSlotMask(int j) { return j == 7 ? 0xFFu : fTimeBits[j + 1]; }

// First set slot >= s (0 <= s < 288) of the copy; 288 when none.
int firstSetFrom(const DayCopy& d, int s) {
  int i = s >> 3;
  unsigned byte = d.b[i] & fromSlotMask(s & 7);
  while (byte == 0) {
    if (++i == DAY_BITS_BYTES) return DAY_SLOTS;
    byte = d.b[i];
  }
  return (i << 3) + firstBits[byte];
}

// Last set slot <= s (0 <= s < 288) of the copy; -1 when none.
int lastSetUpTo(const DayCopy& d, int s) {
  int i = s >> 3;
  unsigned byte = d.b[i] & uptoSlotMask(s & 7);
  while (byte == 0) {
    if (--i < 0) return -1;
    byte = d.b[i];
  }
  // The lowest set bit of the byte is its last set slot.
  return (i << 3) + 7 - std::countr_zero(byte);
}

// Set slots of the inclusive slot range first..last (0 <= first <= last <
// 288), whole bytes at a time.
int countSetSlots(const DayCopy& d, int first, int last) {
  const int fb = first >> 3;
  const int lb = last >> 3;
  if (fb == lb) {
    return numberOfBits[d.b[fb] & fromSlotMask(first & 7) & uptoSlotMask(last & 7)];
  }
  int n = numberOfBits[d.b[fb] & fromSlotMask(first & 7)];
  for (int i = fb + 1; i < lb; ++i) n += numberOfBits[d.b[i]];
  return n + numberOfBits[d.b[lb] & uptoSlotMask(last & 7)];
}

// The slot range of an interval (see the convention in the header); false
// when it holds no slot.
bool intervalSlots(int lower_time, int upper_time, int* first, int* last) {
  if (upper_time < lower_time || upper_time < 5) return false;
  if (lower_time < 5) lower_time = 5;
  if (upper_time > DAY_MINUTES) upper_time = DAY_MINUTES;
  *first = (lower_time - 5) / 5;
  *last = (upper_time - 5) / 5;
  return *first <= *last;
}

// "HH:MM:00.000000" of the start of a slot (0..288): hours = slot div 12,
// minutes = (slot mod 12) x 5, which is the time of 5 x slot minutes.
char* newSlotTimeText(int slot) { return getFormatTimeFromMinutes(5 * slot); }

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

unsigned char* getNullDayBits() { return new unsigned char[DAY_BITS_BYTES](); }

void setDayBitsToNull(unsigned char* day) { std::memset(day, 0, DAY_BITS_BYTES); }

int cmpByteArrays(const unsigned char* si1, const unsigned char* si2, int n) {
  if (n <= 0) return 0;
  return std::memcmp(si1, si2, static_cast<size_t>(n));
}

int getAveMinutesFromDayBits(const unsigned char* day_bits) {
  const DayCopy d(day_bits);
  int n = 0;
  for (unsigned char byte : d.b) n += numberOfBits[byte];
  return 5 * n;
}

int Lev_getFirstBit(const unsigned char* day) {
  const DayCopy d(day);
  for (int i = 0; i < DAY_BITS_BYTES; ++i) {
    if (d.b[i] == 0) continue;
    for (int j = 0; j < 8; ++j) {
      if (d.b[i] & (0x80u >> j)) return (i << 3) + j;
    }
  }
  return DAY_SLOTS;
}

int Lev_getFirstBit_new(const unsigned char* day) { return firstSetFrom(DayCopy(day), 0); }

int Lev_getLastBit(const unsigned char* day) {
  return lastSetUpTo(DayCopy(day), DAY_SLOTS - 1) + 1;
}

int getStartTimeMinutesFromDayBits(const unsigned char* day) {
  return 5 * Lev_getFirstBit_new(day);
}

int getFinishTimeMinutesFromDayBits(const unsigned char* day) { return 5 * Lev_getLastBit(day); }

char* getFormatStartTimeFromDayBits(const unsigned char* day) {
  return newSlotTimeText(Lev_getFirstBit_new(day));
}

char* getFormatFinishTimeFromDayBits(const unsigned char* day) {
  return newSlotTimeText(Lev_getLastBit(day));
}

int Lev_getFirstBitSkip(const unsigned char* day, int skip) {
  const DayCopy d(day);
  if (skip <= 0) return firstSetFrom(d, 0);
  int remaining = skip;
  for (int i = 0; i < DAY_BITS_BYTES; ++i) {
    const int n = numberOfBits[d.b[i]];
    if (remaining > n) {
      remaining -= n;
      continue;
    }
    // The remaining-th set slot of this byte from its start is the
    // (n - remaining + 1)-th from its least significant end.
    return (i << 3) + extraFirstBits[d.b[i] & 0x7F][n - remaining] + 1;
  }
  return DAY_SLOTS;
}

int Lev_getFirstBitSkipFinish(const unsigned char* day, int skip) {
  return Lev_getFirstBitSkip(day, skip);
}

void Lev_clearFinishDayStruct(int skip, unsigned char* day) {
  const int keep = skip / 5;
  // With nothing to keep the cut is the first set slot, which empties the day.
  const int cut = Lev_getFirstBitSkip(day, keep < 0 ? 0 : keep);
  if (cut >= DAY_SLOTS) return;
  day[cut >> 3] &= fTimeBits[cut & 7];
  for (int i = (cut >> 3) + 1; i < DAY_BITS_BYTES; ++i) day[i] = 0;
}

int getAveMinutesWithinTimeIntervalFromDayBits(const unsigned char* day_bits, int lower_time,
                                               int upper_time) {
  int first = 0;
  int last = 0;
  if (!intervalSlots(lower_time, upper_time, &first, &last)) return 0;
  return 5 * countSetSlots(DayCopy(day_bits), first, last);
}

int getNotAveMinutesWithinTimeIntervalFromDayBits(const unsigned char* day_bits, int lower_time,
                                                  int upper_time) {
  int first = 0;
  int last = 0;
  if (!intervalSlots(lower_time, upper_time, &first, &last)) return 0;
  return 5 * (last - first + 1 - countSetSlots(DayCopy(day_bits), first, last));
}

void mountClosestRightAveTimeFromDayBits(const unsigned char* day_bits, int* this_time,
                                         int* next_time) {
  int t = *this_time < 5 ? 5 : *this_time;
  if (t > DAY_MINUTES) {
    *this_time = *next_time = DAY_MINUTES;
    return;
  }
  const DayCopy d(day_bits);
  const int s = (t - 5) / 5;
  const int k = firstSetFrom(d, s);
  if (k == DAY_SLOTS) {
    *this_time = *next_time = DAY_MINUTES;
  } else if (k == s && (s == 0 || d.slot(s - 1))) {
    *this_time = *next_time = t;  // inside a working run
  } else {
    *this_time = 5 * k < 5 ? 5 : 5 * k;
    *next_time = 5 * k + 5;
  }
}

void mountClosestLeftAveTimeFromDayBits(const unsigned char* day_bits, int* this_time,
                                        int* prev_time) {
  int t = *this_time;
  if (t < 6) {
    *this_time = *prev_time = 5;
    return;
  }
  if (t > DAY_MINUTES) t = DAY_MINUTES;
  const DayCopy d(day_bits);
  const int s = (t - 5) / 5;
  if (!d.slot(s) && (s + 1 == DAY_SLOTS || d.slot(s + 1))) {
    // A working run (or the end of the day) begins right after slot s.
    *this_time = t;
    *prev_time = t + 5 > DAY_MINUTES ? DAY_MINUTES : t + 5;
    return;
  }
  const int k = lastSetUpTo(d, s);
  if (k < 0) {
    *this_time = *prev_time = 5;
    return;
  }
  *prev_time = 5 * k + 5;
  *this_time = (k == 0 || d.slot(k - 1)) ? 5 * k + 5 : 5 * k;
}

void Lev_splitSchedBitsInTwo(const unsigned char* day, char* bitSched) {
  static const char kDigits[] = "0123456789abcdef";
  for (int i = 0; i < DAY_BITS_BYTES; ++i) {
    bitSched[2 * i] = kDigits[day[i] >> 4];
    bitSched[2 * i + 1] = kDigits[day[i] & 0x0F];
  }
  bitSched[DAY_BITS_HEX_DIGITS] = '\0';
}

int Binary(char c) {
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c - '0';
}

int decodeDayBitsHex(const char* text, unsigned char* day) {
  if (text == nullptr) return 0;
  // Check all 72 digits before writing anything; the scan stops at the
  // terminator of a short text, so it never reads past it.
  for (int i = 0; i < DAY_BITS_HEX_DIGITS; ++i) {
    if (hexValue(text[i]) < 0) return 0;
  }
  for (int i = 0; i < DAY_BITS_BYTES; ++i) {
    day[i] = static_cast<unsigned char>(16 * Binary(text[2 * i]) + Binary(text[2 * i + 1]));
  }
  return 1;
}

std::string dayBitsHexOfRanges(std::initializer_list<std::pair<int, int>> ranges) {
  unsigned char day[36] = {};
  for (const auto& [from, to] : ranges) {
    for (int m = from < 0 ? 0 : from; m < to && m < 1440; m += 5) {
      day[m / 40] |= static_cast<unsigned char>(0x80 >> ((m / 5) % 8));
    }
  }
  char text[73];
  Lev_splitSchedBitsInTwo(day, text);
  return text;
}
