// FC_SEND_NOTIFY: the one way progress, warning, failure and completion
// texts of a run reach the requesting user, as a notification workflow item
// of the host application.
//
// The first call of a run (empty workflow_id) creates the item through the
// host procedure LEVEL_FC_A_NOTIFICATION and sets it up with
// LEVEL_FC_U_WORKFLOW; the new id is copied into workflow_id, and every
// later call rewrites that item's SUBJECT and DESCRIPTION and marks its
// replies unread. Each call puts the current time stamp and a newline in
// front of the caller's accumulated message, hands the result back in
// `message` and ends with LEVEL_COMMIT (so it also commits what the run
// changed before).
//
// Buffers (the caller's): workflow_id at least 33 bytes (32 characters),
// subject up to 2048 characters (cut beyond), message at least 16385 bytes
// holding up to 16384 characters, element_id and rec_user up to 32
// characters (cut beyond; an overlong id then names no row).
//
// Size rule: a text (time stamp, newline, message) longer than 16265
// characters is replaced by "Detailed information is stored in
// database.\n"; a text longer than 16335 characters is not sent at all and
// message is left as it was (the rule is applied to the text's length
// before the replacement).
//
// Result: 0, or 0 without sending anything when element_id or rec_user is
// empty (an error line goes to the log) or the text is too long; a negative
// status when a select or update fails (returned at once, nothing
// committed); the non-zero status of LEVEL_FC_A_NOTIFICATION (the set-up is
// then skipped) or of LEVEL_FC_U_WORKFLOW, after the commit has still run;
// otherwise the status of the final LEVEL_COMMIT (0).
// Callers ignore the result: a failed notification never stops a run.
//
// The form without a store works on db::currentStore() and logs to stdout
// (the run's log); it returns db::kSqlNoConnection when no store is bound.
#ifndef LEVELER_STORE_NOTIFICATION_H
#define LEVELER_STORE_NOTIFICATION_H

#include <cstdio>

#include "store/store.h"

int FC_SEND_NOTIFY(char* workflow_id, const char* subject, char* message,
                   const char* element_id, const char* rec_user, int root_table_type);

int FC_SEND_NOTIFY(db::Store& store, FILE* file, char* workflow_id, const char* subject,
                   char* message, const char* element_id, const char* rec_user,
                   int root_table_type);

#endif  // LEVELER_STORE_NOTIFICATION_H
