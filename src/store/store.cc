// Cursor handling and the failure switch common to every backend, and the
// thread's current store. See store.h.
#include "store/store.h"

namespace db {

Store::~Store() = default;

void Store::injectFailure(std::string_view sqlContains, int32_t code, int skipMatches) {
  injected_ = InjectedFailure{};
  if (code >= 0) return;  // not a failure: nothing to inject
  injected_.armed = true;
  injected_.contains = std::string(sqlContains);
  injected_.code = code;
  injected_.skip = skipMatches > 0 ? skipMatches : 0;
}

void Store::clearInjectedFailure() { injected_ = InjectedFailure{}; }

int32_t Store::injectedFailureFor(std::string_view sql) {
  if (!injected_.armed || sql.find(injected_.contains) == std::string_view::npos) {
    return kSqlOk;
  }
  if (injected_.skip > 0) {
    --injected_.skip;
    return kSqlOk;
  }
  const int32_t code = injected_.code;
  clearInjectedFailure();
  status_.set(code, "injected failure");
  status_.rows = 0;
  return code;
}

int32_t Cursor::open(std::string_view sql, Binds in) {
  close();
  return store_.openCursor(state_, sql, in);
}

int32_t Cursor::fetch(Vars into) {
  if (state_ == nullptr) {
    store_.status_.set(kSqlCursorNotOpen, "fetch from a cursor that is not open");
    store_.status_.rows = 0;
    return kSqlCursorNotOpen;
  }
  return store_.fetchCursor(*state_, into);
}

int32_t Cursor::close() {
  if (state_ != nullptr) {
    store_.closeCursor(*state_);
    state_.reset();
  }
  return kSqlOk;
}

namespace {
thread_local Store* tCurrentStore = nullptr;
}  // namespace

Store* currentStore() { return tCurrentStore; }

StoreBinding::StoreBinding(Store& store) : previous_(tCurrentStore) {
  tCurrentStore = &store;
}

StoreBinding::~StoreBinding() { tCurrentStore = previous_; }

}  // namespace db
