// Priority order (see priority_order.h): delay parameters of all tasks, the
// weighted delay, the classification of the items into the lists the
// candidate list is made of, hard items last, and the log of the result.
#include "network/priority_order.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "model/dependency.h"
#include "model/serial_names.h"
#include "network/list_orders.h"
#include "schedule/delay_params.h"
#include "schedule/effort_sums.h"
#include "store/result_writers.h"

namespace priority_detail {

namespace {

__attribute__((format(printf, 2, 3))) void say(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
}

using Names = std::unordered_map<std::string_view, activity_type*>;

Names namesOf(const linked_list_type* list) {
  Names names;
  names.reserve(static_cast<size_t>(ll_size(list)));
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    auto* a = static_cast<activity_type*>(l->pcontents);
    names.emplace(std::string_view(a->name), a);
  }
  return names;
}

activity_type* lookup(const Names& names, const char* name) {
  auto it = names.find(std::string_view(name));
  return it == names.end() ? nullptr : it->second;
}

const char* firstParentName(const activity_type* a) {
  if (a->parent_list == nullptr || a->parent_list->phead == nullptr) return nullptr;
  return static_cast<string_type*>(a->parent_list->phead->pcontents)->str;
}

bool hasAssignments(const activity_type* a) {
  return a->hasAssignment != 0 ||
         (a->assignment_list != nullptr && a->assignment_list->listlength > 0);
}

bool isHard(const activity_type* a) { return a->constraint_type == 4 || a->constraint_type == 5; }

// Items of a list between its first and last entries.
std::vector<activity_type*> between(const linked_list_type* list) {
  std::vector<activity_type*> out;
  if (list == nullptr || list->phead == nullptr) return out;
  for (linktype* l = list->phead->pnext; l != nullptr && l->pnext != nullptr; l = l->pnext) {
    out.push_back(static_cast<activity_type*>(l->pcontents));
  }
  return out;
}

void append(linked_list_type* to, const linked_list_type* from) {
  for (linktype* l = from->phead; l != nullptr; l = l->pnext) ll_addtail(to, l->pcontents);
}

// Working minutes on the item's calendar from its project item's start to
// its early start; 0 when the early start is not later.
int32_t relativeProjectStart(activity_type* a, const Names& names, storage_manager_type* sm,
                             FILE* file) {
  if (a->proj == nullptr) return 0;
  int32_t psd = a->proj->start_date;
  int pst = getProjectStartTimeMinutesForGivenJulianDate(a, psd);
  if (const activity_type* pi = lookup(names, a->proj->name); pi != nullptr) {
    psd = pi->start_date;
    pst = getProjectStartTimeMinutesForGivenJulianDate(a, psd) + pi->offset_start_time;
  }
  const int32_t esd = a->early_start_date;
  const int est = getProjectStartTimeMinutesForGivenJulianDate(a, esd) + a->es_offset_start_time;
  if (esd < psd || (esd == psd && est <= pst)) return 0;
  int32_t minutes = 0;
  if (activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(a, &minutes, sm, psd, pst, esd,
                                                                   est, file) != 0) {
    return 0;
  }
  return std::max(minutes, 0);
}

// An unfinished non-external predecessor later in urgency than w takes w.
void passUrgencyToPredecessors(activity_type* a, int32_t w, const Names& names,
                               const char* start) {
  for (linktype* l = a->pred_list->phead; l != nullptr; l = l->pnext) {
    auto* d = static_cast<dependency_type*>(l->pcontents);
    if (d->isExternal || std::strcmp(d->name, start) == 0) continue;
    activity_type* q = lookup(names, d->name);
    if (q == nullptr || q->hasActualFinish || q->weighted_delay <= w) continue;
    q->weighted_delay = w;
    q->max_delay_param = q->slack - w + q->rel_prj_sd - q->ext_delay_dur;
  }
}

// The lists the candidate list is made of.
struct Classes {
  ListPtr externalList = newItemList(), rootList = newItemList(), freeList = newItemList(),
          hardList = newItemList(), candList = newItemList(), projectList = newItemList();
  linked_list_type* external = externalList.get();
  linked_list_type* roots = rootList.get();
  linked_list_type* free = freeList.get();
  linked_list_type* hard = hardList.get();
  linked_list_type* cand = candList.get();
  linked_list_type* projects = projectList.get();
};

void distributeRoots(Classes& c) {
  for (linktype* l = c.roots->phead; l != nullptr; l = l->pnext) {
    auto* r = static_cast<activity_type*>(l->pcontents);
    ll_addtail(r->proj != nullptr && r->proj->isRootProject ? c.free : c.projects, r);
  }
}

// Hard items go back before the first item of the final list that is
// neither a project item nor an outside item and whose priority is not
// above theirs; then the index is renumbered in final order.
void putHardItemsLast(const std::vector<activity_type*>& candidates,
                      const linked_list_type* hardList) {
  std::vector<activity_type*> hard;
  for (linktype* l = hardList->phead; l != nullptr; l = l->pnext) {
    hard.push_back(static_cast<activity_type*>(l->pcontents));
  }
  const std::unordered_set<const activity_type*> isHardItem(hard.begin(), hard.end());
  std::vector<activity_type*> final;
  for (activity_type* a : candidates) {
    if (isHardItem.count(a) == 0) final.push_back(a);
  }
  std::stable_sort(final.begin(), final.end(), [](const activity_type* x, const activity_type* y) {
    return x->task_level_order < y->task_level_order;
  });
  auto eligible = [](const activity_type* a) { return a->type != 1 && !a->isExternalPred; };
  // prefixMin[k]: smallest priority of an eligible item among final[0..k].
  std::vector<int32_t> prefixMin(final.size());
  int32_t m = INT32_MAX;
  for (size_t k = 0; k < final.size(); ++k) {
    if (eligible(final[k])) m = std::min(m, final[k]->priority);
    prefixMin[k] = m;
  }
  std::map<size_t, std::vector<activity_type*>> groups;  // by the item they precede
  for (auto it = hard.rbegin(); it != hard.rend(); ++it) {
    activity_type* h = *it;
    const auto at = std::partition_point(prefixMin.begin(), prefixMin.end(),
                                         [&](int32_t v) { return v > h->priority; });
    std::vector<activity_type*>& g = groups[static_cast<size_t>(at - prefixMin.begin())];
    auto before = std::find_if(g.begin(), g.end(), [&](const activity_type* x) {
      return eligible(x) && x->priority <= h->priority;
    });
    g.insert(before, h);
  }
  int32_t index = 0;
  auto groupAt = [&](size_t k) {
    auto it = groups.find(k);
    if (it == groups.end()) return;
    for (activity_type* h : it->second) h->task_level_order = index++;
  };
  for (size_t k = 0; k < final.size(); ++k) {
    groupAt(k);
    final[k]->task_level_order = index++;
  }
  groupAt(final.size());
}

void logSubOptimal(FILE* file, const linked_list_type* list) {
  say(file, "\n\n List of sub-optimal dependent items in the Network tree");
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    const auto* a = static_cast<const activity_type*>(l->pcontents);
    say(file, "\n   %-32s type = %d level_id = %d LEVEL_INDEX = %d", a->name, a->type,
        a->level_id, a->task_level_order);
  }
  say(file, "\n");
}

void logPriorityOrder(FILE* file, std::vector<activity_type*> items) {
  std::stable_sort(items.begin(), items.end(), [](const activity_type* x, const activity_type* y) {
    return x->task_level_order < y->task_level_order;
  });
  say(file, "\n\n doCreatePriority Order (LEVEL_INDEX is adjusted !!!)");
  for (const activity_type* a : items) {
    say(file,
        "\n %-32s priority %4d type %d ntw_level %d circul %d LEVEL_INDEX %6d serial %6d "
        "brunch %d slack %d weighted_delay %d rel_prj_sd %d ext_delay %d max_delay %d",
        a->name, a->priority, a->type, a->ntw_level_id, a->circul_id, a->task_level_order,
        a->serial_num, a->brunch, a->slack, a->weighted_delay, a->rel_prj_sd, a->ext_delay_dur,
        a->max_delay_param);
  }
  say(file, "\n");
}

}  // namespace

int runForwardOrdering(const ForwardSetup& s) {
  const char* start = s.START_NODE_NAME;
  const char* finish = s.FINISH_NODE_NAME;
  if (ll_size(s.network) < 2) return 0;
  const Names names = namesOf(s.lookups);
  const std::vector<activity_type*> items = between(s.network);

  if (s.weighting) {
    for (activity_type* a : items) {
      a->rel_prj_sd = relativeProjectStart(a, names, s.smanager, s.file);
      a->weighted_delay = a->rel_prj_sd + a->slack - a->ext_delay_dur;
    }
  }

  Classes c;
  for (activity_type* a : items) {
    const char* parent = firstParentName(a);
    if (a->isExternalPred) {
      ll_addtail(c.external, a);
    } else if (parent != nullptr && std::strcmp(parent, start) == 0) {
      ll_addtail(c.roots, a);
    } else if (activityHasNonTrivialNonExternalPred(a, start) || hasAssignments(a)) {
      if (a->constraint_type == 1 && !activityHasNonTrivialNonExternalSucc(a, finish)) {
        ll_addtail(c.free, a);
      } else if (isHard(a)) {
        ll_addtail(c.hard, a);
      } else {
        ll_addtail(c.cand, a);
      }
    } else {
      ll_addtail(c.free, a);
    }
  }
  if (s.assignmentsFlag > 0 && ll_size(c.roots) > 1) {
    ordNodesListPriorDesSerNumAsc(c.roots);
    ordNodListPresOrdAscNtwLevAsc(c.roots, s.lookups);
  }
  distributeRoots(c);
  if (ll_size(c.hard) > 1) {
    ordNodesListPriorDesSerNumAsc(c.hard);
    ordNodListPresOrdAscNtwLevAsc(c.hard, s.lookups);
  }

  if (s.weighting) {
    for (linktype* l = c.cand->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      if (a->type == 3 && hasAssignments(a)) a->weighted_delay -= a->max_delay_param;
    }
    // Urgency flows backwards: from the tail, a predecessor (of the item's
    // parent, then of the item) is never less urgent than the item.
    for (linktype* l = c.cand->ptail; l != nullptr; l = l->pprevious) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      const char* pname = firstParentName(a);
      activity_type* p = pname != nullptr && std::strcmp(pname, start) != 0
                             ? lookup(names, pname)
                             : nullptr;
      if (p != nullptr && activityHasNonTrivialNonExternalPred(p, start)) {
        passUrgencyToPredecessors(p, a->weighted_delay, names, start);
      }
      passUrgencyToPredecessors(a, a->weighted_delay, names, start);
    }
  }
  if (ll_size(c.cand) > 1) ordNodListConsPriDesWeigDelAsc(c.cand, s.lookups);

  ListPtr candidateList = newItemList();
  linked_list_type* candidates = candidateList.get();
  ll_addtail(candidates, s.network->phead->pcontents);
  append(candidates, c.external);
  append(candidates, c.free);
  append(candidates, c.hard);
  append(candidates, c.cand);
  append(candidates, c.projects);
  ll_addtail(candidates, s.network->ptail->pcontents);
  if (s.optionRunIndexesWherePossible) ll_createIndexArray(candidates, start, finish);
  activityResetLevelOrdersForList(candidates);

  int rc = 0;
  {
    LevelOrdering loop(candidates, LevelOrdering::Direction::Forward, start, finish, s.module,
                       s.file);
    rc = loop.run();
    if (rc == 0) {
      if (ll_size(c.hard) > 0) putHardItemsLast(between(candidates), c.hard);
      linked_list_type* sub = loop.subOptimalList();
      if (ll_size(sub) > 0) {
        if (s.subOptimalMode != 0) {
          const int w = doUpdateTEMPcircular(sub, s.subOptimalMode, s.file, PRIO_ERR_CIRCULAR_WRITE);
          if (w != 0) {
            say(s.file,
                "\n!!! error in Lev_finalAlignment (%s): returning from doUpdateTEMPcircular: "
                "errCode = %d",
                s.module, w);
          }
        }
        logSubOptimal(s.file, sub);
      }
      if (s.PRINT_OPTION) logPriorityOrder(s.file, between(candidates));
    }
  }
  if (s.file != nullptr) std::fflush(s.file);
  return rc;
}

}  // namespace priority_detail

int doCalculateDelayParamForAllTasks(linked_list_type* activities_list,
                                     linked_list_type* act_tmp_list,
                                     storage_manager_type* smanager, const char* START_NODE_NAME,
                                     const char* FINISH_NODE_NAME, FILE* file) {
  (void)smanager;
  try {
    std::vector<activity_type*> tasks;
    for (activity_type* a : priority_detail::between(activities_list)) {
      if (a->type == 3 && a->assignment_list != nullptr && ll_size(a->assignment_list) > 0) {
        tasks.push_back(a);
      }
    }
    return activitiesCalculateDelayParams(tasks, act_tmp_list, START_NODE_NAME, FINISH_NODE_NAME,
                                          file);
  } catch (...) {
    priority_detail::say(
        file, "\n****** error in doCalculateDelayParamForAllTasks: throw exception to upper level\n");
    throw;
  }
}

int creaPriorOrdTasksLevelIndex(linked_list_type* /*projects_list*/,
                                linked_list_type* activities_list, linked_list_type* act_tmp_list,
                                storage_manager_type* smanager, int optionRunIndexesWherePossible,
                                int assignmentsFlag, int optionFlag, long /*julianDateOrigin*/,
                                const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                                int PRINT_OPTION, FILE* file) {
  try {
    priority_detail::ForwardSetup s{};
    s.network = activities_list;
    s.lookups = act_tmp_list != nullptr ? act_tmp_list : activities_list;
    s.smanager = smanager;
    s.optionRunIndexesWherePossible = optionRunIndexesWherePossible;
    s.assignmentsFlag = assignmentsFlag;
    s.weighting = optionFlag != PRIO_OPTION_NO_LEVELLING;
    s.subOptimalMode = PRIO_SUBOPTIMAL_MODE_FORWARD;
    s.module = "creaPriorOrdTasksLevelIndex";
    s.START_NODE_NAME = START_NODE_NAME;
    s.FINISH_NODE_NAME = FINISH_NODE_NAME;
    s.PRINT_OPTION = PRINT_OPTION;
    s.file = file;
    return priority_detail::runForwardOrdering(s);
  } catch (...) {
    priority_detail::say(
        file, "\n****** error in creaPriorOrdTasksLevelIndex: throw exception to upper level\n");
    throw;
  }
}
