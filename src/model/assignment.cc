// Assignment and work records: creation, the per-item work lookup, release,
// setters and the working duration of the remaining work.
#include "model/assignment.h"

#include <cstring>
#include <limits>

#include "model/name_lookup.h"
#include "model/serial_names.h"

namespace {

int16_t timeOffset(int32_t minutes) {
  if (minutes < 0) return 0;
  if (minutes > std::numeric_limits<int16_t>::max()) return std::numeric_limits<int16_t>::max();
  return static_cast<int16_t>(minutes);
}

int32_t clampToInt32(int64_t v) {
  if (v > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  if (v < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(v);
}

}  // namespace

// ---------------------------------------------------------------------------
// Assignments

assignment_type* assignmentCreateNew(const char* name) {
  assignment_type* ass = new assignment_type{};
  copyName(ass->name, name);
  ass->work_list = ll_new(workMatch, getWorkActivityName);
  return ass;
}

work_type* assignmentCreateWorkByActivity(assignment_type* this_ass, const char* this_act,
                                          FILE* file) {
  work_type* existing = getAssignmentWorkByActivity(this_ass, this_act);
  if (existing != nullptr) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n*** error in assignmentCreateWorkByActivity(): assignment(%s) already "
                   "exists for activity(%s)",
                   this_ass->name, existing->act_name);
    }
    return existing;
  }
  work_type* work = workCreateNew(this_ass->name, this_act);
  nameLookupAddTail(this_ass->work_lookup, this_ass->work_list, work);
  return work;
}

work_type* getAssignmentWorkByActivity(assignment_type* this_ass, const char* this_act) {
  char key[LL_NAME_SIZE];
  copyName(key, this_act);  // stored names are cut to 32 characters
  linktype* link = nameLookupFind(&this_ass->work_lookup, this_ass->work_list, key);
  return link != nullptr ? static_cast<work_type*>(link->pcontents) : nullptr;
}

const char* getAssignmentName(void* this_ass) {
  return static_cast<assignment_type*>(this_ass)->name;
}

linked_list_type* getAssignmentWorkList(const assignment_type* this_ass) {
  return this_ass->work_list;
}

int assignmentMatch(void* this_ass, const void* lookfor) {
  return std::strcmp(static_cast<assignment_type*>(this_ass)->name,
                     static_cast<const char*>(lookfor)) == 0
             ? 1
             : 0;
}

void assignmentDeleteWorkData(assignment_type* this_ass) {
  linked_list_type* list = this_ass->work_list;
  ll_head(list);
  for (int32_t i = 0, n = ll_size(list); i < n; ++i) {
    workDelete(static_cast<work_type*>(ll_retrieve(list)));
    ll_next(list);
  }
  ll_removeAll(list);
}

void assignmentDelete(assignment_type* this_ass) {
  if (this_ass == nullptr) return;
  assignmentDeleteWorkData(this_ass);
  ll_delete(this_ass->work_list);
  nameLookupDelete(this_ass->work_lookup);
  delete this_ass;
}

// ---------------------------------------------------------------------------
// Work records

work_type* workCreateNew(const char* ass_name, const char* act_name) {
  work_type* work = new work_type{};  // every number and flag 0
  copyName(work->act_name, act_name);
  copyName(work->ass_name, ass_name);
  return work;
}

void workDelete(work_type* this_work) { delete this_work; }

int workMatch(void* this_work, const void* lookfor) {
  return std::strcmp(static_cast<work_type*>(this_work)->act_name,
                     static_cast<const char*>(lookfor)) == 0
             ? 1
             : 0;
}

const char* getWorkAssignmentName(const work_type* this_work) { return this_work->ass_name; }
const char* getWorkActivityName(void* this_work) {
  return static_cast<work_type*>(this_work)->act_name;
}

void setWorkDuration(work_type* w, int32_t minutes) { w->duration = minutes; }
void setWorkTodate(work_type* w, int32_t minutes) { w->work_todate = minutes; }
void setWorkAssDelay(work_type* w, int32_t minutes) { w->ass_delay = minutes; }
void setWorkProposedWork(work_type* w, int32_t minutes) { w->proposed_work = minutes; }
void setWorkCEffort(work_type* w, int32_t c_effort) { w->c_effort = c_effort; }
void setWorkCContour(work_type* w, int32_t c_contour) { w->c_contour = c_contour; }
void setWorkUnitsMSP(work_type* w, int16_t units_msp) { w->units_msp = units_msp; }
void setWorkStartDate(work_type* w, int32_t day) { w->start_date = day; }
void setWorkFinishDate(work_type* w, int32_t day) { w->finish_date = day; }
void setWorkLastSubmittedDate(work_type* w, int32_t day) { w->last_submitted = day; }
void setWorkFirstSchedDate(work_type* w, int32_t day) { w->FSCHED_date = day; }
void setWorkFirstSchedDateEffort(work_type* w, int16_t minutes) { w->FSCHED_effort = minutes; }
void setWorkDurationOfContouredEffort(work_type* w, int32_t minutes) { w->dur_cont_eff = minutes; }
void setWorkTimeOffsetFromStart(work_type* w, int32_t minutes) {
  w->offset_start_time = timeOffset(minutes);
}
void setWorkTimeOffsetFromFinish(work_type* w, int32_t minutes) {
  w->offset_finish_time = timeOffset(minutes);
}

// ---------------------------------------------------------------------------
// Working duration of the remaining work

int32_t getWorkDurationContour(const work_type* w, int32_t min_per_day, int PRINT_OPTION,
                               FILE* file) {
  // Sums are taken in 64 bits: n full days of min_per_day minutes can exceed
  // 32 bits for absurd inputs, and the result is clamped back.
  int64_t result = 0;
  int64_t step = 0;
  if (w->c_contour > 0 && w->dur_cont_eff > 0) {
    result = w->dur_cont_eff;
  } else if (w->units_msp < 1) {
    int64_t x;
    if (w->duration > min_per_day) {
      x = w->duration;
    } else if (w->c_effort != 0 && w->proposed_work > min_per_day) {
      x = w->duration;
    } else {
      x = w->proposed_work;
    }
    result = x - w->work_todate;
  } else {
    // The day's share of the standard day, rounded to a multiple of 5.
    const auto share =
        static_cast<int64_t>(static_cast<double>(min_per_day) * w->units_msp * 0.0001);
    step = (share + 2) / 5 * 5;
    if (step <= 0) {
      result = 0;  // no work per day: see the header
    } else {
      const int64_t rem = static_cast<int64_t>(w->proposed_work) - w->work_todate;
      const auto n =
          static_cast<int64_t>((static_cast<double>(rem) + 0.5) / static_cast<double>(step));
      result = (rem - n * step + n * static_cast<int64_t>(min_per_day) + 2) / 5 * 5;
    }
  }
  if (result < 0) result = 0;
  const int32_t out = clampToInt32(result);
  if (PRINT_OPTION && file != nullptr) {
    std::fprintf(file,
                 "\n getWorkDurationContour(): assignment %s activity %s min_per_day=%d "
                 "c_contour=%d dur_cont_eff=%d units_msp=%d duration=%d c_effort=%d "
                 "proposed_work=%d work_todate=%d step=%lld -> %d",
                 w->ass_name, w->act_name, min_per_day, w->c_contour, w->dur_cont_eff, w->units_msp,
                 w->duration, w->c_effort, w->proposed_work, w->work_todate,
                 static_cast<long long>(step), out);
  }
  return out;
}
