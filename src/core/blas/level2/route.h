// Pieces shared by the public Level 2 interfaces of the core: the
// dispatching names of each element type under one name, the argument
// tests of the reference BLAS, and the conjugated views that a row-major
// Hermitian or conjugate-transposed call needs.
#pragma once
#include <complex>
#include <cstdint>
#include <new>

#include "blas/common/interface.h"
#include "blas/level2/dispatch.h"

namespace qor::core::l2 {

using i64 = std::int64_t;
using ::qor::c32;
using ::qor::c64;

template <class T> struct D;
#define QOR_L2_ROUTE(t, T, sy, sb, sp, r1, p1, r2, p2, g1, g2, g2v) \
  template <> struct D<T> {                                         \
    static constexpr auto gemv = &qor_blas_##t##gemv;               \
    static constexpr auto gbmv = &qor_blas_##t##gbmv;               \
    static constexpr auto trmv = &qor_blas_##t##trmv;               \
    static constexpr auto trsv = &qor_blas_##t##trsv;               \
    static constexpr auto tbmv = &qor_blas_##t##tbmv;               \
    static constexpr auto tbsv = &qor_blas_##t##tbsv;               \
    static constexpr auto tpmv = &qor_blas_##t##tpmv;               \
    static constexpr auto tpsv = &qor_blas_##t##tpsv;               \
    static constexpr auto symv = &qor_blas_##t##sy;                 \
    static constexpr auto sbmv = &qor_blas_##t##sb;                 \
    static constexpr auto spmv = &qor_blas_##t##sp;                 \
    static constexpr auto syr = &qor_blas_##t##r1;                  \
    static constexpr auto spr = &qor_blas_##t##p1;                  \
    static constexpr auto syr2 = &qor_blas_##t##r2;                 \
    static constexpr auto spr2 = &qor_blas_##t##p2;                 \
    static constexpr auto ger = &qor_blas_##t##g1;                  \
    static constexpr auto geru = &qor_blas_##t##g2;                 \
    static constexpr auto gem2v = &qor_blas_##t##g2v;               \
  };
QOR_L2_ROUTE(s, float, symv, sbmv, spmv, syr, spr, syr2, spr2, ger, ger, gem2vu)
QOR_L2_ROUTE(d, double, symv, sbmv, spmv, syr, spr, syr2, spr2, ger, ger, gem2vu)
QOR_L2_ROUTE(c, c32, hemv, hbmv, hpmv, her, hpr, her2, hpr2, gerc, geru, gem2vc)
QOR_L2_ROUTE(z, c64, hemv, hbmv, hpmv, her, hpr, her2, hpr2, gerc, geru, gem2vc)
#undef QOR_L2_ROUTE

template <class T>
inline constexpr bool cplx = is_complex_v<T>;

// Option letters, either case.
inline bool is_trans(const char* c) {
  const char u = blas::upper(c);
  return u == 'N' || u == 'T' || u == 'C';
}
inline bool is_uplo(const char* c) {
  const char u = blas::upper(c);
  return u == 'U' || u == 'L';
}
inline bool is_diag(const char* c) {
  const char u = blas::upper(c);
  return u == 'U' || u == 'N';
}
template <class Int>
inline Int at_least_1(Int v) {
  return v > 1 ? v : 1;
}

template <class T>
inline T conj(T v) {
  if constexpr (cplx<T>) {
    return T(v.real(), -v.imag());
  } else {
    return v;
  }
}

// Conjugates the n elements of a vector in place (exactly undone by a
// second call).
template <class T>
inline void conj_in_place(i64 n, T* x, i64 inc) {
  if constexpr (cplx<T>) {
    const i64 step = inc < 0 ? -inc : inc;
    for (i64 i = 0; i < n; ++i) x[i * step] = conj(x[i * step]);
  }
}

// The conjugate of a caller's vector, for the row-major Hermitian calls: a
// contiguous copy when memory can be had; otherwise the caller's vector is
// conjugated in place and put back exactly when the view dies.
template <class T>
class Conjugated {
 public:
  Conjugated(i64 n, const T* x, i64 inc) : n_(n), src_(const_cast<T*>(x)), inc_(inc) {
    if (n < 1) {
      p_ = src_;
      return;
    }
    copy_ = new (std::nothrow) T[static_cast<std::size_t>(n)];
    if (copy_ != nullptr) {
      const T* first = inc < 0 ? x + (1 - n) * inc : x;
      for (i64 i = 0; i < n; ++i) copy_[i] = conj(first[i * inc]);
      p_ = copy_;
      inc_out_ = 1;
    } else {
      conj_in_place(n, src_, inc);
      p_ = src_;
      inc_out_ = inc;
    }
  }
  ~Conjugated() {
    if (copy_ != nullptr) {
      delete[] copy_;
    } else if (n_ > 0) {
      conj_in_place(n_, src_, inc_);
    }
  }
  Conjugated(const Conjugated&) = delete;
  Conjugated& operator=(const Conjugated&) = delete;
  const T* data() const { return p_; }
  const i64* inc() const { return &inc_out_; }

 private:
  i64 n_;
  T* src_;
  i64 inc_;
  T* copy_ = nullptr;
  T* p_ = nullptr;
  i64 inc_out_ = inc_;
};

}  // namespace qor::core::l2
