// The network builder the pass tests share (defined in forward_pass_test.cc):
// one project "PRJ" on the default calendar (2024-01-01, a Monday, on;
// five-day week, 08:00-12:00 and 13:00-17:00), its project item as the
// root, tasks and containers under it in the order given (tasks after their
// predecessors, containers after their children), the start and finish
// nodes, and the links the network construction would make. Every record
// and list is released with the network.
#ifndef LEVELER_TESTS_NETWORK_PASS_NET_H
#define LEVELER_TESTS_NETWORK_PASS_NET_H

#include <cstdint>
#include <cstdio>
#include <string>

#include "calendar/project.h"
#include "model/activity.h"

namespace passtest {

struct Net;
// The calendar begins daysBefore days before the project's first day
// (2024-01-01) and holds calendarDays days from there.
Net* newNet(int calendarDays, int daysBefore = 31);
void deleteNet(Net* n);
int32_t dayNum(int y, int m, int d);
activity_type* task(Net* n, const char* name, int days, const char* parent);
// A task of that many working minutes of effort, placed from the first day.
activity_type* taskMinutes(Net* n, const char* name, int minutes, const char* parent);
activity_type* container(Net* n, const char* name, const char* parent);
void dep(Net* n, const char* pred, const char* succ, int type, int lagMinutes);
void seal(Net* n);
int runForward(Net* n);
int runBackward(Net* n, bool dynamicRepass);
activity_type* item(Net* n, const char* name);
activity_type* copy(Net* n, const char* name);
linked_list_type* items(Net* n);
linked_list_type* ordered(Net* n);
linked_list_type* roots(Net* n);
linked_list_type* copies(Net* n);
linked_list_type* backOrder(Net* n);
linked_list_type* levelOrder(Net* n);
project_type* project(Net* n);
storage_manager_type* sm(Net* n);
FILE* logOf(Net* n);
std::string logText(Net* n);
std::string startOf(const activity_type* a);
std::string finishOf(const activity_type* a);
std::string lateStartOf(const activity_type* a);
std::string lateFinishOf(const activity_type* a);

// A network released at the end of the test.
struct NetGuard {
  explicit NetGuard(int days = 800, int daysBefore = 31) : n(newNet(days, daysBefore)) {}
  ~NetGuard() { deleteNet(n); }
  NetGuard(const NetGuard&) = delete;
  NetGuard& operator=(const NetGuard&) = delete;
  Net* n;
};

}  // namespace passtest

#endif
