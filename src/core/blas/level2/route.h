// Pieces shared by the public Level 2 interfaces of the core: the
// dispatching names of each element type under one name, the argument
// tests of the reference BLAS, and the conjugated views that a row-major
// Hermitian or conjugate-transposed call needs.
#pragma once
#include <complex>
#include <cstdint>

#include "blas/common/interface.h"
#include "blas/level2/dispatch.h"
#include "frame/services.h"

namespace qor::core::l2 {

using i64 = std::int64_t;
using ::qor::c32;
using ::qor::c64;

template <class T> using D = ::qor::blas2::dispatch<T>;

template <class T>
inline constexpr bool cplx = is_complex_v<T>;

// Public arrays arrive as void pointers (complex) or as the real type.
template <class T>
inline const T* cp(const void* p) {
  return static_cast<const T*>(p);
}
template <class T>
inline T* mp(void* p) {
  return static_cast<T*>(p);
}

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

// The conjugate of a caller's vector, for the row-major Hermitian and
// conjugated calls: a contiguous copy in a block from the allocate pool
// when one can be had; otherwise the caller's vector is conjugated in place
// and put back, bit for bit, when the view dies.
template <class T>
class Conjugated {
 public:
  Conjugated(i64 n, const T* x, i64 inc) : n_(n), src_(const_cast<T*>(x)), inc_(inc) {
    if (n < 1) {
      p_ = src_;
      return;
    }
    copy_ = static_cast<T*>(qor_serv_allocate(n * static_cast<i64>(sizeof(T)), 64));
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
      qor_serv_deallocate(copy_);
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
