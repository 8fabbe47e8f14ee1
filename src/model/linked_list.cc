#include "model/linked_list.h"

#include <cstdio>
#include <cstring>

#include "model/sort_core.h"

namespace {

enum : int16_t { kInStep = 0, kRemoved = 1, kAdded = 2, kReordered = 3 };

// Sorts entries of a link array with a list comparator.
struct LinkAccess {
  linked_list_type* list;
  linktype** arr;
  ll_link_cmp_fn fn;
  using Key = linktype*;
  Key key(int i) const { return arr[i]; }
  int cmp(Key a, Key b) const { return fn(list, a, b); }
  void swap(int i, int j) {
    linktype* t = arr[i];
    arr[i] = arr[j];
    arr[j] = t;
  }
};

const char* nameOf(const linked_list_type* list, const linktype* link) {
  return list->criteria(link->pcontents);
}

// Makes room for every link in the index array. Grows whenever the list is
// longer than the array, whatever the last change was, so that a refill can
// never write past the array.
void fitIndexArray(linked_list_type* list) {
  if (list->listlength <= list->index_arr_len && list->pcl_arr != nullptr) return;
  int32_t capacity = list->listlength > 0 ? list->listlength : 1;
  delete[] list->pcl_arr;
  list->pcl_arr = new linktype*[capacity];
  list->index_arr_len = capacity;
}

// FNV-1a over the name's bytes.
uint32_t hashName(const char* name) {
  uint32_t h = 2166136261u;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(name); *p != 0; ++p) {
    h = (h ^ *p) * 16777619u;
  }
  return h;
}

// Refills the hash table from head to tail: a table at most half full, so
// that a probe sequence stays short. A name already present keeps its first
// (nearest the head) link.
void refillHash(linked_list_type* list) {
  uint32_t size = 16;
  while (size < static_cast<uint32_t>(list->listlength) * 2u) size *= 2;
  if (list->hash_arr == nullptr || list->hash_mask + 1 != size) {
    delete[] list->hash_arr;
    list->hash_arr = new ll_hash_slot[size];
    list->hash_mask = size - 1;
  }
  std::memset(static_cast<void*>(list->hash_arr), 0, sizeof(ll_hash_slot) * size);
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    const char* name = nameOf(list, l);
    const uint32_t hash = hashName(name);
    uint32_t at = hash & list->hash_mask;
    while (list->hash_arr[at].link != nullptr &&
           (list->hash_arr[at].hash != hash ||
            std::strcmp(nameOf(list, list->hash_arr[at].link), name) != 0)) {
      at = (at + 1) & list->hash_mask;
    }
    if (list->hash_arr[at].link == nullptr) list->hash_arr[at] = {l, hash};
  }
}

// Refills the index array from head to tail and sorts it, and refills the
// hash table. The current link is untouched, so the current position is
// kept.
void refillIndex(linked_list_type* list) {
  fitIndexArray(list);
  int32_t i = 0;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) list->pcl_arr[i++] = l;
  if (list->listlength > 1) {
    ll_combQuickSortOfPointArray(list, ll_swapFunCritAscOrder, list->listlength);
  }
  refillHash(list);
  list->lastOperStatus = kInStep;
}

void copyNodeName(char* dst, const char* src) {
  std::snprintf(dst, LL_NAME_SIZE, "%s", src != nullptr ? src : "");
}

linktype* findLinkFrom(linked_list_type* list, linktype* from, linktype* stop, const void* key) {
  for (linktype* l = from; l != stop; l = l->pnext) {
    if (list->match(l->pcontents, key)) return l;
  }
  return nullptr;
}

// Unindexed scan from head to tail.
linktype* scanAll(linked_list_type* list, const void* key) {
  if (list->match == nullptr) return nullptr;
  return findLinkFrom(list, list->phead, nullptr, key);
}

// Unindexed round scan starting at `start` and wrapping to the head until
// the link before `start`.
linktype* scanRound(linked_list_type* list, linktype* start, const void* key) {
  if (list->match == nullptr || start == nullptr) return nullptr;
  linktype* l = findLinkFrom(list, start, nullptr, key);
  if (l == nullptr) l = findLinkFrom(list, list->phead, start, key);
  return l;
}

linktype* indexedSearch(linked_list_type* list, const void* key) {
  return ll_bsearch(list, static_cast<const char*>(key));
}

}  // namespace

linktype* link_new(void* element) { return new linktype{nullptr, nullptr, element}; }

void link_delete(linktype* link) { delete link; }

linked_list_type* ll_new(ll_match_fn newmatch, ll_criteria_fn newcriteria) {
  linked_list_type* list = new linked_list_type{};
  list->match = newmatch;
  list->criteria = newcriteria;
  return list;
}

void ll_delete(linked_list_type* list) {
  if (list == nullptr) return;
  linktype* l = list->phead;
  while (l != nullptr) {
    linktype* next = l->pnext;
    link_delete(l);
    l = next;
  }
  delete[] list->pcl_arr;
  delete[] list->hash_arr;
  delete list;
}

int32_t ll_size(const linked_list_type* list) { return list->listlength; }
void ll_head(linked_list_type* list) { list->pcl = list->phead; }
void ll_tail(linked_list_type* list) { list->pcl = list->ptail; }

void ll_next(linked_list_type* list) {
  if (list->pcl != nullptr && list->pcl->pnext != nullptr) list->pcl = list->pcl->pnext;
}

void ll_previous(linked_list_type* list) {
  if (list->pcl != nullptr && list->pcl->pprevious != nullptr) list->pcl = list->pcl->pprevious;
}

int ll_ishead(const linked_list_type* list) { return list->pcl == list->phead ? 1 : 0; }
int ll_istail(const linked_list_type* list) { return list->pcl == list->ptail ? 1 : 0; }
void* ll_retrieve(const linked_list_type* list) { return list->pcl->pcontents; }

void ll_addhead(linked_list_type* list, void* element) {
  linktype* l = link_new(element);
  l->pnext = list->phead;
  if (list->phead != nullptr) list->phead->pprevious = l;
  else list->ptail = l;
  list->phead = l;
  list->pcl = l;
  list->listlength++;
  list->lastOperStatus = kAdded;
  list->changeCount++;
}

void ll_addtail(linked_list_type* list, void* element) {
  linktype* l = link_new(element);
  l->pprevious = list->ptail;
  if (list->ptail != nullptr) list->ptail->pnext = l;
  else list->phead = l;
  list->ptail = l;
  list->pcl = l;
  list->listlength++;
  list->lastOperStatus = kAdded;
  list->changeCount++;
}

void ll_insertBefore(linked_list_type* list, void* element) {
  if (list->pcl == nullptr || list->pcl == list->phead) {
    ll_addhead(list, element);
    return;
  }
  linktype* cur = list->pcl;
  linktype* l = link_new(element);
  l->pnext = cur;
  l->pprevious = cur->pprevious;
  cur->pprevious->pnext = l;
  cur->pprevious = l;
  list->pcl = l;
  list->listlength++;
  list->lastOperStatus = kAdded;
  list->changeCount++;
}

void ll_insertAfter(linked_list_type* list, void* element) {
  if (list->pcl == nullptr || list->pcl == list->ptail) {
    ll_addtail(list, element);
    return;
  }
  linktype* cur = list->pcl;
  linktype* l = link_new(element);
  l->pprevious = cur;
  l->pnext = cur->pnext;
  cur->pnext->pprevious = l;
  cur->pnext = l;
  list->pcl = l;
  list->listlength++;
  list->lastOperStatus = kAdded;
  list->changeCount++;
}

void ll_replace(linked_list_type* list, void* element) {
  list->pcl->pcontents = element;
  list->lastOperStatus = kReordered;
  list->changeCount++;
}

void ll_promote(linked_list_type* list) {
  linktype* cur = list->pcl;
  if (cur == list->phead) return;
  // Unlink (cur is not the head, so it has a predecessor).
  cur->pprevious->pnext = cur->pnext;
  if (cur->pnext != nullptr) cur->pnext->pprevious = cur->pprevious;
  else list->ptail = cur->pprevious;
  cur->pprevious = nullptr;
  cur->pnext = list->phead;
  list->phead->pprevious = cur;
  list->phead = cur;
  list->lastOperStatus = kReordered;
  list->changeCount++;
}

void ll_remove(linked_list_type* list) {
  linktype* cur = list->pcl;
  if (cur == nullptr) return;
  if (cur->pprevious != nullptr) cur->pprevious->pnext = cur->pnext;
  else list->phead = cur->pnext;
  if (cur->pnext != nullptr) cur->pnext->pprevious = cur->pprevious;
  else list->ptail = cur->pprevious;
  list->pcl = cur->pnext != nullptr ? cur->pnext : cur->pprevious;
  link_delete(cur);
  list->listlength--;
  list->lastOperStatus = kRemoved;
  list->changeCount++;
}

void ll_removeAll(linked_list_type* list) {
  ll_head(list);
  for (int32_t n = list->listlength; n > 0; --n) ll_remove(list);
}

int ll_find(linked_list_type* list, const void* key) {
  if (list->listlength == 0) return 0;
  linktype* l = list->indexed ? indexedSearch(list, key) : scanAll(list, key);
  return l != nullptr ? 1 : 0;
}

void* ll_extract(linked_list_type* list, const void* key) {
  if (list->listlength == 0) return nullptr;
  linktype* l = list->indexed ? indexedSearch(list, key) : scanAll(list, key);
  return l != nullptr ? l->pcontents : nullptr;
}

int ll_locate(linked_list_type* list, const void* key) {
  if (list->listlength == 0) return 0;
  linktype* l = list->indexed ? indexedSearch(list, key) : scanAll(list, key);
  if (l == nullptr) return 0;
  list->pcl = l;
  return 1;
}

int ll_findKeepLooping(linked_list_type* list, const void* key) {
  if (list->listlength == 0) return 0;
  if (list->indexed) return indexedSearch(list, key) != nullptr ? 1 : 0;
  linktype* l = scanRound(list, list->pcl, key);
  if (l == nullptr) return 0;
  list->pcl = l;
  return 1;
}

void* ll_extractKeepLooping(linked_list_type* list, const void* key) {
  if (list->listlength == 0) return nullptr;
  linktype* l = list->indexed ? indexedSearch(list, key) : scanRound(list, list->pcl, key);
  if (l == nullptr) return nullptr;
  list->pcl = l;
  return l->pcontents;
}

int ll_locateKeepLooping(linked_list_type* list, const void* key) {
  if (list->listlength == 0) return 0;
  linktype* l = nullptr;
  if (list->indexed) {
    l = indexedSearch(list, key);
  } else if (list->match != nullptr) {
    // The current element is tested last, after a full round.
    linktype* cur = list->pcl;
    l = findLinkFrom(list, cur->pnext, nullptr, key);
    if (l == nullptr) l = findLinkFrom(list, list->phead, cur->pnext, key);
  }
  if (l == nullptr) return 0;
  list->pcl = l;
  return 1;
}

void ll_createIndexArray(linked_list_type* list, const char* START_NODE_NAME,
                         const char* FINISH_NODE_NAME) {
  if (list->criteria == nullptr) return;  // a list without names is never indexed
  if (list->listlength < 32 && list->lastOperStatus != kAdded) return;
  if (!list->indexed) {
    copyNodeName(list->startNodeName, START_NODE_NAME);
    copyNodeName(list->finishNodeName, FINISH_NODE_NAME);
    delete[] list->pcl_arr;
    list->pcl_arr = nullptr;
    list->index_arr_len = 0;
    list->indexed = 1;
  }
  refillIndex(list);
}

int ll_swapFunCritAscOrder(linked_list_type* list, linktype* a, linktype* b) {
  const char* na = nameOf(list, a);
  const char* nb = nameOf(list, b);
  if (std::strcmp(nb, list->finishNodeName) == 0 || std::strcmp(na, list->startNodeName) == 0)
    return -1;
  if (std::strcmp(na, list->finishNodeName) == 0) return 1;
  if (std::strcmp(nb, list->startNodeName) == 0) return 1;
  return std::strcmp(na, nb);
}

linktype* ll_bsearch(linked_list_type* list, const char* key) {
  if (list->lastOperStatus != kInStep) {
    if (list->listlength == 0) return nullptr;
    refillIndex(list);
  }
  if (list->listlength == 0 || list->hash_arr == nullptr) return nullptr;
  const uint32_t hash = hashName(key);
  for (uint32_t at = hash & list->hash_mask; list->hash_arr[at].link != nullptr;
       at = (at + 1) & list->hash_mask) {
    const ll_hash_slot& slot = list->hash_arr[at];
    if (slot.hash == hash && std::strcmp(key, nameOf(list, slot.link)) == 0) return slot.link;
  }
  return nullptr;
}

void ll_combQuickSortOfPointArray(linked_list_type* list, ll_link_cmp_fn combSortSupFun,
                                  int32_t the_len) {
  if (the_len < 2) return;
  ll_quickSort(list, list->pcl_arr, combSortSupFun, 0, the_len - 1);
}

void ll_quickSort(linked_list_type* list, linktype** array, ll_link_cmp_fn combSortSupFun,
                  int32_t lo, int32_t hi) {
  LinkAccess a{list, array, combSortSupFun};
  sortcore::quickSort(a, lo, hi);
}

void ll_HelperHeapSort(linked_list_type* list, linktype** array, ll_link_cmp_fn combSortSupFun,
                       int32_t first, int32_t the_len) {
  LinkAccess a{list, array, combSortSupFun};
  sortcore::heapSort(a, first, the_len);
}
