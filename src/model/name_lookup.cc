// Name lookups beside the records' own lists: a hash table from name to the
// first link carrying it, rebuilt in one walk whenever the list changed
// behind its back.
#include "model/name_lookup.h"

#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

namespace {

// One slot of the table: the name's hash and the first link carrying the
// name; an empty slot has no link. Names are read through the link only
// when the hashes agree, so a search for an absent name (the common case
// while loading) seldom touches the elements.
struct Slot {
  uint64_t hash;
  linktype* link;
};

uint64_t hashOf(const char* name) { return std::hash<std::string_view>{}(name); }

}  // namespace

// Open addressing with linear probing, at most half full, power-of-two size.
struct name_lookup {
  const linked_list_type* list = nullptr;  // the list the table mirrors
  uint64_t syncedChange = 0;               // list->changeCount when in step
  bool built = false;
  bool hasDuplicates = false;  // the list held one name twice at the last rebuild
  size_t used = 0;
  std::vector<Slot> slots;

  size_t mask() const { return slots.size() - 1; }

  // Index of the slot holding the name, or of the empty slot that ends its
  // probe sequence.
  size_t probe(const char* key, uint64_t h) const {
    size_t i = h & mask();
    while (slots[i].link != nullptr) {
      if (slots[i].hash == h && std::strcmp(list->criteria(slots[i].link->pcontents), key) == 0) {
        return i;
      }
      i = (i + 1) & mask();
    }
    return i;
  }

  void reset(size_t expected) {
    size_t capacity = 16;
    while (capacity < 2 * expected + 2) capacity *= 2;
    slots.assign(capacity, Slot{0, nullptr});
    used = 0;
  }

  void grow() {
    std::vector<Slot> old;
    old.swap(slots);
    slots.assign(old.size() * 2, Slot{0, nullptr});
    for (const Slot& s : old) {
      if (s.link == nullptr) continue;
      size_t i = s.hash & mask();
      while (slots[i].link != nullptr) i = (i + 1) & mask();
      slots[i] = s;
    }
  }

  // Enters the link under its name unless the name is there; with
  // overwrite the link takes the entry over. False when the name was there.
  bool put(linktype* link, bool overwrite) {
    if (2 * (used + 1) > slots.size()) grow();
    const char* name = list->criteria(link->pcontents);
    const uint64_t h = hashOf(name);
    const size_t i = probe(name, h);
    if (slots[i].link != nullptr) {
      if (overwrite) slots[i].link = link;
      return false;
    }
    slots[i] = Slot{h, link};
    ++used;
    return true;
  }

  linktype* get(const char* key) const {
    return slots[probe(key, hashOf(key))].link;
  }

  // Removes the entry of the link's name if it is that link's, closing the
  // gap by shifting later members of the probe run back.
  void erase(linktype* link) {
    const char* name = list->criteria(link->pcontents);
    size_t i = probe(name, hashOf(name));
    if (slots[i].link != link) return;
    slots[i].link = nullptr;
    --used;
    for (size_t j = (i + 1) & mask(); slots[j].link != nullptr; j = (j + 1) & mask()) {
      const size_t home = slots[j].hash & mask();
      // The entry at j may move into the gap at i unless its home lies
      // cyclically in (i, j].
      const bool stays = i <= j ? (i < home && home <= j) : (i < home || home <= j);
      if (stays) continue;
      slots[i] = slots[j];
      slots[j].link = nullptr;
      i = j;
    }
  }
};

namespace {

bool inStep(const name_lookup* lookup, const linked_list_type* list) {
  return lookup != nullptr && lookup->built && lookup->list == list &&
         lookup->syncedChange == list->changeCount;
}

void rebuild(name_lookup* lookup, linked_list_type* list) {
  // The old entries may name released elements: they are dropped unread.
  lookup->list = list;
  lookup->reset(static_cast<size_t>(list->listlength));
  lookup->hasDuplicates = false;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    // An existing entry is kept: the earlier link stays the first.
    if (!lookup->put(l, false)) lookup->hasDuplicates = true;
  }
  lookup->syncedChange = list->changeCount;
  lookup->built = true;
}

linktype* walk(linked_list_type* list, const char* key) {
  if (list->match == nullptr) return nullptr;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    if (list->match(l->pcontents, key)) return l;
  }
  return nullptr;
}

}  // namespace

linktype* nameLookupFind(name_lookup** slot, linked_list_type* list, const char* key) {
  if (list->listlength == 0) return nullptr;
  // An indexed list answers through its own index, as every search of it does.
  if (list->indexed) return ll_bsearch(list, key);
  if (list->criteria == nullptr) return walk(list, key);
  name_lookup* lookup = *slot;
  if (lookup == nullptr) {
    if (list->listlength < NAME_LOOKUP_MIN_LENGTH) return walk(list, key);
    lookup = *slot = new name_lookup();
  }
  if (!inStep(lookup, list)) rebuild(lookup, list);
  return lookup->get(key);
}

void nameLookupAddTail(name_lookup* lookup, linked_list_type* list, void* element) {
  const bool keep = inStep(lookup, list);
  ll_addtail(list, element);
  if (!keep) return;
  if (!lookup->put(list->ptail, false)) lookup->hasDuplicates = true;
  lookup->syncedChange = list->changeCount;
}

void nameLookupAddHead(name_lookup* lookup, linked_list_type* list, void* element) {
  const bool keep = inStep(lookup, list);
  ll_addhead(list, element);
  if (!keep) return;
  // The new head comes before any other link of that name.
  if (!lookup->put(list->phead, true)) lookup->hasDuplicates = true;
  lookup->syncedChange = list->changeCount;
}

void nameLookupRemove(name_lookup* lookup, linked_list_type* list, linktype* link) {
  // With a name held twice the next link of that name would have to take
  // over the entry; that is left to a rebuild at the next search.
  const bool keep = inStep(lookup, list) && !lookup->hasDuplicates;
  if (keep) lookup->erase(link);
  list->pcl = link;
  ll_remove(list);
  if (keep) lookup->syncedChange = list->changeCount;
}

void nameLookupReplace(name_lookup* lookup, linked_list_type* list, linktype* link,
                       void* element) {
  // A different name, or a name held twice, would move other links' claims
  // to be first; those cases are left to a rebuild at the next search.
  const bool keep = inStep(lookup, list) && !lookup->hasDuplicates &&
                    std::strcmp(list->criteria(link->pcontents), list->criteria(element)) == 0;
  list->pcl = link;
  ll_replace(list, element);
  // Same name, same link: the entry (hash and link) stands as it is.
  if (keep) lookup->syncedChange = list->changeCount;
}

void nameLookupDelete(name_lookup* lookup) { delete lookup; }
