// Dot products: real, extended-accumulation and complex.
//
// The summation order is fixed by the accumulator layout below and is the
// same on every run for the same inputs and alignments.
#include "blas/level1/api.h"
#include "blas/level1/common.h"
#include "blas/level1/wide.h"

QOR_ISA_BEGIN
namespace l1 {
namespace {

// Real dot product over 128-bit registers of L lanes. Unit path (both
// strides +1 or both -1, elements aligned): with x and y equally aligned
// modulo 16, single products go into lane 0 of acc0 until x is aligned,
// then blocks of 8 registers run twice over acc0..acc3, then at most one
// block of 4 registers, then whole registers into acc0, then the last
// elements into lane 0 of acc0. Differently aligned: the peel aligns y and x
// is loaded in halves, blocks of 4 registers. Other strides: bases adjusted
// for negative strides, gathered registers into acc0, then single elements.
// The total is ((acc0 + acc1) + acc2) + acc3, then across the lanes.
template <class R>
R dot(i64 n, cep<R> x, i64 incx, cep<R> y, i64 incy) {
  using S = simd<R>;
  using reg = typename S::reg;
  constexpr i64 L = S::lanes;
  if (n <= 0) return R(0);
  // Both strides -1 pair the same elements as both +1: walk up either way.
  if (unit_pair(incx, incy)) incx = incy = 1;
  reg a0 = S::zero(), a1 = a0, a2 = a0, a3 = a0;
  i64 i = 0;
  if (incx == 1 && incy == 1 && element_aligned<R>(x) && element_aligned<R>(y)) {
    if (addr(x) % 16 == addr(y) % 16) {
      for (; i < n && !aligned16(x + i); ++i) a0 = S::add1(a0, S::mul1(S::load1(x + i), S::load1(y + i)));
      for (; i + 8 * L <= n; i += 8 * L) {
        // A block is 128 bytes: two lines of each vector.
        prefetch_read(x + i);
        prefetch_read(x + i + 4 * L);
        prefetch_read(y + i);
        prefetch_read(y + i + 4 * L);
        a0 = S::add(a0, S::mul(S::load(x + i), S::load(y + i)));
        a1 = S::add(a1, S::mul(S::load(x + i + L), S::load(y + i + L)));
        a2 = S::add(a2, S::mul(S::load(x + i + 2 * L), S::load(y + i + 2 * L)));
        a3 = S::add(a3, S::mul(S::load(x + i + 3 * L), S::load(y + i + 3 * L)));
        a0 = S::add(a0, S::mul(S::load(x + i + 4 * L), S::load(y + i + 4 * L)));
        a1 = S::add(a1, S::mul(S::load(x + i + 5 * L), S::load(y + i + 5 * L)));
        a2 = S::add(a2, S::mul(S::load(x + i + 6 * L), S::load(y + i + 6 * L)));
        a3 = S::add(a3, S::mul(S::load(x + i + 7 * L), S::load(y + i + 7 * L)));
      }
      if (i + 4 * L <= n) {
        a0 = S::add(a0, S::mul(S::load(x + i), S::load(y + i)));
        a1 = S::add(a1, S::mul(S::load(x + i + L), S::load(y + i + L)));
        a2 = S::add(a2, S::mul(S::load(x + i + 2 * L), S::load(y + i + 2 * L)));
        a3 = S::add(a3, S::mul(S::load(x + i + 3 * L), S::load(y + i + 3 * L)));
        i += 4 * L;
      }
      for (; i + L <= n; i += L) a0 = S::add(a0, S::mul(S::load(x + i), S::load(y + i)));
    } else {
      for (; i < n && !aligned16(y + i); ++i) a0 = S::add1(a0, S::mul1(S::load1(x + i), S::load1(y + i)));
      for (; i + 4 * L <= n; i += 4 * L) {
        a0 = S::add(a0, S::mul(S::load_halves(x + i), S::load(y + i)));
        a1 = S::add(a1, S::mul(S::load_halves(x + i + L), S::load(y + i + L)));
        a2 = S::add(a2, S::mul(S::load_halves(x + i + 2 * L), S::load(y + i + 2 * L)));
        a3 = S::add(a3, S::mul(S::load_halves(x + i + 3 * L), S::load(y + i + 3 * L)));
      }
      for (; i + L <= n; i += L) a0 = S::add(a0, S::mul(S::load_halves(x + i), S::load(y + i)));
    }
    for (; i < n; ++i) a0 = S::add1(a0, S::mul1(S::load1(x + i), S::load1(y + i)));
  } else {
    x += start_of(n, incx);
    y += start_of(n, incy);
    for (; i + L <= n; i += L) a0 = S::add(a0, S::mul(S::gather(x + i * incx, incx), S::gather(y + i * incy, incy)));
    for (; i < n; ++i) a0 = S::add1(a0, S::mul1(S::load1(x + i * incx), S::load1(y + i * incy)));
  }
  return S::hsum(S::add(S::add(S::add(a0, a1), a2), a3));
}

// Binary32 vectors, products and sum in binary64, starting from `init`.
// Both strides 1: two lanes, pairs of elements, the last one into lane 0,
// then lane 0 plus lane 1. Equal positive strides: one running sum with the
// stride in the index. Otherwise the same with bases adjusted for negative
// strides.
double dsdot(i64 n, double init, cep<float> x, i64 incx, cep<float> y, i64 incy) {
  if (n <= 0) return init;
  if (incx == 1 && incy == 1) {
    __m128d acc = _mm_set_sd(init);
    i64 i = 0;
    for (; i + 2 <= n; i += 2) {
      __m128d xv = _mm_cvtps_pd(simd<float>::load2(x + i));
      __m128d yv = _mm_cvtps_pd(simd<float>::load2(y + i));
      acc = _mm_add_pd(acc, _mm_mul_pd(xv, yv));
    }
    if (i < n) acc = _mm_add_sd(acc, _mm_set_sd(static_cast<double>(x[i]) * static_cast<double>(y[i])));
    return simd<double>::hsum(acc);
  }
  double sum = init;
  if (incx == incy && incx > 0) {
    for (i64 i = 0; i < n * incx; i += incx) sum += static_cast<double>(x[i]) * static_cast<double>(y[i]);
    return sum;
  }
  x += start_of(n, incx);
  y += start_of(n, incy);
  for (i64 i = 0; i < n; ++i) sum += static_cast<double>(x[i * incx]) * static_cast<double>(y[i * incy]);
  return sum;
}

// Complex dot product. Four accumulators: s0, s1 take the straight lane
// products x * y, w0, w1 the products with the parts of y swapped. The unit
// path (both strides +1 or both -1, both bases 16-byte aligned) runs blocks
// of 8 registers alternating between the two pairs, then whole registers,
// then a last element; the strided path takes one element at a time (both
// strides -1 walk up from the bases, like both +1). The
// conjugation and the cross terms are applied once at the end:
//   dotu = (Sr - Si, Wr + Wi),  dotc = (Sr + Si, Wr - Wi).
template <class R, bool Conj>
void cdot(ep<R> res, i64 n, cep<R> x, i64 incx, cep<R> y, i64 incy) {
  using S = simd<R>;
  using reg = typename S::reg;
  constexpr i64 E = S::lanes / 2;  // complex elements per register
  res[0] = R(0);
  res[1] = R(0);
  if (n <= 0) return;
  if (unit_pair(incx, incy)) incx = incy = 1;
  reg s0 = S::zero(), s1 = s0, w0 = s0, w1 = s0;
  auto step = [](reg& s, reg& w, reg xv, reg yv) {
    s = S::add(s, S::mul(xv, yv));
    w = S::add(w, S::mul(xv, S::swap_pairs(yv)));
  };
  i64 i = 0;
  if (incx == 1 && incy == 1 && aligned16(x) && aligned16(y)) {
    for (; i + 8 * E <= n; i += 8 * E) {
      prefetch_read(x + 2 * i);
      prefetch_read(x + 2 * i + 4 * S::lanes);
      prefetch_read(y + 2 * i);
      prefetch_read(y + 2 * i + 4 * S::lanes);
      for (i64 k = 0; k < 8; k += 2) {
        step(s0, w0, S::load(x + 2 * (i + k * E)), S::load(y + 2 * (i + k * E)));
        step(s1, w1, S::load(x + 2 * (i + (k + 1) * E)), S::load(y + 2 * (i + (k + 1) * E)));
      }
    }
    for (; i + E <= n; i += E) step(s0, w0, S::load(x + 2 * i), S::load(y + 2 * i));
    for (; i < n; ++i) step(s0, w0, S::load_c1(x + 2 * i), S::load_c1(y + 2 * i));
  } else {
    x += 2 * start_of(n, incx);
    y += 2 * start_of(n, incy);
    for (; i < n; ++i) step(s0, w0, S::load_c1(x + 2 * i * incx), S::load_c1(y + 2 * i * incy));
  }
  reg s = S::add(s0, s1), w = S::add(w0, w1);
  if constexpr (E == 2) {
    s = S::fold_pairs(s);
    w = S::fold_pairs(w);
  }
  R sr = S::lane0(s), si = S::lane1(s), wr = S::lane0(w), wi = S::lane1(w);
  if constexpr (Conj) {
    res[0] = sr + si;
    res[1] = wr - wi;
  } else {
    res[0] = sr - si;
    res[1] = wr + wi;
  }
}

}  // namespace
}  // namespace l1
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::l1;
using qor::i64;

namespace wide = qor::avx512::l1w;

QOR_DEF_API float qor_blas_def_xsdot(const i64* n, const float* x, const i64* incx, const float* y, const i64* incy) {
  if (*n > 0 && unit_pair(*incx, *incy) && wide_body()) return wide::dot<float>(*n, x, y);
  return dot<float>(*n, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API double qor_blas_def_xddot(const i64* n, const double* x, const i64* incx, const double* y,
                                      const i64* incy) {
  if (*n > 0 && unit_pair(*incx, *incy) && wide_body()) return wide::dot<double>(*n, x, y);
  return dot<double>(*n, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API float qor_blas_def_xsdsdot(const i64* n, const float* sb, const float* x, const i64* incx,
                                       const float* y, const i64* incy) {
  return static_cast<float>(dsdot(*n, static_cast<double>(*sb), re_ptr(x), *incx, re_ptr(y), *incy));
}
QOR_DEF_API double qor_blas_def_xdsdot(const i64* n, const float* x, const i64* incx, const float* y,
                                       const i64* incy) {
  return dsdot(*n, 0.0, re_ptr(x), *incx, re_ptr(y), *incy);
}

#define QOR_L1_CDOT(name, T, conj)                                                                           \
  QOR_DEF_API void qor_blas_def_##name(T* res, const i64* n, const T* x, const i64* incx, const T* y,        \
                                       const i64* incy) {                                                    \
    using R = qor::real_t<T>;                                                                                \
    if (*n > 0 && unit_pair(*incx, *incy) && wide_body()) {                                                  \
      R r[2];                                                                                                \
      wide::cdot<R, conj>(r, *n, reinterpret_cast<const R*>(x), reinterpret_cast<const R*>(y));              \
      re_ptr(res)[0] = r[0];                                                                                 \
      re_ptr(res)[1] = r[1];                                                                                 \
      return;                                                                                                \
    }                                                                                                        \
    cdot<R, conj>(re_ptr(res), *n, re_ptr(x), *incx, re_ptr(y), *incy);                                      \
  }
QOR_L1_CDOT(xcdotc, qor::c32, true)
QOR_L1_CDOT(xcdotu, qor::c32, false)
QOR_L1_CDOT(xzdotc, qor::c64, true)
QOR_L1_CDOT(xzdotu, qor::c64, false)
