// Day numbers and text forms: placeholder definitions so that dependants
// link; the operations follow in the next change.
#include "calendar/dates.h"

int dayOfYearToJulian(int, int, int) { return 0; }
void julianToDate(int, int*, int*, int*) {}
int dateStringToJulian(const char*) { return -1; }
char* julianToDateString(int) { return new char[DATE_TEXT_SIZE](); }
void transformJulianToDateString(int, char* s) { s[0] = '\0'; }
int shortTimeStringToMinutes(const char*, FILE*) { return -1; }
char* normalizeFormatOfTimeStampString(const char*, FILE*) { return nullptr; }
int handleDuration(int n) { return n < 1 ? 1 : n; }
int getNextWeekDay(int w) { return w >= 7 ? 1 : w + 1; }
int getPreviousWeekDay(int w) { return w <= 1 ? 7 : w - 1; }
int julianToWeekDay(int) { return 1; }
int ifSpace(char c) { return c == ' '; }
int ifDash(char c) { return c == '-'; }
int ifDot(char c) { return c == '.'; }
int ifColumn(char c) { return c == ':'; }
int ifTab(char c) { return c == '\t'; }
void formatMinutesAsTime(int, char* buf) { buf[0] = '\0'; }
char* getFormatTimeFromMinutes(int) { return new char[TIME_TEXT_SIZE](); }
int parseTimeStamp(const char*, int*, int*) { return 0; }
