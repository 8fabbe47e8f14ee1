// Day bits against the default working day (worked examples) and against a
// slot-by-slot model of a day (a vector of 288 booleans) over thousands of
// random days: first and last slots, skips, trimming, interval counts and the
// closest-time searches, plus the hexadecimal text form.
#include "calendar/day_bits.h"

#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Day = std::array<unsigned char, DAY_BITS_BYTES>;
using Slots = std::vector<bool>;  // the model: slot k available

Slots toSlots(const unsigned char* day) {
  Slots s(DAY_SLOTS);
  for (int k = 0; k < DAY_SLOTS; ++k) s[k] = ((day[k / 8] >> (7 - k % 8)) & 1) != 0;
  return s;
}

Day fromSlots(const Slots& s) {
  Day d{};
  for (int k = 0; k < DAY_SLOTS; ++k) {
    if (s[k]) d[k / 8] |= static_cast<unsigned char>(0x80 >> (k % 8));
  }
  return d;
}

Day defaultDay() {
  Day d;
  std::memcpy(d.data(), dayBitsDefault8H, DAY_BITS_BYTES);
  return d;
}

// Random days made of working runs and gaps of random lengths, with an
// occasional empty or full day, so that run edges fall anywhere in a byte.
Slots randomSlots(std::mt19937& rng) {
  Slots s(DAY_SLOTS, false);
  const int kind = static_cast<int>(rng() % 20);
  if (kind == 0) return s;
  if (kind == 1) return Slots(DAY_SLOTS, true);
  const int maxRun = 1 + static_cast<int>(rng() % 60);
  bool on = rng() % 2 == 0;
  for (int k = 0; k < DAY_SLOTS;) {
    const int len = 1 + static_cast<int>(rng() % maxRun);
    for (int i = 0; i < len && k < DAY_SLOTS; ++i) s[k++] = on;
    on = !on;
  }
  return s;
}

// Slot-by-slot readings of the documented behaviour.
int modelCount(const Slots& s, int lower, int upper, bool available) {
  if (upper < lower || upper < 5) return 0;
  const int lo = (lower < 5 ? 5 : lower) / 5 * 5;  // rounded down onto the grid
  const int hi = upper > 1440 ? 1440 : upper;
  int minutes = 0;
  for (int k = 0; k < DAY_SLOTS; ++k) {
    const int end = 5 * k + 5;
    if (lo <= end && end <= hi && s[k] == available) minutes += 5;
  }
  return minutes;
}

std::pair<int, int> modelRight(const Slots& s, int t) {
  if (t < 5) t = 5;
  if (t > 1440) return {1440, 1440};
  const int start = (t - 5) / 5;
  for (int k = start; k < DAY_SLOTS; ++k) {
    if (!s[k]) continue;
    if (k == start && (k == 0 || s[k - 1])) return {t, t};
    return {5 * k, 5 * k + 5};
  }
  return {1440, 1440};
}

std::pair<int, int> modelLeft(const Slots& s, int t) {
  if (t < 6) return {5, 5};
  if (t > 1440) t = 1440;
  const int start = (t - 5) / 5;
  const bool nextSet = start + 1 == DAY_SLOTS || s[start + 1];
  if (!s[start] && nextSet) return {t, t + 5 > 1440 ? 1440 : t + 5};
  for (int k = start; k >= 0; --k) {
    if (s[k]) return {(k == 0 || s[k - 1]) ? 5 * k + 5 : 5 * k, 5 * k + 5};
  }
  return {5, 5};
}

int modelSkip(const Slots& s, int skip) {
  int seen = 0;
  for (int k = 0; k < DAY_SLOTS; ++k) {
    if (!s[k]) continue;
    if (skip <= 0) return k;
    if (++seen == skip) return k + 1;
  }
  return DAY_SLOTS;
}

std::string text(char* owned) {
  std::string s(owned);
  delete[] owned;
  return s;
}

TEST(DayBitsTables, EveryEntryMatchesItsDefinition) {
  for (int v = 0; v < 256; ++v) {
    int high = -1;
    int count = 0;
    for (int j = 0; j < 8; ++j) {
      if (v & (0x80 >> j)) {
        if (high < 0) high = j;
        ++count;
      }
    }
    EXPECT_EQ(firstBits[v], v == 0 ? 0 : high) << v;
    EXPECT_EQ(numberOfBits[v], count) << v;
    // The j-th set slot from the start of any byte, through the 128 rows.
    int j = 0;
    for (int slot = 0; slot < 8; ++slot) {
      if (!(v & (0x80 >> slot))) continue;
      ++j;
      EXPECT_EQ(extraFirstBits[v & 0x7F][count - j], slot) << v << " " << j;
    }
  }
  for (int k = 0; k < 8; ++k) EXPECT_EQ(fTimeBits[k], (0xFF00 >> k) & 0xFF) << k;
  const Slots def = toSlots(dayBitsDefault8H);
  for (int k = 0; k < DAY_SLOTS; ++k) {
    EXPECT_EQ(def[k], (k >= 96 && k <= 143) || (k >= 156 && k <= 203)) << k;
  }
}

TEST(DayBits, DefaultDayAndEmptyDay) {
  Day d = defaultDay();
  EXPECT_EQ(getAveMinutesFromDayBits(d.data()), 480);
  EXPECT_EQ(Lev_getFirstBit(d.data()), 96);
  EXPECT_EQ(Lev_getFirstBit_new(d.data()), 96);
  EXPECT_EQ(Lev_getLastBit(d.data()), 204);
  EXPECT_EQ(getStartTimeMinutesFromDayBits(d.data()), 480);
  EXPECT_EQ(getFinishTimeMinutesFromDayBits(d.data()), 1020);
  EXPECT_EQ(text(getFormatStartTimeFromDayBits(d.data())), "08:00:00.000000");
  EXPECT_EQ(text(getFormatFinishTimeFromDayBits(d.data())), "17:00:00.000000");

  unsigned char* empty = getNullDayBits();
  EXPECT_EQ(getAveMinutesFromDayBits(empty), 0);
  EXPECT_EQ(Lev_getFirstBit(empty), 288);
  EXPECT_EQ(Lev_getFirstBit_new(empty), 288);
  EXPECT_EQ(Lev_getLastBit(empty), 0);
  EXPECT_EQ(getStartTimeMinutesFromDayBits(empty), 1440);
  EXPECT_EQ(getFinishTimeMinutesFromDayBits(empty), 0);
  EXPECT_EQ(text(getFormatStartTimeFromDayBits(empty)), "24:00:00.000000");
  EXPECT_EQ(text(getFormatFinishTimeFromDayBits(empty)), "00:00:00.000000");
  EXPECT_EQ(Lev_getFirstBitSkip(empty, 1), 288);

  EXPECT_GT(cmpByteArrays(d.data(), empty, DAY_BITS_BYTES), 0);
  EXPECT_LT(cmpByteArrays(empty, d.data(), DAY_BITS_BYTES), 0);
  EXPECT_EQ(cmpByteArrays(d.data(), empty, 12), 0);  // both zero up to 08:00
  setDayBitsToNull(d.data());
  EXPECT_EQ(cmpByteArrays(d.data(), empty, DAY_BITS_BYTES), 0);
  delete[] empty;
}

TEST(DayBits, SkipsAndTrimmingOfTheDefaultDay) {
  const Day d = defaultDay();
  EXPECT_EQ(Lev_getFirstBitSkip(d.data(), 0), 96);
  EXPECT_EQ(Lev_getFirstBitSkip(d.data(), 1), 97);
  EXPECT_EQ(Lev_getFirstBitSkip(d.data(), 48), 144);   // end of the morning
  EXPECT_EQ(Lev_getFirstBitSkip(d.data(), 49), 157);   // first afternoon slot
  EXPECT_EQ(Lev_getFirstBitSkip(d.data(), 96), 204);   // the whole day
  EXPECT_EQ(Lev_getFirstBitSkip(d.data(), 97), 288);   // more than the day has
  EXPECT_EQ(Lev_getFirstBitSkipFinish(d.data(), 49), 157);

  // 300 minutes: 08:00-12:00 and 13:00-14:00.
  Day cut = d;
  Lev_clearFinishDayStruct(300, cut.data());
  Slots want(DAY_SLOTS, false);
  for (int k = 96; k < 144; ++k) want[k] = true;
  for (int k = 156; k < 168; ++k) want[k] = true;
  EXPECT_EQ(toSlots(cut.data()), want);
  EXPECT_EQ(getFinishTimeMinutesFromDayBits(cut.data()), 840);

  cut = d;
  Lev_clearFinishDayStruct(304, cut.data());  // whole slots only
  EXPECT_EQ(toSlots(cut.data()), want);
  cut = d;
  Lev_clearFinishDayStruct(481, cut.data());  // more than the day holds
  EXPECT_EQ(cut, d);
  for (int small : {4, 0, -20}) {
    cut = d;
    Lev_clearFinishDayStruct(small, cut.data());
    EXPECT_EQ(getAveMinutesFromDayBits(cut.data()), 0) << small;
  }
}

TEST(DayBits, IntervalsAndSearchesOnTheDefaultDay) {
  const Day d = defaultDay();
  EXPECT_EQ(getAveMinutesWithinTimeIntervalFromDayBits(d.data(), 605, 1020), 360);
  EXPECT_EQ(getAveMinutesWithinTimeIntervalFromDayBits(d.data(), 600, 1020), 365);
  EXPECT_EQ(getAveMinutesWithinTimeIntervalFromDayBits(d.data(), 0, 1440), 480);
  EXPECT_EQ(getAveMinutesWithinTimeIntervalFromDayBits(d.data(), 1020, 605), 0);
  EXPECT_EQ(getNotAveMinutesWithinTimeIntervalFromDayBits(d.data(), 605, 1020), 60);  // lunch
  EXPECT_EQ(getNotAveMinutesWithinTimeIntervalFromDayBits(d.data(), -100, 5000), 960);
  EXPECT_EQ(getNotAveMinutesWithinTimeIntervalFromDayBits(d.data(), 1020, 605), 0);

  auto right = [&](int t) {
    int next = -1;
    mountClosestRightAveTimeFromDayBits(d.data(), &t, &next);
    return std::make_pair(t, next);
  };
  auto left = [&](int t) {
    int prev = -1;
    mountClosestLeftAveTimeFromDayBits(d.data(), &t, &prev);
    return std::make_pair(t, prev);
  };
  EXPECT_EQ(right(605), std::make_pair(605, 605));   // inside the morning
  EXPECT_EQ(right(725), std::make_pair(780, 785));   // lunch: to 13:00
  EXPECT_EQ(right(1025), std::make_pair(1440, 1440));
  EXPECT_EQ(right(0), std::make_pair(480, 485));
  EXPECT_EQ(left(785), std::make_pair(780, 785));    // first afternoon slot
  EXPECT_EQ(left(750), std::make_pair(720, 720));    // lunch: back to 12:00
  EXPECT_EQ(left(3), std::make_pair(5, 5));
  EXPECT_EQ(left(400), std::make_pair(5, 5));        // nothing before 08:00
}

TEST(DayBits, AgreesWithASlotModelOnRandomDays) {
  std::mt19937 rng(20240601);
  std::vector<int> times = {-10, 0, 1, 4, 5, 6, 9, 10, 11, 1430, 1434, 1435, 1436, 1439, 1440,
                            1441, 1445, 2000};
  for (int day = 0; day < 4000; ++day) {
    const Slots s = randomSlots(rng);
    const Day d = fromSlots(s);
    int ave = 0;
    for (bool b : s) ave += b ? 5 : 0;
    ASSERT_EQ(getAveMinutesFromDayBits(d.data()), ave);
    const int first = modelSkip(s, 0);
    ASSERT_EQ(Lev_getFirstBit(d.data()), first);
    ASSERT_EQ(Lev_getFirstBit_new(d.data()), first);
    int last = 0;
    for (int k = 0; k < DAY_SLOTS; ++k) last = s[k] ? k + 1 : last;
    ASSERT_EQ(Lev_getLastBit(d.data()), last);

    for (int skip : {1, 2, 7, 8, 9, static_cast<int>(rng() % 290)}) {
      ASSERT_EQ(Lev_getFirstBitSkip(d.data(), skip), modelSkip(s, skip)) << day << " " << skip;
    }
    const int minutes = static_cast<int>(rng() % 1500);
    Day cut = d;
    Lev_clearFinishDayStruct(minutes, cut.data());
    Slots kept = s;
    for (int k = 0, n = 0; k < DAY_SLOTS; ++k) {
      if (kept[k] && ++n > minutes / 5) kept[k] = false;
    }
    ASSERT_EQ(toSlots(cut.data()), kept) << day << " " << minutes;

    for (int i = 0; i < 30; ++i) {
      const int t = i < 6 ? times[rng() % times.size()] : static_cast<int>(rng() % 1441);
      const int u = i % 3 == 0 ? times[rng() % times.size()] : static_cast<int>(rng() % 1441);
      ASSERT_EQ(getAveMinutesWithinTimeIntervalFromDayBits(d.data(), t, u),
                modelCount(s, t, u, true))
          << day << " " << t << " " << u;
      ASSERT_EQ(getNotAveMinutesWithinTimeIntervalFromDayBits(d.data(), t, u),
                modelCount(s, t, u, false))
          << day << " " << t << " " << u;
      int r = t;
      int next = -1;
      mountClosestRightAveTimeFromDayBits(d.data(), &r, &next);
      ASSERT_EQ(std::make_pair(r, next), modelRight(s, t)) << day << " " << t;
      int l = t;
      int prev = -1;
      mountClosestLeftAveTimeFromDayBits(d.data(), &l, &prev);
      ASSERT_EQ(std::make_pair(l, prev), modelLeft(s, t)) << day << " " << t;
    }
  }
}

TEST(DayBitsHex, RoundTripAndRefusals) {
  char hex[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(dayBitsDefault8H, hex);
  EXPECT_STREQ(hex,
               "000000000000000000000000ffffffffffff000fffffffffff"
               "f000000000000000000000");
  EXPECT_EQ(Binary('0'), 0);
  EXPECT_EQ(Binary('9'), 9);
  EXPECT_EQ(Binary('a'), 10);
  EXPECT_EQ(Binary('F'), 15);

  std::mt19937 rng(7);
  for (int i = 0; i < 1000; ++i) {
    Day d;
    for (auto& b : d) b = static_cast<unsigned char>(rng());
    Lev_splitSchedBitsInTwo(d.data(), hex);
    ASSERT_EQ(std::strlen(hex), 72u);
    std::string upper(hex);
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    Day lo{};
    Day up{};
    ASSERT_EQ(decodeDayBitsHex(hex, lo.data()), 1);
    ASSERT_EQ(decodeDayBitsHex(upper.c_str(), up.data()), 1);
    ASSERT_EQ(lo, d);
    ASSERT_EQ(up, d);
  }

  // Refusals leave the day as it was. The short text sits in a buffer of
  // its own size, so reading past its end would be caught by the sanitizer.
  const Day before = defaultDay();
  Day d = before;
  char* shortText = new char[DAY_BITS_HEX_DIGITS];
  std::memset(shortText, 'f', DAY_BITS_HEX_DIGITS - 1);
  shortText[DAY_BITS_HEX_DIGITS - 1] = '\0';
  EXPECT_EQ(decodeDayBitsHex(shortText, d.data()), 0);
  delete[] shortText;
  EXPECT_EQ(decodeDayBitsHex("", d.data()), 0);
  EXPECT_EQ(decodeDayBitsHex(nullptr, d.data()), 0);
  for (int at : {0, 35, 71}) {
    for (char bad : {'g', 'G', ' ', '/', ':'}) {
      std::string t(72, '0');
      t[at] = bad;
      EXPECT_EQ(decodeDayBitsHex(t.c_str(), d.data()), 0) << at << bad;
    }
  }
  EXPECT_EQ(d, before);
  std::string longer = std::string(72, 'F') + "  ";  // trailing blanks ignored
  EXPECT_EQ(decodeDayBitsHex(longer.c_str(), d.data()), 1);
  EXPECT_EQ(getAveMinutesFromDayBits(d.data()), 1440);
}

}  // namespace
