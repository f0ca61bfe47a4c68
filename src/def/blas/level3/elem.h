// Element arithmetic shared by the Level 3 kernels.
//
// Complex products are written out on the parts, so that loops over them
// stay plain multiply-adds that the compiler can vectorise (the library
// operator goes through a NaN-recovery call). Reciprocals and true divisions
// use the library operator, which scales to avoid overflow and underflow.
#pragma once
#include <cstdint>
#include <cstring>

#include "frame/isa.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace l3 {

using i64 = std::int64_t;

template <class T>
inline T mul(T a, T b) {
  if constexpr (is_complex_v<T>) {
    return T(a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real());
  } else {
    return a * b;
  }
}

// a * conj(b)
template <class T>
inline T mulc(T a, T b) {
  if constexpr (is_complex_v<T>) {
    return T(a.real() * b.real() + a.imag() * b.imag(), a.imag() * b.real() - a.real() * b.imag());
  } else {
    return a * b;
  }
}

template <class T>
inline T conj_if(T a, bool c) {
  if constexpr (is_complex_v<T>) {
    return c ? T(a.real(), -a.imag()) : a;
  } else {
    (void)c;
    return a;
  }
}

template <class T>
inline T conj(T a) {
  return conj_if(a, true);
}

template <class T>
inline real_t<T> re(T a) {
  if constexpr (is_complex_v<T>) {
    return a.real();
  } else {
    return a;
  }
}

template <class T>
inline bool is_zero(T a) {
  return a == T(0);
}
template <class T>
inline bool is_one(T a) {
  return a == T(1);
}

inline i64 min_i(i64 x, i64 y) { return x < y ? x : y; }

// op(A)(r, c) as a pointer into A, for a block that starts there: A itself
// without transposition, the mirrored block otherwise.
template <class T>
inline const T* op_block(const T* a, i64 lda, bool trans, i64 r, i64 c) {
  return trans ? a + c + r * lda : a + r + c * lda;
}

// Column-major element access.
template <class T>
inline T& at(T* p, i64 ld, i64 i, i64 j) {
  return p[i + j * ld];
}
template <class T>
inline const T& at(const T* p, i64 ld, i64 i, i64 j) {
  return p[i + j * ld];
}

// B(0:m, 0:n) = 0 without reading B.
template <class T>
inline void clear(i64 m, i64 n, T* b, i64 ldb) {
  if (m <= 0) return;
  for (i64 j = 0; j < n; ++j) std::memset(static_cast<void*>(b + j * ldb), 0, sizeof(T) * static_cast<std::size_t>(m));
}

// B(0:m, 0:n) *= alpha; alpha 0 stores zeros, alpha 1 does nothing.
template <class T>
inline void scale(i64 m, i64 n, T alpha, T* b, i64 ldb) {
  if (is_one(alpha)) return;
  if (is_zero(alpha)) {
    clear(m, n, b, ldb);
    return;
  }
  for (i64 j = 0; j < n; ++j) {
    T* c = b + j * ldb;
    for (i64 i = 0; i < m; ++i) c[i] = mul(alpha, c[i]);
  }
}

}  // namespace l3
QOR_ISA_END
