#include "store/sequence_ids.h"

#include <cstdio>
#include <cstring>

#include "calendar/project.h"
#include "store/store.h"

namespace {

constexpr const char* kSelectActUid =
    "select SEQUENT_ID from Lev_act_uids where (TYPE_ID=? and ELEMENT_ID=?)";
constexpr const char* kInsertActUid =
    "insert into Lev_act_uids (SEQUENT_ID,ELEMENT_ID,TYPE_ID) values (?,?,?)";
constexpr const char* kSelectResUid =
    "select SEQUENT_ID from Lev_res_uids where (TYPE_ID=? and RESOURCE_ID=?)";
constexpr const char* kInsertResUid =
    "insert into Lev_res_uids (SEQUENT_ID,RESOURCE_ID,TYPE_ID) values (?,?,?)";
constexpr const char* kSelectElementOfUid =
    "select ELEMENT_ID from Lev_act_uids where (TYPE_ID=? and SEQUENT_ID=?)";

char* nextUid(int32_t* counter) {
  char* s = new char[SEQ_UID_SIZE];
  s[0] = '\0';
  if (*counter < SEQ_UID_MAX + 1) ++*counter;
  if (*counter <= SEQ_UID_MAX) std::snprintf(s, SEQ_UID_SIZE, "%07d", *counter);
  return s;
}

void copyId(char* dst, const char* src) { std::snprintf(dst, SEQ_UID_SIZE, "%s", src); }

// The one find-or-create of both tables.
struct UidTable {
  const char* select;
  const char* insert;
  bool resources;
};
const UidTable kActTable{kSelectActUid, kInsertActUid, false};
const UidTable kResTable{kSelectResUid, kInsertResUid, true};

char* issue(storage_manager_type* sm, bool resources) {
  return resources ? smanagerGimeNextResSeqUid(sm) : smanagerGimeNextActSeqUid(sm);
}

int createEntry(const UidTable& table, const char* id, int type_id, char* seq_uid,
                storage_manager_type* sm) {
  char* uid = issue(sm, table.resources);
  copyId(seq_uid, uid);
  bool issued = uid[0] != '\0';
  delete[] uid;
  if (!issued) return 0;
  db::Store* store = db::currentStore();
  if (store != nullptr) store->execute(table.insert, {seq_uid, id, int32_t{type_id}});
  return 0;
}

int findCreate(const UidTable& table, const char* id, int type_id, char* seq_uid,
               storage_manager_type* sm, int create_mode, int* succeed) {
  *succeed = 1;
  db::Store* store = db::currentStore();
  db::IdText found;
  int16_t ind = 0;
  int32_t rc = store == nullptr ? db::kSqlNoConnection
                                : store->selectInto(table.select, {int32_t{type_id}, id},
                                                    {db::HostVar(found, &ind)});
  if (rc == 0 && ind >= 0) {
    copyId(seq_uid, found.c_str());
    return 0;
  }
  if (!create_mode) {
    *succeed = 0;
    return 0;
  }
  char uid[SEQ_UID_SIZE];
  createEntry(table, id, type_id, uid, sm);
  if (uid[0] == '\0') {
    *succeed = 0;
    return 0;
  }
  copyId(seq_uid, uid);
  return 0;
}

}  // namespace

char* smanagerGimeNextActSeqUid(void* this_sm) {
  return nextUid(&static_cast<storage_manager_type*>(this_sm)->next_act_uid);
}

char* smanagerGimeNextResSeqUid(void* this_sm) {
  return nextUid(&static_cast<storage_manager_type*>(this_sm)->next_res_uid);
}

char* itoa(int i, char* s, int /*base*/) {
  std::sprintf(s, "%d", i);
  return s;
}

int doFindCreateActSeqUid(const char* element_id, int type_id, char* seq_uid, void* this_sm,
                          int create_mode, int* succeed, FILE* /*file*/) {
  return findCreate(kActTable, element_id, type_id, seq_uid,
                    static_cast<storage_manager_type*>(this_sm), create_mode, succeed);
}

int doCreateNewEntryActSeqUid(const char* element_id, int type_id, char* seq_uid, void* sm,
                              FILE* /*file*/) {
  return createEntry(kActTable, element_id, type_id, seq_uid, static_cast<storage_manager_type*>(sm));
}

int doFindCreateResSeqUid(const char* resource_id, int type_id, char* seq_uid, void* this_sm,
                          int create_mode, int* succeed, FILE* /*file*/) {
  return findCreate(kResTable, resource_id, type_id, seq_uid,
                    static_cast<storage_manager_type*>(this_sm), create_mode, succeed);
}

int doCreateNewEntryResSeqUid(const char* resource_id, int type_id, char* seq_uid, void* sm,
                              FILE* /*file*/) {
  return createEntry(kResTable, resource_id, type_id, seq_uid,
                     static_cast<storage_manager_type*>(sm));
}

int doTransSeqUidBackToActElemId(const char* seq_uid, int type_id, char* element_id,
                                 FILE* /*file*/) {
  db::Store* store = db::currentStore();
  db::IdText found;
  int16_t ind = 0;
  int32_t rc = store == nullptr ? db::kSqlNoConnection
                                : store->selectInto(kSelectElementOfUid, {int32_t{type_id}, seq_uid},
                                                    {db::HostVar(found, &ind)});
  if (rc != 0 || ind < 0) {
    std::strcpy(element_id, " ");
    return SEQ_UID_UNKNOWN;
  }
  copyId(element_id, found.c_str());
  return 0;
}
