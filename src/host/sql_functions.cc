// SQL helper functions of the SQLite backend. See sql_functions.h for the
// contracts; the parsing below never reads past the text SQLite hands over.
#include "host/sql_functions.h"

#include <sqlite3.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "host/sqlite_store.h"

namespace host {

namespace {

struct Stamp {
  int year = 0, month = 0, day = 0;
  int hour = 0, minute = 0, second = 0;
  int micros = 0;
};

class Reader {
 public:
  explicit Reader(std::string_view s) : s_(s) {}
  bool atEnd() const { return pos_ == s_.size(); }
  bool digits(int count, int& out) {
    if (s_.size() - pos_ < static_cast<std::size_t>(count)) return false;
    int v = 0;
    for (int i = 0; i < count; ++i) {
      char c = s_[pos_ + static_cast<std::size_t>(i)];
      if (c < '0' || c > '9') return false;
      v = v * 10 + (c - '0');
    }
    pos_ += static_cast<std::size_t>(count);
    out = v;
    return true;
  }
  bool oneOf(std::string_view chars) {
    if (atEnd() || chars.find(s_[pos_]) == std::string_view::npos) return false;
    ++pos_;
    return true;
  }
  // Up to six fraction digits make microseconds; further digits are read
  // and ignored. At least one digit is required.
  bool fraction(int& micros) {
    int v = 0, n = 0;
    while (!atEnd() && s_[pos_] >= '0' && s_[pos_] <= '9') {
      if (n < 6) v = v * 10 + (s_[pos_] - '0');
      ++n;
      ++pos_;
    }
    if (n == 0) return false;
    for (int i = n; i < 6; ++i) v *= 10;
    micros = v;
    return true;
  }

 private:
  std::string_view s_;
  std::size_t pos_ = 0;
};

std::string_view trim(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

bool readDay(Reader& r, Stamp& t) {
  return r.digits(4, t.year) && r.oneOf("-") && r.digits(2, t.month) &&
         r.oneOf("-") && r.digits(2, t.day) && t.month >= 1 && t.month <= 12 &&
         t.day >= 1 && t.day <= 31;
}

// HH:MM[:SS[.f]] with ':' or '.' between the parts.
bool readTime(Reader& r, Stamp& t) {
  if (!r.digits(2, t.hour) || !r.oneOf(":.") || !r.digits(2, t.minute)) return false;
  if (r.oneOf(":.")) {
    if (!r.digits(2, t.second)) return false;
    if (r.oneOf(".,") && !r.fraction(t.micros)) return false;
  }
  return t.hour <= 23 && t.minute <= 59 && t.second <= 59;
}

bool parseStamp(std::string_view text, Stamp& t) {
  Reader r(trim(text));
  if (!readDay(r, t)) return false;
  if (r.atEnd()) return true;
  if (!r.oneOf(" -T")) return false;
  return readTime(r, t) && r.atEnd();
}

bool parseTime(std::string_view text, Stamp& t) {
  Reader r(trim(text));
  return readTime(r, t) && r.atEnd();
}

std::string formatStamp(const Stamp& t) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.%06d", t.year,
                t.month, t.day, t.hour, t.minute, t.second, t.micros);
  return std::string(buf);
}

// Julian day number of a Gregorian date (Fliegel and Van Flandern).
int64_t gregorianJulianDay(int year, int month, int day) {
  const int64_t a = (14 - month) / 12;
  const int64_t y = year + 4800 - a;
  const int64_t m = month + 12 * a - 3;
  return day + (153 * m + 2) / 5 + 365 * y + y / 4 - y / 100 + y / 400 - 32045;
}

int64_t microsOf(const Stamp& t) {
  const int64_t seconds = gregorianJulianDay(t.year, t.month, t.day) * 86400 +
                          t.hour * 3600 + t.minute * 60 + t.second;
  return seconds * 1000000 + t.micros;
}

std::string_view textArg(sqlite3_value* v) {
  const unsigned char* p = sqlite3_value_text(v);
  if (p == nullptr) return std::string_view();
  return std::string_view(reinterpret_cast<const char*>(p),
                          static_cast<std::size_t>(sqlite3_value_bytes(v)));
}

bool anyNull(int argc, sqlite3_value** argv) {
  for (int i = 0; i < argc; ++i) {
    if (sqlite3_value_type(argv[i]) == SQLITE_NULL) return true;
  }
  return false;
}

void resultBadStamp(sqlite3_context* ctx, const char* function, std::string_view text) {
  std::string msg = std::string(function) + ": not a time stamp: '" +
                    std::string(text.substr(0, 40)) + "'";
  sqlite3_result_error(ctx, msg.c_str(), -1);
}

void resultText(sqlite3_context* ctx, const std::string& s) {
  sqlite3_result_text(ctx, s.data(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
}

void db2Timestamp(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (anyNull(argc, argv)) {
    sqlite3_result_null(ctx);
    return;
  }
  Stamp t;
  std::string_view first = textArg(argv[0]);
  if (!parseStamp(first, t)) {
    resultBadStamp(ctx, "NAV_ORASTD_DB2TIMESTAMP", first);
    return;
  }
  if (argc == 2) {
    std::string_view time = textArg(argv[1]);
    Stamp clock;
    if (!parseTime(time, clock)) {
      resultBadStamp(ctx, "NAV_ORASTD_DB2TIMESTAMP", time);
      return;
    }
    t.hour = clock.hour;
    t.minute = clock.minute;
    t.second = clock.second;
    t.micros = clock.micros;
  }
  resultText(ctx, formatStamp(t));
}

void db2TimestampDiff(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (anyNull(argc, argv)) {
    sqlite3_result_null(ctx);
    return;
  }
  const int64_t code = sqlite3_value_int64(argv[0]);
  int64_t unit = 0;
  switch (code) {
    case 1: unit = 1; break;
    case 2: unit = 1000000; break;
    case 4: unit = 60LL * 1000000; break;
    case 8: unit = 3600LL * 1000000; break;
    case 16: unit = 86400LL * 1000000; break;
    case 32: unit = 7 * 86400LL * 1000000; break;
    default:
      sqlite3_result_error(ctx, "NAV_ORASTD_DB2TIMESTAMPDIFF: unsupported interval code", -1);
      return;
  }
  Stamp a, b;
  std::string_view ta = textArg(argv[1]), tb = textArg(argv[2]);
  if (!parseStamp(ta, a)) return resultBadStamp(ctx, "NAV_ORASTD_DB2TIMESTAMPDIFF", ta);
  if (!parseStamp(tb, b)) return resultBadStamp(ctx, "NAV_ORASTD_DB2TIMESTAMPDIFF", tb);
  sqlite3_result_int64(ctx, (microsOf(a) - microsOf(b)) / unit);
}

void julianDay(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (anyNull(argc, argv)) {
    sqlite3_result_null(ctx);
    return;
  }
  Stamp t;
  std::string_view text = textArg(argv[0]);
  if (!parseStamp(text, t)) return resultBadStamp(ctx, "NAV_ORASTD_JULIAN_DAY", text);
  sqlite3_result_int64(ctx, gregorianJulianDay(t.year, t.month, t.day));
}

void bitOr(sqlite3_context* ctx, int, sqlite3_value** argv) {
  // A null counts as 0 (sqlite3_value_int64 gives 0 for a null).
  sqlite3_result_int64(ctx, sqlite3_value_int64(argv[0]) | sqlite3_value_int64(argv[1]));
}

void bitAnd(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (anyNull(argc, argv)) {
    sqlite3_result_null(ctx);
    return;
  }
  sqlite3_result_int64(ctx, sqlite3_value_int64(argv[0]) & sqlite3_value_int64(argv[1]));
}

void sysTimestamp(sqlite3_context* ctx, int, sqlite3_value**) {
  const auto* store = static_cast<const SqliteStore*>(sqlite3_user_data(ctx));
  resultText(ctx, store->currentTimestamp());
}

}  // namespace

int registerSqlFunctions(sqlite3* connection, const SqliteStore* clock) {
  struct Entry {
    const char* name;
    int argc;
    bool deterministic;
    void (*fn)(sqlite3_context*, int, sqlite3_value**);
  };
  static const Entry kEntries[] = {
      {"NAV_ORASTD_DB2TIMESTAMP", 1, true, db2Timestamp},
      {"NAV_ORASTD_DB2TIMESTAMP", 2, true, db2Timestamp},
      {"NAV_ORASTD_DB2TIMESTAMPDIFF", 3, true, db2TimestampDiff},
      {"NAV_ORASTD_JULIAN_DAY", 1, true, julianDay},
      {"NAV_STPU_BIT_OR", 2, true, bitOr},
      {"BITAND", 2, true, bitAnd},
      {"SYSTIMESTAMP", 0, false, sysTimestamp},
  };
  for (const Entry& e : kEntries) {
    int flags = SQLITE_UTF8 | (e.deterministic ? SQLITE_DETERMINISTIC : 0);
    void* userData = const_cast<SqliteStore*>(clock);
    int rc = sqlite3_create_function_v2(connection, e.name, e.argc, flags, userData,
                                        e.fn, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) return rc;
  }
  return SQLITE_OK;
}

}  // namespace host
