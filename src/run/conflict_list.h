// The conflict list: after levelling, every unfinished item of the selected
// projects whose levelled dates break one of its dependencies or its
// constraint gets the list of those breaches in LEVEL_CONFLICT, first in the
// work table Lev_kor_wbs, then copied into KOR_WBS.
//
// A list is a concatenation of codes "KIND:value;" (four digits, a colon,
// the value, a semicolon):
//   dependency (value: the predecessor's id), by DEP_TYPE as stored:
//     0 finish-to-start  "0080:"  pred's levelled finish + lag > succ's levelled start
//     1 start-to-start   "0010:"  pred's levelled start  + lag > succ's levelled start
//     2 finish-to-finish "0040:"  pred's levelled finish + lag > succ's levelled finish
//     3 start-to-finish  "0020:"  pred's levelled start  + lag > succ's levelled finish
//   constraint (value: the constraint date as its text), by CONSTRAINT_TYPE:
//     2 "0100:" date > levelled finish     3 "0200:" date < levelled finish
//     4 "0400:" date <> levelled finish    5 "0800:" date <> levelled start
//     6 "1000:" date > levelled start      7 "2000:" date < levelled start
// Units: dates are compared as Julian day numbers of their days (the time of
// day does not count); the lag in days is -AMOUNT x (2 x LEAD_OR_LAG_TYPE -
// 1) / the predecessor's MINUTE_PER_DAY, a real division on every backend
// (240 minutes on a 480-minute day is half a day, never 0).
// An item is examined while ACTUAL_FINISH is null or ETC <> 0, and only
// when it belongs to a project of NAV_TMP_PROJECTS_00 (for a dependency:
// the successor's project). Rows come ordered by item only, so the order of
// one item's codes is the database's.
//
// Choices:
// - The codes of one item are gathered in a 4096-byte buffer (4095
//   characters): a code that would not fit is left out and the codes after
//   it that still fit are appended; the text is never written past it.
// - A predecessor whose MINUTE_PER_DAY is null or 0 gives no dependency
//   conflict (its lag in days is unknown; the division is never attempted).
//
// Statements run on db::currentStore(); the result is 0, or the negative
// status of the first statement that failed (the caller writes the SQL
// failure line; db::kSqlNoConnection without a store). On success the list
// is committed (LEVEL_COMMIT) and the progress message "The list of
// scheduling conflicts is updated. " is sent.
#ifndef LEVELER_RUN_CONFLICT_LIST_H
#define LEVELER_RUN_CONFLICT_LIST_H

#include <cstdio>

#include "run/run_state.h"

namespace run {

inline constexpr int kConflictListSize = 4096;  // bytes, terminator included
inline constexpr int kConflictCodeSize = 50;    // one fetched code: 49 characters

int doUpdateConflictListDB(RunState& run, FILE* file);

}  // namespace run

#endif  // LEVELER_RUN_CONFLICT_LIST_H
