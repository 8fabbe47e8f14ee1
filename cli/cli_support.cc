// Shared pieces of the leveler's commands. See cli_support.h.
#include "cli_support.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>

#include "host/postgres_store.h"
#include "host/sqlite_store.h"
#include "run/run_state.h"
#include "store/status.h"

namespace cli {

namespace {

constexpr const char* kSqliteHeader = "SQLite format 3";  // then a zero byte

constexpr const char* kCountWbs = "SELECT COUNT(*) FROM KOR_WBS";
constexpr const char* kCountNotificationCycles =
    "SELECT COUNT(*) FROM KOR_WORKFLOW_CYCLES WHERE PARENT_ID = 'NOTIFICATION'";
constexpr const char* kInsertNotificationCycle =
    "INSERT INTO KOR_WORKFLOW_CYCLES (ELEMENT_ID, PARENT_ID, ELEMENT_NAME, REC_DATETIME) "
    "VALUES ('LEVELER_NOTIFY', 'NOTIFICATION', 'Levelling notifications', SYSTIMESTAMP())";

// Project rows of KOR_WBS carry one of these types.
constexpr const char* kSelectProjectById =
    "SELECT ELEMENT_ID, ELEMENT_NAME FROM KOR_WBS WHERE ELEMENT_ID = ? "
    "AND TYPE_ID IN (1,154,288,289,290)";
constexpr const char* kSelectWbsTypeById = "SELECT TYPE_ID FROM KOR_WBS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectFolderById =
    "SELECT ELEMENT_ID, ELEMENT_NAME FROM KOR_PORTFOLIOS WHERE ELEMENT_ID = ? "
    "AND TYPE_ID NOT IN (1,154,288,289,290)";
constexpr const char* kSelectProjectsByName =
    "SELECT ELEMENT_ID, ELEMENT_NAME FROM KOR_WBS WHERE ELEMENT_NAME = ? "
    "AND TYPE_ID IN (1,154,288,289,290) ORDER BY ELEMENT_ID";
constexpr const char* kSelectFoldersByName =
    "SELECT ELEMENT_ID, ELEMENT_NAME FROM KOR_PORTFOLIOS WHERE ELEMENT_NAME = ? "
    "AND TYPE_ID NOT IN (1,154,288,289,290) ORDER BY ELEMENT_ID";

// "" when the file starts like a SQLite database, else what is wrong.
std::string checkSqliteHeader(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "cannot read '" + path + "': " + std::strerror(errno);
  char head[16] = {};
  in.read(head, sizeof head);
  if (in.gcount() < 16 || std::memcmp(head, kSqliteHeader, 16) != 0) {
    return "'" + path + "' is not a SQLite database";
  }
  return "";
}

std::string storeMessage(const db::SqlStatus& status) {
  return std::string(status.message) + " (status " + std::to_string(status.code) + ")";
}

int32_t ensureNotificationCycle(db::Store& store) {
  int32_t n = 0;
  int16_t ind = 0;
  int32_t rc = store.selectInto(kCountNotificationCycles, {}, {db::HostVar(n, &ind)});
  if (rc != 0) return rc < 0 ? rc : -1;
  if (n > 0) return 0;
  rc = store.execute(kInsertNotificationCycle);
  if (rc != 0) {
    // Two programs opening a fresh server database at the same moment both
    // find the row missing and both insert it; the later insert fails on
    // the key. The row is there then, which is all that is needed.
    const db::SqlStatus failed = store.status();
    if (store.selectInto(kCountNotificationCycles, {}, {db::HostVar(n, &ind)}) == 0 && n > 0) {
      return 0;
    }
    store.status() = failed;
    return rc;
  }
  return commit(store);
}

// Every (id, name) row of a two-column query with one text input.
int32_t collect(db::Store& store, const char* sql, const std::string& in,
                std::vector<Element>& out, bool folder) {
  db::Cursor cursor(store);
  int32_t rc = cursor.open(sql, {in});
  if (rc < 0) return rc;
  db::IdText id;
  db::NameText name;
  int16_t idInd = 0, nameInd = 0;
  while ((rc = cursor.fetch({db::HostVar(id, &idInd), db::HostVar(name, &nameInd)})) == 0) {
    out.push_back({std::string(id.view()), nameInd < 0 ? "" : std::string(name.view()), folder});
  }
  cursor.close();
  return rc < 0 ? rc : 0;
}

bool allDigits(const std::string& s, size_t from, size_t count) {
  if (from + count > s.size()) return false;
  for (size_t i = from; i < from + count; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(s[i]))) return false;
  }
  return true;
}

int number(const std::string& s, size_t from, size_t count) {
  return std::atoi(s.substr(from, count).c_str());
}

bool leapYear(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int daysInMonth(int y, int m) {
  static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && leapYear(y) ? 29 : kDays[m - 1];
}

// True when the opened database holds the application's tables; makes sure
// the notification cycle row the runs need is there.
bool readyForRuns(db::Store& store, const std::string& target, std::string& error) {
  int64_t rows = 0;
  int16_t ind = 0;
  if (store.selectInto(kCountWbs, {}, {db::HostVar(rows, &ind)}) < 0) {
    error = "'" + target + "' is not a leveler database (no KOR_WBS table; create one with "
            "leveler init)";
    return false;
  }
  if (ensureNotificationCycle(store) != 0) {
    error = "cannot prepare '" + target + "': " + storeMessage(store.status());
    return false;
  }
  return true;
}

// A database on a PostgreSQL server: the server says whether it exists.
// `create` (init, demo, import) creates the schema on an empty database.
std::unique_ptr<db::Store> openServerDatabase(const std::string& target, bool create,
                                              std::string& error) {
  host::PostgresOptions options;
  options.createSchema = create;
  db::SqlStatus failure;
  std::unique_ptr<host::PostgresStore> store = host::PostgresStore::open(target, options, &failure);
  if (store == nullptr) {
    error = "cannot open '" + target + "': " + storeMessage(failure);
    return nullptr;
  }
  if (!readyForRuns(*store, target, error)) return nullptr;
  return store;
}

}  // namespace

std::unique_ptr<db::Store> openDatabase(const std::string& target, bool create,
                                        std::string& error) {
  error.clear();
  if (target.empty()) {
    error = "no database given";
    return nullptr;
  }
  if (host::isPostgresTarget(target)) return openServerDatabase(target, create, error);
  struct stat st {};
  const bool exists = ::stat(target.c_str(), &st) == 0;
  if (!exists && !create) {
    error = "no database file '" + target + "'";
    return nullptr;
  }
  if (exists && S_ISDIR(st.st_mode)) {
    error = "'" + target + "' is a directory, not a database file";
    return nullptr;
  }
  if (exists && (st.st_size > 0 || !create)) {
    if (st.st_size == 0) {
      error = "'" + target + "' is empty, not a leveler database (create one with leveler init)";
      return nullptr;
    }
    error = checkSqliteHeader(target);
    if (!error.empty()) return nullptr;
  }
  host::SqliteOptions options;
  // Only a new (or empty) file gets the schema: tables are never added to a
  // database of another application.
  options.createSchema = create && (!exists || st.st_size == 0);
  db::SqlStatus failure;
  std::unique_ptr<host::SqliteStore> store = host::SqliteStore::open(target, options, &failure);
  if (store == nullptr) {
    error = "cannot open '" + target + "': " + storeMessage(failure);
    return nullptr;
  }
  if (!readyForRuns(*store, target, error)) return nullptr;
  return store;
}

int32_t commit(db::Store& store) {
  int32_t result = 0;
  db::HostVar resultVar(result);
  return store.call("LEVEL_COMMIT", {}, &resultVar);
}

void printError(const std::string& command, const std::string& message) {
  std::fprintf(stderr, "leveler %s: %s\n", command.c_str(), message.c_str());
  std::fflush(stderr);
}

int32_t resolveElement(db::Store& store, const std::string& given, Element& out,
                       std::string& error) {
  error.clear();
  auto failed = [&](int32_t rc) {
    error = "database failure while looking up '" + given + "': " + storeMessage(store.status());
    return rc;
  };
  std::vector<Element> found;
  // An identifier is at most 32 characters: a longer text can only be a name.
  if (given.size() < static_cast<size_t>(run::kIdSize)) {
    db::IdText id;
    db::NameText name;
    int16_t idInd = 0, nameInd = 0;
    int32_t rc = store.selectInto(kSelectProjectById, {given},
                                  {db::HostVar(id, &idInd), db::HostVar(name, &nameInd)});
    if (rc < 0) return failed(rc);
    if (rc == 0) {
      out = {std::string(id.view()), nameInd < 0 ? "" : std::string(name.view()), false};
      return 0;
    }
    rc = store.selectInto(kSelectFolderById, {given},
                          {db::HostVar(id, &idInd), db::HostVar(name, &nameInd)});
    if (rc < 0) return failed(rc);
    if (rc == 0) {
      out = {std::string(id.view()), nameInd < 0 ? "" : std::string(name.view()), true};
      return 0;
    }
    int32_t type = 0;
    int16_t typeInd = 0;
    rc = store.selectInto(kSelectWbsTypeById, {given}, {db::HostVar(type, &typeInd)});
    if (rc < 0) return failed(rc);
    if (rc == 0) {
      error = "'" + given + "' is a task or container, not a project or portfolio folder";
      return 1;
    }
  }
  if (given.size() < 256) {
    int32_t rc = collect(store, kSelectProjectsByName, given, found, false);
    if (rc < 0) return failed(rc);
    rc = collect(store, kSelectFoldersByName, given, found, true);
    if (rc < 0) return failed(rc);
  }
  if (found.size() == 1) {
    out = found.front();
    return 0;
  }
  if (found.empty()) {
    error = "unknown element '" + given + "': no project or portfolio folder has this "
            "identifier or name";
    return 1;
  }
  std::string ids;
  for (const Element& e : found) ids += (ids.empty() ? "" : ", ") + e.id;
  error = "the name '" + given + "' is ambiguous (" + ids + "): give the identifier";
  return 1;
}

bool parseAsOf(const std::string& text, std::string& stamp) {
  // YYYY-MM-DD
  if (!allDigits(text, 0, 4) || text.size() < 10 || text[4] != '-' || !allDigits(text, 5, 2) ||
      text[7] != '-' || !allDigits(text, 8, 2)) {
    return false;
  }
  const int y = number(text, 0, 4), m = number(text, 5, 2), d = number(text, 8, 2);
  if (y < 1900 || m < 1 || m > 12 || d < 1 || d > daysInMonth(y, m)) return false;
  int hh = 0, mm = 0, ss = 0;
  std::string fraction = "000000";
  if (text.size() > 10) {
    // " HH:MM:SS" with an optional ".f" to ".ffffff"
    if (text.size() < 19 || text[10] != ' ' || !allDigits(text, 11, 2) || text[13] != ':' ||
        !allDigits(text, 14, 2) || text[16] != ':' || !allDigits(text, 17, 2)) {
      return false;
    }
    hh = number(text, 11, 2);
    mm = number(text, 14, 2);
    ss = number(text, 17, 2);
    if (hh > 23 || mm > 59 || ss > 59) return false;
    if (text.size() > 19) {
      const size_t digits = text.size() - 20;
      if (text[19] != '.' || digits < 1 || digits > 6 || !allDigits(text, 20, digits)) {
        return false;
      }
      fraction = text.substr(20) + std::string(6 - digits, '0');
    }
  }
  char buf[96];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.", y, m, d, hh, mm, ss);
  stamp = buf + fraction;
  return true;
}

std::string nowStamp() {
  const std::time_t t = std::time(nullptr);
  std::tm local {};
  localtime_r(&t, &local);
  char buf[40];
  std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S.000000", &local);
  return buf;
}

std::string loginName() {
  if (const char* name = ::getlogin(); name != nullptr && name[0] != '\0') return name;
  if (const passwd* pw = ::getpwuid(::geteuid()); pw != nullptr && pw->pw_name != nullptr &&
                                                  pw->pw_name[0] != '\0') {
    return pw->pw_name;
  }
  if (const char* user = std::getenv("USER"); user != nullptr && user[0] != '\0') return user;
  return "leveler";
}

std::string resultMeaning(int code) {
  switch (code) {
    case 0: return "success";
    case run::kErrNotExisting: return "the element does not exist";
    case run::kErrLocked: return "a selected project is locked for levelling";
    case run::kErrEmptyProjectList: return "empty project list (inconsistent data)";
    case run::kErrCopyProjectMissing: return "a selected project is missing (copy)";
    case run::kErrCircular: return "circular dependencies were found";
    case run::kErrImportExportLock: return "a sub-element is locked by import/export";
    case run::kErrNeverCalculated: return "copy requested for a project never calculated";
    case run::kErrEmptyPortfolio: return "the portfolio is empty";
    case run::kErrTemplated: return "the element contains templated items";
    case run::kErrException: return "the run stopped on an exception";
    default: break;
  }
  if (code < 0) return "database failure (status " + std::to_string(code) + ")";
  return "unknown result code";
}

int runKindOf(const std::string& command) {
  if (command == "level") return 0;
  if (command == "copy") return 2;
  if (command == "calculate") return 3;
  if (command == "whatif") return 4;
  if (command == "copy-whatif") return 6;
  return -1;
}

std::string lastRunName(int lastCallOption) {
  switch (lastCallOption) {
    case 0: return "never";
    case 1: return "level";
    case 2: return "copy";
    case 3: return "calculate";
    case 4: return "whatif";
    case 6: return "copy-whatif";
    default: return "kind " + std::to_string(lastCallOption);
  }
}

}  // namespace cli
