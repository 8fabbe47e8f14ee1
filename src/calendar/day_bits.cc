// Day bits: placeholder definitions so that dependants link; the operations
// follow in the next change.
#include "calendar/day_bits.h"

const unsigned char firstBits[256] = {};
const unsigned char numberOfBits[256] = {};
const unsigned char fTimeBits[8] = {};
const unsigned char extraFirstBits[128][8] = {};
const unsigned char dayBitsDefault8H[DAY_BITS_BYTES] = {};

unsigned char* getNullDayBits() { return new unsigned char[DAY_BITS_BYTES](); }
void setDayBitsToNull(unsigned char*) {}
int cmpByteArrays(const unsigned char*, const unsigned char*, int) { return 0; }
int getAveMinutesFromDayBits(const unsigned char*) { return 0; }
int Lev_getFirstBit(const unsigned char*) { return DAY_SLOTS; }
int Lev_getFirstBit_new(const unsigned char*) { return DAY_SLOTS; }
int Lev_getLastBit(const unsigned char*) { return 0; }
int getStartTimeMinutesFromDayBits(const unsigned char*) { return DAY_MINUTES; }
int getFinishTimeMinutesFromDayBits(const unsigned char*) { return 0; }
char* getFormatStartTimeFromDayBits(const unsigned char*) { return new char[DAY_TIME_TEXT_SIZE](); }
char* getFormatFinishTimeFromDayBits(const unsigned char*) { return new char[DAY_TIME_TEXT_SIZE](); }
int Lev_getFirstBitSkip(const unsigned char*, int) { return DAY_SLOTS; }
int Lev_getFirstBitSkipFinish(const unsigned char*, int) { return DAY_SLOTS; }
void Lev_clearFinishDayStruct(int, unsigned char*) {}
int getAveMinutesWithinTimeIntervalFromDayBits(const unsigned char*, int, int) { return 0; }
int getNotAveMinutesWithinTimeIntervalFromDayBits(const unsigned char*, int, int) { return 0; }
void mountClosestRightAveTimeFromDayBits(const unsigned char*, int*, int*) {}
void mountClosestLeftAveTimeFromDayBits(const unsigned char*, int*, int*) {}
void Lev_splitSchedBitsInTwo(const unsigned char*, char* bitSched) { bitSched[0] = '\0'; }
int Binary(char c) { return c - '0'; }
int decodeDayBitsHex(const char*, unsigned char*) { return 0; }
