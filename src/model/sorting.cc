// Array sorts and name-list orderings. Every quick sort here is the shared
// scheme of model/sort_core.h driven through a "rows" object that knows one
// array shape; the same rows objects drive the bottom-up merge sort and the
// bubble sorts, so each shape's moves are written once: a swap (quick, heap,
// insertion and bubble sorts) and a copy of one row into another set of
// arrays (merge sort).
#include "model/sorting.h"

#include <cstring>
#include <vector>

#include "model/serial_names.h"
#include "model/sort_core.h"

namespace {

template <class T>
void swapAt(T* arr, int i, int j) {
  T t = arr[i];
  arr[i] = arr[j];
  arr[j] = t;
}

// One array of integers.
struct IntRows {
  int32_t* a;
  int_cmp_fn fn;
  using Key = int32_t;
  Key key(int i) const { return a[i]; }
  int cmp(Key x, Key y) const { return fn(x, y); }
  void swap(int i, int j) { swapAt(a, i, j); }
};

// One array of byte-string pointers.
struct CharRows {
  unsigned char** a;
  char_cmp_fn fn;
  int n;
  using Key = const unsigned char*;
  Key key(int i) const { return a[i]; }
  int cmp(Key x, Key y) const { return fn(x, y, n); }
  void swap(int i, int j) { swapAt(a, i, j); }
};

// Two arrays of byte-string pointers, keyed by the first.
struct CharCharRows {
  unsigned char** a;
  unsigned char** b;
  char_cmp_fn fn;
  int n;
  using Key = const unsigned char*;
  Key key(int i) const { return a[i]; }
  int cmp(Key x, Key y) const { return fn(x, y, n); }
  void swap(int i, int j) {
    swapAt(a, i, j);
    swapAt(b, i, j);
  }
};

// Two integer arrays, keyed by the first.
struct IntIntRows {
  int32_t* a;
  int32_t* b;
  int_cmp_fn fn;
  using Key = int32_t;
  Key key(int i) const { return a[i]; }
  int cmp(Key x, Key y) const { return fn(x, y); }
  void swap(int i, int j) {
    swapAt(a, i, j);
    swapAt(b, i, j);
  }
  void put(int i, IntIntRows& d, int k) const {
    d.a[k] = a[i];
    d.b[k] = b[i];
  }
};

// Integers and byte-string pointers, keyed by the integers.
struct IntCharRows {
  int32_t* a;
  char** s;
  int_cmp_fn fn;
  using Key = int32_t;
  Key key(int i) const { return a[i]; }
  int cmp(Key x, Key y) const { return fn(x, y); }
  void swap(int i, int j) {
    swapAt(a, i, j);
    swapAt(s, i, j);
  }
  void put(int i, IntCharRows& d, int k) const {
    d.a[k] = a[i];
    d.s[k] = s[i];
  }
};

// Two integer arrays and byte-string pointers, keyed by both integers.
struct IntIntCharRows {
  int32_t* a;
  int32_t* b;
  char** s;
  two_key_cmp_fn fn;
  struct Key {
    int32_t k1;
    int32_t k2;
  };
  Key key(int i) const { return Key{a[i], b[i]}; }
  int cmp(const Key& x, const Key& y) const { return fn(x.k1, y.k1, x.k2, y.k2); }
  void swap(int i, int j) {
    swapAt(a, i, j);
    swapAt(b, i, j);
    swapAt(s, i, j);
  }
  void put(int i, IntIntCharRows& d, int k) const {
    d.a[k] = a[i];
    d.b[k] = b[i];
    d.s[k] = s[i];
  }
};

// Merges the sorted runs l..m and m+1..r of src into dst at l..r. The right
// row is taken only when the left one must come after it, so rows with equal
// keys keep their order.
template <class Rows>
void merge(const Rows& src, Rows& dst, int l, int m, int r) {
  int i = l;
  int j = m + 1;
  int k = l;
  while (i <= m && j <= r) {
    if (src.cmp(src.key(i), src.key(j)) > 0) src.put(j++, dst, k++);
    else src.put(i++, dst, k++);
  }
  while (i <= m) src.put(i++, dst, k++);
  while (j <= r) src.put(j++, dst, k++);
}

// Merges neighbouring runs of width s of src (n rows) into dst; a trailing
// run without a partner is copied.
template <class Rows>
void mergePass(const Rows& src, Rows& dst, int n, int s) {
  int i = 0;
  while (n - i >= 2 * s) {
    merge(src, dst, i, i + s - 1, i + 2 * s - 1);
    i += 2 * s;
  }
  if (n - i > s) {
    merge(src, dst, i, i + s - 1, n - 1);
  } else {
    for (; i < n; ++i) src.put(i, dst, i);
  }
}

// Bottom-up merge sort of n rows of data, with tmp (n rows) as the other
// side. Passes go in pairs, so the sorted rows always end in data; a second
// pass whose width already covers all rows is a plain copy back.
template <class Rows>
void mergeSortRows(Rows data, Rows tmp, int n) {
  for (int s = 1; s < n; s *= 2) {
    mergePass(data, tmp, n, s);
    s *= 2;
    mergePass(tmp, data, n, s);
  }
}

// Repeated adjacent exchanges of rows 0..n-1, stopping after a pass without
// exchange. Stable. After each pass the last exchange marks where the sorted
// tail begins.
template <class Rows>
void bubbleSortRows(Rows rows, int n) {
  int bound = n - 1;
  while (bound > 0) {
    int lastSwap = 0;
    for (int i = 0; i < bound; ++i) {
      if (rows.cmp(rows.key(i), rows.key(i + 1)) > 0) {
        rows.swap(i, i + 1);
        lastSwap = i;
      }
    }
    bound = lastSwap;
  }
}

// Name lists: lists of fewer entries are bubble-sorted.
constexpr int32_t kBubbleListMax = 16;

// The byte-string pointer carried with each key is the record itself (every
// name record begins with its name), so the sorted pointers give back the
// same element objects.
template <class Record>
char* recordBytes(Record* r) {
  return reinterpret_cast<char*>(r);
}

// Writes the records back into the list's links in the given order (from
// the end when reversed), replacing only links whose element changed, and
// leaves the head current.
void writeBackList(linked_list_type* list, const std::vector<char*>& recs, bool reversed) {
  const int32_t n = static_cast<int32_t>(recs.size());
  ll_head(list);
  for (int32_t i = 0; i < n; ++i) {
    void* e = recs[reversed ? n - 1 - i : i];
    if (ll_retrieve(list) != e) ll_replace(list, e);
    ll_next(list);
  }
  ll_head(list);
}

void orderSerNamesBySerNum(linked_list_type* list, bool descending) {
  const int32_t n = ll_size(list);
  if (n < 2) return;
  std::vector<int32_t> keys(n);
  std::vector<char*> recs(n);
  ll_head(list);
  for (int32_t i = 0; i < n; ++i) {
    auto* e = static_cast<serial_name_type*>(ll_retrieve(list));
    keys[i] = e->serial_number;
    recs[i] = recordBytes(e);
    ll_next(list);
  }
  // Always ascending; the descending order is the same order written back
  // from the end.
  if (n <= kBubbleListMax) {
    bubbleSortRows(IntCharRows{keys.data(), recs.data(), swapFunctAscOrder}, n);
  } else {
    doSyncCombQuickSortOfIntCharArrays(keys.data(), recs.data(), swapFunctAscOrder, 0, n - 1);
  }
  writeBackList(list, recs, descending);
}

void orderSerNames2(linked_list_type* list, two_key_cmp_fn cmp) {
  const int32_t n = ll_size(list);
  if (n < 2) return;
  std::vector<int32_t> keys1(n);
  std::vector<int32_t> keys2(n);
  std::vector<char*> recs(n);
  ll_head(list);
  for (int32_t i = 0; i < n; ++i) {
    auto* e = static_cast<serial_name2_type*>(ll_retrieve(list));
    keys1[i] = e->serial_number_1;
    keys2[i] = e->serial_number_2;
    recs[i] = recordBytes(e);
    ll_next(list);
  }
  if (n <= kBubbleListMax) {
    bubbleSortRows(IntIntCharRows{keys1.data(), keys2.data(), recs.data(), cmp}, n);
  } else {
    doSyncCombQuickSortOfIntIntCharArrays(keys1.data(), keys2.data(), recs.data(), cmp, 0, n - 1);
  }
  writeBackList(list, recs, false);
}

}  // namespace

// ---------------------------------------------------------------------------
// Comparators.

int swapFunctAscOrder(int32_t a, int32_t b) {
  if (a > b) return 1;
  if (a < b) return -1;
  return 0;
}

int swapFunctDescOrder(int32_t a, int32_t b) {
  if (a > b) return -1;
  if (a < b) return 1;
  return 0;
}

int twoDimSwapFunctFirstParamAscAndSecondAscOrder(int32_t a1, int32_t b1, int32_t a2, int32_t b2) {
  if (a1 < b1) return -1;
  if (a1 > b1 || a2 > b2) return 1;
  return 0;
}

int twoDimSwapFunctFirstParamDescAndSecondAscOrder(int32_t a1, int32_t b1, int32_t a2,
                                                   int32_t b2) {
  if (a1 > b1) return -1;
  if (a1 < b1 || a2 > b2) return 1;
  return 0;
}

int twoDimSwapFunctFirstParamDescAndSecondDescOrder(int32_t a1, int32_t b1, int32_t a2,
                                                    int32_t b2) {
  if (a1 > b1) return -1;
  if (a1 < b1 || a2 < b2) return 1;
  return 0;
}

int swapFunctAscOrderChar(const unsigned char* a, const unsigned char* b, int n) {
  return std::memcmp(a, b, static_cast<size_t>(n));
}

int swapFunctDescOrderChar(const unsigned char* a, const unsigned char* b, int n) {
  return std::memcmp(b, a, static_cast<size_t>(n));
}

// ---------------------------------------------------------------------------
// Quick sorts and their heap-sort workers.

void combQuickSortOfIntArray(int32_t* array, int_cmp_fn cmp, int32_t first, int32_t last) {
  IntRows r{array, cmp};
  sortcore::quickSort(r, first, last);
}

void HelperHeapSort(int32_t* array, int_cmp_fn cmp, int32_t first, int32_t count) {
  IntRows r{array, cmp};
  sortcore::heapSort(r, first, count);
}

void combQuickSortOfCharArray(unsigned char** array, char_cmp_fn cmp, int n, int32_t first, int32_t last) {
  CharRows r{array, cmp, n};
  sortcore::quickSort(r, first, last);
}

void HelperHeapSortChar(unsigned char** array, char_cmp_fn cmp, int n, int32_t first, int32_t count) {
  CharRows r{array, cmp, n};
  sortcore::heapSort(r, first, count);
}

void syncCombQuickSortOfCharCharArrays(unsigned char** firstArray, unsigned char** secondArray,
                                       char_cmp_fn cmp, int n, int32_t first, int32_t last) {
  CharCharRows r{firstArray, secondArray, cmp, n};
  sortcore::quickSort(r, first, last);
}

void syncHelperHeapSortCharChar(unsigned char** firstArray, unsigned char** secondArray,
                                char_cmp_fn cmp, int n, int32_t first, int32_t count) {
  CharCharRows r{firstArray, secondArray, cmp, n};
  sortcore::heapSort(r, first, count);
}

void syncQuickSortOfIntArrays(int32_t* firstArray, int32_t* secondArray, int_cmp_fn cmp,
                              int32_t first, int32_t last) {
  IntIntRows r{firstArray, secondArray, cmp};
  sortcore::quickSort(r, first, last);
}

void syncQuickSortOfIntCharArrays(int32_t* keys, char** strings, int_cmp_fn cmp, int32_t first,
                                  int32_t last) {
  IntCharRows r{keys, strings, cmp};
  sortcore::quickSort(r, first, last);
}

void syncQuickSortOfIntIntCharArrays(int32_t* keys1, int32_t* keys2, char** strings,
                                     two_key_cmp_fn cmp, int32_t first, int32_t last) {
  IntIntCharRows r{keys1, keys2, strings, cmp};
  sortcore::quickSort(r, first, last);
}

// ---------------------------------------------------------------------------
// Merge sorts.

void syncMergeSortOfIntArrays(int32_t* firstArray, int32_t* secondArray, int_cmp_fn cmp,
                              int32_t first, int32_t last) {
  const int32_t n = last - first + 1;
  if (n < 2) return;
  std::vector<int32_t> t1(n);
  std::vector<int32_t> t2(n);
  mergeSortRows(IntIntRows{firstArray + first, secondArray + first, cmp},
                IntIntRows{t1.data(), t2.data(), cmp}, n);
}

void syncMergeSortOfIntCharArrays(int32_t* keys, char** strings, int_cmp_fn cmp, int32_t first,
                                  int32_t last) {
  const int32_t n = last - first + 1;
  if (n < 2) return;
  std::vector<int32_t> t1(n);
  std::vector<char*> t2(n);
  mergeSortRows(IntCharRows{keys + first, strings + first, cmp},
                IntCharRows{t1.data(), t2.data(), cmp}, n);
}

void syncMergeSortOfIntIntCharArrays(int32_t* keys1, int32_t* keys2, char** strings,
                                     two_key_cmp_fn cmp, int32_t first, int32_t last) {
  const int32_t n = last - first + 1;
  if (n < 2) return;
  std::vector<int32_t> t1(n);
  std::vector<int32_t> t2(n);
  std::vector<char*> t3(n);
  mergeSortRows(IntIntCharRows{keys1 + first, keys2 + first, strings + first, cmp},
                IntIntCharRows{t1.data(), t2.data(), t3.data(), cmp}, n);
}

// ---------------------------------------------------------------------------
// Entry points.

void doCombQuickSortOfIntArray(int32_t* array, int_cmp_fn cmp, int32_t np) {
  combQuickSortOfIntArray(array, cmp, 0, np - 1);
}

void doCombQuickSortOfCharArray(unsigned char** array, char_cmp_fn cmp, int n, int32_t np) {
  combQuickSortOfCharArray(array, cmp, n, 0, np - 1);
}

void doSyncCombQuickSortOfCharCharArrays(unsigned char** firstArray, unsigned char** secondArray,
                                         char_cmp_fn cmp, int n, int32_t np) {
  syncCombQuickSortOfCharCharArrays(firstArray, secondArray, cmp, n, 0, np - 1);
}

void doSyncCombQuickSortOfIntArrays(int32_t* firstArray, int32_t* secondArray,
                                    int_cmp_fn combSortSupportFunction, int stable_mode,
                                    int32_t first, int32_t last) {
  if (stable_mode == 0) {
    syncQuickSortOfIntArrays(firstArray, secondArray, combSortSupportFunction, first, last);
  } else {
    syncMergeSortOfIntArrays(firstArray, secondArray, combSortSupportFunction, first, last);
  }
}

void doSyncCombQuickSortOfIntCharArrays(int32_t* keys, char** strings, int_cmp_fn cmp,
                                        int32_t first, int32_t last) {
  syncMergeSortOfIntCharArrays(keys, strings, cmp, first, last);
}

void doSyncCombQuickSortOfIntIntCharArrays(int32_t* keys1, int32_t* keys2, char** strings,
                                           two_key_cmp_fn cmp, int32_t first, int32_t last) {
  syncMergeSortOfIntIntCharArrays(keys1, keys2, strings, cmp, first, last);
}

void reorderArrayInAscendingOrder(int32_t* array, int32_t np) {
  bubbleSortRows(IntRows{array, swapFunctAscOrder}, np);
}

void reorderArrayInDescedingOrder(int32_t* array, int32_t np) {
  bubbleSortRows(IntRows{array, swapFunctDescOrder}, np);
}

// A calendar's unavailable days can number in the thousands, hence the quick
// sort rather than a bubble sort.
void doOrdUnaveArrayDesc(int32_t* unave_days, int32_t len) {
  doCombQuickSortOfIntArray(unave_days, swapFunctDescOrder, len);
}

// ---------------------------------------------------------------------------
// Name-list orderings.

void doOrdSerNamesListBySerNumAsc(linked_list_type* list) { orderSerNamesBySerNum(list, false); }

void doOrdSerNamesListBySerNumDesc(linked_list_type* list) { orderSerNamesBySerNum(list, true); }

void doOrderSerialNamesByFirstParamInAscAndSecondParamInAscOrder(linked_list_type* list) {
  orderSerNames2(list, twoDimSwapFunctFirstParamAscAndSecondAscOrder);
}

void doOrderSerialNamesByFirstParamInDescAndSecondParamInAscOrder(linked_list_type* list) {
  orderSerNames2(list, twoDimSwapFunctFirstParamDescAndSecondAscOrder);
}

void doOrderSerialNamesByFirstParamInDescAndSecondParamInDescOrder(linked_list_type* list) {
  orderSerNames2(list, twoDimSwapFunctFirstParamDescAndSecondDescOrder);
}
