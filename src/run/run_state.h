// The state of one run: everything the driver keeps from its first step to
// the finalisation, in one record so that every phase of run control (lock
// check, project list, locking, main loop, copy, finalisation) works on the
// same fields instead of passing fifty arguments along.
//
// Ownership: the driver creates one RunState per call (on the heap: the
// message buffers alone are 32 KB) and the finalisation frees what it
// holds: the storage manager `sm` and the twelve lists with their records
// (see cleanup.h for who owns which record). A null list or storage
// manager means "never created" and is skipped by the finalisation.
//
// Texts are fixed buffers of the sizes the host variables have (ids 32
// characters, time stamps 26, subject 2048, messages 16384, each plus the
// terminator); every writer cuts to the buffer and never writes past it.
//
// Units: phase times are seconds of processor time; g_start is the
// processor clock (clock()) at the start of the run.
#ifndef LEVELER_RUN_RUN_STATE_H
#define LEVELER_RUN_RUN_STATE_H

#include <cstdint>
#include <ctime>

#include "calendar/project.h"
#include "model/linked_list.h"

namespace run {

inline constexpr int kIdSize = 33;          // 32 characters + terminator
inline constexpr int kStampSize = 27;       // "1899-12-30 00:00:00.000000"
inline constexpr int kRootNameSize = 50;    // 49 characters
inline constexpr int kElementNameSize = 256;  // 255 characters
inline constexpr int kRankSize = 193;
inline constexpr int kSubjectSize = 2049;   // 2048 characters
inline constexpr int kMessageSize = 16385;  // 16384 characters
inline constexpr int kSqlErrorSize = 71;    // the store's 70-character message
inline constexpr int kSqlStmtSize = 16385;  // 16384 characters: the last search call

// Fixed run options: settings of the build, not parameters.
inline constexpr int kOptionConsiderProjAssign = 1;
inline constexpr int kOptionConsiderConstraints = 1;
inline constexpr int kOptionConsiderUidsLengthSupr = 0;
inline constexpr int kOptimizeExceptions = 1;
inline constexpr int kOptionLockProjectsWhenCalculate = 1;
inline constexpr int kNotifyOnCompletion = 1;
inline constexpr int kPrintTimingOption = 0;

// Result codes of a run.
inline constexpr int kErrNotExisting = 200004;
inline constexpr int kErrLocked = 200114;
inline constexpr int kErrEmptyProjectList = 200139;
inline constexpr int kErrCopyProjectMissing = 200143;
inline constexpr int kErrCircular = 200212;
inline constexpr int kErrImportExportLock = 200219;
inline constexpr int kErrNeverCalculated = 200317;
inline constexpr int kErrEmptyPortfolio = 200318;
inline constexpr int kErrTemplated = 200319;
inline constexpr int kErrException = 200320;

// Values of RunState::level_lock.
inline constexpr int kLevelLockFree = 0;
inline constexpr int kLevelLockFoundLocked = 1;  // a selected project was already locked
inline constexpr int kLevelLockHeld = 2;         // this run set LEVEL_LOCK to 1
inline constexpr int kLevelLockScenario = 10;    // this run set the scenario lock

struct RunState {
  // Arguments of the run.
  int optionFlag = 0;
  int optionFlagReserved = 0;
  char element_id[kIdSize] = {};       // as given (may be empty)
  char element_name[kElementNameSize] = {};
  char currentDate[kStampSize] = {};   // "calculate as of"
  char rec_user[kIdSize] = {};
  int PRINT_OPTION = 0;
  int PRINT_OPTION_BASIC = 0;
  int PRINT_OPTION_MORETHAN_BASIC = 0;
  int PRINT_OPTION_EVEN_MORETHAN_BASIC = 0;
  int PRINT_UPDATE_OPTION = 0;

  // Classification of the element and the run.
  int isFolderWithinPortfolio = 0;
  int isWhatIfScenario = 0;
  int isOriginallyLocked = 1;  // cleared once the lock check has passed
  int allProjectsAreLockedByMe = 0;
  int level_lock = kLevelLockFree;
  int optionMoveProjSFDate = 0;
  int root_table_type = 1;  // 1: a WBS item, 18: a portfolio folder
  int hasWork = 0;          // a selected project has at least one minute of effort
  char element_id_p[kIdSize] = {};   // the root project (first selected), or the element
  char root_node_name[kRootNameSize] = {};
  char rank[kRankSize] = {};
  char rankLike[kRankSize] = {};     // rank followed by "%"
  char resource_id[kIdSize] = {};    // top-level node of a portfolio folder's tree
  char todays_DT[kStampSize] = {};

  // Result and progress.
  int errCode = 0;
  char SQL_ErrCode[kSqlErrorSize] = {};  // the database's text of the failure
  int _wneverLine = 0;
  std::clock_t g_start = 0;
  // Text of the last resource search the main loop prepared, kept for the
  // diagnostics of a failed run (written to the log when the search left a
  // null where a date was expected).
  char sql_stmt[kSqlStmtSize] = {};

  // Counters.
  int tasksTotalCount = 0;
  int num_proj = 0;
  int ass_count = 0;
  int tasks_with_ass_count = 0;
  int countDeclTempTables = 0;
  int countNumOpenCursoures = 0;
  int tmp_proj_ass_count = 0;
  int proj_ass_count = 0;

  // Notification buffers.
  char workflow_id[kIdSize] = {};
  char subject[kSubjectSize] = {};
  char cur_subject[kSubjectSize] = {};
  char message[kMessageSize] = {};
  char cur_message[kMessageSize] = {};

  // Phase times in seconds: the load phase (8), the processing sequence
  // (17), and the driver's own (time[1..64], index 0 unused).
  double loadTimes[8] = {};
  double sequenceTimes[17] = {};
  double time[65] = {};

  // Records of the run (null: not created).
  storage_manager_type* sm = nullptr;
  linked_list_type* input_projects_list = nullptr;
  linked_list_type* projects_list = nullptr;
  linked_list_type* ext_projects_list = nullptr;
  linked_list_type* root_act_list = nullptr;
  linked_list_type* activities_list = nullptr;
  linked_list_type* proj_act_OnExt_dep_list = nullptr;
  linked_list_type* ext_pred_list = nullptr;
  linked_list_type* act_tmp_list = nullptr;
  linked_list_type* act_tmp_list_3 = nullptr;
  linked_list_type* act_tmp_list_4 = nullptr;
  linked_list_type* act_tmp_list_5 = nullptr;
  linked_list_type* assignments_list = nullptr;
};

// Copies `text` into the fixed buffer `buf` of `size` bytes, cut to
// size - 1 characters; always terminates.
void copyCut(char* buf, int size, const char* text);

// Seconds of processor time since `since` (the unit of the phase times).
inline double secondsSince(std::clock_t since) {
  return static_cast<double>(std::clock() - since) / 1000000.0;
}

}  // namespace run

#endif  // LEVELER_RUN_RUN_STATE_H
