// The one collection of the engine: a doubly linked list of untyped element
// pointers with a single movable current position, an optional name index,
// and two callbacks fixed at creation (match an element against a key; give
// an element's name).
//
// Ownership: the list owns its links and its index array, never its elements.
// Removing or deleting releases links only; whoever put the elements in
// releases them with their own delete function.
//
// Current position: every insertion makes the new element current; removal
// makes the next element current, or the previous one when the tail went;
// ll_next / ll_previous stop at the ends (no wrap-round, no past-the-end).
// Most scans go to the head and then, size times, retrieve and advance.
//
// Index: ll_createIndexArray sorts the links by name into pcl_arr, with the
// network's start node always first and its finish node always last. Once a
// list is indexed it stays indexed; changes only mark the index stale through
// lastOperStatus (0 in step, 1 removal, 2 insertion, 3 promote/replace) and
// the next indexed search rebuilds it, growing the array when the list
// outgrew it. On an indexed list every search goes through ll_bsearch and the
// match callback is not called, so keys must then be name strings.
// Beside the sorted array the rebuild fills a hash table of the same links
// (open addressing, at most half full), which is what ll_bsearch looks in:
// the network passes look items up by name hundreds of thousands of times,
// and on a portfolio of 100,000 items a binary search costs some seventeen
// string comparisons on scattered memory where the table costs one or two.
// Among links of the same name the table finds the one nearest the head.
//
// changeCount: a counter that every change of the chain or of an element
// pointer (insertion, removal, promotion, replacement) advances. It is not
// part of the index bookkeeping; it lets a record keep a side lookup over
// one of its lists and tell, in O(1), whether anyone has changed the list
// since the lookup was last brought in step (see model/name_lookup.h).
//
// Allocation failure is not recovered from: operator new throws
// std::bad_alloc, which travels up like every other unexpected failure.
#ifndef LEVELER_MODEL_LINKED_LIST_H
#define LEVELER_MODEL_LINKED_LIST_H

#include <cstdint>

struct linktype {
  linktype* pnext;      // null at the tail
  linktype* pprevious;  // null at the head
  void* pcontents;      // the element, not owned
};

// Match callback: nonzero when the element matches the key.
using ll_match_fn = int (*)(void* element, const void* key);
// Name callback: the element's name, the key of the index.
using ll_criteria_fn = const char* (*)(void* element);

inline constexpr int LL_NAME_SIZE = 33;  // 32 characters and terminator

// A slot of the name hash table: the link and its name's hash (0 link:
// empty), so that a probe rejects other names without visiting them.
struct ll_hash_slot {
  linktype* link;
  uint32_t hash;
};

struct linked_list_type {
  int16_t indexed;         // 1 once an index array exists; never reset
  int16_t lastOperStatus;  // 0 in step, 1 removed, 2 added, 3 reordered
  int32_t listlength;      // number of elements
  int32_t index_arr_len;   // capacity of pcl_arr, in entries
  ll_match_fn match;
  ll_criteria_fn criteria;
  char startNodeName[LL_NAME_SIZE];   // always first in index order
  char finishNodeName[LL_NAME_SIZE];  // always last in index order
  linktype* pcl;    // current link; null only when the list is empty
  linktype* phead;
  linktype* ptail;
  linktype** pcl_arr;  // links in index order
  struct ll_hash_slot* hash_arr;  // the same links by hash of the name; null: none
  uint32_t hash_mask;             // table size - 1 (a power of two)
  uint64_t changeCount;  // advanced by every change; never reset
};
using linked_list = linked_list_type;

// Index comparator and its sort workers.
using ll_link_cmp_fn = int (*)(linked_list_type* list, linktype* a, linktype* b);

// Creation and release.
linked_list_type* ll_new(ll_match_fn newmatch, ll_criteria_fn newcriteria);
void ll_delete(linked_list_type* list);
linktype* link_new(void* element);
void link_delete(linktype* link);

// Position and access; none of these marks the index stale.
int32_t ll_size(const linked_list_type* list);
void ll_head(linked_list_type* list);
void ll_tail(linked_list_type* list);
void ll_next(linked_list_type* list);
void ll_previous(linked_list_type* list);
int ll_ishead(const linked_list_type* list);
int ll_istail(const linked_list_type* list);
void* ll_retrieve(const linked_list_type* list);  // list must not be empty

// Insertion: the new element becomes current.
void ll_addhead(linked_list_type* list, void* element);
void ll_addtail(linked_list_type* list, void* element);
void ll_insertBefore(linked_list_type* list, void* element);
void ll_insertAfter(linked_list_type* list, void* element);

// Change in place and removal.
void ll_replace(linked_list_type* list, void* element);
void ll_promote(linked_list_type* list);
void ll_remove(linked_list_type* list);
void ll_removeAll(linked_list_type* list);

// Searching.
int ll_find(linked_list_type* list, const void* key);
void* ll_extract(linked_list_type* list, const void* key);
int ll_locate(linked_list_type* list, const void* key);
int ll_findKeepLooping(linked_list_type* list, const void* key);
void* ll_extractKeepLooping(linked_list_type* list, const void* key);
int ll_locateKeepLooping(linked_list_type* list, const void* key);

// Index.
void ll_createIndexArray(linked_list_type* list, const char* START_NODE_NAME,
                         const char* FINISH_NODE_NAME);
linktype* ll_bsearch(linked_list_type* list, const char* key);
int ll_swapFunCritAscOrder(linked_list_type* list, linktype* a, linktype* b);
void ll_combQuickSortOfPointArray(linked_list_type* list, ll_link_cmp_fn combSortSupFun,
                                  int32_t the_len);
void ll_quickSort(linked_list_type* list, linktype** array, ll_link_cmp_fn combSortSupFun,
                  int32_t lo, int32_t hi);
void ll_HelperHeapSort(linked_list_type* list, linktype** array, ll_link_cmp_fn combSortSupFun,
                       int32_t first, int32_t the_len);

#endif
