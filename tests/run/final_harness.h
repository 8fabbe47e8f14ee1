// The state of a run at its end, for the tests of the conflict list, the
// finalisation and the clean-up: a real database (TestDb) with the
// notification cycle, the run's state record on the heap, a log file, and
// helpers to read what the run left behind (rows, the log, the
// notification item).
#ifndef LEVELER_TESTS_RUN_FINAL_HARNESS_H
#define LEVELER_TESTS_RUN_FINAL_HARNESS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "run/run_state.h"
#include "support/test_db.h"

namespace finaltest {

// Every statement of these tests sees this time as SYSTIMESTAMP().
inline constexpr const char* kNow = "2024-01-08 09:00:00.000000";

class FinalRun {
 public:
  FinalRun() : run(std::make_unique<run::RunState>()) {
    db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
    db.store().setFixedTime(kNow);
    log_ = std::tmpfile();
    EXPECT_NE(log_, nullptr);
    run::copyCut(run->rec_user, run::kIdSize, "U1");
    run::copyCut(run->element_id, run::kIdSize, "P1");
    run::copyCut(run->element_id_p, run::kIdSize, "P1");
  }
  ~FinalRun() {
    if (log_ != nullptr) std::fclose(log_);
  }
  FinalRun(const FinalRun&) = delete;
  FinalRun& operator=(const FinalRun&) = delete;

  FILE* log() { return log_; }

  // Everything written to the log so far.
  std::string logText() {
    std::fflush(log_);
    std::string text;
    std::rewind(log_);
    char buf[4096];
    size_t n = 0;
    while ((n = std::fread(buf, 1, sizeof buf, log_)) > 0) text.append(buf, n);
    std::fseek(log_, 0, SEEK_END);
    return text;
  }

  // A text value of one row ("<null>" for null, "<none>" without a row).
  std::string text(const std::string& sql) {
    db::MessageText out;
    int16_t ind = 0;
    int32_t rc = db.store().selectInto(sql, {}, {db::HostVar(out, &ind)});
    if (rc == 100) return "<none>";
    EXPECT_EQ(0, rc) << sql << ": " << db.store().status().message;
    return ind < 0 ? "<null>" : std::string(out.view());
  }
  int64_t count(const std::string& sql) { return db.scalar(sql); }

  // Subject and description of the run's notification item.
  std::string subject() {
    return text("SELECT SUBJECT FROM KOR_WORKFLOWS WHERE ELEMENT_ID = '" +
                std::string(run->workflow_id) + "'");
  }
  std::string description() {
    return text("SELECT DESCRIPTION FROM KOR_WORKFLOWS WHERE ELEMENT_ID = '" +
                std::string(run->workflow_id) + "'");
  }

  testing::TestDb db;
  std::unique_ptr<run::RunState> run;

 private:
  FILE* log_ = nullptr;
};

}  // namespace finaltest

#endif  // LEVELER_TESTS_RUN_FINAL_HARNESS_H
