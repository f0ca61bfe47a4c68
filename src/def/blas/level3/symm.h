// Products with a symmetric or Hermitian matrix: symm and hemm, all types.
// C = alpha A B + beta C (left) or alpha B A + beta C (right), A m x m or
// n x n with one triangle stored.
//
// The product is one GEMM per depth block of 256: the block column of the
// full A (left; the block row, right) is expanded from the stored triangle
// into a dense panel (plain code, O(order * 256) per block), and GEMM adds
// its product to C, beta applied by the first. So C is swept once per depth
// block and B is packed once, as in a general product.
//
// Without room for the panel, A is cut into square blocks instead. The
// blocks off the diagonal are stored whole, in the triangle given or
// mirrored from the other, so each block row (left) or block column (right)
// of C is three GEMM calls: the blocks before the diagonal, the diagonal
// block and the blocks after it. The diagonal block is expanded into a
// full square; without a work square it is multiplied by plain loops.
#pragma once
#include <cstdint>

#include "blas/level3/elem.h"
#include "blas/level3/gemm_ops.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace l3 {

template <class T>
struct SymmBlocks {
  static constexpr i64 nb = 256;
};

// Full A(i, j) of a symmetric or Hermitian A stored in one triangle. The
// Hermitian diagonal is taken as real.
template <class T>
inline T sym_elem(bool lower, bool herm, const T* a, i64 lda, i64 i, i64 j) {
  if (i == j) return herm ? T(re(a[i + i * lda])) : a[i + i * lda];
  const bool stored = lower ? i > j : i < j;
  return stored ? a[i + j * lda] : conj_if(a[j + i * lda], herm);
}

// Block column p0..p0+w of the full A, ka x w, into `panel` (leading
// dimension ka); for the right side its transpose's mirror, the block row
// p0..p0+w, w x ka (leading dimension w). Each element comes from the
// stored triangle: in place at or below the diagonal of a lower A, or
// mirrored (conjugated if Hermitian) from across it.
template <class T>
void expand_block(bool left, bool lower, bool herm, i64 ka, i64 p0, i64 w, const T* a, i64 lda, T* panel) {
  if (left) {
    for (i64 j = 0; j < w; ++j) {
      const i64 col = p0 + j;
      T* dst = panel + j * ka;
      // Rows before the diagonal: stored above it (upper) or across it.
      for (i64 i = 0; i < col; ++i) dst[i] = lower ? conj_if(a[col + i * lda], herm) : a[i + col * lda];
      dst[col] = herm ? T(re(a[col + col * lda])) : a[col + col * lda];
      for (i64 i = col + 1; i < ka; ++i) dst[i] = lower ? a[i + col * lda] : conj_if(a[col + i * lda], herm);
    }
    return;
  }
  for (i64 j = 0; j < ka; ++j) {
    T* dst = panel + j * w;
    for (i64 i = 0; i < w; ++i) dst[i] = sym_elem(lower, herm, a, lda, p0 + i, j);
  }
}

template <class T>
void symm_blocks(bool left, bool lower, bool herm, i64 m, i64 n, T alpha, const T* a, i64 lda, const T* b, i64 ldb,
                 T beta, T* c, i64 ldc);

template <class T>
void symm(bool left, bool lower, bool herm, i64 m, i64 n, T alpha, const T* a, i64 lda, const T* b, i64 ldb,
          T beta, T* c, i64 ldc) {
  if (m <= 0 || n <= 0) return;
  if (is_zero(alpha)) {
    scale(m, n, beta, c, ldc);
    return;
  }
  const i64 ka = left ? m : n;  // order of A
  const i64 nb = SymmBlocks<T>::nb;
  const i64 wmax = ka < nb ? ka : nb;
  T* panel = static_cast<T*>(qor_serv_allocate(static_cast<std::int64_t>(sizeof(T)) * ka * wmax, 128));
  if (panel != nullptr) {
    for (i64 p0 = 0; p0 < ka; p0 += nb) {
      const i64 w = ka - p0 < nb ? ka - p0 : nb;
      const T beta_p = p0 == 0 ? beta : T(1);
      expand_block(left, lower, herm, ka, p0, w, a, lda, panel);
      if (left) {
        gemm<T>(kNoTrans, kNoTrans, m, n, w, alpha, panel, ka, b + p0, ldb, beta_p, c, ldc);
      } else {
        gemm<T>(kNoTrans, kNoTrans, m, n, w, alpha, b + p0 * ldb, ldb, panel, w, beta_p, c, ldc);
      }
    }
    qor_serv_deallocate(panel);
    return;
  }
  symm_blocks<T>(left, lower, herm, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The product without the panel: square blocks, as described above.
template <class T>
void symm_blocks(bool left, bool lower, bool herm, i64 m, i64 n, T alpha, const T* a, i64 lda, const T* b, i64 ldb,
                 T beta, T* c, i64 ldc) {
  const i64 ka = left ? m : n;  // order of A
  const i64 nb = SymmBlocks<T>::nb;
  const i64 wmax = ka < nb ? ka : nb;
  T* d = static_cast<T*>(qor_serv_allocate(static_cast<std::int64_t>(sizeof(T)) * wmax * wmax, 128));
  // Text for a block stored in the other triangle: mirrored, conjugated if
  // Hermitian.
  const char* mirror = op_text(true, herm);
  for (i64 p0 = 0; p0 < ka; p0 += nb) {
    const i64 w = ka - p0 < nb ? ka - p0 : nb, p1 = p0 + w;
    // Blocks of A in block row p (left) or block column p (right): before
    // the diagonal, 0..p0, and after it, p1..ka. A(p, before) lies in the
    // stored lower triangle as A(p0.., 0..); in the upper one it is the
    // mirror of A(0.., p0..). And so on.
    T* cp = left ? c + p0 : c + p0 * ldc;
    if (d != nullptr) {
      for (i64 j = 0; j < w; ++j)
        for (i64 i = 0; i < w; ++i) d[i + j * w] = sym_elem(lower, herm, a + p0 + p0 * lda, lda, i, j);
      if (left) {
        gemm<T>(kNoTrans, kNoTrans, w, n, w, alpha, d, w, b + p0, ldb, beta, cp, ldc);
      } else {
        gemm<T>(kNoTrans, kNoTrans, m, w, w, alpha, b + p0 * ldb, ldb, d, w, beta, cp, ldc);
      }
    } else {
      // C(p) = beta C(p) + alpha A(p, p) B(p) (left) or alpha B(p) A(p, p).
      const i64 rows = left ? w : m, cols = left ? n : w;
      for (i64 j = 0; j < cols; ++j)
        for (i64 i = 0; i < rows; ++i) {
          T s(0);
          if (left) {
            for (i64 q = 0; q < w; ++q) s += mul(sym_elem(lower, herm, a + p0 + p0 * lda, lda, i, q), b[p0 + q + j * ldb]);
          } else {
            for (i64 q = 0; q < w; ++q) s += mul(b[i + (p0 + q) * ldb], sym_elem(lower, herm, a + p0 + p0 * lda, lda, q, j));
          }
          T& cij = cp[i + j * ldc];
          cij = (is_zero(beta) ? T(0) : mul(beta, cij)) + mul(alpha, s);
        }
    }
    if (p0 > 0) {  // the blocks before the diagonal
      if (left) {
        // A(p0:p1, 0:p0): lower stores it; upper stores A(0:p0, p0:p1).
        if (lower) {
          gemm<T>(kNoTrans, kNoTrans, w, n, p0, alpha, a + p0, lda, b, ldb, T(1), cp, ldc);
        } else {
          gemm<T>(mirror, kNoTrans, w, n, p0, alpha, a + p0 * lda, lda, b, ldb, T(1), cp, ldc);
        }
      } else {
        // A(0:p0, p0:p1): upper stores it; lower stores A(p0:p1, 0:p0).
        if (lower) {
          gemm<T>(kNoTrans, mirror, m, w, p0, alpha, b, ldb, a + p0, lda, T(1), cp, ldc);
        } else {
          gemm<T>(kNoTrans, kNoTrans, m, w, p0, alpha, b, ldb, a + p0 * lda, lda, T(1), cp, ldc);
        }
      }
    }
    if (p1 < ka) {  // the blocks after it
      const i64 rest = ka - p1;
      if (left) {
        // A(p0:p1, p1:ka): upper stores it; lower stores A(p1:ka, p0:p1).
        if (lower) {
          gemm<T>(mirror, kNoTrans, w, n, rest, alpha, a + p1 + p0 * lda, lda, b + p1, ldb, T(1), cp, ldc);
        } else {
          gemm<T>(kNoTrans, kNoTrans, w, n, rest, alpha, a + p0 + p1 * lda, lda, b + p1, ldb, T(1), cp, ldc);
        }
      } else {
        // A(p1:ka, p0:p1): lower stores it; upper stores A(p0:p1, p1:ka).
        if (lower) {
          gemm<T>(kNoTrans, kNoTrans, m, w, rest, alpha, b + p1 * ldb, ldb, a + p1 + p0 * lda, lda, T(1), cp, ldc);
        } else {
          gemm<T>(kNoTrans, mirror, m, w, rest, alpha, b + p1 * ldb, ldb, a + p0 + p1 * lda, lda, T(1), cp, ldc);
        }
      }
    }
  }
  if (d != nullptr) qor_serv_deallocate(d);
}

}  // namespace l3
QOR_ISA_END
