// Triangular products and solves: trmv, trsv on full storage, tpmv, tpsv
// on packed storage, tbmv, tbsv on band storage.
//
// trmv to tpsv work in diagonal blocks of 128: each block's slice of x is
// taken onto the stack, the triangle of the block is applied there by
// plain loops, and the rectangle that links the block to the part of x
// already final (solves) or not yet changed (products) goes through the
// gemv kernels (gpmv in packed storage). So the whole matrix is read once,
// by the fast kernels, and no memory is needed beyond the stack when x is
// contiguous. A strided x is first made contiguous by the usual rule; if no
// block can be had the same blocked walk runs on the strided x.
#include "blas/level2/api.h"
#include "blas/level2/gemv_entry.h"
#include "blas/level2/layout.h"

namespace l2 = qor::QOR_ISA_NAME::l2;
namespace l2c = qor::QOR_ISA_NAME::l2c;
using l2::i64;

namespace {

// The operation letter after folding: 'N', 'T', or 'C' (complex only; a
// real 'C' is 'T', as is every letter but 'N').
template <class T>
inline char op_of(const char* trans) {
  const char f = qor::fold(trans);
  if (f == 'N') return 'N';
  return qor::is_complex_v<T> && f == 'C' ? 'C' : 'T';
}
inline bool lower_of(const char* uplo) { return qor::fold(uplo) != 'U'; }
inline bool unit_of(const char* diag) { return qor::fold(diag) == 'U'; }

template <bool Conj, class T>
inline T el(const T* colp, i64 i) {
  return l2c::conj_if<Conj>(colp[i]);
}

// ---- the triangle of one diagonal block, on a contiguous x of nb ------------

template <class T, bool Lower, bool Trans, bool Conj, class Lay>
void tri_mv(bool unit, i64 nb, Lay lay, T* x) {
  if (!Trans) {
    // Columns in the order that leaves each x[j] unchanged until used.
    for (i64 s = 0; s < nb; ++s) {
      const i64 j = Lower ? nb - 1 - s : s;
      const T* cp = lay.at(0, j);
      const T xj = x[j];
      // A zero x[j] leaves column j unread, its diagonal included.
      if (!l2c::is_zero(xj)) {
        if (Lower) {
          for (i64 i = j + 1; i < nb; ++i) x[i] += l2c::mul(xj, cp[i]);
        } else {
          for (i64 i = 0; i < j; ++i) x[i] += l2c::mul(xj, cp[i]);
        }
        if (!unit) x[j] = l2c::mul(xj, cp[j]);
      }
    }
  } else {
    for (i64 s = 0; s < nb; ++s) {
      const i64 j = Lower ? s : nb - 1 - s;
      const T* cp = lay.at(0, j);
      T v = unit ? x[j] : l2c::mul(el<Conj>(cp, j), x[j]);
      if (Lower) {
        for (i64 i = j + 1; i < nb; ++i) v += l2c::mul(el<Conj>(cp, i), x[i]);
      } else {
        for (i64 i = 0; i < j; ++i) v += l2c::mul(el<Conj>(cp, i), x[i]);
      }
      x[j] = v;
    }
  }
}

template <class T, bool Lower, bool Trans, bool Conj, class Lay>
void tri_sv(bool unit, i64 nb, Lay lay, T* x) {
  if (!Trans) {
    // Forward for lower, backward for upper, column by column.
    for (i64 s = 0; s < nb; ++s) {
      const i64 j = Lower ? s : nb - 1 - s;
      const T* cp = lay.at(0, j);
      if (l2c::is_zero(x[j])) continue;
      if (!unit) x[j] /= cp[j];
      const T xj = x[j];
      if (Lower) {
        for (i64 i = j + 1; i < nb; ++i) x[i] -= l2c::mul(xj, cp[i]);
      } else {
        for (i64 i = 0; i < j; ++i) x[i] -= l2c::mul(xj, cp[i]);
      }
    }
  } else {
    for (i64 s = 0; s < nb; ++s) {
      const i64 j = Lower ? nb - 1 - s : s;
      const T* cp = lay.at(0, j);
      T v = x[j];
      if (Lower) {
        for (i64 i = j + 1; i < nb; ++i) v -= l2c::mul(el<Conj>(cp, i), x[i]);
      } else {
        for (i64 i = 0; i < j; ++i) v -= l2c::mul(el<Conj>(cp, i), x[i]);
      }
      x[j] = unit ? v : v / el<Conj>(cp, j);
    }
  }
}

// ---- the blocked walk ------------------------------------------------------------

// buf += factor * A[r0 : r0+nb, c0 : c1] * x[c0 : c1]. A zero x[j] leaves
// column j unread, as in the triangle above, so a NaN or infinity stored
// there does not reach the result: the columns go to the gemv kernels in
// runs whose x is not zero (one run when x holds no zero).
template <class T, class Lay>
void rect_mv(i64 nb, i64 r0, i64 c0, i64 c1, T factor, Lay lay, const T* x, i64 incx, T* buf) {
  for (i64 j = c0; j < c1;) {
    while (j < c1 && l2c::is_zero(x[j * incx])) ++j;
    i64 k = j;
    while (k < c1 && !l2c::is_zero(x[k * incx])) ++k;
    if (k > j) l2::gemv_acc<T, T>('N', nb, k - j, factor, lay.at(r0, j), lay.cols(j), x + j * incx, incx, buf, 1);
    j = k;
  }
}

// x := op(A) x (Solve false) or x := op(A)^-1 x (Solve true), x at its
// first logical element with stride incx.
template <class T, bool Solve, bool Lower, char Op, class Lay>
void tr_blocked(bool unit, i64 n, Lay lay, T* x, i64 incx) {
  if (n < 1) return;
  constexpr bool Trans = Op != 'N';
  constexpr bool Conj = Op == 'C';
  const T factor = Solve ? T(-1) : T(1);
  l2c::Stack<T> stack;
  T* buf = stack.get();
  const i64 nblocks = (n + l2c::kSlice - 1) / l2c::kSlice;
  // Products walk away from the part of x they read, solves towards the
  // part they have finished: lower no-transpose products and lower
  // transposed solves go bottom up, and so on.
  const bool up = (Lower != Trans) != Solve;
  for (i64 s = 0; s < nblocks; ++s) {
    const i64 b = up ? nblocks - 1 - s : s;
    const i64 r0 = b * l2c::kSlice;
    const i64 r1 = r0 + l2c::kSlice < n ? r0 + l2c::kSlice : n;
    const i64 nb = r1 - r0;
    l2c::gather(nb, x + r0 * incx, incx, buf);
    if (!Solve) tri_mv<T, Lower, Trans, Conj>(unit, nb, lay.sub(r0), buf);
    // The rectangle between this block and the rest of x.
    if (!Trans) {
      if (Lower && r0 > 0) {
        rect_mv<T>(nb, r0, 0, r0, factor, lay, x, incx, buf);
      } else if (!Lower && r1 < n) {
        rect_mv<T>(nb, r0, r1, n, factor, lay, x, incx, buf);
      }
    } else {
      if (Lower && r1 < n) {
        l2::gemv_acc<T, T>(Op, n - r1, nb, factor, lay.at(r1, r0), lay.cols(r0), x + r1 * incx, incx, buf, 1);
      } else if (!Lower && r0 > 0) {
        l2::gemv_acc<T, T>(Op, r0, nb, factor, lay.at(0, r0), lay.cols(r0), x, incx, buf, 1);
      }
    }
    if (Solve) tri_sv<T, Lower, Trans, Conj>(unit, nb, lay.sub(r0), buf);
    l2c::scatter(nb, buf, x + r0 * incx, incx);
  }
}

template <class T, bool Solve, class Lay>
void tr_kernel_for(bool lower, char op, bool unit, i64 n, Lay lay, T* x, i64 incx) {
  if (lower) {
    if (op == 'N') {
      tr_blocked<T, Solve, true, 'N'>(unit, n, lay, x, incx);
    } else if (op == 'T') {
      tr_blocked<T, Solve, true, 'T'>(unit, n, lay, x, incx);
    } else {
      tr_blocked<T, Solve, true, 'C'>(unit, n, lay, x, incx);
    }
  } else {
    if (op == 'N') {
      tr_blocked<T, Solve, false, 'N'>(unit, n, lay, x, incx);
    } else if (op == 'T') {
      tr_blocked<T, Solve, false, 'T'>(unit, n, lay, x, incx);
    } else {
      tr_blocked<T, Solve, false, 'C'>(unit, n, lay, x, incx);
    }
  }
}

// The entry: quick return, negative stride, a contiguous copy of x by the
// usual rule, else the blocked walk on the strided x.
template <class T, bool Solve, class Lay>
void tr_entry(bool lower, char op, bool unit, i64 n, Lay lay, T* x, i64 incx) {
  if (n < 1) return;
  x = l2c::first(x, n, incx);
  if (incx != 1) {
    l2c::Stack<T> stack;
    l2c::Work<T> work(n, stack.get());
    if (work.ok()) {
      l2c::gather(n, x, incx, work.get());
      tr_kernel_for<T, Solve>(lower, op, unit, n, lay, work.get(), 1);
      l2c::scatter(n, work.get(), x, incx);
      return;
    }
  }
  tr_kernel_for<T, Solve>(lower, op, unit, n, lay, x, incx);
}

template <class T>
l2::LayGe<const T*> full(const T* a, i64 lda) {
  return {a, lda};
}

template <class T, bool Solve>
void tp_entry(bool lower, char op, bool unit, i64 n, const T* ap, T* x, i64 incx) {
  if (lower) {
    tr_entry<T, Solve>(true, op, unit, n, l2::LayPl<const T*>{ap, n}, x, incx);
  } else {
    tr_entry<T, Solve>(false, op, unit, n, l2::LayPu<const T*>{ap, 0}, x, incx);
  }
}

template <class T, bool Solve>
void tp_kernel(bool lower, char op, bool unit, i64 n, const T* ap, T* x) {
  if (lower) {
    tr_kernel_for<T, Solve>(true, op, unit, n, l2::LayPl<const T*>{ap, n}, x, 1);
  } else {
    tr_kernel_for<T, Solve>(false, op, unit, n, l2::LayPu<const T*>{ap, 0}, x, 1);
  }
}

// ---- band ------------------------------------------------------------------------

// Band storage: upper, element (i, j) for j-k <= i <= j at a[k + i - j + j*lda];
// lower, j <= i <= j+k at a[i - j + j*lda]. Plain loops on any stride, in the
// column order of each case; x at its first logical element.
template <class T, bool Solve>
void tb_kernel(bool lower, char op, bool unit, i64 n, i64 k, const T* a, i64 lda, T* x, i64 incx) {
  if (n < 1) return;
  const bool conj = qor::is_complex_v<T> && op == 'C';
  auto A = [&](i64 i, i64 j) -> T {
    T v = a[(lower ? 0 : k) + i - j + j * lda];
    return conj ? l2c::conj(v) : v;
  };
  auto X = [&](i64 i) -> T& { return x[i * incx]; };
  auto lo = [&](i64 j) { return lower ? j + 1 : (j - k > 0 ? j - k : 0); };
  auto hi = [&](i64 j) { return lower ? (j + k + 1 < n ? j + k + 1 : n) : j; };
  if (op == 'N') {
    // Products: lower bottom up, upper top down; solves the other way.
    const bool up = lower != Solve;
    for (i64 s = 0; s < n; ++s) {
      const i64 j = up ? n - 1 - s : s;
      if (!Solve) {
        const T xj = X(j);
        if (!l2c::is_zero(xj)) {
          for (i64 i = lo(j); i < hi(j); ++i) X(i) += l2c::mul(xj, A(i, j));
          if (!unit) X(j) = l2c::mul(xj, A(j, j));
        }
      } else {
        if (l2c::is_zero(X(j))) continue;
        if (!unit) X(j) /= A(j, j);
        const T xj = X(j);
        for (i64 i = lo(j); i < hi(j); ++i) X(i) -= l2c::mul(xj, A(i, j));
      }
    }
  } else {
    const bool up = lower == Solve;
    for (i64 s = 0; s < n; ++s) {
      const i64 j = up ? n - 1 - s : s;
      if (!Solve) {
        T v = unit ? X(j) : l2c::mul(A(j, j), X(j));
        for (i64 i = lo(j); i < hi(j); ++i) v += l2c::mul(A(i, j), X(i));
        X(j) = v;
      } else {
        T v = X(j);
        for (i64 i = lo(j); i < hi(j); ++i) v -= l2c::mul(A(i, j), X(i));
        X(j) = unit ? v : v / A(j, j);
      }
    }
  }
}

template <class T, bool Solve>
void tb_entry(bool lower, char op, bool unit, i64 n, i64 k, const T* a, i64 lda, T* x, i64 incx) {
  if (n < 1) return;
  tb_kernel<T, Solve>(lower, op, unit, n, k, a, lda, l2c::first(x, n, incx), incx);
}

}  // namespace

#define QOR_L2_TRK_DEF(t, T, sfx, lo, op)                                                                     \
  QOR_L2_DEF(qor_blas_def_x##t##trmv_kernel_##sfx, (const char* diag, QOR_L2_I n, const T* a,            \
                                                        QOR_L2_I lda, T* x), (diag, n, a, lda, x)) {                                \
    tr_kernel_for<T, false>(lo, op, unit_of(diag), *n, full(a, *lda), x, 1);                                  \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##trsv_kernel_##sfx, (const char* diag, QOR_L2_I n, const T* a,            \
                                                        QOR_L2_I lda, T* x), (diag, n, a, lda, x)) {                                \
    tr_kernel_for<T, true>(lo, op, unit_of(diag), *n, full(a, *lda), x, 1);                                   \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tpmv_kernel_##sfx, (const char* diag, QOR_L2_I n, const T* ap, T* x), (diag, n, ap, x)) {   \
    tp_kernel<T, false>(lo, op, unit_of(diag), *n, ap, x);                                                    \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tpsv_kernel_##sfx, (const char* diag, QOR_L2_I n, const T* ap, T* x), (diag, n, ap, x)) {   \
    tp_kernel<T, true>(lo, op, unit_of(diag), *n, ap, x);                                                     \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tbmv_kernel_##sfx, (const char* diag, QOR_L2_I n, QOR_L2_I k,            \
                                                        const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx), (diag, n, k, a, lda, x, incx)) {     \
    tb_kernel<T, false>(lo, op, unit_of(diag), *n, *k, a, *lda, x, *incx);                                    \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tbsv_kernel_##sfx, (const char* diag, QOR_L2_I n, QOR_L2_I k,            \
                                                        const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx), (diag, n, k, a, lda, x, incx)) {     \
    tb_kernel<T, true>(lo, op, unit_of(diag), *n, *k, a, *lda, x, *incx);                                     \
  }

#define QOR_L2_TR_DEF(t, T)                                                                                   \
  QOR_L2_DEF(qor_blas_def_x##t##trmv, (const char* uplo, const char* trans, const char* diag, QOR_L2_I n, \
                                           const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx), (uplo, trans, diag, n, a, lda, x, incx)) {                  \
    tr_entry<T, false>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, full(a, *lda), x, *incx);          \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##trmv_kernel, (const char* uplo, const char* trans, const char* diag,     \
                                                  QOR_L2_I n, const T* a, QOR_L2_I lda, T* x), (uplo, trans, diag, n, a, lda, x)) {              \
    tr_kernel_for<T, false>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, full(a, *lda), x, 1);         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##trsv, (const char* uplo, const char* trans, const char* diag, QOR_L2_I n, \
                                           const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx), (uplo, trans, diag, n, a, lda, x, incx)) {                  \
    tr_entry<T, true>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, full(a, *lda), x, *incx);           \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##trsv_kernel, (const char* uplo, const char* trans, const char* diag,     \
                                                  QOR_L2_I n, const T* a, QOR_L2_I lda, T* x), (uplo, trans, diag, n, a, lda, x)) {              \
    tr_kernel_for<T, true>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, full(a, *lda), x, 1);          \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tpmv, (const char* uplo, const char* trans, const char* diag, QOR_L2_I n, \
                                           const T* ap, T* x, QOR_L2_I incx), (uplo, trans, diag, n, ap, x, incx)) {                               \
    tp_entry<T, false>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, ap, x, *incx);                     \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tpmv_kernel, (const char* uplo, const char* trans, const char* diag,     \
                                                  QOR_L2_I n, const T* ap, T* x), (uplo, trans, diag, n, ap, x)) {                           \
    tp_kernel<T, false>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, ap, x);                           \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tpsv, (const char* uplo, const char* trans, const char* diag, QOR_L2_I n, \
                                           const T* ap, T* x, QOR_L2_I incx), (uplo, trans, diag, n, ap, x, incx)) {                               \
    tp_entry<T, true>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, ap, x, *incx);                      \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tpsv_kernel, (const char* uplo, const char* trans, const char* diag,     \
                                                  QOR_L2_I n, const T* ap, T* x), (uplo, trans, diag, n, ap, x)) {                           \
    tp_kernel<T, true>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, ap, x);                            \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tbmv, (const char* uplo, const char* trans, const char* diag, QOR_L2_I n, \
                                           QOR_L2_I k, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx), (uplo, trans, diag, n, k, a, lda, x, incx)) {      \
    tb_entry<T, false>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, *k, a, *lda, x, *incx);            \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tbmv_kernel, (const char* uplo, const char* trans, const char* diag,     \
                                                  QOR_L2_I n, QOR_L2_I k, const T* a, QOR_L2_I lda, T* x,    \
                                                  QOR_L2_I incx), (uplo, trans, diag, n, k, a, lda, x, incx)) {                                           \
    tb_kernel<T, false>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, *k, a, *lda, x, *incx);           \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tbsv, (const char* uplo, const char* trans, const char* diag, QOR_L2_I n, \
                                           QOR_L2_I k, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx), (uplo, trans, diag, n, k, a, lda, x, incx)) {      \
    tb_entry<T, true>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, *k, a, *lda, x, *incx);             \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##tbsv_kernel, (const char* uplo, const char* trans, const char* diag,     \
                                                  QOR_L2_I n, QOR_L2_I k, const T* a, QOR_L2_I lda, T* x,    \
                                                  QOR_L2_I incx), (uplo, trans, diag, n, k, a, lda, x, incx)) {                                           \
    tb_kernel<T, true>(lower_of(uplo), op_of<T>(trans), unit_of(diag), *n, *k, a, *lda, x, *incx);            \
  }                                                                                                           \
  QOR_L2_TRK_DEF(t, T, ln, true, 'N')                                                                         \
  QOR_L2_TRK_DEF(t, T, lt, true, 'T')                                                                         \
  QOR_L2_TRK_DEF(t, T, un, false, 'N')                                                                        \
  QOR_L2_TRK_DEF(t, T, ut, false, 'T')
QOR_FOR_EACH_TYPE(QOR_L2_TR_DEF)
#define QOR_L2_TR_C_DEF(t, T) QOR_L2_TRK_DEF(t, T, lc, true, 'C') QOR_L2_TRK_DEF(t, T, uc, false, 'C')
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_TR_C_DEF)
