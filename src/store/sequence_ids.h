// Sequence identifiers: short 7-digit names ("0000000" .. "0999999") that
// stand for 32-character element and resource ids when the run option to
// shorten ids is set. The pairs are kept in the work tables Lev_act_uids
// (TYPE_ID 0 outside items, 1 projects, 2 WBS items) and Lev_res_uids, so
// any store function can translate both ways; the counters live in the
// storage manager (next_act_uid, next_res_uid; -1 before the first id).
//
// Ids are written into caller buffers of 33 bytes (32 characters and the
// terminator), never past them.
//
// Running out: a counter past 999999 issues an empty id. Find-or-create then
// reports "not found" (*succeed = 0) and records nothing, so that no row
// ever holds an empty id and the caller's "could not match seq_uid" path
// stops the load; doCreateNewEntry... likewise records nothing and leaves
// an empty id.
#ifndef LEVELER_STORE_SEQUENCE_IDS_H
#define LEVELER_STORE_SEQUENCE_IDS_H

#include <cstdio>

inline constexpr int SEQ_UID_SIZE = 33;
inline constexpr int SEQ_UID_MAX = 999999;
inline constexpr int SEQ_UID_UNKNOWN = 200215;  // translating back an id never issued

// New 33-byte texts (new[], caller delete[]s) with the next id of each kind.
char* smanagerGimeNextActSeqUid(void* this_sm);
char* smanagerGimeNextResSeqUid(void* this_sm);
// Writes i in decimal into s (base is not used: ids are decimal).
char* itoa(int i, char* s, int base);

int doFindCreateActSeqUid(const char* element_id, int type_id, char* seq_uid, void* this_sm,
                          int create_mode, int* succeed, FILE* file);
int doCreateNewEntryActSeqUid(const char* element_id, int type_id, char* seq_uid, void* sm,
                              FILE* file);
int doFindCreateResSeqUid(const char* resource_id, int type_id, char* seq_uid, void* this_sm,
                          int create_mode, int* succeed, FILE* file);
int doCreateNewEntryResSeqUid(const char* resource_id, int type_id, char* seq_uid, void* sm,
                              FILE* file);
// 0 with the element id, or SEQ_UID_UNKNOWN with element_id a single blank.
int doTransSeqUidBackToActElemId(const char* seq_uid, int type_id, char* element_id, FILE* file);

#endif
