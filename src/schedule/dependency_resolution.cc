// Resolving one dependency forward or backward (see
// dependency_resolution.h for the rules and choices).
#include "schedule/dependency_resolution.h"

#include <algorithm>
#include <cstring>

#include "calendar/dates.h"
#include "schedule/dependency_lags.h"
#include "schedule/item_times.h"
#include "schedule/mini_rollup.h"
#include "schedule/placement.h"

namespace {

constexpr const char* kTypeLetters[4] = {"FF", "FS", "SF", "SS"};

struct Options {
  const char* module;       // name in the messages
  bool dynamic;             // a dynamic form
  int flag;                 // isForwardPass (static) or fullCalc (dynamic)
};

struct Out {
  int32_t* start;
  int32_t* finish;
  int* offStart;
  int* offFinish;
};

struct Placed {
  int32_t start, finish;
  int offStart, offFinish;
};

bool named(const activity_type* a, const char* name) {
  return name != nullptr && std::strcmp(a->name, name) == 0;
}

int workStartOf(const activity_type* a, int32_t date) {
  return getProjectStartTimeMinutesForDayCount(a, date - a->proj->first_day);
}

int workEndOf(const activity_type* a, int32_t date) {
  return getProjectFinishTimeMinutesForDayCount(a, date - a->proj->first_day);
}

// The placed item's dates from a point: its start (offset from the day's
// working start) or its finish (offset to the day's working end).
Placed fromPoint(const activity_type* a, bool finishSet, int32_t date, int time, int32_t dur) {
  if (finishSet) return {date - dur + 1, date, 0, std::max(0, workEndOf(a, date) - time)};
  return {date, date + dur - 1, std::max(0, time - workStartOf(a, date)), 0};
}

void printFailure(FILE* file, int which, const Options& o, bool forward, const activity_type* pred,
                  const activity_type* succ, int32_t dur, int type, int lag, const Out& out) {
  if (file == nullptr) return;
  const char* who = forward ? "succ" : "pred";
  const char* bound = forward ? "min" : "max";
  std::fprintf(file,
               "\n\n\n**error (%d) --%s %s:  pred_name: %s succ_name: %s %s_duration %d dep_type %d "
               "lag_minutes: %d *%s_%s_start_date %d *%s_%s_finish_date %d *%s_offset_from_start %d "
               "*%s_offset_from_finish %d ",
               which, o.module, kTypeLetters[type], pred->name, succ->name, who, dur, type, lag, who,
               bound, *out.start, who, bound, *out.finish, who, *out.offStart, who, *out.offFinish);
}

bool validType(int type, const Options& o, FILE* file) {
  if (type >= 0 && type <= 3) return true;
  if (file != nullptr) std::fprintf(file, "\n %s: got an error on dependency type !", o.module);
  return false;
}

// Re-places a task from the point just set; false when that failed.
bool replace(activity_type* a, storage_manager_type* sm, bool finishSet, int32_t dur, Placed* p,
             FILE* file) {
  int32_t d = dur;
  return finishSet ? activityScheduleFromFinishDateSpecial(a, sm, &p->start, &p->finish, &d,
                                                           &p->offStart, &p->offFinish, file) == 1
                   : activityScheduleFromStartDateSpecial(a, sm, &p->start, &p->finish, &d,
                                                          &p->offStart, &p->offFinish, file) == 1;
}

void store(const Out& out, const Placed& p) {
  *out.start = p.start;
  *out.finish = p.finish;
  *out.offStart = p.offStart;
  *out.offFinish = p.offFinish;
}

// Forward: successor s placed from predecessor p.
int resolveForSucc(linked_list_type* list, activity_type* s, activity_type* p, int type, int lag,
                   storage_manager_type* sm, const Options& o, const Out& out,
                   const char* START_NODE_NAME, const char* FINISH_NODE_NAME, FILE* file) {
  if (!validType(type, o, file)) return 0;
  const bool finishSet = type == 0 || type == 2;
  int32_t dur = handleDuration(s->duration);
  if (!o.dynamic && s->type != 3 && finishSet) {
    if (o.flag) {
      dur = handleDuration(dur - (s->finish_date - s->finish_date_trun));
      s->finish_date = s->finish_date_trun;
      s->offset_finish_time = s->offset_finish_time_trun;
    } else {
      int32_t sd, fd, du, sdt, fdt;
      int os, of, ost, oft;
      activityMiniRollupDatesFromChildren(list, s, &sd, &fd, &du, &os, &of, &sdt, &fdt, &ost, &oft,
                                          FINISH_NODE_NAME, file);
      dur = handleDuration(fdt - sd + 1);
    }
  }
  Placed placed;
  if (type == 1 && named(p, START_NODE_NAME)) {
    placed = {p->finish_date + 1, p->finish_date + dur, 0, 0};
  } else {
    int32_t psd, pfd;
    int pst, pft;
    int rc = activityGetSpecDateTimeParams(p, sm, &psd, &pfd, &pst, &pft, file);
    if (rc != 0) return rc;
    const bool fromFinish = type == 0 || type == 1;
    int32_t date = 0, d = dur;
    int time = 0, r = -1;
    for (int attempt = 0; attempt < 2 && r == -1; ++attempt) {
      date = fromFinish ? pfd : psd;
      time = fromFinish ? pft : pst;
      d = dur;
      r = activityAdjustSuccDateAndTimeWithPred(s, sm, &date, &time, &d, type, lag, file);
    }
    if (r != 1) {
      printFailure(file, 1, o, true, p, s, dur, type, lag, out);
      return ERR_FORWARD_SHIFT_BASE + type;
    }
    dur = d;
    placed = fromPoint(s, finishSet, date, time, dur);
  }
  if (s->type == 3 && !replace(s, sm, finishSet, dur, &placed, file)) {
    printFailure(file, 2, o, true, p, s, dur, type, lag, out);
    return finishSet ? ERR_REPLACE_FROM_FINISH : ERR_REPLACE_FROM_START;
  }
  store(out, placed);
  return 0;
}

// Backward: predecessor p placed from successor s.
int resolveForPred(linked_list_type* list, activity_type* p, activity_type* s, int type, int lag,
                   storage_manager_type* sm, const Options& o, const Out& out,
                   const char* FINISH_NODE_NAME, FILE* file) {
  if (!validType(type, o, file)) return 0;
  const bool finishSet = type == 0 || type == 1;
  int32_t dur = handleDuration(p->duration);
  if (p->type != 3 && !finishSet) {
    if (!o.dynamic && o.flag) {
      int32_t sd, fd, du, sdt, fdt;
      int os, of, ost, oft;
      activityMiniRollupDatesFromChildren(list, p, &sd, &fd, &du, &os, &of, &sdt, &fdt, &ost, &oft,
                                          FINISH_NODE_NAME, file);
      dur = handleDuration(fdt - sdt + 1);
    } else {
      dur = handleDuration(dur - (p->start_date_trun - p->start_date) -
                           (p->finish_date - p->finish_date_trun));
      p->start_date = p->start_date_trun;
      p->offset_start_time = p->offset_start_time_trun;
    }
  }
  Placed placed;
  if (type == 1 && named(s, FINISH_NODE_NAME)) {
    placed = {s->start_date - dur, s->start_date - 1, 0, 0};
  } else if (type == 0 && named(s, FINISH_NODE_NAME)) {
    placed = {s->finish_date - dur + 1, s->finish_date, 0, s->offset_finish_time};
  } else {
    int32_t ssd, sfd;
    int sst, sft;
    int rc = activityGetSpecDateTimeParams(s, sm, &ssd, &sfd, &sst, &sft, file);
    if (rc != 0) return rc;
    const bool fromFinish = type == 0 || type == 2;
    int32_t date = 0, d = dur;
    int time = 0, r = -1;
    for (int attempt = 0; attempt < 2 && r == -1; ++attempt) {
      date = fromFinish ? sfd : ssd;
      time = fromFinish ? sft : sst;
      d = dur;
      r = activityAdjustPredDateAndTimeWithSucc(p, sm, &date, &time, &d, type, -lag, file);
    }
    if (r != 1) {
      printFailure(file, 1, o, false, p, s, dur, type, lag, out);
      return ERR_BACKWARD_SHIFT_BASE + type;
    }
    dur = d;
    placed = fromPoint(p, finishSet, date, time, dur);
  }
  const bool mayReplace = !o.dynamic || o.flag != 0;
  if (p->type == 3 && mayReplace && !replace(p, sm, finishSet, dur, &placed, file)) {
    printFailure(file, 2, o, false, p, s, dur, type, lag, out);
    return finishSet ? ERR_REPLACE_FROM_FINISH : ERR_REPLACE_FROM_START;
  }
  store(out, placed);
  return 0;
}

// Logs an unexpected failure of `fn` and passes it on.
template <typename F>
int guarded(const char* fn, FILE* file, F&& body) {
  try {
    return body();
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file, "\n ****** error in %s: throw exception to upper level \n", fn);
    }
    throw;
  }
}

}  // namespace

int activityResolveDependencyForSucc(linked_list_type* act_tmp_list, activity_type* this_succ_node,
                                     activity_type* this_pred_node, int dep_type, int lag_minutes,
                                     storage_manager_type* smanager, int isForwardPass,
                                     int32_t* succ_min_start_date, int32_t* succ_min_finish_date,
                                     int* succ_offset_from_start, int* succ_offset_from_finish,
                                     const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                     FILE* file) {
  return guarded("activityResolveDependencyForSucc", file, [&] {
    return resolveForSucc(act_tmp_list, this_succ_node, this_pred_node, dep_type, lag_minutes,
                          smanager, Options{"ResDepForSucc", false, isForwardPass},
                          Out{succ_min_start_date, succ_min_finish_date, succ_offset_from_start,
                              succ_offset_from_finish},
                          START_NODE_NAME, FINISH_NODE_NAME, file);
  });
}

int activityResolveDependencyForPred(linked_list_type* act_tmp_list, activity_type* this_pred_node,
                                     activity_type* this_succ_node, int dep_type, int lag_minutes,
                                     storage_manager_type* smanager, int isForwardPass,
                                     int32_t* pred_max_start_date, int32_t* pred_max_finish_date,
                                     int* pred_offset_from_start, int* pred_offset_from_finish,
                                     const char* /*START_NODE_NAME*/, const char* FINISH_NODE_NAME,
                                     FILE* file) {
  return guarded("activityResolveDependencyForPred", file, [&] {
    return resolveForPred(act_tmp_list, this_pred_node, this_succ_node, dep_type, lag_minutes,
                          smanager, Options{"ResDepForPred", false, isForwardPass},
                          Out{pred_max_start_date, pred_max_finish_date, pred_offset_from_start,
                              pred_offset_from_finish},
                          FINISH_NODE_NAME, file);
  });
}

int dynamResDependencyForSucc(linked_list_type* act_tmp_list, activity_type* this_succ_node,
                              activity_type* this_pred_node, int dep_type, int lag_minutes,
                              storage_manager_type* smanager, int fullCalc,
                              int32_t* succ_min_start_date, int32_t* succ_min_finish_date,
                              int* succ_offset_from_start, int* succ_offset_from_finish,
                              const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                              FILE* file) {
  return guarded("dynamResDependencyForSucc", file, [&] {
    return resolveForSucc(act_tmp_list, this_succ_node, this_pred_node, dep_type, lag_minutes,
                          smanager, Options{"dynamResDepForSucc", true, fullCalc},
                          Out{succ_min_start_date, succ_min_finish_date, succ_offset_from_start,
                              succ_offset_from_finish},
                          START_NODE_NAME, FINISH_NODE_NAME, file);
  });
}

int dynamResDependencyForPred(linked_list_type* act_tmp_list, activity_type* this_pred_node,
                              activity_type* this_succ_node, int dep_type, int lag_minutes,
                              storage_manager_type* smanager, int fullCalc,
                              int32_t* pred_max_start_date, int32_t* pred_max_finish_date,
                              int* pred_offset_from_start, int* pred_offset_from_finish,
                              const char* /*START_NODE_NAME*/, const char* FINISH_NODE_NAME,
                              FILE* file) {
  return guarded("dynamResDependencyForPred", file, [&] {
    return resolveForPred(act_tmp_list, this_pred_node, this_succ_node, dep_type, lag_minutes,
                          smanager, Options{"dynamResDepForPred", true, fullCalc},
                          Out{pred_max_start_date, pred_max_finish_date, pred_offset_from_start,
                              pred_offset_from_finish},
                          FINISH_NODE_NAME, file);
  });
}
