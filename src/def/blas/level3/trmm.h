// Triangular product in place, all types: B = alpha op(A) B (left) or
// B = alpha B op(A) (right), A triangular.
//
// The triangle is halved recursively. Of the two halves, the one whose new
// value needs the other's old value is done first: it is multiplied by its
// own diagonal block (recursion) and then receives the off-diagonal block
// times the other half through GEMM. A leaf, a triangle of at most 64, is
// also a GEMM call: the triangle is copied into a dense square with zeros
// in the other half, B's slab into a work copy, and the product written
// back over B. That doubles the leaf's arithmetic but runs it at GEMM speed;
// plain loops would cost more than all the off-diagonal blocks together. If
// the work area is refused, the leaves are plain loops.
#pragma once
#include <cstdint>

#include "blas/level3/elem.h"
#include "blas/level3/gemm_ops.h"
#include "blas/level3/trsm.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace l3 {

inline constexpr i64 kTrmmLeaf = 64;
// Columns (left) or rows (right) of B copied at a time by a GEMM leaf.
inline constexpr i64 kTrmmSlab = 256;

// The leaf: B(0:m, 0:n) = op(A) B or B op(A) for the whole small triangle,
// in place, with no scaling.
template <class T>
void trmm_leaf(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  auto D = [&](i64 i) { return t.unit ? T(1) : conj_if(a[i + i * lda], t.conj); };
  if (t.left) {
    for (i64 j = 0; j < n; ++j) {
      T* x = b + j * ldb;
      if (!t.trans && t.lower) {
        // x_i = sum_{k <= i} A(i, k) x_k: columns of A from the last.
        for (i64 k = m - 1; k >= 0; --k) {
          const T xk = x[k];
          const T* col = a + k * lda;
          for (i64 i = k + 1; i < m; ++i) x[i] += mul(xk, col[i]);
          x[k] = mul(D(k), xk);
        }
      } else if (!t.trans) {
        for (i64 k = 0; k < m; ++k) {
          const T xk = x[k];
          const T* col = a + k * lda;
          for (i64 i = 0; i < k; ++i) x[i] += mul(xk, col[i]);
          x[k] = mul(D(k), xk);
        }
      } else if (t.lower) {
        // op(A) upper: x_i = D_i x_i + sum_{k > i} op(A(k, i)) x_k, from the top.
        for (i64 i = 0; i < m; ++i) x[i] = mul(D(i), x[i]) + dot(m - i - 1, a + (i + 1) + i * lda, x + i + 1, t.conj);
      } else {
        for (i64 i = m - 1; i >= 0; --i) x[i] = mul(D(i), x[i]) + dot(i, a + i * lda, x, t.conj);
      }
    }
    return;
  }
  // Right: column j of the result is sum_k B(:, k) op(A)(k, j).
  const bool upper_op = t.lower == t.trans;
  auto coef = [&](i64 k, i64 j) { return t.trans ? conj_if(a[j + k * lda], t.conj) : a[k + j * lda]; };
  constexpr i64 strip = 512 / static_cast<i64>(sizeof(T));
  for (i64 r0 = 0; r0 < m; r0 += strip) {
    const i64 rows = min_i(strip, m - r0);
    for (i64 s = 0; s < n; ++s) {
      // op(A) upper: the last column first (it reads the earlier ones).
      const i64 j = upper_op ? n - 1 - s : s;
      T* bj = b + r0 + j * ldb;
      const T dj = D(j);
      if (!t.unit)
        for (i64 i = 0; i < rows; ++i) bj[i] = mul(dj, bj[i]);
      const i64 k0 = upper_op ? 0 : j + 1, k1 = upper_op ? j : n;
      for (i64 k = k0; k < k1; ++k) {
        const T cf = coef(k, j);
        if (is_zero(cf)) continue;
        const T* bk = b + r0 + k * ldb;
        for (i64 i = 0; i < rows; ++i) bj[i] += mul(cf, bk[i]);
      }
    }
  }
}

// The leaf through GEMM. `work` holds the dense s x s triangle, then the
// copy of B's slab, s by at most kTrmmSlab.
template <class T>
void trmm_leaf_gemm(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb, T* work) {
  const i64 s = t.left ? m : n;
  T* d = work;
  T* w = work + s * s;
  // The stored triangle as it is; GEMM applies the transposition or
  // conjugation to the whole square, the unit diagonal included.
  for (i64 j = 0; j < s; ++j)
    for (i64 i = 0; i < s; ++i) {
      const bool stored = t.lower ? i > j : i < j;
      d[i + j * s] = i == j ? (t.unit ? T(1) : a[i + i * lda]) : stored ? a[i + j * lda] : T(0);
    }
  const char* ta = op_text(t.trans, t.conj);
  if (t.left) {
    for (i64 j0 = 0; j0 < n; j0 += kTrmmSlab) {
      const i64 cols = min_i(kTrmmSlab, n - j0);
      for (i64 j = 0; j < cols; ++j)
        for (i64 i = 0; i < s; ++i) w[i + j * s] = b[i + (j0 + j) * ldb];
      gemm<T>(ta, kNoTrans, s, cols, s, T(1), d, s, w, s, T(0), b + j0 * ldb, ldb);
    }
  } else {
    for (i64 r0 = 0; r0 < m; r0 += kTrmmSlab) {
      const i64 rows = min_i(kTrmmSlab, m - r0);
      for (i64 j = 0; j < s; ++j)
        for (i64 i = 0; i < rows; ++i) w[i + j * rows] = b[r0 + i + j * ldb];
      gemm<T>(kNoTrans, ta, rows, s, s, T(1), w, rows, d, s, T(0), b + r0, ldb);
    }
  }
}

template <class T>
void trmm_rec(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb, T* work) {
  const i64 tri = t.left ? m : n;
  if (tri <= kTrmmLeaf) {
    if (work != nullptr) {
      trmm_leaf_gemm<T>(t, m, n, a, lda, b, ldb, work);
    } else {
      trmm_leaf<T>(t, m, n, a, lda, b, ldb);
    }
    return;
  }
  i64 h1 = ((tri / 2 + 15) / 16) * 16;
  if (h1 >= tri) h1 = tri / 2;
  const i64 h2 = tri - h1;
  const char* ta = op_text(t.trans, t.conj);
  const T* a11 = a;
  const T* a22 = a + h1 + h1 * lda;
  if (t.left) {
    T* b1 = b;
    T* b2 = b + h1;
    if (t.lower != t.trans) {  // op(A) lower: B2 = op(A22) B2 + op(A)21 B1 first
      trmm_rec<T>(t, h2, n, a22, lda, b2, ldb, work);
      gemm<T>(ta, kNoTrans, h2, n, h1, T(1), op_block(a, lda, t.trans, h1, 0), lda, b1, ldb, T(1), b2, ldb);
      trmm_rec<T>(t, h1, n, a11, lda, b1, ldb, work);
    } else {  // op(A) upper: B1 = op(A11) B1 + op(A)12 B2 first
      trmm_rec<T>(t, h1, n, a11, lda, b1, ldb, work);
      gemm<T>(ta, kNoTrans, h1, n, h2, T(1), op_block(a, lda, t.trans, 0, h1), lda, b2, ldb, T(1), b1, ldb);
      trmm_rec<T>(t, h2, n, a22, lda, b2, ldb, work);
    }
  } else {
    T* b1 = b;
    T* b2 = b + h1 * ldb;
    if (t.lower == t.trans) {  // op(A) upper: B2 = B2 op(A22) + B1 op(A)12 first
      trmm_rec<T>(t, m, h2, a22, lda, b2, ldb, work);
      gemm<T>(kNoTrans, ta, m, h2, h1, T(1), b1, ldb, op_block(a, lda, t.trans, 0, h1), lda, T(1), b2, ldb);
      trmm_rec<T>(t, m, h1, a11, lda, b1, ldb, work);
    } else {  // op(A) lower: B1 = B1 op(A11) + B2 op(A)21 first
      trmm_rec<T>(t, m, h1, a11, lda, b1, ldb, work);
      gemm<T>(kNoTrans, ta, m, h1, h2, T(1), b2, ldb, op_block(a, lda, t.trans, h1, 0), lda, T(1), b1, ldb);
      trmm_rec<T>(t, m, h2, a22, lda, b2, ldb, work);
    }
  }
}

template <class T>
void trmm(const Tri& t, i64 m, i64 n, T alpha, const T* a, i64 lda, T* b, i64 ldb) {
  if (m <= 0 || n <= 0) return;
  if (is_zero(alpha)) {
    clear(m, n, b, ldb);
    return;
  }
  scale(m, n, alpha, b, ldb);
  // Room for the largest leaf of this problem and its widest slab.
  const i64 leaf = min_i(t.left ? m : n, kTrmmLeaf), slab = min_i(t.left ? n : m, kTrmmSlab);
  const i64 elems = leaf * (leaf + slab);
  T* work = static_cast<T*>(qor_serv_allocate(static_cast<std::int64_t>(sizeof(T)) * elems, 128));
  trmm_rec<T>(t, m, n, a, lda, b, ldb, work);
  if (work != nullptr) qor_serv_deallocate(work);
}

}  // namespace l3
QOR_ISA_END
