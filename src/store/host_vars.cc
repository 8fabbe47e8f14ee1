// Reading and assigning host variables under the rules of host_vars.h: no
// byte is read or written outside the storage a descriptor names.
#include "store/host_vars.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "store/status.h"

namespace db {

namespace {

std::string_view trimSpaces(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

}  // namespace

bool HostVar::textFits() const {
  switch (kind_) {
    case HostKind::kCounted:
      return *len_ < capacity_;
    case HostKind::kChars:
      return ::strnlen(static_cast<const char*>(data_), capacity_) < capacity_;
    default:
      return true;
  }
}

std::string_view HostVar::text() const {
  const char* bytes = static_cast<const char*>(data_);
  switch (kind_) {
    case HostKind::kCounted:
      return std::string_view(bytes, *len_ < capacity_ ? *len_ : capacity_ - 1);
    case HostKind::kChars:
      return std::string_view(bytes, ::strnlen(bytes, capacity_));
    default:
      return std::string_view();
  }
}

int64_t HostVar::integer() const {
  switch (kind_) {
    case HostKind::kInt32:
      return *static_cast<const int32_t*>(data_);
    case HostKind::kInt64:
      return *static_cast<const int64_t*>(data_);
    case HostKind::kDouble: {
      double d = *static_cast<const double*>(data_);
      if (!(std::fabs(d) < 9.2e18)) return 0;
      return static_cast<int64_t>(d);
    }
    default:
      return 0;
  }
}

double HostVar::real() const {
  if (kind_ == HostKind::kDouble) return *static_cast<const double*>(data_);
  return static_cast<double>(integer());
}

int32_t HostVar::setNull() const {
  switch (kind_) {
    case HostKind::kCounted:
      *len_ = 0;
      static_cast<char*>(data_)[0] = '\0';
      break;
    case HostKind::kChars:
      static_cast<char*>(data_)[0] = '\0';
      break;
    case HostKind::kInt32:
      *static_cast<int32_t*>(data_) = 0;
      break;
    case HostKind::kInt64:
      *static_cast<int64_t*>(data_) = 0;
      break;
    case HostKind::kDouble:
      *static_cast<double*>(data_) = 0.0;
      break;
  }
  if (ind_ == nullptr) return kSqlNullWithoutIndicator;
  *ind_ = -1;
  return kSqlOk;
}

int32_t HostVar::setText(std::string_view value) const {
  if (isText()) {
    char* bytes = static_cast<char*>(data_);
    const std::size_t n = value.size() < capacity_ - 1 ? value.size() : capacity_ - 1;
    if (n > 0) std::memcpy(bytes, value.data(), n);
    bytes[n] = '\0';
    if (kind_ == HostKind::kCounted) *len_ = static_cast<uint16_t>(n);
    if (n < value.size()) {
      setIndicator(value.size() > 32767 ? int16_t{32767}
                                        : static_cast<int16_t>(value.size()));
    } else {
      setIndicator(0);
    }
    return kSqlOk;
  }
  // A text into a number: a whole decimal number first, then a real one.
  std::string_view s = trimSpaces(value);
  if (s.empty()) return kSqlInvalidNumber;
  std::string_view digits = s.front() == '+' ? s.substr(1) : s;
  int64_t whole = 0;
  auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), whole);
  if (ec == std::errc() && end == digits.data() + digits.size()) return setInteger(whole);
  double d = 0.0;
  auto [end2, ec2] = std::from_chars(digits.data(), digits.data() + digits.size(), d);
  if (ec2 == std::errc() && end2 == digits.data() + digits.size()) return setReal(d);
  if (ec == std::errc::result_out_of_range) return kSqlNumberOverflow;
  return kSqlInvalidNumber;
}

int32_t HostVar::setInteger(int64_t value) const {
  switch (kind_) {
    case HostKind::kInt32:
      if (value < std::numeric_limits<int32_t>::min() ||
          value > std::numeric_limits<int32_t>::max()) {
        return kSqlNumberOverflow;
      }
      *static_cast<int32_t*>(data_) = static_cast<int32_t>(value);
      break;
    case HostKind::kInt64:
      *static_cast<int64_t*>(data_) = value;
      break;
    case HostKind::kDouble:
      *static_cast<double*>(data_) = static_cast<double>(value);
      break;
    default: {
      char buf[24];
      auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
      (void)ec;  // 24 bytes hold every int64
      return setText(std::string_view(buf, static_cast<std::size_t>(end - buf)));
    }
  }
  setIndicator(0);
  return kSqlOk;
}

int32_t HostVar::setReal(double value) const {
  switch (kind_) {
    case HostKind::kDouble:
      *static_cast<double*>(data_) = value;
      setIndicator(0);
      return kSqlOk;
    case HostKind::kInt32:
    case HostKind::kInt64: {
      if (std::isnan(value)) return kSqlInvalidNumber;
      const double t = std::trunc(value);
      // 2^63 is exactly representable; anything at or past it cannot fit.
      if (!(t > -9223372036854775808.0 && t < 9223372036854775808.0)) {
        return kSqlNumberOverflow;
      }
      return setInteger(static_cast<int64_t>(t));
    }
    default: {
      char buf[32];
      int n = std::snprintf(buf, sizeof buf, "%.15g", value);
      if (n < 0) n = 0;
      if (n >= static_cast<int>(sizeof buf)) n = sizeof buf - 1;
      return setText(std::string_view(buf, static_cast<std::size_t>(n)));
    }
  }
}

In::In(const HostVar& v) : kind_(Kind::kNull) {
  if (v.isNull()) return;
  switch (v.kind()) {
    case HostKind::kCounted:
    case HostKind::kChars:
      if (!v.textFits()) {
        kind_ = Kind::kRefused;
      } else {
        kind_ = Kind::kText;
        text_ = v.text();
      }
      break;
    case HostKind::kInt32:
    case HostKind::kInt64:
      kind_ = Kind::kInteger;
      integer_ = v.integer();
      break;
    case HostKind::kDouble:
      kind_ = Kind::kReal;
      real_ = v.real();
      break;
  }
}

}  // namespace db
