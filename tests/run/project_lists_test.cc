// The project list of a run on real databases.
//
// The portfolio used throughout: the owner's tree 00000001 holds folder F1
// (00000001.01) with the projects A, A.B (a sub-project of A placed in the
// folder beside it), C and X (deleted), and folder F2 with Z. In the WBS,
// A has the sub-projects A.B (with its own A.B.C) and A.D. The owner takes
// part in A and A.B.
#include "run/project_lists.h"

#include <string>
#include <vector>

#include "run/lock_fixture.h"

namespace {

using Rows = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class PortfolioList : public locktest::LockFixture {
 protected:
  void SetUp() override {
    LockFixture::SetUp();
    wbsProject("A", "A", "", 300);
    wbsProject("AB", "A.B", "A", 310);
    wbsProject("ABC", "A.B.C", "AB", 320);
    wbsProject("AD", "A.D", "A", 330);
    wbsProject("C", "C", "", 400);
    wbsProject("X", "X", "", 500);
    exec("update KOR_WBS set REC_STATUS='D' where ELEMENT_ID='X'");
    wbsProject("Z", "Z", "", 600);
    db_.item({.project = "A", .parent = "A", .id = "T1", .extra = {{"RANK", "A.T1"}}});

    node("OWNER", "00000001", 13);
    node("F1", "00000001.01", 64);
    node("A", "00000001.01.01", 1);
    node("AB", "00000001.01.02", 1);
    node("C", "00000001.01.03", 1);
    node("X", "00000001.01.04", 1);
    node("F2", "00000001.02", 64);
    node("Z", "00000001.02.01", 1);
    takePart("A", "OWNER", "1");
    takePart("AB", "OWNER", "2");
  }

  void wbsProject(const std::string& id, const std::string& rank, const std::string& parent,
                  int priority) {
    db_.project({.id = id, .start = "2024-01-08", .finish = "2024-06-28", .priority = priority,
                 .parent = parent, .rank = rank});
  }
  void takePart(const std::string& project, const std::string& resource,
                const std::string& participant) {
    db_.row("PROJECT_ASSIGNMENTS",
            {{"PROJECT_ID", project}, {"RESOURCE_ID", resource}, {"PARTICIPANT", participant}});
  }
  Rows listed(const char* table = "NAV_TMP_PROJECTS_00") {
    return column(std::string("select ELEMENT_ID from ") + table + " order by ELEMENT_ID");
  }
  std::string listedColumn(const std::string& column, const std::string& id) {
    return text("select " + column + " from NAV_TMP_PROJECTS_00 where ELEMENT_ID='" + id + "'");
  }
};

TEST_F(PortfolioList, AFolderListsItsProjectsAndTheirSubProjectsEachOnce) {
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
  // A.B is nested under A, both the owner's: it comes in once, below A,
  // with A.B.C and A.D; X is deleted, Z in another folder.
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD", "C"}), listed());
  EXPECT_EQ((Rows{"A", "C"}), listed("Lev_all_projects"));
  EXPECT_EQ(0, db_.scalar("select count(*) from NAV_TMP_PROJECTS_ALL"));
  // A folder row carries the day, a sub-project row the stored stamp.
  EXPECT_EQ("2024-01-08", listedColumn("START_FINISH_DATE", "A"));
  EXPECT_EQ("2024-01-08 00:00:00.000000", listedColumn("START_FINISH_DATE", "ABC"));
  EXPECT_EQ("310", listedColumn("PRIORITY", "AB"));
  EXPECT_EQ("1", listedColumn("LEVEL_ID", "AB"));

  // The owner takes no part in A.B: it is not removed as nested, and still
  // listed once (not again below A, nor A.B.C again below A.B).
  exec("delete from PROJECT_ASSIGNMENTS where PROJECT_ID='AB'");
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD", "C"}), listed());
  EXPECT_EQ((Rows{"A", "AB", "C"}), listed("Lev_all_projects"));

  // A deleted sub-project is never taken.
  exec("update KOR_WBS set REC_STATUS='D' where ELEMENT_ID='AD'");
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
  EXPECT_EQ((Rows{"A", "AB", "ABC", "C"}), listed());

  // A folder without projects leaves the list empty (the earlier rows go).
  node("F3", "00000001.03", 64);
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.03%", log_));
  EXPECT_TRUE(listed().empty());
  EXPECT_EQ("", logText());
}

TEST_F(PortfolioList, TheOwnersProjectsFollowTheParticipantBitsAndPublished) {
  // Whether A.B is the owner's shows in Lev_all_projects: an owner's A.B
  // is removed as nested under A before the copy.
  struct Case {
    const char* resource;
    const char* participant;
    const char* published;
    bool owners;
  };
  const Case cases[] = {
      {"OWNER", "1", "0", true},     {"OWNER", "2", "0", true},
      {"OWNER", "3", "NULL", true},  {"OWNER", "4", "1", true},
      {"OWNER", "4", "0", false},    {"OWNER", "0", "1", true},
      {"OWNER", "0", "NULL", false}, {"OWNER", "NULL", "1", false},
      {"R9", "1", "1", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.resource) + " participant " + c.participant + " published " +
                 c.published);
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

  // A folder holding only a sub-project of another of the owner's projects
  // lists nothing: the sub-project is nested, and its parent not in the
  // folder.
  exec("update KOR_PORTFOLIOS set RANK='00000001.03.01' where ELEMENT_ID='AB'");
  takePart("AB", "OWNER", "1");
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.03%", log_));
  EXPECT_TRUE(listed().empty());
}

TEST_F(PortfolioList, ANullStartIsLoggedAndListedAndFailuresAreNumberedByPhase) {
  exec("update KOR_WBS set START_FINISH_DATE=NULL where ELEMENT_ID='C'");
  ASSERT_EQ(0, LEV_PORTF_PRJ("OWNER", "00000001.01%", log_));
  EXPECT_EQ("NULL", listedColumn("START_FINISH_DATE", "C"));
  EXPECT_TRUE(contains(logText(),
                       "\n*** error reading data: h_start_finish_date  h_element_id= C h_rank= C "
                       "h_level_id= 1 \n\n"));

  // Before the folder's rows are in: error (1); afterwards: error (2).
  ASSERT_EQ(0, db_.store().executeScript("DROP TABLE PROJECT_ASSIGNMENTS"));
  int rc = LEV_PORTF_PRJ("OWNER", "00000001.01%", log_);
  EXPECT_LT(rc, 0);
  EXPECT_TRUE(contains(logText(), " ****** error (2) in LEV_PORTF_PRJ: SC_STATE = " +
                                      std::to_string(rc) + " ("));
  ASSERT_EQ(0, db_.store().executeScript("DROP TABLE Lev_all_projects"));
  rc = LEV_PORTF_PRJ("OWNER", "00000001.01%", log_);
  EXPECT_LT(rc, 0);
  EXPECT_TRUE(contains(logText(), " ****** error (1) in LEV_PORTF_PRJ: SC_STATE = "));
  rc = LEV_PORTF_PRJ_2("OWNER", "00000001.01%", log_);
  EXPECT_LT(rc, 0);
  EXPECT_TRUE(contains(logText(), " ****** error (1) in LEV_PORTF_PRJ_2: SC_STATE = "));
}

TEST_F(PortfolioList, TheReducedListTestsDeletionOnThePortfolioNode) {
  ASSERT_EQ(0, LEV_PORTF_PRJ_2("OWNER", "00000001.01%", log_));
  // X's portfolio node is not deleted, only its WBS row: it is listed here.
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD", "C", "X"}), listed("NAV_TMP_PROJECTS_00_x"));
  EXPECT_EQ((Rows{"A", "C", "X"}), listed("Lev_all_projects_x"));
  EXPECT_EQ(0, db_.scalar("select count(*) from NAV_TMP_PROJECTS_ALL_x"));
  EXPECT_TRUE(listed().empty());  // the full list is not touched

  exec("update KOR_PORTFOLIOS set REC_STATUS='D' where ELEMENT_ID in ('X','C')");
  ASSERT_EQ(0, LEV_PORTF_PRJ_2("OWNER", "00000001.01%", log_));
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD"}), listed("NAV_TMP_PROJECTS_00_x"));
}

// --- the driver's lists -----------------------------------------------------

class ElementList : public PortfolioList {
 protected:
  void SetUp() override {
    PortfolioList::SetUp();
    run::copyCut(run_->rankLike, run::kRankSize, "A%");
    run::copyCut(run_->element_id_p, run::kIdSize, "A");
  }
  Rows inInsertOrder() { return column("select ELEMENT_ID from NAV_TMP_PROJECTS_00 order by rowid"); }
};

TEST_F(ElementList, AProjectRunListsTheProjectAndItsSubProjectsInRankOrder) {
  listProject("LEFTOVER");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ((Rows{"A", "AB", "ABC", "AD"}), inInsertOrder());
  EXPECT_EQ("A", std::string(run_->element_id_p));
  EXPECT_EQ(0, run_->hasWork);
  EXPECT_EQ(0, run_->level_lock);
  EXPECT_EQ("0", listedColumn("LEVEL_ID", "ABC"));
  EXPECT_EQ("320", listedColumn("PRIORITY", "ABC"));
  EXPECT_EQ("2024-01-08", listedColumn("START_FINISH_DATE", "ABC"));
  EXPECT_EQ("A.B.C", listedColumn("RANK", "ABC"));
  EXPECT_EQ("", logText());  // no traces without the print option

  // One minute of effort on one project gives the run work; a null effort
  // does not.
  exec("update KOR_WBS set PLANNED_EFFORT=NULL where ELEMENT_ID='AB'");
  exec("update KOR_WBS set SCHED_EFFORT=1 where ELEMENT_ID='AD'");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ(1, run_->hasWork);

  // A locked sub-project ends the list at its row.
  run_->hasWork = 0;
  exec("update PROJECT_DETAILS set LEVEL_LOCK=1 where PROJECT_ID='AB'");
  run_->PRINT_OPTION = 1;
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ((Rows{"A", "AB"}), inInsertOrder());
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
  EXPECT_EQ(0, run_->hasWork);  // AD, the one with work, was not reached
  EXPECT_TRUE(contains(logText(), "project_id= AB"));

  // Outside a what-if run the scenario value is a lock as well.
  run_->level_lock = 0;
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='AB'");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
}

TEST_F(ElementList, AWhatIfRunTakesProjectsStartsAndPrioritiesFromTheScenario) {
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "Z"},
                            {"PRIORITY", "900"},
                            {"PROJECT_START", "2024-05-06 00:00:00.000000"}});
  db_.row("NAV_SCENARIOS", {{"ELEMENT_ID", "AB"},
                            {"PRIORITY", "100"},
                            {"PROJECT_START", "2024-04-01 00:00:00.000000"}});
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='AB'");
  run_->isWhatIfScenario = 1;
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  // Rank order: A.B before Z; A.B's own sub-project is not the scenario's.
  EXPECT_EQ((Rows{"AB", "Z"}), inInsertOrder());
  EXPECT_EQ("AB", std::string(run_->element_id_p));
  EXPECT_EQ(0, run_->level_lock);  // the reservation is passed over
  EXPECT_EQ("100", listedColumn("PRIORITY", "AB"));
  EXPECT_EQ("2024-04-01", listedColumn("START_FINISH_DATE", "AB"));
  EXPECT_EQ("900", listedColumn("PRIORITY", "Z"));
  EXPECT_EQ("2024-05-06", listedColumn("START_FINISH_DATE", "Z"));

  exec("update PROJECT_DETAILS set LEVEL_LOCK=1 where PROJECT_ID='Z'");
  ASSERT_EQ(0, run::fillProjectListForElement(*run_, log_));
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
}

TEST_F(ElementList, AFolderListIsScannedInRankOrder) {
  for (const char* id : {"C", "AB", "A"}) listProject(id);
  exec("update KOR_WBS set PLANNED_EFFORT=5 where ELEMENT_ID='C'");
  run::copyCut(run_->element_id_p, run::kIdSize, "F1");
  ASSERT_EQ(0, run::scanPortfolioProjectList(*run_, log_));
  EXPECT_EQ("A", std::string(run_->element_id_p));
  EXPECT_EQ(1, run_->hasWork);
  EXPECT_EQ(0, run_->level_lock);

  // A locked A.B stops the scan before C.
  run_->hasWork = 0;
  exec("update PROJECT_DETAILS set LEVEL_LOCK=1 where PROJECT_ID='AB'");
  ASSERT_EQ(0, run::scanPortfolioProjectList(*run_, log_));
  EXPECT_EQ(run::kLevelLockFoundLocked, run_->level_lock);
  EXPECT_EQ(0, run_->hasWork);

  // In a what-if run the scenario value is passed over.
  run_->level_lock = 0;
  run_->isWhatIfScenario = 1;
  exec("update PROJECT_DETAILS set LEVEL_LOCK=10 where PROJECT_ID='AB'");
  ASSERT_EQ(0, run::scanPortfolioProjectList(*run_, log_));
  EXPECT_EQ(0, run_->level_lock);
  EXPECT_EQ(1, run_->hasWork);

  // An empty list leaves the element as the root.
  exec("delete from NAV_TMP_PROJECTS_00");
  run::copyCut(run_->element_id_p, run::kIdSize, "F1");
  ASSERT_EQ(0, run::scanPortfolioProjectList(*run_, log_));
  EXPECT_EQ("F1", std::string(run_->element_id_p));
}

}  // namespace
