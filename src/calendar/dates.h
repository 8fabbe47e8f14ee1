// Day numbers, weekdays and the text forms of dates and times.
//
// Day number: the Julian day number of a date in the Julian calendar (every
// fourth year a leap year, no century rule): 2000-01-01 is 2451558,
// 2000-03-01 is 2451618, and 1900-02-29 and 2100-02-29 are valid days.
// dayOfYearToJulian and julianToDate are exact inverses. Records keep day
// numbers minus the run's julianDateOrigin; this unit knows only the
// absolute numbers.
//
// Weekdays: 1 = Sunday .. 7 = Saturday, cyclic. julianToWeekDay gives the
// weekday the store's calendar gives the same date text (2000-01-01 is a
// Saturday, 7): between 1900-03-01 and 2100-02-28 the Julian arithmetic runs
// 13 days ahead of the Gregorian calendar, and outside that range the
// weekday simply continues the 7-day cycle, one step per day number.
//
// Times of day: minutes after midnight, 0..1440.
//
// Text forms: dates "YYYY-MM-DD" (10 characters), short times "HH:MM" or
// "HH.MM", time stamps "YYYY-MM-DD HH:MM:SS.ffffff" (26 characters), time
// texts "HH:MM:00.000000" (15 characters).
//
// Ownership: julianToDateString, normalizeFormatOfTimeStampString and
// getFormatTimeFromMinutes return buffers allocated with new[]; the caller
// releases them with delete[]. Nothing else allocates; nothing keeps state.
//
// Refusals (texts outside the accepted forms; nothing is read or written
// past the fixed buffers):
// - dateStringToJulian returns -1 for a null text, a text over 15
//   characters, or a field value over 9999. (-1 is not the number of any
//   date of years 0..9999, the only ones a text can name.)
// - shortTimeStringToMinutes returns -1 for a null text, a text over 15
//   characters, or a field value over 9999.
// - normalizeFormatOfTimeStampString returns nullptr for a null text, a
//   text shorter than 10 or longer than 26 characters, a text whose
//   character at position 10 is not a blank (the time does not start at
//   position 11), or an hours or minutes field longer than two characters.
// - parseTimeStamp returns 0 (outputs untouched) for anything but
//   "YYYY-MM-DD HH:MM" optionally followed by the rest of ":SS.ffffff"
//   (digits where digits belong), a date that is not a real Julian-calendar
//   day, or a time past 24:00.
// Where a function prints, it prints to its trailing FILE* (stdout, the run's
// log, unless told otherwise; null prints nothing).
#ifndef LEVELER_CALENDAR_DATES_H
#define LEVELER_CALENDAR_DATES_H

#include <cstdio>

constexpr int DATE_TEXT_SIZE = 11;        // "YYYY-MM-DD" and its terminator
constexpr int TIME_STAMP_TEXT_SIZE = 27;  // "YYYY-MM-DD HH:MM:SS.ffffff" + terminator
constexpr int TIME_TEXT_SIZE = 16;        // "HH:MM:00.000000" + terminator

// Julian day number of year y, month m (1..12), day d.
int dayOfYearToJulian(int y, int m, int d);
// The inverse: year, month and day of a Julian day number.
void julianToDate(int julianDate, int* yy, int* mm, int* dd);

// Julian day number of a date text: fields split at runs of dashes; first
// the year, second the month, the third and any later one the day (the last
// wins); each read as the decimal number of its leading digits; absent
// fields count as 0. -1 when refused (see above).
int dateStringToJulian(const char* s);
// New 11-byte text YYYY-MM-DD (year as a plain decimal number, month and day
// with two digits). new[], caller delete[]s.
char* julianToDateString(int julianDate);
// The same text written into s (at least 11 bytes). Years outside 0..9999
// are cut to fit the 11 bytes.
void transformJulianToDateString(int julianDate, char* s);

// Minutes of a time text "HH:MM" or "HH.MM": fields split at runs of dots or
// colons, 60 x hours + minutes. Each field past the second prints
// "\n: wrong format of time string !" and is ignored; an empty text gives 0.
// -1 when refused (see above).
int shortTimeStringToMinutes(const char* s, FILE* file = stdout);
// New 27-byte time stamp "YYYY-MM-DD HH:MM:00.000000" made from the first 10
// characters (the date) and the up to 5 characters from position 11 (the
// time, split at runs of dots or colons into hours and minutes and rejoined
// with a colon; a one-character field gets a leading zero, an absent minutes
// field is "00"). Each time field past the second prints
// "\n: wrong format of timeStamp string !" and is ignored. An empty time
// yields the date, a blank and ":00.000000". nullptr when refused (see
// above). new[], caller delete[]s.
char* normalizeFormatOfTimeStampString(const char* timeStampString, FILE* file = stdout);

// n, but 1 when n < 1.
int handleDuration(int n);
// The weekday after and before w, cyclic over 1..7.
int getNextWeekDay(int w);
int getPreviousWeekDay(int w);
// Weekday (1 = Sunday .. 7 = Saturday) of a Julian day number, as the store
// names the weekday of the same date text.
int julianToWeekDay(int julianDate);

// 1 when the character is a blank, a dash, a dot, a colon or a tab.
int ifSpace(char c);
int ifDash(char c);
int ifDot(char c);
int ifColumn(char c);
int ifTab(char c);

// Writes minutes as "%02d:%02d:00.000000" (hours = minutes div 60, minutes
// mod 60) into buf (at least 16 bytes). Minutes are clamped to 0..1440 so
// the text always has its 15 characters.
void formatMinutesAsTime(int minutes, char* buf);
// The same as a new 16-byte text. new[], caller delete[]s.
char* getFormatTimeFromMinutes(int minutes);

// Reads a time stamp "YYYY-MM-DD HH:MM:SS.ffffff" (the text may stop after
// "HH:MM" or anywhere inside ":SS.ffffff"; seconds are ignored) into the
// Julian day number of its date and the minute of day (0..1440). Returns 1,
// or 0 when refused (see above) with the outputs untouched.
int parseTimeStamp(const char* timeStamp, int* julianDate, int* minuteOfDay);

#endif
