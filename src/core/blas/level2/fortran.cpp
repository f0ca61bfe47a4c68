// The Fortran Level 2 interface: 32-bit integer names (dgemv_) and 64-bit
// twins (dgemv_64_). Each tests its arguments as the reference BLAS does,
// reports the first bad one through xerbla_ / xerbla_64_ and returns, or
// widens the integers and calls the dispatching name.
#include <cstddef>

#include "blas/level2/route.h"
#include "frame/trace.h"
#include "qor/blas.h"
#include "qor/qor.h"

namespace {

using namespace qor::core::l2;
using qor::core::blas::fortran_arg_error;

// Reports and tells whether the call must stop.
template <class Int>
bool bad(const char* name, Int info) {
  if (info == 0) return false;
  fortran_arg_error<Int>(name, info);
  return true;
}

// The argument test of gemv, shared by the real-matrix complex-vector forms.
template <class Int>
Int gemv_check(const char* tr, const Int* m, const Int* n, const Int* lda, const Int* incx, const Int* incy) {
  if (!is_trans(tr)) return 1;
  if (*m < 0) return 2;
  if (*n < 0) return 3;
  if (*lda < at_least_1(*m)) return 6;
  if (*incx == 0) return 8;
  if (*incy == 0) return 11;
  return 0;
}

template <class T, class Int>
QOR_TRACED_WORK
void gemv(const char* name, const char* tr, const Int* m, const Int* n, const void* alpha, const void* a,
          const Int* lda, const void* x, const Int* incx, const void* beta, void* y, const Int* incy) {
  if (bad(name, gemv_check(tr, m, n, lda, incx, incy))) return;
  const i64 M = *m, N = *n, LDA = *lda, IX = *incx, IY = *incy;
  D<T>::gemv(tr, &M, &N, cp<T>(alpha), cp<T>(a), &LDA, cp<T>(x), &IX, cp<T>(beta), mp<T>(y), &IY);
}

// scgemv, dzgemv: real matrix R, complex vectors C.
template <class R, class C, class Int>
QOR_TRACED_WORK
void mixed(const char* name, const char* tr, const Int* m, const Int* n, const void* alpha, const R* a,
           const Int* lda, const void* x, const Int* incx, const void* beta, void* y, const Int* incy) {
  if (bad(name, gemv_check(tr, m, n, lda, incx, incy))) return;
  const i64 M = *m, N = *n, LDA = *lda, IX = *incx, IY = *incy;
  if constexpr (std::is_same_v<R, float>) {
    qor_blas_scgemv(tr, &M, &N, cp<C>(alpha), a, &LDA, cp<C>(x), &IX, cp<C>(beta), mp<C>(y), &IY);
  } else {
    qor_blas_dzgemv(tr, &M, &N, cp<C>(alpha), a, &LDA, cp<C>(x), &IX, cp<C>(beta), mp<C>(y), &IY);
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void gbmv(const char* name, const char* tr, const Int* m, const Int* n, const Int* kl, const Int* ku,
          const void* alpha, const void* a, const Int* lda, const void* x, const Int* incx, const void* beta, void* y,
          const Int* incy) {
  Int info = 0;
  if (!is_trans(tr)) info = 1;
  else if (*m < 0) info = 2;
  else if (*n < 0) info = 3;
  else if (*kl < 0) info = 4;
  else if (*ku < 0) info = 5;
  else if (*lda < *kl + *ku + 1) info = 8;
  else if (*incx == 0) info = 10;
  else if (*incy == 0) info = 13;
  if (bad(name, info)) return;
  const i64 M = *m, N = *n, KL = *kl, KU = *ku, LDA = *lda, IX = *incx, IY = *incy;
  D<T>::gbmv(tr, &M, &N, &KL, &KU, cp<T>(alpha), cp<T>(a), &LDA, cp<T>(x), &IX, cp<T>(beta), mp<T>(y), &IY);
}

// Triangular: trmv, trsv (band k < 0 and no ap), tbmv, tbsv (k given),
// tpmv, tpsv (packed). Which one by `kind`.
enum class TriKind { Full, Band, Packed };

template <class T, class Int>
Int tri_check(TriKind kind, const char* uplo, const char* tr, const char* diag, const Int* n, const Int* k,
              const Int* lda, const Int* incx) {
  if (!is_uplo(uplo)) return 1;
  if (!is_trans(tr)) return 2;
  if (!is_diag(diag)) return 3;
  if (*n < 0) return 4;
  if (kind == TriKind::Full) {
    if (*lda < at_least_1(*n)) return 6;
    if (*incx == 0) return 8;
  } else if (kind == TriKind::Band) {
    if (*k < 0) return 5;
    if (*lda < *k + 1) return 7;
    if (*incx == 0) return 9;
  } else if (*incx == 0) {
    return 7;
  }
  return 0;
}

template <class T, class Int, bool Solve>
QOR_TRACED_WORK
void trxv(const char* name, const char* uplo, const char* tr, const char* diag, const Int* n, const void* a,
          const Int* lda, void* x, const Int* incx) {
  if (bad(name, tri_check<T>(TriKind::Full, uplo, tr, diag, n, n, lda, incx))) return;
  const i64 N = *n, LDA = *lda, IX = *incx;
  (Solve ? D<T>::trsv : D<T>::trmv)(uplo, tr, diag, &N, cp<T>(a), &LDA, mp<T>(x), &IX);
}

template <class T, class Int, bool Solve>
QOR_TRACED_WORK
void tbxv(const char* name, const char* uplo, const char* tr, const char* diag, const Int* n, const Int* k,
          const void* a, const Int* lda, void* x, const Int* incx) {
  if (bad(name, tri_check<T>(TriKind::Band, uplo, tr, diag, n, k, lda, incx))) return;
  const i64 N = *n, K = *k, LDA = *lda, IX = *incx;
  (Solve ? D<T>::tbsv : D<T>::tbmv)(uplo, tr, diag, &N, &K, cp<T>(a), &LDA, mp<T>(x), &IX);
}

template <class T, class Int, bool Solve>
QOR_TRACED_WORK
void tpxv(const char* name, const char* uplo, const char* tr, const char* diag, const Int* n, const void* ap,
          void* x, const Int* incx) {
  if (bad(name, tri_check<T>(TriKind::Packed, uplo, tr, diag, n, n, n, incx))) return;
  const i64 N = *n, IX = *incx;
  (Solve ? D<T>::tpsv : D<T>::tpmv)(uplo, tr, diag, &N, cp<T>(ap), mp<T>(x), &IX);
}

template <class T, class Int>
QOR_TRACED_WORK
void symv(const char* name, const char* uplo, const Int* n, const void* alpha, const void* a, const Int* lda,
          const void* x, const Int* incx, const void* beta, void* y, const Int* incy) {
  Int info = 0;
  if (!is_uplo(uplo)) info = 1;
  else if (*n < 0) info = 2;
  else if (*lda < at_least_1(*n)) info = 5;
  else if (*incx == 0) info = 7;
  else if (*incy == 0) info = 10;
  if (bad(name, info)) return;
  const i64 N = *n, LDA = *lda, IX = *incx, IY = *incy;
  D<T>::symv(uplo, &N, cp<T>(alpha), cp<T>(a), &LDA, cp<T>(x), &IX, cp<T>(beta), mp<T>(y), &IY);
}

template <class T, class Int>
QOR_TRACED_WORK
void sbmv(const char* name, const char* uplo, const Int* n, const Int* k, const void* alpha, const void* a,
          const Int* lda, const void* x, const Int* incx, const void* beta, void* y, const Int* incy) {
  Int info = 0;
  if (!is_uplo(uplo)) info = 1;
  else if (*n < 0) info = 2;
  else if (*k < 0) info = 3;
  else if (*lda < *k + 1) info = 6;
  else if (*incx == 0) info = 8;
  else if (*incy == 0) info = 11;
  if (bad(name, info)) return;
  const i64 N = *n, K = *k, LDA = *lda, IX = *incx, IY = *incy;
  D<T>::sbmv(uplo, &N, &K, cp<T>(alpha), cp<T>(a), &LDA, cp<T>(x), &IX, cp<T>(beta), mp<T>(y), &IY);
}

template <class T, class Int>
QOR_TRACED_WORK
void spmv(const char* name, const char* uplo, const Int* n, const void* alpha, const void* ap, const void* x,
          const Int* incx, const void* beta, void* y, const Int* incy) {
  Int info = 0;
  if (!is_uplo(uplo)) info = 1;
  else if (*n < 0) info = 2;
  else if (*incx == 0) info = 6;
  else if (*incy == 0) info = 9;
  if (bad(name, info)) return;
  const i64 N = *n, IX = *incx, IY = *incy;
  D<T>::spmv(uplo, &N, cp<T>(alpha), cp<T>(ap), cp<T>(x), &IX, cp<T>(beta), mp<T>(y), &IY);
}

template <class T, class Int, bool U>
QOR_TRACED_WORK
void ger(const char* name, const Int* m, const Int* n, const void* alpha, const void* x, const Int* incx,
         const void* y, const Int* incy, void* a, const Int* lda) {
  Int info = 0;
  if (*m < 0) info = 1;
  else if (*n < 0) info = 2;
  else if (*incx == 0) info = 5;
  else if (*incy == 0) info = 7;
  else if (*lda < at_least_1(*m)) info = 9;
  if (bad(name, info)) return;
  const i64 M = *m, N = *n, IX = *incx, IY = *incy, LDA = *lda;
  (U ? D<T>::geru : D<T>::ger)(&M, &N, cp<T>(alpha), cp<T>(x), &IX, cp<T>(y), &IY, mp<T>(a), &LDA);
}

// syr, her (lda given) and spr, hpr (packed: lda null).
template <class T, class Int>
QOR_TRACED_WORK
void syr(const char* name, const char* uplo, const Int* n, const void* alpha, const void* x, const Int* incx,
         void* a, const Int* lda) {
  Int info = 0;
  if (!is_uplo(uplo)) info = 1;
  else if (*n < 0) info = 2;
  else if (*incx == 0) info = 5;
  else if (lda != nullptr && *lda < at_least_1(*n)) info = 7;
  if (bad(name, info)) return;
  const i64 N = *n, IX = *incx;
  const auto* al = static_cast<const qor::real_t<T>*>(alpha);
  if (lda != nullptr) {
    const i64 LDA = *lda;
    if constexpr (cplx<T>) {
      D<T>::syr(uplo, &N, al, cp<T>(x), &IX, mp<T>(a), &LDA);
    } else {
      D<T>::syr(uplo, &N, cp<T>(alpha), cp<T>(x), &IX, mp<T>(a), &LDA);
    }
  } else {
    if constexpr (cplx<T>) {
      D<T>::spr(uplo, &N, al, cp<T>(x), &IX, mp<T>(a));
    } else {
      D<T>::spr(uplo, &N, cp<T>(alpha), cp<T>(x), &IX, mp<T>(a));
    }
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void syr2(const char* name, const char* uplo, const Int* n, const void* alpha, const void* x, const Int* incx,
          const void* y, const Int* incy, void* a, const Int* lda) {
  Int info = 0;
  if (!is_uplo(uplo)) info = 1;
  else if (*n < 0) info = 2;
  else if (*incx == 0) info = 5;
  else if (*incy == 0) info = 7;
  else if (lda != nullptr && *lda < at_least_1(*n)) info = 9;
  if (bad(name, info)) return;
  const i64 N = *n, IX = *incx, IY = *incy;
  if (lda != nullptr) {
    const i64 LDA = *lda;
    D<T>::syr2(uplo, &N, cp<T>(alpha), cp<T>(x), &IX, cp<T>(y), &IY, mp<T>(a), &LDA);
  } else {
    D<T>::spr2(uplo, &N, cp<T>(alpha), cp<T>(x), &IX, cp<T>(y), &IY, mp<T>(a));
  }
}

template <class T, class Int>
QOR_TRACED_WORK
void gem2v(const char* name, const Int* m, const Int* n, const void* alpha, const void* a, const Int* lda,
           const void* x1, const Int* incx1, const void* x2, const Int* incx2, const void* beta, void* y1,
           const Int* incy1, void* y2, const Int* incy2) {
  Int info = 0;
  if (*m < 0) info = 1;
  else if (*n < 0) info = 2;
  else if (*lda < at_least_1(*m)) info = 5;
  else if (*incx1 == 0) info = 7;
  else if (*incx2 == 0) info = 9;
  else if (*incy1 == 0) info = 12;
  else if (*incy2 == 0) info = 14;
  if (bad(name, info)) return;
  const i64 M = *m, N = *n, LDA = *lda, IX1 = *incx1, IX2 = *incx2, IY1 = *incy1, IY2 = *incy2;
  D<T>::gem2v(&M, &N, cp<T>(alpha), cp<T>(a), &LDA, cp<T>(x1), &IX1, cp<T>(x2), &IX2, cp<T>(beta), mp<T>(y1), &IY1,
              mp<T>(y2), &IY2);
}

}  // namespace

// Definitions per type and integer width. S is the public element type
// (void for complex), T the internal one, N the upper-case name prefix.
#define QOR_F2_COMMON(INT, SFX, t, S, T, N)                                                                       \
  QOR_API void t##gemv##SFX(const char* trans, const INT* m, const INT* n, const S* alpha, const S* a,          \
                            const INT* lda, const S* x, const INT* incx, const S* beta, S* y, const INT* incy,  \
                            size_t) {                                                                           \
    QOR_TRACED((trans, *m, *n, *lda, *incx, *incy), [=] {                                                       \
      gemv<T, INT>(N "GEMV", trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                               \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##gbmv##SFX(const char* trans, const INT* m, const INT* n, const INT* kl, const INT* ku,        \
                            const S* alpha, const S* a, const INT* lda, const S* x, const INT* incx,            \
                            const S* beta, S* y, const INT* incy, size_t) {                                     \
    QOR_TRACED((trans, *m, *n, *kl, *ku, *lda, *incx, *incy), [=] {                                             \
      gbmv<T, INT>(N "GBMV", trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);                       \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##trmv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* a,    \
                            const INT* lda, S* x, const INT* incx, size_t, size_t, size_t) {                    \
    QOR_TRACED((uplo, trans, diag, *n, *lda, *incx), [=] {                                                      \
      trxv<T, INT, false>(N "TRMV", uplo, trans, diag, n, a, lda, x, incx);                                     \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##trsv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* a,    \
                            const INT* lda, S* x, const INT* incx, size_t, size_t, size_t) {                    \
    QOR_TRACED((uplo, trans, diag, *n, *lda, *incx), [=] {                                                      \
      trxv<T, INT, true>(N "TRSV", uplo, trans, diag, n, a, lda, x, incx);                                      \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##tbmv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const INT* k,  \
                            const S* a, const INT* lda, S* x, const INT* incx, size_t, size_t, size_t) {        \
    QOR_TRACED((uplo, trans, diag, *n, *k, *lda, *incx), [=] {                                                  \
      tbxv<T, INT, false>(N "TBMV", uplo, trans, diag, n, k, a, lda, x, incx);                                  \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##tbsv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const INT* k,  \
                            const S* a, const INT* lda, S* x, const INT* incx, size_t, size_t, size_t) {        \
    QOR_TRACED((uplo, trans, diag, *n, *k, *lda, *incx), [=] {                                                  \
      tbxv<T, INT, true>(N "TBSV", uplo, trans, diag, n, k, a, lda, x, incx);                                   \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##tpmv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* ap,   \
                            S* x, const INT* incx, size_t, size_t, size_t) {                                    \
    QOR_TRACED((uplo, trans, diag, *n, *incx), [=] {                                                            \
      tpxv<T, INT, false>(N "TPMV", uplo, trans, diag, n, ap, x, incx);                                         \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##tpsv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* ap,   \
                            S* x, const INT* incx, size_t, size_t, size_t) {                                    \
    QOR_TRACED((uplo, trans, diag, *n, *incx), [=] {                                                            \
      tpxv<T, INT, true>(N "TPSV", uplo, trans, diag, n, ap, x, incx);                                          \
    });                                                                                                         \
  }

#define QOR_F2_SYM(INT, SFX, t, S, T, RA, N, sy, sb, sp, r1, p1, r2, p2, SY, SB, SP, R1, P1, R2, P2)              \
  QOR_API void t##sy##SFX(const char* uplo, const INT* n, const S* alpha, const S* a, const INT* lda,           \
                          const S* x, const INT* incx, const S* beta, S* y, const INT* incy, size_t) {          \
    QOR_TRACED((uplo, *n, *lda, *incx, *incy), [=] {                                                            \
      symv<T, INT>(N SY, uplo, n, alpha, a, lda, x, incx, beta, y, incy);                                       \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##sb##SFX(const char* uplo, const INT* n, const INT* k, const S* alpha, const S* a,             \
                          const INT* lda, const S* x, const INT* incx, const S* beta, S* y, const INT* incy,    \
                          size_t) {                                                                             \
    QOR_TRACED((uplo, *n, *k, *lda, *incx, *incy), [=] {                                                        \
      sbmv<T, INT>(N SB, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);                                    \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##sp##SFX(const char* uplo, const INT* n, const S* alpha, const S* ap, const S* x,              \
                          const INT* incx, const S* beta, S* y, const INT* incy, size_t) {                      \
    QOR_TRACED((uplo, *n, *incx, *incy), [=] {                                                                  \
      spmv<T, INT>(N SP, uplo, n, alpha, ap, x, incx, beta, y, incy);                                           \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##r1##SFX(const char* uplo, const INT* n, const RA* alpha, const S* x, const INT* incx, S* a,   \
                          const INT* lda, size_t) {                                                             \
    QOR_TRACED((uplo, *n, *incx, *lda), [=] {                                                                   \
      syr<T, INT>(N R1, uplo, n, alpha, x, incx, a, lda);                                                       \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##p1##SFX(const char* uplo, const INT* n, const RA* alpha, const S* x, const INT* incx, S* ap,  \
                          size_t) {                                                                             \
    QOR_TRACED((uplo, *n, *incx), [=] {                                                                         \
      syr<T, INT>(N P1, uplo, n, alpha, x, incx, ap, nullptr);                                                  \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##r2##SFX(const char* uplo, const INT* n, const S* alpha, const S* x, const INT* incx,          \
                          const S* y, const INT* incy, S* a, const INT* lda, size_t) {                          \
    QOR_TRACED((uplo, *n, *incx, *incy, *lda), [=] {                                                            \
      syr2<T, INT>(N R2, uplo, n, alpha, x, incx, y, incy, a, lda);                                             \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void t##p2##SFX(const char* uplo, const INT* n, const S* alpha, const S* x, const INT* incx,          \
                          const S* y, const INT* incy, S* ap, size_t) {                                         \
    QOR_TRACED((uplo, *n, *incx, *incy), [=] {                                                                  \
      syr2<T, INT>(N P2, uplo, n, alpha, x, incx, y, incy, ap, nullptr);                                        \
    });                                                                                                         \
  }

#define QOR_F2_GER(INT, SFX, name, S, T, U, NAME)                                                                 \
  QOR_API void name##SFX(const INT* m, const INT* n, const S* alpha, const S* x, const INT* incx, const S* y,    \
                         const INT* incy, S* a, const INT* lda) {                                               \
    QOR_TRACED((*m, *n, *incx, *incy, *lda), [=] {                                                              \
      ger<T, INT, U>(NAME, m, n, alpha, x, incx, y, incy, a, lda);                                              \
    });                                                                                                         \
  }

#define QOR_F2_GEM2V(INT, SFX, name, S, T, NAME)                                                                  \
  QOR_API void name##SFX(const INT* m, const INT* n, const S* alpha, const S* a, const INT* lda, const S* x1,   \
                         const INT* incx1, const S* x2, const INT* incx2, const S* beta, S* y1,                 \
                         const INT* incy1, S* y2, const INT* incy2) {                                           \
    QOR_TRACED((*m, *n, *lda, *incx1, *incx2, *incy1, *incy2), [=] {                                            \
      gem2v<T, INT>(NAME, m, n, alpha, a, lda, x1, incx1, x2, incx2, beta, y1, incy1, y2, incy2);               \
    });                                                                                                         \
  }

#define QOR_F2_ALL(INT, SFX)                                                                                      \
  QOR_F2_COMMON(INT, SFX, s, float, float, "S")                                                                 \
  QOR_F2_COMMON(INT, SFX, d, double, double, "D")                                                               \
  QOR_F2_COMMON(INT, SFX, c, void, c32, "C")                                                                    \
  QOR_F2_COMMON(INT, SFX, z, void, c64, "Z")                                                                    \
  QOR_F2_SYM(INT, SFX, s, float, float, float, "S", symv, sbmv, spmv, syr, spr, syr2, spr2, "SYMV", "SBMV",     \
             "SPMV", "SYR", "SPR", "SYR2", "SPR2")                                                              \
  QOR_F2_SYM(INT, SFX, d, double, double, double, "D", symv, sbmv, spmv, syr, spr, syr2, spr2, "SYMV", "SBMV",  \
             "SPMV", "SYR", "SPR", "SYR2", "SPR2")                                                              \
  QOR_F2_SYM(INT, SFX, c, void, c32, float, "C", hemv, hbmv, hpmv, her, hpr, her2, hpr2, "HEMV", "HBMV",        \
             "HPMV", "HER", "HPR", "HER2", "HPR2")                                                              \
  QOR_F2_SYM(INT, SFX, z, void, c64, double, "Z", hemv, hbmv, hpmv, her, hpr, her2, hpr2, "HEMV", "HBMV",       \
             "HPMV", "HER", "HPR", "HER2", "HPR2")                                                              \
  QOR_F2_GER(INT, SFX, sger, float, float, false, "SGER")                                                       \
  QOR_F2_GER(INT, SFX, dger, double, double, false, "DGER")                                                     \
  QOR_F2_GER(INT, SFX, cgerc, void, c32, false, "CGERC")                                                        \
  QOR_F2_GER(INT, SFX, cgeru, void, c32, true, "CGERU")                                                         \
  QOR_F2_GER(INT, SFX, zgerc, void, c64, false, "ZGERC")                                                        \
  QOR_F2_GER(INT, SFX, zgeru, void, c64, true, "ZGERU")                                                         \
  QOR_F2_GEM2V(INT, SFX, sgem2vu, float, float, "SGEM2VU")                                                      \
  QOR_F2_GEM2V(INT, SFX, dgem2vu, double, double, "DGEM2VU")                                                    \
  QOR_F2_GEM2V(INT, SFX, cgem2vc, void, c32, "CGEM2VC")                                                         \
  QOR_F2_GEM2V(INT, SFX, zgem2vc, void, c64, "ZGEM2VC")                                                         \
  QOR_API void scgemv##SFX(const char* trans, const INT* m, const INT* n, const void* alpha, const float* a,    \
                           const INT* lda, const void* x, const INT* incx, const void* beta, void* y,           \
                           const INT* incy, size_t) {                                                           \
    QOR_TRACED((trans, *m, *n, *lda, *incx, *incy), [=] {                                                       \
      mixed<float, c32, INT>("SCGEMV", trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                     \
    });                                                                                                         \
  }                                                                                                             \
  QOR_API void dzgemv##SFX(const char* trans, const INT* m, const INT* n, const void* alpha, const double* a,   \
                           const INT* lda, const void* x, const INT* incx, const void* beta, void* y,           \
                           const INT* incy, size_t) {                                                           \
    QOR_TRACED((trans, *m, *n, *lda, *incx, *incy), [=] {                                                       \
      mixed<double, c64, INT>("DZGEMV", trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                    \
    });                                                                                                         \
  }

extern "C" {
QOR_F2_ALL(int, _)
QOR_F2_ALL(std::int64_t, _64_)
}
