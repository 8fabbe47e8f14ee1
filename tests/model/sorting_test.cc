// Checks of the array sorts and name-list orderings against std::stable_sort
// on random, few-distinct-key, sorted, reverse-sorted and constant inputs.
// Carried arrays hold each row's original index, so a row torn apart by a
// sort, or a stable sort that reorders equal keys, shows up.
#include "model/sorting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "model/serial_names.h"

namespace {

using Keys = std::vector<int32_t>;
enum Pattern { kRandom, kFewKeys, kSorted, kReversed, kConstant, kPatterns };

Keys makeKeys(int pattern, int n, unsigned seed = 7) {
  std::mt19937 rng(seed + static_cast<unsigned>(n));
  Keys k(n);
  for (int i = 0; i < n; ++i) {
    switch (pattern) {
      case kRandom: k[i] = static_cast<int32_t>(rng()); break;
      case kFewKeys: k[i] = static_cast<int32_t>(rng() % 5) - 2; break;
      case kSorted: k[i] = i / 3; break;
      case kReversed: k[i] = (n - i) / 3; break;
      default: k[i] = 42;
    }
  }
  return k;
}

Keys iota(int n) {
  Keys v(n);
  std::iota(v.begin(), v.end(), 0);
  return v;
}

// Runs f on char pointers to rows 0..n-1 and turns the moved pointers back
// into row numbers.
template <class F>
Keys viaPointers(int n, F f) {
  Keys ids = iota(n), rows(n);
  std::vector<char*> p(n);
  for (int i = 0; i < n; ++i) p[i] = reinterpret_cast<char*>(&ids[i]);
  f(p.data());
  for (int i = 0; i < n; ++i) rows[i] = *reinterpret_cast<int32_t*>(p[i]);
  return rows;
}

using Before = std::function<bool(int32_t a1, int32_t b1, int32_t a2, int32_t b2)>;
struct Sorter {
  std::string name;
  Before before;  // the intended order, for std::stable_sort
  bool stable, twoKeys;
  int maxN;
  std::function<Keys(Keys& k1, Keys& k2)> run;  // sorts, returns the carried rows (or none)
};

std::vector<Sorter> sorters() {
  const Before asc = [](int32_t a, int32_t b, int32_t, int32_t) { return a < b; };
  const Before desc = [](int32_t a, int32_t b, int32_t, int32_t) { return a > b; };
  const int all = 1 << 30;
  std::vector<Sorter> s = {
      {"quick", asc, false, false, all, [](Keys& k, Keys&) {
         doCombQuickSortOfIntArray(k.data(), swapFunctAscOrder, int32_t(k.size())); return Keys{}; }},
      {"heap", desc, false, false, all, [](Keys& k, Keys&) {
         HelperHeapSort(k.data(), swapFunctDescOrder, 0, int32_t(k.size())); return Keys{}; }},
      {"unave", desc, false, false, all, [](Keys& k, Keys&) {
         doOrdUnaveArrayDesc(k.data(), int32_t(k.size())); return Keys{}; }},
      {"bubble asc", asc, true, false, 1000, [](Keys& k, Keys&) {
         reorderArrayInAscendingOrder(k.data(), int32_t(k.size())); return Keys{}; }},
      {"bubble desc", desc, true, false, 1000, [](Keys& k, Keys&) {
         reorderArrayInDescedingOrder(k.data(), int32_t(k.size())); return Keys{}; }},
      {"int-int quick", desc, false, false, all, [](Keys& k, Keys&) {
         Keys r = iota(int(k.size()));
         doSyncCombQuickSortOfIntArrays(k.data(), r.data(), swapFunctDescOrder, 0, 0, int32_t(k.size()) - 1);
         return r; }},
      {"int-int merge", asc, true, false, all, [](Keys& k, Keys&) {
         Keys r = iota(int(k.size()));
         doSyncCombQuickSortOfIntArrays(k.data(), r.data(), swapFunctAscOrder, 1, 0, int32_t(k.size()) - 1);
         return r; }},
      {"int-char quick", asc, false, false, all, [](Keys& k, Keys&) {
         return viaPointers(int(k.size()), [&](char** p) {
           syncQuickSortOfIntCharArrays(k.data(), p, swapFunctAscOrder, 0, int32_t(k.size()) - 1); }); }},
      {"int-char merge", desc, true, false, all, [](Keys& k, Keys&) {
         return viaPointers(int(k.size()), [&](char** p) {
           doSyncCombQuickSortOfIntCharArrays(k.data(), p, swapFunctDescOrder, 0, int32_t(k.size()) - 1); }); }},
  };
  struct TwoKey { const char* name; two_key_cmp_fn fn; bool firstAsc, secondAsc; };
  for (TwoKey t : {TwoKey{"asc-asc", twoDimSwapFunctFirstParamAscAndSecondAscOrder, true, true},
                   TwoKey{"desc-asc", twoDimSwapFunctFirstParamDescAndSecondAscOrder, false, true},
                   TwoKey{"desc-desc", twoDimSwapFunctFirstParamDescAndSecondDescOrder, false, false}}) {
    Before before = [t](int32_t a1, int32_t b1, int32_t a2, int32_t b2) {
      if (a1 != b1) return t.firstAsc == (a1 < b1);
      return a2 != b2 && t.secondAsc == (a2 < b2);
    };
    for (bool stable : {false, true}) {
      s.push_back({std::string(t.name) + (stable ? " merge" : " quick"), before, stable, true, all,
                   [t, stable](Keys& k1, Keys& k2) {
                     return viaPointers(int(k1.size()), [&](char** p) {
                       const int32_t last = int32_t(k1.size()) - 1;
                       if (stable) doSyncCombQuickSortOfIntIntCharArrays(k1.data(), k2.data(), p, t.fn, 0, last);
                       else syncQuickSortOfIntIntCharArrays(k1.data(), k2.data(), p, t.fn, 0, last);
                     });
                   }});
    }
  }
  return s;
}

TEST(Sorting, EveryIntegerSortMatchesStableSort) {
  const std::vector<Sorter> all = sorters();
  for (int n : {0, 1, 2, 16, 17, 18, 1000, 100000}) {
    for (int p = 0; p < kPatterns; ++p) {
      const Keys k1 = makeKeys(p, n), k2 = makeKeys(kFewKeys, n, 99);
      for (const Sorter& s : all) {
        if (n > s.maxN) continue;
        SCOPED_TRACE(s.name + " n=" + std::to_string(n) + " pattern=" + std::to_string(p));
        Keys want = iota(n);
        std::stable_sort(want.begin(), want.end(),
                         [&](int32_t x, int32_t y) { return s.before(k1[x], k1[y], k2[x], k2[y]); });
        Keys a = k1, b = k2;
        const Keys rows = s.run(a, b);
        for (int i = 0; i < n; ++i) {
          ASSERT_EQ(a[i], k1[want[i]]) << "at " << i;
          ASSERT_TRUE(!s.twoKeys || b[i] == k2[want[i]]) << "at " << i;
          if (rows.empty()) continue;
          ASSERT_EQ(k1[rows[i]], a[i]) << "row torn at " << i;
          ASSERT_TRUE(!s.twoKeys || k2[rows[i]] == b[i]) << "row torn at " << i;
          ASSERT_TRUE(!s.stable || rows[i] == want[i]) << "equal keys reordered at " << i;
        }
        if (!rows.empty()) {
          Keys perm = rows;
          std::sort(perm.begin(), perm.end());
          ASSERT_EQ(perm, iota(n));
        }
      }
    }
  }
}

TEST(Sorting, WorkedExamplesAndSubRanges) {
  // First key descending, second ascending: (5,2), (5,1), (7,3).
  Keys a = {5, 5, 7}, b = {2, 1, 3};
  char x[] = "x", y[] = "y", z[] = "z";
  char* s[] = {x, y, z};
  doSyncCombQuickSortOfIntIntCharArrays(a.data(), b.data(), s, twoDimSwapFunctFirstParamDescAndSecondAscOrder, 0, 2);
  EXPECT_EQ(a, (Keys{7, 5, 5}));
  EXPECT_EQ(b, (Keys{3, 1, 2}));
  EXPECT_EQ((std::vector<char*>(s, s + 3)), (std::vector<char*>{z, y, x}));

  // Stable mode over 10..99 of 100 entries.
  const Keys orig = makeKeys(kFewKeys, 100);
  Keys k = orig, rows = iota(100);
  doSyncCombQuickSortOfIntArrays(k.data(), rows.data(), swapFunctAscOrder, 1, 10, 99);
  Keys want = iota(100);
  std::stable_sort(want.begin() + 10, want.end(), [&](int32_t i, int32_t j) { return orig[i] < orig[j]; });
  EXPECT_EQ(rows, want);

  // Quick, heap and merge sorts over the middle of a larger array.
  const Keys big = makeKeys(kRandom, 1000);
  Keys other(1000);
  const std::function<void(int32_t*)> inMiddle[] = {
      [](int32_t* v) { combQuickSortOfIntArray(v, swapFunctAscOrder, 100, 899); },
      [](int32_t* v) { HelperHeapSort(v, swapFunctAscOrder, 100, 800); },
      [&](int32_t* v) { syncMergeSortOfIntArrays(v, other.data(), swapFunctAscOrder, 100, 899); }};
  for (const auto& sort : inMiddle) {
    Keys v = big;
    sort(v.data());
    EXPECT_TRUE(std::equal(v.begin(), v.begin() + 100, big.begin()));
    EXPECT_TRUE(std::equal(v.begin() + 900, v.end(), big.begin() + 900));
    EXPECT_TRUE(std::is_sorted(v.begin() + 100, v.begin() + 900));
  }
}

// Three bytes per entry take part in the order; a fourth differs in every
// entry and must not. High bytes catch a signed comparison; the partner
// pointers point into `partner`, so their offset names the row.
TEST(Sorting, ByteStringSortsCompareTheFirstNUnsignedBytes) {
  constexpr int kLen = 3;
  for (int n : {0, 1, 2, 17, 18, 1000, 100000}) {
    for (int p = 0; p < kPatterns; ++p) {
      SCOPED_TRACE("n=" + std::to_string(n) + " pattern=" + std::to_string(p));
      const Keys k = makeKeys(p, n);
      std::vector<std::array<unsigned char, kLen + 1>> text(n);
      std::vector<unsigned char> partner(n);
      std::vector<unsigned char*> a(n), b(n);
      for (int i = 0; i < n; ++i) {
        const uint32_t v = static_cast<uint32_t>(k[i]);
        text[i] = {uint8_t(v >> 24), uint8_t(v >> 8), uint8_t(v), uint8_t(i)};
        a[i] = text[i].data();
        b[i] = &partner[i];
      }
      auto prefixes = [&] {
        std::vector<std::vector<unsigned char>> out;
        for (unsigned char* s : a) out.emplace_back(s, s + kLen);
        return out;
      };
      auto want = prefixes();
      std::sort(want.begin(), want.end(), std::greater<>());
      doSyncCombQuickSortOfCharCharArrays(a.data(), b.data(), swapFunctDescOrderChar, kLen, n);
      ASSERT_EQ(prefixes(), want);
      for (int i = 0; i < n; ++i) ASSERT_EQ(a[i], text[b[i] - partner.data()].data()) << "row torn at " << i;
      std::reverse(want.begin(), want.end());
      doCombQuickSortOfCharArray(a.data(), swapFunctAscOrderChar, kLen, n);
      ASSERT_EQ(prefixes(), want);
      // The heap-sort workers alone, from a shuffled order; b is a copy of a
      // and must stay one.
      std::shuffle(a.begin(), a.end(), std::mt19937(3));
      HelperHeapSortChar(a.data(), swapFunctAscOrderChar, kLen, 0, n);
      ASSERT_EQ(prefixes(), want);
      b = a;
      syncHelperHeapSortCharChar(a.data(), b.data(), swapFunctDescOrderChar, kLen, 0, n);
      ASSERT_EQ(a, b);
      std::reverse(want.begin(), want.end());
      ASSERT_EQ(prefixes(), want);
    }
  }
}

// McIlroy's adversary settles comparisons lazily so as to make a quick sort
// pick bad pivots; the heap-sort fallback must keep the work near n log n
// (without it, 100,000 entries take over 2e9 comparisons).
namespace adversary {
std::vector<int32_t> val;
int32_t gas, nsolid, candidate;
int64_t ncmp;
int cmp(int32_t x, int32_t y) {
  ++ncmp;
  if (val[x] == gas && val[y] == gas) val[x == candidate ? x : y] = nsolid++;
  if (val[x] == gas) candidate = x;
  else if (val[y] == gas) candidate = y;
  return val[x] > val[y] ? 1 : (val[x] < val[y] ? -1 : 0);
}
}  // namespace adversary

TEST(Sorting, QuickSortStaysNLogNAgainstAnAdversary) {
  for (int n : {1000, 100000}) {
    adversary::gas = n;
    adversary::val.assign(n, n);
    adversary::nsolid = adversary::candidate = 0;
    adversary::ncmp = 0;
    Keys ids = iota(n);
    doCombQuickSortOfIntArray(ids.data(), adversary::cmp, n);
    for (int i = 1; i < n; ++i) ASSERT_LE(adversary::val[ids[i - 1]], adversary::val[ids[i]]);
    EXPECT_LT(adversary::ncmp, 20.0 * n * std::log2(n)) << "n=" << n;
  }
}

// Name lists: the order after ordering must be the stable order (reversed
// for the descending serial-number ordering), made of the very records put
// in, with the head current and a name index still finding every record.
template <class Rec>
void checkNameListOrdering(const std::vector<int>& sizes, Rec* (*make)(int i, const Keys&, const Keys&),
                           void (*order)(linked_list_type*), std::function<bool(Rec*, Rec*)> before,
                           bool reversed, ll_match_fn match, ll_criteria_fn name, void (*destroy)(Rec*)) {
  for (int n : sizes) {
    SCOPED_TRACE("n=" + std::to_string(n));
    const Keys k1 = makeKeys(kFewKeys, n, 1), k2 = makeKeys(kFewKeys, n, 2);
    linked_list_type* list = ll_new(match, name);
    std::vector<Rec*> recs;
    for (int i = 0; i < n; ++i) {
      recs.push_back(make(i, k1, k2));
      ll_addtail(list, recs.back());
    }
    ll_createIndexArray(list, "start", "finish");
    std::vector<Rec*> want = recs;
    std::stable_sort(want.begin(), want.end(), before);
    if (reversed) std::reverse(want.begin(), want.end());
    order(list);
    EXPECT_TRUE(n == 0 || ll_retrieve(list) == want[0]) << "head not current";
    std::vector<Rec*> got;
    for (int i = 0; i < ll_size(list); ++i, ll_next(list)) got.push_back(static_cast<Rec*>(ll_retrieve(list)));
    EXPECT_EQ(got, want);
    for (Rec* r : recs) EXPECT_EQ(ll_extract(list, r->name), r) << "index not refreshed";
    ll_delete(list);
    for (Rec* r : recs) destroy(r);
  }
}

const std::vector<int> kListSizes = {0, 1, 2, 10, 16, 17, 300};

TEST(SortingNameLists, BySerialNumber) {
  auto make = [](int i, const Keys& k, const Keys&) { return serialNameObjCreateNew(("n" + std::to_string(i)).c_str(), k[i]); };
  auto before = [](serial_name_type* a, serial_name_type* b) { return a->serial_number < b->serial_number; };
  checkNameListOrdering<serial_name_type>(kListSizes, make, doOrdSerNamesListBySerNumAsc, before, false,
                                          serialNameObjMatch, getSerialNameObjName, serialNameObjDelete);
  checkNameListOrdering<serial_name_type>(kListSizes, make, doOrdSerNamesListBySerNumDesc, before, true,
                                          serialNameObjMatch, getSerialNameObjName, serialNameObjDelete);
}

TEST(SortingNameLists, ByTwoSerialNumbers) {
  auto make = [](int i, const Keys& k1, const Keys& k2) {
    return serialName2ObjCreateNew(("n" + std::to_string(i)).c_str(), k1[i], k2[i]);
  };
  struct Case { void (*order)(linked_list_type*); bool firstAsc, secondAsc; };
  for (Case c : {Case{doOrderSerialNamesByFirstParamInAscAndSecondParamInAscOrder, true, true},
                 Case{doOrderSerialNamesByFirstParamInDescAndSecondParamInAscOrder, false, true},
                 Case{doOrderSerialNamesByFirstParamInDescAndSecondParamInDescOrder, false, false}}) {
    auto before = [c](serial_name2_type* a, serial_name2_type* b) {
      if (a->serial_number_1 != b->serial_number_1) return c.firstAsc == (a->serial_number_1 < b->serial_number_1);
      return a->serial_number_2 != b->serial_number_2 && c.secondAsc == (a->serial_number_2 < b->serial_number_2);
    };
    checkNameListOrdering<serial_name2_type>(kListSizes, make, c.order, before, false, serialName2ObjMatch,
                                             getSerialName2ObjName, serialName2ObjDelete);
  }
}

}  // namespace
