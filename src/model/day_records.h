// Day records of the working calendars.
//
// day_effort_type: one calendar day of a project, identified by its day count
// (day number minus the project's first_day), with its weekday (1 = Sunday ..
// 7 = Saturday) and its available working minutes.
// day_of_year_type: one calendar date (day number relative to the run's
// julianDateOrigin, plus year/month/day and weekday) with its available
// working minutes.
//
// Ownership: each record owns a private copy of its day bits (36 bytes, 288
// five-minute slots, slot 0 in the most significant bit of byte 0), or holds
// no bits at all (day_bits null) when none were given. The delete functions
// release the bits and the record; copies copy the bits.
//
// Match callbacks read the key as a decimal number text (a list searched by
// these has no name callback and is never indexed).
#ifndef LEVELER_MODEL_DAY_RECORDS_H
#define LEVELER_MODEL_DAY_RECORDS_H

#include <cstdint>

// Size of one day's bits in bytes: 288 slots of 5 minutes.
inline constexpr int DAY_RECORD_BITS_LEN = 36;

struct day_effort_type {
  int32_t effort;           // available minutes of the day
  int32_t dayOfWeek;        // 1 = Sunday .. 7 = Saturday
  int32_t dayOfYear;        // day count relative to the project's first_day
  unsigned char* day_bits;  // owned, DAY_RECORD_BITS_LEN bytes, or null
};

struct day_of_year_type {
  int32_t julian;  // day number (relative to julianDateOrigin)
  int32_t year;
  int32_t mm;
  int32_t dd;
  int32_t dow;              // 1 = Sunday .. 7 = Saturday
  int32_t effort;           // available minutes
  unsigned char* day_bits;  // owned, DAY_RECORD_BITS_LEN bytes, or null
};

// dayScheduleBits may be null: the record then has no bits.
day_effort_type* dayEffortCreateNew(int32_t dayOfYear, int32_t dayOfWeek, int32_t effort,
                                    const unsigned char* dayScheduleBits);
day_effort_type* dayEffortCopyCreateNew(const day_effort_type* this_dayEffort);
void dayEffortDelete(day_effort_type* this_dayEffort);
// Nonzero when dayOfYear equals the key text read as a decimal number.
int dayEffortMatchRelJulianDate(void* this_dayEffort, const void* lookfor);

day_of_year_type* dayOfYearCreateNew(int32_t julian, int32_t year, int32_t mm, int32_t dd,
                                     int32_t dow, int32_t effort,
                                     const unsigned char* dayScheduleBits);
day_of_year_type* dayOfYearCopyCreateNew(const day_of_year_type* this_dayOfYear);
void dayOfYearDelete(day_of_year_type* this_dayOfYear);
// Nonzero when year equals the key text read as a decimal number.
int dayOfYearMatchYear(void* this_dayOfYear, const void* lookfor);

#endif
