// The schema: every application table the engine reads or changes, every
// work table it fills, and what the host procedures need, from one DDL
// source (schema.cc) in two scripts: schemaDdl() for the application tables,
// workTableDdl() for the work tables.
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
//
// Application tables are ordinary tables of the database file, created once
// (when missing) and shared by every connection.
//
// Work tables (Lev_kor_wbs, Lev_input_data, the NAV_TMP_* tables, ...) are
// temporary tables of each connection (CREATE TEMP TABLE IF NOT EXISTS, with
// their indexes), created by the host whenever a connection opens. A run
// empties each one before filling it and again at its end, but two runs on
// disjoint projects on two connections at the same time would still delete
// and overwrite each other's rows if the tables were shared; private to the
// connection, they cannot. Their rows survive LEVEL_COMMIT (ON COMMIT
// PRESERVE ROWS is the default on both databases) and go when the
// connection closes, so a work table is only ever read on the connection
// that filled it.
//
// A database file created by an older build may still hold these names as
// ordinary tables, with their indexes. They are left alone and no longer
// used: an unqualified name resolves to the temporary table first (SQLite
// searches the temp schema before main; PostgreSQL puts pg_temp first on
// the search path), and an index of the same name is created beside its
// temporary table without clashing with the old one.
//
// Work tables filled by "insert into T select ..." without a column list
// have their columns in the order of that select (for instance
// NAV_TMP_PA_CNTR: TSK_ASSIGNMENT_ID, START_DT, FINISH_DT, CONTOUR_TYPE,
// C_CONTOUR, C_EFFORT, C_UNIT, UNITS_MSP).
#ifndef LEVELER_HOST_SCHEMA_H
#define LEVELER_HOST_SCHEMA_H

#include <string_view>

namespace host {

// The application tables: CREATE TABLE / CREATE INDEX statements separated
// by semicolons.
std::string_view schemaDdl();

// The work tables: CREATE TEMP TABLE / CREATE INDEX statements separated by
// semicolons, to run on every connection as it opens.
std::string_view workTableDdl();

}  // namespace host

#endif  // LEVELER_HOST_SCHEMA_H
