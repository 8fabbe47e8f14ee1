// The list orders, each on a small list whose order is worked out by hand,
// including ties (which keep their present order) and the two-list forms.
#include "network/list_orders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A row of item fields; unnamed fields keep the record's defaults.
struct Row {
  const char* name;
  int type = 3, priority = 500, constraint = 0, key = 0, level = 0, weighted = 0;
};

// The items of the rows (owned) in one list; `key` goes into serial_num,
// comb_index, level_id, task_level_order and proper_order_back alike.
class Rows {
 public:
  explicit Rows(std::initializer_list<Row> rows) {
    for (const Row& r : rows) {
      activity_type* a = activityCreateNew(r.name, static_cast<int16_t>(r.type), nullptr, 0, 0,
                                           480, static_cast<int16_t>(r.constraint), 0);
      setActivityPriority(a, r.priority);
      a->serial_num = a->comb_index = a->task_level_order = a->proper_order_back = r.key;
      a->level_id = static_cast<int16_t>(r.key);
      a->ntw_level_id = r.level;
      a->weighted_delay = r.weighted;
      ll_addtail(list_, a);
    }
  }
  ~Rows() {
    for (linktype* l = list_->phead; l != nullptr; l = l->pnext) {
      activityDelete(static_cast<activity_type*>(l->pcontents));
    }
    ll_delete(list_);
  }
  linked_list_type* list() { return list_; }

 private:
  linked_list_type* list_ = ll_new(activityMatch, getActivityName);
};

std::string order(const linked_list_type* list) {
  std::string out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    out += std::string(out.empty() ? "" : " ") + static_cast<activity_type*>(l->pcontents)->name;
  }
  return out;
}

TEST(ListOrders, PriorityDescendingThenNetworkOrder) {
  Rows r({{"A", 3, 300, 0, 1}, {"B", 3, 700, 0, 9}, {"C", 3, 700, 0, 4}, {"D", 3, 500, 0, 2}});
  ordNodesListPriorDesSerNumAsc(r.list());
  EXPECT_EQ(order(r.list()), "C B D A");
  EXPECT_STREQ(static_cast<activity_type*>(ll_retrieve(r.list()))->name, "C") << "head current";
}

TEST(ListOrders, SingleKeyOrdersKeepTiesInPresentOrder) {
  using Order = void (*)(linked_list_type*);
  for (Order sort : {Order(ordActListByCombIndxIdAsc), Order(ordSubOptimalListByLevelIdAsc),
                     Order(ordRootNodesListProjSerNumAsc)}) {
    Rows r({{"I0", 3, 500, 0, 3}, {"I1", 3, 500, 0, 1}, {"I2", 3, 500, 0, 3},
            {"I3", 3, 500, 0, 2}, {"I4", 3, 500, 0, 1}, {"I5", 3, 500, 0, 0}});
    sort(r.list());
    EXPECT_EQ(order(r.list()), "I5 I1 I4 I3 I0 I2");
  }
}

TEST(ListOrders, TwoListFormsKeepTheNodesAtTheEnds) {
  Rows r({{"start", 0, 500, 0, 99}, {"A", 3, 500, 0, 2}, {"B", 3, 500, 0, 0},
          {"C", 3, 500, 0, 1}, {"finish", 0, 500, 0, -9}});
  static_cast<activity_type*>(r.list()->phead->pnext->pcontents)->proper_order_back = 5;
  linked_list_type* out = ll_new(activityMatch, getActivityName);
  ll_addtail(out, r.list()->phead->pcontents);  // emptied first
  doOrdSerNamesListByTaskLevOrderAsc_2L(r.list(), out);
  EXPECT_EQ(order(out), "start B C A finish");
  doOrdSerNamesListByPropOrdBackAsc_2L(r.list(), out);
  EXPECT_EQ(order(out), "start B C A finish") << "A's proper_order_back is 5";
  EXPECT_EQ(order(r.list()), "start A B C finish") << "the first list stays";
  ll_delete(out);
}

TEST(ListOrders, NetworkLevelsInPresentOrderWithHeldItemsFirst) {
  // No parent in the list: the first key is the network level itself.
  Rows r({{"L2a", 3, 500, 0, 0, 2}, {"L1a", 3, 500, 0, 0, 1}, {"FIX", 3, 500, 4, 0, 3},
          {"L2b", 3, 500, 0, 0, 2}, {"L1b", 3, 500, 6, 0, 1}, {"UP", 3, 500, 7, 0, 1},
          {"L3", 3, 500, 0, 0, 3}});
  ordNodListPresOrdAscNtwLevAsc(r.list(), r.list());
  EXPECT_EQ(order(r.list()), "FIX UP L1a L1b L2a L2b L3");
  EXPECT_EQ(static_cast<activity_type*>(r.list()->ptail->pcontents)->comb_index, 7);
  ordNodListPresOrdAscNtwLevDesc(r.list(), r.list());
  EXPECT_EQ(order(r.list()), "L3 L2b L2a L1b L1a UP FIX");
}

TEST(ListOrders, ParentLevelAndMatchedParentPredecessorsShapeTheFirstKey) {
  Rows r({{"A", 3, 500, 0, 0, 2}, {"B", 3, 500, 0, 0, 2}, {"C", 3, 500, 0, 0, 2},
          {"P", 2, 500, 0, 0, 1}});
  auto item = [&](int i) {
    linktype* l = r.list()->phead;
    while (i-- > 0) l = l->pnext;
    return static_cast<activity_type*>(l->pcontents);
  };
  item(1)->num_match_par_pred = 1;  // 2 + 0 - 1
  setActivityParent(item(2), "P", nullptr);  // 2 + 1
  ordNodListPresOrdAscNtwLevAsc(r.list(), r.list());
  EXPECT_EQ(order(r.list()), "P B A C");
}

TEST(ListOrders, ConstraintClassPriorityAndWeightedDelay) {
  // Keys (priority +1000 held, -1000 ALAP; class) descending, then counters.
  Rows r({{"LOW", 3, 300}, {"ALAP", 3, 900, 1}, {"PLAIN", 3, 500}, {"ZERO", 3, 0},
          {"HIGH", 3, 700}, {"LOWER", 3, 500, 2}, {"FIXED", 3, 500, 4}, {"CONT", 2, 100}});
  ordNodListConsPriDesWeigDelAsc(r.list(), nullptr);
  EXPECT_EQ(order(r.list()), "CONT FIXED HIGH PLAIN LOWER LOW ZERO ALAP");
}

TEST(ListOrders, EqualKeysGoByWeightedDelayWithinACounter) {
  // A opens a counter (largest delay 900); B stays in it; C exceeds 900 and
  // opens the next. By (counter, weighted delay): B, A, then C. An unknown
  // constraint code takes the class of the item before it.
  Rows r({{"A", 3, 500, 0, 0, 0, 900}, {"B", 3, 500, 0, 0, 0, 100}, {"C", 3, 500, 0, 0, 0, 2000}});
  ordNodListConsPriDesWeigDelAsc(r.list(), nullptr);
  EXPECT_EQ(order(r.list()), "B A C");
  Rows odd({{"LOWER", 3, 500, 6}, {"ODD", 3, 500, 9}, {"PLAIN"}});
  ordNodListConsPriDesWeigDelAsc(odd.list(), nullptr);
  EXPECT_EQ(order(odd.list()), "PLAIN LOWER ODD");
}

}  // namespace
