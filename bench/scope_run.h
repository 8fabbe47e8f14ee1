// One run of the load phase and the processing sequence on a test
// database, as the run driver will make it: the run's projects are put into
// the project work table, their WBS rows copied into Lev_kor_wbs, the root
// projects listed with their current date and priority, then
// readAndLoadDataForMultipleProjectsFromTheRootDB and
// processDepForWbsItemStatic run with the log in a temporary file.
//
// Shared by the scenario tests and the benchmarks (no test framework here:
// failures of the preparation are collected in setupErrors).
//
// The run owns every list and record it made and frees them all when it
// goes (the sanitizers check that nothing leaks on any path, also after a
// load that failed half-way).
#ifndef LEVELER_BENCH_SCOPE_RUN_H
#define LEVELER_BENCH_SCOPE_RUN_H

#include <string>
#include <vector>

#include "calendar/project.h"
#include "model/linked_list.h"
#include "store/store.h"

namespace scopegen {

struct ScopeRunOptions {
  std::vector<std::string> roots{};  // root project ids, in run order
  std::string currentDate{};         // "calculate as of" time stamp; empty: none
  int optionFlag = 0;
  int assignmentsFlag = 0;
  int isFolderWithinPortfolio = 0;
  int optionUseIndexes = 1;
  int printOptions = 0;  // 1: every trace on
};

class ScopeRun {
 public:
  ScopeRun(db::Store& store, const ScopeRunOptions& options);
  ~ScopeRun();
  ScopeRun(const ScopeRun&) = delete;
  ScopeRun& operator=(const ScopeRun&) = delete;

  int loadCode = 0;      // result of the load phase
  int sequenceCode = 0;  // result of the processing sequence (not run after a failed load)
  int tasksTotalCount = 0;
  std::vector<std::string> setupErrors{};  // statements of the preparation that failed
  double loadTimes[8] = {};
  double sequenceTimes[17] = {};
  std::string log{};      // everything written to the run's log
  std::string message{};  // the user message buffer after the run
  std::string workflowId{};  // the notification item of the run, if one was sent

  // The run's lists, for tests that look at the records.
  linked_list_type* projects() const { return projects_list_; }
  linked_list_type* items() const { return act_tmp_list_; }
  linked_list_type* network() const { return activities_list_; }

 private:
  db::StoreBinding binding_;
  storage_manager_type* sm_ = nullptr;
  linked_list_type* input_projects_list_ = nullptr;
  linked_list_type* projects_list_ = nullptr;
  linked_list_type* ext_projects_list_ = nullptr;
  linked_list_type* root_act_list_ = nullptr;
  linked_list_type* act_tmp_list_ = nullptr;
  linked_list_type* activities_list_ = nullptr;
  linked_list_type* proj_act_OnExt_dep_list_ = nullptr;
  linked_list_type* ext_pred_list_ = nullptr;
  linked_list_type* act_tmp_list_3_ = nullptr;
  linked_list_type* act_tmp_list_4_ = nullptr;
  linked_list_type* act_tmp_list_5_ = nullptr;
  linked_list_type* assignments_list_ = nullptr;
};

// The driver's preparation of the work tables for a run of these projects
// (each with its sub-projects): NAV_TMP_PROJECTS_00 and Lev_kor_wbs.
void prepareRunWorkTables(db::Store& store, const std::vector<std::string>& roots,
                          std::vector<std::string>* errors);

}  // namespace scopegen

#endif  // LEVELER_BENCH_SCOPE_RUN_H
