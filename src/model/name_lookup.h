// Name lookups that keep the records' duplicate checks linear.
//
// Items and assignments refuse a second entry of the same name in their own
// lists (children, parents, predecessors, successors, assignments, work
// records). Those lists are not indexed, so the check was a walk of the
// whole list on every add: loading one container with tens of thousands of
// children, or one resource with tens of thousands of work records, took
// quadratic time. A name_lookup is a hash table from name to the first link
// (head to tail) that carries the name, kept beside one such list.
//
// Ownership: the record that owns the list owns the lookup (a null pointer
// until the list first reaches NAME_LOOKUP_MIN_LENGTH elements at a search)
// and releases it with nameLookupDelete when it releases the list. The
// lookup owns its table only; its keys point into the elements' names.
//
// Staying correct when others change the list: other units walk, reorder
// and even append to these lists directly. The lookup remembers the list's
// changeCount at the moment it was last in step; any change it did not make
// itself leaves the counts different, and the next search rebuilds the
// table from the list in one walk. Changes made through the functions below
// keep it in step. The rebuild reads every name afresh, so stale keys of
// released elements are dropped without being read.
//
// Results are those of the list's own searches: the first match from the
// head (ll_extract / ll_locate), and on an indexed list the index search
// itself is used. The one assumption is the one the match callbacks already
// make: an element's name is not rewritten while it sits in the list.
#ifndef LEVELER_MODEL_NAME_LOOKUP_H
#define LEVELER_MODEL_NAME_LOOKUP_H

#include <cstdint>

#include "model/linked_list.h"

struct name_lookup;

// Shorter lists are simply walked: a table would cost more than it saves.
inline constexpr int32_t NAME_LOOKUP_MIN_LENGTH = 32;

// The first link whose element's name is key, or null; the current position
// is not moved. *slot is created here once the list is long enough.
linktype* nameLookupFind(name_lookup** slot, linked_list_type* list, const char* key);

// ll_addtail / ll_addhead that keep the lookup (may be null) in step.
void nameLookupAddTail(name_lookup* lookup, linked_list_type* list, void* element);
void nameLookupAddHead(name_lookup* lookup, linked_list_type* list, void* element);

// Removes the link (one of the list's own) as ll_remove does, the next link
// becoming current. The element is not released.
void nameLookupRemove(name_lookup* lookup, linked_list_type* list, linktype* link);

// Puts element, which must carry the same name, into the link in place of
// the old one (ll_replace); the link becomes current.
void nameLookupReplace(name_lookup* lookup, linked_list_type* list, linktype* link,
                       void* element);

void nameLookupDelete(name_lookup* lookup);

#endif
