// Element type codes: the worked classifications and, over the codes 0..400,
// every union predicate against the union of its leaf sets written out here
// again from the code tables.
#include "model/element_types.h"

#include <gtest/gtest.h>

#include <set>

namespace {

// The leaf tables, restated independently of the implementation.
const std::set<int> kProject{1, 154, 288, 289, 290};
const std::set<int> kPureWBSTask{3, 59, 294, 295, 296};
const std::set<int> kWBSTransTask{236, 237, 238, 239, 240, 241, 260};
const std::set<int> kPureWBSDeliv{2, 58, 60, 291, 292, 293};
const std::set<int> kWBSTransDeliv{36, 37, 39, 225, 230, 231, 259};
const std::set<int> kCRIRespTask{38, 247};
const std::set<int> kCRIConvTask{65, 66, 67, 233, 234, 235, 258};
const std::set<int> kCRIRespDeliv{35, 244};
const std::set<int> kPureCRIDeliv{4, 5, 6, 213, 226, 227, 257};

bool in(const std::set<int>& s, int code) { return s.count(code) != 0; }

}  // namespace

TEST(ElementTypes, WorkedClassifications) {
  EXPECT_EQ(isProjectType(154), 1);
  EXPECT_EQ(isProjectType(290), 1);
  EXPECT_EQ(isWBSDeliv(291), 1);
  EXPECT_EQ(isProjectType(291), 0);
  EXPECT_EQ(isNotProjectType(291), 1);

  for (int code : {306, 313}) {
    EXPECT_EQ(isWBSTask(code), 1) << code;
    EXPECT_EQ(isPureWBSTask(code), 0) << code;
    EXPECT_EQ(isWBSTransferedTask(code), 0) << code;
    EXPECT_EQ(isTask(code), 1) << code;
  }

  int32_t group = 0;
  EXPECT_EQ(isCRITask(38), 1);
  EXPECT_EQ(isCRIwbsElement(38), 1);
  EXPECT_EQ(groupType(38, &group), 0);
  EXPECT_EQ(group, 2);
  groupType(290, &group);
  EXPECT_EQ(group, 1);
  groupType(291, &group);
  EXPECT_EQ(group, 3);

  // An unknown code belongs nowhere.
  EXPECT_EQ(isWBSType(7) + isCRIType(7) + isTask(7) + isDeliv(7) + isProjectType(7), 0);
  groupType(7, &group);
  EXPECT_EQ(group, 7);
  EXPECT_EQ(GetTable(7), 0);
}

TEST(ElementTypes, Mappings) {
  EXPECT_EQ(GetTable(14), 4);
  EXPECT_EQ(GetTable(242), 4);
  EXPECT_EQ(GetTable(11), 8);
  EXPECT_EQ(GetTable(1), 1);
  EXPECT_EQ(GetTable(313), 1);
  EXPECT_EQ(GetTable(244), 3);

  EXPECT_EQ(GetAssnType(299), 236);
  EXPECT_EQ(GetAssnType(149), 3);
  EXPECT_EQ(GetAssnType(305), 260);
  EXPECT_EQ(GetAssnType(300), 0);

  const int paired[] = {4, 65, 5, 66, 6, 67, 213, 235, 226, 233, 227, 234, 257, 258};
  for (int code : paired) {
    EXPECT_NE(GetTaskType(code), 0) << code;
    EXPECT_EQ(GetTaskType(GetTaskType(code)), code) << code;
    // Each pair joins a pure CRI deliverable with a CRI convert task.
    EXPECT_TRUE(in(kPureCRIDeliv, code) ? in(kCRIConvTask, GetTaskType(code))
                                        : in(kPureCRIDeliv, GetTaskType(code)))
        << code;
  }
  EXPECT_EQ(GetTaskType(213), 235);
  EXPECT_EQ(GetTaskType(226), 233);
  EXPECT_EQ(GetTaskType(3), 0);

  EXPECT_EQ(getDayStatus('5'), '3');
  EXPECT_EQ(getDayStatus('6'), '4');
  EXPECT_EQ(getDayStatus('1'), '1');
  EXPECT_EQ(getDayStatus('3'), '3');
}

TEST(ElementTypes, UnionsEqualTheirLeavesOverAllCodes) {
  for (int c = 0; c <= 400; ++c) {
    const bool project = in(kProject, c);
    const bool wbsTask = in(kPureWBSTask, c) || in(kWBSTransTask, c) || c == 306 || c == 313;
    const bool wbsDeliv = in(kPureWBSDeliv, c) || in(kWBSTransDeliv, c);
    const bool criTask = in(kCRIRespTask, c) || in(kCRIConvTask, c);
    const bool criDeliv = in(kCRIRespDeliv, c) || in(kPureCRIDeliv, c);
    const bool criWbs = in(kCRIRespTask, c) || in(kCRIRespDeliv, c);

    EXPECT_EQ(isProjectType(c) == 1, project) << c;
    EXPECT_EQ(isPureWBSTask(c) == 1, in(kPureWBSTask, c)) << c;
    EXPECT_EQ(isWBSTransferedTask(c) == 1, in(kWBSTransTask, c)) << c;
    EXPECT_EQ(isPureWBSDeliv(c) == 1, in(kPureWBSDeliv, c)) << c;
    EXPECT_EQ(isWBSTransferedDeliv(c) == 1, in(kWBSTransDeliv, c)) << c;
    EXPECT_EQ(isCRIRespTask(c) == 1, in(kCRIRespTask, c)) << c;
    EXPECT_EQ(isCRIConvertTask(c) == 1, in(kCRIConvTask, c)) << c;
    EXPECT_EQ(isCRIRespDeliv(c) == 1, in(kCRIRespDeliv, c)) << c;
    EXPECT_EQ(isPureCRIDeliv(c) == 1, in(kPureCRIDeliv, c)) << c;

    EXPECT_EQ(isNotProjectType(c) == 1, !project) << c;
    EXPECT_EQ(isWBSTask(c) == 1, wbsTask) << c;
    EXPECT_EQ(isWBSDeliv(c) == 1, wbsDeliv) << c;
    EXPECT_EQ(isWBSType(c) == 1, project || wbsTask || wbsDeliv) << c;
    EXPECT_EQ(isCRITask(c) == 1, criTask) << c;
    EXPECT_EQ(isCRIDeliv(c) == 1, criDeliv) << c;
    EXPECT_EQ(isCRIwbsElement(c) == 1, criWbs) << c;
    EXPECT_EQ(isCRIType(c) == 1, criTask || criDeliv || criWbs) << c;
    EXPECT_EQ(isTask(c) == 1, wbsTask || criTask) << c;
    EXPECT_EQ(isDeliv(c) == 1, wbsDeliv || criDeliv) << c;
    EXPECT_EQ(isChangeToTask(c) == 1, in(kWBSTransDeliv, c) || in(kPureCRIDeliv, c)) << c;

    int32_t group = -1;
    groupType(c, &group);
    const int expected = project ? 1 : (wbsTask || criTask) ? 2 : (wbsDeliv || criDeliv) ? 3 : c;
    EXPECT_EQ(group, expected) << c;
  }
}
