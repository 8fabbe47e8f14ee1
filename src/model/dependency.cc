// Dependency records: creation, copy (including isActive), release and the
// name callbacks used by the items' predecessor and successor lists.
#include "model/dependency.h"

#include <cstring>

#include "model/serial_names.h"

dependency_type* dependencyCreateNew(const char* name, int16_t type, int16_t isExternal,
                                     int32_t lag_minutes) {
  dependency_type* d = new dependency_type{};
  copyName(d->name, name);
  d->type = type;
  d->isExternal = isExternal;
  d->lag_minutes = lag_minutes;
  d->isActive = 0;
  return d;
}

dependency_type* dependencyCopyCreateNew(const dependency_type* this_dep) {
  return new dependency_type(*this_dep);
}

void dependencyDelete(dependency_type* this_dep) { delete this_dep; }

const char* getDependencyName(void* this_dep) {
  return static_cast<dependency_type*>(this_dep)->name;
}

int dependencyMatch(void* this_dep, const void* lookfor) {
  return std::strcmp(static_cast<dependency_type*>(this_dep)->name,
                     static_cast<const char*>(lookfor)) == 0
             ? 1
             : 0;
}

int16_t getDependencyType(const dependency_type* this_dep) { return this_dep->type; }
int16_t getDependencyExternalFlag(const dependency_type* this_dep) { return this_dep->isExternal; }
int32_t getDependencyLagMinutes(const dependency_type* this_dep) { return this_dep->lag_minutes; }
