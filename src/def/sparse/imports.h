// The analysis routines the core exports for the sparse handle: the kernel
// library stores their addresses in optimisation requests and calls them
// from its optimize loop, and calls the copy and the transposition
// directly. Each exists for 32-bit (`_i4`) and 64-bit (`_i8`) indices; the
// kernel library will not load without all of them.
#pragma once
#include "sparse/records.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_SPARSE_CORE_API extern "C" __attribute__((visibility("default")))
#else
#define QOR_SPARSE_CORE_API extern "C"
#endif

namespace qor::sparse {
// Makes library-owned copies of the handle's primary arrays in place.
template <class I> using copy_matrix_fn = status(sparse_matrix<I>* handle);
// Builds the handle's payload for an operation (11 or 12) in `transposed`.
template <class I> using transpose_fn = status(sparse_matrix<I>* handle, i32 operation);
}  // namespace qor::sparse

// X-macro over the analysis routines: M(name).
#define QOR_SPARSE_FOR_EACH_ANALYSIS(M)                                                                    \
  M(csr_mv) M(bsr_mv) M(csr_dotmv) M(csr_mm) M(bsr_mm) M(csr_trsv) M(bsr_trsv) M(bsr_trsm) M(csr_symgs) \
      M(csr_lu_smoother) M(bsr_lu_smoother) M(csr_sorv)

#define QOR_SPARSE_DECLARE_ANALYSIS(name)                                                         \
  QOR_SPARSE_CORE_API ::qor::sparse::analysis_fn<std::int32_t> qor_sparse_optimize_##name##_i4; \
  QOR_SPARSE_CORE_API ::qor::sparse::analysis_fn<std::int64_t> qor_sparse_optimize_##name##_i8;
QOR_SPARSE_FOR_EACH_ANALYSIS(QOR_SPARSE_DECLARE_ANALYSIS)
#undef QOR_SPARSE_DECLARE_ANALYSIS

QOR_SPARSE_CORE_API ::qor::sparse::copy_matrix_fn<std::int32_t> qor_sparse_copy_sparse_matrix_i4;
QOR_SPARSE_CORE_API ::qor::sparse::copy_matrix_fn<std::int64_t> qor_sparse_copy_sparse_matrix_i8;
QOR_SPARSE_CORE_API ::qor::sparse::transpose_fn<std::int32_t> qor_sparse_transposeMatrix_i4;
QOR_SPARSE_CORE_API ::qor::sparse::transpose_fn<std::int64_t> qor_sparse_transposeMatrix_i8;
