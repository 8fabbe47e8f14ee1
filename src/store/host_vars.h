// Host variables: the caller's storage that values cross the database
// boundary through, each with a 16-bit null indicator (below 0: null; 0: a
// value; above 0: a value that was cut, see below).
//
// Kinds of storage:
// - VarChar<N>: a counted string, a 16-bit length and N bytes of which at
//   most N-1 carry text, so that arr[len] can always hold the terminator.
//   The capacities of the schema contract have names below (IdText = 33,
//   StampText = 27, ...).
// - char[N]: a plain zero-terminated array.
// - int32_t (the engine's numbers), int64_t (a `long` kept by a caller) and
//   double (the one floating argument of the resource search).
//
// Two descriptors, both cheap to copy and valid only while the storage they
// name lives:
// - In: an input value, read when the statement is executed (for a cursor,
//   when it is opened; later changes of the storage do not matter). Built
//   implicitly from a VarChar (its len counts), a char array (up to its
//   terminator), a C string pointer (a null pointer binds null), a
//   std::string or string_view, a number, or a HostVar (its current value).
//   An indicator below 0 binds null whatever the value.
// - HostVar: a target that a select or fetch fills, and an argument or
//   result of a call (procedures read and write through it). Built from a
//   VarChar, a char array or a number, and an optional pointer to the
//   indicator. Without an indicator, a null value gives the status -1405.
//
// Values longer than the storage, per direction:
// - input: refused. A VarChar whose len is N or more, or a char array
//   without a terminator inside its N bytes, makes the statement fail with
//   kSqlInputTooLong before anything is executed (the bytes past the storage
//   are never read, and a key is never silently shortened).
// - output: cut to N-1 bytes and terminated; the indicator then holds the
//   full length of the value (capped at 32767), as the embedded-SQL runtimes
//   do, and the status stays 0. So "ind < 0" is null, "ind == 0" a whole
//   value, "ind > 0" a value that did not fit.
// After every successful assignment a VarChar is terminated at len and a
// char array at its text's end; a null leaves len 0 and an empty text, a
// null number 0.
//
// Numbers: a fetched number with a fractional part is truncated toward zero;
// one outside the range of the host variable gives kSqlNumberOverflow; a
// text fetched into a number must be a decimal number (spaces around it are
// allowed), else kSqlInvalidNumber. A number fetched into a text storage is
// written in decimal.
#ifndef LEVELER_STORE_HOST_VARS_H
#define LEVELER_STORE_HOST_VARS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace db {

template <std::size_t N>
struct VarChar {
  static_assert(N >= 2 && N <= 65535, "capacity counts the terminator");
  static constexpr std::size_t kCapacity = N;

  uint16_t len = 0;
  char arr[N] = {};

  // Copies s, cut to N-1 bytes, sets len and terminates.
  void assign(std::string_view s) {
    std::size_t n = s.size() < N - 1 ? s.size() : N - 1;
    std::memcpy(arr, s.data(), n);
    len = static_cast<uint16_t>(n);
    arr[n] = '\0';
  }
  // The text as far as len says, never past N-1 bytes.
  std::string_view view() const {
    return std::string_view(arr, len < N - 1 ? len : N - 1);
  }
  // Terminated after every assign, select and fetch.
  const char* c_str() const { return arr; }
};

// The capacities of the schema contract (bytes including the terminator).
using IdText = VarChar<33>;        // element, project, resource, user ids
using StampText = VarChar<27>;     // YYYY-MM-DD HH:MM:SS.ffffff
using DayText = VarChar<11>;       // YYYY-MM-DD
using DayBitsText = VarChar<73>;   // 72 hexadecimal digits
using RankText = VarChar<193>;     // RANK values and patterns
using NameText = VarChar<256>;     // ELEMENT_NAME, WBS_CODE
using FlagText = VarChar<2>;       // one-character flags
using SubjectText = VarChar<2049>; // notification subject
using MessageText = VarChar<16385>;  // notification message

enum class HostKind : uint8_t { kCounted, kChars, kInt32, kInt64, kDouble };

class HostVar {
 public:
  template <std::size_t N>
  HostVar(VarChar<N>& v, int16_t* ind = nullptr)  // NOLINT: implicit on purpose
      : kind_(HostKind::kCounted), len_(&v.len), data_(v.arr), capacity_(N),
        ind_(ind) {}
  template <std::size_t N>
  HostVar(char (&a)[N], int16_t* ind = nullptr)  // NOLINT
      : kind_(HostKind::kChars), data_(a), capacity_(N), ind_(ind) {
    static_assert(N >= 1, "a character array needs room for the terminator");
  }
  HostVar(int32_t& v, int16_t* ind = nullptr)  // NOLINT
      : kind_(HostKind::kInt32), data_(&v), ind_(ind) {}
  HostVar(int64_t& v, int16_t* ind = nullptr)  // NOLINT
      : kind_(HostKind::kInt64), data_(&v), ind_(ind) {}
  HostVar(double& v, int16_t* ind = nullptr)  // NOLINT
      : kind_(HostKind::kDouble), data_(&v), ind_(ind) {}

  HostKind kind() const { return kind_; }
  bool isText() const {
    return kind_ == HostKind::kCounted || kind_ == HostKind::kChars;
  }
  std::size_t capacity() const { return capacity_; }  // text kinds only
  int16_t* indicator() const { return ind_; }

  // Reading the current value (inputs of a procedure, In(HostVar)).
  bool isNull() const { return ind_ != nullptr && *ind_ < 0; }
  // False when the storage holds more than its capacity allows (input rule).
  bool textFits() const;
  // The text, bounded by the capacity; numbers give an empty view.
  std::string_view text() const;
  int64_t integer() const;  // numbers; 0 for text kinds
  double real() const;

  // Assigning (fetch, procedure outputs). Each returns 0 or a negative
  // status and follows the output rules of the header comment.
  int32_t setNull() const;
  int32_t setText(std::string_view value) const;
  int32_t setInteger(int64_t value) const;
  int32_t setReal(double value) const;

 private:
  void setIndicator(int16_t value) const {
    if (ind_ != nullptr) *ind_ = value;
  }

  HostKind kind_;
  uint16_t* len_ = nullptr;  // counted strings only
  void* data_;               // text bytes or the number
  std::size_t capacity_ = 0;
  int16_t* ind_;
};

class In {
 public:
  enum class Kind : uint8_t { kNull, kText, kInteger, kReal, kRefused };

  In(int32_t v, int16_t ind = 0)  // NOLINT
      : kind_(ind < 0 ? Kind::kNull : Kind::kInteger), integer_(v) {}
  In(int64_t v, int16_t ind = 0)  // NOLINT
      : kind_(ind < 0 ? Kind::kNull : Kind::kInteger), integer_(v) {}
  In(double v, int16_t ind = 0)  // NOLINT
      : kind_(ind < 0 ? Kind::kNull : Kind::kReal), real_(v) {}
  In(std::string_view s, int16_t ind = 0)  // NOLINT
      : kind_(ind < 0 ? Kind::kNull : Kind::kText), text_(s) {}
  In(const std::string& s, int16_t ind = 0)  // NOLINT
      : In(std::string_view(s), ind) {}
  template <std::size_t N>
  In(const VarChar<N>& v, int16_t ind = 0)  // NOLINT
      : kind_(ind < 0 ? Kind::kNull
                      : (v.len < N ? Kind::kText : Kind::kRefused)),
        text_(v.arr, v.len < N ? v.len : 0) {}
  // A character array: the text up to its terminator, which must lie inside.
  template <class A>
    requires(std::is_array_v<A> &&
             std::is_same_v<std::remove_cv_t<std::remove_extent_t<A>>, char>)
  In(const A& a, int16_t ind = 0)  // NOLINT
      : kind_(Kind::kNull) {
    if (ind < 0) return;
    const std::size_t n = ::strnlen(a, std::extent_v<A>);
    if (n == std::extent_v<A>) {
      kind_ = Kind::kRefused;
    } else {
      kind_ = Kind::kText;
      text_ = std::string_view(a, n);
    }
  }
  // A C string pointer; a null pointer binds null.
  template <class P>
    requires(std::is_same_v<P, char*> || std::is_same_v<P, const char*>)
  In(const P& p, int16_t ind = 0)  // NOLINT
      : kind_(ind < 0 || p == nullptr ? Kind::kNull : Kind::kText),
        text_(p == nullptr ? std::string_view() : std::string_view(p)) {}
  In(const HostVar& v);  // NOLINT: the variable's current value

  static In null() { return In(NullTag{}); }

  Kind kind() const { return kind_; }
  std::string_view text() const { return text_; }
  int64_t integer() const { return integer_; }
  double real() const { return real_; }

 private:
  struct NullTag {};
  explicit In(NullTag) : kind_(Kind::kNull) {}

  Kind kind_;
  std::string_view text_;
  int64_t integer_ = 0;
  double real_ = 0.0;
};

// A read-only run of inputs or host variables, built from a braced list
// ({id, rank}), an array, a std::vector or a std::span. A braced list lives
// until the end of the statement that contains the call, which is all a
// store operation needs.
template <class T>
class List {
 public:
  constexpr List() = default;
// A view of a braced list is the point of this class; the list outlives
// every call it is passed to.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winit-list-lifetime"
  constexpr List(std::initializer_list<T> l)  // NOLINT
      : data_(l.begin()), size_(l.size()) {}
#pragma GCC diagnostic pop
  constexpr List(std::span<const T> s)  // NOLINT
      : data_(s.data()), size_(s.size()) {}
  List(const std::vector<T>& v)  // NOLINT
      : data_(v.data()), size_(v.size()) {}
  template <std::size_t N>
  constexpr List(const T (&a)[N])  // NOLINT
      : data_(a), size_(N) {}

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + size_; }

 private:
  const T* data_ = nullptr;
  std::size_t size_ = 0;
};

using Binds = List<In>;
using Vars = List<HostVar>;

}  // namespace db

#endif  // LEVELER_STORE_HOST_VARS_H
