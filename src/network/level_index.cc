// The ordering loop of the priority order and of the backward orders (see
// priority_order.h): readiness, the heap of ready positions that stands for
// the passes and their re-scans, stalls, pending and sub-optimal lists, cuts.
//
// Positions are indexes into the candidates between the two nodes (0 = the
// entry after the start node). Each item keeps, resolved once, its parent,
// its children and its filtered predecessor and successor positions, with
// the reverse lists that say whose readiness an ordering can change.
// Invariant after settle(): every item not yet ordered whose readiness can
// have changed has been looked at, and every ready one is in the heap.
#include "network/priority_order.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <set>
#include <string_view>
#include <unordered_map>

#include "model/dependency.h"
#include "model/serial_names.h"
#include "network/list_orders.h"

namespace priority_detail {

namespace {

__attribute__((format(printf, 2, 3))) void say(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
}

const char* firstParentName(const activity_type* a) {
  if (a->parent_list == nullptr || a->parent_list->phead == nullptr) return nullptr;
  return static_cast<string_type*>(a->parent_list->phead->pcontents)->str;
}

bool isLeaf(const activity_type* a, const char* finish) {
  if (a->type == 3 || a->child_list == nullptr) return true;
  for (linktype* l = a->child_list->phead; l != nullptr; l = l->pnext) {
    if (std::strcmp(static_cast<string_type*>(l->pcontents)->str, finish) != 0) return false;
  }
  return true;
}

bool contains(const linked_list_type* list, const void* element) {
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    if (l->pcontents == element) return true;
  }
  return false;
}

// Appends to a list bounded at PRIO_MAX_PENDING entries, once.
void addBounded(linked_list_type* list, activity_type* a) {
  if (contains(list, a)) return;
  if (ll_size(list) >= PRIO_MAX_PENDING) {
    ll_head(list);
    ll_remove(list);
  }
  ll_addtail(list, a);
}

}  // namespace

struct LevelOrdering::Node {
  int parent = -1;              // -1: the start node, none, or not a candidate
  std::vector<int> children;    // without the finish node
  std::vector<int> preds;       // forward: non-external predecessors (pred_list)
  std::vector<int> predsRev;    // forward: items that list this one as predecessor
  std::vector<int> succs;       // forward: non-external successors (succ_list);
                                // backward: the successors waited for
  std::vector<int> succsRev;    // items that list this one among succs
  bool leaf = true;
  bool hard = false;   // constraint 4 or 5
  bool alap = false;   // constraint 1
  bool realPred = false;
  bool realSucc = false;
  bool ordered = false;
  bool passed = false;  // forward: ordered, and every item below it too
  bool inHeap = false;
  int notDoneChildren = 0;  // forward: not passed; backward: not numbered
  int notDoneSuccs = 0;     // backward: succs not numbered
};

LevelOrdering::LevelOrdering(linked_list_type* cand, Direction dir, const char* START_NODE_NAME,
                             const char* FINISH_NODE_NAME, const char* module, FILE* file)
    : dir_(dir),
      module_(module),
      file_(file),
      nextIndex_(dir == Direction::Forward ? 0 : 1) {
  const int32_t n = ll_size(cand);
  if (n > 2) {
    items_.reserve(static_cast<size_t>(n - 2));
    for (linktype* l = cand->phead->pnext; l != nullptr && l->pnext != nullptr; l = l->pnext) {
      items_.push_back(static_cast<activity_type*>(l->pcontents));
    }
  }
  build(START_NODE_NAME, FINISH_NODE_NAME);
}

LevelOrdering::~LevelOrdering() = default;

void LevelOrdering::build(const char* start, const char* finish) {
  const int n = static_cast<int>(items_.size());
  nodes_.assign(static_cast<size_t>(n), Node{});
  std::unordered_map<std::string_view, int> pos;
  pos.reserve(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) pos.emplace(std::string_view(items_[i]->name), i);
  auto find = [&](const char* name) {
    if (name == nullptr || std::strcmp(name, start) == 0 || std::strcmp(name, finish) == 0) {
      return -1;
    }
    auto it = pos.find(std::string_view(name));
    return it == pos.end() ? -1 : it->second;
  };
  for (int i = 0; i < n; ++i) {
    activity_type* a = items_[i];
    Node& x = nodes_[i];
    x.parent = find(firstParentName(a));
    x.leaf = isLeaf(a, finish);
    x.hard = a->constraint_type == 4 || a->constraint_type == 5;
    x.alap = a->constraint_type == 1;
    x.realPred = activityHasNonTrivialNonExternalPred(a, start) != 0;
    x.realSucc = activityHasNonTrivialNonExternalSucc(a, finish) != 0;
    if (!x.leaf) {
      for (linktype* l = a->child_list->phead; l != nullptr; l = l->pnext) {
        const int c = find(static_cast<string_type*>(l->pcontents)->str);
        if (c >= 0) x.children.push_back(c);
      }
    }
    x.notDoneChildren = static_cast<int>(x.children.size());
  }
  for (int i = 0; i < n; ++i) {
    activity_type* a = items_[i];
    Node& x = nodes_[i];
    if (dir_ == Direction::Forward) {
      for (linktype* l = a->pred_list->phead; l != nullptr; l = l->pnext) {
        auto* d = static_cast<dependency_type*>(l->pcontents);
        const int p = d->isExternal ? -1 : find(d->name);
        if (p < 0 || p == i) continue;
        x.preds.push_back(p);
        nodes_[p].predsRev.push_back(i);
      }
    }
    for (linktype* l = a->succ_list->phead; l != nullptr; l = l->pnext) {
      auto* d = static_cast<dependency_type*>(l->pcontents);
      const int s = d->isExternal ? -1 : find(d->name);
      if (s < 0 || s == i) continue;
      if (dir_ == Direction::Backward &&
          (items_[s]->isExternalSucc != 0 || isAncestorOrSelf(s, i))) {
        continue;
      }
      x.succs.push_back(s);
      nodes_[s].succsRev.push_back(i);
    }
    x.notDoneSuccs = static_cast<int>(x.succs.size());
  }
  markDependencyCycles();
  for (int i = 0; i < n; ++i) notOrdered_.insert(notOrdered_.end(), i);
}

// onCycle_: the items whose strongly connected component of the successor
// graph holds more than one item (iterative Tarjan, linear in items and
// links).
void LevelOrdering::markDependencyCycles() {
  const int n = static_cast<int>(nodes_.size());
  onCycle_.assign(static_cast<size_t>(n), 0);
  std::vector<int> index(static_cast<size_t>(n), -1), low(static_cast<size_t>(n), 0);
  std::vector<char> onStack(static_cast<size_t>(n), 0);
  std::vector<int> stack;
  std::vector<std::pair<int, size_t>> frames;  // (item, next successor)
  int counter = 0;
  for (int root = 0; root < n; ++root) {
    if (index[root] >= 0) continue;
    frames.emplace_back(root, 0);
    index[root] = low[root] = counter++;
    stack.push_back(root);
    onStack[root] = 1;
    while (!frames.empty()) {
      auto& [v, next] = frames.back();
      const std::vector<int>& succs = nodes_[v].succs;
      if (next < succs.size()) {
        const int w = succs[next++];
        if (index[w] < 0) {
          index[w] = low[w] = counter++;
          stack.push_back(w);
          onStack[w] = 1;
          frames.emplace_back(w, 0);
        } else if (onStack[w]) {
          low[v] = std::min(low[v], index[w]);
        }
        continue;
      }
      const int done = v;
      frames.pop_back();
      if (!frames.empty()) {
        const int parent = frames.back().first;
        low[parent] = std::min(low[parent], low[done]);
      }
      if (low[done] != index[done]) continue;
      size_t first = stack.size();
      while (stack[first - 1] != done) --first;
      --first;
      const bool cycle = stack.size() - first > 1;
      for (size_t k = first; k < stack.size(); ++k) {
        onStack[stack[k]] = 0;
        if (cycle) onCycle_[stack[k]] = 1;
      }
      stack.resize(first);
    }
  }
}

bool LevelOrdering::isAncestorOrSelf(int maybeAncestor, int i) const {
  for (int depth = 0; i >= 0 && depth <= static_cast<int>(nodes_.size()); ++depth) {
    if (i == maybeAncestor) return true;
    i = nodes_[i].parent;
  }
  return false;
}

bool LevelOrdering::ready(int i) {
  return dir_ == Direction::Forward ? readyForward(i) : readyBackward(i);
}

bool LevelOrdering::readyForward(int i) {
  const Node& x = nodes_[i];
  activity_type* a = items_[i];
  if (x.hard) return true;
  const int p = x.parent;
  if (p >= 0 && items_[p]->brunch != 0 && a->parent_level_order != 1) return false;
  if (x.alap && x.realSucc) {
    for (int s : x.succs) {
      if (nodes_[s].alap && !nodes_[s].passed) return false;
    }
    return true;
  }
  if (a->parent_level_order != 1 && p >= 0 && nodes_[p].realPred) {
    for (int q : nodes_[p].preds) {
      if (!nodes_[q].alap && !nodes_[q].passed) return false;
    }
  }
  for (int q : x.preds) {
    if (!nodes_[q].alap && !nodes_[q].passed) return false;
  }
  return true;
}

bool LevelOrdering::readyBackward(int i) {
  const Node& x = nodes_[i];
  if (x.hard) return true;
  if (!x.leaf) {
    if (x.notDoneChildren > 0) return false;
    // valIfChildSuccParentsPassed
    for (int c : x.children) {
      for (int s : nodes_[c].succs) {
        const int q = nodes_[s].parent;
        if (q >= 0 && q != i && items_[q]->level_id > items_[i]->level_id && !nodes_[q].ordered) {
          return false;
        }
      }
    }
  }
  // valIfSuccAndParSuccParPassed
  if (x.notDoneSuccs > 0) return false;
  for (int anc = x.parent, depth = 0; anc >= 0 && depth <= static_cast<int>(nodes_.size());
       anc = nodes_[anc].parent, ++depth) {
    if (nodes_[anc].notDoneSuccs == 0) continue;
    for (int s : nodes_[anc].succs) {
      if (!nodes_[s].ordered && !isAncestorOrSelf(s, i)) return false;
    }
  }
  return true;
}

void LevelOrdering::touch(int i) {
  if (!nodes_[i].ordered && !nodes_[i].inHeap) dirty_.push_back(i);
}

void LevelOrdering::touchSubtree(int i) {
  std::vector<int> stack(nodes_[i].children);
  while (!stack.empty()) {
    const int c = stack.back();
    stack.pop_back();
    touch(c);
    for (int g : nodes_[c].children) stack.push_back(g);
  }
}

// Forward: the item and every item below it are ordered.
void LevelOrdering::markPassed(int i) {
  while (i >= 0 && !nodes_[i].passed) {
    Node& x = nodes_[i];
    x.passed = true;
    for (int s : x.predsRev) {
      touch(s);
      for (int c : nodes_[s].children) touch(c);
    }
    if (x.alap) {
      for (int p : x.succsRev) touch(p);
    }
    const int parent = x.parent;
    if (parent < 0) break;
    if (--nodes_[parent].notDoneChildren > 0 || !nodes_[parent].ordered) break;
    i = parent;
  }
}

void LevelOrdering::order(int i, bool forced) {
  Node& x = nodes_[i];
  activity_type* a = items_[i];
  x.ordered = true;
  notOrdered_.erase(i);
  ++orderedCount_;
  lastOrdered_ = i;
  if (dir_ == Direction::Forward) {
    // An item without predecessors of its own let through by its parent's
    // predecessors is marked, with its children, as free of its parent.
    // Whenever that rule lets such an item through it is ordered, so the
    // marks are set here and asking for readiness stays free of effects.
    const int p = x.parent;
    if (!forced && !x.hard && !(x.alap && x.realSucc) && a->parent_level_order != 1 && p >= 0 &&
        nodes_[p].realPred && !x.realPred) {
      a->parent_level_order = 1;
      for (int c : x.children) items_[c]->parent_level_order = 1;
    }
    a->task_level_order = nextIndex_++;
    if (!x.leaf) {
      for (int c : x.children) {
        items_[c]->parent_level_order = 1;
        touch(c);
      }
    }
    if (x.leaf || x.notDoneChildren == 0) markPassed(i);
  } else {
    a->proper_order_back = nextIndex_++;
    if (!x.leaf) {
      for (int c : x.children) items_[c]->parent_proper_back = 1;
    }
    for (int p : x.succsRev) {
      touch(p);
      if (--nodes_[p].notDoneSuccs == 0) touchSubtree(p);
    }
    if (x.parent >= 0) {
      --nodes_[x.parent].notDoneChildren;
      touch(x.parent);
    }
    // Containers whose children lead into this one wait for it.
    for (int c : x.children) {
      for (int p : nodes_[c].succsRev) {
        if (nodes_[p].parent >= 0) touch(nodes_[p].parent);
      }
    }
  }
  settle();
}

void LevelOrdering::settle() {
  while (!dirty_.empty()) {
    const int j = dirty_.back();
    dirty_.pop_back();
    Node& y = nodes_[j];
    if (y.ordered || y.inHeap || !ready(j)) continue;
    y.inHeap = true;
    heap_.push_back(j);
    std::push_heap(heap_.begin(), heap_.end(), std::greater<int>());
  }
}

void LevelOrdering::creaLevelIndexTopListToCurrPos(int currPos) {
  while (!heap_.empty() && heap_.front() <= currPos) {
    std::pop_heap(heap_.begin(), heap_.end(), std::greater<int>());
    const int i = heap_.back();
    heap_.pop_back();
    nodes_[i].inHeap = false;
    if (!nodes_[i].ordered) order(i, false);
  }
}

void LevelOrdering::addPending(int i) {
  activity_type* a = items_[i];
  a->comb_index = a->level_id;
  addBounded(pending_.get(), a);
  addBounded(subOptimal_.get(), a);
}

// A new pass: the items above its first ready one are found not ready
// before it orders anything (all of them in a stall).
//
// Only the last PRIO_MAX_PENDING of them can stay on the bounded lists, so
// only those are taken, from the set of positions not yet ordered: a pass
// costs the size of the lists, not the length of the candidate list (a
// stall used to walk every candidate, which made the orders quadratic on
// networks that stall often).
void LevelOrdering::startPass() {
  ll_removeAll(pending_.get());
  const int n = static_cast<int>(items_.size());
  const int firstReady = heap_.empty() ? n : heap_.front();
  std::vector<int> last;
  for (auto it = notOrdered_.lower_bound(firstReady);
       it != notOrdered_.begin() && static_cast<int>(last.size()) < PRIO_MAX_PENDING;) {
    --it;
    last.push_back(*it);
  }
  const bool added = !last.empty();
  for (auto it = last.rbegin(); it != last.rend(); ++it) addPending(*it);
  if (added) {
    ordActListByCombIndxIdAsc(pending_.get());
    ordActListByCombIndxIdAsc(subOptimal_.get());
  }
}

int LevelOrdering::nextForced() const {
  int forced = -1;
  if (ll_size(pending_.get()) > 0) {
    ll_tail(pending_.get());
    const auto* deepest = static_cast<activity_type*>(ll_retrieve(pending_.get()));
    for (int i = 0; i < static_cast<int>(items_.size()); ++i) {
      if (items_[i] == deepest) {
        forced = i;
        break;
      }
    }
  }
  for (int i = 0; forced < 0 && i < static_cast<int>(items_.size()); ++i) {
    if (!nodes_[i].ordered) forced = i;
  }
  return forced;
}

void LevelOrdering::reportCut(int forced) {
  const activity_type* f = forced >= 0 ? items_[forced] : nullptr;
  say(file_, "\n\n Cut long chain of Dependences on Pending Node (%s)", module_);
  say(file_, "\n forced node = %s type = %d level_id = %d", f ? f->name : "", f ? f->type : 0,
      f ? f->level_id : 0);
  say(file_, "\n number of tries since last = %d length of pending list = %d", stallsSinceReport_,
      ll_size(pending_.get()));
  say(file_, "\n last ordered node = %s last_index = %d",
      lastOrdered_ >= 0 ? items_[lastOrdered_]->name : "", nextIndex_ - 1);
  for (linktype* l = pending_->phead; l != nullptr; l = l->pnext) {
    const auto* a = static_cast<activity_type*>(l->pcontents);
    say(file_, "\n   %-32s type = %d level_id = %d", a->name, a->type, a->level_id);
  }
  say(file_, "\n");
  stallsSinceReport_ = 0;
}

int LevelOrdering::run() {
  const int n = static_cast<int>(items_.size());
  for (int i = 0; i < n; ++i) dirty_.push_back(i);
  settle();
  while (orderedCount_ < n) {
    startPass();
    if (heap_.empty()) {
      ++allStalls_;
      ++stallsSinceReport_;
      const int candidate = nextForced();
      if (candidate >= 0 && onCycle_[candidate]) ++stalls_;
      if (candidate < 0 || stalls_ > PRIO_MAX_STALLS) {
        say(file_, "\n\n*************************************************************");
        say(file_, "\n* Module: %s", module_);
        say(file_, "\n* Circular like Dependency has been Detected");
        if (std::strcmp(module_, "reorgNetTrFromFinishNode") == 0) {
          say(file_, "\n* Unabel to cut or resolve. No exeeds 300 pases");
        } else {
          say(file_, "\n* Unable to cut or resolve. No exeeds 100 pases");
        }
        say(file_, "\n*************************************************************\n");
        return PRIO_ERR_CANNOT_RESOLVE;
      }
      order(candidate, true);
      if (allStalls_ == 1 || (allStalls_ - 1) % PRIO_CUT_REPORT_EVERY == 0) reportCut(candidate);
      continue;
    }
    while (!heap_.empty()) creaLevelIndexTopListToCurrPos(heap_.front());
  }
  return 0;
}

}  // namespace priority_detail
