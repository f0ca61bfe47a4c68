// Vectors of complex numbers for the transform kernels.
//
// Each type holds `N` complex values interleaved (re, im, re, im, ...) and
// offers the same small set of operations, so the butterflies and steps are
// written once as templates over the type:
//   load/store, +, -, mulr (times a real), fmar (acc + a * real),
//   rotm (times -i), rotp (times +i), cmul with a prepared twiddle,
//   and per-lane stores for the first step, which runs across the length.
// The baseline build has SSE2 only; the Zen-class build adds 256-bit AVX2
// types and uses fused multiply-add; the 512-bit class adds 512-bit types
// (D4, F8) and makes them the widest of its set. Complex-by-twiddle products keep the
// twiddle as two vectors: its real part in both halves of each pair, and
// its imaginary part (sign-folded for the SSE2 form).
//
// Also here: a scalar complex and a split complex type, for data kept as
// separate real and imaginary arrays.
#pragma once
#include <immintrin.h>

#include <cstdint>

#include "frame/isa.h"

#define QV_INLINE __attribute__((always_inline)) inline

QOR_ISA_BEGIN
namespace dftv {

#if defined(__FMA__)
constexpr bool kFma = true;
#else
constexpr bool kFma = false;
#endif

// ---- one complex double in an SSE register -----------------------------
struct D1 {
  using real = double;
  static constexpr int N = 1;
  __m128d v;
  static QV_INLINE D1 load(const double* p) { return {_mm_loadu_pd(p)}; }
  QV_INLINE void store(double* p) const { _mm_storeu_pd(p, v); }
  QV_INLINE void store_lane(double* p, int) const { _mm_storeu_pd(p, v); }
  static QV_INLINE D1 zero() { return {_mm_setzero_pd()}; }
};
QV_INLINE D1 operator+(D1 a, D1 b) { return {_mm_add_pd(a.v, b.v)}; }
QV_INLINE D1 operator-(D1 a, D1 b) { return {_mm_sub_pd(a.v, b.v)}; }
QV_INLINE D1 mulr(D1 a, double c) { return {_mm_mul_pd(a.v, _mm_set1_pd(c))}; }
QV_INLINE D1 fmar(D1 acc, D1 a, double c) {
#if defined(__FMA__)
  return {_mm_fmadd_pd(a.v, _mm_set1_pd(c), acc.v)};
#else
  return {_mm_add_pd(acc.v, _mm_mul_pd(a.v, _mm_set1_pd(c)))};
#endif
}
QV_INLINE D1 rotm(D1 a) { return {_mm_xor_pd(_mm_shuffle_pd(a.v, a.v, 1), _mm_set_pd(-0.0, 0.0))}; }
QV_INLINE D1 rotp(D1 a) { return {_mm_xor_pd(_mm_shuffle_pd(a.v, a.v, 1), _mm_set_pd(0.0, -0.0))}; }
QV_INLINE D1 conj(D1 a) { return {_mm_xor_pd(a.v, _mm_set_pd(-0.0, 0.0))}; }

struct D1T {
  __m128d re, im;
};
// Twiddle from a real part and an imaginary part, each already in every
// lane position it is needed (re = (c, c), im = (s, s)).
QV_INLINE D1T d1t_from(__m128d re, __m128d im, bool conj) {
  if (conj) im = _mm_xor_pd(im, _mm_set1_pd(-0.0));
#if !defined(__FMA__)
  im = _mm_xor_pd(im, _mm_set_pd(0.0, -0.0));
#endif
  return {re, im};
}
// Twiddle (c, s) as a multiplier; conj gives (c, -s).
QV_INLINE D1T d1t_make(__m128d w, bool conj) {
  __m128d re = _mm_unpacklo_pd(w, w);
  __m128d im = _mm_unpackhi_pd(w, w);
  if (conj) im = _mm_xor_pd(im, _mm_set1_pd(-0.0));
#if !defined(__FMA__)
  im = _mm_xor_pd(im, _mm_set_pd(0.0, -0.0));  // (-s, s)
#endif
  return {re, im};
}
QV_INLINE D1 cmul(D1 a, D1T t) {
  __m128d sw = _mm_shuffle_pd(a.v, a.v, 1);
#if defined(__FMA__)
  return {_mm_fmaddsub_pd(a.v, t.re, _mm_mul_pd(sw, t.im))};
#else
  return {_mm_add_pd(_mm_mul_pd(a.v, t.re), _mm_mul_pd(sw, t.im))};
#endif
}

// ---- complex float, one (low half) or two in an SSE register -------------
struct F2 {
  using real = float;
  static constexpr int N = 2;
  __m128 v;
  static QV_INLINE F2 load(const float* p) { return {_mm_loadu_ps(p)}; }
  QV_INLINE void store(float* p) const { _mm_storeu_ps(p, v); }
  QV_INLINE void store_lane(float* p, int l) const {
    if (l == 0) _mm_storel_pi(reinterpret_cast<__m64*>(p), v);
    else _mm_storeh_pi(reinterpret_cast<__m64*>(p), v);
  }
  static QV_INLINE F2 zero() { return {_mm_setzero_ps()}; }
};
struct F1 {
  using real = float;
  static constexpr int N = 1;
  __m128 v;
  static QV_INLINE F1 load(const float* p) {
    return {_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p)))};
  }
  QV_INLINE void store(float* p) const { _mm_store_sd(reinterpret_cast<double*>(p), _mm_castps_pd(v)); }
  QV_INLINE void store_lane(float* p, int) const { store(p); }
  static QV_INLINE F1 zero() { return {_mm_setzero_ps()}; }
};
#define QV_FLOAT128_OPS(T)                                                                                 \
  QV_INLINE T operator+(T a, T b) { return {_mm_add_ps(a.v, b.v)}; }                                       \
  QV_INLINE T operator-(T a, T b) { return {_mm_sub_ps(a.v, b.v)}; }                                       \
  QV_INLINE T mulr(T a, float c) { return {_mm_mul_ps(a.v, _mm_set1_ps(c))}; }                             \
  QV_INLINE T rotm(T a) {                                                                                  \
    return {_mm_xor_ps(_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 3, 0, 1)), _mm_set_ps(-0.f, 0.f, -0.f, 0.f))}; \
  }                                                                                                        \
  QV_INLINE T rotp(T a) {                                                                                  \
    return {_mm_xor_ps(_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 3, 0, 1)), _mm_set_ps(0.f, -0.f, 0.f, -0.f))}; \
  }                                                                                                        \
  QV_INLINE T conj(T a) { return {_mm_xor_ps(a.v, _mm_set_ps(-0.f, 0.f, -0.f, 0.f))}; }
QV_FLOAT128_OPS(F2)
QV_FLOAT128_OPS(F1)
#undef QV_FLOAT128_OPS
QV_INLINE F2 fmar(F2 acc, F2 a, float c) {
#if defined(__FMA__)
  return {_mm_fmadd_ps(a.v, _mm_set1_ps(c), acc.v)};
#else
  return {_mm_add_ps(acc.v, _mm_mul_ps(a.v, _mm_set1_ps(c)))};
#endif
}
QV_INLINE F1 fmar(F1 acc, F1 a, float c) { return {fmar(F2{acc.v}, F2{a.v}, c).v}; }

struct F2T {
  __m128 re, im;
};
QV_INLINE F2T f2t_from(__m128 re, __m128 im, bool conj) {
  if (conj) im = _mm_xor_ps(im, _mm_set1_ps(-0.f));
#if !defined(__FMA__)
  im = _mm_xor_ps(im, _mm_set_ps(0.f, -0.f, 0.f, -0.f));
#endif
  return {re, im};
}
QV_INLINE F2T f2t_make(__m128 w, bool conj) {
  __m128 re = _mm_shuffle_ps(w, w, _MM_SHUFFLE(2, 2, 0, 0));
  __m128 im = _mm_shuffle_ps(w, w, _MM_SHUFFLE(3, 3, 1, 1));
  if (conj) im = _mm_xor_ps(im, _mm_set1_ps(-0.f));
#if !defined(__FMA__)
  im = _mm_xor_ps(im, _mm_set_ps(0.f, -0.f, 0.f, -0.f));
#endif
  return {re, im};
}
QV_INLINE __m128 f2_cmul(__m128 a, F2T t) {
  __m128 sw = _mm_shuffle_ps(a, a, _MM_SHUFFLE(2, 3, 0, 1));
#if defined(__FMA__)
  return _mm_fmaddsub_ps(a, t.re, _mm_mul_ps(sw, t.im));
#else
  return _mm_add_ps(_mm_mul_ps(a, t.re), _mm_mul_ps(sw, t.im));
#endif
}
QV_INLINE F2 cmul(F2 a, F2T t) { return {f2_cmul(a.v, t)}; }
QV_INLINE F1 cmul(F1 a, F2T t) { return {f2_cmul(a.v, t)}; }

#if defined(__AVX2__)
// ---- two complex doubles in an AVX register ------------------------------
struct D2 {
  using real = double;
  static constexpr int N = 2;
  __m256d v;
  static QV_INLINE D2 load(const double* p) { return {_mm256_loadu_pd(p)}; }
  QV_INLINE void store(double* p) const { _mm256_storeu_pd(p, v); }
  QV_INLINE void store_lane(double* p, int l) const {
    if (l == 0) _mm_storeu_pd(p, _mm256_castpd256_pd128(v));
    else _mm_storeu_pd(p, _mm256_extractf128_pd(v, 1));
  }
  static QV_INLINE D2 zero() { return {_mm256_setzero_pd()}; }
};
QV_INLINE D2 operator+(D2 a, D2 b) { return {_mm256_add_pd(a.v, b.v)}; }
QV_INLINE D2 operator-(D2 a, D2 b) { return {_mm256_sub_pd(a.v, b.v)}; }
QV_INLINE D2 mulr(D2 a, double c) { return {_mm256_mul_pd(a.v, _mm256_set1_pd(c))}; }
QV_INLINE D2 fmar(D2 acc, D2 a, double c) { return {_mm256_fmadd_pd(a.v, _mm256_set1_pd(c), acc.v)}; }
QV_INLINE D2 rotm(D2 a) {
  return {_mm256_xor_pd(_mm256_permute_pd(a.v, 5), _mm256_set_pd(-0.0, 0.0, -0.0, 0.0))};
}
QV_INLINE D2 rotp(D2 a) {
  return {_mm256_xor_pd(_mm256_permute_pd(a.v, 5), _mm256_set_pd(0.0, -0.0, 0.0, -0.0))};
}
QV_INLINE D2 conj(D2 a) { return {_mm256_xor_pd(a.v, _mm256_set_pd(-0.0, 0.0, -0.0, 0.0))}; }
// x + r and x - r for r = -i y (forward) or +i y (inverse), in place: the
// exchange of real and imaginary parts is one permute, and the signs go
// into an add-subtract and a fused subtract-add (times one, so exact)
// instead of a sign flip of their own.
template <bool INV>
QV_INLINE void rot_sum_diff(D2& x, D2& y) {
  const __m256d p = _mm256_permute_pd(y.v, 5);
  const __m256d a = _mm256_fmsubadd_pd(x.v, _mm256_set1_pd(1.0), p);  // x.re + y.im, x.im - y.re
  const __m256d s = _mm256_addsub_pd(x.v, p);                          // x.re - y.im, x.im + y.re
  x.v = INV ? s : a;
  y.v = INV ? a : s;
}
struct D2T {
  __m256d re, im;
};
QV_INLINE D2T d2t_make(__m256d w, bool conj) {
  __m256d re = _mm256_movedup_pd(w);
  __m256d im = _mm256_permute_pd(w, 15);
  if (conj) im = _mm256_xor_pd(im, _mm256_set1_pd(-0.0));
  return {re, im};
}
QV_INLINE D2 cmul(D2 a, D2T t) {
  return {_mm256_fmaddsub_pd(a.v, t.re, _mm256_mul_pd(_mm256_permute_pd(a.v, 5), t.im))};
}

// ---- four complex floats in an AVX register ------------------------------
struct F4 {
  using real = float;
  static constexpr int N = 4;
  __m256 v;
  static QV_INLINE F4 load(const float* p) { return {_mm256_loadu_ps(p)}; }
  QV_INLINE void store(float* p) const { _mm256_storeu_ps(p, v); }
  QV_INLINE void store_lane(float* p, int l) const {
    __m128 h = (l < 2) ? _mm256_castps256_ps128(v) : _mm256_extractf128_ps(v, 1);
    if ((l & 1) == 0) _mm_storel_pi(reinterpret_cast<__m64*>(p), h);
    else _mm_storeh_pi(reinterpret_cast<__m64*>(p), h);
  }
  static QV_INLINE F4 zero() { return {_mm256_setzero_ps()}; }
};
QV_INLINE F4 operator+(F4 a, F4 b) { return {_mm256_add_ps(a.v, b.v)}; }
QV_INLINE F4 operator-(F4 a, F4 b) { return {_mm256_sub_ps(a.v, b.v)}; }
QV_INLINE F4 mulr(F4 a, float c) { return {_mm256_mul_ps(a.v, _mm256_set1_ps(c))}; }
QV_INLINE F4 fmar(F4 acc, F4 a, float c) { return {_mm256_fmadd_ps(a.v, _mm256_set1_ps(c), acc.v)}; }
QV_INLINE F4 rotm(F4 a) {
  return {_mm256_xor_ps(_mm256_permute_ps(a.v, 0xB1), _mm256_set_ps(-0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f))};
}
QV_INLINE F4 rotp(F4 a) {
  return {_mm256_xor_ps(_mm256_permute_ps(a.v, 0xB1), _mm256_set_ps(0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f))};
}
QV_INLINE F4 conj(F4 a) { return {_mm256_xor_ps(a.v, _mm256_set_ps(-0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f))}; }
template <bool INV>
QV_INLINE void rot_sum_diff(F4& x, F4& y) {
  const __m256 p = _mm256_permute_ps(y.v, 0xB1);
  const __m256 a = _mm256_fmsubadd_ps(x.v, _mm256_set1_ps(1.f), p);
  const __m256 s = _mm256_addsub_ps(x.v, p);
  x.v = INV ? s : a;
  y.v = INV ? a : s;
}
struct F4T {
  __m256 re, im;
};
QV_INLINE F4T f4t_make(__m256 w, bool conj) {
  __m256 re = _mm256_moveldup_ps(w);
  __m256 im = _mm256_movehdup_ps(w);
  if (conj) im = _mm256_xor_ps(im, _mm256_set1_ps(-0.f));
  return {re, im};
}
QV_INLINE F4 cmul(F4 a, F4T t) {
  return {_mm256_fmaddsub_ps(a.v, t.re, _mm256_mul_ps(_mm256_permute_ps(a.v, 0xB1), t.im))};
}

// ---- four double complex values as split blocks ------------------------------
// In work arrays the AVX2 double engine keeps blocks of four elements as
// four real parts followed by four imaginary parts, lanes in the order
// (0, 2, 1, 3): that is what unpacking two interleaved vectors gives, and
// what packs back into interleaved order with two unpacks. A block sits at
// the same offset as its four elements would interleaved. Products by a
// twiddle then need no shuffles at all.
struct SD4 {
  using real = double;
  static constexpr int N = 4;
  __m256d re, im;
  static QV_INLINE SD4 load(const double* p) { return {_mm256_loadu_pd(p), _mm256_loadu_pd(p + 4)}; }
  QV_INLINE void store(double* p) const {
    _mm256_storeu_pd(p, re);
    _mm256_storeu_pd(p + 4, im);
  }
  // From / to four interleaved elements.
  static QV_INLINE SD4 load_interleaved(const double* p) {
    const __m256d v0 = _mm256_loadu_pd(p), v1 = _mm256_loadu_pd(p + 4);
    return {_mm256_unpacklo_pd(v0, v1), _mm256_unpackhi_pd(v0, v1)};
  }
  QV_INLINE void store_interleaved(double* p) const {
    _mm256_storeu_pd(p, _mm256_unpacklo_pd(re, im));
    _mm256_storeu_pd(p + 4, _mm256_unpackhi_pd(re, im));
  }
  static QV_INLINE SD4 zero() { return {_mm256_setzero_pd(), _mm256_setzero_pd()}; }
};
QV_INLINE SD4 operator+(SD4 a, SD4 b) { return {_mm256_add_pd(a.re, b.re), _mm256_add_pd(a.im, b.im)}; }
QV_INLINE SD4 operator-(SD4 a, SD4 b) { return {_mm256_sub_pd(a.re, b.re), _mm256_sub_pd(a.im, b.im)}; }
QV_INLINE SD4 mulr(SD4 a, double c) {
  const __m256d k = _mm256_set1_pd(c);
  return {_mm256_mul_pd(a.re, k), _mm256_mul_pd(a.im, k)};
}
QV_INLINE SD4 fmar(SD4 acc, SD4 a, double c) {
  const __m256d k = _mm256_set1_pd(c);
  return {_mm256_fmadd_pd(a.re, k, acc.re), _mm256_fmadd_pd(a.im, k, acc.im)};
}
// Negation written as such (not as a sign flip), so that the compiler folds
// it into the addition or subtraction that follows: a rotation then costs
// nothing at all.
QV_INLINE SD4 rotm(SD4 a) { return {a.im, -a.re}; }
QV_INLINE SD4 rotp(SD4 a) { return {-a.im, a.re}; }
// t.re holds the cosine, t.im the sine, each in every lane.
QV_INLINE SD4 cmul(SD4 a, D2T t) {
  return {_mm256_fmsub_pd(a.re, t.re, _mm256_mul_pd(a.im, t.im)), _mm256_fmadd_pd(a.re, t.im, _mm256_mul_pd(a.im, t.re))};
}
#endif

#if defined(__AVX512F__)
// ---- four complex doubles / eight complex floats in a 512-bit register -----
// The 512-bit class's interleaved vectors. Lane l (a complex value) is the
// l-th 128-bit (double) or 64-bit (float) element; the half-width types
// (D2, F4) take over where a loop has fewer columns than a whole vector.
struct D4 {
  using real = double;
  static constexpr int N = 4;
  __m512d v;
  static QV_INLINE D4 load(const double* p) { return {_mm512_loadu_pd(p)}; }
  QV_INLINE void store(double* p) const { _mm512_storeu_pd(p, v); }
  QV_INLINE void store_lane(double* p, int l) const {
    switch (l) {
      case 0: _mm_storeu_pd(p, _mm512_castpd512_pd128(v)); break;
      case 1: _mm_storeu_pd(p, _mm512_extractf64x2_pd(v, 1)); break;
      case 2: _mm_storeu_pd(p, _mm512_extractf64x2_pd(v, 2)); break;
      default: _mm_storeu_pd(p, _mm512_extractf64x2_pd(v, 3)); break;
    }
  }
  static QV_INLINE D4 zero() { return {_mm512_setzero_pd()}; }
  QV_INLINE D2 lo() const { return {_mm512_castpd512_pd256(v)}; }
  QV_INLINE D2 hi() const { return {_mm512_extractf64x4_pd(v, 1)}; }
};
QV_INLINE __m512d d4_odd_sign() { return _mm512_setr_pd(0.0, -0.0, 0.0, -0.0, 0.0, -0.0, 0.0, -0.0); }
QV_INLINE D4 operator+(D4 a, D4 b) { return {_mm512_add_pd(a.v, b.v)}; }
QV_INLINE D4 operator-(D4 a, D4 b) { return {_mm512_sub_pd(a.v, b.v)}; }
QV_INLINE D4 mulr(D4 a, double c) { return {_mm512_mul_pd(a.v, _mm512_set1_pd(c))}; }
QV_INLINE D4 fmar(D4 acc, D4 a, double c) { return {_mm512_fmadd_pd(a.v, _mm512_set1_pd(c), acc.v)}; }
QV_INLINE D4 rotm(D4 a) { return {_mm512_xor_pd(_mm512_permute_pd(a.v, 0x55), d4_odd_sign())}; }
QV_INLINE D4 rotp(D4 a) {
  return {_mm512_xor_pd(_mm512_permute_pd(a.v, 0x55), _mm512_setr_pd(-0.0, 0.0, -0.0, 0.0, -0.0, 0.0, -0.0, 0.0))};
}
QV_INLINE D4 conj(D4 a) { return {_mm512_xor_pd(a.v, d4_odd_sign())}; }
// As for D2; AVX-512 has no add-subtract, so both signs come from fused
// forms with a factor of one (exact).
template <bool INV>
QV_INLINE void rot_sum_diff(D4& x, D4& y) {
  const __m512d p = _mm512_permute_pd(y.v, 0x55), one = _mm512_set1_pd(1.0);
  const __m512d a = _mm512_fmsubadd_pd(x.v, one, p);  // x.re + y.im, x.im - y.re
  const __m512d s = _mm512_fmaddsub_pd(x.v, one, p);  // x.re - y.im, x.im + y.re
  x.v = INV ? s : a;
  y.v = INV ? a : s;
}
struct D4T {
  __m512d re, im;
};
QV_INLINE D4T d4t_make(__m512d w, bool conj) {
  __m512d im = _mm512_permute_pd(w, 0xFF);
  if (conj) im = _mm512_xor_pd(im, _mm512_set1_pd(-0.0));
  return {_mm512_movedup_pd(w), im};
}
QV_INLINE D4 cmul(D4 a, D4T t) {
  return {_mm512_fmaddsub_pd(a.v, t.re, _mm512_mul_pd(_mm512_permute_pd(a.v, 0x55), t.im))};
}

struct F8 {
  using real = float;
  static constexpr int N = 8;
  __m512 v;
  static QV_INLINE F8 load(const float* p) { return {_mm512_loadu_ps(p)}; }
  QV_INLINE void store(float* p) const { _mm512_storeu_ps(p, v); }
  QV_INLINE void store_lane(float* p, int l) const {
    const F4 h = l < 4 ? lo() : hi();
    h.store_lane(p, l & 3);
  }
  static QV_INLINE F8 zero() { return {_mm512_setzero_ps()}; }
  QV_INLINE F4 lo() const { return {_mm512_castps512_ps256(v)}; }
  QV_INLINE F4 hi() const { return {_mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1))}; }
};
QV_INLINE __m512 f8_odd_sign() {
  return _mm512_castpd_ps(_mm512_set1_pd(-0.0));  // the sign bit of each imaginary part
}
QV_INLINE F8 operator+(F8 a, F8 b) { return {_mm512_add_ps(a.v, b.v)}; }
QV_INLINE F8 operator-(F8 a, F8 b) { return {_mm512_sub_ps(a.v, b.v)}; }
QV_INLINE F8 mulr(F8 a, float c) { return {_mm512_mul_ps(a.v, _mm512_set1_ps(c))}; }
QV_INLINE F8 fmar(F8 acc, F8 a, float c) { return {_mm512_fmadd_ps(a.v, _mm512_set1_ps(c), acc.v)}; }
QV_INLINE F8 rotm(F8 a) { return {_mm512_xor_ps(_mm512_permute_ps(a.v, 0xB1), f8_odd_sign())}; }
QV_INLINE F8 rotp(F8 a) {
  return {_mm512_xor_ps(_mm512_permute_ps(a.v, 0xB1), _mm512_castsi512_ps(_mm512_set1_epi64(0x80000000LL)))};
}
QV_INLINE F8 conj(F8 a) { return {_mm512_xor_ps(a.v, f8_odd_sign())}; }
template <bool INV>
QV_INLINE void rot_sum_diff(F8& x, F8& y) {
  const __m512 p = _mm512_permute_ps(y.v, 0xB1), one = _mm512_set1_ps(1.f);
  const __m512 a = _mm512_fmsubadd_ps(x.v, one, p);
  const __m512 s = _mm512_fmaddsub_ps(x.v, one, p);
  x.v = INV ? s : a;
  y.v = INV ? a : s;
}
struct F8T {
  __m512 re, im;
};
QV_INLINE F8T f8t_make(__m512 w, bool conj) {
  __m512 im = _mm512_movehdup_ps(w);
  if (conj) im = _mm512_xor_ps(im, _mm512_set1_ps(-0.f));
  return {_mm512_moveldup_ps(w), im};
}
QV_INLINE F8 cmul(F8 a, F8T t) {
  return {_mm512_fmaddsub_ps(a.v, t.re, _mm512_mul_ps(_mm512_permute_ps(a.v, 0xB1), t.im))};
}
#endif

#if defined(__AVX512F__)
// ---- eight double complex values as split blocks (512-bit class) -------------
// As SD4 at twice the width: eight real parts, then eight imaginary parts,
// at the offset the eight would have interleaved, each half in the lane
// order 0, 2, 1, 3 (so 0, 2, 1, 3, 4, 6, 5, 7): each half of a register then
// loads straight from one group of four of the twiddle tables, which keep
// that order. A two-source permute takes the lanes from and to interleaved
// order, one per register.
struct SD8 {
  using real = double;
  static constexpr int N = 8;
  __m512d re, im;
  static QV_INLINE SD8 load(const double* p) { return {_mm512_loadu_pd(p), _mm512_loadu_pd(p + 8)}; }
  QV_INLINE void store(double* p) const {
    _mm512_storeu_pd(p, re);
    _mm512_storeu_pd(p + 8, im);
  }
  static QV_INLINE SD8 load_interleaved(const double* p) {
    const __m512d v0 = _mm512_loadu_pd(p), v1 = _mm512_loadu_pd(p + 8);
    return {_mm512_permutex2var_pd(v0, _mm512_setr_epi64(0, 4, 2, 6, 8, 12, 10, 14), v1),
            _mm512_permutex2var_pd(v0, _mm512_setr_epi64(1, 5, 3, 7, 9, 13, 11, 15), v1)};
  }
  QV_INLINE void store_interleaved(double* p) const {
    _mm512_storeu_pd(p, _mm512_permutex2var_pd(re, _mm512_setr_epi64(0, 8, 2, 10, 1, 9, 3, 11), im));
    _mm512_storeu_pd(p + 8, _mm512_permutex2var_pd(re, _mm512_setr_epi64(4, 12, 6, 14, 5, 13, 7, 15), im));
  }
  static QV_INLINE SD8 zero() { return {_mm512_setzero_pd(), _mm512_setzero_pd()}; }
};
QV_INLINE SD8 operator+(SD8 a, SD8 b) { return {_mm512_add_pd(a.re, b.re), _mm512_add_pd(a.im, b.im)}; }
QV_INLINE SD8 operator-(SD8 a, SD8 b) { return {_mm512_sub_pd(a.re, b.re), _mm512_sub_pd(a.im, b.im)}; }
QV_INLINE SD8 mulr(SD8 a, double c) {
  const __m512d k = _mm512_set1_pd(c);
  return {_mm512_mul_pd(a.re, k), _mm512_mul_pd(a.im, k)};
}
QV_INLINE SD8 fmar(SD8 acc, SD8 a, double c) {
  const __m512d k = _mm512_set1_pd(c);
  return {_mm512_fmadd_pd(a.re, k, acc.re), _mm512_fmadd_pd(a.im, k, acc.im)};
}
// Negation written as such, as for SD4, so that it folds into what follows.
QV_INLINE SD8 rotm(SD8 a) { return {a.im, -a.re}; }
QV_INLINE SD8 rotp(SD8 a) { return {-a.im, a.re}; }
struct D8T {
  __m512d re, im;  // cosines and sines, one per lane
};
QV_INLINE SD8 cmul(SD8 a, D8T t) {
  return {_mm512_fmsub_pd(a.re, t.re, _mm512_mul_pd(a.im, t.im)), _mm512_fmadd_pd(a.re, t.im, _mm512_mul_pd(a.im, t.re))};
}
#endif

// ---- twiddle construction for each type ------------------------------------
// bcast: the complex value at p in every lane; lanes: N consecutive
// complex values, one per lane; cst: a constant (c, s); of: the values a
// vector holds, one per lane.
template <class T> struct Tw;
template <> struct Tw<D1> {
  using type = D1T;
  static QV_INLINE D1T bcast(const double* p, bool conj) {
    return d1t_from(_mm_load1_pd(p), _mm_load1_pd(p + 1), conj);
  }
  static QV_INLINE D1T lanes(const double* p, bool conj) { return bcast(p, conj); }
  static QV_INLINE D1T dup(const double* re, const double* im, bool conj) {
    return d1t_from(_mm_loadu_pd(re), _mm_loadu_pd(im), conj);
  }
  static QV_INLINE D1T cst(double c, double s) { return d1t_make(_mm_set_pd(s, c), false); }
  static QV_INLINE D1T of(D1 w, bool conj) { return d1t_make(w.v, conj); }
};
template <> struct Tw<F1> {
  using type = F2T;
  static QV_INLINE F2T bcast(const float* p, bool conj) { return f2t_from(_mm_load1_ps(p), _mm_load1_ps(p + 1), conj); }
  static QV_INLINE F2T lanes(const float* p, bool conj) { return bcast(p, conj); }
  static QV_INLINE F2T dup(const float* re, const float* im, bool conj) {
    return f2t_from(_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(re))),
                    _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(im))), conj);
  }
  static QV_INLINE F2T cst(float c, float s) { return f2t_make(_mm_set_ps(s, c, s, c), false); }
  static QV_INLINE F2T of(F1 w, bool conj) { return f2t_make(w.v, conj); }
};
template <> struct Tw<F2> {
  using type = F2T;
  static QV_INLINE F2T bcast(const float* p, bool conj) { return Tw<F1>::bcast(p, conj); }
  static QV_INLINE F2T lanes(const float* p, bool conj) { return f2t_make(_mm_loadu_ps(p), conj); }
  static QV_INLINE F2T cst(float c, float s) { return Tw<F1>::cst(c, s); }
  static QV_INLINE F2T of(F2 w, bool conj) { return f2t_make(w.v, conj); }
  static QV_INLINE F2T dup(const float* re, const float* im, bool conj) {
    return f2t_from(_mm_loadu_ps(re), _mm_loadu_ps(im), conj);
  }
};
#if defined(__AVX2__)
template <> struct Tw<D2> {
  using type = D2T;
  static QV_INLINE D2T bcast(const double* p, bool conj) {
    __m256d im = _mm256_broadcast_sd(p + 1);
    if (conj) im = _mm256_xor_pd(im, _mm256_set1_pd(-0.0));
    return {_mm256_broadcast_sd(p), im};
  }
  static QV_INLINE D2T dup(const double* re, const double* im, bool conj) {
    __m256d i = _mm256_loadu_pd(im);
    if (conj) i = _mm256_xor_pd(i, _mm256_set1_pd(-0.0));
    return {_mm256_loadu_pd(re), i};
  }
  static QV_INLINE D2T lanes(const double* p, bool conj) { return d2t_make(_mm256_loadu_pd(p), conj); }
  static QV_INLINE D2T cst(double c, double s) { return d2t_make(_mm256_set_pd(s, c, s, c), false); }
  static QV_INLINE D2T of(D2 w, bool conj) { return d2t_make(w.v, conj); }
};
template <> struct Tw<SD4> {
  using type = D2T;
  static QV_INLINE D2T bcast(const double* p, bool conj) { return Tw<D2>::bcast(p, conj); }
  static QV_INLINE D2T cst(double c, double s) { return {_mm256_set1_pd(c), _mm256_set1_pd(s)}; }
  // Four consecutive twiddles from the interleaved table, in block lane order.
  static QV_INLINE D2T lanes(const double* p, bool conj) {
    const __m256d v0 = _mm256_loadu_pd(p), v1 = _mm256_loadu_pd(p + 4);
    __m256d im = _mm256_unpackhi_pd(v0, v1);
    if (conj) im = _mm256_xor_pd(im, _mm256_set1_pd(-0.0));
    return {_mm256_unpacklo_pd(v0, v1), im};
  }
};
template <> struct Tw<F4> {
  using type = F4T;
  static QV_INLINE F4T bcast(const float* p, bool conj) {
    __m256 im = _mm256_broadcast_ss(p + 1);
    if (conj) im = _mm256_xor_ps(im, _mm256_set1_ps(-0.f));
    return {_mm256_broadcast_ss(p), im};
  }
  static QV_INLINE F4T dup(const float* re, const float* im, bool conj) {
    __m256 i = _mm256_loadu_ps(im);
    if (conj) i = _mm256_xor_ps(i, _mm256_set1_ps(-0.f));
    return {_mm256_loadu_ps(re), i};
  }
  static QV_INLINE F4T lanes(const float* p, bool conj) { return f4t_make(_mm256_loadu_ps(p), conj); }
  static QV_INLINE F4T cst(float c, float s) { return f4t_make(_mm256_set_ps(s, c, s, c, s, c, s, c), false); }
  static QV_INLINE F4T of(F4 w, bool conj) { return f4t_make(w.v, conj); }
};
#endif

#if defined(__AVX512F__)
template <> struct Tw<D4> {
  using type = D4T;
  static QV_INLINE D4T bcast(const double* p, bool conj) {
    __m512d im = _mm512_set1_pd(p[1]);
    if (conj) im = _mm512_xor_pd(im, _mm512_set1_pd(-0.0));
    return {_mm512_set1_pd(p[0]), im};
  }
  static QV_INLINE D4T dup(const double* re, const double* im, bool conj) {
    __m512d i = _mm512_loadu_pd(im);
    if (conj) i = _mm512_xor_pd(i, _mm512_set1_pd(-0.0));
    return {_mm512_loadu_pd(re), i};
  }
  static QV_INLINE D4T lanes(const double* p, bool conj) { return d4t_make(_mm512_loadu_pd(p), conj); }
  static QV_INLINE D4T cst(double c, double s) { return {_mm512_set1_pd(c), _mm512_set1_pd(s)}; }
  static QV_INLINE D4T of(D4 w, bool conj) { return d4t_make(w.v, conj); }
};
template <> struct Tw<F8> {
  using type = F8T;
  static QV_INLINE F8T bcast(const float* p, bool conj) {
    __m512 im = _mm512_set1_ps(p[1]);
    if (conj) im = _mm512_xor_ps(im, _mm512_set1_ps(-0.f));
    return {_mm512_set1_ps(p[0]), im};
  }
  static QV_INLINE F8T dup(const float* re, const float* im, bool conj) {
    __m512 i = _mm512_loadu_ps(im);
    if (conj) i = _mm512_xor_ps(i, _mm512_set1_ps(-0.f));
    return {_mm512_loadu_ps(re), i};
  }
  static QV_INLINE F8T lanes(const float* p, bool conj) { return f8t_make(_mm512_loadu_ps(p), conj); }
  static QV_INLINE F8T cst(float c, float s) { return {_mm512_set1_ps(c), _mm512_set1_ps(s)}; }
  static QV_INLINE F8T of(F8 w, bool conj) { return f8t_make(w.v, conj); }
};
#endif

#if defined(__AVX512F__)
template <> struct Tw<SD8> {
  using type = D8T;
  static QV_INLINE D8T bcast(const double* p, bool conj) {
    __m512d im = _mm512_set1_pd(p[1]);
    if (conj) im = _mm512_xor_pd(im, _mm512_set1_pd(-0.0));
    return {_mm512_set1_pd(p[0]), im};
  }
  static QV_INLINE D8T cst(double c, double s) { return {_mm512_set1_pd(c), _mm512_set1_pd(s)}; }
};
#endif

// ---- transposing stores of the first step ----------------------------------------
// a[k] holds output k of N consecutive columns p..p+N-1 (one per lane); the
// outputs of column p+l go to dst[P*l + k]. Pairs (or fours) of k are put
// together with shuffles so that whole vectors are stored.
template <int P, class T, class R>
QV_INLINE void store_transposed(const T* a, R* dst) {
  for (int l = 0; l < T::N; ++l)
    for (int k = 0; k < P; ++k) a[k].store_lane(dst + 2 * (P * l + k), l);
}
template <int P>
QV_INLINE void store_transposed(const F2* a, float* dst) {
  int k = 0;
  for (; k + 1 < P; k += 2) {
    _mm_storeu_ps(dst + 2 * k, _mm_movelh_ps(a[k].v, a[k + 1].v));
    _mm_storeu_ps(dst + 2 * (P + k), _mm_movehl_ps(a[k + 1].v, a[k].v));
  }
  for (; k < P; ++k) {
    a[k].store_lane(dst + 2 * k, 0);
    a[k].store_lane(dst + 2 * (P + k), 1);
  }
}
#if defined(__AVX2__)
template <int P>
QV_INLINE void store_transposed(const D2* a, double* dst) {
  int k = 0;
  for (; k + 1 < P; k += 2) {
    _mm256_storeu_pd(dst + 2 * k, _mm256_permute2f128_pd(a[k].v, a[k + 1].v, 0x20));
    _mm256_storeu_pd(dst + 2 * (P + k), _mm256_permute2f128_pd(a[k].v, a[k + 1].v, 0x31));
  }
  for (; k < P; ++k) {
    a[k].store_lane(dst + 2 * k, 0);
    a[k].store_lane(dst + 2 * (P + k), 1);
  }
}
template <int P>
QV_INLINE void store_transposed(const F4* a, float* dst) {
  int k = 0;
  for (; k + 3 < P; k += 4) {
    // complex floats as 64-bit lanes: a 4 x 4 transpose
    const __m256d a0 = _mm256_castps_pd(a[k].v), a1 = _mm256_castps_pd(a[k + 1].v);
    const __m256d a2 = _mm256_castps_pd(a[k + 2].v), a3 = _mm256_castps_pd(a[k + 3].v);
    const __m256d t0 = _mm256_unpacklo_pd(a0, a1), t1 = _mm256_unpackhi_pd(a0, a1);
    const __m256d t2 = _mm256_unpacklo_pd(a2, a3), t3 = _mm256_unpackhi_pd(a2, a3);
    _mm256_storeu_pd(reinterpret_cast<double*>(dst + 2 * k), _mm256_permute2f128_pd(t0, t2, 0x20));
    _mm256_storeu_pd(reinterpret_cast<double*>(dst + 2 * (P + k)), _mm256_permute2f128_pd(t1, t3, 0x20));
    _mm256_storeu_pd(reinterpret_cast<double*>(dst + 2 * (2 * P + k)), _mm256_permute2f128_pd(t0, t2, 0x31));
    _mm256_storeu_pd(reinterpret_cast<double*>(dst + 2 * (3 * P + k)), _mm256_permute2f128_pd(t1, t3, 0x31));
  }
  for (; k < P; ++k)
    for (int l = 0; l < 4; ++l) a[k].store_lane(dst + 2 * (P * l + k), l);
}
#endif

#if defined(__AVX512F__)
// Four lanes of four complex doubles: a 4 x 4 transpose of 128-bit
// elements, two rounds of lane shuffles; a leftover radix below four goes
// through the two halves.
template <int P>
QV_INLINE void store_transposed(const D4* a, double* dst) {
  int k = 0;
  for (; k + 3 < P; k += 4) {
    const __m512d t0 = _mm512_shuffle_f64x2(a[k].v, a[k + 1].v, 0x44), t1 = _mm512_shuffle_f64x2(a[k].v, a[k + 1].v, 0xEE);
    const __m512d t2 = _mm512_shuffle_f64x2(a[k + 2].v, a[k + 3].v, 0x44),
                  t3 = _mm512_shuffle_f64x2(a[k + 2].v, a[k + 3].v, 0xEE);
    _mm512_storeu_pd(dst + 2 * k, _mm512_shuffle_f64x2(t0, t2, 0x88));
    _mm512_storeu_pd(dst + 2 * (P + k), _mm512_shuffle_f64x2(t0, t2, 0xDD));
    _mm512_storeu_pd(dst + 2 * (2 * P + k), _mm512_shuffle_f64x2(t1, t3, 0x88));
    _mm512_storeu_pd(dst + 2 * (3 * P + k), _mm512_shuffle_f64x2(t1, t3, 0xDD));
  }
  if constexpr (P % 4 != 0) {
    constexpr int R = P % 4;
    D2 lo[R], hi[R];
    for (int i = 0; i < R; ++i) {
      lo[i] = a[k + i].lo();
      hi[i] = a[k + i].hi();
    }
    // lanes 0, 1 of the leftover outputs, then lanes 2, 3
    for (int l = 0; l < 2; ++l)
      for (int i = 0; i < R; ++i) {
        lo[i].store_lane(dst + 2 * (P * l + k + i), l);
        hi[i].store_lane(dst + 2 * (P * (l + 2) + k + i), l);
      }
  }
}
// Eight lanes of complex floats: each half as F4 lanes.
template <int P>
QV_INLINE void store_transposed(const F8* a, float* dst) {
  F4 lo[P], hi[P];
  for (int k = 0; k < P; ++k) {
    lo[k] = a[k].lo();
    hi[k] = a[k].hi();
  }
  store_transposed<P>(lo, dst);
  store_transposed<P>(hi, dst + 2 * 4 * P);
}
#endif

// ---- scalar complex and split complex ---------------------------------------
template <class R>
struct SC {
  using real = R;
  static constexpr int N = 1;
  R re, im;
  static QV_INLINE SC zero() { return {R(0), R(0)}; }
};
template <class R> QV_INLINE SC<R> operator+(SC<R> a, SC<R> b) { return {a.re + b.re, a.im + b.im}; }
template <class R> QV_INLINE SC<R> operator-(SC<R> a, SC<R> b) { return {a.re - b.re, a.im - b.im}; }
template <class R> QV_INLINE SC<R> mulr(SC<R> a, R c) { return {a.re * c, a.im * c}; }
template <class R> QV_INLINE SC<R> fmar(SC<R> acc, SC<R> a, R c) { return {acc.re + a.re * c, acc.im + a.im * c}; }
template <class R> QV_INLINE SC<R> rotm(SC<R> a) { return {a.im, -a.re}; }
template <class R> QV_INLINE SC<R> rotp(SC<R> a) { return {-a.im, a.re}; }
template <class R> struct SCT {
  R c, s;
};
template <class R> QV_INLINE SC<R> cmul(SC<R> a, SCT<R> t) {
  return {a.re * t.c - a.im * t.s, a.re * t.s + a.im * t.c};
}
template <class R> struct Tw<SC<R>> {
  using type = SCT<R>;
  static QV_INLINE SCT<R> bcast(const R* p, bool conj) { return {p[0], conj ? -p[1] : p[1]}; }
  static QV_INLINE SCT<R> lanes(const R* p, bool conj) { return bcast(p, conj); }
  static QV_INLINE SCT<R> cst(R c, R s) { return {c, s}; }
  static QV_INLINE SCT<R> dup(const R* re, const R* im, bool conj) { return {re[0], conj ? -im[0] : im[0]}; }
};

// ---- the vector set of each precision on this instruction set --------------
// W the widest vector, H half of it (W itself below 512 bits), O one complex.
template <class R> struct VecSet;
#if defined(__AVX512F__)
template <> struct VecSet<double> {
  using W = D4;
  using H = D2;
  using O = D1;
};
template <> struct VecSet<float> {
  using W = F8;
  using H = F4;
  using O = F1;
};
#elif defined(__AVX2__)
template <> struct VecSet<double> {
  using W = D2;
  using H = D2;
  using O = D1;
};
template <> struct VecSet<float> {
  using W = F4;
  using H = F4;
  using O = F1;
};
#else
template <> struct VecSet<double> {
  using W = D1;
  using H = D1;
  using O = D1;
};
template <> struct VecSet<float> {
  using W = F2;
  using H = F2;
  using O = F1;
};
#endif

}  // namespace dftv
QOR_ISA_END
