// The block loop of every packed GEMM body, written once over the element
// type and the policies in which the bodies differ.
//
// A body cuts C into blocks of mb rows by nb columns and the depth k into
// blocks of kb, packs a block of op(A) and one of op(B) into panels and runs
// its kernel on them. The bodies keep their own policies, since each is
// part of the bits it gives:
// - the depth order: where the partial block (k mod kb) goes;
// - the loop order: which panel stays while the other is repacked;
// - the beta frame (common.h and pst.h): beta applied to C ahead of the
//   product, or by the first kernel call on each part of C, which the
//   kernel learns from the `first` flag of its block.
#pragma once
#include <type_traits>

#include "blas/gemm/common.h"
#include "blas/level2/dispatch.h"
#include "frame/isa.h"

QOR_ISA_BEGIN
namespace gemm {

// PartialLast: full blocks from the start, the partial one last (the d
// bodies, which scale C by beta first). PartialFirst: the partial block
// first, then full blocks from the start (the s, c, z bodies: the first
// call on a part of C applies beta, and every later one adds a full block).
enum class DepthOrder { PartialLast, PartialFirst };

// Calls f(l0, depth, first) for each depth block in order D.
template <DepthOrder D, class F>
inline void for_depth(i64 k, i64 kb, F&& f) {
  if constexpr (D == DepthOrder::PartialLast) {
    bool first = true;
    for (i64 l = 0; l < k; l += kb, first = false) f(l, min(kb, k - l), first);
  } else {
    const i64 r = k % kb, full = k / kb;
    bool first = true;
    if (r != 0) {
      f(k - r, r, true);
      first = false;
    }
    for (i64 t = 0; t < full; ++t, first = false) f(t * kb, kb, first);
  }
}

// ColumnsOuter: column blocks outside, then depth; the B block is packed
// once per column and depth block and every row block of A is packed
// against it (the baseline and Barcelona bodies, and the d tuned body,
// whose column block is the large one). RowsOuter: row blocks outside; the
// A block is packed once per row and depth block and the B block, the small
// one, repacked for each column block (the s, c, z tuned bodies, whose row
// block is the large one: packing A per column block would copy all of A
// again for every few hundred columns of C).
enum class LoopOrder { ColumnsOuter, RowsOuter };

// One block of the product: rows i.. (rows of them), columns j.. (cols),
// depth l.. (depth); `first` tells the first depth block of this part of C.
struct Block {
  i64 i, j, l, rows, cols, depth;
  bool first;
};

// The loop over an m x n x k product. pack_a(i, l, rows, depth) and
// pack_b(l, j, depth, cols) fill the panels, kernel(const Block&) runs on
// them. With ColumnsOuter, after(j, cols, l, depth) runs once the row blocks
// of a column and depth block are done (the row edge of the d bodies).
template <LoopOrder L, DepthOrder D, class PackA, class PackB, class Kernel, class After>
inline void block_loop(i64 m, i64 n, i64 k, i64 mb, i64 nb, i64 kb, PackA&& pack_a, PackB&& pack_b, Kernel&& kernel,
                       After&& after) {
  if constexpr (L == LoopOrder::ColumnsOuter) {
    for (i64 j = 0; j < n; j += nb) {
      const i64 cols = min(nb, n - j);
      for_depth<D>(k, kb, [&](i64 l, i64 d, bool first) {
        pack_b(l, j, d, cols);
        for (i64 i = 0; i < m; i += mb) {
          const i64 rows = min(mb, m - i);
          pack_a(i, l, rows, d);
          kernel(Block{i, j, l, rows, cols, d, first});
        }
        after(j, cols, l, d);
      });
    }
  } else {
    for (i64 i = 0; i < m; i += mb) {
      const i64 rows = min(mb, m - i);
      for_depth<D>(k, kb, [&](i64 l, i64 d, bool first) {
        pack_a(i, l, rows, d);
        for (i64 j = 0; j < n; j += nb) {
          const i64 cols = min(nb, n - j);
          pack_b(l, j, d, cols);
          kernel(Block{i, j, l, rows, cols, d, first});
        }
      });
    }
  }
}

// The same with nothing to do after a column and depth block.
template <LoopOrder L, DepthOrder D, class PackA, class PackB, class Kernel>
inline void block_loop(i64 m, i64 n, i64 k, i64 mb, i64 nb, i64 kb, PackA&& pack_a, PackB&& pack_b,
                       Kernel&& kernel) {
  block_loop<L, D>(m, n, k, mb, nb, kb, pack_a, pack_b, kernel, [](i64, i64, i64, i64) {});
}

// The column edge of the bodies whose kernels take whole groups of 4
// columns: columns j0 .. n-1 of C over all m rows, each a matrix-vector
// product C(:, j) = alpha op(A) op(B)(:, j) + beta C(:, j) through the gemv
// of its type. `a_trans` and `b_trans` tell whether op(A) and op(B) are
// transposed (conjugated B columns are not gemv operands: the caller takes
// those elsewhere).
template <class T>
void gemv_columns(const char* ta, bool a_trans, bool b_trans, i64 m, i64 j0, i64 n, i64 k, const T* alpha,
                  const T* a, i64 lda, const T* b, i64 ldb, const T* beta, T* c, i64 ldc) {
  const i64 rows = a_trans ? k : m, cols = a_trans ? m : k;
  const i64 incx = b_trans ? ldb : 1, one = 1;
  for (i64 j = j0; j < n; ++j) {
    const T* x = b_trans ? b + j : b + j * ldb;
    if constexpr (std::is_same_v<T, float>) {
      qor_blas_sgemv(ta, &rows, &cols, alpha, a, &lda, x, &incx, beta, c + j * ldc, &one);
    } else if constexpr (std::is_same_v<T, double>) {
      qor_blas_dgemv(ta, &rows, &cols, alpha, a, &lda, x, &incx, beta, c + j * ldc, &one);
    } else if constexpr (std::is_same_v<T, c32>) {
      qor_blas_cgemv(ta, &rows, &cols, alpha, a, &lda, x, &incx, beta, c + j * ldc, &one);
    } else {
      qor_blas_zgemv(ta, &rows, &cols, alpha, a, &lda, x, &incx, beta, c + j * ldc, &one);
    }
  }
}

}  // namespace gemm
QOR_ISA_END
