// WBS roll-up and time-phased budget figures after a copy of levelled
// results. See rollup_procs.h for what each procedure writes.
#include "host/rollup_procs.h"

#include <vector>

#include "host/procedures.h"
#include "store/status.h"

namespace host {

namespace {

// Leaves under the pattern that have assignments take their dates and
// effort from them. Bound: the rank pattern.
constexpr const char* kRollupLeavesFromAssignments =
    "UPDATE KOR_WBS AS W SET "
    "PLANNED_START = COALESCE((SELECT MIN(TA.PLANNED_START) FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID AND TA.BIT_FLAG = 0), "
    "W.PLANNED_START), "
    "PLANNED_FINISH = COALESCE((SELECT MAX(TA.PLANNED_FINISH) FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID AND TA.BIT_FLAG = 0), "
    "W.PLANNED_FINISH), "
    "SCHED_START = COALESCE((SELECT MIN(TA.SCHED_START) FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID AND TA.BIT_FLAG = 2), "
    "W.SCHED_START), "
    "SCHED_FINISH = COALESCE((SELECT MAX(TA.SCHED_FINISH) FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID AND TA.BIT_FLAG = 2), "
    "W.SCHED_FINISH), "
    "PLANNED_EFFORT = (SELECT COALESCE(SUM(TA.PLANNED_WORK), 0) FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID AND TA.BIT_FLAG = 0), "
    "SCHED_EFFORT = (SELECT COALESCE(SUM(TA.SCHED_WORK), 0) FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID AND TA.BIT_FLAG = 2) "
    "WHERE W.RANK LIKE ? "
    "AND EXISTS (SELECT 1 FROM TASK_ASSIGNMENTS TA "
    "WHERE TA.PROJECT_ID = W.PROJECT_ID AND TA.TASK_ID = W.ELEMENT_ID) "
    "AND NOT EXISTS (SELECT 1 FROM KOR_WBS K "
    "WHERE K.PARENT_ID = W.ELEMENT_ID AND K.ELEMENT_ID <> W.ELEMENT_ID)";

// The rank lengths of the containers under the pattern, deepest first.
// Bound: the rank pattern.
constexpr const char* kSelectContainerDepths =
    "SELECT DISTINCT LENGTH(C.RANK) FROM KOR_WBS C "
    "WHERE C.RANK LIKE ? "
    "AND EXISTS (SELECT 1 FROM KOR_WBS K "
    "WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID) "
    "ORDER BY 1 DESC";

// The containers of one depth take the roll-up of their children. A child
// container's planned dates already cover its scheduled children, so they
// are taken as they are; a leaf counts with its scheduled dates where it has
// them. Bound: the rank pattern, the rank length.
#define LEV_HAS_CHILDREN(item)                                                  \
  "EXISTS (SELECT 1 FROM KOR_WBS G WHERE G.PARENT_ID = " item ".ELEMENT_ID "   \
  "AND G.ELEMENT_ID <> " item ".ELEMENT_ID)"
constexpr const char* kRollupContainersOfDepth =
    "UPDATE KOR_WBS AS C SET "
    "PLANNED_START = COALESCE((SELECT MIN(CASE WHEN " LEV_HAS_CHILDREN("K") " "
    "THEN K.PLANNED_START ELSE COALESCE(K.SCHED_START, K.PLANNED_START) END) "
    "FROM KOR_WBS K WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID), "
    "C.PLANNED_START), "
    "PLANNED_FINISH = COALESCE((SELECT MAX(CASE WHEN " LEV_HAS_CHILDREN("K") " "
    "THEN K.PLANNED_FINISH ELSE COALESCE(K.SCHED_FINISH, K.PLANNED_FINISH) END) "
    "FROM KOR_WBS K WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID), "
    "C.PLANNED_FINISH), "
    "SCHED_START = COALESCE((SELECT MIN(K.SCHED_START) "
    "FROM KOR_WBS K WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID), "
    "C.SCHED_START), "
    "SCHED_FINISH = COALESCE((SELECT MAX(K.SCHED_FINISH) "
    "FROM KOR_WBS K WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID), "
    "C.SCHED_FINISH), "
    "PLANNED_EFFORT = (SELECT COALESCE(SUM(K.PLANNED_EFFORT), 0) "
    "FROM KOR_WBS K WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID), "
    "SCHED_EFFORT = (SELECT COALESCE(SUM(K.SCHED_EFFORT), 0) "
    "FROM KOR_WBS K WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID) "
    "WHERE C.RANK LIKE ? AND LENGTH(C.RANK) = ? "
    "AND EXISTS (SELECT 1 FROM KOR_WBS K "
    "WHERE K.PARENT_ID = C.ELEMENT_ID AND K.ELEMENT_ID <> C.ELEMENT_ID)";
#undef LEV_HAS_CHILDREN

// The run's projects whose project item is at the given LEVEL_STATE and
// that have levelled day rows: 2 = just copied, 1 = levelled, not copied.
#define LEV_PROJECTS_AT_STATE(state)                                            \
  "SELECT A.ELEMENT_ID FROM NAV_TMP_PROJECTS_00 A, KOR_WBS PW "                 \
  "WHERE PW.ELEMENT_ID = A.ELEMENT_ID AND PW.LEVEL_STATE = " state " "          \
  "AND EXISTS (SELECT 1 FROM LEVEL_TASK_DAY_OF_YEAR L WHERE L.PROJECT_ID = A.ELEMENT_ID)"

#define LEV_DELETE_NEW_BUDGET(state)                                            \
  "DELETE FROM PROJECT_BUDGET_BREAKDOWN WHERE BUDGET_TYPE IN (17, 18) "         \
  "AND PROJECT_ID IN (" LEV_PROJECTS_AT_STATE(state) ")"

// Monthly sums of the day rows of `table`; bound: the charge code.
#define LEV_INSERT_NEW_BUDGET(table, state)                                     \
  "INSERT INTO PROJECT_BUDGET_BREAKDOWN "                                       \
  "(PROJECT_ID, ELEMENT_ID, CHARGECODE_ID, BUDGET_TYPE, PERIOD_START, AMOUNT) " \
  "SELECT D.PROJECT_ID, D.TASK_ID, CAST(? AS VARCHAR(32)), "                    \
  "CASE WHEN D.BIT_FLAG = 2 THEN 17 ELSE 18 END, "                              \
  "SUBSTR(D.DAY_YEAR, 1, 7) || '-01', SUM(D.SCHED_MIN) "                        \
  "FROM " table " D "                                                           \
  "WHERE D.BIT_FLAG IN (0, 2) AND D.SCHED_MIN > 0 "                             \
  "AND D.PROJECT_ID IN (" LEV_PROJECTS_AT_STATE(state) ") "                     \
  "GROUP BY D.PROJECT_ID, D.TASK_ID, D.BIT_FLAG, SUBSTR(D.DAY_YEAR, 1, 7)"

constexpr const char* kDeleteCopiedBudget = LEV_DELETE_NEW_BUDGET("2");
constexpr const char* kInsertCopiedBudget = LEV_INSERT_NEW_BUDGET("TASK_DAY_OF_YEAR", "2");
constexpr const char* kDeleteLevelledBudget = LEV_DELETE_NEW_BUDGET("1");
constexpr const char* kInsertLevelledBudget =
    LEV_INSERT_NEW_BUDGET("LEVEL_TASK_DAY_OF_YEAR", "1");

#undef LEV_INSERT_NEW_BUDGET
#undef LEV_DELETE_NEW_BUDGET
#undef LEV_PROJECTS_AT_STATE

int32_t done(const db::HostVar* result) {
  if (result != nullptr) return result->setInteger(0);
  return db::kSqlOk;
}

// Replaces the 17/18 rows of the selected projects by fresh monthly sums.
int32_t replaceBudget(db::Store& store, const char* deleteSql, const char* insertSql) {
  int32_t rc = store.execute(deleteSql);
  if (rc < 0) return rc;
  rc = store.execute(insertSql, {kTimephaseChargeCode});
  if (rc < 0) return rc;
  return db::kSqlOk;
}

}  // namespace

int32_t levelFcRollup(db::Store& store, Backend&, db::Vars args, const db::HostVar* result) {
  const db::HostVar& rankLike = args[0];
  if (rankLike.isNull()) {
    store.status().set(db::kSqlProcedureRefused, "LEVEL_FC_Rollup: no rank pattern");
    return db::kSqlProcedureRefused;
  }
  const std::string pattern(rankLike.text());

  int32_t rc = store.execute(kRollupLeavesFromAssignments, {pattern});
  if (rc < 0) return rc;

  // Read every depth before updating: the cursor must not see its own
  // table change under it.
  std::vector<int32_t> depths;
  {
    db::Cursor cursor(store);
    rc = cursor.open(kSelectContainerDepths, {pattern});
    if (rc < 0) return rc;
    int32_t depth = 0;
    int16_t ind = 0;
    while ((rc = cursor.fetch({db::HostVar(depth, &ind)})) == 0) {
      if (ind >= 0) depths.push_back(depth);
    }
    if (rc < 0) return rc;
  }
  for (int32_t depth : depths) {
    rc = store.execute(kRollupContainersOfDepth, {pattern, depth});
    if (rc < 0) return rc;
  }
  return done(result);
}

int32_t levelFcRollupTimephase(db::Store& store, Backend&, db::Vars,
                               const db::HostVar* result) {
  int32_t rc = replaceBudget(store, kDeleteCopiedBudget, kInsertCopiedBudget);
  if (rc < 0) return rc;
  return done(result);
}

int32_t levelFcTimephaseCriTask(db::Store&, Backend&, db::Vars, const db::HostVar* result) {
  return done(result);
}

int32_t levelFcTimephaseLevelled(db::Store& store, Backend&, db::Vars,
                                 const db::HostVar* result) {
  int32_t rc = replaceBudget(store, kDeleteLevelledBudget, kInsertLevelledBudget);
  if (rc < 0) return rc;
  return done(result);
}

void addRollupProcedures(ProcedureRegistry& registry) {
  registry.add("LEVEL_FC_Rollup", kRollupArity, levelFcRollup);
  registry.add("LEVEL_FC_Rollup_Timephase", -1, levelFcRollupTimephase);
  registry.add("LEVEL_FC_Timephase_CRI_Task", -1, levelFcTimephaseCriTask);
  registry.add("LEVEL_FC_TIMEPHASE_LEVELED", 0, levelFcTimephaseLevelled);
}

}  // namespace host
