// One 512-bit register of R (double or float) behind one interface, with
// masked loads and stores for the tails: the vector wrapper every 512-bit
// body builds on. For sources of the avx512 class only.
#pragma once
#include <immintrin.h>

#include <cstdint>

#include "frame/isa.h"

#if !defined(QOR_ISA_AVX512)
#error "frame/zmm.h is for sources of the 512-bit class"
#endif

QOR_ISA_BEGIN

template <class R> struct zmm;

template <> struct zmm<double> {
  using reg = __m512d;
  using mask = __mmask8;
  static constexpr std::int64_t L = 8;
  static mask first(std::int64_t k) { return static_cast<mask>((1u << k) - 1); }  // k < L lanes
  static reg zero() { return _mm512_setzero_pd(); }
  static reg set1(double a) { return _mm512_set1_pd(a); }
  // (a, b) repeated.
  static reg pair(double a, double b) { return _mm512_setr_pd(a, b, a, b, a, b, a, b); }
  static reg load(const double* p) { return _mm512_loadu_pd(p); }
  static reg load(mask m, const double* p) { return _mm512_maskz_loadu_pd(m, p); }
  static void store(double* p, reg v) { _mm512_storeu_pd(p, v); }
  static void store(mask m, double* p, reg v) { _mm512_mask_storeu_pd(p, m, v); }
  static reg add(reg a, reg b) { return _mm512_add_pd(a, b); }
  static reg mul(reg a, reg b) { return _mm512_mul_pd(a, b); }
  static reg fma(reg a, reg b, reg c) { return _mm512_fmadd_pd(a, b, c); }
  static reg abs(reg a) { return _mm512_abs_pd(a); }
  static reg max(reg a, reg b) { return _mm512_max_pd(a, b); }
  static mask eq(reg a, reg b) { return _mm512_cmp_pd_mask(a, b, _CMP_EQ_OQ); }
  static mask unordered(reg a) { return _mm512_cmp_pd_mask(a, a, _CMP_UNORD_Q); }
  static double sum(reg a) { return _mm512_reduce_add_pd(a); }
  static double hmax(reg a) { return _mm512_reduce_max_pd(a); }
  // Exchanges the two reals of each complex element.
  static reg swap_pairs(reg a) { return _mm512_permute_pd(a, 0x55); }
};

template <> struct zmm<float> {
  using reg = __m512;
  using mask = __mmask16;
  static constexpr std::int64_t L = 16;
  static mask first(std::int64_t k) { return static_cast<mask>((1u << k) - 1); }
  static reg zero() { return _mm512_setzero_ps(); }
  static reg set1(float a) { return _mm512_set1_ps(a); }
  static reg pair(float a, float b) { return _mm512_setr_ps(a, b, a, b, a, b, a, b, a, b, a, b, a, b, a, b); }
  static reg load(const float* p) { return _mm512_loadu_ps(p); }
  static reg load(mask m, const float* p) { return _mm512_maskz_loadu_ps(m, p); }
  static void store(float* p, reg v) { _mm512_storeu_ps(p, v); }
  static void store(mask m, float* p, reg v) { _mm512_mask_storeu_ps(p, m, v); }
  static reg add(reg a, reg b) { return _mm512_add_ps(a, b); }
  static reg mul(reg a, reg b) { return _mm512_mul_ps(a, b); }
  static reg fma(reg a, reg b, reg c) { return _mm512_fmadd_ps(a, b, c); }
  static reg abs(reg a) { return _mm512_abs_ps(a); }
  static reg max(reg a, reg b) { return _mm512_max_ps(a, b); }
  static mask eq(reg a, reg b) { return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ); }
  static mask unordered(reg a) { return _mm512_cmp_ps_mask(a, a, _CMP_UNORD_Q); }
  static float sum(reg a) { return _mm512_reduce_add_ps(a); }
  static float hmax(reg a) { return _mm512_reduce_max_ps(a); }
  static reg swap_pairs(reg a) { return _mm512_permute_ps(a, 0xB1); }
};

QOR_ISA_END
