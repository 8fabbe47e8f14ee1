// What the HTML report shows, read from the store (internal to the report
// library; html_report.h is its public face).
//
// readReportData gathers, for a project or a portfolio folder:
// - the scope: the element's projects (a project and the sub-projects under
//   its RANK; for a folder the project nodes under the folder's portfolio
//   RANK and their sub-projects), each once, without REC_STATUS 'D';
// - every KOR_WBS row of those projects (items), the dependencies whose
//   successor is one of them, the conflicts written into LEVEL_CONFLICT;
// - per resource used by the scope (its TASK_ASSIGNMENTS or its levelled
//   days), the minutes per day: levelled by the run (LEVEL_TASK_DAY_OF_YEAR
//   of the scope's projects), actual work already reported on the scope's
//   projects (TASK_DAY_OF_YEAR, ACTUAL_FLAG 1), and work booked on projects
//   outside the scope (TASK_DAY_OF_YEAR: the scheduled minutes, or the
//   actual ones when a reported actual exceeds them) - the load the run's
//   resource search counted; and its capacity per day;
// - the LEVEL_OVER_ALLOCATIONS rows of the scope's projects;
// - the run as recorded: the newest notification item about the element or
//   one of its projects (KOR_WORKFLOWS), PROJECT_DETAILS of the projects,
//   the WBS rows still locked (REC_STATUS 'L').
//
// Days are Julian day numbers (calendar/dates.h), times of day minutes
// after midnight, work and capacity minutes.
//
// Choices:
// - The planned bar is PLANNED_START / PLANNED_FINISH; where those are null,
//   UNRESOLVED_START / UNRESOLVED_FINISH (the dates the run read as the
//   plan).
// - A milestone is a task (TYPE_ID of a task) that carries no work: a
//   LEVEL_DURATION of 0 once levelled, else a PLANNED_EFFORT of 0.
// - Calendars: a calendar's day is its CALENDAR_DAY_OF_YEAR row when there
//   is one, else its KOR_CALENDARS weekday pattern; a calendar with neither
//   is the five-day week of 480 minutes. A resource works on its
//   RESOURCES.CALENDAR_ID, else on the calendar of the first project (rank
//   order) in which it is assigned; MAX_UNITS null counts as 10000.
// - The folder's owner's own projects (the participant rule of the run's
//   project list) are not added: the report shows what lies under the
//   folder.
#ifndef LEVELER_REPORT_REPORT_DATA_H
#define LEVELER_REPORT_REPORT_DATA_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "store/store.h"

namespace report {

// A time stamp of the store as a day number and a minute of day.
struct Stamp {
  bool set = false;
  int day = 0;       // Julian day number
  int minute = 0;    // 0..1440
  std::string text;  // as stored
};
// "YYYY-MM-DD HH:MM..." or "YYYY-MM-DD" (minute 0); anything else: unset.
Stamp parseStamp(const std::string& text);

enum class ItemKind { kProject, kContainer, kTask };

struct Item {
  std::string id, name, projectId, parentId, rank, wbsCode;
  int typeId = 0;
  ItemKind kind = ItemKind::kTask;
  Stamp plannedStart, plannedFinish;
  Stamp levelStart, levelFinish;
  Stamp actualStart, actualFinish;
  bool hasSlack = false;
  int slack = 0;  // TOTAL_SLACK, minutes
  bool hasLevelDuration = false;
  int levelDuration = 0;  // LEVEL_DURATION, minutes
  int plannedEffort = 0;
  int levelIndex = -1;
  bool hasLevelIndex = false;
  std::string conflict;  // LEVEL_CONFLICT as stored
  // Derived.
  int depth = 0;
  std::vector<int> children;  // indexes into ReportData::items, rank order
  bool milestone() const;
  bool critical() const;
  bool finished() const { return actualFinish.set; }
};

struct Dependency {
  std::string pred, succ;
  int depType = 0;     // as stored: 0 FS, 1 SS, 2 FF, 3 SF
  int lagMinutes = 0;  // negative: a lead
};

// One code of a LEVEL_CONFLICT list.
struct Conflict {
  std::string item;
  std::string code;   // "0080", "0100", ...
  std::string value;  // the predecessor or the constraint date
  std::string describe() const;
};
std::vector<Conflict> parseConflicts(const std::string& item, const std::string& text);

struct Calendar {
  int first = 0;             // day of minutes[0]
  std::vector<int> minutes;  // working minutes per day
  int at(int day) const {
    if (day < first || day >= first + static_cast<int>(minutes.size())) return -1;
    return minutes[static_cast<std::size_t>(day - first)];
  }
};

struct ResourceLoad {
  std::string id, name, calendarId;
  int maxUnits = 10000;
  std::map<int, int> levelled;  // day -> minutes placed by the run
  std::map<int, int> actual;    // day -> actual minutes on the scope's projects
  std::map<int, int> outside;   // day -> minutes booked on other projects
  std::map<int, int> capacity;  // day -> minutes (over the report's axis)
  int loadOn(int day) const;
};

struct OverAllocation {
  std::string resource, day, assignment, project, task;
  int load = 0, capacity = 0;
};

struct RunRecord {
  bool hasNotification = false;
  std::string subject, description, startedAt, lastAt, requester;
  bool hasDetails = false;
  int lastCallOption = 0;
  int calculateFlag = 0;
  std::string runUser, runAt, levelStartFinish;
  int lockedProjects = 0;       // PROJECT_DETAILS.LEVEL_LOCK > 0
  int lockedRows = 0;           // KOR_WBS REC_STATUS 'L'
  int assignments = 0;          // TASK_ASSIGNMENTS of the scope
  int levelledAssignments = 0;  // with LEVEL_START
};

struct ReportData {
  std::string elementId, elementName;
  bool folder = false;
  std::vector<std::string> projects;  // rank order
  std::vector<Item> items;            // rank order of the tree (depth first)
  std::map<std::string, int> index;   // id -> items index
  std::vector<int> roots;
  std::vector<Dependency> dependencies;
  std::vector<ResourceLoad> resources;  // by id
  std::vector<OverAllocation> overAllocations;
  Calendar calendar;  // the root project's, over the axis
  std::string calendarId;
  RunRecord run;
  int axisFirst = 0, axisLast = 0;  // days shown, inclusive
};

// Reads everything; 0, or non-zero with `error` set (one line).
int readReportData(db::Store& store, const std::string& elementId, ReportData& data,
                   std::string& error);

}  // namespace report

#endif  // LEVELER_REPORT_REPORT_DATA_H
