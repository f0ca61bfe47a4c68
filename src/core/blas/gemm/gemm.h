// The core side of GEMM, written once over the element type: the threaded
// driver that splits C into blocks and runs the member's sequential entry on
// each, and the Fortran and CBLAS interfaces with the reference argument
// checks.
#pragma once
#include <omp.h>

#include <cstdint>

#include "blas/common/interface.h"
#include "blas/gemm/signatures.h"
#include "frame/trace.h"
#include "frame/threads.h"
#include "frame/types.h"

namespace qor::core::blas {

using i64 = std::int64_t;

template <class T>
using GemmEntry = ::qor::gemm_sig::gemm_fn<T>*;

// A split of C into pr x pc blocks, one per thread.
struct Grid {
  int pr = 1, pc = 1;
};

// Below this many multiply-adds per thread a call stays on fewer threads:
// the fork and the packing each thread repeats would cost more than they
// save.
inline constexpr double kMinWorkPerThread = 96.0 * 96.0 * 96.0;

// The team size for an m x n x k product, and the grid that keeps the blocks
// of C closest to square (each thread packs its rows of op(A) and its
// columns of op(B), so the sum of the block sides is what repeats).
inline Grid gemm_grid(i64 m, i64 n, i64 k, i64 row_unit, i64 col_unit) {
  Grid g;
  int nt = max_threads();
  if (nt <= 1 || m <= 0 || n <= 0 || k <= 0) return g;
  double work = static_cast<double>(m) * static_cast<double>(n) * static_cast<double>(k);
  if (work < 2 * kMinWorkPerThread) return g;
  if (work < nt * kMinWorkPerThread) nt = static_cast<int>(work / kMinWorkPerThread);
  const i64 max_pr = (m + row_unit - 1) / row_unit, max_pc = (n + col_unit - 1) / col_unit;
  double best = -1;
  for (int pr = 1; pr <= nt; ++pr) {
    if (nt % pr != 0) continue;
    int pc = nt / pr;
    if (pr > max_pr || pc > max_pc) continue;
    double cost = static_cast<double>(m) / pr + static_cast<double>(n) / pc;
    if (best < 0 || cost < best) {
      best = cost;
      g.pr = pr;
      g.pc = pc;
    }
  }
  if (best < 0) {  // too thin for the team: split the longer side only
    if (max_pr >= max_pc) {
      g.pr = static_cast<int>(max_pr < nt ? max_pr : nt);
    } else {
      g.pc = static_cast<int>(max_pc < nt ? max_pc : nt);
    }
  }
  return g;
}

// Part p of `total` in `parts` pieces, each a multiple of `unit` but the last.
inline void share(i64 total, int parts, int p, i64 unit, i64& lo, i64& hi) {
  const i64 units = (total + unit - 1) / unit;
  const i64 base = units / parts, extra = units % parts;
  const i64 first = p * base + (p < extra ? p : extra);
  const i64 count = base + (p < extra ? 1 : 0);
  lo = first * unit < total ? first * unit : total;
  hi = (first + count) * unit < total ? (first + count) * unit : total;
}

// C = alpha op(A) op(B) + beta C on the calling thread or on a team. Each
// thread calls the sequential entry on its own block of C, so the blocks
// see beta exactly once and nothing is shared but the inputs. Blocks of rows
// are multiples of row_unit and blocks of columns of col_unit, the tiles of
// the kernels, so that only the last block has tails.
template <class T>
void gemm_threaded(GemmEntry<T> entry, const char* transa, const char* transb, i64 m, i64 n, i64 k, const T* alpha,
                   const T* a, i64 lda, const T* b, i64 ldb, const T* beta, T* c, i64 ldc, i64 row_unit = 12,
                   i64 col_unit = 4) {
  if (m <= 0 || n <= 0) return;
  const bool trivial = k <= 0 || *alpha == T(0);
  const Grid g = trivial ? Grid{} : gemm_grid(m, n, k, row_unit, col_unit);
  if (g.pr * g.pc <= 1) {
    entry(transa, transb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
    return;
  }
  const bool na = (*transa & 0xDF) == 'N', nb = (*transb & 0xDF) == 'N';
#pragma omp parallel num_threads(g.pr * g.pc)
  {
    const int me = omp_get_thread_num(), team = omp_get_num_threads();
    // The team may be smaller than asked; the blocks are then shared out.
    for (int blk = me; blk < g.pr * g.pc; blk += team) {
      i64 i0, i1, j0, j1;
      share(m, g.pr, blk % g.pr, row_unit, i0, i1);
      share(n, g.pc, blk / g.pr, col_unit, j0, j1);
      i64 mi = i1 - i0, nj = j1 - j0;
      if (mi <= 0 || nj <= 0) continue;
      const T* ab = na ? a + i0 : a + i0 * lda;
      const T* bb = nb ? b + j0 * ldb : b + j0;
      entry(transa, transb, &mi, &nj, &k, alpha, ab, &lda, bb, &ldb, beta, c + i0 + j0 * ldc, &ldc);
    }
  }
}

// ---- Argument checks of the reference routine -------------------------------

inline bool valid_trans(char t) {
  t = upper(&t);
  return t == 'N' || t == 'T' || t == 'C';
}

// The number (1-based) of the first bad argument of ?gemm, or 0.
inline int gemm_fortran_check(char ta, char tb, i64 m, i64 n, i64 k, i64 lda, i64 ldb, i64 ldc) {
  const bool na = upper(&ta) == 'N', nb = upper(&tb) == 'N';
  const i64 nrowa = na ? m : k, nrowb = nb ? k : n;
  auto at_least_1 = [](i64 v) { return v > 1 ? v : 1; };
  if (!valid_trans(ta)) return 1;
  if (!valid_trans(tb)) return 2;
  if (m < 0) return 3;
  if (n < 0) return 4;
  if (k < 0) return 5;
  if (lda < at_least_1(nrowa)) return 8;
  if (ldb < at_least_1(nrowb)) return 10;
  if (ldc < at_least_1(m)) return 13;
  return 0;
}

// CBLAS: the same checks in the caller's terms. Row-major storage is the
// column-major product of the transposes, C^T = op(B)^T op(A)^T, so the
// operands and the dimensions swap. The position of each argument counts
// the layout first. Returns 0 when the call may go on.
template <class T, class Int>
int gemm_cblas_prepare(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, Int m, Int n, Int k,
                       Int lda, Int ldb, Int ldc, const char* routine) {
  if (layout != CblasRowMajor && layout != CblasColMajor) {
    cblas_xerbla(1, routine, "Illegal layout setting, %d\n", static_cast<int>(layout));
    return 1;
  }
  const char ta = trans_letter(transa), tb = trans_letter(transb);
  if (ta == '?') {
    cblas_xerbla(2, routine, "Illegal TransA setting, %d\n", static_cast<int>(transa));
    return 2;
  }
  if (tb == '?') {
    cblas_xerbla(3, routine, "Illegal TransB setting, %d\n", static_cast<int>(transb));
    return 3;
  }
  auto at_least_1 = [](i64 v) { return v > 1 ? v : 1; };
  const bool row = layout == CblasRowMajor;
  const bool na = ta == 'N', nb = tb == 'N';
  // The rows of A and B as stored, and of C.
  const i64 lda_min = row ? (na ? k : m) : (na ? m : k);
  const i64 ldb_min = row ? (nb ? n : k) : (nb ? k : n);
  const i64 ldc_min = row ? n : m;
  int bad = 0;
  if (m < 0) {
    bad = 4;
  } else if (n < 0) {
    bad = 5;
  } else if (k < 0) {
    bad = 6;
  } else if (lda < at_least_1(lda_min)) {
    bad = 9;
  } else if (ldb < at_least_1(ldb_min)) {
    bad = 11;
  } else if (ldc < at_least_1(ldc_min)) {
    bad = 14;
  }
  if (bad != 0) cblas_xerbla(bad, routine, "");
  return bad;
}

// ---- The public interfaces ---------------------------------------------------

// The Fortran name of ?gemm: the reference checks, reported as `routine`
// (nothing is computed then), and the dispatching name on 64-bit integers.
template <class T, class Int>
QOR_TRACED_WORK
void gemm_fortran(const char* routine, GemmEntry<T> dispatch, const char* transa, const char* transb, const Int* m,
                  const Int* n, const Int* k, const T* alpha, const T* a, const Int* lda, const T* b, const Int* ldb,
                  const T* beta, T* c, const Int* ldc) {
  if (int bad = gemm_fortran_check(*transa, *transb, *m, *n, *k, *lda, *ldb, *ldc); bad != 0) {
    fortran_arg_error<Int>(routine, static_cast<Int>(bad));
    return;
  }
  const i64 mm = *m, nn = *n, kk = *k, la = *lda, lb = *ldb, lc = *ldc;
  dispatch(transa, transb, &mm, &nn, &kk, alpha, a, &la, b, &lb, beta, c, &lc);
}

// The CBLAS name: the checks in the caller's terms, then the column-major
// product; row-major storage is the product of the transposes, C^T =
// op(B)^T op(A)^T, the letters staying with their operands.
template <class T, class Int>
QOR_TRACED_WORK
void gemm_cblas(const char* routine, GemmEntry<T> dispatch, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa,
                CBLAS_TRANSPOSE transb, Int m, Int n, Int k, const T* alpha, const T* a, Int lda, const T* b, Int ldb,
                const T* beta, T* c, Int ldc) {
  if (gemm_cblas_prepare<T, Int>(layout, transa, transb, m, n, k, lda, ldb, ldc, routine) != 0) return;
  const char ta = trans_letter(transa), tb = trans_letter(transb);
  const i64 mm = m, nn = n, kk = k, la = lda, lb = ldb, lc = ldc;
  if (layout == CblasColMajor) {
    dispatch(&ta, &tb, &mm, &nn, &kk, alpha, a, &la, b, &lb, beta, c, &lc);
  } else {
    dispatch(&tb, &ta, &nn, &mm, &kk, alpha, b, &lb, a, &la, beta, c, &lc);
  }
}

}  // namespace qor::core::blas
