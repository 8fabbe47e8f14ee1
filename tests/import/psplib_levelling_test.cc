// Ten j30 instances imported and levelled (run kind 0, one run per
// project): every schedule must be complete, within every capacity on
// every day and keep every precedence, and so can be no shorter than its
// critical path nor than any resource's work divided by its capacity (the
// leveller's capacity is by minutes per day, a coarser rule than PSPLIB's
// per period, so the proven optimum is no bound for it), nor longer than
// doing the jobs one after the other. The deviation from the optima is
// printed for information; the quality is measured on the whole set by
// bench/psplib_quality.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "import/psplib_import.h"
#include "import/schedule_check.h"
#include "run/entry_points.h"
#include "support/test_db.h"

namespace {

const std::string kData = std::string(LEVELER_SOURCE_DIR) + "/tests/data/psplib/";

TEST(PsplibLevelling, TenInstancesLevelToFeasibleSchedulesWithinTheirBounds) {
  std::map<std::string, int> optima;
  std::string error;
  ASSERT_EQ(0, import::readPsplibOptima(kData + "j30opt.sm", optima, error)) << error;
  std::vector<std::string> files;
  for (const auto& e : std::filesystem::directory_iterator(kData)) {
    const std::string name = e.path().filename().string();
    if (e.path().extension() == ".sm" && name != "j30opt.sm") files.push_back(name);
  }
  std::sort(files.begin(), files.end());
  ASSERT_EQ(10u, files.size());

  testing::TestDb db;
  db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
  const std::string log = db.path() + ".log";
  double deviationSum = 0;
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    import::PsplibImport imp;
    ASSERT_EQ(0, import::importPsplib(db.store(), kData + file, "2030-01-07", imp, error)) << error;
    db.commit();
    LevCallContext ctx{&db.store(), log.c_str(), nullptr, nullptr};
    ASSERT_EQ(0, RES_DEP_FOR_PROJ(&ctx, imp.projectId.c_str(), 0, 0, 0, 0, 0,
                                  "2030-01-07 08:00:00.000000", 0, "PSPLIB", 0));
    import::ScheduleCheck check;
    ASSERT_EQ(0, import::checkSchedule(db.store(), {imp.projectId}, check, error)) << error;
    EXPECT_EQ(32, check.items);
    EXPECT_EQ(0, check.unscheduled);
    EXPECT_EQ(0, check.overloadedDays);
    EXPECT_EQ(0, check.precedenceViolations);
    for (const std::string& p : check.problems) ADD_FAILURE() << p;

    import::PsplibInstance inst;
    ASSERT_EQ(0, import::parsePsplib(kData + file, inst, error));
    int serial = 0, links = 0;
    for (const import::PsplibJob& j : inst.jobs) {
      serial += j.duration;
      links += static_cast<int>(j.successors.size());
    }
    EXPECT_EQ(links, check.dependencies);
    const std::string key = file.substr(0, file.size() - 3);
    ASSERT_EQ(1u, optima.count(key));
    const int optimum = optima[key];
    const std::vector<int> es = import::psplibEarlyStarts(inst);
    int bound = es.back();  // the sink's early start: the critical path
    for (size_t r = 0; r < inst.capacities.size(); ++r) {
      int work = 0;
      for (const import::PsplibJob& j : inst.jobs) work += j.duration * j.requests[r];
      const int cap = inst.capacities[r];
      bound = std::max(bound, (work + cap - 1) / cap);
    }
    EXPECT_GE(check.makespanDays, bound);
    EXPECT_LE(check.makespanDays, serial);
    const double deviation = 100.0 * (check.makespanDays - optimum) / optimum;
    deviationSum += deviation;
    std::printf("%-12s makespan %3d optimum %3d deviation %5.1f%% (resource days with more "
                "units at once than capacity: %d)\n",
                file.c_str(), check.makespanDays, optimum, deviation, check.slotOverloadedDays);
  }
  std::printf("mean deviation over %zu instances: %.2f%%\n", files.size(),
              deviationSum / static_cast<double>(files.size()));
  std::remove(log.c_str());
}

}  // namespace
