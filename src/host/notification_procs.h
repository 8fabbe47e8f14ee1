// The host procedures behind the run's notification: the workflow item
// through which the requesting user follows a run.
//
// A notification item is a KOR_WORKFLOWS row under the workflow cycle whose
// PARENT_ID is 'NOTIFICATION' (KOR_WORKFLOW_CYCLES), with one
// WORKFLOW_REPLIES row per participant (ELEMENT_ID = the item, USER_ID =
// the participant, MARKED_READ '0' = not read yet).
//
// LEVEL_FC_A_NOTIFICATION(cycle_id, subject, description, element_id,
//                         rec_user, root_table_type) into workflow_id
//   Creates the item: a new 32-character id (hexadecimal digits), PARENT_ID
//   = cycle_id, SUBJECT, DESCRIPTION, REF_ELEMENT_ID = the element the run
//   is about, ROOT_TABLE_TYPE (1 WBS element, 18 portfolio folder),
//   REQUESTER_ID and REC_USER = rec_user, WORKFLOW_TYPE 1 (notification),
//   STATUS 1 (open), START_DT and REC_DATETIME = now; and the reply row of
//   rec_user, unread. The result (a text host variable, 33 bytes) receives
//   the new id. Refused: an empty cycle_id (-20001), an empty rec_user
//   (-20002).
//
// LEVEL_FC_U_WORKFLOW(workflow_id, cycle_id, element_id, root_table_type,
//                     requester_id, participant_id, subject, description,
//                     workflow_type, status, priority, reply_required,
//                     marked_read, start_dt, due_dt) into status
//   Sets the item up (or anew): every column named by the arguments, with
//   START_DT = now when start_dt is empty and DUE_DT null when due_dt is
//   empty, REC_USER = requester_id, REC_DATETIME = now; and the reply row
//   of participant_id with MARKED_READ = marked_read (created when
//   missing). Result 0. Refused: an unknown workflow_id (-20003).
#ifndef LEVELER_HOST_NOTIFICATION_PROCS_H
#define LEVELER_HOST_NOTIFICATION_PROCS_H

#include <cstdint>

#include "host/backend.h"
#include "store/host_vars.h"
#include "store/store.h"

namespace host {

inline constexpr int kANotificationArity = 6;
inline constexpr int kUWorkflowArity = 15;

int32_t levelFcANotification(db::Store& store, Backend& backend, db::Vars args,
                             const db::HostVar* result);
int32_t levelFcUWorkflow(db::Store& store, Backend& backend, db::Vars args,
                         const db::HostVar* result);

}  // namespace host

#endif  // LEVELER_HOST_NOTIFICATION_PROCS_H
