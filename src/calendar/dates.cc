// Day numbers, weekdays and the text forms of dates and times (forms, units
// and the refusal of texts outside the accepted forms in dates.h).
//
// The day-number arithmetic is done in 64 bits so that no input, however
// absurd, overflows; results are then narrowed to the 32-bit day numbers the
// records hold. Text parsing works on the caller's text in place, bounded by
// the longest accepted form, and never copies into a fixed buffer, so a long
// text is refused before anything is read past its accepted length.
#include "calendar/dates.h"

#include <cstring>

namespace {

constexpr int kMaxDateText = 15;       // longest accepted date text
constexpr int kMaxShortTimeText = 15;  // longest accepted short time text
constexpr int kMaxTimeStamp = 26;      // "YYYY-MM-DD HH:MM:SS.ffffff"
constexpr int kMaxFieldValue = 9999;   // largest accepted numeric field

constexpr char kWrongTime[] = "\n: wrong format of time string !";
constexpr char kWrongTimeStamp[] = "\n: wrong format of timeStamp string !";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Walks the fields of text[0..n) separated by runs of separator characters
// (leading and trailing separators make no empty fields), calling
// field(index, start, length) for each; stops early when field returns false.
template <typename IsSep, typename Field>
bool forEachField(const char* text, int n, IsSep isSep, Field field) {
  int index = 0;
  int i = 0;
  while (i < n) {
    while (i < n && isSep(text[i])) ++i;
    if (i == n) break;
    const int start = i;
    while (i < n && !isSep(text[i])) ++i;
    if (!field(index++, text + start, i - start)) return false;
  }
  return true;
}

// Decimal value of the leading digits of a field (0 when it has none);
// false when it exceeds kMaxFieldValue.
bool fieldValue(const char* f, int len, int* value) {
  int v = 0;
  for (int i = 0; i < len && isDigit(f[i]); ++i) {
    v = 10 * v + (f[i] - '0');
    if (v > kMaxFieldValue) return false;
  }
  *value = v;
  return true;
}

int textLength(const char* s, int limit) {
  return static_cast<int>(strnlen(s, static_cast<size_t>(limit) + 1));
}

void printMessage(FILE* file, const char* message) {
  if (file != nullptr) std::fputs(message, file);
}

}  // namespace

int dayOfYearToJulian(int y, int m, int d) {
  const long long yy = y;
  const long long mm = m;
  const long long j =
      367 * yy - (7 * (yy + 5001 + (mm - 9) / 7)) / 4 + (275 * mm) / 9 + d + 1729777;
  return static_cast<int>(j);
}

void julianToDate(int julianDate, int* yy, int* mm, int* dd) {
  long long l = static_cast<long long>(julianDate) + 68607;
  const long long n = l / 36525;
  l = l - (146100 * n + 3) / 4;
  const long long i = (4000 * (l + 1)) / 1461001;
  l = l - (1461 * i) / 4 + 31;
  const long long j = (80 * l) / 2447;
  *dd = static_cast<int>(l - (2447 * j) / 80);
  l = j / 11;
  *mm = static_cast<int>(j + 2 - 12 * l);
  *yy = static_cast<int>(100 * n + i + l - 4900);
}

int dateStringToJulian(const char* s) {
  if (s == nullptr) return -1;
  const int n = textLength(s, kMaxDateText);
  if (n > kMaxDateText) return -1;
  int ymd[3] = {0, 0, 0};
  const bool ok = forEachField(s, n, ifDash, [&](int index, const char* f, int len) {
    return fieldValue(f, len, &ymd[index < 2 ? index : 2]);
  });
  if (!ok) return -1;
  return dayOfYearToJulian(ymd[0], ymd[1], ymd[2]);
}

void transformJulianToDateString(int julianDate, char* s) {
  int y = 0;
  int m = 0;
  int d = 0;
  julianToDate(julianDate, &y, &m, &d);
  // Formatted into room for any int, then cut to the 10 characters of the form.
  char wide[48];
  std::snprintf(wide, sizeof wide, "%d-%02d-%02d", y, m, d);
  const size_t len = strnlen(wide, DATE_TEXT_SIZE - 1);
  std::memcpy(s, wide, len);
  s[len] = '\0';
}

char* julianToDateString(int julianDate) {
  char* s = new char[DATE_TEXT_SIZE];
  transformJulianToDateString(julianDate, s);
  return s;
}

int shortTimeStringToMinutes(const char* s, FILE* file) {
  if (s == nullptr) return -1;
  const int n = textLength(s, kMaxShortTimeText);
  if (n > kMaxShortTimeText) return -1;
  int hm[2] = {0, 0};
  const bool ok = forEachField(
      s, n, [](char c) { return ifDot(c) || ifColumn(c); },
      [&](int index, const char* f, int len) {
        if (index < 2) return fieldValue(f, len, &hm[index]);
        printMessage(file, kWrongTime);
        return true;
      });
  if (!ok) return -1;
  return 60 * hm[0] + hm[1];
}

char* normalizeFormatOfTimeStampString(const char* timeStampString, FILE* file) {
  if (timeStampString == nullptr) return nullptr;
  const int n = textLength(timeStampString, kMaxTimeStamp);
  if (n < 10 || n > kMaxTimeStamp) return nullptr;
  if (n > 10 && !ifSpace(timeStampString[10])) return nullptr;
  // The time is the up to 5 characters from position 11.
  const char* time = timeStampString + (n > 11 ? 11 : n);
  const int timeLen = n > 16 ? 5 : (n > 11 ? n - 11 : 0);
  const char* part[2] = {nullptr, nullptr};
  int partLen[2] = {0, 0};
  int parts = 0;
  const bool ok = forEachField(
      time, timeLen, [](char c) { return ifDot(c) || ifColumn(c); },
      [&](int index, const char* f, int len) {
        if (index < 2) {
          if (len > 2) return false;
          part[index] = f;
          partLen[index] = len;
          parts = index + 1;
          return true;
        }
        printMessage(file, kWrongTimeStamp);
        return true;
      });
  if (!ok) return nullptr;

  char* out = new char[TIME_STAMP_TEXT_SIZE];
  char* p = out;
  std::memcpy(p, timeStampString, 10);
  p += 10;
  *p++ = ' ';
  if (parts > 0) {
    for (int k = 0; k < 2; ++k) {
      if (k == 1) *p++ = ':';
      if (part[k] == nullptr) {  // absent minutes
        *p++ = '0';
        *p++ = '0';
        continue;
      }
      if (partLen[k] == 1) *p++ = '0';
      std::memcpy(p, part[k], static_cast<size_t>(partLen[k]));
      p += partLen[k];
    }
  }
  std::memcpy(p, ":00.000000", 11);  // with its terminator
  return out;
}

int handleDuration(int n) { return n < 1 ? 1 : n; }

int getNextWeekDay(int w) { return w >= 7 ? 1 : w + 1; }

int getPreviousWeekDay(int w) { return w <= 1 ? 7 : w - 1; }

int julianToWeekDay(int julianDate) {
  // Day number 2451558 (2000-01-01, a Saturday for the store) gives 7.
  long long r = (static_cast<long long>(julianDate) + 2) % 7;
  if (r < 0) r += 7;
  return static_cast<int>(r) + 1;
}

int ifSpace(char c) { return c == ' ' ? 1 : 0; }
int ifDash(char c) { return c == '-' ? 1 : 0; }
int ifDot(char c) { return c == '.' ? 1 : 0; }
int ifColumn(char c) { return c == ':' ? 1 : 0; }
int ifTab(char c) { return c == '\t' ? 1 : 0; }

void formatMinutesAsTime(int minutes, char* buf) {
  if (minutes < 0) minutes = 0;
  if (minutes > 1440) minutes = 1440;
  const int h = minutes / 60;
  const int m = minutes % 60;
  buf[0] = static_cast<char>('0' + h / 10);
  buf[1] = static_cast<char>('0' + h % 10);
  buf[2] = ':';
  buf[3] = static_cast<char>('0' + m / 10);
  buf[4] = static_cast<char>('0' + m % 10);
  std::memcpy(buf + 5, ":00.000000", 11);  // with its terminator
}

char* getFormatTimeFromMinutes(int minutes) {
  char* buf = new char[TIME_TEXT_SIZE];
  formatMinutesAsTime(minutes, buf);
  return buf;
}

int parseTimeStamp(const char* timeStamp, int* julianDate, int* minuteOfDay) {
  static constexpr char kPattern[] = "DDDD-DD-DD DD:DD:DD.DDDDDD";
  if (timeStamp == nullptr) return 0;
  const int n = textLength(timeStamp, kMaxTimeStamp);
  if (n < 16 || n > kMaxTimeStamp) return 0;
  for (int i = 0; i < n; ++i) {
    const bool ok = kPattern[i] == 'D' ? isDigit(timeStamp[i]) : timeStamp[i] == kPattern[i];
    if (!ok) return 0;
  }
  auto num = [&](int at, int len) {
    int v = 0;
    for (int i = at; i < at + len; ++i) v = 10 * v + (timeStamp[i] - '0');
    return v;
  };
  const int y = num(0, 4);
  const int m = num(5, 2);
  const int d = num(8, 2);
  const int hh = num(11, 2);
  const int mi = num(14, 2);
  if (m < 1 || m > 12 || d < 1 || mi > 59 || 60 * hh + mi > 1440) return 0;
  // A day past the end of its month would land on another date.
  const int j = dayOfYearToJulian(y, m, d);
  int ry = 0;
  int rm = 0;
  int rd = 0;
  julianToDate(j, &ry, &rm, &rd);
  if (ry != y || rm != m || rd != d) return 0;
  *julianDate = j;
  *minuteOfDay = 60 * hh + mi;
  return 1;
}
