// The SQLite backend: connection set-up, the statement cache, the six store
// operations and the transaction that LEVEL_COMMIT moves on. See
// sqlite_store.h.
#include "host/sqlite_store.h"

#include <sqlite3.h>

#include <cctype>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "host/procedures.h"
#include "host/schema.h"
#include "host/sql_functions.h"

namespace host {

// An open cursor: its leased statement and whether the rows are exhausted.
class SqliteStore::SqliteCursor final : public db::Store::CursorState {
 public:
  Lease lease;
  bool exhausted = false;
  int64_t rows = 0;
};

namespace {

constexpr const char* kBeginImmediate = "BEGIN IMMEDIATE";
constexpr const char* kBeginDeferred = "BEGIN";
// Beyond this many distinct texts a new text is prepared for one use only,
// so that texts built with literal values cannot grow the cache without end.
constexpr std::size_t kMaxCachedTexts = 1000;
constexpr const char* kCommit = "COMMIT";

bool isBlankTail(const char* tail, const char* end) {
  for (const char* p = tail; p < end; ++p) {
    if (!std::isspace(static_cast<unsigned char>(*p)) && *p != ';') return false;
  }
  return true;
}

}  // namespace

SqliteStore::SqliteStore(sqlite3* connection, const ProcedureRegistry* procedures,
                         bool writeLockAtBegin)
    : db_(connection),
      procedures_(procedures),
      beginSql_(writeLockAtBegin ? kBeginImmediate : kBeginDeferred) {}

std::unique_ptr<SqliteStore> SqliteStore::open(const std::string& path,
                                               const SqliteOptions& options,
                                               db::SqlStatus* failure) {
  sqlite3* connection = nullptr;
  // One thread uses a store at a time, so SQLite's own locking is not
  // needed (NOMUTEX).
  int rc = sqlite3_open_v2(path.c_str(), &connection,
                           SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                           nullptr);
  if (rc != SQLITE_OK) {
    if (failure != nullptr) {
      failure->set(-rc, connection != nullptr ? sqlite3_errmsg(connection)
                                              : sqlite3_errstr(rc));
    }
    sqlite3_close(connection);
    return nullptr;
  }
  sqlite3_extended_result_codes(connection, 1);
  if (const char* env = std::getenv("LEVELER_SQL_PROFILE_MS")) {
    static long thresholdNs = 0;
    thresholdNs = std::atol(env) * 1000000L;
    sqlite3_trace_v2(
        connection, SQLITE_TRACE_PROFILE,
        [](unsigned, void*, void* stmt, void* ns) -> int {
          const long long t = *static_cast<sqlite3_int64*>(ns);
          if (t >= thresholdNs) {
            std::fprintf(stderr, "sql %.3f ms: %s\n", t / 1e6,
                         sqlite3_sql(static_cast<sqlite3_stmt*>(stmt)));
          }
          return 0;
        },
        nullptr);
  }
  sqlite3_busy_timeout(connection, options.busyTimeoutMs);

  const ProcedureRegistry* procedures =
      options.procedures != nullptr ? options.procedures : &hostProcedures();
  std::unique_ptr<SqliteStore> store(
      new SqliteStore(connection, procedures, options.writeLockAtBegin));

  int32_t status = store->executeScript(
      "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; "
      "PRAGMA case_sensitive_like=ON; PRAGMA temp_store=MEMORY; "
      "PRAGMA cache_size=-131072; PRAGMA mmap_size=1073741824;");
  if (status == 0) {
    rc = registerSqlFunctions(connection, store.get());
    if (rc != SQLITE_OK) status = store->databaseFailure(rc);
  }
  if (status == 0) {
    // One transaction for the whole script: one commit instead of one per
    // table. The work tables are the connection's own and touch nothing of
    // the file, so they never wait for another connection's lock; they are
    // in place before the run's first transaction begins.
    std::string script = "BEGIN;\n";
    if (options.createSchema) script += schemaDdl();
    script += workTableDdl();
    script += "\nCOMMIT;";
    status = store->executeScript(script);  // on failure the store's end rolls back
  }
  if (status == 0) status = store->begin();
  if (status != 0) {
    if (failure != nullptr) *failure = store->status();
    return nullptr;
  }
  return store;
}

SqliteStore::~SqliteStore() {
  // The procedures' state goes first: it belongs to the connection.
  procedureState_.clear();
  // Cursors are gone by now (their contract); every statement still
  // prepared sits in the cache.
  while (sqlite3_stmt* stmt = sqlite3_next_stmt(db_, nullptr)) sqlite3_finalize(stmt);
  if (sqlite3_get_autocommit(db_) == 0) {
    sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  sqlite3_close(db_);
}

int32_t SqliteStore::step(const char* sql) {
  Lease l;
  int32_t rc = lease(sql, l);
  if (rc != 0) return rc;
  const int done = sqlite3_step(l.stmt);
  rc = done == SQLITE_DONE ? succeed(db::kSqlOk, 0) : databaseFailure(done);
  giveBack(l);
  return rc;
}

int32_t SqliteStore::begin() { return step(beginSql_); }

int32_t SqliteStore::ensureTransaction() {
  return sqlite3_get_autocommit(db_) != 0 ? begin() : db::kSqlOk;
}

int32_t SqliteStore::databaseFailure(int sqliteCode) {
  status_.set(-sqliteCode, sqlite3_errmsg(db_));
  status_.rows = 0;
  return -sqliteCode;
}

int32_t SqliteStore::succeed(int32_t code, int64_t rows) {
  status_.set(code, code == db::kSqlNoData ? "no data found" : "");
  status_.rows = rows;
  return code;
}

int32_t SqliteStore::lease(std::string_view sql, Lease& out) {
  auto it = cache_.find(sql);
  if (it == cache_.end() && cache_.size() < kMaxCachedTexts) {
    it = cache_.emplace(std::string(sql), IdleList{}).first;
  }
  IdleList* home = it != cache_.end() ? &it->second : nullptr;
  if (home != nullptr && !home->empty()) {
    out.stmt = home->back();
    home->pop_back();
    out.home = home;
    return db::kSqlOk;
  }
  if (sql.size() > static_cast<std::size_t>(INT_MAX)) {
    status_.set(db::kSqlBindMismatch, "statement text too long");
    return db::kSqlBindMismatch;
  }
  sqlite3_stmt* stmt = nullptr;
  const char* tail = nullptr;
  ++prepareCount_;
  int rc = sqlite3_prepare_v3(db_, sql.data(), static_cast<int>(sql.size()),
                              SQLITE_PREPARE_PERSISTENT, &stmt, &tail);
  if (rc != SQLITE_OK) return databaseFailure(rc);
  if (stmt == nullptr) {
    status_.set(db::kSqlBindMismatch, "no statement in the text");
    return db::kSqlBindMismatch;
  }
  if (!isBlankTail(tail, sql.data() + sql.size())) {
    sqlite3_finalize(stmt);
    status_.set(db::kSqlBindMismatch, "more than one statement in one text");
    return db::kSqlBindMismatch;
  }
  out.stmt = stmt;
  out.home = home;
  return db::kSqlOk;
}

void SqliteStore::giveBack(Lease& lease) {
  if (lease.stmt == nullptr) return;
  if (lease.home == nullptr) {
    sqlite3_finalize(lease.stmt);
  } else {
    sqlite3_reset(lease.stmt);
    sqlite3_clear_bindings(lease.stmt);
    lease.home->push_back(lease.stmt);
  }
  lease.stmt = nullptr;
}

int32_t SqliteStore::bindInputs(sqlite3_stmt* stmt, db::Binds in, bool copyTexts) {
  const int expected = sqlite3_bind_parameter_count(stmt);
  if (static_cast<std::size_t>(expected) != in.size()) {
    status_.setf(db::kSqlBindMismatch, "statement has %d placeholders, %zu inputs bound",
                 expected, in.size());
    status_.rows = 0;
    return db::kSqlBindMismatch;
  }
  for (std::size_t i = 0; i < in.size(); ++i) {
    const int index = static_cast<int>(i) + 1;
    const db::In& v = in[i];
    int rc = SQLITE_OK;
    switch (v.kind()) {
      case db::In::Kind::kNull:
        rc = sqlite3_bind_null(stmt, index);
        break;
      case db::In::Kind::kText: {
        std::string_view t = v.text();
        if (t.size() > static_cast<std::size_t>(INT_MAX)) return databaseFailure(SQLITE_TOOBIG);
        // An empty text is bound as an empty text, not as null.
        rc = sqlite3_bind_text(stmt, index, t.data() != nullptr ? t.data() : "",
                               static_cast<int>(t.size()),
                               copyTexts ? SQLITE_TRANSIENT : SQLITE_STATIC);
        break;
      }
      case db::In::Kind::kInteger:
        rc = sqlite3_bind_int64(stmt, index, v.integer());
        break;
      case db::In::Kind::kReal:
        rc = sqlite3_bind_double(stmt, index, v.real());
        break;
      case db::In::Kind::kRefused:
        status_.setf(db::kSqlInputTooLong, "input %d is longer than its host variable", index);
        status_.rows = 0;
        return db::kSqlInputTooLong;
    }
    if (rc != SQLITE_OK) return databaseFailure(rc);
  }
  return db::kSqlOk;
}

int32_t SqliteStore::fetchRow(sqlite3_stmt* stmt, db::Vars into) {
  const int columns = sqlite3_column_count(stmt);
  if (static_cast<std::size_t>(columns) != into.size()) {
    status_.setf(db::kSqlBindMismatch, "select list has %d columns, %zu host variables",
                 columns, into.size());
    status_.rows = 0;
    return db::kSqlBindMismatch;
  }
  int32_t first = db::kSqlOk;
  int firstColumn = 0;
  for (int i = 0; i < columns; ++i) {
    const db::HostVar& v = into[static_cast<std::size_t>(i)];
    int32_t rc = db::kSqlOk;
    switch (sqlite3_column_type(stmt, i)) {
      case SQLITE_NULL:
        rc = v.setNull();
        break;
      case SQLITE_INTEGER:
        rc = v.setInteger(sqlite3_column_int64(stmt, i));
        break;
      case SQLITE_FLOAT:
        rc = v.setReal(sqlite3_column_double(stmt, i));
        break;
      default: {  // text and blobs alike: their bytes
        const void* bytes = sqlite3_column_blob(stmt, i);
        const int n = sqlite3_column_bytes(stmt, i);
        rc = v.setText(std::string_view(static_cast<const char*>(bytes),
                                        bytes != nullptr ? static_cast<std::size_t>(n) : 0));
        break;
      }
    }
    if (rc < 0 && first == db::kSqlOk) {
      first = rc;
      firstColumn = i + 1;
    }
  }
  if (first != db::kSqlOk) {
    const char* what = first == db::kSqlNullWithoutIndicator ? "fetched value is NULL"
                       : first == db::kSqlNumberOverflow    ? "number does not fit its host variable"
                                                             : "value is not a number";
    status_.setf(first, "column %d: %s", firstColumn, what);
    status_.rows = 0;
  }
  return first;
}

int32_t SqliteStore::selectInto(std::string_view sql, db::Binds in, db::Vars into) {
  int32_t rc = injectedFailureFor(sql);
  if (rc == 0) rc = ensureTransaction();
  if (rc != 0) return rc;
  Lease l;
  rc = lease(sql, l);
  if (rc != 0) return rc;
  rc = bindInputs(l.stmt, in, false);
  if (rc == 0) {
    int step = sqlite3_step(l.stmt);
    if (step == SQLITE_ROW) {
      rc = fetchRow(l.stmt, into);
      if (rc == 0) {
        step = sqlite3_step(l.stmt);
        if (step == SQLITE_ROW) {
          status_.set(db::kSqlTooManyRows, "single-row select returned more than one row");
          status_.rows = 1;
          rc = db::kSqlTooManyRows;
        } else if (step != SQLITE_DONE) {
          rc = databaseFailure(step);
        } else {
          rc = succeed(db::kSqlOk, 1);
        }
      }
    } else if (step == SQLITE_DONE) {
      rc = succeed(db::kSqlNoData, 0);
    } else {
      rc = databaseFailure(step);
    }
  }
  giveBack(l);
  return rc;
}

int32_t SqliteStore::execute(std::string_view sql, db::Binds in) {
  int32_t rc = injectedFailureFor(sql);
  if (rc == 0) rc = ensureTransaction();
  if (rc != 0) return rc;
  Lease l;
  rc = lease(sql, l);
  if (rc != 0) return rc;
  rc = bindInputs(l.stmt, in, false);
  if (rc == 0) {
    const int64_t before = sqlite3_total_changes64(db_);
    int step;
    while ((step = sqlite3_step(l.stmt)) == SQLITE_ROW) {
    }
    rc = step == SQLITE_DONE ? succeed(db::kSqlOk, sqlite3_total_changes64(db_) - before)
                             : databaseFailure(step);
  }
  giveBack(l);
  return rc;
}

int32_t SqliteStore::openCursor(std::unique_ptr<CursorState>& state, std::string_view sql,
                                db::Binds in) {
  int32_t rc = injectedFailureFor(sql);
  if (rc == 0) rc = ensureTransaction();
  if (rc != 0) return rc;
  auto cursor = std::make_unique<SqliteCursor>();
  rc = lease(sql, cursor->lease);
  if (rc != 0) return rc;
  // Inputs are copied: they are read now, the rows later.
  rc = bindInputs(cursor->lease.stmt, in, true);
  if (rc != 0) {
    giveBack(cursor->lease);
    return rc;
  }
  state = std::move(cursor);
  return succeed(db::kSqlOk, 0);
}

int32_t SqliteStore::fetchCursor(CursorState& state, db::Vars into) {
  auto& cursor = static_cast<SqliteCursor&>(state);
  if (cursor.exhausted) return succeed(db::kSqlNoData, cursor.rows);
  const int step = sqlite3_step(cursor.lease.stmt);
  if (step == SQLITE_ROW) {
    int32_t rc = fetchRow(cursor.lease.stmt, into);
    ++cursor.rows;
    if (rc != 0) return rc;
    return succeed(db::kSqlOk, cursor.rows);
  }
  cursor.exhausted = true;
  if (step == SQLITE_DONE) return succeed(db::kSqlNoData, cursor.rows);
  return databaseFailure(step);
}

void SqliteStore::closeCursor(CursorState& state) {
  giveBack(static_cast<SqliteCursor&>(state).lease);
}

int32_t SqliteStore::call(std::string_view procedure, db::Vars args,
                          const db::HostVar* result) {
  // The procedure's own statements begin a transaction if need be.
  if (const int32_t injected = injectedFailureFor(procedure); injected != 0) return injected;
  return callProcedure(*procedures_, procedure, *this, *this, args, result, status_);
}

int32_t SqliteStore::commitAndBegin() {
  if (sqlite3_get_autocommit(db_) == 0) {
    const int32_t rc = step(kCommit);
    if (rc != 0) return rc;
  }
  return begin();
}

int32_t SqliteStore::executeScript(std::string_view sql) {
  const std::string script(sql);
  char* error = nullptr;
  const int rc = sqlite3_exec(db_, script.c_str(), nullptr, nullptr, &error);
  if (rc != SQLITE_OK) {
    status_.set(-sqlite3_extended_errcode(db_), error != nullptr ? error : sqlite3_errstr(rc));
    status_.rows = 0;
    sqlite3_free(error);
    return status_.code;
  }
  return succeed(db::kSqlOk, 0);
}

std::string SqliteStore::currentTimestamp() const {
  if (!fixedTime_.empty()) return fixedTime_;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const int64_t micros = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  const std::time_t seconds = static_cast<std::time_t>(micros / 1000000);
  std::tm local{};
  localtime_r(&seconds, &local);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.%06d", local.tm_year + 1900,
                local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(micros % 1000000));
  return std::string(buf);
}

}  // namespace host
