// Host variables without a database: what an assignment does to the
// storage, the input refusals, and the status message buffer.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "store/host_vars.h"
#include "store/status.h"

namespace {

TEST(HostVars, AssignedTextIsCutToCapacityMinusOneAndTerminated) {
  db::DayText day;
  day.assign("2004-01-01 08:00:00.000000");
  EXPECT_EQ(10, day.len);
  EXPECT_STREQ("2004-01-01", day.c_str());

  char plain[5];
  int16_t ind = 0;
  db::HostVar target(plain, &ind);
  EXPECT_EQ(0, target.setText("abcdefgh"));
  EXPECT_STREQ("abcd", plain);
  EXPECT_EQ(8, ind);
  EXPECT_EQ(0, target.setText("ab"));
  EXPECT_STREQ("ab", plain);
  EXPECT_EQ(0, ind);

  // A value longer than an indicator can count reports the largest count.
  db::MessageText big;
  db::HostVar bigTarget(big, &ind);
  EXPECT_EQ(0, bigTarget.setText(std::string(40000, 'm')));
  EXPECT_EQ(16384, big.len);
  EXPECT_EQ(32767, ind);
}

TEST(HostVars, InputsReadTheirStorageOnlyWithinItsCapacity) {
  db::IdText id;
  id.assign("T1");
  EXPECT_EQ(db::In::Kind::kText, db::In(id).kind());
  EXPECT_EQ("T1", db::In(id).text());
  id.len = 33;  // claims the terminator's byte as text
  EXPECT_EQ(db::In::Kind::kRefused, db::In(id).kind());
  EXPECT_EQ(db::In::Kind::kNull, db::In(id, -1).kind());  // null wins

  char full[3] = {'a', 'b', 'c'};
  EXPECT_EQ(db::In::Kind::kRefused, db::In(full).kind());
  char ok[3] = {'a', 'b', '\0'};
  EXPECT_EQ("ab", db::In(ok).text());
  EXPECT_EQ("literal", db::In("literal").text());
  EXPECT_EQ(db::In::Kind::kInteger, db::In(int32_t{5}).kind());
  EXPECT_EQ(db::In::Kind::kReal, db::In(0.0).kind());

  // The current value of a host variable, its indicator included.
  int32_t n = 12;
  int16_t ind = 0;
  EXPECT_EQ(12, db::In(db::HostVar(n, &ind)).integer());
  ind = -1;
  EXPECT_EQ(db::In::Kind::kNull, db::In(db::HostVar(n, &ind)).kind());
}

TEST(HostVars, StatusMessagesAreCutAtSeventyCharacters) {
  db::SqlStatus status;
  status.set(-1, std::string(100, 'e'));
  EXPECT_EQ(std::string(70, 'e'), status.message);
  status.setf(-2, "%s and %d", std::string(80, 'f').c_str(), 7);
  EXPECT_EQ(std::string(70, 'f'), status.message);
  EXPECT_EQ(-2, status.code);
}

}  // namespace
