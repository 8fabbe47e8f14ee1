// The list orders: each on a small list whose expected order is worked out
// by hand, plus stability on ties and the two-list forms.
#include "network/list_orders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/activity.h"

namespace {

// Items owned by the test, and lists over them.
class Pool {
 public:
  ~Pool() {
    for (activity_type* a : items_) activityDelete(a);
    for (linked_list_type* l : lists_) ll_delete(l);
  }
  activity_type* item(const std::string& name, int16_t type = 3) {
    items_.push_back(activityCreateNew(name.c_str(), type, nullptr, 0, 0, 480, 0, 0));
    return items_.back();
  }
  linked_list_type* list(const std::vector<activity_type*>& members) {
    lists_.push_back(ll_new(activityMatch, getActivityName));
    for (activity_type* a : members) ll_addtail(lists_.back(), a);
    return lists_.back();
  }

 private:
  std::vector<activity_type*> items_;
  std::vector<linked_list_type*> lists_;
};

std::vector<std::string> order(const linked_list_type* list) {
  std::vector<std::string> out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    out.push_back(static_cast<activity_type*>(l->pcontents)->name);
  }
  return out;
}
using Names = std::vector<std::string>;

TEST(ListOrders, PriorityDescendingThenNetworkOrder) {
  Pool p;
  activity_type* a = p.item("A");
  activity_type* b = p.item("B");
  activity_type* c = p.item("C");
  activity_type* d = p.item("D");
  setActivityPriority(a, 300);
  setActivityPriority(b, 700);
  setActivityPriority(c, 700);
  setActivityPriority(d, 500);
  a->serial_num = 1;
  b->serial_num = 9;
  c->serial_num = 4;
  d->serial_num = 2;
  linked_list_type* l = p.list({a, b, c, d});
  ordNodesListPriorDesSerNumAsc(l);
  EXPECT_EQ(order(l), (Names{"C", "B", "D", "A"}));
  EXPECT_EQ(ll_retrieve(l), c) << "the head is current";
}

TEST(ListOrders, SingleKeyOrdersKeepTiesInPresentOrder) {
  Pool p;
  std::vector<activity_type*> items;
  const int keys[] = {3, 1, 3, 2, 1, 0};
  for (int i = 0; i < 6; ++i) {
    items.push_back(p.item("I" + std::to_string(i)));
    items.back()->comb_index = keys[i];
    items.back()->level_id = static_cast<int16_t>(keys[i]);
    items.back()->serial_num = keys[i];
  }
  const Names expected{"I5", "I1", "I4", "I3", "I0", "I2"};
  linked_list_type* byComb = p.list(items);
  ordActListByCombIndxIdAsc(byComb);
  EXPECT_EQ(order(byComb), expected);
  linked_list_type* byLevel = p.list(items);
  ordSubOptimalListByLevelIdAsc(byLevel);
  EXPECT_EQ(order(byLevel), expected);
  linked_list_type* bySerial = p.list(items);
  ordRootNodesListProjSerNumAsc(bySerial);
  EXPECT_EQ(order(bySerial), expected);
  linked_list_type* empty = p.list({});
  ordActListByCombIndxIdAsc(empty);
  EXPECT_EQ(ll_size(empty), 0);
}

TEST(ListOrders, TwoListFormsKeepTheNodesAtTheEnds) {
  Pool p;
  activity_type* start = p.item("start", 0);
  activity_type* finish = p.item("finish", 0);
  activity_type* a = p.item("A");
  activity_type* b = p.item("B");
  activity_type* c = p.item("C");
  start->task_level_order = 99;  // never compared
  finish->task_level_order = -9;
  a->task_level_order = 2;
  b->task_level_order = 0;
  c->task_level_order = 1;
  a->proper_order_back = 1;
  b->proper_order_back = 3;
  c->proper_order_back = 2;
  linked_list_type* l = p.list({start, a, b, c, finish});
  linked_list_type* out = p.list({c});  // emptied first
  doOrdSerNamesListByTaskLevOrderAsc_2L(l, out);
  EXPECT_EQ(order(out), (Names{"start", "B", "C", "A", "finish"}));
  doOrdSerNamesListByPropOrdBackAsc_2L(l, out);
  EXPECT_EQ(order(out), (Names{"start", "A", "C", "B", "finish"}));
  EXPECT_EQ(order(l), (Names{"start", "A", "B", "C", "finish"})) << "the first list stays";
}

TEST(ListOrders, NetworkLevelsInPresentOrderWithHeldItemsFirst) {
  Pool p;
  activity_type* parent = p.item("P", 2);
  parent->ntw_level_id = 1;
  linked_list_type* all = p.list({parent});
  // name, ntw_level_id, constraint
  struct Row {
    const char* name;
    int level;
    int16_t constraint;
  };
  const Row rows[] = {{"L2a", 2, 0}, {"L1a", 1, 0}, {"FIX", 3, 4}, {"L2b", 2, 0},
                      {"L1b", 1, 6}, {"UP", 1, 7},  {"L3", 3, 0}};
  std::vector<activity_type*> members;
  for (const Row& r : rows) {
    activity_type* a = p.item(r.name);
    a->ntw_level_id = r.level;
    a->constraint_type = r.constraint;
    setActivityParent(a, "P", nullptr);
    ll_addtail(all, a);
    members.push_back(a);
  }
  linked_list_type* l = p.list(members);
  ordNodListPresOrdAscNtwLevAsc(l, all);
  EXPECT_EQ(order(l), (Names{"FIX", "UP", "L1a", "L1b", "L2a", "L2b", "L3"}));
  EXPECT_EQ(members[0]->comb_index, 1);
  EXPECT_EQ(members[6]->comb_index, 7);

  linked_list_type* r = p.list(members);
  ordNodListPresOrdAscNtwLevDesc(r, all);
  EXPECT_EQ(order(r), (Names{"L3", "L2b", "L2a", "L1b", "L1a", "UP", "FIX"}));
}

TEST(ListOrders, MatchedParentPredecessorsLowerTheFirstKey) {
  Pool p;
  activity_type* a = p.item("A");
  activity_type* b = p.item("B");
  a->ntw_level_id = 2;
  b->ntw_level_id = 2;
  b->num_match_par_pred = 1;  // first key 1 against A's 2
  linked_list_type* l = p.list({a, b});
  ordNodListPresOrdAscNtwLevAsc(l, l);
  EXPECT_EQ(order(l), (Names{"B", "A"}));
}

TEST(ListOrders, ConstraintClassPriorityAndWeightedDelay) {
  Pool p;
  activity_type* high = p.item("HIGH");
  setActivityPriority(high, 700);
  activity_type* low = p.item("LOW");
  setActivityPriority(low, 300);
  activity_type* alap = p.item("ALAP");
  setActivityPriority(alap, 900);
  alap->constraint_type = 1;
  activity_type* zero = p.item("ZERO");
  setActivityPriority(zero, 0);
  activity_type* fixed = p.item("FIXED");
  fixed->constraint_type = 4;
  activity_type* plain = p.item("PLAIN");
  activity_type* lower = p.item("LOWER");  // constraint 2, class 1
  lower->constraint_type = 2;
  activity_type* container = p.item("CONT", 2);
  setActivityPriority(container, 100);
  linked_list_type* l = p.list({low, alap, plain, zero, high, lower, fixed, container});
  ordNodListConsPriDesWeigDelAsc(l, nullptr);
  EXPECT_EQ(order(l),
            (Names{"CONT", "FIXED", "HIGH", "PLAIN", "LOWER", "LOW", "ZERO", "ALAP"}));
}

TEST(ListOrders, EqualPriorityTasksGoBySmallerWeightedDelay) {
  Pool p;
  activity_type* a = p.item("A");
  activity_type* b = p.item("B");
  activity_type* c = p.item("C");
  a->weighted_delay = 900;
  b->weighted_delay = 100;
  c->weighted_delay = 2000;
  linked_list_type* l = p.list({a, b, c});
  ordNodListConsPriDesWeigDelAsc(l, nullptr);
  // A opens counter 1 (largest 900); B stays in it; C exceeds 900 and opens
  // counter 2. By (counter, weighted delay): B, A, then C.
  EXPECT_EQ(order(l), (Names{"B", "A", "C"}));
}

TEST(ListOrders, UnknownConstraintCodeTakesThePreviousItemsClass) {
  Pool p;
  activity_type* lower = p.item("LOWER");
  lower->constraint_type = 6;  // class 1
  activity_type* odd = p.item("ODD");
  odd->constraint_type = 9;  // class of LOWER
  activity_type* plain = p.item("PLAIN");
  linked_list_type* l = p.list({lower, odd, plain});
  ordNodListConsPriDesWeigDelAsc(l, nullptr);
  EXPECT_EQ(order(l), (Names{"PLAIN", "LOWER", "ODD"}));
}

}  // namespace
