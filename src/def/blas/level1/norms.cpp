// Sums of magnitudes and Euclidean norms.
//
// These need the set of elements, not their order: strides +1 and -1 walk
// up from the base, other strides use their absolute value.
#include <cmath>

#include "blas/level1/api.h"
#include "blas/level1/common.h"
#include "blas/level1/wide.h"

QOR_ISA_BEGIN
namespace l1 {
namespace {

// Sum of |x[i]|. Unit path (stride +1 or -1, element-aligned base): single
// elements into lane 0 of acc0 until the base is 16-byte aligned, blocks of
// 8 registers alternating acc0 and acc1, one block of 4 registers over
// acc0..acc3, one of 2 (acc0, acc1), one register into acc0, the last
// elements into lane 0 of acc0. Any other case: one running sum in lane 0
// of acc0. Total ((acc0 + acc1) + acc2) + acc3, then across the lanes.
template <class R>
R asum(i64 n, cep<R> x, i64 incx) {
  using S = simd<R>;
  using reg = typename S::reg;
  constexpr i64 L = S::lanes;
  if (n <= 0) return R(0);
  reg a0 = S::zero(), a1 = a0, a2 = a0, a3 = a0;
  if ((incx == 1 || incx == -1) && element_aligned<R>(x)) {
    i64 i = 0;
    for (; i < n && !aligned16(x + i); ++i) a0 = S::add1(a0, S::abs(S::load1(x + i)));
    for (; i + 8 * L <= n; i += 8 * L) {
      a0 = S::add(a0, S::abs(S::load(x + i)));
      a1 = S::add(a1, S::abs(S::load(x + i + L)));
      a0 = S::add(a0, S::abs(S::load(x + i + 2 * L)));
      a1 = S::add(a1, S::abs(S::load(x + i + 3 * L)));
      a0 = S::add(a0, S::abs(S::load(x + i + 4 * L)));
      a1 = S::add(a1, S::abs(S::load(x + i + 5 * L)));
      a0 = S::add(a0, S::abs(S::load(x + i + 6 * L)));
      a1 = S::add(a1, S::abs(S::load(x + i + 7 * L)));
    }
    if (i + 4 * L <= n) {
      a0 = S::add(a0, S::abs(S::load(x + i)));
      a1 = S::add(a1, S::abs(S::load(x + i + L)));
      a2 = S::add(a2, S::abs(S::load(x + i + 2 * L)));
      a3 = S::add(a3, S::abs(S::load(x + i + 3 * L)));
      i += 4 * L;
    }
    if (i + 2 * L <= n) {
      a0 = S::add(a0, S::abs(S::load(x + i)));
      a1 = S::add(a1, S::abs(S::load(x + i + L)));
      i += 2 * L;
    }
    if (i + L <= n) {
      a0 = S::add(a0, S::abs(S::load(x + i)));
      i += L;
    }
    for (; i < n; ++i) a0 = S::add1(a0, S::abs(S::load1(x + i)));
  } else {
    i64 inc = abs_i(incx);
    for (i64 i = 0; i < n; ++i) a0 = S::add1(a0, S::abs(S::load1(x + i * inc)));
  }
  return S::hsum(S::add(S::add(S::add(a0, a1), a2), a3));
}

// Complex: the sum of |re| + |im|. Unit strides are the real sum over 2n
// parts; other strides take one element per step, blocks of 8 elements over
// acc0..acc3 twice, the rest into acc0.
template <class R>
R casum(i64 n, cep<R> x, i64 incx) {
  using S = simd<R>;
  using reg = typename S::reg;
  if (n <= 0) return R(0);
  if (incx == 1 || incx == -1) return asum<R>(2 * n, x, 1);
  i64 inc = 2 * abs_i(incx);
  reg a[4] = {S::zero(), S::zero(), S::zero(), S::zero()};
  i64 i = 0;
  for (; i + 8 <= n; i += 8)
    for (int k = 0; k < 8; ++k) a[k & 3] = S::add(a[k & 3], S::abs(S::load_c1(x + (i + k) * inc)));
  for (; i < n; ++i) a[0] = S::add(a[0], S::abs(S::load_c1(x + i * inc)));
  return S::hsum(S::add(S::add(S::add(a[0], a[1]), a[2]), a[3]));
}

// One step of the scaled sum of squares: the value contributes
// (|v| / scale)^2 to ssq, with ssq rescaled when |v| sets a new scale.
// Zeros are skipped; a NaN passes the test and turns ssq into NaN; a second
// infinity gives inf / inf, so two infinities make the norm NaN.
template <class R>
inline void ssq_step(R v, R& scale, R& ssq) {
  if (v == R(0)) return;
  R a = std::fabs(v);
  if (a > scale) {
    R r = scale / a;
    ssq = R(1) + ssq * (r * r);
    scale = a;
  } else {
    R r = a / scale;
    ssq += r * r;
  }
}

// Eight consecutive values through the recurrence. While none of them is
// above the scale (and the scale is set), every step is the plain one,
// ssq += (|v| / scale)^2, and a zero adds an exact 0 where the scalar step
// skips it: the quotients and squares are formed two at a time, and only
// the sums stay one after the other, in order, so the bits are those of the
// scalar steps. A value above the scale, or a NaN, takes the scalar steps.
inline void ssq_block8(cep<double> v, double& scale, double& ssq) {
  using S = simd<double>;
  using reg = S::reg;
  reg a[4];
  for (int k = 0; k < 4; ++k) a[k] = S::abs(S::loadu(v + 2 * k));
  const reg s = S::set1(scale);
  // Lanes not above the scale, NaN excluded (ordered compare).
  const int within = _mm_movemask_pd(_mm_and_pd(_mm_and_pd(_mm_cmple_pd(a[0], s), _mm_cmple_pd(a[1], s)),
                                                _mm_and_pd(_mm_cmple_pd(a[2], s), _mm_cmple_pd(a[3], s))));
  if (within != 3 || !(scale > 0.0)) {
    for (int k = 0; k < 8; ++k) ssq_step(v[k], scale, ssq);
    return;
  }
  alignas(16) double sq[8];
  for (int k = 0; k < 4; ++k) {
    reg r = _mm_div_pd(a[k], s);
    _mm_store_pd(sq + 2 * k, S::mul(r, r));
  }
  for (int k = 0; k < 8; ++k) ssq += sq[k];
}

// Binary64 norm by the scaled recurrence, no pass for the maximum. `parts`
// is 1 for a real vector, 2 for a complex one (real part, then imaginary).
template <int Parts>
double nrm2_scaled(i64 n, cep<double> x, i64 incx) {
  if (n <= 0) return 0.0;
  if (Parts == 1 && n == 1) return std::fabs(x[0]);
  i64 inc = Parts * abs_i(incx);
  double scale = 0.0, ssq = 1.0;
  i64 i = 0;
  constexpr i64 U = Parts == 1 ? 8 : 4;
  if (inc == Parts) {
    // U elements are eight consecutive values.
    for (; i + U <= n; i += U) ssq_block8(x + i * Parts, scale, ssq);
  } else {
    for (; i + U <= n; i += U)
      for (i64 k = 0; k < U; ++k)
        for (int p = 0; p < Parts; ++p) ssq_step(x[(i + k) * inc + p], scale, ssq);
  }
  for (; i < n; ++i)
    for (int p = 0; p < Parts; ++p) ssq_step(x[i * inc + p], scale, ssq);
  return std::sqrt(ssq) * scale;
}

// Binary32 norms: each value squared in binary64 and summed, no scaling.
// Eight two-lane accumulators; the registers of the walk (two values each)
// go in blocks of 16 registers (two passes over acc0..acc7), then one block
// of 8, of 4 (acc0..acc3), of 2 (acc0, acc1), one register into acc0. A
// value left over goes into lane 0 of acc0.
struct Ssq8 {
  __m128d a[8] = {};

  void add(int k, __m128d v) { a[k] = _mm_add_pd(a[k], _mm_mul_pd(v, v)); }
  void add1(__m128d v) { a[0] = _mm_add_sd(a[0], _mm_mul_sd(v, v)); }

  // Registers from reg(k), k = 0 .. nreg-1, in the block structure above.
  template <class F>
  void run(i64 nreg, F&& reg) {
    i64 k = 0;
    for (; k + 16 <= nreg; k += 16)
      for (int j = 0; j < 16; ++j) add(j & 7, reg(k + j));
    for (int b = 8; b >= 1; b /= 2)
      if (k + b <= nreg) {
        for (int j = 0; j < b; ++j) add(j, reg(k + j));
        k += b;
      }
  }

  // ((acc0 + acc1) + (acc2 + acc3)) + ((acc4 + acc5) + (acc6 + acc7)), then
  // lane 0 plus lane 1.
  double total() const {
    __m128d lo = _mm_add_pd(_mm_add_pd(a[0], a[1]), _mm_add_pd(a[2], a[3]));
    __m128d hi = _mm_add_pd(_mm_add_pd(a[4], a[5]), _mm_add_pd(a[6], a[7]));
    return simd<double>::hsum(_mm_add_pd(lo, hi));
  }
};

inline __m128d widen1(float v) { return _mm_set_sd(static_cast<double>(v)); }

float snrm2(i64 n, cep<float> x, i64 incx) {
  if (n <= 0) return 0.0f;
  Ssq8 acc;
  if (incx == 0) {
    double v = static_cast<double>(x[0]), sum = 0.0;
    for (i64 i = 0; i < n; ++i) sum += v * v;
    return static_cast<float>(std::sqrt(sum));
  }
  if ((incx == 1 || incx == -1) && element_aligned<float>(x)) {
    i64 i = 0;
    for (; i < n && !aligned16(x + i); ++i) acc.add1(widen1(x[i]));
    // Aligned 4-value loads, two registers each: 32 values make 16 registers.
    cep<float> b = x + i;
    i64 m = n - i;
    i64 k = 0;  // registers taken
    auto quad = [&](i64 j, int r0) {
      __m128 v = simd<float>::load(b + 2 * j);
      acc.add(r0, _mm_cvtps_pd(v));
      acc.add(r0 + 1, _mm_cvtps_pd(_mm_movehl_ps(v, v)));
    };
    for (; 2 * k + 32 <= m; k += 16)
      for (int j = 0; j < 16; j += 2) quad(k + j, j & 7);
    for (int blk = 8; blk >= 2; blk /= 2)
      if (2 * k + 2 * blk <= m) {
        for (int j = 0; j < blk; j += 2) quad(k + j, j);
        k += blk;
      }
    if (2 * k + 2 <= m) {
      acc.add(0, _mm_cvtps_pd(simd<float>::load2(b + 2 * k)));
      ++k;
    }
    if (2 * k < m) acc.add1(widen1(b[2 * k]));
  } else {
    i64 inc = abs_i(incx);
    acc.run(n / 2, [&](i64 k) { return _mm_set_pd(x[(2 * k + 1) * inc], x[2 * k * inc]); });
    if (n % 2) acc.add1(widen1(x[(n - 1) * inc]));
  }
  return static_cast<float>(std::sqrt(acc.total()));
}

float scnrm2(i64 n, cep<float> x, i64 incx) {
  if (n <= 0) return 0.0f;
  if (incx == 1 || incx == -1) return snrm2(2 * n, x, 1);
  if (incx == 0) {
    double re = x[0], im = x[1], sum = 0.0;
    for (i64 i = 0; i < n; ++i) sum += re * re + im * im;
    return static_cast<float>(std::sqrt(sum));
  }
  Ssq8 acc;
  i64 inc = 2 * abs_i(incx);
  acc.run(n, [&](i64 k) { return _mm_cvtps_pd(simd<float>::load2(x + k * inc)); });
  return static_cast<float>(std::sqrt(acc.total()));
}

}  // namespace
}  // namespace l1
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::l1;
using qor::i64;

QOR_DEF_API float qor_blas_def_xsasum(const i64* n, const float* x, const i64* incx) {
  return asum<float>(*n, re_ptr(x), *incx);
}
QOR_DEF_API double qor_blas_def_xdasum(const i64* n, const double* x, const i64* incx) {
  return asum<double>(*n, re_ptr(x), *incx);
}
QOR_DEF_API float qor_blas_def_xscasum(const i64* n, const qor::c32* x, const i64* incx) {
  return casum<float>(*n, re_ptr(x), *incx);
}
QOR_DEF_API double qor_blas_def_xdzasum(const i64* n, const qor::c64* x, const i64* incx) {
  return casum<double>(*n, re_ptr(x), *incx);
}
// The 512-bit bodies take unit strides (+1 or -1: the set of elements is
// the same) from two values up; a single real value is its own magnitude.
namespace wide = qor::avx512::l1w;
namespace {
bool wide_norm(i64 values, i64 incx) { return values > 1 && (incx == 1 || incx == -1) && wide_body(); }
}  // namespace

QOR_DEF_API float qor_blas_def_xsnrm2(const i64* n, const float* x, const i64* incx) {
  if (wide_norm(*n, *incx)) return wide::snrm2(*n, x);
  return snrm2(*n, re_ptr(x), *incx);
}
QOR_DEF_API double qor_blas_def_xdnrm2(const i64* n, const double* x, const i64* incx) {
  if (wide_norm(*n, *incx)) return wide::dnrm2(*n, x);
  return nrm2_scaled<1>(*n, re_ptr(x), *incx);
}
QOR_DEF_API float qor_blas_def_xscnrm2(const i64* n, const qor::c32* x, const i64* incx) {
  if (*n > 0 && wide_norm(2 * *n, *incx)) return wide::snrm2(2 * *n, reinterpret_cast<const float*>(x));
  return scnrm2(*n, re_ptr(x), *incx);
}
QOR_DEF_API double qor_blas_def_xdznrm2(const i64* n, const qor::c64* x, const i64* incx) {
  if (*n > 0 && wide_norm(2 * *n, *incx)) return wide::dnrm2(2 * *n, reinterpret_cast<const double*>(x));
  return nrm2_scaled<2>(*n, re_ptr(x), *incx);
}
