// Cursor handling common to every backend, and the thread's current store.
// See store.h.
#include "store/store.h"

namespace db {

Store::~Store() = default;

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
