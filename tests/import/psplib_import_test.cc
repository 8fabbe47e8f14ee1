// The PSPLIB import checked by hand against tests/data/psplib/j3010_1.sm
// (32 jobs, 4 resources of capacities 24 23 25 33, 48 precedences), and
// its refusal of malformed files: the line named, nothing written.
//
// The project starts on 2030-01-07, the first Monday of 2030; working day w
// (from 0) of the plan is that Monday plus w working days.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "import/psplib_import.h"
#include "support/test_db.h"

namespace {

const std::string kData = std::string(LEVELER_SOURCE_DIR) + "/tests/data/psplib/";

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

class PsplibImportTest : public ::testing::Test {
 protected:
  std::string text(const std::string& sql) {
    db::MessageText out;
    int16_t ind = 0;
    const int32_t rc = db.store().selectInto(sql, {}, {db::HostVar(out, &ind)});
    if (rc != 0) return "<" + std::to_string(rc) + ">";
    return ind < 0 ? "null" : std::string(out.view());
  }
  int64_t count(const std::string& sql) { return db.scalar(sql); }
  // Every row the import writes, over all its tables.
  int64_t allRows() {
    int64_t n = 0;
    for (const char* t : {"KOR_WBS", "PROJECT_DETAILS", "KOR_CALENDARS", "CALENDAR_DAY_OF_YEAR",
                          "RESOURCES", "TASK_ASSIGNMENTS", "TASK_DAY_OF_YEAR", "DEPENDENCIES"}) {
      n += count(std::string("select count(*) from ") + t);
    }
    return n;
  }
  int import(const std::string& path, import::PsplibImport& out, std::string& error) {
    return import::importPsplib(db.store(), path, "2030-01-07", out, error);
  }

  testing::TestDb db;
};

TEST_F(PsplibImportTest, OneInstanceBecomesAProjectOfJobsResourcesAndAssignments) {
  import::PsplibImport imp;
  std::string error;
  ASSERT_EQ(0, import(kData + "j3010_1.sm", imp, error)) << error;
  EXPECT_EQ("J3010_1", imp.projectId);
  EXPECT_EQ(32, imp.jobs);
  EXPECT_EQ(4, imp.resources);

  // Counts: the project and its 32 jobs; 48 finish-to-start links; 4
  // resources; 91 non-zero requests of jobs with a duration.
  EXPECT_EQ(33, count("select count(*) from KOR_WBS where PROJECT_ID='J3010_1'"));
  EXPECT_EQ(32, count("select count(*) from KOR_WBS where PARENT_ID='J3010_1' and TYPE_ID=3"));
  EXPECT_EQ(48, count("select count(*) from DEPENDENCIES where PRED_PROJECT_ID='J3010_1' and "
                      "DEP_TYPE=0 and AMOUNT=0"));
  EXPECT_EQ(91, count("select count(*) from TASK_ASSIGNMENTS where PROJECT_ID='J3010_1'"));
  EXPECT_EQ("J3010_1_R1:240000:J3010_1 J3010_1_R2:230000:J3010_1 J3010_1_R3:250000:J3010_1 "
            "J3010_1_R4:330000:J3010_1",
            text("select group_concat(R, ' ') from (select RESOURCE_ID||':'||MAX_UNITS||':'||"
                 "CALENDAR_ID as R from RESOURCES order by RESOURCE_ID)"));

  // Job 2: 2 days, requests 1 2 4 0 -> three assignments of request x 2 x
  // 480 minutes at request x 10000 units; no assignment on R4.
  EXPECT_EQ("job 2", text("select ELEMENT_NAME from KOR_WBS where ELEMENT_ID='J3010_1_J2'"));
  EXPECT_EQ("960", text("select PLANNED_EFFORT from KOR_WBS where ELEMENT_ID='J3010_1_J2'"));
  EXPECT_EQ("J3010_1_R1/10000/960 J3010_1_R2/20000/1920 J3010_1_R3/40000/3840",
            text("select group_concat(R, ' ') from (select RESOURCE_ID||'/'||"
                 "CAST(UNITS_MSP AS INTEGER)||'/'||ETC as R from TASK_ASSIGNMENTS "
                 "where TASK_ID='J3010_1_J2' order by RESOURCE_ID)"));
  // Job 25: 10 days, requests 9 0 0 1.
  EXPECT_EQ("4800", text("select PLANNED_EFFORT from KOR_WBS where ELEMENT_ID='J3010_1_J25'"));
  EXPECT_EQ("43200 4800", text("select group_concat(ETC, ' ') from (select ETC from "
                               "TASK_ASSIGNMENTS where TASK_ID='J3010_1_J25' order by RESOURCE_ID)"));
  // The dummy source and sink are milestones without assignments.
  EXPECT_EQ("0/0 0/0", text("select group_concat(PLANNED_EFFORT||'/'||ASSIGN_COUNT, ' ') from "
                            "KOR_WBS where ELEMENT_ID in ('J3010_1_J1','J3010_1_J32')"));
  EXPECT_EQ(0, count("select count(*) from TASK_ASSIGNMENTS where TASK_ID in "
                     "('J3010_1_J1','J3010_1_J32')"));
  // Successors of job 1 (2 3 4) and predecessors of job 32 (29 30 31).
  EXPECT_EQ("J3010_1_J2 J3010_1_J3 J3010_1_J4",
            text("select group_concat(SUCC_ID, ' ') from (select SUCC_ID from DEPENDENCIES "
                 "where PRED_ID='J3010_1_J1' order by SUCC_ID)"));
  EXPECT_EQ("J3010_1_J29 J3010_1_J30 J3010_1_J31",
            text("select group_concat(PRED_ID, ' ') from (select PRED_ID from DEPENDENCIES "
                 "where SUCC_ID='J3010_1_J32' order by PRED_ID)"));

  // Plan dates, the early start: job 4 (6 days) follows the source on day
  // 0; job 5 (4 days) follows job 4 on day 6, Tuesday 15 January; job 8
  // follows job 5 on day 10, Monday 21 January.
  EXPECT_EQ("2030-01-07 08:00:00.000000 .. 2030-01-14 17:00:00.000000",
            text("select UNRESOLVED_START||' .. '||UNRESOLVED_FINISH from KOR_WBS "
                 "where ELEMENT_ID='J3010_1_J4'"));
  EXPECT_EQ("2030-01-15 08:00:00.000000 .. 2030-01-18 17:00:00.000000",
            text("select UNRESOLVED_START||' .. '||UNRESOLVED_FINISH from KOR_WBS "
                 "where ELEMENT_ID='J3010_1_J5'"));
  EXPECT_EQ("2030-01-21 08:00:00.000000",
            text("select UNRESOLVED_START from KOR_WBS where ELEMENT_ID='J3010_1_J8'"));
  // Job 5's request of 8 on R1: 3840 minutes on each of its four days.
  EXPECT_EQ("2030-01-15/3840 2030-01-16/3840 2030-01-17/3840 2030-01-18/3840",
            text("select group_concat(R, ' ') from (select DAY_YEAR||'/'||SCHED_MIN as R from "
                 "TASK_DAY_OF_YEAR where TSK_ASSIGNMENT_ID='J3010_1_A5_1' order by DAY_YEAR)"));

  // The calendar: weekends without work, weekdays of 480 minutes, from
  // before the start to well past the serial schedule (164 days).
  EXPECT_EQ(0, count("select count(*) from CALENDAR_DAY_OF_YEAR where ELEMENT_ID='J3010_1' and "
                     "DAY_YEAR='2030-01-12' and BIT_SCHED<>'" +
                     testing::dayBitsHex(testing::DayBits{}) + "'"));
  EXPECT_EQ(1, count("select count(*) from CALENDAR_DAY_OF_YEAR where ELEMENT_ID='J3010_1' and "
                     "DAY_YEAR='2030-01-07' and BIT_SCHED='" +
                     testing::dayBitsHex(testing::standardDay()) + "'"));
  EXPECT_EQ(1, count("select count(*) from CALENDAR_DAY_OF_YEAR where ELEMENT_ID='J3010_1' and "
                     "DAY_YEAR='2029-09-01'"));
  EXPECT_EQ(1, count("select count(*) from CALENDAR_DAY_OF_YEAR where ELEMENT_ID='J3010_1' and "
                     "DAY_YEAR='2031-01-31'"));

  // The same file again: a project of its own, sharing nothing.
  import::PsplibImport again;
  ASSERT_EQ(0, import(kData + "j3010_1.sm", again, error)) << error;
  EXPECT_EQ("J3010_1_2", again.projectId);
  EXPECT_EQ(8, count("select count(*) from RESOURCES"));
  EXPECT_EQ(91, count("select count(*) from TASK_ASSIGNMENTS where PROJECT_ID='J3010_1_2' and "
                      "RESOURCE_ID like 'J3010_1_2_R%'"));
  EXPECT_EQ(66, count("select count(*) from KOR_WBS"));
}

TEST(PsplibParse, OptimaAreKeyedByInstanceName) {
  std::map<std::string, int> optima;
  std::string error;
  ASSERT_EQ(0, import::readPsplibOptima(kData + "j30opt.sm", optima, error)) << error;
  EXPECT_EQ(480u, optima.size());
  EXPECT_EQ(43, optima["j301_1"]);
  EXPECT_EQ(47, optima["j301_2"]);
  EXPECT_EQ(54, optima["j3048_10"]);
}

// A malformed copy of j3010_1.sm: `edit` changes its text; the import must
// name `line` and say `what`, and write nothing.
struct Malformed {
  const char* name;
  std::string (*edit)(std::string);
  int line;
  const char* what;
};

std::string replaceOnce(std::string s, const std::string& from, const std::string& to) {
  const size_t at = s.find(from);
  if (at == std::string::npos) return "<" + from + " not found>";
  return s.replace(at, from.size(), to);
}

const Malformed kMalformed[] = {
    {"missing section",
     [](std::string s) { return replaceOnce(s, "REQUESTS/DURATIONS:", "REQUESTS:"); }, 91,
     "missing 'REQUESTS/DURATIONS:'"},
    {"bad duration",
     [](std::string s) {
       return replaceOnce(s, "  7      1     9       5", "  7      1     9x      5");
     },
     61, "bad number '9x' for the duration"},
    {"negative request",
     [](std::string s) { return replaceOnce(s, " 13      1     1      10", " 13      1     1     -10"); },
     67, "bad number '-10' for a request"},
    {"a precedence row missing",
     [](std::string s) {
       return replaceOnce(s, "  17        1          1          18\n", "");
     },
     35, "job 17 expected, found job 18"},
    {"more jobs declared than listed",
     [](std::string s) {
       return replaceOnce(s, "jobs (incl. supersource/sink ):  32",
                          "jobs (incl. supersource/sink ):  33");
     },
     51, "job count mismatch: 33 jobs declared, the section ends after job 32"},
    {"successor out of range",
     [](std::string s) { return replaceOnce(s, "  10        1          1          22",
                                            "  10        1          1          40"); },
     28, "successor 40 of job 10 is out of range 1..32"},
    {"successor count wrong",
     [](std::string s) { return replaceOnce(s, "  15        1          2          21  24",
                                            "  15        1          3          21  24"); },
     33, "job 15 lists 2 successors, its count says 3"},
    {"cycle",
     // 31 -> 4 closes 4 -> 7 -> 14 -> 31 -> 4.
     [](std::string s) { return replaceOnce(s, "  31        1          1          32",
                                            "  31        1          2          32   4"); },
     -1, "precedence cycle through job "},
    {"request above capacity",
     [](std::string s) { return replaceOnce(s, "   24   23   25   33", "   24   23   25    9"); },
     57, "job 3 requests 10 of resource 4, above its capacity 9"},
    {"duration above the limit",
     [](std::string s) {
       return replaceOnce(s, "  7      1     9       5", "  7      1  1009       5");
     },
     61, "the duration 1009 above the limit 1000"},
    {"capacities missing",
     [](std::string s) { return replaceOnce(s, "   24   23   25   33", "   24   23   25"); },
     90, "4 capacities expected, found 3"},
};

TEST_F(PsplibImportTest, MalformedFilesNameTheLineAndWriteNothing) {
  import::PsplibImport imp;
  std::string error;
  ASSERT_EQ(0, import(kData + "j301_1.sm", imp, error)) << error;
  const int64_t before = allRows();
  const std::string good = readFile(kData + "j3010_1.sm");
  const std::string path = db.path() + ".sm";
  for (const Malformed& m : kMalformed) {
    SCOPED_TRACE(m.name);
    {
      std::ofstream out(path);
      out << m.edit(good);
    }
    error.clear();
    import::PsplibImport bad;
    EXPECT_NE(0, import(path, bad, error));
    const std::string name = path.substr(path.find_last_of('/') + 1);
    if (m.line > 0) {
      EXPECT_EQ(name + ":" + std::to_string(m.line) + ": " + m.what, error);
    } else {
      // On the cycle 4 -> 7 -> 14 -> 31 -> 4: one of their precedence lines.
      const bool named = error == name + ":22: " + m.what + "4" ||
                         error == name + ":25: " + m.what + "7" ||
                         error == name + ":32: " + m.what + "14" ||
                         error == name + ":49: " + m.what + "31";
      EXPECT_TRUE(named) << error;
    }
    EXPECT_EQ(std::string::npos, error.find('\n'));
    EXPECT_EQ(before, allRows());
  }
  std::remove(path.c_str());
  error.clear();
  EXPECT_NE(0, import(kData + "no_such_file.sm", imp, error));
  EXPECT_EQ("no_such_file.sm:0: cannot be read", error.substr(error.find_last_of('/') + 1));
  EXPECT_NE(0, import::importPsplib(db.store(), kData + "j3010_1.sm", "2030-01-08", imp, error));
  EXPECT_EQ(before, allRows());
}

}  // namespace
