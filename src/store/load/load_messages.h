// The messages of the load phase's data errors: how a "data corruption"
// text is written to the run's log and, for the errors the user must hear
// of, sent as a notification of the run (FC_SEND_NOTIFY).
//
// A data-error message has a head (from its first line down to the line
// that prints the status message and the progress marker "LineNum") and a
// tail (the offending key values). The log receives head + tail. The
// notification's text is head, the contact line, tail, and then the
// caller's accumulated message; that text also replaces the caller's
// message. Its subject is "[Started] " followed by the caller's subject.
//
// Buffers: the caller's message buffer holds 16385 bytes (16384
// characters), its subject at most 2048 characters, the workflow id 33
// bytes. Texts are cut to those sizes, never written past them.
#ifndef LEVELER_STORE_LOAD_LOAD_MESSAGES_H
#define LEVELER_STORE_LOAD_LOAD_MESSAGES_H

#include <cstddef>
#include <cstdio>
#include <string>

namespace load {

inline constexpr std::size_t kMessageBufferSize = 16385;  // p_message
inline constexpr std::size_t kSubjectMaxChars = 2048;

// printf into a std::string (no fixed buffer to overrun).
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// The notification of a run, as the readers receive it from the driver. A
// null workflow id or message means "do not notify".
struct NotifyTarget {
  char* workflow_id;
  char* message;  // kMessageBufferSize bytes
  const char* subject;
  const char* element_id;
  const char* rec_user;
  int root_table_type;
};

// Writes head + tail to the log and flushes it.
void logDataError(FILE* file, const std::string& head, const std::string& tail);

// The text the user receives for one data error: head, contact line, tail.
std::string notifiedText(const std::string& head, const char* contactLine,
                         const std::string& tail);

// Prepends `text` to the caller's message (cut to the buffer), and sends it
// with the subject "[Started] " + subject through the run's store. When
// minFreeBytes is non-zero, nothing is sent (and the message is left as it
// was) unless the message buffer still has more than that many bytes free.
// Returns FC_SEND_NOTIFY's result, 0 when nothing was sent; callers ignore
// it (a failed notification never stops a run).
int notifyDataError(const NotifyTarget& target, const std::string& text, FILE* file,
                    std::size_t minFreeBytes = 0);

}  // namespace load

#endif  // LEVELER_STORE_LOAD_LOAD_MESSAGES_H
