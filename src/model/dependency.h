// The dependency record: one entry of an item's predecessor or successor
// list, named by the item at the other end.
//
// Ownership: the item whose list holds the record owns it and releases it
// with dependencyDelete.
//
// Units and codes: type 0 = finish-to-finish, 1 = finish-to-start,
// 2 = start-to-finish, 3 = start-to-start (the store's own numbering is
// translated by the loader); lag_minutes are signed working minutes, a lead
// being a negative lag; isExternal is 1 when the other item belongs to
// another project; isActive is 0 at creation and set by the network passes
// (1 on the driving predecessor). Names are at most 32 characters; longer
// ones are cut.
#ifndef LEVELER_MODEL_DEPENDENCY_H
#define LEVELER_MODEL_DEPENDENCY_H

#include <cstdint>

#include "model/linked_list.h"

struct dependency_type {
  char name[LL_NAME_SIZE];
  int16_t isExternal;
  int16_t type;
  int32_t lag_minutes;
  int16_t isActive;
};

dependency_type* dependencyCreateNew(const char* name, int16_t type, int16_t isExternal,
                                     int32_t lag_minutes);
dependency_type* dependencyCopyCreateNew(const dependency_type* this_dep);
void dependencyDelete(dependency_type* this_dep);

// List callbacks: the other item's name, exact name match.
const char* getDependencyName(void* this_dep);
int dependencyMatch(void* this_dep, const void* lookfor);

int16_t getDependencyType(const dependency_type* this_dep);
int16_t getDependencyExternalFlag(const dependency_type* this_dep);
int32_t getDependencyLagMinutes(const dependency_type* this_dep);

#endif
