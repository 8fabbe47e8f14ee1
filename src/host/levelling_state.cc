// The levelling run's calendars and resource load, read from the store on
// demand. See levelling_state.h.
#include "host/levelling_state.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "calendar/dates.h"
#include "calendar/day_bits.h"

namespace host::levelling {

namespace {

constexpr const char* kSelectCalendar =
    "SELECT SUNDAY_BIT, MONDAY_BIT, TUESDAY_BIT, WEDNESDAY_BIT, THURSDAY_BIT, FRIDAY_BIT, "
    "SATURDAY_BIT FROM KOR_CALENDARS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectRowRange =
    "SELECT MIN(DAY_YEAR), MAX(DAY_YEAR) FROM CALENDAR_DAY_OF_YEAR WHERE ELEMENT_ID = ?";
constexpr const char* kSelectDays =
    "SELECT DAY_YEAR, BIT_SCHED FROM CALENDAR_DAY_OF_YEAR "
    "WHERE ELEMENT_ID = ? AND DAY_YEAR BETWEEN ? AND ? ORDER BY DAY_YEAR";
constexpr const char* kSelectResource =
    "SELECT MAX_UNITS, CALENDAR_ID FROM RESOURCES WHERE RESOURCE_ID = ?";
// The store's load of one resource per day (see the header comment).
constexpr const char* kSelectLoad =
    "SELECT DAY_YEAR, SUM(CASE WHEN PROJECT_ID IN (SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00) "
    "THEN (CASE WHEN ACTUAL_FLAG = 1 THEN COALESCE(ACTUAL_MIN, 0) ELSE 0 END) "
    "ELSE (CASE WHEN ACTUAL_FLAG = 1 AND COALESCE(ACTUAL_MIN, 0) > COALESCE(SCHED_MIN, 0) "
    "THEN ACTUAL_MIN ELSE COALESCE(SCHED_MIN, 0) END) END) "
    "FROM TASK_DAY_OF_YEAR WHERE RESOURCE_ID = ? GROUP BY DAY_YEAR";

CalendarDay decodeDay(std::string_view hex) {
  CalendarDay d;
  char text[DAY_BITS_HEX_DIGITS + 1] = {};
  const std::size_t n = std::min<std::size_t>(hex.size(), DAY_BITS_HEX_DIGITS);
  std::copy_n(hex.data(), n, text);
  if (decodeDayBitsHex(text, d.bits) != 1) std::fill(std::begin(d.bits), std::end(d.bits), 0);
  d.minutes = static_cast<int16_t>(getAveMinutesFromDayBits(d.bits));
  return d;
}

int dayNumber(std::string_view text) {
  char buf[DATE_TEXT_SIZE] = {};
  const std::size_t n = std::min<std::size_t>(text.size(), DATE_TEXT_SIZE - 1);
  std::copy_n(text.data(), n, buf);
  return dateStringToJulian(buf);
}

}  // namespace

int CalendarDay::countFrom(int slot) const {
  if (slot >= kSlotsPerDay) return 0;
  if (slot <= 0) return minutes / kSlotMinutes;
  int byte = slot >> 3;
  int n = __builtin_popcount(bits[byte] & (0xFFu >> (slot & 7)));
  for (++byte; byte < DAY_BITS_BYTES; ++byte) n += __builtin_popcount(bits[byte]);
  return n;
}

int CalendarDay::nthFrom(int slot, int n) const {
  for (int s = std::max(slot, 0); s < kSlotsPerDay; ++s) {
    if ((s & 7) == 0 && bits[s >> 3] == 0) {  // a whole empty byte at once
      s += 7;
      continue;
    }
    if (isWorking(s) && n-- == 0) return s;
  }
  return kSlotsPerDay;
}

void DayArray::add(int day, int64_t minutes) {
  if (values_.empty()) {
    first_ = day;
    values_.assign(1, 0);
  } else if (day < first_) {
    const std::size_t grow = static_cast<std::size_t>(first_ - day);
    values_.insert(values_.begin(), grow, 0);
    first_ = day;
  } else if (static_cast<std::size_t>(day - first_) >= values_.size()) {
    values_.resize(static_cast<std::size_t>(day - first_) + 1, 0);
  }
  values_[static_cast<std::size_t>(day - first_)] += minutes;
}

int32_t WorkCalendar::load(int nearDay) {
  db::Store& store = *owner_.store;
  db::DayBitsText week[7];
  int16_t ind[7] = {};
  int32_t rc = store.selectInto(
      kSelectCalendar, {id_},
      {db::HostVar(week[0], &ind[0]), db::HostVar(week[1], &ind[1]), db::HostVar(week[2], &ind[2]),
       db::HostVar(week[3], &ind[3]), db::HostVar(week[4], &ind[4]), db::HostVar(week[5], &ind[5]),
       db::HostVar(week[6], &ind[6])});
  if (rc != 0) return rc;
  for (int w = 0; w < 7; ++w) week_[w] = ind[w] < 0 ? CalendarDay{} : decodeDay(week[w].view());

  db::DayText first, last;
  int16_t firstInd = 0, lastInd = 0;
  rc = store.selectInto(kSelectRowRange, {id_},
                        {db::HostVar(first, &firstInd), db::HostVar(last, &lastInd)});
  if (rc < 0) return rc;
  if (rc == 0 && firstInd >= 0 && lastInd >= 0) {
    rowsFirst_ = dayNumber(first.view());
    rowsLast_ = dayNumber(last.view());
  }
  horizon_ = rowsLast_ >= rowsFirst_ ? rowsLast_ : nearDay + kPatternOnlyHorizonDays;
  loadedFirst_ = nearDay;
  days_.clear();
  return readDays(nearDay - 31, nearDay + kReadAheadDays);
}

int32_t WorkCalendar::readDays(int first, int last) {
  // Only the days not yet read: [first, loadedFirst_) and past the end.
  if (days_.empty()) {
    loadedFirst_ = first;
  } else {
    first = std::min(first, loadedFirst_);
    last = std::max(last, loadedFirst_ + static_cast<int>(days_.size()) - 1);
  }
  const int oldFirst = loadedFirst_;
  const int oldLast = loadedFirst_ + static_cast<int>(days_.size()) - 1;
  std::vector<CalendarDay> days(static_cast<std::size_t>(last - first + 1));
  for (int d = first; d <= last; ++d) {
    CalendarDay& day = days[static_cast<std::size_t>(d - first)];
    if (!days_.empty() && d >= oldFirst && d <= oldLast) {
      day = days_[static_cast<std::size_t>(d - oldFirst)];
    } else if (d < rowsFirst_ || d > rowsLast_) {
      day = week_[julianToWeekDay(d) - 1];
    }  // else: no work unless a row says so
  }
  // Read the rows of the new stretches: below the old range and above it.
  auto readRows = [&](int from, int to) -> int32_t {
    if (from > to) return 0;
    db::Cursor cursor(*owner_.store);
    const std::string fromText = dayText(from), toText = dayText(to);
    int32_t rc = cursor.open(kSelectDays, {id_, fromText, toText});
    if (rc != 0) return rc;
    db::DayText day;
    db::DayBitsText bits;
    int16_t bitsInd = 0;
    while ((rc = cursor.fetch({db::HostVar(day), db::HostVar(bits, &bitsInd)})) == 0) {
      const int d = dayNumber(day.view());
      if (d < first || d > last) continue;
      days[static_cast<std::size_t>(d - first)] =
          bitsInd < 0 ? CalendarDay{} : decodeDay(bits.view());
    }
    return rc < 0 ? rc : 0;
  };
  int32_t rc = 0;
  if (days_.empty()) {
    rc = readRows(first, last);
  } else {
    rc = readRows(first, oldFirst - 1);
    if (rc == 0) rc = readRows(oldLast + 1, last);
  }
  if (rc != 0) return rc;
  days_ = std::move(days);
  loadedFirst_ = first;
  return 0;
}

const CalendarDay& WorkCalendar::at(int day) {
  if (day > horizon_) return empty_;
  const int loadedLast = loadedFirst_ + static_cast<int>(days_.size()) - 1;
  if (days_.empty() || day < loadedFirst_ || day > loadedLast) {
    const int first = day < loadedFirst_ ? day - kReadAheadDays : loadedFirst_;
    const int last = day > loadedLast ? std::min(day + kReadAheadDays, horizon_) : loadedLast;
    const int32_t rc = readDays(std::min(first, day), std::max(last, day));
    if (rc < 0) {
      owner_.fail(rc);
      return empty_;
    }
  }
  return days_[static_cast<std::size_t>(day - loadedFirst_)];
}

WorkCalendar* LevellingState::calendarFor(const std::string& id, int nearDay) {
  auto it = calendars.find(id);
  if (it != calendars.end()) return it->second.get();
  auto calendar = std::make_unique<WorkCalendar>(*this, id);
  const int32_t rc = calendar->load(nearDay);
  if (rc < 0) fail(rc);
  if (rc != 0) return nullptr;
  return calendars.emplace(id, std::move(calendar)).first->second.get();
}

Resource* LevellingState::resourceFor(const std::string& id) {
  auto it = resources.find(id);
  if (it != resources.end()) return it->second.get();
  auto resource = std::make_unique<Resource>();
  resource->id = id;
  int32_t maxUnits = 0;
  int16_t maxUnitsInd = 0, calendarInd = 0;
  db::IdText calendarId;
  int32_t rc = store->selectInto(kSelectResource, {id},
                                 {db::HostVar(maxUnits, &maxUnitsInd),
                                  db::HostVar(calendarId, &calendarInd)});
  if (rc < 0) {
    fail(rc);
    return nullptr;
  }
  if (rc == 0) {
    if (maxUnitsInd >= 0) resource->maxUnits = std::max<int32_t>(maxUnits, 0);
    if (calendarInd >= 0) resource->calendarId = std::string(calendarId.view());
  }
  db::Cursor cursor(*store);
  rc = cursor.open(kSelectLoad, {id});
  db::DayText day;
  int64_t minutes = 0;
  int16_t minutesInd = 0;
  while (rc == 0 &&
         (rc = cursor.fetch({db::HostVar(day), db::HostVar(minutes, &minutesInd)})) == 0) {
    if (minutesInd >= 0 && minutes != 0) resource->booked.add(dayNumber(day.view()), minutes);
  }
  if (rc < 0) {
    fail(rc);
    return nullptr;
  }
  return resources.emplace(id, std::move(resource)).first->second.get();
}

void LevellingState::unload(const Placement& p) {
  if (p.resource == nullptr) return;
  DayArray& from = p.stored ? p.resource->booked : p.resource->pending;
  for (const DayPart& part : p.days) from.add(part.day, -part.minutes);
}

CallScope::CallScope(Backend& backend, db::Store& store)
    : state_(backend.procedureState().get<LevellingState>()) {
  state_.store = &store;
  state_.failure = 0;
}

CallScope::~CallScope() { state_.store = nullptr; }

std::string dayText(int day) {
  char buf[DATE_TEXT_SIZE];
  transformJulianToDateString(day, buf);
  return buf;
}

std::string stampText(int day, int slot) {
  char time[TIME_TEXT_SIZE];
  formatMinutesAsTime(slot * kSlotMinutes, time);
  return dayText(day) + " " + time;
}

std::string argText(const db::HostVar& v) {
  if (v.isNull()) return std::string();
  if (v.isText()) return std::string(v.text());
  if (v.kind() == db::HostKind::kDouble) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%f", v.real());
    return buf;
  }
  return std::to_string(v.integer());
}

int64_t argInteger(const db::HostVar& v) {
  if (v.isNull()) return 0;
  if (!v.isText()) return v.integer();
  std::string_view t = v.text();
  std::size_t i = 0;
  while (i < t.size() && std::isspace(static_cast<unsigned char>(t[i]))) ++i;
  bool negative = false;
  if (i < t.size() && (t[i] == '-' || t[i] == '+')) negative = t[i++] == '-';
  int64_t value = 0;
  constexpr int64_t kLargest = 1000000000000;  // no host number is longer
  for (; i < t.size() && std::isdigit(static_cast<unsigned char>(t[i])) && value < kLargest;
       ++i) {
    value = value * 10 + (t[i] - '0');
  }
  return negative ? -value : value;
}

}  // namespace host::levelling
