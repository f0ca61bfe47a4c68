// The Fortran interface of the Level 3 routines beside GEMM, 32- and 64-bit
// integers: the reference argument checks (xerbla_ on a bad argument, and
// nothing else done), the quick returns of the reference routines, then the
// dispatching names.
#include <cstddef>
#include <cstdint>

#include "blas/common/interface.h"
#include "blas/gemm/gemm.h"
#include "blas/level3/checks.h"
#include "blas/level3/dispatch.h"
#include "frame/trace.h"
#include "qor/blas_level3_ext.h"
#include "qor/qor.h"

namespace {

using qor::c32;
using qor::c64;
using qor::core::blas::fortran_arg_error;
using qor::core::blas::upper;
namespace l3 = qor::core::l3;
using l3::i64;

using l3::GemmFn;
using l3::GemmtFn;
using l3::Syr2kFn;
using l3::SymmFn;
using l3::SyrkFn;
using l3::TriFn;

template <class Int, class T>
QOR_TRACED_WORK
void tri(TriFn<T> fn, const char* name, const char* side, const char* uplo, const char* transa, const char* diag,
         const Int* m, const Int* n, const void* alpha, const void* a, const Int* lda, void* b, const Int* ldb) {
  const char s = upper(side), u = upper(uplo), t = upper(transa), d = upper(diag);
  if (int bad = l3::tri_check(s, u, t, d, *m, *n, *lda, *ldb); bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  if (*m == 0 || *n == 0) return;
  const i64 mm = *m, nn = *n, la = *lda, lb = *ldb;
  fn(&s, &u, &t, &d, &mm, &nn, static_cast<const T*>(alpha), static_cast<const T*>(a), &la, static_cast<T*>(b), &lb);
}

template <class Int, class T>
QOR_TRACED_WORK
void symm(SymmFn<T> fn, const char* name, const char* side, const char* uplo, const Int* m, const Int* n,
          const void* alpha, const void* a, const Int* lda, const void* b, const Int* ldb, const void* beta, void* c,
          const Int* ldc) {
  const char s = upper(side), u = upper(uplo);
  if (int bad = l3::symm_check(s, u, *m, *n, *lda, *ldb, *ldc); bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  const i64 mm = *m, nn = *n, la = *lda, lb = *ldb, lc = *ldc;
  fn(&s, &u, &mm, &nn, static_cast<const T*>(alpha), static_cast<const T*>(a), &la, static_cast<const T*>(b), &lb,
     static_cast<const T*>(beta), static_cast<T*>(c), &lc);
}

template <class Int, class T, class S>
QOR_TRACED_WORK
void syrk(SyrkFn<T, S> fn, const char* name, const char* letters, const char* uplo, const char* trans, const Int* n,
          const Int* k, const void* alpha, const void* a, const Int* lda, const void* beta, void* c, const Int* ldc) {
  const char u = upper(uplo), t = upper(trans);
  if (int bad = l3::rankk_check(false, letters, u, t, *n, *k, *lda, 0, *ldc); bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  const i64 nn = *n, kk = *k, la = *lda, lc = *ldc;
  fn(&u, &t, &nn, &kk, static_cast<const S*>(alpha), static_cast<const T*>(a), &la, static_cast<const S*>(beta),
     static_cast<T*>(c), &lc);
}

template <class Int, class T, class S>
QOR_TRACED_WORK
void syr2k(Syr2kFn<T, S> fn, const char* name, const char* letters, const char* uplo, const char* trans,
           const Int* n, const Int* k, const void* alpha, const void* a, const Int* lda, const void* b,
           const Int* ldb, const void* beta, void* c, const Int* ldc) {
  const char u = upper(uplo), t = upper(trans);
  if (int bad = l3::rankk_check(true, letters, u, t, *n, *k, *lda, *ldb, *ldc); bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  const i64 nn = *n, kk = *k, la = *lda, lb = *ldb, lc = *ldc;
  fn(&u, &t, &nn, &kk, static_cast<const T*>(alpha), static_cast<const T*>(a), &la, static_cast<const T*>(b), &lb,
     static_cast<const S*>(beta), static_cast<T*>(c), &lc);
}

template <class Int, class T>
QOR_TRACED_WORK
void gemmt(GemmtFn<T> fn, const char* name, const char* uplo, const char* transa, const char* transb, const Int* n,
           const Int* k, const void* alpha, const void* a, const Int* lda, const void* b, const Int* ldb,
           const void* beta, void* c, const Int* ldc) {
  const char u = upper(uplo), ta = upper(transa), tb = upper(transb);
  if (int bad = l3::gemmt_check(u, ta, tb, *n, *k, *lda, *ldb, *ldc); bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  const i64 nn = *n, kk = *k, la = *lda, lb = *ldb, lc = *ldc;
  fn(&u, &ta, &tb, &nn, &kk, static_cast<const T*>(alpha), static_cast<const T*>(a), &la, static_cast<const T*>(b),
     &lb, static_cast<const T*>(beta), static_cast<T*>(c), &lc);
}

template <class Int, class T, class TA>
QOR_TRACED_WORK
void gemm_like(GemmFn<T, TA> fn, const char* name, const char* transa, const char* transb, const Int* m,
               const Int* n, const Int* k, const void* alpha, const void* a, const Int* lda, const void* b,
               const Int* ldb, const void* beta, void* c, const Int* ldc) {
  const char ta = upper(transa), tb = upper(transb);
  if (int bad = qor::core::blas::gemm_fortran_check(ta, tb, *m, *n, *k, *lda, *ldb, *ldc); bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  const i64 mm = *m, nn = *n, kk = *k, la = *lda, lb = *ldb, lc = *ldc;
  fn(&ta, &tb, &mm, &nn, &kk, static_cast<const T*>(alpha), static_cast<const TA*>(a), &la, static_cast<const T*>(b),
     &lb, static_cast<const T*>(beta), static_cast<T*>(c), &lc);
}

}  // namespace

// Every routine of one element type and integer width. S is the public
// scalar type (void for complex), UP the upper-case letter.
#define QOR_L3F_TYPE(t, T, S, UP, INT, SFX)                                                                    \
  QOR_API void t##trsm##SFX(const char* side, const char* uplo, const char* transa, const char* diag,          \
                            const INT* m, const INT* n, const S* alpha, const S* a, const INT* lda, S* b,       \
                            const INT* ldb, size_t, size_t, size_t, size_t) {                                  \
    QOR_TRACED((side, uplo, transa, diag, *m, *n, *lda, *ldb), [=] {                                           \
      tri<INT, T>(&qor_blas_##t##trsm, #UP "TRSM", side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);     \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##trmm##SFX(const char* side, const char* uplo, const char* transa, const char* diag,          \
                            const INT* m, const INT* n, const S* alpha, const S* a, const INT* lda, S* b,       \
                            const INT* ldb, size_t, size_t, size_t, size_t) {                                  \
    QOR_TRACED((side, uplo, transa, diag, *m, *n, *lda, *ldb), [=] {                                           \
      tri<INT, T>(&qor_blas_##t##trmm, #UP "TRMM", side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);     \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##symm##SFX(const char* side, const char* uplo, const INT* m, const INT* n, const S* alpha,    \
                            const S* a, const INT* lda, const S* b, const INT* ldb, const S* beta, S* c,        \
                            const INT* ldc, size_t, size_t) {                                                  \
    QOR_TRACED((side, uplo, *m, *n, *lda, *ldb, *ldc), [=] {                                                   \
      symm<INT, T>(&qor_blas_##t##symm, #UP "SYMM", side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);    \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##syrk##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const S* alpha,   \
                            const S* a, const INT* lda, const S* beta, S* c, const INT* ldc, size_t, size_t) { \
    QOR_TRACED((uplo, trans, *n, *k, *lda, *ldc), [=] {                                                        \
      syrk<INT, T, T>(&qor_blas_##t##syrk, #UP "SYRK", qor::is_complex_v<T> ? "NT" : "NTC", uplo, trans, n, k, \
                      alpha, a, lda, beta, c, ldc);                                                            \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##syr2k##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const S* alpha,  \
                             const S* a, const INT* lda, const S* b, const INT* ldb, const S* beta, S* c,       \
                             const INT* ldc, size_t, size_t) {                                                 \
    QOR_TRACED((uplo, trans, *n, *k, *lda, *ldb, *ldc), [=] {                                                  \
      syr2k<INT, T, T>(&qor_blas_##t##syr2k, #UP "SYR2K", qor::is_complex_v<T> ? "NT" : "NTC", uplo, trans, n, k, \
                       alpha, a, lda, b, ldb, beta, c, ldc);                                                   \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##gemmt##SFX(const char* uplo, const char* transa, const char* transb, const INT* n,           \
                             const INT* k, const S* alpha, const S* a, const INT* lda, const S* b,              \
                             const INT* ldb, const S* beta, S* c, const INT* ldc, size_t, size_t, size_t) {     \
    QOR_TRACED((uplo, transa, transb, *n, *k, *lda, *ldb, *ldc), [=] {                                         \
      gemmt<INT, T>(&qor_blas_##t##gemmt, #UP "GEMMT", uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, \
                    c, ldc);                                                                                   \
    });                                                                                                        \
  }

#define QOR_L3F_COMPLEX(t, T, R, UP, INT, SFX)                                                                 \
  QOR_API void t##hemm##SFX(const char* side, const char* uplo, const INT* m, const INT* n, const void* alpha, \
                            const void* a, const INT* lda, const void* b, const INT* ldb, const void* beta,     \
                            void* c, const INT* ldc, size_t, size_t) {                                         \
    QOR_TRACED((side, uplo, *m, *n, *lda, *ldb, *ldc), [=] {                                                   \
      symm<INT, T>(&qor_blas_##t##hemm, #UP "HEMM", side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);    \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##herk##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const R* alpha,   \
                            const void* a, const INT* lda, const R* beta, void* c, const INT* ldc, size_t,      \
                            size_t) {                                                                          \
    QOR_TRACED((uplo, trans, *n, *k, *lda, *ldc), [=] {                                                        \
      syrk<INT, T, R>(&qor_blas_##t##herk, #UP "HERK", "NC", uplo, trans, n, k, alpha, a, lda, beta, c, ldc);  \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##her2k##SFX(const char* uplo, const char* trans, const INT* n, const INT* k,                  \
                             const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,   \
                             const R* beta, void* c, const INT* ldc, size_t, size_t) {                         \
    QOR_TRACED((uplo, trans, *n, *k, *lda, *ldb, *ldc), [=] {                                                  \
      syr2k<INT, T, R>(&qor_blas_##t##her2k, #UP "HER2K", "NC", uplo, trans, n, k, alpha, a, lda, b, ldb, beta, \
                       c, ldc);                                                                                \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##gemm3m##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k, \
                              const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,  \
                              const void* beta, void* c, const INT* ldc, size_t, size_t) {                     \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {                                           \
      gemm_like<INT, T, T>(&qor_blas_##t##gemm3m, #UP "GEMM3M", transa, transb, m, n, k, alpha, a, lda, b, ldb, \
                           beta, c, ldc);                                                                      \
    });                                                                                                        \
  }

#define QOR_L3F_MIXED(name, T, R, UPNAME, INT, SFX)                                                            \
  QOR_API void name##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,      \
                         const void* alpha, const R* a, const INT* lda, const void* b, const INT* ldb,          \
                         const void* beta, void* c, const INT* ldc, size_t, size_t) {                          \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {                                           \
      gemm_like<INT, T, R>(&qor_blas_##name, UPNAME, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); \
    });                                                                                                        \
  }

#define QOR_L3F_ALL(INT, SFX)                                    \
  QOR_L3F_TYPE(s, float, float, S, INT, SFX)                     \
  QOR_L3F_TYPE(d, double, double, D, INT, SFX)                   \
  QOR_L3F_TYPE(c, c32, void, C, INT, SFX)                        \
  QOR_L3F_TYPE(z, c64, void, Z, INT, SFX)                        \
  QOR_L3F_COMPLEX(c, c32, float, C, INT, SFX)                    \
  QOR_L3F_COMPLEX(z, c64, double, Z, INT, SFX)                   \
  QOR_L3F_MIXED(scgemm, c32, float, "SCGEMM", INT, SFX)          \
  QOR_L3F_MIXED(dzgemm, c64, double, "DZGEMM", INT, SFX)

extern "C" {
QOR_L3F_ALL(int, _)
QOR_L3F_ALL(std::int64_t, _64_)
}
