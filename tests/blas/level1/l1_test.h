// Helpers of the vector-routine tests: the dispatching names by type,
// vectors placed at chosen byte offsets and strides, and plain references.
#pragma once
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "blas/level1/dispatch.h"
#include "common/testing.h"

namespace l1t {

using qor::c32;
using qor::c64;
using qor::i64;
template <class T> using R = qor::real_t<T>;
template <class T> constexpr bool cplx = qor::is_complex_v<T>;

// ---- dispatching names by type -------------------------------------------

template <class T> using api = qor::blas1::dispatch<T>;
// The type letter of the routine names, for messages.
template <class T> inline constexpr const char* letter = "s";
template <> inline constexpr const char* letter<double> = "d";
template <> inline constexpr const char* letter<c32> = "c";
template <> inline constexpr const char* letter<c64> = "z";

// ---- values ----------------------------------------------------------------

template <class T> T make(double re, double im = 0) {
  if constexpr (cplx<T>)
    return T(static_cast<R<T>>(re), static_cast<R<T>>(im));
  else
    return static_cast<T>(re);
}
template <class T> T random(qor::test::Rng& rng) { return make<T>(rng.next(), rng.next()); }
template <class T> R<T> re(T v) {
  if constexpr (cplx<T>) return v.real(); else return v;
}
template <class T> R<T> im(T v) {
  if constexpr (cplx<T>) return v.imag(); else return R<T>(0);
}
// The products the kernels form: a * x as (ar xr - ai xi, ar xi + ai xr).
template <class T> T mul(T a, T x) {
  if constexpr (cplx<T>)
    return T(a.real() * x.real() - a.imag() * x.imag(), a.real() * x.imag() + a.imag() * x.real());
  else
    return a * x;
}
template <class T> bool same_bits(T a, T b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }
template <class T> std::string show(T v) {
  if constexpr (cplx<T>)
    return "(" + std::to_string(v.real()) + "," + std::to_string(v.imag()) + ")";
  else
    return std::to_string(v);
}

// ---- vectors at chosen offsets ----------------------------------------------

// A vector of n logical elements with stride inc, placed `offset` bytes past
// a 64-byte boundary, so that every peel and fallback path can be reached.
// Storage is read and written with memcpy: the base need not be
// element-aligned.
template <class T>
class Vec {
 public:
  Vec(i64 n, i64 inc, std::size_t offset) : n_(n), inc_(inc) {
    slots_ = n <= 0 ? 1 : 1 + (n - 1) * (inc < 0 ? -inc : inc);
    mem_.assign(static_cast<std::size_t>(slots_) * sizeof(T) + 128 + offset, 0);
    auto a = reinterpret_cast<std::uintptr_t>(mem_.data());
    base_ = mem_.data() + ((64 - a % 64) % 64) + offset;
  }
  Vec(const Vec&) = delete;
  Vec& operator=(const Vec&) = delete;
  void fill(qor::test::Rng& rng) {
    for (i64 k = 0; k < slots_; ++k) set_slot(k, random<T>(rng));
  }
  T* ptr() { return reinterpret_cast<T*>(base_); }
  i64 n() const { return n_; }
  i64 inc() const { return inc_; }
  i64 slots() const { return slots_; }
  // Storage slot of logical element i (a negative stride starts at the far end).
  i64 pos(i64 i) const { return inc_ >= 0 ? i * inc_ : (n_ - 1 - i) * -inc_; }
  T slot(i64 k) const {
    T v;
    std::memcpy(&v, base_ + k * sizeof(T), sizeof(T));
    return v;
  }
  void set_slot(i64 k, T v) { std::memcpy(base_ + k * sizeof(T), &v, sizeof(T)); }
  T operator[](i64 i) const { return slot(pos(i)); }
  void set(i64 i, T v) { set_slot(pos(i), v); }
  std::vector<T> all() const {
    std::vector<T> v(static_cast<std::size_t>(slots_));
    for (i64 k = 0; k < slots_; ++k) v[k] = slot(k);
    return v;
  }

 private:
  i64 n_, inc_, slots_;
  std::vector<unsigned char> mem_;
  unsigned char* base_;
};

// Storage of `got` equals `want` bit for bit, reporting the first difference.
template <class T>
::testing::AssertionResult same_storage(const Vec<T>& got, const std::vector<T>& want) {
  auto g = got.all();
  for (std::size_t k = 0; k < want.size(); ++k)
    if (!same_bits(g[k], want[k]))
      return ::testing::AssertionFailure() << "slot " << k << ": got " << show(g[k]) << ", want " << show(want[k]);
  return ::testing::AssertionSuccess();
}

// Lengths across every block and tail boundary of the 128-bit bodies (blocks
// of up to 32 binary32 elements, peels of up to 3), and a few long ones.
inline std::vector<i64> lengths() {
  std::vector<i64> v;
  for (i64 n = 0; n <= 70; ++n) v.push_back(n);
  for (i64 n : {95, 96, 97, 127, 128, 129, 255, 256, 257, 300, 513, 1000}) v.push_back(n);
  return v;
}
inline const std::vector<std::size_t>& offsets() {
  static const std::vector<std::size_t> v = {0, 4, 8, 12};
  return v;
}
struct StridePair {
  i64 x, y;
};
inline const std::vector<StridePair>& stride_pairs() {
  static const std::vector<StridePair> v = {{1, 1}, {-1, -1}, {2, -3}, {-3, 2}, {1, -1}, {-1, 2}};
  return v;
}

// Runs a check on every processor path this machine can execute. With
// `wide` set, the check reaches the 512-bit bodies (unit strides, two
// elements or more), and the 512-bit path must count a hit for them.
template <class F>
void on_every_body(F&& check, bool wide = true) {
  qor::test::on_every_path([&](int) { check(); }, wide ? qor::test::TunedOn::paths({QOR_CPU_PATH_AVX512})
                                                       : qor::test::TunedOn::none());
}

// Relative tolerance for a sum of n terms of magnitude `mag` in type R.
template <class Rt> double sum_tol(i64 n, double mag) {
  return 4.0 * static_cast<double>(n + 2) * std::numeric_limits<Rt>::epsilon() * mag + 1e-300;
}

}  // namespace l1t
