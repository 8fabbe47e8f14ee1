#include "store/progress.h"

namespace db {
namespace {

thread_local ProgressFn boundFn = nullptr;
thread_local void* boundUser = nullptr;

}  // namespace

void reportProgress(const char* phase, int64_t done, int64_t total) {
  if (boundFn != nullptr) boundFn(boundUser, phase == nullptr ? "" : phase, done, total);
}

bool progressWanted() { return boundFn != nullptr; }

ProgressBinding::ProgressBinding(ProgressFn fn, void* user)
    : previousFn_(boundFn), previousUser_(boundUser) {
  boundFn = fn;
  boundUser = user;
}

ProgressBinding::~ProgressBinding() {
  boundFn = previousFn_;
  boundUser = previousUser_;
}

}  // namespace db
