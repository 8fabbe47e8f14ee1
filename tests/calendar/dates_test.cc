// Day numbers, weekdays and text forms: worked examples, every day from
// 1900-01-01 to 2200-12-31 against a plain Julian-calendar walk, and the
// refusal of texts outside the accepted forms (buffers sized exactly, so the
// sanitizer catches any read past a text).
#include "calendar/dates.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "calendar/day_bits.h"

namespace {

std::string text(char* owned) {
  if (owned == nullptr) return "<null>";
  std::string s(owned);
  delete[] owned;
  return s;
}

// Everything a call printed to its log stream.
template <typename F>
std::string logged(F call) {
  FILE* f = std::tmpfile();
  call(f);
  std::string out;
  std::rewind(f);
  for (int c; (c = std::fgetc(f)) != EOF;) out.push_back(static_cast<char>(c));
  std::fclose(f);
  return out;
}

int monthLength(int y, int m) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && y % 4 == 0 ? 29 : kDays[m - 1];  // Julian: no century rule
}

TEST(Dates, WorkedExamples) {
  EXPECT_EQ(dayOfYearToJulian(2000, 1, 1), 2451558);
  EXPECT_EQ(dayOfYearToJulian(2000, 3, 1), 2451618);
  EXPECT_EQ(dateStringToJulian("2000-01-01"), 2451558);
  EXPECT_EQ(text(julianToDateString(2451558)), "2000-01-01");
  EXPECT_EQ(text(julianToDateString(dayOfYearToJulian(2000, 3, 5))), "2000-03-05");
  // Julian calendar: both century days exist and are followed by March 1st.
  EXPECT_EQ(dateStringToJulian("1900-02-29") + 1, dateStringToJulian("1900-03-01"));
  EXPECT_EQ(dateStringToJulian("2100-02-29") + 1, dateStringToJulian("2100-03-01"));
  // Weekdays as the store names them: 1 Sunday .. 7 Saturday.
  EXPECT_EQ(julianToWeekDay(dateStringToJulian("2000-01-01")), 7);
  EXPECT_EQ(julianToWeekDay(dateStringToJulian("1950-01-01")), 1);
  EXPECT_EQ(julianToWeekDay(dateStringToJulian("2024-01-01")), 2);
  EXPECT_EQ(julianToWeekDay(-1), getPreviousWeekDay(julianToWeekDay(0)));
  char buf[DATE_TEXT_SIZE];
  transformJulianToDateString(dateStringToJulian("1999-12-31"), buf);
  EXPECT_STREQ(buf, "1999-12-31");
}

TEST(Dates, EveryDayFrom1900To2200RoundTrips) {
  int expected = dayOfYearToJulian(1900, 1, 1);
  int weekday = julianToWeekDay(expected);
  char model[32];
  char buf[DATE_TEXT_SIZE];
  for (int y = 1900; y <= 2200; ++y) {
    for (int m = 1; m <= 12; ++m) {
      for (int d = 1; d <= monthLength(y, m); ++d, ++expected) {
        ASSERT_EQ(dayOfYearToJulian(y, m, d), expected) << y << "-" << m << "-" << d;
        int yy = 0, mm = 0, dd = 0;
        julianToDate(expected, &yy, &mm, &dd);
        ASSERT_TRUE(yy == y && mm == m && dd == d) << expected;
        std::snprintf(model, sizeof model, "%04d-%02d-%02d", y, m, d);
        transformJulianToDateString(expected, buf);
        ASSERT_STREQ(buf, model);
        ASSERT_EQ(dateStringToJulian(model), expected) << model;
        ASSERT_EQ(julianToWeekDay(expected), weekday) << model;
        weekday = getNextWeekDay(weekday);
      }
    }
  }
}

TEST(Dates, DateTextFieldsAndRefusals) {
  const int jan1 = dateStringToJulian("2000-01-01");
  EXPECT_EQ(dateStringToJulian("2000--1---1"), jan1);     // runs of dashes split once
  EXPECT_EQ(dateStringToJulian("-2000-01-01-"), jan1);
  EXPECT_EQ(dateStringToJulian("2000-01-07-01"), jan1);   // a later field is the day
  EXPECT_EQ(dateStringToJulian("2000-01-01 12:00"), -1);  // 16 characters
  EXPECT_EQ(dateStringToJulian("2000-01-01 12:0"), jan1); // 15: day reads "01"
  EXPECT_EQ(dateStringToJulian("2000-01"), jan1 - 1);     // absent day counts 0
  EXPECT_EQ(dateStringToJulian(""), dayOfYearToJulian(0, 0, 0));
  EXPECT_EQ(dateStringToJulian("99999-01-01"), -1);
  EXPECT_EQ(dateStringToJulian(nullptr), -1);
  // A long text without a terminator: refused without reading past 16 bytes.
  char* unterminated = new char[16];
  std::memset(unterminated, '1', 16);
  EXPECT_EQ(dateStringToJulian(unterminated), -1);
  EXPECT_EQ(shortTimeStringToMinutes(unterminated, nullptr), -1);
  delete[] unterminated;
}

TEST(Dates, ShortTimes) {
  EXPECT_EQ(shortTimeStringToMinutes("8.30"), 510);
  EXPECT_EQ(shortTimeStringToMinutes("08:30"), 510);
  EXPECT_EQ(shortTimeStringToMinutes("08:.30"), 510);
  EXPECT_EQ(shortTimeStringToMinutes("24:00"), 1440);
  EXPECT_EQ(shortTimeStringToMinutes("7"), 420);
  EXPECT_EQ(shortTimeStringToMinutes(""), 0);
  EXPECT_EQ(shortTimeStringToMinutes(nullptr), -1);
  EXPECT_EQ(shortTimeStringToMinutes("0000000000008:30"), -1);  // 16 characters
  EXPECT_EQ(shortTimeStringToMinutes("10000:00"), -1);
  int minutes = 0;
  EXPECT_EQ(logged([&](FILE* f) { minutes = shortTimeStringToMinutes("08:30:15", f); }),
            "\n: wrong format of time string !");
  EXPECT_EQ(minutes, 510);
  EXPECT_EQ(logged([&](FILE* f) { shortTimeStringToMinutes("08:30", f); }), "");
}

TEST(Dates, TimeStampNormalisationAndRefusals) {
  auto norm = [](const char* s) { return text(normalizeFormatOfTimeStampString(s, nullptr)); };
  EXPECT_EQ(norm("2004-01-01 08:30:00.000000"), "2004-01-01 08:30:00.000000");
  EXPECT_EQ(norm("2004-01-01 08:30:59.999999"), "2004-01-01 08:30:00.000000");
  EXPECT_EQ(norm("2004-01-01 8.30"), "2004-01-01 08:30:00.000000");
  EXPECT_EQ(norm("2004-01-01 8:5"), "2004-01-01 08:05:00.000000");
  EXPECT_EQ(norm("2004-01-01 17"), "2004-01-01 17:00:00.000000");
  EXPECT_EQ(norm("2004-01-01"), "2004-01-01 :00.000000");
  EXPECT_EQ(norm("2004-01-01 "), "2004-01-01 :00.000000");
  std::string out;
  const std::string message = logged(
      [&](FILE* f) { out = text(normalizeFormatOfTimeStampString("2004-01-01 1:2:3", f)); });
  EXPECT_EQ(message, "\n: wrong format of timeStamp string !");
  EXPECT_EQ(out, "2004-01-01 01:02:00.000000");

  EXPECT_EQ(norm(nullptr), "<null>");
  EXPECT_EQ(norm("2004-01"), "<null>");                        // no whole date
  EXPECT_EQ(norm("2004-01-01T08:30"), "<null>");               // time not at 11
  EXPECT_EQ(norm("2004-1-1 08:30"), "<null>");
  EXPECT_EQ(norm("2004-01-01 083:0"), "<null>");               // hours not HH
  EXPECT_EQ(norm("2004-01-01 08:30:00.0000000"), "<null>");    // 27 characters
}

TEST(Dates, TimeStampParse) {
  int day = -1;
  int minute = -1;
  EXPECT_EQ(parseTimeStamp("2000-01-01 08:30:00.000000", &day, &minute), 1);
  EXPECT_EQ(day, 2451558);
  EXPECT_EQ(minute, 510);
  EXPECT_EQ(parseTimeStamp("1900-02-29 24:00", &day, &minute), 1);
  EXPECT_EQ(day, dateStringToJulian("1900-02-29"));
  EXPECT_EQ(minute, 1440);
  // A normalised stamp always parses back to its date and time.
  char* n = normalizeFormatOfTimeStampString("2100-02-29 7.45", nullptr);
  EXPECT_EQ(parseTimeStamp(n, &day, &minute), 1);
  delete[] n;
  EXPECT_EQ(day, dateStringToJulian("2100-02-29"));
  EXPECT_EQ(minute, 465);

  day = minute = -7;
  for (const char* bad : {"2001-02-29 00:00", "2000-13-01 00:00", "2000-00-10 00:00",
                          "2000-01-00 00:00", "2000-01-01 24:01", "2000-01-01 10:60",
                          "2000-01-01 10:3", "2000-01-01T10:30", "2000/01/01 10:30",
                          "2000-01-01 10:30:00.0000000", "2000-01-01 10:30:0x.000000", ""}) {
    EXPECT_EQ(parseTimeStamp(bad, &day, &minute), 0) << bad;
  }
  EXPECT_EQ(parseTimeStamp(nullptr, &day, &minute), 0);
  EXPECT_EQ(day, -7);
  EXPECT_EQ(minute, -7);
}

TEST(Dates, SmallHelpers) {
  char buf[TIME_TEXT_SIZE];
  const std::pair<int, const char*> cases[] = {{0, "00:00:00.000000"},   {510, "08:30:00.000000"},
                                               {1435, "23:55:00.000000"}, {1440, "24:00:00.000000"},
                                               {-5, "00:00:00.000000"},  {9999, "24:00:00.000000"}};
  for (const auto& [minutes, want] : cases) {
    formatMinutesAsTime(minutes, buf);
    EXPECT_STREQ(buf, want);
    EXPECT_EQ(text(getFormatTimeFromMinutes(minutes)), want);
  }
  // The day-bit texts and the minute texts are one format.
  EXPECT_EQ(text(getFormatFinishTimeFromDayBits(dayBitsDefault8H)),
            text(getFormatTimeFromMinutes(getFinishTimeMinutesFromDayBits(dayBitsDefault8H))));

  EXPECT_EQ(handleDuration(0), 1);
  EXPECT_EQ(handleDuration(-3), 1);
  EXPECT_EQ(handleDuration(4), 4);
  for (int w = 1; w <= 7; ++w) {
    EXPECT_EQ(getPreviousWeekDay(getNextWeekDay(w)), w);
    EXPECT_EQ(getNextWeekDay(w), w == 7 ? 1 : w + 1);
  }
  EXPECT_EQ(getPreviousWeekDay(1), 7);
  // Each predicate knows its own character only.
  int (*const is[])(char) = {ifSpace, ifDash, ifDot, ifColumn, ifTab};
  const char chars[] = " -.:\t";
  for (int p = 0; p < 5; ++p) {
    for (int c = 0; c < 5; ++c) EXPECT_EQ(is[p](chars[c]), p == c ? 1 : 0) << p << c;
    EXPECT_EQ(is[p]('x'), 0);
  }
}

}  // namespace
