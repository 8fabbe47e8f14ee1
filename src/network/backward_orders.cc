// The backward visiting orders of the backward pass (see priority_order.h):
// act_tmp_list_4 (every copy after its successors, containers after their
// children, numbered by proper_order_back) and act_tmp_list_5 (the copies in
// the level order recomputed on them).
#include <cstdarg>
#include <cstring>

#include "network/list_orders.h"
#include "network/network_construction.h"
#include "network/priority_order.h"
#include "store/result_writers.h"

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

void append(linked_list_type* to, const linked_list_type* from) {
  for (linktype* l = from->phead; l != nullptr; l = l->pnext) ll_addtail(to, l->pcontents);
}

void logOrder(FILE* file, const char* heading, const linked_list_type* list, bool back) {
  say(file, "\n\n %s", heading);
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) {
    const auto* a = static_cast<const activity_type*>(l->pcontents);
    say(file, "\n %-32s type %d level_id %d serial %6d %s %6d", a->name, a->type, a->level_id,
        a->serial_num, back ? "proper_order_back" : "LEVEL_INDEX",
        back ? a->proper_order_back : a->task_level_order);
  }
  say(file, "\n");
}

// The backward candidate list of the copies: finish node, outside
// successors, items without real successors (and the roots of root
// projects), fixed items, items with real successors, other roots, start
// node; each group in reverse network order.
priority_detail::ListPtr backwardCandidates(linked_list_type* copies, const char* start,
                                            const char* finish) {
  using priority_detail::newItemList;
  priority_detail::ListPtr external = newItemList(), roots = newItemList(), free = newItemList(),
                           hard = newItemList(), cand = newItemList(), projects = newItemList();
  for (linktype* l = copies->ptail->pprevious; l != nullptr && l != copies->phead;
       l = l->pprevious) {
    auto* a = static_cast<activity_type*>(l->pcontents);
    const char* parent = firstParentName(a);
    if (a->isExternalSucc) {
      ll_addtail(external.get(), a);
    } else if (parent != nullptr && std::strcmp(parent, start) == 0) {
      ll_addtail(roots.get(), a);
    } else if (activityHasNonTrivialNonExternalSucc(a, finish)) {
      ll_addtail(a->constraint_type == 4 || a->constraint_type == 5 ? hard.get() : cand.get(), a);
    } else {
      ll_addtail(free.get(), a);
    }
  }
  if (ll_size(roots.get()) > 1) ordNodListPresOrdAscNtwLevAsc(roots.get(), copies);
  for (linktype* l = roots->phead; l != nullptr; l = l->pnext) {
    auto* r = static_cast<activity_type*>(l->pcontents);
    ll_addtail(r->proj != nullptr && r->proj->isRootProject ? free.get() : projects.get(), r);
  }
  priority_detail::ListPtr out = newItemList();
  ll_addtail(out.get(), copies->ptail->pcontents);
  for (const auto* part : {&external, &free, &hard, &cand, &projects}) append(out.get(), part->get());
  ll_addtail(out.get(), copies->phead->pcontents);
  return out;
}

}  // namespace

int reorgNetTrFromFinishNode(linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_4,
                             linked_list_type* /*projects_list*/, int optionRunIndexesWherePossible,
                             const char* START_NODE_NAME, const char* FINISH_NODE_NAME,
                             int PRINT_OPTION, FILE* file) {
  try {
    say(file, "\n\n Reorganize Items Order on Backward pass (reorgNetTrFromFinishNode)");
    if (ll_size(act_tmp_list_3) < 2) return 0;
    for (linktype* l = act_tmp_list_3->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      a->proper_order_back = -1;
      a->parent_proper_back = 0;
    }
    priority_detail::ListPtr candidateList =
        backwardCandidates(act_tmp_list_3, START_NODE_NAME, FINISH_NODE_NAME);
    linked_list_type* candidates = candidateList.get();
    if (optionRunIndexesWherePossible) {
      ll_createIndexArray(candidates, START_NODE_NAME, FINISH_NODE_NAME);
    }
    int rc = 0;
    {
      priority_detail::LevelOrdering loop(candidates,
                                          priority_detail::LevelOrdering::Direction::Backward,
                                          START_NODE_NAME, FINISH_NODE_NAME,
                                          "reorgNetTrFromFinishNode", file);
      rc = loop.run();
      linked_list_type* sub = loop.subOptimalList();
      if (rc == 0 && ll_size(sub) > 0) {
        const int w = doUpdateTEMPcircular(sub, PRIO_SUBOPTIMAL_MODE_BACKWARD, file,
                                           PRIO_ERR_CIRCULAR_WRITE);
        if (w < 0) {
          say(file,
              "\n****** error (1) in reorgNetTrFromFinishNode: negative error code from SQL: "
              "errCode = %d",
              w);
          rc = w;
        } else if (w != 0) {
          say(file,
              "\n!!! error in Lev_finalAlignment (reorgNetTrFromFinishNode): returning from "
              "doUpdateTEMPcircular: errCode = %d",
              w);
        }
        say(file, "\n\n List of sub-optimal dependent items in the Network tree");
        for (linktype* l = sub->phead; l != nullptr; l = l->pnext) {
          const auto* a = static_cast<const activity_type*>(l->pcontents);
          say(file, "\n   %-32s type = %d level_id = %d", a->name, a->type, a->level_id);
        }
      }
    }
    if (rc == 0) {
      doOrdSerNamesListByPropOrdBackAsc_2L(candidates, act_tmp_list_4);
      if (PRINT_OPTION) logOrder(file, "inversed order, down from Finish Node", act_tmp_list_4, true);
    }
    if (file != nullptr) std::fflush(file);
    return rc;
  } catch (...) {
    say(file, "\n****** error in reorgNetTrFromFinishNode: throw exception to upper level\n");
    throw;
  }
}

int reorgIndexOrderOnBackPass(linked_list_type* act_tmp_list_3, linked_list_type* act_tmp_list_5,
                              linked_list_type* /*projects_list*/, int optionRunIndexesWherePossible,
                              int assignmentsFlag, const char* START_NODE_NAME,
                              const char* FINISH_NODE_NAME, int PRINT_OPTION, FILE* file) {
  try {
    if (ll_size(act_tmp_list_3) < 2) return 0;
    activityResetLevelOrdersForList(act_tmp_list_3);
    priority_detail::ForwardSetup s{};
    s.network = act_tmp_list_3;
    s.lookups = act_tmp_list_3;
    s.smanager = nullptr;
    s.optionRunIndexesWherePossible = optionRunIndexesWherePossible;
    s.assignmentsFlag = assignmentsFlag;
    s.weighting = false;
    s.subOptimalMode = 0;
    s.module = "reorgIndexOrderOnBackPass";
    s.START_NODE_NAME = START_NODE_NAME;
    s.FINISH_NODE_NAME = FINISH_NODE_NAME;
    s.PRINT_OPTION = 0;
    s.file = file;
    const int rc = priority_detail::runForwardOrdering(s);
    if (rc != 0) return rc;
    doOrdSerNamesListByTaskLevOrderAsc_2L(act_tmp_list_3, act_tmp_list_5);
    for (linktype* l = act_tmp_list_3->phead; l != nullptr; l = l->pnext) {
      auto* a = static_cast<activity_type*>(l->pcontents);
      if (!getActivityIfEmptyContainer(a, FINISH_NODE_NAME)) ordChiListBySerNumAsc(a, act_tmp_list_3);
    }
    if (PRINT_OPTION) logOrder(file, "Index order on backward pass (reorgIndexOrderOnBackPass)",
                               act_tmp_list_5, false);
    return 0;
  } catch (...) {
    say(file, "\n****** error in reorgIndexOrderOnBackPass: throw exception to upper level\n");
    throw;
  }
}
