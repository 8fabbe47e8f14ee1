// Shared set-up of the lock and project-list tests: a test database whose
// SYSTIMESTAMP() stands at 2024-03-01 00:30 (the day after a leap day, so
// lock ages cross midnight and February's end), a log to read back, a
// notification cycle so that notifications are stored, and small readers.
#ifndef LEVELER_TESTS_RUN_LOCK_FIXTURE_H
#define LEVELER_TESTS_RUN_LOCK_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "run/run_state.h"
#include "support/test_db.h"

namespace locktest {

inline constexpr const char* kNow = "2024-03-01 00:30:00.000000";

class LockFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    db_.store().setFixedTime(kNow);
    db_.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
    log_ = std::tmpfile();
    ASSERT_NE(log_, nullptr);
  }
  void TearDown() override { std::fclose(log_); }

  bool logged(const std::string& part) {
    std::fflush(log_);
    std::rewind(log_);
    std::string all;
    char buf[4096];
    for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, log_)) > 0;) all.append(buf, n);
    std::fseek(log_, 0, SEEK_END);
    return all.find(part) != std::string::npos;
  }
  // The first column of a query's rows as texts ("NULL" for null).
  std::vector<std::string> column(const std::string& sql) {
    std::vector<std::string> out;
    db::Cursor cursor(db_.store());
    EXPECT_EQ(0, cursor.open(sql)) << sql << ": " << db_.store().status().message;
    db::NameText value;
    int16_t ind = 0;
    while (cursor.fetch({db::HostVar(value, &ind)}) == 0) {
      out.emplace_back(ind < 0 ? std::string("NULL") : std::string(value.view()));
    }
    return out;
  }
  std::string text(const std::string& sql) {
    std::vector<std::string> rows = column(sql);
    return rows.empty() ? "<no row>" : rows.front();
  }
  void exec(const std::string& sql) {
    ASSERT_EQ(0, db_.store().execute(sql)) << sql << ": " << db_.store().status().message;
  }
  // A run's lock on a project taken at `stamp`, its WBS rows 'L'.
  void lockProject(const std::string& id, int value, const std::string& stamp) {
    exec("update PROJECT_DETAILS set LEVEL_LOCK=" + std::to_string(value) +
         ",SCENARIO_DATETIME='" + stamp + "' where PROJECT_ID='" + id + "'");
    exec("update KOR_WBS set REC_STATUS='L' where PROJECT_ID='" + id + "'");
  }
  void node(const std::string& id, const std::string& rank, int typeId) {
    db_.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", id}, {"RANK", rank},
                               {"TYPE_ID", std::to_string(typeId)}, {"REC_STATUS", "U"}});
  }
  void listProject(const std::string& id) {
    db_.row("NAV_TMP_PROJECTS_00", {{"LEVEL_ID", "0"}, {"PRIORITY", "500"}, {"ELEMENT_ID", id}});
  }

  testing::TestDb db_;
  FILE* log_ = nullptr;
  std::unique_ptr<run::RunState> run_ = std::make_unique<run::RunState>();
};

}  // namespace locktest

#endif  // LEVELER_TESTS_RUN_LOCK_FIXTURE_H
