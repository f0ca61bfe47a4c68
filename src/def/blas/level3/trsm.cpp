// The exported names of the triangular solve: entries, layers, the dividing
// solver, the test of the diagonal and the leaves, all types.
#include "blas/level3/trsm.h"

#include "blas/level3/api.h"

namespace l3 = qor::QOR_ISA_NAME::l3;
using l3::i64;
using l3::Tri;

namespace {

// A leaf's case from its fixed letters and the diag letter.
Tri leaf_case(bool left, bool lower, bool trans, bool conj, const char* diag) {
  Tri t;
  t.left = left;
  t.lower = lower;
  t.trans = trans;
  t.conj = conj;
  t.unit = !l3::letter_is(diag, "N");
  return t;
}

template <class T>
Tri leaf_case_ut(bool left, const char* uplo, const char* transa, const char* diag) {
  const bool trans = !l3::letter_is(transa, "N");
  return leaf_case(left, !l3::letter_is(uplo, "U"), trans, qor::is_complex_v<T> && trans && l3::letter_is(transa, "C"),
                   diag);
}

}  // namespace

#define QOR_TRSM_DEFINE(t, T)                                                                                  \
  QOR_DEF_API void qor_blas_def_x##t##trsm(QOR_TRSM_ARGS(T)) {                                                 \
    (void)side_len, (void)uplo_len, (void)transa_len, (void)diag_len;                                        \
    l3::trsm<T>(l3::read_letters<T>(side, uplo, transa, diag), *m, *n, *alpha, a, *lda, b, *ldb);            \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_##t##trsm_pst(QOR_TRSM_ARGS(T)) {                                              \
    (void)side_len, (void)uplo_len, (void)transa_len, (void)diag_len;                                        \
    l3::trsm_pst<T>(l3::read_letters<T>(side, uplo, transa, diag), *m, *n, *alpha, a, *lda, b, *ldb);        \
  }                                                                                                            \
  QOR_DEF_API int qor_blas_def_##t##trsm_has_denormal(QOR_L3_I count, const T* base, QOR_L3_I stride) {       \
    return l3::has_denormal<T>(*count, base, *stride);                                                        \
  }
QOR_FOR_EACH_TYPE(QOR_TRSM_DEFINE)
#undef QOR_TRSM_DEFINE

#define QOR_TRSM_LAYERS_DEFINE(t, T)                                                                           \
  QOR_DEF_API void qor_blas_def_##t##trsm_l1(QOR_TRSM_ARGS(T)) {                                               \
    (void)side_len, (void)uplo_len, (void)transa_len, (void)diag_len;                                        \
    l3::layer_entry<T, &l3::layer1<T>>(l3::read_letters<T>(side, uplo, transa, diag), *m, *n, *alpha, a, *lda, \
                                       b, *ldb);                                                             \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_##t##trsm_l2(QOR_TRSM_ARGS(T)) {                                               \
    (void)side_len, (void)uplo_len, (void)transa_len, (void)diag_len;                                        \
    l3::layer_entry<T, &l3::layer2<T>>(l3::read_letters<T>(side, uplo, transa, diag), *m, *n, *alpha, a, *lda, \
                                       b, *ldb);                                                             \
  }
QOR_TRSM_LAYERS_DEFINE(s, float)
QOR_TRSM_LAYERS_DEFINE(d, double)
QOR_TRSM_LAYERS_DEFINE(c, ::qor::c32)
#undef QOR_TRSM_LAYERS_DEFINE

// ---- Leaves of one fixed case ---------------------------------------------------------

#define QOR_TRSM_LEAF_DEFINE(name, T, lower, trans)                                                            \
  QOR_DEF_API void qor_blas_def_##name(QOR_TRSM_LEAF_ARGS(T)) {                                                \
    const Tri t = leaf_case(true, lower, trans, false, diag);                                                  \
    l3::left_leaf_case<T, false, lower, trans>(t, *m, *n, a, *lda, b, *ldb);                                   \
  }
QOR_TRSM_LEAF_DEFINE(dtrsml_lln, double, true, false)
QOR_TRSM_LEAF_DEFINE(dtrsml_llt, double, true, true)
QOR_TRSM_LEAF_DEFINE(dtrsml_lun, double, false, false)
QOR_TRSM_LEAF_DEFINE(dtrsml_lut, double, false, true)
QOR_TRSM_LEAF_DEFINE(strsmlln, float, true, false)
QOR_TRSM_LEAF_DEFINE(strsmlun, float, false, false)
QOR_TRSM_LEAF_DEFINE(ctrsmlln, ::qor::c32, true, false)
QOR_TRSM_LEAF_DEFINE(ctrsmlun, ::qor::c32, false, false)
QOR_TRSM_LEAF_DEFINE(ztrsmlln, ::qor::c64, true, false)
QOR_TRSM_LEAF_DEFINE(ztrsmlun, ::qor::c64, false, false)
#undef QOR_TRSM_LEAF_DEFINE

#define QOR_TRSM_LEAF2_DEFINE(name, lower, trans)                                                              \
  QOR_DEF_API void qor_blas_def_##name(QOR_TRSM_LEAF_ARGS(double)) {                                           \
    const Tri t = leaf_case(true, lower, trans, false, diag);                                                  \
    if (*m % 2 == 0 && *n % 2 == 0) {                                                                          \
      l3::left_leaf2x2_case<double, lower, trans>(t, *m, *n, a, *lda, b, *ldb);                               \
    } else {                                                                                                   \
      l3::left_leaf_case<double, false, lower, trans>(t, *m, *n, a, *lda, b, *ldb);                           \
    }                                                                                                          \
  }
QOR_TRSM_LEAF2_DEFINE(dtrsml2x2_lln, true, false)
QOR_TRSM_LEAF2_DEFINE(dtrsml2x2_llt, true, true)
QOR_TRSM_LEAF2_DEFINE(dtrsml2x2_lun, false, false)
QOR_TRSM_LEAF2_DEFINE(dtrsml2x2_lut, false, true)
#undef QOR_TRSM_LEAF2_DEFINE

// ---- Leaves covering several cases ------------------------------------------------------

QOR_DEF_API void qor_blas_def_dtrsm_i(QOR_TRSM_LEAF_UT_ARGS(double)) {
  l3::right_leaf<double, false>(leaf_case_ut<double>(false, uplo, transa, diag), *m, *n, a, *lda, b, *ldb);
}
QOR_DEF_API void qor_blas_def_strsm_i(QOR_TRSM_LEAF_UT_ARGS(float)) {
  l3::right_leaf<float, false>(leaf_case_ut<float>(false, uplo, transa, diag), *m, *n, a, *lda, b, *ldb);
}
QOR_DEF_API void qor_blas_def_strsmlt(QOR_TRSM_LEAF_UT_ARGS(float)) {
  Tri t = leaf_case_ut<float>(true, uplo, transa, diag);
  t.trans = true;
  l3::left_leaf<float, false>(t, *m, *n, a, *lda, b, *ldb);
}

#define QOR_TRSM_CLEAVES_DEFINE(t, T)                                                                          \
  QOR_DEF_API void qor_blas_def_##t##trsmlt(QOR_TRSM_LEAF_UT_ARGS(T)) {                                        \
    Tri c = leaf_case_ut<T>(true, uplo, transa, diag);                                                         \
    c.trans = true;                                                                                            \
    l3::left_leaf<T, false>(c, *m, *n, a, *lda, b, *ldb);                                                      \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_##t##trsmrn(QOR_TRSM_LEAF_U_ARGS(T)) {                                         \
    l3::right_leaf<T, false>(leaf_case_ut<T>(false, uplo, "N", diag), *m, *n, a, *lda, b, *ldb);               \
  }                                                                                                            \
  QOR_DEF_API void qor_blas_def_##t##trsmrt(QOR_TRSM_LEAF_UT_ARGS(T)) {                                        \
    Tri c = leaf_case_ut<T>(false, uplo, transa, diag);                                                        \
    c.trans = true;                                                                                            \
    l3::right_leaf<T, false>(c, *m, *n, a, *lda, b, *ldb);                                                     \
  }
QOR_FOR_EACH_COMPLEX_TYPE(QOR_TRSM_CLEAVES_DEFINE)
#undef QOR_TRSM_CLEAVES_DEFINE
