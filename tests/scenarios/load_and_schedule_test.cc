// Whole runs of the load phase and the processing sequence, as the run
// driver calls them, on small databases; every column the sequence writes
// (LEVEL_START, LEVEL_FINISH, LEVEL_DURATION, TOTAL_SLACK, LEVEL_INDEX and
// the circular-dependency lists) is checked against dates worked out by
// hand on the standard calendar (Mon-Fri 08:00-12:00, 13:00-17:00).
#include <gtest/gtest.h>

#include "scenarios/scenario_fixture.h"

namespace scenario {
namespace {

constexpr const char* kMonday = "2024-01-08 00:00:00.000000";

// P1 holds container C1 with T1 (two days) -> T2 (one day) and, beside
// them, T3 (one day) without links. Run as of Monday 8 January.
//   T1 Mon 08:00 .. Tue 17:00, T2 Wed 08:00 .. Wed 17:00: the critical chain,
//   slack 0; T3 Mon 08:00 .. Mon 17:00, free until Wednesday evening:
//   slack two working days (960 minutes).
TEST_F(Scenario, OneProjectChainAndAFreeTask) {
  project("P1", "2024-01-08", "2024-01-31");
  container("P1", "P1", "C1", 2);
  task("P1", "C1", "T1", 3, 960);
  task("P1", "C1", "T2", 3, 480);
  task("P1", "C1", "T3", 3, 480);
  link("T1", "T2", "P1");

  auto r = run({"P1"}, kMonday);
  ASSERT_EQ(0, r->loadCode) << r->log;
  ASSERT_EQ(0, r->sequenceCode) << r->log;
  EXPECT_EQ(3, r->tasksTotalCount);

  const Written t1 = written("T1"), t2 = written("T2"), t3 = written("T3");
  EXPECT_EQ("2024-01-08 08:00:00.000000", t1.start);
  EXPECT_EQ("2024-01-09 17:00:00.000000", t1.finish);
  EXPECT_EQ(960, t1.duration);
  EXPECT_EQ(0, t1.slack);
  EXPECT_EQ("2024-01-10 08:00:00.000000", t2.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", t2.finish);
  EXPECT_EQ(480, t2.duration);
  EXPECT_EQ(0, t2.slack);
  EXPECT_EQ("2024-01-08 08:00:00.000000", t3.start);
  EXPECT_EQ("2024-01-08 17:00:00.000000", t3.finish);
  EXPECT_EQ(960, t3.slack);
  // The container spans its children: three working days.
  const Written c1 = written("C1");
  EXPECT_EQ("2024-01-08 08:00:00.000000", c1.start);
  EXPECT_EQ("2024-01-10 17:00:00.000000", c1.finish);
  EXPECT_EQ(1440, c1.duration);
  // Every task has a priority position; T1 comes before its successor.
  EXPECT_GE(t1.index, 0);
  EXPECT_LT(t1.index, t2.index);
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_circ_3"));
}

}  // namespace
}  // namespace scenario
