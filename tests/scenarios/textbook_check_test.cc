// An independent check of the whole sequence: generated acyclic scopes of a
// few hundred tasks in several projects (containers, the four dependency
// kinds with whole-day lags and leads, a five-day calendar with holidays)
// are loaded and scheduled as a run would, and the early and late dates and
// total slack written to Lev_kor_wbs are compared with a plain textbook
// forward and backward pass computed from the same database rows.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "scope_generator.h"
#include "scope_run.h"
#include "support/test_db.h"
#include "support/textbook_schedule.h"

namespace {

TEST(TextbookCheck, GeneratedScopesAgreeWithTheTextbookPass) {
  for (uint32_t seed : {1u, 2u, 3u}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    testing::TestDb db;
    scopegen::Description scope;
    ASSERT_EQ(0, scopegen::generateScope(db.store(), scopegen::simpleShape(300, seed), &scope));
    db.commit();

    const textbook::Schedule expected =
        textbook::computeSchedule(db.store(), scope.projects, scope.asOf);
    ASSERT_TRUE(expected.problems.empty()) << expected.problems.front();

    scopegen::ScopeRunOptions o;
    o.roots = scope.rootProjects;
    o.currentDate = scope.asOf;
    o.isFolderWithinPortfolio = 1;
    o.printOptions = std::getenv("TEXTBOOK_TRACE") != nullptr ? 1 : 0;
    scopegen::ScopeRun run(db.store(), o);
    for (const std::string& e : run.setupErrors) ADD_FAILURE() << e;
    ASSERT_EQ(0, run.loadCode) << run.log.substr(0, 4000);
    ASSERT_EQ(0, run.sequenceCode) << run.log.substr(0, 4000);

    if (const char* trace = std::getenv("TEXTBOOK_TRACE")) {
      const std::string path = std::string(trace) + "." + std::to_string(seed);
      if (FILE* f = std::fopen(path.c_str(), "w")) {
        std::fputs(run.log.c_str(), f);
        std::fclose(f);
      }
      db.commit();
      for (const char* suffix : {"", "-wal"}) {
        std::filesystem::copy_file(db.path() + suffix, path + ".db" + suffix,
                                   std::filesystem::copy_options::overwrite_existing);
      }
    }
    // Every column of every task, and the dates and durations of containers
    // and projects, must agree. A container's slack is a summary of its
    // children under the engine's own rule (the earliest-starting child's
    // when it is critical, else the latest-finishing child's), not the
    // textbook's float of the container as an activity, so it is not
    // compared.
    std::vector<textbook::Disagreement> found;
    for (const auto& d : textbook::compareWithTable(db.store(), expected)) {
      if (d.kind != textbook::Kind::kTask && d.column == "TOTAL_SLACK") continue;
      found.push_back(d);
    }
    EXPECT_TRUE(found.empty()) << found.size() << " disagreements\n"
                               << textbook::describe(found);
  }
}

}  // namespace
