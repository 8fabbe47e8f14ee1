// FC_SEND_NOTIFY on a real database: one workflow item per run, created by
// the first notification and rewritten by the later ones; the empty-user
// rule; the size rule near the message buffer's end.
#include "store/notification.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "host/scratch_db.h"

namespace {

constexpr const char* kFirstStamp = "2004-01-05 08:00:00.000000";
constexpr const char* kSecondStamp = "2004-01-05 08:05:00.000000";

class Notification : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = scratch_.open();
    ASSERT_NE(store_, nullptr);
    ASSERT_EQ(0, store_->execute("INSERT INTO KOR_WORKFLOW_CYCLES (ELEMENT_ID, PARENT_ID) "
                                 "VALUES ('CYCLE1', 'NOTIFICATION')"));
    store_->setFixedTime(kFirstStamp);
    log_ = std::tmpfile();
    ASSERT_NE(log_, nullptr);
    message_ = std::make_unique<char[]>(16385);  // exactly the caller's buffer
  }
  void TearDown() override { std::fclose(log_); }

  int send(const char* subject, const char* user = "U1") {
    return FC_SEND_NOTIFY(*store_, log_, workflow_, subject, message_.get(), "P1", user, 1);
  }
  void setMessage(const std::string& text) {
    std::memcpy(message_.get(), text.c_str(), text.size() + 1);
  }
  int32_t count(const char* sql) {
    int32_t n = -1;
    EXPECT_EQ(0, store_->selectInto(sql, {}, {n})) << store_->status().message;
    return n;
  }
  std::string text(const char* sql) {
    db::MessageText out;
    int16_t ind = 0;
    EXPECT_EQ(0, store_->selectInto(sql, {workflow_}, {db::HostVar(out, &ind)}))
        << store_->status().message;
    return std::string(out.view());
  }

  scratch::ScratchDb scratch_;
  std::unique_ptr<host::SqliteStore> store_;
  FILE* log_ = nullptr;
  char workflow_[33] = "";
  std::unique_ptr<char[]> message_;
};

TEST_F(Notification, TheFirstCallCreatesTheItemAndLaterCallsRewriteIt) {
  setMessage("Started.");
  ASSERT_EQ(0, send("[Started] Leveling Project 'Bridge'"));
  EXPECT_EQ(32u, std::strlen(workflow_));
  const std::string first = std::string(kFirstStamp) + "\nStarted.";
  EXPECT_EQ(first, message_.get());  // the caller gets the text sent

  EXPECT_EQ(1, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
  EXPECT_EQ("CYCLE1", text("SELECT PARENT_ID FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
  EXPECT_EQ("[Started] Leveling Project 'Bridge'",
            text("SELECT SUBJECT FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
  EXPECT_EQ(first, text("SELECT DESCRIPTION FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
  EXPECT_EQ("P1 U1 1",
            text("SELECT REF_ELEMENT_ID || ' ' || REQUESTER_ID || ' ' || ROOT_TABLE_TYPE "
                 "FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
  EXPECT_EQ("U1 0", text("SELECT USER_ID || ' ' || MARKED_READ FROM WORKFLOW_REPLIES "
                         "WHERE ELEMENT_ID = ?"));

  // The user reads it; the run goes on and reports again.
  ASSERT_EQ(0, store_->execute("UPDATE WORKFLOW_REPLIES SET MARKED_READ = '1'"));
  const std::string id = workflow_;
  store_->setFixedTime(kSecondStamp);
  ASSERT_EQ(0, send("[Finished] Leveling Project 'Bridge'"));
  EXPECT_EQ(id, workflow_);
  const std::string second = std::string(kSecondStamp) + "\n" + first;
  EXPECT_EQ(second, message_.get());
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
  EXPECT_EQ("[Finished] Leveling Project 'Bridge'",
            text("SELECT SUBJECT FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
  EXPECT_EQ(second, text("SELECT DESCRIPTION FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
  EXPECT_EQ("0", text("SELECT MARKED_READ FROM WORKFLOW_REPLIES WHERE ELEMENT_ID = ?"));

  // Each notification ends with a commit (seen from a connection that only
  // reads).
  auto other = scratch_.open({.writeLockAtBegin = false});
  int32_t items = 0;
  ASSERT_EQ(0, other->selectInto("SELECT COUNT(*) FROM KOR_WORKFLOWS WHERE SUBJECT LIKE '[Fin%'",
                                 {}, {items}));
  EXPECT_EQ(1, items);
}

TEST_F(Notification, AnEmptyUserOrElementSendsNothing) {
  setMessage("Started.");
  EXPECT_EQ(0, send("[Started] x", ""));
  EXPECT_EQ(0, FC_SEND_NOTIFY(*store_, log_, workflow_, "[Started] x", message_.get(), "", "U1", 1));
  EXPECT_EQ(
      "\n\n**** error in FC_SEND_NOTIFY !!! element_id= P1 or rec_user=  are empty strings: "
      "workflow_id=  \n\n"
      "\n\n**** error in FC_SEND_NOTIFY !!! element_id=  or rec_user= U1 are empty strings: "
      "workflow_id=  \n\n",
      scratch::readAll(log_));
  EXPECT_STREQ("Started.", message_.get());
  EXPECT_STREQ("", workflow_);
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
}

TEST_F(Notification, ATextNearTheBufferSizeIsReplacedAndOneBeyondItIsNotSent) {
  // The text is the 26-character stamp, a newline and the message.
  setMessage(std::string(16265 - 27, 'a'));
  ASSERT_EQ(0, send("[Started] whole"));
  EXPECT_EQ(16265u, std::strlen(message_.get()));

  setMessage(std::string(16266 - 27, 'b'));
  ASSERT_EQ(0, send("[Started] replaced"));
  EXPECT_STREQ("Detailed information is stored in database.\n", message_.get());
  EXPECT_EQ("Detailed information is stored in database.\n",
            text("SELECT DESCRIPTION FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));

  setMessage(std::string(16335 - 27, 'c'));
  ASSERT_EQ(0, send("[Started] still replaced"));
  EXPECT_STREQ("Detailed information is stored in database.\n", message_.get());

  for (std::size_t length : {std::size_t{16336 - 27}, std::size_t{16384}}) {
    const std::string tooLong(length, 'd');
    setMessage(tooLong);
    ASSERT_EQ(0, send("[Started] dropped"));
    EXPECT_EQ(tooLong, message_.get());
  }
  EXPECT_EQ("[Started] still replaced",
            text("SELECT SUBJECT FROM KOR_WORKFLOWS WHERE ELEMENT_ID = ?"));
}

TEST_F(Notification, WithoutANotificationCycleNothingIsCreatedAndTheRefusalReturned) {
  ASSERT_EQ(0, store_->execute("DELETE FROM KOR_WORKFLOW_CYCLES"));
  setMessage("Started.");
  EXPECT_EQ(db::kSqlProcedureRefused, send("[Started] x"));
  EXPECT_STREQ("", workflow_);
  EXPECT_EQ(0, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
}

TEST_F(Notification, TheEngineFormUsesTheStoreBoundToTheRun) {
  setMessage("Started.");
  EXPECT_EQ(db::kSqlNoConnection,
            FC_SEND_NOTIFY(workflow_, "[Started] x", message_.get(), "P1", "U1", 1));
  {
    db::StoreBinding run(*store_);
    EXPECT_EQ(0, FC_SEND_NOTIFY(workflow_, "[Started] x", message_.get(), "P1", "U1", 1));
  }
  EXPECT_EQ(1, count("SELECT COUNT(*) FROM KOR_WORKFLOWS"));
}

}  // namespace
