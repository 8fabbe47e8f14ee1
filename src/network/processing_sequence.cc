// The processing sequence of a run; see processing_sequence.h.
#include "network/processing_sequence.h"

#include <cstring>
#include <ctime>
#include <string>
#include <unordered_set>
#include <vector>

#include "calendar/dates.h"
#include "model/activity.h"
#include "network/actual_work.h"
#include "network/backward_pass.h"
#include "network/external_deps.h"
#include "network/forward_pass.h"
#include "network/list_orders.h"
#include "network/network_construction.h"
#include "network/priority_order.h"
#include "network/rollup.h"
#include "network/sequence_trace.h"
#include "network/slack.h"
#include "store/calendar_loader.h"
#include "store/load/assignment_reader.h"
#include "store/notification.h"
#include "store/progress.h"
#include "store/result_writers.h"

namespace {

const char* const kStart = "start";
const char* const kFinish = "finish";
const char* const kFictive = "fictive";
constexpr size_t kMessageBufferSize = 16385;

using sequence_trace::say;
using sequence_trace::secondsSince;

void banner(FILE* file, int on, const char* text) {
  char line[64];
  std::snprintf(line, sizeof line, "*  %-50s *", text);
  sequence_trace::banner(file, on, line);
}

template <class F>
void forEachItem(linked_list_type* list, F f) {
  sequence_trace::forEachElement(list, [&](void* e) { f(static_cast<activity_type*>(e)); });
}

std::vector<activity_type*> itemsOf(linked_list_type* list) {
  std::vector<activity_type*> v;
  forEachItem(list, [&](activity_type* a) { v.push_back(a); });
  return v;
}

void logItems(FILE* file, linked_list_type* list, const char* title) {
  if (file == nullptr) return;
  say(file, "\n %s \n", title);
  forEachItem(list, [&](activity_type* a) {
    say(file, " %32s type %d start %d (+%d) finish %d (-%d) ES %d LF %d slack %d idx %d\n",
        a->name, a->type, a->start_date, a->offset_start_time, a->finish_date,
        a->offset_finish_time, a->early_start_date, a->late_finish_date, a->slack,
        a->task_level_order);
  });
}

// Removes from `list` every link whose element is in `gone`, without
// looking at the elements themselves (they may have been freed).
void dropElements(linked_list_type* list, const std::unordered_set<const void*>& gone) {
  if (list == nullptr || gone.empty() || ll_size(list) == 0) return;
  ll_head(list);
  for (int32_t i = 0, n = ll_size(list); i < n; ++i) {
    if (gone.count(ll_retrieve(list)) != 0) {
      const bool wasTail = ll_istail(list);
      ll_remove(list);
      if (wasTail || ll_size(list) == 0) break;
    } else {
      ll_next(list);
    }
  }
}

bool isFictiveName(const char* name) {
  return std::strncmp(name, kFictive, std::strlen(kFictive)) == 0;
}

// Step 4: dependencies between projects. The fictive items leave the item
// list while the network handles them; those the removal keeps go back, and
// the placeholders it frees are dropped from every list that refers to them.
int handleDependenciesBetweenProjects(linked_list_type* root_act_list,
                                      linked_list_type* projects_list,
                                      linked_list_type* proj_act_OnExt_dep_list,
                                      linked_list_type* act_tmp_list,
                                      linked_list_type* activities_list,
                                      linked_list_type* ext_pred_list, storage_manager_type* sm,
                                      long julianDateOrigin, int PRINT_OPTION, FILE* file) {
  std::vector<activity_type*> fictive;
  forEachItem(act_tmp_list, [&](activity_type* a) {
    if (a->isExternalPred && isFictiveName(a->name)) fictive.push_back(a);
  });
  std::unordered_set<const void*> fictiveSet(fictive.begin(), fictive.end());
  dropElements(act_tmp_list, fictiveSet);

  const std::vector<activity_type*> before = itemsOf(activities_list);
  int code = doHandleExternalAndFictiveDependencesOnProjectsNodes(
      activities_list, root_act_list, projects_list, proj_act_OnExt_dep_list, sm, 1,
      julianDateOrigin, kFictive, PRINT_OPTION, file);
  if (code == 0) {
    code = doRemoveFictiveDependencesFromNetwork(activities_list, proj_act_OnExt_dep_list,
                                                 kFictive, PRINT_OPTION, file);
  }
  std::unordered_set<const void*> still;
  forEachItem(activities_list, [&](activity_type* a) { still.insert(a); });
  std::unordered_set<const void*> freed;
  for (activity_type* a : before) {
    if (still.count(a) == 0 && fictiveSet.count(a) == 0) freed.insert(a);
  }
  dropElements(act_tmp_list, freed);
  dropElements(ext_pred_list, freed);
  for (activity_type* f : fictive) {
    if (still.count(f) != 0) {
      // Kept in the network (no project depended on it): the item list
      // owns it again, just after the start node.
      ll_head(act_tmp_list);
      ll_insertAfter(act_tmp_list, f);
    }
  }
  dropElements(ext_pred_list, fictiveSet);  // deleted or not, never a placeholder
  return code;
}

// Step 5: the user hears of a circular dependency once, when the message
// buffer still has room for it.
void tellUserOfCircularDependency(char* p_workflow_id, char* p_message, const char* p_subject,
                                  const char* p_element_id_p, const char* p_rec_user,
                                  int p_root_table_type, FILE* file) {
  say(file, " found circular dependency within this project !!! ");
  if (p_message == nullptr) return;
  const size_t used = strnlen(p_message, kMessageBufferSize);
  if (kMessageBufferSize - 1 - used <= static_cast<size_t>(SEQ_FREE_MESSAGE_FOR_CIRCULAR)) return;
  const std::string stars(58, '*');
  std::string text = stars + "\n" +
                     " * There is at least one circular dependency within this Portfolio/Project *\n" +
                     " " + stars + "\n\n" + std::string(p_message, used);
  std::snprintf(p_message, kMessageBufferSize, "%s", text.c_str());
  std::string subject = std::string("[Started] ") + (p_subject == nullptr ? "" : p_subject);
  FC_SEND_NOTIFY(p_workflow_id, subject.c_str(), p_message, p_element_id_p, p_rec_user,
                 p_root_table_type);
}

activity_type* finishNodeOf(linked_list_type* list) {
  return static_cast<activity_type*>(ll_extract(list, kFinish));
}

}  // namespace

int doRunFrwdBckwdMeargedNet(linked_list_type* root_act_list, linked_list_type* projects_list,
                             linked_list_type* proj_act_OnExt_dep_list,
                             linked_list_type* activities_list, linked_list_type* act_tmp_list,
                             linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_4,
                             linked_list_type* act_tmp_list_5, storage_manager_type* smanager,
                             int optionFlag, int optionCalculEsEfLsLf,
                             int optionRunIndexesWherePossible, int optionConsiderUidsLengthSupr,
                             int assignmentsFlag, long julianDateOrigin, int PRINT_OPTION,
                             int PRINT_UPDATE_OPTION, int PRINT_OPTION_BASIC, double* par_time,
                             FILE* file) {
  (void)optionConsiderUidsLengthSupr;
  (void)PRINT_UPDATE_OPTION;
  for (int i = 0; i < SEQ_STATIC_PHASE_TIMES; ++i) par_time[i] = 0.0;
  if (ll_size(root_act_list) > 1) ordRootNodesListProjSerNumAsc(root_act_list);

  banner(file, PRINT_OPTION_BASIC, "Starts Forward Pass");
  std::clock_t t0 = std::clock();
  int code = doFinAlignActivitiesFrwdPass(root_act_list, activities_list, act_tmp_list,
                                          act_tmp_list, smanager, 1, 1, optionCalculEsEfLsLf,
                                          file);
  par_time[0] = secondsSince(t0);
  if (code != 0) return code;
  setNetworkNodesFromRoots(root_act_list, activities_list, nullptr, kStart, kFinish);

  t0 = std::clock();
  code = doFinAlignRepasRootLevProjects(root_act_list, activities_list, smanager, 1,
                                        julianDateOrigin, PRINT_OPTION, PRINT_OPTION_BASIC, file);
  par_time[1] = secondsSince(t0);
  if (code != 0) return code;

  bool anyAlap = false;
  forEachItem(root_act_list, [&](activity_type* r) {
    if (r->proj != nullptr) {
      r->proj->start_date = r->start_date;
      r->proj->finish_date = r->finish_date;
    }
  });
  if (projects_list != nullptr && ll_size(projects_list) > 0) {
    ll_head(projects_list);
    for (int32_t i = 0, n = ll_size(projects_list); i < n; ++i) {
      if (static_cast<project_type*>(ll_retrieve(projects_list))->containsALAP) anyAlap = true;
      ll_next(projects_list);
    }
  }
  setNetworkNodesFromRoots(root_act_list, activities_list, nullptr, kStart, kFinish);

  t0 = std::clock();
  forEachItem(activities_list, [&](activity_type* a) {
    ll_addtail(act_tmp_list_3, activityCopyCreateNew(a, file));
  });
  if (optionRunIndexesWherePossible) ll_createIndexArray(act_tmp_list_3, kStart, kFinish);
  banner(file, PRINT_OPTION_BASIC, "Builds Network Tree from Finish Node");
  code = reorgNetTrFromFinishNode(act_tmp_list_3, act_tmp_list_4, projects_list,
                                  optionRunIndexesWherePossible, kStart, kFinish, PRINT_OPTION,
                                  file);
  par_time[2] = secondsSince(t0);
  if (code != 0) return code;

  t0 = std::clock();
  const activity_type* finishNode = finishNodeOf(activities_list);
  if (projects_list != nullptr && ll_size(projects_list) > 0 && finishNode != nullptr) {
    ll_head(projects_list);
    for (int32_t i = 0, n = ll_size(projects_list); i < n; ++i) {
      auto* p = static_cast<project_type*>(ll_retrieve(projects_list));
      p->sav_create_date = p->create_date;
      p->sav_start_date = p->start_date;
      p->sav_finish_date = p->finish_date;
      auto* copy = static_cast<activity_type*>(ll_extract(act_tmp_list_3, p->name));
      if (copy != nullptr) copy->offset_finish_time = finishNode->offset_finish_time;
      p->finish_date = finishNode->finish_date;
      ll_next(projects_list);
    }
  }
  banner(file, PRINT_OPTION_BASIC, "Extends Projects Calendars Before Starting Backward Pass");
  code = doExtendAllCalendarsToMinMaxDates(root_act_list, projects_list, act_tmp_list, 0, 400,
                                           1000, file);
  forEachItem(proj_act_OnExt_dep_list, [&](activity_type* r) {
    if (r->proj != nullptr) r->proj->create_date = r->proj->original_create_date;
  });
  par_time[3] = secondsSince(t0);
  if (code != 0) return code;

  banner(file, PRINT_OPTION_BASIC, "Processes Backward Pass");
  t0 = std::clock();
  code = doFinAlignActivitiesBcwdPass(root_act_list, act_tmp_list_4, act_tmp_list_3,
                                      act_tmp_list_3, smanager, 1, 1, optionCalculEsEfLsLf,
                                      file);
  par_time[4] = secondsSince(t0);
  if (code != 0) return code;

  t0 = std::clock();
  code = reorgIndexOrderOnBackPass(act_tmp_list_3, act_tmp_list_5, projects_list,
                                   optionRunIndexesWherePossible, assignmentsFlag, kStart, kFinish,
                                   PRINT_OPTION, file);
  if (code == 0) {
    code = doRunBcwdDynamicRepasNetTree(act_tmp_list_5, act_tmp_list_3, smanager, kStart, kFinish,
                                        0, file);
  }
  if (code == 0) {
    forEachItem(root_act_list, [&](activity_type* r) {
      auto* copy = static_cast<activity_type*>(ll_extract(act_tmp_list_3, r->name));
      if (copy != nullptr) activitySpecRollDynam(act_tmp_list_3, copy, 0, 1, kStart, kFinish, file);
    });
  }
  par_time[5] = secondsSince(t0);
  if (code != 0) return code;

  t0 = std::clock();
  forEachItem(act_tmp_list_3, [&](activity_type* copy) {
    auto* item = static_cast<activity_type*>(ll_extract(activities_list, copy->name));
    if (item != nullptr) activityCopyLaterDates(copy, item);
  });
  banner(file, PRINT_OPTION_BASIC, "Updates Slack values in the Network");
  code = doUpdateActivitiesSlackValuesNetworkTree(act_tmp_list_4, act_tmp_list_3, activities_list,
                                                  smanager, PRINT_OPTION, kStart, kFinish, file);
  par_time[6] = secondsSince(t0);
  if (code != 0) return code;

  banner(file, PRINT_OPTION_BASIC, "Creates Priority Order (Level Index Calculation)");
  t0 = std::clock();
  code = creaPriorOrdTasksLevelIndex(projects_list, activities_list, act_tmp_list, smanager,
                                     optionRunIndexesWherePossible, assignmentsFlag,
                                     anyAlap ? 0 : optionFlag, julianDateOrigin, kStart, kFinish,
                                     PRINT_OPTION, file);
  par_time[7] = secondsSince(t0);
  return code;
}

int doRunFirstTimeUpdatesMeargedNet(linked_list_type* root_act_list,
                                    linked_list_type* projects_list,
                                    linked_list_type* activities_list,
                                    linked_list_type* act_tmp_list_3,
                                    linked_list_type* act_tmp_list_4,
                                    storage_manager_type* smanager, int optionFlag,
                                    int optionConsiderUidsLengthSupr, int assignmentsFlag,
                                    long julianDateOrigin, int PRINT_OPTION,
                                    int PRINT_UPDATE_OPTION, int PRINT_OPTION_BASIC, FILE* file) {
  (void)act_tmp_list_4;
  int code = 0;
  if (assignmentsFlag > 0) {
    banner(file, PRINT_OPTION_BASIC, "Updates LevelIndex in DB (first time update)");
    code = doUpdateLevelIndexOnly(activities_list, optionConsiderUidsLengthSupr,
                                  PRINT_UPDATE_OPTION, file, SEQ_FIRST_UPDATE_ERROR_BASE);
  } else {
    banner(file, PRINT_OPTION_BASIC, "Updates Activities in DB (first time update)");
    code = doUpdateActivitiesInDB(activities_list, julianDateOrigin, smanager, 1, 1,
                                  optionConsiderUidsLengthSupr, PRINT_UPDATE_OPTION, file,
                                  SEQ_FIRST_UPDATE_ERROR_BASE);
  }
  if (PRINT_OPTION) {
    const bool asTheyAre = ll_size(root_act_list) == 1 && (optionFlag == 0 || optionFlag == 3);
    if (!asTheyAre) {
      int32_t earliest = 0;
      bool first = true;
      forEachItem(root_act_list, [&](activity_type* r) {
        if (first || r->start_date < earliest) earliest = r->start_date;
        first = false;
      });
      auto* startCopy = static_cast<activity_type*>(ll_extract(act_tmp_list_3, kStart));
      if (startCopy != nullptr && !first) {
        startCopy->start_date = startCopy->finish_date = earliest - 1;
        startCopy->late_start_date = startCopy->late_finish_date = earliest - 1;
      }
    }
    logItems(file, act_tmp_list_3, "The list of copies after the backward pass");
  }
  if (projects_list != nullptr && ll_size(projects_list) > 0) {
    ll_head(projects_list);
    for (int32_t i = 0, n = ll_size(projects_list); i < n; ++i) {
      auto* p = static_cast<project_type*>(ll_retrieve(projects_list));
      p->create_date = p->sav_create_date;
      p->start_date = p->sav_start_date;
      p->finish_date = p->sav_finish_date;
      ll_next(projects_list);
    }
  }
  return code;
}

int processDepForWbsItemStatic(
    linked_list_type* root_act_list, linked_list_type* projects_list,
    linked_list_type* proj_act_OnExt_dep_list, linked_list_type* act_tmp_list,
    linked_list_type* activities_list, linked_list_type* act_tmp_list_3,
    linked_list_type* act_tmp_list_4, linked_list_type* act_tmp_list_5,
    linked_list_type* assignments_list, linked_list_type* ext_pred_list,
    storage_manager_type* sm, int option_Flag, int optionUseIndexes,
    int optionConsiderUidsLengthSupr, int optionResourceCalTakesPrec,
    int optionSplitDayWithActualForDurBased, int tasksTotalCount, int assignmentsFlag,
    char* p_workflow_id, char* p_message, char* p_subject, char* p_element_id_p,
    char* p_rec_user, int p_root_table_type, int PRINT_OPTION, int PRINT_UPDATE_OPTION,
    int PRINT_OPTION_MORETHAN_BASIC, int PRINT_OPTION_BASIC, double* par_time, FILE* file) {
  int lineNum = 0;
  try {
    for (int i = 0; i < SEQ_PHASE_TIMES; ++i) par_time[i] = 0.0;
    const long julianDateOrigin = dayOfYearToJulian(1950, 1, 1);
    const int optionFlag = option_Flag == 4 ? 0 : option_Flag;
    const int optionRunIndexesWherePossible =
        tasksTotalCount >= SEQ_MIN_TASKS_FOR_INDEXES ? optionUseIndexes : 0;
    int code = 0;
    auto failed = [&](int c) {
      if (c < 0) {
        say(file, "\n\n****** error (1) in Lev_mainGate (processDepForWbsItemStatic): negative "
                  "error code from SQL: errCode = %d LineNum = %d\n\n",
            c, lineNum);
      }
      return c;
    };

    lineNum = 1;
    banner(file, PRINT_OPTION_BASIC, "Reads Assignments");
    std::clock_t t0 = std::clock();
    code = doReadAssignmentsUnderProjectsDB(act_tmp_list, projects_list, assignments_list, sm,
                                            optionConsiderUidsLengthSupr,
                                            optionResourceCalTakesPrec, kStart, kFinish,
                                            p_workflow_id, p_message, p_subject, p_element_id_p,
                                            p_rec_user, p_root_table_type, PRINT_OPTION, 0, file);
    par_time[0] = secondsSince(t0);
    if (code != 0) return failed(code);

    lineNum = 2;
    db::reportProgress("scheduling", 1, 10);
    t0 = std::clock();
    code = doHandleWorksForTasksNoActuals(act_tmp_list, sm, 0, file);
    if (code == 0) {
      banner(file, PRINT_OPTION_BASIC, "Handles Actuals For all Tasks");
      code = doHandleWorkActualsForAllTasks(act_tmp_list, sm, optionSplitDayWithActualForDurBased,
                                            0, file);
    }
    par_time[2] = secondsSince(t0);
    if (code != 0) return failed(code);

    lineNum = 3;
    db::reportProgress("scheduling", 2, 10);
    banner(file, PRINT_OPTION_BASIC, "Builds Network from Start Node");
    t0 = std::clock();
    code = doBuildNetTrFromStartNode(act_tmp_list, activities_list, 1, 1, 0, file);
    if (code != 0) {
      say(file, " error !!! Build Network Tree From Start Node");
      logItems(file, activities_list, "");
      par_time[1] = secondsSince(t0);
      return failed(code);
    }
    if (PRINT_OPTION) {
      logItems(file, activities_list,
               "The list of nodes after building of the Network Tree From Start Node");
    }
    if (optionRunIndexesWherePossible) ll_createIndexArray(activities_list, kStart, kFinish);
    par_time[1] = secondsSince(t0);

    lineNum = 4;
    db::reportProgress("scheduling", 3, 10);
    banner(file, PRINT_OPTION_BASIC, "Handles External & Fictive Dependences");
    t0 = std::clock();
    code = handleDependenciesBetweenProjects(root_act_list, projects_list,
                                             proj_act_OnExt_dep_list, act_tmp_list,
                                             activities_list, ext_pred_list, sm,
                                             julianDateOrigin, PRINT_OPTION, file);
    par_time[3] = secondsSince(t0);
    if (code != 0) return failed(code);

    lineNum = 5;
    db::reportProgress("scheduling", 4, 10);
    banner(file, PRINT_OPTION_BASIC, "Creates Network Level_Id");
    t0 = std::clock();
    if (checkForCirculDep(activities_list, act_tmp_list, kStart, kFinish, file) == 1) {
      tellUserOfCircularDependency(p_workflow_id, p_message, p_subject, p_element_id_p,
                                   p_rec_user, p_root_table_type, file);
    }
    inherPredSuccNetTreeTopBot(root_act_list, activities_list, kStart, kFinish, file);
    if (ll_size(root_act_list) > 1) {
      creaNetworkLevelIdTopBot(root_act_list, activities_list, act_tmp_list, file);
    }
    par_time[4] = secondsSince(t0);

    lineNum = 6;
    db::reportProgress("scheduling", 5, 10);
    t0 = std::clock();
    if (optionFlag != PRIO_OPTION_NO_LEVELLING) {
      banner(file, PRINT_OPTION_BASIC, "Calculates Delay factors for all Tasks in the Network");
      code = doCalculateDelayParamForAllTasks(activities_list, act_tmp_list, sm, kStart, kFinish,
                                              file);
    }
    par_time[5] = secondsSince(t0);
    if (code != 0) return failed(code);

    lineNum = 7;
    db::reportProgress("scheduling", 6, 10);
    code = doRunFrwdBckwdMeargedNet(root_act_list, projects_list, proj_act_OnExt_dep_list,
                                    activities_list, act_tmp_list, act_tmp_list_3, act_tmp_list_4,
                                    act_tmp_list_5, sm, optionFlag, 1,
                                    optionRunIndexesWherePossible, optionConsiderUidsLengthSupr,
                                    assignmentsFlag, julianDateOrigin, PRINT_OPTION,
                                    PRINT_UPDATE_OPTION, PRINT_OPTION_BASIC, par_time + 6, file);
    if (code != 0) return failed(code);

    lineNum = 8;
    db::reportProgress("scheduling", 7, 10);
    t0 = std::clock();
    code = doRunFirstTimeUpdatesMeargedNet(root_act_list, projects_list, activities_list,
                                           act_tmp_list_3, act_tmp_list_4, sm, optionFlag,
                                           optionConsiderUidsLengthSupr, assignmentsFlag,
                                           julianDateOrigin, PRINT_OPTION, PRINT_UPDATE_OPTION,
                                           PRINT_OPTION_BASIC, file);
    par_time[14] = secondsSince(t0);
    if (code != 0) return failed(code);

    lineNum = 9;
    db::reportProgress("scheduling", 8, 10);
    banner(file, PRINT_OPTION_BASIC, "Runs Dynamic Forward Repass of the Network Tree");
    t0 = std::clock();
    code = doRunFrwdDynamicRepasNetTree(activities_list, sm, optionConsiderUidsLengthSupr,
                                        assignmentsFlag, kStart, kFinish, p_workflow_id, p_message,
                                        p_subject, p_element_id_p, p_rec_user, p_root_table_type,
                                        0, file);
    par_time[15] = secondsSince(t0);
    if (code != 0) return failed(code);

    lineNum = 10;
    db::reportProgress("scheduling", 9, 10);
    t0 = std::clock();
    if (assignmentsFlag > 0) {
      forEachItem(root_act_list, [&](activity_type* r) {
        activitySpecRollDynam(activities_list, r, 1, 1, kStart, kFinish, file);
      });
    }
    if (PRINT_OPTION) {
      logItems(file, activities_list,
               "The list of nodes after Dynamic Forward Repass of the Network Tree");
    }
    par_time[16] = secondsSince(t0);
    (void)PRINT_OPTION_MORETHAN_BASIC;
    return 0;
  } catch (...) {
    say(file, "\n\n****** error (2) in Lev_mainGate (processDepForWbsItemStatic): throw exception "
              "to upper level LineNum = %d\n\n",
        lineNum);
    throw;
  }
}
