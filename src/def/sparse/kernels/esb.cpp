// Kernels of the optimised layouts: ESB slices (w rows in lockstep, their
// elements interleaved step by step, each row padded with zeros to the
// longest of its slice) and diagonal panels (8 rows, 8 values per
// diagonal, one start column each).
#include "sparse/kernels/api.h"
#include "sparse/kernels/elem.h"

namespace qor::sparse::kern {
namespace {

// Lanes [j0, j0 + n) of one slice: acc[j] += x[cols[j]] * values[j],
// stepping by w, (end - start - 1) / w + 1 steps when the slice holds
// anything.
template <int W, class T, class I>
[[gnu::always_inline]] inline void slice_sums(T* acc, idx w, idx j0, idx n, idx start, idx end, const I* cols, const T* values,
                       const T* x) {
  for (idx j = 0; j < n; ++j) acc[j] = T(0);
  if (end - start < 1) return;
  const idx steps = (end - start - 1) / w + 1;
  const I* c = cols + start + j0;
  const T* v = values + start + j0;
  for (idx s = 0; s < steps; ++s, c += w, v += w) {
    if constexpr (W > 0) {
      if (n == W) {
        for (int j = 0; j < W; ++j) acc[j] = acc[j] + mul(x[c[j]], v[j]);
        continue;
      }
    }
    for (idx j = 0; j < n; ++j) acc[j] = acc[j] + mul(x[c[j]], v[j]);
  }
}

// Slices [first, last) of width w (W when fixed, 0 for a run-time width).
// The last slice is partial when tail is nonzero: it runs with `tail`
// lanes if tail <= w, and is left untouched otherwise.
// A whole slice of a fixed width, its accumulators held in registers: the
// same steps and order as slice_sums.
template <int W, bool Dot, bool BetaZero, class T, class I>
[[gnu::always_inline]] inline void whole_slice(idx s, const I* st, const I* en, const I* cols, const T* values,
                                               const T* x, T* y, T alpha, T beta, T& d) {
  T acc[W];
#pragma GCC unroll 16
  for (int j = 0; j < W; ++j) acc[j] = T(0);
  const idx start = st[s], end = en[s];
  if (end - start >= 1) {
    const idx steps = (end - start - 1) / W + 1;
    const I* c = cols + start;
    const T* v = values + start;
    for (idx k = 0; k < steps; ++k, c += W, v += W) {
#pragma GCC unroll 16
      for (int j = 0; j < W; ++j) acc[j] = acc[j] + mul(x[c[j]], v[j]);
    }
  }
#pragma GCC unroll 16
  for (int j = 0; j < W; ++j) {
    const idx i = s * W + j;
    store<BetaZero>(y, i, mul(alpha, acc[j]), beta);
    if constexpr (Dot) d = d + mul(y[i], x[i]);
  }
}

template <int W, bool Dot, bool BetaZero, class T, class I>
void esb_rows(idx w, I first, I last, I tail, const I* st, const I* en, const I* cols, const T* values, const T* x,
              T* y, T alpha, T beta, T* dot) {
  // A run-time width runs its lanes in blocks of 64; each lane's sum is
  // its own, so the blocks leave the order unchanged.
  constexpr idx lanes = W > 0 ? W : 64;
  T acc[lanes];
  T d = T(0);
  auto run = [&](idx s, idx n) {
    for (idx j0 = 0; j0 < n; j0 += lanes) {
      const idx m = n - j0 < lanes ? n - j0 : lanes;
      slice_sums<W>(acc, w, j0, m, st[s], en[s], cols, values, x);
      for (idx j = 0; j < m; ++j) {
        const idx i = s * w + j0 + j;
        store<BetaZero>(y, i, mul(alpha, acc[j]), beta);
        if constexpr (Dot) d = d + mul(y[i], x[i]);
      }
    }
  };
  if (first < last) {
    const idx whole = idx(last) - idx(first) - (tail != 0 ? 1 : 0);
    for (idx s = first; s < idx(first) + whole; ++s) {
      if constexpr (W > 0)
        whole_slice<W, Dot, BetaZero>(s, st, en, cols, values, x, y, alpha, beta, d);
      else
        run(s, w);
    }
    if (tail != 0 && tail <= w) run(idx(first) + whole, tail);
  }
  if constexpr (Dot) *dot = d;
}

template <int W, bool Dot, class T, class I>
void esb(idx w, I first, I last, I tail, const I* st, const I* en, const I* cols, const T* values, const T* x, T* y,
         T alpha, T beta, T* dot) {
  if (is_zero(beta))
    esb_rows<W, Dot, true>(w, first, last, tail, st, en, cols, values, x, y, alpha, beta, dot);
  else
    esb_rows<W, Dot, false>(w, first, last, tail, st, en, cols, values, x, y, alpha, beta, dot);
}

// One panel of 8 rows: lane j of a diagonal with start column o adds
// value[j] * x[o + j] for the lanes inside the matrix. Each diagonal's
// eight terms are formed first (zero for a lane outside, whose x is never
// read) and then added lane by lane, so the accumulators stay in registers.
template <class T>
[[gnu::always_inline]] inline void panel_sums(T* acc, idx from, idx to, idx ncols, const i32* offsets,
                                              const T* values, const T* x) {
#pragma GCC unroll 8
  for (int j = 0; j < 8; ++j) acc[j] = T(0);
  for (idx dgl = from; dgl < to; ++dgl) {
    const idx o = offsets[dgl];
    const T* v = values + 8 * dgl;
    T t[8];
    if (o >= 0 && o <= ncols - 8) {
      const T* xo = x + o;
#pragma GCC unroll 8
      for (int j = 0; j < 8; ++j) t[j] = mul(v[j], xo[j]);
    } else if (o < -7) {
      continue;  // the whole diagonal lies left of the matrix
    } else {
      // Left edge (lanes below -o outside) or right edge (lanes from
      // ncols - o outside).
      for (int j = 0; j < 8; ++j) t[j] = o + j >= 0 && o + j < ncols ? mul(v[j], x[o + j]) : T(0);
    }
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) acc[j] = acc[j] + t[j];
  }
}

template <bool BetaZero, class T, class I>
void dia_rows(I panels, I tail, I ncols, const i32* pp, const i32* offsets, const T* values, const T* x, T* y,
              T alpha, T beta) {
  for (idx p = 0; p < panels; ++p) {
    T acc[8];
    panel_sums(acc, pp[p], pp[p + 1], ncols, offsets, values, x);
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) store<BetaZero>(y, 8 * p + j, mul(alpha, acc[j]), beta);
  }
  if (tail > 0 && tail < 8) {
    const idx p = panels;
    T acc[8];
    panel_sums(acc, pp[p], pp[p + 1], ncols, offsets, values, x);
    for (idx j = 0; j < tail; ++j) store<BetaZero>(y, 8 * p + j, mul(alpha, acc[j]), beta);
  }
}

template <class T, class I>
void dia(I panels, I tail, I ncols, const i32* pp, const i32* offsets, const T* values, const T* x, T* y, T alpha,
         T beta) {
  if (is_zero(beta))
    dia_rows<true>(panels, tail, ncols, pp, offsets, values, x, y, alpha, beta);
  else
    dia_rows<false>(panels, tail, ncols, pp, offsets, values, x, y, alpha, beta);
}

}  // namespace
}  // namespace qor::sparse::kern

#define QOR_ESB_ARGS(T, I) I first, I last, I tail, const I *esb_start, const I *esb_end, const I *esb_cols, const T *esb_values, const T *x, T *y, T alpha, T beta
#define QOR_ESB_PASS first, last, tail, esb_start, esb_end, esb_cols, esb_values, x, y, alpha, beta
#define QOR_ESB_ENTRIES(l, T, w, I)                                                                            \
  QOR_DEF_API void qor_sparse_##l##_xESB_SpMV_4_##w##_def(QOR_ESB_ARGS(T, I)) {                                      \
    qor::sparse::kern::esb<4, false>(4, QOR_ESB_PASS, static_cast<T*>(nullptr));                               \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_xESB_SpMV_8_##w##_def(QOR_ESB_ARGS(T, I)) {                                      \
    qor::sparse::kern::esb<8, false>(8, QOR_ESB_PASS, static_cast<T*>(nullptr));                               \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_xESB_SpMV_##w##_def(I width, QOR_ESB_ARGS(T, I)) {                               \
    if (width > 0) qor::sparse::kern::esb<0, false>(width, QOR_ESB_PASS, static_cast<T*>(nullptr));            \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_ESB_SpDOTMV_4_##w##_def(QOR_ESB_ARGS(T, I), T* dot) {                            \
    qor::sparse::kern::esb<4, true>(4, QOR_ESB_PASS, dot);                                                     \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_ESB_SpDOTMV_8_##w##_def(QOR_ESB_ARGS(T, I), T* dot) {                            \
    qor::sparse::kern::esb<8, true>(8, QOR_ESB_PASS, dot);                                                     \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_ESB_SpDOTMV_##w##_def(I width, QOR_ESB_ARGS(T, I), T* dot) {                     \
    if (width > 0)                                                                                             \
      qor::sparse::kern::esb<0, true>(width, QOR_ESB_PASS, dot);                                               \
    else                                                                                                       \
      *dot = T(0);                                                                                             \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_dia_mv_ker_##w##_def(I panels, I tail, I ncols, const qor::sparse::i32* pp, \
                                                         const qor::sparse::i32* offsets, const T* values,     \
                                                         const T* x, T* y, T alpha, T beta) {                  \
    qor::sparse::kern::dia<T, I>(panels, tail, ncols, pp, offsets, values, x, y, alpha, beta);                 \
  }

#define QOR_ESB_ENTRIES_W(w, I, l, T) QOR_ESB_ENTRIES(l, T, w, I)
#define QOR_ESB_ENTRIES_T(l, T) QOR_SPARSE_KERNEL_WIDTHS(QOR_ESB_ENTRIES_W, l, T)
QOR_FOR_EACH_TYPE(QOR_ESB_ENTRIES_T)
