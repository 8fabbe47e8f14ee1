#include "scope_run.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "calendar/dates.h"
#include "model/activity.h"
#include "model/assignment.h"
#include "network/load_sequence.h"
#include "network/processing_sequence.h"
#include "run/cleanup.h"
#include "run/run_state.h"
#include "scope_generator.h"

namespace scopegen {
namespace {

// A project and the projects below it in the WBS, not deleted.
constexpr const char* kSelectProjects =
    "insert into NAV_TMP_PROJECTS_00 (LEVEL_ID,PRIORITY,ELEMENT_ID,RANK,START_FINISH_DATE) "
    "select T.LEVEL_ID ,T.PRIORITY ,T.ELEMENT_ID ,T.RANK ,T.START_FINISH_DATE from KOR_WBS T "
    "where T.TYPE_ID in (1,154,288,289,290) and T.REC_STATUS<>'D' and (T.ELEMENT_ID=? or "
    "T.RANK like (select R.RANK||'%' from KOR_WBS R where R.ELEMENT_ID=?)) and not exists "
    "(select 1 from NAV_TMP_PROJECTS_00 X where X.ELEMENT_ID=T.ELEMENT_ID)";

void expectOk(db::Store& store, int32_t code, const char* what,
              std::vector<std::string>* errors) {
  if (code != 0 && errors != nullptr) {
    errors->push_back(std::string(what) + ": " + std::to_string(code) + " " +
                      std::string(store.status().message));
  }
}

}  // namespace

void prepareRunWorkTables(db::Store& store, const std::vector<std::string>& roots,
                          std::vector<std::string>* errors) {
  expectOk(store, store.execute("delete from NAV_TMP_PROJECTS_00"), "clear project list", errors);
  for (const std::string& id : roots) {
    expectOk(store, store.execute(kSelectProjects, {id, id}), "select projects", errors);
  }
  expectOk(store, copyWbsToWorkTable(store), "copy WBS", errors);
}

ScopeRun::ScopeRun(db::Store& store, const ScopeRunOptions& o) : binding_(store) {
  prepareRunWorkTables(store, o.roots, &setupErrors);
  sm_ = smanagerCreateNew();
  setSmanagerProjectsPoolSize(sm_, 50);
  input_projects_list_ = ll_new(projectMatch, getProjectName);
  projects_list_ = ll_new(projectMatch, getProjectName);
  ext_projects_list_ = ll_new(projectMatch, getProjectName);
  root_act_list_ = ll_new(activityMatch, getActivityName);
  act_tmp_list_ = ll_new(activityMatch, getActivityName);
  activities_list_ = ll_new(activityMatch, getActivityName);
  proj_act_OnExt_dep_list_ = ll_new(activityMatch, getActivityName);
  ext_pred_list_ = ll_new(activityMatch, getActivityName);
  act_tmp_list_3_ = ll_new(activityMatch, getActivityName);
  act_tmp_list_4_ = ll_new(activityMatch, getActivityName);
  act_tmp_list_5_ = ll_new(activityMatch, getActivityName);
  assignments_list_ = ll_new(assignmentMatch, getAssignmentName);

  // The root projects in rank order, as the driver lists them.
  const long origin = dayOfYearToJulian(1950, 1, 1);
  {
    db::Cursor c(store);
    db::IdText id;
    int32_t priority = 0;
    db::StampText sfd;
    int16_t ind[3] = {0, 0, 0};
    expectOk(store,
             c.open("select ELEMENT_ID ,PRIORITY ,START_FINISH_DATE  from NAV_TMP_PROJECTS_00 "
                    "order by RANK"),
             "project list", &setupErrors);
    while (c.fetch({{id, &ind[0]}, {priority, &ind[1]}, {sfd, &ind[2]}}) == 0) {
      if (ind[0] < 0 || ind[1] < 0 || ind[2] < 0) continue;
      project_type* p = projectCreateNew(id.c_str());
      char day[11] = {0};
      std::snprintf(day, sizeof day, "%.10s", sfd.c_str());
      setProjectCurrentDate(p, static_cast<int32_t>(dateStringToJulian(day) - origin));
      setProjectPriority(p, static_cast<uint16_t>(priority));
      ll_addtail(input_projects_list_, p);
    }
  }

  char workflow[33] = "";  // the first notification creates the item
  char subject[2049] = "Calculate Project 'test'";
  char element[33] = {0};
  std::snprintf(element, sizeof element, "%s", o.roots.empty() ? "" : o.roots[0].c_str());
  char user[33] = "tester";
  std::vector<char> msg(16385, '\0');
  std::snprintf(msg.data(), msg.size(), "Started.");

  FILE* file = std::tmpfile();
  const int print = o.printOptions;
  loadCode = readAndLoadDataForMultipleProjectsFromTheRootDB(
      input_projects_list_, act_tmp_list_, root_act_list_, projects_list_, ext_projects_list_,
      ext_pred_list_, &tasksTotalCount, sm_, o.isFolderWithinPortfolio, o.optionFlag,
      o.optionUseIndexes, 1, 1, 0, o.currentDate.empty() ? 0 : 1, 0, o.currentDate.c_str(),
      workflow, msg.data(), subject, element, user, 1, print, print, loadTimes, file);
  if (loadCode == 0) {
    sequenceCode = processDepForWbsItemStatic(
        root_act_list_, projects_list_, proj_act_OnExt_dep_list_, act_tmp_list_,
        activities_list_, act_tmp_list_3_, act_tmp_list_4_, act_tmp_list_5_, assignments_list_,
        ext_pred_list_, sm_, o.optionFlag, o.optionUseIndexes, 0, 0, 0, tasksTotalCount,
        o.assignmentsFlag, workflow, msg.data(), subject, element, user, 1, print, print, print,
        print, sequenceTimes, file);
  }
  if (file != nullptr) {
    std::fflush(file);
    std::rewind(file);
    char buf[4096];
    size_t n = 0;
    while ((n = std::fread(buf, 1, sizeof buf, file)) > 0) log.append(buf, n);
    std::fclose(file);
  }
  message = msg.data();
  workflowId = workflow;
}

ScopeRun::~ScopeRun() {
  // The run's own clean-up: every record released once through the list
  // that owns it (see run/cleanup.h).
  auto records = std::make_unique<run::RunState>();
  records->sm = sm_;
  records->input_projects_list = input_projects_list_;
  records->projects_list = projects_list_;
  records->ext_projects_list = ext_projects_list_;
  records->root_act_list = root_act_list_;
  records->act_tmp_list = act_tmp_list_;
  records->activities_list = activities_list_;
  records->proj_act_OnExt_dep_list = proj_act_OnExt_dep_list_;
  records->ext_pred_list = ext_pred_list_;
  records->act_tmp_list_3 = act_tmp_list_3_;
  records->act_tmp_list_4 = act_tmp_list_4_;
  records->act_tmp_list_5 = act_tmp_list_5_;
  records->assignments_list = assignments_list_;
  run::freeRunRecords(*records, nullptr);
}

}  // namespace scopegen
