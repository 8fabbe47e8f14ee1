// The read-only roll-up of a container from its children (see
// mini_rollup.h).
#include "schedule/mini_rollup.h"

#include <cstring>

#include "model/serial_names.h"

namespace {

struct DayTime {
  int32_t day;
  int offset;
  bool found = false;
};

bool heldAtFinish(int ct) { return ct == 2 || ct == 4 || ct == 5 || ct == 6; }
bool heldAtStart(int ct) { return ct == 3 || ct == 4 || ct == 5 || ct == 7; }
// A container has a child other than the finish node: every leaf keeps the
// finish node as its only child, and a task is never a container.
bool isContainer(const activity_type* a, const char* finishName) {
  if (a->type == 3 || a->child_list == nullptr) return false;
  for (linktype* l = a->child_list->phead; l != nullptr; l = l->pnext) {
    const char* name = getStringValue(l->pcontents);
    if (finishName == nullptr || std::strcmp(name, finishName) != 0) return true;
  }
  return false;
}

// Earliest start: an earlier day, or the same day with a smaller offset.
void takeEarlier(DayTime* best, int32_t day, int offset) {
  if (!best->found || day < best->day || (day == best->day && offset < best->offset)) {
    *best = {day, offset, true};
  }
}

// Latest finish: a later day, or the same day with a smaller offset.
void takeLater(DayTime* best, int32_t day, int offset) {
  if (!best->found || day > best->day || (day == best->day && offset < best->offset)) {
    *best = {day, offset, true};
  }
}

}  // namespace

int activityMiniRollupDatesFromChildren(
    linked_list_type* activities_list, activity_type* this_act, int32_t* this_act_start_date,
    int32_t* this_act_finish_date, int32_t* this_act_duration, int* this_act_offset_start_time,
    int* this_act_offset_finish_time, int32_t* this_act_start_date_trun,
    int32_t* this_act_finish_date_trun, int* this_act_offset_start_time_trun,
    int* this_act_offset_finish_time_trun, const char* FINISH_NODE_NAME, FILE* /*file*/) {
  DayTime start{this_act->start_date, this_act->offset_start_time};
  DayTime finish{this_act->finish_date, this_act->offset_finish_time};
  DayTime startTrun{}, finishTrun{};
  int children = 0;
  const activity_type* onlyChild = nullptr;
  if (this_act->rollupFlag && !this_act->hasActualFinish && this_act->child_list != nullptr) {
    DayTime s{}, f{};
    for (linktype* l = this_act->child_list->phead; l != nullptr; l = l->pnext) {
      const char* name = getStringValue(l->pcontents);
      if (FINISH_NODE_NAME != nullptr && std::strcmp(name, FINISH_NODE_NAME) == 0) continue;
      const activity_type* c = static_cast<const activity_type*>(ll_extract(activities_list, name));
      if (c == nullptr) continue;
      ++children;
      onlyChild = c;
      const bool cont = isContainer(c, FINISH_NODE_NAME);
      if (!c->hasActualFinish) takeEarlier(&s, c->start_date, c->offset_start_time);
      takeLater(&f, c->finish_date, c->offset_finish_time);
      if (!heldAtFinish(c->constraint_type)) {
        takeLater(&finishTrun, cont ? c->finish_date_trun : c->finish_date,
                  cont ? c->offset_finish_time_trun : c->offset_finish_time);
      }
      if (!c->hasActualFinish && !heldAtStart(c->constraint_type)) {
        takeEarlier(&startTrun, cont ? c->start_date_trun : c->start_date,
                    cont ? c->offset_start_time_trun : c->offset_start_time);
      }
    }
    if (s.found) start = s;
    if (f.found) finish = f;
  }
  // A single child held by a constraint leaves the container's own values.
  if (children == 1 && heldAtFinish(onlyChild->constraint_type)) finishTrun.found = false;
  if (children == 1 && heldAtStart(onlyChild->constraint_type)) startTrun.found = false;
  if (!finishTrun.found) finishTrun = {this_act->finish_date, this_act->offset_finish_time, true};
  if (!startTrun.found) startTrun = {this_act->start_date, this_act->offset_start_time, true};
  *this_act_start_date = start.day;
  *this_act_offset_start_time = start.offset;
  *this_act_finish_date = finish.day;
  *this_act_offset_finish_time = finish.offset;
  *this_act_duration = children > 0 ? finish.day - start.day + 1 : this_act->duration;
  *this_act_start_date_trun = children > 0 ? startTrun.day : this_act->start_date_trun;
  *this_act_offset_start_time_trun = children > 0 ? startTrun.offset : this_act->offset_start_time_trun;
  *this_act_finish_date_trun = children > 0 ? finishTrun.day : this_act->finish_date_trun;
  *this_act_offset_finish_time_trun =
      children > 0 ? finishTrun.offset : this_act->offset_finish_time_trun;
  return children > 0 ? 1 : 0;
}
