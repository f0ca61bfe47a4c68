// Triangular product in place, all types: B = alpha op(A) B (left) or
// B = alpha B op(A) (right), A triangular.
//
// The triangle is halved recursively. Of the two halves, the one whose new
// value needs the other's old value is done first: it is multiplied by its
// own diagonal block (recursion) and then receives the off-diagonal block
// times the other half through GEMM. Leaves of at most 64 are plain loops.
#pragma once
#include <cstdint>

#include "blas/level3/elem.h"
#include "blas/level3/gemm_ops.h"
#include "blas/level3/trsm.h"

QOR_ISA_BEGIN
namespace l3 {

inline constexpr i64 kTrmmLeaf = 64;

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

template <class T>
void trmm_rec(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  const i64 tri = t.left ? m : n;
  if (tri <= kTrmmLeaf) {
    trmm_leaf<T>(t, m, n, a, lda, b, ldb);
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
      trmm_rec<T>(t, h2, n, a22, lda, b2, ldb);
      gemm<T>(ta, kNoTrans, h2, n, h1, T(1), op_block(a, lda, t.trans, h1, 0), lda, b1, ldb, T(1), b2, ldb);
      trmm_rec<T>(t, h1, n, a11, lda, b1, ldb);
    } else {  // op(A) upper: B1 = op(A11) B1 + op(A)12 B2 first
      trmm_rec<T>(t, h1, n, a11, lda, b1, ldb);
      gemm<T>(ta, kNoTrans, h1, n, h2, T(1), op_block(a, lda, t.trans, 0, h1), lda, b2, ldb, T(1), b1, ldb);
      trmm_rec<T>(t, h2, n, a22, lda, b2, ldb);
    }
  } else {
    T* b1 = b;
    T* b2 = b + h1 * ldb;
    if (t.lower == t.trans) {  // op(A) upper: B2 = B2 op(A22) + B1 op(A)12 first
      trmm_rec<T>(t, m, h2, a22, lda, b2, ldb);
      gemm<T>(kNoTrans, ta, m, h2, h1, T(1), b1, ldb, op_block(a, lda, t.trans, 0, h1), lda, T(1), b2, ldb);
      trmm_rec<T>(t, m, h1, a11, lda, b1, ldb);
    } else {  // op(A) lower: B1 = B1 op(A11) + B2 op(A)21 first
      trmm_rec<T>(t, m, h1, a11, lda, b1, ldb);
      gemm<T>(kNoTrans, ta, m, h1, h2, T(1), b2, ldb, op_block(a, lda, t.trans, h1, 0), lda, T(1), b1, ldb);
      trmm_rec<T>(t, m, h2, a22, lda, b2, ldb);
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
  trmm_rec<T>(t, m, n, a, lda, b, ldb);
}

}  // namespace l3
QOR_ISA_END
