// Delay parameters of many tasks at once (see delay_params.h), by
// reachability in 64-bit words instead of one pair of walks per task.
//
// Walking the network twice for every task costs tasks x (items +
// dependencies): quadratic, seconds at 10,000 items. Here the values are
// the same, computed as follows.
//
// Graphs. Every record of act_tmp_list (and every task asked about that is
// not in it) is a node. The successor graph has an edge to the item each
// successor entry names (entries naming the finish node, or no item of
// act_tmp_list, are left out: the walk does the same); the predecessor
// graph likewise through predecessor entries, the start node left out. The
// two are built apart: loaded lists need not mirror each other. Each graph
// is condensed into strongly connected components (iterative Tarjan), which
// come out sinks first, so one sweep in that order finds everything a
// component reaches.
//
// Targets. The work records that the walks decide about: those of the
// tasks' assignments whose item is in act_tmp_list and not finished. Each
// gets one bit, the bits of one assignment side by side. A task's related
// work on assignment A is then (reached forwards | reached backwards) over
// A's bits, and its competing load is A's total minus the related part.
// Work on items missing from act_tmp_list is never related and is added
// per task (its length depends on the asking task's standard day); work on
// an item without a project likewise takes the asking task's day, so it is
// summed bit by bit, the others through byte tables (the sum of any 8 bits
// of a word in one look-up).
//
// Blocks. The bits are taken in blocks of whole words, as many as keep the
// two reach tables (components x block words, both graphs) within about
// 64 MB, so memory stays bounded at any size; each block costs one sweep of
// each condensed graph, and the tasks of the assignments whose bits lie in
// the block.
//
// Units: loads are working minutes, summed in 64 bits and stored in the
// 32-bit fields as the plain walks would.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "schedule/delay_params.h"

namespace {

using Word = uint64_t;

// A directed graph in offset form.
struct Graph {
  std::vector<int32_t> first, to;
};

// Components of g, numbered sinks first; returns their count.
int32_t components(const Graph& g, std::vector<int32_t>& comp) {
  const int32_t n = static_cast<int32_t>(g.first.size()) - 1;
  std::vector<int32_t> order(n, -1), low(n, 0), stack;
  std::vector<std::pair<int32_t, int32_t>> calls;
  comp.assign(n, -1);
  int32_t counter = 0, count = 0;
  for (int32_t root = 0; root < n; ++root) {
    if (order[root] >= 0) continue;
    order[root] = low[root] = counter++;
    stack.push_back(root);
    calls.emplace_back(root, g.first[root]);
    while (!calls.empty()) {
      auto& [v, e] = calls.back();
      if (e < g.first[v + 1]) {
        const int32_t w = g.to[e++];
        if (order[w] < 0) {
          order[w] = low[w] = counter++;
          stack.push_back(w);
          calls.emplace_back(w, g.first[w]);
        } else if (comp[w] < 0) {
          low[v] = std::min(low[v], order[w]);
        }
        continue;
      }
      const int32_t done = v;
      calls.pop_back();
      if (!calls.empty()) low[calls.back().first] = std::min(low[calls.back().first], low[done]);
      if (low[done] != order[done]) continue;
      for (int32_t w = -1; w != done;) {
        w = stack.back();
        stack.pop_back();
        comp[w] = count;
      }
      ++count;
    }
  }
  return count;
}

// The condensation of g: for each component the components it points to
// (duplicates kept: or-ing twice is harmless).
Graph condense(const Graph& g, const std::vector<int32_t>& comp, int32_t count) {
  Graph c;
  c.first.assign(static_cast<size_t>(count) + 1, 0);
  const int32_t n = static_cast<int32_t>(g.first.size()) - 1;
  for (int32_t v = 0; v < n; ++v) {
    for (int32_t e = g.first[v]; e < g.first[v + 1]; ++e) {
      if (comp[g.to[e]] != comp[v]) ++c.first[comp[v] + 1];
    }
  }
  for (int32_t k = 0; k < count; ++k) c.first[k + 1] += c.first[k];
  c.to.resize(static_cast<size_t>(c.first[count]));
  std::vector<int32_t> fill(c.first.begin(), c.first.end() - 1);
  for (int32_t v = 0; v < n; ++v) {
    for (int32_t e = g.first[v]; e < g.first[v + 1]; ++e) {
      if (comp[g.to[e]] != comp[v]) c.to[fill[comp[v]]++] = comp[g.to[e]];
    }
  }
  return c;
}

// One graph ready for the sweeps.
struct Reach {
  std::vector<int32_t> comp;  // node -> component
  Graph dag;                  // components, sinks first
  std::vector<Word> bits;     // components x block words
  std::vector<int32_t> written;  // the block (from 1) a row was last written for
};

// Item names to the first record of that name, open addressing. The names
// are copied side by side and each slot keeps its name's hash, so a look-up
// touches no item record.
class NameTable {
 public:
  explicit NameTable(const std::vector<activity_type*>& items)
      : names_(items.size() * kStride, '\0') {
    size_t size = 16;
    while (size < 2 * items.size()) size *= 2;
    slots_.assign(size, Slot{0, -1});
    for (size_t i = 0; i < items.size(); ++i) {
      const size_t len = strnlen(items[i]->name, kStride - 1);
      std::memcpy(&names_[i * kStride], items[i]->name, len);
      const uint64_t h = hash(&names_[i * kStride]);
      size_t at = h & (size - 1);
      bool seen = false;
      for (; slots_[at].item >= 0; at = (at + 1) & (size - 1)) {
        if (slots_[at].hash == h && same(slots_[at].item, &names_[i * kStride])) {
          seen = true;  // the first record of a name wins
          break;
        }
      }
      if (!seen) slots_[at] = Slot{h, static_cast<int32_t>(i)};
    }
  }
  int32_t find(const char* name) const {
    const size_t mask = slots_.size() - 1;
    const uint64_t h = hash(name);
    for (size_t at = h & mask; slots_[at].item >= 0; at = (at + 1) & mask) {
      if (slots_[at].hash == h && same(slots_[at].item, name)) return slots_[at].item;
    }
    return -1;
  }

 private:
  static constexpr size_t kStride = LL_NAME_SIZE;
  struct Slot {
    uint64_t hash;
    int32_t item;
  };
  static uint64_t hash(const char* s) {
    uint64_t h = 1469598103934665603ull;
    for (size_t i = 0; i < kStride - 1 && s[i] != 0; ++i) {
      h = (h ^ static_cast<unsigned char>(s[i])) * 1099511628211ull;
    }
    return h ^ (h >> 29);
  }
  bool same(int32_t item, const char* name) const {
    return std::strncmp(&names_[static_cast<size_t>(item) * kStride], name, kStride - 1) == 0;
  }
  std::vector<char> names_;
  std::vector<Slot> slots_;
};

// One (task, assignment) pair.
struct Slot {
  const activity_type* task;
  int32_t node;        // the task's node
  int32_t assignment;  // index into the assignments' data
  int32_t ownBit;      // the task's own work as a target, or -1
  int64_t related = 0;       // fixed-length related work
  int64_t floatingLoad = 0;  // unrelated work of items without a project
};

struct AssignmentData {
  const assignment_type* ass;
  int32_t lo = 0, hi = 0;      // its bits
  int64_t fixedTotal = 0;      // all its fixed-length targets
  std::vector<int32_t> floating;           // bits of items without a project
  std::vector<const work_type*> missing;   // work on items not in the list
  std::vector<std::pair<int32_t, int64_t>> missingByDay;  // standard day -> open missing work

  // The open work on items not in the list, with this standard day.
  int64_t missingLoad(int32_t minutesPerDay, FILE* file) {
    for (const auto& [day, load] : missingByDay) {
      if (day == minutesPerDay) return load;
    }
    int64_t load = 0;
    for (const work_type* w : missing) {
      if (w->hasActualFinish == 0) load += getWorkDurationContour(w, minutesPerDay, 0, file);
    }
    missingByDay.emplace_back(minutesPerDay, load);
    return load;
  }
};

}  // namespace

int activitiesCalculateDelayParams(const std::vector<activity_type*>& tasks,
                                   linked_list_type* act_tmp_list, const char* START_NODE_NAME,
                                   const char* FINISH_NODE_NAME, FILE* file,
                                   int32_t maxBlockWords) {
  try {
    // Nodes and names.
    std::vector<activity_type*> node;
    if (act_tmp_list != nullptr) {
      for (linktype* l = act_tmp_list->phead; l != nullptr; l = l->pnext) {
        if (l->pcontents != nullptr) node.push_back(static_cast<activity_type*>(l->pcontents));
      }
    }
    NameTable byName(node);
    // Node of each task: by its name when it is the record the name finds,
    // else by address among all records (listed twice, or not listed).
    std::unordered_map<const activity_type*, int32_t> byAddress;
    std::vector<int32_t> taskNode(tasks.size(), -1);
    for (size_t ti = 0; ti < tasks.size(); ++ti) {
      const int32_t u = byName.find(tasks[ti]->name);
      if (u >= 0 && node[u] == tasks[ti]) taskNode[ti] = u;
    }
    for (size_t ti = 0; ti < tasks.size(); ++ti) {
      if (taskNode[ti] >= 0) continue;
      if (byAddress.empty()) {
        for (size_t v = 0; v < node.size(); ++v) byAddress.emplace(node[v], v);
      }
      auto [it, fresh] = byAddress.emplace(tasks[ti], static_cast<int32_t>(node.size()));
      if (fresh) node.push_back(tasks[ti]);  // not a record the walks can reach by name
      taskNode[ti] = it->second;
    }
    auto itemOf = [&](const char* name) -> int32_t { return byName.find(name); };
    const int32_t n = static_cast<int32_t>(node.size());
    auto build = [&](bool forward) {
      Graph g;
      g.first.assign(static_cast<size_t>(n) + 1, 0);
      const char* stop = forward ? FINISH_NODE_NAME : START_NODE_NAME;
      for (int32_t v = 0; v < n; ++v) {
        linked_list_type* deps = forward ? node[v]->succ_list : node[v]->pred_list;
        for (linktype* l = deps != nullptr ? deps->phead : nullptr; l != nullptr; l = l->pnext) {
          const char* name = getDependencyName(l->pcontents);
          if (stop != nullptr && std::strcmp(name, stop) == 0) continue;
          const int32_t w = itemOf(name);
          if (w < 0) continue;
          g.to.push_back(w);
        }
        g.first[v + 1] = static_cast<int32_t>(g.to.size());
      }
      return g;
    };
    Reach fwd, bwd;
    for (Reach* r : {&fwd, &bwd}) {
      const Graph g = build(r == &fwd);
      const int32_t count = components(g, r->comp);
      r->dag = condense(g, r->comp, count);
    }

    // The tasks in the order of their components, so that the sweeps over
    // the tasks below read the reach tables front to back (and, the
    // predecessor graph being mostly the mirror, back to front).
    std::vector<std::pair<int32_t, int32_t>> keyed;  // (component, task)
    keyed.reserve(tasks.size());
    for (size_t ti = 0; ti < tasks.size(); ++ti) {
      keyed.emplace_back(fwd.comp[taskNode[ti]], static_cast<int32_t>(ti));
    }
    std::sort(keyed.begin(), keyed.end());
    std::vector<activity_type*> sorted;
    std::vector<int32_t> taskId;
    sorted.reserve(tasks.size());
    taskId.reserve(tasks.size());
    for (const auto& [c, ti] : keyed) {
      sorted.push_back(tasks[ti]);
      taskId.push_back(taskNode[ti]);
    }

    // Targets, grouped by assignment; slots per task and assignment.
    std::vector<AssignmentData> asses;
    std::unordered_map<const assignment_type*, int32_t> assIndex;
    std::vector<int32_t> targetNode;
    std::vector<int32_t> targetDur;  // fixed length, or 0 for a floating one
    std::vector<const work_type*> targetWork;
    std::vector<Slot> slots;
    std::vector<size_t> slotsOfTask;  // first slot of each task, and the end
    for (size_t ti = 0; ti < sorted.size(); ++ti) {
      const activity_type* t = sorted[ti];
      slotsOfTask.push_back(slots.size());
      if (t->assignment_list == nullptr) continue;
      for (linktype* l = t->assignment_list->phead; l != nullptr; l = l->pnext) {
        const auto* ass = static_cast<const assignment_type*>(l->pcontents);
        auto [it, fresh] = assIndex.emplace(ass, static_cast<int32_t>(asses.size()));
        if (fresh) {
          AssignmentData d;
          d.ass = ass;
          d.lo = static_cast<int32_t>(targetNode.size());
          for (linktype* w = ass->work_list->phead; w != nullptr; w = w->pnext) {
            const auto* work = static_cast<const work_type*>(w->pcontents);
            const int32_t item = itemOf(work->act_name);
            if (item < 0) {
              d.missing.push_back(work);
              continue;
            }
            if (node[item]->hasActualFinish != 0) continue;
            const project_type* p = node[item]->proj;
            const int32_t bit = static_cast<int32_t>(targetNode.size());
            targetNode.push_back(item);
            targetWork.push_back(work);
            if (p == nullptr) {
              targetDur.push_back(0);
              d.floating.push_back(bit);
            } else {
              const int32_t dur = getWorkDurationContour(work, p->minutes_per_day, 0, file);
              targetDur.push_back(dur);
              d.fixedTotal += dur;
            }
          }
          d.hi = static_cast<int32_t>(targetNode.size());
          asses.push_back(std::move(d));
        }
        slots.push_back(Slot{t, taskId[ti], it->second, -1});
      }
    }
    slotsOfTask.push_back(slots.size());
    // A task's own work, when it is a target, is the bit of its
    // assignment's range on the node its name finds.
    std::vector<int32_t> firstTarget(static_cast<size_t>(n) + 1, 0), targetsOf(targetNode.size());
    for (int32_t v : targetNode) ++firstTarget[v + 1];
    for (int32_t v = 0; v < n; ++v) firstTarget[v + 1] += firstTarget[v];
    {
      std::vector<int32_t> fill(firstTarget.begin(), firstTarget.end() - 1);
      for (size_t b = 0; b < targetNode.size(); ++b) {
        targetsOf[fill[targetNode[b]]++] = static_cast<int32_t>(b);
      }
    }
    for (Slot& s : slots) {
      const int32_t u = itemOf(s.task->name);
      if (u < 0) continue;
      const AssignmentData& d = asses[s.assignment];
      for (int32_t e = firstTarget[u]; e < firstTarget[u + 1]; ++e) {
        if (targetsOf[e] >= d.lo && targetsOf[e] < d.hi) s.ownBit = targetsOf[e];
      }
    }
    const int32_t targets = static_cast<int32_t>(targetNode.size());
    const int32_t words = (targets + 63) / 64;

    // Slots by assignment, each assignment's in the order of the tasks'
    // components (the order they were made in).
    std::vector<int32_t> firstSlotOf(asses.size() + 1, 0), slotsOf(slots.size());
    for (const Slot& s : slots) ++firstSlotOf[s.assignment + 1];
    for (size_t a = 0; a < asses.size(); ++a) firstSlotOf[a + 1] += firstSlotOf[a];
    {
      std::vector<int32_t> fill(firstSlotOf.begin(), firstSlotOf.end() - 1);
      for (size_t si = 0; si < slots.size(); ++si) {
        slotsOf[fill[slots[si].assignment]++] = static_cast<int32_t>(si);
      }
    }
    int32_t firstAss = 0;  // assignments wholly before the block are done

    const size_t comps = std::max(fwd.dag.first.size(), bwd.dag.first.size());
    const int32_t budgetWords = 4 * 1024 * 1024;  // per graph: 32 MB
    int32_t blockWords = std::max<int32_t>(
        1, std::min<int32_t>(std::max(words, 1), budgetWords / static_cast<int32_t>(comps)));
    if (maxBlockWords > 0) blockWords = std::min(blockWords, maxBlockWords);
    const std::vector<Word> zeros(static_cast<size_t>(blockWords), 0);
    const Word* none = zeros.data();
    std::vector<int64_t> table(static_cast<size_t>(blockWords) * 8 * 256);

    for (int32_t w0 = 0; w0 < words; w0 += blockWords) {
      const int32_t w1 = std::min(words, w0 + blockWords);
      const int32_t k = w1 - w0;
      const int32_t b0 = w0 * 64, b1 = std::min(targets, w1 * 64);
      // Reach tables of both graphs. Only rows that reach a bit of the block
      // are written (and cleared again for the next block): on a network
      // in order, most items reach nothing of a given block in one of the
      // two directions.
      const int32_t block = w0 / blockWords + 1;
      for (Reach* r : {&fwd, &bwd}) {
        const int32_t count = static_cast<int32_t>(r->dag.first.size()) - 1;
        if (r->bits.empty()) {
          r->bits.resize(static_cast<size_t>(count) * blockWords);
          r->written.assign(static_cast<size_t>(count), 0);
        }
        // A row belongs to this block once stamped; it is cleared when
        // stamped, while it is about to be written anyway.
        auto stamp = [&](int32_t c) {
          if (r->written[c] == block) return;
          r->written[c] = block;
          std::fill_n(&r->bits[static_cast<size_t>(c) * blockWords], k, Word{0});
        };
        for (int32_t b = b0; b < b1; ++b) {
          const int32_t c = r->comp[targetNode[b]];
          stamp(c);
          r->bits[static_cast<size_t>(c) * blockWords + ((b - b0) >> 6)] |= Word{1}
                                                                             << ((b - b0) & 63);
        }
        for (int32_t c = 0; c < count; ++c) {  // sinks first
          Word* row = &r->bits[static_cast<size_t>(c) * blockWords];
          for (int32_t e = r->dag.first[c]; e < r->dag.first[c + 1]; ++e) {
            const int32_t to = r->dag.to[e];
            if (r->written[to] != block) continue;
            stamp(c);
            const Word* next = &r->bits[static_cast<size_t>(to) * blockWords];
            for (int32_t i = 0; i < k; ++i) row[i] |= next[i];
          }
        }
      }
      // Byte tables: the fixed lengths of any set of 8 neighbouring bits.
      for (int32_t i = 0; i < k; ++i) {
        for (int32_t byte = 0; byte < 8; ++byte) {
          int64_t* t = &table[(static_cast<size_t>(i) * 8 + byte) * 256];
          t[0] = 0;
          for (int32_t v = 1; v < 256; ++v) {
            const int32_t low = __builtin_ctz(static_cast<unsigned>(v));
            const int32_t b = b0 + i * 64 + byte * 8 + low;
            t[v] = t[v & (v - 1)] + (b < b1 ? targetDur[b] : 0);
          }
        }
      }
      // The related work of the slots of the assignments in the block.
      for (int32_t a = firstAss; a < static_cast<int32_t>(asses.size()) && asses[a].lo < b1; ++a) {
        if (asses[a].hi <= b0) {
          if (a == firstAss) ++firstAss;
          continue;
        }
        for (int32_t e = firstSlotOf[a]; e < firstSlotOf[a + 1]; ++e) {
          Slot& s = slots[slotsOf[e]];
          const int32_t fc = fwd.comp[s.node], gc = bwd.comp[s.node];
          const Word* f =
              fwd.written[fc] == block ? &fwd.bits[static_cast<size_t>(fc) * blockWords] : none;
          const Word* g =
              bwd.written[gc] == block ? &bwd.bits[static_cast<size_t>(gc) * blockWords] : none;
          const AssignmentData& d = asses[s.assignment];
          const int32_t lo = std::max(d.lo, b0), hi = std::min(d.hi, b1);
          if (lo >= hi) continue;
          auto related = [&](int32_t b) {
            const int32_t i = (b - b0) >> 6;
            const Word m = Word{1} << ((b - b0) & 63);
            return ((f[i] | g[i]) & m) != 0 || b == s.ownBit;
          };
          for (int32_t i = (lo - b0) >> 6; i <= (hi - 1 - b0) >> 6; ++i) {
            Word m = f[i] | g[i];
            const int32_t base = b0 + i * 64;
            if (s.ownBit >= base && s.ownBit < base + 64) m |= Word{1} << (s.ownBit - base);
            // Only this assignment's bits.
            if (lo > base) m &= ~Word{0} << (lo - base);
            if (hi < base + 64) m &= (Word{1} << (hi - base)) - 1;
            const int64_t* t = &table[static_cast<size_t>(i) * 8 * 256];
            int64_t sum = 0;
            for (int32_t byte = 0; byte < 8; ++byte, m >>= 8) sum += t[byte * 256 + (m & 0xff)];
            s.related += sum;
          }
          if (d.floating.empty()) continue;
          const project_type* own = s.task->proj;
          for (int32_t b : d.floating) {
            if (b < lo || b >= hi || related(b)) continue;
            s.floatingLoad +=
                getWorkDurationContour(targetWork[b], own != nullptr ? own->minutes_per_day : 0, 0,
                                       file);
          }
        }
      }
    }

    // Loads per slot, then the two values per task.
    for (size_t ti = 0; ti < sorted.size(); ++ti) {
      activity_type* t = sorted[ti];
      const int32_t mpd = t->proj != nullptr ? t->proj->minutes_per_day : 0;
      int64_t largest = 0, smallest = 0;
      bool first = true;
      for (size_t si = slotsOfTask[ti]; si < slotsOfTask[ti + 1]; ++si) {
        const Slot& s = slots[si];
        AssignmentData& d = asses[s.assignment];
        int64_t load = d.fixedTotal - s.related + s.floatingLoad + d.missingLoad(mpd, file);
        if (itemOf(t->name) < 0) {  // the task's own work may be among the missing
          for (const work_type* w : d.missing) {
            if (w->hasActualFinish == 0 && std::strcmp(w->act_name, t->name) == 0) {
              load -= getWorkDurationContour(w, mpd, 0, file);
            }
          }
        }
        largest = first ? load : std::max(largest, load);
        smallest = first ? load : std::min(smallest, load);
        first = false;
      }
      if (first) continue;
      t->max_delay_param = static_cast<int32_t>(largest);
      t->ext_delay_dur = static_cast<int32_t>(largest - smallest);
    }
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n ****** error in activitiesCalculateDelayParams: throw exception to upper "
                   "level \n");
    }
    throw;
  }
  return 0;
}
