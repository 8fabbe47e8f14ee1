// The SQLite backend of the store: one connection to one database file.
//
// Opening sets the connection up for a levelling run:
// - journal_mode=WAL and synchronous=NORMAL. A run commits every few hundred
//   rows (LEVEL_COMMIT). Measured on this machine with bench/store_bench
//   (single-row keyed updates of Lev_kor_wbs, a commit every 400 rows),
//   median rows per second over several runs: with a full sync at each
//   commit 21,000-113,000 (rollback journal) and 84,000-160,000 (WAL); in
//   WAL with NORMAL 150,000-220,000. The full-sync figures swing with what
//   else the shared disk is doing, since every commit waits for it; NORMAL
//   does not wait at commits (only at checkpoints). The price of NORMAL: a
//   crash of the program loses nothing that was committed, but an
//   operating-system crash or a power loss may lose the last few commits
//   (the database itself stays intact). For a schedule that can be
//   recomputed from its inputs that is the right trade.
// - a busy timeout (SqliteOptions::busyTimeoutMs): a run that meets another
//   connection's write lock waits that long before failing with -5 (or an
//   extended form of it, such as -517 when its snapshot is out of date).
// - case_sensitive_like=ON, so that LIKE compares as on the other database
//   the statements run on, and `RANK LIKE 'pattern%'` can use the RANK
//   indexes.
// - the SQL helper functions (sql_functions.h) and, unless told otherwise,
//   the schema (schema.h, created if missing).
// - then a transaction is begun. The run works inside it; the host
//   procedure LEVEL_COMMIT commits and begins the next one at once. Nothing
//   else commits: closing the store rolls back what was not committed.
//   The transaction is deferred: the write lock is taken by the first
//   change and held until LEVEL_COMMIT, while other connections can still
//   read (WAL readers see the last commit). A connection reads from one
//   snapshot from its first read until its next LEVEL_COMMIT, so another
//   connection's commit becomes visible to it after that.
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
// procedure registry (procedures.h) and runs it on this connection.
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

#include "store/store.h"

struct sqlite3;
struct sqlite3_stmt;

namespace host {

class ProcedureRegistry;

struct SqliteOptions {
  int busyTimeoutMs = 10000;
  bool createSchema = true;
  // Null: the process-wide registry hostProcedures().
  const ProcedureRegistry* procedures = nullptr;
};

class SqliteStore final : public db::Store {
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

  // LEVEL_COMMIT's work: commit, then begin the next transaction.
  int32_t commitAndBegin();
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

  SqliteStore(sqlite3* connection, const ProcedureRegistry* procedures);

  int32_t lease(std::string_view sql, Lease& out);
  void giveBack(Lease& lease);
  int32_t bindInputs(sqlite3_stmt* stmt, db::Binds in, bool copyTexts);
  int32_t fetchRow(sqlite3_stmt* stmt, db::Vars into);
  int32_t databaseFailure(int sqliteCode);
  int32_t succeed(int32_t code, int64_t rows);

  sqlite3* db_;
  const ProcedureRegistry* procedures_;
  std::unordered_map<std::string, IdleList, TextHash, std::equal_to<>> cache_;
  int64_t prepareCount_ = 0;
  std::string fixedTime_;
};

}  // namespace host

#endif  // LEVELER_HOST_SQLITE_STORE_H
