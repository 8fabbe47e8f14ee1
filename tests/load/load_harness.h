// A run's load state for the reader tests: a real database (TestDb), the
// lists the driver would own, a log file, the notification buffers, and
// helpers to read one root as the load phase does and to look at what came
// out (records, log text, notifications).
#ifndef LEVELER_TESTS_LOAD_LOAD_HARNESS_H
#define LEVELER_TESTS_LOAD_LOAD_HARNESS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/linked_list.h"
#include "store/load/item_reader.h"
#include "store/load/project_reader.h"
#include "support/test_db.h"

namespace loadtest {

inline const testing::CalendarData kYear{.from = "2023-08-01", .to = "2024-12-31"};

struct LoadState {
  LoadState() {
    origin = dateStringToJulian("1950-01-01");
    log = std::tmpfile();
    EXPECT_NE(log, nullptr);
    message = std::make_unique<char[]>(16385);
    message[0] = '\0';
    db.row("KOR_WORKFLOW_CYCLES", {{"ELEMENT_ID", "CYCLE1"}, {"PARENT_ID", "NOTIFICATION"}});
  }
  ~LoadState() {
    std::vector<void*> owned;
    auto drain = [&](linked_list_type* l, bool isAct) {
      while (ll_size(l) > 0) {
        ll_head(l);
        void* e = ll_retrieve(l);
        ll_remove(l);
        bool seen = false;
        for (void* o : owned) seen = seen || o == e;
        if (!seen) {
          owned.push_back(e);
          if (isAct) {
            activityDelete(static_cast<activity_type*>(e));
          } else {
            projectDelete(static_cast<project_type*>(e));
          }
        }
      }
      ll_delete(l);
    };
    drain(acts, true);
    drain(extPreds, true);
    drain(local, false);
    drain(input, false);
    drain(extProjects, false);
    smanagerDelete(sm);
    std::fclose(log);
  }

  // Puts a root project into the run's input list.
  project_type* root(const char* id) {
    project_type* p = projectCreateNew(id);
    ll_addtail(input, p);
    return p;
  }

  int readProjects(project_type* p) {
    return doReadProjectsDB(p, input, local, sm, origin, 120, 1, 0, workflow, message.get(),
                            subject, elementId, user, 1, log);
  }
  int readItems(int optimizeDepPred = 1) {
    return doReadActivitiesSuccDB(acts, local, extProjects, extPreds, input, &tasks, sm, origin,
                                  120, 1, 1, optimizeDepPred, 1, 0, 0, workflow, message.get(),
                                  subject, elementId, user, 1, 0, 0, log);
  }
  // Projects, then items, as the load phase does for one root.
  int readRoot(const char* id) {
    int rc = readProjects(root(id));
    return rc != 0 ? rc : readItems();
  }

  activity_type* act(const char* name) {
    ll_head(acts);
    for (int32_t i = 0; i < ll_size(acts); ++i, ll_next(acts)) {
      auto* a = static_cast<activity_type*>(ll_retrieve(acts));
      if (std::strcmp(a->name, name) == 0) return a;
    }
    return nullptr;
  }
  static dependency_type* dep(linked_list_type* l, const char* name) {
    ll_head(l);
    for (int32_t i = 0; i < ll_size(l); ++i, ll_next(l)) {
      auto* d = static_cast<dependency_type*>(ll_retrieve(l));
      if (std::strcmp(d->name, name) == 0) return d;
    }
    return nullptr;
  }
  static bool hasName(linked_list_type* l, const char* name) {
    ll_head(l);
    for (int32_t i = 0; i < ll_size(l); ++i, ll_next(l)) {
      if (std::strcmp(l->criteria(ll_retrieve(l)), name) == 0) return true;
    }
    return false;
  }
  int day(const char* date) const { return dateStringToJulian(date) - static_cast<int>(origin); }

  std::string logText() {
    std::fflush(log);
    std::string text;
    std::rewind(log);
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, log)) > 0) text.append(buf, n);
    std::fseek(log, 0, SEEK_END);
    return text;
  }
  static int occurrences(const std::string& text, const std::string& what) {
    int n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
  }
  // The notification item's subject and description ("" when none).
  std::string workflowColumn(const char* column) {
    db::SubjectText subjectText;
    db::MessageText description;
    int16_t ind = 0;
    std::string sql = std::string("select ") + column + " from KOR_WORKFLOWS";
    int rc = std::strcmp(column, "SUBJECT") == 0
                 ? db.store().selectInto(sql, {}, {db::HostVar(subjectText, &ind)})
                 : db.store().selectInto(sql, {}, {db::HostVar(description, &ind)});
    if (rc != 0 || ind < 0) return "";
    return std::strcmp(column, "SUBJECT") == 0 ? subjectText.c_str() : description.c_str();
  }
  // The plan tables are not the readers' to write.
  void expectPlanUntouched() {
    EXPECT_EQ(0, db.scalar("select count(*) from KOR_WBS where LEVEL_START is not null or "
                           "LEVEL_FINISH is not null or LEVEL_INDEX is not null"));
  }

  // A task of P1 under `parent` at `level`, RANK given, 480 minutes.
  void task(const char* id, const char* parent, int level, const char* rank, const char* start,
            const char* finish, std::map<std::string, std::string> extra = {}) {
    extra["RANK"] = rank;
    extra["UNRESOLVED_DURATION"] = "480";
    db.item({.project = "P1", .parent = parent, .id = id, .levelId = level, .start = start,
             .finish = finish, .extra = extra});
  }
  void container(const char* id, const char* parent, int level, const char* rank) {
    db.item({.project = "P1", .parent = parent, .id = id, .typeId = 2, .levelId = level,
             .start = "2024-01-08 08:00:00.000000", .finish = "2024-01-12 17:00:00.000000",
             .extra = {{"RANK", rank}}});
  }

  testing::TestDb db;
  long origin = 0;
  FILE* log = nullptr;
  storage_manager_type* sm = smanagerCreateNew();
  linked_list_type* input = ll_new(projectMatch, getProjectName);
  linked_list_type* local = ll_new(projectMatch, getProjectName);
  linked_list_type* extProjects = ll_new(projectMatch, getProjectName);
  linked_list_type* acts = ll_new(activityMatch, getActivityName);
  linked_list_type* extPreds = ll_new(activityMatch, getActivityName);
  int tasks = 0;
  char workflow[33] = "";
  std::unique_ptr<char[]> message;
  char subject[32] = "Levelling of P1";
  char elementId[8] = "P1";
  char user[8] = "U1";
};

class LoadRun : public ::testing::Test, public LoadState {};

}  // namespace loadtest

#endif  // LEVELER_TESTS_LOAD_LOAD_HARNESS_H
