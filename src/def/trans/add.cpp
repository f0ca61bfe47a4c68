// Exported matrix addition: front, sequential dispatcher and in-place form.
#include "trans/add.h"
#include "trans/api.h"

namespace tr = qor::QOR_ISA_NAME::trans;
using qor::trans::u64;

#define QOR_TRANS_ADD_EXPORTS(t, T)                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatadd(int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, \
                                                  const T* a, u64 lda, T beta, const T* b, u64 ldb, T* c, u64 ldc) { \
    tr::omatadd(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);                          \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatadd_seq(int ordering, int transa, int transb, u64 rows, u64 cols,      \
                                                      T alpha, const T* a, u64 lda, T beta, const T* b, u64 ldb,     \
                                                      T* c, u64 ldc) {                                               \
    tr::omatadd_seq(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);                      \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##imatadd(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a,  \
                                                  u64 lda, T beta, T* c, u64 ldc) {                                  \
    tr::imatadd(ordering, trans, rows, cols, alpha, a, lda, beta, c, ldc);                                           \
  }

QOR_FOR_EACH_TYPE(QOR_TRANS_ADD_EXPORTS)
