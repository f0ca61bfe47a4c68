// The CBLAS Level 2 interface: int names (cblas_dgemv) and int64_t twins
// (cblas_dgemv_64). Arguments are tested in C order and the first bad one is
// reported through cblas_xerbla by its position in the C argument list. A
// row-major matrix is the transposed column-major one: the letters and
// triangles flip, and a conjugate transposition (or a Hermitian matrix)
// becomes the conjugated problem, y and x conjugated around the call.
#include <cstddef>

#include "blas/level2/direct.h"
#include "blas/level2/route.h"
#include "frame/trace.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using namespace qor::core::l2;
using qor::core::blas::diag_letter;
using qor::core::blas::trans_letter;
using qor::core::blas::uplo_letter;

bool bad(const char* name, int pos) {
  if (pos == 0) return false;
  cblas_xerbla(pos, name, "");
  return true;
}

bool bad_layout(CBLAS_LAYOUT l) { return l != CblasRowMajor && l != CblasColMajor; }
bool bad_trans(CBLAS_TRANSPOSE t) { return t != CblasNoTrans && t != CblasTrans && t != CblasConjTrans; }
bool bad_uplo(CBLAS_UPLO u) { return u != CblasUpper && u != CblasLower; }
bool bad_diag(CBLAS_DIAG d) { return d != CblasUnit && d != CblasNonUnit; }

// The other triangle's letter, for a row-major matrix.
char flip(CBLAS_UPLO u) { return u == CblasUpper ? 'L' : 'U'; }

template <class T>
void gemv_row_conj(i64 m, i64 n, const T* alpha, const T* a, i64 lda, const T* x, i64 incx, const T* beta, T* y,
                   i64 incy) {
  // y = alpha A^H x + beta y with A row-major m x n, that is the
  // column-major n x m matrix B conjugated: conj(y) = conj(alpha) B conj(x)
  // + conj(beta) conj(y).
  if (m == 0 || n == 0) return;
  Conjugated<T> cx(m, x, incx);
  if (!cx.ok()) return direct::gemv_conj<T>(m, n, -1, 0, *alpha, a, lda, x, incx, *beta, y, incy);
  conj_in_place(n, y, incy);
  const T ca = conj(*alpha), cb = conj(*beta);
  D<T>::gemv("N", &n, &m, &ca, a, &lda, cx.data(), cx.inc(), &cb, y, &incy);
  conj_in_place(n, y, incy);
}

// The argument test of gemv, shared by the real-matrix complex-vector forms.
template <class Int>
int gemv_check(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE tr, Int m, Int n, Int lda, Int incx, Int incy) {
  if (bad_layout(layout)) return 1;
  if (bad_trans(tr)) return 2;
  // Row-major is the transposed column-major call, whose first dimension
  // is n: with both negative, n is the one reported.
  if (layout == CblasRowMajor && n < 0) return 4;
  if (m < 0) return 3;
  if (n < 0) return 4;
  if (lda < at_least_1(layout == CblasColMajor ? m : n)) return 7;
  if (incx == 0) return 9;
  if (incy == 0) return 12;
  return 0;
}

template <class T, class Int>
QOR_TRACED_WORK
void gemv(const char* name, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE tr, Int m, Int n, const T* alpha, const T* a,
          Int lda, const T* x, Int incx, const T* beta, T* y, Int incy) {
  const bool col = layout == CblasColMajor;
  if (bad(name, gemv_check(layout, tr, m, n, lda, incx, incy))) return;
  i64 M = m, N = n, LDA = lda, IX = incx, IY = incy;
  if (col) {
    const char t = trans_letter(tr);
    D<T>::gemv(&t, &M, &N, alpha, a, &LDA, x, &IX, beta, y, &IY);
  } else if (tr == CblasConjTrans && cplx<T>) {
    gemv_row_conj<T>(M, N, alpha, a, LDA, x, IX, beta, y, IY);
  } else {
    const char t = tr == CblasNoTrans ? 'T' : 'N';
    D<T>::gemv(&t, &N, &M, alpha, a, &LDA, x, &IX, beta, y, &IY);
  }
}

template <class R, class C, class Int>
QOR_TRACED_WORK
void mixed(const char* name, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE tr, Int m, Int n, const C* alpha, const R* a,
           Int lda, const C* x, Int incx, const C* beta, C* y, Int incy) {
  const bool col = layout == CblasColMajor;
  if (bad(name, gemv_check(layout, tr, m, n, lda, incx, incy))) return;
  i64 M = m, N = n, LDA = lda, IX = incx, IY = incy;
  // The matrix is real: its conjugate transpose is its transpose.
  const char t = col ? trans_letter(tr) : (tr == CblasNoTrans ? 'T' : 'N');
  i64* rows = col ? &M : &N;
  i64* cols = col ? &N : &M;
  if constexpr (std::is_same_v<R, float>) {
    qor_blas_scgemv(&t, rows, cols, alpha, a, &LDA, x, &IX, beta, y, &IY);
  } else {
    qor_blas_dzgemv(&t, rows, cols, alpha, a, &LDA, x, &IX, beta, y, &IY);
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void gbmv(const char* name, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE tr, Int m, Int n, Int kl, Int ku, const T* alpha,
          const T* a, Int lda, const T* x, Int incx, const T* beta, T* y, Int incy) {
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_trans(tr)) pos = 2;
  // Row-major: the transposed band, so n before m and ku before kl.
  else if (layout == CblasRowMajor && n < 0) pos = 4;
  else if (m < 0) pos = 3;
  else if (n < 0) pos = 4;
  else if (layout == CblasRowMajor && ku < 0) pos = 6;
  else if (kl < 0) pos = 5;
  else if (ku < 0) pos = 6;
  else if (lda < kl + ku + 1) pos = 9;
  else if (incx == 0) pos = 11;
  else if (incy == 0) pos = 14;
  if (bad(name, pos)) return;
  i64 M = m, N = n, KL = kl, KU = ku, LDA = lda, IX = incx, IY = incy;
  if (layout == CblasColMajor) {
    const char t = trans_letter(tr);
    D<T>::gbmv(&t, &M, &N, &KL, &KU, alpha, a, &LDA, x, &IX, beta, y, &IY);
    return;
  }
  // Row-major: the transposed band, n x m with the bandwidths exchanged.
  if (tr == CblasConjTrans && cplx<T>) {
    if (M == 0 || N == 0) return;
    Conjugated<T> cx(M, x, IX);
    if (!cx.ok()) return direct::gemv_conj<T>(M, N, KL, KU, *alpha, a, LDA, x, IX, *beta, y, IY);
    conj_in_place(N, y, IY);
    const T ca = conj(*alpha), cb = conj(*beta);
    D<T>::gbmv("N", &N, &M, &KU, &KL, &ca, a, &LDA, cx.data(), cx.inc(), &cb, y, &IY);
    conj_in_place(N, y, IY);
    return;
  }
  const char t = tr == CblasNoTrans ? 'T' : 'N';
  D<T>::gbmv(&t, &N, &M, &KU, &KL, alpha, a, &LDA, x, &IX, beta, y, &IY);
}

// symv, sbmv (k >= 0) and spmv (packed) share their row-major rule: the
// other triangle, and for a Hermitian matrix the conjugated problem.
enum class SymKind { Full, Band, Packed };

template <class T>
void sym_call(SymKind kind, const char* uplo, i64 n, i64 k, const T* alpha, const T* a, i64 lda, const T* x,
              const i64* incx, const T* beta, T* y, i64 incy) {
  if (kind == SymKind::Full) D<T>::symv(uplo, &n, alpha, a, &lda, x, incx, beta, y, &incy);
  if (kind == SymKind::Band) D<T>::sbmv(uplo, &n, &k, alpha, a, &lda, x, incx, beta, y, &incy);
  if (kind == SymKind::Packed) D<T>::spmv(uplo, &n, alpha, a, x, incx, beta, y, &incy);
}

template <class T>
void sym_route(SymKind kind, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, i64 n, i64 k, const T* alpha, const T* a,
               i64 lda, const T* x, i64 incx, const T* beta, T* y, i64 incy) {
  if (layout == CblasColMajor) {
    const char u = uplo_letter(uplo);
    sym_call<T>(kind, &u, n, k, alpha, a, lda, x, &incx, beta, y, incy);
    return;
  }
  const char u = flip(uplo);
  if constexpr (cplx<T>) {
    if (n == 0) return;
    Conjugated<T> cx(n, x, incx);
    if (!cx.ok()) {
      const auto form = kind == SymKind::Full   ? direct::Store::Full
                        : kind == SymKind::Band ? direct::Store::Band
                                                : direct::Store::Packed;
      const direct::Herm<T> h{form, uplo == CblasUpper, n, k, lda, a};
      return direct::mv(n, n, h, *alpha, x, incx, *beta, y, incy);
    }
    conj_in_place(n, y, incy);
    const T ca = conj(*alpha), cb = conj(*beta);
    sym_call<T>(kind, &u, n, k, &ca, a, lda, cx.data(), cx.inc(), &cb, y, incy);
    conj_in_place(n, y, incy);
  } else {
    sym_call<T>(kind, &u, n, k, alpha, a, lda, x, &incx, beta, y, incy);
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void symv(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, Int n, const T* alpha, const T* a, Int lda,
          const T* x, Int incx, const T* beta, T* y, Int incy) {
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_uplo(uplo)) pos = 2;
  else if (n < 0) pos = 3;
  else if (lda < at_least_1(n)) pos = 6;
  else if (incx == 0) pos = 8;
  else if (incy == 0) pos = 11;
  if (bad(name, pos)) return;
  sym_route<T>(SymKind::Full, layout, uplo, n, 0, alpha, a, lda, x, incx, beta, y, incy);
}

template <class T, class Int>
QOR_TRACED_WORK
void sbmv(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, Int n, Int k, const T* alpha, const T* a, Int lda,
          const T* x, Int incx, const T* beta, T* y, Int incy) {
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_uplo(uplo)) pos = 2;
  else if (n < 0) pos = 3;
  else if (k < 0) pos = 4;
  else if (lda < k + 1) pos = 7;
  else if (incx == 0) pos = 9;
  else if (incy == 0) pos = 12;
  if (bad(name, pos)) return;
  sym_route<T>(SymKind::Band, layout, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}

template <class T, class Int>
QOR_TRACED_WORK
void spmv(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, Int n, const T* alpha, const T* ap, const T* x,
          Int incx, const T* beta, T* y, Int incy) {
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_uplo(uplo)) pos = 2;
  else if (n < 0) pos = 3;
  else if (incx == 0) pos = 7;
  else if (incy == 0) pos = 10;
  if (bad(name, pos)) return;
  sym_route<T>(SymKind::Packed, layout, uplo, n, 0, alpha, ap, 0, x, incx, beta, y, incy);
}

// Triangular products and solves in all three storage forms.
enum class TriOp { Trmv, Trsv, Tbmv, Tbsv, Tpmv, Tpsv };

template <class T>
void tri_call(TriOp op, const char* u, const char* t, const char* d, i64 n, i64 k, const T* a, i64 lda, T* x,
              i64 incx) {
  switch (op) {
    case TriOp::Trmv: D<T>::trmv(u, t, d, &n, a, &lda, x, &incx); break;
    case TriOp::Trsv: D<T>::trsv(u, t, d, &n, a, &lda, x, &incx); break;
    case TriOp::Tbmv: D<T>::tbmv(u, t, d, &n, &k, a, &lda, x, &incx); break;
    case TriOp::Tbsv: D<T>::tbsv(u, t, d, &n, &k, a, &lda, x, &incx); break;
    case TriOp::Tpmv: D<T>::tpmv(u, t, d, &n, a, x, &incx); break;
    case TriOp::Tpsv: D<T>::tpsv(u, t, d, &n, a, x, &incx); break;
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void tri(TriOp op, const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE tr, CBLAS_DIAG diag,
         Int n, Int k, const T* a, Int lda, T* x, Int incx) {
  const bool band = op == TriOp::Tbmv || op == TriOp::Tbsv;
  const bool packed = op == TriOp::Tpmv || op == TriOp::Tpsv;
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_uplo(uplo)) pos = 2;
  else if (bad_trans(tr)) pos = 3;
  else if (bad_diag(diag)) pos = 4;
  else if (n < 0) pos = 5;
  else if (band && k < 0) pos = 6;
  else if (band && lda < k + 1) pos = 8;
  else if (!band && !packed && lda < at_least_1(n)) pos = 7;
  else if (incx == 0) pos = band ? 10 : packed ? 8 : 9;
  if (bad(name, pos)) return;
  const char d = diag_letter(diag);
  if (layout == CblasColMajor) {
    const char u = uplo_letter(uplo), t = trans_letter(tr);
    tri_call<T>(op, &u, &t, &d, n, k, a, lda, x, incx);
    return;
  }
  const char u = flip(uplo);
  if (tr == CblasConjTrans && cplx<T>) {
    // conj(op) applied as: conjugate x, apply B, conjugate x back.
    conj_in_place<T>(n, x, incx);
    tri_call<T>(op, &u, "N", &d, n, k, a, lda, x, incx);
    conj_in_place<T>(n, x, incx);
    return;
  }
  const char t = tr == CblasNoTrans ? 'T' : 'N';
  tri_call<T>(op, &u, &t, &d, n, k, a, lda, x, incx);
}

template <class T, class Int, bool U>
QOR_TRACED_WORK
void ger(const char* name, CBLAS_LAYOUT layout, Int m, Int n, const T* alpha, const T* x, Int incx, const T* y,
         Int incy, T* a, Int lda) {
  const bool col = layout == CblasColMajor;
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  // Row-major: the update of the transpose, so n before m and y before x.
  else if (!col && n < 0) pos = 3;
  else if (m < 0) pos = 2;
  else if (n < 0) pos = 3;
  else if (!col && incy == 0) pos = 8;
  else if (incx == 0) pos = 6;
  else if (incy == 0) pos = 8;
  else if (lda < at_least_1(col ? m : n)) pos = 10;
  if (bad(name, pos)) return;
  i64 M = m, N = n, IX = incx, IY = incy, LDA = lda;
  if (col) {
    (U ? D<T>::geru : D<T>::ger)(&M, &N, alpha, x, &IX, y, &IY, a, &LDA);
    return;
  }
  // Row-major: B = A^T gets alpha op(y) x^T, an unconjugated update.
  if (!U && cplx<T>) {
    if (M == 0 || N == 0) return;
    Conjugated<T> cy(N, y, IY);
    if (!cy.ok()) return direct::gerc<T>(M, N, *alpha, x, IX, y, IY, a, LDA);
    D<T>::geru(&N, &M, alpha, cy.data(), cy.inc(), x, &IX, a, &LDA);
  } else {
    D<T>::geru(&N, &M, alpha, y, &IY, x, &IX, a, &LDA);
  }
}

// syr and her (full), spr and hpr (packed, lda < 0).
template <class T, class Int>
QOR_TRACED_WORK
void syr(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, Int n, qor::real_t<T> ralpha, const T* alpha,
         const T* x, Int incx, T* a, Int lda, bool packed) {
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_uplo(uplo)) pos = 2;
  else if (n < 0) pos = 3;
  else if (incx == 0) pos = 6;
  else if (!packed && lda < at_least_1(n)) pos = 8;
  if (bad(name, pos)) return;
  i64 N = n, IX = incx, LDA = lda;
  const bool col = layout == CblasColMajor;
  const char u = col ? uplo_letter(uplo) : flip(uplo);
  auto call = [&](const T* xp, const i64* ix) {
    if constexpr (cplx<T>) {
      if (packed) D<T>::spr(&u, &N, &ralpha, xp, ix, a);
      else D<T>::syr(&u, &N, &ralpha, xp, ix, a, &LDA);
    } else {
      if (packed) D<T>::spr(&u, &N, alpha, xp, ix, a);
      else D<T>::syr(&u, &N, alpha, xp, ix, a, &LDA);
    }
  };
  if (!col && cplx<T> && N > 0) {
    Conjugated<T> cx(N, x, IX);
    if (!cx.ok()) {
      const direct::Herm<T> h{packed ? direct::Store::Packed : direct::Store::Full, uplo == CblasUpper, N, 0, LDA, a};
      return direct::herk_update<T>(h, T(ralpha), x, IX, nullptr, 0);
    }
    call(cx.data(), cx.inc());
  } else {
    call(x, &IX);
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void syr2(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, Int n, const T* alpha, const T* x, Int incx,
          const T* y, Int incy, T* a, Int lda, bool packed) {
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (bad_uplo(uplo)) pos = 2;
  else if (n < 0) pos = 3;
  else if (incx == 0) pos = 6;
  else if (incy == 0) pos = 8;
  else if (!packed && lda < at_least_1(n)) pos = 10;
  if (bad(name, pos)) return;
  i64 N = n, IX = incx, IY = incy, LDA = lda;
  const bool col = layout == CblasColMajor;
  const char u = col ? uplo_letter(uplo) : flip(uplo);
  auto call = [&](const T* xp, const i64* ix, const T* yp, const i64* iy) {
    if (packed) D<T>::spr2(&u, &N, alpha, xp, ix, yp, iy, a);
    else D<T>::syr2(&u, &N, alpha, xp, ix, yp, iy, a, &LDA);
  };
  if (!col && cplx<T> && N > 0) {
    // B = conj(A) gets alpha conj(y) x^T + conj(alpha) conj(x) y^T: the
    // Hermitian rank two of conj(y) and conj(x).
    Conjugated<T> cx(N, x, IX), cy(N, y, IY);
    if (!cx.ok() || !cy.ok()) {
      const direct::Herm<T> h{packed ? direct::Store::Packed : direct::Store::Full, uplo == CblasUpper, N, 0, LDA, a};
      return direct::herk_update<T>(h, *alpha, x, IX, y, IY);
    }
    call(cy.data(), cy.inc(), cx.data(), cx.inc());
  } else {
    call(x, &IX, y, &IY);
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void gem2v(const char* name, CBLAS_LAYOUT layout, Int m, Int n, const T* alpha, const T* a, Int lda, const T* x1,
           Int incx1, const T* x2, Int incx2, const T* beta, T* y1, Int incy1, T* y2, Int incy2) {
  const bool col = layout == CblasColMajor;
  int pos = 0;
  if (bad_layout(layout)) pos = 1;
  else if (m < 0) pos = 2;
  else if (n < 0) pos = 3;
  else if (lda < at_least_1(col ? m : n)) pos = 6;
  else if (incx1 == 0) pos = 8;
  else if (incx2 == 0) pos = 10;
  else if (incy1 == 0) pos = 13;
  else if (incy2 == 0) pos = 15;
  if (bad(name, pos)) return;
  i64 M = m, N = n, LDA = lda, IX1 = incx1, IX2 = incx2, IY1 = incy1, IY2 = incy2;
  if (col) {
    D<T>::gem2v(&M, &N, alpha, a, &LDA, x1, &IX1, x2, &IX2, beta, y1, &IY1, y2, &IY2);
  } else if constexpr (!cplx<T>) {
    // A = B^T: A x1 = B^T x1 and A^T x2 = B x2, the roles exchanged.
    D<T>::gem2v(&N, &M, alpha, a, &LDA, x2, &IX2, x1, &IX1, beta, y2, &IY2, y1, &IY1);
  } else {
    D<T>::gemv("T", &N, &M, alpha, a, &LDA, x1, &IX1, beta, y1, &IY1);
    gemv_row_conj<T>(M, N, alpha, a, LDA, x2, IX2, beta, y2, IY2);
  }
}

}  // namespace

// S: public element type; V: public scalar type (value or const void*);
// T: internal type; SC(v): the scalar as const T*.
#define QOR_C2_COMMON(INT, SFX, t, S, V, T, SC)                                                                   \
  QOR_API void cblas_##t##gemv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, V alpha,          \
                                    const S* a, INT lda, const S* x, INT incx, V beta, S* y, INT incy) {        \
    QOR_TRACED((layout, trans, m, n, lda, incx, incy), [=] {                                                    \
      gemv<T, INT>("cblas_" #t "gemv", layout, trans, m, n, SC(alpha), cp<T>(a), lda, cp<T>(x), incx, SC(beta), \
                   mp<T>(y), incy);                                                                             \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##gbmv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, INT kl, INT ku,   \
                                    V alpha, const S* a, INT lda, const S* x, INT incx, V beta, S* y,           \
                                    INT incy) {                                                                 \
    QOR_TRACED((layout, trans, m, n, kl, ku, lda, incx, incy), [=] {                                            \
      gbmv<T, INT>("cblas_" #t "gbmv", layout, trans, m, n, kl, ku, SC(alpha), cp<T>(a), lda, cp<T>(x), incx,   \
                   SC(beta), mp<T>(y), incy);                                                                   \
    });                                                                                                         \
  }                                                                                                             \
  QOR_C2_TRI(INT, SFX, t, S, T, trmv, Trmv)                                                                     \
  QOR_C2_TRI(INT, SFX, t, S, T, trsv, Trsv)                                                                     \
  QOR_C2_TRB(INT, SFX, t, S, T, tbmv, Tbmv)                                                                     \
  QOR_C2_TRB(INT, SFX, t, S, T, tbsv, Tbsv)                                                                     \
  QOR_C2_TRP(INT, SFX, t, S, T, tpmv, Tpmv)                                                                     \
  QOR_C2_TRP(INT, SFX, t, S, T, tpsv, Tpsv)

#define QOR_C2_TRI(INT, SFX, t, S, T, name, OP)                                                                   \
  QOR_API void cblas_##t##name##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, \
                                    INT n, const S* a, INT lda, S* x, INT incx) {                               \
    QOR_TRACED((layout, uplo, trans, diag, n, lda, incx), [=] {                                                 \
      tri<T, INT>(TriOp::OP, "cblas_" #t #name, layout, uplo, trans, diag, n, 0, cp<T>(a), lda, mp<T>(x), incx); \
    });                                                                                                         \
  }
#define QOR_C2_TRB(INT, SFX, t, S, T, name, OP)                                                                   \
  QOR_API void cblas_##t##name##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, \
                                    INT n, INT k, const S* a, INT lda, S* x, INT incx) {                        \
    QOR_TRACED((layout, uplo, trans, diag, n, k, lda, incx), [=] {                                              \
      tri<T, INT>(TriOp::OP, "cblas_" #t #name, layout, uplo, trans, diag, n, k, cp<T>(a), lda, mp<T>(x), incx); \
    });                                                                                                         \
  }
#define QOR_C2_TRP(INT, SFX, t, S, T, name, OP)                                                                   \
  QOR_API void cblas_##t##name##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, \
                                    INT n, const S* ap, S* x, INT incx) {                                       \
    QOR_TRACED((layout, uplo, trans, diag, n, incx), [=] {                                                      \
      tri<T, INT>(TriOp::OP, "cblas_" #t #name, layout, uplo, trans, diag, n, 0, cp<T>(ap), 1, mp<T>(x), incx); \
    });                                                                                                         \
  }

#define QOR_C2_SYM(INT, SFX, t, S, V, T, RA, SC, ASC, sy, sb, sp, r1, p1, r2, p2)                                 \
  QOR_API void cblas_##t##sy##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* a, INT lda,    \
                                  const S* x, INT incx, V beta, S* y, INT incy) {                               \
    QOR_TRACED((layout, uplo, n, lda, incx, incy), [=] {                                                        \
      symv<T, INT>("cblas_" #t #sy, layout, uplo, n, SC(alpha), cp<T>(a), lda, cp<T>(x), incx, SC(beta),        \
                   mp<T>(y), incy);                                                                             \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##sb##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, INT k, V alpha, const S* a,      \
                                  INT lda, const S* x, INT incx, V beta, S* y, INT incy) {                      \
    QOR_TRACED((layout, uplo, n, k, lda, incx, incy), [=] {                                                     \
      sbmv<T, INT>("cblas_" #t #sb, layout, uplo, n, k, SC(alpha), cp<T>(a), lda, cp<T>(x), incx, SC(beta),     \
                   mp<T>(y), incy);                                                                             \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##sp##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* ap,            \
                                  const S* x, INT incx, V beta, S* y, INT incy) {                               \
    QOR_TRACED((layout, uplo, n, incx, incy), [=] {                                                             \
      spmv<T, INT>("cblas_" #t #sp, layout, uplo, n, SC(alpha), cp<T>(ap), cp<T>(x), incx, SC(beta), mp<T>(y),  \
                   incy);                                                                                       \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##r1##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, RA alpha, const S* x, INT incx,  \
                                  S* a, INT lda) {                                                              \
    QOR_TRACED((layout, uplo, n, incx, lda), [=] {                                                              \
      syr<T, INT>("cblas_" #t #r1, layout, uplo, n, alpha, ASC(alpha), cp<T>(x), incx, mp<T>(a), lda, false);   \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##p1##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, RA alpha, const S* x, INT incx,  \
                                  S* ap) {                                                                      \
    QOR_TRACED((layout, uplo, n, incx), [=] {                                                                   \
      syr<T, INT>("cblas_" #t #p1, layout, uplo, n, alpha, ASC(alpha), cp<T>(x), incx, mp<T>(ap), 1, true);     \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##r2##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* x, INT incx,   \
                                  const S* y, INT incy, S* a, INT lda) {                                        \
    QOR_TRACED((layout, uplo, n, incx, incy, lda), [=] {                                                        \
      syr2<T, INT>("cblas_" #t #r2, layout, uplo, n, SC(alpha), cp<T>(x), incx, cp<T>(y), incy, mp<T>(a), lda,  \
                   false);                                                                                      \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_##t##p2##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* x, INT incx,   \
                                  const S* y, INT incy, S* ap) {                                                \
    QOR_TRACED((layout, uplo, n, incx, incy), [=] {                                                             \
      syr2<T, INT>("cblas_" #t #p2, layout, uplo, n, SC(alpha), cp<T>(x), incx, cp<T>(y), incy, mp<T>(ap), 1,   \
                   true);                                                                                       \
    });                                                                                                         \
  }

#define QOR_C2_GER(INT, SFX, name, S, V, T, SC, U)                                                                \
  QOR_API void cblas_##name##SFX(CBLAS_LAYOUT layout, INT m, INT n, V alpha, const S* x, INT incx, const S* y,  \
                                 INT incy, S* a, INT lda) {                                                     \
    QOR_TRACED((layout, m, n, incx, incy, lda), [=] {                                                           \
      ger<T, INT, U>("cblas_" #name, layout, m, n, SC(alpha), cp<T>(x), incx, cp<T>(y), incy, mp<T>(a), lda);   \
    });                                                                                                         \
  }

#define QOR_C2_GEM2V(INT, SFX, name, S, V, T, SC)                                                                 \
  QOR_API void cblas_##name##SFX(CBLAS_LAYOUT layout, INT m, INT n, V alpha, const S* a, INT lda, const S* x1,  \
                                 INT incx1, const S* x2, INT incx2, V beta, S* y1, INT incy1, S* y2,            \
                                 INT incy2) {                                                                   \
    QOR_TRACED((layout, m, n, lda, incx1, incx2, incy1, incy2), [=] {                                           \
      gem2v<T, INT>("cblas_" #name, layout, m, n, SC(alpha), cp<T>(a), lda, cp<T>(x1), incx1, cp<T>(x2), incx2, \
                    SC(beta), mp<T>(y1), incy1, mp<T>(y2), incy2);                                              \
    });                                                                                                         \
  }

// Scalars: a real one passed by value is taken by address; a complex one
// arrives as a pointer. The real alpha of her and hpr goes by value, with
// no pointer form.
#define QOR_C2_BYVAL(v) (&(v))
#define QOR_C2_BYPTR_C(v) (static_cast<const c32*>(v))
#define QOR_C2_BYPTR_Z(v) (static_cast<const c64*>(v))
#define QOR_C2_NOPTR(v) (static_cast<const c64*>(nullptr))
#define QOR_C2_NOPTR_C(v) (static_cast<const c32*>(nullptr))

#define QOR_C2_ALL(INT, SFX)                                                                                      \
  QOR_C2_COMMON(INT, SFX, s, float, float, float, QOR_C2_BYVAL)                                                 \
  QOR_C2_COMMON(INT, SFX, d, double, double, double, QOR_C2_BYVAL)                                              \
  QOR_C2_COMMON(INT, SFX, c, void, const void*, c32, QOR_C2_BYPTR_C)                                            \
  QOR_C2_COMMON(INT, SFX, z, void, const void*, c64, QOR_C2_BYPTR_Z)                                            \
  QOR_C2_SYM(INT, SFX, s, float, float, float, float, QOR_C2_BYVAL, QOR_C2_BYVAL, symv, sbmv, spmv, syr, spr,    \
             syr2, spr2)                                                                                        \
  QOR_C2_SYM(INT, SFX, d, double, double, double, double, QOR_C2_BYVAL, QOR_C2_BYVAL, symv, sbmv, spmv, syr,     \
             spr, syr2, spr2)                                                                                   \
  QOR_C2_SYM(INT, SFX, c, void, const void*, c32, float, QOR_C2_BYPTR_C, QOR_C2_NOPTR_C, hemv, hbmv, hpmv, her,    \
             hpr, her2, hpr2)                                                                                   \
  QOR_C2_SYM(INT, SFX, z, void, const void*, c64, double, QOR_C2_BYPTR_Z, QOR_C2_NOPTR, hemv, hbmv, hpmv, her,   \
             hpr, her2, hpr2)                                                                                   \
  QOR_C2_GER(INT, SFX, sger, float, float, float, QOR_C2_BYVAL, false)                                          \
  QOR_C2_GER(INT, SFX, dger, double, double, double, QOR_C2_BYVAL, false)                                       \
  QOR_C2_GER(INT, SFX, cgerc, void, const void*, c32, QOR_C2_BYPTR_C, false)                                    \
  QOR_C2_GER(INT, SFX, cgeru, void, const void*, c32, QOR_C2_BYPTR_C, true)                                     \
  QOR_C2_GER(INT, SFX, zgerc, void, const void*, c64, QOR_C2_BYPTR_Z, false)                                    \
  QOR_C2_GER(INT, SFX, zgeru, void, const void*, c64, QOR_C2_BYPTR_Z, true)                                     \
  QOR_C2_GEM2V(INT, SFX, sgem2vu, float, float, float, QOR_C2_BYVAL)                                            \
  QOR_C2_GEM2V(INT, SFX, dgem2vu, double, double, double, QOR_C2_BYVAL)                                         \
  QOR_C2_GEM2V(INT, SFX, cgem2vc, void, const void*, c32, QOR_C2_BYPTR_C)                                       \
  QOR_C2_GEM2V(INT, SFX, zgem2vc, void, const void*, c64, QOR_C2_BYPTR_Z)                                       \
  QOR_API void cblas_scgemv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, const void* alpha,   \
                                 const float* a, INT lda, const void* x, INT incx, const void* beta, void* y,   \
                                 INT incy) {                                                                    \
    QOR_TRACED((layout, trans, m, n, lda, incx, incy), [=] {                                                    \
      mixed<float, c32, INT>("cblas_scgemv", layout, trans, m, n, cp<c32>(alpha), a, lda, cp<c32>(x), incx,     \
                             cp<c32>(beta), mp<c32>(y), incy);                                                  \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void cblas_dzgemv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, const void* alpha,   \
                                 const double* a, INT lda, const void* x, INT incx, const void* beta, void* y,  \
                                 INT incy) {                                                                    \
    QOR_TRACED((layout, trans, m, n, lda, incx, incy), [=] {                                                    \
      mixed<double, c64, INT>("cblas_dzgemv", layout, trans, m, n, cp<c64>(alpha), a, lda, cp<c64>(x), incx,    \
                              cp<c64>(beta), mp<c64>(y), incy);                                                 \
    });                                                                                                         \
  }

extern "C" {
QOR_C2_ALL(int, )
QOR_C2_ALL(std::int64_t, _64)
}
