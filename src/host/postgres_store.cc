// The PostgreSQL backend: connection set-up, the savepoint around every
// statement, server cursors, the transaction that LEVEL_COMMIT moves on.
// See postgres_store.h.
#include "host/postgres_store.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/pg_sql_functions.h"
#include "host/procedures.h"
#include "host/schema.h"

#ifdef LEVELER_HAVE_POSTGRES
#include <libpq-fe.h>
#endif

namespace host {

namespace {

bool isWordChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

bool startsWithWord(std::string_view text, std::size_t at, std::string_view word) {
  if (text.size() - at < word.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(text[at + i])) != word[i]) return false;
  }
  const std::size_t end = at + word.size();
  return (at == 0 || !isWordChar(text[at - 1])) && (end == text.size() || !isWordChar(text[end]));
}

}  // namespace

bool isPostgresTarget(const std::string& target) {
  if (target.rfind("postgresql://", 0) == 0 || target.rfind("postgres://", 0) == 0) return true;
  // Keyword/value form: a keyword of letters and underscores, then '='.
  std::size_t i = 0;
  while (i < target.size() && target[i] == ' ') ++i;
  const std::size_t start = i;
  while (i < target.size() &&
         (std::isalpha(static_cast<unsigned char>(target[i])) || target[i] == '_')) {
    ++i;
  }
  while (i < target.size() && target[i] == ' ') ++i;
  return i > start && i < target.size() && target[i] == '=';
}

std::string pgDdl(std::string_view ddl) {
  std::string out;
  out.reserve(ddl.size() + ddl.size() / 4);
  std::size_t i = 0;
  while (i < ddl.size()) {
    // Comments are copied as they are.
    if (ddl[i] == '-' && i + 1 < ddl.size() && ddl[i + 1] == '-') {
      const std::size_t end = ddl.find('\n', i);
      const std::size_t stop = end == std::string_view::npos ? ddl.size() : end;
      out.append(ddl.substr(i, stop - i));
      i = stop;
      continue;
    }
    if (startsWithWord(ddl, i, "INTEGER")) {
      out += "BIGINT";
      i += 7;
    } else if (startsWithWord(ddl, i, "VARCHAR")) {
      std::size_t j = i + 7;
      const std::size_t close = ddl.find(')', j);
      if (j < ddl.size() && ddl[j] == '(' && close != std::string_view::npos) j = close + 1;
      out.append(ddl.substr(i, j - i));
      out += " COLLATE \"C\"";
      i = j;
    } else if (startsWithWord(ddl, i, "TEXT")) {
      out += "TEXT COLLATE \"C\"";
      i += 4;
    } else {
      out += ddl[i++];
    }
  }
  return out;
}

std::string pgPlaceholders(std::string_view sql, int& count) {
  std::string out;
  out.reserve(sql.size() + 16);
  count = 0;
  char quote = 0;
  for (std::size_t i = 0; i < sql.size(); ++i) {
    const char c = sql[i];
    if (quote != 0) {
      out += c;
      if (c == quote) quote = 0;  // a doubled quote reopens at once
    } else if (c == '\'' || c == '"') {
      quote = c;
      out += c;
    } else if (c == '?') {
      out += '$';
      out += std::to_string(++count);
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace host

#ifdef LEVELER_HAVE_POSTGRES

namespace host {

namespace {

// The advisory lock that serialises schema creation between connections.
constexpr const char* kSchemaLock = "SELECT pg_advisory_xact_lock(74201)";
constexpr const char* kSavepoint = "SAVEPOINT lev_stmt";
constexpr const char* kRelease = "RELEASE SAVEPOINT lev_stmt";
// Distinct statement texts kept prepared per connection: the engine's texts
// are fixed, so this bounds only texts built with values inside.
constexpr std::size_t kMaxPrepared = 4000;
constexpr const char* kRollbackTo = "ROLLBACK TO SAVEPOINT lev_stmt";

// Type OIDs of the values read (pg_type.dat).
constexpr Oid kBoolOid = 16;
constexpr Oid kInt8Oid = 20;
constexpr Oid kInt2Oid = 21;
constexpr Oid kInt4Oid = 23;
constexpr Oid kOidOid = 26;
constexpr Oid kFloat4Oid = 700;
constexpr Oid kFloat8Oid = 701;
constexpr Oid kNumericOid = 1700;

void ignoreNotice(void*, const char*) {}

struct SqlStateCode {
  const char* state;  // full SQLSTATE, or a two-character class
  int32_t code;
};

constexpr SqlStateCode kStateCodes[] = {
    {"23505", -2067}, {"23502", -1299}, {"23503", -787}, {"23514", -275},
    {"40001", -5},    {"40P01", -5},    {"55P03", -5},   {"57014", -5},
    {"22001", -18},   {"23", -19},      {"22", -20},     {"08", -10},
    {"53", -7},
};

int32_t codeOfState(const char* state) {
  if (state == nullptr || std::strlen(state) != 5) return -1;
  for (const SqlStateCode& e : kStateCodes) {
    const std::size_t n = std::strlen(e.state);
    if (std::strncmp(state, e.state, n) == 0) return e.code;
  }
  return -1;
}

// An integer, or a number without fractional digits ("12", "12.000").
bool integralText(const char* text, int64_t& value) {
  const char* p = text;
  if (*p == '-' || *p == '+') ++p;
  if (!std::isdigit(static_cast<unsigned char>(*p))) return false;
  while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
  if (*p == '.') {
    ++p;
    while (*p == '0') ++p;
  }
  if (*p != '\0') return false;
  char* end = nullptr;
  errno = 0;
  value = std::strtoll(text, &end, 10);
  return errno == 0;
}

// Owns a PGresult for the length of a scope.
class ResultGuard {
 public:
  explicit ResultGuard(PGresult* r = nullptr) : r_(r) {}
  ~ResultGuard() { PQclear(r_); }
  ResultGuard(const ResultGuard&) = delete;
  ResultGuard& operator=(const ResultGuard&) = delete;
  PGresult* get() const { return r_; }
  PGresult*& slot() { return r_; }
  void reset(PGresult* r) {
    PQclear(r_);
    r_ = r;
  }

 private:
  PGresult* r_;
};

}  // namespace

// The inputs of one statement as libpq takes them: texts, or null pointers.
struct PostgresStore::Params {
  std::vector<std::string> texts;
  std::vector<const char*> values;
  std::vector<int> lengths;
};

// An open server cursor: its name, the rows of the last batch and where
// the reading stands in it.
class PostgresStore::PgCursor final : public db::Store::CursorState {
 public:
  ~PgCursor() override { PQclear(batch); }
  std::string name;
  PGresult* batch = nullptr;
  int next = 0;           // next row of the batch to hand out
  bool lastBatch = false;  // the server has no rows beyond this batch
  bool exhausted = false;
  int64_t rows = 0;
};

PostgresStore::PostgresStore(pg_conn* connection, const ProcedureRegistry* procedures)
    : conn_(connection), procedures_(procedures) {}

std::unique_ptr<PostgresStore> PostgresStore::open(const std::string& conninfo,
                                                   const PostgresOptions& options,
                                                   db::SqlStatus* failure) {
  PGconn* connection = PQconnectdb(conninfo.c_str());
  if (connection == nullptr || PQstatus(connection) != CONNECTION_OK) {
    if (failure != nullptr) {
      failure->set(-10, connection != nullptr ? PQerrorMessage(connection)
                                              : "out of memory connecting");
      failure->rows = 0;
    }
    PQfinish(connection);
    return nullptr;
  }
  PQsetNoticeProcessor(connection, ignoreNotice, nullptr);
  const ProcedureRegistry* procedures =
      options.procedures != nullptr ? options.procedures : &hostProcedures();
  std::unique_ptr<PostgresStore> store(new PostgresStore(connection, procedures));

  int32_t status = store->executeScript("SET client_min_messages = warning");
  if (status == 0 && options.createSchema) {
    std::string script = "BEGIN;\n";
    script += kSchemaLock;
    script += ";\n";
    script += pgDdl(schemaDdl());
    script += ";\n";
    script += pgSqlFunctionsDdl();
    script += "\nCOMMIT;";
    status = store->executeScript(script);
  }
  if (status == 0) {
    // Temporary tables touch no shared catalogue rows that another
    // connection could be changing, so they need no lock.
    std::string script = "BEGIN;\n" + pgDdl(workTableDdl()) + "\nCOMMIT;";
    status = store->executeScript(script);
  }
  if (status == 0) status = store->command("BEGIN");
  if (status != 0) {
    if (failure != nullptr) *failure = store->status();
    return nullptr;
  }
  return store;
}

PostgresStore::~PostgresStore() {
  procedureState_.clear();
  // Closing the connection rolls back the open transaction and drops the
  // temporary tables and cursors.
  PQfinish(conn_);
}

int32_t PostgresStore::serverFailure(pg_result* result) {
  if (result == nullptr || PQstatus(conn_) != CONNECTION_OK) {
    const char* msg = PQerrorMessage(conn_);
    status_.set(-10, msg != nullptr && msg[0] != '\0' ? msg : "connection lost");
    status_.rows = 0;
    return -10;
  }
  const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
  const int32_t code = codeOfState(state);
  status_.set(code, primary != nullptr ? primary : PQresultErrorMessage(result));
  status_.rows = 0;
  return code;
}

int32_t PostgresStore::succeed(int32_t code, int64_t rows) {
  status_.set(code, code == db::kSqlNoData ? "no data found" : "");
  status_.rows = rows;
  return code;
}

int32_t PostgresStore::command(const char* sql) {
  ResultGuard r(PQexec(conn_, sql));
  const ExecStatusType st = r.get() != nullptr ? PQresultStatus(r.get()) : PGRES_FATAL_ERROR;
  if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK) return serverFailure(r.get());
  return succeed(db::kSqlOk, 0);
}

int32_t PostgresStore::ensureTransaction() {
  switch (PQtransactionStatus(conn_)) {
    case PQTRANS_INTRANS:
      return db::kSqlOk;
    case PQTRANS_IDLE:
      return command("BEGIN");
    case PQTRANS_INERROR: {
      // Only a failed script leaves the transaction aborted; its work is
      // lost either way, so start afresh rather than fail every statement.
      const int32_t rc = command("ROLLBACK");
      return rc != 0 ? rc : command("BEGIN");
    }
    default:
      status_.set(-10, "connection lost");
      status_.rows = 0;
      return -10;
  }
}

int32_t PostgresStore::bindInputs(std::string_view sql, db::Binds in, std::string& text,
                                  Params& params) {
  int placeholders = 0;
  text = pgPlaceholders(sql, placeholders);
  if (static_cast<std::size_t>(placeholders) != in.size()) {
    status_.setf(db::kSqlBindMismatch, "statement has %d placeholders, %zu inputs bound",
                 placeholders, in.size());
    status_.rows = 0;
    return db::kSqlBindMismatch;
  }
  params.texts.assign(in.size(), std::string());
  params.values.assign(in.size(), nullptr);
  params.lengths.assign(in.size(), 0);
  for (std::size_t i = 0; i < in.size(); ++i) {
    const db::In& v = in[i];
    std::string& t = params.texts[i];
    switch (v.kind()) {
      case db::In::Kind::kNull:
        continue;
      case db::In::Kind::kText:
        t.assign(v.text());
        break;
      case db::In::Kind::kInteger:
        t = std::to_string(v.integer());
        break;
      case db::In::Kind::kReal: {
        char buf[40];
        std::snprintf(buf, sizeof buf, "%.17g", v.real());
        t = buf;
        break;
      }
      case db::In::Kind::kRefused:
        status_.setf(db::kSqlInputTooLong, "input %zu is longer than its host variable", i + 1);
        status_.rows = 0;
        return db::kSqlInputTooLong;
    }
    params.values[i] = t.c_str();
    params.lengths[i] = static_cast<int>(t.size());
  }
  return db::kSqlOk;
}

int32_t PostgresStore::runPrepared(const std::string& text, const Params& params,
                                   pg_result*& result, bool cache) {
  result = nullptr;
  int32_t rc = command(kSavepoint);
  if (rc != 0) return rc;
  const int n = static_cast<int>(params.values.size());
  ResultGuard r(nullptr);
  auto found = cache ? prepared_.find(text) : prepared_.end();
  if (cache && found == prepared_.end() && prepared_.size() < kMaxPrepared) {
    // Parsed inside the savepoint: a text the server refuses fails like
    // the statement itself, and is not remembered.
    const std::string name = "lev_p" + std::to_string(prepared_.size() + 1);
    ResultGuard p(PQprepare(conn_, name.c_str(), text.c_str(), n, nullptr));
    if (p.get() != nullptr && PQresultStatus(p.get()) == PGRES_COMMAND_OK) {
      found = prepared_.emplace(text, name).first;
    } else {
      r.slot() = p.get();
      p.slot() = nullptr;
    }
  }
  if (r.get() == nullptr) {
    r.slot() = found != prepared_.end()
                   ? PQexecPrepared(conn_, found->second.c_str(), n, params.values.data(),
                                    params.lengths.data(), nullptr, 0)
                   : PQexecParams(conn_, text.c_str(), n, nullptr, params.values.data(),
                                  params.lengths.data(), nullptr, 0);
  }
  const ExecStatusType st = r.get() != nullptr ? PQresultStatus(r.get()) : PGRES_FATAL_ERROR;
  if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK) {
    rc = serverFailure(r.get());
    // The failure's status stays the statement's; the clean-up's own
    // answers are not reported unless they fail too.
    const db::SqlStatus failed = status_;
    if (command(kRollbackTo) == 0 && command(kRelease) == 0) status_ = failed;
    return rc;
  }
  rc = command(kRelease);
  if (rc != 0) return rc;
  result = r.get();
  r.slot() = nullptr;
  return db::kSqlOk;
}

int32_t PostgresStore::run(std::string_view sql, db::Binds in, pg_result*& result) {
  result = nullptr;
  std::string text;
  Params params;
  int32_t rc = bindInputs(sql, in, text, params);
  if (rc != 0) return rc;
  return runPrepared(text, params, result, /*cache=*/true);
}

int32_t PostgresStore::fetchRow(pg_result* result, int row, db::Vars into) {
  const int columns = PQnfields(result);
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
    const char* text = PQgetvalue(result, row, i);
    int64_t integer = 0;
    if (PQgetisnull(result, row, i)) {
      rc = v.setNull();
    } else {
      switch (PQftype(result, i)) {
        case kInt2Oid:
        case kInt4Oid:
        case kInt8Oid:
        case kOidOid:
          rc = v.setInteger(std::strtoll(text, nullptr, 10));
          break;
        case kBoolOid:
          rc = v.setInteger(text[0] == 't' ? 1 : 0);
          break;
        case kNumericOid:
          rc = integralText(text, integer) ? v.setInteger(integer)
                                           : v.setReal(std::strtod(text, nullptr));
          break;
        case kFloat4Oid:
        case kFloat8Oid:
          rc = v.setReal(std::strtod(text, nullptr));
          break;
        default:
          rc = v.setText(std::string_view(text, static_cast<std::size_t>(
                                                    PQgetlength(result, row, i))));
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

int32_t PostgresStore::selectInto(std::string_view sql, db::Binds in, db::Vars into) {
  int32_t rc = injectedFailureFor(sql);
  if (rc == 0) rc = ensureTransaction();
  if (rc != 0) return rc;
  ResultGuard r;
  rc = run(sql, in, r.slot());
  if (rc != 0) return rc;
  const int rows = PQntuples(r.get());
  if (rows == 0) {
    // Columns are still checked, so that a mismatch is not hidden by an
    // empty table.
    if (static_cast<std::size_t>(PQnfields(r.get())) != into.size()) {
      return fetchRow(r.get(), 0, into);
    }
    return succeed(db::kSqlNoData, 0);
  }
  rc = fetchRow(r.get(), 0, into);
  if (rc != 0) return rc;
  if (rows > 1) {
    status_.set(db::kSqlTooManyRows, "single-row select returned more than one row");
    status_.rows = 1;
    return db::kSqlTooManyRows;
  }
  return succeed(db::kSqlOk, 1);
}

int32_t PostgresStore::execute(std::string_view sql, db::Binds in) {
  int32_t rc = injectedFailureFor(sql);
  if (rc == 0) rc = ensureTransaction();
  if (rc != 0) return rc;
  ResultGuard r;
  rc = run(sql, in, r.slot());
  if (rc != 0) return rc;
  const char* changed = PQcmdTuples(r.get());
  const int64_t rows = changed != nullptr && changed[0] != '\0' ? std::strtoll(changed, nullptr, 10)
                                                                : 0;
  return succeed(db::kSqlOk, rows);
}

int32_t PostgresStore::openCursor(std::unique_ptr<CursorState>& state, std::string_view sql,
                                  db::Binds in) {
  int32_t rc = injectedFailureFor(sql);
  if (rc == 0) rc = ensureTransaction();
  if (rc != 0) return rc;
  auto cursor = std::make_unique<PgCursor>();
  cursor->name = "lev_cursor_" + std::to_string(++cursorSerial_);
  std::string text;
  Params params;
  rc = bindInputs(sql, in, text, params);
  if (rc != 0) return rc;
  // The inputs are read now; the rows come batch by batch.
  const std::string declare = "DECLARE " + cursor->name + " NO SCROLL CURSOR WITH HOLD FOR " + text;
  ResultGuard r;
  rc = runPrepared(declare, params, r.slot());
  if (rc != 0) return rc;
  state = std::move(cursor);
  return succeed(db::kSqlOk, 0);
}

int32_t PostgresStore::fetchCursor(CursorState& state, db::Vars into) {
  auto& cursor = static_cast<PgCursor&>(state);
  if (cursor.exhausted) return succeed(db::kSqlNoData, cursor.rows);
  if (cursor.batch == nullptr || cursor.next >= PQntuples(cursor.batch)) {
    PQclear(cursor.batch);
    cursor.batch = nullptr;
    cursor.next = 0;
    if (cursor.lastBatch) {
      cursor.exhausted = true;
      return succeed(db::kSqlNoData, cursor.rows);
    }
    int32_t rc = ensureTransaction();
    if (rc != 0) return rc;
    const std::string fetch =
        "FETCH FORWARD " + std::to_string(kFetchBatch) + " FROM " + cursor.name;
    rc = runPrepared(fetch, Params{}, cursor.batch);
    if (rc != 0) {
      cursor.exhausted = true;
      return rc;
    }
    cursor.lastBatch = PQntuples(cursor.batch) < kFetchBatch;
    if (PQntuples(cursor.batch) == 0) {
      cursor.exhausted = true;
      return succeed(db::kSqlNoData, cursor.rows);
    }
  }
  const int32_t rc = fetchRow(cursor.batch, cursor.next++, into);
  ++cursor.rows;
  if (rc != 0) return rc;
  return succeed(db::kSqlOk, cursor.rows);
}

void PostgresStore::closeCursor(CursorState& state) {
  auto& cursor = static_cast<PgCursor&>(state);
  if (PQstatus(conn_) != CONNECTION_OK) return;
  // Closing keeps the last statement's status: close is not a statement of
  // the engine. A cursor the server no longer knows (its transaction failed
  // before the declaration was released) needs no closing.
  const db::SqlStatus kept = status_;
  const std::string close = "CLOSE " + cursor.name;
  if (PQtransactionStatus(conn_) == PQTRANS_INTRANS) {
    if (command(kSavepoint) == 0) {
      if (command(close.c_str()) != 0) command(kRollbackTo);
      command(kRelease);
    }
  } else if (PQtransactionStatus(conn_) == PQTRANS_IDLE) {
    command(close.c_str());
  }
  status_ = kept;
}

int32_t PostgresStore::call(std::string_view procedure, db::Vars args,
                          const db::HostVar* result) {
  if (const int32_t injected = injectedFailureFor(procedure); injected != 0) return injected;
  return callProcedure(*procedures_, procedure, *this, *this, args, result, status_);
}

int32_t PostgresStore::commitAndBegin() {
  const PGTransactionStatusType ts = PQtransactionStatus(conn_);
  if (ts == PQTRANS_INTRANS || ts == PQTRANS_INERROR) {
    const int32_t rc = command("COMMIT");
    if (rc != 0) return rc;
  }
  return command("BEGIN");
}

std::string PostgresStore::now() {
  // Reading the clock is not a statement of the caller's: its status stays.
  const db::SqlStatus kept = status_;
  db::StampText stamp;
  int16_t ind = 0;
  const int32_t rc = selectInto("SELECT SYSTIMESTAMP()", {}, {db::HostVar(stamp, &ind)});
  status_ = kept;
  if (rc != 0 || ind < 0) return std::string();
  return std::string(stamp.view());
}

int32_t PostgresStore::setFixedTime(std::string_view stamp) {
  db::StampText set;
  int16_t ind = 0;
  return selectInto("SELECT set_config('leveler.fixed_time', ?, false)", {stamp},
                    {db::HostVar(set, &ind)});
}

int32_t PostgresStore::executeScript(std::string_view sql) {
  const std::string script(sql);
  ResultGuard r(PQexec(conn_, script.c_str()));
  const ExecStatusType st = r.get() != nullptr ? PQresultStatus(r.get()) : PGRES_FATAL_ERROR;
  if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK && st != PGRES_EMPTY_QUERY) {
    const int32_t rc = serverFailure(r.get());
    // A script that failed inside its own BEGIN leaves the transaction
    // aborted; end it so that the connection is usable again.
    if (PQtransactionStatus(conn_) == PQTRANS_INERROR) {
      PQclear(PQexec(conn_, "ROLLBACK"));
    }
    return rc;
  }
  return succeed(db::kSqlOk, 0);
}

}  // namespace host

#else  // !LEVELER_HAVE_POSTGRES

namespace host {

// Built without libpq: the backend cannot connect.
std::unique_ptr<PostgresStore> PostgresStore::open(const std::string&, const PostgresOptions&,
                                                   db::SqlStatus* failure) {
  if (failure != nullptr) {
    failure->set(-10, "this build has no PostgreSQL support");
    failure->rows = 0;
  }
  return nullptr;
}
PostgresStore::~PostgresStore() = default;
int32_t PostgresStore::selectInto(std::string_view, db::Binds, db::Vars) { return -10; }
int32_t PostgresStore::execute(std::string_view, db::Binds) { return -10; }
int32_t PostgresStore::call(std::string_view, db::Vars, const db::HostVar*) { return -10; }
int32_t PostgresStore::commitAndBegin() { return -10; }
std::string PostgresStore::now() { return std::string(); }
int32_t PostgresStore::executeScript(std::string_view) { return -10; }
int32_t PostgresStore::setFixedTime(std::string_view) { return -10; }
int32_t PostgresStore::openCursor(std::unique_ptr<CursorState>&, std::string_view, db::Binds) {
  return -10;
}
int32_t PostgresStore::fetchCursor(CursorState&, db::Vars) { return -10; }
void PostgresStore::closeCursor(CursorState&) {}

}  // namespace host

#endif  // LEVELER_HAVE_POSTGRES
