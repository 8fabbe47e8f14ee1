// Element type codes (the store's TYPE_ID) and their classes.
//
// Nine leaf sets hold the only literal codes (projects; pure and transferred
// WBS tasks and deliverables; CRI responsibility tasks and deliverables, CRI
// convert tasks and pure CRI deliverables); every other predicate is a union
// of leaves, plus the two WBS task codes 306 and 313 that belong to no leaf.
// The loaders reduce a code to the item kind kept in activity_type.type
// (1 project item, 2 container, 3 task); these predicates classify the code
// itself.
//
// All functions are pure; predicates return 1 or 0.
#ifndef LEVELER_MODEL_ELEMENT_TYPES_H
#define LEVELER_MODEL_ELEMENT_TYPES_H

#include <cstdint>

// Leaf sets.
int16_t isProjectType(int32_t type);
int16_t isPureWBSTask(int32_t type);
int16_t isWBSTransferedTask(int32_t type);
int16_t isPureWBSDeliv(int32_t type);
int16_t isWBSTransferedDeliv(int32_t type);
int16_t isCRIRespTask(int32_t type);
int16_t isCRIConvertTask(int32_t type);
int16_t isCRIRespDeliv(int32_t type);
int16_t isPureCRIDeliv(int32_t type);

// Unions.
int16_t isNotProjectType(int32_t type);
int16_t isWBSTask(int32_t type);
int16_t isWBSDeliv(int32_t type);
int16_t isWBSType(int32_t type);
int16_t isCRITask(int32_t type);
int16_t isCRIDeliv(int32_t type);
int16_t isCRIwbsElement(int32_t type);
int16_t isCRIType(int32_t type);
int16_t isTask(int32_t type);
int16_t isDeliv(int32_t type);
int16_t isChangeToTask(int32_t type);

// Writes into *group 1 for a project code, 2 for a task, 3 for a
// deliverable, else the code itself; returns 0.
int groupType(int32_t type, int32_t* group);
// Table kind of a code: 4 (codes 14, 61, 62, 63, 140, 242), 8 (code 11),
// 1 (WBS types), 3 (CRI types), else 0.
int32_t GetTable(int32_t type);
// Task code that an assignment code stands for, or 0.
int32_t GetAssnType(int32_t type);
// Partner of a pure CRI deliverable code and its CRI convert task code, both
// ways, or 0.
int32_t GetTaskType(int32_t type);
// Day-status character with '5' mapped to '3' and '6' to '4'.
char getDayStatus(char status);

#endif
