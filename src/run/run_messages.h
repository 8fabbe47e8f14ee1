// How run control talks to the requesting user and writes its failures to
// the run's log: the notification of a run (a status tag in front of the
// run's subject, the accumulated message), progress messages, and the three
// shapes of a failure (data corruption, warning, SQL failure).
//
// Buffers: run.message holds at most 16384 characters and run.cur_subject
// 2048; texts are cut to them, never written past. A progress text is put
// in front of the accumulated message (the newest step first), as the
// notification itself puts its time stamp in front.
#ifndef LEVELER_RUN_RUN_MESSAGES_H
#define LEVELER_RUN_RUN_MESSAGES_H

#include <cstddef>
#include <cstdio>
#include <string>

#include "run/run_state.h"

namespace run {

// Free characters left in run.message.
std::size_t messageRoom(const RunState& run);

// Puts `text` in front of run.message (cut to the buffer).
void prependMessage(RunState& run, const char* text);

// run.cur_subject = tag + run.subject; sends run.message through
// FC_SEND_NOTIFY on the run's store. Returns FC_SEND_NOTIFY's result
// (callers ignore it: a failed notification never stops a run).
int notifyRun(RunState& run, const char* tag, FILE* file);

// A progress message: prependMessage, then notifyRun with "[Started] ".
int sendProgress(RunState& run, const char* text, FILE* file);

// A banner: the text between two lines of asterisks, flushed.
void printBanner(FILE* file, const char* text);

// "\n\n****** error in Lev_resolveDepOracleDB (levelResourcesForProject):
// negative error code from SQL: ..." with the store's status message and
// run._wneverLine; the message is kept in run.SQL_ErrCode.
void logSqlFailure(RunState& run, int status, FILE* file);

// A data-corruption block "**** error(D-<number>)/data corruption in ..."
// with its error type and the offending identifiers (each followed by its
// null indicator in parentheses, as the caller formats them): written to
// the log, and with the contact line inserted, put in front of the
// message and notified when more than 4000 characters are free.
void reportDataCorruption(RunState& run, const char* number, const char* errorType,
                          const std::string& identifiers, FILE* file);

// A warning block "**** error(W-<number>) in ..." for a non-zero status
// returned by a host procedure: written to the log, and notified when more
// than 500 characters are free.
void reportWarning(RunState& run, const char* number, const char* errorType,
                   const std::string& details, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_RUN_MESSAGES_H
