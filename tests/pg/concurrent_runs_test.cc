// Levelling runs started at the same moment by separate leveler processes,
// on a SQLite file and on a PostgreSQL database.
//
// Overlapping portfolios: each round starts from a fresh copy of the same
// generated database, and two processes are released together, on the
// portfolio folder and on a root project inside it (or twice on the root).
//
// - PostgreSQL: both connections work at once. The lock claim decides:
//   exactly one run returns 0 and the other 200114, and the database then
//   holds exactly what the winner alone would have written.
// - SQLite: a connection holds the write lock from its BEGIN to its COMMIT,
//   and a run commits only at its LEVEL_COMMITs, so the two runs never work
//   at once. The second process waits (busy timeout) at its open, and gets
//   the database either after the first is done (its projects free again:
//   it levels too and returns 0) or at one of the first run's commits in
//   the middle of its work (the first's lock is then published: 200114).
//   What holds in every round: the first to finish returns 0, no round has
//   two runs levelling at once (never a failure other than 200114, never
//   two 200114), and the database holds the results of the runs that
//   returned 0, one after the other: the winner's alone when the other was
//   refused, else those of the later run levelled on the earlier one's.
//
// Disjoint portfolios: four processes on the four root projects of one
// database at once all return 0, and each project's rows are those of the
// same project levelled alone.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host/postgres_store.h"
#include "host/scratch_db.h"
#include "host/sqlite_store.h"
#include "pg_cluster.h"
#include "run/run_state.h"
#include "run_compare.h"
#include "scope_generator.h"

namespace {

constexpr int kNoResult = -999999;

// A backend seen from the test: a database holding a generated scope, and
// copies of it for the runs.
class Backend {
 public:
  virtual ~Backend() = default;
  virtual const char* name() const = 0;
  // The base database, empty; its target. Empty on failure.
  virtual std::string createBase() = 0;
  // A copy of the base (no connection open on it); its target.
  virtual std::string copyBase() = 0;
  virtual void drop(const std::string& target) = 0;
  virtual std::unique_ptr<db::Store> open(const std::string& target) = 0;
  // Whether two runs on one database work at the same time.
  virtual bool concurrent() const = 0;
};

class SqliteBackend : public Backend {
 public:
  const char* name() const override { return "sqlite"; }
  std::string createBase() override { return base_.path(); }
  std::string copyBase() override {
    const std::string path = pgtest::tempPath("race_copy" + std::to_string(++copies_), ".db");
    return pgtest::copySqliteFile(base_.path(), path) ? path : std::string();
  }
  void drop(const std::string& target) override { pgtest::removeSqliteFile(target); }
  std::unique_ptr<db::Store> open(const std::string& target) override {
    db::SqlStatus failure;
    auto store = host::SqliteStore::open(target, {}, &failure);
    EXPECT_NE(store, nullptr) << failure.message;
    return store;
  }
  bool concurrent() const override { return false; }

 private:
  scratch::ScratchDb base_;
  int copies_ = 0;
};

class PostgresBackend : public Backend {
 public:
  explicit PostgresBackend(pgtest::Cluster* cluster) : cluster_(cluster) {}
  const char* name() const override { return "postgres"; }
  std::string createBase() override { return base_ = cluster_->createDatabase(); }
  std::string copyBase() override { return cluster_->createDatabase(base_); }
  void drop(const std::string& target) override { cluster_->dropDatabase(target); }
  std::unique_ptr<db::Store> open(const std::string& target) override {
    return pgtest::openStore(target);
  }
  bool concurrent() const override { return true; }

 private:
  pgtest::Cluster* cluster_;
  std::string base_;
};

// Writes `shape` into the base database of `backend`.
bool generateBase(Backend& backend, const scopegen::Shape& shape, scopegen::Description& scope) {
  const std::string target = backend.createBase();
  if (target.empty()) return false;
  auto store = backend.open(target);
  if (store == nullptr) return false;
  const int32_t rc = scopegen::generateScope(*store, shape, &scope);
  EXPECT_EQ(0, rc) << store->status().message;
  return rc == 0;
}

// Runs the leveler on each of `elements` of `target`, all released at the
// same moment; their results in the same order.
std::vector<int> runTogether(const std::string& target, const std::vector<std::string>& elements,
                             const std::string& asOf, std::vector<std::string>* outputs) {
  int start[2];
  if (::pipe(start) != 0) return std::vector<int>(elements.size(), kNoResult);
  std::vector<pgtest::LevelerRun> runs;
  for (std::size_t k = 0; k < elements.size(); ++k) {
    const std::string log = pgtest::tempPath("race_" + std::to_string(k), ".log");
    runs.push_back(pgtest::startLeveler(target, elements[k], asOf, log, start));
  }
  ::close(start[0]);
  ::usleep(100000);   // every child forked and waiting
  ::close(start[1]);  // end of file: all go
  std::vector<int> results;
  for (std::size_t k = 0; k < runs.size(); ++k) {
    std::string output;
    results.push_back(pgtest::finishLeveler(runs[k], &output));
    if (outputs != nullptr) outputs->push_back(output);
    std::remove(pgtest::tempPath("race_" + std::to_string(k), ".log").c_str());
  }
  return results;
}

// What a run of each element in turn leaves on a fresh copy of the base.
pgtest::Reading levelAloneInTurn(Backend& backend, const std::vector<std::string>& elements,
                                 const std::string& asOf, const std::string& project = {}) {
  const std::string target = backend.copyBase();
  EXPECT_FALSE(target.empty());
  for (const std::string& element : elements) {
    EXPECT_EQ(0, runTogether(target, {element}, asOf, nullptr).front()) << element;
  }
  auto store = backend.open(target);
  pgtest::Reading reading;
  if (store != nullptr) reading = pgtest::readResults(*store, project);
  store.reset();
  backend.drop(target);
  return reading;
}

// Two roots with a sub-project each on 12 shared resources: enough
// contention for the levelling to move tasks, small enough for 20 rounds.
scopegen::Shape overlapShape() {
  scopegen::Shape shape;
  shape.tasks = 120;
  shape.rootProjects = 2;
  shape.subProjectsPerRoot = 1;
  shape.containerLevels = 2;
  shape.resources = 12;
  shape.calendarDaysBefore = 200;
  shape.calendarDaysAfter = 700;
  shape.seed = 5;
  return shape;
}

void overlappingRounds(Backend& backend) {
  scopegen::Description scope;
  ASSERT_TRUE(generateBase(backend, overlapShape(), scope));
  const std::string folder = scope.portfolio;
  const std::string root = scope.rootProjects.front();

  // What each outcome must leave: the winner's run alone, or (SQLite, both
  // through) the two runs one after the other.
  std::map<std::string, pgtest::Reading> expected;
  for (const std::string& e : {folder, root}) expected[e] = levelAloneInTurn(backend, {e}, scope.asOf);
  expected[folder + "+" + root] = levelAloneInTurn(backend, {folder, root}, scope.asOf);
  expected[root + "+" + folder] = levelAloneInTurn(backend, {root, folder}, scope.asOf);
  expected[root + "+" + root] = levelAloneInTurn(backend, {root, root}, scope.asOf);
  // The folder's run levels more than the root's: the readings tell the
  // winners apart.
  ASSERT_NE(expected[folder].at("level columns"), expected[root].at("level columns"));

  int refused = 0;
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(std::string(backend.name()) + " round " + std::to_string(round));
    // Every third round both on the root; else the folder against the root,
    // in either order.
    std::vector<std::string> elements = round % 3 == 0   ? std::vector<std::string>{root, root}
                                        : round % 3 == 1 ? std::vector<std::string>{folder, root}
                                                         : std::vector<std::string>{root, folder};
    const std::string target = backend.copyBase();
    ASSERT_FALSE(target.empty());
    std::vector<std::string> outputs;
    const std::vector<int> rc = runTogether(target, elements, scope.asOf, &outputs);
    const int winners = (rc[0] == 0) + (rc[1] == 0);
    const int losers = (rc[0] == run::kErrLocked) + (rc[1] == run::kErrLocked);
    const std::string both = std::to_string(rc[0]) + " " + std::to_string(rc[1]) + "\n" +
                             outputs[0] + "\n" + outputs[1];
    if (backend.concurrent()) {
      EXPECT_EQ(1, winners) << both;
      EXPECT_EQ(1, losers) << both;
    } else {
      EXPECT_EQ(2, winners + losers) << both;
      EXPECT_LE(losers, 1) << both;
    }
    refused += losers;

    auto store = backend.open(target);
    ASSERT_NE(store, nullptr);
    const pgtest::Reading got = pgtest::readResults(*store);
    EXPECT_EQ(0, pgtest::countOf(*store, "select count(*) from KOR_WBS where REC_STATUS = 'L'"));
    store.reset();
    backend.drop(target);
    if (winners == 1 && losers == 1) {
      const std::string& winner = rc[0] == 0 ? elements[0] : elements[1];
      pgtest::expectSameResults(expected.at(winner), got, winner.c_str(), "the round");
    } else if (winners == 2) {
      // Serialised: the later run levelled on the earlier one's results.
      // Which came first is not known from outside; one of the two orders
      // must match.
      const pgtest::Reading& ab = expected.at(elements[0] + "+" + elements[1]);
      const pgtest::Reading& ba = expected.at(elements[1] + "+" + elements[0]);
      EXPECT_TRUE(got == ab || got == ba) << "neither order of " << elements[0] << ", "
                                          << elements[1] << " gives the round's rows";
    }
  }
  std::printf("[ %s ] overlapping runs: %d of 20 rounds refused one run\n", backend.name(),
              refused);
}

void disjointRuns(Backend& backend) {
  scopegen::Shape shape;
  shape.tasks = 200;
  shape.rootProjects = 4;
  shape.subProjectsPerRoot = 0;
  shape.containerLevels = 2;
  shape.resources = 16;
  shape.crossProjectShare = 0;
  shape.outsideProject = false;
  shape.calendarDaysBefore = 200;
  shape.calendarDaysAfter = 700;
  shape.seed = 11;
  scopegen::Description scope;
  ASSERT_TRUE(generateBase(backend, shape, scope));
  ASSERT_EQ(4u, scope.rootProjects.size());

  const std::string target = backend.copyBase();
  ASSERT_FALSE(target.empty());
  const std::vector<int> rc = runTogether(target, scope.rootProjects, scope.asOf, nullptr);
  for (std::size_t k = 0; k < rc.size(); ++k) EXPECT_EQ(0, rc[k]) << scope.rootProjects[k];
  auto store = backend.open(target);
  ASSERT_NE(store, nullptr);
  for (const std::string& project : scope.rootProjects) {
    SCOPED_TRACE(std::string(backend.name()) + " " + project);
    const pgtest::Reading together = pgtest::readResults(*store, project);
    const pgtest::Reading alone = levelAloneInTurn(backend, {project}, scope.asOf, project);
    EXPECT_GT(together.at("day rows").size(), 0u);
    pgtest::expectSameResults(alone, together, "alone", "together");
  }
  store.reset();
  backend.drop(target);
}

TEST(ConcurrentRuns, OverlappingPortfoliosOnSqlite) {
  SqliteBackend backend;
  overlappingRounds(backend);
}

TEST(ConcurrentRuns, OverlappingPortfoliosOnPostgres) {
  PG_CLUSTER_OR_SKIP(cluster);
  PostgresBackend backend(cluster);
  overlappingRounds(backend);
}

TEST(ConcurrentRuns, DisjointPortfoliosOnSqlite) {
  SqliteBackend backend;
  disjointRuns(backend);
}

TEST(ConcurrentRuns, DisjointPortfoliosOnPostgres) {
  PG_CLUSTER_OR_SKIP(cluster);
  PostgresBackend backend(cluster);
  disjointRuns(backend);
}

}  // namespace
