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
#include "model/activity.h"
#include "model/serial_names.h"
#include "support/test_db.h"

namespace {

// A hand-built item list, bracketed and linked the way the load phase does
// it (the loader's parent/child and predecessor/successor links, then the
// nodes, the tree completion and the predecessor lists).
class Net {
 public:
  Net() : log_(std::tmpfile()) {}
  ~Net() {
    forEach(items_, [](activity_type* a) { activityDelete(a); });
    ll_delete(items_);
    ll_delete(ordered_);
    ll_delete(roots_);
    projectDelete(project_);
    if (log_ != nullptr) std::fclose(log_);
  }
  Net(const Net&) = delete;
  Net& operator=(const Net&) = delete;

  // An item under `parent` (none: a root), one WBS level below it.
  activity_type* item(const std::string& name, int16_t type = 3, const std::string& parent = "",
                      int priority = 500) {
    activity_type* a = activityCreateNew(name.c_str(), type, project_, 0, 0, 480, 0, 0);
    setActivityPriority(a, priority);
    if (parent.empty()) {
      a->level_id = 1;
      ll_addtail(roots_, a);
    } else {
      activity_type* p = find(parent);
      a->level_id = static_cast<int16_t>(p->level_id + 1);
      setActivityParent(a, parent.c_str(), nullptr);
      setActivityChild(p, name.c_str(), nullptr);
    }
    ll_addtail(items_, a);
    return a;
  }
  // pred -> succ, entered on both sides.
  void dep(const std::string& pred, const std::string& succ, int16_t type = 1, int32_t lag = 0,
           int16_t external = 0) {
    ASSERT_NE(activityCreateSucc(find(pred), succ.c_str(), type, external, lag, nullptr), nullptr);
    ASSERT_NE(activityCreatePred(find(succ), pred.c_str(), type, external, lag, nullptr), nullptr);
  }
  void bracket() {
    doCreaStartFinishNodesForNtw(items_, 100, "start", "finish");
    std::vector<char*> names(static_cast<size_t>(ll_size(items_)));
    doCreateNameListForActivities(items_, names.data(), 33);
    ASSERT_EQ(doCreateChildrenInNetworkTree(items_, names.data(), 1, 1, log_, 200171), 0);
    doCreateDepPred(items_, nullptr, names.data(), 1, log_);
    doDeleteNameListForActivities(names.data(), static_cast<int32_t>(names.size()));
  }
  int build() { return doBuildNetTrFromStartNode(items_, ordered_, 1, 1, 0, log_); }

  activity_type* find(const std::string& name) {
    return static_cast<activity_type*>(ll_extract(items_, name.c_str()));
  }
  std::vector<std::string> order() const {
    std::vector<std::string> out;
    forEach(ordered_, [&](activity_type* a) { out.push_back(a->name); });
    return out;
  }
  int pos(const std::string& name) const {
    std::vector<std::string> o = order();
    for (size_t i = 0; i < o.size(); ++i) {
      if (o[i] == name) return static_cast<int>(i);
    }
    return -1;
  }
  std::string log() const {
    std::string out;
    std::rewind(log_);
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, log_)) > 0) out.append(buf, n);
    std::fseek(log_, 0, SEEK_END);
    return out;
  }

  linked_list_type* items() { return items_; }
  linked_list_type* ordered() { return ordered_; }
  linked_list_type* roots() { return roots_; }
  FILE* logFile() { return log_; }

  template <class F>
  static void forEach(const linked_list_type* list, F f) {
    for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
      f(static_cast<activity_type*>(l->pcontents));
    }
  }

 private:
  FILE* log_;
  project_type* project_ = projectCreateNew("P1");
  linked_list_type* items_ = ll_new(activityMatch, getActivityName);
  linked_list_type* ordered_ = ll_new(activityMatch, getActivityName);
  linked_list_type* roots_ = ll_new(activityMatch, getActivityName);
};

std::vector<std::string> names(const linked_list_type* list) {
  std::vector<std::string> out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    out.push_back(static_cast<string_type*>(l->pcontents)->str);
  }
  return out;
}

struct Dep {
  std::string name;
  int type;
  int lag;
  int external;
};
std::vector<Dep> deps(const linked_list_type* list) {
  std::vector<Dep> out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    auto* d = static_cast<dependency_type*>(l->pcontents);
    out.push_back({d->name, d->type, d->lag_minutes, d->isExternal});
  }
  return out;
}

// The two invariants of the network list, and serial = position.
void expectNetworkOrder(Net& net) {
  std::vector<std::string> o = net.order();
  ASSERT_GE(o.size(), 2u);
  EXPECT_EQ(o.front(), "start");
  EXPECT_EQ(o.back(), "finish");
  EXPECT_EQ(o.size(), static_cast<size_t>(ll_size(net.items())));
  std::map<std::string, int> at;
  for (size_t i = 0; i < o.size(); ++i) at[o[i]] = static_cast<int>(i);
  Net::forEach(net.ordered(), [&](activity_type* a) {
    EXPECT_EQ(a->serial_num, at[a->name]) << a->name;
    if (a->name == std::string("start") || a->name == std::string("finish")) return;
    for (const Dep& d : deps(a->pred_list)) {
      if (d.external || d.name == "start") continue;
      EXPECT_LT(at.at(d.name), at[a->name]) << d.name << " must precede " << a->name;
    }
    for (const std::string& c : names(a->child_list)) {
      if (c == "finish") continue;
      EXPECT_LT(at.at(c), at[a->name]) << "child " << c << " must precede " << a->name;
    }
  });
}

// ---------------------------------------------------------------------------
// Nodes, tree and dependency lists

TEST(NetworkTree, SingleItemIsBracketedAndAContainerWithoutChildrenBecomesATask) {
  Net net;
  net.item("P", 2);
  net.bracket();
  activity_type* p = net.find("P");
  activity_type* start = net.find("start");
  EXPECT_EQ(start->type, 0);
  EXPECT_EQ(start->start_date, 99);
  EXPECT_EQ(start->finish_date, 99);
  EXPECT_EQ(static_cast<activity_type*>(net.items()->phead->pcontents), start);
  EXPECT_EQ(std::string(static_cast<activity_type*>(net.items()->ptail->pcontents)->name),
            "finish");
  EXPECT_EQ(names(p->parent_list), std::vector<std::string>{"start"});
  EXPECT_EQ(names(p->child_list), std::vector<std::string>{"finish"});
  EXPECT_EQ(names(start->child_list), std::vector<std::string>{"P"});
  EXPECT_EQ(p->type, 3);
  ASSERT_EQ(deps(p->pred_list).size(), 1u);
  EXPECT_EQ(deps(p->pred_list)[0].name, "start");
  EXPECT_EQ(deps(p->pred_list)[0].type, 1);
  ASSERT_EQ(deps(p->succ_list).size(), 1u);
  EXPECT_EQ(deps(p->succ_list)[0].name, "finish");
  EXPECT_EQ(deps(p->succ_list)[0].type, 0);
  EXPECT_EQ(deps(net.find("finish")->pred_list)[0].name, "P");
}

TEST(NetworkTree, OnlyItemsWithoutPredecessorsFollowTheStartAndOnlyLeavesLeadToTheFinish) {
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("B", 3, "R");
  net.dep("A", "B", 3, 120);
  net.bracket();
  activity_type* start = net.find("start");
  activity_type* finish = net.find("finish");
  EXPECT_EQ(names(start->child_list), std::vector<std::string>{"R"});
  EXPECT_EQ(names(finish->parent_list), (std::vector<std::string>{"A", "B"}));
  std::vector<Dep> fromStart = deps(start->succ_list);
  ASSERT_EQ(fromStart.size(), 2u);
  EXPECT_EQ(fromStart[0].name, "R");
  EXPECT_EQ(fromStart[1].name, "A");
  ASSERT_EQ(deps(net.find("B")->pred_list).size(), 1u);
  EXPECT_EQ(deps(net.find("B")->pred_list)[0].lag, 120);
  EXPECT_EQ(deps(net.find("A")->succ_list).size(), 1u);  // B only, no finish
  EXPECT_EQ(net.find("B")->to_pass_in_forw_dir, 1);
  EXPECT_EQ(finish->to_pass_in_forw_dir, 2);  // R and B lead to it
}

TEST(NetworkTree, PredecessorsAreMirroredFromSuccessorListsButNotExternalOnesWhenOptimized) {
  for (int optimize : {0, 1}) {
    Net net;
    net.item("R", 1);
    net.item("A", 3, "R");
    net.item("B", 3, "R");
    net.item("X", 3, "R");
    // Only the successor sides exist, as the loader leaves them.
    activityCreateSucc(net.find("A"), "B", 2, 0, -60, nullptr);
    activityCreateSucc(net.find("X"), "B", 1, 1, 0, nullptr);
    doCreaStartFinishNodesForNtw(net.items(), 10, "start", "finish");
    std::vector<char*> n(static_cast<size_t>(ll_size(net.items())));
    doCreateNameListForActivities(net.items(), n.data(), 33);
    ASSERT_EQ(doCreateChildrenInNetworkTree(net.items(), n.data(), 1, 1, nullptr, 200171), 0);
    doCreateDepPred(net.items(), nullptr, n.data(), optimize, nullptr);
    doDeleteNameListForActivities(n.data(), static_cast<int32_t>(n.size()));
    std::vector<Dep> preds = deps(net.find("B")->pred_list);
    ASSERT_EQ(preds.size(), optimize ? 1u : 2u);
    EXPECT_EQ(preds[0].name, "A");
    EXPECT_EQ(preds[0].type, 2);
    EXPECT_EQ(preds[0].lag, -60);
    if (!optimize) {
      EXPECT_EQ(preds[1].external, 1);
    }
    EXPECT_EQ(net.find("B")->to_pass_in_forw_dir, 1) << "external predecessors are not counted";
  }
}

TEST(NetworkTree, ChildrenAreGatheredByParentNameWhenTheLoaderDidNotLinkThem) {
  Net net;
  activity_type* r = net.item("R", 1);
  activity_type* a = activityCreateNew("A", 3, nullptr, 20, 22, 480, 0, 0);
  activity_type* b = activityCreateNew("B", 3, nullptr, 25, 25, 480, 0, 0);
  r->start_date = 18;
  setActivityParent(a, "R", nullptr);
  setActivityParent(b, "R", nullptr);
  ll_addtail(net.items(), a);
  ll_addtail(net.items(), b);
  doCreaStartFinishNodesForNtw(net.items(), 10, "start", "finish");
  std::vector<char*> n(static_cast<size_t>(ll_size(net.items())));
  doCreateNameListForActivities(net.items(), n.data(), 33);
  EXPECT_EQ(doCreateChildrenInNetworkTree(net.items(), n.data(), 0, 1, nullptr, 200171), 0);
  EXPECT_EQ(names(r->child_list), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(getActivityOffsetRelativeToParentStartDate(a), 2);
  EXPECT_EQ(getActivityOffsetRelativeToParentStartDate(b), 7);
  EXPECT_EQ(names(r->parent_list), std::vector<std::string>{"start"});
  EXPECT_EQ(names(net.find("start")->child_list), std::vector<std::string>{"R"});
  EXPECT_EQ(names(net.find("finish")->parent_list), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(r->type, 1) << "a container with children stays a container";

  // A name the list does not hold is a failed link.
  std::snprintf(n[1], 33, "%s", "nobody");
  EXPECT_EQ(doCreateChildrenInNetworkTree(net.items(), n.data(), 0, 1, nullptr, 200171), 200171);
  doDeleteNameListForActivities(n.data(), static_cast<int32_t>(n.size()));
}

TEST(NetworkTree, SuccessorListsAreMirroredFromPredecessorLists) {
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("B", 3, "R");
  activityCreatePred(net.find("B"), "A", 3, 0, 30, nullptr);
  doCreaStartFinishNodesForNtw(net.items(), 10, "start", "finish");
  std::vector<char*> n(static_cast<size_t>(ll_size(net.items())));
  doCreateNameListForActivities(net.items(), n.data(), 33);
  doCreateDepSucc(net.items(), n.data(), nullptr);
  doDeleteNameListForActivities(n.data(), static_cast<int32_t>(n.size()));
  std::vector<Dep> succ = deps(net.find("A")->succ_list);
  ASSERT_EQ(succ.size(), 1u);
  EXPECT_EQ(succ[0].name, "B");
  EXPECT_EQ(succ[0].type, 3);
  EXPECT_EQ(succ[0].lag, 30);
  EXPECT_EQ(deps(net.find("B")->succ_list)[0].name, "finish");
  EXPECT_EQ(deps(net.find("B")->succ_list)[0].type, 0);
  EXPECT_EQ(deps(net.find("R")->pred_list)[0].name, "start");
}

// ---------------------------------------------------------------------------
// The ordered network list

TEST(NetworkOrder, ChainUnderOneContainer) {
  Net net;
  net.item("R", 1);
  net.item("C", 3, "R");
  net.item("B", 3, "R");
  net.item("A", 3, "R");
  net.dep("A", "B");
  net.dep("B", "C");
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(net.order(), (std::vector<std::string>{"start", "A", "B", "C", "R", "finish"}));
  expectNetworkOrder(net);
  EXPECT_LT(net.find("A")->ntw_level_id, net.find("B")->ntw_level_id);
  EXPECT_LT(net.find("B")->ntw_level_id, net.find("C")->ntw_level_id);
  EXPECT_EQ(names(net.find("R")->child_list), (std::vector<std::string>{"A", "B", "C"}))
      << "child lists follow the network order";
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
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  expectNetworkOrder(net);
  EXPECT_EQ(net.pos("A"), 1);
  EXPECT_EQ(net.pos("D"), 5) << "the join comes after all three branches";
  EXPECT_EQ(net.pos("R"), 6);
}

TEST(NetworkOrder, NestedContainersFollowTheirChildrenAndCrossLinksAreHonoured) {
  Net net;
  net.item("R", 1);
  net.item("C1", 2, "R");
  net.item("C2", 2, "R");
  net.item("C3", 2, "C2");
  net.item("A", 3, "C1");
  net.item("B", 3, "C1");
  net.item("D", 3, "C3");
  net.item("E", 3, "C2");
  net.item("F", 3, "C3");
  net.dep("A", "B");
  net.dep("B", "D");  // into a nested container of a sibling
  net.dep("D", "F");
  net.dep("C1", "E");  // a container as predecessor
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  expectNetworkOrder(net);
  EXPECT_LT(net.pos("C1"), net.pos("E"));
  EXPECT_LT(net.pos("C3"), net.pos("C2"));
  EXPECT_EQ(net.pos("R"), 9);
  EXPECT_EQ(net.log().find("Cut long chain"), std::string::npos);
}

TEST(NetworkOrder, AnItemWithOnlyAnExternalPredecessorIsStillPlaced) {
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  activity_type* outside = net.item("X", 3);  // an outside item, read with the project
  outside->isExternalPred = 1;
  net.dep("X", "A", 1, 0, 1);
  net.bracket();
  EXPECT_EQ(net.find("A")->to_pass_in_forw_dir, 0);
  ASSERT_EQ(net.build(), 0);
  expectNetworkOrder(net);
  EXPECT_LT(net.pos("A"), net.pos("R"));
}

TEST(NetworkOrder, ReversedOptionStartsFromTheTail) {
  // With the roles of head and tail swapped, the walk begins at the tail
  // node and the head node closes the list.
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.bracket();
  // Lead the tail node into the network as if it were the start node.
  activity_type* finish = net.find("finish");
  activityCreateSucc(finish, "R", 1, 0, 0, nullptr);
  activityCreateSucc(finish, "A", 1, 0, 0, nullptr);
  linked_list_type* out = ll_new(activityMatch, getActivityName);
  ASSERT_EQ(doBuildNetTrFromStartNode(net.items(), out, 0, 0, 1, nullptr), 0);
  EXPECT_EQ(std::string(static_cast<activity_type*>(out->phead->pcontents)->name), "finish");
  EXPECT_EQ(std::string(static_cast<activity_type*>(out->ptail->pcontents)->name), "start");
  EXPECT_EQ(ll_size(out), 4);
  ll_delete(out);
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
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(net.order(), (std::vector<std::string>{"start", "B", "C", "A", "R", "finish"}));
  EXPECT_NE(net.log().find("Cut long chain of Dependences on Pending Node"), std::string::npos);
  EXPECT_NE(net.log().find("List of sub-optimal dependent items in the Network tree"),
            std::string::npos);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3 where ELEMENT_ID_3 in ('A','B')"), 2);
  EXPECT_EQ(db.scalar("select LEVEL_ID_3 from Lev_circ_3 where ELEMENT_ID_3 = 'B'"), 3);
  EXPECT_EQ(db.scalar("select TYPE_ID_3 from Lev_circ_3 where ELEMENT_ID_3 = 'A'"), 3);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_3 where WBS_CODE_3 = ELEMENT_ID_3"),
            db.scalar("select count(*) from Lev_circ_3"));
  EXPECT_EQ(db.scalar("select min(SEQ_NUM_RECORDS) from Lev_circ_3"), 1);
  EXPECT_EQ(db.scalar("select count(*) from Lev_circ_1") + db.scalar("select count(*) from Lev_circ_2"),
            0);
}

TEST(NetworkOrder, CircularItemsThatCannotBeWrittenAreOnlyLogged) {
  // No store bound to the thread: the write fails, the build goes on.
  Net net;
  net.item("R", 1);
  net.item("A", 3, "R");
  net.item("B", 3, "R");
  net.dep("A", "B");
  net.dep("B", "A");
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(net.order().size(), 5u);
  EXPECT_NE(net.log().find("!!! error in Lev_networkTree (doBuildNetTrFromStartNode): returning "
                           "from doUpdateTEMPcircular: errCode = 200208"),
            std::string::npos);
}

TEST(NetworkOrder, AChainThatKeepsStallingGivesUpAfterOneHundredStalls) {
  // 150 pairs of mutually dependent items, each pair leading to the next:
  // every stall cuts one pair.
  Net net;
  net.item("R", 1);
  for (int i = 0; i < 150; ++i) {
    net.item("P" + std::to_string(i), 3, "R");
    net.item("Q" + std::to_string(i), 3, "R");
  }
  for (int i = 0; i < 150; ++i) {
    net.dep("P" + std::to_string(i), "Q" + std::to_string(i));
    net.dep("Q" + std::to_string(i), "P" + std::to_string(i));
    if (i > 0) net.dep("Q" + std::to_string(i - 1), "P" + std::to_string(i));
  }
  net.bracket();
  EXPECT_EQ(net.build(), 200212);
  std::string log = net.log();
  EXPECT_NE(log.find("doBuildNetTrFromStartNode"), std::string::npos);
  EXPECT_NE(log.find("Circular like Dependency has been Detected"), std::string::npos);
  EXPECT_NE(log.find("Unable to cut or resolve.No exeeds 100 pases"), std::string::npos);
  EXPECT_EQ(ll_size(net.ordered()), 0) << "nothing is handed out on failure";
}

TEST(NetworkOrder, AFewCutsAreReportedOnTheFirstStallAndEveryTwentieth) {
  Net net;
  net.item("R", 1);
  for (int i = 0; i < 45; ++i) {
    net.item("P" + std::to_string(i), 3, "R");
    net.item("Q" + std::to_string(i), 3, "R");
    net.dep("P" + std::to_string(i), "Q" + std::to_string(i));
    net.dep("Q" + std::to_string(i), "P" + std::to_string(i));
  }
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(net.order().size(), 93u);
  std::string log = net.log();
  int reports = 0;
  for (size_t at = log.find("Cut long chain"); at != std::string::npos;
       at = log.find("Cut long chain", at + 1)) {
    ++reports;
  }
  EXPECT_EQ(reports, 3) << "stalls 1, 20 and 40 of 45";
}

// ---------------------------------------------------------------------------
// Circularity check

TEST(CircularityCheck, AcyclicNetworkInNetworkOrderIsClean) {
  Net net;
  net.item("R", 1);
  net.item("C", 2, "R");
  net.item("A", 3, "C");
  net.item("B", 3, "C");
  net.item("D", 3, "R");
  net.dep("A", "B");
  net.dep("C", "D");
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(checkForCirculDep(net.ordered(), net.items(), "start", "finish", nullptr), 0);
  EXPECT_EQ(net.find("D")->circul_id, net.find("C")->circul_id + 1);
}

TEST(CircularityCheck, ADependencyLoopThroughAContainerIsReportedAfterFortySweeps) {
  // X lies inside C, and C waits for Y, which waits for X: C's value pushed
  // down to X raises Y, which raises C again, sweep after sweep.
  Net net;
  net.item("R", 1);
  net.item("C", 2, "R");
  net.item("X", 3, "C");
  net.item("Y", 3, "R");
  net.dep("X", "Y");
  net.dep("Y", "C");
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  EXPECT_EQ(checkForCirculDep(net.ordered(), net.items(), "start", "finish", nullptr), 1);
  EXPECT_GE(net.find("C")->circul_id, 39);
}

// ---------------------------------------------------------------------------
// Flags and levels

TEST(NetworkFlags, PrioritiesAreInheritedThroughContainers) {
  Net net;
  net.item("R", 1, "", 600);
  net.item("C", 2, "R", 700);
  net.item("T", 3, "C", 450);
  net.item("U", 3, "R", 100);
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  inherPredSuccNetTreeTopBot(net.roots(), net.ordered(), "start", "finish", nullptr);
  EXPECT_EQ(net.find("R")->priority, 600);
  EXPECT_EQ(net.find("C")->priority, 800);
  EXPECT_EQ(net.find("T")->priority, 750);
  EXPECT_EQ(net.find("U")->priority, 200);
}

TEST(NetworkFlags, DependencyFlagsPassDownFromTheFirstContainerOnAChain) {
  Net net;
  net.item("R", 1);
  net.item("C", 2, "R");
  net.item("D", 2, "C");
  net.item("T", 3, "D");
  net.item("Z", 3, "R");
  net.dep("C", "Z", 1);
  net.bracket();
  ASSERT_EQ(net.build(), 0);
  inherPredSuccNetTreeTopBot(net.roots(), net.ordered(), "start", "finish", nullptr);
  activity_type* c = net.find("C");
  activity_type* d = net.find("D");
  EXPECT_EQ(net.find("R")->onSucc, 0);
  EXPECT_EQ(c->residesOnNonTrivialSucc, 1);
  EXPECT_EQ(c->onSucc, 1);
  EXPECT_EQ(c->depType_back, 1);
  EXPECT_EQ(d->residesOnNonTrivialSucc, 0);
  EXPECT_EQ(d->onSucc, 1) << "inherited from C";
  EXPECT_EQ(d->depType_back, 1);
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
  net.bracket();
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
  activity_type* t = net.item("T", 3, "C");
  activity_type* u = net.item("U", 3, "R");
  r->brunch = 1;
  c->brunch = 1;
  t->hasAssignment = 1;
  u->ignoreHolesInCalendar = 1;
  u->constraint_type = 4;
  inherAssigCountTopBot(net.roots(), net.items(), 1, "finish", nullptr);
  EXPECT_EQ(c->hasAssignment, 1);
  EXPECT_EQ(r->hasAssignment, 1) << "through the branch C";
  EXPECT_EQ(r->ignoreHolesInCalendar, 2) << "a task with constraint 4 asks for 2";
  EXPECT_EQ(c->ignoreHolesInCalendar, 0);

  c->brunch = 0;
  c->hasAssignment = 0;
  r->hasAssignment = 0;
  r->ignoreHolesInCalendar = 0;
  inherAssigCountTopBot(net.roots(), net.items(), 0, "finish", nullptr);
  EXPECT_EQ(c->hasAssignment, 0) << "C is no branch";
  EXPECT_EQ(r->hasAssignment, 0);
  EXPECT_EQ(r->ignoreHolesInCalendar, 0) << "calendar flags pass only with the option";
}

TEST(NetworkFlags, ChildListsAreSortedBySerialNumberShortAndLong) {
  for (int count : {5, 40}) {
    Net net;
    activity_type* r = net.item("R", 1);
    std::vector<activity_type*> kids;
    for (int i = 0; i < count; ++i) kids.push_back(net.item("K" + std::to_string(i), 3, "R"));
    for (int i = 0; i < count; ++i) kids[i]->serial_num = (i * 7919) % 1009;
    ordChiListBySerNumAsc(r, net.items());
    std::vector<std::string> sorted = names(r->child_list);
    ASSERT_EQ(sorted.size(), static_cast<size_t>(count));
    for (size_t i = 1; i < sorted.size(); ++i) {
      EXPECT_LT(net.find(sorted[i - 1])->serial_num, net.find(sorted[i])->serial_num);
    }
  }
}

}  // namespace
