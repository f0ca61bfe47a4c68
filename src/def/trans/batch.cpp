// Exported batch forms. Groups go to the threaded driver; a strided batch of
// one matrix is the single routine.
#include "trans/add.h"
#include "trans/api.h"
#include "trans/inplace.h"

namespace tr = qor::QOR_ISA_NAME::trans;
using qor::trans::Imports;
using qor::trans::u64;

#define QOR_TRANS_BATCH_EXPORTS(t, T)                                                                                \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy_batch(                                                           \
      int ordering, const char* trans_array, const u64* rows_array, const u64* cols_array, const T* alpha_array,    \
      const T* const* a_array, const u64* lda_array, T* const* b_array, const u64* ldb_array, u64 group_count,      \
      const u64* group_size) {                                                                                      \
    if (group_count == 0) return;                                                                                   \
    Imports<T>::omatcopy_batch_par(ordering, trans_array, rows_array, cols_array, alpha_array, a_array, lda_array,  \
                                   b_array, ldb_array, group_count, group_size);                                    \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_batch(                                                           \
      int ordering, const char* trans_array, const u64* rows_array, const u64* cols_array, const T* alpha_array,    \
      T* const* ab_array, const u64* lda_array, const u64* ldb_array, u64 group_count, const u64* group_size) {      \
    if (group_count == 0) return;                                                                                   \
    Imports<T>::imatcopy_batch_par(ordering, trans_array, rows_array, cols_array, alpha_array, ab_array, lda_array, \
                                   ldb_array, group_count, group_size);                                             \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy_batch_strided(int ordering, int trans, u64 rows, u64 cols,       \
                                                                 T alpha, const T* a, u64 lda, u64 stridea, T* b,   \
                                                                 u64 ldb, u64 strideb, u64 batch_size) {            \
    if (batch_size == 0) return;                                                                                    \
    if (batch_size == 1) {                                                                                          \
      tr::omatcopy(ordering, trans, rows, cols, alpha, a, lda, b, ldb);                                             \
      return;                                                                                                       \
    }                                                                                                               \
    Imports<T>::omatcopy_batch_strided_par(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb,    \
                                           batch_size);                                                             \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_batch_strided(int ordering, int trans, u64 rows, u64 cols,       \
                                                                 T alpha, T* ab, u64 lda, u64 ldb, u64 stride,      \
                                                                 u64 batch_size) {                                  \
    if (batch_size == 0) return;                                                                                    \
    if (batch_size == 1) {                                                                                          \
      tr::imatcopy(ordering, trans, rows, cols, alpha, ab, lda, ldb);                                               \
      return;                                                                                                       \
    }                                                                                                               \
    Imports<T>::imatcopy_batch_strided_par(ordering, trans, rows, cols, alpha, ab, lda, ldb, stride, batch_size);   \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##omatadd_batch_strided(                                                    \
      int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, const T* a, u64 lda, u64 stridea, T beta,  \
      const T* b, u64 ldb, u64 strideb, T* c, u64 ldc, u64 stridec, u64 batch_size) {                               \
    if (batch_size == 0) return;                                                                                    \
    if (batch_size == 1) {                                                                                          \
      tr::omatadd(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);                       \
      return;                                                                                                       \
    }                                                                                                               \
    Imports<T>::omatadd_batch_strided_par(ordering, transa, transb, rows, cols, alpha, a, lda, stridea, beta, b,    \
                                          ldb, strideb, c, ldc, stridec, batch_size);                               \
  }

QOR_FOR_EACH_TYPE(QOR_TRANS_BATCH_EXPORTS)
