// The CBLAS interface of the Level 3 routines beside GEMM, 32- and 64-bit
// integers. Arguments are checked in the caller's layout and reported with
// cblas_xerbla; a row-major call becomes the column-major call on the
// transposed problem (sides and triangles swap, m and n swap, and for the
// products of two operands the operands swap).
#include <complex>
#include <cstdint>
#include <utility>

#include "blas/common/interface.h"
#include "blas/gemm/gemm.h"
#include "blas/level3/checks.h"
#include "blas/level3/dispatch.h"
#include "frame/trace.h"
#include "qor/cblas_level3_ext.h"
#include "qor/qor.h"

namespace {

using qor::c32;
using qor::c64;
using qor::core::blas::diag_letter;
using qor::core::blas::side_letter;
using qor::core::blas::trans_letter;
using qor::core::blas::uplo_letter;
namespace l3 = qor::core::l3;
using l3::i64;

using l3::GemmFn;
using l3::GemmtFn;
using l3::Syr2kFn;
using l3::SymmFn;
using l3::SyrkFn;
using l3::TriFn;

bool layout_ok(CBLAS_LAYOUT layout, const char* name) {
  if (layout == CblasRowMajor || layout == CblasColMajor) return true;
  cblas_xerbla(1, name, "Illegal layout setting, %d\n", static_cast<int>(layout));
  return false;
}

// Reports a bad argument; the enumerations get the reference wording.
void report(int pos, const char* name, const char* what = nullptr, int value = 0) {
  if (what != nullptr) {
    cblas_xerbla(pos, name, "Illegal %s setting, %d\n", what, value);
  } else {
    cblas_xerbla(pos, name, "");
  }
}

template <class Int, class T>
QOR_TRACED_WORK
void tri(TriFn<T> fn, const char* name, CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
         CBLAS_DIAG diag, Int m, Int n, const void* alpha, const void* a, Int lda, void* b, Int ldb) {
  if (!layout_ok(layout, name)) return;
  const bool row = layout == CblasRowMajor;
  char s = side_letter(side), u = uplo_letter(uplo);
  const char t = trans_letter(transa), d = diag_letter(diag);
  switch (int bad = l3::cblas_tri_check(row, s, u, t, d, m, n, lda, ldb)) {
    case 0: break;
    case 2: return report(2, name, "Side", side);
    case 3: return report(3, name, "Uplo", uplo);
    case 4: return report(4, name, "TransA", transa);
    case 5: return report(5, name, "Diag", diag);
    default: return report(bad, name);
  }
  if (m == 0 || n == 0) return;
  i64 mm = m, nn = n;
  if (row) {
    s = l3::flip_side(s);
    u = l3::flip_uplo(u);
    std::swap(mm, nn);
  }
  const i64 la = lda, lb = ldb;
  fn(&s, &u, &t, &d, &mm, &nn, static_cast<const T*>(alpha), static_cast<const T*>(a), &la, static_cast<T*>(b), &lb);
}

template <class Int, class T>
QOR_TRACED_WORK
void symm(SymmFn<T> fn, const char* name, CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, Int m, Int n,
          const void* alpha, const void* a, Int lda, const void* b, Int ldb, const void* beta, void* c, Int ldc) {
  if (!layout_ok(layout, name)) return;
  const bool row = layout == CblasRowMajor;
  char s = side_letter(side), u = uplo_letter(uplo);
  switch (int bad = l3::cblas_symm_check(row, s, u, m, n, lda, ldb, ldc)) {
    case 0: break;
    case 2: return report(2, name, "Side", side);
    case 3: return report(3, name, "Uplo", uplo);
    default: return report(bad, name);
  }
  i64 mm = m, nn = n;
  if (row) {
    s = l3::flip_side(s);
    u = l3::flip_uplo(u);
    std::swap(mm, nn);
  }
  const i64 la = lda, lb = ldb, lc = ldc;
  fn(&s, &u, &mm, &nn, static_cast<const T*>(alpha), static_cast<const T*>(a), &la, static_cast<const T*>(b), &lb,
     static_cast<const T*>(beta), static_cast<T*>(c), &lc);
}

// syrk and herk. `herm`: the transposition letter is C and alpha, beta real.
template <class Int, class T, class S>
QOR_TRACED_WORK
void syrk(SyrkFn<T, S> fn, const char* name, bool herm, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans,
          Int n, Int k, const S* alpha, const void* a, Int lda, const S* beta, void* c, Int ldc) {
  if (!layout_ok(layout, name)) return;
  const bool row = layout == CblasRowMajor;
  const char* letters = herm ? "NC" : qor::is_complex_v<T> ? "NT" : "NTC";
  char u = uplo_letter(uplo), t = trans_letter(trans);
  switch (int bad = l3::cblas_rankk_check(row, false, letters, u, t, n, k, lda, 0, ldc)) {
    case 0: break;
    case 2: return report(2, name, "Uplo", uplo);
    case 3: return report(3, name, "Trans", trans);
    default: return report(bad, name);
  }
  if (row) {
    u = l3::flip_uplo(u);
    t = l3::flip_trans(t, herm);
  }
  const i64 nn = n, kk = k, la = lda, lc = ldc;
  fn(&u, &t, &nn, &kk, alpha, static_cast<const T*>(a), &la, beta, static_cast<T*>(c), &lc);
}

// syr2k and her2k. Row-major her2k takes the conjugate of alpha: the stored
// triangle is then the conjugate of the result, which swaps the two terms.
template <class Int, class T, class S>
QOR_TRACED_WORK
void syr2k(Syr2kFn<T, S> fn, const char* name, bool herm, CBLAS_LAYOUT layout, CBLAS_UPLO uplo,
           CBLAS_TRANSPOSE trans, Int n, Int k, const void* alpha, const void* a, Int lda, const void* b, Int ldb,
           const S* beta, void* c, Int ldc) {
  if (!layout_ok(layout, name)) return;
  const bool row = layout == CblasRowMajor;
  const char* letters = herm ? "NC" : qor::is_complex_v<T> ? "NT" : "NTC";
  char u = uplo_letter(uplo), t = trans_letter(trans);
  switch (int bad = l3::cblas_rankk_check(row, true, letters, u, t, n, k, lda, ldb, ldc)) {
    case 0: break;
    case 2: return report(2, name, "Uplo", uplo);
    case 3: return report(3, name, "Trans", trans);
    default: return report(bad, name);
  }
  T al = *static_cast<const T*>(alpha);
  if (row) {
    u = l3::flip_uplo(u);
    t = l3::flip_trans(t, herm);
    if constexpr (qor::is_complex_v<T>) {
      if (herm) al = std::conj(al);
    }
  }
  const i64 nn = n, kk = k, la = lda, lb = ldb, lc = ldc;
  fn(&u, &t, &nn, &kk, &al, static_cast<const T*>(a), &la, static_cast<const T*>(b), &lb, beta, static_cast<T*>(c),
     &lc);
}

template <class Int, class T>
QOR_TRACED_WORK
void gemmt(GemmtFn<T> fn, const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
           CBLAS_TRANSPOSE transb, Int n, Int k, const void* alpha, const void* a, Int lda, const void* b, Int ldb,
           const void* beta, void* c, Int ldc) {
  if (!layout_ok(layout, name)) return;
  const bool row = layout == CblasRowMajor;
  char u = uplo_letter(uplo);
  const char ta = trans_letter(transa), tb = trans_letter(transb);
  switch (int bad = l3::cblas_gemmt_check(row, u, ta, tb, n, k, lda, ldb, ldc)) {
    case 0: break;
    case 2: return report(2, name, "Uplo", uplo);
    case 3: return report(3, name, "TransA", transa);
    case 4: return report(4, name, "TransB", transb);
    default: return report(bad, name);
  }
  const i64 nn = n, kk = k, la = lda, lb = ldb, lc = ldc;
  const T* al = static_cast<const T*>(alpha);
  const T* be = static_cast<const T*>(beta);
  if (!row) {
    fn(&u, &ta, &tb, &nn, &kk, al, static_cast<const T*>(a), &la, static_cast<const T*>(b), &lb, be,
       static_cast<T*>(c), &lc);
  } else {
    // C^T = op(B)^T op(A)^T in the other layout, the other triangle.
    u = l3::flip_uplo(u);
    fn(&u, &tb, &ta, &nn, &kk, al, static_cast<const T*>(b), &lb, static_cast<const T*>(a), &la, be,
       static_cast<T*>(c), &lc);
  }
}

// gemm3m (TA = TB = T) and the real-complex products. A row-major call is
// the column-major product C^T = op(B)^T op(A)^T, for which the real-A
// routines have twins with the real matrix on the right (`swapped`).
template <class Int, class T, class TA, class TB>
QOR_TRACED_WORK
void gemm_like(GemmFn<T, TA, TB> fn, GemmFn<T, TB, TA> swapped, const char* name, CBLAS_LAYOUT layout,
               CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, Int m, Int n, Int k, const void* alpha,
               const void* a, Int lda, const void* b, Int ldb, const void* beta, void* c, Int ldc) {
  if (qor::core::blas::gemm_cblas_prepare<T, Int>(layout, transa, transb, m, n, k, lda, ldb, ldc, name) != 0) return;
  const char ta = trans_letter(transa), tb = trans_letter(transb);
  const i64 mm = m, nn = n, kk = k, la = lda, lb = ldb, lc = ldc;
  const T* al = static_cast<const T*>(alpha);
  const T* be = static_cast<const T*>(beta);
  if (layout == CblasColMajor) {
    fn(&ta, &tb, &mm, &nn, &kk, al, static_cast<const TA*>(a), &la, static_cast<const TB*>(b), &lb, be,
       static_cast<T*>(c), &lc);
  } else {
    swapped(&tb, &ta, &nn, &mm, &kk, al, static_cast<const TB*>(b), &lb, static_cast<const TA*>(a), &la, be,
            static_cast<T*>(c), &lc);
  }
}

}  // namespace

// Every routine of one element type and integer width. S is the public
// array type (void for complex), A the scalar argument type, P(x) the
// address of a scalar argument as a pointer.
#define QOR_L3C_REF(x) (&(x))
#define QOR_L3C_PTR(x) (x)
#define QOR_L3C_TYPE(t, T, S, A, P, INT, SFX)                                                                  \
  QOR_API void cblas_##t##trsm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo,                     \
                                    CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, INT m, INT n, A alpha,             \
                                    const S* a, INT lda, S* b, INT ldb) {                                      \
    QOR_TRACED((layout, side, uplo, transa, diag, m, n, lda, ldb), [=] {                                       \
      tri<INT, T>(&qor_blas_##t##trsm, "cblas_" #t "trsm", layout, side, uplo, transa, diag, m, n, P(alpha), a, \
                  lda, b, ldb);                                                                                \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##trmm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo,                     \
                                    CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, INT m, INT n, A alpha,             \
                                    const S* a, INT lda, S* b, INT ldb) {                                      \
    QOR_TRACED((layout, side, uplo, transa, diag, m, n, lda, ldb), [=] {                                       \
      tri<INT, T>(&qor_blas_##t##trmm, "cblas_" #t "trmm", layout, side, uplo, transa, diag, m, n, P(alpha), a, \
                  lda, b, ldb);                                                                                \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##symm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, INT m, INT n,       \
                                    A alpha, const S* a, INT lda, const S* b, INT ldb, A beta, S* c, INT ldc) { \
    QOR_TRACED((layout, side, uplo, m, n, lda, ldb, ldc), [=] {                                                \
      symm<INT, T>(&qor_blas_##t##symm, "cblas_" #t "symm", layout, side, uplo, m, n, P(alpha), a, lda, b, ldb, \
                   P(beta), c, ldc);                                                                           \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##syrk##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n, INT k, \
                                    A alpha, const S* a, INT lda, A beta, S* c, INT ldc) {                     \
    QOR_TRACED((layout, uplo, trans, n, k, lda, ldc), [=] {                                                    \
      syrk<INT, T, T>(&qor_blas_##t##syrk, "cblas_" #t "syrk", false, layout, uplo, trans, n, k,               \
                      static_cast<const T*>(P(alpha)), a, lda, static_cast<const T*>(P(beta)), c, ldc);        \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##syr2k##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n,       \
                                     INT k, A alpha, const S* a, INT lda, const S* b, INT ldb, A beta, S* c,    \
                                     INT ldc) {                                                                \
    QOR_TRACED((layout, uplo, trans, n, k, lda, ldb, ldc), [=] {                                               \
      syr2k<INT, T, T>(&qor_blas_##t##syr2k, "cblas_" #t "syr2k", false, layout, uplo, trans, n, k, P(alpha), a, \
                       lda, b, ldb, static_cast<const T*>(P(beta)), c, ldc);                                   \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##gemmt##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,             \
                                     CBLAS_TRANSPOSE transb, INT n, INT k, A alpha, const S* a, INT lda,        \
                                     const S* b, INT ldb, A beta, S* c, INT ldc) {                             \
    QOR_TRACED((layout, uplo, transa, transb, n, k, lda, ldb, ldc), [=] {                                      \
      gemmt<INT, T>(&qor_blas_##t##gemmt, "cblas_" #t "gemmt", layout, uplo, transa, transb, n, k, P(alpha), a, \
                    lda, b, ldb, P(beta), c, ldc);                                                             \
    });                                                                                                        \
  }

#define QOR_L3C_COMPLEX(t, T, R, INT, SFX)                                                                     \
  QOR_API void cblas_##t##hemm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, INT m, INT n,       \
                                    const void* alpha, const void* a, INT lda, const void* b, INT ldb,          \
                                    const void* beta, void* c, INT ldc) {                                      \
    QOR_TRACED((layout, side, uplo, m, n, lda, ldb, ldc), [=] {                                                \
      symm<INT, T>(&qor_blas_##t##hemm, "cblas_" #t "hemm", layout, side, uplo, m, n, alpha, a, lda, b, ldb,   \
                   beta, c, ldc);                                                                              \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##herk##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n, INT k, \
                                    R alpha, const void* a, INT lda, R beta, void* c, INT ldc) {               \
    QOR_TRACED((layout, uplo, trans, n, k, lda, ldc), [=] {                                                    \
      syrk<INT, T, R>(&qor_blas_##t##herk, "cblas_" #t "herk", true, layout, uplo, trans, n, k, &alpha, a, lda, \
                      &beta, c, ldc);                                                                          \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##her2k##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n,       \
                                     INT k, const void* alpha, const void* a, INT lda, const void* b, INT ldb,  \
                                     R beta, void* c, INT ldc) {                                               \
    QOR_TRACED((layout, uplo, trans, n, k, lda, ldb, ldc), [=] {                                               \
      syr2k<INT, T, R>(&qor_blas_##t##her2k, "cblas_" #t "her2k", true, layout, uplo, trans, n, k, alpha, a,   \
                       lda, b, ldb, &beta, c, ldc);                                                            \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##gemm3m##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb,     \
                                      INT m, INT n, INT k, const void* alpha, const void* a, INT lda,           \
                                      const void* b, INT ldb, const void* beta, void* c, INT ldc) {            \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                         \
      gemm_like<INT, T, T, T>(&qor_blas_##t##gemm3m, &qor_blas_##t##gemm3m, "cblas_" #t "gemm3m", layout, transa, \
                              transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                           \
    });                                                                                                        \
  }

#define QOR_L3C_MIXED(name, swapped, T, R, INT, SFX)                                                           \
  QOR_API void cblas_##name##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m,   \
                                 INT n, INT k, const void* alpha, const R* a, INT lda, const void* b, INT ldb,  \
                                 const void* beta, void* c, INT ldc) {                                         \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                         \
      gemm_like<INT, T, R, T>(&qor_blas_##name, &qor_blas_##swapped, "cblas_" #name, layout, transa, transb, m, \
                              n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                      \
    });                                                                                                        \
  }

#define QOR_L3C_ALL(INT, SFX)                                          \
  QOR_L3C_TYPE(s, float, float, float, QOR_L3C_REF, INT, SFX)          \
  QOR_L3C_TYPE(d, double, double, double, QOR_L3C_REF, INT, SFX)       \
  QOR_L3C_TYPE(c, c32, void, const void*, QOR_L3C_PTR, INT, SFX)       \
  QOR_L3C_TYPE(z, c64, void, const void*, QOR_L3C_PTR, INT, SFX)       \
  QOR_L3C_COMPLEX(c, c32, float, INT, SFX)                             \
  QOR_L3C_COMPLEX(z, c64, double, INT, SFX)                            \
  QOR_L3C_MIXED(scgemm, csgemm, c32, float, INT, SFX)                  \
  QOR_L3C_MIXED(dzgemm, zdgemm, c64, double, INT, SFX)

extern "C" {
QOR_L3C_ALL(int, )
QOR_L3C_ALL(std::int64_t, _64)
}
