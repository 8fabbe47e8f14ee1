// Roll-up of containers from their children (plain, recursive and dynamic)
// and the helpers the passes share. See rollup.h for units and choices.
//
// The values of one roll-up are computed once (rollupValues) and written by
// each member of the family; a leaf child is recognised by its type or by a
// child list holding only the finish node, so that a task's own (never
// rolled-up) truncated fields are not mistaken for a container's.
#include "network/rollup.h"

#include <cstring>

#include "model/serial_names.h"
#include "schedule/calendar_reach.h"
#include "schedule/constraint_dates.h"
#include "store/calendar_loader.h"

namespace pass_detail {

activity_type* findItem(linked_list_type* list, const char* name) {
  if (list == nullptr || name == nullptr) return nullptr;
  return static_cast<activity_type*>(ll_extract(list, name));
}

bool isNamed(const activity_type* act, const char* name) {
  return act != nullptr && name != nullptr && std::strcmp(act->name, name) == 0;
}

bool isLeaf(const activity_type* act, const char* FINISH_NODE_NAME) {
  if (act->type == 3) return true;
  for (linktype* l = act->child_list != nullptr ? act->child_list->phead : nullptr; l != nullptr;
       l = l->pnext) {
    const char* name = static_cast<string_type*>(l->pcontents)->str;
    if (FINISH_NODE_NAME == nullptr || std::strcmp(name, FINISH_NODE_NAME) != 0) return false;
  }
  return true;
}

activity_type* parentOf(linked_list_type* list, const activity_type* act) {
  if (act->parent_list == nullptr || act->parent_list->phead == nullptr) return nullptr;
  return findItem(list, static_cast<string_type*>(act->parent_list->phead->pcontents)->str);
}

activity_type* projectItemOf(linked_list_type* list, const activity_type* act) {
  if (act->proj == nullptr) return nullptr;
  return findItem(list, act->proj->name);
}

Bounds boundsForward(activity_type* act, FILE* file) {
  Bounds b;
  activityDefineConstraintDatesForward(act, &b.min_sd, &b.min_start, &b.max_start, &b.min_finish,
                                       &b.max_finish, file);
  return b;
}

Bounds boundsBackward(activity_type* act, FILE* file) {
  Bounds b;
  activityDefineConstraintDatesBackward(act, &b.min_sd, &b.min_start, &b.max_start, &b.min_finish,
                                        &b.max_finish, file);
  return b;
}

Placement placementOf(const activity_type* act) {
  return {act->start_date, act->finish_date, act->offset_start_time, act->offset_finish_time};
}

void applyPlacement(activity_type* act, const Placement& p) {
  act->start_date = p.start;
  act->finish_date = p.finish;
  setActivityTimeOffsetFromStart(act, p.st);
  setActivityTimeOffsetFromFinish(act, p.ft);
  setActivityDuration(act, p.finish - p.start + 1);
}

bool samePlacement(const Placement& a, const Placement& b) {
  return a.start == b.start && a.finish == b.finish && a.st == b.st && a.ft == b.ft;
}

void shiftDays(Placement* p, int32_t delta) {
  p->start += delta;
  p->finish += delta;
}

void recordEarly(activity_type* act) {
  act->early_start_date = act->start_date;
  act->early_finish_date = act->finish_date;
  act->es_offset_start_time = act->offset_start_time;
  act->ef_offset_finish_time = act->offset_finish_time;
}

void recordLate(activity_type* act) {
  act->late_start_date = act->start_date;
  act->late_finish_date = act->finish_date;
  act->ls_offset_start_time = act->offset_start_time;
  act->lf_offset_finish_time = act->offset_finish_time;
}

void markAncestorsForDynamicRollup(linked_list_type* list, const activity_type* act,
                                   const char* START_NODE_NAME) {
  // A depth bound guards against a parent cycle in corrupted input.
  const activity_type* cur = act;
  for (int depth = 0; depth < 256; ++depth) {
    activity_type* parent = parentOf(list, cur);
    if (parent == nullptr || isNamed(parent, START_NODE_NAME)) return;
    parent->rollupFlagSpecial = 1;
    cur = parent;
  }
}

int coverOutsideItem(activity_type* act, const activity_type* other, const char* module,
                     FILE* file) {
  project_type* p = act->proj;
  if (p == nullptr) return 0;
  int rc = 0;
  if (other->start_date <= p->first_day) {
    if (file != nullptr) {
      std::fprintf(file, "\n Extend Project Calendar beyond start date (%s): %s %d \n", module,
                   other->name, other->start_date);
    }
    rc = projectExtendCalendarData(p, other->start_date, getProjectLastDayOfCalendar(p), file);
    if (rc != 0) return rc;
  }
  if (other->finish_date >= getProjectLastDayOfCalendar(p)) {
    if (file != nullptr) {
      std::fprintf(file, "\n Extend Project Calendar beyond finish date (%s): %s %d \n", module,
                   other->name, other->finish_date);
    }
    rc = projectExtendCalendarData(p, p->first_day, other->finish_date + CALENDAR_GROWTH_MARGIN,
                                   file);
  }
  return rc;
}

void refreshOffsetsInParent(activity_type* parent, activity_type* child,
                            const char* FINISH_NODE_NAME) {
  const bool leaf = isLeaf(child, FINISH_NODE_NAME);
  child->offset_start_date = child->start_date - parent->start_date;
  child->offset_finish_date = parent->finish_date - child->finish_date;
  child->offset_finish_date_trun =
      parent->finish_date_trun - (leaf ? child->finish_date : child->finish_date_trun);
  child->offset_start_date_trun =
      (leaf ? child->start_date : child->start_date_trun) - parent->start_date_trun;
}

void refreshChildOffsets(linked_list_type* activities_list, activity_type* cont,
                         const char* FINISH_NODE_NAME) {
  forEach<string_type>(cont->child_list, [&](string_type* s) {
    if (FINISH_NODE_NAME != nullptr && std::strcmp(s->str, FINISH_NODE_NAME) == 0) return;
    activity_type* c = findItem(activities_list, s->str);
    if (c == nullptr || c->hasActualFinish) return;
    refreshOffsetsInParent(cont, c, FINISH_NODE_NAME);
  });
}

}  // namespace pass_detail

namespace {

using namespace pass_detail;

bool heldAtFinish(int c) { return c == 2 || c == 4 || c == 5 || c == 6; }
bool heldAtStart(int c) { return c == 3 || c == 4 || c == 5 || c == 7; }

struct DayTime {
  int32_t day = 0;
  int off = 0;
  bool found = false;
};

// Earliest start: an earlier day, or the same day with a smaller offset;
// the earlier child stays on a full tie.
void takeEarlier(DayTime* best, int32_t day, int off) {
  if (!best->found || day < best->day || (day == best->day && off < best->off)) {
    *best = {day, off, true};
  }
}

// Latest finish: a later day, or the same day with a smaller offset.
void takeLater(DayTime* best, int32_t day, int off) {
  if (!best->found || day > best->day || (day == best->day && off < best->off)) {
    *best = {day, off, true};
  }
}

struct RollupValues {
  int children = 0;
  DayTime start, finish, startTrun, finishTrun;
};

// Steps 1 to 4 of the roll-up over the children other than the finish node.
RollupValues rollupValues(linked_list_type* activities_list, const activity_type* cont,
                          const char* FINISH_NODE_NAME) {
  RollupValues v;
  const activity_type* only = nullptr;
  forEach<string_type>(cont->child_list, [&](string_type* s) {
    if (FINISH_NODE_NAME != nullptr && std::strcmp(s->str, FINISH_NODE_NAME) == 0) return;
    const activity_type* c = findItem(activities_list, s->str);
    if (c == nullptr) return;
    ++v.children;
    only = c;
    const bool leaf = isLeaf(c, FINISH_NODE_NAME);
    if (!c->hasActualFinish) takeEarlier(&v.start, c->start_date, c->offset_start_time);
    takeLater(&v.finish, c->finish_date, c->offset_finish_time);
    if (!heldAtFinish(c->constraint_type)) {
      takeLater(&v.finishTrun, leaf ? c->finish_date : c->finish_date_trun,
                leaf ? c->offset_finish_time : c->offset_finish_time_trun);
    }
    if (!c->hasActualFinish && !heldAtStart(c->constraint_type)) {
      takeEarlier(&v.startTrun, leaf ? c->start_date : c->start_date_trun,
                  leaf ? c->offset_start_time : c->offset_start_time_trun);
    }
  });
  if (v.children == 1 && heldAtFinish(only->constraint_type)) v.finishTrun.found = false;
  if (v.children == 1 && heldAtStart(only->constraint_type)) v.startTrun.found = false;
  return v;
}

// Step 5: the container takes the values (its own where none was found).
void writeRollup(activity_type* cont, const RollupValues& v) {
  if (v.finishTrun.found) {
    cont->finish_date_trun = v.finishTrun.day;
    cont->offset_finish_time_trun = static_cast<int16_t>(v.finishTrun.off);
  } else {
    cont->finish_date_trun = cont->finish_date;
    cont->offset_finish_time_trun = cont->offset_finish_time;
  }
  if (v.startTrun.found) {
    cont->start_date_trun = v.startTrun.day;
    cont->offset_start_time_trun = static_cast<int16_t>(v.startTrun.off);
  } else {
    cont->start_date_trun = cont->start_date;
    cont->offset_start_time_trun = cont->offset_start_time;
  }
  if (v.start.found) {
    cont->start_date = v.start.day;
    setActivityTimeOffsetFromStart(cont, v.start.off);
  }
  if (v.finish.found) {
    cont->finish_date = v.finish.day;
    setActivityTimeOffsetFromFinish(cont, v.finish.off);
  }
  setActivityDuration(cont, cont->finish_date - cont->start_date + 1);
}

bool rollupAllowed(const activity_type* cont) {
  return cont->rollupFlag != 0 && cont->hasActualFinish == 0;
}

// One roll-up (steps 1 to 6); true when at least one child was seen.
bool rollupOnce(linked_list_type* activities_list, activity_type* cont, int isForwardPass,
                bool recordFields, const char* FINISH_NODE_NAME) {
  RollupValues v = rollupValues(activities_list, cont, FINISH_NODE_NAME);
  if (v.children == 0) return false;
  writeRollup(cont, v);
  if (recordFields) {
    if (isForwardPass) recordEarly(cont);
    else recordLate(cont);
  }
  refreshChildOffsets(activities_list, cont, FINISH_NODE_NAME);
  return true;
}

void specialRollup(linked_list_type* activities_list, activity_type* act, int isForwardPass,
                   const char* FINISH_NODE_NAME, int depth) {
  if (depth > 256) return;  // a parent cycle in corrupted input
  forEach<string_type>(act->child_list, [&](string_type* s) {
    if (FINISH_NODE_NAME != nullptr && std::strcmp(s->str, FINISH_NODE_NAME) == 0) return;
    activity_type* c = findItem(activities_list, s->str);
    if (c != nullptr && !isLeaf(c, FINISH_NODE_NAME)) {
      specialRollup(activities_list, c, isForwardPass, FINISH_NODE_NAME, depth + 1);
    }
  });
  if (rollupAllowed(act)) rollupOnce(activities_list, act, isForwardPass, false, FINISH_NODE_NAME);
}

bool qualifiesDynamic(const activity_type* act, int optionForced) {
  return optionForced == 1 || act->rollupFlagSpecial != 0;
}

void dynamicRollup(linked_list_type* activities_list, activity_type* act, int isForwardPass,
                   int optionForced, const char* FINISH_NODE_NAME, int depth) {
  if (depth > 256 || !qualifiesDynamic(act, optionForced)) return;
  forEach<string_type>(act->child_list, [&](string_type* s) {
    if (FINISH_NODE_NAME != nullptr && std::strcmp(s->str, FINISH_NODE_NAME) == 0) return;
    activity_type* c = findItem(activities_list, s->str);
    if (c != nullptr && !isLeaf(c, FINISH_NODE_NAME)) {
      dynamicRollup(activities_list, c, isForwardPass, optionForced, FINISH_NODE_NAME, depth + 1);
    }
  });
  if (rollupAllowed(act)) rollupOnce(activities_list, act, isForwardPass, true, FINISH_NODE_NAME);
  if (optionForced != 1) act->rollupFlagSpecial = 0;
}

}  // namespace

void activityRollupDatesFromChildren(linked_list_type* activities_list, activity_type* this_cont,
                                     storage_manager_type* /*smanager*/, int isForwardPass,
                                     int /*hasTobeChecked*/, int optionCalculEsEfLsLf,
                                     const char* /*START_NODE_NAME*/,
                                     const char* FINISH_NODE_NAME, FILE* file) {
  try {
    if (!rollupAllowed(this_cont)) return;
    rollupOnce(activities_list, this_cont, isForwardPass, optionCalculEsEfLsLf != 0,
               FINISH_NODE_NAME);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in activityRollupDatesFromChildren: throw exception to upper "
                   "level\n");
    }
    throw;
  }
}

void activitySpecialRollupDatesFromChildren(linked_list_type* activities_list,
                                            activity_type* this_act,
                                            storage_manager_type* /*smanager*/,
                                            int /*fromStartDay*/, int isForwardPass,
                                            int /*hasTobeChecked*/,
                                            const char* /*START_NODE_NAME*/,
                                            const char* FINISH_NODE_NAME, FILE* file) {
  try {
    specialRollup(activities_list, this_act, isForwardPass, FINISH_NODE_NAME, 0);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in activitySpecialRollupDatesFromChildren: throw exception to "
                   "upper level\n");
    }
    throw;
  }
}

void activitySpecRollDynam(linked_list_type* activities_list, activity_type* this_act,
                           int isForwardPass, int optionForced, const char* /*START_NODE_NAME*/,
                           const char* FINISH_NODE_NAME, FILE* file) {
  try {
    if (isLeaf(this_act, FINISH_NODE_NAME)) return;
    dynamicRollup(activities_list, this_act, isForwardPass, optionForced, FINISH_NODE_NAME, 0);
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file, "\n****** error in activitySpecRollDynam: throw exception to upper level\n");
    }
    throw;
  }
}
