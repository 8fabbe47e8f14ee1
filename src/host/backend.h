// What a host procedure needs of the database beyond the store's six
// operations: the few things only the backend itself can do. The host
// procedures are written against db::Store (statements) and host::Backend
// (this interface), never against a concrete backend, so that a second
// backend (PostgreSQL) runs them unchanged.
//
// - commitAndBegin(): commit the connection's transaction and begin the
//   next at once (the work of LEVEL_COMMIT). 0 or a negative status.
// - now(): the backend's clock as a 26-character time stamp
//   "YYYY-MM-DD HH:MM:SS.ffffff" (the value SYSTIMESTAMP() gives in SQL).
// - procedureState(): a slot of the connection where procedures keep state
//   between calls (the levelling run's calendars and resource load). It
//   lives as long as the connection: created empty when it opens, destroyed
//   when it closes; a commit does not touch it.
//
// ProcedureState holds one part per C++ type: get<T>() gives the part of
// type T, creating it (default-constructed) at first use; clear() drops
// every part. Parts are owned by the state. The state is used by the
// connection's one thread, like the store.
#ifndef LEVELER_HOST_BACKEND_H
#define LEVELER_HOST_BACKEND_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <typeindex>

namespace host {

class ProcedureState {
 public:
  // Base of every part kept in the state.
  class Part {
   public:
    virtual ~Part() = default;
  };

  template <class T>
  T& get() {
    static_assert(std::is_base_of_v<Part, T>, "a part derives from ProcedureState::Part");
    std::unique_ptr<Part>& slot = parts_[std::type_index(typeid(T))];
    if (slot == nullptr) slot = std::make_unique<T>();
    return static_cast<T&>(*slot);
  }
  // True when a part of type T exists.
  template <class T>
  bool has() const {
    return parts_.count(std::type_index(typeid(T))) != 0;
  }
  void clear() { parts_.clear(); }

 private:
  std::map<std::type_index, std::unique_ptr<Part>> parts_;
};

class Backend {
 public:
  virtual ~Backend() = default;
  virtual int32_t commitAndBegin() = 0;
  virtual std::string now() = 0;
  virtual ProcedureState& procedureState() = 0;
};

}  // namespace host

#endif  // LEVELER_HOST_BACKEND_H
