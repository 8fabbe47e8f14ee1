// Levelling on generated portfolios (about 1,000 tasks in ten root projects
// with sub-projects, one or two assignments per task on a small pool of
// shared resources, dependencies of all four kinds, actual work and an
// outside project), checked against what any correct levelling must give,
// whatever the order it chose:
// 1. no resource carries more than its capacity on a day the run placed
//    work on, unless the run recorded that (resource, day) as an
//    over-allocation; only assignments that do not wait for free capacity
//    may record one;
// 2. every finish-to-start link between two unstarted tasks of the run,
//    without a lead, holds between the levelled dates, and the successor
//    starts at least the lag's working minutes after the finish;
// 3. every unfinished assignment of the run is laid out in full: its
//    levelled day minutes add up to its remaining work, which is also its
//    levelled effort.
//
// Units: day minutes and work in minutes; MAX_UNITS in hundredths of a
// percent of one person (10000 = one person full time); days as
// "YYYY-MM-DD"; levelled dates as time stamps, which order as texts.
//
// Load of a (resource, day), as the search counts it: this run's levelled
// minutes (LEVEL_TASK_DAY_OF_YEAR of the run's projects), plus the booked
// minutes of projects outside the run (a row's actual minutes when a
// reported actual exceeds its scheduled ones), plus the actual minutes
// already reported in the run's projects. Capacity: MAX_UNITS x the day's
// working minutes / 10000 on the resource's calendar, or, for a resource
// without one, on the calendar of each project whose assignment was laid on
// it that day (the check takes the smallest, so that no calendar's
// capacity is exceeded).
//
// Test data choices, made after generation:
// - MAX_UNITS of 10000, 20000 or 30000 by resource number, and a pool of a
//   few dozen resources, so that tasks really compete.
// - Assignments keep the generator's RESOURCE_TYPE '0' (they wait for free
//   capacity); in the mixed portfolio every tenth assignment gets 'R' (laid
//   without waiting, its overloads recorded), so that the over-allocation
//   record is exercised too.
// - The first eight resources carry work of the outside project on the
//   eight weeks from the "calculate as of" day (half days, and full days
//   reported as actual once a week), which the run must work around.
// - In the mixed portfolio every fifth resource works on a calendar of its
//   own: the project calendar's days with Wednesdays shortened to the
//   morning (240 minutes) and Fridays off.
#include <gtest/gtest.h>

#include <cstdio>
#include <ostream>
#include <string>

#include "run/entry_points.h"
#include "scenarios/scenario_fixture.h"
#include "scope_generator.h"

namespace scenario {
namespace {

struct Portfolio {
  uint32_t seed;
  int resources;
  bool mixed;  // some non-waiting assignments and some resource calendars
};
void PrintTo(const Portfolio& p, std::ostream* os) {
  *os << "seed " << p.seed << ", " << p.resources << " resources" << (p.mixed ? ", mixed" : "");
}

class LevellingProperties : public Scenario, public ::testing::WithParamInterface<Portfolio> {
 protected:
  void SetUp() override {
    Scenario::SetUp();
    logPath_ = db.path() + ".log";
  }
  void TearDown() override { std::remove(logPath_.c_str()); }

  void exec(const std::string& sql) {
    ASSERT_EQ(0, db.store().execute(sql)) << sql;
  }

  // Up to five rows of `select` (one text column V), joined by "; ", and
  // the count of all its rows.
  std::string firstFew(const std::string& select) {
    return std::to_string(count("SELECT count(*) FROM (" + select + ")")) + " violation(s): " +
           text("SELECT group_concat(V, '; ') FROM (" + select + " LIMIT 5)");
  }
  int violations(const std::string& select) {
    return count("SELECT count(*) FROM (" + select + ")");
  }

  std::string log() {
    std::string out;
    if (FILE* f = std::fopen(logPath_.c_str(), "r")) {
      char buf[4096];
      std::size_t n;
      while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
      std::fclose(f);
    }
    const std::size_t from = out.size() > 4000 ? out.size() - 4000 : 0;
    return out.substr(from);
  }

  void prepare(const Portfolio& p) {
    scopegen::Shape shape;  // 1,000 tasks, ten roots with two sub-projects each
    shape.resources = p.resources;
    shape.seed = p.seed;
    ASSERT_EQ(0, scopegen::generateScope(db.store(), shape, &scope_));
    inRun_ = "(";
    for (const std::string& id : scope_.projects) {
      inRun_ += (inRun_.size() > 1 ? ",'" : "'") + id + "'";
    }
    inRun_ += ")";

    exec("UPDATE RESOURCES SET MAX_UNITS = 10000 * (1 + CAST(substr(RESOURCE_ID, 4) AS INTEGER) % 3)");
    if (p.mixed) {
      exec("UPDATE TASK_ASSIGNMENTS SET RESOURCE_TYPE = 'R' "
           "WHERE CAST(substr(TSK_ASSIGNMENT_ID, 2) AS INTEGER) % 10 = 0");
      const std::string morning = testing::dayBitsHex(testing::dayBits({{480, 720}}));
      const std::string none = testing::dayBitsHex(testing::dayBits({}));
      exec("CREATE TEMP TABLE PROP_CAL AS SELECT * FROM KOR_CALENDARS WHERE ELEMENT_ID='R01'");
      exec("UPDATE PROP_CAL SET ELEMENT_ID='RESCAL', PARENT_ID=NULL, RANK='CALRES'");
      exec("INSERT INTO KOR_CALENDARS SELECT * FROM PROP_CAL");
      exec("DROP TABLE PROP_CAL");
      // DAY_WEEK: 1 = Sunday .. 7 = Saturday.
      exec("INSERT INTO CALENDAR_DAY_OF_YEAR (ELEMENT_ID, DAY_YEAR, DAY_WEEK, BIT_SCHED) "
           "SELECT 'RESCAL', DAY_YEAR, DAY_WEEK, CASE WHEN DAY_WEEK = 6 THEN '" + none +
           "' WHEN DAY_WEEK = 4 AND BIT_SCHED <> '" + none + "' THEN '" + morning +
           "' ELSE BIT_SCHED END FROM CALENDAR_DAY_OF_YEAR WHERE ELEMENT_ID='R01'");
      exec("UPDATE RESOURCES SET CALENDAR_ID='RESCAL' "
           "WHERE CAST(substr(RESOURCE_ID, 4) AS INTEGER) % 5 = 0");
    }
    // Work booked outside the run on the first eight resources, on every
    // working day of the eight weeks from the "calculate as of" day: half a
    // day each, and on one day in seven a full day reported as actual
    // (above the half day booked).
    const std::string outsideTask = text(
        "SELECT min(ELEMENT_ID) FROM KOR_WBS WHERE PROJECT_ID='" + scope_.outsideProject +
        "' AND TYPE_ID=3");
    ASSERT_NE("null", outsideTask);
    const std::string booked =
        "SELECT RESOURCE_ID FROM RESOURCES WHERE CAST(substr(RESOURCE_ID, 4) AS INTEGER) <= 8";
    exec("INSERT INTO TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID, PROJECT_ID, TASK_ID, RESOURCE_ID, "
         "RESOURCE_TYPE, PLANNED_WORK, ETC, WORK_TODATE, UNITS_MSP) SELECT 'XA' || RESOURCE_ID, '" +
         scope_.outsideProject + "', '" + outsideTask + "', RESOURCE_ID, '0', 0, 9600, 0, 5000 FROM (" +
         booked + ")");
    exec("INSERT INTO TASK_DAY_OF_YEAR (PROJECT_ID, TASK_ID, TSK_ASSIGNMENT_ID, RESOURCE_ID, "
         "DAY_YEAR, SCHED_MIN, ACTUAL_MIN, ACTUAL_FLAG, BIT_SCHED, BIT_FLAG) SELECT '" +
         scope_.outsideProject + "', '" + outsideTask + "', 'XA' || R.RESOURCE_ID, R.RESOURCE_ID, "
         "C.DAY_YEAR, 240, CASE WHEN CAST(julianday(C.DAY_YEAR) AS INTEGER) % 7 = 0 THEN 480 ELSE 0 "
         "END, CASE WHEN CAST(julianday(C.DAY_YEAR) AS INTEGER) % 7 = 0 THEN 1 ELSE 0 END, "
         "C.BIT_SCHED, 0 FROM CALENDAR_DAY_OF_YEAR C, (" + booked + ") R "
         "WHERE C.ELEMENT_ID='" + scope_.outsideProject + "' AND C.DAY_YEAR >= substr('" +
         scope_.asOf + "', 1, 10) AND C.DAY_YEAR < date(substr('" + scope_.asOf +
         "', 1, 10), '+56 days') AND C.BIT_SCHED <> '" + testing::dayBitsHex(testing::dayBits({})) +
         "'");
    db.commit();
  }

  int level() {
    LevCallContext ctx{&db.store(), logPath_.c_str(), nullptr, nullptr};
    return RES_DEP_FOR_PROJ(&ctx, scope_.portfolio.c_str(), 0, 0, 0, 0, 0, scope_.asOf.c_str(), 0,
                            "U1", 0);
  }

  // Working minutes of every calendar day (PROP_DAY_MIN: CAL, DAY, MIN),
  // counted from the 72 hexadecimal digits of its schedule, five minutes a
  // bit.
  void dayMinutes() {
    exec("CREATE TEMP TABLE PROP_DAY_MIN AS "
         "WITH RECURSIVE PAT(BITS) AS (SELECT DISTINCT BIT_SCHED FROM CALENDAR_DAY_OF_YEAR "
         "WHERE BIT_SCHED IS NOT NULL), "
         "POS(BITS, I, M) AS (SELECT BITS, 0, 0 FROM PAT UNION ALL "
         "SELECT BITS, I + 1, M + 5 * CAST(substr('0112122312232334', "
         "instr('0123456789ABCDEF', upper(substr(BITS, I + 1, 1))), 1) AS INTEGER) "
         "FROM POS WHERE I < length(BITS)) "
         "SELECT C.ELEMENT_ID CAL, C.DAY_YEAR DAY, coalesce(P.M, 0) MIN "
         "FROM CALENDAR_DAY_OF_YEAR C LEFT JOIN POS P "
         "ON P.BITS = C.BIT_SCHED AND P.I = length(P.BITS)");
    exec("CREATE INDEX PROP_DAY_MIN_IX ON PROP_DAY_MIN (CAL, DAY)");
    // Working minutes of each schedule from a five-minute slot (0..287) to
    // the end of the day (PROP_SLOT_MIN: BITS, SLOT, AFTER).
    exec("CREATE TEMP TABLE PROP_SLOT_MIN AS "
         "WITH RECURSIVE PAT(BITS) AS (SELECT DISTINCT BIT_SCHED FROM CALENDAR_DAY_OF_YEAR "
         "WHERE BIT_SCHED IS NOT NULL), "
         "SLOT(BITS, B, W) AS (SELECT BITS, -1, 0 FROM PAT UNION ALL "
         "SELECT BITS, B + 1, ((instr('0123456789ABCDEF', upper(substr(BITS, (B + 1) / 4 + 1, 1))) - 1) "
         ">> (3 - (B + 1) % 4)) & 1 FROM SLOT WHERE B < 287) "
         "SELECT BITS, B SLOT, 5 * sum(W) OVER (PARTITION BY BITS ORDER BY B DESC) AFTER "
         "FROM SLOT WHERE B >= 0");
    exec("CREATE INDEX PROP_SLOT_MIN_IX ON PROP_SLOT_MIN (BITS, SLOT)");
  }

  // Working minutes, on calendar `cal`, from the time stamp `from` to the
  // later time stamp `to` (SQL expressions).
  static std::string workingMinutes(const std::string& cal, const std::string& from,
                                    const std::string& to) {
    auto day = [](const std::string& stamp) { return "substr(" + stamp + ", 1, 10)"; };
    auto slot = [](const std::string& stamp) {
      return "((CAST(substr(" + stamp + ", 12, 2) AS INTEGER) * 60 + CAST(substr(" + stamp +
             ", 15, 2) AS INTEGER)) / 5)";
    };
    auto after = [&](const std::string& stamp) {
      return "coalesce((SELECT A.AFTER FROM PROP_SLOT_MIN A JOIN CALENDAR_DAY_OF_YEAR C ON "
             "C.BIT_SCHED = A.BITS WHERE C.ELEMENT_ID = " + cal + " AND C.DAY_YEAR = " +
             day(stamp) + " AND A.SLOT = " + slot(stamp) + "), 0)";
    };
    const std::string dayMin = "coalesce((SELECT MIN FROM PROP_DAY_MIN WHERE CAL = " + cal +
                               " AND DAY = " + day(to) + "), 0)";
    return "(CASE WHEN " + day(from) + " = " + day(to) + " THEN " + after(from) + " - " +
           after(to) + " ELSE " + after(from) +
           " + coalesce((SELECT sum(MIN) FROM PROP_DAY_MIN WHERE CAL = " + cal + " AND DAY > " +
           day(from) + " AND DAY < " + day(to) + "), 0) + " + dayMin + " - " + after(to) +
           " END)";
  }

  // Load and capacity of every (resource, day) the run placed work on
  // (PROP_LOAD: RES, DAY, RUN_MIN, OTHER_MIN, CAP_MIN).
  void loads() {
    exec("CREATE TEMP TABLE PROP_LOAD AS "
         "SELECT L.RES RES, L.DAY DAY, L.RUN_MIN RUN_MIN, "
         "(SELECT coalesce(sum(CASE WHEN T.ACTUAL_FLAG = 1 AND T.ACTUAL_MIN > T.SCHED_MIN "
         "THEN T.ACTUAL_MIN ELSE T.SCHED_MIN END), 0) FROM TASK_DAY_OF_YEAR T "
         "WHERE T.RESOURCE_ID = L.RES AND T.DAY_YEAR = L.DAY AND T.PROJECT_ID NOT IN " + inRun_ +
         ") + (SELECT coalesce(sum(T.ACTUAL_MIN), 0) FROM TASK_DAY_OF_YEAR T "
         "WHERE T.RESOURCE_ID = L.RES AND T.DAY_YEAR = L.DAY AND T.ACTUAL_FLAG = 1 "
         "AND T.PROJECT_ID IN " + inRun_ + ") OTHER_MIN, "
         "(SELECT min(coalesce(R.MAX_UNITS, 10000) * coalesce(M.MIN, 0) / 10000) "
         "FROM LEVEL_TASK_DAY_OF_YEAR X JOIN RESOURCES R ON R.RESOURCE_ID = X.RESOURCE_ID "
         "LEFT JOIN PROP_DAY_MIN M ON M.CAL = coalesce(R.CALENDAR_ID, X.PROJECT_ID) "
         "AND M.DAY = X.DAY_YEAR "
         "WHERE X.RESOURCE_ID = L.RES AND X.DAY_YEAR = L.DAY AND X.SCHED_MIN > 0) CAP_MIN "
         "FROM (SELECT RESOURCE_ID RES, DAY_YEAR DAY, sum(SCHED_MIN) RUN_MIN "
         "FROM LEVEL_TASK_DAY_OF_YEAR WHERE PROJECT_ID IN " + inRun_ +
         " GROUP BY RESOURCE_ID, DAY_YEAR) L WHERE L.RUN_MIN > 0");
  }

  scopegen::Description scope_;
  std::string inRun_;  // "('R01','R01S1',...)": the run's projects
  std::string logPath_;
};

TEST_P(LevellingProperties, LevelledPortfolioKeepsCapacityLinksAndWork) {
  prepare(GetParam());
  ASSERT_FALSE(HasFatalFailure());
  ASSERT_EQ(0, level()) << log();
  dayMinutes();
  loads();
  ASSERT_FALSE(HasFatalFailure());

  // The run did level: work was laid, and resources were shared enough
  // that some tasks had to wait beyond their planned start.
  EXPECT_GT(count("SELECT count(DISTINCT TSK_ASSIGNMENT_ID) FROM LEVEL_TASK_DAY_OF_YEAR"), 500);
  EXPECT_GT(count("SELECT count(*) FROM KOR_WBS WHERE TYPE_ID = 3 AND PROJECT_ID IN " + inRun_ +
                  " AND ACTUAL_START IS NULL AND LEVEL_START > UNRESOLVED_START"),
            50);

  // 1. Capacity, except where an over-allocation was recorded.
  const std::string overloaded =
      "SELECT RES || ' ' || DAY || ': run ' || RUN_MIN || ' + other ' || OTHER_MIN || "
      "' > capacity ' || coalesce(CAP_MIN, 'none') V FROM PROP_LOAD P "
      "WHERE RUN_MIN + OTHER_MIN > coalesce(CAP_MIN, 0) AND NOT EXISTS (SELECT 1 FROM "
      "LEVEL_OVER_ALLOCATIONS O WHERE O.RESOURCE_ID = P.RES AND O.DAY_YEAR = P.DAY) "
      "ORDER BY RES, DAY";
  EXPECT_EQ(0, violations(overloaded)) << firstFew(overloaded);
  // An assignment that waits for free capacity never overloads a day.
  const std::string waitingOver =
      "SELECT O.TSK_ASSIGNMENT_ID || ' on ' || O.RESOURCE_ID || ' ' || O.DAY_YEAR || ': load ' || "
      "O.LOAD_MIN || ', capacity ' || O.CAPACITY_MIN V FROM LEVEL_OVER_ALLOCATIONS O "
      "JOIN TASK_ASSIGNMENTS A ON A.TSK_ASSIGNMENT_ID = O.TSK_ASSIGNMENT_ID "
      "WHERE A.RESOURCE_TYPE = '0' ORDER BY O.RESOURCE_ID, O.DAY_YEAR";
  EXPECT_EQ(0, violations(waitingOver)) << firstFew(waitingOver);
  // The work booked outside the run shared days with the run's own.
  EXPECT_GT(count("SELECT count(*) FROM PROP_LOAD WHERE OTHER_MIN > 0 AND RUN_MIN > 0"), 20);
  if (GetParam().mixed) {  // the assignments laid without waiting did overload some days
    EXPECT_GT(count("SELECT count(*) FROM LEVEL_OVER_ALLOCATIONS"), 0);
  }

  // 2. Finish-to-start links without a lead, between tasks of the run
  // that have no actual work.
  const std::string unstarted =
      "NOT EXISTS (SELECT 1 FROM TASK_ASSIGNMENTS A WHERE A.PROJECT_ID = %.PROJECT_ID AND "
      "A.TASK_ID = %.ELEMENT_ID AND (A.ACTUAL_START IS NOT NULL OR coalesce(A.WORK_TODATE, 0) > 0)) "
      "AND %.ACTUAL_START IS NULL AND %.ACTUAL_FINISH IS NULL";
  auto of = [&](const std::string& alias) {
    std::string s = unstarted;
    for (std::size_t at; (at = s.find('%')) != std::string::npos;) s.replace(at, 1, alias);
    return s;
  };
  const std::string brokenLinks =
      "SELECT D.PRED_ID || ' -> ' || D.SUCC_ID || ' (lag ' || D.AMOUNT || '): finish ' || "
      "coalesce(P.LEVEL_FINISH, 'null') || ', successor start ' || coalesce(S.LEVEL_START, 'null') V "
      "FROM DEPENDENCIES D "
      "JOIN KOR_WBS P ON P.ELEMENT_ID = D.PRED_ID AND P.PROJECT_ID = D.PRED_PROJECT_ID "
      "JOIN KOR_WBS S ON S.ELEMENT_ID = D.SUCC_ID AND S.PROJECT_ID = D.SUCC_PROJECT_ID "
      "WHERE D.DEP_TYPE = 0 AND NOT (D.LEAD_OR_LAG_TYPE = 1 AND D.AMOUNT <> 0) "
      "AND P.TYPE_ID = 3 AND S.TYPE_ID = 3 AND P.PROJECT_ID IN " + inRun_ +
      " AND S.PROJECT_ID IN " + inRun_ + " AND " + of("P") + " AND " + of("S") +
      " AND (P.LEVEL_FINISH IS NULL OR S.LEVEL_START IS NULL OR S.LEVEL_START < P.LEVEL_FINISH) "
      "ORDER BY D.PRED_ID, D.SUCC_ID";
  EXPECT_GT(count("SELECT count(*) FROM DEPENDENCIES D JOIN KOR_WBS P ON P.ELEMENT_ID = D.PRED_ID "
                  "JOIN KOR_WBS S ON S.ELEMENT_ID = D.SUCC_ID WHERE D.DEP_TYPE = 0 AND "
                  "P.TYPE_ID = 3 AND S.TYPE_ID = 3 AND " + of("P") + " AND " + of("S")),
            100);  // enough links are checked
  EXPECT_EQ(0, violations(brokenLinks)) << firstFew(brokenLinks);
  // A lag holds too: the successor starts no earlier than the lag's
  // working minutes (on the successor's project calendar) after the
  // predecessor's finish.
  const std::string gap = workingMinutes("S.PROJECT_ID", "P.LEVEL_FINISH", "S.LEVEL_START");
  const std::string shortLags =
      "SELECT D.PRED_ID || ' -> ' || D.SUCC_ID || ' (lag ' || D.AMOUNT || '): finish ' || "
      "P.LEVEL_FINISH || ', successor start ' || S.LEVEL_START || ', ' || " + gap +
      " || ' working minutes apart' V FROM DEPENDENCIES D "
      "JOIN KOR_WBS P ON P.ELEMENT_ID = D.PRED_ID AND P.PROJECT_ID = D.PRED_PROJECT_ID "
      "JOIN KOR_WBS S ON S.ELEMENT_ID = D.SUCC_ID AND S.PROJECT_ID = D.SUCC_PROJECT_ID "
      "WHERE D.DEP_TYPE = 0 AND D.LEAD_OR_LAG_TYPE <> 1 AND D.AMOUNT > 0 "
      "AND P.TYPE_ID = 3 AND S.TYPE_ID = 3 AND P.PROJECT_ID IN " + inRun_ +
      " AND S.PROJECT_ID IN " + inRun_ + " AND " + of("P") + " AND " + of("S") +
      " AND S.LEVEL_START >= P.LEVEL_FINISH AND " + gap + " < D.AMOUNT "
      "ORDER BY D.PRED_ID, D.SUCC_ID";
  EXPECT_EQ(0, violations(shortLags)) << firstFew(shortLags);

  // 3. Every unfinished assignment of the run laid out in full.
  const std::string work = "coalesce(A.ETC, A.PLANNED_WORK)";
  const std::string shortLaid =
      "SELECT A.TSK_ASSIGNMENT_ID || ' (' || A.TASK_ID || '): remaining ' || " + work +
      " || ', laid ' || coalesce(L.M, 'nothing') || ', LEVEL_EFFORT ' || "
      "coalesce(A.LEVEL_EFFORT, 'null') V FROM TASK_ASSIGNMENTS A LEFT JOIN "
      "(SELECT TSK_ASSIGNMENT_ID ID, sum(SCHED_MIN) M FROM LEVEL_TASK_DAY_OF_YEAR "
      "GROUP BY TSK_ASSIGNMENT_ID) L ON L.ID = A.TSK_ASSIGNMENT_ID "
      "WHERE A.PROJECT_ID IN " + inRun_ + " AND (A.ACTUAL_FINISH IS NULL OR A.ETC <> 0) "
      "AND NOT (L.M IS NOT NULL AND L.M = " + work + " AND A.LEVEL_EFFORT IS NOT NULL "
      "AND A.LEVEL_EFFORT = " + work + ") ORDER BY A.TSK_ASSIGNMENT_ID";
  EXPECT_EQ(0, violations(shortLaid)) << firstFew(shortLaid);
  // Nothing is laid for assignments the run does not place.
  EXPECT_EQ(0, count("SELECT count(*) FROM LEVEL_TASK_DAY_OF_YEAR L JOIN TASK_ASSIGNMENTS A "
                     "ON A.TSK_ASSIGNMENT_ID = L.TSK_ASSIGNMENT_ID WHERE A.ACTUAL_FINISH IS NOT "
                     "NULL AND A.ETC = 0"));
}

INSTANTIATE_TEST_SUITE_P(Generated, LevellingProperties,
                         ::testing::Values(Portfolio{1, 60, false}, Portfolio{7, 40, false},
                                           Portfolio{23, 60, true}),
                         [](const ::testing::TestParamInfo<Portfolio>& info) {
                           return "seed" + std::to_string(info.param.seed) +
                                  (info.param.mixed ? "_mixed" : "");
                         });

}  // namespace
}  // namespace scenario
