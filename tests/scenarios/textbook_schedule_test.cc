// The textbook schedule on small hand-worked scopes (dates on the five-day
// week with a holiday), its refusals, and the comparison with a result
// table; then on a generated scope, where the generator's own placement
// estimate must be what the textbook computes from the rows.
#include "support/textbook_schedule.h"

#include <gtest/gtest.h>

#include <string>

#include "scope_generator.h"
#include "support/test_db.h"

namespace {

using testing::TestDb;

// A task of `days` working days under `parent`.
testing::ItemData task(const std::string& project, const std::string& parent,
                       const std::string& id, int days) {
  testing::ItemData i;
  i.project = project;
  i.parent = parent;
  i.id = id;
  i.effort = days * 480;
  i.durationDays = days;
  i.extra = {{"SCHED_DURATION", std::to_string(days * 480)}};
  return i;
}

testing::ItemData container(const std::string& project, const std::string& parent,
                            const std::string& id) {
  testing::ItemData i = task(project, parent, id, 0);
  i.typeId = 2;
  return i;
}

// January 2024: Monday the 8th to Friday the 26th, Monday the 15th a holiday.
void project(TestDb& db, const std::string& id, const std::string& start) {
  db.project({.id = id, .start = start, .finish = "2024-02-29"})
      .calendar({.from = "2023-12-01", .to = "2024-03-31", .holidays = {"2024-01-15"}});
}

void expectItem(const textbook::Schedule& s, const std::string& id, const std::string& start,
                const std::string& finish, int duration, int slack) {
  const textbook::Item* it = s.find(id);
  ASSERT_NE(it, nullptr) << id;
  EXPECT_EQ(it->levelStart, start) << id;
  EXPECT_EQ(it->levelFinish, finish) << id;
  EXPECT_EQ(it->levelDuration, duration) << id;
  EXPECT_EQ(it->slack, slack) << id;
}

// A (2 days) -FS+1-> B (3) -FF-> D (2) -FS-1-> F (2); A -SS+1-> C (1)
// -SF+2-> E (1); A to E under container C1, F beside it under P1.
// Forward in working days from Monday 8th (day 0): A 0-2, C 1-2, E 2-3,
// B 3-6, D 4-6, F 5-7; T = 7. Backward: D LF = LS(F) + 1 = 6, B LF 6,
// C LF = LF(E) - 2 + 1 = 6, A LF = min(LS(B) - 1, LS(C) - 1 + 2) = 2.
TEST(TextbookSchedule, FourDependencyKindsWithLagsLeadsAndAHoliday) {
  TestDb db;
  project(db, "P1", "2024-01-08");
  db.item(container("P1", "P1", "C1"));
  for (auto [id, days] : {std::pair{"A", 2}, {"B", 3}, {"C", 1}, {"D", 2}, {"E", 1}}) {
    db.item(task("P1", "C1", id, days));
  }
  db.item(task("P1", "P1", "F", 2));
  db.dependency({.pred = "A", .succ = "B", .predProject = "P1", .depType = 0, .lag = 480});
  db.dependency({.pred = "A", .succ = "C", .predProject = "P1", .depType = 1, .lag = 480});
  db.dependency({.pred = "B", .succ = "D", .predProject = "P1", .depType = 2});
  db.dependency({.pred = "C", .succ = "E", .predProject = "P1", .depType = 3, .lag = 960});
  db.dependency({.pred = "D", .succ = "F", .predProject = "P1", .depType = 0, .lag = -480});

  const textbook::Schedule s = textbook::computeSchedule(db.store(), {"P1"}, "");
  EXPECT_TRUE(s.problems.empty()) << s.problems.front();
  EXPECT_EQ(s.finishPoint, 7);
  EXPECT_EQ(s.origin, "2024-01-08");
  expectItem(s, "A", "2024-01-08 08:00:00.000000", "2024-01-09 17:00:00.000000", 960, 0);
  // Three days from Thursday: Thursday, Friday and, past the weekend and the
  // holiday, Tuesday.
  expectItem(s, "B", "2024-01-11 08:00:00.000000", "2024-01-16 17:00:00.000000", 1440, 0);
  expectItem(s, "C", "2024-01-09 08:00:00.000000", "2024-01-09 17:00:00.000000", 480, 4 * 480);
  expectItem(s, "D", "2024-01-12 08:00:00.000000", "2024-01-16 17:00:00.000000", 960, 0);
  expectItem(s, "E", "2024-01-10 08:00:00.000000", "2024-01-10 17:00:00.000000", 480, 4 * 480);
  // The lead lets F start on D's last day.
  expectItem(s, "F", "2024-01-16 08:00:00.000000", "2024-01-17 17:00:00.000000", 960, 0);
  // C1 spans A to D (six working days); its latest-finishing children B
  // and D have no slack. P1 spans everything and ends with F.
  expectItem(s, "C1", "2024-01-08 08:00:00.000000", "2024-01-16 17:00:00.000000", 2880, 0);
  expectItem(s, "P1", "2024-01-08 08:00:00.000000", "2024-01-17 17:00:00.000000", 3360, 0);
  const textbook::Item* c = s.find("C");
  EXPECT_EQ(c->ls, 5);
  EXPECT_EQ(c->lf, 6);
  EXPECT_EQ(s.find("C1")->lf, 7);  // E may finish as late as the end
}

// The as-of day (Wednesday 10th) holds P1, P2 starts Thursday. G (1 day)
// precedes container K (H 2 days, I 1 day) finish-to-start; K precedes J
// (3 days, in P2) finish-to-finish with a lag of 2: J ends 2 days after K.
TEST(TextbookSchedule, ContainerDependenciesProjectStartsAndTheCurrentDate) {
  TestDb db;
  project(db, "P1", "2024-01-08");
  project(db, "P2", "2024-01-11");
  db.item(task("P1", "P1", "G", 1));
  db.item(container("P1", "P1", "K"));
  db.item(task("P1", "K", "H", 2));
  db.item(task("P1", "K", "I", 1));
  db.item(task("P2", "P2", "J", 3));
  db.dependency({.pred = "G", .succ = "K", .predProject = "P1", .depType = 0});
  db.dependency({.pred = "K", .succ = "J", .predProject = "P1", .succProject = "P2",
                 .depType = 2, .lag = 960});

  const textbook::Schedule s =
      textbook::computeSchedule(db.store(), {"P1", "P2"}, "2024-01-10 00:00:00.000000");
  EXPECT_TRUE(s.problems.empty()) << s.problems.front();
  EXPECT_EQ(s.origin, "2024-01-10");
  expectItem(s, "G", "2024-01-10 08:00:00.000000", "2024-01-10 17:00:00.000000", 480, 0);
  // Both children of K wait for G, not only the first.
  expectItem(s, "H", "2024-01-11 08:00:00.000000", "2024-01-12 17:00:00.000000", 960, 0);
  expectItem(s, "I", "2024-01-11 08:00:00.000000", "2024-01-11 17:00:00.000000", 480, 480);
  expectItem(s, "K", "2024-01-11 08:00:00.000000", "2024-01-12 17:00:00.000000", 960, 0);
  // J must finish two days after K (Tuesday 16th, past the holiday), so it
  // starts Friday, later than its project allows.
  expectItem(s, "J", "2024-01-12 08:00:00.000000", "2024-01-17 17:00:00.000000", 1440, 0);
  expectItem(s, "P2", "2024-01-12 08:00:00.000000", "2024-01-17 17:00:00.000000", 1440, 0);
  expectItem(s, "P1", "2024-01-10 08:00:00.000000", "2024-01-12 17:00:00.000000", 1440, 0);
  // Without the current date G starts with its project on Monday; J, now
  // held by its own project's start on Thursday, leaves K and G a day.
  const textbook::Schedule early = textbook::computeSchedule(db.store(), {"P1", "P2"}, "");
  expectItem(early, "G", "2024-01-08 08:00:00.000000", "2024-01-08 17:00:00.000000", 480, 480);
  expectItem(early, "K", "2024-01-09 08:00:00.000000", "2024-01-10 17:00:00.000000", 960, 480);
  expectItem(early, "J", "2024-01-11 08:00:00.000000", "2024-01-16 17:00:00.000000", 1440, 0);
}

TEST(TextbookSchedule, ReportsWhatItDoesNotCover) {
  TestDb db;
  project(db, "P1", "2024-01-08");
  project(db, "X1", "2024-01-08");
  db.item(container("P1", "P1", "K"));
  db.item(task("P1", "K", "H", 2));
  testing::ItemData half = task("P1", "P1", "Half", 1);
  half.extra["SCHED_DURATION"] = "240";
  db.item(half);
  db.item(task("X1", "X1", "Out", 1));
  db.dependency({.pred = "Out", .succ = "H", .predProject = "X1", .succProject = "P1"});
  db.dependency({.pred = "H", .succ = "Half", .predProject = "P1", .lag = 60});
  db.dependency({.pred = "H", .succ = "K", .predProject = "P1", .depType = 2});

  const textbook::Schedule s = textbook::computeSchedule(db.store(), {"P1"}, "");
  EXPECT_EQ(s.ignoredDependencies, 1);  // from the project outside the scope
  std::string all;
  for (const std::string& p : s.problems) all += p + "\n";
  EXPECT_NE(all.find("Half: effort 240 is not whole working days"), std::string::npos) << all;
  EXPECT_NE(all.find("H -> Half: lag not whole working days"), std::string::npos) << all;
  EXPECT_NE(all.find("H -> K: dependency kind 2 at a container"), std::string::npos) << all;

  // A child that precedes its own container start to start: the start bound
  // of the container waits for the child, which waits for the bound.
  db.dependency({.pred = "H", .succ = "K", .predProject = "P1", .depType = 1});
  const textbook::Schedule cyclic = textbook::computeSchedule(db.store(), {"P1"}, "");
  ASSERT_FALSE(cyclic.problems.empty());
  EXPECT_EQ(cyclic.problems.back(), "the dependencies and the containment form a cycle");

  // Calendars that disagree on the working days of the scope.
  TestDb two;
  project(two, "P1", "2024-01-08");
  two.project({.id = "P2", .start = "2024-01-08", .finish = "2024-02-29"})
      .calendar({.from = "2023-12-01", .to = "2024-03-31"});
  two.item(task("P1", "P1", "A", 3));
  two.item(task("P2", "P2", "B", 8));
  const textbook::Schedule differing = textbook::computeSchedule(two.store(), {"P1", "P2"}, "");
  ASSERT_EQ(differing.problems.size(), 1u);
  EXPECT_EQ(differing.problems[0],
            "project P2: working days differ from project P1's on 2024-01-15");
}

// The generator places every row with its own depth-first estimate; the
// textbook reads the rows back and must find the same early dates, and no
// row outside what it covers.
TEST(TextbookSchedule, AgreesWithTheGeneratorsEstimateOnTheSimpleShape) {
  for (uint32_t seed : {1u, 2u, 3u}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TestDb db;
    scopegen::Description d;
    ASSERT_EQ(scopegen::generateScope(db.store(), scopegen::simpleShape(300, seed), &d), 0);
    const textbook::Schedule s = textbook::computeSchedule(db.store(), d.projects, d.asOf);
    ASSERT_TRUE(s.problems.empty()) << s.problems.front();
    EXPECT_EQ(s.ignoredDependencies, 0);
    EXPECT_EQ(s.items.size(), static_cast<size_t>(d.tasks + d.containers) + d.projects.size());
    int mismatches = 0, critical = 0;
    for (const textbook::Item& it : s.items) {
      const std::string sql = "select count(*) from KOR_WBS where ELEMENT_ID='" + it.id +
                              "' and UNRESOLVED_START='" + it.levelStart +
                              "' and UNRESOLVED_FINISH='" + it.levelFinish + "'";
      if (db.scalar(sql) != 1 && ++mismatches <= 5) ADD_FAILURE() << it.id << " " << it.levelStart;
      if (it.kind == textbook::Kind::kTask) {
        EXPECT_LE(it.ef, it.lf) << it.id;
        if (it.slack == 0) ++critical;
      }
    }
    EXPECT_GT(critical, 0);
    EXPECT_LT(critical, d.tasks);
  }
}

}  // namespace
