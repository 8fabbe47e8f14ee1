// The conflict list (see conflict_list.h).
#include "run/conflict_list.h"

#include <cstring>

#include "run/run_messages.h"
#include "store/store.h"

namespace run {
namespace {

constexpr const char* kClearConflicts =
    "UPDATE Lev_kor_wbs SET LEVEL_CONFLICT = NULL WHERE EXISTS (SELECT T.ELEMENT_ID FROM "
    "NAV_TMP_PROJECTS_00 T WHERE T.ELEMENT_ID = Lev_kor_wbs.PROJECT_ID)";

// The lag of dependency D in days of its predecessor P. The factor 1.0 makes
// the division real on SQLite and PostgreSQL alike (an integer division would
// make 240 minutes on a 480-minute day nothing at all).
#define LEV_LAG_DAYS \
  "((-D.AMOUNT * (D.LEAD_OR_LAG_TYPE * 2 - 1)) * 1.0 / NULLIF(P.MINUTE_PER_DAY, 0))"

constexpr const char* kSelectConflicts =
    "SELECT (CASE D.DEP_TYPE WHEN 1 THEN '0010:' WHEN 2 THEN '0040:' WHEN 3 THEN '0020:' "
    "WHEN 0 THEN '0080:' ELSE '0000' END) || D.PRED_ID || ';' AS ERROR_CODE, "
    "D.SUCC_ID AS ELEMENT_ID "
    "FROM DEPENDENCIES D, KOR_WBS P, KOR_WBS S "
    "WHERE P.ELEMENT_ID = D.PRED_ID AND P.PROJECT_ID = D.PRED_PROJECT_ID "
    "AND D.SUCC_ID = S.ELEMENT_ID "
    "AND (S.ACTUAL_FINISH IS NULL OR (S.ACTUAL_FINISH IS NOT NULL AND S.ETC <> 0)) "
    "AND D.SUCC_PROJECT_ID IN (SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00) "
    "AND ((D.DEP_TYPE = 1 AND NAV_ORASTD_JULIAN_DAY(P.LEVEL_START) + " LEV_LAG_DAYS
    " > NAV_ORASTD_JULIAN_DAY(S.LEVEL_START)) "
    "OR (D.DEP_TYPE = 0 AND NAV_ORASTD_JULIAN_DAY(P.LEVEL_FINISH) + " LEV_LAG_DAYS
    " > NAV_ORASTD_JULIAN_DAY(S.LEVEL_START)) "
    "OR (D.DEP_TYPE = 2 AND NAV_ORASTD_JULIAN_DAY(P.LEVEL_FINISH) + " LEV_LAG_DAYS
    " > NAV_ORASTD_JULIAN_DAY(S.LEVEL_FINISH)) "
    "OR (D.DEP_TYPE = 3 AND NAV_ORASTD_JULIAN_DAY(P.LEVEL_START) + " LEV_LAG_DAYS
    " > NAV_ORASTD_JULIAN_DAY(S.LEVEL_FINISH))) "
    "UNION ALL "
    "SELECT (CASE CONSTRAINT_TYPE WHEN 2 THEN '0100:' WHEN 3 THEN '0200:' WHEN 4 THEN '0400:' "
    "WHEN 5 THEN '0800:' WHEN 6 THEN '1000:' WHEN 7 THEN '2000:' ELSE '0000:' END) "
    "|| CONSTRAINT_DT || ';' AS ERROR_CODE, ELEMENT_ID "
    "FROM KOR_WBS "
    "WHERE (ACTUAL_FINISH IS NULL OR (ACTUAL_FINISH IS NOT NULL AND ETC <> 0)) "
    "AND PROJECT_ID IN (SELECT ELEMENT_ID FROM NAV_TMP_PROJECTS_00) "
    "AND ((CONSTRAINT_TYPE = 2 AND NAV_ORASTD_JULIAN_DAY(CONSTRAINT_DT) > "
    "NAV_ORASTD_JULIAN_DAY(LEVEL_FINISH)) "
    "OR (CONSTRAINT_TYPE = 3 AND NAV_ORASTD_JULIAN_DAY(CONSTRAINT_DT) < "
    "NAV_ORASTD_JULIAN_DAY(LEVEL_FINISH)) "
    "OR (CONSTRAINT_TYPE = 4 AND NAV_ORASTD_JULIAN_DAY(CONSTRAINT_DT) <> "
    "NAV_ORASTD_JULIAN_DAY(LEVEL_FINISH)) "
    "OR (CONSTRAINT_TYPE = 5 AND NAV_ORASTD_JULIAN_DAY(CONSTRAINT_DT) <> "
    "NAV_ORASTD_JULIAN_DAY(LEVEL_START)) "
    "OR (CONSTRAINT_TYPE = 6 AND NAV_ORASTD_JULIAN_DAY(CONSTRAINT_DT) > "
    "NAV_ORASTD_JULIAN_DAY(LEVEL_START)) "
    "OR (CONSTRAINT_TYPE = 7 AND NAV_ORASTD_JULIAN_DAY(CONSTRAINT_DT) < "
    "NAV_ORASTD_JULIAN_DAY(LEVEL_START))) "
    "ORDER BY ELEMENT_ID";

#undef LEV_LAG_DAYS

constexpr const char* kWriteItemConflicts =
    "UPDATE Lev_kor_wbs SET LEVEL_CONFLICT = ? WHERE ELEMENT_ID = ?";

constexpr const char* kCopyConflicts =
    "UPDATE KOR_WBS AS W SET LEVEL_CONFLICT = (SELECT C.LEVEL_CONFLICT FROM Lev_kor_wbs C "
    "WHERE C.ELEMENT_ID = W.ELEMENT_ID) WHERE EXISTS (SELECT L.ELEMENT_ID FROM Lev_kor_wbs L "
    "WHERE L.ELEMENT_ID = W.ELEMENT_ID)";

constexpr const char* kCallCommit = "call LEVEL_COMMIT() into ?";

constexpr const char* kProgressUpdated = "The list of scheduling conflicts is updated. ";

// One item's codes, never past the buffer.
class ConflictBuffer {
 public:
  // Appends `code` when it fits whole; returns whether it did.
  bool append(const char* code, std::size_t n) {
    if (n > static_cast<std::size_t>(kConflictListSize - 1) - used_) return false;
    std::memcpy(text_ + used_, code, n);
    used_ += n;
    text_[used_] = '\0';
    return true;
  }
  void clear() {
    used_ = 0;
    text_[0] = '\0';
  }
  const char* text() const { return text_; }
  bool empty() const { return used_ == 0; }

 private:
  char text_[kConflictListSize] = {};
  std::size_t used_ = 0;
};

int32_t writeItem(db::Store& store, const ConflictBuffer& list, const db::IdText& item,
                  const RunState& run, FILE* file) {
  if (run.PRINT_UPDATE_OPTION != 0 && file != nullptr) {
    std::fprintf(file, "\n LEVEL_CONFLICT of %s: %s \n", item.c_str(), list.text());
  }
  // An empty list (no code fitted) is stored as null, as an empty text is.
  const int16_t ind = list.empty() ? -1 : 0;
  return store.execute(kWriteItemConflicts, {db::In(list.text(), ind), item});
}

}  // namespace

int doUpdateConflictListDB(RunState& run, FILE* file) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;

  run._wneverLine = __LINE__;
  int32_t rc = store->execute(kClearConflicts);
  if (rc < 0) return rc;

  run._wneverLine = __LINE__;
  db::Cursor rows(*store);
  rc = rows.open(kSelectConflicts);
  if (rc < 0) return rc;

  ConflictBuffer list;
  db::VarChar<kConflictCodeSize> h_error_code;
  db::IdText h_element_id, h_previous_id;
  int16_t codeInd = 0, idInd = 0;
  bool havePrevious = false;
  while ((rc = rows.fetch(
              {db::HostVar(h_error_code, &codeInd), db::HostVar(h_element_id, &idInd)})) == 0) {
    if (havePrevious && std::strcmp(h_element_id.c_str(), h_previous_id.c_str()) != 0) {
      run._wneverLine = __LINE__;
      rc = writeItem(*store, list, h_previous_id, run, file);
      if (rc < 0) return rc;
      list.clear();
    }
    if (codeInd >= 0) list.append(h_error_code.c_str(), h_error_code.len);
    h_previous_id.assign(h_element_id.view());
    havePrevious = true;
  }
  if (rc < 0) return rc;
  rows.close();
  if (havePrevious) {
    run._wneverLine = __LINE__;
    rc = writeItem(*store, list, h_previous_id, run, file);
    if (rc < 0) return rc;
  }

  run._wneverLine = __LINE__;
  rc = store->execute(kCopyConflicts);
  if (rc < 0) return rc;

  run._wneverLine = __LINE__;
  int32_t h_commit = 0;
  db::HostVar commitResult(h_commit);
  rc = store->call(kCallCommit, {}, &commitResult);
  if (rc < 0) return rc;
  if (h_commit < 0) return h_commit;

  sendProgress(run, kProgressUpdated, file);
  return 0;
}

}  // namespace run
