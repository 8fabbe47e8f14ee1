// A private PostgreSQL cluster for the pg_tests program: initdb in a fresh
// directory under /tmp, a server listening on a Unix socket in that
// directory only (no TCP port, so parallel test programs never collide),
// started before the first test and stopped, with its directory removed,
// after the last. initdb and the server refuse to run as root, so under
// root they run as the user postgres (or nobody) through runuser, in a
// directory that user owns.
//
// Tests ask for a database of their own (createDatabase) and skip, saying
// why, when the cluster could not be started: binaries missing (they are
// looked for in $LEVELER_PG_BIN, else /usr/lib/postgresql/15/bin), no
// unprivileged user, a build without libpq, or a server that did not come
// up (its log is in the reason).
#ifndef LEVELER_TESTS_PG_PG_CLUSTER_H
#define LEVELER_TESTS_PG_PG_CLUSTER_H

#include <memory>
#include <string>

#include "host/postgres_store.h"

namespace pgtest {

class Cluster {
 public:
  // Null when the cluster is not usable; then reason() says why.
  static Cluster* get();
  static const std::string& reason();

  // A new empty database, or with `from` (a connection string of this
  // cluster, nobody connected to it) a copy of that database; its
  // connection string. Empty on failure.
  std::string createDatabase(const std::string& from = std::string());
  // Drops a database made by createDatabase (nobody connected to it).
  void dropDatabase(const std::string& conninfo);

  // The socket directory and the superuser, for connection strings.
  const std::string& socketDir() const { return dir_; }

  // Starts the cluster (called once, by the test environment).
  static void start();
  static void stop();

 private:
  std::string dir_;
  std::string runAs_;  // "runuser -u NAME -- " or empty
  std::string bin_;
  int databases_ = 0;
};

// Opens a store on `conninfo`; fails the current test (and returns null)
// when it cannot.
std::unique_ptr<host::PostgresStore> openStore(const std::string& conninfo,
                                               const host::PostgresOptions& options = {});

}  // namespace pgtest

// Skips the current test when there is no cluster.
#define PG_CLUSTER_OR_SKIP(var)                                          \
  pgtest::Cluster* var = pgtest::Cluster::get();                         \
  if (var == nullptr) GTEST_SKIP() << pgtest::Cluster::reason()

#endif  // LEVELER_TESTS_PG_PG_CLUSTER_H
