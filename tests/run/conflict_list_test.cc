// The conflict list on a real database: the levelled dates of the items are
// written into KOR_WBS (as the levelling tail leaves them), the selected
// projects into NAV_TMP_PROJECTS_00 and the items into Lev_kor_wbs; the list
// is then read back from KOR_WBS.LEVEL_CONFLICT.
//
// The week of the examples: Monday 2024-01-08 .. Friday 2024-01-12. The
// predecessor A is levelled from Monday 08:00 to Wednesday 17:00 on a
// 480-minute day.
#include "run/conflict_list.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "final_harness.h"

namespace {

using finaltest::FinalRun;

std::string stamp(const std::string& day, const char* time = "08:00:00.000000") {
  return day + " " + time;
}

class ConflictList : public ::testing::Test {
 protected:
  void SetUp() override {
    r.db.project({.id = "P1", .start = "2024-01-01", .finish = "2024-03-29"});
    r.db.project({.id = "P2", .start = "2024-01-01", .finish = "2024-03-29"});
    r.db.row("NAV_TMP_PROJECTS_00", {{"ELEMENT_ID", "P1"}, {"RANK", "P1"}, {"PRIORITY", "500"}});
    item("A", "2024-01-08", "2024-01-10");
    run::copyCut(r.run->subject, run::kSubjectSize, "Leveling Project 'P1'");
  }

  // A task of `project` levelled from `start` 08:00 to `finish` 17:00.
  void item(const std::string& id, const std::string& start, const std::string& finish,
            std::map<std::string, std::string> extra = {}, int constraintType = 0,
            const std::string& constraintDate = "", const std::string& project = "P1") {
    extra.emplace("LEVEL_START", stamp(start));
    extra.emplace("LEVEL_FINISH", stamp(finish, "17:00:00.000000"));
    extra.emplace("MINUTE_PER_DAY", "480");
    extra.emplace("ETC", "480");
    r.db.item({.project = project,
               .parent = project,
               .id = id,
               .constraintType = constraintType,
               .constraintDate = constraintDate,
               .extra = extra});
  }
  void dependency(const std::string& pred, const std::string& succ, int depType, int lag = 0) {
    r.db.dependency(
        {.pred = pred, .succ = succ, .predProject = "P1", .depType = depType, .lag = lag});
  }
  // The work table holds the WBS of the selected projects (copied at the
  // start of the run).
  void copyToWorkTable() {
    ASSERT_EQ(0, r.db.store().execute(
                     "INSERT INTO Lev_kor_wbs (PROJECT_ID, RANK, ELEMENT_ID, LEVEL_CONFLICT) "
                     "SELECT PROJECT_ID, RANK, ELEMENT_ID, LEVEL_CONFLICT FROM KOR_WBS WHERE "
                     "PROJECT_ID IN (SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00)"));
  }
  std::string conflicts(const std::string& id) {
    return r.text("SELECT LEVEL_CONFLICT FROM KOR_WBS WHERE ELEMENT_ID = '" + id + "'");
  }

  FinalRun r;
};

TEST_F(ConflictList, OneCodePerBrokenDependencyTypeAndConstraintType) {
  // Dependencies from A (finish Wednesday, start Monday), as stored.
  item("FS", "2024-01-09", "2024-01-12");  // starts Tuesday, before A's finish
  dependency("A", "FS", 0);
  item("FSok", "2024-01-10", "2024-01-12");  // starts the day A finishes: the same day is no breach
  dependency("A", "FSok", 0);
  item("SS", "2024-01-05", "2024-01-12");  // starts Friday before A's start
  dependency("A", "SS", 1);
  item("SSok", "2024-01-08", "2024-01-12");
  dependency("A", "SSok", 1);
  item("FF", "2024-01-08", "2024-01-09");  // finishes Tuesday, before A's finish
  dependency("A", "FF", 2);
  item("FFok", "2024-01-08", "2024-01-10");
  dependency("A", "FFok", 2);
  item("SF", "2024-01-03", "2024-01-05");  // finishes Friday before A's start
  dependency("A", "SF", 3);
  item("SFok", "2024-01-03", "2024-01-09");  // finishes after A's start
  dependency("A", "SFok", 3);

  // Constraints against levelled Monday .. Wednesday.
  item("C2", "2024-01-08", "2024-01-10", {}, 2, stamp("2024-01-11"));  // finish no earlier than
  item("C2ok", "2024-01-08", "2024-01-10", {}, 2, stamp("2024-01-10"));
  item("C3", "2024-01-08", "2024-01-10", {}, 3, stamp("2024-01-09"));  // finish no later than
  item("C4", "2024-01-08", "2024-01-10", {}, 4, stamp("2024-01-09"));  // must finish on
  item("C4ok", "2024-01-08", "2024-01-10", {}, 4, "2024-01-10 12:00:00.000000");  // same day
  item("C5", "2024-01-08", "2024-01-10", {}, 5, stamp("2024-01-09"));             // must start on
  item("C6", "2024-01-08", "2024-01-10", {}, 6, stamp("2024-01-09"));  // start no earlier than
  item("C6ok", "2024-01-08", "2024-01-10", {}, 6, stamp("2024-01-08"));
  item("C7", "2024-01-08", "2024-01-10", {}, 7, stamp("2024-01-05"));  // start no later than

  // Finished items are not examined; finished with remaining work they are.
  item("DONE", "2024-01-09", "2024-01-12", {{"ACTUAL_FINISH", stamp("2024-01-12")}, {"ETC", "0"}},
       7, stamp("2024-01-05"));
  dependency("A", "DONE", 0);
  item("REOPENED", "2024-01-09", "2024-01-12",
       {{"ACTUAL_FINISH", stamp("2024-01-12")}, {"ETC", "240"}}, 7, stamp("2024-01-05"));

  // An item whose conflict is gone loses its old list; a project outside the
  // run keeps its own.
  item("CLEAN", "2024-01-08", "2024-01-10", {{"LEVEL_CONFLICT", "0080:A;"}});
  item("OUT", "2024-01-08", "2024-01-10", {{"LEVEL_CONFLICT", "0100:old;"}}, 7, stamp("2024-01-05"),
       "P2");
  copyToWorkTable();
  ASSERT_EQ(0,
            r.db.store().execute("INSERT INTO Lev_kor_wbs (PROJECT_ID, ELEMENT_ID, LEVEL_CONFLICT) "
                                 "VALUES ('P2', 'OUT', '0100:old;')"));

  ASSERT_EQ(0, run::doUpdateConflictListDB(*r.run, r.log()));

  EXPECT_EQ("0080:A;", conflicts("FS"));
  EXPECT_EQ("0010:A;", conflicts("SS"));
  EXPECT_EQ("0040:A;", conflicts("FF"));
  EXPECT_EQ("0020:A;", conflicts("SF"));
  for (const char* ok :
       {"A", "FSok", "SSok", "FFok", "SFok", "C2ok", "C4ok", "C6ok", "DONE", "CLEAN"}) {
    EXPECT_EQ("<null>", conflicts(ok)) << ok;
  }
  EXPECT_EQ("0100:2024-01-11 08:00:00.000000;", conflicts("C2"));
  EXPECT_EQ("0200:2024-01-09 08:00:00.000000;", conflicts("C3"));
  EXPECT_EQ("0400:2024-01-09 08:00:00.000000;", conflicts("C4"));
  EXPECT_EQ("0800:2024-01-09 08:00:00.000000;", conflicts("C5"));
  EXPECT_EQ("1000:2024-01-09 08:00:00.000000;", conflicts("C6"));
  EXPECT_EQ("2000:2024-01-05 08:00:00.000000;", conflicts("C7"));
  EXPECT_EQ("2000:2024-01-05 08:00:00.000000;", conflicts("REOPENED"));
  EXPECT_EQ("0100:old;", conflicts("OUT"));
  // The work table holds the same lists.
  EXPECT_EQ("0040:A;", r.text("SELECT LEVEL_CONFLICT FROM Lev_kor_wbs WHERE ELEMENT_ID = 'FF'"));

  // Committed, and the user told.
  EXPECT_EQ("[Started] Leveling Project 'P1'", r.subject());
  EXPECT_EQ(std::string(finaltest::kNow) + "\nThe list of scheduling conflicts is updated. ",
            r.description());
}

// The lag in days is lag minutes over the predecessor's minutes per day, a
// real number: 240 minutes on a 480-minute day is half a day.
TEST_F(ConflictList, LagsAreFractionsOfThePredecessorsDay) {
  // A finishes Wednesday; half a day of lag ends on Wednesday + 0.5.
  item("HALF", "2024-01-10", "2024-01-12");  // Wednesday: 0.5 > 0, a breach
  dependency("A", "HALF", 0, 240);
  // Thursday is after Wednesday + 0.5. Its own day is 120 minutes long: a
  // lag counted in the successor's days (2 days) would be a breach.
  item("NEXT", "2024-01-11", "2024-01-12", {{"MINUTE_PER_DAY", "120"}});
  dependency("A", "NEXT", 0, 240);
  // A full day of lead: Wednesday - 1 is Tuesday, the start on Tuesday is no breach.
  item("LEAD1", "2024-01-09", "2024-01-12");
  dependency("A", "LEAD1", 0, -480);
  // Half a day of lead: Wednesday - 0.5 is after Tuesday.
  item("LEADHALF", "2024-01-09", "2024-01-12");
  dependency("A", "LEADHALF", 0, -240);
  // A full day and a half on a start-to-start: Monday + 1.5 is after Tuesday.
  item("SS15", "2024-01-09", "2024-01-12");
  dependency("A", "SS15", 1, 720);
  copyToWorkTable();

  ASSERT_EQ(0, run::doUpdateConflictListDB(*r.run, r.log()));

  EXPECT_EQ("0080:A;", conflicts("HALF"));
  EXPECT_EQ("<null>", conflicts("NEXT"));
  EXPECT_EQ("<null>", conflicts("LEAD1"));
  EXPECT_EQ("0080:A;", conflicts("LEADHALF"));
  EXPECT_EQ("0010:A;", conflicts("SS15"));
}

TEST_F(ConflictList, AnItemGathersAllItsCodesWithinTheBuffer) {
  // Two broken dependencies and a broken constraint on one item: all three
  // codes in one value, in the order the database returns them.
  item("B", "2024-01-08", "2024-01-15");  // finishes the Monday after BOTH
  item("BOTH", "2024-01-09", "2024-01-12", {}, 5, stamp("2024-01-08"));
  dependency("A", "BOTH", 0);
  dependency("B", "BOTH", 2);
  copyToWorkTable();
  ASSERT_EQ(0, run::doUpdateConflictListDB(*r.run, r.log()));
  const std::string both = conflicts("BOTH");
  EXPECT_EQ(std::string("0080:A;0040:B;0800:2024-01-08 08:00:00.000000;").size(), both.size());
  for (const char* code : {"0080:A;", "0040:B;", "0800:2024-01-08 08:00:00.000000;"}) {
    EXPECT_NE(std::string::npos, both.find(code)) << both;
  }

  // 120 predecessors with 32-character ids: 38 characters a code, of which
  // 107 fit in 4095 characters (4066); the rest are left out.
  item("MANY", "2024-01-01", "2024-01-02");
  for (int i = 0; i < 120; ++i) {
    char id[33];
    std::snprintf(id, sizeof id, "PREDECESSOR-%020d", i);
    item(id, "2024-01-08", "2024-01-10");
    dependency(id, "MANY", 0);
  }
  ASSERT_EQ(0, r.db.store().execute("DELETE FROM Lev_kor_wbs"));
  copyToWorkTable();
  ASSERT_EQ(0, run::doUpdateConflictListDB(*r.run, r.log()));
  const std::string many = conflicts("MANY");
  EXPECT_EQ(107u * 38u, many.size());
  EXPECT_EQ(';', many.back());
}

TEST_F(ConflictList, AFailedStatementGivesItsStatus) {
  copyToWorkTable();
  ASSERT_EQ(0, r.db.store().execute("DROP TABLE DEPENDENCIES"));
  EXPECT_LT(run::doUpdateConflictListDB(*r.run, r.log()), 0);
}

}  // namespace
