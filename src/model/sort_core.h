// The engine's one in-place sorting scheme, shared by the list index and by
// every array sort: a quick sort over an inclusive range with median-of-three
// pivots and a fixed stack of 32 ranges, a heap sort that takes over any
// partition too lopsided to push, and an insertion sort that finishes ranges
// of 17 or fewer entries.
//
// The scheme is written once over an "access" object so that one array, a
// pair of synchronised arrays or an array of list links all sort the same way.
// The access object supplies
//   using Key = ...;                 the value compared (a copy, cheap to hold)
//   Key key(int i) const;            the key of entry i
//   int cmp(const Key&, const Key&); the comparator: > 0 when the first key
//                                    must come after the second
//   void swap(int i, int j);         exchanges entries i and j (every
//                                    parallel array moves together)
// Entries move only on a positive comparator result. No heap memory is used;
// the heap-sort fallback bounds the running time to O(n log n) whatever the
// input. The sort is not stable.
#ifndef LEVELER_MODEL_SORT_CORE_H
#define LEVELER_MODEL_SORT_CORE_H

namespace sortcore {

// Insertion sort of lo..hi: each entry is moved left past every neighbour
// that compares greater than it.
template <class Access>
void insertionSort(Access& a, int lo, int hi) {
  for (int i = lo + 1; i <= hi; ++i) {
    auto k = a.key(i);
    for (int j = i; j > lo && a.cmp(a.key(j - 1), k) > 0; --j) a.swap(j - 1, j);
  }
}

// Bottom-up heap sort of the run first .. first+count-1, the max-heap laid
// 1-based over it. A sift-down descends along the larger children to a leaf,
// climbs back to the first place where the sifted entry is not smaller, and
// shifts the path above that place up by one level.
template <class Access>
void heapSort(Access& a, int first, int count) {
  if (count < 2) return;
  auto at = [first](int node) { return first + node - 1; };  // node is 1-based
  auto siftDown = [&](int root, int n) {
    int leaf = root;
    for (;;) {
      int child = 2 * leaf;
      if (child > n) break;
      if (child + 1 <= n && a.cmp(a.key(at(child + 1)), a.key(at(child))) >= 1) ++child;
      leaf = child;
    }
    auto x = a.key(at(root));
    while (leaf > root && a.cmp(x, a.key(at(leaf))) > 0) leaf /= 2;
    if (leaf == root) return;
    // Rotate the path root -> leaf by one level: walk down from the root,
    // swapping each node with the next node on the path.
    int depthLeaf = 0;
    for (int p = leaf; p > root; p /= 2) ++depthLeaf;
    int node = root;
    for (int d = depthLeaf - 1; d >= 0; --d) {
      int next = leaf >> d;  // the path node one level below `node`
      a.swap(at(node), at(next));
      node = next;
    }
  };
  for (int r = count / 2; r >= 1; --r) siftDown(r, count);
  for (int n = count; n > 1; --n) {
    a.swap(at(1), at(n));
    siftDown(1, n - 1);
  }
}

// Quick sort of the inclusive range first..last.
template <class Access>
void quickSort(Access& a, int first, int last) {
  if (last - first < 1) return;
  int stackLo[32];
  int stackHi[32];
  int top = 0;
  int lo = first;
  int hi = last;
  for (;;) {
    while (hi - lo > 16) {
      int mid = lo + (hi - lo) / 2;
      if (a.cmp(a.key(lo), a.key(hi)) > 0) a.swap(lo, hi);
      if (a.cmp(a.key(lo), a.key(mid)) > 0) a.swap(lo, mid);
      if (a.cmp(a.key(mid), a.key(hi)) > 0) a.swap(mid, hi);
      auto pivot = a.key(mid);
      int i = lo - 1;
      int j = hi + 1;
      for (;;) {
        do ++i; while (a.cmp(pivot, a.key(i)) > 0);
        do --j; while (a.cmp(a.key(j), pivot) > 0);
        if (j <= i) break;
        a.swap(i, j);
      }
      int leftSize = j - lo + 1;
      int rightSize = hi - j;
      // Set the larger part aside and go on with the smaller; on a tie the
      // right part is the one gone on with.
      int bigLo, bigHi, bigSize, smallSize;
      if (leftSize >= rightSize) {
        bigLo = lo; bigHi = j; bigSize = leftSize; smallSize = rightSize;
        lo = j + 1;
      } else {
        bigLo = j + 1; bigHi = hi; bigSize = rightSize; smallSize = leftSize;
        hi = j;
      }
      if (bigSize / 32 <= smallSize && top < 32) {
        stackLo[top] = bigLo;
        stackHi[top] = bigHi;
        ++top;
      } else {
        heapSort(a, bigLo, bigSize);
      }
    }
    insertionSort(a, lo, hi);
    if (top == 0) return;
    --top;
    lo = stackLo[top];
    hi = stackHi[top];
  }
}

}  // namespace sortcore

#endif
