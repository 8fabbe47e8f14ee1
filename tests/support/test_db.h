// The test-data builder: a real SQLite database in a temporary file, with
// the schema, a store bound to the test's thread, and a few lines of C++ per
// piece of data, so that a scenario test reads like the situation it tests:
//
//   testing::TestDb db;
//   db.project({.id = "P1", .start = "2024-01-08", .finish = "2024-03-29"})
//     .calendar({.from = "2024-01-01", .to = "2024-12-31",
//                .holidays = {"2024-01-15"}, .shortDays = {{"2024-02-02", 720}}});
//   db.item({.project = "P1", .parent = "P1", .id = "T1", .effort = 960,
//            .start = "2024-01-12 08:00:00.000000"});
//   db.dependency({.pred = "T1", .succ = "T2", .project = "P1", .lag = 60});
//
// The default calendar is the five-day week 08:00-12:00 and 13:00-17:00;
// holidays have no work, a short day works from 08:00 to its end time (noon
// at the latest: 08:00 to the given time; later: the morning, then 13:00 to
// the given time). Days are written to CALENDAR_DAY_OF_YEAR for the whole
// range, one row each; `missing` leaves days out.
//
// Every insert goes through the store; a failing insert fails the test that
// called it (ADD_FAILURE with the statement and the store's message).
#ifndef LEVELER_TESTS_SUPPORT_TEST_DB_H
#define LEVELER_TESTS_SUPPORT_TEST_DB_H

#include <array>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/sqlite_store.h"
#include "store/store.h"

namespace testing {

// One day's working time as 36 bytes, built from (from, to) minute ranges.
using DayBits = std::array<unsigned char, 36>;
DayBits dayBits(std::initializer_list<std::pair<int, int>> ranges);
std::string dayBitsHex(const DayBits& bits);
// 08:00-12:00 and 13:00-17:00.
DayBits standardDay();

struct CalendarData {
  std::string from{};  // YYYY-MM-DD, first day written
  std::string to{};    // last day written
  std::vector<std::string> holidays{};
  std::vector<std::pair<std::string, int>> shortDays{};  // day, end minute
  std::vector<std::string> missing{};                    // days without a row
  // Weekday patterns, index 0 = Sunday .. 6 = Saturday; default Monday to
  // Friday standard, weekend empty.
  std::array<DayBits, 7> week{};
  bool weekGiven = false;
  int minutesPerDay = 480;
};

struct ProjectData {
  std::string id{};
  std::string name{};             // default: the id
  std::string start{};            // YYYY-MM-DD
  std::string finish{};           // YYYY-MM-DD
  int typeId = 1;
  int priority = 500;
  std::string parent{};           // parent project (sub-projects) or empty
  std::string rank{};             // default: the id
};

struct ItemData {
  std::string project{};
  std::string parent{};
  std::string id{};
  int typeId = 3;               // a WBS task
  std::string name{};             // default: the id
  int levelId = 2;
  int priority = 500;
  int effort = 480;             // minutes (PLANNED_EFFORT)
  int durationDays = 1;
  std::string start{};            // time stamp; empty: null
  std::string finish{};           // time stamp; empty: null
  int constraintType = 0;
  std::string constraintDate{};   // time stamp; empty: null
  std::string actualStart{};
  std::string actualFinish{};
  std::map<std::string, std::string> extra{};  // other KOR_WBS columns, as text
};

struct DependencyData {
  std::string pred{};
  std::string succ{};
  std::string predProject{};
  std::string succProject{};      // default: predProject
  int depType = 0;              // as stored: 0 FS, 1 SS, 2 FF, 3 SF
  int lag = 0;                  // minutes; negative: a lead
};

struct AssignmentData {
  std::string project{};
  std::string task{};
  std::string id{};               // TSK_ASSIGNMENT_ID
  std::string resource{};
  int proposedWork = 480;
  int workTodate = 0;
  int unitsMsp = 10000;
  std::map<std::string, std::string> extra{};  // other TASK_ASSIGNMENTS columns
};

struct DayWorkData {
  std::string project{};
  std::string task{};
  std::string assignment{};
  std::string resource{};
  std::string day{};              // YYYY-MM-DD
  int schedMinutes = 0;
  int actualMinutes = 0;
  int actualFlag = 0;
};

class TestDb {
 public:
  // A new database in a temporary file (removed with its WAL files when the
  // builder goes), its store bound to the calling thread. The first form
  // opens the store with deferred transactions, so that after a commit the
  // builder holds no write lock and runs on connections of their own can
  // proceed; the second opens it with the given options (e.g. a procedure
  // registry of the test's own, with fakes of host procedures).
  TestDb();
  explicit TestDb(const host::SqliteOptions& options);
  ~TestDb();
  TestDb(const TestDb&) = delete;
  TestDb& operator=(const TestDb&) = delete;

  host::SqliteStore& store() { return *store_; }
  const std::string& path() const { return path_; }

  // A project: its KOR_WBS row, its PROJECT_DETAILS row; chain .calendar()
  // to give it its calendar (KOR_CALENDARS row under the project's id).
  TestDb& project(const ProjectData& p);
  TestDb& calendar(const CalendarData& c);                     // of the last project
  TestDb& calendarOf(const std::string& id, const CalendarData& c);
  TestDb& baseCalendarException(const std::string& calendarId, const std::string& day,
                                const DayBits& bits);
  TestDb& item(const ItemData& i);
  TestDb& dependency(const DependencyData& d);
  TestDb& assignment(const AssignmentData& a);
  TestDb& dayWork(const DayWorkData& w);

  // Any row: columns and their values as text (an empty optional-like
  // value "NULL" stands for null).
  TestDb& row(const std::string& table, const std::map<std::string, std::string>& values);

  // Commits what was written (as the run's LEVEL_COMMIT would).
  void commit();

  // Count of rows of a query's first column as an integer.
  int64_t scalar(const std::string& sql);

 private:
  void exec(const std::string& sql, db::Binds in);

  std::string path_{};
  std::unique_ptr<host::SqliteStore> store_;
  std::unique_ptr<db::StoreBinding> binding_;
  std::string lastProject_{};
};

}  // namespace testing

#endif
