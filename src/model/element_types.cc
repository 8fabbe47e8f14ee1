// Element type codes: leaf sets as literal tables, unions built from them,
// and the code mappings.
#include "model/element_types.h"

#include <algorithm>
#include <array>

namespace {

template <std::size_t N>
int16_t inSet(const std::array<int32_t, N>& codes, int32_t type) {
  return std::find(codes.begin(), codes.end(), type) != codes.end() ? 1 : 0;
}

constexpr std::array<int32_t, 5> kProject{1, 154, 288, 289, 290};
constexpr std::array<int32_t, 5> kPureWBSTask{3, 59, 294, 295, 296};
constexpr std::array<int32_t, 7> kWBSTransferedTask{236, 237, 238, 239, 240, 241, 260};
constexpr std::array<int32_t, 6> kPureWBSDeliv{2, 58, 60, 291, 292, 293};
constexpr std::array<int32_t, 7> kWBSTransferedDeliv{36, 37, 39, 225, 230, 231, 259};
constexpr std::array<int32_t, 2> kCRIRespTask{38, 247};
constexpr std::array<int32_t, 7> kCRIConvertTask{65, 66, 67, 233, 234, 235, 258};
constexpr std::array<int32_t, 2> kCRIRespDeliv{35, 244};
constexpr std::array<int32_t, 7> kPureCRIDeliv{4, 5, 6, 213, 226, 227, 257};

// WBS task codes outside both WBS task leaf sets.
constexpr std::array<int32_t, 2> kOtherWBSTask{306, 313};
// Codes of table kind 4.
constexpr std::array<int32_t, 6> kTable4{14, 61, 62, 63, 140, 242};

// Pure CRI deliverable -> CRI convert task, position by position.
constexpr std::array<int32_t, 7> kPairDeliv{4, 5, 6, 213, 226, 227, 257};
constexpr std::array<int32_t, 7> kPairTask{65, 66, 67, 235, 233, 234, 258};

}  // namespace

int16_t isProjectType(int32_t type) { return inSet(kProject, type); }
int16_t isPureWBSTask(int32_t type) { return inSet(kPureWBSTask, type); }
int16_t isWBSTransferedTask(int32_t type) { return inSet(kWBSTransferedTask, type); }
int16_t isPureWBSDeliv(int32_t type) { return inSet(kPureWBSDeliv, type); }
int16_t isWBSTransferedDeliv(int32_t type) { return inSet(kWBSTransferedDeliv, type); }
int16_t isCRIRespTask(int32_t type) { return inSet(kCRIRespTask, type); }
int16_t isCRIConvertTask(int32_t type) { return inSet(kCRIConvertTask, type); }
int16_t isCRIRespDeliv(int32_t type) { return inSet(kCRIRespDeliv, type); }
int16_t isPureCRIDeliv(int32_t type) { return inSet(kPureCRIDeliv, type); }

int16_t isNotProjectType(int32_t type) { return isProjectType(type) ? 0 : 1; }
int16_t isWBSTask(int32_t type) {
  return (isPureWBSTask(type) || isWBSTransferedTask(type) || inSet(kOtherWBSTask, type)) ? 1 : 0;
}
int16_t isWBSDeliv(int32_t type) {
  return (isPureWBSDeliv(type) || isWBSTransferedDeliv(type)) ? 1 : 0;
}
int16_t isWBSType(int32_t type) {
  return (isProjectType(type) || isWBSTask(type) || isWBSDeliv(type)) ? 1 : 0;
}
int16_t isCRITask(int32_t type) { return (isCRIRespTask(type) || isCRIConvertTask(type)) ? 1 : 0; }
int16_t isCRIDeliv(int32_t type) { return (isCRIRespDeliv(type) || isPureCRIDeliv(type)) ? 1 : 0; }
int16_t isCRIwbsElement(int32_t type) {
  return (isCRIRespTask(type) || isCRIRespDeliv(type)) ? 1 : 0;
}
int16_t isCRIType(int32_t type) {
  return (isCRITask(type) || isCRIDeliv(type) || isCRIwbsElement(type)) ? 1 : 0;
}
int16_t isTask(int32_t type) { return (isWBSTask(type) || isCRITask(type)) ? 1 : 0; }
int16_t isDeliv(int32_t type) { return (isWBSDeliv(type) || isCRIDeliv(type)) ? 1 : 0; }
int16_t isChangeToTask(int32_t type) {
  return (isWBSTransferedDeliv(type) || isPureCRIDeliv(type)) ? 1 : 0;
}

int groupType(int32_t type, int32_t* group) {
  if (isProjectType(type)) {
    *group = 1;
  } else if (isTask(type)) {
    *group = 2;
  } else if (isDeliv(type)) {
    *group = 3;
  } else {
    *group = type;
  }
  return 0;
}

int32_t GetTable(int32_t type) {
  if (inSet(kTable4, type)) return 4;
  if (type == 11) return 8;
  if (isWBSType(type)) return 1;
  if (isCRIType(type)) return 3;
  return 0;
}

int32_t GetAssnType(int32_t type) {
  switch (type) {
    case 299:
      return 236;
    case 149:
      return 3;
    case 301:
      return 240;
    case 302:
      return 238;
    case 303:
      return 237;
    case 304:
      return 239;
    case 305:
      return 260;
    default:
      return 0;
  }
}

int32_t GetTaskType(int32_t type) {
  for (std::size_t i = 0; i < kPairDeliv.size(); ++i) {
    if (kPairDeliv[i] == type) return kPairTask[i];
    if (kPairTask[i] == type) return kPairDeliv[i];
  }
  return 0;
}

char getDayStatus(char status) {
  if (status == '5') return '3';
  if (status == '6') return '4';
  return status;
}
