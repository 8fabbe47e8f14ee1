#include "run/run_messages.h"

#include <cstring>

#include "store/notification.h"
#include "store/store.h"

namespace run {
namespace {

constexpr const char* kWhere = "Lev_resolveDepOracleDB (levelResourcesForProject)";
constexpr const char* kContactLine = "Please submit to supporting team \n\n";
constexpr std::size_t kRoomForBlock = 500;
constexpr std::size_t kRoomForLongBlock = 4000;

}  // namespace

std::size_t messageRoom(const RunState& run) {
  return static_cast<std::size_t>(kMessageSize - 1) - strnlen(run.message, kMessageSize - 1);
}

void prependMessage(RunState& run, const char* text) {
  std::string joined = std::string(text == nullptr ? "" : text) + run.message;
  copyCut(run.message, kMessageSize, joined.c_str());
}

int notifyRun(RunState& run, const char* tag, FILE* file) {
  std::string subject = std::string(tag == nullptr ? "" : tag) + run.subject;
  copyCut(run.cur_subject, kSubjectSize, subject.c_str());
  db::Store* store = db::currentStore();
  if (store == nullptr) return db::kSqlNoConnection;
  return FC_SEND_NOTIFY(*store, file, run.workflow_id, run.cur_subject, run.message,
                        run.element_id_p, run.rec_user, run.root_table_type);
}

int sendProgress(RunState& run, const char* text, FILE* file) {
  prependMessage(run, text);
  return notifyRun(run, "[Started] ", file);
}

void printBanner(FILE* file, const char* text) {
  if (file == nullptr) return;
  std::fprintf(file,
               "\n*********************************************************************\n"
               "%s\n"
               "*********************************************************************\n",
               text);
  std::fflush(file);
}

void logSqlFailure(RunState& run, int status, FILE* file) {
  db::Store* store = db::currentStore();
  if (store != nullptr) copyCut(run.SQL_ErrCode, kSqlErrorSize, store->status().message);
  if (file == nullptr) return;
  std::fprintf(file,
               "\n\n****** error in %s: negative error code from SQL: SC_STATE = %d   %s "
               "LineNum  = %d \n\n",
               kWhere, status, run.SQL_ErrCode, run._wneverLine);
  std::fflush(file);
}

void reportDataCorruption(RunState& run, const char* number, const char* errorType,
                          const std::string& identifiers, FILE* file) {
  const std::string head = std::string("**** error(D-") + number + ")/data corruption in " +
                           kWhere + " \nerror type: " + errorType + " \nLineNum = " +
                           std::to_string(run._wneverLine) + " \n";
  if (file != nullptr) {
    std::fprintf(file, "\n\n%s%s\n\n", head.c_str(), identifiers.c_str());
    std::fflush(file);
  }
  if (messageRoom(run) > kRoomForLongBlock) {
    sendProgress(run, (head + kContactLine + identifiers + "\n\n").c_str(), file);
  }
}

void reportWarning(RunState& run, const char* number, const char* errorType,
                   const std::string& details, FILE* file) {
  const std::string block = std::string("**** error(W-") + number + ") in " + kWhere +
                            " \nerror type: " + errorType + " \nLineNum = " +
                            std::to_string(run._wneverLine) + " \n" + details;
  if (file != nullptr) {
    std::fprintf(file, "\n\n%s\n\n", block.c_str());
    std::fflush(file);
  }
  if (messageRoom(run) > kRoomForBlock) sendProgress(run, (block + "\n\n").c_str(), file);
}

}  // namespace run
