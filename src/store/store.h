// The store: the one road from the engine to the database. An abstract
// connection with six operations, so that the engine never sees the
// database library (the SQLite backend lives in host/).
//
//   1. selectInto  a select that yields one row, into host variables;
//   2. Cursor      open a query with inputs, fetch row by row, close;
//   3. execute     insert (one row, or the rows of a query), update,
//   4.             delete, with bound inputs;
//   5. call        a host procedure, or a function whose result is bound;
//   6. status()    code and message of the last statement.
//
// Statements are texts in the portable dialect with `?` placeholders,
// matched in order with the inputs; see host_vars.h for the inputs (In),
// the host variables (HostVar) and the rules for nulls and long values,
// and status.h for the codes. Example:
//
//   db::RankText rank;  int16_t rankInd = 0;
//   int32_t rc = store.selectInto(
//       "SELECT RANK FROM KOR_WBS WHERE ELEMENT_ID = ?", {elementId},
//       {db::HostVar(rank, &rankInd)});
//   if (rc < 0) db::printDbError(file, 1, "Lev_resolveDepOracleDB",
//                                "doReadProjectsDB", store.status(), line);
//
//   db::Cursor days(store);
//   days.open("SELECT DAY_YEAR, BIT_SCHED FROM CALENDAR_DAY_OF_YEAR "
//             "WHERE ELEMENT_ID = ? ORDER BY DAY_YEAR", {calendarId});
//   while ((rc = days.fetch({day, bits})) == 0) { ... }
//   days.close();            // rc is 100 at the end, negative on a failure
//
//   int32_t result = 0;
//   store.call("LEVEL_COMMIT", {}, &result);   // or "call LEVEL_COMMIT() into ?"
//
// Every operation returns the status code it leaves in status(). A failed
// statement is not undone by the store; what was done before it stays in
// the transaction. Transactions: a backend opens the connection with a
// transaction begun, and only the host procedure LEVEL_COMMIT commits (it
// begins the next one at once); there is no other commit or rollback.
//
// Failures on demand (for tests): injectFailure arms a one-shot switch that
// makes a chosen statement fail without running it, so that the failure
// paths of the code above the store can be driven on a real database. See
// injectFailure below; every backend consults it through
// injectedFailureFor(), at the top of selectInto, execute, call and cursor
// open (fetch and close are not statements of their own and never fail
// this way).
//
// Threads: a Store is used by one thread at a time. The engine reaches the
// run's connection through currentStore(), which the entry point binds for
// the run's thread with a StoreBinding (the entry points of the engine take
// no connection argument, as the host's external-procedure agent supplies
// its connection implicitly).
#ifndef LEVELER_STORE_STORE_H
#define LEVELER_STORE_STORE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "store/host_vars.h"
#include "store/status.h"

namespace db {

class Cursor;

class Store {
 public:
  Store() = default;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  virtual ~Store();

  // One row into `into` (as many host variables as the select list has
  // columns): 0 with the row, 100 when no row qualifies, kSqlTooManyRows
  // when more than one does, or a failure.
  virtual int32_t selectInto(std::string_view sql, Binds in, Vars into) = 0;

  // Insert, update, delete, insert from a query, or any other statement
  // without result rows. 0 also when no row qualified; status().rows
  // counts the rows changed.
  virtual int32_t execute(std::string_view sql, Binds in = {}) = 0;

  // Calls a host procedure. `procedure` is its name ("LEVEL_COMMIT") or a
  // call text ("call LEVEL_COMMIT() into ?"), whose placeholders must then
  // match args and result in number. Arguments are passed by reference: a
  // procedure may write its in/out arguments. `result` receives a
  // function's result (an integer, or a text such as a new id) and is null
  // for a procedure without one. The status is the procedure's: 0, or
  // negative when it or a statement inside it failed.
  virtual int32_t call(std::string_view procedure, Vars args = {},
                       const HostVar* result = nullptr) = 0;

  // Status of the last statement (printDbError clears its message).
  SqlStatus& status() { return status_; }
  const SqlStatus& status() const { return status_; }

  // Test switch. Arms a failure: from now on the statements whose text
  // contains `sqlContains` (case-sensitive; for call, the call text or
  // procedure name as given; an empty text matches every statement) are
  // counted; the first `skipMatches` of them run normally, the next one is
  // not executed and fails with `code`, status message "injected failure"
  // and no rows. Then the switch disarms itself (one shot). Arming again
  // replaces an armed switch. `code` must be negative (a failure); any
  // other code leaves the switch disarmed.
  void injectFailure(std::string_view sqlContains, int32_t code, int skipMatches = 0);
  // Disarms the switch (nothing happens when it is not armed).
  void clearInjectedFailure();

 protected:
  friend class Cursor;

  // For backends, first thing in every operation, with the statement text
  // (or the call text or procedure name): 0 when the statement is to run;
  // otherwise the injected code, already set in status(), and the
  // operation returns it without executing anything.
  int32_t injectedFailureFor(std::string_view sql);

  // The backend's state of one open cursor.
  class CursorState {
   public:
    virtual ~CursorState() = default;
  };

  // On success (0) `state` holds the open cursor; on failure it stays null.
  virtual int32_t openCursor(std::unique_ptr<CursorState>& state,
                             std::string_view sql, Binds in) = 0;
  virtual int32_t fetchCursor(CursorState& state, Vars into) = 0;
  // Releases what the cursor holds; the state is destroyed afterwards.
  virtual void closeCursor(CursorState& state) = 0;

  SqlStatus status_;

 private:
  struct InjectedFailure {
    bool armed = false;
    std::string contains;
    int32_t code = 0;
    int skip = 0;  // matching statements still to run normally
  };
  InjectedFailure injected_;
};

// A cursor of one store. Declared closed; open runs the query with its
// inputs (read at that moment); fetch fills one row and gives 0, or 100
// when the rows are exhausted (and again on every later fetch), or a
// negative failure; close (also done by the destructor) ends it and may be
// followed by another open. Opening an open cursor closes it first. A
// cursor stays open across LEVEL_COMMIT. It must not outlive its store.
class Cursor {
 public:
  explicit Cursor(Store& store) : store_(store) {}
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;
  ~Cursor() { close(); }

  int32_t open(std::string_view sql, Binds in = {});
  int32_t fetch(Vars into);
  // Returns 0; a cursor that is not open is left as it is.
  int32_t close();
  bool isOpen() const { return state_ != nullptr; }

 private:
  Store& store_;
  std::unique_ptr<Store::CursorState> state_;
};

// The store of the run on the calling thread, or null when none is bound.
Store* currentStore();

// Binds a store to the calling thread for the lifetime of the binding and
// restores the previous binding afterwards (bindings nest).
class StoreBinding {
 public:
  explicit StoreBinding(Store& store);
  ~StoreBinding();
  StoreBinding(const StoreBinding&) = delete;
  StoreBinding& operator=(const StoreBinding&) = delete;

 private:
  Store* previous_;
};

}  // namespace db

#endif  // LEVELER_STORE_STORE_H
