// Pieces shared by the vector kernels: element pointers that accept any
// address, 128-bit register helpers for two-lane binary64 and four-lane
// binary32, and stride arithmetic.
//
// Vectors may arrive at addresses that are not even element-aligned; the
// kernels then take their element-by-element paths. Elements are therefore
// read through types aligned to 1 byte, so the compiler never assumes an
// alignment the caller did not give. Pointers of these types must be spelled
// out (ep<R>, cep<R>), never deduced: `auto` and template deduction drop the
// alignment attribute.
#pragma once
#include <emmintrin.h>

#include <cstdint>

#include "frame/isa.h"
#include "frame/prefetch.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace l1 {

typedef float f32u __attribute__((aligned(1), may_alias));
typedef double f64u __attribute__((aligned(1), may_alias));
template <class R> struct unaligned_of;
template <> struct unaligned_of<float> { using type = f32u; };
template <> struct unaligned_of<double> { using type = f64u; };
template <class R> using ep = typename unaligned_of<R>::type*;
template <class R> using cep = const typename unaligned_of<R>::type*;

// The real parts of a (possibly complex) array, as element pointers.
template <class T> inline ep<real_t<T>> re_ptr(T* p) { return reinterpret_cast<ep<real_t<T>>>(p); }
template <class T> inline cep<real_t<T>> re_ptr(const T* p) { return reinterpret_cast<cep<real_t<T>>>(p); }

inline std::uintptr_t addr(const volatile void* p) { return reinterpret_cast<std::uintptr_t>(p); }
template <class R> inline bool element_aligned(const void* p) { return addr(p) % sizeof(R) == 0; }
inline bool aligned16(const void* p) { return addr(p) % 16 == 0; }

// Both strides +1, or both -1: the pairs are the same, so the walk goes up
// from the bases either way.
inline bool unit_pair(i64 incx, i64 incy) { return (incx == 1 && incy == 1) || (incx == -1 && incy == -1); }
// The first logical element of a vector with a negative stride.
inline i64 start_of(i64 n, i64 inc) { return inc < 0 ? (1 - n) * inc : 0; }
inline i64 abs_i(i64 v) { return v < 0 ? -v : v; }

template <class R> struct simd;

template <> struct simd<double> {
  using reg = __m128d;
  static constexpr int lanes = 2;
  static reg zero() { return _mm_setzero_pd(); }
  static reg set1(double a) { return _mm_set1_pd(a); }
  static reg load(cep<double> p) { return _mm_load_pd(reinterpret_cast<const double*>(p)); }
  static reg loadu(cep<double> p) { return _mm_loadu_pd(reinterpret_cast<const double*>(p)); }
  // Two 8-byte loads, for a vector that is 8- but not 16-byte aligned.
  static reg load_halves(cep<double> p) {
    const double* q = reinterpret_cast<const double*>(p);
    return _mm_loadh_pd(_mm_loadl_pd(_mm_setzero_pd(), q), q + 1);
  }
  static reg load1(cep<double> p) { return _mm_set_sd(*p); }
  static reg gather(cep<double> p, i64 inc) { return _mm_set_pd(p[inc], p[0]); }
  static void store(ep<double> p, reg v) { _mm_store_pd(reinterpret_cast<double*>(p), v); }
  static void storeu(ep<double> p, reg v) { _mm_storeu_pd(reinterpret_cast<double*>(p), v); }
  static void store1(ep<double> p, reg v) { *p = _mm_cvtsd_f64(v); }
  static void scatter(ep<double> p, i64 inc, reg v) {
    p[0] = _mm_cvtsd_f64(v);
    p[inc] = _mm_cvtsd_f64(_mm_unpackhi_pd(v, v));
  }
  static reg add(reg a, reg b) { return _mm_add_pd(a, b); }
  static reg sub(reg a, reg b) { return _mm_sub_pd(a, b); }
  static reg mul(reg a, reg b) { return _mm_mul_pd(a, b); }
  static reg add1(reg a, reg b) { return _mm_add_sd(a, b); }
  static reg mul1(reg a, reg b) { return _mm_mul_sd(a, b); }
  static reg max(reg a, reg b) { return _mm_max_pd(a, b); }
  static reg min(reg a, reg b) { return _mm_min_pd(a, b); }
  static reg max1(reg a, reg b) { return _mm_max_sd(a, b); }
  static reg min1(reg a, reg b) { return _mm_min_sd(a, b); }
  static reg abs(reg a) { return _mm_andnot_pd(_mm_set1_pd(-0.0), a); }
  static reg cmpeq(reg a, reg b) { return _mm_cmpeq_pd(a, b); }
  static int mask(reg a) { return _mm_movemask_pd(a); }
  static reg bit_or(reg a, reg b) { return _mm_or_pd(a, b); }
  // Exchanges the parts of each complex element.
  static reg swap_pairs(reg a) { return _mm_shuffle_pd(a, a, 1); }
  // Flips the sign of the real part of each complex element.
  static reg neg_re(reg a) { return _mm_xor_pd(a, _mm_set_pd(0.0, -0.0)); }
  // One complex element.
  static reg load_c1(cep<double> p) { return loadu(p); }
  static void store_c1(ep<double> p, reg v) { storeu(p, v); }
  static double lane0(reg a) { return _mm_cvtsd_f64(a); }
  static double lane1(reg a) { return _mm_cvtsd_f64(_mm_unpackhi_pd(a, a)); }
  // Lane 0 plus lane 1.
  static double hsum(reg a) { return _mm_cvtsd_f64(_mm_add_sd(a, _mm_unpackhi_pd(a, a))); }
  // Folds the lanes by the operation F (max or min) into lane 0.
  template <class F> static reg hfold(reg a, F f) { return f(a, _mm_unpackhi_pd(a, a)); }
};

template <> struct simd<float> {
  using reg = __m128;
  static constexpr int lanes = 4;
  static reg zero() { return _mm_setzero_ps(); }
  static reg set1(float a) { return _mm_set1_ps(a); }
  static reg load(cep<float> p) { return _mm_load_ps(reinterpret_cast<const float*>(p)); }
  static reg loadu(cep<float> p) { return _mm_loadu_ps(reinterpret_cast<const float*>(p)); }
  static reg load_halves(cep<float> p) {
    const __m64* q = reinterpret_cast<const __m64*>(p);
    return _mm_loadh_pi(_mm_loadl_pi(_mm_setzero_ps(), q), q + 1);
  }
  // The low 8 bytes: two floats, or one complex element.
  static reg load2(cep<float> p) { return _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p)); }
  static reg load1(cep<float> p) { return _mm_set_ss(*p); }
  static reg gather(cep<float> p, i64 inc) { return _mm_set_ps(p[3 * inc], p[2 * inc], p[inc], p[0]); }
  static void store(ep<float> p, reg v) { _mm_store_ps(reinterpret_cast<float*>(p), v); }
  static void storeu(ep<float> p, reg v) { _mm_storeu_ps(reinterpret_cast<float*>(p), v); }
  static void store2(ep<float> p, reg v) { _mm_storel_pi(reinterpret_cast<__m64*>(p), v); }
  static void store1(ep<float> p, reg v) { *p = _mm_cvtss_f32(v); }
  static void scatter(ep<float> p, i64 inc, reg v) {
    alignas(16) float t[4];
    _mm_store_ps(t, v);
    p[0] = t[0];
    p[inc] = t[1];
    p[2 * inc] = t[2];
    p[3 * inc] = t[3];
  }
  static reg add(reg a, reg b) { return _mm_add_ps(a, b); }
  static reg sub(reg a, reg b) { return _mm_sub_ps(a, b); }
  static reg mul(reg a, reg b) { return _mm_mul_ps(a, b); }
  static reg add1(reg a, reg b) { return _mm_add_ss(a, b); }
  static reg mul1(reg a, reg b) { return _mm_mul_ss(a, b); }
  static reg max(reg a, reg b) { return _mm_max_ps(a, b); }
  static reg min(reg a, reg b) { return _mm_min_ps(a, b); }
  static reg max1(reg a, reg b) { return _mm_max_ss(a, b); }
  static reg min1(reg a, reg b) { return _mm_min_ss(a, b); }
  static reg abs(reg a) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), a); }
  static reg cmpeq(reg a, reg b) { return _mm_cmpeq_ps(a, b); }
  static int mask(reg a) { return _mm_movemask_ps(a); }
  static reg bit_or(reg a, reg b) { return _mm_or_ps(a, b); }
  static reg swap_pairs(reg a) { return _mm_shuffle_ps(a, a, _MM_SHUFFLE(2, 3, 0, 1)); }
  static reg neg_re(reg a) { return _mm_xor_ps(a, _mm_set_ps(0.0f, -0.0f, 0.0f, -0.0f)); }
  static reg load_c1(cep<float> p) { return load2(p); }
  static void store_c1(ep<float> p, reg v) { store2(p, v); }
  static float lane0(reg a) { return _mm_cvtss_f32(a); }
  static float lane1(reg a) { return _mm_cvtss_f32(_mm_shuffle_ps(a, a, 1)); }
  // (lane 0 + lane 2) + (lane 1 + lane 3): the upper half folded onto the
  // lower, then the two remaining lanes.
  static float hsum(reg a) {
    reg t = _mm_add_ps(a, _mm_movehl_ps(a, a));
    return _mm_cvtss_f32(_mm_add_ss(t, _mm_shuffle_ps(t, t, 1)));
  }
  // The two complex sums held in a register, added: (l0 + l2, l1 + l3).
  static reg fold_pairs(reg a) { return _mm_add_ps(a, _mm_movehl_ps(a, a)); }
  template <class F> static reg hfold(reg a, F f) {
    reg t = f(a, _mm_movehl_ps(a, a));
    return f(t, _mm_shuffle_ps(t, t, 1));
  }
};

}  // namespace l1
QOR_ISA_END
