// Sequence identifiers against a real database.
#include "store/sequence_ids.h"

#include <gtest/gtest.h>

#include <string>

#include "calendar/project.h"
#include "support/test_db.h"

TEST(SequenceIds, IssuedFoundAndTranslatedBack) {
  testing::TestDb db;
  storage_manager_type* sm = smanagerCreateNew();
  char uid[SEQ_UID_SIZE];
  int succeed = -1;

  // The first id of a run is 0000000; asking again for the same element
  // gives the same id and no second row.
  ASSERT_EQ(doFindCreateActSeqUid("ELEMENT-A", 2, uid, sm, 1, &succeed, nullptr), 0);
  EXPECT_EQ(succeed, 1);
  EXPECT_STREQ(uid, "0000000");
  ASSERT_EQ(doFindCreateActSeqUid("ELEMENT-A", 2, uid, sm, 1, &succeed, nullptr), 0);
  EXPECT_STREQ(uid, "0000000");
  EXPECT_EQ(db.scalar("select count(*) from Lev_act_uids where ELEMENT_ID='ELEMENT-A'"), 1);

  // Another type is another id; without create mode nothing is made.
  char other[SEQ_UID_SIZE] = "unchanged";
  ASSERT_EQ(doFindCreateActSeqUid("ELEMENT-A", 1, other, sm, 0, &succeed, nullptr), 0);
  EXPECT_EQ(succeed, 0);
  EXPECT_STREQ(other, "unchanged");
  for (int i = 1; i <= 9; ++i) {
    doCreateNewEntryActSeqUid(("E" + std::to_string(i)).c_str(), 2, uid, sm, nullptr);
  }
  ASSERT_EQ(doFindCreateActSeqUid("ELEMENT-B", 2, uid, sm, 1, &succeed, nullptr), 0);
  EXPECT_STREQ(uid, "0000010");  // the eleventh

  // Resources count on their own.
  ASSERT_EQ(doFindCreateResSeqUid("RES-1", 0, uid, sm, 1, &succeed, nullptr), 0);
  EXPECT_STREQ(uid, "0000000");
  ASSERT_EQ(doFindCreateResSeqUid("RES-1", 0, uid, sm, 1, &succeed, nullptr), 0);
  EXPECT_STREQ(uid, "0000000");
  EXPECT_EQ(db.scalar("select count(*) from Lev_res_uids"), 1);

  char element[SEQ_UID_SIZE];
  EXPECT_EQ(doTransSeqUidBackToActElemId("0000010", 2, element, nullptr), 0);
  EXPECT_STREQ(element, "ELEMENT-B");
  EXPECT_EQ(doTransSeqUidBackToActElemId("0000777", 2, element, nullptr), SEQ_UID_UNKNOWN);
  EXPECT_STREQ(element, " ");

  // The last id is 0999999; after it no id is issued and nothing recorded.
  sm->next_act_uid = 999998;
  char* last = smanagerGimeNextActSeqUid(sm);
  EXPECT_STREQ(last, "0999999");
  delete[] last;
  ASSERT_EQ(doFindCreateActSeqUid("ELEMENT-C", 2, uid, sm, 1, &succeed, nullptr), 0);
  EXPECT_EQ(succeed, 0);
  EXPECT_EQ(db.scalar("select count(*) from Lev_act_uids where ELEMENT_ID='ELEMENT-C'"), 0);
  char* none = smanagerGimeNextActSeqUid(sm);
  EXPECT_STREQ(none, "");
  delete[] none;

  char digits[12];
  EXPECT_STREQ(itoa(-42, digits, 10), "-42");
  smanagerDelete(sm);
}
