// SQL helper functions, each against values worked out by hand.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/scratch_db.h"

namespace {

class SqlFunctions : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = scratch_.open();
    ASSERT_NE(store_, nullptr);
  }
  std::string text(const std::string& sql, db::Binds in = {}) {
    db::MessageText out;
    int16_t ind = 0;
    EXPECT_EQ(0, store_->selectInto(sql, in, {db::HostVar(out, &ind)})) << sql << ": "
                                                                         << store_->status().message;
    return ind < 0 ? "<null>" : std::string(out.view());
  }
  int64_t number(const std::string& sql, db::Binds in = {}) {
    int64_t out = 0;
    int16_t ind = 0;
    EXPECT_EQ(0, store_->selectInto(sql, in, {db::HostVar(out, &ind)})) << sql << ": "
                                                                         << store_->status().message;
    return ind < 0 ? -999999 : out;
  }

  scratch::ScratchDb scratch_;
  std::unique_ptr<host::SqliteStore> store_;
};

TEST_F(SqlFunctions, Db2TimestampNormalisesEveryAcceptedForm) {
  EXPECT_EQ("2004-01-01 00:00:00.000000", text("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-01-01')"));
  EXPECT_EQ("2004-01-01 08:30:00.500000",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-01-01-08.30.00.5')"));
  EXPECT_EQ("2004-02-29 17:05:00.000000",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-02-29 17:05')"));
  EXPECT_EQ("1899-12-30 08:00:00.000000",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP(?)", {"1899-12-30 08:00:00.000000"}));
  EXPECT_EQ("2004-01-01 12:34:56.123456",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-01-01 12:34:56.1234567')"));
  // Day and time apart: the earliest day of a load table at midnight.
  EXPECT_EQ("2004-03-15 00:00:00.000000",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-03-15', '00:00:00')"));
  EXPECT_EQ("2004-03-15 23:59:59.000000",
            text("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-03-15 08:00:00.000000', '23.59.59')"));
  EXPECT_EQ("<null>", text("SELECT NAV_ORASTD_DB2TIMESTAMP(NULL)"));

  db::StampText out;
  int16_t ind = 0;
  EXPECT_EQ(-1, store_->selectInto("SELECT NAV_ORASTD_DB2TIMESTAMP('2004-13-01')", {},
                                   {db::HostVar(out, &ind)}));
  EXPECT_STREQ("NAV_ORASTD_DB2TIMESTAMP: not a time stamp: '2004-13-01'",
               store_->status().message);
}

TEST_F(SqlFunctions, TimestampDiffIsFirstMinusSecondTruncated) {
  // The age of a lock taken at 07:59:30 when it is 10:00:00: 120 minutes
  // and 30 seconds, so 120.
  EXPECT_EQ(120, number("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(4, NAV_ORASTD_DB2TIMESTAMP(?), "
                        "NAV_ORASTD_DB2TIMESTAMP(?))",
                        {"2004-01-01 10:00:00.000000", "2004-01-01 07:59:30.000000"}));
  EXPECT_EQ(-120, number("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(4, '2004-01-01 07:59:30', "
                         "'2004-01-01 10:00:00')"));
  // Over the leap day of 2004: two days.
  EXPECT_EQ(2 * 1440, number("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(4, '2004-03-01', '2004-02-28')"));
  EXPECT_EQ(2, number("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(16, '2004-03-01 12:00', '2004-02-28')"));
  EXPECT_EQ(7230, number("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(2, '2004-01-01 02:00:30', "
                         "'2004-01-01')"));
  EXPECT_EQ(1, number("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(32, '2004-01-14', '2004-01-01')"));

  int64_t out = 0;
  int16_t ind = 0;
  EXPECT_EQ(-1, store_->selectInto("SELECT NAV_ORASTD_DB2TIMESTAMPDIFF(64, '2004-01-01', "
                                   "'2004-01-01')",
                                   {}, {db::HostVar(out, &ind)}));
}

TEST_F(SqlFunctions, JulianDayCountsGregorianDays) {
  EXPECT_EQ(2451545, number("SELECT NAV_ORASTD_JULIAN_DAY('2000-01-01')"));
  EXPECT_EQ(2451545, number("SELECT NAV_ORASTD_JULIAN_DAY('2000-01-01 23:59:59.999999')"));
  EXPECT_EQ(2451604, number("SELECT NAV_ORASTD_JULIAN_DAY('2000-02-29')"));
  EXPECT_EQ(2415019, number("SELECT NAV_ORASTD_JULIAN_DAY('1899-12-30 08:00:00.000000')"));
  // A lead of 960 minutes on an 480-minute day moves two days back.
  EXPECT_EQ(1, number("SELECT (NAV_ORASTD_JULIAN_DAY('2004-01-10') + ((-960) * ((1 * 2) - 1)) / 480)"
                      " < NAV_ORASTD_JULIAN_DAY('2004-01-09')"));
}

TEST_F(SqlFunctions, BitOperationsAndTheirNulls) {
  EXPECT_EQ(7, number("SELECT NAV_STPU_BIT_OR(5, 3)"));
  EXPECT_EQ(33554432 | 131072, number("SELECT NAV_STPU_BIT_OR(131072, 33554432)"));
  EXPECT_EQ(33554432, number("SELECT NAV_STPU_BIT_OR(NULL, 33554432)"));  // never set before
  EXPECT_EQ(2, number("SELECT BITAND(6, 3)"));
  EXPECT_EQ(0, number("SELECT BITAND(4, 3)"));
  EXPECT_EQ(-999999, number("SELECT BITAND(NULL, 3)"));
}

TEST_F(SqlFunctions, SystimestampIsNowOrTheFixedTime) {
  const std::string now = text("SELECT SYSTIMESTAMP()");
  const std::string shape = "dddd-dd-dd dd:dd:dd.dddddd";
  ASSERT_EQ(shape.size(), now.size()) << now;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    if (shape[i] == 'd') {
      EXPECT_TRUE(now[i] >= '0' && now[i] <= '9') << now;
    } else {
      EXPECT_EQ(shape[i], now[i]) << now;
    }
  }
  store_->setFixedTime("2004-01-01 08:00:00.000000");
  EXPECT_EQ("2004-01-01 08:00:00.000000", text("SELECT SYSTIMESTAMP()"));
  store_->setFixedTime("");
  EXPECT_NE("2004-01-01 08:00:00.000000", text("SELECT SYSTIMESTAMP()"));
}

}  // namespace
