// Element arithmetic and vector access shared by the sparse product
// kernels.
//
// Complex products are written out, (ar xr - ai xi, ar xi + ai xr), so they
// compile to four multiplications and two additions with no library call
// and no recovery branch; the library is built without FMA contraction, so
// every path sums in the order written here.
#pragma once
#include <cstdint>

#include "frame/types.h"
#include "sparse/records.h"

namespace qor::sparse::kern {

using idx = std::int64_t;

template <class T> inline T mul(T a, T b) {
  if constexpr (is_complex_v<T>)
    return T(a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real());
  else
    return a * b;
}
template <class T> inline T conj(T a) {
  if constexpr (is_complex_v<T>)
    return T(a.real(), -a.imag());
  else
    return a;
}
// The stored value as the operation reads it: conjugated when asked, in
// complex types only.
template <bool Conj, class T> inline T take(T a) {
  if constexpr (Conj)
    return conj(a);
  else
    return a;
}
// The beta rule's test: zero only on exact equality, so NaN is general.
template <class T> inline bool is_zero(T beta) { return beta == T(0); }

// A vector seen through a stride: column k of a row-major dense matrix.
// Contiguous vectors are plain pointers, which index the same way.
template <class P> struct strided {
  P* p;
  idx inc;
  P& operator[](idx k) const { return p[k * inc]; }
};
template <class P> inline P* shift(P* p, idx by) { return p - by; }
template <class P> inline strided<P> shift(strided<P> v, idx by) { return {v.p - by * v.inc, v.inc}; }

// y[i] under the beta rule, given the scaled sum s.
template <bool BetaZero, class T, class Y> inline void store(Y& y, idx i, T s, T beta) {
  if constexpr (BetaZero)
    y[i] = s;
  else
    y[i] = mul(y[i], beta) + s;
}

}  // namespace qor::sparse::kern
