// An independent critical-path oracle: on random acyclic networks of tasks
// with whole-day efforts and whole-day lags of the four dependency types,
// on the default calendar, a textbook forward and backward pass computed
// here in working days (then mapped to dates) must give the engine's early
// and late dates and its total slack.
//
// Textbook, in working days counted from the project's first day (day 0),
// with an exclusive finish (a task of d days starting on day s finishes at
// the end of day s + d - 1, "finish point" s + d):
//   ES = max(0, over predecessors: FS EF+L, SS ES+L, FF EF+L-d, SF ES+L-d)
//   LF = min(T, over successors:   FS LS-L, SS LS-L+d, FF LF-L, SF LF-L+d)
// with T the latest EF, EF = ES + d, LS = LF - d, slack = (LF - EF) x 480.
// A start point s is day s at 08:00, a finish point f day f - 1 at 17:00.
//
// Networks where the engine must differ from the textbook (an ALAP item, a
// date constraint) are tested on their own, the reason in the test's name.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "calendar/dates.h"
#include "calendar/project.h"
#include "model/activity.h"
#include "pass_net.h"

// The network builder of the pass tests (forward_pass_test.cc).

namespace {

using namespace passtest;

struct Edge {
  int pred;
  int type;  // 0 FF, 1 FS, 2 SF, 3 SS
  int lag;   // whole days
};

struct Textbook {
  std::vector<int> es, ef, ls, lf;
};

Textbook solve(const std::vector<int>& days, const std::vector<std::vector<Edge>>& preds,
               const std::vector<std::vector<Edge>>& containerPreds = {},
               const std::vector<std::vector<Edge>>& groupPreds = {}) {
  const int n = static_cast<int>(days.size());
  Textbook t{std::vector<int>(n), std::vector<int>(n), std::vector<int>(n), std::vector<int>(n)};
  auto containerOf = [&](int j) { return containerPreds.empty() ? -1 : j / 4; };
  // The bound of a container's (group's) predecessors, and the earliest late
  // start over its tasks binding them back.
  auto bound = [&](const std::vector<Edge>& ps) {
    int es = 0;
    for (const Edge& e : ps) es = std::max(es, t.ef[e.pred] + e.lag);
    return es;
  };
  auto bindBack = [&](const std::vector<Edge>& ps, int first, int count) {
    int ls = t.ls[first];
    for (int d = first; d < std::min(n, first + count); ++d) ls = std::min(ls, t.ls[d]);
    for (const Edge& e : ps) t.lf[e.pred] = std::min(t.lf[e.pred], ls - e.lag);
  };
  for (int j = 0; j < n; ++j) {
    int es = 0;
    for (const Edge& e : preds[j]) {
      const int i = e.pred;
      int v = 0;
      switch (e.type) {
        case 1: v = t.ef[i] + e.lag; break;
        case 3: v = t.es[i] + e.lag; break;
        case 0: v = t.ef[i] + e.lag - days[j]; break;
        default: v = t.es[i] + e.lag - days[j]; break;
      }
      es = std::max(es, v);
    }
    if (containerOf(j) >= 0) {
      es = std::max(es, bound(containerPreds[j / 4]));
      es = std::max(es, bound(groupPreds[j / 16]));
    }
    t.es[j] = es;
    t.ef[j] = es + days[j];
  }
  const int T = *std::max_element(t.ef.begin(), t.ef.end());
  for (int j = 0; j < n; ++j) t.lf[j] = T;
  for (int k = n - 1; k >= 0; --k) {
    t.ls[k] = t.lf[k] - days[k];
    for (const Edge& e : preds[k]) {
      const int i = e.pred;
      int v = 0;
      switch (e.type) {
        case 1: v = t.ls[k] - e.lag; break;
        case 3: v = t.ls[k] - e.lag + days[i]; break;
        case 0: v = t.lf[k] - e.lag; break;
        default: v = t.lf[k] - e.lag + days[i]; break;
      }
      t.lf[i] = std::min(t.lf[i], v);
    }
    // At the first task of a container (group) all of its tasks are done;
    // its predecessors finish before the earliest late start among them.
    if (containerOf(k) >= 0 && k % 4 == 0) bindBack(containerPreds[k / 4], k, 4);
    if (containerOf(k) >= 0 && k % 16 == 0) bindBack(groupPreds[k / 16], k, 16);
  }
  return t;
}

// Working day w (from Monday 2024-01-01) as a date text at a clock time.
std::string workDay(int w, const char* clock) {
  const int32_t day = dayNum(2024, 1, 1) + (w / 5) * 7 + w % 5;
  int y = 0, m = 0, d = 0;
  julianToDate(day + dayOfYearToJulian(1950, 1, 1), &y, &m, &d);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %s", y, m, d, clock);
  return buf;
}
std::string startPoint(int s) { return workDay(s, "08:00"); }
std::string finishPoint(int f) { return workDay(f - 1, "17:00"); }

std::string text(const activity_type* a, int32_t day, int offset, bool start) {
  const int clock = start ? getProjectStartTimeMinutesForGivenJulianDate(a, day) + offset
                          : getProjectFinishTimeMinutesForGivenJulianDate(a, day) - offset;
  int y = 0, m = 0, d = 0;
  julianToDate(day + dayOfYearToJulian(1950, 1, 1), &y, &m, &d);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d", y, m, d, clock / 60, clock % 60);
  return buf;
}

struct RandomNetwork {
  std::vector<int> days;
  std::vector<std::vector<Edge>> preds;
  // Optional: tasks four to a container C<k>, containers four to a group
  // G<k>; the finish-to-start predecessors of a container (tasks before its
  // first task) bind all of its tasks.
  bool containers = false;
  std::vector<std::vector<Edge>> containerPreds;  // per container (4 tasks)
  std::vector<std::vector<Edge>> groupPreds;      // per group (16 tasks)
};

RandomNetwork randomNetwork(int n, unsigned seed, bool leads, bool containers = false) {
  std::mt19937 rng(seed);
  RandomNetwork r;
  r.containers = containers;
  r.days.resize(n);
  r.preds.resize(n);
  for (int j = 0; j < n; ++j) {
    r.days[j] = 1 + static_cast<int>(rng() % 5);
    if (j == 0) continue;
    const int count = static_cast<int>(rng() % 4);  // 0 to 3 predecessors
    for (int c = 0; c < count; ++c) {
      // Mostly recent predecessors, so that chains grow long.
      const int window = std::min(j, 12);
      const int i = j - 1 - static_cast<int>(rng() % window);
      bool dup = false;
      for (const Edge& e : r.preds[j]) dup = dup || e.pred == i;
      if (dup) continue;
      const int type = static_cast<int>(rng() % 4);
      int lag = static_cast<int>(rng() % 3);  // 0, 1 or 2 days
      if (leads && rng() % 5 == 0) lag = -1;
      r.preds[j].push_back({i, type, lag});
    }
  }
  if (containers) {
    // Up to two finish-to-start predecessors among the tasks before the
    // first task, for every container and group but the first.
    auto predsBefore = [&](int first) {
      std::vector<Edge> ps;
      const int count = first > 0 ? static_cast<int>(rng() % 3) : 0;
      for (int q = 0; q < count; ++q) {
        const int i = first - 1 - static_cast<int>(rng() % std::min(first, 12));
        bool dup = false;
        for (const Edge& e : ps) dup = dup || e.pred == i;
        if (!dup) ps.push_back({i, 1, static_cast<int>(rng() % 2)});
      }
      return ps;
    };
    for (int c = 0; c < (n + 3) / 4; ++c) r.containerPreds.push_back(predsBefore(4 * c));
    // Groups nest the containers without dependencies of their own: a
    // group's predecessor is applied when the group is reached, after its
    // tasks' successors outside it were placed (a limit of one pass in
    // network order, noted in forward_pass.h).
    r.groupPreds.resize((n + 15) / 16);
  }
  return r;
}

std::string containerName(int c) { return "C" + std::to_string(c); }
std::string groupName(int g) { return "G" + std::to_string(g); }

std::string name(int j) { return "T" + std::to_string(j); }

// "T3 FS+1" for each predecessor of task j.
std::string describe(const RandomNetwork& r, int j) {
  static const char* kTypes[4] = {"FF", "FS", "SF", "SS"};
  std::string out;
  for (const Edge& e : r.preds[j]) {
    out += " " + name(e.pred) + " " + kTypes[e.type] + (e.lag >= 0 ? "+" : "") +
           std::to_string(e.lag);
  }
  return out;
}

// Builds the network, runs the engine and compares every task with the
// textbook. The calendar holds the project several times over: a container
// keeps its rolled-up span while a dependency moves it, and a point beyond
// the calendar's last possible start for that span would need the calendar
// to grow (through the store, which these tests do not have).
void checkAgainstTextbook(const RandomNetwork& r, bool dynamicRepass) {
  const Textbook t = solve(r.days, r.preds, r.containerPreds, r.groupPreds);
  const int T = *std::max_element(t.ef.begin(), t.ef.end());
  Net* net = newNet(120 + 3 * (T * 7 / 5) + 400);
  const int n = static_cast<int>(r.days.size());
  for (int j = 0; j < n; ++j) {
    const std::string parent = containerName(j / 4);
    const std::string group = groupName(j / 16);
    task(net, name(j).c_str(), r.days[j], r.containers ? parent.c_str() : nullptr);
    if (r.containers && (j % 4 == 3 || j == n - 1)) container(net, parent.c_str(), group.c_str());
    if (r.containers && (j % 16 == 15 || j == n - 1)) container(net, group.c_str(), nullptr);
  }
  for (int j = 0; j < n; ++j) {
    for (const Edge& e : r.preds[j]) {
      dep(net, name(e.pred).c_str(), name(j).c_str(), e.type, e.lag * 480);
    }
  }
  for (size_t c = 0; c < r.containerPreds.size(); ++c) {
    for (const Edge& e : r.containerPreds[c]) {
      dep(net, name(e.pred).c_str(), containerName(static_cast<int>(c)).c_str(), 1, e.lag * 480);
    }
  }
  for (size_t g = 0; g < r.groupPreds.size(); ++g) {
    for (const Edge& e : r.groupPreds[g]) {
      dep(net, name(e.pred).c_str(), groupName(static_cast<int>(g)).c_str(), 1, e.lag * 480);
    }
  }
  seal(net);
  ASSERT_EQ(runForward(net), 0) << logText(net);
  ASSERT_EQ(runBackward(net, dynamicRepass), 0) << logText(net);
  int mismatches = 0;
  for (int j = 0; j < n && mismatches < 5; ++j) {
    const activity_type* a = item(net, name(j).c_str());
    const std::string es = text(a, a->early_start_date, a->es_offset_start_time, true);
    const std::string ef = text(a, a->early_finish_date, a->ef_offset_finish_time, false);
    const std::string ls = text(a, a->late_start_date, a->ls_offset_start_time, true);
    const std::string lf = text(a, a->late_finish_date, a->lf_offset_finish_time, false);
    const int slack = (t.lf[j] - t.ef[j]) * 480;
    if (es != startPoint(t.es[j]) || ef != finishPoint(t.ef[j]) || ls != startPoint(t.ls[j]) ||
        lf != finishPoint(t.lf[j]) || a->slack != slack) {
      ++mismatches;
      ADD_FAILURE() << name(j) << " (" << r.days[j] << " days): engine ES " << es << " EF " << ef
                    << " LS " << ls << " LF " << lf << " slack " << a->slack << "; textbook ES "
                    << startPoint(t.es[j]) << " EF " << finishPoint(t.ef[j]) << " LS "
                    << startPoint(t.ls[j]) << " LF " << finishPoint(t.lf[j]) << " slack "
                    << slack << "; predecessors:" << describe(r, j);
    }
  }
  deleteNet(net);
}

class CriticalPathOracle : public ::testing::TestWithParam<int> {};

TEST_P(CriticalPathOracle, EngineMatchesTheTextbookOnRandomNetworks) {
  const int n = GetParam();
  for (unsigned seed = 1; seed <= (n >= 200 ? 4u : 12u); ++seed) {
    SCOPED_TRACE("tasks " + std::to_string(n) + " seed " + std::to_string(seed));
    checkAgainstTextbook(randomNetwork(n, seed * 7919u + n, false), false);
  }
}

TEST_P(CriticalPathOracle, LeadsOfOneDayToo) {
  const int n = GetParam();
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE("tasks " + std::to_string(n) + " seed " + std::to_string(seed));
    checkAgainstTextbook(randomNetwork(n, seed * 104729u + n, true), false);
  }
}

TEST_P(CriticalPathOracle, TasksFourToAContainerWithContainerPredecessors) {
  const int n = GetParam();
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE("tasks " + std::to_string(n) + " seed " + std::to_string(seed));
    checkAgainstTextbook(randomNetwork(n, seed * 15485863u + n, false, true), false);
  }
}

TEST_P(CriticalPathOracle, TheDynamicBackwardRepassChangesNothingAfterTheStaticPass) {
  const int n = GetParam();
  SCOPED_TRACE("tasks " + std::to_string(n));
  checkAgainstTextbook(randomNetwork(n, 31337u + n, false), true);
}

INSTANTIATE_TEST_SUITE_P(Sizes, CriticalPathOracle, ::testing::Values(2, 10, 60, 200, 500));

// ----- where the engine must differ ---------------------------------------------

TEST(CriticalPathOracleDiffers, AnAlapItemStartsAsLateAsItsSuccessorAllowsNotAtItsTextbookEarlyStart) {
  Net* net = newNet(200);
  task(net, "A", 4, nullptr);
  activity_type* b = task(net, "B", 1, nullptr);
  setActivityConstraintType(b, 1);
  task(net, "C", 1, nullptr);
  dep(net, "A", "C", 1, 0);
  dep(net, "B", "C", 1, 0);
  seal(net);
  ASSERT_EQ(runForward(net), 0) << logText(net);
  ASSERT_EQ(runBackward(net, false), 0) << logText(net);
  // Textbook: B early on Monday with 3 days of slack; the engine puts it on
  // Thursday, right before C, and so leaves it no slack.
  EXPECT_EQ(text(b, b->early_start_date, b->es_offset_start_time, true), "2024-01-04 08:00");
  EXPECT_EQ(b->slack, 0);
  deleteNet(net);
}

TEST(CriticalPathOracleDiffers, AStartNoEarlierConstraintDelaysTheItemPastItsTextbookEarlyStart) {
  Net* net = newNet(200);
  task(net, "A", 2, nullptr);
  activity_type* b = task(net, "B", 1, nullptr);
  setActivityConstraintType(b, 6);
  setActivityConstraintDate(b, dayNum(2024, 1, 10));
  task(net, "C", 1, nullptr);
  dep(net, "A", "B", 1, 0);
  dep(net, "B", "C", 1, 0);
  seal(net);
  ASSERT_EQ(runForward(net), 0) << logText(net);
  ASSERT_EQ(runBackward(net, false), 0) << logText(net);
  // Textbook: B on Wednesday 01-03, C on Thursday; the constraint holds B
  // until Wednesday 01-10, and C follows it.
  EXPECT_EQ(text(b, b->early_start_date, b->es_offset_start_time, true), "2024-01-10 08:00");
  const activity_type* c = item(net, "C");
  EXPECT_EQ(text(c, c->early_start_date, c->es_offset_start_time, true), "2024-01-11 08:00");
  // A may now finish five working days later than the textbook says.
  EXPECT_EQ(item(net, "A")->slack, 5 * 480);
  deleteNet(net);
}

}  // namespace
