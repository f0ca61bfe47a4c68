// Exported in-place transposition: front, cycle-following and square kernels.
#include "trans/api.h"
#include "trans/inplace.h"

namespace tr = qor::QOR_ISA_NAME::trans;
using qor::trans::u64;

#define QOR_TRANS_INPLACE_EXPORTS(t, T)                                                                             \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy(int ordering, int trans, u64 rows, u64 cols, T alpha, T* ab,     \
                                                   u64 lda, u64 ldb) {                                              \
    tr::imatcopy(ordering, trans, rows, cols, alpha, ab, lda, ldb);                                                 \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_n(u64 rows, u64 cols, T* ab, u64 lda, u64 ldb, T alpha) {   \
    tr::imatcopy_mipt_n<false>(rows, cols, ab, lda, ldb, alpha);                                                    \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_r(u64 rows, u64 cols, T* ab, u64 lda, u64 ldb, T alpha) {   \
    tr::imatcopy_mipt_n<true>(rows, cols, ab, lda, ldb, alpha);                                                     \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_t(u64 rows, u64 cols, T* ab, u64 lda, u64 ldb, T alpha) {   \
    tr::imatcopy_mipt_t<false>(rows, cols, ab, lda, ldb, alpha);                                                    \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_c(u64 rows, u64 cols, T* ab, u64 lda, u64 ldb, T alpha) {   \
    tr::imatcopy_mipt_t<true>(rows, cols, ab, lda, ldb, alpha);                                                     \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_n(u64 n, T* ab, u64 lda, T alpha) {                      \
    tr::imatcopy_square_n<false>(n, ab, lda, alpha);                                                                \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_r(u64 n, T* ab, u64 lda, T alpha) {                      \
    tr::imatcopy_square_n<true>(n, ab, lda, alpha);                                                                 \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_t(u64 n, T* ab, u64 lda, T alpha) {                      \
    tr::imatcopy_square_t<false>(n, ab, lda, alpha);                                                                \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_c(u64 n, T* ab, u64 lda, T alpha) {                      \
    tr::imatcopy_square_t<true>(n, ab, lda, alpha);                                                                 \
  }                                                                                                                 \
  QOR_DEF_API int qor_trans_def_qor_##t##sqtrans(T* a, u64 n, u64 lda) { return tr::sqtrans(a, n, lda); }           \
  QOR_DEF_API void qor_trans_def_qor_##t##sqtrans_fit_64(T* a, u64 n, u64 lda) { tr::sqtrans_fit_64(a, n, lda); }   \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_t_team(u64 n, T* ab, u64 lda, int thread, int threads) {  \
    tr::square_t_team(n, ab, lda, thread, threads);                                                                 \
  }                                                                                                                 \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_t_64x64n(T* p, T* q, u64 lda, u64 size) {                 \
    tr::square_t_64x64n(p, q, lda, size);                                                                           \
  }

QOR_FOR_EACH_TYPE(QOR_TRANS_INPLACE_EXPORTS)
