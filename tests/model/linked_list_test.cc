// The list container against a plain reference (a vector and a current
// index), the current-position rules, the KeepLooping scans and the name
// index with its start and finish nodes.
#include "model/linked_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "model/serial_names.h"

namespace {

int intMatch(void* element, const void* key) {
  return *static_cast<int*>(element) == *static_cast<const int*>(key) ? 1 : 0;
}

std::vector<void*> contents(linked_list_type* list) {
  std::vector<void*> out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) out.push_back(l->pcontents);
  // The backward chain must agree with the forward one.
  std::vector<void*> back;
  for (linktype* l = list->ptail; l != nullptr; l = l->pprevious) back.push_back(l->pcontents);
  std::reverse(back.begin(), back.end());
  EXPECT_EQ(out, back);
  return out;
}

int currentIndex(linked_list_type* list) {
  int i = 0;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext, ++i)
    if (l == list->pcl) return i;
  return -1;
}

// Plain model of the list: elements and the index of the current one.
struct Reference {
  std::vector<void*> v;
  int cur = -1;
  void add(int at, void* e) {
    v.insert(v.begin() + at, e);
    cur = at;
  }
  void remove() {
    if (v.empty()) return;
    v.erase(v.begin() + cur);
    if (v.empty()) cur = -1;
    else if (cur == static_cast<int>(v.size())) cur--;
  }
  // Index of the first match scanning from `from` round the list.
  int roundFind(int from, int key, bool currentLast) const {
    int n = static_cast<int>(v.size());
    for (int k = 0; k < n; ++k) {
      int i = currentLast ? (from + 1 + k) % n : (from + k) % n;
      if (*static_cast<int*>(v[i]) == key) return i;
    }
    return -1;
  }
  int firstFind(int key) const {
    for (size_t i = 0; i < v.size(); ++i)
      if (*static_cast<int*>(v[i]) == key) return static_cast<int>(i);
    return -1;
  }
};

std::vector<string_type*> makeNames(const std::vector<std::string>& names) {
  std::vector<string_type*> out;
  for (const std::string& n : names) out.push_back(stringCreateNew(n.c_str()));
  return out;
}

void freeNames(std::vector<string_type*>& names) {
  for (string_type* s : names) stringDelete(s);
  names.clear();
}

}  // namespace

TEST(LinkedList, RandomOperationsMatchReference) {
  std::mt19937 rng(12345);
  std::vector<int> pool(40);
  for (int i = 0; i < 40; ++i) pool[i] = i % 13;  // repeated keys on purpose
  for (int round = 0; round < 20; ++round) {
    linked_list_type* list = ll_new(intMatch, nullptr);
    Reference ref;
    for (int step = 0; step < 600; ++step) {
      void* e = &pool[rng() % pool.size()];
      int key = static_cast<int>(rng() % 15);
      int n = static_cast<int>(ref.v.size());
      switch (rng() % 17) {
        case 0: ll_addhead(list, e); ref.add(0, e); break;
        case 1: ll_addtail(list, e); ref.add(n, e); break;
        case 2: ll_insertBefore(list, e); ref.add(n == 0 ? 0 : ref.cur, e); break;
        case 3: ll_insertAfter(list, e); ref.add(n == 0 ? 0 : ref.cur + 1, e); break;
        case 4: ll_remove(list); ref.remove(); break;
        case 5:
          if (n > 0) {
            ll_replace(list, e);
            ref.v[ref.cur] = e;
          }
          break;
        case 6:
          if (n > 0) {
            ll_promote(list);
            void* p = ref.v[ref.cur];
            ref.v.erase(ref.v.begin() + ref.cur);
            ref.v.insert(ref.v.begin(), p);
            ref.cur = 0;
          }
          break;
        case 7: ll_head(list); ref.cur = n ? 0 : -1; break;
        case 8: ll_tail(list); ref.cur = n - 1; break;
        case 9:
          ll_next(list);
          if (n && ref.cur < n - 1) ref.cur++;
          break;
        case 10:
          ll_previous(list);
          if (n && ref.cur > 0) ref.cur--;
          break;
        case 11: {
          EXPECT_EQ(ll_find(list, &key), ref.firstFind(key) >= 0 ? 1 : 0);
          void* x = ll_extract(list, &key);
          int i = ref.firstFind(key);
          EXPECT_EQ(x, i >= 0 ? ref.v[i] : nullptr);
          break;
        }
        case 12: {
          int i = ref.firstFind(key);
          EXPECT_EQ(ll_locate(list, &key), i >= 0 ? 1 : 0);
          if (i >= 0) ref.cur = i;
          break;
        }
        case 13: {
          int i = n ? ref.roundFind(ref.cur, key, false) : -1;
          EXPECT_EQ(ll_findKeepLooping(list, &key), i >= 0 ? 1 : 0);
          if (i >= 0) ref.cur = i;
          break;
        }
        case 14: {
          int i = n ? ref.roundFind(ref.cur, key, true) : -1;
          EXPECT_EQ(ll_locateKeepLooping(list, &key), i >= 0 ? 1 : 0);
          if (i >= 0) ref.cur = i;
          break;
        }
        case 15: {
          int i = n ? ref.roundFind(ref.cur, key, false) : -1;
          EXPECT_EQ(ll_extractKeepLooping(list, &key), i >= 0 ? ref.v[i] : nullptr);
          if (i >= 0) ref.cur = i;
          break;
        }
        case 16:
          if (rng() % 20 == 0) {
            ll_removeAll(list);
            ref.v.clear();
            ref.cur = -1;
          }
          break;
      }
      ASSERT_EQ(contents(list), ref.v) << "step " << step;
      ASSERT_EQ(ll_size(list), static_cast<int>(ref.v.size()));
      ASSERT_EQ(currentIndex(list), ref.cur) << "step " << step;
      if (!ref.v.empty()) {
        ASSERT_EQ(ll_retrieve(list), ref.v[ref.cur]);
      }
    }
    ll_delete(list);
  }
}

TEST(LinkedList, CurrentPositionAtTheEnds) {
  int a = 1, b = 2, c = 3;
  linked_list_type* list = ll_new(intMatch, nullptr);
  EXPECT_TRUE(ll_ishead(list) && ll_istail(list));  // empty: both head and tail

  ll_insertAfter(list, &b);                          // empty list: just adds
  ll_insertBefore(list, &a);                         // on the head: addhead
  ll_tail(list);
  ll_insertAfter(list, &c);                          // on the tail: addtail
  EXPECT_EQ(contents(list), (std::vector<void*>{&a, &b, &c}));
  EXPECT_EQ(list->lastOperStatus, 2);

  // A walk of size steps from the head visits each once and stays on the tail.
  ll_head(list);
  std::vector<void*> seen;
  for (int i = 0; i < ll_size(list); ++i) {
    seen.push_back(ll_retrieve(list));
    ll_next(list);
  }
  EXPECT_EQ(seen, contents(list));
  EXPECT_TRUE(ll_istail(list));
  ll_head(list);
  ll_previous(list);
  EXPECT_TRUE(ll_ishead(list));

  // Removing the tail makes its predecessor current; another removal the successor.
  ll_tail(list);
  ll_remove(list);
  EXPECT_EQ(ll_retrieve(list), &b);
  EXPECT_EQ(list->lastOperStatus, 1);
  ll_head(list);
  ll_remove(list);
  EXPECT_EQ(ll_retrieve(list), &b);
  ll_remove(list);
  EXPECT_EQ(ll_size(list), 0);
  EXPECT_EQ(list->phead, nullptr);
  EXPECT_EQ(list->ptail, nullptr);
  EXPECT_EQ(list->pcl, nullptr);
  ll_remove(list);  // nothing happens on an empty list
  EXPECT_EQ(ll_find(list, &a), 0);
  EXPECT_EQ(ll_extractKeepLooping(list, &a), nullptr);

  // Promoting the head changes nothing, not even the status.
  ll_addtail(list, &a);
  ll_addtail(list, &b);
  ll_head(list);
  ll_find(list, &b);
  list->lastOperStatus = 0;
  ll_promote(list);
  EXPECT_EQ(list->lastOperStatus, 0);
  ll_delete(list);
}

TEST(LinkedList, KeepLoopingScansStartWhereTheLastEnded) {
  int v[5] = {7, 8, 9, 8, 7};
  linked_list_type* list = ll_new(intMatch, nullptr);
  for (int& x : v) ll_addtail(list, &x);
  // The current element is the only 9: find tests it first, locate last.
  ll_head(list);
  ll_next(list);
  ll_next(list);
  int nine = 9;
  EXPECT_EQ(ll_findKeepLooping(list, &nine), 1);
  EXPECT_EQ(ll_retrieve(list), &v[2]);
  EXPECT_EQ(ll_locateKeepLooping(list, &nine), 1);
  EXPECT_EQ(ll_retrieve(list), &v[2]);
  // Successive locates walk round the list from match to match.
  int eight = 8;
  EXPECT_EQ(ll_locateKeepLooping(list, &eight), 1);
  EXPECT_EQ(ll_retrieve(list), &v[3]);
  EXPECT_EQ(ll_locateKeepLooping(list, &eight), 1);
  EXPECT_EQ(ll_retrieve(list), &v[1]);
  // Not found: back on the starting element.
  int none = 4;
  EXPECT_EQ(ll_locateKeepLooping(list, &none), 0);
  EXPECT_EQ(ll_retrieve(list), &v[1]);
  ll_delete(list);
}

TEST(LinkedList, IndexIsBuiltOnlyForLongListsOrAfterInsertion) {
  std::vector<std::string> names;
  for (int i = 0; i < 31; ++i) names.push_back("n" + std::to_string(100 + i));
  std::vector<string_type*> recs = makeNames(names);

  linked_list_type* list = ll_new(stringMatch, getStringValue);
  for (string_type* s : recs) ll_addtail(list, s);
  ll_createIndexArray(list, "start", "finish");
  EXPECT_EQ(list->indexed, 1);  // 31 elements, last change an insertion
  EXPECT_EQ(list->index_arr_len, 31);
  ll_delete(list);

  list = ll_new(stringMatch, getStringValue);
  for (string_type* s : recs) ll_addtail(list, s);
  ll_addtail(list, recs[0]);
  ll_tail(list);
  ll_remove(list);  // 31 elements again, last change a removal
  ll_createIndexArray(list, "start", "finish");
  EXPECT_EQ(list->indexed, 0);
  ll_delete(list);

  // A list without a name callback is never indexed.
  list = ll_new(stringMatch, nullptr);
  for (string_type* s : recs) ll_addtail(list, s);
  ll_createIndexArray(list, "start", "finish");
  EXPECT_EQ(list->indexed, 0);
  ll_delete(list);
  freeNames(recs);
}

TEST(LinkedList, IndexedSearchFindsStartFinishAndGrows) {
  // "start" and "finish" sit at the two ends of the index, out of name order;
  // "t0" sorts after "start", "a0" before "finish".
  std::vector<std::string> names = {"t0", "finish", "m5", "start", "a0", "zz", "g1"};
  for (int i = 0; i < 40; ++i) names.push_back("x" + std::to_string(i));
  std::vector<string_type*> recs = makeNames(names);
  linked_list_type* list = ll_new(stringMatch, getStringValue);
  for (string_type* s : recs) ll_addtail(list, s);
  ll_createIndexArray(list, "start", "finish");
  ASSERT_EQ(list->indexed, 1);
  EXPECT_STREQ(getStringValue(list->pcl_arr[0]->pcontents), "start");
  EXPECT_STREQ(getStringValue(list->pcl_arr[ll_size(list) - 1]->pcontents), "finish");
  for (size_t i = 1; i + 2 < names.size(); ++i) {
    EXPECT_LT(std::strcmp(getStringValue(list->pcl_arr[i]->pcontents),
                          getStringValue(list->pcl_arr[i + 1]->pcontents)),
              0);
  }
  for (const std::string& n : names) EXPECT_EQ(ll_find(list, n.c_str()), 1) << n;
  EXPECT_EQ(ll_find(list, "nothing"), 0);

  // Indexed searches: locate moves the position, find and extract do not.
  ll_head(list);
  EXPECT_EQ(ll_extract(list, "zz"), recs[5]);
  EXPECT_EQ(ll_retrieve(list), recs[0]);
  EXPECT_EQ(ll_findKeepLooping(list, "g1"), 1);
  EXPECT_EQ(ll_retrieve(list), recs[0]);
  EXPECT_EQ(ll_locate(list, "finish"), 1);
  EXPECT_EQ(ll_retrieve(list), recs[1]);

  // Insertions beyond the capacity: the next search grows the array.
  int32_t capacity = list->index_arr_len;
  std::vector<string_type*> more;
  for (int i = 0; i < 50; ++i) {
    more.push_back(stringCreateNew(("late" + std::to_string(i)).c_str()));
    ll_addtail(list, more.back());
  }
  EXPECT_EQ(list->index_arr_len, capacity);
  EXPECT_EQ(ll_find(list, "late49"), 1);
  EXPECT_EQ(list->index_arr_len, ll_size(list));
  for (const std::string& n : names) EXPECT_EQ(ll_find(list, n.c_str()), 1) << n;

  // Removing, then adding past the old length without another search:
  // the refill must not write past the array.
  ll_locate(list, "late0");
  ll_remove(list);
  string_type* extra[3] = {stringCreateNew("e1"), stringCreateNew("e2"), stringCreateNew("e3")};
  for (string_type* s : extra) ll_addtail(list, s);
  ll_locate(list, "e3");
  ll_remove(list);  // last change a removal, list now longer than the array
  EXPECT_EQ(ll_find(list, "e2"), 1);
  EXPECT_EQ(ll_find(list, "e3"), 0);
  EXPECT_EQ(ll_find(list, "late0"), 0);
  for (string_type* s : extra) stringDelete(s);
  ll_delete(list);
  freeNames(recs);
  freeNames(more);
}

TEST(LinkedList, IndexedListMatchesSetUnderRandomChanges) {
  std::mt19937 rng(7);
  std::vector<string_type*> recs;
  for (int i = 0; i < 400; ++i) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "k%05u", static_cast<unsigned>(rng() % 100000));
    recs.push_back(stringCreateNew(buf));
  }
  linked_list_type* list = ll_new(stringMatch, getStringValue);
  std::multiset<std::string> model;
  for (int i = 0; i < 100; ++i) {
    ll_addtail(list, recs[i]);
    model.insert(recs[i]->str);
  }
  ll_createIndexArray(list, "start", "finish");
  size_t next = 100;
  for (int step = 0; step < 2000; ++step) {
    int op = static_cast<int>(rng() % 4);
    if (op == 0 && next < recs.size()) {
      ll_insertAfter(list, recs[next]);
      model.insert(recs[next]->str);
      ++next;
    } else if (op == 1 && ll_size(list) > 1) {
      model.erase(model.find(static_cast<string_type*>(ll_retrieve(list))->str));
      ll_remove(list);
    } else if (op == 2 && ll_size(list) > 0) {
      ll_promote(list);
    } else {
      const string_type* probe = recs[rng() % recs.size()];
      ASSERT_EQ(ll_find(list, probe->str), model.count(probe->str) ? 1 : 0) << probe->str;
    }
  }
  ll_delete(list);
  freeNames(recs);
}

TEST(LinkedList, IndexSortHandlesOrderedAndEqualNames) {
  const int n = 5000;
  for (int shape = 0; shape < 3; ++shape) {
    std::vector<string_type*> recs;
    for (int i = 0; i < n; ++i) {
      char buf[16];
      int k = shape == 0 ? i : shape == 1 ? n - i : 42;
      std::snprintf(buf, sizeof buf, "%08d", k);
      recs.push_back(stringCreateNew(buf));
    }
    linked_list_type* list = ll_new(stringMatch, getStringValue);
    for (string_type* s : recs) ll_addtail(list, s);
    ll_createIndexArray(list, "start", "finish");
    for (int i = 0; i + 1 < n; ++i) {
      ASSERT_LE(std::strcmp(getStringValue(list->pcl_arr[i]->pcontents),
                            getStringValue(list->pcl_arr[i + 1]->pcontents)),
                0);
    }
    EXPECT_EQ(ll_find(list, recs[n / 3]->str), 1);
    ll_delete(list);
    freeNames(recs);
  }
}
