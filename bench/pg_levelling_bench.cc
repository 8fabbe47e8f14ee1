// Levelling runs on PostgreSQL against the same runs on SQLite.
//
// The server: a private cluster started for the program (initdb in a fresh
// directory under /tmp, a server on a Unix socket in that directory only,
// fsync off), stopped and removed at the end. Under root, initdb and the
// server run as the user postgres (or nobody) through runuser. The
// binaries are looked for in $LEVELER_PG_BIN, else
// /usr/lib/postgresql/15/bin. When no server can be started (or the build
// has no libpq) every benchmark skips with the reason.
//
// BM_PostgresAgainstSqlite/N: the levelling run (kind 0 through
// RES_DEP_FOR_PROJ) of the generated N-task portfolio (default shape) on a
// SQLite file and on a PostgreSQL database, both generated once outside the
// timing; each iteration levels both afresh on new connections. Counters,
// in seconds: sqlite_s, postgres_s, their ratio pg_over_sqlite, and for the
// PostgreSQL run the processor time of this process (pg_client_cpu_s: the
// engine, libpq, the conversions) and the rest of the wall time
// (pg_wait_s: waiting for the server, i.e. the time in statements, round
// trips included).
//
// BM_FourAtOnce/N: four disjoint N-task portfolios, four databases copied
// from one generated database, levelled by four processes at once
// (together_s) against the same four one after another in one process at a
// time (one_after_another_s), and speedup = the second over the first.
//
// Run with --benchmark_repetitions=3 for medians.
#include <benchmark/benchmark.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/postgres_store.h"
#include "host/sqlite_store.h"
#include "run/entry_points.h"
#include "scope_generator.h"

#ifdef LEVELER_HAVE_POSTGRES
#include <libpq-fe.h>
#endif

namespace {

bool fileExists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

int shell(const std::string& command) { return std::system(command.c_str()); }

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string tempPath(const char* name) {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir != nullptr ? dir : "/tmp") + "/" + name + "_XXXXXX";
  const int fd = ::mkstemp(path.data());
  if (fd >= 0) ::close(fd);
  return path;
}

// The private cluster; started on first use, stopped at exit.
class Server {
 public:
  static Server& get() {
    static Server server;
    return server;
  }
  bool up() const { return up_; }
  const std::string& reason() const { return reason_; }

  // A new database, empty or a copy of `from` (a name); its conninfo.
  std::string createDatabase(const std::string& name, const std::string& from = {}) {
    std::string sql = "CREATE DATABASE " + name;
    if (!from.empty()) sql += " TEMPLATE " + from;
    if (!admin("DROP DATABASE IF EXISTS " + name) || !admin(sql)) return std::string();
    return conninfo(name);
  }
  std::string conninfo(const std::string& name) const {
    return "host=" + dir_ + " dbname=" + name + " user=lev";
  }

  ~Server() {
    if (!dir_.empty()) {
      if (up_) shell(runAs_ + bin_ + "/pg_ctl -D " + dir_ + "/data -m fast -w stop >/dev/null 2>&1");
      shell("rm -rf " + dir_);
    }
  }

 private:
  Server() { start(); }

  void start() {
#ifndef LEVELER_HAVE_POSTGRES
    reason_ = "built without libpq: no PostgreSQL backend";
#else
    const char* bin = std::getenv("LEVELER_PG_BIN");
    bin_ = bin != nullptr ? bin : "/usr/lib/postgresql/15/bin";
    if (!fileExists(bin_ + "/initdb") || !fileExists(bin_ + "/pg_ctl")) {
      reason_ = "PostgreSQL server binaries not found in " + bin_;
      return;
    }
    uid_t uid = ::geteuid();
    gid_t gid = ::getegid();
    if (uid == 0) {
      const passwd* user = ::getpwnam("postgres");
      if (user == nullptr) user = ::getpwnam("nobody");
      if (user == nullptr || !fileExists("/usr/sbin/runuser")) {
        reason_ = "running as root without a postgres or nobody user (or runuser)";
        return;
      }
      uid = user->pw_uid;
      gid = user->pw_gid;
      runAs_ = std::string("/usr/sbin/runuser -u ") + user->pw_name + " -- ";
    }
    char pattern[] = "/tmp/lev_pgbench_XXXXXX";
    if (::mkdtemp(pattern) == nullptr) {
      reason_ = "cannot create a directory under /tmp";
      return;
    }
    dir_ = pattern;
    if (::chown(dir_.c_str(), uid, gid) != 0) {
      reason_ = "cannot hand " + dir_ + " to the server's user";
      return;
    }
    const std::string log = dir_ + "/setup.log";
    if (shell(runAs_ + bin_ + "/initdb -D " + dir_ + "/data -U lev -A trust -E UTF8 --no-sync >" +
              log + " 2>&1") != 0) {
      reason_ = "initdb failed: " + readFile(log).substr(0, 600);
      return;
    }
    if (shell(runAs_ + bin_ + "/pg_ctl -D " + dir_ + "/data -l " + dir_ +
              "/server.log -w -t 60 -o \"-c listen_addresses='' -c unix_socket_directories='" +
              dir_ + "' -c fsync=off -c synchronous_commit=off -c full_page_writes=off\" start >>" +
              log + " 2>&1") != 0) {
      reason_ = "the server did not start: " + readFile(dir_ + "/server.log").substr(0, 600);
      return;
    }
    up_ = true;
#endif
  }

  bool admin(const std::string& sql) {
#ifdef LEVELER_HAVE_POSTGRES
    PGconn* conn = PQconnectdb(conninfo("postgres").c_str());
    bool ok = PQstatus(conn) == CONNECTION_OK;
    if (ok) {
      PGresult* r = PQexec(conn, sql.c_str());
      ok = PQresultStatus(r) == PGRES_COMMAND_OK;
      if (!ok) std::fprintf(stderr, "%s: %s\n", sql.c_str(), PQresultErrorMessage(r));
      PQclear(r);
    }
    PQfinish(conn);
    return ok;
#else
    (void)sql;
    return false;
#endif
  }

  std::string dir_;
  std::string runAs_;
  std::string bin_;
  std::string reason_;
  bool up_ = false;
};

struct Portfolio {
  std::string sqlitePath;
  std::string pgDatabase;  // database name on the server
  scopegen::Description description;
  ~Portfolio() {
    if (!sqlitePath.empty()) {
      for (const char* suffix : {"", "-wal", "-shm"}) std::remove((sqlitePath + suffix).c_str());
    }
  }
};

// The generated N-task portfolio in a SQLite file and in a database on the
// server (generated once per size).
Portfolio* portfolioOf(int tasks, std::string& error) {
  static std::map<int, std::unique_ptr<Portfolio>> portfolios;
  auto& p = portfolios[tasks];
  if (p) return p.get();
  auto made = std::make_unique<Portfolio>();
  scopegen::Shape shape;
  shape.tasks = tasks;
  made->sqlitePath = tempPath("pg_levelling_bench");
  {
    auto lite = host::SqliteStore::open(made->sqlitePath);
    if (lite == nullptr || scopegen::generateScope(*lite, shape, &made->description) != 0) {
      error = "generation on SQLite failed";
      return nullptr;
    }
  }
  made->pgDatabase = "bench_" + std::to_string(tasks);
  const std::string conninfo = Server::get().createDatabase(made->pgDatabase);
  db::SqlStatus failure;
  auto pg = conninfo.empty() ? nullptr : host::PostgresStore::open(conninfo, {}, &failure);
  scopegen::Description onServer;
  if (pg == nullptr || scopegen::generateScope(*pg, shape, &onServer) != 0) {
    error = "generation on PostgreSQL failed: " +
            std::string(pg != nullptr ? pg->status().message : failure.message);
    return nullptr;
  }
  p = std::move(made);
  return p.get();
}

double seconds(std::chrono::steady_clock::time_point from) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - from).count();
}

double processCpuSeconds() {
  rusage u{};
  ::getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

int32_t levelOn(db::Store& store, const scopegen::Description& d, const std::string& element) {
  const std::string log = tempPath("pg_levelling_bench_log");
  LevCallContext ctx{&store, log.c_str(), nullptr, nullptr};
  const int32_t rc =
      RES_DEP_FOR_PROJ(&ctx, element.c_str(), 0, 0, 0, 0, 0, d.asOf.c_str(), 0, "BENCH", 0);
  std::remove(log.c_str());
  return rc;
}

// One levelling run on a new connection to `conninfo`; 0 or the failure.
int32_t levelOnServer(const std::string& conninfo, const scopegen::Description& d,
                      const std::string& element) {
  db::SqlStatus failure;
  auto pg = host::PostgresStore::open(conninfo, {}, &failure);
  if (pg == nullptr) return failure.code != 0 ? failure.code : -1;
  return levelOn(*pg, d, element);
}

bool serverOrSkip(benchmark::State& state) {
  if (Server::get().up()) return true;
  state.SkipWithError(("no PostgreSQL server: " + Server::get().reason()).c_str());
  return false;
}

void BM_PostgresAgainstSqlite(benchmark::State& state) {
  if (!serverOrSkip(state)) return;
  std::string error;
  Portfolio* p = portfolioOf(static_cast<int>(state.range(0)), error);
  if (p == nullptr) {
    state.SkipWithError(error.c_str());
    return;
  }
  const std::string& element = p->description.portfolio;
  const std::string conninfo = Server::get().conninfo(p->pgDatabase);
  for (auto _ : state) {
    auto t0 = std::chrono::steady_clock::now();
    int32_t rc = 0;
    {
      auto lite = host::SqliteStore::open(p->sqlitePath);
      rc = lite == nullptr ? -1 : levelOn(*lite, p->description, element);
    }
    const double sqliteS = seconds(t0);
    if (rc != 0) {
      state.SkipWithError(("SQLite run failed: " + std::to_string(rc)).c_str());
      break;
    }
    const double cpu0 = processCpuSeconds();
    t0 = std::chrono::steady_clock::now();
    rc = levelOnServer(conninfo, p->description, element);
    const double pgS = seconds(t0);
    const double pgCpu = processCpuSeconds() - cpu0;
    if (rc != 0) {
      state.SkipWithError(("PostgreSQL run failed: " + std::to_string(rc)).c_str());
      break;
    }
    state.counters["sqlite_s"] = sqliteS;
    state.counters["postgres_s"] = pgS;
    state.counters["pg_over_sqlite"] = pgS / sqliteS;
    state.counters["pg_client_cpu_s"] = pgCpu;
    state.counters["pg_wait_s"] = pgS - pgCpu;
  }
  state.counters["tasks"] = static_cast<double>(p->description.tasks);
}
BENCHMARK(BM_PostgresAgainstSqlite)->Arg(10000)->Iterations(1)->Unit(benchmark::kSecond)
    ->UseRealTime();

void BM_FourAtOnce(benchmark::State& state) {
  if (!serverOrSkip(state)) return;
  std::string error;
  Portfolio* p = portfolioOf(static_cast<int>(state.range(0)), error);
  if (p == nullptr) {
    state.SkipWithError(error.c_str());
    return;
  }
  const std::string& element = p->description.portfolio;
  std::vector<std::string> targets;
  for (int k = 0; k < 4; ++k) {
    const std::string name = p->pgDatabase + "_copy" + std::to_string(k);
    targets.push_back(Server::get().createDatabase(name, p->pgDatabase));
    if (targets.back().empty()) {
      state.SkipWithError("cannot copy the database");
      return;
    }
  }
  for (auto _ : state) {
    // Together: four processes, each with its own connection.
    auto t0 = std::chrono::steady_clock::now();
    std::fflush(nullptr);
    std::vector<pid_t> children;
    for (const std::string& target : targets) {
      const pid_t pid = ::fork();
      if (pid == 0) _exit(levelOnServer(target, p->description, element) == 0 ? 0 : 1);
      children.push_back(pid);
    }
    int failed = 0;
    for (pid_t pid : children) {
      int status = 0;
      if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) ||
          WEXITSTATUS(status) != 0) {
        ++failed;
      }
    }
    const double together = seconds(t0);
    // One after another.
    t0 = std::chrono::steady_clock::now();
    for (const std::string& target : targets) {
      if (levelOnServer(target, p->description, element) != 0) ++failed;
    }
    const double serial = seconds(t0);
    if (failed > 0) {
      state.SkipWithError((std::to_string(failed) + " runs failed").c_str());
      break;
    }
    state.counters["together_s"] = together;
    state.counters["one_after_another_s"] = serial;
    state.counters["speedup"] = serial / together;
  }
}
BENCHMARK(BM_FourAtOnce)->Arg(10000)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
