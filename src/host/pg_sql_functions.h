// The SQL helper functions of sql_functions.h for the PostgreSQL backend:
// the same names, arguments and results, written as SQL and PL/pgSQL
// functions that PostgresStore creates on the server (CREATE OR REPLACE).
//
// Argument types: time stamps and days are text (a VARCHAR column or an
// untyped input converts implicitly), interval codes and bit sets bigint.
// A text that is not a time stamp in one of the accepted forms raises an
// error "<FUNCTION>: not a time stamp: '<text>'" (the statement fails, as on
// SQLite); an interval code outside 1, 2, 4, 8, 16, 32 raises
// "NAV_ORASTD_DB2TIMESTAMPDIFF: unsupported interval code".
//
// lev_stamp_parts(text, name) is the shared parser: {year, month, day, hour,
// minute, second, microseconds}; lev_stamp_micros gives microseconds since
// the start of Julian day 0, the same number the C++ functions subtract.
// SYSTIMESTAMP() reads the session setting leveler.fixed_time first (set by
// PostgresStore::setFixedTime), else clock_timestamp() in the session's
// time zone.
#ifndef LEVELER_HOST_PG_SQL_FUNCTIONS_H
#define LEVELER_HOST_PG_SQL_FUNCTIONS_H

#include <string_view>

namespace host {

// CREATE OR REPLACE FUNCTION statements separated by semicolons between
// dollar-quoted bodies: run it as one script.
std::string_view pgSqlFunctionsDdl();

}  // namespace host

#endif  // LEVELER_HOST_PG_SQL_FUNCTIONS_H
