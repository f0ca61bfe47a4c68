// The 256-bit kernels of the tuned s, c, z bodies, written once and compiled
// twice: in the Bulldozer-class file (AVX + FMA) as *_kernel_0_bdz and in the
// Zen-class file (AVX2 + FMA) as *_kernel_0_zen.
//
// Panels hold strips with no padding: A in strips of MR rows (s 16, c 8,
// z 4), B in strips of NR columns (s 4, c and z 2), elements of one depth
// step side by side (complex values interleaved), the last strip of each as
// wide as what is left. The kernel runs exactly the depth and has its own
// tails: rows in chunks of MR, then of halves down to 1; columns in chunks
// of NR, then 1 (and 2 for s).
//
// Accumulators start at zero and take the products in depth order; the sum
// then meets C once. For complex types the real and the imaginary lanes of
// B go to separate accumulators, and one swap and add-subtract after the
// depth loop make the complex product.
#pragma once
#include <immintrin.h>

#include "blas/gemm/sse.h"
#include "blas/gemm/traits.h"

QOR_ISA_BEGIN
namespace gemm_scz {

// Vector kinds: lanes of one row chunk. F2/F1 and D2 are the short tails.
struct F8 {
  using R = float;
  using V = __m256;
  static constexpr int lanes = 8;
  static V load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, V v) { _mm256_storeu_ps(p, v); }
  static V bcast(const float* p) { return _mm256_broadcast_ss(p); }
  static V zero() { return _mm256_setzero_ps(); }
  static V fma(V a, V b, V c) { return _mm256_fmadd_ps(a, b, c); }
  static V add(V a, V b) { return _mm256_add_ps(a, b); }
  static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
  static V swap(V a) { return _mm256_permute_ps(a, 0xB1); }
  static V addsub(V a, V b) { return _mm256_addsub_ps(a, b); }
};
struct F4 {
  using R = float;
  using V = __m128;
  static constexpr int lanes = 4;
  static V load(const float* p) { return _mm_loadu_ps(p); }
  static void store(float* p, V v) { _mm_storeu_ps(p, v); }
  static V bcast(const float* p) { return _mm_broadcast_ss(p); }
  static V zero() { return _mm_setzero_ps(); }
  static V fma(V a, V b, V c) { return _mm_fmadd_ps(a, b, c); }
  static V add(V a, V b) { return _mm_add_ps(a, b); }
  static V mul(V a, V b) { return _mm_mul_ps(a, b); }
  static V swap(V a) { return _mm_permute_ps(a, 0xB1); }
  static V addsub(V a, V b) { return _mm_addsub_ps(a, b); }
};
// Two floats move as one 8-byte lane. They sit only 4-byte aligned (a C
// column at any float offset, an A strip of odd height), so the lane is
// loaded and stored as an unaligned 64-bit integer, never through a double
// pointer, which would claim an alignment of 8.
struct F2 : F4 {
  static constexpr int lanes = 2;
  static V load(const float* p) { return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))); }
  static void store(float* p, V v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_castps_si128(v)); }
};
struct F1 : F4 {
  static constexpr int lanes = 1;
  static V load(const float* p) { return _mm_load_ss(p); }
  static void store(float* p, V v) { _mm_store_ss(p, v); }
};
struct D4 {
  using R = double;
  using V = __m256d;
  static constexpr int lanes = 4;
  static V load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, V v) { _mm256_storeu_pd(p, v); }
  static V bcast(const double* p) { return _mm256_broadcast_sd(p); }
  static V zero() { return _mm256_setzero_pd(); }
  static V fma(V a, V b, V c) { return _mm256_fmadd_pd(a, b, c); }
  static V add(V a, V b) { return _mm256_add_pd(a, b); }
  static V mul(V a, V b) { return _mm256_mul_pd(a, b); }
  static V swap(V a) { return _mm256_permute_pd(a, 0x5); }
  static V addsub(V a, V b) { return _mm256_addsub_pd(a, b); }
};
struct D2 {
  using R = double;
  using V = __m128d;
  static constexpr int lanes = 2;
  static V load(const double* p) { return _mm_loadu_pd(p); }
  static void store(double* p, V v) { _mm_storeu_pd(p, v); }
  static V bcast(const double* p) { return _mm_loaddup_pd(p); }
  static V zero() { return _mm_setzero_pd(); }
  static V fma(V a, V b, V c) { return _mm_fmadd_pd(a, b, c); }
  static V add(V a, V b) { return _mm_add_pd(a, b); }
  static V mul(V a, V b) { return _mm_mul_pd(a, b); }
  static V swap(V a) { return _mm_permute_pd(a, 0x1); }
  static V addsub(V a, V b) { return _mm_addsub_pd(a, b); }
};

// Tile shape of the tuned kernels.
template <class T> struct avx_shape;
template <> struct avx_shape<float> { static constexpr i64 mr = 16, nr = 4; };
template <> struct avx_shape<c32> { static constexpr i64 mr = 8, nr = 2; };
template <> struct avx_shape<c64> { static constexpr i64 mr = 4, nr = 2; };

// One chunk of `rows` rows: which vectors hold it and how many.
template <class T, int rows> struct chunk;
template <> struct chunk<float, 16> { using K = F8; static constexpr int nv = 2; };
template <> struct chunk<float, 8> { using K = F8; static constexpr int nv = 1; };
template <> struct chunk<float, 4> { using K = F4; static constexpr int nv = 1; };
template <> struct chunk<float, 2> { using K = F2; static constexpr int nv = 1; };
template <> struct chunk<float, 1> { using K = F1; static constexpr int nv = 1; };
template <> struct chunk<c32, 8> { using K = F8; static constexpr int nv = 2; };
template <> struct chunk<c32, 4> { using K = F8; static constexpr int nv = 1; };
template <> struct chunk<c32, 2> { using K = F4; static constexpr int nv = 1; };
template <> struct chunk<c32, 1> { using K = F2; static constexpr int nv = 1; };
template <> struct chunk<c64, 4> { using K = D4; static constexpr int nv = 2; };
template <> struct chunk<c64, 2> { using K = D4; static constexpr int nv = 1; };
template <> struct chunk<c64, 1> { using K = D2; static constexpr int nv = 1; };

// rows x NC of C from a chunk of an A strip (as reals per depth step) and
// NC columns of B: column j starts at bcol[j] and moves bs reals per depth
// step (the columns of one call may come from two strips).
template <class T, int rows, int NC>
inline void micro(i64 k, const real_t<T>* a, i64 as, const real_t<T>* const* bcol, i64 bs, Beta mode, T beta, T* c,
                  i64 ldc) {
  using C = chunk<T, rows>;
  using K = typename C::K;
  using V = typename K::V;
  using R = real_t<T>;
  constexpr int NV = C::nv;
  constexpr bool cx = is_complex_v<T>;
  // C is met once, after the depth loop: ask for its lines now so that the
  // loads and stores at the end do not wait on memory.
#pragma GCC unroll 8
  for (int j = 0; j < NC; ++j) {
    const char* cj = reinterpret_cast<const char*>(c + j * ldc);
    _mm_prefetch(cj, _MM_HINT_T0);
    _mm_prefetch(cj + rows * sizeof(T) - 1, _MM_HINT_T0);
  }
  V res[NC][NV];
  if constexpr (!cx) {
    V acc[NC][NV];
#pragma GCC unroll 8
    for (int j = 0; j < NC; ++j)
#pragma GCC unroll 8
      for (int v = 0; v < NV; ++v) acc[j][v] = K::zero();
#pragma GCC unroll 4
    for (i64 l = 0; l < k; ++l) {
      V av[NV];
#pragma GCC unroll 8
      for (int v = 0; v < NV; ++v) av[v] = K::load(a + l * as + v * K::lanes);
#pragma GCC unroll 8
      for (int j = 0; j < NC; ++j) {
        const V bj = K::bcast(bcol[j] + l * bs);
#pragma GCC unroll 8
        for (int v = 0; v < NV; ++v) acc[j][v] = K::fma(av[v], bj, acc[j][v]);
      }
    }
#pragma GCC unroll 8
    for (int j = 0; j < NC; ++j)
#pragma GCC unroll 8
      for (int v = 0; v < NV; ++v) res[j][v] = acc[j][v];
  } else {
    V re[NC][NV], im[NC][NV];
#pragma GCC unroll 8
    for (int j = 0; j < NC; ++j)
#pragma GCC unroll 8
      for (int v = 0; v < NV; ++v) re[j][v] = im[j][v] = K::zero();
#pragma GCC unroll 4
    for (i64 l = 0; l < k; ++l) {
      V av[NV];
#pragma GCC unroll 8
      for (int v = 0; v < NV; ++v) av[v] = K::load(a + l * as + v * K::lanes);
#pragma GCC unroll 8
      for (int j = 0; j < NC; ++j) {
        const V br = K::bcast(bcol[j] + l * bs), bi = K::bcast(bcol[j] + l * bs + 1);
#pragma GCC unroll 8
        for (int v = 0; v < NV; ++v) {
          re[j][v] = K::fma(av[v], br, re[j][v]);
          im[j][v] = K::fma(av[v], bi, im[j][v]);
        }
      }
    }
#pragma GCC unroll 8
    for (int j = 0; j < NC; ++j)
#pragma GCC unroll 8
      for (int v = 0; v < NV; ++v) res[j][v] = K::addsub(re[j][v], K::swap(im[j][v]));
  }
  R br_[1], bi_[1];
  if constexpr (cx) br_[0] = beta.real(), bi_[0] = beta.imag();
  else br_[0] = beta, bi_[0] = 0;
#pragma GCC unroll 8
  for (int j = 0; j < NC; ++j) {
    R* cj = reinterpret_cast<R*>(c + j * ldc);
#pragma GCC unroll 8
    for (int v = 0; v < NV; ++v) {
      R* p = cj + v * K::lanes;
      V r = res[j][v];
      if (mode == Beta::One) {
        r = K::add(K::load(p), r);
      } else if (mode == Beta::Any) {
        const V old = K::load(p);
        if constexpr (cx) {
          r = K::add(K::addsub(K::mul(old, K::bcast(br_)), K::mul(K::swap(old), K::bcast(bi_))), r);
        } else {
          r = K::fma(K::bcast(br_), old, r);
        }
      }
      K::store(p, r);
    }
  }
}

// Columns j0.. of B for a micro call over NC columns: from the strip that
// holds column j0 on into the next ones, all full strips of NR columns.
template <class T, int NC>
struct Cols {
  const real_t<T>* p[NC];
  Cols(const real_t<T>* b, i64 k, i64 j0) {
    constexpr i64 NR = avx_shape<T>::nr, rr = reals<T>;
    for (int j = 0; j < NC; ++j) {
      const i64 col = j0 + j;
      p[j] = b + (col / NR) * NR * k * rr + (col % NR) * rr;
    }
  }
};

// Columns of the wide tile of a full row chunk: one strip of B gives only
// eight accumulators (s: 2 vectors x 4 columns; c, z: 2 vectors x 2 columns
// x real and imaginary), too few to hide the latency of the multiply-add;
// three strips are taken as two tiles of one and a half strips, twelve
// accumulators each. 0: no wide tile.
template <class T, int rows>
inline constexpr int kWide = rows == avx_shape<T>::mr ? static_cast<int>(avx_shape<T>::nr * 3 / 2) : 0;

// All columns of one row chunk.
template <class T, int rows>
inline void row_chunk(i64 n, i64 k, const real_t<T>* a, i64 as, const real_t<T>* b, Beta mode, T beta, T* c, i64 ldc) {
  constexpr i64 NR = avx_shape<T>::nr, rr = reals<T>;
  i64 j0 = 0;
  if constexpr (kWide<T, rows> != 0) {
    constexpr int W = kWide<T, rows>;
    for (; j0 + 2 * W <= n; j0 += 2 * W) {
      const Cols<T, W> lo(b, k, j0), hi(b, k, j0 + W);
      micro<T, rows, W>(k, a, as, lo.p, NR * rr, mode, beta, c + j0 * ldc, ldc);
      micro<T, rows, W>(k, a, as, hi.p, NR * rr, mode, beta, c + (j0 + W) * ldc, ldc);
    }
  }
  for (; j0 < n; j0 += NR) {
    const i64 w = n - j0 < NR ? n - j0 : NR;
    const real_t<T>* bs = b + j0 * k * rr;
    T* cj = c + j0 * ldc;
    if (w == NR) {
      const Cols<T, NR> cols(b, k, j0);
      micro<T, rows, NR>(k, a, as, cols.p, NR * rr, mode, beta, cj, ldc);
      continue;
    }
    // The last strip, w columns wide.
    const real_t<T>* tail[2] = {bs, bs + rr};
    i64 q = 0;
    if constexpr (NR == 4) {
      if (w - q >= 2) {
        micro<T, rows, 2>(k, a, as, tail, w * rr, mode, beta, cj + q * ldc, ldc);
        q += 2;
      }
    }
    if (w - q >= 1) {
      const real_t<T>* one[1] = {bs + q * rr};
      micro<T, rows, 1>(k, a, as, one, w * rr, mode, beta, cj + q * ldc, ldc);
    }
  }
}

// The row chunks of one strip of height h: MR if full, else halves.
template <class T, int rows>
inline void strip_rows(i64 h, i64& off, i64 n, i64 k, const real_t<T>* strip, const real_t<T>* b, Beta mode, T beta,
                       T* c, i64 ldc) {
  if (h - off >= rows) {
    row_chunk<T, rows>(n, k, strip + off * reals<T>, h * reals<T>, b, mode, beta, c + off, ldc);
    off += rows;
  }
  if constexpr (rows > 1) strip_rows<T, rows / 2>(h, off, n, k, strip, b, mode, beta, c, ldc);
}

template <class T> void avx_kernel(i64 m, i64 n, i64 k, const T* a, const T* b, T beta, T* c, i64 ldc) {
  if (m <= 0 || n <= 0) return;
  constexpr i64 MR = avx_shape<T>::mr;
  const Beta mode = beta_mode(true, beta);
  if (k <= 0) {
    // No depth: only beta acts.
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < m; ++i) c[i + j * ldc] = mode == Beta::Zero ? T(0) : mul(beta, c[i + j * ldc]);
    return;
  }
  using R = real_t<T>;
  const R* ar = reinterpret_cast<const R*>(a);
  const R* br = reinterpret_cast<const R*>(b);
  for (i64 i0 = 0; i0 < m; i0 += MR) {
    const i64 h = m - i0 < MR ? m - i0 : MR;
    i64 off = 0;
    strip_rows<T, static_cast<int>(MR)>(h, off, n, k, ar + i0 * k * reals<T>, br, mode, beta, c + i0, ldc);
  }
}

}  // namespace gemm_scz
QOR_ISA_END
