// The private cluster of the pg_tests program. See pg_cluster.h.
#include "pg_cluster.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#ifdef LEVELER_HAVE_POSTGRES
#include <libpq-fe.h>
#endif

namespace pgtest {

namespace {

std::unique_ptr<Cluster> g_cluster;
std::string g_reason = "the cluster was not started";

bool fileExists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

int shell(const std::string& command) { return std::system(command.c_str()); }

class ClusterEnvironment : public testing::Environment {
 public:
  void SetUp() override { Cluster::start(); }
  void TearDown() override { Cluster::stop(); }
};

[[maybe_unused]] testing::Environment* const g_environment =
    testing::AddGlobalTestEnvironment(new ClusterEnvironment);

}  // namespace

Cluster* Cluster::get() { return g_cluster.get(); }
const std::string& Cluster::reason() { return g_reason; }

void Cluster::start() {
#ifndef LEVELER_HAVE_POSTGRES
  g_reason = "built without libpq: no PostgreSQL backend";
  return;
#else
  auto c = std::make_unique<Cluster>();
  const char* bin = std::getenv("LEVELER_PG_BIN");
  c->bin_ = bin != nullptr ? bin : "/usr/lib/postgresql/15/bin";
  if (!fileExists(c->bin_ + "/initdb") || !fileExists(c->bin_ + "/pg_ctl")) {
    g_reason = "PostgreSQL server binaries not found in " + c->bin_;
    return;
  }
  uid_t uid = ::geteuid();
  gid_t gid = ::getegid();
  if (uid == 0) {
    const passwd* user = ::getpwnam("postgres");
    if (user == nullptr) user = ::getpwnam("nobody");
    if (user == nullptr || !fileExists("/usr/sbin/runuser")) {
      g_reason = "running as root without a postgres or nobody user (or runuser)";
      return;
    }
    uid = user->pw_uid;
    gid = user->pw_gid;
    c->runAs_ = std::string("/usr/sbin/runuser -u ") + user->pw_name + " -- ";
  }
  char pattern[] = "/tmp/lev_pg_XXXXXX";
  if (::mkdtemp(pattern) == nullptr) {
    g_reason = "cannot create a directory under /tmp";
    return;
  }
  c->dir_ = pattern;
  if (::chown(c->dir_.c_str(), uid, gid) != 0) {
    g_reason = "cannot hand " + c->dir_ + " to the server's user";
    shell("rm -rf " + c->dir_);
    return;
  }
  const std::string log = c->dir_ + "/setup.log";
  const std::string init = c->runAs_ + c->bin_ + "/initdb -D " + c->dir_ +
                           "/data -U lev -A trust -E UTF8 --no-sync >" + log + " 2>&1";
  if (shell(init) != 0) {
    g_reason = "initdb failed: " + readFile(log).substr(0, 600);
    shell("rm -rf " + c->dir_);
    return;
  }
  const std::string startCmd =
      c->runAs_ + c->bin_ + "/pg_ctl -D " + c->dir_ + "/data -l " + c->dir_ +
      "/server.log -w -t 60 -o \"-c listen_addresses='' -c unix_socket_directories='" +
      c->dir_ + "' -c fsync=off -c synchronous_commit=off -c full_page_writes=off\" start >>" +
      log + " 2>&1";
  if (shell(startCmd) != 0) {
    g_reason = "the server did not start: " + readFile(c->dir_ + "/server.log").substr(0, 600);
    shell("rm -rf " + c->dir_);
    return;
  }
  g_cluster = std::move(c);
  g_reason.clear();
#endif
}

void Cluster::stop() {
  if (g_cluster == nullptr) return;
  const Cluster& c = *g_cluster;
  shell(c.runAs_ + c.bin_ + "/pg_ctl -D " + c.dir_ + "/data -m fast -w stop >/dev/null 2>&1");
  shell("rm -rf " + c.dir_);
  g_cluster.reset();
  g_reason = "the cluster was stopped";
}

namespace {

// The dbname of a connection string made by createDatabase.
std::string databaseName(const std::string& conninfo) {
  const std::size_t at = conninfo.find("dbname=");
  if (at == std::string::npos) return std::string();
  const std::size_t from = at + 7;
  return conninfo.substr(from, conninfo.find(' ', from) - from);
}

#ifdef LEVELER_HAVE_POSTGRES
bool adminCommand(const std::string& dir, const std::string& sql) {
  const std::string admin = "host=" + dir + " dbname=postgres user=lev";
  PGconn* conn = PQconnectdb(admin.c_str());
  bool ok = PQstatus(conn) == CONNECTION_OK;
  if (ok) {
    PGresult* r = PQexec(conn, sql.c_str());
    ok = PQresultStatus(r) == PGRES_COMMAND_OK;
    if (!ok) ADD_FAILURE() << sql << ": " << PQresultErrorMessage(r);
    PQclear(r);
  } else {
    ADD_FAILURE() << PQerrorMessage(conn);
  }
  PQfinish(conn);
  return ok;
}
#endif

}  // namespace

std::string Cluster::createDatabase(const std::string& from) {
#ifdef LEVELER_HAVE_POSTGRES
  const std::string name =
      "lev_" + std::to_string(::getpid()) + "_" + std::to_string(++databases_);
  std::string sql = "CREATE DATABASE " + name;
  if (!from.empty()) sql += " TEMPLATE " + databaseName(from);
  if (!adminCommand(dir_, sql)) return std::string();
  return "host=" + dir_ + " dbname=" + name + " user=lev";
#else
  (void)from;
  return std::string();
#endif
}

void Cluster::dropDatabase(const std::string& conninfo) {
#ifdef LEVELER_HAVE_POSTGRES
  adminCommand(dir_, "DROP DATABASE IF EXISTS " + databaseName(conninfo));
#else
  (void)conninfo;
#endif
}

std::unique_ptr<host::PostgresStore> openStore(const std::string& conninfo,
                                               const host::PostgresOptions& options) {
  db::SqlStatus failure;
  auto store = host::PostgresStore::open(conninfo, options, &failure);
  EXPECT_NE(store, nullptr) << failure.code << " " << failure.message;
  return store;
}

}  // namespace pgtest
