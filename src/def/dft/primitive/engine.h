// The transform engine, written once over the precision and compiled per
// instruction-set class (engine_base.cpp, engine_zen.cpp, engine_avx512.cpp).
//
// Every transform of a length that is neither small nor a power of two
// (those run in pow2.h) goes as a sequence of self-sorting (Stockham)
// steps, one per factor record: step i of radix r with rest m and stride
// s reads a_j = x[q + s(p + jm)] and writes y[q + s(rp + k)] =
// DFT_r(a)_k * w^(pk), w = exp(-2 pi i / (rm)). The output comes out in
// natural order without any reordering pass.
//
// Records before the plan's `group` index run over the whole array,
// alternating between the output and the work buffer. From `group` on, the
// remaining steps are independent transforms of length n = r*m over s
// interleaved columns: they run per block of columns, gathered into two
// small buffers that stay in cache, and the last step scatters the block
// to the output. The last step has no twiddles and works in place, so the
// whole chain also works in place.
//
// Vectorisation: steps run across the columns q, which are contiguous, with
// the twiddle broadcast; the first step (one column) runs across p, with a
// twiddle per lane and a transposing store.
#pragma once
#include <cstring>

#include "dft/primitive/api.h"
#include "dft/primitive/codelets.h"
#include "dft/primitive/engine_api.h"
#include "dft/primitive/layout.h"
#include "dft/primitive/pow2.h"

QOR_ISA_BEGIN
namespace dfte {

using namespace ::qor::QOR_ISA_NAME::dftv;
using ::qor::dft::i64;
using ::qor::dft::Record;
using ::qor::dft::Step;
using ::qor::dft::StepPlan;

// ---- butterflies on one vector of columns ---------------------------------
template <int P, bool INV, bool TW, class V, class R, class TT>
QV_INLINE void bfly(const R* s, R* d, i64 js, i64 ks, const TT* tws) {
  V a[P];
  sfor<0, P>([&](auto j) __attribute__((always_inline)) { a[j] = V::load(s + 2 * j * js); });
  Dft<P, INV, V>::run(a);
  a[0].store(d);
  sfor<1, P>([&](auto k) __attribute__((always_inline)) {
    if constexpr (TW) cmul(a[k], tws[k]).store(d + 2 * k * ks);
    else a[k].store(d + 2 * k * ks);
  });
}

// Columns [0, Q) of one (p, c) row pair: widest vectors, then (where the
// widest is 512 bits) one of half width, then one at a time.
template <int P, bool INV, bool TW, class R>
QV_INLINE void bfly_row(const R* s, R* d, i64 Q, i64 js, i64 ks, const typename Tw<typename VecSet<R>::W>::type* tws,
                        const R* twp, i64 m) {
  using W = typename VecSet<R>::W;
  using H = typename VecSet<R>::H;
  using O = typename VecSet<R>::O;
  i64 q = 0;
  for (; q + W::N <= Q; q += W::N) bfly<P, INV, TW, W>(s + 2 * q, d + 2 * q, js, ks, tws);
  if constexpr (H::N < W::N) {
    if (q + H::N <= Q) {
      typename Tw<H>::type th[P];
      if constexpr (TW)
        for (int k = 1; k < P; ++k) th[k] = Tw<H>::bcast(twp + 2 * ((k - 1) * m), INV);
      bfly<P, INV, TW, H>(s + 2 * q, d + 2 * q, js, ks, th);
      q += H::N;
    }
  }
  if (q < Q) {
    typename Tw<O>::type t1[P];
    if constexpr (TW)
      for (int k = 1; k < P; ++k) t1[k] = Tw<O>::bcast(twp + 2 * ((k - 1) * m), INV);
    for (; q < Q; ++q) bfly<P, INV, TW, O>(s + 2 * q, d + 2 * q, js, ks, t1);
  }
}

// First step of a single transform: one column, vectorised across p. With
// `twd`, the twiddles also come as a table of real parts and one of
// imaginary parts, each value twice, which loads per lane without shuffles.
template <int P, bool INV, class R>
void step_first(const R* src, R* dst, int m, const R* tw, const R* twd) {
  using W = typename VecSet<R>::W;
  using O = typename VecSet<R>::O;
  int p = 0;
  for (; p + W::N <= m; p += W::N) {
    W a[P];
    sfor<0, P>([&](auto j) __attribute__((always_inline)) { a[j] = W::load(src + 2 * (p + j * i64{m})); });
    Dft<P, INV, W>::run(a);
    if (twd != nullptr) {
      const R* ti = twd + 2 * i64{P - 1} * m;
      sfor<1, P>([&](auto k) __attribute__((always_inline)) {
        const i64 at = 2 * ((k - 1) * i64{m} + p);
        a[k] = cmul(a[k], Tw<W>::dup(twd + at, ti + at, INV));
      });
    } else if (tw != nullptr) {
      sfor<1, P>([&](auto k) __attribute__((always_inline)) {
        a[k] = cmul(a[k], Tw<W>::lanes(tw + 2 * ((k - 1) * i64{m} + p), INV));
      });
    }
    store_transposed<P>(a, dst + 2 * (i64{P} * p));
  }
  for (; p < m; ++p) {
    O a[P];
    sfor<0, P>([&](auto j) __attribute__((always_inline)) { a[j] = O::load(src + 2 * (p + j * i64{m})); });
    Dft<P, INV, O>::run(a);
    if (tw != nullptr)
      sfor<1, P>([&](auto k) __attribute__((always_inline)) {
        a[k] = cmul(a[k], Tw<O>::bcast(tw + 2 * ((k - 1) * i64{m} + p), INV));
      });
    sfor<0, P>([&](auto k) __attribute__((always_inline)) { a[k].store(dst + 2 * (i64{P} * p + k)); });
  }
}

// The walk of a step: Q contiguous columns, sl slices, element strides is
// and os, and the strides js, ks between the radix's inputs and outputs.
// Rows of Q * sl contiguous columns on both sides fold into one slice.
struct Walk {
  i64 Q, sl, is, os, js, ks;
  explicit Walk(const Step& st) : Q(st.Q), sl(st.sl), is(st.is), os(st.os) {
    if (is == Q && os == Q) {
      Q *= sl;
      is = os = Q;
      sl = 1;
    }
    js = is * sl * st.m;
    ks = os * sl;
  }
};

// A self-sorting step of fixed radix P.
template <int P, bool INV, class R>
void step_fixed(const R* src, R* dst, const Step& st) {
  using W = typename VecSet<R>::W;
  const Walk w(st);
  const i64 Q = w.Q, sl = w.sl, is = w.is, os = w.os, js = w.js, ks = w.ks;
  const int m = st.m;
  const R* tw = static_cast<const R*>(st.tw);
  if (W::N > 1 && Q == 1 && sl == 1 && is == 1 && os == 1 && m >= W::N) {
    step_first<P, INV>(src, dst, m, tw, static_cast<const R*>(st.twd));
    return;
  }
  typename Tw<W>::type tws[P];
  for (int p = 0; p < m; ++p) {
    const R* twp = tw != nullptr ? tw + 2 * i64{p} : nullptr;
    if (tw != nullptr)
      for (int k = 1; k < P; ++k) tws[k] = Tw<W>::bcast(twp + 2 * ((k - 1) * i64{m}), INV);
    for (i64 c = 0; c < sl; ++c) {
      const R* s = src + 2 * (is * (c + sl * p));
      R* d = dst + 2 * (os * (c + sl * P * i64{p}));
      if (tw != nullptr) bfly_row<P, INV, true>(s, d, Q, js, ks, tws, twp, m);
      else bfly_row<P, INV, false>(s, d, Q, js, ks, tws, twp, m);
    }
  }
}

// ---- any odd radix, with its table of roots --------------------------------
template <bool INV, class V, class R>
QV_INLINE void bfly_generic(const R* s, R* d, i64 js, i64 ks, int r, const R* tab, const R* twp, i64 m, V* sp,
                            V* dm) {
  const int h = (r - 1) / 2;
  V a0 = V::load(s);
  V sum = a0;
  for (int j = 1; j <= h; ++j) {
    V x = V::load(s + 2 * j * js), y = V::load(s + 2 * (r - j) * js);
    sp[j] = x + y;
    dm[j] = x - y;
    sum = sum + sp[j];
  }
  sum.store(d);
  for (int k = 1; k <= h; ++k) {
    V A = a0, B = V::zero();
    int idx = 0;
    for (int j = 1; j <= h; ++j) {
      idx += k;
      if (idx >= r) idx -= r;
      A = fmar(A, sp[j], tab[2 * idx]);
      B = fmar(B, dm[j], -tab[2 * idx + 1]);
    }
    V rb = rotm(B);
    V xk = INV ? A - rb : A + rb;
    V xr = INV ? A + rb : A - rb;
    if (twp != nullptr) {
      xk = cmul(xk, Tw<V>::bcast(twp + 2 * ((k - 1) * m), INV));
      xr = cmul(xr, Tw<V>::bcast(twp + 2 * ((r - k - 1) * m), INV));
    }
    xk.store(d + 2 * k * ks);
    xr.store(d + 2 * (r - k) * ks);
  }
}

template <bool INV, class R>
void step_generic(const R* src, R* dst, const Step& st) {
  using W = typename VecSet<R>::W;
  using O = typename VecSet<R>::O;
  const Walk w(st);
  const i64 Q = w.Q, sl = w.sl, is = w.is, os = w.os, js = w.js, ks = w.ks;
  const int m = st.m, r = st.r;
  const R* tw = static_cast<const R*>(st.tw);
  const R* tab = static_cast<const R*>(st.tab);
  W spw[80], dmw[80];
  O spo[80], dmo[80];
  for (int p = 0; p < m; ++p) {
    const R* twp = tw != nullptr ? tw + 2 * i64{p} : nullptr;
    for (i64 c = 0; c < sl; ++c) {
      const R* s = src + 2 * (is * (c + sl * p));
      R* d = dst + 2 * (os * (c + sl * r * i64{p}));
      i64 q = 0;
      for (; q + W::N <= Q; q += W::N)
        bfly_generic<INV, W>(s + 2 * q, d + 2 * q, js, ks, r, tab, twp, m, spw, dmw);
      for (; q < Q; ++q) bfly_generic<INV, O>(s + 2 * q, d + 2 * q, js, ks, r, tab, twp, m, spo, dmo);
    }
  }
}

// ---- out-of-order steps: in place, blocks of r*m, across p -----------------
template <int P, bool INV, class V, class R>
QV_INLINE void bfly_outord(R* base, i64 p, i64 m, const R* tw) {
  V a[P];
  sfor<0, P>([&](auto j) __attribute__((always_inline)) { a[j] = V::load(base + 2 * (p + j * m)); });
  Dft<P, INV, V>::run(a);
  a[0].store(base + 2 * p);
  sfor<1, P>([&](auto k) __attribute__((always_inline)) {
    V x = tw != nullptr ? cmul(a[k], Tw<V>::lanes(tw + 2 * ((k - 1) * m + p), INV)) : a[k];
    x.store(base + 2 * (p + k * m));
  });
}

template <int P, bool INV, class R>
void step_outord(R* data, const Step& st) {
  using W = typename VecSet<R>::W;
  using O = typename VecSet<R>::O;
  const i64 m = st.m;
  const R* tw = static_cast<const R*>(st.tw);
  for (i64 b = 0; b < st.sl; ++b) {
    R* base = data + 2 * b * P * m;
    i64 p = 0;
    for (; p + W::N <= m; p += W::N) bfly_outord<P, INV, W>(base, p, m, tw);
    for (; p < m; ++p) bfly_outord<P, INV, O>(base, p, m, tw);
  }
}

#if defined(__AVX2__)
// ---- double precision in split blocks (AVX2) -----------------------------------
// The first step reads the caller's interleaved data and writes split
// blocks, middle steps go from blocks to blocks, the last step writes
// interleaved data again. Columns and strides are multiples of four here.
template <int P, bool INV>
void split_first(const double* src, double* dst, int m, const double* tw) {
  static_assert(P % 4 == 0);
  for (int p = 0; p < m; p += 4) {
    SD4 a[P];
    sfor<0, P>([&](auto j) __attribute__((always_inline)) {
      a[j] = SD4::load_interleaved(src + 2 * (p + j * i64{m}));
    });
    Dft<P, INV, SD4>::run(a);
    sfor<1, P>([&](auto k) __attribute__((always_inline)) {
      a[k] = cmul(a[k], Tw<SD4>::lanes(tw + 2 * ((k - 1) * i64{m} + p), INV));
    });
    // Block (p + lane, k0) gets lanes of a[k0], a[k0+2], a[k0+1], a[k0+3]:
    // a 4 x 4 transpose; lanes come in the order p, p+2, p+1, p+3.
    double* d = dst + 2 * (i64{P} * p);
    const i64 lane_at[4] = {0, 2 * i64{P} * 2, 2 * i64{P}, 2 * i64{P} * 3};
    sfor<0, P / 4>([&](auto b) __attribute__((always_inline)) {
      constexpr int k0 = 4 * b;
      auto tr = [&](__m256d r0, __m256d r1, __m256d r2, __m256d r3, int half) __attribute__((always_inline)) {
        const __m256d t0 = _mm256_unpacklo_pd(r0, r1), t1 = _mm256_unpackhi_pd(r0, r1);
        const __m256d t2 = _mm256_unpacklo_pd(r2, r3), t3 = _mm256_unpackhi_pd(r2, r3);
        _mm256_storeu_pd(d + lane_at[0] + 2 * k0 + half, _mm256_permute2f128_pd(t0, t2, 0x20));
        _mm256_storeu_pd(d + lane_at[1] + 2 * k0 + half, _mm256_permute2f128_pd(t1, t3, 0x20));
        _mm256_storeu_pd(d + lane_at[2] + 2 * k0 + half, _mm256_permute2f128_pd(t0, t2, 0x31));
        _mm256_storeu_pd(d + lane_at[3] + 2 * k0 + half, _mm256_permute2f128_pd(t1, t3, 0x31));
      };
      tr(a[k0].re, a[k0 + 2].re, a[k0 + 1].re, a[k0 + 3].re, 0);
      tr(a[k0].im, a[k0 + 2].im, a[k0 + 1].im, a[k0 + 3].im, 4);
    });
  }
}

// Middle (OUT_IL false) or last (true) step on split blocks.
template <int P, bool INV, bool OUT_IL>
void split_step(const double* src, double* dst, const Step& st) {
  const Walk w(st);
  const i64 Q = w.Q, sl = w.sl, is = w.is, os = w.os, js = w.js, ks = w.ks;
  const int m = st.m;
  const double* tw = static_cast<const double*>(st.tw);
  D2T tws[P];
  for (int p = 0; p < m; ++p) {
    if (tw != nullptr)
      for (int k = 1; k < P; ++k) tws[k] = Tw<SD4>::bcast(tw + 2 * ((k - 1) * i64{m} + p), INV);
    for (i64 c = 0; c < sl; ++c) {
      const double* s = src + 2 * (is * (c + sl * p));
      double* d = dst + 2 * (os * (c + sl * P * i64{p}));
      for (i64 q = 0; q < Q; q += 4) {
        SD4 a[P];
        sfor<0, P>([&](auto j) __attribute__((always_inline)) { a[j] = SD4::load(s + 2 * (q + j * js)); });
        Dft<P, INV, SD4>::run(a);
        sfor<0, P>([&](auto k) __attribute__((always_inline)) {
          SD4 x = (k > 0 && tw != nullptr) ? cmul(a[k], tws[k]) : a[k];
          if constexpr (OUT_IL) x.store_interleaved(d + 2 * (q + k * ks));
          else x.store(d + 2 * (q + k * ks));
        });
      }
    }
  }
}

// Whether a plan can run in split blocks: double, radices with a split
// kernel, the first one a multiple of four over a rest that is too, and
// every column block a multiple of four wide.
inline bool split_plan(const StepPlan& pl) {
  if (pl.count < 2) return false;
  const Record* rec = pl.rec;
  if (i64{rec[0].factor} * rec[0].rest < 1024) return false;  // short ones gain nothing
  if ((rec[0].factor != 4 && rec[0].factor != 8) || rec[0].rest % 4 != 0) return false;
  for (int i = 0; i < pl.count; ++i)
    if (rec[i].factor != 3 && rec[i].factor != 4 && rec[i].factor != 5 && rec[i].factor != 8) return false;
  return pl.group == 0 || (rec[pl.group].stride % 4 == 0 && pl.width % 4 == 0);
}

// role 1: first step, 2: middle, 3: last.
template <bool INV>
QV_INLINE void split_record(int role, const Record& rc, const double* src, double* dst, i64 sl, i64 Q, i64 is, i64 os) {
  const double* tw = static_cast<const double*>(rc.twiddle);
  if (role == 1) {
    if (rc.factor == 8) split_first<8, INV>(src, dst, rc.rest, tw);
    else split_first<4, INV>(src, dst, rc.rest, tw);
    return;
  }
  Step st{rc.factor, rc.rest, sl, Q, is, os, rc.twiddle, nullptr, nullptr};
  const bool last = role == 3;
  switch (rc.factor) {
    case 3: last ? split_step<3, INV, true>(src, dst, st) : split_step<3, INV, false>(src, dst, st); break;
    case 4: last ? split_step<4, INV, true>(src, dst, st) : split_step<4, INV, false>(src, dst, st); break;
    case 5: last ? split_step<5, INV, true>(src, dst, st) : split_step<5, INV, false>(src, dst, st); break;
    default: last ? split_step<8, INV, true>(src, dst, st) : split_step<8, INV, false>(src, dst, st); break;
  }
}
#endif

// ---- dispatch on the radix ---------------------------------------------------
template <bool INV, class R>
QV_INLINE bool run_step(const R* src, R* dst, const Step& st) {
  switch (st.r) {
    case 2: step_fixed<2, INV>(src, dst, st); return true;
    case 3: step_fixed<3, INV>(src, dst, st); return true;
    case 4: step_fixed<4, INV>(src, dst, st); return true;
    case 5: step_fixed<5, INV>(src, dst, st); return true;
    case 6: step_fixed<6, INV>(src, dst, st); return true;
    case 7: step_fixed<7, INV>(src, dst, st); return true;
    case 8: step_fixed<8, INV>(src, dst, st); return true;
    case 11: step_fixed<11, INV>(src, dst, st); return true;
    case 13: step_fixed<13, INV>(src, dst, st); return true;
    case 16: step_fixed<16, INV>(src, dst, st); return true;
    case 24: step_fixed<24, INV>(src, dst, st); return true;
    default:
      if (st.r < 3 || (st.r & 1) == 0 || st.r > 159 || st.tab == nullptr) return false;
      step_generic<INV>(src, dst, st);
      return true;
  }
}

template <bool INV, class R>
QV_INLINE bool run_outord(R* data, const Step& st) {
  switch (st.r) {
    case 2: step_outord<2, INV>(data, st); return true;
    case 3: step_outord<3, INV>(data, st); return true;
    case 4: step_outord<4, INV>(data, st); return true;
    case 5: step_outord<5, INV>(data, st); return true;
    case 7: step_outord<7, INV>(data, st); return true;
    case 11: step_outord<11, INV>(data, st); return true;
    case 13: step_outord<13, INV>(data, st); return true;
    default: return false;
  }
}

// The first record of a plan keeps its twiddles also in the per-lane form
// (real parts, then imaginary parts, each twice) right after its table.
// `role`: 0 for interleaved data throughout; 1, 2, 3 for the first, a
// middle and the last step of a plan run in split blocks.
template <bool INV, class R>
QV_INLINE void record_step(const Record& rc, const R* src, R* dst, i64 sl, i64 Q, i64 is, i64 os, bool first = false,
                           int role = 0) {
#if defined(__AVX2__)
  if constexpr (sizeof(R) == 8) {
    if (role != 0) {
      split_record<INV>(role, rc, src, dst, sl, Q, is, os);
      return;
    }
  }
#endif
  (void)role;
  const void* twd = first && rc.twiddle != nullptr
                        ? static_cast<const R*>(rc.twiddle) + 2 * i64{rc.factor - 1} * rc.rest
                        : nullptr;
  Step st{rc.factor, rc.rest, sl, Q, is, os, rc.twiddle, rc.direct, twd};
  run_step<INV>(src, dst, st);
}

// ---- the head of a long plan in column blocks ----------------------------------
// The input as an F x M array (row j at in + j*M): each block of Q columns
// runs the F-point transform in cache, the first step reading the input in
// place. Then its twiddles w_n^(p k) and a transpose: y[k + F*p] for column
// p and output k, the layout the records from `group` on expect.
template <bool INV, class R>
void run_head(const ::qor::dft::Head& h, const R* in, R* y, R* A, R* B) {
  using W = typename VecSet<R>::W;
  using O = typename VecSet<R>::O;
  const i64 F = h.F, M = h.M, b = h.width;
  const R* lane = static_cast<const R*>(h.lane);
  const R* hi = static_cast<const R*>(h.hi);
  const R* lo = static_cast<const R*>(h.lo);
  for (i64 p0 = 0; p0 < M; p0 += b) {
    const i64 Q = p0 + b <= M ? b : M - p0;
    const R* src = in + 2 * p0;
    i64 is = M;
    R* a = A;
    R* t = B;
    for (int i = 0; i < h.count; ++i) {
      record_step<INV>(h.rec[i], src, a, h.rec[i].stride, Q, is, Q);
      src = a;
      is = Q;
      R* u = a;
      a = t;
      t = u;
    }
    // src: T[q + Q*k]. Twiddles in place, across q.
    R* T = const_cast<R*>(src);
    i64 e_hi = 0, e_lo = 0;  // p0 * k = e_hi * M + e_lo
    for (i64 k = 0; k < F; ++k) {
      if (k > 0) {
        R w[2] = {hi[2 * e_hi] * lo[2 * e_lo] - hi[2 * e_hi + 1] * lo[2 * e_lo + 1],
                  hi[2 * e_hi] * lo[2 * e_lo + 1] + hi[2 * e_hi + 1] * lo[2 * e_lo]};
        const auto wb = Tw<W>::bcast(w, false);
        const R* lk = lane + 2 * (k * b);
        R* tk = T + 2 * (Q * k);
        i64 q = 0;
        for (; q + W::N <= Q; q += W::N)
          cmul(W::load(tk + 2 * q), Tw<W>::of(cmul(W::load(lk + 2 * q), wb), INV)).store(tk + 2 * q);
        const auto wo = Tw<O>::bcast(w, false);
        for (; q < Q; ++q)
          cmul(O::load(tk + 2 * q), Tw<O>::of(cmul(O::load(lk + 2 * q), wo), INV)).store(tk + 2 * q);
      }
      e_lo += p0;
      if (e_lo >= M) {
        e_lo -= M;
        ++e_hi;
      }
    }
    for (i64 q = 0; q < Q; ++q) {
      R* row = y + 2 * (F * (p0 + q));
      const R* col = T + 2 * q;
      for (i64 k = 0; k < F; ++k) O::load(col + 2 * (Q * k)).store(row + 2 * k);
    }
  }
}

// ---- a whole step plan -------------------------------------------------------
template <bool INV, class R>
void run_plan(const StepPlan& pl, const R* in, R* out, R* work) {
  const Record* rec = pl.rec;
  const int n = pl.count, g = pl.group;
  const R* cur = in;
  bool split = false;
#if defined(__AVX2__)
  if constexpr (sizeof(R) == 8) split = pl.head == nullptr && split_plan(pl);
#endif
  auto role = [&](int i) { return !split ? 0 : i == 0 ? 1 : i == n - 1 ? 3 : 2; };
  if (g > 0 && pl.head != nullptr) {
    // The head writes the whole array before the blocks read it, so it
    // needs its own target when the transform is in place.
    const i64 top = ::qor::dft::plan_top_elems(rec, n, g);
    R* hA = work + 2 * (top + 2 * ::qor::dft::plan_block_elems(rec, n, g, pl.width));
    R* hB = hA + 2 * pl.head->width * pl.head->F;
    R* y = in == out ? work : out;
    run_head<INV>(*pl.head, in, y, hA, hB);
    cur = y;
  } else if (g > 0) {
    // Steps 0..g-1 alternate between the output and the work buffer; the
    // first must not write where it reads.
    R* last = out;
    R* other = work;
    if (in == out && (g & 1) == 1) {
      last = work;
      other = out;
    }
    for (int i = 0; i < g; ++i) {
      R* target = ((g - 1 - i) & 1) == 0 ? last : other;
      const i64 s = rec[i].stride;
      record_step<INV>(rec[i], cur, target, 1, s, s, s, i == 0, role(i));
      cur = target;
    }
  }
  const i64 S = rec[g].stride;
  if (n - g == 1) {
    record_step<INV>(rec[g], cur, out, 1, S, S, S, g == 0, role(g));
    return;
  }
  const i64 len = i64{rec[g].factor} * rec[g].rest;
  R* A = work + 2 * ::qor::dft::plan_top_elems(rec, n, g);
  R* B = A + 2 * pl.width * len;
  if (g == 0 && cur != out) {
    // With every record grouped the walk is one block of one column (the
    // first record's stride is 1). Out of place, the output is then one of
    // the two buffers, and the last step (no twiddles, one output per input
    // place) runs in place in it: the steps touch three arrays, not four.
    R* a = (n & 1) == 0 ? out : A;
    R* b = a == out ? A : out;
    record_step<INV>(rec[0], cur, a, 1, 1, 1, 1, true, role(0));
    for (int i = 1; i < n - 1; ++i) {
      record_step<INV>(rec[i], a, b, rec[i].stride, 1, 1, 1, false, role(i));
      R* t = a;
      a = b;
      b = t;
    }
    record_step<INV>(rec[n - 1], a, out, rec[n - 1].stride, 1, 1, 1, false, role(n - 1));
    return;
  }
  for (i64 q0 = 0; q0 < S; q0 += pl.width) {
    const i64 Q = q0 + pl.width <= S ? pl.width : S - q0;
    record_step<INV>(rec[g], cur + 2 * q0, A, 1, Q, S, Q, g == 0, role(g));
    R* a = A;
    R* b = B;
    for (int i = g + 1; i < n - 1; ++i) {
      record_step<INV>(rec[i], a, b, rec[i].stride / S, Q, Q, Q, false, role(i));
      R* t = a;
      a = b;
      b = t;
    }
    record_step<INV>(rec[n - 1], a, out + 2 * q0, rec[n - 1].stride / S, Q, Q, S, false, role(n - 1));
  }
}

// ---- scaling and pointwise helpers -------------------------------------------
template <class R>
void scale_array(R* x, i64 count, R value) {  // count real words
  for (i64 i = 0; i < count; ++i) x[i] *= value;
}

// ---- Bluestein convolution ------------------------------------------------------
// a_j = x_j c_j (conjugated input for the inverse), zero to M, forward DFT
// of M, times the filter, inverse DFT of M, times the chirp (conjugated
// output for the inverse).
template <class R>
void run_conv(const ::qor::dft::DftSpec* spec, const R* in, R* out, R* work, bool inv);

template <class R>
void run_small(bool fft, int index, const R* in, R* out, bool scaled, double scale, bool inv) {
  if constexpr (sizeof(R) == 8) {
    if (scaled) {
      const zups_small_c64s* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_scale_64 : qor_dft_def_tbl_cFFTfwd_small_scale_64)
                                     : (inv ? qor_dft_def_tbl_cDFXinv_small_scale_64 : qor_dft_def_tbl_cDFTfwd_small_scale_64);
      t[index](in, out, scale);
    } else {
      const zups_small_c64* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_64 : qor_dft_def_tbl_cFFTfwd_small_64)
                                    : (inv ? qor_dft_def_tbl_cDFXinv_small_64 : qor_dft_def_tbl_cDFTfwd_small_64);
      t[index](in, out);
    }
  } else {
    if (scaled) {
      const zups_small_c32s* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_scale_32 : qor_dft_def_tbl_cFFTfwd_small_scale_32)
                                     : (inv ? qor_dft_def_tbl_cDFXinv_small_scale_32 : qor_dft_def_tbl_cDFTfwd_small_scale_32);
      t[index](in, out, static_cast<float>(scale));
    } else {
      const zups_small_c32* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_32 : qor_dft_def_tbl_cFFTfwd_small_32)
                                    : (inv ? qor_dft_def_tbl_cDFXinv_small_32 : qor_dft_def_tbl_cDFTfwd_small_32);
      t[index](in, out);
    }
  }
}

}  // namespace dfte

namespace dfte {
template <class R>
__attribute__((noinline)) void pow2_general(const ::qor::dft::FftSpec* spec, const R* in, R* out, R* work, bool inv,
                                            bool scaled, double scale) {
  const int order = spec->order;
  if (spec->method == ::qor::dft::kFftSmall) {
    run_small<R>(true, order, in, out, scaled, scale, inv);
    return;
  }
  if (spec->method == ::qor::dft::kFftRadix) {
    // In place, the stages run in the work buffer and the last one writes
    // back: the first stage reads the whole input.
    R* T = in == out ? work : out;
    if (inv) dfp2::run_stages<true>(*spec->stages, in, T, out);
    else dfp2::run_stages<false>(*spec->stages, in, T, out);
  } else if (inv) {
    dfp2::run_large<true>(spec, in, out, work);
  } else {
    dfp2::run_large<false>(spec, in, out, work);
  }
  if (scaled) scale_array(out, ::qor::dft::i64{2} << order, static_cast<R>(scale));
}
template <class R>
__attribute__((noinline)) void scale_noinline(R* x, ::qor::dft::i64 count, R value) {
  scale_array(x, count, value);
}
}  // namespace dfte

// Short transforms go straight to their kernel of a fixed order, with
// nothing else in this function to set up; the rest in pow2_general.
template <class R>
void exec_pow2(const ::qor::dft::FftSpec* spec, const R* in, R* out, R* work, bool inv, bool scaled, double scale) {
  const int order = spec->order;
  if (spec->method != ::qor::dft::kFftRadix || order > dfp2::fixed_top<R>()) {
    dfte::pow2_general<R>(spec, in, out, work, inv, scaled, scale);
    return;
  }
  R* T = in == out ? work : out;  // in place, the stages run in the work buffer
  if (inv) dfp2::run_fixed_order<true>(order, *spec->stages, in, T, out);
  else dfp2::run_fixed_order<false>(order, *spec->stages, in, T, out);
  if (scaled) dfte::scale_noinline(out, ::qor::dft::i64{2} << order, static_cast<R>(scale));
}

template <class R>
void exec_fft(const ::qor::dft::FftSpec* spec, const R* in, R* out, R* work, bool inv) {
  exec_pow2<R>(spec, in, out, work, inv, inv ? spec->scale_inverse_on != 0 : spec->scale_forward_on != 0, spec->scale);
}

template <class R>
void exec_dft(const ::qor::dft::DftSpec* spec, const R* in, R* out, R* work, bool inv) {
  using namespace ::qor::dft;
  const bool scaled = inv ? spec->scale_inverse_on != 0 : spec->scale_forward_on != 0;
  const int L = spec->length;
  switch (spec->method) {
    case kSmall:
      dfte::run_small<R>(false, L - 1, in, out, scaled, spec->scale, inv);
      return;
    case kPow2:
      exec_pow2<R>(static_cast<const FftSpec*>(spec->fft_spec), in, out, work, inv, scaled, spec->scale);
      return;
    case kPrimeFact:
      if (inv) dfte::run_plan<true>(plan_of(spec), in, out, work);
      else dfte::run_plan<false>(plan_of(spec), in, out, work);
      break;
    case kDirect: {
      Step st{L, 1, 1, 1, 1, 1, nullptr, spec->direct_table, nullptr};
      if (inv) dfte::step_generic<true>(in, out, st);
      else dfte::step_generic<false>(in, out, st);
      break;
    }
    default:
      dfte::run_conv<R>(spec, in, out, work, inv);
      break;
  }
  if (scaled) dfte::scale_array(out, i64{2} * L, static_cast<R>(spec->scale));
}

namespace dfte {

// y_j = x_j c_j for count complex values (y may be x), with x_j
// conjugated first (CONJ_X) or the product conjugated (CONJ_Y).
template <bool CONJ_X, bool CONJ_Y, class R>
void times_each(const R* x, const R* c, R* y, i64 count) {
  using W = typename VecSet<R>::W;
  using O = typename VecSet<R>::O;
  auto one = [&](auto v, auto w) __attribute__((always_inline)) {
    if constexpr (CONJ_X) v = conj(v);
    auto p = cmul(v, Tw<decltype(w)>::of(w, false));
    if constexpr (CONJ_Y) p = conj(p);
    return p;
  };
  i64 j = 0;
  for (; j + W::N <= count; j += W::N) one(W::load(x + 2 * j), W::load(c + 2 * j)).store(y + 2 * j);
  for (; j < count; ++j) one(O::load(x + 2 * j), O::load(c + 2 * j)).store(y + 2 * j);
}

template <class R>
void run_conv(const ::qor::dft::DftSpec* spec, const R* in, R* out, R* work, bool inv) {
  const i64 L = spec->length, M = spec->conv_length;
  const R* chirp = static_cast<const R*>(spec->chirp);
  const R* filter = static_cast<const R*>(spec->filter);
  const auto* nested = static_cast<const ::qor::dft::DftSpec*>(spec->fft_spec);
  R* a = work;
  R* nwork = work + 2 * (::qor::dft::round64(M * 2 * i64{sizeof(R)}) / i64{sizeof(R)} / 2);
  if (inv) times_each<true, false>(in, chirp, a, L);
  else times_each<false, false>(in, chirp, a, L);
  std::memset(static_cast<void*>(a + 2 * L), 0, static_cast<std::size_t>(M - L) * 2 * sizeof(R));
  exec_dft<R>(nested, a, a, nwork, false);
  times_each<false, false>(a, filter, a, M);
  exec_dft<R>(nested, a, a, nwork, true);
  if (inv) times_each<false, true>(a, chirp, out, L);
  else times_each<false, false>(a, chirp, out, L);
}

}  // namespace dfte

template <class R>
bool exec_step(int kind, bool generic, bool inv, const R* src, R* dst, const ::qor::dft::Step& st) {
  if (kind == 1) {
    if (generic) return false;
    return inv ? dfte::run_outord<true>(dst, st) : dfte::run_outord<false>(dst, st);
  }
  if (generic) {
    if (st.r < 3 || (st.r & 1) == 0 || st.r > 159 || st.tab == nullptr) return false;
    if (inv) dfte::step_generic<true>(src, dst, st);
    else dfte::step_generic<false>(src, dst, st);
    return true;
  }
  return inv ? dfte::run_step<true>(src, dst, st) : dfte::run_step<false>(src, dst, st);
}

template <class R>
void exec_scale(R* data, ::qor::dft::i64 count, R value) {
  dfte::scale_array(data, count, value);
}

QOR_ISA_END
