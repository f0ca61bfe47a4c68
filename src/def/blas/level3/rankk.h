// Updates of one triangle of C by matrix products: syrk, herk, syr2k,
// her2k and gemmt (the triangle of a general product), all types.
//
// C is halved recursively: each off-diagonal block is a plain rectangle of
// the product and goes to GEMM; a diagonal block small enough is computed
// whole by GEMM into a work square and its triangle merged into C. Only
// that merge, O(n * leaf), is plain code. Without a work square (allocation
// refused) the diagonal blocks are summed by plain loops.
#pragma once
#include <cstdint>

#include "blas/level3/elem.h"
#include "blas/level3/gemm_ops.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace l3 {

// One product term alpha op(X) op(Y): op(X) is n x k, op(Y) is k x n.
template <class T>
struct Term {
  T alpha;
  const T* x;
  i64 ldx;
  bool xt, xc;  // op(X) transposed, conjugated
  const T* y;
  i64 ldy;
  bool yt, yc;
  // Rows r.. of op(X) and columns c.. of op(Y), as pointers.
  const T* xrows(i64 r) const { return xt ? x + r * ldx : x + r; }
  const T* ycols(i64 c) const { return yt ? y + c : y + c * ldy; }
  T xe(i64 i, i64 p) const { return xt ? conj_if(x[p + i * ldx], xc) : x[i + p * ldx]; }
  T ye(i64 p, i64 j) const { return yt ? conj_if(y[j + p * ldy], yc) : y[p + j * ldy]; }
};

template <class T>
struct TriUpdate {
  bool lower;
  i64 k;
  const Term<T>* terms;
  int nterms;
  T beta;
  bool herm;  // Hermitian result: the diagonal is real
  T* c;
  i64 ldc;
  T* work;  // leaf x leaf, or null
  static constexpr i64 leaf = 96;

  // C(r0:r0+rows, c0:c0+cols) = sum of the terms + beta C, a rectangle.
  void rect(i64 r0, i64 rows, i64 c0, i64 cols) const {
    for (int t = 0; t < nterms; ++t) {
      const Term<T>& tm = terms[t];
      gemm<T>(op_text(tm.xt, tm.xc), op_text(tm.yt, tm.yc), rows, cols, k, tm.alpha, tm.xrows(r0), tm.ldx,
              tm.ycols(c0), tm.ldy, t == 0 ? beta : T(1), c + r0 + c0 * ldc, ldc);
    }
  }

  bool inside(i64 i, i64 j) const { return lower ? i >= j : i <= j; }

  // The triangle of the diagonal block at j0, w wide.
  void diag_block(i64 j0, i64 w) const {
    T* cd = c + j0 + j0 * ldc;
    if (work != nullptr) {
      for (int t = 0; t < nterms; ++t) {
        const Term<T>& tm = terms[t];
        gemm<T>(op_text(tm.xt, tm.xc), op_text(tm.yt, tm.yc), w, w, k, tm.alpha, tm.xrows(j0), tm.ldx,
                tm.ycols(j0), tm.ldy, t == 0 ? T(0) : T(1), work, w);
      }
    }
    for (i64 j = 0; j < w; ++j) {
      const i64 i0 = lower ? j : 0, i1 = lower ? w : j + 1;
      for (i64 i = i0; i < i1; ++i) {
        T s(0);
        if (work != nullptr) {
          s = work[i + j * w];
        } else {
          for (int t = 0; t < nterms; ++t) {
            const Term<T>& tm = terms[t];
            T p(0);
            for (i64 q = 0; q < k; ++q) p += mul(tm.xe(j0 + i, q), tm.ye(q, j0 + j));
            s += mul(tm.alpha, p);
          }
        }
        T& cij = cd[i + j * ldc];
        T v = is_zero(beta) ? s : mul(beta, cij) + s;
        if (herm && i == j) v = T(re(v));
        cij = v;
      }
    }
  }

  void run(i64 j0, i64 n) const {
    if (n <= leaf) {
      diag_block(j0, n);
      return;
    }
    i64 n1 = ((n / 2 + 15) / 16) * 16;
    if (n1 >= n) n1 = n / 2;
    const i64 n2 = n - n1;
    run(j0, n1);
    if (lower) {
      rect(j0 + n1, n2, j0, n1);
    } else {
      rect(j0, n1, j0 + n1, n2);
    }
    run(j0 + n1, n2);
  }
};

// The triangle of C (n x n) scaled by beta: zeros for beta 0 (C is not
// read), the real part kept on a Hermitian diagonal.
template <class T>
void scale_triangle(bool lower, i64 n, T beta, bool herm, T* c, i64 ldc) {
  for (i64 j = 0; j < n; ++j) {
    const i64 i0 = lower ? j : 0, i1 = lower ? n : j + 1;
    T* col = c + j * ldc;
    for (i64 i = i0; i < i1; ++i) {
      T v = is_zero(beta) ? T(0) : mul(beta, col[i]);
      if (herm && i == j) v = T(re(v));
      col[i] = v;
    }
  }
}

// The common driver: quick returns, then the recursion with a work square.
template <class T>
void tri_update(bool lower, i64 n, i64 k, const Term<T>* terms, int nterms, bool alpha_zero, T beta, bool herm,
                T* c, i64 ldc) {
  if (n <= 0) return;
  if (alpha_zero || k <= 0) {
    // Nothing is added; beta 1 leaves C as it is, a Hermitian diagonal too.
    if (is_one(beta)) return;
    scale_triangle(lower, n, beta, herm, c, ldc);
    return;
  }
  const i64 w = n < TriUpdate<T>::leaf ? n : TriUpdate<T>::leaf;
  T* work = static_cast<T*>(qor_serv_allocate(static_cast<std::int64_t>(sizeof(T)) * w * w, 128));
  TriUpdate<T> u{lower, k, terms, nterms, beta, herm, c, ldc, work};
  u.run(0, n);
  if (work != nullptr) qor_serv_deallocate(work);
}

// syrk / herk: C = alpha op(A) op(A)^T + beta C, or with ^H. trans false:
// A is n x k; true: A is k x n.
template <class T>
void syrk(bool lower, bool trans, bool herm, i64 n, i64 k, T alpha, const T* a, i64 lda, T beta, T* c, i64 ldc) {
  const Term<T> t{alpha, a, lda, trans, trans && herm, a, lda, !trans, !trans && herm};
  tri_update<T>(lower, n, k, &t, 1, is_zero(alpha), beta, herm, c, ldc);
}

// syr2k / her2k: C = alpha op(A) op(B)^T + alpha' op(B) op(A)^T + beta C,
// alpha' = alpha (symmetric) or conj(alpha) (Hermitian, with ^H).
template <class T>
void syr2k(bool lower, bool trans, bool herm, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb,
           T beta, T* c, i64 ldc) {
  const T alpha2 = herm ? conj(alpha) : alpha;
  const Term<T> t[2] = {{alpha, a, lda, trans, trans && herm, b, ldb, !trans, !trans && herm},
                        {alpha2, b, ldb, trans, trans && herm, a, lda, !trans, !trans && herm}};
  tri_update<T>(lower, n, k, t, 2, is_zero(alpha), beta, herm, c, ldc);
}

// gemmt: the triangle of C = alpha op(A) op(B) + beta C, C n x n.
template <class T>
void gemmt(bool lower, bool ta, bool ca, bool tb, bool cb, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b,
           i64 ldb, T beta, T* c, i64 ldc) {
  const Term<T> t{alpha, a, lda, ta, ca, b, ldb, tb, cb};
  tri_update<T>(lower, n, k, &t, 1, is_zero(alpha), beta, false, c, ldc);
}

}  // namespace l3
QOR_ISA_END
