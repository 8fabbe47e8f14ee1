// The SQLite backend of the store: one connection to one database file.
//
// Opening sets the connection up for a levelling run:
// - journal_mode=WAL and synchronous=NORMAL. A run commits every few hundred
//   rows (LEVEL_COMMIT). Measured on this machine with bench/store_bench
//   (single-row keyed updates of a table of the file, a commit every 400
//   rows; measured when the work tables were still tables of the file, the
//   bench now updates KOR_WBS),
//   median rows per second over several runs: with a full sync at each
//   commit 21,000-113,000 (rollback journal) and 84,000-160,000 (WAL); in
//   WAL with NORMAL 150,000-220,000. The full-sync figures swing with what
//   else the shared disk is doing, since every commit waits for it; NORMAL
//   does not wait at commits (only at checkpoints). The price of NORMAL: a
//   crash of the program loses nothing that was committed, but an
//   operating-system crash or a power loss may lose the last few commits
//   (the database itself stays intact). For a schedule that can be
//   recomputed from its inputs that is the right trade.
// - a busy timeout (SqliteOptions::busyTimeoutMs, 5 minutes by default): a
//   connection that meets another connection's write lock waits that long
//   for it (SQLite polls) before failing with -5.
// - temp_store=MEMORY, cache_size of 128 MiB and mmap_size of 1 GiB: the
//   work tables (temporary) live in memory rather than in temporary files,
//   and the pages a run reads again and again (items, day rows, calendars)
//   stay in the process instead of being read through a system call per
//   page from the 2 MiB default cache. Measured on the generated 10,000-task
//   portfolio (bench/levelling_bench): see the commit that set them. The
//   cache and the mapping grow only as far as the file and the run need.
// - case_sensitive_like=ON, so that LIKE compares as on the other database
//   the statements run on, and `RANK LIKE 'pattern%'` can use the RANK
//   indexes.
// - the SQL helper functions (sql_functions.h) and, unless told otherwise,
//   the application tables (schema.h, created if missing); then the work
//   tables, temporary tables of this connection (workTableDdl), created on
//   every open before the first transaction begins. Their rows are seen by
//   this connection only and go when it closes.
// - then a transaction is begun. The run works inside it; the host
//   procedure LEVEL_COMMIT commits and begins the next one at once. Nothing
//   else commits: closing the store rolls back what was not committed.
//
// Transactions take the write lock when they begin (BEGIN IMMEDIATE), not at
// their first change. The reason: in WAL mode a deferred transaction reads
// from the snapshot of its first read, and when it later tries to write
// after another connection has committed, SQLite refuses at once with
// SQLITE_BUSY_SNAPSHOT (-517) - its snapshot is out of date, so waiting
// cannot help and the busy timeout is not used. A run reads and writes all
// the time, so two runs on one database file would fail each other. With
// the write lock taken at begin, the second connection waits (busy timeout)
// at its BEGIN until the other commits, and then reads and writes from a
// snapshot that no one else can change before its own commit. Readers are
// never blocked (WAL). The price: one writer at a time, and SQLite's lock is
// not queued - a run that commits and begins again at once mostly keeps it,
// so another run usually waits for the first one's end (its store closed),
// up to the busy timeout per attempt. Hence the long default timeout, and
// hence an open store, even idle, holds the write lock: close it when the
// run is done. Connections that only read (reports, checks, tests looking
// on from the side) set writeLockAtBegin = false and keep the deferred
// transaction: they take no lock and read from one snapshot from their
// first read until their next LEVEL_COMMIT.
//
// Should a transaction be gone when an operation starts (a BEGIN that
// failed in LEVEL_COMMIT, or one that SQLite rolled back itself after an
// I/O or memory failure), the operation begins one first, so that
// statements never run outside a transaction and still only LEVEL_COMMIT
// commits.
//
// Test switch: the failure injection of db::Store is consulted at the top
// of selectInto, execute, call and cursor open.
//
// Statements: each distinct statement text is prepared once per connection
// and kept; a later execution of the same text reuses it (the cache is keyed
// by the exact text). A text in use by an open cursor gets a second prepared
// statement when it is needed again meanwhile. After 1000 distinct texts a
// new one is prepared for each use and not kept (statements are meant to be
// constants with placeholders; this bounds the cache when they are not).
// prepareCount() counts the preparations, for tests and diagnostics.
//
// Host procedures: call() looks the name up (case-insensitively) in the
// procedure registry (procedures.h) and runs it on this connection, which
// it hands over as the store and as the backend (backend.h): the
// procedures' state lives in this store's ProcedureState, from open to
// close.
//
// Diagnostics: with the environment variable LEVELER_SQL_PROFILE_MS=n set
// when a store is opened, every statement that takes n milliseconds or more
// is written to standard error with its time (SQLite's profile callback).
//
// Status codes of failures reported by SQLite are minus the extended result
// code; the message is SQLite's, cut to 70 characters.
#ifndef LEVELER_HOST_SQLITE_STORE_H
#define LEVELER_HOST_SQLITE_STORE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/backend.h"
#include "store/store.h"

struct sqlite3;
struct sqlite3_stmt;

namespace host {

class ProcedureRegistry;

struct SqliteOptions {
  // How long to wait for another connection's lock before failing with -5.
  int busyTimeoutMs = 300000;
  // Create the application tables when missing (the work tables are created
  // on every open regardless).
  bool createSchema = true;
  // BEGIN IMMEDIATE (true) or a deferred BEGIN for connections that only
  // read (see the header comment).
  bool writeLockAtBegin = true;
  // Null: the process-wide registry hostProcedures().
  const ProcedureRegistry* procedures = nullptr;
};

class SqliteStore final : public db::Store, public Backend {
 public:
  // Opens (creating when missing) the database file at `path` and begins
  // the first transaction. On failure returns null and, when `failure` is
  // given, fills it with the status.
  static std::unique_ptr<SqliteStore> open(const std::string& path,
                                           const SqliteOptions& options = {},
                                           db::SqlStatus* failure = nullptr);
  // Rolls back the open transaction and closes the connection. Every
  // Cursor of this store must be destroyed before.
  ~SqliteStore() override;

  int32_t selectInto(std::string_view sql, db::Binds in, db::Vars into) override;
  int32_t execute(std::string_view sql, db::Binds in = {}) override;
  int32_t call(std::string_view procedure, db::Vars args = {},
               const db::HostVar* result = nullptr) override;

  // LEVEL_COMMIT's work: commit, then begin the next transaction (with the
  // write lock when writeLockAtBegin). Without an open transaction only the
  // begin is done.
  int32_t commitAndBegin() override;
  // currentTimestamp().
  std::string now() override { return currentTimestamp(); }
  ProcedureState& procedureState() override { return procedureState_; }
  // Runs a script of statements without inputs, outside the statement
  // cache (schema creation, test set-up).
  int32_t executeScript(std::string_view sql);

  // Number of statement preparations so far.
  int64_t prepareCount() const { return prepareCount_; }

  // The time stamp SYSTIMESTAMP() gives: local time now, or a fixed value
  // set by setFixedTime (empty text: back to the clock). 26 characters.
  std::string currentTimestamp() const;
  void setFixedTime(std::string_view stamp) { fixedTime_ = std::string(stamp); }

 protected:
  int32_t openCursor(std::unique_ptr<CursorState>& state, std::string_view sql,
                     db::Binds in) override;
  int32_t fetchCursor(CursorState& state, db::Vars into) override;
  void closeCursor(CursorState& state) override;

 private:
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const {
      return std::hash<std::string_view>{}(s);
    }
  };
  using IdleList = std::vector<sqlite3_stmt*>;

  // A prepared statement taken from the cache for one execution.
  struct Lease {
    sqlite3_stmt* stmt = nullptr;
    IdleList* home = nullptr;  // where it goes back to; null: not kept
  };
  class SqliteCursor;

  SqliteStore(sqlite3* connection, const ProcedureRegistry* procedures, bool writeLockAtBegin);

  // Runs one statement without inputs or rows (BEGIN, COMMIT).
  int32_t step(const char* sql);
  int32_t begin();
  // Begins a transaction when none is open (see the header comment).
  int32_t ensureTransaction();
  int32_t lease(std::string_view sql, Lease& out);
  void giveBack(Lease& lease);
  int32_t bindInputs(sqlite3_stmt* stmt, db::Binds in, bool copyTexts);
  int32_t fetchRow(sqlite3_stmt* stmt, db::Vars into);
  int32_t databaseFailure(int sqliteCode);
  int32_t succeed(int32_t code, int64_t rows);

  sqlite3* db_;
  const ProcedureRegistry* procedures_;
  const char* beginSql_;
  std::unordered_map<std::string, IdleList, TextHash, std::equal_to<>> cache_;
  int64_t prepareCount_ = 0;
  std::string fixedTime_;
  ProcedureState procedureState_;
};

}  // namespace host

#endif  // LEVELER_HOST_SQLITE_STORE_H
