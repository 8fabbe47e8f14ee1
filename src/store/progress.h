// The run's progress hook: a program that calls an entry point may want to
// show how far a run is (phase, items done of items total) besides the log
// and the notifications. It passes a callback in the call context; the
// entry point binds it to the run's thread for the run, and the phases
// report through reportProgress, which does nothing when no callback is
// bound (the default), so the run behaves the same with or without one.
//
// The callback runs on the run's thread, inside the run; it must return
// quickly and must not use the run's store. `phase` is a short text that
// stays valid only during the call; done and total count the phase's own
// units (items, assignments, projects), total 0 meaning "not counted".
#ifndef LEVELER_STORE_PROGRESS_H
#define LEVELER_STORE_PROGRESS_H

#include <cstdint>

namespace db {

using ProgressFn = void (*)(void* user, const char* phase, int64_t done, int64_t total);

// Reports to the callback bound to the calling thread, if any.
void reportProgress(const char* phase, int64_t done, int64_t total);

// True when a callback is bound: lets a long loop skip counting otherwise.
bool progressWanted();

// Binds a callback (null: none) to the calling thread for the lifetime of
// the binding; the previous binding comes back afterwards.
class ProgressBinding {
 public:
  ProgressBinding(ProgressFn fn, void* user);
  ~ProgressBinding();
  ProgressBinding(const ProgressBinding&) = delete;
  ProgressBinding& operator=(const ProgressBinding&) = delete;

 private:
  ProgressFn previousFn_;
  void* previousUser_;
};

}  // namespace db

#endif  // LEVELER_STORE_PROGRESS_H
