// The engine's two entry points, as the database calls them: unmangled C
// names taking the call context and every argument as a (value, null
// indicator) pair, returning the run's result (0 success, a negative SQL
// status, or a six-digit failure code; see run_state.h).
//
// The call context stands in for the host's external-procedure context:
// it carries the run's connection (a db::Store opened by the caller; the
// run works in its transaction and commits only through LEVEL_COMMIT),
// the log file to append to (null: "/tmp/Leveling.log") and an optional
// progress callback (null by default; see store/progress.h). The caller
// keeps ownership of the store.
//
// The log: standard output is pointed at the log file (opened in append
// mode; the log grows across runs) for the run, and the caller's standard
// output is given back afterwards, so a program calling the entry point
// keeps its terminal. When the log cannot be opened the run writes to the
// caller's standard output.
//
// Null indicators: negative means null. Texts longer than their host
// variables are handled before the driver sees them: an element or user
// identifier longer than 32 characters names nothing that can exist (and
// cutting it could name a different element), so the call is refused with
// 200004 without touching any table; the element name is cut to 255
// characters (the root name to 49 later), the "calculate as of" time stamp
// to its 26 characters.
#ifndef LEVELER_RUN_ENTRY_POINTS_H
#define LEVELER_RUN_ENTRY_POINTS_H

#include <cstdint>
#include <cstdio>

#include "store/progress.h"
#include "store/store.h"

struct LevCallContext {
  db::Store* store = nullptr;         // the run's connection (required)
  const char* logPath = nullptr;      // null: "/tmp/Leveling.log"
  db::ProgressFn progress = nullptr;  // optional progress callback
  void* progressUser = nullptr;       // handed to the callback
};

extern "C" {

int32_t RES_DEP_FOR_PROJ(LevCallContext* ctx, const char* element_id, int16_t element_id_ind,
                         int32_t optionFlag, int16_t optionFlag_ind, int32_t optionFlagReserved,
                         int16_t optionFlagReserved_ind, const char* currentDate,
                         int16_t currentDate_ind, const char* p_rec_user, int16_t p_rec_user_ind);

int32_t lev_levelResourcesForProject(
    LevCallContext* ctx, const char* element_id, int16_t element_id_Ind,
    const char* element_name, int16_t element_name_Ind, int32_t optionFlag,
    int16_t optionFlag_Ind, int32_t optionFlagReserved, int16_t optionFlagReserved_Ind,
    const char* currentDate, int16_t currentDate_Ind, const char* rec_user,
    int16_t rec_user_Ind, int32_t PRINT_OPTION, int16_t PRINT_OPTION_Ind,
    int32_t PRINT_OPTION_BASIC, int16_t PRINT_OPTION_BASIC_Ind,
    int32_t PRINT_OPTION_MORETHAN_BASIC, int16_t PRINT_OPTION_MORETHAN_BASIC_Ind,
    int32_t PRINT_OPTION_EVEN_MORETHAN_BASIC, int16_t PRINT_OPTION_EVEN_MORETHAN_BASIC_Ind,
    int32_t PRINT_UPDATE_OPTION, int16_t PRINT_UPDATE_OPTION_Ind);

}  // extern "C"

// The run driver: one whole run for one element, on the store bound to the
// calling thread (db::currentStore()), tracing to `file`. Returns the run's
// result code. Never throws.
int levelResourcesForProject(const char* element_id, const char* element_name, int optionFlag,
                             int optionFlagReserved, const char* currentDate,
                             const char* rec_user, int PRINT_OPTION, int PRINT_OPTION_BASIC,
                             int PRINT_OPTION_MORETHAN_BASIC,
                             int PRINT_OPTION_EVEN_MORETHAN_BASIC, int PRINT_UPDATE_OPTION,
                             FILE* file);

#endif  // LEVELER_RUN_ENTRY_POINTS_H
