// Shared set-up of the lock and project-list tests: a test database whose
// SYSTIMESTAMP() is fixed at 2024-03-01 00:30 (the day after a leap day,
// so that lock ages cross midnight and February's end), a log file to read
// back, a notification cycle so that notifications are stored, and small
// readers of texts and rows.
#ifndef LEVELER_TESTS_RUN_LOCK_FIXTURE_H
#define LEVELER_TESTS_RUN_LOCK_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "run/run_state.h"
#include "store/store.h"
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
    run_ = std::make_unique<run::RunState>();
  }
  void TearDown() override { std::fclose(log_); }

  // Everything written to the log so far.
  std::string logText() {
    std::fflush(log_);
    std::string out;
    std::rewind(log_);
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, log_)) > 0) out.append(buf, n);
    std::fseek(log_, 0, SEEK_END);
    return out;
  }

  // The first column of every row of a query, as texts ("NULL" for null).
  std::vector<std::string> column(const std::string& sql) {
    std::vector<std::string> out;
    db::Cursor cursor(db_.store());
    EXPECT_EQ(0, cursor.open(sql)) << sql << ": " << db_.store().status().message;
    db::NameText value;
    int16_t ind = 0;
    int32_t rc;
    while ((rc = cursor.fetch({db::HostVar(value, &ind)})) == 0) {
      out.emplace_back(ind < 0 ? std::string("NULL") : std::string(value.view()));
    }
    EXPECT_EQ(100, rc) << sql << ": " << db_.store().status().message;
    return out;
  }
  // The single value of a query (the first row's first column).
  std::string text(const std::string& sql) {
    std::vector<std::string> rows = column(sql);
    return rows.empty() ? std::string("<no row>") : rows.front();
  }

  void exec(const std::string& sql) {
    ASSERT_EQ(0, db_.store().execute(sql)) << sql << ": " << db_.store().status().message;
  }

  // Marks a project locked by a run at `stamp` ("NULL": no time), its WBS
  // rows 'L'.
  void lockProject(const std::string& id, int value, const std::string& stamp) {
    const std::string time = stamp == "NULL" ? "NULL" : "'" + stamp + "'";
    exec("update PROJECT_DETAILS set LEVEL_LOCK=" + std::to_string(value) +
         ",SCENARIO_DATETIME=" + time + " where PROJECT_ID='" + id + "'");
    exec("update KOR_WBS set REC_STATUS='L' where PROJECT_ID='" + id + "'");
  }

  // A portfolio node.
  void node(const std::string& id, const std::string& rank, int typeId,
            const std::string& status = "U") {
    db_.row("KOR_PORTFOLIOS", {{"ELEMENT_ID", id},
                               {"RANK", rank},
                               {"TYPE_ID", std::to_string(typeId)},
                               {"ELEMENT_NAME", id},
                               {"CHILD_COUNT", "1"},
                               {"REC_STATUS", status}});
  }

  void listProject(const std::string& id) {
    db_.row("NAV_TMP_PROJECTS_00", {{"LEVEL_ID", "0"}, {"PRIORITY", "500"}, {"ELEMENT_ID", id}});
  }

  testing::TestDb db_;
  FILE* log_ = nullptr;
  std::unique_ptr<run::RunState> run_;
};

}  // namespace locktest

#endif  // LEVELER_TESTS_RUN_LOCK_FIXTURE_H
