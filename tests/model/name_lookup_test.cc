// Duplicate rules of the items' and assignments' name lists on lists long
// enough to be checked through a name lookup, and the lookup staying right
// when other code changes the lists directly.
#include "model/name_lookup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "model/activity.h"
#include "model/assignment.h"

namespace {

class LogCapture {
 public:
  LogCapture() : file_(open_memstream(&buf_, &len_)) {}
  ~LogCapture() {
    if (file_ != nullptr) std::fclose(file_);
    std::free(buf_);
  }
  FILE* file() const { return file_; }
  std::string text() {
    std::fflush(file_);
    return std::string(buf_, len_);
  }
  size_t count(const std::string& needle) {
    const std::string t = text();
    size_t n = 0;
    for (size_t at = t.find(needle); at != std::string::npos; at = t.find(needle, at + 1)) ++n;
    return n;
  }

 private:
  char* buf_ = nullptr;
  size_t len_ = 0;
  FILE* file_;
};

std::vector<std::string> names(linked_list_type* list, const char* (*name)(void*)) {
  std::vector<std::string> out;
  for (linktype* l = list->phead; l != nullptr; l = l->pnext) out.emplace_back(name(l->pcontents));
  return out;
}

std::string nameOf(int i) { return "N" + std::to_string(i); }

// Well past the length at which the lookup takes over.
constexpr int kLong = 4 * NAME_LOOKUP_MIN_LENGTH + 3;

}  // namespace

TEST(NameLookup, ChildrenAndParentsRefuseDuplicatesAtEveryLength) {
  activity_type* a = activityCreateNew("C", 2, nullptr, 0, 0, 0, 0, 0);
  LogCapture log;
  // Every name is offered twice, the second time a few names later, so that
  // refusals happen both below and above the lookup's length.
  std::vector<std::string> expected;
  for (int i = 0; i < kLong; ++i) {
    EXPECT_EQ(setActivityChild(a, nameOf(i).c_str(), log.file()), 1);
    expected.push_back(nameOf(i));
    if (i >= 3) {
      EXPECT_EQ(setActivityChild(a, nameOf(i - 3).c_str(), log.file()), 1);
    }
    EXPECT_EQ(setActivityParent(a, nameOf(i % 40).c_str(), log.file()), 1);
  }
  EXPECT_EQ(names(a->child_list, getStringValue), expected);
  EXPECT_EQ(ll_size(a->parent_list), 40);
  EXPECT_EQ(log.count("already exists for activity C"), static_cast<size_t>((kLong - 3) + (kLong - 40)));
  EXPECT_NE(log.text().find("\n*** error in setActivityChild(): child N100 already exists for "
                            "activity C \n"),
            std::string::npos);
  EXPECT_NE(log.text().find("\n*** error in setActivityParent(): parent N39 already exists for "
                            "activity C \n"),
            std::string::npos);

  // Removal through the item: the name may come back, at the tail.
  EXPECT_EQ(activityDeleteChild(a, "N50"), 1);
  EXPECT_EQ(activityDeleteChild(a, "N50"), 0);
  setActivityChild(a, "N50", log.file());
  EXPECT_EQ(names(a->child_list, getStringValue).back(), "N50");
  EXPECT_EQ(ll_size(a->child_list), kLong);

  // Replacing a parent keeps its place; an unknown one is appended once.
  activityReplaceCreateParent(a, "N7");
  activityReplaceCreateParent(a, "NEW");
  activityReplaceCreateParent(a, "NEW");
  std::vector<std::string> parents = names(a->parent_list, getStringValue);
  ASSERT_EQ(parents.size(), 41u);
  EXPECT_EQ(parents[7], "N7");
  EXPECT_EQ(parents[40], "NEW");
  activityDelete(a);
}

TEST(NameLookup, OverlongNamesAreCheckedInTheirStoredForm) {
  activity_type* a = activityCreateNew("C", 2, nullptr, 0, 0, 0, 0, 0);
  LogCapture log;
  const std::string stem(32, 'x');
  for (int i = 0; i < kLong; ++i) setActivityChild(a, (nameOf(i) + stem).c_str(), log.file());
  // "N1" + 30 x's and "N1" + 32 x's are the same stored name.
  EXPECT_EQ(log.count("already exists"), 0u);
  setActivityChild(a, (nameOf(1) + stem + "tail").c_str(), log.file());
  EXPECT_EQ(log.count("already exists"), 1u);
  EXPECT_EQ(ll_size(a->child_list), kLong);
  EXPECT_EQ(activityDeleteChild(a, (nameOf(1) + stem + "other").c_str()), 1);
  activityDelete(a);
}

TEST(NameLookup, DependenciesKeepCountersOrderAndMessagesOnLongLists) {
  activity_type* a = activityCreateNew("T", 3, nullptr, 0, 0, 0, 0, 0);
  LogCapture log;
  for (int i = 0; i < kLong; ++i) {
    const int16_t external = i % 5 == 0 ? 1 : 0;
    ASSERT_NE(activityCreatePred(a, nameOf(i).c_str(), 1, external, 0, log.file()), nullptr);
    ASSERT_NE(activityCreateSucc(a, nameOf(i).c_str(), 1, external, 0, log.file()), nullptr);
  }
  const int16_t internal = static_cast<int16_t>(kLong - (kLong + 4) / 5);
  EXPECT_EQ(a->to_pass_in_forw_dir, internal);

  // A second link to the same item is refused and changes nothing.
  EXPECT_EQ(activityCreatePred(a, "N77", 3, 0, 60, log.file()), nullptr);
  EXPECT_EQ(activityCreateSucc(a, "N77", 3, 0, 60, log.file()), nullptr);
  EXPECT_EQ(activityCreateSuccInversedOrd(a, "N0", 3, 0, 60, log.file()), nullptr);
  EXPECT_EQ(a->to_pass_in_forw_dir, internal);
  EXPECT_EQ(a->orig_to_pass_in_forw_dir, internal);
  EXPECT_EQ(log.text(),
            "\n*** error is Detected by activityCreatePred(): dependency N77 already exists for "
            "activity T"
            "\n*** error is Detected by activityCreateSucc(): dependency N77 already exists for "
            "activity T"
            "\n*** error is Detected by activityCreateSuccInverseOrd(): dependency N0 already "
            "exists for activity T");

  // Delete and re-create: the counters come back and the name goes last.
  EXPECT_EQ(activityDeletePred(a, "N77", log.file()), 1);
  EXPECT_EQ(a->to_pass_in_forw_dir, internal - 1);
  EXPECT_EQ(activityDeletePred(a, "N77", log.file()), 0);
  ASSERT_NE(activityCreatePred(a, "N77", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(a->orig_to_pass_in_forw_dir, internal);
  EXPECT_EQ(names(a->pred_list, getDependencyName).back(), "N77");

  // The inverse-order form puts a new name at the head, and it is then
  // refused by both forms.
  ASSERT_NE(activityCreateSuccInversedOrd(a, "HEAD", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(activityCreateSucc(a, "HEAD", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(names(a->succ_list, getDependencyName).front(), "HEAD");

  // Deleting a middle successor leaves the next one current, as a removal
  // from the list does.
  EXPECT_EQ(activityDeleteSucc(a, "N10", log.file()), 1);
  EXPECT_STREQ(getDependencyName(ll_retrieve(a->succ_list)), "N11");
  EXPECT_EQ(ll_size(a->succ_list), kLong);
  activityDelete(a);
}

TEST(NameLookup, DirectChangesToTheListsAreSeen) {
  activity_type* a = activityCreateNew("C", 2, nullptr, 0, 0, 0, 0, 0);
  LogCapture log;
  for (int i = 0; i < kLong; ++i) setActivityChild(a, nameOf(i).c_str(), log.file());
  ASSERT_NE(a->lookups, nullptr);
  linked_list_type* children = a->child_list;

  // Appended behind the item's back: still a duplicate for the item.
  ll_addtail(children, stringCreateNew("OUTSIDE"));
  setActivityChild(a, "OUTSIDE", log.file());
  EXPECT_EQ(log.count("child OUTSIDE already exists"), 1u);

  // Removed behind its back: may be added again.
  ASSERT_EQ(ll_locate(children, "N3"), 1);
  stringDelete(static_cast<string_type*>(ll_retrieve(children)));
  ll_remove(children);
  setActivityChild(a, "N3", log.file());
  EXPECT_EQ(log.count("child N3 "), 0u);

  // Replaced behind its back: the old name is free, the new one taken.
  ASSERT_EQ(ll_locate(children, "N4"), 1);
  stringDelete(static_cast<string_type*>(ll_retrieve(children)));
  ll_replace(children, stringCreateNew("RENAMED"));
  setActivityChild(a, "N4", log.file());
  setActivityChild(a, "RENAMED", log.file());
  EXPECT_EQ(log.count("child N4 "), 0u);
  EXPECT_EQ(log.count("child RENAMED "), 1u);

  // Emptied and refilled: nothing is refused the first time round.
  activityDeleteChildData(a);
  for (int i = 0; i < kLong; ++i) setActivityChild(a, nameOf(i).c_str(), log.file());
  EXPECT_EQ(ll_size(children), kLong);
  EXPECT_EQ(log.count("already exists"), 2u);

  // A list that someone indexed is searched through its index.
  ll_createIndexArray(children, "start", "finish");
  setActivityChild(a, "N9", log.file());
  setActivityChild(a, "ZZ", log.file());
  EXPECT_EQ(log.count("already exists"), 3u);
  EXPECT_EQ(ll_size(children), kLong + 1);
  activityDelete(a);
}

TEST(NameLookup, NameHeldTwiceIsRemovedFirstToLast) {
  // Other code may put one name into a successor list twice; the item's
  // deletes take the copies from the head onward, one per call.
  activity_type* a = activityCreateNew("T", 3, nullptr, 0, 0, 0, 0, 0);
  for (int i = 0; i < kLong; ++i) activityCreateSucc(a, nameOf(i).c_str(), 1, 0, 0, nullptr);
  ll_addtail(a->succ_list, dependencyCreateNew("N5", 3, 0, 10));
  ll_addhead(a->succ_list, dependencyCreateNew("N5", 0, 0, 20));
  ASSERT_EQ(activityDeleteSucc(a, "N5", nullptr), 1);
  ASSERT_EQ(ll_locate(a->succ_list, "N5"), 1);
  EXPECT_EQ(getDependencyType(static_cast<dependency_type*>(ll_retrieve(a->succ_list))), 1);
  ASSERT_EQ(activityDeleteSucc(a, "N5", nullptr), 1);
  ASSERT_EQ(ll_locate(a->succ_list, "N5"), 1);
  EXPECT_EQ(getDependencyLagMinutes(static_cast<dependency_type*>(ll_retrieve(a->succ_list))), 10);
  ASSERT_EQ(activityDeleteSucc(a, "N5", nullptr), 1);
  EXPECT_EQ(activityDeleteSucc(a, "N5", nullptr), 0);
  EXPECT_NE(activityCreateSucc(a, "N5", 1, 0, 0, nullptr), nullptr);
  EXPECT_EQ(ll_size(a->succ_list), kLong);
  activityDelete(a);
}

TEST(NameLookup, LongRunsOfRemovalsLeaveEveryOtherNameFindable) {
  // Thousands of deletes with no other change in between: every name still
  // listed stays a duplicate, every removed one may come back.
  const int n = 3000;
  activity_type* a = activityCreateNew("T", 3, nullptr, 0, 0, 0, 0, 0);
  for (int i = 0; i < n; ++i) activityCreatePred(a, nameOf(i).c_str(), 1, 0, 0, nullptr);
  std::vector<int> order(n);
  for (int i = 0; i < n; ++i) order[static_cast<size_t>(i)] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(3));
  std::vector<bool> gone(n, false);
  for (size_t k = 0; k < 2 * order.size() / 3; ++k) {
    ASSERT_EQ(activityDeletePred(a, nameOf(order[k]).c_str(), nullptr), 1);
    gone[static_cast<size_t>(order[k])] = true;
  }
  EXPECT_EQ(a->to_pass_in_forw_dir, n - 2 * n / 3);
  for (int i = 0; i < n; ++i) {
    const bool added = activityCreatePred(a, nameOf(i).c_str(), 1, 0, 0, nullptr) != nullptr;
    ASSERT_EQ(added, gone[static_cast<size_t>(i)]) << nameOf(i);
  }
  EXPECT_EQ(ll_size(a->pred_list), n);
  EXPECT_EQ(a->orig_to_pass_in_forw_dir, n);
  activityDelete(a);
}

TEST(NameLookup, RandomOperationsMatchAWalkOfTheList) {
  // The item's operations against a plain model: a vector of names searched
  // from the head, with direct list changes mixed in.
  std::mt19937 rng(7);
  activity_type* a = activityCreateNew("T", 3, nullptr, 0, 0, 0, 0, 0);
  std::vector<std::string> model;
  auto pos = [&](const std::string& n) { return std::find(model.begin(), model.end(), n); };
  for (int step = 0; step < 6000; ++step) {
    const std::string n = nameOf(static_cast<int>(rng() % 300));
    const bool present = pos(n) != model.end();
    switch (rng() % 6) {
      case 0:
      case 1: {
        dependency_type* d = activityCreateSucc(a, n.c_str(), 1, 0, 0, nullptr);
        ASSERT_EQ(d != nullptr, !present) << n;
        if (d != nullptr) model.push_back(n);
        break;
      }
      case 2: {
        dependency_type* d = activityCreateSuccInversedOrd(a, n.c_str(), 1, 0, 0, nullptr);
        ASSERT_EQ(d != nullptr, !present) << n;
        if (d != nullptr) model.insert(model.begin(), n);
        break;
      }
      case 3:
        ASSERT_EQ(activityDeleteSucc(a, n.c_str(), nullptr), present ? 1 : 0) << n;
        if (present) model.erase(pos(n));
        break;
      case 4:  // another unit appends without checking
        ll_addtail(a->succ_list, dependencyCreateNew(n.c_str(), 1, 0, 0));
        model.push_back(n);
        break;
      default:  // another unit drops the element at some position
        if (!model.empty()) {
          const size_t at = rng() % model.size();
          ll_head(a->succ_list);
          for (size_t i = 0; i < at; ++i) ll_next(a->succ_list);
          dependencyDelete(static_cast<dependency_type*>(ll_retrieve(a->succ_list)));
          ll_remove(a->succ_list);
          model.erase(model.begin() + static_cast<long>(at));
        }
        break;
    }
    if (step % 500 == 0) {
      ASSERT_EQ(names(a->succ_list, getDependencyName), model);
    }
  }
  EXPECT_EQ(names(a->succ_list, getDependencyName), model);
  EXPECT_GT(model.size(), static_cast<size_t>(NAME_LOOKUP_MIN_LENGTH));
  activityDelete(a);
}

TEST(NameLookup, CopiesCheckTheirOwnLists) {
  activity_type* a = activityCreateNew("C", 2, nullptr, 0, 0, 0, 0, 0);
  for (int i = 0; i < kLong; ++i) {
    setActivityChild(a, nameOf(i).c_str(), nullptr);
    activityCreatePred(a, nameOf(i).c_str(), 1, 0, 0, nullptr);
  }
  activity_type* copy = activityCopyCreateNew(a, nullptr);
  activityDelete(a);  // the copy must not lean on anything of the original
  LogCapture log;
  setActivityChild(copy, "N1", log.file());
  EXPECT_EQ(activityCreatePred(copy, "N2", 1, 0, 0, log.file()), nullptr);
  EXPECT_EQ(log.count("already exists"), 2u);
  EXPECT_EQ(activityDeletePred(copy, "N3", log.file()), 1);
  EXPECT_EQ(ll_size(copy->pred_list), kLong - 1);
  activityDelete(copy);
}

TEST(NameLookup, AssignmentsAndWorkRecordsOncePerName) {
  assignment_type* ass = assignmentCreateNew("R1");
  LogCapture log;
  std::vector<work_type*> made;
  for (int i = 0; i < kLong; ++i) {
    made.push_back(assignmentCreateWorkByActivity(ass, nameOf(i).c_str(), log.file()));
  }
  // A second request returns the first record, with the message.
  EXPECT_EQ(assignmentCreateWorkByActivity(ass, "N90", log.file()), made[90]);
  EXPECT_EQ(log.text(),
            "\n*** error in assignmentCreateWorkByActivity(): assignment(R1) already exists for "
            "activity(N90)");
  for (int i = 0; i < kLong; i += 13) {
    EXPECT_EQ(getAssignmentWorkByActivity(ass, nameOf(i).c_str()), made[static_cast<size_t>(i)]);
  }
  EXPECT_EQ(getAssignmentWorkByActivity(ass, "ABSENT"), nullptr);
  EXPECT_EQ(ll_size(ass->work_list), kLong);
  // Emptied and refilled: new records, no messages.
  assignmentDeleteWorkData(ass);
  EXPECT_EQ(getAssignmentWorkByActivity(ass, "N1"), nullptr);
  for (int i = 0; i < kLong; ++i) assignmentCreateWorkByActivity(ass, nameOf(i).c_str(), nullptr);
  EXPECT_EQ(ll_size(ass->work_list), kLong);

  // An item lists an assignment once however many it has.
  activity_type* t = activityCreateNew("T", 3, nullptr, 0, 0, 0, 0, 0);
  std::vector<assignment_type*> asses;
  for (int i = 0; i < kLong; ++i) asses.push_back(assignmentCreateNew(nameOf(i).c_str()));
  for (assignment_type* s : asses) EXPECT_EQ(setActivityAssignment(t, s, 0, nullptr), 1);
  for (assignment_type* s : asses) EXPECT_EQ(setActivityAssignment(t, s, 0, nullptr), 0);
  EXPECT_EQ(ll_size(t->assignment_list), kLong);
  activityDelete(t);
  for (assignment_type* s : asses) assignmentDelete(s);
  assignmentDelete(ass);
}

