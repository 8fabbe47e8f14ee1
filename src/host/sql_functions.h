// SQL helper functions that the statements of the engine call, registered
// on every connection of the SQLite backend (a PostgreSQL backend provides
// the same names as SQL functions).
//
// Time stamps are texts "YYYY-MM-DD HH:MM:SS.ffffff" (26 characters), days
// "YYYY-MM-DD". As input the functions also accept the other forms such
// values arrive in: a day alone (midnight), "YYYY-MM-DD HH:MM",
// "YYYY-MM-DD HH:MM:SS", a fraction of 1 to 6 digits (more are ignored),
// and '-' or 'T' between day and time and '.' between the parts of the time
// ("2004-01-01-08.00.00.000000"). Month 1-12, day 1-31, hour 0-23, minute
// and second 0-59 are checked; anything else is an error of the statement.
// A null argument gives null unless said otherwise.
//
// NAV_ORASTD_DB2TIMESTAMP(x)          x in any accepted form -> the
//                                     26-character time stamp.
// NAV_ORASTD_DB2TIMESTAMP(day, time)  the day of `day` (a day or a time
//                                     stamp) at `time` ("HH:MM:SS" or
//                                     "HH:MM:SS.ffffff", '.' or ':') -> the
//                                     26-character time stamp.
// NAV_ORASTD_DB2TIMESTAMPDIFF(code, a, b)
//                                     a - b, truncated toward zero, in the
//                                     unit of `code`: 1 microseconds,
//                                     2 seconds, 4 minutes, 8 hours, 16 days,
//                                     32 weeks; other codes are an error.
//                                     The age of a lock taken at t is
//                                     DIFF(4, now, t), positive.
// NAV_ORASTD_JULIAN_DAY(x)            the day of x as a Julian day number of
//                                     the Gregorian calendar
//                                     ('2000-01-01' -> 2451545). Only
//                                     differences between such numbers are
//                                     meant (conflict tests); they are not
//                                     the engine's day numbers.
// NAV_STPU_BIT_OR(a, b)               a | b on 64-bit integers; a null
//                                     argument counts as 0, so setting a bit
//                                     on a column never set works.
// BITAND(a, b)                        a & b on 64-bit integers.
// SYSTIMESTAMP()                      now (local time), or the store's
//                                     fixed time, as a 26-character stamp;
//                                     the same value throughout a statement
//                                     is not promised.
#ifndef LEVELER_HOST_SQL_FUNCTIONS_H
#define LEVELER_HOST_SQL_FUNCTIONS_H

struct sqlite3;

namespace host {

class SqliteStore;

// Registers the functions on `connection`; SYSTIMESTAMP() asks `clock`.
// Returns the SQLite result code (0 on success).
int registerSqlFunctions(sqlite3* connection, const SqliteStore* clock);

}  // namespace host

#endif  // LEVELER_HOST_SQL_FUNCTIONS_H
