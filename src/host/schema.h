// The schema: every application table the engine reads or changes, every
// work table it fills, and what the host procedures need, from one DDL
// source (schema.cc).
//
// The DDL runs unchanged on SQLite 3.40 and PostgreSQL 15: plain types
// (VARCHAR(n), INTEGER, NUMERIC, TEXT), unquoted names, CREATE ... IF NOT
// EXISTS, no engine-specific clauses. Time stamps are VARCHAR(26) holding
// "YYYY-MM-DD HH:MM:SS.ffffff", days VARCHAR(10) holding "YYYY-MM-DD", day
// schedules VARCHAR(72) (hexadecimal digits), ids VARCHAR(32); numbers are
// INTEGER except the fractional unit columns of assignments (NUMERIC).
//
// Keys: application tables have the primary keys their rows are looked up
// by (KOR_WBS.ELEMENT_ID, TASK_ASSIGNMENTS.TSK_ASSIGNMENT_ID, CALENDAR_DAY_OF_YEAR
// (ELEMENT_ID, DAY_YEAR), ...). Work tables get plain indexes only, so that
// a run never fails on a duplicate the application data let through.
// Work tables are ordinary shared tables: a run empties each one before
// filling it and again at its end.
//
// Work tables filled by "insert into T select ..." without a column list
// have their columns in the order of that select (for instance
// NAV_TMP_PA_CNTR: TSK_ASSIGNMENT_ID, START_DT, FINISH_DT, CONTOUR_TYPE,
// C_CONTOUR, C_EFFORT, C_UNIT, UNITS_MSP).
#ifndef LEVELER_HOST_SCHEMA_H
#define LEVELER_HOST_SCHEMA_H

#include <string_view>

namespace host {

// The whole DDL script: CREATE TABLE / CREATE INDEX statements separated by
// semicolons.
std::string_view schemaDdl();

}  // namespace host

#endif  // LEVELER_HOST_SCHEMA_H
