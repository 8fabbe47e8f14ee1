// The ordered network list (doBuildNetTrFromStartNode).
//
// Phase 1 walks the network in waves from the start node: a successor is
// taken once its last non-external predecessor has arrived; a container only
// once all its children are passed (until then the frontier item that leads
// to it is re-queued). Items whose predecessors count as passed go straight
// to the network list; the others wait, leaves in tmp_delayed_list and
// containers in tmp_contain_list, each kept in dependency order by the
// insertion rule. A wave that makes no progress is a stall: the items it
// stalled on join the circular list (at most 40, the oldest dropped) and the
// deepest of them is forced through - the cut of a circular chain. Phase 2
// inserts the waiting items into the network list behind what they depend
// on. A closing pass enforces the two invariants where the insertion rules
// fell short (see the header's choices): the rules place a container as
// soon as its children are passed, which may be before its delayed leaves
// are inserted, and insert a leaf behind its predecessors' containers even
// when its own container already stands before them; on random networks
// with nested containers most lists need the closing pass somewhere.
//
// Representation: items are numbered by their position in the item list and
// the graph (successors, predecessors, children, first parent) is resolved
// once into those numbers. The network list and the two waiting lists are
// sequences with order labels, so "the entry nearest the tail that is one of
// X's predecessors" is the largest label among X's predecessors - O(degree)
// instead of a scan of the list; a crowded spot gets its neighbourhood's
// labels spread out. The passed set is a flag per item. Each container keeps
// the count of its children not yet passed, so a re-queued frontier item is
// woken only when a container it waits on has completed, instead of
// re-walking its successors every time the frontier runs dry (the start
// node's successors alone are a quarter of a random network, whose frontier
// runs dry about once per fifteen items). The linked lists of the
// interface (activities_list, the circular list handed to the writer) are
// filled from these at the end.
//
// Costs: phase 1 and phase 2 are linear in items plus dependencies (plus the
// label spreading, O(log^2 n) amortised per insertion at worst); the closing
// pass is O((n + m) log n); resolving the names into numbers is one hash
// lookup per link.
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <map>
#include <queue>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "network/list_orders.h"
#include "network/network_construction.h"
#include "network/network_lookup.h"
#include "store/result_writers.h"

using network_detail::ActivityIndex;
using network_detail::firstParentName;
using network_detail::forEachIn;

namespace {

void logf(FILE* file, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void logf(FILE* file, const char* fmt, ...) {
  if (file == nullptr) return;
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(file, fmt, ap);
  va_end(ap);
}

// A sequence of item numbers with order labels: O(1) insertion next to a
// member, removal, membership and "which of two members comes first".
class OrderedSeq {
 public:
  explicit OrderedSeq(int n)
      : prev_(static_cast<size_t>(n), -1), next_(static_cast<size_t>(n), -1),
        label_(static_cast<size_t>(n), 0), in_(static_cast<size_t>(n), 0) {}

  bool contains(int i) const { return in_[i] != 0; }
  int size() const { return count_; }
  bool empty() const { return count_ == 0; }
  int head() const { return head_; }
  int next(int i) const { return next_[i]; }
  // True when member a stands before member b.
  bool before(int a, int b) const { return label_[a] < label_[b]; }

  void pushBack(int i) {
    if (tail_ >= 0 && label_[tail_] > kMaxLabel - step_) relabel();
    link(i, tail_, -1, tail_ < 0 ? step_ : label_[tail_] + step_);
  }
  void insertAfter(int pos, int i) {
    const int nxt = next_[pos];
    if (nxt < 0) {
      pushBack(i);
      return;
    }
    if (label_[nxt] - label_[pos] < 2) spread(pos, nxt);
    link(i, pos, nxt, label_[pos] + (label_[nxt] - label_[pos]) / 2);
  }
  void insertBefore(int pos, int i) {
    const int prv = prev_[pos];
    if (prv >= 0) {
      insertAfter(prv, i);
      return;
    }
    if (label_[pos] < 2) spread(-1, pos);
    link(i, -1, pos, label_[pos] / 2);
  }
  void erase(int i) {
    if (!in_[i]) return;
    (prev_[i] >= 0 ? next_[prev_[i]] : head_) = next_[i];
    (next_[i] >= 0 ? prev_[next_[i]] : tail_) = prev_[i];
    prev_[i] = next_[i] = -1;
    in_[i] = 0;
    --count_;
  }
  // Moves member i right after member pos.
  void moveAfter(int pos, int i) {
    if (pos == i) return;
    erase(i);
    insertAfter(pos, i);
  }
  std::vector<int> items() const {
    std::vector<int> out;
    out.reserve(static_cast<size_t>(count_));
    for (int i = head_; i >= 0; i = next_[i]) out.push_back(i);
    return out;
  }

 private:
  static constexpr uint64_t kMaxLabel = uint64_t{1} << 63;

  void link(int i, int prv, int nxt, uint64_t label) {
    prev_[i] = prv;
    next_[i] = nxt;
    (prv >= 0 ? next_[prv] : head_) = i;
    (nxt >= 0 ? prev_[nxt] : tail_) = i;
    label_[i] = label;
    in_[i] = 1;
    ++count_;
  }
  // Spreads the labels evenly over [step, 2^62], leaving the upper half for
  // items appended later.
  void relabel() {
    step_ = (uint64_t{1} << 62) / (static_cast<uint64_t>(count_) + 2);
    if (step_ < 2) step_ = 2;
    uint64_t label = step_;
    for (int i = head_; i >= 0; i = next_[i], label += step_) label_[i] = label;
  }
  // Makes room between a (a member, or -1 for the front) and its successor
  // b: the window of members around them grows (doubling) until the labels
  // bounding it leave a gap of at least max(64, 2 x window) per member, and
  // the window's labels are spread evenly. So a crowded spot costs a
  // relabelling of its neighbourhood, not of the whole sequence.
  void spread(int a, int b) {
    int lo = a >= 0 ? a : b;
    int hi = b;
    uint64_t count = a >= 0 ? 2 : 1;
    for (;;) {
      const uint64_t left = prev_[lo] >= 0 ? label_[prev_[lo]] : 0;
      const uint64_t right = next_[hi] >= 0 ? label_[next_[hi]] : kMaxLabel;
      const uint64_t gap = (right - left) / (count + 1);
      const bool whole = prev_[lo] < 0 && next_[hi] < 0;
      if (whole || gap >= std::max<uint64_t>(64, 2 * count)) {
        uint64_t label = left + gap;
        for (int i = lo;; i = next_[i], label += gap) {
          label_[i] = label;
          if (i == hi) break;
        }
        return;
      }
      for (uint64_t k = count; k > 0; --k) {
        if (prev_[lo] >= 0 && (k % 2 == 0 || next_[hi] < 0)) {
          lo = prev_[lo];
        } else if (next_[hi] >= 0) {
          hi = next_[hi];
        } else {
          break;
        }
        ++count;
      }
    }
  }

  std::vector<int> prev_, next_;
  std::vector<uint64_t> label_;
  std::vector<char> in_;
  int head_ = -1, tail_ = -1, count_ = 0;
  uint64_t step_ = uint64_t{1} << 32;
};

struct Edge {
  int to;
  bool external;
};

class NetworkBuilder {
 public:
  NetworkBuilder(linked_list_type* act_tmp_list, bool levels, bool reversed, FILE* file);
  ~NetworkBuilder() { ll_delete(circular_); }
  NetworkBuilder(const NetworkBuilder&) = delete;
  NetworkBuilder& operator=(const NetworkBuilder&) = delete;

  int run(linked_list_type* activities_list, bool numberSerials);

 private:
  // Phase 1.
  int waves();
  bool arrive(int x, bool external);
  void visit(int f, int x, int waveLevel, std::vector<int>& nextFrontier);
  void revisitWaiting(int f, int waveLevel, std::vector<int>& nextFrontier);
  void requeueOnce(int f);
  void leaveRequeue(int f);
  bool requeueHolds(const std::vector<int>& items) const;
  std::vector<int> requeueItems() const;
  void markPassed(int x);
  std::vector<int> unpassedChildrenOf(const std::vector<int>& frontier);
  bool predsCountAsPassed(int f, int x) const;
  void place(int x, bool predsPassed);
  void insertWaiting(OrderedSeq& seq, int x) const;
  void setLevel(int f, int x, int32_t target);
  void addToCircular(int x);
  bool onCircular(int x) const;
  int cutChain();
  void reportCut(int forced, int stalls);
  void writeCircular();

  // Phase 2.
  int insertWaitingItems();
  void placeReadyContainersFirst();
  bool tryPlaceLeaf(int l, bool forced);
  bool tryPlaceContainer(int c);
  void collectAncestors(int l, std::vector<int>& anc) const;
  bool isAncestorOf(int a, int x) const;
  void pullSuccessorsBehind(int l);
  void printWaiting(const OrderedSeq& seq) const;

  // Closing.
  std::vector<int> enforceInvariants(const std::vector<int>& order) const;

  FILE* file_;
  bool levels_;
  int n_ = 0;
  int start_ = -1, end_ = -1;
  ActivityIndex index_;
  std::vector<activity_type*> act_;
  std::unordered_map<const activity_type*, int> numberOf_;
  std::vector<std::vector<Edge>> succ_, pred_;
  std::vector<std::vector<int>> children_;  // without the end node
  std::vector<int> parent_;                 // first parent, -1 when none
  std::vector<char> leaf_, hasNonExtPred_, nonTrivPred_, nonTrivNonExtPred_, nonTrivSucc_;

  std::vector<char> passed_, ready_;
  // The re-queue list: frontier items waiting on containers, in the order
  // they were re-queued (a running number); those with a container due.
  std::map<int64_t, int> requeue_;
  std::vector<int64_t> requeueSeq_;  // per item, -1 when not re-queued
  int64_t nextRequeueSeq_ = 0;
  std::set<int64_t> dueSet_;
  // Containers waiting for their children. A frontier item that meets one
  // waits on it (and is re-queued); when the container's last child is
  // passed, it becomes due for each item waiting on it, and only due
  // containers are looked at again.
  std::vector<int> unpassedChildren_;           // per container
  std::vector<std::vector<int>> containersOf_;  // per item: containers listing it as child
  std::vector<std::vector<int>> waitersOf_;     // per container: items waiting on it
  std::vector<std::vector<int>> waitingFor_;    // per item: containers it waits on
  std::vector<std::vector<int>> dueFor_;        // per item: those completed since
  std::vector<int> pendingOf_;                  // per item: those not yet completed
  OrderedSeq net_, delayed_, contain_;
  linked_list_type* circular_;  // tmp_circular_list, at most 40 entries
};

NetworkBuilder::NetworkBuilder(linked_list_type* act_tmp_list, bool levels, bool reversed,
                               FILE* file)
    : file_(file), levels_(levels), index_(act_tmp_list), net_(ll_size(act_tmp_list)),
      delayed_(ll_size(act_tmp_list)), contain_(ll_size(act_tmp_list)),
      circular_(ll_new(activityMatch, getActivityName)) {
  forEachIn<activity_type>(act_tmp_list, [&](activity_type* a) {
    numberOf_.emplace(a, static_cast<int>(act_.size()));
    act_.push_back(a);
  });
  n_ = static_cast<int>(act_.size());
  start_ = reversed ? n_ - 1 : 0;
  end_ = reversed ? 0 : n_ - 1;
  const char* startName = act_[start_]->name;
  const char* endName = act_[end_]->name;
  auto numberOfName = [&](const char* name) {
    const activity_type* a = index_.find(name);
    return a == nullptr ? -1 : numberOf_.at(a);
  };

  succ_.resize(n_);
  pred_.resize(n_);
  children_.resize(n_);
  parent_.assign(n_, -1);
  leaf_.assign(n_, 0);
  hasNonExtPred_.assign(n_, 0);
  nonTrivPred_.assign(n_, 0);
  nonTrivNonExtPred_.assign(n_, 0);
  nonTrivSucc_.assign(n_, 0);
  for (int i = 0; i < n_; ++i) {
    activity_type* a = act_[i];
    forEachIn<dependency_type>(a->succ_list, [&](dependency_type* d) {
      int j = numberOfName(d->name);
      if (j >= 0) succ_[i].push_back({j, d->isExternal != 0});
    });
    forEachIn<dependency_type>(a->pred_list, [&](dependency_type* d) {
      int j = numberOfName(d->name);
      if (j >= 0) pred_[i].push_back({j, d->isExternal != 0});
    });
    forEachIn<string_type>(a->child_list, [&](string_type* s) {
      int j = numberOfName(s->str);
      if (j >= 0 && j != end_) children_[i].push_back(j);
    });
    parent_[i] = numberOfName(firstParentName(a));
    leaf_[i] = getActivityIfEmptyContainer(a, endName) != 0;
    hasNonExtPred_[i] = activityHasNonExternalPred(a) != 0;
    nonTrivPred_[i] = activityHasNonTrivialPred(a, startName) != 0;
    nonTrivNonExtPred_[i] = activityHasNonTrivialNonExternalPred(a, startName) != 0;
    nonTrivSucc_[i] = activityHasNonTrivialSucc(a, endName) != 0;
  }
  passed_.assign(n_, 0);
  ready_.assign(n_, 0);
  requeueSeq_.assign(n_, -1);
  unpassedChildren_.assign(n_, 0);
  containersOf_.resize(n_);
  waitersOf_.resize(n_);
  waitingFor_.resize(n_);
  dueFor_.resize(n_);
  pendingOf_.assign(n_, 0);
  for (int i = 0; i < n_; ++i) {
    if (leaf_[i]) continue;
    unpassedChildren_[i] = static_cast<int>(children_[i].size());
    for (int c : children_[i]) containersOf_[c].push_back(i);
  }
}

int NetworkBuilder::run(linked_list_type* activities_list, bool numberSerials) {
  ll_removeAll(activities_list);
  int rc = waves();
  if (rc != 0) return rc;
  writeCircular();
  rc = insertWaitingItems();
  if (rc != 0) return rc;
  net_.pushBack(end_);

  std::vector<int> order = enforceInvariants(net_.items());
  int32_t serial = 0;
  for (int i : order) {
    ll_addtail(activities_list, act_[i]);
    if (numberSerials) act_[i]->serial_num = serial;
    ++serial;
  }
  for (int i : order) {
    if (!leaf_[i]) network_detail::orderChildrenBySerialWith(act_[i], index_);
  }
  return 0;
}

// ---------------------------------------------------------------------------
// Phase 1

// One arrival at x; true when x is now ready.
bool NetworkBuilder::arrive(int x, bool external) {
  activity_type* a = act_[x];
  if (external) {
    if (a->to_pass_in_forw_dir > 0) return false;
  } else if (a->to_pass_in_forw_dir > 1) {
    --a->to_pass_in_forw_dir;
    return false;
  }
  a->to_pass_in_forw_dir = 0;
  ready_[x] = 1;
  return true;
}

bool NetworkBuilder::predsCountAsPassed(int f, int x) const {
  if (f == start_) return true;
  if (leaf_[x]) return !hasNonExtPred_[x];
  for (const Edge& p : pred_[x]) {
    if (p.external) continue;
    if (!passed_[p.to]) return false;
    const int q = parent_[p.to];
    if (q < 0) continue;
    const bool parentHasPred = act_[q]->type == 1 ? nonTrivNonExtPred_[q] : nonTrivPred_[q];
    if (parentHasPred && act_[q]->brunch != act_[x]->brunch && !passed_[q]) return false;
  }
  return true;
}

// Scanning the waiting list from its tail: right after the first of x's
// predecessors; else, from its head, right before the first of its
// successors; else at the end.
void NetworkBuilder::insertWaiting(OrderedSeq& seq, int x) const {
  int best = -1;
  for (const Edge& p : pred_[x]) {
    if (seq.contains(p.to) && (best < 0 || seq.before(best, p.to))) best = p.to;
  }
  if (best >= 0) {
    seq.insertAfter(best, x);
    return;
  }
  for (const Edge& s : succ_[x]) {
    if (seq.contains(s.to) && (best < 0 || seq.before(s.to, best))) best = s.to;
  }
  if (best >= 0) {
    seq.insertBefore(best, x);
  } else {
    seq.pushBack(x);
  }
}

void NetworkBuilder::place(int x, bool predsPassed) {
  if (predsPassed) {
    net_.pushBack(x);
  } else if (leaf_[x]) {
    insertWaiting(delayed_, x);
  } else if (!contain_.contains(x)) {
    insertWaiting(contain_, x);
  }
}

void NetworkBuilder::setLevel(int f, int x, int32_t target) {
  activity_type* a = act_[x];
  if (a->ntw_level_id >= target) return;
  if (act_[f]->isExternalPred) {
    if (!nonTrivNonExtPred_[x]) a->ntw_level_id = 0;
  } else {
    a->ntw_level_id = target;
  }
}

void NetworkBuilder::requeueOnce(int f) {
  if (requeueSeq_[f] >= 0) return;
  requeueSeq_[f] = nextRequeueSeq_++;
  requeue_.emplace(requeueSeq_[f], f);
  if (!dueFor_[f].empty()) dueSet_.insert(requeueSeq_[f]);
}

void NetworkBuilder::leaveRequeue(int f) {
  requeue_.erase(requeueSeq_[f]);
  dueSet_.erase(requeueSeq_[f]);
  requeueSeq_[f] = -1;
}

bool NetworkBuilder::requeueHolds(const std::vector<int>& items) const {
  if (requeue_.size() != items.size()) return false;
  size_t k = 0;
  for (const auto& entry : requeue_) {
    if (entry.second != items[k++]) return false;
  }
  return true;
}

std::vector<int> NetworkBuilder::requeueItems() const {
  std::vector<int> out;
  out.reserve(requeue_.size());
  for (const auto& entry : requeue_) out.push_back(entry.second);
  return out;
}

void NetworkBuilder::markPassed(int x) {
  passed_[x] = 1;
  for (int y : containersOf_[x]) {
    if (--unpassedChildren_[y] != 0) continue;
    for (int f : waitersOf_[y]) {
      dueFor_[f].push_back(y);
      --pendingOf_[f];
      if (requeueSeq_[f] >= 0) dueSet_.insert(requeueSeq_[f]);
    }
  }
}

void NetworkBuilder::visit(int f, int x, int waveLevel, std::vector<int>& nextFrontier) {
  const bool predsPassed = predsCountAsPassed(f, x);
  if (!leaf_[x] && unpassedChildren_[x] > 0) {
    waitingFor_[f].push_back(x);
    waitersOf_[x].push_back(f);
    ++pendingOf_[f];
    if (levels_) setLevel(f, x, act_[f]->ntw_level_id + 1);
    requeueOnce(f);
    return;
  }
  place(x, predsPassed);
  if (levels_) setLevel(f, x, leaf_[x] ? waveLevel : act_[f]->ntw_level_id + 1);
  markPassed(x);
  nextFrontier.push_back(x);
}

// The children not yet passed of the containers the frontier items wait on,
// in the order the items met them.
std::vector<int> NetworkBuilder::unpassedChildrenOf(const std::vector<int>& frontier) {
  std::vector<int> out;
  std::vector<char> seen(static_cast<size_t>(n_), 0);
  for (int f : frontier) {
    for (int x : waitingFor_[f]) {
      if (passed_[x]) continue;
      for (int c : children_[x]) {
        if (passed_[c] || seen[c]) continue;
        seen[c] = 1;
        out.push_back(c);
      }
    }
  }
  return out;
}

bool NetworkBuilder::onCircular(int x) const {
  bool found = false;
  forEachIn<activity_type>(circular_, [&](activity_type* a) { found = found || a == act_[x]; });
  return found;
}

void NetworkBuilder::addToCircular(int x) {
  if (x == start_ || onCircular(x)) return;
  act_[x]->comb_index = act_[x]->level_id;
  if (ll_size(circular_) >= NTW_MAX_CIRCULAR) {
    ll_head(circular_);
    ll_remove(circular_);
  }
  ll_addtail(circular_, act_[x]);
}

// Forces the deepest not yet passed item of the circular list through;
// returns it, or -1 when every listed item is passed already.
int NetworkBuilder::cutChain() {
  ordActListByCombIndxIdAsc(circular_);
  int forced = -1;
  for (linktype* l = circular_->ptail; l != nullptr && forced < 0; l = l->pprevious) {
    int x = numberOf_.at(static_cast<activity_type*>(l->pcontents));
    if (!passed_[x]) forced = x;
  }
  if (forced < 0) return -1;
  markPassed(forced);
  ready_[forced] = 1;
  act_[forced]->to_pass_in_forw_dir = 0;
  if (leaf_[forced]) {
    net_.pushBack(forced);
  } else if (!contain_.contains(forced)) {
    insertWaiting(contain_, forced);
  }
  return forced;
}

void NetworkBuilder::reportCut(int forced, int stalls) {
  const activity_type* a = forced >= 0 ? act_[forced] : nullptr;
  logf(file_, "\n\n Cut long chain of Dependences on Pending Node");
  logf(file_, "\n element_id = %s type = %d level_id = %d number of tries = %d "
              "length of circular list = %d",
       a ? a->name : "", a ? a->type : 0, a ? a->level_id : 0, stalls, ll_size(circular_));
  forEachIn<activity_type>(circular_, [&](activity_type* c) {
    logf(file_, "\n   %-32s type = %d level_id = %d", c->name, c->type, c->level_id);
  });
  logf(file_, "\n");
  if (file_ != nullptr) std::fflush(file_);
}

// A frontier item back from the re-queue list: its other successors had
// their arrival counted on its first visit, so only the containers it waits
// on that have completed since are looked at again; it stays re-queued while
// any is still waiting.
void NetworkBuilder::revisitWaiting(int f, int waveLevel, std::vector<int>& nextFrontier) {
  // Placing one container may complete another (its parent): that one is
  // looked at in the same visit.
  std::vector<int> due;
  while (!dueFor_[f].empty()) {
    due.clear();
    due.swap(dueFor_[f]);
    for (int x : due) {
      if (!passed_[x]) visit(f, x, waveLevel, nextFrontier);
    }
  }
}

int NetworkBuilder::waves() {
  std::vector<int> frontier{start_}, nextFrontier;
  markPassed(start_);
  ready_[start_] = 1;
  net_.pushBack(start_);
  int waveLevel = 0;
  bool requeueRound = false;  // this wave's frontier is the re-queue list
  int stalls = 0;

  for (;;) {
    nextFrontier.clear();
    bool requeueLeft = false;  // an item left the re-queue list in this round
    if (requeueRound) {
      // Only items with a completed container due can change anything; the
      // others would be re-queued as they are. Items are taken in re-queue
      // order, including those that become due during the round.
      int64_t cursor = -1;
      for (auto it = dueSet_.upper_bound(cursor); it != dueSet_.end();
           it = dueSet_.upper_bound(cursor)) {
        cursor = *it;
        dueSet_.erase(it);
        const int f = requeue_.at(cursor);
        revisitWaiting(f, waveLevel, nextFrontier);
        if (pendingOf_[f] == 0) {
          leaveRequeue(f);
          requeueLeft = true;
        }
      }
    } else {
      for (int f : frontier) {
        if (act_[f]->isExternalSucc) continue;
        for (const Edge& e : succ_[f]) {
          const int x = e.to;
          if (x == end_ || passed_[x]) continue;
          if (!ready_[x] && !arrive(x, e.external)) continue;
          visit(f, x, waveLevel, nextFrontier);
        }
      }
    }

    // A stall: nothing placed and the re-queue list holds exactly the items
    // of the frontier, in the same order (or the next frontier repeats it).
    const bool requeueStall =
        nextFrontier.empty() && (requeueRound ? !requeueLeft : requeueHolds(frontier));
    if (requeueStall || (!requeueRound && nextFrontier == frontier)) {
      ++stalls;
      const std::vector<int> stalled = requeueRound ? requeueItems() : frontier;
      for (int f : stalled) addToCircular(f);
      if (requeueStall) {
        for (int c : unpassedChildrenOf(stalled)) addToCircular(c);
      }
      if (stalls > NTW_MAX_STALLS) {
        logf(file_, "\n\n*************************************************************");
        logf(file_, "\n* Module: doBuildNetTrFromStartNode");
        logf(file_, "\n* Circular like Dependency has been Detected");
        logf(file_, "\n* Unable to cut or resolve.No exeeds 100 pases");
        logf(file_, "\n*************************************************************\n");
        if (file_ != nullptr) std::fflush(file_);
        return NTW_ERR_CANNOT_RESOLVE;
      }
      const int forced = cutChain();
      if (forced >= 0) nextFrontier.push_back(forced);
      if ((stalls == 1 && requeue_.size() < 20) || stalls % 20 == 0) reportCut(forced, stalls);
      if (ll_size(circular_) >= NTW_MAX_CIRCULAR) {
        ll_tail(circular_);
        ll_remove(circular_);
      }
    }

    if (nextFrontier.empty()) {
      if (requeue_.empty()) return 0;
      requeueRound = true;
    } else {
      frontier.swap(nextFrontier);
      if (!requeueRound) ++waveLevel;
      requeueRound = false;
    }
  }
}

void NetworkBuilder::writeCircular() {
  if (ll_size(circular_) == 0) return;
  int rc = doUpdateTEMPcircular(circular_, 0, file_, NTW_ERR_CIRCULAR_WRITE);
  if (rc != 0) {
    logf(file_,
         "!!! error in Lev_networkTree (doBuildNetTrFromStartNode): returning from "
         "doUpdateTEMPcircular: errCode = %d",
         rc);
  }
  logf(file_, "\n\n List of sub-optimal dependent items in the Network tree");
  forEachIn<activity_type>(circular_, [&](activity_type* c) {
    logf(file_, "\n   %-32s type = %d level_id = %d", c->name, c->type, c->level_id);
  });
  logf(file_, "\n");
  if (file_ != nullptr) std::fflush(file_);
}

// ---------------------------------------------------------------------------
// Phase 2

bool NetworkBuilder::isAncestorOf(int a, int x) const {
  for (int p = parent_[x]; p >= 0 && p != start_; p = parent_[p]) {
    if (p == a) return true;
  }
  return false;
}

// The containers that must stand in the network list before leaf l may be
// inserted: for each predecessor outside l's own container, the highest of
// its enclosing containers still at or below the level of l's container, and
// the highest that has a real predecessor of its own.
void NetworkBuilder::collectAncestors(int l, std::vector<int>& anc) const {
  const int lp = parent_[l];
  const int lpLevel = lp >= 0 ? act_[lp]->level_id : 0;
  auto add = [&](int a) {
    if (a < 0) return;
    for (int b : anc) {
      if (b == a) return;
    }
    anc.push_back(a);
  };
  for (const Edge& p : pred_[l]) {
    if (act_[p.to]->isExternalPred) continue;
    const int pp = parent_[p.to];
    if (pp < 0 || pp == start_ || pp == lp) continue;
    if (lp >= 0 && act_[pp]->level_id < lpLevel && isAncestorOf(pp, lp)) continue;
    int highest = -1, withPred = -1;
    for (int x = pp; x >= 0 && x != start_ && x != lp; x = parent_[x]) {
      if (act_[x]->level_id >= lpLevel) highest = x;
      if (nonTrivPred_[x]) withPred = x;
      if (x == parent_[x]) break;
    }
    add(highest);
    add(withPred);
  }
}

// After l was placed behind a predecessor: its successors that stand before
// it move behind it, each followed by those of its containers that stand
// before it, so that containers stay behind their children.
void NetworkBuilder::pullSuccessorsBehind(int l) {
  int cursor = l;
  for (const Edge& s : succ_[l]) {
    if (s.external || s.to == end_ || !net_.contains(s.to) || !net_.before(s.to, l)) continue;
    net_.moveAfter(cursor, s.to);
    cursor = s.to;
    for (int a = parent_[s.to]; a >= 0 && a != start_; a = parent_[a]) {
      if (net_.contains(a) && net_.before(a, cursor)) {
        net_.moveAfter(cursor, a);
        cursor = a;
      }
      if (a == parent_[a]) break;
    }
  }
}

bool NetworkBuilder::tryPlaceLeaf(int l, bool forced) {
  std::vector<int> anc;
  collectAncestors(l, anc);
  for (int a : anc) {
    if (!net_.contains(a) && !forced) return false;
  }
  const int lp = parent_[l];
  int best = -1;
  bool bestIsPred = false;
  auto consider = [&](int x, bool isPred) {
    if (x == lp || !net_.contains(x)) return;
    if (best < 0 || net_.before(best, x)) {
      best = x;
      bestIsPred = isPred;
    } else if (x == best) {
      bestIsPred = bestIsPred || isPred;
    }
  };
  for (int a : anc) consider(a, false);
  for (const Edge& p : pred_[l]) consider(p.to, true);
  delayed_.erase(l);
  if (best >= 0) {
    net_.insertAfter(best, l);
    if (bestIsPred && nonTrivSucc_[l]) pullSuccessorsBehind(l);
    return true;
  }
  int first = -1;
  auto earliest = [&](int x) {
    if (x >= 0 && net_.contains(x) && (first < 0 || net_.before(x, first))) first = x;
  };
  earliest(lp);
  for (const Edge& s : succ_[l]) earliest(s.to);
  if (first >= 0) {
    net_.insertBefore(first, l);
  } else {
    net_.pushBack(l);
  }
  return true;
}

bool NetworkBuilder::tryPlaceContainer(int c) {
  for (int ch : children_[c]) {
    if (!net_.contains(ch)) return false;
  }
  const int cp = parent_[c];
  int best = -1;
  bool goesBefore = false;
  auto consider = [&](int x, bool before) {
    if (x < 0 || !net_.contains(x)) return;
    if (best < 0 || net_.before(best, x)) {
      best = x;
      goesBefore = before;
    }
  };
  for (int ch : children_[c]) consider(ch, false);
  for (const Edge& p : pred_[c]) consider(p.to, false);
  for (const Edge& p : pred_[c]) {
    const int q = parent_[p.to];
    if (q < 0 || q == start_) continue;
    if (q == cp) {
      consider(q, true);
    } else if (nonTrivPred_[q]) {
      consider(q, false);
    }
  }
  contain_.erase(c);
  if (best < 0) {
    net_.pushBack(c);
  } else if (goesBefore) {
    net_.insertBefore(best, c);
  } else {
    net_.insertAfter(best, c);
  }
  if (cp >= 0 && cp != start_ && net_.contains(cp) && net_.before(cp, c)) net_.moveAfter(c, cp);
  return true;
}

void NetworkBuilder::placeReadyContainersFirst() {
  for (int c = contain_.head(); c >= 0;) {
    const int nextC = contain_.next(c);
    bool ready = true;
    for (int ch : children_[c]) ready = ready && net_.contains(ch);
    for (const Edge& p : pred_[c]) ready = ready && (p.external || net_.contains(p.to));
    if (ready) {
      int best = -1;
      auto consider = [&](int x) {
        if (x != start_ && net_.contains(x) && (best < 0 || net_.before(best, x))) best = x;
      };
      for (int ch : children_[c]) consider(ch);
      for (const Edge& p : pred_[c]) consider(p.to);
      contain_.erase(c);
      if (best >= 0) {
        net_.insertAfter(best, c);
      } else {
        net_.pushBack(c);
      }
    }
    c = nextC;
  }
}

void NetworkBuilder::printWaiting(const OrderedSeq& seq) const {
  for (int i = seq.head(); i >= 0; i = seq.next(i)) logf(file_, "\n   %s", act_[i]->name);
}

int NetworkBuilder::insertWaitingItems() {
  placeReadyContainersFirst();
  int stalls = 0;
  bool forceLeaves = false;
  while (!delayed_.empty() || !contain_.empty()) {
    const int delayedBefore = delayed_.size();
    const int containBefore = contain_.size();
    for (int l = delayed_.head(); l >= 0;) {
      const int nextL = delayed_.next(l);
      tryPlaceLeaf(l, forceLeaves);
      l = nextL;
    }
    for (int c = contain_.head(); c >= 0;) {
      const int nextC = contain_.next(c);
      tryPlaceContainer(c);
      c = nextC;
    }
    forceLeaves = false;
    if (delayed_.size() != delayedBefore || contain_.size() != containBefore) continue;
    if (++stalls > NTW_MAX_STALLS) {
      logf(file_, "\n\n abnormal termination of tmp_delayed_list: printing context of the list");
      printWaiting(delayed_);
      logf(file_, "\n\n abnormal termination of tmp_contain_list: printing context of the list");
      printWaiting(contain_);
      logf(file_, "\n");
      if (file_ != nullptr) std::fflush(file_);
      return NTW_ERR_CANNOT_RESOLVE;
    }
    // Leaves waiting for containers that wait, through their children, for
    // those leaves: the next pass places the leaves without the containers.
    if (!delayed_.empty()) {
      logf(file_, "\n ordered insertion: %d waiting items placed before the containers of "
                  "their predecessors",
           delayed_.size());
      forceLeaves = true;
    }
  }
  return 0;
}

// ---------------------------------------------------------------------------
// Closing pass

// The stable order closest to `order` in which every item follows its
// non-external predecessors and every container its children: repeatedly
// the earliest item (by present position) whose constraints are met; when
// none is (a cut circular chain), the earliest remaining item. An order that
// already meets the constraints comes back unchanged.
std::vector<int> NetworkBuilder::enforceInvariants(const std::vector<int>& order) const {
  // The end node stays last; it is not part of the constraints.
  const int m = static_cast<int>(order.size()) - 1;
  std::vector<int> pos(static_cast<size_t>(n_), -1);
  for (int k = 0; k < m; ++k) pos[order[k]] = k;
  std::vector<std::vector<int>> after(static_cast<size_t>(m));  // by position
  std::vector<int> waitsFor(static_cast<size_t>(m), 0);
  auto constrain = [&](int first, int then) {
    if (first == start_ || then == start_ || pos[first] < 0 || pos[then] < 0 || first == then) {
      return;
    }
    after[pos[first]].push_back(pos[then]);
    ++waitsFor[pos[then]];
  };
  for (int k = 0; k < m; ++k) {
    const int x = order[k];
    for (const Edge& p : pred_[x]) {
      if (!p.external) constrain(p.to, x);
    }
    if (!leaf_[x]) {
      for (int c : children_[x]) constrain(c, x);
    }
  }
  std::priority_queue<int, std::vector<int>, std::greater<int>> ready;
  std::vector<char> done(static_cast<size_t>(m), 0);
  for (int k = 0; k < m; ++k) {
    if (waitsFor[k] == 0) ready.push(k);
  }
  std::vector<int> out;
  out.reserve(order.size());
  int scan = 0;  // every position before it is done
  while (static_cast<int>(out.size()) < m) {
    int k;
    if (!ready.empty()) {
      k = ready.top();
      ready.pop();
    } else {
      while (done[scan]) ++scan;
      k = scan;
    }
    done[k] = 1;
    out.push_back(order[k]);
    for (int t : after[k]) {
      if (--waitsFor[t] == 0 && !done[t]) ready.push(t);
    }
  }
  out.push_back(order.back());
  return out;
}

}  // namespace

int doBuildNetTrFromStartNode(linked_list_type* act_tmp_list, linked_list_type* activities_list,
                              int mentainNtwLevId, int mentainNtwSerialNumber,
                              int reversedListOption, FILE* file) {
  try {
    if (ll_size(act_tmp_list) < 2) return 0;
    NetworkBuilder builder(act_tmp_list, mentainNtwLevId != 0, reversedListOption != 0, file);
    return builder.run(activities_list, mentainNtwSerialNumber != 0);
  } catch (...) {
    logf(file, "\n****** error in doBuildNetTrFromStartNode: throw exception to upper level\n");
    if (file != nullptr) std::fflush(file);
    throw;
  }
}
