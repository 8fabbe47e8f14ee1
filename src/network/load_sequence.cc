// The load phase of a run; see load_sequence.h.
#include "network/load_sequence.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <ctime>
#include <vector>

#include "calendar/dates.h"
#include "model/activity.h"
#include "network/external_deps.h"
#include "network/network_construction.h"
#include "network/sequence_trace.h"
#include "store/calendar_loader.h"
#include "store/load/item_reader.h"
#include "store/load/project_reader.h"
#include "store/progress.h"

namespace {

const char* const kStart = "start";
const char* const kFinish = "finish";
const char* const kFictive = "fictive";

using sequence_trace::banner;
using sequence_trace::forEachElement;
using sequence_trace::say;
using sequence_trace::secondsSince;

project_type* projectNamed(linked_list_type* list, const char* name) {
  project_type* found = nullptr;
  forEachElement(list, [&](void* e) {
    auto* p = static_cast<project_type*>(e);
    if (found == nullptr && std::strcmp(p->name, name) == 0) found = p;
  });
  return found;
}

// Step 7 of a root: the root's projects go to the head of projects_list,
// last first, each learning the names of the projects below it.
void mergeLocalProjects(linked_list_type* local, linked_list_type* projects_list,
                        activity_type* root_act) {
  std::vector<project_type*> order;
  forEachElement(local, [&](void* e) { order.push_back(static_cast<project_type*>(e)); });
  bool anyAlap = false;
  for (size_t k = order.size(); k-- > 0;) {
    project_type* p = order[k];
    if (k + 1 < order.size()) {
      project_type* below = order[k + 1];
      projectAddSubprojectName(p, below->name);
      forEachElement(below->sub_proj_list, [&](void* e) {
        projectAddSubprojectName(p, static_cast<const char*>(e));
      });
      if (below->containsAss) p->containsAss = 1;
    }
    if (p->containsALAP) anyAlap = true;
    ll_addhead(projects_list, p);
  }
  if (anyAlap && root_act != nullptr && root_act->proj != nullptr) {
    root_act->proj->containsALAP = 1;
  }
}

// Step 6: fictive predecessors at the run's date. 0 or the first error.
int createFictivePredecessors(linked_list_type* act_tmp_list, linked_list_type* root_act_list,
                              linked_list_type* projects_list,
                              linked_list_type* ext_projects_list, storage_manager_type* sm,
                              int isFolderWithinPortfolio, int optionFlag,
                              int optimizeDepPartner, const char* currentDate,
                              int32_t* lower_cr_day, int PRINT_OPTION, int PRINT_OPTION_BASIC,
                              FILE* file) {
  const long origin = dayOfYearToJulian(1950, 1, 1);
  int32_t fixed_date = 0;
  if (optionFlag != 4) {
    char day[11] = {0};
    std::snprintf(day, sizeof day, "%.10s", currentDate == nullptr ? "" : currentDate);
    const int j = dateStringToJulian(day);
    if (j <= 0) {
      say(file, "\n***** error in readAndLoadDataForMultipleProjectsFromTheRootDB: "
                "illegal current date '%s' \n",
          currentDate == nullptr ? "" : currentDate);
      return LOAD_ERR_CURRENT_DATE;
    }
    fixed_date = static_cast<int32_t>(j - origin);
    *lower_cr_day = std::min(*lower_cr_day, fixed_date);
  }
  linked_list_type* fictive_list = ll_new(activityMatch, getActivityName);
  if (PRINT_OPTION_BASIC && file != nullptr) {
    char stamp[12] = {0};
    std::snprintf(stamp, sizeof stamp, "%.11s", currentDate == nullptr ? "" : currentDate);
    say(file, "\n*****************************************\n"
              "*  Alignes Constraint Dates of the Tasks *\n"
              "*  with Current Date = %11s       *\n"
              "*****************************************\n",
        stamp);
  }
  const bool singleRoot = ll_size(root_act_list) == 1;
  std::vector<project_type*> projects;
  forEachElement(projects_list, [&](void* e) { projects.push_back(static_cast<project_type*>(e)); });
  int code = 0;
  int running = 1;
  for (project_type* p : projects) {
    char name[LL_NAME_SIZE] = {0};
    int32_t date = fixed_date;
    if (optionFlag == 4) {
      date = p->current_date;
      *lower_cr_day = std::min(*lower_cr_day, date);
      p->shiftProjSFDate = 1;
      std::snprintf(name, sizeof name, "%s%d", kFictive, running++);
    } else {
      (void)isFolderWithinPortfolio;
      if (!singleRoot && !(fixed_date > p->current_date)) continue;
      if (p->current_date != fixed_date) p->shiftProjSFDate = 1;
      *lower_cr_day = std::min(*lower_cr_day, fixed_date);
      p->current_date = fixed_date;
      std::snprintf(name, sizeof name, "%s", kFictive);
    }
    auto* act = static_cast<activity_type*>(ll_extract(act_tmp_list, p->name));
    if (act == nullptr) continue;  // a project without its own row has no item
    code = doCreateFictiveExternalPredWithCurrentDate(p, act, date, act_tmp_list,
                                                      ext_projects_list, fictive_list, sm,
                                                      optimizeDepPartner, name, PRINT_OPTION,
                                                      file);
    if (code != 0) break;
  }
  ll_delete(fictive_list);
  if (code != 0) return code;
  doAlignConstrDatesWithCurrDate(act_tmp_list, file);
  return 0;
}

// Step 7 and 8: the two nodes, the tree and the predecessor lists.
int completeNetworkLinks(linked_list_type* act_tmp_list, linked_list_type* projects_list,
                         int32_t lower_cr_day, int indexOption, int optimizeDepPartner,
                         int PRINT_OPTION, double* children_time, double* deps_time,
                         FILE* file) {
  std::clock_t t0 = std::clock();
  doCreaStartFinishNodesForNtw(act_tmp_list, lower_cr_day, kStart, kFinish);
  const int32_t n = ll_size(act_tmp_list);
  std::vector<char*> names(static_cast<size_t>(n), nullptr);
  doCreateNameListForActivities(act_tmp_list, names.data(), LL_NAME_SIZE);
  if (indexOption) ll_createIndexArray(act_tmp_list, kStart, kFinish);
  int code = doCreateChildrenInNetworkTree(act_tmp_list, names.data(), 1, 1, file,
                                           LOAD_ERR_CHILDREN);
  *children_time = secondsSince(t0);
  t0 = std::clock();
  if (code != 0) {
    if (PRINT_OPTION) {
      say(file, "\n\n\n *** error in Lev_mainGate: readAndLoadDataForMultipleProjectsFromTheRootDB "
                "\n print activities Tree After doCreateChildrenInNetworkTree ");
      forEachElement(act_tmp_list, [&](void* e) {
        const auto* a = static_cast<const activity_type*>(e);
        say(file, "\n %32s type %d start %d finish %d", a->name, a->type, a->start_date,
            a->finish_date);
      });
    }
  } else {
    doCreateDepPred(act_tmp_list, projects_list, names.data(), optimizeDepPartner, file);
  }
  doDeleteNameListForActivities(names.data(), n);
  *deps_time = secondsSince(t0);
  return code;
}

}  // namespace

int readAndLoadDataForMultipleProjectsFromTheRootDB(
    linked_list_type* input_projects_list, linked_list_type* act_tmp_list,
    linked_list_type* root_act_list, linked_list_type* projects_list,
    linked_list_type* ext_projects_list, linked_list_type* ext_pred_list, int* tasksTotalCount,
    storage_manager_type* sm, int isFolderWithinPortfolio, int optionFlag, int optionUseIndexes,
    int optimizeExceptions, int considerConstraints, int optionConsiderUidsLengthSupr,
    int optionMoveProjSFDate, int optionResourceCalTakesPrec, const char* currentDate,
    char* p_workflow_id, char* p_message, char* p_subject, char* p_element_id_p,
    char* p_rec_user, int p_root_table_type, int PRINT_OPTION, int PRINT_OPTION_BASIC,
    double* par_time, FILE* file) {
  int lineNum = 0;
  try {
    for (int i = 0; i < LOAD_PHASE_TIMES; ++i) par_time[i] = 0.0;
    const long julianDateOrigin = dayOfYearToJulian(1950, 1, 1);
    int32_t lower_cr_day = INT32_MAX;
    const int optimizeDepPartner = (isFolderWithinPortfolio == 0 && optionFlag != 4) ? 1 : 0;
    int indexOption = 0;
    int code = 0;
    linked_list_type* local_projects_list = ll_new(projectMatch, getProjectName);

    std::vector<project_type*> roots;
    forEachElement(input_projects_list,
                   [&](void* e) { roots.push_back(static_cast<project_type*>(e)); });
    // The item reader tells the run's projects from outside ones by this
    // list. The project reader takes each sub-project it reads out of the
    // input list, so a later root linking to an earlier root's sub-project
    // would see an outside project (and a second record of the same item):
    // the reader gets the whole selection as it was, by reference.
    linked_list_type* run_projects_list = ll_new(projectMatch, getProjectName);
    for (project_type* p : roots) ll_addtail(run_projects_list, p);
    const std::unique_ptr<linked_list_type, void (*)(linked_list_type*)> runProjectsGuard(
        run_projects_list, ll_delete);
    lineNum = 1;
    int64_t rootsLoaded = 0;
    for (project_type* root : roots) {
      if (projectNamed(projects_list, root->name) != nullptr) continue;
      root->isRootProject = 1;
      if (PRINT_OPTION_BASIC) {
        banner(file, 1, "*  Reads Root Project Data from DB                    *");
        say(file, "*  Root Project Id * %32s *\n", root->name);
      }
      std::clock_t t0 = std::clock();
      code = doReadProjectsDB(root, input_projects_list, local_projects_list, sm,
                              julianDateOrigin, LOAD_DAYS_BEFORE_START_FINISH,
                              optimizeExceptions, optionConsiderUidsLengthSupr, p_workflow_id,
                              p_message, p_subject, p_element_id_p, p_rec_user,
                              p_root_table_type, file);
      par_time[0] += secondsSince(t0);
      if (code != 0) break;
      lower_cr_day = std::min(lower_cr_day, root->create_date);

      lineNum = 2;
      banner(file, PRINT_OPTION_BASIC, "*  Reads WBS Data from DB   *");
      t0 = std::clock();
      int rootTasks = 0;
      code = doReadActivitiesSuccDB(act_tmp_list, local_projects_list, ext_projects_list,
                                    ext_pred_list, run_projects_list, &rootTasks, sm,
                                    julianDateOrigin, LOAD_DAYS_BEFORE_START_FINISH, 1,
                                    optimizeExceptions, optimizeDepPartner, considerConstraints,
                                    optionConsiderUidsLengthSupr, optionResourceCalTakesPrec,
                                    p_workflow_id, p_message, p_subject, p_element_id_p,
                                    p_rec_user, p_root_table_type, PRINT_OPTION, 0, file);
      par_time[1] += secondsSince(t0);
      if (code != 0) break;
      *tasksTotalCount += rootTasks;
      indexOption = *tasksTotalCount >= LOAD_INDEX_THRESHOLD ? optionUseIndexes : 0;

      lineNum = 3;
      t0 = std::clock();
      auto* root_act = static_cast<activity_type*>(ll_extract(act_tmp_list, root->name));
      if (root_act != nullptr) ll_addtail(root_act_list, root_act);
      mergeLocalProjects(local_projects_list, projects_list, root_act);
      ll_removeAll(local_projects_list);
      par_time[2] += secondsSince(t0);
      db::reportProgress("loading", ++rootsLoaded, static_cast<int64_t>(roots.size()));
    }
    // Records still in the local list after a failure belong to no other
    // list yet: hand them to projects_list so that they are freed with it.
    forEachElement(local_projects_list, [&](void* e) {
      if (projectNamed(projects_list, static_cast<project_type*>(e)->name) == nullptr) {
        ll_addtail(projects_list, e);
      }
    });
    ll_delete(local_projects_list);
    if (code != 0) {
      if (code < 0) {
        say(file, "\n\n ****** error (1) in Lev_mainGate (readAndLoadDataForMultipleProjectsFromTheRootDB): "
                  "negative error code from SQL: errCode = %d LineNum = %d \n\n",
            code, lineNum);
      }
      return code;
    }

    lineNum = 4;
    banner(file, PRINT_OPTION_BASIC, "*   Extends Projects Calendars  *");
    std::clock_t t0 = std::clock();
    code = doExtendAllCalendarsToMinMaxDates(root_act_list, projects_list, act_tmp_list, 1, 400,
                                             1500, file);
    par_time[3] = secondsSince(t0);
    if (code != 0) return code;

    lineNum = 5;
    banner(file, PRINT_OPTION_BASIC, "*  Inherits Assignments Count Top Bottom *");
    t0 = std::clock();
    inherAssigCountTopBot(root_act_list, act_tmp_list, optionResourceCalTakesPrec, kFinish, file);
    par_time[4] = secondsSince(t0);

    lineNum = 6;
    t0 = std::clock();
    if (optionMoveProjSFDate) {
      code = createFictivePredecessors(act_tmp_list, root_act_list, projects_list,
                                       ext_projects_list, sm, isFolderWithinPortfolio,
                                       optionFlag, optimizeDepPartner, currentDate,
                                       &lower_cr_day, PRINT_OPTION, PRINT_OPTION_BASIC, file);
      if (code != 0) return code;
    }
    par_time[5] = secondsSince(t0);

    lineNum = 7;
    code = completeNetworkLinks(act_tmp_list, projects_list, lower_cr_day, indexOption,
                                optimizeDepPartner, PRINT_OPTION, &par_time[6], &par_time[7],
                                file);
    if (code < 0) {
      say(file, "\n\n ****** error (2) in Lev_mainGate (readAndLoadDataForMultipleProjectsFromTheRootDB): "
                "negative error code from SQL: errCode = %d LineNum = %d \n\n",
          code, lineNum);
    }
    return code;
  } catch (...) {
    say(file, "\n\n ****** error (3) in Lev_mainGate (readAndLoadDataForMultipleProjectsFromTheRootDB): "
              "throw exception to upper level LineNum = %d \n\n",
        lineNum);
    throw;
  }
}
