// Random acyclic networks with containers: the ordered network list holds
// every item once, begins with the start node and ends with the finish
// node, and puts every item after its non-external predecessors and every
// container after its children. The circularity check finds nothing on them,
// at 4,000 items and more, and finds the one cycle planted into them.
//
// Acyclic through the tree as well: every item gets a span of "time" (a
// leaf one step of a depth-first walk, a container the span of its leaves),
// and a dependency P -> X is drawn only when P's span ends before X's
// begins. So no dependency joins an item to its own container, and no
// container waits, through its predecessors, for its own children.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "model/activity.h"
#include "model/dependency.h"
#include "model/serial_names.h"
#include "network/network_construction.h"

namespace {

struct RandomNetwork {
  linked_list_type* items = ll_new(activityMatch, getActivityName);
  linked_list_type* ordered = ll_new(activityMatch, getActivityName);
  std::vector<activity_type*> all;  // without the nodes

  RandomNetwork(unsigned seed, int n, int perContainer, int maxPreds) {
    std::mt19937 rng(seed);
    // The tree, breadth first: containers get up to perContainer children.
    std::vector<int> parent{-1};
    std::vector<std::vector<int>> children(1);
    for (size_t next = 0; static_cast<int>(parent.size()) < n; ++next) {
      const int kids = 1 + static_cast<int>(rng() % perContainer);
      for (int k = 0; k < kids && static_cast<int>(parent.size()) < n; ++k) {
        children[next].push_back(static_cast<int>(parent.size()));
        parent.push_back(static_cast<int>(next));
        children.emplace_back();
      }
    }
    // Spans from a depth-first walk.
    std::vector<int> first(n), last(n), depth(n, 1);  // spans and WBS levels
    int clock = 0;
    std::vector<std::pair<int, size_t>> stack{{0, 0}};
    while (!stack.empty()) {
      auto& [x, k] = stack.back();
      if (k == 0) first[x] = clock;
      if (children[x].empty()) {
        last[x] = clock++;
        stack.pop_back();
      } else if (k < children[x].size()) {
        const int c = children[x][k++];
        depth[c] = depth[x] + 1;
        stack.push_back({c, 0});
      } else {
        last[x] = clock - 1;
        stack.pop_back();
      }
    }
    for (int i = 0; i < n; ++i) {
      const int16_t type = i == 0 ? 1 : children[i].empty() ? 3 : 2;
      activity_type* a =
          activityCreateNew(("I" + std::to_string(i)).c_str(), type, nullptr, 0, 0, 480, 0, 0);
      a->level_id = static_cast<int16_t>(depth[i]);
      a->brunch = static_cast<int32_t>(rng() % 2);
      all.push_back(a);
    }
    for (int i = 1; i < n; ++i) {
      setActivityParent(all[i], all[parent[i]]->name, nullptr);
      setActivityChild(all[parent[i]], all[i]->name, nullptr);
    }
    // Items sorted by the end of their span, to draw predecessors from.
    std::vector<int> byLast(n);
    for (int i = 0; i < n; ++i) byLast[i] = i;
    std::sort(byLast.begin(), byLast.end(), [&](int a, int b) { return last[a] < last[b]; });
    for (int x = 1; x < n; ++x) {
      const int wanted = static_cast<int>(rng() % (maxPreds + 1));
      // Candidates: the items whose span ends before x's begins.
      const int limit = static_cast<int>(
          std::lower_bound(byLast.begin(), byLast.end(), first[x],
                           [&](int i, int f) { return last[i] < f; }) -
          byLast.begin());
      for (int k = 0; k < wanted && limit > 0; ++k) {
        // Mostly near predecessors, sometimes far ones.
        const int span = rng() % 4 == 0 ? limit : std::min(limit, 12);
        const int p = byLast[limit - 1 - static_cast<int>(rng() % span)];
        const int16_t type = static_cast<int16_t>(rng() % 4);
        if (activityCreatePred(all[x], all[p]->name, type, 0, 0, nullptr) != nullptr) {
          activityCreateSucc(all[p], all[x]->name, type, 0, 0, nullptr);
        }
      }
    }
    // The item list in a shuffled order, as several loads would leave it.
    std::vector<activity_type*> listed = all;
    std::shuffle(listed.begin() + 1, listed.end(), rng);
    for (activity_type* a : listed) ll_addtail(items, a);
    doCreaStartFinishNodesForNtw(items, 1, "start", "finish");
    std::vector<char*> names(static_cast<size_t>(ll_size(items)));
    doCreateNameListForActivities(items, names.data(), 33);
    EXPECT_EQ(doCreateChildrenInNetworkTree(items, names.data(), 1, 0, nullptr, 200171), 0);
    doCreateDepPred(items, nullptr, names.data(), 1, nullptr);
    doDeleteNameListForActivities(names.data(), static_cast<int32_t>(names.size()));
  }
  ~RandomNetwork() {
    for (linktype* l = items->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(items);
    ll_delete(ordered);
  }
  RandomNetwork(const RandomNetwork&) = delete;
  RandomNetwork& operator=(const RandomNetwork&) = delete;
};

void expectValidOrder(RandomNetwork& net, unsigned seed) {
  std::map<std::string, int> at;
  for (linktype* l = net.ordered->phead; l != nullptr; l = l->pnext) {
    auto* a = static_cast<activity_type*>(l->pcontents);
    EXPECT_EQ(a->serial_num, static_cast<int>(at.size()));
    ASSERT_TRUE(at.emplace(a->name, static_cast<int>(at.size())).second) << a->name << " twice";
  }
  ASSERT_EQ(at.size(), net.all.size() + 2) << "seed " << seed;
  EXPECT_EQ(at["start"], 0);
  EXPECT_EQ(at["finish"], static_cast<int>(at.size()) - 1);
  int violations = 0;
  for (activity_type* a : net.all) {
    for (linktype* l = a->pred_list->phead; l != nullptr; l = l->pnext) {
      auto* d = static_cast<dependency_type*>(l->pcontents);
      violations += d->isExternal == 0 && at.at(d->name) >= at.at(a->name);
    }
    for (linktype* l = a->child_list->phead; l != nullptr; l = l->pnext) {
      const std::string c = static_cast<string_type*>(l->pcontents)->str;
      violations += c != "finish" && at.at(c) >= at.at(a->name);
    }
  }
  EXPECT_EQ(violations, 0) << "seed " << seed;
}

// Mid-sized networks; wide and deep trees; and networks large enough for
// the ordered insertion to meet leaves and containers waiting for each
// other (seed 254 among them).
TEST(NetworkOrderProperty, RandomAcyclicNetworksWithContainersAreOrdered) {
  struct Batch {
    unsigned from, to;
    int perContainer, sizes;  // sizes 0: 300 items each
  };
  for (Batch b : {Batch{1, 41, 4, 400}, Batch{100, 106, 1, 0}, Batch{100, 106, 2, 0},
                  Batch{100, 106, 12, 0}, Batch{250, 258, 4, 3000}}) {
    for (unsigned seed = b.from; seed < b.to; ++seed) {
      const int n = b.sizes ? 20 + static_cast<int>(seed * 7919 % b.sizes) : 300;
      RandomNetwork net(seed, n, b.perContainer, 3);
      ASSERT_EQ(doBuildNetTrFromStartNode(net.items, net.ordered, 1, 1, 0, nullptr), 0)
          << "seed " << seed << " per container " << b.perContainer;
      expectValidOrder(net, seed);
    }
  }
}

// Large acyclic networks are clean; one dependency from an item to an item
// whose span ends before its own begins closes a cycle and is reported.
TEST(CircularityCheckProperty, LargeRandomAcyclicNetworksAreCleanAndOneBackLinkIsFound) {
  for (unsigned seed = 300; seed < 304; ++seed) {
    const int n = 4000 + static_cast<int>(seed % 4) * 700;
    RandomNetwork net(seed, n, seed % 2 ? 3 : 6, 3);
    ASSERT_EQ(doBuildNetTrFromStartNode(net.items, net.ordered, 1, 1, 0, nullptr), 0);
    EXPECT_EQ(checkForCirculDep(net.ordered, net.items, "start", "finish", nullptr), 0)
        << "seed " << seed;
    // Plant a cycle: a task with a predecessor gets that predecessor as
    // successor too (the dependency lists are made on both sides).
    activity_type* x = nullptr;
    std::string p;
    for (activity_type* a : net.all) {
      for (linktype* l = a->pred_list->phead; l != nullptr && x == nullptr; l = l->pnext) {
        const std::string name = static_cast<dependency_type*>(l->pcontents)->name;
        if (name != "start") x = a, p = name;
      }
      if (x != nullptr) break;
    }
    ASSERT_NE(x, nullptr);
    activityCreateSucc(x, p.c_str(), 1, 0, 0, nullptr);
    activityCreatePred(static_cast<activity_type*>(ll_extract(net.items, p.c_str())), x->name, 1,
                       0, 0, nullptr);
    EXPECT_EQ(checkForCirculDep(net.ordered, net.items, "start", "finish", nullptr), 1)
        << "seed " << seed;
  }
}

}  // namespace
