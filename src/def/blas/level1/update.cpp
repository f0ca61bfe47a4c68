// Vector updates: axpy, axpby, scal, copy and swap.
//
// Each element's result depends on that element only, so the blocking below
// changes speed and never values: alpha * x is one product and one sum in
// every path, and complex products keep one form everywhere,
//   re = ar * xr - ai * xi,  im = ar * xi + ai * xr.
#include <cstring>

#include "blas/level1/api.h"
#include "blas/level1/common.h"
#include "blas/level1/wide.h"

QOR_ISA_BEGIN
namespace l1 {
namespace {

// ---- axpy ---------------------------------------------------------------

// y += alpha * x for reals. A zero alpha returns; a NaN alpha does not. Unit
// path (both strides +1 or both -1, element-aligned): peel until y is
// 16-byte aligned; with x equally aligned blocks of 8 registers, one block
// of 4, single registers; otherwise x loaded in halves, blocks of 4
// registers; then the last elements. Other strides: bases adjusted for
// negative strides, two elements at a time, then the last.
template <class R>
void axpy(i64 n, R alpha, cep<R> x, i64 incx, ep<R> y, i64 incy) {
  using S = simd<R>;
  using reg = typename S::reg;
  constexpr i64 L = S::lanes;
  if (n <= 0 || alpha == R(0)) return;
  i64 i = 0;
  if (unit_pair(incx, incy) && element_aligned<R>(x) && element_aligned<R>(y)) {
    const reg a = S::set1(alpha);
    for (; i < n && !aligned16(y + i); ++i) y[i] += alpha * x[i];
    if (aligned16(x + i)) {
      auto step = [&](i64 j) { S::store(y + j, S::add(S::load(y + j), S::mul(a, S::load(x + j)))); };
      for (; i + 8 * L <= n; i += 8 * L) {
        prefetch_read(x + i);
        prefetch_read(x + i + 4 * L);
        prefetch_write(y + i);
        prefetch_write(y + i + 4 * L);
        for (i64 k = 0; k < 8; ++k) step(i + k * L);
      }
      if (i + 4 * L <= n) {
        for (i64 k = 0; k < 4; ++k) step(i + k * L);
        i += 4 * L;
      }
      for (; i + L <= n; i += L) step(i);
    } else {
      auto step = [&](i64 j) { S::store(y + j, S::add(S::load(y + j), S::mul(a, S::load_halves(x + j)))); };
      for (; i + 4 * L <= n; i += 4 * L)
        for (i64 k = 0; k < 4; ++k) step(i + k * L);
      for (; i + L <= n; i += L) step(i);
    }
    for (; i < n; ++i) y[i] += alpha * x[i];
  } else {
    x += start_of(n, incx);
    y += start_of(n, incy);
    for (; i + 2 <= n; i += 2) {
      R t0 = alpha * x[i * incx], t1 = alpha * x[(i + 1) * incx];
      y[i * incy] += t0;
      y[(i + 1) * incy] += t1;
    }
    if (i < n) y[i * incy] += alpha * x[i * incx];
  }
}

// alpha * x for complex registers: x * (ar, ar) plus the swapped parts
// times (-ai, ai).
template <class R>
struct cmul {
  using S = simd<R>;
  using reg = typename S::reg;
  reg re, im;
  explicit cmul(const R* a) : re(S::set1(a[0])), im(S::neg_re(S::set1(a[1]))) {}
  reg operator()(reg x) const { return S::add(S::mul(re, x), S::mul(im, S::swap_pairs(x))); }
};

template <class R>
inline void cmul_add1(const R* a, cep<R> x, ep<R> y) {
  R xr = x[0], xi = x[1];
  y[0] += a[0] * xr - a[1] * xi;
  y[1] += a[0] * xi + a[1] * xr;
}

// y += alpha * x for complex vectors. CheckZero: the zero alpha returns at
// once (the _a form has no such test). Unit strides run blocks of 4
// registers, with aligned loads when both vectors are 16-byte aligned;
// other strides go element by element with adjusted bases.
template <class R, bool CheckZero>
void caxpy(i64 n, const R* alpha, cep<R> x, i64 incx, ep<R> y, i64 incy) {
  using S = simd<R>;
  constexpr i64 E = S::lanes / 2;
  if (n <= 0) return;
  if (CheckZero && alpha[0] == R(0) && alpha[1] == R(0)) return;
  const cmul<R> m(alpha);
  i64 i = 0;
  if (unit_pair(incx, incy) && element_aligned<R>(x) && element_aligned<R>(y)) {
    if (aligned16(x) && aligned16(y)) {
      for (; i + 4 * E <= n; i += 4 * E) {
        prefetch_read(x + 2 * i);
        prefetch_write(y + 2 * i);
        for (i64 k = 0; k < 4 * E; k += E) S::store(y + 2 * (i + k), S::add(S::load(y + 2 * (i + k)), m(S::load(x + 2 * (i + k)))));
      }
    } else {
      for (; i + 4 * E <= n; i += 4 * E)
        for (i64 k = 0; k < 4 * E; k += E)
          S::storeu(y + 2 * (i + k), S::add(S::loadu(y + 2 * (i + k)), m(S::loadu(x + 2 * (i + k)))));
    }
    for (; i < n; ++i) cmul_add1(alpha, x + 2 * i, y + 2 * i);
  } else {
    x += 2 * start_of(n, incx);
    y += 2 * start_of(n, incy);
    for (; i < n; ++i) cmul_add1(alpha, x + 2 * i * incx, y + 2 * i * incy);
  }
}

// ---- axpby --------------------------------------------------------------

// y = alpha * x + beta * y, formed as y * beta + x * alpha. Alpha 0 with beta
// 1 returns; beta 0 stores alpha * x without reading y.
template <class R>
void axpby(i64 n, R alpha, cep<R> x, i64 incx, R beta, ep<R> y, i64 incy) {
  if (n <= 0 || (alpha == R(0) && beta == R(1))) return;
  if (incx == 1 && incy == 1) {
    if (beta == R(0))
      for (i64 i = 0; i < n; ++i) y[i] = x[i] * alpha;
    else
      for (i64 i = 0; i < n; ++i) y[i] = y[i] * beta + x[i] * alpha;
    return;
  }
  x += start_of(n, incx);
  y += start_of(n, incy);
  if (beta == R(0))
    for (i64 i = 0; i < n; ++i) y[i * incy] = x[i * incx] * alpha;
  else
    for (i64 i = 0; i < n; ++i) y[i * incy] = y[i * incy] * beta + x[i * incx] * alpha;
}

template <class R>
inline void cmul_to(const R* a, R xr, R xi, R& zr, R& zi) {
  zr = xr * a[0] - xi * a[1];
  zi = xr * a[1] + xi * a[0];
}

template <class R>
void caxpby(i64 n, const R* alpha, cep<R> x, i64 incx, const R* beta, ep<R> y, i64 incy) {
  if (n <= 0) return;
  const bool alpha0 = alpha[0] == R(0) && alpha[1] == R(0);
  const bool beta0 = beta[0] == R(0) && beta[1] == R(0);
  if (alpha0 && beta[0] == R(1) && beta[1] == R(0)) return;
  x += 2 * start_of(n, incx);
  y += 2 * start_of(n, incy);
  for (i64 i = 0; i < n; ++i) {
    cep<R> xe = x + 2 * i * incx;
    ep<R> ye = y + 2 * i * incy;
    R ar, ai;
    cmul_to(alpha, xe[0], xe[1], ar, ai);
    if (beta0) {
      ye[0] = ar;
      ye[1] = ai;
    } else {
      R br, bi;
      cmul_to(beta, ye[0], ye[1], br, bi);
      ye[0] = br + ar;
      ye[1] = bi + ai;
    }
  }
}

// ---- scal ---------------------------------------------------------------

// x *= alpha for every alpha: no test for 0 or 1, so NaN and infinity
// survive a scale by zero as NaN. Strides +1 and -1 take the unit path from
// the base up (single elements to 16-byte alignment, blocks of 4 registers,
// then 2, then 1, then single elements); any other negative stride starts
// at (1 - n) * incx from the base.
template <class R>
void scal(i64 n, R alpha, ep<R> x, i64 incx) {
  using S = simd<R>;
  using reg = typename S::reg;
  constexpr i64 L = S::lanes;
  if (n <= 0) return;
  if ((incx == 1 || incx == -1) && element_aligned<R>(x)) {
    const reg a = S::set1(alpha);
    i64 i = 0;
    for (; i < n && !aligned16(x + i); ++i) x[i] *= alpha;
    auto step = [&](i64 j) { S::store(x + j, S::mul(S::load(x + j), a)); };
    for (; i + 4 * L <= n; i += 4 * L) {
      prefetch_write(x + i);
      for (i64 k = 0; k < 4; ++k) step(i + k * L);
    }
    if (i + 2 * L <= n) {
      step(i);
      step(i + L);
      i += 2 * L;
    }
    if (i + L <= n) {
      step(i);
      i += L;
    }
    for (; i < n; ++i) x[i] *= alpha;
    return;
  }
  x += start_of(n, incx);
  i64 i = 0;
  for (; i + 4 <= n; i += 4) {
    x[i * incx] *= alpha;
    x[(i + 1) * incx] *= alpha;
    x[(i + 2) * incx] *= alpha;
    x[(i + 3) * incx] *= alpha;
  }
  for (; i < n; ++i) x[i * incx] *= alpha;
}

// Complex x *= alpha, with the same stride rules as the real scale.
template <class R>
void cscal(i64 n, const R* alpha, ep<R> x, i64 incx) {
  using S = simd<R>;
  constexpr i64 E = S::lanes / 2;
  if (n <= 0) return;
  const R ar = alpha[0], ai = alpha[1];
  auto one = [&](ep<R> p) {
    R xr = p[0], xi = p[1];
    p[0] = ar * xr - ai * xi;
    p[1] = ar * xi + ai * xr;
  };
  if ((incx == 1 || incx == -1) && element_aligned<R>(x)) {
    const cmul<R> m(alpha);
    i64 i = 0;
    for (; i < n && !aligned16(x + 2 * i); ++i) one(x + 2 * i);
    for (; i + 4 * E <= n; i += 4 * E)
      for (i64 k = 0; k < 4 * E; k += E) S::store(x + 2 * (i + k), m(S::load(x + 2 * (i + k))));
    for (; i + E <= n; i += E) S::store(x + 2 * i, m(S::load(x + 2 * i)));
    for (; i < n; ++i) one(x + 2 * i);
    return;
  }
  x += 2 * start_of(n, incx);
  for (i64 i = 0; i < n; ++i) one(x + 2 * i * incx);
}

// Complex x *= real alpha: unit strides scale the 2n parts as a real
// vector; others walk up from the base with the absolute stride.
template <class R>
void rscal(i64 n, R alpha, ep<R> x, i64 incx) {
  if (n <= 0) return;
  if (incx == 1 || incx == -1) return scal<R>(2 * n, alpha, x, 1);
  i64 inc = 2 * abs_i(incx);
  for (i64 i = 0; i < n; ++i) {
    x[i * inc] *= alpha;
    x[i * inc + 1] *= alpha;
  }
}

// ---- copy and swap ------------------------------------------------------

// Copy of binary32 vectors: unit strides align the stores to y and copy
// whole registers; other strides go by 8 with adjusted bases.
template <class R>
void copy_strided(i64 n, cep<R> x, i64 incx, ep<R> y, i64 incy) {
  x += start_of(n, incx);
  y += start_of(n, incy);
  i64 i = 0;
  for (; i + 8 <= n; i += 8)
    for (i64 k = 0; k < 8; ++k) y[(i + k) * incy] = x[(i + k) * incx];
  for (; i < n; ++i) y[i * incy] = x[i * incx];
}

void scopy(i64 n, cep<float> x, i64 incx, ep<float> y, i64 incy) {
  using S = simd<float>;
  if (n <= 0) return;
  if (incx == 1 && incy == 1 && element_aligned<float>(y)) {
    i64 i = 0;
    for (; i < n && !aligned16(y + i); ++i) y[i] = x[i];
    for (; i + 16 <= n; i += 16)
      for (i64 k = 0; k < 16; k += 4) S::store(y + i + k, S::loadu(x + i + k));
    for (; i + 4 <= n; i += 4) S::store(y + i, S::loadu(x + i));
    for (; i < n; ++i) y[i] = x[i];
    return;
  }
  copy_strided<float>(n, x, incx, y, incy);
}

// Copy of binary64 vectors: memcpy for unit strides from 13 elements up.
void dcopy(i64 n, cep<double> x, i64 incx, ep<double> y, i64 incy) {
  if (n <= 0) return;
  if (incx == 1 && incy == 1) {
    if (n >= 13) {
      std::memcpy(reinterpret_cast<void*>(y), reinterpret_cast<const void*>(x), static_cast<std::size_t>(n) * 8);
    } else {
      for (i64 i = 0; i < n; ++i) y[i] = x[i];
    }
    return;
  }
  copy_strided<double>(n, x, incx, y, incy);
}

// Swap. Unit strides exchange registers (binary32 aligned on y when it can
// be) or pairs; other strides go by 4 with adjusted bases.
template <class R>
void swap_strided(i64 n, ep<R> x, i64 incx, ep<R> y, i64 incy) {
  x += start_of(n, incx);
  y += start_of(n, incy);
  i64 i = 0;
  for (; i + 4 <= n; i += 4)
    for (i64 k = 0; k < 4; ++k) {
      R t = x[(i + k) * incx];
      x[(i + k) * incx] = y[(i + k) * incy];
      y[(i + k) * incy] = t;
    }
  for (; i < n; ++i) {
    R t = x[i * incx];
    x[i * incx] = y[i * incy];
    y[i * incy] = t;
  }
}

template <class R>
void swap(i64 n, ep<R> x, i64 incx, ep<R> y, i64 incy) {
  using S = simd<R>;
  constexpr i64 L = S::lanes;
  if (n <= 0) return;
  if (incx == 1 && incy == 1) {
    i64 i = 0;
    auto one = [&](i64 j) {
      R t = x[j];
      x[j] = y[j];
      y[j] = t;
    };
    if (element_aligned<R>(y))
      for (; i < n && !aligned16(y + i); ++i) one(i);
    if (aligned16(y + i)) {
      for (; i + 2 * L <= n; i += 2 * L) {
        auto a0 = S::loadu(x + i), a1 = S::loadu(x + i + L);
        auto b0 = S::load(y + i), b1 = S::load(y + i + L);
        S::storeu(x + i, b0);
        S::storeu(x + i + L, b1);
        S::store(y + i, a0);
        S::store(y + i + L, a1);
      }
    } else {
      for (; i + 2 * L <= n; i += 2 * L) {
        auto a0 = S::loadu(x + i), a1 = S::loadu(x + i + L);
        auto b0 = S::loadu(y + i), b1 = S::loadu(y + i + L);
        S::storeu(x + i, b0);
        S::storeu(x + i + L, b1);
        S::storeu(y + i, a0);
        S::storeu(y + i + L, a1);
      }
    }
    for (; i < n; ++i) one(i);
    return;
  }
  swap_strided<R>(n, x, incx, y, incy);
}

}  // namespace
}  // namespace l1
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::l1;
using qor::c32;
using qor::c64;
using qor::i64;

namespace wide = qor::avx512::l1w;

// axpy
QOR_DEF_API void qor_blas_def_xsaxpy(const i64* n, const float* alpha, const float* x, const i64* incx, float* y,
                                     const i64* incy) {
  if (*n > 0 && *alpha != 0.0f && unit_pair(*incx, *incy) && wide_body()) return wide::axpy<float>(*n, *alpha, x, y);
  axpy<float>(*n, *alpha, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API void qor_blas_def_xdaxpy(const i64* n, const double* alpha, const double* x, const i64* incx, double* y,
                                     const i64* incy) {
  if (*n > 0 && *alpha != 0.0 && unit_pair(*incx, *incy) && wide_body()) return wide::axpy<double>(*n, *alpha, x, y);
  axpy<double>(*n, *alpha, re_ptr(x), *incx, re_ptr(y), *incy);
}
#define QOR_L1_CAXPY(name, T, check)                                                                         \
  QOR_DEF_API void qor_blas_def_##name(const i64* n, const T* alpha, const T* x, const i64* incx, T* y,      \
                                       const i64* incy) {                                                    \
    using R = qor::real_t<T>;                                                                                \
    R a[2] = {alpha->real(), alpha->imag()};                                                                 \
    const bool zero = check && a[0] == R(0) && a[1] == R(0);                                                 \
    if (*n > 0 && !zero && unit_pair(*incx, *incy) && wide_body())                                          \
      return wide::caxpy<R>(*n, a, reinterpret_cast<const R*>(x), reinterpret_cast<R*>(y));                  \
    caxpy<R, check>(*n, a, re_ptr(x), *incx, re_ptr(y), *incy);                                              \
  }
QOR_L1_CAXPY(xcaxpy, c32, true)
QOR_L1_CAXPY(xzaxpy, c64, true)
QOR_L1_CAXPY(xcaxpy_a, c32, false)
QOR_L1_CAXPY(xzaxpy_a, c64, false)

// axpby
QOR_DEF_API void qor_blas_def_xsaxpby(const i64* n, const float* alpha, const float* x, const i64* incx,
                                      const float* beta, float* y, const i64* incy) {
  axpby<float>(*n, *alpha, re_ptr(x), *incx, *beta, re_ptr(y), *incy);
}
QOR_DEF_API void qor_blas_def_xdaxpby(const i64* n, const double* alpha, const double* x, const i64* incx,
                                      const double* beta, double* y, const i64* incy) {
  axpby<double>(*n, *alpha, re_ptr(x), *incx, *beta, re_ptr(y), *incy);
}
#define QOR_L1_CAXPBY(name, T)                                                                               \
  QOR_DEF_API void qor_blas_def_##name(const i64* n, const T* alpha, const T* x, const i64* incx,            \
                                       const T* beta, T* y, const i64* incy) {                               \
    qor::real_t<T> a[2] = {alpha->real(), alpha->imag()}, b[2] = {beta->real(), beta->imag()};               \
    caxpby<qor::real_t<T>>(*n, a, re_ptr(x), *incx, b, re_ptr(y), *incy);                                   \
  }
QOR_L1_CAXPBY(xcaxpby, c32)
QOR_L1_CAXPBY(xzaxpby, c64)

// scal
QOR_DEF_API void qor_blas_def_xsscal(const i64* n, const float* alpha, float* x, const i64* incx) {
  if (*n > 0 && (*incx == 1 || *incx == -1) && wide_body()) return wide::scal<float>(*n, *alpha, x);
  scal<float>(*n, *alpha, re_ptr(x), *incx);
}
QOR_DEF_API void qor_blas_def_xdscal(const i64* n, const double* alpha, double* x, const i64* incx) {
  if (*n > 0 && (*incx == 1 || *incx == -1) && wide_body()) return wide::scal<double>(*n, *alpha, x);
  scal<double>(*n, *alpha, re_ptr(x), *incx);
}
QOR_DEF_API void qor_blas_def_xcscal(const i64* n, const c32* alpha, c32* x, const i64* incx) {
  float a[2] = {alpha->real(), alpha->imag()};
  cscal<float>(*n, a, re_ptr(x), *incx);
}
QOR_DEF_API void qor_blas_def_xzscal(const i64* n, const c64* alpha, c64* x, const i64* incx) {
  double a[2] = {alpha->real(), alpha->imag()};
  cscal<double>(*n, a, re_ptr(x), *incx);
}
QOR_DEF_API void qor_blas_def_xcsscal(const i64* n, const float* alpha, c32* x, const i64* incx) {
  rscal<float>(*n, *alpha, re_ptr(x), *incx);
}
QOR_DEF_API void qor_blas_def_xzdscal(const i64* n, const double* alpha, c64* x, const i64* incx) {
  rscal<double>(*n, *alpha, re_ptr(x), *incx);
}

// copy
QOR_DEF_API void qor_blas_def_xscopy(const i64* n, const float* x, const i64* incx, float* y, const i64* incy) {
  scopy(*n, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API void qor_blas_def_xdcopy(const i64* n, const double* x, const i64* incx, double* y, const i64* incy) {
  dcopy(*n, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API void qor_blas_def_xccopy(const i64* n, const c32* x, const i64* incx, c32* y, const i64* incy) {
  if (*incx == 1 && *incy == 1) return scopy(2 * *n, re_ptr(x), 1, re_ptr(y), 1);
  copy_strided<double>(*n, reinterpret_cast<cep<double>>(x), *incx, reinterpret_cast<ep<double>>(y), *incy);
}
QOR_DEF_API void qor_blas_def_xzcopy(const i64* n, const c64* x, const i64* incx, c64* y, const i64* incy) {
  if (*n <= 0) return;
  if (*incx == 1 && *incy == 1) return dcopy(2 * *n, re_ptr(x), 1, re_ptr(y), 1);
  cep<double> xs = re_ptr(x);
  ep<double> ys = re_ptr(y);
  i64 nn = *n, ix = *incx, iy = *incy;
  xs += 2 * start_of(nn, ix);
  ys += 2 * start_of(nn, iy);
  for (i64 i = 0; i < nn; ++i) {
    ys[2 * i * iy] = xs[2 * i * ix];
    ys[2 * i * iy + 1] = xs[2 * i * ix + 1];
  }
}

// swap
QOR_DEF_API void qor_blas_def_xsswap(const i64* n, float* x, const i64* incx, float* y, const i64* incy) {
  swap<float>(*n, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API void qor_blas_def_xdswap(const i64* n, double* x, const i64* incx, double* y, const i64* incy) {
  swap<double>(*n, re_ptr(x), *incx, re_ptr(y), *incy);
}
QOR_DEF_API void qor_blas_def_xcswap(const i64* n, c32* x, const i64* incx, c32* y, const i64* incy) {
  if (*incx == 1 && *incy == 1) return swap<float>(2 * *n, re_ptr(x), 1, re_ptr(y), 1);
  // One complex binary32 element moves as one 8-byte unit.
  if (*n > 0) swap_strided<double>(*n, reinterpret_cast<ep<double>>(x), *incx, reinterpret_cast<ep<double>>(y), *incy);
}
QOR_DEF_API void qor_blas_def_xzswap(const i64* n, c64* x, const i64* incx, c64* y, const i64* incy) {
  if (*incx == 1 && *incy == 1) return swap<double>(2 * *n, re_ptr(x), 1, re_ptr(y), 1);
  if (*n <= 0) return;
  i64 nn = *n, ix = *incx, iy = *incy;
  ep<double> xs = re_ptr(x) + 2 * start_of(nn, ix);
  ep<double> ys = re_ptr(y) + 2 * start_of(nn, iy);
  for (i64 i = 0; i < nn; ++i)
    for (int p = 0; p < 2; ++p) {
      double t = xs[2 * i * ix + p];
      xs[2 * i * ix + p] = ys[2 * i * iy + p];
      ys[2 * i * iy + p] = t;
    }
}
