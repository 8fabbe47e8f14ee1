// Notification workflow items: LEVEL_FC_A_NOTIFICATION creates one,
// LEVEL_FC_U_WORKFLOW sets it up. See notification_procs.h.
#include "host/notification_procs.h"

#include <random>


namespace host {

namespace {

constexpr const char* kInsertWorkflow =
    "INSERT INTO KOR_WORKFLOWS (ELEMENT_ID, PARENT_ID, SUBJECT, DESCRIPTION, "
    "REF_ELEMENT_ID, ROOT_TABLE_TYPE, REQUESTER_ID, WORKFLOW_TYPE, STATUS, "
    "START_DT, REC_USER, REC_DATETIME) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, 1, 1, SYSTIMESTAMP(), ?, SYSTIMESTAMP())";

constexpr const char* kInsertReply =
    "INSERT INTO WORKFLOW_REPLIES (ELEMENT_ID, USER_ID, MARKED_READ, "
    "REC_DATETIME) VALUES (?, ?, ?, SYSTIMESTAMP())";

constexpr const char* kUpdateWorkflow =
    "UPDATE KOR_WORKFLOWS SET PARENT_ID = ?, REF_ELEMENT_ID = ?, "
    "ROOT_TABLE_TYPE = ?, REQUESTER_ID = ?, SUBJECT = ?, DESCRIPTION = ?, "
    "WORKFLOW_TYPE = ?, STATUS = ?, PRIORITY = ?, REPLY_REQUIRED = ?, "
    "START_DT = COALESCE(?, SYSTIMESTAMP()), DUE_DT = ?, REC_USER = ?, "
    "REC_DATETIME = SYSTIMESTAMP() WHERE ELEMENT_ID = ?";

constexpr const char* kUpdateReply =
    "UPDATE WORKFLOW_REPLIES SET MARKED_READ = ?, REC_DATETIME = SYSTIMESTAMP() "
    "WHERE ELEMENT_ID = ? AND USER_ID = ?";

// 32 hexadecimal digits from a generator seeded once per process: ids only
// need to be unique, not secret.
std::string newWorkflowId() {
  static std::mt19937_64 generator{std::random_device{}()};
  static const char kDigits[] = "0123456789ABCDEF";
  std::string id;
  for (int half = 0; half < 2; ++half) {
    uint64_t bits = generator();
    for (int i = 0; i < 16; ++i) {
      id.push_back(kDigits[bits & 0xF]);
      bits >>= 4;
    }
  }
  return id;
}

// An empty text argument stands for "not given".
db::In textOrNull(const db::HostVar& v) {
  if (v.isNull() || (v.isText() && v.text().empty())) return db::In::null();
  return db::In(v);
}

}  // namespace

int32_t levelFcANotification(db::Store& store, Backend&, db::Vars args,
                             const db::HostVar* result) {
  const db::HostVar& cycleId = args[0];
  const db::HostVar& subject = args[1];
  const db::HostVar& description = args[2];
  const db::HostVar& elementId = args[3];
  const db::HostVar& recUser = args[4];
  const db::HostVar& rootTableType = args[5];

  if (cycleId.isNull() || cycleId.text().empty()) {
    store.status().set(db::kSqlProcedureRefused,
                       "LEVEL_FC_A_NOTIFICATION: no notification cycle");
    return db::kSqlProcedureRefused;
  }
  if (recUser.isNull() || recUser.text().empty()) {
    store.status().set(db::kSqlProcedureRefused - 1,
                       "LEVEL_FC_A_NOTIFICATION: no requesting user");
    return db::kSqlProcedureRefused - 1;
  }

  const std::string id = newWorkflowId();
  int32_t rc = store.execute(kInsertWorkflow,
                             {id, cycleId, subject, description, elementId,
                              rootTableType, recUser, recUser});
  if (rc < 0) return rc;
  rc = store.execute(kInsertReply, {id, recUser, "0"});
  if (rc < 0) return rc;
  if (result != nullptr) return result->setText(id);
  return db::kSqlOk;
}

int32_t levelFcUWorkflow(db::Store& store, Backend&, db::Vars args,
                         const db::HostVar* result) {
  const db::HostVar& workflowId = args[0];
  const db::HostVar& participant = args[5];
  const db::HostVar& markedRead = args[12];

  int32_t rc = store.execute(
      kUpdateWorkflow,
      {textOrNull(args[1]), textOrNull(args[2]), args[3], textOrNull(args[4]),
       args[6], args[7], args[8], args[9], args[10], textOrNull(args[11]),
       textOrNull(args[13]), textOrNull(args[14]), textOrNull(args[4]),
       workflowId});
  if (rc < 0) return rc;
  if (store.status().rows == 0) {
    store.status().setf(db::kSqlProcedureRefused - 2,
                        "LEVEL_FC_U_WORKFLOW: no workflow item %.32s",
                        std::string(workflowId.text()).c_str());
    return db::kSqlProcedureRefused - 2;
  }
  if (!participant.isNull() && !participant.text().empty()) {
    rc = store.execute(kUpdateReply, {markedRead, workflowId, participant});
    if (rc < 0) return rc;
    if (store.status().rows == 0) {
      rc = store.execute(kInsertReply, {workflowId, participant, markedRead});
      if (rc < 0) return rc;
    }
  }
  if (result != nullptr) return result->setInteger(0);
  return db::kSqlOk;
}

}  // namespace host
