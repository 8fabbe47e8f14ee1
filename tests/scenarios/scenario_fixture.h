// Scenario tests: whole runs of the load phase and the processing sequence
// on small SQLite databases built with the test-data builder, checked
// column by column in the work table the sequence writes.
//
// Calendar of every project: Monday to Friday 08:00-12:00 and 13:00-17:00
// (480 minutes a day), 2024-01-01 to 2024-12-31. 2024-01-08 is a Monday.
#ifndef LEVELER_TESTS_SCENARIOS_SCENARIO_FIXTURE_H
#define LEVELER_TESTS_SCENARIOS_SCENARIO_FIXTURE_H

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "scope_run.h"
#include "support/test_db.h"

namespace scenario {

// What the sequence wrote for one item (Lev_kor_wbs).
struct Written {
  std::string start;   // LEVEL_START
  std::string finish;  // LEVEL_FINISH
  int duration = 0;    // LEVEL_DURATION
  int slack = 0;       // TOTAL_SLACK
  int index = 0;       // LEVEL_INDEX
  bool operator==(const Written&) const = default;
};
std::ostream& operator<<(std::ostream& os, const Written& w);

// The day `n` working days (Monday to Friday) after `day` (YYYY-MM-DD).
std::string workingDayAfter(const std::string& day, int n);

class Scenario : public ::testing::Test {
 protected:
  void SetUp() override;

  // A project row (KOR_WBS, PROJECT_DETAILS) with the standard calendar.
  // level 1 for a root; a sub-project gives its parent project and its
  // rank below the parent's.
  void project(const std::string& id, const std::string& start, const std::string& finish,
               const std::string& parent = "", const std::string& rank = "", int level = 1);
  // A container or task of `project` under `parent` at `level`; effort in
  // minutes (a task without assignments is placed on it), starting on
  // `day` at 08:00.
  void item(const std::string& project, const std::string& parent, const std::string& id,
            int level, int typeId, int effort, const std::string& day,
            std::map<std::string, std::string> extra = {});
  void task(const std::string& project, const std::string& parent, const std::string& id,
            int level, int effort, const std::string& day = "2024-01-08",
            std::map<std::string, std::string> extra = {}) {
    item(project, parent, id, level, 3, effort, day, std::move(extra));
  }
  void container(const std::string& project, const std::string& parent, const std::string& id,
                 int level, const std::string& day = "2024-01-08") {
    item(project, parent, id, level, 2, 0, day);
  }
  // depType as stored: 0 FS, 1 SS, 2 FF, 3 SF; lag in minutes (negative: a lead).
  void link(const std::string& pred, const std::string& succ, const std::string& predProject,
            int depType = 0, int lag = 0, const std::string& succProject = "");

  std::unique_ptr<scopegen::ScopeRun> run(const std::vector<std::string>& roots,
                                          const std::string& currentDate,
                                          int assignmentsFlag = 0);

  Written written(const std::string& id);
  int count(const std::string& sql);
  std::string text(const std::string& sql);

  testing::TestDb db;
};

}  // namespace scenario

#endif  // LEVELER_TESTS_SCENARIOS_SCENARIO_FIXTURE_H
