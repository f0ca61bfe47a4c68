// The 128-bit inner kernel of the baseline and Barcelona bodies, written
// once for s, c and z and compiled in each class's namespace.
//
// Panels (depth padded to a multiple of 4 with zeros):
//   A strip, per depth step, two vectors: s rows 0-3 and 4-7; c the four
//   real parts then the four imaginary parts; z the two real parts then the
//   two imaginary parts.
//   B strip, per depth step, four columns: s one value each; c and z the
//   real and imaginary part of each.
// At the start of each column group the kernel copies the group into the
// expanded area, each value broadcast to a 16-byte slot, so that the
// multiplication loop takes B as aligned vectors and never reads the panel.
//
// Each element of C is summed in an accumulator from zero in depth order,
// then combined with C once: stored (beta 0, C not read), added (beta 1),
// or added to beta * C.
#pragma once
#include <emmintrin.h>

#include "blas/gemm/traits.h"
#include "frame/isa.h"

QOR_ISA_BEGIN
namespace gemm_scz {

template <class R> struct sse;
template <> struct sse<float> {
  using V = __m128;
  static constexpr int lanes = 4;
  static V load(const float* p) { return _mm_load_ps(p); }
  static V loadu(const float* p) { return _mm_loadu_ps(p); }
  static void store(float* p, V v) { _mm_store_ps(p, v); }
  static void storeu(float* p, V v) { _mm_storeu_ps(p, v); }
  static V set1(float x) { return _mm_set1_ps(x); }
  static V zero() { return _mm_setzero_ps(); }
  static V add(V a, V b) { return _mm_add_ps(a, b); }
  static V sub(V a, V b) { return _mm_sub_ps(a, b); }
  static V mul(V a, V b) { return _mm_mul_ps(a, b); }
  static V swap(V a) { return _mm_shuffle_ps(a, a, 0xB1); }
  static V lo(V re, V im) { return _mm_unpacklo_ps(re, im); }
  static V hi(V re, V im) { return _mm_unpackhi_ps(re, im); }
  static V alt(float x) { return _mm_setr_ps(-x, x, -x, x); }
};
template <> struct sse<double> {
  using V = __m128d;
  static constexpr int lanes = 2;
  static V load(const double* p) { return _mm_load_pd(p); }
  static V loadu(const double* p) { return _mm_loadu_pd(p); }
  static void store(double* p, V v) { _mm_store_pd(p, v); }
  static void storeu(double* p, V v) { _mm_storeu_pd(p, v); }
  static V set1(double x) { return _mm_set1_pd(x); }
  static V zero() { return _mm_setzero_pd(); }
  static V add(V a, V b) { return _mm_add_pd(a, b); }
  static V sub(V a, V b) { return _mm_sub_pd(a, b); }
  static V mul(V a, V b) { return _mm_mul_pd(a, b); }
  static V swap(V a) { return _mm_shuffle_pd(a, a, 1); }
  static V lo(V re, V im) { return _mm_unpacklo_pd(re, im); }
  static V hi(V re, V im) { return _mm_unpackhi_pd(re, im); }
  static V alt(double x) { return _mm_setr_pd(-x, x); }
};

// How a kernel call treats C: the first call on a block of C applies beta
// (Zero stores without reading C, Any multiplies it first, One adds); every
// later call adds.
enum class Beta { Zero, One, Any };

template <class T> inline Beta beta_mode(bool first, const T& beta) {
  return !first || is_one(beta) ? Beta::One : is_zero(beta) ? Beta::Zero : Beta::Any;
}

template <class T> struct sse_tile {
  using R = real_t<T>;
  using S = sse<R>;
  using V = typename S::V;
  static constexpr int L = S::lanes;
  static constexpr bool cx = is_complex_v<T>;
  static constexpr i64 rows = cx ? L : 2 * L;    // rows of C in one tile: s 8, c 4, z 2
  static constexpr i64 a_step = 2 * L;             // reals of A per depth step
  static constexpr i64 b_step = 4 * reals<T>;      // reals of B per depth step
  static constexpr i64 e_step = b_step * L;        // reals of the expanded area per depth step

  // Copies one column group (kp depth steps) into the expanded area.
  static void expand(const R* b, i64 kp, R* e) {
    for (i64 l = 0; l < kp; ++l)
      for (i64 q = 0; q < b_step; ++q) S::store(e + (l * b_step + q) * L, S::set1(b[l * b_step + q]));
  }

  // The product of one A strip and the expanded group: two vectors per
  // column, each holding consecutive elements of that C column.
  static void product(i64 kp, const R* a, const R* e, V out[4][2]) {
    if constexpr (!cx) {
      V acc[4][2];
#pragma GCC unroll 8
      for (int j = 0; j < 4; ++j) acc[j][0] = acc[j][1] = S::zero();
#pragma GCC unroll 4
      for (i64 l = 0; l < kp; ++l) {
        const V a0 = S::load(a + l * a_step), a1 = S::load(a + l * a_step + L);
        const R* el = e + l * e_step;
#pragma GCC unroll 8
        for (int j = 0; j < 4; ++j) {
          const V bj = S::load(el + j * L);
          acc[j][0] = S::add(acc[j][0], S::mul(a0, bj));
          acc[j][1] = S::add(acc[j][1], S::mul(a1, bj));
        }
      }
#pragma GCC unroll 8
      for (int j = 0; j < 4; ++j) out[j][0] = acc[j][0], out[j][1] = acc[j][1];
    } else {
      V re[4], im[4];
#pragma GCC unroll 8
      for (int j = 0; j < 4; ++j) re[j] = im[j] = S::zero();
#pragma GCC unroll 4
      for (i64 l = 0; l < kp; ++l) {
        const V ar = S::load(a + l * a_step), ai = S::load(a + l * a_step + L);
        const R* el = e + l * e_step;
#pragma GCC unroll 8
        for (int j = 0; j < 4; ++j) {
          const V br = S::load(el + 2 * j * L), bi = S::load(el + (2 * j + 1) * L);
          re[j] = S::add(re[j], S::mul(ar, br));
          re[j] = S::sub(re[j], S::mul(ai, bi));
          im[j] = S::add(im[j], S::mul(ai, br));
          im[j] = S::add(im[j], S::mul(ar, bi));
        }
      }
#pragma GCC unroll 8
      for (int j = 0; j < 4; ++j) out[j][0] = S::lo(re[j], im[j]), out[j][1] = S::hi(re[j], im[j]);
    }
  }

  static V beta_times(V cv, T beta) {
    if constexpr (cx) {
      return S::add(S::mul(cv, S::set1(beta.real())), S::mul(S::swap(cv), S::alt(beta.imag())));
    } else {
      return S::mul(cv, S::set1(beta));
    }
  }

  // Combines a whole tile with C.
  template <Beta B, bool Aligned> static void put(V out[4][2], T beta, R* c, i64 ldc_r) {
#pragma GCC unroll 8
    for (int j = 0; j < 4; ++j) {
      R* cj = c + j * ldc_r;
#pragma GCC unroll 8
      for (int h = 0; h < 2; ++h) {
        R* p = cj + h * L;
        V v = out[j][h];
        if constexpr (B != Beta::Zero) {
          const V old = Aligned ? S::load(p) : S::loadu(p);
          v = S::add(B == Beta::One ? old : beta_times(old, beta), v);
        }
        if constexpr (Aligned) S::store(p, v); else S::storeu(p, v);
      }
    }
  }

  // Combines the leading nr x nc part of a tile with C (the tails of the
  // Barcelona kernels, whose panels are padded to whole strips).
  static void put_part(V out[4][2], T beta, Beta mode, T* c, i64 ldc, i64 nr, i64 nc) {
    alignas(16) T tile[4][rows];
#pragma GCC unroll 8
    for (int j = 0; j < 4; ++j) {
      S::storeu(reinterpret_cast<R*>(tile[j]), out[j][0]);
      S::storeu(reinterpret_cast<R*>(tile[j]) + L, out[j][1]);
    }
    for (i64 j = 0; j < nc; ++j)
      for (i64 i = 0; i < nr; ++i) {
        T& dst = c[i + j * ldc];
        dst = mode == Beta::Zero ? tile[j][i] : mode == Beta::One ? dst + tile[j][i] : mul(beta, dst) + tile[j][i];
      }
  }
};

// The baseline inner kernel over whole tiles: m a multiple of the tile
// rows, n of 4, kp of 4.
template <class T, Beta B>
void inner(i64 m, i64 n, i64 kp, const T* a, const T* b, T beta, T* c, i64 ldc, T* expanded) {
  using K = sse_tile<T>;
  using R = real_t<T>;
  const R* ar = reinterpret_cast<const R*>(a);
  const R* br = reinterpret_cast<const R*>(b);
  R* e = reinterpret_cast<R*>(expanded);
  const i64 ldc_r = ldc * reals<T>;
  const bool aligned = (reinterpret_cast<std::uintptr_t>(c) % 16 == 0) && (ldc * sizeof(T)) % 16 == 0;
  typename K::V out[4][2];
  for (i64 j = 0; j < n; j += 4) {
    K::expand(br + j * kp * reals<T>, kp, e);
    for (i64 i = 0; i < m; i += K::rows) {
      K::product(kp, ar + i * kp * reals<T>, e, out);
      R* cij = reinterpret_cast<R*>(c + i + j * ldc);
      if (aligned) K::template put<B, true>(out, beta, cij, ldc_r);
      else K::template put<B, false>(out, beta, cij, ldc_r);
    }
  }
}

}  // namespace gemm_scz
QOR_ISA_END
