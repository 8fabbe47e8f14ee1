// External and fictive dependencies on small hand-built portfolios: several
// projects on one weekly calendar (2024-01-01 is a Monday; Monday to
// Friday, 08:00-12:00 and 13:00-17:00), outside items of a project "EXT"
// that is not part of the run, and the fictive item standing for the
// current date.
#include "network/external_deps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/day_bits.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "model/dependency.h"
#include "network/forward_pass.h"
#include "network/slack.h"
#include "schedule/placement.h"

namespace {

const int kOrigin = dayOfYearToJulian(1950, 1, 1);

int32_t day(int m, int d) { return dayOfYearToJulian(2024, m, d) - kOrigin; }

const int32_t kCalendarFirst = dayOfYearToJulian(2023, 12, 1) - kOrigin;
const int kCalendarDays = 800;

void setWeek(project_type* p, bool working) {
  unsigned char bits[DAY_BITS_BYTES];
  std::memcpy(bits, dayBitsDefault8H, DAY_BITS_BYTES);
  char work[DAY_BITS_HEX_DIGITS + 1];
  char none[DAY_BITS_HEX_DIGITS + 1];
  Lev_splitSchedBitsInTwo(bits, work);
  std::memset(bits, 0, DAY_BITS_BYTES);
  Lev_splitSchedBitsInTwo(bits, none);
  for (int w = 1; w <= 7; ++w) {
    setProjectBitsForDaysOfWeek(p, w, (working && w != 1 && w != 7) ? work : none);
  }
}

linked_list_type* itemList() { return ll_new(activityMatch, getActivityName); }
linked_list_type* projectList() { return ll_new(projectMatch, getProjectName); }

// A portfolio under construction. Items go to the load list in the order
// they are made (predecessors and children first); seal() builds the
// network list from it, bracketed by the start and finish nodes, with the
// links the network construction would make. The network list then owns
// every item; the projects of the run and of the outside world are owned
// here, the fictive project by extProjects.
struct World {
  FILE* log = std::tmpfile();
  storage_manager_type* sm = smanagerCreateNew();
  linked_list_type* projects = projectList();
  linked_list_type* outside = projectList();
  linked_list_type* extProjects = projectList();
  linked_list_type* extPreds = itemList();
  linked_list_type* load = itemList();
  linked_list_type* net = nullptr;
  linked_list_type* roots = itemList();
  linked_list_type* onExt = itemList();
  activity_type* startNode = nullptr;
  activity_type* finishNode = nullptr;
  std::map<std::string, std::string> parentOf;

  World() = default;
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() {
    linked_list_type* owner = net != nullptr ? net : load;
    for (linktype* l = owner->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    for (linked_list_type* list : {projects, outside, extProjects}) {
      for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
        projectDelete(static_cast<project_type*>(l->pcontents));
      }
      ll_delete(list);
    }
    for (linked_list_type* list : {extPreds, load, net, roots, onExt}) {
      if (list != nullptr) ll_delete(list);
    }
    smanagerDelete(sm);
    std::fclose(log);
  }

  project_type* project(const char* name, int32_t create, int32_t current, bool inRun = true,
                        bool working = true) {
    project_type* p = projectCreateNew(name);
    setProjectRootProjectName(p, name);
    setProjectJulianDateOrigin(p, kOrigin);
    setWeek(p, working);
    setProjectFirstDay(p, kCalendarFirst);
    setProjectFirstDayOfWeek(p, 6);  // 2023-12-01 is a Friday
    setProjectSizeOfCalendar(p, kCalendarDays);
    setProjectMinutesPerDay(p, 480);
    setProjectCreateDate(p, create);
    setProjectOriginalCreateDate(p, create);
    setProjectCurrentDate(p, current);
    setProjectStartDate(p, create);
    setProjectFinishDate(p, getProjectLastDayOfCalendar(p));
    ll_addtail(inRun ? projects : outside, p);
    return p;
  }

  // A project item; a root of the run when parent is null.
  activity_type* projectItem(project_type* p, const char* parent) {
    activity_type* a =
        activityCreateNew(p->name, 1, p, p->create_date, p->create_date, 10 * 480, 0, 0);
    ll_addtail(load, a);
    if (parent == nullptr) {
      ll_addtail(roots, a);
      parentOf[a->name] = "start";
    } else {
      parentOf[a->name] = parent;
    }
    return a;
  }

  activity_type* task(const char* name, project_type* p, int32_t start, int days,
                      const char* parent) {
    activity_type* a = activityCreateNew(name, 3, p, start, start + days - 1, days * 480, 0, 0);
    activityScheduleFromStartDateBasedOnProjectCalendar(a, sm, log);
    setActivityOriginalDuration(a, a->duration);
    ll_addtail(load, a);
    parentOf[name] = parent;
    return a;
  }

  // An item of the outside project EXT, hanging from the start node.
  activity_type* outsideItem(const char* name, int32_t start, int days) {
    project_type* ext = static_cast<project_type*>(ll_extract(outside, "EXT"));
    if (ext == nullptr) ext = project("EXT", day(1, 1), day(1, 1), false);
    activity_type* a = task(name, ext, start, days, "start");
    a->isExternalPred = 1;
    return a;
  }

  activity_type* find(const char* name) {
    return static_cast<activity_type*>(ll_extract(net != nullptr ? net : load, name));
  }

  void link(const char* pred, const char* succ, int type, int isExternal) {
    activity_type* p = find(pred);
    activity_type* s = find(succ);
    ASSERT_NE(p, nullptr) << pred;
    ASSERT_NE(s, nullptr) << succ;
    activityCreateSucc(p, succ, static_cast<int16_t>(type), static_cast<int16_t>(isExternal), 0,
                       log);
    activityCreatePred(s, pred, static_cast<int16_t>(type), static_cast<int16_t>(isExternal), 0,
                       log);
  }

  void seal() {
    int32_t earliest = day(12, 31);
    for (linktype* l = projects->phead; l != nullptr; l = l->pnext) {
      earliest = std::min(earliest, static_cast<project_type*>(l->pcontents)->create_date);
    }
    startNode = activityCreateNew("start", 0, nullptr, earliest - 1, earliest - 1, 0, 0, 0);
    finishNode = activityCreateNew("finish", 0, nullptr, earliest - 1, earliest - 1, 0, 0, 0);
    net = itemList();
    ll_addtail(net, startNode);
    for (linktype* l = load->phead; l != nullptr; l = l->pnext) ll_addtail(net, l->pcontents);
    ll_addtail(net, finishNode);
    for (linktype* l = load->phead; l != nullptr; l = l->pnext) {
      activity_type* a = static_cast<activity_type*>(l->pcontents);
      auto it = parentOf.find(a->name);
      const std::string parent = it != parentOf.end() ? it->second : "start";
      setActivityParent(a, parent.c_str(), log);
      setActivityChild(find(parent.c_str()), a->name, log);
    }
    for (linktype* l = load->phead; l != nullptr; l = l->pnext) {
      activity_type* a = static_cast<activity_type*>(l->pcontents);
      if (ll_size(a->child_list) == 0) {
        setActivityChild(a, "finish", log);
        setActivityParent(finishNode, a->name, log);
      }
      if (ll_size(a->pred_list) == 0) {
        activityCreatePred(a, "start", 1, 0, 0, log);
        activityCreateSucc(startNode, a->name, 1, 0, 0, log);
      }
      if (ll_size(a->succ_list) == 0) {
        activityCreateSucc(a, "finish", 0, 0, 0, log);
        activityCreatePred(finishNode, a->name, 0, 0, 0, log);
      }
    }
    int serial = 0;
    for (linktype* l = net->phead; l != nullptr; l = l->pnext) {
      setActivitySerialNum(static_cast<activity_type*>(l->pcontents), serial++);
    }
    // The processing sequence keeps the load list apart from the network.
    ll_delete(load);
    load = nullptr;
  }

  int fictive(project_type* p, int32_t current, int optimizeDepPred = 1,
              const char* name = "fictive") {
    activity_type* root = static_cast<activity_type*>(ll_extract(load, p->name));
    return doCreateFictiveExternalPredWithCurrentDate(p, root, current, load, extProjects, extPreds,
                                                      sm, optimizeDepPred, name, 1, log);
  }

  int handle() {
    return doHandleExternalAndFictiveDependencesOnProjectsNodes(net, roots, projects, onExt, sm, 1,
                                                                kOrigin, "fictive", 1, log);
  }
  int remove() { return doRemoveFictiveDependencesFromNetwork(net, onExt, "fictive", 1, log); }

  std::string logText() {
    std::fflush(log);
    long end = std::ftell(log);
    std::rewind(log);
    std::string out(static_cast<size_t>(end), '\0');
    out.resize(std::fread(out.data(), 1, out.size(), log));
    std::fseek(log, 0, SEEK_END);
    return out;
  }
};

std::string clock(const activity_type* a, bool start) {
  int32_t d = start ? a->start_date : a->finish_date;
  int minutes = start ? getProjectStartTimeMinutesForGivenJulianDate(a, d) + a->offset_start_time
                      : getProjectFinishTimeMinutesForGivenJulianDate(a, d) - a->offset_finish_time;
  int y = 0, m = 0, dd = 0;
  julianToDate(d + kOrigin, &y, &m, &dd);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d", y, m, dd, minutes / 60, minutes % 60);
  return buf;
}
std::string startOf(const activity_type* a) { return clock(a, true); }
std::string finishOf(const activity_type* a) { return clock(a, false); }

const dependency_type* entry(linked_list_type* deps, const char* name) {
  for (linktype* l = deps->phead; l != nullptr; l = l->pnext) {
    const dependency_type* d = static_cast<dependency_type*>(l->pcontents);
    if (std::strcmp(d->name, name) == 0) return d;
  }
  return nullptr;
}

bool holds(linked_list_type* list, const void* element) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    if (l->pcontents == element) return true;
  }
  return false;
}

bool hasChild(activity_type* a, const char* name) {
  for (linktype* l = a->child_list->phead; l != nullptr; l = l->pnext) {
    if (std::strcmp(static_cast<string_type*>(l->pcontents)->str, name) == 0) return true;
  }
  return false;
}

std::string changeLine(const char* project, int32_t from, int32_t to) {
  char buf[160];
  std::snprintf(buf, sizeof buf, "Creation date of the Project %s will be changed from %d to %d",
                project, from, to);
  return buf;
}

// ----- the fictive predecessor ------------------------------------------------

TEST(FictivePredecessor, ACurrentDateOnAWeekendPutsTheItemOnMondayAndLaterProjectsReuseIt) {
  World w;
  project_type* a = w.project("PA", day(1, 1), day(1, 6));
  project_type* b = w.project("PB", day(1, 1), day(1, 7));
  activity_type* ra = w.projectItem(a, nullptr);
  activity_type* rb = w.projectItem(b, nullptr);

  ASSERT_EQ(w.fictive(a, day(1, 6)), 0) << w.logText();  // Saturday
  ASSERT_EQ(ll_size(w.extPreds), 1);
  activity_type* f = static_cast<activity_type*>(w.extPreds->phead->pcontents);
  EXPECT_STREQ(f->name, "fictive");
  EXPECT_EQ(w.load->phead->pcontents, f);  // at the head of the item list
  EXPECT_EQ(f->start_date, day(1, 8));     // Monday
  EXPECT_EQ(f->finish_date, day(1, 8));
  EXPECT_EQ(f->effort, 480);  // a whole working day
  EXPECT_EQ(f->type, 1);
  EXPECT_EQ(f->isExternalPred, 1);
  EXPECT_EQ(f->ignoreHolesInCalendar, 1);
  EXPECT_EQ(f->constraint_type, 0);
  EXPECT_EQ(f->offset_start_time, 0);
  EXPECT_EQ(f->offset_finish_time, 0);

  ASSERT_EQ(ll_size(w.extProjects), 1);
  project_type* fp = static_cast<project_type*>(w.extProjects->phead->pcontents);
  EXPECT_STREQ(fp->name, "fictive");
  EXPECT_EQ(f->proj, fp);
  EXPECT_EQ(fp->create_date, day(1, 8));
  EXPECT_EQ(fp->current_date, day(1, 8));
  EXPECT_NE(fp, a);

  const dependency_type* succ = entry(f->succ_list, "PA");
  ASSERT_NE(succ, nullptr);
  EXPECT_EQ(succ->type, 3);
  EXPECT_EQ(succ->isExternal, 1);
  EXPECT_EQ(succ->lag_minutes, 0);
  const dependency_type* pred = entry(ra->pred_list, "fictive");
  ASSERT_NE(pred, nullptr);
  EXPECT_EQ(pred->type, 3);
  EXPECT_EQ(pred->isExternal, 1);

  // The second project (Sunday, without the predecessor entry) shares both
  // records; the project's date moves, the item keeps its place.
  ASSERT_EQ(w.fictive(b, day(1, 7), 0), 0);
  EXPECT_EQ(ll_size(w.extPreds), 1);
  EXPECT_EQ(ll_size(w.extProjects), 1);
  EXPECT_EQ(ll_size(w.load), 3);
  EXPECT_NE(entry(f->succ_list, "PB"), nullptr);
  EXPECT_EQ(entry(rb->pred_list, "fictive"), nullptr);
  EXPECT_EQ(fp->current_date, day(1, 8));

  const std::string text = w.logText();
  EXPECT_NE(text.find("create a new fictive ext-pred-project"), std::string::npos);
  EXPECT_NE(text.find("retrieve from the list the fictive ext-pred-project"), std::string::npos);
}

TEST(FictivePredecessor, AWorkingCurrentDateIsKeptAndEachScenarioNameGetsItsOwnRecords) {
  World w;
  project_type* a = w.project("PA", day(1, 1), day(1, 10));
  project_type* b = w.project("PB", day(1, 1), day(1, 12));
  w.projectItem(a, nullptr);
  w.projectItem(b, nullptr);
  ASSERT_EQ(w.fictive(a, day(1, 10), 1, "fictive1"), 0);
  ASSERT_EQ(w.fictive(b, day(1, 12), 1, "fictive2"), 0);
  ASSERT_EQ(ll_size(w.extPreds), 2);
  EXPECT_EQ(ll_size(w.extProjects), 2);
  activity_type* f1 = w.find("fictive1");
  activity_type* f2 = w.find("fictive2");
  ASSERT_NE(f1, nullptr);
  ASSERT_NE(f2, nullptr);
  EXPECT_EQ(f1->start_date, day(1, 10));    // Wednesday: stays
  EXPECT_EQ(f2->start_date, day(1, 12));    // Friday
  EXPECT_EQ(w.load->phead->pcontents, f2);  // the newest at the head
}

TEST(FictivePredecessorFailure, EveryRecordMadeByAFailedCallIsReleased) {
  World w;
  // No working day at all: 200154, the new fictive project is dropped.
  project_type* idle = w.project("IDLE", day(1, 1), day(1, 3), true, false);
  w.projectItem(idle, nullptr);
  EXPECT_EQ(w.fictive(idle, day(1, 3)), EXT_ERR_NO_AVAILABLE_DAY);
  EXPECT_EQ(ll_size(w.extProjects), 0);
  EXPECT_EQ(ll_size(w.extPreds), 0);
  EXPECT_EQ(ll_size(w.load), 1);
  EXPECT_NE(
      w.logText().find("!!! error !!! doCreateFictiveExternalPredWithCurrentDate: no ave days !!!"),
      std::string::npos);

  // A current date past the loaded calendar needs the store to widen it;
  // without one the call fails with the store's status and keeps nothing.
  project_type* far = w.project("FAR", day(1, 1), day(1, 3));
  w.projectItem(far, nullptr);
  EXPECT_LT(w.fictive(far, kCalendarFirst + kCalendarDays + 10), 0);
  EXPECT_EQ(ll_size(w.extProjects), 0);
  EXPECT_EQ(ll_size(w.extPreds), 0);
  EXPECT_EQ(ll_size(w.load), 2);

  // The project item already lists a "fictive" predecessor: 200156, and the
  // new project and item go again.
  project_type* a = w.project("PA", day(1, 1), day(1, 3));
  activity_type* ra = w.projectItem(a, nullptr);
  activityCreatePred(ra, "fictive", 1, 0, 0, nullptr);
  EXPECT_EQ(w.fictive(a, day(1, 3)), EXT_ERR_PRED_ENTRY);
  EXPECT_EQ(ll_size(w.extProjects), 0);
  EXPECT_EQ(ll_size(w.extPreds), 0);
  EXPECT_EQ(ll_size(ra->pred_list), 1);

  // A good call, then the same project once more: 200155, and the shared
  // item keeps its single successor entry.
  project_type* b = w.project("PB", day(1, 1), day(1, 3));
  w.projectItem(b, nullptr);
  ASSERT_EQ(w.fictive(b, day(1, 3)), 0);
  EXPECT_EQ(w.fictive(b, day(1, 3)), EXT_ERR_SUCC_ENTRY);
  activity_type* f = w.find("fictive");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(ll_size(f->succ_list), 1);
  EXPECT_EQ(ll_size(w.extProjects), 1);

  // A shared item whose new successor entry was made before the predecessor
  // entry failed loses that entry again.
  project_type* c = w.project("PC", day(1, 1), day(1, 3));
  activity_type* rc = w.projectItem(c, nullptr);
  activityCreatePred(rc, "fictive", 1, 0, 0, nullptr);
  EXPECT_EQ(w.fictive(c, day(1, 3)), EXT_ERR_PRED_ENTRY);
  EXPECT_EQ(entry(f->succ_list, "PC"), nullptr);
  EXPECT_EQ(ll_size(w.extPreds), 1);
}

// ----- projects held by the fictive item alone -----------------------------------

TEST(FictiveOnlyProject, IsPassedFromTheCurrentDateAndFallsBackOnTheStartNode) {
  World w;
  project_type* p = w.project("PRJ", day(1, 1), day(1, 10));
  w.task("T1", p, day(1, 1), 2, "PRJ");  // Mon, Tue
  w.task("T2", p, day(1, 3), 3, "PRJ");  // Wed .. Fri
  activity_type* root = w.projectItem(p, nullptr);
  w.link("T1", "T2", 1, 0);
  ASSERT_EQ(w.fictive(p, day(1, 10)), 0);  // Wednesday
  w.seal();
  root->offset_start_time = 60;

  ASSERT_EQ(w.handle(), 0) << w.logText();
  EXPECT_EQ(p->isOnExternalDep, 1);
  EXPECT_EQ(root->offset_start_time, 0);
  EXPECT_TRUE(holds(w.onExt, root));
  EXPECT_EQ(ll_size(w.onExt), 1);  // the nodes bracket it only during the pass
  EXPECT_EQ(startOf(w.find("T1")), "2024-01-10 08:00");
  EXPECT_EQ(finishOf(w.find("T1")), "2024-01-11 17:00");
  EXPECT_EQ(startOf(w.find("T2")), "2024-01-12 08:00");
  EXPECT_EQ(finishOf(w.find("T2")), "2024-01-16 17:00");  // over the weekend
  EXPECT_EQ(startOf(root), "2024-01-10 08:00");
  EXPECT_EQ(p->create_date, day(1, 10));
  EXPECT_EQ(p->current_date, day(1, 10));
  EXPECT_EQ(p->start_date, day(1, 10));
  EXPECT_EQ(p->finish_date, day(1, 16));
  // The nodes frame the roots.
  EXPECT_EQ(w.startNode->start_date, day(1, 9));
  EXPECT_EQ(w.startNode->early_start_date, day(1, 9));
  EXPECT_EQ(w.finishNode->finish_date, day(1, 16));

  ASSERT_EQ(w.remove(), 0);
  EXPECT_EQ(p->isOnExternalDep, 1);
  EXPECT_EQ(w.find("fictive"), nullptr);
  EXPECT_EQ(ll_size(w.onExt), 0);
  ASSERT_EQ(ll_size(root->pred_list), 1);
  const dependency_type* d = entry(root->pred_list, "start");
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->type, 1);
  EXPECT_EQ(d->lag_minutes, 0);
  EXPECT_NE(entry(w.startNode->succ_list, "PRJ"), nullptr);
  EXPECT_EQ(entry(w.startNode->succ_list, "fictive"), nullptr);
  EXPECT_FALSE(hasChild(w.startNode, "fictive"));
  EXPECT_NE(w.logText().find("Removing Fictive Dependences from Network"), std::string::npos);

  // A second removal finds nothing to do.
  EXPECT_EQ(w.remove(), 0);
  EXPECT_EQ(ll_size(root->pred_list), 1);
}

// ----- creation dates and outside predecessors ----------------------------------

TEST(ExternalPredecessor, AnEarlierOneMovesTheCreationDateALaterOneLeavesIt) {
  World w;
  w.outsideItem("XA", day(1, 3), 2);   // Wed, Thu
  w.outsideItem("XB", day(1, 15), 2);  // Mon, Tue
  project_type* a = w.project("PA", day(1, 10), day(1, 1));
  project_type* b = w.project("PB", day(1, 10), day(1, 1));
  project_type* n = w.project("PN", day(1, 10), day(1, 1));
  w.projectItem(a, nullptr);
  w.projectItem(b, nullptr);
  activity_type* rn = w.projectItem(n, nullptr);
  rn->offset_start_time = 45;
  w.link("XA", "PA", 1, 1);
  w.link("XB", "PB", 1, 1);
  w.seal();

  ASSERT_EQ(w.handle(), 0) << w.logText();
  const std::string text = w.logText();
  // PA's creation date went back to XA's start before the pass; PB's stayed.
  // After the pass a project item without children takes its own start.
  EXPECT_NE(text.find(changeLine("PA", day(1, 3), day(1, 5))), std::string::npos) << text;
  EXPECT_NE(text.find(changeLine("PB", day(1, 10), day(1, 17))), std::string::npos) << text;
  EXPECT_EQ(a->create_date, day(1, 5));  // Friday after XA
  EXPECT_EQ(a->current_date, day(1, 5));
  EXPECT_EQ(b->create_date, day(1, 17));  // Wednesday after XB
  EXPECT_EQ(a->isOnExternalDep, 1);
  EXPECT_EQ(b->isOnExternalDep, 1);
  EXPECT_EQ(ll_size(w.onExt), 2);
  // A project without outside predecessors keeps its dates but starts its
  // day at the working start.
  EXPECT_EQ(n->isOnExternalDep, 0);
  EXPECT_EQ(n->create_date, day(1, 10));
  EXPECT_EQ(rn->offset_start_time, 0);
  EXPECT_EQ(text.find("Creation date of the Project PN"), std::string::npos);
  EXPECT_NE(text.find("External Dependency has been found for some Root-level Project"),
            std::string::npos);
}

TEST(ExternalPredecessor, TheRunningBoundHoldsWithinOneRootsTreeUntilTheNextRoot) {
  World w;
  w.outsideItem("X1", day(1, 8), 1);
  w.outsideItem("X2", day(1, 5), 1);
  w.outsideItem("X4", day(1, 9), 1);
  w.outsideItem("XQ", day(1, 4), 1);
  const int32_t created = day(1, 15);
  project_type* p1 = w.project("P1", created, day(1, 1));
  project_type* p2 = w.project("P2", created, day(1, 1));
  project_type* p3 = w.project("P3", created, day(1, 1));
  project_type* p4 = w.project("P4", created, day(1, 1));
  project_type* q = w.project("Q", created, day(1, 1));
  w.task("T2", p2, created, 1, "P2");
  activity_type* s2 = w.projectItem(p2, "P1");
  w.task("T3", p3, created, 1, "P3");
  activity_type* s3 = w.projectItem(p3, "P1");
  w.task("T4", p4, created, 1, "P4");
  w.projectItem(p4, "P1");
  w.projectItem(p1, nullptr);
  w.task("TQ", q, created, 1, "Q");
  w.projectItem(q, nullptr);
  w.link("X1", "P1", 1, 1);
  w.link("X2", "P2", 1, 1);
  w.link("X4", "P4", 1, 1);
  w.link("XQ", "Q", 1, 1);
  w.seal();
  p2->alignWithExtPred = 0;  // so that its creation date goes back after the pass
  s3->offset_start_time = 30;

  ASSERT_EQ(w.handle(), 0) << w.logText();
  const std::string text = w.logText();
  auto fromOf = [&](const char* name) {
    std::string key =
        std::string("Creation date of the Project ") + name + " will be changed from ";
    size_t at = text.find(key);
    return at == std::string::npos ? -1 : std::atoi(text.c_str() + at + key.size());
  };
  EXPECT_EQ(fromOf("P1"), day(1, 8));  // its own predecessor sets the bound
  EXPECT_EQ(fromOf("P2"), day(1, 8));  // an earlier predecessor is held at the bound
  EXPECT_EQ(fromOf("P3"), -1);         // no outside predecessor: not on the list
  EXPECT_EQ(fromOf("P4"), created);    // after P3 nothing moves in this tree
  EXPECT_EQ(fromOf("Q"), day(1, 4));   // a new root starts afresh
  EXPECT_EQ(p3->isOnExternalDep, 0);
  EXPECT_EQ(s3->offset_start_time, 0);  // counted with the fictive-only projects
  EXPECT_EQ(p2->create_date, created);  // original_create_date restored
  EXPECT_TRUE(holds(w.onExt, s2));
  EXPECT_EQ(ll_size(w.onExt), 4);
}

TEST(ExternalPredecessor, OnlyTheDrivingOutsidePredecessorSurvivesTheRemoval) {
  World w;
  w.outsideItem("XA", day(1, 4), 2);  // Thu, Fri: drives (start Monday 01-08)
  w.outsideItem("XB", day(1, 1), 2);  // Mon, Tue: start Wed 01-03 would do
  w.outsideItem("XC", day(1, 1), 1);  // also before another item of the run
  project_type* p = w.project("PRJ", day(1, 3), day(1, 3));
  project_type* o = w.project("OTHER", day(1, 3), day(1, 3));
  activity_type* root = w.projectItem(p, nullptr);
  w.projectItem(o, nullptr);
  w.link("XA", "PRJ", 1, 1);
  w.link("XB", "PRJ", 1, 1);
  w.link("XC", "PRJ", 1, 1);
  w.link("XC", "OTHER", 1, 1);
  ASSERT_EQ(w.fictive(p, day(1, 3)), 0);
  w.seal();

  ASSERT_EQ(w.handle(), 0) << w.logText();
  EXPECT_EQ(startOf(root), "2024-01-08 08:00");
  ASSERT_NE(entry(root->pred_list, "XA"), nullptr);
  EXPECT_EQ(entry(root->pred_list, "XA")->isActive, 1);

  ASSERT_EQ(w.remove(), 0);
  ASSERT_EQ(ll_size(root->pred_list), 1);
  EXPECT_NE(entry(root->pred_list, "XA"), nullptr);
  EXPECT_TRUE(holds(w.onExt, root));  // still on an outside predecessor
  // XB drove nothing else: it is gone from the network and the nodes.
  EXPECT_EQ(w.find("XB"), nullptr);
  EXPECT_EQ(entry(w.startNode->succ_list, "XB"), nullptr);
  EXPECT_FALSE(hasChild(w.startNode, "XB"));
  EXPECT_EQ(entry(w.finishNode->pred_list, "XB"), nullptr);
  // XC still precedes OTHER: it stays, without PRJ among its successors.
  activity_type* xc = w.find("XC");
  ASSERT_NE(xc, nullptr);
  EXPECT_EQ(entry(xc->succ_list, "PRJ"), nullptr);
  EXPECT_NE(entry(xc->succ_list, "OTHER"), nullptr);
  EXPECT_NE(w.find("XA"), nullptr);
  EXPECT_EQ(w.find("fictive"), nullptr);
}

// ----- constraints before the current date ---------------------------------------

TEST(ConstraintAlignment, DatedConstraintsBeforeTheCurrentDateAreDropped) {
  World w;
  project_type* p = w.project("PRJ", day(1, 1), day(1, 10));
  activity_type* early6 = w.task("Early6", p, day(1, 1), 1, "PRJ");
  activity_type* same6 = w.task("Same6", p, day(1, 1), 1, "PRJ");
  activity_type* early2 = w.task("Early2", p, day(1, 1), 1, "PRJ");
  activity_type* alap = w.task("Alap", p, day(1, 1), 1, "PRJ");
  activity_type* late7 = w.task("Late7", p, day(1, 1), 1, "PRJ");
  activity_type* root = w.projectItem(p, nullptr);
  setActivityConstraintType(early6, 6);
  setActivityConstraintDate(early6, day(1, 5));
  setActivityConstraintType(same6, 6);
  setActivityConstraintDate(same6, day(1, 10));
  setActivityConstraintType(early2, 2);
  setActivityConstraintDate(early2, day(1, 9));
  setActivityConstraintType(alap, 1);
  setActivityConstraintDate(alap, day(1, 2));
  setActivityConstraintType(late7, 7);
  setActivityConstraintDate(late7, day(2, 1));
  setActivityConstraintType(root, 6);  // not a task: left alone
  setActivityConstraintDate(root, day(1, 2));
  w.seal();

  doAlignConstrDatesWithCurrDate(w.net, w.log);
  const int32_t lastDay = kCalendarFirst + kCalendarDays - 1;
  EXPECT_EQ(early6->constraint_type, 0);
  EXPECT_EQ(early6->constraint_date, lastDay);
  EXPECT_EQ(early2->constraint_type, 0);
  EXPECT_EQ(early2->constraint_date, lastDay);
  EXPECT_EQ(same6->constraint_type, 6);  // on the current date: kept
  EXPECT_EQ(alap->constraint_type, 1);
  EXPECT_EQ(alap->constraint_date, day(1, 2));
  EXPECT_EQ(late7->constraint_type, 7);
  EXPECT_EQ(root->constraint_type, 6);
}

// ----- root re-pass ----------------------------------------------------------------

TEST(RootRepass, RootsAreRealignedInRootOrder) {
  World w;
  project_type* a = w.project("PA", day(1, 1), day(1, 1));
  project_type* b = w.project("PB", day(1, 1), day(1, 1));
  w.task("TA", a, day(1, 1), 3, "PA");  // Mon .. Wed
  activity_type* ra = w.projectItem(a, nullptr);
  w.task("TB", b, day(1, 1), 2, "PB");
  activity_type* rb = w.projectItem(b, nullptr);
  ra->start_date = ra->start_date_trun = day(1, 1);
  ra->finish_date = ra->finish_date_trun = day(1, 3);
  setActivityDuration(ra, 3);
  w.link("PA", "PB", 1, 0);
  w.seal();
  // A root that is not in the network is passed over.
  activity_type* stray = activityCreateNew("STRAY", 1, a, day(1, 1), day(1, 1), 480, 0, 0);
  ll_addtail(w.roots, stray);

  ASSERT_EQ(doFinAlignRepasRootLevProjects(w.roots, w.net, w.sm, 1, kOrigin, 0, 1, w.log), 0)
      << w.logText();
  EXPECT_EQ(startOf(rb), "2024-01-04 08:00");  // after PA, Thursday
  EXPECT_EQ(startOf(w.find("TB")), "2024-01-04 08:00");
  EXPECT_EQ(finishOf(w.find("TB")), "2024-01-05 17:00");
  EXPECT_EQ(startOf(ra), "2024-01-01 08:00");
  EXPECT_NE(w.logText().find("Forward Re-pass of Root-level-projects"), std::string::npos);
  activityDelete(stray);
}

TEST(RootRepass, BackwardTheRootsFinishWithTheLatestRootAndTakeTheirChildrenAlong) {
  World w;
  project_type* a = w.project("PA", day(1, 1), day(1, 1));
  project_type* b = w.project("PB", day(1, 1), day(1, 1));
  project_type* c = w.project("PC", day(1, 1), day(1, 1));
  w.task("TA", a, day(1, 1), 3, "PA");  // Mon .. Wed
  w.projectItem(a, nullptr);
  w.task("TB", b, day(1, 1), 2, "PB");  // after PA: Thu, Fri
  w.projectItem(b, nullptr);
  w.task("TC", c, day(1, 1), 7, "PC");  // Mon .. Tue of the next week
  w.projectItem(c, nullptr);
  w.link("PA", "PB", 1, 0);
  w.seal();
  ASSERT_EQ(doFinAlignActivitiesFrwdPass(w.roots, w.net, w.net, w.net, w.sm, 1, 1, 1, w.log), 0);
  setNetworkNodesFromRoots(w.roots, w.net, nullptr, "start", "finish");
  ASSERT_EQ(w.finishNode->finish_date, day(1, 9));
  a->finish_date = b->finish_date = c->finish_date = w.finishNode->finish_date;

  // The backward passes work on copies of the items.
  linked_list_type* copies = itemList();
  for (linktype* l = w.net->phead; l != nullptr; l = l->pnext) {
    ll_addtail(copies, activityCopyCreateNew(static_cast<activity_type*>(l->pcontents), w.log));
  }
  const int rc = doFinAlignRepasRootLevProjects(w.roots, copies, w.sm, 0, kOrigin, 0, 1, w.log);
  auto copyOf = [&](const char* name) {
    return static_cast<activity_type*>(ll_extract(copies, name));
  };
  EXPECT_EQ(rc, 0) << w.logText();
  // Latest roots first: PB ends with PC, and PA must end before PB starts.
  EXPECT_EQ(finishOf(copyOf("PB")), "2024-01-09 17:00");
  EXPECT_EQ(startOf(copyOf("TB")), "2024-01-08 08:00");
  EXPECT_EQ(finishOf(copyOf("PA")), "2024-01-05 17:00");
  EXPECT_EQ(startOf(copyOf("TA")), "2024-01-03 08:00");
  EXPECT_EQ(startOf(copyOf("TC")), "2024-01-01 08:00");
  // The items themselves keep their early places.
  EXPECT_EQ(startOf(w.find("TA")), "2024-01-01 08:00");
  EXPECT_NE(w.logText().find("Final Backward Re-pass of the scope of Root-level-projects"),
            std::string::npos);
  for (linktype* l = copies->phead; l != nullptr; l = l->pnext) {
    activityDelete(static_cast<activity_type*>(l->pcontents));
  }
  ll_delete(copies);
}

}  // namespace
