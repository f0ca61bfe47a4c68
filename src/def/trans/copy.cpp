// Exported out-of-place copy and transposition: fronts and kernels.
#include "trans/api.h"
#include "trans/copy.h"

namespace tr = qor::QOR_ISA_NAME::trans;
using qor::trans::u64;

#define QOR_TRANS_COPY_EXPORTS(t, T)                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, \
                                                   u64 lda, T* b, u64 ldb) {                                        \
    tr::omatcopy(ordering, trans, rows, cols, alpha, a, lda, b, ldb);                                                \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2(int ordering, int trans, u64 rows, u64 cols, T alpha,            \
                                                    const T* a, u64 lda, u64 stridea, T* b, u64 ldb, u64 strideb) {  \
    tr::omatcopy2(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);                             \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_seq(int ordering, int trans, u64 rows, u64 cols, T alpha,        \
                                                        const T* a, u64 lda, u64 stridea, T* b, u64 ldb,             \
                                                        u64 strideb) {                                               \
    tr::omatcopy2_seq(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);                         \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_n(u64 rows, u64 cols, const T* a, u64 lda, u64 stridea, T* b,   \
                                                      u64 ldb, u64 strideb, T alpha) {                               \
    tr::omatcopy2_n<false>(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);                                     \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_r(u64 rows, u64 cols, const T* a, u64 lda, u64 stridea, T* b,   \
                                                      u64 ldb, u64 strideb, T alpha) {                               \
    tr::omatcopy2_n<true>(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);                                      \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_t(u64 rows, u64 cols, const T* a, u64 lda, u64 stridea, T* b,   \
                                                      u64 ldb, u64 strideb, T alpha) {                               \
    tr::omatcopy2_t<false>(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);                                     \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_c(u64 rows, u64 cols, const T* a, u64 lda, u64 stridea, T* b,   \
                                                      u64 ldb, u64 strideb, T alpha) {                               \
    tr::omatcopy2_t<true>(rows, cols, a, lda, stridea, b, ldb, strideb, alpha);                                      \
  }                                                                                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##soi_init(void) {}

QOR_FOR_EACH_TYPE(QOR_TRANS_COPY_EXPORTS)
