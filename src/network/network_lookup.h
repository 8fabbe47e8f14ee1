// Internal helpers of the network-construction units: a name index over an
// item list, and read-only walks over a list's links.
//
// The index maps an item's name to its record in O(1). It holds views into
// the records' own name arrays, so it must not outlive the records and is
// built afresh by each operation (a list may be changed between calls).
// Walking the links directly never moves a list's current position, so a
// walk may run while another walk of the same list is under way.
//
// Not part of the public interface: only the network units include it.
#ifndef LEVELER_NETWORK_NETWORK_LOOKUP_H
#define LEVELER_NETWORK_NETWORK_LOOKUP_H

#include <cstring>
#include <string_view>
#include <unordered_map>

#include "model/activity.h"
#include "model/dependency.h"
#include "model/linked_list.h"
#include "model/serial_names.h"

namespace network_detail {

// Calls f(element) for every element of the list, head to tail.
template <class T, class F>
void forEachIn(const linked_list_type* list, F f) {
  if (list == nullptr) return;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) f(static_cast<T*>(l->pcontents));
}

inline bool sameName(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

// Name of the first parent of an item, or null when it has none.
inline const char* firstParentName(const activity_type* act) {
  const linked_list_type* parents = act->parent_list;
  if (parents == nullptr || parents->phead == nullptr) return nullptr;
  return static_cast<string_type*>(parents->phead->pcontents)->str;
}

// Records of an item list by name; the first record of a name wins.
class ActivityIndex {
 public:
  explicit ActivityIndex(const linked_list_type* list) {
    if (list != nullptr) byName_.reserve(static_cast<size_t>(list->listlength));
    forEachIn<activity_type>(list, [&](activity_type* a) {
      if (a != nullptr) byName_.emplace(std::string_view(a->name), a);
    });
  }
  activity_type* find(const char* name) const {
    if (name == nullptr) return nullptr;
    auto it = byName_.find(std::string_view(name));
    return it == byName_.end() ? nullptr : it->second;
  }

 private:
  std::unordered_map<std::string_view, activity_type*> byName_;
};

// ordChiListBySerNumAsc with the children's serial numbers taken through
// an index (network_tree.cc).
void orderChildrenBySerialWith(activity_type* container, const ActivityIndex& index);

}  // namespace network_detail

#endif  // LEVELER_NETWORK_NETWORK_LOOKUP_H
