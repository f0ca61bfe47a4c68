// The power-of-two engine, written once over the precision and compiled per
// instruction-set class (included by engine.h).
//
// Decimation in time over data in bit-reversed order. A stage of radix P
// combines P neighbouring transforms of length m into one of length P*m:
// with the inputs in bit-reversed order, transform number rev(r) of the P
// holds the r-th decimated part, so a_r = y[j + rev(r) m] w^(j r), then a
// P-point DFT gives y[j + k m] in natural order, all in place.
//
// Up to order 16 the first stage, one pass over the whole array, reads the
// input through the table of bit-reversed group offsets (no separate
// reordering pass); the stages after it that are short enough for the
// first-level cache run per block. In the interleaved kernels two radix-4
// stages that follow each other run as one pass (sixteen values held in
// registers), which halves the loads and stores between them. From order
// 17 the data are bit-reversed in 32 x 32 tiles first; then each level splits the
// array into 2^blk contiguous transforms (done recursively), and combines
// them across, a few columns at a time gathered into a small buffer.
//
// The 512-bit class runs the same plans with vectors twice as wide: eight
// single complex values interleaved, and double precision in split blocks
// of eight (SD8), whose first stage takes eight groups at a time. Where a
// plan's radix-4 first stage would leave a stage over transforms shorter
// than a vector, the two run as one radix-16 stage. Orders 6 and 7 in
// double precision are computed whole in registers, as 8 x 8 and 16 x 8
// points with constant twiddles (rows_of_eight).
#pragma once
#include <cstring>
#include <type_traits>
#include <utility>

#include "dft/primitive/codelets.h"
#include "dft/primitive/layout.h"

QOR_ISA_BEGIN
namespace dfp2 {

using namespace ::qor::QOR_ISA_NAME::dftv;
using ::qor::dft::i64;
using ::qor::dft::Pow2Large;
using ::qor::dft::Pow2Level;
using ::qor::dft::Pow2Stages;

// ---- lane gathers and twiddles from split cosine and sine -------------------
// Lane l of the result is the complex value at p + 2 * off[l].
QV_INLINE D1 gather(const double* p, const i64* off, D1*) { return D1::load(p + 2 * off[0]); }
QV_INLINE F2 gather(const float* p, const i64* off, F2*) {
  __m128 v = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p + 2 * off[0])));
  return {_mm_loadh_pi(v, reinterpret_cast<const __m64*>(p + 2 * off[1]))};
}
// A twiddle from a cosine and a sine, broadcast to every lane.
QV_INLINE D1T pair(const double* c, const double* s, bool conj, D1*) {
  return d1t_from(_mm_load1_pd(c), _mm_load1_pd(s), conj);
}
QV_INLINE F2T pair(const float* c, const float* s, bool conj, F2*) {
  return f2t_from(_mm_load1_ps(c), _mm_load1_ps(s), conj);
}
#if defined(__AVX2__)
QV_INLINE D2 gather(const double* p, const i64* off, D2*) {
  return {_mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p + 2 * off[0])), _mm_loadu_pd(p + 2 * off[1]), 1)};
}
QV_INLINE F4 gather(const float* p, const i64* off, F4*) {
  const F2 lo = gather(p, off, static_cast<F2*>(nullptr)), hi = gather(p, off + 2, static_cast<F2*>(nullptr));
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(lo.v), hi.v, 1)};
}
QV_INLINE D2T pair(const double* c, const double* s, bool conj, D2*) {
  __m256d im = _mm256_broadcast_sd(s);
  if (conj) im = _mm256_xor_pd(im, _mm256_set1_pd(-0.0));
  return {_mm256_broadcast_sd(c), im};
}
QV_INLINE F4T pair(const float* c, const float* s, bool conj, F4*) {
  __m256 im = _mm256_broadcast_ss(s);
  if (conj) im = _mm256_xor_ps(im, _mm256_set1_ps(-0.f));
  return {_mm256_broadcast_ss(c), im};
}
#endif
#if defined(__AVX512F__)
QV_INLINE D4 gather(const double* p, const i64* off, D4*) {
  const D2 lo = gather(p, off, static_cast<D2*>(nullptr)), hi = gather(p, off + 2, static_cast<D2*>(nullptr));
  return {_mm512_insertf64x4(_mm512_castpd256_pd512(lo.v), hi.v, 1)};
}
QV_INLINE F8 gather(const float* p, const i64* off, F8*) {
  const F4 lo = gather(p, off, static_cast<F4*>(nullptr)), hi = gather(p, off + 4, static_cast<F4*>(nullptr));
  return {_mm512_insertf32x8(_mm512_castps256_ps512(lo.v), hi.v, 1)};
}
QV_INLINE D4T pair(const double* c, const double* s, bool conj, D4*) {
  __m512d im = _mm512_set1_pd(*s);
  if (conj) im = _mm512_xor_pd(im, _mm512_set1_pd(-0.0));
  return {_mm512_set1_pd(*c), im};
}
QV_INLINE F8T pair(const float* c, const float* s, bool conj, F8*) {
  __m512 im = _mm512_set1_ps(*s);
  if (conj) im = _mm512_xor_ps(im, _mm512_set1_ps(-0.f));
  return {_mm512_set1_ps(*c), im};
}
#endif

// Twiddles of lanes l0, l0+1, ... from the split table (four cosines, then
// four sines, for each group of four j; in double precision in the lane
// order of split blocks). Types of more than four lanes read the next
// group `next` values on.
QV_INLINE D1T lanes_of(const double* t, int l0, bool conj, D1*, i64 = 0) {
  const int at = ::qor::dft::split_lane(l0);
  return d1t_from(_mm_load1_pd(t + at), _mm_load1_pd(t + 4 + at), conj);
}
QV_INLINE F2T lanes_of(const float* t, int l0, bool conj, F2*, i64 = 0) {
  return f2t_from(_mm_loadu_ps(t + 2 * l0), _mm_loadu_ps(t + 8 + 2 * l0), conj);
}
#if defined(__AVX2__)
QV_INLINE D2T lanes_of(const double* t, int l0, bool conj, D2*, i64 = 0) {
  // j + l0 and j + l0 + 1 sit at 0 and 2 (l0 = 0) or at 1 and 3 (l0 = 2)
  const __m256d c4 = _mm256_loadu_pd(t), s4 = _mm256_loadu_pd(t + 4);
  const __m256d c = l0 == 0 ? _mm256_permute4x64_pd(c4, 0xA0) : _mm256_permute4x64_pd(c4, 0xF5);
  __m256d s = l0 == 0 ? _mm256_permute4x64_pd(s4, 0xA0) : _mm256_permute4x64_pd(s4, 0xF5);
  if (conj) s = _mm256_xor_pd(s, _mm256_set1_pd(-0.0));
  return {c, s};
}
QV_INLINE F4T lanes_of(const float* t, int, bool conj, F4*, i64 = 0) {
  __m256 s = _mm256_loadu_ps(t + 8);
  if (conj) s = _mm256_xor_ps(s, _mm256_set1_ps(-0.f));
  return {_mm256_loadu_ps(t), s};
}
#endif
#if defined(__AVX512F__)
// Four lanes (l0 is 0): the group read whole and spread to the pairs,
// undoing the split-block lane order 0, 2, 1, 3.
QV_INLINE D4T lanes_of(const double* t, int, bool conj, D4*, i64 = 0) {
  const __m512d g = _mm512_loadu_pd(t);
  __m512d s = _mm512_permutexvar_pd(_mm512_setr_epi64(4, 4, 6, 6, 5, 5, 7, 7), g);
  if (conj) s = _mm512_xor_pd(s, _mm512_set1_pd(-0.0));
  return {_mm512_permutexvar_pd(_mm512_setr_epi64(0, 0, 2, 2, 1, 1, 3, 3), g), s};
}
// Eight lanes: this group of four and the next.
QV_INLINE F8T lanes_of(const float* t, int, bool conj, F8*, i64 next) {
  const __m512 c = _mm512_insertf32x8(_mm512_castps256_ps512(_mm256_loadu_ps(t)), _mm256_loadu_ps(t + next), 1);
  __m512 s = _mm512_insertf32x8(_mm512_castps256_ps512(_mm256_loadu_ps(t + 8)), _mm256_loadu_ps(t + next + 8), 1);
  if (conj) s = _mm512_xor_ps(s, _mm512_set1_ps(-0.f));
  return {c, s};
}
#endif

template <int P>
constexpr int rev_digit(int r) {
  int out = 0;
  for (int b = 1; b < P; b <<= 1, r >>= 1) out = (out << 1) | (r & 1);
  return out;
}

// Sizes and strides reach the stage kernels either as run-time values
// (i64) or as compile-time ones (std::integral_constant, from the kernels
// of a fixed order). A run-time stride between the radix's inputs is hidden
// from the optimiser, so that it forms each address from it instead of
// keeping one precomputed offset per input (more than there are registers);
// a compile-time one folds into the address displacements.
template <bool HIDE, class I>
QV_INLINE i64 stride_of(I v) {
  i64 x = v;
  if constexpr (HIDE && std::is_same_v<I, i64>) asm("" : "+r"(x));
  return x;
}

// ---- the first stage: groups of P neighbours, no twiddles ----------------------
// On data already in bit-reversed order: group b (b in [b0, b1)) takes a_r
// from src[P*b + rev(r)], and output k goes to dst[P*b + k].
template <int P, bool INV, class R>
void first_stage(const R* src, R* dst, i64 b0, i64 b1) {
  using V = typename VecSet<R>::W;
  constexpr int NL = V::N;
  i64 b = b0;
  for (; b + NL <= b1; b += NL) {
    i64 off[NL];
    for (int l = 0; l < NL; ++l) off[l] = P * (b + l);
    V a[P];
    sfor<0, P>([&](auto r) __attribute__((always_inline)) {
      a[r] = gather(src + 2 * rev_digit<P>(r), off, static_cast<V*>(nullptr));
    });
    Dft<P, INV, V>::run(a);
    store_transposed<P>(a, dst + 2 * (P * b));
  }
  using O = typename VecSet<R>::O;
  for (; b < b1; ++b) {
    O a[P];
    sfor<0, P>([&](auto r) __attribute__((always_inline)) { a[r] = O::load(src + 2 * (P * b + rev_digit<P>(r))); });
    Dft<P, INV, O>::run(a);
    sfor<0, P>([&](auto k) __attribute__((always_inline)) { a[k].store(dst + 2 * (P * b + k)); });
  }
}

// The first stage over all G groups, reading the caller's data through
// the bit-reversal table: for b < G/N (N lanes) the N neighbours from
// first[b] on belong to the groups b + rev(i) G/N, so each vector is one
// plain load; the stores go back to each lane's group.
template <int P, class T, class R>
QV_INLINE void store_lanes(const T* a, R* const* d) {
  for (int l = 0; l < T::N; ++l)
    for (int k = 0; k < P; ++k) a[k].store_lane(d[l] + 2 * k, l);
}
template <int P>
QV_INLINE void store_lanes(const F2* a, float* const* d) {
  for (int k = 0; k < P; k += 2) {
    _mm_storeu_ps(d[0] + 2 * k, _mm_movelh_ps(a[k].v, a[k + 1].v));
    _mm_storeu_ps(d[1] + 2 * k, _mm_movehl_ps(a[k + 1].v, a[k].v));
  }
}
#if defined(__AVX2__)
template <int P>
QV_INLINE void store_lanes(const F4* a, float* const* d) {
  for (int k = 0; k < P; k += 4) {
    const __m256d a0 = _mm256_castps_pd(a[k].v), a1 = _mm256_castps_pd(a[k + 1].v);
    const __m256d a2 = _mm256_castps_pd(a[k + 2].v), a3 = _mm256_castps_pd(a[k + 3].v);
    const __m256d t0 = _mm256_unpacklo_pd(a0, a1), t1 = _mm256_unpackhi_pd(a0, a1);
    const __m256d t2 = _mm256_unpacklo_pd(a2, a3), t3 = _mm256_unpackhi_pd(a2, a3);
    _mm256_storeu_pd(reinterpret_cast<double*>(d[0] + 2 * k), _mm256_permute2f128_pd(t0, t2, 0x20));
    _mm256_storeu_pd(reinterpret_cast<double*>(d[1] + 2 * k), _mm256_permute2f128_pd(t1, t3, 0x20));
    _mm256_storeu_pd(reinterpret_cast<double*>(d[2] + 2 * k), _mm256_permute2f128_pd(t0, t2, 0x31));
    _mm256_storeu_pd(reinterpret_cast<double*>(d[3] + 2 * k), _mm256_permute2f128_pd(t1, t3, 0x31));
  }
}
#endif
#if defined(__AVX512F__)
template <int P>
QV_INLINE void store_lanes(const D4* a, double* const* d) {
  static_assert(P % 4 == 0);
  for (int k = 0; k < P; k += 4) {
    const __m512d t0 = _mm512_shuffle_f64x2(a[k].v, a[k + 1].v, 0x44), t1 = _mm512_shuffle_f64x2(a[k].v, a[k + 1].v, 0xEE);
    const __m512d t2 = _mm512_shuffle_f64x2(a[k + 2].v, a[k + 3].v, 0x44),
                  t3 = _mm512_shuffle_f64x2(a[k + 2].v, a[k + 3].v, 0xEE);
    _mm512_storeu_pd(d[0] + 2 * k, _mm512_shuffle_f64x2(t0, t2, 0x88));
    _mm512_storeu_pd(d[1] + 2 * k, _mm512_shuffle_f64x2(t0, t2, 0xDD));
    _mm512_storeu_pd(d[2] + 2 * k, _mm512_shuffle_f64x2(t1, t3, 0x88));
    _mm512_storeu_pd(d[3] + 2 * k, _mm512_shuffle_f64x2(t1, t3, 0xDD));
  }
}
template <int P>
QV_INLINE void store_lanes(const F8* a, float* const* d) {
  F4 lo[P], hi[P];
  for (int k = 0; k < P; ++k) {
    lo[k] = a[k].lo();
    hi[k] = a[k].hi();
  }
  store_lanes<P>(lo, d);
  store_lanes<P>(hi, d + 4);
}
#endif

// A first stage FS times as wide as the plan's reads every FS-th entry of
// its table (the reversal of b over two bits fewer is that of 4b).
template <int P, bool INV, int FS = 1, class R, class I, class J>
void first_stage_all(const R* src, R* dst, I G, const std::int32_t* first, J rstep) {
  using V = typename VecSet<R>::W;
  constexpr int NL = V::N;
  const i64 q = i64{G} / NL;
  i64 lane_off[NL];
  for (int i = 0; i < NL; ++i) {
    int r = 0;
    for (int b = 1, v = i; b < NL; b <<= 1, v >>= 1) r = (r << 1) | (v & 1);
    lane_off[i] = 2 * P * r * q;
  }
  for (i64 b = 0; b < q; ++b) {
    const R* x = src + 2 * i64{first[FS * b]};
    const i64 rs = 2 * stride_of<(P > 4)>(rstep);
    V a[P];
    sfor<0, P>([&](auto r) __attribute__((always_inline)) { a[r] = V::load(x + rs * r); });
    Dft<P, INV, V>::run(a);
    R* d[NL];
    for (int i = 0; i < NL; ++i) d[i] = dst + 2 * P * b + lane_off[i];
    store_lanes<P>(a, d);
  }
}

// ---- a twiddled stage, vectorised along j ------------------------------------
// n elements from src to dst (the same array or not), transforms of length
// P*m, m a multiple of four. The widest vectors run where m holds a whole
// one; below that (m = 4 with eight lanes) half as wide.
template <int P, bool INV, class V, class R, class I, class J>
void stage_rows_v(const R* src, R* dst, I n, J m, const R* tw) {
  for (i64 s = 0; s < n; s += P * m) {
    const R* sp = src + 2 * s;
    R* dp = dst + 2 * s;
    for (i64 j = 0; j < m; j += V::N) {
      const R* tg = tw + (j >> 2) * (P - 1) * ::qor::dft::tw_group<R>();
      const int l0 = static_cast<int>(j & 3);
      const i64 ms = 2 * stride_of<(P > 4)>(m);
      const R* ps = sp + 2 * j;
      R* pd = dp + 2 * j;
      V a[P];
      a[0] = V::load(ps);
      sfor<1, P>([&](auto r) __attribute__((always_inline)) {
        a[r] = cmul(V::load(ps + rev_digit<P>(r) * ms),
                    lanes_of(tg + (r - 1) * ::qor::dft::tw_group<R>(), l0, INV, static_cast<V*>(nullptr),
                             (P - 1) * ::qor::dft::tw_group<R>()));
      });
      Dft<P, INV, V>::run(a);
      sfor<0, P>([&](auto k) __attribute__((always_inline)) { a[k].store(pd + k * ms); });
    }
  }
}
template <int P, bool INV, class R, class I, class J>
QV_INLINE void stage_rows(const R* src, R* dst, I n, J m, const R* tw) {
  using W = typename VecSet<R>::W;
  if (i64{m} >= W::N) stage_rows_v<P, INV, W>(src, dst, n, m, tw);
  else stage_rows_v<P, INV, typename VecSet<R>::H>(src, dst, n, m, tw);
}

// Two radix-4 stages at once, m to 4m (twiddles tw1) and 4m to 16m (tw2):
// the sixteen values at j + t m of each block of 16m go through both in
// registers and back to the same places (so in place works too).
template <bool INV, class V, class R, class I, class J>
void stage_rows_pair_v(const R* src, R* dst, I n, J m, const R* tw1, const R* tw2) {
  constexpr int G = ::qor::dft::tw_group<R>();
  for (i64 s0 = 0; s0 < n; s0 += 16 * m) {
    const R* sp = src + 2 * s0;
    R* dp = dst + 2 * s0;
    for (i64 j = 0; j < m; j += V::N) {
      const i64 ms = 2 * stride_of<true>(m);
      const int l0 = static_cast<int>(j & 3);
      const R* tg1 = tw1 + (j >> 2) * 3 * G;
      V b[4][4];
      sfor<0, 4>([&](auto s) __attribute__((always_inline)) {
        const R* ps = sp + 2 * j + s * 4 * ms;
        V a[4];
        a[0] = V::load(ps);
        sfor<1, 4>([&](auto r) __attribute__((always_inline)) {
          a[r] = cmul(V::load(ps + rev_digit<4>(r) * ms), lanes_of(tg1 + (r - 1) * G, l0, INV, static_cast<V*>(nullptr), 3 * G));
        });
        Dft<4, INV, V>::run(a);
        sfor<0, 4>([&](auto k) __attribute__((always_inline)) { b[s][k] = a[k]; });
      });
      sfor<0, 4>([&](auto k) __attribute__((always_inline)) {
        const i64 j2 = j + k * m;
        const R* tg2 = tw2 + (j2 >> 2) * 3 * G;
        V a[4];
        a[0] = b[0][k];
        sfor<1, 4>([&](auto r) __attribute__((always_inline)) {
          a[r] = cmul(b[rev_digit<4>(r)][k], lanes_of(tg2 + (r - 1) * G, l0, INV, static_cast<V*>(nullptr), 3 * G));
        });
        Dft<4, INV, V>::run(a);
        R* pd = dp + 2 * j + k * ms;
        sfor<0, 4>([&](auto q) __attribute__((always_inline)) { a[q].store(pd + q * 4 * ms); });
      });
    }
  }
}
template <bool INV, class R, class I, class J>
QV_INLINE void stage_rows_pair(const R* src, R* dst, I n, J m, const R* tw1, const R* tw2) {
  using W = typename VecSet<R>::W;
  if (i64{m} >= W::N) stage_rows_pair_v<INV, W>(src, dst, n, m, tw1, tw2);
  else stage_rows_pair_v<INV, typename VecSet<R>::H>(src, dst, n, m, tw1, tw2);
}

// ---- a stage across columns: rows of Q contiguous values ----------------------
template <int P, bool INV, class R>
void stage_cols(R* buf, i64 rows, i64 m, i64 Q, const R* tw) {
  using V = typename VecSet<R>::W;
  typename Tw<V>::type t[P];
  for (i64 s = 0; s < rows; s += P * m)
    for (i64 j = 0; j < m; ++j) {
      if (tw != nullptr) {
        const int l = static_cast<int>(j & 3);
        const R* tg = tw + (j >> 2) * (P - 1) * ::qor::dft::tw_group<R>();
        for (int r = 1; r < P; ++r) {
          const R* g = tg + (r - 1) * ::qor::dft::tw_group<R>();
          t[r] = pair(g + ::qor::dft::tw_cos<R>(l), g + ::qor::dft::tw_sin<R>(l), INV, static_cast<V*>(nullptr));
        }
      }
      R* base = buf + 2 * (s + j) * Q;
      for (i64 q = 0; q < Q; q += V::N) {
        V a[P];
        sfor<0, P>([&](auto r) __attribute__((always_inline)) {
          a[r] = V::load(base + 2 * (rev_digit<P>(r) * m * Q + q));
          if constexpr (r > 0)
            if (tw != nullptr) a[r] = cmul(a[r], t[r]);
        });
        Dft<P, INV, V>::run(a);
        sfor<0, P>([&](auto k) __attribute__((always_inline)) { a[k].store(base + 2 * (k * m * Q + q)); });
      }
    }
}

// Whether two radix-4 stages combining transforms of length m run as one
// pass. A pair reads sixteen rows m apart; from 4 KiB apart on they all
// fall in the same sets of the first-level cache and evict each other, so
// such stages run one at a time (four rows).
template <class R>
constexpr bool pair_fits(i64 m) {
  return m * 2 * i64{sizeof(R)} < 4096;
}

// The first stage's radix on interleaved vectors: the plan's, except that
// where a radix-4 one would leave the next stage combining transforms
// shorter than the widest vector, the two run as one stage of radix 16
// (eight-lane vectors; its inner twiddles are constants).
template <class R>
constexpr int rows_first_radix(int P0) {
  return P0 == 4 && VecSet<R>::W::N >= 8 ? 16 : P0;
}

template <bool INV, class R>
QV_INLINE void run_first(int P, const R* src, R* dst, i64 b0, i64 b1) {
  if (P == 16) first_stage<16, INV>(src, dst, b0, b1);
  else if (P == 8) first_stage<8, INV>(src, dst, b0, b1);
  else first_stage<4, INV>(src, dst, b0, b1);
}
template <bool INV, class R>
QV_INLINE void run_rows(int P, const R* src, R* dst, i64 n, i64 m, const void* tw) {
  if (P == 8) stage_rows<8, INV>(src, dst, n, m, static_cast<const R*>(tw));
  else stage_rows<4, INV>(src, dst, n, m, static_cast<const R*>(tw));
}
// Stages [lo, hi) of the plan over n elements from T, two radix-4 stages
// at a time where they follow each other; the plan's last stage writes to
// dst.
template <bool INV, class R>
void rows_range(const Pow2Stages& pl, int lo, int hi, R* T, R* dst, i64 n) {
  const int last = pl.count - 1;
  for (int i = lo; i < hi;) {
    if (i + 1 < hi && pl.radix[i] == 4 && pl.radix[i + 1] == 4 && pair_fits<R>(pl.m[i])) {
      stage_rows_pair<INV>(T, i + 1 == last ? dst : T, n, pl.m[i], static_cast<const R*>(pl.tw[i]),
                           static_cast<const R*>(pl.tw[i + 1]));
      i += 2;
    } else {
      run_rows<INV>(pl.radix[i], T, i == last ? dst : T, n, pl.m[i], pl.tw[i]);
      ++i;
    }
  }
}

#if defined(__AVX2__)
// ---- double precision in split blocks ---------------------------------------------
// Between the first and the last stage the data sit in blocks of four
// elements, four real parts then four imaginary parts, at the offset the
// four would have interleaved, in the lane order 0, 2, 1, 3 (SD4; the
// twiddle tables follow it). Twiddle products then need no shuffles, a
// product by -i is an exchange of registers, and the last stage writes
// interleaved data with two unpacks. The first stage's transposes take
// their rows in that order.
QV_INLINE SD4 gather_split(const double* p, const i64* off) {
  const __m256d a = _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p + 2 * off[0])), _mm_loadu_pd(p + 2 * off[2]), 1);
  const __m256d b = _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p + 2 * off[1])), _mm_loadu_pd(p + 2 * off[3]), 1);
  return {_mm256_unpacklo_pd(a, b), _mm256_unpackhi_pd(a, b)};
}
// Column l of the 4 x 4 matrix with rows r0..r3 stored at d[l] + off.
QV_INLINE void store_columns(__m256d r0, __m256d r1, __m256d r2, __m256d r3, double* const* d, i64 off) {
  const __m256d t0 = _mm256_unpacklo_pd(r0, r1), t1 = _mm256_unpackhi_pd(r0, r1);
  const __m256d t2 = _mm256_unpacklo_pd(r2, r3), t3 = _mm256_unpackhi_pd(r2, r3);
  _mm256_storeu_pd(d[0] + off, _mm256_permute2f128_pd(t0, t2, 0x20));
  _mm256_storeu_pd(d[1] + off, _mm256_permute2f128_pd(t1, t3, 0x20));
  _mm256_storeu_pd(d[2] + off, _mm256_permute2f128_pd(t0, t2, 0x31));
  _mm256_storeu_pd(d[3] + off, _mm256_permute2f128_pd(t1, t3, 0x31));
}

// Split blocks of the engine: four lanes (SD4) up to AVX2, eight (SD8) in
// the 512-bit class. Eight-lane blocks need every stage to combine
// transforms of at least eight: a radix-4 first stage then takes the
// radix-4 stage after it along, as one first stage of radix 16 whose
// inner twiddles are constants.
#if defined(__AVX512F__)
using SplitBlock = SD8;
#else
using SplitBlock = SD4;
#endif
constexpr int split_first_radix(int P0) { return SplitBlock::N == 8 && P0 == 4 ? 16 : P0; }

// Where output block h (outputs 4h + 0, 2, 1, 3 of a group) puts its real
// (part 0) or imaginary (part 1) parts, from the group's first element, in
// blocks of BN lanes. A group fills whole blocks.
template <int BN>
constexpr i64 split_at(int h, int part) {
  return BN == 4 ? 8 * h + 4 * part : 16 * (h >> 1) + 8 * part + 4 * (h & 1);
}

// The first stage for four groups (lanes) of P = 4, 8 or 16: input r of
// the lanes from in(r), the P outputs of lane l as split blocks of BN
// lanes at d[l]. Radix 8 is written out so that the real parts of the
// last butterflies are finished and stored before the imaginary ones:
// sixteen registers hold the data, and the transposes find room beside
// them. Radix 16 runs where there are 32 registers.
template <int P, bool INV, int BN, class In>
QV_INLINE void first_split_groups(In&& in, double* const* d) {
  static_assert(P >= BN, "a group fills whole blocks");
  if constexpr (P == 4) {
    SD4 a[4] = {in(0), in(1), in(2), in(3)};
    Dft<4, INV, SD4>::run(a);
    store_columns(a[0].re, a[2].re, a[1].re, a[3].re, d, split_at<BN>(0, 0));
    store_columns(a[0].im, a[2].im, a[1].im, a[3].im, d, split_at<BN>(0, 1));
  } else if constexpr (P == 8) {
    SD4 e[4] = {in(0), in(2), in(4), in(6)};
    Dft<4, INV, SD4>::run(e);
    SD4 o[4] = {in(1), in(3), in(5), in(7)};
    Dft<4, INV, SD4>::run(o);
    o[1] = twiddle_const<1, 8, INV>(o[1]);
    o[2] = twiddle_const<2, 8, INV>(o[2]);
    o[3] = twiddle_const<3, 8, INV>(o[3]);
    auto half = [&](auto part, int p) __attribute__((always_inline)) {
      __m256d x[8];
      for (int k = 0; k < 4; ++k) {
        x[k] = _mm256_add_pd(part(e[k]), part(o[k]));
        x[k + 4] = _mm256_sub_pd(part(e[k]), part(o[k]));
      }
      store_columns(x[0], x[2], x[1], x[3], d, split_at<BN>(0, p));
      store_columns(x[4], x[6], x[5], x[7], d, split_at<BN>(1, p));
    };
    half([](const SD4& v) __attribute__((always_inline)) { return v.re; }, 0);
    half([](const SD4& v) __attribute__((always_inline)) { return v.im; }, 1);
  } else {
    static_assert(P == 16);
    SD4 a[16];
    sfor<0, 16>([&](auto r) __attribute__((always_inline)) { a[r] = in(r); });
    Dft<16, INV, SD4>::run(a);
    sfor<0, 4>([&](auto h) __attribute__((always_inline)) {
      store_columns(a[4 * h].re, a[4 * h + 2].re, a[4 * h + 1].re, a[4 * h + 3].re, d, split_at<BN>(h, 0));
      store_columns(a[4 * h].im, a[4 * h + 2].im, a[4 * h + 1].im, a[4 * h + 3].im, d, split_at<BN>(h, 1));
    });
  }
}

// The first stage on data already in bit-reversed order, four groups
// at a time.
template <int P, bool INV, int BN>
void first_split(const double* src, double* dst, i64 b0, i64 b1) {
  for (i64 b = b0; b < b1; b += 4) {
    const i64 off[4] = {P * b, P * (b + 1), P * (b + 2), P * (b + 3)};
    double* const d[4] = {dst + 2 * off[0], dst + 2 * off[1], dst + 2 * off[2], dst + 2 * off[3]};
    first_split_groups<P, INV, BN>(
        [&](int r) __attribute__((always_inline)) { return gather_split(src + 2 * rev_digit<P>(r), off); }, d);
  }
}

// The first stage over all G groups at once, reading the caller's data
// through the bit-reversal table. For b < G/4 the groups b + l G/4 read
// four neighbours (bit reversal puts them at first[b] + 0, 2, 1, 3), so two
// loads and two unpacks give the four lanes. The table is the plan's, made
// for its own first radix: a first stage FS times as wide reads every
// FS-th entry (the reversal of b over two bits fewer is that of 4b).
template <int P, bool INV, int BN, int FS, class I, class J>
void first_split_all(const double* src, double* dst, I G, const std::int32_t* first, J rstep) {
  const i64 q = i64{G} / 4;
  for (i64 b = 0; b < q; ++b) {
    const double* x = src + 2 * i64{first[FS * b]};
    const i64 rs = 2 * stride_of<(P > 4)>(rstep);
    double* const d[4] = {dst + 2 * P * b, dst + 2 * P * (b + q), dst + 2 * P * (b + 2 * q), dst + 2 * P * (b + 3 * q)};
    first_split_groups<P, INV, BN>(
        [&](int r) __attribute__((always_inline)) {
          const __m256d lo = _mm256_loadu_pd(x + rs * r), hi = _mm256_loadu_pd(x + rs * r + 4);
          return SD4{_mm256_unpacklo_pd(lo, hi), _mm256_unpackhi_pd(lo, hi)};
        },
        d);
  }
}

#if defined(__AVX512F__)
// Column l of the 8 x 8 matrix with rows r[0..7] stored at d[l] + off.
// Transposes the 8 x 8 matrix of rows r[0..7] in place: pairs of rows, then
// pairs of 128-bit lanes, then halves.
QV_INLINE void transpose8(__m512d* r) {
  __m512d t[8], u[8];
  for (int i = 0; i < 8; i += 2) {
    t[i] = _mm512_unpacklo_pd(r[i], r[i + 1]);
    t[i + 1] = _mm512_unpackhi_pd(r[i], r[i + 1]);
  }
  for (int i = 0; i < 8; i += 4) {
    u[i] = _mm512_shuffle_f64x2(t[i], t[i + 2], 0x88);
    u[i + 1] = _mm512_shuffle_f64x2(t[i + 1], t[i + 3], 0x88);
    u[i + 2] = _mm512_shuffle_f64x2(t[i], t[i + 2], 0xDD);
    u[i + 3] = _mm512_shuffle_f64x2(t[i + 1], t[i + 3], 0xDD);
  }
  for (int c = 0; c < 4; ++c) {
    r[c] = _mm512_shuffle_f64x2(u[c], u[c + 4], 0x88);
    r[c + 4] = _mm512_shuffle_f64x2(u[c], u[c + 4], 0xDD);
  }
}

QV_INLINE void store_columns8(const __m512d* r, double* const* d, i64 off) {
  __m512d c[8];
  for (int i = 0; i < 8; ++i) c[i] = r[i];
  transpose8(c);
  for (int l = 0; l < 8; ++l) _mm512_storeu_pd(d[l] + off, c[l]);
}

// The first stage for eight groups (lanes) at once in 512-bit split
// blocks, P = 8 or 16: input r of the lanes from in(r), lane l's P outputs
// as P / 8 blocks at d[l].
template <int P, bool INV, class In>
QV_INLINE void first_wide_groups(In&& in, double* const* d) {
  SD8 a[P];
  sfor<0, P>([&](auto r) __attribute__((always_inline)) { a[r] = in(r); });
  Dft<P, INV, SD8>::run(a);
  sfor<0, P / 8>([&](auto h) __attribute__((always_inline)) {
    constexpr int k = 8 * h;
    const __m512d re[8] = {a[k].re,     a[k + 2].re, a[k + 1].re, a[k + 3].re,
                           a[k + 4].re, a[k + 6].re, a[k + 5].re, a[k + 7].re};
    store_columns8(re, d, 16 * h);
    const __m512d im[8] = {a[k].im,     a[k + 2].im, a[k + 1].im, a[k + 3].im,
                           a[k + 4].im, a[k + 6].im, a[k + 5].im, a[k + 7].im};
    store_columns8(im, d, 16 * h + 8);
  });
}

// As first_split_all with eight lanes: the eight neighbours from first[b]
// on belong to the groups b + rev(i) G/8; a split load puts neighbour
// i = 0, 2, 1, 3, 4, 6, 5, 7 in lanes 0 to 7, so lane l serves the group
// b + c_l G/8 with c = 0, 2, 4, 6, 1, 3, 5, 7.
template <int P, bool INV, int FS, class I, class J>
void first_wide_all(const double* src, double* dst, I G, const std::int32_t* first, J rstep) {
  const i64 q = i64{G} / 8;
  constexpr int c[8] = {0, 2, 4, 6, 1, 3, 5, 7};
  for (i64 b = 0; b < q; ++b) {
    const double* x = src + 2 * i64{first[FS * b]};
    const i64 rs = 2 * stride_of<true>(rstep);
    double* d[8];
    for (int l = 0; l < 8; ++l) d[l] = dst + 2 * P * (b + c[l] * q);
    first_wide_groups<P, INV>([&](int r) __attribute__((always_inline)) { return SD8::load_interleaved(x + rs * r); },
                              d);
  }
}
#endif

// The twiddles of input r for the columns of one block from the table's
// groups of four (cosines, then sines): one group for SD4, this one and
// the next (`next` values on) for SD8.
template <bool INV>
QV_INLINE D2T split_twiddle(const double* t, i64, SD4*) {
  __m256d im = _mm256_loadu_pd(t + 4);
  if constexpr (INV) im = _mm256_xor_pd(im, _mm256_set1_pd(-0.0));
  return D2T{_mm256_loadu_pd(t), im};
}
#if defined(__AVX512F__)
template <bool INV>
QV_INLINE D8T split_twiddle(const double* t, i64 next, SD8*) {
  const __m512d c = _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_loadu_pd(t)), _mm256_loadu_pd(t + next), 1);
  __m512d s = _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_loadu_pd(t + 4)), _mm256_loadu_pd(t + next + 4), 1);
  if constexpr (INV) s = _mm512_xor_pd(s, _mm512_set1_pd(-0.0));
  return D8T{c, s};
}
#endif

// A twiddled stage on split blocks of type B (m a multiple of B::N).
// OUT_IL: the last stage, which writes interleaved data.
constexpr i64 kHoistElems = 2048;
template <int P, bool INV, bool OUT_IL, class B, class I, class J>
void stage_split(const double* src, double* dst, I n, J m, const double* tw) {
  using T = typename Tw<B>::type;
  constexpr i64 kNext = (P - 1) * 8;                  // from one group of four columns to the next
  constexpr i64 kStep = (B::N / 4) * kNext;           // from one block of columns to the next
  const i64 ms = 2 * stride_of<(P > 4)>(m);  // addresses from the stride, not from P saved offsets
  auto twiddle = [&](const double* tg, auto r) __attribute__((always_inline)) {
    return split_twiddle<INV>(tg + (r - 1) * 8, kNext, static_cast<B*>(nullptr));
  };
  auto butterfly = [&](const double* ps, double* pd, const T* t) __attribute__((always_inline)) {
    B a[P];
    a[0] = B::load(ps);
    sfor<1, P>([&](auto r) __attribute__((always_inline)) { a[r] = cmul(B::load(ps + rev_digit<P>(r) * ms), t[r]); });
    Dft<P, INV, B>::run(a);
    sfor<0, P>([&](auto k) __attribute__((always_inline)) {
      if constexpr (OUT_IL) a[k].store_interleaved(pd + k * ms);
      else a[k].store(pd + k * ms);
    });
  };
  if (P == 4 && i64{n} <= kHoistElems) {
    // The three twiddles of a group of columns stay in registers for every
    // block of the stage (the compiler cannot keep them itself: the stores
    // might change the table). Only while the data sit in the first-level
    // cache: over more, walking the blocks for each group of columns defeats
    // the prefetchers.
    for (i64 j = 0; j < m; j += B::N) {
      const double* tg = tw + (j / B::N) * kStep;
      T t[P];
      sfor<1, P>([&](auto r) __attribute__((always_inline)) { t[r] = twiddle(tg, r); });
      for (i64 s = 0; s < n; s += P * m) butterfly(src + 2 * (s + j), dst + 2 * (s + j), t);
    }
  } else {
    // Twiddles read per block (eight values alone fill the registers).
    for (i64 s = 0; s < n; s += P * m) {
      const double* tg = tw;
      for (i64 j = 0; j < m; j += B::N, tg += kStep) {
        T t[P];
        sfor<1, P>([&](auto r) __attribute__((always_inline)) { t[r] = twiddle(tg, r); });
        butterfly(src + 2 * (s + j), dst + 2 * (s + j), t);
      }
    }
  }
}

template <bool INV>
QV_INLINE void split_first(int P, const double* src, double* dst, i64 b0, i64 b1) {
  constexpr int BN = SplitBlock::N;
  if constexpr (BN == 8) {
    if (P == 16) first_split<16, INV, BN>(src, dst, b0, b1);
    else first_split<8, INV, BN>(src, dst, b0, b1);
  } else {
    if (P == 8) first_split<8, INV, BN>(src, dst, b0, b1);
    else first_split<4, INV, BN>(src, dst, b0, b1);
  }
}
// With eight-lane blocks the first stage runs eight groups at a time where
// there are at least eight.
template <bool INV, class I>
QV_INLINE void split_first_all(int P, const double* src, double* dst, I G, const std::int32_t* first) {
  constexpr int BN = SplitBlock::N;
  if constexpr (BN == 8) {
#if defined(__AVX512F__)
    if (i64{G} >= 8) {
      if (P == 16) first_wide_all<16, INV, 4>(src, dst, G, first, G);
      else first_wide_all<8, INV, 1>(src, dst, G, first, G);
      return;
    }
#endif
    if (P == 16) first_split_all<16, INV, BN, 4>(src, dst, G, first, G);
    else first_split_all<8, INV, BN, 1>(src, dst, G, first, G);
  } else {
    if (P == 8) first_split_all<8, INV, BN, 1>(src, dst, G, first, G);
    else first_split_all<4, INV, BN, 1>(src, dst, G, first, G);
  }
}
template <bool INV>
QV_INLINE void split_rows(int P, bool last, const double* src, double* dst, i64 n, i64 m, const void* tw) {
  using B = SplitBlock;
  const double* t = static_cast<const double*>(tw);
  if (P == 8) last ? stage_split<8, INV, true, B>(src, dst, n, m, t) : stage_split<8, INV, false, B>(src, dst, n, m, t);
  else last ? stage_split<4, INV, true, B>(src, dst, n, m, t) : stage_split<4, INV, false, B>(src, dst, n, m, t);
}
#endif

// ---- a whole transform of order up to 16 ----------------------------------------
// With pl.first set the first stage reads `src` in bit-reversed order;
// otherwise src is T and already in bit-reversed order. Stages run in T,
// the last one writes to dst.
template <bool INV, class R>
void run_stages(const Pow2Stages& pl, const R* src, R* T, R* dst) {
  const i64 n = i64{1} << pl.order;
  const int P0 = pl.radix[0], last = pl.count - 1;
  // Radices are powers of two: shifts, not divisions (a 64-bit division
  // costs as much as a good part of a 64-point transform).
  const int f0 = __builtin_ctz(static_cast<unsigned>(P0));
  const i64 rstep = n >> f0;
  const i64 bl = pl.block_len;
#if defined(__AVX2__)
  if constexpr (sizeof(R) == 8) {
    // A first stage of radix 16 stands for the plan's first two stages.
    const int F0 = split_first_radix(P0), s0 = F0 == P0 ? 1 : 2;
    const int fs = __builtin_ctz(static_cast<unsigned>(F0));
    if (pl.first != nullptr) split_first_all<INV>(F0, src, T, n >> fs, pl.first);
    for (i64 o = 0; o < n; o += bl) {
      if (pl.first == nullptr) split_first<INV>(F0, src, T, o >> fs, (o + bl) >> fs);
      for (int i = s0; i < pl.block; ++i)
        split_rows<INV>(pl.radix[i], i == last, T + 2 * o, (i == last ? dst : T) + 2 * o, bl, pl.m[i], pl.tw[i]);
    }
    for (int i = pl.block > s0 ? pl.block : s0; i < pl.count; ++i)
      split_rows<INV>(pl.radix[i], i == last, T, i == last ? dst : T, n, pl.m[i], pl.tw[i]);
    return;
  }
#endif
  // With a radix-16 first stage standing for the plan's first two, the
  // stages from the third on follow.
  int s0 = 1;
  if (pl.first != nullptr) {
    if (P0 == 16) first_stage_all<16, INV>(src, T, rstep, pl.first, rstep);
    else if (P0 == 8) first_stage_all<8, INV>(src, T, rstep, pl.first, rstep);
    else if (rows_first_radix<R>(P0) == 16) {
      first_stage_all<16, INV, 4>(src, T, n >> 4, pl.first, n >> 4);
      s0 = 2;
    } else first_stage_all<4, INV>(src, T, rstep, pl.first, rstep);
  }
  for (i64 o = 0; o < n; o += bl) {
    if (pl.first == nullptr) run_first<INV>(P0, src, T, o >> f0, (o + bl) >> f0);
    rows_range<INV>(pl, s0, pl.block, T + 2 * o, dst + 2 * o, bl);
  }
  rows_range<INV>(pl, pl.block > s0 ? pl.block : s0, pl.count, T, dst, n);
  if (last == 0 && dst != T) std::memcpy(dst, T, static_cast<std::size_t>(n) * 2 * sizeof(R));
}

// ---- whole transforms of a fixed order -------------------------------------------
// The stages of run_stages for an order known when compiling. Every size
// and stride is a constant, so the loop bounds and the offsets between a
// radix's inputs fold into the instructions, and the stage walk, the radix
// dispatch and the block loop are gone: at 64 points these were a fifth of
// the instructions. Up to fixed_top the whole array is one in-cache block,
// so run_stages would run the same stages in the same order.
template <class R> constexpr int fixed_top() {
  return __builtin_ctzll(static_cast<unsigned long long>(::qor::dft::stage_block_elems<R>()));
}
template <i64 V> using Cst = std::integral_constant<i64, V>;

template <int E, int I, bool INV, class R>
QV_INLINE void fixed_rows(const Pow2Stages& pl, R* T, R* dst) {
  constexpr auto sp = ::qor::dft::row_shape<R>();
  constexpr int count = ::qor::dft::stage_count(E, sp);
  if constexpr (I < count) {
    constexpr Cst<(i64{1} << E)> n;
    constexpr Cst<::qor::dft::stage_m(E, I, sp)> m;
    constexpr int P = ::qor::dft::stage_radix(E, I, sp);
    const R* tw = static_cast<const R*>(pl.tw[I]);
    if constexpr (I + 1 < count && P == 4 && ::qor::dft::stage_radix(E, I + 1, sp) == 4 && pair_fits<R>(m)) {
      stage_rows_pair<INV>(T, I + 2 == count ? dst : T, n, m, tw, static_cast<const R*>(pl.tw[I + 1]));
      fixed_rows<E, I + 2, INV>(pl, T, dst);
    } else {
      stage_rows<P, INV>(T, I + 1 == count ? dst : T, n, m, tw);
      fixed_rows<E, I + 1, INV>(pl, T, dst);
    }
  }
}

#if defined(__AVX2__)
template <int E, int I, bool INV>
QV_INLINE void fixed_split(const Pow2Stages& pl, double* T, double* dst) {
  constexpr auto sp = ::qor::dft::kSplitShape;
  constexpr int count = ::qor::dft::stage_count(E, sp);
  if constexpr (I < count) {
    constexpr bool last = I + 1 == count;
    stage_split<::qor::dft::stage_radix(E, I, sp), INV, last, SplitBlock>(T, last ? dst : T, Cst<(i64{1} << E)>{},
                                                              Cst<::qor::dft::stage_m(E, I, sp)>{},
                                                              static_cast<const double*>(pl.tw[I]));
    fixed_split<E, I + 1, INV>(pl, T, dst);
  }
}
#endif

#if defined(__AVX512F__)
// ---- whole short transforms in registers (512-bit class, double) ------------
// N = 8 M points, M = 8 or 16: register n2 < M holds x[n1 + 8 n2] in lane
// n1 < 8. M-point transforms across the registers (n2 to k2), the
// twiddles w_N^(n1 k2) as constants, a transpose of each eight registers'
// real and imaginary parts (lanes become k2, registers n1), eight-point
// transforms across them (n1 to k1): X[k2 + M k1] in lane k2 - 8h of
// register 8h + k1. Everything is loaded before anything is stored, so
// the output may be the input.
template <int M, bool INV>
struct RowsOfEight {
  struct Table {
    alignas(64) double c[M][8];
    alignas(64) double s[M][8];
  };
  static constexpr Table make() {
    Table t{};
    for (int k2 = 0; k2 < M; ++k2)
      for (int n1 = 0; n1 < 8; ++n1) {
        t.c[k2][n1] = static_cast<double>(ct::cos2pi(n1 * k2, 8 * M));
        const double s = static_cast<double>(ct::sin2pi(n1 * k2, 8 * M));
        t.s[k2][n1] = INV ? s : -s;
      }
    return t;
  }
  static constexpr Table kTw = make();
};

template <int M, bool INV>
QV_INLINE void rows_of_eight(const double* src, double* dst) {
  const __m512i even = _mm512_setr_epi64(0, 2, 4, 6, 8, 10, 12, 14), odd = _mm512_setr_epi64(1, 3, 5, 7, 9, 11, 13, 15);
  const __m512i lo = _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11), hi = _mm512_setr_epi64(4, 12, 5, 13, 6, 14, 7, 15);
  SD8 a[M];
  sfor<0, M>([&](auto n2) __attribute__((always_inline)) {
    const __m512d v0 = _mm512_loadu_pd(src + 16 * n2), v1 = _mm512_loadu_pd(src + 16 * n2 + 8);
    a[n2] = {_mm512_permutex2var_pd(v0, even, v1), _mm512_permutex2var_pd(v0, odd, v1)};
  });
  Dft<M, INV, SD8>::run(a);
  constexpr const auto& tw = RowsOfEight<M, INV>::kTw;
  sfor<1, M>([&](auto k2) __attribute__((always_inline)) {
    a[k2] = cmul(a[k2], D8T{_mm512_load_pd(tw.c[k2]), _mm512_load_pd(tw.s[k2])});
  });
  sfor<0, M / 8>([&](auto h) __attribute__((always_inline)) {
    SD8* b = a + 8 * h;
    __m512d re[8], im[8];
    for (int i = 0; i < 8; ++i) {
      re[i] = b[i].re;
      im[i] = b[i].im;
    }
    transpose8(re);
    transpose8(im);
    for (int i = 0; i < 8; ++i) b[i] = {re[i], im[i]};
    Dft<8, INV, SD8>::run(b);
    sfor<0, 8>([&](auto k1) __attribute__((always_inline)) {
      double* d = dst + 2 * (8 * h + M * k1);
      _mm512_storeu_pd(d, _mm512_permutex2var_pd(b[k1].re, lo, b[k1].im));
      _mm512_storeu_pd(d + 8, _mm512_permutex2var_pd(b[k1].re, hi, b[k1].im));
    });
  });
}
#endif

template <int E, bool INV, class R>
__attribute__((flatten)) void run_fixed(const Pow2Stages& pl, const R* src, R* T, R* dst) {
#if defined(__AVX512F__)
  if constexpr (sizeof(R) == 8 && (E == 6 || E == 7)) {
    rows_of_eight<(1 << E) / 8, INV>(src, dst);  // no stage, no table
    return;
  }
#endif
  constexpr int P0 = ::qor::dft::stage_radix(E, 0, ::qor::dft::row_shape<R>());
  constexpr Cst<(i64{1} << E) / P0> groups;
#if defined(__AVX2__)
  if constexpr (sizeof(R) == 8) {
    constexpr int F0 = split_first_radix(::qor::dft::stage_radix(E, 0, ::qor::dft::kSplitShape));
    constexpr int FS = F0 / ::qor::dft::stage_radix(E, 0, ::qor::dft::kSplitShape);
    constexpr Cst<(i64{1} << E) / F0> G;
    split_first_all<INV>(F0, src, T, G, pl.first);
    fixed_split<E, FS == 1 ? 1 : 2, INV>(pl, T, dst);
  } else
#endif
  {
    constexpr int F0 = rows_first_radix<R>(P0);
    if constexpr (F0 != P0) {
      constexpr Cst<(i64{1} << E) / F0> G;
      first_stage_all<F0, INV, F0 / P0>(src, T, G, pl.first, G);
      fixed_rows<E, 2, INV>(pl, T, dst);
    } else {
      first_stage_all<P0, INV>(src, T, groups, pl.first, groups);
      fixed_rows<E, 1, INV>(pl, T, dst);
    }
  }
}

// A whole transform of order 6 to fixed_top.
template <bool INV, class R, int... K>
QV_INLINE void run_fixed_at(int order, const Pow2Stages& pl, const R* src, R* T, R* dst,
                            std::integer_sequence<int, K...>) {
  using Fn = void (*)(const Pow2Stages&, const R*, R*, R*);
  static constexpr Fn table[] = {&run_fixed<6 + K, INV, R>...};
  table[order - 6](pl, src, T, dst);
}
template <bool INV, class R>
QV_INLINE void run_fixed_order(int order, const Pow2Stages& pl, const R* src, R* T, R* dst) {
  run_fixed_at<INV>(order, pl, src, T, dst, std::make_integer_sequence<int, fixed_top<R>() - 5>{});
}

// The 2^blk-point transforms across columns of a buffer of rows, rows in
// bit-reversed order.
template <bool INV, class R>
void run_cols(const Pow2Stages& pl, R* buf, i64 rows, i64 Q) {
  for (int i = 0; i < pl.count; ++i) {
    const i64 m = pl.m[i];
    const R* tw = static_cast<const R*>(pl.tw[i]);
    if (pl.radix[i] == 8) stage_cols<8, INV>(buf, rows, m, Q, tw);
    else stage_cols<4, INV>(buf, rows, m, Q, tw);
  }
}

// ---- bit reversal in 32 x 32 tiles (order at least 10) --------------------------
// Index i = (a, mid, b) with five-bit a and b: its reversal is
// (rev b, rev mid, rev a). For each mid the tile of 32 rows of 32
// neighbours goes through a buffer, so that reads and writes stay in
// cache lines. In place, tiles mid and rev(mid) are exchanged.
template <class R>
QV_INLINE void tile_load(const R* x, i64 S, i64 col, R* t) {
  for (int rb = 0; rb < 32; ++rb) std::memcpy(t + 64 * rb, x + 2 * (rb * S + col), 64 * sizeof(R));
}
template <class R>
QV_INLINE void tile_store(const R* t, R* y, i64 S, i64 col, const std::int8_t* rv5) {
  // y[(a, col, b)] = t[rev b][rev a]
  using O = typename VecSet<R>::O;
  for (int a = 0; a < 32; ++a) {
    R* row = y + 2 * (a * S + col);
    const int ra = rv5[a];
    for (int b = 0; b < 32; ++b) O::load(t + 2 * (32 * rv5[b] + ra)).store(row + 2 * b);
  }
}
template <class R>
void bit_reverse(const R* x, R* y, int order, const std::int32_t* mid_rev, R* work) {
  std::int8_t rv5[32];
  for (int i = 0; i < 32; ++i) {
    int r = 0;
    for (int b = 0; b < 5; ++b) r |= ((i >> b) & 1) << (4 - b);
    rv5[i] = static_cast<std::int8_t>(r);
  }
  const i64 S = i64{1} << (order - 5), mids = i64{1} << (order - 10);
  R* t0 = work;
  R* t1 = work + 2 * 1024;
  for (i64 mid = 0; mid < mids; ++mid) {
    const i64 mr = mid_rev[mid];
    if (x != y) {
      tile_load(x, S, 32 * mr, t0);
      tile_store(t0, y, S, 32 * mid, rv5);
    } else if (mid <= mr) {
      tile_load(y, S, 32 * mr, t0);
      if (mid != mr) tile_load(y, S, 32 * mid, t1);
      tile_store(t0, y, S, 32 * mid, rv5);
      if (mid != mr) tile_store(t1, y, S, 32 * mr, rv5);
    }
  }
}

// ---- the large engine ---------------------------------------------------------------
template <bool INV, class R>
void combine(const Pow2Large& lg, const Pow2Level& lv, R* y, R* buf) {
  using V = typename VecSet<R>::W;
  const int e = lv.order, blk = lv.blk;
  const i64 rows = i64{1} << blk, M = i64{1} << (e - blk), Q = lv.cols;
  const int cshift = e - 16, fstride = lg.fine_order - cshift;  // fine index stride 2^(order_top - e)
  const i64 fmask = (i64{1} << cshift) - 1;
  const R* lane = static_cast<const R*>(lv.lane);
  for (i64 c0 = 0; c0 < M; c0 += Q) {
    for (i64 t = 0; t < rows; ++t) {
      int s = 0;
      for (int b = 0; b < blk; ++b) s |= static_cast<int>((t >> b) & 1) << (blk - 1 - b);
      const R* src = y + 2 * (t * M + c0);
      R* dst = buf + 2 * (t * Q);
      if (s == 0) {
        std::memcpy(dst, src, static_cast<std::size_t>(Q) * 2 * sizeof(R));
        continue;
      }
      // w_N^(s c0) from the coarse and fine tables.
      const i64 idx = s * c0;
      const double* hc = lg.coarse + 2 * (idx >> cshift);
      const double* fc = lg.fine + 2 * ((idx & fmask) << fstride);
      const R w[2] = {static_cast<R>(hc[0] * fc[0] - hc[1] * fc[1]), static_cast<R>(hc[0] * fc[1] + hc[1] * fc[0])};
      const auto wb = Tw<V>::bcast(w, false);
      const R* lr = lane + 2 * (t * Q);
      for (i64 q = 0; q < Q; q += V::N)
        cmul(V::load(src + 2 * q), Tw<V>::of(cmul(V::load(lr + 2 * q), wb), INV)).store(dst + 2 * q);
    }
    run_cols<INV>(lv.comb, buf, rows, Q);
    for (i64 k = 0; k < rows; ++k)
      std::memcpy(y + 2 * (k * M + c0), buf + 2 * (k * Q), static_cast<std::size_t>(Q) * 2 * sizeof(R));
  }
}

template <bool INV, class R>
void large_level(const Pow2Large& lg, int li, R* y, R* buf) {
  if (li >= lg.levels || li >= ::qor::dft::kMaxLevels) {
    run_stages<INV>(lg.leaf, y, y, y);
    return;
  }
  const Pow2Level& lv = lg.level[li];
  const i64 rows = i64{1} << lv.blk, M = i64{1} << (lv.order - lv.blk);
  for (i64 t = 0; t < rows; ++t) large_level<INV>(lg, li + 1, y + 2 * t * M, buf);
  combine<INV>(lg, lv, y, buf);
}

template <bool INV, class R>
void run_large(const ::qor::dft::FftSpec* spec, const R* in, R* out, R* work) {
  const Pow2Large& lg = *spec->large;
  bit_reverse(in, out, spec->order, lg.mid_rev, work);
  large_level<INV>(lg, 0, out, work);
}

}  // namespace dfp2
QOR_ISA_END
