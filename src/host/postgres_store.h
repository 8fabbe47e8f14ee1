// The PostgreSQL backend of the store: one libpq connection to one database,
// running the engine's statements unchanged (the same texts the SQLite
// backend runs) and the same host procedures.
//
// Opening (PostgresStore::open, with a libpq connection string: "host=/dir
// dbname=x" or "postgresql://..."):
// - connects, silences the server's notices (CREATE ... IF NOT EXISTS
//   would report every table that already exists);
// - unless told otherwise, creates the application tables and the SQL
//   helper functions (sql_functions.h names, as SQL and PL/pgSQL functions,
//   replaced on every open so that an older definition never lingers), in
//   one transaction serialised by an advisory lock, since two connections
//   replacing one function at the same moment fail each other;
// - creates the work tables as temporary tables of the connection;
// - begins the run's transaction. LEVEL_COMMIT commits it and begins the
//   next at once; closing the store rolls back what was not committed.
//
// The DDL comes from schema.h unchanged but for one translation (pgDdl):
// INTEGER becomes BIGINT (SQLite's integers are 64-bit, and day bits and
// roll-up bits use the high bits), and every VARCHAR(n) and TEXT column gets
// COLLATE "C", so that ORDER BY RANK and `RANK LIKE 'x%'` compare bytes as
// SQLite does, whatever collation the database was created with.
//
// Where PostgreSQL behaves differently by default, and what is done here:
// - A failed statement aborts the whole transaction on PostgreSQL. Every
//   statement (select, execute, cursor open and fetch) runs inside a
//   savepoint: released when it succeeds, rolled back to when it fails, so
//   the work done before the failure stays in the transaction, as on SQLite.
// - libpq has one result in flight per connection, and the engine nests
//   statements inside open cursors and commits (LEVEL_COMMIT) while cursors
//   are open. A cursor is a server cursor, DECLARE ... CURSOR WITH HOLD,
//   read with FETCH in batches of kFetchBatch rows; it survives commits and
//   is closed (CLOSE) when the store's cursor closes.
// - Placeholders: `?` becomes $1..$n (outside quoted texts and names). Every
//   input is sent as text with no type (OID 0), so the server types it from
//   its context as SQLite takes values as they come: integers and reals are
//   written in decimal, texts as they are, nulls as nulls.
// - Values read: integer columns (int2/int4/int8, oid) as integers, float
//   and numeric columns as reals unless a numeric has no fractional part
//   (then an integer, as SQLite's NUMERIC affinity stores it), booleans as
//   0/1, everything else as text.
// - Rows: an insert, update or delete gives 0 also when it touched no row
//   (status 0 and status().rows 0, exactly as the SQLite backend), the count
//   from the server otherwise; a single-row select gives 100 without a row
//   and kSqlTooManyRows with more than one (the first row in the host
//   variables).
// - `BEGIN` / `COMMIT` are plain commands; should the transaction be gone
//   when an operation starts (a failed COMMIT), one is begun first.
//
// Status codes: the server's SQLSTATE is mapped to the negative codes the
// SQLite backend gives for the same kind of failure, so that code above the
// store sees one family of codes whatever the backend:
//   23505 unique violation               -2067  (SQLITE_CONSTRAINT_UNIQUE)
//   23502 not null violation             -1299  (SQLITE_CONSTRAINT_NOTNULL)
//   23503 foreign key violation           -787  (SQLITE_CONSTRAINT_FOREIGNKEY)
//   23514 check violation                 -275  (SQLITE_CONSTRAINT_CHECK)
//   other class 23 (integrity)             -19  (SQLITE_CONSTRAINT)
//   40001, 40P01, 55P03, 57014 (lock or   -5    (SQLITE_BUSY)
//     serialisation failure, deadlock,
//     lock timeout, statement cancelled)
//   22001 string too long                  -18  (SQLITE_TOOBIG)
//   class 22 (data exception)              -20  (SQLITE_MISMATCH)
//   class 08 (connection), no connection   -10  (SQLITE_IOERR)
//   class 53 (insufficient resources)       -7  (SQLITE_NOMEM)
//   P0001 raised by a helper function,      -1  (SQLITE_ERROR)
//     class 42 (syntax, unknown names),
//     anything else
// The message is the server's primary message, cut to 70 characters.
//
// Host procedures: call() looks the name up in the same ProcedureRegistry
// as the SQLite backend and runs it with this store as store and backend;
// the procedures' state lives in this store's ProcedureState.
//
// SYSTIMESTAMP(): the server's clock_timestamp() in the session's time
// zone, or the value set by setFixedTime (kept in the session setting
// leveler.fixed_time). now() asks the server, so it agrees with the SQL.
//
// Cost: every statement is three round trips (savepoint, statement,
// release). Statements other than cursors are prepared once per distinct
// text and connection (PQprepare, named lev_p1, lev_p2, ...; at most
// kMaxPrepared texts, later ones are sent with their text each time), as
// the SQLite backend keeps its prepared statements; a cursor's DECLARE is
// parsed each time.
//
// Test switch: the failure injection of db::Store is consulted at the top of
// selectInto, execute, call and cursor open.
//
// Build: the unit exists when libpq was found (LEVELER_HAVE_POSTGRES);
// isPostgresTarget is always available, open() fails cleanly without libpq.
#ifndef LEVELER_HOST_POSTGRES_STORE_H
#define LEVELER_HOST_POSTGRES_STORE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/backend.h"
#include "store/store.h"

struct pg_conn;
struct pg_result;

namespace host {

class ProcedureRegistry;

// True when `target` names a PostgreSQL database rather than a database
// file: a URI "postgresql://..." or "postgres://...", or a keyword/value
// connection string ("host=... dbname=...", any "word=" at its start).
bool isPostgresTarget(const std::string& target);

// The application DDL (schemaDdl() or workTableDdl()) with the types
// translated for PostgreSQL (see the header comment).
std::string pgDdl(std::string_view ddl);

// `?` placeholders rewritten as $1..$n, quoted texts and names untouched.
// `count` receives the number of placeholders.
std::string pgPlaceholders(std::string_view sql, int& count);

struct PostgresOptions {
  // Create the application tables and the helper functions (the work tables
  // are created on every open regardless).
  bool createSchema = true;
  // Null: the process-wide registry hostProcedures().
  const ProcedureRegistry* procedures = nullptr;
};

class PostgresStore final : public db::Store, public Backend {
 public:
  // Rows fetched from a server cursor at a time.
  static constexpr int kFetchBatch = 500;

  // Connects with `conninfo` and begins the first transaction. On failure
  // returns null and, when `failure` is given, fills it with the status.
  static std::unique_ptr<PostgresStore> open(const std::string& conninfo,
                                             const PostgresOptions& options = {},
                                             db::SqlStatus* failure = nullptr);
  // Rolls back the open transaction and closes the connection. Every Cursor
  // of this store must be destroyed before.
  ~PostgresStore() override;

  int32_t selectInto(std::string_view sql, db::Binds in, db::Vars into) override;
  int32_t execute(std::string_view sql, db::Binds in = {}) override;
  int32_t call(std::string_view procedure, db::Vars args = {},
               const db::HostVar* result = nullptr) override;

  int32_t commitAndBegin() override;
  std::string now() override;
  ProcedureState& procedureState() override { return procedureState_; }

  // Runs a script of statements without inputs (test set-up), outside any
  // savepoint: a failure leaves the transaction aborted until the next
  // commitAndBegin, so use it for set-up only.
  int32_t executeScript(std::string_view sql);

  // SYSTIMESTAMP() fixed at `stamp` for this connection (empty: the clock).
  // Runs a statement: 0 or its negative status.
  int32_t setFixedTime(std::string_view stamp);

 protected:
  int32_t openCursor(std::unique_ptr<CursorState>& state, std::string_view sql,
                     db::Binds in) override;
  int32_t fetchCursor(CursorState& state, db::Vars into) override;
  void closeCursor(CursorState& state) override;

 private:
  class PgCursor;
  struct Params;

  PostgresStore(pg_conn* connection, const ProcedureRegistry* procedures);

  // A command without inputs or rows (BEGIN, COMMIT, SAVEPOINT, ...).
  int32_t command(const char* sql);
  int32_t ensureTransaction();
  // Runs `sql` with `in` inside a savepoint; on success `result` holds the
  // server's answer (owned by the caller).
  int32_t run(std::string_view sql, db::Binds in, pg_result*& result);
  // `cache`: the text is parsed once per connection (PQprepare under a
  // name of its own) and executed by name afterwards; cursors' DECLARE and
  // FETCH are not cached.
  int32_t runPrepared(const std::string& text, const Params& params, pg_result*& result,
                      bool cache = false);
  int32_t bindInputs(std::string_view sql, db::Binds in, std::string& text, Params& params);
  int32_t fetchRow(pg_result* result, int row, db::Vars into);
  int32_t serverFailure(pg_result* result);
  int32_t succeed(int32_t code, int64_t rows);

  pg_conn* conn_;
  const ProcedureRegistry* procedures_;
  int64_t cursorSerial_ = 0;
  // Prepared statements of this connection: text -> name (see runPrepared).
  std::unordered_map<std::string, std::string> prepared_;
  ProcedureState procedureState_;
};

}  // namespace host

#endif  // LEVELER_HOST_POSTGRES_STORE_H
