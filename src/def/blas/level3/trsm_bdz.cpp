// The vector body of the triangular-solve leaves, all types, for the
// Bulldozer and Zen classes (AVX and FMA).
#include <immintrin.h>

#include <complex>
#include <cstdint>
#include <type_traits>

#include "blas/level3/trsm_simd.h"
#include "frame/isa.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace trsm_leaf {

using i64 = std::int64_t;

template <class T>
struct Vec;

template <>
struct Vec<double> {
  using V = __m256d;
  static constexpr int kLanes = 4;
  static V load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, V v) { _mm256_storeu_pd(p, v); }
  static V bcast(const double* p) { return _mm256_broadcast_sd(p); }
  static V set1(double x) { return _mm256_set1_pd(x); }
  static V mul(V a, V b) { return _mm256_mul_pd(a, b); }
  static V nmadd(V a, V b, V c) { return _mm256_fnmadd_pd(a, b, c); }  // c - a * b
  static V madd(V a, V b, V c) { return _mm256_fmadd_pd(a, b, c); }    // c + a * b
  static V zero() { return _mm256_setzero_pd(); }
  static V swap_pairs(V a) { return _mm256_permute_pd(a, 0x5); }   // (re, im) -> (im, re)
  static V addsub(V a, V b) { return _mm256_addsub_pd(a, b); }     // even lanes a - b, odd a + b
  static V sub(V a, V b) { return _mm256_sub_pd(a, b); }
};

template <>
struct Vec<float> {
  using V = __m256;
  static constexpr int kLanes = 8;
  static V load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, V v) { _mm256_storeu_ps(p, v); }
  static V bcast(const float* p) { return _mm256_broadcast_ss(p); }
  static V set1(float x) { return _mm256_set1_ps(x); }
  static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
  static V nmadd(V a, V b, V c) { return _mm256_fnmadd_ps(a, b, c); }
  static V madd(V a, V b, V c) { return _mm256_fmadd_ps(a, b, c); }
  static V zero() { return _mm256_setzero_ps(); }
  static V swap_pairs(V a) { return _mm256_permute_ps(a, 0xB1); }
  static V addsub(V a, V b) { return _mm256_addsub_ps(a, b); }
  static V sub(V a, V b) { return _mm256_sub_ps(a, b); }
};

template <class T>
struct RealOf {
  using type = T;
};
template <class R>
struct RealOf<std::complex<R>> {
  using type = R;
};
template <class T>
using Real = typename RealOf<T>::type;
template <class T>
inline constexpr bool kComplex = !std::is_same_v<T, Real<T>>;

// A strip is kVecs vectors of rows, kHalf elements each: three for the
// real types (12 accumulators for four columns, with the three loaded
// vectors and a broadcast, fill the 16 registers), two for the complex ones.
template <class T>
inline constexpr i64 kHalf = Vec<Real<T>>::kLanes / (kComplex<T> ? 2 : 1);
template <class T>
inline constexpr int kVecs = kComplex<T> ? 2 : 3;
template <class T>
inline constexpr i64 kStrip = kVecs<T> * kHalf<T>;

// The coefficient matrix M of X M = B, upper triangular in solving order:
// M(k, j) at c + k * sk + j * sj; r[j] the reciprocal of M(j, j).
template <class T>
struct Coef {
  const T* c;
  i64 sk, sj;
  const T* r;
  bool unit;
  const T* at(i64 k, i64 j) const { return c + k * sk + j * sj; }
};

// Solves columns j .. j+NR-1 of one strip (column k of the strip at
// x + k * ldx), the columns before j being solved already.
template <class T, int NR>
inline void group_real(T* x, i64 ldx, i64 j, const Coef<T>& m) {
  using W = Vec<T>;
  using V = typename W::V;
  constexpr int L = W::kLanes, NV = kVecs<T>;
  V acc[NR][NV];
#pragma GCC unroll 4
  for (int q = 0; q < NR; ++q) {
#pragma GCC unroll 4
    for (int v = 0; v < NV; ++v) acc[q][v] = W::load(x + (j + q) * ldx + v * L);
    // The same columns of the next strip (rows of B follow on the right
    // side; a prefetch past the end of an array does not fault).
    _mm_prefetch(reinterpret_cast<const char*>(x + (j + q) * ldx + NV * L), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(x + (j + q) * ldx + NV * L) + 64, _MM_HINT_T0);
  }
  const T* xk = x;
  const T* ck = m.at(0, j);
  const i64 sj = m.sj;
  for (i64 k = 0; k < j; ++k, xk += ldx, ck += m.sk) {
    V xv[NV];
#pragma GCC unroll 4
    for (int v = 0; v < NV; ++v) xv[v] = W::load(xk + v * L);
#pragma GCC unroll 4
    for (int q = 0; q < NR; ++q) {
      const V c = W::bcast(ck + q * sj);
#pragma GCC unroll 4
      for (int v = 0; v < NV; ++v) acc[q][v] = W::nmadd(xv[v], c, acc[q][v]);
    }
  }
  // The diagonal block, column by column.
#pragma GCC unroll 4
  for (int q = 0; q < NR; ++q) {
    if (!m.unit) {
      const V r = W::set1(m.r[j + q]);
#pragma GCC unroll 4
      for (int v = 0; v < NV; ++v) acc[q][v] = W::mul(acc[q][v], r);
    }
#pragma GCC unroll 4
    for (int v = 0; v < NV; ++v) W::store(x + (j + q) * ldx + v * L, acc[q][v]);
#pragma GCC unroll 4
    for (int p = q + 1; p < NR; ++p) {
      const V c = W::bcast(m.at(j + q, j + p));
#pragma GCC unroll 4
      for (int v = 0; v < NV; ++v) acc[p][v] = W::nmadd(acc[q][v], c, acc[p][v]);
    }
  }
}

// The complex form of the same step. A product x c with c broadcast is
// kept as two sums: x re(c) subtracted from the column, and x im(c) (its
// sign by Conj) in a second register, folded in with the parts swapped at
// the end: (x c) = x re(c) + swap(x) im(c) (-1, +1).
template <class T, int NR, bool Conj>
inline void group_complex(T* x, i64 ldx, i64 j, const Coef<T>& m) {
  using R = Real<T>;
  using W = Vec<R>;
  using V = typename W::V;
  constexpr int L = W::kLanes;
  auto re = [](const T* p) { return reinterpret_cast<const R*>(p); };
  auto wr = [](T* p) { return reinterpret_cast<R*>(p); };
  V lo[NR], hi[NR], lo2[NR], hi2[NR];
#pragma GCC unroll 4
  for (int q = 0; q < NR; ++q) {
    lo[q] = W::load(re(x + (j + q) * ldx));
    hi[q] = W::load(re(x + (j + q) * ldx) + L);
    lo2[q] = W::zero();
    hi2[q] = W::zero();
  }
  const T* xk = x;
  const T* ck = m.at(0, j);
  const i64 sj = m.sj;
  for (i64 k = 0; k < j; ++k, xk += ldx, ck += m.sk) {
    const V x0 = W::load(re(xk)), x1 = W::load(re(xk) + L);
#pragma GCC unroll 4
    for (int q = 0; q < NR; ++q) {
      const V cr = W::bcast(re(ck + q * sj)), ci = W::bcast(re(ck + q * sj) + 1);
      lo[q] = W::nmadd(x0, cr, lo[q]);
      hi[q] = W::nmadd(x1, cr, hi[q]);
      // lo2, hi2 gather -x im(c): the sign that addsub below expects.
      if constexpr (Conj) {
        lo2[q] = W::madd(x0, ci, lo2[q]);
        hi2[q] = W::madd(x1, ci, hi2[q]);
      } else {
        lo2[q] = W::nmadd(x0, ci, lo2[q]);
        hi2[q] = W::nmadd(x1, ci, hi2[q]);
      }
    }
  }
  // x c for a whole vector x and one coefficient c (conjugated by Conj).
  auto times = [](V v, const T* c) {
    const V cr = W::bcast(reinterpret_cast<const R*>(c));
    V ci = W::bcast(reinterpret_cast<const R*>(c) + 1);
    if constexpr (Conj) ci = W::sub(W::zero(), ci);
    return W::addsub(W::mul(v, cr), W::mul(W::swap_pairs(v), ci));
  };
#pragma GCC unroll 4
  for (int q = 0; q < NR; ++q) {
    lo[q] = W::addsub(lo[q], W::swap_pairs(lo2[q]));
    hi[q] = W::addsub(hi[q], W::swap_pairs(hi2[q]));
    if (!m.unit) {
      // The reciprocal is of op(A)'s diagonal: already conjugated.
      const T r = m.r[j + q];
      const V rr = W::set1(r.real()), ri = W::set1(r.imag());
      lo[q] = W::addsub(W::mul(lo[q], rr), W::mul(W::swap_pairs(lo[q]), ri));
      hi[q] = W::addsub(W::mul(hi[q], rr), W::mul(W::swap_pairs(hi[q]), ri));
    }
    W::store(wr(x + (j + q) * ldx), lo[q]);
    W::store(wr(x + (j + q) * ldx) + L, hi[q]);
#pragma GCC unroll 4
    for (int p = q + 1; p < NR; ++p) {
      const T* c = m.at(j + q, j + p);
      lo[p] = W::sub(lo[p], times(lo[q], c));
      hi[p] = W::sub(hi[p], times(hi[q], c));
    }
  }
}

template <class T, int NR, bool Conj>
inline void group(T* x, i64 ldx, i64 j, const Coef<T>& m) {
  if constexpr (kComplex<T>) {
    group_complex<T, NR, Conj>(x, ldx, j, m);
  } else {
    group_real<T, NR>(x, ldx, j, m);
  }
}

// All n columns of one strip: four at a time for the real types, two for
// the complex ones (twice the registers per column).
template <class T, bool Conj>
void strip(T* x, i64 ldx, i64 n, const Coef<T>& m) {
  constexpr int G = kComplex<T> ? 2 : 4;
  i64 j = 0;
  for (; j + G <= n; j += G) group<T, G, Conj>(x, ldx, j, m);
  switch (n - j) {
    case 3: group<T, 3, Conj>(x, ldx, j, m); break;
    case 2: group<T, 2, Conj>(x, ldx, j, m); break;
    case 1: group<T, 1, Conj>(x, ldx, j, m); break;
    default: break;
  }
}

// 4 x 4 transposes: four columns of `from` (ld apart, four elements each)
// become four columns of `to` (tld apart).
inline void transpose4(const double* from, i64 ld, double* to, i64 tld) {
  const __m256d c0 = _mm256_loadu_pd(from), c1 = _mm256_loadu_pd(from + ld);
  const __m256d c2 = _mm256_loadu_pd(from + 2 * ld), c3 = _mm256_loadu_pd(from + 3 * ld);
  const __m256d lo01 = _mm256_unpacklo_pd(c0, c1), hi01 = _mm256_unpackhi_pd(c0, c1);
  const __m256d lo23 = _mm256_unpacklo_pd(c2, c3), hi23 = _mm256_unpackhi_pd(c2, c3);
  _mm256_storeu_pd(to, _mm256_permute2f128_pd(lo01, lo23, 0x20));
  _mm256_storeu_pd(to + tld, _mm256_permute2f128_pd(hi01, hi23, 0x20));
  _mm256_storeu_pd(to + 2 * tld, _mm256_permute2f128_pd(lo01, lo23, 0x31));
  _mm256_storeu_pd(to + 3 * tld, _mm256_permute2f128_pd(hi01, hi23, 0x31));
}
inline void transpose4(const float* from, i64 ld, float* to, i64 tld) {
  __m128 c0 = _mm_loadu_ps(from), c1 = _mm_loadu_ps(from + ld);
  __m128 c2 = _mm_loadu_ps(from + 2 * ld), c3 = _mm_loadu_ps(from + 3 * ld);
  _MM_TRANSPOSE4_PS(c0, c1, c2, c3);
  _mm_storeu_ps(to, c0);
  _mm_storeu_ps(to + tld, c1);
  _mm_storeu_ps(to + 2 * tld, c2);
  _mm_storeu_ps(to + 3 * tld, c3);
}

// Copies between an n-row strip of `rows` columns of B (at b, ldb apart)
// and its transpose in the buffer (row k of B becomes column k of the
// buffer, kStrip apart): by 4 x 4 blocks, the edges element by element.
template <class T, bool ToBuffer>
void transpose_strip(i64 rows, i64 n, T* b, i64 ldb, T* buf) {
  constexpr i64 S = kStrip<T>;
  // The complex types go element by element.
  const i64 r4 = kComplex<T> ? 0 : rows & ~i64{3}, n4 = kComplex<T> ? 0 : n & ~i64{3};
  for (i64 i = 0; i < r4; i += 4)
    for (i64 k = 0; k < n4; k += 4) {
      if constexpr (kComplex<T>) {
        // not reached: r4 is 0
      } else if constexpr (ToBuffer) {
        transpose4(b + k + i * ldb, ldb, buf + k * S + i, S);
      } else {
        transpose4(buf + k * S + i, S, b + k + i * ldb, ldb);
      }
    }
  for (i64 i = 0; i < rows; ++i) {
    T* col = b + i * ldb;
    for (i64 k = (i < r4 ? n4 : 0); k < n; ++k) {
      if constexpr (ToBuffer) {
        buf[k * S + i] = col[k];
      } else {
        col[k] = buf[k * S + i];
      }
    }
  }
}

// A strip of `rows` (at most kStrip) rows of B at b, columns ldb apart, held
// in a buffer of kStrip rows so that the vector loads stay inside it. With
// `across` the strip is instead `rows` columns of B, transposed. Unused rows
// of the buffer are zero.
template <class T>
void gather(bool across, i64 rows, i64 n, T* b, i64 ldb, T* buf) {
  constexpr i64 S = kStrip<T>;
  if (rows < S)
    for (i64 k = 0; k < n; ++k)
      for (i64 i = rows; i < S; ++i) buf[k * S + i] = T(0);
  if (across) {
    transpose_strip<T, true>(rows, n, b, ldb, buf);
  } else {
    for (i64 k = 0; k < n; ++k)
      for (i64 i = 0; i < rows; ++i) buf[k * S + i] = b[i + k * ldb];
  }
}

template <class T>
void scatter(bool across, i64 rows, i64 n, T* buf, T* b, i64 ldb) {
  constexpr i64 S = kStrip<T>;
  if (across) {
    transpose_strip<T, false>(rows, n, b, ldb, buf);
  } else {
    for (i64 k = 0; k < n; ++k)
      for (i64 i = 0; i < rows; ++i) b[i + k * ldb] = buf[k * S + i];
  }
}

template <class T>
bool solve(const trsm_simd::Leaf& f, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb, const T* recip) {
  constexpr i64 S = kStrip<T>;
  const i64 tri = f.left ? m : n, rhs = f.left ? n : m;
  if (tri > trsm_simd::kMaxTri) return false;
  if (tri <= 0 || rhs <= 0) return true;
  // M = op(A) on the right and op(A)^T on the left: M(k, j) = A(j, k) when
  // exactly one of the two transposes (conjugated for op(A) = A^H).
  const bool te = f.trans != f.left;
  i64 sk = te ? lda : 1, sj = te ? 1 : lda;
  const bool forward = f.lower == te;  // M upper as stored
  const T* c = a;
  T r[trsm_simd::kMaxTri];
  if (!f.unit)
    for (i64 j = 0; j < tri; ++j) r[j] = recip[forward ? j : tri - 1 - j];
  if (!forward) {
    c = a + (tri - 1) * (1 + lda);
    sk = -sk;
    sj = -sj;
  }
  const Coef<T> coef{c, sk, sj, r, f.unit};
  // Column k of a strip in solving order, from its first column and stride.
  auto run = [&](T* first, i64 ld) {
    T* x = forward ? first : first + (tri - 1) * ld;
    const i64 ldx = forward ? ld : -ld;
    if (f.conj) {
      strip<T, true>(x, ldx, tri, coef);
    } else {
      strip<T, false>(x, ldx, tri, coef);
    }
  };
  alignas(64) T buf[S * trsm_simd::kMaxTri];
  i64 r0 = 0;
  if (!f.left) {
    for (; r0 + S <= rhs; r0 += S) run(b + r0, ldb);
  }
  for (; r0 < rhs; r0 += S) {
    const i64 rows = rhs - r0 < S ? rhs - r0 : S;
    T* at = f.left ? b + r0 * ldb : b + r0;
    gather<T>(f.left, rows, tri, at, ldb, buf);
    run(buf, S);
    scatter<T>(f.left, rows, tri, buf, at, ldb);
  }
  return true;
}

}  // namespace trsm_leaf
QOR_ISA_END

namespace qor::trsm_simd {

#define QOR_TRSM_SIMD_DEFINE(t, T)                                                                        \
  bool solve(const Leaf& f, std::int64_t m, std::int64_t n, const T* a, std::int64_t lda, T* b,         \
             std::int64_t ldb, const T* recip) {                                                        \
    return qor::QOR_ISA_NAME::trsm_leaf::solve<T>(f, m, n, a, lda, b, ldb, recip);                      \
  }
QOR_FOR_EACH_TYPE(QOR_TRSM_SIMD_DEFINE)
#undef QOR_TRSM_SIMD_DEFINE

}  // namespace qor::trsm_simd
