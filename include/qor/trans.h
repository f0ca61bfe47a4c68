/*
 * qor: matrix transposition and addition.
 *
 * Scaled copy and transposition out of place (omatcopy, and omatcopy2 with
 * element strides), in place (imatcopy), and scaled addition with optional
 * transposition of each operand (omatadd), with their batch forms, for the
 * element types s (float), d (double), c (qor_complex8) and z
 * (qor_complex16). The double precision forms read:
 *
 *   void qor_domatcopy(char ordering, char trans, size_t rows, size_t cols,
 *                      double alpha, const double* a, size_t lda,
 *                      double* b, size_t ldb);
 *       b := alpha * op(a), a is rows by cols.
 *   void qor_domatcopy2(char ordering, char trans, size_t rows, size_t cols,
 *                       double alpha, const double* a, size_t lda,
 *                       size_t stridea, double* b, size_t ldb, size_t strideb);
 *       The same with element strides: in row-major ordering element (i, j)
 *       of a lies at a[i * lda + j * stridea].
 *   void qor_dimatcopy(char ordering, char trans, size_t rows, size_t cols,
 *                      double alpha, double* ab, size_t lda, size_t ldb);
 *       ab := alpha * op(ab) in place; ab is read with lda and written with
 *       ldb. Positions of the store outside both matrices are left as they
 *       were. No workspace is used.
 *   void qor_domatadd(char ordering, char transa, char transb, size_t rows,
 *                     size_t cols, double alpha, const double* a, size_t lda,
 *                     double beta, const double* b, size_t ldb,
 *                     double* c, size_t ldc);
 *       c := alpha * op(a) + beta * op(b), c is rows by cols. c may be a or
 *       b itself (then it is added in place); a zero scalar leaves its
 *       operand unread.
 *
 * ordering: 'R' row-major or 'C' column-major. trans: 'N' copy, 'T'
 * transpose, 'C' conjugate-transpose, 'R' conjugate without transposing
 * (for real types 'C' is 'T' and 'R' is 'N'). Either case. Any other letter,
 * or a zero size, returns without touching anything; nothing is reported.
 *
 * Batches: *_batch takes group_count groups; group g has group_size[g]
 * matrices sharing trans_array[g], rows_array[g], ... and the matrices are
 * listed one after another in a_array / b_array. *_batch_strided takes one
 * set of parameters for batch_size matrices that lie stridea (strideb, ...)
 * elements apart.
 */
#ifndef QOR_TRANS_H
#define QOR_TRANS_H

#include <stddef.h>
#include <stdint.h>

#include "qor/qor.h"
#include "qor/qor_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QOR_TRANS_DECLARE_PUBLIC(t, T)                                                                              \
  QOR_API void qor_##t##omatcopy(char ordering, char trans, size_t rows, size_t cols, T alpha, const T* a,         \
                                 size_t lda, T* b, size_t ldb);                                                     \
  QOR_API void qor_##t##omatcopy2(char ordering, char trans, size_t rows, size_t cols, T alpha, const T* a,        \
                                  size_t lda, size_t stridea, T* b, size_t ldb, size_t strideb);                    \
  QOR_API void qor_##t##imatcopy(char ordering, char trans, size_t rows, size_t cols, T alpha, T* ab, size_t lda,  \
                                 size_t ldb);                                                                       \
  QOR_API void qor_##t##omatadd(char ordering, char transa, char transb, size_t rows, size_t cols, T alpha,        \
                                const T* a, size_t lda, T beta, const T* b, size_t ldb, T* c, size_t ldc);         \
  QOR_API void qor_##t##omatcopy_batch(char ordering, const char* trans_array, const size_t* rows_array,           \
                                       const size_t* cols_array, const T* alpha_array, const T* const* a_array,    \
                                       const size_t* lda_array, T* const* b_array, const size_t* ldb_array,        \
                                       size_t group_count, const size_t* group_size);                              \
  QOR_API void qor_##t##imatcopy_batch(char ordering, const char* trans_array, const size_t* rows_array,           \
                                       const size_t* cols_array, const T* alpha_array, T* const* ab_array,         \
                                       const size_t* lda_array, const size_t* ldb_array, size_t group_count,       \
                                       const size_t* group_size);                                                  \
  QOR_API void qor_##t##omatcopy_batch_strided(char ordering, char trans, size_t rows, size_t cols, T alpha,       \
                                               const T* a, size_t lda, size_t stridea, T* b, size_t ldb,           \
                                               size_t strideb, size_t batch_size);                                 \
  QOR_API void qor_##t##imatcopy_batch_strided(char ordering, char trans, size_t rows, size_t cols, T alpha,       \
                                               T* ab, size_t lda, size_t ldb, size_t stride, size_t batch_size);   \
  QOR_API void qor_##t##omatadd_batch_strided(char ordering, char transa, char transb, size_t rows, size_t cols,   \
                                              T alpha, const T* a, size_t lda, size_t stridea, T beta, const T* b, \
                                              size_t ldb, size_t strideb, T* c, size_t ldc, size_t stridec,        \
                                              size_t batch_size);

QOR_TRANS_DECLARE_PUBLIC(s, float)
QOR_TRANS_DECLARE_PUBLIC(d, double)
QOR_TRANS_DECLARE_PUBLIC(c, qor_complex8)
QOR_TRANS_DECLARE_PUBLIC(z, qor_complex16)
#undef QOR_TRANS_DECLARE_PUBLIC

/* How often these routines handed work to the threaded layer (a share of
 * the threads was asked for): the evidence that a size went parallel. */
QOR_API int64_t qor_trans_parallel_calls(void);

#ifdef __cplusplus
}
#endif
#endif
