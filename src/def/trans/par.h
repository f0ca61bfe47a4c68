// The threaded drivers of transposition, defined by the core library and
// imported by the kernel library. Each splits the work over threads and
// calls the kernel library's sequential routines back for every share.
#pragma once
#include <cstdint>

#include "trans/api.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_TRANS_PAR_API extern "C" __attribute__((visibility("default")))
#else
#define QOR_TRANS_PAR_API extern "C"
#endif

#define QOR_TRANS_DECLARE_PAR(t, T)                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatcopy2_par(int ordering, int trans, std::uint64_t rows,               \
                                                          std::uint64_t cols, T alpha, const T* a, std::uint64_t lda, \
                                                          std::uint64_t stridea, T* b, std::uint64_t ldb,             \
                                                          std::uint64_t strideb);                                     \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatadd_par(int ordering, int transa, int transb, std::uint64_t rows,    \
                                                        std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,   \
                                                        T beta, const T* b, std::uint64_t ldb, T* c,                  \
                                                        std::uint64_t ldc);                                           \
  /* Returns 0 when it could not run (one thread, or already inside a parallel region). */                          \
  QOR_TRANS_PAR_API int qor_trans_qor_##t##imatcopy_square_t_par(std::uint64_t n, T* ab, std::uint64_t lda,          \
                                                                 qor_trans_team_fn<T> team);                          \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatcopy_batch_par(                                                       \
      int ordering, const char* trans_array, const std::uint64_t* rows_array, const std::uint64_t* cols_array,        \
      const T* alpha_array, const T* const* a_array, const std::uint64_t* lda_array, T* const* b_array,               \
      const std::uint64_t* ldb_array, std::uint64_t group_count, const std::uint64_t* group_size);                    \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##imatcopy_batch_par(                                                       \
      int ordering, const char* trans_array, const std::uint64_t* rows_array, const std::uint64_t* cols_array,        \
      const T* alpha_array, T* const* ab_array, const std::uint64_t* lda_array, const std::uint64_t* ldb_array,       \
      std::uint64_t group_count, const std::uint64_t* group_size);                                                    \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatcopy_batch_strided_par(                                               \
      int ordering, int trans, std::uint64_t rows, std::uint64_t cols, T alpha, const T* a, std::uint64_t lda,        \
      std::uint64_t stridea, T* b, std::uint64_t ldb, std::uint64_t strideb, std::uint64_t batch_size);               \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##imatcopy_batch_strided_par(                                               \
      int ordering, int trans, std::uint64_t rows, std::uint64_t cols, T alpha, T* ab, std::uint64_t lda,             \
      std::uint64_t ldb, std::uint64_t stride, std::uint64_t batch_size);                                             \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatadd_batch_strided_par(                                                \
      int ordering, int transa, int transb, std::uint64_t rows, std::uint64_t cols, T alpha, const T* a,              \
      std::uint64_t lda, std::uint64_t stridea, T beta, const T* b, std::uint64_t ldb, std::uint64_t strideb, T* c,   \
      std::uint64_t ldc, std::uint64_t stridec, std::uint64_t batch_size);

QOR_FOR_EACH_TYPE(QOR_TRANS_DECLARE_PAR)
