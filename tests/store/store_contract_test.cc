// The store's contract, worked on a real database (the SQLite backend in a
// scratch file): statuses, messages and the error line, nulls both ways,
// values longer than their host variables, numbers, cursors, single-row
// selects and bind counts.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "host/scratch_db.h"
#include "store/store.h"

namespace {

constexpr const char* kInsertItem =
    "INSERT INTO KOR_WBS (ELEMENT_ID, PROJECT_ID, ELEMENT_NAME, RANK, PRIORITY) "
    "VALUES (?, ?, ?, ?, ?)";
constexpr const char* kSelectName = "SELECT ELEMENT_NAME FROM KOR_WBS WHERE ELEMENT_ID = ?";
constexpr const char* kSelectRank = "SELECT RANK FROM KOR_WBS WHERE ELEMENT_ID = ?";

class StoreContract : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = scratch_.open();
    ASSERT_NE(store_, nullptr);
  }
  void insertItem(const char* id, const std::string& name, const char* rank, int32_t priority) {
    ASSERT_EQ(0, store_->execute(kInsertItem, {id, "P1", name, rank, priority}))
        << store_->status().message;
  }

  scratch::ScratchDb scratch_;
  std::unique_ptr<host::SqliteStore> store_;
};

TEST_F(StoreContract, NoRowIs100ForASelectAndAtTheEndOfACursor) {
  db::RankText rank;
  int16_t ind = 0;
  EXPECT_EQ(db::kSqlNoData, store_->selectInto(kSelectRank, {"T404"}, {db::HostVar(rank, &ind)}));
  EXPECT_EQ(db::kSqlNoData, store_->status().code);
  EXPECT_STREQ("no data found", store_->status().message);

  db::Cursor cursor(*store_);
  ASSERT_EQ(0, cursor.open("SELECT RANK FROM KOR_WBS WHERE PROJECT_ID = ?", {"P404"}));
  EXPECT_EQ(db::kSqlNoData, cursor.fetch({db::HostVar(rank, &ind)}));
  EXPECT_EQ(db::kSqlNoData, cursor.fetch({db::HostVar(rank, &ind)}));  // and stays there
  EXPECT_EQ(0, cursor.close());
  EXPECT_EQ(db::kSqlCursorNotOpen, cursor.fetch({db::HostVar(rank, &ind)}));
}

TEST_F(StoreContract, AFailureGivesItsStatusMessageAndErrorLineAndNoStaleMessageAfter) {
  db::RankText rank;
  int16_t ind = 0;
  const int32_t rc =
      store_->selectInto("SELECT RANK FROM NO_SUCH_TABLE WHERE ELEMENT_ID = ?", {"T1"},
                         {db::HostVar(rank, &ind)});
  EXPECT_EQ(-1, rc);  // SQLite's plain error
  EXPECT_STREQ("no such table: NO_SUCH_TABLE", store_->status().message);

  FILE* log = std::tmpfile();
  ASSERT_NE(log, nullptr);
  db::printDbError(log, 3, "Lev_resolveDepOracleDB", "doReadExternalProjectDB",
                   store_->status(), 1234);
  EXPECT_EQ(
      "\n\n****** error (3) in Lev_resolveDepOracleDB (doReadExternalProjectDB): "
      "SC_STATE = -1 (no such table: NO_SUCH_TABLE) LineNum = 1234 \n\n",
      scratch::readAll(log));
  std::fclose(log);
  EXPECT_EQ('\0', store_->status().message[0]);  // cleared by the print

  // A later failure shows only its own text; a success shows none.
  insertItem("T1", "one", "0001", 1);
  EXPECT_EQ(-1555, store_->execute(kInsertItem, {"T1", "P1", "again", "0001", 1}));  // primary key
  EXPECT_STREQ("UNIQUE constraint failed: KOR_WBS.ELEMENT_ID", store_->status().message);
  EXPECT_EQ(0, store_->selectInto(kSelectRank, {"T1"}, {db::HostVar(rank, &ind)}));
  EXPECT_STREQ("", store_->status().message);
  // The failed insert undid nothing before it.
  EXPECT_STREQ("0001", rank.c_str());
}

TEST_F(StoreContract, AMessageIsCutToSeventyCharacters) {
  const std::string table(90, 'X');
  EXPECT_LT(store_->execute("DELETE FROM " + table), 0);
  const std::string expected = ("no such table: " + table).substr(0, 70);
  EXPECT_EQ(expected, store_->status().message);
  EXPECT_EQ(70u, std::strlen(store_->status().message));
}

TEST_F(StoreContract, NullIndicatorsBothWays) {
  // In: an indicator below 0 stores null, whatever the host variable holds.
  db::NameText name;
  name.assign("ignored");
  ASSERT_EQ(0, store_->execute(kInsertItem, {"T1", "P1", db::In(name, -1), "0001", db::In(7, -1)}));
  int32_t nulls = 0;
  ASSERT_EQ(0, store_->selectInto("SELECT COUNT(*) FROM KOR_WBS WHERE ELEMENT_NAME IS NULL "
                                  "AND PRIORITY IS NULL",
                                  {}, {nulls}));
  EXPECT_EQ(1, nulls);

  // Out: a null sets the indicator to -1 and leaves an empty text and 0.
  db::NameText fetchedName;
  fetchedName.assign("old text");
  int32_t priority = 99;
  db::RankText rank;
  int16_t nameInd = 0, priorityInd = 0, rankInd = -5;
  ASSERT_EQ(0, store_->selectInto(
                   "SELECT ELEMENT_NAME, PRIORITY, RANK FROM KOR_WBS WHERE ELEMENT_ID = ?",
                   {"T1"},
                   {db::HostVar(fetchedName, &nameInd), db::HostVar(priority, &priorityInd),
                    db::HostVar(rank, &rankInd)}));
  EXPECT_EQ(-1, nameInd);
  EXPECT_EQ(0, fetchedName.len);
  EXPECT_STREQ("", fetchedName.c_str());
  EXPECT_EQ(-1, priorityInd);
  EXPECT_EQ(0, priority);
  EXPECT_EQ(0, rankInd);  // a value present
  EXPECT_STREQ("0001", rank.c_str());

  // Without an indicator a null is the status -1405; the rest of the row
  // is still filled.
  rank.assign("");
  EXPECT_EQ(db::kSqlNullWithoutIndicator,
            store_->selectInto("SELECT ELEMENT_NAME, RANK FROM KOR_WBS WHERE ELEMENT_ID = ?",
                               {"T1"}, {fetchedName, rank}));
  EXPECT_STREQ("column 1: fetched value is NULL", store_->status().message);
  EXPECT_STREQ("0001", rank.c_str());

  // A null pointer as input is null too; an empty text is an empty text.
  const char* noName = nullptr;
  ASSERT_EQ(0, store_->execute(kInsertItem, {"T2", "P1", noName, "", 1}));
  int32_t emptyRanks = 0;
  ASSERT_EQ(0, store_->selectInto("SELECT COUNT(*) FROM KOR_WBS WHERE ELEMENT_NAME IS NULL "
                                  "AND RANK = ''",
                                  {}, {emptyRanks}));
  EXPECT_EQ(1, emptyRanks);
}

// Storage that ends exactly where its allocation ends, so that AddressSanitizer
// reports any byte written past it; a guard after the array catches the same
// without the sanitizer.
template <std::size_t N>
struct Guarded {
  char bytes[N];
  char guard[8];
};

TEST_F(StoreContract, FetchedValuesLongerThanTheirHostVariablesAreCutNeverOverrun) {
  const std::string longName(300, 'n');
  insertItem("T1", longName, "0001", 1);

  auto name = std::make_unique<db::NameText>();  // 2 + 256 bytes, no padding
  int16_t ind = 0;
  ASSERT_EQ(0, store_->selectInto(kSelectName, {"T1"}, {db::HostVar(*name, &ind)}));
  EXPECT_EQ(255, name->len);
  EXPECT_EQ(std::string(255, 'n'), name->c_str());
  EXPECT_EQ(300, ind);  // a value, cut: the indicator holds its full length

  auto flag = std::make_unique<db::FlagText>();  // 2 + 2 bytes
  ASSERT_EQ(0, store_->selectInto(kSelectName, {"T1"}, {db::HostVar(*flag, &ind)}));
  EXPECT_STREQ("n", flag->c_str());
  EXPECT_EQ(300, ind);

  auto day = std::make_unique<char[]>(11);
  char(&dayArray)[11] = *reinterpret_cast<char(*)[11]>(day.get());
  ASSERT_EQ(0, store_->selectInto(kSelectName, {"T1"}, {db::HostVar(dayArray, &ind)}));
  EXPECT_EQ(std::string(10, 'n'), day.get());

  Guarded<27> stamp;
  std::memset(stamp.guard, 'G', sizeof stamp.guard);
  ASSERT_EQ(0, store_->selectInto(kSelectName, {"T1"}, {db::HostVar(stamp.bytes, &ind)}));
  EXPECT_EQ(26u, std::strlen(stamp.bytes));
  EXPECT_EQ(std::string(8, 'G'), std::string(stamp.guard, 8));

  // A value that fits exactly is whole, with indicator 0.
  insertItem("T2", std::string(255, 'w'), "0002", 1);
  ASSERT_EQ(0, store_->selectInto(kSelectName, {"T2"}, {db::HostVar(*name, &ind)}));
  EXPECT_EQ(255, name->len);
  EXPECT_EQ(0, ind);
}

TEST_F(StoreContract, InputsLongerThanTheirHostVariablesAreRefusedBeforeExecution) {
  // A counted string whose len claims more than its storage holds.
  auto id = std::make_unique<db::NameText>();
  std::memset(id->arr, 'x', sizeof id->arr);
  id->len = 256;
  EXPECT_EQ(db::kSqlInputTooLong, store_->execute(kInsertItem, {*id, "P1", "name", "0001", 1}));
  EXPECT_STREQ("input 1 is longer than its host variable", store_->status().message);

  // A character array without a terminator.
  Guarded<4> rank;
  std::memcpy(rank.bytes, "ABCD", 4);
  std::memset(rank.guard, 'Z', sizeof rank.guard);
  EXPECT_EQ(db::kSqlInputTooLong, store_->execute(kInsertItem, {"T1", "P1", "name", rank.bytes, 1}));

  int32_t rows = -1;
  ASSERT_EQ(0, store_->selectInto("SELECT COUNT(*) FROM KOR_WBS", {}, {rows}));
  EXPECT_EQ(0, rows);  // nothing was executed

  // Full to capacity is still whole.
  db::NameText full;
  full.assign(std::string(300, 'f'));
  EXPECT_EQ(255, full.len);
  ASSERT_EQ(0, store_->execute(kInsertItem, {"T1", "P1", full, "0001", 1}));
  db::NameText back;
  int16_t ind = 0;
  ASSERT_EQ(0, store_->selectInto(kSelectName, {"T1"}, {db::HostVar(back, &ind)}));
  EXPECT_EQ(full.view(), back.view());
}

TEST_F(StoreContract, NumbersAreTruncatedCheckedAndConvertedFromText) {
  int32_t n = 0;
  int16_t ind = 0;
  db::HostVar number(n, &ind);
  ASSERT_EQ(0, store_->selectInto("SELECT ' 42 '", {}, {number}));
  EXPECT_EQ(42, n);
  ASSERT_EQ(0, store_->selectInto("SELECT 4.7", {}, {number}));
  EXPECT_EQ(4, n);
  ASSERT_EQ(0, store_->selectInto("SELECT -4.7", {}, {number}));
  EXPECT_EQ(-4, n);
  EXPECT_EQ(db::kSqlNumberOverflow, store_->selectInto("SELECT 3000000000", {}, {number}));
  EXPECT_EQ(db::kSqlInvalidNumber, store_->selectInto("SELECT 'abc'", {}, {number}));
  EXPECT_STREQ("column 1: value is not a number", store_->status().message);

  int64_t wide = 0;
  ASSERT_EQ(0, store_->selectInto("SELECT 3000000000", {}, {wide}));
  EXPECT_EQ(3000000000LL, wide);

  db::IdText text;
  ASSERT_EQ(0, store_->selectInto("SELECT ?", {int64_t{-1234567}}, {text}));
  EXPECT_STREQ("-1234567", text.c_str());

  double real = 0;
  ASSERT_EQ(0, store_->selectInto("SELECT ? * 2", {0.25}, {real}));
  EXPECT_DOUBLE_EQ(0.5, real);
}

TEST_F(StoreContract, ACursorReadsItsInputsAtOpenAndWalksTheRowsInOrder) {
  insertItem("T3", "three", "0003", 3);
  insertItem("T1", "one", "0001", 1);
  insertItem("T2", "two", "0002", 2);

  db::IdText project;
  project.assign("P1");
  db::Cursor cursor(*store_);
  ASSERT_EQ(0, cursor.open("SELECT ELEMENT_ID, PRIORITY FROM KOR_WBS WHERE PROJECT_ID = ? "
                           "ORDER BY RANK",
                           {project}));
  project.assign("P2");  // too late to change the rows

  db::IdText id;
  int32_t priority = 0;
  std::string seen;
  int32_t rc;
  while ((rc = cursor.fetch({id, priority})) == 0) {
    seen += id.view();
    seen += "=" + std::to_string(priority) + " ";
    EXPECT_EQ(static_cast<int64_t>(priority), store_->status().rows);
  }
  EXPECT_EQ(db::kSqlNoData, rc);
  EXPECT_EQ("T1=1 T2=2 T3=3 ", seen);

  // Open again (on an open cursor: closed first) with other inputs.
  ASSERT_EQ(0, cursor.open("SELECT ELEMENT_ID FROM KOR_WBS WHERE PRIORITY >= ? ORDER BY RANK",
                           {3}));
  ASSERT_EQ(0, cursor.open("SELECT ELEMENT_ID FROM KOR_WBS WHERE PRIORITY >= ? ORDER BY RANK",
                           {2}));
  ASSERT_EQ(0, cursor.fetch({id}));
  EXPECT_STREQ("T2", id.c_str());
}

TEST_F(StoreContract, OneRowSelectsAndBindCountsAreChecked) {
  insertItem("T1", "one", "0001", 1);
  insertItem("T2", "two", "0002", 2);

  db::IdText id;
  EXPECT_EQ(db::kSqlTooManyRows,
            store_->selectInto("SELECT ELEMENT_ID FROM KOR_WBS ORDER BY RANK", {}, {id}));
  EXPECT_STREQ("T1", id.c_str());  // the first row

  EXPECT_EQ(db::kSqlBindMismatch,
            store_->selectInto("SELECT ELEMENT_ID FROM KOR_WBS WHERE RANK = ? AND PRIORITY = ?",
                               {"0001"}, {id}));
  EXPECT_STREQ("statement has 2 placeholders, 1 inputs bound", store_->status().message);
  EXPECT_EQ(db::kSqlBindMismatch,
            store_->selectInto("SELECT ELEMENT_ID, RANK FROM KOR_WBS WHERE RANK = ?", {"0001"},
                               {id}));
  EXPECT_EQ(db::kSqlBindMismatch,
            store_->execute("DELETE FROM KOR_WBS; DELETE FROM DEPENDENCIES"));

  // Changes count rows; touching none is still a success.
  EXPECT_EQ(0, store_->execute("UPDATE KOR_WBS SET PRIORITY = PRIORITY + 1"));
  EXPECT_EQ(2, store_->status().rows);
  EXPECT_EQ(0, store_->execute("UPDATE KOR_WBS SET PRIORITY = 0 WHERE ELEMENT_ID = ?", {"T9"}));
  EXPECT_EQ(0, store_->status().rows);
}

TEST_F(StoreContract, TheRunsStoreIsBoundPerThreadAndBindingsNest) {
  EXPECT_EQ(nullptr, db::currentStore());
  {
    db::StoreBinding outer(*store_);
    EXPECT_EQ(store_.get(), db::currentStore());
    auto other = scratch_.open({.writeLockAtBegin = false});
    {
      db::StoreBinding inner(*other);
      EXPECT_EQ(other.get(), db::currentStore());
    }
    EXPECT_EQ(store_.get(), db::currentStore());
  }
  EXPECT_EQ(nullptr, db::currentStore());
}

}  // namespace
