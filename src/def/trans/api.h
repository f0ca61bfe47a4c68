// Exported names of the transposition and matrix addition kernels.
//
// One family per element type (s, d, c, z). Sizes, leading dimensions and
// strides are unsigned 64-bit values; `ordering` and `trans` are letters in
// the low byte of an int; scalars come by value, a complex one as its pair.
// Nothing here reports an error: an invalid letter or a zero size returns
// without touching anything.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "frame/types.h"

// The per-thread worker of the threaded square transposition.
template <class T>
using qor_trans_team_fn = void (*)(std::uint64_t n, T* ab, std::uint64_t lda, int thread, int threads);

#define QOR_TRANS_DECLARE_KERNELS(t, T)                                                                             \
  /* Front routines: choose the threaded driver or the sequential path. */                                        \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy(int ordering, int trans, std::uint64_t rows, std::uint64_t cols, \
                                                   T alpha, const T* a, std::uint64_t lda, T* b, std::uint64_t ldb); \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2(int ordering, int trans, std::uint64_t rows,                     \
                                                    std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,      \
                                                    std::uint64_t stridea, T* b, std::uint64_t ldb,                  \
                                                    std::uint64_t strideb);                                          \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_seq(int ordering, int trans, std::uint64_t rows,                 \
                                                        std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,  \
                                                        std::uint64_t stridea, T* b, std::uint64_t ldb,              \
                                                        std::uint64_t strideb);                                      \
  /* Out-of-place kernels; rows and columns in row-major terms. */                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_n(std::uint64_t rows, std::uint64_t cols, const T* a,           \
                                                      std::uint64_t lda, std::uint64_t stridea, T* b,                \
                                                      std::uint64_t ldb, std::uint64_t strideb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_t(std::uint64_t rows, std::uint64_t cols, const T* a,           \
                                                      std::uint64_t lda, std::uint64_t stridea, T* b,                \
                                                      std::uint64_t ldb, std::uint64_t strideb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_c(std::uint64_t rows, std::uint64_t cols, const T* a,           \
                                                      std::uint64_t lda, std::uint64_t stridea, T* b,                \
                                                      std::uint64_t ldb, std::uint64_t strideb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy2_r(std::uint64_t rows, std::uint64_t cols, const T* a,           \
                                                      std::uint64_t lda, std::uint64_t stridea, T* b,                \
                                                      std::uint64_t ldb, std::uint64_t strideb, T alpha);            \
  /* In place. */                                                                                                   \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy(int ordering, int trans, std::uint64_t rows, std::uint64_t cols, \
                                                   T alpha, T* ab, std::uint64_t lda, std::uint64_t ldb);            \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_n(std::uint64_t rows, std::uint64_t cols, T* ab,            \
                                                          std::uint64_t lda, std::uint64_t ldb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_t(std::uint64_t rows, std::uint64_t cols, T* ab,            \
                                                          std::uint64_t lda, std::uint64_t ldb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_c(std::uint64_t rows, std::uint64_t cols, T* ab,            \
                                                          std::uint64_t lda, std::uint64_t ldb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_mipt_r(std::uint64_t rows, std::uint64_t cols, T* ab,            \
                                                          std::uint64_t lda, std::uint64_t ldb, T alpha);            \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_n(std::uint64_t n, T* ab, std::uint64_t lda, T alpha);    \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_t(std::uint64_t n, T* ab, std::uint64_t lda, T alpha);    \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_c(std::uint64_t n, T* ab, std::uint64_t lda, T alpha);    \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_r(std::uint64_t n, T* ab, std::uint64_t lda, T alpha);    \
  /* Square transposition without scaling; always returns 0. */                                                    \
  QOR_DEF_API int qor_trans_def_qor_##t##sqtrans(T* a, std::uint64_t n, std::uint64_t lda);                          \
  QOR_DEF_API void qor_trans_def_qor_##t##sqtrans_fit_64(T* a, std::uint64_t n, std::uint64_t lda);                  \
  /* The threaded square transposition: one worker's share, and one tile. */                                       \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_t_team(std::uint64_t n, T* ab, std::uint64_t lda,         \
                                                                 int thread, int threads);                          \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_square_t_64x64n(T* p, T* q, std::uint64_t lda,                   \
                                                                   std::uint64_t size);                             \
  /* Addition. */                                                                                                   \
  QOR_DEF_API void qor_trans_def_qor_##t##omatadd(int ordering, int transa, int transb, std::uint64_t rows,         \
                                                  std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,       \
                                                  T beta, const T* b, std::uint64_t ldb, T* c, std::uint64_t ldc);  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatadd_seq(int ordering, int transa, int transb, std::uint64_t rows,     \
                                                      std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,   \
                                                      T beta, const T* b, std::uint64_t ldb, T* c,                  \
                                                      std::uint64_t ldc);                                           \
  QOR_DEF_API void qor_trans_def_qor_##t##imatadd(int ordering, int trans, std::uint64_t rows, std::uint64_t cols,  \
                                                  T alpha, const T* a, std::uint64_t lda, T beta, T* c,             \
                                                  std::uint64_t ldc);                                               \
  /* Batches: groups of equal parameters, or one parameter set with a fixed distance between matrices. */          \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy_batch(                                                           \
      int ordering, const char* trans_array, const std::uint64_t* rows_array, const std::uint64_t* cols_array,      \
      const T* alpha_array, const T* const* a_array, const std::uint64_t* lda_array, T* const* b_array,             \
      const std::uint64_t* ldb_array, std::uint64_t group_count, const std::uint64_t* group_size);                  \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_batch(                                                           \
      int ordering, const char* trans_array, const std::uint64_t* rows_array, const std::uint64_t* cols_array,      \
      const T* alpha_array, T* const* ab_array, const std::uint64_t* lda_array, const std::uint64_t* ldb_array,     \
      std::uint64_t group_count, const std::uint64_t* group_size);                                                  \
  QOR_DEF_API void qor_trans_def_qor_##t##omatcopy_batch_strided(                                                   \
      int ordering, int trans, std::uint64_t rows, std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,      \
      std::uint64_t stridea, T* b, std::uint64_t ldb, std::uint64_t strideb, std::uint64_t batch_size);             \
  QOR_DEF_API void qor_trans_def_qor_##t##imatcopy_batch_strided(int ordering, int trans, std::uint64_t rows,       \
                                                                 std::uint64_t cols, T alpha, T* ab,                \
                                                                 std::uint64_t lda, std::uint64_t ldb,              \
                                                                 std::uint64_t stride, std::uint64_t batch_size);   \
  QOR_DEF_API void qor_trans_def_qor_##t##omatadd_batch_strided(                                                    \
      int ordering, int transa, int transb, std::uint64_t rows, std::uint64_t cols, T alpha, const T* a,            \
      std::uint64_t lda, std::uint64_t stridea, T beta, const T* b, std::uint64_t ldb, std::uint64_t strideb, T* c, \
      std::uint64_t ldc, std::uint64_t stridec, std::uint64_t batch_size);                                          \
  /* Kept for the interface; does nothing. */                                                                       \
  QOR_DEF_API void qor_trans_def_qor_##t##soi_init(void);

QOR_FOR_EACH_TYPE(QOR_TRANS_DECLARE_KERNELS)
