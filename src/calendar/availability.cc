// Availability arrays of a project's calendar: for each view, the available
// minutes of every day count (ave_minutes) with the day counts beside them
// (ave_days), and a copy sorted by minutes (ave_minutes_sorted with
// ave_days_synchr). Built lazily on first use and after the calendar grew;
// the storage manager keeps at most projects_pool_size projects' plain
// arrays in memory.
#include <cstring>

#include "calendar/project.h"
#include "model/sorting.h"

namespace {

// The fields of one view, reached by reference so that the logic is written
// once for the three views.
struct ViewFields {
  int view;
  int16_t& resize_ave;
  int16_t& resize_ave_sorted;
  int16_t& ave_min_are_sorted;
  int16_t& ave_days_are_sorted;
  int32_t*& ave_minutes;
  int32_t*& ave_minutes_sorted;
  int32_t*& ave_days;
  int32_t*& ave_days_synchr;
  int32_t& len;
  int32_t& sorted_len;
  const char* suffix;
};


ViewFields fieldsOf(project_type* p, int view) {
  switch (view) {
    case CAL_VIEW_NWE:
      return {view, p->resize_ave_NWE, p->resize_ave_sorted_NWE, p->ave_min_are_sorted_NWE,
              p->ave_days_are_sorted_NWE, p->ave_minutes_NWE, p->ave_minutes_sorted_NWE,
              p->ave_days_NWE, p->ave_days_synchr_NWE, p->ave_len[view],
              p->ave_sorted_len[view], "_NWE"};
    case CAL_VIEW_REG:
      return {view, p->resize_ave_REG, p->resize_ave_sorted_REG, p->ave_min_are_sorted_REG,
              p->ave_days_are_sorted_REG, p->ave_minutes_REG, p->ave_minutes_sorted_REG,
              p->ave_days_REG, p->ave_days_synchr_REG, p->ave_len[view],
              p->ave_sorted_len[view], "_REG"};
    default:
      return {CAL_VIEW_PLAIN, p->resize_ave, p->resize_ave_sorted, p->ave_min_are_sorted,
              p->ave_days_are_sorted, p->ave_minutes, p->ave_minutes_sorted, p->ave_days,
              p->ave_days_synchr, p->ave_len[CAL_VIEW_PLAIN], p->ave_sorted_len[CAL_VIEW_PLAIN],
              ""};
  }
}

// (Re)allocates a pair of arrays to n entries; their contents are refilled
// by the caller.
void fitPair(int32_t*& a, int32_t*& b, int32_t& len, int32_t n) {
  if (a != nullptr && b != nullptr && len == n) return;
  delete[] a;
  delete[] b;
  int32_t cap = n > 0 ? n : 1;
  a = new int32_t[cap];
  b = new int32_t[cap];
  len = n;
}

bool primaryStale(const project_type* p, const ViewFields& f) {
  return f.ave_minutes == nullptr || f.ave_days == nullptr || f.resize_ave == 1 ||
         f.len != p->size_of_calendar;
}

bool sortedStale(const project_type* p, const ViewFields& f) {
  return f.ave_minutes_sorted == nullptr || f.ave_days_synchr == nullptr ||
         f.resize_ave_sorted == 1 || f.sorted_len != p->size_of_calendar;
}

// The range first..last of a sync sort: to the end when last <= first.
void sortRange(int32_t n, int32_t first, int32_t* lo, int32_t* hi, int32_t last) {
  *lo = first < 0 ? 0 : first;
  *hi = (last <= first || last > n - 1) ? n - 1 : last;
}

}  // namespace

int projectGenerateAveData(const activity_type* this_act) {
  project_type* p = this_act->proj;
  ViewFields f = fieldsOf(p, getActivityCalendarView(this_act));
  const int32_t n = p->size_of_calendar < 0 ? 0 : p->size_of_calendar;
  fitPair(f.ave_minutes, f.ave_days, f.len, n);
  if (f.view == CAL_VIEW_NWE) {
    if (this_act->isExternalPred) {
      p->minutes_per_day = static_cast<int16_t>(getAveMinutesFromDayBits(p->day_bits_NWE));
    }
    for (int32_t i = 0; i < n; ++i) {
      f.ave_days[i] = i;
      f.ave_minutes[i] = p->minutes_per_day;
    }
  } else {
    int weekMinutes[7];
    for (int w = 1; w <= 7; ++w) {
      const unsigned char* bits = f.view == CAL_VIEW_PLAIN ? getProjectPlainBitsForDayOfWeek(p, w)
                                                           : p->week_bits[w - 1];
      weekMinutes[w - 1] = getAveMinutesFromDayBits(bits);
    }
    int w = getProjectDayOfWeekForDayCount(p, 0);
    for (int32_t i = 0; i < n; ++i) {
      f.ave_days[i] = i;
      f.ave_minutes[i] = weekMinutes[w - 1];
      w = w == 7 ? 1 : w + 1;
    }
    if (f.view == CAL_VIEW_PLAIN) {
      for (int wd = 1; wd <= 7; ++wd) {
        for (linktype* l = getProjectExceptionsForDayOfWeek(p, wd)->phead; l != nullptr;
             l = l->pnext) {
          const day_effort_type* d = static_cast<const day_effort_type*>(l->pcontents);
          if (d->dayOfYear >= 0 && d->dayOfYear < n) f.ave_minutes[d->dayOfYear] = d->effort;
        }
      }
    }
  }
  f.ave_min_are_sorted = 0;
  f.ave_days_are_sorted = 1;
  delete[] p->ave_prefix[f.view];  // the running sums follow the new arrays
  p->ave_prefix[f.view] = nullptr;
  p->ave_prefix_len[f.view] = 0;
  return 1;
}

int32_t* getProjectAveMinutes(const activity_type* this_act, storage_manager_type* smanager) {
  project_type* p = this_act->proj;
  ViewFields f = fieldsOf(p, getActivityCalendarView(this_act));
  if (primaryStale(p, f)) {
    if (!projectGenerateAveData(this_act)) return nullptr;
    f.resize_ave = 0;
    if (f.view == CAL_VIEW_PLAIN && smanager != nullptr) {
      smanagerEconomizeStorageForUseOfSingleProjectCalendar(smanager, p);
    }
  }
  return f.ave_minutes;
}

int32_t* getProjectAveDays(const activity_type* this_act, storage_manager_type* smanager) {
  if (getProjectAveMinutes(this_act, smanager) == nullptr) return nullptr;
  return fieldsOf(this_act->proj, getActivityCalendarView(this_act)).ave_days;
}

int projectGenerateAveDataSortedByAveMin(const activity_type* this_act,
                                         storage_manager_type* smanager) {
  if (getProjectAveMinutes(this_act, smanager) == nullptr) return 0;
  project_type* p = this_act->proj;
  ViewFields f = fieldsOf(p, getActivityCalendarView(this_act));
  const int32_t n = f.len;
  fitPair(f.ave_minutes_sorted, f.ave_days_synchr, f.sorted_len, n);
  if (n > 0) {
    std::memcpy(f.ave_minutes_sorted, f.ave_minutes, sizeof(int32_t) * n);
    std::memcpy(f.ave_days_synchr, f.ave_days, sizeof(int32_t) * n);
  }
  if (f.view != CAL_VIEW_NWE && f.ave_min_are_sorted == 0 && f.ave_days_are_sorted == 1 && n > 1) {
    doSyncCombQuickSortOfIntArrays(f.ave_minutes_sorted, f.ave_days_synchr, swapFunctAscOrder, 1, 0,
                                   n - 1);
  }
  return 1;
}

int32_t* getProjectAveMinutesSorted(const activity_type* this_act,
                                    storage_manager_type* smanager) {
  project_type* p = this_act->proj;
  ViewFields f = fieldsOf(p, getActivityCalendarView(this_act));
  if (primaryStale(p, f) || sortedStale(p, f)) {
    if (!projectGenerateAveDataSortedByAveMin(this_act, smanager)) return nullptr;
    f.resize_ave_sorted = 0;
  }
  return f.ave_minutes_sorted;
}

int32_t* getProjectAveDaysSortedByAveMin(const activity_type* this_act,
                                         storage_manager_type* smanager) {
  if (getProjectAveMinutesSorted(this_act, smanager) == nullptr) return nullptr;
  return fieldsOf(this_act->proj, getActivityCalendarView(this_act)).ave_days_synchr;
}

namespace {

// Reorders a view's primary pair between day order and minutes order. The
// pair must be in the other order; otherwise the message is printed and
// the arrays stay as they are (the standard-day view, whose minutes are all
// equal, only switches its flags, even then).
void syncSortPrimary(const activity_type* this_act, storage_manager_type* smanager,
                     int32_t first, int32_t last, FILE* file, bool toMinutesOrder) {
  if (getProjectAveMinutes(this_act, smanager) == nullptr) return;
  ViewFields f = fieldsOf(this_act->proj, getActivityCalendarView(this_act));
  bool inMinutesOrder = f.ave_min_are_sorted == 1 && f.ave_days_are_sorted == 0;
  bool inDayOrder = f.ave_min_are_sorted == 0 && f.ave_days_are_sorted == 1;
  if (toMinutesOrder ? !inDayOrder : !inMinutesOrder) {
    if (file != nullptr && toMinutesOrder) {
      std::fprintf(file,
                   "\n*** error in projectDoSyncSortOfAveMinutes(): ave_minutes%s are sorted already "
                   "!!! pp->ave_min_are_sorted%s= %d pp->ave_days_are_sorted%s= %d \n",
                   f.suffix, f.suffix, f.ave_min_are_sorted, f.suffix, f.ave_days_are_sorted);
    } else if (file != nullptr) {
      std::fprintf(file,
                   "\n*** error in projectDoSyncSortOfAveDays(): ave_days%s are sorted already !!! "
                   "pp->ave_days_are_sorted%s= %d pp->ave_min_are_sorted%s= %d \n",
                   f.suffix, f.suffix, f.ave_days_are_sorted, f.suffix, f.ave_min_are_sorted);
    }
    if (f.view != CAL_VIEW_NWE) return;
  }
  if (f.view != CAL_VIEW_NWE && f.len > 1) {
    int32_t lo, hi;
    sortRange(f.len, first, &lo, &hi, last);
    if (hi > lo) {
      // By minutes stably, so that days of equal minutes stay in day order.
      if (toMinutesOrder) {
        doSyncCombQuickSortOfIntArrays(f.ave_minutes, f.ave_days, swapFunctAscOrder, 1, lo, hi);
      } else {
        doSyncCombQuickSortOfIntArrays(f.ave_days, f.ave_minutes, swapFunctAscOrder, 0, lo, hi);
      }
    }
  }
  f.ave_min_are_sorted = toMinutesOrder ? 1 : 0;
  f.ave_days_are_sorted = toMinutesOrder ? 0 : 1;
}

}  // namespace

void projectDoSyncSortOfAveMinutes(const activity_type* this_act, storage_manager_type* smanager,
                                   int32_t first, int32_t last, FILE* file) {
  syncSortPrimary(this_act, smanager, first, last, file, true);
}

void projectDoSyncSortOfAveDays(const activity_type* this_act, storage_manager_type* smanager,
                                int32_t first, int32_t last, FILE* file) {
  syncSortPrimary(this_act, smanager, first, last, file, false);
}

int64_t getProjectAveMinutesBetweenDayCounts(const activity_type* this_act,
                                             storage_manager_type* smanager, int32_t from,
                                             int32_t to) {
  if (getProjectAveMinutes(this_act, smanager) == nullptr) return -1;
  project_type* p = this_act->proj;
  ViewFields f = fieldsOf(p, getActivityCalendarView(this_act));
  const int32_t n = f.len;
  if (from < 0 || to >= n) return -1;
  if (to < from) return 0;
  int64_t*& prefix = p->ave_prefix[f.view];
  if (prefix == nullptr || p->ave_prefix_len[f.view] != n + 1) {
    delete[] prefix;
    prefix = new int64_t[n + 1];
    p->ave_prefix_len[f.view] = n + 1;
    // The primary pair may be in minutes order: place each entry by its day.
    for (int32_t i = 0; i <= n; ++i) prefix[i] = 0;
    for (int32_t i = 0; i < n; ++i) {
      const int32_t day = f.ave_days[i];
      if (day >= 0 && day < n) prefix[day + 1] = f.ave_minutes[i];
    }
    for (int32_t i = 1; i <= n; ++i) prefix[i] += prefix[i - 1];
  }
  return prefix[to + 1] - prefix[from];
}
