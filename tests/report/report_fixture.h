// Shared pieces of the report tests: a small project levelled through the
// entry point, and a scanner that reads the start tags of the page with
// their attributes (enough to check geometry without an HTML library).
//
// The small project P1 (calendar Monday to Friday 08:00-12:00 and
// 13:00-17:00, 480 minutes; 2024-01-17 a holiday; 2024-01-08 a Monday):
//   P1
//   +- C1  container (a long name of two-byte characters)
//   |  +- TA  3 days on R1
//   |  +- TB  3 days on R1 (waits for TA: R1 is one person)
//   |  +- TC  1 day on R2, after TA (finish-to-start)
//   |  +- TE  1 day on R1 as a resource of the other type: placed from its
//   |         start whatever the load
//   +- M1  milestone (no work), after TB (finish-to-start)
//   +- TD  1 day on R1, must start on 2024-01-08, after TC (finish-to-start):
//          placed on its date whatever the load, so the link from TC is
//          not kept
// TD and TE both land on R1 on 2024-01-08: an over-allocation. A project
// X1 outside the run books 240 minutes of R2 on 2024-01-11.
#ifndef LEVELER_TESTS_REPORT_REPORT_FIXTURE_H
#define LEVELER_TESTS_REPORT_REPORT_FIXTURE_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support/test_db.h"

namespace reporttest {

// One start tag: its name and attributes (values unescaped of &quot; etc.).
struct Tag {
  std::string name;
  std::map<std::string, std::string> attrs;
  std::size_t offset = 0;  // where the tag starts in the page
  bool hasClass(const std::string& c) const;
  std::string attr(const std::string& a) const {
    auto f = attrs.find(a);
    return f == attrs.end() ? std::string() : f->second;
  }
  double num(const std::string& a) const { return std::stod(attr(a)); }
};
std::vector<Tag> scanTags(const std::string& html);
// Tags named `name` (any name when empty) having class `cls`.
std::vector<Tag> withClass(const std::vector<Tag>& tags, const std::string& cls,
                           const std::string& name = "");

// The tags outside the legend (whose samples carry the classes of the
// marks they explain).
std::vector<Tag> dropLegend(const std::string& html, const std::vector<Tag>& tags);

std::string readFile(const std::string& path);
// A new temporary path (the file is created empty) ending in `suffix`.
std::string tempPath(const std::string& stem, const std::string& suffix);

// The day number of "YYYY-MM-DD" and the x of a stamp on a chart whose svg
// carries data-axis-first, data-x0 and data-px-per-day.
int dayNumber(const std::string& day);
double expectedX(const Tag& chart, const std::string& stamp);

class SmallProject : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  void resource(const std::string& id, int maxUnits = 10000);
  void item(const std::string& parent, const std::string& id, int typeId, int effort,
            std::map<std::string, std::string> extra = {});
  // A task of `work` minutes with one assignment on `res`; a resource type
  // other than "0" is placed from its start without waiting for capacity.
  void assignedTask(const std::string& parent, const std::string& id, const std::string& res,
                    int work, std::map<std::string, std::string> extra = {},
                    const std::string& resourceType = "0");
  void link(const std::string& pred, const std::string& succ, int depType = 0);
  // Levels P1 (run kind 0); the run's result.
  int level();
  std::string log();
  // Writes the report of `element`; its result, the page in `html`.
  int report(const std::string& element, std::string& html, int collapseDepth = -1);
  std::string text(const std::string& sql);

  testing::TestDb db;
  std::string logPath_;
  std::string htmlPath_;
  int effort_ = 0;
};

}  // namespace reporttest

#endif  // LEVELER_TESTS_REPORT_REPORT_FIXTURE_H
