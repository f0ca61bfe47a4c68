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

// Element i of a vector of n elements with stride inc (negative strides
// start at the far end, as in the reference BLAS).
template <class T>
inline T& at(T* v, i64 n, i64 inc, i64 i) {
  return v[(inc < 0 ? (1 - n) * inc : 0) + i * inc];
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
// conjugated calls: a contiguous copy in a block from the allocate pool.
// The caller's vector is only read. When no block can be had, ok() is
// false and the caller computes without the copy (direct.h).
template <class T>
class Conjugated {
 public:
  Conjugated(i64 n, const T* x, i64 inc) {
    if (n < 1) return;
    copy_ = static_cast<T*>(qor_serv_allocate(n * static_cast<i64>(sizeof(T)), 64));
    if (copy_ == nullptr) return;
    for (i64 i = 0; i < n; ++i) copy_[i] = conj(at(x, n, inc, i));
  }
  ~Conjugated() {
    if (copy_ != nullptr) qor_serv_deallocate(copy_);
  }
  Conjugated(const Conjugated&) = delete;
  Conjugated& operator=(const Conjugated&) = delete;
  bool ok() const { return copy_ != nullptr; }
  const T* data() const { return copy_; }
  const i64* inc() const { return &one_; }

 private:
  T* copy_ = nullptr;
  i64 one_ = 1;
};

}  // namespace qor::core::l2
