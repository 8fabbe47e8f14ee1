// Status of the last statement: setting it with a cut message, and the
// database error line. See status.h.
#include "store/status.h"

#include <cstdarg>
#include <cstring>

namespace db {

void SqlStatus::set(int32_t newCode, std::string_view text) {
  code = newCode;
  std::size_t n = text.size();
  if (n > kStatusMessageCapacity - 1) n = kStatusMessageCapacity - 1;
  std::memcpy(message, text.data(), n);
  message[n] = '\0';
}

void SqlStatus::setf(int32_t newCode, const char* format, ...) {
  code = newCode;
  va_list args;
  va_start(args, format);
  // vsnprintf writes at most capacity bytes, the terminator included.
  int written = std::vsnprintf(message, kStatusMessageCapacity, format, args);
  va_end(args);
  if (written < 0) message[0] = '\0';
}

void printDbError(FILE* file, int counter, const char* module,
                  const char* function, SqlStatus& status, int line) {
  std::fprintf(file,
               "\n\n****** error (%d) in %s (%s): SC_STATE = %d (%s) "
               "LineNum = %d \n\n",
               counter, module, function, status.code, status.message, line);
  std::fflush(file);
  status.clearMessage();
}

}  // namespace db
