// Network construction on hand-built networks: the bracketing nodes, the
// tree and the dependency lists; the ordered network list on chains, fan-in
// and fan-out, nested containers and circular chains (with the circular
// items in a real database); the circularity check; levels and flags.
#include "network/network_construction.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "calendar/project.h"
#include "support/test_db.h"

namespace {

// A hand-built item list, linked the way the loader leaves it (parent and
// child names, both sides of each dependency), then bracketed.
class Net {
 public:
  ~Net() {
    for (linktype* l = items_->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    for (linked_list_type* l : {items_, ordered_, roots_}) ll_delete(l);
    projectDelete(project_);
    std::fclose(log_);
  }
  // An item under `parent` (none: a root), one WBS level below it.
  activity_type* item(const std::string& name, int16_t type = 3, const std::string& parent = "",
                      int priority = 500) {
    activity_type* a = activityCreateNew(name.c_str(), type, project_, 0, 0, 480, 0, 0);
    setActivityPriority(a, priority);
    a->level_id = 1;
    if (parent.empty()) {
      ll_addtail(roots_, a);
    } else {
      a->level_id = static_cast<int16_t>(find(parent)->level_id + 1);
      setActivityParent(a, parent.c_str(), nullptr);
      setActivityChild(find(parent), name.c_str(), nullptr);
    }
    ll_addtail(items_, a);
    return a;
  }
  // pred -> succ on both sides (or only one, as a loader may leave it).
  void dep(const std::string& pred, const std::string& succ, int16_t type = 1, int32_t lag = 0,
           int16_t external = 0, bool predSide = true, bool succSide = true) {
    if (succSide) activityCreateSucc(find(pred), succ.c_str(), type, external, lag, nullptr);
    if (predSide) activityCreatePred(find(succ), pred.c_str(), type, external, lag, nullptr);
  }
  // The nodes, the tree and the dependency lists; 0 or the tree's error.
  int bracket(int optimizeParentChild = 1, bool mirrorPreds = true, int optimizeDepPred = 1) {
    doCreaStartFinishNodesForNtw(items_, 100, "start", "finish");
    std::vector<char*> names(static_cast<size_t>(ll_size(items_)));
    doCreateNameListForActivities(items_, names.data(), 33);
    int rc = doCreateChildrenInNetworkTree(items_, names.data(), optimizeParentChild, 1, log_,
                                           200171);
    if (mirrorPreds) {
      doCreateDepPred(items_, nullptr, names.data(), optimizeDepPred, log_);
    } else {
      doCreateDepSucc(items_, names.data(), log_);
    }
    doDeleteNameListForActivities(names.data(), static_cast<int32_t>(names.size()));
    return rc;
  }
  int build() { return doBuildNetTrFromStartNode(items_, ordered_, 1, 1, 0, log_); }

  activity_type* find(const std::string& name) {
    return static_cast<activity_type*>(ll_extract(items_, name.c_str()));
  }
  std::string order() const {
    std::string out;
    for (linktype* l = ordered_->phead; l != nullptr; l = l->pnext) {
      out += std::string(out.empty() ? "" : " ") + static_cast<activity_type*>(l->pcontents)->name;
    }
    return out;
  }
  int pos(const std::string& name) {
    return ll_find(ordered_, name.c_str()) ? find(name)->serial_num : -1;
  }
  std::string log() const {
    std::string out;
    std::rewind(log_);
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, log_)) > 0;) out.append(buf, n);
    return out;
  }
  linked_list_type* items() { return items_; }
  linked_list_type* ordered() { return ordered_; }
  linked_list_type* roots() { return roots_; }
  FILE* logFile() { return log_; }

 private:
  FILE* log_ = std::tmpfile();
  project_type* project_ = projectCreateNew("P1");
  linked_list_type* items_ = ll_new(activityMatch, getActivityName);
  linked_list_type* ordered_ = ll_new(activityMatch, getActivityName);
  linked_list_type* roots_ = ll_new(activityMatch, getActivityName);
};

std::string names(const linked_list_type* list) {
  std::string out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    out += std::string(out.empty() ? "" : " ") + static_cast<string_type*>(l->pcontents)->str;
  }
  return out;
}
// "name/type/lag" per entry, "/ext" for an external one.
std::string deps(const linked_list_type* list) {
  std::string out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    auto* d = static_cast<dependency_type*>(l->pcontents);
    out += std::string(out.empty() ? "" : " ") + d->name + "/" + std::to_string(d->type) + "/" +
           std::to_string(d->lag_minutes) + (d->isExternal ? "/ext" : "");
  }
  return out;
}

// Serial = position; every item after its non-external predecessors and
// every container after its children.
void expectNetworkOrder(Net& net) {
  std::map<std::string, int> at;
  int k = 0;
  for (linktype* l = net.ordered()->phead; l != nullptr; l = l->pnext) {
    auto* a = static_cast<activity_type*>(l->pcontents);
    EXPECT_EQ(a->serial_num, k);
    at[a->name] = k++;
  }
  EXPECT_EQ(k, ll_size(net.items()));
  for (const auto& [name, p] : at) {
    activity_type* a = net.find(name);
    for (linktype* l = a->pred_list->phead; l != nullptr; l = l->pnext) {
      auto* d = static_cast<dependency_type*>(l->pcontents);
      if (!d->isExternal) {
        EXPECT_LT(at.at(d->name), p) << d->name << " before " << name;
      }
    }
    for (linktype* l = a->child_list->phead; name != "start" && l != nullptr; l = l->pnext) {
      std::string c = static_cast<string_type*>(l->pcontents)->str;
      if (c != "finish") {
        EXPECT_LT(at.at(c), p) << c << " inside " << name;
      }
    }
  }
}

// ---------------------------------------------------------------------------
// Nodes, tree and dependency lists

TEST(NetworkTree, SingleItemIsBracketedAndAContainerWithoutChildrenBecomesATask) {
  Net net;
  activity_type* p = net.item("P", 2);
  ASSERT_EQ(net.bracket(), 0);
  activity_type* start = net.find("start");
  EXPECT_EQ(start->type, 0);
  EXPECT_EQ(start->start_date, 99);
  EXPECT_EQ(static_cast<activity_type*>(net.items()->phead->pcontents), start);
  EXPECT_EQ(static_cast<activity_type*>(net.items()->ptail->pcontents), net.find("finish"));
  EXPECT_EQ(names(p->parent_list) + "|" + names(p->child_list), "start|finish");
  EXPECT_EQ(names(start->child_list), "P");
  EXPECT_EQ(p->type, 3);
  EXPECT_EQ(deps(p->pred_list) + "|" + deps(p->succ_list), "start/1/0|finish/0/0");
}

TEST(NetworkTree, OnlyItemsWithoutPredecessorsFollowTheStartAndOnlyLeavesLeadToTheFinish) {
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("B", 3, "R");
  net.dep("A", "B", 3, 120);
  ASSERT_EQ(net.bracket(), 0);
  EXPECT_EQ(names(net.find("start")->child_list), "R");
  EXPECT_EQ(names(net.find("finish")->parent_list), "A B");
  EXPECT_EQ(deps(net.find("start")->succ_list), "R/1/0 A/1/0");
  EXPECT_EQ(deps(net.find("A")->succ_list), "B/3/120");
  EXPECT_EQ(deps(net.find("finish")->pred_list), "R/0/0 B/0/0");
  EXPECT_EQ(net.find("B")->to_pass_in_forw_dir, 1);
  EXPECT_EQ(net.find("finish")->to_pass_in_forw_dir, 2);
}

TEST(NetworkTree, PredecessorsAreMirroredFromSuccessorListsButNotExternalOnesWhenOptimized) {
  for (int optimize : {0, 1}) {
    Net net;
    net.item("R", 1);
    for (const char* n : {"A", "B", "X"}) net.item(n, 3, "R");
    net.dep("A", "B", 2, -60, 0, false);  // successor sides only
    net.dep("X", "B", 1, 0, 1, false);
    ASSERT_EQ(net.bracket(1, true, optimize), 0);
    EXPECT_EQ(deps(net.find("B")->pred_list), optimize ? "A/2/-60" : "A/2/-60 X/1/0/ext");
    EXPECT_EQ(net.find("B")->to_pass_in_forw_dir, 1) << "external predecessors are not counted";
  }
}

TEST(NetworkTree, ChildrenAreGatheredByParentNameWhenTheLoaderDidNotLinkThem) {
  Net net;
  activity_type* r = net.item("R", 1);
  r->start_date = 18;
  for (auto [name, day] : {std::pair{"A", 20}, std::pair{"B", 25}}) {
    activity_type* a = activityCreateNew(name, 3, nullptr, day, day, 480, 0, 0);
    setActivityParent(a, "R", nullptr);
    ll_addtail(net.items(), a);
  }
  ASSERT_EQ(net.bracket(0), 0);
  EXPECT_EQ(names(r->child_list), "A B");
  EXPECT_EQ(getActivityOffsetRelativeToParentStartDate(net.find("B")), 7);
  EXPECT_EQ(names(r->parent_list) + "|" + names(net.find("start")->child_list), "start|R");
  EXPECT_EQ(names(net.find("finish")->parent_list), "A B");
  EXPECT_EQ(r->type, 1) << "a container with children stays a container";

  char* unknown[] = {const_cast<char*>("start"), const_cast<char*>("nobody"),
                     const_cast<char*>("finish")};
  linked_list_type* three = ll_new(activityMatch, getActivityName);
  ll_addtail(three, net.find("start"));
  ll_addtail(three, r);
  ll_addtail(three, net.find("finish"));
  EXPECT_EQ(doCreateChildrenInNetworkTree(three, unknown, 0, 1, nullptr, 200171), 200171);
  ll_delete(three);
}

TEST(NetworkTree, SuccessorListsAreMirroredFromPredecessorLists) {
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("B", 3, "R");
  net.dep("A", "B", 3, 30, 0, true, false);  // predecessor side only
  ASSERT_EQ(net.bracket(1, false), 0);
  EXPECT_EQ(deps(net.find("A")->succ_list), "B/3/30");
  EXPECT_EQ(deps(net.find("B")->succ_list), "finish/0/0");
  EXPECT_EQ(deps(net.find("R")->pred_list), "start/1/0");
}

// ---------------------------------------------------------------------------
// The ordered network list

TEST(NetworkOrder, ChainUnderOneContainer) {
  Net net;
  net.item("R", 1);
  for (const char* n : {"C", "B", "A"}) net.item(n, 3, "R");
  net.dep("A", "B");
  net.dep("B", "C");
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(net.order(), "start A B C R finish");
  expectNetworkOrder(net);
  EXPECT_LT(net.find("A")->ntw_level_id, net.find("B")->ntw_level_id);
  EXPECT_LT(net.find("B")->ntw_level_id, net.find("C")->ntw_level_id);
  EXPECT_EQ(names(net.find("R")->child_list), "A B C") << "child lists follow the network order";
  EXPECT_EQ(net.find("C")->to_pass_in_forw_dir, 0) << "the count is consumed";
  EXPECT_EQ(net.find("C")->orig_to_pass_in_forw_dir, 1);
  EXPECT_EQ(net.log().find("Cut long chain"), std::string::npos);
}

TEST(NetworkOrder, FanOutAndFanIn) {
  Net net;
  net.item("R", 1);
  for (const char* n : {"D", "C", "B", "A", "E"}) net.item(n, 3, "R");
  net.dep("A", "B");
  net.dep("A", "C");
  net.dep("A", "E", 3, 60);
  net.dep("B", "D");
  net.dep("C", "D", 0);
  net.dep("E", "D", 2, -30);
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  expectNetworkOrder(net);
  EXPECT_EQ(net.pos("A"), 1);
  EXPECT_EQ(net.pos("D"), 5) << "the join comes after all three branches";
}

TEST(NetworkOrder, NestedContainersFollowTheirChildrenAndCrossLinksAreHonoured) {
  Net net;
  net.item("R", 1);
  net.item("C1", 2, "R");
  net.item("C2", 2, "R");
  net.item("C3", 2, "C2");
  const std::vector<std::pair<const char*, const char*>> leaves = {
      {"A", "C1"}, {"B", "C1"}, {"D", "C3"}, {"E", "C2"}, {"F", "C3"}};
  for (auto [n, p] : leaves) net.item(n, 3, p);
  net.dep("A", "B");
  net.dep("B", "D");   // into a nested container of a sibling
  net.dep("D", "F");
  net.dep("C1", "E");  // a container as predecessor
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  expectNetworkOrder(net);
  EXPECT_EQ(net.pos("R"), 9);
  EXPECT_EQ(net.log().find("Cut long chain"), std::string::npos);
}

TEST(NetworkOrder, AnItemWithOnlyAnExternalPredecessorIsStillPlaced) {
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("X", 3)->isExternalPred = 1;  // an outside item read with the project
  net.dep("X", "A", 1, 0, 1);
  ASSERT_EQ(net.bracket(), 0);
  EXPECT_EQ(net.find("A")->to_pass_in_forw_dir, 0);
  ASSERT_EQ(net.build(), 0);
  expectNetworkOrder(net);
}

// Two items depending on each other under one project: the walk stalls, the
// chain is cut at the deeper item, and the items are written as circular.
TEST(NetworkOrder, MutualDependencyIsCutAtTheDeeperItemAndWrittenAsCircular) {
  testing::TestDb db;
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
  for (const char* id : {"A", "C", "B"}) db.item({.project = "P1", .parent = "P1", .id = id});
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("C", 2, "R");
  net.item("B", 3, "C");  // one level deeper than A
  net.dep("A", "B");
  net.dep("B", "A");
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(net.order(), "start B C A R finish");
  EXPECT_NE(net.log().find("Cut long chain of Dependences on Pending Node"), std::string::npos);
  EXPECT_NE(net.log().find("List of sub-optimal dependent items in the Network tree"),
            std::string::npos);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3 where ELEMENT_ID_3 in ('A','B') and "
                      "WBS_CODE_3 = ELEMENT_ID_3 and TYPE_ID_3 = 3"),
            2);
  EXPECT_EQ(db.scalar("select LEVEL_ID_3 from Lev_circ_3 where ELEMENT_ID_3 = 'B'"), 3);
  EXPECT_EQ(db.scalar("select min(SEQ_NUM_RECORDS) from Lev_circ_3"), 1);
  EXPECT_EQ(db.scalar("select (select count(*) from Lev_circ_1) + count(*) from Lev_circ_2"), 0);
}

TEST(NetworkOrder, CircularItemsThatCannotBeWrittenAreOnlyLogged) {
  Net net;  // no store bound to the thread
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("B", 3, "R");
  net.dep("A", "B");
  net.dep("B", "A");
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(ll_size(net.ordered()), 5);
  EXPECT_NE(net.log().find("!!! error in Lev_networkTree (doBuildNetTrFromStartNode): returning "
                           "from doUpdateTEMPcircular: errCode = 200208"),
            std::string::npos);
}

// Mutually dependent pairs under one container: every stall cuts one pair.
int cutPairs(Net& net, int pairs, bool chained) {
  net.item("R", 1);
  for (int i = 0; i < pairs; ++i) {
    const std::string p = "P" + std::to_string(i), q = "Q" + std::to_string(i);
    net.item(p, 3, "R");
    net.item(q, 3, "R");
    net.dep(p, q);
    net.dep(q, p);
    if (chained && i > 0) net.dep("Q" + std::to_string(i - 1), p);
  }
  EXPECT_EQ(net.bracket(), 0);
  return net.build();
}

TEST(NetworkOrder, AChainThatKeepsStallingGivesUpAfterOneHundredStalls) {
  Net net;
  EXPECT_EQ(cutPairs(net, 150, true), 200212);
  const std::string log = net.log();
  EXPECT_NE(log.find("doBuildNetTrFromStartNode"), std::string::npos);
  EXPECT_NE(log.find("Circular like Dependency has been Detected"), std::string::npos);
  EXPECT_NE(log.find("Unable to cut or resolve.No exeeds 100 pases"), std::string::npos);
  EXPECT_EQ(ll_size(net.ordered()), 0) << "nothing is handed out on failure";
}

TEST(NetworkOrder, CutsAreReportedOnTheFirstStallAndEveryTwentieth) {
  Net net;
  ASSERT_EQ(cutPairs(net, 45, false), 0);
  EXPECT_EQ(ll_size(net.ordered()), 93);
  int reports = 0;
  const std::string log = net.log();
  for (size_t at = log.find("Cut long chain"); at != std::string::npos;
       at = log.find("Cut long chain", at + 1)) {
    ++reports;
  }
  EXPECT_EQ(reports, 3) << "stalls 1, 20 and 40 of 45";
}

// ---------------------------------------------------------------------------
// Circularity check

TEST(CircularityCheck, CleanOnAnAcyclicNetworkReportedThroughAContainerLoop) {
  // X lies inside C, which waits for Y, which waits for X: C's value pushed
  // down to X raises Y, which raises C again, sweep after sweep.
  for (bool loop : {false, true}) {
    Net net;
    net.item("R", 1);
    net.item("C", 2, "R");
    net.item("X", 3, "C");
    net.item("Y", 3, "R");
    net.dep(loop ? "X" : "C", "Y");
    if (loop) net.dep("Y", "C");
    ASSERT_EQ(net.bracket(), 0);
    ASSERT_EQ(net.build(), 0);
    EXPECT_EQ(checkForCirculDep(net.ordered(), net.items(), "start", "finish", nullptr),
              loop ? 1 : 0);
    if (loop) {
      EXPECT_GE(net.find("C")->circul_id, 39);
    } else {
      EXPECT_EQ(net.find("Y")->circul_id, net.find("C")->circul_id + 1);
    }
  }
}

// G holds M holds t; t -> P -> G. P -> G binds everything inside G, t
// among it, and t must also come before P: a cycle through two container
// levels that the network order (t, M, P, G) does not show. It is reported,
// its four items are written as circular and logged.
TEST(CircularityCheck, CycleThroughTwoContainerLevelsIsFoundAndListed) {
  testing::TestDb db;
  db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"});
  for (const char* id : {"G", "M", "t", "P"}) db.item({.project = "P1", .parent = "P1", .id = id});
  Net net;
  net.item("R", 1);
  net.item("G", 2, "R");
  net.item("M", 2, "G");
  net.item("t", 3, "M");
  net.item("P", 3, "R");
  net.dep("t", "P");
  net.dep("P", "G");
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3"), 0) << "the traversal saw nothing";
  EXPECT_EQ(checkForCirculDep(net.ordered(), net.items(), "start", "finish", nullptr), 1);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3 where ELEMENT_ID_3 in ('G','M','t','P')"),
            4);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3"), 4) << "R is not on the cycle";
  // Without P -> G the same tree is clean.
  Net clean;
  clean.item("R", 1);
  clean.item("G", 2, "R");
  clean.item("M", 2, "G");
  clean.item("t", 3, "M");
  clean.item("P", 3, "R");
  clean.dep("t", "P");
  clean.dep("M", "P");
  ASSERT_EQ(clean.bracket(), 0);
  ASSERT_EQ(clean.build(), 0);
  EXPECT_EQ(checkForCirculDep(clean.ordered(), clean.items(), "start", "finish", nullptr), 0);
}

// A dependency between a container and one of its own descendants, either
// way, two levels apart or one, is a cycle.
TEST(CircularityCheck, ContainerAndItsOwnDescendantAreACycleEitherWay) {
  for (const char* pred : {"C", "x"}) {
    for (const char* under : {"C", "D"}) {
      Net net;
      net.item("R", 1);
      net.item("C", 2, "R");
      net.item("D", 2, "C");
      net.item("x", 3, under);
      net.item("y", 3, "D");
      net.dep(pred, std::string(pred) == "C" ? "x" : "C");
      ASSERT_EQ(net.bracket(), 0);
      ASSERT_EQ(net.build(), 0);
      EXPECT_EQ(checkForCirculDep(net.ordered(), net.items(), "start", "finish", net.logFile()), 1)
          << pred << " first, x under " << under;
    }
  }
}

// 45 containers in a row, C1 .. C45, each holding one task; the task of
// each container precedes the next container: the circul_id sweeps carry
// the chain one link further at a time and are still busy at the 40th, yet
// there is no cycle. A link from the last task back to the first container
// closes one.
TEST(CircularityCheck, LongChainsOfTaskToContainerLinksAreNotCircular) {
  for (bool closed : {false, true}) {
    Net net;
    net.item("R", 1);
    for (int k = 1; k <= 45; ++k) {
      const std::string c = "C" + std::to_string(k);
      net.item(c, 2, "R");
      net.item("t" + std::to_string(k), 3, c);
      if (k > 1) net.dep("t" + std::to_string(k - 1), c);
    }
    if (closed) net.dep("t45", "C1");
    ASSERT_EQ(net.bracket(), 0);
    ASSERT_EQ(net.build(), 0);
    EXPECT_EQ(checkForCirculDep(net.ordered(), net.items(), "start", "finish", nullptr),
              closed ? 1 : 0);
  }
}

// ---------------------------------------------------------------------------
// Flags and levels

TEST(NetworkFlags, PrioritiesAreInheritedThroughContainers) {
  Net net;
  net.item("R", 1, "", 600);
  net.item("C", 2, "R", 700);
  net.item("T", 3, "C", 450);
  net.item("U", 3, "R", 100);
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  inherPredSuccNetTreeTopBot(net.roots(), net.ordered(), "start", "finish", nullptr);
  const std::vector<std::pair<const char*, int>> expected = {
      {"R", 600}, {"C", 800}, {"T", 750}, {"U", 200}};
  for (auto [name, priority] : expected) EXPECT_EQ(net.find(name)->priority, priority) << name;
}

TEST(NetworkFlags, DependencyFlagsPassDownFromTheFirstContainerOnAChain) {
  Net net;
  net.item("R", 1);
  net.item("C", 2, "R");
  net.item("D", 2, "C");
  net.item("T", 3, "D");
  net.item("Z", 3, "R");
  net.dep("C", "Z", 1);
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  inherPredSuccNetTreeTopBot(net.roots(), net.ordered(), "start", "finish", nullptr);
  auto flags = [&](const char* n) {
    activity_type* a = net.find(n);
    return std::to_string(a->residesOnNonTrivialSucc) + std::to_string(a->onSucc) +
           std::to_string(a->depType_back);
  };
  EXPECT_EQ(flags("R"), "00-1");
  EXPECT_EQ(flags("C"), "111");
  EXPECT_EQ(flags("D"), "011") << "inherited from C";
  EXPECT_EQ(net.find("Z")->residesOnNonTrivialPred, 1);
}

TEST(NetworkFlags, NetworkLevelsComeDownFromParentsAndAlongPredecessors) {
  Net net;
  net.item("R1", 1);
  net.item("A", 2, "R1");
  net.item("A1", 3, "A");
  net.item("R2", 1);
  net.item("B", 3, "R2");
  net.item("X", 3);
  net.dep("X", "A");  // A and its child share this predecessor
  net.dep("X", "A1");
  net.dep("A1", "B");
  ASSERT_EQ(net.bracket(), 0);
  ASSERT_EQ(net.build(), 0);
  net.find("A")->ntw_level_id = 7;
  creaNetworkLevelIdTopBot(net.roots(), net.ordered(), net.items(), nullptr);
  EXPECT_EQ(net.find("A1")->num_match_par_pred, 1);
  EXPECT_EQ(net.find("B")->num_match_par_pred, 0);
  EXPECT_GE(net.find("A1")->ntw_level_id, 7);
  EXPECT_GE(net.find("B")->ntw_level_id, net.find("A1")->ntw_level_id + 1);
  EXPECT_EQ(net.find("start")->ntw_level_id, 0);
}

TEST(NetworkFlags, AssignmentAndCalendarFlagsRiseFromTheChildren) {
  Net net;
  activity_type* r = net.item("R", 1);
  activity_type* c = net.item("C", 2, "R");
  net.item("T", 3, "C")->hasAssignment = 1;
  activity_type* u = net.item("U", 3, "R");
  r->brunch = c->brunch = 1;
  u->ignoreHolesInCalendar = 1;
  u->constraint_type = 4;
  inherAssigCountTopBot(net.roots(), net.items(), 0, "finish", nullptr);
  EXPECT_EQ(r->hasAssignment + c->hasAssignment, 2) << "through the branch C";
  EXPECT_EQ(r->ignoreHolesInCalendar, 0) << "calendar flags pass only with the option";
  c->brunch = c->hasAssignment = r->hasAssignment = 0;
  inherAssigCountTopBot(net.roots(), net.items(), 1, "finish", nullptr);
  EXPECT_EQ(r->hasAssignment, 0) << "C is no branch";
  EXPECT_EQ(r->ignoreHolesInCalendar, 2) << "a task with constraint 4 asks for 2";
}

TEST(NetworkFlags, ChildListsAreSortedBySerialNumberShortAndLong) {
  for (int count : {5, 40}) {
    Net net;
    activity_type* r = net.item("R", 1);
    for (int i = 0; i < count; ++i) {
      net.item("K" + std::to_string(i), 3, "R")->serial_num = (i * 7919) % 1009;
    }
    ordChiListBySerNumAsc(r, net.items());
    int previous = -1;
    for (linktype* l = r->child_list->phead; l != nullptr; l = l->pnext) {
      const int serial = net.find(static_cast<string_type*>(l->pcontents)->str)->serial_num;
      EXPECT_LT(previous, serial);
      previous = serial;
    }
    EXPECT_EQ(ll_size(r->child_list), count);
  }
}

}  // namespace
