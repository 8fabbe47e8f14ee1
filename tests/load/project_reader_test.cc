// The project reader on real databases: a root with its sub-projects and
// calendars, a sub-project that is also a root of the run, a project read
// from outside the run, and every data error with its code, log text and
// notification.
#include "store/load/project_reader.h"

#include "load_harness.h"

namespace {

using loadtest::kYear;
using loadtest::LoadRun;

class ProjectReader : public LoadRun {};

TEST_F(ProjectReader, RootAndSubProjectsWithDatesAndCalendars) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  // S1 is also a root of the run; S2 is not; S3 is deleted; the task under
  // the root's rank is no project.
  db.project({.id = "S1", .start = "2024-02-05", .finish = "2025-06-30", .priority = 700,
              .parent = "P1", .rank = "P1.S1"})
      .calendar(kYear);
  db.project({.id = "S2", .start = "2024-01-15", .finish = "2024-02-28", .priority = 300,
              .parent = "P1", .rank = "P1.S2"})
      .calendar(kYear);
  db.project({.id = "S3", .start = "2024-01-15", .finish = "2024-02-28", .parent = "P1",
              .rank = "P1.S3"})
      .calendar(kYear);
  db.store().execute("update KOR_WBS set REC_STATUS='D' where ELEMENT_ID='S3'");
  db.item({.project = "P1", .parent = "P1", .id = "T1", .start = "2024-01-08 08:00:00.000000",
           .finish = "2024-01-08 17:00:00.000000"});

  project_type* p1 = root("P1");
  project_type* s1 = root("S1");
  ASSERT_EQ(0, readProjects(p1));

  // The root, then its sub-projects in RANK order; S1 left the input list,
  // so the load phase will not read it a second time.
  ASSERT_EQ(3, ll_size(local));
  ll_head(local);
  EXPECT_EQ(p1, ll_retrieve(local));
  ll_next(local);
  EXPECT_EQ(s1, ll_retrieve(local));
  ll_next(local);
  auto* s2 = static_cast<project_type*>(ll_retrieve(local));
  EXPECT_STREQ("S2", s2->name);
  EXPECT_EQ(1, ll_size(input));

  // Root: dates from the unresolved start and finish, created on its start
  // date, calendar from 120 days before that.
  EXPECT_EQ(day("2024-01-08"), p1->start_date);
  EXPECT_EQ(day("2024-03-29"), p1->finish_date);
  EXPECT_EQ(day("2024-01-08"), p1->create_date);
  EXPECT_EQ(day("2024-01-08"), p1->original_create_date);
  EXPECT_EQ(day("2024-01-08") - 120, getProjectFirstDay(p1));
  EXPECT_STREQ("P1", p1->root_proj_name);

  // S1 finishes after its calendar's rows: the calendar reaches at least 400
  // days beyond its finish (P1's stays as read). As a record of the run its
  // priority stays its own.
  EXPECT_LE(day("2025-06-30") + 400, getProjectLastDayOfCalendar(s1));
  EXPECT_GT(day("2025-06-30"), getProjectLastDayOfCalendar(p1));
  EXPECT_STREQ("P1", s1->root_proj_name);
  EXPECT_EQ(500, s1->priority);
  // S2 was created here: current date and priority from its row.
  EXPECT_EQ(300, s2->priority);
  EXPECT_EQ(day("2024-01-15"), s2->current_date);
  EXPECT_EQ(day("2024-01-15"), s2->create_date);
  EXPECT_EQ(day("2024-01-15") - 120, getProjectFirstDay(s2));
  expectPlanUntouched();
}

TEST_F(ProjectReader, ExternalProjectTakesItsDatesPriorityAndCalendar) {
  db.project({.id = "X1", .start = "2024-03-04", .finish = "2024-05-31", .priority = 250})
      .calendar(kYear);
  project_type* x = projectCreateNew("X1");
  ll_addtail(extProjects, x);
  ASSERT_EQ(0, doReadExternalProjectDB(x, origin, 120, 1, 0, log, 200153));
  EXPECT_EQ(day("2024-03-04"), x->start_date);
  EXPECT_EQ(day("2024-05-31"), x->finish_date);
  EXPECT_EQ(day("2024-03-04"), x->create_date);
  EXPECT_EQ(day("2024-03-04"), x->current_date);
  EXPECT_EQ(250, x->priority);
  EXPECT_EQ(day("2024-03-04") - 120, getProjectFirstDay(x));
  EXPECT_EQ(0, db.scalar("select count(*) from KOR_WORKFLOWS"));
}

// Each root-project error: code 200138, the message in the log, and one
// notification whose text carries the contact line and whose subject is
// "[Started] " + the run's subject.
TEST_F(ProjectReader, RootProjectDataErrorsAreLoggedAndNotified) {
  struct Case {
    const char* id;
    std::string column;
    std::string value;
    const char* head;
  };
  const Case cases[] = {
      {"NOPE", "", "", "error(D-7)/data corruption for project in Lev_inputDataDB "
                       "(doReadProjectsDB) \nerror type: wrong project type"},
      {"PTASK", "TYPE_ID", "3", "error(D-7)/data corruption for project"},
      {"PPRIO", "PRIORITY", "NULL", "error(D-8)/data corruption for project in Lev_inputDataDB "
                                    "(doReadProjectsDB) \nerror type: wrong RANK or PRIORITY"},
      {"PRANK", "RANK", "NULL", "error(D-8)/data corruption for project"},
      {"PSTART", "UNRESOLVED_START", "NULL", "error(D-9)/data corruption for project"},
      {"PCREATE", "START_FINISH_DATE", "NULL", "error(D-9)/data corruption for project"},
  };
  for (const Case& c : cases) {
    if (c.column.empty()) continue;
    db.project({.id = c.id, .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
    db.store().execute("update KOR_WBS set " + c.column + "=" + c.value + " where ELEMENT_ID='" +
                       c.id + "'");
  }
  std::strcpy(message.get(), "earlier progress\n");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    const int before = occurrences(logText(), c.head);
    EXPECT_EQ(200138, readProjects(root(c.id)));
    std::string text = logText();
    EXPECT_EQ(before + 1, occurrences(text, c.head)) << text;
    EXPECT_EQ(std::string::npos, text.find("Please contact")) << "the log has no contact line";
    EXPECT_EQ(0, ll_size(local));
    EXPECT_EQ("[Started] Levelling of P1", workflowColumn("SUBJECT"));
    // The newest error stands first, with the contact line, in front of what
    // the caller's message held before.
    std::string description = workflowColumn("DESCRIPTION");
    std::size_t at = description.find(c.head);
    EXPECT_NE(std::string::npos, at);
    EXPECT_LT(at, description.find("Please contact to supporting team"));
    EXPECT_LT(description.find("Please contact to supporting team"),
              description.find("earlier progress"));
    EXPECT_EQ(std::string(message.get()), description);
  }
  EXPECT_NE(std::string::npos, logText().find("PROJECT_ID=                            PPRIO(0) "
                                              "\nRANK= PPRIO(0) \nPRIORITY= 0(-1)"));
  expectPlanUntouched();
}

TEST_F(ProjectReader, SubProjectDataErrorsStopTheReadingWithTheirOwnContactLine) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"}).calendar(kYear);
  db.project({.id = "S1", .start = "2024-02-05", .finish = "2024-03-29", .parent = "P1",
              .rank = "P1.S1"})
      .calendar(kYear);
  db.project({.id = "S2", .start = "2024-02-05", .finish = "2024-03-29", .parent = "P1",
              .rank = "P1.S2"})
      .calendar(kYear);
  // S1 has both faults, so both messages go out in one notification.
  db.store().execute(
      "update KOR_WBS set PRIORITY=NULL, UNRESOLVED_FINISH=NULL where ELEMENT_ID='S1'");
  project_type* p1 = root("P1");
  EXPECT_EQ(200138, readProjects(p1));
  std::string text = logText();
  EXPECT_EQ(1, occurrences(text, "error(D-10)/data corruption for sub-project in Lev_inputDataDB "
                                 "(doReadProjectsDB) \nerror type: wrong ELEMENT_ID,RANK or "
                                 "PRIORITY"));
  EXPECT_EQ(1, occurrences(text, "error(D-11)/data corruption for sub-project"));
  EXPECT_NE(std::string::npos, text.find("h_priority 0(-1)"));
  std::string description = workflowColumn("DESCRIPTION");
  EXPECT_EQ(2, occurrences(description, "Please contact to the supporting team"));
  // The root was read; S2, after the faulty S1, was not.
  EXPECT_EQ(1, ll_size(local));
  expectPlanUntouched();
}

TEST_F(ProjectReader, ExternalProjectErrorsReturnTheCallersCodeWithoutNotification) {
  db.project({.id = "X1", .start = "2024-03-04", .finish = "2024-05-31"}).calendar(kYear);
  db.project({.id = "X2", .start = "2024-03-04", .finish = "2024-05-31"}).calendar(kYear);
  db.store().execute("update KOR_WBS set TYPE_ID=2 where ELEMENT_ID='X1'");
  db.store().execute("update KOR_WBS set START_FINISH_DATE=NULL where ELEMENT_ID='X2'");
  struct Case {
    const char* id;
    const char* head;
  };
  for (Case c : {Case{"X1", "error(D-12)/data corruption for project in Lev_inputDataDB "
                            "(doReadExternalProjectDB) \nerror type: wrong project type"},
                 Case{"X2", "error(D-13)/data corruption for project"},
                 Case{"NOPE", "error(D-12)"}}) {
    project_type* x = projectCreateNew(c.id);
    ll_addtail(extProjects, x);
    EXPECT_EQ(777, doReadExternalProjectDB(x, origin, 120, 1, 0, log, 777)) << c.id;
    EXPECT_NE(std::string::npos, logText().find(c.head)) << c.id;
  }
  EXPECT_NE(std::string::npos, logText().find("START_FINISH_DATE= (-1)"));
  EXPECT_EQ(0, db.scalar("select count(*) from KOR_WORKFLOWS"));
}

TEST_F(ProjectReader, MissingCalendarEndsTheReadWithTheCalendarCode) {
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});  // no calendar
  EXPECT_EQ(200141, readProjects(root("P1")));
  EXPECT_NE(std::string::npos,
            logText().find("****** error (1) in Lev_inputDataDB (doReadProjectsDB): LineNum = "));
}

}  // namespace
