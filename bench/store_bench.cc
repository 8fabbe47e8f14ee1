// Single-row keyed updates through the store, the way the result writers
// work: one update per item by ELEMENT_ID inside the run's transaction,
// LEVEL_COMMIT every 400 rows. The table is KOR_WBS, an application table of
// the file: the work tables the writers update (Lev_kor_wbs) are temporary
// tables of the connection, whose changes never reach the WAL or the disk
// sync, so they could not show what the durability settings cost. Reported as items (rows) per
// second; run with --benchmark_repetitions to get a median.
//
// The other two do the same work with synchronous=FULL, in WAL and with the
// rollback journal: the settings the backend's WAL with synchronous=NORMAL
// was weighed against.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "host/sqlite_store.h"

namespace {

constexpr int kItems = 20000;
constexpr int kCommitEvery = 400;

constexpr const char* kInsertItem =
    "INSERT INTO KOR_WBS (PROJECT_ID, RANK, ELEMENT_ID, LEVEL_ID, TYPE_ID, "
    "UNRESOLVED_START, UNRESOLVED_FINISH, UNRESOLVED_DURATION) VALUES (?, ?, ?, 2, 3, "
    "'2004-01-05 08:00:00.000000', '2004-01-09 17:00:00.000000', 2400)";
constexpr const char* kUpdateItem =
    "UPDATE KOR_WBS SET LEVEL_START = ?, LEVEL_FINISH = ?, LEVEL_DURATION = ?, "
    "TOTAL_SLACK = ?, LEVEL_INDEX = ? WHERE ELEMENT_ID = ?";

// The backend's setting, and the two it was weighed against.
enum class Durability { kWalNormal, kWalFull, kRollbackFull };

class BenchDb {
 public:
  BenchDb() {
    const char* dir = std::getenv("TMPDIR");
    path_ = std::string(dir != nullptr ? dir : "/tmp") + "/store_bench_XXXXXX";
    int fd = ::mkstemp(path_.data());
    if (fd >= 0) ::close(fd);
  }
  ~BenchDb() {
    store_.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((path_ + suffix).c_str());
  }
  // Opens the store and fills the table with kItems rows, committed.
  bool fill(Durability durability) {
    store_ = host::SqliteStore::open(path_);
    if (!store_) return false;
    const char* setUp = durability == Durability::kWalFull ? "COMMIT; PRAGMA synchronous=FULL; BEGIN"
                        : durability == Durability::kRollbackFull
                            ? "COMMIT; PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; BEGIN"
                            : "";
    if (store_->executeScript(setUp) != 0) return false;
    int32_t sync = -1;
    if (store_->selectInto("PRAGMA synchronous", {}, {sync}) != 0 ||
        sync != (durability == Durability::kWalNormal ? 1 : 2)) {
      return false;
    }
    for (int i = 0; i < kItems; ++i) {
      ids_.push_back(idOf(i));
      const std::string rank = "0001" + ids_.back();
      if (store_->execute(kInsertItem, {"P0000001", rank, ids_.back()}) != 0) return false;
    }
    return commit();
  }
  bool commit() {
    int32_t result = 0;
    db::HostVar r(result);
    return store_->call("LEVEL_COMMIT", {}, &r) == 0;
  }
  host::SqliteStore& store() { return *store_; }
  const std::string& id(int i) const { return ids_[static_cast<std::size_t>(i)]; }

 private:
  static std::string idOf(int i) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "E%031d", i);  // 32 characters, like the real ids
    return buf;
  }
  std::string path_;
  std::unique_ptr<host::SqliteStore> store_;
  std::vector<std::string> ids_;
};

void keyedUpdates(benchmark::State& state, Durability durability) {
  BenchDb bench;
  if (!bench.fill(durability)) {
    state.SkipWithError(bench.store().status().message);
    return;
  }
  db::StampText start, finish;
  start.assign("2004-01-05 08:00:00.000000");
  finish.assign("2004-01-09 17:00:00.000000");
  int item = 0, sinceCommit = 0;
  int32_t level = 0;
  for (auto _ : state) {
    ++level;
    int32_t rc = bench.store().execute(kUpdateItem, {start, finish, 2400, level % 7, level,
                                                     bench.id(item)});
    if (rc != 0) {
      state.SkipWithError(bench.store().status().message);
      break;
    }
    if (++sinceCommit == kCommitEvery) {
      if (!bench.commit()) {
        state.SkipWithError(bench.store().status().message);
        break;
      }
      sinceCommit = 0;
    }
    if (++item == kItems) item = 0;
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_KeyedUpdateCommitEvery400(benchmark::State& state) {
  keyedUpdates(state, Durability::kWalNormal);
}
void BM_KeyedUpdateCommitEvery400FullSync(benchmark::State& state) {
  keyedUpdates(state, Durability::kWalFull);
}
void BM_KeyedUpdateCommitEvery400RollbackJournal(benchmark::State& state) {
  keyedUpdates(state, Durability::kRollbackFull);
}

BENCHMARK(BM_KeyedUpdateCommitEvery400)->Iterations(200000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KeyedUpdateCommitEvery400FullSync)->Iterations(40000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KeyedUpdateCommitEvery400RollbackJournal)->Iterations(40000)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
