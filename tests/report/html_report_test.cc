#include <gtest/gtest.h>

#include <cstdio>

#include "report/report_fixture.h"

namespace reporttest {
namespace {

TEST_F(SmallProject, Explore) {
  ASSERT_EQ(0, level()) << log();
  std::printf("%s\n", text("SELECT GROUP_CONCAT(ELEMENT_ID || ' ' || COALESCE(LEVEL_START,'-') || ' ' || COALESCE(LEVEL_FINISH,'-') || ' s=' || COALESCE(TOTAL_SLACK,'-') || ' d=' || COALESCE(LEVEL_DURATION,'-') || ' c=' || COALESCE(LEVEL_CONFLICT,''), char(10)) FROM KOR_WBS").c_str());
  std::printf("%s\n", text("SELECT GROUP_CONCAT(RESOURCE_ID || ' ' || DAY_YEAR || ' ' || LOAD_MIN || '/' || CAPACITY_MIN || ' ' || TSK_ASSIGNMENT_ID, char(10)) FROM LEVEL_OVER_ALLOCATIONS").c_str());
  std::printf("%s\n", text("SELECT GROUP_CONCAT(RESOURCE_ID || ' ' || DAY_YEAR || ' ' || SCHED_MIN, char(10)) FROM LEVEL_TASK_DAY_OF_YEAR").c_str());
  std::string html;
  ASSERT_EQ(0, report("P1", html)) << html;
  FILE* f = std::fopen("/tmp/report11_small.html", "w");
  std::fputs(html.c_str(), f);
  std::fclose(f);
}

}  // namespace
}  // namespace reporttest
