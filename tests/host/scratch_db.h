// A database file of its own for one test: a unique path under TMPDIR (the
// build directory when run by CTest), removed with its WAL and shared-memory
// files when the test ends. Used by the store, host and notification tests.
#ifndef LEVELER_TESTS_HOST_SCRATCH_DB_H
#define LEVELER_TESTS_HOST_SCRATCH_DB_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/sqlite_store.h"

namespace scratch {

class ScratchDb {
 public:
  ScratchDb() {
    const char* dir = std::getenv("TMPDIR");
    std::string pattern = std::string(dir != nullptr ? dir : "/tmp") + "/store_test_XXXXXX";
    int fd = ::mkstemp(pattern.data());
    if (fd >= 0) ::close(fd);
    path_ = pattern;  // an empty file is a valid empty database
  }
  ~ScratchDb() {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
      std::remove((path_ + suffix).c_str());
    }
  }
  ScratchDb(const ScratchDb&) = delete;
  ScratchDb& operator=(const ScratchDb&) = delete;

  const std::string& path() const { return path_; }

  // A new connection; fails the test when the file cannot be opened.
  std::unique_ptr<host::SqliteStore> open(const host::SqliteOptions& options = {}) const {
    db::SqlStatus failure;
    auto store = host::SqliteStore::open(path_, options, &failure);
    EXPECT_NE(store, nullptr) << failure.code << " " << failure.message;
    return store;
  }

 private:
  std::string path_;
};

// Reads a whole small text file (a log written by the code under test).
inline std::string readAll(FILE* file) {
  std::string out;
  std::rewind(file);
  char buf[4096];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, file)) > 0) out.append(buf, n);
  return out;
}

}  // namespace scratch

#endif  // LEVELER_TESTS_HOST_SCRATCH_DB_H
