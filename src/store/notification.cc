// FC_SEND_NOTIFY: time-stamped notification texts to the requesting user's
// workflow item. See notification.h for the contract; the host procedures
// behind the two calls are described in host/notification_procs.h.
#include "store/notification.h"

#include <cstring>
#include <string>

namespace {

constexpr const char* kSelectNotificationCycle =
    "SELECT ELEMENT_ID FROM KOR_WORKFLOW_CYCLES WHERE PARENT_ID = 'NOTIFICATION'";
constexpr const char* kSelectNow = "SELECT SYSTIMESTAMP()";
constexpr const char* kCallANotification =
    "call LEVEL_FC_A_NOTIFICATION(?, ?, ?, ?, ?, ?) into ?";
constexpr const char* kCallUWorkflow =
    "call LEVEL_FC_U_WORKFLOW(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) into ?";
constexpr const char* kUpdateWorkflow =
    "UPDATE KOR_WORKFLOWS SET SUBJECT = ?, DESCRIPTION = ?, REC_DATETIME = SYSTIMESTAMP() "
    "WHERE ELEMENT_ID = ?";
constexpr const char* kUpdateReplies =
    "UPDATE WORKFLOW_REPLIES SET MARKED_READ = '0', REC_DATETIME = SYSTIMESTAMP() "
    "WHERE ELEMENT_ID = ?";
constexpr const char* kCallCommit = "call LEVEL_COMMIT() into ?";

constexpr std::size_t kMessageBuffer = 16385;      // the caller's message
constexpr std::size_t kReplaceAbove = 16265;       // characters
constexpr std::size_t kDropAbove = 16335;          // characters
constexpr const char* kStoredInDatabase = "Detailed information is stored in database.\n";

// Set-up values of a new notification item (host/notification_procs.h).
constexpr int32_t kWorkflowTypeNotification = 1;
constexpr int32_t kWorkflowStatusOpen = 1;
constexpr int32_t kWorkflowPriority = 0;

// A caller's C string, read no further than `capacity` bytes.
std::string_view bounded(const char* s, std::size_t capacity) {
  if (s == nullptr) return std::string_view();
  return std::string_view(s, ::strnlen(s, capacity));
}

}  // namespace

int FC_SEND_NOTIFY(db::Store& store, FILE* file, char* workflow_id, const char* subject,
                   char* message, const char* element_id, const char* rec_user,
                   int root_table_type) {
  // 1. The workflow cycle that notifications live under.
  db::IdText h_cycle_id;
  int16_t h_cycle_id_ind = 0;
  int rc = store.selectInto(kSelectNotificationCycle, {},
                            {db::HostVar(h_cycle_id, &h_cycle_id_ind)});
  if (rc < 0) return rc;

  // 2. Host variables.
  db::IdText h_workflow_id, h_element_id, h_rec_user;
  db::SubjectText h_subject;
  db::MessageText h_message;
  h_workflow_id.assign(bounded(workflow_id, 33));
  h_element_id.assign(bounded(element_id, 33));
  h_rec_user.assign(bounded(rec_user, 33));
  h_subject.assign(bounded(subject, 2049));
  if (h_element_id.len == 0 || h_rec_user.len == 0) {
    std::fprintf(file,
                 "\n\n**** error in FC_SEND_NOTIFY !!! element_id= %s or rec_user= %s are "
                 "empty strings: workflow_id= %s \n\n",
                 h_element_id.c_str(), h_rec_user.c_str(), h_workflow_id.c_str());
    std::fflush(file);
    return 0;
  }

  // 3. Time stamp in front of the accumulated message.
  db::StampText h_now;
  int16_t h_now_ind = 0;
  rc = store.selectInto(kSelectNow, {}, {db::HostVar(h_now, &h_now_ind)});
  if (rc < 0) return rc;
  std::string text(h_now.view());
  text.push_back('\n');
  text.append(bounded(message, kMessageBuffer - 1));

  // 4. Size limits, both measured on the text as composed.
  const std::size_t composed = text.size();
  if (composed > kReplaceAbove) text = kStoredInDatabase;
  if (composed > kDropAbove) return 0;

  // 5. The caller keeps the text sent.
  std::memcpy(message, text.data(), text.size());
  message[text.size()] = '\0';
  h_message.assign(text);
  int16_t h_subject_ind = 0, h_message_ind = 0;

  int procedureStatus = 0;
  if (h_workflow_id.len > 0) {
    // 6. Existing item: new subject and text, replies unread again.
    rc = store.execute(kUpdateWorkflow, {db::In(h_subject, h_subject_ind),
                                         db::In(h_message, h_message_ind), h_workflow_id});
    if (rc < 0) return rc;
    rc = store.execute(kUpdateReplies, {h_workflow_id});
    if (rc < 0) return rc;
  } else {
    // 7. New item; its workflow set-up only when it was created.
    int32_t h_root_table_type = root_table_type;
    db::IdText h_new_id;
    int16_t h_new_id_ind = 0;
    db::HostVar newId(h_new_id, &h_new_id_ind);
    procedureStatus = store.call(kCallANotification,
                                 {h_cycle_id, db::HostVar(h_subject, &h_subject_ind),
                                  db::HostVar(h_message, &h_message_ind), h_element_id,
                                  h_rec_user, h_root_table_type},
                                 &newId);
    std::memcpy(workflow_id, h_new_id.arr, static_cast<std::size_t>(h_new_id.len) + 1);
    if (procedureStatus == 0) {
      int32_t h_type = kWorkflowTypeNotification, h_status = kWorkflowStatusOpen;
      int32_t h_priority = kWorkflowPriority, h_setup_result = 0;
      db::FlagText h_reply_required, h_marked_read;
      h_reply_required.assign("0");
      h_marked_read.assign("0");
      db::StampText h_start, h_due;  // no due date
      h_start.assign(h_now.view());
      db::HostVar setupResult(h_setup_result);
      procedureStatus = store.call(
          kCallUWorkflow,
          {h_new_id, h_cycle_id, h_element_id, h_root_table_type, h_rec_user, h_rec_user,
           db::HostVar(h_subject, &h_subject_ind), db::HostVar(h_message, &h_message_ind),
           h_type, h_status, h_priority, h_reply_required, h_marked_read, h_start, h_due},
          &setupResult);
      if (procedureStatus == 0) procedureStatus = h_setup_result;
    }
  }

  // 8. Commit.
  int32_t h_commit = 0;
  db::HostVar commitResult(h_commit);
  rc = store.call(kCallCommit, {}, &commitResult);
  if (procedureStatus != 0) return procedureStatus;
  if (rc < 0) return rc;
  return h_commit;
}

int FC_SEND_NOTIFY(char* workflow_id, const char* subject, char* message,
                   const char* element_id, const char* rec_user, int root_table_type) {
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  return FC_SEND_NOTIFY(*store, stdout, workflow_id, subject, message, element_id, rec_user,
                        root_table_type);
}
