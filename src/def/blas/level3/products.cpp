// The exported Level 3 products beside the solve: symm, hemm, syrk, herk,
// syr2k, her2k, trmm, gemmt, gemm3m and the real-A products, all types.
#include "blas/level3/api.h"
#include "blas/level3/gemm3m.h"
#include "blas/level3/rankk.h"
#include "blas/level3/symm.h"
#include "blas/level3/trmm.h"

namespace l3 = qor::QOR_ISA_NAME::l3;

namespace {

// The letter of op for a GEMM operand: 'N', 'T', or 'C' (complex types
// only; a real type takes any letter but N as T).
template <class T>
char op_letter(const char* p) {
  const char c = qor::fold(p);
  if (c == 'N') return 'N';
  return (qor::is_complex_v<T> && c == 'C') ? 'C' : 'T';
}

}  // namespace

#define QOR_L3_PRODUCTS_DEFINE(t, T)                                                                           \
  QOR_DEF_API void qor_blas_def_x##t##symm(QOR_SYMM_ARGS(T)) {                                                 \
    l3::symm<T>(l3::letter_is(side, "L"), !l3::letter_is(uplo, "U"), false, *m, *n, *alpha, a, *lda, b, *ldb, \
                *beta, c, *ldc);                                                                               \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##syrk(QOR_SYRK_ARGS(T, T)) {                                              \
    l3::syrk<T>(!l3::letter_is(uplo, "U"), !l3::letter_is(trans, "N"), false, *n, *k, *alpha, a, *lda, *beta, \
                c, *ldc);                                                                                      \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##syr2k(QOR_SYR2K_ARGS(T, T)) {                                            \
    l3::syr2k<T>(!l3::letter_is(uplo, "U"), !l3::letter_is(trans, "N"), false, *n, *k, *alpha, a, *lda, b,    \
                 *ldb, *beta, c, *ldc);                                                                        \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##trmm(QOR_TRMM_ARGS(T)) {                                                 \
    l3::trmm<T>(l3::read_letters<T>(side, uplo, transa, diag), *m, *n, *alpha, a, *lda, b, *ldb);             \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##gemmt(QOR_GEMMT_ARGS(T)) {                                               \
    const char oa = op_letter<T>(transa), ob = op_letter<T>(transb);                                         \
    l3::gemmt<T>(!l3::letter_is(uplo, "U"), oa != 'N', oa == 'C', ob != 'N', ob == 'C', *n, *k, *alpha, a,    \
                 *lda, b, *ldb, *beta, c, *ldc);                                                               \
  }
QOR_FOR_EACH_TYPE(QOR_L3_PRODUCTS_DEFINE)
#undef QOR_L3_PRODUCTS_DEFINE

#define QOR_L3_COMPLEX_DEFINE(t, T)                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##hemm(QOR_SYMM_ARGS(T)) {                                                 \
    l3::symm<T>(l3::letter_is(side, "L"), !l3::letter_is(uplo, "U"), true, *m, *n, *alpha, a, *lda, b, *ldb,  \
                *beta, c, *ldc);                                                                               \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##herk(QOR_SYRK_ARGS(T, ::qor::real_t<T>)) {                               \
    l3::syrk<T>(!l3::letter_is(uplo, "U"), !l3::letter_is(trans, "N"), true, *n, *k, T(*alpha), a, *lda,      \
                T(*beta), c, *ldc);                                                                            \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##her2k(QOR_SYR2K_ARGS(T, ::qor::real_t<T>)) {                             \
    l3::syr2k<T>(!l3::letter_is(uplo, "U"), !l3::letter_is(trans, "N"), true, *n, *k, *alpha, a, *lda, b,     \
                 *ldb, T(*beta), c, *ldc);                                                                     \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##gemm3m(QOR_GEMM_MIXED_ARGS(T, T)) {                                      \
    l3::gemm3m<T>(op_letter<T>(transa), op_letter<T>(transb), *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, \
                  *ldc);                                                                                       \
  }
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L3_COMPLEX_DEFINE)
#undef QOR_L3_COMPLEX_DEFINE

#define QOR_L3_MIXED_DEFINE(name, T, TA, TB, real_left)                                                     \
  QOR_DEF_API void qor_blas_def_x##name(QOR_GEMM_MIXED2_ARGS(T, TA, TB)) {                                     \
    l3::gemm_mixed<T, real_left>(op_letter<TA>(transa), op_letter<TB>(transb), *m, *n, *k, *alpha, a, *lda, b, \
                                 *ldb, *beta, c, *ldc);                                                        \
  }
QOR_L3_MIXED_DEFINE(scgemm, ::qor::c32, float, ::qor::c32, true)
QOR_L3_MIXED_DEFINE(dzgemm, ::qor::c64, double, ::qor::c64, true)
QOR_L3_MIXED_DEFINE(csgemm, ::qor::c32, ::qor::c32, float, false)
QOR_L3_MIXED_DEFINE(zdgemm, ::qor::c64, ::qor::c64, double, false)
#undef QOR_L3_MIXED_DEFINE
