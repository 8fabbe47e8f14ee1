// The schema against the statements the engine runs: every table exists,
// the work tables filled by "insert into T select ..." without a column
// list take the select lists of those statements, column for column, and
// the work tables are the connection's own, also over an older file.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/scratch_db.h"
#include "host/schema.h"

namespace {

class Schema : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = scratch_.open();
    ASSERT_NE(store_, nullptr);
  }
  void run(const char* sql, db::Binds in = {}) {
    EXPECT_EQ(0, store_->execute(sql, in)) << sql << "\n" << store_->status().message;
  }
  int32_t count(const char* sql, db::Binds in = {}) {
    int32_t n = -1;
    EXPECT_EQ(0, store_->selectInto(sql, in, {n})) << sql << "\n" << store_->status().message;
    return n;
  }
  std::string text(const char* sql, db::Binds in = {}) {
    db::NameText out;
    int16_t ind = 0;
    EXPECT_EQ(0, store_->selectInto(sql, in, {db::HostVar(out, &ind)}))
        << sql << "\n" << store_->status().message;
    return std::string(out.view());
  }

  scratch::ScratchDb scratch_;
  std::unique_ptr<host::SqliteStore> store_;
};

TEST_F(Schema, HasEveryTableTheStatementsName) {
  const char* tables[] = {
      "KOR_WBS", "DEPENDENCIES", "KOR_CALENDARS", "CALENDAR_DAY_OF_YEAR", "CALENDAR_EXCEPTIONS",
      "TASK_ASSIGNMENTS", "TASK_DAY_OF_YEAR", "LEVEL_TASK_DAY_OF_YEAR", "PROJECT_DETAILS",
      "PROJECT_ASSIGNMENTS", "PROJECT_BUDGET_BREAKDOWN", "KOR_PORTFOLIOS", "KOR_SCENARIOS",
      "NAV_SCENARIOS", "RESOURCES", "KOR_WORKFLOWS", "KOR_WORKFLOW_CYCLES", "WORKFLOW_REPLIES",
      "Lev_kor_wbs", "LEV_KOR_WBS", "Lev_input_data", "Lev_input_ass_data", "LEV_CAL_TREE",
      "Lev_act_uids", "Lev_res_uids", "Lev_circ_1", "Lev_circ_2", "Lev_circ_3",
      "Lev_tmp_locked", "Lev_all_projects", "Lev_all_projects_x", "NAV_TMP_PROJECTS_00",
      "NAV_TMP_PROJECTS_00_x", "NAV_TMP_PROJECTS_ALL", "NAV_TMP_PROJECTS_ALL_x",
      "Lev_project_assignment", "Lev_WhatIf_PA", "Lev_WhatIf_WBS", "nav_tmp_ta_02",
      "NAV_TMP_TDY", "NAV_TMP_TDYD", "NAV_TMP_TDY_LEVEL", "NAV_TMP_PA_CNTR", "NAV_TMP_PA_SUM"};
  for (const char* table : tables) {
    EXPECT_EQ(0, store_->execute(std::string("DELETE FROM ") + table)) << table;
  }
}

TEST_F(Schema, WorkTablesTakeTheSelectListsOfTheirInserts) {
  run("INSERT INTO PROJECT_DETAILS (PROJECT_ID, LEVEL_LOCK, SCENARIO_DATETIME) "
      "VALUES ('P1', 1, '2004-01-01 08:00:00.000000')");
  run("INSERT INTO Lev_tmp_locked SELECT PD.PROJECT_ID, PD.LEVEL_LOCK, PD.SCENARIO_DATETIME "
      "FROM PROJECT_DETAILS PD WHERE PD.LEVEL_LOCK = 1");
  EXPECT_EQ("2004-01-01 08:00:00.000000",
            text("SELECT SCENARIO_DATETIME FROM Lev_tmp_locked WHERE LEVEL_LOCK = 1 LIMIT 1"));

  run("INSERT INTO TASK_ASSIGNMENTS (TSK_ASSIGNMENT_ID, PROJECT_ID, TASK_ID, UNRESOLVED_START, "
      "UNRESOLVED_FINISH, CONTOUR_TYPE, C_CONTOUR, C_EFFORT, C_UNIT, UNITS_MSP, RESOURCE_ID, "
      "PROJECT_ASSIGNMENT_ID) VALUES ('A1', 'P1', 'P1', '2004-01-05 08:00:00.000000', "
      "'2004-01-09 17:00:00.000000', 2, 4096, 100, 1, 1, 'R1', 'A1')");
  run("INSERT INTO NAV_TMP_PA_CNTR SELECT TSK_ASSIGNMENT_ID, UNRESOLVED_START, UNRESOLVED_FINISH, "
      "CONTOUR_TYPE, C_CONTOUR, C_EFFORT, C_UNIT, UNITS_MSP FROM TASK_ASSIGNMENTS "
      "WHERE (PROJECT_ID = ? AND TASK_ID = ?)",
      {"P1", "P1"});
  EXPECT_EQ("2004-01-05",
            text("SELECT SUBSTR(START_DT, 1, 10) FROM NAV_TMP_PA_CNTR WHERE TSK_ASSIGNMENT_ID = ?",
                 {"A1"}));

  run("INSERT INTO KOR_WBS (ELEMENT_ID, PROJECT_ID, RANK, TYPE_ID, REC_STATUS, LEVEL_STATE) "
      "VALUES ('P1', 'P1', '0001', 1, 'U', 1)");
  run("INSERT INTO NAV_TMP_PROJECTS_00 (LEVEL_ID, PRIORITY, ELEMENT_ID, RANK, START_FINISH_DATE) "
      "VALUES (0, 500, 'P1', '0001', '2004-01-05')");
  run("INSERT INTO NAV_TMP_PROJECTS_ALL SELECT T.ELEMENT_ID, T.RANK FROM KOR_WBS T "
      "WHERE T.REC_STATUS <> 'D'");
  run("INSERT INTO Lev_all_projects SELECT LEVEL_ID, PRIORITY, ELEMENT_ID, RANK, "
      "START_FINISH_DATE FROM NAV_TMP_PROJECTS_00");
  EXPECT_EQ("2004-01-05", text("SELECT START_FINISH_DATE FROM Lev_all_projects"));

  run("INSERT INTO nav_tmp_ta_02 SELECT TA.TSK_ASSIGNMENT_ID, TA.PROJECT_ASSIGNMENT_ID, "
      "TA.TASK_ID FROM TASK_ASSIGNMENTS TA, KOR_WBS TW WHERE TW.PROJECT_ID = TA.PROJECT_ID "
      "AND TA.TASK_ID = TW.ELEMENT_ID AND TW.LEVEL_STATE = 1");
  EXPECT_EQ("P1", text("SELECT TASK_ID FROM nav_tmp_ta_02 WHERE PROJECT_ASSIGNMENT_ID = 'A1'"));

  run("INSERT INTO LEVEL_TASK_DAY_OF_YEAR (PROJECT_ID, TSK_ASSIGNMENT_ID, PARENT_ID, DAY_YEAR, "
      "SCHED_MIN) VALUES ('P1', 'A2', 'A1', '2004-01-06', 240)");
  run("INSERT INTO NAV_TMP_PA_SUM SELECT DAY_YEAR, SUM(SCHED_MIN) FROM LEVEL_TASK_DAY_OF_YEAR "
      "WHERE ((PROJECT_ID = ? AND TSK_ASSIGNMENT_ID <> ?) AND PARENT_ID = ?) GROUP BY DAY_YEAR",
      {"P1", "A1", "A1"});
  EXPECT_EQ("2004-01-06 00:00:00.000000",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP(MIN(DAY_YEAR), '00:00:00') FROM NAV_TMP_PA_SUM"));

  run("INSERT INTO TASK_DAY_OF_YEAR (PROJECT_ID, TSK_ASSIGNMENT_ID, DAY_YEAR, ACTUAL_FLAG) "
      "VALUES ('P1', 'A2', '2004-01-06', 1)");
  run("INSERT INTO NAV_TMP_TDYD SELECT tdy.TSK_ASSIGNMENT_ID, tdy.DAY_YEAR "
      "FROM TASK_DAY_OF_YEAR tdy, LEVEL_TASK_DAY_OF_YEAR lev WHERE lev.PROJECT_ID = tdy.PROJECT_ID "
      "AND lev.TSK_ASSIGNMENT_ID = tdy.TSK_ASSIGNMENT_ID AND tdy.DAY_YEAR = lev.DAY_YEAR "
      "AND tdy.PROJECT_ID = ? AND tdy.ACTUAL_FLAG = 1",
      {"P1"});
  run("DELETE FROM LEVEL_TASK_DAY_OF_YEAR WHERE PROJECT_ID = ? AND (TSK_ASSIGNMENT_ID, DAY_YEAR) "
      "IN (SELECT t.TSK_ASSIGNMENT_ID, t.DAY_YEAR FROM NAV_TMP_TDYD t)",
      {"P1"});
  EXPECT_EQ(1, store_->status().rows);

  run("INSERT INTO Lev_WhatIf_WBS SELECT PROJECT_ID, SUBSTR(MIN(COALESCE(LEVEL_START, "
      "UNRESOLVED_START)), 1, 10), SUBSTR(MIN(COALESCE(LEVEL_FINISH, UNRESOLVED_FINISH)), 1, 10) "
      "FROM Lev_kor_wbs WHERE PROJECT_ID = ELEMENT_ID GROUP BY PROJECT_ID, ELEMENT_ID");
  run("INSERT INTO Lev_WhatIf_PA SELECT PROJECT_ID, SUBSTR(MIN(COALESCE(LEVEL_SCHED_START, "
      "LEVEL_PLANNED_START)), 1, 10), SUBSTR(MAX(COALESCE(LEVEL_SCHED_FINISH, "
      "LEVEL_PLANNED_FINISH)), 1, 10) FROM Lev_project_assignment GROUP BY PROJECT_ID");
  run("INSERT INTO LEV_CAL_TREE SELECT ELEMENT_ID, PARENT_ID FROM KOR_CALENDARS "
      "WHERE (RANK = ? AND (TYPE_ID = 27 OR TYPE_ID IN (1, 154, 288, 289, 290)))",
      {"0001"});
}

// Where each table lives: application tables in the file, work tables in
// the connection's temporary schema, indexes beside their tables.
TEST_F(Schema, WorkTablesAreTemporaryTablesOfTheConnection) {
  const char* workTables[] = {
      "NAV_TMP_PROJECTS_00", "NAV_TMP_PROJECTS_00_x", "NAV_TMP_PROJECTS_ALL",
      "NAV_TMP_PROJECTS_ALL_x", "Lev_all_projects", "Lev_all_projects_x", "Lev_kor_wbs",
      "Lev_input_data", "Lev_input_ass_data", "LEV_CAL_TREE", "Lev_act_uids", "Lev_res_uids",
      "Lev_circ_1", "Lev_circ_2", "Lev_circ_3", "Lev_tmp_locked", "Lev_project_assignment",
      "Lev_WhatIf_PA", "Lev_WhatIf_WBS", "nav_tmp_ta_02", "NAV_TMP_TDY", "NAV_TMP_TDY_LEVEL",
      "NAV_TMP_TDYD", "NAV_TMP_PA_CNTR", "NAV_TMP_PA_SUM"};
  const char* inTemp = "SELECT COUNT(*) FROM sqlite_temp_master WHERE type = 'table' AND name = ?";
  const char* inFile = "SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' AND name = ?";
  for (const char* table : workTables) {
    EXPECT_EQ(1, count(inTemp, {table})) << table;
    EXPECT_EQ(0, count(inFile, {table})) << table;
  }
  EXPECT_EQ(25, count("SELECT COUNT(*) FROM sqlite_temp_master WHERE type = 'table'"));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM sqlite_temp_master WHERE type = 'index' AND "
                     "tbl_name NOT IN (SELECT name FROM sqlite_temp_master WHERE type = 'table')"));
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM sqlite_temp_master WHERE name = 'IX_LEV_KOR_WBS_ELEMENT'"));
  for (const char* table : {"KOR_WBS", "TASK_ASSIGNMENTS", "NAV_SCENARIOS", "WORKFLOW_REPLIES"}) {
    EXPECT_EQ(1, count(inFile, {table})) << table;
    EXPECT_EQ(0, count(inTemp, {table})) << table;
  }

  // Rows of one connection are not seen by another, before or after a
  // commit, and go with the connection.
  run("INSERT INTO Lev_kor_wbs (ELEMENT_ID, PROJECT_ID) VALUES ('T1', 'P1')");
  int32_t result = 0;
  db::HostVar r(result);
  ASSERT_EQ(0, store_->call("LEVEL_COMMIT", {}, &r));
  auto other = scratch_.open({.busyTimeoutMs = 200, .writeLockAtBegin = false});
  ASSERT_NE(other, nullptr);
  int32_t n = -1;
  ASSERT_EQ(0, other->selectInto("SELECT COUNT(*) FROM Lev_kor_wbs", {}, {n}));
  EXPECT_EQ(0, n);
  ASSERT_EQ(0, other->execute("DELETE FROM Lev_kor_wbs"));
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM Lev_kor_wbs"));
  other.reset();
  store_.reset();
  store_ = scratch_.open();
  ASSERT_NE(store_, nullptr);
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_kor_wbs"));
}

// A file made when the work tables were ordinary tables keeps them, with
// their rows and indexes; the connection's own tables of the same names
// stand in front of them.
TEST_F(Schema, WorkTablesLeftInAnOlderFileAreShadowed) {
  ASSERT_EQ(0, store_->executeScript(
                   "CREATE TABLE main.Lev_kor_wbs (PROJECT_ID VARCHAR(32), ELEMENT_ID VARCHAR(32));"
                   "CREATE INDEX main.IX_LEV_KOR_WBS_ELEMENT ON Lev_kor_wbs (ELEMENT_ID);"
                   "CREATE TABLE main.NAV_TMP_PROJECTS_00 (LEVEL_ID INTEGER, ELEMENT_ID VARCHAR(32));"
                   "INSERT INTO main.Lev_kor_wbs VALUES ('P0', 'OLD');"
                   "INSERT INTO main.NAV_TMP_PROJECTS_00 VALUES (0, 'P0');"));
  int32_t result = 0;
  db::HostVar r(result);
  ASSERT_EQ(0, store_->call("LEVEL_COMMIT", {}, &r));
  store_.reset();
  store_ = scratch_.open();
  ASSERT_NE(store_, nullptr);

  EXPECT_EQ(0, count("SELECT COUNT(*) FROM Lev_kor_wbs"));
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM NAV_TMP_PROJECTS_00"));
  run("INSERT INTO Lev_kor_wbs (ELEMENT_ID, PROJECT_ID, LEVEL_INDEX) VALUES ('T1', 'P1', 3)");
  run("INSERT INTO NAV_TMP_PROJECTS_00 (LEVEL_ID, PRIORITY, ELEMENT_ID, RANK) "
      "VALUES (0, 500, 'P1', '0001')");
  EXPECT_EQ("T1", text("SELECT ELEMENT_ID FROM Lev_kor_wbs WHERE PROJECT_ID = 'P1'"));
  run("DELETE FROM Lev_kor_wbs");  // as a run's clean-up does
  run("DELETE FROM NAV_TMP_PROJECTS_00");
  ASSERT_EQ(0, store_->call("LEVEL_COMMIT", {}, &r));
  EXPECT_EQ("OLD", text("SELECT ELEMENT_ID FROM main.Lev_kor_wbs"));
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM main.NAV_TMP_PROJECTS_00"));
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM sqlite_master WHERE name IN "
                     "('IX_LEV_KOR_WBS_ELEMENT', 'Lev_kor_wbs')"));
  EXPECT_EQ(2, count("SELECT COUNT(*) FROM sqlite_temp_master WHERE name IN "
                     "('IX_LEV_KOR_WBS_ELEMENT', 'Lev_kor_wbs')"));
}

TEST_F(Schema, ReopeningAnExistingDatabaseKeepsItsRows) {
  run("INSERT INTO RESOURCES (RESOURCE_ID, FULL_NAME) VALUES ('R1', 'Ada')");
  int32_t result = 0;
  db::HostVar r(result);
  ASSERT_EQ(0, store_->call("LEVEL_COMMIT", {}, &r));
  store_.reset();
  store_ = scratch_.open();
  ASSERT_NE(store_, nullptr);
  EXPECT_EQ("Ada", text("SELECT FULL_NAME FROM RESOURCES WHERE RESOURCE_ID = 'R1'"));
  EXPECT_NE(std::string::npos, host::schemaDdl().find("CREATE TABLE IF NOT EXISTS KOR_WBS"));
}

}  // namespace
