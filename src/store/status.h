// The status of the last statement on a connection, the status codes the
// engine compares against, and the database error line every store function
// prints on a failure.
//
// Codes: 0 done; 100 no row (a single-row select found nothing, or a cursor
// has no more rows); negative: a failure. Negative codes come from three
// sources and never overlap:
// - the database engine: the negated native code (the SQLite backend gives
//   minus the extended result code, so -1 is a plain error, -1555 a primary
//   key violated, -5 a busy database);
// - the store itself (bad host variables, bad bind counts): the named
//   constants below, -1405 (a null fetched without an indicator, the value
//   the driver singles out) and the block from -30001 on;
// - host procedures that refuse their arguments: -20001 to -20999.
// Insert, update and delete give 0 even when no row qualified; the number of
// rows they touched is in SqlStatus::rows.
//
// Message: at most 70 characters in a fixed 71-byte buffer; longer texts are
// cut, never written past the buffer. printDbError clears it after printing
// (first byte 0), so that a later failure never shows an earlier text.
#ifndef LEVELER_STORE_STATUS_H
#define LEVELER_STORE_STATUS_H

#include <cstdint>
#include <cstdio>
#include <string_view>

namespace db {

inline constexpr int32_t kSqlOk = 0;
inline constexpr int32_t kSqlNoData = 100;

// A null value was fetched into a host variable that has no indicator. The
// other values of the row are still filled.
inline constexpr int32_t kSqlNullWithoutIndicator = -1405;
// An input host variable holds more than its capacity allows (a counted
// string whose len is not below its capacity, a character array without a
// terminator). The statement is not executed.
inline constexpr int32_t kSqlInputTooLong = -30001;
// The statement's placeholders and the inputs, or its select list and the
// host variables, differ in number; or the text is not exactly one statement.
inline constexpr int32_t kSqlBindMismatch = -30002;
// A single-row select found more than one row (the host variables hold the
// first).
inline constexpr int32_t kSqlTooManyRows = -30003;
// A fetched or assigned number does not fit its 32-bit host variable.
inline constexpr int32_t kSqlNumberOverflow = -30004;
// A text fetched into a number host variable is not a number.
inline constexpr int32_t kSqlInvalidNumber = -30005;
// Fetch from a cursor that is not open.
inline constexpr int32_t kSqlCursorNotOpen = -30006;
// Call of a procedure that the host does not know, or with the wrong number
// of arguments.
inline constexpr int32_t kSqlUnknownProcedure = -30007;
// No store is bound to the calling thread (see db::currentStore).
inline constexpr int32_t kSqlNoConnection = -30008;
// First code of the block that host procedures use to refuse a call.
inline constexpr int32_t kSqlProcedureRefused = -20001;

inline constexpr std::size_t kStatusMessageCapacity = 71;  // 70 + terminator

struct SqlStatus {
  int32_t code = 0;
  char message[kStatusMessageCapacity] = {};
  int64_t rows = 0;  // rows fetched, inserted, updated or deleted

  // Sets code and message; the message is cut to 70 characters.
  void set(int32_t newCode, std::string_view text);
  // The same with a printf format.
  void setf(int32_t newCode, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  void clearMessage() { message[0] = '\0'; }
};

// Prints "\n\n****** error (N) in MODULE (FUNCTION): SC_STATE = code
// (message) LineNum = line \n\n" to file, flushes it and clears the
// status message.
void printDbError(FILE* file, int counter, const char* module,
                  const char* function, SqlStatus& status, int line);

}  // namespace db

#endif  // LEVELER_STORE_STATUS_H
