// The levelled-schedule check: reads the rows, places times on working
// calendars, sums the resources' days. See schedule_check.h.
#include "import/schedule_check.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <unordered_map>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "model/element_types.h"

namespace import {

namespace {

constexpr size_t kMaxProblems = 20;
constexpr int kSlotMinutes = 5;
constexpr int kSlots = 288;

using Bits = std::array<unsigned char, DAY_BITS_BYTES>;

Bits decode(std::string_view hex) {
  Bits b{};
  char text[DAY_BITS_HEX_DIGITS + 1] = {};
  std::memcpy(text, hex.data(), std::min<size_t>(hex.size(), DAY_BITS_HEX_DIGITS));
  if (decodeDayBitsHex(text, b.data()) != 1) b.fill(0);
  return b;
}

int slotsBefore(const Bits& b, int slot) {
  int n = 0;
  for (int s = 0; s < slot && s < kSlots; ++s) n += (b[static_cast<size_t>(s >> 3)] >> (7 - (s & 7))) & 1;
  return n;
}

// One working calendar as cumulative working minutes per day, grown on
// demand in both directions.
class WorkClock {
 public:
  int32_t load(db::Store& store, const std::string& id) {
    db::DayBitsText week[7];
    int16_t ind[7] = {};
    int32_t rc = store.selectInto(
        "select SUNDAY_BIT,MONDAY_BIT,TUESDAY_BIT,WEDNESDAY_BIT,THURSDAY_BIT,FRIDAY_BIT,"
        "SATURDAY_BIT from KOR_CALENDARS where ELEMENT_ID=?",
        {id},
        {db::HostVar(week[0], &ind[0]), db::HostVar(week[1], &ind[1]),
         db::HostVar(week[2], &ind[2]), db::HostVar(week[3], &ind[3]),
         db::HostVar(week[4], &ind[4]), db::HostVar(week[5], &ind[5]),
         db::HostVar(week[6], &ind[6])});
    if (rc < 0) return rc;
    for (int w = 0; w < 7; ++w) {
      week_[static_cast<size_t>(w)] = rc == 0 && ind[w] >= 0 ? decode(week[w].view()) : Bits{};
    }
    db::Cursor days(store);
    rc = days.open("select DAY_YEAR, BIT_SCHED from CALENDAR_DAY_OF_YEAR where ELEMENT_ID=?",
                   {id});
    if (rc != 0) return rc;
    db::DayText day;
    db::DayBitsText bits;
    int16_t bitsInd = 0;
    while ((rc = days.fetch({db::HostVar(day), db::HostVar(bits, &bitsInd)})) == 0) {
      const std::string text(day.view());
      rows_[dateStringToJulian(text.c_str())] = bitsInd < 0 ? Bits{} : decode(bits.view());
    }
    return rc == 100 ? 0 : rc;
  }

  const Bits& bitsOf(int julian) const {
    const auto it = rows_.find(julian);
    if (it != rows_.end()) return it->second;
    return week_[static_cast<size_t>(julianToWeekDay(julian) - 1)];
  }
  int dayMinutes(int julian) const { return slotsBefore(bitsOf(julian), kSlots) * kSlotMinutes; }

  // Working minutes before 00:00 of `julian`, counted from `origin`
  // (negative before it).
  int64_t dayStart(int origin, int julian) {
    // cum_[k]: working minutes from 00:00 of first_ to 00:00 of first_ + k.
    if (cum_.empty()) {
      first_ = origin;
      cum_.push_back(0);
    }
    while (julian < first_ || origin < first_) {
      --first_;
      const int64_t m = dayMinutes(first_);
      for (int64_t& c : cum_) c += m;
      cum_.insert(cum_.begin(), 0);
    }
    const int need = std::max(julian, origin);
    while (first_ + static_cast<int>(cum_.size()) <= need) {
      const int last = first_ + static_cast<int>(cum_.size()) - 1;
      cum_.push_back(cum_.back() + dayMinutes(last));
    }
    return cum_[static_cast<size_t>(julian - first_)] - cum_[static_cast<size_t>(origin - first_)];
  }

  // Position of a time stamp, or false when it is not one.
  bool position(int origin, std::string_view stamp, int64_t* out) {
    if (stamp.size() < 16) return false;
    char day[DATE_TEXT_SIZE] = {};
    std::memcpy(day, stamp.data(), 10);
    const int julian = dateStringToJulian(day);
    if (julian < 0) return false;
    const int minute = ((stamp[11] - '0') * 10 + (stamp[12] - '0')) * 60 +
                       (stamp[14] - '0') * 10 + (stamp[15] - '0');
    *out = dayStart(origin, julian) + slotsBefore(bitsOf(julian), minute / kSlotMinutes) * kSlotMinutes;
    return true;
  }

 private:
  std::array<Bits, 7> week_{};
  std::unordered_map<int, Bits> rows_;
  int first_ = 0;
  std::vector<int64_t> cum_;
};

struct Item {
  std::string project, start, finish;
  bool scheduled = false;
};

std::string placeholders(size_t n) {
  std::string s = "(";
  for (size_t i = 0; i < n; ++i) s += i == 0 ? "?" : ",?";
  return s + ")";
}

void note(ScheduleCheck& out, const std::string& line) {
  if (out.problems.size() < kMaxProblems) out.problems.push_back(line);
}

}  // namespace

int checkSchedule(db::Store& store, const std::vector<std::string>& projectIds,
                  ScheduleCheck& out, std::string& error) {
  out = ScheduleCheck{};
  if (projectIds.empty()) return 0;
  std::vector<db::In> ids;
  for (const std::string& id : projectIds) ids.emplace_back(std::string_view(id));
  const std::string in = placeholders(ids.size());
  auto failed = [&](int32_t rc, const char* what) {
    error = std::string(what) + ": " + store.status().message;
    return rc < 0 ? rc : -1;
  };

  // The calendars: one per project (items and resources without a calendar
  // of their own use their project's).
  std::map<std::string, std::unique_ptr<WorkClock>> clocks;
  auto clockOf = [&](const std::string& id, int32_t* rc) -> WorkClock* {
    auto& c = clocks[id];
    if (!c) {
      c = std::make_unique<WorkClock>();
      *rc = c->load(store, id);
    }
    return c.get();
  };

  // The origin.
  int origin = -1;
  {
    db::Cursor cur(store);
    int32_t rc = cur.open("select START_FINISH_DATE from KOR_WBS where ELEMENT_ID in " + in, db::Binds(ids));
    if (rc != 0) return failed(rc, "reading the projects");
    db::StampText start;
    int16_t ind = 0;
    while ((rc = cur.fetch({db::HostVar(start, &ind)})) == 0) {
      if (ind < 0 || start.view().size() < 10) continue;
      const std::string day(start.view().substr(0, 10));
      const int j = dateStringToJulian(day.c_str());
      if (j >= 0 && (origin < 0 || j < origin)) origin = j;
    }
    if (rc != 100) return failed(rc, "reading the projects");
  }
  if (origin < 0) {
    error = "no project start found";
    return -1;
  }

  // Items.
  std::unordered_map<std::string, Item> items;
  {
    db::Cursor cur(store);
    int32_t rc = cur.open("select ELEMENT_ID, PROJECT_ID, TYPE_ID, LEVEL_START, LEVEL_FINISH from "
                          "KOR_WBS where PROJECT_ID in " + in, db::Binds(ids));
    if (rc != 0) return failed(rc, "reading the items");
    db::IdText id, project;
    db::StampText start, finish;
    int32_t type = 0;
    int16_t typeInd = 0, startInd = 0, finishInd = 0;
    while ((rc = cur.fetch({db::HostVar(id), db::HostVar(project), db::HostVar(type, &typeInd),
                            db::HostVar(start, &startInd), db::HostVar(finish, &finishInd)})) == 0) {
      if (typeInd >= 0 && isProjectType(type)) continue;
      Item it;
      it.project = std::string(project.view());
      it.scheduled = startInd >= 0 && finishInd >= 0;
      if (it.scheduled) {
        it.start = std::string(start.view());
        it.finish = std::string(finish.view());
        if (it.finish > out.latestFinish) out.latestFinish = it.finish;
      } else {
        ++out.unscheduled;
        note(out, "item " + std::string(id.view()) + " has no levelled dates");
      }
      ++out.items;
      items.emplace(std::string(id.view()), std::move(it));
    }
    if (rc != 100) return failed(rc, "reading the items");
  }
  int32_t rc = 0;
  if (!out.latestFinish.empty()) {
    WorkClock* first = clockOf(projectIds.front(), &rc);
    if (rc != 0) return failed(rc, "reading a calendar");
    first->position(origin, out.latestFinish, &out.makespanMinutes);
    out.makespanDays = static_cast<int>((std::max<int64_t>(out.makespanMinutes, 0) + 479) / 480);
  }

  // Dependencies.
  {
    db::Cursor cur(store);
    rc = cur.open("select PRED_ID, SUCC_ID, DEP_TYPE, LEAD_OR_LAG_TYPE, AMOUNT from DEPENDENCIES "
                  "where SUCC_PROJECT_ID in " + in, db::Binds(ids));
    if (rc != 0) return failed(rc, "reading the dependencies");
    db::IdText pred, succ;
    int32_t type = 0, leadOrLag = 0, amount = 0;
    int16_t typeInd = 0, leadInd = 0, amountInd = 0;
    while ((rc = cur.fetch({db::HostVar(pred), db::HostVar(succ), db::HostVar(type, &typeInd),
                            db::HostVar(leadOrLag, &leadInd), db::HostVar(amount, &amountInd)})) == 0) {
      const auto p = items.find(std::string(pred.view()));
      const auto s = items.find(std::string(succ.view()));
      if (p == items.end() || s == items.end()) continue;
      if (!p->second.scheduled || !s->second.scheduled) continue;
      int32_t crc = 0;
      WorkClock* clock = clockOf(s->second.project, &crc);
      if (crc != 0) return failed(crc, "reading a calendar");
      const int kind = typeInd < 0 ? 0 : type;
      const int64_t lag = (amountInd < 0 ? 0 : amount) * (leadInd >= 0 && leadOrLag == 1 ? -1 : 1);
      const std::string& from = (kind == 0 || kind == 2) ? p->second.finish : p->second.start;
      const std::string& to = (kind == 0 || kind == 1) ? s->second.start : s->second.finish;
      int64_t a = 0, b = 0;
      if (!clock->position(origin, from, &a) || !clock->position(origin, to, &b)) continue;
      ++out.dependencies;
      if (b < a + lag) {
        ++out.precedenceViolations;
        static const char* const kKinds[] = {"finish-to-start", "start-to-start",
                                             "finish-to-finish", "start-to-finish"};
        note(out, std::string(kKinds[kind & 3]) + " " + std::string(pred.view()) + " -> " +
                      std::string(succ.view()) + " (lag " + std::to_string(lag) + "): " + from +
                      " / " + to);
      }
    }
    if (rc != 100) return failed(rc, "reading the dependencies");
  }

  // Resources per day.
  {
    db::Cursor cur(store);
    rc = cur.open(
        "select L.RESOURCE_ID, L.DAY_YEAR, sum(L.SCHED_MIN), max(R.MAX_UNITS), "
        "max(coalesce(R.CALENDAR_ID, L.PROJECT_ID)) from LEVEL_TASK_DAY_OF_YEAR L left join "
        "RESOURCES R on R.RESOURCE_ID = L.RESOURCE_ID where L.PROJECT_ID in " + in +
            " group by L.RESOURCE_ID, L.DAY_YEAR order by L.RESOURCE_ID, L.DAY_YEAR",
        db::Binds(ids));
    if (rc != 0) return failed(rc, "reading the levelled days");
    db::IdText resource, calendar;
    db::DayText day;
    int64_t minutes = 0, units = 0;
    int16_t minutesInd = 0, unitsInd = 0, calendarInd = 0;
    while ((rc = cur.fetch({db::HostVar(resource), db::HostVar(day),
                            db::HostVar(minutes, &minutesInd), db::HostVar(units, &unitsInd),
                            db::HostVar(calendar, &calendarInd)})) == 0) {
      ++out.resourceDays;
      int32_t crc = 0;
      WorkClock* clock =
          clockOf(calendarInd < 0 ? projectIds.front() : std::string(calendar.view()), &crc);
      if (crc != 0) return failed(crc, "reading a calendar");
      const std::string dayText(day.view());
      const int64_t capacity =
          (unitsInd < 0 ? 10000 : units) * clock->dayMinutes(dateStringToJulian(dayText.c_str())) /
          10000;
      const int64_t load = minutesInd < 0 ? 0 : minutes;
      if (load > capacity) {
        ++out.overloadedDays;
        out.worstExcessMinutes = std::max(out.worstExcessMinutes, load - capacity);
        note(out, "resource " + std::string(resource.view()) + " on " + dayText + ": " +
                      std::to_string(load) + " of " + std::to_string(capacity) + " minutes");
      }
    }
    if (rc != 100) return failed(rc, "reading the levelled days");
  }

  // Units per slot, one resource day at a time.
  {
    db::Cursor cur(store);
    rc = cur.open(
        "select L.RESOURCE_ID, L.DAY_YEAR, L.BIT_SCHED, A.UNITS_MSP, R.MAX_UNITS from "
        "LEVEL_TASK_DAY_OF_YEAR L left join TASK_ASSIGNMENTS A on A.TSK_ASSIGNMENT_ID = "
        "L.TSK_ASSIGNMENT_ID left join RESOURCES R on R.RESOURCE_ID = L.RESOURCE_ID where "
        "L.PROJECT_ID in " + in + " order by L.RESOURCE_ID, L.DAY_YEAR",
        db::Binds(ids));
    if (rc != 0) return failed(rc, "reading the levelled slots");
    db::IdText resource;
    db::DayText day;
    db::DayBitsText bits;
    double units = 0;
    int64_t maxUnits = 0;
    int16_t bitsInd = 0, unitsInd = 0, maxInd = 0;
    std::string currentKey;
    int64_t currentMax = 10000;
    std::array<int64_t, kSlots> load{};
    auto closeDay = [&]() {
      if (currentKey.empty()) return;
      int64_t peak = 0;
      for (int64_t v : load) peak = std::max(peak, v);
      if (peak > currentMax) {
        ++out.slotOverloadedDays;
        out.worstSlotExcessUnits = std::max(out.worstSlotExcessUnits, peak - currentMax);
      }
      load.fill(0);
    };
    while ((rc = cur.fetch({db::HostVar(resource), db::HostVar(day), db::HostVar(bits, &bitsInd),
                            db::HostVar(units, &unitsInd), db::HostVar(maxUnits, &maxInd)})) == 0) {
      std::string key(resource.view());
      key += '|';
      key += day.view();
      if (key != currentKey) {
        closeDay();
        currentKey = key;
        currentMax = maxInd < 0 ? 10000 : maxUnits;
      }
      if (bitsInd < 0) continue;
      const Bits b = decode(bits.view());
      const int64_t u = unitsInd < 0 || units <= 0 ? 10000 : static_cast<int64_t>(units + 0.5);
      for (int slot = 0; slot < kSlots; ++slot) {
        if ((b[static_cast<size_t>(slot >> 3)] >> (7 - (slot & 7))) & 1) load[static_cast<size_t>(slot)] += u;
      }
    }
    if (rc != 100) return failed(rc, "reading the levelled slots");
    closeDay();
  }
  return 0;
}

}  // namespace import
