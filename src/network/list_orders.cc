// The list orders (see list_orders.h). Each takes the list's items into an
// array, computes the keys, sorts keys and items together with the stable
// merge sort of the sorting unit, and writes the items back into the list's
// own links.
#include "network/list_orders.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

#include "model/sorting.h"
#include "network/network_lookup.h"

using network_detail::ActivityIndex;
using network_detail::firstParentName;
using network_detail::forEachIn;

namespace {

using Items = std::vector<activity_type*>;
using Keys = std::vector<int32_t>;

Items itemsOf(const linked_list_type* list) {
  Items items;
  items.reserve(static_cast<size_t>(ll_size(list)));
  forEachIn<activity_type>(list, [&](activity_type* a) { items.push_back(a); });
  return items;
}

// The sort routines carry byte-string pointers beside the keys and never
// look at them; here they carry the item records.
std::vector<char*> carried(const Items& items) {
  std::vector<char*> out(items.size());
  for (size_t i = 0; i < items.size(); ++i) out[i] = reinterpret_cast<char*>(items[i]);
  return out;
}
void takeBack(const std::vector<char*>& moved, Items& items) {
  for (size_t i = 0; i < items.size(); ++i) items[i] = reinterpret_cast<activity_type*>(moved[i]);
}

// Stable sort of items[first..last] by one ascending key.
void sortByKey(Items& items, Keys& key, size_t first, size_t last) {
  if (last <= first || last >= items.size()) return;
  std::vector<char*> moved = carried(items);
  doSyncCombQuickSortOfIntCharArrays(key.data(), moved.data(), swapFunctAscOrder,
                                     static_cast<int32_t>(first), static_cast<int32_t>(last));
  takeBack(moved, items);
}

// Stable sort of all items by two keys with the given two-key comparator.
void sortByTwoKeys(Items& items, Keys& key1, Keys& key2, two_key_cmp_fn cmp) {
  if (items.size() < 2) return;
  std::vector<char*> moved = carried(items);
  doSyncCombQuickSortOfIntIntCharArrays(key1.data(), key2.data(), moved.data(), cmp, 0,
                                        static_cast<int32_t>(items.size()) - 1);
  takeBack(moved, items);
}

// Writes the items back into the list's links, in order.
void rewrite(linked_list_type* list, const Items& items) {
  if (ll_size(list) == 0) return;
  ll_head(list);
  for (activity_type* a : items) {
    if (ll_retrieve(list) != a) ll_replace(list, a);
    ll_next(list);
  }
  ll_head(list);
}

template <class KeyOf>
void orderBy(linked_list_type* list, KeyOf keyOf) {
  Items items = itemsOf(list);
  Keys key(items.size());
  for (size_t i = 0; i < items.size(); ++i) key[i] = keyOf(items[i]);
  if (!items.empty()) sortByKey(items, key, 0, items.size() - 1);
  rewrite(list, items);
}

template <class KeyOf>
void orderInnerInto(linked_list_type* list, linked_list_type* list_2, KeyOf keyOf) {
  Items items = itemsOf(list);
  ll_removeAll(list_2);
  if (items.size() >= 3) {
    Keys key(items.size(), 0);
    for (size_t i = 1; i + 1 < items.size(); ++i) key[i] = keyOf(items[i]);
    sortByKey(items, key, 1, items.size() - 2);
  }
  for (activity_type* a : items) ll_addtail(list_2, a);
  if (ll_size(list_2) > 0) ll_head(list_2);
}

bool upperOrFixed(int16_t constraint) {
  return constraint == 3 || constraint == 4 || constraint == 5 || constraint == 7;
}

// The present-order / network-level order of the items, ascending.
void presentOrderByNetworkLevel(Items& items, linked_list_type* act_tmp_list) {
  const size_t n = items.size();
  ActivityIndex index(act_tmp_list);
  Keys first(n), level(n);
  for (size_t i = 0; i < n; ++i) {
    activity_type* a = items[i];
    a->comb_index = static_cast<int32_t>(i) + 1;
    const activity_type* parent = index.find(firstParentName(a));
    const int32_t parentLevel = parent == nullptr ? 0 : parent->ntw_level_id;
    first[i] = a->ntw_level_id + parentLevel - a->num_match_par_pred;
    level[i] = a->ntw_level_id;
  }
  sortByTwoKeys(items, first, level, twoDimSwapFunctFirstParamAscAndSecondAscOrder);

  Keys group(n), present(n);
  int32_t counter = 0;
  for (size_t i = 0; i < n; ++i) {
    if (i == 0 || level[i] != level[i - 1] || first[i] != first[i - 1]) ++counter;
    group[i] = upperOrFixed(items[i]->constraint_type) ? 0 : counter;
    present[i] = items[i]->comb_index;
  }
  sortByTwoKeys(items, group, present, twoDimSwapFunctFirstParamAscAndSecondAscOrder);
}

}  // namespace

void ordNodesListPriorDesSerNumAsc(linked_list_type* list) {
  Items items = itemsOf(list);
  Keys priority(items.size()), serial(items.size());
  for (size_t i = 0; i < items.size(); ++i) {
    priority[i] = 500 - items[i]->priority;
    serial[i] = items[i]->serial_num;
  }
  sortByTwoKeys(items, priority, serial, twoDimSwapFunctFirstParamAscAndSecondAscOrder);
  rewrite(list, items);
}

void ordRootNodesListProjSerNumAsc(linked_list_type* list) {
  orderBy(list, [](const activity_type* a) { return a->serial_num; });
}

void ordSubOptimalListByLevelIdAsc(linked_list_type* list) {
  orderBy(list, [](const activity_type* a) { return static_cast<int32_t>(a->level_id); });
}

void ordActListByCombIndxIdAsc(linked_list_type* list) {
  orderBy(list, [](const activity_type* a) { return a->comb_index; });
}

void doOrdSerNamesListByTaskLevOrderAsc_2L(linked_list_type* list, linked_list_type* list_2) {
  orderInnerInto(list, list_2, [](const activity_type* a) { return a->task_level_order; });
}

void doOrdSerNamesListByPropOrdBackAsc_2L(linked_list_type* list, linked_list_type* list_2) {
  orderInnerInto(list, list_2, [](const activity_type* a) { return a->proper_order_back; });
}

void ordNodListPresOrdAscNtwLevAsc(linked_list_type* list, linked_list_type* act_tmp_list) {
  Items items = itemsOf(list);
  presentOrderByNetworkLevel(items, act_tmp_list);
  rewrite(list, items);
}

void ordNodListPresOrdAscNtwLevDesc(linked_list_type* list, linked_list_type* act_tmp_list) {
  Items items = itemsOf(list);
  presentOrderByNetworkLevel(items, act_tmp_list);
  std::reverse(items.begin(), items.end());
  rewrite(list, items);
}

void ordNodListConsPriDesWeigDelAsc(linked_list_type* list, linked_list_type* act_tmp_list) {
  (void)act_tmp_list;
  Items items = itemsOf(list);
  const size_t n = items.size();

  // (1) Priority with the constraint's weight, and the constraint class.
  Keys key(n), cls(n);
  int32_t previousClass = 2;
  for (size_t i = 0; i < n; ++i) {
    const int16_t c = items[i]->constraint_type;
    key[i] = items[i]->priority + (upperOrFixed(c) ? 1000 : c == 1 ? -1000 : 0);
    if (c == 0 || upperOrFixed(c)) {
      cls[i] = 2;
    } else if (c == 2 || c == 6) {
      cls[i] = 1;
    } else if (c == 1) {
      cls[i] = 0;
    } else {
      cls[i] = previousClass;
    }
    previousClass = cls[i];
  }
  sortByTwoKeys(items, key, cls, twoDimSwapFunctFirstParamDescAndSecondDescOrder);

  // (2) Counter values.
  Keys counter(n), delay(n);
  int32_t count = 0;
  int64_t smallestKey = INT64_MAX, smallestClass = INT64_MAX;
  int32_t largestDelay = INT32_MIN;
  bool firstLowering = true;
  for (size_t i = 0; i < n; ++i) {
    const activity_type* a = items[i];
    delay[i] = a->weighted_delay;
    if (a->type != 3) {
      counter[i] = ++count;
    } else if (key[i] >= smallestKey && cls[i] >= smallestClass) {
      if (a->weighted_delay > largestDelay) {
        largestDelay = a->weighted_delay;
        ++count;
      }
      counter[i] = count;
    } else {
      smallestKey = std::min<int64_t>(smallestKey, key[i]);
      smallestClass = std::min<int64_t>(smallestClass, cls[i]);
      counter[i] = ++count;
      if (firstLowering) largestDelay = a->weighted_delay;
      firstLowering = false;
    }
  }

  // (3) By (counter, weighted delay); non-tasks ahead of tasks.
  sortByTwoKeys(items, counter, delay, twoDimSwapFunctFirstParamAscAndSecondAscOrder);
  std::stable_partition(items.begin(), items.end(),
                        [](const activity_type* a) { return a->type != 3; });
  rewrite(list, items);
}
