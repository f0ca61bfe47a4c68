// Element arithmetic of the transposition kernels.
//
// Complex products are written out on the parts, so no library helper for
// complex multiplication is called, and conjugation of a real value is the
// value itself: one template serves the four element types.
#pragma once
#include <cstdint>

#include "frame/isa.h"
#include "frame/types.h"
#include "trans/letters.h"

QOR_ISA_BEGIN
namespace trans {

using ::qor::trans::Op;
using ::qor::trans::u64;

template <class T>
inline T mul(T alpha, T x) {
  if constexpr (is_complex_v<T>) {
    return T(alpha.real() * x.real() - alpha.imag() * x.imag(), alpha.real() * x.imag() + alpha.imag() * x.real());
  } else {
    return alpha * x;
  }
}

template <class T>
inline T conj(T x) {
  if constexpr (is_complex_v<T>) {
    return T(x.real(), -x.imag());
  } else {
    return x;
  }
}

// alpha * x, conjugating x first when asked; Scale false means alpha is 1.
template <bool Conj, bool Scale, class T>
inline T apply(T alpha, T x) {
  if constexpr (Conj) x = conj(x);
  if constexpr (Scale) x = mul(alpha, x);
  return x;
}

// Exactly 1 (complex: real part 1, imaginary part 0), and exactly 0.
template <class T>
inline bool is_one(T x) {
  if constexpr (is_complex_v<T>) {
    return x.real() == 1 && x.imag() == 0;
  } else {
    return x == 1;
  }
}
template <class T>
inline bool is_zero(T x) {
  if constexpr (is_complex_v<T>) {
    return x.real() == 0 && x.imag() == 0;
  } else {
    return x == 0;
  }
}

template <class T>
inline void swap_elems(T& x, T& y) {
  T t = x;
  x = y;
  y = t;
}

}  // namespace trans
QOR_ISA_END
