#include "store/load/load_messages.h"

#include <cstdarg>
#include <cstring>
#include <vector>

#include "store/notification.h"
#include "store/store.h"

namespace load {

std::string format(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  va_list copy;
  va_copy(copy, ap);
  int n = std::vsnprintf(nullptr, 0, fmt, copy);
  va_end(copy);
  std::string out;
  if (n > 0) {
    std::vector<char> buf(static_cast<std::size_t>(n) + 1);
    std::vsnprintf(buf.data(), buf.size(), fmt, ap);
    out.assign(buf.data(), static_cast<std::size_t>(n));
  }
  va_end(ap);
  return out;
}

void logDataError(FILE* file, const std::string& head, const std::string& tail) {
  if (file == nullptr) return;
  std::fputs(head.c_str(), file);
  std::fputs(tail.c_str(), file);
  std::fflush(file);
}

std::string notifiedText(const std::string& head, const char* contactLine,
                         const std::string& tail) {
  return head + contactLine + tail;
}

int notifyDataError(const NotifyTarget& target, const std::string& text, FILE* file,
                    std::size_t minFreeBytes) {
  if (target.workflow_id == nullptr || target.message == nullptr) return 0;
  const std::size_t used = ::strnlen(target.message, kMessageBufferSize - 1);
  if (minFreeBytes != 0 && kMessageBufferSize - used <= minFreeBytes) return 0;
  db::Store* store = db::currentStore();
  if (store == nullptr) return 0;

  std::string subject = "[Started] ";
  if (target.subject != nullptr) subject += target.subject;
  if (subject.size() > kSubjectMaxChars) subject.resize(kSubjectMaxChars);

  std::string full = text;
  full.append(target.message, used);
  if (full.size() > kMessageBufferSize - 1) full.resize(kMessageBufferSize - 1);
  std::memcpy(target.message, full.data(), full.size());
  target.message[full.size()] = '\0';

  return FC_SEND_NOTIFY(*store, file, target.workflow_id, subject.c_str(), target.message,
                        target.element_id, target.rec_user, target.root_table_type);
}

}  // namespace load
