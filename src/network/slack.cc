// Total slack in four sweeps and the critical path after levelling (see
// slack.h for units, sources and choices).
#include "network/slack.h"

#include <cstring>
#include <ctime>

#include "model/serial_names.h"
#include "network/backward_pass.h"
#include "network/rollup.h"
#include "schedule/effort_sums.h"
#include "store/calendar_loader.h"
#include "store/result_writers.h"

namespace {

using namespace pass_detail;

// A moment: a day and a clock time (minutes after midnight).
struct Moment {
  int32_t day;
  int time;
};

bool after(const Moment& a, const Moment& b) {
  return a.day > b.day || (a.day == b.day && a.time > b.time);
}

Moment finishMoment(const activity_type* act, int32_t day, int offset) {
  return {day, getProjectFinishTimeMinutesForGivenJulianDate(act, day) - offset};
}

Moment startMoment(const activity_type* act, int32_t day, int offset) {
  return {day, getProjectStartTimeMinutesForGivenJulianDate(act, day) + offset};
}

// Working minutes from a to b on the item's calendar; 0 when a is after b
// or the sum is negative. 0 or the effort sum's code.
int minutesBetween(activity_type* act, storage_manager_type* sm, const Moment& a, const Moment& b,
                   FILE* file, int32_t* out) {
  *out = 0;
  if (after(a, b)) return 0;
  int32_t total = 0;
  int rc = activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(act, &total, sm, a.day,
                                                                        a.time, b.day, b.time,
                                                                        file);
  if (rc != 0) return rc;
  *out = total > 0 ? total : 0;
  return 0;
}

int32_t cutSmall(int32_t slack) { return slack < SLACK_MIN_MINUTES ? 0 : slack; }

// Finish slack: early finish (item) to late finish (copy).
int finishSlack(activity_type* item, const activity_type* copy, storage_manager_type* sm,
                FILE* file, int32_t* out) {
  const Moment ef = finishMoment(item, item->early_finish_date, item->ef_offset_finish_time);
  const Moment lf = finishMoment(item, copy->late_finish_date, copy->lf_offset_finish_time);
  return minutesBetween(item, sm, ef, lf, file, out);
}

// Start slack: early start (item) to late start (copy).
int startSlack(activity_type* item, const activity_type* copy, storage_manager_type* sm,
               FILE* file, int32_t* out) {
  const Moment es = startMoment(item, item->early_start_date, item->es_offset_start_time);
  const Moment ls = startMoment(item, copy->late_start_date, copy->ls_offset_start_time);
  return minutesBetween(item, sm, es, ls, file, out);
}

// The smaller start slack counts for an item driven backwards through a
// start-to-start successor.
int32_t startOrFinish(int32_t start, int32_t finish, const activity_type* copy) {
  return cutSmall((start < finish && copy->onDepTypeBack == 3) ? start : finish);
}

// A project item's own slack (start-or-finish rule).
int ownSlack(activity_type* item, const activity_type* copy, storage_manager_type* sm,
             FILE* file, int32_t* out) {
  int32_t fs = 0;
  int32_t ss = 0;
  int rc = finishSlack(item, copy, sm, file, &fs);
  if (rc == 0) rc = startSlack(item, copy, sm, file, &ss);
  *out = startOrFinish(ss, fs, copy);
  return rc;
}

void store(activity_type* item, activity_type* copy, int32_t slack) {
  item->slack = slack;
  copy->slack = slack;
  activityCopyLaterDates(copy, item);
}

void printSlack(FILE* file, const activity_type* item) {
  if (file == nullptr) return;
  const int perDay = item->proj != nullptr && item->proj->minutes_per_day > 0
                         ? item->proj->minutes_per_day
                         : 480;
  std::fprintf(file,
               "\n %-32s type %d ES %d EF %d LS %d LF %d slack %d (%.3f days)", item->name,
               item->type, item->early_start_date, item->early_finish_date, item->late_start_date,
               item->late_finish_date, item->slack, static_cast<double>(item->slack) / perDay);
}

struct Sweep {
  linked_list_type* order;
  linked_list_type* copies;
  linked_list_type* items;
  storage_manager_type* sm;
  int print;
  const char* FINISH;
  FILE* file;
};

// Calls f(item, copy) for every entry of the order list but its ends.
template <class F>
int forEachEntry(const Sweep& s, F f) {
  if (s.order == nullptr || ll_size(s.order) < 2) return 0;
  for (linktype* l = s.order->phead->pnext; l != nullptr && l != s.order->ptail; l = l->pnext) {
    const activity_type* entry = static_cast<activity_type*>(l->pcontents);
    if (entry == nullptr) continue;
    activity_type* item = findItem(s.items, entry->name);
    activity_type* copy = findItem(s.copies, entry->name);
    if (item == nullptr || copy == nullptr || item->proj == nullptr) continue;
    int rc = f(item, copy);
    if (rc != 0) return rc;
  }
  return 0;
}

// Calls f(child) for every unfinished child other than the finish node.
template <class F>
void forEachOpenChild(const Sweep& s, const activity_type* cont, F f) {
  forEach<string_type>(cont->child_list, [&](string_type* n) {
    if (s.FINISH != nullptr && std::strcmp(n->str, s.FINISH) == 0) return;
    activity_type* c = findItem(s.items, n->str);
    if (c != nullptr && c != cont && !c->hasActualFinish) f(c);
  });
}

int sweepLeaves(const Sweep& s) {
  return forEachEntry(s, [&](activity_type* item, activity_type* copy) {
    if (!isLeaf(item, s.FINISH) || item->isExternalSucc) return 0;
    int32_t slack = 0;
    const int c = item->constraint_type;
    if (!item->hasActualFinish && c != 4 && c != 5) {
      int rc = finishSlack(item, copy, s.sm, s.file, &slack);
      if (rc != 0) return rc;
      slack = cutSmall(slack);
    }
    store(item, copy, slack);
    if (s.print) printSlack(s.file, item);
    return 0;
  });
}

int sweepProjects(const Sweep& s) {
  return forEachEntry(s, [&](activity_type* item, activity_type* copy) {
    if (item->type != 1 || item->isExternalSucc || item->hasActualFinish) return 0;
    int32_t slack = 0;
    int rc = ownSlack(item, copy, s.sm, s.file, &slack);
    if (rc != 0) return rc;
    store(item, copy, slack);
    if (s.print) printSlack(s.file, item);
    return 0;
  });
}

int branchSlack(const Sweep& s, activity_type* cont, activity_type* copy, int32_t* out) {
  bool reach = false;
  activity_type* earliest = nullptr;
  activity_type* latest = nullptr;
  forEachOpenChild(s, cont, [&](activity_type* c) {
    if (c->finish_date >= cont->finish_date) reach = true;
    if (earliest == nullptr || c->start_date < earliest->start_date ||
        (c->start_date == earliest->start_date &&
         c->offset_start_time < earliest->offset_start_time)) {
      earliest = c;
    }
    if (latest == nullptr || c->finish_date > latest->finish_date ||
        (c->finish_date == latest->finish_date &&
         c->offset_finish_time < latest->offset_finish_time)) {
      latest = c;
    }
  });
  if (!reach) return ownSlack(cont, copy, s.sm, s.file, out);
  if (earliest->slack == 0) {
    *out = 0;
    return 0;
  }
  activity_type* projItem = projectItemOf(s.items, cont);
  if (projItem != nullptr && projItem != cont && cont->finish_date < projItem->finish_date) {
    *out = startOrFinish(earliest->slack, latest->slack, copy);
    return 0;
  }
  int rc = ownSlack(cont, copy, s.sm, s.file, out);
  if (rc != 0 || projItem == nullptr || projItem == cont) return rc;
  const bool latestNotAfter =
      latest->finish_date < projItem->late_finish_date ||
      (latest->finish_date == projItem->late_finish_date &&
       latest->offset_finish_time >= projItem->lf_offset_finish_time);
  if (*out > projItem->slack && latestNotAfter) *out = projItem->slack;
  return 0;
}

int sweepContainers(const Sweep& s) {
  return forEachEntry(s, [&](activity_type* item, activity_type* copy) {
    if (isLeaf(item, s.FINISH) || item->isExternalSucc) return 0;
    int32_t slack = 0;
    if (item->hasActualFinish) {
      slack = 0;
    } else if (item->type == 1 || item->brunch == 0) {
      slack = copy->slack;
    } else {
      int rc = branchSlack(s, item, copy, &slack);
      if (rc != 0) return rc;
    }
    store(item, copy, slack);
    if (s.print && item->type != 1) printSlack(s.file, item);
    return 0;
  });
}

int sweepProjectsFromChildren(const Sweep& s) {
  return forEachEntry(s, [&](activity_type* item, activity_type* copy) {
    if (item->type != 1 || item->isExternalSucc || item->hasActualFinish) return 0;
    forEachOpenChild(s, item, [&](activity_type* c) {
      if (c->finish_date < item->finish_date) return;
      if (c->slack >= 1 && c->slack < item->slack) {
        item->slack = c->slack;
        item->late_finish_date = c->late_finish_date;
        item->lf_offset_finish_time = c->lf_offset_finish_time;
        copy->slack = c->slack;
      }
    });
    return 0;
  });
}

double secondsSince(std::clock_t t0) {
  return static_cast<double>(std::clock() - t0) / CLOCKS_PER_SEC;
}

void setNodes(activity_type* startNode, activity_type* finishNode, int32_t minStart,
              int32_t maxFinish, int finishOffset) {
  if (finishNode != nullptr) {
    finishNode->start_date = finishNode->finish_date = maxFinish;
    finishNode->offset_finish_time = static_cast<int16_t>(finishOffset);
    finishNode->ef_offset_finish_time = finishNode->lf_offset_finish_time =
        static_cast<int16_t>(finishOffset);
    finishNode->early_start_date = finishNode->early_finish_date = maxFinish;
    finishNode->late_start_date = finishNode->late_finish_date = maxFinish;
    finishNode->slack = 0;
  }
  if (startNode != nullptr) {
    startNode->start_date = startNode->finish_date = minStart - 1;
    startNode->early_start_date = startNode->early_finish_date = minStart - 1;
  }
}

}  // namespace

void setNetworkNodesFromRoots(linked_list_type* root_act_list, linked_list_type* activities_list,
                              linked_list_type* act_tmp_list_3, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME) {
  bool any = false;
  int32_t minStart = 0;
  int32_t maxFinish = 0;
  int finishOffset = 0;
  forEach<activity_type>(root_act_list, [&](activity_type* r) {
    if (r == nullptr) return;
    if (!any || r->start_date < minStart) minStart = r->start_date;
    if (!any || r->finish_date > maxFinish ||
        (r->finish_date == maxFinish && r->offset_finish_time < finishOffset)) {
      maxFinish = r->finish_date;
      finishOffset = r->offset_finish_time;
    }
    any = true;
  });
  if (!any) return;
  setNodes(findItem(activities_list, START_NODE_NAME), findItem(activities_list, FINISH_NODE_NAME),
           minStart, maxFinish, finishOffset);
  if (act_tmp_list_3 != nullptr) {
    setNodes(findItem(act_tmp_list_3, START_NODE_NAME), findItem(act_tmp_list_3, FINISH_NODE_NAME),
             minStart, maxFinish, finishOffset);
  }
}

int doUpdateActivitiesSlackValuesNetworkTree(linked_list_type* act_tmp_list_4,
                                             linked_list_type* act_tmp_list_3,
                                             linked_list_type* activities_list,
                                             storage_manager_type* smanager, int PRINT_OPTION,
                                             const char* /*START_NODE_NAME*/,
                                             const char* FINISH_NODE_NAME, FILE* file) {
  try {
    Sweep s{act_tmp_list_4, act_tmp_list_3, activities_list, smanager, PRINT_OPTION,
            FINISH_NODE_NAME, file};
    int rc = sweepLeaves(s);
    if (rc == 0) rc = sweepProjects(s);
    if (rc == 0) rc = sweepContainers(s);
    if (rc == 0) rc = sweepProjectsFromChildren(s);
    if (PRINT_OPTION && file != nullptr) std::fprintf(file, "\n");
    return rc;
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doUpdateActivitiesSlackValuesNetworkTree: throw exception "
                   "to upper level\n");
    }
    throw;
  }
}

int doCalculCriPathAfterLevDB(linked_list_type* root_act_list, linked_list_type* projects_list,
                              linked_list_type* activities_list,
                              linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_4,
                              linked_list_type* act_tmp_list_5, storage_manager_type* smanager,
                              int optionConsiderUidsLengthSupr, int PRINT_OPTION,
                              int PRINT_UPDATE_OPTION, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME, double* step_seconds, FILE* file) {
  try {
    double times[8] = {};
    auto report = [&]() {
      if (step_seconds != nullptr) std::memcpy(step_seconds, times, sizeof(times));
    };
    std::clock_t t0 = std::clock();
    setNetworkNodesFromRoots(root_act_list, activities_list, act_tmp_list_3, START_NODE_NAME,
                             FINISH_NODE_NAME);
    times[0] = secondsSince(t0);

    t0 = std::clock();
    int rc = 0;
    if (act_tmp_list_4 != nullptr && ll_size(act_tmp_list_4) >= 2) {
      for (linktype* l = act_tmp_list_4->phead->pnext; l != nullptr && l != act_tmp_list_4->ptail;
           l = l->pnext) {
        activity_type* copy = static_cast<activity_type*>(l->pcontents);
        activity_type* item = copy != nullptr ? findItem(activities_list, copy->name) : nullptr;
        if (item == nullptr) continue;
        if (item->isExternalSucc) {
          copy->ignore_item_for_sched = 1;
        } else if (item->hasActualFinish) {
          copy->ignore_child_for_sched = 1;
          copy->ignore_item_for_sched = 1;
        } else {
          copy->start_date = item->start_date;
          copy->finish_date = item->finish_date;
          copy->offset_start_time = item->offset_start_time;
          copy->offset_finish_time = item->offset_finish_time;
          setActivityDuration(copy, item->finish_date - item->start_date + 1);
          activityCopyEarlyDates(item, copy);
          if (copy->proj != nullptr) {
            int32_t effort = 0;
            rc = activityCalculateTotalEffortWithinGivenDates(copy, &effort, smanager,
                                                              copy->start_date, copy->finish_date,
                                                              file);
            if (rc != 0) break;
            copy->effort = effort > 0 ? effort : 0;
          }
          copy->ignore_child_for_sched = 0;
          copy->ignore_item_for_sched = 0;
        }
      }
    }
    times[1] = secondsSince(t0);
    if (rc != 0) {
      report();
      return rc;
    }

    t0 = std::clock();
    if (file != nullptr) {
      forEach<project_type>(projects_list, [&](project_type* p) {
        std::fprintf(file, "\n Project %s: create %d start %d finish %d first day %d last day %d",
                     p->name, p->create_date, p->start_date, p->finish_date, p->first_day,
                     getProjectLastDayOfCalendar(p));
      });
      std::fprintf(file, "\n Extends Projects Calendars Before Starting Backward Pass\n");
    }
    rc = doExtendAllCalendarsToMinMaxDates(root_act_list, projects_list, activities_list, 0, 400,
                                           1000, file);
    times[2] = secondsSince(t0);
    if (rc != 0) {
      report();
      return rc;
    }

    t0 = std::clock();
    if (file != nullptr) std::fprintf(file, "\n Processes Backward Pass\n");
    rc = doFinAlignActivitiesBcwdPass(root_act_list, act_tmp_list_4, act_tmp_list_3,
                                      act_tmp_list_3, smanager, 1, 1, 1, file);
    times[3] = secondsSince(t0);
    if (rc != 0) {
      report();
      return rc;
    }

    t0 = std::clock();
    rc = doRunBcwdDynamicRepasNetTree(act_tmp_list_5, act_tmp_list_3, smanager, START_NODE_NAME,
                                      FINISH_NODE_NAME, PRINT_OPTION, file);
    times[4] = secondsSince(t0);
    if (rc != 0) {
      report();
      return rc;
    }

    t0 = std::clock();
    forEach<activity_type>(root_act_list, [&](activity_type* root) {
      activity_type* copy = root != nullptr ? findItem(act_tmp_list_3, root->name) : nullptr;
      if (copy != nullptr) {
        activitySpecRollDynam(act_tmp_list_3, copy, 0, 1, START_NODE_NAME, FINISH_NODE_NAME,
                              file);
      }
    });
    times[5] = secondsSince(t0);

    t0 = std::clock();
    if (file != nullptr) std::fprintf(file, "\n Updating Slack values in the Network Tree & DB\n");
    rc = doUpdateActivitiesSlackValuesNetworkTree(act_tmp_list_4, act_tmp_list_3, activities_list,
                                                  smanager, PRINT_OPTION, START_NODE_NAME,
                                                  FINISH_NODE_NAME, file);
    times[6] = secondsSince(t0);
    if (rc != 0) {
      report();
      return rc;
    }

    t0 = std::clock();
    if (optionConsiderUidsLengthSupr) {
      rc = doUpdateActivitiesSlackValuesInDB_2(activities_list, smanager, 2, PRINT_UPDATE_OPTION,
                                               file, SLACK_WRITER_ERROR_BASE);
      if (rc != 0 && file != nullptr) {
        std::fprintf(file,
                     "\n****** error (1) in doCalculCriPathAfterLevDB: negative error code from "
                     "SQL: errCode = %d\n",
                     rc);
      }
    } else {
      rc = doUpdateActivitiesSlackValuesInDB(act_tmp_list_3, smanager, PRINT_UPDATE_OPTION, file,
                                             SLACK_WRITER_ERROR_BASE);
      if (rc != 0 && file != nullptr) {
        std::fprintf(file,
                     "\n****** error (3) in doCalculCriPathAfterLevDB: negative error code from "
                     "SQL: errCode = %d\n",
                     rc);
      }
    }
    times[7] = secondsSince(t0);
    report();
    return rc;
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n****** error in doCalculCriPathAfterLevDB: throw exception to upper level\n");
    }
    throw;
  }
}
