// The project list of a run on real databases. The owner's tree 00000001
// holds folder F1 (00000001.01) with the projects A, A.B (a sub-project of
// A placed beside it), C and X (deleted), and folder F2 with Z. In the WBS,
// A has the sub-projects A.B (with A.B.C) and A.D. The owner takes part in
// A and A.B.
#include "run/project_lists.h"

#include <string>
#include <vector>

#include "run/lock_fixture.h"

namespace {

using Rows = std::vector<std::string>;

class ProjectList : public locktest::LockFixture {
 protected:
  void SetUp() override {
    LockFixture::SetUp();
    const char* projects[][3] = {{"A", "A", "300"},       {"AB", "A.B", "310"},
                                 {"ABC", "A.B.C", "320"}, {"AD", "A.D", "330"},
                                 {"C", "C", "400"},       {"X", "X", "500"},
                                 {"Z", "Z", "600"}};
    for (const auto& p : projects) {
      db_.project({.id = p[0], .start = "2024-01-08", .finish = "2024-06-28",
                   .priority = std::stoi(p[2]), .rank = p[1]});
    }
    exec("update KOR_WBS set REC_STATUS='D' where ELEMENT_ID='X'");
    db_.item({.project = "A", .parent = "A", .id = "T1", .extra = {{"RANK", "A.T1"}}});
    node("OWNER", "00000001", 13);
    node("F1", "00000001.01", 64);
    node("A", "00000001.01.01", 1);
    node("AB", "00000001.01.02", 1);
    node("C", "00000001.01.03", 1);
    node("X", "00000001.01.04", 1);
    node("Z", "00000001.02.01", 1);
    takePart("A", "OWNER", "1");
    takePart("AB", "OWNER", "2");
    run::copyCut(run_->rankLike, run::kRankSize, "A%");
  }
  void takePart(const std::string& project, const std::string& resource, const char* participant) {
    db_.row("PROJECT_ASSIGNMENTS",
            {{"PROJECT_ID", project}, {"RESOURCE_ID", resource}, {"PARTICIPANT", participant}});
  }
  Rows listed(const std::string& table = "NAV_TMP_PROJECTS_00") {
    return column("select ELEMENT_ID from " + table + " order by ELEMENT_ID");
  }
  Rows inInsertOrder() { return column("select ELEMENT_ID from NAV_TMP_PROJECTS_00 order by rowid"); }
  std::string listedValue(const std::string& column, const std::string& id) {
    return text("select " + column + " from NAV_TMP_PROJECTS_00 where ELEMENT_ID='" + id + "'");
  }
};

TEST_F(ProjectList, AFolderListsItsProjectsAndTheirSubProjectsEachOnce) {
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
  // A.B, nested under A and the owner's, comes in once through A.
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD", "C"}), listed());
  EXPECT_EQ((Rows{"A", "C"}), listed("Lev_all_projects"));
  EXPECT_EQ(0, db_.scalar("select count(*) from NAV_TMP_PROJECTS_ALL"));
  EXPECT_EQ("2024-01-08", listedValue("START_FINISH_DATE", "A"));  // folder row: the day
  EXPECT_EQ("2024-01-08 00:00:00.000000", listedValue("START_FINISH_DATE", "ABC"));
  EXPECT_EQ("310", listedValue("PRIORITY", "AB"));

  // Not the owner's: A.B stays a folder row and is still listed once.
  exec("delete from PROJECT_ASSIGNMENTS where PROJECT_ID='AB'");
  exec("update KOR_WBS set REC_STATUS='D' where ELEMENT_ID='AD'");
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
  EXPECT_EQ((Rows{"A", "AB", "ABC", "C"}), listed());

  // A failure once the folder's rows are in is numbered (2).
  ASSERT_EQ(0, db_.store().executeScript("DROP TABLE PROJECT_ASSIGNMENTS"));
  const int rc = LEV_PORTF_PRJ("OWNER", "00000001.01%", log_);
  EXPECT_LT(rc, 0);
  EXPECT_TRUE(logged(" ****** error (2) in LEV_PORTF_PRJ: SC_STATE = " + std::to_string(rc)));
}

TEST_F(ProjectList, TheOwnersProjectsFollowTheParticipantBitsAndPublished) {
  // Whether A.B is the owner's shows in Lev_all_projects: the owner's A.B
  // is removed as nested under A before the copy.
  struct Case {
    const char* resource;
    const char* participant;
    const char* published;
    bool owners;
  };
  const Case cases[] = {
      {"OWNER", "2", "0", true},  {"OWNER", "4", "1", true},     {"OWNER", "4", "0", false},
      {"OWNER", "0", "1", true},  {"OWNER", "NULL", "1", false}, {"R9", "1", "1", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.resource) + " " + c.participant + " " + c.published);
    exec("delete from PROJECT_ASSIGNMENTS where PROJECT_ID='AB'");
    takePart("AB", c.resource, c.participant);
    exec(std::string("update KOR_WBS set PUBLISHED=") +
         (std::string(c.published) == "NULL" ? "NULL" : "'" + std::string(c.published) + "'") +
         " where ELEMENT_ID='AB'");
    ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
    EXPECT_EQ(c.owners ? 0 : 1,
              db_.scalar("select count(*) from Lev_all_projects where ELEMENT_ID='AB'"));
    EXPECT_EQ(1, db_.scalar("select count(*) from NAV_TMP_PROJECTS_00 where ELEMENT_ID='AB'"));
  }
}

TEST_F(ProjectList, AProjectRunListsItsSubProjectsInRankOrderUpToALockedOne) {
  listProject("LEFTOVER");
  exec("update KOR_WBS set PLANNED_EFFORT=NULL where ELEMENT_ID='AB'");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD"}), inInsertOrder());
  EXPECT_EQ("A", std::string(run_->element_id_p));
  EXPECT_EQ(0, run_->hasWork);
  EXPECT_EQ(0, run_->level_lock);
  EXPECT_EQ("0|320|2024-01-08|A.B.C",
            text("select LEVEL_ID||'|'||PRIORITY||'|'||START_FINISH_DATE||'|'||RANK from "
                 "NAV_TMP_PROJECTS_00 where ELEMENT_ID='ABC'"));

  // One minute of effort gives the run work; a lock ends the list at its
  // row, before A.D's work is seen; the scenario value is a lock here too.
  exec("update KOR_WBS set SCHED_EFFORT=1 where ELEMENT_ID='AD'");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ(1, run_->hasWork);
  run_->hasWork = 0;
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='AB'");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ((Rows{"A", "AB"}), inInsertOrder());
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
  EXPECT_EQ(0, run_->hasWork);
}

TEST_F(ProjectList, AWhatIfRunTakesProjectsStartsAndPrioritiesFromTheScenario) {
  db_.row("NAV_SCENARIOS",
          {{"ELEMENT_ID", "Z"}, {"PRIORITY", "900"}, {"PROJECT_START", "2024-05-06 00:00:00.000000"}});
  db_.row("NAV_SCENARIOS",
          {{"ELEMENT_ID", "AB"}, {"PRIORITY", "100"}, {"PROJECT_START", "2024-04-01 00:00:00.000000"}});
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='AB'");
  run_->isWhatIfScenario = 1;
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ((Rows{"AB", "Z"}), inInsertOrder());  // rank order; A.B.C is not the scenario's
  EXPECT_EQ("AB", std::string(run_->element_id_p));
  EXPECT_EQ(0, run_->level_lock);  // the reservation is passed over
  EXPECT_EQ("100", listedValue("PRIORITY", "AB"));
  EXPECT_EQ("2024-04-01", listedValue("START_FINISH_DATE", "AB"));
  EXPECT_EQ("900", listedValue("PRIORITY", "Z"));
  EXPECT_EQ("2024-05-06", listedValue("START_FINISH_DATE", "Z"));
}

TEST_F(ProjectList, AFolderListIsScannedInRankOrder) {
  for (const char* id : {"C", "AB", "A"}) listProject(id);
  exec("update KOR_WBS set PLANNED_EFFORT=5 where ELEMENT_ID='C'");
  exec("update PROJECT_DETAILS set LEVEL_LOCK=1 where PROJECT_ID='AB'");
  ASSERT_EQ(0, run::scanPortfolioProjectList(*run_, log_));
  EXPECT_EQ("A", std::string(run_->element_id_p));
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
  EXPECT_EQ(0, run_->hasWork);  // C comes after the lock

  run_->level_lock = 0;
  run_->isWhatIfScenario = 1;
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='AB'");
  ASSERT_EQ(0, run::scanPortfolioProjectList(*run_, log_));
  EXPECT_EQ(0, run_->level_lock);
  EXPECT_EQ(1, run_->hasWork);
}

}  // namespace
