// The entry points: bind the caller's connection and progress callback to
// the run's thread, point standard output at the log, set the date format,
// copy the arguments into fixed host variables and call the driver.
#include "run/entry_points.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <mutex>

#include "run/run_state.h"

namespace {

constexpr const char* kDefaultLogPath = "/tmp/Leveling.log";
constexpr const char* kSetDateFormat = "call SET_DATEFORMAT()";

// Standard output pointed at the log for the lifetime of the object; the
// caller's standard output comes back afterwards (both flushed on the way).
// Standard output belongs to the process: runs that overlap on several
// threads share the redirection of the first of them (and its log file),
// and the last one to finish gives the caller's output back.
class LogRedirect {
 public:
  explicit LogRedirect(const char* path) {
    std::lock_guard<std::mutex> lock(mutex());
    if (depth()++ > 0) return;
    std::fflush(stdout);
    const int fd = ::open(path == nullptr ? kDefaultLogPath : path,
                          O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return;
    saved() = ::dup(STDOUT_FILENO);
    if (saved() >= 0) ::dup2(fd, STDOUT_FILENO);
    ::close(fd);
  }
  ~LogRedirect() {
    std::lock_guard<std::mutex> lock(mutex());
    std::fflush(stdout);
    if (--depth() > 0 || saved() < 0) return;
    ::dup2(saved(), STDOUT_FILENO);
    ::close(saved());
    saved() = -1;
  }
  LogRedirect(const LogRedirect&) = delete;
  LogRedirect& operator=(const LogRedirect&) = delete;

 private:
  static std::mutex& mutex() {
    static std::mutex m;
    return m;
  }
  static int& depth() {
    static int d = 0;
    return d;
  }
  static int& saved() {
    static int fd = -1;
    return fd;
  }
};

// The value of a text argument: empty when null (or absent).
const char* textOrEmpty(const char* value, int16_t ind) {
  return (ind < 0 || value == nullptr) ? "" : value;
}

bool longerThan(const char* value, std::size_t limit) {
  return strnlen(value, limit + 1) > limit;
}

// The common part of both entry points around the driver call. `driver`
// runs only when `callDriver`; returns the status left on the connection.
template <class Driver>
int32_t runEntryPoint(LevCallContext* ctx, const char* name, const char* element_id,
                      const char* rec_user, bool callDriver, Driver driver) {
  if (ctx == nullptr || ctx->store == nullptr) return db::kSqlNoConnection;
  db::Store& store = *ctx->store;
  db::StoreBinding binding(store);
  db::ProgressBinding progress(ctx->progress, ctx->progressUser);
  LogRedirect log(ctx->logPath);
  int32_t status = store.call(kSetDateFormat);
  if (callDriver && (longerThan(element_id, run::kIdSize - 1) ||
                     longerThan(rec_user, run::kIdSize - 1))) {
    std::fprintf(stdout,
                 "\n\n ****** error in %s: an element or user id longer than %d characters "
                 "names nothing (refused) \n\n",
                 name, run::kIdSize - 1);
    status = run::kErrNotExisting;
    callDriver = false;
  }
  if (callDriver) status = driver();
  store.status().code = status;
  return status;
}

}  // namespace

extern "C" {

int32_t RES_DEP_FOR_PROJ(LevCallContext* ctx, const char* element_id, int16_t element_id_ind,
                         int32_t optionFlag, int16_t optionFlag_ind, int32_t optionFlagReserved,
                         int16_t optionFlagReserved_ind, const char* currentDate,
                         int16_t currentDate_ind, const char* p_rec_user,
                         int16_t /*p_rec_user_ind: not consulted*/) {
  const char* id = textOrEmpty(element_id, element_id_ind);
  const char* date = textOrEmpty(currentDate, currentDate_ind);
  const char* user = p_rec_user == nullptr ? "" : p_rec_user;
  const bool callDriver = optionFlag_ind >= 0 && optionFlagReserved_ind >= 0;
  return runEntryPoint(ctx, "RES_DEP_FOR_PROJ", id, user, callDriver, [&] {
    char h_currentDate[run::kStampSize];
    run::copyCut(h_currentDate, run::kStampSize, date);
    return levelResourcesForProject(id, "", optionFlag, optionFlag == 3 ? 0 : optionFlagReserved,
                                    h_currentDate, user, 0, 0, 0, 0, 0, stdout);
  });
}

int32_t lev_levelResourcesForProject(
    LevCallContext* ctx, const char* element_id, int16_t element_id_Ind,
    const char* element_name, int16_t /*element_name_Ind*/, int32_t optionFlag,
    int16_t /*optionFlag_Ind*/, int32_t optionFlagReserved, int16_t /*optionFlagReserved_Ind*/,
    const char* currentDate, int16_t currentDate_Ind, const char* rec_user,
    int16_t /*rec_user_Ind*/, int32_t PRINT_OPTION, int16_t /*PRINT_OPTION_Ind*/,
    int32_t PRINT_OPTION_BASIC, int16_t /*PRINT_OPTION_BASIC_Ind*/,
    int32_t PRINT_OPTION_MORETHAN_BASIC, int16_t /*PRINT_OPTION_MORETHAN_BASIC_Ind*/,
    int32_t PRINT_OPTION_EVEN_MORETHAN_BASIC, int16_t /*PRINT_OPTION_EVEN_MORETHAN_BASIC_Ind*/,
    int32_t PRINT_UPDATE_OPTION, int16_t /*PRINT_UPDATE_OPTION_Ind*/) {
  const char* id = textOrEmpty(element_id, element_id_Ind);
  const char* date = textOrEmpty(currentDate, currentDate_Ind);
  const char* user = rec_user == nullptr ? "" : rec_user;
  return runEntryPoint(ctx, "lev_levelResourcesForProject", id, user, true, [&] {
    char h_currentDate[run::kStampSize];
    char h_element_name[run::kElementNameSize];
    run::copyCut(h_currentDate, run::kStampSize, date);
    run::copyCut(h_element_name, run::kElementNameSize, element_name);
    return levelResourcesForProject(id, h_element_name, optionFlag, optionFlagReserved,
                                    h_currentDate, user, PRINT_OPTION, PRINT_OPTION_BASIC,
                                    PRINT_OPTION_MORETHAN_BASIC, PRINT_OPTION_EVEN_MORETHAN_BASIC,
                                    PRINT_UPDATE_OPTION, stdout);
  });
}

}  // extern "C"
