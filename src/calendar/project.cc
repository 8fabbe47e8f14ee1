// The project record: creation, copy, release, accessors, and the filling of
// its calendar by the loaders (weekly pattern, exceptions, regular days,
// base-calendar exceptions) with the exception-list optimisation.
#include "calendar/project.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "calendar/dates.h"
#include "model/serial_names.h"

namespace {

bool validWeekday(int w) { return w >= 1 && w <= 7; }

linked_list_type** exceptionSlot(project_type* p, int w) {
  switch (w) {
    case 1: return &p->sun_exc;
    case 2: return &p->mon_exc;
    case 3: return &p->tue_exc;
    case 4: return &p->wen_exc;
    case 5: return &p->thu_exc;
    case 6: return &p->fri_exc;
    default: return &p->sut_exc;
  }
}

void deleteDayEffortList(linked_list_type* list) {
  if (list == nullptr) return;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    dayEffortDelete(static_cast<day_effort_type*>(l->pcontents));
  }
  ll_delete(list);
}

void emptyDayEffortList(linked_list_type* list) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    dayEffortDelete(static_cast<day_effort_type*>(l->pcontents));
  }
  ll_removeAll(list);
}

linked_list_type* newDayEffortList() { return ll_new(dayEffortMatchRelJulianDate, nullptr); }

void addAt(linked_list_type* list, void* element, int addToTail) {
  if (addToTail) ll_addtail(list, element);
  else ll_addhead(list, element);
}

bool sameBits(const unsigned char* a, const unsigned char* b) {
  return cmpByteArrays(a, b, DAY_BITS_BYTES) == 0;
}

void createLists(project_type* p) {
  for (int w = 1; w <= 7; ++w) *exceptionSlot(p, w) = newDayEffortList();
  p->regDays_list = newDayEffortList();
  p->base_cal_exc = ll_new(dayOfYearMatchYear, nullptr);
  p->sub_proj_list = ll_new(stringMatch, getStringValue);
}

void markArraysStale(project_type* p) {
  p->resize_ave = p->resize_ave_REG = p->resize_ave_NWE = 1;
  p->resize_ave_sorted = p->resize_ave_sorted_REG = p->resize_ave_sorted_NWE = 1;
  p->ave_min_are_sorted = p->ave_min_are_sorted_REG = p->ave_min_are_sorted_NWE = 0;
  p->ave_days_are_sorted = p->ave_days_are_sorted_REG = p->ave_days_are_sorted_NWE = 1;
}

}  // namespace

project_type* projectCreateNew(const char* name) {
  project_type* p = new project_type{};
  copyName(p->name, name);
  p->alignWithExtPred = 1;
  p->priority = 500;
  p->ave_days_are_sorted = p->ave_days_are_sorted_REG = p->ave_days_are_sorted_NWE = 1;
  std::memcpy(p->day_bits_NWE, dayBitsDefault8H, DAY_BITS_BYTES);
  createLists(p);
  return p;
}

project_type* projectCopyCreateNew(const project_type* this_proj, const char* name,
                                   const char* root_proj_name, FILE* /*file*/) {
  project_type* p = new project_type(*this_proj);  // scalars and day bits
  copyName(p->name, name);
  copyName(p->root_proj_name, root_proj_name);
  // The copy builds its own availability arrays on first use.
  p->ave_minutes = p->ave_minutes_sorted = p->ave_days = p->ave_days_synchr = nullptr;
  p->ave_minutes_REG = p->ave_minutes_sorted_REG = p->ave_days_REG = nullptr;
  p->ave_days_synchr_REG = nullptr;
  p->ave_minutes_NWE = p->ave_minutes_sorted_NWE = p->ave_days_NWE = nullptr;
  p->ave_days_synchr_NWE = nullptr;
  for (int v = 0; v < 3; ++v) {
    p->ave_len[v] = p->ave_sorted_len[v] = p->ave_prefix_len[v] = 0;
    p->ave_prefix[v] = nullptr;
  }
  markArraysStale(p);
  createLists(p);
  for (int w = 1; w <= 7; ++w) {
    linked_list_type* from = *exceptionSlot(const_cast<project_type*>(this_proj), w);
    for (linktype* l = from->phead; l != nullptr; l = l->pnext) {
      ll_addtail(*exceptionSlot(p, w),
                 dayEffortCopyCreateNew(static_cast<day_effort_type*>(l->pcontents)));
    }
  }
  for (linktype* l = this_proj->regDays_list->phead; l != nullptr; l = l->pnext) {
    ll_addtail(p->regDays_list, dayEffortCopyCreateNew(static_cast<day_effort_type*>(l->pcontents)));
  }
  for (linktype* l = this_proj->base_cal_exc->phead; l != nullptr; l = l->pnext) {
    ll_addtail(p->base_cal_exc,
               dayOfYearCopyCreateNew(static_cast<day_of_year_type*>(l->pcontents)));
  }
  for (linktype* l = this_proj->sub_proj_list->phead; l != nullptr; l = l->pnext) {
    ll_addtail(p->sub_proj_list, stringCopy(static_cast<string_type*>(l->pcontents)));
  }
  return p;
}

void projectDeleteAveData(project_type* p) {
  int32_t** arrays[] = {&p->ave_minutes,     &p->ave_minutes_sorted,     &p->ave_days,
                        &p->ave_days_synchr, &p->ave_minutes_REG,        &p->ave_minutes_sorted_REG,
                        &p->ave_days_REG,    &p->ave_days_synchr_REG,    &p->ave_minutes_NWE,
                        &p->ave_minutes_sorted_NWE, &p->ave_days_NWE, &p->ave_days_synchr_NWE};
  for (int32_t** a : arrays) {
    delete[] *a;
    *a = nullptr;
  }
  for (int v = 0; v < 3; ++v) {
    delete[] p->ave_prefix[v];
    p->ave_prefix[v] = nullptr;
    p->ave_len[v] = p->ave_sorted_len[v] = p->ave_prefix_len[v] = 0;
  }
}

void projectDeleteWeekBitsData(project_type* p) {
  // The weekly pattern lives inside the record; releasing it clears it.
  std::memset(p->week_bits, 0, sizeof p->week_bits);
  std::memset(p->plain_week_bits, 0, sizeof p->plain_week_bits);
}

void projectDeleteSubprojectsData(project_type* p) {
  for (linktype* l = p->sub_proj_list->phead; l != nullptr; l = l->pnext) {
    stringDelete(static_cast<string_type*>(l->pcontents));
  }
  ll_removeAll(p->sub_proj_list);
}

void projectDelete(project_type* p) {
  if (p == nullptr) return;
  projectDeleteAveData(p);
  projectDeleteWeekBitsData(p);
  projectDeleteSubprojectsData(p);
  ll_delete(p->sub_proj_list);
  for (int w = 1; w <= 7; ++w) deleteDayEffortList(*exceptionSlot(p, w));
  deleteDayEffortList(p->regDays_list);
  for (linktype* l = p->base_cal_exc->phead; l != nullptr; l = l->pnext) {
    dayOfYearDelete(static_cast<day_of_year_type*>(l->pcontents));
  }
  ll_delete(p->base_cal_exc);
  delete p;
}

void projectAddSubprojectName(project_type* p, const char* sub_proj_name) {
  ll_addtail(p->sub_proj_list, stringCreateNew(sub_proj_name));
}

int projectMatch(void* this_proj, const void* key) {
  return std::strcmp(static_cast<project_type*>(this_proj)->name, static_cast<const char*>(key)) == 0
             ? 1
             : 0;
}

const char* getProjectName(void* this_proj) { return static_cast<project_type*>(this_proj)->name; }
const char* getProjectRootProjectName(const project_type* p) { return p->root_proj_name; }
int32_t getProjectFirstDay(const project_type* p) { return p->first_day; }
int32_t getProjectLastDayOfCalendar(const project_type* p) {
  return p->first_day + p->size_of_calendar - 1;
}
int32_t getProjectCreateDate(const project_type* p) { return p->create_date; }
int32_t getProjectStartDate(const project_type* p) { return p->start_date; }
int32_t getProjectFinishDate(const project_type* p) { return p->finish_date; }
unsigned char (*getProjectBitsForDaysOfWeek(project_type* p))[DAY_BITS_BYTES] {
  return p->week_bits;
}
int32_t getProjectSizeOfCalendar(const project_type* p) { return p->size_of_calendar; }
unsigned char* getProjectSchedBitsForDayOfWeek(project_type* p, int dayOfWeek) {
  return validWeekday(dayOfWeek) ? p->week_bits[dayOfWeek - 1] : nullptr;
}
linked_list_type* getProjectExceptionsForSun(const project_type* p) { return p->sun_exc; }
linked_list_type* getProjectExceptionsForMon(const project_type* p) { return p->mon_exc; }
linked_list_type* getProjectExceptionsForTue(const project_type* p) { return p->tue_exc; }
linked_list_type* getProjectExceptionsForWen(const project_type* p) { return p->wen_exc; }
linked_list_type* getProjectExceptionsForThu(const project_type* p) { return p->thu_exc; }
linked_list_type* getProjectExceptionsForFri(const project_type* p) { return p->fri_exc; }
linked_list_type* getProjectExceptionsForSut(const project_type* p) { return p->sut_exc; }
linked_list_type* getProjectExceptionsForDayOfWeek(const project_type* p, int dayOfWeek) {
  if (!validWeekday(dayOfWeek)) return nullptr;
  return *exceptionSlot(const_cast<project_type*>(p), dayOfWeek);
}
linked_list_type* getProjectRegDaysList(const project_type* p) { return p->regDays_list; }
linked_list_type* getProjectBaseCalExcList(const project_type* p) { return p->base_cal_exc; }
int32_t getProjectAveArraySize(const project_type* p) { return p->size_of_calendar; }
uint16_t getProjectPriority(const project_type* p) { return p->priority; }
int16_t getProjectMinutesPerDay(const project_type* p) { return p->minutes_per_day; }
linked_list_type* getProjectSubprojectsNameList(const project_type* p) { return p->sub_proj_list; }

void setProjectJulianDateOrigin(project_type* p, int32_t v) { p->julianDateOrigin = v; }
void setProjectFirstDay(project_type* p, int32_t v) { p->first_day = v; }
void setProjectCreateDate(project_type* p, int32_t v) { p->create_date = v; }
void setProjectCurrentDate(project_type* p, int32_t v) { p->current_date = v; }
void setProjectOriginalCreateDate(project_type* p, int32_t v) { p->original_create_date = v; }
void setProjectStartDate(project_type* p, int32_t v) { p->start_date = v; }
void setProjectFinishDate(project_type* p, int32_t v) { p->finish_date = v; }
void setProjectFirstDayOfWeek(project_type* p, int32_t v) { p->first_day_of_week = v; }
void setProjectSizeOfCalendar(project_type* p, int32_t v) { p->size_of_calendar = v; }
void setProjectIsOnExternalDep(project_type* p, int16_t v) { p->isOnExternalDep = v; }
void setProjectPriority(project_type* p, uint16_t v) { p->priority = v; }
void setProjectContainsALAP(project_type* p, int16_t v) { p->containsALAP = v; }
void setProjectMinutesPerDay(project_type* p, int16_t v) { p->minutes_per_day = v; }
void setProjectRootProjectName(project_type* p, const char* v) { copyName(p->root_proj_name, v); }

int getProjectDayOfWeekForDayCount(const project_type* p, int32_t day_count) {
  int64_t w = (static_cast<int64_t>(day_count) + p->first_day_of_week - 1) % 7;
  if (w < 0) w += 7;
  return static_cast<int>(w) + 1;
}

// Sets the weekday's pattern from the store's 72-digit text. The plain
// view's fallback follows the weekly pattern. A weekday outside 1..7 or a
// text that is not 72 hexadecimal digits is refused (0) and changes nothing.
int setProjectBitsForDaysOfWeek(project_type* p, int dayOfWeek, const char* day_bits) {
  if (!validWeekday(dayOfWeek)) return 0;
  unsigned char bits[DAY_BITS_BYTES];
  if (!decodeDayBitsHex(day_bits, bits)) return 0;
  std::memcpy(p->week_bits[dayOfWeek - 1], bits, DAY_BITS_BYTES);
  std::memcpy(p->plain_week_bits[dayOfWeek - 1], bits, DAY_BITS_BYTES);
  return 1;
}

const unsigned char* getProjectPlainBitsForDayOfWeek(const project_type* p, int dayOfWeek) {
  return validWeekday(dayOfWeek) ? p->plain_week_bits[dayOfWeek - 1] : nullptr;
}

int setProjectExceptionDaysOfYear(project_type* p, int32_t julianDayRel, int dayOfWeek,
                                  const unsigned char* day_bits, int addExceptToTailOfList) {
  if (!validWeekday(dayOfWeek)) return 0;
  if (sameBits(day_bits, p->plain_week_bits[dayOfWeek - 1])) return 1;
  day_effort_type* d = dayEffortCreateNew(julianDayRel, dayOfWeek,
                                          getAveMinutesFromDayBits(day_bits), day_bits);
  addAt(*exceptionSlot(p, dayOfWeek), d, addExceptToTailOfList);
  return 1;
}

int setProjectRegDaysOfYear(project_type* p, int32_t dayOfYear, int dayOfWeek,
                            const unsigned char* day_bits, int addExceptToTailOfList) {
  if (!validWeekday(dayOfWeek)) return 0;
  if (!sameBits(day_bits, p->week_bits[dayOfWeek - 1])) return 0;
  day_effort_type* d =
      dayEffortCreateNew(dayOfYear, dayOfWeek, getAveMinutesFromDayBits(day_bits), day_bits);
  addAt(p->regDays_list, d, addExceptToTailOfList);
  return 1;
}

void setProjectBaseCalExceptions(project_type* p, int32_t julianDate, int dow,
                                 int32_t ave_minutes, const unsigned char* day_bits) {
  int y = 0, m = 0, d = 0;
  julianToDate(julianDate + p->julianDateOrigin, &y, &m, &d);
  ll_addtail(p->base_cal_exc, dayOfYearCreateNew(julianDate, y, m, d, dow, ave_minutes, day_bits));
}

// For each weekday with exceptions, the most frequent pattern among them
// (ties: the first in byte order) becomes the weekday's fallback when it
// covers more days than the days that follow the weekly pattern; those days
// are dropped from the exception list and the regular days take their place.
// The regular-day records are released at the end either way.
void projectOptimizeExceptionsList(project_type* p) {
  for (int w = 1; w <= 7; ++w) {
    linked_list_type* exc = *exceptionSlot(p, w);
    if (ll_size(exc) == 0) continue;
    std::vector<day_effort_type*> days;
    for (linktype* l = exc->phead; l != nullptr; l = l->pnext) {
      days.push_back(static_cast<day_effort_type*>(l->pcontents));
    }
    std::stable_sort(days.begin(), days.end(), [](const day_effort_type* a, const day_effort_type* b) {
      return cmpByteArrays(a->day_bits, b->day_bits, DAY_BITS_BYTES) < 0;
    });
    size_t bestStart = 0, bestLen = 0;
    for (size_t i = 0; i < days.size();) {
      size_t j = i + 1;
      while (j < days.size() && sameBits(days[j]->day_bits, days[i]->day_bits)) ++j;
      if (j - i > bestLen) {
        bestStart = i;
        bestLen = j - i;
      }
      i = j;
    }
    int regular = 0;
    for (linktype* l = p->regDays_list->phead; l != nullptr; l = l->pnext) {
      if (static_cast<day_effort_type*>(l->pcontents)->dayOfWeek == w) ++regular;
    }
    if (static_cast<int>(bestLen) <= regular) continue;

    unsigned char picked[DAY_BITS_BYTES];
    std::memcpy(picked, days[bestStart]->day_bits, DAY_BITS_BYTES);
    ll_head(exc);
    for (int32_t n = ll_size(exc); n > 0; --n) {
      day_effort_type* d = static_cast<day_effort_type*>(ll_retrieve(exc));
      if (sameBits(d->day_bits, picked)) {
        dayEffortDelete(d);
        ll_remove(exc);
      } else {
        ll_next(exc);
      }
    }
    ll_head(p->regDays_list);
    for (int32_t n = ll_size(p->regDays_list); n > 0; --n) {
      day_effort_type* d = static_cast<day_effort_type*>(ll_retrieve(p->regDays_list));
      if (d->dayOfWeek == w) {
        ll_addtail(exc, d);  // moves to the exception list
        ll_remove(p->regDays_list);
      } else {
        ll_next(p->regDays_list);
      }
    }
    std::memcpy(p->plain_week_bits[w - 1], picked, DAY_BITS_BYTES);
  }
  emptyDayEffortList(p->regDays_list);
  markArraysStale(p);
}
