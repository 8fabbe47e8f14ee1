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
// 32 MB, so memory stays bounded at any size; each block costs one sweep of
// each condensed graph.
//
// Units: loads are working minutes, summed in 64 bits and stored in the
// 32-bit fields as the plain walks would.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
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
};

// One (task, assignment) pair.
struct Slot {
  const activity_type* task;
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
  std::unordered_map<std::string_view, int32_t> bitOf;  // item name -> bit
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
    std::unordered_map<const activity_type*, int32_t> idOf;
    std::unordered_map<std::string_view, int32_t> byName;
    auto addNode = [&](activity_type* a) {
      if (idOf.emplace(a, static_cast<int32_t>(node.size())).second) {
        byName.emplace(std::string_view(a->name), static_cast<int32_t>(node.size()));
        node.push_back(a);
      }
    };
    if (act_tmp_list != nullptr) {
      for (linktype* l = act_tmp_list->phead; l != nullptr; l = l->pnext) {
        if (l->pcontents != nullptr) addNode(static_cast<activity_type*>(l->pcontents));
      }
    }
    const size_t listed = node.size();
    for (activity_type* t : tasks) {
      if (idOf.count(t) == 0) {  // not a name the walks can find
        idOf.emplace(t, static_cast<int32_t>(node.size()));
        node.push_back(t);
      }
    }
    auto itemOf = [&](const char* name) -> int32_t {
      auto it = byName.find(std::string_view(name));
      return it == byName.end() || static_cast<size_t>(it->second) >= listed ? -1 : it->second;
    };
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

    // Targets, grouped by assignment; slots per task and assignment.
    std::vector<AssignmentData> asses;
    std::unordered_map<const assignment_type*, int32_t> assIndex;
    std::vector<int32_t> targetNode;
    std::vector<int32_t> targetDur;  // fixed length, or 0 for a floating one
    std::vector<const work_type*> targetWork;
    std::vector<Slot> slots;
    std::vector<size_t> slotsOfTask;  // first slot of each task, and the end
    for (const activity_type* t : tasks) {
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
            d.bitOf.emplace(std::string_view(work->act_name), bit);
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
        Slot s{t, it->second, -1};
        const AssignmentData& d = asses[it->second];
        auto own = d.bitOf.find(std::string_view(t->name));
        if (own != d.bitOf.end()) s.ownBit = own->second;
        slots.push_back(s);
      }
    }
    slotsOfTask.push_back(slots.size());
    const int32_t targets = static_cast<int32_t>(targetNode.size());
    const int32_t words = (targets + 63) / 64;
    std::vector<int32_t> taskId(tasks.size());
    for (size_t ti = 0; ti < tasks.size(); ++ti) taskId[ti] = idOf.at(tasks[ti]);

    const size_t comps = std::max(fwd.dag.first.size(), bwd.dag.first.size());
    const int32_t budgetWords = 2 * 1024 * 1024;  // per graph: 16 MB
    int32_t blockWords = std::max<int32_t>(
        1, std::min<int32_t>(std::max(words, 1), budgetWords / static_cast<int32_t>(comps)));
    if (maxBlockWords > 0) blockWords = std::min(blockWords, maxBlockWords);
    std::vector<int64_t> table(static_cast<size_t>(blockWords) * 8 * 256);

    for (int32_t w0 = 0; w0 < words; w0 += blockWords) {
      const int32_t w1 = std::min(words, w0 + blockWords);
      const int32_t k = w1 - w0;
      const int32_t b0 = w0 * 64, b1 = std::min(targets, w1 * 64);
      // Reach tables of both graphs.
      for (Reach* r : {&fwd, &bwd}) {
        const int32_t count = static_cast<int32_t>(r->dag.first.size()) - 1;
        r->bits.assign(static_cast<size_t>(count) * k, 0);
        for (int32_t b = b0; b < b1; ++b) {
          Word* row = &r->bits[static_cast<size_t>(r->comp[targetNode[b]]) * k];
          row[(b - b0) >> 6] |= Word{1} << ((b - b0) & 63);
        }
        for (int32_t c = 0; c < count; ++c) {  // sinks first
          Word* row = &r->bits[static_cast<size_t>(c) * k];
          for (int32_t e = r->dag.first[c]; e < r->dag.first[c + 1]; ++e) {
            const Word* next = &r->bits[static_cast<size_t>(r->dag.to[e]) * k];
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
      // Each slot's related work within the block.
      for (size_t ti = 0; ti < tasks.size(); ++ti) {
        const int32_t id = taskId[ti];
        const Word* f = &fwd.bits[static_cast<size_t>(fwd.comp[id]) * k];
        const Word* g = &bwd.bits[static_cast<size_t>(bwd.comp[id]) * k];
        for (size_t si = slotsOfTask[ti]; si < slotsOfTask[ti + 1]; ++si) {
          Slot& s = slots[si];
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
    for (size_t ti = 0; ti < tasks.size(); ++ti) {
      activity_type* t = tasks[ti];
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
