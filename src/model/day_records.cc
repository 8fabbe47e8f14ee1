// Day records: creation with an owned copy of the day bits, copy, release and
// the decimal-key match callbacks. A key text that is not a number reads as 0
// (as the C library's strtol does); out-of-range keys saturate and so match
// no 32-bit day.
#include "model/day_records.h"

#include <cstdlib>
#include <cstring>

namespace {

unsigned char* copyDayBits(const unsigned char* bits) {
  if (bits == nullptr) return nullptr;
  unsigned char* copy = new unsigned char[DAY_RECORD_BITS_LEN];
  std::memcpy(copy, bits, DAY_RECORD_BITS_LEN);
  return copy;
}

long keyAsNumber(const void* lookfor) {
  if (lookfor == nullptr) return 0;
  return std::strtol(static_cast<const char*>(lookfor), nullptr, 10);
}

}  // namespace

day_effort_type* dayEffortCreateNew(int32_t dayOfYear, int32_t dayOfWeek, int32_t effort,
                                    const unsigned char* dayScheduleBits) {
  day_effort_type* d = new day_effort_type{};
  d->effort = effort;
  d->dayOfWeek = dayOfWeek;
  d->dayOfYear = dayOfYear;
  d->day_bits = copyDayBits(dayScheduleBits);
  return d;
}

day_effort_type* dayEffortCopyCreateNew(const day_effort_type* this_dayEffort) {
  return dayEffortCreateNew(this_dayEffort->dayOfYear, this_dayEffort->dayOfWeek,
                            this_dayEffort->effort, this_dayEffort->day_bits);
}

void dayEffortDelete(day_effort_type* this_dayEffort) {
  if (this_dayEffort == nullptr) return;
  delete[] this_dayEffort->day_bits;
  delete this_dayEffort;
}

int dayEffortMatchRelJulianDate(void* this_dayEffort, const void* lookfor) {
  return static_cast<day_effort_type*>(this_dayEffort)->dayOfYear == keyAsNumber(lookfor) ? 1 : 0;
}

day_of_year_type* dayOfYearCreateNew(int32_t julian, int32_t year, int32_t mm, int32_t dd,
                                     int32_t dow, int32_t effort,
                                     const unsigned char* dayScheduleBits) {
  day_of_year_type* d = new day_of_year_type{};
  d->julian = julian;
  d->year = year;
  d->mm = mm;
  d->dd = dd;
  d->dow = dow;
  d->effort = effort;
  d->day_bits = copyDayBits(dayScheduleBits);
  return d;
}

day_of_year_type* dayOfYearCopyCreateNew(const day_of_year_type* this_dayOfYear) {
  return dayOfYearCreateNew(this_dayOfYear->julian, this_dayOfYear->year, this_dayOfYear->mm,
                            this_dayOfYear->dd, this_dayOfYear->dow, this_dayOfYear->effort,
                            this_dayOfYear->day_bits);
}

void dayOfYearDelete(day_of_year_type* this_dayOfYear) {
  if (this_dayOfYear == nullptr) return;
  delete[] this_dayOfYear->day_bits;
  delete this_dayOfYear;
}

int dayOfYearMatchYear(void* this_dayOfYear, const void* lookfor) {
  return static_cast<day_of_year_type*>(this_dayOfYear)->year == keyAsNumber(lookfor) ? 1 : 0;
}
